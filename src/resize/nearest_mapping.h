// The nearest-neighbour mapping from a destination coordinate to the source
// pixel it copies, shared by the fast kernels' column map and the plain
// per-pixel kernels so that both pick the same pixel by construction.
#pragma once

#include <cstdint>

#include "resize/sample_access.h"

namespace lumo {

// The source column (or row) under output coordinate i. The coordinate is
// divided by the factor, not multiplied by its inverse, and truncated with no
// half-pixel offset: both decide which pixel wins where the quotient lands
// near an integer. The clamp is against the whole source even for a region,
// so a region hanging over an edge repeats that edge.
inline uint32_t SourceCoordinate(uint32_t i, double scale, int32_t origin, uint32_t sourceLength) {
    const int32_t s = TruncateToInt32(static_cast<double>(i) / scale + static_cast<double>(origin));
    if (s < 0) return 0;
    if (sourceLength <= static_cast<uint32_t>(s)) return sourceLength - 1;
    return static_cast<uint32_t>(s);
}

}  // namespace lumo
