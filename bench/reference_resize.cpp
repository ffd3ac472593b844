#include "bench/reference_resize.h"

#include "pool/thread_pool.h"
#include "resize/kernels.h"

namespace lumo::bench {
namespace {

using Whole = LumoResult (*)(uint32_t, const unsigned char*, tagLumoSize, uint32_t, unsigned char*, tagLumoSize,
                             uint32_t);
using InRegion = LumoResult (*)(uint32_t, const unsigned char*, tagLumoSize, uint32_t, tagLumoRect,
                                unsigned char*, tagLumoSize, uint32_t);

struct Kernels {
    Whole whole8, whole16;
    InRegion region8, region16;
};

#define LUMO_BENCH_KERNELS(ns, Name) \
    Kernels { ns::Name##8, ns::Name##16, ns::Name##8WithRegion, ns::Name##16WithRegion }

}  // namespace

LumoResult ReferenceResize(LumoScalingMethod method, uint32_t channels, uint32_t bitsPerSample,
                           const unsigned char* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                           const tagLumoRect* region, unsigned char* destination, tagLumoSize destinationSize,
                           uint32_t destinationRowBytes) {
    // As the entry points do: hold the pool for the whole call, so that a
    // two-pass kernel starts it once.
    const PoolHold pool = HoldPool();
    Kernels k{};
    switch (method) {
        case kLumoScalingNearestNeighbor: k = LUMO_BENCH_KERNELS(lumo::reference, NearestNeighbor); break;
        case kLumoScalingBiLinear: k = LUMO_BENCH_KERNELS(lumo::reference, BiLinear); break;
        case kLumoScalingBiCubic: k = LUMO_BENCH_KERNELS(lumo::reference, BiCubic); break;
        case kLumoScalingSuperSampling: k = LUMO_BENCH_KERNELS(lumo::reference, SuperSampling); break;
        default: return kLumoResultInvalidParameter;
    }
    if (bitsPerSample != 8 && bitsPerSample != 16) return kLumoResultInvalidParameter;
    const bool narrow = bitsPerSample == 8;
    if (region) {
        return (narrow ? k.region8 : k.region16)(channels, source, sourceSize, sourceRowBytes, *region, destination,
                                                 destinationSize, destinationRowBytes);
    }
    return (narrow ? k.whole8 : k.whole16)(channels, source, sourceSize, sourceRowBytes, destination,
                                           destinationSize, destinationRowBytes);
}

}  // namespace lumo::bench
