// Conversions among the block forms.
//
// Towards a list: the one-particle Hamiltonian of the chain or star is
// diagonalised; eigenstate k with the components u_k on the first site gives
// a pole at its energy with the weight (b0 u_k)(b0 u_k)^dagger.
//
// Towards a chain: block Lanczos on the bath.  A list is a source coupled to
// bath levels at the pole energies, B_k = V_k V_k^dagger with V_k from the
// eigenvectors of B_k; a star is its first site coupled to its bath levels.
// The bath is block diagonal, one M by M block per level.  Every new block of
// Lanczos vectors is orthogonalised twice against all earlier ones, column by
// column; a column that has no norm left is kept as a zero vector, so that
// a direction without weight stays an uncoupled orbital and the blocks keep
// their size.  The arithmetic is complex throughout; when the source is real
// the imaginary parts stay exactly zero and the result is made real.
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/lapack.h"
#include "response/blockforms.h"

namespace {

// A malloc'ed array that frees itself.
template <class T>
struct Buffer {
    T* p = nullptr;
    Buffer() = default;
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer() { free(p); }
    bool Allocate(size_t n) {
        free(p);
        p = static_cast<T*>(calloc(n > 0 ? n : 1, sizeof(T)));
        return p != nullptr;
    }
    T& operator[](size_t i) { return p[i]; }
    const T& operator[](size_t i) const { return p[i]; }
};

void CopyName(char* to, const char* from) {
    memcpy(to, from, 256);
    to[255] = '\0';
}

// Element (r,c) of a block into a complex array of M*M.
void BlockToArray(const CompactMatrixType& B, Complex16* x) {
    for (uint32_t r = 0; r < B.Ni; r++)
        for (uint32_t c = 0; c < B.Nj; c++) x[static_cast<size_t>(r) * B.Nj + c] = CompactMatrixElement(B, r, c);
}

// Replaces the (initialised) block *B by the M by M array x, conjugate
// transposed when dagger is set, real when real is set.
int ArrayToBlock(const Complex16* x, uint32_t M, bool dagger, bool real, CompactMatrixType* B) {
    CompactMatrixType n;
    n.Ni = M;
    n.Nj = M;
    n.QComplex = real ? 0 : 1;
    if (InitCompactMatrix(&n) != 0) return 1;
    for (uint32_t r = 0; r < M; r++)
        for (uint32_t c = 0; c < M; c++) {
            Complex16 v = dagger ? Conjugate(x[static_cast<size_t>(c) * M + r]) : x[static_cast<size_t>(r) * M + c];
            const size_t i = static_cast<size_t>(r) * M + c;
            if (real)
                CompactMatrixRealData(n)[i] = v.re;
            else
                CompactMatrixComplexData(n)[i] = v;
        }
    FreeCompactMatrix(B);
    *B = n;
    return 0;
}

template <class R>
bool AnyComplexBlock(const R& T) {
    for (uint32_t i = 0; i <= T.N; i++)
        if (T.a[i].QComplex) return true;
    for (uint32_t i = 0; i < (T.N != 0 ? T.N : 1); i++)
        if (T.b[i].QComplex) return true;
    return false;
}

// Puts block B (or its conjugate transpose) at (row, col) of the n by n
// complex array H.
void PlaceBlock(Complex16* H, size_t n, size_t row, size_t col, const CompactMatrixType& B, bool dagger) {
    for (uint32_t r = 0; r < B.Ni; r++)
        for (uint32_t c = 0; c < B.Nj; c++) {
            const Complex16 v = CompactMatrixElement(B, r, c);
            if (dagger)
                H[(col + c) * n + row + r] = Conjugate(v);
            else
                H[(row + r) * n + col + c] = v;
        }
}

// A complex n by n array as a compact matrix, real when real is set.
int ArrayToHamiltonian(const Complex16* x, size_t n, bool real, CompactMatrixType* H) {
    H->Ni = static_cast<uint32_t>(n);
    H->Nj = static_cast<uint32_t>(n);
    H->QComplex = real ? 0 : 1;
    if (InitCompactMatrix(H) != 0) return 1;
    SetCompactMatrixName(H, "Block Hamiltonian");
    for (size_t i = 0; i < n * n; i++) {
        if (real)
            CompactMatrixRealData(*H)[i] = x[i].re;
        else
            CompactMatrixComplexData(*H)[i] = x[i];
    }
    return 0;
}

// The list of the eigenstates of H: pole k at w[k] with weight
// (b0 u_k)(b0 u_k)^dagger, u_k the first M components of eigenvector k;
// the constant is a0.
int HamiltonianToBlockListOfPoles(const CompactMatrixType& H, const CompactMatrixType& a0,
                                  const CompactMatrixType& b0, uint32_t M, BlockListOfPoles* L, const char* who) {
    const uint32_t n = H.Ni;
    Buffer<double> w;
    if (!w.Allocate(n)) {
        printf("malloc failed in %s\n", who);
        return 1;
    }
    CompactMatrixType V;
    if (n > 0 && CompactMatrixEigensystem(&H, &V, w.p) != 0) {
        printf("CompactMatrixEigensystem failed in %s\n", who);
        return 1;
    }
    L->N = n;
    L->M = M;
    L->QComplex = H.QComplex || b0.QComplex || a0.QComplex;
    if (InitBlockListOfPoles(L) != 0) {
        printf("InitBlockListOfPoles failed in %s\n", who);
        if (n > 0) FreeCompactMatrix(&V);
        return 1;
    }
    const size_t S = BlockListOfPolesSlice(M);
    Buffer<Complex16> x;
    if (!x.Allocate(M)) {
        printf("malloc failed in %s\n", who);
        FreeBlockListOfPoles(L);
        if (n > 0) FreeCompactMatrix(&V);
        return 1;
    }
    for (uint32_t k = 0; k < n; k++) {
        for (uint32_t r = 0; r < M; r++) {
            Complex16 s = Cnum(0.0, 0.0);
            for (uint32_t c = 0; c < M; c++) s += CompactMatrixElement(b0, r, c) * CompactMatrixElement(V, k, c);
            x[r] = s;
        }
        const size_t base = k * S;
        if (L->QComplex) {
            Complex16* v = static_cast<Complex16*>(L->Value);
            v[base] = Cnum(w[k], 0.0);
            for (uint32_t r = 0; r < M; r++)
                for (uint32_t c = 0; c < M; c++) v[base + 1 + r * M + c] = x[r] * Conjugate(x[c]);
        } else {
            double* v = static_cast<double*>(L->Value);
            v[base] = w[k];
            for (uint32_t r = 0; r < M; r++)
                for (uint32_t c = 0; c < M; c++) v[base + 1 + r * M + c] = x[r].re * x[c].re;
        }
    }
    for (uint32_t r = 0; r < M; r++)
        for (uint32_t c = 0; c < M; c++) {
            const size_t i = n * S + 1 + r * M + c;
            if (L->QComplex)
                static_cast<Complex16*>(L->Value)[i] = CompactMatrixElement(a0, r, c);
            else
                static_cast<double*>(L->Value)[i] = CompactMatrixElement(a0, r, c).re;
        }
    if (n > 0) FreeCompactMatrix(&V);
    return 0;
}

// ---- block Lanczos ----------------------------------------------------------

// The result of a run: steps diagonal blocks alpha[j] and steps-1 blocks
// C[j] = H(j+1,j), all M by M in one array each; R0 with W = Q1 R0.
struct LanczosChain {
    uint32_t steps = 0;
    Buffer<Complex16> alpha;
    Buffer<Complex16> C;
    Buffer<Complex16> R0;
};

// Block Lanczos on the block-diagonal bath h (nb blocks of M by M) from the
// coupling W (D = nb*M rows, M columns, row-major), for at most nmax steps
// (no limit for 0).  The Lanczos vectors are kept column-major, one column
// of D numbers each, so that the projection on all earlier vectors is two
// matrix products.
int BathLanczos(const Complex16* h, uint32_t nb, uint32_t M, const Complex16* W, uint32_t nmax, LanczosChain* out,
                const char* who) {
    const size_t D = static_cast<size_t>(nb) * M;
    const size_t MM = static_cast<size_t>(M) * M;
    const size_t blockSize = D * M;  // one block of Lanczos vectors
    if (nmax == 0 || nmax > D) nmax = static_cast<uint32_t>(D);
    if (D * M > static_cast<size_t>(INT_MAX) / 2 || static_cast<size_t>(nmax) * M > static_cast<size_t>(INT_MAX)) {
        printf("bath of %zu levels too large for BLAS in %s\n", D, who);
        return 1;
    }
    double hscale = 0.0;
    for (size_t i = 0; i < nb * MM; i++) hscale = fmax(hscale, Cabs(h[i]));
    double wscale = 0.0;
    for (size_t i = 0; i < blockSize; i++) wscale = fmax(wscale, Cabs(W[i]));
    const double tolH = 100.0 * DBL_EPSILON * hscale * M;
    const double tolW = 100.0 * DBL_EPSILON * wscale * M;

    if (!out->alpha.Allocate(nmax * MM) || !out->C.Allocate(nmax * MM) || !out->R0.Allocate(MM)) {
        printf("malloc failed in %s\n", who);
        return 1;
    }
    // All blocks of Lanczos vectors (grown as needed), the product H Q, the
    // residual and the projections on earlier vectors.
    Buffer<Complex16> U;
    Buffer<Complex16> R;
    Buffer<Complex16> Q;
    Buffer<Complex16> P;
    size_t qBlocks = nmax < 8 ? nmax : 8;
    if (!U.Allocate(blockSize) || !R.Allocate(blockSize) || !Q.Allocate(qBlocks * blockSize) ||
        !P.Allocate(qBlocks * MM)) {
        printf("malloc failed in %s\n", who);
        return 1;
    }
    auto q = [&](uint32_t block, uint32_t c) { return Q.p + (static_cast<size_t>(block) * M + c) * D; };

    // Orthonormalises the columns of X (D by M, column-major) against the
    // first `previous` blocks of Q and among themselves, into block
    // `previous` of Q, with the coefficients in Cout (row-major, upper
    // triangular, row c zero for a dropped column).  Returns the number of
    // columns kept.
    auto orthonormalise = [&](Complex16* X, uint32_t previous, Complex16* Cout, double tol) {
        const int d = static_cast<int>(D);
        const int m = static_cast<int>(M);
        const int k = static_cast<int>(previous * M);
        const Complex16 one = Cnum(1.0, 0.0);
        const Complex16 minus = Cnum(-1.0, 0.0);
        const Complex16 nil = Cnum(0.0, 0.0);
        for (int pass = 0; pass < 2 && k > 0; pass++) {
            zgemm_("C", "N", &k, &m, &d, &one, Q.p, &d, X, &d, &nil, P.p, &k, 1, 1);
            zgemm_("N", "N", &d, &m, &k, &minus, Q.p, &d, P.p, &k, &one, X, &d, 1, 1);
        }
        uint32_t kept = 0;
        for (size_t i = 0; i < MM; i++) Cout[i] = Cnum(0.0, 0.0);
        for (uint32_t c = 0; c < M; c++) {
            Complex16* x = X + c * D;
            for (int pass = 0; pass < 2; pass++)
                for (uint32_t p = 0; p < c; p++) {
                    const Complex16* v = q(previous, p);
                    Complex16 s = Cnum(0.0, 0.0);
                    for (size_t i = 0; i < D; i++) s += Conjugate(v[i]) * x[i];
                    for (size_t i = 0; i < D; i++) x[i] -= v[i] * s;
                    Cout[p * M + c] += s;
                }
            double norm = 0.0;
            for (size_t i = 0; i < D; i++) norm += x[i].re * x[i].re + x[i].im * x[i].im;
            norm = sqrt(norm);
            Complex16* v = q(previous, c);
            if (norm > tol) {
                for (size_t i = 0; i < D; i++) v[i] = x[i] / norm;
                Cout[c * M + c] = Cnum(norm, 0.0);
                kept++;
            } else {
                for (size_t i = 0; i < D; i++) v[i] = Cnum(0.0, 0.0);
                for (uint32_t r = c; r < M; r++) Cout[c * M + r] = Cnum(0.0, 0.0);
            }
        }
        return kept;
    };

    for (size_t i = 0; i < D; i++)
        for (uint32_t c = 0; c < M; c++) R[c * D + i] = W[i * M + c];
    out->steps = 0;
    if (orthonormalise(R.p, 0, out->R0.p, tolW) == 0) return 0;
    for (uint32_t j = 0;; j++) {
        // U = H Q_j, block by block of the bath.
        for (uint32_t c = 0; c < M; c++) {
            const Complex16* v = q(j, c);
            Complex16* u = U.p + c * D;
            for (uint32_t b = 0; b < nb; b++)
                for (uint32_t r = 0; r < M; r++) {
                    Complex16 s = Cnum(0.0, 0.0);
                    for (uint32_t t = 0; t < M; t++) s += h[b * MM + r * M + t] * v[b * M + t];
                    u[b * M + r] = s;
                }
        }
        // alpha_j = Q_j^dagger U, made exactly Hermitian.
        Complex16* a = out->alpha.p + j * MM;
        for (uint32_t r = 0; r < M; r++)
            for (uint32_t c = 0; c < M; c++) {
                const Complex16* v = q(j, r);
                const Complex16* u = U.p + c * D;
                Complex16 s = Cnum(0.0, 0.0);
                for (size_t i = 0; i < D; i++) s += Conjugate(v[i]) * u[i];
                a[r * M + c] = s;
            }
        for (uint32_t r = 0; r < M; r++)
            for (uint32_t c = r; c < M; c++) {
                const Complex16 m = 0.5 * (a[r * M + c] + Conjugate(a[c * M + r]));
                a[r * M + c] = m;
                a[c * M + r] = Conjugate(m);
            }
        out->steps = j + 1;
        if (j + 1 >= nmax) break;
        // R = U - Q_j alpha_j - Q_(j-1) C_(j-1)^dagger.
        for (uint32_t c = 0; c < M; c++) {
            Complex16* x = R.p + c * D;
            memcpy(x, U.p + c * D, sizeof(Complex16) * D);
            for (uint32_t t = 0; t < M; t++) {
                const Complex16 f = a[t * M + c];
                const Complex16* v = q(j, t);
                for (size_t i = 0; i < D; i++) x[i] -= v[i] * f;
                if (j > 0) {
                    const Complex16 g = Conjugate(out->C.p[(j - 1) * MM + c * M + t]);
                    const Complex16* w = q(j - 1, t);
                    for (size_t i = 0; i < D; i++) x[i] -= w[i] * g;
                }
            }
        }
        if (j + 2 > qBlocks) {
            const size_t grow = qBlocks * 2 < nmax ? qBlocks * 2 : nmax;
            Complex16* nq = static_cast<Complex16*>(realloc(Q.p, sizeof(Complex16) * grow * blockSize));
            if (nq == nullptr) {
                printf("malloc failed in %s\n", who);
                return 1;
            }
            Q.p = nq;
            Complex16* np = static_cast<Complex16*>(realloc(P.p, sizeof(Complex16) * grow * MM));
            if (np == nullptr) {
                printf("malloc failed in %s\n", who);
                return 1;
            }
            P.p = np;
            qBlocks = grow;
        }
        if (orthonormalise(R.p, j + 1, out->C.p + j * MM, tolH) == 0) break;
    }
    return 0;
}

// The bath of a list: level k is e_k times the unit block, coupled with
// V_k^dagger, where B_k = V_k V_k^dagger.
int ListBath(const BlockListOfPoles& L, Buffer<Complex16>* h, Buffer<Complex16>* W, const char* who) {
    const uint32_t M = L.M;
    const size_t MM = static_cast<size_t>(M) * M;
    if (!h->Allocate(L.N * MM) || !W->Allocate(L.N * MM)) {
        printf("malloc failed in %s\n", who);
        return 1;
    }
    Buffer<double> lambda;
    if (!lambda.Allocate(M)) {
        printf("malloc failed in %s\n", who);
        return 1;
    }
    for (uint32_t k = 0; k < L.N; k++) {
        const double e = BlockListOfPolesEnergy(L, k);
        for (uint32_t r = 0; r < M; r++) (*h)[k * MM + r * M + r] = Cnum(e, 0.0);
        CompactMatrixType B;
        B.Ni = M;
        B.Nj = M;
        B.QComplex = L.QComplex;
        if (InitCompactMatrix(&B) != 0) {
            printf("InitCompactMatrix failed in %s\n", who);
            return 1;
        }
        for (uint32_t r = 0; r < M; r++)
            for (uint32_t c = 0; c < M; c++) {
                const Complex16 v = BlockListOfPolesWeight(L, k, r, c);
                if (L.QComplex)
                    CompactMatrixComplexData(B)[r * M + c] = v;
                else
                    CompactMatrixRealData(B)[r * M + c] = v.re;
            }
        if (!QCompactMatrixHermitian(B, 1e-10)) {
            printf("%s needs Hermitian weights; pole %u at %22.15E has none\n", who, k + 1, e);
            FreeCompactMatrix(&B);
            return 1;
        }
        CompactMatrixType V;
        if (CompactMatrixEigensystem(&B, &V, lambda.p) != 0) {
            printf("CompactMatrixEigensystem failed in %s\n", who);
            FreeCompactMatrix(&B);
            return 1;
        }
        FreeCompactMatrix(&B);
        double top = 0.0;
        for (uint32_t i = 0; i < M; i++) top = fmax(top, fabs(lambda[i]));
        for (uint32_t i = 0; i < M; i++) {
            if (lambda[i] < -1e-12 * top) {
                printf("%s needs positive semi-definite weights, not an eigenvalue %22.15E at %22.15E\n", who,
                       lambda[i], e);
                FreeCompactMatrix(&V);
                return 1;
            }
            // Eigenvalues at the rounding level of the weight are zero: their
            // square roots would couple directions that carry no weight.
            const double s = lambda[i] > 100.0 * DBL_EPSILON * M * top ? sqrt(lambda[i]) : 0.0;
            for (uint32_t c = 0; c < M; c++)
                (*W)[k * MM + i * M + c] = s * Conjugate(CompactMatrixElement(V, i, c));
        }
        FreeCompactMatrix(&V);
    }
    return 0;
}

// Writes a Lanczos run into the chain T from site `first` on: the sites get
// alpha, the couplings between them C^dagger; T has first-1+steps sites.
int StoreChain(const LanczosChain& run, uint32_t M, uint32_t first, bool real, BlockTriDiagonalMatrixType* T,
               const char* who) {
    const size_t MM = static_cast<size_t>(M) * M;
    for (uint32_t j = 0; j < run.steps; j++)
        if (ArrayToBlock(run.alpha.p + j * MM, M, false, real, &T->a[first + j]) != 0 ||
            (j + 1 < run.steps && ArrayToBlock(run.C.p + j * MM, M, true, real, &T->b[first + j]) != 0)) {
            printf("InitCompactMatrix failed in %s\n", who);
            return 1;
        }
    return 0;
}

int CopyBlockInto(const CompactMatrixType& src, CompactMatrixType* dst) {
    CompactMatrixType c;
    if (CompactMatrixCopy(src, &c) != 0) return 1;
    FreeCompactMatrix(dst);
    *dst = c;
    return 0;
}

// The chain of a list, at most n sites (0: all).
int ListToChain(const BlockListOfPoles& L, BlockTriDiagonalMatrixType* T, unsigned int n, const char* who) {
    const uint32_t M = L.M;
    Buffer<Complex16> h;
    Buffer<Complex16> W;
    if (ListBath(L, &h, &W, who) != 0) return 1;
    LanczosChain run;
    if (L.N > 0 && BathLanczos(h.p, L.N, M, W.p, n, &run, who) != 0) return 1;
    T->N = run.steps;
    T->M = M;
    if (InitBlockTriDiagonalMatrix(T) != 0) {
        printf("InitBlockTriDiagonalMatrix failed in %s\n", who);
        return 1;
    }
    CopyName(T->Name, L.Name);
    T->mu = L.mu;
    const bool real = !L.QComplex;
    Buffer<Complex16> a0;
    if (!a0.Allocate(static_cast<size_t>(M) * M)) {
        printf("malloc failed in %s\n", who);
        FreeBlockTriDiagonalMatrix(T);
        return 1;
    }
    for (uint32_t r = 0; r < M; r++)
        for (uint32_t c = 0; c < M; c++) a0[r * M + c] = BlockListOfPolesConstant(L, r, c);
    if (ArrayToBlock(a0.p, M, false, real, &T->a[0]) != 0 ||
        (run.steps > 0 && ArrayToBlock(run.R0.p, M, true, real, &T->b[0]) != 0) ||
        StoreChain(run, M, 1, real, T, who) != 0) {
        printf("InitCompactMatrix failed in %s\n", who);
        FreeBlockTriDiagonalMatrix(T);
        return 1;
    }
    return 0;
}

// A view of the chain from site `from` on (from >= 1): its site i is site
// from-1+i of T; its constant and source coupling are not meaningful.
BlockTriDiagonalMatrixType ChainTail(const BlockTriDiagonalMatrixType& T, uint32_t from) {
    BlockTriDiagonalMatrixType v = T;
    v.N = T.N - (from - 1);
    v.a = T.a + (from - 1);
    v.b = T.b + (from - 1);
    return v;
}

// The list of the poles of L at or below mu (val) or above it (con), with a
// zero constant.
int SplitList(const BlockListOfPoles& L, double mu, bool valence, BlockListOfPoles* out, const char* who) {
    uint32_t n = 0;
    for (uint32_t k = 0; k < L.N; k++)
        if ((BlockListOfPolesEnergy(L, k) <= mu) == valence) n++;
    out->N = n;
    out->M = L.M;
    out->QComplex = L.QComplex;
    if (InitBlockListOfPoles(out) != 0) {
        printf("InitBlockListOfPoles failed in %s\n", who);
        return 1;
    }
    CopyName(out->Name, L.Name);
    out->mu = mu;
    const size_t S = BlockListOfPolesSlice(L.M);
    const size_t es = L.QComplex ? sizeof(Complex16) : sizeof(double);
    uint32_t j = 0;
    for (uint32_t k = 0; k < L.N; k++)
        if ((BlockListOfPolesEnergy(L, k) <= mu) == valence) {
            memcpy(static_cast<char*>(out->Value) + j * S * es, static_cast<const char*>(L.Value) + k * S * es, S * es);
            j++;
        }
    return 0;
}

int ListToNatural(const BlockListOfPoles& L, BlockNaturalImpurityOrbitalMatrixType* B, double mu, unsigned int n,
                  unsigned int m, bool reducePoles, const char* who) {
    BlockListOfPoles half[2];
    for (int s = 0; s < 2; s++) {
        if (SplitList(L, mu, s == 0, &half[s], who) != 0) {
            if (s == 1) FreeBlockListOfPoles(&half[0]);
            return 1;
        }
    }
    const unsigned int limit[2] = {n, m};
    BlockTriDiagonalMatrixType chain[2];
    int made = 0;
    int fail = 0;
    for (int s = 0; s < 2 && !fail; s++) {
        if (reducePoles && limit[s] > 0 && half[s].N > limit[s] &&
            ReduceBlockListOfPoles(&half[s], limit[s], DBL_MIN) != 0) {
            printf("ReduceBlockListOfPoles failed in %s\n", who);
            fail = 1;
            break;
        }
        if (ListToChain(half[s], &chain[s], reducePoles ? 0 : limit[s], who) != 0) {
            fail = 1;
            break;
        }
        made++;
    }
    FreeBlockListOfPoles(&half[0]);
    FreeBlockListOfPoles(&half[1]);
    if (!fail) {
        B->M = L.M;
        B->val.N = 0;
        B->con.N = 0;
        if (InitBlockNaturalImpurityOrbitalMatrix(B) != 0) {
            printf("InitBlockNaturalImpurityOrbitalMatrix failed in %s\n", who);
            fail = 1;
        }
    }
    if (fail) {
        for (int s = 0; s < made; s++) FreeBlockTriDiagonalMatrix(&chain[s]);
        return 1;
    }
    FreeBlockTriDiagonalMatrix(&B->val);
    FreeBlockTriDiagonalMatrix(&B->con);
    B->val = chain[0];
    B->con = chain[1];
    CopyName(B->Name, L.Name);
    B->mu = mu;
    const uint32_t M = L.M;
    Buffer<Complex16> eps;
    if (!eps.Allocate(static_cast<size_t>(M) * M)) {
        printf("malloc failed in %s\n", who);
        FreeBlockNaturalImpurityOrbitalMatrix(B);
        return 1;
    }
    for (uint32_t r = 0; r < M; r++)
        for (uint32_t c = 0; c < M; c++) eps[r * M + c] = BlockListOfPolesConstant(L, r, c);
    if (ArrayToBlock(eps.p, M, false, !L.QComplex, &B->epsilon) != 0 ||
        SetTMTFromValandConInBlockNaturalImpurityOrbitalMatrixType(B) != 0) {
        printf("InitCompactMatrix failed in %s\n", who);
        FreeBlockNaturalImpurityOrbitalMatrix(B);
        return 1;
    }
    return 0;
}

template <class Convert, class Source>
int ToListOnGrid(Convert convert, const Source& src, BlockListOfPoles* L, const double* grid, unsigned int n,
                 const char* who) {
    if (convert(src, L) != 0) {
        printf("conversion to a list of poles failed in %s\n", who);
        return 1;
    }
    if (BlockListOfPolesPlaceOnMesh(L, grid, n) != 0) {
        printf("BlockListOfPolesPlaceOnMesh failed in %s\n", who);
        FreeBlockListOfPoles(L);
        return 1;
    }
    return 0;
}

}  // namespace

