#include "krylov/krylov_vectors.h"

#include <cstdio>

#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"

int KrylovApply(const OperatorType& H, const WaveFunctionType& v, WaveFunctionType* out,
                const DeterminantRestrictionType* R) {
    if (R != nullptr && R->NRestriction != 0) return OperatorPsiRestricted(H, v, out, *R);
    return OperatorPsi(H, v, out);
}

int KrylovAddWithGrowth(WaveFunctionType* a, const WaveFunctionType& b, double xr, double xi) {
    if (xr == 0.0 && xi == 0.0) return 0;
    const bool complexSource = b.QComplex != 0;
    for (uint32_t k = b.N; k >= 1; k--) {
        const double re = WaveFunctionRe(b, k);
        const double im = complexSource ? WaveFunctionIm(b, k) : 0.0;
        if (WaveFunctionAddElement(a, WaveFunctionDet(b, k), xr * re - xi * im, xr * im + xi * re) == 0) continue;
        // Undo the elements k+1..N, which are all in a's basis now.
        const WaveFunctionType target = *a;
#pragma omp parallel for schedule(static)
        for (uint32_t j = k + 1; j <= b.N; j++) {
            const double r = WaveFunctionRe(b, j);
            const double s = complexSource ? WaveFunctionIm(b, j) : 0.0;
            if (target.QComplex)
                ComplexWaveFunctionAddElementConserveBasis(&target, WaveFunctionDet(b, j), -(xr * r - xi * s),
                                                           -(xr * s + xi * r));
            else
                RealWaveFunctionAddElementConserveBasis(&target, WaveFunctionDet(b, j), -(xr * r - xi * s));
        }
        return 1;
    }
    return 0;
}

void KrylovTruncate(WaveFunctionType* v, double eps) {
    if (v->QComplex)
        WaveFunctionTruncateBasisDisallowComplexToReal(v, eps);
    else
        RealWaveFunctionTruncateBasis(v, eps);
}

void KrylovDoubleEpsilon(double* epsilon) {
    const double old = *epsilon;
    *epsilon = 2.0 * old;
    printf("reduce accuracy of the wave-function by a factor of two from %22.15E to %22.15E\n\n", old, *epsilon);
    fflush(stdout);
}
