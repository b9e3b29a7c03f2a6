// The loops under the expectation kernels: the term loops of
// operator_psi_engine.h with a sink that, instead of adding a result to a
// state, looks it up in the bra and adds conj(bra value) * result to a sum.
//
// A sink stages its results like the fixed-basis kernels do: a result whose
// determinant is already staged is merged into that entry, and when 128
// different determinants are staged they are looked up together, every step
// of the 128 chain walks touched one round ahead so that the memory
// latencies overlap.  Internal to the expectation kernels.
#ifndef SKELDA_MANYBODY_EXPECTATION_ENGINE_H
#define SKELDA_MANYBODY_EXPECTATION_ENGINE_H

#include <cstdint>

#include "manybody/operator.h"
#include "manybody/operator_psi_engine.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction.h"

// StC: the ket values are complex.  OutC: a result value is complex (complex
// operator lengths or complex ket).  BraC: the bra is complex.  WantIm: the
// imaginary part of the sum is formed.
template <bool StC, bool OutC, bool BraC, bool WantIm>
struct ExpectationSink {
    static constexpr bool kStrictCut = true;
    const WaveFunctionType* bra;
    uint32_t nword;
    uint8_t* dets;
    double* re;
    double* im;
    unsigned int n;
    double a, b;  // the ket value at hand
    double sumRe, sumIm;
    OperatorPsiMergeTableType merge;

    void Start(const WaveFunctionType* braState, const OperatorPsiWorkType& w, uint32_t bytes) {
        bra = braState;
        nword = bytes;
        dets = w.dets;
        re = w.re;
        im = w.im;
        n = 0;
        a = b = 0.0;
        sumRe = sumIm = 0.0;
        OperatorPsiMergeInit(&merge);
    }

    uint8_t* Scratch() { return dets + (size_t)n * nword; }

    void Found(unsigned int k, uint32_t i) {
        const double br = WaveFunctionRe(*bra, i);
        const double ki = OutC ? im[k] : 0.0;
        if (BraC) {
            const double bi = WaveFunctionIm(*bra, i);
            sumRe += br * re[k] + bi * ki;
            if (WantIm) sumIm += br * ki - bi * re[k];
        } else {
            sumRe += br * re[k];
            if (WantIm && OutC) sumIm += br * ki;
        }
    }

    // Out of line: it runs once per 128 staged results, and the term loops
    // that call it keep their registers.
    __attribute__((noinline)) void Drain() {
        OperatorPsiLookupStaged(
            *bra, dets, n, nword,
            [](const WaveFunctionType& basis, uint32_t i) {
                __builtin_prefetch(WaveFunctionDet(basis, i));
                __builtin_prefetch(&WaveFunctionRe(basis, i));
                if (BraC) __builtin_prefetch(&WaveFunctionIm(basis, i));
            },
            [this](unsigned int k, uint32_t i) { Found(k, i); });
        n = 0;
        OperatorPsiMergeClear(&merge);
    }

    template <bool OpC, bool ExactKey>
    bool Accept(double f, double vr, double vi, uint64_t key) {
        double r, i = 0.0;
        OperatorPsiTermValue<OpC, StC, OutC>(a, b, vr, vi, f, r, i);
        const unsigned int k = OperatorPsiMergePlace<ExactKey>(&merge, key, dets, nword, n);
        if (k != n) {
            re[k] += r;
            if (OutC) im[k] += i;
            return true;
        }
        re[n] = r;
        if (OutC) im[n] = i;
        if (++n == WaveFunctionStagingSize) Drain();
        return true;
    }
};

// <bra| O |ket> (P_R O when R is not null) for the kind given, which must
// match the ket; the bra is read as real or complex by its own QComplex.
// With wantIm false only the real part is formed and *im (if not null) is
// set to 0.  Checks that the operator's modes fit the ket's determinants and
// that bra and ket have determinants of one size; messages name `who`.
int ExpectationBraKet(OperatorPsiKindType kind, const OperatorType& O, const WaveFunctionType& bra,
                      const WaveFunctionType& ket, const DeterminantRestrictionType* R, bool wantIm, double* re,
                      double* im, const char* who);

// The kind of O (0 real, 1 complex, 2 mixed, from its lengths) with the kind
// of psi, and O's own restriction or null.
inline OperatorPsiKindType ExpectationKind(const OperatorType& O, const WaveFunctionType& psi) {
    return OperatorPsiChooseKind(OperatorPsiKind(O), psi.QComplex != 0);
}
inline const DeterminantRestrictionType* ExpectationOwnRestriction(const OperatorType& O) {
    return O.Restrictions.NRestriction > 0 ? &O.Restrictions : nullptr;
}

#endif
