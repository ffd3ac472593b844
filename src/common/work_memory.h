// Per-call working memory of the kernels, the region path and the transforms.
//
// Every working allocation goes through here so that tests can make the n-th
// one fail and check that the caller reports it cleanly, writes nothing it
// should not, and leaks nothing. The failure switch is per thread: working
// memory is always obtained on the calling thread, before any row task runs.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace lumo {

/// Zero-filled block of `bytes` (a request for 0 bytes still yields a block), or null.
void* WorkCalloc(std::size_t bytes);
/// Uninitialised block of `bytes`, or null.
void* WorkMalloc(std::size_t bytes);
/// Releases a block of WorkCalloc/WorkMalloc; null is ignored.
void WorkFree(void* p);

struct WorkFreeDeleter {
    void operator()(void* p) const { WorkFree(p); }
};

/// An owned working block of `count` elements of T.
template <class T>
using WorkArray = std::unique_ptr<T[], WorkFreeDeleter>;

template <class T>
WorkArray<T> MakeWorkArray(std::size_t count) {
    return WorkArray<T>(static_cast<T*>(WorkCalloc(count * sizeof(T))));
}

namespace testing {

/// Lets the next `successes` working allocations of this thread succeed and
/// fails every one after them, until ResetWorkAllocationFailures().
void FailWorkAllocationsAfter(int successes);
void ResetWorkAllocationFailures();
/// Working allocations this thread has asked for since the last reset.
int WorkAllocationCount();

}  // namespace testing
}  // namespace lumo
