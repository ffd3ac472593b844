#include "pool/thread_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

#include "lumomath/LumoMath.h"
#include "pool/process_threads.h"

namespace {

using lumo::CLUMThread;
using lumo::parallel_for;

using lumo::test::QuietThreadCount;
using lumo::test::SettleThreadCount;
using lumo::test::ThreadsOfProcess;

class PoolTest : public ::testing::Test {
protected:
    void TearDown() override { Set_ProcessorNum(0); }
};

// Records which thread ran each index. Worker threads wait at their first
// index until `workers` distinct workers have arrived, which forces every
// queued chunk onto its own worker so that chunk boundaries become visible.
class ChunkRecorder {
public:
    explicit ChunkRecorder(int workers) : m_workers(workers), m_caller(std::this_thread::get_id()) {}

    void operator()(int i) const {
        const auto self = std::this_thread::get_id();
        if (self != m_caller) {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (m_arrived.insert(self).second) m_cv.notify_all();
            m_cv.wait_for(lock, std::chrono::seconds(10),
                          [&] { return static_cast<int>(m_arrived.size()) >= m_workers; });
        }
        std::lock_guard<std::mutex> lock(m_mutex);
        m_ran[self].push_back(i);
    }

    std::vector<int> OnCaller() const { return m_ran.count(m_caller) ? m_ran.at(m_caller) : std::vector<int>{}; }

    // The index runs of the worker threads, sorted by their first index.
    std::vector<std::vector<int>> WorkerChunks() const {
        std::vector<std::vector<int>> chunks;
        for (const auto& [id, indices] : m_ran)
            if (id != m_caller) chunks.push_back(indices);
        std::sort(chunks.begin(), chunks.end());
        return chunks;
    }

private:
    int m_workers;
    std::thread::id m_caller;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_cv;
    mutable std::set<std::thread::id> m_arrived;
    mutable std::map<std::thread::id, std::vector<int>> m_ran;
};

struct SplitCase {
    unsigned threads;
    int rows;
    std::vector<std::vector<int>> queued;
    std::vector<int> caller;
};

class PoolSplit : public PoolTest, public ::testing::WithParamInterface<SplitCase> {};

TEST_P(PoolSplit, QueuesAllButTheLastChunkAndRunsTheLastOnTheCaller) {
    const SplitCase& c = GetParam();
    Set_ProcessorNum(c.threads);
    ChunkRecorder recorder(static_cast<int>(c.queued.size()));
    parallel_for(0, c.rows, 1, recorder);
    EXPECT_EQ(recorder.WorkerChunks(), c.queued);
    EXPECT_EQ(recorder.OnCaller(), c.caller);
}

INSTANTIATE_TEST_SUITE_P(
    Splits, PoolSplit,
    ::testing::Values(SplitCase{4, 10, {{0, 1, 2}, {3, 4, 5}, {6, 7}}, {8, 9}},
                      SplitCase{8, 3, {{0}, {1}}, {2}},
                      SplitCase{2, 5, {{0, 1, 2}}, {3, 4}},
                      SplitCase{3, 9, {{0, 1, 2}, {3, 4, 5}}, {6, 7, 8}},
                      SplitCase{4, 1, {}, {0}}, SplitCase{1, 7, {}, {0, 1, 2, 3, 4, 5, 6}}));

TEST_F(PoolTest, HonoursTheStepInEveryChunk) {
    Set_ProcessorNum(3);
    std::mutex m;
    std::vector<int> seen;
    parallel_for(1, 20, 3, [&](int i) {
        std::lock_guard<std::mutex> lock(m);
        seen.push_back(i);
    });
    std::sort(seen.begin(), seen.end());
    // Chunks are cut by index count (19 over 3: [1,8) [8,14) [14,20)) and each
    // walks its own bounds by the step.
    EXPECT_EQ(seen, (std::vector<int>{1, 4, 7, 8, 11, 14, 17}));
}

TEST_F(PoolTest, EmptyRangeNeverCallsTheBodyNorTouchesThePool) {
    Set_ProcessorNum(4);
    const uint64_t before = CLUMThread::constructedCount();
    int calls = 0;
    parallel_for(0, 0, 1, [&](int) { ++calls; });
    parallel_for(5, 2, 1, [&](int) { ++calls; });
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(CLUMThread::constructedCount(), before);
}

TEST_F(PoolTest, ExceptionOfTheFirstQueuedChunkIsRethrownAfterEveryChunkFinished) {
    Set_ProcessorNum(4);
    std::atomic<int> done{0};
    std::atomic<bool> callerChunkDone{false};
    const auto caller = std::this_thread::get_id();
    try {
        parallel_for(0, 10, 1, [&](int i) {
            if (i == 0) throw std::runtime_error("row 0");
            if (std::this_thread::get_id() == caller && i == 9) {
                // The caller's own chunk ends slowly; the error must still wait for it.
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                callerChunkDone = true;
            }
            ++done;
        });
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "row 0");
    }
    EXPECT_TRUE(callerChunkDone.load());
    EXPECT_EQ(done.load(), 7);  // the failing chunk [0, 3) stops at its first row
}

