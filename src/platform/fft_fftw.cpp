// The FFT seam on FFTW3, through its split-array interface so the work arrays
// are transformed in place as they are. FFTW's planner keeps global state and
// is not thread-safe, so every planner call (making and destroying plans) is
// serialised here; running an existing plan is safe from any thread.
#include "platform/fft.h"

#include <fftw3.h>

#include <climits>
#include <mutex>

namespace lumo::platform {
namespace {

std::mutex& PlannerMutex() {
    static std::mutex m;
    return m;
}

// 2^log2 as an FFTW length, or 0 when it does not fit an int.
int Length(int log2) { return log2 >= 0 && log2 < static_cast<int>(sizeof(int) * CHAR_BIT) - 1 ? 1 << log2 : 0; }

template <class Real>
struct Fftw;

template <>
struct Fftw<double> {
    using Plan = fftw_plan;
    using IoDim = fftw_iodim;
    static Plan PlanSplit(int rank, const IoDim* dims, double* ri, double* ii) {
        return fftw_plan_guru_split_dft(rank, dims, 0, nullptr, ri, ii, ri, ii, FFTW_ESTIMATE);
    }
    static void Execute(void* p) { fftw_execute(static_cast<Plan>(p)); }
    static void Destroy(void* p) { fftw_destroy_plan(static_cast<Plan>(p)); }
};

template <>
struct Fftw<float> {
    using Plan = fftwf_plan;
    using IoDim = fftwf_iodim;
    static Plan PlanSplit(int rank, const IoDim* dims, float* ri, float* ii) {
        return fftwf_plan_guru_split_dft(rank, dims, 0, nullptr, ri, ii, ri, ii, FFTW_ESTIMATE);
    }
    static void Execute(void* p) { fftwf_execute(static_cast<Plan>(p)); }
    static void Destroy(void* p) { fftwf_destroy_plan(static_cast<Plan>(p)); }
};

}  // namespace

template <class Real>
bool Fft2dPlan<Real>::Supports(int log2Rows, int log2Columns) {
    return Length(log2Rows) != 0 && Length(log2Columns) != 0;
}

template <class Real>
Fft2dPlan<Real>::Fft2dPlan(Real* real, Real* imag, int log2Rows, int log2Columns, FftSign sign) {
    const int rows = Length(log2Rows);
    const int columns = Length(log2Columns);
    if (rows == 0 || columns == 0 || real == nullptr || imag == nullptr) return;
    // Rows of `columns` elements back to back: the row stride is one row.
    const typename Fftw<Real>::IoDim dims[2] = {{rows, columns, columns}, {columns, 1, 1}};
    // FFTW's split transform always has the forward sign; the inverse is the
    // same transform with the real and imaginary arrays exchanged.
    Real* ri = sign == FftSign::kForward ? real : imag;
    Real* ii = sign == FftSign::kForward ? imag : real;
    std::lock_guard<std::mutex> lock(PlannerMutex());
    plan_ = Fftw<Real>::PlanSplit(2, dims, ri, ii);
}

template <class Real>
Fft2dPlan<Real>::~Fft2dPlan() {
    if (plan_ == nullptr) return;
    std::lock_guard<std::mutex> lock(PlannerMutex());
    Fftw<Real>::Destroy(plan_);
}

template <class Real>
void Fft2dPlan<Real>::Execute() const {
    if (plan_ != nullptr) Fftw<Real>::Execute(plan_);
}

template class Fft2dPlan<float>;
template class Fft2dPlan<double>;

}  // namespace lumo::platform
