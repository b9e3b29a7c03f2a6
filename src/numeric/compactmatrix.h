// CompactMatrixType: the dense matrix record of all newer code.  The data is
// one row-major block, element (i,j) at index i*Nj+j, of doubles when real
// and of Complex16 (real and imaginary parts interleaved) when complex.
//
// Every operation has a real and a complex arm and stays real as long as it
// can.  Numeric functions return 0 on success and 1 on failure, after
// printing one line on the standard output that names what failed.  A
// function that creates a result initialises it; on failure the result is
// left uninitialised or partly filled and the caller must not free it.
//
// Operation characters of the products: "N" as it stands, "T" transpose,
// "C" conjugate transpose, "*" conjugate without transposing.
#ifndef SKELDA_NUMERIC_COMPACTMATRIX_H
#define SKELDA_NUMERIC_COMPACTMATRIX_H

#include <cstddef>
#include <cstdint>

#include "base/complex16.h"
#include "numeric/matrix.h"

struct CompactVectorType;

struct CompactMatrixType {
    char* Name;         // 256-byte buffer; "Matrix" after InitCompactMatrix
    uint32_t Ni;        // rows
    uint32_t Nj;        // columns
    int32_t QComplex;   // 0 real, 1 complex
    void* data;         // double* when real, Complex16* when complex
    double Aux0;        // 0.0, 1.0, 0.0 after initialisation; copied along
    double Aux1;
    double Aux2;
    uint8_t QBorrowed;  // non-zero: Name and data belong to someone else
};

inline double* CompactMatrixRealData(const CompactMatrixType& M) {
    return static_cast<double*>(M.data);
}
inline Complex16* CompactMatrixComplexData(const CompactMatrixType& M) {
    return static_cast<Complex16*>(M.data);
}
// Element (i,j) as a complex number, whatever the arm.
inline Complex16 CompactMatrixElement(const CompactMatrixType& M, uint32_t i, uint32_t j) {
    size_t k = static_cast<size_t>(i) * M.Nj + j;
    if (M.QComplex) return CompactMatrixComplexData(M)[k];
    return Complex16{CompactMatrixRealData(M)[k], 0.0};
}

// ---------------------------------------------------------------- records
// The caller sets Ni, Nj and QComplex, then InitCompactMatrix allocates a
// zero matrix named "Matrix".  FreeCompactMatrix does nothing to a borrowed
// record.  CompactMatrixCopy initialises dst as a copy of src (name and Aux
// included).  ResizeCompactMatrix keeps the entries of the common upper-left
// block and zeroes the new ones.  CompactMatrixRemoveRow moves the later rows
// up and shrinks the block.
int InitCompactMatrix(CompactMatrixType* M);
void FreeCompactMatrix(CompactMatrixType* M);
void SetCompactMatrixName(CompactMatrixType* M, const char* name);
int CompactMatrixCopy(CompactMatrixType src, CompactMatrixType* dst);
int ResizeCompactMatrix(CompactMatrixType* M, unsigned Ni, unsigned Nj);
void SetCompactMatrixToZero(CompactMatrixType* M);
int MakeCompactRealMatrixComplex(CompactMatrixType* M);
int MakeCompactComplexMatrixReal(CompactMatrixType* M);  // drops the imaginary parts
int CompactMatrixRemoveRow(CompactMatrixType* M, uint32_t row);

// Conversions between the two records; the destination is initialised here.
int MatrixCopyToCompact(MatrixType src, CompactMatrixType* dst);
int CompactMatrixCopyToMatrix(CompactMatrixType src, MatrixType* dst);

// Constants, real.  A null matrix owns nothing (no name, no data) and is
// what isNullMatrix recognises; CompactnullMatrixMatrix gives one that
// carries dimensions.  On an allocation failure the constants come back as
// null matrices.
CompactMatrixType CompactzeroMatrix(uint32_t Ni, uint32_t Nj);
CompactMatrixType CompactidentityMatrix(uint32_t Ni, uint32_t Nj);
CompactMatrixType CompactidentityMatrix(uint32_t N);
CompactMatrixType CompactnullMatrix();
CompactMatrixType CompactnullMatrixMatrix(uint32_t Ni, uint32_t Nj);
bool isNullMatrix(const CompactMatrixType& M);

