// Hermitian, generalised Hermitian-definite and real tridiagonal
// eigensystems through LAPACK, with their retry chains, and the Hermiticity
// test.
//
// Storage order: the row-major block handed to LAPACK as it stands is, read
// column-major, the transpose of the matrix, which for a Hermitian matrix is
// its conjugate.  LAPACK returns the eigenvectors of that conjugate in its
// columns, which are the rows of the row-major result; flipping the sign of
// the imaginary parts turns them into eigenvectors of the matrix itself.
//
// Each chain has exactly one retry: a non-zero info of the simple driver
// moves on to the divide-and-conquer driver on a fresh copy of the input
// (the failed call has destroyed the first one).  For the tridiagonal
// problem the order is reversed.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/compactmatrix.h"
#include "numeric/lapack.h"

int LapackFailFirstAttempt = 0;
int LapackFailSecondAttempt = 0;

namespace {

const char* const FinalError = "ERORR!!!!!!!!!!";

// The matrix to diagonalise: the two blocks of a row-pointer record, or the
// block of a compact record.
struct EigenSource {
    int N;
    int QComplex;
    const double* re;       // row-pointer record: real block
    const double* im;       // and imaginary block (complex only)
    const void* compact;    // compact record: its data
    const char* name;
};

EigenSource SourceOf(const MatrixType& A) {
    EigenSource s{A.Ni, A.QComplex, nullptr, nullptr, nullptr, A.Name};
    if (A.Re != nullptr) s.re = A.Re[0];
    if (A.QComplex && A.Im != nullptr) s.im = A.Im[0];
    return s;
}

EigenSource SourceOf(const CompactMatrixType& A) {
    return EigenSource{static_cast<int>(A.Ni), A.QComplex, nullptr, nullptr, A.data,
                       A.Name != nullptr ? A.Name : ""};
}

size_t Square(int N) { return static_cast<size_t>(N) * static_cast<size_t>(N); }

void LoadComplex(const EigenSource& s, Complex16* a) {
    size_t n = Square(s.N);
    if (s.compact != nullptr) {
        if (s.QComplex) {
            memcpy(static_cast<void*>(a), s.compact, n * sizeof(Complex16));
        } else {
            const double* r = static_cast<const double*>(s.compact);
            for (size_t k = 0; k < n; k++) a[k] = Complex16{r[k], 0.0};
        }
        return;
    }
    for (size_t k = 0; k < n; k++) a[k] = Complex16{s.re[k], s.QComplex ? s.im[k] : 0.0};
}

void LoadReal(const EigenSource& s, double* a) {
    size_t n = Square(s.N);
    const double* r = s.compact != nullptr ? static_cast<const double*>(s.compact) : s.re;
    memcpy(a, r, n * sizeof(double));
}

// Workspace sizes that suit both drivers of each chain.
struct EigenWork {
    int lwork;    // doubles: (2N+6)N+1
    int liwork;   // ints: 5N+3
    int lcwork;   // Complex16: N(N+2)
};

EigenWork WorkSizes(int N) { return EigenWork{(2 * N + 6) * N + 1, 5 * N + 3, N * (N + 2)}; }

int ComplexHermitianChain(const EigenSource& s, Complex16* a, double* w, double* work,
                          int* iwork, Complex16* cwork, const char* word) {
    const int n = s.N, lda = n > 0 ? n : 1;
    EigenWork sz = WorkSizes(n);
    int info = 0;
    LoadComplex(s, a);
    zheev_("V", "U", &n, a, &lda, w, cwork, &sz.lcwork, work, &info, 1, 1);
    info = LapackChainInfo(info, 1);
    if (info != 0) {
        printf("zheev failed in %s with info value %i\n", word, info);
        printf("While working on matrix %s\n", s.name);
        puts("continue diagonalization with zheevd");
        fflush(stdout);
        LoadComplex(s, a);
        zheevd_("V", "U", &n, a, &lda, w, cwork, &sz.lcwork, work, &sz.lwork, iwork, &sz.liwork,
                &info, 1, 1);
        info = LapackChainInfo(info, 2);
        if (info != 0) {
            printf("also zheevd failed in %s with info value %i\n", word, info);
            puts(FinalError);
            fflush(stdout);
            return 1;
        }
    }
    size_t nn = Square(n);
    for (size_t k = 0; k < nn; k++) a[k].im = -a[k].im;
    return 0;
}

// The messages of the real chain name the routines "dsyv" and "dsyvd".
int RealSymmetricChain(const EigenSource& s, double* a, double* w, double* work, int* iwork,
                       const char* word) {
    const int n = s.N, lda = n > 0 ? n : 1;
    EigenWork sz = WorkSizes(n);
    int info = 0;
    LoadReal(s, a);
    dsyev_("V", "U", &n, a, &lda, w, work, &sz.lwork, &info, 1, 1);
    info = LapackChainInfo(info, 1);
    if (info != 0) {
        printf("dsyv failed in %s with info value %i\n", word, info);
        printf("While working on matrix %s\n", s.name);
        puts("continue diagonalization with dsyvd");
        fflush(stdout);
        LoadReal(s, a);
        dsyevd_("V", "U", &n, a, &lda, w, work, &sz.lwork, iwork, &sz.liwork, &info, 1, 1);
        info = LapackChainInfo(info, 2);
        if (info != 0) {
            printf("also dsyvd failed in %s with info value %i\n", word, info);
            puts(FinalError);
            fflush(stdout);
            return 1;
        }
    }
    return 0;
}

// "Eigenvectors of " and the source's name, cut to the 256-byte buffer.
void NameEigenvectors(char* buffer, const char* source) {
    static const char prefix[] = "Eigenvectors of ";
    size_t p = sizeof(prefix) - 1;
    size_t n = source != nullptr ? strnlen(source, 255 - p) : 0;
    if (n > 0) memmove(buffer + p, source, n);
    memcpy(buffer, prefix, p);
    buffer[p + n] = '\0';
}

// The largest order whose workspace sizes fit LAPACK's 32-bit integers.
const int LargestOrder = 32000;

// Work of the Hermitian family: real work and integer work.
int AllocateWork(int N, double** work, int** iwork, const char* workMessage,
                 const char* iworkMessage) {
    if (N > LargestOrder) {
        printf("Matrix of order %i too large for the 32-bit LAPACK interface\n", N);
        return 1;
    }
    EigenWork sz = WorkSizes(N);
    *work = static_cast<double*>(malloc(sizeof(double) * sz.lwork));
    if (*work == nullptr) {
        puts(workMessage);
        return 1;
    }
    *iwork = static_cast<int*>(malloc(sizeof(int) * sz.liwork));
    if (*iwork == nullptr) {
        puts(iworkMessage);
        free(*work);
        return 1;
    }
    return 0;
}

Complex16* AllocateComplex(size_t n) {
    return static_cast<Complex16*>(malloc((n > 0 ? n : 1) * sizeof(Complex16)));
}

}  // namespace

