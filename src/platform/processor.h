// The platform seam for processor services. One implementation file per
// platform (processor_linux.cpp, processor_apple.cpp) provides these.
#pragma once

#include <string>

namespace lumo::platform {

/// Processors this process may run on; 1 when the system cannot tell.
int ActiveProcessorCount();

/// Vector extensions of the processor the process runs on.
struct ProcessorFeatures {
    bool sse3 = false;
    bool ssse3 = false;
    bool sse4_1 = false;
    bool sse4_2 = false;
    bool avx = false;
    bool avx2 = false;
};
ProcessorFeatures QueryProcessorFeatures();

/// The architecture and the vector extensions the processor offers, for
/// people: "x86-64: SSE3 SSSE3 SSE4.1 SSE4.2 AVX AVX2 FMA AVX-512F" or
/// "aarch64: NEON dotprod SVE SVE2 (256-bit vectors)".
std::string DescribeProcessor();

}  // namespace lumo::platform