// --------------------------------------------------------------- products
// C = alpha op(A) op(B) + beta C through dgemm or zgemm.  C must have the
// dimensions of the product; it turns complex when the result is complex.
int CompactMatrixAddMultiply(const char* opA, const char* opB, CompactMatrixType A,
                             CompactMatrixType B, CompactMatrixType* C, double alphaRe,
                             double alphaIm, double betaRe, double betaIm);
// C = op(A) op(B); the plain forms initialise C, the PreAllocated forms take
// a C of the right size, and W is a scratch matrix that is resized as needed.
int CompactMatrixMultiply(const char* opA, const char* opB, CompactMatrixType A,
                          CompactMatrixType B, CompactMatrixType* C);
int CompactMatrixMultiplyPreAllocated(const char* opA, const char* opB, CompactMatrixType A,
                                      CompactMatrixType B, CompactMatrixType* C);
int CompactMatrixMultiply3(const char* opA, const char* opB, const char* opC, CompactMatrixType A,
                           CompactMatrixType B, CompactMatrixType C, CompactMatrixType* D);
int CompactMatrixMultiply3PreAllocated(const char* opA, const char* opB, const char* opC,
                                       CompactMatrixType A, CompactMatrixType B,
                                       CompactMatrixType C, CompactMatrixType* D,
                                       CompactMatrixType* W);
int CompactMatrixMultiply4(const char* opA, const char* opB, const char* opC, const char* opD,
                           CompactMatrixType A, CompactMatrixType B, CompactMatrixType C,
                           CompactMatrixType D, CompactMatrixType* E);

// A += (re + i im) B, and the same with B placed at row iShift, column jShift
// of A.  A turns complex when the factor or B is complex.
int CompactMatrixAdd(CompactMatrixType* A, CompactMatrixType B, double re, double im);
int CompactMatrixAddShifted(CompactMatrixType* A, CompactMatrixType B, double re, double im,
                            uint32_t iShift, uint32_t jShift);
// A complex factor turns a real matrix complex, unless its imaginary part is
// exactly 0.0.
int CompactMatrixScale(CompactMatrixType* M, double factor);
int CompactMatrixScaleComplex(CompactMatrixType* M, Complex16 factor);

// Matrix times vector.  CompactMatrixVector initialises y = op(A) x (op "N",
// "T", "C" or "*").  The array forms write y, which must not overlap x:
// y = A x, y = transpose(A) x, y = A x, y = A^dagger x; RealVectorMatrixVector
// gives x^T A y.  The complex forms take a real or a complex A.
int CompactMatrixVector(const char* op, CompactMatrixType A, CompactVectorType x,
                        CompactVectorType* y);
void RealMatrixVector(CompactMatrixType A, const double* x, double* y);
void RealTransposeMatrixVector(CompactMatrixType A, const double* x, double* y);
void ComplexMatrixVector(CompactMatrixType A, const Complex16* x, Complex16* y);
void ComplexConjugateTransposeMatrixVector(CompactMatrixType A, const Complex16* x, Complex16* y);
double RealVectorMatrixVector(const double* x, CompactMatrixType A, const double* y);

// In place.
void CompactMatrixConjugate(CompactMatrixType* M);
int CompactMatrixTranspose(CompactMatrixType* M);
int CompactMatrixConjugateTranspose(CompactMatrixType* M);

