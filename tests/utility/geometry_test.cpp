#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <utility>

#include "lumomath/LumoUtility.h"

namespace {

TEST(DegreeToRadian, UsesTheTruncatedPiWithTheProductFirst) {
    // Pi cut after nine decimals, the product rounded before the quotient: 180 degrees give one step
    // below the constant itself, and a precomputed pi/180 would give one step more at 360 and 358.5.
    EXPECT_EQ(__DegreeToRadian(180.0), 0x1.921fb542fe937p+1);
    EXPECT_EQ(__DegreeToRadian(-360.0), -0x1.921fb542fe937p+2);
    EXPECT_EQ(__DegreeToRadian(358.5), 0x1.9072c6a3c82e9p+2);
}

TEST(RotatedSize, BoundingBoxExactAndRoundedHalfUp) {
    // 100 cos 30 + 50 sin 30 = 111.60, 100 sin 30 + 50 cos 30 = 93.30; at 45 degrees both are
    // 150 / sqrt(2) = 106.07. At 90 degrees the residues of the truncated pi vanish in the rounding.
    const struct { int32_t width, height; double degrees; int32_t w, h; double exactW, exactH; } cases[] = {
        {100, 50, 0, 100, 50, 100, 50}, {100, 50, 90, 50, 100, 50, 100}, {0, 0, 37, 0, 0, 0, 0},
        {100, 50, 30, 112, 93, 111.60254037844386, 93.30127018922193},
        {100, 50, -30, 112, 93, 111.60254037844386, 93.30127018922193},
        {100, 50, 45, 106, 106, 106.06601717798213, 106.06601717798213}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.width << "x" << c.height << " at " << c.degrees);
        int32_t w = -1, h = -1;
        __getArbitraryRotatedImageSize(&w, &h, c.width, c.height, c.degrees);
        EXPECT_EQ(std::pair(w, h), std::pair(c.w, c.h));
        double fw = -1, fh = -1;
        __getArbitraryRotatedImageSizeF(&fw, &fh, c.width, c.height, c.degrees);
        EXPECT_NEAR(fw, c.exactW, 1e-6);
        EXPECT_NEAR(fh, c.exactH, 1e-6);
    }
}

TEST(GeometryRejects, NegativeSizesAndNullOutputsLeaveEverythingUntouched) {
    for (auto [width, height] : {std::pair{-1, 10}, std::pair{10, -1}, std::pair{10, 10}}) {
        const bool valid = width >= 0 && height >= 0;  // then a null partner output must keep it untouched
        int32_t w = 123, h = 456;
        __getArbitraryRotatedImageSize(&w, valid ? nullptr : &h, width, height, 30.0);
        EXPECT_EQ(std::pair(w, h), std::pair(123, 456));
        double fw = 1.5, fh = 2.5;
        __getArbitraryRotatedImageSizeF(valid ? nullptr : &fw, &fh, width, height, 30.0);
        EXPECT_EQ(std::pair(fw, fh), std::pair(1.5, 2.5));
        tagLumoRect out{1, 2, 3, 4};
        __calculateInsideRect(valid ? nullptr : &out, width, height, 10.0, tagLumoFPoint{3, 2});
        EXPECT_EQ(std::pair(out.x, out.y), std::pair(1, 2));
        EXPECT_EQ(std::pair(out.width, out.height), std::pair(3u, 4u));
    }
}

TEST(RotatedPoint, TurnsByThePositiveAngleAboutTheCentre) {
    const struct { tagLumoFPoint point, centre; double degrees; tagLumoFPoint expected; } cases[] = {
        {{1, 0}, {0, 0}, 90, {0, 1}}, {{1, 0}, {0, 0}, -90, {0, -1}}, {{12, 10}, {10, 10}, 180, {8, 10}},
        {{2, 0}, {0, 0}, 30, {1.7320508075688772, 1}}};
    for (const auto& c : cases) {
        tagLumoFPoint out{-1, -1};
        __getArbitraryRotatedPoint(&out, c.point, c.centre, c.degrees);
        EXPECT_NEAR(out.x, c.expected.x, 1e-7) << c.degrees;
        EXPECT_NEAR(out.y, c.expected.y, 1e-7) << c.degrees;
    }
    __getArbitraryRotatedPoint(nullptr, tagLumoFPoint{1, 2}, tagLumoFPoint{0, 0}, 10.0);
}

TEST(RotatedRect, RotatesEachCornerAsAPointAndBoundsThem) {
    const tagLumoFPoint centre{0, 0};
    tagLumoFPoint corners[4] = {{0, 0}, {100, 0}, {0, 50}, {100, 50}}, rotated[4] = {}, unbounded[4] = {};
    tagLumoFRect bounds{-1, -1, -1, -1};
    __getArbitraryRotatedRect(corners, centre, 90.0, rotated, &bounds);
    __getArbitraryRotatedRect(corners, centre, 90.0, unbounded, nullptr);  // corners are written all the same
    for (int i = 0; i < 4; ++i) {
        tagLumoFPoint single{};
        __getArbitraryRotatedPoint(&single, corners[i], centre, 90.0);
        EXPECT_EQ(std::pair(rotated[i].x, rotated[i].y), std::pair(single.x, single.y)) << i;
        EXPECT_EQ(std::pair(unbounded[i].x, unbounded[i].y), std::pair(single.x, single.y)) << i;
    }
    // Without corners nothing is written.
    __getArbitraryRotatedRect(nullptr, centre, 0.0, rotated, &bounds);
    __getArbitraryRotatedRect(corners, centre, 0.0, nullptr, &bounds);
    const double expected[4] = {-50, 0, 50, 100}, actual[4] = {bounds.x, bounds.y, bounds.width, bounds.height};
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-6) << i;
}

