// Geometry of images rotated by an arbitrary angle: rotated sizes, points and
// outlines, and the largest upright crop inside a rotated image.
//
// Radians are always degrees * 3.141592653 / 180.0 (or its negated forms),
// product first: the host computes its own rotations with this truncated pi
// and the results must agree to the last bit.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "lumomath/LumoUtility.h"
#include "utility/float_convert.h"

namespace {

constexpr double kPi = 3.141592653;

// Rotation by a positive angle: the numerator and the denominator are both negated.
double PointRotationRadians(double degrees) { return degrees * (-kPi) / (-180.0); }

tagLumoFPoint RotateAbout(tagLumoFPoint point, tagLumoFPoint centre, double sine, double cosine) {
    const double dx = point.x - centre.x;
    const double dy = point.y - centre.y;
    return tagLumoFPoint{centre.x + dx * cosine - dy * sine, centre.y + dx * sine + dy * cosine};
}

// The sides of an image rotated by `degrees` projected onto the axes, as
// magnitudes (|-s h| equals |s h| bit for bit).
struct RotatedExtents {
    double cosWidth, sinHeight, sinWidth, cosHeight;
};

RotatedExtents ExtentsOf(int32_t width, int32_t height, double degrees) {
    const double theta = degrees * (-kPi) / 180.0;
    const double s = std::sin(theta);
    const double c = std::cos(theta);
    const double w = width;
    const double h = height;
    return RotatedExtents{std::fabs(c * w), std::fabs(s * h), std::fabs(s * w), std::fabs(c * h)};
}

struct FPoint {
    float x;
    float y;
};

float Intersect(float slope, FPoint a, FPoint b) { return __calculateIntersectionX(slope, a.x, a.y, b.x, b.y); }

// One candidate crop found along a diagonal of the requested aspect.
struct Candidate {
    uint32_t width;
    float height;
    float left;
    float top;
};

}  // namespace

double __DegreeToRadian(double degrees) { return degrees * kPi / 180.0; }

void __getArbitraryRotatedImageSize(int32_t* outWidth, int32_t* outHeight, int32_t width, int32_t height,
                                    double degrees) {
    if (outWidth == nullptr || outHeight == nullptr || width < 0 || height < 0) return;
    const RotatedExtents e = ExtentsOf(width, height, degrees);
    // Rounding half up: the sums are never negative.
    *outWidth = lumo::TruncToInt32(e.cosWidth + e.sinHeight + 0.5);
    *outHeight = lumo::TruncToInt32(e.sinWidth + e.cosHeight + 0.5);
}

void __getArbitraryRotatedImageSizeF(double* outWidth, double* outHeight, int32_t width, int32_t height,
                                     double degrees) {
    if (outWidth == nullptr || outHeight == nullptr || width < 0 || height < 0) return;
    const RotatedExtents e = ExtentsOf(width, height, degrees);
    *outWidth = e.cosWidth + e.sinHeight;
    *outHeight = e.sinWidth + e.cosHeight;
}

void __getArbitraryRotatedPoint(tagLumoFPoint* out, tagLumoFPoint point, tagLumoFPoint centre, double degrees) {
    if (out == nullptr) return;
    const double theta = PointRotationRadians(degrees);
    *out = RotateAbout(point, centre, std::sin(theta), std::cos(theta));
}

void __getArbitraryRotatedRect(tagLumoFPoint* corners, tagLumoFPoint centre, double degrees,
                               tagLumoFPoint* rotatedCorners, tagLumoFRect* bounds) {
    if (corners == nullptr || rotatedCorners == nullptr) return;
    const double theta = PointRotationRadians(degrees);
    const double s = std::sin(theta);
    const double c = std::cos(theta);
    double minX = 2147483647.0, minY = 2147483647.0;
    double maxX = -2147483648.0, maxY = -2147483648.0;
    for (int i = 0; i < 4; ++i) {
        const tagLumoFPoint p = RotateAbout(corners[i], centre, s, c);
        rotatedCorners[i] = p;
        if (p.x < minX) minX = p.x;
        if (p.y < minY) minY = p.y;
        if (p.x > maxX) maxX = p.x;
        if (p.y > maxY) maxY = p.y;
    }
    if (bounds != nullptr) *bounds = tagLumoFRect{minX, minY, maxX - minX, maxY - minY};
}

