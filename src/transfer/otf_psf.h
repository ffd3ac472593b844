// PSF <-> OTF workers behind the four exported conversions: fft_common works
// in single precision, fft_commonD in double. `forward` picks PSF -> OTF
// (unscaled forward transform) over OTF -> PSF (inverse scaled by
// 1 / (width * height)).
#pragma once

#include <cstdint>

namespace lumo {

int32_t fft_common(const double* inReal, const double* inImag, double* outReal, double* outImag, int32_t width,
                   int32_t height, int32_t count, bool forward) noexcept;
int32_t fft_commonD(const double* inReal, const double* inImag, double* outReal, double* outImag, int32_t width,
                    int32_t height, int32_t count, bool forward) noexcept;

/// Column and row exponents of the transform span (2^ex columns, 2^ey rows)
/// for a plane of the given size, by each worker's rule.
int32_t TransformExponent(int32_t n, bool singlePrecision);

}  // namespace lumo
