// Integer helpers of the runtime: GCD, LCM and the thread-count limiter.
// Arithmetic is 32-bit with wrap-around where the products overflow, formed
// through unsigned values so that the wrap is defined.
#include <algorithm>
#include <cstdint>

#include "lumomath/LumoUtility.h"

namespace {

// Truncating remainder that is defined for every pair: x % -1 is 0 (the
// hardware would trap on INT32_MIN % -1).
int32_t Remainder(int32_t x, int32_t y) { return y == -1 ? 0 : x % y; }

int32_t Wrap(uint32_t v) { return static_cast<int32_t>(v); }

}  // namespace

int32_t CLumoRuntime::LumoGCD(int32_t a, int32_t b) {
    // The remainder is taken before the test, so the result carries the sign
    // of the last non-zero divisor. b == 0 on entry answers a instead of trapping.
    while (b != 0) {
        const int32_t r = Remainder(a, b);
        a = b;
        b = r;
    }
    return a;
}

int32_t CLumoRuntime::LumoLCM(int32_t a, int32_t b) {
    const int32_t g = LumoGCD(a, b);
    if (g == 0) return 0;
    const int32_t product = Wrap(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
    if (g == -1) return Wrap(0u - static_cast<uint32_t>(product));
    return product / g;
}

int32_t __limitProcessNum(int32_t processNum, int32_t margin, int32_t count) {
    const int32_t per = std::max(Wrap(2u * static_cast<uint32_t>(margin) + 1u), 1);
    const int32_t n = std::max(count / per, 1);
    return std::min(n, processNum);
}
