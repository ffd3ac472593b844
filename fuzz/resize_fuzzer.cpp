// LumoMathResize with every parameter drawn from the input.
#include "resize_call.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::FuzzResize(data, size, false);
    return 0;
}
