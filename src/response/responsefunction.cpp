// The ResponsefunctionType record: copies, release, conversions between the
// representations, evaluation and the poles of each form.
#include "response/responsefunction.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "response/listofpoles.h"
#include "response/tridiagonal.h"

namespace {

char Upper(char type) { return ResponsefunctionTableLetter(type); }

// Allocates the record of a representation; null after a message.
template <class T>
T* NewRecord(const char* who) {
    T* p = static_cast<T*>(malloc(sizeof(T)));
    if (p == nullptr) printf("malloc failed in %s\n", who);
    return p;
}

ResponsefunctionType Failed() { return ResponsefunctionType{0, 0, nullptr, nullptr, 0}; }

// Calls f(p) with M as the record of the representation of `type`, block
// or scalar; false, without a call, for an unknown letter.
template <class F>
bool VisitRecord(void* M, char type, bool block, F&& f) {
    if (block) {
        switch (Upper(type)) {
            case 'L': f(static_cast<BlockListOfPoles*>(M)); return true;
            case 'T': f(static_cast<BlockTriDiagonalMatrixType*>(M)); return true;
            case 'A': f(static_cast<BlockAndersonMatrixType*>(M)); return true;
            case 'N': f(static_cast<BlockNaturalImpurityOrbitalMatrixType*>(M)); return true;
        }
    } else {
        switch (Upper(type)) {
            case 'L': f(static_cast<ListOfPoles*>(M)); return true;
            case 'T': f(static_cast<TriDiagonalMatrixType*>(M)); return true;
            case 'A': f(static_cast<AndersonMatrixType*>(M)); return true;
            case 'N': f(static_cast<BADoubleTriDiagonalMatrixType*>(M)); return true;
        }
    }
    return false;
}

template <class F>
bool VisitRecord(const ResponsefunctionType& R, F&& f) {
    return VisitRecord(R.M, R.type, R.QBlock != 0, f);
}

// The release and the copy of each representation under one name.
void FreeRecord(ListOfPoles* p) { FreeListOfPoles(p); }
void FreeRecord(TriDiagonalMatrixType* p) { FreeTriDiagonalMatrix(p); }
void FreeRecord(AndersonMatrixType* p) { FreeAndersonMatrix(p); }
void FreeRecord(BADoubleTriDiagonalMatrixType* p) { FreeBADoubleTriDiagonalMatrix(p); }
void FreeRecord(BlockListOfPoles* p) { FreeBlockListOfPoles(p); }
void FreeRecord(BlockTriDiagonalMatrixType* p) { FreeBlockTriDiagonalMatrix(p); }
void FreeRecord(BlockAndersonMatrixType* p) { FreeBlockAndersonMatrix(p); }
void FreeRecord(BlockNaturalImpurityOrbitalMatrixType* p) { FreeBlockNaturalImpurityOrbitalMatrix(p); }

int CopyRecord(ListOfPoles* p, const ListOfPoles& in) { return ListOfPolesCopy(p, in); }
int CopyRecord(TriDiagonalMatrixType* p, const TriDiagonalMatrixType& in) { return TriDiagonalMatrixCopy(p, in); }
int CopyRecord(AndersonMatrixType* p, const AndersonMatrixType& in) { return AndersonMatrixCopy(p, in); }
int CopyRecord(BADoubleTriDiagonalMatrixType* p, const BADoubleTriDiagonalMatrixType& in) {
    return BADoubleTriDiagonalMatrixCopy(p, in);
}
int CopyRecord(BlockListOfPoles* p, const BlockListOfPoles& in) { return CopyBlockListOfPoles(p, in); }
int CopyRecord(BlockTriDiagonalMatrixType* p, const BlockTriDiagonalMatrixType& in) {
    return CopyBlockTridiagonalMatrix(p, in);
}
int CopyRecord(BlockAndersonMatrixType* p, const BlockAndersonMatrixType& in) { return CopyBlockAndersonMatrix(p, in); }
int CopyRecord(BlockNaturalImpurityOrbitalMatrixType* p, const BlockNaturalImpurityOrbitalMatrixType& in) {
    return CopyBlockNaturalImpurityOrbitalMatrix(p, in);
}

// The name field of any representation.
char* NameOf(const ResponsefunctionType& R) {
    char* name = nullptr;
    VisitRecord(R, [&](auto* p) { name = p->Name; });
    return name;
}

// Frees the representation of R, read as a block form when block is set,
// and the grid; false, with nothing freed, for an unknown letter.
bool ReleaseRecord(ResponsefunctionType* R, bool block) {
    if (!VisitRecord(R->M, R->type, block, [](auto* p) { FreeRecord(p); })) return false;
    free(R->M);
    R->M = nullptr;
    free(R->SuggestedGrid);
    R->SuggestedGrid = nullptr;
    R->NSuggestedGrid = 0;
    return true;
}

// Copies the grid of src into dst; 1 on a failed allocation.
int CopyGrid(const ResponsefunctionType& src, ResponsefunctionType* dst) {
    dst->SuggestedGrid = nullptr;
    dst->NSuggestedGrid = 0;
    if (src.NSuggestedGrid == 0) return 0;
    dst->SuggestedGrid = static_cast<double*>(malloc(sizeof(double) * src.NSuggestedGrid));
    if (dst->SuggestedGrid == nullptr) {
        printf("malloc for the SuggestedGrid failed\n");
        return 1;
    }
    memcpy(dst->SuggestedGrid, src.SuggestedGrid, sizeof(double) * src.NSuggestedGrid);
    dst->NSuggestedGrid = src.NSuggestedGrid;
    return 0;
}

// Makes a record of type T by fill(T*), which initialises it; wraps it in
// a ResponsefunctionType of letter `type`.
template <class T, class Fill>
ResponsefunctionType Make(char type, char block, Fill fill, const char* who) {
    T* p = NewRecord<T>(who);
    if (p == nullptr) return Failed();
    if (fill(p) != 0) {
        printf("conversion failed in %s\n", who);
        free(p);
        return Failed();
    }
    return ResponsefunctionType{type, block, p, nullptr, 0};
}

// Gives the converted record R's name and grid, or frees it when the grid
// can't be copied.
ResponsefunctionType Finish(ResponsefunctionType out, const ResponsefunctionType& R) {
    if (out.M == nullptr) return out;
    if (CopyGrid(R, &out) != 0) {
        FreeResponsefunction(&out);
        return Failed();
    }
    const char* from = NameOf(R);
    char* to = NameOf(out);
    if (from != nullptr && to != nullptr && from != to) {
        memmove(to, from, 256);
        to[255] = '\0';
    }
    return out;
}

}  // namespace

