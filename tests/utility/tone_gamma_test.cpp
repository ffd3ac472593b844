#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "lumomath/LumoUtility.h"

namespace {

// ---- Raw gamma levels ----------------------------------------------------------

TEST(RawGammaInfo, DefaultsAndTheirTwelveBitLevels) {
    tagLumoRawGammaInfo info{};
    __initRawGammaInfo(&info);
    EXPECT_EQ(info.bitDepth, 14.0);
    EXPECT_EQ(info.levelA, 0.0);
    EXPECT_EQ(info.levelB, 16383.0);
    EXPECT_EQ(info.levelC, 1200.0);
    EXPECT_EQ(info.levelD, 0.0);
    EXPECT_EQ(info.levelE, 16383.0);
    __initRawGammaInfo(nullptr);

    int32_t a = -1, second = -1, third = -1, d = -1, e = -1;
    __get12bitValueWithRawGammaInfo(info, &a, &second, &third, &d, &e);
    EXPECT_EQ(a, 0);
    EXPECT_EQ(second, 300);   // level C
    EXPECT_EQ(third, 4095);   // level B
    EXPECT_EQ(d, 0);
    EXPECT_EQ(e, 4095);
    EXPECT_FALSE(__isNeedKokidokakutyou(info));
}

TEST(RawGammaInfo, TwelveBitLevelsNeedTheFirstThreePointers) {
    tagLumoRawGammaInfo info{12.0, 10.0, 20.0, 30.0, 40.0, 50.0};
    int32_t a = -1, second = -1, third = -1;
    __get12bitValueWithRawGammaInfo(info, &a, &second, &third, nullptr, nullptr);
    EXPECT_EQ(a, 10);
    EXPECT_EQ(second, 30);
    EXPECT_EQ(third, 20);

    int32_t d = -1, e = -1;
    for (int missing = 0; missing < 3; ++missing) {
        int32_t outs[3] = {-1, -1, -1};
        int32_t* p[3] = {&outs[0], &outs[1], &outs[2]};
        p[missing] = nullptr;
        __get12bitValueWithRawGammaInfo(info, p[0], p[1], p[2], &d, &e);
        for (int32_t v : outs) EXPECT_EQ(v, -1) << missing;
        EXPECT_EQ(d, -1);
        EXPECT_EQ(e, -1);
    }
}

struct KneeLevelCase {
    double bitDepth, levelB;
    bool expected;
};

class NeedKokidokakutyou : public ::testing::TestWithParam<KneeLevelCase> {};

TEST_P(NeedKokidokakutyou, LevelBReachingTheTwelveBitEnd) {
    tagLumoRawGammaInfo info{};
    __initRawGammaInfo(&info);
    info.bitDepth = GetParam().bitDepth;
    info.levelB = GetParam().levelB;
    EXPECT_EQ(__isNeedKokidokakutyou(info), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Levels, NeedKokidokakutyou,
                         ::testing::Values(KneeLevelCase{14, 16383, false}, KneeLevelCase{14, 16384, true},
                                           KneeLevelCase{12, 4095, false}, KneeLevelCase{12, 4096, true},
                                           KneeLevelCase{16, 65535, false}, KneeLevelCase{10, 1024, true}));

// ---- Bit-depth conversions -------------------------------------------------------

struct DepthCase {
    uint32_t (*convert)(uint32_t, int32_t);
    uint32_t bits;
    int32_t value;
    uint32_t expected;
};

class BitDepth : public ::testing::TestWithParam<DepthCase> {};

TEST_P(BitDepth, MapsRangeTopToRangeTopAndClamps) {
    const DepthCase& c = GetParam();
    EXPECT_EQ(c.convert(c.bits, c.value), c.expected) << c.bits << " " << c.value;
}

INSTANTIATE_TEST_SUITE_P(
    Values, BitDepth,
    ::testing::Values(DepthCase{__get12bitValue, 14, 16383, 4095}, DepthCase{__get12bitValue, 10, 1023, 4095},
                      DepthCase{__get16bitValue, 12, 0, 0}, DepthCase{__get14bitValue, 12, 1, 7},
                      DepthCase{__get12bitValue, 12, 1234, 1234}, DepthCase{__get16bitValue, 8, 255, 65535},
                      DepthCase{__get16bitValue, 8, 128, 33023}, DepthCase{__get12bitValue, 16, 65535, 4095},
                      DepthCase{__get12bitValue, 16, 15, 0}, DepthCase{__get14bitValue, 16, 65535, 16383},
                      // Out-of-range values clamp to the target range.
                      DepthCase{__get12bitValue, 12, 5000, 4095}, DepthCase{__get12bitValue, 12, -5, 0},
                      DepthCase{__get16bitValue, 16, -1, 0}, DepthCase{__get12bitValue, 0, 1, 4095},
                      DepthCase{__get16bitValue, 8, INT32_MAX, 65535}, DepthCase{__get12bitValue, 8, INT32_MIN, 0},
                      // Narrowing shifts of 32 or more leave only the sign.
                      DepthCase{__get12bitValue, 40, 1 << 30, 4}, DepthCase{__get12bitValue, 44, 4000, 0},
                      DepthCase{__get12bitValue, 100, INT32_MAX, 0},
                      DepthCase{__get16bitValue, 0xFFFFFFFFu, INT32_MAX, 0}));

// ---- PQ transfer functions ---------------------------------------------------------

constexpr double kC1 = 0.8359375;
constexpr double kM2 = 78.84375;

TEST(PQ, EndPoints) {
    EXPECT_EQ(__calcPQ_EOTF(65535), 10000.0);
    EXPECT_EQ(__calcPQ_EOTF(70000), 10000.0);
    EXPECT_EQ(__calcPQ_EOTF(0), 0.0);
    EXPECT_EQ(__calcPQ_EOTF(-100), 0.0);
    EXPECT_EQ(__calcPQ_OETF(80000), 1.0);
    EXPECT_EQ(__calcPQ_OETF(123456), 1.0);
    EXPECT_EQ(__calcPQ_OETF(0), std::pow(kC1, kM2));
    EXPECT_EQ(__calcPQ_OETF(-7), std::pow(kC1, kM2));
}

TEST(PQ, HundredNitsSitNearHalfSignal) {
    // 100 cd/m2 is about 0.5081 of the PQ signal range.
    EXPECT_NEAR(__calcPQ_OETF(800), 0.5081, 5e-4);
    EXPECT_NEAR(__calcPQ_EOTF(33298), 100.0, 0.1);
}

TEST(PQ, EotfAfterOetfIsCloseToIdentityOverTheRange) {
    double previous = -1.0;
    for (int32_t value = 8; value <= 80000; value += 7) {
        const double signal = __calcPQ_OETF(value);
        EXPECT_GT(signal, previous) << value;
        previous = signal;
        const auto code = static_cast<int32_t>(std::lround(signal * 65535.0));
        const double luminance = value / 8.0;
        // 16-bit code values resolve PQ luminance to well under 0.1 %.
        ASSERT_NEAR(__calcPQ_EOTF(code), luminance, luminance * 1e-3) << value;
    }
}

// ---- Gamma packing -----------------------------------------------------------------

template <class T>
T Read(const LumoGammaInfoForCalculate& record, size_t offset) {
    T v;
    std::memcpy(&v, reinterpret_cast<const unsigned char*>(&record) + offset, sizeof(T));
    return v;
}

uint16_t Element(const LumoGammaInfoForCalculate& record, int index) {
    return Read<uint16_t>(record, 64 + 2 * static_cast<size_t>(index));
}

LumoGammaInfoForCalculate Dirty() {
    LumoGammaInfoForCalculate record;
    std::memset(&record, 0xAB, sizeof(record));
    return record;
}

bool IsDirty(const LumoGammaInfoForCalculate& record) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&record);
    for (size_t i = 0; i < sizeof(record); ++i)
        if (bytes[i] != 0xAB) return false;
    return true;
}

