#include "resample.h"

#include "arguments.h"

namespace lumotool {

std::string DescribeResult(LumoResult result, LumoScalingMethod method, tagLumoSize from, tagLumoSize to) {
    const std::string sizes = std::to_string(from.width) + "x" + std::to_string(from.height) + " to " +
                              std::to_string(to.width) + "x" + std::to_string(to.height);
    switch (result) {
        case kLumoResultNoMemory:
            return "not enough memory to resize " + sizes;
        case kLumoResultInvalidParameter:
            if (method == kLumoScalingSuperSampling)
                return "supersampling only reduces, and " + sizes + " shrinks neither side; use bicubic";
            return std::string("the library refused to resize ") + sizes + " with " + MethodName(method);
        default:
            return "resizing " + sizes + " failed with result code " + std::to_string(result);
    }
}

Image Resample(const Image& source, tagLumoSize to, LumoScalingMethod method, const tagLumoRect* region) {
    Image out = Image::Make(to.width, to.height, source.channels, source.bits);
    const tagLumoSize from{source.width, source.height};
    const LumoResult result =
        region ? LumoMathResizeWithRegion(method, source.channels, source.bits, source.data.data(), from,
                                          source.RowBytes(), *region, out.data.data(), to, out.RowBytes())
               : LumoMathResize(method, source.channels, source.bits, source.data.data(), from, source.RowBytes(),
                                out.data.data(), to, out.RowBytes());
    if (result != kLumoResultOK) throw ToolError(DescribeResult(result, method, from, to));
    return out;
}

}  // namespace lumotool