// ---- Hamiltonians -------------------------------------------------------------

int BlockTriDiagonalMatrixToHamiltonian(BlockTriDiagonalMatrixType T, CompactMatrixType* H) {
    const size_t M = T.M;
    const size_t n = T.N * M;
    Buffer<Complex16> x;
    if (!x.Allocate(n * n)) {
        printf("malloc failed in BlockTriDiagonalMatrixToHamiltonian\n");
        return 1;
    }
    for (uint32_t i = 1; i <= T.N; i++) {
        PlaceBlock(x.p, n, (i - 1) * M, (i - 1) * M, T.a[i], false);
        if (i < T.N) {
            PlaceBlock(x.p, n, (i - 1) * M, i * M, T.b[i], false);
            PlaceBlock(x.p, n, (i - 1) * M, i * M, T.b[i], true);
        }
    }
    if (ArrayToHamiltonian(x.p, n, !AnyComplexBlock(T), H) != 0) {
        printf("InitCompactMatrix failed in BlockTriDiagonalMatrixToHamiltonian\n");
        return 1;
    }
    return 0;
}

int BlockAndersonMatrixToHamiltonian(BlockAndersonMatrixType A, CompactMatrixType* H) {
    const size_t M = A.M;
    const size_t n = A.N * M;
    Buffer<Complex16> x;
    if (!x.Allocate(n * n)) {
        printf("malloc failed in BlockAndersonMatrixToHamiltonian\n");
        return 1;
    }
    for (uint32_t k = 1; k <= A.N; k++) {
        PlaceBlock(x.p, n, (k - 1) * M, (k - 1) * M, A.a[k], false);
        if (k >= 2) {
            PlaceBlock(x.p, n, 0, (k - 1) * M, A.b[k - 1], false);
            PlaceBlock(x.p, n, 0, (k - 1) * M, A.b[k - 1], true);
        }
    }
    if (ArrayToHamiltonian(x.p, n, !AnyComplexBlock(A), H) != 0) {
        printf("InitCompactMatrix failed in BlockAndersonMatrixToHamiltonian\n");
        return 1;
    }
    return 0;
}

