// Products, sums, scaling, matrix-vector products, conjugation and
// transposition of compact matrices.
//
// The records are row-major and BLAS is column-major: the block of a
// row-major Ni x Nj matrix X is, read column-major, the Nj x Ni matrix X^T.
// C = op(A) op(B) is therefore computed as C^T = op(B)^T op(A)^T, handing
// BLAS the block of B first.  The operations map as "N" -> 'N', "T" -> 'T',
// "C" -> 'C'; "*" (conjugate without transposing) has no BLAS counterpart
// and is done on a conjugated copy.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/options.h"
#include "numeric/compactmatrix.h"
#include "numeric/lapack.h"

namespace {

size_t ElementCount(const CompactMatrixType& M) {
    return static_cast<size_t>(M.Ni) * static_cast<size_t>(M.Nj);
}

// The operation letter, upper case, or 0 for an unknown operation.
char OperationLetter(const char* op) {
    if (op == nullptr) return 0;
    switch (op[0]) {
        case 'N': case 'n': return 'N';
        case 'T': case 't': return 'T';
        case 'C': case 'c': return 'C';
        case '*': return '*';
        default: return 0;
    }
}

bool Transposes(char op) { return op == 'T' || op == 'C'; }

void OperatedDims(char op, const CompactMatrixType& M, uint32_t* rows, uint32_t* cols) {
    *rows = Transposes(op) ? M.Nj : M.Ni;
    *cols = Transposes(op) ? M.Ni : M.Nj;
}

// The dimensions of op(A) op(B); prints and returns 1 for unknown operations
// or unequal inner dimensions.
int ProductDims(const char* opA, const char* opB, const CompactMatrixType& A,
                const CompactMatrixType& B, uint32_t* m, uint32_t* n, uint32_t* k,
                const char* where) {
    char a = OperationLetter(opA), b = OperationLetter(opB);
    if (a == 0 || b == 0) {
        printf("Unknown matrix operation (%s, %s) in %s\n", opA ? opA : "null", opB ? opB : "null",
               where);
        return 1;
    }
    uint32_t ka, kb;
    OperatedDims(a, A, m, &ka);
    OperatedDims(b, B, &kb, n);
    if (ka != kb) {
        printf("Dimensions do not match in %s: op(A) is %u by %u and op(B) is %u by %u\n", where,
               *m, ka, kb, *n);
        return 1;
    }
    *k = ka;
    return 0;
}

// The complex block to hand zgemm for op(X), with the operation letter to
// use.  A real X or the operation "*" needs a converted copy, which the
// caller frees through *owned.
int ComplexOperand(const CompactMatrixType& X, char op, const Complex16** out, Complex16** owned,
                   char* blasOp) {
    *owned = nullptr;
    *blasOp = op == '*' ? 'N' : op;
    if (X.QComplex && op != '*') {
        *out = CompactMatrixComplexData(X);
        return 0;
    }
    size_t n = ElementCount(X);
    Complex16* c = static_cast<Complex16*>(malloc((n > 0 ? n : 1) * sizeof(Complex16)));
    if (c == nullptr) {
        puts("malloc failed in CompactMatrixAddMultiply");
        return 1;
    }
    if (X.QComplex) {
        const Complex16* x = CompactMatrixComplexData(X);
        for (size_t t = 0; t < n; t++) c[t] = Complex16{x[t].re, -x[t].im};
    } else {
        const double* x = CompactMatrixRealData(X);
        for (size_t t = 0; t < n; t++) c[t] = Complex16{x[t], 0.0};
    }
    *out = c;
    *owned = c;
    return 0;
}

int LeadingDim(uint32_t n) { return n > 0 ? static_cast<int>(n) : 1; }

// Makes W a scratch matrix of the given shape, reusing its block.  A null
// matrix is initialised.
int ShapeScratch(CompactMatrixType* W, uint32_t Ni, uint32_t Nj, int32_t QComplex) {
    if (W->Name == nullptr) {
        W->Ni = Ni;
        W->Nj = Nj;
        W->QComplex = QComplex;
        return InitCompactMatrix(W);
    }
    size_t bytes = static_cast<size_t>(Ni) * Nj * (QComplex ? sizeof(Complex16) : sizeof(double));
    size_t have = ElementCount(*W) * (W->QComplex ? sizeof(Complex16) : sizeof(double));
    if (bytes != have) {
        void* d = realloc(W->data, bytes > 0 ? bytes : 1);
        if (d == nullptr) {
            puts("Could not initialize matrix in CompactMatrixMultiply");
            return 1;
        }
        W->data = d;
    }
    W->Ni = Ni;
    W->Nj = Nj;
    W->QComplex = QComplex;
    return 0;
}

// Which of (op(A) op(B)) op(C) and op(A) (op(B) op(C)) costs fewer
// multiplications.
bool LeftFirst(uint32_t m, uint32_t k, uint32_t l, uint32_t n) {
    double left = static_cast<double>(m) * k * l + static_cast<double>(m) * l * n;
    double right = static_cast<double>(k) * l * n + static_cast<double>(m) * k * n;
    return left <= right;
}

}  // namespace

