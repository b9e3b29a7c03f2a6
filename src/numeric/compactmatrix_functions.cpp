// Functions of a matrix: inverse, integer powers, square, exponentials and
// square root, and the own-elimination inverse of the row-pointer record.
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/compactmatrix.h"
#include "numeric/lapack.h"

// --------------------------------------------------------------- inverse

int CompactMatrixInverse(CompactMatrixType* A) {
    if (A->Ni != A->Nj) {
        printf("In CompactMatrixInverse tried to inverse a rectangular matrix Ni=%i, Nj=%i\n",
               static_cast<int>(A->Ni), static_cast<int>(A->Nj));
        return -1;
    }
    // The row-major block is the transpose for LAPACK; the inverse of the
    // transpose is the transpose of the inverse, so no reordering is needed.
    // The work is done on a copy, so that A is unchanged after a failure.
    const int n = static_cast<int>(A->Ni);
    if (n == 0) return 0;
    size_t nn = static_cast<size_t>(n) * n;
    // The work of n*n elements, or for orders whose square exceeds the 32-bit
    // integers, a block of 64 columns (dgetri needs at least n).
    const int lwork = nn <= static_cast<size_t>(INT_MAX) ? n * n : 64 * n;
    size_t es = A->QComplex ? sizeof(Complex16) : sizeof(double);
    int* ipiv = static_cast<int*>(malloc(sizeof(int) * n));
    void* a = malloc(es * nn);
    void* work = malloc(es * static_cast<size_t>(lwork));
    if (ipiv == nullptr || a == nullptr || work == nullptr) {
        puts("malloc failed in CompactMatrixInverse");
        free(ipiv);
        free(a);
        free(work);
        return 1;
    }
    memcpy(a, A->data, es * nn);
    int info = 0, fail = 0;
    if (A->QComplex) {
        Complex16* c = static_cast<Complex16*>(a);
        zgetrf_(&n, &n, c, &n, ipiv, &info);
        if (info != 0) {
            printf("zgetrf failed in CompactMatrixInverse with INFO %i\n", info);
            fail = 1;
        } else {
            zgetri_(&n, c, &n, ipiv, static_cast<Complex16*>(work), &lwork, &info);
            if (info != 0) {
                printf("zgetri failed in CompactMatrixInverse with INFO %i\n", info);
                fail = 1;
            }
        }
    } else {
        double* d = static_cast<double*>(a);
        dgetrf_(&n, &n, d, &n, ipiv, &info);
        if (info != 0) {
            printf("dgetrf failed in CompactMatrixInverse with INFO %i\n", info);
            fail = 1;
        } else {
            dgetri_(&n, d, &n, ipiv, static_cast<double*>(work), &lwork, &info);
            if (info != 0) {
                printf("dgetri failed in CompactMatrixInverse with INFO %i\n", info);
                fail = 1;
            }
        }
    }
    if (!fail) memcpy(A->data, a, es * nn);
    free(ipiv);
    free(a);
    free(work);
    return fail;
}

// ---------------------------------------------------------------- powers

namespace {

// R = A^n for n >= 1 by binary powers: A^(n/2) squared, times A when n is odd.
int PositivePower(const CompactMatrixType& A, CompactMatrixType* R, unsigned n) {
    if (n == 1) return CompactMatrixCopy(A, R);
    CompactMatrixType H;
    if (PositivePower(A, &H, n / 2)) return 1;
    if (n % 2 == 0) {
        int fail = CompactMatrixMultiply("N", "N", H, H, R);
        FreeCompactMatrix(&H);
        return fail;
    }
    CompactMatrixType S;
    S.Ni = A.Ni;
    S.Nj = A.Nj;
    S.QComplex = A.QComplex;
    if (InitCompactMatrix(&S)) {
        FreeCompactMatrix(&H);
        return 1;
    }
    int fail = CompactMatrixAddMultiply("N", "N", H, H, &S, 1.0, 0.0, 0.0, 0.0);
    FreeCompactMatrix(&H);
    if (!fail) fail = CompactMatrixMultiply("N", "N", S, A, R);
    FreeCompactMatrix(&S);
    return fail;
}

}  // namespace

