// The tap table of the cubic-convolution resize, shared by its column and row
// passes and reachable by the tests.
#pragma once

#include <cstdint>

#include "lumomath/LumoMath.h"

namespace lumo {

/// Taps per destination index: each destination sample is a weighted sum of 4 source samples.
inline constexpr uint32_t kCubicTaps = 4;

/// Fills `taps` and `weights` (kCubicTaps entries per destination index, 4 * count in all) for
/// resampling `sourceCount` samples to `count`: the source indices clamped to 0..sourceCount-1
/// and their weights normalised to add up to 1. For sourceCount 0 the indices are
/// meaningless: nothing may be read through them.
void BuildCubicTaps(uint32_t count, uint32_t sourceCount, uint32_t* taps, double* weights);

}  // namespace lumo
