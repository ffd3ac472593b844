#include "platform/processor.h"

#include <sched.h>
#include <unistd.h>

#if defined(__aarch64__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#include <sys/prctl.h>
#endif

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

std::string DescribeProcessor() {
    std::string text;
    const auto add = [&text](bool present, const char* name) {
        if (present) text += std::string(" ") + name;
    };
#if defined(__x86_64__) || defined(__i386__)
    const ProcessorFeatures f = QueryProcessorFeatures();  // also readies the cpuid reader
    text = "x86-64:";
    add(f.sse3, "SSE3");
    add(f.ssse3, "SSSE3");
    add(f.sse4_1, "SSE4.1");
    add(f.sse4_2, "SSE4.2");
    add(f.avx, "AVX");
    add(f.avx2, "AVX2");
    add(__builtin_cpu_supports("fma"), "FMA");
    add(__builtin_cpu_supports("avx512f"), "AVX-512F");
    add(__builtin_cpu_supports("avx512bw"), "AVX-512BW");
#elif defined(__aarch64__)
    // The kernel's capability bits say what user code may run; SVE's vector
    // length is this thread's, which is the process's unless it changed it.
    const unsigned long hwcap = getauxval(AT_HWCAP), hwcap2 = getauxval(AT_HWCAP2);
    text = "aarch64:";
    add(hwcap & HWCAP_ASIMD, "NEON");
    add(hwcap & HWCAP_ASIMDHP, "fp16");
    add(hwcap & HWCAP_ASIMDDP, "dotprod");
    add(hwcap2 & HWCAP2_I8MM, "i8mm");
    add(hwcap2 & HWCAP2_BF16, "bf16");
    add(hwcap & HWCAP_SVE, "SVE");
    add(hwcap2 & HWCAP2_SVE2, "SVE2");
    if (hwcap & HWCAP_SVE) {
        const int vl = prctl(PR_SVE_GET_VL);
        if (vl >= 0) text += " (" + std::to_string((vl & PR_SVE_VL_LEN_MASK) * 8) + "-bit vectors)";
    }
#else
    text = "unknown architecture:";
#endif
    if (text.back() == ':') text += " no vector extensions";
    return text;
}

}  // namespace lumo::platform