int QResponsefunctionLetter(char type) {
    const char u = Upper(type);
    return u == 'T' || u == 'A' || u == 'L' || u == 'N';
}

// ---- release -----------------------------------------------------------------

void FreeBlockMatrix(ResponsefunctionType* R) {
    if (!ReleaseRecord(R, true)) printf("Error in FreeBlockMatrix unrecognized type %c\n", R->type);
}

void FreeResponsefunction(ResponsefunctionType* R) {
    if (R->M == nullptr) return;
    if (R->QBlock) {
        if (!QResponsefunctionLetter(R->type)) {
            printf("Error in FreeResponsefunction unrecognized type %c\n", R->type);
            return;
        }
        FreeBlockMatrix(R);
        return;
    }
    if (!ReleaseRecord(R, false)) printf("Error in FreeResponsefunction unrecognized type %c\n", R->type);
}

void FreeBlockMatrixFromLua(ResponsefunctionType* R) {
    if (!QResponsefunctionLetter(R->type)) {
        printf("Error in FreeBlockMatrixFromLua unrecognized type %c\n", R->type);
        return;
    }
    if (R->type >= 'A' && R->type <= 'Z') FreeResponsefunction(R);
}

// ---- copies -------------------------------------------------------------------

ResponsefunctionType ResponsefunctionCopy(ResponsefunctionType R) {
    ResponsefunctionType out = Failed();
    const bool known = VisitRecord(R, [&](auto* in) {
        using T = std::remove_pointer_t<decltype(in)>;
        out = Make<T>(R.type, R.QBlock ? 1 : 0, [&](T* p) { return CopyRecord(p, *in); }, "ResponsefunctionCopy");
    });
    if (!known) {
        printf("Error in ResponsefunctionCopy unrecognized type %c\n", R.type);
        return Failed();
    }
    return Finish(out, R);
}

// ---- conversions --------------------------------------------------------------

