#include "image.h"

#include <limits>

namespace lumotool {

Image Image::Make(uint32_t w, uint32_t h, uint32_t c, uint32_t b) {
    if (w == 0 || h == 0) throw ToolError("an image needs at least one pixel, not " + std::to_string(w) + "x" + std::to_string(h));
    if (c < 1 || c > 4) throw ToolError("images have 1 to 4 channels, not " + std::to_string(c));
    if (b != 8 && b != 16) throw ToolError("images have 8- or 16-bit samples, not " + std::to_string(b));
    const uint64_t row = uint64_t{w} * c * (b / 8);
    // Row strides travel as 32-bit values; the limit on the whole keeps a typo
    // such as 100000x100000 from asking for tens of gigabytes.
    constexpr uint64_t kMaxBytes = uint64_t{1} << 32;
    if (row > std::numeric_limits<uint32_t>::max() || row * h > kMaxBytes)
        throw ToolError("a " + std::to_string(w) + "x" + std::to_string(h) + " image is too large (at most 4 GiB of samples)");
    Image image;
    image.width = w;
    image.height = h;
    image.channels = c;
    image.bits = b;
    try {
        image.data.assign(static_cast<size_t>(row * h), 0);
    } catch (const std::bad_alloc&) {
        throw ToolError("not enough memory for a " + std::to_string(w) + "x" + std::to_string(h) + " image");
    }
    return image;
}

std::string Describe(const Image& image) {
    static constexpr const char* kLayouts[5] = {"", "gray", "gray+alpha", "RGB", "RGBA"};
    return std::to_string(image.width) + "x" + std::to_string(image.height) + " " + kLayouts[image.channels] + " " +
           std::to_string(image.bits) + "-bit";
}

}  // namespace lumotool
