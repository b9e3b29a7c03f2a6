// Conversions among the list of poles, the chain and the star.
//
// The chain of a list or of a star comes from the Lanczos recursion on the
// bath levels: a list is a source coupled with sqrt(weight) to levels at the
// pole energies, a star is its first site coupled with b[k-1] to the levels
// a[k].  The recursion keeps all Krylov vectors and orthogonalises each new
// one twice against all of them, so that it stays exact to rounding for as
// many steps as there are levels.
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/lapack.h"
#include "response/tridiagonal.h"

namespace {

void CopyName(char* to, const char* from) {
    memcpy(to, from, 256);
    to[255] = '\0';
}

// Lanczos on the diagonal matrix diag(d[0..m-1]) from the normalised start
// v0, for at most nmax steps.  The rows of V (room for nmax*m doubles) take
// the Krylov vectors; alpha[j] is the diagonal, beta[j] the coupling of
// steps j and j+1 (nmax values each).  The recursion stops early when a
// coupling vanishes, that is falls to the rounding level of the matrix,
// 100 eps max|d|: the rest of the levels is not reached from the start.
// Returns the number of steps made.
uint32_t DiagonalLanczos(uint32_t m, const double* d, const double* v0, uint32_t nmax, double* alpha,
                         double* beta, double* V) {
    double scale = 0.0;
    for (uint32_t i = 0; i < m; i++) scale = fmax(scale, fabs(d[i]));
    const double zero = 100.0 * DBL_EPSILON * scale;
    const int mm = static_cast<int>(m);
    const int one = 1;
    const double pone = 1.0;
    const double mone = -1.0;
    const double nil = 0.0;
    const char trans = 'T';
    const char notrans = 'N';
    memcpy(V, v0, sizeof(double) * m);
    // The projections of a new vector on the Krylov vectors so far.  beta
    // holds room enough: beta[j] is written only after h is used.
    double* h = static_cast<double*>(malloc(sizeof(double) * nmax));
    if (h == nullptr) return 0;
    uint32_t j = 0;
    for (;; j++) {
        const double* v = V + size_t{j} * m;
        double* w = V + size_t{j + 1} * m;  // the next row, or scratch in h's place
        double* r = (j + 1 < nmax) ? w : nullptr;
        // With no room for another row, the last step needs only alpha.
        if (r == nullptr) {
            double s = 0.0;
            for (uint32_t i = 0; i < m; i++) s += v[i] * d[i] * v[i];
            alpha[j] = s;
            beta[j] = 0.0;
            j++;
            break;
        }
        double s = 0.0;
        for (uint32_t i = 0; i < m; i++) {
            r[i] = d[i] * v[i];
            s += v[i] * r[i];
        }
        alpha[j] = s;
        for (uint32_t i = 0; i < m; i++) r[i] -= s * v[i];
        if (j > 0) {
            const double* p = V + size_t{j - 1} * m;
            for (uint32_t i = 0; i < m; i++) r[i] -= beta[j - 1] * p[i];
        }
        // Two passes of classical Gram-Schmidt against rows 0..j.
        const int k = static_cast<int>(j + 1);
        for (int pass = 0; pass < 2; pass++) {
            dgemv_(&trans, &mm, &k, &pone, V, &mm, r, &one, &nil, h, &one);
            dgemv_(&notrans, &mm, &k, &mone, V, &mm, h, &one, &pone, r, &one);
            alpha[j] += h[j];
        }
        double norm = 0.0;
        for (uint32_t i = 0; i < m; i++) norm += r[i] * r[i];
        norm = sqrt(norm);
        beta[j] = norm;
        if (!(norm > zero)) {
            beta[j] = 0.0;
            j++;
            break;
        }
        for (uint32_t i = 0; i < m; i++) r[i] /= norm;
    }
    free(h);
    return j;
}

// Fills the sites 1.. of chain M (already holding a[0], b[0], and site 1
// when first > 1) from a Lanczos run: a[first+j] = alpha[j], and
// b[first+j] = beta[j] for the couplings inside the chain.
void StoreLanczos(TriDiagonalMatrixType* M, uint32_t first, const double* alpha, const double* beta, uint32_t n) {
    for (uint32_t j = 0; j < n; j++) M->a[first + j] = alpha[j];
    for (uint32_t j = 0; j + 1 < n; j++) M->b[first + j] = beta[j];
}

// Workspace of a Lanczos run on m levels for at most nmax steps.
struct LanczosWork {
    double* alpha = nullptr;
    double* beta = nullptr;
    double* V = nullptr;
    double* v0 = nullptr;
    int Allocate(uint32_t m, uint32_t nmax) {
        alpha = static_cast<double*>(malloc(sizeof(double) * nmax));
        beta = static_cast<double*>(malloc(sizeof(double) * nmax));
        V = static_cast<double*>(malloc(sizeof(double) * size_t{nmax} * m));
        v0 = static_cast<double*>(malloc(sizeof(double) * m));
        return (alpha && beta && V && v0) ? 0 : 1;
    }
    ~LanczosWork() {
        free(alpha);
        free(beta);
        free(V);
        free(v0);
    }
};

}  // namespace

