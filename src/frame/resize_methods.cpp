#include "frame/resize_methods.h"

namespace lumo {

const ResizeMethod* FindResizeMethod(LumoScalingMethod id) {
    for (const ResizeMethod& method : kResizeMethods) {
        if (method.id == id) return &method;
    }
    return nullptr;
}

LumoResult RunResize(const ResizeMethod& method, const ResizeRequest& request) {
    const LumoResult result = method.fast(request);
    return method.reportsKernelResult ? result : kLumoResultOK;
}

}  // namespace lumo
