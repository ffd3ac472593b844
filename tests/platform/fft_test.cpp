#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <memory>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

#include "lumomath/LumoMath.h"
#include "platform/fft.h"
#include "platform/fft_builtin_plan.h"
#include "vector_targets.h"

namespace {

using lumo::platform::Fft2dPlan;
using lumo::platform::FftSign;

TEST(FftPlan, SpansBeyondAnIntLengthAreNotPlanned) {
    EXPECT_TRUE(Fft2dPlan<float>::Supports(30, 0));
    EXPECT_FALSE(Fft2dPlan<float>::Supports(31, 0));
    EXPECT_FALSE(Fft2dPlan<double>::Supports(0, 31));
    EXPECT_FALSE(Fft2dPlan<double>::Supports(-1, 2));
    double re = 0.0, im = 0.0;
    EXPECT_FALSE((Fft2dPlan<double>(&re, &im, 31, 0, FftSign::kForward).Valid()));
}

// ---- Accuracy against a plain DFT in long double.

struct Span {
    int log2Rows, log2Columns;
    int Rows() const { return 1 << log2Rows; }
    int Columns() const { return 1 << log2Columns; }
    size_t Size() const { return static_cast<size_t>(Rows()) * static_cast<size_t>(Columns()); }
};

template <class Real>
struct Plane {
    std::vector<Real> re, im;
};

template <class Real>
Plane<Real> RandomPlane(size_t size, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    Plane<Real> p{std::vector<Real>(size), std::vector<Real>(size)};
    for (size_t i = 0; i < size; ++i) {
        p.re[i] = static_cast<Real>(u(rng));
        p.im[i] = static_cast<Real>(u(rng));
    }
    return p;
}

// The 2-D DFT done as sums along the rows, then down the columns, in long double.
template <class Real>
std::vector<std::complex<long double>> PlainDft(const Plane<Real>& in, Span s, FftSign sign) {
    using C = std::complex<long double>;
    const auto roots = [sign](int n) {
        std::vector<C> w(static_cast<size_t>(n));
        for (int k = 0; k < n; ++k) {
            const long double a = (sign == FftSign::kForward ? -2.0L : 2.0L) * std::numbers::pi_v<long double> * k / n;
            w[static_cast<size_t>(k)] = C(std::cos(a), std::sin(a));
        }
        return w;
    };
    const int rows = s.Rows(), columns = s.Columns();
    const std::vector<C> down = roots(rows), across = roots(columns);
    std::vector<C> x(s.Size()), y(s.Size());
    for (size_t i = 0; i < x.size(); ++i) x[i] = C(in.re[i], in.im[i]);
    for (int r = 0; r < rows; ++r)
        for (int l = 0; l < columns; ++l) {
            C sum = 0;
            for (int c = 0; c < columns; ++c) sum += x[r * columns + c] * across[static_cast<size_t>(l * c % columns)];
            y[r * columns + l] = sum;
        }
    for (int c = 0; c < columns; ++c)
        for (int k = 0; k < rows; ++k) {
            C sum = 0;
            for (int r = 0; r < rows; ++r) sum += y[r * columns + c] * down[static_cast<size_t>(k * r % rows)];
            x[k * columns + c] = sum;
        }
    return x;
}

// Spans with odd and even exponents (a radix-2 first stage or none), a single
// point, single lines, and enough lines for several strips and blocks on
// every target. Both signs of each, unscaled, against the plain sums.
const Span kSpans[] = {{0, 0}, {0, 1}, {1, 0}, {3, 2}, {2, 7}, {6, 5}, {5, 6}, {0, 9}, {10, 1}, {4, 4}};

template <class Real>
void CheckAgainstPlainDft(double epsilon) {
    for (const Span s : kSpans) {
        for (const FftSign sign : {FftSign::kForward, FftSign::kInverse}) {
            SCOPED_TRACE(::testing::Message() << s.Rows() << "x" << s.Columns() << " sign " << static_cast<int>(sign));
            const Plane<Real> in = RandomPlane<Real>(s.Size(), 3);
            const auto expected = PlainDft(in, s, sign);
            Plane<Real> out = in;
            const Fft2dPlan<Real> plan(out.re.data(), out.im.data(), s.log2Rows, s.log2Columns, sign);
            ASSERT_TRUE(plan.Valid());
            plan.Execute();
            // A radix-2 FFT's error grows with log2 of the length; the bound
            // is relative to the largest result.
            long double largest = 0;
            for (const auto& v : expected) largest = std::max(largest, std::abs(v));
            const double bound =
                2.0 * epsilon * (s.log2Rows + s.log2Columns + 1) * static_cast<double>(largest);
            double worst = 0.0;
            for (size_t i = 0; i < s.Size(); ++i)
                worst = std::max(worst, static_cast<double>(std::abs(
                                            std::complex<long double>(out.re[i], out.im[i]) - expected[i])));
            EXPECT_LE(worst, bound);

            // And back: the inverse of the other sign returns the input times the size.
            const FftSign back = sign == FftSign::kForward ? FftSign::kInverse : FftSign::kForward;
            const Fft2dPlan<Real> again(out.re.data(), out.im.data(), s.log2Rows, s.log2Columns, back);
            again.Execute();
            const auto size = static_cast<Real>(s.Size());
            worst = 0.0;
            for (size_t i = 0; i < s.Size(); ++i)
                worst = std::max({worst, std::abs(static_cast<double>(out.re[i] / size - in.re[i])),
                                  std::abs(static_cast<double>(out.im[i] / size - in.im[i]))});
            EXPECT_LE(worst, 4.0 * epsilon * (s.log2Rows + s.log2Columns + 1));
        }
    }
}

TEST(FftAccuracy, DoubleMatchesAPlainDftAndComesBack) { CheckAgainstPlainDft<double>(0x1p-53); }
TEST(FftAccuracy, FloatMatchesAPlainDftAndComesBack) { CheckAgainstPlainDft<float>(0x1p-24); }

TEST(FftTwiddles, WithinAnUlpOfTheCosineAndSine) {
    // Every factor of a 2^12-point transform and a spread of 2^30-point
    // ones, whose angles come closest to the octant boundaries.
    const auto check = [](uint64_t k, uint32_t log2) {
        double c = 0.0, s = 0.0;
        lumo::platform::builtin::TwiddleOf(k, log2, &c, &s);
        // The exact values from the nearest quarter turn and the small angle
        // left, which long double resolves near the zeros too.
        const int64_t quarter = int64_t{1} << (log2 - 2);
        const int64_t m = (static_cast<int64_t>(k) + quarter / 2) / quarter;
        const long double a = 2.0L * std::numbers::pi_v<long double> *
                              static_cast<long double>(static_cast<int64_t>(k) - m * quarter) /
                              static_cast<long double>(uint64_t{1} << log2);
        const long double ca = std::cos(a), sa = std::sin(a);
        const long double ec = m % 4 == 0 ? ca : m % 4 == 1 ? -sa : m % 4 == 2 ? -ca : sa;
        const long double es = m % 4 == 0 ? sa : m % 4 == 1 ? ca : m % 4 == 2 ? -sa : -ca;
        // A double's ulp at the exact value (the exact zeros are long double
        // values a little off zero).
        const auto ulp = [](long double v) {
            int e = 0;
            std::frexp(std::max(std::abs(v), 0x1p-60L), &e);
            return std::ldexp(1.0L, e - 53);
        };
        EXPECT_LE(std::abs(c - ec), ulp(ec)) << k << " of 2^" << log2;
        EXPECT_LE(std::abs(s - es), ulp(es)) << k << " of 2^" << log2;
    };
    for (uint64_t k = 0; k < 4096; ++k) check(k, 12);
    for (uint64_t k = 0; k < (uint64_t{1} << 30); k += 0x10001) check(k, 30);
    for (const uint64_t k : {1ull, (1ull << 27) - 1, (1ull << 27) + 1, (1ull << 28) - 1, (1ull << 30) - 1}) check(k, 30);
}

// ---- The same bits, whatever the arrays' alignment, the thread or the target.

template <class Real>
Plane<Real> TransformAt(const Plane<Real>& in, Span s, FftSign sign, size_t offset) {
    // The arrays start `offset` elements into larger blocks.
    std::vector<Real> re(s.Size() + 8), im(s.Size() + 8);
    std::copy(in.re.begin(), in.re.end(), re.begin() + static_cast<std::ptrdiff_t>(offset));
    std::copy(in.im.begin(), in.im.end(), im.begin() + static_cast<std::ptrdiff_t>(offset));
    const Fft2dPlan<Real> plan(re.data() + offset, im.data() + offset, s.log2Rows, s.log2Columns, sign);
    EXPECT_TRUE(plan.Valid());
    plan.Execute();
    plan.Execute();  // twice: the plan keeps nothing from one run to the next
    const auto from = re.begin() + static_cast<std::ptrdiff_t>(offset);
    const auto fromIm = im.begin() + static_cast<std::ptrdiff_t>(offset);
    return {std::vector<Real>(from, from + static_cast<std::ptrdiff_t>(s.Size())),
            std::vector<Real>(fromIm, fromIm + static_cast<std::ptrdiff_t>(s.Size()))};
}

template <class Real>
bool SameBits(const Plane<Real>& a, const Plane<Real>& b) {
    return a.re.size() == b.re.size() && std::memcmp(a.re.data(), b.re.data(), a.re.size() * sizeof(Real)) == 0 &&
           std::memcmp(a.im.data(), b.im.data(), a.im.size() * sizeof(Real)) == 0;
}

template <class Real>
void CheckAlignments() {
    for (const Span s : {Span{7, 6}, Span{6, 7}}) {
        const Plane<Real> in = RandomPlane<Real>(s.Size(), 5);
        const Plane<Real> first = TransformAt(in, s, FftSign::kForward, 0);
        for (size_t offset = 1; offset < 8; ++offset)
            EXPECT_TRUE(SameBits(TransformAt(in, s, FftSign::kForward, offset), first))
                << s.Rows() << "x" << s.Columns() << " offset " << offset;
    }
}

TEST(FftDeterminism, AlignmentOfTheArraysChangesNoBitInDouble) { CheckAlignments<double>(); }
TEST(FftDeterminism, AlignmentOfTheArraysChangesNoBitInFloat) { CheckAlignments<float>(); }

TEST(FftDeterminism, SinglePrecisionTransferGivesTheSameBitsWhereverItsWorkArraysLand) {
    // 97x61 transforms a 128x64 span in single precision; its work arrays
    // come from the heap, at alignments the blocks allocated first decide.
    constexpr int32_t kWidth = 97, kHeight = 61;
    const Plane<double> in = RandomPlane<double>(kWidth * kHeight, 9);
    Plane<double> first{std::vector<double>(in.re.size()), std::vector<double>(in.re.size())};
    ASSERT_EQ(LumoMathConvertOtfFromPsf(in.re.data(), in.im.data(), first.re.data(), first.im.data(), kWidth, kHeight, 1),
              0);
    // Six blocks of a work array's size (32 KiB), every other one freed,
    // leave holes of one alignment (neighbours lie 16 bytes apart modulo 32),
    // and the next call's two work arrays take two of them; a small block
    // first varies that alignment from round to round.
    std::vector<std::unique_ptr<char[]>> clutter;
    for (size_t shift = 0; shift < 4; ++shift) {
        clutter.emplace_back(new char[16 * shift + 8]);
        std::vector<std::unique_ptr<char[]>> blocks;
        for (int b = 0; b < 6; ++b) blocks.emplace_back(new char[8192 * sizeof(float)]);
        for (int b = 0; b < 6; b += 2) blocks[static_cast<size_t>(b)].reset();
        for (auto& b : blocks) clutter.push_back(std::move(b));
        Plane<double> out{std::vector<double>(in.re.size()), std::vector<double>(in.re.size())};
        ASSERT_EQ(LumoMathConvertOtfFromPsf(in.re.data(), in.im.data(), out.re.data(), out.im.data(), kWidth, kHeight, 1),
                  0);
        EXPECT_TRUE(SameBits(out, first)) << "shift " << shift;
    }
}

TEST(FftDeterminism, PlansOnSeveralThreadsAtOnceGiveTheSameBits) {
    const Span s{6, 7};
    const Plane<double> in = RandomPlane<double>(s.Size(), 13);
    const Plane<double> expected = TransformAt(in, s, FftSign::kInverse, 0);
    std::vector<Plane<double>> results(4);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < results.size(); ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 20; ++round) results[t] = TransformAt(in, s, FftSign::kInverse, t);
        });
    for (auto& t : threads) t.join();
    for (const auto& r : results) EXPECT_TRUE(SameBits(r, expected));
}

