#include "transfer/otf_psf.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/work_memory.h"
#include "lumomath/LumoMath.h"
#include "platform/fft.h"

namespace lumo {
namespace {

// The double nearest ln 2; the exponents divide by it rather than calling log2.
constexpr double kLn2 = 0.6931471805599453;

// Single precision on copy-in, and its products rounded back to single on copy-out.
inline float Narrow(double v, float) { return static_cast<float>(v); }
inline double Narrow(double v, double) { return v; }
inline double ScaledOut(float w, double scale) {
    return static_cast<double>(static_cast<float>(static_cast<double>(w) * scale));
}
inline double ScaledOut(double w, double scale) { return w * scale; }

template <class Real>
int32_t Convert(const double* inReal, const double* inImag, double* outReal, double* outImag, int32_t width,
                int32_t height, int32_t count, bool forward) {
    // The plane size must be a positive 32-bit element count; with no plane
    // to convert, a size that is not has nothing to harm.
    const int64_t planeElements64 = int64_t{width} * height;
    if (width <= 0 || height <= 0 || planeElements64 > INT32_MAX) {
        return count > 0 ? static_cast<int32_t>(kLumoResultInvalidParameter) : 0;
    }
    // Planes are found through a 32-bit running offset: every element of
    // every plane must lie below 2^32.
    if (count > 0 && (inReal == nullptr || inImag == nullptr || outReal == nullptr || outImag == nullptr ||
                      static_cast<uint64_t>(planeElements64) * static_cast<uint32_t>(count) > UINT32_MAX)) {
        return static_cast<int32_t>(kLumoResultInvalidParameter);
    }
    const auto planeElements = static_cast<int32_t>(planeElements64);
    constexpr bool kSingle = sizeof(Real) == sizeof(float);
    const int32_t ex = TransformExponent(width, kSingle);
    const int32_t ey = TransformExponent(height, kSingle);

    if (!platform::Fft2dPlan<Real>::Supports(ey, ex)) return static_cast<int32_t>(kLumoResultNoMemory);
    // The transform covers 2^ex x 2^ey elements, which the single-precision
    // rule makes larger than the plane; the work arrays hold whichever is more.
    const uint64_t span = uint64_t{1} << (ex + ey);
    const uint64_t elements = span > static_cast<uint64_t>(planeElements) ? span : static_cast<uint64_t>(planeElements);
    if (elements > SIZE_MAX / sizeof(Real)) return static_cast<int32_t>(kLumoResultNoMemory);
    WorkArray<Real> re = MakeWorkArray<Real>(static_cast<size_t>(elements));
    if (!re) return static_cast<int32_t>(kLumoResultNoMemory);
    WorkArray<Real> im = MakeWorkArray<Real>(static_cast<size_t>(elements));
    if (!im) return static_cast<int32_t>(kLumoResultNoMemory);

    const platform::Fft2dPlan<Real> plan(re.get(), im.get(), ey, ex,
                                         forward ? platform::FftSign::kForward : platform::FftSign::kInverse);
    if (!plan.Valid()) return static_cast<int32_t>(kLumoResultNoMemory);

    const double scale = forward ? 1.0 : 1.0 / static_cast<double>(planeElements);
    const size_t tail = static_cast<size_t>(elements) - static_cast<size_t>(planeElements);
    uint32_t base = 0;  // running plane offset, 32-bit as the host has always had it
    for (int32_t p = 0; p < count; ++p) {
        if (p > 0 && tail > 0) {
            // The previous plane's transform left values beyond the copied
            // samples; each plane is transformed from zeros there.
            std::memset(re.get() + planeElements, 0, tail * sizeof(Real));
            std::memset(im.get() + planeElements, 0, tail * sizeof(Real));
        }
        for (int32_t c = 0; c < width; ++c) {
            for (int32_t r = 0; r < height; ++r) {
                const int32_t w = r * width + c;
                const uint32_t i = base + static_cast<uint32_t>(w);
                re[w] = Narrow(inReal[i], Real{});
                im[w] = Narrow(inImag[i], Real{});
            }
        }
        plan.Execute();
        for (int32_t c = 0; c < width; ++c) {
            for (int32_t r = 0; r < height; ++r) {
                const int32_t w = r * width + c;
                const uint32_t i = base + static_cast<uint32_t>(w);
                outReal[i] = ScaledOut(re[w], scale);
                outImag[i] = ScaledOut(im[w], scale);
            }
        }
        base += static_cast<uint32_t>(planeElements);
    }
    return 0;
}

// The host calls through a C interface: the planner's lock is the one thing
// here that can throw (a system error), and it is answered like a plan that
// cannot be had.
template <class Real>
int32_t ConvertOrNoMemory(const double* inReal, const double* inImag, double* outReal, double* outImag,
                          int32_t width, int32_t height, int32_t count, bool forward) noexcept {
    try {
        return Convert<Real>(inReal, inImag, outReal, outImag, width, height, count, forward);
    } catch (...) {
        return static_cast<int32_t>(kLumoResultNoMemory);
    }
}

}  // namespace

int32_t TransformExponent(int32_t n, bool singlePrecision) {
    // The single-precision rule adds one before truncating, which doubles the
    // span at powers of two; both rules are kept as the host has them.
    const double octaves = std::log(static_cast<double>(n)) / kLn2;
    return static_cast<int32_t>(singlePrecision ? octaves + 1.0 : octaves);
}

int32_t fft_common(const double* inReal, const double* inImag, double* outReal, double* outImag, int32_t width,
                   int32_t height, int32_t count, bool forward) noexcept {
    return ConvertOrNoMemory<float>(inReal, inImag, outReal, outImag, width, height, count, forward);
}

int32_t fft_commonD(const double* inReal, const double* inImag, double* outReal, double* outImag, int32_t width,
                    int32_t height, int32_t count, bool forward) noexcept {
    return ConvertOrNoMemory<double>(inReal, inImag, outReal, outImag, width, height, count, forward);
}

}  // namespace lumo

extern "C" {

LUMO_API int32_t LumoMathConvertOtfFromPsf(const double* inReal, const double* inImag, double* outReal,
                                           double* outImag, int32_t width, int32_t height, int32_t count) {
    return lumo::fft_common(inReal, inImag, outReal, outImag, width, height, count, true);
}

LUMO_API int32_t LumoMathConvertPsfFromOtf(const double* inReal, const double* inImag, double* outReal,
                                           double* outImag, int32_t width, int32_t height, int32_t count) {
    return lumo::fft_common(inReal, inImag, outReal, outImag, width, height, count, false);
}

LUMO_API int32_t LumoMathConvertOtfFromPsf_D(const double* inReal, const double* inImag, double* outReal,
                                             double* outImag, int32_t width, int32_t height, int32_t count) {
    return lumo::fft_commonD(inReal, inImag, outReal, outImag, width, height, count, true);
}

LUMO_API int32_t LumoMathConvertPsfFromOtf_D(const double* inReal, const double* inImag, double* outReal,
                                             double* outImag, int32_t width, int32_t height, int32_t count) {
    return lumo::fft_commonD(inReal, inImag, outReal, outImag, width, height, count, false);
}

}  // extern "C"
