// Inner products and norms of wave functions.
#include <cmath>
#include <cstdio>

#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_slots.h"

namespace {

bool SameWordLength(const WaveFunctionType& a, const WaveFunctionType& b, const char* fn) {
    if (a.NWord == b.NWord) return true;
    printf("%s called with functions of different determinant length (%u and %u bytes)\n", fn, a.NWord, b.NWord);
    fflush(stdout);
    return false;
}

bool SameBasisChecked(const WaveFunctionType& a, const WaveFunctionType& b, const char* fn) {
    if (wfslots::SameBasis(a, b)) return true;
    printf("%s called with functions that do not share one basis\n", fn);
    fflush(stdout);
    return false;
}

// <a|b> by lookups: the state with fewer elements is walked and each of its
// determinants looked up in the other.  The template flags say which
// arguments carry imaginary parts.
template <bool ACplx, bool BCplx>
Complex16 LookupDot(const WaveFunctionType& a, const WaveFunctionType& b) {
    const bool walkA = a.N <= b.N;
    const WaveFunctionType& walked = walkA ? a : b;
    const WaveFunctionType& other = walkA ? b : a;
    const long n = (long)walked.N;
    double sr = 0.0, si = 0.0;
#pragma omp parallel for schedule(static) reduction(+ : sr, si) if (n > 4096)
    for (long i = 1; i <= n; i++) {
        const uint32_t j = WaveFunctionIndexDet(&other, WaveFunctionDet(walked, (uint32_t)i));
        if (j == 0) continue;
        const uint32_t ia = walkA ? (uint32_t)i : j;
        const uint32_t ib = walkA ? j : (uint32_t)i;
        const double ar = WaveFunctionRe(a, ia), br = WaveFunctionRe(b, ib);
        const double ai = ACplx ? WaveFunctionIm(a, ia) : 0.0;
        const double bi = BCplx ? WaveFunctionIm(b, ib) : 0.0;
        sr += ar * br + ai * bi;
        if (ACplx || BCplx) si += ar * bi - ai * br;
    }
    return Complex16{sr, si};
}

Complex16 LookupDotAnyKind(const WaveFunctionType& a, const WaveFunctionType& b) {
    if (a.QComplex)
        return b.QComplex ? LookupDot<true, true>(a, b) : LookupDot<true, false>(a, b);
    return b.QComplex ? LookupDot<false, true>(a, b) : LookupDot<false, false>(a, b);
}

// <a|b> block by block on one basis.
template <bool ACplx, bool BCplx>
Complex16 PairedDot(const WaveFunctionType& a, const WaveFunctionType& b) {
    if (!ACplx && !BCplx) {
        double s = wfslots::SumSlots(a.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
            const double* ar = a.ValueRe[blk];
            const double* br = b.ValueRe[blk];
            double t = 0.0;
#pragma omp simd reduction(+ : t)
            for (uint32_t k = lo; k < hi; k++) t += ar[k] * br[k];
            return t;
        });
        return Complex16{s, 0.0};
    }
    return wfslots::SumSlots2(a.N, [&](uint32_t blk, uint32_t lo, uint32_t hi, double* re, double* im) {
        const double* ar = a.ValueRe[blk];
        const double* br = b.ValueRe[blk];
        const double* ai = ACplx ? a.ValueIm[blk] : nullptr;
        const double* bi = BCplx ? b.ValueIm[blk] : nullptr;
        double tr = 0.0, ti = 0.0;
#pragma omp simd reduction(+ : tr, ti)
        for (uint32_t k = lo; k < hi; k++) {
            const double xr = ar[k], yr = br[k];
            const double xi = ACplx ? ai[k] : 0.0;
            const double yi = BCplx ? bi[k] : 0.0;
            tr += xr * yr + xi * yi;
            ti += xr * yi - xi * yr;
        }
        *re += tr;
        *im += ti;
    });
}

