// Scaling of wave functions: multiplication by a number, normalisation and
// complex conjugation.  Every slot in use is scaled, slot 0 included (it
// holds 0.0 and stays so).
#include <cmath>
#include <cstdio>

#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_slots.h"

namespace {

void ScaleReal(const WaveFunctionType& psi, double x) {
    wfslots::ForSlots(psi.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        double* re = psi.ValueRe[blk];
#pragma omp simd
        for (uint32_t k = lo; k < hi; k++) re[k] *= x;
    });
}

void ScaleComplexByReal(const WaveFunctionType& psi, double x) {
    wfslots::ForSlots(psi.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        double* re = psi.ValueRe[blk];
        double* im = psi.ValueIm[blk];
#pragma omp simd
        for (uint32_t k = lo; k < hi; k++) {
            re[k] *= x;
            im[k] *= x;
        }
    });
}

void ScaleComplex(const WaveFunctionType& psi, double x, double y) {
    wfslots::ForSlots(psi.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        double* re = psi.ValueRe[blk];
        double* im = psi.ValueIm[blk];
#pragma omp simd
        for (uint32_t k = lo; k < hi; k++) {
            const double r = re[k], i = im[k];
            re[k] = x * r - y * i;
            im[k] = x * i + y * r;
        }
    });
}

// Divides by the norm (a division, not a multiplication by the inverse, so
// that a state of norm 1 stays exactly as it is).
int DivideByNorm(const WaveFunctionType& psi, const char* fn) {
    double norm;
    WaveFunctionCalculateNorm(psi, &norm);
    if (!(norm >= ZeroCut) || std::isinf(norm)) {
        printf("%s called with a function of norm %g, which can not be normalised\n", fn, norm);
        fflush(stdout);
        return 1;
    }
    if (psi.QComplex) {
        wfslots::ForSlots(psi.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
            double* re = psi.ValueRe[blk];
            double* im = psi.ValueIm[blk];
#pragma omp simd
            for (uint32_t k = lo; k < hi; k++) {
                re[k] /= norm;
                im[k] /= norm;
            }
        });
    } else {
        wfslots::ForSlots(psi.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
            double* re = psi.ValueRe[blk];
#pragma omp simd
            for (uint32_t k = lo; k < hi; k++) re[k] /= norm;
        });
    }
    return 0;
}

}  // namespace

int WaveFunctionNormalize(WaveFunctionType* psi) { return DivideByNorm(*psi, "WaveFunctionNormalize"); }
int RealWaveFunctionNormalize(WaveFunctionType psi) {
    psi.QComplex = 0;  // the real parts only
    return DivideByNorm(psi, "RealWaveFunctionNormalize");
}
int ComplexWaveFunctionNormalize(WaveFunctionType psi) { return DivideByNorm(psi, "ComplexWaveFunctionNormalize"); }

int WaveFunctionMultiply(WaveFunctionType* psi, double re, double im) {
    if (!psi->QComplex && fabs(im) < ZeroCut) {
        ScaleReal(*psi, re);
        return 0;
    }
    if (!psi->QComplex && PromoteRealWaveFunctionToComplex(psi)) {
        wfslots::Report("MakeComplexWaveFunctionFromReal failed in WaveFunctionMultiply");
        return 1;
    }
    ScaleComplex(*psi, re, im);
    return 0;
}

int RealWaveFunctionMultiply(WaveFunctionType psi, double x) {
    ScaleReal(psi, x);
    return 0;
}

int ComplexWaveFunctionMultiply(WaveFunctionType psi, double x) {
    if (!psi.QComplex) {
        ScaleReal(psi, x);
        return 0;
    }
    ScaleComplexByReal(psi, x);
    return 0;
}

int ComplexWaveFunctionComplexMultiply(WaveFunctionType* psi, double re, double im) {
    if (!psi->QComplex) {
        wfslots::Report("ComplexWaveFunctionComplexMultiply called with a real function");
        return 1;
    }
    ScaleComplex(*psi, re, im);
    return 0;
}

int WaveFunctionConjugate(WaveFunctionType psi) {
    if (!psi.QComplex) return 0;
    wfslots::ForSlots(psi.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        double* im = psi.ValueIm[blk];
#pragma omp simd
        for (uint32_t k = lo; k < hi; k++) im[k] = -im[k];
    });
    return 0;
}
