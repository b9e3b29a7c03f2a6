#include "krylov/blockgroundstate.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/verbosity.h"
#include "manybody/operator_algebra.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"
#include "numeric/compactmatrix.h"

namespace {

const uint32_t kProgress = 0x1;
const uint32_t kIterations = 0x100;

Complex16 Dot(const WaveFunctionType& a, const WaveFunctionType& b) {
    double re = 0.0, im = 0.0;
    WaveFunctionDotProduct(a, b, &re, &im);
    return Complex16{re, im};
}

Complex16 DotSame(const WaveFunctionType& a, const WaveFunctionType& b) {
    double re = 0.0, im = 0.0;
    WaveFunctionDotProductSameBasis(a, b, &re, &im);
    return Complex16{re, im};
}

// a += z b on one basis.
void AxpySame(WaveFunctionType& a, const WaveFunctionType& b, Complex16 z) {
    if (a.QComplex)
        WaveFunctionAddComplexMultipliedSameBasis(a, b, z.re, z.im);
    else
        WaveFunctionAddMultipliedSameBasis(a, b, z.re);
}

double NormSame(const WaveFunctionType& a) {
    double n = 0.0;
    WaveFunctionCalculateNorm(a, &n);
    return n;
}

// The hash width for a basis of `count` determinants.
uint32_t KeyBits(uint32_t count) {
    uint32_t b = 8;
    if (count > 128)
        while (b < 31 && ((uint64_t)1 << b) < count) b++;
    return b;
}

void ResizeKeys(WaveFunctionType* psi, unsigned int N, uint32_t bits) {
    if (psi[0].NBitsKey != bits) BlockWaveFunctionResetKeylist(psi, N, bits);
}

// The coefficients of the functions of a block from the rows of V.
void SetFromRows(WaveFunctionType* psi, unsigned int N, const CompactMatrixType& V) {
    for (unsigned int n = 0; n < N && n < V.Ni; n++) {
        WaveFunctionType& f = psi[n];
        for (uint32_t i = 1; i <= f.N; i++) {
            const Complex16 v = CompactMatrixElement(V, n, i - 1);
            WaveFunctionRe(f, i) = v.re;
            if (f.QComplex) WaveFunctionIm(f, i) = v.im;
        }
    }
    for (unsigned int n = V.Ni; n < N; n++) WaveFunctionMultiply(&psi[n], 0.0, 0.0);
}

// Orthogonalises w against v[0..n-1]; a second pass runs only when the first
// removed most of w (the classical "twice is enough" test).  The overlaps go
// into column (added up over the passes).
void Orthogonalize(WaveFunctionType& w, std::vector<WaveFunctionType>& v, uint32_t n, std::vector<Complex16>* column) {
    const double before = NormSame(w);
    for (int pass = 0; pass < 2; pass++) {
        for (uint32_t j = 0; j < n; j++) {
            const Complex16 d = DotSame(v[j], w);
            if (column != nullptr) {
                (*column)[j].re += d.re;
                (*column)[j].im += d.im;
            }
            AxpySame(w, v[j], Complex16{-d.re, -d.im});
        }
        if (NormSame(w) > 0.7 * before) break;
    }
}

// Restarted block Krylov solve on the fixed basis of psi, thick-restarted:
// from a block of orthonormal vectors the Krylov space is grown to K
// vectors with H applied to each, the projected matrix is diagonalised, and
// the lowest Ritz vectors (N and some more) start the next restart, until
// the N lowest Ritz values settle.
int KrylovSolve(OperatorType* H, WaveFunctionType* psi, unsigned int N, ConvergenceSettingsType* s) {
    VerbosityPrintf(kProgress, "In BlockLanczosGroundStateConserveBasisKrylov%s\n", H->QComplex ? "Complex" : "Real");
    const uint32_t dim = psi[0].N;
    uint32_t K = s->NKrylovStart + N;
    if (K > s->NKrylovMax + N) K = s->NKrylovMax + N;
    if (K > dim) K = dim;
    uint32_t keep = std::min<uint32_t>(N + 16, std::max<uint32_t>(N, K / 2));
    // v: the Krylov vectors; r: the kept Ritz vectors; w: the work vector.
    std::vector<WaveFunctionType> v(K), r(keep);
    WaveFunctionType w;
    std::vector<WaveFunctionType*> all;
    for (auto& x : v) all.push_back(&x);
    for (auto& x : r) all.push_back(&x);
    all.push_back(&w);
    uint32_t made = 0;
    const bool complexValues = psi[0].QComplex != 0 || H->QComplex != 0;
    for (WaveFunctionType* x : all) {
        if (WaveFunctionInitCopyBasis(x, psi[0]) != 0) break;
        if (complexValues && x->QComplex == 0 && PromoteRealWaveFunctionToComplex(x) != 0) {
            WaveFunctionFreeValues(x);
            break;
        }
        made++;
    }
    if (made < all.size()) {
        for (uint32_t k = 0; k < made; k++) WaveFunctionFreeValues(all[k]);
        printf("malloc failed in BlockLanczosGroundStateConserveBasis");
        return 1;
    }
    // The first block: the given functions, orthonormal.
    uint32_t start = 0;
    for (unsigned int n = 0; n < N; n++) {
        WaveFunctionMultiply(&v[start], 0.0, 0.0);
        AxpySame(v[start], psi[n], Complex16{1.0, 0.0});
        Orthogonalize(v[start], v, start, nullptr);
        const double norm = NormSame(v[start]);
        if (norm < 1e-10) continue;
        WaveFunctionMultiply(&v[start], 1.0 / norm, 0.0);
        start++;
    }
    std::vector<double> previous(N, 1e99);
    for (int restart = 1; restart <= 200 && start > 0; restart++) {
        std::vector<std::vector<Complex16>> T;
        uint32_t have = start;
        for (uint32_t k = 0; k < have; k++) {
            OperatorPsiConserveBasisPreAllocated(H, &v[k], &w);
            std::vector<Complex16> column(K, Complex16{0.0, 0.0});
            Orthogonalize(w, v, have, &column);
            const double norm = NormSame(w);
            if (have < K && norm > 1e-12 * (1.0 + std::fabs(column[k].re))) {
                // The new vector is (H v_k - its projections) / norm, so
                // that <new|H v_k> = norm.
                column[have] = Complex16{norm, 0.0};
                WaveFunctionMultiply(&w, 1.0 / norm, 0.0);
                std::swap(v[have], w);
                have++;
            }
            T.push_back(column);
        }
        CompactMatrixType M{};
        M.Ni = M.Nj = have;
        M.QComplex = complexValues ? 1 : 0;
        if (InitCompactMatrix(&M) != 0) break;
        for (uint32_t c = 0; c < have; c++)
            for (uint32_t row = 0; row < have; row++) {
                // Hermitian: the mean of (row, c) and the conjugate of (c, row).
                const Complex16 a = T[c][row], b = T[row][c];
                const Complex16 m{(a.re + b.re) / 2, (a.im - b.im) / 2};
                if (M.QComplex)
                    ((Complex16*)M.data)[(size_t)row * have + c] = m;
                else
                    ((double*)M.data)[(size_t)row * have + c] = m.re;
            }
        CompactMatrixType V{};
        std::vector<double> ev(have);
        const int fail = CompactMatrixEigensystem(&M, &V, ev.data());
        FreeCompactMatrix(&M);
        if (fail != 0) break;
        VerbosityPrintf(kIterations, "  Restart loop %i with a Krylov basis of %i and a full basis of %i\n", restart,
                        (int)have, (int)dim);
        for (unsigned int n = 0; n < N && n < have; n++)
            VerbosityPrintf(kIterations, "    Eigenvalue %3i = %22.15E\n", (int)n, ev[n]);
        // The lowest Ritz vectors.
        const uint32_t kept = std::min(keep, have);
        for (uint32_t n = 0; n < kept; n++) {
            WaveFunctionMultiply(&r[n], 0.0, 0.0);
            for (uint32_t j = 0; j < have; j++) {
                const Complex16 c = CompactMatrixElement(V, n, j);
                if (r[n].QComplex)
                    WaveFunctionAddComplexMultipliedSameBasis(r[n], v[j], c.re, c.im);
                else
                    WaveFunctionAddMultipliedSameBasis(r[n], v[j], c.re);
            }
        }
        FreeCompactMatrix(&V);
        for (uint32_t n = 0; n < kept; n++) std::swap(v[n], r[n]);
        start = kept;
        double change = 0.0, scale = 0.0;
        for (unsigned int n = 0; n < N && n < have; n++) {
            change = std::fmax(change, std::fabs(ev[n] - previous[n]));
            scale = std::fmax(scale, std::fabs(ev[n]));
            previous[n] = ev[n];
        }
        if (have == dim || change <= 1e-2 * s->zero * (1.0 + scale)) break;
    }
    for (unsigned int n = 0; n < N; n++) {
        WaveFunctionMultiply(&psi[n], 0.0, 0.0);
        if (n < start) AxpySame(psi[n], v[n], Complex16{1.0, 0.0});
    }
    for (WaveFunctionType* x : all) WaveFunctionFreeValues(x);
    return 0;
}

// Applies H to the block with growth; doubles epsilon and truncates on a
// memory failure.
int ApplyBlock(OperatorType* H, WaveFunctionType* psi, unsigned int N, ConvergenceSettingsType* s,
               const DeterminantRestrictionType& R, WaveFunctionType* W) {
    for (;;) {
        const int fail = R.NRestriction != 0 ? BlockOperatorPsiRestricted(*H, psi, W, R, N) : BlockOperatorPsi(*H, psi, W, N);
        if (fail == 0) return 0;
        if (psi[0].NBlok <= 1) {
            printf("Run outof memory need to truncate but NBlok=1\n You're screwed");
            return 1;
        }
        const double old = s->epsilon;
        s->epsilon *= 2.0;
        printf("Out off memory increase epsilon from %22.15E to %22.15E\n", old, s->epsilon);
        BlockWaveFunctionTruncateBasis(psi, N, s->epsilon);
    }
}

int GroundStateTurns(OperatorType* H, unsigned int N, ConvergenceSettingsType* s, const DeterminantRestrictionType& R,
                     WaveFunctionType* psi) {
    ResizeKeys(psi, N, KeyBits(psi[0].N) + 1);
    // The energy scale: the square of the energy of a random state.
    double scale = 0.0;
    {
        WaveFunctionType r;
        if (WaveFunctionCopy(psi[0], &r) == 0) {
            for (uint32_t i = 1; i <= r.N; i++) {
                WaveFunctionRe(r, i) = (double)rand() - 1073741823.0;
                if (r.QComplex) WaveFunctionIm(r, i) = (double)rand() - 1073741823.0;
            }
            WaveFunctionNormalize(&r);
            double e = 0.0, im = 0.0;
            WaveFunctionType hr;
            if (OperatorPsi(*H, r, &hr) == 0) {
                WaveFunctionDotProduct(r, hr, &e, &im);
                WaveFunctionFree(&hr);
            }
            scale = e * e;
            WaveFunctionFree(&r);
        }
    }
    VerbosityPrintf(kProgress,
                    "Start of BlockGroundState. Converge %i states to an energy with relative variance smaller than "
                    "%22.15E\n\n",
                    (int)N, s->zero);
    std::vector<double> E(N, 1e99), E2(N, 0.0);
    for (int turn = 1; turn <= 100; turn++) {
        std::vector<WaveFunctionType> W(N);
        if (ApplyBlock(H, psi, N, s, R, W.data()) != 0) return 1;
        ResizeKeys(W.data(), N, KeyBits(W[0].N));
        VerbosityPrintf(kIterations, "Number of determinants in basis %i (and basis of H psi %i) with size of lookuptable %i\n",
                        (int)psi[0].N, (int)W[0].N, (int)(1u << W[0].NBitsKey));
        VerbosityPrintf(kIterations, "State # |   Energy               |  Variance of Energy    |  Energy change\n");
        bool converged = true;
        double maxVariance = 0.0;
        for (unsigned int i = 0; i < N; i++) {
            const double prev = E[i];
            E[i] = Dot(psi[i], W[i]).re;
            E2[i] = DotSame(W[i], W[i]).re;
            scale += E2[i];
            const double variance = E2[i] - E[i] * E[i];
            VerbosityPrintf(kIterations, "%7i | %22.15E | %22.15E | %22.15E\n", (int)i, E[i], variance, E[i] - prev);
            if (variance > scale * s->zero / N + 2.2250738585072014e-308) converged = false;
            maxVariance = std::fmax(maxVariance, variance);
        }
        VerbosityPrintf(kIterations, "Converged %i\n", converged ? 1 : 0);
        if (converged) {
            BlockWaveFunctionFree(W.data(), N);
            return 0;
        }
        VerbosityPrintf(kProgress, "Outer loop %3i, Number of Determinants: %9i %9i last variance %22.15E\n", turn,
                        (int)psi[0].N, (int)W[0].N, E2[N - 1] - E[N - 1] * E[N - 1]);
        BlockWaveFunctionFree(psi, N);
        for (unsigned int i = 0; i < N; i++) psi[i] = W[i];
        if (BlockLanczosGroundStateConserveBasis(H, psi, N, s) != 0) {
            printf("Run outof memory in BlockLanczosGroundStateConserveBasis, that's not good an no good solution is "
                   "implemented");
            return 1;
        }
        BlockWaveFunctionTruncateBasis(psi, N, s->epsilon);
    }
    return 0;
}

// Every determinant of NF fermions that meets R, by a depth-first walk that
// prunes with the restriction tests.
void EnumerateDeterminants(unsigned int mode, unsigned int NF, uint8_t* det, const DeterminantRestrictionType& R,
                           WaveFunctionType* out, unsigned int nword) {
    if (mode == NF) {
        if (QDetNotRestricted(det, NF, 0, nword, R)) WaveFunctionAddElement(out, det, 1.0, 0.0);
        return;
    }
    const uint8_t bit = (uint8_t)(0x80 >> (mode % 8));
    if (!QMustOccupy(mode, NF, det, R)) EnumerateDeterminants(mode + 1, NF, det, R, out, nword);
    if (!QCanNotOccupy(mode, NF, det, R)) {
        det[mode / 8] |= bit;
        EnumerateDeterminants(mode + 1, NF, det, R, out, nword);
        det[mode / 8] &= (uint8_t)~bit;
    }
}

}  // namespace

