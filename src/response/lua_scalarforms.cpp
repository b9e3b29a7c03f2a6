// Script faces of the scalar response forms: the readers of their table
// forms, which accept any of the four forms and convert, and the pushers.
//
// A table form holds the numbers in two lists in its array part and the
// fields type, name and mu (a double chain: name, mu, epsilon, val, con).
// Elements may be numbers or complex numbers whose imaginary part is 0.
#include <cstdlib>
#include <cstring>

#include "response/listofpoles.h"
#include "response/lua_tableforms.h"
#include "response/tridiagonal.h"

using namespace tableform;

namespace {

using ListGuard = Guard<ListOfPoles, FreeListOfPoles>;
using ChainGuard = Guard<TriDiagonalMatrixType, FreeTriDiagonalMatrix>;
using StarGuard = Guard<AndersonMatrixType, FreeAndersonMatrix>;
using NaturalGuard = Guard<BADoubleTriDiagonalMatrixType, FreeBADoubleTriDiagonalMatrix>;

struct DoubleBuffer {
    double* p = nullptr;
    DoubleBuffer() = default;
    DoubleBuffer(const DoubleBuffer&) = delete;
    DoubleBuffer& operator=(const DoubleBuffer&) = delete;
    ~DoubleBuffer() { free(p); }
};

// The two lists of the array part.  Raises shapeError when they are not
// two lists of numbers, and the length errors when the first list has fewer
// than two elements or is not one longer than the second.
void ReadTwoLists(lua_State* L, int index, DoubleBuffer* a, uint32_t* na, DoubleBuffer* b, uint32_t* nb,
                  const char* shapeError, bool poleLengthError, bool allowConstant = false) {
    lua_rawgeti(L, index, 1);
    lua_rawgeti(L, index, 2);
    if (!lua_istable(L, -2) || !lua_istable(L, -1)) luaL_error(L, "%s", shapeError);
    size_t la = lua_rawlen(L, -2);
    size_t lb = lua_rawlen(L, -1);
    if (la == 0) luaL_error(L, "Errorr reading Greens function with lenght of a equal to zero");
    if (la == 1 && !allowConstant) luaL_error(L, "Errorr reading Greens function with lenght of a equal to one");
    if (la != lb + 1) {
        if (poleLengthError)
            luaL_error(L, "Error Reading List of poles. Length of a (%d) should be one more than length of b (%d)",
                       static_cast<int>(la), static_cast<int>(lb));
        luaL_error(L, "%s", shapeError);
    }
    a->p = static_cast<double*>(malloc(sizeof(double) * la));
    b->p = static_cast<double*>(malloc(sizeof(double) * lb));
    if (a->p == nullptr || b->p == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        if (a->p == nullptr) a->p = static_cast<double*>(malloc(sizeof(double) * la));
        if (b->p == nullptr) b->p = static_cast<double*>(malloc(sizeof(double) * lb));
        if (a->p == nullptr || b->p == nullptr) luaL_error(L, "malloc failed while reading a Green's function");
    }
    for (size_t i = 0; i < la; i++) {
        lua_rawgeti(L, -2, static_cast<int>(i + 1));
        bool ok = ReadReal(L, -1, &a->p[i]);
        lua_pop(L, 1);
        if (!ok) luaL_error(L, "%s", shapeError);
    }
    for (size_t i = 0; i < lb; i++) {
        lua_rawgeti(L, -1, static_cast<int>(i + 1));
        bool ok = ReadReal(L, -1, &b->p[i]);
        lua_pop(L, 1);
        if (!ok) luaL_error(L, "%s", shapeError);
    }
    lua_pop(L, 2);
    *na = static_cast<uint32_t>(la);
    *nb = static_cast<uint32_t>(lb);
}

const char* kPoleShape =
    "Error a list of pole should be a list of two lists {{a0,a1,a2,...,an},{b1^2,b2^2,...,bn^2}}";

ListOfPoles ReadPolesTable(lua_State* L, int index) {
    char name[256];
    double mu = 0.0;
    ReadNameAndMu(L, index, "List of poles", name, &mu);
    DoubleBuffer a;
    DoubleBuffer b;
    uint32_t na = 0;
    uint32_t nb = 0;
    ReadTwoLists(L, index, &a, &na, &b, &nb, kPoleShape, true);
    ListOfPoles list;
    list.N = nb;
    if (WithRetry(L, [&] {
            list.N = nb;
            return InitListOfPoles(&list);
        }) != 0)
        luaL_error(L, "InitListOfPoles failed in luaL_checkListOfPoles");
    memcpy(list.Name, name, sizeof(name));
    list.mu = mu;
    list.a0 = a.p[0];
    memcpy(list.a, a.p + 1, sizeof(double) * nb);
    memcpy(list.b, b.p, sizeof(double) * nb);
    return list;
}

// Reads the two lists of a chain or a star into the arrays of R.
// A chain may be only a constant ({{a0},{}}) where allowConstant is set: the
// empty half of a double chain.
template <class Record, int (*Init)(Record*)>
Record ReadChainLikeTable(lua_State* L, int index, bool allowConstant = false) {
    char name[256];
    double mu = 0.0;
    ReadNameAndMu(L, index, "Green's function represented as a tri-diagonal matrix", name, &mu);
    DoubleBuffer a;
    DoubleBuffer b;
    uint32_t na = 0;
    uint32_t nb = 0;
    ReadTwoLists(L, index, &a, &na, &b, &nb, kChainShape, false, allowConstant);
    Record R;
    if (WithRetry(L, [&] {
            R.N = nb;
            return Init(&R);
        }) != 0)
        luaL_error(L, "malloc failed while reading a Green's function represented as a tri-diagonal matrix");
    memcpy(R.Name, name, sizeof(name));
    R.mu = mu;
    memcpy(R.a, a.p, sizeof(double) * na);
    memcpy(R.b, b.p, sizeof(double) * nb);
    return R;
}

TriDiagonalMatrixType ReadChain(lua_State* L, int index, bool allowConstant = false);

BADoubleTriDiagonalMatrixType ReadNaturalTable(lua_State* L, int index) {
    BADoubleTriDiagonalMatrixType B;
    ReadNameAndMu(L, index, kNaturalWhat, B.Name, &B.mu);
    if (!ReadNumberField(L, index, "epsilon", &B.epsilon)) luaL_error(L, kNaturalMissing, "epsilon");
    B.F = 1.0;
    lua_getfield(L, index, "val");
    if (!lua_istable(L, -1)) luaL_error(L, kNaturalMissing, "val");
    B.val = ReadChain(L, lua_gettop(L), true);
    ChainGuard gv(&B.val);
    lua_pop(L, 1);
    lua_getfield(L, index, "con");
    if (!lua_istable(L, -1)) luaL_error(L, kNaturalMissing, "con");
    B.con = ReadChain(L, lua_gettop(L), true);
    lua_pop(L, 1);
    gv.Release();
    return B;
}

// Any form into a list of poles.
ListOfPoles ReadAsPoles(lua_State* L, int index) {
    index = lua_absindex(L, index);
    Form form = CheckForm(L, index);
    ListOfPoles list;
    switch (form) {
        case Form::Poles:
            return ReadPolesTable(L, index);
        case Form::Chain: {
            TriDiagonalMatrixType M = ReadChainLikeTable<TriDiagonalMatrixType, InitTriDiagonalMatrix>(L, index);
            ChainGuard g(&M);
            if (WithRetry(L, [&] { return TriDiagonalMatrixToListOfPoles(M, &list); }) != 0)
                ConversionFailed(L, "a tri-diagonal matrix", "a list of poles");
            memcpy(list.Name, M.Name, sizeof(list.Name));
            return list;
        }
        case Form::Star: {
            AndersonMatrixType A = ReadChainLikeTable<AndersonMatrixType, InitAndersonMatrix>(L, index);
            StarGuard g(&A);
            if (WithRetry(L, [&] { return AndersonMatrixToListOfPoles(A, &list); }) != 0)
                ConversionFailed(L, "an Anderson matrix", "a list of poles");
            memcpy(list.Name, A.Name, sizeof(list.Name));
            return list;
        }
        case Form::Natural: {
            BADoubleTriDiagonalMatrixType B = ReadNaturalTable(L, index);
            NaturalGuard g(&B);
            if (WithRetry(L, [&] { return BADoubleTriDiagonalMatrixToListOfPoles(B, &list); }) != 0)
                ConversionFailed(L, "a natural impurity orbital", "a list of poles");
            return list;
        }
    }
    return list;
}

TriDiagonalMatrixType ReadChain(lua_State* L, int index, bool allowConstant) {
    index = lua_absindex(L, index);
    Form form = CheckForm(L, index);
    TriDiagonalMatrixType M;
    switch (form) {
        case Form::Chain:
            return ReadChainLikeTable<TriDiagonalMatrixType, InitTriDiagonalMatrix>(L, index, allowConstant);
        case Form::Star: {
            AndersonMatrixType A = ReadChainLikeTable<AndersonMatrixType, InitAndersonMatrix>(L, index);
            StarGuard g(&A);
            if (WithRetry(L, [&] { return AndersonMatrixToTriDiagonalMatrix(A, &M); }) != 0)
                ConversionFailed(L, "an Anderson matrix", "a tri-diagonal matrix");
            return M;
        }
        case Form::Poles:
        case Form::Natural: {
            ListOfPoles list = ReadAsPoles(L, index);
            ListGuard g(&list);
            if (WithRetry(L, [&] { return ListOfPolesToTridiagonalMatrix(list, &M, 0); }) != 0)
                ConversionFailed(L, "a list of poles", "a tri-diagonal matrix");
            return M;
        }
    }
    return M;
}

void PushList(lua_State* L, const double* x, uint32_t n, double first, bool withFirst) {
    lua_createtable(L, static_cast<int>(n + (withFirst ? 1 : 0)), 0);
    int k = 1;
    if (withFirst) {
        lua_pushnumber(L, first);
        lua_rawseti(L, -2, k++);
    }
    for (uint32_t i = 0; i < n; i++) {
        lua_pushnumber(L, x[i]);
        lua_rawseti(L, -2, k++);
    }
}

// A chain or a star; the constant and the first coupling scaled by s2 and
// sqrt(s2) = s1 (used to fold the F of a double chain into its chains).
void PushChainLike(lua_State* L, const char* type, const char* name, double mu, uint32_t N, const double* a,
                   const double* b, double s1, double s2) {
    lua_createtable(L, 2, 3);
    lua_createtable(L, static_cast<int>(N + 1), 0);
    lua_pushnumber(L, a[0] * s2);
    lua_rawseti(L, -2, 1);
    for (uint32_t i = 1; i <= N; i++) {
        lua_pushnumber(L, a[i]);
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    lua_rawseti(L, -2, 1);
    lua_createtable(L, static_cast<int>(N), 0);
    for (uint32_t i = 0; i < N; i++) {
        lua_pushnumber(L, i == 0 ? b[0] * s1 : b[i]);
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    lua_rawseti(L, -2, 2);
    PushHead(L, type, name, mu);
    SetResponseFunctionMeta(L);
}

}  // namespace

ListOfPoles luaL_checkListOfPoles(lua_State* L, int index) { return ReadAsPoles(L, index); }

TriDiagonalMatrixType luaL_checkTriDiagonalMatrixType(lua_State* L, int index) { return ReadChain(L, index); }

AndersonMatrixType luaL_checkAndersonMatrixType(lua_State* L, int index) {
    index = lua_absindex(L, index);
    Form form = CheckForm(L, index);
    if (form == Form::Star) return ReadChainLikeTable<AndersonMatrixType, InitAndersonMatrix>(L, index);
    TriDiagonalMatrixType M = ReadChain(L, index);
    ChainGuard g(&M);
    AndersonMatrixType A;
    if (WithRetry(L, [&] { return TriDiagonalMatrixToAndersonMatrix(M, &A); }) != 0)
        ConversionFailed(L, "a tri-diagonal matrix", "an Anderson matrix");
    return A;
}

BADoubleTriDiagonalMatrixType luaL_checkNatrualImpurityOrbitalMatrixType(lua_State* L, int index) {
    index = lua_absindex(L, index);
    Form form = CheckForm(L, index);
    if (form == Form::Natural) return ReadNaturalTable(L, index);
    ListOfPoles list = ReadAsPoles(L, index);
    ListGuard g(&list);
    BADoubleTriDiagonalMatrixType B;
    if (WithRetry(L, [&] { return ListOfPolesToBADoubleTridiagonalMatrix(list, &B, 0.0, 0); }) != 0)
        ConversionFailed(L, "a list of poles", "a natural impurity orbital");
    return B;
}

void LuaPushTable_ListOfPoles(lua_State* L, ListOfPoles list) {
    lua_createtable(L, 2, 3);
    PushList(L, list.a, list.N, list.a0, true);
    lua_rawseti(L, -2, 1);
    PushList(L, list.b, list.N, 0.0, false);
    lua_rawseti(L, -2, 2);
    PushHead(L, "ListOfPoles", list.Name, list.mu);
    SetResponseFunctionMeta(L);
}

void LuaPushTable_TriDiagonalMatrixType(lua_State* L, TriDiagonalMatrixType M) {
    PushChainLike(L, "Tri", M.Name, M.mu, M.N, M.a, M.b, 1.0, 1.0);
}

void LuaPushTable_AndersonMatrixType(lua_State* L, AndersonMatrixType A) {
    PushChainLike(L, "And", A.Name, A.mu, A.N, A.a, A.b, 1.0, 1.0);
}

void LuaPushTable_NaturalImpurityOrbital(lua_State* L, BADoubleTriDiagonalMatrixType B) {
    lua_createtable(L, 0, 6);
    PushHead(L, "NaturalImpurityOrbital", B.Name, B.mu);
    lua_pushnumber(L, B.epsilon);
    lua_setfield(L, -2, "epsilon");
    const double F2 = B.F * B.F;
    PushChainLike(L, "Tri", B.val.Name, B.val.mu, B.val.N, B.val.a, B.val.b, B.F, F2);
    lua_setfield(L, -2, "val");
    PushChainLike(L, "Tri", B.con.Name, B.con.mu, B.con.N, B.con.a, B.con.b, B.F, F2);
    lua_setfield(L, -2, "con");
    SetResponseFunctionMeta(L);
}
