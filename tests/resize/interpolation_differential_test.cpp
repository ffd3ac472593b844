// The fast bilinear and bicubic kernels against their plain reference kernels:
// thousands of random small cases, then a few large ones where the vector
// loops run many full iterations before their tails and every band of
// destination rows reads a long run of source rows.
#include <cstddef>
#include <cstdint>
#include <iterator>

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

// Extreme ratios and many workers: a destination row reading the last source
// rows, single-pixel sides on either end, one band per destination row, and
// enlargements whose last columns all read the final source pixel (the row
// pass must stop its vector loads before the end of the row).
const DifferentialCase kExtremeCases[] = {
    {8, 3, {1, 1}, {700, 500}, {0, 0, 1, 1}, 0, 1, 4, 11},
    {16, 4, {2, 3}, {900, 401}, {1, 1, 1, 2}, 1, 3, 7, 12},
    {8, 4, {4000, 9}, {3, 1}, {3000, 0, 1000, 9}, 0, 0, 3, 13},
    {16, 3, {9, 3000}, {1, 5}, {0, 1, 9, 2999}, 3, 1, 8, 14},
    {8, 3, {300, 200}, {301, 9}, {299, 0, 1, 200}, 0, 0, 8, 15},
    {16, 3, {641, 3}, {2000, 300}, {640, 2, 1, 1}, 5, 1, 6, 16},
    {8, 5, {256, 256}, {255, 257}, {0, 0, 256, 256}, 0, 0, 2, 17},
};

void ExpectBothMethodsMatchOnEveryTarget(const DifferentialCase* cases, size_t count) {
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        SCOPED_TRACE(hwy::TargetName(target));
        for (size_t i = 0; i < count; ++i) {
            lumo::test::ExpectFastMatchesReference(kBiLinear, cases[i]);
            lumo::test::ExpectFastMatchesReference(kBiCubic, cases[i]);
        }
    }
    hwy::SetSupportedTargetsForTest(0);
    Set_ProcessorNum(0);
}

TEST(InterpolationDifferential, LargeImagesMatchReferenceOnEveryTarget) {
    ExpectBothMethodsMatchOnEveryTarget(kLargeCases, std::size(kLargeCases));
}

TEST(InterpolationDifferential, ExtremeShapesMatchReferenceOnEveryTarget) {
    ExpectBothMethodsMatchOnEveryTarget(kExtremeCases, std::size(kExtremeCases));
}

// Exact halvings average byte pairs in shuffled vectors: both axes halving,
// only the columns (the row pass) or only the rows (the column pass), pixels
// 1 to 8 and 16 samples wide (every step width of the shuffles, one pixel per
// step at 9 and 16), rows ending a few samples past a full step, odd padding
// and regions at the buffer's end.
TEST(InterpolationDifferential, BiLinear8HalvingsMatchReferenceOnEveryTarget) {
    struct Shape {
        tagLumoSize source, destination;
        tagLumoRect region;
    };
    static constexpr Shape kShapes[] = {
        {{2, 2}, {1, 1}, {0, 0, 2, 2}},
        {{34, 18}, {17, 9}, {0, 0, 34, 18}},
        {{67, 40}, {33, 20}, {1, 0, 66, 40}},
        {{2000, 61}, {1000, 30}, {0, 1, 2000, 60}},
        {{70, 33}, {35, 50}, {0, 0, 70, 33}},
        {{45, 64}, {30, 32}, {0, 0, 45, 64}},
        {{130, 6}, {63, 3}, {4, 0, 126, 6}},
    };
    lumo::test::ForEachVectorTarget([&] {
        for (const Shape& shape : kShapes) {
            for (const uint32_t channels : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 16u}) {
                for (const uint32_t threads : {1u, 2u}) {
                    const DifferentialCase c{8,      channels,          shape.source, shape.destination, shape.region,
                                             channels % 3, channels % 2, threads,      channels};
                    lumo::test::ExpectFastMatchesReference(kBiLinear, c);
                }
            }
        }
    });
}

// Flat areas put two-tap sums right on an integer (100 * w0 + 100 * w1 may
// be 99.99999999999999), where a sum computed any other way than the plain
// kernel's truncates to the neighbouring byte. Blocks of equal samples, every
// value 0 to 255 among them, along both axes, at ratios whose weights are
// short binary fractions (2:1, 1:4, 1:2) and ones whose weights are not (3:7,
// 7:3, 3.125:1 as a 24-megapixel photo to 1920 wide, near 1:1).
TEST(InterpolationDifferential, BiLinear8FlatAreasMatchReferenceOnEveryTarget) {
    struct Ratio {
        tagLumoSize source, destination;
    };
    static constexpr Ratio kRatios[] = {
        {{30, 30}, {70, 70}},   {{70, 70}, {30, 30}}, {{625, 40}, {200, 13}}, {{40, 9}, {160, 36}},
        {{128, 64}, {64, 32}},  {{97, 33}, {194, 66}}, {{200, 21}, {199, 20}}, {{199, 20}, {200, 21}},
        {{1, 3}, {37, 11}},
    };
    lumo::test::ForEachVectorTarget([&] {
        for (const Ratio& ratio : kRatios) {
            for (const uint32_t channels : {1u, 3u, 4u}) {
                lumo::test::TestImage source =
                    lumo::test::TestImage::Make(ratio.source.width, ratio.source.height, channels, 8, 0);
                for (uint32_t y = 0; y < source.height; ++y)
                    for (uint32_t x = 0; x < source.width; ++x)
                        for (uint32_t c = 0; c < channels; ++c)
                            source.Set(x, y, c, ((x / 5) * 7 + (y / 4) * 13 + 11 * c) % 256);
                for (const uint32_t threads : {1u, 2u}) {
                    Set_ProcessorNum(threads);
                    SCOPED_TRACE(::testing::Message() << ratio.source.width << "x" << ratio.source.height << " -> "
                                                      << ratio.destination.width << "x" << ratio.destination.height
                                                      << ", " << channels << " channels, " << threads << " threads");
                    auto fast = lumo::test::TestImage::Make(ratio.destination.width, ratio.destination.height,
                                                            channels, 8, 0);
                    auto reference = fast;
                    ASSERT_EQ(lumo::test::Resize(kBiLinear.fast, source, fast), kLumoResultOK);
                    ASSERT_EQ(lumo::test::Resize(kBiLinear.reference, source, reference), kLumoResultOK);
                    EXPECT_EQ(fast.bytes, reference.bytes);
                }
            }
        }
    });
}

}  // namespace
