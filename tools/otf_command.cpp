#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "arguments.h"
#include "commands.h"
#include "image_io.h"
#include "lumomath/LumoMath.h"

namespace lumotool {
namespace {

constexpr const char* kUsage =
    "usage: lumomath otf PSF_IMAGE OUT_PREFIX [--double]\n"
    "\n"
    "Converts a grayscale point-spread function image (8 or 16 bits, power-of-two sides) into its\n"
    "optical transfer function. Writes the modulus (the MTF, 1.0 at zero frequency) to\n"
    "OUT_PREFIX_mtf.png as a 16-bit image with zero frequency at the centre, and prints the MTF\n"
    "along the two axes.\n"
    "\n"
    "  --double   transform in double precision (default: single precision)\n";

bool PowerOfTwo(uint32_t v) { return v != 0 && (v & (v - 1)) == 0; }

// The MTF as 16-bit gray with the quadrants swapped so zero frequency sits
// at the centre, the way an MTF is usually looked at.
Image MtfImage(const std::vector<double>& mtf, uint32_t w, uint32_t h) {
    Image out = Image::Make(w, h, 1, 16);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            const double m = std::clamp(mtf[static_cast<size_t>(y) * w + x], 0.0, 1.0);
            out.SetSample((x + w / 2) % w, (y + h / 2) % h, 0, static_cast<uint32_t>(std::lround(m * 65535.0)));
        }
    return out;
}

// Rows at 0, 1/16, ... 8/16 cycles per pixel; an axis too short to have a
// bin at that frequency shows "-".
void PrintAxes(const std::vector<double>& mtf, uint32_t w, uint32_t h) {
    std::printf("%-12s %10s %10s\n", "cycles/px", "MTF x", "MTF y");
    for (uint32_t i = 0; i <= 8; ++i) {
        char xs[16] = "-", ys[16] = "-";
        if ((i * w) % 16 == 0) std::snprintf(xs, sizeof xs, "%.4f", mtf[i * w / 16 % w]);
        if ((i * h) % 16 == 0) std::snprintf(ys, sizeof ys, "%.4f", mtf[static_cast<size_t>(i * h / 16 % h) * w]);
        std::printf("%-12.4f %10s %10s\n", i / 16.0, xs, ys);
    }
}

}  // namespace

int RunOtf(const Args& args) {
    const Arguments a = ParseArguments(args, {}, {"--double"});
    if (a.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (a.positional.size() != 2) throw UsageError("otf takes PSF_IMAGE and OUT_PREFIX (see lumomath otf --help)");
    const std::string& in = a.positional[0];
    const std::string out = a.positional[1] + "_mtf.png";

    const Image psf = ReadImage(in);
    if (psf.channels != 1)
        throw ToolError("'" + in + "' is " + Describe(psf) + "; a PSF image must be grayscale without alpha");
    if (!PowerOfTwo(psf.width) || !PowerOfTwo(psf.height))
        throw ToolError("'" + in + "' is " + std::to_string(psf.width) + "x" + std::to_string(psf.height) +
                        "; a PSF image needs power-of-two sides such as 64x64");

    const size_t n = static_cast<size_t>(psf.width) * psf.height;
    double sum = 0;
    for (uint32_t y = 0; y < psf.height; ++y)
        for (uint32_t x = 0; x < psf.width; ++x) sum += psf.Sample(x, y, 0);
    if (sum == 0) throw ToolError("'" + in + "' is black; a PSF needs some light");

    // Normalised to unit volume, so the MTF is 1 at zero frequency.
    std::vector<double> real(n), imag(n, 0.0);
    for (uint32_t y = 0; y < psf.height; ++y)
        for (uint32_t x = 0; x < psf.width; ++x) real[static_cast<size_t>(y) * psf.width + x] = psf.Sample(x, y, 0) / sum;

    const bool precise = a.flags.count("--double") != 0;
    const auto w = static_cast<int32_t>(psf.width), h = static_cast<int32_t>(psf.height);
    const int32_t result = precise ? LumoMathConvertOtfFromPsf_D(real.data(), imag.data(), real.data(), imag.data(), w, h, 1)
                                   : LumoMathConvertOtfFromPsf(real.data(), imag.data(), real.data(), imag.data(), w, h, 1);
    if (result == kLumoResultNoMemory) throw ToolError("not enough memory to transform '" + in + "'");
    if (result != 0) throw ToolError("transforming '" + in + "' failed with result code " + std::to_string(result));

    std::vector<double> mtf(n);
    for (size_t i = 0; i < n; ++i) mtf[i] = std::hypot(real[i], imag[i]);
    WriteImage(out, MtfImage(mtf, psf.width, psf.height));

    std::printf("%s: %ux%u PSF, %s precision -> %s\n", in.c_str(), psf.width, psf.height, precise ? "double" : "single",
                out.c_str());
    PrintAxes(mtf, psf.width, psf.height);
    return 0;
}

}  // namespace lumotool
