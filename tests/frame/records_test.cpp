#include <gtest/gtest.h>

#include <cstring>

#include "lumomath/LumoMath.h"

extern "C" uint32_t lumo_c_interface_sum_of_codes(void);

namespace {

template <class T>
bool AllZeroBytes(const T& value) {
    unsigned char zero[sizeof(T)] = {};
    return std::memcmp(&value, zero, sizeof(T)) == 0;
}

TEST(Records, ZeroConstantsAreAllZeroBits) {
    EXPECT_TRUE(AllZeroBytes(kLumoPointZero));
    EXPECT_TRUE(AllZeroBytes(kLumoFPointZero));
    EXPECT_TRUE(AllZeroBytes(kLumoSizeZero));
    EXPECT_TRUE(AllZeroBytes(kLumoFSizeZero));
    EXPECT_TRUE(AllZeroBytes(kLumoRectZero));
    EXPECT_TRUE(AllZeroBytes(kLumoFRectZero));
}

TEST(Records, ZeroConstantsKeepDeclarationOrderInConstantData) {
    const void* order[] = {&kLumoPointZero, &kLumoFPointZero, &kLumoSizeZero,
                           &kLumoFSizeZero, &kLumoRectZero,   &kLumoFRectZero};
    for (size_t i = 1; i < sizeof(order) / sizeof(order[0]); ++i)
        EXPECT_LT(reinterpret_cast<uintptr_t>(order[i - 1]), reinterpret_cast<uintptr_t>(order[i])) << i;
}

TEST(Records, CodesAndMethodsSeenFromC) {
    EXPECT_EQ(lumo_c_interface_sum_of_codes(), 0u + 3 + 4 + 7 + 41 + 96 + 16);
    EXPECT_EQ(kLumoScalingNearestNeighbor | kLumoScalingBiLinear | kLumoScalingBiCubic | kLumoScalingSuperSampling,
              15u);
}

}  // namespace
