// Command-line parsing of the lumomath tool: options, sizes, regions, methods.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "lumomath/LumoMath.h"

namespace lumotool {

struct Arguments {
    std::vector<std::string> positional;
    std::map<std::string, std::string> values;  // "--size" -> "50%"
    std::set<std::string> flags;                 // "--double"
    bool help = false;

    bool Has(const std::string& option) const { return values.count(option) || flags.count(option); }
    const std::string* Value(const std::string& option) const {
        auto it = values.find(option);
        return it == values.end() ? nullptr : &it->second;
    }
};

// Splits argv into positionals and the options a command knows; accepts
// "--opt value" and "--opt=value", "-h"/"--help" anywhere, "--" to end options.
Arguments ParseArguments(const std::vector<std::string>& args, const std::set<std::string>& valueOptions,
                         const std::set<std::string>& flagOptions);

// "WxH", "Wx" or "xH" (the other side kept in proportion), or "P%".
tagLumoSize ParseSize(const std::string& text, tagLumoSize from);

// "X,Y,W,H", which must lie inside an image of size `image`.
tagLumoRect ParseRegion(const std::string& text, tagLumoSize image);

LumoScalingMethod ParseMethod(const std::string& name);
const char* MethodName(LumoScalingMethod method);

// Super-sampling when the image shrinks (no side grows, one shrinks), bicubic otherwise.
LumoScalingMethod DefaultMethod(tagLumoSize from, tagLumoSize to);

// A whole number from 1 to `most`; `what` names it in the message.
uint32_t ParseCount(const std::string& text, uint32_t most, const std::string& what);

// Worker count for the library's pool, 1 to 64.
inline uint32_t ParseThreads(const std::string& text) { return ParseCount(text, 64, "thread count"); }

}  // namespace lumotool
