#include "contact_sheet.h"

#include <algorithm>

#include "bitmap_font.h"

namespace lumotool {
namespace {

constexpr int kMargin = 16, kGap = 16, kLabelScale = 2, kTitleScale = 3;
constexpr Rgb kBackground{38, 38, 42}, kText{235, 235, 235}, kTitle{255, 210, 90}, kFrame{90, 90, 96},
    kOutline{255, 60, 60};

int I(uint32_t v) { return static_cast<int>(v); }

// Copies `src` (8-bit RGB) to (x, y), clipped to a w x h box there.
void Blit(Image& dst, const Image& src, int x, int y, int w, int h) {
    const int cw = std::min(I(src.width), w), ch = std::min(I(src.height), h);
    for (int yy = 0; yy < ch; ++yy) {
        if (y + yy < 0 || y + yy >= I(dst.height)) continue;
        for (int xx = 0; xx < cw; ++xx) {
            if (x + xx < 0 || x + xx >= I(dst.width)) continue;
            const uint8_t* s = src.Row(static_cast<uint32_t>(yy)) + 3 * xx;
            uint8_t* d = dst.Row(static_cast<uint32_t>(y + yy)) + 3 * (x + xx);
            d[0] = s[0], d[1] = s[1], d[2] = s[2];
        }
    }
}

void Frame(Image& im, int x, int y, int w, int h, Rgb color) {
    FillRect(im, x - 1, y - 1, w + 2, 1, color);
    FillRect(im, x - 1, y + h, w + 2, 1, color);
    FillRect(im, x - 1, y, 1, h, color);
    FillRect(im, x + w, y, 1, h, color);
}

}  // namespace

Image ToDisplay(const Image& image) {
    Image out = Image::Make(image.width, image.height, 3, 8);
    const uint32_t shift = image.bits == 16 ? 8 : 0;
    const bool gray = image.channels < 3;
    for (uint32_t y = 0; y < image.height; ++y)
        for (uint32_t x = 0; x < image.width; ++x)
            for (uint32_t c = 0; c < 3; ++c) out.SetSample(x, y, c, image.Sample(x, y, gray ? 0 : c) >> shift);
    return out;
}

Image Magnify(const Image& image, uint32_t factor) {
    Image out = Image::Make(image.width * factor, image.height * factor, image.channels, image.bits);
    const uint32_t pixelBytes = image.channels * image.BytesPerSample();
    for (uint32_t y = 0; y < out.height; ++y) {
        const uint8_t* src = image.Row(y / factor);
        uint8_t* dst = out.Row(y);
        for (uint32_t x = 0; x < out.width; ++x)
            std::copy_n(src + (x / factor) * pixelBytes, pixelBytes, dst + x * pixelBytes);
    }
    return out;
}

Image ComposeSheet(const SheetHeader& header, const std::vector<SheetRow>& rows) {
    size_t columns = 1;
    for (const SheetRow& row : rows) columns = std::max(columns, row.cells.size());
    const int cellsWidth = I(static_cast<uint32_t>(columns)) * (I(kCellWidth) + kGap) - kGap;
    int textWidth = 0;
    for (const std::string& line : header.lines) textWidth = std::max(textWidth, TextWidth(line, kLabelScale));
    const int headerWidth = I(header.preview.width) + kGap + textWidth;
    const int width = 2 * kMargin + std::max(cellsWidth, headerWidth);

    const int labelH = TextHeight(kLabelScale) + 4, titleH = TextHeight(kTitleScale) + 8;
    const int rowH = titleH + labelH + I(kCellHeight) + kGap;
    const int headerH = std::max(I(header.preview.height), I(static_cast<uint32_t>(header.lines.size())) * labelH);
    const int height = kMargin + headerH + kGap + I(static_cast<uint32_t>(rows.size())) * rowH + kMargin;

    Image sheet = Image::Make(static_cast<uint32_t>(width), static_cast<uint32_t>(height), 3, 8);
    FillRect(sheet, 0, 0, width, height, kBackground);

    Blit(sheet, header.preview, kMargin, kMargin, I(header.preview.width), I(header.preview.height));
    if (header.outline.width > 0) {
        const tagLumoRect& o = header.outline;
        // Two pixels wide, to stand out on busy pictures.
        Frame(sheet, kMargin + o.x, kMargin + o.y, I(o.width), I(o.height), kOutline);
        Frame(sheet, kMargin + o.x - 1, kMargin + o.y - 1, I(o.width) + 2, I(o.height) + 2, kOutline);
    }
    int textY = kMargin;
    for (size_t i = 0; i < header.lines.size(); ++i, textY += labelH)
        DrawText(sheet, kMargin + I(header.preview.width) + kGap, textY, header.lines[i], kLabelScale,
                 i == 0 ? kTitle : kText);

    int y = kMargin + headerH + kGap;
    for (const SheetRow& row : rows) {
        DrawText(sheet, kMargin, y, row.title, kTitleScale, kTitle);
        int x = kMargin;
        for (const SheetCell& cell : row.cells) {
            DrawText(sheet, x, y + titleH, cell.label, kLabelScale, kText);
            const int boxY = y + titleH + labelH;
            FillRect(sheet, x, boxY, I(kCellWidth), I(kCellHeight), {0, 0, 0});
            Frame(sheet, x, boxY, I(kCellWidth), I(kCellHeight), kFrame);
            const int ox = std::max(0, (I(kCellWidth) - I(cell.image.width)) / 2);
            const int oy = std::max(0, (I(kCellHeight) - I(cell.image.height)) / 2);
            Blit(sheet, cell.image, x + ox, boxY + oy, I(kCellWidth) - ox, I(kCellHeight) - oy);
            if (cell.image.width == 0)
                DrawText(sheet, x + (I(kCellWidth) - TextWidth(cell.note, kLabelScale)) / 2,
                         boxY + (I(kCellHeight) - TextHeight(kLabelScale)) / 2, cell.note, kLabelScale, kText);
            x += I(kCellWidth) + kGap;
        }
        y += rowH;
    }
    return sheet;
}

}  // namespace lumotool
