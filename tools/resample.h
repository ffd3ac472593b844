// The tool's one route into the library's resize entry points.
#pragma once

#include "image.h"
#include "lumomath/LumoMath.h"

namespace lumotool {

// Resizes the whole image, or `region` of it when given, to `to`, keeping the
// depth and channel count. Any result code other than 0 becomes a ToolError.
Image Resample(const Image& source, tagLumoSize to, LumoScalingMethod method, const tagLumoRect* region = nullptr);

// Why the library refused: one line for a person.
std::string DescribeResult(LumoResult result, LumoScalingMethod method, tagLumoSize from, tagLumoSize to);

}  // namespace lumotool
