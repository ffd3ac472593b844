// Sample access shared by the resize kernels.
//
// Row offsets are formed as unsigned 32-bit products (row * rowBytes wraps at
// 2^32: images whose row offsets need more are not supported) and sample
// indices are unsigned 32-bit. 16-bit samples are read and written through
// memcpy, because a caller's buffer need not be 2-byte aligned.
#pragma once

#include <cstdint>
#include <cstring>

namespace lumo {

template <class T>
inline constexpr double kSampleMax = 0.0;
template <>
inline constexpr double kSampleMax<uint8_t> = 255.0;
template <>
inline constexpr double kSampleMax<uint16_t> = 65535.0;

/// Byte offset of a row: the product wraps in 32 bits, as it always has.
inline uint32_t RowOffset(uint32_t row, uint32_t rowBytes) { return row * rowBytes; }

inline const unsigned char* RowAt(const unsigned char* base, uint32_t row, uint32_t rowBytes) {
    return base + RowOffset(row, rowBytes);
}
inline unsigned char* RowAt(unsigned char* base, uint32_t row, uint32_t rowBytes) {
    return base + RowOffset(row, rowBytes);
}

template <class T>
inline T LoadSample(const unsigned char* row, uint32_t index) {
    T v;
    std::memcpy(&v, row + static_cast<size_t>(index) * sizeof(T), sizeof(T));
    return v;
}

template <class T>
inline void StoreSample(unsigned char* row, uint32_t index, T v) {
    std::memcpy(row + static_cast<size_t>(index) * sizeof(T), &v, sizeof(T));
}

/// Clamps to the sample range, then truncates toward zero: no rounding term.
template <class T>
inline T ClampTruncate(double v) {
    if (v < 0.0) {
        v = 0.0;
    } else if (v > kSampleMax<T>) {
        v = kSampleMax<T>;
    }
    return static_cast<T>(v);
}

/// Truncates toward zero to a signed 32-bit value. A plain conversion is
/// undefined for NaN and for values beyond the range: NaN gives 0 and such
/// values saturate, so every in-range value gets exactly its truncation.
inline int32_t TruncateToInt32(double v) {
    if (!(v > -2147483649.0)) return v != v ? 0 : INT32_MIN;
    if (!(v < 2147483648.0)) return INT32_MAX;
    return static_cast<int32_t>(v);
}

}  // namespace lumo
