// The single-threaded region path: 2x2 halving, exact copy and a one-factor
// bilinear resampling, each a template over the sample type (unsigned char or
// unsigned short).
//
// The images are passed as byte pointers whatever the sample width, because a
// region of a 16-bit image may start on an odd byte; samples go through
// LoadSample/StoreSample. Widths, heights, row strides and the channel count
// are signed 32-bit, as the routine has always passed them; row offsets are
// formed in 32 bits (they wrap at 2^32 like everywhere else in the library).
#pragma once

#include <cstdint>

#include "resize/sample_access.h"

namespace lumo {

/// Each destination sample is the rounded mean of a 2x2 block of the source
/// (halves round up). The source size is implied by the destination's: an odd
/// last row or column of the source is never read.
template <class T>
void resize_half(const unsigned char* src, int32_t /*srcW*/, int32_t /*srcH*/, int32_t srcRowBytes,
                 unsigned char* dst, int32_t dstW, int32_t dstH, int32_t dstRowBytes, int32_t channels) {
    const auto srcStride = static_cast<uint32_t>(srcRowBytes);
    const auto dstStride = static_cast<uint32_t>(dstRowBytes);
    const auto ch = static_cast<uint32_t>(channels);
    for (int32_t y = 0; y < dstH; ++y) {
        const unsigned char* top = RowAt(src, 2u * static_cast<uint32_t>(y), srcStride);
        const unsigned char* bottom = RowAt(src, 2u * static_cast<uint32_t>(y) + 1u, srcStride);
        unsigned char* out = RowAt(dst, static_cast<uint32_t>(y), dstStride);
        for (int32_t x = 0; x < dstW; ++x) {
            const uint32_t left = 2u * static_cast<uint32_t>(x) * ch;
            const uint32_t right = left + ch;
            for (int32_t c = 0; c < channels; ++c) {
                const auto k = static_cast<uint32_t>(c);
                const uint32_t sum = uint32_t{LoadSample<T>(top, left + k)} + LoadSample<T>(top, right + k) +
                                     LoadSample<T>(bottom, left + k) + LoadSample<T>(bottom, right + k);
                StoreSample<T>(out, static_cast<uint32_t>(x) * ch + k, static_cast<T>((sum + 2u) / 4u));
            }
        }
    }
}

/// Copies the destination's extent of pixels from the source, row by row.
template <class T>
void image_copy(const unsigned char* src, int32_t /*srcW*/, int32_t /*srcH*/, int32_t srcRowBytes,
                unsigned char* dst, int32_t dstW, int32_t dstH, int32_t dstRowBytes, int32_t channels) {
    const auto ch = static_cast<uint32_t>(channels);
    for (int32_t y = 0; y < dstH; ++y) {
        const unsigned char* in = RowAt(src, static_cast<uint32_t>(y), static_cast<uint32_t>(srcRowBytes));
        unsigned char* out = RowAt(dst, static_cast<uint32_t>(y), static_cast<uint32_t>(dstRowBytes));
        for (int32_t x = 0; x < dstW; ++x) {
            for (int32_t c = 0; c < channels; ++c) {
                const uint32_t i = static_cast<uint32_t>(x) * ch + static_cast<uint32_t>(c);
                StoreSample<T>(out, i, LoadSample<T>(in, i));
            }
        }
    }
}

/// The two source positions (row or column) a destination position i reads
/// with scale s over n source positions, and the weight of the second: the
/// mapped coordinate stops at the last position, so positions past n * s
/// repeat it.
struct BilinearTaps {
    int32_t first;
    int32_t second;
    double weight;
};

inline BilinearTaps TapsAt(int32_t i, double s, int32_t n) {
    double f = static_cast<double>(i) / s;
    if (f >= static_cast<double>(n)) f = static_cast<double>(n) - 1.0;
    const int32_t i0 = TruncateToInt32(f);
    BilinearTaps t;
    t.weight = f - static_cast<double>(i0);
    t.first = i0 < 0 ? 0 : (i0 > n - 1 ? n - 1 : i0);
    t.second = i0 >= 0 ? i0 + 1 : 0;
    if (t.second > n - 1) t.second = n - 1;
    return t;
}

/// Bilinear resampling with one scale factor, destination width over source
/// width, for both axes: the path is meant for regions with the destination's
/// aspect ratio. When the aspects differ, rows past srcH * s repeat the last
/// source row and rows past dstH / s are never read.
template <class T>
void bilinear(const unsigned char* src, int32_t srcW, int32_t srcH, int32_t srcRowBytes, unsigned char* dst,
              int32_t dstW, int32_t dstH, int32_t dstRowBytes, int32_t channels) {
    // Nothing to sample from, or nothing to write.
    if (srcW <= 0 || srcH <= 0 || dstW <= 0 || dstH <= 0) return;
    const double s = static_cast<double>(dstW) / static_cast<double>(srcW);
    const auto ch = static_cast<uint32_t>(channels);
    for (int32_t y = 0; y < dstH; ++y) {
        const BilinearTaps row = TapsAt(y, s, srcH);
        const double wy = row.weight;
        const unsigned char* a = RowAt(src, static_cast<uint32_t>(row.first), static_cast<uint32_t>(srcRowBytes));
        const unsigned char* b = RowAt(src, static_cast<uint32_t>(row.second), static_cast<uint32_t>(srcRowBytes));
        unsigned char* out = RowAt(dst, static_cast<uint32_t>(y), static_cast<uint32_t>(dstRowBytes));
        for (int32_t x = 0; x < dstW; ++x) {
            const BilinearTaps column = TapsAt(x, s, srcW);
            const double wx = column.weight;
            const uint32_t iA = static_cast<uint32_t>(column.first) * ch;
            const uint32_t iB = static_cast<uint32_t>(column.second) * ch;
            for (int32_t c = 0; c < channels; ++c) {
                const auto k = static_cast<uint32_t>(c);
                const int32_t p00 = LoadSample<T>(a, iA + k);
                const int32_t p01 = LoadSample<T>(a, iB + k);
                const int32_t p10 = LoadSample<T>(b, iA + k);
                const int32_t p11 = LoadSample<T>(b, iB + k);
                const int32_t d = p00 - p01 - p10 + p11;
                const double dx = static_cast<double>(p01 - p00) * wx;
                const double value = static_cast<double>(p00) +
                                     (static_cast<double>(p10 - p00) * wy + (static_cast<double>(d) * wx * wy + dx));
                StoreSample<T>(out, static_cast<uint32_t>(x) * ch + k, static_cast<T>(TruncateToInt32(value)));
            }
        }
    }
}

}  // namespace lumo
