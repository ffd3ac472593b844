// The demo's built-in test chart.
#pragma once

#include "image.h"
#include "lumomath/LumoMath.h"

namespace lumotool {

struct TestChart {
    Image image;        // 640x480, 8-bit RGB
    tagLumoRect detail;  // a 40x30 area worth magnifying
};

// A zone plate, groups of fine lines, a sector star, gray and colour ramps
// and a synthetic landscape; the same pixels on every run.
TestChart MakeTestChart();

}  // namespace lumotool
