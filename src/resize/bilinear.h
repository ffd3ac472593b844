// The index and weight table of the bilinear resize, shared by its column and
// row passes and reachable by the tests, and the input view that the fast and
// the plain kernels share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lumomath/LumoMath.h"
#include "resize/sample_access.h"

namespace lumo {

/// Input samples that make up one output sample.
inline constexpr uint32_t kLinearTaps = 2;

/// Fills `taps` and `weights` (kLinearTaps entries per output index, 2 * count in all) for
/// resampling `sourceCount` samples to `count`: the input indices clamped to
/// 0..sourceCount-1 and their weights divided by their sum. The near edge extrapolates
/// from the first two inputs (one weight above 1, one negative), the far edge repeats
/// the last input. sourceCount must not be 0 unless count is.
void BuildLinearTaps(uint32_t count, uint32_t sourceCount, uint32_t* taps, double* weights);

/// The image the passes read: the whole source, or the region of it with the
/// source's row stride.
struct LinearInput {
    const unsigned char* data;
    uint32_t rowBytes;
    uint32_t width;
    uint32_t height;
};

/// The region starts region.y rows down (a 32-bit row offset, like every other)
/// and region.x pixels in; region.x is signed, so its offset is too. From here
/// on the region is an image of its own: indices clamp to it, never beyond.
template <class T>
LinearInput LinearRegionInput(uint32_t channels, const unsigned char* source, uint32_t sourceRowBytes,
                              tagLumoRect region) {
    const std::ptrdiff_t firstSample = static_cast<std::ptrdiff_t>(region.x) * static_cast<std::ptrdiff_t>(channels);
    const unsigned char* origin = RowAt(source, static_cast<uint32_t>(region.y), sourceRowBytes) +
                                  firstSample * static_cast<std::ptrdiff_t>(sizeof(T));
    return {origin, sourceRowBytes, region.width, region.height};
}

/// An empty input has no sample to interpolate from (its clamped indices
/// would wrap to 2^32 - 1); an empty output needs none.
inline bool LinearInputUsable(const LinearInput& input, tagLumoSize destinationSize) {
    return (input.width != 0 && input.height != 0) || destinationSize.width == 0 || destinationSize.height == 0;
}

}  // namespace lumo
