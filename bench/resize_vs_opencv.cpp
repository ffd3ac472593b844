// Side-by-side timing of LumoMath's resize against OpenCV's cv::resize and
// against the memory floor (reading every source byte once and writing every
// destination byte once), on photo-sized images.
//
// The machines we run on are shared and noisy, so only ratios measured in one
// run mean anything: every round times all contenders of a row back to back,
// rounds repeat, and the table reports medians and their ratios.
//
// Every method of the table that admits a workload runs on it. "plain" is
// each method's plain kernel, the arithmetic written out loop by loop; its
// column shows what the fast kernels gain, and the last column checks that
// they still give the same bytes.
//
// Usage: lumomath_bench [--rounds N] [--only PREFIX] [--method NAME] [--threads N]
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <hwy/targets.h>

#include "bench/reference_resize.h"
#include "frame/admission.h"
#include "frame/resize_methods.h"
#include "lumomath/LumoMath.h"

namespace {

struct Image {
    uint32_t width = 0, height = 0, channels = 0, depth = 8, rowBytes = 0;
    std::vector<unsigned char> bytes;

    Image(uint32_t w, uint32_t h, uint32_t c, uint32_t d)
        : width(w), height(h), channels(c), depth(d), rowBytes(w * c * (d / 8)),
          bytes(static_cast<size_t>(rowBytes) * h) {}
    tagLumoSize Size() const { return {width, height}; }
    int CvType() const { return CV_MAKETYPE(depth == 8 ? CV_8U : CV_16U, static_cast<int>(channels)); }
    cv::Mat Mat() { return cv::Mat(static_cast<int>(height), static_cast<int>(width), CvType(), bytes.data(), rowBytes); }
};

// Photo-like content: smooth illumination, textured areas, hard edges and
// sensor noise, so that no contender profits from flat or repeating data.
Image PhotoLike(uint32_t w, uint32_t h, uint32_t c, uint32_t depth, uint32_t seed) {
    Image im(w, h, c, depth);
    std::mt19937 rng(seed);
    std::normal_distribution<double> noise(0.0, 0.02);
    const double maxv = depth == 8 ? 255.0 : 65535.0;
    for (uint32_t y = 0; y < h; ++y) {
        for (uint32_t x = 0; x < w; ++x) {
            const double u = x / static_cast<double>(w), v = y / static_cast<double>(h);
            const double light = 0.35 + 0.3 * std::sin(3.1 * u + 1.7 * v);
            const double texture = 0.15 * std::sin(0.37 * x) * std::cos(0.23 * y);
            const double edge = ((x / 97 + y / 61) % 2) ? 0.2 : 0.0;
            for (uint32_t ch = 0; ch < c; ++ch) {
                double s = light + texture + edge + 0.05 * ch + noise(rng);
                s = std::clamp(s, 0.0, 1.0) * maxv;
                const auto value = static_cast<uint32_t>(s);
                const size_t i = (static_cast<size_t>(y) * w + x) * c + ch;
                if (depth == 8) {
                    im.bytes[i] = static_cast<unsigned char>(value);
                } else {
                    const auto v16 = static_cast<uint16_t>(value);
                    std::memcpy(&im.bytes[i * 2], &v16, 2);
                }
            }
        }
    }
    return im;
}

struct Workload {
    std::string name;
    uint32_t srcW, srcH, channels, depth, dstW, dstH;
    bool region;
    tagLumoRect rect;
};

int CvInterpolation(LumoScalingMethod m) {
    switch (m) {
        case kLumoScalingNearestNeighbor: return cv::INTER_NEAREST;
        case kLumoScalingBiLinear: return cv::INTER_LINEAR;
        case kLumoScalingBiCubic: return cv::INTER_CUBIC;
        default: return cv::INTER_AREA;
    }
}

double Seconds(const std::function<void()>& f) {
    const auto t0 = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Reads every source byte once and writes every destination byte once, on
// the same number of threads the contenders use.
void MemoryFloor(const unsigned char* src, size_t srcBytes, unsigned char* dst, size_t dstBytes,
                 std::vector<unsigned char>& scratch, int threads) {
    std::vector<std::thread> pool;
    const size_t srcPart = srcBytes / threads, dstPart = dstBytes / threads;
    for (int t = 0; t < threads; ++t) {
        pool.emplace_back([&, t] {
            const size_t s0 = t * srcPart, s1 = t + 1 == threads ? srcBytes : s0 + srcPart;
            const size_t d0 = t * dstPart, d1 = t + 1 == threads ? dstBytes : d0 + dstPart;
            std::memcpy(scratch.data() + s0, src + s0, s1 - s0);
            std::memset(dst + d0, t + 1, d1 - d0);
        });
    }
    for (auto& th : pool) th.join();
}

struct Row {
    std::string workload, method;
    double ours, reference, opencv, floor;
    bool same;  // our output equals the plain kernel's, byte for byte
};

}  // namespace

int main(int argc, char** argv) {
    int rounds = 7;
    int threads = 2;
    std::string only;
    std::string onlyMethod;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--rounds") && i + 1 < argc) rounds = std::max(1, std::atoi(argv[++i]));
        else if (!std::strcmp(argv[i], "--only") && i + 1 < argc) only = argv[++i];
        else if (!std::strcmp(argv[i], "--threads") && i + 1 < argc) threads = std::max(1, std::atoi(argv[++i]));
        else if (!std::strcmp(argv[i], "--method") && i + 1 < argc) onlyMethod = argv[++i];
        else {
            std::fprintf(stderr, "usage: %s [--rounds N] [--only PREFIX] [--method NAME] [--threads N]\n", argv[0]);
            return 2;
        }
    }
    Set_ProcessorNum(static_cast<uint32_t>(threads));
    cv::setNumThreads(threads);

