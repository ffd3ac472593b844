// The resize kernels: one fast and one plain kernel per method, each serving
// both sample widths and whole images and regions alike.
#pragma once

#include "resize/resize_request.h"

namespace lumo {

LumoResult NearestNeighbor(const ResizeRequest& request);
LumoResult BiLinear(const ResizeRequest& request);
LumoResult BiCubic(const ResizeRequest& request);
LumoResult SuperSampling(const ResizeRequest& request);

/// The plain scalar kernels: each method's arithmetic written out loop by loop.
/// The fast kernels above must match them byte for byte; the differential
/// tests and the benchmark compare against them.
namespace reference {
LumoResult NearestNeighbor(const ResizeRequest& request);
LumoResult BiLinear(const ResizeRequest& request);
LumoResult BiCubic(const ResizeRequest& request);
LumoResult SuperSampling(const ResizeRequest& request);
}  // namespace reference

/// The cubic-convolution weight at distance x (a = -0.5 outside, with the
/// library's own inner piece that has a kink at 0).
double cubicFilter(double x);

}  // namespace lumo
