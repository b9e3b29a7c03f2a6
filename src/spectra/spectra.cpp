#include "spectra/spectra.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

void InitSpectrumHeader(SpectraType* S) {
    memset(S, 0, sizeof *S);
    strcpy(S->Name, "Spec");
    S->ResonantEnergy = std::nan("");
}

int SpectrumAllocate(SpectraType source, SpectraType* target) {
    *target = source;
    target->Re = target->Im = nullptr;
    target->Re = (double*)calloc((size_t)source.NE + 1, sizeof(double));
    if (target->Re == nullptr) {
        printf("\nERROR\nSpectrumAllocate failed 01");
        return 1;
    }
    target->Im = (double*)calloc((size_t)source.NE + 1, sizeof(double));
    if (target->Im == nullptr) {
        free(target->Re);
        target->Re = nullptr;
        printf("\nERROR\nSpectrumAllocate falied 02");
        return 1;
    }
    return 0;
}

int CopySpectra(SpectraType source, SpectraType* target) {
    if (SpectrumAllocate(source, target) != 0) return 1;
    memcpy(target->Re, source.Re, ((size_t)source.NE + 1) * sizeof(double));
    memcpy(target->Im, source.Im, ((size_t)source.NE + 1) * sizeof(double));
    return 0;
}

void SpectrumFree(SpectraType* S) {
    free(S->Re);
    free(S->Im);
    S->Re = S->Im = nullptr;
}

void SetSpectraToZero(SpectraType* S) {
    memset(S->Re, 0, ((size_t)S->NE + 1) * sizeof(double));
    memset(S->Im, 0, ((size_t)S->NE + 1) * sizeof(double));
}

SpectraType* CopySpectraArray(const SpectraType* S, uint32_t n) {
    SpectraType* out = (SpectraType*)calloc(n == 0 ? 1 : n, sizeof(SpectraType));
    if (out == nullptr) return nullptr;
    for (uint32_t i = 0; i < n; i++) {
        if (CopySpectra(S[i], &out[i]) != 0) {
            printf("SpectrumAllocate failed in CopySpectraArray at spectrum %d\n", (int)i);
            FreeSpectraArray(out, i);
            return nullptr;
        }
    }
    return out;
}

void FreeSpectraArray(SpectraType* S, uint32_t n) {
    if (S == nullptr) return;
    for (uint32_t i = 0; i < n; i++) SpectrumFree(&S[i]);
    free(S);
}
