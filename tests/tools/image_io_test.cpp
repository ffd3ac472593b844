// PNG and TIFF files written and read back sample for sample.
#include "image_io.h"

#include <gtest/gtest.h>

#include <fstream>

#include "scratch_dir.h"

namespace lumotool {
namespace {

TEST(ToolImageFiles, RoundTripEveryLayout) {
    ScratchDir dir;
    for (const char* ext : {".png", ".tif"})
        for (uint32_t bits : {8u, 16u})
            for (uint32_t channels = 1; channels <= 4; ++channels) {
                const std::string path = dir / ("image" + std::to_string(bits) + "_" + std::to_string(channels) + ext);
                SCOPED_TRACE(path);
                // Odd sizes catch row strides mistaken for width * channels rounded up.
                const Image image = RandomImage(37, 11, channels, bits, bits * 10 + channels);
                WriteImage(path, image);
                ExpectSameImage(ReadImage(path), image);
            }
}

TEST(ToolImageFiles, FormatIsReadFromContentNotName) {
    ScratchDir dir;
    const Image image = RandomImage(5, 4, 3, 16, 7);
    WriteImage(dir / "a.TIFF", image);
    std::filesystem::rename(dir / "a.TIFF", dir / "a.png");
    ExpectSameImage(ReadImage(dir / "a.png"), image);
}

TEST(ToolImageFiles, RejectsWhatItCannotRead) {
    ScratchDir dir;
    std::ofstream(dir / "text.png") << "not an image at all";
    std::ofstream(dir / "empty.png");
    // A PNG signature followed by garbage.
    std::ofstream(dir / "broken.png", std::ios::binary) << "\x89PNG\r\n\x1a\n garbage garbage garbage";
    std::ofstream(dir / "broken.tif", std::ios::binary) << "II*\x00 garbage";
    for (const char* name : {"text.png", "empty.png", "broken.png", "broken.tif", "missing.png", ""}) {
        SCOPED_TRACE(name);
        EXPECT_THROW(ReadImage(dir / name), ToolError);
    }
}

TEST(ToolImageFiles, FailedWriteLeavesNothingBehind) {
    ScratchDir dir;
    EXPECT_THROW(WriteImage(dir / "out.bmp", RandomImage(2, 2, 1, 8, 1)), ToolError);
    EXPECT_THROW(WriteImage(dir / "missing/out.png", RandomImage(2, 2, 1, 8, 1)), ToolError);
    // The target is a directory: the temporary file is written, the rename fails.
    std::filesystem::create_directory(dir / "taken.png");
    EXPECT_THROW(WriteImage(dir / "taken.png", RandomImage(2, 2, 1, 8, 1)), ToolError);
    EXPECT_EQ(dir.Names(), std::set<std::string>{"taken.png"});
}

TEST(ToolImageFiles, OutputFormatFromExtension) {
    EXPECT_EQ(FormatFromPath("a.PNG"), FileFormat::kPng);
    EXPECT_EQ(FormatFromPath("dir.tif/a.tiff"), FileFormat::kTiff);
    EXPECT_EQ(FormatFromPath("a.Tif"), FileFormat::kTiff);
    for (const char* bad : {"a.jpg", "png", "a.png.bak", "a"}) EXPECT_THROW(FormatFromPath(bad), ToolError) << bad;
}

}  // namespace
}  // namespace lumotool
