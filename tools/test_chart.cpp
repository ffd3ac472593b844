#include "test_chart.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "bitmap_font.h"

namespace lumotool {
namespace {

constexpr uint32_t kWidth = 640, kHeight = 480;
constexpr double kPi = std::numbers::pi;

uint8_t ToByte(double v) { return static_cast<uint8_t>(std::clamp(v, 0.0, 1.0) * 255.0 + 0.5); }

void Put(Image& im, uint32_t x, uint32_t y, double r, double g, double b) {
    uint8_t* p = im.Row(y) + 3 * x;
    p[0] = ToByte(r);
    p[1] = ToByte(g);
    p[2] = ToByte(b);
}

void PutGray(Image& im, uint32_t x, uint32_t y, double v) { Put(im, x, y, v, v, v); }

// Deterministic texture noise in [0, 1).
double Hash(uint32_t x, uint32_t y) {
    uint32_t h = x * 374761393u + y * 668265263u;
    h = (h ^ (h >> 13)) * 1274126177u;
    return static_cast<double>((h ^ (h >> 16)) & 0xffff) / 65536.0;
}

// Concentric rings whose frequency rises linearly from the centre to half a
// cycle per pixel at the edge: every resampler's aliasing shows as moire.
void ZonePlate(Image& im, uint32_t x0, uint32_t y0, uint32_t size) {
    const double c = size / 2.0, radius = size / 2.0;
    for (uint32_t y = 0; y < size; ++y)
        for (uint32_t x = 0; x < size; ++x) {
            const double dx = x + 0.5 - c, dy = y + 0.5 - c;
            PutGray(im, x0 + x, y0 + y, 0.5 + 0.5 * std::cos(kPi * (dx * dx + dy * dy) / (2.0 * radius)));
        }
}

// Groups of one-pixel lines at periods 2 to 7, vertical or horizontal.
void LineGroups(Image& im, uint32_t x0, uint32_t y0, uint32_t w, uint32_t h, bool vertical) {
    constexpr uint32_t kPeriods[] = {2, 3, 4, 5, 6, 7};
    const uint32_t span = vertical ? w : h;
    const uint32_t group = span / 6;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            const uint32_t along = vertical ? x : y;
            const uint32_t g = std::min<uint32_t>(along / group, 5);
            const uint32_t offset = along - g * group;
            const bool gap = offset < 4 || offset >= group - 4;
            PutGray(im, x0 + x, y0 + y, gap ? 1.0 : (offset % kPeriods[g] == 0 ? 0.0 : 1.0));
        }
}

// A sector star: 36 black and white wedges meeting at the centre.
void SectorStar(Image& im, uint32_t x0, uint32_t y0, uint32_t size) {
    const double c = size / 2.0;
    for (uint32_t y = 0; y < size; ++y)
        for (uint32_t x = 0; x < size; ++x) {
            const double dx = x + 0.5 - c, dy = y + 0.5 - c;
            const double angle = std::atan2(dy, dx) + kPi;
            const bool black = static_cast<int>(angle / (2.0 * kPi) * 36.0) % 2 == 0;
            const bool inside = dx * dx + dy * dy <= (c - 2) * (c - 2);
            PutGray(im, x0 + x, y0 + y, inside && black ? 0.0 : 1.0);
        }
}

// Gray ramp above a hue sweep, full saturation fading to white at the bottom.
void Ramps(Image& im, uint32_t y0, uint32_t h) {
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < kWidth; ++x) {
            const double t = x / double(kWidth - 1);
            if (y < h / 2) {
                PutGray(im, x, y0 + y, t);
                continue;
            }
            const double s = 1.0 - (y - h / 2) / double(h / 2);
            const double hue = t * 6.0;
            const double f = hue - std::floor(hue);
            double r = 0, g = 0, b = 0;
            switch (static_cast<int>(hue) % 6) {
                case 0: r = 1, g = f; break;
                case 1: r = 1 - f, g = 1; break;
                case 2: g = 1, b = f; break;
                case 3: g = 1 - f, b = 1; break;
                case 4: r = f, b = 1; break;
                default: r = 1, b = 1 - f; break;
            }
            Put(im, x, y0 + y, 1 - s * (1 - r), 1 - s * (1 - g), 1 - s * (1 - b));
        }
}

// A photo-like scene: sky, a soft sun, two textured hills and a lake.
void Landscape(Image& im, uint32_t y0, uint32_t h) {
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < kWidth; ++x) {
            const double fx = x, fy = y;
            const double sky = fy / h;
            double r = 0.35 + 0.4 * sky, g = 0.55 + 0.3 * sky, b = 0.9 - 0.1 * sky;
            const double sun = std::hypot(fx - 470, fy - 45) - 26;
            const double glow = std::clamp(1.0 - sun / 3.0, 0.0, 1.0);
            r += (1.0 - r) * glow, g += (0.95 - g) * glow, b += (0.7 - b) * glow;
            const double far = 70 + 18 * std::sin(fx / 53.0) + 9 * std::sin(fx / 17.0 + 1.0);
            const double near = 105 + 14 * std::sin(fx / 71.0 + 2.0) + 4 * std::sin(fx / 9.0);
            const double n = Hash(x, y);
            if (fy > far) r = 0.30 + 0.1 * n, g = 0.42 + 0.1 * n, b = 0.50 + 0.08 * n;
            if (fy > near) {
                // Grass: vertical strokes with a little noise, darker lower down.
                const double stroke = 0.5 + 0.5 * std::sin(fx * 2.1 + 3.0 * Hash(x / 3, 0));
                const double shade = 0.75 + 0.25 * (1.0 - (fy - near) / h);
                r = (0.20 + 0.12 * stroke + 0.08 * n) * shade;
                g = (0.45 + 0.20 * stroke + 0.10 * n) * shade;
                b = (0.12 + 0.05 * n) * shade;
            }
            if (fy > 135 && x > 60 && x < 300) {
                const double ripple = 0.5 + 0.5 * std::sin(fy * 1.7 + std::sin(fx / 11.0));
                r = 0.20 + 0.15 * ripple, g = 0.35 + 0.15 * ripple, b = 0.60 + 0.2 * ripple;
            }
            Put(im, x, y0 + y, r, g, b);
        }
}

}  // namespace

TestChart MakeTestChart() {
    Image im = Image::Make(kWidth, kHeight, 3, 8);
    ZonePlate(im, 0, 0, 240);
    LineGroups(im, 240, 0, 400, 80, true);
    LineGroups(im, 240, 80, 240, 80, false);
    SectorStar(im, 480, 80, 160);
    // Fine print: one-pixel strokes that each method renders differently.
    FillRect(im, 240, 160, 240, 80, {255, 255, 255});
    DrawText(im, 246, 166, "LUMOMATH TEST CHART", 1, {0, 0, 0});
    DrawText(im, 246, 178, "0123456789 ABCDEFGHIJKLM", 1, {0, 0, 0});
    DrawText(im, 246, 190, "NOPQRSTUVWXYZ (+-=%/.:)", 1, {160, 0, 0});
    DrawText(im, 246, 204, "640x480", 2, {0, 0, 160});
    for (uint32_t i = 0; i < 60; ++i) {
        // Diagonals of slopes 1/2 and 1 cross the fine print area's corner.
        PutGray(im, 420 + i, 175 + i / 2, 0.0);
        PutGray(im, 420 + i, 178 + i, 0.0);
    }
    Ramps(im, 240, 80);
    Landscape(im, 320, 160);
    // The star's centre: wedges narrower than a pixel, where methods part ways.
    return {std::move(im), {540, 145, 40, 30}};
}

}  // namespace lumotool