int CompactMatrixAddMultiply(const char* opA, const char* opB, CompactMatrixType A,
                             CompactMatrixType B, CompactMatrixType* C, double alphaRe,
                             double alphaIm, double betaRe, double betaIm) {
    uint32_t m, n, k;
    if (ProductDims(opA, opB, A, B, &m, &n, &k, "CompactMatrixAddMultiply")) return 1;
    if (C->Ni != m || C->Nj != n) {
        printf("Dimensions do not match in CompactMatrixAddMultiply: the product is %u by %u and "
               "the result matrix %u by %u\n", m, n, C->Ni, C->Nj);
        return 1;
    }
    char a = OperationLetter(opA), b = OperationLetter(opB);
    bool complexResult = A.QComplex || B.QComplex || C->QComplex || alphaIm != 0.0 || betaIm != 0.0;
    if (complexResult && !C->QComplex && MakeCompactRealMatrixComplex(C)) return 1;
    if (m == 0 || n == 0) return 0;
    int M = static_cast<int>(n), N = static_cast<int>(m), K = static_cast<int>(k);
    int ldb = LeadingDim(B.Nj), lda = LeadingDim(A.Nj), ldc = LeadingDim(n);
    if (!complexResult) {
        // Real: "C" is "T" and "*" is "N".
        char ta = Transposes(a) ? 'T' : 'N', tb = Transposes(b) ? 'T' : 'N';
        dgemm_(&tb, &ta, &M, &N, &K, &alphaRe, CompactMatrixRealData(B), &ldb,
               CompactMatrixRealData(A), &lda, &betaRe, CompactMatrixRealData(*C), &ldc);
        return 0;
    }
    if (!A.QComplex && B.QComplex && b == 'N' && alphaIm == 0.0 && betaIm == 0.0) {
        // Real times complex: the interleaved k x n block of B is a real
        // k x 2n matrix, and so is C, so one real product does it.
        char ta = Transposes(a) ? 'T' : 'N';
        int M2 = 2 * M, ldb2 = 2 * ldb, ldc2 = 2 * ldc;
        dgemm_("N", &ta, &M2, &N, &K, &alphaRe, reinterpret_cast<const double*>(B.data), &ldb2,
               CompactMatrixRealData(A), &lda, &betaRe, static_cast<double*>(C->data), &ldc2);
        return 0;
    }
    const Complex16 *ca, *cb;
    Complex16 *ownA, *ownB;
    char ta, tb;
    if (ComplexOperand(A, a, &ca, &ownA, &ta)) return 1;
    if (ComplexOperand(B, b, &cb, &ownB, &tb)) {
        free(ownA);
        return 1;
    }
    Complex16 alpha{alphaRe, alphaIm}, beta{betaRe, betaIm};
    zgemm_(&tb, &ta, &M, &N, &K, &alpha, cb, &ldb, ca, &lda, &beta, CompactMatrixComplexData(*C),
           &ldc, 1, 1);
    free(ownA);
    free(ownB);
    return 0;
}

