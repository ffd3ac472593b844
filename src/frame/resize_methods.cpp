#include "frame/resize_methods.h"

#include "platform/kernel_choice.h"

namespace lumo {

const ResizeMethod* FindResizeMethod(LumoScalingMethod id) {
    for (const ResizeMethod& method : kResizeMethods) {
        if (method.id == id) return &method;
    }
    return nullptr;
}

LumoResult RunResize(const ResizeMethod& method, const ResizeRequest& request) {
    // The plain kernels give the same bytes; forcing them takes every vector
    // path out of a triage run at once.
    const ResizeKernel kernel = platform::ForcePlainKernels() ? method.plain : method.fast;
    const LumoResult result = kernel(request);
    return method.reportsKernelResult ? result : kLumoResultOK;
}

}  // namespace lumo