namespace {

template <class R, int (*ToH)(R, CompactMatrixType*)>
int HamiltonianEigenvalues(const R& T, double* values, const char* who) {
    if (T.N == 0) return 0;
    CompactMatrixType H;
    if (ToH(T, &H) != 0) return 1;
    CompactMatrixType V;
    const int fail = CompactMatrixEigensystem(&H, &V, values);
    FreeCompactMatrix(&H);
    if (fail) {
        printf("CompactMatrixEigensystem failed in %s\n", who);
        return 1;
    }
    FreeCompactMatrix(&V);
    return 0;
}

template <class R, int (*ToH)(R, CompactMatrixType*)>
int ChainLikeToList(const R& T, BlockListOfPoles* L, const char* who) {
    CompactMatrixType H;
    if (ToH(T, &H) != 0) return 1;
    const int fail = HamiltonianToBlockListOfPoles(H, T.a[0], T.b[0], T.M, L, who);
    FreeCompactMatrix(&H);
    if (fail) return 1;
    CopyName(L->Name, T.Name);
    L->mu = T.mu;
    return 0;
}

}  // namespace

int BlockTriDiagonalMatrixToEigenvalues(BlockTriDiagonalMatrixType T, double* values) {
    return HamiltonianEigenvalues<BlockTriDiagonalMatrixType, BlockTriDiagonalMatrixToHamiltonian>(
        T, values, "BlockTriDiagonalMatrixToEigenvalues");
}

