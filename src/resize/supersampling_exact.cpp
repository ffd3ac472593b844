// Area averaging in whole numbers.
//
// The per-pixel form adds, for each source pixel under a footprint, the term
// s * w to a double sum and w to a double weight, where w = fx * wy is the
// column fraction times the row fraction (fx = 1 leaves w = wy, the same
// double as 1.0 * wy), the fractions being the doubles Coverage() gives for
// the footprints of FootprintOf(). When the sizes make every fraction a
// short binary fraction, none of that arithmetic rounds, and the result can
// be had from integer sums instead.
//
// Why the bytes are the same. Suppose every column fraction of the call is
// cx / 2^A and every row fraction ry / 2^B, with whole cx in [0, 2^A] and
// ry in [0, 2^B], and let Cmax be the largest sum of one column footprint's
// cx (taps past the right edge count: they repeat the last column, whose
// pixel so takes the weight of the part outside), Rmax the largest sum of one
// row footprint's ry, V the top sample value (255 or 65535). The call
// qualifies when V * Cmax * Rmax < 2^31. Then, for one pixel:
//  - w = fx * wy has the whole numerator cx * ry <= Cmax * Rmax < 2^31 over
//    2^(A+B): the product is exact.
//  - s * w has the numerator s * cx * ry <= V * Cmax * Rmax < 2^31: exact.
//  - every partial sum of the s * w is a multiple of 2^-(A+B) whose numerator
//    is at most the full sum's, S = sum of s * cx * ry <= V * W < 2^31, where
//    W = (sum of cx) * (sum of ry) <= Cmax * Rmax; every partial weight has a
//    numerator at most W. All are below 2^53 units: every addition is exact,
//    whatever the order of the terms. So the per-pixel form ends with exactly
//    sum = S / 2^(A+B) and weight = W / 2^(A+B).
//  - q = sum / weight is the correctly rounded S / W (the scale 2^(A+B)
//    cancels; nothing here is near underflow or overflow).
//  - Let n = floor(S / W) <= V. If S / W is whole, q = n. Otherwise
//    n < S / W <= n + 1 - 1 / W, and rounding could only reach n + 1 if
//    1 / W were at most half an ulp of n + 1, about (n + 1) * 2^-53; but
//    (n + 1) * W <= (V + 1) * W < 2^32, so it cannot. The truncation of q is
//    n, and 0 <= n <= V leaves the clamps idle.
//  - W = 0 (no source pixel under the footprint, or only zero fractions)
//    means S = 0 too: the per-pixel form divides 0 by 0 and the NaN gives 0;
//    here a zero weight gives 0.
// So each destination sample is floor(S / W), computed here as a vertical
// sum of the footprint's rows weighted by ry, then a horizontal sum weighted
// by cx, both in 32 bits (S < 2^31), and a division by W done as a multiply
// and shift (DivisorOf).
#include "resize/supersampling_exact.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/work_memory.h"
#include "resize/row_bands.h"
#include "resize/sample_access.h"
#include "resize/supersampling_plan.h"

namespace lumo::supersampling {
namespace {

/// More bits than this after the binary point and a fraction is not worth
/// the whole-number path (the bound on the sums rules most of them out anyway).
constexpr uint32_t kMaxFractionBits = 20;
constexpr uint32_t kTooFine = kMaxFractionBits + 1;
constexpr uint64_t kSumLimit = uint64_t{1} << 31;

/// The bits after the binary point of a fraction in [0, 1], or kTooFine.
/// Doubling a double is exact, so the test of wholeness is too.
uint32_t FractionBits(double f) {
    if (!(f >= 0.0 && f <= 1.0)) return kTooFine;
    uint32_t bits = 0;
    for (; f != std::floor(f); f *= 2.0) {
        if (++bits > kMaxFractionBits) return kTooFine;
    }
    return bits;
}

/// One axis of the call: `count` destination coordinates whose footprints
/// start at `offset` and are 1 / `scale` wide.
struct Axis {
    uint32_t count;
    double scale, offset;

