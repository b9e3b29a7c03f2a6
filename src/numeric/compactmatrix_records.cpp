// Creation, copying, resizing and release of the compact matrix record, its
// real and complex forms, and its constants.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/compactmatrix.h"

namespace {

const size_t NameLength = 256;

size_t ElementCount(const CompactMatrixType& M) {
    return static_cast<size_t>(M.Ni) * static_cast<size_t>(M.Nj);
}

size_t ElementSize(const CompactMatrixType& M) {
    return M.QComplex ? sizeof(Complex16) : sizeof(double);
}

}  // namespace

void SetCompactMatrixName(CompactMatrixType* M, const char* name) {
    if (M->Name == nullptr) return;
    size_t n = strnlen(name, NameLength - 1);
    memmove(M->Name, name, n);
    M->Name[n] = '\0';
}

int InitCompactMatrix(CompactMatrixType* M) {
    M->data = nullptr;
    M->Aux0 = 0.0;
    M->Aux1 = 1.0;
    M->Aux2 = 0.0;
    M->QBorrowed = 0;
    M->Name = static_cast<char*>(malloc(NameLength));
    if (M->Name == nullptr) {
        puts("malloc for name failed in InitCompactMatrix");
        return 1;
    }
    SetCompactMatrixName(M, "Matrix");
    size_t n = ElementCount(*M);
    if (n == 0) return 0;
    M->data = calloc(n, ElementSize(*M));
    if (M->data == nullptr) {
        if (M->QComplex)
            puts("Malloc failed in InitCompactMatrix for complex allocation");
        else
            puts("Malloc failed in InitCompactMatrix for real allocation");
        free(M->Name);
        M->Name = nullptr;
        return 1;
    }
    return 0;
}

void FreeCompactMatrix(CompactMatrixType* M) {
    if (M->QBorrowed) return;
    free(M->Name);
    free(M->data);
    M->Name = nullptr;
    M->data = nullptr;
}

int CompactMatrixCopy(CompactMatrixType src, CompactMatrixType* dst) {
    dst->Ni = src.Ni;
    dst->Nj = src.Nj;
    dst->QComplex = src.QComplex;
    if (InitCompactMatrix(dst)) return 1;
    if (src.Name != nullptr) SetCompactMatrixName(dst, src.Name);
    dst->Aux0 = src.Aux0;
    dst->Aux1 = src.Aux1;
    dst->Aux2 = src.Aux2;
    size_t n = ElementCount(src);
    if (n > 0) memcpy(dst->data, src.data, n * ElementSize(src));
    return 0;
}

int ResizeCompactMatrix(CompactMatrixType* M, unsigned Ni, unsigned Nj) {
    if (Ni == M->Ni && Nj == M->Nj) return 0;
    size_t es = ElementSize(*M);
    size_t n = static_cast<size_t>(Ni) * Nj;
    if (Nj == M->Nj) {
        // Same row length: the block only grows or shrinks at its end.
        void* data = nullptr;
        if (n > 0) {
            data = realloc(M->data, n * es);
            if (data == nullptr) {
                puts("realloc failed in ResizeCompactMatrix");
                return 1;
            }
            size_t old = ElementCount(*M);
            if (n > old) memset(static_cast<char*>(data) + old * es, 0, (n - old) * es);
        } else {
            free(M->data);
        }
        M->data = data;
        M->Ni = Ni;
        return 0;
    }
    void* data = nullptr;
    if (n > 0) {
        data = calloc(n, es);
        if (data == nullptr) {
            puts("calloc failed in ResizeCompactMatrix");
            return 1;
        }
        unsigned rows = Ni < M->Ni ? Ni : M->Ni;
        unsigned cols = Nj < M->Nj ? Nj : M->Nj;
        for (unsigned i = 0; i < rows; i++)
            memcpy(static_cast<char*>(data) + static_cast<size_t>(i) * Nj * es,
                   static_cast<char*>(M->data) + static_cast<size_t>(i) * M->Nj * es, cols * es);
    }
    free(M->data);
    M->data = data;
    M->Ni = Ni;
    M->Nj = Nj;
    return 0;
}

void SetCompactMatrixToZero(CompactMatrixType* M) {
    size_t n = ElementCount(*M);
    if (n > 0) memset(M->data, 0, n * ElementSize(*M));
}

int MakeCompactRealMatrixComplex(CompactMatrixType* M) {
    if (M->QComplex) return 0;
    size_t n = ElementCount(*M);
    if (n > 0) {
        Complex16* c = static_cast<Complex16*>(calloc(n, sizeof(Complex16)));
        if (c == nullptr) {
            puts("calloc failed in MakeCompactRealMatrixComplex");
            return 1;
        }
        const double* r = CompactMatrixRealData(*M);
        for (size_t k = 0; k < n; k++) c[k].re = r[k];
        free(M->data);
        M->data = c;
    }
    M->QComplex = 1;
    return 0;
}