int BlockAndersonMatrixToEigenvalues(BlockAndersonMatrixType A, double* values) {
    return HamiltonianEigenvalues<BlockAndersonMatrixType, BlockAndersonMatrixToHamiltonian>(
        A, values, "BlockAndersonMatrixToEigenvalues");
}

// ---- towards the list ---------------------------------------------------------

int BlockTriDiagonalMatrixToBlockListOfPoles(BlockTriDiagonalMatrixType T, BlockListOfPoles* L) {
    return ChainLikeToList<BlockTriDiagonalMatrixType, BlockTriDiagonalMatrixToHamiltonian>(
        T, L, "BlockTriDiagonalMatrixToBlockListOfPoles");
}

int BlockAndersonMatrixToBlockListOfPoles(BlockAndersonMatrixType A, BlockListOfPoles* L) {
    return ChainLikeToList<BlockAndersonMatrixType, BlockAndersonMatrixToHamiltonian>(
        A, L, "BlockAndersonMatrixToBlockListOfPoles");
}

int BlockNaturalImpurityOrbitalMatrixToBlockListOfPoles(BlockNaturalImpurityOrbitalMatrixType B,
                                                        BlockListOfPoles* L) {
    const char* who = "BlockNaturalImpurityOrbitalMatrixToBlockListOfPoles";
    BlockListOfPoles con;
    if (BlockTriDiagonalMatrixToBlockListOfPoles(B.val, L) != 0) {
        printf("BlockTriDiagonalMatrixToBlockListOfPoles failed in %s\n", who);
        return 1;
    }
    if (BlockTriDiagonalMatrixToBlockListOfPoles(B.con, &con) != 0) {
        printf("BlockTriDiagonalMatrixToBlockListOfPoles failed in %s\n", who);
        FreeBlockListOfPoles(L);
        return 1;
    }
    // The epsilon block joins the constants as a list without poles.
    BlockListOfPoles eps;
    eps.N = 0;
    eps.M = B.M;
    eps.QComplex = B.epsilon.QComplex;
    int fail = AddBlockListOfPoles(L, con);
    FreeBlockListOfPoles(&con);
    if (!fail && InitBlockListOfPoles(&eps) == 0) {
        for (uint32_t r = 0; r < B.M; r++)
            for (uint32_t c = 0; c < B.M; c++) {
                const Complex16 v = CompactMatrixElement(B.epsilon, r, c);
                if (eps.QComplex)
                    static_cast<Complex16*>(eps.Value)[1 + r * B.M + c] = v;
                else
                    static_cast<double*>(eps.Value)[1 + r * B.M + c] = v.re;
            }
        fail = AddBlockListOfPoles(L, eps);
        FreeBlockListOfPoles(&eps);
    } else {
        fail = 1;
    }
    if (fail || OrderBlockListOfPoles(L) != 0) {
        printf("AddBlockListOfPoles failed in %s\n", who);
        FreeBlockListOfPoles(L);
        return 1;
    }
    CopyName(L->Name, B.Name);
    L->mu = B.mu;
    return 0;
}