ResponsefunctionType ConvertResponsefunction(ResponsefunctionType R, char target, double mu) {
    const char* who = "ConvertResponsefunction";
    if (!QResponsefunctionLetter(R.type)) {
        printf("Error in ConvertResponsefunction unrecognized type of M: %c\n", R.type);
        return Failed();
    }
    if (!QResponsefunctionLetter(target)) {
        printf("Error in ConvertResponsefunction unrecognized type to convert to: %c\n", target);
        return Failed();
    }
    if (R.QBlock) return ConvertBlockMatrix(R, target, mu);
    const char s = Upper(R.type);
    const char t = Upper(target);
    if (s == t) {
        ResponsefunctionType c = ResponsefunctionCopy(R);
        c.type = target;
        return c;
    }
    // Chains and stars of a natural orbital, and natural orbitals of chains
    // and stars, go through the list.
    if ((s == 'N' && t != 'L') || (t == 'N' && s != 'L')) {
        ResponsefunctionType list = ConvertResponsefunction(R, 'L', mu);
        if (list.M == nullptr) return list;
        ResponsefunctionType out = ConvertResponsefunction(list, target, mu);
        FreeResponsefunction(&list);
        return out;  // named and gridded as the list, so as R
    }
    ResponsefunctionType out = Failed();
    switch (s) {
        case 'T': {
            const TriDiagonalMatrixType& M = *static_cast<TriDiagonalMatrixType*>(R.M);
            if (t == 'A')
                out = Make<AndersonMatrixType>(target, 0, [&](AndersonMatrixType* p) {
                    return TriDiagonalMatrixToAndersonMatrix(M, p);
                }, who);
            else
                out = Make<ListOfPoles>(target, 0, [&](ListOfPoles* p) { return TriDiagonalMatrixToListOfPoles(M, p); },
                                        who);
            break;
        }
        case 'A': {
            const AndersonMatrixType& A = *static_cast<AndersonMatrixType*>(R.M);
            if (t == 'T')
                out = Make<TriDiagonalMatrixType>(target, 0, [&](TriDiagonalMatrixType* p) {
                    return AndersonMatrixToTriDiagonalMatrix(A, p);
                }, who);
            else
                out = Make<ListOfPoles>(target, 0, [&](ListOfPoles* p) { return AndersonMatrixToListOfPoles(A, p); },
                                        who);
            break;
        }
        case 'L': {
            const ListOfPoles& L = *static_cast<ListOfPoles*>(R.M);
            if (t == 'T')
                out = Make<TriDiagonalMatrixType>(target, 0, [&](TriDiagonalMatrixType* p) {
                    return ListOfPolesToTridiagonalMatrix(L, p, 0);
                }, who);
            else if (t == 'A')
                out = Make<AndersonMatrixType>(target, 0, [&](AndersonMatrixType* p) {
                    return ListOfPolesToAndersonMatrix(L, p);
                }, who);
            else
                out = Make<BADoubleTriDiagonalMatrixType>(target, 0, [&](BADoubleTriDiagonalMatrixType* p) {
                    return ListOfPolesToBADoubleTridiagonalMatrix(L, p, mu, 0);
                }, who);
            break;
        }
        case 'N': {
            const BADoubleTriDiagonalMatrixType& B = *static_cast<BADoubleTriDiagonalMatrixType*>(R.M);
            out = Make<ListOfPoles>(target, 0, [&](ListOfPoles* p) { return BADoubleTriDiagonalMatrixToListOfPoles(B, p); },
                                    who);
            break;
        }
    }
    return Finish(out, R);
}

