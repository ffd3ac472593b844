// Every exported call that takes working memory, made to fail its first,
// second, ... allocation in turn until it succeeds: each failure must give
// the call's out-of-memory code, leave the destination as it was and free
// whatever was obtained (the sanitizer build's leak check sees the rest).
// The loop does not assume how many allocations a call makes.
//
// A worker thread that cannot be started is answered the same way.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <thread>
#include <vector>

#include "common/work_memory.h"
#include "lumomath/LumoMath.h"
#include "pool/process_threads.h"
#include "pool/thread_pool.h"
#include "resize/test_image.h"

namespace {

using lumo::test::TestImage;

struct Injection {
    int failuresSeen = 0;
    bool succeeded = false;
};

// Runs `call` with the n-th working allocation failing, n = 0, 1, 2, ...
// After each failing run `intact` must hold; the first run that reports
// success ends the loop.
Injection FailEachAllocationInTurn(const std::function<uint32_t()>& call, uint32_t failureCode,
                                   const std::function<bool()>& intact) {
    Injection seen;
    for (int n = 0; n < 64; ++n) {
        lumo::testing::FailWorkAllocationsAfter(n);
        const uint32_t result = call();
        const int requested = lumo::testing::WorkAllocationCount();
        lumo::testing::ResetWorkAllocationFailures();
        if (result == kLumoResultOK) {
            seen.succeeded = true;
            // Success with fewer requests than were allowed: nothing failed.
            EXPECT_LE(requested, n) << "a call succeeded although its allocation " << n << " failed";
            break;
        }
        EXPECT_EQ(result, failureCode) << "allocation " << n;
        EXPECT_TRUE(intact()) << "written although allocation " << n << " failed";
        ++seen.failuresSeen;
    }
    return seen;
}

int g_allocationsFailed = 0;  // reported once by the last test of the suite

struct ResizeCase {
    const char* name;
    LumoScalingMethod method;
    uint32_t bits;
    bool inRegion;
};

// Bilinear and bicubic cannot work without their tables and intermediate rows.
const ResizeCase kReportingCases[] = {
    {"BiLinear8", kLumoScalingBiLinear, 8, false},
    {"BiLinear16Region", kLumoScalingBiLinear, 16, true},
    {"BiCubic16", kLumoScalingBiCubic, 16, false},
    {"BiCubic8Region", kLumoScalingBiCubic, 8, true},
};

// Nearest neighbour and super-sampling only speed up with their tables: without
// them the pixels are worked out one by one, and the call still succeeds.
const ResizeCase kFallingBackCases[] = {
    {"Nearest16Region", kLumoScalingNearestNeighbor, 16, true},
    {"Nearest8", kLumoScalingNearestNeighbor, 8, false},
    {"SuperSampling8", kLumoScalingSuperSampling, 8, false},
    {"SuperSampling16Region", kLumoScalingSuperSampling, 16, true},
};

/// A source, a region and a destination for one case, and the call on them.
struct ResizeScene {
    explicit ResizeScene(const ResizeCase& c)
        : kase(c), source(TestImage::Make(13, 11, 3, c.bits, 1)), expected(TestImage::Make(7, 6, 3, c.bits, 3)) {
        source.FillRandom(5);
    }
    LumoResult Run(TestImage& out) const {
        const tagLumoRect region{2, 1, 9, 8};
        return kase.inRegion ? LumoMathResizeWithRegion(kase.method, 3, kase.bits, source.Data(), source.Size(),
                                                        source.rowBytes, region, out.Data(), out.Size(), out.rowBytes)
                             : LumoMathResize(kase.method, 3, kase.bits, source.Data(), source.Size(),
                                              source.rowBytes, out.Data(), out.Size(), out.rowBytes);
    }
    TestImage Destination() const {
        TestImage d = TestImage::Make(7, 6, 3, kase.bits, 3);
        d.FillRandom(6);
        return d;
    }