TEST(IntersectionX, MeetsTheLineThroughTheOriginInSinglePrecision) {
    const struct { float slope, x1, y1, x2, y2, expected; } cases[] = {
        {1, 0, 2, 2, 0, 1},                                     // y = 2 - x
        {0.5f, 0, 3, 3, 3, 6}, {-2, -1, 5, 1, 5, -2.5f},        // horizontal edges
        {7, -4, 1, -4, 9, -4}, {0, 3.5f, -1, 3.5f, 1, 3.5f},    // vertical edges answer x1 whatever the slope
        {1, 0, 1, 1, 2, INFINITY},                              // parallel lines are not guarded
        // With the steps carried in double these come out one to two float steps away.
        {0.384152472f, 126.571426f, -407.666656f, -98.6363602f, 137.92308f, -35.9966888f},
        {-0.639919758f, 3.85714293f, -436.666656f, -176.454544f, -18.2307701f, -254.485779f},
        {0.931795359f, 257.428558f, 7.33333349f, 96.1818161f, -71.615387f, -268.458832f}};
    for (const auto& c : cases)
        EXPECT_EQ(__calculateIntersectionX(c.slope, c.x1, c.y1, c.x2, c.y2), c.expected)
            << c.slope << " (" << c.x1 << ", " << c.y1 << ")-(" << c.x2 << ", " << c.y2 << ")";
}

TEST(InsideRect, PinnedCrops) {
    const struct { int32_t width, height; double aspectX, aspectY, degrees; tagLumoRect expected; } cases[] = {
        // Unrotated with the image's own aspect, reduced or not: the whole image.
        {300, 200, 300, 200, 0, {0, 0, 300, 200}}, {300, 200, 3, 2, 0, {0, 0, 300, 200}},
        {101, 37, 101, 37, 0, {0, 0, 101, 37}}, {3000, 4500, 2, 3, 0, {0, 0, 3000, 4500}},
        // Never below 8 x 8, whatever the geometry gives.
        {4, 4, 4, 4, 0, {0, 0, 8, 8}}, {5000, 7, 5000, 7, 0, {0, 0, 5000, 8}},
        {7, 5000, 7, 5000, 0, {0, 0, 8, 5000}}, {9, 9, 9, 9, 0, {0, 0, 9, 9}},
        // 2^24 + 1 has no float: the half sizes round, and the crop with them.
        {16777217, 16777217, 1, 1, 0, {0, 0, 16777216, 16777216}},
        // A quarter turn fits the aspect into the portrait box.
        {300, 200, 3, 2, 90, {0, 83, 200, 133}},
        // Where both diagonals give the same width the second one is taken; its
        // height and origin round differently, and mirrored angles need not agree.
        {300, 200, 1, 1, -0.1, {50, 0, 200, 200}}, {300, 200, 1, 1, 0.1, {50, 1, 200, 200}},
        {300, 200, 16, 9, -9.5, {25, 45, 278, 156}}, {300, 200, 16, 9, 9.4, {25, 45, 278, 157}},
        {300, 200, 16, 9, 9.5, {26, 45, 278, 156}}, {640, 480, 2, 3, -0.1, {160, 0, 320, 481}},
        {640, 480, 2, 3, 0.1, {161, 1, 320, 479}}, {640, 480, 2, 3, -80.7, {94, 62, 390, 585}},
        {640, 480, 2, 3, 80.7, {93, 62, 390, 586}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "row " << &c - cases);
        tagLumoRect out{-1, -1, 0, 0};
        __calculateInsideRect(&out, c.width, c.height, c.degrees, tagLumoFPoint{c.aspectX, c.aspectY});
        EXPECT_EQ(std::pair(out.x, out.y), std::pair(c.expected.x, c.expected.y));
        EXPECT_EQ(std::pair(out.width, out.height), std::pair(c.expected.width, c.expected.height));
    }
}

TEST(InsideRect, SameAspectCropShrinksByTheRotatedBoxAndStaysCentred) {
    // For a landscape image and its own aspect the crop width is
    // W / (cos t + (W / H) sin |t|); it is centred in the rotated bounding box.
    for (double degrees : {1.0, 3.0, 10.0, -10.0, 20.0, -25.0}) {
        const double t = std::fabs(degrees) * M_PI / 180.0, width = 300.0 / (std::cos(t) + 1.5 * std::sin(t));
        tagLumoRect out{};
        __calculateInsideRect(&out, 300, 200, degrees, tagLumoFPoint{3, 2});
        int32_t boxWidth = 0, boxHeight = 0;
        __getArbitraryRotatedImageSize(&boxWidth, &boxHeight, 300, 200, degrees);
        EXPECT_NEAR(out.width, width, 1.0) << degrees;
        EXPECT_NEAR(out.height, width / 1.5, 1.0) << degrees;
        EXPECT_NEAR(out.x + out.width / 2.0, boxWidth / 2.0, 1.0) << degrees;
        EXPECT_NEAR(out.y + out.height / 2.0, boxHeight / 2.0, 1.0) << degrees;
    }
}

TEST(EndX8, LargerOfTheTwoWithoutRoundingTheDifferenceWrapping) {
    const struct { int32_t start, end, expected; } cases[] = {
        {10, 3, 10}, {3, 10, 10}, {-5, -9, -5}, {-9, -5, -5}, {1, 13, 13},
        {INT32_MIN, INT32_MAX, INT32_MIN}};  // the difference wraps to -1
    for (const auto& c : cases) EXPECT_EQ(__getEndX8(c.start, c.end), c.expected) << c.start << ", " << c.end;
}

}  // namespace