// ------------------------------------------------------------- transforms
// CN: T^dagger A T.  NC: T A T^dagger.  Tc: transpose(T) A conj(T).
// cT: conj(T) A transpose(T).  The plain form initialises R; the PreAllocated
// form takes R of the right size and a scratch matrix W; the Inline form
// overwrites A.  The result is complex when A or T is complex.
int TransformCompactMatrixCN(CompactMatrixType A, CompactMatrixType T, CompactMatrixType* R);
int TransformCompactMatrixNC(CompactMatrixType A, CompactMatrixType T, CompactMatrixType* R);
int TransformCompactMatrixTc(CompactMatrixType A, CompactMatrixType T, CompactMatrixType* R);
int TransformCompactMatrixcT(CompactMatrixType A, CompactMatrixType T, CompactMatrixType* R);
int TransformCompactMatrixPreAllocatedCN(CompactMatrixType A, CompactMatrixType T,
                                         CompactMatrixType* R, CompactMatrixType* W);
int TransformCompactMatrixPreAllocatedNC(CompactMatrixType A, CompactMatrixType T,
                                         CompactMatrixType* R, CompactMatrixType* W);
int TransformCompactMatrixPreAllocatedTc(CompactMatrixType A, CompactMatrixType T,
                                         CompactMatrixType* R, CompactMatrixType* W);
int TransformCompactMatrixPreAllocatedcT(CompactMatrixType A, CompactMatrixType T,
                                         CompactMatrixType* R, CompactMatrixType* W);
int TransformCompactMatrixInlineCN(CompactMatrixType* A, CompactMatrixType T);
int TransformCompactMatrixInlineNC(CompactMatrixType* A, CompactMatrixType T);
int TransformCompactMatrixInlineTc(CompactMatrixType* A, CompactMatrixType T);
int TransformCompactMatrixInlinecT(CompactMatrixType* A, CompactMatrixType T);
// A = T A T^dagger, the operations spelled out: T as it stands, A as it
// stands, T conjugate-transposed.
int TransformCompactMatrixInlineNNC(CompactMatrixType* A, CompactMatrixType T);

// Transforms of a diagonal matrix D given as an array; R is initialised.
// TATdag: T D T^dagger.  TdagAT: T^dagger D T.  TtranATcon: transpose(T) D
// conj(T).  TconATtran: conj(T) D transpose(T).  With separate left and right
// matrices: TLconATRtran: conj(L) D transpose(R); TRtranATLcon: transpose(R)
// D conj(L).  The length of D is the size of the inner index.
int TransformDiagonalMatrixByCompactMatrixTATdag(const double* D, CompactMatrixType T,
                                                 CompactMatrixType* R);
int TransformDiagonalMatrixByCompactMatrixTdagAT(const double* D, CompactMatrixType T,
                                                 CompactMatrixType* R);
int TransformDiagonalMatrixByCompactMatrixTtranATcon(const double* D, CompactMatrixType T,
                                                     CompactMatrixType* R);
int TransformDiagonalMatrixByCompactMatrixTconATtran(const double* D, CompactMatrixType T,
                                                     CompactMatrixType* R);
int TransformComplexDiagonalMatrixByCompactMatrixTconATtran(const Complex16* D,
                                                            CompactMatrixType T,
                                                            CompactMatrixType* R);
int TransformComplexDiagonalMatrixByCompactMatrixTLconATRtran(const Complex16* D,
                                                              CompactMatrixType L,
                                                              CompactMatrixType R,
                                                              CompactMatrixType* Result);
int TransformComplexDiagonalMatrixByCompactMatrixTRtranATLcon(const Complex16* D,
                                                              CompactMatrixType L,
                                                              CompactMatrixType R,
                                                              CompactMatrixType* Result);
// Row i of M times D[i]; column j of M times D[j].
void MultiplyDiagonalMatrixCompactMatrix(const double* D, CompactMatrixType* M);
void MultiplyCompactMatrixDiagonalMatrix(CompactMatrixType* M, const double* D);

// The transform of the older record with the rows of a compact T:
// R = conj(T) A transpose(T), R initialised.
int MatrixTransformByCompactMatrix(MatrixType* R, MatrixType A, CompactMatrixType T);

