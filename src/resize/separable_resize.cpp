// The fused band engine of the interpolating resizes; see separable_resize.h.
//
// Both passes are vectorised across output samples, never across taps: each
// lane holds one output sample and sums its own products in the scalar order,
// multiplying and adding separately (never fused). 8- and 16-bit samples
// convert to double and back exactly (every such integer is a double), and
// no sum is NaN (finite samples and weights), so Max then Min clamps exactly
// as the two comparisons of ClampTruncate do and the conversion truncates
// toward zero: a lane computes the bits the scalar loop computes. Every sum
// starts from its first product; the bilinear column pass was written as
// 0.0 + p0 * w0 + ..., and 0.0 + p differs from p only for p = -0.0, which
// becomes +0.0, and both clamp to the sample 0.
//
// The row pass works one destination pixel at a time, its channels in the
// lanes of a 4-lane vector (3- and 4-channel images, the common ones; two
// pixels per 8-lane vector on 512-bit targets): the four samples of a tap
// pixel are one small load, its weight one broadcast. Gathering taps across
// pixels instead measured slower on the processors at hand. The column pass
// reads its rows contiguously, a full vector at a time.
//
// 8-bit two-tap sums (bilinear) mostly run in float lanes, twice as many per
// vector, and only the vectors with a sum too close to a byte boundary are
// redone in double; two_tap_float.h shows why the bytes cannot differ.
// Exact 2x reductions need no floating point at all: their sums are byte
// means rounding down (halving_row.h).
//
// Which of these a call takes is decided once, by PlanSeparable, from the
// tap tables alone; the bands then run the band and row functions the plan
// picked, each the chosen target's, with no test of the strategy per row.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "resize/separable_resize.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "platform/kernel_choice.h"
#include "pool/thread_pool.h"
#include "resize/halving_row.h"
#include "resize/row_plan.h"
#include "resize/sample_access.h"
#include "resize/separable_resize.h"
#include "resize/separable_rows.h"
#include "resize/two_tap_float.h"

HWY_BEFORE_NAMESPACE();
namespace lumo {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Clamps each lane to the sample range and truncates it to T.
template <class T, class D>
HWY_INLINE auto ToSamples(D d, hn::Vec<D> v) {
    const hn::Rebind<int32_t, D> di;
    const hn::Rebind<T, D> dt;
    v = hn::Min(hn::Max(v, hn::Zero(d)), hn::Set(d, kSampleMax<T>));
    return hn::DemoteTo(dt, hn::DemoteTo(di, v));
}

/// The samples at `p` as doubles, one per lane of d.
template <class T, class D>
HWY_INLINE hn::Vec<D> LoadAsDouble(D d, const T* p) {
    const hn::Rebind<int32_t, D> di;
    const hn::Rebind<T, D> dt;
    return hn::PromoteTo(d, hn::PromoteTo(di, hn::LoadU(dt, p)));
}

#if HWY_TARGET != HWY_SCALAR
/// Float lanes `near` where a float sum may truncate to another byte than the
/// double sum: within kNearByte of an integer from 1 to 255.
template <class D>
HWY_INLINE auto NearByteBoundary(D d, hn::Vec<D> v) {
    const auto n = hn::Round(v);
    const auto close = hn::Lt(hn::Abs(hn::Sub(v, n)), hn::Set(d, kNearByte));
    return hn::And(close, hn::And(hn::Gt(n, hn::Set(d, 0.5f)), hn::Lt(n, hn::Set(d, 255.5f))));
}

/// Float sums clamped to the byte range and truncated, as int32 lanes.
template <class D>
HWY_INLINE auto FloatToInt(D d, hn::Vec<D> v) {
    const hn::RebindToSigned<D> di;
    return hn::ConvertTo(di, hn::Min(hn::Max(v, hn::Zero(d)), hn::Set(d, 255.0f)));
}

/// The two-tap sums of float lanes that hold whole samples (so widening them
/// to double is exact), rounded as the plain kernels round them, clamped and
/// truncated to int32 lanes: the low half of the lanes with the weights
/// `low0` and `low1`, the high half with `high0` and `high1`.
template <class D, class VD>
HWY_INLINE auto TwoTapInDouble(D d, hn::Vec<D> s0, hn::Vec<D> s1, VD low0, VD low1, VD high0, VD high1) {
    const hn::Half<D> dh;
    const hn::Rebind<double, decltype(dh)> dd;
    const hn::Rebind<int32_t, decltype(dd)> dhi;
    const hn::Twice<decltype(dhi)> di;
    (void)d;
    const auto half = [&](hn::Vec<decltype(dh)> a, hn::Vec<decltype(dh)> b, VD w0, VD w1) {
        const auto sum = hn::Add(hn::Mul(hn::PromoteTo(dd, a), w0), hn::Mul(hn::PromoteTo(dd, b), w1));
        return hn::DemoteTo(dhi, hn::Min(hn::Max(sum, hn::Zero(dd)), hn::Set(dd, 255.0)));
    };
    return hn::Combine(di, half(hn::UpperHalf(dh, s0), hn::UpperHalf(dh, s1), high0, high1),
                       half(hn::LowerHalf(dh, s0), hn::LowerHalf(dh, s1), low0, low1));
}

#endif

// A pixel per vector needs 4 double lanes, a 256-bit register: AVX2 and every
// x86 target above it. Scalable Arm vectors may be as narrow as 128 bits, so
// the comparison, whose bit order is x86's, is asked of x86 alone.
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
#define LUMO_PIXEL_LANES 1
#else
#define LUMO_PIXEL_LANES 0
#endif

/// Asks the cache for the bytes 1024 samples after `p`. The address may lie
/// past the row's end: it is formed as an integer and only ever prefetched,
/// which never faults.
template <class T>
HWY_INLINE void PrefetchAhead(const T* p) {
    constexpr uintptr_t kAhead = 1024 * sizeof(T);
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(p) + kAhead));
}