int CompactMatrixPow(const CompactMatrixType* A, CompactMatrixType* R, int n) {
    if (A->Ni != A->Nj) {
        printf("CompactMatrixPow called with a non-square matrix Ni=%u, Nj=%u\n", A->Ni, A->Nj);
        return 1;
    }
    if (n == 0) {
        *R = CompactidentityMatrix(A->Ni);
        return isNullMatrix(*R) ? 1 : 0;
    }
    if (n > 0) return PositivePower(*A, R, static_cast<unsigned>(n));
    CompactMatrixType inverse;
    if (CompactMatrixCopy(*A, &inverse)) return 1;
    if (CompactMatrixInverse(&inverse)) {
        FreeCompactMatrix(&inverse);
        return 1;
    }
    // -n without overflow for the most negative int.
    unsigned m = static_cast<unsigned>(-(n + 1)) + 1u;
    int fail = PositivePower(inverse, R, m);
    FreeCompactMatrix(&inverse);
    return fail;
}

int CompactMatrixSqr(const CompactMatrixType* A, CompactMatrixType* R) {
    return CompactMatrixMultiply("N", "N", *A, *A, R);
}

int CompactMatrixSqrPreAllocated(const CompactMatrixType* A, CompactMatrixType* R) {
    return CompactMatrixAddMultiply("N", "N", *A, *A, R, 1.0, 0.0, 0.0, 0.0);
}

// ------------------------------------------- exponentials and square root

namespace {

double* AllocateValues(uint32_t N, const char* where) {
    double* w = static_cast<double*>(malloc(sizeof(double) * (N > 0 ? N : 1)));
    if (w == nullptr) printf("malloc failed in %s\n", where);
    return w;
}

}  // namespace

int HermitianCompactMatrixExp(const CompactMatrixType* A, CompactMatrixType* R) {
    double* w = AllocateValues(A->Ni, "HermitianCompactMatrixExp");
    if (w == nullptr) return 1;
    CompactMatrixType V;
    if (CompactMatrixEigensystem(A, &V, w)) {
        puts("CompactMatrixEigensystem failed in HermitianCompactMatrixExp");
        free(w);
        return 1;
    }
    for (uint32_t k = 0; k < A->Ni; k++) w[k] = exp(w[k]);
    // A = transpose(V) D conj(V) with the eigenvectors in the rows of V.
    int fail = TransformDiagonalMatrixByCompactMatrixTtranATcon(w, V, R);
    FreeCompactMatrix(&V);
    free(w);
    return fail;
}

namespace {

// Condition of the eigenvector pair: with L^dagger R = 1, the product of the
// Frobenius norms is N for a normal matrix and grows without bound as the
// matrix approaches one without a full set of eigenvectors.
double EigenvectorCondition(const CompactMatrixType& L, const CompactMatrixType& Rv) {
    double nl = 0.0, nr = 0.0;
    for (uint32_t i = 0; i < L.Ni; i++)
        for (uint32_t j = 0; j < L.Nj; j++) {
            Complex16 l = CompactMatrixElement(L, i, j), r = CompactMatrixElement(Rv, i, j);
            nl += l.re * l.re + l.im * l.im;
            nr += r.re * r.re + r.im * r.im;
        }
    return sqrt(nl * nr) / (L.Ni > 0 ? L.Ni : 1);
}

// exp(A) by scaling and squaring of a Taylor series: A is scaled by 2^-s
// until its 1-norm is below 1/2, the series is summed to rounding, and the
// result squared s times.  Used where the eigenvectors of A do not span the
// space (a defective matrix such as {{0,1},{0,0}}), where the spectral form
// would silently give a wrong answer.
int CompactMatrixExpTaylor(const CompactMatrixType* A, CompactMatrixType* R) {
    const uint32_t N = A->Ni;
    const size_t NN = static_cast<size_t>(N) * N;
    Complex16* work = static_cast<Complex16*>(malloc(sizeof(Complex16) * 3 * (NN > 0 ? NN : 1)));
    if (work == nullptr) {
        puts("malloc failed in NonHermitianCompactMatrixExp");
        return 1;
    }
    Complex16* a = work;
    Complex16* term = work + NN;
    Complex16* tmp = work + 2 * NN;
    double norm1 = 0.0;
    for (uint32_t j = 0; j < N; j++) {
        double col = 0.0;
        for (uint32_t i = 0; i < N; i++) {
            Complex16 x = CompactMatrixElement(*A, i, j);
            col += sqrt(x.re * x.re + x.im * x.im);
        }
        if (col > norm1) norm1 = col;
    }
    int s = 0;
    while (norm1 > 0.5 && s < 1100) {
        norm1 *= 0.5;
        s++;
    }
    double scale = ldexp(1.0, -s);
    for (uint32_t i = 0; i < N; i++)
        for (uint32_t j = 0; j < N; j++) a[i * N + j] = CompactMatrixElement(*A, i, j) * scale;

    R->Ni = N;
    R->Nj = N;
    R->QComplex = 1;
    if (InitCompactMatrix(R)) {
        free(work);
        return 1;
    }
    Complex16* r = CompactMatrixComplexData(*R);
    auto multiply = [N](const Complex16* x, const Complex16* y, Complex16* out) {
        for (uint32_t i = 0; i < N; i++)
            for (uint32_t j = 0; j < N; j++) {
                Complex16 sum{0.0, 0.0};
                for (uint32_t k = 0; k < N; k++) sum += x[i * N + k] * y[k * N + j];
                out[i * N + j] = sum;
            }
    };
    for (size_t k = 0; k < NN; k++) term[k] = Complex16{0.0, 0.0};
    for (uint32_t i = 0; i < N; i++) term[i * N + i] = Complex16{1.0, 0.0};
    for (size_t k = 0; k < NN; k++) r[k] = term[k];
    for (int n = 1; n <= 30; n++) {
        multiply(term, a, tmp);
        double largest = 0.0;
        for (size_t k = 0; k < NN; k++) {
            term[k] = tmp[k] / static_cast<double>(n);
            r[k] += term[k];
            largest = fmax(largest, fabs(term[k].re) + fabs(term[k].im));
        }
        if (largest < 1e-18) break;
    }
    for (int k = 0; k < s; k++) {
        multiply(r, r, tmp);
        for (size_t m = 0; m < NN; m++) r[m] = tmp[m];
    }
    free(work);
    return 0;
}

}  // namespace

