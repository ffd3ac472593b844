#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "arguments.h"
#include "commands.h"
#include "contact_sheet.h"
#include "image_io.h"
#include "resample.h"
#include "test_chart.h"

namespace lumotool {
namespace {

constexpr const char* kUsage =
    "usage: lumomath demo [IMAGE] [--out FILE] [--chart FILE] [--threads N] [--repeat N]\n"
    "\n"
    "Runs the four resize methods on IMAGE, or on a built-in test chart when none is given: a\n"
    "4x enlargement of a small region and a reduction of the whole image. Writes a labelled\n"
    "contact sheet PNG that shows the results side by side (magnified with nearest neighbour so\n"
    "single pixels show), then prints how long each method takes on the whole image.\n"
    "\n"
    "  --out FILE     contact sheet to write (default: lumomath-demo.png)\n"
    "  --chart FILE   also save the built-in test chart there\n"
    "  --threads N    worker threads, 1 to 64 (default: the processors available)\n"
    "  --repeat N     runs per timing, 1 to 1000; the median is shown (default: 5)\n";

constexpr LumoScalingMethod kMethods[] = {kLumoScalingNearestNeighbor, kLumoScalingBiLinear, kLumoScalingBiCubic,
                                          kLumoScalingSuperSampling};
constexpr uint32_t kMagnify = 4;
// Enlargements are shown magnified again with nearest, so that their
// individual pixels, where the methods differ, can be seen.
constexpr uint32_t kShowEnlarged = 2;
// Whole-image enlargements for the timing stop at this many output bytes.
constexpr uint64_t kMaxTimedBytes = uint64_t{256} << 20;

std::string SizeText(tagLumoSize s) { return std::to_string(s.width) + "x" + std::to_string(s.height); }

// A region at the image's centre that fills a cell once enlarged and shown.
tagLumoRect CentreRegion(const Image& image) {
    const uint32_t w = std::min(image.width, kCellWidth / (kMagnify * kShowEnlarged));
    const uint32_t h = std::min(image.height, kCellHeight / (kMagnify * kShowEnlarged));
    return {static_cast<int32_t>((image.width - w) / 2), static_cast<int32_t>((image.height - h) / 2), w, h};
}

// The largest size within the reduced cell (half a cell, shown 2x) in the
// image's proportions; at most half the image for images smaller than that.
tagLumoSize ReducedSize(const Image& image) {
    double s = std::min(double(kCellWidth / 2) / image.width, double(kCellHeight / 2) / image.height);
    s = std::min(s, 0.5);
    const auto side = [s](uint32_t v) { return std::max<uint32_t>(1, static_cast<uint32_t>(std::lround(v * s))); };
    return {side(image.width), side(image.height)};
}

SheetCell Cell(const std::string& label, const Image& result, uint32_t magnify) {
    return {label, Magnify(ToDisplay(result), magnify), ""};
}

// Median wall time of `repeat` runs, in milliseconds; nullopt when the
// library refuses the resize.
std::optional<double> TimeResize(const Image& source, tagLumoSize to, LumoScalingMethod method, int repeat) {
    Image out = Image::Make(to.width, to.height, source.channels, source.bits);
    std::vector<double> ms;
    for (int i = 0; i < repeat; ++i) {
        const auto start = std::chrono::steady_clock::now();
        const LumoResult r = LumoMathResize(method, source.channels, source.bits, source.data.data(),
                                            {source.width, source.height}, source.RowBytes(), out.data.data(), to,
                                            out.RowBytes());
        const auto stop = std::chrono::steady_clock::now();
        if (r != kLumoResultOK) return std::nullopt;
        ms.push_back(std::chrono::duration<double, std::milli>(stop - start).count());
    }
    std::nth_element(ms.begin(), ms.begin() + static_cast<long>(ms.size() / 2), ms.end());
    return ms[ms.size() / 2];
}

std::string Millis(const std::optional<double>& ms) {
    if (!ms) return "n/a";
    char text[32];
    std::snprintf(text, sizeof text, "%.2f ms", *ms);
    return text;
}

// The source as shown at the top of the sheet: reduced to fit when larger,
// magnified a whole number of times when much smaller, with the frame of the
// enlarged region scaled alike.
void Preview(const Image& source, const tagLumoRect& region, SheetHeader& header) {
    const Image display = ToDisplay(source);
    const double s = std::min({1.0, double(kPreviewWidth) / source.width, double(kPreviewHeight) / source.height});
    if (s >= 1.0) {
        const uint32_t zoom = std::max(1u, std::min(kPreviewWidth / source.width, kPreviewHeight / source.height));
        header.preview = Magnify(display, zoom);
        header.outline = {region.x * static_cast<int32_t>(zoom), region.y * static_cast<int32_t>(zoom),
                          region.width * zoom, region.height * zoom};
        return;
    }
    const auto scaled = [s](double v) { return static_cast<uint32_t>(std::max(1.0, std::floor(v * s))); };
    header.preview = Resample(display, {scaled(source.width), scaled(source.height)}, kLumoScalingSuperSampling);
    header.outline = {static_cast<int32_t>(region.x * s), static_cast<int32_t>(region.y * s), scaled(region.width),
                      scaled(region.height)};
}

SheetRow EnlargedRow(const Image& source, const tagLumoRect& region) {
    const tagLumoSize enlarged{region.width * kMagnify, region.height * kMagnify};
    SheetRow row{"ENLARGED " + std::to_string(kMagnify) + "X, SHOWN " + std::to_string(kShowEnlarged) + "X: THE " +
                     SizeText({region.width, region.height}) + " REGION IN THE RED FRAME",
                 {}};
    for (LumoScalingMethod m : kMethods) {
        try {
            row.cells.push_back(Cell(MethodName(m), Resample(source, enlarged, m, &region), kShowEnlarged));
        } catch (const ToolError&) {
            // Super-sampling takes a region only while the destination is
            // smaller than the whole image; anything else is a real failure.
            if (m != kLumoScalingSuperSampling) throw;
            row.cells.push_back({MethodName(m), Image{}, "reduces only"});
        }
    }
    return row;
}

SheetRow ReducedRow(const Image& source, tagLumoSize reduced, uint32_t zoom) {
    SheetRow row{"REDUCED TO " + SizeText(reduced) + ", SHOWN " + std::to_string(zoom) + "X", {}};
    for (LumoScalingMethod m : kMethods) row.cells.push_back(Cell(MethodName(m), Resample(source, reduced, m), zoom));
    return row;
}

// Whole-image reduction (to `reduced`, when the image can shrink) and 2x
// enlargement, where the work is large enough to measure.
void PrintTimings(const Image& source, const tagLumoSize* reduced, int repeat) {
    const tagLumoSize doubled{source.width * 2, source.height * 2};
    const bool timeEnlargement =
        uint64_t{doubled.width} * doubled.height * source.channels * source.BytesPerSample() <= kMaxTimedBytes &&
        doubled.width / 2 == source.width;
    const std::string reduceHead = reduced ? "reduce to " + SizeText(*reduced) : "reduce";
    const std::string enlargeHead = "enlarge to " + SizeText(doubled);
    std::printf("  %-14s %22s %22s\n", "method", reduceHead.c_str(), enlargeHead.c_str());
    for (LumoScalingMethod m : kMethods) {
        const std::string r = reduced ? Millis(TimeResize(source, *reduced, m, repeat)) : "too small";
        const std::string e = timeEnlargement ? Millis(TimeResize(source, doubled, m, repeat)) : "too large";
        std::printf("  %-14s %22s %22s\n", MethodName(m), r.c_str(), e.c_str());
    }
}

}  // namespace

int RunDemo(const Args& args) {
    const Arguments a = ParseArguments(args, {"--out", "--chart", "--threads", "--repeat"}, {});
    if (a.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (a.positional.size() > 1) throw UsageError("demo takes at most one IMAGE (see lumomath demo --help)");
    const std::string out = a.Value("--out") ? *a.Value("--out") : "lumomath-demo.png";
    if (FormatFromPath(out) != FileFormat::kPng) throw ToolError("the contact sheet is a PNG: name it .png");
    if (a.Value("--chart") && !a.positional.empty()) throw UsageError("--chart goes with the built-in chart, not with IMAGE");
    if (a.Value("--chart")) FormatFromPath(*a.Value("--chart"));
    if (const std::string* threads = a.Value("--threads")) Set_ProcessorNum(ParseThreads(*threads));
    const std::string* repeatText = a.Value("--repeat");
    const int repeat = repeatText ? static_cast<int>(ParseCount(*repeatText, 1000, "run count")) : 5;

    Image source;
    tagLumoRect region{};
    std::string origin;
    if (a.positional.empty()) {
        TestChart chart = MakeTestChart();
        source = std::move(chart.image);
        region = chart.detail;
        origin = "built-in test chart";
        if (a.Value("--chart")) WriteImage(*a.Value("--chart"), source);
    } else {
        source = ReadImage(a.positional[0]);
        region = CentreRegion(source);
        origin = std::filesystem::path(a.positional[0]).filename().string();
    }
    const tagLumoSize reduced = ReducedSize(source);
    const bool canReduce = reduced.width < source.width || reduced.height < source.height;
    const uint32_t reducedZoom =
        std::max<uint32_t>(1, std::min(kCellWidth / reduced.width, kCellHeight / reduced.height));

    SheetHeader header;
    Preview(source, region, header);
    const uint32_t threads = LumoGetProcessorNum();
    header.lines = {"LUMOMATH RESIZE METHODS",
                    "source: " + origin,
                    Describe(source),
                    "worker threads: " + std::to_string(threads),
                    "",
                    "enlargement: the framed region",
                    std::to_string(kMagnify) + "x with each method, shown " + std::to_string(kShowEnlarged) + "x",
                    "reduction: the whole image",
                    "to " + SizeText(reduced) + ", magnified " + std::to_string(reducedZoom) + "x",
                    "with nearest to show pixels"};
    std::vector<SheetRow> rows{EnlargedRow(source, region)};
    if (canReduce) rows.push_back(ReducedRow(source, reduced, reducedZoom));
    WriteImage(out, ComposeSheet(header, rows));

    std::printf("Contact sheet: %s\n\n", out.c_str());
    std::printf("Resize timings on the %s %s, %u worker threads, median of %d runs:\n\n", origin.c_str(),
                Describe(source).c_str(), threads, repeat);
    PrintTimings(source, canReduce ? &reduced : nullptr, repeat);
    std::printf("\n(n/a: supersampling only reduces)\n");
    return 0;
}

}  // namespace lumotool