int BlockTriDiagonalMatrixToBlockListOfPolesVariableGrid(BlockTriDiagonalMatrixType T, BlockListOfPoles* L,
                                                         const double* grid, unsigned int n) {
    return ToListOnGrid(BlockTriDiagonalMatrixToBlockListOfPoles, T, L, grid, n,
                        "BlockTriDiagonalMatrixToBlockListOfPolesVariableGrid");
}

int BlockAndersonMatrixToBlockListOfPolesVariableGrid(BlockAndersonMatrixType A, BlockListOfPoles* L,
                                                      const double* grid, unsigned int n) {
    return ToListOnGrid(BlockAndersonMatrixToBlockListOfPoles, A, L, grid, n,
                        "BlockAndersonMatrixToBlockListOfPolesVariableGrid");
}

int BlockNaturalImpurityOrbitalMatrixToBlockListOfPolesVariableGrid(BlockNaturalImpurityOrbitalMatrixType B,
                                                                    BlockListOfPoles* L, const double* grid,
                                                                    unsigned int n) {
    return ToListOnGrid(BlockNaturalImpurityOrbitalMatrixToBlockListOfPoles, B, L, grid, n,
                        "BlockNaturalImpurityOrbitalMatrixToBlockListOfPolesVariableGrid");
}

// ---- towards the chain and the star ---------------------------------------------

