#include "common/work_memory.h"

namespace lumo {
namespace {

thread_local int t_successesLeft = -1;  // -1: never fail
thread_local int t_requests = 0;

bool InjectedFailure() {
    ++t_requests;
    if (t_successesLeft < 0) return false;
    if (t_successesLeft == 0) return true;
    --t_successesLeft;
    return false;
}

}  // namespace

void* WorkCalloc(std::size_t bytes) {
    if (InjectedFailure()) return nullptr;
    return std::calloc(bytes == 0 ? 1 : bytes, 1);
}

void* WorkMalloc(std::size_t bytes) {
    if (InjectedFailure()) return nullptr;
    return std::malloc(bytes == 0 ? 1 : bytes);
}

void WorkFree(void* p) { std::free(p); }

namespace testing {

void FailWorkAllocationsAfter(int successes) {
    t_successesLeft = successes < 0 ? 0 : successes;
    t_requests = 0;
}

void ResetWorkAllocationFailures() {
    t_successesLeft = -1;
    t_requests = 0;
}

int WorkAllocationCount() { return t_requests; }

}  // namespace testing
}  // namespace lumo
