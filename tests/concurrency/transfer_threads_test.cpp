#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "transfer/planes.h"

namespace {

using lumo::test::kConversions;
using lumo::test::Planes;

// Several host threads converting at once: each call plans its own transform,
// so the planner is entered concurrently; every thread must get what a lone
// caller gets.
TEST(TransferThreads, ConcurrentCallersMatchASerialRun) {
    struct Job {
        int conversion;
        int32_t width, height, count;
        Planes in;
        Planes expected;
    };
    std::vector<Job> jobs;
    const std::pair<int32_t, int32_t> sizes[] = {{8, 8}, {6, 5}, {16, 4}};
    for (int c = 0; c < 4; ++c)
        for (auto [w, h] : sizes) {
            Planes in = Planes::Random(w, h, 2, static_cast<uint32_t>(jobs.size()));
            Planes expected(w, h, 2);
            ASSERT_EQ(lumo::test::Convert(kConversions[c], in, expected, w, h, 2), 0);
            jobs.push_back({c, w, h, 2, std::move(in), std::move(expected)});
        }

    constexpr int kThreads = 4;
    constexpr int kRounds = 10;
    std::vector<int> mismatches(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round)
                for (size_t j = 0; j < jobs.size(); ++j) {
                    // Each thread walks the jobs from a different start.
                    const Job& job = jobs[(j + static_cast<size_t>(t) * 3) % jobs.size()];
                    Planes out(job.width, job.height, job.count);
                    const int32_t r = lumo::test::Convert(kConversions[job.conversion], job.in, out, job.width,
                                                          job.height, job.count);
                    if (r != 0 || !(out == job.expected)) ++mismatches[static_cast<size_t>(t)];
                }
        });
    }
    for (std::thread& th : threads) th.join();
    EXPECT_EQ(mismatches, std::vector<int>(kThreads, 0));
}

}  // namespace