// ------------------------------------------------------------- Hermitian

int Eigensystem(MatrixType A, MatrixType* V, double* w) {
    const int N = A.Ni;
    double* work;
    int* iwork;
    if (AllocateWork(N, &work, &iwork, "malloc of work failed in Eigensystem",
                     "malloc of iwork failed in Eigensystem"))
        return 1;
    if (A.Ni != A.Nj) {
        puts("Eigensystem called with non-square matrix");
        puts("ERORR!!!!!!");
        free(work);
        free(iwork);
        return 1;
    }
    V->Ni = N;
    V->Nj = N;
    V->QComplex = A.QComplex;
    if (InitMatrix(V)) {
        free(work);
        free(iwork);
        return 1;
    }
    NameEigenvectors(V->Name, A.Name);
    int fail = 0;
    if (N > 0) {
        EigenSource s = SourceOf(A);
        if (A.QComplex) {
            Complex16* a = AllocateComplex(Square(N));
            Complex16* cwork = AllocateComplex(static_cast<size_t>(WorkSizes(N).lcwork));
            if (a == nullptr || cwork == nullptr) {
                puts("malloc of work failed in Eigensystem");
                fail = 1;
            } else {
                fail = ComplexHermitianChain(s, a, w, work, iwork, cwork, "Eigensystem");
                if (!fail)
                    for (size_t k = 0; k < Square(N); k++) {
                        V->Re[0][k] = a[k].re;
                        V->Im[0][k] = a[k].im;
                    }
            }
            free(a);
            free(cwork);
        } else {
            fail = RealSymmetricChain(s, V->Re[0], w, work, iwork, "Eigensystem");
        }
    }
    free(work);
    free(iwork);
    if (fail) FreeMatrix(V);
    return fail;
}

