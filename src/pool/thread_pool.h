// The one worker pool shared by every resize call, the process-wide holder
// that hands it out, and parallel_for, which spreads a row range over it.
//
// The pool is not a permanent service: the first hold creates it (sized from
// LumoGetProcessorNum at that moment), overlapping calls share it, and the
// last release stops and joins its threads on the releasing thread. Its
// threads start only when a parallel_for first splits its range: most calls
// on small images never split (see RowBands), and starting and joining
// threads would cost them more than their whole work.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace lumo {

class CLUMThread {
public:
    CLUMThread();
    ~CLUMThread();
    CLUMThread(const CLUMThread&) = delete;
    CLUMThread& operator=(const CLUMThread&) = delete;

    /// Worker threads of the pool once started; parallel_for splits over this many chunks.
    int threadCount() const { return m_threadNum; }

    /// Starts the worker threads unless they run already. If one cannot be
    /// started, those that did are joined before the error leaves, and a
    /// later call may try again.
    void startThreads();

    /// Queues a task at the back and wakes one worker. The caller keeps the task's future.
    void enqueue(std::function<void()> task);

    /// Pools constructed in this process so far (a diagnostic for tests).
    static uint64_t constructedCount();

private:
    void start_thread(int count);
    void worker_loop();
    void stop_and_join();

    int m_threadNum = 0;
    std::vector<std::thread> m_workers;
    std::deque<std::function<void()>> m_tasks;
    std::mutex m_queueMutex;
    std::condition_variable m_condition;
    bool m_stop = false;
    std::mutex m_startMutex;
    bool m_started = false;  // guarded by m_startMutex
};

namespace testing {
/// Lets the next `successes` worker threads started from this thread succeed
/// and makes every later start fail with the system error a thread that
/// cannot be created raises, until ResetThreadStartFailures().
void FailThreadStartsAfter(int successes);
void ResetThreadStartFailures();
/// Makes the row bands of calls from this thread split every job, however
/// small and whatever the pool's size, into `bands` bands (fewer when there
/// are fewer rows), until called with 0: how tests run band boundaries and
/// thread starts on small images, and many band counts on one pool.
void SplitEveryJobInto(uint32_t bands);
uint32_t ForcedBandCount();
}  // namespace testing

/// Hands out shared holds on one live instance of T and keeps only a weak
/// reference itself, so the instance dies with its last holder.
template <class T>
class CLUMSingleton {
public:
    static std::shared_ptr<T> getInstance() {
        // Two first callers arriving together get the same pool.
        std::lock_guard<std::mutex> lock(m_mutex);
        if (std::shared_ptr<T> alive = m_instance.lock()) return alive;
        auto created = std::make_shared<T>();
        m_instance = created;
        return created;
    }

private:
    static inline std::mutex m_mutex;
    static inline std::weak_ptr<T> m_instance;
};

using PoolHold = std::shared_ptr<CLUMThread>;

/// A hold on the shared pool, creating it when none is alive.
inline PoolHold HoldPool() { return CLUMSingleton<CLUMThread>::getInstance(); }

/// Runs body(i) for i = begin, begin + step, ... below end, and returns when
/// all have run. All chunks but the last go to the pool, whose threads start
/// here if they are not running yet; the caller runs the last one itself. An
/// exception from any chunk is rethrown here once every chunk has finished
/// (the chunks refer to `body`, which lives in the caller's frame), the
/// earliest queued chunk's first.
template <class Index, class Body>
void parallel_for(Index begin, Index end, Index step, const Body& body) {
    if (end <= begin) return;
    const PoolHold pool = HoldPool();

    const auto run_range = [&body, step](Index from, Index to) {
        for (Index i = from; i < to; i += step) body(i);
    };
    const int threads = pool->threadCount();
    if (step >= end - begin || threads < 2) {
        run_range(begin, end);
        return;
    }

    pool->startThreads();  // before any chunk runs, so a failure leaves nothing half done

    const auto n = static_cast<uint32_t>(end - begin);
    const auto t = static_cast<uint32_t>(threads);
    const uint32_t q = n / t;
    uint32_t r = n - q * t;
    const uint32_t chunks = t <= n ? t : r;

    std::vector<std::future<void>> futures;
    futures.reserve(chunks - 1);
    std::exception_ptr failure;
    Index start = begin;
    try {
        for (uint32_t c = 0; c + 1 < chunks; ++c) {
            const Index stop = start + static_cast<Index>(r > 0 ? q + 1 : q);
            if (r > 0) --r;
            auto task = std::make_shared<std::packaged_task<void()>>(
                [&run_range, start, stop] { run_range(start, stop); });
            futures.push_back(task->get_future());
            pool->enqueue([task] { (*task)(); });
            start = stop;
        }
        run_range(start, end);
    } catch (...) {
        failure = std::current_exception();
    }
    for (auto& f : futures) {
        try {
            f.get();
        } catch (...) {
            if (!failure) failure = std::current_exception();
        }
    }
    if (failure) std::rethrow_exception(failure);
}

}  // namespace lumo