TEST_F(PoolTest, ExceptionOnTheCallerWinsAndStillWaitsForQueuedChunks) {
    Set_ProcessorNum(2);
    std::atomic<int> queuedDone{0};
    EXPECT_THROW(parallel_for(0, 4, 1,
                              [&](int i) {
                                  if (i == 3) throw std::logic_error("caller");
                                  if (i < 2) {
                                      std::this_thread::sleep_for(std::chrono::milliseconds(10));
                                      ++queuedDone;
                                  }
                              }),
                 std::logic_error);
    EXPECT_EQ(queuedDone.load(), 2);
}

TEST_F(PoolTest, OverlappingHoldersShareOnePool) {
    Set_ProcessorNum(3);
    const uint64_t before = CLUMThread::constructedCount();
    {
        auto first = lumo::HoldPool();
        std::vector<std::thread> holders;
        std::vector<const CLUMThread*> seen(6);
        for (int t = 0; t < 6; ++t)
            holders.emplace_back([&seen, t] {
                auto hold = lumo::HoldPool();
                seen[static_cast<size_t>(t)] = hold.get();
                parallel_for(0, 50, 1, [](int) {});
            });
        for (auto& h : holders) h.join();
        for (const CLUMThread* p : seen) EXPECT_EQ(p, first.get());
        EXPECT_EQ(first->threadCount(), 3);
    }
    EXPECT_EQ(CLUMThread::constructedCount(), before + 1);
}

TEST_F(PoolTest, WorkersStartWithTheFirstSplitAndStopWithTheLastHold) {
    // A sanitizer runtime starts its own helper thread with the first thread
    // of the process; let that happen before the baseline is taken.
    std::thread([] {}).join();
    const int base = QuietThreadCount();
    Set_ProcessorNum(5);
    {
        auto hold = lumo::HoldPool();
        parallel_for(0, 1, 1, [](int) {});
        EXPECT_EQ(ThreadsOfProcess(), base);
        // A start that fails joins what it started and runs no chunk; the next split starts again.
        lumo::testing::FailThreadStartsAfter(3);
        EXPECT_THROW(parallel_for(0, 100, 1, [](int) { FAIL(); }), std::system_error);
        lumo::testing::ResetThreadStartFailures();
        EXPECT_EQ(SettleThreadCount(base), base);
        parallel_for(0, 100, 1, [](int) {});
        parallel_for(0, 100, 1, [](int) {});
        EXPECT_EQ(ThreadsOfProcess(), base + 5);
    }
    EXPECT_EQ(SettleThreadCount(base), base);
}

TEST_F(PoolTest, ProcessorCountChangeTakesEffectWithTheNextPool) {
    Set_ProcessorNum(2);
    {
        auto hold = lumo::HoldPool();
        Set_ProcessorNum(6);
        EXPECT_EQ(lumo::HoldPool()->threadCount(), 2);  // the live pool keeps its size
    }
    EXPECT_EQ(lumo::HoldPool()->threadCount(), 6);
}

}  // namespace
