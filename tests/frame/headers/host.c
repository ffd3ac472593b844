/* A host translation unit in C: the interface's constants, records and
 * functions used the way a host uses them, so that a declaration an older
 * standard cannot take, or one whose type changed, stops the compile. */
#include <stdint.h>
/* Some C libraries stand in for _Static_assert before C11; a host's may not. */
#if !defined(__STDC_VERSION__) || __STDC_VERSION__ < 201112L
#undef _Static_assert
#endif

#include "lumomath/LumoMath.h"

#if !defined(LUMOMATH_VERSION_MAJOR) || !defined(LUMOMATH_VERSION_MINOR) || !defined(LUMOMATH_VERSION_PATCH)
#error "version macros missing"
#elif LUMOMATH_VERSION_MAJOR < 0 || LUMOMATH_VERSION_MINOR < 0 || LUMOMATH_VERSION_PATCH < 0
#error "version macros are not numbers"
#endif

typedef LumoResult (*ResizeFunction)(LumoScalingMethod, uint32_t, uint32_t, const void*, tagLumoSize, uint32_t,
                                     void*, tagLumoSize, uint32_t);
typedef LumoResult (*RegionResizeFunction)(LumoScalingMethod, uint32_t, uint32_t, const void*, tagLumoSize,
                                           uint32_t, tagLumoRect, void*, tagLumoSize, uint32_t);
typedef int32_t (*TransferFunction)(const double*, const double*, double*, double*, int32_t, int32_t, int32_t);

int lumo_host_check(LumoScalingMethod method);

int lumo_host_check(LumoScalingMethod method) {
    ResizeFunction resize = LumoMathResize;
    RegionResizeFunction regions[2] = {LumoMathResizeWithRegion, ResizeWithRegion};
    TransferFunction transfers[4] = {LumoMathConvertOtfFromPsf, LumoMathConvertPsfFromOtf,
                                     LumoMathConvertOtfFromPsf_D, LumoMathConvertPsfFromOtf_D};
    bool (*feature)(void) = LumoCanUseAVX2;
    tagLumoRect region = {0, 0, 4, 4};
    tagLumoFRect bounds = kLumoFRectZero;
    tagLumoSize size = kLumoSizeZero;
    LumoResult code = kLumoResultOK;
    size.width = region.width;
    bounds.height = 0.5;
    switch (method) { /* the constants are constant expressions */
        case kLumoScalingNearestNeighbor:
        case kLumoScalingBiLinear:
        case kLumoScalingBiCubic:
        case kLumoScalingSuperSampling:
            break;
        default:
            code = kLumoResultInvalidParameter;
    }
    return resize != 0 && regions[1] != 0 && transfers[3] != 0 && feature != 0 && size.width + code != 0 &&
           bounds.height > 0.0;
}
