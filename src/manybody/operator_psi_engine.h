// The inner loops shared by the operator-application kernels: one input
// determinant against every term of an operator, length by length, handing
// each surviving result to a sink that stages it for the drain into a
// growing state, for look-ups in a fixed basis, or for a block of states.
//
// Two ways to apply a term, with identical results:
//   - ladder by ladder on a byte copy of the determinant (LaderAction), for
//     any determinant; the copy is skipped when the first ladder cannot act;
//   - through the term masks of term_masks.h, for fermion determinants of at
//     most 16 bytes: 64 terms are tested at a time without branches, and only
//     those that act are worked out.
// Both keep the storage order of the terms.
//
// Staging merges repeats: a thread's buffer holds up to 128 different
// determinants, and a result whose determinant is already staged is added to
// that entry (found through a small table keyed by a hash of the
// determinant) instead of taking a new one.  One input determinant typically
// reaches the same result through several terms (C i C j A k A l and its
// three reorderings, all the diagonal terms), so the drains see several
// times fewer entries.  The sums are the same up to the order of the
// floating-point additions, which is not fixed anyway.
//
// Nothing here allocates, hashes or locks until a result is accepted.
// Internal to the kernels.
#ifndef SKELDA_MANYBODY_OPERATOR_PSI_ENGINE_H
#define SKELDA_MANYBODY_OPERATOR_PSI_ENGINE_H

#include <omp.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "manybody/hash.h"
#include "manybody/lader_action.h"
#include "manybody/operator.h"
#include "manybody/operator_psi.h"
#include "manybody/restriction.h"
#include "manybody/term_masks.h"
#include "manybody/wavefunction.h"

// What the loops need to know besides the operator: the ladder rule's
// fermion count (the operator's), the determinant shape (the state's), the
// restriction to apply, and the term masks when they were made (W words, 0
// for the ladder-by-ladder path).
struct OperatorPsiShapeType {
    uint32_t NF;
    uint32_t NWord;
    uint32_t NBoson;
    const DeterminantRestrictionType* R;
    const OperatorTermMasksType* Masks;
    uint32_t W;
};

// The six pairs of operator kind and state kind.
enum OperatorPsiKindType {
    OperatorPsiKindRR,
    OperatorPsiKindRC,
    OperatorPsiKindCR,
    OperatorPsiKindCC,
    OperatorPsiKindMR,
    OperatorPsiKindMC
};

inline const char* OperatorPsiKindName(OperatorPsiKindType kind) {
    static const char* const names[] = {"RR", "RC", "CR", "CC", "MR", "MC"};
    return names[kind];
}

// The operator's kind from the lengths that hold terms: 0 real, 1 complex,
// 2 mixed.
inline uint32_t OperatorPsiKind(const OperatorType& O) {
    unsigned int used = 0, complex = 0;
    for (uint32_t k = 0; O.l != nullptr && k <= O.MaxLength; k++) {
        if (O.l[k].N == 0) continue;
        used++;
        if (O.l[k].QComplex) complex++;
    }
    if (complex == 0) return 0;
    return complex == used ? 1 : 2;
}

// The pair for an operator kind (0 real, 1 complex, 2 mixed) and a state.
inline OperatorPsiKindType OperatorPsiChooseKind(uint32_t operatorKind, bool complexState) {
    if (operatorKind == 0) return complexState ? OperatorPsiKindRC : OperatorPsiKindRR;
    if (operatorKind == 1) return complexState ? OperatorPsiKindCC : OperatorPsiKindCR;
    return complexState ? OperatorPsiKindMC : OperatorPsiKindMR;
}

// Whether a pair reads complex state values / gives a complex result.
inline bool OperatorPsiKindComplexState(OperatorPsiKindType kind) {
    return kind == OperatorPsiKindRC || kind == OperatorPsiKindCC || kind == OperatorPsiKindMC;
}
inline bool OperatorPsiKindComplexResult(OperatorPsiKindType kind) { return kind != OperatorPsiKindRR; }