int MatrixToEigensystem(MatrixType A, MatrixType* V, double* w) { return Eigensystem(A, V, w); }

namespace {

// The compact-output driver shared by CompactMatrixEigensystem and
// EigensystemToCompact; the complex arm works in V's own block.
int HermitianToCompact(const EigenSource& s, int Nj, CompactMatrixType* V, double* w,
                       const char* word, const char* workMessage, const char* cworkMessage,
                       const char* nonSquare) {
    const int N = s.N;
    double* work;
    int* iwork;
    if (AllocateWork(N, &work, &iwork, workMessage, workMessage)) return 1;
    if (N != Nj) {
        puts(nonSquare);
        puts("ERORR!!!!!!");
        free(work);
        free(iwork);
        return 1;
    }
    V->Ni = static_cast<uint32_t>(N);
    V->Nj = static_cast<uint32_t>(N);
    V->QComplex = s.QComplex;
    if (InitCompactMatrix(V)) {
        free(work);
        free(iwork);
        return 1;
    }
    NameEigenvectors(V->Name, s.name);
    int fail = 0;
    if (N > 0) {
        if (s.QComplex) {
            Complex16* cwork = AllocateComplex(static_cast<size_t>(WorkSizes(N).lcwork));
            if (cwork == nullptr) {
                puts(cworkMessage);
                fail = 1;
            } else {
                fail = ComplexHermitianChain(s, CompactMatrixComplexData(*V), w, work, iwork, cwork,
                                             word);
            }
            free(cwork);
        } else {
            fail = RealSymmetricChain(s, CompactMatrixRealData(*V), w, work, iwork, word);
        }
    }
    free(work);
    free(iwork);
    if (fail) FreeCompactMatrix(V);
    return fail;
}

}  // namespace

int CompactMatrixEigensystem(const CompactMatrixType* A, CompactMatrixType* V, double* w) {
    return HermitianToCompact(SourceOf(*A), static_cast<int>(A->Nj), V, w,
                              "CompactMatrixEigensystem",
                              "malloc for work failed in CompactMatrixEigensystem",
                              "malloc for cwork failed in CompactMatrixEigensystem",
                              "CompactMatrixEigensystem called with non-square matrix");
}

int EigensystemToCompact(MatrixType A, CompactMatrixType* V, double* w) {
    return HermitianToCompact(SourceOf(A), A.Nj, V, w, "Eigensystem",
                              "malloc of work failed in Eigensystem",
                              "malloc of work failed in Eigensystem",
                              "Eigensystem called with non-square matrix");
}

// ----------------------------------------------------------- generalised