int CompactMatrixMultiply(const char* opA, const char* opB, CompactMatrixType A,
                          CompactMatrixType B, CompactMatrixType* C) {
    uint32_t m, n, k;
    if (ProductDims(opA, opB, A, B, &m, &n, &k, "CompactMatrixMultiply")) return 1;
    C->Ni = m;
    C->Nj = n;
    C->QComplex = (A.QComplex || B.QComplex) ? 1 : 0;
    if (InitCompactMatrix(C)) {
        puts("Could not initialize matrix in CompactMatrixMultiply");
        return 1;
    }
    if (CompactMatrixAddMultiply(opA, opB, A, B, C, 1.0, 0.0, 0.0, 0.0)) {
        FreeCompactMatrix(C);
        return 1;
    }
    return 0;
}

int CompactMatrixMultiplyPreAllocated(const char* opA, const char* opB, CompactMatrixType A,
                                      CompactMatrixType B, CompactMatrixType* C) {
    return CompactMatrixAddMultiply(opA, opB, A, B, C, 1.0, 0.0, 0.0, 0.0);
}

int CompactMatrixMultiply3PreAllocated(const char* opA, const char* opB, const char* opC,
                                       CompactMatrixType A, CompactMatrixType B,
                                       CompactMatrixType C, CompactMatrixType* D,
                                       CompactMatrixType* W) {
    uint32_t m, k, l, n, k2, l2;
    if (ProductDims(opA, opB, A, B, &m, &l, &k, "CompactMatrixMultiply3")) return 1;
    if (ProductDims(opB, opC, B, C, &k2, &n, &l2, "CompactMatrixMultiply3")) return 1;
    if (D->Ni != m || D->Nj != n) {
        printf("Dimensions do not match in CompactMatrixMultiply3: the product is %u by %u and "
               "the result matrix %u by %u\n", m, n, D->Ni, D->Nj);
        return 1;
    }
    // op(A) is m x k, op(B) k x l, op(C) l x n.
    if (LeftFirst(m, k, l, n)) {
        if (ShapeScratch(W, m, l, (A.QComplex || B.QComplex) ? 1 : 0)) return 1;
        if (CompactMatrixAddMultiply(opA, opB, A, B, W, 1.0, 0.0, 0.0, 0.0)) return 1;
        return CompactMatrixAddMultiply("N", opC, *W, C, D, 1.0, 0.0, 0.0, 0.0);
    }
    if (ShapeScratch(W, k, n, (B.QComplex || C.QComplex) ? 1 : 0)) return 1;
    if (CompactMatrixAddMultiply(opB, opC, B, C, W, 1.0, 0.0, 0.0, 0.0)) return 1;
    return CompactMatrixAddMultiply(opA, "N", A, *W, D, 1.0, 0.0, 0.0, 0.0);
}

int CompactMatrixMultiply3(const char* opA, const char* opB, const char* opC, CompactMatrixType A,
                           CompactMatrixType B, CompactMatrixType C, CompactMatrixType* D) {
    uint32_t m, k, l, n, k2, l2;
    if (ProductDims(opA, opB, A, B, &m, &l, &k, "CompactMatrixMultiply3")) return 1;
    if (ProductDims(opB, opC, B, C, &k2, &n, &l2, "CompactMatrixMultiply3")) return 1;
    D->Ni = m;
    D->Nj = n;
    D->QComplex = (A.QComplex || B.QComplex || C.QComplex) ? 1 : 0;
    if (InitCompactMatrix(D)) {
        puts("Could not initialize matrix in CompactMatrixMultiply");
        return 1;
    }
    CompactMatrixType W = CompactnullMatrix();
    int fail = CompactMatrixMultiply3PreAllocated(opA, opB, opC, A, B, C, D, &W);
    FreeCompactMatrix(&W);
    if (fail) FreeCompactMatrix(D);
    return fail;
}

int CompactMatrixMultiply4(const char* opA, const char* opB, const char* opC, const char* opD,
                           CompactMatrixType A, CompactMatrixType B, CompactMatrixType C,
                           CompactMatrixType D, CompactMatrixType* E) {
    CompactMatrixType W;
    if (CompactMatrixMultiply3(opA, opB, opC, A, B, C, &W)) return 1;
    int fail = CompactMatrixMultiply("N", opD, W, D, E);
    FreeCompactMatrix(&W);
    return fail;
}