int BlockLanczosGroundStateConserveBasisDense(OperatorType H, WaveFunctionType* psi, unsigned int N) {
    VerbosityPrintf(kProgress, "Start of BlockLanczosGroundStateConserveBasisDense\n");
    if (H.QComplex != 0 && psi[0].QComplex == 0) {
        VerbosityPrintf(kProgress, "Complex Hamiltonian on real wave-function, make functions complex\n");
        for (unsigned int n = 0; n < N; n++)
            if (PromoteRealWaveFunctionToComplex(&psi[n]) != 0) {
                printf("MakeComplexWaveFunctionFromReal failed in BlockLanczosGroundStateConserveBasisDense");
                return 1;
            }
    }
    CompactMatrixType D{}, V{};
    if (OperatorToDeterminantMatrix(H, psi[0], &D) != 0) {
        printf("InitCompactMatrix failed in BlockLanczosGroundStateConserveBasisDense");
        return 1;
    }
    std::vector<double> ev(psi[0].N);
    const int fail = CompactMatrixEigensystem(&D, &V, ev.data());
    FreeCompactMatrix(&D);
    if (fail != 0) return 1;
    for (size_t i = 0; i < ev.size() && i < N; i++) VerbosityPrintf(0x2 << 8, "val[%3i] = %22.15E\n", (int)i, ev[i]);
    SetFromRows(psi, N, V);
    FreeCompactMatrix(&V);
    return 0;
}

