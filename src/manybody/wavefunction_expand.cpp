// Splitting a state by occupations, into its determinants, and re-shaping its
// determinants to other numbers of modes.
#include "manybody/wavefunction_expand.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void Report(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

inline uint32_t FermionBytes(uint32_t NF) { return (NF + 7u) >> 3; }

// The occupation of a mode (fermions 0 or 1, bosons 0..255).
unsigned int Occupation(const uint8_t* det, uint32_t NF, uint32_t mode) {
    if (mode < NF) return (det[mode >> 3] >> (7u - (mode & 7u))) & 1u;
    return det[FermionBytes(NF) + (mode - NF)];
}

// Initialises count records with the settings of psi; on failure the ones
// made are freed again.
int InitParts(const WaveFunctionType& psi, WaveFunctionType* parts, uint64_t count, uint32_t QComplex, const char* fn) {
    for (uint64_t f = 0; f < count; f++) {
        WaveFunctionType& part = parts[f];
        part.QComplex = QComplex;
        part.NFermion = psi.NFermion;
        part.NBoson = psi.NBoson;
        part.NBitsKey = psi.NBitsKey;
        if (WaveFunctionInit(&part)) {
            char text[96];
            snprintf(text, sizeof(text), "WaveFunctionInit failed in %s", fn);
            Report(text);
            for (uint64_t g = 0; g < f; g++) WaveFunctionFree(&parts[g]);
            return 1;
        }
    }
    return 0;
}

void FreeParts(WaveFunctionType* parts, uint64_t count) {
    for (uint64_t f = 0; f < count; f++) WaveFunctionFree(&parts[f]);
}

}  // namespace

int WaveFunctionExpand(WaveFunctionType psi, const uint32_t* modes, unsigned int n, WaveFunctionType* parts) {
    if (n > WaveFunctionExpandMaxModes) {
        Report("Too many modes in WaveFunctionExpand");
        return 1;
    }
    const uint32_t nmodes = psi.NFermion + psi.NBoson;
    for (unsigned int j = 0; j < n; j++) {
        if (modes[j] >= nmodes) {
            printf("Mode %u outside the %u modes of the function in WaveFunctionExpand\n", modes[j], nmodes);
            fflush(stdout);
            return 1;
        }
    }
    const uint64_t count = (uint64_t)1 << n;
    if (InitParts(psi, parts, count, psi.QComplex ? 1 : 0, "WaveFunctionExpand")) return 1;
    for (uint64_t f = 0; f < count; f++) memcpy(parts[f].Name, psi.Name, sizeof(psi.Name));

    for (uint32_t i = 1; i <= psi.N; i++) {
        const uint8_t* det = WaveFunctionDet(psi, i);
        uint64_t f = 0;
        bool fits = true;
        for (unsigned int j = 0; j < n && fits; j++) {
            const unsigned int occ = Occupation(det, psi.NFermion, modes[j]);
            if (occ > 1) fits = false;  // a boson occupation that no bit can say
            f |= (uint64_t)occ << j;
        }
        if (!fits) continue;
        const int failed =
            psi.QComplex ? ComplexWaveFunctionAddElement(&parts[f], det, WaveFunctionRe(psi, i), WaveFunctionIm(psi, i))
                         : RealWaveFunctionAddElement(&parts[f], det, WaveFunctionRe(psi, i));
        if (failed) {
            printf("%sWaveFunctionAddElement failed in WaveFunctionExpand for determinant %i/%i of function %i/%i\n",
                   psi.QComplex ? "Complex" : "Real", (int)i, (int)psi.N, (int)f, (int)count);
            fflush(stdout);
            FreeParts(parts, count);
            return 1;
        }
    }
    return 0;
}