/// Input row pixels [x, end) resampled in double lanes (on targets without
/// 4-lane doubles, one sample at a time); returns the pixel reached. The
/// vector loops load 4 samples from every tap pixel (one past a 3-channel
/// pixel) and store 4 samples per destination pixel (for 3 channels, the
/// extra one is overwritten by the next pixel); the caller keeps `end` at or
/// below RowPlan::vectorColumns, so that neither leaves its row.
template <class T, uint32_t Taps, uint32_t Channels>
HWY_INLINE uint32_t ResamplePixelsDouble(const unsigned char* input, T* out, uint32_t x, uint32_t end,
                                         const uint32_t* taps, const double* weights) {
    if (end <= x) return x;
#if LUMO_PIXEL_LANES
    const hn::FixedTag<double, 4> d;
    const hn::Rebind<T, decltype(d)> dt;
    const T* in = reinterpret_cast<const T*>(input);
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
    // Two destination pixels per 8-lane vector, each in its own half: 512-bit
    // registers, AVX3 and the x86 targets above it.
    const hn::FixedTag<double, 8> d8;
    const hn::Rebind<int32_t, decltype(d8)> di8;
    const hn::Rebind<T, decltype(d8)> dt8;
    const hn::Rebind<T, decltype(d)> dt4;
    const auto pairTap = [&](const uint32_t* tap, const double* w, uint32_t k) {
        const auto first = hn::LoadU(dt4, in + static_cast<size_t>(tap[k]) * Channels);
        const auto second = hn::LoadU(dt4, in + static_cast<size_t>(tap[Taps + k]) * Channels);
        const auto samples = hn::PromoteTo(d8, hn::PromoteTo(di8, hn::Combine(dt8, second, first)));
        return hn::Mul(samples, hn::Combine(d8, hn::Set(d, w[Taps + k]), hn::Set(d, w[k])));
    };
    for (; x + 1 < end; x += 2) {
        const uint32_t* tap = taps + static_cast<size_t>(x) * Taps;
        const double* w = weights + static_cast<size_t>(x) * Taps;
        // The hardware prefetchers follow the two to four rows being read too
        // late when a reduction skips most of each row's bytes: asking for
        // the bytes some pixels ahead of the last tap saves about a fifth
        // of a large reduction's time.
        PrefetchAhead(in + static_cast<size_t>(tap[Taps - 1]) * Channels);
        auto v = pairTap(tap, w, 0);
        for (uint32_t k = 1; k < Taps; ++k) v = hn::Add(v, pairTap(tap, w, k));
        const auto samples = ToSamples<T>(d8, v);
        T* o = out + static_cast<size_t>(x) * Channels;
        if constexpr (Channels == 4) {
            hn::StoreU(samples, dt8, o);
        } else {
            hn::StoreU(hn::LowerHalf(dt4, samples), dt4, o);
            hn::StoreU(hn::UpperHalf(dt4, samples), dt4, o + Channels);
        }
    }
#endif
    for (; x < end; ++x) {
        const uint32_t* tap = taps + static_cast<size_t>(x) * Taps;
        const double* w = weights + static_cast<size_t>(x) * Taps;
        PrefetchAhead(in + static_cast<size_t>(tap[Taps - 1]) * Channels);
        auto v = hn::Mul(LoadAsDouble(d, in + static_cast<size_t>(tap[0]) * Channels), hn::Set(d, w[0]));
        for (uint32_t k = 1; k < Taps; ++k)
            v = hn::Add(v, hn::Mul(LoadAsDouble(d, in + static_cast<size_t>(tap[k]) * Channels), hn::Set(d, w[k])));
        hn::StoreU(ToSamples<T>(d, v), dt, out + static_cast<size_t>(x) * Channels);
    }
#else
    ResampleRowScalar<T, Taps, Channels>(input, out, Channels, x, end, taps, weights);
#endif
    return end;
}

#if HWY_TARGET != HWY_SCALAR
/// 8-bit two-tap pixels from x on in float lanes, 4 lanes per pixel (the
/// fourth of a 3-channel pixel has weights 0, so it never asks for a redo),
/// as many pixels per vector as fit (4 on 512-bit targets); returns the
/// pixel reached. A vector with a lane near a byte boundary is redone in
/// double (two_tap_float.h gives the bound).
template <uint32_t Channels>
HWY_INLINE uint32_t ResamplePixels8Float(const unsigned char* input, uint8_t* out, uint32_t x, uint32_t width,
                                         const RowPlan& plan, const uint32_t* taps) {
#if HWY_HAVE_SCALABLE
    // A scalable vector's lane count is known only at run time: one pixel
    // per vector, in its first 128 bits.
    const hn::FixedTag<float, 4> d;
    constexpr uint32_t kPixels = 1;
#else
    const hn::ScalableTag<float> d;
    constexpr uint32_t kPixels = HWY_LANES(float) / 4;
#endif
    static_assert(kPixels == 1 || kPixels == 2 || kPixels == 4);
    const hn::RebindToSigned<decltype(d)> di;
    const hn::Rebind<uint8_t, decltype(d)> du8;
    const hn::Repartition<uint32_t, decltype(du8)> du32;
    const hn::Rebind<double, hn::Half<decltype(d)>> dd;
    const size_t half = hn::Lanes(dd);
    const float* weights0 = plan.floatWeights;
    const float* weights1 = weights0 + static_cast<size_t>(width) * 4;
    const double* doubleWeights0 = plan.doubleWeights;
    const double* doubleWeights1 = doubleWeights0 + static_cast<size_t>(width) * 4;
    // Drops the fourth byte of every pixel.
    alignas(16) static constexpr uint8_t kPack3[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15};
    const auto pack = hn::LoadU(du8, kPack3);
    // A 3-channel store writes 4 bytes per pixel, the last pixel's extra ones
    // into the next kPixels / 3 pixels, which must exist and come later.
    const uint32_t end =
        Channels == 4 ? plan.vectorColumns : std::min(plan.vectorColumns, width >= 2 ? width - 2 : 0u);
    const auto pixelBits = [&](uint32_t column, uint32_t k) {
        uint32_t bits;
        std::memcpy(&bits, input + static_cast<size_t>(taps[static_cast<size_t>(column) * 2 + k]) * Channels, 4);
        return bits;
    };
    const auto tapLanes = [&](uint32_t k) {
        auto bits = hn::Set(du32, pixelBits(x, k));
        if constexpr (kPixels >= 2) bits = hn::InsertLane(bits, 1, pixelBits(x + 1, k));
        if constexpr (kPixels >= 4) {
            bits = hn::InsertLane(bits, 2, pixelBits(x + 2, k));
            bits = hn::InsertLane(bits, 3, pixelBits(x + 3, k));
        }
        return hn::ConvertTo(d, hn::PromoteTo(di, hn::BitCast(du8, bits)));
    };
    for (; x + kPixels <= end; x += kPixels) {
        // Every pixel asks for its own bytes ahead: in a strong reduction the
        // pixels of one vector lie more than a cache line apart.
        for (uint32_t j = 0; j < kPixels; ++j)
            PrefetchAhead(input + static_cast<size_t>(taps[static_cast<size_t>(x + j) * 2 + 1]) * Channels);
        const size_t at = static_cast<size_t>(x) * 4;
        const auto s0 = tapLanes(0);
        const auto s1 = tapLanes(1);
        const auto v = hn::Add(hn::Mul(s0, hn::LoadU(d, weights0 + at)), hn::Mul(s1, hn::LoadU(d, weights1 + at)));
        auto samples = FloatToInt(d, v);
        if (!plan.floatExact && !hn::AllFalse(d, NearByteBoundary(d, v))) {
            // The whole vector again in double, from the samples at hand (as
            // floats they are exact) and the double weights.
            samples = TwoTapInDouble(d, s0, s1, hn::LoadU(dd, doubleWeights0 + at), hn::LoadU(dd, doubleWeights1 + at),
                                     hn::LoadU(dd, doubleWeights0 + at + half),
                                     hn::LoadU(dd, doubleWeights1 + at + half));
        }
        auto bytes = hn::DemoteTo(du8, samples);
        if constexpr (Channels == 3) bytes = hn::TableLookupBytes(bytes, pack);
        hn::StoreU(bytes, du8, out + static_cast<size_t>(x) * Channels);
    }
    return x;
}
#endif

