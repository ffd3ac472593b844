// Many host threads resizing and converting at once against shared sources:
// every result must equal a lone caller's, the pools that come and go in
// between must leave no thread behind, and a processor count set between
// rounds must size the next pool. Sizes stay small so that the
// ThreadSanitizer run stays short; one job is large enough to split, so
// overlapping calls start and share the pool's threads.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <thread>
#include <utility>
#include <vector>

#include "frame/resize_methods.h"
#include "lumomath/LumoMath.h"
#include "pool/process_threads.h"
#include "pool/thread_pool.h"
#include "resize/test_image.h"

namespace {

using lumo::test::TestImage;

constexpr int kHostThreads = 8;
constexpr int kCallsPerThreadAndRound = 100;
constexpr uint32_t kRoundProcessorCounts[] = {3, 2, 5};

using lumo::test::QuietThreadCount;
using lumo::test::SettleThreadCount;

// One kind of call: it writes its result into `out` (resized to fit) and
// returns the call's result code.
using Job = std::function<uint32_t(std::vector<unsigned char>& out)>;

std::vector<unsigned char> AsBytes(const std::vector<double>& re, const std::vector<double>& im) {
    std::vector<unsigned char> out((re.size() + im.size()) * sizeof(double));
    std::memcpy(out.data(), re.data(), re.size() * sizeof(double));
    std::memcpy(out.data() + re.size() * sizeof(double), im.data(), im.size() * sizeof(double));
    return out;
}

class Sources {
public:
    Sources() : m_8(TestImage::Make(29, 23, 3, 8, 5)), m_16(TestImage::Make(29, 23, 3, 16, 2)) {
        m_8.FillRandom(81);
        m_16.FillRandom(161);
        m_re.resize(2 * 16 * 8);
        m_im.resize(m_re.size());
        for (size_t i = 0; i < m_re.size(); ++i) {
            m_re[i] = static_cast<double>((i * 37) % 11) - 5.0;
            m_im[i] = static_cast<double>((i * 13) % 7) * 0.5;
        }
    }

    std::vector<Job> Jobs() const {
        std::vector<Job> jobs;
        const tagLumoSize sizes[] = {{17, 13}, {41, 9}, {12, 30}};
        const tagLumoRect region{3, 4, 21, 15};
        int k = 0;
        for (const lumo::ResizeMethod& m : lumo::kResizeMethods) {
            const LumoScalingMethod method = m.id;
            for (const TestImage* source : {&m_8, &m_16}) {
                for (const bool inRegion : {false, true}) {
                    const tagLumoSize size = sizes[k++ % 3];
                    jobs.push_back([=](std::vector<unsigned char>& out) {
                        const uint32_t bits = source->bytesPerSample * 8;
                        const uint32_t rowBytes = size.width * 3 * source->bytesPerSample + 1;
                        out.assign(size_t{rowBytes} * size.height, 0);
                        return inRegion ? LumoMathResizeWithRegion(method, 3, bits, source->Data(), source->Size(),
                                                                   source->rowBytes, region, out.data(), size, rowBytes)
                                        : LumoMathResize(method, 3, bits, source->Data(), source->Size(),
                                                         source->rowBytes, out.data(), size, rowBytes);
                    });
                }
            }
        }
        jobs.push_back([this](std::vector<unsigned char>& out) {
            out.assign(size_t{2000} * 3 * 1500, 0);
            return LumoMathResize(kLumoScalingNearestNeighbor, 3, 8, m_8.Data(), m_8.Size(), m_8.rowBytes, out.data(),
                                  {2000, 1500}, 2000 * 3);
        });
        for (const TestImage* source : {&m_8, &m_16}) {
            jobs.push_back([source](std::vector<unsigned char>& out) {
                const tagLumoSize size{9, 6};
                const uint32_t rowBytes = size.width * 3 * source->bytesPerSample;
                out.assign(size_t{rowBytes} * size.height, 0);
                return ResizeWithRegion(kLumoScalingBiLinear, 3, source->bytesPerSample * 8, source->Data(),
                                        source->Size(), source->rowBytes, {2, 1, 27, 19}, out.data(), size, rowBytes);
            });
        }
        using Fn = int32_t (*)(const double*, const double*, double*, double*, int32_t, int32_t, int32_t);
        // Each conversion plans its own transform, so the planner is entered
        // concurrently too.
        for (const Fn fn : {LumoMathConvertOtfFromPsf, LumoMathConvertPsfFromOtf, LumoMathConvertOtfFromPsf_D,
                            LumoMathConvertPsfFromOtf_D}) {
            for (const auto& [w, h] : {std::pair{8, 8}, std::pair{6, 5}, std::pair{16, 4}}) {
                jobs.push_back([this, fn, w = w, h = h](std::vector<unsigned char>& out) {
                    std::vector<double> re(static_cast<size_t>(2 * w * h)), im(re.size());
                    const int32_t result = fn(m_re.data(), m_im.data(), re.data(), im.data(), w, h, 2);
                    out = AsBytes(re, im);
                    return static_cast<uint32_t>(result);
                });
            }
        }
        return jobs;
    }

private:
    TestImage m_8;
    TestImage m_16;
    std::vector<double> m_re;
    std::vector<double> m_im;
};

TEST(ResizeStress, ConcurrentCallersMatchASerialRun) {
    const Sources sources;
    const std::vector<Job> jobs = sources.Jobs();
    std::vector<std::vector<unsigned char>> expected(jobs.size());
    for (size_t j = 0; j < jobs.size(); ++j) ASSERT_EQ(jobs[j](expected[j]), 0u) << "job " << j;

    const int threadsBefore = QuietThreadCount();
    const uint64_t poolsBefore = lumo::CLUMThread::constructedCount();
    int calls = 0;
    for (const uint32_t processors : kRoundProcessorCounts) {
        // Set while no call runs, as the host must; the next pool takes it.
        Set_ProcessorNum(processors);
        std::atomic<int> mismatches{0};
        std::atomic<int> failures{0};
        std::vector<std::thread> hosts;
        for (int t = 0; t < kHostThreads; ++t) {
            hosts.emplace_back([&, t] {
                std::vector<unsigned char> out;
                for (int i = 0; i < kCallsPerThreadAndRound; ++i) {
                    const size_t j = (static_cast<size_t>(t) * 5 + static_cast<size_t>(i)) % jobs.size();
                    if (jobs[j](out) != 0) {
                        failures.fetch_add(1);
                    } else if (out != expected[j]) {
                        mismatches.fetch_add(1);
                    }
                }
            });
        }
        for (std::thread& h : hosts) h.join();
        calls += kHostThreads * kCallsPerThreadAndRound;
        EXPECT_EQ(failures.load(), 0) << "round with " << processors << " processors";
        EXPECT_EQ(mismatches.load(), 0) << "round with " << processors << " processors";
        // Every pool of the round is gone with its threads.
        EXPECT_EQ(SettleThreadCount(threadsBefore), threadsBefore);
        const lumo::PoolHold next = lumo::HoldPool();
        EXPECT_EQ(next->threadCount(), static_cast<int>(processors));
    }
    Set_ProcessorNum(0);
    EXPECT_EQ(SettleThreadCount(threadsBefore), threadsBefore);
    const uint64_t pools = lumo::CLUMThread::constructedCount() - poolsBefore;
    // At least one pool per round and the one held after it.
    EXPECT_GE(pools, 2 * std::size(kRoundProcessorCounts));
    std::printf("%d host threads, %d calls in all, %llu pools built\n", kHostThreads, calls,
                static_cast<unsigned long long>(pools));
}

}  // namespace