// Each vector target gives the bits of the baseline
// target (the last, plainest one), across spans that take full vectors, lines
// fewer than a vector, and both kinds of first stage.
class FftOnTarget : public ::testing::TestWithParam<int64_t> {
protected:
    void SetUp() override { LUMO_RUN_ON_TARGET(GetParam()); }
    void TearDown() override { hwy::SetSupportedTargetsForTest(0); }

    template <class Real>
    void CheckAgainstBaseline() {
        const int64_t baseline = hwy::SupportedAndGeneratedTargets().back();
        for (const Span s : {Span{7, 6}, Span{3, 10}, Span{9, 1}, Span{2, 2}}) {
            for (const FftSign sign : {FftSign::kForward, FftSign::kInverse}) {
                const Plane<Real> in = RandomPlane<Real>(s.Size(), 21);
                hwy::SetSupportedTargetsForTest(baseline);
                const Plane<Real> expected = TransformAt(in, s, sign, 0);
                hwy::SetSupportedTargetsForTest(GetParam());
                EXPECT_TRUE(SameBits(TransformAt(in, s, sign, 1), expected))
                    << s.Rows() << "x" << s.Columns() << " sign " << static_cast<int>(sign);
            }
        }
    }
};

TEST_P(FftOnTarget, SameBitsAsTheBaselineInDouble) { CheckAgainstBaseline<double>(); }
TEST_P(FftOnTarget, SameBitsAsTheBaselineInFloat) { CheckAgainstBaseline<float>(); }

INSTANTIATE_TEST_SUITE_P(Targets, FftOnTarget, ::testing::ValuesIn(lumo::test::CompiledTargets()),
                         lumo::test::TargetName);

}  // namespace
