#include "krylov/lanczos_groundstate.h"

#include <cmath>
#include <cstdio>
#include <vector>

#include "base/verbosity.h"
#include "krylov/krylov_vectors.h"
#include "manybody/fatal.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"
#include "response/tridiagonal.h"

namespace {

const uint32_t kProgress = 0x1;
const uint32_t kLevels = 0x100;

struct Cplx {
    double re, im;
};

Cplx Dot(const WaveFunctionType& a, const WaveFunctionType& b) {
    Cplx d{0.0, 0.0};
    WaveFunctionDotProduct(a, b, &d.re, &d.im);
    return d;
}

double Norm(const WaveFunctionType& a) {
    double n = 0.0;
    WaveFunctionCalculateNorm(a, &n);
    return n;
}

void Scale(WaveFunctionType* a, double x) { WaveFunctionMultiply(a, x, 0.0); }

void NormalizeOrZero(WaveFunctionType* a) {
    const double n = Norm(*a);
    Scale(a, n > 2.2250738585072014e-307 ? 1.0 / n : 0.0);
}

// a += z b on a's basis (only determinants a already holds).
void AddInBasis(WaveFunctionType* a, const WaveFunctionType& b, Cplx z) {
    if (a->QComplex)
        WaveFunctionAddComplexMultipliedConserveBasis(a, b, z.re, z.im);
    else
        WaveFunctionAddMultipliedConserveBasis(a, b, z.re);
}

// a += z b, both on one basis.
void AddSame(WaveFunctionType a, const WaveFunctionType& b, Cplx z) {
    if (a.QComplex)
        WaveFunctionAddComplexMultipliedSameBasis(a, b, z.re, z.im);
    else
        WaveFunctionAddMultipliedSameBasis(a, b, z.re);
}

// Projects f against the list inside f's basis.
void ProjectInBasis(WaveFunctionType* f, const WaveFunctionType* list, unsigned int n) {
    for (unsigned int k = 0; k < n; k++) {
        const Cplx d = Dot(list[k], *f);
        if (std::hypot(d.re, d.im) < 2.2250738585072014e-307) continue;
        AddInBasis(f, list[k], Cplx{-d.re, -d.im});
    }
}

// out = (H + shift) in, on the fixed basis of out.
void ApplyShifted(const OperatorType& H, const WaveFunctionType& in, WaveFunctionType* out, double shift) {
    OperatorPsiConserveBasisPreAllocated(&H, &in, out);
    AddSame(*out, in, Cplx{shift, 0.0});
}

struct Search {
    OperatorType H;
    const DeterminantRestrictionType* R;
    double* epsilon;
    double zero;
    const WaveFunctionType* list;
    unsigned int nList;
    const char* name;
};

// E = <psi|H|psi> and E2 = <H psi|H psi> of a normalised psi.
void Energies(const Search& s, const WaveFunctionType& psi, double* E, double* E2) {
    WaveFunctionType h;
    if (KrylovApply(s.H, psi, &h, nullptr) != 0) {
        *E = *E2 = 0.0;
        return;
    }
    *E = Dot(psi, h).re;
    *E2 = Dot(h, h).re;
    WaveFunctionFree(&h);
}

// The memory path: doubles epsilon and truncates psi, or ends the process
// when psi has a single block.
void LowerAccuracy(const Search& s, WaveFunctionType* psi) {
    const double old = *s.epsilon;
    *s.epsilon = 2.0 * old;
    printf("Out off memory increase epsilon from %22.15E to %22.15E\n", old, *s.epsilon);
    if (psi->NBlok <= 1) {
        printf("Outof memory in %s,\npsi->NBLok=1 so no way to recover.\n", s.name);
        FatalAllocationExit();
    }
    printf("BasisSetSize Before Truncation: %12i ", (int)psi->N);
    KrylovTruncate(psi, *s.epsilon);
    printf("After Truncation: %12i\n", (int)psi->N);
    fflush(stdout);
}

// Steps 10 to 13: W0 = normalised (H + shift) psi projected against the
// list, in a grown and truncated basis.  False after a memory failure.
bool Expand(const Search& s, const WaveFunctionType& psi, double shift, WaveFunctionType* W0) {
    if (KrylovApply(s.H, psi, W0, s.R) != 0) return false;
    if (W0->QComplex == 0 && psi.QComplex != 0) PromoteRealWaveFunctionToComplex(W0);
    if (KrylovAddWithGrowth(W0, psi, shift, 0.0) != 0) {
        WaveFunctionFree(W0);
        return false;
    }
    for (unsigned int k = 0; k < s.nList; k++) {
        const Cplx d = Dot(s.list[k], *W0);
        if (KrylovAddWithGrowth(W0, s.list[k], -d.re, -d.im) != 0) {
            printf("RealWaveFunctionAddMultipliedUnionBasis failed in RealWaveFunctionOrthogonalize\n");
            WaveFunctionFree(W0);
            return false;
        }
    }
    NormalizeOrZero(W0);
    VerbosityPrintf(kLevels, "BasisSetSize After Expansion: %12i Truncation: ", (int)W0->N);
    KrylovTruncate(W0, *s.epsilon);
    VerbosityPrintf(kLevels, "%12i\n", (int)W0->N);
    fflush(stdout);
    return true;
}

// One Lanczos pass of n levels from start on the fixed basis: the
// coefficients a, b (first pass) or, with C, the sum of the Krylov vectors
// with the weights of row C (second pass) into *target.
void LanczosPass(const Search& s, WaveFunctionType* W, const WaveFunctionType& start, double shift, uint32_t n,
                 double* a, double* b, bool first, const double* C, WaveFunctionType* target) {
    Scale(&W[0], 0.0);
    AddSame(W[0], start, Cplx{1.0, 0.0});
    if (!first) Scale(target, C[0]);
    ApplyShifted(s.H, W[0], &W[1], shift);
    if (first) a[1] = Dot(W[1], W[0]).re;
    for (uint32_t i = 1; i < n; i++) {
        WaveFunctionType& cur = W[i % 3];
        WaveFunctionType& prev = W[(i - 1) % 3];
        WaveFunctionType& next = W[(i + 1) % 3];
        AddSame(cur, prev, Cplx{-a[i], 0.0});
        if (first) b[i] = Norm(cur);
        Scale(&cur, b[i] <= 2.2250738585072014e-307 ? 0.0 : 1.0 / b[i]);
        ProjectInBasis(&cur, s.list, s.nList);
        ApplyShifted(s.H, cur, &next, shift);
        if (first) a[i + 1] = Dot(next, cur).re;
        AddSame(next, prev, Cplx{-b[i], 0.0});
        if (!first) AddSame(*target, cur, Cplx{C[i], 0.0});
    }
}

int Run(Search& s, WaveFunctionType* psi, double shiftMargin) {
    const bool complexValues = s.H.QComplex != 0 || psi->QComplex != 0 || [&] {
        for (unsigned int k = 0; k < s.nList; k++)
            if (s.list[k].QComplex) return true;
        return false;
    }();
    const char* kind = s.H.QComplex == 0 ? (complexValues ? "RC" : "RR") : (s.H.QComplex == 1 ? "CC" : "MC");
    VerbosityPrintf(kProgress, "Start of LanczosGroundState%s\n", kind);
    fflush(stdout);
    if (complexValues && psi->QComplex == 0 && PromoteRealWaveFunctionToComplex(psi) != 0) {
        printf("Lanczos called with a real wave-function and a complex Hamiltonian.\nTurned the wave-function complex "
               "in step 1.\nBut failed.\n");
        return 0;
    }
    double lastE = 4.0 * s.zero, E = 2.0 * s.zero, E2 = 0.0;
    int mustExpand = 3;
    ProjectInBasis(psi, s.list, s.nList);
    NormalizeOrZero(psi);
    Energies(s, *psi, &E, &E2);
    double shift = E < 0.0 ? -std::fabs(lastE) - 1.0 : -2.0 * lastE - 1.0;
    VerbosityPrintf(kProgress, "Energy: %22.15E variance %22.15E Number of determinants %d\n", E, E2 - E * E,
                    (int)psi->N);
    bool firstCycles = true;
    for (;;) {
        if ((lastE - E <= (std::fabs(lastE) + 1.0) * s.zero && mustExpand == 0) ||
            E2 - E * E <= (std::fabs(E) + 2.220446049250313e-16) * s.zero)
            return 0;
        if (mustExpand != 0) mustExpand--;
        lastE = E;
        WaveFunctionType W[3];
        while (!Expand(s, *psi, shift, &W[0])) LowerAccuracy(s, psi);
        bool made = true;
        for (int k = 1; k < 3 && made; k++) made = WaveFunctionInitCopyBasis(&W[k], W[0]) == 0;
        WaveFunctionType work;
        if (!made || WaveFunctionInitCopyBasis(&work, W[0]) != 0) {
            printf("WaveFunctionInitCopyBasis failed in %s\n", s.name);
            return 0;
        }
        // Power steps in the fixed basis.
        ApplyShifted(s.H, W[0], &W[1], shift);
        NormalizeOrZero(&W[1]);
        ApplyShifted(s.H, W[1], &W[2], shift);
        NormalizeOrZero(&W[2]);
        ApplyShifted(s.H, W[2], &work, shift);
        for (int twice = 0; twice < 2; twice++) {
            ProjectInBasis(&work, s.list, s.nList);
            NormalizeOrZero(&work);
        }
        // Restarted Lanczos cycles.
        double prevE = firstCycles ? 2.0 * s.zero : E;
        firstCycles = false;
        Energies(s, work, &E, &E2);
        if (prevE == 2.0 * s.zero) E = E;  // the first comparison is against 2 zero
        int c = 0;
        std::vector<double> a(101, 0.0), b(101, 0.0), C(100 * 100), ev(100);
        do {
            prevE = (c == 0 && prevE == 2.0 * s.zero) ? prevE : E;
            const uint32_t n = 25 + (uint32_t)(c % 75);
            c++;
            if ((c & 15) == 15) {
                VerbosityPrintf(kProgress, "Reached %i-th cycle with energy %22.15E\n", c, prevE);
                fflush(stdout);
            }
            LanczosPass(s, W, work, shift, n, a.data(), b.data(), true, nullptr, nullptr);
            TriDiagonalMatrixType M;
            M.N = n;
            M.a = a.data();
            M.b = b.data();
            if (TriDiagonalMatrixToEigensystem(M, C.data(), ev.data()) != 0) break;
            uint32_t r = 0;
            for (uint32_t k = 0; k < n; k++)
                if (C[(size_t)k * n] * C[(size_t)k * n] > 2.220446049250313e-16) {
                    r = k;
                    break;
                }
            std::vector<double> row(n);
            for (uint32_t i = 0; i < n; i++) row[i] = C[(size_t)r * n + i];
            WaveFunctionType start;
            if (WaveFunctionInitCopyBasis(&start, W[0]) != 0) break;
            AddSame(start, work, Cplx{1.0, 0.0});
            LanczosPass(s, W, start, shift, n, a.data(), b.data(), false, row.data(), &work);
            WaveFunctionFreeValues(&start);
            shift = (shift - shiftMargin) - ev[n - 1];
            ProjectInBasis(&work, s.list, s.nList);
            NormalizeOrZero(&work);
            Energies(s, work, &E, &E2);
        } while (prevE - E > (std::fabs(E) + 1.0) * s.zero);
        // The result leaves the fixed basis: a copy of its own.
        WaveFunctionType result;
        const int fail = WaveFunctionCopy(work, &result);
        WaveFunctionFreeValues(&work);
        WaveFunctionFreeValues(&W[1]);
        WaveFunctionFreeValues(&W[2]);
        WaveFunctionFree(&W[0]);
        if (fail != 0) {
            printf("WaveFunctionCopy failed in %s\n", s.name);
            return 0;
        }
        KrylovTruncate(&result, 2.220446049250313e-16);
        NormalizeOrZero(&result);
        WaveFunctionFree(psi);
        *psi = result;
        Energies(s, *psi, &E, &E2);
        VerbosityPrintf(kProgress, "Energy: %22.15E variance %22.15E ", E, E2 - E * E);
        VerbosityPrintf(kProgress, "NumberOfLaczosCycles: %i\n", c);
        fflush(stdout);
    }
}

}  // namespace

int LanczosGroundState(OperatorType H, WaveFunctionType* psi, double* epsilon, double zero, double shiftMargin,
                       WaveFunctionType* orthogonalTo, unsigned int nOrthogonal) {
    const DeterminantRestrictionType* R = H.Restrictions.NRestriction != 0 ? &H.Restrictions : nullptr;
    Search s{H, R, epsilon, zero, orthogonalTo, nOrthogonal, "LanczosGroundStateRR"};
    return Run(s, psi, shiftMargin);
}

int LanczosGroundStateRestricted(OperatorType H, WaveFunctionType* psi, DeterminantRestrictionType restrictions,
                                 double* epsilon, double zero, double shiftMargin, WaveFunctionType* orthogonalTo,
                                 unsigned int nOrthogonal) {
    Search s{H, &restrictions, epsilon, zero, orthogonalTo, nOrthogonal, "LanczosGroundStateRR"};
    return Run(s, psi, shiftMargin);
}