int NonHermitianCompactMatrixExp(const CompactMatrixType* A, CompactMatrixType* R) {
    uint32_t N = A->Ni;
    Complex16* values = static_cast<Complex16*>(malloc(sizeof(Complex16) * (N > 0 ? N : 1)));
    if (values == nullptr) {
        puts("malloc failed in NonHermitianCompactMatrixExp");
        return 1;
    }
    CompactMatrixType L, Rv;
    if (NonHermitianCompactMatrixEigensystem(*A, &L, &Rv, values)) {
        // A matrix whose eigenvectors do not span the space still has an
        // exponential: take the series instead.
        free(values);
        if (A->Ni != A->Nj || CompactMatrixExpTaylor(A, R)) {
            puts("NonHermitianCompactMatrixEigensystem failed in NonHermitianCompactMatrixExp");
            return 1;
        }
        return A->QComplex ? 0 : MakeCompactComplexMatrixReal(R);
    }
    int fail;
    if (EigenvectorCondition(L, Rv) > 1e6) {
        fail = CompactMatrixExpTaylor(A, R);
    } else {
        for (uint32_t k = 0; k < N; k++) {
            double m = exp(values[k].re);
            values[k] = Complex16{m * cos(values[k].im), m * sin(values[k].im)};
        }
        // A = transpose(R) D conj(L) since conj(L) transpose(R) = 1.
        fail = TransformComplexDiagonalMatrixByCompactMatrixTRtranATLcon(values, L, Rv, R);
    }
    FreeCompactMatrix(&L);
    FreeCompactMatrix(&Rv);
    free(values);
    // The exponential of a real matrix is real: drop the rounding that the
    // complex eigenvectors leave in the imaginary parts.
    if (!fail && !A->QComplex) fail = MakeCompactComplexMatrixReal(R);
    return fail;
}

int NonHermitianCompactMatrixSqrt(const CompactMatrixType*, CompactMatrixType*) { return 1; }

