#include "frame/boundary.h"

#include "common/image_extent.h"
#include "frame/dispatch.h"

namespace lumo {
namespace {

// The averaging kernel keeps one accumulator per channel in a fixed array.
constexpr uint32_t kMaxAveragedChannels = 4;

bool KnownMethod(LumoScalingMethod method) {
    return method == kLumoScalingNearestNeighbor || method == kLumoScalingBiLinear ||
           method == kLumoScalingBiCubic || method == kLumoScalingSuperSampling;
}

// The separable kernels keep per-call tables of `taps` entries per
// destination column and row, and an intermediate image of the destination's
// width and the input's height. All of it is sized in 32 bits.
bool WorkingMemoryFits(uint32_t taps, const ResizeCall& call, uint32_t inputHeight, uint32_t bytesPerSample) {
    const tagLumoSize out = call.destinationSize;
    return ProductFits32({taps, out.width}) && ProductFits32({taps, out.height}) &&
           ProductFits32({call.channels, out.width, inputHeight, bytesPerSample});
}

}  // namespace

Admission AdmitResize(const ResizeCall& call) {
    // The dispatchers' own refusals, with the same code and before anything else.
    if (!KnownMethod(call.method)) return Admission::Refuse;
    const bool averaging = call.method == kLumoScalingSuperSampling;
    if (averaging && !SuperSamplingReduces(call.sourceSize, call.destinationSize)) return Admission::Refuse;
    if (call.bitsPerSample != 8 && call.bitsPerSample != 16) return Admission::Refuse;
    if (averaging && call.channels > kMaxAveragedChannels) return Admission::Refuse;

    // No destination pixel: nothing is read or written, and the kernels'
    // tables for an empty row or column would still be sized from the other
    // extent, for no result.
    if (call.destinationSize.width == 0 || call.destinationSize.height == 0) return Admission::NothingToWrite;

    if (call.source == nullptr || call.destination == nullptr) return Admission::Refuse;
    if (call.sourceSize.width == 0 || call.sourceSize.height == 0) return Admission::Refuse;
    const uint32_t bytesPerSample = call.bitsPerSample / 8;
    const ImageExtent source{call.sourceSize.width, call.sourceSize.height, call.channels, bytesPerSample,
                             call.sourceRowBytes};
    const ImageExtent destination{call.destinationSize.width, call.destinationSize.height, call.channels,
                                  bytesPerSample, call.destinationRowBytes};
    if (!IsAddressable(source) || !IsAddressable(destination)) return Admission::Refuse;

    uint32_t inputHeight = call.sourceSize.height;
    if (call.region != nullptr) {
        const tagLumoRect region = *call.region;
        if (region.width == 0 || region.height == 0) return Admission::Refuse;
        // Nearest neighbour clamps every mapped pixel to the whole source, so
        // its regions may lie anywhere; the other methods read the region as
        // an image of its own and must find it inside the source.
        if (call.method != kLumoScalingNearestNeighbor && !LiesInside(region, call.sourceSize))
            return Admission::Refuse;
        inputHeight = region.height;
    }
    // Pixels without samples: nothing to read or write, however large.
    if (call.channels == 0) return Admission::NothingToWrite;

    if (call.method == kLumoScalingBiLinear && !WorkingMemoryFits(2, call, inputHeight, bytesPerSample))
        return Admission::Refuse;
    if (call.method == kLumoScalingBiCubic && !WorkingMemoryFits(4, call, inputHeight, bytesPerSample))
        return Admission::Refuse;
    return Admission::Proceed;
}

}  // namespace lumo