    ResizeCase kase;
    TestImage source;
    TestImage expected;
};

class ResizeAllocationFailure : public ::testing::TestWithParam<ResizeCase> {};

TEST_P(ResizeAllocationFailure, EveryFailureIsReportedAndWritesNothing) {
    ResizeScene scene(GetParam());
    ASSERT_EQ(scene.Run(scene.expected), kLumoResultOK);
    TestImage destination = scene.Destination();
    const std::vector<unsigned char> before = destination.bytes;

    const Injection seen = FailEachAllocationInTurn([&] { return scene.Run(destination); }, kLumoResultNoMemory,
                                                    [&] { return destination.bytes == before; });
    EXPECT_TRUE(seen.succeeded);
    EXPECT_GT(seen.failuresSeen, 0);
    EXPECT_EQ(destination.bytes, scene.expected.bytes) << "the call that finally succeeded differs";
    g_allocationsFailed += seen.failuresSeen;
}

INSTANTIATE_TEST_SUITE_P(Methods, ResizeAllocationFailure, ::testing::ValuesIn(kReportingCases),
                         [](const ::testing::TestParamInfo<ResizeCase>& param) { return param.param.name; });

class ResizeAllocationFallback : public ::testing::TestWithParam<ResizeCase> {};

TEST_P(ResizeAllocationFallback, EveryFailureStillGivesTheSameBytes) {
    ResizeScene scene(GetParam());
    ASSERT_EQ(scene.Run(scene.expected), kLumoResultOK);
    int failed = 0;
    for (int n = 0; n < 64; ++n) {
        TestImage destination = scene.Destination();
        lumo::testing::FailWorkAllocationsAfter(n);
        const LumoResult result = scene.Run(destination);
        const int requested = lumo::testing::WorkAllocationCount();
        lumo::testing::ResetWorkAllocationFailures();
        EXPECT_EQ(result, kLumoResultOK) << "allocation " << n;
        EXPECT_EQ(destination.bytes, scene.expected.bytes) << "allocation " << n;
        if (requested <= n) break;  // nothing failed this time
        ++failed;
    }
    EXPECT_GT(failed, 0) << "the fast path takes working memory";
    g_allocationsFailed += failed;
}

INSTANTIATE_TEST_SUITE_P(Methods, ResizeAllocationFallback, ::testing::ValuesIn(kFallingBackCases),
                         [](const ::testing::TestParamInfo<ResizeCase>& param) { return param.param.name; });

// Two halvings, so that an earlier intermediate is alive when a later one fails.
TEST(RegionPathAllocationFailure, EveryFailureIsReportedAndWritesNothing) {
    for (const uint32_t bits : {8u, 16u}) {
        TestImage source = TestImage::Make(40, 30, 2, bits, 2);
        source.FillRandom(bits);
        const tagLumoRect region{3, 2, 35, 27};
        TestImage expected = TestImage::Make(7, 5, 2, bits, 1);
        TestImage destination = TestImage::Make(7, 5, 2, bits, 1);
        const std::vector<unsigned char> before = destination.bytes;
        const auto run = [&](TestImage& out) {
            return ResizeWithRegion(kLumoScalingBiLinear, 2, bits, source.Data(), source.Size(), source.rowBytes,
                                    region, out.Data(), out.Size(), out.rowBytes);
        };
        ASSERT_EQ(run(expected), kLumoResultOK);
        const Injection seen = FailEachAllocationInTurn([&] { return run(destination); }, kLumoResultRegionNoMemory,
                                                        [&] { return destination.bytes == before; });
        EXPECT_TRUE(seen.succeeded);
        EXPECT_GE(seen.failuresSeen, 2) << "both halvings allocate";
        EXPECT_EQ(destination.bytes, expected.bytes);
        g_allocationsFailed += seen.failuresSeen;
    }
}

TEST(TransformAllocationFailure, EveryFailureIsReportedAndWritesNothing) {
    using Fn = int32_t (*)(const double*, const double*, double*, double*, int32_t, int32_t, int32_t);
    const Fn conversions[] = {LumoMathConvertOtfFromPsf, LumoMathConvertPsfFromOtf, LumoMathConvertOtfFromPsf_D,
                              LumoMathConvertPsfFromOtf_D};
    constexpr int32_t kWidth = 8, kHeight = 4, kCount = 2;
    std::vector<double> inRe(kWidth * kHeight * kCount), inIm(inRe.size());
    for (size_t i = 0; i < inRe.size(); ++i) {
        inRe[i] = static_cast<double>(i % 7) - 3.0;
        inIm[i] = static_cast<double>(i % 5) * 0.25;
    }
    for (const Fn fn : conversions) {
        std::vector<double> expectedRe(inRe.size()), expectedIm(inRe.size());
        ASSERT_EQ(fn(inRe.data(), inIm.data(), expectedRe.data(), expectedIm.data(), kWidth, kHeight, kCount), 0);
        std::vector<double> outRe(inRe.size(), 9.5), outIm(inRe.size(), 9.5);
        const Injection seen = FailEachAllocationInTurn(
            [&] {
                return static_cast<uint32_t>(
                    fn(inRe.data(), inIm.data(), outRe.data(), outIm.data(), kWidth, kHeight, kCount));
            },
            kLumoResultNoMemory,
            [&] {
                return outRe == std::vector<double>(inRe.size(), 9.5) && outIm == std::vector<double>(inRe.size(), 9.5);
            });
        EXPECT_TRUE(seen.succeeded);
        EXPECT_GE(seen.failuresSeen, 2) << "real and imaginary work arrays";
        EXPECT_EQ(outRe, expectedRe);
        EXPECT_EQ(outIm, expectedIm);
        g_allocationsFailed += seen.failuresSeen;
    }
}

// The count of failed allocations, for the record, once every test has run.
class AllocationFailureReport : public ::testing::Environment {
public:
    void TearDown() override { std::printf("working allocations failed on purpose: %d\n", g_allocationsFailed); }
};
[[maybe_unused]] ::testing::Environment* const kReport =
    ::testing::AddGlobalTestEnvironment(new AllocationFailureReport);

// ---- A worker thread that cannot be started.

using lumo::test::SettleThreadCount;
using lumo::test::ThreadsOfProcess;

// The n-th of four worker starts fails: the call answers 3, writes nothing
// and leaves no thread behind; the next call builds a working pool.
TEST(ThreadStartFailure, IsReportedAndLeavesNoThreadBehind) {
    Set_ProcessorNum(4);
    const int threadsBefore = ThreadsOfProcess();
    TestImage source = TestImage::Make(9, 9, 1, 8);
    source.FillRandom(2);
    for (const LumoScalingMethod method : {kLumoScalingNearestNeighbor, kLumoScalingBiCubic}) {
        for (int started = 0; started < 4; ++started) {
            TestImage destination = TestImage::Make(5, 5, 1, 8);
            destination.FillRandom(4);
            const std::vector<unsigned char> before = destination.bytes;
            lumo::testing::FailThreadStartsAfter(started);
            const LumoResult result = LumoMathResize(method, 1, 8, source.Data(), source.Size(), source.rowBytes,
                                                     destination.Data(), destination.Size(), destination.rowBytes);
            lumo::testing::ResetThreadStartFailures();
            EXPECT_EQ(result, kLumoResultNoMemory) << "after " << started << " started";
            EXPECT_EQ(destination.bytes, before);
            EXPECT_EQ(SettleThreadCount(threadsBefore), threadsBefore);
        }
        TestImage destination = TestImage::Make(5, 5, 1, 8);
        EXPECT_EQ(LumoMathResize(method, 1, 8, source.Data(), source.Size(), source.rowBytes, destination.Data(),
                                 destination.Size(), destination.rowBytes),
                  kLumoResultOK);
    }
    EXPECT_EQ(SettleThreadCount(threadsBefore), threadsBefore);
    Set_ProcessorNum(0);
}

}  // namespace