    /// Calls f(i, s, fraction) for every tap s of every footprint i, in order.
    template <class F>
    void ForEachTap(const F& f) const {
        for (uint32_t i = 0; i < count; ++i) {
            const Footprint footprint = FootprintOf(i, scale, offset);
            for (double s = footprint.firstPixel; s < footprint.endPixel; s += 1.0)
                f(i, s, Coverage(s, footprint.start, footprint.end));
        }
    }
};

/// An axis's fractions as whole numbers over 2^bits, and the largest sum of
/// one footprint's numerators; bits == kTooFine when they do not all fit.
struct AxisWeights {
    uint32_t bits = 0;
    uint64_t maxSum = 0;
};

AxisWeights WeightsOf(const Axis& axis) {
    AxisWeights w;
    axis.ForEachTap([&w](uint32_t, double, double fraction) { w.bits = std::max(w.bits, FractionBits(fraction)); });
    if (w.bits == kTooFine) return w;
    const double unit = std::ldexp(1.0, static_cast<int>(w.bits));
    uint64_t sum = 0;
    uint32_t current = 0;
    axis.ForEachTap([&](uint32_t i, double, double fraction) {
        if (i != current) {
            w.maxSum = std::max(w.maxSum, sum);
            sum = 0;
            current = i;
        }
        sum += static_cast<uint64_t>(fraction * unit);
    });
    w.maxSum = std::max(w.maxSum, sum);
    return w;
}

Axis ColumnsOf(const Request& r) {
    return {r.destinationSize.width, static_cast<double>(r.destinationSize.width) / static_cast<double>(r.region.width),
            static_cast<double>(r.region.x)};
}

Axis RowsOf(const Request& r) {
    return {r.destinationSize.height,
            static_cast<double>(r.destinationSize.height) / static_cast<double>(r.region.height),
            static_cast<double>(r.region.y)};
}

struct Qualified {
    bool applies = false;
    AxisWeights columns, rows;
};

Qualified Qualify(const Request& r) {
    Qualified q;
    q.columns = WeightsOf(ColumnsOf(r));
    if (q.columns.bits == kTooFine || q.columns.maxSum >= kSumLimit) return q;
    q.rows = WeightsOf(RowsOf(r));
    if (q.rows.bits == kTooFine || q.rows.maxSum >= kSumLimit) return q;
    const uint64_t top = r.bytesPerSample == 1 ? 255 : 65535;
    const uint64_t weight = q.columns.maxSum * q.rows.maxSum;  // both below 2^31
    q.applies = weight < kSumLimit && top * weight < kSumLimit;
    return q;
}

/// floor(s / w) as (s * multiplier) >> shift, for every s < 2^31 and a
/// divisor 0 < w < 2^31: with 2^l >= w > 2^(l-1), shift = 31 + l and
/// multiplier = ceil(2^shift / w) <= 2^32, so the product stays below 2^63;
/// the multiplier exceeds 2^shift / w by e / w with e < w <= 2^l, which adds
/// s * e / (w * 2^shift) < 1 / w to s / w, too little to reach the next
/// whole number. A zero divisor gives multiplier 0, so the quotient 0.
struct Divisor {
    uint64_t multiplier;
    uint32_t shift;

