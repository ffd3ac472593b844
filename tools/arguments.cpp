#include "arguments.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "image.h"

namespace lumotool {
namespace {

// A whole decimal number with nothing around it.
bool ParseUnsigned(const std::string& text, uint64_t& value) {
    if (text.empty()) return false;
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, value);
    return ec == std::errc() && ptr == end;
}

std::string SizeText(uint64_t w, uint64_t h) { return std::to_string(w) + "x" + std::to_string(h); }

uint32_t CheckedSide(uint64_t value, const std::string& text) {
    if (value == 0) throw ToolError("invalid size '" + text + "': a side would be zero pixels");
    if (value > std::numeric_limits<int32_t>::max()) throw ToolError("invalid size '" + text + "': a side is too large");
    return static_cast<uint32_t>(value);
}

// The other side in proportion, rounded to the nearest pixel.
uint64_t Proportional(uint32_t side, uint32_t numerator, uint32_t denominator) {
    return static_cast<uint64_t>(std::llround(static_cast<double>(side) * numerator / denominator));
}

}  // namespace

Arguments ParseArguments(const std::vector<std::string>& args, const std::set<std::string>& valueOptions,
                         const std::set<std::string>& flagOptions) {
    Arguments parsed;
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            parsed.positional.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        if (arg == "-h" || arg == "--help") {
            parsed.help = true;
            continue;
        }
        const size_t eq = arg.find('=');
        const std::string name = arg.substr(0, eq);
        if (valueOptions.count(name)) {
            if (eq != std::string::npos) {
                parsed.values[name] = arg.substr(eq + 1);
            } else if (i + 1 < args.size()) {
                parsed.values[name] = args[++i];
            } else {
                throw UsageError("option " + name + " needs a value");
            }
        } else if (flagOptions.count(name) && eq == std::string::npos) {
            parsed.flags.insert(name);
        } else {
            throw UsageError("unknown option '" + arg + "'");
        }
    }
    return parsed;
}

tagLumoSize ParseSize(const std::string& text, tagLumoSize from) {
    if (!text.empty() && text.back() == '%') {
        const std::string number = text.substr(0, text.size() - 1);
        double percent = 0;
        const char* end = number.data() + number.size();
        auto [ptr, ec] = std::from_chars(number.data(), end, percent);
        if (number.empty() || ec != std::errc() || ptr != end || !(percent > 0) || percent > 1e6)
            throw ToolError("invalid size '" + text + "': expected a positive percentage such as 50%");
        const auto scale = [&](uint32_t side) { return static_cast<uint64_t>(std::llround(side * percent / 100.0)); };
        return {CheckedSide(scale(from.width), text), CheckedSide(scale(from.height), text)};
    }
    const size_t x = text.find_first_of("xX");
    if (x == std::string::npos)
        throw ToolError("invalid size '" + text + "': expected WxH, Wx, xH or a percentage");
    const std::string ws = text.substr(0, x), hs = text.substr(x + 1);
    uint64_t w = 0, h = 0;
    const bool hasW = !ws.empty(), hasH = !hs.empty();
    if ((!hasW && !hasH) || (hasW && !ParseUnsigned(ws, w)) || (hasH && !ParseUnsigned(hs, h)))
        throw ToolError("invalid size '" + text + "': expected WxH, Wx, xH or a percentage");
    if (hasW && w == 0) throw ToolError("invalid size '" + text + "': the width is zero");
    if (hasH && h == 0) throw ToolError("invalid size '" + text + "': the height is zero");
    if (!hasH) h = Proportional(CheckedSide(w, text), from.height, from.width);
    if (!hasW) w = Proportional(CheckedSide(h, text), from.width, from.height);
    return {CheckedSide(w, text), CheckedSide(h, text)};
}

tagLumoRect ParseRegion(const std::string& text, tagLumoSize image) {
    uint64_t v[4] = {};
    size_t start = 0;
    for (int i = 0; i < 4; ++i) {
        const size_t comma = i < 3 ? text.find(',', start) : text.size();
        if (comma == std::string::npos || !ParseUnsigned(text.substr(start, comma - start), v[i]))
            throw ToolError("invalid region '" + text + "': expected X,Y,W,H in pixels");
        start = comma + 1;
    }
    if (v[2] == 0 || v[3] == 0) throw ToolError("invalid region '" + text + "': the region is empty");
    if (v[0] + v[2] > image.width || v[1] + v[3] > image.height)
        throw ToolError("region " + text + " lies outside the " + SizeText(image.width, image.height) + " image");
    return {static_cast<int32_t>(v[0]), static_cast<int32_t>(v[1]), static_cast<uint32_t>(v[2]),
            static_cast<uint32_t>(v[3])};
}

namespace {
struct MethodEntry {
    const char* name;
    LumoScalingMethod method;
};
constexpr MethodEntry kMethods[] = {{"nearest", kLumoScalingNearestNeighbor},
                                    {"bilinear", kLumoScalingBiLinear},
                                    {"bicubic", kLumoScalingBiCubic},
                                    {"supersampling", kLumoScalingSuperSampling}};
}  // namespace

LumoScalingMethod ParseMethod(const std::string& name) {
    for (const MethodEntry& m : kMethods)
        if (name == m.name) return m.method;
    throw ToolError("unknown method '" + name + "': use nearest, bilinear, bicubic or supersampling");
}

const char* MethodName(LumoScalingMethod method) {
    for (const MethodEntry& m : kMethods)
        if (method == m.method) return m.name;
    return "unknown";
}

LumoScalingMethod DefaultMethod(tagLumoSize from, tagLumoSize to) {
    const bool noneGrows = to.width <= from.width && to.height <= from.height;
    const bool oneShrinks = to.width < from.width || to.height < from.height;
    return noneGrows && oneShrinks ? kLumoScalingSuperSampling : kLumoScalingBiCubic;
}

uint32_t ParseCount(const std::string& text, uint32_t most, const std::string& what) {
    uint64_t n = 0;
    if (!ParseUnsigned(text, n) || n < 1 || n > most)
        throw ToolError("invalid " + what + " '" + text + "': expected a number from 1 to " + std::to_string(most));
    return static_cast<uint32_t>(n);
}

}  // namespace lumotool
