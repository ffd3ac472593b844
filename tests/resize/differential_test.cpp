// Every method's fast kernel against its plain one on every vector target:
// thousands of random small cases, then large ones where the vector loops run
// many full iterations before their tails and every band of destination rows
// reads a long run of source rows, extreme shapes, exact halvings and flat
// areas. Cases a method's admission refuses (averaging does not enlarge both
// axes, nor more than four channels) are left out for that method.
#include <cstdint>
#include <random>

#include <gtest/gtest.h>

#include "resize/differential.h"

namespace {

using lumo::test::Below;
using lumo::test::DifferentialCase;
using lumo::test::ExpectFastMatchesPlain;
using lumo::test::Fill;

/// A side length: mostly one of the sizes where edge and tail handling go
/// wrong, sometimes any size up to 160.
uint32_t DrawSide(std::mt19937& rng) {
    static constexpr uint32_t kSides[] = {1,  2,  3,  4,  5,  7,  8,  9,  11, 13, 15,
                                          16, 17, 31, 32, 33, 47, 63, 64, 65, 97, 131};
    if (Below(rng, 10) < 7) return kSides[Below(rng, sizeof kSides / sizeof kSides[0])];
    return 1 + Below(rng, 160);
}

DifferentialCase DrawCase(std::mt19937& rng) {
    DifferentialCase c;
    c.bits = Below(rng, 2) ? 16 : 8;
    c.channels = 1 + Below(rng, 6);
    c.source = {DrawSide(rng), DrawSide(rng)};
    c.destination = {DrawSide(rng), DrawSide(rng)};
    c.region.width = 1 + Below(rng, c.source.width);
    c.region.height = 1 + Below(rng, c.source.height);
    c.region.x = static_cast<int32_t>(Below(rng, c.source.width - c.region.width + 1));
    c.region.y = static_cast<int32_t>(Below(rng, c.source.height - c.region.height + 1));
    c.sourcePadding = Below(rng, 3) == 0 ? Below(rng, 19) : 0;
    c.destinationPadding = Below(rng, 3) == 0 ? 1 + Below(rng, 13) : 0;
    c.bands = 1 + Below(rng, 4);
    c.seed = static_cast<uint32_t>(rng());
    return c;
}

using Differential = lumo::test::OnEachTarget;

// 1500 cases the method admits; stops at a target's first differing case.
TEST_P(Differential, RandomCases) {
    static constexpr uint32_t kSeeds[] = {61, 20261123, 61123, 83};  // in table order
    std::mt19937 rng(kSeeds[lumo::FindResizeMethod(method().id) - lumo::kResizeMethods]);
    for (uint32_t run = 0; run < 1500 && !HasFailure();) run += ExpectFastMatchesPlain(method(), DrawCase(rng));
}

// Reductions and enlargements by odd factors, 1 to 6 channels, odd row
// padding (so 16-bit rows start unaligned), regions that touch the source's
// far corner or are a single pixel at its very end, and several band
// counts so that bands start mid-image. Long rows run through every
// pixel-size copy (5 bytes has none of its own) and footprints of 2 to 9
// columns.
TEST_P(Differential, LargeImages) {
    static constexpr DifferentialCase kCases[] = {
        {8, 3, {1000, 700}, {317, 229}, {13, 7, 987, 693}, 5, 3, 2, 1},
        {16, 3, {1000, 700}, {317, 229}, {0, 0, 1000, 700}, 3, 1, 2, 2},
        {8, 4, {1000, 700}, {1733, 1201}, {501, 350, 499, 350}, 0, 7, 3, 3},
        {16, 4, {640, 480}, {1021, 769}, {1, 1, 639, 479}, 1, 0, 2, 4},
        {8, 1, {997, 601}, {2011, 37}, {100, 0, 897, 601}, 9, 2, 4, 5},
        {16, 2, {333, 999}, {1001, 331}, {0, 500, 333, 499}, 0, 5, 4, 6},
        {8, 6, {509, 311}, {97, 613}, {7, 3, 500, 300}, 2, 0, 3, 7},
        {8, 3, {1920, 1280}, {640, 427}, {0, 0, 1920, 1280}, 0, 0, 2, 8},
        {8, 3, {1000, 700}, {331, 229}, {17, 9, 900, 650}, 0, 0, 2, 1},
        {16, 3, {1000, 700}, {1999, 1403}, {0, 0, 1000, 700}, 5, 3, 2, 2},
        {8, 4, {997, 701}, {1024, 768}, {996, 700, 1, 1}, 0, 1, 3, 3},
        {16, 4, {1000, 700}, {127, 89}, {500, 350, 500, 350}, 2, 0, 2, 4},
        {8, 5, {640, 480}, {1283, 961}, {1, 1, 639, 479}, 0, 0, 2, 5},
        {16, 6, {333, 222}, {701, 97}, {3, 2, 300, 200}, 0, 7, 2, 6},
        {16, 3, {1000, 700}, {643, 451}, {0, 0, 1000, 700}, 5, 3, 2, 2},
        {8, 4, {997, 701}, {101, 77}, {996, 700, 1, 1}, 0, 1, 3, 3},
        {8, 1, {1001, 703}, {997, 351}, {1, 1, 999, 701}, 0, 0, 2, 5},
        {16, 2, {999, 333}, {333, 998}, {3, 2, 900, 300}, 0, 7, 2, 6},
    };
    for (const DifferentialCase& c : kCases) ExpectFastMatchesPlain(method(), c);
}

// Extreme ratios and many bands: a destination row reading the last source
// rows, single-pixel sides on either end, one band per destination row, and
// enlargements whose last columns all read the final source pixel (the row
// pass must stop its vector loads before the end of the row). Then rows
// shorter than the 8-byte word a pixel may be gathered with, so that a word
// read in a row above the last can pass the end of the buffer, and the top
// value everywhere with footprints near the bound on whole-number sums, where
// a rounded sum would show as one code value less.
TEST_P(Differential, ExtremeShapes) {
    static constexpr DifferentialCase kCases[] = {
        {8, 3, {1, 1}, {700, 500}, {0, 0, 1, 1}, 0, 1, 4, 11},
        {16, 4, {2, 3}, {900, 401}, {1, 1, 1, 2}, 1, 3, 7, 12},
        {8, 4, {4000, 9}, {3, 1}, {3000, 0, 1000, 9}, 0, 0, 3, 13},
        {16, 3, {9, 3000}, {1, 5}, {0, 1, 9, 2999}, 3, 1, 8, 14},
        {8, 3, {300, 200}, {301, 9}, {299, 0, 1, 200}, 0, 0, 8, 15},
        {16, 3, {641, 3}, {2000, 300}, {640, 2, 1, 1}, 5, 1, 6, 16},
        {8, 5, {256, 256}, {255, 257}, {0, 0, 256, 256}, 0, 0, 2, 17},
        {8, 1, {1, 9}, {1, 4}, {0, 0, 1, 9}, 0, 0, 1, 11},
        {8, 2, {2, 7}, {1, 3}, {1, 0, 1, 7}, 0, 0, 2, 12},
        {8, 3, {2, 6}, {1, 2}, {0, 1, 2, 5}, 1, 0, 1, 13},
        {16, 1, {3, 8}, {2, 3}, {0, 0, 3, 8}, 0, 2, 2, 14},
        {16, 3, {1, 5}, {1, 2}, {0, 0, 1, 5}, 0, 0, 1, 15},
        {8, 2, {256, 256}, {1, 1}, {0, 0, 256, 256}, 1, 0, 1, 0, Fill::kTop},
        {16, 2, {128, 128}, {1, 1}, {0, 0, 128, 128}, 1, 0, 1, 0, Fill::kTop},
        {16, 2, {181, 90}, {2, 1}, {0, 0, 181, 90}, 1, 0, 1, 0, Fill::kTop},
        {8, 2, {1000, 7}, {16, 7}, {0, 0, 1000, 7}, 1, 0, 1, 0, Fill::kTop},
        {16, 2, {40, 40}, {16, 16}, {0, 0, 40, 40}, 1, 0, 1, 0, Fill::kTop},
    };
    for (const DifferentialCase& c : kCases) ExpectFastMatchesPlain(method(), c);
}

// Exact halvings average byte pairs in shuffled vectors: both axes halving,
// only the columns (the row pass) or only the rows (the column pass), pixels
// 1 to 8 and 16 samples wide (every step width of the shuffles, one pixel per
// step at 9 and 16), rows ending a few samples past a full step, odd padding
// and regions at the buffer's end.
TEST_P(Differential, Halvings) {
    struct Shape {
        tagLumoSize source, destination;
        tagLumoRect region;
    };
    static constexpr Shape kShapes[] = {
        {{2, 2}, {1, 1}, {0, 0, 2, 2}},          {{34, 18}, {17, 9}, {0, 0, 34, 18}},
        {{67, 40}, {33, 20}, {1, 0, 66, 40}},    {{2000, 61}, {1000, 30}, {0, 1, 2000, 60}},
        {{70, 33}, {35, 50}, {0, 0, 70, 33}},    {{45, 64}, {30, 32}, {0, 0, 45, 64}},
        {{130, 6}, {63, 3}, {4, 0, 126, 6}},
    };
    for (const Shape& s : kShapes)
        for (const uint32_t channels : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 16u})
            for (const uint32_t bands : {1u, 2u})
                ExpectFastMatchesPlain(method(), {8, channels, s.source, s.destination, s.region, channels % 3,
                                                  channels % 2, bands, channels});
}

