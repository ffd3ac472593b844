// A host translation unit in C++: both headers, the C++ helpers' constants,
// records and functions used the way a host uses them, so that a declaration
// an older standard cannot take, or one whose type changed, stops the compile.
#include "lumomath/LumoUtility.h"  // first: it must bring what it needs
#include "lumomath/LumoMath.h"

static_assert(kLumoScalingBiCubic == 4 && kLumoResultUnsupportedDepth == 96, "interface constants");
static_assert(kLumoGammaPointCapacity == 64 && kLumoImageLayoutChunky == 2, "helper constants");
static_assert(LUMOMATH_VERSION_MAJOR >= 0 && LUMOMATH_VERSION_MINOR >= 0 && LUMOMATH_VERSION_PATCH >= 0,
              "version macros");

int lumo_host_check(LumoScalingMethod method);

int lumo_host_check(LumoScalingMethod method) {
    LumoResult (*resize)(LumoScalingMethod, uint32_t, uint32_t, const void*, tagLumoSize, uint32_t, void*,
                         tagLumoSize, uint32_t) = &LumoMathResize;
    LumoResult (*region)(LumoScalingMethod, uint32_t, uint32_t, const void*, tagLumoSize, uint32_t, tagLumoRect,
                         void*, tagLumoSize, uint32_t) = &ResizeWithRegion;
    void* (*allocate)(uint32_t) = &CLumoRuntime::LumoMalloc;
    void (*release)(std::vector<void*>&) = &__releaseLumoMallocPointerList;
    void* (CLumoImage::*plane)(LumoImagePixelType) const = &CLumoImage::getPlane;
    tagLumoGammaPoint points = {};
    points.points[kLumoGammaPointCapacity - 1] = kLumoPointZero;
    LumoGammaInfoForCalculate info = {};
    info.hdrMode = kLumoHDRProcessNone;
    CLumoImage image = {};
    image.layout = kLumoImageLayoutPlanar;
    switch (method) {  // the constants are constant expressions
        case kLumoScalingNearestNeighbor:
        case kLumoScalingBiLinear:
        case kLumoScalingBiCubic:
        case kLumoScalingSuperSampling:
            break;
        default:
            return static_cast<int>(kLumoResultInvalidParameter);
    }
    return resize != nullptr && region != nullptr && allocate != nullptr && release != nullptr && plane != nullptr &&
           points.pointCount == 0 && info.curve.pointCount == 0 && image.layout == 1;
}