Complex16 PairedDotAnyKind(const WaveFunctionType& a, const WaveFunctionType& b) {
    if (a.QComplex)
        return b.QComplex ? PairedDot<true, true>(a, b) : PairedDot<true, false>(a, b);
    return b.QComplex ? PairedDot<false, true>(a, b) : PairedDot<false, false>(a, b);
}

double NormSqr(const WaveFunctionType& psi) {
    if (!psi.QComplex) {
        return wfslots::SumSlots(psi.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
            const double* re = psi.ValueRe[blk];
            double t = 0.0;
#pragma omp simd reduction(+ : t)
            for (uint32_t k = lo; k < hi; k++) t += re[k] * re[k];
            return t;
        });
    }
    return wfslots::SumSlots(psi.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        const double* re = psi.ValueRe[blk];
        const double* im = psi.ValueIm[blk];
        double t = 0.0;
#pragma omp simd reduction(+ : t)
        for (uint32_t k = lo; k < hi; k++) t += re[k] * re[k] + im[k] * im[k];
        return t;
    });
}

}  // namespace

// ---- Inner products ------------------------------------------------------------

double RealWaveFunctionDotProduct(const WaveFunctionType* a, const WaveFunctionType* b) {
    if (!SameWordLength(*a, *b, "RealWaveFunctionDotProduct")) return 0.0;
    return LookupDot<false, false>(*a, *b).re;
}

Complex16 ComplexWaveFunctionDotProduct(const WaveFunctionType* a, const WaveFunctionType* b) {
    if (!SameWordLength(*a, *b, "ComplexWaveFunctionDotProduct")) return Complex16{0.0, 0.0};
    return LookupDotAnyKind(*a, *b);
}

int WaveFunctionDotProduct(WaveFunctionType a, WaveFunctionType b, double* re, double* im) {
    if (!SameWordLength(a, b, "WaveFunctionDotProduct")) return 1;
    Complex16 s = LookupDotAnyKind(a, b);
    *re = s.re;
    *im = s.im;
    return 0;
}

double RealWaveFunctionDotProductSameBasis(WaveFunctionType a, WaveFunctionType b) {
    if (!SameBasisChecked(a, b, "RealWaveFunctionDotProductSameBasis")) return 0.0;
    return PairedDot<false, false>(a, b).re;
}

Complex16 ComplexWaveFunctionDotProductSameBasis(WaveFunctionType a, WaveFunctionType b) {
    if (!SameBasisChecked(a, b, "ComplexWaveFunctionDotProductSameBasis")) return Complex16{0.0, 0.0};
    return PairedDotAnyKind(a, b);
}

int WaveFunctionDotProductSameBasis(WaveFunctionType a, WaveFunctionType b, double* re, double* im) {
    if (!SameBasisChecked(a, b, "WaveFunctionDotProductSameBasis")) return 1;
    Complex16 s = PairedDotAnyKind(a, b);
    *re = s.re;
    *im = s.im;
    return 0;
}

// ---- Norms ------------------------------------------------------------------------

int WaveFunctionCalculateNorm(WaveFunctionType psi, double* norm) {
    *norm = sqrt(NormSqr(psi));
    return 0;
}

int WaveFunctionCalculateNormSqr(WaveFunctionType psi, double* norm2) {
    *norm2 = NormSqr(psi);
    return 0;
}

double RealWaveFunctionCalculateNorm(WaveFunctionType psi) {
    psi.QComplex = 0;  // the real parts only
    return sqrt(NormSqr(psi));
}

double ComplexWaveFunctionCalculateNorm(WaveFunctionType psi) { return sqrt(NormSqr(psi)); }

double RealVectorDotVectorMahan(const double* a, const double* b, unsigned int n) {
    double s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
    unsigned int k = 0;
    for (; k + 4 <= n; k += 4) {
        s0 += a[k] * b[k];
        s1 += a[k + 1] * b[k + 1];
        s2 += a[k + 2] * b[k + 2];
        s3 += a[k + 3] * b[k + 3];
    }
    for (; k < n; k++) s0 += a[k] * b[k];
    return (s0 + s1) + (s2 + s3);
}
