// The plain kernels, called the way the entry points call the fast ones, so
// the benchmark can show what the vector paths gain.
#pragma once

#include "frame/resize_methods.h"

namespace lumo::bench {

/// Runs the plain kernel of `method` on an admitted request, holding the
/// worker pool for the whole call as the entry points do, so that a two-pass
/// kernel starts it once.
LumoResult PlainResize(const ResizeMethod& method, const ResizeRequest& request);

}  // namespace lumo::bench
