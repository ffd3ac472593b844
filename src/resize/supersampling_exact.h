// Area averaging in whole numbers, for the calls whose weights allow it
// without changing a single output byte (see supersampling_exact.cpp).
#pragma once

#include <cstdint>

#include "resize/resize_request.h"

namespace lumo::supersampling {

// Footprints are in absolute source coordinates of the region, which for a
// whole image is the region at (0, 0) that covers it.

/// Whether every weight of the call is a binary fraction short enough for
/// its sums to be worked exactly in whole numbers. Allocates nothing.
bool ExactSumsApply(const ResizeRequest& r);

/// Works the call in whole numbers and returns true when ExactSumsApply()
/// holds and its tables could be had; otherwise writes nothing and returns
/// false. `r` has 1 to 4 channels, a destination of at least 1 x 1.
bool SuperSampleExactly(const ResizeRequest& r);

}  // namespace lumo::supersampling
