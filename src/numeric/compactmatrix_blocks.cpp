// Parts, expansions and block layouts of compact matrices.
#include "numeric/compactmatrix_blocks.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

size_t ElementSize(const CompactMatrixType& M) {
    return M.QComplex ? sizeof(Complex16) : sizeof(double);
}

// Sets the dimensions and the kind of R and initialises it.
int InitResult(CompactMatrixType* R, uint32_t Ni, uint32_t Nj, int32_t QComplex,
               const char* where) {
    R->Ni = Ni;
    R->Nj = Nj;
    R->QComplex = QComplex;
    if (InitCompactMatrix(R)) {
        printf("InitCompactMatrix failed in %s\n", where);
        return 1;
    }
    return 0;
}

// Writes z at (i,j) of R, in whichever arm R is.
void SetElement(CompactMatrixType* R, uint32_t i, uint32_t j, Complex16 z) {
    size_t k = static_cast<size_t>(i) * R->Nj + j;
    if (R->QComplex) {
        CompactMatrixComplexData(*R)[k] = z;
    } else {
        CompactMatrixRealData(*R)[k] = z.re;
    }
}

// Copies all of A into R with its upper-left corner at (i0, j0).  R is
// complex whenever A is.
void PlaceBlock(const CompactMatrixType& A, CompactMatrixType* R, uint32_t i0, uint32_t j0) {
    if (A.Nj == 0) return;  // rows without elements: nothing to place
    for (uint32_t i = 0; i < A.Ni; i++) {
        size_t a = static_cast<size_t>(i) * A.Nj;
        size_t r = static_cast<size_t>(i + i0) * R->Nj + j0;
        if (R->QComplex == A.QComplex) {
            memcpy(static_cast<char*>(R->data) + r * ElementSize(*R),
                   static_cast<const char*>(A.data) + a * ElementSize(A), A.Nj * ElementSize(A));
        } else {
            const double* src = CompactMatrixRealData(A) + a;
            Complex16* dst = CompactMatrixComplexData(*R) + r;
            for (uint32_t j = 0; j < A.Nj; j++) dst[j] = Complex16{src[j], 0.0};
        }
    }
}

}  // namespace

int Submatrix(CompactMatrixType A, uint32_t i0, uint32_t i1, uint32_t j0, uint32_t j1,
              CompactMatrixType* R) {
    if (i0 > i1 || j0 > j1 || i1 > A.Ni || j1 > A.Nj) {
        printf("Submatrix called for rows %u to %u and columns %u to %u of a %u by %u matrix\n",
               i0 + 1, i1, j0 + 1, j1, A.Ni, A.Nj);
        return -1;
    }
    if (InitResult(R, i1 - i0, j1 - j0, A.QComplex, "Submatrix")) return 1;
    if (A.Name != nullptr) SetCompactMatrixName(R, A.Name);
    size_t es = ElementSize(A);
    // An empty block has nothing to copy (and may have no storage at all).
    if (R->Nj == 0) return 0;
    for (uint32_t i = i0; i < i1; i++) {
        memcpy(static_cast<char*>(R->data) + static_cast<size_t>(i - i0) * R->Nj * es,
               static_cast<const char*>(A.data) + (static_cast<size_t>(i) * A.Nj + j0) * es,
               static_cast<size_t>(R->Nj) * es);
    }
    return 0;
}

int MatrixExpand(CompactMatrixType A, uint32_t N, Complex16 value, CompactMatrixType* R) {
    if (A.Ni > N || A.Nj > N) {
        printf("MatrixExpand called with new size %u for a %u by %u matrix\n", N, A.Ni, A.Nj);
        return -1;
    }
    int32_t QComplex = (A.QComplex || value.im != 0.0) ? 1 : 0;
    if (InitResult(R, N, N, QComplex, "MatrixExpand")) return 1;
    if (A.Name != nullptr) SetCompactMatrixName(R, A.Name);
    PlaceBlock(A, R, 0, 0);
    for (uint32_t k = 0; k < N; k++) {
        if (k < A.Ni && k < A.Nj) continue;
        SetElement(R, k, k, value);
    }
    return 0;
}

int ExpandNumberToCompactMatrix(Complex16 z, uint32_t Ni, uint32_t Nj, CompactMatrixType* R) {
    if (InitResult(R, Ni, Nj, z.im != 0.0 ? 1 : 0, "ExpandNumberToCompactMatrix")) return 1;
    for (uint32_t k = 0; k < Ni && k < Nj; k++) SetElement(R, k, k, z);
    return 0;
}