#if HWY_TARGET != HWY_SCALAR
/// (a + b) >> 1 in every byte lane, without widening: the shared bits plus
/// half of the differing ones.
template <class V>
HWY_INLINE V MeanRoundingDown(V a, V b) {
    return hn::Add(hn::And(a, b), hn::ShiftRight<1>(hn::Xor(a, b)));
}

/// The samples of an 8-bit row that halves exactly (halving_row.h), a step of
/// whole pixels per 16-byte store; returns the pixel reached. A store writes
/// 16 bytes, past the step's end, so it runs only while they lie in the row;
/// the loads of output sample e on end at input sample 2 * (e + step), below
/// 2 * (e + 16), so inside the input row, which has at least two input pixels
/// per output pixel.
HWY_INLINE uint32_t HalveRow8(const unsigned char* input, uint8_t* out, uint32_t channels, uint32_t width,
                              const uint8_t* lanes) {
    const hn::Full128<uint8_t> d;
    const uint32_t step = HalvingStep(channels);
    const uint32_t count = channels * width;
    const auto first0 = hn::LoadU(d, lanes);
    const auto first1 = hn::LoadU(d, lanes + 16);
    const auto second0 = hn::LoadU(d, lanes + 32);
    const auto second1 = hn::LoadU(d, lanes + 48);
    uint32_t e = 0;
    for (; e + 16 <= count; e += step) {
        const unsigned char* in = input + static_cast<size_t>(e) * 2;
        PrefetchAhead(in);
        const auto a = hn::LoadU(d, in);
        const auto b = hn::LoadU(d, in + 2 * step - 16);
        const auto s0 = hn::Or(hn::TableLookupBytesOr0(a, first0), hn::TableLookupBytesOr0(b, first1));
        const auto s1 = hn::Or(hn::TableLookupBytesOr0(a, second0), hn::TableLookupBytesOr0(b, second1));
        hn::StoreU(MeanRoundingDown(s0, s1), d, out + e);
    }
    return e / channels;
}
#endif

/// kDoubleLanes: one input row resampled along the row, a pixel per vector
/// up to the plan's vectorColumns, the rest in the plain loop.
template <class T, uint32_t Taps, uint32_t Channels>
HWY_INLINE void ResampleRowDouble(const unsigned char* input, T* out, const RowPlan& plan, const uint32_t* taps,
                                  const double* weights) {
    const uint32_t x = ResamplePixelsDouble<T, Taps, Channels>(input, out, 0, plan.vectorColumns, taps, weights);
    ResampleRowScalar<T, Taps, Channels>(input, out, Channels, x, plan.width, taps, weights);
}

/// kFloatLanes: double lanes up to floatFrom (the columns whose weights
/// exceed the float bound), float lanes from there, double lanes and the
/// plain loop for what the float vectors leave. Targets without vectors run
/// the plain loop, which computes the same bytes.
template <uint32_t Channels>
HWY_INLINE void ResampleRow8Float(const unsigned char* input, uint8_t* out, const RowPlan& plan, const uint32_t* taps,
                                  const double* weights) {
    uint32_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = ResamplePixelsDouble<uint8_t, 2, Channels>(input, out, x, std::min(plan.floatFrom, plan.vectorColumns), taps,
                                                   weights);
    x = ResamplePixels8Float<Channels>(input, out, x, plan.width, plan, taps);
#endif
    x = ResamplePixelsDouble<uint8_t, 2, Channels>(input, out, x, plan.vectorColumns, taps, weights);
    ResampleRowScalar<uint8_t, 2, Channels>(input, out, Channels, x, plan.width, taps, weights);
}

/// kHalving: byte shuffles, then the plain loop for the pixels past the last
/// whole 16-byte store.
HWY_INLINE void HalvingRow8(const unsigned char* input, uint8_t* out, const RowPlan& plan, const uint32_t* taps,
                             const double* weights) {
    uint32_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = HalveRow8(input, out, plan.channels, plan.width, plan.halvingLanes);
#endif
    ResampleRowScalar<uint8_t, 2, 0>(input, out, plan.channels, x, plan.width, taps, weights);
}

