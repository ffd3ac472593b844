// Complex planes for the PSF <-> OTF tests: split real and imaginary arrays of
// `count` planes back to back, and the four conversions as a table.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "lumomath/LumoMath.h"

namespace lumo::test {

struct Planes {
    std::vector<double> re;
    std::vector<double> im;

    Planes(int32_t width, int32_t height, int32_t count, double fill = 0.0)
        : re(static_cast<size_t>(width) * height * count, fill), im(re.size(), fill) {}

    /// Uniform values in [-1, 1) in both parts.
    static Planes Random(int32_t width, int32_t height, int32_t count, uint32_t seed) {
        Planes p(width, height, count);
        std::mt19937 rng(seed);
        std::uniform_real_distribution<double> dist(-1.0, 1.0);
        for (size_t i = 0; i < p.re.size(); ++i) {
            p.re[i] = dist(rng);
            p.im[i] = dist(rng);
        }
        return p;
    }

    bool operator==(const Planes&) const = default;
};

using Conversion = int32_t (*)(const double*, const double*, double*, double*, int32_t, int32_t, int32_t);

struct ConversionInfo {
    const char* name;
    Conversion fn;
    bool single;
    bool forward;
};

inline constexpr ConversionInfo kConversions[] = {
    {"OtfFromPsf", LumoMathConvertOtfFromPsf, true, true},
    {"PsfFromOtf", LumoMathConvertPsfFromOtf, true, false},
    {"OtfFromPsf_D", LumoMathConvertOtfFromPsf_D, false, true},
    {"PsfFromOtf_D", LumoMathConvertPsfFromOtf_D, false, false},
};

inline int32_t Convert(const ConversionInfo& c, const Planes& in, Planes& out, int32_t width, int32_t height,
                   int32_t count) {
    return c.fn(in.re.data(), in.im.data(), out.re.data(), out.im.data(), width, height, count);
}

}  // namespace lumo::test
