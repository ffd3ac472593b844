// TIFF through libtiff: unsigned 8- or 16-bit samples, 1 to 4 interleaved
// channels, strips of any compression libtiff decodes.
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <memory>

#include "image_io.h"

namespace lumotool {
namespace {

// libtiff's messages go to this buffer rather than to stderr, so that the
// tool prints one line of its own.
struct TiffMessages {
    char last[200] = {};
};

int OnTiffError(TIFF*, void* user, const char*, const char* format, va_list args) {
    auto* messages = static_cast<TiffMessages*>(user);
    std::vsnprintf(messages->last, sizeof messages->last, format, args);
    return 1;
}

int OnTiffWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct OptionsFree {
    void operator()(TIFFOpenOptions* o) const { TIFFOpenOptionsFree(o); }
};
struct TiffClose {
    void operator()(TIFF* t) const { TIFFClose(t); }
};
using TiffPtr = std::unique_ptr<TIFF, TiffClose>;

std::unique_ptr<TIFFOpenOptions, OptionsFree> Options(TiffMessages& messages) {
    std::unique_ptr<TIFFOpenOptions, OptionsFree> options(TIFFOpenOptionsAlloc());
    if (!options) throw ToolError("not enough memory for a TIFF file");
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnTiffError, &messages);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnTiffWarning, nullptr);
    return options;
}

std::string Detail(const TiffMessages& m) { return m.last[0] ? std::string(": ") + m.last : std::string(); }

}  // namespace

Image ReadTiff(const std::string& path) {
    TiffMessages messages;
    auto options = Options(messages);
    TiffPtr tiff(TIFFOpenExt(path.c_str(), "r", options.get()));
    if (!tiff) throw ToolError("cannot decode '" + path + "'" + Detail(messages));

    uint32_t width = 0, height = 0;
    uint16_t bits = 0, channels = 0, format = SAMPLEFORMAT_UINT, planar = PLANARCONFIG_CONTIG;
    uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &channels);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &photometric);

    if (bits != 8 && bits != 16)
        throw ToolError("'" + path + "' has " + std::to_string(bits) + "-bit samples; only 8- and 16-bit images are supported");
    if (format != SAMPLEFORMAT_UINT)
        throw ToolError("'" + path + "' holds signed or floating-point samples; only unsigned integers are supported");
    if (channels < 1 || channels > 4)
        throw ToolError("'" + path + "' has " + std::to_string(channels) + " channels; 1 to 4 are supported");
    if (planar != PLANARCONFIG_CONTIG)
        throw ToolError("'" + path + "' stores its channels in separate planes; only interleaved TIFF is supported");
    // Palette, YCbCr, CMYK and the like would need a colour conversion the
    // tool does not do; their samples are not gray or RGB values.
    if (photometric != PHOTOMETRIC_MINISBLACK && photometric != PHOTOMETRIC_MINISWHITE && photometric != PHOTOMETRIC_RGB)
        throw ToolError("'" + path + "' uses a colour model other than gray or RGB; only those are supported");
    if (TIFFIsTiled(tiff.get())) throw ToolError("'" + path + "' is a tiled TIFF; only striped TIFF is supported");

    Image image = Image::Make(width, height, channels, bits);
    if (static_cast<uint64_t>(TIFFScanlineSize64(tiff.get())) != image.RowBytes())
        throw ToolError("cannot decode '" + path + "': unexpected row size");
    for (uint32_t y = 0; y < height; ++y) {
        if (TIFFReadScanline(tiff.get(), image.Row(y), y, 0) < 0)
            throw ToolError("cannot decode '" + path + "'" + Detail(messages));
    }
    return image;
}

void WriteTiff(int fd, const Image& image, const std::string& name) {
    TiffMessages messages;
    std::unique_ptr<TIFFOpenOptions, OptionsFree> options;
    try {
        options = Options(messages);
    } catch (...) {
        close(fd);
        throw;
    }
    TiffPtr tiff(TIFFFdOpenExt(fd, name.c_str(), "w", options.get()));
    if (!tiff) {
        close(fd);
        throw ToolError("cannot write '" + name + "'" + Detail(messages));
    }
    TIFF* t = tiff.get();
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, static_cast<uint16_t>(image.bits));
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, static_cast<uint16_t>(image.channels));
    TIFFSetField(t, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, image.channels >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(t, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(t, 0));
    // The channel after gray or RGB is an unassociated alpha, as in PNG.
    if (image.channels == 2 || image.channels == 4) {
        const uint16_t extra = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(t, TIFFTAG_EXTRASAMPLES, 1, &extra);
    }
    // libtiff may encode in place (the predictor does), so each row goes
    // through a scratch copy rather than handing it the caller's image.
    std::vector<uint8_t> row(image.RowBytes());
    for (uint32_t y = 0; y < image.height; ++y) {
        std::copy(image.Row(y), image.Row(y) + image.RowBytes(), row.begin());
        if (TIFFWriteScanline(t, row.data(), y, 0) < 0) throw ToolError("cannot write '" + name + "'" + Detail(messages));
    }
    if (!TIFFFlush(t)) throw ToolError("cannot write '" + name + "'" + Detail(messages));
}

}  // namespace lumotool