int ListOfPolesToTridiagonalMatrix(ListOfPoles L, TriDiagonalMatrixType* M, unsigned int n) {
    double W = 0.0;
    for (uint32_t i = 0; i < L.N; i++) {
        if (L.b[i] < 0.0) {
            printf("ListOfPolesToTridiagonalMatrix needs weights that are not negative, not %22.15E at %22.15E\n",
                   L.b[i], L.a[i]);
            return 1;
        }
        W += L.b[i];
    }
    const uint32_t nmax = (n == 0 || n > L.N) ? L.N : n;
    LanczosWork work;
    uint32_t steps = 0;
    if (W > 0.0 && nmax > 0) {
        if (work.Allocate(L.N, nmax) != 0) {
            printf("malloc failed in ListOfPolesToTridiagonalMatrix\n");
            return 1;
        }
        const double norm = sqrt(W);
        for (uint32_t i = 0; i < L.N; i++) work.v0[i] = sqrt(L.b[i]) / norm;
        steps = DiagonalLanczos(L.N, L.a, work.v0, nmax, work.alpha, work.beta, work.V);
        if (steps == 0) {
            printf("malloc failed in ListOfPolesToTridiagonalMatrix\n");
            return 1;
        }
    }
    M->N = steps;
    if (InitTriDiagonalMatrix(M) != 0) {
        printf("InitTriDiagonalMatrix failed in ListOfPolesToTridiagonalMatrix\n");
        return 1;
    }
    CopyName(M->Name, L.Name);
    M->mu = L.mu;
    M->a[0] = L.a0;
    M->b[0] = sqrt(W);
    StoreLanczos(M, 1, work.alpha, work.beta, steps);
    return 0;
}

int AndersonMatrixToTriDiagonalMatrixPlusT(AndersonMatrixType A, double* T, TriDiagonalMatrixType* M) {
    const uint32_t N = A.N;
    const uint32_t m = N - 1;  // bath levels a[2..N], couplings b[1..N-1]
    double c2 = 0.0;
    for (uint32_t k = 1; k < N; k++) c2 += A.b[k] * A.b[k];
    const double c = sqrt(c2);
    LanczosWork work;
    uint32_t steps = 0;
    if (c > 0.0) {
        if (work.Allocate(m, m) != 0) {
            printf("malloc failed in AndersonMatrixToTriDiagonalMatrix\n");
            return 1;
        }
        for (uint32_t k = 0; k < m; k++) work.v0[k] = A.b[k + 1] / c;
        steps = DiagonalLanczos(m, A.a + 2, work.v0, m, work.alpha, work.beta, work.V);
        if (steps == 0) {
            printf("malloc failed in AndersonMatrixToTriDiagonalMatrix\n");
            return 1;
        }
    }
    M->N = 1 + steps;
    if (InitTriDiagonalMatrix(M) != 0) {
        printf("InitTriDiagonalMatrix failed in AndersonMatrixToTriDiagonalMatrix\n");
        return 1;
    }
    CopyName(M->Name, A.Name);
    M->mu = A.mu;
    M->a[0] = A.a[0];
    M->b[0] = A.b[0];
    M->a[1] = A.a[1];
    if (steps > 0) M->b[1] = c;
    StoreLanczos(M, 2, work.alpha, work.beta, steps);
    if (T != nullptr) {
        // Site 1 of the chain is the first site of the star; site j+2 is
        // Krylov vector j on the bath.
        memset(T, 0, sizeof(double) * size_t{M->N} * N);
        T[0] = 1.0;
        for (uint32_t j = 0; j < steps; j++)
            memcpy(T + size_t{j + 1} * N + 1, work.V + size_t{j} * m, sizeof(double) * m);
    }
    return 0;
}

int AndersonMatrixToTriDiagonalMatrix(AndersonMatrixType A, TriDiagonalMatrixType* M) {
    if (AndersonMatrixToTriDiagonalMatrixPlusT(A, nullptr, M) != 0) {
        printf("AndersonMatrixToTriDiagonalMatrixPlusT failed in AndersonMatrixToTriDiagonalMatrix\n");
        return 1;
    }
    return 0;
}

