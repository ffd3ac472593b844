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

/// The thread count once it has held still for 100 ms (bounded): the
/// baseline for SettleThreadCount. Threads joined just before, by this test or
/// an earlier one, may still be listed; under an emulator for a while.
inline int QuietThreadCount() {
    int n = ThreadsOfProcess();
    for (int still = 0, i = 0; still < 10 && i < 300; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const int now = ThreadsOfProcess();
        still = now == n ? still + 1 : 0;
        n = now;
    }
    return n;
}

}  // namespace lumo::test
