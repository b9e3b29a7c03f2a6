// Matrix elements <bra|O|ket> without building O ket: the ket's elements
// are split among the threads, every result of every term is looked up in
// the bra, and each thread sums what it finds.
#include <omp.h>

#include <cstdio>
#include <cstdlib>

#include "manybody/expectation.h"
#include "manybody/expectation_engine.h"

namespace {

typedef OperatorPsiKindType Kind;

void Say(const char* format, const char* who) {
    printf(format, who);
    printf("\n");
    fflush(stdout);
}

template <int W, bool Restricted, bool StC, bool OutC, bool BraC, bool WantIm>
bool BraKetRegion(const OperatorType& O, const WaveFunctionType& bra, const WaveFunctionType& ket,
                  const OperatorPsiShapeType& s, double* re, double* im) {
    double sumRe = 0.0, sumIm = 0.0;
    int failed = 0;
#pragma omp parallel reduction(+ : sumRe, sumIm) reduction(| : failed)
    {
        OperatorPsiWorkType work = OperatorPsiWorkAlloc(s.NWord);
        const bool ok = work.memory != nullptr;
        if (!ok) failed = 1;
        ExpectationSink<StC, OutC, BraC, WantIm> sink;
        sink.Start(&bra, work, s.NWord);
        const long long N = ket.N;
#pragma omp for schedule(static) nowait
        for (long long i = 1; i <= N; i++) {
            if (!ok) continue;
            const uint32_t e = (uint32_t)i;
            sink.a = WaveFunctionRe(ket, e);
            if (StC) sink.b = WaveFunctionIm(ket, e);
            OperatorPsiApplyToElement<W, Restricted>(O, s, WaveFunctionDet(ket, e), sink);
        }
        if (ok) {
            sink.Drain();
            sumRe += sink.sumRe;
            sumIm += sink.sumIm;
            free(work.memory);
        }
    }
    *re = sumRe;
    *im = sumIm;
    return failed == 0;
}

}  // namespace

int ExpectationBraKet(Kind kind, const OperatorType& O, const WaveFunctionType& bra, const WaveFunctionType& ket,
                      const DeterminantRestrictionType* R, bool wantIm, double* re, double* im, const char* who) {
    if (!OperatorPsiModesFit(O, ket)) {
        Say("The operator acts on more modes than the determinants of the wave function hold in %s", who);
        return 1;
    }
    if (bra.NWord != ket.NWord) {
        Say("The two wave functions have determinants of different sizes in %s", who);
        return 1;
    }
    OperatorPsiShapeType s;
    OperatorTermMasksType masks;
    OperatorPsiInitShape(&s, &masks, O, ket, R, ket.N);
    double sumRe = 0.0, sumIm = 0.0;
    bool ok = true;
    const bool braComplex = bra.QComplex != 0;
    OperatorPsiDispatchShape(s, [&](auto words, auto restricted) {
        OperatorPsiDispatchValues(kind, [&](auto stateComplex, auto resultComplex) {
            constexpr int W = decltype(words)::value;
            constexpr bool Rs = decltype(restricted)::value;
            constexpr bool StC = decltype(stateComplex)::value;
            constexpr bool OutC = decltype(resultComplex)::value;
            if (braComplex) {
                ok = wantIm ? BraKetRegion<W, Rs, StC, OutC, true, true>(O, bra, ket, s, &sumRe, &sumIm)
                            : BraKetRegion<W, Rs, StC, OutC, true, false>(O, bra, ket, s, &sumRe, &sumIm);
            } else {
                ok = wantIm ? BraKetRegion<W, Rs, StC, OutC, false, true>(O, bra, ket, s, &sumRe, &sumIm)
                            : BraKetRegion<W, Rs, StC, OutC, false, false>(O, bra, ket, s, &sumRe, &sumIm);
            }
        });
    });
    FreeOperatorTermMasks(&masks);
    if (!ok) {
        Say("Allocation of the staging areas failed in %s", who);
        return 1;
    }
    *re = sumRe;
    if (im != nullptr) *im = wantIm ? sumIm : 0.0;
    return 0;
}

// ---- <psi|O|psi> ----------------------------------------------------------------

