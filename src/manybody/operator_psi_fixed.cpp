// The fixed-basis kernels: O psi into a state whose basis exists already
// (the basis of psi, or one made beforehand).  Results are looked up in the
// basis, which nobody changes meanwhile, and added with atomic double
// additions; results outside the basis are dropped.  No staging, no lock and
// nothing that can fail inside the loops.
#include <omp.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "manybody/fatal.h"
#include "manybody/operator_psi.h"
#include "manybody/operator_psi_engine.h"

namespace {

typedef OperatorPsiKindType Kind;

// A thread's results, merged like a staging buffer and looked up in the
// basis 128 at a time (OperatorPsiLookupStaged); a result outside the basis
// is dropped.  With Atomic the values are added with atomic additions.
template <bool StC, bool OutC, bool Atomic>
struct ConserveSink {
    static constexpr bool kStrictCut = false;
    const WaveFunctionType* out;
    uint32_t nword;
    uint8_t* dets;  // OperatorPsiStageBytes(nword)
    double* re;     // WaveFunctionStagingSize values each
    double* im;
    unsigned int n;
    double a, b;
    uint64_t accepted;
    OperatorPsiMergeTableType merge;

    void Start(const WaveFunctionType* target, const OperatorPsiWorkType& w, uint32_t bytes) {
        out = target;
        nword = bytes;
        dets = w.dets;
        re = w.re;
        im = w.im;
        n = 0;
        a = b = 0.0;
        accepted = 0;
        OperatorPsiMergeInit(&merge);
    }

    uint8_t* Scratch() { return dets + (size_t)n * nword; }

