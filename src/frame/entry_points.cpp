// The exported resize entry points. Each call holds the shared worker pool
// from before it looks at its arguments until after the work is done, so all
// passes of one call reuse the same threads (and a call with an unknown
// method still creates and destroys a pool when none is alive).
//
// A call becomes one request (a whole image is the request for its whole
// region), is admitted or refused (frame/admission.h) and runs its method's
// kernel (frame/resize_methods.h): a call that would reach outside the
// caller's buffers is refused with kLumoResultInvalidParameter and writes
// nothing.
//
// Nothing leaves these functions as a C++ exception: the host calls them
// through a C interface. A pool or worker thread that cannot be created, or
// memory that runs out inside a row task, is answered with
// kLumoResultNoMemory; the pool hold is released on that path too.
#include "frame/admission.h"
#include "frame/resize_methods.h"
#include "lumomath/LumoMath.h"
#include "pool/thread_pool.h"

namespace {

LumoResult NothingToDo() { return kLumoResultOK; }

// The hold is dropped last, once the result is known.
LumoResult ResizeHoldingPool(LumoScalingMethod method, uint32_t bitsPerSample,
                             const lumo::ResizeRequest& request) noexcept {
    try {
        const lumo::PoolHold pool = lumo::HoldPool();
        switch (lumo::AdmitResize(method, bitsPerSample, request)) {
            case lumo::Admission::Refuse:
                return kLumoResultInvalidParameter;
            case lumo::Admission::NothingToWrite:
                return kLumoResultOK;
            case lumo::Admission::Proceed:
                break;
        }
        return lumo::RunResize(*lumo::FindResizeMethod(method), request);
    } catch (...) {
        // std::bad_alloc, std::system_error from a thread that would not
        // start, or anything a row task raised.
        return kLumoResultNoMemory;
    }
}

lumo::ResizeRequest MakeRequest(uint32_t channels, uint32_t bitsPerSample, const void* source,
                                tagLumoSize sourceSize, uint32_t sourceRowBytes, tagLumoRect region,
                                void* destination, tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return {channels,
            bitsPerSample / 8,
            {static_cast<const unsigned char*>(source), sourceSize, sourceRowBytes},
            region,
            {static_cast<unsigned char*>(destination), destinationSize, destinationRowBytes}};
}

}  // namespace

extern "C" {

LUMO_API LumoResult LumoMathInitialize(void) { return NothingToDo(); }

LUMO_API LumoResult LumoMathTerminate(void) { return NothingToDo(); }

LUMO_API LumoResult LumoMathResize(LumoScalingMethod method, uint32_t channels, uint32_t bitsPerSample,
                                   const void* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                                   void* destination, tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return ResizeHoldingPool(method, bitsPerSample,
                             MakeRequest(channels, bitsPerSample, source, sourceSize, sourceRowBytes,
                                         lumo::WholeImage(sourceSize), destination, destinationSize,
                                         destinationRowBytes));
}

LUMO_API LumoResult LumoMathResizeWithRegion(LumoScalingMethod method, uint32_t channels, uint32_t bitsPerSample,
                                             const void* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                                             tagLumoRect region, void* destination, tagLumoSize destinationSize,
                                             uint32_t destinationRowBytes) {
    return ResizeHoldingPool(method, bitsPerSample,
                             MakeRequest(channels, bitsPerSample, source, sourceSize, sourceRowBytes, region,
                                         destination, destinationSize, destinationRowBytes));
}

}  // extern "C"
