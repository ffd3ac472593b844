// The resize kernels: four methods, each at 8 and 16 bits per sample, for a
// whole image and for a region of it. Every kernel takes the channel count
// first (it is also the pixel stride in samples), byte pointers whatever the
// sample width, and row strides in bytes. Kernels trust their arguments; the
// dispatchers in frame/ decide what reaches them.
#pragma once

#include <cstdint>

#include "lumomath/LumoMath.h"

namespace lumo {

#define LUMO_DECLARE_RESIZE_KERNELS(Name)                                                                       \
    LumoResult Name##8(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,                 \
                       uint32_t sourceRowBytes, unsigned char* destination, tagLumoSize destinationSize,       \
                       uint32_t destinationRowBytes);                                                          \
    LumoResult Name##16(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,                \
                        uint32_t sourceRowBytes, unsigned char* destination, tagLumoSize destinationSize,      \
                        uint32_t destinationRowBytes);                                                         \
    LumoResult Name##8WithRegion(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,       \
                                 uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,      \
                                 tagLumoSize destinationSize, uint32_t destinationRowBytes);                   \
    LumoResult Name##16WithRegion(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,      \
                                  uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,     \
                                  tagLumoSize destinationSize, uint32_t destinationRowBytes);

LUMO_DECLARE_RESIZE_KERNELS(NearestNeighbor)
LUMO_DECLARE_RESIZE_KERNELS(BiLinear)
LUMO_DECLARE_RESIZE_KERNELS(BiCubic)
LUMO_DECLARE_RESIZE_KERNELS(SuperSampling)

/// The plain scalar kernels: each method's arithmetic written out loop by loop,
/// with the same signatures and results as the kernels above. The fast kernels
/// must match them byte for byte; the differential tests and the benchmark
/// compare against them.
namespace reference {
LUMO_DECLARE_RESIZE_KERNELS(NearestNeighbor)
LUMO_DECLARE_RESIZE_KERNELS(BiLinear)
LUMO_DECLARE_RESIZE_KERNELS(BiCubic)
LUMO_DECLARE_RESIZE_KERNELS(SuperSampling)
}  // namespace reference

#undef LUMO_DECLARE_RESIZE_KERNELS

/// The region that covers a whole image of `size`: the whole-image kernels of
/// nearest neighbour and super-sampling are their region kernels on it.
inline tagLumoRect WholeImage(tagLumoSize size) { return {0, 0, size.width, size.height}; }

/// The cubic-convolution weight at distance x (a = -0.5 outside, with the
/// library's own inner piece that has a kink at 0).
double cubicFilter(double x);

}  // namespace lumo