int BlockLanczosGroundStateConserveBasis(OperatorType* H, WaveFunctionType* psi, unsigned int N,
                                         ConvergenceSettingsType* settings) {
    VerbosityPrintf(kProgress, "Start of BlockLanczosGroundStateConserveBasis\n");
    if (psi[0].N <= settings->DenseBorder) return BlockLanczosGroundStateConserveBasisDense(*H, psi, N);
    if (H->QComplex != 0 && psi[0].QComplex == 0)
        for (unsigned int n = 0; n < N; n++)
            if (PromoteRealWaveFunctionToComplex(&psi[n]) != 0) return 1;
    if (KrylovSolve(H, psi, N, settings) != 0) {
        printf("BlockLanczosGroundStateConserveBasisKrylov failed in BlockLanczosGroundStateConserveBasis\n");
        return 1;
    }
    return 0;
}

int CreateStartingFunctions(OperatorType H, unsigned int N, DeterminantRestrictionType restrictions,
                            WaveFunctionType* psi, unsigned int nBitsKey) {
    if (N == 0) return 0;
    WaveFunctionType base;
    base.QComplex = H.QComplex != 0 ? 1 : 0;
    base.NFermion = H.NF;
    base.NBoson = H.NB;
    base.NBitsKey = nBitsKey;
    if (WaveFunctionInit(&base) != 0) {
        printf("WaveFunctionInit failed in CreateStartingFunctions");
        return 1;
    }
    const unsigned int nword = base.NWord;
    std::vector<uint8_t> det(nword, 0);
    if (H.NF <= 24 && H.NB == 0) {
        EnumerateDeterminants(0, H.NF, det.data(), restrictions, &base, nword);
        VerbosityPrintf(kProgress, "All possible states psi0 created in CreateStartingFunctions\n");
    } else {
        const unsigned int count = std::min(100 * N + 300, 5000u);
        std::vector<double> used(H.NF, 0.0);
        double mean = 0.5;
        for (unsigned int k = 1; k <= count; k++) {
            std::fill(det.begin(), det.end(), 0);
            unsigned int occupied = 0;
            for (unsigned int o = 0; o < H.NF; o++) {
                const bool must = QMustOccupy(o, H.NF, det.data(), restrictions) != 0;
                const bool cannot = QCanNotOccupy(o, H.NF, det.data(), restrictions) != 0;
                if (must && cannot) {
                    printf("Cannot fullfill all restrictions in CreateStartingFunctions");
                    WaveFunctionFree(&base);
                    return 1;
                }
                bool take = must;
                if (!must && !cannot) {
                    const double r = 2.0 * rand() / 2147483647.0;
                    take = used[o] < (double)k * k * mean * r * r / 200.0;
                }
                if (take) {
                    det[o / 8] |= (uint8_t)(0x80 >> (o % 8));
                    used[o] += 1.0;
                    occupied++;
                }
            }
            mean = (mean * (k - 1) + (double)occupied / H.NF) / k;
            if (QDetNotRestricted(det.data(), H.NF, H.NB, nword, restrictions))
                WaveFunctionAddElement(&base, det.data(), 1.0, 0.0);
        }
        VerbosityPrintf(kProgress, "Random state psi0 created in CreateStartingFunctions\n");
        WaveFunctionRandomize(&base);
        WaveFunctionNormalize(&base);
        WaveFunctionType grown;
        if (OperatorPsiRestricted(H, base, &grown, restrictions) != 0) {
            printf("OperatorPsiRestricted failed in CreateStartingFunctions");
            WaveFunctionFree(&base);
            return 1;
        }
        WaveFunctionAddUnionBasis(&base, grown);
        WaveFunctionFree(&grown);
    }
    if (base.N < N)
        printf("Warning: Number of states to find smaller than number of determinants in random starting vector\n");
    for (unsigned int n = 0; n < N; n++) {
        if (n == 0) {
            psi[0] = base;
        } else if (WaveFunctionInitCopyBasis(&psi[n], base) != 0) {
            printf("WaveFunctionInitCopyBasis failed in CreateStartingFunctions");
            for (unsigned int m = 1; m < n; m++) WaveFunctionFreeValues(&psi[m]);
            WaveFunctionFree(&base);
            return 1;
        }
        for (uint32_t i = 1; i <= base.N; i++) {
            WaveFunctionRe(psi[n], i) = (double)rand() - 1073741823.0;
            if (psi[n].QComplex) WaveFunctionIm(psi[n], i) = 0.0;
        }
        WaveFunctionNormalize(&psi[n]);
        for (unsigned int m = 0; m < n; m++) {
            const Complex16 d = DotSame(psi[m], psi[n]);
            AxpySame(psi[n], psi[m], Complex16{-d.re, -d.im});
        }
        const double norm = NormSame(psi[n]);
        WaveFunctionMultiply(&psi[n], norm >= 2.220446049250313e-13 ? 1.0 / norm : 0.0, 0.0);
    }
    return 0;
}

