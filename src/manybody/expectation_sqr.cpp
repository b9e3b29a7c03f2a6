// <psi|O^2|psi> and <psi|O P_R O|psi>.  The usual way builds O psi once
// with the growing kernel and takes its squared norm (Hermitian O) or
// <psi|O|O psi>; when O psi can't be stored the square is worked out with O
// applied twice within the loop over psi, which needs no memory beyond a
// staging area per thread.
#include <omp.h>

#include <cstdio>
#include <cstdlib>

#include "manybody/expectation.h"
#include "manybody/expectation_engine.h"
#include "manybody/operator_psi.h"

namespace {

typedef OperatorPsiKindType Kind;

typedef int (*GrowFunction)(OperatorType, WaveFunctionType, WaveFunctionType*);
typedef int (*GrowRestrictedFunction)(OperatorType, WaveFunctionType, WaveFunctionType*, DeterminantRestrictionType);

const GrowFunction kGrow[] = {OperatorPsiRR, OperatorPsiRC, OperatorPsiCR,
                              OperatorPsiCC, OperatorPsiMR, OperatorPsiMC};
const GrowRestrictedFunction kGrowRestricted[] = {OperatorPsiRestrictedRR, OperatorPsiRestrictedRC,
                                                  OperatorPsiRestrictedCR, OperatorPsiRestrictedCC,
                                                  OperatorPsiRestrictedMR, OperatorPsiRestrictedMC};

// The kind of O applied to O psi: O psi is real only for RR.
Kind SecondKind(Kind kind) {
    switch (kind) {
        case OperatorPsiKindCR: return OperatorPsiKindCC;
        case OperatorPsiKindMR: return OperatorPsiKindMC;
        default: return kind;
    }
}

double NormSqr(const WaveFunctionType& psi) {
    double sum = 0.0;
    const long long N = psi.N;
    const bool complex = psi.QComplex != 0;
#pragma omp parallel for schedule(static) reduction(+ : sum)
    for (long long i = 1; i <= N; i++) {
        const double r = WaveFunctionRe(psi, (uint32_t)i);
        sum += r * r;
        if (complex) {
            const double m = WaveFunctionIm(psi, (uint32_t)i);
            sum += m * m;
        }
    }
    return sum;
}

// The first application's sink: each result is at once the ket value of a
// second application from the same determinant, whose results are looked up
// in psi by `second`.
template <int W, bool StC, bool OutC, bool WantIm>
struct SquareSink {
    static constexpr bool kStrictCut = true;
    const OperatorType* O;
    const OperatorPsiShapeType* inner;
    uint8_t* scratch;
    ExpectationSink<OutC, OutC, StC, WantIm>* second;
    double a, b;

    uint8_t* Scratch() { return scratch; }

