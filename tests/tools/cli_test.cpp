// The lumomath program itself, run as a person would run it.
#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>
#include <vector>

#include "image_io.h"
#include "lumomath/LumoMath.h"
#include "scratch_dir.h"

namespace lumotool {
namespace {

struct ToolRun {
    int status = -1;
    std::string out, err;
};

std::string Slurp(const std::string& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// Runs the tool with `args` (each quoted for the shell), capturing its output
// in files outside `dir` so that `dir` holds only what the tool wrote.
ToolRun Tool(const std::vector<std::string>& args) {
    static int counter = 0;
    const std::string base = testing::TempDir() + "lumotool-run-" + std::to_string(getpid()) + "-" +
                             std::to_string(counter++);
    std::string command = LUMOMATH_TOOL_RUNNER " '" LUMOMATH_TOOL_PATH "'";
    for (const std::string& a : args) command += " '" + a + "'";
    command += " >'" + base + ".out' 2>'" + base + ".err'";
    const int raw = std::system(command.c_str());
    ToolRun run;
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = Slurp(base + ".out");
    run.err = Slurp(base + ".err");
    std::remove((base + ".out").c_str());
    std::remove((base + ".err").c_str());
    return run;
}

Image LibraryResize(const Image& src, tagLumoSize to, LumoScalingMethod method, const tagLumoRect* region) {
    Image out = Image::Make(to.width, to.height, src.channels, src.bits);
    const tagLumoSize from{src.width, src.height};
    const LumoResult r = region ? LumoMathResizeWithRegion(method, src.channels, src.bits, src.data.data(), from,
                                                           src.RowBytes(), *region, out.data.data(), to, out.RowBytes())
                                : LumoMathResize(method, src.channels, src.bits, src.data.data(), from, src.RowBytes(),
                                                 out.data.data(), to, out.RowBytes());
    EXPECT_EQ(r, kLumoResultOK);
    return out;
}

TEST(ToolProgram, RoundTripsThroughPngAndTiff) {
    ScratchDir dir;
    // Same size with nearest neighbour copies every sample, across formats too.
    for (const char* in : {"in.png", "in.tif"})
        for (const char* out : {"out.png", "out.tiff"})
            for (uint32_t bits : {8u, 16u}) {
                const uint32_t channels = bits == 8 ? 3 : 2;
                SCOPED_TRACE(std::string(in) + " -> " + out + " " + std::to_string(bits) + "-bit");
                const Image image = RandomImage(23, 17, channels, bits, bits + channels);
                WriteImage(dir / in, image);
                const ToolRun run = Tool({"resize", dir / in, dir / out, "--size", "23x17", "--method", "nearest"});
                ASSERT_EQ(run.status, 0) << run.err;
                ExpectSameImage(ReadImage(dir / out), image);
            }
}

TEST(ToolProgram, ResizesExactlyAsTheLibrary) {
    ScratchDir dir;
    const tagLumoRect region{5, 3, 30, 20};
    struct {
        uint32_t bits, channels;
        std::vector<std::string> options;
        tagLumoSize to;
        LumoScalingMethod method;
        bool useRegion;
    } const cases[] = {
        {8, 3, {"--size", "50%"}, {20, 15}, kLumoScalingSuperSampling, false},  // default for reduction
        {16, 1, {"--size", "x45"}, {60, 45}, kLumoScalingBiCubic, false},       // default for enlargement
        {16, 4, {"--size", "33x21", "--method", "bilinear", "--threads", "1"}, {33, 21}, kLumoScalingBiLinear, false},
        {8, 2, {"--size", "200%", "--region", "5,3,30,20"}, {60, 40}, kLumoScalingBiCubic, true},
        {16, 3, {"--size", "16x10", "--region", "5,3,30,20", "--method", "supersampling"}, {16, 10},
         kLumoScalingSuperSampling, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options[1] + " " + std::to_string(c.bits) + "-bit");
        const Image src = RandomImage(40, 30, c.channels, c.bits, c.bits * c.channels);
        WriteImage(dir / "src.png", src);
        std::vector<std::string> args{"resize", dir / "src.png", dir / "dst.png"};
        args.insert(args.end(), c.options.begin(), c.options.end());
        const ToolRun run = Tool(args);
        ASSERT_EQ(run.status, 0) << run.err;
        ExpectSameImage(ReadImage(dir / "dst.png"), LibraryResize(src, c.to, c.method, c.useRegion ? &region : nullptr));
    }
}

TEST(ToolProgram, ErrorsSayWhatIsWrongAndWriteNothing) {
    ScratchDir dir;
    WriteImage(dir / "rgb.png", RandomImage(40, 30, 3, 8, 1));
    WriteImage(dir / "gray.tif", RandomImage(48, 32, 1, 16, 2));
    std::ofstream(dir / "notes.txt") << "plain text";
    const std::set<std::string> inputs = dir.Names();
    const std::string rgb = dir / "rgb.png", out = dir / "out.png";
    struct {
        std::vector<std::string> args;
        const char* says;
    } const cases[] = {
        {{"resize", dir / "none.png", out, "--size", "10x10"}, "cannot open"},
        {{"resize", dir / "notes.txt", out, "--size", "10x10"}, "neither a PNG nor a TIFF"},
        {{"resize", rgb, dir / "out.jpg", "--size", "10x10"}, "output format"},
        {{"resize", rgb, out, "--size", "0x10"}, "width is zero"},
        {{"resize", rgb, out, "--size", "1%"}, "zero"},
        {{"resize", rgb, out, "--size", "big"}, "invalid size"},
        {{"resize", rgb, out, "--size", "100000x100000"}, "too large"},
        {{"resize", rgb, out, "--size", "10x10", "--region", "30,20,11,5"}, "outside the 40x30 image"},
        {{"resize", rgb, out, "--size", "10x10", "--method", "lanczos"}, "unknown method 'lanczos'"},
        {{"resize", rgb, out, "--size", "80x60", "--method", "supersampling"}, "only reduces"},
        {{"resize", rgb, out, "--size", "10x10", "--threads", "0"}, "thread count"},
        {{"resize", rgb, out}, "needs --size"},
        {{"resize", rgb, out, "--size"}, "needs a value"},
        {{"resize", rgb, dir / "no/such/dir.png", "--size", "10x10"}, "cannot write"},
        {{"otf", rgb, dir / "psf"}, "grayscale"},
        {{"otf", dir / "gray.tif", dir / "psf"}, "power-of-two"},
        {{"demo", "--out", dir / "sheet.tif"}, "PNG"},
        {{"frobnicate"}, "unknown command"},
    };
    for (const auto& c : cases) {
        std::string line;
        for (const std::string& a : c.args) line += a + " ";
        SCOPED_TRACE(line);
        const ToolRun run = Tool(c.args);
        EXPECT_NE(run.status, 0);
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_EQ(dir.Names(), inputs);
    }
}

TEST(ToolProgram, EveryCommandHasHelp) {
    for (const char* command : {"resize", "otf", "info", "demo"}) {
        const ToolRun run = Tool({command, "--help"});
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_EQ(run.out.rfind(std::string("usage: lumomath ") + command, 0), 0u) << run.out;
    }
    EXPECT_EQ(Tool({"--help"}).status, 0);
}

// LUMOMATH_TARGET reaches the kernels: info names the target that really ran,
// and says when the value was ignored.
TEST(ToolProgram, InfoTellsWhichKernelsRun) {
    std::vector<std::pair<std::string, std::string>> cases = {
        {"plain", "plain kernels, other vector code on "},
        {"bogus", " (LUMOMATH_TARGET=bogus ignored: no such target)"},
        {"", std::string("kernels:          ") + hwy::TargetName(hwy::SupportedAndGeneratedTargets().front()) + "\n"},
    };
    // Every letter case of every name is the parser's test; here each target
    // only has to reach the kernels.
    for (const int64_t t : hwy::SupportedAndGeneratedTargets())
        cases.emplace_back(hwy::TargetName(t), std::string(hwy::TargetName(t)) + " (forced by LUMOMATH_TARGET)");
    for (const auto& [value, says] : cases) {
        setenv("LUMOMATH_TARGET", value.c_str(), 1);
        const ToolRun run = Tool({"info"});
        unsetenv("LUMOMATH_TARGET");
        EXPECT_EQ(run.status, 0);
        const size_t line = run.out.find("\nkernels: ");
        ASSERT_NE(line, std::string::npos) << run.out;
        EXPECT_NE(run.out.substr(line + 1, run.out.find('\n', line + 1) - line).find(says), std::string::npos)
            << value << ": " << run.out;
    }
}

// The MTF image as the tool should write it: |OTF| of the unit-volume PSF
// through the library, zero frequency moved to the centre.
Image ExpectedMtf(const Image& psf, bool precise) {
    const uint32_t w = psf.width, h = psf.height;
    double sum = 0;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) sum += psf.Sample(x, y, 0);
    std::vector<double> re(size_t{w} * h), im(size_t{w} * h, 0.0);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) re[size_t{y} * w + x] = psf.Sample(x, y, 0) / sum;
    const auto iw = static_cast<int32_t>(w), ih = static_cast<int32_t>(h);
    EXPECT_EQ(precise ? LumoMathConvertOtfFromPsf_D(re.data(), im.data(), re.data(), im.data(), iw, ih, 1)
                      : LumoMathConvertOtfFromPsf(re.data(), im.data(), re.data(), im.data(), iw, ih, 1),
              0);
    Image mtf = Image::Make(w, h, 1, 16);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            const double m = std::min(1.0, std::hypot(re[size_t{y} * w + x], im[size_t{y} * w + x]));
            mtf.SetSample((x + w / 2) % w, (y + h / 2) % h, 0, static_cast<uint32_t>(std::lround(m * 65535.0)));
        }
    return mtf;
}