// ----------------------------------------------------------- eigensystems
// Hermitian: eigenvalues ascending, eigenvector k in row k of V (initialised
// here, named "Eigenvectors of " and the source's name).
int CompactMatrixEigensystem(const CompactMatrixType* A, CompactMatrixType* V, double* w);
int EigensystemToCompact(MatrixType A, CompactMatrixType* V, double* w);

// General square matrix.  Row k of R is the right eigenvector r_k
// (A r_k = values[k] r_k), row k of L the left one (l_k^dagger A =
// values[k] l_k^dagger), normalised so that l_j^dagger r_k = delta_jk, which
// is L^dagger R = 1 as matrices.  Values are sorted by real part ascending.
// L and R are real when A is real with only real eigenvalues.
int NonHermitianCompactMatrixEigensystem(CompactMatrixType A, CompactMatrixType* L,
                                         CompactMatrixType* R, Complex16* values);
int CompactMatrixGeneralEigensystem(CompactMatrixType A, CompactMatrixType* L,
                                    CompactMatrixType* R, Complex16* values);
int NonHermitianEigensystemOrder(Complex16* values, CompactMatrixType* L, CompactMatrixType* R);
int SortNonHermitianEigensystemOrder(const void* a, const void* b);

// 1 when M is square and Hermitian within the relative tolerance, else 0.
int QCompactMatrixHermitian(CompactMatrixType M, double tolerance);

// ---------------------------------------------------- functions of matrices
// CompactMatrixInverse works in place and returns a negative value for a
// rectangular matrix.  The others initialise R.
int CompactMatrixInverse(CompactMatrixType* A);
int CompactMatrixPow(const CompactMatrixType* A, CompactMatrixType* R, int n);
int CompactMatrixSqr(const CompactMatrixType* A, CompactMatrixType* R);
int CompactMatrixSqrPreAllocated(const CompactMatrixType* A, CompactMatrixType* R);
int HermitianCompactMatrixExp(const CompactMatrixType* A, CompactMatrixType* R);
int NonHermitianCompactMatrixExp(const CompactMatrixType* A, CompactMatrixType* R);
int NonHermitianCompactMatrixSqrt(const CompactMatrixType* A, CompactMatrixType* R);
int CompactMatrixSqrt(const CompactMatrixType* A, CompactMatrixType* R);

// ------------------------------------------------------- orthogonalisation
// Make the rows (or columns) of M orthonormal.  The SVD forms replace M by
// its nearest orthonormal rows; singular values not greater than tolerance
// are dropped.  The Gram-Schmidt forms take the rows in order and drop a row
// whose remaining squared norm is below tolerance.  With remove true the
// dropped rows (columns) are taken out of M, else they stay as zero rows or
// as the projection of the SVD.  The plusT forms also initialise T with
// M_new = T M_old for rows and M_new = M_old T for columns.
int CompactMatrixSVDOrthogonalizeRow(CompactMatrixType* M, double tolerance, bool remove);
int CompactMatrixSVDOrthogonalizeCol(CompactMatrixType* M, double tolerance, bool remove);
int CompactMatrixGramSchmidtOrthogonalizeRow(CompactMatrixType* M, double tolerance, bool remove);
int CompactMatrixGramSchmidtOrthogonalizeCol(CompactMatrixType* M, double tolerance, bool remove);
int CompactMatrixGramSchmidtOrthogonalizeRowplusT(CompactMatrixType* M, double tolerance,
                                                  bool remove, CompactMatrixType* T);
int CompactMatrixGramSchmidtOrthogonalizeColplusT(CompactMatrixType* M, double tolerance,
                                                  bool remove, CompactMatrixType* T);
int CompactMatrixSVDOrthogonalizeRowplusT(CompactMatrixType* M, double tolerance, bool remove,
                                          CompactMatrixType* T);  // not provided: returns 1
int CompactMatrixSVDOrthogonalizeColplusT(CompactMatrixType* M, double tolerance, bool remove,
                                          CompactMatrixType* T);
int cmpuint32t(const void* a, const void* b);

#endif
