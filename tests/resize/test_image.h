// Test images for the resize tests: interleaved buffers with optional row
// padding, filled with a known pattern, whose padding can be checked for
// writes afterwards.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "lumomath/LumoMath.h"
#include "resize/resize_request.h"

namespace lumo::test {

inline constexpr unsigned char kPaddingCanary = 0xA7;

struct TestImage {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t channels = 1;
    uint32_t bytesPerSample = 1;
    uint32_t rowBytes = 0;
    std::vector<unsigned char> bytes;

    /// A zeroed image whose rows carry `padding` extra bytes filled with the canary.
    static TestImage Make(uint32_t width, uint32_t height, uint32_t channels, uint32_t bitsPerSample,
                          uint32_t padding = 0) {
        TestImage im;
        im.width = width;
        im.height = height;
        im.channels = channels;
        im.bytesPerSample = bitsPerSample / 8;
        im.rowBytes = width * channels * im.bytesPerSample + padding;
        im.bytes.assign(static_cast<size_t>(im.rowBytes) * height, 0);
        // An empty image has no buffer to hand to memset, even for 0 bytes.
        if (padding != 0)
            for (uint32_t y = 0; y < height; ++y)
                std::memset(im.Row(y) + im.rowBytes - padding, kPaddingCanary, padding);
        return im;
    }

    /// An image of random samples (see FillRandom).
    static TestImage Random(uint32_t width, uint32_t height, uint32_t channels, uint32_t bitsPerSample,
                            uint32_t padding, uint32_t seed) {
        TestImage im = Make(width, height, channels, bitsPerSample, padding);
        im.FillRandom(seed);
        return im;
    }

    tagLumoSize Size() const { return {width, height}; }
    unsigned char* Data() { return bytes.data(); }
    const unsigned char* Data() const { return bytes.data(); }
    unsigned char* Row(uint32_t y) { return bytes.data() + static_cast<size_t>(y) * rowBytes; }
    const unsigned char* Row(uint32_t y) const { return bytes.data() + static_cast<size_t>(y) * rowBytes; }
    SourceView View() const { return {Data(), Size(), rowBytes}; }
    DestinationView Out() { return {Data(), Size(), rowBytes}; }

    uint32_t Get(uint32_t x, uint32_t y, uint32_t c) const {
        const unsigned char* p = Row(y) + (static_cast<size_t>(x) * channels + c) * bytesPerSample;
        if (bytesPerSample == 1) return *p;
        uint16_t v;
        std::memcpy(&v, p, 2);
        return v;
    }
    void Set(uint32_t x, uint32_t y, uint32_t c, uint32_t value) {
        unsigned char* p = Row(y) + (static_cast<size_t>(x) * channels + c) * bytesPerSample;
        if (bytesPerSample == 1) {
            *p = static_cast<unsigned char>(value);
        } else {
            const auto v = static_cast<uint16_t>(value);
            std::memcpy(p, &v, 2);
        }
    }

    /// Fills every sample (not the padding) with uniform random values of the sample range.
    void FillRandom(uint32_t seed) {
        std::mt19937 rng(seed);
        const uint32_t max = bytesPerSample == 1 ? 255u : 65535u;
        std::uniform_int_distribution<uint32_t> dist(0, max);
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x)
                for (uint32_t c = 0; c < channels; ++c) Set(x, y, c, dist(rng));
    }

    /// True when no padding byte of any row was changed.
    bool PaddingIntact() const {
        const uint32_t used = width * channels * bytesPerSample;
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t i = used; i < rowBytes; ++i)
                if (Row(y)[i] != kPaddingCanary) return false;
        return true;
    }

    /// The samples without padding, row after row (for comparing images of different strides).
    std::vector<uint32_t> Samples() const {
        std::vector<uint32_t> out;
        out.reserve(static_cast<size_t>(width) * height * channels);
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x)
                for (uint32_t c = 0; c < channels; ++c) out.push_back(Get(x, y, c));
        return out;
    }
};

}  // namespace lumo::test
