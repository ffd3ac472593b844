// The library's own 2-D FFT (the platform seam of the transfer functions)
// against FFTW3 and against Eigen's FFT module where Eigen is found: time per
// call and accuracy. FFTW runs twice: planned FFTW_ESTIMATE on the work
// arrays through its split interface ("FFTW"), and as the FFTW back end runs
// it, through an aligned pair of its own that every plane is copied through
// so that its bits do not depend on where the work arrays lie ("FFTW back end").
//
// A call is what a transfer function does: plan on two work arrays, then for
// each of `count` planes copy it in and transform it in place, then destroy
// the plan. Eigen's module has 1-D transforms of interleaved complex data
// only, so its call copies each plane in interleaved, transforms the rows,
// and gathers each column into a line, transforms it and scatters it back.
//
// The machines we run on are shared and noisy: every round times all
// contenders back to back in an order that rotates, and the table reports
// medians of the rounds and their ratios.
//
// Accuracy, on random data in [-1, 1) (rounded to float for float):
// - round trip: forward, then inverse scaled by 1/N, against the input,
//   max abs difference over the input's max magnitude;
// - vs FFTW double: the forward result against FFTW's double-precision one on
//   the same input, max abs difference over that result's max magnitude.
//
// Usage: lumomath_fft_bench [--rounds N]
#include <fftw3.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <hwy/targets.h>

#include "platform/fft.h"

#ifdef LUMOMATH_BENCH_EIGEN
#include <unsupported/Eigen/FFT>
#endif

