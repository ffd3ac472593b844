// Cubic-convolution resize: a horizontal pass resamples source rows to the
// destination width, then a vertical pass resamples the columns to the
// destination height. Each pass takes 4 taps per output sample from a table
// built once per call, so the row bodies run without edge tests. Between the
// passes the values are samples of the output type: the horizontal result is
// clamped and truncated before the vertical pass reads it, and that loss of
// precision is part of the output.
//
// The passes run fused per band of destination rows (separable_resize.h),
// which resamples only the source rows some destination row reads; the plain
// two-pass form is bicubic_reference.cpp.
#include "resize/bicubic.h"

#include <cmath>
#include <cstdint>

#include "resize/kernels.h"
#include "resize/sample_access.h"
#include "resize/separable_resize.h"

namespace lumo {

double cubicFilter(double x) {
    const double t = std::fabs(x);
    // The inner piece is the library's own, not the textbook 1.5t^3 - 2.5t^2 + 1:
    // it has a kink at 0 (slope -0.5) and decides every weight, so it is kept
    // exactly, in this evaluation order.
    if (t < 1.0) return ((t - 2.0) * t * t + 1.0 - (1.0 - t)) * 0.5 + (1.0 - t);
    if (t >= 1.0 && t < 2.0) return (((t - 5.0) * t + 8.0) * t - 4.0) * -0.5;
    return 0.0;  // beyond the support, or a NaN, which fails every comparison above
}

void BuildCubicTaps(uint32_t count, uint32_t sourceCount, uint32_t* taps, double* weights) {
    const double scale = static_cast<double>(count) / static_cast<double>(sourceCount);
    const uint32_t last = sourceCount - 1;
    for (uint32_t i = 0; i < count; ++i) {
        const double centre = (static_cast<double>(i) + 0.5) / scale;
        // Truncation, not floor: for centres below 1.5 the taps start one
        // sample to the right of the nearest four, and the normalisation below
        // makes up for the missing one.
        const int32_t first = TruncateToInt32((centre + -2.0) + 0.5);
        uint32_t* tap = taps + static_cast<size_t>(i) * kCubicTaps;
        double* w = weights + static_cast<size_t>(i) * kCubicTaps;
        double sum = 0.0;
        for (uint32_t k = 0; k < kCubicTaps; ++k) {
            const int64_t j = static_cast<int64_t>(first) + k;
            w[k] = cubicFilter(static_cast<double>(j) + 0.5 - centre);
            sum = sum + w[k];
            // Past either edge the edge sample is repeated.
            tap[k] = j < 0 ? 0 : (j >= sourceCount ? last : static_cast<uint32_t>(j));
        }
        for (uint32_t k = 0; k < kCubicTaps; ++k) w[k] = w[k] / sum;
    }
}

LumoResult BiCubic(const ResizeRequest& request) {
    return RunInterpolatingResize(request, kCubicTaps, BuildCubicTaps);
}

}  // namespace lumo
