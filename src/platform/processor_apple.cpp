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

}  // namespace lumo::platform