namespace {

struct GeneralizedWords {
    const char* jobz;
    const char* complexFirst;   // format with the info value
    const char* complexSecond;
    const char* realFirst;
    const char* realSecond;
};

const GeneralizedWords SystemWords{
    "V", "zhegv failed in Generalized Eigensystem with info value %i\n",
    "also zhegvd failed in Generalized Eigensystem with info value %i\n",
    "dsygv failed in Generalized Eigensystem with info value %i\n",
    "also dsygvd failed in Eigensystem with info value %i\n"};

const GeneralizedWords ValueWords{
    "N", "zhegv failed in Generalized Eigenvalues with info value %i\n",
    "also zhegvd failed in Generalized Eigenvalues with info value %i\n",
    "dsygv failed in Generalized Eigenvalues with info value %i\n",
    "also dsygvd failed in Eigenvalues with info value %i\n"};

void PrintFinalGeneralizedError() {
    for (int t = 0; t < 6; t++) puts(FinalError);
    fflush(stdout);
}

// Solves A x = w B x; the vectors (for jobz "V") land in the block a, in its
// rows, as eigenvectors of the matrices themselves.
int GeneralizedChain(const MatrixType& A, const MatrixType& B, const GeneralizedWords& words,
                     double* w, double* realVectors, Complex16* complexVectors) {
    const int N = A.Ni, ld = N > 0 ? N : 1, itype = 1;
    const bool complexArm = A.QComplex || B.QComplex;
    if (N > LargestOrder) {
        printf("Matrix of order %i too large for the 32-bit LAPACK interface\n", N);
        return 1;
    }
    EigenWork sz = WorkSizes(N);
    EigenSource sa = SourceOf(A), sb = SourceOf(B);
    double* work = static_cast<double*>(malloc(sizeof(double) * sz.lwork));
    int* iwork = static_cast<int*>(malloc(sizeof(int) * sz.liwork));
    double* rb = nullptr;
    Complex16 *ca = nullptr, *cb = nullptr, *cwork = nullptr;
    int fail = work == nullptr || iwork == nullptr;
    if (!fail && complexArm) {
        ca = complexVectors != nullptr ? complexVectors : AllocateComplex(Square(N));
        cb = AllocateComplex(Square(N));
        cwork = AllocateComplex(static_cast<size_t>(sz.lcwork));
        fail = ca == nullptr || cb == nullptr || cwork == nullptr;
    } else if (!fail) {
        rb = static_cast<double*>(malloc(sizeof(double) * (Square(N) > 0 ? Square(N) : 1)));
        fail = rb == nullptr;
    }
    double* ra = realVectors;
    bool ownRa = false;
    if (!fail && !complexArm && ra == nullptr) {
        ra = static_cast<double*>(malloc(sizeof(double) * (Square(N) > 0 ? Square(N) : 1)));
        ownRa = true;
        fail = ra == nullptr;
    }
    if (fail) {
        puts("malloc of work failed in Generalized Eigensystem");
    } else if (complexArm) {
        int info = 0;
        LoadComplex(sa, ca);
        LoadComplex(sb, cb);
        zhegv_(&itype, words.jobz, "U", &N, ca, &ld, cb, &ld, w, cwork, &sz.lcwork, work, &info, 1, 1);
        info = LapackChainInfo(info, 1);
        if (info != 0) {
            printf(words.complexFirst, info);
            printf("While working on matrix %s\n", A.Name);
            puts("continue diagonalization with zhegvd");
            fflush(stdout);
            LoadComplex(sa, ca);
            LoadComplex(sb, cb);
            zhegvd_(&itype, words.jobz, "U", &N, ca, &ld, cb, &ld, w, cwork, &sz.lcwork, work,
                    &sz.lwork, iwork, &sz.liwork, &info, 1, 1);
            info = LapackChainInfo(info, 2);
            if (info != 0) {
                printf(words.complexSecond, info);
                PrintFinalGeneralizedError();
                fail = 1;
            }
        }
        if (!fail && complexVectors != nullptr)
            for (size_t k = 0; k < Square(N); k++) ca[k].im = -ca[k].im;
    } else {
        int info = 0;
        LoadReal(sa, ra);
        LoadReal(sb, rb);
        dsygv_(&itype, words.jobz, "U", &N, ra, &ld, rb, &ld, w, work, &sz.lwork, &info, 1, 1);
        info = LapackChainInfo(info, 1);
        if (info != 0) {
            printf(words.realFirst, info);
            printf("While working on matrix %s\n", A.Name);
            puts("continue diagonalization with dsygvd");
            fflush(stdout);
            LoadReal(sa, ra);
            LoadReal(sb, rb);
            dsygvd_(&itype, words.jobz, "U", &N, ra, &ld, rb, &ld, w, work, &sz.lwork, iwork,
                    &sz.liwork, &info, 1, 1);
            info = LapackChainInfo(info, 2);
            if (info != 0) {
                printf(words.realSecond, info);
                PrintFinalGeneralizedError();
                fail = 1;
            }
        }
    }
    free(work);
    free(iwork);
    free(rb);
    free(cb);
    free(cwork);
    if (ca != complexVectors) free(ca);
    if (ownRa) free(ra);
    return fail;
}

bool GeneralizedShapesFit(const MatrixType& A, const MatrixType& B) {
    if (A.Ni != A.Nj || B.Ni != B.Nj) {
        puts("Generalized Eigensystem called with non-square matrix");
        return false;
    }
    if (A.Ni != B.Ni) {
        printf("Generalized Eigensystem called with matrices of different size %i and %i\n", A.Ni,
               B.Ni);
        return false;
    }
    return true;
}

}  // namespace

