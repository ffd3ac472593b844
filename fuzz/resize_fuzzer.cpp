// LumoMathResize with every parameter drawn from the input.
#include "pool/thread_pool.h"
#include "resize_call.h"

// One pool for the whole run: starting and joining worker threads under the
// sanitizers on every call would take most of the run's time. Pools coming
// and going are the concurrency tests' business.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    static const lumo::PoolHold pool = lumo::HoldPool();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::FuzzResize(data, size, false);
    return 0;
}
