// The platform seam for processor services. One implementation file per
// platform (processor_linux.cpp, processor_apple.cpp) provides these.
#pragma once

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

}  // namespace lumo::platform
