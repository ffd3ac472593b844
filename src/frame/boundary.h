// The checks a resize call passes at the exported boundary before any
// dispatcher or kernel sees it. The kernels trust their arguments; these
// checks turn every call whose work would reach outside the caller's buffers,
// divide by an empty extent or wrap a 32-bit size into a refusal that writes
// nothing. Calls the kernels handle safely are let through unchanged.
#pragma once

#include <cstdint>

#include "lumomath/LumoMath.h"

namespace lumo {

/// The arguments of LumoMathResize and LumoMathResizeWithRegion; `region` is
/// null for a whole-image call.
struct ResizeCall {
    LumoScalingMethod method;
    uint32_t channels;
    uint32_t bitsPerSample;
    const void* source;
    tagLumoSize sourceSize;
    uint32_t sourceRowBytes;
    const tagLumoRect* region;
    const void* destination;
    tagLumoSize destinationSize;
    uint32_t destinationRowBytes;
};

enum class Admission {
    Refuse,          ///< answer kLumoResultInvalidParameter, touch nothing
    NothingToWrite,  ///< a valid call whose destination holds no sample: answer kLumoResultOK
    Proceed,         ///< hand the call to its dispatcher
};

/// Decides what becomes of a resize call. Every refusal here is one the
/// dispatchers would answer with the same code, or a call they would let
/// through to a kernel that cannot serve it safely.
Admission AdmitResize(const ResizeCall& call);

}  // namespace lumo
