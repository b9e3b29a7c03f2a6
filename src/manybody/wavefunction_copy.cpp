// Deep copies of wave functions and the changes of kind between real and
// complex states.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_slots.h"

namespace {

template <typename T>
void FreeBlockArray(T**& blocks, uint32_t n) {
    if (blocks == nullptr) return;
    for (uint32_t b = 0; b < n; b++) free(blocks[b]);
    free(blocks);
    blocks = nullptr;
}

// Allocates a block of n items of T and copies the first used of src.
template <typename T>
T* CopyBlock(const T* src, size_t n, size_t used) {
    T* p = static_cast<T*>(malloc(n > 0 ? n * sizeof(T) : 1));
    if (p != nullptr && used > 0) memcpy(p, src, used * sizeof(T));
    return p;
}

}  // namespace

int WaveFunctionCopy(WaveFunctionType psi, WaveFunctionType* out) {
    memcpy(out->Name, psi.Name, sizeof(out->Name));
    out->Name[255] = 0;
    out->QComplex = psi.QComplex;
    out->N = psi.N;
    out->NBlok = psi.NBlok;
    out->NFermion = psi.NFermion;
    out->NBoson = psi.NBoson;
    out->NWord = psi.NWord;
    out->NBitsKey = psi.NBitsKey;
    out->ValueRe = nullptr;
    out->ValueIm = nullptr;
    out->Next = nullptr;
    out->Determinant = nullptr;
    out->KeyList = nullptr;

    auto fail = [out]() {
        FreeBlockArray(out->ValueRe, out->NBlok);
        FreeBlockArray(out->ValueIm, out->NBlok);
        FreeBlockArray(out->Next, out->NBlok);
        FreeBlockArray(out->Determinant, out->NBlok);
        free(out->KeyList);
        out->KeyList = nullptr;
        out->N = 0;
        out->NBlok = 0;
        wfslots::Report("malloc failed in WaveFunctionCopy");
        return 1;
    };

    const uint64_t nkeys = WaveFunctionKeyListSize(psi.NBitsKey);
    out->KeyList = CopyBlock(psi.KeyList, nkeys, nkeys);
    if (out->KeyList == nullptr) return fail();
    // Zeroed pointer arrays, so that a failure half-way frees only what exists.
    out->ValueRe = static_cast<double**>(calloc(psi.NBlok, sizeof(double*)));
    if (out->ValueRe == nullptr) return fail();
    if (psi.QComplex) {
        out->ValueIm = static_cast<double**>(calloc(psi.NBlok, sizeof(double*)));
        if (out->ValueIm == nullptr) return fail();
    }
    out->Next = static_cast<uint32_t**>(calloc(psi.NBlok, sizeof(uint32_t*)));
    if (out->Next == nullptr) return fail();
    out->Determinant = static_cast<uint8_t**>(calloc(psi.NBlok, sizeof(uint8_t*)));
    if (out->Determinant == nullptr) return fail();

    const uint32_t last = psi.N >> WaveFunctionBlokShift;
    for (uint32_t b = 0; b < psi.NBlok; b++) {
        // Slots beyond N hold no data yet and are not read.
        const size_t used = b < last ? WaveFunctionBlokSize : (b == last ? (psi.N & WaveFunctionBlokMask) + 1 : 0);
        out->ValueRe[b] = CopyBlock(psi.ValueRe[b], WaveFunctionBlokSize, used);
        if (out->ValueRe[b] == nullptr) return fail();
        if (psi.QComplex) {
            out->ValueIm[b] = CopyBlock(psi.ValueIm[b], WaveFunctionBlokSize, used);
            if (out->ValueIm[b] == nullptr) return fail();
        }
        out->Next[b] = CopyBlock(psi.Next[b], WaveFunctionBlokSize, used);
        if (out->Next[b] == nullptr) return fail();
        out->Determinant[b] =
            CopyBlock(psi.Determinant[b], (size_t)WaveFunctionBlokSize * psi.NWord, used * psi.NWord);
        if (out->Determinant[b] == nullptr) return fail();
    }
    return 0;
}

int MakeComplexWaveFunctionFromReal(WaveFunctionType* out, WaveFunctionType psi) {
    if (!psi.QComplex && PromoteRealWaveFunctionToComplex(&psi)) {
        *out = psi;
        return 1;
    }
    *out = psi;
    return 0;
}

int MakeRealWaveFunctionFromComplex(WaveFunctionType psi, WaveFunctionType* out) {
    wfslots::DropImaginaryPart(&psi);
    *out = psi;
    return 0;
}

int MakeComplexBlockWaveFunctionFromReal(WaveFunctionType* psi, unsigned int count) {
    for (unsigned int j = 0; j < count; j++) {
        if (psi[j].QComplex) continue;
        if (PromoteRealWaveFunctionToComplex(&psi[j])) {
            wfslots::Report("MakeComplexWaveFunctionFromReal failed in MakeComplexBlockWaveFunctionFromReal");
            for (unsigned int k = 0; k < j; k++) wfslots::DropImaginaryPart(&psi[k]);
            return 1;
        }
    }
    return 0;
}
