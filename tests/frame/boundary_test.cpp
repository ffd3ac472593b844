// What the exported entry points refuse before any pixel is read, and what
// they keep accepting. Refused calls often claim images far larger than the
// buffers handed over: a check that let them through would read or write
// outside those buffers (which the sanitizer builds report) instead of
// answering 7.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <string>
#include <vector>

#include "lumomath/LumoMath.h"

namespace {

constexpr uint32_t kTight = UINT32_MAX;  // rowBytes placeholder: exactly one row
constexpr size_t kLargestRealBuffer = size_t{1} << 22;
constexpr unsigned char kUntouched = 0xC3;

// Test names from the cases' descriptions.
struct CaseName {
    template <class Case>
    std::string operator()(const ::testing::TestParamInfo<Case>& param) const {
        std::string name;
        for (const char* p = param.param.what; *p != '\0'; ++p)
            name += std::isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
        return name;
    }
};

const tagLumoRect kWholeImage{-1, -1, 0, 0};  // marks a LumoMathResize call

struct Call {
    const char* what;
    LumoScalingMethod method;
    uint32_t channels;
    uint32_t bits;
    tagLumoSize source;
    uint32_t sourceRowBytes;
    tagLumoRect region;
    tagLumoSize destination;
    uint32_t destinationRowBytes;
    bool nullSource;
    bool nullDestination;
    LumoResult expected;
};

uint32_t RowBytes(uint32_t given, tagLumoSize size, uint32_t channels, uint32_t bits) {
    return given != kTight ? given : size.width * channels * (bits == 8 ? 1u : 2u);
}

// The bytes an image claims, or a small buffer when it claims more than a
// test should allocate (the call must then be refused without touching it).
size_t BufferBytes(tagLumoSize size, uint32_t rowBytes, uint32_t channels, uint32_t bits) {
    if (size.width == 0 || size.height == 0) return 16;
    // In double: only whether it is small matters, and then it is exact.
    const double row = static_cast<double>(size.width) * channels * (bits == 8 ? 1 : 2);
    const double bytes = static_cast<double>(rowBytes) * (size.height - 1) + row;
    return bytes > kLargestRealBuffer ? 64 : static_cast<size_t>(bytes) + 16;
}

LumoResult CallEntryPoint(const Call& c, std::vector<unsigned char>& source, std::vector<unsigned char>& destination) {
    const uint32_t sourceRowBytes = RowBytes(c.sourceRowBytes, c.source, c.channels, c.bits);
    const uint32_t destinationRowBytes = RowBytes(c.destinationRowBytes, c.destination, c.channels, c.bits);
    source.assign(BufferBytes(c.source, sourceRowBytes, c.channels, c.bits), 0x11);
    destination.assign(BufferBytes(c.destination, destinationRowBytes, c.channels, c.bits), kUntouched);
    const void* in = c.nullSource ? nullptr : source.data();
    void* out = c.nullDestination ? nullptr : destination.data();
    if (c.region.x == kWholeImage.x && c.region.width == 0 && c.region.y == kWholeImage.y) {
        return LumoMathResize(c.method, c.channels, c.bits, in, c.source, sourceRowBytes, out, c.destination,
                              destinationRowBytes);
    }
    return LumoMathResizeWithRegion(c.method, c.channels, c.bits, in, c.source, sourceRowBytes, c.region, out,
                                    c.destination, destinationRowBytes);
}

constexpr LumoScalingMethod kNearest = kLumoScalingNearestNeighbor;
constexpr LumoScalingMethod kLinear = kLumoScalingBiLinear;
constexpr LumoScalingMethod kCubic = kLumoScalingBiCubic;
constexpr LumoScalingMethod kAverage = kLumoScalingSuperSampling;

const Call kCalls[] = {
    // Buffers that are not there.
    {"null source", kLinear, 3, 8, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, true, false, 7},
    {"null destination", kNearest, 3, 16, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, false, true, 7},
    {"null source, region", kAverage, 1, 8, {8, 8}, kTight, {0, 0, 8, 8}, {4, 4}, kTight, true, false, 7},
    // Nothing to sample from.
    {"source of width 0", kNearest, 1, 8, {0, 8}, kTight, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"source of height 0", kCubic, 1, 16, {8, 0}, kTight, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"region of width 0", kNearest, 1, 8, {8, 8}, kTight, {2, 2, 0, 4}, {4, 4}, kTight, false, false, 7},
    {"region of height 0", kLinear, 1, 8, {8, 8}, kTight, {2, 2, 4, 0}, {4, 4}, kTight, false, false, 7},
    // Regions the interpolating and averaging methods would read past.
    {"region past the right edge", kLinear, 2, 8, {8, 8}, kTight, {5, 0, 4, 4}, {6, 6}, kTight, false, false, 7},
    {"region past the bottom edge", kAverage, 2, 16, {8, 8}, kTight, {0, 6, 4, 4}, {2, 2}, kTight, false, false, 7},
    {"region left of the source", kCubic, 2, 8, {8, 8}, kTight, {-1, 0, 4, 4}, {6, 6}, kTight, false, false, 7},
    {"region above the source", kCubic, 2, 16, {8, 8}, kTight, {0, -3, 4, 4}, {6, 6}, kTight, false, false, 7},
    {"region wider than 2^31", kLinear, 1, 8, {8, 8}, kTight, {4, 0, 0xFFFFFFFCu, 4}, {6, 6}, kTight, false, false,
     7},
    // The averaging accumulators hold four channels.
    {"averaging 5 channels", kAverage, 5, 8, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"averaging 5 channels into nothing", kAverage, 5, 8, {8, 8}, kTight, kWholeImage, {0, 0}, kTight, true, true,
     7},
    // Rows that overlap or do not fit 32-bit offsets.
    {"source stride one byte short", kNearest, 3, 8, {8, 8}, 23, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"destination stride one sample short", kLinear, 3, 16, {8, 8}, kTight, kWholeImage, {4, 4}, 22, false, false,
     7},
    {"source past 4 GiB", kNearest, 1, 8, {70000, 70000}, kTight, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"destination past 4 GiB", kCubic, 2, 16, {8, 8}, kTight, kWholeImage, {40000, 40000}, kTight, false, false,
     7},
    {"row offsets wrap", kNearest, 1, 8, {4, 3}, 0x80000000u, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"destination wider than 2^31 - 1", kNearest, 1, 8, {8, 8}, kTight, kWholeImage, {0x80000000u, 1}, kTight,
     false, false, 7},
    // Working memory that would wrap its 32-bit size.
    {"bicubic intermediate past 4 GiB", kCubic, 1, 8, {1, 70000}, kTight, kWholeImage, {70000, 1}, kTight, false,
     false, 7},
    {"bilinear intermediate past 4 GiB", kLinear, 1, 16, {1, 70000}, kTight, {0, 0, 1, 70000}, {70000, 1}, kTight,
     false, false, 7},

    // Accepted as they always were.
    {"nearest region wholly outside", kNearest, 2, 8, {8, 8}, kTight, {100, -50, 4, 4}, {6, 6}, kTight, false, false,
     0},
    {"nearest region larger than the source", kNearest, 1, 16, {8, 8}, kTight, {-4, -4, 16, 16}, {8, 8}, kTight,
     false, false, 0},
    {"averaging a small region of a larger source", kAverage, 4, 8, {64, 64}, kTight, {60, 60, 4, 4}, {8, 8}, kTight,
     false, false, 0},
    {"region equal to the source", kCubic, 3, 16, {8, 8}, kTight, {0, 0, 8, 8}, {5, 5}, kTight, false, false, 0},
    {"padded rows", kLinear, 3, 8, {8, 8}, 40, kWholeImage, {5, 5}, 19, false, false, 0},
    {"one row, stride 0", kCubic, 2, 8, {8, 1}, 0, kWholeImage, {3, 1}, 0, false, false, 0},
    {"empty destination, no buffers", kCubic, 3, 8, {8, 8}, kTight, kWholeImage, {0, 9}, kTight, true, true, 0},
    {"destination of height 0, huge width", kLinear, 1, 8, {8, 8}, kTight, kWholeImage, {0xFFFFFFFFu, 0}, kTight,
     true, true, 0},
    {"no channels", kLinear, 0, 16, {8, 8}, kTight, {0, 0, 8, 8}, {0x7FFFFFFFu, 0x7FFFFFFFu}, kTight, false, false,
     0},
    {"no channels, no buffers", kCubic, 0, 8, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, true, true, 7},
    {"no channels, empty source", kCubic, 0, 8, {0, 8}, kTight, kWholeImage, {4, 4}, kTight, false, false, 7},
    // Earlier refusals keep their code.
    {"unknown method with null buffers", 6, 1, 8, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, true, true, 7},
    {"depth 12 into nothing", kNearest, 1, 12, {8, 8}, kTight, kWholeImage, {0, 0}, kTight, true, true, 7},
};

class EntryPointBoundary : public ::testing::TestWithParam<Call> {};

TEST_P(EntryPointBoundary, AnswersAndWritesOnlyOnSuccess) {
    const Call& c = GetParam();
    std::vector<unsigned char> source;
    std::vector<unsigned char> destination;
    EXPECT_EQ(CallEntryPoint(c, source, destination), c.expected);
    if (c.expected != kLumoResultOK) {
        EXPECT_EQ(destination, std::vector<unsigned char>(destination.size(), kUntouched));
    }
    // The slack after the last row is never written either way.
    for (size_t i = destination.size() - 16; i < destination.size(); ++i) ASSERT_EQ(destination[i], kUntouched);
}

INSTANTIATE_TEST_SUITE_P(Calls, EntryPointBoundary, ::testing::ValuesIn(kCalls),
                         CaseName());

// A region wholly outside the source takes the nearest source pixel, as a
// region reaching past the edge always has.
TEST(EntryPointBoundary, NearestRegionOutsideTheSourceRepeatsTheCornerPixel) {
    std::vector<unsigned char> source(4 * 3);
    for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(10 + i);
    std::vector<unsigned char> destination(5 * 2, 0);
    ASSERT_EQ(LumoMathResizeWithRegion(kNearest, 1, 8, source.data(), {4, 3}, 4, {9, -7, 2, 2}, destination.data(),
                                       {5, 2}, 5),
              kLumoResultOK);
    // Rows above the source clamp to row 0, columns past it to column 3.
    EXPECT_EQ(destination, std::vector<unsigned char>(10, 13));
}

// ---- The single-threaded region path.

struct PathCall {
    const char* what;
    uint32_t channels;
    uint32_t bits;
    tagLumoSize source;
    uint32_t sourceRowBytes;
    tagLumoRect region;
    tagLumoSize destination;
    bool nullSource;
    bool nullDestination;
    LumoResult expected;
};

const PathCall kPathCalls[] = {
    {"null source", 1, 8, {16, 16}, 16, {0, 0, 16, 16}, {4, 4}, true, false, 7},
    {"null destination", 1, 16, {16, 16}, 32, {0, 0, 16, 16}, {20, 20}, false, true, 7},
    {"region past the right edge", 2, 8, {16, 16}, 32, {10, 0, 8, 8}, {4, 4}, false, false, 7},
    {"region above the source", 2, 16, {16, 16}, 64, {0, -1, 8, 8}, {12, 12}, false, false, 7},
    {"source stride short", 1, 8, {16, 16}, 15, {0, 0, 16, 16}, {4, 4}, false, false, 7},
    {"source past 4 GiB", 1, 8, {70000, 70000}, 70000, {0, 0, 16, 16}, {4, 4}, false, false, 7},
    // A depth above 16 steps the origin by its own width: rows sized for
    // 16-bit samples are too short for it.
    {"depth 32 with 16-bit rows", 1, 32, {16, 16}, 32, {0, 0, 16, 16}, {4, 4}, false, false, 7},
    {"depth 32 with 32-bit rows", 1, 32, {16, 16}, 64, {8, 0, 8, 8}, {2, 2}, false, false, 0},
    // The depth is answered first when no halving is needed; no channel means no work.
    {"depth 12 without halving, no buffers", 1, 12, {16, 16}, 16, {0, 0, 4, 4}, {8, 8}, true, true, 96},
    {"no channels", 0, 8, {0x7FFFFFFF, 0x7FFFFFFF}, 0, {0, 0, 0x7FFFFFFF, 0x7FFFFFFF}, {1, 1}, false, false, 0},
    {"no channels, no buffers", 0, 8, {16, 16}, 0, {0, 0, 16, 16}, {1, 1}, true, true, 7},
    {"inside, halving", 3, 16, {16, 16}, 96, {2, 2, 12, 12}, {3, 3}, false, false, 0},
};

class RegionPathBoundary : public ::testing::TestWithParam<PathCall> {};

TEST_P(RegionPathBoundary, AnswersAndWritesOnlyOnSuccess) {
    const PathCall& c = GetParam();
    const uint64_t sourceBytes = uint64_t{c.sourceRowBytes} * c.source.height;
    std::vector<unsigned char> source(sourceBytes > kLargestRealBuffer ? 64 : sourceBytes + 16, 0x22);
    const uint32_t destinationRowBytes = c.destination.width * c.channels * 2;
    std::vector<unsigned char> destination(size_t{destinationRowBytes} * c.destination.height + 16, kUntouched);
    EXPECT_EQ(ResizeWithRegion(kLumoScalingBiCubic, c.channels, c.bits, c.nullSource ? nullptr : source.data(),
                               c.source, c.sourceRowBytes, c.region,
                               c.nullDestination ? nullptr : destination.data(), c.destination,
                               destinationRowBytes),
              c.expected);
    if (c.expected != kLumoResultOK) {
        EXPECT_EQ(destination, std::vector<unsigned char>(destination.size(), kUntouched));
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, RegionPathBoundary, ::testing::ValuesIn(kPathCalls),
                         CaseName());

// ---- The transforms: every plane must be reachable by a 32-bit offset.

TEST(TransformBoundary, PlaneOffsetsPast32BitsAreRefused) {
    std::vector<double> a(64, 1.0), b(64, 2.0), c(64, -1.0), d(64, -1.0);
    using Fn = int32_t (*)(const double*, const double*, double*, double*, int32_t, int32_t, int32_t);
    for (const Fn fn : {LumoMathConvertOtfFromPsf, LumoMathConvertPsfFromOtf, LumoMathConvertOtfFromPsf_D,
                        LumoMathConvertPsfFromOtf_D}) {
        // 2^30 elements per plane: the fifth plane would start at 2^32.
        EXPECT_EQ(fn(a.data(), b.data(), c.data(), d.data(), 1 << 15, 1 << 15, 5), 7);
        EXPECT_EQ(fn(a.data(), b.data(), c.data(), d.data(), 1 << 15, 1 << 15, 4), 7);
        EXPECT_EQ(fn(a.data(), b.data(), c.data(), d.data(), 46341, 46341, 1), 7);  // plane past 2^31 - 1
        EXPECT_EQ(fn(a.data(), b.data(), c.data(), d.data(), 8, 0, 1), 7);
    }
    EXPECT_EQ(c, std::vector<double>(64, -1.0));
    EXPECT_EQ(d, std::vector<double>(64, -1.0));
}

}  // namespace
