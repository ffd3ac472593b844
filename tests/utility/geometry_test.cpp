#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numeric>
#include <utility>

#include "lumomath/LumoUtility.h"

namespace {

constexpr double kTruncatedPi = 3.141592653;

TEST(DegreeToRadian, UsesTheTruncatedPiWithTheProductFirst) {
    EXPECT_DOUBLE_EQ(__DegreeToRadian(180.0), kTruncatedPi);
    EXPECT_NE(__DegreeToRadian(180.0), M_PI);
    // Multiplying by a precomputed pi/180 differs in the last bit for some
    // angles; the result must be the product-then-quotient one for all.
    int orderMatters = 0;
    for (double degrees = -360.0; degrees <= 360.0; degrees += 0.25) {
        const double expected = degrees * kTruncatedPi / 180.0;
        EXPECT_EQ(__DegreeToRadian(degrees), expected) << degrees;
        if (expected != degrees * (kTruncatedPi / 180.0)) ++orderMatters;
    }
    EXPECT_GT(orderMatters, 0);
}

struct SizeCase {
    int32_t width, height;
    double degrees;
    int32_t rotatedWidth, rotatedHeight;
    double exactWidth, exactHeight;
};

class RotatedSize : public ::testing::TestWithParam<SizeCase> {};

TEST_P(RotatedSize, RoundsTheBoundingBoxHalfUp) {
    const SizeCase& c = GetParam();
    int32_t w = -1, h = -1;
    __getArbitraryRotatedImageSize(&w, &h, c.width, c.height, c.degrees);
    EXPECT_EQ(w, c.rotatedWidth);
    EXPECT_EQ(h, c.rotatedHeight);
    double fw = -1, fh = -1;
    __getArbitraryRotatedImageSizeF(&fw, &fh, c.width, c.height, c.degrees);
    EXPECT_NEAR(fw, c.exactWidth, 1e-6);
    EXPECT_NEAR(fh, c.exactHeight, 1e-6);
}

// 100 cos 30 + 50 sin 30 = 111.60, 100 sin 30 + 50 cos 30 = 93.30;
// at 45 degrees both are 150 / sqrt(2) = 106.07.
INSTANTIATE_TEST_SUITE_P(
    Angles, RotatedSize,
    ::testing::Values(SizeCase{100, 50, 0, 100, 50, 100, 50}, SizeCase{100, 50, 90, 50, 100, 50, 100},
                      SizeCase{100, 50, -90, 50, 100, 50, 100}, SizeCase{100, 50, 180, 100, 50, 100, 50},
                      SizeCase{100, 50, 30, 112, 93, 111.60254037844386, 93.30127018922193},
                      SizeCase{100, 50, -30, 112, 93, 111.60254037844386, 93.30127018922193},
                      SizeCase{100, 50, 45, 106, 106, 106.06601717798213, 106.06601717798213},
                      SizeCase{0, 0, 37, 0, 0, 0, 0}));

TEST(RotatedSizeRejects, NegativeSizesAndNullOutputsLeaveEverythingUntouched) {
    for (auto [width, height] : {std::pair{-1, 10}, std::pair{10, -1}, std::pair{-5, -5}}) {
        int32_t w = 123, h = 456;
        __getArbitraryRotatedImageSize(&w, &h, width, height, 30.0);
        EXPECT_EQ(w, 123);
        EXPECT_EQ(h, 456);
        double fw = 1.5, fh = 2.5;
        __getArbitraryRotatedImageSizeF(&fw, &fh, width, height, 30.0);
        EXPECT_EQ(fw, 1.5);
        EXPECT_EQ(fh, 2.5);
    }
    int32_t w = 123;
    __getArbitraryRotatedImageSize(&w, nullptr, 10, 10, 30.0);
    EXPECT_EQ(w, 123);
    double fh = 2.5;
    __getArbitraryRotatedImageSizeF(nullptr, &fh, 10, 10, 30.0);
    EXPECT_EQ(fh, 2.5);
}

struct PointCase {
    tagLumoFPoint point, centre;
    double degrees;
    tagLumoFPoint expected;
};

class RotatedPoint : public ::testing::TestWithParam<PointCase> {};

TEST_P(RotatedPoint, TurnsByThePositiveAngleAboutTheCentre) {
    const PointCase& c = GetParam();
    tagLumoFPoint out{-1, -1};
    __getArbitraryRotatedPoint(&out, c.point, c.centre, c.degrees);
    EXPECT_NEAR(out.x, c.expected.x, 1e-7);
    EXPECT_NEAR(out.y, c.expected.y, 1e-7);
}

INSTANTIATE_TEST_SUITE_P(Points, RotatedPoint,
                         ::testing::Values(PointCase{{1, 0}, {0, 0}, 90, {0, 1}}, PointCase{{1, 0}, {0, 0}, -90, {0, -1}},
                                           PointCase{{12, 10}, {10, 10}, 180, {8, 10}},
                                           PointCase{{10, 10}, {10, 10}, 33, {10, 10}},
                                           PointCase{{2, 0}, {0, 0}, 30, {1.7320508075688772, 1}}));

TEST(RotatedPointRejects, NullOutputIsIgnored) {
    __getArbitraryRotatedPoint(nullptr, tagLumoFPoint{1, 2}, tagLumoFPoint{0, 0}, 10.0);
}

TEST(RotatedRect, RotatesEachCornerAndBoundsThem) {
    tagLumoFPoint corners[4] = {{0, 0}, {100, 0}, {0, 50}, {100, 50}};
    tagLumoFPoint rotated[4] = {};
    tagLumoFRect bounds{-1, -1, -1, -1};
    __getArbitraryRotatedRect(corners, tagLumoFPoint{50, 25}, 90.0, rotated, &bounds);
    for (int i = 0; i < 4; ++i) {
        tagLumoFPoint single{};
        __getArbitraryRotatedPoint(&single, corners[i], tagLumoFPoint{50, 25}, 90.0);
        EXPECT_EQ(rotated[i].x, single.x) << i;
        EXPECT_EQ(rotated[i].y, single.y) << i;
    }
    EXPECT_NEAR(bounds.x, 25, 1e-6);
    EXPECT_NEAR(bounds.y, -25, 1e-6);
    EXPECT_NEAR(bounds.width, 50, 1e-6);
    EXPECT_NEAR(bounds.height, 100, 1e-6);
}

TEST(RotatedRect, NullBoundsStillWritesTheCornersAndNullCornersDoNothing) {
    tagLumoFPoint corners[4] = {{1, 1}, {3, 1}, {1, 2}, {3, 2}};
    tagLumoFPoint rotated[4] = {};
    __getArbitraryRotatedRect(corners, tagLumoFPoint{0, 0}, 0.0, rotated, nullptr);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(rotated[i].x, corners[i].x);
        EXPECT_EQ(rotated[i].y, corners[i].y);
    }
    tagLumoFRect bounds{7, 7, 7, 7};
    __getArbitraryRotatedRect(nullptr, tagLumoFPoint{0, 0}, 0.0, rotated, &bounds);
    __getArbitraryRotatedRect(corners, tagLumoFPoint{0, 0}, 0.0, nullptr, &bounds);
    EXPECT_EQ(bounds.x, 7);
    EXPECT_EQ(bounds.height, 7);
}

