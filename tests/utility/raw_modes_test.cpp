#include <gtest/gtest.h>

#include <cstdint>

#include "lumomath/LumoUtility.h"

namespace {

LumoRawImageResizeMode Mode(int32_t v) { return static_cast<LumoRawImageResizeMode>(v); }

struct RatioCase {
    int32_t mode;
    uint32_t ratio;
    double fraction;
};

class ResizeRatio : public ::testing::TestWithParam<RatioCase> {};

TEST_P(ResizeRatio, RatioOutOf256AndItsFraction) {
    EXPECT_EQ(__getRawImageResizeRatio(Mode(GetParam().mode)), GetParam().ratio);
    EXPECT_EQ(__getRawImageResizePercent(Mode(GetParam().mode)), GetParam().fraction);
}

INSTANTIATE_TEST_SUITE_P(Modes, ResizeRatio,
                         ::testing::Values(RatioCase{2, 208, 0.8125}, RatioCase{3, 128, 0.5}, RatioCase{1, 256, 1.0},
                                           RatioCase{0, 256, 1.0}, RatioCase{7, 256, 1.0}, RatioCase{-1, 256, 1.0}));

struct ValueCase {
    int32_t mode;
    uint32_t value, resized, full;
};

class ResizeValue : public ::testing::TestWithParam<ValueCase> {};

TEST_P(ResizeValue, ScalesDownTruncatingAndUpToAnEvenCeiling) {
    const ValueCase& c = GetParam();
    EXPECT_EQ(__convValueFull2Resize(Mode(c.mode), c.value), c.resized);
    EXPECT_EQ(__convValueResize2Full(Mode(c.mode), c.value), c.full);
}

INSTANTIATE_TEST_SUITE_P(
    Values, ResizeValue,
    ::testing::Values(ValueCase{2, 13, 10, 16},   // ceil(3328 / 208) = 16, already even
                      ValueCase{3, 5, 2, 10}, ValueCase{2, 100, 81, 124},  // ceil(25600 / 208) = 124
                      ValueCase{2, 12, 9, 16},                             // ceil(14.77) = 15, made even
                      ValueCase{1, 7, 7, 8}, ValueCase{7, 8, 8, 8}, ValueCase{0, 0, 0, 0},
                      // Unsigned 32-bit arithmetic wraps: 208 x 2^25 and 2^24 << 8 overflow.
                      ValueCase{2, 0x02000000u, 0x00A00000u, 0x00000000u},
                      ValueCase{1, 0x01000000u, 0u, 0u}));

class ResizeRoundTrip : public ::testing::TestWithParam<int32_t> {};

TEST_P(ResizeRoundTrip, FullSizeValueCoversTheReducedValue) {
    // Back to reduced size the value comes out again, or one more where the
    // even rounding added a full-size pixel; never less.
    const LumoRawImageResizeMode mode = Mode(GetParam());
    const bool exact = __getRawImageResizeRatio(mode) == 128;
    for (uint32_t v = 0; v < 5000; ++v) {
        const uint32_t full = __convValueResize2Full(mode, v);
        ASSERT_EQ(full % 2, 0u) << v;
        const uint32_t back = __convValueFull2Resize(mode, full);
        ASSERT_GE(back, v) << v;
        ASSERT_LE(back, v + 1) << v;
        if (exact || (__getRawImageResizeRatio(mode) == 256 && v % 2 == 0)) {
            ASSERT_EQ(back, v) << v;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, ResizeRoundTrip, ::testing::Values(1, 2, 3));

TEST(ResizeSizeAndRect, EveryFieldScalesAsAnUnsignedValue) {
    const tagLumoSize size = __getRawImageResizeSize(tagLumoSize{4000, 3000}, Mode(2));
    EXPECT_EQ(size.width, 3250u);
    EXPECT_EQ(size.height, 2437u);
    const tagLumoSize same = __getRawImageResizeSize(tagLumoSize{4001, 3}, Mode(9));
    EXPECT_EQ(same.width, 4001u);
    EXPECT_EQ(same.height, 3u);

    const tagLumoRect rect = __getRawImageResizeRect(tagLumoRect{100, 51, 4000, 3001}, Mode(3));
    EXPECT_EQ(rect.x, 50);
    EXPECT_EQ(rect.y, 25);
    EXPECT_EQ(rect.width, 2000u);
    EXPECT_EQ(rect.height, 1500u);
    // A negative origin is scaled as its unsigned bit pattern.
    const tagLumoRect negative = __getRawImageResizeRect(tagLumoRect{-256, 0, 0, 0}, Mode(3));
    EXPECT_EQ(negative.x, 16777088);
}

struct RatioValueCase {
    int32_t ratio;
    double value;
};

class ProcessRatio : public ::testing::TestWithParam<RatioValueCase> {};

TEST_P(ProcessRatio, PowerOfTwoReduction) {
    EXPECT_EQ(__getDoubleValueFromProcessRatio(static_cast<LumoProcessRatio>(GetParam().ratio)), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Ratios, ProcessRatio,
                         ::testing::Values(RatioValueCase{2, 0.5}, RatioValueCase{3, 0.25}, RatioValueCase{4, 0.125},
                                           RatioValueCase{1, 1.0}, RatioValueCase{0, 1.0}, RatioValueCase{5, 1.0},
                                           RatioValueCase{-2, 1.0}));

// ---- Predicates ------------------------------------------------------------------

struct SequenceCase {
    int32_t sequence;
    bool fast, half, normal, print;
};

class FastSequence : public ::testing::TestWithParam<SequenceCase> {};

TEST_P(FastSequence, PredicatesAgreeWithTheSequenceTable) {
    const SequenceCase& c = GetParam();
    const auto s = static_cast<LumoProcessSequenceType>(c.sequence);
    EXPECT_EQ(__isFastProcess(s), c.fast);
    EXPECT_EQ(__isFastHalfProcess(s), c.half);
    EXPECT_EQ(__isFastNormalProcess(s), c.normal);
    EXPECT_EQ(__isFastPrintProcess(s), c.print);
    for (int32_t level : {0, 1, 2, -1}) {
        const auto l = static_cast<LumoImageProcessLevel>(level);
        EXPECT_EQ(__isFast1stProcess(s, l), c.fast && level == 1) << level;
        EXPECT_EQ(__isFastAfterProcess(s, l), c.fast && level != 1) << level;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sequences, FastSequence,
    ::testing::Values(SequenceCase{3, true, false, true, false}, SequenceCase{10, true, false, false, true},
                      SequenceCase{11, true, true, false, true}, SequenceCase{12, true, true, true, false},
                      SequenceCase{0, false, false, false, false}, SequenceCase{4, false, false, false, false},
                      SequenceCase{9, false, false, false, false}, SequenceCase{13, false, false, false, false},
                      SequenceCase{-3, false, false, false, false}));

TEST(ImageType, RawFilesAreTwoFourAndSixToEight) {
    for (int32_t type = -2; type <= 12; ++type) {
        const bool raw = type == 2 || type == 4 || type == 6 || type == 7 || type == 8;
        EXPECT_EQ(__isIsRawFile(static_cast<LumoImageType>(type)), raw) << type;
    }
}

TEST(HDRProcess, EveryModeButZero) {
    EXPECT_FALSE(__isNeedHDRProcess(kLumoHDRProcessNone));
    for (int32_t mode : {1, 2, 7, -1, INT32_MIN}) EXPECT_TRUE(__isNeedHDRProcess(static_cast<LumoHDRProcessMode>(mode)));
}

struct ShiftCase {
    uint32_t pattern;
    int32_t x, y;
};

class GrShift : public ::testing::TestWithParam<ShiftCase> {};

TEST_P(GrShift, OffsetPerBayerPattern) {
    const tagLumoPoint p = __calcGrShiftOffset(GetParam().pattern);
    EXPECT_EQ(p.x, GetParam().x);
    EXPECT_EQ(p.y, GetParam().y);
}

INSTANTIATE_TEST_SUITE_P(Patterns, GrShift,
                         ::testing::Values(ShiftCase{1, 1, 0}, ShiftCase{2, 0, 0}, ShiftCase{3, 1, 1}, ShiftCase{4, 0, 1},
                                           ShiftCase{0, 0, 0}, ShiftCase{5, 0, 0}, ShiftCase{0xFFFFFFFFu, 0, 0}));

class ProjectionMapping : public ::testing::TestWithParam<int32_t> {};

TEST_P(ProjectionMapping, OneToFiveMapBothWaysEverythingElseToMinusOne) {
    const int32_t v = GetParam();
    const int32_t expected = v >= 1 && v <= 5 ? v : -1;
    EXPECT_EQ(__convertProjTypeToDistEffect(static_cast<LumoProjectionType>(v)), expected);
    EXPECT_EQ(__convertDistEffectToProjType(static_cast<LumoDistortionEffect>(v)), expected);
}

INSTANTIATE_TEST_SUITE_P(Values, ProjectionMapping, ::testing::Values(-7, -1, 0, 1, 2, 3, 4, 5, 6, 100));

struct CaptureCase {
    uint32_t lens;
    int32_t effect;
    bool expected;
};

class AtCaptureEffect : public ::testing::TestWithParam<CaptureCase> {};

TEST_P(AtCaptureEffect, ZeroOrTheLensProjection) {
    EXPECT_EQ(__isAtCaptureDistortionEffect(GetParam().lens, static_cast<LumoDistortionEffect>(GetParam().effect)),
              GetParam().expected);
}

// No lens of the shipped table is a fisheye: every lens projects as -1, which
// effects of 6 and more (and -1 itself) match.
INSTANTIATE_TEST_SUITE_P(
    Lenses, AtCaptureEffect,
    ::testing::Values(CaptureCase{0, 0, true}, CaptureCase{12345, 0, true}, CaptureCase{12345, 6, true},
                      CaptureCase{7, 100, true}, CaptureCase{7, -1, true}, CaptureCase{7, 1, false},
                      CaptureCase{7, 5, false}, CaptureCase{7, -2, false}));

}  // namespace
