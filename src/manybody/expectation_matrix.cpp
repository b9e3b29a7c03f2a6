// Matrices of an operator over lists of states: column j from O ket_j,
// built once, and its inner products with every bra.
#include <cstdio>

#include "manybody/expectation.h"
#include "manybody/expectation_engine.h"
#include "manybody/operator_psi.h"

namespace {

// <bra|ket> through the bra-ket loop with the unit operator (one constant
// term), walking the state with fewer elements and looking up in the other.
int InnerProduct(const OperatorType& unit, const WaveFunctionType& bra, const WaveFunctionType& ket, double* re,
                 double* im) {
    if (bra.N < ket.N) {
        const int status = ExpectationBraKet(ExpectationKind(unit, bra), unit, ket, bra, nullptr, true, re, im,
                                             "PsiPrimeOperatorPsiMatrix");
        *im = -*im;
        return status;
    }
    return ExpectationBraKet(ExpectationKind(unit, ket), unit, bra, ket, nullptr, true, re, im,
                             "PsiPrimeOperatorPsiMatrix");
}

bool AnyComplex(const WaveFunctionType* psi, unsigned int n) {
    for (unsigned int k = 0; k < n; k++)
        if (psi[k].QComplex) return true;
    return false;
}

}  // namespace

int PsiPrimeOperatorPsiMatrix(OperatorType O, const WaveFunctionType* bra, unsigned int nbra,
                              const WaveFunctionType* ket, unsigned int nket, MatrixType* M) {
    OperatorType unit;
    if (InitOperator(&unit) != 0 || RealOperatorAddLader(&unit, nullptr, 0, 1.0) != 0) {
        printf("InitOperator failed in PsiPrimeOperatorPsiMatrix\n");
        fflush(stdout);
        FreeOperator(&unit);
        return 1;
    }
    M->Ni = (int32_t)nbra;
    M->Nj = (int32_t)nket;
    M->QComplex = (OperatorPsiKind(O) != 0 || AnyComplex(bra, nbra) || AnyComplex(ket, nket)) ? 1 : 0;
    if (InitMatrix(M) != 0) {
        printf("InitMatrix failed in PsiPrimeOperatorPsiMatrix\n");
        fflush(stdout);
        FreeOperator(&unit);
        return 1;
    }
    for (unsigned int j = 0; j < nket; j++) {
        WaveFunctionType Opsi;
        if (OperatorPsi(O, ket[j], &Opsi) != 0) {
            printf("OperatorPsi failed in PsiPrimeOperatorPsiMatrix at level j=%5i\n", (int)j);
            fflush(stdout);
            FreeMatrix(M);
            FreeOperator(&unit);
            return 1;
        }
        for (unsigned int i = 0; i < nbra; i++) {
            double re = 0.0, im = 0.0;
            if (InnerProduct(unit, bra[i], Opsi, &re, &im) != 0) {
                WaveFunctionFree(&Opsi);
                FreeMatrix(M);
                FreeOperator(&unit);
                return 1;
            }
            M->Re[i][j] = re;
            if (M->QComplex) M->Im[i][j] = im;
        }
        WaveFunctionFree(&Opsi);
    }
    FreeOperator(&unit);
    return 0;
}

int PsiOperatorPsiMatrix(OperatorType O, const WaveFunctionType* psi, unsigned int n, MatrixType* M) {
    return PsiPrimeOperatorPsiMatrix(O, psi, n, psi, n, M);
}