int WaveFunctionExpandToDeterminantBasis(WaveFunctionType psi, WaveFunctionType* parts) {
    if (InitParts(psi, parts, psi.N, 0, "WaveFunctionExpandToDeterminantBasis")) return 1;
    for (uint32_t i = 1; i <= psi.N; i++) {
        WaveFunctionType& part = parts[i - 1];
        const uint8_t* det = WaveFunctionDet(psi, i);
        // " %2.2X" per byte; the name holds 85 bytes, enough for 680 modes.
        size_t pos = 0;
        part.Name[0] = 0;
        for (uint32_t w = 0; w < psi.NWord && pos + 3 < sizeof(part.Name); w++, pos += 3)
            snprintf(part.Name + pos, sizeof(part.Name) - pos, " %2.2X", det[w]);
        if (RealWaveFunctionAddElement(&part, det, 1.0)) {
            Report("RealWaveFunctionAddElement failed in WaveFunctionExpandToDeterminantBasis");
            FreeParts(parts, psi.N);
            return 1;
        }
    }
    return 0;
}

int WaveFunctionChangeNFandNB(WaveFunctionType* psi, uint32_t NFnew, uint32_t NBnew) {
    if (NFnew == psi->NFermion && NBnew == psi->NBoson) return 0;
    if ((uint64_t)NFnew + NBnew > 65536) {
        printf("Error in WaveFunctionChangeNFandNB NFnew (%i) + NBnew (%i) larger than 65536 (%i)\n", (int)NFnew,
               (int)NBnew, 65536);
        fflush(stdout);
        return 1;
    }
    WaveFunctionType out;
    out.QComplex = psi->QComplex ? 1 : 0;
    out.NFermion = NFnew;
    out.NBoson = NBnew;
    out.NBitsKey = psi->NBitsKey;
    if (WaveFunctionInit(&out)) {
        Report("Error WaveFunctionInit failed in WaveFunctionChangeNFandNB");
        return 1;
    }
    memcpy(out.Name, psi->Name, sizeof(out.Name));

    uint8_t* det = static_cast<uint8_t*>(malloc(out.NWord > 0 ? out.NWord : 1));
    if (det == nullptr) {
        Report("Error malloc failed in WaveFunctionChangeNFandNB");
        WaveFunctionFree(&out);
        return 1;
    }
    const uint32_t oldFermionBytes = FermionBytes(psi->NFermion);
    const uint32_t newFermionBytes = FermionBytes(NFnew);
    const uint32_t keptFermions = NFnew < psi->NFermion ? NFnew : psi->NFermion;
    const uint32_t keptBosons = NBnew < psi->NBoson ? NBnew : psi->NBoson;
    // The fermion bytes that both shapes share, and the bits of the last of
    // them that stay.
    const uint32_t fullBytes = keptFermions >> 3;
    const uint8_t tailMask = (uint8_t)(0xFFu << (8u - (keptFermions & 7u)));

    for (uint32_t i = 1; i <= psi->N; i++) {
        const uint8_t* src = WaveFunctionDet(*psi, i);
        memset(det, 0, out.NWord);
        memcpy(det, src, fullBytes);
        if (keptFermions & 7u) det[fullBytes] = src[fullBytes] & tailMask;
        memcpy(det + newFermionBytes, src + oldFermionBytes, keptBosons);
        const int failed =
            out.QComplex ? ComplexWaveFunctionAddElement(&out, det, WaveFunctionRe(*psi, i), WaveFunctionIm(*psi, i))
                         : RealWaveFunctionAddElement(&out, det, WaveFunctionRe(*psi, i));
        if (failed) {
            Report(out.QComplex ? "Error ComplexWaveFunctionAddElement failed in WaveFunctionChangeNFandNB"
                                : "Error RealWaveFunctionAddElement failed in WaveFunctionChangeNFandNB");
            free(det);
            WaveFunctionFree(&out);
            return 1;
        }
    }
    free(det);
    WaveFunctionFree(psi);
    *psi = out;
    return 0;
}

char* DeterminantStringFromModes(unsigned int NF, const int* modes, unsigned int n) {
    char* text = static_cast<char*>(malloc((size_t)NF + 1));
    if (text == nullptr) {
        Report("malloc failed in DeterminantStringFromModes");
        return nullptr;
    }
    memset(text, '0', NF);
    text[NF] = 0;
    for (unsigned int k = 0; k < n; k++) {
        if (modes[k] < 0 || (unsigned int)modes[k] >= NF) {
            printf("\nWarning: Index %d is not within [0,NF-1]=[0,%d].\n", modes[k], (int)NF - 1);
            fflush(stdout);
            continue;
        }
        text[modes[k]] = '1';
    }
    return text;
}
