// One fuzzed call of LumoMathResize or LumoMathResizeWithRegion.
//
// Calls whose buffers fit a fuzzing run get buffers of exactly the bytes
// their parameters describe. Calls describing an image that 32-bit offsets
// cannot reach must be refused with 7: they get small buffers, which any
// access the refusal failed to prevent would overrun. Either way a call that
// does not succeed must leave the destination as it was.
#pragma once

#include <cstdint>
#include <iterator>

#include "fuzz_input.h"
#include "lumomath/LumoMath.h"

namespace fuzz {

inline LumoScalingMethod Method(Input& in) {
    const uint8_t pick = in.Byte();
    static constexpr LumoScalingMethod kMethods[] = {1, 2, 4, 8, 1, 2, 4, 8, 0, 3, 16};
    if (pick < 240) return kMethods[pick % std::size(kMethods)];
    return in.U32();
}

inline void FuzzResize(const uint8_t* data, size_t size, bool withRegion) {
    Input in(data, size);
    const LumoScalingMethod method = Method(in);
    const uint32_t channels = in.Byte() % 9;
    const uint32_t bits = Depth(in);
    const tagLumoSize source{in.Extent(), in.Extent()};
    const tagLumoSize destination{in.Extent(), in.Extent()};
    tagLumoRect region{0, 0, source.width, source.height};
    if (withRegion) region = {in.Coordinate(), in.Coordinate(), in.Extent(), in.Extent()};
    const uint32_t sampleBytes = bits == 16 ? 2 : 1;
    const Wide sourceRow = Wide{source.width} * channels * sampleBytes;
    const Wide destinationRow = Wide{destination.width} * channels * sampleBytes;
    const uint32_t sourceRowBytes = in.Stride(sourceRow);
    const uint32_t destinationRowBytes = in.Stride(destinationRow);
    const uint8_t flags = in.Byte();

    const auto call = [&](const void* src, void* dst) {
        return withRegion ? LumoMathResizeWithRegion(method, channels, bits, src, source, sourceRowBytes, region, dst,
                                                     destination, destinationRowBytes)
                          : LumoMathResize(method, channels, bits, src, source, sourceRowBytes, dst, destination,
                                           destinationRowBytes);
    };

    const bool nothingToWrite = destination.width == 0 || destination.height == 0 || channels == 0;
    const Wide sourceBytes = ImageBytes(source.height, sourceRow, sourceRowBytes);
    const Wide destinationBytes = ImageBytes(destination.height, destinationRow, destinationRowBytes);
    const bool unreachable = Unreachable(source, sourceBytes, destination, destinationBytes);
    if (nothingToWrite || unreachable) {
        const LumoResult result = CallTouchingNothing(call, flags & 1);
        if (!nothingToWrite && result != kLumoResultInvalidParameter) Broken();
        return;
    }

    // Work the call may legitimately do: both images, and the separable
    // methods' intermediate image of the destination's width and the input's height.
    const uint32_t inputHeight = withRegion ? region.height : source.height;
    const Wide work = Wide{source.width} * source.height * channels +
                      Wide{destination.width} * destination.height * channels +
                      Wide{destination.width} * inputHeight * channels + 4 * (Wide{destination.width} + destination.height);
    if (sourceBytes > kMaxBufferBytes || destinationBytes > kMaxBufferBytes || work > kMaxWork) return;

    Buffer src(static_cast<size_t>(sourceBytes), 0x3C);
    Buffer dst(static_cast<size_t>(destinationBytes), 0xC3);
    const LumoResult result = call((flags & 2) ? nullptr : src.data(), (flags & 4) ? nullptr : dst.data());
    if (result != kLumoResultOK && !dst.AllEqual(0xC3)) Broken();
    if (result != kLumoResultOK && result != kLumoResultInvalidParameter && result != kLumoResultNoMemory) Broken();
}

}  // namespace fuzz