int CompactMatrixAddShifted(CompactMatrixType* A, CompactMatrixType B, double re, double im,
                            uint32_t iShift, uint32_t jShift) {
    if (static_cast<uint64_t>(iShift) + B.Ni > A->Ni || static_cast<uint64_t>(jShift) + B.Nj > A->Nj) {
        printf("Dimensions do not match in CompactMatrixAddShifted: a %u by %u matrix at (%u, %u) "
               "does not fit into a %u by %u matrix\n", B.Ni, B.Nj, iShift, jShift, A->Ni, A->Nj);
        return 1;
    }
    if ((B.QComplex || im != 0.0) && !A->QComplex && MakeCompactRealMatrixComplex(A)) return 1;
    Complex16 f{re, im};
    for (uint32_t i = 0; i < B.Ni; i++) {
        size_t a0 = static_cast<size_t>(i + iShift) * A->Nj + jShift;
        size_t b0 = static_cast<size_t>(i) * B.Nj;
        if (!A->QComplex) {
            double* a = CompactMatrixRealData(*A) + a0;
            const double* b = CompactMatrixRealData(B) + b0;
            for (uint32_t j = 0; j < B.Nj; j++) a[j] += re * b[j];
        } else if (B.QComplex) {
            Complex16* a = CompactMatrixComplexData(*A) + a0;
            const Complex16* b = CompactMatrixComplexData(B) + b0;
            for (uint32_t j = 0; j < B.Nj; j++) a[j] += f * b[j];
        } else {
            Complex16* a = CompactMatrixComplexData(*A) + a0;
            const double* b = CompactMatrixRealData(B) + b0;
            for (uint32_t j = 0; j < B.Nj; j++) a[j] += f * b[j];
        }
    }
    return 0;
}

int CompactMatrixAdd(CompactMatrixType* A, CompactMatrixType B, double re, double im) {
    if (A->Ni != B.Ni || A->Nj != B.Nj) {
        printf("Dimensions do not match in CompactMatrixAdd: %u by %u and %u by %u\n", A->Ni,
               A->Nj, B.Ni, B.Nj);
        return 1;
    }
    return CompactMatrixAddShifted(A, B, re, im, 0, 0);
}

int CompactMatrixScale(CompactMatrixType* M, double factor) {
    size_t n = ElementCount(*M) * (M->QComplex ? 2 : 1);
    double* d = static_cast<double*>(M->data);
    for (size_t t = 0; t < n; t++) d[t] *= factor;
    return 0;
}

int CompactMatrixScaleComplex(CompactMatrixType* M, Complex16 factor) {
    if (factor.im == 0.0) return CompactMatrixScale(M, factor.re);
    if (!M->QComplex && MakeCompactRealMatrixComplex(M)) return 1;
    size_t n = ElementCount(*M);
    Complex16* d = CompactMatrixComplexData(*M);
    for (size_t t = 0; t < n; t++) d[t] *= factor;
    return 0;
}

// ------------------------------------------------------ matrix times vector

void RealMatrixVector(CompactMatrixType A, const double* x, double* y) {
    if (A.Ni == 0) return;
    if (A.Nj == 0) {
        memset(y, 0, A.Ni * sizeof(double));
        return;
    }
    int m = static_cast<int>(A.Nj), n = static_cast<int>(A.Ni), inc = 1;
    double one = 1.0, zero = 0.0;
    dgemv_("T", &m, &n, &one, CompactMatrixRealData(A), &m, x, &inc, &zero, y, &inc);
}

void RealTransposeMatrixVector(CompactMatrixType A, const double* x, double* y) {
    if (A.Nj == 0) return;
    if (A.Ni == 0) {
        memset(y, 0, A.Nj * sizeof(double));
        return;
    }
    int m = static_cast<int>(A.Nj), n = static_cast<int>(A.Ni), inc = 1;
    double one = 1.0, zero = 0.0;
    dgemv_("N", &m, &n, &one, CompactMatrixRealData(A), &m, x, &inc, &zero, y, &inc);
}