float __calculateIntersectionX(float slope, float x1, float y1, float x2, float y2) {
    if (x1 == x2) return x1;
    const float m = (y2 - y1) / (x2 - x1);
    return (y1 - x1 * m) / (slope - m);
}

void __calculateInsideRect(tagLumoRect* out, int32_t width, int32_t height, double degrees,
                           const tagLumoFPoint& aspect) {
    if (out == nullptr || width < 0 || height < 0) return;
    // The angle is formed in double and narrowed; everything after it is
    // single precision, as the host computes its crop.
    const float theta = static_cast<float>(degrees * kPi / 180.0);
    const float s = sinf(theta);
    const float c = cosf(theta);
    const float hw = static_cast<float>(width) * 0.5f;
    const float hh = static_cast<float>(height) * 0.5f;

    // Corners of the image rotated about its centre: top-left, top-right,
    // bottom-left, bottom-right.
    const FPoint p1{hh * s - hw * c, -hw * s - hh * c};
    const FPoint p2{hw * c + hh * s, hw * s - hh * c};
    const FPoint p3{-hw * c - hh * s, hh * c - hw * s};
    const FPoint p4{hw * c - hh * s, hw * s + hh * c};

    const float alpha = atan2f(static_cast<float>(height), static_cast<float>(width));
    const float beta = atan2f(static_cast<float>(aspect.y), static_cast<float>(aspect.x));
    const float k = static_cast<float>(aspect.y / aspect.x);

    // Along y = k x: the diagonal leaves through the top and bottom edges
    // while the rotated image diagonal stays below the requested one.
    Candidate first;
    {
        const bool topBottom = alpha + theta < beta;
        const float xa = topBottom ? Intersect(k, p1, p2) : Intersect(k, p1, p3);
        const float xb = topBottom ? Intersect(k, p3, p4) : Intersect(k, p2, p4);
        const float ya = xa * k;
        first = Candidate{lumo::TruncToUInt32(static_cast<double>(xb - xa) + 0.5), xb * k - ya, xa, ya};
    }
    // Along y = -k x.
    Candidate second;
    {
        const float nk = -k;
        if (alpha - theta < beta) {
            const float xc = Intersect(nk, p1, p2);
            const float xd = Intersect(nk, p3, p4);
            const float yc = xc * nk;
            second = Candidate{lumo::TruncToUInt32(static_cast<double>(xc - xd) + 0.5), xd * nk - yc, xd, yc};
        } else {
            const float xc = Intersect(nk, p1, p3);
            const float xd = Intersect(nk, p2, p4);
            const float yd = xd * nk;
            second = Candidate{lumo::TruncToUInt32(static_cast<double>(xd - xc) + 0.5), xc * nk - yd, xc, yd};
        }
    }
    const Candidate& chosen = first.width < second.width ? first : second;
    const uint32_t cropHeight = lumo::TruncToUInt32(static_cast<double>(chosen.height) + 0.5);

    // The crop is placed in the bounding box of the rotated image.
    const int32_t boxWidth =
        lumo::TruncToInt32(static_cast<double>(std::max(p2.x, p4.x) - std::min(p1.x, p3.x)) + 0.5);
    const int32_t boxHeight =
        lumo::TruncToInt32(static_cast<double>(std::max(p3.y, p4.y) - std::min(p1.y, p2.y)) + 0.5);
    out->x = lumo::TruncToInt32(static_cast<double>(static_cast<float>(boxWidth) * 0.5f + chosen.left) + 0.5);
    out->y = lumo::TruncToInt32(static_cast<double>(static_cast<float>(boxHeight) * 0.5f + chosen.top) + 0.5);
    // Never below 8 x 8, whatever the geometry gives.
    out->width = std::max(chosen.width, 8u);
    out->height = std::max(cropHeight, 8u);
}

int32_t __getEndX8(int32_t start, int32_t end) {
    const auto difference = static_cast<int32_t>(static_cast<uint32_t>(end) - static_cast<uint32_t>(start));
    const uint32_t advance = difference > 0 ? static_cast<uint32_t>(difference) : 0u;
    return static_cast<int32_t>(static_cast<uint32_t>(start) + advance);
}
