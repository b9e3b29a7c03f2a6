// Matrices of an operator over lists of states: column j from O ket_j,
// built once, and its inner products with every bra.
#include <cstdio>

#include "manybody/expectation.h"
#include "manybody/expectation_engine.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"

namespace {

bool AnyComplex(const WaveFunctionType* psi, unsigned int n) {
    for (unsigned int k = 0; k < n; k++)
        if (psi[k].QComplex) return true;
    return false;
}

}  // namespace

int PsiPrimeOperatorPsiMatrix(OperatorType O, const WaveFunctionType* bra, unsigned int nbra,
                              const WaveFunctionType* ket, unsigned int nket, MatrixType* M) {
    M->Ni = (int32_t)nbra;
    M->Nj = (int32_t)nket;
    M->QComplex = (OperatorPsiKind(O) != 0 || AnyComplex(bra, nbra) || AnyComplex(ket, nket)) ? 1 : 0;
    if (InitMatrix(M) != 0) {
        printf("InitMatrix failed in PsiPrimeOperatorPsiMatrix\n");
        fflush(stdout);
        return 1;
    }
    for (unsigned int j = 0; j < nket; j++) {
        WaveFunctionType Opsi;
        if (OperatorPsi(O, ket[j], &Opsi) != 0) {
            printf("OperatorPsi failed in PsiPrimeOperatorPsiMatrix at level j=%5i\n", (int)j);
            fflush(stdout);
            FreeMatrix(M);
            return 1;
        }
        for (unsigned int i = 0; i < nbra; i++) {
            double re = 0.0, im = 0.0;
            if (WaveFunctionDotProduct(bra[i], Opsi, &re, &im) != 0) {
                printf("WaveFunctionDotProduct failed in PsiPrimeOperatorPsiMatrix\n");
                fflush(stdout);
                WaveFunctionFree(&Opsi);
                FreeMatrix(M);
                return 1;
            }
            M->Re[i][j] = re;
            if (M->QComplex) M->Im[i][j] = im;
        }
        WaveFunctionFree(&Opsi);
    }
    return 0;
}

int PsiOperatorPsiMatrix(OperatorType O, const WaveFunctionType* psi, unsigned int n, MatrixType* M) {
    return PsiPrimeOperatorPsiMatrix(O, psi, n, psi, n, M);
}
