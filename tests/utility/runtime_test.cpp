#include <gtest/gtest.h>
#include <sched.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "lumomath/LumoUtility.h"

namespace {

TEST(ProcessorCount, OverrideIsReadAsSignedAndClampedTo1Through64ZeroAsksTheSystem) {
    const std::pair<uint32_t, uint32_t> cases[] = {
        {1, 1}, {2, 2}, {64, 64}, {65, 64}, {0xFFFFFFFFu, 1}, {0x80000000u, 1}, {0x7FFFFFFFu, 64}};
    for (auto [set, expected] : cases) {
        Set_ProcessorNum(set);
        EXPECT_EQ(LumoGetProcessorNum(), expected) << set;
    }
    Set_ProcessorNum(0);
    cpu_set_t mask;
    ASSERT_EQ(sched_getaffinity(0, sizeof(mask), &mask), 0);
    const int mine = CPU_COUNT(&mask);
    EXPECT_EQ(LumoGetProcessorNum(), static_cast<uint32_t>(mine > 64 ? 64 : mine));
}

TEST(ProcessorFeatures, EachLevelImpliesTheOnesBelow) {
    const bool levels[] = {LumoCanUseSSE3(),   LumoCanUseSSSE3(), LumoCanUseSSE4_1(),
                           LumoCanUseSSE4_2(), LumoCanUseAVX(),   LumoCanUseAVX2()};
    for (int i = 1; i < 6; ++i) EXPECT_TRUE(!levels[i] || levels[i - 1]) << i;
}

TEST(AlignedMemory, BlockIsAlignedUsableAndHasItsDistanceByteInFront) {
    for (uint32_t size : {0u, 1u, 63u, 64u, 65u, 1000u, 1u << 20}) {
        // The calloc block mostly reuses the malloc block just dirtied, so a missing memset shows.
        for (void* (*alloc)(uint32_t) : {&CLumoRuntime::LumoMalloc, &CLumoRuntime::LumoCalloc}) {
            auto* p = static_cast<unsigned char*>(alloc(size));
            ASSERT_NE(p, nullptr) << size;
            EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u) << size;
            const unsigned distance = p[-1];
            EXPECT_TRUE(distance >= 1 && distance <= 64) << size << " " << distance;
            // The gap between the block start and the distance byte is zeroed.
            EXPECT_EQ(std::count(p - distance, p - 1, 0), std::ptrdiff_t(distance) - 1) << size;
            if (alloc == &CLumoRuntime::LumoCalloc) {
                EXPECT_EQ(std::count(p, p + size, 0), std::ptrdiff_t(size)) << size;
            }
            std::fill(p, p + size, 0xA5);  // the whole size is usable (ASan checks)
            CLumoRuntime::LumoFree(p);
        }
    }
}

TEST(AlignedMemory, SizesThatWouldWrapTheRequestAreRefused) {
    // 2^32 - 64 is the first size whose request of 64 more bytes wraps.
    for (uint32_t size : {0xFFFFFFC0u, 0xFFFFFFFFu}) {
        EXPECT_EQ(CLumoRuntime::LumoMalloc(size), nullptr) << size;
        EXPECT_EQ(CLumoRuntime::LumoCalloc(size), nullptr) << size;
    }
    CLumoRuntime::LumoFree(nullptr);  // ignored
}

TEST(ReleaseHelpers, ListReleaseNullsEveryElementSingleReleaseRemovesTheFirstMatch) {
    std::vector<void*> all{CLumoRuntime::LumoMalloc(10), nullptr, CLumoRuntime::LumoCalloc(20)};
    __releaseLumoMallocPointerList(all);
    EXPECT_EQ(all, std::vector<void*>(3, nullptr));

    void* a = CLumoRuntime::LumoMalloc(8);
    void* b = CLumoRuntime::LumoMalloc(8);
    void* c = CLumoRuntime::LumoMalloc(8);
    std::vector<void*> list{a, b, nullptr, c, nullptr};
    __releaseLumoMallocPointer(list, b);
    int unrelated = 0;
    __releaseLumoMallocPointer(list, &unrelated);  // absent: nothing happens
    EXPECT_EQ(list, (std::vector<void*>{a, nullptr, c, nullptr}));
    __releaseLumoMallocPointer(list, nullptr);  // the first null element goes, nothing is freed
    EXPECT_EQ(list, (std::vector<void*>{a, c, nullptr}));
    __releaseLumoMallocPointerList(list);
}

TEST(IntegerMath, GcdAndLcmUseTruncatingRemaindersAndWrap) {
    const struct { int32_t a, b, gcd, lcm; } cases[] = {
        {12, 18, 6, 36}, {-12, 18, 6, -36}, {12, -18, -6, 36}, {4, 6, 2, 12}, {7, 13, 1, 91}, {5, 0, 5, 0},
        {0, 5, 5, 0}, {0, 0, 0, 0}, {INT32_MIN, -1, -1, INT32_MIN}, {65536, 32769, 1, -2147418112}};
    for (const auto& c : cases) {
        EXPECT_EQ(CLumoRuntime::LumoGCD(c.a, c.b), c.gcd) << c.a << ", " << c.b;
        EXPECT_EQ(CLumoRuntime::LumoLCM(c.a, c.b), c.lcm) << c.a << ", " << c.b;
    }
}

TEST(IntegerMath, LimitProcessNumGivesEachThreadTwiceTheMarginPlusOne) {
    const struct { int32_t processNum, margin, count, expected; } cases[] = {
        {8, 2, 12, 2}, {8, 0, 3, 3}, {8, -1, 100, 8}, {8, 0, 0, 1}, {8, 0, -5, 1}, {2, 0, 100, 2},
        {8, 10, 42, 2}, {8, INT32_MAX, 100, 8}};  // 2 x margin + 1 wraps to -1: one row per thread
    for (const auto& c : cases)
        EXPECT_EQ(__limitProcessNum(c.processNum, c.margin, c.count), c.expected)
            << c.processNum << ", " << c.margin << ", " << c.count;
}

TEST(ErrorMapping, PermissionErrorsBecomeAccessDenied) {
    const struct { int32_t error; uint32_t fallback, expected; } cases[] = {
        {EPERM, 5, 41}, {EACCES, 5, 41}, {ENOENT, 5, 5}, {0, 9, 9}, {-13, 0, 0}};
    for (const auto& c : cases) EXPECT_EQ(ConvertUnixErrorToLumoError(c.error, c.fallback), c.expected) << c.error;
}

}  // namespace
