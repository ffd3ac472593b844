// In-memory images of the lumomath tool and the error type its commands raise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace lumotool {

// A failure a person can act on; main() prints what() as one line on stderr.
class ToolError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A malformed command line (exit status 2 rather than 1).
class UsageError : public ToolError {
  public:
    using ToolError::ToolError;
};

// Interleaved 8- or 16-bit samples, rows packed without padding, 16-bit
// samples in native byte order: the layout the library's resize takes.
struct Image {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t channels = 0;
    uint32_t bits = 8;
    std::vector<uint8_t> data;

    // Sizes are checked against 32-bit row strides before anything is allocated.
    static Image Make(uint32_t w, uint32_t h, uint32_t c, uint32_t b);

    uint32_t BytesPerSample() const { return bits / 8; }
    uint32_t RowBytes() const { return width * channels * BytesPerSample(); }
    uint8_t* Row(uint32_t y) { return data.data() + static_cast<size_t>(y) * RowBytes(); }
    const uint8_t* Row(uint32_t y) const { return data.data() + static_cast<size_t>(y) * RowBytes(); }

    // Sample c of pixel (x, y), widened to 16 bits' range as stored (no scaling).
    uint32_t Sample(uint32_t x, uint32_t y, uint32_t c) const {
        const size_t i = static_cast<size_t>(x) * channels + c;
        if (bits == 8) return Row(y)[i];
        uint16_t v;
        std::memcpy(&v, Row(y) + 2 * i, 2);
        return v;
    }
    void SetSample(uint32_t x, uint32_t y, uint32_t c, uint32_t v) {
        const size_t i = static_cast<size_t>(x) * channels + c;
        if (bits == 8) {
            Row(y)[i] = static_cast<uint8_t>(v);
        } else {
            const auto s = static_cast<uint16_t>(v);
            std::memcpy(Row(y) + 2 * i, &s, 2);
        }
    }
};

// "640x480 RGB 8-bit", for messages and tables.
std::string Describe(const Image& image);

}  // namespace lumotool
