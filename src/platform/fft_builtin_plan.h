// What a plan of the library's own FFT (fft_builtin.cpp) holds, and the
// twiddle factors it is made with. Internal to that file and its tests.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumo::platform::builtin {

/// One direction of the 2-D span: 2^log2 points per transform.
template <class Real>
struct Axis {
    uint32_t log2 = 0;
    /// Scratch position i is loaded from point reversed[i], the bit reversal
    /// of i, so that the decimation-in-time stages end in natural order.
    const uint32_t* reversed = nullptr;
    /// The factors of the radix-4 stages after the first, see StageTwiddles.
    const Real* twiddles = nullptr;
};

template <class Real>
struct Layout {
    Real* re = nullptr;
    Real* im = nullptr;
    Axis<Real> down;    // the transforms down the columns, 2^log2Rows points
    Axis<Real> across;  // the transforms along the rows, 2^log2Columns points
    bool inverse = false;
    /// Lines transformed side by side in the scratch: adjacent columns of a
    /// strip going down, adjacent rows of a block going across. Where one is
    /// not a multiple of the chosen target's lane count, those lines go one
    /// lane at a time.
    size_t stripColumns = 0;
    size_t blockRows = 0;
    Real* scratchRe = nullptr;
    Real* scratchIm = nullptr;
    /// The chosen target's transform and lane count, fixed at planning so
    /// that the scratch fits the code that runs.
    void (*execute)(const Layout&) = nullptr;
    size_t lanes = 0;
};

/// Number of Reals in the twiddle table of a 2^log2-point transform. The
/// first stage is a radix-2 one when log2 is odd, else a radix-4 one of span
/// 1; every later stage is radix 4 of span h (h = 2 or 4, times 4 per stage,
/// while 4h <= 2^log2) and has six Reals per j < h: w^j, w^2j, w^3j as (re, im)
/// with w = e^(-+2 pi i / 4h). The span-1 stage keeps its unused six too, so
/// every radix-4 stage's table starts 6h after the previous one's.
inline size_t StageTwiddles(uint32_t log2) {
    size_t count = 0;
    for (size_t h = (log2 & 1) != 0 ? 2 : 1; 4 * h <= (size_t{1} << log2); h *= 4) count += 6 * h;
    return count;
}

/// cos and sin of 2 pi k / 2^log2Length for k < 2^log2Length, log2Length <= 30,
/// to within an ulp (0.77 at most, measured), from + and x alone: the same bits wherever
/// IEEE double arithmetic is done as written, unlike a platform's sin and cos.
///
/// The angle is split exactly on the integer k into one of eight octants and
/// a remainder phi = pi/4 * g / 2^log2Length with integer 0 <= g <= 2^log2Length;
/// phi is formed in two parts from pi/4 held in three (the first two with 22
/// significant bits, so their products with g / 2^log2Length are exact), and
/// sin phi and cos phi are their Taylor series, taken far enough for phi <= pi/4.
inline void TwiddleOf(uint64_t k, uint32_t log2Length, double* cosine, double* sine) {
    const uint64_t length = uint64_t{1} << log2Length;
    const uint64_t eighths = k * 8;
    const uint64_t octant = (eighths >> log2Length) & 7;
    uint64_t g = eighths & (length - 1);
    if ((octant & 1) != 0) g = length - g;  // odd octants count back from their end
    const double t = static_cast<double>(g) * (1.0 / static_cast<double>(length));  // exact

    constexpr double kPi4a = 0x1.921fb8p-1, kPi4b = -0x1.5dde98p-24, kPi4c = 0x1.8469898cc5170p-49;
    const double ta = t * kPi4a, tb = t * kPi4b;  // exact
    const double sum = ta + tb;
    const double rest = ((ta - sum) + tb) + t * kPi4c;
    const double s = sum + rest;  // phi = s + lo to ~2^-100, |lo| at most half an ulp of s
    const double lo = rest - (s - sum);

    // s * s exactly, as z + zl (Dekker's product on halves of s).
    const double z = s * s;
    const double split = 134217729.0 * s;
    const double sh = split - (split - s), sl = s - sh;
    const double zl = ((sh * sh - z) + (sh * sl + sh * sl)) + sl * sl;

    const double ps =
        -0x1.5555555555555p-3 +
        z * (0x1.1111111111111p-7 +
             z * (-0x1.a01a01a01a01ap-13 +
                  z * (0x1.71de3a556c734p-19 +
                       z * (-0x1.ae64567f544e4p-26 +
                            z * (0x1.6124613a86d09p-33 +
                                 z * (-0x1.ae7f3e733b81fp-41 +
                                      z * (0x1.952c77030ad4ap-49 +
                                           z * (-0x1.2f49b46814157p-57 + z * 0x1.71b8ef6dcf572p-66))))))));
    const double pc =
        0x1.5555555555555p-5 +
        z * (-0x1.6c16c16c16c17p-10 +
             z * (0x1.a01a01a01a01ap-16 +
                  z * (-0x1.27e4fb7789f5cp-22 +
                       z * (0x1.1eed8eff8d898p-29 +
                            z * (-0x1.93974a8c07c9dp-37 +
                                 z * (0x1.ae7f3e733b81fp-45 +
                                      z * (-0x1.6827863b97d97p-53 + z * 0x1.e542ba4020225p-62)))))));
    // sin(s + lo) = s + lo cos s + (sin s - s); cos(s + lo) = cos s - lo sin s.
    const double sinPhi = s + ((lo - lo * (0.5 * z)) + (s * z) * ps);
    const double half = 1.0 - 0.5 * z;  // 1 - z/2 and its rounding error, exactly
    const double halfError = (1.0 - half) - 0.5 * z;
    const double cosPhi = half + (halfError + ((-0.5 * zl + (z * z) * pc) - s * lo));

    // Subtracting from +0 rather than negating keeps zeros positive.
    double c = 0.0, sn = 0.0;
    switch (octant) {
        case 0: c = cosPhi, sn = sinPhi; break;
        case 1: c = sinPhi, sn = cosPhi; break;
        case 2: c = 0.0 - sinPhi, sn = cosPhi; break;
        case 3: c = 0.0 - cosPhi, sn = sinPhi; break;
        case 4: c = 0.0 - cosPhi, sn = 0.0 - sinPhi; break;
        case 5: c = 0.0 - sinPhi, sn = 0.0 - cosPhi; break;
        case 6: c = sinPhi, sn = 0.0 - cosPhi; break;
        default: c = cosPhi, sn = 0.0 - sinPhi; break;
    }
    *cosine = c;
    *sine = sn;
}

}  // namespace lumo::platform::builtin
