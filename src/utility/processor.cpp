// Processor count for the worker pool and the processor feature queries.
#include <atomic>
#include <cstdint>
#include <string>

#include "lumomath/LumoMath.h"
#include "platform/processor.h"

namespace {

// 0 means "ask the system". Atomic so that a host changing it while another
// thread builds a pool is not a data race; the value is read once per pool.
std::atomic<uint32_t> g_ProcessorNum{0};

constexpr int kMaxProcessors = 64;

}  // namespace

extern "C" {

LUMO_API void Set_ProcessorNum(uint32_t count) { g_ProcessorNum.store(count, std::memory_order_relaxed); }

LUMO_API uint32_t LumoGetProcessorNum(void) {
    const uint32_t set = g_ProcessorNum.load(std::memory_order_relaxed);
    if (set != 0) {
        // The override is read as signed: "-1" means one processor, not four billion.
        const auto v = static_cast<int32_t>(set);
        if (v > kMaxProcessors) return kMaxProcessors;
        return v < 2 ? 1u : static_cast<uint32_t>(v);
    }
    // The system's answer is only capped: a system count is never below 1 here.
    const int n = lumo::platform::ActiveProcessorCount();
    return static_cast<uint32_t>(n > kMaxProcessors ? kMaxProcessors : n);
}

LUMO_API bool LumoCanUseSSE3(void) { return lumo::platform::QueryProcessorFeatures().sse3; }
LUMO_API bool LumoCanUseSSSE3(void) { return lumo::platform::QueryProcessorFeatures().ssse3; }
LUMO_API bool LumoCanUseSSE4_1(void) { return lumo::platform::QueryProcessorFeatures().sse4_1; }
LUMO_API bool LumoCanUseSSE4_2(void) { return lumo::platform::QueryProcessorFeatures().sse4_2; }
LUMO_API bool LumoCanUseAVX(void) { return lumo::platform::QueryProcessorFeatures().avx; }
LUMO_API bool LumoCanUseAVX2(void) { return lumo::platform::QueryProcessorFeatures().avx2; }

LUMO_API const char* LumoMathProcessorFeatures(void) {
    try {
        static const std::string text = lumo::platform::DescribeProcessor();
        return text.c_str();
    } catch (...) {
        // No memory for the text: the next call tries again.
        return "unknown";
    }
}

}  // extern "C"