int BlockListOfPolesToBlockTriDiagonalMatrix(BlockListOfPoles L, BlockTriDiagonalMatrixType* T, unsigned int n) {
    return ListToChain(L, T, n, "BlockListOfPolesToBlockTriDiagonalMatrix");
}

int BlockAndersonMatrixToBlockTriDiagonalMatrix(BlockAndersonMatrixType A, BlockTriDiagonalMatrixType* T) {
    const char* who = "BlockAndersonMatrixToBlockTriDiagonalMatrix";
    const uint32_t M = A.M;
    const size_t MM = static_cast<size_t>(M) * M;
    const uint32_t nb = A.N > 1 ? A.N - 1 : 0;
    Buffer<Complex16> h;
    Buffer<Complex16> W;
    if (!h.Allocate(nb * MM) || !W.Allocate(nb * MM)) {
        printf("malloc failed in %s\n", who);
        return 1;
    }
    // Bath level k (k = 2..N) couples to the first site with b[k-1], so its
    // rows of the starting block are b[k-1]^dagger.
    for (uint32_t k = 2; k <= A.N; k++) {
        BlockToArray(A.a[k], h.p + (k - 2) * MM);
        for (uint32_t r = 0; r < M; r++)
            for (uint32_t c = 0; c < M; c++)
                W[(k - 2) * MM + r * M + c] = Conjugate(CompactMatrixElement(A.b[k - 1], c, r));
    }
    LanczosChain run;
    if (nb > 0 && BathLanczos(h.p, nb, M, W.p, 0, &run, who) != 0) return 1;
    T->N = A.N == 0 ? 0 : 1 + run.steps;
    T->M = M;
    if (InitBlockTriDiagonalMatrix(T) != 0) {
        printf("InitBlockTriDiagonalMatrix failed in %s\n", who);
        return 1;
    }
    CopyName(T->Name, A.Name);
    T->mu = A.mu;
    const bool real = !AnyComplexBlock(A);
    int fail = CopyBlockInto(A.a[0], &T->a[0]) || CopyBlockInto(A.b[0], &T->b[0]);
    if (!fail && A.N > 0) fail = CopyBlockInto(A.a[1], &T->a[1]);
    if (!fail && run.steps > 0)
        fail = ArrayToBlock(run.R0.p, M, true, real, &T->b[1]) || StoreChain(run, M, 2, real, T, who);
    if (fail) {
        printf("InitCompactMatrix failed in %s\n", who);
        FreeBlockTriDiagonalMatrix(T);
        return 1;
    }
    return 0;
}

