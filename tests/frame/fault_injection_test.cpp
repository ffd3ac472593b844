// Every exported call that takes working memory, made to fail its first,
// second, ... allocation in turn until it succeeds: each failure must give
// the call's out-of-memory code, leave the destination as it was and free
// whatever was obtained (the sanitizer build's leak check sees the rest), or
// be worked around without changing a byte. The loop does not assume how
// many allocations a call makes.
//
// A worker thread that cannot be started is answered the same way.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <thread>
#include <vector>

#include "common/work_memory.h"
#include "frame/resize_methods.h"
#include "lumomath/LumoMath.h"
#include "pool/process_threads.h"
#include "pool/thread_pool.h"
#include "resize/test_image.h"

namespace {

using lumo::test::TestImage;

int g_allocationsFailed = 0;  // reported once by the last test of the suite

// Runs `call` with its n-th working allocation failing, n = 0, 1, 2, ...,
// until a run asks for no more than n, which must succeed with the
// unhindered call's output (`finished`). A run in which an allocation failed
// must answer `failureCode` and leave the output `intact`, or, where
// `failureCode` is 0 (work without the failed block), give that output too.
// Returns the number of runs in which an allocation failed.
int FailEachAllocationInTurn(const std::function<uint32_t()>& call, uint32_t failureCode,
                             const std::function<bool()>& intact, const std::function<bool()>& finished) {
    int failed = 0;
    for (int n = 0; n < 64; ++n) {
        lumo::testing::FailWorkAllocationsAfter(n);
        const uint32_t result = call();
        const int requested = lumo::testing::WorkAllocationCount();
        lumo::testing::ResetWorkAllocationFailures();
        if (requested <= n) {  // nothing failed this time
            EXPECT_EQ(result, kLumoResultOK);
            EXPECT_TRUE(finished()) << "the call that finally succeeded differs";
            break;
        }
        ++failed;
        EXPECT_EQ(result, failureCode) << "allocation " << n;
        EXPECT_TRUE(result == kLumoResultOK ? finished() : intact()) << "allocation " << n;
    }
    g_allocationsFailed += failed;
    return failed;
}

// Each method at 8 bits on a whole image, 16 bits on a region, and shapes
// that send averaging through its whole-number and its tabled path. Bilinear
// and bicubic cannot work without their tables and intermediate rows, so the
// caller hears of each failure; nearest neighbour and super-sampling only
// speed up with their tables: without them the pixels are worked out one by
// one, and the call still gives the same bytes.
struct ResizeCase {
    uint32_t bits;
    tagLumoSize source;
    tagLumoRect region;  // width 0: a LumoMathResize call
    tagLumoSize destination;
};

const ResizeCase kResizeCases[] = {
    {8, {24, 20}, {}, {6, 8}},
    {16, {13, 11}, {2, 1, 9, 8}, {7, 6}},
    {16, {23, 17}, {}, {7, 5}},
};

class ResizeAllocationFailure : public ::testing::TestWithParam<lumo::ResizeMethod> {};

TEST_P(ResizeAllocationFailure, EveryFailureIsReportedOrWorkedAroundAndNothingIsWritten) {
    const lumo::ResizeMethod& method = GetParam();
    for (const ResizeCase& c : kResizeCases) {
        const TestImage source = TestImage::Random(c.source.width, c.source.height, 3, c.bits, 1, 5);
        const auto run = [&](TestImage& out) {
            return c.region.width != 0
                       ? LumoMathResizeWithRegion(method.id, 3, c.bits, source.Data(), source.Size(), source.rowBytes,
                                                  c.region, out.Data(), out.Size(), out.rowBytes)
                       : LumoMathResize(method.id, 3, c.bits, source.Data(), source.Size(), source.rowBytes,
                                        out.Data(), out.Size(), out.rowBytes);
        };
        TestImage expected = TestImage::Make(c.destination.width, c.destination.height, 3, c.bits, 3);
        ASSERT_EQ(run(expected), kLumoResultOK);
        TestImage destination = TestImage::Random(c.destination.width, c.destination.height, 3, c.bits, 3, 6);
        const std::vector<unsigned char> before = destination.bytes;
        EXPECT_GT(FailEachAllocationInTurn([&] { destination.bytes = before; return run(destination); },
                                           method.reportsKernelResult ? kLumoResultNoMemory : kLumoResultOK,
                                           [&] { return destination.bytes == before; },
                                           [&] { return destination.bytes == expected.bytes; }),
                  0)
            << "the fast path takes working memory";
    }
}

INSTANTIATE_TEST_SUITE_P(Methods, ResizeAllocationFailure, ::testing::ValuesIn(lumo::kResizeMethods),
                         [](const ::testing::TestParamInfo<lumo::ResizeMethod>& param) { return param.param.name; });

// Two halvings, so that an earlier intermediate is alive when a later one fails.
TEST(RegionPathAllocationFailure, EveryFailureIsReportedAndWritesNothing) {
    for (const uint32_t bits : {8u, 16u}) {
        const TestImage source = TestImage::Random(40, 30, 2, bits, 2, bits);
        const tagLumoRect region{3, 2, 35, 27};
        TestImage expected = TestImage::Make(7, 5, 2, bits, 1);
        TestImage destination = TestImage::Random(7, 5, 2, bits, 1, 3);
        const std::vector<unsigned char> before = destination.bytes;
        const auto run = [&](TestImage& out) {
            return ResizeWithRegion(kLumoScalingBiLinear, 2, bits, source.Data(), source.Size(), source.rowBytes,
                                    region, out.Data(), out.Size(), out.rowBytes);
        };
        ASSERT_EQ(run(expected), kLumoResultOK);
        EXPECT_GE(FailEachAllocationInTurn([&] { destination.bytes = before; return run(destination); },
                                           kLumoResultRegionNoMemory, [&] { return destination.bytes == before; },
                                           [&] { return destination.bytes == expected.bytes; }),
                  2)
            << "both halvings allocate";
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
        const std::vector<double> untouched(inRe.size(), 9.5);
        std::vector<double> outRe, outIm;
        EXPECT_GE(FailEachAllocationInTurn(
                      [&] {
                          outRe = outIm = untouched;
                          return static_cast<uint32_t>(
                              fn(inRe.data(), inIm.data(), outRe.data(), outIm.data(), kWidth, kHeight, kCount));
                      },
                      kLumoResultNoMemory, [&] { return outRe == untouched && outIm == untouched; },
                      [&] { return outRe == expectedRe && outIm == expectedIm; }),
                  2)
            << "real and imaginary work arrays";
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

using lumo::test::QuietThreadCount;
using lumo::test::SettleThreadCount;

// The n-th of four worker starts fails: a call that splits answers 3, writes
// nothing and leaves no thread behind; the next call works. A call left
// unsplit (the last round: small work, as the library judges it) starts no
// thread, so it cannot meet the failure.
TEST(ThreadStartFailure, IsReportedAndLeavesNoThreadBehind) {
    Set_ProcessorNum(4);
    const int threadsBefore = QuietThreadCount();
    TestImage source = TestImage::Make(9, 9, 1, 8);
    source.FillRandom(2);
    for (const LumoScalingMethod method : {kLumoScalingNearestNeighbor, kLumoScalingBiCubic}) {
        for (int started = 0; started < 5; ++started) {
            const bool split = started < 4;
            TestImage destination = TestImage::Make(5, 5, 1, 8);
            destination.FillRandom(4);
            const std::vector<unsigned char> before = destination.bytes;
            lumo::testing::SplitEveryJobInto(split ? 4 : 0);
            lumo::testing::FailThreadStartsAfter(split ? started : 0);
            const LumoResult result = LumoMathResize(method, 1, 8, source.Data(), source.Size(), source.rowBytes,
                                                     destination.Data(), destination.Size(), destination.rowBytes);
            lumo::testing::ResetThreadStartFailures();
            EXPECT_EQ(result, split ? kLumoResultNoMemory : kLumoResultOK) << "after " << started << " started";
            EXPECT_EQ(destination.bytes == before, split);
            EXPECT_EQ(SettleThreadCount(threadsBefore), threadsBefore);
        }
        lumo::testing::SplitEveryJobInto(4);
        TestImage destination = TestImage::Make(5, 5, 1, 8);
        EXPECT_EQ(LumoMathResize(method, 1, 8, source.Data(), source.Size(), source.rowBytes, destination.Data(),
                                 destination.Size(), destination.rowBytes),
                  kLumoResultOK);
        lumo::testing::SplitEveryJobInto(0);
    }
    EXPECT_EQ(SettleThreadCount(threadsBefore), threadsBefore);
    Set_ProcessorNum(0);
}

}  // namespace
