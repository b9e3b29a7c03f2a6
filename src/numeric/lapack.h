// The BLAS and LAPACK routines used by the dense-matrix code, declared for
// their Fortran interface: every argument by address, 32-bit integers,
// column-major storage.  Character arguments are followed, at the end of the
// list, by their hidden lengths as the Fortran compiler passes them.  Where
// a call site may leave them out they default to 1: every option here is a
// single character.
#ifndef SKELDA_NUMERIC_LAPACK_H
#define SKELDA_NUMERIC_LAPACK_H

#include <cstddef>

#include "base/complex16.h"

typedef std::size_t FortranCharLength;

extern "C" {

// Level 3 and level 2 BLAS.
void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
            const double* beta, double* c, const int* ldc, FortranCharLength = 1,
            FortranCharLength = 1);
void zgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const Complex16* alpha, const Complex16* a, const int* lda, const Complex16* b,
            const int* ldb, const Complex16* beta, Complex16* c, const int* ldc, FortranCharLength,
            FortranCharLength);
void dgemv_(const char* trans, const int* m, const int* n, const double* alpha, const double* a,
            const int* lda, const double* x, const int* incx, const double* beta, double* y,
            const int* incy, FortranCharLength = 1);
void zgemv_(const char* trans, const int* m, const int* n, const Complex16* alpha,
            const Complex16* a, const int* lda, const Complex16* x, const int* incx,
            const Complex16* beta, Complex16* y, const int* incy, FortranCharLength);
void dsymv_(const char* uplo, const int* n, const double* alpha, const double* a, const int* lda,
            const double* x, const int* incx, const double* beta, double* y, const int* incy,
            FortranCharLength);

// Level 1 BLAS.  zdotc returns its complex value in registers as a pair of
// doubles, which is the layout of Complex16.
double ddot_(const int* n, const double* x, const int* incx, const double* y, const int* incy);
Complex16 zdotc_(const int* n, const Complex16* x, const int* incx, const Complex16* y,
                 const int* incy);
void daxpy_(const int* n, const double* alpha, const double* x, const int* incx, double* y,
            const int* incy);
void zaxpy_(const int* n, const Complex16* alpha, const Complex16* x, const int* incx,
            Complex16* y, const int* incy);
void dscal_(const int* n, const double* alpha, double* x, const int* incx);
void zscal_(const int* n, const Complex16* alpha, Complex16* x, const int* incx);

// Symmetric and Hermitian eigensystems.
void dsyev_(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w,
            double* work, const int* lwork, int* info, FortranCharLength, FortranCharLength);
void dsyevd_(const char* jobz, const char* uplo, const int* n, double* a, const int* lda,
             double* w, double* work, const int* lwork, int* iwork, const int* liwork, int* info,
             FortranCharLength, FortranCharLength);
void zheev_(const char* jobz, const char* uplo, const int* n, Complex16* a, const int* lda,
            double* w, Complex16* work, const int* lwork, double* rwork, int* info,
            FortranCharLength, FortranCharLength);
void zheevd_(const char* jobz, const char* uplo, const int* n, Complex16* a, const int* lda,
             double* w, Complex16* work, const int* lwork, double* rwork, const int* lrwork,
             int* iwork, const int* liwork, int* info, FortranCharLength, FortranCharLength);

// Generalised symmetric-definite and Hermitian-definite eigensystems.
void dsygv_(const int* itype, const char* jobz, const char* uplo, const int* n, double* a,
            const int* lda, double* b, const int* ldb, double* w, double* work, const int* lwork,
            int* info, FortranCharLength, FortranCharLength);
void dsygvd_(const int* itype, const char* jobz, const char* uplo, const int* n, double* a,
             const int* lda, double* b, const int* ldb, double* w, double* work,
             const int* lwork, int* iwork, const int* liwork, int* info, FortranCharLength,
             FortranCharLength);
void zhegv_(const int* itype, const char* jobz, const char* uplo, const int* n, Complex16* a,
            const int* lda, Complex16* b, const int* ldb, double* w, Complex16* work,
            const int* lwork, double* rwork, int* info, FortranCharLength, FortranCharLength);
void zhegvd_(const int* itype, const char* jobz, const char* uplo, const int* n, Complex16* a,
             const int* lda, Complex16* b, const int* ldb, double* w, Complex16* work,
             const int* lwork, double* rwork, const int* lrwork, int* iwork, const int* liwork,
             int* info, FortranCharLength, FortranCharLength);

// Real symmetric tridiagonal eigensystems.
void dstev_(const char* jobz, const int* n, double* d, double* e, double* z, const int* ldz,
            double* work, int* info, FortranCharLength = 1);
void dstevd_(const char* jobz, const int* n, double* d, double* e, double* z, const int* ldz,
             double* work, const int* lwork, int* iwork, const int* liwork, int* info,
             FortranCharLength = 1);

// General (non-Hermitian) eigensystems.
void dgeev_(const char* jobvl, const char* jobvr, const int* n, double* a, const int* lda,
            double* wr, double* wi, double* vl, const int* ldvl, double* vr, const int* ldvr,
            double* work, const int* lwork, int* info, FortranCharLength, FortranCharLength);
void zgeev_(const char* jobvl, const char* jobvr, const int* n, Complex16* a, const int* lda,
            Complex16* w, Complex16* vl, const int* ldvl, Complex16* vr, const int* ldvr,
            Complex16* work, const int* lwork, double* rwork, int* info, FortranCharLength,
            FortranCharLength);

// Singular value decomposition.
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a,
             const int* lda, double* s, double* u, const int* ldu, double* vt, const int* ldvt,
             double* work, const int* lwork, int* info, FortranCharLength, FortranCharLength);
void zgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, Complex16* a,
             const int* lda, double* s, Complex16* u, const int* ldu, Complex16* vt,
             const int* ldvt, Complex16* work, const int* lwork, double* rwork, int* info,
             FortranCharLength, FortranCharLength);

// LU factorisation and inverse.
void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void dgetri_(const int* n, double* a, const int* lda, const int* ipiv, double* work,
             const int* lwork, int* info);
void zgetrf_(const int* m, const int* n, Complex16* a, const int* lda, int* ipiv, int* info);
void zgetri_(const int* n, Complex16* a, const int* lda, const int* ipiv, Complex16* work,
             const int* lwork, int* info);

}  // extern "C"

// Test hooks of the eigensolver retry chains.  When LapackFailFirstAttempt is
// not zero, the first routine of every chain (dsyev, zheev, dsygv, zhegv,
// dstevd) runs as usual and is then treated as if it had returned that value
// in info, so that the second routine and its messages run.
// LapackFailSecondAttempt does the same for the second routine.  Both are 0
// in a normal run; only tests set them.
extern int LapackFailFirstAttempt;
extern int LapackFailSecondAttempt;

inline int LapackChainInfo(int info, int attempt) {
    int forced = attempt == 1 ? LapackFailFirstAttempt : LapackFailSecondAttempt;
    return forced != 0 ? forced : info;
}

#endif
