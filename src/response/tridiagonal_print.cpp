// Printing chains and stars, and the plain text file of a chain.
#include <cstdio>

#include "response/tridiagonal.h"

void StreamPrintTriDiagonalMatrix(FILE* f, TriDiagonalMatrixType M) {
    fprintf(f, "Tridiagonal matrix: %s\n", M.Name);
    fprintf(f, "Number of sites: %u\n", M.N);
    fprintf(f, "Chemical potential: %22.15E\n", M.mu);
    fprintf(f, "Constant term a0: %22.15E\n", M.a[0]);
    fprintf(f, "Coupling to the source b0: %22.15E\n", M.b[0]);
    fprintf(f, "%6s %22s %22s\n", "i", "a[i]", "b[i]");
    for (uint32_t i = 1; i <= M.N; i++) fprintf(f, "%6u %22.15E %22.15E\n", i, M.a[i], i < M.N ? M.b[i] : 0.0);
}

void PrintTriDiagonalMatrix(TriDiagonalMatrixType M) { StreamPrintTriDiagonalMatrix(stdout, M); }

void StreamPrintAndersonMatrix(FILE* f, AndersonMatrixType A) {
    fprintf(f, "Anderson matrix: %s\n", A.Name);
    fprintf(f, "Number of sites: %u\n", A.N);
    fprintf(f, "Chemical potential: %22.15E\n", A.mu);
    fprintf(f, "Constant term a0: %22.15E\n", A.a[0]);
    fprintf(f, "Coupling to the source b0: %22.15E\n", A.b[0]);
    fprintf(f, "First site a1: %22.15E\n", A.a[1]);
    fprintf(f, "%6s %22s %22s\n", "k", "bath level a[k]", "coupling b[k-1]");
    for (uint32_t k = 2; k <= A.N; k++) fprintf(f, "%6u %22.15E %22.15E\n", k, A.a[k], A.b[k - 1]);
}

void PrintAndersonMatrix(AndersonMatrixType A) { StreamPrintAndersonMatrix(stdout, A); }

void StreamPrintPlainTriDiagonalMatrix(FILE* f, TriDiagonalMatrixType M) {
    fprintf(f, "%u %24.16E\n", M.N, M.mu);
    for (uint32_t i = 0; i <= M.N; i++) fprintf(f, "%24.16E %24.16E\n", M.a[i], i < M.N ? M.b[i] : 0.0);
}

int FilePrintPlainTriDiagonalMatrix(const char* filename, TriDiagonalMatrixType M, const char* mode) {
    FILE* f = fopen(filename, mode);
    if (f == nullptr) {
        printf("ERROR\nCan't open %s for writing with mode %s.\n", filename, mode);
        return 1;
    }
    StreamPrintPlainTriDiagonalMatrix(f, M);
    return fclose(f) == 0 ? 0 : 1;
}

int FileReadPlainTriDiagonalMatrix(const char* filename, TriDiagonalMatrixType* M) {
    FILE* f = fopen(filename, "r");
    if (f == nullptr) {
        printf("ERROR\nCan't open %s for reading.\n", filename);
        return 1;
    }
    unsigned int n = 0;
    double mu = 0.0;
    if (fscanf(f, "%u %lf", &n, &mu) != 2) {
        printf("Error reading the head of a tridiagonal matrix in FileReadPlainTriDiagonalMatrix from %s\n",
               filename);
        fclose(f);
        return 1;
    }
    M->N = n;
    if (InitTriDiagonalMatrix(M) != 0) {
        printf("InitTriDiagonalMatrix failed in FileReadPlainTriDiagonalMatrix\n");
        fclose(f);
        return 1;
    }
    snprintf(M->Name, sizeof(M->Name), "%s", filename);
    M->mu = mu;
    for (uint32_t i = 0; i <= n; i++) {
        double b = 0.0;
        if (fscanf(f, "%lf %lf", &M->a[i], &b) != 2) {
            printf("Error reading level %u of %u in FileReadPlainTriDiagonalMatrix from %s\n", i, n, filename);
            FreeTriDiagonalMatrix(M);
            fclose(f);
            return 1;
        }
        if (i < n) M->b[i] = b;
    }
    fclose(f);
    return 0;
}
