// Wave-function files: the plain text form and the plain binary form, both
// with the same five text header lines (name, QComplex, N, NFermion, NBoson).
// NBitsKey is not stored; the reader takes it from the caller's record.
#include <cstdlib>
#include <cstring>

#include "manybody/wavefunction.h"

namespace {

void Report(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

void PrintHeader(const WaveFunctionType& psi, FILE* file) {
    fprintf(file, "%s\n", psi.Name);
    fprintf(file, "%i\n", (int)psi.QComplex);
    fprintf(file, "%i\n", (int)psi.N);
    fprintf(file, "%i\n", (int)psi.NFermion);
    fprintf(file, "%i\n", (int)psi.NBoson);
}

int Finish(FILE* file, const char* fn) {
    if (ferror(file)) {
        printf("write failed in %s\n", fn);
        fflush(stdout);
        return 1;
    }
    return 0;
}

// Doubles in the binary form are 8 bytes, little-endian.
void PutDouble(double v, FILE* file) {
    uint64_t u;
    memcpy(&u, &v, 8);
    uint8_t b[8];
    for (int k = 0; k < 8; k++) b[k] = (uint8_t)(u >> (8 * k));
    fwrite(b, 1, 8, file);
}

bool GetDouble(double* v, FILE* file) {
    uint8_t b[8];
    if (fread(b, 1, 8, file) != 8) return false;
    uint64_t u = 0;
    for (int k = 0; k < 8; k++) u |= (uint64_t)b[k] << (8 * k);
    memcpy(v, &u, 8);
    return true;
}

struct Header {
    char name[257];
    int qcomplex, count, nfermion, nboson;
};

// The name line (at most 256 characters, its newline cut) and four numbers,
// each on a line of its own.
bool ReadHeader(Header* h, FILE* file) {
    if (fgets(h->name, sizeof(h->name), file) == nullptr) return false;
    size_t len = strlen(h->name);
    if (len > 0 && h->name[len - 1] == '\n') {
        h->name[len - 1] = 0;
    } else {
        int c;
        while ((c = fgetc(file)) != '\n' && c != EOF) {
        }
    }
    int* fields[4] = {&h->qcomplex, &h->count, &h->nfermion, &h->nboson};
    for (int* field : fields) {
        char line[1024];
        if (fgets(line, 1023, file) == nullptr || sscanf(line, "%i", field) != 1) return false;
    }
    return h->count >= 0 && h->nfermion >= 0 && h->nboson >= 0;
}

// Reads the header, creates the state and a scratch determinant; the
// element count of the header goes to *count (N is rebuilt by the adds).
// Returns null, with nothing allocated, on failure.
uint8_t* StartReading(WaveFunctionType* psi, FILE* file, int* count) {
    Header h;
    if (!ReadHeader(&h, file)) {
        Report("Error reading the header in StreamReadWaveFunctionPlain");
        return nullptr;
    }
    *count = h.count;
    psi->QComplex = h.qcomplex != 0 ? 1 : 0;
    psi->NFermion = (uint32_t)h.nfermion;
    psi->NBoson = (uint32_t)h.nboson;
    if (WaveFunctionInit(psi)) {
        Report("WaveFunctionInit failed in StreamReadWaveFunctionPlain");
        return nullptr;
    }
    strncpy(psi->Name, h.name, 255);
    psi->Name[255] = 0;
    uint8_t* det = static_cast<uint8_t*>(malloc(psi->NWord > 0 ? psi->NWord : 1));
    if (det == nullptr) {
        WaveFunctionFree(psi);
        Report("malloc for det failed in StreamReadWaveFunctionPlain");
        return nullptr;
    }
    return det;
}

int AddRead(WaveFunctionType* psi, const uint8_t* det, double re, double im) {
    if (psi->QComplex) {
        if (ComplexWaveFunctionAddElement(psi, det, re, im)) {
            Report("ComplexWaveFunctionAddElement failed in StreamReadWaveFunctionPlain");
            return 1;
        }
    } else if (RealWaveFunctionAddElement(psi, det, re)) {
        Report("RealWaveFunctionAddElement failed in StreamReadWaveFunctionPlain");
        return 1;
    }
    return 0;
}

int ReadFailed(WaveFunctionType* psi, uint8_t* det, int element, int count, const char* fn) {
    printf("Error reading element %d of %d in %s\n", element, count, fn);
    fflush(stdout);
    free(det);
    WaveFunctionFree(psi);
    return 1;
}

}  // namespace

int StreamPrintWaveFunctionPlain(WaveFunctionType psi, FILE* file) {
    PrintHeader(psi, file);
    for (uint32_t i = 1; i <= psi.N; i++) {
        if (psi.QComplex)
            fprintf(file, "%23.15E %23.15E ", WaveFunctionRe(psi, i), WaveFunctionIm(psi, i));
        else
            fprintf(file, "%23.15E ", WaveFunctionRe(psi, i));
        const uint8_t* det = WaveFunctionDet(psi, i);
        for (uint32_t w = 0; w < psi.NWord; w++) fprintf(file, "%2.2X", det[w]);
        fprintf(file, "\n");
    }
    fprintf(file, "\n");
    return Finish(file, "StreamPrintWaveFunctionPlain");
}

int StreamPrintWaveFunctionPlainBinary(WaveFunctionType psi, FILE* file) {
    PrintHeader(psi, file);
    for (uint32_t i = 1; i <= psi.N; i++) {
        PutDouble(WaveFunctionRe(psi, i), file);
        if (psi.QComplex) PutDouble(WaveFunctionIm(psi, i), file);
        fwrite(WaveFunctionDet(psi, i), 1, psi.NWord, file);
    }
    return Finish(file, "StreamPrintWaveFunctionPlainBinary");
}

int StreamReadWaveFunctionPlain(WaveFunctionType* psi, FILE* file) {
    int count = 0;
    uint8_t* det = StartReading(psi, file, &count);
    if (det == nullptr) return 1;
    const char* fn = "StreamReadWaveFunctionPlain";
    for (int k = 0; k < count; k++) {
        double re = 0.0, im = 0.0;
        int got = psi->QComplex ? fscanf(file, "%lf%lf", &re, &im) : fscanf(file, "%lf", &re);
        if (got != (psi->QComplex ? 2 : 1)) return ReadFailed(psi, det, k + 1, count, fn);
        fgetc(file);  // the blank between the values and the determinant
        for (uint32_t w = 0; w < psi->NWord; w++) {
            char digits[3] = {0, 0, 0};
            int c1 = fgetc(file), c2 = fgetc(file);
            unsigned int byte = 0;
            if (c1 == EOF || c2 == EOF) return ReadFailed(psi, det, k + 1, count, fn);
            digits[0] = (char)c1;
            digits[1] = (char)c2;
            if (sscanf(digits, "%X", &byte) != 1) return ReadFailed(psi, det, k + 1, count, fn);
            det[w] = (uint8_t)byte;
        }
        int c;
        while ((c = fgetc(file)) != '\n' && c != EOF) {
        }
        if (AddRead(psi, det, re, im)) {
            free(det);
            WaveFunctionFree(psi);
            return 1;
        }
    }
    free(det);
    return 0;
}

int StreamReadWaveFunctionPlainBinary(WaveFunctionType* psi, FILE* file) {
    int count = 0;
    uint8_t* det = StartReading(psi, file, &count);
    if (det == nullptr) return 1;
    const char* fn = "StreamReadWaveFunctionPlainBinary";
    for (int k = 0; k < count; k++) {
        double re = 0.0, im = 0.0;
        if (!GetDouble(&re, file) || (psi->QComplex && !GetDouble(&im, file)) ||
            fread(det, 1, psi->NWord, file) != psi->NWord)
            return ReadFailed(psi, det, k + 1, count, fn);
        if (AddRead(psi, det, re, im)) {
            free(det);
            WaveFunctionFree(psi);
            return 1;
        }
    }
    free(det);
    return 0;
}
