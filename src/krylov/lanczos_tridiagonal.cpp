#include "krylov/lanczos_tridiagonal.h"

#include <cstdio>
#include <cstring>

#include "base/verbosity.h"
#include "krylov/krylov_vectors.h"
#include "manybody/expectation.h"
#include "manybody/fatal.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"

namespace {

const uint32_t kLevelLines = 0x100;

// The kind suffix of the recursion that H and psi call for, once psi has the
// kind the recursion needs (complex for a complex or mixed H).
const char* KindSuffix(const OperatorType& H, const WaveFunctionType& psi) {
    if (H.QComplex == 0) return psi.QComplex ? "RC" : "RR";
    return H.QComplex == 1 ? "CC" : "MC";
}

// The settings of one run of the three-vector recursion.
struct TriRun {
    const char* who;  // the function named in the failure lines
    OperatorType H;
    const DeterminantRestrictionType* R;
    double epsilon;  // local: raised by memory failures for the rest of the run
    double Err;
};

// Memory path of an application: doubles epsilon, truncates the function
// that was being applied and lets the caller try again.
void LowerAccuracyForApplication(TriRun& run, WaveFunctionType* v) {
    printf("Allocation of new memory failed in %s for the function OperatorPsi\n", run.who);
    KrylovDoubleEpsilon(&run.epsilon);
    if (v->NBlok <= 1) FatalAllocationExit();
    KrylovTruncate(v, run.epsilon / run.Err);
}

// out = H v, under the memory path.
void ApplyWithRetry(TriRun& run, WaveFunctionType* v, WaveFunctionType* out) {
    while (KrylovApply(run.H, *v, out, run.R) != 0) LowerAccuracyForApplication(run, v);
}

// a += x b with growth, under the memory path: a failed subtraction is
// undone, the target truncated at the raised threshold relative to its norm,
// and the subtraction repeated.
void SubtractWithRetry(TriRun& run, WaveFunctionType* a, const WaveFunctionType& b, double x, const char* what) {
    while (KrylovAddWithGrowth(a, b, x, 0.0) != 0) {
        printf("Allocation of new memory failed in %s for the function %s\n", run.who, what);
        KrylovDoubleEpsilon(&run.epsilon);
        if (a->NBlok <= 1) FatalAllocationExit();
        double norm = 0.0;
        WaveFunctionCalculateNorm(*a, &norm);
        KrylovTruncate(a, run.epsilon * norm / run.Err);
    }
}

double RealDot(const WaveFunctionType& a, const WaveFunctionType& b) {
    double re = 0.0, im = 0.0;
    WaveFunctionDotProduct(a, b, &re, &im);
    return re;
}

// The three-vector recursion on a function of the right kind (consumed).
int TriDiagonalizeCore(TriRun& run, WaveFunctionType start, TriDiagonalMatrixType* M, double floor) {
    VerbosityPrintf(0x1, "Start of LanczosTriDiagonalize%s\n", KindSuffix(run.H, start));
    const uint32_t N = M->N;
    double* a = M->a;
    double* b = M->b;
    WaveFunctionType v[3];
    bool live[3] = {true, false, false};
    v[0] = start;
    run.Err = 1.0;
    a[0] = 0.0;
    WaveFunctionCalculateNorm(v[0], &b[0]);
    WaveFunctionMultiply(&v[0], b[0] == 0.0 ? 0.0 : 1.0 / b[0], 0.0);
    VerbosityPrintf(kLevelLines, "BasisSetSize: %12i ", (int)v[0].N);
    KrylovTruncate(&v[0], run.epsilon);
    VerbosityPrintf(kLevelLines, "%12i\n", (int)v[0].N);

    ApplyWithRetry(run, &v[0], &v[1]);
    live[1] = true;
    a[1] = RealDot(v[1], v[0]);
    VerbosityPrintf(kLevelLines, "BasisSetSize: %12i ", (int)v[1].N);
    for (uint32_t i = 1; i < N; i++) {
        WaveFunctionType& vim = v[(i - 1) % 3];
        WaveFunctionType& vi = v[i % 3];
        WaveFunctionType& vip = v[(i + 1) % 3];
        SubtractWithRetry(run, &vi, vim, -a[i], "RealWaveFunctionAddMultipliedUnionBasis(&(v[vi]),v[vim],-M->a[i])");
        WaveFunctionCalculateNorm(vi, &b[i]);
        WaveFunctionMultiply(&vi, b[i] == 0.0 ? 0.0 : 1.0 / b[i], 0.0);
        KrylovTruncate(&vi, run.epsilon / run.Err);
        VerbosityPrintf(kLevelLines, "%12i | M.a[%3i] M.b[%3i]: %12.5E %12.5E | Err: %12.5E\n", (int)vi.N, (int)i,
                        (int)i - 1, a[i], b[i - 1], run.Err);
        const double b2 = b[i] * b[i];
        if (b2 + floor > 0.0) run.Err *= b2 / (floor + b2);
        ApplyWithRetry(run, &vi, &vip);
        live[(i + 1) % 3] = true;
        VerbosityPrintf(kLevelLines, "BasisSetSize: %12i ", (int)vip.N);
        a[i + 1] = RealDot(vip, vi);
        SubtractWithRetry(run, &vip, vim, -b[i], "RealWaveFunctionAddMultipliedUnionBasis(&(v[vip]),v[vim],-M->b[i])");
        WaveFunctionFree(&vim);
        live[(i - 1) % 3] = false;
    }
    VerbosityPrintf(kLevelLines, "             | M.a[%3i] M.b[%3i]: %12.5E %12.5E | Err: %12.5E\n\n", (int)N,
                    (int)N - 1, a[N], b[N - 1], run.Err);
    for (int k = 0; k < 3; k++)
        if (live[k]) WaveFunctionFree(&v[k]);
    fflush(stdout);
    return 0;
}

// A copy of psi of the kind the recursion runs in; null record on failure.
int PrepareStart(const OperatorType& H, const WaveFunctionType& psi, const char* who, WaveFunctionType* out) {
    if (WaveFunctionCopy(psi, out) != 0) {
        printf("WaveFunctionCopy failed in %s\n", who);
        return 1;
    }
    if (H.QComplex != 0 && out->QComplex == 0 && PromoteRealWaveFunctionToComplex(out) != 0) {
        WaveFunctionFree(out);
        printf("PromoteRealWaveFunctionToComplex failed in %s\n", who);
        return 1;
    }
    return 0;
}

int CheckRecord(const TriDiagonalMatrixType* M, const char* who) {
    if (M == nullptr || M->N == 0 || M->a == nullptr || M->b == nullptr) {
        printf("Error in %s: the tridiagonal record has no levels\n", who);
        return 1;
    }
    return 0;
}

int TriDiagonalize(OperatorType H, WaveFunctionType psi, const DeterminantRestrictionType* R, double epsilon,
                   TriDiagonalMatrixType* M, double floor, const char* who) {
    if (CheckRecord(M, who) != 0) return 1;
    WaveFunctionType start;
    if (PrepareStart(H, psi, who, &start) != 0) return 1;
    if (R != nullptr && R->NRestriction != 0 && WaveFunctionRestrict(&start, *R) != 0) {
        WaveFunctionFree(&start);
        return 1;
    }
    TriRun run{who, H, R, epsilon, 1.0};
    return TriDiagonalizeCore(run, start, M, floor);
}

// ---- Krylov family --------------------------------------------------------

struct KrylovRun {
    OperatorType H;
    const DeterminantRestrictionType* R;
    double epsilon;
    double Err;
    const char* suffix;
};

// Memory path of the Krylov family: raises epsilon and truncates every
// stored vector of more than one block; ends the process when none can
// shrink.
void LowerAccuracyOfBasis(KrylovRun& run, WaveFunctionType* basis, uint32_t n, const char* what) {
    printf("Allocation of new memory failed in LanczosTriDiagonalizeKrylov%s for the function %s\n", run.suffix,
           what);
    KrylovDoubleEpsilon(&run.epsilon);
    bool any = false;
    for (uint32_t j = 0; j < n; j++) {
        if (basis[j].NBlok > 1) {
            any = true;
            KrylovTruncate(&basis[j], run.epsilon / run.Err);
        }
    }
    if (!any) FatalAllocationExit();
}

// One Gram-Schmidt pass of basis[i] against basis[0..i-1], from the newest
// down; the overlap with basis[i-1] of the first pass is a[i].
void GramSchmidtPass(KrylovRun& run, WaveFunctionType* basis, uint32_t i, double* ai) {
    for (uint32_t j = i; j-- > 0;) {
        double re = 0.0, im = 0.0;
        WaveFunctionDotProduct(basis[j], basis[i], &re, &im);
        if (ai != nullptr && j == i - 1) *ai = re;
        while (KrylovAddWithGrowth(&basis[i], basis[j], -re, -im) != 0)
            LowerAccuracyOfBasis(run, basis, i, "WaveFunctionAddMultipliedUnionBasis(&(PsiBasis[i]),PsiBasis[j],-dot)");
    }
}

int TriDiagonalizeKrylov(OperatorType H, WaveFunctionType psi, const DeterminantRestrictionType* R, double epsilon,
                         TriDiagonalMatrixType* M, WaveFunctionType* basis) {
    const char* who = "LanczosTriDiagonalizeKrylov";
    if (CheckRecord(M, who) != 0) return 1;
    if (H.QComplex != 0 && psi.QComplex == 0 && PromoteRealWaveFunctionToComplex(&psi) != 0) {
        printf("PromoteRealWaveFunctionToComplex failed in %s\n", who);
        return 1;
    }
    KrylovRun run{H, R, epsilon, 1.0, KindSuffix(H, psi)};
    VerbosityPrintf(0x1, "Start of LanczosTriDiagonalizeKrylov%s\n", run.suffix);
    const uint32_t N = M->N;
    double* a = M->a;
    double* b = M->b;
    basis[0] = psi;
    a[0] = 0.0;
    WaveFunctionCalculateNorm(basis[0], &b[0]);
    WaveFunctionMultiply(&basis[0], b[0] >= 2.2250738585072014e-305 ? 1.0 / b[0] : 0.0, 0.0);
    KrylovTruncate(&basis[0], run.epsilon);
    VerbosityPrintf(kLevelLines, "| M.a[  0]         : %12.5E\n", a[0]);
    for (uint32_t i = 1; i < N; i++) {
        while (KrylovApply(H, basis[i - 1], &basis[i], R) != 0) LowerAccuracyOfBasis(run, basis, i, "OperatorPsi");
        GramSchmidtPass(run, basis, i, &a[i]);
        GramSchmidtPass(run, basis, i, nullptr);
        WaveFunctionCalculateNorm(basis[i], &b[i]);
        WaveFunctionMultiply(&basis[i], b[i] >= 2.2250738585072014e-306 ? 1.0 / b[i] : 0.0, 0.0);
        // A vector that still overlaps the earlier ones carries no new
        // direction: the space closed, and it is set to zero.
        double s = 0.0;
        for (uint32_t j = i; j-- > 0;) {
            double re = 0.0, im = 0.0;
            WaveFunctionDotProduct(basis[j], basis[i], &re, &im);
            s += re * re + im * im;
            if (s > run.epsilon) {
                WaveFunctionMultiply(&basis[i], 0.0, 0.0);
                break;
            }
        }
        const double b2 = b[i] * b[i];
        run.Err *= b2 / (a[i] * a[i] * 2.220446049250313e-16 + 2.2250738585072014e-308 + b2);
        VerbosityPrintf(kLevelLines, "BasisSetSize: %12i ", (int)basis[i].N);
        KrylovTruncate(&basis[i], run.epsilon / run.Err);
        VerbosityPrintf(kLevelLines, "%12i | M.a[%3i] M.b[%3i]: %12.5E %12.5E | Err: %12.5E\n", (int)basis[i].N,
                        (int)i, (int)i - 1, a[i], b[i - 1], run.Err);
    }
    double re = 0.0, im = 0.0;
    PsiOperatorPsi(H, basis[N - 1], &re, &im);
    a[N] = re;
    VerbosityPrintf(kLevelLines, "             | M.a[%3i] M.b[%3i]: %12.5E %12.5E | Err: %12.5E\n\n", (int)N,
                    (int)N - 1, a[N], b[N - 1], run.Err);
    fflush(stdout);
    return 0;
}

}  // namespace

