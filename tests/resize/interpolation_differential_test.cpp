// The fast bilinear and bicubic kernels against their plain reference kernels:
// thousands of random small cases, then a few large ones where the vector
// loops run many full iterations before their tails and every band of
// destination rows reads a long run of source rows.
#include <cstdint>

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "resize/differential.h"
#include "resize/kernels.h"

namespace {

using lumo::test::DifferentialCase;
using lumo::test::DifferentialMethod;
using lumo::test::KernelSet;

const DifferentialMethod kBiLinear{
    "bilinear",
    KernelSet{lumo::BiLinear8, lumo::BiLinear16, lumo::BiLinear8WithRegion, lumo::BiLinear16WithRegion},
    KernelSet{lumo::reference::BiLinear8, lumo::reference::BiLinear16, lumo::reference::BiLinear8WithRegion,
              lumo::reference::BiLinear16WithRegion}};

const DifferentialMethod kBiCubic{
    "bicubic",
    KernelSet{lumo::BiCubic8, lumo::BiCubic16, lumo::BiCubic8WithRegion, lumo::BiCubic16WithRegion},
    KernelSet{lumo::reference::BiCubic8, lumo::reference::BiCubic16, lumo::reference::BiCubic8WithRegion,
              lumo::reference::BiCubic16WithRegion}};

TEST(InterpolationDifferential, BiLinearMatchesReferenceOnRandomCases) {
    lumo::test::ExpectFastMatchesReferenceOnRandomCases(kBiLinear, 1500, 20261123);
}

TEST(InterpolationDifferential, BiCubicMatchesReferenceOnRandomCases) {
    lumo::test::ExpectFastMatchesReferenceOnRandomCases(kBiCubic, 1500, 61123);
}

// Reductions and enlargements by odd factors, 1 to 4 and 6 channels, odd row
// padding (so 16-bit rows start unaligned), regions that touch the source's
// far corner, and several worker counts so that bands start mid-image.
const DifferentialCase kLargeCases[] = {
    {8, 3, {1000, 700}, {317, 229}, {13, 7, 987, 693}, 5, 3, 2, 1},
    {16, 3, {1000, 700}, {317, 229}, {0, 0, 1000, 700}, 3, 1, 2, 2},
    {8, 4, {1000, 700}, {1733, 1201}, {501, 350, 499, 350}, 0, 7, 3, 3},
    {16, 4, {640, 480}, {1021, 769}, {1, 1, 639, 479}, 1, 0, 2, 4},
    {8, 1, {997, 601}, {2011, 37}, {100, 0, 897, 601}, 9, 2, 4, 5},
    {16, 2, {333, 999}, {1001, 331}, {0, 500, 333, 499}, 0, 5, 4, 6},
    {8, 6, {509, 311}, {97, 613}, {7, 3, 500, 300}, 2, 0, 3, 7},
    {8, 3, {1920, 1280}, {640, 427}, {0, 0, 1920, 1280}, 0, 0, 2, 8},
};

TEST(InterpolationDifferential, LargeImagesMatchReferenceOnEveryTarget) {
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        SCOPED_TRACE(hwy::TargetName(target));
        for (const DifferentialCase& c : kLargeCases) {
            lumo::test::ExpectFastMatchesReference(kBiLinear, c);
            lumo::test::ExpectFastMatchesReference(kBiCubic, c);
        }
    }
    hwy::SetSupportedTargetsForTest(0);
    Set_ProcessorNum(0);
}

}  // namespace