namespace {

// y = op(A) x with op 'N' or 'T' on the row-major real A, for complex x and y:
// the real and imaginary parts are two real products with stride 2.
void RealMatrixComplexVector(const CompactMatrixType& A, bool transpose, const Complex16* x,
                             Complex16* y) {
    uint32_t rows = transpose ? A.Nj : A.Ni;
    if (rows == 0) return;
    if (A.Ni == 0 || A.Nj == 0) {
        memset(static_cast<void*>(y), 0, rows * sizeof(Complex16));
        return;
    }
    int m = static_cast<int>(A.Nj), n = static_cast<int>(A.Ni), inc2 = 2;
    double one = 1.0, zero = 0.0;
    const char* t = transpose ? "N" : "T";
    const double* xd = reinterpret_cast<const double*>(x);
    double* yd = reinterpret_cast<double*>(y);
    dgemv_(t, &m, &n, &one, CompactMatrixRealData(A), &m, xd, &inc2, &zero, yd, &inc2);
    dgemv_(t, &m, &n, &one, CompactMatrixRealData(A), &m, xd + 1, &inc2, &zero, yd + 1, &inc2);
}

}  // namespace

void ComplexMatrixVector(CompactMatrixType A, const Complex16* x, Complex16* y) {
    if (!A.QComplex) {
        RealMatrixComplexVector(A, false, x, y);
        return;
    }
    if (A.Ni == 0) return;
    if (A.Nj == 0) {
        memset(static_cast<void*>(y), 0, A.Ni * sizeof(Complex16));
        return;
    }
    int m = static_cast<int>(A.Nj), n = static_cast<int>(A.Ni), inc = 1;
    Complex16 one{1.0, 0.0}, zero{0.0, 0.0};
    zgemv_("T", &m, &n, &one, CompactMatrixComplexData(A), &m, x, &inc, &zero, y, &inc, 1);
}

void ComplexConjugateTransposeMatrixVector(CompactMatrixType A, const Complex16* x, Complex16* y) {
    if (!A.QComplex) {
        RealMatrixComplexVector(A, true, x, y);
        return;
    }
    for (uint32_t j = 0; j < A.Nj; j++) y[j] = Complex16{0.0, 0.0};
    const Complex16* a = CompactMatrixComplexData(A);
    for (uint32_t i = 0; i < A.Ni; i++) {
        Complex16 xi = x[i];
        const Complex16* row = a + static_cast<size_t>(i) * A.Nj;
        for (uint32_t j = 0; j < A.Nj; j++) {
            // conj(a) * x
            y[j].re += row[j].re * xi.re + row[j].im * xi.im;
            y[j].im += row[j].re * xi.im - row[j].im * xi.re;
        }
    }
}

double RealVectorMatrixVector(const double* x, CompactMatrixType A, const double* y) {
    int n = static_cast<int>(A.Nj), inc = 1;
    double sum = 0.0;
    if (n == 0) return 0.0;
    for (uint32_t i = 0; i < A.Ni; i++)
        sum += x[i] * ddot_(&n, CompactMatrixRealData(A) + static_cast<size_t>(i) * A.Nj, &inc, y, &inc);
    return sum;
}

