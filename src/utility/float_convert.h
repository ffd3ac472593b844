// Conversions of doubles to 32-bit integers as the x86-64 instructions make
// them, so that out-of-range and NaN inputs give the host's answers instead of
// undefined behaviour.
#pragma once

#include <cmath>
#include <cstdint>

namespace lumo {

/// Truncates toward zero; NaN and values outside the int32 range give
/// INT32_MIN, the value the 32-bit conversion instruction produces for them.
inline int32_t TruncToInt32(double v) {
    if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(v);
}

/// Truncates toward zero to 64 bits and keeps the low 32 bits, the way an
/// unsigned 32-bit conversion is compiled on x86-64: -1.5 gives 0xFFFFFFFF;
/// NaN and values beyond the int64 range give 0.
inline uint32_t TruncToUInt32(double v) {
    if (!(v > -9223372036854775808.0 && v < 9223372036854775808.0)) return 0;
    return static_cast<uint32_t>(static_cast<uint64_t>(static_cast<int64_t>(v)));
}

}  // namespace lumo
