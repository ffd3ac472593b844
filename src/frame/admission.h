// The one place a resize call is refused. The kernels trust what is admitted
// (resize/resize_request.h says what that is); every call whose work would
// reach outside the caller's buffers, divide by an empty extent or wrap a
// 32-bit size is refused here, before any pixel is read, and writes nothing.
#pragma once

#include <cstdint>

#include "lumomath/LumoMath.h"
#include "resize/resize_request.h"

namespace lumo {

enum class Admission {
    Refuse,          ///< answer kLumoResultInvalidParameter, touch nothing
    NothingToWrite,  ///< a valid call whose destination holds no sample: answer kLumoResultOK
    Proceed,         ///< hand the request to its method's kernel
};

/// Decides what becomes of a resize call: the method and sample depth as the
/// host gave them, and the request they describe (its bytesPerSample taken
/// as bitsPerSample / 8, which only matters once the depth is admitted).
Admission AdmitResize(LumoScalingMethod method, uint32_t bitsPerSample, const ResizeRequest& request);

/// Area averaging only reduces: true when at least one direction shrinks. An
/// empty source gives not-a-number ratios, which pass.
bool SuperSamplingReduces(tagLumoSize sourceSize, tagLumoSize destinationSize);

}  // namespace lumo
