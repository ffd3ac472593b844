#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "lumomath/LumoUtility.h"

namespace {

LumoRawImageResizeMode Mode(int32_t v) { return static_cast<LumoRawImageResizeMode>(v); }

TEST(ResizeMode, RatioOutOf256AndItsFraction) {
    const struct { int32_t mode; uint32_t ratio; double fraction; } cases[] = {
        {2, 208, 0.8125}, {3, 128, 0.5}, {1, 256, 1.0}, {7, 256, 1.0}, {-1, 256, 1.0}};
    for (const auto& c : cases) {
        EXPECT_EQ(__getRawImageResizeRatio(Mode(c.mode)), c.ratio) << c.mode;
        EXPECT_EQ(__getRawImageResizePercent(Mode(c.mode)), c.fraction) << c.mode;
    }
}

TEST(ResizeMode, ValuesScaleDownTruncatingAndUpToAnEvenCeilingIn32Bits) {
    const struct { int32_t mode; uint32_t value, resized, full; } cases[] = {
        {2, 13, 10, 16},  // ceil(3328 / 208) = 16, already even
        {2, 12, 9, 16},   // ceil(14.77) = 15, made even
        {2, 100, 81, 124}, {3, 5, 2, 10}, {1, 7, 7, 8}, {7, 8, 8, 8}, {0, 0, 0, 0},
        // Unsigned 32-bit arithmetic wraps: 208 x 2^25 and 2^24 << 8 overflow.
        {2, 0x02000000u, 0x00A00000u, 0x00000000u}, {1, 0x01000000u, 0u, 0u}};
    for (const auto& c : cases) {
        EXPECT_EQ(__convValueFull2Resize(Mode(c.mode), c.value), c.resized) << c.mode << " " << c.value;
        EXPECT_EQ(__convValueResize2Full(Mode(c.mode), c.value), c.full) << c.mode << " " << c.value;
    }
}

TEST(ResizeMode, FullSizeValueCoversTheReducedValue) {
    // Back to reduced size the value comes out again, or one more where the
    // even rounding added a full-size pixel; never less.
    for (int32_t m : {1, 2, 3}) {
        const uint32_t ratio = __getRawImageResizeRatio(Mode(m));
        for (uint32_t v = 0; v < 5000; ++v) {
            const uint32_t full = __convValueResize2Full(Mode(m), v), back = __convValueFull2Resize(Mode(m), full);
            const bool exact = ratio == 128 || (ratio == 256 && v % 2 == 0);
            ASSERT_TRUE(full % 2 == 0 && back >= v && back <= v + 1 && (!exact || back == v))
                << "mode " << m << " value " << v << " full " << full << " back " << back;
        }
    }
}

TEST(ResizeMode, SizeAndRectScaleEveryFieldAsAnUnsignedValue) {
    const tagLumoSize size = __getRawImageResizeSize(tagLumoSize{4000, 3000}, Mode(2));
    EXPECT_EQ(std::pair(size.width, size.height), std::pair(3250u, 2437u));
    const tagLumoSize same = __getRawImageResizeSize(tagLumoSize{4001, 3}, Mode(9));
    EXPECT_EQ(std::pair(same.width, same.height), std::pair(4001u, 3u));
    const tagLumoRect rect = __getRawImageResizeRect(tagLumoRect{100, 51, 4000, 3001}, Mode(3));
    EXPECT_EQ(std::pair(rect.x, rect.y), std::pair(50, 25));
    EXPECT_EQ(std::pair(rect.width, rect.height), std::pair(2000u, 1500u));
    // A negative origin is scaled as its unsigned bit pattern.
    EXPECT_EQ(__getRawImageResizeRect(tagLumoRect{-256, 0, 0, 0}, Mode(3)).x, 16777088);
}

TEST(ProcessRatio, PowerOfTwoReductionAndOneForAnyOtherValue) {
    for (auto [ratio, value] : {std::pair{2, 0.5}, std::pair{3, 0.25}, std::pair{4, 0.125}, std::pair{1, 1.0},
                                std::pair{0, 1.0}, std::pair{5, 1.0}, std::pair{-2, 1.0}})
        EXPECT_EQ(__getDoubleValueFromProcessRatio(static_cast<LumoProcessRatio>(ratio)), value) << ratio;
}

TEST(Predicates, FastSequencesAndTheirLevels) {
    const struct { int32_t sequence; bool fast, half, normal, print; } cases[] = {
        {3, true, false, true, false},   {10, true, false, false, true},  {11, true, true, false, true},
        {12, true, true, true, false},   {0, false, false, false, false}, {4, false, false, false, false},
        {9, false, false, false, false}, {13, false, false, false, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sequence);
        const auto s = static_cast<LumoProcessSequenceType>(c.sequence);
        EXPECT_EQ((std::vector{__isFastProcess(s), __isFastHalfProcess(s), __isFastNormalProcess(s),
                               __isFastPrintProcess(s)}),
                  (std::vector{c.fast, c.half, c.normal, c.print}));
        for (int32_t level : {0, 1, 2, -1}) {
            const auto l = static_cast<LumoImageProcessLevel>(level);
            EXPECT_EQ(std::pair(__isFast1stProcess(s, l), __isFastAfterProcess(s, l)),
                      std::pair(c.fast && level == 1, c.fast && level != 1)) << level;
        }
    }
}

TEST(Predicates, RawFileTypesAndHDRModes) {
    for (int32_t type = -2; type <= 12; ++type)
        EXPECT_EQ(__isIsRawFile(static_cast<LumoImageType>(type)), type == 2 || type == 4 || (type >= 6 && type <= 8))
            << type;
    EXPECT_FALSE(__isNeedHDRProcess(kLumoHDRProcessNone));
    for (int32_t mode : {1, 2, -1, INT32_MIN}) EXPECT_TRUE(__isNeedHDRProcess(static_cast<LumoHDRProcessMode>(mode)));
}

TEST(Predicates, GrShiftOffsetPerBayerPattern) {
    const struct { uint32_t pattern; int32_t x, y; } cases[] = {
        {1, 1, 0}, {2, 0, 0}, {3, 1, 1}, {4, 0, 1}, {0, 0, 0}, {5, 0, 0}, {0xFFFFFFFFu, 0, 0}};
    for (const auto& c : cases) {
        const tagLumoPoint p = __calcGrShiftOffset(c.pattern);
        EXPECT_EQ(std::pair(p.x, p.y), std::pair(c.x, c.y)) << c.pattern;
    }
}

TEST(Projection, OneToFiveMapBothWaysEverythingElseToMinusOne) {
    for (int32_t v : {-7, -1, 0, 1, 3, 5, 6, 100}) {
        const int32_t expected = v >= 1 && v <= 5 ? v : -1;
        EXPECT_EQ(__convertProjTypeToDistEffect(static_cast<LumoProjectionType>(v)), expected) << v;
        EXPECT_EQ(__convertDistEffectToProjType(static_cast<LumoDistortionEffect>(v)), expected) << v;
    }
}

TEST(Projection, AtCaptureIsEffectZeroOrTheLensProjection) {
    // No lens of the shipped table is a fisheye: every lens projects as -1,
    // which effects of 6 and more (and -1 itself) match.
    const struct { uint32_t lens; int32_t effect; bool expected; } cases[] = {
        {0, 0, true}, {12345, 6, true}, {7, 100, true}, {7, -1, true}, {7, 1, false}, {7, 5, false}, {7, -2, false}};
    for (const auto& c : cases)
        EXPECT_EQ(__isAtCaptureDistortionEffect(c.lens, static_cast<LumoDistortionEffect>(c.effect)), c.expected)
            << c.lens << " " << c.effect;
}

}  // namespace