int BlockTriDiagonalMatrixToBlockAndersonMatrix(BlockTriDiagonalMatrixType T, BlockAndersonMatrixType* A) {
    const char* who = "BlockTriDiagonalMatrixToBlockAndersonMatrix";
    const uint32_t M = T.M;
    A->N = T.N;
    A->M = M;
    if (InitBlockAndersonMatrix(A) != 0) {
        printf("InitBlockAndersonMatrix failed in %s\n", who);
        return 1;
    }
    CopyName(A->Name, T.Name);
    A->mu = T.mu;
    int fail = CopyBlockInto(T.a[0], &A->a[0]) || CopyBlockInto(T.b[0], &A->b[0]);
    if (!fail && T.N > 0) fail = CopyBlockInto(T.a[1], &A->a[1]);
    if (fail) {
        printf("CompactMatrixCopy failed in %s\n", who);
        FreeBlockAndersonMatrix(A);
        return 1;
    }
    if (T.N < 2) return 0;
    // The chain from site 2 on is the bath of site 1: its eigenstates, M at
    // a time, are the bath levels, coupled through b[1] and their components
    // on site 2.
    CompactMatrixType H;
    if (BlockTriDiagonalMatrixToHamiltonian(ChainTail(T, 2), &H) != 0) {
        FreeBlockAndersonMatrix(A);
        return 1;
    }
    const size_t n = H.Ni;
    Buffer<double> w;
    CompactMatrixType V;
    if (!w.Allocate(n) || CompactMatrixEigensystem(&H, &V, w.p) != 0) {
        printf("CompactMatrixEigensystem failed in %s\n", who);
        FreeCompactMatrix(&H);
        FreeBlockAndersonMatrix(A);
        return 1;
    }
    const bool real = !H.QComplex && !T.b[1].QComplex;
    FreeCompactMatrix(&H);
    const size_t MM = static_cast<size_t>(M) * M;
    Buffer<Complex16> level;
    Buffer<Complex16> coupling;
    if (!level.Allocate(MM) || !coupling.Allocate(MM)) {
        printf("malloc failed in %s\n", who);
        FreeCompactMatrix(&V);
        FreeBlockAndersonMatrix(A);
        return 1;
    }
    for (uint32_t g = 0; g + 2 <= T.N; g++) {
        for (size_t i = 0; i < MM; i++) level[i] = Cnum(0.0, 0.0);
        for (uint32_t j = 0; j < M; j++) {
            const uint32_t k = g * M + j;
            level[j * M + j] = Cnum(w[k], 0.0);
            for (uint32_t r = 0; r < M; r++) {
                Complex16 s = Cnum(0.0, 0.0);
                for (uint32_t c = 0; c < M; c++) s += CompactMatrixElement(T.b[1], r, c) * CompactMatrixElement(V, k, c);
                coupling[r * M + j] = s;
            }
        }
        if (ArrayToBlock(level.p, M, false, true, &A->a[g + 2]) != 0 ||
            ArrayToBlock(coupling.p, M, false, real, &A->b[g + 1]) != 0) {
            printf("InitCompactMatrix failed in %s\n", who);
            FreeCompactMatrix(&V);
            FreeBlockAndersonMatrix(A);
            return 1;
        }
    }
    FreeCompactMatrix(&V);
    return 0;
}

