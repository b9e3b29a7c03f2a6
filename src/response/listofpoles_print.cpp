// Printing a list of poles, and its plain text file.
#include <cmath>
#include <cstdio>

#include "response/listofpoles.h"

void StreamPrintListOfPoles(FILE* f, ListOfPoles L) {
    fprintf(f, "List of poles: %s\n", L.Name);
    fprintf(f, "Number of poles: %u\n", L.N);
    fprintf(f, "Chemical potential: %22.15E\n", L.mu);
    fprintf(f, "Constant term a0: %22.15E\n", L.a0);
    fprintf(f, "%6s %22s %22s\n", "i", "energy", "weight");
    for (uint32_t i = 0; i < L.N; i++) fprintf(f, "%6u %22.15E %22.15E\n", i + 1, L.a[i], L.b[i]);
}

void PrintListOfPoles(ListOfPoles L) { StreamPrintListOfPoles(stdout, L); }

static FILE* OpenForWriting(const char* filename, const char* mode) {
    FILE* f = fopen(filename, mode);
    if (f == nullptr) printf("ERROR\nCan't open %s for writing with mode %s.\n", filename, mode);
    return f;
}

int FilePrintListOfPoles(const char* filename, ListOfPoles L, const char* mode) {
    FILE* f = OpenForWriting(filename, mode);
    if (f == nullptr) return 1;
    StreamPrintListOfPoles(f, L);
    return fclose(f) == 0 ? 0 : 1;
}

// 17 significant digits give every double back unchanged.
void StreamPrintPlainListOfPoles(FILE* f, ListOfPoles L) {
    fprintf(f, "%u %24.16E %24.16E\n", L.N, L.a0, L.mu);
    for (uint32_t i = 0; i < L.N; i++) fprintf(f, "%24.16E %24.16E\n", L.a[i], L.b[i]);
}

void PrintPlainListOfPoles(ListOfPoles L) { StreamPrintPlainListOfPoles(stdout, L); }

int FilePrintPlainListOfPoles(const char* filename, ListOfPoles L, const char* mode) {
    FILE* f = OpenForWriting(filename, mode);
    if (f == nullptr) return 1;
    StreamPrintPlainListOfPoles(f, L);
    return fclose(f) == 0 ? 0 : 1;
}

int FileReadPlainListOfPoles(const char* filename, ListOfPoles* L) {
    FILE* f = fopen(filename, "r");
    if (f == nullptr) {
        printf("ERROR\nCan't open %s for reading.\n", filename);
        return 1;
    }
    unsigned int n = 0;
    double a0 = 0.0;
    double mu = 0.0;
    if (fscanf(f, "%u %lf %lf", &n, &a0, &mu) != 3) {
        printf("Error reading the head of a list of poles in FileReadPlainListOfPoles from %s\n", filename);
        fclose(f);
        return 1;
    }
    L->N = n;
    if (n != 0 && InitListOfPoles(L) != 0) {
        printf("InitListOfPoles failed in FileReadPlainListOfPoles\n");
        fclose(f);
        return 1;
    }
    if (n == 0) {
        L->a = nullptr;
        L->b = nullptr;
    }
    snprintf(L->Name, sizeof(L->Name), "%s", filename);
    L->a0 = a0;
    L->mu = mu;
    for (uint32_t i = 0; i < n; i++) {
        if (fscanf(f, "%lf %lf", &L->a[i], &L->b[i]) != 2) {
            printf("Error reading pole %u of %u in FileReadPlainListOfPoles from %s\n", i + 1, n, filename);
            FreeListOfPoles(L);
            fclose(f);
            return 1;
        }
    }
    fclose(f);
    return 0;
}

int FilePrintListOfPolesEssentials(const char* filename, ListOfPoles L, const char* mode) {
    FILE* f = OpenForWriting(filename, mode);
    if (f == nullptr) return 1;
    double w = 0.0;
    double m1 = 0.0;
    double m2 = 0.0;
    double lo = 0.0;
    double hi = 0.0;
    for (uint32_t i = 0; i < L.N; i++) {
        w += L.b[i];
        m1 += L.b[i] * L.a[i];
        m2 += L.b[i] * L.a[i] * L.a[i];
        if (i == 0 || L.a[i] < lo) lo = L.a[i];
        if (i == 0 || L.a[i] > hi) hi = L.a[i];
    }
    fprintf(f, "%s: N=%u weight=%22.15E mean=%22.15E width=%22.15E range=[%22.15E,%22.15E] a0=%22.15E mu=%22.15E\n",
            L.Name, L.N, w, w != 0.0 ? m1 / w : 0.0, w != 0.0 ? sqrt(fabs(m2 / w - (m1 / w) * (m1 / w))) : 0.0,
            lo, hi, L.a0, L.mu);
    return fclose(f) == 0 ? 0 : 1;
}
