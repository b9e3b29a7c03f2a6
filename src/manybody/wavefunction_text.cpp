// Determinants as text, the check of padding bits, and a one-determinant
// state built from a list of occupied modes.
#include <cstdlib>
#include <cstring>

#include "manybody/wavefunction.h"

namespace {

void Report(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

inline uint32_t FermionBytes(unsigned int NF) { return (NF + 7u) >> 3; }

}  // namespace

uint8_t* StringToDet(unsigned int NF, unsigned int NB, const char* s) {
    const uint32_t nword = WaveFunctionNWord(NF, NB);
    uint8_t* det = static_cast<uint8_t*>(calloc(nword > 0 ? nword : 1, 1));
    if (det == nullptr) {
        Report("calloc failed in StringToDet");
        return nullptr;
    }
    const size_t len = strlen(s);
    if (len < (size_t)NF + 2 * (size_t)NB)
        printf("Error in StringToDet, length of string(%lu) different from NFermion(%d)+2*NBoson(%d)\n",
               (unsigned long)len, (int)NF, (int)NB);

    size_t pos = 0;
    for (unsigned int mode = 0; mode < NF; mode++) {
        while (pos < len && s[pos] == ' ') pos++;
        if (pos >= len) {
            Report("Error in String to Determinant, less elements in determinant then Fermions");
            memset(det, 0, nword);
            return det;
        }
        char c = s[pos++];
        if (c == '1') {
            det[mode >> 3] |= (uint8_t)(0x80u >> (mode & 7u));
        } else if (c != '0') {
            // Positions are counted from 1, as the user reads the string.
            printf("Error in StringToDet, expected \"1\", \"0\" or \" \" on position %d of the string, got %c\n",
                   (int)pos, c);
        }
    }
    const uint32_t bosonBase = FermionBytes(NF);
    for (unsigned int b = 0; b < NB; b++) {
        while (pos < len && s[pos] == ' ') pos++;
        if (pos + 2 > len) {
            // Only reachable with bosons, which the script level rejects.
            Report("Error in String to Determinant, less elements in determinant then Fermions + Bosons");
            memset(det, 0, nword);
            return det;
        }
        char digits[3] = {s[pos], s[pos + 1], 0};
        pos += 2;
        det[bosonBase + b] = (uint8_t)strtoul(digits, nullptr, 16);
    }

    // Blanks may stand anywhere, also behind the last mode.
    size_t blanks = 0;
    for (size_t k = 0; k < len; k++)
        if (s[k] == ' ') blanks++;
    if (len != blanks + NF + 2 * (size_t)NB) {
        Report("Error in String to Determinant, more elements in determinant then Fermions + Bosons");
        memset(det, 0, nword);
    }
    return det;
}

char* DetToString(unsigned int NF, unsigned int NB, const uint8_t* det) {
    // Quote, NF digits, " %02X" per boson, quote, terminator.
    char* s = static_cast<char*>(malloc((size_t)NF + 3 * (size_t)NB + 3));
    if (s == nullptr) {
        Report("malloc failed in DetToString");
        return nullptr;
    }
    size_t pos = 0;
    s[pos++] = '"';
    for (unsigned int mode = 0; mode < NF; mode++) s[pos++] = (det[mode >> 3] & (0x80u >> (mode & 7u))) ? '1' : '0';
    const uint32_t bosonBase = FermionBytes(NF);
    for (unsigned int b = 0; b < NB; b++) {
        snprintf(s + pos, 4, " %02X", det[bosonBase + b]);
        pos += 3;
    }
    s[pos++] = '"';
    s[pos] = 0;
    return s;
}

int CheckDetPhysical(uint8_t* det, unsigned int NF, unsigned int NB) {
    (void)NB;
    if (NF == 0) return 0;
    const uint32_t last = (NF - 1) >> 3;
    const unsigned int used = NF - 8 * last;  // 1..8 modes in the last byte
    const uint8_t allowed = (uint8_t)(0xFFu << (8 - used));
    if (det[last] & (uint8_t)~allowed) {
        printf("Warning: Determinant has electrons in states larger than NFermion (det=%02x allowed=%02x)\n",
               det[last], allowed);
        det[last] &= allowed;
        return 1;
    }
    return 0;
}

int CreateWaveFunctionFromString(WaveFunctionType* psi, const uint16_t* indices, unsigned int count,
                                 unsigned int NF, unsigned int NB, uint32_t NBitsKey) {
    psi->QComplex = 0;
    psi->NFermion = NF;
    psi->NBoson = NB;
    psi->NBitsKey = NBitsKey;
    if (WaveFunctionInit(psi)) {
        Report("WaveFunctionInit failed in CreateWaveFunctionFromString");
        return 1;
    }
    const uint32_t nword = psi->NWord;
    uint8_t* det = static_cast<uint8_t*>(calloc(nword > 0 ? nword : 1, 1));
    if (det == nullptr) {
        Report("calloc failed in CreateWaveFunctionFromString");
        WaveFunctionFree(psi);
        return 1;
    }
    // On a failure the half-made state is released, so that a return of 1
    // never leaves memory with the caller.
    auto fail = [&](const char* text) {
        Report(text);
        free(det);
        WaveFunctionFree(psi);
        return 1;
    };
    const uint32_t bosonBase = FermionBytes(NF);
    for (unsigned int k = 0; k < count; k++) {
        const unsigned int m = indices[k];
        if (m < NF) {
            uint8_t mask = (uint8_t)(0x80u >> (m & 7u));
            if (det[m >> 3] & mask) return fail("Error in CreateWaveFunctionFromString Fermionic part");
            det[m >> 3] |= mask;
        } else if (m < NF + NB) {
            uint8_t& n = det[bosonBase + (m - NF)];
            if (n == 255) return fail("Error in CreateWaveFunctionFromString Fermionic part");
            n++;
        } else {
            char text[96];
            snprintf(text, sizeof(text), "Error in CreateWaveFunctionFromString index %u outside the %u modes", m,
                     NF + NB);
            return fail(text);
        }
    }
    int failed = RealWaveFunctionAddElement(psi, det, 1.0);
    if (failed) return fail("RealWaveFunctionAddElement failed in CreateWaveFunctionFromString");
    free(det);
    return 0;
}
