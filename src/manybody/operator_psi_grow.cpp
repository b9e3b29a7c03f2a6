// The growing-basis kernels: O psi into a new state whose basis is built as
// the results arrive, through per-thread staging buffers drained under the
// critical section AddToPsi.
#include <cstdio>
#include <cstdlib>

#include "manybody/operator_psi.h"
#include "manybody/operator_psi_engine.h"

OperatorPsiProfileType OperatorPsiProfile = {0, 0.0, 0, 0, 0, 0};

void OperatorPsiProfileReset() {
    OperatorPsiProfile.FlushSeconds = 0.0;
    OperatorPsiProfile.Flushes = 0;
    OperatorPsiProfile.NonEmptyFlushes = 0;
    OperatorPsiProfile.Entries = 0;
    OperatorPsiProfile.Accepted = 0;
}

namespace {

typedef OperatorPsiKindType Kind;
const Kind RR = OperatorPsiKindRR, RC = OperatorPsiKindRC, CR = OperatorPsiKindCR, CC = OperatorPsiKindCC,
           MR = OperatorPsiKindMR, MC = OperatorPsiKindMC;

// A thread's staging buffer and the state it drains into.
template <bool StC, bool OutC>
struct GrowSink {
    static constexpr bool kStrictCut = true;
    WaveFunctionType* out;
    uint32_t nword;
    uint8_t* dets;  // OperatorPsiStageBytes(nword)
    double re[WaveFunctionStagingSize];
    double im[WaveFunctionStagingSize];
    unsigned int n;
    double a, b;  // prefactor of the input element
    uint64_t accepted;
    bool alone;  // the only thread of its team
    OperatorPsiMergeTableType merge;
    const char* failText;
    int* failed;

    uint8_t* Scratch() { return dets + (size_t)n * nword; }

    int Flush() {
        OperatorPsiPrefetchDrain(out[0], dets, n, alone);
        const int status = OperatorPsiTimedFlush(n, [this]() {
            return OutC ? ComplexWaveFunctionAddElementOMPMiniFlush(out, &n, dets, re, im)
                        : RealWaveFunctionAddElementOMPMiniFlush(out, &n, dets, re);
        });
        OperatorPsiMergeClear(&merge);
        return status;
    }