int BlockListOfPolesToBlockAndersonMatrix(BlockListOfPoles L, BlockAndersonMatrixType* A) {
    BlockTriDiagonalMatrixType T;
    if (BlockListOfPolesToBlockTriDiagonalMatrix(L, &T, 0) != 0) {
        printf("BlockListOfPolesToBlockTriDiagonalMatrix failed in BlockListOfPolesToBlockAndersonMatrix\n");
        return 1;
    }
    const int fail = BlockTriDiagonalMatrixToBlockAndersonMatrix(T, A);
    if (fail) printf("BlockTriDiagonalMatrixToBlockAndersonMatrix failed in BlockListOfPolesToBlockAndersonMatrix\n");
    FreeBlockTriDiagonalMatrix(&T);
    return fail;
}

int BlockListOfPolesToBlockNaturalImpurityOrbitalMatrix(BlockListOfPoles L, BlockNaturalImpurityOrbitalMatrixType* B,
                                                        double mu, unsigned int n, unsigned int m) {
    return ListToNatural(L, B, mu, n, m, true, "BlockListOfPolesToBlockNaturalImpurityOrbitalMatrix");
}

int BlockListOfPolesToBlockNaturalImpurityOrbitalMatrixReduceDimension(BlockListOfPoles L,
                                                                       BlockNaturalImpurityOrbitalMatrixType* B,
                                                                       double mu, unsigned int n, unsigned int m) {
    return ListToNatural(L, B, mu, n, m, false,
                         "BlockListOfPolesToBlockNaturalImpurityOrbitalMatrixReduceDimension");
}
