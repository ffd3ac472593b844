// Each method's arithmetic pinned by outputs worked out by hand: which source
// pixel nearest neighbour takes, the tap tables and filter of the
// interpolating methods, and whole images through the fast and plain kernels.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "resize/bicubic.h"
#include "resize/bilinear.h"
#include "resize/kernel_harness.h"
#include "resize/kernels.h"

namespace {

using lumo::test::Kernel;
using lumo::test::TestImage;

constexpr LumoScalingMethod kNearest = kLumoScalingNearestNeighbor;
constexpr LumoScalingMethod kLinear = kLumoScalingBiLinear;
constexpr LumoScalingMethod kCubic = kLumoScalingBiCubic;
constexpr LumoScalingMethod kAverage = kLumoScalingSuperSampling;

// ---- Whole images and regions ------------------------------------------------------------------

struct Worked {
    const char* name;
    LumoScalingMethod method;
    uint32_t bits;
    tagLumoSize sourceSize;
    std::vector<uint32_t> source;  // empty: a ramp, sample i holding i modulo 256
    tagLumoRect region;            // width 0: the whole source
    tagLumoSize destinationSize;
    std::vector<uint32_t> expected;
    friend void PrintTo(const Worked& w, std::ostream* out) { *out << w.name; }
};

const Worked kWorked[] = {
    // Nearest neighbour: no half-pixel offset; the quotient, not a product
    // with its reciprocal, decides. 9 / (18/14) lands just below 7 (column 6,
    // where 9 * 14/18 gives 7); 13 / (26/30) gives 15 exactly, where
    // 13 * (1 / (26/30)) falls below it. A reduction picks, it does not average.
    {"NearestEnlarge3To8", kNearest, 8, {3, 1}, {}, {}, {8, 1}, {0, 0, 0, 1, 1, 1, 2, 2}},
    {"NearestEnlarge2To5", kNearest, 8, {2, 1}, {}, {}, {5, 1}, {0, 0, 0, 1, 1}},
    {"NearestEnlarge14To18", kNearest, 8, {14, 1}, {}, {}, {18, 1},
     {0, 0, 1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 10, 10, 11, 12, 13}},
    {"NearestReduce30To26", kNearest, 8, {30, 1}, {}, {}, {26, 1},
     {0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 12, 13, 15, 16, 17, 18, 19, 20, 21, 23, 24, 25, 26, 27, 28}},
    {"NearestReduce8To3", kNearest, 8, {8, 1}, {}, {}, {3, 1}, {0, 2, 5}},
    {"NearestEqual", kNearest, 8, {5, 1}, {}, {}, {5, 1}, {0, 1, 2, 3, 4}},
    {"NearestOnePixel", kNearest, 8, {1, 1}, {}, {}, {4, 1}, {0, 0, 0, 0}},
    {"NearestToOnePixel", kNearest, 8, {4, 1}, {}, {}, {1, 1}, {0}},
    // The region origin joins the quotient before truncation: 9 / (18/14) is
    // just below 7, but 1000 added to it rounds to 1007 exactly, so output 9
    // takes column 1007 (1000 to 1013 hold 232 to 245).
    {"NearestOriginAddedBeforeTruncating", kNearest, 8, {1024, 1}, {}, {1000, 0, 14, 1}, {18, 1},
     {232, 232, 233, 234, 235, 235, 236, 237, 238, 239, 239, 240, 241, 242, 242, 243, 244, 245}},
    // Bilinear: the near edge extrapolates, the far edge repeats the last sample.
    {"LinearNearEdgeExtrapolates", kLinear, 8, {2, 1}, {100, 200}, {}, {4, 1}, {50, 125, 175, 200}},
    {"LinearExtrapolationClampsTo255", kLinear, 8, {2, 1}, {200, 0}, {}, {4, 1}, {255, 150, 50, 0}},
    {"LinearHalfTruncatesAndBelowZeroClamps", kLinear, 8, {2, 1}, {0, 255}, {}, {3, 1}, {0, 127, 255}},
    // 3.5 / 2.5 rather than 3.5 * 0.4 decides the fourth sample (67 otherwise).
    {"LinearCentresDivideByTheFactor", kLinear, 8, {2, 1}, {140, 60}, {}, {5, 1}, {200, 132, 100, 68, 60}},
    {"LinearReductionWeights", kLinear, 8, {5, 1}, {10, 50, 90, 130, 250}, {}, {2, 1}, {40, 160}},
    // The first pass clamps and truncates to bytes before the second reads
    // them: without that, four of these samples differ (76 would be 71).
    {"LinearIntermediateOfBytes", kLinear, 8, {3, 2}, {130, 183, 14, 238, 127, 26}, {}, {5, 3},
     {76, 140, 197, 84, 11, 183, 172, 155, 73, 20, 255, 193, 127, 66, 26}},
    {"LinearBothAxes16", kLinear, 16, {3, 2}, {1000, 60000, 30000, 65535, 0, 12345}, {}, {5, 3},
     {0, 20918, 65535, 50648, 34413, 32767, 31960, 30000, 24703, 21172, 65535, 39321, 0, 7407, 12345}},
    // Bicubic: weights add up to 1 only within rounding and results are
    // truncated, so a uniform image loses a code value at some positions; the
    // second pass reads the truncated first, so corners lose two.
    {"CubicUniformWidened", kCubic, 8, {1, 1}, {255}, {}, {4, 1}, {254, 255, 255, 254}},
    {"CubicUniformWidened16", kCubic, 16, {1, 1}, {65535}, {}, {4, 1}, {65534, 65535, 65535, 65535}},
    {"CubicUniformPixelEnlarged", kCubic, 8, {1, 1}, {255}, {}, {4, 4},
     {254, 254, 254, 254, 254, 255, 255, 254, 254, 255, 255, 254, 253, 254, 254, 253}},
    // Overshoot at a step is clamped at both ends.
    {"CubicStepEnlarged", kCubic, 8, {4, 1}, {0, 0, 255, 255}, {}, {8, 1}, {0, 0, 0, 63, 191, 255, 255, 255}},
    {"CubicStepEnlarged16", kCubic, 16, {4, 1}, {0, 0, 65535, 65535}, {}, {8, 1},
     {0, 0, 0, 16383, 49151, 65535, 65535, 65535}},
    // A reduction samples with the same 4 taps, it does not average.
    {"CubicPeakReduced", kCubic, 8, {4, 1}, {0, 255, 255, 0}, {}, {2, 1}, {120, 127}},
    // Averaging: footprints 0..2.5 and 2.5..5 weigh 1, 1, 0.5 and 0.5, 1, 1.
    {"AverageFiveToTwo", kAverage, 8, {5, 1}, {0, 10, 20, 30, 40}, {}, {2, 1}, {8, 32}},
    {"AverageFiveToTwo16", kAverage, 16, {5, 1}, {0, 10, 20, 30, 40}, {}, {2, 1}, {8, 32}},
    {"AverageFiveToTwoInRegion", kAverage, 8, {8, 2}, {99, 99, 99, 0, 10, 20, 30, 40, 99, 99, 99, 99, 99, 99, 99, 99},
     {3, 0, 5, 1}, {2, 1}, {8, 32}},
    {"AverageFiveToTwoDownInRegion", kAverage, 16, {2, 8},
     {7, 99, 7, 99, 7, 99, 0, 99, 10, 99, 20, 99, 30, 99, 40, 99}, {0, 3, 1, 5}, {1, 2}, {8, 32}},
    // The quotient of the sums can fall just below the uniform value and is truncated.
    {"AverageUniformSevenToThree", kAverage, 8, {7, 1}, {255, 255, 255, 255, 255, 255, 255}, {}, {3, 1},
     {254, 255, 255}},
    {"AverageUniformTenToSeven", kAverage, 8, {10, 1}, {3, 3, 3, 3, 3, 3, 3, 3, 3, 3}, {}, {7, 1},
     {3, 3, 2, 3, 3, 3, 3}},
    // On a growing axis a lone contribution is (value * w) / w, which can fall
    // below the value. Where a footprint lies within one source pixel, its
    // part is taken from the near edge; the far edge's would round
    // differently (3, 3, 2). The other axis must shrink to be admitted.
    {"AverageOnePixelWidened", kAverage, 8, {1, 2}, {3, 3}, {}, {3, 1}, {3, 2, 2}},
};

class WorkedImage : public ::testing::TestWithParam<Worked> {};

// Both kernels, both widths for nearest neighbour (it only copies samples, so
// its examples hold at 16 bits with every sample times 257), and a one-row
// example also turned into a column.
TEST_P(WorkedImage, GivesTheSamplesWorkedOutByHand) {
    const Worked& w = GetParam();
    for (const bool plain : {false, true}) {
        const std::vector<uint32_t> widths = w.method == kNearest ? std::vector<uint32_t>{8, 16} : std::vector{w.bits};
        for (const uint32_t bits : widths) {
            const uint32_t scale = bits == w.bits ? 1 : 257;
            for (const bool turned : {false, true}) {
                if (turned && (w.sourceSize.height != 1 || w.destinationSize.height != 1)) continue;
                SCOPED_TRACE(::testing::Message() << (plain ? "plain" : "fast") << ", " << bits << " bits"
                                                  << (turned ? ", as a column" : ""));
                const auto turn = [&](tagLumoSize s) { return turned ? tagLumoSize{s.height, s.width} : s; };
                const tagLumoSize size = turn(w.sourceSize);
                TestImage source = TestImage::Make(size.width, size.height, 1, bits, 3);
                for (uint32_t i = 0; i < size.width * size.height; ++i)
                    source.Set(turned ? 0 : i % size.width, turned ? i : i / size.width, 0,
                               scale * (w.source.empty() ? i % 256 : w.source[i]));
                tagLumoRect region = w.region.width == 0 ? lumo::WholeImage(w.sourceSize) : w.region;
                if (turned) region = {region.y, region.x, region.height, region.width};
                const tagLumoSize out = turn(w.destinationSize);
                TestImage destination = TestImage::Make(out.width, out.height, 1, bits, 5);
                const Kernel kernel{*lumo::FindResizeMethod(w.method), plain};
                ASSERT_EQ(kernel(source, region, destination), kLumoResultOK);
                std::vector<uint32_t> expected = w.expected;
                for (uint32_t& e : expected) e *= scale;
                EXPECT_EQ(destination.Samples(), expected);
                EXPECT_TRUE(destination.PaddingIntact());
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Examples, WorkedImage, ::testing::ValuesIn(kWorked), lumo::test::CaseName());

// ---- Nearest neighbour: regions over the edge -------------------------------------------------

// At factor 1 the mapping is exact, so every output pixel is the region pixel
// under it, clamped to the whole source: regions hanging over any edge repeat
// that edge. The source rows are not padded, so its block ends at its last
// sample and a read beyond the source faults under ASan.
TEST(NearestRegion, OverTheEdgeRepeatsTheEdge) {
    const tagLumoRect kRegions[] = {
        {3, 2, 6, 6},    // past the right and bottom edges
        {-2, -3, 5, 4},  // negative origin
        {-1, 1, 9, 2},   // wider than the source on both sides
        {2, -4, 1, 12},  // taller than the source on both sides
        {-5, -5, 3, 3},  // entirely above and left of the source
        {8, 7, 2, 2},    // entirely below and right of the source
    };
    const auto clamped = [](int32_t at, uint32_t length) {
        return static_cast<uint32_t>(std::clamp<int32_t>(at, 0, static_cast<int32_t>(length) - 1));
    };
    for (const bool plain : {false, true})
        for (const uint32_t bits : {8u, 16u})
            for (const uint32_t channels : {1u, 3u, 6u}) {
                const TestImage source = TestImage::Random(6, 5, channels, bits, 0, channels);
                for (const tagLumoRect& r : kRegions) {
                    TestImage destination = TestImage::Make(r.width, r.height, channels, bits, 7);
                    const Kernel kernel{*lumo::FindResizeMethod(kNearest), plain};
                    ASSERT_EQ(kernel(source, r, destination), kLumoResultOK);
                    for (uint32_t y = 0; y < r.height; ++y)
                        for (uint32_t x = 0; x < r.width; ++x)
                            for (uint32_t c = 0; c < channels; ++c)
                                ASSERT_EQ(destination.Get(x, y, c),
                                          source.Get(clamped(r.x + static_cast<int32_t>(x), 6),
                                                     clamped(r.y + static_cast<int32_t>(y), 5), c))
                                    << plain << " " << bits << " " << channels << ": region " << r.x << "," << r.y
                                    << " at " << x << "," << y;
                    EXPECT_TRUE(destination.PaddingIntact());
                }
            }
}

// ---- Averaging: integer reductions are plain block means ----------------------------------------

TEST(SuperSamplingMeans, IntegerReductionGivesTheTruncatedBlockMean) {
    const struct {
        tagLumoSize source;
        uint32_t factor;
    } kReductions[] = {{{4, 4}, 2}, {{8, 6}, 2}, {{8, 8}, 4}};
    for (const auto& [size, f] : kReductions) {
        for (const bool plain : {false, true}) {
            const Kernel kernel{*lumo::FindResizeMethod(kAverage), plain};
            for (const uint32_t bits : {8u, 16u}) {
                for (uint32_t channels = 1; channels <= 4; ++channels) {
                    SCOPED_TRACE(::testing::Message() << kernel << ", " << bits << " bits, " << channels
                                                      << " channels");
                    const TestImage source =
                        TestImage::Random(size.width, size.height, channels, bits, 2, f * channels + bits);
                    TestImage destination = TestImage::Make(size.width / f, size.height / f, channels, bits, 4);
                    ASSERT_EQ(kernel(source, destination), kLumoResultOK);
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
    }
}

// ---- The tap tables of one axis ---------------------------------------------------------------

struct LinearTapsCase {
    uint32_t count, sourceCount;
    std::vector<uint32_t> taps;
    std::vector<double> weights;
};

TEST(LinearTaps, IndicesAndWeights) {
    const LinearTapsCase kCases[] = {
        // Enlarging 2 -> 4: the first output extrapolates (1.5, -0.5), the
        // last one's second index is clamped and keeps its weight.
        {4, 2, {0, 1, 0, 1, 0, 1, 1, 1}, {1.5, -0.5, 0.75, 0.25, 0.25, 0.75, 0.75, 0.25}},
        // Reducing 5 -> 2: centres 1.25 and 3.75.
        {2, 5, {0, 1, 3, 4}, {0.25, 0.75, 0.75, 0.25}},
        // Equal lengths: each output is its own input.
        {3, 3, {0, 1, 1, 2, 2, 2}, {1.0, 0.0, 1.0, 0.0, 1.0, 0.0}},
        // One input: both indices clamp to it while the weights come from the
        // unclamped ones (centre 1/6: (2/3, -1/3) over their sum 1/3).
        {3, 1, {0, 0, 0, 0, 0, 0}, {2.0, -1.0, 1.0, 0.0, 2.0 / 3.0, 1.0 / 3.0}},
    };
    for (const LinearTapsCase& t : kCases) {
        std::vector<uint32_t> taps(2 * t.count, 99);
        std::vector<double> weights(2 * t.count, 99.0);
        lumo::BuildLinearTaps(t.count, t.sourceCount, taps.data(), weights.data());
        EXPECT_EQ(taps, t.taps);
        for (size_t i = 0; i < weights.size(); ++i)
            EXPECT_DOUBLE_EQ(weights[i], t.weights[i]) << t.sourceCount << " -> " << t.count << ", entry " << i;
    }
}

TEST(CubicFilter, GivesTheReferenceWeightOnBothSides) {
    const double kWeights[][2] = {{0.0, 1.0},        {0.25, 0.8203125},   {0.5, 0.5625},     {0.75, 0.2734375},
                                  {1.0, -0.0},       {1.25, -0.0703125},  {1.5, -0.0625},    {1.75, -0.0234375},
                                  {2.0, 0.0},        {2.5, 0.0},          {INFINITY, 0.0},   {NAN, 0.0}};
    for (const auto& [distance, weight] : kWeights) {
        for (const double x : {distance, -distance}) {
            EXPECT_EQ(lumo::cubicFilter(x), weight) << "x = " << x;
            EXPECT_EQ(std::signbit(lumo::cubicFilter(x)), std::signbit(weight)) << "x = " << x;
        }
    }
}

struct TapRow {
    std::array<uint32_t, 4> taps;
    std::array<double, 4> weights;  // before normalisation
    double sum;
};

struct CubicTapsCase {
    const char* name;
    uint32_t count, sourceCount;
    std::vector<TapRow> rows;
};

class CubicTaps : public ::testing::TestWithParam<CubicTapsCase> {};

TEST_P(CubicTaps, StartByTruncationClampToTheEdgesAndNormalise) {
    const CubicTapsCase& c = GetParam();
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

// The filter at distances 0.25, 0.75, 1.25 and 1.75.
constexpr double kAt025 = 0.8203125, kAt075 = 0.2734375, kAt125 = -0.0703125, kAt175 = -0.0234375;

INSTANTIATE_TEST_SUITE_P(Tables, CubicTaps,
                         ::testing::Values(CubicTapsCase{"Enlarge4To8", 8, 4,
                                                         {{{0, 0, 1, 2}, {kAt075, kAt025, kAt125, 0.0}, 1.0234375},
                                                          {{0, 1, 2, 3}, {kAt025, kAt075, kAt175, 0.0}, 1.0703125},
                                                          {{0, 1, 2, 3}, {kAt075, kAt025, kAt125, 0.0}, 1.0234375},
                                                          {{0, 1, 2, 3}, {kAt125, kAt025, kAt075, kAt175}, 1.0},
                                                          {{0, 1, 2, 3}, {kAt175, kAt075, kAt025, kAt125}, 1.0},
                                                          {{1, 2, 3, 3}, {kAt125, kAt025, kAt075, kAt175}, 1.0},
                                                          {{1, 2, 3, 3}, {kAt175, kAt075, kAt025, kAt125}, 1.0},
                                                          {{2, 3, 3, 3}, {kAt125, kAt025, kAt075, kAt175}, 1.0}}},
                                           CubicTapsCase{"Reduce4To2", 2, 4,
                                                         {{{0, 1, 2, 3}, {0.5625, 0.5625, -0.0625, 0.0}, 1.0625},
                                                          {{1, 2, 3, 3}, {-0.0625, 0.5625, 0.5625, -0.0625}, 1.0}}},
                                           CubicTapsCase{"Identity3", 3, 3,
                                                         {{{0, 0, 1, 2}, {0.0, 1.0, 0.0, 0.0}, 1.0},
                                                          {{0, 1, 2, 2}, {0.0, 1.0, 0.0, 0.0}, 1.0},
                                                          {{1, 2, 2, 2}, {0.0, 1.0, 0.0, 0.0}, 1.0}}}),
                         lumo::test::CaseName());

}  // namespace
