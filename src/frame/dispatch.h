// The per-method dispatchers behind the resize entry points: each picks the
// 8- or 16-bit kernel of its method and refuses any other sample width with
// kLumoResultInvalidParameter before touching the destination. Nearest
// neighbour and super-sampling report kLumoResultOK whatever their kernels
// return; bilinear and bicubic pass their kernel's result on.
#pragma once

#include <cstdint>

#include "lumomath/LumoMath.h"

namespace lumo {

#define LUMO_DECLARE_RESIZE_DISPATCHERS(Name)                                                                   \
    LumoResult Name(uint32_t channels, uint32_t bitsPerSample, const unsigned char* source,                    \
                    tagLumoSize sourceSize, uint32_t sourceRowBytes, unsigned char* destination,               \
                    tagLumoSize destinationSize, uint32_t destinationRowBytes);                                \
    LumoResult Name##WithRegion(uint32_t channels, uint32_t bitsPerSample, const unsigned char* source,        \
                                tagLumoSize sourceSize, uint32_t sourceRowBytes, tagLumoRect region,           \
                                unsigned char* destination, tagLumoSize destinationSize,                       \
                                uint32_t destinationRowBytes);

LUMO_DECLARE_RESIZE_DISPATCHERS(NearestNeighbor)
LUMO_DECLARE_RESIZE_DISPATCHERS(BiLinear)
LUMO_DECLARE_RESIZE_DISPATCHERS(BiCubic)
/// Super-sampling only reduces: it refuses, before looking at the sample
/// width, a destination that is not smaller than the whole source in at least
/// one direction (compared with the whole source also for a region).
LUMO_DECLARE_RESIZE_DISPATCHERS(SuperSampling)

#undef LUMO_DECLARE_RESIZE_DISPATCHERS

/// The super-sampling test: true when at least one direction shrinks. An empty
/// source gives not-a-number ratios, which pass.
bool SuperSamplingReduces(tagLumoSize sourceSize, tagLumoSize destinationSize);

}  // namespace lumo