    template <bool OpC, bool ExactKey>
    bool Accept(double f, double vr, double vi, uint64_t) {
        double r, i = 0.0;
        OperatorPsiTermValue<OpC, StC, OutC>(a, b, vr, vi, f, r, i);
        second->a = r;
        second->b = i;
        OperatorPsiApplyToElement<W, false>(*O, *inner, scratch, *second);
        return true;
    }
};

template <int W, bool Restricted, bool StC, bool OutC, bool WantIm>
bool SquareRegion(const OperatorType& O, const WaveFunctionType& psi, const OperatorPsiShapeType& s, double* re,
                  double* im) {
    OperatorPsiShapeType inner = s;
    inner.R = nullptr;
    double sumRe = 0.0, sumIm = 0.0;
    int failed = 0;
#pragma omp parallel reduction(+ : sumRe, sumIm) reduction(| : failed)
    {
        OperatorPsiWorkType work = OperatorPsiWorkAlloc(s.NWord);
        uint8_t* scratch = static_cast<uint8_t*>(calloc(s.NWord + OperatorPsiStageSlack, 1));
        const bool ok = work.memory != nullptr && scratch != nullptr;
        if (!ok) failed = 1;
        ExpectationSink<OutC, OutC, StC, WantIm> second;
        second.Start(&psi, work, s.NWord);
        SquareSink<W, StC, OutC, WantIm> first;
        first.O = &O;
        first.inner = &inner;
        first.scratch = scratch;
        first.second = &second;
        first.a = first.b = 0.0;
        const long long N = psi.N;
#pragma omp for schedule(static) nowait
        for (long long i = 1; i <= N; i++) {
            if (!ok) continue;
            const uint32_t e = (uint32_t)i;
            first.a = WaveFunctionRe(psi, e);
            if (StC) first.b = WaveFunctionIm(psi, e);
            OperatorPsiApplyToElement<W, Restricted>(O, s, WaveFunctionDet(psi, e), first);
        }
        if (ok) {
            second.Drain();
            sumRe += second.sumRe;
            sumIm += second.sumIm;
        }
        free(work.memory);
        free(scratch);
    }
    *re = sumRe;
    *im = sumIm;
    return failed == 0;
}

int SquareNoStorage(Kind kind, const OperatorType& O, const WaveFunctionType& psi,
                    const DeterminantRestrictionType* R, bool wantIm, double* re, double* im, const char* who) {
    if (!OperatorPsiModesFit(O, psi)) {
        printf("The operator acts on more modes than the determinants of the wave function hold in %s\n", who);
        fflush(stdout);
        return 1;
    }
    OperatorPsiShapeType s;
    OperatorTermMasksType masks;
    OperatorPsiInitShape(&s, &masks, O, psi, R, psi.N);
    double sumRe = 0.0, sumIm = 0.0;
    bool ok = true;
    OperatorPsiDispatchShape(s, [&](auto words, auto restricted) {
        OperatorPsiDispatchValues(kind, [&](auto stateComplex, auto resultComplex) {
            constexpr int W = decltype(words)::value;
            constexpr bool Rs = decltype(restricted)::value;
            constexpr bool StC = decltype(stateComplex)::value;
            constexpr bool OutC = decltype(resultComplex)::value;
            ok = wantIm ? SquareRegion<W, Rs, StC, OutC, true>(O, psi, s, &sumRe, &sumIm)
                        : SquareRegion<W, Rs, StC, OutC, false>(O, psi, s, &sumRe, &sumIm);
        });
    });
    FreeOperatorTermMasks(&masks);
    if (!ok) {
        printf("Allocation of the staging areas failed in %s\n", who);
        fflush(stdout);
        return 1;
    }
    *re = sumRe;
    if (im != nullptr) *im = wantIm ? sumIm : 0.0;
    return 0;
}

// Builds O psi (P_R O psi) and finishes from it; falls back to the
// loop without storage when O psi can't be made.
int Square(Kind kind, bool hermitian, const OperatorType& O, const WaveFunctionType& psi,
           const DeterminantRestrictionType* R, double* re, double* im, const char* who) {
    if (!OperatorPsiModesFit(O, psi)) {
        printf("The operator acts on more modes than the determinants of the wave function hold in %s\n", who);
        fflush(stdout);
        return 1;
    }
    WaveFunctionType Opsi;
    const int status = R != nullptr ? kGrowRestricted[kind](O, psi, &Opsi, *R) : kGrow[kind](O, psi, &Opsi);
    if (status != 0) {
        printf("O psi could not be stored in %s; the square is worked out without storing it\n", who);
        fflush(stdout);
        return SquareNoStorage(kind, O, psi, R, !hermitian, re, im, who);
    }
    int result = 0;
    if (hermitian) {
        *re = NormSqr(Opsi);
        if (im != nullptr) *im = 0.0;
    } else {
        result = ExpectationBraKet(SecondKind(kind), O, psi, Opsi, nullptr, true, re, im, who);
    }
    WaveFunctionFree(&Opsi);
    return result;
}

}  // namespace

int PsiOperatorSqrPsiNoStorage(OperatorType O, WaveFunctionType psi, double* re, double* im,
                               const DeterminantRestrictionType* R) {
    if (R != nullptr && R->NRestriction == 0) R = nullptr;
    return SquareNoStorage(ExpectationKind(O, psi), O, psi, R, true, re, im, "PsiOperatorSqrPsiNoStorage");
}

int PsiOperatorSqrPsi(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return Square(ExpectationKind(O, psi), false, O, psi, ExpectationOwnRestriction(O), re, im, "PsiOperatorSqrPsi");
}
int PsiOperatorSqrPsiRR(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return Square(OperatorPsiKindRR, false, O, psi, nullptr, re, im, "PsiOperatorSqrPsiRR");
}
int PsiOperatorSqrPsiRC(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return Square(OperatorPsiKindRC, false, O, psi, nullptr, re, im, "PsiOperatorSqrPsiRC");
}
int PsiOperatorSqrPsiCR(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return Square(OperatorPsiKindCR, false, O, psi, nullptr, re, im, "PsiOperatorSqrPsiCR");
}
int PsiOperatorSqrPsiCC(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return Square(OperatorPsiKindCC, false, O, psi, nullptr, re, im, "PsiOperatorSqrPsiCC");
}
int PsiOperatorSqrPsiMR(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return Square(OperatorPsiKindMR, false, O, psi, nullptr, re, im, "PsiOperatorSqrPsiMR");
}
int PsiOperatorSqrPsiMC(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return Square(OperatorPsiKindMC, false, O, psi, nullptr, re, im, "PsiOperatorSqrPsiMC");
}

