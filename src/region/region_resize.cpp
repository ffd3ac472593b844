#include "region/region_resize.h"

#include <cstddef>
#include <cstdint>

#include "common/image_extent.h"
#include "common/work_memory.h"
#include "lumomath/LumoMath.h"

namespace lumo {
namespace {

constexpr uint32_t kMaxExtent = 0x7FFFFFFFu;  // the templates take signed 32-bit sizes

// Bytes per source sample as far as the caller's buffer goes. Halving reads
// every depth but 8 as 16-bit samples, while the region's origin steps
// x * channels * bitsPerSample / 8 bytes in: rows must hold the larger of the two.
uint32_t SourceSampleBytes(uint32_t bitsPerSample) {
    if (bitsPerSample == 8) return 1;
    const uint32_t stated = bitsPerSample / 8 + (bitsPerSample % 8 != 0 ? 1 : 0);
    return stated > 2 ? stated : 2;
}

template <class T>
LumoResult HalveThenFinish(int32_t channels, const unsigned char* start, int32_t width, int32_t height,
                           uint32_t rowBytes, unsigned char* destination, int32_t dw, int32_t dh,
                           uint32_t destinationRowBytes) {
    const unsigned char* current = start;
    unsigned char* intermediate = nullptr;  // owned; it is `current` once the first halving is done
    while (width / 2 >= dw && height / 2 >= dh) {
        const int32_t halfW = width / 2;
        const int32_t halfH = height / 2;
        // Packed rows of the sample type the templates write. Row offsets of
        // the intermediate must fit the 32 bits they are formed in.
        const uint64_t halfRowBytes =
            uint64_t{static_cast<uint32_t>(halfW)} * static_cast<uint32_t>(channels) * sizeof(T);
        const uint64_t bytes = halfRowBytes * static_cast<uint32_t>(halfH);
        auto* half =
            bytes <= UINT32_MAX ? static_cast<unsigned char*>(WorkMalloc(static_cast<size_t>(bytes))) : nullptr;
        if (half == nullptr) {
            WorkFree(intermediate);
            return kLumoResultRegionNoMemory;
        }
        resize_half<T>(current, width, height, static_cast<int32_t>(rowBytes), half, halfW, halfH,
                       static_cast<int32_t>(halfRowBytes), channels);
        WorkFree(intermediate);
        intermediate = half;
        current = half;
        width = halfW;
        height = halfH;
        rowBytes = static_cast<uint32_t>(halfRowBytes);
    }
    if (width == dw && height == dh) {
        image_copy<T>(current, width, height, static_cast<int32_t>(rowBytes), destination, dw, dh,
                      static_cast<int32_t>(destinationRowBytes), channels);
    } else {
        bilinear<T>(current, width, height, static_cast<int32_t>(rowBytes), destination, dw, dh,
                    static_cast<int32_t>(destinationRowBytes), channels);
    }
    WorkFree(intermediate);
    return kLumoResultOK;
}

}  // namespace
}  // namespace lumo

extern "C" LUMO_API LumoResult ResizeWithRegion(LumoScalingMethod /*method*/, uint32_t channels,
                                                uint32_t bitsPerSample, const void* source,
                                                tagLumoSize sourceSize, uint32_t sourceRowBytes,
                                                tagLumoRect region, void* destination,
                                                tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    using namespace lumo;
    const uint32_t W = region.width;
    const uint32_t H = region.height;
    const uint32_t dw = destinationSize.width;
    const uint32_t dh = destinationSize.height;
    // An empty region has nothing to sample and an empty destination would
    // never stop the halving; extents beyond the signed 32-bit range do not
    // fit the templates. Nothing is written for any of them.
    if (W == 0 || H == 0 || dw == 0 || dh == 0 || W > kMaxExtent || H > kMaxExtent || dw > kMaxExtent ||
        dh > kMaxExtent || channels > kMaxExtent) {
        return kLumoResultInvalidParameter;
    }

    const bool halving = dw < W && dh < H;
    if (!halving && bitsPerSample != 8 && bitsPerSample != 16) return kLumoResultUnsupportedDepth;
    // Everything read lies inside the region, which must lie inside the
    // source; both images must be reachable with 32-bit row offsets.
    const ImageExtent sourceImage{sourceSize.width, sourceSize.height, channels, SourceSampleBytes(bitsPerSample),
                                  sourceRowBytes};
    const ImageExtent destinationImage{dw, dh, channels, bitsPerSample == 8 ? 1u : 2u, destinationRowBytes};
    if (source == nullptr || destination == nullptr || !LiesInside(region, sourceSize) ||
        !IsAddressable(sourceImage) || !IsAddressable(destinationImage)) {
        return kLumoResultInvalidParameter;
    }
    // No channel: nothing to read or write, however large the extents.
    if (channels == 0) return kLumoResultOK;

    // The region's origin, in the same unsigned 32-bit products the host has
    // always seen: a column offset in bits, then whole bytes.
    const auto* startRow = static_cast<const unsigned char*>(source) +
                           static_cast<uint32_t>(region.y) * sourceRowBytes;
    const unsigned char* start =
        startRow + (static_cast<uint32_t>(region.x) * channels * bitsPerSample) / 8u;
    auto* out = static_cast<unsigned char*>(destination);
    const auto ch = static_cast<int32_t>(channels);
    const auto w = static_cast<int32_t>(W);
    const auto h = static_cast<int32_t>(H);
    const auto outW = static_cast<int32_t>(dw);
    const auto outH = static_cast<int32_t>(dh);

    if (!halving) {
        // Enlarging, equal or mixed: one bilinear pass straight from the region.
        if (bitsPerSample == 16) {
            bilinear<uint16_t>(start, w, h, static_cast<int32_t>(sourceRowBytes), out, outW, outH,
                               static_cast<int32_t>(destinationRowBytes), ch);
        } else {
            bilinear<uint8_t>(start, w, h, static_cast<int32_t>(sourceRowBytes), out, outW, outH,
                              static_cast<int32_t>(destinationRowBytes), ch);
        }
        return kLumoResultOK;
    }

    // Reducing in both directions: every depth but 8 is read as 16-bit samples.
    if (bitsPerSample == 8) {
        return HalveThenFinish<uint8_t>(ch, start, w, h, sourceRowBytes, out, outW, outH, destinationRowBytes);
    }
    return HalveThenFinish<uint16_t>(ch, start, w, h, sourceRowBytes, out, outW, outH, destinationRowBytes);
}