    // Out of line: it runs once per 128 staged results, and the term loops
    // that call it keep their registers.
    __attribute__((noinline)) void Drain() {
        const WaveFunctionType& T = *out;
        OperatorPsiLookupStaged(
            T, dets, n, nword,
            [](const WaveFunctionType& basis, uint32_t i) {
                __builtin_prefetch(WaveFunctionDet(basis, i));
                __builtin_prefetch(&WaveFunctionRe(basis, i), 1);
                if (OutC) __builtin_prefetch(&WaveFunctionIm(basis, i), 1);
            },
            [this, &T](unsigned int k, uint32_t i) {
                if (Atomic) {
                    OperatorPsiAtomicAdd(WaveFunctionRe(T, i), re[k]);
                    if (OutC) OperatorPsiAtomicAdd(WaveFunctionIm(T, i), im[k]);
                } else {
                    WaveFunctionRe(T, i) += re[k];
                    if (OutC) WaveFunctionIm(T, i) += im[k];
                }
            });
        n = 0;
        OperatorPsiMergeClear(&merge);
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
        if (++n == WaveFunctionStagingSize) Drain();
        return true;
    }
};

// A thread's working area; without it the kernel cannot go on and has no way
// back.
OperatorPsiWorkType WorkOrExit(uint32_t nword) {
    OperatorPsiWorkType w = OperatorPsiWorkAlloc(nword);
    if (w.memory == nullptr) FatalAllocationExit();
    return w;
}

template <int W, bool StC, bool OutC, bool Atomic>
void ConserveLoop(const OperatorType& O, const WaveFunctionType& psi, const WaveFunctionType& target,
                  const OperatorPsiShapeType& s, const OperatorPsiWorkType& work) {
    ConserveSink<StC, OutC, Atomic> sink;
    sink.Start(&target, work, s.NWord);
    const long long N = psi.N;
#pragma omp for schedule(static) nowait
    for (long long i = 1; i <= N; i++) {
        const uint32_t e = (uint32_t)i;
        sink.a = WaveFunctionRe(psi, e);
        if (StC) sink.b = WaveFunctionIm(psi, e);
        OperatorPsiApplyToElement<W, false>(O, s, WaveFunctionDet(psi, e), sink);
    }
    sink.Drain();
    OperatorPsiProfileAccepted(sink.accepted);
}

// O applied to one determinant of prefactor 1, on the calling thread.
template <bool OutC>
void DeterminantLoop(const OperatorType& O, const OperatorPsiShapeType& s, const uint8_t* det,
                     const WaveFunctionType* target, const OperatorPsiWorkType& work) {
    ConserveSink<false, OutC, false> sink;
    sink.Start(target, work, s.NWord);
    sink.a = 1.0;
    OperatorPsiApplyToElement<0, false>(O, s, det, sink);
    sink.Drain();
}

// The parallel application into the basis of target.  A team of one thread
// adds without atomics: nobody else writes.  The region's closing barrier
// ends the kernel.
template <int W, bool StC, bool OutC>
void ConserveRegion(const OperatorType& O, const WaveFunctionType& psi, const WaveFunctionType& target,
                    const OperatorPsiShapeType& s) {
#pragma omp parallel
    {
        OperatorPsiWorkType work = WorkOrExit(s.NWord);
        if (omp_get_num_threads() > 1)
            ConserveLoop<W, StC, OutC, true>(O, psi, target, s, work);
        else
            ConserveLoop<W, StC, OutC, false>(O, psi, target, s, work);
        free(work.memory);
    }
}

void RunConserve(Kind kind, const OperatorType& O, const WaveFunctionType& psi, const WaveFunctionType& target) {
    OperatorPsiShapeType s;
    OperatorTermMasksType masks;
    OperatorPsiInitShape(&s, &masks, O, psi, nullptr, psi.N);
    OperatorPsiDispatchShape(s, [&](auto words, auto) {
        OperatorPsiDispatchValues(kind, [&](auto stateComplex, auto resultComplex) {
            ConserveRegion<decltype(words)::value, decltype(stateComplex)::value, decltype(resultComplex)::value>(
                O, psi, target, s);
        });
    });
    FreeOperatorTermMasks(&masks);
}

// NBlok zeroed value blocks in a new pointer array, or null after printing
// text01 (the array) or text02 (a block), with nothing left allocated.
double** ZeroedBlocks(uint32_t nblok, const char* text01, const char* text02) {
    double** blocks = static_cast<double**>(malloc((nblok > 0 ? nblok : 1) * sizeof(double*)));
    if (blocks == nullptr) {
        OperatorPsiSay(text01);
        return nullptr;
    }
    for (uint32_t b = 0; b < nblok; b++) {
        blocks[b] = static_cast<double*>(calloc(WaveFunctionBlokSize, sizeof(double)));
        if (blocks[b] == nullptr) {
            OperatorPsiSay(text02);
            for (uint32_t k = 0; k < b; k++) free(blocks[k]);
            free(blocks);
            return nullptr;
        }
    }
    return blocks;
}

void FreeBlocks(double** blocks, uint32_t nblok) {
    if (blocks == nullptr) return;
    for (uint32_t b = 0; b < nblok; b++) free(blocks[b]);
    free(blocks);
}

int ConserveBasis(Kind kind, const OperatorType& O, const WaveFunctionType& psi, WaveFunctionType* Opsi) {
    const bool outComplex = OperatorPsiKindComplexResult(kind);
    memset(Opsi->Name, 0, sizeof(Opsi->Name));
    strcpy(Opsi->Name, "Wave Function");
    Opsi->N = psi.N;
    Opsi->NBlok = psi.NBlok;
    Opsi->NFermion = psi.NFermion;
    Opsi->NBoson = psi.NBoson;
    Opsi->NWord = psi.NWord;
    Opsi->Next = psi.Next;
    Opsi->Determinant = psi.Determinant;
    Opsi->NBitsKey = psi.NBitsKey;
    Opsi->KeyList = psi.KeyList;
    Opsi->QComplex = outComplex ? 1 : 0;
    Opsi->ValueIm = nullptr;
    Opsi->ValueRe = ZeroedBlocks(psi.NBlok, "alloc failed OperatorPsiConserveBasis 01",
                                 "alloc failed OperatorPsiConserveBasis 02");
    if (Opsi->ValueRe != nullptr && outComplex) {
        Opsi->ValueIm = ZeroedBlocks(psi.NBlok, "alloc failed OperatorPsiConserveBasis 01",
                                     "alloc failed OperatorPsiConserveBasis 02");
        if (Opsi->ValueIm == nullptr) {
            FreeBlocks(Opsi->ValueRe, psi.NBlok);
            Opsi->ValueRe = nullptr;
        }
    }
    if (Opsi->ValueRe == nullptr) {
        // Nothing of the failed result may pass for a sharer of the basis.
        Opsi->N = 0;
        Opsi->NBlok = 0;
        Opsi->Next = nullptr;
        Opsi->Determinant = nullptr;
        Opsi->KeyList = nullptr;
        return 1;
    }
    RunConserve(kind, O, psi, *Opsi);
    return 0;
}

int PreAllocated(Kind kind, const OperatorType& O, const WaveFunctionType& psi, WaveFunctionType* Opsi) {
    if (!OperatorPsiKindComplexResult(kind)) {
        if (Opsi->QComplex) {
            FreeBlocks(Opsi->ValueIm, Opsi->NBlok);
            Opsi->ValueIm = nullptr;
            Opsi->QComplex = 0;
        }
    } else if (!Opsi->QComplex) {
        if (PromoteRealWaveFunctionToComplex(Opsi) != 0) {
            char text[160];
            snprintf(text, sizeof(text), "MakeComplexWaveFunctionFromReal failed in OperatorPsiConserveBasisPreAllocated%s",
                     OperatorPsiKindName(kind));
            OperatorPsiSay(text);
            return 1;
        }
    }
    // Clear every value block, the blocks split among the threads.
    const long long nblok = Opsi->NBlok;
    double** re = Opsi->ValueRe;
    double** im = Opsi->QComplex ? Opsi->ValueIm : nullptr;
#pragma omp parallel for schedule(static)
    for (long long b = 0; b < nblok; b++) {
        memset(re[b], 0, WaveFunctionBlokSize * sizeof(double));
        if (im != nullptr) memset(im[b], 0, WaveFunctionBlokSize * sizeof(double));
    }
    RunConserve(kind, O, psi, *Opsi);
    return 0;
}

bool ShapesFit(const OperatorType& O, const WaveFunctionType& psi, const WaveFunctionType& target,
               const char* where) {
    if (OperatorPsiModesFit(O, psi) && psi.NWord == target.NWord) return true;
    char text[200];
    snprintf(text, sizeof(text), "The operator acts on more modes than the determinants of the wave function hold in %s",
             where);
    OperatorPsiSay(text);
    return false;
}

}  // namespace

