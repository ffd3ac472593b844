#include <gtest/gtest.h>
#include <sched.h>

#include <cerrno>
#include <cstdint>
#include <vector>

#include "lumomath/LumoUtility.h"

namespace {

struct CountCase {
    uint32_t set;
    uint32_t expected;
};

class ProcessorCount : public ::testing::TestWithParam<CountCase> {
protected:
    void TearDown() override { Set_ProcessorNum(0); }
};

TEST_P(ProcessorCount, OverrideIsReadAsSignedAndClampedTo1Through64) {
    Set_ProcessorNum(GetParam().set);
    EXPECT_EQ(LumoGetProcessorNum(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Overrides, ProcessorCount,
                         ::testing::Values(CountCase{1, 1}, CountCase{2, 2}, CountCase{7, 7}, CountCase{64, 64},
                                           CountCase{65, 64}, CountCase{100, 64}, CountCase{0xFFFFFFFFu, 1},
                                           CountCase{0x80000000u, 1}, CountCase{0x7FFFFFFFu, 64}));

TEST(ProcessorCountSystem, ZeroAsksForTheProcessorsThisProcessMayUse) {
    Set_ProcessorNum(0);
    cpu_set_t set;
    ASSERT_EQ(sched_getaffinity(0, sizeof(set), &set), 0);
    const int mine = CPU_COUNT(&set);
    EXPECT_EQ(LumoGetProcessorNum(), static_cast<uint32_t>(mine > 64 ? 64 : mine));
}

TEST(ProcessorFeatures, EachLevelImpliesTheOnesBelow) {
    if (LumoCanUseAVX2()) { EXPECT_TRUE(LumoCanUseAVX()); }
    if (LumoCanUseAVX()) { EXPECT_TRUE(LumoCanUseSSE4_2()); }
    if (LumoCanUseSSE4_2()) { EXPECT_TRUE(LumoCanUseSSE4_1()); }
    if (LumoCanUseSSE4_1()) { EXPECT_TRUE(LumoCanUseSSSE3()); }
    if (LumoCanUseSSSE3()) { EXPECT_TRUE(LumoCanUseSSE3()); }
    EXPECT_EQ(LumoCanUseAVX2(), LumoCanUseAVX2());  // stable across calls
}

class AlignedMemory : public ::testing::TestWithParam<uint32_t> {};

TEST_P(AlignedMemory, BlockIsAlignedWithItsDistanceByteInFront) {
    const uint32_t size = GetParam();
    for (void* (*alloc)(uint32_t) : {&CLumoRuntime::LumoMalloc, &CLumoRuntime::LumoCalloc}) {
        auto* p = static_cast<unsigned char*>(alloc(size));
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
        const unsigned distance = p[-1];
        EXPECT_GE(distance, 1u);
        EXPECT_LE(distance, 64u);
        // The gap between the block start and the distance byte is zeroed.
        for (unsigned k = 2; k <= distance; ++k) EXPECT_EQ(p[-static_cast<int>(k)], 0) << k;
        for (uint32_t i = 0; i < size; ++i) p[i] = 0xA5;  // the whole size is usable (ASan checks)
        CLumoRuntime::LumoFree(p);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, AlignedMemory, ::testing::Values(0u, 1u, 63u, 64u, 65u, 1000u, 1u << 20));

TEST(AlignedMemoryCalloc, ZeroesTheRequestedBytes) {
    // Dirty the heap first so that a missing memset would show.
    for (int i = 0; i < 8; ++i) {
        auto* junk = static_cast<unsigned char*>(CLumoRuntime::LumoMalloc(4096));
        for (int j = 0; j < 4096; ++j) junk[j] = 0xCC;
        CLumoRuntime::LumoFree(junk);
    }
    auto* p = static_cast<unsigned char*>(CLumoRuntime::LumoCalloc(4096));
    ASSERT_NE(p, nullptr);
    for (int j = 0; j < 4096; ++j) ASSERT_EQ(p[j], 0) << j;
    CLumoRuntime::LumoFree(p);
}

TEST(AlignedMemoryLimits, SizesThatWouldWrapTheRequestAreRefused) {
    EXPECT_EQ(CLumoRuntime::LumoMalloc(0xFFFFFFFFu), nullptr);
    EXPECT_EQ(CLumoRuntime::LumoCalloc(0xFFFFFFC1u), nullptr);
    CLumoRuntime::LumoFree(nullptr);  // ignored
}

TEST(ReleaseHelpers, ListReleaseNullsEveryElementAndKeepsTheLength) {
    std::vector<void*> list{CLumoRuntime::LumoMalloc(10), nullptr, CLumoRuntime::LumoCalloc(20)};
    __releaseLumoMallocPointerList(list);
    EXPECT_EQ(list, (std::vector<void*>{nullptr, nullptr, nullptr}));
}

TEST(ReleaseHelpers, SingleReleaseRemovesTheFirstMatchOnly) {
    void* a = CLumoRuntime::LumoMalloc(8);
    void* b = CLumoRuntime::LumoMalloc(8);
    void* c = CLumoRuntime::LumoMalloc(8);
    std::vector<void*> list{a, b, c, nullptr};
    __releaseLumoMallocPointer(list, b);
    EXPECT_EQ(list, (std::vector<void*>{a, c, nullptr}));
    int unrelated = 0;
    __releaseLumoMallocPointer(list, &unrelated);  // absent: nothing happens
    EXPECT_EQ(list.size(), 3u);
    __releaseLumoMallocPointer(list, nullptr);  // a null element is removed, nothing freed
    EXPECT_EQ(list, (std::vector<void*>{a, c}));
    __releaseLumoMallocPointerList(list);
}

struct Arith {
    int32_t a, b, gcd, lcm;
};

class IntegerMath : public ::testing::TestWithParam<Arith> {};

TEST_P(IntegerMath, GcdAndLcmUseTruncatingRemainders) {
    const Arith& c = GetParam();
    EXPECT_EQ(CLumoRuntime::LumoGCD(c.a, c.b), c.gcd);
    EXPECT_EQ(CLumoRuntime::LumoLCM(c.a, c.b), c.lcm);
}

INSTANTIATE_TEST_SUITE_P(Table, IntegerMath,
                         ::testing::Values(Arith{12, 18, 6, 36}, Arith{-12, 18, 6, -36}, Arith{12, -18, -6, 36},
                                           Arith{4, 6, 2, 12}, Arith{7, 13, 1, 91}, Arith{18, 12, 6, 36},
                                           Arith{5, 0, 5, 0}, Arith{0, 5, 5, 0}, Arith{0, 0, 0, 0},
                                           Arith{INT32_MIN, -1, -1, INT32_MIN},
                                           Arith{65536, 32769, 1, -2147418112}));

struct Limit {
    int32_t processNum, margin, count, expected;
};

class LimitProcessNum : public ::testing::TestWithParam<Limit> {};

TEST_P(LimitProcessNum, GivesEachThreadTwiceTheMarginPlusOne) {
    const Limit& c = GetParam();
    EXPECT_EQ(__limitProcessNum(c.processNum, c.margin, c.count), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Table, LimitProcessNum,
                         ::testing::Values(Limit{8, 2, 12, 2}, Limit{8, 0, 3, 3}, Limit{8, -1, 100, 8},
                                           Limit{8, 0, 0, 1}, Limit{8, 0, -5, 1}, Limit{2, 0, 100, 2},
                                           Limit{8, 10, 1000, 8}, Limit{8, 10, 42, 2},
                                           Limit{8, INT32_MAX, 100, 8}));

TEST(ErrorMapping, PermissionErrorsBecomeAccessDenied) {
    EXPECT_EQ(ConvertUnixErrorToLumoError(EPERM, 5), 41u);
    EXPECT_EQ(ConvertUnixErrorToLumoError(EACCES, 5), 41u);
    EXPECT_EQ(ConvertUnixErrorToLumoError(ENOENT, 5), 5u);
    EXPECT_EQ(ConvertUnixErrorToLumoError(0, 9), 9u);
    EXPECT_EQ(ConvertUnixErrorToLumoError(-13, 0), 0u);
}

}  // namespace