gnzLumoGamma SampleCurve() {
    gnzLumoGamma curve{};
    curve.head10 = 10;
    curve.head9 = 9;
    curve.pointCount = 3;
    for (int i = 0; i < 64; ++i) {
        curve.x[i] = static_cast<uint16_t>(100 * i + 1);
        curve.y[i] = static_cast<uint16_t>(50 * i + 2);
    }
    curve.levels[0] = 111;
    curve.levels[1] = 222;
    curve.levels[2] = 4000;
    curve.levels[3] = 444;
    curve.zero[0] = 7;  // copied as given
    return curve;
}

TEST(RawGammaPacking, FieldsLandAtTheirOffsets) {
    // Levels chosen so that every quotient by M = 16383 is exact.
    const tagLumoRawGammaInfo info{14.0, 4095.75, 16383.0, 2047.875, 8191.5, 12287.25};
    const gnzLumoGamma curve = SampleCurve();
    LumoGammaInfoForCalculate out = Dirty();
    __setupRawGammaInfoForCalculate(&info, &curve, 0.25, -3.5, 77, static_cast<LumoHDRProcessMode>(2),
                                    static_cast<LumoOstraLogType>(5), &out);
    EXPECT_EQ(Read<uint64_t>(out, 0), 0u);
    EXPECT_EQ(Read<double>(out, 8), 0.25);   // A / M
    EXPECT_EQ(Read<double>(out, 16), 1.0);   // B / M
    EXPECT_EQ(Read<double>(out, 24), 0.5);   // D / M
    EXPECT_EQ(Read<double>(out, 32), 0.75);  // E / M
    EXPECT_EQ(Read<double>(out, 40), 0.25);
    EXPECT_EQ(Read<double>(out, 48), -3.5);
    EXPECT_EQ(Read<double>(out, 56), 0.125);  // C / M
    EXPECT_EQ(Read<uint16_t>(out, 338), 0u);
    EXPECT_EQ(Read<int32_t>(out, 340), 77);
    EXPECT_EQ(Read<int32_t>(out, 344), 2);
    EXPECT_EQ(Read<int32_t>(out, 348), 5);

    // The block is copied except its third and fourth levels, which become
    // the third level scaled by E / M and D / M.
    gnzLumoGamma expected = curve;
    expected.levels[2] = 3000;  // 4000 x 0.75
    expected.levels[3] = 2000;  // 4000 x 0.5
    EXPECT_EQ(std::memcmp(&out.curve, &expected, sizeof(expected)), 0);
    EXPECT_EQ(Element(out, 133), 3000);
    EXPECT_EQ(Element(out, 134), 2000);
}