ResponsefunctionType ConvertBlockMatrix(ResponsefunctionType R, char target, double mu) {
    const char* who = "ConvertBlockMatrix";
    if (!R.QBlock) {
        printf("ERROR: called ConvertBlockMatrix on a ResponsefunctionType that is not in Block Form.\n");
        return Failed();
    }
    if (!QResponsefunctionLetter(R.type)) {
        printf("Error in ConvertBlockMatrix unrecognized type of M: %c\n", R.type);
        return Failed();
    }
    if (!QResponsefunctionLetter(target)) {
        printf("Error in ConvertBlockMatrix unrecognized type to convert to: %c\n", target);
        return Failed();
    }
    const char s = Upper(R.type);
    const char t = Upper(target);
    if (s == t) {
        ResponsefunctionType c = ResponsefunctionCopy(R);
        c.type = target;
        return c;
    }
    if (s != 'L' && t != 'L') {
        ResponsefunctionType list = ConvertBlockMatrix(R, 'L', mu);
        if (list.M == nullptr) return list;
        ResponsefunctionType out = ConvertBlockMatrix(list, target, mu);
        FreeResponsefunction(&list);
        return out;  // named and gridded as the list, so as R
    }
    const double* grid = R.SuggestedGrid;
    const unsigned int ng = R.NSuggestedGrid;
    ResponsefunctionType out = Failed();
    switch (s) {
        case 'L': {
            const BlockListOfPoles& L = *static_cast<BlockListOfPoles*>(R.M);
            if (t == 'T')
                out = Make<BlockTriDiagonalMatrixType>(target, 1, [&](BlockTriDiagonalMatrixType* p) {
                    return BlockListOfPolesToBlockTriDiagonalMatrix(L, p, 0);
                }, who);
            else if (t == 'A')
                out = Make<BlockAndersonMatrixType>(target, 1, [&](BlockAndersonMatrixType* p) {
                    return BlockListOfPolesToBlockAndersonMatrix(L, p);
                }, who);
            else
                out = Make<BlockNaturalImpurityOrbitalMatrixType>(target, 1, [&](BlockNaturalImpurityOrbitalMatrixType* p) {
                    return BlockListOfPolesToBlockNaturalImpurityOrbitalMatrix(L, p, mu, 0, 0);
                }, who);
            break;
        }
        case 'T': {
            const BlockTriDiagonalMatrixType& T = *static_cast<BlockTriDiagonalMatrixType*>(R.M);
            out = Make<BlockListOfPoles>(target, 1, [&](BlockListOfPoles* p) {
                return ng > 0 ? BlockTriDiagonalMatrixToBlockListOfPolesVariableGrid(T, p, grid, ng)
                              : BlockTriDiagonalMatrixToBlockListOfPoles(T, p);
            }, who);
            break;
        }
        case 'A': {
            const BlockAndersonMatrixType& A = *static_cast<BlockAndersonMatrixType*>(R.M);
            out = Make<BlockListOfPoles>(target, 1, [&](BlockListOfPoles* p) {
                return ng > 0 ? BlockAndersonMatrixToBlockListOfPolesVariableGrid(A, p, grid, ng)
                              : BlockAndersonMatrixToBlockListOfPoles(A, p);
            }, who);
            break;
        }
        case 'N': {
            const BlockNaturalImpurityOrbitalMatrixType& B = *static_cast<BlockNaturalImpurityOrbitalMatrixType*>(R.M);
            out = Make<BlockListOfPoles>(target, 1, [&](BlockListOfPoles* p) {
                return ng > 0 ? BlockNaturalImpurityOrbitalMatrixToBlockListOfPolesVariableGrid(B, p, grid, ng)
                              : BlockNaturalImpurityOrbitalMatrixToBlockListOfPoles(B, p);
            }, who);
            break;
        }
    }
    return Finish(out, R);
}

int ResponsefunctionToBlockListOfPoles(ResponsefunctionType R, BlockListOfPoles* out) {
    out->Value = nullptr;
    ResponsefunctionType list = R.QBlock ? ConvertBlockMatrix(R, 'l', 0.0) : ConvertResponsefunction(R, 'l', 0.0);
    if (list.M == nullptr) return 1;
    int fail = 0;
    if (R.QBlock) {
        *out = *static_cast<BlockListOfPoles*>(list.M);
        free(list.M);
        list.M = nullptr;
        free(list.SuggestedGrid);
    } else {
        fail = ListOfPolesToBlockListOfPoles(*static_cast<ListOfPoles*>(list.M), out);
        FreeResponsefunction(&list);
    }
    return fail;
}

// ---- evaluation ---------------------------------------------------------------

Complex16 EvaluateResponsefunctionType(ResponsefunctionType R, double omega, double gamma) {
    switch (Upper(R.type)) {
        case 'L': return EvaluateListOfPoles(*static_cast<ListOfPoles*>(R.M), omega, gamma);
        case 'T': return EvaluateTriDiagonalMatrix(*static_cast<TriDiagonalMatrixType*>(R.M), omega, gamma);
        case 'A': return EvaluateAndersonMatrix(*static_cast<AndersonMatrixType*>(R.M), omega, gamma);
        case 'N':
            return EvaluateBADoubleTriDiagonalMatrix(*static_cast<BADoubleTriDiagonalMatrixType*>(R.M), omega, gamma);
    }
    printf("Error in LuaEvaluate_ResponseFunction: Type of Response function should be either T/t,A/a,L/l, or N/n "
           "and not %c\n",
           R.type);
    return Cnum(0.0, 0.0);
}

