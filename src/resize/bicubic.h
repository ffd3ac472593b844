// The tap table of the cubic-convolution resize, shared by its column and row
// passes and reachable by the tests.
#pragma once

#include <cstdint>

#include "lumomath/LumoMath.h"
#include "resize/sample_access.h"

namespace lumo {

/// Taps per destination index: each destination sample is a weighted sum of 4 source samples.
inline constexpr uint32_t kCubicTaps = 4;

/// Fills `taps` and `weights` (kCubicTaps entries per destination index, 4 * count in all) for
/// resampling `sourceCount` samples to `count`: the source indices clamped to 0..sourceCount-1
/// and their weights normalised to add up to 1. For sourceCount 0 the indices are
/// meaningless: nothing may be read through them.
void BuildCubicTaps(uint32_t count, uint32_t sourceCount, uint32_t* taps, double* weights);

/// kLumoResultOK when a resize of `sourceSize` to `destinationSize` can run:
/// no pass is asked for samples from an empty source axis, and every working
/// block's size fits the 32-bit quantities it is formed in (a size that does
/// not is refused like memory that cannot be had, kLumoResultNoMemory).
LumoResult CheckCubicSizes(uint32_t channels, tagLumoSize sourceSize, tagLumoSize destinationSize,
                           uint32_t bytesPerSample);

/// The first sample of a region: its row offset wraps in 32 bits like every
/// row offset, its column offset is signed and formed in 64 bits.
template <class T>
const unsigned char* CubicRegionOrigin(const unsigned char* source, uint32_t sourceRowBytes, tagLumoRect region,
                                       uint32_t channels) {
    return RowAt(source, static_cast<uint32_t>(region.y), sourceRowBytes) +
           static_cast<int64_t>(region.x) * channels * static_cast<int64_t>(sizeof(T));
}

}  // namespace lumo