int PsiHermitianOperatorSqrPsi(OperatorType O, WaveFunctionType psi, double* re) {
    return Square(ExpectationKind(O, psi), true, O, psi, ExpectationOwnRestriction(O), re, nullptr,
                  "PsiHermitianOperatorSqrPsi");
}
int PsiOperatorSqrPsiRHR(OperatorType O, WaveFunctionType psi, double* re) {
    return Square(OperatorPsiKindRR, true, O, psi, nullptr, re, nullptr, "PsiOperatorSqrPsiRHR");
}
int PsiOperatorSqrPsiRHC(OperatorType O, WaveFunctionType psi, double* re) {
    return Square(OperatorPsiKindRC, true, O, psi, nullptr, re, nullptr, "PsiOperatorSqrPsiRHC");
}
int PsiOperatorSqrPsiCHR(OperatorType O, WaveFunctionType psi, double* re) {
    return Square(OperatorPsiKindCR, true, O, psi, nullptr, re, nullptr, "PsiOperatorSqrPsiCHR");
}
int PsiOperatorSqrPsiCHC(OperatorType O, WaveFunctionType psi, double* re) {
    return Square(OperatorPsiKindCC, true, O, psi, nullptr, re, nullptr, "PsiOperatorSqrPsiCHC");
}
int PsiOperatorSqrPsiMHR(OperatorType O, WaveFunctionType psi, double* re) {
    return Square(OperatorPsiKindMR, true, O, psi, nullptr, re, nullptr, "PsiOperatorSqrPsiMHR");
}
int PsiOperatorSqrPsiMHC(OperatorType O, WaveFunctionType psi, double* re) {
    return Square(OperatorPsiKindMC, true, O, psi, nullptr, re, nullptr, "PsiOperatorSqrPsiMHC");
}

namespace {
const DeterminantRestrictionType* Given(const DeterminantRestrictionType& R) {
    return R.NRestriction > 0 ? &R : nullptr;
}
}  // namespace

int PsiOperatorSqrPsiRestricted(OperatorType O, WaveFunctionType psi, double* re, double* im,
                                DeterminantRestrictionType R) {
    return Square(ExpectationKind(O, psi), false, O, psi, Given(R), re, im, "PsiOperatorSqrPsiRestricted");
}
int PsiHermitianOperatorSqrPsiRestricted(OperatorType O, WaveFunctionType psi, double* re,
                                         DeterminantRestrictionType R) {
    return Square(ExpectationKind(O, psi), true, O, psi, Given(R), re, nullptr,
                  "PsiHermitianOperatorSqrPsiRestricted");
}
int PsiOperatorSqrPsiRestrictedRHR(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R) {
    return Square(OperatorPsiKindRR, true, O, psi, Given(R), re, nullptr, "PsiOperatorSqrPsiRestrictedRHR");
}
int PsiOperatorSqrPsiRestrictedRHC(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R) {
    return Square(OperatorPsiKindRC, true, O, psi, Given(R), re, nullptr, "PsiOperatorSqrPsiRestrictedRHC");
}
int PsiOperatorSqrPsiRestrictedCHR(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R) {
    return Square(OperatorPsiKindCR, true, O, psi, Given(R), re, nullptr, "PsiOperatorSqrPsiRestrictedCHR");
}
int PsiOperatorSqrPsiRestrictedCHC(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R) {
    return Square(OperatorPsiKindCC, true, O, psi, Given(R), re, nullptr, "PsiOperatorSqrPsiRestrictedCHC");
}
int PsiOperatorSqrPsiRestrictedMHR(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R) {
    return Square(OperatorPsiKindMR, true, O, psi, Given(R), re, nullptr, "PsiOperatorSqrPsiRestrictedMHR");
}
int PsiOperatorSqrPsiRestrictedMHC(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R) {
    return Square(OperatorPsiKindMC, true, O, psi, Given(R), re, nullptr, "PsiOperatorSqrPsiRestrictedMHC");
}
