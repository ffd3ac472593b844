// The index and weight table of the bilinear resize, shared by its column and
// row passes and by the fast and the plain kernels, and reachable by the tests.
#pragma once

#include <cstdint>

#include "lumomath/LumoMath.h"

namespace lumo {

/// Input samples that make up one output sample.
inline constexpr uint32_t kLinearTaps = 2;

/// Fills `taps` and `weights` (kLinearTaps entries per output index, 2 * count in all) for
/// resampling `sourceCount` samples to `count`: the input indices clamped to
/// 0..sourceCount-1 and their weights divided by their sum. The near edge extrapolates
/// from the first two inputs (one weight above 1, one negative), the far edge repeats
/// the last input. sourceCount must not be 0 unless count is.
void BuildLinearTaps(uint32_t count, uint32_t sourceCount, uint32_t* taps, double* weights);

}  // namespace lumo
