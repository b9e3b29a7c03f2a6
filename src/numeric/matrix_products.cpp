// Products and sums of the row-pointer record.  The real and imaginary parts
// lie in separate row-major blocks, so a complex product is four real ones.
#include <cstdio>

#include "numeric/lapack.h"
#include "numeric/matrix.h"

namespace {

// Z = alpha X Y + beta Z for row-major blocks, X m x k, Y k x n.
void BlockProduct(double alpha, const double* X, const double* Y, double beta, double* Z, int m,
                  int k, int n) {
    if (m == 0 || n == 0) return;
    int ldx = k > 0 ? k : 1, ldy = n, ldz = n;
    dgemm_("N", "N", &n, &m, &k, &alpha, Y, &ldy, X, &ldx, &beta, Z, &ldz);
}

const double* Block(double** rows) { return rows != nullptr ? rows[0] : nullptr; }

}  // namespace

int MatrixMultiply(MatrixType* C, MatrixType A, MatrixType B) {
    if (A.Nj != B.Ni) {
        printf("Dimensions do not match in MatrixMultiply: %i by %i times %i by %i\n", A.Ni, A.Nj,
               B.Ni, B.Nj);
        return 1;
    }
    C->Ni = A.Ni;
    C->Nj = B.Nj;
    C->QComplex = (A.QComplex || B.QComplex) ? 1 : 0;
    if (InitMatrix(C)) return 1;
    if (C->Ni == 0 || C->Nj == 0) return 0;
    const int m = A.Ni, k = A.Nj, n = B.Nj;
    double* cr = C->Re[0];
    BlockProduct(1.0, Block(A.Re), Block(B.Re), 0.0, cr, m, k, n);
    if (A.QComplex && B.QComplex) BlockProduct(-1.0, Block(A.Im), Block(B.Im), 1.0, cr, m, k, n);
    if (C->QComplex) {
        double* ci = C->Im[0];
        if (B.QComplex) BlockProduct(1.0, Block(A.Re), Block(B.Im), 0.0, ci, m, k, n);
        if (A.QComplex)
            BlockProduct(1.0, Block(A.Im), Block(B.Re), B.QComplex ? 1.0 : 0.0, ci, m, k, n);
    }
    return 0;
}

namespace {

// A(iShift + i, jShift + j) += f B(i,j), or with conjugateTranspose
// A(iShift + j, jShift + i) += conj(f B(i,j)).
int AddShifted(MatrixType* A, const MatrixType& B, double re, double im, int iShift, int jShift,
               bool conjugateTranspose, const char* where) {
    int rows = conjugateTranspose ? B.Nj : B.Ni, cols = conjugateTranspose ? B.Ni : B.Nj;
    if (iShift < 0 || jShift < 0 || iShift + rows > A->Ni || jShift + cols > A->Nj) {
        printf("Dimensions do not match in %s: a %i by %i matrix at (%i, %i) does not fit into a "
               "%i by %i matrix\n", where, rows, cols, iShift, jShift, A->Ni, A->Nj);
        return 1;
    }
    if ((B.QComplex || im != 0.0) && MakeRealMatrixComplex(A)) return 1;
    for (int i = 0; i < B.Ni; i++)
        for (int j = 0; j < B.Nj; j++) {
            double br = B.Re[i][j], bi = B.QComplex ? B.Im[i][j] : 0.0;
            double vr = re * br - im * bi, vi = re * bi + im * br;
            int ti = conjugateTranspose ? iShift + j : iShift + i;
            int tj = conjugateTranspose ? jShift + i : jShift + j;
            A->Re[ti][tj] += vr;
            if (A->QComplex) A->Im[ti][tj] += conjugateTranspose ? -vi : vi;
        }
    return 0;
}

}  // namespace

int MatrixAdd(MatrixType* A, MatrixType B, double re, double im) {
    if (A->Ni != B.Ni || A->Nj != B.Nj) {
        printf("Dimensions do not match in MatrixAdd: %i by %i and %i by %i\n", A->Ni, A->Nj, B.Ni,
               B.Nj);
        return 1;
    }
    return AddShifted(A, B, re, im, 0, 0, false, "MatrixAdd");
}

int MatrixAddShifted(MatrixType* A, MatrixType B, double re, double im, int iShift, int jShift) {
    return AddShifted(A, B, re, im, iShift, jShift, false, "MatrixAddShifted");
}

int MatrixAddShiftedConjugateTranspose(MatrixType* A, MatrixType B, double re, double im,
                                       int iShift, int jShift) {
    return AddShifted(A, B, re, im, iShift, jShift, true, "MatrixAddShiftedConjugateTranspose");
}