TEST(RawGammaPacking, BitDepthIsTakenModulo32) {
    const gnzLumoGamma curve = SampleCurve();
    LumoGammaInfoForCalculate fourteen{}, fortySix{}, thirtyTwo{};
    const tagLumoRawGammaInfo info14{14.0, 1.0, 2.0, 3.0, 4.0, 5.0};
    tagLumoRawGammaInfo info46 = info14;
    info46.bitDepth = 46.0;
    tagLumoRawGammaInfo info32 = info14;
    info32.bitDepth = 32.0;
    __setupRawGammaInfoForCalculate(&info14, &curve, 0, 0, 0, kLumoHDRProcessNone, {}, &fourteen);
    __setupRawGammaInfoForCalculate(&info46, &curve, 0, 0, 0, kLumoHDRProcessNone, {}, &fortySix);
    __setupRawGammaInfoForCalculate(&info32, &curve, 0, 0, 0, kLumoHDRProcessNone, {}, &thirtyTwo);
    EXPECT_EQ(std::memcmp(&fourteen, &fortySix, sizeof(fourteen)), 0);
    EXPECT_EQ(fourteen.levelB, 2.0 / 16383.0);
    // 32 bits shifts by 0: M is 0 and the levels divide by zero.
    EXPECT_TRUE(std::isinf(thirtyTwo.levelB));
}

TEST(RawGammaPacking, NullPointersWriteNothing) {
    const tagLumoRawGammaInfo info{14.0, 1.0, 2.0, 3.0, 4.0, 5.0};
    const gnzLumoGamma curve = SampleCurve();
    LumoGammaInfoForCalculate out = Dirty();
    __setupRawGammaInfoForCalculate(nullptr, &curve, 0, 0, 0, kLumoHDRProcessNone, {}, &out);
    __setupRawGammaInfoForCalculate(&info, nullptr, 0, 0, 0, kLumoHDRProcessNone, {}, &out);
    __setupRawGammaInfoForCalculate(&info, &curve, 0, 0, 0, kLumoHDRProcessNone, {}, nullptr);
    EXPECT_TRUE(IsDirty(out));
}

tagLumoGammaPoint TwelveBitPoints(int32_t count) {
    tagLumoGammaPoint points{};
    points.bitDepth = 12;
    points.level1 = 1;
    points.level2 = 2;
    points.level3 = 3;
    points.level4 = 4;
    points.pointCount = count;
    for (int32_t i = 0; i < kLumoGammaPointCapacity; ++i) points.points[i] = tagLumoPoint{10 * i + 5, 4095 - 10 * i};
    return points;
}

// 12 to 16 bits: (v + 1) x 16 - 1, 0 stays 0.
uint16_t Sixteen(int32_t v) { return v == 0 ? 0 : static_cast<uint16_t>((v + 1) * 16 - 1); }

