// Eigensystem of a general square matrix through dgeev or zgeev, its
// ordering by real part, and the normalisation of left against right
// eigenvectors.
//
// LAPACK sees the row-major block as the transpose A^T.  A right eigenvector
// x of A^T (A^T x = w x) gives x^T A = w x^T, so conj(x) is a left
// eigenvector of A; a left eigenvector y of A^T (y^H A^T = w y^H) gives
// A conj(y) = w conj(y), a right eigenvector of A.  LAPACK stores vector k
// in column k, which is row k of the row-major block.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/compactmatrix.h"
#include "numeric/lapack.h"

namespace {

size_t Square(uint32_t N) { return static_cast<size_t>(N) * N; }

int InitVectors(CompactMatrixType* M, uint32_t N, int32_t QComplex, const char* name) {
    M->Ni = N;
    M->Nj = N;
    M->QComplex = QComplex;
    if (InitCompactMatrix(M)) {
        puts("InitCompactMatrix failed in NonHermitianCompactMatrixEigensystem");
        return 1;
    }
    SetCompactMatrixName(M, name);
    return 0;
}

int ComplexGeneralEigensystem(const CompactMatrixType& A, CompactMatrixType* L,
                              CompactMatrixType* R, Complex16* values) {
    const int n = static_cast<int>(A.Ni), ld = n > 0 ? n : 1;
    size_t nn = Square(A.Ni);
    Complex16* a = static_cast<Complex16*>(malloc(sizeof(Complex16) * nn));
    double* rwork = static_cast<double*>(malloc(sizeof(double) * 2 * n));
    if (a == nullptr || rwork == nullptr) {
        puts("malloc failed in NonHermitianCompactMatrixEigensystem");
        free(a);
        free(rwork);
        return 1;
    }
    memcpy(static_cast<void*>(a), A.data, sizeof(Complex16) * nn);
    if (InitVectors(L, A.Ni, 1, "Left Eigen vectors")) {
        free(a);
        free(rwork);
        return 1;
    }
    if (InitVectors(R, A.Ni, 1, "Right Eigen vectors")) {
        FreeCompactMatrix(L);
        free(a);
        free(rwork);
        return 1;
    }
    // LAPACK's right vectors go to L and its left vectors to R, conjugated
    // below.
    Complex16* vr = CompactMatrixComplexData(*L);
    Complex16* vl = CompactMatrixComplexData(*R);
    int info = 0, lwork = -1;
    Complex16 query{0.0, 0.0};
    zgeev_("V", "V", &n, a, &ld, values, vl, &ld, vr, &ld, &query, &lwork, rwork, &info, 1, 1);
    lwork = info == 0 && query.re >= 2.0 * n ? static_cast<int>(query.re) : 2 * n + 1;
    Complex16* work = static_cast<Complex16*>(malloc(sizeof(Complex16) * lwork));
    if (work == nullptr) {
        puts("malloc failed in NonHermitianCompactMatrixEigensystem");
        info = -1000;
    } else {
        zgeev_("V", "V", &n, a, &ld, values, vl, &ld, vr, &ld, work, &lwork, rwork, &info, 1, 1);
        if (info != 0)
            printf("zgeev failed in NonHermitianCompactMatrixEigensystem with info value %i\n", info);
    }
    free(work);
    free(a);
    free(rwork);
    if (info != 0) {
        FreeCompactMatrix(L);
        FreeCompactMatrix(R);
        return 1;
    }
    CompactMatrixConjugate(L);
    CompactMatrixConjugate(R);
    return 0;
}

int RealGeneralEigensystem(const CompactMatrixType& A, CompactMatrixType* L, CompactMatrixType* R,
                           Complex16* values) {
    const int n = static_cast<int>(A.Ni), ld = n > 0 ? n : 1;
    size_t nn = Square(A.Ni);
    double* a = static_cast<double*>(malloc(sizeof(double) * nn));
    double* wr = static_cast<double*>(malloc(sizeof(double) * n));
    double* wi = static_cast<double*>(malloc(sizeof(double) * n));
    double* vl = static_cast<double*>(malloc(sizeof(double) * nn));
    double* vr = static_cast<double*>(malloc(sizeof(double) * nn));
    double* work = nullptr;
    int info = 0;
    if (a == nullptr || wr == nullptr || wi == nullptr || vl == nullptr || vr == nullptr) {
        puts("malloc failed in NonHermitianCompactMatrixEigensystem");
        info = -1000;
    } else {
        memcpy(a, A.data, sizeof(double) * nn);
        int lwork = -1;
        double query = 0.0;
        dgeev_("V", "V", &n, a, &ld, wr, wi, vl, &ld, vr, &ld, &query, &lwork, &info, 1, 1);
        lwork = info == 0 && query >= 4.0 * n ? static_cast<int>(query) : 4 * n + 1;
        work = static_cast<double*>(malloc(sizeof(double) * lwork));
        if (work == nullptr) {
            puts("malloc failed in NonHermitianCompactMatrixEigensystem");
            info = -1000;
        } else {
            dgeev_("V", "V", &n, a, &ld, wr, wi, vl, &ld, vr, &ld, work, &lwork, &info, 1, 1);
            if (info != 0)
                printf("dgeev failed in NonHermitianCompactMatrixEigensystem with info value %i\n",
                       info);
        }
    }
    int fail = info != 0;
    if (!fail) {
        bool complexPairs = false;
        for (int k = 0; k < n; k++) complexPairs = complexPairs || wi[k] != 0.0;
        int32_t q = complexPairs ? 1 : 0;
        fail = InitVectors(L, A.Ni, q, "Left Eigen vectors");
        if (!fail && InitVectors(R, A.Ni, q, "Right Eigen vectors")) {
            FreeCompactMatrix(L);
            fail = 1;
        }
        if (!fail) {
            for (int k = 0; k < n; k++) values[k] = Complex16{wr[k], wi[k]};
            if (!complexPairs) {
                memcpy(L->data, vr, sizeof(double) * nn);
                memcpy(R->data, vl, sizeof(double) * nn);
            } else {
                // A pair w, conj(w) (wi > 0 first) shares the columns k and
                // k+1: the vector of w is column k + i column k+1.
                Complex16* l = CompactMatrixComplexData(*L);
                Complex16* r = CompactMatrixComplexData(*R);
                for (int k = 0; k < n; k++) {
                    size_t row = static_cast<size_t>(k) * n;
                    if (wi[k] == 0.0) {
                        for (int i = 0; i < n; i++) {
                            l[row + i] = Complex16{vr[row + i], 0.0};
                            r[row + i] = Complex16{vl[row + i], 0.0};
                        }
                        continue;
                    }
                    size_t next = row + n;
                    for (int i = 0; i < n; i++) {
                        // Conjugated, as for the complex arm.
                        l[row + i] = Complex16{vr[row + i], -vr[next + i]};
                        r[row + i] = Complex16{vl[row + i], -vl[next + i]};
                        l[next + i] = Complex16{vr[row + i], vr[next + i]};
                        r[next + i] = Complex16{vl[row + i], vl[next + i]};
                    }
                    k++;
                }
            }
        }
    }
    free(a);
    free(wr);
    free(wi);
    free(vl);
    free(vr);
    free(work);
    return fail;
}

// Replaces L by conj(M^-1) L with M = conj(L) transpose(R), the matrix of
// overlaps l_j^dagger r_k, so that the new overlaps are the unit matrix.
// Across distinct eigenvalues the overlaps vanish already; within a
// degenerate eigenvalue this makes the left vectors biorthogonal to the
// right ones.
int NormaliseLeftToRight(CompactMatrixType* L, const CompactMatrixType& R) {
    CompactMatrixType M, Lnew;
    if (CompactMatrixMultiply("*", "T", *L, R, &M)) return 1;
    if (CompactMatrixInverse(&M)) {
        puts("Eigenvectors are linearly dependent (defective matrix) in "
             "NonHermitianCompactMatrixEigensystem");
        FreeCompactMatrix(&M);
        return 1;
    }
    int fail = CompactMatrixMultiply("*", "N", M, *L, &Lnew);
    FreeCompactMatrix(&M);
    if (fail) return 1;
    free(L->data);
    L->data = Lnew.data;
    L->QComplex = Lnew.QComplex;
    Lnew.data = nullptr;
    FreeCompactMatrix(&Lnew);
    return 0;
}

// One eigenvalue with its two vectors, for sorting.
struct EigenTriple {
    Complex16 value;
    const char* left;
    const char* right;
};

}  // namespace

