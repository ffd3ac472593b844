// What an image described by the caller may look like before any kernel
// forms a row offset or a sample index from it.
//
// Row offsets (row * rowBytes) and sample indices are 32-bit quantities in
// every kernel, and row and pixel counts are handed to signed 32-bit loops.
// An image qualifies when all of that holds without wrapping; the checks here
// use wide arithmetic so that they cannot wrap themselves.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "lumomath/LumoMath.h"

namespace lumo {

struct ImageExtent {
    uint32_t width;
    uint32_t height;
    uint32_t channels;
    uint32_t bytesPerSample;
    uint32_t rowBytes;
};

/// True when the image has no sample at all (no width, height or channels).
constexpr bool IsEmpty(const ImageExtent& image) {
    return image.width == 0 || image.height == 0 || image.channels == 0;
}

/// Whether every sample of the image lies at a 32-bit byte offset from its
/// first sample, its rows do not overlap (rowBytes covers a row when there is
/// more than one) and its width and height are signed 32-bit counts. An empty
/// image qualifies.
bool IsAddressable(const ImageExtent& image);

/// Whether `region` is non-empty and lies wholly inside an image of `size`.
bool LiesInside(tagLumoRect region, tagLumoSize size);

/// Whether the product of the factors fits in 32 bits (a zero factor always does).
bool ProductFits32(std::initializer_list<uint64_t> factors);

}  // namespace lumo
