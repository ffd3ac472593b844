// The FFT seam on FFTW3 (the opt-in back end), through its split-array
// interface. FFTW's planner keeps global state and is not thread-safe, so
// every planner call (making and destroying plans) is serialised here;
// running an existing plan is safe from any thread.
//
// FFTW's plan, and so the bits of its results, depends on where the arrays
// lie: vector code is chosen only for arrays aligned for it, and a real array
// above the imaginary one takes another path than one below it. The caller's
// arrays lie wherever the heap put them, so the plan transforms a pair of its
// own instead, always aligned and always in one order, and each run copies
// the caller's arrays in and back out. The same input then gives the same
// bits from call to call (on one processor: FFTW picks its code by the
// processor's vector units).
#include <fftw3.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>

#include "common/work_memory.h"
#include "platform/fft.h"

namespace lumo::platform {
namespace {

constexpr size_t kAlign = 64;

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

template <class Real>
struct Planned {
    void* memory;  // the block this lives in
    void* fftw;
    Real* real;  // the caller's arrays
    Real* imag;
    Real* ri;  // the plan's own: FFTW's real parts, its imaginary parts right after
    Real* ii;
    size_t size;
    bool inverse;
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
    const uint64_t size = uint64_t{static_cast<uint32_t>(rows)} * static_cast<uint32_t>(columns);
    const uint64_t arrayBytes = (size * sizeof(Real) + kAlign - 1) / kAlign * kAlign;  // below 2^64
    if (arrayBytes > (SIZE_MAX - sizeof(Planned<Real>) - 2 * kAlign) / 2) return;
    void* memory = WorkMalloc(static_cast<size_t>(2 * arrayBytes + sizeof(Planned<Real>) + 2 * kAlign));
    if (memory == nullptr) return;
    std::unique_ptr<void, WorkFreeDeleter> owned(memory);  // until planned: the lock may throw
    const uintptr_t address = reinterpret_cast<uintptr_t>(memory);
    auto* arrays = static_cast<unsigned char*>(memory) + ((kAlign - address % kAlign) % kAlign);
    // FFTW's split transform always has the forward sign; the inverse is the
    // same transform with the real and imaginary arrays exchanged.
    auto* p = new (arrays + 2 * arrayBytes) Planned<Real>{memory,
                                                          nullptr,
                                                          real,
                                                          imag,
                                                          reinterpret_cast<Real*>(arrays),
                                                          reinterpret_cast<Real*>(arrays + arrayBytes),
                                                          static_cast<size_t>(size),
                                                          sign == FftSign::kInverse};
    // Rows of `columns` elements back to back: the row stride is one row.
    const typename Fftw<Real>::IoDim dims[2] = {{rows, columns, columns}, {columns, 1, 1}};
    {
        std::lock_guard<std::mutex> lock(PlannerMutex());
        p->fftw = Fftw<Real>::PlanSplit(2, dims, p->ri, p->ii);
    }
    if (p->fftw == nullptr) return;
    plan_ = p;
    owned.release();
}

template <class Real>
Fft2dPlan<Real>::~Fft2dPlan() {
    if (plan_ == nullptr) return;
    auto* p = static_cast<Planned<Real>*>(plan_);
    {
        std::lock_guard<std::mutex> lock(PlannerMutex());
        Fftw<Real>::Destroy(p->fftw);
    }
    WorkFree(p->memory);
}

template <class Real>
void Fft2dPlan<Real>::Execute() const {
    if (plan_ == nullptr) return;
    const auto* p = static_cast<const Planned<Real>*>(plan_);
    Real* const first = p->inverse ? p->imag : p->real;
    Real* const second = p->inverse ? p->real : p->imag;
    std::memcpy(p->ri, first, p->size * sizeof(Real));
    std::memcpy(p->ii, second, p->size * sizeof(Real));
    Fftw<Real>::Execute(p->fftw);
    std::memcpy(first, p->ri, p->size * sizeof(Real));
    std::memcpy(second, p->ii, p->size * sizeof(Real));
}

template class Fft2dPlan<float>;
template class Fft2dPlan<double>;

}  // namespace lumo::platform