int SortNonHermitianEigensystemOrder(const void* a, const void* b) {
    double x = static_cast<const EigenTriple*>(a)->value.re;
    double y = static_cast<const EigenTriple*>(b)->value.re;
    return (x > y) - (x < y);
}

int NonHermitianEigensystemOrder(Complex16* values, CompactMatrixType* L, CompactMatrixType* R) {
    if (L->Ni != R->Ni) {
        puts("Number of rows for funL and funR need to be equal in NonHermitianEigensystemOrder");
        return 1;
    }
    uint32_t N = L->Ni;
    if (N == 0) return 0;
    size_t lRow = static_cast<size_t>(L->Nj) * (L->QComplex ? sizeof(Complex16) : sizeof(double));
    size_t rRow = static_cast<size_t>(R->Nj) * (R->QComplex ? sizeof(Complex16) : sizeof(double));
    EigenTriple* t = static_cast<EigenTriple*>(malloc(sizeof(EigenTriple) * N));
    char* l = static_cast<char*>(malloc(lRow * N > 0 ? lRow * N : 1));
    char* r = static_cast<char*>(malloc(rRow * N > 0 ? rRow * N : 1));
    if (t == nullptr || l == nullptr || r == nullptr) {
        puts("malloc failed in NonHermitianEigensystemOrder");
        free(t);
        free(l);
        free(r);
        return 1;
    }
    for (uint32_t k = 0; k < N; k++)
        t[k] = EigenTriple{values[k], static_cast<const char*>(L->data) + k * lRow,
                           static_cast<const char*>(R->data) + k * rRow};
    qsort(t, N, sizeof(EigenTriple), SortNonHermitianEigensystemOrder);
    for (uint32_t k = 0; k < N; k++) {
        values[k] = t[k].value;
        memcpy(l + k * lRow, t[k].left, lRow);
        memcpy(r + k * rRow, t[k].right, rRow);
    }
    free(L->data);
    free(R->data);
    L->data = l;
    R->data = r;
    free(t);
    return 0;
}

