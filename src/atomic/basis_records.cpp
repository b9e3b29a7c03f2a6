// The small dense record of the basis matrices and the few operations the
// basis changes need.
#include <cmath>

#include "atomic/basis.h"

BasisMatrixType InitBasisMatrix(int Ni, int Nj) {
    BasisMatrixType M;
    M.Ni = Ni;
    M.Nj = Nj;
    M.a.assign(static_cast<size_t>(Ni) * Nj, Complex16{0.0, 0.0});
    return M;
}

BasisMatrixType BasisMatrixIdentity(int N) {
    BasisMatrixType M = InitBasisMatrix(N, N);
    for (int i = 0; i < N; i++) BasisMatrixAt(M, i, i) = Complex16{1.0, 0.0};
    return M;
}

BasisMatrixType BasisMatrixMultiply(const BasisMatrixType& A, const BasisMatrixType& B) {
    if (A.Nj != B.Ni) return BasisMatrixType();
    BasisMatrixType C = InitBasisMatrix(A.Ni, B.Nj);
    for (int i = 0; i < A.Ni; i++) {
        for (int k = 0; k < A.Nj; k++) {
            Complex16 aik = BasisMatrixAt(A, i, k);
            if (aik.re == 0.0 && aik.im == 0.0) continue;
            for (int j = 0; j < B.Nj; j++) BasisMatrixAt(C, i, j) += aik * BasisMatrixAt(B, k, j);
        }
    }
    return C;
}

BasisMatrixType BasisMatrixConjugateTranspose(const BasisMatrixType& A) {
    BasisMatrixType T = InitBasisMatrix(A.Nj, A.Ni);
    for (int i = 0; i < A.Ni; i++) {
        for (int j = 0; j < A.Nj; j++) BasisMatrixAt(T, j, i) = Conjugate(BasisMatrixAt(A, i, j));
    }
    return T;
}

BasisMatrixType BasisMatrixEnlarge(const BasisMatrixType& A, int factor) {
    BasisMatrixType E = InitBasisMatrix(A.Ni * factor, A.Nj * factor);
    for (int i = 0; i < A.Ni; i++) {
        for (int j = 0; j < A.Nj; j++) {
            for (int s = 0; s < factor; s++) {
                BasisMatrixAt(E, i * factor + s, j * factor + s) = BasisMatrixAt(A, i, j);
            }
        }
    }
    return E;
}

BasisMatrixType BasisMatrixFlatten(const std::vector<BasisMatrixType>& blocks) {
    int Ni = 0, Nj = 0;
    for (const BasisMatrixType& b : blocks) {
        Ni += b.Ni;
        Nj += b.Nj;
    }
    BasisMatrixType M = InitBasisMatrix(Ni, Nj);
    int i0 = 0, j0 = 0;
    for (const BasisMatrixType& b : blocks) {
        for (int i = 0; i < b.Ni; i++) {
            for (int j = 0; j < b.Nj; j++) BasisMatrixAt(M, i0 + i, j0 + j) = BasisMatrixAt(b, i, j);
        }
        i0 += b.Ni;
        j0 += b.Nj;
    }
    return M;
}

void BasisMatrixChop(BasisMatrixType* M, double tolerance) {
    for (Complex16& z : M->a) {
        if (std::fabs(z.re) < tolerance) z.re = 0.0;
        if (std::fabs(z.im) < tolerance) z.im = 0.0;
    }
}