    uint32_t Divide(uint32_t s) const { return static_cast<uint32_t>((uint64_t{s} * multiplier) >> shift); }
};

Divisor DivisorOf(uint64_t w) {
    if (w == 0) return {0, 0};
    uint32_t l = 0;
    while ((uint64_t{1} << l) < w) ++l;
    const uint32_t shift = 31 + l;
    return {((uint64_t{1} << shift) + w - 1) / w, shift};
}

/// The column side, worked once per call. Destination column x reads the
/// taps [tapStart[x], tapStart[x + 1]) of `taps`: a column of the region
/// (counted from its left edge) and its numerator cx. Its numerators add up
/// to classSum[classOf[x]]: there are few distinct sums, so each row works out
/// a divisor per class rather than per column.
struct ColumnTaps {
    uint32_t column;
    uint32_t weight;
};

struct ExactPlan {
    uint32_t channels;
    const unsigned char* source;
    uint32_t sourceRowBytes;
    unsigned char* destination;
    uint32_t destinationRowBytes;
    uint32_t width;         // destination columns
    uint32_t regionWidth;   // source columns summed per row
    uint32_t firstColumn;   // the region's left edge
    uint32_t lastRow;       // repeated past the bottom edge
    Axis rows;
    double rowUnit;         // 2^B
    uint32_t boxTaps;       // > 0: column x is the plain sum of region columns [x * boxTaps, (x + 1) * boxTaps)
    const size_t* tapStart;
    const ColumnTaps* taps;
    const uint32_t* classOf;
    const uint32_t* classSum;
    uint32_t classes;
};

struct ExactBand {
    uint32_t* columnSums;  // regionWidth * channels: the footprint's rows summed, per source sample
    Divisor* divisors;     // per class
};

/// sums[i] = the sum over row y's footprint of ry * sample i of the row; a
/// row of weight 1 is added without the multiply. Returns the sum of the ry.
template <class T, uint32_t N>
uint32_t SumFootprintRows(const ExactPlan& p, uint32_t y, uint32_t* __restrict sums) {
    const size_t count = size_t{p.regionWidth} * N;
    const Footprint f = FootprintOf(y, p.rows.scale, p.rows.offset);
    uint32_t rowWeights = 0;
    bool first = true;
    for (double sy = f.firstPixel; sy < f.endPixel; sy += 1.0) {
        const auto ry = static_cast<uint32_t>(Coverage(sy, f.start, f.end) * p.rowUnit);
        rowWeights += ry;
        const unsigned char* row = RowAt(p.source, ClampToLast(sy, p.lastRow), p.sourceRowBytes) +
                                   static_cast<size_t>(p.firstColumn * N) * sizeof(T);
        if (first && ry == 1) {
            for (size_t i = 0; i < count; ++i) sums[i] = LoadSample<T>(row, static_cast<uint32_t>(i));
        } else if (first) {
            for (size_t i = 0; i < count; ++i) sums[i] = ry * LoadSample<T>(row, static_cast<uint32_t>(i));
        } else if (ry == 1) {
            for (size_t i = 0; i < count; ++i) sums[i] += LoadSample<T>(row, static_cast<uint32_t>(i));
        } else {
            for (size_t i = 0; i < count; ++i) sums[i] += ry * LoadSample<T>(row, static_cast<uint32_t>(i));
        }
        first = false;
    }
    if (first) std::fill(sums, sums + count, 0u);
    return rowWeights;
}

template <class T, uint32_t N>
void ExactRows(const ExactPlan& p, uint32_t firstRow, uint32_t endRow, const ExactBand& m) {
    const uint32_t* const sums = m.columnSums;
    for (uint32_t y = firstRow; y < endRow; ++y) {
        const uint32_t rowWeights = SumFootprintRows<T, N>(p, y, m.columnSums);
        for (uint32_t k = 0; k < p.classes; ++k) m.divisors[k] = DivisorOf(uint64_t{p.classSum[k]} * rowWeights);
        unsigned char* const destinationRow = RowAt(p.destination, y, p.destinationRowBytes);
        if (p.boxTaps > 0) {
            const Divisor divisor = m.divisors[0];
            const size_t k = p.boxTaps;
            for (size_t x = 0; x < p.width; ++x) {
                const uint32_t* box = sums + x * k * N;
                T pixel[N];
                for (uint32_t c = 0; c < N; ++c) {
                    uint32_t s = 0;
                    for (size_t j = 0; j < k; ++j) s += box[j * N + c];
                    pixel[c] = static_cast<T>(divisor.Divide(s));
                }
                std::memcpy(destinationRow + x * N * sizeof(T), pixel, sizeof pixel);
            }
            continue;
        }
        for (size_t x = 0; x < p.width; ++x) {
            uint32_t s[N] = {};
            for (size_t t = p.tapStart[x]; t < p.tapStart[x + 1]; ++t) {
                const uint32_t* at = sums + size_t{p.taps[t].column} * N;
                for (uint32_t c = 0; c < N; ++c) s[c] += p.taps[t].weight * at[c];
            }
            const Divisor divisor = m.divisors[p.classOf[x]];
            T pixel[N];
            for (uint32_t c = 0; c < N; ++c) pixel[c] = static_cast<T>(divisor.Divide(s[c]));
            std::memcpy(destinationRow + x * N * sizeof(T), pixel, sizeof pixel);
        }
    }
}

template <class T>
void ExactRowsOfWidth(const ExactPlan& p, uint32_t firstRow, uint32_t endRow, const ExactBand& m) {
    switch (p.channels) {
        case 1: return ExactRows<T, 1>(p, firstRow, endRow, m);
        case 2: return ExactRows<T, 2>(p, firstRow, endRow, m);
        case 3: return ExactRows<T, 3>(p, firstRow, endRow, m);
        case 4: return ExactRows<T, 4>(p, firstRow, endRow, m);
        default: return;
    }
}

}  // namespace

bool ExactSumsApply(const Request& r) { return Qualify(r).applies; }

bool SuperSampleExactly(const Request& r) {
    const Qualified q = Qualify(r);
    if (!q.applies) return false;
    const Axis columns = ColumnsOf(r);
    const uint32_t width = columns.count;
    const double columnUnit = std::ldexp(1.0, static_cast<int>(q.columns.bits));

    size_t tapCount = 0;
    columns.ForEachTap([&tapCount](uint32_t, double, double) { ++tapCount; });
    const WorkArray<size_t> tapStart = MakeWorkArray<size_t>(size_t{width} + 1);
    const WorkArray<ColumnTaps> taps = MakeWorkArray<ColumnTaps>(std::max<size_t>(tapCount, 1));
    const WorkArray<uint32_t> classes = MakeWorkArray<uint32_t>(2 * size_t{width});
    if (!tapStart || !taps || !classes) return false;

    // Taps past the right edge read the last column again.
    const uint32_t lastColumn = r.region.width - 1;
    const double firstColumn = static_cast<double>(r.region.x);
    uint32_t* const classOf = classes.get();
    uint32_t* const classSum = classOf + width;
    size_t t = 0;
    columns.ForEachTap([&](uint32_t x, double sx, double fraction) {
        taps[t++] = {ClampToLast(sx - firstColumn, lastColumn), static_cast<uint32_t>(fraction * columnUnit)};
        tapStart[x + 1] = t;
        classOf[x] += taps[t - 1].weight;  // the column's sum, for now
    });
    for (uint32_t x = 0; x < width; ++x) tapStart[x + 1] = std::max(tapStart[x + 1], tapStart[x]);

    // Equal footprints of whole columns side by side: plain box sums.
    const size_t box = tapCount / width;
    bool boxes = q.columns.bits == 0 && box * width == tapCount;
    for (size_t i = 0; boxes && i < tapCount; ++i) boxes = taps[i].column == i && taps[i].weight == 1;

    // The distinct column sums, then each column's index among them.
    std::copy(classOf, classOf + width, classSum);
    std::sort(classSum, classSum + width);
    const auto classCount = static_cast<uint32_t>(std::unique(classSum, classSum + width) - classSum);
    for (uint32_t x = 0; x < width; ++x)
        classOf[x] = static_cast<uint32_t>(std::lower_bound(classSum, classSum + classCount, classOf[x]) - classSum);

    const auto rows = static_cast<uint32_t>(r.destinationSize.height);
    const uint64_t sourceBytes = uint64_t{r.region.width} * r.region.height * r.channels * r.bytesPerSample;
    const RowBands bands(rows, sourceBytes);
    const size_t sumsPerBand = size_t{r.region.width} * r.channels;
    const WorkArray<uint32_t> columnSums = MakeWorkArray<uint32_t>(sumsPerBand * bands.count());
    const WorkArray<Divisor> divisors = MakeWorkArray<Divisor>(size_t{classCount} * bands.count());
    if (!columnSums || !divisors) return false;

    const ExactPlan plan{r.channels,
                         r.source,
                         r.sourceRowBytes,
                         r.destination,
                         r.destinationRowBytes,
                         width,
                         r.region.width,
                         static_cast<uint32_t>(r.region.x),
                         static_cast<uint32_t>(r.region.y) + r.region.height - 1,
                         RowsOf(r),
                         std::ldexp(1.0, static_cast<int>(q.rows.bits)),
                         boxes ? static_cast<uint32_t>(box) : 0,
                         tapStart.get(),
                         taps.get(),
                         classOf,
                         classSum,
                         classCount};
    bands.Run([&](uint32_t band, uint32_t firstRow, uint32_t endRow) {
        const ExactBand memory{columnSums.get() + band * sumsPerBand, divisors.get() + size_t{band} * classCount};
        if (r.bytesPerSample == 1) {
            ExactRowsOfWidth<uint8_t>(plan, firstRow, endRow, memory);
        } else {
            ExactRowsOfWidth<uint16_t>(plan, firstRow, endRow, memory);
        }
    });
    return true;
}

}  // namespace lumo::supersampling
