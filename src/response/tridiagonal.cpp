// Chain, star and double-chain records: making, releasing, copying, and the
// simple operations on them.
#include "response/tridiagonal.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// Allocates a (N+1 values) and b (N values, at least one), zeroed.
int AllocateChainArrays(uint32_t N, double** a, double** b) {
    const size_t nb = N != 0 ? N : 1;
    *a = static_cast<double*>(malloc(sizeof(double) * (N + size_t{1})));
    *b = nullptr;
    if (*a == nullptr) return 1;
    *b = static_cast<double*>(malloc(sizeof(double) * nb));
    if (*b == nullptr) {
        free(*a);
        *a = nullptr;
        return 2;
    }
    memset(*a, 0, sizeof(double) * (N + size_t{1}));
    memset(*b, 0, sizeof(double) * nb);
    return 0;
}

void CopyName(char* to, const char* from) {
    memcpy(to, from, 256);
    to[255] = '\0';
}

}  // namespace

int InitTriDiagonalMatrix(TriDiagonalMatrixType* M) {
    snprintf(M->Name, sizeof(M->Name), "%s", "Matrix");
    M->mu = 0.0;
    if (M->N == 0) printf("Initialized a TriDiagonalMatrix with size zero.\n");
    int info = AllocateChainArrays(M->N, &M->a, &M->b);
    if (info == 1) printf("malloc for M->a failed in InitTriDiagonalMatrix\n");
    if (info == 2) printf("malloc for M->b failed in InitTriDiagonalMatrix\n");
    return info == 0 ? 0 : 1;
}

void FreeTriDiagonalMatrix(TriDiagonalMatrixType* M) {
    if (M->N == 0) printf("\nWARNING\nFree Tridiagonal matrix of size 0, hope it works\n");
    free(M->a);
    free(M->b);
    M->a = nullptr;
    M->b = nullptr;
    M->N = 0;
}

int InitAndersonMatrix(AndersonMatrixType* A) {
    snprintf(A->Name, sizeof(A->Name), "%s", "Matrix");
    A->mu = 0.0;
    A->a = nullptr;
    A->b = nullptr;
    if (A->N == 0) {
        printf("can't initialize an AndersonMatrix of size 0\nError in InitAndersonMatrix\n");
        return 2;
    }
    if (AllocateChainArrays(A->N, &A->a, &A->b) != 0) {
        printf("malloc failed in InitAndersonMatrix\n");
        return 1;
    }
    return 0;
}

void FreeAndersonMatrix(AndersonMatrixType* A) {
    free(A->a);
    free(A->b);
    A->a = nullptr;
    A->b = nullptr;
    A->N = 0;
}

int InitBADoubleTriDiagonalMatrix(BADoubleTriDiagonalMatrixType* B) {
    snprintf(B->Name, sizeof(B->Name), "%s", "Natural Impurity Orbital");
    B->epsilon = 0.0;
    B->F = 1.0;
    B->mu = 0.0;
    if (InitTriDiagonalMatrix(&B->val) != 0) {
        printf("InitTriDiagonalMatrix failed in InitBADoubleTriDiagonalMatrix\n");
        return 1;
    }
    if (InitTriDiagonalMatrix(&B->con) != 0) {
        printf("InitTriDiagonalMatrix failed in InitBADoubleTriDiagonalMatrix\n");
        FreeTriDiagonalMatrix(&B->val);
        return 1;
    }
    return 0;
}

void FreeBADoubleTriDiagonalMatrix(BADoubleTriDiagonalMatrixType* B) {
    FreeTriDiagonalMatrix(&B->val);
    FreeTriDiagonalMatrix(&B->con);
}

int InitDoubleTriDiagonalMatrix(DoubleTriDiagonalMatrixType* D) {
    snprintf(D->Name, sizeof(D->Name), "%s", "Double Tridiagonal Matrix");
    D->mu = 0.0;
    if (InitTriDiagonalMatrix(&D->val) != 0) {
        printf("InitTriDiagonalMatrix failed in InitDoubleTriDiagonalMatrix\n");
        return 1;
    }
    if (InitTriDiagonalMatrix(&D->con) != 0) {
        printf("InitTriDiagonalMatrix failed in InitDoubleTriDiagonalMatrix\n");
        FreeTriDiagonalMatrix(&D->val);
        return 1;
    }
    return 0;
}

void FreeDoubleTriDiagonalMatrix(DoubleTriDiagonalMatrixType* D) {
    FreeTriDiagonalMatrix(&D->val);
    FreeTriDiagonalMatrix(&D->con);
}