int NonHermitianCompactMatrixEigensystem(CompactMatrixType A, CompactMatrixType* L,
                                         CompactMatrixType* R, Complex16* values) {
    if (A.Ni != A.Nj) {
        puts("NonHermitianCompactMatrixEigensystem called with non-square matrix");
        puts("ERORR!!!!!!");
        return 1;
    }
    if (A.Ni == 0) {
        if (InitVectors(L, 0, A.QComplex, "Left Eigen vectors")) return 1;
        if (InitVectors(R, 0, A.QComplex, "Right Eigen vectors")) {
            FreeCompactMatrix(L);
            return 1;
        }
        return 0;
    }
    int fail = A.QComplex ? ComplexGeneralEigensystem(A, L, R, values)
                          : RealGeneralEigensystem(A, L, R, values);
    if (fail) return 1;
    if (NonHermitianEigensystemOrder(values, L, R) || NormaliseLeftToRight(L, *R)) {
        FreeCompactMatrix(L);
        FreeCompactMatrix(R);
        return 1;
    }
    return 0;
}

int CompactMatrixGeneralEigensystem(CompactMatrixType A, CompactMatrixType* L,
                                    CompactMatrixType* R, Complex16* values) {
    return NonHermitianCompactMatrixEigensystem(A, L, R, values);
}
