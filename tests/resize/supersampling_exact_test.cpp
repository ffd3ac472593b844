// Area averaging in whole numbers: which calls take that path, and that the
// bytes it writes are the plain kernel's, byte for byte.
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "resize/differential.h"
#include "resize/kernel_harness.h"
#include "resize/kernels.h"
#include "resize/supersampling_exact.h"

namespace {

using lumo::test::Below;
using lumo::test::DifferentialCase;
using lumo::test::DifferentialMethod;
using lumo::test::KernelSet;
using lumo::test::TestImage;

const KernelSet kFast{lumo::SuperSampling8, lumo::SuperSampling16, lumo::SuperSampling8WithRegion,
                      lumo::SuperSampling16WithRegion};
const KernelSet kReference{lumo::reference::SuperSampling8, lumo::reference::SuperSampling16,
                           lumo::reference::SuperSampling8WithRegion, lumo::reference::SuperSampling16WithRegion};
const DifferentialMethod kSuperSampling{"supersampling", kFast, kReference};

lumo::supersampling::Request RequestFor(uint32_t bits, tagLumoRect region, tagLumoSize destination) {
    return {3, bits / 8, nullptr, 0, region, nullptr, destination, 0};
}

struct ApplyCase {
    const char* what;
    uint32_t bits;
    tagLumoRect region;
    tagLumoSize destination;
    bool applies;
};

TEST(SuperSamplingExact, TakenExactlyWhenEveryWeightIsAShortBinaryFraction) {
    const std::vector<ApplyCase> cases = {
        {"2x reduction", 8, {0, 0, 4, 4}, {2, 2}, true},
        {"region, 2x", 8, {1000, 800, 2000, 1500}, {1000, 750}, true},
        {"8x reduction, 16-bit", 16, {0, 0, 64, 64}, {8, 8}, true},
        {"footprints of 2.5 columns", 8, {0, 0, 10, 10}, {4, 4}, true},
        {"footprints of 3.125 columns", 16, {0, 0, 6000, 4000}, {1920, 1280}, true},
        {"enlarging one axis by 2", 8, {3, 0, 2, 9}, {4, 3}, true},
        {"one column of 256", 8, {0, 0, 256, 256}, {1, 1}, true},
        {"sums past 2^31 at 16 bits", 16, {0, 0, 256, 256}, {1, 1}, false},
        {"sevenths", 8, {0, 0, 23, 23}, {7, 7}, false},
        {"thirds on the rows only", 8, {0, 0, 8, 7}, {4, 3}, false},
        {"rows of 4000 to 427", 8, {0, 0, 6000, 4000}, {640, 427}, false},
    };
    for (const ApplyCase& c : cases) {
        EXPECT_EQ(lumo::supersampling::ExactSumsApply(RequestFor(c.bits, c.region, c.destination)), c.applies)
            << c.what;
    }
}

/// A side of `destination` pixels whose footprints are `numerator` / 2^`bits`
/// source pixels wide.
struct Sides {
    uint32_t destination, source;
};

Sides DrawSides(std::mt19937& rng) {
    const uint32_t bits = Below(rng, 4);
    const uint32_t units = 1 + Below(rng, 9);  // destination = units * 2^bits
    // Mostly reductions by up to 8, sometimes an enlargement.
    const uint32_t numerator = Below(rng, 8) == 0 ? 1 + Below(rng, 1u << bits) : (1u << bits) + Below(rng, 7u << bits);
    return {units << bits, units * numerator};
}

// Reductions by whole factors and by binary fractions, as whole images and as
// regions of a larger buffer (the region ends the buffer, under ASan).
TEST(SuperSamplingExact, MatchesThePlainKernelOnBinaryFractionScales) {
    lumo::test::ForEachVectorTarget([] {
        std::mt19937 rng(607);
        int taken = 0;
        for (int i = 0; i < 400 && !::testing::Test::HasFailure(); ++i) {
            const Sides across = DrawSides(rng);
            const Sides down = Below(rng, 3) == 0 ? across : DrawSides(rng);
            DifferentialCase c;
            c.bits = Below(rng, 2) ? 16 : 8;
            c.channels = 1 + Below(rng, 4);
            c.destination = {across.destination, down.destination};
            c.region = {static_cast<int32_t>(Below(rng, 5)), static_cast<int32_t>(Below(rng, 5)), across.source,
                        down.source};
            const bool whole = Below(rng, 2) == 0;
            c.source = whole ? tagLumoSize{across.source, down.source}
                             : tagLumoSize{across.source + static_cast<uint32_t>(c.region.x) + Below(rng, 3),
                                           down.source + static_cast<uint32_t>(c.region.y) + Below(rng, 3)};
            if (whole) c.region.x = c.region.y = 0;
            c.sourcePadding = Below(rng, 3) == 0 ? Below(rng, 9) : 0;
            c.destinationPadding = Below(rng, 3) == 0 ? 1 + Below(rng, 7) : 0;
            c.threads = 1 + Below(rng, 3);
            c.seed = static_cast<uint32_t>(rng());
            if (lumo::supersampling::ExactSumsApply(RequestFor(c.bits, c.region, c.destination))) ++taken;
            lumo::test::ExpectFastMatchesReference(kSuperSampling, c);
        }
        // The factor is a rounded double, so a footprint edge can miss its
        // binary fraction by an ulp and the call then takes the other path;
        // nearly every drawn case must still qualify (397 of these 400 do).
        EXPECT_GE(taken, 390);
    });
}

// All samples at the top value with footprints near the bound on the sums,
// where a rounded sum would show as one code value less.
TEST(SuperSamplingExact, TopValuesNearTheBound) {
    struct Case {
        uint32_t bits;
        tagLumoSize source, destination;
    };
    const std::vector<Case> cases = {{8, {256, 256}, {1, 1}}, {16, {128, 128}, {1, 1}}, {16, {181, 90}, {2, 1}},
                                     {8, {1000, 7}, {16, 7}}, {16, {40, 40}, {16, 16}}};
    for (const Case& c : cases) {
        TestImage source = TestImage::Make(c.source.width, c.source.height, 2, c.bits, 1);
        for (uint32_t y = 0; y < c.source.height; ++y)
            for (uint32_t x = 0; x < c.source.width; ++x)
                for (uint32_t ch = 0; ch < 2; ++ch) source.Set(x, y, ch, c.bits == 8 ? 255u : 65535u);
        TestImage fast = TestImage::Make(c.destination.width, c.destination.height, 2, c.bits);
        TestImage reference = fast;
        ASSERT_EQ(lumo::test::Resize(kFast, source, fast), kLumoResultOK);
        ASSERT_EQ(lumo::test::Resize(kReference, source, reference), kLumoResultOK);
        EXPECT_EQ(fast.bytes, reference.bytes) << c.source.width << "x" << c.source.height;
    }
}

}  // namespace
