#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <cstring>
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
        std::string pattern = (fs::temp_directory_path() / "lumo_dump_XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string Base() const { return (dir_ / "img").string(); }

    std::vector<fs::path> Files() const {
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(dir_)) files.push_back(entry.path());
        return files;
    }

    static std::vector<unsigned char> ReadAll(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    fs::path dir_;
};

CLumoImage MakeImage(int32_t kind, int32_t layout, int32_t bits, int32_t width, int32_t height) {
    CLumoImage image{};
    image.kind = kind;
    image.layout = layout;
    image.bitsPerSample = bits;
    image.width = width;
    image.height = height;
    image.validRegion = tagLumoFRect{1.9, 0.0, 2.99, 1.5};
    return image;
}

void Append16(std::vector<unsigned char>& bytes, uint16_t v) {
    unsigned char b[2];
    std::memcpy(b, &v, 2);
    bytes.insert(bytes.end(), b, b + 2);
}

TEST_F(DebugDump, ChunkyRowsAreWrittenWithoutTheirPadding) {
    // 16-bit blue-green-red pixels, 3 x 2, rows padded from 18 to 24 bytes.
    constexpr int kWidth = 3, kHeight = 2, kRowBytes = 24;
    std::vector<unsigned char> pixels(kRowBytes * kHeight, 0xEE);
    std::vector<unsigned char> expected;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            for (int c = 0; c < 3; ++c) {
                const auto v = static_cast<uint16_t>(0x1000 * y + 0x100 * x + c + 0x0A0B);
                std::memcpy(&pixels[y * kRowBytes + (x * 3 + c) * 2], &v, 2);
                Append16(expected, v);
            }
    CLumoImage image = MakeImage(3, kLumoImageLayoutChunky, 16, kWidth, kHeight);
    image.rowBytes = kRowBytes;
    image.plane[0] = pixels.data();
    __saveImage(&image, Base().c_str());

    const fs::path file = Base() + "_size(3x2)_valid(1,0)(2x1).raw";
    ASSERT_EQ(Files(), std::vector<fs::path>{file});
    EXPECT_EQ(ReadAll(file), expected);
}

TEST_F(DebugDump, PlanarColourIsInterleavedInPlaneOrder) {
    // 8-bit red, green, blue and a fourth channel in four tightly packed planes.
    constexpr int kWidth = 5, kHeight = 3;
    std::vector<unsigned char> planes[4];
    for (int p = 0; p < 4; ++p) {
        planes[p].resize(kWidth * kHeight);
        for (int i = 0; i < kWidth * kHeight; ++i) planes[p][i] = static_cast<unsigned char>(16 * p + i);
    }
    std::vector<unsigned char> expected;
    for (int i = 0; i < kWidth * kHeight; ++i)
        for (int p = 0; p < 4; ++p) expected.push_back(planes[p][i]);
    CLumoImage image = MakeImage(5, kLumoImageLayoutPlanar, 8, kWidth, kHeight);
    for (int p = 0; p < 4; ++p) image.plane[p] = planes[p].data();
    image.validRegion = tagLumoFRect{0, 0, 5, 3};
    __saveImage(&image, Base().c_str());

    const fs::path file = Base() + "_size(5x3)_valid(0,0)(5x3).raw";
    ASSERT_EQ(Files(), std::vector<fs::path>{file});
    EXPECT_EQ(ReadAll(file), expected);
}

TEST_F(DebugDump, PlanarSixteenBitKeepsItsSamplesAndSkipsPadding) {
    // Blue-green-red planes: plane 0 holds blue, so blue comes first, as in
    // the chunky form of the same kind.
    constexpr int kWidth = 2, kHeight = 2, kRowBytes = 6;
    std::vector<unsigned char> planes[3];
    std::vector<unsigned char> expected;
    for (auto& plane : planes) plane.assign(kRowBytes * kHeight, 0xEE);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            for (int p = 0; p < 3; ++p) {
                const auto v = static_cast<uint16_t>(1000 * p + 10 * y + x + 0x8000);
                std::memcpy(&planes[p][y * kRowBytes + x * 2], &v, 2);
                Append16(expected, v);
            }
    CLumoImage image = MakeImage(3, kLumoImageLayoutPlanar, 16, kWidth, kHeight);
    image.rowBytes = kRowBytes;
    for (int p = 0; p < 3; ++p) image.plane[p] = planes[p].data();
    __saveImage(&image, Base().c_str());

    const fs::path file = Base() + "_size(2x2)_valid(1,0)(2x1).raw";
    ASSERT_EQ(Files(), std::vector<fs::path>{file});
    EXPECT_EQ(ReadAll(file), expected);
}

struct SinglePlaneCase {
    int32_t kind, layout;
};

class DebugDumpSinglePlane : public DebugDump, public ::testing::WithParamInterface<SinglePlaneCase> {};

TEST_P(DebugDumpSinglePlane, WritesPlaneZeroAsStored) {
    std::vector<unsigned char> pixels(4 * 3);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(200 - i);
    CLumoImage image = MakeImage(GetParam().kind, GetParam().layout, 8, 4, 3);
    image.plane[0] = pixels.data();
    image.plane[1] = nullptr;  // not needed
    __saveImage(&image, Base().c_str());

    const fs::path file = Base() + "_size(4x3)_valid(1,0)(2x1).raw";
    ASSERT_EQ(Files(), std::vector<fs::path>{file});
    EXPECT_EQ(ReadAll(file), pixels);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DebugDumpSinglePlane,
                         ::testing::Values(SinglePlaneCase{1, kLumoImageLayoutChunky},
                                           SinglePlaneCase{12, kLumoImageLayoutChunky},
                                           SinglePlaneCase{1, kLumoImageLayoutPlanar},
                                           SinglePlaneCase{7, kLumoImageLayoutPlanar}));

TEST_F(DebugDump, NothingIsCreatedWhenTheImageCannotBeRead) {
    unsigned char a[64] = {}, b[64] = {};
    CLumoImage missingPlane = MakeImage(2, kLumoImageLayoutPlanar, 8, 4, 4);
    missingPlane.plane[0] = a;
    missingPlane.plane[1] = b;  // plane 2 is null
    CLumoImage noChunkyForm = MakeImage(4, kLumoImageLayoutChunky, 8, 4, 4);
    noChunkyForm.plane[0] = a;
    CLumoImage negative = MakeImage(1, kLumoImageLayoutChunky, 8, -4, 4);
    negative.plane[0] = a;
    CLumoImage noDepth = MakeImage(1, kLumoImageLayoutChunky, 4, 4, 4);
    noDepth.plane[0] = a;
    for (CLumoImage* image : {&missingPlane, &noChunkyForm, &negative, &noDepth}) __saveImage(image, Base().c_str());
    __saveImage(nullptr, Base().c_str());
    CLumoImage fine = MakeImage(1, kLumoImageLayoutChunky, 8, 4, 4);
    fine.plane[0] = a;
    __saveImage(&fine, nullptr);
    EXPECT_TRUE(Files().empty());
}

TEST_F(DebugDump, AnUnopenableFileIsSilentlySkipped) {
    unsigned char a[16] = {};
    CLumoImage image = MakeImage(1, kLumoImageLayoutChunky, 8, 4, 4);
    image.plane[0] = a;
    __saveImage(&image, (dir_ / "missing" / "img").string().c_str());
    EXPECT_TRUE(Files().empty());
}

}  // namespace