int OperatorPsiConserveBasis(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    if (!ShapesFit(O, psi, psi, "OperatorPsiConserveBasis")) return 1;
    return ConserveBasis(OperatorPsiChooseKind(OperatorPsiKind(O), psi.QComplex != 0), O, psi, Opsi);
}
int OperatorPsiConserveBasisRR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return ConserveBasis(OperatorPsiKindRR, O, psi, Opsi);
}
int OperatorPsiConserveBasisRC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return ConserveBasis(OperatorPsiKindRC, O, psi, Opsi);
}
int OperatorPsiConserveBasisCR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return ConserveBasis(OperatorPsiKindCR, O, psi, Opsi);
}
int OperatorPsiConserveBasisCC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return ConserveBasis(OperatorPsiKindCC, O, psi, Opsi);
}
int OperatorPsiConserveBasisMR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return ConserveBasis(OperatorPsiKindMR, O, psi, Opsi);
}
int OperatorPsiConserveBasisMC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi) {
    return ConserveBasis(OperatorPsiKindMC, O, psi, Opsi);
}

int OperatorPsiConserveBasisPreAllocated(const OperatorType* O, const WaveFunctionType* psi,
                                         WaveFunctionType* Opsi) {
    if (!ShapesFit(*O, *psi, *Opsi, "OperatorPsiConserveBasisPreAllocated")) return 1;
    return PreAllocated(OperatorPsiChooseKind(OperatorPsiKind(*O), psi->QComplex != 0), *O, *psi, Opsi);
}
int OperatorPsiConserveBasisPreAllocatedRR(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi) {
    return PreAllocated(OperatorPsiKindRR, *O, *psi, Opsi);
}
int OperatorPsiConserveBasisPreAllocatedRC(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi) {
    return PreAllocated(OperatorPsiKindRC, *O, *psi, Opsi);
}
int OperatorPsiConserveBasisPreAllocatedCR(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi) {
    return PreAllocated(OperatorPsiKindCR, *O, *psi, Opsi);
}
int OperatorPsiConserveBasisPreAllocatedCC(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi) {
    return PreAllocated(OperatorPsiKindCC, *O, *psi, Opsi);
}
int OperatorPsiConserveBasisPreAllocatedMR(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi) {
    return PreAllocated(OperatorPsiKindMR, *O, *psi, Opsi);
}
int OperatorPsiConserveBasisPreAllocatedMC(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi) {
    return PreAllocated(OperatorPsiKindMC, *O, *psi, Opsi);
}

int OperatorDeterminantPreAllocated(const OperatorType* O, const uint8_t* det, WaveFunctionType* Opsi) {
    const uint32_t kind = OperatorPsiKind(*O);
    if (kind != 0 && !Opsi->QComplex) {
        OperatorPsiSay(kind == 1 ? "Can't store result of complex operator times determinant in real function"
                                 : "Can't store result of mixed complex/real operator times determinant in real function");
        return 1;
    }
    if (!ShapesFit(*O, *Opsi, *Opsi, "OperatorDeterminantPreAllocated")) return 1;
    for (uint32_t b = 0; b < Opsi->NBlok; b++) {
        memset(Opsi->ValueRe[b], 0, WaveFunctionBlokSize * sizeof(double));
        if (Opsi->QComplex) memset(Opsi->ValueIm[b], 0, WaveFunctionBlokSize * sizeof(double));
    }
    OperatorPsiWorkType work = WorkOrExit(Opsi->NWord);
    OperatorPsiShapeType s;
    OperatorTermMasksType masks;
    OperatorPsiInitShape(&s, &masks, *O, *Opsi, nullptr, 0);  // one determinant: no masks
    if (Opsi->QComplex)
        DeterminantLoop<true>(*O, s, det, Opsi, work);
    else
        DeterminantLoop<false>(*O, s, det, Opsi, work);
    free(work.memory);
    return 0;
}
