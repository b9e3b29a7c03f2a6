// The action of one ladder on a determinant, byte by byte.
//
// A ladder code carries the mode in its low 15 bits and, in bit 15, whether
// it creates (set) or annihilates (clear).  Modes below NF are fermions: one
// bit each, mode m being the mask 0x80 >> (m & 7) in byte m >> 3.  Modes from
// NF on are bosons: one occupation byte each behind the fermion bytes.
//
// The fermion sign is (-1) to the number of occupied modes below m, so that
// ladders anticommute in the order of mode indices with mode 0 leftmost.  It
// is found by folding bytes together with exclusive-or (the lower bits of
// m's own byte, then every byte before it, sixteen bytes a turn) and folding
// the last byte down to one bit, never by counting bits.
#ifndef SKELDA_MANYBODY_LADER_ACTION_H
#define SKELDA_MANYBODY_LADER_ACTION_H

#include <cmath>
#include <cstdint>
#include <cstring>

#include "manybody/operator.h"

// Parity (0 or 1) of the occupied fermion modes below bit p of byte b.
inline unsigned int LaderParity(const uint8_t* D, uint32_t b, uint32_t p) {
    // The p leading bits of byte b; for p = 0 the shift by 8 leaves nothing.
    unsigned int v = (unsigned int)D[b] >> (8 - p);
    uint64_t acc = 0;
    uint32_t i = 0;
    for (; i + 16 <= b; i += 16) {
        uint64_t w0, w1;
        memcpy(&w0, D + i, 8);
        memcpy(&w1, D + i + 8, 8);
        acc ^= w0 ^ w1;
    }
    if (i + 8 <= b) {
        uint64_t w;
        memcpy(&w, D + i, 8);
        acc ^= w;
        i += 8;
    }
    for (; i < b; i++) acc ^= D[i];
    acc ^= acc >> 32;
    acc ^= acc >> 16;
    acc ^= acc >> 8;
    v ^= (unsigned int)(acc & 0xFF);
    v ^= v >> 4;
    v ^= v >> 2;
    return (v ^ (v >> 1)) & 1u;
}

// Applies ladder `code` to D in place and returns its factor: 0 when the
// ladder kills the determinant (D is then left as it was), +-1 for a fermion,
// sqrt(n) or sqrt(n+1) for a boson of occupation n.  A boson occupation
// never passes 255: creation on 255 gives 0.
inline double LaderAction(uint16_t code, uint8_t* D, uint32_t NF) {
    const uint32_t m = code & LaderModeMask;
    const bool create = (code & LaderCreation) != 0;
    if (m < NF) {
        const uint32_t b = m >> 3, p = m & 7;
        const uint8_t bit = (uint8_t)(0x80u >> p);
        if (create) {
            if (D[b] & bit) return 0.0;
        } else {
            if (!(D[b] & bit)) return 0.0;
        }
        D[b] ^= bit;
        return LaderParity(D, b, p) ? -1.0 : 1.0;
    }
    const uint32_t B = (m - NF) + ((NF + 7) >> 3);
    const unsigned int n = D[B];
    if (create) {
        if (n == 255) return 0.0;
        D[B] = (uint8_t)(n + 1);
        return std::sqrt((double)(n + 1));
    }
    if (n == 0) return 0.0;
    D[B] = (uint8_t)(n - 1);
    return std::sqrt((double)n);
}

// Whether ladder `code` leaves D non-zero, without changing D: the test that
// lets a kernel skip a term before it copies the determinant.
inline bool LaderCanAct(uint16_t code, const uint8_t* D, uint32_t NF) {
    const uint32_t m = code & LaderModeMask;
    const bool create = (code & LaderCreation) != 0;
    if (m < NF) {
        const bool occupied = (D[m >> 3] & (0x80u >> (m & 7))) != 0;
        return occupied != create;
    }
    const unsigned int n = D[(m - NF) + ((NF + 7) >> 3)];
    return create ? n != 255 : n != 0;
}

#endif
