// Shared pieces of the fuzz targets: reading call parameters from the
// fuzzer's bytes (every value may be small, moderate or any 32-bit pattern),
// and buffers sized exactly to what a call describes, so that AddressSanitizer
// sees any byte read or written outside them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "lumomath/LumoMath.h"

namespace fuzz {

__extension__ typedef unsigned __int128 Wide;

// Buffers and working sets beyond these are legitimate but too slow or too
// large for a fuzzing run; such calls are skipped unless they must be refused.
// Kept small: the boundary is reached as well by small images, and a run
// then tries many more calls.
constexpr size_t kMaxBufferBytes = size_t{1} << 18;
constexpr Wide kMaxWork = Wide{1} << 18;
constexpr Wide kMax32 = 0xFFFFFFFFu;

class Input {
public:
    Input(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    uint8_t Byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    uint32_t U32() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v |= static_cast<uint32_t>(Byte()) << (8 * i);
        return v;
    }
    /// A count: mostly small, sometimes moderate, sometimes any 32-bit value.
    uint32_t Extent() {
        const uint8_t mode = Byte();
        const uint32_t v = U32();
        switch (mode % 4) {
            case 0: return v % 17;
            case 1: return v % 257;
            case 2: return v % 4097;
            default: return v;
        }
    }
    /// A signed coordinate: mostly near the image, sometimes any value.
    int32_t Coordinate() {
        const uint8_t mode = Byte();
        const uint32_t v = U32();
        if (mode % 3 != 2) return static_cast<int32_t>(v % 49) - 8;
        return static_cast<int32_t>(v);
    }
    /// A row stride near `tight` (a row's bytes), or any value.
    uint32_t Stride(Wide tight) {
        const uint8_t mode = Byte();
        const uint32_t v = U32();
        const auto t = static_cast<uint32_t>(tight);  // wraps for rows past 32 bits, on purpose
        switch (mode % 4) {
            case 0: return t;
            case 1: return t + v % 17;
            case 2: return t - v % 5;
            default: return v;
        }
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

/// A sample depth: mostly 8 or 16, sometimes another small one or any value.
inline uint32_t Depth(Input& in) {
    const uint8_t pick = in.Byte();
    static constexpr uint32_t kDepths[] = {8, 16, 8, 16, 0, 12, 32};
    if (pick < 240) return kDepths[pick % (sizeof(kDepths) / sizeof(kDepths[0]))];
    return in.U32();
}

/// Bytes of an image of `height` rows, `rowBytes` apart, each `row` bytes long.
inline Wide ImageBytes(uint32_t height, Wide row, uint32_t rowBytes) {
    if (height == 0 || row == 0) return 0;
    return Wide{rowBytes} * (height - 1) + row;
}

/// A heap block of exactly `bytes` bytes (at least one, so that it has an
/// address), filled with `fill`.
class Buffer {
public:
    Buffer(size_t bytes, uint8_t fill) : m_bytes(bytes), m_data(static_cast<uint8_t*>(std::malloc(bytes ? bytes : 1))) {
        std::memset(m_data, fill, bytes ? bytes : 1);
    }
    ~Buffer() { std::free(m_data); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    uint8_t* data() { return m_data; }
    bool AllEqual(uint8_t fill) const {
        for (size_t i = 0; i < (m_bytes ? m_bytes : 1); ++i)
            if (m_data[i] != fill) return false;
        return true;
    }

private:
    size_t m_bytes;
    uint8_t* m_data;
};

/// Whether a call's images lie beyond what 32-bit offsets and signed 32-bit
/// counts reach: with a destination to write, such a call must be refused.
inline bool Unreachable(tagLumoSize source, Wide sourceBytes, tagLumoSize destination, Wide destinationBytes) {
    return sourceBytes > kMax32 || destinationBytes > kMax32 || source.width > INT32_MAX ||
           source.height > INT32_MAX || destination.width > INT32_MAX || destination.height > INT32_MAX;
}

/// Runs a call that must read and write nothing, with no buffers or with
/// buffers of a few bytes, and checks that the destination stayed as it was.
template <class Call>
uint32_t CallTouchingNothing(const Call& call, bool withoutBuffers);

/// Stops the run with a crash the fuzzer records, for a broken promise that
/// no sanitizer would notice (a wrong code, a write on refusal).
[[noreturn]] inline void Broken() { __builtin_trap(); }

template <class Call>
uint32_t CallTouchingNothing(const Call& call, bool withoutBuffers) {
    Buffer src(16, 0x5A);
    Buffer dst(16, 0xA5);
    const uint32_t result = withoutBuffers ? call(nullptr, nullptr) : call(src.data(), dst.data());
    if (!dst.AllEqual(0xA5)) Broken();
    return result;
}

}  // namespace fuzz
