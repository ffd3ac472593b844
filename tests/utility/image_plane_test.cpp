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

// Four distinct planes; chunky images use plane 0 only.
struct PlaneImage {
    unsigned char planes[4][16] = {};
    CLumoImage image;

    PlaneImage(int32_t kind, int32_t layout, int32_t bits)
        : image{kind, layout, bits, 0, 0, 0, {}, {planes[0], planes[1], planes[2], planes[3]}} {}
};

TEST(ImagePlanes, ChannelIndexAndPlaneOfEveryKindLayoutAndDepth) {
    // Channel types 5 and 42 lie outside the named ones (6 red ... 11 PlaneC).
    constexpr int32_t kTypes[] = {5, 6, 7, 8, 9, 10, 11, 42};
    constexpr int N = -1;
    // Per type: its plane in a planar image and its index in a chunky pixel (N: none). Single-plane
    // kinds answer plane 0 in every layout but planar.
    const struct { int32_t kind; int planar[8], chunky[8]; bool single; } kinds[] = {
        {1, {0, 0, 0, 0, 0, 0, 0, 0}, {N, N, N, N, N, N, N, N}, true},
        {2, {N, 0, 1, 2, N, N, N, N}, {N, 0, 1, 2, N, N, N, N}, false},
        {3, {N, 2, 1, 0, N, N, N, N}, {N, 2, 1, 0, N, N, N, N}, false},
        {4, {N, N, N, N, 0, 1, 2, N}, {N, N, N, N, N, N, N, N}, false},
        {5, {N, 0, 1, 2, 3, N, N, N}, {N, 0, 1, 2, 3, N, N, N}, false},
        {6, {0, 0, 0, 0, 0, 0, 0, 0}, {N, N, N, N, N, N, N, N}, false},
        {11, {0, 0, 0, 0, 0, 0, 0, 0}, {N, N, N, N, N, N, N, N}, false},
        {12, {0, 0, 0, 0, 0, 0, 0, 0}, {N, N, N, N, N, N, N, N}, true},
        {0, {N, N, N, N, N, N, N, N}, {N, N, N, N, N, N, N, N}, false},
        {13, {N, N, N, N, N, N, N, N}, {N, N, N, N, N, N, N, N}, false}};
    for (const auto& k : kinds) {
        for (int i = 0; i < 8; ++i) {
            SCOPED_TRACE(::testing::Message() << "kind " << k.kind << " type " << kTypes[i]);
            const auto type = static_cast<LumoImagePixelType>(kTypes[i]);
            PlaneImage planar(k.kind, kLumoImageLayoutPlanar, 8);
            EXPECT_EQ(planar.image.getPlane(type), k.planar[i] < 0 ? nullptr : planar.planes[k.planar[i]]);
            EXPECT_EQ(planar.image.getChannelIndexOfChunkyPixel(type), -1);
            for (int32_t bits : {8, 16}) {
                PlaneImage chunky(k.kind, kLumoImageLayoutChunky, bits);
                EXPECT_EQ(chunky.image.getChannelIndexOfChunkyPixel(type), k.chunky[i]) << bits;
                const void* expected = k.single          ? chunky.planes[0]
                                       : k.chunky[i] < 0 ? nullptr
                                                         : chunky.planes[0] + bits / 8 * k.chunky[i];
                EXPECT_EQ(chunky.image.getPlane(type), expected) << bits;
            }
            for (int32_t layout : {0, 3}) {  // no chunky pixel either
                PlaneImage other(k.kind, layout, 16);
                EXPECT_EQ(other.image.getChannelIndexOfChunkyPixel(type), -1) << layout;
                EXPECT_EQ(other.image.getPlane(type), k.single ? other.planes[0] : nullptr) << layout;
            }
        }
    }
}

TEST(ImagePlanes, ChunkyChannelsOfANullPlaneOrANegativeDepthAreNull) {
    PlaneImage nullPlane(5, kLumoImageLayoutChunky, 16), negative(5, kLumoImageLayoutChunky, -16);
    nullPlane.image.plane[0] = nullptr;
    for (int32_t type : {6, 7, 8, 9}) EXPECT_EQ(nullPlane.image.getPlane(LumoImagePixelType(type)), nullptr) << type;
    for (int32_t type : {7, 8, 9}) EXPECT_EQ(negative.image.getPlane(LumoImagePixelType(type)), nullptr) << type;
}

TEST(PointerLists, HasNullPointerAndReleaseFreesEveryBlockKeepingTheLength) {
    int a = 0, b = 0;
    std::vector<void*> none, full{&a, &b}, first{nullptr, &a}, last{&a, &b, nullptr};
    EXPECT_FALSE(__hasNULLPointer(none) || __hasNULLPointer(full));
    EXPECT_TRUE(__hasNULLPointer(first) && __hasNULLPointer(last));

    std::vector<void*> list{std::malloc(16), nullptr, std::malloc(1), std::malloc(4096)};
    __releasePointerList(list);  // a leak or a double free shows under the sanitizers
    EXPECT_EQ(list, std::vector<void*>(4, nullptr));
    __releasePointerList(list);
}

TEST(RandomTable, GeneratorOutputsFromSeedOneOverTheWholeRange) {
    EXPECT_EQ(std::vector<int32_t>(s_random_table, s_random_table + 10),
              (std::vector<int32_t>{41, 18467, 6334, 26500, 19169, 15724, 11478, 29358, 26962, 24464}));
    const auto [lowest, highest] = std::minmax_element(std::begin(s_random_table), std::end(s_random_table));
    EXPECT_GE(*lowest, 0);
    EXPECT_LE(*highest, 32767);
    EXPECT_GT(*highest - *lowest, 32000);
}

TEST(RandomTable, ValueIsTheEntryFoldedIntoTheModeRange) {
    const struct { int32_t index; uint32_t mode; int32_t expected; } cases[] = {
        {0, 4, -5},                          // 41 mod 31 - 15
        {-7, 1, 1}, {-1, 2, 3},              // a negative index reads entry 0 (41 mod 3 - 1, 41 mod 7 - 3),
        {-4095, 4, -5}, {INT32_MIN, 4, -5},  // not the entry of its low bits
        {4096, 2, 3}, {4097, 2, -2},         // wraps to entry 0: 41 mod 7 - 3; 18467 mod 7 = 1
        {1, 4, 7}, {3, 1, 0},                // 18467 mod 31 = 22; 26500 mod 3 = 1
        {0, 3, 0}, {5, 99, 0}};              // any other mode gives 0
    for (const auto& c : cases) EXPECT_EQ(getRandomValue(c.index, c.mode), c.expected) << c.index << " " << c.mode;
}

}  // namespace
