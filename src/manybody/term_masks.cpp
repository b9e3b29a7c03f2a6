// Building the mask form of an operator's terms (see term_masks.h).
#include "manybody/term_masks.h"

#include <cstdlib>

namespace {

const uint32_t kMaxWords = 2;

// The modes below bit q of a word: its q leading bits.
inline uint64_t LowerModes(uint32_t q) { return q == 0 ? 0 : ~0ull << (64 - q); }

// Masks of one product of ladders; false if a mode is no fermion of a
// determinant of nword bytes.
bool BuildTerm(const uint16_t* code, uint32_t length, uint32_t NF, uint32_t nword, uint32_t W, uint64_t* test,
               uint64_t* act) {
    uint64_t care[kMaxWords] = {}, val[kMaxWords] = {}, flip[kMaxWords] = {}, pmask[kMaxWords] = {};
    unsigned int s = 0;
    bool dead = false;
    for (uint32_t k = 0; k < length; k++) {
        const uint32_t m = code[k] & LaderModeMask;
        const bool create = (code[k] & LaderCreation) != 0;
        if (m >= NF || m >= 8 * nword) return false;
        const uint32_t w = m >> 6;
        const uint64_t bit = 1ull << (63 - (m & 63));
        // Annihilation needs the mode occupied after the earlier flips, that
        // is x = 1 ^ flip there; creation needs it empty, x = flip.
        const uint64_t need = create ? (flip[w] & bit) : (~flip[w] & bit);
        if (care[w] & bit) {
            if ((val[w] & bit) != need) dead = true;
        } else {
            care[w] |= bit;
            val[w] |= need;
        }
        // This ladder's sign is parity((x ^ flip) & L): the part that depends
        // on x goes to pmask, the rest to s.
        const uint64_t lower = LowerModes(m & 63);
        for (uint32_t v = 0; v < w; v++) {
            pmask[v] ^= ~0ull;
            s ^= TermMaskParity(flip[v]);
        }
        pmask[w] ^= lower;
        s ^= TermMaskParity(flip[w] & lower);
        flip[w] ^= bit;
    }
    if (dead) {
        // (x & 0) == 1 never holds.
        for (uint32_t w = 0; w < W; w++) care[w] = val[w] = 0;
        val[0] = 1;
    }
    for (uint32_t w = 0; w < W; w++) {
        test[w] = care[w];
        test[W + w] = val[w];
        act[w] = flip[w];
        act[W + w] = pmask[w];
    }
    act[2 * W] = s;
    return true;
}

}  // namespace

void FreeOperatorTermMasks(OperatorTermMasksType* M) {
    if (M->l != nullptr) {
        for (uint32_t k = 0; k <= M->MaxLength; k++) {
            free(M->l[k].Test);
            free(M->l[k].Act);
        }
    }
    free(M->l);
    free(M->RestrictionMask);
    memset(M, 0, sizeof(*M));
}

int InitOperatorTermMasks(OperatorTermMasksType* M, const OperatorType& O, uint32_t nword, uint32_t nboson,
                          const DeterminantRestrictionType* R) {
    memset(M, 0, sizeof(*M));
    if (nboson != 0 || O.NB != 0 || nword == 0 || nword > 8 * kMaxWords || O.l == nullptr) return 1;
    const uint32_t W = (nword + 7) / 8;
    M->W = W;
    M->NWord = nword;
    M->MaxLength = O.MaxLength;
    M->l = static_cast<TermMaskLengthType*>(calloc(O.MaxLength + 1, sizeof(TermMaskLengthType)));
    if (M->l == nullptr) {
        FreeOperatorTermMasks(M);
        return 1;
    }
    for (uint32_t length = 0; length <= O.MaxLength; length++) {
        const OperatorFixedLengthType& L = O.l[length];
        if (L.N == 0) continue;
        TermMaskLengthType& T = M->l[length];
        T.Test = static_cast<uint64_t*>(malloc((size_t)L.N * TermMaskTestWords(W) * sizeof(uint64_t)));
        T.Act = static_cast<uint64_t*>(malloc((size_t)L.N * TermMaskActWords(W) * sizeof(uint64_t)));
        if (T.Test == nullptr || T.Act == nullptr) {
            FreeOperatorTermMasks(M);
            return 1;
        }
        for (uint32_t t = 0; t < L.N; t++) {
            const uint16_t* code = length > 0 ? L.o + (size_t)t * length : nullptr;
            if (!BuildTerm(code, length, O.NF, nword, W, T.Test + (size_t)t * TermMaskTestWords(W),
                           T.Act + (size_t)t * TermMaskActWords(W))) {
                FreeOperatorTermMasks(M);
                return 1;
            }
        }
    }
    if (R != nullptr && R->NRestriction > 0) {
        M->RestrictionMask = static_cast<uint64_t*>(malloc((size_t)R->NRestriction * W * sizeof(uint64_t)));
        if (M->RestrictionMask == nullptr) {
            FreeOperatorTermMasks(M);
            return 1;
        }
        for (uint32_t r = 0; r < R->NRestriction; r++) {
            uint8_t buffer[8 * kMaxWords] = {};
            memcpy(buffer, R->Mask[r], nword);
            for (uint32_t w = 0; w < W; w++) M->RestrictionMask[(size_t)r * W + w] = TermMaskLoadWord(buffer + 8 * w);
        }
        M->NRestriction = R->NRestriction;
        M->MinOcc = R->MinOcc;
        M->MaxOcc = R->MaxOcc;
    }
    return 0;
}