int CompactMatrixSqrt(const CompactMatrixType* A, CompactMatrixType* R) {
    double* w = AllocateValues(A->Ni, "CompactMatrixSqrt");
    if (w == nullptr) return 1;
    CompactMatrixType V;
    if (CompactMatrixEigensystem(A, &V, w)) {
        puts("CompactMatrixEigensystem failed in CompactMatrixSqrt");
        free(w);
        return 1;
    }
    double trace = 0.0;
    for (uint32_t k = 0; k < A->Ni; k++) trace += fabs(w[k]);
    for (uint32_t k = 0; k < A->Ni; k++) {
        if (w[k] < 0.0) {
            // A slightly indefinite matrix passes silently; a clearly
            // indefinite one is reported, and the value is set to 0 in both.
            if (w[k] < -2.220446049250313e-13 * trace)
                printf("Negative value in CompactMatrixSqrt, eigen value is %22.15E at pos %i "
                       "(trace |val| = %22.15E)\n", w[k], static_cast<int>(k), trace);
            w[k] = 0.0;
        }
        w[k] = sqrt(w[k]);
    }
    int fail = TransformDiagonalMatrixByCompactMatrixTtranATcon(w, V, R);
    FreeCompactMatrix(&V);
    free(w);
    return fail;
}

// ----------------------------------------- inverse of the row-pointer record

namespace {

// Gauss-Jordan elimination in place with partial pivoting: in column k the
// row with the largest modulus at or below k becomes the pivot row.  The row
// exchanges become column exchanges of the inverse, undone at the end in
// reverse order.
int GaussJordan(MatrixType* A) {
    const int n = A->Ni;
    const bool c = A->QComplex != 0;
    int* perm = static_cast<int*>(malloc(sizeof(int) * (n > 0 ? n : 1)));
    if (perm == nullptr) {
        puts("malloc failed in MatrixInverse");
        return 1;
    }
    double** re = A->Re;
    double** im = A->Im;
    for (int k = 0; k < n; k++) {
        int p = k;
        double best = -1.0;
        for (int i = k; i < n; i++) {
            double m = re[i][k] * re[i][k] + (c ? im[i][k] * im[i][k] : 0.0);
            if (m > best) {
                best = m;
                p = i;
            }
        }
        if (best == 0.0) {
            printf("Singular matrix inversion of matrix %s\n", A->Name);
            free(perm);
            return 1;
        }
        perm[k] = p;
        if (p != k) {
            for (int j = 0; j < n; j++) {
                double t = re[k][j];
                re[k][j] = re[p][j];
                re[p][j] = t;
                if (c) {
                    t = im[k][j];
                    im[k][j] = im[p][j];
                    im[p][j] = t;
                }
            }
        }
        // Scale the pivot row by 1/pivot, the pivot place taking 1/pivot.
        Complex16 pivot{re[k][k], c ? im[k][k] : 0.0};
        Complex16 inv = 1.0 / pivot;
        re[k][k] = 1.0;
        if (c) im[k][k] = 0.0;
        for (int j = 0; j < n; j++) {
            Complex16 v{re[k][j], c ? im[k][j] : 0.0};
            v = v * inv;
            re[k][j] = v.re;
            if (c) im[k][j] = v.im;
        }
        for (int i = 0; i < n; i++) {
            if (i == k) continue;
            Complex16 f{re[i][k], c ? im[i][k] : 0.0};
            if (f.re == 0.0 && f.im == 0.0) continue;
            re[i][k] = 0.0;
            if (c) im[i][k] = 0.0;
            for (int j = 0; j < n; j++) {
                if (c) {
                    Complex16 v = f * Complex16{re[k][j], im[k][j]};
                    re[i][j] -= v.re;
                    im[i][j] -= v.im;
                } else {
                    re[i][j] -= f.re * re[k][j];
                }
            }
        }
    }
    for (int k = n - 1; k >= 0; k--) {
        int p = perm[k];
        if (p == k) continue;
        for (int i = 0; i < n; i++) {
            double t = re[i][k];
            re[i][k] = re[i][p];
            re[i][p] = t;
            if (c) {
                t = im[i][k];
                im[i][k] = im[i][p];
                im[i][p] = t;
            }
        }
    }
    free(perm);
    return 0;
}

}  // namespace

int MatrixInverse(MatrixType* A) {
    if (A->Ni != A->Nj) {
        printf("Tried to invert a non square matrix Ni=%i Nj=%i\n", A->Ni, A->Nj);
        return 1;
    }
    // Work on a copy, so that a singular matrix is left as it was.
    MatrixType W;
    if (MatrixCopy(&W, *A)) return 1;
    if (GaussJordan(&W)) {
        FreeMatrix(&W);
        return 1;
    }
    FreeMatrix(A);
    A->Re = W.Re;
    A->Im = W.Im;
    return 0;
}
