// The platform seam for the 2-D complex FFT of the transfer functions. One
// implementation file per back end provides it, and the build takes one:
// fft_builtin.cpp, the library's own (the default), or fft_fftw.cpp on FFTW3;
// nothing outside that file knows which one does the work.
#pragma once

namespace lumo::platform {

/// Sign of the exponent: forward e^(-2*pi*i...), inverse e^(+2*pi*i...).
enum class FftSign { kForward = -1, kInverse = +1 };

/// An in-place 2-D complex transform of one pair of split arrays (real parts,
/// imaginary parts) holding 2^log2Rows rows of 2^log2Columns elements each,
/// rows back to back. Unnormalised in both directions. Made once per call and
/// run as often as needed on the same arrays; planning and destruction may
/// happen on several threads at once, and so may running different plans.
/// The same input gives the same bits on every run, wherever the arrays lie
/// (the built-in back end also on every processor and vector target).
template <class Real>
class Fft2dPlan {
public:
    /// Plans the transform; the arrays' contents are left alone. Check
    /// Valid() before running: planning fails for spans the platform cannot
    /// transform.
    Fft2dPlan(Real* real, Real* imag, int log2Rows, int log2Columns, FftSign sign);
    ~Fft2dPlan();
    Fft2dPlan(const Fft2dPlan&) = delete;
    Fft2dPlan& operator=(const Fft2dPlan&) = delete;

    /// Whether a span of 2^log2Rows x 2^log2Columns can be planned at all, so
    /// that callers can refuse before allocating work arrays for it.
    static bool Supports(int log2Rows, int log2Columns);

    bool Valid() const { return plan_ != nullptr; }
    /// Transforms the arrays given at planning, in place.
    void Execute() const;

private:
    void* plan_ = nullptr;
};

extern template class Fft2dPlan<float>;
extern template class Fft2dPlan<double>;

}  // namespace lumo::platform
