// Eigensystems of chains and stars.  A chain goes to the real tridiagonal
// eigensolver of the dense-matrix layer (divide and conquer first, the simple
// driver on a fresh copy if that fails), whose messages name
// TriDiagonalMatrixToEigensystem for every caller.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/lapack.h"
#include "numeric/matrix.h"
#include "response/tridiagonal.h"

namespace {

// The largest chain whose eigenvector workspace, 1 + 4N + N^2 doubles, is
// still counted by a 32-bit LAPACK integer.
const uint32_t kLongestChainWithVectors = 46339;

}  // namespace

int TriDiagonalMatrixToEigensystem(TriDiagonalMatrixType M, double* eigenvectors, double* eigenvalues) {
    const uint32_t N = M.N;
    if (N == 0) return 0;
    if (N > kLongestChainWithVectors) {
        printf("Chain of %u sites too long for LAPACK in TriDiagonalMatrixToEigensystem\n", N);
        return 1;
    }
    MatrixType V;
    if (RealTriDiagonalEigensystem(static_cast<int>(N), M.a + 1, M.b + 1, &V, eigenvalues) != 0) return 1;
    memcpy(eigenvectors, V.Re[0], sizeof(double) * N * N);
    FreeMatrix(&V);
    return 0;
}

int TriDiagonalMatrixToEigenvalues(TriDiagonalMatrixType M, double* eigenvalues) {
    if (M.N == 0) return 0;
    if (M.N > static_cast<uint32_t>(INT_MAX / 2)) {
        printf("Chain of %u sites too long for LAPACK in TriDiagonalMatrixToEigensystem\n", M.N);
        return 1;
    }
    return RealTriDiagonalEigensystem(static_cast<int>(M.N), M.a + 1, M.b + 1, nullptr, eigenvalues);
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
