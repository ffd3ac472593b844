#include <gtest/gtest.h>

#include <complex>
#include <vector>

#include "platform/fft.h"

namespace {

using lumo::platform::Fft2dPlan;
using lumo::platform::FftSign;

// One nonzero sample at (row, column) of a 2^log2Rows x 2^log2Columns span;
// its transform is the plain exponential e^(sign * 2 pi i (k row / R + l column / C)).
struct ImpulseCase {
    int log2Rows, log2Columns;
    int row, column;
    FftSign sign;
};

template <class Real>
void CheckImpulse(const ImpulseCase& k, double tolerance) {
    const int rows = 1 << k.log2Rows;
    const int columns = 1 << k.log2Columns;
    std::vector<Real> re(static_cast<size_t>(rows * columns), Real{0}), im(re.size(), Real{0});
    const Fft2dPlan<Real> plan(re.data(), im.data(), k.log2Rows, k.log2Columns, k.sign);
    ASSERT_TRUE(plan.Valid());
    re[static_cast<size_t>(k.row * columns + k.column)] = Real{2};  // set after planning: planning may use the arrays
    plan.Execute();
    const double pi = 3.14159265358979323846;
    const double sign = k.sign == FftSign::kForward ? -1.0 : 1.0;
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c) {
            const double turns = static_cast<double>(r * k.row % rows) / rows +
                                 static_cast<double>(c * k.column % columns) / columns;
            const std::complex<double> expected = 2.0 * std::polar(1.0, sign * 2.0 * pi * turns);
            const size_t i = static_cast<size_t>(r * columns + c);
            EXPECT_NEAR(static_cast<double>(re[i]), expected.real(), tolerance) << r << "," << c;
            EXPECT_NEAR(static_cast<double>(im[i]), expected.imag(), tolerance) << r << "," << c;
        }
}

class FftImpulse : public ::testing::TestWithParam<ImpulseCase> {};

TEST_P(FftImpulse, UnscaledWithTheRequestedSignInDouble) { CheckImpulse<double>(GetParam(), 1e-14); }
TEST_P(FftImpulse, UnscaledWithTheRequestedSignInFloat) { CheckImpulse<float>(GetParam(), 1e-5); }

INSTANTIATE_TEST_SUITE_P(Spans, FftImpulse,
                         ::testing::Values(ImpulseCase{0, 2, 0, 1, FftSign::kForward},
                                           ImpulseCase{0, 2, 0, 1, FftSign::kInverse},
                                           ImpulseCase{1, 0, 1, 0, FftSign::kForward},
                                           ImpulseCase{2, 3, 1, 3, FftSign::kForward},
                                           ImpulseCase{2, 3, 3, 5, FftSign::kInverse},
                                           ImpulseCase{0, 0, 0, 0, FftSign::kInverse}));

TEST(FftPlan, SpansBeyondAnIntLengthAreNotPlanned) {
    EXPECT_TRUE(Fft2dPlan<float>::Supports(30, 0));
    EXPECT_FALSE(Fft2dPlan<float>::Supports(31, 0));
    EXPECT_FALSE(Fft2dPlan<double>::Supports(0, 31));
    EXPECT_FALSE(Fft2dPlan<double>::Supports(-1, 2));
    double re = 0.0, im = 0.0;
    EXPECT_FALSE((Fft2dPlan<double>(&re, &im, 31, 0, FftSign::kForward).Valid()));
}

}  // namespace
