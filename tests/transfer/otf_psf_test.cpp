#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>
#include <vector>

#include "common/work_memory.h"
#include "transfer/otf_psf.h"
#include "transfer/planes.h"

namespace {

using lumo::test::ConversionInfo;
using lumo::test::kConversions;
using lumo::test::Planes;

std::string ConversionName(const ::testing::TestParamInfo<ConversionInfo>& p) { return p.param.name; }

class EachConversion : public ::testing::TestWithParam<ConversionInfo> {
protected:
    void TearDown() override { lumo::testing::ResetWorkAllocationFailures(); }
};

INSTANTIATE_TEST_SUITE_P(All, EachConversion, ::testing::ValuesIn(kConversions), ConversionName);

TEST_P(EachConversion, CountZeroOrNegativeWritesNothing) {
    const Planes in = Planes::Random(8, 4, 1, 1);
    for (int32_t count : {0, -1, -100}) {
        Planes out(8, 4, 1, 7.5);
        EXPECT_EQ(Convert(GetParam(), in, out, 8, 4, count), 0) << count;
        EXPECT_EQ(out, Planes(8, 4, 1, 7.5)) << count;
    }
    // Nothing to convert, so even an unusable size is no error.
    Planes out(8, 4, 1, 7.5);
    EXPECT_EQ(Convert(GetParam(), in, out, 0, -3, 0), 0);
    EXPECT_EQ(out, Planes(8, 4, 1, 7.5));
}

TEST_P(EachConversion, WorkMemoryFailureGives3AndWritesNothing) {
    const Planes in = Planes::Random(8, 8, 2, 2);
    for (int successes : {0, 1}) {
        Planes out(8, 8, 2, -2.0);
        lumo::testing::FailWorkAllocationsAfter(successes);
        EXPECT_EQ(Convert(GetParam(), in, out, 8, 8, 2), 3) << successes;
        EXPECT_EQ(out, Planes(8, 8, 2, -2.0)) << successes;
    }
}

TEST_P(EachConversion, UnusableSizesGive7AndWriteNothing) {
    const Planes in = Planes::Random(4, 4, 1, 3);
    struct Size {
        int32_t w, h;
    };
    for (Size s : {Size{0, 4}, Size{4, 0}, Size{-4, 4}, Size{4, -1}, Size{65536, 65536}, Size{INT32_MIN, -1}}) {
        Planes out(4, 4, 1, 9.0);
        EXPECT_EQ(Convert(GetParam(), in, out, s.w, s.h, 1), 7) << s.w << "x" << s.h;
        EXPECT_EQ(out, Planes(4, 4, 1, 9.0));
    }
    Planes out(4, 4, 1, 9.0);
    EXPECT_EQ(GetParam().fn(in.re.data(), nullptr, out.re.data(), out.im.data(), 4, 4, 1), 7);
    EXPECT_EQ(out, Planes(4, 4, 1, 9.0));
}

TEST_P(EachConversion, ArraysSharedBetweenInputAndOutputGiveTheSameResult) {
    for (auto [w, h] : {std::pair{8, 4}, std::pair{6, 5}}) {
        const Planes in = Planes::Random(w, h, 3, 4);
        Planes separate(w, h, 3);
        ASSERT_EQ(Convert(GetParam(), in, separate, w, h, 3), 0);
        Planes shared = in;
        ASSERT_EQ(Convert(GetParam(), shared, shared, w, h, 3), 0);
        EXPECT_EQ(shared, separate) << w << "x" << h;
    }
}

TEST_P(EachConversion, PlanesAreTransformedIndependently) {
    // 8x8 makes the single-precision span 16x16: what the first plane's
    // transform leaves beyond the copied samples must not reach the second.
    for (auto [w, h] : {std::pair{8, 8}, std::pair{6, 5}}) {
        const size_t n = static_cast<size_t>(w) * h;
        const Planes both = Planes::Random(w, h, 2, 5);
        Planes together(w, h, 2);
        ASSERT_EQ(Convert(GetParam(), both, together, w, h, 2), 0);
        for (int32_t p = 0; p < 2; ++p) {
            Planes one(w, h, 1);
            std::copy_n(both.re.begin() + static_cast<long>(p * n), n, one.re.begin());
            std::copy_n(both.im.begin() + static_cast<long>(p * n), n, one.im.begin());
            Planes alone(w, h, 1);
            ASSERT_EQ(Convert(GetParam(), one, alone, w, h, 1), 0);
            EXPECT_TRUE(std::equal(alone.re.begin(), alone.re.end(), together.re.begin() + static_cast<long>(p * n)));
            EXPECT_TRUE(std::equal(alone.im.begin(), alone.im.end(), together.im.begin() + static_cast<long>(p * n)));
        }
    }
}

TEST_P(EachConversion, SinglePrecisionResultsAreFloats) {
    // 6x5: the inverse scale 1/30 is inexact, so the scaled product needs its own rounding.
    const Planes in = Planes::Random(6, 5, 2, 6);
    Planes out(6, 5, 2);
    ASSERT_EQ(Convert(GetParam(), in, out, 6, 5, 2), 0);
    size_t notFloat = 0;
    for (size_t i = 0; i < out.re.size(); ++i) {
        notFloat += static_cast<double>(static_cast<float>(out.re[i])) != out.re[i];
        notFloat += static_cast<double>(static_cast<float>(out.im[i])) != out.im[i];
    }
    // The double pair keeps its precision, so nearly all of its values are not floats.
    if (GetParam().single) {
        EXPECT_EQ(notFloat, 0u);
    } else {
        EXPECT_GT(notFloat, out.re.size());
    }
}

class ForwardConversion : public ::testing::TestWithParam<ConversionInfo> {};

INSTANTIATE_TEST_SUITE_P(Forward, ForwardConversion, ::testing::Values(kConversions[0], kConversions[2]),
                         ConversionName);

TEST_P(ForwardConversion, OfADeltaIsOneAcrossTheSpan) {
    // A delta's spectrum is flat whatever the span; at 6x5 the double
    // worker's 4x4 span leaves the plane's later (zero) samples as they were.
    for (auto [w, h] : {std::pair{8, 4}, std::pair{16, 16}, std::pair{6, 5}, std::pair{1, 1}}) {
        Planes in(w, h, 1);
        in.re[0] = 1.0;
        Planes out(w, h, 1, 3.0);
        ASSERT_EQ(Convert(GetParam(), in, out, w, h, 1), 0);
        const size_t span = size_t{1} << (lumo::TransformExponent(w, GetParam().single) +
                                          lumo::TransformExponent(h, GetParam().single));
        Planes expected(w, h, 1);
        std::fill_n(expected.re.begin(), std::min(span, expected.re.size()), 1.0);
        EXPECT_EQ(out, expected) << w << "x" << h;
    }
}

// The transform as the workers apply it, in long double: the plane's samples
// laid out row-major at `width` per row (narrowed to float for the single
// worker) and zero beyond, transformed over 2^ey rows of 2^ex, and the first
// width * height elements scaled into the output.
Planes DirectDft(const ConversionInfo& c, const Planes& in, int32_t w, int32_t h) {
    const int32_t ex = lumo::TransformExponent(w, c.single);
    const int32_t ey = lumo::TransformExponent(h, c.single);
    const int32_t cols = 1 << ex;
    const int32_t rows = 1 << ey;
    const size_t span = static_cast<size_t>(cols) * rows;
    const size_t n = static_cast<size_t>(w) * h;
    std::vector<long double> xr(std::max(span, n), 0.0L), xi(xr.size(), 0.0L);
    for (size_t i = 0; i < n; ++i) {
        xr[i] = c.single ? static_cast<float>(in.re[i]) : in.re[i];
        xi[i] = c.single ? static_cast<float>(in.im[i]) : in.im[i];
    }
    const long double sign = c.forward ? -1.0L : 1.0L;
    const long double scale = c.forward ? 1.0L : 1.0L / static_cast<long double>(n);
    Planes out(w, h, 1);
    for (size_t o = 0; o < n && o < span; ++o) {
        const int32_t k = static_cast<int32_t>(o) / cols;
        const int32_t l = static_cast<int32_t>(o) % cols;
        long double sr = 0.0L, si = 0.0L;
        for (int32_t m = 0; m < rows; ++m)
            for (int32_t q = 0; q < cols; ++q) {
                const long double turns = static_cast<long double>((k * m) % rows) / rows +
                                          static_cast<long double>((l * q) % cols) / cols;
                const long double a = sign * 2.0L * std::numbers::pi_v<long double> * turns;
                const size_t i = static_cast<size_t>(m) * cols + q;
                sr += xr[i] * std::cos(a) - xi[i] * std::sin(a);
                si += xr[i] * std::sin(a) + xi[i] * std::cos(a);
            }
        out.re[o] = static_cast<double>(sr * scale);
        out.im[o] = static_cast<double>(si * scale);
    }
    // Work elements beyond the span are copied back untouched.
    for (size_t o = span; o < n; ++o) {
        out.re[o] = static_cast<double>(xr[o] * scale);
        out.im[o] = static_cast<double>(xi[o] * scale);
    }
    return out;
}

struct DftCase {
    ConversionInfo conversion;
    int32_t width, height;
};

class MatchesDirectDft : public ::testing::TestWithParam<DftCase> {};

TEST_P(MatchesDirectDft, WithinRoundingOfThePrecision) {
    const DftCase k = GetParam();
    const Planes in = Planes::Random(k.width, k.height, 1, 7);
    Planes out(k.width, k.height, 1);
    ASSERT_EQ(Convert(k.conversion, in, out, k.width, k.height, 1), 0);
    const Planes expected = DirectDft(k.conversion, in, k.width, k.height);
    // Error bound: a few units of the precision times the largest possible
    // magnitude (the sum of |x| over the plane, scaled like the result).
    const double n = static_cast<double>(k.width) * k.height;
    const double magnitude = (k.conversion.forward ? 2.0 * n : 2.0);
    const double tolerance = (k.conversion.single ? 1e-6 : 1e-14) * magnitude;
    for (size_t i = 0; i < out.re.size(); ++i) {
        ASSERT_NEAR(out.re[i], expected.re[i], tolerance) << "element " << i;
        ASSERT_NEAR(out.im[i], expected.im[i], tolerance) << "element " << i;
    }
}

std::vector<DftCase> DftCases() {
    std::vector<DftCase> cases;
    // Powers of two (the single worker's span is doubled in both axes there),
    // a non-power-of-two size (spans of 8x8 single and 4x4 double over a 6x5
    // plane), a single row and a single sample.
    const std::pair<int32_t, int32_t> sizes[] = {{4, 4}, {8, 2}, {1, 8}, {6, 5}, {3, 7}, {1, 1}};
    for (const ConversionInfo& c : kConversions)
        for (auto [w, h] : sizes) cases.push_back({c, w, h});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Sizes, MatchesDirectDft, ::testing::ValuesIn(DftCases()),
                         [](const ::testing::TestParamInfo<DftCase>& p) {
                             return std::string(p.param.conversion.name) + "_" + std::to_string(p.param.width) + "x" +
                                    std::to_string(p.param.height);
                         });

TEST(DoublePair, InverseOfAllOnesIsADeltaAtTheOrigin) {
    for (auto [w, h] : {std::pair{8, 4}, std::pair{16, 16}, std::pair{1, 2}}) {
        Planes ones(w, h, 1);
        std::fill(ones.re.begin(), ones.re.end(), 1.0);
        Planes out(w, h, 1, 5.0);
        ASSERT_EQ(LumoMathConvertPsfFromOtf_D(ones.re.data(), ones.im.data(),
                                              out.re.data(), out.im.data(), w, h, 1),
                  0);
        for (size_t i = 0; i < out.re.size(); ++i) {
            EXPECT_NEAR(out.re[i], i == 0 ? 1.0 : 0.0, 1e-15) << i;
            EXPECT_NEAR(out.im[i], 0.0, 1e-15) << i;
        }
        EXPECT_EQ(out.re[0], 1.0);  // w*h summed exactly, then scaled by 1/(w*h)
    }
}

TEST(DoublePair, ForwardThenInverseReturnsTheInput) {
    // Power-of-two sizes, values in [-1, 1): back within 1e-15 per sample.
    for (auto [w, h] : {std::pair{8, 8}, std::pair{32, 4}, std::pair{1, 16}}) {
        const Planes in = Planes::Random(w, h, 2, 8);
        Planes otf(w, h, 2), back(w, h, 2);
        ASSERT_EQ(LumoMathConvertOtfFromPsf_D(in.re.data(), in.im.data(), otf.re.data(), otf.im.data(), w, h, 2), 0);
        ASSERT_EQ(LumoMathConvertPsfFromOtf_D(otf.re.data(), otf.im.data(), back.re.data(), back.im.data(), w, h, 2),
                  0);
        for (size_t i = 0; i < in.re.size(); ++i) {
            ASSERT_NEAR(back.re[i], in.re[i], 1e-15) << i;
            ASSERT_NEAR(back.im[i], in.im[i], 1e-15) << i;
        }
    }
}

TEST(SinglePair, SpanThePlatformCannotTransformGives3BeforeAllocating) {
    // 2^30 columns take a 2^31-column span under the single-precision rule.
    double re = 1.0, im = 0.0;
    lumo::testing::ResetWorkAllocationFailures();
    EXPECT_EQ(LumoMathConvertOtfFromPsf(&re, &im, &re, &im, 1 << 30, 1, 1), 3);
    EXPECT_EQ(lumo::testing::WorkAllocationCount(), 0);
    EXPECT_EQ(re, 1.0);
}

struct ExponentCase {
    int32_t n;
    int32_t single;
    int32_t doubled;
};

class Exponents : public ::testing::TestWithParam<ExponentCase> {};

TEST_P(Exponents, SingleAddsOneBeforeTruncating) {
    EXPECT_EQ(lumo::TransformExponent(GetParam().n, true), GetParam().single);
    EXPECT_EQ(lumo::TransformExponent(GetParam().n, false), GetParam().doubled);
}

INSTANTIATE_TEST_SUITE_P(Sizes, Exponents,
                         ::testing::Values(ExponentCase{1, 1, 0}, ExponentCase{2, 2, 1}, ExponentCase{3, 2, 1},
                                           ExponentCase{100, 7, 6}, ExponentCase{255, 8, 7}, ExponentCase{256, 9, 8},
                                           ExponentCase{1 << 20, 21, 20}, ExponentCase{(1 << 30) + 1, 31, 30}));

}  // namespace
