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

#include "platform/kernel_choice.h"
#include "pool/thread_pool.h"
#include "resize/halving_row.h"
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
                                         const RowPlan& plan, const uint32_t* taps, const double* weights) {
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> di;
    const hn::Rebind<uint8_t, decltype(d)> du8;
    const hn::Repartition<uint32_t, decltype(du8)> du32;
    constexpr uint32_t kPixels = HWY_LANES(float) / 4;
    static_assert(kPixels == 1 || kPixels == 2 || kPixels == 4);
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

/// One input row resampled along the row to `width` pixels.
template <class T, uint32_t Taps, uint32_t Channels>
HWY_INLINE void ResampleRowT(const unsigned char* input, T* out, uint32_t width, const RowPlan& plan,
                             const uint32_t* taps, const double* weights) {
    uint32_t x = 0;
    if constexpr (Channels == 3 || Channels == 4) {
#if HWY_TARGET != HWY_SCALAR
        if constexpr (sizeof(T) == 1 && Taps == 2) {
            if (plan.floatWeights != nullptr) {
                x = ResamplePixelsDouble<T, Taps, Channels>(input, out, x, std::min(plan.floatFrom, plan.vectorColumns),
                                                            taps, weights);
                x = ResamplePixels8Float<Channels>(input, out, x, width, plan, taps, weights);
            }
        }
#endif
        x = ResamplePixelsDouble<T, Taps, Channels>(input, out, x, plan.vectorColumns, taps, weights);
    }
    ResampleRowScalar<T, Taps, Channels>(input, out, Channels, x, width, taps, weights);
}

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

template <class T, uint32_t Taps>
HWY_INLINE void ResampleRowChannels(const unsigned char* input, T* out, uint32_t channels, uint32_t width,
                                    const RowPlan& plan, const uint32_t* taps, const double* weights) {
#if HWY_TARGET != HWY_SCALAR
    if constexpr (sizeof(T) == 1 && Taps == 2) {
        if (plan.halvingLanes != nullptr) {
            const uint32_t x = HalveRow8(input, out, channels, width, plan.halvingLanes);
            return ResampleRowScalar<T, Taps, 0>(input, out, channels, x, width, taps, weights);
        }
    }
#endif
    switch (channels) {
        case 1: return ResampleRowT<T, Taps, 1>(input, out, width, plan, taps, weights);
        case 2: return ResampleRowT<T, Taps, 2>(input, out, width, plan, taps, weights);
        case 3: return ResampleRowT<T, Taps, 3>(input, out, width, plan, taps, weights);
        case 4: return ResampleRowT<T, Taps, 4>(input, out, width, plan, taps, weights);
        default: return ResampleRowScalar<T, Taps, 0>(input, out, channels, 0, width, taps, weights);
    }
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
    hn::Vec<decltype(d)> w[Taps];
    const T* row[Taps];  // copied, so that the stores below need not reload them
    for (uint32_t k = 0; k < Taps; ++k) {
        w[k] = hn::Set(d, weights[k]);
        row[k] = rows[k];
    }
    const auto blend = [&](uint32_t at) {
        auto v = hn::Mul(LoadAsDouble(d, row[0] + at), w[0]);
        for (uint32_t k = 1; k < Taps; ++k) v = hn::Add(v, hn::Mul(LoadAsDouble(d, row[k] + at), w[k]));
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

#define LUMO_SEPARABLE_ROW_KERNELS(Bits, Taps)                                                                  \
    void ResampleRow##Bits##x##Taps(const unsigned char* input, uint##Bits##_t* out, uint32_t channels,         \
                                    uint32_t width, const RowPlan& plan, const uint32_t* taps,                  \
                                    const double* weights) {                                                    \
        ResampleRowChannels<uint##Bits##_t, Taps>(input, out, channels, width, plan, taps, weights);            \
    }                                                                                                           \
    void BlendRows##Bits##x##Taps(const uint##Bits##_t* const* rows, const double* weights, uint32_t count,    \
                                  unsigned char* out) {                                                         \
        BlendRowsT<uint##Bits##_t, Taps>(rows, weights, count, out);                                            \
    }
LUMO_SEPARABLE_ROW_KERNELS(8, 2)
LUMO_SEPARABLE_ROW_KERNELS(8, 4)
LUMO_SEPARABLE_ROW_KERNELS(16, 2)
LUMO_SEPARABLE_ROW_KERNELS(16, 4)
#undef LUMO_SEPARABLE_ROW_KERNELS

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

HWY_EXPORT(ResampleRow8x2);
HWY_EXPORT(ResampleRow8x4);
HWY_EXPORT(ResampleRow16x2);
HWY_EXPORT(ResampleRow16x4);
HWY_EXPORT(BlendRows8x2);
HWY_EXPORT(BlendRows8x4);
HWY_EXPORT(BlendRows16x2);
HWY_EXPORT(BlendRows16x4);
HWY_EXPORT(HalveRowPair8);

namespace {

template <class T>
using ResampleRowFn = void (*)(const unsigned char*, T*, uint32_t, uint32_t, const RowPlan&, const uint32_t*,
                               const double*);
template <class T>
using BlendRowsFn = void (*)(const T* const*, const double*, uint32_t, unsigned char*);

/// Settles the dispatch target once, so that the pointers below name a
/// target's kernel itself. Before that they name the table's first-call entry,
/// which asks the processor for its features on every call.
void ChooseTarget() {
    hwy::ChosenTarget& chosen = hwy::GetChosenTarget();
    if (!chosen.IsInitialized()) chosen.Update(hwy::SupportedTargets());
}

/// The row kernels of the best target this processor runs (or of the one a
/// test forced).
template <class T, uint32_t Taps>
ResampleRowFn<T> ChosenResampleRow() {
    if constexpr (sizeof(T) == 1) {
        return Taps == 2 ? &LUMO_DYNAMIC_DISPATCH(ResampleRow8x2) : &LUMO_DYNAMIC_DISPATCH(ResampleRow8x4);
    } else {
        return Taps == 2 ? &LUMO_DYNAMIC_DISPATCH(ResampleRow16x2) : &LUMO_DYNAMIC_DISPATCH(ResampleRow16x4);
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

/// Bytes of one band's ring, or nullopt when the rings of `bands` bands
/// cannot fit in memory. Every factor is below 2^32, and each product is
/// checked against a limit far beyond any memory before it grows further.
std::optional<uint64_t> RingBytes(const SeparableJob& job, uint32_t bytesPerSample, uint32_t bands) {
    constexpr uint64_t kLimit = uint64_t{1} << 48;
    const uint64_t rowSamples = uint64_t{job.channels} * job.width;
    if (rowSamples > kLimit) return std::nullopt;
    const uint64_t ring = job.taps * rowSamples * bytesPerSample;
    if (ring > kLimit / (uint64_t{bands} + 1)) return std::nullopt;
    return ring;
}

/// Bytes of the weight table that an 8-bit two-tap row pass of 3 or 4
/// channels keeps at the start of the working block: two taps of 4 lanes, as
/// floats and as doubles, per destination column (a multiple of 32, so the
/// rings after it stay aligned).
uint64_t FloatWeightBytes(const SeparableJob& job, uint32_t bytesPerSample) {
    if (bytesPerSample != 1 || job.taps != 2 || (job.channels != 3 && job.channels != 4)) return 0;
    // Reducing by 4 or more, the taps of one vector's pixels lie cache lines
    // apart and the row pass waits on memory: there the double loop, which
    // measured faster (6000 to 640 RGBA: 2.1 ms against 3.5 ms), stays.
    if (job.sourceWidth >= uint64_t{job.width} * 4) return 0;
    return uint64_t{job.width} * 2 * 4 * (sizeof(float) + sizeof(double));
}

/// Fills the weight table and says where the float lanes may run:
/// from the first column after which every weight is within the bound of
/// two_tap_float.h (only the extrapolated first columns of a large
/// enlargement exceed it), exact when every weight there is short enough.
void PlanFloatColumns(const SeparableJob& job, float* table, RowPlan& plan) {
    uint32_t from = job.width;
    while (from > 0 && TwoTapFloatMode(job.columnWeights + static_cast<size_t>(from - 1) * 2) != TwoTapFloat::kNo)
        --from;
    bool exact = true;
    float* weights1 = table + static_cast<size_t>(job.width) * 4;
    double* doubles0 = reinterpret_cast<double*>(weights1 + static_cast<size_t>(job.width) * 4);
    double* doubles1 = doubles0 + static_cast<size_t>(job.width) * 4;
    for (uint32_t x = from; x < job.width; ++x) {
        const double* w = job.columnWeights + static_cast<size_t>(x) * 2;
        exact = exact && TwoTapFloatMode(w) == TwoTapFloat::kExact;
        for (uint32_t c = 0; c < 4; ++c) {
            // A 3-channel pixel's fourth lane sums to 0, never near a boundary.
            const bool used = c < job.channels;
            table[static_cast<size_t>(x) * 4 + c] = used ? static_cast<float>(w[0]) : 0.0f;
            weights1[static_cast<size_t>(x) * 4 + c] = used ? static_cast<float>(w[1]) : 0.0f;
            doubles0[static_cast<size_t>(x) * 4 + c] = used ? w[0] : 0.0;
            doubles1[static_cast<size_t>(x) * 4 + c] = used ? w[1] : 0.0;
        }
    }
    plan.floatFrom = from;
    plan.floatWeights = table;
    plan.doubleWeights = doubles0;
    plan.floatExact = exact;
}

/// Destination pixels whose row-pass vector loads and stores stay inside
/// their rows: every tap pixel from the first up to this one has 4 samples
/// from its start inside the input row, and for 3 channels the last pixel's
/// 4-sample store would reach past the end of its ring row. Taps never
/// decrease from column to column, so the safe columns are a prefix.
template <uint32_t Taps>
uint32_t VectorColumns(const SeparableJob& job) {
    if (job.channels != 3 && job.channels != 4) return 0;
    const uint64_t rowSamples = uint64_t{job.sourceWidth} * job.channels;
    uint32_t safe = 0;
    while (safe < job.width &&
           uint64_t{job.columnTaps[static_cast<size_t>(safe) * Taps + Taps - 1]} * job.channels + 4 <= rowSamples)
        ++safe;
    return job.channels == 3 ? std::min(safe, job.width - 1) : safe;
}

/// Whether the row pass halves every row exactly, in byte shuffles.
template <class T, uint32_t Taps>
bool HalvesRows(const SeparableJob& job) {
    return sizeof(T) == 1 && Taps == 2 && HalvingStep(job.channels) != 0 &&
           HalvesEveryColumn(job.width, job.columnTaps, job.columnWeights);
}

using HalveRowPairFn = void (*)(const unsigned char*, const unsigned char*, uint32_t, uint32_t, const uint8_t*,
                                unsigned char*);

template <class T, uint32_t Taps>
struct RowKernels {
    ResampleRowFn<T> resampleRow;
    BlendRowsFn<T> blendRows;
    RowPlan plan;
    HalveRowPairFn halveRowPair;  // set when the rows halve (plan.halvingLanes)
};

/// Asks for the first bytes of the input rows `tap` names. A row pass that
/// streams through its rows has its own bytes ahead in flight, but the
/// prefetchers start each new row cold.
template <uint32_t Taps>
void PrefetchRowStarts(const SeparableJob& job, const uint32_t* tap) {
    constexpr uint32_t kLine = 64;
    const uint32_t bytes = std::min<uint32_t>(1024, job.channels * job.sourceWidth);
    for (uint32_t k = 0; k < Taps; ++k) {
        const unsigned char* row = RowAt(job.source, tap[k], job.sourceRowBytes);
        for (uint32_t at = 0; at < bytes; at += kLine) __builtin_prefetch(row + at);
    }
}

/// Destination rows [first, last) of the job, with a ring of Taps rows.
template <class T, uint32_t Taps>
void RunBand(const SeparableJob& job, const RowKernels<T, Taps>& kernels, T* ring, uint32_t first, uint32_t last) {
    const uint32_t rowSamples = job.channels * job.width;
    uint32_t held[Taps];
    for (uint32_t& r : held) r = std::numeric_limits<uint32_t>::max();  // no input has 2^32 - 1 rows
    for (uint32_t y = first; y < last; ++y) {
        const uint32_t* tap = job.rowTaps + static_cast<size_t>(y) * Taps;
        if (kernels.plan.halvingLanes != nullptr && y + 1 < last) PrefetchRowStarts<Taps>(job, tap + Taps);
        if constexpr (sizeof(T) == 1 && Taps == 2) {
            if (kernels.plan.halvingLanes != nullptr && HalvesPair(job.rowWeights + static_cast<size_t>(y) * 2)) {
                kernels.halveRowPair(RowAt(job.source, tap[0], job.sourceRowBytes),
                                     RowAt(job.source, tap[1], job.sourceRowBytes), job.channels, job.width,
                                     kernels.plan.halvingLanes, RowAt(job.destination, y, job.destinationRowBytes));
                continue;
            }
        }
        const T* rows[Taps];
        for (uint32_t k = 0; k < Taps; ++k) {
            const uint32_t row = tap[k];
            T* slot = ring + static_cast<size_t>(row % Taps) * rowSamples;
            if (held[row % Taps] != row) {
                kernels.resampleRow(RowAt(job.source, row, job.sourceRowBytes), slot, job.channels, job.width,
                                    kernels.plan, job.columnTaps, job.columnWeights);
                held[row % Taps] = row;
            }
            rows[k] = slot;
        }
        kernels.blendRows(rows, job.rowWeights + static_cast<size_t>(y) * Taps, rowSamples,
                          RowAt(job.destination, y, job.destinationRowBytes));
    }
}

template <class T, uint32_t Taps>
void RunBands(const SeparableJob& job, unsigned char* work, const RowBands& bands) {
    const size_t ringBytes = static_cast<size_t>(*RingBytes(job, sizeof(T), bands.count()));
    const size_t tableBytes = static_cast<size_t>(FloatWeightBytes(job, sizeof(T)));
    ChooseTarget();
    const uint32_t vectorColumns = VectorColumns<Taps>(job);
    RowKernels<T, Taps> kernels{ChosenResampleRow<T, Taps>(), ChosenBlendRows<T, Taps>(),
                                RowPlan{vectorColumns, vectorColumns, nullptr, nullptr, false, nullptr}, nullptr};
    alignas(16) uint8_t halvingLanes[64];
    if (HalvesRows<T, Taps>(job)) {
        BuildHalvingLanes(job.channels, halvingLanes);
        kernels.plan.halvingLanes = halvingLanes;
        kernels.halveRowPair = &LUMO_DYNAMIC_DISPATCH(HalveRowPair8);
    } else if (tableBytes != 0) {
        PlanFloatColumns(job, reinterpret_cast<float*>(work), kernels.plan);
    }
    bands.Run([&](uint32_t band, uint32_t first, uint32_t last) {
        T* ring = reinterpret_cast<T*>(work + tableBytes + static_cast<size_t>(band) * ringBytes);
        RunBand<T, Taps>(job, kernels, ring, first, last);
    });
}

template <class T>
void RunSeparableT(const SeparableJob& job, unsigned char* work, const RowBands& bands) {
    if (job.width == 0 || job.height == 0 || bands.count() == 0) return;
    if (job.taps == 2) {
        RunBands<T, 2>(job, work, bands);
    } else {
        RunBands<T, 4>(job, work, bands);
    }
}

}  // namespace

RowBands SeparableBands(const SeparableJob& job) {
    // Work is counted as two bytes per destination sample, saturating for
    // absurd sizes.
    const uint64_t rowSamples = uint64_t{job.channels} * job.width;
    const uint64_t samples = job.height != 0 && rowSamples > std::numeric_limits<uint64_t>::max() / 2 / job.height
                                 ? std::numeric_limits<uint64_t>::max() / 2
                                 : rowSamples * job.height;
    return RowBands(job.height, 2 * samples);
}

std::size_t SeparableWorkBytes(const SeparableJob& job, uint32_t bytesPerSample, uint32_t bands) {
    const std::optional<uint64_t> ring = RingBytes(job, bytesPerSample, bands);
    return ring ? static_cast<std::size_t>(FloatWeightBytes(job, bytesPerSample) + *ring * bands)
                : std::numeric_limits<std::size_t>::max();
}

void RunSeparable8(const SeparableJob& job, unsigned char* work, const RowBands& bands) {
    RunSeparableT<uint8_t>(job, work, bands);
}
void RunSeparable16(const SeparableJob& job, unsigned char* work, const RowBands& bands) {
    RunSeparableT<uint16_t>(job, work, bands);
}

}  // namespace lumo
#endif  // HWY_ONCE
