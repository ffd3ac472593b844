#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "lumomath/LumoUtility.h"

namespace {

namespace fs = std::filesystem;

class DebugDump : public ::testing::Test {
protected:
    void SetUp() override {
        previous_ = fs::current_path();
        std::string pattern = (fs::temp_directory_path() / "lumo_dump_XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
        fs::current_path(dir_);  // a file named from a null base name would land here too
    }
    void TearDown() override {
        fs::current_path(previous_);
        fs::remove_all(dir_);
    }
    std::string Base() const { return (dir_ / "img").string(); }
    std::vector<fs::path> Files() const { return {fs::directory_iterator(dir_), fs::directory_iterator()}; }

    fs::path dir_, previous_;
};

// The valid region is truncated in the file name: (1,0)(2x1).
CLumoImage MakeImage(int32_t kind, int32_t layout, int32_t bits, int32_t width, int32_t height, uint32_t rowBytes = 0) {
    return CLumoImage{kind, layout, bits, width, height, rowBytes, {1.9, 0.0, 2.99, 1.5}, {}};
}

// Every sample byte is distinct and row padding is 0xEE, so a sample from the
// wrong plane, pixel or row, or a padding byte in the file, shows.
TEST_F(DebugDump, WritesEachPixelsSamplesInPlaneOrderWithoutRowPadding) {
    const struct { int32_t kind, layout, bits, width, height; uint32_t rowBytes; int samples; } cases[] = {
        {3, kLumoImageLayoutChunky, 16, 3, 2, 24, 3},  // blue-green-red, rows padded from 18 bytes
        {5, kLumoImageLayoutPlanar, 8, 5, 3, 0, 4},    // four planes interleaved
        {3, kLumoImageLayoutPlanar, 16, 2, 2, 6, 3},   // plane 0 (blue) first, as in the chunky form
        {1, kLumoImageLayoutChunky, 8, 4, 3, 0, 1}, {12, kLumoImageLayoutChunky, 8, 4, 3, 0, 1},
        {1, kLumoImageLayoutPlanar, 8, 4, 3, 0, 1}, {7, kLumoImageLayoutPlanar, 8, 4, 3, 0, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "kind " << c.kind << " layout " << c.layout << " bits " << c.bits);
        const bool planar = c.layout == kLumoImageLayoutPlanar;
        const int sampleBytes = c.bits / 8, planes = planar ? c.samples : 1;
        const uint32_t rowBytes = c.rowBytes != 0 ? c.rowBytes : c.width * (c.samples / planes) * sampleBytes;
        std::vector<unsigned char> plane[4], expected;
        for (int p = 0; p < planes; ++p) plane[p].assign(rowBytes * c.height, 0xEE);
        for (int y = 0; y < c.height; ++y)
            for (int x = 0; x < c.width; ++x)
                for (int s = 0; s < c.samples; ++s)
                    for (int b = 0; b < sampleBytes; ++b) {
                        const int column = planar ? x : x * c.samples + s;
                        expected.push_back(static_cast<unsigned char>(expected.size()));
                        plane[planar ? s : 0][y * rowBytes + column * sampleBytes + b] = expected.back();
                    }
        CLumoImage image = MakeImage(c.kind, c.layout, c.bits, c.width, c.height, c.rowBytes);
        for (int p = 0; p < planes; ++p) image.plane[p] = plane[p].data();
        __saveImage(&image, Base().c_str());

        const fs::path file = Base() + "_size(" + std::to_string(c.width) + "x" + std::to_string(c.height) +
                              ")_valid(1,0)(2x1).raw";
        ASSERT_EQ(Files(), std::vector<fs::path>{file});
        std::ifstream in(file, std::ios::binary);
        EXPECT_EQ(std::vector<unsigned char>(std::istreambuf_iterator<char>(in), {}), expected);
        fs::remove(file);
    }
}

TEST_F(DebugDump, NothingIsCreatedWhenTheImageCannotBeReadOrTheFileOpened) {
    unsigned char a[64] = {}, b[64] = {};
    CLumoImage missingPlane = MakeImage(2, kLumoImageLayoutPlanar, 8, 4, 4);  // plane 2 is null
    CLumoImage noChunkyForm = MakeImage(4, kLumoImageLayoutChunky, 8, 4, 4);
    CLumoImage negative = MakeImage(1, kLumoImageLayoutChunky, 8, -4, 4);
    CLumoImage noDepth = MakeImage(1, kLumoImageLayoutChunky, 4, 4, 4);
    CLumoImage fine = MakeImage(1, kLumoImageLayoutChunky, 8, 4, 4);
    for (CLumoImage* image : {&missingPlane, &noChunkyForm, &negative, &noDepth, &fine}) image->plane[0] = a;
    missingPlane.plane[1] = b;
    for (CLumoImage* image : {&missingPlane, &noChunkyForm, &negative, &noDepth}) __saveImage(image, Base().c_str());
    __saveImage(nullptr, Base().c_str());
    __saveImage(&fine, nullptr);
    __saveImage(&fine, (dir_ / "missing" / "img").string().c_str());
    EXPECT_TRUE(Files().empty());
}

}  // namespace
