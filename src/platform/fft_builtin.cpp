// The library's own FFT behind the seam of fft.h: power-of-two lengths,
// decimation in time, radix-4 stages (one radix-2 stage first when the length
// is an odd power of two), float and double, unnormalised, in place.
//
// The 2-D transform is done one direction at a time. Down the columns, a
// strip of adjacent columns is copied into a scratch block that stays in the
// cache, its rows in bit-reversed order, transformed there with each vector
// lane holding one column, and copied back; the strided loads of a whole
// column would otherwise fight over the same cache sets at power-of-two
// strides. Along the rows, a block of adjacent rows is copied transposed
// into the scratch, so that again each lane holds one line, and back.
//
// The bytes cannot differ between vector targets, processors or runs:
// - vectors only ever hold independent lines (columns or rows) side by side.
//   Every lane does the same IEEE additions, subtractions and multiplications,
//   in the same order, that one line alone does with one-lane vectors (which
//   is what lines too few to fill a vector get); there is no fused
//   multiply-add (Mul and Add are separate operations and the build does not
//   contract them), no reassociation and no reduction across lanes;
// - which lines share a vector depends on the target's width, but no line's
//   arithmetic does, and none depends on the arrays' alignment;
// - the twiddle factors are made from + and x alone (fft_builtin_plan.h), not
//   by the platform's sin and cos, and single precision rounds the double
//   factors.
// This holds under the default floating-point environment (round to
// nearest, no flush of subnormals), and for NaN payloads only as far as the
// processors agree on them.
#include <algorithm>
#include <cfloat>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "common/work_memory.h"
#include "platform/fft.h"
#include "platform/fft_builtin_plan.h"
#include "platform/kernel_choice.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/fft_builtin.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

// Scalar arithmetic in wider registers (x87) would round differently from the
// vector lanes.
static_assert(FLT_EVAL_METHOD == 0, "float and double arithmetic must round to their own precision");

