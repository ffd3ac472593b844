// The single-precision shortcut of 8-bit two-tap sums against the double
// sums, over every pair of samples: wherever a float sum lies at least
// kNearByte from each integer 1..255 it truncates to the byte of the double
// sum, and weights classed exact give float sums equal to the double ones.
#include <cmath>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "resize/bilinear.h"
#include "resize/two_tap_float.h"

namespace {

using lumo::TwoTapFloat;

uint32_t Byte(double v) {
    if (v < 0.0) v = 0.0;
    if (v > 255.0) v = 255.0;
    return static_cast<uint32_t>(v);
}

bool NearBoundary(float v) {
    const float n = std::nearbyint(v);
    return std::fabs(v - n) < lumo::kNearByte && n >= 1.0f && n <= 255.0f;
}

/// Checks one pair of weights over all 65536 pairs of samples; returns how
/// many float sums had to be redone.
uint32_t ExpectShortcutHolds(const double* w) {
    const TwoTapFloat mode = lumo::TwoTapFloatMode(w);
    if (mode == TwoTapFloat::kNo) return 0;
    const float f0 = static_cast<float>(w[0]);
    const float f1 = static_cast<float>(w[1]);
    uint32_t redone = 0;
    for (uint32_t s0 = 0; s0 < 256; ++s0) {
        for (uint32_t s1 = 0; s1 < 256; ++s1) {
            const double exact = static_cast<double>(s0) * w[0] + static_cast<double>(s1) * w[1];
            const float fast = static_cast<float>(s0) * f0 + static_cast<float>(s1) * f1;
            if (mode == TwoTapFloat::kExact) {
                if (static_cast<double>(fast) != exact) {
                    ADD_FAILURE() << "inexact: " << s0 << " " << s1 << " weights " << w[0] << " " << w[1];
                    return redone;
                }
            } else if (NearBoundary(fast)) {
                ++redone;
            } else {
                if (Byte(fast) != Byte(exact)) {
                    ADD_FAILURE() << "other byte: " << s0 << " " << s1 << " weights " << w[0] << " " << w[1];
                    return redone;
                }
            }
        }
    }
    return redone;
}

TEST(TwoTapFloat, ClassifiesWeights) {
    struct Case {
        double w0, w1;
        TwoTapFloat mode;
    };
    static constexpr Case kCases[] = {
        {0.5, 0.5, TwoTapFloat::kExact},      {0.75, 0.25, TwoTapFloat::kExact},
        {1.5, -0.5, TwoTapFloat::kExact},     {2.0, -1.0, TwoTapFloat::kExact},
        {0.68, 0.32, TwoTapFloat::kChecked},  {1.0 / 3.0, 2.0 / 3.0, TwoTapFloat::kChecked},
        {2.5, -1.5, TwoTapFloat::kNo},        {-2.0000001, 3.0000001, TwoTapFloat::kNo},
        {1.0 + 0x1p-14, -0x1p-14, TwoTapFloat::kExact}, {1.0 + 0x1p-15, -0x1p-15, TwoTapFloat::kChecked},
    };
    for (const Case& c : kCases) {
        const double w[2] = {c.w0, c.w1};
        EXPECT_EQ(lumo::TwoTapFloatMode(w), c.mode) << c.w0 << " " << c.w1;
    }
}

// The weights of real tables (reductions, enlargements with their
// extrapolated first columns, near 1:1), and the largest weights allowed.
TEST(TwoTapFloat, FloatSumsAwayFromBoundariesTruncateLikeDoubleSums) {
    struct Axis {
        uint32_t count, sourceCount;
    };
    static constexpr Axis kAxes[] = {{1920, 6000}, {7, 3}, {3, 7}, {4, 1}, {37, 20}, {101, 100}, {99, 100}};
    uint32_t redone = 0;
    for (const Axis& axis : kAxes) {
        std::vector<uint32_t> taps(2 * axis.count);
        std::vector<double> weights(2 * axis.count);
        lumo::BuildLinearTaps(axis.count, axis.sourceCount, taps.data(), weights.data());
        // Long tables repeat their fractions: a stride keeps the test quick.
        const uint32_t step = axis.count > 64 ? 37 : 1;
        for (uint32_t i = 0; i < axis.count; i += step) {
            redone += ExpectShortcutHolds(&weights[2 * i]);
            if (::testing::Test::HasFailure()) return;
        }
    }
    const double extremes[][2] = {{2.0, -1.0}, {-1.0, 2.0}, {2.0, 2.0}, {-2.0, -2.0}, {1.9999999999, -0.9999999999}};
    for (const auto& w : extremes) redone += ExpectShortcutHolds(w);
    // Equal samples land on integers, so some sums must have been redone.
    EXPECT_GT(redone, 0u);
}

}  // namespace
