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
// and shift (DivisorOf). The row sums and, for equal boxes of whole columns,
// the column sums and divisions run in vectors (runtime dispatch).
#include "resize/supersampling_exact.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/work_memory.h"
#include "platform/kernel_choice.h"
#include "resize/row_bands.h"
#include "resize/sample_access.h"
#include "resize/supersampling_exact_plan.h"
#include "resize/supersampling_plan.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "resize/supersampling_exact.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace lumo::supersampling {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D32 = hn::ScalableTag<uint32_t>;

/// sums[i] = ry * sample i of `row` (kFirst) or sums[i] + ry * sample i.
/// sums[i] = ra * sample i of row a + rb * sample i of row b, plus sums[i]
/// unless kFirst. Two rows at a time halve the passes over the sums.
template <class T, bool kFirst, bool kWeighted>
HWY_INLINE void AddRows(const unsigned char* a, uint32_t ra, const unsigned char* b, uint32_t rb, size_t count,
                        uint32_t* HWY_RESTRICT sums) {
    const D32 d;
    const hn::Rebind<T, D32> dt;
    const auto* samplesA = reinterpret_cast<const T*>(a);
    const auto* samplesB = reinterpret_cast<const T*>(b);
    const auto weightA = hn::Set(d, ra);
    const auto weightB = hn::Set(d, rb);
    const size_t lanes = hn::Lanes(d);
    size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        auto va = hn::PromoteTo(d, hn::LoadU(dt, samplesA + i));
        auto vb = hn::PromoteTo(d, hn::LoadU(dt, samplesB + i));
        if constexpr (kWeighted) {
            va = hn::Mul(va, weightA);
            vb = hn::Mul(vb, weightB);
        }
        auto v = hn::Add(va, vb);
        if constexpr (!kFirst) v = hn::Add(v, hn::LoadU(d, sums + i));
        hn::StoreU(v, d, sums + i);
    }
    for (; i < count; ++i) {
        const uint32_t v =
            ra * LoadSample<T>(a, static_cast<uint32_t>(i)) + rb * LoadSample<T>(b, static_cast<uint32_t>(i));
        sums[i] = kFirst ? v : sums[i] + v;
    }
}

template <class T>
void AddRowsOf(bool first, const unsigned char* a, uint32_t ra, const unsigned char* b, uint32_t rb, size_t count,
               uint32_t* sums) {
    const bool weighted = ra != 1 || rb != 1;
    if (first) {
        weighted ? AddRows<T, true, true>(a, ra, b, rb, count, sums) : AddRows<T, true, false>(a, ra, b, rb, count, sums);
    } else {
        weighted ? AddRows<T, false, true>(a, ra, b, rb, count, sums)
                 : AddRows<T, false, false>(a, ra, b, rb, count, sums);
    }
}

/// sums[i] = the sum over row y's footprint of ry * sample i of the row.
/// Returns the sum of the ry.
template <class T>
uint32_t SumFootprintRows(const ExactPlan& p, uint32_t y, uint32_t* HWY_RESTRICT sums) {
    const size_t count = size_t{p.regionWidth} * p.channels;
    const Footprint f = FootprintOf(y, p.rowScale, p.rowOffset);
    uint32_t rowWeights = 0;
    bool first = true;
    const unsigned char* pending = nullptr;  // a row waiting for a partner
    uint32_t pendingWeight = 0;
    for (double sy = f.firstPixel; sy < f.endPixel; sy += 1.0) {
        const auto ry = static_cast<uint32_t>(Coverage(sy, f.start, f.end) * p.rowUnit);
        rowWeights += ry;
        const unsigned char* row = RowAt(p.source, ClampToLast(sy, p.lastRow), p.sourceRowBytes) +
                                   static_cast<size_t>(p.firstColumn * p.channels) * sizeof(T);
        if (pending == nullptr) {
            pending = row;
            pendingWeight = ry;
            continue;
        }
        AddRowsOf<T>(first, pending, pendingWeight, row, ry, count, sums);
        pending = nullptr;
        first = false;
    }
    // A row left over counts once: its partner is itself with weight 0.
    if (pending != nullptr) {
        AddRowsOf<T>(first, pending, pendingWeight, pending, 0, count, sums);
        first = false;
    }
    if (first) std::fill(sums, sums + count, 0u);
    return rowWeights;
}

