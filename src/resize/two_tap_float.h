// When a two-tap 8-bit sum may be computed in single precision.
//
// The bilinear passes define each sample as v = s0 * w0 + s1 * w1 in double
// (products and sum rounded separately), clamped to [0, 255] and truncated.
// Float lanes are twice as many per vector, and the byte only depends on
// which side of each integer n in 1..255 the value lies (below 1 it is 0,
// from 255 up it is 255, in between it is floor(v)). So a float sum that lies
// far enough from every such integer gives the same byte.
//
// Bound, for samples s in [0, 255] and weights |w| <= 2 (u = 2^-24, the float
// unit roundoff; every quantity below 1024, where a float's half-ulp is at most
// 2^-15):
//   - w converted to float:  |wf - w| <= 2^-24 (half-ulp below 2), so
//     |s*wf - s*w| <= 255 * 2^-24 < 2^-16 for each tap;
//   - each float product |s*wf| <= 510 < 512 is rounded by at most 2^-16;
//   - the float sum |p0 + p1| <= 1020 < 1024 is rounded by at most 2^-15.
//   Together: |vf - v_exact| < 2^-16 * 2 + 2^-16 * 2 + 2^-15 = 3 * 2^-15.
//   The double sum is off v_exact by at most two product roundings of
//   2^-45 and one sum rounding of 2^-44, so |vf - vd| < 3 * 2^-15 + 2^-43,
//   which is below kNearByte = 2^-13.
// If |vf - n| >= 2^-13 for the nearest integer n (a float subtraction that is
// exact, the two being within a factor of two once n >= 1), vd lies strictly
// on the same side of every integer as vf, and both truncate to the same byte.
// Lanes closer than that are redone in double. Note that flat image areas
// (s0 == s1) put sums right on an integer, and 254.99999999999997 is a real
// double sum there, so such lanes are common and must take the slow path.
//
// Exact weights: if every weight is k * 2^-14 with |k| <= 2^15 (|w| <= 2), the
// products s * k * 2^-14 have |s * k| < 2^23 and the sum |.| < 2^24: every
// value is an integer multiple of 2^-14 within a float's 24 bits, so the
// float and the double sums are both exact and equal, and no lane needs
// checking. Halving, quartering and doubling scales give such weights.
#pragma once

#include <cmath>

namespace lumo {

/// Distance from an integer below which a float sum is recomputed in double.
inline constexpr float kNearByte = 1.0f / 8192.0f;

enum class TwoTapFloat {
    kNo,       // a weight is too large for the bound: double only
    kChecked,  // float, with lanes near a byte boundary redone in double
    kExact,    // float sums equal the double sums
};

inline bool TwoTapWeightFits(double w) { return std::fabs(w) <= 2.0; }

/// Whether w is k * 2^-14 for an integer k (scaling by a power of two is exact).
inline bool TwoTapWeightShort(double w) {
    const double k = w * 16384.0;
    return k == std::trunc(k);
}

/// The float mode for one pair of weights.
inline TwoTapFloat TwoTapFloatMode(const double* w) {
    if (!TwoTapWeightFits(w[0]) || !TwoTapWeightFits(w[1])) return TwoTapFloat::kNo;
    return TwoTapWeightShort(w[0]) && TwoTapWeightShort(w[1]) ? TwoTapFloat::kExact : TwoTapFloat::kChecked;
}

}  // namespace lumo