    template <bool OpC, bool ExactKey>
    bool Accept(double f, double vr, double vi, uint64_t key) {
        accepted++;
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
        if (++n < WaveFunctionStagingSize) return true;
        if (Flush() == 0) return true;
        OperatorPsiFail(failText, failed);
        return false;
    }
};

// Staging determinants live on the thread's stack up to this size.
const size_t kStackStageBytes = WaveFunctionStagingSize * 64 + OperatorPsiStageSlack;

template <int W, bool Restricted, bool StC, bool OutC>
void GrowRegion(const OperatorType& O, const WaveFunctionType& psi, WaveFunctionType* Opsi,
                const OperatorPsiShapeType& s, const char* text01, const char* text02, const char* textStage,
                int* failed) {
    const long long N = psi.N;
#pragma omp parallel
    {
        alignas(8) uint8_t stackDets[kStackStageBytes];
        GrowSink<StC, OutC> sink;
        sink.out = Opsi;
        sink.nword = s.NWord;
        sink.n = 0;
        sink.a = sink.b = 0.0;
        sink.accepted = 0;
        sink.alone = omp_get_num_threads() == 1;
        OperatorPsiMergeInit(&sink.merge);
        sink.failText = text01;
        sink.failed = failed;
        const size_t stageBytes = OperatorPsiStageBytes(s.NWord);
        uint8_t* heapDets = nullptr;
        sink.dets = stackDets;
        if (stageBytes > kStackStageBytes) {
            heapDets = static_cast<uint8_t*>(malloc(stageBytes));
            sink.dets = heapDets;
            if (heapDets == nullptr) OperatorPsiFail(textStage, failed);
        }
#pragma omp for schedule(static)
        for (long long i = 1; i <= N; i++) {
            int stop;
#pragma omp atomic read
            stop = *failed;
            if (stop) continue;
            const uint32_t e = (uint32_t)i;
            sink.a = WaveFunctionRe(psi, e);
            if (StC) sink.b = WaveFunctionIm(psi, e);
            OperatorPsiApplyToElement<W, Restricted>(O, s, WaveFunctionDet(psi, e), sink);
        }
        // The worksharing barrier has passed: every chunk is done.  Staged
        // entries are drained even after another thread failed.
        if (sink.Flush() != 0) OperatorPsiFail(text02, failed);
        OperatorPsiProfileAccepted(sink.accepted);
        free(heapDets);
    }
}

// The whole growing application for one kind, restricted by R when R has
// ranges.
int RunGrowing(Kind kind, const OperatorType& O, const WaveFunctionType& psi, WaveFunctionType* Opsi,
               const DeterminantRestrictionType* R) {
    const char* name = OperatorPsiKindName(kind);
    const bool outComplex = kind != RR;
    char text[160];

    Opsi->QComplex = outComplex ? 1 : 0;
    Opsi->NFermion = psi.NFermion;
    Opsi->NBoson = psi.NBoson;
    Opsi->NBitsKey = psi.NBitsKey;
    if (WaveFunctionInit(Opsi) != 0) {
        snprintf(text, sizeof(text), "Could not initialize Opsi in OperatorPsi%s", name);
        OperatorPsiSay(text);
        return 1;
    }

    OperatorPsiShapeType s;
    OperatorTermMasksType masks;
    OperatorPsiInitShape(&s, &masks, O, psi, R, psi.N);

    char text01[160], text02[160], textStage[160];
    const char* flush = outComplex ? "ComplexWaveFunctionAddElementOMPMiniFlush" : "RealWaveFunctionAddElementOMPMiniFlush";
    snprintf(text01, sizeof(text01), "%s failed in OperatorPsi%s\n 01", flush, name);
    snprintf(text02, sizeof(text02), "%s failed in OperatorPsi%s 02", flush, name);
    snprintf(textStage, sizeof(textStage), "Could not allocate the staging buffer in OperatorPsi%s", name);

    int failed = 0;
    OperatorPsiDispatchShape(s, [&](auto words, auto restricted) {
        OperatorPsiDispatchValues(kind, [&](auto stateComplex, auto resultComplex) {
            GrowRegion<decltype(words)::value, decltype(restricted)::value, decltype(stateComplex)::value,
                       decltype(resultComplex)::value>(
                O, psi, Opsi, s, text01, text02, textStage, &failed);
        });
    });
    FreeOperatorTermMasks(&masks);

    if (failed) {
        WaveFunctionFree(Opsi);
        return 1;
    }
    return 0;
}

int Dispatch(const OperatorType& O, const WaveFunctionType& psi, WaveFunctionType* Opsi,
             const DeterminantRestrictionType* R) {
    if (!OperatorPsiModesFit(O, psi)) {
        OperatorPsiSay("The operator acts on more modes than the determinants of the wave function hold in OperatorPsi");
        return 1;
    }
    return RunGrowing(OperatorPsiChooseKind(OperatorPsiKind(O), psi.QComplex != 0), O, psi, Opsi, R);
}

}  // namespace

int OperatorPsi(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return Dispatch(O, psi, Opsi, O.Restrictions.NRestriction != 0 ? &O.Restrictions : nullptr);
}

int OperatorPsiRestricted(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                          DeterminantRestrictionType R) {
    return Dispatch(O, psi, Opsi, &R);
}

int OperatorPsiRR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return RunGrowing(RR, O, psi, Opsi, nullptr);
}
int OperatorPsiRC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return RunGrowing(RC, O, psi, Opsi, nullptr);
}
int OperatorPsiCR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return RunGrowing(CR, O, psi, Opsi, nullptr);
}
int OperatorPsiCC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return RunGrowing(CC, O, psi, Opsi, nullptr);
}
int OperatorPsiMR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return RunGrowing(MR, O, psi, Opsi, nullptr);
}
int OperatorPsiMC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return RunGrowing(MC, O, psi, Opsi, nullptr);
}

int OperatorPsiRestrictedRR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R) {
    return RunGrowing(RR, O, psi, Opsi, &R);
}
int OperatorPsiRestrictedRC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R) {
    return RunGrowing(RC, O, psi, Opsi, &R);
}
int OperatorPsiRestrictedCR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R) {
    return RunGrowing(CR, O, psi, Opsi, &R);
}
int OperatorPsiRestrictedCC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R) {
    return RunGrowing(CC, O, psi, Opsi, &R);
}
int OperatorPsiRestrictedMR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R) {
    return RunGrowing(MR, O, psi, Opsi, &R);
}
int OperatorPsiRestrictedMC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R) {
    return RunGrowing(MC, O, psi, Opsi, &R);
}