/// floor(s / w) in every lane, as Divisor::Divide: the 64-bit products of
/// the even and of the odd lanes, shifted, and put back together (each
/// quotient is below 2^16).
template <class D>
HWY_INLINE hn::Vec<D> DivideLanes(D d, hn::Vec<D> s, Divisor divisor) {
#if HWY_TARGET == HWY_SCALAR
    return hn::Set(d, divisor.Divide(hn::GetLane(s)));
#else
    const hn::Repartition<uint64_t, D> d64;
    const auto multiplier = hn::Set(d, divisor.multiplier);
    const int shift = static_cast<int>(divisor.shift);
    const auto even = hn::ShiftRightSame(hn::MulEven(s, multiplier), shift);
    const auto oddLanes = hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(d64, s)));
    const auto odd = hn::ShiftRightSame(hn::MulEven(oddLanes, multiplier), shift);
    return hn::BitCast(d, hn::Or(even, hn::ShiftLeft<32>(odd)));
#endif
}

/// Box sums of K whole columns side by side (K = 0: p.boxTaps of them), in
/// the order of the destination samples.
template <uint32_t N, size_t K>
void BoxSums(const ExactPlan& p, const uint32_t* HWY_RESTRICT sums, uint32_t* HWY_RESTRICT out) {
    const size_t taps = K != 0 ? K : p.boxTaps;
    for (size_t x = 0; x < p.width; ++x) {
        const uint32_t* box = sums + x * taps * N;
        for (uint32_t c = 0; c < N; ++c) {
            uint32_t s = box[c];
            for (size_t j = 1; j < taps; ++j) s += box[j * N + c];
            out[x * N + c] = s;
        }
    }
}

template <uint32_t N>
void BoxSumsOfTaps(const ExactPlan& p, const uint32_t* sums, uint32_t* out) {
    switch (p.boxTaps) {
        case 1: return BoxSums<N, 1>(p, sums, out);
        case 2: return BoxSums<N, 2>(p, sums, out);
        case 3: return BoxSums<N, 3>(p, sums, out);
        case 4: return BoxSums<N, 4>(p, sums, out);
        default: return BoxSums<N, 0>(p, sums, out);
    }
}

/// A destination row of equal boxes: the box sums, then all divided by the
/// same divisor and stored as consecutive samples.
template <class T>
void BoxRow(const ExactPlan& p, const ExactBand& m, unsigned char* destinationRow) {
    switch (p.channels) {
        case 1: BoxSumsOfTaps<1>(p, m.columnSums, m.boxSums); break;
        case 2: BoxSumsOfTaps<2>(p, m.columnSums, m.boxSums); break;
        case 3: BoxSumsOfTaps<3>(p, m.columnSums, m.boxSums); break;
        case 4: BoxSumsOfTaps<4>(p, m.columnSums, m.boxSums); break;
        default: return;
    }
    const D32 d;
    const hn::Rebind<int32_t, D32> di;
    const hn::Rebind<T, D32> dt;
    const Divisor divisor = m.divisors[0];
    const uint32_t* const boxSums = m.boxSums;
    const size_t count = size_t{p.width} * p.channels;
    auto* out = reinterpret_cast<T*>(destinationRow);
    const size_t lanes = hn::Lanes(d);
    size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto q = hn::BitCast(di, DivideLanes(d, hn::LoadU(d, boxSums + i), divisor));
        hn::StoreU(hn::DemoteTo(dt, q), dt, out + i);
    }
    for (; i < count; ++i)
        StoreSample<T>(destinationRow, static_cast<uint32_t>(i), static_cast<T>(divisor.Divide(boxSums[i])));
}

