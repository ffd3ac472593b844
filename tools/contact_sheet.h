// The demo's contact sheet: labelled results of the methods side by side.
#pragma once

#include <string>
#include <vector>

#include "image.h"
#include "lumomath/LumoMath.h"

namespace lumotool {

// 8-bit RGB for display: 16-bit samples keep their high byte, gray is
// repeated into all three, alpha is dropped.
Image ToDisplay(const Image& image);

// Every pixel repeated factor x factor times, so single pixels stay visible.
Image Magnify(const Image& image, uint32_t factor);

struct SheetCell {
    std::string label;
    Image image;       // 8-bit RGB, centred in a kCellWidth x kCellHeight box
    std::string note;  // shown in the box instead when there is no image
};

struct SheetRow {
    std::string title;
    std::vector<SheetCell> cells;
};

struct SheetHeader {
    Image preview;                   // the source, at most kPreviewWidth x kPreviewHeight
    tagLumoRect outline;             // framed on the preview (the magnified area); width 0 for none
    std::vector<std::string> lines;  // printed beside the preview
};

inline constexpr uint32_t kCellWidth = 320, kCellHeight = 240;
inline constexpr uint32_t kPreviewWidth = 640, kPreviewHeight = 480;

Image ComposeSheet(const SheetHeader& header, const std::vector<SheetRow>& rows);

}  // namespace lumotool