int EvaluateBlockResponsefunctionType(ResponsefunctionType R, CompactMatrixType* out, double omega, double gamma) {
    switch (Upper(R.type)) {
        case 'L': return EvaluateBlockListOfPoles(*static_cast<BlockListOfPoles*>(R.M), out, omega, gamma);
        case 'T':
            return EvaluateBlockTriDiagonalMatrix(*static_cast<BlockTriDiagonalMatrixType*>(R.M), out, omega, gamma);
        case 'A': return EvaluateBlockAndersonMatrix(*static_cast<BlockAndersonMatrixType*>(R.M), out, omega, gamma);
        case 'N': printf("Not implemented EvaluateBlockaturalImpurityOrbital\n"); return 1;
    }
    printf("Error in LuaPush_ResponseFunction: Type of Response function should be either T/t,A/a,L/l, or N/n and "
           "not %c\n",
           R.type);
    return 1;
}

// ---- poles --------------------------------------------------------------------

namespace {

int CompareDoubles(const void* p1, const void* p2) {
    const double a = *static_cast<const double*>(p1);
    const double b = *static_cast<const double*>(p2);
    return a < b ? -1 : (a > b ? 1 : 0);
}

int ListEnergies(const BlockListOfPoles& L, double* v) {
    for (uint32_t k = 0; k < L.N; k++) v[k] = BlockListOfPolesEnergy(L, k);
    return 0;
}

}  // namespace

int ResponsefunctionEigenvalues(ResponsefunctionType R, double** values, uint32_t* n) {
    *values = nullptr;
    *n = 0;
    uint32_t count = 0;
    int fail = 0;
    double* v = nullptr;
    auto allocate = [&](uint32_t c) {
        count = c;
        v = static_cast<double*>(malloc(sizeof(double) * (c > 0 ? c : 1)));
        if (v == nullptr) printf("malloc failed in ResponsefunctionEigenvalues\n");
        return v != nullptr;
    };
    if (!R.QBlock) {
        // The pole energies of the list form, with every pole of weight 0.
        ResponsefunctionType list = ConvertResponsefunction(R, 'L', 0.0);
        if (list.M == nullptr) return 1;
        const ListOfPoles& L = *static_cast<ListOfPoles*>(list.M);
        if (allocate(L.N)) {
            if (L.N > 0) memcpy(v, L.a, sizeof(double) * L.N);
        } else {
            fail = 1;
        }
        FreeResponsefunction(&list);
    } else {
        switch (Upper(R.type)) {
            case 'L': {
                const BlockListOfPoles& L = *static_cast<BlockListOfPoles*>(R.M);
                fail = !allocate(L.N) || ListEnergies(L, v);
                break;
            }
            case 'T': {
                const BlockTriDiagonalMatrixType& T = *static_cast<BlockTriDiagonalMatrixType*>(R.M);
                fail = !allocate(T.N * T.M) || BlockTriDiagonalMatrixToEigenvalues(T, v);
                break;
            }
            case 'A': {
                const BlockAndersonMatrixType& A = *static_cast<BlockAndersonMatrixType*>(R.M);
                fail = !allocate(A.N * A.M) || BlockAndersonMatrixToEigenvalues(A, v);
                break;
            }
            case 'N': {
                const BlockNaturalImpurityOrbitalMatrixType& B = *static_cast<BlockNaturalImpurityOrbitalMatrixType*>(R.M);
                fail = !allocate((B.val.N + B.con.N) * B.M) || BlockTriDiagonalMatrixToEigenvalues(B.val, v) ||
                       BlockTriDiagonalMatrixToEigenvalues(B.con, v + B.val.N * B.M);
                break;
            }
            default: printf("Error in ResponsefunctionEigenvalues unrecognized type %c\n", R.type); return 1;
        }
    }
    if (fail) {
        free(v);
        return 1;
    }
    qsort(v, count, sizeof(double), CompareDoubles);
    *values = v;
    *n = count;
    return 0;
}
