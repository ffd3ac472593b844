#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

#include "common/work_memory.h"
#include "resize/bicubic.h"
#include "resize/kernel_harness.h"
#include "resize/kernels.h"

namespace {

using lumo::test::KernelSet;
using lumo::test::OneChannel;
using lumo::test::Patterned;
using lumo::test::RegionSource;
using lumo::test::Shape;
using lumo::test::ShapeTest;
using lumo::test::TestImage;

const KernelSet kBiCubic{lumo::BiCubic8, lumo::BiCubic16, lumo::BiCubic8WithRegion, lumo::BiCubic16WithRegion};

// ---- The filter -------------------------------------------------------------------------------

struct FilterCase {
    double distance;
    double weight;
};

class CubicFilter : public ::testing::TestWithParam<FilterCase> {};

TEST_P(CubicFilter, GivesTheReferenceWeightOnBothSides) {
    const FilterCase c = GetParam();
    for (const double x : {c.distance, -c.distance}) {
        const double w = lumo::cubicFilter(x);
        EXPECT_EQ(w, c.weight) << "x = " << x;
        EXPECT_EQ(std::signbit(w), std::signbit(c.weight)) << "x = " << x;
    }
}

INSTANTIATE_TEST_SUITE_P(
    ReferenceValues, CubicFilter,
    ::testing::Values(FilterCase{0.0, 1.0}, FilterCase{0.25, 0.8203125}, FilterCase{0.5, 0.5625},
                      FilterCase{0.75, 0.2734375}, FilterCase{1.0, -0.0}, FilterCase{1.25, -0.0703125},
                      FilterCase{1.5, -0.0625}, FilterCase{1.75, -0.0234375}, FilterCase{2.0, 0.0},
                      FilterCase{2.5, 0.0}, FilterCase{std::numeric_limits<double>::infinity(), 0.0},
                      FilterCase{std::numeric_limits<double>::quiet_NaN(), 0.0}));

// ---- Tap tables --------------------------------------------------------------------------------

struct TapRow {
    std::array<uint32_t, 4> taps;
    std::array<double, 4> weights;  // before normalisation
    double sum;
};

struct TapCase {
    const char* name;
    uint32_t count;
    uint32_t sourceCount;
    std::vector<TapRow> rows;
};

class CubicTaps : public ::testing::TestWithParam<TapCase> {};

TEST_P(CubicTaps, StartByTruncationClampToTheEdgesAndNormalise) {
    const TapCase& c = GetParam();
    std::vector<uint32_t> taps(4 * c.count);
    std::vector<double> weights(4 * c.count);
    lumo::BuildCubicTaps(c.count, c.sourceCount, taps.data(), weights.data());
    for (uint32_t i = 0; i < c.count; ++i) {
        for (uint32_t k = 0; k < 4; ++k) {
            EXPECT_EQ(taps[4 * i + k], c.rows[i].taps[k]) << "index " << i << " tap " << k;
            EXPECT_EQ(weights[4 * i + k], c.rows[i].weights[k] / c.rows[i].sum) << "index " << i << " tap " << k;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Tables, CubicTaps,
    ::testing::Values(
        TapCase{"Enlarge4To8",
                8,
                4,
                {{{0, 0, 1, 2}, {0.2734375, 0.8203125, -0.0703125, 0.0}, 1.0234375},
                 {{0, 1, 2, 3}, {0.8203125, 0.2734375, -0.0234375, 0.0}, 1.0703125},
                 {{0, 1, 2, 3}, {0.2734375, 0.8203125, -0.0703125, 0.0}, 1.0234375},
                 {{0, 1, 2, 3}, {-0.0703125, 0.8203125, 0.2734375, -0.0234375}, 1.0},
                 {{0, 1, 2, 3}, {-0.0234375, 0.2734375, 0.8203125, -0.0703125}, 1.0},
                 {{1, 2, 3, 3}, {-0.0703125, 0.8203125, 0.2734375, -0.0234375}, 1.0},
                 {{1, 2, 3, 3}, {-0.0234375, 0.2734375, 0.8203125, -0.0703125}, 1.0},
                 {{2, 3, 3, 3}, {-0.0703125, 0.8203125, 0.2734375, -0.0234375}, 1.0}}},
        TapCase{"Reduce4To2",
                2,
                4,
                {{{0, 1, 2, 3}, {0.5625, 0.5625, -0.0625, 0.0}, 1.0625},
                 {{1, 2, 3, 3}, {-0.0625, 0.5625, 0.5625, -0.0625}, 1.0}}},
        TapCase{"Identity3",
                3,
                3,
                {{{0, 0, 1, 2}, {0.0, 1.0, 0.0, 0.0}, 1.0},
                 {{0, 1, 2, 2}, {0.0, 1.0, 0.0, 0.0}, 1.0},
                 {{1, 2, 2, 2}, {0.0, 1.0, 0.0, 0.0}, 1.0}}}),
    lumo::test::CaseName());

// ---- Worked images -----------------------------------------------------------------------------

struct WorkedCase {
    const char* name;
    uint32_t bits;
    tagLumoSize sourceSize;
    std::vector<uint32_t> source;
    tagLumoSize destinationSize;
    std::vector<uint32_t> expected;
};

class BiCubicWorked : public ::testing::TestWithParam<WorkedCase> {};

TEST_P(BiCubicWorked, GivesTheDefinedSamples) {
    const WorkedCase& c = GetParam();
    const TestImage source = OneChannel(c.sourceSize, c.bits, c.source);
    TestImage destination = TestImage::Make(c.destinationSize.width, c.destinationSize.height, 1, c.bits, 5);
    ASSERT_EQ(lumo::test::Resize(kBiCubic, source, destination), kLumoResultOK);
    EXPECT_EQ(destination.Samples(), c.expected);
    EXPECT_TRUE(destination.PaddingIntact());
}

INSTANTIATE_TEST_SUITE_P(
    Examples, BiCubicWorked,
    ::testing::Values(
        // Weights add up to 1 only within rounding and results are truncated,
        // so a uniform image loses a code value at some positions.
        WorkedCase{"UniformColumnWidened", 8, {1, 1}, {255}, {4, 1}, {254, 255, 255, 254}},
        WorkedCase{"UniformRowHeightened", 8, {1, 1}, {255}, {1, 4}, {254, 255, 255, 254}},
        WorkedCase{"UniformColumnWidened16", 16, {1, 1}, {65535}, {4, 1}, {65534, 65535, 65535, 65535}},
        // The second pass reads the truncated first pass, so the corners lose two code values.
        WorkedCase{"UniformPixelEnlarged",
                   8,
                   {1, 1},
                   {255},
                   {4, 4},
                   {254, 254, 254, 254, 254, 255, 255, 254, 254, 255, 255, 254, 253, 254, 254, 253}},
        // Overshoot at a step is clamped at both ends.
        WorkedCase{"StepEnlarged", 8, {4, 1}, {0, 0, 255, 255}, {8, 1}, {0, 0, 0, 63, 191, 255, 255, 255}},
        WorkedCase{"StepEnlarged16", 16, {4, 1}, {0, 0, 65535, 65535}, {8, 1},
                   {0, 0, 0, 16383, 49151, 65535, 65535, 65535}},
        // A reduction samples with the same 4 taps, it does not average.
        WorkedCase{"PeakReduced", 8, {4, 1}, {0, 255, 255, 0}, {2, 1}, {120, 127}}),
    lumo::test::CaseName());

// ---- Properties over random images --------------------------------------------------------------

const Shape kShapes[] = {
    {{1, 1}, {3, 2}},    // one pixel spread out
    {{9, 11}, {5, 13}},  // one axis down, one up
    {{6, 4}, {13, 3}},   // one axis up, one down
    {{12, 10}, {4, 7}},  // both down
    {{3, 1}, {1, 9}},
};

// Each case runs every channel count from 1 to 6 on a small random source.
class BiCubicProperties : public ShapeTest {
protected:
    static constexpr uint32_t kMostChannels = 6;
    void TearDown() override {
        ShapeTest::TearDown();
        lumo::testing::ResetWorkAllocationFailures();
    }
};

TEST_P(BiCubicProperties, SameBytesWhateverTheThreadCountAndPaddingUntouched) {
    ForEachChannelCount(kMostChannels, [&] {
        ExpectSameBytesWhateverTheThreadCount(kBiCubic);
    });
}

TEST_P(BiCubicProperties, RegionCoveringTheSourceGivesTheWholeImageOutput) {
    ForEachChannelCount(kMostChannels, [&] {
        ExpectRegionCoveringTheSourceToGiveTheWholeImageOutput(kBiCubic);
    });
}

TEST_P(BiCubicProperties, RegionIsResizedAsAnImageOfItsOwnAndNothingAroundItIsRead) {
    ForEachChannelCount(kMostChannels, [&] {
        // The region sits at (2, 3) of a larger source; only its own bytes are allocated.
        const tagLumoRect region{2, 3, shape.source.width, shape.source.height};
        const tagLumoSize wholeSource{region.width + 5, region.height + 4};
        RegionSource regionSource(source, region, 5 * channels * (bits / 8));
        TestImage expected = Destination();
        ASSERT_EQ(lumo::test::Resize(kBiCubic, source, expected), kLumoResultOK);
        for (const uint32_t outsideSeed : {1u, 2u}) {
            regionSource.FillOutside(outsideSeed);
            TestImage destination = Destination();
            ASSERT_EQ(regionSource.Resize(kBiCubic, wholeSource, destination), kLumoResultOK);
            EXPECT_EQ(destination.Samples(), expected.Samples());
            EXPECT_TRUE(destination.PaddingIntact());
        }
    });
}

TEST_P(BiCubicProperties, EachMissingWorkingBlockGivesNoMemoryAndWritesNothing) {
    ForEachChannelCount(kMostChannels, [&] {
        TestImage reference = Destination();
        ASSERT_EQ(lumo::test::Resize(kBiCubic, source, reference), kLumoResultOK);
        for (int successes = 0; successes < 5; ++successes) {
            TestImage destination =
                Patterned(shape.destination.width, shape.destination.height, channels, bits, 6, 99);
            const std::vector<unsigned char> before = destination.bytes;
            lumo::testing::FailWorkAllocationsAfter(successes);
            EXPECT_EQ(lumo::test::Resize(kBiCubic, source, destination), kLumoResultNoMemory)
                << successes << " blocks obtained";
            lumo::testing::ResetWorkAllocationFailures();
            EXPECT_EQ(destination.bytes, before) << successes << " blocks obtained";
        }
        // Five blocks are all it needs.
        lumo::testing::FailWorkAllocationsAfter(5);
        TestImage destination = Destination();
        EXPECT_EQ(lumo::test::Resize(kBiCubic, source, destination), kLumoResultOK);
        lumo::testing::ResetWorkAllocationFailures();
        EXPECT_EQ(destination.bytes, reference.bytes);
    });
}

INSTANTIATE_TEST_SUITE_P(Shapes, BiCubicProperties,
                         ::testing::Combine(::testing::Values(8u, 16u), ::testing::ValuesIn(kShapes)));

class BiCubicIdentity : public ::testing::TestWithParam<uint32_t /*bits*/> {};

TEST_P(BiCubicIdentity, CopiesTheImage) {
    const uint32_t bits = GetParam();
    for (const tagLumoSize size : {tagLumoSize{1, 1}, tagLumoSize{1, 6}, tagLumoSize{7, 1}, tagLumoSize{5, 9}}) {
        for (const uint32_t channels : {1u, 3u, 6u}) {
            SCOPED_TRACE(::testing::Message() << size.width << " x " << size.height << ", " << channels
                                              << " channels");
            const TestImage source = Patterned(size.width, size.height, channels, bits, 4, size.width * 7 + channels);
            TestImage destination = TestImage::Make(size.width, size.height, channels, bits, 9);
            ASSERT_EQ(lumo::test::Resize(kBiCubic, source, destination), kLumoResultOK);
            EXPECT_EQ(destination.Samples(), source.Samples());
            EXPECT_TRUE(destination.PaddingIntact());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Depths, BiCubicIdentity, ::testing::Values(8u, 16u));

// ---- Empty and degenerate sizes ----------------------------------------------------------------

struct EmptyCase {
    const char* name;
    tagLumoSize source;
    tagLumoSize destination;
    LumoResult result;
};

class BiCubicEmpty : public ::testing::TestWithParam<EmptyCase> {};

TEST_P(BiCubicEmpty, WritesNothing) {
    const EmptyCase& c = GetParam();
    for (const uint32_t bits : {8u, 16u}) {
        const TestImage source = Patterned(c.source.width, c.source.height, 2, bits, 0, 5);
        // A buffer big enough for a 4 x 4 destination, whatever size the call is told.
        TestImage destination = Patterned(4, 4, 2, bits, 0, 6);
        const std::vector<unsigned char> before = destination.bytes;
        EXPECT_EQ(kBiCubic.Whole(bits)(2, source.Data(), c.source, source.rowBytes, destination.Data(),
                                       c.destination, destination.rowBytes),
                  c.result)
            << bits << " bits";
        EXPECT_EQ(destination.bytes, before) << bits << " bits";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, BiCubicEmpty,
    ::testing::Values(EmptyCase{"NoColumns", {3, 3}, {0, 4}, kLumoResultOK},
                      EmptyCase{"NoRows", {3, 3}, {4, 0}, kLumoResultOK},
                      EmptyCase{"RowTablesBeyond32Bits", {3, 3}, {4, 0x80000000u}, kLumoResultNoMemory},
                      EmptyCase{"NoSourceColumns", {0, 3}, {4, 4}, kLumoResultInvalidParameter},
                      EmptyCase{"NoSourceRows", {3, 0}, {4, 4}, kLumoResultInvalidParameter},
                      EmptyCase{"NothingAtAll", {0, 0}, {0, 0}, kLumoResultOK}),
    lumo::test::CaseName());

}  // namespace
