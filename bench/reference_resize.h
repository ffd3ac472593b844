// The plain reference kernels, called the way the entry points call the fast
// ones, so the benchmark can show what the vector paths gain.
#pragma once

#include <cstdint>

#include "lumomath/LumoMath.h"

namespace lumo::bench {

/// Resizes with the plain reference kernel of `method`; `region` may be null for the whole image.
LumoResult ReferenceResize(LumoScalingMethod method, uint32_t channels, uint32_t bitsPerSample,
                           const unsigned char* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                           const tagLumoRect* region, unsigned char* destination, tagLumoSize destinationSize,
                           uint32_t destinationRowBytes);

}  // namespace lumo::bench
