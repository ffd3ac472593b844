#include <gtest/gtest.h>

#include <tuple>
#include <vector>

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

const KernelSet kSuperSampling{lumo::SuperSampling8, lumo::SuperSampling16, lumo::SuperSampling8WithRegion,
                               lumo::SuperSampling16WithRegion};

// ---- Worked images -----------------------------------------------------------------------------

struct WorkedCase {
    const char* name;
    uint32_t bits;
    tagLumoSize sourceSize;
    std::vector<uint32_t> source;
    tagLumoRect region;  // width 0: the whole source
    tagLumoSize destinationSize;
    std::vector<uint32_t> expected;
};

class SuperSamplingWorked : public ::testing::TestWithParam<WorkedCase> {};

TEST_P(SuperSamplingWorked, GivesTheDefinedSamples) {
    const WorkedCase& c = GetParam();
    const TestImage source = OneChannel(c.sourceSize, c.bits, c.source);
    TestImage destination = TestImage::Make(c.destinationSize.width, c.destinationSize.height, 1, c.bits, 5);
    const LumoResult result = c.region.width == 0
                                  ? lumo::test::Resize(kSuperSampling, source, destination)
                                  : lumo::test::ResizeRegion(kSuperSampling, source, c.region, destination);
    ASSERT_EQ(result, kLumoResultOK);
    EXPECT_EQ(destination.Samples(), c.expected);
    EXPECT_TRUE(destination.PaddingIntact());
}

INSTANTIATE_TEST_SUITE_P(
    Examples, SuperSamplingWorked,
    ::testing::Values(
        // Footprints 0..2.5 and 2.5..5: weights 1, 1, 0.5 and 0.5, 1, 1.
        WorkedCase{"FiveToTwo", 8, {5, 1}, {0, 10, 20, 30, 40}, {}, {2, 1}, {8, 32}},
        WorkedCase{"FiveToTwo16", 16, {5, 1}, {0, 10, 20, 30, 40}, {}, {2, 1}, {8, 32}},
        WorkedCase{"FiveToTwoDown", 8, {1, 5}, {0, 10, 20, 30, 40}, {}, {1, 2}, {8, 32}},
        WorkedCase{"FiveToTwoInRegion", 8, {8, 2}, {99, 99, 99, 0, 10, 20, 30, 40, 99, 99, 99, 99, 99, 99, 99, 99},
                   {3, 0, 5, 1}, {2, 1}, {8, 32}},
        WorkedCase{"FiveToTwoDownInRegion", 16, {2, 8}, {7, 99, 7, 99, 7, 99, 0, 99, 10, 99, 20, 99, 30, 99, 40, 99},
                   {0, 3, 1, 5}, {1, 2}, {8, 32}},
        // The quotient of the sums can fall just below the uniform value and is truncated.
        WorkedCase{"UniformSevenToThree", 8, {7, 1}, {255, 255, 255, 255, 255, 255, 255}, {}, {3, 1}, {254, 255, 255}},
        WorkedCase{"UniformTenToSeven", 8, {10, 1}, {3, 3, 3, 3, 3, 3, 3, 3, 3, 3}, {}, {7, 1},
                   {3, 3, 2, 3, 3, 3, 3}},
        // On a growing axis a lone contribution is (value * w) / w, which can fall below the value.
        // Where a footprint lies within one source pixel, its part is taken from the
        // near edge; the far edge's would round differently (3, 3, 2).
        WorkedCase{"OnePixelWidened", 8, {1, 1}, {3}, {}, {3, 1}, {3, 2, 2}},
        WorkedCase{"OnePixelHeightened", 8, {1, 1}, {3}, {}, {1, 3}, {3, 2, 2}},
        // An empty source axis leaves nothing to average: 0/0 gives 0.
        WorkedCase{"NoSourceRows", 8, {3, 0}, {}, {}, {2, 2}, {0, 0, 0, 0}},
        WorkedCase{"NoSourceColumns", 16, {0, 3}, {}, {}, {2, 2}, {0, 0, 0, 0}}),
    lumo::test::CaseName());

// ---- Exact reductions: plain block means ----------------------------------------------------------

struct Reduction {
    tagLumoSize source;
    uint32_t factor;
};

class SuperSamplingMeans : public ::testing::TestWithParam<Reduction> {};

