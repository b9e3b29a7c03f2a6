// Transforms: products of three matrices in which a transformation T stands
// on both sides of A, the same with a diagonal middle matrix, and the
// transforms of the row-pointer record.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/compactmatrix.h"

namespace {

// The operations on the left and on the right T of each form.
struct TransformForm {
    const char* left;
    const char* right;
};
const TransformForm FormCN{"C", "N"};
const TransformForm FormNC{"N", "C"};
const TransformForm FormTc{"T", "*"};
const TransformForm FormcT{"*", "T"};

int Transform(const TransformForm& f, CompactMatrixType A, CompactMatrixType T,
              CompactMatrixType* R) {
    return CompactMatrixMultiply3(f.left, "N", f.right, T, A, T, R);
}

int TransformPreAllocated(const TransformForm& f, CompactMatrixType A, CompactMatrixType T,
                          CompactMatrixType* R, CompactMatrixType* W) {
    return CompactMatrixMultiply3PreAllocated(f.left, "N", f.right, T, A, T, R, W);
}

int TransformInline(const TransformForm& f, CompactMatrixType* A, CompactMatrixType T) {
    CompactMatrixType R;
    if (Transform(f, *A, T, &R)) {
        puts("Error in TransformCompactMatrixInline");
        return 1;
    }
    // The result takes the place of A's data and keeps A's name.
    free(A->data);
    A->data = R.data;
    A->Ni = R.Ni;
    A->Nj = R.Nj;
    A->QComplex = R.QComplex;
    R.data = nullptr;
    FreeCompactMatrix(&R);
    return 0;
}

// W with op(W) = op(X) D for the diagonal D (real Dr or complex Dc): the
// columns of op(X) are scaled, which are the columns of X for "N" and "*"
// and its rows for "T" and "C"; for "C" and "*" the conjugate of D is used
// since the operation conjugates it back.
int ScaledOperand(char op, const CompactMatrixType& X, const double* Dr, const Complex16* Dc,
                  CompactMatrixType* W) {
    if (CompactMatrixCopy(X, W)) return 1;
    if (Dc != nullptr && !W->QComplex && MakeCompactRealMatrixComplex(W)) {
        FreeCompactMatrix(W);
        return 1;
    }
    bool rows = op == 'T' || op == 'C';
    bool conjugate = op == 'C' || op == '*';
    for (uint32_t i = 0; i < W->Ni; i++)
        for (uint32_t j = 0; j < W->Nj; j++) {
            uint32_t d = rows ? i : j;
            size_t k = static_cast<size_t>(i) * W->Nj + j;
            if (Dc == nullptr) {
                if (W->QComplex)
                    CompactMatrixComplexData(*W)[k] *= Dr[d];
                else
                    CompactMatrixRealData(*W)[k] *= Dr[d];
            } else {
                Complex16 f = Dc[d];
                if (conjugate) f.im = -f.im;
                CompactMatrixComplexData(*W)[k] *= f;
            }
        }
    return 0;
}

// R = op1(X) D op2(Y), R initialised.
int DiagonalTransform(const char* op1, CompactMatrixType X, const double* Dr, const Complex16* Dc,
                      const char* op2, CompactMatrixType Y, CompactMatrixType* R) {
    CompactMatrixType W;
    if (ScaledOperand(op1[0], X, Dr, Dc, &W)) return 1;
    int fail = CompactMatrixMultiply(op1, op2, W, Y, R);
    FreeCompactMatrix(&W);
    return fail;
}

}  // namespace

int TransformCompactMatrixCN(CompactMatrixType A, CompactMatrixType T, CompactMatrixType* R) {
    return Transform(FormCN, A, T, R);
}
int TransformCompactMatrixNC(CompactMatrixType A, CompactMatrixType T, CompactMatrixType* R) {
    return Transform(FormNC, A, T, R);
}
int TransformCompactMatrixTc(CompactMatrixType A, CompactMatrixType T, CompactMatrixType* R) {
    return Transform(FormTc, A, T, R);
}
int TransformCompactMatrixcT(CompactMatrixType A, CompactMatrixType T, CompactMatrixType* R) {
    return Transform(FormcT, A, T, R);
}

int TransformCompactMatrixPreAllocatedCN(CompactMatrixType A, CompactMatrixType T,
                                         CompactMatrixType* R, CompactMatrixType* W) {
    return TransformPreAllocated(FormCN, A, T, R, W);
}
int TransformCompactMatrixPreAllocatedNC(CompactMatrixType A, CompactMatrixType T,
                                         CompactMatrixType* R, CompactMatrixType* W) {
    return TransformPreAllocated(FormNC, A, T, R, W);
}
int TransformCompactMatrixPreAllocatedTc(CompactMatrixType A, CompactMatrixType T,
                                         CompactMatrixType* R, CompactMatrixType* W) {
    return TransformPreAllocated(FormTc, A, T, R, W);
}
int TransformCompactMatrixPreAllocatedcT(CompactMatrixType A, CompactMatrixType T,
                                         CompactMatrixType* R, CompactMatrixType* W) {
    return TransformPreAllocated(FormcT, A, T, R, W);
}

