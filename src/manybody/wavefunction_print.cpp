// Printouts of a wave function for people: the readable listing (also as a
// string, for tostring in scripts), the full listing with the storage
// layout, a truncated listing, the on-site density and a histogram of the
// prefactors.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "manybody/hash.h"
#include "manybody/wavefunction.h"

namespace {

void PrintDetBytes(const WaveFunctionType& psi, uint32_t i, FILE* file) {
    const uint8_t* det = WaveFunctionDet(psi, i);
    for (uint32_t w = 0; w < psi.NWord; w++) fprintf(file, "%2.2X", det[w]);
    fprintf(file, "\n");
}

void PrintRowHead(const WaveFunctionType& psi, FILE* file) {
    if (psi.QComplex)
        fprintf(file, "\n#      pre-factor             +I  pre-factor         Determinant\n");
    else
        fprintf(file, "\n#      pre-factor         Determinant\n");
}

void PrintRow(const WaveFunctionType& psi, uint32_t i, FILE* file) {
    if (psi.QComplex)
        fprintf(file, "%4i %20.12E       %20.12E       ", (int)i, WaveFunctionRe(psi, i), WaveFunctionIm(psi, i));
    else
        fprintf(file, "%4i %20.12E       ", (int)i, WaveFunctionRe(psi, i));
    PrintDetBytes(psi, i, file);
}

double SquaredMagnitude(const WaveFunctionType& psi, uint32_t i) {
    double re = WaveFunctionRe(psi, i);
    double w = re * re;
    if (psi.QComplex) {
        double im = WaveFunctionIm(psi, i);
        w += im * im;
    }
    return w;
}

}  // namespace

int StreamPrintWaveFunctionReadable(WaveFunctionType psi, FILE* file) {
    fprintf(file, "\nWaveFunction: %s\n", psi.Name);
    fprintf(file, "QComplex         = %10i (Real==0 or Complex==1)\n", (int)psi.QComplex);
    fprintf(file, "N                = %10i (Number of basis functions used to discribe psi)\n", (int)psi.N);
    fprintf(file, "NFermionic modes = %10i (Number of fermions in the one particle basis)\n", (int)psi.NFermion);
    fprintf(file, "NBosonic modes   = %10i (Number of bosons in the one particle basis)\n", (int)psi.NBoson);
    PrintRowHead(psi, file);
    for (uint32_t i = 1; i <= psi.N; i++) PrintRow(psi, i, file);
    return 0;
}

char* StringPrintWaveFunctionReadable(WaveFunctionType psi) {
    char* text = nullptr;
    size_t size = 0;
    FILE* stream = open_memstream(&text, &size);
    if (stream == nullptr) return nullptr;
    StreamPrintWaveFunctionReadable(psi, stream);
    bool failed = ferror(stream) != 0;
    fclose(stream);
    if (failed) {
        free(text);
        return nullptr;
    }
    return text;
}

int StreamPrintWaveFunctionFullReadable(WaveFunctionType psi, FILE* file) {
    fprintf(file, "\nFull printout of WaveFunction: %s\n", psi.Name);
    fprintf(file, "\nGenneral settings\n");
    fprintf(file, "QComplex      = %10i (Real==0 or Complex==1)\n", (int)psi.QComplex);
    fprintf(file, "N             = %10i (Number of basis functions used to discribe psi)\n", (int)psi.N);
    fprintf(file, "NBlok         = %10i (Number of bloks needed to store psi)\n", (int)psi.NBlok);
    fprintf(file, "NFermion      = %10i (Number of fermions in the one particle basis)\n", (int)psi.NFermion);
    fprintf(file, "NBoson        = %10i (Number of bosons in the one particle basis)\n", (int)psi.NBoson);
    fprintf(file, "NWord         = %10i (NFermion/8)+NBoson\n", (int)psi.NWord);
    fprintf(file, "NBitsKey      = %10i (Size of the key used for the hash table lookup)\n", (int)psi.NBitsKey);

    fprintf(file, "\nPointer positions (addresses)\n");
    fprintf(file, "**ValueRe     = %p\n", (void*)psi.ValueRe);
    if (psi.QComplex) fprintf(file, "**ValueIm     = %p\n", (void*)psi.ValueIm);
    fprintf(file, "**Next        = %p\n", (void*)psi.Next);
    fprintf(file, "**Determinant = %p\n", (void*)psi.Determinant);
    for (uint32_t b = 0; b < psi.NBlok; b++) {
        fprintf(file, "BlokNr.       = %i\n", (int)b);
        fprintf(file, "*ValueRe      = %p\n", (void*)psi.ValueRe[b]);
        if (psi.QComplex) fprintf(file, "*ValueIm      = %p\n", (void*)psi.ValueIm[b]);
        fprintf(file, "*Next         = %p\n", (void*)psi.Next[b]);
        fprintf(file, "*Determinant  = %p\n", (void*)psi.Determinant[b]);
    }

    fprintf(file, "\nNon-zero elements of Hash Table\n");
    const uint64_t nkeys = WaveFunctionKeyListSize(psi.NBitsKey);
    for (uint64_t k = 0; k < nkeys; k++)
        if (psi.KeyList[k] != 0) fprintf(file, "i= %10i , key= %10i\n", (int)k, (int)psi.KeyList[k]);

    if (psi.QComplex)
        fprintf(file,
                "\n  pre-factor             +I  pre-factor            Pointer Addres  Next_Hash Hash_Value   "
                "Determinant\n");
    else
        fprintf(file, "\n  pre-factor            Pointer Addres  Next_Hash Hash_Value   Determinant\n");
    for (uint32_t i = 1; i <= psi.N; i++) {
        const uint8_t* det = WaveFunctionDet(psi, i);
        int next = (int)WaveFunctionNext(psi, i);
        int key = (int)hash(det, psi.NWord, psi.NBitsKey);
        if (psi.QComplex)
            fprintf(file, "%20.12E       %20.12E       %p %10i %10i   ", WaveFunctionRe(psi, i),
                    WaveFunctionIm(psi, i), (const void*)det, next, key);
        else
            fprintf(file, "%20.12E       %p %10i %10i   ", WaveFunctionRe(psi, i), (const void*)det, next, key);
        PrintDetBytes(psi, i, file);
    }
    return 0;
}

