// The steps shared by the in-place rebuilds of a wave-function store
// (re-keying, truncation, restriction): freeing and shrinking storage
// blocks, the tests of a value against a cut, and the re-insertion of the
// kept elements in storage order.  Internal to those sources.
#ifndef SKELDA_MANYBODY_WAVEFUNCTION_REBUILD_H
#define SKELDA_MANYBODY_WAVEFUNCTION_REBUILD_H

#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "manybody/fatal.h"
#include "manybody/wavefunction.h"

namespace wfrebuild {

// Frees the blocks from..to-1 of a pointer array and nulls their places.
template <typename T>
void FreeBlocks(T** blocks, uint32_t from, uint32_t to) {
    if (blocks == nullptr) return;
    for (uint32_t b = from; b < to; b++) {
        free(blocks[b]);
        blocks[b] = nullptr;
    }
}

// Shrinking a pointer array may fail only in theory; the larger array is
// then kept, which is harmless.
template <typename T>
void ShrinkArray(T**& field, uint32_t n) {
    if (field == nullptr) return;
    void* p = realloc(field, n * sizeof(T*));
    if (p != nullptr) field = static_cast<T**>(p);
}

// Frees the blocks above the last one that the (new) N needs and shrinks the
// pointer arrays to match, for count members sharing member 0's basis.
inline void DropUnusedBlocks(WaveFunctionType* psi, unsigned int count) {
    const uint32_t oldBlok = psi[0].NBlok;
    const uint32_t newBlok = (psi[0].N >> WaveFunctionBlokShift) + 1;
    if (newBlok >= oldBlok) return;
    for (unsigned int j = 0; j < count; j++) {
        FreeBlocks(psi[j].ValueRe, newBlok, oldBlok);
        FreeBlocks(psi[j].ValueIm, newBlok, oldBlok);
        ShrinkArray(psi[j].ValueRe, newBlok);
        ShrinkArray(psi[j].ValueIm, newBlok);
    }
    FreeBlocks(psi[0].Next, newBlok, oldBlok);
    FreeBlocks(psi[0].Determinant, newBlok, oldBlok);
    ShrinkArray(psi[0].Next, newBlok);
    ShrinkArray(psi[0].Determinant, newBlok);
    for (unsigned int j = 0; j < count; j++) {
        psi[j].NBlok = newBlok;
        psi[j].Next = psi[0].Next;
        psi[j].Determinant = psi[0].Determinant;
    }
}

// Whether element i has |re| > eps (a real state) or re^2 + im^2 > eps2 (a
// complex one).
inline bool RealKept(const WaveFunctionType& psi, uint32_t i, double eps) {
    return std::fabs(WaveFunctionRe(psi, i)) > eps;
}
inline bool ComplexKept(const WaveFunctionType& psi, uint32_t i, double eps2) {
    const double re = WaveFunctionRe(psi, i), im = WaveFunctionIm(psi, i);
    return re * re + im * im > eps2;
}

// For count members sharing the basis of member 0, whose key list and N the
// caller has emptied: walks the old elements 1..oldN in storage order and
// inserts those for which keep(i) holds again with the serial add, so that
// each moves to the next free index, never ahead of the slot being read.
// re and im are scratch for count values each; im is null for a real block
// and not null for a complex one.  Then frees the blocks above the new end.
// No block is ever added, so a failed insertion can only come from a corrupt
// state: it ends the process.
template <class Keep>
void ReinsertKept(WaveFunctionType* psi, unsigned int count, uint32_t oldN, Keep keep, double* re, double* im) {
    const bool cplx = im != nullptr;
    for (uint32_t i = 1; i <= oldN; i++) {
        WaveFunctionNext(psi[0], i) = 0;
        if (!keep(i)) continue;
        for (unsigned int j = 0; j < count; j++) {
            re[j] = WaveFunctionRe(psi[j], i);
            if (cplx) im[j] = WaveFunctionIm(psi[j], i);
        }
        const uint8_t* det = WaveFunctionDet(psi[0], i);
        const int failed = cplx ? ComplexBlockWaveFunctionAddElement(psi, det, re, im, count)
                                : RealBlockWaveFunctionAddElement(psi, det, re, count);
        if (failed) FatalAllocationExit();
    }
    DropUnusedBlocks(psi, count);
}

}  // namespace wfrebuild

#endif
