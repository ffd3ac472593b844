#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>
#include <vector>

#include "common/work_memory.h"
#include "resize/bilinear.h"
#include "resize/kernel_harness.h"
#include "resize/kernels.h"
#include "resize/test_image.h"

namespace {

using lumo::test::Crop;
using lumo::test::KernelPair;
using lumo::test::RunRegion;
using lumo::test::RunWhole;
using lumo::test::TestImage;

const KernelPair kBiLinear8{"BiLinear8", 8, lumo::BiLinear8, lumo::BiLinear8WithRegion};
const KernelPair kBiLinear16{"BiLinear16", 16, lumo::BiLinear16, lumo::BiLinear16WithRegion};

// ---- The index and weight table of one axis.

struct TapsCase {
    uint32_t count;
    uint32_t sourceCount;
    std::vector<uint32_t> taps;
    std::vector<double> weights;
};

const TapsCase kTaps[] = {
    // Enlarging 2 -> 4: the first output extrapolates (1.5, -0.5), the last
    // one's second index is clamped and keeps its weight.
    {4, 2, {0, 1, 0, 1, 0, 1, 1, 1}, {1.5, -0.5, 0.75, 0.25, 0.25, 0.75, 0.75, 0.25}},
    // Reducing 5 -> 2: centres 1.25 and 3.75.
    {2, 5, {0, 1, 3, 4}, {0.25, 0.75, 0.75, 0.25}},
    // Equal lengths: each output is its own input.
    {3, 3, {0, 1, 1, 2, 2, 2}, {1.0, 0.0, 1.0, 0.0, 1.0, 0.0}},
    // One input: both indices clamp to it while the weights come from the
    // unclamped ones (centre 1/6: (2/3, -1/3) over their sum 1/3).
    {3, 1, {0, 0, 0, 0, 0, 0}, {2.0, -1.0, 1.0, 0.0, 2.0 / 3.0, 1.0 / 3.0}},
};

class LinearTaps : public ::testing::TestWithParam<TapsCase> {};

TEST_P(LinearTaps, IndicesAndWeights) {
    const TapsCase& t = GetParam();
    std::vector<uint32_t> taps(2 * t.count, 99);
    std::vector<double> weights(2 * t.count, 99.0);
    lumo::BuildLinearTaps(t.count, t.sourceCount, taps.data(), weights.data());
    EXPECT_EQ(taps, t.taps);
    for (size_t i = 0; i < weights.size(); ++i) EXPECT_DOUBLE_EQ(weights[i], t.weights[i]) << "entry " << i;
}

INSTANTIATE_TEST_SUITE_P(Examples, LinearTaps, ::testing::ValuesIn(kTaps));

// ---- Whole images worked through by hand from the tables above.

struct ImageCase {
    const char* what;
    uint32_t bitsPerSample;
    tagLumoSize sourceSize;
    std::vector<uint32_t> source;
    tagLumoSize destinationSize;
    std::vector<uint32_t> expected;
};

const ImageCase kImages[] = {
    {"near edge extrapolates", 8, {2, 1}, {100, 200}, {4, 1}, {50, 125, 175, 200}},
    {"extrapolation clamps to 255", 8, {2, 1}, {200, 0}, {4, 1}, {255, 150, 50, 0}},
    {"127.5 truncates to 127, extrapolation below 0 clamps", 8, {2, 1}, {0, 255}, {3, 1}, {0, 127, 255}},
    // 3.5 / 2.5 rather than 3.5 * 0.4 decides the fourth sample (67 otherwise).
    {"centres divide by the factor", 8, {2, 1}, {140, 60}, {5, 1}, {200, 132, 100, 68, 60}},
    {"reduction weights 0.25/0.75", 8, {5, 1}, {10, 50, 90, 130, 250}, {2, 1}, {40, 160}},
    {"near edge extrapolates along columns", 8, {1, 2}, {100, 200}, {1, 4}, {50, 125, 175, 200}},
    // The first pass clamps and truncates to bytes before the second reads
    // them: without that, four of these samples differ (76 would be 71).
    {"both axes, intermediate of bytes",
     8,
     {3, 2},
     {130, 183, 14, 238, 127, 26},
     {5, 3},
     {76, 140, 197, 84, 11, 183, 172, 155, 73, 20, 255, 193, 127, 66, 26}},
    {"both axes, 16-bit",
     16,
     {3, 2},
     {1000, 60000, 30000, 65535, 0, 12345},
     {5, 3},
     {0, 20918, 65535, 50648, 34413, 32767, 31960, 30000, 24703, 21172, 65535, 39321, 0, 7407, 12345}},
};

class BiLinearExample : public ::testing::TestWithParam<ImageCase> {};

TEST_P(BiLinearExample, WholeImage) {
    const ImageCase& e = GetParam();
    const KernelPair& kernel = e.bitsPerSample == 8 ? kBiLinear8 : kBiLinear16;
    TestImage source = TestImage::Make(e.sourceSize.width, e.sourceSize.height, 1, e.bitsPerSample);
    for (uint32_t i = 0; i < e.source.size(); ++i) source.Set(i % source.width, i / source.width, 0, e.source[i]);
    TestImage destination =
        TestImage::Make(e.destinationSize.width, e.destinationSize.height, 1, e.bitsPerSample, 3);
    ASSERT_EQ(RunWhole(kernel, source, destination), kLumoResultOK);
    EXPECT_EQ(destination.Samples(), e.expected);
    EXPECT_TRUE(destination.PaddingIntact());
}

INSTANTIATE_TEST_SUITE_P(Examples, BiLinearExample, ::testing::ValuesIn(kImages));

// ---- Properties over 1..6 channels and both sample widths.

struct SizeCase {
    tagLumoSize source;
    tagLumoSize destination;
};

const SizeCase kSizes[] = {
    {{7, 5}, {11, 9}},   // enlarge both
    {{13, 4}, {5, 6}},   // reduce across, enlarge down
    {{9, 3}, {2, 7}},    // strong reduction across
    {{1, 1}, {3, 2}},    // one pixel
    {{1, 5}, {4, 1}},    // one column to one row
    {{6, 6}, {6, 6}},    // equal
};

using BiLinearProperty = lumo::test::KernelPropertyTest;

TEST_P(BiLinearProperty, EqualSizesCopyTheImage) {
    const TestImage source = RandomSource({9, 7}, 1);
    EXPECT_EQ(ResizeWholeAndAsRegion(source, source.Size()), source.Samples());
}

TEST_P(BiLinearProperty, RegionOfTheWholeSourceMatchesTheWholeImage) {
    uint32_t seed = 10;
    for (const SizeCase& s : kSizes) {
        ResizeWholeAndAsRegion(RandomSource(s.source, ++seed), s.destination);
    }
}

// A region is an image of its own: its output is the whole-image output of a
// copy of just the region. Only the region is allocated, so a read above,
// below, left or right of it faults under ASan, and the bytes between its rows
// are random, so reading them would show in the output.
TEST_P(BiLinearProperty, RegionReadsOnlyTheRegion) {
    const lumo::test::KernelSet bilinear{lumo::BiLinear8, lumo::BiLinear16, lumo::BiLinear8WithRegion,
                                         lumo::BiLinear16WithRegion};
    const TestImage source = RandomSource({12, 9}, 20, 0);
    const uint32_t bytesPerPixel = channels() * kernel().bitsPerSample / 8;
    const tagLumoRect regions[] = {
        {0, 0, 5, 4},    // top left
        {7, 5, 5, 4},    // bottom right
        {3, 2, 6, 5},    // inside
        {4, 8, 8, 1},    // one row along the bottom
        {11, 0, 1, 9},   // one column along the right edge
    };
    for (const tagLumoRect& r : regions) {
        const TestImage alone = Crop(source, r);
        lumo::test::RegionSource onlyRegion(alone, r, (source.width - r.width) * bytesPerPixel);
        onlyRegion.FillOutside(static_cast<uint32_t>(r.x * 13 + r.y));
        for (const tagLumoSize size : {tagLumoSize{3, 2}, tagLumoSize{9, 11}}) {
            TestImage expected = Destination(size);
            TestImage destination = Destination(size);
            ASSERT_EQ(RunWhole(kernel(), alone, expected), kLumoResultOK);
            ASSERT_EQ(onlyRegion.Resize(bilinear, source.Size(), destination), kLumoResultOK);
            EXPECT_EQ(destination.Samples(), expected.Samples()) << "region " << r.x << "," << r.y;
            EXPECT_TRUE(destination.PaddingIntact());
        }
    }
}

TEST_P(BiLinearProperty, EachChannelIsResizedOnItsOwn) {
    if (channels() == 1) GTEST_SKIP() << "needs several channels";
    uint32_t seed = 30;
    for (const SizeCase& s : kSizes) {
        const TestImage source = RandomSource(s.source, ++seed);
        TestImage destination = Destination(s.destination);
        ASSERT_EQ(RunWhole(kernel(), source, destination), kLumoResultOK);
        for (uint32_t c = 0; c < channels(); ++c) {
            const TestImage plane = lumo::test::Plane(source, c);
            TestImage planeOut = TestImage::Make(s.destination.width, s.destination.height, 1, kernel().bitsPerSample);
            ASSERT_EQ(RunWhole(kernel(), plane, planeOut), kLumoResultOK);
            EXPECT_EQ(lumo::test::Plane(destination, c).Samples(), planeOut.Samples()) << "channel " << c;
        }
    }
}

TEST_P(BiLinearProperty, OutputDoesNotDependOnTheWorkerCount) {
    ExpectSameOutputForAnyWorkerCount(RandomSource({13, 10}, 40), {23, 17}, {2, 1, 9, 8}, {5, 11});
}

// Each of the five working blocks in turn cannot be had: the call reports it
// before writing anything and frees the blocks it did get (ASan's leak check
// sees any that stay).
TEST_P(BiLinearProperty, MissingWorkingMemoryReportsNoMemoryAndWritesNothing) {
    const TestImage source = RandomSource({7, 5}, 50);
    for (const bool inRegion : {false, true}) {
        for (int successes = 0; successes <= 5; ++successes) {
            TestImage destination = Destination({11, 9});
            const std::vector<unsigned char> before = destination.bytes;
            lumo::testing::FailWorkAllocationsAfter(successes);
            const LumoResult result = inRegion ? RunRegion(kernel(), source, {1, 1, 5, 4}, destination)
                                               : RunWhole(kernel(), source, destination);
            lumo::testing::ResetWorkAllocationFailures();
            if (successes < 5) {
                EXPECT_EQ(result, kLumoResultNoMemory) << successes << " blocks obtained";
                EXPECT_EQ(destination.bytes, before) << successes << " blocks obtained";
            } else {
                EXPECT_EQ(result, kLumoResultOK);  // five blocks are all it needs
                EXPECT_NE(destination.bytes, before);
            }
        }
    }
}

TEST_P(BiLinearProperty, EmptyInputIsRefusedUnlessNothingIsAskedFor) {
    const TestImage source = RandomSource({4, 3}, 60);
    TestImage destination = Destination({5, 2});
    const std::vector<unsigned char> before = destination.bytes;
    const auto whole = [&](tagLumoSize sourceSize, tagLumoSize destinationSize) {
        return kernel().whole(channels(), source.Data(), sourceSize, source.rowBytes, destination.Data(),
                              destinationSize, destination.rowBytes);
    };
    EXPECT_EQ(whole({0, 3}, destination.Size()), kLumoResultInvalidParameter);
    EXPECT_EQ(whole({4, 0}, destination.Size()), kLumoResultInvalidParameter);
    EXPECT_EQ(RunRegion(kernel(), source, {1, 1, 0, 2}, destination), kLumoResultInvalidParameter);
    EXPECT_EQ(whole({0, 0}, {0, 0}), kLumoResultOK);
    EXPECT_EQ(whole({4, 3}, {5, 0}), kLumoResultOK);
    EXPECT_EQ(whole({4, 3}, {0, 2}), kLumoResultOK);
    EXPECT_EQ(whole({0, 3}, {0, 2}), kLumoResultOK);
    EXPECT_EQ(destination.bytes, before);
}

INSTANTIATE_TEST_SUITE_P(AllWidths, BiLinearProperty,
                         ::testing::Combine(::testing::Values(kBiLinear8, kBiLinear16), ::testing::Range(1u, 7u)));

}  // namespace
