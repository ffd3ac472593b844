// lumomath — command-line front end of the library.
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

#include "lumomath/LumoMath.h"

namespace {

int Info() {
    std::printf("LumoMath\n");
    std::printf("  processors used by the pool: %u\n", LumoGetProcessorNum());
    std::printf("  features: SSE3 %d  SSSE3 %d  SSE4.1 %d  SSE4.2 %d  AVX %d  AVX2 %d\n", LumoCanUseSSE3(),
                LumoCanUseSSSE3(), LumoCanUseSSE4_1(), LumoCanUseSSE4_2(), LumoCanUseAVX(), LumoCanUseAVX2());
    return 0;
}

int Usage(std::FILE* out) {
    std::fprintf(out, "usage: lumomath info | demo\n");
    return out == stdout ? 0 : 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return Usage(stderr);
    if (std::strcmp(argv[1], "info") == 0 || std::strcmp(argv[1], "demo") == 0) return Info();
    if (std::strcmp(argv[1], "--help") == 0) return Usage(stdout);
    std::fprintf(stderr, "lumomath: unknown command '%s'\n", argv[1]);
    return Usage(stderr);
}