/// A destination row of any footprints: each column's taps weighted by their
/// numerators. Pixels of 3 or 4 samples are worked as one vector of 4 (the
/// column sums carry a spare entry at their end for the fourth lane of the
/// last pixel of 3).
template <class T, uint32_t N>
void TapRow(const ExactPlan& p, const uint32_t* sums, const Divisor* divisors, unsigned char* destinationRow) {
#if HWY_TARGET != HWY_SCALAR
    if constexpr (N >= 3) {
        const hn::Full128<uint32_t> d;
        for (size_t x = 0; x < p.width; ++x) {
            auto s = hn::Zero(d);
            for (size_t t = p.tapStart[x]; t < p.tapStart[x + 1]; ++t) {
                const auto samples = hn::LoadU(d, sums + size_t{p.taps[t].column} * N);
                s = hn::Add(s, hn::Mul(hn::Set(d, p.taps[t].weight), samples));
            }
            alignas(16) uint32_t q[4];
            hn::Store(DivideLanes(d, s, divisors[p.classOf[x]]), d, q);
            T pixel[N];
            for (uint32_t c = 0; c < N; ++c) pixel[c] = static_cast<T>(q[c]);
            std::memcpy(destinationRow + x * N * sizeof(T), pixel, sizeof pixel);
        }
        return;
    }
#endif
    for (size_t x = 0; x < p.width; ++x) {
        uint32_t s[N] = {};
        for (size_t t = p.tapStart[x]; t < p.tapStart[x + 1]; ++t) {
            const uint32_t* at = sums + size_t{p.taps[t].column} * N;
            for (uint32_t c = 0; c < N; ++c) s[c] += p.taps[t].weight * at[c];
        }
        const Divisor divisor = divisors[p.classOf[x]];
        T pixel[N];
        for (uint32_t c = 0; c < N; ++c) pixel[c] = static_cast<T>(divisor.Divide(s[c]));
        std::memcpy(destinationRow + x * N * sizeof(T), pixel, sizeof pixel);
    }
}

template <class T>
void TapRowOfWidth(const ExactPlan& p, const uint32_t* sums, const Divisor* divisors, unsigned char* row) {
    switch (p.channels) {
        case 1: return TapRow<T, 1>(p, sums, divisors, row);
        case 2: return TapRow<T, 2>(p, sums, divisors, row);
        case 3: return TapRow<T, 3>(p, sums, divisors, row);
        case 4: return TapRow<T, 4>(p, sums, divisors, row);
        default: return;
    }
}

template <class T>
void Rows(const ExactPlan& p, uint32_t firstRow, uint32_t endRow, const ExactBand& m) {
    for (uint32_t y = firstRow; y < endRow; ++y) {
        const uint32_t rowWeights = SumFootprintRows<T>(p, y, m.columnSums);
        for (uint32_t k = 0; k < p.classes; ++k) m.divisors[k] = DivisorOf(uint64_t{p.classSum[k]} * rowWeights);
        unsigned char* const destinationRow = RowAt(p.destination, y, p.destinationRowBytes);
        if (p.boxTaps > 0) {
            BoxRow<T>(p, m, destinationRow);
        } else {
            TapRowOfWidth<T>(p, m.columnSums, m.divisors, destinationRow);
        }
    }
}

