// The four PSF/OTF conversions with sizes and plane counts drawn from the
// input (negative and huge included), arrays of exactly count * width *
// height doubles, sometimes the same arrays for input and output.
#include <cstdint>
#include <vector>

#include "fuzz_input.h"
#include "lumomath/LumoMath.h"

namespace {

using Conversion = int32_t (*)(const double*, const double*, double*, double*, int32_t, int32_t, int32_t);
// Transforms of more elements than this are too slow for a fuzzing run.
constexpr fuzz::Wide kMaxElements = fuzz::Wide{1} << 16;

constexpr Conversion kConversions[] = {LumoMathConvertOtfFromPsf, LumoMathConvertPsfFromOtf,
                                       LumoMathConvertOtfFromPsf_D, LumoMathConvertPsfFromOtf_D};

int32_t SignedCount(fuzz::Input& in) {
    const uint8_t mode = in.Byte();
    const uint32_t v = in.U32();
    switch (mode % 4) {
        case 0: return static_cast<int32_t>(v % 20) - 2;
        case 1: return static_cast<int32_t>(v % 300);
        default: return static_cast<int32_t>(v);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace fuzz;
    Input in(data, size);
    const Conversion convert = kConversions[in.Byte() % 4];
    const int32_t width = SignedCount(in);
    const int32_t height = SignedCount(in);
    const int32_t count = SignedCount(in);
    const uint8_t flags = in.Byte();

    const bool sized = width > 0 && height > 0;
    const Wide plane = sized ? Wide(width) * Wide(height) : 0;
    const Wide elements = count > 0 ? plane * Wide(count) : 0;
    // The transform may span up to four times a plane (single precision).
    if (sized && plane * 4 > kMaxElements) {
        const bool mustRefuse = count > 0 && (plane > INT32_MAX || elements > kMax32);
        if (!mustRefuse) return 0;  // legitimate, but too large for a fuzzing run
        std::vector<double> re(4, 1.0), im(4, 2.0), out(4, -1.0);
        if (convert(re.data(), im.data(), out.data(), out.data(), width, height, count) != 7) Broken();
        if (out != std::vector<double>(4, -1.0)) Broken();
        return 0;
    }
    if (elements * 4 > kMaxElements) return 0;

    const size_t n = static_cast<size_t>(elements);
    std::vector<double> inRe(n), inIm(n), outRe(n, -7.0), outIm(n, -7.0);
    for (size_t i = 0; i < n; ++i) {
        inRe[i] = static_cast<double>(in.Byte()) - 128.0;
        inIm[i] = static_cast<double>(i % 3);
    }
    double* const re = n ? inRe.data() : nullptr;
    double* const im = n ? inIm.data() : nullptr;
    int32_t result = 0;
    if (flags & 1) {
        result = convert(re, im, re, im, width, height, count);  // in place
    } else {
        result = convert(re, (flags & 2) ? nullptr : im, n ? outRe.data() : nullptr, n ? outIm.data() : nullptr,
                         width, height, count);
        if (result != 0 && (outRe != std::vector<double>(n, -7.0) || outIm != std::vector<double>(n, -7.0)))
            Broken();
    }
    if (count > 0 && !sized && result != 7) Broken();
    if (count <= 0 && result != 0 && result != 3) Broken();
    return 0;
}
