// Records of the block chain, the block star and the block natural orbital:
// making, releasing and copying them.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "response/blockforms.h"

namespace {

// Zero real M by M blocks, count of them.  On failure nothing is left.
CompactMatrixType* AllocateBlocks(uint32_t count, uint32_t M) {
    CompactMatrixType* m = static_cast<CompactMatrixType*>(malloc(sizeof(CompactMatrixType) * count));
    if (m == nullptr) return nullptr;
    for (uint32_t i = 0; i < count; i++) {
        m[i].Ni = M;
        m[i].Nj = M;
        m[i].QComplex = 0;
        if (InitCompactMatrix(&m[i]) != 0) {
            for (uint32_t j = 0; j < i; j++) FreeCompactMatrix(&m[j]);
            free(m);
            return nullptr;
        }
    }
    return m;
}

void FreeBlocks(CompactMatrixType* m, uint32_t count) {
    if (m == nullptr) return;
    for (uint32_t i = 0; i < count; i++) FreeCompactMatrix(&m[i]);
    free(m);
}

uint32_t CouplingCount(uint32_t N) { return N != 0 ? N : 1; }

template <class R>
int InitChainLike(R* T, const char* who) {
    snprintf(T->Name, sizeof(T->Name), "%s", "Block Matrix");
    T->mu = 0.0;
    T->a = nullptr;
    T->b = nullptr;
    if (T->M == 0) {
        printf("can't initialize a block matrix with blocks of size 0 in %s\n", who);
        return 1;
    }
    T->a = AllocateBlocks(T->N + 1, T->M);
    if (T->a == nullptr) {
        printf("malloc for M->a failed in %s\n", who);
        return 1;
    }
    T->b = AllocateBlocks(CouplingCount(T->N), T->M);
    if (T->b == nullptr) {
        printf("malloc for M->b failed in %s\n", who);
        FreeBlocks(T->a, T->N + 1);
        T->a = nullptr;
        return 1;
    }
    return 0;
}

template <class R>
void FreeChainLike(R* T) {
    FreeBlocks(T->a, T->N + 1);
    FreeBlocks(T->b, CouplingCount(T->N));
    T->a = nullptr;
    T->b = nullptr;
    T->N = 0;
}

// Replaces block *dst (an initialised zero block) by a copy of src.
int CopyBlock(CompactMatrixType* dst, const CompactMatrixType& src) {
    CompactMatrixType c;
    if (CompactMatrixCopy(src, &c) != 0) return 1;
    FreeCompactMatrix(dst);
    *dst = c;
    return 0;
}

template <class R, int (*Init)(R*), void (*Free)(R*)>
int CopyChainLike(R* out, const R& in, const char* who) {
    out->N = in.N;
    out->M = in.M;
    if (Init(out) != 0) {
        printf("Init failed in %s\n", who);
        return 1;
    }
    memcpy(out->Name, in.Name, sizeof(out->Name));
    out->Name[255] = '\0';
    out->mu = in.mu;
    for (uint32_t i = 0; i <= in.N; i++)
        if (CopyBlock(&out->a[i], in.a[i]) != 0) {
            printf("CompactMatrixCopy failed in %s\n", who);
            Free(out);
            return 1;
        }
    for (uint32_t i = 0; i < CouplingCount(in.N); i++)
        if (CopyBlock(&out->b[i], in.b[i]) != 0) {
            printf("CompactMatrixCopy failed in %s\n", who);
            Free(out);
            return 1;
        }
    return 0;
}

}  // namespace

int InitBlockTriDiagonalMatrix(BlockTriDiagonalMatrixType* T) {
    return InitChainLike(T, "InitBlockTriDiagonalMatrix");
}

void FreeBlockTriDiagonalMatrix(BlockTriDiagonalMatrixType* T) { FreeChainLike(T); }

int InitBlockAndersonMatrix(BlockAndersonMatrixType* A) { return InitChainLike(A, "InitBlockAndersonMatrix"); }

void FreeBlockAndersonMatrix(BlockAndersonMatrixType* A) { FreeChainLike(A); }

int CopyBlockTridiagonalMatrix(BlockTriDiagonalMatrixType* out, BlockTriDiagonalMatrixType in) {
    return CopyChainLike<BlockTriDiagonalMatrixType, InitBlockTriDiagonalMatrix, FreeBlockTriDiagonalMatrix>(
        out, in, "CopyBlockTridiagonalMatrix");
}

int CopyBlockAndersonMatrix(BlockAndersonMatrixType* out, BlockAndersonMatrixType in) {
    return CopyChainLike<BlockAndersonMatrixType, InitBlockAndersonMatrix, FreeBlockAndersonMatrix>(
        out, in, "CopyBlockAndersonMatrix");
}

