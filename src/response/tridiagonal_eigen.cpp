// Eigensystems of chains and stars.  A chain is diagonalised with LAPACK's
// divide-and-conquer driver; if that reports failure, the simple driver
// tries once more on a fresh copy.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "response/lapack_tridiagonal.h"
#include "response/tridiagonal.h"

namespace {

// Diagonalises the chain a[1..N], b[1..N-1] of M; with vectors non-null the
// eigenvectors go column by column (LAPACK's layout), which is one
// eigenvector per row of a row-major block.
int DiagonaliseChain(const TriDiagonalMatrixType& M, double* vectors, double* values, const char* where) {
    const uint32_t N = M.N;
    if (N == 0) return 0;
    const char jobz = vectors != nullptr ? 'V' : 'N';
    const size_t nn = N;
    const size_t lworkd = (jobz == 'V' && N > 1) ? 1 + 4 * nn + nn * nn : 1;
    const size_t liworkd = (jobz == 'V' && N > 1) ? 3 + 5 * nn : 1;
    const size_t lworks = N > 1 ? 2 * nn - 2 : 1;
    if (nn > INT_MAX || lworkd > INT_MAX) {
        printf("Chain of %u sites too long for LAPACK in %s\n", N, where);
        return 1;
    }
    const size_t lwork = lworkd > lworks ? lworkd : lworks;
    double* e = static_cast<double*>(malloc(sizeof(double) * (N > 1 ? N - 1 : 1)));
    double* work = static_cast<double*>(malloc(sizeof(double) * lwork));
    int* iwork = static_cast<int*>(malloc(sizeof(int) * liworkd));
    if (e == nullptr || work == nullptr || iwork == nullptr) {
        printf("malloc failed in %s\n", where);
        free(e);
        free(work);
        free(iwork);
        return 1;
    }
    auto load = [&]() {
        memcpy(values, M.a + 1, sizeof(double) * N);
        if (N > 1) memcpy(e, M.b + 1, sizeof(double) * (N - 1));
    };
    const int n = static_cast<int>(N);
    const int ldz = n;
    const int lw = static_cast<int>(lworkd);
    const int liw = static_cast<int>(liworkd);
    int info = 0;
    load();
    dstevd_(&jobz, &n, values, e, vectors, &ldz, work, &lw, iwork, &liw, &info);
    if (info != 0) {
        printf("dstevd failed in %s with info value %i\n", where, info);
        printf("continue diagonalization with dstev\n");
        fflush(stdout);
        load();
        dstev_(&jobz, &n, values, e, vectors, &ldz, work, &info);
        if (info != 0) printf("Also dstev failed with info value %i\n", info);
    }
    free(e);
    free(work);
    free(iwork);
    return info == 0 ? 0 : 1;
}

}  // namespace

int TriDiagonalMatrixToEigensystem(TriDiagonalMatrixType M, double* eigenvectors, double* eigenvalues) {
    return DiagonaliseChain(M, eigenvectors, eigenvalues, "TriDiagonalMatrixToEigensystem");
}

int TriDiagonalMatrixToEigenvalues(TriDiagonalMatrixType M, double* eigenvalues) {
    return DiagonaliseChain(M, nullptr, eigenvalues, "TriDiagonalMatrixToEigenvalues");
}

int AndersonMatrixToEigensystem(AndersonMatrixType A, double* eigenvectors, double* eigenvalues, uint32_t* n) {
    *n = 0;
    const size_t N = A.N;
    double* T = static_cast<double*>(malloc(sizeof(double) * N * N));
    double* V = static_cast<double*>(malloc(sizeof(double) * N * N));
    if (T == nullptr || V == nullptr) {
        printf("MatrixMultiply failed in AndersonMatrixToEigensystem\n");
        free(T);
        free(V);
        return 1;
    }
    TriDiagonalMatrixType chain;
    if (AndersonMatrixToTriDiagonalMatrixPlusT(A, T, &chain) != 0) {
        printf("AndersonMatrixToTriDiagonalMatrix failed in AndersonMatrixToEigensystem\n");
        free(T);
        free(V);
        return 1;
    }
    const int m = static_cast<int>(chain.N);
    if (TriDiagonalMatrixToEigensystem(chain, V, eigenvalues) != 0) {
        printf("TriDiagonalMatrixToEigensystem failed in AndersonMatrixToEigensystem\n");
        FreeTriDiagonalMatrix(&chain);
        free(T);
        free(V);
        return 1;
    }
    // Row k of the result is sum_i V[k][i] T[i][:]; in column-major terms
    // the m by N block is (T^t V^t)^t.
    const int nc = static_cast<int>(N);
    const double one = 1.0;
    const double zero = 0.0;
    const char no = 'N';
    dgemm_(&no, &no, &nc, &m, &m, &one, T, &nc, V, &m, &zero, eigenvectors, &nc);
    *n = chain.N;
    FreeTriDiagonalMatrix(&chain);
    free(T);
    free(V);
    return 0;
}
