#include "manybody/restriction.h"

#include <cstdlib>
#include <cstring>

void InitDeterminantRestriction(DeterminantRestrictionType* R) {
    R->NRestriction = 0;
    R->MinOcc = nullptr;
    R->MaxOcc = nullptr;
    R->Mask = nullptr;
}

void FreeDeterminantRestriction(DeterminantRestrictionType* R) {
    if (R->Mask != nullptr) {
        for (uint32_t r = 0; r < R->NRestriction; r++) free(R->Mask[r]);
    }
    free(R->Mask);
    free(R->MinOcc);
    free(R->MaxOcc);
    InitDeterminantRestriction(R);
}

int CopyDeterminantRestriction(DeterminantRestrictionType* out, const DeterminantRestrictionType& src,
                               unsigned int nWord) {
    InitDeterminantRestriction(out);
    if (src.NRestriction == 0) return 0;
    uint32_t n = src.NRestriction;
    out->MinOcc = (uint32_t*)malloc(n * sizeof(uint32_t));
    out->MaxOcc = (uint32_t*)malloc(n * sizeof(uint32_t));
    out->Mask = (uint8_t**)calloc(n, sizeof(uint8_t*));
    if (out->MinOcc == nullptr || out->MaxOcc == nullptr || out->Mask == nullptr) {
        FreeDeterminantRestriction(out);
        return 1;
    }
    out->NRestriction = n;
    memcpy(out->MinOcc, src.MinOcc, n * sizeof(uint32_t));
    memcpy(out->MaxOcc, src.MaxOcc, n * sizeof(uint32_t));
    for (uint32_t r = 0; r < n; r++) {
        out->Mask[r] = (uint8_t*)malloc(nWord > 0 ? nWord : 1);
        if (out->Mask[r] == nullptr) {
            FreeDeterminantRestriction(out);
            return 1;
        }
        if (nWord > 0) memcpy(out->Mask[r], src.Mask[r], nWord);
    }
    return 0;
}

int QDetNotRestricted(const uint8_t* det, unsigned int NF, unsigned int NB, unsigned int NWord,
                      DeterminantRestrictionType R) {
    (void)NF;
    unsigned int nFermionBytes = NWord - NB;
    for (uint32_t r = 0; r < R.NRestriction; r++) {
        const uint8_t* mask = R.Mask[r];
        uint32_t count = 0;
        for (unsigned int i = 0; i < nFermionBytes; i++) count += __builtin_popcount(det[i] & mask[i]);
        for (unsigned int i = nFermionBytes; i < NWord; i++) count += det[i] & mask[i];
        if (count > R.MaxOcc[r] || count < R.MinOcc[r]) return 0;
    }
    return 1;
}

namespace {

// Occupied masked fermion modes with an index below mode.
inline uint32_t CountMaskedBelow(unsigned int mode, const uint8_t* det, const uint8_t* mask) {
    unsigned int byte = mode >> 3, pos = mode & 7;
    uint32_t count = 0;
    for (unsigned int i = 0; i < byte; i++) count += __builtin_popcount(det[i] & mask[i]);
    uint8_t lower = (uint8_t)(0xFF00u >> pos);  // the pos leading bits of the byte
    count += __builtin_popcount(det[byte] & mask[byte] & lower);
    return count;
}

inline bool MaskHasMode(unsigned int mode, const uint8_t* mask) {
    return (mask[mode >> 3] & (0x80u >> (mode & 7))) != 0;
}

}  // namespace

int QCanNotOccupy(unsigned int mode, unsigned int NF, uint8_t* det, DeterminantRestrictionType R) {
    if (mode >= NF) return 0;
    for (uint32_t r = 0; r < R.NRestriction; r++) {
        const uint8_t* mask = R.Mask[r];
        if (!MaskHasMode(mode, mask)) continue;
        if (CountMaskedBelow(mode, det, mask) >= R.MaxOcc[r]) return 1;
    }
    return 0;
}

int QMustOccupy(unsigned int mode, unsigned int NF, uint8_t* det, DeterminantRestrictionType R) {
    if (mode >= NF) return 0;
    unsigned int byte = mode >> 3, pos = mode & 7;
    unsigned int lastByte = (NF - 1) >> 3;
    uint8_t lastValid = (uint8_t)(0xFF00u >> (((NF - 1) & 7) + 1));  // real modes of the last byte
    for (uint32_t r = 0; r < R.NRestriction; r++) {
        const uint8_t* mask = R.Mask[r];
        if (!MaskHasMode(mode, mask)) continue;
        uint32_t reachable = CountMaskedBelow(mode, det, mask);
        for (unsigned int i = byte; i <= lastByte; i++) {
            uint8_t m = mask[i];
            if (i == byte) m &= (uint8_t)(0xFFu >> (pos + 1));  // modes after mode
            if (i == lastByte) m &= lastValid;
            reachable += __builtin_popcount(m);
        }
        if (reachable < R.MinOcc[r]) return 1;
    }
    return 0;
}