void ExactRows(const ExactPlan& p, uint32_t firstRow, uint32_t endRow, const ExactBand& m) {
    if (p.bytesPerSample == 1) {
        Rows<uint8_t>(p, firstRow, endRow, m);
    } else {
        Rows<uint16_t>(p, firstRow, endRow, m);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace lumo::supersampling
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lumo::supersampling {

HWY_EXPORT(ExactRows);

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

    /// Calls f(i, s, fraction) for every tap s of every footprint i, in
    /// order, until f returns false.
    template <class F>
    void ForEachTap(const F& f) const {
        for (uint32_t i = 0; i < count; ++i) {
            const Footprint footprint = FootprintOf(i, scale, offset);
            for (double s = footprint.firstPixel; s < footprint.endPixel; s += 1.0)
                if (!f(i, s, Coverage(s, footprint.start, footprint.end))) return;
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
    // A call that does not qualify learns it at its first long fraction.
    axis.ForEachTap([&w](uint32_t, double, double fraction) {
        w.bits = std::max(w.bits, FractionBits(fraction));
        return w.bits != kTooFine;
    });
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
        return true;
    });
    w.maxSum = std::max(w.maxSum, sum);
    return w;
}

Axis ColumnsOf(const ResizeRequest& r) {
    return {r.destination.size.width, static_cast<double>(r.destination.size.width) / static_cast<double>(r.region.width),
            static_cast<double>(r.region.x)};
}

Axis RowsOf(const ResizeRequest& r) {
    return {r.destination.size.height,
            static_cast<double>(r.destination.size.height) / static_cast<double>(r.region.height),
            static_cast<double>(r.region.y)};
}

struct Qualified {
    bool applies = false;
    AxisWeights columns, rows;
};

Qualified Qualify(const ResizeRequest& r) {
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

}  // namespace

bool ExactSumsApply(const ResizeRequest& r) { return Qualify(r).applies; }

bool SuperSampleExactly(const ResizeRequest& r) {
    const Qualified q = Qualify(r);
    if (!q.applies) return false;
    const Axis columns = ColumnsOf(r);
    const uint32_t width = columns.count;
    const double columnUnit = std::ldexp(1.0, static_cast<int>(q.columns.bits));

    size_t tapCount = 0;
    columns.ForEachTap([&tapCount](uint32_t, double, double) {
        ++tapCount;
        return true;
    });
    const WorkArray<size_t> tapStart = MakeWorkArray<size_t>(size_t{width} + 1);
    const WorkArray<ColumnTap> taps = MakeWorkArray<ColumnTap>(std::max<size_t>(tapCount, 1));
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
        return true;
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

    const auto rows = static_cast<uint32_t>(r.destination.size.height);
    const uint64_t sourceBytes = uint64_t{r.region.width} * r.region.height * r.channels * r.bytesPerSample;
    // In bytes of copying that take as long (RowBands): about 2 a source byte
    // for boxes, 8 for weighted footprints.
    const RowBands bands(rows, (boxes ? 2 : 8) * sourceBytes);
    const size_t columnSumsPerBand = size_t{r.region.width} * r.channels + 1;  // a spare for vectors of 4
    const size_t sumsPerBand = columnSumsPerBand + (boxes ? size_t{width} * r.channels : 0);
    const WorkArray<uint32_t> columnSums = MakeWorkArray<uint32_t>(sumsPerBand * bands.count());
    const WorkArray<Divisor> divisors = MakeWorkArray<Divisor>(size_t{classCount} * bands.count());
    if (!columnSums || !divisors) return false;

    const ExactPlan plan{CallOf(r),
                         r.region.width,
                         static_cast<uint32_t>(r.region.x),
                         std::ldexp(1.0, static_cast<int>(q.rows.bits)),
                         boxes ? static_cast<uint32_t>(box) : 0,
                         tapStart.get(),
                         taps.get(),
                         classOf,
                         classSum,
                         classCount};
    const auto exactRows = LUMO_DYNAMIC_DISPATCH(ExactRows);
    bands.Run([&](uint32_t band, uint32_t firstRow, uint32_t endRow) {
        uint32_t* const bandSums = columnSums.get() + band * sumsPerBand;
        const ExactBand memory{bandSums, bandSums + columnSumsPerBand, divisors.get() + size_t{band} * classCount};
        exactRows(plan, firstRow, endRow, memory);
    });
    return true;
}

}  // namespace lumo::supersampling
#endif  // HWY_ONCE
