/* The public header compiles as C and its records have the documented layout. */
#include <stddef.h>

#include "lumomath/LumoMath.h"

_Static_assert(sizeof(tagLumoPoint) == 8, "tagLumoPoint");
_Static_assert(sizeof(tagLumoSize) == 8, "tagLumoSize");
_Static_assert(offsetof(tagLumoRect, width) == 8, "tagLumoRect");
_Static_assert(offsetof(tagLumoFRect, height) == 24, "tagLumoFRect");
_Static_assert(kLumoScalingSuperSampling == 8, "method values");
_Static_assert(kLumoResultUnsupportedDepth == 96, "result codes");

/* Called from the C++ tests so the C translation unit is really linked. */
uint32_t lumo_c_interface_sum_of_codes(void) {
    return kLumoResultOK + kLumoResultNoMemory + kLumoResultRegionNoMemory + kLumoResultInvalidParameter +
           kLumoResultAccessDenied + kLumoResultUnsupportedDepth + (uint32_t)sizeof(tagLumoFSize);
}
