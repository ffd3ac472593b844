// PNG through libpng. libpng reports errors by longjmp, so every call that
// can fail runs inside a small function whose locals are all trivial; the
// C++ objects (the image, the row table) live in the callers.
#include <png.h>

#include <bit>
#include <csetjmp>
#include <vector>

#include "image_io.h"

namespace lumotool {
namespace {

struct PngState {
    png_structp png = nullptr;
    png_infop info = nullptr;
    char message[200] = {};
};

[[noreturn]] void OnPngError(png_structp png, png_const_charp message) {
    auto* state = static_cast<PngState*>(png_get_error_ptr(png));
    std::snprintf(state->message, sizeof state->message, "%s", message);
    png_longjmp(png, 1);
}

void OnPngWarning(png_structp, png_const_charp) {}

struct PngHeader {
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    int bitDepth = 0;
    int colorType = 0;
    int channels = 0;
};

// Reads the header and sets up the transforms that give interleaved 8- or
// 16-bit samples in native order: palettes become RGB (or RGBA with a
// transparency chunk), interlacing is undone.
bool ReadPngHeader(PngState& s, std::FILE* file, PngHeader& header) {
    if (setjmp(png_jmpbuf(s.png))) return false;
    png_init_io(s.png, file);
    png_read_info(s.png, s.info);
    int interlace = 0;
    png_get_IHDR(s.png, s.info, &header.width, &header.height, &header.bitDepth, &header.colorType, &interlace,
                 nullptr, nullptr);
    if (header.colorType == PNG_COLOR_TYPE_PALETTE) {
        png_set_palette_to_rgb(s.png);
        if (png_get_valid(s.png, s.info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(s.png);
        header.bitDepth = 8;
    }
    if (header.bitDepth == 16 && std::endian::native == std::endian::little) png_set_swap(s.png);
    png_set_interlace_handling(s.png);
    png_read_update_info(s.png, s.info);
    header.channels = png_get_channels(s.png, s.info);
    return true;
}

bool ReadPngRows(PngState& s, png_bytepp rows) {
    if (setjmp(png_jmpbuf(s.png))) return false;
    png_read_image(s.png, rows);
    png_read_end(s.png, nullptr);
    return true;
}

bool WritePngAll(PngState& s, std::FILE* file, const PngHeader& header, png_bytepp rows) {
    if (setjmp(png_jmpbuf(s.png))) return false;
    png_init_io(s.png, file);
    png_set_IHDR(s.png, s.info, header.width, header.height, header.bitDepth, header.colorType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(s.png, s.info);
    if (header.bitDepth == 16 && std::endian::native == std::endian::little) png_set_swap(s.png);
    png_write_image(s.png, rows);
    png_write_end(s.png, nullptr);
    return true;
}

template <typename ImageT>
std::vector<png_bytep> RowTable(ImageT& image) {
    std::vector<png_bytep> rows(image.height);
    for (uint32_t y = 0; y < image.height; ++y) rows[y] = const_cast<png_bytep>(image.Row(y));
    return rows;
}

}  // namespace

Image ReadPng(std::FILE* file, const std::string& name) {
    PngState s;
    s.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &s, OnPngError, OnPngWarning);
    if (s.png) s.info = png_create_info_struct(s.png);
    struct Cleanup {
        PngState& s;
        ~Cleanup() { png_destroy_read_struct(&s.png, s.info ? &s.info : nullptr, nullptr); }
    } cleanup{s};
    if (!s.info) throw ToolError("not enough memory to read '" + name + "'");

    PngHeader header;
    if (!ReadPngHeader(s, file, header)) throw ToolError("cannot decode '" + name + "': " + s.message);
    if (header.bitDepth != 8 && header.bitDepth != 16)
        throw ToolError("'" + name + "' has " + std::to_string(header.bitDepth) +
                        "-bit samples; only 8- and 16-bit images are supported");
    Image image = Image::Make(header.width, header.height, static_cast<uint32_t>(header.channels),
                              static_cast<uint32_t>(header.bitDepth));
    std::vector<png_bytep> rows = RowTable(image);
    if (!ReadPngRows(s, rows.data())) throw ToolError("cannot decode '" + name + "': " + s.message);
    return image;
}

void WritePng(std::FILE* file, const Image& image, const std::string& name) {
    static constexpr int kColorTypes[5] = {0, PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                                           PNG_COLOR_TYPE_RGBA};
    if (image.channels < 1 || image.channels > 4) throw ToolError("cannot write '" + name + "': PNG holds 1 to 4 channels");
    PngState s;
    s.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &s, OnPngError, OnPngWarning);
    if (s.png) s.info = png_create_info_struct(s.png);
    struct Cleanup {
        PngState& s;
        ~Cleanup() { png_destroy_write_struct(&s.png, s.info ? &s.info : nullptr); }
    } cleanup{s};
    if (!s.info) throw ToolError("not enough memory to write '" + name + "'");
    PngHeader header{image.width, image.height, static_cast<int>(image.bits), kColorTypes[image.channels],
                     static_cast<int>(image.channels)};
    std::vector<png_bytep> rows = RowTable(image);
    if (!WritePngAll(s, file, header, rows.data())) throw ToolError("cannot write '" + name + "': " + s.message);
}

}  // namespace lumotool
