// Area averaging in whole numbers: which calls take that path, and that the
// bytes it writes are the plain kernel's, byte for byte.
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "resize/differential.h"
#include "resize/supersampling_exact.h"

namespace {

using lumo::test::Below;
using lumo::test::DifferentialCase;

bool ExactSumsApply(uint32_t bits, tagLumoRect region, tagLumoSize destination) {
    return lumo::supersampling::ExactSumsApply({3, bits / 8, {nullptr, {}, 0}, region, {nullptr, destination, 0}});
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
    for (const ApplyCase& c : cases) EXPECT_EQ(ExactSumsApply(c.bits, c.region, c.destination), c.applies) << c.what;
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

using BinaryFractionScales = lumo::test::OnEachTarget;

// Reductions by whole factors and by binary fractions, as whole images and as
// regions of a larger buffer, for every method: the weights of the
// interpolating methods are short binary fractions there too.
TEST_P(BinaryFractionScales, FastMatchesPlain) {
    std::mt19937 rng(607);
    int taken = 0;
    for (int i = 0; i < 400 && !HasFailure(); ++i) {
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
        c.bands = 1 + Below(rng, 3);
        c.seed = static_cast<uint32_t>(rng());
        taken += ExactSumsApply(c.bits, c.region, c.destination);
        lumo::test::ExpectFastMatchesPlain(method(), c);
    }
    // The factor is a rounded double, so a footprint edge can miss its
    // binary fraction by an ulp and the call then takes the other path;
    // nearly every drawn case must still qualify (397 of these 400 do).
    EXPECT_GE(taken, 390);
}

LUMO_INSTANTIATE_ON_EACH_TARGET(BinaryFractionScales, ::testing::ValuesIn(lumo::kResizeMethods));

}  // namespace