int MakeCompactComplexMatrixReal(CompactMatrixType* M) {
    if (!M->QComplex) return 0;
    size_t n = ElementCount(*M);
    if (n > 0) {
        double* r = static_cast<double*>(calloc(n, sizeof(double)));
        if (r == nullptr) {
            puts("calloc failed in MakeCompactComplexMatrixReal");
            return 1;
        }
        const Complex16* c = CompactMatrixComplexData(*M);
        for (size_t k = 0; k < n; k++) r[k] = c[k].re;
        free(M->data);
        M->data = r;
    }
    M->QComplex = 0;
    return 0;
}

int CompactMatrixRemoveRow(CompactMatrixType* M, uint32_t row) {
    if (row >= M->Ni) {
        printf("CompactMatrixRemoveRow called for row %u of a matrix with %u rows\n", row, M->Ni);
        return 1;
    }
    size_t rowBytes = static_cast<size_t>(M->Nj) * ElementSize(*M);
    char* d = static_cast<char*>(M->data);
    memmove(d + row * rowBytes, d + (row + 1) * rowBytes, (M->Ni - row - 1) * rowBytes);
    size_t bytes = (M->Ni - 1) * rowBytes;
    if (bytes == 0) {
        free(M->data);
        M->data = nullptr;
    } else {
        // Shrinking never moves data that the caller could lose: if realloc
        // fails the old, larger block still holds the rows.
        void* shrunk = realloc(M->data, bytes);
        if (shrunk != nullptr) M->data = shrunk;
    }
    M->Ni--;
    return 0;
}

int MatrixCopyToCompact(MatrixType src, CompactMatrixType* dst) {
    dst->Ni = static_cast<uint32_t>(src.Ni);
    dst->Nj = static_cast<uint32_t>(src.Nj);
    dst->QComplex = src.QComplex;
    if (InitCompactMatrix(dst)) return 1;
    SetCompactMatrixName(dst, src.Name);
    size_t n = ElementCount(*dst);
    if (n == 0) return 0;
    if (src.QComplex) {
        Complex16* c = CompactMatrixComplexData(*dst);
        for (size_t k = 0; k < n; k++) c[k] = Complex16{src.Re[0][k], src.Im[0][k]};
    } else {
        memcpy(dst->data, src.Re[0], n * sizeof(double));
    }
    return 0;
}

int CompactMatrixCopyToMatrix(CompactMatrixType src, MatrixType* dst) {
    dst->Ni = static_cast<int32_t>(src.Ni);
    dst->Nj = static_cast<int32_t>(src.Nj);
    dst->QComplex = src.QComplex;
    if (InitMatrix(dst)) return 1;
    if (src.Name != nullptr) SetMatrixName(dst, src.Name);
    size_t n = ElementCount(src);
    if (n == 0) return 0;
    if (src.QComplex) {
        const Complex16* c = CompactMatrixComplexData(src);
        for (size_t k = 0; k < n; k++) {
            dst->Re[0][k] = c[k].re;
            dst->Im[0][k] = c[k].im;
        }
    } else {
        memcpy(dst->Re[0], src.data, n * sizeof(double));
    }
    return 0;
}

CompactMatrixType CompactnullMatrixMatrix(uint32_t Ni, uint32_t Nj) {
    CompactMatrixType M;
    M.Name = nullptr;
    M.Ni = Ni;
    M.Nj = Nj;
    M.QComplex = 0;
    M.data = nullptr;
    M.Aux0 = 0.0;
    M.Aux1 = 1.0;
    M.Aux2 = 0.0;
    M.QBorrowed = 0;
    return M;
}

CompactMatrixType CompactnullMatrix() { return CompactnullMatrixMatrix(0, 0); }

bool isNullMatrix(const CompactMatrixType& M) { return M.Name == nullptr && M.data == nullptr; }

CompactMatrixType CompactzeroMatrix(uint32_t Ni, uint32_t Nj) {
    CompactMatrixType M = CompactnullMatrixMatrix(Ni, Nj);
    if (InitCompactMatrix(&M)) return CompactnullMatrixMatrix(Ni, Nj);
    return M;
}

CompactMatrixType CompactidentityMatrix(uint32_t Ni, uint32_t Nj) {
    CompactMatrixType M = CompactzeroMatrix(Ni, Nj);
    if (isNullMatrix(M)) return M;
    double* d = CompactMatrixRealData(M);
    for (uint32_t i = 0; i < Ni && i < Nj; i++) d[static_cast<size_t>(i) * Nj + i] = 1.0;
    return M;
}

CompactMatrixType CompactidentityMatrix(uint32_t N) { return CompactidentityMatrix(N, N); }