int StreamPrintWaveFunctionReadableTruncated(WaveFunctionType psi, double cut, FILE* file) {
    fprintf(file, "\nprintout of WaveFunction: %s\n", psi.Name);
    fprintf(file, "Only determinants with a norm of the prefactor larger than %22.15E will be printed\n", cut);
    PrintRowHead(psi, file);
    for (uint32_t i = 1; i <= psi.N; i++)
        if (sqrt(SquaredMagnitude(psi, i)) > cut) PrintRow(psi, i, file);
    return 0;
}

int StreamPrintWaveFunctionDensity(WaveFunctionType psi, FILE* file) {
    const uint32_t nmodes = psi.NFermion + psi.NBoson;
    double* density = static_cast<double*>(calloc(nmodes > 0 ? nmodes : 1, sizeof(double)));
    if (density == nullptr) {
        printf("calloc failed in StreamPrintWaveFunctionDensity\n");
        fflush(stdout);
        return 1;
    }
    const uint32_t bosonBase = (psi.NFermion + 7) >> 3;
    for (uint32_t i = 1; i <= psi.N; i++) {
        const double w = SquaredMagnitude(psi, i);
        const uint8_t* det = WaveFunctionDet(psi, i);
        for (uint32_t m = 0; m < psi.NFermion; m++)
            if (det[m >> 3] & (0x80u >> (m & 7u))) density[m] += w;
        for (uint32_t b = 0; b < psi.NBoson; b++) density[psi.NFermion + b] += w * det[bosonBase + b];
    }
    fprintf(file, "Onsite Density (-only the diagonal of the density matrix-)\n");
    for (uint32_t m = 0; m < nmodes; m++) fprintf(file, "%5i %22.15E\n", (int)m, density[m]);
    free(density);
    return 0;
}

// Row i (0..n-1) holds the weight |c|^2 of the elements with
// base^-(i+1) < |c| <= base^-i.  Magnitudes above 1 are counted in row 0 and
// those at or below base^-n in row n-1, so the rows add up to the squared
// norm.
int StreamPrintWaveFunctionPrefactorHistogram(WaveFunctionType psi, double base, unsigned int n, FILE* file) {
    if (!(base > 1.0) || n == 0) {
        printf("Error in StreamPrintWaveFunctionPrefactorHistogram, base (%f) must be larger than 1 and the number "
               "of bins (%u) positive\n",
               base, n);
        fflush(stdout);
        return 1;
    }
    double* bins = static_cast<double*>(calloc(n, sizeof(double)));
    if (bins == nullptr) {
        printf("calloc failed in StreamPrintWaveFunctionPrefactorHistogram\n");
        fflush(stdout);
        return 1;
    }
    const double logBase = log(base);
    const long long count = psi.N;
    int failed = 0;
#pragma omp parallel
    {
        double* local = static_cast<double*>(calloc(n, sizeof(double)));
        if (local == nullptr) {
#pragma omp atomic write
            failed = 1;
        }
#pragma omp for schedule(static)
        for (long long i = 1; i <= count; i++) {
            if (local == nullptr) continue;
            const double w = SquaredMagnitude(psi, (uint32_t)i);
            const double mag = sqrt(w);
            unsigned int bin = 0;
            if (mag < 1.0) {
                double level = (mag > 0.0) ? floor(-log(mag) / logBase) : (double)n;
                bin = level >= (double)(n - 1) ? n - 1 : (unsigned int)level;
            }
            local[bin] += w;
        }
        if (local != nullptr) {
#pragma omp critical(AddToHistogram)
            for (unsigned int k = 0; k < n; k++) bins[k] += local[k];
            free(local);
        }
    }
    if (failed) {
        printf("calloc failed in StreamPrintWaveFunctionPrefactorHistogram\n");
        fflush(stdout);
        free(bins);
        return 1;
    }
    fprintf(file, "\nHistogram of prefactors in Wave-function\n");
    for (unsigned int k = 0; k < n; k++)
        fprintf(file, "(%f)^(-%2i) to (%f)^(-%2i) | %22.15E\n", base, (int)k, base, (int)k + 1, bins[k]);
    free(bins);
    return 0;
}