struct CountCase {
    int32_t count, packed;
};

class RGBGammaPacking : public ::testing::TestWithParam<CountCase> {};

TEST_P(RGBGammaPacking, PointsAndCrosswiseLevelsInSixteenBits) {
    tagLumoGammaPoint points = TwelveBitPoints(GetParam().count);
    LumoGammaInfoForCalculate out = Dirty();
    ASSERT_TRUE(__setupRGBGammaInfoForCalculate(static_cast<LumoToneCurveLineType>(3), &points, &out));
    const int32_t packed = GetParam().packed;
    EXPECT_EQ(points.pointCount, packed);  // written back when cut
    EXPECT_EQ(Read<int32_t>(out, 0), 3);
    EXPECT_EQ(Read<uint16_t>(out, 4), 1u);
    EXPECT_EQ(Read<uint16_t>(out, 6), 0u);
    for (size_t offset = 8; offset < 64; offset += 8) EXPECT_EQ(Read<uint64_t>(out, offset), 0u) << offset;
    EXPECT_EQ(Element(out, 0), 10);
    EXPECT_EQ(Element(out, 1), 9);
    EXPECT_EQ(Element(out, 2), packed);
    for (int i = 0; i < 64; ++i) {
        const bool used = i < packed;
        EXPECT_EQ(Element(out, 3 + i), used ? Sixteen(10 * i + 5) : 0) << i;
        EXPECT_EQ(Element(out, 67 + i), used ? Sixteen(4095 - 10 * i) : 0) << i;
    }
    EXPECT_EQ(Element(out, 131), Sixteen(2));
    EXPECT_EQ(Element(out, 132), Sixteen(1));
    EXPECT_EQ(Element(out, 133), Sixteen(4));
    EXPECT_EQ(Element(out, 134), Sixteen(3));
    EXPECT_EQ(Element(out, 135), 0);
    EXPECT_EQ(Element(out, 136), 0);
    EXPECT_EQ(Read<uint16_t>(out, 338), 0u);
    for (size_t offset : {340u, 344u, 348u}) EXPECT_EQ(Read<int32_t>(out, offset), 0) << offset;
}

INSTANTIATE_TEST_SUITE_P(Counts, RGBGammaPacking,
                         ::testing::Values(CountCase{1, 1}, CountCase{5, 5}, CountCase{10, 10}, CountCase{11, 10},
                                           CountCase{12, 10}, CountCase{64, 10}));