#if HWY_TARGET != HWY_SCALAR
/// An 8-bit destination row from two intermediate rows weighted 0.5 and 0.5:
/// byte means rounding down (halving_row.h).
HWY_INLINE void BlendRows8Halves(const uint8_t* const* rows, const double* weights, uint32_t count,
                                 unsigned char* out) {
    const hn::ScalableTag<uint8_t> d;
    const size_t lanes = hn::Lanes(d);
    const uint8_t* row0 = rows[0];
    const uint8_t* row1 = rows[1];
    uint32_t e = 0;
    for (; e + lanes <= count; e += static_cast<uint32_t>(lanes))
        hn::StoreU(MeanRoundingDown(hn::LoadU(d, row0 + e), hn::LoadU(d, row1 + e)), d, out + e);
    BlendRowsScalar<uint8_t, 2>(rows, weights, e, count, out);
}

/// An 8-bit destination row from two intermediate rows in float lanes (see
/// TwoTapFloat); lanes near a byte boundary are redone in double unless the
/// weights make the float sums exact.
HWY_INLINE void BlendRows8Float(const uint8_t* const* rows, const double* weights, uint32_t count, unsigned char* out,
                                bool exact) {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> di;
    const hn::Rebind<uint8_t, decltype(d)> du8;
    const size_t lanes = hn::Lanes(d);
    const auto w0 = hn::Set(d, static_cast<float>(weights[0]));
    const auto w1 = hn::Set(d, static_cast<float>(weights[1]));
    const hn::Rebind<double, hn::Half<decltype(d)>> dd;
    const auto doubleW0 = hn::Set(dd, weights[0]);
    const auto doubleW1 = hn::Set(dd, weights[1]);
    const uint8_t* row0 = rows[0];
    const uint8_t* row1 = rows[1];
    uint32_t e = 0;
    for (; e + lanes <= count; e += static_cast<uint32_t>(lanes)) {
        const auto a = hn::ConvertTo(d, hn::PromoteTo(di, hn::LoadU(du8, row0 + e)));
        const auto b = hn::ConvertTo(d, hn::PromoteTo(di, hn::LoadU(du8, row1 + e)));
        const auto v = hn::Add(hn::Mul(a, w0), hn::Mul(b, w1));
        auto samples = FloatToInt(d, v);
        if (!exact && !hn::AllFalse(d, NearByteBoundary(d, v)))
            samples = TwoTapInDouble(d, a, b, doubleW0, doubleW1, doubleW0, doubleW1);
        hn::StoreU(hn::DemoteTo(du8, samples), du8, out + e);
    }
    BlendRowsScalar<uint8_t, 2>(rows, weights, e, count, out);
}
#endif

/// One destination row from the `Taps` intermediate rows `rows`, a full
/// vector of samples at a time.
template <class T, uint32_t Taps>
HWY_INLINE void BlendRowsT(const T* const* rows, const double* weights, uint32_t count, unsigned char* out) {
    uint32_t e = 0;
#if HWY_TARGET != HWY_SCALAR
    if constexpr (sizeof(T) == 1 && Taps == 2) {
        if (HalvesPair(weights)) return BlendRows8Halves(rows, weights, count, out);
        const TwoTapFloat mode = TwoTapFloatMode(weights);
        if (mode != TwoTapFloat::kNo) return BlendRows8Float(rows, weights, count, out, mode == TwoTapFloat::kExact);
    }
    const hn::ScalableTag<double> d;
    const hn::Rebind<T, decltype(d)> dt;
    const hn::Repartition<uint8_t, decltype(dt)> dbytes;
    const size_t lanes = hn::Lanes(d);
    static_assert(Taps == 2 || Taps == 4);
    // The weights as named vectors (w2 and w3 unused for two taps): scalable
    // vectors have no size, so they cannot be array elements.
    const auto w0 = hn::Set(d, weights[0]);
    const auto w1 = hn::Set(d, weights[1]);
    const auto w2 = hn::Set(d, weights[Taps - 2]);
    const auto w3 = hn::Set(d, weights[Taps - 1]);
    const T* row[Taps];  // copied, so that the stores below need not reload them
    for (uint32_t k = 0; k < Taps; ++k) row[k] = rows[k];
    const auto blend = [&](uint32_t at) {
        auto v = hn::Mul(LoadAsDouble(d, row[0] + at), w0);
        v = hn::Add(v, hn::Mul(LoadAsDouble(d, row[1] + at), w1));
        if constexpr (Taps == 4) {
            v = hn::Add(v, hn::Mul(LoadAsDouble(d, row[2] + at), w2));
            v = hn::Add(v, hn::Mul(LoadAsDouble(d, row[3] + at), w3));
        }
        return v;
    };
    // Two vectors at a time narrow to samples together, which halves the
    // narrowing work per sample. Stored as bytes: a 16-bit destination row may
    // start at an odd address.
    const hn::Rebind<int32_t, decltype(d)> di;
    const hn::Twice<decltype(di)> di2;
    const hn::Rebind<T, decltype(di2)> dt2;
    const hn::Repartition<uint8_t, decltype(dt2)> dbytes2;
    const auto top = hn::Set(d, kSampleMax<T>);
    for (; e + 2 * lanes <= count; e += static_cast<uint32_t>(2 * lanes)) {
        const auto low = hn::DemoteTo(di, hn::Min(hn::Max(blend(e), hn::Zero(d)), top));
        const auto high = hn::DemoteTo(di, hn::Min(hn::Max(blend(e + static_cast<uint32_t>(lanes)), hn::Zero(d)), top));
        const auto samples = hn::DemoteTo(dt2, hn::Combine(di2, high, low));
        hn::StoreU(hn::BitCast(dbytes2, samples), dbytes2, out + static_cast<size_t>(e) * sizeof(T));
    }
    for (; e + lanes <= count; e += static_cast<uint32_t>(lanes)) {
        hn::StoreU(hn::BitCast(dbytes, ToSamples<T>(d, blend(e))), dbytes, out + static_cast<size_t>(e) * sizeof(T));
    }
#endif
    BlendRowsScalar<T, Taps>(rows, weights, e, count, out);
}