int BlockGroundState(OperatorType* H, unsigned int N, ConvergenceSettingsType* settings,
                     DeterminantRestrictionType startRestrictions, DeterminantRestrictionType runRestrictions,
                     WaveFunctionType* psi, unsigned int nBitsKey) {
    VerbosityPrintf(kProgress, "Start of BlockGroundState\n");
    if (startRestrictions.NRestriction != 0 && nBitsKey != 0) {
        if (CreateStartingFunctions(*H, N, startRestrictions, psi, nBitsKey) != 0) {
            printf("CreateStartingFunctions failed in BlockGroundState");
            return 1;
        }
        if (BlockGroundState(H, N, settings, startRestrictions, startRestrictions, psi, 0) != 0) return 1;
    }
    VerbosityPrintf(kProgress, "\nStarting function 1 to Npsi=%i in BlockGroundState\n\n", (int)N);
    return GroundStateTurns(H, N, settings, runRestrictions, psi);
}

int WaveFunctionArraySeperateBasis(WaveFunctionType* psi, unsigned int N) {
    for (unsigned int n = 1; n < N; n++) {
        WaveFunctionType copy;
        if (WaveFunctionCopy(psi[n], &copy) != 0) {
            printf("WaveFunctionCopy failed in WaveFunctionArraySeperateBasis at length %i of %i\n", (int)n, (int)N);
            return 1;
        }
        WaveFunctionFreeValues(&psi[n]);
        psi[n] = copy;
    }
    return 0;
}
