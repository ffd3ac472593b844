// Bilinear scaling in two separable passes: along the rows to the destination
// width, then along the columns into the destination. The values between the
// passes are samples of the output type, clamped and truncated; that
// reduction is part of the output values.
//
// Every product and sum is rounded separately in double, in the order
// written, in both passes. The passes run fused per band of destination rows
// (separable_resize.h), which computes only the input rows that some
// destination row reads; the plain two-pass form is bilinear_reference.cpp.
#include "resize/bilinear.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "resize/kernels.h"
#include "resize/sample_access.h"
#include "resize/separable_resize.h"

namespace lumo {
namespace {

uint32_t ClampIndex(int32_t index, uint32_t length) {
    if (index < 0) return 0;
    if (static_cast<uint32_t>(index) >= length) return length - 1;
    return static_cast<uint32_t>(index);
}

}  // namespace

void BuildLinearTaps(uint32_t count, uint32_t sourceCount, uint32_t* taps, double* weights) {
    const double scale = static_cast<double>(count) / static_cast<double>(sourceCount);
    for (uint32_t i = 0; i < count; ++i) {
        const double centre = (static_cast<double>(i) + 0.5) / scale;
        // Truncation, not floor: a start between -1 and 0 becomes 0, so the
        // first outputs of an enlargement extrapolate from inputs 0 and 1
        // while the far edge only repeats the last input.
        const int32_t start = TruncateToInt32(centre - 1.0 + 0.5);
        int32_t index[kLinearTaps];
        double weight[kLinearTaps];
        for (uint32_t k = 0; k < kLinearTaps; ++k) {
            index[k] = start + static_cast<int32_t>(k);
            // The weight comes from the index before it is clamped.
            weight[k] = 1.0 - std::fabs(static_cast<double>(index[k]) + 0.5 - centre);
        }
        const double sum = weight[0] + weight[1];
        for (uint32_t k = 0; k < kLinearTaps; ++k) {
            taps[i * kLinearTaps + k] = ClampIndex(index[k], sourceCount);
            weights[i * kLinearTaps + k] = weight[k] / sum;
        }
    }
}

LumoResult BiLinear(const ResizeRequest& request) {
    return RunInterpolatingResize(request, kLinearTaps, BuildLinearTaps);
}

}  // namespace lumo
