// The ResponsefunctionType record: copies, release, conversions between the
// representations, evaluation and the poles of each form.
#include "response/responsefunction.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

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

// The name field of any representation.
char* NameOf(const ResponsefunctionType& R) {
    if (R.QBlock) {
        switch (Upper(R.type)) {
            case 'L': return static_cast<BlockListOfPoles*>(R.M)->Name;
            case 'T': return static_cast<BlockTriDiagonalMatrixType*>(R.M)->Name;
            case 'A': return static_cast<BlockAndersonMatrixType*>(R.M)->Name;
            case 'N': return static_cast<BlockNaturalImpurityOrbitalMatrixType*>(R.M)->Name;
        }
    } else {
        switch (Upper(R.type)) {
            case 'L': return static_cast<ListOfPoles*>(R.M)->Name;
            case 'T': return static_cast<TriDiagonalMatrixType*>(R.M)->Name;
            case 'A': return static_cast<AndersonMatrixType*>(R.M)->Name;
            case 'N': return static_cast<BADoubleTriDiagonalMatrixType*>(R.M)->Name;
        }
    }
    return nullptr;
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
    switch (Upper(R->type)) {
        case 'L': FreeBlockListOfPoles(static_cast<BlockListOfPoles*>(R->M)); break;
        case 'T': FreeBlockTriDiagonalMatrix(static_cast<BlockTriDiagonalMatrixType*>(R->M)); break;
        case 'A': FreeBlockAndersonMatrix(static_cast<BlockAndersonMatrixType*>(R->M)); break;
        case 'N':
            FreeBlockNaturalImpurityOrbitalMatrix(static_cast<BlockNaturalImpurityOrbitalMatrixType*>(R->M));
            break;
        default: printf("Error in FreeBlockMatrix unrecognized type %c\n", R->type); return;
    }
    free(R->M);
    R->M = nullptr;
    free(R->SuggestedGrid);
    R->SuggestedGrid = nullptr;
    R->NSuggestedGrid = 0;
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
    switch (Upper(R->type)) {
        case 'L': FreeListOfPoles(static_cast<ListOfPoles*>(R->M)); break;
        case 'T': FreeTriDiagonalMatrix(static_cast<TriDiagonalMatrixType*>(R->M)); break;
        case 'A': FreeAndersonMatrix(static_cast<AndersonMatrixType*>(R->M)); break;
        case 'N': FreeBADoubleTriDiagonalMatrix(static_cast<BADoubleTriDiagonalMatrixType*>(R->M)); break;
        default: printf("Error in FreeResponsefunction unrecognized type %c\n", R->type); return;
    }
    free(R->M);
    R->M = nullptr;
    free(R->SuggestedGrid);
    R->SuggestedGrid = nullptr;
    R->NSuggestedGrid = 0;
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
    const char* who = "ResponsefunctionCopy";
    ResponsefunctionType out = Failed();
    if (R.QBlock) {
        switch (Upper(R.type)) {
            case 'L':
                out = Make<BlockListOfPoles>(R.type, 1, [&](BlockListOfPoles* p) {
                    return CopyBlockListOfPoles(p, *static_cast<BlockListOfPoles*>(R.M));
                }, who);
                break;
            case 'T':
                out = Make<BlockTriDiagonalMatrixType>(R.type, 1, [&](BlockTriDiagonalMatrixType* p) {
                    return CopyBlockTridiagonalMatrix(p, *static_cast<BlockTriDiagonalMatrixType*>(R.M));
                }, who);
                break;
            case 'A':
                out = Make<BlockAndersonMatrixType>(R.type, 1, [&](BlockAndersonMatrixType* p) {
                    return CopyBlockAndersonMatrix(p, *static_cast<BlockAndersonMatrixType*>(R.M));
                }, who);
                break;
            case 'N':
                out = Make<BlockNaturalImpurityOrbitalMatrixType>(
                    R.type, 1, [&](BlockNaturalImpurityOrbitalMatrixType* p) {
                        return CopyBlockNaturalImpurityOrbitalMatrix(
                            p, *static_cast<BlockNaturalImpurityOrbitalMatrixType*>(R.M));
                    }, who);
                break;
            default: printf("Error in ResponsefunctionCopy unrecognized type %c\n", R.type); return Failed();
        }
    } else {
        switch (Upper(R.type)) {
            case 'L':
                out = Make<ListOfPoles>(R.type, 0, [&](ListOfPoles* p) {
                    return ListOfPolesCopy(p, *static_cast<ListOfPoles*>(R.M));
                }, who);
                break;
            case 'T':
                out = Make<TriDiagonalMatrixType>(R.type, 0, [&](TriDiagonalMatrixType* p) {
                    return TriDiagonalMatrixCopy(p, *static_cast<TriDiagonalMatrixType*>(R.M));
                }, who);
                break;
            case 'A':
                out = Make<AndersonMatrixType>(R.type, 0, [&](AndersonMatrixType* p) {
                    return AndersonMatrixCopy(p, *static_cast<AndersonMatrixType*>(R.M));
                }, who);
                break;
            case 'N':
                out = Make<BADoubleTriDiagonalMatrixType>(R.type, 0, [&](BADoubleTriDiagonalMatrixType* p) {
                    return BADoubleTriDiagonalMatrixCopy(p, *static_cast<BADoubleTriDiagonalMatrixType*>(R.M));
                }, who);
                break;
            default: printf("Error in ResponsefunctionCopy unrecognized type %c\n", R.type); return Failed();
        }
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
