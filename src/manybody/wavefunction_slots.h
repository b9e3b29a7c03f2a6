// Loops over the value slots of a state, and the checks and messages on
// lists of states, shared by the algebra files.
//
// The elements 1..N lie in blocks 0..N>>14; every block below the last is
// full, and the last holds slots 0..(N & 0x3FFF).  The loops visit slot 0 of
// block 0 as well: it holds 0.0 in every state, so sums and products leave it
// at 0.  The blocks below the last are split statically over the threads in
// one parallel region; the slots of the last block are split in a second.
#ifndef SKELDA_MANYBODY_WAVEFUNCTION_SLOTS_H
#define SKELDA_MANYBODY_WAVEFUNCTION_SLOTS_H

#include <omp.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "base/complex16.h"
#include "manybody/wavefunction.h"

namespace wfslots {

// Below this many slots the last block is done by one thread: waking a team
// costs more than the loop.
constexpr uint32_t kParallelSlots = 4096;

inline void Report(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

// The line "<what> in <fn>", flushed.
inline void ReportIn(const char* what, const char* fn) {
    printf("%s in %s\n", what, fn);
    fflush(stdout);
}

// The contiguous share [lo, hi) of thread t of nt in [0, n).
inline void StaticShare(uint32_t n, int t, int nt, uint32_t* lo, uint32_t* hi) {
    *lo = (uint32_t)((uint64_t)n * (uint64_t)t / (uint64_t)nt);
    *hi = (uint32_t)((uint64_t)n * (uint64_t)(t + 1) / (uint64_t)nt);
}

// f(blok, from, to) over the slots [from, to) of every block in use.
template <class F>
void ForSlots(uint32_t N, F f) {
    const long nFull = (long)(N >> WaveFunctionBlokShift);
#pragma omp parallel for schedule(static) if (nFull > 1)
    for (long b = 0; b < nFull; b++) f((uint32_t)b, 0u, WaveFunctionBlokSize);

    const uint32_t last = N >> WaveFunctionBlokShift;
    const uint32_t end = (N & WaveFunctionBlokMask) + 1;
#pragma omp parallel if (end >= kParallelSlots)
    {
        uint32_t lo, hi;
        StaticShare(end, omp_get_thread_num(), omp_get_num_threads(), &lo, &hi);
        if (lo < hi) f(last, lo, hi);
    }
}

// The sum of f(blok, from, to) over the same pieces.
template <class F>
double SumSlots(uint32_t N, F f) {
    const long nFull = (long)(N >> WaveFunctionBlokShift);
    double full = 0.0;
#pragma omp parallel for schedule(static) reduction(+ : full) if (nFull > 1)
    for (long b = 0; b < nFull; b++) full += f((uint32_t)b, 0u, WaveFunctionBlokSize);

    const uint32_t last = N >> WaveFunctionBlokShift;
    const uint32_t end = (N & WaveFunctionBlokMask) + 1;
    double tail = 0.0;
#pragma omp parallel reduction(+ : tail) if (end >= kParallelSlots)
    {
        uint32_t lo, hi;
        StaticShare(end, omp_get_thread_num(), omp_get_num_threads(), &lo, &hi);
        if (lo < hi) tail += f(last, lo, hi);
    }
    return full + tail;
}

// Two sums at once: f(blok, from, to, &re, &im) adds to re and im.
template <class F>
Complex16 SumSlots2(uint32_t N, F f) {
    const long nFull = (long)(N >> WaveFunctionBlokShift);
    double fullRe = 0.0, fullIm = 0.0;
#pragma omp parallel for schedule(static) reduction(+ : fullRe, fullIm) if (nFull > 1)
    for (long b = 0; b < nFull; b++) f((uint32_t)b, 0u, WaveFunctionBlokSize, &fullRe, &fullIm);

    const uint32_t last = N >> WaveFunctionBlokShift;
    const uint32_t end = (N & WaveFunctionBlokMask) + 1;
    double tailRe = 0.0, tailIm = 0.0;
#pragma omp parallel reduction(+ : tailRe, tailIm) if (end >= kParallelSlots)
    {
        uint32_t lo, hi;
        StaticShare(end, omp_get_thread_num(), omp_get_num_threads(), &lo, &hi);
        if (lo < hi) f(last, lo, hi, &tailRe, &tailIm);
    }
    return Complex16{fullRe + tailRe, fullIm + tailIm};
}

// Whether two records alias one basis, as the SameBasis functions need.
inline bool SameBasis(const WaveFunctionType& a, const WaveFunctionType& b) {
    return a.KeyList == b.KeyList && a.N == b.N && a.NWord == b.NWord;
}

// Whether one of the n states is complex.
inline bool AnyComplex(const WaveFunctionType* list, unsigned int n) {
    for (unsigned int i = 0; i < n; i++)
        if (list[i].QComplex) return true;
    return false;
}

// True when none of the n states is complex; otherwise false after the
// line "<fn> called with a complex function".
inline bool CheckReal(const WaveFunctionType* list, unsigned int n, const char* fn) {
    if (!AnyComplex(list, n)) return true;
    printf("%s called with a complex function\n", fn);
    fflush(stdout);
    return false;
}

// True when the n states all share the basis of the first; otherwise false
// after a line naming fn and the first state that does not.
inline bool SharedBasis(const WaveFunctionType* list, unsigned int n, const char* fn) {
    for (unsigned int i = 1; i < n; i++) {
        if (!SameBasis(list[0], list[i])) {
            printf("%s called with functions that do not share one basis (function %u)\n", fn, i + 1);
            fflush(stdout);
            return false;
        }
    }
    return true;
}

// Makes every real state of the list complex; 1 after a line naming fn when
// one can not be.
inline int PromoteAll(WaveFunctionType* list, unsigned int n, const char* fn) {
    for (unsigned int i = 0; i < n; i++) {
        if (list[i].QComplex) continue;
        if (PromoteRealWaveFunctionToComplex(&list[i])) {
            ReportIn("MakeComplexWaveFunctionFromReal failed", fn);
            return 1;
        }
    }
    return 0;
}

// Frees the imaginary blocks of a complex state and makes it real.
inline void DropImaginaryPart(WaveFunctionType* psi) {
    if (psi->ValueIm != nullptr) {
        for (uint32_t b = 0; b < psi->NBlok; b++) free(psi->ValueIm[b]);
        free(psi->ValueIm);
    }
    psi->ValueIm = nullptr;
    psi->QComplex = 0;
}

}  // namespace wfslots

#endif
