#include "frame/dispatch.h"

#include "resize/kernels.h"

namespace lumo {
namespace {

// Whether a dispatcher hands its kernel's result to the caller or reports
// success once the kernel has run (nearest neighbour and super-sampling have
// always answered 0, and callers rely on it).
enum class KernelResult { Passed, Ignored };

template <class Kernel, class... Args>
LumoResult CallForWidth(KernelResult kernelResult, uint32_t bitsPerSample, Kernel kernel8, Kernel kernel16,
                        Args... args) {
    Kernel kernel = nullptr;
    if (bitsPerSample == 8) {
        kernel = kernel8;
    } else if (bitsPerSample == 16) {
        kernel = kernel16;
    } else {
        return kLumoResultInvalidParameter;
    }
    const LumoResult result = kernel(args...);
    return kernelResult == KernelResult::Passed ? result : kLumoResultOK;
}

}  // namespace

// Area averaging only reduces; one shrinking direction is enough, the other
// may stay or even grow. An empty source gives not-a-number ratios, which
// this test lets through.
bool SuperSamplingReduces(tagLumoSize sourceSize, tagLumoSize destinationSize) {
    const double ratioX = static_cast<double>(destinationSize.width) / static_cast<double>(sourceSize.width);
    const double ratioY = static_cast<double>(destinationSize.height) / static_cast<double>(sourceSize.height);
    return !(ratioX >= 1.0 && ratioY >= 1.0);
}

LumoResult NearestNeighbor(uint32_t channels, uint32_t bitsPerSample, const unsigned char* source,
                           tagLumoSize sourceSize, uint32_t sourceRowBytes, unsigned char* destination,
                           tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return CallForWidth(KernelResult::Ignored, bitsPerSample, NearestNeighbor8, NearestNeighbor16, channels, source,
                        sourceSize, sourceRowBytes, destination, destinationSize, destinationRowBytes);
}

LumoResult NearestNeighborWithRegion(uint32_t channels, uint32_t bitsPerSample, const unsigned char* source,
                                     tagLumoSize sourceSize, uint32_t sourceRowBytes, tagLumoRect region,
                                     unsigned char* destination, tagLumoSize destinationSize,
                                     uint32_t destinationRowBytes) {
    return CallForWidth(KernelResult::Ignored, bitsPerSample, NearestNeighbor8WithRegion, NearestNeighbor16WithRegion,
                        channels, source, sourceSize, sourceRowBytes, region, destination, destinationSize,
                        destinationRowBytes);
}

LumoResult BiLinear(uint32_t channels, uint32_t bitsPerSample, const unsigned char* source, tagLumoSize sourceSize,
                    uint32_t sourceRowBytes, unsigned char* destination, tagLumoSize destinationSize,
                    uint32_t destinationRowBytes) {
    return CallForWidth(KernelResult::Passed, bitsPerSample, BiLinear8, BiLinear16, channels, source, sourceSize,
                        sourceRowBytes, destination, destinationSize, destinationRowBytes);
}

LumoResult BiLinearWithRegion(uint32_t channels, uint32_t bitsPerSample, const unsigned char* source,
                              tagLumoSize sourceSize, uint32_t sourceRowBytes, tagLumoRect region,
                              unsigned char* destination, tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return CallForWidth(KernelResult::Passed, bitsPerSample, BiLinear8WithRegion, BiLinear16WithRegion, channels,
                        source, sourceSize, sourceRowBytes, region, destination, destinationSize,
                        destinationRowBytes);
}

LumoResult BiCubic(uint32_t channels, uint32_t bitsPerSample, const unsigned char* source, tagLumoSize sourceSize,
                   uint32_t sourceRowBytes, unsigned char* destination, tagLumoSize destinationSize,
                   uint32_t destinationRowBytes) {
    return CallForWidth(KernelResult::Passed, bitsPerSample, BiCubic8, BiCubic16, channels, source, sourceSize,
                        sourceRowBytes, destination, destinationSize, destinationRowBytes);
}

LumoResult BiCubicWithRegion(uint32_t channels, uint32_t bitsPerSample, const unsigned char* source,
                             tagLumoSize sourceSize, uint32_t sourceRowBytes, tagLumoRect region,
                             unsigned char* destination, tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return CallForWidth(KernelResult::Passed, bitsPerSample, BiCubic8WithRegion, BiCubic16WithRegion, channels,
                        source, sourceSize, sourceRowBytes, region, destination, destinationSize,
                        destinationRowBytes);
}

LumoResult SuperSampling(uint32_t channels, uint32_t bitsPerSample, const unsigned char* source,
                         tagLumoSize sourceSize, uint32_t sourceRowBytes, unsigned char* destination,
                         tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    if (!SuperSamplingReduces(sourceSize, destinationSize)) return kLumoResultInvalidParameter;
    return CallForWidth(KernelResult::Ignored, bitsPerSample, SuperSampling8, SuperSampling16, channels, source,
                        sourceSize, sourceRowBytes, destination, destinationSize, destinationRowBytes);
}

LumoResult SuperSamplingWithRegion(uint32_t channels, uint32_t bitsPerSample, const unsigned char* source,
                                   tagLumoSize sourceSize, uint32_t sourceRowBytes, tagLumoRect region,
                                   unsigned char* destination, tagLumoSize destinationSize,
                                   uint32_t destinationRowBytes) {
    // Against the whole source, not the region: a region smaller than the
    // destination still passes while the whole source is larger.
    if (!SuperSamplingReduces(sourceSize, destinationSize)) return kLumoResultInvalidParameter;
    return CallForWidth(KernelResult::Ignored, bitsPerSample, SuperSampling8WithRegion, SuperSampling16WithRegion,
                        channels, source, sourceSize, sourceRowBytes, region, destination, destinationSize,
                        destinationRowBytes);
}

}  // namespace lumo
