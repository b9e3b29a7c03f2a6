#include <cstdlib>
#include <cstring>

#include "spectra/spectra.h"

int StreamPrintSpectra(const SpectraType* S, uint32_t n, FILE* f) {
    fprintf(f, "#Spectra: %i\n", (int)n);
    fprintf(f, "Emin______Emax     ");
    for (uint32_t i = 0; i < n; i++) fprintf(f, " %22.15E %22.15E", S[i].Emin, S[i].Emax);
    fprintf(f, "\nEminPole__EmaxPole ");
    for (uint32_t i = 0; i < n; i++) fprintf(f, " %22.15E %22.15E", S[i].EminPole, S[i].EmaxPole);
    fprintf(f, "\ndE________Gamma    ");
    for (uint32_t i = 0; i < n; i++) fprintf(f, " %22.15E %22.15E", S[i].dE, S[i].Gamma);
    fprintf(f, "\nEnergy             ");
    for (uint32_t i = 0; i < n; i++) {
        if (i < 10)
            fprintf(f, "  Re[%1i]                  Im[%1i]                ", (int)i, (int)i);
        else if (i < 100)
            fprintf(f, "  Re[%2i]                 Im[%2i]               ", (int)i, (int)i);
        else if (i < 1000)
            fprintf(f, "  Re[%3i]                Im[%3i]              ", (int)i, (int)i);
        else if (i < 10000)
            fprintf(f, "  Re[%4i]               Im[%4i]             ", (int)i, (int)i);
    }
    fprintf(f, "\n");
    uint32_t last = 0;
    for (uint32_t i = 0; i < n; i++)
        if (S[i].NE > last) last = S[i].NE;
    for (uint32_t k = 0; n > 0 && k <= last; k++) {
        fprintf(f, "%19.12E", k * S[0].dE + S[0].Emin);
        for (uint32_t i = 0; i < n; i++) {
            if (k <= S[i].NE)
                fprintf(f, " %22.15E %22.15E", S[i].Re[k], S[i].Im[k]);
            else
                fprintf(f, " %22.15E %22.15E", 0.0, 0.0);
        }
        fprintf(f, "\n");
    }
    return 0;
}

int FilePrintSpectra(const SpectraType* S, uint32_t n, const char* name, const char* mode) {
    if (strcmp(mode, "w") != 0 && strcmp(mode, "a") != 0) {
        printf("ERROR in FilePrintSpectra.\nmode must be either \"w\" for overwrite or \"a\" for append\n %s as input "
               "is not excepted\n",
               mode);
        return 1;
    }
    FILE* f = fopen(name, mode);
    if (f == nullptr) {
        printf("ERROR\nCan't open %s for writing with mode %s.\n", name, mode);
        return 1;
    }
    StreamPrintSpectra(S, n, f);
    return fclose(f) == 0 ? 0 : 1;
}

int StringPrintSpectra(const SpectraType* S, uint32_t n, char** out) {
    char* text = nullptr;
    size_t size = 0;
    FILE* f = open_memstream(&text, &size);
    if (f == nullptr) return 1;
    StreamPrintSpectra(S, n, f);
    if (fclose(f) != 0) {
        free(text);
        return 1;
    }
    *out = text;
    return 0;
}