// Flat areas put two-tap sums right on an integer (100 * w0 + 100 * w1 may
// be 99.99999999999999), where a sum computed any other way than the plain
// kernel's truncates to the neighbouring value. Blocks of equal samples along
// both axes, at ratios whose weights are short binary fractions (2:1, 1:4,
// 1:2) and ones whose weights are not (3:7, 7:3, 3.125:1 as a 24-megapixel
// photo to 1920 wide, near 1:1).
TEST_P(Differential, FlatAreas) {
    static constexpr tagLumoSize kRatios[][2] = {
        {{30, 30}, {70, 70}},  {{70, 70}, {30, 30}},   {{625, 40}, {200, 13}}, {{40, 9}, {160, 36}},
        {{128, 64}, {64, 32}}, {{97, 33}, {194, 66}},  {{200, 21}, {199, 20}}, {{199, 20}, {200, 21}},
        {{1, 3}, {37, 11}},
    };
    for (const auto& ratio : kRatios)
        for (const uint32_t bits : {8u, 16u})
            for (const uint32_t channels : {1u, 3u, 4u})
                for (const uint32_t bands : {1u, 2u})
                    ExpectFastMatchesPlain(method(), {bits, channels, ratio[0], ratio[1], lumo::WholeImage(ratio[0]),
                                                      0, 0, bands, 0, Fill::kBlocks});
}

LUMO_INSTANTIATE_ON_EACH_TARGET(Differential, ::testing::ValuesIn(lumo::kResizeMethods));

}  // namespace
