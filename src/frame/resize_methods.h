// The method table: what the resize entry points know of each method. It is
// the one list of methods that the entry points, the tests and the benchmark
// share.
#pragma once

#include <cstdint>

#include "lumomath/LumoMath.h"
#include "resize/kernels.h"
#include "resize/resize_request.h"

namespace lumo {

struct ResizeMethod {
    LumoScalingMethod id;
    const char* name;
    ResizeKernel fast;
    ResizeKernel plain;
    /// Whether the caller hears the kernel's result. Nearest neighbour and
    /// super-sampling have always answered 0 once their kernel ran (callers
    /// rely on it); their kernels fall back to allocation-free work instead of
    /// failing.
    bool reportsKernelResult;
};

inline constexpr ResizeMethod kResizeMethods[] = {
    {kLumoScalingNearestNeighbor, "nearest", NearestNeighbor, reference::NearestNeighbor, false},
    {kLumoScalingBiLinear, "bilinear", BiLinear, reference::BiLinear, true},
    {kLumoScalingBiCubic, "bicubic", BiCubic, reference::BiCubic, true},
    {kLumoScalingSuperSampling, "supersampling", SuperSampling, reference::SuperSampling, false},
};

/// The method `id` names, or null for any other value.
const ResizeMethod* FindResizeMethod(LumoScalingMethod id);

/// Runs the method's fast kernel (its plain one when the environment forces
/// the plain kernels) on an admitted request and answers as the method does.
LumoResult RunResize(const ResizeMethod& method, const ResizeRequest& request);

}  // namespace lumo