TEST(ToolProgram, OtfOfAGaussianPsf) {
    ScratchDir dir;
    // A Gaussian spot of sigma 2 pixels, off centre (the modulus ignores
    // where the spot sits), in a 32x16 image so the axes cannot be confused.
    Image psf = Image::Make(32, 16, 1, 16);
    for (uint32_t y = 0; y < 16; ++y)
        for (uint32_t x = 0; x < 32; ++x) {
            const double r2 = (x - 12.0) * (x - 12.0) + (y - 9.0) * (y - 9.0);
            psf.SetSample(x, y, 0, static_cast<uint32_t>(std::lround(65535.0 * std::exp(-r2 / 8.0))));
        }
    WriteImage(dir / "psf.png", psf);
    for (bool precise : {false, true}) {
        SCOPED_TRACE(precise ? "double" : "single");
        std::vector<std::string> args{"otf", dir / "psf.png", dir / "spot"};
        if (precise) args.push_back("--double");
        const ToolRun run = Tool(args);
        ASSERT_EQ(run.status, 0) << run.err;
        const Image mtf = ReadImage(dir / "spot_mtf.png");
        ExpectSameImage(mtf, ExpectedMtf(psf, precise));
        EXPECT_EQ(mtf.Sample(16, 8, 0), 65535u);  // unit volume at zero frequency
        EXPECT_NE(run.out.find("1.0000"), std::string::npos) << run.out;
        if (precise) {
            // MTF(f) = exp(-2 pi^2 sigma^2 f^2): 0.2912 at 1/8 cycle per pixel on both axes.
            const double want = std::exp(-2.0 * M_PI * M_PI * 4.0 / 64.0);
            EXPECT_NEAR(mtf.Sample(16 + 4, 8, 0) / 65535.0, want, 2e-3);
            EXPECT_NEAR(mtf.Sample(16, 8 + 2, 0) / 65535.0, want, 2e-3);
            EXPECT_NE(run.out.find("0.1250           0.2912"), std::string::npos) << run.out;
        }
    }
}