#define LUMO_ROW_KERNEL(Name, T, Call)                                                                      \
    void Name(const unsigned char* input, T* out, const RowPlan& plan, const uint32_t* taps,                    \
              const double* weights) {                                                                          \
        Call(input, out, plan, taps, weights);                                                                  \
    }
#define LUMO_SEPARABLE_ROW_KERNELS(Bits, Taps)                                                                  \
    LUMO_ROW_KERNEL(ResampleRow##Bits##x##Taps##Double3, uint##Bits##_t,                                        \
                    (ResampleRowDouble<uint##Bits##_t, Taps, 3>))                                              \
    LUMO_ROW_KERNEL(ResampleRow##Bits##x##Taps##Double4, uint##Bits##_t,                                        \
                    (ResampleRowDouble<uint##Bits##_t, Taps, 4>))                                              \
    void BlendRows##Bits##x##Taps(const uint##Bits##_t* const* rows, const double* weights, uint32_t count,    \
                                  unsigned char* out) {                                                         \
        BlendRowsT<uint##Bits##_t, Taps>(rows, weights, count, out);                                            \
    }
LUMO_SEPARABLE_ROW_KERNELS(8, 2)
LUMO_SEPARABLE_ROW_KERNELS(8, 4)
LUMO_SEPARABLE_ROW_KERNELS(16, 2)
LUMO_SEPARABLE_ROW_KERNELS(16, 4)
LUMO_ROW_KERNEL(ResampleRow8Float3, uint8_t, ResampleRow8Float<3>)
LUMO_ROW_KERNEL(ResampleRow8Float4, uint8_t, ResampleRow8Float<4>)
LUMO_ROW_KERNEL(ResampleRow8Halving, uint8_t, HalvingRow8)
#undef LUMO_SEPARABLE_ROW_KERNELS
#undef LUMO_ROW_KERNEL

/// Does nothing; called once through the dispatch table before the kernels
/// are taken, so that Highway settles its choice first (see SettleDispatch).
void SettleKernels() {}

/// A destination row of an exact 2x reduction straight from its two input
/// rows: the byte means of the means of each row's pixel pairs, which are
/// the samples the row pass would have put in the ring. Reading both input
/// rows in one loop keeps twice as many memory streams in flight.
void HalveRowPair8(const unsigned char* input0, const unsigned char* input1, uint32_t channels, uint32_t width,
                   const uint8_t* lanes, unsigned char* out) {
    const uint32_t count = channels * width;
    uint32_t e = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::Full128<uint8_t> d;
    const uint32_t step = HalvingStep(channels);
    const auto first0 = hn::LoadU(d, lanes);
    const auto first1 = hn::LoadU(d, lanes + 16);
    const auto second0 = hn::LoadU(d, lanes + 32);
    const auto second1 = hn::LoadU(d, lanes + 48);
    const auto rowMean = [&](const unsigned char* in) {
        PrefetchAhead(in);
        const auto a = hn::LoadU(d, in);
        const auto b = hn::LoadU(d, in + 2 * step - 16);
        const auto s0 = hn::Or(hn::TableLookupBytesOr0(a, first0), hn::TableLookupBytesOr0(b, first1));
        const auto s1 = hn::Or(hn::TableLookupBytesOr0(a, second0), hn::TableLookupBytesOr0(b, second1));
        return MeanRoundingDown(s0, s1);
    };
    // The loads and stores stay in their rows as in HalveRow8.
    for (; e + 16 <= count; e += step) {
        const size_t at = static_cast<size_t>(e) * 2;
        hn::StoreU(MeanRoundingDown(rowMean(input0 + at), rowMean(input1 + at)), d, out + e);
    }
#else
    (void)lanes;
#endif
    for (; e < count; ++e) {
        const size_t at = static_cast<size_t>(e / channels) * 2 * channels + e % channels;
        const uint32_t mean0 = (uint32_t{input0[at]} + input0[at + channels]) >> 1;
        const uint32_t mean1 = (uint32_t{input1[at]} + input1[at + channels]) >> 1;
        out[e] = static_cast<uint8_t>((mean0 + mean1) >> 1);
    }
}
#undef LUMO_PIXEL_LANES

}  // namespace HWY_NAMESPACE
}  // namespace lumo
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lumo {

HWY_EXPORT(ResampleRow8x2Double3);
HWY_EXPORT(ResampleRow8x2Double4);
HWY_EXPORT(ResampleRow8x4Double3);
HWY_EXPORT(ResampleRow8x4Double4);
HWY_EXPORT(ResampleRow16x2Double3);
HWY_EXPORT(ResampleRow16x2Double4);
HWY_EXPORT(ResampleRow16x4Double3);
HWY_EXPORT(ResampleRow16x4Double4);
HWY_EXPORT(ResampleRow8Float3);
HWY_EXPORT(ResampleRow8Float4);
HWY_EXPORT(ResampleRow8Halving);
HWY_EXPORT(BlendRows8x2);
HWY_EXPORT(BlendRows8x4);
HWY_EXPORT(BlendRows16x2);
HWY_EXPORT(BlendRows16x4);
HWY_EXPORT(HalveRowPair8);
HWY_EXPORT(SettleKernels);

namespace {

template <class T>
using ResampleRowFn = void (*)(const unsigned char*, T*, const RowPlan&, const uint32_t*, const double*);
template <class T>
using BlendRowsFn = void (*)(const T* const*, const double*, uint32_t, unsigned char*);
using HalveRowPairFn = void (*)(const unsigned char*, const unsigned char*, uint32_t, uint32_t, const uint8_t*,
                                unsigned char*);

/// The row pass of kPlain, the same for every target.
template <class T, uint32_t Taps, uint32_t Channels>
void ResampleRowPlain(const unsigned char* input, T* out, const RowPlan& plan, const uint32_t* taps,
                      const double* weights) {
    ResampleRowScalar<T, Taps, Channels>(input, out, plan.channels, 0, plan.width, taps, weights);
}

/// Makes the dispatch state name a target before kernels are taken from it.
/// Until Highway's first dispatch its state selects each table's first-call
/// entry, which asks the processor for its features and updates the state on
/// every call; one call through such an entry does what Highway does on its
/// first dispatch anyway, and the pointers taken after it are the target's
/// kernels themselves. A forced target is settled from the start.
void SettleDispatch() {
    if (!platform::DispatchTarget().IsInitialized()) LUMO_DYNAMIC_DISPATCH(SettleKernels)();
}

/// The row pass the plan's strategy picks, of the chosen target.
template <class T, uint32_t Taps>
ResampleRowFn<T> ChosenResampleRow(const RowPlan& plan) {
    const bool four = plan.channels == 4;
    if constexpr (sizeof(T) == 1 && Taps == 2) {
        if (plan.strategy == RowStrategy::kHalving) return &LUMO_DYNAMIC_DISPATCH(ResampleRow8Halving);
        if (plan.strategy == RowStrategy::kFloatLanes)
            return four ? &LUMO_DYNAMIC_DISPATCH(ResampleRow8Float4) : &LUMO_DYNAMIC_DISPATCH(ResampleRow8Float3);
    }
    if (plan.strategy == RowStrategy::kDoubleLanes) {
        if constexpr (sizeof(T) == 1 && Taps == 2) {
            return four ? &LUMO_DYNAMIC_DISPATCH(ResampleRow8x2Double4) : &LUMO_DYNAMIC_DISPATCH(ResampleRow8x2Double3);
        } else if constexpr (sizeof(T) == 1) {
            return four ? &LUMO_DYNAMIC_DISPATCH(ResampleRow8x4Double4) : &LUMO_DYNAMIC_DISPATCH(ResampleRow8x4Double3);
        } else if constexpr (Taps == 2) {
            return four ? &LUMO_DYNAMIC_DISPATCH(ResampleRow16x2Double4)
                        : &LUMO_DYNAMIC_DISPATCH(ResampleRow16x2Double3);
        } else {
            return four ? &LUMO_DYNAMIC_DISPATCH(ResampleRow16x4Double4)
                        : &LUMO_DYNAMIC_DISPATCH(ResampleRow16x4Double3);
        }
    }
    switch (plan.channels) {
        case 1: return &ResampleRowPlain<T, Taps, 1>;
        case 2: return &ResampleRowPlain<T, Taps, 2>;
        default: return &ResampleRowPlain<T, Taps, 0>;
    }
}

template <class T, uint32_t Taps>
BlendRowsFn<T> ChosenBlendRows() {
    if constexpr (sizeof(T) == 1) {
        return Taps == 2 ? &LUMO_DYNAMIC_DISPATCH(BlendRows8x2) : &LUMO_DYNAMIC_DISPATCH(BlendRows8x4);
    } else {
        return Taps == 2 ? &LUMO_DYNAMIC_DISPATCH(BlendRows16x2) : &LUMO_DYNAMIC_DISPATCH(BlendRows16x4);
    }
}

/// The one layout of the working block, for the allocation and for the
/// bands alike. Every factor is below 2^32, and each product is checked
/// against a limit far beyond any memory before it grows further.
WorkLayout SeparableLayout(const SeparableJob& job, uint32_t bytesPerSample, uint32_t bands, RowStrategy strategy) {
    constexpr uint64_t kLimit = uint64_t{1} << 48;
    WorkLayout layout{0, 0, bands, std::numeric_limits<std::size_t>::max()};
    const uint64_t rowSamples = uint64_t{job.channels} * job.width;
    if (rowSamples > kLimit) return layout;
    const uint64_t ring = job.taps * rowSamples * bytesPerSample;
    if (ring > kLimit / (uint64_t{bands} + 1)) return layout;
    // kFloatLanes: two taps of 4 lanes, as floats and as doubles, per
    // destination column (a multiple of 32); the width is below 2^48 here.
    const uint64_t table = strategy == RowStrategy::kFloatLanes
                               ? uint64_t{job.width} * 2 * 4 * (sizeof(float) + sizeof(double))
                               : 0;
    layout.tableBytes = static_cast<std::size_t>(table);
    layout.ringBytes = static_cast<std::size_t>(ring);
    layout.totalBytes = static_cast<std::size_t>(table + ring * bands);
    return layout;
}

/// Whether an 8-bit two-tap row pass of 3 or 4 channels should try float
/// lanes. Reducing by 4 or more, the taps of one vector's pixels lie cache
/// lines apart and the row pass waits on memory: there the double loop,
/// which measured faster (6000 to 640 RGBA: 2.1 ms against 3.5 ms), stays.
bool FloatLanesPay(const SeparableJob& job) { return job.sourceWidth < uint64_t{job.width} * 4; }

/// Where float lanes may run: from the first column after which every weight
/// is within the bound of two_tap_float.h (only the extrapolated first
/// columns of a large enlargement exceed it), exact when every weight there
/// is short enough. No such column leaves the plan on double lanes.
void PlanFloatColumns(const SeparableJob& job, RowPlan& plan) {
    uint32_t from = job.width;
    while (from > 0 && TwoTapFloatMode(job.columnWeights + static_cast<size_t>(from - 1) * 2) != TwoTapFloat::kNo)
        --from;
    if (from == job.width) return;
    bool exact = true;
    for (uint32_t x = from; x < job.width; ++x)
        exact = exact && TwoTapFloatMode(job.columnWeights + static_cast<size_t>(x) * 2) == TwoTapFloat::kExact;
    plan.strategy = RowStrategy::kFloatLanes;
    plan.floatFrom = from;
    plan.floatExact = exact;
}

/// Fills the float weight table at the start of the working block for the
/// plan's float columns and binds the plan to it.
void BindFloatWeights(const SeparableJob& job, unsigned char* work, RowPlan& plan) {
    float* weights0 = reinterpret_cast<float*>(work);
    float* weights1 = weights0 + static_cast<size_t>(job.width) * 4;
    double* doubles0 = reinterpret_cast<double*>(weights1 + static_cast<size_t>(job.width) * 4);
    double* doubles1 = doubles0 + static_cast<size_t>(job.width) * 4;
    for (uint32_t x = plan.floatFrom; x < job.width; ++x) {
        const double* w = job.columnWeights + static_cast<size_t>(x) * 2;
        for (uint32_t c = 0; c < 4; ++c) {
            // A 3-channel pixel's fourth lane sums to 0, never near a boundary.
            const bool used = c < job.channels;
            weights0[static_cast<size_t>(x) * 4 + c] = used ? static_cast<float>(w[0]) : 0.0f;
            weights1[static_cast<size_t>(x) * 4 + c] = used ? static_cast<float>(w[1]) : 0.0f;
            doubles0[static_cast<size_t>(x) * 4 + c] = used ? w[0] : 0.0;
            doubles1[static_cast<size_t>(x) * 4 + c] = used ? w[1] : 0.0;
        }
    }
    plan.floatWeights = weights0;
    plan.doubleWeights = doubles0;
}

/// Destination pixels whose row-pass vector loads and stores stay inside
/// their rows: every tap pixel from the first up to this one has 4 samples
/// from its start inside the input row, and for 3 channels the last pixel's
/// 4-sample store would reach past the end of its ring row. Taps never
/// decrease from column to column, so the safe columns are a prefix.
uint32_t VectorColumns(const SeparableJob& job) {
    if (job.channels != 3 && job.channels != 4) return 0;
    const uint64_t rowSamples = uint64_t{job.sourceWidth} * job.channels;
    const uint32_t last = job.taps - 1;
    uint32_t safe = 0;
    while (safe < job.width &&
           uint64_t{job.columnTaps[static_cast<size_t>(safe) * job.taps + last]} * job.channels + 4 <= rowSamples)
        ++safe;
    return job.channels == 3 ? std::min(safe, job.width - 1) : safe;
}

template <class T, uint32_t Taps>
struct BandKernels;

template <class T, uint32_t Taps>
using BandFn = void (*)(const SeparableJob&, const BandKernels<T, Taps>&, T*, uint32_t, uint32_t);

/// What a band runs, all picked once per call from the plan.
template <class T, uint32_t Taps>
struct BandKernels {
    const RowPlan* plan;  // bound to the working block
    ResampleRowFn<T> resampleRow;
    BlendRowsFn<T> blendRows;
    HalveRowPairFn halveRowPair;  // kHalving only
    BandFn<T, Taps> band;
};

/// The intermediate rows a band holds: input row r in slot r % Taps.
template <class T, uint32_t Taps>
struct Ring {
    T* slots;
    uint32_t rowSamples;
    uint32_t held[Taps];

    Ring(T* at, uint32_t samples) : slots(at), rowSamples(samples) {
        for (uint32_t& r : held) r = std::numeric_limits<uint32_t>::max();  // no input has 2^32 - 1 rows
    }

    /// Destination row y from its Taps input rows, resampling those the ring
    /// does not hold yet.
    void BlendRow(const SeparableJob& job, const BandKernels<T, Taps>& kernels, uint32_t y) {
        const uint32_t* tap = job.rowTaps + static_cast<size_t>(y) * Taps;
        const T* rows[Taps];
        for (uint32_t k = 0; k < Taps; ++k) {
            const uint32_t row = tap[k];
            T* slot = slots + static_cast<size_t>(row % Taps) * rowSamples;
            if (held[row % Taps] != row) {
                kernels.resampleRow(RowAt(job.source, row, job.sourceRowBytes), slot, *kernels.plan, job.columnTaps,
                                    job.columnWeights);
                held[row % Taps] = row;
            }
            rows[k] = slot;
        }
        kernels.blendRows(rows, job.rowWeights + static_cast<size_t>(y) * Taps, rowSamples,
                          RowAt(job.destination, y, job.destinationRowBytes));
    }
};

/// Destination rows [first, last) through the ring.
template <class T, uint32_t Taps>
void RunBand(const SeparableJob& job, const BandKernels<T, Taps>& kernels, T* ring, uint32_t first, uint32_t last) {
    Ring<T, Taps> held(ring, job.channels * job.width);
    for (uint32_t y = first; y < last; ++y) held.BlendRow(job, kernels, y);
}

/// Asks for the first bytes of the input rows `tap` names. A row pass that
/// streams through its rows has its own bytes ahead in flight, but the
/// prefetchers start each new row cold.
void PrefetchRowStarts(const SeparableJob& job, const uint32_t* tap) {
    constexpr uint32_t kLine = 64;
    const uint32_t bytes = std::min<uint32_t>(1024, job.channels * job.sourceWidth);
    for (uint32_t k = 0; k < 2; ++k) {
        const unsigned char* row = RowAt(job.source, tap[k], job.sourceRowBytes);
        for (uint32_t at = 0; at < bytes; at += kLine) __builtin_prefetch(row + at);
    }
}

/// Destination rows [first, last) of a kHalving plan. A row whose two
/// weights halve too (a property of that row's weights, so tested per row)
/// is the byte mean of two halved input rows and goes straight to the
/// destination; the others go through the ring.
void RunHalvingBand(const SeparableJob& job, const BandKernels<uint8_t, 2>& kernels, uint8_t* ring, uint32_t first,
                    uint32_t last) {
    Ring<uint8_t, 2> held(ring, job.channels * job.width);
    for (uint32_t y = first; y < last; ++y) {
        const uint32_t* tap = job.rowTaps + static_cast<size_t>(y) * 2;
        if (y + 1 < last) PrefetchRowStarts(job, tap + 2);
        if (HalvesPair(job.rowWeights + static_cast<size_t>(y) * 2)) {
            kernels.halveRowPair(RowAt(job.source, tap[0], job.sourceRowBytes),
                                 RowAt(job.source, tap[1], job.sourceRowBytes), job.channels, job.width,
                                 kernels.plan->halvingLanes, RowAt(job.destination, y, job.destinationRowBytes));
        } else {
            held.BlendRow(job, kernels, y);
        }
    }
}

template <class T, uint32_t Taps>
void RunBands(const SeparableJob& job, const RowPlan& planned, unsigned char* work, const RowBands& bands) {
    RowPlan plan = planned;
    if (plan.strategy == RowStrategy::kFloatLanes) BindFloatWeights(job, work, plan);
    SettleDispatch();
    BandKernels<T, Taps> kernels{&plan, ChosenResampleRow<T, Taps>(plan), ChosenBlendRows<T, Taps>(), nullptr,
                                 &RunBand<T, Taps>};
    if constexpr (sizeof(T) == 1 && Taps == 2) {
        if (plan.strategy == RowStrategy::kHalving) {
            kernels.halveRowPair = &LUMO_DYNAMIC_DISPATCH(HalveRowPair8);
            kernels.band = &RunHalvingBand;
        }
    }
    bands.Run([&](uint32_t band, uint32_t first, uint32_t last) {
        kernels.band(job, kernels, reinterpret_cast<T*>(work + plan.layout.RingOffset(band)), first, last);
    });
}

template <class T>
void RunSeparableT(const SeparableJob& job, const RowPlan& plan, unsigned char* work, const RowBands& bands) {
    if (job.width == 0 || job.height == 0 || bands.count() == 0) return;
    if (job.taps == 2) {
        RunBands<T, 2>(job, plan, work, bands);
    } else {
        RunBands<T, 4>(job, plan, work, bands);
    }
}

// Whether the row pass halves exactly in bytes (halving_row.h).
bool HalvesRows(const SeparableJob& job, uint32_t bytesPerSample) {
    return bytesPerSample == 1 && job.taps == 2 && HalvingStep(job.channels) != 0 &&
           HalvesEveryColumn(job.width, job.columnTaps, job.columnWeights);
}

}  // namespace

RowBands SeparableBands(const SeparableJob& job, uint32_t bytesPerSample) {
    // Work, in bytes of copying that take as long (RowBands): a tap costs
    // about four, one where rows halve in bytes. The row pass takes `taps`
    // per destination column on every input row the column pass reads, the
    // column pass `taps` per destination sample. Saturates for absurd sizes.
    uint64_t inputRows = 0;
    if (job.height != 0) {
        const uint32_t* last = job.rowTaps + (static_cast<size_t>(job.height) * job.taps - 1);
        inputRows = std::min<uint64_t>(*last - job.rowTaps[0] + 1, uint64_t{job.height} * job.taps);
    }
    const uint64_t tapCost = HalvesRows(job, bytesPerSample) ? 1 : 4;
    constexpr uint64_t kMost = std::numeric_limits<uint64_t>::max();
    uint64_t work = 1;
    for (const uint64_t factor : {tapCost * job.taps, uint64_t{job.channels} * job.width, inputRows + job.height})
        work = factor != 0 && work > kMost / factor ? kMost : work * factor;
    return RowBands(job.height, work);
}

RowPlan PlanSeparable(const SeparableJob& job, uint32_t bytesPerSample, uint32_t bands) {
    RowPlan plan{};
    plan.bytesPerSample = bytesPerSample;
    plan.channels = job.channels;
    plan.taps = job.taps;
    plan.width = job.width;
    plan.height = job.height;
    plan.vectorColumns = VectorColumns(job);
    plan.floatFrom = job.width;
    plan.strategy = job.channels == 3 || job.channels == 4 ? RowStrategy::kDoubleLanes : RowStrategy::kPlain;
    if (bytesPerSample == 1 && job.taps == 2 && job.width != 0) {
        if (HalvesRows(job, bytesPerSample)) {
            plan.strategy = RowStrategy::kHalving;
            BuildHalvingLanes(job.channels, plan.halvingLanes);
            for (uint32_t y = 0; y < job.height; ++y)
                plan.halvingRows += HalvesPair(job.rowWeights + static_cast<size_t>(y) * 2) ? 1 : 0;
        } else if (plan.strategy == RowStrategy::kDoubleLanes && FloatLanesPay(job)) {
            PlanFloatColumns(job, plan);
        }
    }
    plan.layout = SeparableLayout(job, bytesPerSample, bands, plan.strategy);
    return plan;
}

std::string DescribeRowPlan(const RowPlan& plan) {
    const auto n = [](uint64_t v) { return std::to_string(v); };
    const auto span = [&](uint32_t from, uint32_t to) { return " [" + n(from) + ", " + n(to) + ")"; };
    const uint32_t width = plan.width;
    const uint32_t vectors = std::min(plan.vectorColumns, width);
    std::string text;
    switch (plan.strategy) {
        case RowStrategy::kHalving:
            text = "halving in byte shuffles of " + n(HalvingStep(plan.channels)) + " samples, plain tail; rows: " +
                   n(plan.halvingRows) + " of " + n(plan.height) + " straight from two input rows";
            break;
        case RowStrategy::kFloatLanes: {
            const uint32_t from = std::min(plan.floatFrom, vectors);
            text = std::string("float lanes") + (plan.floatExact ? " (exact)" : " (checked)") + " from column " +
                   n(plan.floatFrom) + ": double" + span(0, from) + ", float" + span(from, vectors) + ", plain" +
                   span(vectors, width) + "; rows: " + n(plan.height);
            break;
        }
        case RowStrategy::kDoubleLanes:
            text = "double lanes" + span(0, vectors) + ", plain" + span(vectors, width) + "; rows: " + n(plan.height);
            break;
        case RowStrategy::kPlain: text = "plain loops" + span(0, width) + "; rows: " + n(plan.height); break;
    }
    const WorkLayout& l = plan.layout;
    text += ", " + n(l.rings) + " bands; " + n(8 * plan.bytesPerSample) + "-bit, " + n(plan.channels) +
            " channels, " + n(plan.taps) + " taps; block: table " + n(l.tableBytes) + " B at 0, rings of " +
            n(l.ringBytes) + " B from " + n(l.tableBytes) + ", ";
    text += l.totalBytes == std::numeric_limits<std::size_t>::max() ? std::string("too large") : n(l.totalBytes) + " B";
    return text;
}

void RunSeparable8(const SeparableJob& job, const RowPlan& plan, unsigned char* work, const RowBands& bands) {
    RunSeparableT<uint8_t>(job, plan, work, bands);
}
void RunSeparable16(const SeparableJob& job, const RowPlan& plan, unsigned char* work, const RowBands& bands) {
    RunSeparableT<uint16_t>(job, plan, work, bands);
}

}  // namespace lumo
#endif  // HWY_ONCE