namespace {

using lumo::platform::Fft2dPlan;
using lumo::platform::FftSign;

template <class Real>
struct Fftw;

template <>
struct Fftw<double> {
    static void* Plan(int rows, int columns, double* re, double* im, FftSign sign, unsigned flags) {
        const fftw_iodim dims[2] = {{rows, columns, columns}, {columns, 1, 1}};
        return sign == FftSign::kForward ? fftw_plan_guru_split_dft(2, dims, 0, nullptr, re, im, re, im, flags)
                                         : fftw_plan_guru_split_dft(2, dims, 0, nullptr, im, re, im, re, flags);
    }
    static void Execute(void* p) { fftw_execute(static_cast<fftw_plan>(p)); }
    static void Destroy(void* p) { fftw_destroy_plan(static_cast<fftw_plan>(p)); }
};

template <>
struct Fftw<float> {
    static void* Plan(int rows, int columns, float* re, float* im, FftSign sign, unsigned flags) {
        const fftwf_iodim dims[2] = {{rows, columns, columns}, {columns, 1, 1}};
        return sign == FftSign::kForward ? fftwf_plan_guru_split_dft(2, dims, 0, nullptr, re, im, re, im, flags)
                                         : fftwf_plan_guru_split_dft(2, dims, 0, nullptr, im, re, im, re, flags);
    }
    static void Execute(void* p) { fftwf_execute(static_cast<fftwf_plan>(p)); }
    static void Destroy(void* p) { fftwf_destroy_plan(static_cast<fftwf_plan>(p)); }
};

template <class Real>
Real* FftwArray(size_t n) {
    return static_cast<Real*>(fftw_malloc(n * sizeof(Real)));
}

int Log2(int n) {
    int k = 0;
    while ((1 << k) < n) ++k;
    return k;
}

/// Planes of n x n complex samples as the transfer functions get them.
struct Planes {
    int n, count;
    std::vector<double> re, im;
    size_t Plane() const { return static_cast<size_t>(n) * n; }
};

template <class Real>
void CopyIn(const Planes& in, int p, std::vector<Real>& re, std::vector<Real>& im) {
    const size_t size = in.Plane(), base = size * static_cast<size_t>(p);
    for (size_t i = 0; i < size; ++i) {
        re[i] = static_cast<Real>(in.re[base + i]);
        im[i] = static_cast<Real>(in.im[base + i]);
    }
}

/// One call of ours: plan, every plane in and transformed; the last plane's
/// result stays in re, im.
template <class Real>
void Ours(const Planes& in, std::vector<Real>& re, std::vector<Real>& im, FftSign sign) {
    const int k = Log2(in.n);
    const Fft2dPlan<Real> plan(re.data(), im.data(), k, k, sign);
    if (!plan.Valid()) std::abort();
    for (int p = 0; p < in.count; ++p) {
        CopyIn(in, p, re, im);
        plan.Execute();
    }
}

template <class Real>
void FftwCall(const Planes& in, std::vector<Real>& re, std::vector<Real>& im, FftSign sign) {
    void* plan = Fftw<Real>::Plan(in.n, in.n, re.data(), im.data(), sign, FFTW_ESTIMATE);
    if (plan == nullptr) std::abort();
    for (int p = 0; p < in.count; ++p) {
        CopyIn(in, p, re, im);
        Fftw<Real>::Execute(plan);
    }
    Fftw<Real>::Destroy(plan);
}

/// As the FFTW back end runs it: planned on a pair of its own, aligned and in
/// one order, and every plane copied through it.
template <class Real>
void FftwBackEnd(const Planes& in, std::vector<Real>& re, std::vector<Real>& im, FftSign sign) {
    const size_t size = in.Plane();
    Real* own = FftwArray<Real>(2 * size);
    Real* first = sign == FftSign::kForward ? re.data() : im.data();
    Real* second = sign == FftSign::kForward ? im.data() : re.data();
    void* plan = Fftw<Real>::Plan(in.n, in.n, own, own + size, FftSign::kForward, FFTW_ESTIMATE);
    if (plan == nullptr) std::abort();
    for (int p = 0; p < in.count; ++p) {
        CopyIn(in, p, re, im);
        std::memcpy(own, first, size * sizeof(Real));
        std::memcpy(own + size, second, size * sizeof(Real));
        Fftw<Real>::Execute(plan);
        std::memcpy(first, own, size * sizeof(Real));
        std::memcpy(second, own + size, size * sizeof(Real));
    }
    Fftw<Real>::Destroy(plan);
    fftw_free(own);
}

#ifdef LUMOMATH_BENCH_EIGEN
template <class Real>
void EigenCall(const Planes& in, std::vector<Real>& re, std::vector<Real>& im, FftSign sign) {
    using C = std::complex<Real>;
    const auto n = static_cast<size_t>(in.n);
    Eigen::FFT<Real> fft;
    fft.SetFlag(Eigen::FFT<Real>::Unscaled);
    std::vector<C> plane(n * n), line(n), out(n);
    for (int p = 0; p < in.count; ++p) {
        const size_t base = in.Plane() * static_cast<size_t>(p);
        for (size_t i = 0; i < n * n; ++i)
            plane[i] = C(static_cast<Real>(in.re[base + i]), static_cast<Real>(in.im[base + i]));
        for (size_t r = 0; r < n; ++r) {
            if (sign == FftSign::kForward) {
                fft.fwd(out.data(), plane.data() + r * n, static_cast<Eigen::Index>(n));
            } else {
                fft.inv(out.data(), plane.data() + r * n, static_cast<Eigen::Index>(n));
            }
            std::copy(out.begin(), out.end(), plane.begin() + static_cast<std::ptrdiff_t>(r * n));
        }
        for (size_t c = 0; c < n; ++c) {
            for (size_t r = 0; r < n; ++r) line[r] = plane[r * n + c];
            if (sign == FftSign::kForward) {
                fft.fwd(out.data(), line.data(), static_cast<Eigen::Index>(n));
            } else {
                fft.inv(out.data(), line.data(), static_cast<Eigen::Index>(n));
            }
            for (size_t r = 0; r < n; ++r) plane[r * n + c] = out[r];
        }
        for (size_t i = 0; i < n * n; ++i) {
            re[i] = plane[i].real();
            im[i] = plane[i].imag();
        }
    }
}
#endif

enum Contender { kOurs, kFftw, kFftwBackEnd, kEigen, kContenders };
#ifdef LUMOMATH_BENCH_EIGEN
constexpr int kRun = kContenders;
#else
constexpr int kRun = kEigen;
#endif

template <class Real>
void Call(int who, const Planes& in, std::vector<Real>& re, std::vector<Real>& im, FftSign sign) {
    switch (who) {
        case kOurs: Ours(in, re, im, sign); break;
        case kFftw: FftwCall(in, re, im, sign); break;
        case kFftwBackEnd: FftwBackEnd(in, re, im, sign); break;
#ifdef LUMOMATH_BENCH_EIGEN
        default: EigenCall(in, re, im, sign); break;
#else
        default: break;
#endif
    }
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

Planes RandomPlanes(int n, int count, bool single, unsigned seed) {
    Planes in{n, count, {}, {}};
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    in.re.resize(in.Plane() * static_cast<size_t>(count));
    in.im.resize(in.re.size());
    for (size_t i = 0; i < in.re.size(); ++i) {
        in.re[i] = single ? static_cast<float>(u(rng)) : u(rng);
        in.im[i] = single ? static_cast<float>(u(rng)) : u(rng);
    }
    return in;
}

struct Accuracy {
    double roundTrip[kContenders] = {};
    double vsDouble[kContenders] = {};
};

template <class Real>
double MaxDifference(const std::vector<Real>& re, const std::vector<Real>& im, const double* refRe,
                     const double* refIm, size_t size) {
    double diff = 0.0, mag = 0.0;
    for (size_t i = 0; i < size; ++i) {
        diff = std::max(diff, std::hypot(static_cast<double>(re[i]) - refRe[i], static_cast<double>(im[i]) - refIm[i]));
        mag = std::max(mag, std::hypot(refRe[i], refIm[i]));
    }
    return diff / mag;
}

template <class Real>
Accuracy Measure(int n, bool single) {
    const Planes in = RandomPlanes(n, 1, single, 7);
    const size_t size = in.Plane();
    std::vector<double> refRe(size), refIm(size);
    FftwCall(in, refRe, refIm, FftSign::kForward);
    Accuracy a;
    std::vector<Real> re(size), im(size);
    for (int who = 0; who < kRun; ++who) {
        Call(who, in, re, im, FftSign::kForward);
        a.vsDouble[who] = MaxDifference(re, im, refRe.data(), refIm.data(), size);
        Planes back{n, 1, std::vector<double>(re.begin(), re.end()), std::vector<double>(im.begin(), im.end())};
        Call(who, back, re, im, FftSign::kInverse);
        const auto scale = static_cast<Real>(1.0 / static_cast<double>(size));  // a power of two: exact
        for (size_t i = 0; i < size; ++i) {
            re[i] *= scale;
            im[i] *= scale;
        }
        a.roundTrip[who] = MaxDifference(re, im, in.re.data(), in.im.data(), size);
    }
    return a;
}

struct Row {
    int n, count;
    const char* precision;
    double ms[kContenders];
};

template <class Real>
Row Time(int n, int count, int rounds) {
    const Planes in = RandomPlanes(n, count, sizeof(Real) == 4, 11);
    std::vector<Real> re(in.Plane()), im(in.Plane());
    std::vector<double> times[kContenders];
    for (int r = 0; r < rounds + 1; ++r) {  // round 0 warms up
        for (int i = 0; i < kRun; ++i) {
            const int who = (i + r) % kRun;
            const auto start = std::chrono::steady_clock::now();
            Call(who, in, re, im, FftSign::kForward);
            const auto stop = std::chrono::steady_clock::now();
            if (r > 0) times[who].push_back(std::chrono::duration<double, std::milli>(stop - start).count());
        }
    }
    Row row{n, count, sizeof(Real) == 4 ? "float" : "double", {}};
    for (int who = 0; who < kRun; ++who) row.ms[who] = Median(times[who]);
    return row;
}

}  // namespace

int main(int argc, char** argv) {
    int rounds = 7;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--rounds") && i + 1 < argc) {
            rounds = std::max(1, std::atoi(argv[++i]));
        } else {
            std::fprintf(stderr, "usage: %s [--rounds N]\n", argv[0]);
            return 2;
        }
    }
    const int spans[] = {64, 256, 1024, 2048};

    std::printf("| span | planes | precision | ours ms | FFTW ms | FFTW back end ms |%s ours/FFTW |%s\n",
                kRun > kEigen ? " Eigen ms |" : "", kRun > kEigen ? " Eigen/FFTW |" : "");
    std::printf("|---|---:|---|---:|---:|---:|%s---:|%s\n", kRun > kEigen ? "---:|" : "", kRun > kEigen ? "---:|" : "");
    for (const int n : spans) {
        for (const int count : {1, 3}) {
            for (const bool single : {false, true}) {
                const Row row = single ? Time<float>(n, count, rounds) : Time<double>(n, count, rounds);
                std::printf("| %dx%d | %d | %s | %.3f | %.3f | %.3f |", n, n, count, row.precision, row.ms[kOurs],
                            row.ms[kFftw], row.ms[kFftwBackEnd]);
                if (kRun > kEigen) std::printf(" %.3f |", row.ms[kEigen]);
                std::printf(" %.2f |", row.ms[kOurs] / row.ms[kFftw]);
                if (kRun > kEigen) std::printf(" %.2f |", row.ms[kEigen] / row.ms[kFftw]);
                std::printf("\n");
                std::fflush(stdout);
            }
        }
    }

    std::printf("\n| span | precision | round trip: ours | FFTW |%s vs FFTW double: ours | FFTW |%s\n",
                kRun > kEigen ? " Eigen |" : "", kRun > kEigen ? " Eigen |" : "");
    std::printf("|---|---|---:|---:|%s---:|---:|%s\n", kRun > kEigen ? "---:|" : "", kRun > kEigen ? "---:|" : "");
    for (const int n : spans) {
        for (const bool single : {false, true}) {
            const Accuracy a = single ? Measure<float>(n, true) : Measure<double>(n, false);
            std::printf("| %dx%d | %s | %.2e | %.2e |", n, n, single ? "float" : "double", a.roundTrip[kOurs],
                        a.roundTrip[kFftw]);
            if (kRun > kEigen) std::printf(" %.2e |", a.roundTrip[kEigen]);
            std::printf(" %.2e | %.2e |", a.vsDouble[kOurs], a.vsDouble[kFftw]);
            if (kRun > kEigen) std::printf(" %.2e |", a.vsDouble[kEigen]);
            std::printf("\n");
            std::fflush(stdout);
        }
    }
    const int64_t targets = hwy::SupportedTargets() & HWY_TARGETS;
    std::printf("\nVector target of the built-in FFT: %s\n", hwy::TargetName(targets & -targets));
    return 0;
}
