#include "common/image_extent.h"

#include <initializer_list>
#include <limits>

namespace lumo {

bool ProductFits32(std::initializer_list<uint64_t> factors) {
    constexpr uint64_t kLimit = std::numeric_limits<uint32_t>::max();
    for (const uint64_t f : factors)
        if (f == 0) return true;
    uint64_t product = 1;
    for (const uint64_t f : factors) {
        if (f > kLimit) return false;
        product *= f;  // both below 2^32 here, so this cannot wrap
        if (product > kLimit) return false;
    }
    return true;
}

bool IsAddressable(const ImageExtent& image) {
    if (IsEmpty(image)) return true;
    constexpr uint64_t kMaxOffset = std::numeric_limits<uint32_t>::max();
    constexpr uint32_t kMaxCount = std::numeric_limits<int32_t>::max();
    if (image.width > kMaxCount || image.height > kMaxCount) return false;
    const uint64_t rowLength = uint64_t{image.width} * image.channels * image.bytesPerSample;
    if (rowLength > kMaxOffset) return false;
    if (image.height == 1) return true;  // a single row never steps by rowBytes
    if (image.rowBytes < rowLength) return false;
    // rowBytes < 2^32 and height - 1 < 2^31: the product stays below 2^63.
    return uint64_t{image.rowBytes} * (image.height - 1u) + rowLength <= kMaxOffset;
}

bool LiesInside(tagLumoRect region, tagLumoSize size) {
    if (region.width == 0 || region.height == 0 || region.x < 0 || region.y < 0) return false;
    return int64_t{region.x} + region.width <= size.width && int64_t{region.y} + region.height <= size.height;
}

}  // namespace lumo
