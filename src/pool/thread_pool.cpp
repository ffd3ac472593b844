#include "pool/thread_pool.h"

#include "lumomath/LumoMath.h"

#include <atomic>

namespace lumo {
namespace {
std::atomic<uint64_t> g_poolsConstructed{0};
}  // namespace

uint64_t CLUMThread::constructedCount() { return g_poolsConstructed.load(); }

CLUMThread::CLUMThread() : m_threadNum(static_cast<int>(LumoGetProcessorNum())) {
    g_poolsConstructed.fetch_add(1);
    try {
        start_thread(m_threadNum);
    } catch (...) {
        // A thread that cannot be started leaves no half-built pool behind:
        // the ones already running are stopped and joined before the error
        // leaves, instead of being destroyed while joinable.
        stop_and_join();
        throw;
    }
}

CLUMThread::~CLUMThread() { stop_and_join(); }

void CLUMThread::start_thread(int count) {
    if (count < 1) return;
    m_workers.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) m_workers.emplace_back([this] { worker_loop(); });
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