// One line of failure text on the standard output, flushed at once.
inline void OperatorPsiSay(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

// From inside a kernel's parallel region: says text and raises the failure
// flag that makes the other threads skip their remaining elements.
inline void OperatorPsiFail(const char* text, int* failed) {
    OperatorPsiSay(text);
#pragma omp atomic write
    *failed = 1;
}

// Whether every ladder mode of O addresses a byte of a determinant of the
// state's shape.
inline bool OperatorPsiModesFit(const OperatorType& O, const WaveFunctionType& psi) {
    return DeterminantNWord(O.NF, O.NB) <= psi.NWord;
}

// ---- Values ---------------------------------------------------------------

// The value of one result: state prefactor a + ib, operator prefactor vr + i
// vi, ladder factor f.  OpC, StC: operator length and state complex; OutC:
// complex result.  The orders of multiplication are part of the result.
template <bool OpC, bool StC, bool OutC>
inline void OperatorPsiTermValue(double a, double b, double vr, double vi, double f, double& re, double& im) {
    if (!OutC) {
        re = a * vr * f;
    } else if (!OpC && !StC) {
        re = a * vr * f;
        im = 0.0;
    } else if (!OpC && StC) {
        re = a * vr * f;
        im = b * vr * f;
    } else if (OpC && !StC) {
        re = a * vr * f;
        im = a * vi * f;
    } else {
        re = (a * vr - b * vi) * f;
        im = f * (b * vr + a * vi);
    }
    (void)b;
    (void)vi;
}

template <bool OpC>
inline double OperatorPsiValueRe(const OperatorFixedLengthType& L, uint32_t t) {
    return OpC ? L.V[t].re : L.VRe[t];
}
template <bool OpC>
inline double OperatorPsiValueIm(const OperatorFixedLengthType& L, uint32_t t) {
    return OpC ? L.V[t].im : 0.0;
}

// ---- Look-ups in a fixed basis --------------------------------------------

// The determinant hash of hash.h, inlined into the kernels' loops.
inline uint32_t OperatorPsiHash(const uint8_t* k, uint32_t length, uint32_t nbits) {
    return HashInline(k, length, nbits);
}

inline void OperatorPsiAtomicAdd(double& target, double value) {
#pragma omp atomic
    target += value;
}

// ---- Restrictions on byte determinants ------------------------------------

inline uint32_t OperatorPsiByteCount(uint8_t v) {
    uint32_t x = v;
    x = x - ((x >> 1) & 0x55u);
    x = (x & 0x33u) + ((x >> 2) & 0x33u);
    return (x + (x >> 4)) & 0x0Fu;
}

// QDetNotRestricted, inlined: set fermion bits under each mask plus boson
// occupations and-ed with the mask byte, range by range.
inline bool OperatorPsiPassesRestriction(const uint8_t* det, const OperatorPsiShapeType& s) {
    const DeterminantRestrictionType& R = *s.R;
    const uint32_t nfb = s.NWord - s.NBoson;
    for (uint32_t r = 0; r < R.NRestriction; r++) {
        const uint8_t* mask = R.Mask[r];
        uint32_t count = 0;
        for (uint32_t k = 0; k < nfb; k++) count += OperatorPsiByteCount(det[k] & mask[k]);
        for (uint32_t k = nfb; k < s.NWord; k++) count += det[k] & mask[k];
        if (count > R.MaxOcc[r] || count < R.MinOcc[r]) return false;
    }
    return true;
}

// ---- Staging ----------------------------------------------------------------

// Staged determinants are written 8W bytes at a time in the mask path, so a
// staging area needs this much room behind its last entry.
const uint32_t OperatorPsiStageSlack = 16;

// Bytes of a staging area of WaveFunctionStagingSize determinants.
inline size_t OperatorPsiStageBytes(uint32_t nword) {
    return (size_t)WaveFunctionStagingSize * nword + OperatorPsiStageSlack;
}

// A 64-bit key of a determinant for the merge table: any function of the
// bytes does; equal determinants must get equal keys.
inline uint64_t OperatorPsiByteKey(const uint8_t* d, uint32_t nword) {
    uint64_t k = 0;
    uint32_t i = 0;
    for (; i + 8 <= nword; i += 8) {
        uint64_t w;
        memcpy(&w, d + i, 8);
        k = (k ^ w) * 0x9E3779B97F4A7C15ull;
    }
    for (; i < nword; i++) k = (k ^ d[i]) * 0x100000001B3ull;
    return k;
}

// The key of a determinant in word form, equal to no particular byte key:
// one path only ever meets one kind of key.  For one word it is the
// determinant itself.
template <int W>
inline uint64_t OperatorPsiWordKey(const uint64_t* y) {
    return W == 1 ? y[0] : y[0] ^ (y[W - 1] * 0xC2B2AE3D27D4EB4Full);
}

// Open addressing over 256 slots for at most 128 staged entries; a slot is
// live when its stamp equals the generation, so clearing is one increment.
// Each live slot holds the key and the entry of a staged determinant.
struct OperatorPsiMergeTableType {
    uint32_t generation;
    uint32_t stamp[256];
    uint8_t entry[256];
    uint64_t key[256];
};

inline void OperatorPsiMergeInit(OperatorPsiMergeTableType* t) {
    memset(t->stamp, 0, sizeof(t->stamp));
    t->generation = 1;
}

inline void OperatorPsiMergeClear(OperatorPsiMergeTableType* t) {
    if (++t->generation == 0) OperatorPsiMergeInit(t);
}

// The staged entry whose determinant equals the one just built at entry n
// (dets + n * nword), or n itself after recording it as a new entry.  With
// ExactKey the key is the determinant itself (one word) and equal keys need
// no comparison of bytes.
template <bool ExactKey>
inline unsigned int OperatorPsiMergePlace(OperatorPsiMergeTableType* t, uint64_t key, const uint8_t* dets,
                                          uint32_t nword, unsigned int n) {
    uint32_t h = (uint32_t)((key * 0x9E3779B97F4A7C15ull) >> 56);
    while (t->stamp[h] == t->generation) {
        if (t->key[h] == key) {
            const unsigned int k = t->entry[h];
            if (ExactKey || DetEqual(dets + (size_t)k * nword, dets + (size_t)n * nword, nword)) return k;
        }
        h = (h + 1) & 255u;
    }
    t->stamp[h] = t->generation;
    t->entry[h] = (uint8_t)n;
    t->key[h] = key;
    return n;
}

// ---- Draining staging buffers ----------------------------------------------

// Touches, ahead of a drain and before the lock is taken, what the drain
// will read first for each of n staged determinants, so that those memory
// accesses overlap instead of waiting in turn under the lock.  With other
// threads about (alone false) only the key-list slots are touched: the key
// list never moves, and its contents are not read.  A thread alone in its
// team may also read the slots and touch the first element of each chain,
// since nobody else writes meanwhile.
__attribute__((always_inline)) inline void OperatorPsiPrefetchDrain(const WaveFunctionType& psi, const uint8_t* dets,
                                                                    unsigned int n, bool alone) {
    const uint32_t nword = psi.NWord, bits = psi.NBitsKey;
    uint32_t slot[WaveFunctionStagingSize];
    for (unsigned int k = 0; k < n; k++) {
        slot[k] = OperatorPsiHash(dets + (size_t)k * nword, nword, bits);
        __builtin_prefetch(psi.KeyList + slot[k]);
    }
    if (!alone) return;
    for (unsigned int k = 0; k < n; k++) {
        const uint32_t i = psi.KeyList[slot[k]];
        if (i == 0) continue;
        __builtin_prefetch(WaveFunctionDet(psi, i));
        __builtin_prefetch(&WaveFunctionNext(psi, i));
        __builtin_prefetch(&WaveFunctionRe(psi, i));
    }
}

// Runs drain() (a ...OMPMiniFlush call on `entries` staged entries) and, when
// the profile is on, adds its wall time and counts to OperatorPsiProfile.
template <class F>
inline int OperatorPsiTimedFlush(unsigned int entries, F&& drain) {
    if (!OperatorPsiProfile.Enabled) return drain();
    const double start = omp_get_wtime();
    const int status = drain();
    const double seconds = omp_get_wtime() - start;
#pragma omp atomic
    OperatorPsiProfile.FlushSeconds += seconds;
#pragma omp atomic
    OperatorPsiProfile.Flushes += 1;
#pragma omp atomic
    OperatorPsiProfile.NonEmptyFlushes += entries > 0 ? 1 : 0;
#pragma omp atomic
    OperatorPsiProfile.Entries += entries;
    return status;
}

// Adds a thread's count of accepted results to the profile.
inline void OperatorPsiProfileAccepted(uint64_t accepted) {
    if (!OperatorPsiProfile.Enabled) return;
#pragma omp atomic
    OperatorPsiProfile.Accepted += accepted;
}

// ---- Look-ups of staged results in a fixed basis --------------------------

// A thread's staging area for look-ups: the determinants and two value
// arrays in one zeroed allocation, memory null when it failed.
struct OperatorPsiWorkType {
    void* memory;
    uint8_t* dets;
    double* re;
    double* im;
};

inline OperatorPsiWorkType OperatorPsiWorkAlloc(uint32_t nword) {
    OperatorPsiWorkType w;
    const size_t values = 2 * (size_t)WaveFunctionStagingSize * sizeof(double);
    w.memory = calloc(values + OperatorPsiStageBytes(nword), 1);
    w.re = static_cast<double*>(w.memory);
    w.im = w.re + WaveFunctionStagingSize;
    w.dets = reinterpret_cast<uint8_t*>(w.im + WaveFunctionStagingSize);
    return w;
}

// Looks each of the n determinants staged at dets (a thread's merged
// results, up to 128) up in T, every step of every chain walk touched one
// round ahead: first all hashes (touching the key-list slots), then all
// chain heads, then rounds that compare the element at hand of each pending
// walk, hand it on at a match and otherwise step to the next element,
// touching it for the next round.  So the memory latencies of the walks
// overlap.  The links are not touched ahead: most walks end at the head,
// and the memory system serves only so many misses at once.  touch(T, i) is
// called ahead of each visit of element i, found(k, i) when staged entry k is
// element i.  Meant to be the body of a sink's drain, which is best kept out
// of line so that the term loops that call it keep their registers.
template <class Touch, class Found>
__attribute__((always_inline)) inline void OperatorPsiLookupStaged(const WaveFunctionType& T, const uint8_t* dets,
                                                                   unsigned int n, uint32_t nword, Touch touch,
                                                                   Found found) {
    uint32_t at[WaveFunctionStagingSize];
    uint8_t pending[WaveFunctionStagingSize];
    for (unsigned int k = 0; k < n; k++) {
        at[k] = OperatorPsiHash(dets + (size_t)k * nword, nword, T.NBitsKey);
        __builtin_prefetch(T.KeyList + at[k]);
    }
    unsigned int left = 0;
    for (unsigned int k = 0; k < n; k++) {
        const uint32_t i = T.KeyList[at[k]];
        if (i == 0) continue;
        at[k] = i;
        pending[left++] = (uint8_t)k;
        touch(T, i);
    }
    while (left > 0) {
        unsigned int still = 0;
        for (unsigned int p = 0; p < left; p++) {
            const unsigned int k = pending[p];
            const uint32_t i = at[k];
            if (DetEqual(WaveFunctionDet(T, i), dets + (size_t)k * nword, nword)) {
                found(k, i);
                continue;
            }
            const uint32_t next = WaveFunctionNext(T, i);
            if (next == 0) continue;  // not in the basis
            at[k] = next;
            pending[still++] = (uint8_t)k;
            touch(T, next);
        }
        left = still;
    }
}

// ---- The term loops -------------------------------------------------------
//
// A sink provides
//   uint8_t* Scratch()             where the result determinant is built;
//   static constexpr bool kStrictCut  |f| > ZeroCut (growing) or >= (fixed);
//   template <bool OpC, bool ExactKey>
//   bool Accept(double f, double vr, double vi, uint64_t key)
//                                  takes the result in Scratch(), key being
//                                  its merge key (the determinant itself when
//                                  ExactKey); false stops the loops (a failed
//                                  drain).

// All terms of one length, ladder by ladder.
template <bool OpC, bool Restricted, class Sink>
inline bool OperatorPsiLaderLoop(const OperatorFixedLengthType& L, uint32_t length, const OperatorPsiShapeType& s,
                                 const uint8_t* src, Sink& sink) {
    const uint32_t NF = s.NF, nword = s.NWord;
    for (uint32_t t = 0; t < L.N; t++) {
        const uint16_t* code = length > 0 ? L.o + (size_t)t * length : nullptr;
        if (length > 0 && !LaderCanAct(code[0], src, NF)) continue;
        uint8_t* D = sink.Scratch();
        memcpy(D, src, nword);
        double f = 1.0;
        for (uint32_t k = 0; k < length; k++) {
            f *= LaderAction(code[k], D, NF);
            if (f == 0.0) break;
        }
        if (f == 0.0) continue;
        if (Restricted && !OperatorPsiPassesRestriction(D, s)) continue;
        if (Sink::kStrictCut ? !(std::fabs(f) > ZeroCut) : !(std::fabs(f) >= ZeroCut)) continue;
        if (!sink.template Accept<OpC, false>(f, OperatorPsiValueRe<OpC>(L, t), OperatorPsiValueIm<OpC>(L, t),
                                              OperatorPsiByteKey(D, nword)))
            return false;
    }
    return true;
}

// Terms tested per pass of the mask loop.
const uint32_t OperatorPsiMaskChunk = 256;

// All terms of one length through the masks.  A first loop without branches
// tests a chunk of terms and writes down the ones that act, in order; a
// second works those out.  The factor is +-1 and needs no cut.
template <int W, bool OpC, bool Restricted, class Sink>
inline bool OperatorPsiMaskLoop(const OperatorFixedLengthType& L, const TermMaskLengthType& T,
                                const OperatorTermMasksType& M, const uint64_t* x, Sink& sink) {
    const uint32_t n = L.N;
    uint32_t hits[OperatorPsiMaskChunk];
    for (uint32_t t0 = 0; t0 < n; t0 += OperatorPsiMaskChunk) {
        const uint32_t m = n - t0 < OperatorPsiMaskChunk ? n - t0 : OperatorPsiMaskChunk;
        const uint64_t* test = T.Test + (size_t)t0 * (2 * W);
        uint32_t count = 0;
        for (uint32_t k = 0; k < m; k++) {
            uint64_t miss = 0;
            for (int w = 0; w < W; w++) miss |= (x[w] & test[2 * W * k + w]) ^ test[2 * W * k + W + w];
            hits[count] = t0 + k;
            count += miss == 0;
        }
        for (uint32_t h = 0; h < count; h++) {
            const uint32_t t = hits[h];
            const uint64_t* act = T.Act + (size_t)t * (2 * W + 1);
            uint64_t y[W];
            uint64_t p = act[2 * W];
            for (int w = 0; w < W; w++) {
                y[w] = x[w] ^ act[w];
                p ^= x[w] & act[W + w];
            }
            if (Restricted && !TermMaskPassesRestriction<W>(M, y)) continue;
            const double f = TermMaskParity(p) ? -1.0 : 1.0;
            TermMaskStoreDet<W>(y, sink.Scratch());
            if (!sink.template Accept<OpC, W == 1>(f, OperatorPsiValueRe<OpC>(L, t), OperatorPsiValueIm<OpC>(L, t),
                                                   OperatorPsiWordKey<W>(y)))
                return false;
        }
    }
    return true;
}

// One input determinant against the whole operator: lengths 0..MaxLength in
// ascending order, each read as real or complex by its own QComplex (one
// test per length, none per term).  W = 0: ladder by ladder.
template <int W, bool Restricted, class Sink>
inline bool OperatorPsiApplyToElement(const OperatorType& O, const OperatorPsiShapeType& s, const uint8_t* src,
                                      Sink& sink) {
    if constexpr (W == 0) {
        for (uint32_t length = 0; length <= O.MaxLength; length++) {
            const OperatorFixedLengthType& L = O.l[length];
            if (L.N == 0) continue;
            const bool ok = L.QComplex ? OperatorPsiLaderLoop<true, Restricted>(L, length, s, src, sink)
                                       : OperatorPsiLaderLoop<false, Restricted>(L, length, s, src, sink);
            if (!ok) return false;
        }
    } else {
        uint64_t x[W];
        TermMaskLoadDet<W>(src, s.NWord, x);
        const OperatorTermMasksType& M = *s.Masks;
        for (uint32_t length = 0; length <= O.MaxLength; length++) {
            const OperatorFixedLengthType& L = O.l[length];
            if (L.N == 0) continue;
            const TermMaskLengthType& T = M.l[length];
            const bool ok = L.QComplex ? OperatorPsiMaskLoop<W, true, Restricted>(L, T, M, x, sink)
                                       : OperatorPsiMaskLoop<W, false, Restricted>(L, T, M, x, sink);
            if (!ok) return false;
        }
    }
    return true;
}

// ---- Setting up -----------------------------------------------------------

// Input states smaller than this are applied ladder by ladder: making the
// masks costs about as much as one determinant's pass over the terms.
const uint32_t OperatorPsiMaskMinElements = 4;

// Fills the shape for applying O to determinants shaped like psi, and makes
// the term masks into *masks when they fit and pay (W then 1 or 2).  The
// caller frees the masks with FreeOperatorTermMasks either way.
inline void OperatorPsiInitShape(OperatorPsiShapeType* s, OperatorTermMasksType* masks, const OperatorType& O,
                                 const WaveFunctionType& psi, const DeterminantRestrictionType* R,
                                 uint32_t elements) {
    s->NF = O.NF;
    s->NWord = psi.NWord;
    s->NBoson = psi.NBoson;
    s->R = (R != nullptr && R->NRestriction > 0) ? R : nullptr;
    s->Masks = nullptr;
    s->W = 0;
    memset(masks, 0, sizeof(*masks));
    if (elements >= OperatorPsiMaskMinElements &&
        InitOperatorTermMasks(masks, O, psi.NWord, psi.NBoson, s->R) == 0) {
        s->Masks = masks;
        s->W = masks->W;
    }
}

// Calls f(std::integral_constant<int, W>, std::bool_constant<Restricted>)
// for the word count of the shape and whether it restricts.
template <class F>
inline void OperatorPsiDispatchShape(const OperatorPsiShapeType& s, F&& f) {
    const bool restricted = s.R != nullptr;
    if (s.W == 1) {
        if (restricted)
            f(std::integral_constant<int, 1>(), std::true_type());
        else
            f(std::integral_constant<int, 1>(), std::false_type());
    } else if (s.W == 2) {
        if (restricted)
            f(std::integral_constant<int, 2>(), std::true_type());
        else
            f(std::integral_constant<int, 2>(), std::false_type());
    } else {
        if (restricted)
            f(std::integral_constant<int, 0>(), std::true_type());
        else
            f(std::integral_constant<int, 0>(), std::false_type());
    }
}

// Calls f(std::bool_constant<StC>, std::bool_constant<OutC>) for a kind: the
// complex-operator and mixed kinds read each length by its own QComplex, so
// RC, CC and MC share one loop, and CR and MR another.
template <class F>
inline void OperatorPsiDispatchValues(OperatorPsiKindType kind, F&& f) {
    if (kind == OperatorPsiKindRR)
        f(std::false_type(), std::false_type());
    else if (OperatorPsiKindComplexState(kind))
        f(std::true_type(), std::true_type());
    else
        f(std::false_type(), std::true_type());
}

#endif