int GeneralizedEigensystem(MatrixType A, MatrixType B, MatrixType* V, double* w) {
    if (!GeneralizedShapesFit(A, B)) return 1;
    const int N = A.Ni;
    V->Ni = N;
    V->Nj = N;
    V->QComplex = (A.QComplex || B.QComplex) ? 1 : 0;
    if (InitMatrix(V)) return 1;
    NameEigenvectors(V->Name, A.Name);
    if (N == 0) return 0;
    int fail;
    if (V->QComplex) {
        Complex16* c = AllocateComplex(Square(N));
        if (c == nullptr) {
            puts("malloc of work failed in Generalized Eigensystem");
            FreeMatrix(V);
            return 1;
        }
        fail = GeneralizedChain(A, B, SystemWords, w, nullptr, c);
        if (!fail)
            for (size_t k = 0; k < Square(N); k++) {
                V->Re[0][k] = c[k].re;
                V->Im[0][k] = c[k].im;
            }
        free(c);
    } else {
        fail = GeneralizedChain(A, B, SystemWords, w, V->Re[0], nullptr);
    }
    if (fail) FreeMatrix(V);
    return fail;
}

int MatrixToGeneralizedEigensystem(MatrixType A, MatrixType B, MatrixType* V, double* w) {
    return GeneralizedEigensystem(A, B, V, w);
}

int GeneralizedEigenvalues(MatrixType A, MatrixType B, double* w) {
    if (!GeneralizedShapesFit(A, B)) return 1;
    if (A.Ni == 0) return 0;
    return GeneralizedChain(A, B, ValueWords, w, nullptr, nullptr);
}

int GeneralizedEigensystemSingular(MatrixType H, MatrixType S, MatrixType* V, double* w) {
    if (!GeneralizedShapesFit(H, S)) return 1;
    const int N = S.Ni;
    // Diagonalise -S, so that the eigenvalues of S come largest first.
    MatrixType negS, U;
    if (MatrixCopy(&negS, S)) return 1;
    for (size_t k = 0; k < Square(N); k++) {
        negS.Re[0][k] = -negS.Re[0][k];
        if (negS.QComplex) negS.Im[0][k] = -negS.Im[0][k];
    }
    double* s = static_cast<double*>(malloc(sizeof(double) * (N > 0 ? N : 1)));
    if (s == nullptr) {
        puts("malloc failed in GeneralizedEigensystemSingular");
        FreeMatrix(&negS);
        return 1;
    }
    int fail = Eigensystem(negS, &U, s);
    FreeMatrix(&negS);
    if (fail) {
        puts("Eigensystem failed in GeneralizedEigensystemSingular");
        free(s);
        return 1;
    }
    for (int k = 0; k < N; k++) s[k] = -s[k];
    double border = (N > 0 ? s[0] : 0.0) * 2.220446049250313e-14 + 2.2250738585072014e-306;
    int kept = 0;
    while (kept < N && s[kept] > border) kept++;
    printf("Singularity border =%10.3E : Number of states kept = %i\n", border, kept);
    printf("Norm of basis ( 0...7): ");
    for (int k = 0; k < N && k < 8; k++) printf("%10.3E ", s[k]);
    puts("..........");
    // The kept eigenvectors of S, scaled to unit norm in the metric S, are
    // the new basis; H and S are brought into it.
    for (int k = 0; k < kept; k++) {
        double f = 1.0 / sqrt(s[k]);
        for (int j = 0; j < N; j++) {
            U.Re[k][j] *= f;
            if (U.QComplex) U.Im[k][j] *= f;
        }
    }
    free(s);
    MatrixType Hk, Sk, Z;
    if (MatrixTransformPart(&Hk, H, U, kept)) {
        FreeMatrix(&U);
        return 1;
    }
    if (MatrixTransformPart(&Sk, S, U, kept)) {
        FreeMatrix(&Hk);
        FreeMatrix(&U);
        return 1;
    }
    fail = GeneralizedEigensystem(Hk, Sk, &Z, w);
    FreeMatrix(&Hk);
    FreeMatrix(&Sk);
    if (fail) {
        puts("GeneralizedEigenvalues failed in GeneralizedEigensystemSingular");
        FreeMatrix(&U);
        return 1;
    }
    // Back to the original basis: eigenvector = sum_k z_k x_k, so V = Z X.
    MatrixType X = U;
    X.Ni = kept;
    fail = MatrixMultiply(V, Z, X);
    FreeMatrix(&Z);
    FreeMatrix(&U);
    if (!fail) NameEigenvectors(V->Name, H.Name);
    return fail;
}

