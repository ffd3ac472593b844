#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <vector>

#include "resize/kernel_harness.h"
#include "resize/kernels.h"
#include "resize/test_image.h"

namespace {

using lumo::test::KernelPair;
using lumo::test::RunRegion;
using lumo::test::RunWhole;
using lumo::test::TestImage;
using lumo::test::WholeOf;

const KernelPair kNearest8{"Nearest8", 8, lumo::NearestNeighbor8, lumo::NearestNeighbor8WithRegion};
const KernelPair kNearest16{"Nearest16", 16, lumo::NearestNeighbor16, lumo::NearestNeighbor16WithRegion};

// ---- Which source pixel each output pixel takes, along one axis.

struct MappingCase {
    uint32_t sourceLength;
    uint32_t destinationLength;
    std::vector<uint32_t> sourceIndex;  // per destination pixel
};

const MappingCase kMappings[] = {
    {3, 8, {0, 0, 0, 1, 1, 1, 2, 2}},  // factor 8/3: no half-pixel offset, the last pixel takes column 2
    {2, 5, {0, 0, 0, 1, 1}},
    // 9 / (18/14) lands just below 7 in double: column 6, where multiplying
    // by 14/18 would give 7.
    {14, 18, {0, 0, 1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 10, 10, 11, 12, 13}},
    // 13 / (26/30) gives 15 exactly, where 13 * (1 / (26/30)) falls below it.
    {30, 26, {0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 12, 13, 15, 16, 17, 18, 19, 20, 21, 23, 24, 25, 26, 27, 28}},
    {8, 3, {0, 2, 5}},  // reduction picks, it does not average
    {5, 5, {0, 1, 2, 3, 4}},
    {1, 4, {0, 0, 0, 0}},
    {4, 1, {0}},
};

class NearestMapping : public ::testing::TestWithParam<std::tuple<KernelPair, MappingCase>> {};

TEST_P(NearestMapping, AlongRowsAndColumns) {
    const auto& [kernel, m] = GetParam();
    const uint32_t base = kernel.bitsPerSample == 8 ? 7 : 1000;
    for (const bool alongColumns : {false, true}) {
        SCOPED_TRACE(alongColumns ? "vertical" : "horizontal");
        const uint32_t sw = alongColumns ? 1 : m.sourceLength;
        const uint32_t sh = alongColumns ? m.sourceLength : 1;
        TestImage source = TestImage::Make(sw, sh, 1, kernel.bitsPerSample);
        for (uint32_t i = 0; i < m.sourceLength; ++i)
            source.Set(alongColumns ? 0 : i, alongColumns ? i : 0, 0, base * (i + 1));
        TestImage destination = TestImage::Make(alongColumns ? 1 : m.destinationLength,
                                                alongColumns ? m.destinationLength : 1, 1, kernel.bitsPerSample, 3);
        ASSERT_EQ(RunWhole(kernel, source, destination), kLumoResultOK);
        for (uint32_t i = 0; i < m.destinationLength; ++i) {
            EXPECT_EQ(destination.Get(alongColumns ? 0 : i, alongColumns ? i : 0, 0), base * (m.sourceIndex[i] + 1))
                << "output " << i;
        }
        EXPECT_TRUE(destination.PaddingIntact());
    }
}

INSTANTIATE_TEST_SUITE_P(Examples, NearestMapping,
                         ::testing::Combine(::testing::Values(kNearest8, kNearest16), ::testing::ValuesIn(kMappings)));

// The region origin joins the quotient before truncation: 9 / (18/14) is
// just below 7, but 1000 added to it rounds to 1007 exactly, so output 9 takes
// column 1007 (truncating first and adding after would give 1006).
TEST(NearestRegionMapping, OriginIsAddedBeforeTruncating) {
    const std::vector<uint32_t> expected = {1000, 1000, 1001, 1002, 1003, 1003, 1004, 1005, 1006,
                                            1007, 1007, 1008, 1009, 1010, 1010, 1011, 1012, 1013};
    for (const KernelPair& kernel : {kNearest8, kNearest16}) {
        const uint32_t mask = kernel.bitsPerSample == 8 ? 0xFF : 0xFFFF;
        for (const bool alongColumns : {false, true}) {
            SCOPED_TRACE(alongColumns ? "vertical" : "horizontal");
            TestImage source = TestImage::Make(alongColumns ? 1 : 1024, alongColumns ? 1024 : 1, 1, kernel.bitsPerSample);
            for (uint32_t i = 0; i < 1024; ++i) source.Set(alongColumns ? 0 : i, alongColumns ? i : 0, 0, i & mask);
            const tagLumoRect region = alongColumns ? tagLumoRect{0, 1000, 1, 14} : tagLumoRect{1000, 0, 14, 1};
            TestImage destination = TestImage::Make(alongColumns ? 1 : 18, alongColumns ? 18 : 1, 1, kernel.bitsPerSample);
            ASSERT_EQ(RunRegion(kernel, source, region, destination), kLumoResultOK);
            for (uint32_t i = 0; i < 18; ++i)
                EXPECT_EQ(destination.Get(alongColumns ? 0 : i, alongColumns ? i : 0, 0), expected[i] & mask)
                    << kernel << " output " << i;
        }
    }
}

// ---- Properties over 1..6 channels and both sample widths.

using NearestProperty = lumo::test::KernelPropertyTest;

TEST_P(NearestProperty, EqualSizesCopyTheImage) {
    const TestImage source = RandomSource({9, 7}, 1);
    EXPECT_EQ(ResizeWholeAndAsRegion(source, source.Size()), source.Samples());
}

TEST_P(NearestProperty, IntegerEnlargementRepeatsEveryPixel) {
    const TestImage source = RandomSource({5, 4}, 2);
    for (const uint32_t k : {2u, 3u}) {
        TestImage destination = Destination({5 * k, 4 * k});
        ASSERT_EQ(RunWhole(kernel(), source, destination), kLumoResultOK);
        for (uint32_t y = 0; y < destination.height; ++y)
            for (uint32_t x = 0; x < destination.width; ++x)
                for (uint32_t c = 0; c < channels(); ++c)
                    ASSERT_EQ(destination.Get(x, y, c), source.Get(x / k, y / k, c))
                        << "k " << k << " at " << x << "," << y << " channel " << c;
        EXPECT_TRUE(destination.PaddingIntact());
    }
}

TEST_P(NearestProperty, RegionOfTheWholeSourceMatchesTheWholeImage) {
    const TestImage source = RandomSource({11, 6}, 3);
    for (const tagLumoSize size : {tagLumoSize{4, 9}, tagLumoSize{17, 5}, tagLumoSize{7, 13}}) {
        ResizeWholeAndAsRegion(source, size);
    }
}

TEST_P(NearestProperty, OutputDoesNotDependOnTheWorkerCount) {
    ExpectSameOutputForAnyWorkerCount(RandomSource({13, 10}, 4), {23, 17}, {2, 1, 9, 8}, {23, 17});
}

// At factor 1 the mapping is exact, so every output pixel is the region pixel
// under it, clamped to the whole source: regions hanging over any edge repeat
// that edge. The source rows are not padded, so its block ends at its last
// sample and a read beyond the source faults under ASan.
TEST_P(NearestProperty, RegionsOverTheEdgeRepeatTheEdge) {
    const TestImage source = RandomSource({6, 5}, 5, 0);
    const tagLumoRect regions[] = {
        {3, 2, 6, 6},     // past the right and bottom edges
        {-2, -3, 5, 4},   // negative origin
        {-1, 1, 9, 2},    // wider than the source on both sides
        {2, -4, 1, 12},   // taller than the source on both sides
        {-5, -5, 3, 3},   // entirely above and left of the source
        {8, 7, 2, 2},     // entirely below and right of the source
    };
    for (const tagLumoRect& r : regions) {
        TestImage destination = Destination({r.width, r.height});
        ASSERT_EQ(RunRegion(kernel(), source, r, destination), kLumoResultOK);
        for (uint32_t y = 0; y < r.height; ++y) {
            for (uint32_t x = 0; x < r.width; ++x) {
                const int32_t sx = std::clamp<int32_t>(r.x + static_cast<int32_t>(x), 0, 5);
                const int32_t sy = std::clamp<int32_t>(r.y + static_cast<int32_t>(y), 0, 4);
                for (uint32_t c = 0; c < channels(); ++c)
                    ASSERT_EQ(destination.Get(x, y, c),
                              source.Get(static_cast<uint32_t>(sx), static_cast<uint32_t>(sy), c))
                        << "region " << r.x << "," << r.y << " at " << x << "," << y;
            }
        }
        EXPECT_TRUE(destination.PaddingIntact());
    }
}

TEST_P(NearestProperty, EmptyDestinationOrSourceWritesNothing) {
    const TestImage source = RandomSource({4, 3}, 6);
    TestImage destination = Destination({5, 2});
    const std::vector<unsigned char> before = destination.bytes;
    const tagLumoSize sizes[] = {{5, 0}, {0, 2}};
    for (const tagLumoSize size : sizes) {
        EXPECT_EQ(kernel().whole(channels(), source.Data(), source.Size(), source.rowBytes, destination.Data(), size,
                                 destination.rowBytes),
                  kLumoResultOK);
    }
    // A source with no pixel leaves nothing to repeat; the region is taken
    // from the source, so the same holds for a region of it.
    EXPECT_EQ(kernel().whole(channels(), source.Data(), {4, 0}, source.rowBytes, destination.Data(),
                             destination.Size(), destination.rowBytes),
              kLumoResultOK);
    EXPECT_EQ(kernel().region(channels(), source.Data(), {0, 3}, source.rowBytes, {0, 0, 2, 2}, destination.Data(),
                              destination.Size(), destination.rowBytes),
              kLumoResultOK);
    EXPECT_EQ(destination.bytes, before);
}

INSTANTIATE_TEST_SUITE_P(AllWidths, NearestProperty,
                         ::testing::Combine(::testing::Values(kNearest8, kNearest16), ::testing::Range(1u, 7u)));

}  // namespace
