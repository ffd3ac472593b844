#include "platform/processor.h"

#include <sched.h>
#include <unistd.h>

namespace lumo::platform {

int ActiveProcessorCount() {
    // The affinity mask is what this process may actually use (containers and
    // taskset narrow it); the online count is the fallback.
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) == 0) {
        const int n = CPU_COUNT(&set);
        if (n > 0) return n;
    }
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    if (online < 1) return 1;
    return online > 4096 ? 4096 : static_cast<int>(online);
}

ProcessorFeatures QueryProcessorFeatures() {
    ProcessorFeatures f;
#if defined(__x86_64__) || defined(__i386__)
    // The compiler's cpuid reader also checks that the operating system saves
    // the AVX register state, which the raw cpuid bits alone would not tell.
    __builtin_cpu_init();
    f.sse3 = __builtin_cpu_supports("sse3");
    f.ssse3 = __builtin_cpu_supports("ssse3");
    f.sse4_1 = __builtin_cpu_supports("sse4.1");
    f.sse4_2 = __builtin_cpu_supports("sse4.2");
    f.avx = __builtin_cpu_supports("avx");
    f.avx2 = __builtin_cpu_supports("avx2");
#elif defined(__aarch64__)
    // 64-bit Arm answers the older x86 extensions with yes (their work is done
    // by NEON) and has no AVX to offer.
    f.sse3 = f.ssse3 = f.sse4_1 = f.sse4_2 = true;
#endif
    return f;
}

}  // namespace lumo::platform
