// The fast nearest-neighbour kernels against the plain ones, byte for byte.
#include <vector>

#include <gtest/gtest.h>

#include "common/work_memory.h"
#include "resize/differential.h"
#include "resize/kernels.h"

namespace {

using lumo::test::DifferentialCase;
using lumo::test::DifferentialMethod;
using lumo::test::KernelSet;

const DifferentialMethod kNearest{
    "nearest",
    KernelSet{lumo::NearestNeighbor8, lumo::NearestNeighbor16, lumo::NearestNeighbor8WithRegion,
              lumo::NearestNeighbor16WithRegion},
    KernelSet{lumo::reference::NearestNeighbor8, lumo::reference::NearestNeighbor16,
              lumo::reference::NearestNeighbor8WithRegion, lumo::reference::NearestNeighbor16WithRegion}};

TEST(NearestDifferential, RandomCases) { lumo::test::ExpectFastMatchesReferenceOnRandomCases(kNearest, 1500, 61); }

// Photo-sized reductions and enlargements to odd sizes: long rows through
// every pixel-size copy, bands of many rows, repeated rows at band edges.
TEST(NearestDifferential, LargeImages) {
    const std::vector<DifferentialCase> cases = {
        {8, 3, {1000, 700}, {331, 229}, {17, 9, 900, 650}, 0, 0, 2, 1},
        {16, 3, {1000, 700}, {1999, 1403}, {0, 0, 1000, 700}, 5, 3, 2, 2},
        {8, 4, {997, 701}, {1024, 768}, {996, 700, 1, 1}, 0, 1, 3, 3},
        {16, 4, {1000, 700}, {127, 89}, {500, 350, 500, 350}, 2, 0, 2, 4},
        {8, 5, {640, 480}, {1283, 961}, {1, 1, 639, 479}, 0, 0, 2, 5},  // no fixed-size copy for 5 bytes
        {16, 6, {333, 222}, {701, 97}, {3, 2, 300, 200}, 0, 7, 2, 6},
    };
    for (const DifferentialCase& c : cases) lumo::test::ExpectFastMatchesReferenceOnEveryTarget(kNearest, c);
}

// Without memory for the column map the pixels are mapped one at a time:
// the output is the same, not missing.
TEST(NearestDifferential, NoRoomForTheColumnMapGivesTheSameBytes) {
    const DifferentialCase c{8, 3, {61, 47}, {97, 23}, {5, 4, 50, 40}, 3, 2, 2, 7};
    lumo::testing::FailWorkAllocationsAfter(0);
    lumo::test::ExpectFastMatchesReference(kNearest, c);
    const int asked = lumo::testing::WorkAllocationCount();
    lumo::testing::ResetWorkAllocationFailures();
    Set_ProcessorNum(0);
    EXPECT_GT(asked, 0);
}

}  // namespace