HWY_BEFORE_NAMESPACE();
namespace lumo::platform::builtin {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// x *= w for complex x and w, as (xr wr - xi wi) + i (xr wi + xi wr).
template <class V>
HWY_INLINE void Twist(V& xr, V& xi, V wr, V wi) {
    const V r = hn::Sub(hn::Mul(xr, wr), hn::Mul(xi, wi));
    xi = hn::Add(hn::Mul(xr, wi), hn::Mul(xi, wr));
    xr = r;
}

/// One radix-4 butterfly for `width` lines side by side: the four inputs are
/// q elements apart and hold the partial transforms of the points 0, 2, 1
/// and 3 mod 4 (bit-reversed order). With the twisted inputs A0..A3,
/// X_m = sum_r A_r (-+i)^(rm), the sign that of the transform's exponent.
template <bool kInverse, bool kTwisted, class D, class T = hn::TFromD<D>>
HWY_INLINE void Radix4(D d, T* HWY_RESTRICT re, T* HWY_RESTRICT im, size_t q, size_t width, hn::Vec<D> w1r,
                       hn::Vec<D> w1i, hn::Vec<D> w2r, hn::Vec<D> w2i, hn::Vec<D> w3r, hn::Vec<D> w3i) {
    for (size_t v = 0; v < width; v += hn::Lanes(d)) {
        auto a0r = hn::LoadU(d, re + v), a0i = hn::LoadU(d, im + v);
        auto a2r = hn::LoadU(d, re + q + v), a2i = hn::LoadU(d, im + q + v);
        auto a1r = hn::LoadU(d, re + 2 * q + v), a1i = hn::LoadU(d, im + 2 * q + v);
        auto a3r = hn::LoadU(d, re + 3 * q + v), a3i = hn::LoadU(d, im + 3 * q + v);
        if constexpr (kTwisted) {
            Twist(a1r, a1i, w1r, w1i);
            Twist(a2r, a2i, w2r, w2i);
            Twist(a3r, a3i, w3r, w3i);
        }
        const auto t0r = hn::Add(a0r, a2r), t0i = hn::Add(a0i, a2i);
        const auto t1r = hn::Sub(a0r, a2r), t1i = hn::Sub(a0i, a2i);
        const auto t2r = hn::Add(a1r, a3r), t2i = hn::Add(a1i, a3i);
        const auto dr = hn::Sub(a1r, a3r), di = hn::Sub(a1i, a3i);
        hn::StoreU(hn::Add(t0r, t2r), d, re + v);
        hn::StoreU(hn::Add(t0i, t2i), d, im + v);
        hn::StoreU(hn::Sub(t0r, t2r), d, re + 2 * q + v);
        hn::StoreU(hn::Sub(t0i, t2i), d, im + 2 * q + v);
        // (a1 - a3) times -i (forward) or +i (inverse) is a swap and a sign,
        // folded into the additions.
        if constexpr (kInverse) {
            hn::StoreU(hn::Sub(t1r, di), d, re + q + v);
            hn::StoreU(hn::Add(t1i, dr), d, im + q + v);
            hn::StoreU(hn::Add(t1r, di), d, re + 3 * q + v);
            hn::StoreU(hn::Sub(t1i, dr), d, im + 3 * q + v);
        } else {
            hn::StoreU(hn::Add(t1r, di), d, re + q + v);
            hn::StoreU(hn::Sub(t1i, dr), d, im + q + v);
            hn::StoreU(hn::Sub(t1r, di), d, re + 3 * q + v);
            hn::StoreU(hn::Add(t1i, dr), d, im + 3 * q + v);
        }
    }
}

/// All stages of one axis on `width` lines held `stride` elements apart per
/// point, the points in bit-reversed order; results in natural order.
template <bool kInverse, class D, class T = hn::TFromD<D>>
HWY_INLINE void Transform(D d, T* HWY_RESTRICT re, T* HWY_RESTRICT im, const Axis<T>& axis, size_t stride,
                          size_t width) {
    const size_t length = size_t{1} << axis.log2;
    const auto none = hn::Zero(d);
    size_t h = 1;
    if ((axis.log2 & 1) != 0) {
        for (size_t p = 0; p < length; p += 2) {
            T* r = re + p * stride;
            T* i = im + p * stride;
            for (size_t v = 0; v < width; v += hn::Lanes(d)) {
                const auto xr = hn::LoadU(d, r + v), xi = hn::LoadU(d, i + v);
                const auto yr = hn::LoadU(d, r + stride + v), yi = hn::LoadU(d, i + stride + v);
                hn::StoreU(hn::Add(xr, yr), d, r + v);
                hn::StoreU(hn::Add(xi, yi), d, i + v);
                hn::StoreU(hn::Sub(xr, yr), d, r + stride + v);
                hn::StoreU(hn::Sub(xi, yi), d, i + stride + v);
            }
        }
        h = 2;
    }
    // Each factor is one broadcast, used across the lines. j = 0 has unit
    // factors and skips the products.
    const T* w = axis.twiddles;
    for (; 4 * h <= length; w += 6 * h, h *= 4) {
        const size_t q = h * stride;
        for (size_t base = 0; base < length; base += 4 * h) {
            T* r = re + base * stride;
            T* i = im + base * stride;
            Radix4<kInverse, false>(d, r, i, q, width, none, none, none, none, none, none);
            for (size_t j = 1; j < h; ++j) {
                const T* f = w + 6 * j;
                Radix4<kInverse, true>(d, r + j * stride, i + j * stride, q, width, hn::Set(d, f[0]),
                                       hn::Set(d, f[1]), hn::Set(d, f[2]), hn::Set(d, f[3]), hn::Set(d, f[4]),
                                       hn::Set(d, f[5]));
            }
        }
    }
}

template <class D, class T = hn::TFromD<D>>
HWY_INLINE void CopyLine(D d, const T* HWY_RESTRICT from, T* HWY_RESTRICT to, size_t width) {
    for (size_t v = 0; v < width; v += hn::Lanes(d)) hn::StoreU(hn::LoadU(d, from + v), d, to + v);
}

/// The transforms down the columns, a strip of p.stripColumns at a time.
template <bool kInverse, class D, class T = hn::TFromD<D>>
HWY_NOINLINE void Down(D d, const Layout<T>& p) {
    const size_t rows = size_t{1} << p.down.log2;
    const size_t columns = size_t{1} << p.across.log2;
    const size_t width = p.stripColumns;
    T* HWY_RESTRICT sr = p.scratchRe;
    T* HWY_RESTRICT si = p.scratchIm;
    for (size_t c0 = 0; c0 < columns; c0 += width) {
        for (size_t k = 0; k < rows; ++k) {
            const size_t from = p.down.reversed[k] * columns + c0;
            CopyLine(d, p.re + from, sr + k * width, width);
            CopyLine(d, p.im + from, si + k * width, width);
        }
        Transform<kInverse>(d, sr, si, p.down, width, width);
        for (size_t k = 0; k < rows; ++k) {
            CopyLine(d, sr + k * width, p.re + k * columns + c0, width);
            CopyLine(d, si + k * width, p.im + k * columns + c0, width);
        }
    }
}

/// The transforms along the rows, a block of p.blockRows at a time, each
/// block transposed into the scratch so that a lane holds one row. The
/// transposes are plain element copies, a column of the block at a time:
/// they take about a third of a 1024 x 1024 transform, and reading along the
/// rows with scattered writes instead measured slower.
template <bool kInverse, class D, class T = hn::TFromD<D>>
HWY_NOINLINE void Across(D d, const Layout<T>& p) {
    const size_t rows = size_t{1} << p.down.log2;
    const size_t columns = size_t{1} << p.across.log2;
    const size_t width = p.blockRows;
    T* HWY_RESTRICT sr = p.scratchRe;
    T* HWY_RESTRICT si = p.scratchIm;
    for (size_t r0 = 0; r0 < rows; r0 += width) {
        const T* HWY_RESTRICT xr = p.re + r0 * columns;
        const T* HWY_RESTRICT xi = p.im + r0 * columns;
        for (size_t k = 0; k < columns; ++k) {
            const size_t from = p.across.reversed[k];
            for (size_t r = 0; r < width; ++r) {
                sr[k * width + r] = xr[r * columns + from];
                si[k * width + r] = xi[r * columns + from];
            }
        }
        Transform<kInverse>(d, sr, si, p.across, width, width);
        for (size_t r = 0; r < width; ++r) {
            T* HWY_RESTRICT yr = p.re + (r0 + r) * columns;
            T* HWY_RESTRICT yi = p.im + (r0 + r) * columns;
            for (size_t k = 0; k < columns; ++k) {
                yr[k] = sr[k * width + r];
                yi[k] = si[k * width + r];
            }
        }
    }
}

template <bool kInverse, class T>
HWY_INLINE void Run(const Layout<T>& p) {
    const hn::ScalableTag<T> d;
    const hn::CappedTag<T, 1> one;
    // Full vectors only where they tile the lines exactly: a scalable vector
    // need not hold a power of two of lanes (SVE at 384 bits holds 6 doubles).
    if (p.stripColumns % hn::Lanes(d) == 0) {
        Down<kInverse>(d, p);
    } else {
        Down<kInverse>(one, p);
    }
    if (p.blockRows % hn::Lanes(d) == 0) {
        Across<kInverse>(d, p);
    } else {
        Across<kInverse>(one, p);
    }
}

template <class T>
void Execute(const Layout<T>& p) {
    if (p.inverse) {
        Run<true>(p);
    } else {
        Run<false>(p);
    }
}

void ChooseFloat(Layout<float>* p) {
    p->execute = &Execute<float>;
    p->lanes = hn::Lanes(hn::ScalableTag<float>());
}

void ChooseDouble(Layout<double>* p) {
    p->execute = &Execute<double>;
    p->lanes = hn::Lanes(hn::ScalableTag<double>());
}

}  // namespace HWY_NAMESPACE
}  // namespace lumo::platform::builtin
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lumo::platform {
namespace builtin {

HWY_EXPORT(ChooseFloat);
HWY_EXPORT(ChooseDouble);

namespace {

constexpr uint32_t kMaxLog2 = sizeof(int) * CHAR_BIT - 2;  // lengths that fit an int
constexpr size_t kAlign = 64;
// Bytes of a strip's row going down: four cache lines (a 1024-row strip of
// both arrays in double is 512 KiB) measured faster than two or eight.
constexpr size_t kStripBytes = 256;
// Rows transformed together across (a 1024-column block of both arrays in
// double is 128 KiB): 8 measured faster than 16.
constexpr size_t kBlockRows = 8;

/// The chosen target's transform and lane count, for Real.
void Choose(Layout<float>* p) { LUMO_DYNAMIC_DISPATCH(ChooseFloat)(p); }
void Choose(Layout<double>* p) { LUMO_DYNAMIC_DISPATCH(ChooseDouble)(p); }

uint64_t RoundUp(uint64_t bytes) { return (bytes + kAlign - 1) / kAlign * kAlign; }

void FillReversal(uint32_t log2, uint32_t* reversed) {
    const size_t length = size_t{1} << log2;
    reversed[0] = 0;
    // The reversal of i + 1 from that of i: the top bit of i's lowest zero, and
    // the ones above it cleared.
    for (size_t i = 0; i + 1 < length; ++i) {
        uint32_t bit = static_cast<uint32_t>(length >> 1);
        uint32_t r = reversed[i];
        while ((r & bit) != 0) {
            r ^= bit;
            bit >>= 1;
        }
        reversed[i + 1] = r | bit;
    }
}

template <class Real>
void FillTwiddles(uint32_t log2, bool inverse, Real* table) {
    const size_t length = size_t{1} << log2;
    for (size_t h = (log2 & 1) != 0 ? 2 : 1; 4 * h <= length; h *= 4) {
        const size_t step = length / (4 * h);  // w = e^(-+2 pi i / 4h) is the length's root to this power
        for (size_t j = 0; j < h; ++j) {
            for (size_t m = 1; m <= 3; ++m) {
                double c = 0.0, s = 0.0;
                TwiddleOf(static_cast<uint64_t>(m * j * step), log2, &c, &s);
                table[6 * j + 2 * (m - 1)] = static_cast<Real>(c);
                table[6 * j + 2 * (m - 1) + 1] = static_cast<Real>(inverse ? s : 0.0 - s);
            }
        }
        table += 6 * h;
    }
}

}  // namespace
}  // namespace builtin

template <class Real>
bool Fft2dPlan<Real>::Supports(int log2Rows, int log2Columns) {
    return log2Rows >= 0 && log2Columns >= 0 && static_cast<uint32_t>(log2Rows) <= builtin::kMaxLog2 &&
           static_cast<uint32_t>(log2Columns) <= builtin::kMaxLog2;
}

template <class Real>
Fft2dPlan<Real>::Fft2dPlan(Real* real, Real* imag, int log2Rows, int log2Columns, FftSign sign) {
    using builtin::RoundUp;
    if (!Supports(log2Rows, log2Columns) || real == nullptr || imag == nullptr) return;
    builtin::Layout<Real> l;
    builtin::Choose(&l);
    l.re = real;
    l.im = imag;
    l.inverse = sign == FftSign::kInverse;
    l.down.log2 = static_cast<uint32_t>(log2Rows);
    l.across.log2 = static_cast<uint32_t>(log2Columns);
    const uint64_t rows = uint64_t{1} << l.down.log2;
    const uint64_t columns = uint64_t{1} << l.across.log2;
    const uint64_t strip = std::max<uint64_t>(builtin::kStripBytes / sizeof(Real), l.lanes);
    const uint64_t block = std::max<uint64_t>(builtin::kBlockRows, l.lanes);
    const uint64_t stripColumns = std::min(columns, strip);
    const uint64_t blockRows = std::min(rows, block);
    const uint64_t scratch = std::max(rows * stripColumns, columns * blockRows);

    // One block: the layout, both axes' tables (shared when the lengths are
    // equal), then the scratch. Lengths are at most 2^30 and lanes few, so
    // none of these 64-bit sums overflows; a smaller size_t is checked.
    const bool shared = l.down.log2 == l.across.log2;
    const uint64_t twDown = builtin::StageTwiddles(l.down.log2);
    const uint64_t twAcross = shared ? 0 : builtin::StageTwiddles(l.across.log2);
    const uint64_t reversalDown = RoundUp(rows * sizeof(uint32_t));
    const uint64_t reversalAcross = shared ? 0 : RoundUp(columns * sizeof(uint32_t));
    const uint64_t twiddlesDown = RoundUp(twDown * sizeof(Real));
    const uint64_t twiddlesAcross = RoundUp(twAcross * sizeof(Real));
    const uint64_t scratchBytes = RoundUp(scratch * sizeof(Real));
    const uint64_t layoutBytes = RoundUp(sizeof(l));
    const uint64_t total = layoutBytes + reversalDown + reversalAcross + twiddlesDown + twiddlesAcross +
                           2 * scratchBytes + 2 * builtin::kAlign;
    if (total > SIZE_MAX) return;
    void* memory = WorkMalloc(static_cast<size_t>(total));
    if (memory == nullptr) return;
    // The block's own address is kept just before the aligned layout.
    const uintptr_t address = reinterpret_cast<uintptr_t>(memory) + sizeof(void*);
    unsigned char* at = static_cast<unsigned char*>(memory) + (RoundUp(address) - address + sizeof(void*));
    std::memcpy(at - sizeof(void*), &memory, sizeof(void*));
    unsigned char* const layout = at;
    const auto take = [&at](uint64_t bytes) {
        unsigned char* const p = at;
        at += bytes;
        return p;
    };
    take(layoutBytes);

    auto* reversedDown = reinterpret_cast<uint32_t*>(take(reversalDown));
    builtin::FillReversal(l.down.log2, reversedDown);
    l.down.reversed = reversedDown;
    l.across.reversed = reversedDown;
    if (!shared) {
        auto* reversedAcross = reinterpret_cast<uint32_t*>(take(reversalAcross));
        builtin::FillReversal(l.across.log2, reversedAcross);
        l.across.reversed = reversedAcross;
    }
    auto* down = reinterpret_cast<Real*>(take(twiddlesDown));
    builtin::FillTwiddles(l.down.log2, l.inverse, down);
    l.down.twiddles = down;
    l.across.twiddles = down;
    if (!shared) {
        auto* across = reinterpret_cast<Real*>(take(twiddlesAcross));
        builtin::FillTwiddles(l.across.log2, l.inverse, across);
        l.across.twiddles = across;
    }
    l.stripColumns = static_cast<size_t>(stripColumns);
    l.blockRows = static_cast<size_t>(blockRows);
    l.scratchRe = reinterpret_cast<Real*>(take(scratchBytes));
    l.scratchIm = reinterpret_cast<Real*>(take(scratchBytes));
    plan_ = new (layout) builtin::Layout<Real>(l);
}

template <class Real>
Fft2dPlan<Real>::~Fft2dPlan() {
    if (plan_ == nullptr) return;
    void* memory = nullptr;
    std::memcpy(&memory, static_cast<unsigned char*>(plan_) - sizeof(void*), sizeof(void*));
    WorkFree(memory);
}

template <class Real>
void Fft2dPlan<Real>::Execute() const {
    if (plan_ == nullptr) return;
    const auto& l = *static_cast<const builtin::Layout<Real>*>(plan_);
    l.execute(l);
}

template class Fft2dPlan<float>;
template class Fft2dPlan<double>;

}  // namespace lumo::platform
#endif  // HWY_ONCE