TEST(RGBGammaPackingRejects, NullPointersEmptyCurvesAndZeroDepth) {
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

tagLumoParseImageInfo ImageInfo(uint32_t width, uint32_t height) {
    tagLumoParseImageInfo info{};
    info.width = width;
    info.height = height;
    return info;
}

TEST(VremGainTable, GainsBelowUnityExpandToUnity) {
    std::vector<double> gains10(10, 0.75);
    gains10[3] = -2.0;
    std::vector<double> gains33(33, -1.0);
    EXPECT_EQ(__calcVremGainTable_10to33(gains10.data(), 1.0, ImageInfo(4000, 3000), 1800.0, 1400.0, 4000,
                                         gains33.data()),
              0);
    for (double g : gains33) EXPECT_EQ(g, 1024.0);
}

struct GainCase {
    int index;
    double expected;
};

class VremGainTable : public ::testing::TestWithParam<GainCase> {};

TEST_P(VremGainTable, EntriesAreEvenlySpacedInSquaredRadius) {
    // Centre at a corner of a 3000 x 4000 image: the far edges are 3000 and
    // 4000 away, r = 5000 pixels; a pitch of 1000 makes R = 5, so with a
    // radius scale of 5 entry i sits at table position 9 sqrt(i / 32).
    std::vector<double> gains10(10);
    for (int j = 0; j < 10; ++j) gains10[j] = 2.0 + j;
    std::vector<double> gains33(33, -1.0);
    __calcVremGainTable_10to33(gains10.data(), 5.0, ImageInfo(3000, 4000), 0.0, 0.0, 1000, gains33.data());
    EXPECT_DOUBLE_EQ(gains33[GetParam().index], GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Entries, VremGainTable,
                         ::testing::Values(GainCase{0, 2048.0},             // position 0
                                           GainCase{2, 4.25 * 1024.0},      // 2.25
                                           GainCase{8, 6.5 * 1024.0},       // 4.5: halfway between 4 and 5
                                           GainCase{18, 8.75 * 1024.0},     // 6.75
                                           GainCase{32, 11.0 * 1024.0}));   // 9, the last entry

TEST(VremGainTableEdges, FarEdgeIsChosenPerAxisAndPositionsClampAtTheLastEntry) {
    std::vector<double> gains10(10);
    for (int j = 0; j < 10; ++j) gains10[j] = 2.0 + j;
    std::vector<double> a(33), b(33), c(33);
    // Centres mirrored about the image centre see the same far edges.
    __calcVremGainTable_10to33(gains10.data(), 5.0, ImageInfo(3000, 4000), 0.0, 0.0, 1000, a.data());
    __calcVremGainTable_10to33(gains10.data(), 5.0, ImageInfo(3000, 4000), 3000.0, 4000.0, 1000, b.data());
    EXPECT_EQ(a, b);
    // A smaller radius scale pushes positions past the table: they read entry 9.
    __calcVremGainTable_10to33(gains10.data(), 2.5, ImageInfo(3000, 4000), 0.0, 0.0, 1000, c.data());
    EXPECT_EQ(c[32], 11.0 * 1024.0);
    EXPECT_EQ(c[8], 11.0 * 1024.0);  // position 9
    // Zero radius over zero scale reads entry 0.
    __calcVremGainTable_10to33(gains10.data(), 0.0, ImageInfo(0, 0), 0.0, 0.0, 1000, c.data());
    for (double g : c) EXPECT_EQ(g, 2048.0);
}

TEST(VremGainTableEdges, NullTablesDoNothing) {
    std::vector<double> gains(33, -1.0);
    EXPECT_EQ(__calcVremGainTable_10to33(nullptr, 1.0, ImageInfo(10, 10), 0, 0, 1000, gains.data()), 0);
    EXPECT_EQ(__calcVremGainTable_10to33(gains.data(), 1.0, ImageInfo(10, 10), 0, 0, 1000, nullptr), 0);
    for (double g : gains) EXPECT_EQ(g, -1.0);
}

// ---- Knee gain and tone values -------------------------------------------------------

struct KneeCase {
    int32_t mode;
    uint16_t cameraID;
    bool expected;
};

class KneeGain : public ::testing::TestWithParam<KneeCase> {};

TEST_P(KneeGain, CamerasWithoutModelRowsDecideByIDAndMode) {
    EXPECT_EQ(cKneeGain(GetParam().mode, GetParam().cameraID), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cameras, KneeGain,
                         ::testing::Values(KneeCase{0, 100, true}, KneeCase{1, 100, true}, KneeCase{1, 65535, true},
                                           KneeCase{0, 99, true}, KneeCase{1, 99, false}, KneeCase{0, 53, true},
                                           KneeCase{2, 53, true}, KneeCase{0, 52, false}, KneeCase{0, 0, false}));

struct ToneCase {
    double t;
    int32_t level;
    uint32_t kind;
    int32_t flag;
    uint32_t expected;
};

class TValue : public ::testing::TestWithParam<ToneCase> {};

TEST_P(TValue, ReciprocalOfTheBlendedTone) {
    const ToneCase& c = GetParam();
    int32_t value = 1000;
    EXPECT_EQ(calcTValue(&value, c.t, c.level, c.kind, c.flag), c.expected);
    EXPECT_EQ(value, static_cast<int32_t>(1000 * c.t));
    EXPECT_EQ(calcTValue(nullptr, c.t, c.level, c.kind, c.flag), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Tones, TValue,
    ::testing::Values(ToneCase{1.0, 50, 1, 0, 1024}, ToneCase{1.0, 150, 0, 1, 1024}, ToneCase{1.0, 100, 7, 0, 1024},
                      ToneCase{0.5, 50, 1, 0, 2133},    // 1024 / (0.5 - 0.02)
                      ToneCase{0.5, 150, 1, 1, 2090},   // 1024 / (0.5 - 0.01)
                      ToneCase{0.5, 100, 0, 1, 2038},   // 1024 / (0.5 + 0.0025)
                      ToneCase{0.5, 101, 0, 1, 1988},   // 1024 / (0.5 + 0.015)
                      ToneCase{0.5, 101, 2, 0, 1969},   // 1024 / (0.5 + 0.02)
                      ToneCase{0.5, 100, 2, 0, 2038}, ToneCase{0.25, 101, 1, 0, 4357}));  // 1024 / (0.25 - 0.015)

}  // namespace
