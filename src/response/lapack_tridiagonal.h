// The few LAPACK and BLAS routines that the scalar response forms call,
// through the Fortran interface: column-major storage, 32-bit integers, all
// arguments by address.
#ifndef SKELDA_RESPONSE_LAPACK_TRIDIAGONAL_H
#define SKELDA_RESPONSE_LAPACK_TRIDIAGONAL_H

extern "C" {
// Symmetric tridiagonal eigensystem: divide and conquer, and the simple QL/QR.
void dstevd_(const char* jobz, const int* n, double* d, double* e, double* z, const int* ldz, double* work,
             const int* lwork, int* iwork, const int* liwork, int* info);
void dstev_(const char* jobz, const int* n, double* d, double* e, double* z, const int* ldz, double* work,
            int* info);
// y = alpha op(A) x + beta y
void dgemv_(const char* trans, const int* m, const int* n, const double* alpha, const double* a, const int* lda,
            const double* x, const int* incx, const double* beta, double* y, const int* incy);
// C = alpha op(A) op(B) + beta C
void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
            const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
            const double* beta, double* c, const int* ldc);
}

#endif
