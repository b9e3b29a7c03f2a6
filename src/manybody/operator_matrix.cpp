// Short operators as matrices: the one-particle matrix of the length-2 terms.
#include <cstdio>
#include <cstdlib>

#include "manybody/operator_algebra.h"
#include "manybody/operator_algebra_detail.h"
#include "numeric/compactmatrix.h"
#include "numeric/matrix.h"

using opalg::Report;

int OperatorCrAnLength2ToOneElectronCompactMatrix(OperatorType O, CompactMatrixType* M) {
    const OperatorFixedLengthType* f = O.MaxLength >= 2 ? &O.l[2] : nullptr;
    M->Ni = O.NF;
    M->Nj = O.NF;
    M->QComplex = f != nullptr && f->QComplex ? 1 : 0;
    if (InitCompactMatrix(M) != 0) {
        Report("InitCompactMatrix failed in OperatorCrAnLength2ToOneElectronCompactMatrix");
        return 1;
    }
    if (f == nullptr) return 0;
    for (uint32_t t = 0; t < f->N; t++) {
        uint16_t a = f->o[2 * t], c = f->o[2 * t + 1];
        if (!(c & LaderCreation) || (a & LaderCreation)) continue;  // not of the form C i A j
        uint32_t i = c & LaderModeMask, j = a & LaderModeMask;
        if (i >= O.NF || j >= O.NF) continue;
        size_t e = (size_t)i * O.NF + j;
        if (M->QComplex) CompactMatrixComplexData(*M)[e] = f->V[t];
        else CompactMatrixRealData(*M)[e] = f->VRe[t];
    }
    return 0;
}

int OperatorToOneElectronMatrix(OperatorType O, MatrixType* M) {
    (void)O;
    (void)M;
    printf("OperatorToOneElectronMatrix is not implemented, use OperatorCrAnLength2ToOneElectronCompactMatrix\n");
    fflush(stdout);
    exit(9);
}
