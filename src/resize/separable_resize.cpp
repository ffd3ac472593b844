// The fused band engine of the interpolating resizes; see separable_resize.h.
//
// The column pass (between rows) is vectorised across output samples: the
// samples of one destination row are independent, and each keeps its own sum
// of `taps` products in the fixed order, multiplied and added separately
// (never fused). 8- and 16-bit samples convert to double and back exactly
// (every such integer is a double), so a lane computes what the scalar loop
// computes.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "resize/separable_resize.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "pool/thread_pool.h"
#include "resize/sample_access.h"
#include "resize/separable_resize.h"

HWY_BEFORE_NAMESPACE();
namespace lumo {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// One destination row from the `Taps` intermediate rows `rows`:
/// sample e = ((rows[0][e] * w[0] + rows[1][e] * w[1]) + ...), clamped to the
/// sample range and truncated. `out` need not be aligned for T.
template <class T, size_t Taps>
HWY_INLINE void BlendRowsT(const T* const* rows, const double* weights, uint32_t count, unsigned char* out) {
    uint32_t e = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<double> d;
    const hn::Rebind<int32_t, decltype(d)> di;
    const hn::Rebind<T, decltype(d)> dt;
    const hn::Repartition<uint8_t, decltype(dt)> dbytes;
    using V = hn::Vec<decltype(d)>;
    const size_t lanes = hn::Lanes(d);
    V w[Taps];
    for (size_t k = 0; k < Taps; ++k) w[k] = hn::Set(d, weights[k]);
    const V zero = hn::Zero(d);
    const V top = hn::Set(d, kSampleMax<T>);
    for (; e + lanes <= count; e += static_cast<uint32_t>(lanes)) {
        V v = hn::Mul(hn::PromoteTo(d, hn::PromoteTo(di, hn::LoadU(dt, rows[0] + e))), w[0]);
        for (size_t k = 1; k < Taps; ++k) {
            v = hn::Add(v, hn::Mul(hn::PromoteTo(d, hn::PromoteTo(di, hn::LoadU(dt, rows[k] + e))), w[k]));
        }
        // No sum is NaN (finite samples, finite weights), so Max then Min
        // clamps exactly as the two comparisons of ClampTruncate do; the
        // conversion then truncates toward zero.
        v = hn::Min(hn::Max(v, zero), top);
        const auto samples = hn::DemoteTo(dt, hn::DemoteTo(di, v));
        hn::StoreU(hn::BitCast(dbytes, samples), dbytes, out + static_cast<size_t>(e) * sizeof(T));
    }
#endif
    for (; e < count; ++e) {
        double v = static_cast<double>(rows[0][e]) * weights[0];
        for (size_t k = 1; k < Taps; ++k) v = v + static_cast<double>(rows[k][e]) * weights[k];
        StoreSample<T>(out, e, ClampTruncate<T>(v));
    }
}

void BlendRows8x2(const uint8_t* const* rows, const double* weights, uint32_t count, unsigned char* out) {
    BlendRowsT<uint8_t, 2>(rows, weights, count, out);
}
void BlendRows8x4(const uint8_t* const* rows, const double* weights, uint32_t count, unsigned char* out) {
    BlendRowsT<uint8_t, 4>(rows, weights, count, out);
}
void BlendRows16x2(const uint16_t* const* rows, const double* weights, uint32_t count, unsigned char* out) {
    BlendRowsT<uint16_t, 2>(rows, weights, count, out);
}
void BlendRows16x4(const uint16_t* const* rows, const double* weights, uint32_t count, unsigned char* out) {
    BlendRowsT<uint16_t, 4>(rows, weights, count, out);
}

}  // namespace HWY_NAMESPACE
}  // namespace lumo
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lumo {

HWY_EXPORT(BlendRows8x2);
HWY_EXPORT(BlendRows8x4);
HWY_EXPORT(BlendRows16x2);
HWY_EXPORT(BlendRows16x4);

namespace {

template <class T>
using BlendRowsFn = void (*)(const T* const*, const double*, uint32_t, unsigned char*);

/// The row blend of the best target this processor runs (or the one a test forced).
template <class T, uint32_t Taps>
BlendRowsFn<T> ChosenBlendRows() {
    if constexpr (sizeof(T) == 1) {
        return Taps == 2 ? &HWY_DYNAMIC_DISPATCH(BlendRows8x2) : &HWY_DYNAMIC_DISPATCH(BlendRows8x4);
    } else {
        return Taps == 2 ? &HWY_DYNAMIC_DISPATCH(BlendRows16x2) : &HWY_DYNAMIC_DISPATCH(BlendRows16x4);
    }
}

/// One input row resampled along the row to the destination width: sample
/// (x, c) = ((s0 * w0 + s1 * w1) + ...) over the taps of column x, clamped and
/// truncated. `Channels` is the channel count when known at compile time, 0
/// otherwise.
template <class T, uint32_t Taps, uint32_t Channels>
void ResampleRow(const unsigned char* input, T* out, uint32_t channels, uint32_t width, const uint32_t* columnTaps,
                 const double* columnWeights) {
    const uint32_t n = Channels != 0 ? Channels : channels;
    for (uint32_t x = 0; x < width; ++x) {
        const uint32_t* tap = columnTaps + static_cast<size_t>(x) * Taps;
        const double* w = columnWeights + static_cast<size_t>(x) * Taps;
        uint32_t first[Taps];
        for (uint32_t k = 0; k < Taps; ++k) first[k] = tap[k] * n;
        for (uint32_t c = 0; c < n; ++c) {
            double v = static_cast<double>(LoadSample<T>(input, first[0] + c)) * w[0];
            for (uint32_t k = 1; k < Taps; ++k) v = v + static_cast<double>(LoadSample<T>(input, first[k] + c)) * w[k];
            out[static_cast<size_t>(x) * n + c] = ClampTruncate<T>(v);
        }
    }
}

template <class T>
using ResampleRowFn = void (*)(const unsigned char*, T*, uint32_t, uint32_t, const uint32_t*, const double*);

template <class T, uint32_t Taps>
ResampleRowFn<T> ChosenResampleRow(uint32_t channels) {
    switch (channels) {
        case 1: return ResampleRow<T, Taps, 1>;
        case 2: return ResampleRow<T, Taps, 2>;
        case 3: return ResampleRow<T, Taps, 3>;
        case 4: return ResampleRow<T, Taps, 4>;
        default: return ResampleRow<T, Taps, 0>;
    }
}

/// Destination rows [first, last) of the job, with a ring of Taps rows of
/// `rowSamples` samples.
template <class T, uint32_t Taps>
void RunBand(const SeparableJob& job, T* ring, uint32_t first, uint32_t last) {
    const uint32_t rowSamples = job.channels * job.width;
    const ResampleRowFn<T> resampleRow = ChosenResampleRow<T, Taps>(job.channels);
    const BlendRowsFn<T> blendRows = ChosenBlendRows<T, Taps>();
    uint32_t held[Taps];
    for (uint32_t& r : held) r = std::numeric_limits<uint32_t>::max();  // no row index reaches 2^32 - 1 rows
    for (uint32_t y = first; y < last; ++y) {
        const uint32_t* tap = job.rowTaps + static_cast<size_t>(y) * Taps;
        const T* rows[Taps];
        for (uint32_t k = 0; k < Taps; ++k) {
            const uint32_t row = tap[k];
            T* slot = ring + static_cast<size_t>(row % Taps) * rowSamples;
            if (held[row % Taps] != row) {
                resampleRow(RowAt(job.source, row, job.sourceRowBytes), slot, job.channels, job.width,
                            job.columnTaps, job.columnWeights);
                held[row % Taps] = row;
            }
            rows[k] = slot;
        }
        blendRows(rows, job.rowWeights + static_cast<size_t>(y) * Taps, rowSamples,
                  RowAt(job.destination, y, job.destinationRowBytes));
    }
}

template <class T>
void RunSeparableT(const SeparableJob& job, T* ring, uint32_t bands) {
    if (job.width == 0 || job.height == 0 || bands == 0) return;
    const size_t ringSamples = static_cast<size_t>(job.taps) * job.channels * job.width;
    const uint32_t height = job.height;
    parallel_for<int32_t>(0, static_cast<int32_t>(bands), 1, [&](int32_t band) {
        const auto b = static_cast<uint64_t>(band);
        const auto first = static_cast<uint32_t>(b * height / bands);
        const auto last = static_cast<uint32_t>((b + 1) * height / bands);
        T* bandRing = ring + static_cast<size_t>(b) * ringSamples;
        if (job.taps == 2) {
            RunBand<T, 2>(job, bandRing, first, last);
        } else {
            RunBand<T, 4>(job, bandRing, first, last);
        }
    });
}

}  // namespace

uint32_t SeparableBandCount(const SeparableJob& job) {
    if (job.width == 0 || job.height == 0) return 0;
    const int threads = HoldPool()->threadCount();
    return std::clamp<uint32_t>(threads < 1 ? 1u : static_cast<uint32_t>(threads), 1u, job.height);
}

std::size_t SeparableRingSamples(const SeparableJob& job, uint32_t bands) {
    // Kept below SIZE_MAX / 2 so that the byte count of 16-bit samples cannot
    // wrap either; a count at the limit is one no allocator can meet.
    constexpr std::size_t kLimit = std::numeric_limits<std::size_t>::max() / 2;
    std::size_t samples = 1;
    for (const std::size_t f : {std::size_t{job.taps}, std::size_t{job.channels}, std::size_t{job.width},
                                std::size_t{bands}}) {
        if (f != 0 && samples > kLimit / f) return kLimit;
        samples *= f;
    }
    return samples;
}

void RunSeparable8(const SeparableJob& job, uint8_t* ring, uint32_t bands) { RunSeparableT(job, ring, bands); }
void RunSeparable16(const SeparableJob& job, uint16_t* ring, uint32_t bands) { RunSeparableT(job, ring, bands); }

}  // namespace lumo
#endif  // HWY_ONCE
