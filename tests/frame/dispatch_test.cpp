#include "frame/dispatch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "common/work_memory.h"
#include "lumomath/LumoMath.h"
#include "pool/thread_pool.h"
#include "resize/kernel_harness.h"
#include "resize/kernels.h"
#include "resize/test_image.h"

namespace {

using lumo::test::Kernel;
using lumo::test::RegionKernel;
using lumo::test::TestImage;

// ---- Every method reaches its own kernel at each sample width.

struct Route {
    const char* name;
    LumoScalingMethod method;
    uint32_t bitsPerSample;
    Kernel whole;
    RegionKernel region;
};

const Route kRoutes[] = {
    {"Nearest8", kLumoScalingNearestNeighbor, 8, lumo::NearestNeighbor8, lumo::NearestNeighbor8WithRegion},
    {"Nearest16", kLumoScalingNearestNeighbor, 16, lumo::NearestNeighbor16, lumo::NearestNeighbor16WithRegion},
    {"BiLinear8", kLumoScalingBiLinear, 8, lumo::BiLinear8, lumo::BiLinear8WithRegion},
    {"BiLinear16", kLumoScalingBiLinear, 16, lumo::BiLinear16, lumo::BiLinear16WithRegion},
    {"BiCubic8", kLumoScalingBiCubic, 8, lumo::BiCubic8, lumo::BiCubic8WithRegion},
    {"BiCubic16", kLumoScalingBiCubic, 16, lumo::BiCubic16, lumo::BiCubic16WithRegion},
    {"SuperSampling8", kLumoScalingSuperSampling, 8, lumo::SuperSampling8, lumo::SuperSampling8WithRegion},
    {"SuperSampling16", kLumoScalingSuperSampling, 16, lumo::SuperSampling16, lumo::SuperSampling16WithRegion},
};

class EntryPointRoute : public ::testing::TestWithParam<Route> {};

// The methods give different samples for this reduction, so an entry point
// that picked the wrong method or width would not match the kernel.
TEST_P(EntryPointRoute, GivesTheKernelsOutput) {
    const Route& r = GetParam();
    TestImage source = TestImage::Make(9, 7, 3, r.bitsPerSample, 4);
    source.FillRandom(r.method * 100 + r.bitsPerSample);
    const tagLumoRect region{1, 2, 6, 5};

    TestImage expected = TestImage::Make(5, 4, 3, r.bitsPerSample, 6);
    TestImage actual = TestImage::Make(5, 4, 3, r.bitsPerSample, 6);
    ASSERT_EQ(r.whole(3, source.Data(), source.Size(), source.rowBytes, expected.Data(), expected.Size(),
                      expected.rowBytes),
              kLumoResultOK);
    EXPECT_EQ(LumoMathResize(r.method, 3, r.bitsPerSample, source.Data(), source.Size(), source.rowBytes,
                             actual.Data(), actual.Size(), actual.rowBytes),
              kLumoResultOK);
    EXPECT_EQ(actual.bytes, expected.bytes);

    TestImage expectedRegion = TestImage::Make(4, 3, 3, r.bitsPerSample, 6);
    TestImage actualRegion = TestImage::Make(4, 3, 3, r.bitsPerSample, 6);
    ASSERT_EQ(r.region(3, source.Data(), source.Size(), source.rowBytes, region, expectedRegion.Data(),
                       expectedRegion.Size(), expectedRegion.rowBytes),
              kLumoResultOK);
    EXPECT_EQ(LumoMathResizeWithRegion(r.method, 3, r.bitsPerSample, source.Data(), source.Size(), source.rowBytes,
                                       region, actualRegion.Data(), actualRegion.Size(), actualRegion.rowBytes),
              kLumoResultOK);
    EXPECT_EQ(actualRegion.bytes, expectedRegion.bytes);
    EXPECT_TRUE(actual.PaddingIntact());
    EXPECT_TRUE(actualRegion.PaddingIntact());
}

INSTANTIATE_TEST_SUITE_P(AllMethods, EntryPointRoute, ::testing::ValuesIn(kRoutes), lumo::test::CaseName());

// ---- Result codes of the entry points, and that a refusal writes nothing.

struct CodeCase {
    const char* what;
    LumoScalingMethod method;
    uint32_t bitsPerSample;
    tagLumoSize source;
    tagLumoRect region;  // for the region entry point
    tagLumoSize destination;
    LumoResult whole;     // from LumoMathResize
    LumoResult inRegion;  // from LumoMathResizeWithRegion
};

const CodeCase kCodes[] = {
    {"method 0", 0, 8, {8, 8}, {0, 0, 8, 8}, {4, 4}, 7, 7},
    {"method 3 (two methods)", 3, 8, {8, 8}, {0, 0, 8, 8}, {4, 4}, 7, 7},
    {"method 16", 16, 8, {8, 8}, {0, 0, 8, 8}, {4, 4}, 7, 7},
    {"nearest, depth 12", kLumoScalingNearestNeighbor, 12, {8, 8}, {0, 0, 8, 8}, {4, 4}, 7, 7},
    {"bilinear, depth 12", kLumoScalingBiLinear, 12, {8, 8}, {0, 0, 8, 8}, {4, 4}, 7, 7},
    {"bicubic, depth 0", kLumoScalingBiCubic, 0, {8, 8}, {0, 0, 8, 8}, {4, 4}, 7, 7},
    {"super-sampling reducing, depth 12", kLumoScalingSuperSampling, 12, {8, 8}, {0, 0, 8, 8}, {4, 4}, 7, 7},
    {"super-sampling enlarging, depth 12", kLumoScalingSuperSampling, 12, {8, 8}, {0, 0, 8, 8}, {9, 9}, 7, 7},
    {"super-sampling to the same size", kLumoScalingSuperSampling, 8, {100, 100}, {0, 0, 100, 100}, {100, 100}, 7, 7},
    {"super-sampling enlarging", kLumoScalingSuperSampling, 16, {100, 100}, {0, 0, 100, 100}, {200, 200}, 7, 7},
    {"super-sampling narrower but taller", kLumoScalingSuperSampling, 8, {100, 100}, {0, 0, 100, 100}, {50, 200}, 0, 0},
    {"super-sampling lower but wider", kLumoScalingSuperSampling, 16, {100, 100}, {0, 0, 100, 100}, {200, 50}, 0, 0},
    // The region entry point compares with the whole source, not the region.
    {"super-sampling a small region, large source", kLumoScalingSuperSampling, 8, {1000, 1000}, {0, 0, 10, 10},
     {50, 50}, 0, 0},
    {"super-sampling a large region, small source", kLumoScalingSuperSampling, 8, {40, 40}, {0, 0, 40, 40}, {50, 50}, 7,
     7},
    {"nearest enlarging", kLumoScalingNearestNeighbor, 16, {8, 8}, {2, 2, 4, 4}, {12, 12}, 0, 0},
    {"bilinear enlarging", kLumoScalingBiLinear, 8, {8, 8}, {2, 2, 4, 4}, {12, 12}, 0, 0},
    {"bicubic enlarging", kLumoScalingBiCubic, 16, {8, 8}, {2, 2, 4, 4}, {12, 12}, 0, 0},
};

class EntryPointCode : public ::testing::TestWithParam<CodeCase> {};

TEST_P(EntryPointCode, WholeImageAndRegion) {
    const CodeCase& c = GetParam();
    const uint32_t bits = c.bitsPerSample == 16 ? 16 : 8;  // the buffers of an unsupported depth hold bytes
    TestImage source = TestImage::Make(c.source.width, c.source.height, 2, bits);
    source.FillRandom(7);
    for (const bool inRegion : {false, true}) {
        SCOPED_TRACE(inRegion ? "region" : "whole image");
        TestImage destination = TestImage::Make(c.destination.width, c.destination.height, 2, bits, 2);
        destination.FillRandom(9);
        const std::vector<unsigned char> before = destination.bytes;
        const LumoResult result =
            inRegion ? LumoMathResizeWithRegion(c.method, 2, c.bitsPerSample, source.Data(), source.Size(),
                                                source.rowBytes, c.region, destination.Data(), destination.Size(),
                                                destination.rowBytes)
                     : LumoMathResize(c.method, 2, c.bitsPerSample, source.Data(), source.Size(), source.rowBytes,
                                      destination.Data(), destination.Size(), destination.rowBytes);
        EXPECT_EQ(result, inRegion ? c.inRegion : c.whole);
        if (result != kLumoResultOK) {
            EXPECT_EQ(destination.bytes, before) << "a refused call wrote";
        }
        EXPECT_TRUE(destination.PaddingIntact());
    }
}

INSTANTIATE_TEST_SUITE_P(Table, EntryPointCode, ::testing::ValuesIn(kCodes));

// The reduction test sees not-a-number ratios for an empty source and lets
// the call through; the super-sampling kernel then has nothing to do.
TEST(SuperSamplingDispatch, EmptySourceAndDestinationAreLetThrough) {
    unsigned char pixel = 0x5A;
    EXPECT_EQ(lumo::SuperSampling(1, 8, &pixel, {0, 0}, 1, &pixel, {0, 0}, 1), kLumoResultOK);
    EXPECT_EQ(lumo::SuperSamplingWithRegion(1, 8, &pixel, {0, 0}, 1, {0, 0, 0, 0}, &pixel, {0, 0}, 1), kLumoResultOK);
    // Depth is still checked after the reduction test.
    EXPECT_EQ(lumo::SuperSampling(1, 12, &pixel, {0, 0}, 1, &pixel, {0, 0}, 1), kLumoResultInvalidParameter);
    EXPECT_EQ(pixel, 0x5A);
}

// Working memory that cannot be had reaches the caller from the bilinear and
// bicubic kernels; nearest neighbour and super-sampling work without their tables.
TEST(EntryPointMemory, KernelFailureIsReportedAndNothingIsWritten) {
    for (const LumoScalingMethod method : {kLumoScalingBiLinear, kLumoScalingBiCubic}) {
        for (const bool inRegion : {false, true}) {
            TestImage source = TestImage::Make(6, 5, 2, 16);
            source.FillRandom(3);
            TestImage destination = TestImage::Make(9, 8, 2, 16, 2);
            const std::vector<unsigned char> before = destination.bytes;
            lumo::testing::FailWorkAllocationsAfter(0);
            const LumoResult result =
                inRegion ? LumoMathResizeWithRegion(method, 2, 16, source.Data(), source.Size(), source.rowBytes,
                                                    {1, 1, 4, 3}, destination.Data(), destination.Size(),
                                                    destination.rowBytes)
                         : LumoMathResize(method, 2, 16, source.Data(), source.Size(), source.rowBytes,
                                          destination.Data(), destination.Size(), destination.rowBytes);
            lumo::testing::ResetWorkAllocationFailures();
            EXPECT_EQ(result, kLumoResultNoMemory) << "method " << method << (inRegion ? " region" : "");
            EXPECT_EQ(destination.bytes, before);
        }
    }
}

// ---- The pool around a call, and calls that overlap.

TEST(EntryPointPool, EachCallHoldsAPoolEvenForAnUnknownMethod) {
    unsigned char pixel = 0;
    const uint64_t before = lumo::CLUMThread::constructedCount();
    EXPECT_EQ(LumoMathResize(0, 1, 8, &pixel, {1, 1}, 1, &pixel, {1, 1}, 1), kLumoResultInvalidParameter);
    EXPECT_EQ(LumoMathResizeWithRegion(0, 1, 8, &pixel, {1, 1}, 1, {0, 0, 1, 1}, &pixel, {1, 1}, 1),
              kLumoResultInvalidParameter);
    // Each call built its own pool: the first one's was gone when the second began.
    EXPECT_EQ(lumo::CLUMThread::constructedCount() - before, 2u);

    // While someone else holds the pool, a call reuses it.
    const lumo::PoolHold held = lumo::HoldPool();
    const uint64_t withHold = lumo::CLUMThread::constructedCount();
    EXPECT_EQ(LumoMathResize(kLumoScalingNearestNeighbor, 1, 8, &pixel, {1, 1}, 1, &pixel, {1, 1}, 1), kLumoResultOK);
    EXPECT_EQ(lumo::CLUMThread::constructedCount(), withHold);
}

TEST(EntryPointPool, OverlappingCallsGiveTheirOwnResults) {
    TestImage source = TestImage::Make(31, 23, 3, 16);
    source.FillRandom(11);
    TestImage expected = TestImage::Make(17, 41, 3, 16);
    ASSERT_EQ(lumo::BiLinear16(3, source.Data(), source.Size(), source.rowBytes, expected.Data(), expected.Size(),
                               expected.rowBytes),
              kLumoResultOK);

    Set_ProcessorNum(3);
    std::vector<TestImage> outputs(4, TestImage::Make(17, 41, 3, 16));
    std::vector<std::thread> callers;
    std::vector<LumoResult> results(outputs.size(), 99);
    for (size_t t = 0; t < outputs.size(); ++t) {
        callers.emplace_back([&, t] {
            for (int repeat = 0; repeat < 5; ++repeat) {
                results[t] = LumoMathResize(kLumoScalingBiLinear, 3, 16, source.Data(), source.Size(),
                                            source.rowBytes, outputs[t].Data(), outputs[t].Size(), outputs[t].rowBytes);
                if (results[t] != kLumoResultOK) break;
            }
        });
    }
    for (auto& caller : callers) caller.join();
    Set_ProcessorNum(0);
    for (size_t t = 0; t < outputs.size(); ++t) {
        EXPECT_EQ(results[t], kLumoResultOK);
        EXPECT_EQ(outputs[t].bytes, expected.bytes) << "caller " << t;
    }
}

TEST(EntryPointLifetime, InitializeAndTerminateDoNothing) {
    const uint64_t before = lumo::CLUMThread::constructedCount();
    EXPECT_EQ(LumoMathTerminate(), kLumoResultOK);
    EXPECT_EQ(LumoMathInitialize(), kLumoResultOK);
    EXPECT_EQ(LumoMathInitialize(), kLumoResultOK);
    EXPECT_EQ(LumoMathTerminate(), kLumoResultOK);
    EXPECT_EQ(lumo::CLUMThread::constructedCount(), before);
}

}  // namespace
