// MatrixType: the dense matrix record with row pointers.  The rows of the
// real part lie in one block (row i starts at Re[0] + i*Nj), and so do those
// of the imaginary part, which exists only when QComplex is 1.
//
// Numeric functions return 0 on success and 1 on failure, after printing one
// line on the standard output that names what failed.  Functions that create
// a result initialise it themselves; on failure the result is left
// uninitialised or partly filled and must not be freed by the caller.
#ifndef SKELDA_NUMERIC_MATRIX_H
#define SKELDA_NUMERIC_MATRIX_H

#include <cstdint>

#include "base/complex16.h"

struct MatrixType {
    char Name[256];   // "Matrix" after InitMatrix
    int32_t Ni;       // rows
    int32_t Nj;       // columns
    int32_t QComplex; // 0 real, 1 complex
    double** Re;      // row pointers of the real part
    double** Im;      // row pointers of the imaginary part; null when real
    uint64_t Aux0;    // set to zero by the readers, read by no operation here
    uint64_t Aux1;
    uint64_t Aux2;
};

// Row-pointer blocks: Ni row pointers into one block of Ni*Nj doubles.  A
// matrix of no rows gives a null pointer; one of no columns gives row
// pointers that are all null.  On failure the functions print the size and
// return null.  FreeMatrixBlock releases what they return.
double** MatrixMalloc(int Ni, int Nj);
double** MatrixCalloc(int Ni, int Nj);
void FreeMatrixBlock(double** rows);

// Records.  The caller sets Ni, Nj and QComplex, then calls InitMatrix,
// which gives a zero matrix named "Matrix".
int InitMatrix(MatrixType* M);
void FreeMatrix(MatrixType* M);
void SetMatrixName(MatrixType* M, const char* name);
int MatrixCopy(MatrixType* dst, MatrixType src);  // dst is initialised here
int MakeRealMatrixComplex(MatrixType* M);
int MakeComplexMatrixReal(MatrixType* M);  // drops the imaginary parts
void MatrixComplexConjugate(MatrixType* M);

// Constants.  On an allocation failure the record has null row pointers.
MatrixType zeroMatrix(int Ni, int Nj);
MatrixType identityMatrix(int Ni, int Nj);

// Products and sums.  C = A B (C initialised here).  A += (re + i im) B, and
// the same with B added at the row and column offsets iShift, jShift; the
// ConjugateTranspose form adds the conjugate transpose of (re + i im) B with
// its upper-left corner at (iShift, jShift), so that a block and its partner
// across the diagonal (offsets swapped) give a Hermitian sum.  A turns
// complex when the factor or B is complex.
int MatrixMultiply(MatrixType* C, MatrixType A, MatrixType B);
int MatrixAdd(MatrixType* A, MatrixType B, double re, double im);
int MatrixAddShifted(MatrixType* A, MatrixType B, double re, double im, int iShift, int jShift);
int MatrixAddShiftedConjugateTranspose(MatrixType* A, MatrixType B, double re, double im,
                                       int iShift, int jShift);

// Basis transformations with the new basis in the rows of T: the result holds
// the matrix elements t_j^dagger A t_k, that is conj(T) A transpose(T).  The
// Part form takes only the first NRows rows of T; LeftRight takes the rows of
// TL on the left and those of TR on the right.  R is initialised here.
int MatrixTransform(MatrixType* R, MatrixType A, MatrixType T);
int MatrixTransformPart(MatrixType* R, MatrixType A, MatrixType T, int NRows);
int MatrixTransformLeftRight(MatrixType* R, MatrixType A, MatrixType TL, MatrixType TR);

// Hermitian eigensystem: eigenvalues ascending in w (N of them), eigenvector k
// in row k of V, which is initialised here and named "Eigenvectors of " and
// the name of A.  The complex arm is taken when A.QComplex is 1, whatever the
// values.  MatrixToEigensystem is the same call.
int Eigensystem(MatrixType A, MatrixType* V, double* w);
int MatrixToEigensystem(MatrixType A, MatrixType* V, double* w);

// Generalised Hermitian-definite problem A x = w B x, B positive definite;
// the vectors in the rows of V are normalised to x^dagger B x = 1.
int GeneralizedEigensystem(MatrixType A, MatrixType B, MatrixType* V, double* w);
int MatrixToGeneralizedEigensystem(MatrixType A, MatrixType B, MatrixType* V, double* w);
int GeneralizedEigenvalues(MatrixType A, MatrixType B, double* w);

// The generalised problem H x = w S x for a metric S that may be singular:
// the directions of S with eigenvalues at or below the singularity border are
// dropped.  V gets as many rows as states are kept (w must hold S.Ni values;
// the first V->Ni are set), each a vector in the original basis.
int GeneralizedEigensystemSingular(MatrixType H, MatrixType S, MatrixType* V, double* w);

// Real symmetric tridiagonal eigensystem of the diagonal a[0..N-1] and the
// off-diagonal b[0..N-2]: values ascending in w, and when V is not null the
// eigenvectors in its rows (V initialised here).  This is the LAPACK step of
// TriDiagonalMatrixToEigensystem, whose name its messages carry.
int RealTriDiagonalEigensystem(int N, const double* a, const double* b, MatrixType* V, double* w);

// Inverse in place by Gauss-Jordan elimination with partial pivoting.
int MatrixInverse(MatrixType* A);

// Orthonormalise the rows in place.  MatrixOrthonormalize runs Gram-Schmidt
// in row order and leaves zero rows where a row depends on earlier ones;
// MatrixBasisOrthonormalize replaces the rows by the nearest orthonormal set
// (symmetric orthonormalisation), which treats all rows alike.
int MatrixOrthonormalize(MatrixType* M);
int MatrixBasisOrthonormalize(MatrixType* M);

#endif