int PsiOperatorPsi(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return ExpectationBraKet(ExpectationKind(O, psi), O, psi, psi, ExpectationOwnRestriction(O), true, re, im,
                             "PsiOperatorPsi");
}
int PsiOperatorPsiRR(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindRR, O, psi, psi, nullptr, true, re, im, "PsiOperatorPsiRR");
}
int PsiOperatorPsiRC(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindRC, O, psi, psi, nullptr, true, re, im, "PsiOperatorPsiRC");
}
int PsiOperatorPsiCR(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindCR, O, psi, psi, nullptr, true, re, im, "PsiOperatorPsiCR");
}
int PsiOperatorPsiCC(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindCC, O, psi, psi, nullptr, true, re, im, "PsiOperatorPsiCC");
}
int PsiOperatorPsiMR(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindMR, O, psi, psi, nullptr, true, re, im, "PsiOperatorPsiMR");
}
int PsiOperatorPsiMC(OperatorType O, WaveFunctionType psi, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindMC, O, psi, psi, nullptr, true, re, im, "PsiOperatorPsiMC");
}

int PsiHermitianOperatorPsi(OperatorType O, WaveFunctionType psi, double* re) {
    return ExpectationBraKet(ExpectationKind(O, psi), O, psi, psi, ExpectationOwnRestriction(O), false, re, nullptr,
                             "PsiHermitianOperatorPsi");
}
int PsiOperatorPsiRHR(OperatorType O, WaveFunctionType psi, double* re) {
    return ExpectationBraKet(OperatorPsiKindRR, O, psi, psi, nullptr, false, re, nullptr, "PsiOperatorPsiRHR");
}
int PsiOperatorPsiRHC(OperatorType O, WaveFunctionType psi, double* re) {
    return ExpectationBraKet(OperatorPsiKindRC, O, psi, psi, nullptr, false, re, nullptr, "PsiOperatorPsiRHC");
}
int PsiOperatorPsiCHR(OperatorType O, WaveFunctionType psi, double* re) {
    return ExpectationBraKet(OperatorPsiKindCR, O, psi, psi, nullptr, false, re, nullptr, "PsiOperatorPsiCHR");
}
int PsiOperatorPsiCHC(OperatorType O, WaveFunctionType psi, double* re) {
    return ExpectationBraKet(OperatorPsiKindCC, O, psi, psi, nullptr, false, re, nullptr, "PsiOperatorPsiCHC");
}
int PsiOperatorPsiMHR(OperatorType O, WaveFunctionType psi, double* re) {
    return ExpectationBraKet(OperatorPsiKindMR, O, psi, psi, nullptr, false, re, nullptr, "PsiOperatorPsiMHR");
}
int PsiOperatorPsiMHC(OperatorType O, WaveFunctionType psi, double* re) {
    return ExpectationBraKet(OperatorPsiKindMC, O, psi, psi, nullptr, false, re, nullptr, "PsiOperatorPsiMHC");
}

// ---- <bra|O|ket> -----------------------------------------------------------------

int PsiPrimeOperatorPsi(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im) {
    return ExpectationBraKet(ExpectationKind(O, ket), O, bra, ket, ExpectationOwnRestriction(O), true, re, im,
                             "PsiPrimeOperatorPsi");
}
int PsiPrimeOperatorPsiRR(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindRR, O, bra, ket, nullptr, true, re, im, "PsiPrimeOperatorPsiRR");
}
int PsiPrimeOperatorPsiRC(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindRC, O, bra, ket, nullptr, true, re, im, "PsiPrimeOperatorPsiRC");
}
int PsiPrimeOperatorPsiCR(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindCR, O, bra, ket, nullptr, true, re, im, "PsiPrimeOperatorPsiCR");
}
int PsiPrimeOperatorPsiCC(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindCC, O, bra, ket, nullptr, true, re, im, "PsiPrimeOperatorPsiCC");
}
int PsiPrimeOperatorPsiMR(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindMR, O, bra, ket, nullptr, true, re, im, "PsiPrimeOperatorPsiMR");
}
int PsiPrimeOperatorPsiMC(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im) {
    return ExpectationBraKet(OperatorPsiKindMC, O, bra, ket, nullptr, true, re, im, "PsiPrimeOperatorPsiMC");
}

int PsiPrimeOperatorPsiRestricted(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re,
                                  double* im, DeterminantRestrictionType R) {
    return ExpectationBraKet(ExpectationKind(O, ket), O, bra, ket, R.NRestriction > 0 ? &R : nullptr, true, re, im,
                             "PsiPrimeOperatorPsiRestricted");
}
