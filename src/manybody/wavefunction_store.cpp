// Creation of a wave-function store, basis-sharing copies, promotion of a
// real state to a complex one, and the lookup of a determinant.
#include <cstdlib>
#include <cstring>

#include "manybody/hash.h"
#include "manybody/wavefunction.h"

namespace {

void Report(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

void FreeBlockArray(void** blocks, uint32_t n) {
    if (blocks == nullptr) return;
    for (uint32_t b = 0; b < n; b++) free(blocks[b]);
    free(blocks);
}

}  // namespace

int WaveFunctionInit(WaveFunctionType* psi) {
    memset(psi->Name, 0, sizeof(psi->Name));
    strcpy(psi->Name, "Wave Function");
    psi->N = 0;
    psi->NBlok = 1;
    psi->NWord = WaveFunctionNWord(psi->NFermion, psi->NBoson);
    psi->ValueRe = nullptr;
    psi->ValueIm = nullptr;
    psi->Next = nullptr;
    psi->Determinant = nullptr;
    psi->KeyList = nullptr;

    // Each step frees what the steps before it made, so a failed call
    // leaves nothing allocated.
    auto fail = [psi](const char* text) {
        Report(text);
        if (psi->Determinant != nullptr) free(psi->Determinant[0]);
        if (psi->Next != nullptr) free(psi->Next[0]);
        if (psi->ValueIm != nullptr) free(psi->ValueIm[0]);
        if (psi->ValueRe != nullptr) free(psi->ValueRe[0]);
        free(psi->Determinant);
        free(psi->Next);
        free(psi->ValueIm);
        free(psi->ValueRe);
        free(psi->KeyList);
        psi->ValueRe = nullptr;
        psi->ValueIm = nullptr;
        psi->Next = nullptr;
        psi->Determinant = nullptr;
        psi->KeyList = nullptr;
        psi->NBlok = 0;
        psi->NWord = 0;
        return 1;
    };

    psi->KeyList = static_cast<uint32_t*>(calloc(WaveFunctionKeyListSize(psi->NBitsKey), sizeof(uint32_t)));
    if (psi->KeyList == nullptr) return fail("calloc failed in WaveFunctionInit 00");
    psi->ValueRe = static_cast<double**>(malloc(sizeof(double*)));
    if (psi->ValueRe == nullptr) return fail("malloc failed in WaveFunctionInit 01");
    psi->ValueRe[0] = nullptr;
    if (psi->QComplex) {
        psi->ValueIm = static_cast<double**>(malloc(sizeof(double*)));
        if (psi->ValueIm == nullptr) return fail("malloc failed in WaveFunctionInit 02");
        psi->ValueIm[0] = nullptr;
    }
    psi->Next = static_cast<uint32_t**>(malloc(sizeof(uint32_t*)));
    if (psi->Next == nullptr) return fail("malloc failed in WaveFunctionInit 03");
    psi->Next[0] = nullptr;
    psi->Determinant = static_cast<uint8_t**>(malloc(sizeof(uint8_t*)));
    if (psi->Determinant == nullptr) return fail("malloc failed in WaveFunctionInit 04");
    psi->Determinant[0] = nullptr;

    psi->ValueRe[0] = static_cast<double*>(malloc(WaveFunctionBlokSize * sizeof(double)));
    if (psi->ValueRe[0] == nullptr) return fail("malloc failed in WaveFunctionInit 05");
    psi->ValueRe[0][0] = 0.0;
    if (psi->QComplex) {
        psi->ValueIm[0] = static_cast<double*>(malloc(WaveFunctionBlokSize * sizeof(double)));
        if (psi->ValueIm[0] == nullptr) return fail("malloc failed in WaveFunctionInit 06");
        psi->ValueIm[0][0] = 0.0;
    }
    psi->Next[0] = static_cast<uint32_t*>(malloc(WaveFunctionBlokSize * sizeof(uint32_t)));
    if (psi->Next[0] == nullptr) return fail("malloc failed in WaveFunctionInit 07");
    psi->Next[0][0] = 0;
    // A state without modes has determinants of 0 bytes; one byte is asked
    // for so that a successful allocation is never a null pointer.
    size_t detBytes = (size_t)WaveFunctionBlokSize * psi->NWord;
    psi->Determinant[0] = static_cast<uint8_t*>(malloc(detBytes > 0 ? detBytes : 1));
    if (psi->Determinant[0] == nullptr) return fail("malloc failed in WaveFunctionInit 08");
    return 0;
}

int WaveFunctionInitCopyBasis(WaveFunctionType* out, WaveFunctionType in) {
    memcpy(out->Name, in.Name, sizeof(out->Name));
    out->Name[255] = 0;
    out->QComplex = in.QComplex;
    out->N = in.N;
    out->NBlok = in.NBlok;
    out->NFermion = in.NFermion;
    out->NBoson = in.NBoson;
    out->NWord = in.NWord;
    out->NBitsKey = in.NBitsKey;
    out->Next = in.Next;
    out->Determinant = in.Determinant;
    out->KeyList = in.KeyList;
    out->ValueRe = nullptr;
    out->ValueIm = nullptr;

    uint32_t madeRe = 0, madeIm = 0;
    auto fail = [&](const char* text) {
        Report(text);
        if (out->ValueRe != nullptr) FreeBlockArray(reinterpret_cast<void**>(out->ValueRe), madeRe);
        if (out->ValueIm != nullptr) FreeBlockArray(reinterpret_cast<void**>(out->ValueIm), madeIm);
        out->ValueRe = nullptr;
        out->ValueIm = nullptr;
        // The failed copy must not be mistaken for an owner of the basis.
        out->Next = nullptr;
        out->Determinant = nullptr;
        out->KeyList = nullptr;
        out->N = 0;
        out->NBlok = 0;
        return 1;
    };

    out->ValueRe = static_cast<double**>(malloc(in.NBlok * sizeof(double*)));
    if (out->ValueRe == nullptr) return fail("alloc failed WaveFunctionInitCopyBasis 01 Re");
    for (; madeRe < in.NBlok; madeRe++) {
        out->ValueRe[madeRe] = static_cast<double*>(calloc(WaveFunctionBlokSize, sizeof(double)));
        if (out->ValueRe[madeRe] == nullptr) return fail("alloc failed WaveFunctionInitCopyBasis 02 Re");
    }
    if (in.QComplex) {
        out->ValueIm = static_cast<double**>(malloc(in.NBlok * sizeof(double*)));
        if (out->ValueIm == nullptr) return fail("alloc failed WaveFunctionInitCopyBasis 01 Im");
        for (; madeIm < in.NBlok; madeIm++) {
            out->ValueIm[madeIm] = static_cast<double*>(calloc(WaveFunctionBlokSize, sizeof(double)));
            if (out->ValueIm[madeIm] == nullptr) return fail("alloc failed WaveFunctionInitCopyBasis 02 Im");
        }
    }
    return 0;
}

int PromoteRealWaveFunctionToComplex(WaveFunctionType* psi) {
    if (psi->QComplex) return 0;
    double** im = static_cast<double**>(malloc(psi->NBlok * sizeof(double*)));
    if (im == nullptr) {
        Report("could not allocate memory in MakeComplexWaveFunctionFromReal 00");
        return 1;
    }
    for (uint32_t b = 0; b < psi->NBlok; b++) {
        im[b] = static_cast<double*>(calloc(WaveFunctionBlokSize, sizeof(double)));
        if (im[b] == nullptr) {
            printf("could not allocate memory in MakeComplexWaveFunctionFromReal %i\n", (int)b);
            fflush(stdout);
            FreeBlockArray(reinterpret_cast<void**>(im), b);
            return 1;
        }
    }
    psi->ValueIm = im;
    psi->QComplex = 1;
    return 0;
}

uint32_t WaveFunctionIndexDet(const WaveFunctionType* psi, const uint8_t* det) {
    const uint32_t nword = psi->NWord;
    uint32_t i = psi->KeyList[hash(det, nword, psi->NBitsKey)];
    while (i != 0 && !DetEqual(WaveFunctionDet(*psi, i), det, nword)) i = WaveFunctionNext(*psi, i);
    return i;
}
