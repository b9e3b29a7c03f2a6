// The matrix of an operator in the determinant basis of a wave function.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "manybody/operator_algebra.h"
#include "manybody/operator_algebra_detail.h"
#include "manybody/wavefunction.h"
#include "numeric/compactmatrix.h"
#include "manybody/lader_action.h"
#include "numeric/matrix.h"

using opalg::Report;

namespace {

// Calls add(row, column, value) for every non-zero <det_i| O |det_j>
// (0-based rows and columns).
template <class Add>
int ForEachElement(const OperatorType& O, const WaveFunctionType& psi, const char* caller, Add add) {
    if (psi.NFermion != O.NF || psi.NBoson != O.NB) {
        Report("%s: the operator has %i fermion and %i boson modes, the wave function %i and %i\n", caller, O.NF,
               O.NB, psi.NFermion, psi.NBoson);
        return 1;
    }
    uint8_t* D = (uint8_t*)malloc(psi.NWord > 0 ? psi.NWord : 1);
    if (D == nullptr) {
        Report("could not allocate a determinant in %s", caller);
        return 1;
    }
    for (uint32_t j = 1; j <= psi.N; j++) {
        const uint8_t* det = WaveFunctionDet(psi, j);
        for (unsigned k = 0; k <= O.MaxLength; k++) {
            const OperatorFixedLengthType& f = O.l[k];
            for (uint32_t t = 0; t < f.N; t++) {
                memcpy(D, det, psi.NWord);
                double factor = 1.0;
                const uint16_t* codes = f.o + (size_t)t * k;
                for (unsigned s = 0; s < k && factor != 0.0; s++) factor *= LaderAction(codes[s], D, O.NF);
                if (factor == 0.0) continue;
                uint32_t i = WaveFunctionIndexDet(&psi, D);
                if (i == 0) continue;
                add(i - 1, j - 1, opalg::TermValue(f, t) * factor);
            }
        }
    }
    free(D);
    return 0;
}

int ToCompact(const OperatorType& O, const WaveFunctionType& psi, CompactMatrixType* M, bool weigh,
              const char* caller) {
    M->Ni = psi.N;
    M->Nj = psi.N;
    M->QComplex = (O.QComplex != 0 || (weigh && psi.QComplex)) ? 1 : 0;
    if (InitCompactMatrix(M) != 0) {
        Report("InitCompactMatrix failed in %s", caller);
        return 1;
    }
    const uint32_t n = psi.N;
    auto prefactor = [&psi](uint32_t i) {
        return Complex16{WaveFunctionRe(psi, i + 1), psi.QComplex ? WaveFunctionIm(psi, i + 1) : 0.0};
    };
    int status = ForEachElement(O, psi, caller, [&](uint32_t i, uint32_t j, Complex16 v) {
        if (weigh) v = Conjugate(prefactor(i)) * v * prefactor(j);
        size_t e = (size_t)i * n + j;
        if (M->QComplex) CompactMatrixComplexData(*M)[e] += v;
        else CompactMatrixRealData(*M)[e] += v.re;
    });
    if (status != 0) FreeCompactMatrix(M);
    return status;
}

}  // namespace

int OperatorToDeterminantMatrix(OperatorType O, WaveFunctionType psi, CompactMatrixType* M) {
    return ToCompact(O, psi, M, false, "OperatorToDeterminantMatrix");
}

int OperatorToDeterminantMatrixWithPrefactorsInPsi(OperatorType O, WaveFunctionType psi, CompactMatrixType* M) {
    return ToCompact(O, psi, M, true, "OperatorToDeterminantMatrixWithPrefactorsInPsi");
}

int OperatorToDeterminantMatrix2(OperatorType O, WaveFunctionType psi, MatrixType* M) {
    const char* caller = "OperatorToDeterminantMatrix2";
    M->Ni = (int32_t)psi.N;
    M->Nj = (int32_t)psi.N;
    M->QComplex = O.QComplex != 0 ? 1 : 0;
    if (InitMatrix(M) != 0) {
        Report("InitMatrix failed in %s", caller);
        return 1;
    }
    int status = ForEachElement(O, psi, caller, [M](uint32_t i, uint32_t j, Complex16 v) {
        M->Re[i][j] += v.re;
        if (M->QComplex) M->Im[i][j] += v.im;
    });
    if (status != 0) FreeMatrix(M);
    return status;
}
