#include "platform/processor.h"

#include <sys/sysctl.h>
#include <sys/types.h>

namespace lumo::platform {
namespace {

bool QueryFlag(const char* name) {
    int value = 0;
    size_t size = sizeof(value);
    return sysctlbyname(name, &value, &size, nullptr, 0) == 0 && value != 0;
}

}  // namespace

int ActiveProcessorCount() {
    int value = 1;
    size_t size = sizeof(value);
    if (sysctlbyname("hw.activecpu", &value, &size, nullptr, 0) != 0) return 1;
    return value;
}

ProcessorFeatures QueryProcessorFeatures() {
    ProcessorFeatures f;
#if defined(__aarch64__) || defined(__arm64__)
    f.sse3 = f.ssse3 = f.sse4_1 = f.sse4_2 = true;
#else
    f.sse3 = QueryFlag("hw.optional.sse3");
    f.ssse3 = QueryFlag("hw.optional.supplementalsse3");
    f.sse4_1 = QueryFlag("hw.optional.sse4_1");
    f.sse4_2 = QueryFlag("hw.optional.sse4_2");
#endif
    f.avx = QueryFlag("hw.optional.avx1_0");
    f.avx2 = QueryFlag("hw.optional.avx2_0");
    return f;
}

std::string DescribeProcessor() {
    std::string text;
    const auto add = [&text](const char* flag, const char* name) {
        if (QueryFlag(flag)) text += std::string(" ") + name;
    };
#if defined(__aarch64__) || defined(__arm64__)
    // Every Apple Arm processor has NEON and none has SVE.
    text = "aarch64: NEON";
    add("hw.optional.arm.FEAT_FP16", "fp16");
    add("hw.optional.arm.FEAT_DotProd", "dotprod");
    add("hw.optional.arm.FEAT_I8MM", "i8mm");
    add("hw.optional.arm.FEAT_BF16", "bf16");
#else
    text = "x86-64:";
    add("hw.optional.sse3", "SSE3");
    add("hw.optional.supplementalsse3", "SSSE3");
    add("hw.optional.sse4_1", "SSE4.1");
    add("hw.optional.sse4_2", "SSE4.2");
    add("hw.optional.avx1_0", "AVX");
    add("hw.optional.avx2_0", "AVX2");
    add("hw.optional.fma", "FMA");
    add("hw.optional.avx512f", "AVX-512F");
    add("hw.optional.avx512bw", "AVX-512BW");
    if (text.back() == ':') text += " no vector extensions";
#endif
    return text;
}

}  // namespace lumo::platform
