#include <cstdio>

#include "arguments.h"
#include "commands.h"
#include "lumomath/LumoMath.h"

namespace lumotool {

int RunInfo(const Args& args) {
    const Arguments a = ParseArguments(args, {}, {});
    if (a.help) {
        std::fputs("usage: lumomath info\n\nPrints the library's version, the worker threads its pool would use,\n"
                   "the processor's vector extensions, the vector code the kernels run (see\n"
                   "LUMOMATH_TARGET in the README) and the FFT back end.\n",
                   stdout);
        return 0;
    }
    if (!a.positional.empty()) throw UsageError("info takes no arguments");
    std::printf("LumoMath %d.%d.%d\n", LUMOMATH_VERSION_MAJOR, LUMOMATH_VERSION_MINOR, LUMOMATH_VERSION_PATCH);
    std::printf("worker threads:   %u\n", LumoGetProcessorNum());
    std::printf("processor:        %s\n", LumoMathProcessorFeatures());
    std::printf("kernels:          %s\n", LumoMathKernelTarget());
    std::printf("FFT back end:     %s\n", LUMOMATH_FFT_BACKEND);
    return 0;
}

}  // namespace lumotool