int InitBlockNaturalImpurityOrbitalMatrix(BlockNaturalImpurityOrbitalMatrixType* B) {
    snprintf(B->Name, sizeof(B->Name), "%s", "Natural Impurity Orbital");
    B->mu = 0.0;
    B->val.M = B->M;
    B->con.M = B->M;
    B->epsilon.Ni = B->M;
    B->epsilon.Nj = B->M;
    B->epsilon.QComplex = 0;
    B->T.Ni = B->M;
    B->T.Nj = 2 * B->M;
    B->T.QComplex = 0;
    if (B->M == 0) {
        printf("can't initialize a block matrix with blocks of size 0 in InitBlockNaturalImpurityOrbitalMatrix\n");
        return 1;
    }
    if (InitBlockTriDiagonalMatrix(&B->val) != 0) {
        printf("InitBlockTriDiagonalMatrix failed in InitBlockNaturalImpurityOrbitalMatrix\n");
        return 1;
    }
    if (InitBlockTriDiagonalMatrix(&B->con) != 0) {
        printf("InitBlockTriDiagonalMatrix failed in InitBlockNaturalImpurityOrbitalMatrix\n");
        FreeBlockTriDiagonalMatrix(&B->val);
        return 1;
    }
    if (InitCompactMatrix(&B->epsilon) != 0) {
        printf("InitCompactMatrix failed in InitBlockNaturalImpurityOrbitalMatrix\n");
        FreeBlockTriDiagonalMatrix(&B->val);
        FreeBlockTriDiagonalMatrix(&B->con);
        return 1;
    }
    if (InitCompactMatrix(&B->T) != 0) {
        printf("InitCompactMatrix failed in InitBlockNaturalImpurityOrbitalMatrix\n");
        FreeCompactMatrix(&B->epsilon);
        FreeBlockTriDiagonalMatrix(&B->val);
        FreeBlockTriDiagonalMatrix(&B->con);
        return 1;
    }
    return 0;
}

void FreeBlockNaturalImpurityOrbitalMatrix(BlockNaturalImpurityOrbitalMatrixType* B) {
    FreeBlockTriDiagonalMatrix(&B->val);
    FreeBlockTriDiagonalMatrix(&B->con);
    FreeCompactMatrix(&B->epsilon);
    FreeCompactMatrix(&B->T);
}

int SetTMTFromValandConInBlockNaturalImpurityOrbitalMatrixType(BlockNaturalImpurityOrbitalMatrixType* B) {
    const uint32_t M = B->M;
    CompactMatrixType T;
    T.Ni = M;
    T.Nj = 2 * M;
    T.QComplex = B->val.b[0].QComplex || B->con.b[0].QComplex;
    if (InitCompactMatrix(&T) != 0) {
        printf("InitCompactMatrix failed in SetTMTFromValandConInBlockNaturalImpurityOrbitalMatrixType\n");
        return 1;
    }
    SetCompactMatrixName(&T, "T");
    for (uint32_t r = 0; r < M; r++)
        for (uint32_t c = 0; c < M; c++) {
            const Complex16 v = CompactMatrixElement(B->val.b[0], r, c);
            const Complex16 w = CompactMatrixElement(B->con.b[0], r, c);
            const size_t i = static_cast<size_t>(r) * 2 * M + c;
            if (T.QComplex) {
                CompactMatrixComplexData(T)[i] = v;
                CompactMatrixComplexData(T)[i + M] = w;
            } else {
                CompactMatrixRealData(T)[i] = v.re;
                CompactMatrixRealData(T)[i + M] = w.re;
            }
        }
    FreeCompactMatrix(&B->T);
    B->T = T;
    return 0;
}

int CopyBlockNaturalImpurityOrbitalMatrix(BlockNaturalImpurityOrbitalMatrixType* out,
                                          BlockNaturalImpurityOrbitalMatrixType in) {
    out->M = in.M;
    if (CopyBlockTridiagonalMatrix(&out->val, in.val) != 0) {
        printf("CopyBlockTridiagonalMatrix failed in CopyBlockNaturalImpurityOrbitalMatrix\n");
        return 1;
    }
    if (CopyBlockTridiagonalMatrix(&out->con, in.con) != 0) {
        printf("CopyBlockTridiagonalMatrix failed in CopyBlockNaturalImpurityOrbitalMatrix\n");
        FreeBlockTriDiagonalMatrix(&out->val);
        return 1;
    }
    if (CompactMatrixCopy(in.epsilon, &out->epsilon) != 0) {
        printf("CompactMatrixCopy failed in CopyBlockNaturalImpurityOrbitalMatrix\n");
        FreeBlockTriDiagonalMatrix(&out->val);
        FreeBlockTriDiagonalMatrix(&out->con);
        return 1;
    }
    if (CompactMatrixCopy(in.T, &out->T) != 0) {
        printf("CompactMatrixCopy failed in CopyBlockNaturalImpurityOrbitalMatrix\n");
        FreeCompactMatrix(&out->epsilon);
        FreeBlockTriDiagonalMatrix(&out->val);
        FreeBlockTriDiagonalMatrix(&out->con);
        return 1;
    }
    memcpy(out->Name, in.Name, sizeof(out->Name));
    out->Name[255] = '\0';
    out->mu = in.mu;
    return 0;
}
