// In-place rebuilds of wave functions: truncation of small prefactors,
// restriction to allowed determinants, and the return of a complex state
// with negligible imaginary parts to a real one.
//
// A rebuild clears the key list, walks the elements in storage order and
// inserts the kept ones again with the serial add, so that each moves to the
// next free index, never ahead of the slot being read.  The key width stays.
// Blocks above the new end are freed afterwards.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_rebuild.h"
#include "manybody/wavefunction_slots.h"

using namespace wfrebuild;

namespace {

// Rebuilds the count members sharing the basis of member 0, keeping the
// elements i for which keep(i) holds.  Returns 1 (nothing changed) only when
// the scratch values can not be allocated.
template <class Keep>
int Rebuild(WaveFunctionType* psi, unsigned int count, Keep keep, const char* fn) {
    if (count == 0) return 0;
    const bool cplx = psi[0].QComplex != 0;
    double* values = static_cast<double*>(malloc((cplx ? 2 : 1) * (size_t)count * sizeof(double)));
    if (values == nullptr) {
        printf("malloc failed in %s\n", fn);
        fflush(stdout);
        return 1;
    }

    const uint32_t oldN = psi[0].N;
    uint32_t* keys = psi[0].KeyList;
    const uint64_t nkeys = WaveFunctionKeyListSize(psi[0].NBitsKey);
    for (uint64_t k = 0; k < nkeys; k++) keys[k] = 0;
    for (unsigned int j = 0; j < count; j++) {
        psi[j].N = 0;
        psi[j].ValueRe[0][0] = 0.0;
        if (psi[j].QComplex) psi[j].ValueIm[0][0] = 0.0;
    }
    ReinsertKept(psi, count, oldN, keep, values, cplx ? values + count : nullptr);
    free(values);
    return 0;
}

// The complex truncation; with allowReal the state becomes real when no kept
// element has im^2 > eps^2.
int ComplexTruncate(WaveFunctionType* psi, double eps, bool allowReal, const char* fn) {
    const double eps2 = eps * eps;
    bool imaginaryLeft = false;
    int failed = Rebuild(
        psi, 1,
        [&](uint32_t i) {
            if (!ComplexKept(*psi, i, eps2)) return false;
            const double im = WaveFunctionIm(*psi, i);
            if (im * im > eps2) imaginaryLeft = true;
            return true;
        },
        fn);
    if (failed) return 1;
    if (allowReal && !imaginaryLeft) wfslots::DropImaginaryPart(psi);
    return 0;
}

}  // namespace

// ---- Truncation ------------------------------------------------------------------

int RealWaveFunctionTruncateBasis(WaveFunctionType* psi, double eps) {
    if (psi->QComplex) return ComplexTruncate(psi, eps, false, "RealWaveFunctionTruncateBasis");
    return Rebuild(
        psi, 1, [&](uint32_t i) { return RealKept(*psi, i, eps); }, "RealWaveFunctionTruncateBasis");
}

int ComplexWaveFunctionTruncateBasisAllowReal(WaveFunctionType* psi, double eps) {
    if (!psi->QComplex) return RealWaveFunctionTruncateBasis(psi, eps);
    return ComplexTruncate(psi, eps, true, "ComplexWaveFunctionTruncateBasisAllowReal");
}

int WaveFunctionTruncateBasisDisallowComplexToReal(WaveFunctionType* psi, double eps) {
    if (!psi->QComplex) return RealWaveFunctionTruncateBasis(psi, eps);
    return ComplexTruncate(psi, eps, false, "WaveFunctionTruncateBasisDisallowComplexToReal");
}

int WaveFunctionTruncateBasis(WaveFunctionType* psi, double eps) {
    return psi->QComplex ? ComplexWaveFunctionTruncateBasisAllowReal(psi, eps)
                         : RealWaveFunctionTruncateBasis(psi, eps);
}

int WaveFunctionTruncateBasisMachineEpsilon(WaveFunctionType* psi) {
    return WaveFunctionTruncateBasis(psi, 2.220446049250313e-16);
}

int RealBlockWaveFunctionTruncateBasis(WaveFunctionType* psi, unsigned int count, double eps) {
    return Rebuild(
        psi, count,
        [&](uint32_t i) {
            for (unsigned int j = 0; j < count; j++)
                if (RealKept(psi[j], i, eps)) return true;
            return false;
        },
        "RealBlockWaveFunctionTruncateBasis");
}

int ComplexBlockWaveFunctionTruncateBasis(WaveFunctionType* psi, unsigned int count, double eps) {
    const double eps2 = eps * eps;
    return Rebuild(
        psi, count,
        [&](uint32_t i) {
            for (unsigned int j = 0; j < count; j++)
                if (psi[j].QComplex ? ComplexKept(psi[j], i, eps2) : RealKept(psi[j], i, eps)) return true;
            return false;
        },
        "ComplexBlockWaveFunctionTruncateBasis");
}

int BlockWaveFunctionTruncateBasis(WaveFunctionType* psi, unsigned int count, double eps) {
    if (count == 0) return 0;
    return psi[0].QComplex ? ComplexBlockWaveFunctionTruncateBasis(psi, count, eps)
                           : RealBlockWaveFunctionTruncateBasis(psi, count, eps);
}

int MakeComplexFunctionRealWhenNormSmall(WaveFunctionType* psi, double eps) {
    if (!psi->QComplex) return 0;
    const WaveFunctionType& s = *psi;
    const double sum = wfslots::SumSlots(s.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        const double* im = s.ValueIm[blk];
        double t = 0.0;
#pragma omp simd reduction(+ : t)
        for (uint32_t k = lo; k < hi; k++) t += im[k] * im[k];
        return t;
    });
    if (sqrt(sum) < eps) wfslots::DropImaginaryPart(psi);
    return 0;
}

// ---- Restriction -------------------------------------------------------------------

namespace {

int RestrictBlock(WaveFunctionType* psi, unsigned int count, DeterminantRestrictionType R, const char* fn) {
    const WaveFunctionType& basis = psi[0];
    return Rebuild(
        psi, count,
        [&](uint32_t i) {
            return QDetNotRestricted(WaveFunctionDet(basis, i), basis.NFermion, basis.NBoson, basis.NWord, R) != 0;
        },
        fn);
}

}  // namespace

int WaveFunctionRestrict(WaveFunctionType* psi, DeterminantRestrictionType R) {
    return RestrictBlock(psi, 1, R, "WaveFunctionRestrict");
}
int RealWaveFunctionRestrict(WaveFunctionType* psi, DeterminantRestrictionType R) {
    return RestrictBlock(psi, 1, R, "RealWaveFunctionRestrict");
}
int ComplexWaveFunctionRestrict(WaveFunctionType* psi, DeterminantRestrictionType R) {
    return RestrictBlock(psi, 1, R, "ComplexWaveFunctionRestrict");
}
int BlockWaveFunctionRestrict(WaveFunctionType* psi, unsigned int count, DeterminantRestrictionType R) {
    return RestrictBlock(psi, count, R, "BlockWaveFunctionRestrict");
}
