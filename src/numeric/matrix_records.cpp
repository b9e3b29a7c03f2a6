// Creation, copying and release of the row-pointer matrix record.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/matrix.h"

namespace {

double** MatrixAllocate(int Ni, int Nj, bool zero) {
    if (Ni <= 0) return nullptr;
    double** rows = static_cast<double**>(malloc(sizeof(double*) * static_cast<size_t>(Ni)));
    if (rows == nullptr) {
        printf("MatrixCalloc Failed for pointers of matrix of size %i by %i\n", Ni, Nj);
        return nullptr;
    }
    if (Nj <= 0) {
        for (int i = 0; i < Ni; i++) rows[i] = nullptr;
        return rows;
    }
    size_t n = static_cast<size_t>(Ni) * static_cast<size_t>(Nj);
    double* block = static_cast<double*>(zero ? calloc(n, sizeof(double)) : malloc(n * sizeof(double)));
    if (block == nullptr) {
        printf("MatrixCalloc Failed for matrix of size %i by %i\n", Ni, Nj);
        free(rows);
        return nullptr;
    }
    for (int i = 0; i < Ni; i++) rows[i] = block + static_cast<size_t>(i) * Nj;
    return rows;
}

size_t MatrixSize(const MatrixType& M) {
    if (M.Ni <= 0 || M.Nj <= 0) return 0;
    return static_cast<size_t>(M.Ni) * static_cast<size_t>(M.Nj);
}

}  // namespace

double** MatrixMalloc(int Ni, int Nj) { return MatrixAllocate(Ni, Nj, false); }

double** MatrixCalloc(int Ni, int Nj) { return MatrixAllocate(Ni, Nj, true); }

void FreeMatrixBlock(double** rows) {
    if (rows == nullptr) return;
    free(rows[0]);
    free(rows);
}

void SetMatrixName(MatrixType* M, const char* name) {
    size_t n = strnlen(name, sizeof(M->Name) - 1);
    memmove(M->Name, name, n);
    M->Name[n] = '\0';
}

int InitMatrix(MatrixType* M) {
    SetMatrixName(M, "Matrix");
    M->Re = nullptr;
    M->Im = nullptr;
    M->Aux0 = M->Aux1 = M->Aux2 = 0;
    if (M->Ni < 0 || M->Nj < 0) {
        printf("MatrixCalloc Failed for matrix of size %i by %i\n", M->Ni, M->Nj);
        return 1;
    }
    bool empty = M->Ni == 0;
    M->Re = MatrixCalloc(M->Ni, M->Nj);
    if (M->Re == nullptr && !empty) {
        puts("MatrixCalloc failed in InitMatrix");
        return 1;
    }
    if (M->QComplex) {
        M->Im = MatrixCalloc(M->Ni, M->Nj);
        if (M->Im == nullptr && !empty) {
            puts("MatrixCalloc failed in InitMatrix for complex allocation");
            FreeMatrixBlock(M->Re);
            M->Re = nullptr;
            return 1;
        }
    }
    return 0;
}

void FreeMatrix(MatrixType* M) {
    FreeMatrixBlock(M->Re);
    FreeMatrixBlock(M->Im);
    M->Re = nullptr;
    M->Im = nullptr;
}

int MatrixCopy(MatrixType* dst, MatrixType src) {
    dst->Ni = src.Ni;
    dst->Nj = src.Nj;
    dst->QComplex = src.QComplex;
    if (InitMatrix(dst)) return 1;
    memcpy(dst->Name, src.Name, sizeof(dst->Name));
    dst->Name[sizeof(dst->Name) - 1] = '\0';
    dst->Aux0 = src.Aux0;
    dst->Aux1 = src.Aux1;
    dst->Aux2 = src.Aux2;
    size_t n = MatrixSize(src);
    if (n == 0) return 0;
    memcpy(dst->Re[0], src.Re[0], n * sizeof(double));
    if (src.QComplex) memcpy(dst->Im[0], src.Im[0], n * sizeof(double));
    return 0;
}

int MakeRealMatrixComplex(MatrixType* M) {
    if (M->QComplex) return 0;
    double** im = MatrixCalloc(M->Ni, M->Nj);
    if (im == nullptr && M->Ni > 0) {
        puts("MatrixCalloc failed in InitMatrix for complex allocation");
        return 1;
    }
    M->Im = im;
    M->QComplex = 1;
    return 0;
}

int MakeComplexMatrixReal(MatrixType* M) {
    if (!M->QComplex) return 0;
    FreeMatrixBlock(M->Im);
    M->Im = nullptr;
    M->QComplex = 0;
    return 0;
}

void MatrixComplexConjugate(MatrixType* M) {
    if (!M->QComplex) return;
    size_t n = MatrixSize(*M);
    for (size_t k = 0; k < n; k++) M->Im[0][k] = -M->Im[0][k];
}

MatrixType zeroMatrix(int Ni, int Nj) {
    MatrixType M;
    M.Ni = Ni;
    M.Nj = Nj;
    M.QComplex = 0;
    InitMatrix(&M);
    return M;
}

MatrixType identityMatrix(int Ni, int Nj) {
    MatrixType M = zeroMatrix(Ni, Nj);
    if (M.Re == nullptr) return M;
    for (int i = 0; i < Ni && i < Nj; i++) M.Re[i][i] = 1.0;
    return M;
}
