// The exported resize entry points: which kernel a call reaches, what is
// refused before any pixel is read and what keeps being accepted, and the
// worker pool around a call. Refused calls often claim images far larger than
// the buffers handed over: a check that let them through would read or write
// outside those buffers (which the sanitizer builds report) instead of
// answering 7.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "lumomath/LumoMath.h"
#include "pool/thread_pool.h"
#include "resize/kernel_harness.h"

namespace {

using lumo::test::TestImage;

// ---- Every method reaches its own kernel at each sample width.

class EntryPointRoute : public ::testing::TestWithParam<std::tuple<lumo::ResizeMethod, uint32_t /*bits*/>> {};

// The methods give different samples for this reduction, so an entry point
// that picked the wrong method or width would not match the kernel. A region
// that covers the whole source gives the whole-image call's bytes.
TEST_P(EntryPointRoute, GivesTheFastKernelsOutput) {
    const auto& [method, bits] = GetParam();
    const TestImage source = TestImage::Random(9, 7, 3, bits, 4, method.id * 100 + bits);
    for (const tagLumoRect region : {tagLumoRect{1, 2, 6, 5}, lumo::WholeImage(source.Size())}) {
        TestImage expected = TestImage::Make(5, 4, 3, bits, 6);
        TestImage actual = expected;
        ASSERT_EQ((lumo::test::Kernel{method, false}(source, region, expected)), kLumoResultOK);
        EXPECT_EQ(LumoMathResizeWithRegion(method.id, 3, bits, source.Data(), source.Size(), source.rowBytes, region,
                                           actual.Data(), actual.Size(), actual.rowBytes),
                  kLumoResultOK);
        EXPECT_EQ(actual.bytes, expected.bytes);
        if (region.width != source.width) continue;
        TestImage whole = TestImage::Make(5, 4, 3, bits, 6);
        EXPECT_EQ(LumoMathResize(method.id, 3, bits, source.Data(), source.Size(), source.rowBytes, whole.Data(),
                                 whole.Size(), whole.rowBytes),
                  kLumoResultOK);
        EXPECT_EQ(whole.bytes, expected.bytes);
    }
}

INSTANTIATE_TEST_SUITE_P(AllMethods, EntryPointRoute,
                         ::testing::Combine(::testing::ValuesIn(lumo::kResizeMethods), ::testing::Values(8u, 16u)),
                         [](const ::testing::TestParamInfo<EntryPointRoute::ParamType>& p) {
                             return std::get<0>(p.param).name + std::to_string(std::get<1>(p.param));
                         });

// ---- What is refused and what is accepted.

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
    bool regionPath = false;  // ResizeWithRegion rather than the exported pair
};

uint32_t BytesPerSample(uint32_t bits) { return bits <= 8 ? 1 : bits <= 16 ? 2 : bits / 8; }

uint32_t RowBytes(uint32_t given, tagLumoSize size, uint32_t channels, uint32_t bits) {
    return given != kTight ? given : size.width * channels * BytesPerSample(bits);
}

