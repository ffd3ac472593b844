// LumoMath utility module — the C++ interface of the helpers shared with the
// host application: runtime services (aligned memory, integer arithmetic,
// thread-count limiting), and the geometry, tone, raw-mode and image-plane
// helpers. The helpers report no errors: a null out-pointer or a negative size
// makes them do nothing, and an unknown enumeration value gets a neutral answer.
#ifndef LUMOMATH_LUMOUTILITY_H
#define LUMOMATH_LUMOUTILITY_H

#include <cstdint>
#include <vector>

#include "lumomath/LumoMath.h"

// ---- Runtime services --------------------------------------------------------

/// Static helpers only; no data.
class LUMO_API CLumoRuntime {
public:
    /// A 64-byte-aligned block of `size` bytes, or null. The byte before the
    /// returned pointer holds its distance (1..64) from the system block's
    /// start. Release with LumoFree only. Sizes within 64 of 2^32 give null.
    static void* LumoMalloc(uint32_t size);
    /// As LumoMalloc, with the `size` bytes zeroed.
    static void* LumoCalloc(uint32_t size);
    /// Releases a block of LumoMalloc/LumoCalloc; null is ignored.
    static void LumoFree(void* p);
    /// Euclid with truncating remainders: the last non-zero divisor, sign
    /// included (LumoGCD(12, -18) == -6). LumoGCD(a, 0) is a.
    static int32_t LumoGCD(int32_t a, int32_t b);
    /// (a * b) / LumoGCD(a, b), the product wrapping in 32 bits; 0 when a or b is 0.
    static int32_t LumoLCM(int32_t a, int32_t b);
};

/// Releases every non-null LumoMalloc block of `list` and nulls its element; the length stays.
LUMO_API void __releaseLumoMallocPointerList(std::vector<void*>& list);

/// Releases `p` and removes its first occurrence from `list`; nothing when absent.
LUMO_API void __releaseLumoMallocPointer(std::vector<void*>& list, void* p);

/// Limits a thread count so that each thread gets at least 2 * margin + 1 of
/// `count`: min(max(count / max(2 * margin + 1, 1), 1), processNum).
LUMO_API int32_t __limitProcessNum(int32_t processNum, int32_t margin, int32_t count);

#endif  // LUMOMATH_LUMOUTILITY_H
