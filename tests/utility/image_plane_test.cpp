#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <vector>

#include "lumomath/LumoUtility.h"

namespace {

static_assert(std::is_trivial_v<CLumoImage> && std::is_standard_layout_v<CLumoImage>,
              "the host fills the image object in directly");
static_assert(std::is_same_v<__LumoObject, CLumoImage>);

constexpr int32_t kPlanar = kLumoImageLayoutPlanar;
constexpr int32_t kChunky = kLumoImageLayoutChunky;

LumoImagePixelType Type(int32_t v) { return static_cast<LumoImagePixelType>(v); }

// Four distinct planes; chunky images use plane 0 only.
struct PlaneImage {
    unsigned char planes[4][16] = {};
    CLumoImage image{};

    PlaneImage(int32_t kind, int32_t layout, int32_t bits) {
        image.kind = kind;
        image.layout = layout;
        image.bitsPerSample = bits;
        for (int p = 0; p < 4; ++p) image.plane[p] = planes[p];
    }
};

struct ChunkyIndexCase {
    int32_t kind, type, index;
};

class ChunkyChannelIndex : public ::testing::TestWithParam<ChunkyIndexCase> {};

TEST_P(ChunkyChannelIndex, PositionWithinThePixel) {
    const ChunkyIndexCase& c = GetParam();
    PlaneImage chunky(c.kind, kChunky, 16);
    EXPECT_EQ(chunky.image.getChannelIndexOfChunkyPixel(Type(c.type)), c.index);
    // Any other layout has no chunky pixel.
    for (int32_t layout : {kPlanar, 0, 3}) {
        PlaneImage other(c.kind, layout, 16);
        EXPECT_EQ(other.image.getChannelIndexOfChunkyPixel(Type(c.type)), -1) << layout;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ChunkyChannelIndex,
    ::testing::Values(ChunkyIndexCase{3, 6, 2}, ChunkyIndexCase{3, 7, 1}, ChunkyIndexCase{3, 8, 0},
                      ChunkyIndexCase{3, 9, -1}, ChunkyIndexCase{2, 6, 0}, ChunkyIndexCase{2, 7, 1},
                      ChunkyIndexCase{2, 8, 2}, ChunkyIndexCase{2, 9, -1}, ChunkyIndexCase{5, 6, 0},
                      ChunkyIndexCase{5, 7, 1}, ChunkyIndexCase{5, 8, 2}, ChunkyIndexCase{5, 9, 3},
                      ChunkyIndexCase{5, 10, -1}, ChunkyIndexCase{5, 5, -1}, ChunkyIndexCase{1, 6, -1},
                      ChunkyIndexCase{4, 9, -1}, ChunkyIndexCase{12, 6, -1}, ChunkyIndexCase{0, 6, -1}));

struct PlanarCase {
    int32_t kind, type, plane;  // plane -1: null
};

class PlanarPlane : public ::testing::TestWithParam<PlanarCase> {};

TEST_P(PlanarPlane, ChannelToPlaneByKind) {
    const PlanarCase& c = GetParam();
    PlaneImage planar(c.kind, kPlanar, 8);
    void* expected = c.plane < 0 ? nullptr : planar.planes[c.plane];
    EXPECT_EQ(planar.image.getPlane(Type(c.type)), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, PlanarPlane,
    ::testing::Values(PlanarCase{1, 6, 0}, PlanarCase{1, 42, 0}, PlanarCase{6, 9, 0}, PlanarCase{9, 0, 0},
                      PlanarCase{11, 8, 0}, PlanarCase{12, 7, 0}, PlanarCase{2, 6, 0}, PlanarCase{2, 7, 1},
                      PlanarCase{2, 8, 2}, PlanarCase{2, 9, -1}, PlanarCase{3, 8, 0}, PlanarCase{3, 7, 1},
                      PlanarCase{3, 6, 2}, PlanarCase{3, 9, -1}, PlanarCase{4, 9, 0}, PlanarCase{4, 10, 1},
                      PlanarCase{4, 11, 2}, PlanarCase{4, 6, -1}, PlanarCase{5, 6, 0}, PlanarCase{5, 7, 1},
                      PlanarCase{5, 8, 2}, PlanarCase{5, 9, 3}, PlanarCase{5, 10, -1}, PlanarCase{0, 6, -1},
                      PlanarCase{13, 6, -1}, PlanarCase{-1, 6, -1}));

struct ChunkyPlaneCase {
    int32_t kind, layout, bits, type, offset;  // offset -1: null
};

class ChunkyPlane : public ::testing::TestWithParam<ChunkyPlaneCase> {};

TEST_P(ChunkyPlane, ChannelAddressWithinPlaneZero) {
    const ChunkyPlaneCase& c = GetParam();
    PlaneImage image(c.kind, c.layout, c.bits);
    void* expected = c.offset < 0 ? nullptr : image.planes[0] + c.offset;
    EXPECT_EQ(image.image.getPlane(Type(c.type)), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ChunkyPlane,
    ::testing::Values(ChunkyPlaneCase{2, kChunky, 8, 6, 0}, ChunkyPlaneCase{2, kChunky, 8, 8, 2},
                      ChunkyPlaneCase{2, kChunky, 16, 7, 2}, ChunkyPlaneCase{2, kChunky, 16, 8, 4},
                      ChunkyPlaneCase{3, kChunky, 16, 6, 4}, ChunkyPlaneCase{3, kChunky, 16, 8, 0},
                      ChunkyPlaneCase{5, kChunky, 16, 9, 6}, ChunkyPlaneCase{5, kChunky, 8, 9, 3},
                      ChunkyPlaneCase{5, kChunky, 8, 11, -1}, ChunkyPlaneCase{2, kChunky, 8, 9, -1},
                      // Kinds 1 and 12 answer plane 0 for any layout but planar.
                      ChunkyPlaneCase{1, kChunky, 16, 99, 0}, ChunkyPlaneCase{12, 0, 8, 6, 0},
                      // Colour kinds of another layout have no chunky index.
                      ChunkyPlaneCase{2, 0, 8, 6, -1}, ChunkyPlaneCase{3, 7, 8, 8, -1},
                      ChunkyPlaneCase{4, kChunky, 8, 9, -1}, ChunkyPlaneCase{6, kChunky, 8, 6, -1},
                      ChunkyPlaneCase{0, kChunky, 8, 6, -1}));

TEST(ChunkyPlaneNull, NullPlaneZeroGivesNull) {
    PlaneImage image(5, kChunky, 16);
    image.image.plane[0] = nullptr;
    for (int32_t type : {6, 7, 8, 9}) EXPECT_EQ(image.image.getPlane(Type(type)), nullptr) << type;
}

// ---- Pointer lists -------------------------------------------------------------------

TEST(PointerLists, HasNullPointer) {
    int a = 0, b = 0;
    std::vector<void*> none;
    EXPECT_FALSE(__hasNULLPointer(none));
    std::vector<void*> full{&a, &b};
    EXPECT_FALSE(__hasNULLPointer(full));
    std::vector<void*> first{nullptr, &a};
    EXPECT_TRUE(__hasNULLPointer(first));
    std::vector<void*> last{&a, &b, nullptr};
    EXPECT_TRUE(__hasNULLPointer(last));
}

TEST(PointerLists, ReleaseFreesEveryBlockAndKeepsTheLength) {
    std::vector<void*> list{std::malloc(16), nullptr, std::malloc(1), std::malloc(4096)};
    __releasePointerList(list);  // a leak or a double free shows under the sanitizers
    ASSERT_EQ(list.size(), 4u);
    for (void* p : list) EXPECT_EQ(p, nullptr);
    __releasePointerList(list);
    std::vector<void*> empty;
    __releasePointerList(empty);
    EXPECT_TRUE(empty.empty());
}

// ---- Dither table ---------------------------------------------------------------------

TEST(RandomTable, GeneratorOutputsFromSeedOne) {
    const int32_t first[] = {41, 18467, 6334, 26500, 19169, 15724, 11478, 29358, 26962, 24464};
    for (int i = 0; i < 10; ++i) EXPECT_EQ(s_random_table[i], first[i]) << i;
    int32_t lowest = 32767, highest = 0;
    for (int32_t v : s_random_table) {
        lowest = std::min(lowest, v);
        highest = std::max(highest, v);
    }
    EXPECT_GE(lowest, 0);
    EXPECT_LE(highest, 32767);
    EXPECT_GT(highest - lowest, 32000);  // spread over the whole range
}

struct RandomCase {
    int32_t index;
    uint32_t mode;
    int32_t expected;
};

class RandomValue : public ::testing::TestWithParam<RandomCase> {};

TEST_P(RandomValue, TableEntryFoldedIntoTheModeRange) {
    EXPECT_EQ(getRandomValue(GetParam().index, GetParam().mode), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Values, RandomValue,
    ::testing::Values(RandomCase{0, 4, -5},        // 41 mod 31 - 15
                      RandomCase{-7, 1, 1},        // negative index reads entry 0: 41 mod 3 - 1
                      RandomCase{4096, 2, 3},      // wraps to entry 0: 41 mod 7 - 3
                      RandomCase{0, 3, 0}, RandomCase{0, 0, 0}, RandomCase{5, 99, 0},
                      RandomCase{1, 4, 7},         // 18467 mod 31 = 22
                      RandomCase{4097, 2, -2},     // 18467 mod 7 = 1
                      RandomCase{3, 1, 0},         // 26500 mod 3 = 1
                      RandomCase{-1, 2, 3}, RandomCase{-4095, 4, -5}, RandomCase{INT32_MIN, 4, -5}));

TEST(RandomValueRange, EveryModeStaysInItsBounds) {
    for (int32_t i = 0; i < 4096; ++i) {
        EXPECT_LE(std::abs(getRandomValue(i, 4)), 15);
        EXPECT_LE(std::abs(getRandomValue(i, 2)), 3);
        EXPECT_LE(std::abs(getRandomValue(i, 1)), 1);
    }
}

}  // namespace
