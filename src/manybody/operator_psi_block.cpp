// O applied to a block of states that share one basis.  The parallel form
// works out each term's ladders once per determinant and applies the factor
// to all members at once, staging one determinant with one value per member;
// the serial form applies O state by state and gathers the results on one
// basis.
#include <cstdio>
#include <cstdlib>

#include "base/verbosity.h"
#include "manybody/operator_psi.h"
#include "manybody/operator_psi_engine.h"

namespace {

typedef OperatorPsiKindType Kind;

template <bool StC, bool OutC>
struct BlockSink {
    static constexpr bool kStrictCut = true;
    WaveFunctionType* out;
    unsigned int count;
    uint32_t nword;
    uint8_t* dets;  // WaveFunctionStagingSize determinants and the slack
    double* re;     // WaveFunctionStagingSize * count values
    double* im;     // the same for a complex result, else null
    unsigned int n;
    const double* a;  // the input element's prefactors, one per member
    const double* b;
    uint64_t accepted;
    bool alone;  // the only thread of its team
    OperatorPsiMergeTableType merge;
    const char* failText;
    int* failed;

    uint8_t* Scratch() { return dets + (size_t)n * nword; }

    int Flush() {
        OperatorPsiPrefetchDrain(out[0], dets, n, alone);
        const int status = OperatorPsiTimedFlush(n, [this]() {
            return OutC ? ComplexBlockWaveFunctionAddElementOMPMiniFlush(out, &n, dets, re, im, count)
                        : RealBlockWaveFunctionAddElementOMPMiniFlush(out, &n, dets, re, count);
        });
        OperatorPsiMergeClear(&merge);
        return status;
    }