    const std::vector<Workload> workloads = {
        {"A 6000x4000 RGB8 -> 1920x1280", 6000, 4000, 3, 8, 1920, 1280, false, {}},
        {"A 6000x4000 RGB16 -> 1920x1280", 6000, 4000, 3, 16, 1920, 1280, false, {}},
        {"B 1920x1280 RGB8 -> 3840x2560", 1920, 1280, 3, 8, 3840, 2560, false, {}},
        {"B 1920x1280 RGB16 -> 3840x2560", 1920, 1280, 3, 16, 3840, 2560, false, {}},
        {"C 6000x4000 RGBA8 -> 640x427", 6000, 4000, 4, 8, 640, 427, false, {}},
        {"D region 2000x1500@(1000,800) RGB8 -> 1000x750", 6000, 4000, 3, 8, 1000, 750, true,
         {1000, 800, 2000, 1500}},
        {"E 256x256 RGB8 -> 128x128", 256, 256, 3, 8, 128, 128, false, {}},
    };

    std::vector<Row> rows;
    for (const Workload& w : workloads) {
        if (!only.empty() && w.name.rfind(only, 0) != 0) continue;
        Image src = PhotoLike(w.srcW, w.srcH, w.channels, w.depth, 7);
        Image dst(w.dstW, w.dstH, w.channels, w.depth);
        Image refDst(w.dstW, w.dstH, w.channels, w.depth);
        Image cvDst(w.dstW, w.dstH, w.channels, w.depth);
        const uint32_t bytesPerPixel = w.channels * (w.depth / 8);
        const size_t readBytes = w.region ? static_cast<size_t>(w.rect.width) * w.rect.height * bytesPerPixel
                                          : src.bytes.size();
        std::vector<unsigned char> scratch(readBytes);
        // Small workloads are timed over many calls so that clock resolution does not matter.
        const int calls = w.srcW * w.srcH < 1000000 ? 200 : 1;

        cv::Mat cvSrc = src.Mat();
        if (w.region) cvSrc = cvSrc(cv::Rect(w.rect.x, w.rect.y, static_cast<int>(w.rect.width),
                                             static_cast<int>(w.rect.height)));
        cv::Mat cvOut = cvDst.Mat();
        // For a region the floor copies as many contiguous bytes as the region
        // holds: every contender reads at least those.
        const unsigned char* floorSrc =
            w.region ? src.bytes.data() + static_cast<size_t>(w.rect.y) * src.rowBytes : src.bytes.data();

        for (const lumo::ResizeMethod& method : lumo::kResizeMethods) {
            if (!onlyMethod.empty() && onlyMethod != method.name) continue;
            const LumoScalingMethod m = method.id;
            const lumo::ResizeRequest plainRequest{w.channels,
                                                   w.depth / 8,
                                                   {src.bytes.data(), src.Size(), src.rowBytes},
                                                   w.region ? w.rect : lumo::WholeImage(src.Size()),
                                                   {refDst.bytes.data(), refDst.Size(), refDst.rowBytes}};
            if (lumo::AdmitResize(m, w.depth, plainRequest) != lumo::Admission::Proceed) continue;
            const std::function<void()> contenders[4] = {
                [&] {
                    for (int i = 0; i < calls; ++i) {
                        const LumoResult rc =
                            w.region ? LumoMathResizeWithRegion(m, w.channels, w.depth, src.bytes.data(), src.Size(),
                                                                src.rowBytes, w.rect, dst.bytes.data(), dst.Size(),
                                                                dst.rowBytes)
                                     : LumoMathResize(m, w.channels, w.depth, src.bytes.data(), src.Size(),
                                                      src.rowBytes, dst.bytes.data(), dst.Size(), dst.rowBytes);
                        if (rc != kLumoResultOK) {
                            std::fprintf(stderr, "resize failed with %u\n", rc);
                            std::exit(1);
                        }
                    }
                },
                [&] {
                    for (int i = 0; i < calls; ++i) lumo::bench::PlainResize(method, plainRequest);
                },
                [&] {
                    for (int i = 0; i < calls; ++i)
                        cv::resize(cvSrc, cvOut, cvOut.size(), 0, 0, CvInterpolation(m));
                },
                [&] {
                    for (int i = 0; i < calls; ++i)
                        MemoryFloor(floorSrc, readBytes, cvDst.bytes.data(), cvDst.bytes.size(), scratch, threads);
                },
            };
            std::vector<double> times[4];
            bool same = true;
            for (int r = 0; r < rounds + 1; ++r) {  // round 0 warms caches and pools up
                // The order rotates from round to round, so that no contender
                // always runs first (cold) or right after the floor.
                for (int k = 0; k < 4; ++k) {
                    const int c = (k + r) % 4;
                    const double t = Seconds(contenders[c]) / calls;
                    if (r > 0) times[c].push_back(t);
                }
                if (r == 0) same = dst.bytes == refDst.bytes;
            }
            rows.push_back({w.name, method.name, Median(times[0]), Median(times[1]), Median(times[2]),
                            Median(times[3]), same});
            const Row& row = rows.back();
            std::fprintf(stderr, "%-48s %-14s ours %9.3f ms  plain %9.3f ms  opencv %9.3f ms  floor %8.3f ms%s\n",
                         row.workload.c_str(), row.method.c_str(), row.ours * 1e3, row.reference * 1e3,
                         row.opencv * 1e3, row.floor * 1e3, row.same ? "" : "  OUTPUT DIFFERS FROM THE PLAIN KERNEL");
        }
    }

