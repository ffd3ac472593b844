// The dither table: the first 4096 outputs of the classic linear congruential
// generator seeded with 1, built at compile time so that it lives in the
// library's constant data.
#include <array>
#include <cstdint>

#include "lumomath/LumoUtility.h"

namespace {

constexpr std::array<int32_t, 4096> GenerateRandomTable() {
    std::array<int32_t, 4096> table{};
    uint32_t x = 1;
    for (int32_t& value : table) {
        x = x * 214013u + 2531011u;
        value = static_cast<int32_t>((x >> 16) & 0x7FFFu);
    }
    return table;
}

constexpr std::array<int32_t, 4096> kRandom = GenerateRandomTable();
static_assert(kRandom[0] == 41 && kRandom[1] == 18467 && kRandom[2] == 6334 && kRandom[3] == 26500);

}  // namespace

// The exported object must be a plain array; its initialiser is spelled out
// element by element from the generated table.
#define LUMO_RANDOM_4(i) kRandom[(i)], kRandom[(i) + 1], kRandom[(i) + 2], kRandom[(i) + 3]
#define LUMO_RANDOM_16(i) LUMO_RANDOM_4(i), LUMO_RANDOM_4((i) + 4), LUMO_RANDOM_4((i) + 8), LUMO_RANDOM_4((i) + 12)
#define LUMO_RANDOM_64(i) \
    LUMO_RANDOM_16(i), LUMO_RANDOM_16((i) + 16), LUMO_RANDOM_16((i) + 32), LUMO_RANDOM_16((i) + 48)
#define LUMO_RANDOM_256(i) \
    LUMO_RANDOM_64(i), LUMO_RANDOM_64((i) + 64), LUMO_RANDOM_64((i) + 128), LUMO_RANDOM_64((i) + 192)
#define LUMO_RANDOM_1024(i) \
    LUMO_RANDOM_256(i), LUMO_RANDOM_256((i) + 256), LUMO_RANDOM_256((i) + 512), LUMO_RANDOM_256((i) + 768)

constinit const int32_t s_random_table[4096] = {LUMO_RANDOM_1024(0), LUMO_RANDOM_1024(1024), LUMO_RANDOM_1024(2048),
                                                LUMO_RANDOM_1024(3072)};

#undef LUMO_RANDOM_1024
#undef LUMO_RANDOM_256
#undef LUMO_RANDOM_64
#undef LUMO_RANDOM_16
#undef LUMO_RANDOM_4

int32_t getRandomValue(int32_t index, uint32_t mode) {
    const int32_t v = s_random_table[index < 0 ? 0 : (index & 0xFFF)];
    switch (mode) {
        case 4: return v % 31 - 15;
        case 2: return v % 7 - 3;
        case 1: return v % 3 - 1;
        default: return 0;
    }
}
