// What the whole-number area-averaging rows of one call share (see
// supersampling_exact.cpp for why the sums are exact).
#pragma once

#include <cstddef>
#include <cstdint>

#include "resize/supersampling_plan.h"

namespace lumo::supersampling {

/// floor(s / w) as (s * multiplier) >> shift, for every s < 2^31 and a
/// divisor 0 < w < 2^31: with 2^l >= w > 2^(l-1), shift = 31 + l and
/// multiplier = ceil(2^shift / w), below 2^32 (2^31 for w = 1), so the
/// product stays below 2^63. The multiplier exceeds 2^shift / w by e / w with
/// e < w <= 2^l, which adds s * e / (w * 2^shift) < 1 / w to s / w: too
/// little to reach the next whole number. A zero divisor has multiplier 0,
/// so the quotient 0.
struct Divisor {
    uint32_t multiplier;
    uint32_t shift;

    uint32_t Divide(uint32_t s) const { return static_cast<uint32_t>((uint64_t{s} * multiplier) >> shift); }
};

inline Divisor DivisorOf(uint64_t w) {
    if (w == 0) return {0, 0};
    uint32_t l = 0;
    while ((uint64_t{1} << l) < w) ++l;
    const uint32_t shift = 31 + l;
    return {static_cast<uint32_t>(((uint64_t{1} << shift) + w - 1) / w), shift};
}

/// One tap of a destination column: a column of the region (counted from its
/// left edge) and its fraction's numerator.
struct ColumnTap {
    uint32_t column;
    uint32_t weight;
};

/// One call's shared, read-only state. Destination column x reads the taps
/// [tapStart[x], tapStart[x + 1]); their numerators add up to
/// classSum[classOf[x]]. There are few distinct sums, so a row works out one
/// divisor per class rather than per column.
struct ExactPlan : Call {
    uint32_t regionWidth;  // source columns summed per row
    uint32_t firstColumn;  // the region's left edge
    double rowUnit;              // 2^B: row fractions times this are whole
    // Equal footprints of whole columns side by side (boxTaps > 0): column x
    // is the plain sum of region columns [x * boxTaps, (x + 1) * boxTaps),
    // and every column has class 0.
    uint32_t boxTaps;
    const size_t* tapStart;
    const ColumnTap* taps;
    const uint32_t* classOf;
    const uint32_t* classSum;
    uint32_t classes;
};

/// Working memory of one band of rows.
struct ExactBand {
    uint32_t* columnSums;  // regionWidth * channels: the footprint's rows summed, per source sample
    uint32_t* boxSums;     // width * channels, for equal boxes: the sums of a destination row
    Divisor* divisors;     // per class
};

}  // namespace lumo::supersampling