int CompactMatrixEnlarge(CompactMatrixType A, uint32_t f, CompactMatrixType* R) {
    uint64_t Ni = static_cast<uint64_t>(A.Ni) * f, Nj = static_cast<uint64_t>(A.Nj) * f;
    if (Ni > UINT32_MAX || Nj > UINT32_MAX) {
        printf("CompactMatrixEnlarge: a %u by %u matrix enlarged %u times is too large\n", A.Ni,
               A.Nj, f);
        return -1;
    }
    if (InitResult(R, static_cast<uint32_t>(Ni), static_cast<uint32_t>(Nj), A.QComplex,
                   "CompactMatrixEnlarge"))
        return 1;
    if (A.Name != nullptr) SetCompactMatrixName(R, A.Name);
    for (uint32_t i = 0; i < R->Ni; i++)
        for (uint32_t j = 0; j < R->Nj; j++) SetElement(R, i, j, CompactMatrixElement(A, i / f, j / f));
    return 0;
}

int MatrixFlatten(const CompactMatrixType* const* blocks, uint32_t NBi, uint32_t NBj,
                  CompactMatrixType* R) {
    // Row heights and column widths of the block grid, taken from the blocks
    // that are there; UINT32_MAX marks a size not yet known.
    uint32_t* height = static_cast<uint32_t*>(malloc(sizeof(uint32_t) * (NBi + 1)));
    uint32_t* width = static_cast<uint32_t*>(malloc(sizeof(uint32_t) * (NBj + 1)));
    if (height == nullptr || width == nullptr) {
        puts("malloc of the block sizes failed in MatrixFlatten");
        free(height);
        free(width);
        return 1;
    }
    for (uint32_t b = 0; b < NBi; b++) height[b] = UINT32_MAX;
    for (uint32_t b = 0; b < NBj; b++) width[b] = UINT32_MAX;
    int fail = 0;
    int32_t QComplex = 0;
    for (uint32_t bi = 0; bi < NBi && !fail; bi++) {
        for (uint32_t bj = 0; bj < NBj && !fail; bj++) {
            const CompactMatrixType* B = blocks[static_cast<size_t>(bi) * NBj + bj];
            if (B == nullptr) continue;
            if (B->QComplex) QComplex = 1;
            if (height[bi] == UINT32_MAX) height[bi] = B->Ni;
            if (width[bj] == UINT32_MAX) width[bj] = B->Nj;
            if (B->Ni != height[bi] || B->Nj != width[bj]) {
                printf("MatrixFlatten: block (%u,%u) is %u by %u, but its block row has %u rows "
                       "and its block column %u columns\n",
                       bi + 1, bj + 1, B->Ni, B->Nj, height[bi], width[bj]);
                fail = -1;
            }
        }
    }
    uint64_t Ni = 0, Nj = 0;
    for (uint32_t b = 0; b < NBi && !fail; b++) {
        if (height[b] == UINT32_MAX) {
            printf("MatrixFlatten: block row %u holds zero blocks only, its size is unknown\n", b + 1);
            fail = -1;
        }
        Ni += height[b];
    }
    for (uint32_t b = 0; b < NBj && !fail; b++) {
        if (width[b] == UINT32_MAX) {
            printf("MatrixFlatten: block column %u holds zero blocks only, its size is unknown\n",
                   b + 1);
            fail = -1;
        }
        Nj += width[b];
    }
    if (!fail && (Ni > UINT32_MAX || Nj > UINT32_MAX)) {
        puts("MatrixFlatten: the block matrix is too large");
        fail = -1;
    }
    if (!fail) fail = InitResult(R, static_cast<uint32_t>(Ni), static_cast<uint32_t>(Nj), QComplex,
                                 "MatrixFlatten");
    if (!fail) {
        uint32_t i0 = 0;
        for (uint32_t bi = 0; bi < NBi; bi++) {
            uint32_t j0 = 0;
            for (uint32_t bj = 0; bj < NBj; bj++) {
                const CompactMatrixType* B = blocks[static_cast<size_t>(bi) * NBj + bj];
                if (B != nullptr) PlaceBlock(*B, R, i0, j0);
                j0 += width[bj];
            }
            i0 += height[bi];
        }
    }
    free(height);
    free(width);
    return fail;
}