TEST_P(SuperSamplingMeans, IntegerReductionGivesTheTruncatedBlockMean) {
    const Reduction reduction = GetParam();
    const uint32_t f = reduction.factor;
    for (const uint32_t bits : {8u, 16u}) {
        for (uint32_t channels = 1; channels <= 4; ++channels) {
            SCOPED_TRACE(::testing::Message() << bits << " bits, " << channels << " channels");
            const TestImage source =
                Patterned(reduction.source.width, reduction.source.height, channels, bits, 2, f * channels + bits);
            TestImage destination =
                TestImage::Make(reduction.source.width / f, reduction.source.height / f, channels, bits, 4);
            ASSERT_EQ(lumo::test::Resize(kSuperSampling, source, destination), kLumoResultOK);
            for (uint32_t y = 0; y < destination.height; ++y)
                for (uint32_t x = 0; x < destination.width; ++x)
                    for (uint32_t c = 0; c < channels; ++c) {
                        uint32_t sum = 0;
                        for (uint32_t sy = 0; sy < f; ++sy)
                            for (uint32_t sx = 0; sx < f; ++sx) sum += source.Get(x * f + sx, y * f + sy, c);
                        EXPECT_EQ(destination.Get(x, y, c), sum / (f * f)) << x << "," << y << " channel " << c;
                    }
            EXPECT_TRUE(destination.PaddingIntact());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Blocks, SuperSamplingMeans,
                         ::testing::Values(Reduction{{4, 4}, 2}, Reduction{{8, 6}, 2}, Reduction{{8, 8}, 4}));

// ---- Properties over random images --------------------------------------------------------------

const Shape kShapes[] = {
    {{7, 5}, {3, 2}},    // both down, uneven footprints
    {{13, 9}, {5, 12}},  // one axis down, one up
    {{15, 13}, {11, 15}},  // the last footprints end a hair past the last column and row
    {{6, 11}, {6, 4}},   // one axis kept
    {{9, 1}, {2, 1}},
};

// Each case runs every channel count from 1 to 4 on a small random source.
class SuperSamplingProperties : public ShapeTest {
protected:
    static constexpr uint32_t kMostChannels = 4;
};

TEST_P(SuperSamplingProperties, SameBytesWhateverTheThreadCountAndPaddingUntouched) {
    ForEachChannelCount(kMostChannels, [&] {
        ExpectSameBytesWhateverTheThreadCount(kSuperSampling);
    });
}

TEST_P(SuperSamplingProperties, RegionCoveringTheSourceGivesTheWholeImageOutput) {
    ForEachChannelCount(kMostChannels, [&] {
        ExpectRegionCoveringTheSourceToGiveTheWholeImageOutput(kSuperSampling);
    });
}

TEST_P(SuperSamplingProperties, NothingAroundTheRegionIsRead) {
    ForEachChannelCount(kMostChannels, [&] {
        // Only the region's own bytes are allocated: a read on any side of it
        // leaves the block, and the bytes between its rows change between runs.
        const tagLumoRect region{3, 2, shape.source.width, shape.source.height};
        RegionSource regionSource(source, region, 4 * channels * (bits / 8));
        std::vector<uint32_t> first;
        for (const uint32_t outsideSeed : {1u, 2u}) {
            regionSource.FillOutside(outsideSeed);
            TestImage destination = Destination();
            ASSERT_EQ(regionSource.Resize(kSuperSampling, {region.width + 7, region.height + 5}, destination),
                      kLumoResultOK);
            EXPECT_TRUE(destination.PaddingIntact());
            if (first.empty()) {
                first = destination.Samples();
            } else {
                EXPECT_EQ(destination.Samples(), first);
            }
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Shapes, SuperSamplingProperties,
                         ::testing::Combine(::testing::Values(8u, 16u), ::testing::ValuesIn(kShapes)));

// ---- Calls that write nothing ------------------------------------------------------------------

struct SilentCase {
    const char* name;
    uint32_t channels;
    tagLumoSize destination;
};

class SuperSamplingSilent : public ::testing::TestWithParam<SilentCase> {};

TEST_P(SuperSamplingSilent, ReturnsOkAndWritesNothing) {
    const SilentCase& c = GetParam();
    for (const uint32_t bits : {8u, 16u}) {
        const TestImage source = Patterned(8, 8, c.channels, bits, 0, 3);
        // Room for a 4 x 4 destination, whatever size the call is told.
        TestImage destination = Patterned(4, 4, c.channels, bits, 0, 4);
        const std::vector<unsigned char> before = destination.bytes;
        EXPECT_EQ(kSuperSampling.Whole(bits)(c.channels, source.Data(), source.Size(), source.rowBytes,
                                             destination.Data(), c.destination, destination.rowBytes),
                  kLumoResultOK);
        const tagLumoRect region{1, 1, 6, 6};
        EXPECT_EQ(kSuperSampling.Region(bits)(c.channels, source.Data(), source.Size(), source.rowBytes, region,
                                              destination.Data(), c.destination, destination.rowBytes),
                  kLumoResultOK);
        EXPECT_EQ(destination.bytes, before) << bits << " bits";
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, SuperSamplingSilent,
                         ::testing::Values(SilentCase{"FiveChannels", 5, {4, 4}},
                                           SilentCase{"SixChannels", 6, {2, 2}},
                                           SilentCase{"NoColumns", 3, {0, 4}},
                                           SilentCase{"NoRows", 3, {4, 0}},
                                           SilentCase{"RowsReadAsNegative", 3, {4, 0x80000000u}}),
                         lumo::test::CaseName());

}  // namespace