// ----------------------------------------------------------- tridiagonal

int RealTriDiagonalEigensystem(int N, const double* a, const double* b, MatrixType* V, double* w) {
    const bool vectors = V != nullptr;
    const char* jobz = vectors ? "V" : "N";
    if (vectors) {
        V->Ni = N;
        V->Nj = N;
        V->QComplex = 0;
        if (InitMatrix(V)) return 1;
        SetMatrixName(V, "Eigenvectors");
    }
    if (N <= 0) return 0;
    const int ldz = N;
    int lwork = vectors ? 1 + 4 * N + N * N : 2 * N;
    int liwork = vectors ? 3 + 5 * N : 1;
    double* e = static_cast<double*>(malloc(sizeof(double) * N));
    double* work = static_cast<double*>(malloc(sizeof(double) * lwork));
    int* iwork = static_cast<int*>(malloc(sizeof(int) * liwork));
    double dummy = 0.0;
    double* z = vectors ? V->Re[0] : &dummy;
    int fail = 0;
    if (e == nullptr || work == nullptr || iwork == nullptr) {
        puts("malloc failed in TriDiagonalMatrixToEigensystem");
        fail = 1;
    } else {
        int info = 0;
        memcpy(w, a, sizeof(double) * N);
        if (N > 1) memcpy(e, b, sizeof(double) * (N - 1));
        dstevd_(jobz, &N, w, e, z, &ldz, work, &lwork, iwork, &liwork, &info);
        info = LapackChainInfo(info, 1);
        if (info != 0) {
            printf("dstevd failed in TriDiagonalMatrixToEigensystem with info value %i\n", info);
            puts("continue diagonalization with dstev");
            fflush(stdout);
            memcpy(w, a, sizeof(double) * N);
            if (N > 1) memcpy(e, b, sizeof(double) * (N - 1));
            dstev_(jobz, &N, w, e, z, &ldz, work, &info);
            info = LapackChainInfo(info, 2);
            if (info != 0) {
                printf("Also dstev failed with info value %i\n", info);
                fflush(stdout);
                fail = 1;
            }
        }
    }
    free(e);
    free(work);
    free(iwork);
    if (fail && vectors) FreeMatrix(V);
    return fail;
}

// ------------------------------------------------------------ Hermiticity

int QCompactMatrixHermitian(CompactMatrixType M, double tolerance) {
    const double tiny = 2.2250738585072014e-306;
    if (M.Ni != M.Nj) return 0;
    const uint32_t N = M.Ni;
    if (!M.QComplex) {
        const double* d = CompactMatrixRealData(M);
        for (uint32_t i = 0; i < N; i++)
            for (uint32_t j = 0; j < i; j++) {
                double a = d[static_cast<size_t>(i) * N + j], b = d[static_cast<size_t>(j) * N + i];
                if (fabs(a - b) > fabs(a + b) * tolerance + tiny) return 0;
            }
        return 1;
    }
    const Complex16* d = CompactMatrixComplexData(M);
    for (uint32_t i = 0; i < N; i++)
        for (uint32_t j = 0; j <= i; j++) {
            Complex16 a = d[static_cast<size_t>(i) * N + j], b = d[static_cast<size_t>(j) * N + i];
            if (fabs(a.re - b.re) > fabs(a.re + b.re) * tolerance + tiny) return 0;
            if (fabs(a.im + b.im) > fabs(a.im - b.im) * tolerance + tiny) return 0;
        }
    return 1;
}
