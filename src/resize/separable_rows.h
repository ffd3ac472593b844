// The per-sample arithmetic of the interpolating resizes in plain C++: the
// loops the vector row kernels fall back to for their tails, and the whole
// row on targets without vectors.
#pragma once

#include <cstddef>
#include <cstdint>

#include "resize/sample_access.h"

namespace lumo {

/// Output pixels [from, width) of one input row resampled along the row:
/// sample (x, c) = ((s0 * w0 + s1 * w1) + ...) over the taps of column x,
/// clamped and truncated. `taps` and `weights` hold Taps entries per column.
/// `Channels` is the channel count when known at compile time, 0 otherwise.
template <class T, uint32_t Taps, uint32_t Channels>
void ResampleRowScalar(const unsigned char* input, T* out, uint32_t channels, uint32_t from, uint32_t width,
                       const uint32_t* taps, const double* weights) {
    const uint32_t n = Channels != 0 ? Channels : channels;
    for (uint32_t x = from; x < width; ++x) {
        const uint32_t* tap = taps + static_cast<size_t>(x) * Taps;
        const double* w = weights + static_cast<size_t>(x) * Taps;
        uint32_t first[Taps];
        for (uint32_t k = 0; k < Taps; ++k) first[k] = tap[k] * n;
        for (uint32_t c = 0; c < n; ++c) {
            double v = static_cast<double>(LoadSample<T>(input, first[0] + c)) * w[0];
            for (uint32_t k = 1; k < Taps; ++k) v = v + static_cast<double>(LoadSample<T>(input, first[k] + c)) * w[k];
            out[static_cast<size_t>(x) * n + c] = ClampTruncate<T>(v);
        }
    }
}

/// Samples [from, count) of one destination row blended from Taps
/// intermediate rows: ((rows[0][e] * w[0] + rows[1][e] * w[1]) + ...),
/// clamped and truncated. `out` need not be aligned for T.
template <class T, uint32_t Taps>
void BlendRowsScalar(const T* const* rows, const double* weights, uint32_t from, uint32_t count,
                     unsigned char* out) {
    for (uint32_t e = from; e < count; ++e) {
        double v = static_cast<double>(rows[0][e]) * weights[0];
        for (uint32_t k = 1; k < Taps; ++k) v = v + static_cast<double>(rows[k][e]) * weights[k];
        StoreSample<T>(out, e, ClampTruncate<T>(v));
    }
}

}  // namespace lumo