int TriDiagonalMatrixToAndersonMatrix(TriDiagonalMatrixType M, AndersonMatrixType* A) {
    // An empty chain is a constant: a star of one uncoupled site.
    A->N = M.N != 0 ? M.N : 1;
    if (InitAndersonMatrix(A) != 0) {
        printf("InitAndersonMatrix failed in TriDiagonalMatrixToAndersonMatrix\n");
        return 1;
    }
    CopyName(A->Name, M.Name);
    A->mu = M.mu;
    A->a[0] = M.a[0];
    A->b[0] = M.b[0];
    if (M.N == 0) return 0;
    A->a[1] = M.a[1];
    if (M.N == 1) return 0;
    // The chain from site 2 on is the bath of site 1: its eigenstates are
    // the bath levels, coupled through their weight on site 2.
    TriDiagonalMatrixType rest;
    if (TriDiagonalMatrixPart(&rest, M, 2, M.N) != 0) {
        printf("TriDiagonalMatrixPart failed in TriDiagonalMatrixToAndersonMatrix\n");
        FreeAndersonMatrix(A);
        return 1;
    }
    const size_t n = rest.N;
    double* vectors = static_cast<double*>(malloc(sizeof(double) * n * n));
    if (vectors == nullptr) {
        printf("malloc failed in TriDiagonalMatrixToAndersonMatrix\n");
        FreeTriDiagonalMatrix(&rest);
        FreeAndersonMatrix(A);
        return 1;
    }
    int info = TriDiagonalMatrixToEigensystem(rest, vectors, A->a + 2);
    if (info != 0) {
        printf("TriDiagonalMatrixToEigensystem failed in TriDiagonalMatrixToAndersonMatrix\n");
        FreeAndersonMatrix(A);
    } else {
        for (size_t k = 0; k < n; k++) A->b[k + 1] = M.b[1] * vectors[k * n];
    }
    free(vectors);
    FreeTriDiagonalMatrix(&rest);
    return info == 0 ? 0 : 1;
}

int TriDiagonalMatrixToListOfPoles(TriDiagonalMatrixType M, ListOfPoles* L) {
    L->N = M.N;
    if (M.N == 0) {
        L->a = nullptr;
        L->b = nullptr;
    } else if (InitListOfPoles(L) != 0) {
        printf("InitListOfPoles failed in TriDiagonalMatrixToListOfPoles\n");
        return 1;
    }
    snprintf(L->Name, sizeof(L->Name), "%s", "Poles");
    L->a0 = M.a[0];
    L->mu = M.mu;
    if (M.N == 0) return 0;
    const size_t n = M.N;
    double* vectors = static_cast<double*>(malloc(sizeof(double) * n * n));
    if (vectors == nullptr || TriDiagonalMatrixToEigensystem(M, vectors, L->a) != 0) {
        printf("TriDiagonalMatrixToEigensystem failed in TriDiagonalMatrixToListOfPoles\n");
        free(vectors);
        FreeListOfPoles(L);
        return 1;
    }
    for (size_t k = 0; k < n; k++) {
        double v = M.b[0] * vectors[k * n];
        L->b[k] = v * v;
    }
    free(vectors);
    return 0;
}

int AndersonMatrixToListOfPoles(AndersonMatrixType A, ListOfPoles* L) {
    const size_t N = A.N;
    double* vectors = static_cast<double*>(malloc(sizeof(double) * N * N));
    double* values = static_cast<double*>(malloc(sizeof(double) * N));
    uint32_t n = 0;
    if (vectors == nullptr || values == nullptr || AndersonMatrixToEigensystem(A, vectors, values, &n) != 0) {
        printf("AndersonMatrixToEigensystem failed in TriDiagonalMatrixToListOfPoles\n");
        free(vectors);
        free(values);
        return 1;
    }
    L->N = n;
    if (InitListOfPoles(L) != 0) {
        printf("InitListOfPoles failed in AndersonMatrixToListOfPoles\n");
        free(vectors);
        free(values);
        return 1;
    }
    snprintf(L->Name, sizeof(L->Name), "%s", "Poles");
    L->a0 = A.a[0];
    L->mu = A.mu;
    for (uint32_t k = 0; k < n; k++) {
        double v = A.b[0] * vectors[k * N];
        L->a[k] = values[k];
        L->b[k] = v * v;
    }
    free(vectors);
    free(values);
    return 0;
}

int ListOfPolesToAndersonMatrix(ListOfPoles L, AndersonMatrixType* A) {
    TriDiagonalMatrixType chain;
    if (ListOfPolesToTridiagonalMatrix(L, &chain, 0) != 0) {
        printf("ListOfPolesToTridiagonalMatrix failed in ListOfPolesToAndersonMatrix\n");
        return 1;
    }
    int info = TriDiagonalMatrixToAndersonMatrix(chain, A);
    if (info != 0) printf("TriDiagonalMatrixToAndersonMatrix failed in ListOfPolesToAndersonMatrix\n");
    FreeTriDiagonalMatrix(&chain);
    return info;
}