int TriDiagonalMatrixCopy(TriDiagonalMatrixType* out, TriDiagonalMatrixType in) {
    out->N = in.N;
    if (InitTriDiagonalMatrix(out) != 0) {
        printf("InitTriDiagonalMatrix failed in TriDiagonalMatrixCopy\n");
        return 1;
    }
    CopyName(out->Name, in.Name);
    out->mu = in.mu;
    memcpy(out->a, in.a, sizeof(double) * (in.N + size_t{1}));
    memcpy(out->b, in.b, sizeof(double) * (in.N != 0 ? in.N : 1));
    return 0;
}

int AndersonMatrixCopy(AndersonMatrixType* out, AndersonMatrixType in) {
    out->N = in.N;
    if (InitAndersonMatrix(out) != 0) {
        printf("InitAndersonMatrix failed in AndersonMatrixCopy\n");
        return 1;
    }
    CopyName(out->Name, in.Name);
    out->mu = in.mu;
    memcpy(out->a, in.a, sizeof(double) * (in.N + size_t{1}));
    memcpy(out->b, in.b, sizeof(double) * in.N);
    return 0;
}

int BADoubleTriDiagonalMatrixCopy(BADoubleTriDiagonalMatrixType* out, BADoubleTriDiagonalMatrixType in) {
    if (TriDiagonalMatrixCopy(&out->val, in.val) != 0) {
        printf("TriDiagonalMatrixCopy failed in BADoubleTriDiagonalMatrixCopy\n");
        return 1;
    }
    if (TriDiagonalMatrixCopy(&out->con, in.con) != 0) {
        printf("TriDiagonalMatrixCopy failed in BADoubleTriDiagonalMatrixCopy\n");
        FreeTriDiagonalMatrix(&out->val);
        return 1;
    }
    CopyName(out->Name, in.Name);
    out->epsilon = in.epsilon;
    out->F = in.F;
    out->mu = in.mu;
    return 0;
}

static double Chopped(double x, double tolerance) { return fabs(x) < tolerance ? 0.0 : x; }

int TriDiagonalMatrixChop(TriDiagonalMatrixType* M, double tolerance) {
    for (uint32_t i = 0; i <= M->N; i++) M->a[i] = Chopped(M->a[i], tolerance);
    for (uint32_t i = 0; i < M->N; i++) M->b[i] = Chopped(M->b[i], tolerance);
    // Sites behind a vanishing coupling no longer reach the source.
    for (uint32_t i = 1; i < M->N; i++) {
        if (M->b[i] == 0.0) {
            M->N = i;
            break;
        }
    }
    return 0;
}

int AndersonMatrixChop(AndersonMatrixType* A, double tolerance) {
    for (uint32_t i = 0; i <= A->N; i++) A->a[i] = Chopped(A->a[i], tolerance);
    for (uint32_t i = 0; i < A->N; i++) A->b[i] = Chopped(A->b[i], tolerance);
    // Bath levels without coupling are dropped.
    uint32_t n = 1;
    for (uint32_t k = 2; k <= A->N; k++) {
        if (A->b[k - 1] != 0.0) {
            n++;
            A->a[n] = A->a[k];
            A->b[n - 1] = A->b[k - 1];
        }
    }
    A->N = n;
    return 0;
}

int TriDiagonalMatrixScalarMultiply(TriDiagonalMatrixType* M, double x) {
    for (uint32_t i = 1; i <= M->N; i++) M->a[i] *= x;
    for (uint32_t i = 1; i < M->N; i++) M->b[i] *= x;
    return 0;
}

int AndersonMatrixScalarMultiply(AndersonMatrixType* A, double x) {
    for (uint32_t i = 1; i <= A->N; i++) A->a[i] *= x;
    for (uint32_t i = 1; i < A->N; i++) A->b[i] *= x;
    return 0;
}

int TriDiagonalMatrixPart(TriDiagonalMatrixType* out, TriDiagonalMatrixType M, unsigned int iStart,
                          unsigned int iEnd) {
    if (iStart < 1 || iEnd < iStart || iEnd > M.N) {
        printf("TriDiagonalMatrixPart called with iStart=%i, iEnd=%i, and A.N=%i.\nThat's not an option\n",
               static_cast<int>(iStart), static_cast<int>(iEnd), static_cast<int>(M.N));
        return 1;
    }
    out->N = iEnd - iStart + 1;
    if (InitTriDiagonalMatrix(out) != 0) {
        printf("InitTriDiagonalMatrix failed in TriDiagonalMatrixPart\n");
        return 1;
    }
    CopyName(out->Name, M.Name);
    out->mu = M.mu;
    out->a[0] = iStart == 1 ? M.a[0] : 0.0;
    out->b[0] = M.b[iStart - 1];
    for (uint32_t i = 1; i <= out->N; i++) out->a[i] = M.a[iStart + i - 1];
    for (uint32_t i = 1; i < out->N; i++) out->b[i] = M.b[iStart + i - 1];
    return 0;
}