int TransformCompactMatrixInlineCN(CompactMatrixType* A, CompactMatrixType T) {
    return TransformInline(FormCN, A, T);
}
int TransformCompactMatrixInlineNC(CompactMatrixType* A, CompactMatrixType T) {
    return TransformInline(FormNC, A, T);
}
int TransformCompactMatrixInlineTc(CompactMatrixType* A, CompactMatrixType T) {
    return TransformInline(FormTc, A, T);
}
int TransformCompactMatrixInlinecT(CompactMatrixType* A, CompactMatrixType T) {
    return TransformInline(FormcT, A, T);
}
int TransformCompactMatrixInlineNNC(CompactMatrixType* A, CompactMatrixType T) {
    return TransformInline(FormNC, A, T);
}

int TransformDiagonalMatrixByCompactMatrixTATdag(const double* D, CompactMatrixType T,
                                                 CompactMatrixType* R) {
    return DiagonalTransform("N", T, D, nullptr, "C", T, R);
}
int TransformDiagonalMatrixByCompactMatrixTdagAT(const double* D, CompactMatrixType T,
                                                 CompactMatrixType* R) {
    return DiagonalTransform("C", T, D, nullptr, "N", T, R);
}
int TransformDiagonalMatrixByCompactMatrixTtranATcon(const double* D, CompactMatrixType T,
                                                     CompactMatrixType* R) {
    return DiagonalTransform("T", T, D, nullptr, "*", T, R);
}
int TransformDiagonalMatrixByCompactMatrixTconATtran(const double* D, CompactMatrixType T,
                                                     CompactMatrixType* R) {
    return DiagonalTransform("*", T, D, nullptr, "T", T, R);
}
int TransformComplexDiagonalMatrixByCompactMatrixTconATtran(const Complex16* D,
                                                            CompactMatrixType T,
                                                            CompactMatrixType* R) {
    return DiagonalTransform("*", T, nullptr, D, "T", T, R);
}
int TransformComplexDiagonalMatrixByCompactMatrixTLconATRtran(const Complex16* D,
                                                              CompactMatrixType L,
                                                              CompactMatrixType R,
                                                              CompactMatrixType* Result) {
    return DiagonalTransform("*", L, nullptr, D, "T", R, Result);
}
int TransformComplexDiagonalMatrixByCompactMatrixTRtranATLcon(const Complex16* D,
                                                              CompactMatrixType L,
                                                              CompactMatrixType R,
                                                              CompactMatrixType* Result) {
    return DiagonalTransform("T", R, nullptr, D, "*", L, Result);
}

void MultiplyDiagonalMatrixCompactMatrix(const double* D, CompactMatrixType* M) {
    for (uint32_t i = 0; i < M->Ni; i++) {
        size_t k0 = static_cast<size_t>(i) * M->Nj;
        for (uint32_t j = 0; j < M->Nj; j++) {
            if (M->QComplex)
                CompactMatrixComplexData(*M)[k0 + j] *= D[i];
            else
                CompactMatrixRealData(*M)[k0 + j] *= D[i];
        }
    }
}

void MultiplyCompactMatrixDiagonalMatrix(CompactMatrixType* M, const double* D) {
    for (uint32_t i = 0; i < M->Ni; i++) {
        size_t k0 = static_cast<size_t>(i) * M->Nj;
        for (uint32_t j = 0; j < M->Nj; j++) {
            if (M->QComplex)
                CompactMatrixComplexData(*M)[k0 + j] *= D[j];
            else
                CompactMatrixRealData(*M)[k0 + j] *= D[j];
        }
    }
}

// ------------------------------------------------ the row-pointer record

int MatrixTransformByCompactMatrix(MatrixType* R, MatrixType A, CompactMatrixType T) {
    CompactMatrixType a, r;
    if (MatrixCopyToCompact(A, &a)) return 1;
    int fail = TransformCompactMatrixcT(a, T, &r);
    FreeCompactMatrix(&a);
    if (fail) return 1;
    fail = CompactMatrixCopyToMatrix(r, R);
    FreeCompactMatrix(&r);
    if (!fail) SetMatrixName(R, A.Name);
    return fail;
}

int MatrixTransformLeftRight(MatrixType* R, MatrixType A, MatrixType TL, MatrixType TR) {
    CompactMatrixType a, l, r, res;
    if (MatrixCopyToCompact(A, &a)) return 1;
    if (MatrixCopyToCompact(TL, &l)) {
        FreeCompactMatrix(&a);
        return 1;
    }
    if (MatrixCopyToCompact(TR, &r)) {
        FreeCompactMatrix(&a);
        FreeCompactMatrix(&l);
        return 1;
    }
    int fail = CompactMatrixMultiply3("*", "N", "T", l, a, r, &res);
    FreeCompactMatrix(&a);
    FreeCompactMatrix(&l);
    FreeCompactMatrix(&r);
    if (fail) return 1;
    fail = CompactMatrixCopyToMatrix(res, R);
    FreeCompactMatrix(&res);
    if (!fail) SetMatrixName(R, A.Name);
    return fail;
}

int MatrixTransform(MatrixType* R, MatrixType A, MatrixType T) {
    return MatrixTransformLeftRight(R, A, T, T);
}

int MatrixTransformPart(MatrixType* R, MatrixType A, MatrixType T, int NRows) {
    if (NRows < 0 || NRows > T.Ni) {
        printf("MatrixTransformPart called with %i rows of a transformation with %i rows\n", NRows,
               T.Ni);
        return 1;
    }
    MatrixType part = T;  // the same rows, fewer of them
    part.Ni = NRows;
    return MatrixTransformLeftRight(R, A, part, part);
}
