// PNG and TIFF files written and read back sample for sample.
#include "image_io.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <fstream>
#include <vector>

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

struct TiffLayout {
    const char* name;
    uint16_t bits, channels, format, photometric;
    bool tiled;
    const char* refusal;  // nullptr: readable
};

// A 16x16 TIFF of zeros in a layout the tool may or may not read.
void WriteRawTiff(const std::string& path, const TiffLayout& l) {
    TIFF* t = TIFFOpen(path.c_str(), "w");
    ASSERT_NE(t, nullptr);
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, 16u);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, 16u);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, l.bits);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, l.channels);
    TIFFSetField(t, TIFFTAG_SAMPLEFORMAT, l.format);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, l.photometric);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    if (l.photometric == PHOTOMETRIC_PALETTE) {
        std::vector<uint16_t> map(size_t{1} << l.bits, 0);
        TIFFSetField(t, TIFFTAG_COLORMAP, map.data(), map.data(), map.data());
    }
    if (l.channels > 3) {
        std::vector<uint16_t> extra(l.channels - 3u, EXTRASAMPLE_UNSPECIFIED);
        TIFFSetField(t, TIFFTAG_EXTRASAMPLES, static_cast<uint16_t>(extra.size()), extra.data());
    }
    const size_t row = size_t{16} * l.channels * l.bits / 8;
    if (l.tiled) {
        TIFFSetField(t, TIFFTAG_TILEWIDTH, 16u);
        TIFFSetField(t, TIFFTAG_TILELENGTH, 16u);
        std::vector<uint8_t> tile(row * 16, 0);
        TIFFWriteEncodedTile(t, 0, tile.data(), static_cast<tmsize_t>(tile.size()));
    } else {
        std::vector<uint8_t> zeros(row, 0);
        for (uint32_t y = 0; y < 16; ++y) TIFFWriteScanline(t, zeros.data(), y, 0);
    }
    TIFFClose(t);
}

TEST(ToolImageFiles, TiffLayouts) {
    ScratchDir dir;
    const TiffLayout layouts[] = {
        {"gray8", 8, 1, SAMPLEFORMAT_UINT, PHOTOMETRIC_MINISBLACK, false, nullptr},
        {"rgba16", 16, 4, SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB, false, nullptr},
        {"palette", 8, 1, SAMPLEFORMAT_UINT, PHOTOMETRIC_PALETTE, false, "colour model"},
        {"float", 32, 1, SAMPLEFORMAT_IEEEFP, PHOTOMETRIC_MINISBLACK, false, "32-bit samples"},
        {"signed", 16, 1, SAMPLEFORMAT_INT, PHOTOMETRIC_MINISBLACK, false, "signed"},
        {"five", 8, 5, SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB, false, "5 channels"},
        {"tiled", 8, 3, SAMPLEFORMAT_UINT, PHOTOMETRIC_RGB, true, "tiled"},
    };
    for (const TiffLayout& l : layouts) {
        SCOPED_TRACE(l.name);
        const std::string path = dir / (std::string(l.name) + ".tif");
        WriteRawTiff(path, l);
        try {
            const Image image = ReadImage(path);
            EXPECT_EQ(l.refusal, nullptr) << "read although it should not be";
            EXPECT_EQ(image.channels, l.channels);
            EXPECT_EQ(image.bits, l.bits);
        } catch (const ToolError& e) {
            ASSERT_NE(l.refusal, nullptr) << e.what();
            EXPECT_NE(std::string(e.what()).find(l.refusal), std::string::npos) << e.what();
        }
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