int CompactMatrixVector(const char* op, CompactMatrixType A, CompactVectorType x,
                        CompactVectorType* y) {
    char o = OperationLetter(op);
    if (o == 0) {
        printf("Unknown matrix operation (%s) in CompactMatrixVector\n", op ? op : "null");
        return 1;
    }
    uint32_t rows, cols;
    OperatedDims(o, A, &rows, &cols);
    if (x.NElem != cols) {
        printf("Dimensions do not match in CompactMatrixVector: op(A) is %u by %u and the vector "
               "has %u elements\n", rows, cols, x.NElem);
        return 1;
    }
    bool complexResult = A.QComplex || x.QComplex;
    y->NElem = rows;
    y->QComplex = complexResult ? 1 : 0;
    y->data = calloc(rows > 0 ? rows : 1, complexResult ? sizeof(Complex16) : sizeof(double));
    if (y->data == nullptr) {
        puts("malloc failed in CompactMatrixVector");
        return 1;
    }
    if (!complexResult) {
        if (Transposes(o))
            RealTransposeMatrixVector(A, static_cast<const double*>(x.data), static_cast<double*>(y->data));
        else
            RealMatrixVector(A, static_cast<const double*>(x.data), static_cast<double*>(y->data));
        return 0;
    }
    // Complex: bring x to complex form, conjugated for "C" so that
    // A^dagger x = conj(A^T conj(x)), and "*" so that conj(A) x = conj(A conj(x)).
    Complex16* cx = static_cast<Complex16*>(malloc((cols > 0 ? cols : 1) * sizeof(Complex16)));
    if (cx == nullptr) {
        puts("malloc failed in CompactMatrixVector");
        free(y->data);
        y->data = nullptr;
        return 1;
    }
    bool conjugate = (o == 'C' || o == '*') && A.QComplex;
    for (uint32_t t = 0; t < cols; t++) {
        Complex16 v = x.QComplex ? static_cast<const Complex16*>(x.data)[t]
                                 : Complex16{static_cast<const double*>(x.data)[t], 0.0};
        if (conjugate) v.im = -v.im;
        cx[t] = v;
    }
    Complex16* cy = static_cast<Complex16*>(y->data);
    if (!A.QComplex) {
        RealMatrixComplexVector(A, Transposes(o), cx, cy);
    } else if (rows > 0 && cols > 0) {
        int m = static_cast<int>(A.Nj), n = static_cast<int>(A.Ni), inc = 1;
        Complex16 one{1.0, 0.0}, zero{0.0, 0.0};
        const char* t = Transposes(o) ? "N" : "T";
        zgemv_(t, &m, &n, &one, CompactMatrixComplexData(A), &m, cx, &inc, &zero, cy, &inc, 1);
    }
    if (conjugate)
        for (uint32_t t = 0; t < rows; t++) cy[t].im = -cy[t].im;
    free(cx);
    return 0;
}

// ----------------------------------------------- conjugation, transposition

void CompactMatrixConjugate(CompactMatrixType* M) {
    if (!M->QComplex) return;
    size_t n = ElementCount(*M);
    Complex16* d = CompactMatrixComplexData(*M);
    for (size_t t = 0; t < n; t++) d[t].im = -d[t].im;
}

int CompactMatrixTranspose(CompactMatrixType* M) {
    uint32_t Ni = M->Ni, Nj = M->Nj;
    if (Ni == Nj) {
        for (uint32_t i = 0; i < Ni; i++)
            for (uint32_t j = i + 1; j < Nj; j++) {
                size_t a = static_cast<size_t>(i) * Nj + j, b = static_cast<size_t>(j) * Nj + i;
                if (M->QComplex) {
                    Complex16* d = CompactMatrixComplexData(*M);
                    Complex16 t = d[a];
                    d[a] = d[b];
                    d[b] = t;
                } else {
                    double* d = CompactMatrixRealData(*M);
                    double t = d[a];
                    d[a] = d[b];
                    d[b] = t;
                }
            }
        return 0;
    }
    size_t n = ElementCount(*M);
    if (n > 0) {
        size_t es = M->QComplex ? sizeof(Complex16) : sizeof(double);
        void* t = malloc(n * es);
        if (t == nullptr) {
            puts("malloc failed in CompactMatrixTranspose");
            return 1;
        }
        for (uint32_t i = 0; i < Ni; i++)
            for (uint32_t j = 0; j < Nj; j++) {
                size_t from = static_cast<size_t>(i) * Nj + j, to = static_cast<size_t>(j) * Ni + i;
                if (M->QComplex)
                    static_cast<Complex16*>(t)[to] = CompactMatrixComplexData(*M)[from];
                else
                    static_cast<double*>(t)[to] = CompactMatrixRealData(*M)[from];
            }
        free(M->data);
        M->data = t;
    }
    M->Ni = Nj;
    M->Nj = Ni;
    return 0;
}

int CompactMatrixConjugateTranspose(CompactMatrixType* M) {
    if (CompactMatrixTranspose(M)) return 1;
    CompactMatrixConjugate(M);
    return 0;
}
