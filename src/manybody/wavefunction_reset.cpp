// Releasing, emptying and re-keying wave-function stores.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "manybody/wavefunction.h"
#include "manybody/wavefunction_rebuild.h"

using namespace wfrebuild;

namespace {

void Report(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

bool Passes(const WaveFunctionType& psi, uint32_t i) {
    return psi.QComplex ? ComplexKept(psi, i, ZeroCut) : RealKept(psi, i, SqrtZeroCut);
}

// The single-state re-key.  The key list is resized in place and then
// cleared: the walk below must never follow an entry of the old table, whose
// chains no longer match the elements as they move.
int ResetKeylistSingle(WaveFunctionType* psi, uint32_t nbits) {
    const uint32_t oldN = psi->N;
    psi->ValueRe[0][0] = 0.0;
    if (psi->QComplex) psi->ValueIm[0][0] = 0.0;

    const uint64_t size = WaveFunctionKeyListSize(nbits);
    void* keys = realloc(psi->KeyList, size * sizeof(uint32_t));
    if (keys == nullptr) {
        Report("realloc failed in RealWaveFunctionResetKeylist");
        return 1;
    }
    psi->KeyList = static_cast<uint32_t*>(keys);
    memset(psi->KeyList, 0, size * sizeof(uint32_t));
    psi->NBitsKey = nbits;
    psi->N = 0;

    double re = 0.0, im = 0.0;
    ReinsertKept(psi, 1, oldN, [psi](uint32_t i) { return Passes(*psi, i); }, &re, psi->QComplex ? &im : nullptr);
    return 0;
}

int ResetKeylistBlock(WaveFunctionType* psi, unsigned int count, uint32_t nbits, const char* fn) {
    if (count == 0) return 0;
    const bool cplx = psi[0].QComplex != 0;
    double* values = static_cast<double*>(malloc((cplx ? 2 : 1) * count * sizeof(double)));
    uint32_t* keys = static_cast<uint32_t*>(calloc(WaveFunctionKeyListSize(nbits), sizeof(uint32_t)));
    if (values == nullptr || keys == nullptr) {
        printf("alloc failed in %s\n", fn);
        fflush(stdout);
        free(values);
        free(keys);
        return 1;
    }

    const uint32_t oldN = psi[0].N;
    for (unsigned int j = 0; j < count; j++) {
        psi[j].ValueRe[0][0] = 0.0;
        if (cplx) psi[j].ValueIm[0][0] = 0.0;
    }
    free(psi[0].KeyList);
    for (unsigned int j = 0; j < count; j++) {
        psi[j].KeyList = keys;
        psi[j].NBitsKey = nbits;
        psi[j].N = 0;
    }

    auto anyPasses = [psi, count](uint32_t i) {
        for (unsigned int j = 0; j < count; j++)
            if (Passes(psi[j], i)) return true;
        return false;
    };
    ReinsertKept(psi, count, oldN, anyPasses, values, cplx ? values + count : nullptr);
    free(values);
    return 0;
}

void FreeValueBlocks(WaveFunctionType* psi) {
    if (psi->ValueRe != nullptr) {
        FreeBlocks(psi->ValueRe, 0, psi->NBlok);
        free(psi->ValueRe);
    }
    if (psi->ValueIm != nullptr) {
        FreeBlocks(psi->ValueIm, 0, psi->NBlok);
        free(psi->ValueIm);
    }
    psi->ValueRe = nullptr;
    psi->ValueIm = nullptr;
}

}  // namespace

// ---- Release ----------------------------------------------------------------

void WaveFunctionFree(WaveFunctionType* psi) {
    FreeValueBlocks(psi);
    if (psi->Next != nullptr) {
        FreeBlocks(psi->Next, 0, psi->NBlok);
        free(psi->Next);
    }
    if (psi->Determinant != nullptr) {
        FreeBlocks(psi->Determinant, 0, psi->NBlok);
        free(psi->Determinant);
    }
    free(psi->KeyList);
    psi->Next = nullptr;
    psi->Determinant = nullptr;
    psi->KeyList = nullptr;
    psi->N = 0;
    psi->NBlok = 0;
}

void RealWaveFunctionFree(WaveFunctionType* psi) { WaveFunctionFree(psi); }
void ComplexWaveFunctionFree(WaveFunctionType* psi) { WaveFunctionFree(psi); }

// The basis pointers (Next, Determinant, KeyList) and the counters are left
// as they are: they belong to the owner of the basis.
void WaveFunctionFreeValues(WaveFunctionType* psi) { FreeValueBlocks(psi); }
void RealWaveFunctionFreeValues(WaveFunctionType* psi) { FreeValueBlocks(psi); }
void ComplexWaveFunctionFreeValues(WaveFunctionType* psi) { FreeValueBlocks(psi); }

void BlockWaveFunctionFree(WaveFunctionType* psi, unsigned int count) {
    if (count == 0) return;
    for (unsigned int j = 1; j < count; j++) WaveFunctionFreeValues(&psi[j]);
    WaveFunctionFree(&psi[0]);
}

// ---- Emptying ---------------------------------------------------------------

void WaveFunctionReset(WaveFunctionType* psi) {
    FreeBlocks(psi->ValueRe, 1, psi->NBlok);
    FreeBlocks(psi->ValueIm, 1, psi->NBlok);
    FreeBlocks(psi->Next, 1, psi->NBlok);
    FreeBlocks(psi->Determinant, 1, psi->NBlok);
    psi->N = 0;
    psi->NBlok = 1;
    memset(psi->KeyList, 0, WaveFunctionKeyListSize(psi->NBitsKey) * sizeof(uint32_t));
    psi->ValueRe[0][0] = 0.0;
    if (psi->ValueIm != nullptr) psi->ValueIm[0][0] = 0.0;
}

void RealWaveFunctionReset(WaveFunctionType* psi) { WaveFunctionReset(psi); }
void ComplexWaveFunctionReset(WaveFunctionType* psi) { WaveFunctionReset(psi); }

// ---- Re-keying --------------------------------------------------------------

int RealWaveFunctionResetKeylist(WaveFunctionType* psi, uint32_t nbits) { return ResetKeylistSingle(psi, nbits); }
int ComplexWaveFunctionResetKeylist(WaveFunctionType* psi, uint32_t nbits) {
    return ResetKeylistSingle(psi, nbits);
}
int WaveFunctionResetKeylist(WaveFunctionType* psi, uint32_t nbits) { return ResetKeylistSingle(psi, nbits); }

int RealBlockWaveFunctionResetKeylist(WaveFunctionType* psi, unsigned int count, uint32_t nbits) {
    return ResetKeylistBlock(psi, count, nbits, "RealBlockWaveFunctionResetKeylist");
}
int ComplexBlockWaveFunctionResetKeylist(WaveFunctionType* psi, unsigned int count, uint32_t nbits) {
    return ResetKeylistBlock(psi, count, nbits, "ComplexBlockWaveFunctionResetKeylist");
}
int BlockWaveFunctionResetKeylist(WaveFunctionType* psi, unsigned int count, uint32_t nbits) {
    if (count == 0) return 0;
    return psi[0].QComplex ? ComplexBlockWaveFunctionResetKeylist(psi, count, nbits)
                           : RealBlockWaveFunctionResetKeylist(psi, count, nbits);
}
