// Evaluation of the block chain and the block star from the deepest level
// upward: each level is inverted with CompactMatrixInverse, and the result
// is carried to the level above with the coupling, b X b^dagger.
#include <cstdio>

#include "response/blockforms.h"

namespace {

// out := z - a - S (S may be null), as a new complex matrix.
int Resolvent(const CompactMatrixType& a, const CompactMatrixType* S, Complex16 z, CompactMatrixType* out) {
    const uint32_t M = a.Ni;
    out->Ni = M;
    out->Nj = M;
    out->QComplex = 1;
    if (InitCompactMatrix(out) != 0) return 1;
    Complex16* X = CompactMatrixComplexData(*out);
    for (uint32_t r = 0; r < M; r++)
        for (uint32_t c = 0; c < M; c++) {
            Complex16 v = -CompactMatrixElement(a, r, c);
            if (S != nullptr) v -= CompactMatrixElement(*S, r, c);
            if (r == c) v += z;
            X[static_cast<size_t>(r) * M + c] = v;
        }
    return 0;
}

// X := (z - a - S)^-1, X initialised here.
int InvertLevel(const CompactMatrixType& a, const CompactMatrixType* S, Complex16 z, CompactMatrixType* X,
                const char* who) {
    if (Resolvent(a, S, z, X) != 0) {
        printf("InitCompactMatrix failed in %s\n", who);
        return 1;
    }
    if (CompactMatrixInverse(X) != 0) {
        printf("CompactMatrixInverse failed in %s\n", who);
        FreeCompactMatrix(X);
        return 1;
    }
    return 0;
}

// X := a0 + b0 X b0^dagger, the value of the function from the resolvent of
// its first site.
int Finish(const CompactMatrixType& a0, const CompactMatrixType& b0, CompactMatrixType* X, const char* who) {
    if (TransformCompactMatrixInlineNNC(X, b0) != 0 || CompactMatrixAdd(X, a0, 1.0, 0.0) != 0) {
        printf("TransformCompactMatrixInlineNNC failed in %s\n", who);
        FreeCompactMatrix(X);
        return 1;
    }
    if (!X->QComplex && MakeCompactRealMatrixComplex(X) != 0) {
        FreeCompactMatrix(X);
        return 1;
    }
    return 0;
}

}  // namespace

int EvaluateBlockTriDiagonalMatrix(BlockTriDiagonalMatrixType T, CompactMatrixType* out, double w, double gamma) {
    const char* who = "EvaluateBlockTriDiagonalMatrix";
    if (T.N == 0) {
        if (CompactMatrixCopy(T.a[0], out) != 0) return 1;
        return MakeCompactRealMatrixComplex(out);
    }
    const Complex16 z = Cnum(w, 0.5 * gamma);
    CompactMatrixType X;
    if (InvertLevel(T.a[T.N], nullptr, z, &X, who) != 0) return 1;
    for (uint32_t i = T.N - 1; i >= 1; i--) {
        if (TransformCompactMatrixInlineNNC(&X, T.b[i]) != 0) {
            printf("TransformCompactMatrixInlineNNC failed in %s\n", who);
            FreeCompactMatrix(&X);
            return 1;
        }
        CompactMatrixType Y;
        const int fail = InvertLevel(T.a[i], &X, z, &Y, who);
        FreeCompactMatrix(&X);
        if (fail) return 1;
        X = Y;
    }
    if (Finish(T.a[0], T.b[0], &X, who) != 0) return 1;
    *out = X;
    return 0;
}

int EvaluateBlockAndersonMatrix(BlockAndersonMatrixType A, CompactMatrixType* out, double w, double gamma) {
    const char* who = "EvaluateBlockAndersonMatrix";
    if (A.N == 0) {
        if (CompactMatrixCopy(A.a[0], out) != 0) return 1;
        return MakeCompactRealMatrixComplex(out);
    }
    const Complex16 z = Cnum(w, 0.5 * gamma);
    // The self-energy of the first site: the sum over the bath levels.
    CompactMatrixType S;
    S.Ni = A.M;
    S.Nj = A.M;
    S.QComplex = 1;
    if (InitCompactMatrix(&S) != 0) {
        printf("InitCompactMatrix failed in %s\n", who);
        return 1;
    }
    for (uint32_t k = 2; k <= A.N; k++) {
        CompactMatrixType Y;
        if (InvertLevel(A.a[k], nullptr, z, &Y, who) != 0) {
            FreeCompactMatrix(&S);
            return 1;
        }
        const int fail = TransformCompactMatrixInlineNNC(&Y, A.b[k - 1]) || CompactMatrixAdd(&S, Y, 1.0, 0.0);
        FreeCompactMatrix(&Y);
        if (fail) {
            printf("TransformCompactMatrixInlineNNC failed in %s\n", who);
            FreeCompactMatrix(&S);
            return 1;
        }
    }
    CompactMatrixType X;
    const int fail = InvertLevel(A.a[1], &S, z, &X, who);
    FreeCompactMatrix(&S);
    if (fail) return 1;
    if (Finish(A.a[0], A.b[0], &X, who) != 0) return 1;
    *out = X;
    return 0;
}