// The bytes an image claims, or a small buffer when it claims more than a
// test should allocate (the call must then be refused without touching it).
size_t BufferBytes(tagLumoSize size, uint32_t rowBytes, uint32_t channels, uint32_t bits) {
    if (size.width == 0 || size.height == 0) return 16;
    // In double: only whether it is small matters, and then it is exact.
    const double row = static_cast<double>(size.width) * channels * BytesPerSample(bits);
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
    if (c.regionPath) {
        return ResizeWithRegion(c.method, c.channels, c.bits, in, c.source, sourceRowBytes, c.region, out,
                                c.destination, destinationRowBytes);
    }
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
    // Unknown methods, depths and the averaging method's own refusals, in the
    // order callers have always seen: the reduction test comes before the
    // depth and compares with the whole source, also for a region.
    {"method 0", 0, 2, 8, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"method 3 (two methods)", 3, 2, 8, {8, 8}, kTight, {0, 0, 8, 8}, {4, 4}, kTight, false, false, 7},
    {"method 16", 16, 2, 8, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"nearest, depth 12", kNearest, 2, 12, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"bilinear, depth 12", kLinear, 2, 12, {8, 8}, kTight, {0, 0, 8, 8}, {4, 4}, kTight, false, false, 7},
    {"bicubic, depth 0", kCubic, 2, 0, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"averaging, depth 12", kAverage, 2, 12, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, false, false, 7},
    {"averaging to the same size", kAverage, 2, 8, {100, 100}, kTight, kWholeImage, {100, 100}, kTight, false,
     false, 7},
    {"averaging, enlarging", kAverage, 2, 16, {100, 100}, kTight, {0, 0, 100, 100}, {200, 200}, kTight, false,
     false, 7},
    {"averaging, enlarging at depth 12", kAverage, 2, 12, {8, 8}, kTight, kWholeImage, {9, 9}, kTight, false,
     false, 7},
    {"averaging, narrower but taller", kAverage, 2, 8, {100, 100}, kTight, kWholeImage, {50, 200}, kTight, false,
     false, 0},
    {"averaging, lower but wider", kAverage, 2, 16, {100, 100}, kTight, {0, 0, 100, 100}, {200, 50}, kTight, false,
     false, 0},
    {"averaging a small region of a large source", kAverage, 2, 8, {1000, 1000}, kTight, {0, 0, 10, 10}, {50, 50},
     kTight, false, false, 0},
    {"averaging a large region of a small source", kAverage, 2, 8, {40, 40}, kTight, {0, 0, 40, 40}, {50, 50},
     kTight, false, false, 7},
    // An empty source gives not-a-number ratios, which pass the reduction test.
    {"averaging nothing into nothing", kAverage, 1, 8, {0, 0}, kTight, kWholeImage, {0, 0}, kTight, false, false,
     0},
    {"averaging nothing into nothing at depth 12", kAverage, 1, 12, {0, 0}, kTight, kWholeImage, {0, 0}, kTight,
     false, false, 7},
    {"averaging into rows past 2^31", kAverage, 3, 8, {8, 8}, kTight, kWholeImage, {4, 0x80000000u}, kTight, false,
     false, 7},
    {"bicubic into rows past 2^31", kCubic, 2, 8, {3, 3}, kTight, kWholeImage, {4, 0x80000000u}, kTight, false,
     false, 7},
    {"empty source into nothing", kLinear, 2, 16, {0, 3}, kTight, kWholeImage, {0, 2}, kTight, false, false, 0},
    {"nearest enlarging a region", kNearest, 2, 16, {8, 8}, kTight, {2, 2, 4, 4}, {12, 12}, kTight, false, false,
     0},
    {"bilinear enlarging a region", kLinear, 2, 8, {8, 8}, kTight, {2, 2, 4, 4}, {12, 12}, kTight, false, false, 0},
    {"bicubic enlarging a region", kCubic, 2, 16, {8, 8}, kTight, {2, 2, 4, 4}, {12, 12}, kTight, false, false, 0},
    // Earlier refusals keep their code.
    {"unknown method with null buffers", 6, 1, 8, {8, 8}, kTight, kWholeImage, {4, 4}, kTight, true, true, 7},
    {"depth 12 into nothing", kNearest, 1, 12, {8, 8}, kTight, kWholeImage, {0, 0}, kTight, true, true, 7},

    // The single-threaded region path (ResizeWithRegion), with bicubic
    // interpolation unless said otherwise.
    {"path: null source", kCubic, 1, 8, {16, 16}, 16, {0, 0, 16, 16}, {4, 4}, kTight, true, false, 7, true},
    {"path: null destination", kCubic, 1, 16, {16, 16}, 32, {0, 0, 16, 16}, {20, 20}, kTight, false, true, 7, true},
    {"path: region past the right edge", kCubic, 2, 8, {16, 16}, 32, {10, 0, 8, 8}, {4, 4}, kTight, false, false, 7,
     true},
    {"path: region above the source", kCubic, 2, 16, {16, 16}, 64, {0, -1, 8, 8}, {12, 12}, kTight, false, false, 7,
     true},
    {"path: source stride short", kCubic, 1, 8, {16, 16}, 15, {0, 0, 16, 16}, {4, 4}, kTight, false, false, 7, true},
    {"path: source past 4 GiB", kCubic, 1, 8, {70000, 70000}, 70000, {0, 0, 16, 16}, {4, 4}, kTight, false, false, 7,
     true},
    // A depth above 16 steps the origin by its own width: rows sized for
    // 16-bit samples are too short for it.
    {"path: depth 32 with 16-bit rows", kCubic, 1, 32, {16, 16}, 32, {0, 0, 16, 16}, {4, 4}, kTight, false, false, 7,
     true},
    {"path: depth 32 with 32-bit rows", kCubic, 1, 32, {16, 16}, 64, {8, 0, 8, 8}, {2, 2}, kTight, false, false, 0,
     true},
    // The depth is answered first when no halving is needed; no channel means no work.
    {"path: depth 12 without halving, no buffers", kCubic, 1, 12, {16, 16}, 16, {0, 0, 4, 4}, {8, 8}, kTight, true,
     true, 96, true},
    {"path: depth 12 without halving", kCubic, 3, 12, {64, 48}, kTight, {0, 0, 64, 48}, {80, 60}, kTight, false,
     false, 96, true},
    {"path: no channels", kCubic, 0, 8, {0x7FFFFFFF, 0x7FFFFFFF}, 0, {0, 0, 0x7FFFFFFF, 0x7FFFFFFF}, {1, 1}, kTight,
     false, false, 0, true},
    {"path: no channels, no buffers", kCubic, 0, 8, {16, 16}, 0, {0, 0, 16, 16}, {1, 1}, kTight, true, true, 7, true},
    {"path: inside, halving", kCubic, 3, 16, {16, 16}, 96, {2, 2, 12, 12}, {3, 3}, kTight, false, false, 0, true},
    // A zero-sized destination would otherwise halve forever; a zero-sized
    // region has nothing to sample.
    {"path: no destination columns", kLinear, 1, 8, {16, 16}, 16, {0, 0, 16, 16}, {0, 4}, 8, false, false, 7, true},
    {"path: no destination rows", kLinear, 1, 8, {16, 16}, 16, {0, 0, 16, 16}, {4, 0}, 8, false, false, 7, true},
    {"path: no region columns", kLinear, 1, 8, {16, 16}, 16, {0, 0, 0, 16}, {8, 8}, 8, false, false, 7, true},
    {"path: no region rows", kLinear, 1, 8, {16, 16}, 16, {0, 0, 16, 0}, {8, 8}, 8, false, false, 7, true},
    {"path: destination wider than 2^31 - 1", kLinear, 1, 8, {16, 16}, 16, {0, 0, 16, 16}, {0x80000000u, 4}, 8,
     false, false, 7, true},
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

// ---- The pool around a call (calls that overlap: tests/concurrency).

TEST(EntryPointPool, EachCallHoldsAPoolEvenForAnUnknownMethodAndInitializeAndTerminateNone) {
    unsigned char pixel = 0;
    const uint64_t before = lumo::CLUMThread::constructedCount();
    EXPECT_EQ(LumoMathTerminate(), kLumoResultOK);
    EXPECT_EQ(LumoMathInitialize(), kLumoResultOK);
    EXPECT_EQ(LumoMathResize(0, 1, 8, &pixel, {1, 1}, 1, &pixel, {1, 1}, 1), kLumoResultInvalidParameter);
    EXPECT_EQ(LumoMathResizeWithRegion(0, 1, 8, &pixel, {1, 1}, 1, {0, 0, 1, 1}, &pixel, {1, 1}, 1),
              kLumoResultInvalidParameter);
    // Each resize built its own pool (the first one's was gone when the second
    // began); Initialize and Terminate built none.
    EXPECT_EQ(lumo::CLUMThread::constructedCount() - before, 2u);

    // While someone else holds the pool, a call reuses it.
    const lumo::PoolHold held = lumo::HoldPool();
    const uint64_t withHold = lumo::CLUMThread::constructedCount();
    EXPECT_EQ(LumoMathResize(kLumoScalingNearestNeighbor, 1, 8, &pixel, {1, 1}, 1, &pixel, {1, 1}, 1), kLumoResultOK);
    EXPECT_EQ(lumo::CLUMThread::constructedCount(), withHold);
}

}  // namespace
