// The exported resize entry points. Each call holds the shared worker pool
// from before it looks at its arguments until after the work is done, so all
// passes of one call reuse the same threads (and a call with an unknown
// method still creates and destroys a pool when none is alive).
//
// Arguments pass the boundary checks (frame/boundary.h) before a dispatcher
// sees them: a call that would reach outside the caller's buffers is refused
// with kLumoResultInvalidParameter and writes nothing.
//
// Nothing leaves these functions as a C++ exception: the host calls them
// through a C interface. A pool or worker thread that cannot be created, or
// memory that runs out inside a row task, is answered with
// kLumoResultNoMemory; the pool hold is released on that path too.
#include "frame/boundary.h"
#include "frame/dispatch.h"
#include "lumomath/LumoMath.h"
#include "pool/thread_pool.h"

namespace {

LumoResult NothingToDo() { return kLumoResultOK; }

// Holds the pool, admits the call, then calls the dispatcher of its method
// (one of the four given, whole-image or region ones alike). The hold is
// dropped last, once the result is known.
template <class Dispatcher, class... Args>
LumoResult ResizeHoldingPool(const lumo::ResizeCall& call, Dispatcher nearest, Dispatcher bilinear,
                             Dispatcher bicubic, Dispatcher superSampling, Args... args) noexcept {
    try {
        const lumo::PoolHold pool = lumo::HoldPool();
        switch (lumo::AdmitResize(call)) {
            case lumo::Admission::Refuse:
                return kLumoResultInvalidParameter;
            case lumo::Admission::NothingToWrite:
                return kLumoResultOK;
            case lumo::Admission::Proceed:
                break;
        }
        switch (call.method) {
            case kLumoScalingNearestNeighbor:
                return nearest(args...);
            case kLumoScalingBiLinear:
                return bilinear(args...);
            case kLumoScalingBiCubic:
                return bicubic(args...);
            case kLumoScalingSuperSampling:
                return superSampling(args...);
            default:
                return kLumoResultInvalidParameter;
        }
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
    const lumo::ResizeCall call{method,  channels,    bitsPerSample,   source,
                                sourceSize, sourceRowBytes, nullptr, destination,
                                destinationSize, destinationRowBytes};
    return ResizeHoldingPool(call, lumo::NearestNeighbor, lumo::BiLinear, lumo::BiCubic, lumo::SuperSampling,
                             channels, bitsPerSample, static_cast<const unsigned char*>(source), sourceSize,
                             sourceRowBytes, static_cast<unsigned char*>(destination), destinationSize,
                             destinationRowBytes);
}

LUMO_API LumoResult LumoMathResizeWithRegion(LumoScalingMethod method, uint32_t channels, uint32_t bitsPerSample,
                                             const void* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                                             tagLumoRect region, void* destination, tagLumoSize destinationSize,
                                             uint32_t destinationRowBytes) {
    const lumo::ResizeCall call{method,  channels,    bitsPerSample,   source,
                                sourceSize, sourceRowBytes, &region, destination,
                                destinationSize, destinationRowBytes};
    return ResizeHoldingPool(call, lumo::NearestNeighborWithRegion, lumo::BiLinearWithRegion,
                             lumo::BiCubicWithRegion, lumo::SuperSamplingWithRegion, channels, bitsPerSample,
                             static_cast<const unsigned char*>(source), sourceSize, sourceRowBytes, region,
                             static_cast<unsigned char*>(destination), destinationSize, destinationRowBytes);
}

}  // extern "C"
