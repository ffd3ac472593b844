#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/work_memory.h"
#include "lumomath/LumoMath.h"
#include "region/region_resize.h"
#include "resize/kernel_harness.h"

namespace {

using lumo::test::TestImage;

// A caller's buffer that starts on an odd address, so that 16-bit samples are
// never 2-byte aligned: the path must read and write them all the same.
struct OddBuffer {
    std::vector<unsigned char> storage;
    explicit OddBuffer(const TestImage& im) : storage(im.bytes.size() + 1) {
        std::memcpy(storage.data() + 1, im.bytes.data(), im.bytes.size());
    }
    unsigned char* Data() { return storage.data() + 1; }
    void CopyTo(TestImage& im) const { std::memcpy(im.bytes.data(), storage.data() + 1, im.bytes.size()); }
};

struct Call {
    uint32_t bits;
    uint32_t channels;
    tagLumoRect region;
    LumoResult Run(const TestImage& src, TestImage& dst, bool oddAddresses = false) const {
        if (!oddAddresses) {
            return ResizeWithRegion(kLumoScalingBiCubic, channels, bits, src.Data(), src.Size(), src.rowBytes, region,
                                    dst.Data(), dst.Size(), dst.rowBytes);
        }
        OddBuffer in(src);
        OddBuffer out(dst);
        const LumoResult r = ResizeWithRegion(kLumoScalingBiCubic, channels, bits, in.Data(), src.Size(),
                                              src.rowBytes, region, out.Data(), dst.Size(), dst.rowBytes);
        out.CopyTo(dst);
        return r;
    }
};

// Rounded means of 2x2 blocks, the reference for one halving step.
std::vector<uint32_t> Halve(const std::vector<uint32_t>& in, uint32_t w, uint32_t channels) {
    const uint32_t h = static_cast<uint32_t>(in.size()) / (w * channels);
    std::vector<uint32_t> out;
    for (uint32_t y = 0; y + 1 < h; y += 2)
        for (uint32_t x = 0; x + 1 < w; x += 2)
            for (uint32_t c = 0; c < channels; ++c) {
                auto at = [&](uint32_t xx, uint32_t yy) { return in[(yy * w + xx) * channels + c]; };
                out.push_back((at(x, y) + at(x + 1, y) + at(x, y + 1) + at(x + 1, y + 1) + 2) / 4);
            }
    return out;
}

struct Layout {
    uint32_t bits;
    uint32_t channels;
    uint32_t padding;
    bool odd;
};

std::string LayoutName(const ::testing::TestParamInfo<Layout>& info) {
    return std::to_string(info.param.bits) + "bit_" + std::to_string(info.param.channels) + "ch_pad" +
           std::to_string(info.param.padding) + (info.param.odd ? "_odd" : "");
}

class RegionLayouts : public ::testing::TestWithParam<Layout> {};

TEST_P(RegionLayouts, QuarterSizeHalvesTwiceThenCopiesTheTwoLevelMean) {
    const Layout l = GetParam();
    const TestImage src = TestImage::Random(811, 607, l.channels, l.bits, l.padding, 11);
    TestImage dst = TestImage::Make(200, 150, l.channels, l.bits, l.padding + 3);
    const tagLumoRect region{5, 3, 800, 600};

    lumo::testing::ResetWorkAllocationFailures();
    ASSERT_EQ((Call{l.bits, l.channels, region}.Run(src, dst, l.odd)), kLumoResultOK);
    EXPECT_EQ(lumo::testing::WorkAllocationCount(), 2);  // one intermediate per halving

    const auto expected = Halve(Halve(lumo::test::Crop(src, region).Samples(), 800, l.channels), 400, l.channels);
    EXPECT_EQ(dst.Samples(), expected);
    EXPECT_TRUE(dst.PaddingIntact());
}

TEST_P(RegionLayouts, EqualSizeGoesThroughTheInterpolationAsAnIdentity) {
    const Layout l = GetParam();
    const TestImage src = TestImage::Random(650, 490, l.channels, l.bits, l.padding, 12);
    TestImage dst = TestImage::Make(640, 480, l.channels, l.bits, l.padding + 1);
    const tagLumoRect region{7, 9, 640, 480};

    lumo::testing::ResetWorkAllocationFailures();
    ASSERT_EQ((Call{l.bits, l.channels, region}.Run(src, dst, l.odd)), kLumoResultOK);
    EXPECT_EQ(lumo::testing::WorkAllocationCount(), 0);
    EXPECT_EQ(dst.Samples(), lumo::test::Crop(src, region).Samples());
    EXPECT_TRUE(dst.PaddingIntact());
}

INSTANTIATE_TEST_SUITE_P(Layouts, RegionLayouts,
                         ::testing::Values(Layout{8, 1, 0, false}, Layout{8, 3, 5, false}, Layout{16, 1, 0, false},
                                           Layout{16, 4, 6, false}, Layout{16, 3, 2, true}),
                         LayoutName);

// Channel 0 ramps along x and channel 1 along y; bilinear reproduces a ramp
// exactly, so every destination sample shows the source coordinate it came
// from: x / s and y / s with the one factor s = destination width / region width.
struct RampCase {
    const char* name;
    uint32_t regionW, regionH, dstW, dstH;
    int allocations;
};

class RegionRamp : public ::testing::TestWithParam<RampCase> {};

TEST_P(RegionRamp, BothAxesUseTheWidthRatio) {
    const RampCase k = GetParam();
    TestImage src = TestImage::Make(k.regionW, k.regionH, 2, 16);
    for (uint32_t y = 0; y < k.regionH; ++y)
        for (uint32_t x = 0; x < k.regionW; ++x) {
            src.Set(x, y, 0, x);
            src.Set(x, y, 1, y);
        }
    TestImage dst = TestImage::Make(k.dstW, k.dstH, 2, 16, 4);
    lumo::testing::ResetWorkAllocationFailures();
    ASSERT_EQ((Call{16, 2, {0, 0, k.regionW, k.regionH}}.Run(src, dst)), kLumoResultOK);
    EXPECT_EQ(lumo::testing::WorkAllocationCount(), k.allocations);

    const double s = static_cast<double>(k.dstW) / static_cast<double>(k.regionW);
    auto mapped = [s](uint32_t i, uint32_t n) {
        const double f = static_cast<double>(i) / s;
        return static_cast<uint32_t>(f >= n ? n - 1 : f);
    };
    for (uint32_t y = 0; y < k.dstH; ++y)
        for (uint32_t x = 0; x < k.dstW; ++x) {
            ASSERT_EQ(dst.Get(x, y, 0), mapped(x, k.regionW)) << x << "," << y;
            ASSERT_EQ(dst.Get(x, y, 1), mapped(y, k.regionH)) << x << "," << y;
        }
    EXPECT_TRUE(dst.PaddingIntact());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RegionRamp,
    ::testing::Values(
        // Smaller both ways but 100 / 2 < 90: no halving, s = 0.3, rows past 30 repeat the last one.
        RampCase{"NoHalvingWhenOneAxisWouldUndershoot", 1000, 100, 300, 90, 0},
        // Enlarging: the direct case.
        RampCase{"Enlarging", 40, 30, 100, 75, 0},
        // Taller destination than the width ratio allows: rows beyond 10 * 2.5 repeat the last row.
        RampCase{"TallerDestinationRepeatsTheLastRow", 10, 10, 25, 40, 0}),
    [](const ::testing::TestParamInfo<RampCase>& p) { return std::string(p.param.name); });

TEST(RegionAspect, RowsPastTheRegionRepeatItsInterpolatedLastRow) {
    TestImage src = TestImage::Make(4, 2, 1, 8);
    const uint32_t rows[2][4] = {{10, 20, 30, 40}, {100, 120, 140, 160}};
    for (uint32_t y = 0; y < 2; ++y)
        for (uint32_t x = 0; x < 4; ++x) src.Set(x, y, 0, rows[y][x]);
    TestImage dst = TestImage::Make(8, 8, 1, 8);
    ASSERT_EQ((Call{8, 1, {0, 0, 4, 2}}.Run(src, dst)), kLumoResultOK);

    const std::vector<uint32_t> top = {10, 15, 20, 25, 30, 35, 40, 40};
    const std::vector<uint32_t> last = {100, 110, 120, 130, 140, 150, 160, 160};
    for (uint32_t y = 0; y < 8; ++y) {
        std::vector<uint32_t> row;
        for (uint32_t x = 0; x < 8; ++x) row.push_back(dst.Get(x, y, 0));
        if (y == 0) {
            EXPECT_EQ(row, top);
        } else if (y >= 2) {
            EXPECT_EQ(row, last) << "row " << y;
        }
    }
}

struct RoundingCase {
    uint32_t bits;
    uint32_t samples[4];
    uint32_t expected;
};

class HalvingRounding : public ::testing::TestWithParam<RoundingCase> {};

TEST_P(HalvingRounding, MeanOfFourRoundsHalvesUp) {
    const RoundingCase k = GetParam();
    TestImage src = TestImage::Make(2, 2, 1, k.bits);
    for (uint32_t i = 0; i < 4; ++i) src.Set(i % 2, i / 2, 0, k.samples[i]);
    TestImage dst = TestImage::Make(1, 1, 1, k.bits);
    ASSERT_EQ((Call{k.bits, 1, {0, 0, 2, 2}}.Run(src, dst)), kLumoResultOK);
    EXPECT_EQ(dst.Get(0, 0, 0), k.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, HalvingRounding,
                         ::testing::Values(RoundingCase{8, {0, 0, 0, 1}, 0}, RoundingCase{8, {1, 1, 1, 0}, 1},
                                           RoundingCase{8, {0, 0, 1, 1}, 1}, RoundingCase{8, {255, 255, 255, 255}, 255},
                                           RoundingCase{16, {0, 0, 0, 1}, 0}, RoundingCase{16, {1, 1, 1, 0}, 1},
                                           RoundingCase{16, {65535, 65535, 65535, 65535}, 65535},
                                           RoundingCase{16, {65535, 65535, 65534, 65534}, 65535}));

TEST(RegionDepth, TwelveBitsHalveAsSixteenBitSamples) {
    const TestImage src = TestImage::Random(64, 48, 3, 16, 0, 14);

    // Reducing with 12 bits halves 16-bit samples into 16-bit intermediates.
    // The origin still uses the stated depth: column 4 at 12 bits and 3
    // channels is 18 bytes in, which is column 3 of 16-bit samples.
    TestImage as12 = TestImage::Make(15, 11, 3, 16, 2);
    TestImage as16 = TestImage::Make(15, 11, 3, 16, 2);
    ASSERT_EQ((Call{12, 3, {4, 2, 60, 44}}.Run(src, as12, true)), kLumoResultOK);
    ASSERT_EQ((Call{16, 3, {3, 2, 60, 44}}.Run(src, as16, true)), kLumoResultOK);
    EXPECT_EQ(as12.bytes, as16.bytes);
    EXPECT_NE(as16.Samples(), std::vector<uint32_t>(as16.Samples().size(), 0u));
}

TEST(RegionTemplates, HalfAndCopyIgnoreTheOddLastRowAndColumn) {
    // 5x3 source: the last column and row must not be read.
    const uint16_t src[3][5] = {{4, 8, 12, 16, 60000}, {0, 4, 8, 12, 60000}, {60000, 60000, 60000, 60000, 60000}};
    uint16_t half[2] = {0, 0};
    lumo::resize_half<uint16_t>(reinterpret_cast<const unsigned char*>(src), 5, 3, 10,
                                reinterpret_cast<unsigned char*>(half), 2, 1, 4, 1);
    EXPECT_EQ(half[0], 4);   // (4 + 8 + 0 + 4 + 2) / 4
    EXPECT_EQ(half[1], 12);  // (12 + 16 + 8 + 12 + 2) / 4
    uint16_t copy[2][2] = {{1, 1}, {1, 1}};
    lumo::image_copy<uint16_t>(reinterpret_cast<const unsigned char*>(src), 5, 3, 10,
                               reinterpret_cast<unsigned char*>(copy), 2, 2, 4, 1);
    EXPECT_EQ(copy[0][1], 8);
    EXPECT_EQ(copy[1][0], 0);
    EXPECT_EQ(copy[1][1], 4);
}

}  // namespace
