#include "pool/thread_pool.h"

#include "lumomath/LumoMath.h"

#include <atomic>
#include <system_error>

namespace lumo {
namespace {
std::atomic<uint64_t> g_poolsConstructed{0};

// Test seam: per calling thread, the number of worker starts still allowed
// before one fails as the system would (-1: never fail). Workers are started
// on the thread whose parallel_for first splits, so the switch reaches exactly
// the starts that thread makes.
thread_local int t_threadStartsLeft = -1;

// Test seam: the band count of row bands made on this thread (0: their own).
thread_local uint32_t t_forcedBands = 0;

void StartWorker(std::vector<std::thread>& workers, CLUMThread* pool, void (CLUMThread::*loop)()) {
    if (t_threadStartsLeft == 0)
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again),
                                "thread constructor failed");
    if (t_threadStartsLeft > 0) --t_threadStartsLeft;
    workers.emplace_back(loop, pool);
}
}  // namespace

namespace testing {
void FailThreadStartsAfter(int successes) { t_threadStartsLeft = successes < 0 ? 0 : successes; }
void ResetThreadStartFailures() { t_threadStartsLeft = -1; }
void SplitEveryJobInto(uint32_t bands) { t_forcedBands = bands; }
uint32_t ForcedBandCount() { return t_forcedBands; }
}  // namespace testing

uint64_t CLUMThread::constructedCount() { return g_poolsConstructed.load(); }

CLUMThread::CLUMThread() : m_threadNum(static_cast<int>(LumoGetProcessorNum())) { g_poolsConstructed.fetch_add(1); }

CLUMThread::~CLUMThread() { stop_and_join(); }

void CLUMThread::startThreads() {
    std::lock_guard<std::mutex> lock(m_startMutex);
    if (m_started) return;
    try {
        start_thread(m_threadNum);
    } catch (...) {
        // A thread that cannot be started leaves no half-started pool behind:
        // the ones already running are stopped and joined before the error
        // leaves, instead of being destroyed while joinable. No task can be
        // queued yet: every caller that splits waits here first.
        stop_and_join();
        m_workers.clear();
        m_stop = false;
        throw;
    }
    m_started = true;
}

void CLUMThread::start_thread(int count) {
    if (count < 1) return;
    m_workers.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) StartWorker(m_workers, this, &CLUMThread::worker_loop);
}

void CLUMThread::enqueue(std::function<void()> task) {
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        m_tasks.push_back(std::move(task));
    }
    m_condition.notify_one();
}

void CLUMThread::worker_loop() {
    for (;;) {
        std::function<void()> task;
        {
            std::unique_lock<std::mutex> lock(m_queueMutex);
            m_condition.wait(lock, [this] { return m_stop || !m_tasks.empty(); });
            // Queued tasks are drained before a stopping worker leaves.
            if (m_tasks.empty()) return;
            task = std::move(m_tasks.front());
            m_tasks.pop_front();
        }
        task();
    }
}

void CLUMThread::stop_and_join() {
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        m_stop = true;
    }
    m_condition.notify_all();
    for (std::thread& worker : m_workers) {
        if (worker.joinable()) worker.join();
    }
}

}  // namespace lumo
