// Counting the threads of the test process, to see that pools leave none behind.
#pragma once

#include <chrono>
#include <filesystem>
#include <thread>

namespace lumo::test {

inline int ThreadsOfProcess() {
    int n = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        (void)entry;
        ++n;
    }
    return n;
}

/// Waits (bounded) until the process has `expected` threads; joined threads
/// can linger in /proc for a moment after join returns.
inline int SettleThreadCount(int expected) {
    int n = ThreadsOfProcess();
    for (int i = 0; i < 300 && n != expected; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        n = ThreadsOfProcess();
    }
    return n;
}

}  // namespace lumo::test
