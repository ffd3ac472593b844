#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "lumomath/LumoUtility.h"

namespace {

// ---- Raw gamma levels ----------------------------------------------------------

TEST(RawGammaInfo, DefaultsAndTheirTwelveBitLevelsCrosswise) {
    tagLumoRawGammaInfo info{};
    __initRawGammaInfo(&info);
    __initRawGammaInfo(nullptr);
    const tagLumoRawGammaInfo defaults{14.0, 0.0, 16383.0, 1200.0, 0.0, 16383.0};
    EXPECT_EQ(std::memcmp(&info, &defaults, sizeof(info)), 0);
    EXPECT_FALSE(__isNeedKokidokakutyou(info));
    int32_t a = -1, second = -1, third = -1, d = -1, e = -1;
    __get12bitValueWithRawGammaInfo(info, &a, &second, &third, &d, &e);
    EXPECT_EQ((std::vector{a, second, third, d, e}), (std::vector{0, 300, 4095, 0, 4095}));  // C second, B third

    info = tagLumoRawGammaInfo{12.0, 10.0, 20.0, 30.0, 40.0, 50.0};
    __get12bitValueWithRawGammaInfo(info, &a, &second, &third, nullptr, nullptr);  // D and E are optional
    EXPECT_EQ((std::vector{a, second, third}), (std::vector{10, 30, 20}));
    int32_t outs[5] = {-1, -1, -1, -1, -1};  // the first three are not
    __get12bitValueWithRawGammaInfo(info, nullptr, &outs[1], &outs[2], &outs[3], &outs[4]);
    __get12bitValueWithRawGammaInfo(info, &outs[0], nullptr, &outs[2], &outs[3], &outs[4]);
    __get12bitValueWithRawGammaInfo(info, &outs[0], &outs[1], nullptr, &outs[3], &outs[4]);
    EXPECT_EQ(std::count(outs, outs + 5, -1), 5);
}

TEST(RawGammaInfo, NeedKokidokakutyouWhenLevelBReachesTheTwelveBitEnd) {
    const struct { double bitDepth, levelB; bool expected; } cases[] = {
        {14, 16383, false}, {14, 16384, true}, {12, 4095, false},
        {12, 4096, true}, {16, 65535, false}, {10, 1024, true}};
    for (const auto& c : cases) {
        const tagLumoRawGammaInfo info{c.bitDepth, 0.0, c.levelB, 1200.0, 0.0, 16383.0};
        EXPECT_EQ(__isNeedKokidokakutyou(info), c.expected) << c.bitDepth << " " << c.levelB;
    }
}

// ---- Bit-depth conversions -------------------------------------------------------

TEST(BitDepth, MapsRangeTopToRangeTopAndClamps) {
    using Convert = uint32_t (*)(uint32_t, int32_t);
    const Convert to12 = __get12bitValue, to14 = __get14bitValue, to16 = __get16bitValue;
    const struct { Convert convert; uint32_t bits; int32_t value; uint32_t expected; } cases[] = {
        {to12, 14, 16383, 4095}, {to12, 10, 1023, 4095}, {to16, 12, 0, 0}, {to14, 12, 1, 7}, {to12, 12, 1234, 1234},
        {to16, 8, 255, 65535}, {to16, 8, 128, 33023}, {to12, 16, 15, 0}, {to14, 16, 65535, 16383},
        // Out-of-range values clamp to the target range.
        {to12, 12, 5000, 4095}, {to16, 16, -1, 0}, {to12, 0, 1, 4095}, {to16, 8, INT32_MAX, 65535},
        {to12, 8, INT32_MIN, 0},
        // A narrowing shift of 28 keeps the top bits; one of 32 or more leaves only the sign.
        {to12, 40, 1 << 30, 4}, {to12, 44, 4000, 0}, {to16, 0xFFFFFFFFu, INT32_MAX, 0}};
    for (const auto& c : cases) EXPECT_EQ(c.convert(c.bits, c.value), c.expected) << "row " << &c - cases;
}

// ---- PQ transfer functions ---------------------------------------------------------

TEST(PQ, EndPointsClampAndHundredNitsSitNearHalfSignal) {
    const double zeroSignal = std::pow(0.8359375, 78.84375);  // c1^m2
    const struct { double (*function)(int32_t); int32_t input; double expected; } cases[] = {
        {__calcPQ_EOTF, 65535, 10000.0}, {__calcPQ_EOTF, 70000, 10000.0}, {__calcPQ_EOTF, 0, 0.0},
        {__calcPQ_EOTF, -100, 0.0}, {__calcPQ_OETF, 80000, 1.0}, {__calcPQ_OETF, 123456, 1.0},
        {__calcPQ_OETF, 0, zeroSignal}, {__calcPQ_OETF, -7, zeroSignal}};
    for (const auto& c : cases) EXPECT_EQ(c.function(c.input), c.expected) << c.input;
    // 100 cd/m2 is about 0.5081 of the PQ signal range; tight enough to catch a constant off in its 6th digit.
    EXPECT_NEAR(__calcPQ_OETF(800), 0.508078421517399, 1e-12);
    EXPECT_NEAR(__calcPQ_EOTF(33298), 100.01643116213803, 1e-9);
}

TEST(PQ, EotfAfterOetfIsCloseToIdentityOverTheRange) {
    double previous = -1.0;
    for (int32_t value = 8; value <= 80000; value += 7) {
        const double signal = __calcPQ_OETF(value), luminance = value / 8.0;
        ASSERT_GT(signal, previous) << value;
        previous = signal;
        // 16-bit code values resolve PQ luminance to well under 0.1 %.
        ASSERT_NEAR(__calcPQ_EOTF(static_cast<int32_t>(std::lround(signal * 65535.0))), luminance, luminance * 1e-3)
            << value;
    }
}

// ---- Gamma packing -----------------------------------------------------------------

LumoGammaInfoForCalculate Dirty() {
    LumoGammaInfoForCalculate record;
    std::memset(&record, 0xAB, sizeof(record));
    return record;
}

bool IsDirty(const LumoGammaInfoForCalculate& record) {
    const LumoGammaInfoForCalculate dirty = Dirty();
    return std::memcmp(&record, &dirty, sizeof(record)) == 0;
}

gnzLumoGamma SampleCurve() {
    gnzLumoGamma curve{10, 9, 3, {}, {}, {111, 222, 4000, 444}, {7, 0}};  // zero[0] = 7 is copied as given
    for (int i = 0; i < 64; ++i) {
        curve.x[i] = static_cast<uint16_t>(100 * i + 1);
        curve.y[i] = static_cast<uint16_t>(50 * i + 2);
    }
    return curve;
}

TEST(RawGammaPacking, EveryFieldIsWrittenAndTheThirdLevelRescaled) {
    // Levels chosen so that every quotient by M = 16383 is exact.
    const tagLumoRawGammaInfo info{14.0, 4095.75, 16383.0, 2047.875, 8191.5, 12287.25};
    const gnzLumoGamma curve = SampleCurve();
    LumoGammaInfoForCalculate out = Dirty();
    __setupRawGammaInfoForCalculate(&info, &curve, 0.25, -3.5, 77, static_cast<LumoHDRProcessMode>(2),
                                    static_cast<LumoOstraLogType>(5), &out);
    EXPECT_EQ((std::vector<int32_t>{out.lineType, out.isRGBCurve, out.reserved6, out.reserved338, out.parameter3,
                                    out.hdrMode, out.logType}),
              (std::vector<int32_t>{0, 0, 0, 0, 77, 2, 5}));
    EXPECT_EQ((std::vector{out.levelA, out.levelB, out.levelD, out.levelE, out.parameter1, out.parameter2, out.levelC}),
              (std::vector{0.25, 1.0, 0.5, 0.75, 0.25, -3.5, 0.125}));
    // The block is copied except its third and fourth levels, which become
    // the third level scaled by E / M and D / M.
    gnzLumoGamma expected = curve;
    expected.levels[2] = 3000;  // 4000 x 0.75
    expected.levels[3] = 2000;  // 4000 x 0.5
    EXPECT_EQ(std::memcmp(&out.curve, &expected, sizeof(expected)), 0);
}

TEST(RawGammaPacking, BitDepthIsTakenModulo32AndNullPointersWriteNothing) {
    const gnzLumoGamma curve = SampleCurve();
    LumoGammaInfoForCalculate out[3] = {};
    const double depths[3] = {14.0, 46.0, 32.0};
    for (int i = 0; i < 3; ++i) {
        const tagLumoRawGammaInfo info{depths[i], 1.0, 2.0, 3.0, 4.0, 5.0};
        __setupRawGammaInfoForCalculate(&info, &curve, 0, 0, 0, kLumoHDRProcessNone, {}, &out[i]);
    }
    EXPECT_EQ(std::memcmp(&out[0], &out[1], sizeof(out[0])), 0);
    EXPECT_EQ(out[0].levelB, 2.0 / 16383.0);
    EXPECT_TRUE(std::isinf(out[2].levelB));  // 32 bits shifts by 0: M is 0

    const tagLumoRawGammaInfo info{14.0, 1.0, 2.0, 3.0, 4.0, 5.0};
    LumoGammaInfoForCalculate dirty = Dirty();
    __setupRawGammaInfoForCalculate(nullptr, &curve, 0, 0, 0, kLumoHDRProcessNone, {}, &dirty);
    __setupRawGammaInfoForCalculate(&info, nullptr, 0, 0, 0, kLumoHDRProcessNone, {}, &dirty);
    __setupRawGammaInfoForCalculate(&info, &curve, 0, 0, 0, kLumoHDRProcessNone, {}, nullptr);
    EXPECT_TRUE(IsDirty(dirty));
}

tagLumoGammaPoint TwelveBitPoints(int32_t count) {
    tagLumoGammaPoint points{12, 1, 2, 3, 4, count, {}};
    for (int32_t i = 0; i < kLumoGammaPointCapacity; ++i) points.points[i] = tagLumoPoint{10 * i + 5, 4095 - 10 * i};
    return points;
}

// 12 to 16 bits: (v + 1) x 16 - 1, 0 stays 0.
uint16_t Sixteen(int32_t v) { return v == 0 ? 0 : static_cast<uint16_t>((v + 1) * 16 - 1); }

TEST(RGBGammaPacking, AtMostTenPointsAndCrosswiseLevelsInSixteenBits) {
    for (auto [count, packed] : {std::pair{1, 1}, std::pair{10, 10}, std::pair{11, 10}, std::pair{64, 10}}) {
        tagLumoGammaPoint points = TwelveBitPoints(count);
        LumoGammaInfoForCalculate out = Dirty();
        ASSERT_TRUE(__setupRGBGammaInfoForCalculate(static_cast<LumoToneCurveLineType>(3), &points, &out)) << count;
        EXPECT_EQ(points.pointCount, packed) << count;  // written back when cut
        // Every byte but the line type, the flag and the block is zero.
        LumoGammaInfoForCalculate expected{};
        expected.lineType = 3;
        expected.isRGBCurve = 1;
        expected.curve = {10, 9, uint16_t(packed), {}, {}, {Sixteen(2), Sixteen(1), Sixteen(4), Sixteen(3)}, {}};
        for (int i = 0; i < packed; ++i) {
            expected.curve.x[i] = Sixteen(10 * i + 5);
            expected.curve.y[i] = Sixteen(4095 - 10 * i);
        }
        EXPECT_EQ(std::memcmp(&out, &expected, sizeof(out)), 0) << count;
    }
}

TEST(RGBGammaPacking, NullPointersEmptyOrNegativeCountsAndZeroDepthAreRefused) {
    LumoGammaInfoForCalculate out = Dirty();
    tagLumoGammaPoint points = TwelveBitPoints(4);
    EXPECT_FALSE(__setupRGBGammaInfoForCalculate({}, nullptr, &out));
    EXPECT_FALSE(__setupRGBGammaInfoForCalculate({}, &points, nullptr));
    for (int32_t count : {0, -1, -100}) {
        tagLumoGammaPoint p = TwelveBitPoints(count);
        EXPECT_FALSE(__setupRGBGammaInfoForCalculate({}, &p, &out)) << count;
        EXPECT_EQ(p.pointCount, count);
    }
    points.bitDepth = 0;
    EXPECT_FALSE(__setupRGBGammaInfoForCalculate({}, &points, &out));
    EXPECT_TRUE(IsDirty(out));
}

// ---- Lens gain table -----------------------------------------------------------------

TEST(VremGainTable, GainsBelowUnityExpandToUnity) {
    std::vector<double> gains10(10, 0.75), gains33(33, -1.0);
    gains10[3] = -2.0;
    const tagLumoParseImageInfo image{{}, 4000, 3000, {}};
    EXPECT_EQ(__calcVremGainTable_10to33(gains10.data(), 1.0, image, 1800, 1400, 4000, gains33.data()), 0);
    EXPECT_EQ(gains33, std::vector<double>(33, 1024.0));
}

TEST(VremGainTable, EntriesAreEvenlySpacedInSquaredRadiusFromTheFarEdges) {
    // Centre at a corner of a 3000 x 4000 image: the far edges are 3000 and
    // 4000 away, r = 5000 pixels; a pitch of 1000 makes R = 5, so with a
    // radius scale of 5 entry i sits at table position 9 sqrt(i / 32).
    const tagLumoParseImageInfo image{{}, 3000, 4000, {}}, empty{};
    std::vector<double> gains10(10), a(33), b(33, -1.0), c(33);
    for (int j = 0; j < 10; ++j) gains10[j] = 2.0 + j;
    __calcVremGainTable_10to33(gains10.data(), 5.0, image, 0.0, 0.0, 1000, a.data());
    // Positions 0, 2.25, 4.5 (halfway between entries 4 and 5), 6.75 and 9, the last entry.
    for (auto [i, gain] : {std::pair{0, 2.0}, std::pair{2, 4.25}, std::pair{8, 6.5}, std::pair{18, 8.75},
                           std::pair{32, 11.0}})
        EXPECT_DOUBLE_EQ(a[i], gain * 1024.0) << i;
    // Centres mirrored about the image centre see the same far edges; null tables do nothing.
    __calcVremGainTable_10to33(gains10.data(), 5.0, image, 3000.0, 4000.0, 1000, b.data());
    EXPECT_EQ(__calcVremGainTable_10to33(nullptr, 1.0, image, 0, 0, 1000, b.data()), 0);
    EXPECT_EQ(__calcVremGainTable_10to33(b.data(), 1.0, image, 0, 0, 1000, nullptr), 0);
    EXPECT_EQ(a, b);
    // A smaller radius scale pushes positions past the table: they read entry 9.
    __calcVremGainTable_10to33(gains10.data(), 2.5, image, 0.0, 0.0, 1000, c.data());
    EXPECT_EQ(std::pair(c[8], c[32]), std::pair(11.0 * 1024.0, 11.0 * 1024.0));  // c[8] at position 9
    // Zero radius over zero scale reads entry 0.
    __calcVremGainTable_10to33(gains10.data(), 0.0, empty, 0.0, 0.0, 1000, c.data());
    EXPECT_EQ(c, std::vector<double>(33, 2048.0));
}

// ---- Knee gain and tone values -------------------------------------------------------

TEST(KneeGain, CamerasWithoutModelRowsDecideByIDAndMode) {
    const struct { int32_t mode; uint16_t cameraID; bool expected; } cases[] = {
        {0, 100, true}, {1, 100, true}, {1, 65535, true}, {0, 99, true}, {1, 99, false},
        {0, 53, true},  {2, 53, true},  {0, 52, false},   {0, 0, false}};
    for (const auto& c : cases) EXPECT_EQ(cKneeGain(c.mode, c.cameraID), c.expected) << c.mode << " " << c.cameraID;
}

TEST(TValue, ReciprocalOfTheBlendedTone) {
    const struct { double t; int32_t level; uint32_t kind; int32_t flag; uint32_t expected; } cases[] = {
        {1.0, 50, 1, 0, 1024}, {1.0, 150, 0, 1, 1024}, {1.0, 100, 7, 0, 1024},  // t = 1: always 1024
        {0.5, 50, 1, 0, 2133},  {0.5, 150, 1, 1, 2090},   // 1024 / (0.5 - 0.02), 1024 / (0.5 - 0.01)
        {0.5, 100, 0, 1, 2038}, {0.5, 101, 0, 1, 1988},   // 1024 / (0.5 + 0.0025), 1024 / (0.5 + 0.015)
        {0.5, 101, 2, 0, 1969}, {0.5, 100, 2, 0, 2038},   // 1024 / (0.5 + 0.02), 1024 / (0.5 + 0.0025)
        {0.25, 101, 1, 0, 4357}};                         // 1024 / (0.25 - 0.015)
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "row " << &c - cases);
        int32_t value = 1001;
        EXPECT_EQ(calcTValue(&value, c.t, c.level, c.kind, c.flag), c.expected);
        EXPECT_EQ(value, static_cast<int32_t>(1001 * c.t));
        EXPECT_EQ(calcTValue(nullptr, c.t, c.level, c.kind, c.flag), c.expected);
    }
}

}  // namespace
