#include "frame/admission.h"

#include "common/image_extent.h"
#include "frame/resize_methods.h"

namespace lumo {
namespace {

// The averaging kernel keeps one accumulator per channel in a fixed array.
constexpr uint32_t kMaxAveragedChannels = 4;

// The separable kernels keep per-call tables of `taps` entries per
// destination column and row, and an intermediate image of the destination's
// width and the input's height. All of it is sized in 32 bits.
bool WorkingMemoryFits(uint32_t taps, const ResizeRequest& r) {
    const tagLumoSize out = r.destination.size;
    return ProductFits32({taps, out.width}) && ProductFits32({taps, out.height}) &&
           ProductFits32({r.channels, out.width, r.region.height, r.bytesPerSample});
}

}  // namespace

bool SuperSamplingReduces(tagLumoSize sourceSize, tagLumoSize destinationSize) {
    const double ratioX = static_cast<double>(destinationSize.width) / static_cast<double>(sourceSize.width);
    const double ratioY = static_cast<double>(destinationSize.height) / static_cast<double>(sourceSize.height);
    return !(ratioX >= 1.0 && ratioY >= 1.0);
}

Admission AdmitResize(LumoScalingMethod method, uint32_t bitsPerSample, const ResizeRequest& r) {
    // The method and depth first, in the order callers have always seen.
    if (FindResizeMethod(method) == nullptr) return Admission::Refuse;
    const bool averaging = method == kLumoScalingSuperSampling;
    // Against the whole source, also for a region: a region smaller than the
    // destination still passes while the whole source is larger.
    if (averaging && !SuperSamplingReduces(r.source.size, r.destination.size)) return Admission::Refuse;
    if (bitsPerSample != 8 && bitsPerSample != 16) return Admission::Refuse;
    if (averaging && r.channels > kMaxAveragedChannels) return Admission::Refuse;

    // No destination pixel: nothing is read or written, and the kernels'
    // tables for an empty row or column would still be sized from the other
    // extent, for no result.
    if (r.destination.size.width == 0 || r.destination.size.height == 0) return Admission::NothingToWrite;

    if (r.source.data == nullptr || r.destination.data == nullptr) return Admission::Refuse;
    if (r.source.size.width == 0 || r.source.size.height == 0) return Admission::Refuse;
    const ImageExtent source{r.source.size.width, r.source.size.height, r.channels, r.bytesPerSample,
                             r.source.rowBytes};
    const ImageExtent destination{r.destination.size.width, r.destination.size.height, r.channels,
                                  r.bytesPerSample, r.destination.rowBytes};
    if (!IsAddressable(source) || !IsAddressable(destination)) return Admission::Refuse;

    // A whole-image request's region is the whole source, which passes here.
    if (r.region.width == 0 || r.region.height == 0) return Admission::Refuse;
    // Nearest neighbour clamps every mapped pixel to the whole source, so its
    // regions may lie anywhere; the other methods read the region as an image
    // of its own and must find it inside the source.
    if (method != kLumoScalingNearestNeighbor && !LiesInside(r.region, r.source.size)) return Admission::Refuse;

    // Pixels without samples: nothing to read or write, however large.
    if (r.channels == 0) return Admission::NothingToWrite;

    if (method == kLumoScalingBiLinear && !WorkingMemoryFits(2, r)) return Admission::Refuse;
    if (method == kLumoScalingBiCubic && !WorkingMemoryFits(4, r)) return Admission::Refuse;
    return Admission::Proceed;
}

}  // namespace lumo
