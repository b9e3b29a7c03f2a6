// Random states on a given basis.
#include <cstdio>
#include <cstdlib>

#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_slots.h"

namespace {

// rand() - 1073741823 lies in [-2^30 + 1, 2^30 + 1]: roughly symmetric
// about 0.
inline double Draw() { return (double)(rand() - 1073741823); }

int Randomize(WaveFunctionType psi, bool imaginary, const char* fn) {
    if (psi.N == 0) {
        printf("%s called with a function without elements, which can not be normalised\n", fn);
        fflush(stdout);
        return 1;
    }
    wfslots::ForSlots(psi.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        double* re = psi.ValueRe[blk];
        double* im = imaginary ? psi.ValueIm[blk] : nullptr;
        for (uint32_t k = lo; k < hi; k++) {
            re[k] = Draw();
            if (imaginary) im[k] = Draw();
        }
    });
    psi.ValueRe[0][0] = 0.0;
    if (imaginary) psi.ValueIm[0][0] = 0.0;
    if (!imaginary) psi.QComplex = 0;
    return WaveFunctionNormalize(&psi);
}

}  // namespace

int RealWaveFunctionRandomize(WaveFunctionType psi) { return Randomize(psi, false, "RealWaveFunctionRandomize"); }

int WaveFunctionRandomize(WaveFunctionType* psi) {
    return Randomize(*psi, psi->QComplex != 0, "WaveFunctionRandomize");
}