    template <bool OpC, bool ExactKey>
    bool Accept(double f, double vr, double vi, uint64_t key) {
        accepted++;
        const unsigned int k = OperatorPsiMergePlace<ExactKey>(&merge, key, dets, nword, n);
        double* r = re + (size_t)k * count;
        double unused = 0.0;
        if (k != n) {
            for (unsigned int j = 0; j < count; j++) {
                double x, y = 0.0;
                OperatorPsiTermValue<OpC, StC, OutC>(a[j], b[j], vr, vi, f, x, y);
                r[j] += x;
                if (OutC) im[(size_t)k * count + j] += y;
            }
            return true;
        }
        for (unsigned int j = 0; j < count; j++) {
            double& m = OutC ? im[(size_t)n * count + j] : unused;
            OperatorPsiTermValue<OpC, StC, OutC>(a[j], b[j], vr, vi, f, r[j], m);
        }
        if (++n < WaveFunctionStagingSize) return true;
        if (Flush() == 0) return true;
        OperatorPsiFail(failText, failed);
        return false;
    }
};

template <int W, bool Restricted, bool StC, bool OutC>
void BlockRegion(const OperatorType& O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count,
                 const OperatorPsiShapeType& s, const char* text01, const char* text02, const char* textStage,
                 int* failed) {
    const long long N = psi[0].N;
#pragma omp parallel
    {
        // One allocation holds the thread's staging area and the prefactors
        // of the element at hand.
        const size_t staged = WaveFunctionStagingSize;
        const size_t values = staged * count * (OutC ? 2 : 1) + 2 * (size_t)count;
        const size_t detBytes = OperatorPsiStageBytes(s.NWord);
        double* work = static_cast<double*>(malloc(values * sizeof(double) + detBytes));
        BlockSink<StC, OutC> sink;
        sink.out = Opsi;
        sink.count = count;
        sink.nword = s.NWord;
        sink.n = 0;
        sink.accepted = 0;
        sink.alone = omp_get_num_threads() == 1;
        OperatorPsiMergeInit(&sink.merge);
        sink.failText = text01;
        sink.failed = failed;
        double* a = nullptr;
        double* b = nullptr;
        if (work == nullptr) {
            OperatorPsiFail(textStage, failed);
            sink.re = sink.im = nullptr;
            sink.dets = nullptr;
        } else {
            sink.re = work;
            sink.im = OutC ? work + staged * count : nullptr;
            a = work + staged * count * (OutC ? 2 : 1);
            b = a + count;
            sink.dets = reinterpret_cast<uint8_t*>(b + count);
        }
        sink.a = a;
        sink.b = b;
#pragma omp for schedule(static)
        for (long long i = 1; i <= N; i++) {
            int stop;
#pragma omp atomic read
            stop = *failed;
            if (stop) continue;
            const uint32_t e = (uint32_t)i;
            for (unsigned int j = 0; j < count; j++) {
                a[j] = WaveFunctionRe(psi[j], e);
                b[j] = psi[j].QComplex ? WaveFunctionIm(psi[j], e) : 0.0;
            }
            OperatorPsiApplyToElement<W, Restricted>(O, s, WaveFunctionDet(psi[0], e), sink);
        }
        if (sink.Flush() != 0) OperatorPsiFail(text02, failed);
        OperatorPsiProfileAccepted(sink.accepted);
        free(work);
    }
}

bool AnyComplex(const WaveFunctionType* psi, unsigned int count) {
    for (unsigned int j = 0; j < count; j++)
        if (psi[j].QComplex) return true;
    return false;
}

int RunBlock(Kind kind, const OperatorType& O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
             unsigned int count, const DeterminantRestrictionType* R) {
    if (count == 0) return 0;
    const char* name = OperatorPsiKindName(kind);
    const bool outComplex = OperatorPsiKindComplexResult(kind);
    // The mixed operator on real states reports a failed first record like
    // RR.
    const char* initName = kind == OperatorPsiKindMR ? "RR" : name;
    char text[200];

    Opsi[0].QComplex = outComplex ? 1 : 0;
    Opsi[0].NFermion = psi[0].NFermion;
    Opsi[0].NBoson = psi[0].NBoson;
    Opsi[0].NBitsKey = psi[0].NBitsKey;
    if (WaveFunctionInit(&Opsi[0]) != 0) {
        snprintf(text, sizeof(text), "Could not initialize Opsi[0] in BlockOperatorPsi%s", initName);
        OperatorPsiSay(text);
        return 1;
    }
    for (unsigned int j = 1; j < count; j++) {
        if (WaveFunctionInitCopyBasis(&Opsi[j], Opsi[0]) != 0) {
            printf("Could not initialize Opsi[%i] in BlockOperatorPsi%s\n", (int)j, name);
            fflush(stdout);
            BlockWaveFunctionFree(Opsi, j);
            return 1;
        }
    }

    OperatorPsiShapeType s;
    OperatorTermMasksType masks;
    OperatorPsiInitShape(&s, &masks, O, psi[0], R, psi[0].N);

    char text01[200], text02[200], textStage[200];
    if (outComplex) {
        snprintf(text01, sizeof(text01), "ComplexBlockWaveFunctionAddElementOMPMiniFlush failed in BlockOperatorPsi%s\n 01",
                 name);
        snprintf(text02, sizeof(text02), "ComplexBlockWaveFunctionAddElementOMPMiniFlush failed in BlockOperatorPsi%s 02",
                 name);
    } else {
        snprintf(text01, sizeof(text01), "RealWaveFunctionAddElementOMPMiniFlush failed in BlockOperatorPsi%s\n 01",
                 name);
        snprintf(text02, sizeof(text02), "RealBlockWaveFunctionAddElementOMPMiniFlush failed in BlockOperatorPsi%s 02",
                 name);
    }
    snprintf(textStage, sizeof(textStage), "Could not allocate the staging buffer in BlockOperatorPsi%s", name);

    int failed = 0;
    OperatorPsiDispatchShape(s, [&](auto words, auto restricted) {
        OperatorPsiDispatchValues(kind, [&](auto stateComplex, auto resultComplex) {
            BlockRegion<decltype(words)::value, decltype(restricted)::value, decltype(stateComplex)::value,
                        decltype(resultComplex)::value>(O, psi, Opsi, count, s, text01, text02, textStage,
                                                        &failed);
        });
    });
    FreeOperatorTermMasks(&masks);

    if (failed) {
        BlockWaveFunctionFree(Opsi, count);
        return 1;
    }
    return 0;
}

bool BlockModesFit(const OperatorType& O, const WaveFunctionType* psi, const char* where) {
    if (OperatorPsiModesFit(O, psi[0])) return true;
    char text[200];
    snprintf(text, sizeof(text), "The operator acts on more modes than the determinants of the wave function hold in %s",
             where);
    OperatorPsiSay(text);
    return false;
}

// The determinants of part join the basis of psi with value 0, so that the
// values of psi stay as they are.
int JoinBasis(WaveFunctionType* psi, const WaveFunctionType& part) {
    for (uint32_t e = 1; e <= part.N; e++) {
        const uint8_t* det = WaveFunctionDet(part, e);
        const int status = psi->QComplex ? ComplexWaveFunctionAddElement(psi, det, 0.0, 0.0)
                                         : RealWaveFunctionAddElement(psi, det, 0.0);
        if (status != 0) return 1;
    }
    return 0;
}

// The serial block application; R null means the operator's own
// restrictions, as OperatorPsi applies them.
int SerialBlock(const OperatorType& O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count,
                const DeterminantRestrictionType* R) {
    VerbosityPrintf(0x100, "Start of BlockOperatorPsiSerial\n");
    if (count == 0) return 0;
    auto apply = [&](const WaveFunctionType& in, WaveFunctionType* out) {
        return R != nullptr ? OperatorPsiRestricted(O, in, out, *R) : OperatorPsi(O, in, out);
    };
    if (apply(psi[0], &Opsi[0]) != 0) {
        OperatorPsiSay("OperatorPsi failed in BlockOperatorPsiSerial");
        return 1;
    }
    // Every member's new determinants join the basis before any copy of it
    // is made, since joining may move the basis' pointer arrays.
    for (unsigned int j = 1; j < count; j++) {
        WaveFunctionType part;
        if (apply(psi[j], &part) != 0) {
            OperatorPsiSay("OperatorPsi failed in BlockOperatorPsiSerial");
            WaveFunctionFree(&Opsi[0]);
            return 1;
        }
        const int status = JoinBasis(&Opsi[0], part);
        WaveFunctionFree(&part);
        if (status != 0) {
            printf("Adding the determinants of O psi[%i] to the basis failed in BlockOperatorPsiSerial\n", (int)j);
            fflush(stdout);
            WaveFunctionFree(&Opsi[0]);
            return 1;
        }
    }
    for (unsigned int j = 1; j < count; j++) {
        if (WaveFunctionInitCopyBasis(&Opsi[j], Opsi[0]) != 0) {
            OperatorPsiSay("WaveFunctionInitCopyBasis failed in BlockOperatorPsiSerial");
            BlockWaveFunctionFree(Opsi, j);
            return 1;
        }
    }
    for (unsigned int j = 1; j < count; j++) {
        if (OperatorPsiConserveBasisPreAllocated(&O, &psi[j], &Opsi[j]) != 0) {
            OperatorPsiSay("OperatorPsiConserveBasisPreAllocated failed in BlockOperatorPsiSerial");
            BlockWaveFunctionFree(Opsi, count);
            return 1;
        }
    }
    return 0;
}

}  // namespace

