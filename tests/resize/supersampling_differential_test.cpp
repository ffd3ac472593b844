// The fast area-averaging kernels against the plain ones, byte for byte.
#include <vector>

#include <gtest/gtest.h>

#include "common/work_memory.h"
#include "resize/differential.h"
#include "resize/kernel_harness.h"
#include "resize/kernels.h"

namespace {

using lumo::test::DifferentialCase;
using lumo::test::DifferentialMethod;
using lumo::test::KernelSet;
using lumo::test::TestImage;

const KernelSet kFast{lumo::SuperSampling8, lumo::SuperSampling16, lumo::SuperSampling8WithRegion,
                      lumo::SuperSampling16WithRegion};
const DifferentialMethod kSuperSampling{
    "supersampling", kFast,
    KernelSet{lumo::reference::SuperSampling8, lumo::reference::SuperSampling16,
              lumo::reference::SuperSampling8WithRegion, lumo::reference::SuperSampling16WithRegion}};

// Enlarging cases are drawn too: the kernels serve any factor (only the
// dispatcher insists on one shrinking axis), and a growing axis is where a
// single contribution's (s * w) / w falls just below s.
TEST(SuperSamplingDifferential, RandomCases) {
    lumo::test::ExpectFastMatchesReferenceOnRandomCases(kSuperSampling, 1500, 83);
}

// Photo-sized reductions to odd sizes: many full vectors per row, tails of
// every length, footprints of 2 to 9 columns, the last source row read
// pixel by pixel at the very end of a region's buffer.
TEST(SuperSamplingDifferential, LargeImages) {
    const std::vector<DifferentialCase> cases = {
        {8, 3, {1000, 700}, {331, 229}, {17, 9, 900, 650}, 0, 0, 2, 1},
        {16, 3, {1000, 700}, {643, 451}, {0, 0, 1000, 700}, 5, 3, 2, 2},
        {8, 4, {997, 701}, {101, 77}, {996, 700, 1, 1}, 0, 1, 3, 3},
        {16, 4, {1000, 700}, {127, 89}, {500, 350, 500, 350}, 2, 0, 2, 4},
        {8, 1, {1001, 703}, {997, 351}, {1, 1, 999, 701}, 0, 0, 2, 5},
        {16, 2, {999, 333}, {333, 998}, {3, 2, 900, 300}, 0, 7, 2, 6},  // one axis grows
    };
    for (const DifferentialCase& c : cases) lumo::test::ExpectFastMatchesReferenceOnEveryTarget(kSuperSampling, c);
}

// Sources whose rows are shorter than the 8-byte word a pixel is gathered
// with, so that a word read in a row above the last can pass the end of the
// buffer (ASan sees it; the region's buffer ends with its last sample).
TEST(SuperSamplingDifferential, RowsShorterThanAWord) {
    const std::vector<DifferentialCase> cases = {
        {8, 1, {1, 9}, {1, 4}, {0, 0, 1, 9}, 0, 0, 1, 11},
        {8, 2, {2, 7}, {1, 3}, {1, 0, 1, 7}, 0, 0, 2, 12},
        {8, 3, {2, 6}, {1, 2}, {0, 1, 2, 5}, 1, 0, 1, 13},
        {16, 1, {3, 8}, {2, 3}, {0, 0, 3, 8}, 0, 2, 2, 14},
        {16, 3, {1, 5}, {1, 2}, {0, 0, 1, 5}, 0, 0, 1, 15},
    };
    for (const DifferentialCase& c : cases) lumo::test::ExpectFastMatchesReferenceOnEveryTarget(kSuperSampling, c);
}

// Each of the call's working blocks in turn cannot be had: the call falls back
// to a path that needs less (in the end the pixel-by-pixel one, which needs
// none), and the output is the same, not missing. Sevenths take the tabled
// path; quarters and halves the whole-number one, then the tabled one.
TEST(SuperSamplingDifferential, MissingWorkingMemoryGivesTheSameBytes) {
    struct Case {
        const char* what;
        tagLumoSize source, destination;
        uint32_t bits;
        int blocks;  // all that the first path taken asks for
    };
    const std::vector<Case> cases = {{"tabled", {23, 17}, {7, 5}, 16, 6}, {"whole numbers", {24, 20}, {6, 8}, 8, 5}};
    for (const Case& c : cases) {
        const TestImage source = lumo::test::Patterned(c.source.width, c.source.height, 3, c.bits, 2, 9);
        TestImage expected = TestImage::Make(c.destination.width, c.destination.height, 3, c.bits, 1);
        ASSERT_EQ(lumo::test::Resize(kSuperSampling.reference, source, expected), kLumoResultOK);
        for (int successes = 0; successes <= c.blocks; ++successes) {
            TestImage destination = TestImage::Make(c.destination.width, c.destination.height, 3, c.bits, 1);
            lumo::testing::FailWorkAllocationsAfter(successes);
            EXPECT_EQ(lumo::test::Resize(kFast, source, destination), kLumoResultOK);
            const int asked = lumo::testing::WorkAllocationCount();
            lumo::testing::ResetWorkAllocationFailures();
            EXPECT_EQ(destination.bytes, expected.bytes) << c.what << ", " << successes << " blocks obtained";
            if (successes == c.blocks) {
                EXPECT_EQ(asked, c.blocks) << c.what;
            }
        }
    }
}

}  // namespace
