// Debug dump of the host's image object to a headerless raw file.
//
// The file holds the samples row by row, top to bottom, each pixel's samples
// in the channel order of its kind (the order getPlane gives: plane 0 first
// for planar images, memory order for chunky ones), at their stored width. A
// planar colour image is interleaved row by row through a buffer of the
// runtime allocator. Everything that can fail is checked before the file is
// created, so a dump either writes the whole image or creates no file; a file
// that cannot be opened or written is not reported.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "lumomath/LumoUtility.h"
#include "utility/float_convert.h"

namespace {

constexpr size_t kNameCapacity = 1024;

struct ChannelOrder {
    int count;
    LumoImagePixelType types[4];
};

ChannelOrder ChannelsOfKind(int32_t kind) {
    switch (kind) {
        case 2: return {3, {kLumoPixelRed, kLumoPixelGreen, kLumoPixelBlue, kLumoPixelRed}};
        case 3: return {3, {kLumoPixelBlue, kLumoPixelGreen, kLumoPixelRed, kLumoPixelRed}};
        case 4: return {3, {kLumoPixelPlaneA, kLumoPixelPlaneB, kLumoPixelPlaneC, kLumoPixelRed}};
        case 5: return {4, {kLumoPixelRed, kLumoPixelGreen, kLumoPixelBlue, kLumoPixelPlaneA}};
        // Single-plane kinds answer any channel with their one plane.
        default: return {1, {kLumoPixelRed, kLumoPixelRed, kLumoPixelRed, kLumoPixelRed}};
    }
}

struct RowBuffer {
    unsigned char* bytes = nullptr;
    RowBuffer() = default;
    RowBuffer(const RowBuffer&) = delete;
    RowBuffer& operator=(const RowBuffer&) = delete;
    ~RowBuffer() { CLumoRuntime::LumoFree(bytes); }
};

}  // namespace

void __saveImage(__LumoObject* image, const char* baseName) {
    if (image == nullptr || baseName == nullptr) return;
    const CLumoImage& img = *image;
    const int32_t bytesPerSample = img.bitsPerSample / 8;
    if (img.width < 0 || img.height < 0 || bytesPerSample <= 0) return;

    const ChannelOrder order = ChannelsOfKind(img.kind);
    const unsigned char* sources[4] = {};
    for (int c = 0; c < order.count; ++c) {
        sources[c] = static_cast<const unsigned char*>(img.getPlane(order.types[c]));
        if (sources[c] == nullptr) return;
    }
    const bool interleave = img.layout == kLumoImageLayoutPlanar && order.count > 1;

    const auto width = static_cast<size_t>(img.width);
    const auto sampleBytes = static_cast<size_t>(bytesPerSample);
    const size_t outputRowBytes = width * static_cast<size_t>(order.count) * sampleBytes;
    const size_t planeRowBytes = interleave ? width * sampleBytes : outputRowBytes;
    const size_t stride = img.rowBytes != 0 ? img.rowBytes : planeRowBytes;
    const auto* rows = static_cast<const unsigned char*>(img.plane[0]);

    RowBuffer buffer;
    if (interleave) {
        // Room for the interleaved row and the allocator's 64 bytes of slack.
        if (outputRowBytes > UINT32_MAX - 64) return;
        buffer.bytes = static_cast<unsigned char*>(CLumoRuntime::LumoMalloc(static_cast<uint32_t>(outputRowBytes + 64)));
        if (buffer.bytes == nullptr) return;
    }

    char name[kNameCapacity];
    const tagLumoFRect& valid = img.validRegion;
    std::snprintf(name, sizeof(name), "%s_size(%dx%d)_valid(%d,%d)(%dx%d).raw", baseName, img.width, img.height,
                  lumo::TruncToInt32(valid.x), lumo::TruncToInt32(valid.y), lumo::TruncToInt32(valid.width),
                  lumo::TruncToInt32(valid.height));
    std::FILE* file = std::fopen(name, "wb");
    if (file == nullptr) return;

    for (size_t y = 0; y < static_cast<size_t>(img.height); ++y) {
        const unsigned char* row = rows + y * stride;
        if (interleave) {
            unsigned char* out = buffer.bytes;
            for (size_t x = 0; x < width; ++x) {
                for (int c = 0; c < order.count; ++c) {
                    std::memcpy(out, sources[c] + y * stride + x * sampleBytes, sampleBytes);
                    out += sampleBytes;
                }
            }
            row = buffer.bytes;
        }
        if (std::fwrite(row, 1, outputRowBytes, file) != outputRowBytes) break;
    }
    std::fclose(file);
}