struct IntersectionCase {
    float slope, x1, y1, x2, y2, expected;
};

class IntersectionX : public ::testing::TestWithParam<IntersectionCase> {};

TEST_P(IntersectionX, MeetsTheLineThroughTheOrigin) {
    const IntersectionCase& c = GetParam();
    EXPECT_FLOAT_EQ(__calculateIntersectionX(c.slope, c.x1, c.y1, c.x2, c.y2), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Edges, IntersectionX,
    ::testing::Values(IntersectionCase{1, 0, 2, 2, 0, 1},          // y = 2 - x
                      IntersectionCase{0.5f, 0, 3, 3, 3, 6},       // horizontal edge y = 3
                      IntersectionCase{-2, -1, 5, 1, 5, -2.5f},    // y = 5 with a falling diagonal
                      IntersectionCase{7, -4, 1, -4, 9, -4},       // vertical edges answer x1 ...
                      IntersectionCase{0, 3.5f, -1, 3.5f, 1, 3.5f} // ... whatever the slope
                      ));

TEST(IntersectionX, EveryStepRoundsToSinglePrecision) {
    // Pinned: with the steps carried in double these come out one to two
    // float steps away.
    EXPECT_EQ(__calculateIntersectionX(0.384152472f, 126.571426f, -407.666656f, -98.6363602f, 137.92308f),
              -35.9966888f);
    EXPECT_EQ(__calculateIntersectionX(-0.639919758f, 3.85714293f, -436.666656f, -176.454544f, -18.2307701f),
              -254.485779f);
    EXPECT_EQ(__calculateIntersectionX(0.931795359f, 257.428558f, 7.33333349f, 96.1818161f, -71.615387f),
              -268.458832f);
}

TEST(IntersectionX, ParallelLinesAreNotGuarded) {
    EXPECT_FALSE(std::isfinite(__calculateIntersectionX(1, 0, 1, 1, 2)));
}

struct InsideCase {
    int32_t width, height;
};

class InsideRectUnrotated : public ::testing::TestWithParam<InsideCase> {};

TEST_P(InsideRectUnrotated, OwnAspectGivesTheWholeImage) {
    const InsideCase& c = GetParam();
    const int32_t g = std::gcd(c.width, c.height);
    for (tagLumoFPoint aspect : {tagLumoFPoint{double(c.width), double(c.height)},
                                 tagLumoFPoint{double(c.width / g), double(c.height / g)}}) {
        tagLumoRect out{-1, -1, 0, 0};
        __calculateInsideRect(&out, c.width, c.height, 0.0, aspect);
        EXPECT_EQ(out.x, 0);
        EXPECT_EQ(out.y, 0);
        EXPECT_EQ(out.width, static_cast<uint32_t>(c.width));
        EXPECT_EQ(out.height, static_cast<uint32_t>(c.height));
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, InsideRectUnrotated,
                         ::testing::Values(InsideCase{300, 200}, InsideCase{640, 480}, InsideCase{1000, 1000},
                                           InsideCase{4000, 3000}, InsideCase{6000, 4000}, InsideCase{101, 37},
                                           InsideCase{3000, 4500}, InsideCase{8, 8}));

struct TinyCase {
    int32_t width, height;
    uint32_t expectedWidth, expectedHeight;
};

class InsideRectMinimum : public ::testing::TestWithParam<TinyCase> {};

TEST_P(InsideRectMinimum, NeverBelowEightByEight) {
    const TinyCase& c = GetParam();
    tagLumoRect out{};
    __calculateInsideRect(&out, c.width, c.height, 0.0, tagLumoFPoint{double(c.width), double(c.height)});
    EXPECT_EQ(out.width, c.expectedWidth);
    EXPECT_EQ(out.height, c.expectedHeight);
}

INSTANTIATE_TEST_SUITE_P(Sizes, InsideRectMinimum,
                         ::testing::Values(TinyCase{4, 4, 8, 8}, TinyCase{1, 1, 8, 8}, TinyCase{5000, 7, 5000, 8},
                                           TinyCase{7, 5000, 8, 5000}, TinyCase{9, 9, 9, 9}));

class InsideRectRotated : public ::testing::TestWithParam<double> {};

TEST_P(InsideRectRotated, SameAspectCropShrinksByTheRotatedBoxAndStaysCentred) {
    // For a landscape image and its own aspect the crop width is
    // W / (cos t + (W / H) sin |t|); it is centred in the rotated bounding box.
    const double degrees = GetParam();
    const double t = std::fabs(degrees) * M_PI / 180.0;
    tagLumoRect out{};
    __calculateInsideRect(&out, 300, 200, degrees, tagLumoFPoint{3, 2});
    const double expectedWidth = 300.0 / (std::cos(t) + 1.5 * std::sin(t));
    EXPECT_NEAR(out.width, expectedWidth, 1.0);
    EXPECT_NEAR(out.height, expectedWidth / 1.5, 1.0);
    int32_t boxWidth = 0, boxHeight = 0;
    __getArbitraryRotatedImageSize(&boxWidth, &boxHeight, 300, 200, degrees);
    EXPECT_NEAR(out.x + out.width / 2.0, boxWidth / 2.0, 1.0);
    EXPECT_NEAR(out.y + out.height / 2.0, boxHeight / 2.0, 1.0);
}

INSTANTIATE_TEST_SUITE_P(Angles, InsideRectRotated, ::testing::Values(1.0, 3.0, 10.0, -10.0, 20.0, -25.0));

TEST(InsideRect, QuarterTurnFitsTheAspectIntoThePortraitBox) {
    tagLumoRect out{};
    __calculateInsideRect(&out, 300, 200, 90.0, tagLumoFPoint{3, 2});
    EXPECT_EQ(out.width, 200u);
    EXPECT_EQ(out.height, 133u);
    EXPECT_EQ(out.x, 0);
    EXPECT_EQ(out.y, 83);
}

TEST(InsideRect, GeometryIsSinglePrecision) {
    // 2^24 + 1 has no float: the half sizes round, and the crop with them.
    tagLumoRect out{};
    __calculateInsideRect(&out, 16777217, 16777217, 0.0, tagLumoFPoint{1, 1});
    EXPECT_EQ(out.x, 0);
    EXPECT_EQ(out.y, 0);
    EXPECT_EQ(out.width, 16777216u);
    EXPECT_EQ(out.height, 16777216u);
}

struct PinnedCase {
    int32_t width, height;
    double aspectX, aspectY, degrees;
    tagLumoRect expected;
};

class InsideRectPinned : public ::testing::TestWithParam<PinnedCase> {};

TEST_P(InsideRectPinned, LastPixelFollowsTheFloatRoundingAndTheTieRule) {
    // Where both diagonals give the same width the second one is taken; its
    // height and origin round differently, and mirrored angles need not agree.
    const PinnedCase& c = GetParam();
    tagLumoRect out{};
    __calculateInsideRect(&out, c.width, c.height, c.degrees, tagLumoFPoint{c.aspectX, c.aspectY});
    EXPECT_EQ(out.x, c.expected.x);
    EXPECT_EQ(out.y, c.expected.y);
    EXPECT_EQ(out.width, c.expected.width);
    EXPECT_EQ(out.height, c.expected.height);
}

INSTANTIATE_TEST_SUITE_P(
    Angles, InsideRectPinned,
    ::testing::Values(PinnedCase{300, 200, 1, 1, -0.1, {50, 0, 200, 200}}, PinnedCase{300, 200, 1, 1, 0.1, {50, 1, 200, 200}},
                      PinnedCase{300, 200, 16, 9, -9.5, {25, 45, 278, 156}},
                      PinnedCase{300, 200, 16, 9, -9.4, {25, 45, 278, 156}},
                      PinnedCase{300, 200, 16, 9, 9.4, {25, 45, 278, 157}},
                      PinnedCase{300, 200, 16, 9, 9.5, {26, 45, 278, 156}},
                      PinnedCase{640, 480, 2, 3, -0.1, {160, 0, 320, 481}},
                      PinnedCase{640, 480, 2, 3, 0.1, {161, 1, 320, 479}},
                      PinnedCase{640, 480, 2, 3, -80.7, {94, 62, 390, 585}},
                      PinnedCase{640, 480, 2, 3, 80.7, {93, 62, 390, 586}}));

TEST(InsideRect, NullOutputAndNegativeSizesDoNothing) {
    __calculateInsideRect(nullptr, 300, 200, 10.0, tagLumoFPoint{3, 2});
    for (auto [width, height] : {std::pair{-300, 200}, std::pair{300, -200}}) {
        tagLumoRect out{1, 2, 3, 4};
        __calculateInsideRect(&out, width, height, 10.0, tagLumoFPoint{3, 2});
        EXPECT_EQ(out.x, 1);
        EXPECT_EQ(out.y, 2);
        EXPECT_EQ(out.width, 3u);
        EXPECT_EQ(out.height, 4u);
    }
}

struct EndCase {
    int32_t start, end, expected;
};

class EndX8 : public ::testing::TestWithParam<EndCase> {};

TEST_P(EndX8, LargerOfTheTwoWithoutRounding) {
    EXPECT_EQ(__getEndX8(GetParam().start, GetParam().end), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Pairs, EndX8,
                         ::testing::Values(EndCase{10, 3, 10}, EndCase{3, 10, 10}, EndCase{0, 0, 0}, EndCase{-5, -9, -5},
                                           EndCase{-9, -5, -5}, EndCase{1, 13, 13},
                                           // The difference wraps in 32 bits: it reads as -1.
                                           EndCase{INT32_MIN, INT32_MAX, INT32_MIN}));

}  // namespace