int LanczosTriDiagonalize(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                          double floor) {
    const DeterminantRestrictionType* R = H.Restrictions.NRestriction != 0 ? &H.Restrictions : nullptr;
    return TriDiagonalize(H, psi, R, epsilon, M, floor, "LanczosTriDiagonalize");
}

int LanczosTriDiagonalizeRR(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                            double floor) {
    return LanczosTriDiagonalize(H, psi, epsilon, M, floor);
}
int LanczosTriDiagonalizeRC(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                            double floor) {
    return LanczosTriDiagonalize(H, psi, epsilon, M, floor);
}
int LanczosTriDiagonalizeCC(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                            double floor) {
    return LanczosTriDiagonalize(H, psi, epsilon, M, floor);
}
int LanczosTriDiagonalizeMC(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                            double floor) {
    return LanczosTriDiagonalize(H, psi, epsilon, M, floor);
}

int LanczosTriDiagonalizeRestricted(OperatorType H, WaveFunctionType psi, DeterminantRestrictionType restrictions,
                                    double epsilon, TriDiagonalMatrixType* M, double floor) {
    return TriDiagonalize(H, psi, &restrictions, epsilon, M, floor, "LanczosTriDiagonalize");
}

int LanczosTriDiagonalizeKrylov(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                                WaveFunctionType* PsiBasis) {
    const DeterminantRestrictionType* R = H.Restrictions.NRestriction != 0 ? &H.Restrictions : nullptr;
    return TriDiagonalizeKrylov(H, psi, R, epsilon, M, PsiBasis);
}

int LanczosTriDiagonalizeKrylovRestricted(OperatorType H, WaveFunctionType psi,
                                          DeterminantRestrictionType restrictions, double epsilon,
                                          TriDiagonalMatrixType* M, WaveFunctionType* PsiBasis) {
    return TriDiagonalizeKrylov(H, psi, &restrictions, epsilon, M, PsiBasis);
}
