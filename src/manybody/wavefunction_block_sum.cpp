// Union sums on blocks of states (count records sharing the basis of member
// 0): one insertion of a determinant serves every member of the target.
#include <cstdio>
#include <cstdlib>

#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_slots.h"

using wfslots::ReportIn;

namespace {

bool CheckBlocks(const WaveFunctionType* a, unsigned int na, const WaveFunctionType* b, unsigned int nb,
                 bool complexTarget, const char* fn) {
    if (a[0].NWord != b[0].NWord) {
        printf("%s called with functions of different determinant length (%u and %u bytes)\n", fn, a[0].NWord,
               b[0].NWord);
        fflush(stdout);
        return false;
    }
    for (unsigned int j = 0; j < na; j++) {
        if ((a[j].QComplex != 0) != complexTarget) {
            printf("%s called with a target block of the wrong kind\n", fn);
            fflush(stdout);
            return false;
        }
    }
    if (!complexTarget) {
        for (unsigned int j = 0; j < nb; j++) {
            if (b[j].QComplex) {
                printf("%s called with a complex source block\n", fn);
                fflush(stdout);
                return false;
            }
        }
    }
    return true;
}

// a_i += sum_j x_ij b_j for every determinant of b's basis, in b's index
// order.  x null means the unit matrix (na = nb).
template <bool Cplx>
int BlockUnionAdd(WaveFunctionType* a, unsigned int na, const WaveFunctionType* b, unsigned int nb,
                  const double* xre, const double* xim, const char* fn) {
    if (na == 0 || nb == 0) return 0;
    if (!CheckBlocks(a, na, b, nb, Cplx, fn)) return 1;
    double* values = static_cast<double*>(malloc((Cplx ? 2 : 1) * (size_t)na * sizeof(double)));
    if (values == nullptr) {
        ReportIn("malloc failed", fn);
        return 1;
    }
    double* re = values;
    double* im = values + na;
    const WaveFunctionType& basis = b[0];
    int failed = 0;
    for (uint32_t idx = 1; idx <= basis.N && !failed; idx++) {
        for (unsigned int i = 0; i < na; i++) {
            double sr = 0.0, si = 0.0;
            for (unsigned int j = 0; j < nb; j++) {
                if (xre == nullptr && j != i) continue;
                const double br = WaveFunctionRe(b[j], idx);
                const double bi = (Cplx && b[j].QComplex) ? WaveFunctionIm(b[j], idx) : 0.0;
                const double cr = xre == nullptr ? 1.0 : xre[(size_t)i * nb + j];
                const double ci = (xim == nullptr) ? 0.0 : xim[(size_t)i * nb + j];
                sr += cr * br - ci * bi;
                si += cr * bi + ci * br;
            }
            re[i] = sr;
            if (Cplx) im[i] = si;
        }
        const uint8_t* det = WaveFunctionDet(basis, idx);
        failed = Cplx ? ComplexBlockWaveFunctionAddElement(a, det, re, im, na)
                      : RealBlockWaveFunctionAddElement(a, det, re, na);
    }
    free(values);
    if (failed) {
        ReportIn(Cplx ? "ComplexBlockWaveFunctionAddElement failed" : "RealBlockWaveFunctionAddElement failed", fn);
        return 1;
    }
    return 0;
}

}  // namespace

int RealBlockWaveFunctionAddUnionBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int count) {
    return BlockUnionAdd<false>(a, count, b, count, nullptr, nullptr, "RealBlockWaveFunctionAddUnionBasis");
}

int ComplexBlockWaveFunctionAddUnionBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int count) {
    return BlockUnionAdd<true>(a, count, b, count, nullptr, nullptr, "ComplexBlockWaveFunctionAddUnionBasis");
}

int RealBlockWaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, unsigned int na, const WaveFunctionType* b,
                                                 unsigned int nb, const double* x) {
    if (x == nullptr) {
        puts("RealBlockWaveFunctionAddMultipliedUnionBasis called without factors");
        fflush(stdout);
        return 1;
    }
    return BlockUnionAdd<false>(a, na, b, nb, x, nullptr, "RealBlockWaveFunctionAddMultipliedUnionBasis");
}

int ComplexBlockWaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, unsigned int na,
                                                    const WaveFunctionType* b, unsigned int nb, const double* xre,
                                                    const double* xim) {
    if (xre == nullptr) {
        puts("ComplexBlockWaveFunctionAddMultipliedUnionBasis called without factors");
        fflush(stdout);
        return 1;
    }
    return BlockUnionAdd<true>(a, na, b, nb, xre, xim, "ComplexBlockWaveFunctionAddMultipliedUnionBasis");
}
