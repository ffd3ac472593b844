// The integer form of exact 2x bilinear passes: it is chosen exactly for
// tables that halve, and its shuffle lanes pair up the right samples for
// every pixel width (that its means are the plain kernel's bytes is the
// differential tests' Halvings).
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "resize/bilinear.h"
#include "resize/halving_row.h"

namespace {

TEST(HalvingRow, ChosenOnlyForTablesThatHalve) {
    struct Case {
        uint32_t count, sourceCount;
        bool halves;
    };
    static constexpr Case kCases[] = {
        {1, 2, true},   {5, 10, true},   {1000, 2000, true}, {999, 1998, true},
        {5, 11, false}, {5, 9, false},   {5, 5, false},      {10, 5, false},
        {4, 16, false}, {1, 1, false},   {1, 3, false},      {640, 1281, false},
    };
    for (const Case& c : kCases) {
        std::vector<uint32_t> taps(2 * c.count);
        std::vector<double> weights(2 * c.count);
        lumo::BuildLinearTaps(c.count, c.sourceCount, taps.data(), weights.data());
        EXPECT_EQ(lumo::HalvesEveryColumn(c.count, taps.data(), weights.data()), c.halves)
            << c.sourceCount << " -> " << c.count;
    }
    EXPECT_FALSE(lumo::HalvesEveryColumn(0, nullptr, nullptr));
}

// Runs the lanes as a byte shuffle does (an index with its top bit set
// yields 0) over random input and compares each output sample of a step with
// the mean of its two input samples.
TEST(HalvingRow, LanesPairEachSampleWithTheSameChannelOfTheNextPixel) {
    std::mt19937 rng(6);
    for (uint32_t channels = 1; channels <= 16; ++channels) {
        SCOPED_TRACE(channels);
        const uint32_t step = lumo::HalvingStep(channels);
        ASSERT_GE(step, 8u);
        ASSERT_LE(step, 16u);
        ASSERT_EQ(step % channels, 0u);
        uint8_t lanes[64];
        lumo::BuildHalvingLanes(channels, lanes);
        uint8_t input[32];
        for (uint8_t& b : input) b = static_cast<uint8_t>(rng());
        const uint8_t* first = input;
        const uint8_t* second = input + 2 * step - 16;
        const auto pick = [&](const uint8_t* fromFirst, uint32_t j) {
            EXPECT_TRUE((fromFirst[j] & 0x80) != 0 || (fromFirst[16 + j] & 0x80) != 0) << "two loads for " << j;
            const uint8_t a = fromFirst[j] & 0x80 ? 0 : first[fromFirst[j] & 15];
            const uint8_t b = fromFirst[16 + j] & 0x80 ? 0 : second[fromFirst[16 + j] & 15];
            return static_cast<uint32_t>(a | b);
        };
        for (uint32_t j = 0; j < step; ++j) {
            const uint32_t at = 2 * channels * (j / channels) + j % channels;
            EXPECT_EQ(pick(lanes, j), input[at]) << "sample " << j;
            EXPECT_EQ(pick(lanes + 32, j), input[at + channels]) << "sample " << j;
        }
    }
    EXPECT_EQ(lumo::HalvingStep(17), 0u);
}

}  // namespace
