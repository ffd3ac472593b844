// What every layer of a resize passes: the images as views and one request.
//
// A whole-image resize is the request whose region is the whole source; the
// kernels compute the same bytes for it as for that region, so each method
// has one kernel per form (fast and plain), not one per variant.
#pragma once

#include <cassert>
#include <cstdint>

#include "lumomath/LumoMath.h"
#include "resize/sample_access.h"

namespace lumo {

/// An interleaved image as the caller lays it out: its top row's first sample,
/// its size in pixels and the bytes between row starts (any padding after a
/// row's pixels is never read or written).
template <class Byte>
struct ImageView {
    Byte* data;
    tagLumoSize size;
    uint32_t rowBytes;
};
using SourceView = ImageView<const unsigned char>;
using DestinationView = ImageView<unsigned char>;

/// The region of the source scaled onto the whole destination. Both images
/// have one pixel format: `channels` interleaved samples (also the pixel
/// stride in samples) of `bytesPerSample` bytes, native-endian.
///
/// A request that reaches a kernel has been admitted (frame/admission.h):
/// channels and both images are non-empty, bytesPerSample is 1 or 2, every
/// sample lies at a 32-bit offset, the region is non-empty and, for every
/// method but nearest neighbour (which clamps to the whole source), inside
/// the source, and the method's working memory has 32-bit sizes.
struct ResizeRequest {
    uint32_t channels;
    uint32_t bytesPerSample;
    SourceView source;
    tagLumoRect region;
    DestinationView destination;
};

/// The region that covers a whole image of `size`.
inline tagLumoRect WholeImage(tagLumoSize size) { return {0, 0, size.width, size.height}; }

/// What admission guarantees, checked in debug builds at each kernel's door.
inline void AssertAdmitted([[maybe_unused]] const ResizeRequest& r) {
    assert(r.channels != 0 && (r.bytesPerSample == 1 || r.bytesPerSample == 2));
    assert(r.source.data != nullptr && r.source.size.width != 0 && r.source.size.height != 0);
    assert(r.destination.data != nullptr && r.destination.size.width != 0 && r.destination.size.height != 0);
    assert(r.region.width != 0 && r.region.height != 0);
}

/// The region as an image of its own, for the methods that read nothing
/// outside it: its first sample is region.y rows down (a 32-bit row offset,
/// like every other) and region.x pixels in (signed, formed in 64 bits), and
/// its rows keep the source's stride.
inline SourceView RegionView(const ResizeRequest& r) {
    const int64_t firstByte = static_cast<int64_t>(r.region.x) * r.channels * r.bytesPerSample;
    return {RowAt(r.source.data, static_cast<uint32_t>(r.region.y), r.source.rowBytes) + firstByte,
            {r.region.width, r.region.height},
            r.source.rowBytes};
}

/// A kernel: scales an admitted request, returning kLumoResultOK or
/// kLumoResultNoMemory when its working memory cannot be had.
using ResizeKernel = LumoResult (*)(const ResizeRequest&);

}  // namespace lumo
