// Terms of an operator turned into bit masks, for applying it to
// determinants of fermions held in one or two 64-bit words.
//
// A determinant of at most 16 bytes and no bosons is loaded into W words,
// big-endian, so that mode m is bit 63 - (m & 63) of word m >> 6 and the modes
// below m are the bits above it and all of the words before.  For such a
// determinant x, a product of fermion ladders applied one after the other is
// fully described by four masks and one bit:
//
//   care, val  the product is non-zero exactly when (x & care) == val: every
//              ladder finds its mode occupied (annihilation) or empty
//              (creation) after the ladders before it have acted;
//   flip       the result is x ^ flip;
//   pmask, s   the sign is (-1)^(parity(x & pmask) ^ s).
//
// The sign follows from the ladder rule because a parity is linear: the k-th
// ladder on mode m sees x ^ F_k (F_k the modes flipped before it) and gives
// parity((x ^ F_k) & L_m) = parity(x & L_m) ^ parity(F_k & L_m), with L_m the
// modes below m.  So pmask is the exclusive-or of the L_m and s collects the
// parities of the F_k & L_m.  A product that can never act (such as A0 A0)
// gets a test that nothing passes.
//
// The test halves (care, val) of all terms of a length lie in one array and
// the action halves (flip, pmask, s) in another, so that the loop that tests
// every term streams through the small one.
#ifndef SKELDA_MANYBODY_TERM_MASKS_H
#define SKELDA_MANYBODY_TERM_MASKS_H

#include <cstdint>
#include <cstring>

#include "manybody/operator.h"
#include "manybody/restriction.h"

struct TermMaskLengthType {
    uint64_t* Test;  // per term: care[W], then val[W]
    uint64_t* Act;   // per term: flip[W], pmask[W], s
};

struct OperatorTermMasksType {
    uint32_t W;          // words per determinant (1 or 2)
    uint32_t NWord;      // bytes per determinant
    uint32_t MaxLength;  // lengths 0..MaxLength, as in the operator
    TermMaskLengthType* l;
    // A restriction in the same word layout: NRestriction masks of W words
    // and the bounds, aliased from the restriction record.
    uint32_t NRestriction;
    uint64_t* RestrictionMask;
    const uint32_t* MinOcc;
    const uint32_t* MaxOcc;
};

// Words in the test and action halves of one term.
inline uint32_t TermMaskTestWords(uint32_t W) { return 2 * W; }
inline uint32_t TermMaskActWords(uint32_t W) { return 2 * W + 1; }

// Builds the masks of every term of O for determinants of nword bytes and
// nboson bosons, and of the restriction R when it is not null.  Returns 1,
// with M empty, when the operator or the state does not fit the word form
// (bosons on either side, more than 16 bytes, a mode beyond the determinant)
// or memory runs out: the caller then applies the ladders one by one.  Prints
// nothing.
int InitOperatorTermMasks(OperatorTermMasksType* M, const OperatorType& O, uint32_t nword, uint32_t nboson,
                          const DeterminantRestrictionType* R);
void FreeOperatorTermMasks(OperatorTermMasksType* M);

// ---- The word form of a determinant ----------------------------------------

inline uint64_t TermMaskLoadWord(const uint8_t* bytes) {
    uint64_t w;
    memcpy(&w, bytes, 8);
    return __builtin_bswap64(w);
}

// Loads nword bytes (at most 8W) into W words, zero beyond nword.
template <int W>
inline void TermMaskLoadDet(const uint8_t* det, uint32_t nword, uint64_t* x) {
    uint8_t buffer[8 * W] = {};
    memcpy(buffer, det, nword);
    for (int w = 0; w < W; w++) x[w] = TermMaskLoadWord(buffer + 8 * w);
}

// Writes the W words as 8W bytes: the nword bytes of the determinant and
// zeros behind them, so the destination needs 8W - nword bytes of room.
template <int W>
inline void TermMaskStoreDet(const uint64_t* y, uint8_t* det) {
    for (int w = 0; w < W; w++) {
        uint64_t b = __builtin_bswap64(y[w]);
        memcpy(det + 8 * w, &b, 8);
    }
}

// Parity of the bits of a word.  The compiler folds the word onto one byte
// with exclusive-or and reads that byte's parity, like the ladder rule.
inline unsigned int TermMaskParity(uint64_t v) { return (unsigned int)__builtin_parityll(v); }

// Set bits of a word, without relying on a population-count instruction.
inline uint32_t TermMaskCount(uint64_t v) {
    v = v - ((v >> 1) & 0x5555555555555555ull);
    v = (v & 0x3333333333333333ull) + ((v >> 2) & 0x3333333333333333ull);
    v = (v + (v >> 4)) & 0x0F0F0F0F0F0F0F0Full;
    return (uint32_t)((v * 0x0101010101010101ull) >> 56);
}

// The restriction test on a determinant in word form: the counts of
// QDetNotRestricted, range by range.
template <int W>
inline bool TermMaskPassesRestriction(const OperatorTermMasksType& M, const uint64_t* y) {
    for (uint32_t r = 0; r < M.NRestriction; r++) {
        const uint64_t* mask = M.RestrictionMask + (size_t)r * W;
        uint32_t count = 0;
        for (int w = 0; w < W; w++) count += TermMaskCount(y[w] & mask[w]);
        if (count > M.MaxOcc[r] || count < M.MinOcc[r]) return false;
    }
    return true;
}

#endif