    std::printf("| workload | method | ours ms | plain ms | OpenCV ms | floor ms | ours/OpenCV | ours/floor | "
                "plain/ours | same bytes as plain |\n|---|---|---:|---:|---:|---:|---:|---:|---:|:---:|\n");
    double logSum = 0.0;
    int logCount = 0;
    bool allSame = true;
    for (const Row& r : rows) {
        allSame = allSame && r.same;
        if (r.workload[0] == 'E') continue;
        std::printf("| %s | %s | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f | %.1f | %s |\n", r.workload.c_str(),
                    r.method.c_str(), r.ours * 1e3, r.reference * 1e3, r.opencv * 1e3, r.floor * 1e3,
                    r.ours / r.opencv, r.ours / r.floor, r.reference / r.ours, r.same ? "yes" : "NO");
        logSum += std::log(r.ours / r.opencv);
        ++logCount;
    }
    if (logCount > 0)
        std::printf("\nGeometric mean of ours/OpenCV over A-D: %.3f (%d rows, median of %d rounds, %d threads)\n",
                    std::exp(logSum / logCount), logCount, rounds, threads);

    // Per-call latency of a small image: our calls run it on the calling
    // thread and start no worker; OpenCV keeps its threads, the floor starts
    // its own. A call that does nothing but take and drop its hold on the
    // pool (an unknown method) shows what that costs alone.
    bool headed = false;
    double poolOnly = 0.0;
    if (std::any_of(rows.begin(), rows.end(), [](const Row& r) { return r.workload[0] == 'E'; })) {
        unsigned char pixel = 0;
        std::vector<double> times;
        for (int r = 0; r < rounds + 1; ++r) {
            const double t = Seconds([&] {
                for (int i = 0; i < 200; ++i) LumoMathResize(0, 1, 8, &pixel, {1, 1}, 1, &pixel, {1, 1}, 1);
            });
            if (r > 0) times.push_back(t / 200);
        }
        poolOnly = Median(times);
    }
    for (const Row& r : rows) {
        if (r.workload[0] != 'E') continue;
        if (!headed) {
            std::printf("\n| small image, per call | method | ours us | plain us | OpenCV us | floor us | "
                        "ours/OpenCV | same bytes as plain |\n|---|---|---:|---:|---:|---:|---:|:---:|\n");
            headed = true;
        }
        std::printf("| %s | %s | %.1f | %.1f | %.1f | %.1f | %.2f | %s |\n", r.workload.c_str(), r.method.c_str(),
                    r.ours * 1e6, r.reference * 1e6, r.opencv * 1e6, r.floor * 1e6, r.ours / r.opencv,
                    r.same ? "yes" : "NO");
    }
    if (headed)
        std::printf("\nA call that only takes and drops its hold on the pool (unknown method): %.1f us\n",
                    poolOnly * 1e6);

    const std::vector<int64_t> targets = hwy::SupportedAndGeneratedTargets();
    const int64_t best = *std::min_element(targets.begin(), targets.end());  // lower bits are better targets
    std::printf("\nVector target used by our kernels: %s\n", hwy::TargetName(best));
    return allSame ? 0 : 1;
}