int BlockOperatorPsi(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count) {
    if (count == 0) return 0;
    if (O.Restrictions.NRestriction != 0) return BlockOperatorPsiSerialRestricted(O, psi, Opsi, O.Restrictions, count);
    if (!BlockModesFit(O, psi, "BlockOperatorPsi")) return 1;
    return RunBlock(OperatorPsiChooseKind(OperatorPsiKind(O), AnyComplex(psi, count)), O, psi, Opsi, count, nullptr);
}

int BlockOperatorPsiRestricted(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                               DeterminantRestrictionType R, unsigned int count) {
    if (count == 0) return 0;
    if (!BlockModesFit(O, psi, "BlockOperatorPsiRestricted")) return 1;
    return RunBlock(OperatorPsiChooseKind(OperatorPsiKind(O), AnyComplex(psi, count)), O, psi, Opsi, count, &R);
}

int BlockOperatorPsiRR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count) {
    return RunBlock(OperatorPsiKindRR, O, psi, Opsi, count, nullptr);
}
int BlockOperatorPsiRC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count) {
    return RunBlock(OperatorPsiKindRC, O, psi, Opsi, count, nullptr);
}
int BlockOperatorPsiCR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count) {
    return RunBlock(OperatorPsiKindCR, O, psi, Opsi, count, nullptr);
}
int BlockOperatorPsiCC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count) {
    return RunBlock(OperatorPsiKindCC, O, psi, Opsi, count, nullptr);
}
int BlockOperatorPsiMR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count) {
    return RunBlock(OperatorPsiKindMR, O, psi, Opsi, count, nullptr);
}
int BlockOperatorPsiMC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count) {
    return RunBlock(OperatorPsiKindMC, O, psi, Opsi, count, nullptr);
}

int BlockOperatorPsiRestrictedRR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count) {
    return RunBlock(OperatorPsiKindRR, O, psi, Opsi, count, &R);
}
int BlockOperatorPsiRestrictedRC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count) {
    return RunBlock(OperatorPsiKindRC, O, psi, Opsi, count, &R);
}
int BlockOperatorPsiRestrictedCR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count) {
    return RunBlock(OperatorPsiKindCR, O, psi, Opsi, count, &R);
}
int BlockOperatorPsiRestrictedCC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count) {
    return RunBlock(OperatorPsiKindCC, O, psi, Opsi, count, &R);
}
int BlockOperatorPsiRestrictedMR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count) {
    return RunBlock(OperatorPsiKindMR, O, psi, Opsi, count, &R);
}
int BlockOperatorPsiRestrictedMC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count) {
    return RunBlock(OperatorPsiKindMC, O, psi, Opsi, count, &R);
}

int BlockOperatorPsiSerial(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count) {
    return SerialBlock(O, psi, Opsi, count, nullptr);
}

int BlockOperatorPsiSerialRestricted(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                     DeterminantRestrictionType R, unsigned int count) {
    return SerialBlock(O, psi, Opsi, count, &R);
}

int BlockOperatorPsiSerialConserveBasisPreAllocated(OperatorType O, const WaveFunctionType* psi,
                                                    WaveFunctionType* Opsi, unsigned int count) {
    for (unsigned int j = 0; j < count; j++) {
        if (OperatorPsiConserveBasisPreAllocated(&O, &psi[j], &Opsi[j]) != 0) {
            OperatorPsiSay("OperatorPsiConserveBasisPreAllocated failed in BlockOperatorPsiSerialConserveBasisPreAllocated");
            return 1;
        }
    }
    return 0;
}
