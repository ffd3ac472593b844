#include <cstdio>

#include "arguments.h"
#include "commands.h"
#include "image_io.h"
#include "resample.h"

namespace lumotool {
namespace {

constexpr const char* kUsage =
    "usage: lumomath resize IN OUT --size SIZE [--method METHOD] [--region X,Y,W,H] [--threads N]\n"
    "\n"
    "Resizes a PNG or TIFF image (8 or 16 bits, 1 to 4 channels), keeping its depth and channels.\n"
    "The output format follows OUT's extension: .png, .tif or .tiff.\n"
    "\n"
    "  --size SIZE       WxH, Wx or xH (the other side in proportion), or a percentage such as 50%\n"
    "  --method METHOD   nearest, bilinear, bicubic or supersampling; default: supersampling when\n"
    "                    the image shrinks, bicubic otherwise\n"
    "  --region X,Y,W,H  resize only this rectangle of IN (SIZE percentages refer to it)\n"
    "  --threads N       worker threads, 1 to 64 (default: the processors available)\n";

}  // namespace

int RunResize(const Args& args) {
    const Arguments a = ParseArguments(args, {"--size", "--method", "--region", "--threads"}, {});
    if (a.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (a.positional.size() != 2) throw UsageError("resize takes IN and OUT (see lumomath resize --help)");
    if (!a.Value("--size")) throw UsageError("resize needs --size (see lumomath resize --help)");
    const std::string& in = a.positional[0];
    const std::string& out = a.positional[1];
    // Everything that does not depend on the input is checked before reading it.
    FormatFromPath(out);
    const bool methodGiven = a.Value("--method") != nullptr;
    const LumoScalingMethod chosen = methodGiven ? ParseMethod(*a.Value("--method")) : kLumoScalingBiCubic;
    if (const std::string* threads = a.Value("--threads")) Set_ProcessorNum(ParseThreads(*threads));

    const Image source = ReadImage(in);
    const tagLumoSize whole{source.width, source.height};
    tagLumoRect region{0, 0, source.width, source.height};
    if (const std::string* r = a.Value("--region")) region = ParseRegion(*r, whole);
    const tagLumoSize to = ParseSize(*a.Value("--size"), {region.width, region.height});
    const LumoScalingMethod method = methodGiven ? chosen : DefaultMethod({region.width, region.height}, to);

    const bool useRegion = a.Value("--region") != nullptr;
    const Image result = Resample(source, to, method, useRegion ? &region : nullptr);
    WriteImage(out, result);
    std::printf("%s -> %s (%s, %s)\n", in.c_str(), out.c_str(), Describe(result).c_str(), MethodName(method));
    return 0;
}

}  // namespace lumotool
