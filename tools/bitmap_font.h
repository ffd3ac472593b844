// A 5x7 pixel font for the labels of the demo's contact sheet.
#pragma once

#include <cstdint>
#include <string_view>

#include "image.h"

namespace lumotool {

struct Rgb {
    uint8_t r, g, b;
};

// Each glyph cell is 6x8 font pixels (one column and one row of spacing),
// every font pixel drawn as a scale x scale block.
int TextWidth(std::string_view text, int scale);
int TextHeight(int scale);

// Draws onto an 8-bit RGB image; whatever falls outside is clipped.
void DrawText(Image& rgb, int x, int y, std::string_view text, int scale, Rgb color);

// Fills a rectangle, clipped to the image.
void FillRect(Image& rgb, int x, int y, int w, int h, Rgb color);

}  // namespace lumotool
