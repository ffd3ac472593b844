// The exported resize entry points. Each call holds the shared worker pool
// from before it looks at its arguments until after the work is done, so all
// passes of one call reuse the same threads (and a call with an unknown
// method still creates and destroys a pool when none is alive).
//
// Nothing leaves these functions as a C++ exception: the host calls them
// through a C interface. A pool or worker thread that cannot be created, or
// memory that runs out inside a row task, is answered with
// kLumoResultNoMemory; the pool hold is released on that path too.
#include "frame/dispatch.h"
#include "lumomath/LumoMath.h"
#include "pool/thread_pool.h"

namespace {

LumoResult NothingToDo() { return kLumoResultOK; }

// Holds the pool, then calls the dispatcher of `method` (one of the four
// given, whole-image or region ones alike); an unknown method is refused.
// The hold is dropped last, once the result is known.
template <class Dispatcher, class... Args>
LumoResult ResizeHoldingPool(LumoScalingMethod method, Dispatcher nearest, Dispatcher bilinear, Dispatcher bicubic,
                             Dispatcher superSampling, Args... args) noexcept {
    try {
        const lumo::PoolHold pool = lumo::HoldPool();
        LumoResult result = kLumoResultInvalidParameter;
        switch (method) {
            case kLumoScalingNearestNeighbor:
                result = nearest(args...);
                break;
            case kLumoScalingBiLinear:
                result = bilinear(args...);
                break;
            case kLumoScalingBiCubic:
                result = bicubic(args...);
                break;
            case kLumoScalingSuperSampling:
                result = superSampling(args...);
                break;
            default:
                break;
        }
        return result;
    } catch (...) {
        // std::bad_alloc, std::system_error from a thread that would not
        // start, or anything a row task raised.
        return kLumoResultNoMemory;
    }
}

}  // namespace

extern "C" {

LUMO_API LumoResult LumoMathInitialize(void) { return NothingToDo(); }

LUMO_API LumoResult LumoMathTerminate(void) { return NothingToDo(); }

LUMO_API LumoResult LumoMathResize(LumoScalingMethod method, uint32_t channels, uint32_t bitsPerSample,
                                   const void* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                                   void* destination, tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return ResizeHoldingPool(method, lumo::NearestNeighbor, lumo::BiLinear, lumo::BiCubic, lumo::SuperSampling,
                             channels, bitsPerSample, static_cast<const unsigned char*>(source), sourceSize,
                             sourceRowBytes, static_cast<unsigned char*>(destination), destinationSize,
                             destinationRowBytes);
}

LUMO_API LumoResult LumoMathResizeWithRegion(LumoScalingMethod method, uint32_t channels, uint32_t bitsPerSample,
                                             const void* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                                             tagLumoRect region, void* destination, tagLumoSize destinationSize,
                                             uint32_t destinationRowBytes) {
    return ResizeHoldingPool(method, lumo::NearestNeighborWithRegion, lumo::BiLinearWithRegion,
                             lumo::BiCubicWithRegion, lumo::SuperSamplingWithRegion, channels, bitsPerSample,
                             static_cast<const unsigned char*>(source), sourceSize, sourceRowBytes, region,
                             static_cast<unsigned char*>(destination), destinationSize, destinationRowBytes);
}

}  // extern "C"