TEST(ToolProgram, DemoWritesAContactSheetAndTimings) {
    ScratchDir dir;
    // The built-in chart, and a small 16-bit gray image that cannot be
    // enlarged by super-sampling.
    WriteImage(dir / "small.tif", RandomImage(50, 40, 1, 16, 3));
    const std::vector<std::string> runs[] = {
        {"demo", "--out", dir / "chart_sheet.png", "--chart", dir / "chart.png", "--repeat", "1"},
        {"demo", dir / "small.tif", "--out", dir / "small_sheet.png", "--repeat", "1", "--threads", "2"},
    };
    for (const auto& args : runs) {
        const ToolRun run = Tool(args);
        ASSERT_EQ(run.status, 0) << run.err;
        for (const char* method : {"nearest", "bilinear", "bicubic", "supersampling"})
            EXPECT_NE(run.out.find(method), std::string::npos) << method << "\n" << run.out;
        EXPECT_NE(run.out.find(" ms"), std::string::npos) << run.out;
    }
    const Image sheet = ReadImage(dir / "chart_sheet.png");
    EXPECT_EQ(sheet.channels, 3u);
    EXPECT_GE(sheet.width, 4 * 320u);  // four methods side by side
    EXPECT_GE(sheet.height, 480u + 2 * 240u);
    const Image chart = ReadImage(dir / "chart.png");
    EXPECT_EQ(chart.width, 640u);
    EXPECT_EQ(chart.height, 480u);
    EXPECT_EQ(ReadImage(dir / "small_sheet.png").channels, 3u);
}

}  // namespace
}  // namespace lumotool
