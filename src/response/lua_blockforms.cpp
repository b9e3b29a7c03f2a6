// Script faces of the block response forms: the readers of their table
// forms, which accept any of the four forms and convert, and the pushers.
//
// A block table has the scalar layout with matrices in place of numbers:
//   list   {{A0, e1, ..., eN}, {B1, ..., BN}}, A0 a matrix or a number (a
//          multiple of the unit matrix), the energies numbers
//   chain, star
//          {{a0, a1, ..., aN}, {b0, ..., b(N-1)}}, each a matrix or a number
//   natural orbital
//          {epsilon = ..., val = <chain>, con = <chain>}
// with the fields type, name and mu.  A matrix is a table of rows or a
// Matrix_Type userdata; all blocks of one record have the same size.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "base/complex16.h"
#include "numeric/matrix_lua.h"
#include "response/blockforms.h"
#include "response/lua_matrices.h"
#include "response/lua_tableforms.h"
#include "response/tridiagonal.h"

using namespace tableform;

namespace {

using ListGuard = Guard<BlockListOfPoles, FreeBlockListOfPoles>;
using ChainGuard = Guard<BlockTriDiagonalMatrixType, FreeBlockTriDiagonalMatrix>;
using StarGuard = Guard<BlockAndersonMatrixType, FreeBlockAndersonMatrix>;
using NaturalGuard = Guard<BlockNaturalImpurityOrbitalMatrixType, FreeBlockNaturalImpurityOrbitalMatrix>;
using MatrixGuard = Guard<CompactMatrixType, FreeCompactMatrix>;
using ScalarListGuard = Guard<ListOfPoles, FreeListOfPoles>;

const char* kBlockPoleShape =
    "Error a list of poles should be a list of two lists {{a1,a2,...,an+1},{b1^2,b2^2,...,bn^2}}, with b matrices "
    "and a1 optionally a matrix";

// Rows of the matrix at idx, or 0 when it is none.
uint32_t MatrixRows(lua_State* L, int idx) {
    if (!QLuaResponseMatrix(L, idx)) return 0;
    if (lua_istable(L, idx)) return static_cast<uint32_t>(lua_rawlen(L, idx));
    return static_cast<const CompactMatrixType*>(lua_touserdata(L, idx))->Ni;
}

// The block size: the rows of the first matrix among the elements of the
// lists at indices i1 and i2 (tables), or 0 when there is none.
uint32_t FindBlockSize(lua_State* L, int i1, int i2) {
    for (int t : {i1, i2}) {
        const size_t n = lua_rawlen(L, t);
        for (size_t i = 0; i < n; i++) {
            lua_rawgeti(L, t, static_cast<int>(i + 1));
            const uint32_t M = MatrixRows(L, -1);
            lua_pop(L, 1);
            if (M > 0) return M;
        }
    }
    return 0;
}

// Replaces the zero block *B by the value at idx: an M by M matrix, or a
// number times the unit matrix.  Raises shape otherwise.
void ReadBlock(lua_State* L, int idx, uint32_t M, CompactMatrixType* B, const char* shape) {
    double x;
    if (ReadReal(L, idx, &x)) {
        for (uint32_t r = 0; r < M; r++) CompactMatrixRealData(*B)[static_cast<size_t>(r) * M + r] = x;
        return;
    }
    CompactMatrixType m;
    if (LuaReadResponseMatrix(L, idx, &m) != 0) luaL_error(L, "%s", shape);
    if (m.Ni != M || m.Nj != M) {
        FreeCompactMatrix(&m);
        luaL_error(L, "Error reading a block Green's function: every block should be a %d by %d matrix",
                   static_cast<int>(M), static_cast<int>(M));
    }
    FreeCompactMatrix(B);
    *B = m;
}

// Pushes t[1] and t[2] of the table at index after checking that they are
// tables; returns their lengths.
void PushTwoLists(lua_State* L, int index, size_t* la, size_t* lb, const char* shape) {
    lua_rawgeti(L, index, 1);
    lua_rawgeti(L, index, 2);
    if (!lua_istable(L, -2) || !lua_istable(L, -1)) luaL_error(L, "%s", shape);
    *la = lua_rawlen(L, -2);
    *lb = lua_rawlen(L, -1);
}

BlockListOfPoles ReadBlockListTable(lua_State* L, int index) {
    char name[256];
    double mu = 0.0;
    ReadNameAndMu(L, index, "List of poles", name, &mu);
    size_t la = 0;
    size_t lb = 0;
    PushTwoLists(L, index, &la, &lb, kBlockPoleShape);
    const int ia = lua_gettop(L) - 1;
    const int ib = lua_gettop(L);
    if (la == 0) luaL_error(L, "Errorr reading Greens function with lenght of a equal to zero");
    if (lb == 0) luaL_error(L, "Errorr reading Greens function with lenght of b equal to zero");
    if (la != lb + 1)
        luaL_error(L, "Error Reading List of poles. Length of a (%d) should be one more than length of b (%d)",
                   static_cast<int>(la), static_cast<int>(lb));
    const uint32_t M = FindBlockSize(L, ia, ib);
    if (M == 0) luaL_error(L, "%s", kBlockPoleShape);
    // Energies first, then the matrices, read into one complex list that is
    // made real at the end when no block was complex.
    BlockListOfPoles list;
    list.N = static_cast<uint32_t>(lb);
    list.M = M;
    list.QComplex = 1;
    if (WithRetry(L, [&] { return InitBlockListOfPoles(&list); }) != 0)
        luaL_error(L, "InitBlockListOfPoles failed in luaL_checkBlockListOfPoles");
    ListGuard guard(&list);
    snprintf(list.Name, sizeof(list.Name), "%s", name);
    list.mu = mu;
    Complex16* v = static_cast<Complex16*>(list.Value);
    const size_t S = BlockListOfPolesSlice(M);
    bool complex = false;
    CompactMatrixType B;
    B.Ni = M;
    B.Nj = M;
    B.QComplex = 0;
    for (uint32_t k = 0; k <= list.N; k++) {
        // The constant stands first in a, the weight of pole k at b[k+1].
        if (WithRetry(L, [&] { return InitCompactMatrix(&B); }) != 0)
            luaL_error(L, "malloc failed while reading a Green's function");
        MatrixGuard g(&B);
        if (k < list.N) {
            double e = 0.0;
            lua_rawgeti(L, ia, static_cast<int>(k + 2));
            if (!ReadReal(L, -1, &e)) luaL_error(L, "%s", kBlockPoleShape);
            lua_pop(L, 1);
            v[k * S] = Cnum(e, 0.0);
            lua_rawgeti(L, ib, static_cast<int>(k + 1));
            if (!QLuaResponseMatrix(L, -1)) luaL_error(L, "%s", kBlockPoleShape);
        } else {
            lua_rawgeti(L, ia, 1);
        }
        ReadBlock(L, -1, M, &B, kBlockPoleShape);
        lua_pop(L, 1);
        complex = complex || B.QComplex;
        for (uint32_t r = 0; r < M; r++)
            for (uint32_t c = 0; c < M; c++) v[k * S + 1 + r * M + c] = CompactMatrixElement(B, r, c);
    }
    lua_pop(L, 2);
    if (!complex) {
        const size_t n = S * (list.N + size_t{1});
        double* d = static_cast<double*>(malloc(sizeof(double) * n));
        if (d == nullptr) {
            lua_gc(L, LUA_GCCOLLECT, 0);
            d = static_cast<double*>(malloc(sizeof(double) * n));
            if (d == nullptr) luaL_error(L, "malloc failed while reading a Green's function");
        }
        for (size_t i = 0; i < n; i++) d[i] = v[i].re;
        free(list.Value);
        list.Value = d;
        list.QComplex = 0;
    }
    guard.Release();
    return list;
}

// A chain or a star; with allowConstant a record without sites is accepted
// when the block size is given (the empty half of a natural orbital).
template <class Record, int (*Init)(Record*), void (*Free)(Record*)>
Record ReadBlockChainLikeTable(lua_State* L, int index, uint32_t knownM = 0, bool allowConstant = false) {
    char name[256];
    double mu = 0.0;
    ReadNameAndMu(L, index, "Green's function represented as a tri-diagonal matrix", name, &mu);
    size_t la = 0;
    size_t lb = 0;
    PushTwoLists(L, index, &la, &lb, kChainShape);
    const int ia = lua_gettop(L) - 1;
    const int ib = lua_gettop(L);
    if (la == 0) luaL_error(L, "Errorr reading Greens function with lenght of a equal to zero");
    if (la != lb + 1) luaL_error(L, "%s", kChainShape);
    uint32_t M = FindBlockSize(L, ia, ib);
    if (M == 0) M = knownM;
    if (M == 0) luaL_error(L, "%s", kChainShape);
    if (knownM != 0 && M != knownM)
        luaL_error(L, "Error reading a block Green's function: every block should be a %d by %d matrix",
                   static_cast<int>(knownM), static_cast<int>(knownM));
    if (lb == 0 && !allowConstant) luaL_error(L, "Errorr reading Greens function with lenght of b equal to zero");
    Record R;
    if (WithRetry(L, [&] {
            R.N = static_cast<uint32_t>(lb);
            R.M = M;
            return Init(&R);
        }) != 0)
        luaL_error(L, "malloc failed while reading a Green's function represented as a tri-diagonal matrix");
    Guard<Record, Free> guard(&R);
    snprintf(R.Name, sizeof(R.Name), "%s", name);
    R.mu = mu;
    for (uint32_t i = 0; i <= R.N; i++) {
        lua_rawgeti(L, ia, static_cast<int>(i + 1));
        ReadBlock(L, -1, M, &R.a[i], kChainShape);
        lua_pop(L, 1);
    }
    for (uint32_t i = 0; i < R.N; i++) {
        lua_rawgeti(L, ib, static_cast<int>(i + 1));
        ReadBlock(L, -1, M, &R.b[i], kChainShape);
        lua_pop(L, 1);
    }
    lua_pop(L, 2);
    guard.Release();
    return R;
}

BlockTriDiagonalMatrixType ReadChainTable(lua_State* L, int index, uint32_t knownM = 0, bool allowConstant = false) {
    return ReadBlockChainLikeTable<BlockTriDiagonalMatrixType, InitBlockTriDiagonalMatrix,
                                   FreeBlockTriDiagonalMatrix>(L, index, knownM, allowConstant);
}

BlockAndersonMatrixType ReadStarTable(lua_State* L, int index) {
    return ReadBlockChainLikeTable<BlockAndersonMatrixType, InitBlockAndersonMatrix, FreeBlockAndersonMatrix>(L,
                                                                                                            index);
}

BlockNaturalImpurityOrbitalMatrixType ReadNaturalTable(lua_State* L, int index) {
    char name[256];
    double mu = 0.0;
    ReadNameAndMu(L, index, kNaturalWhat, name, &mu);
    lua_getfield(L, index, "epsilon");
    const int ie = lua_gettop(L);
    if (lua_isnil(L, ie)) luaL_error(L, kNaturalMissing, "epsilon");
    lua_getfield(L, index, "val");
    const int iv = lua_gettop(L);
    if (!lua_istable(L, iv)) luaL_error(L, kNaturalMissing, "val");
    lua_getfield(L, index, "con");
    const int ic = lua_gettop(L);
    if (!lua_istable(L, ic)) luaL_error(L, kNaturalMissing, "con");
    // The block size: epsilon, or the first matrix of either chain.
    uint32_t M = MatrixRows(L, ie);
    for (int chain : {iv, ic}) {
        if (M != 0) break;
        lua_rawgeti(L, chain, 1);
        lua_rawgeti(L, chain, 2);
        if (lua_istable(L, -2) && lua_istable(L, -1)) M = FindBlockSize(L, lua_gettop(L) - 1, lua_gettop(L));
        lua_pop(L, 2);
    }
    if (M == 0) luaL_error(L, kNaturalMissing, "a matrix");
    BlockNaturalImpurityOrbitalMatrixType B;
    B.M = M;
    B.val = ReadChainTable(L, iv, M, true);
    ChainGuard gv(&B.val);
    B.con = ReadChainTable(L, ic, M, true);
    ChainGuard gc(&B.con);
    B.epsilon.Ni = M;
    B.epsilon.Nj = M;
    B.epsilon.QComplex = 0;
    if (WithRetry(L, [&] { return InitCompactMatrix(&B.epsilon); }) != 0)
        luaL_error(L, "malloc failed while reading a Green's function");
    MatrixGuard ge(&B.epsilon);
    ReadBlock(L, ie, M, &B.epsilon, "Error a natural impurity orbital needs epsilon as a matrix or a number");
    B.T = CompactnullMatrix();
    if (WithRetry(L, [&] { return SetTMTFromValandConInBlockNaturalImpurityOrbitalMatrixType(&B); }) != 0)
        luaL_error(L, "malloc failed while reading a Green's function");
    snprintf(B.Name, sizeof(B.Name), "%s", name);
    B.mu = mu;
    lua_pop(L, 3);
    gv.Release();
    gc.Release();
    ge.Release();
    return B;
}

// A scalar table read as a list and made a list of 1 by 1 blocks.
BlockListOfPoles ReadScalarAsBlockList(lua_State* L, int index) {
    ListOfPoles s = luaL_checkListOfPoles(L, index);
    ScalarListGuard g(&s);
    BlockListOfPoles list;
    if (WithRetry(L, [&] { return ListOfPolesToBlockListOfPoles(s, &list); }) != 0)
        ConversionFailed(L, "a list of poles", "a block list of poles");
    return list;
}

// Any table into a block list.
BlockListOfPoles ReadAsList(lua_State* L, int index) {
    index = lua_absindex(L, index);
    Form form = CheckForm(L, index);
    if (!QLuaBlockResponseTable(L, index)) return ReadScalarAsBlockList(L, index);
    BlockListOfPoles list;
    switch (form) {
        case Form::Poles:
            return ReadBlockListTable(L, index);
        case Form::Chain: {
            BlockTriDiagonalMatrixType T = ReadChainTable(L, index);
            ChainGuard g(&T);
            if (WithRetry(L, [&] { return BlockTriDiagonalMatrixToBlockListOfPoles(T, &list); }) != 0)
                ConversionFailed(L, "a block tri-diagonal matrix", "a block list of poles");
            return list;
        }
        case Form::Star: {
            BlockAndersonMatrixType A = ReadStarTable(L, index);
            StarGuard g(&A);
            if (WithRetry(L, [&] { return BlockAndersonMatrixToBlockListOfPoles(A, &list); }) != 0)
                ConversionFailed(L, "a block Anderson matrix", "a block list of poles");
            return list;
        }
        case Form::Natural: {
            BlockNaturalImpurityOrbitalMatrixType B = ReadNaturalTable(L, index);
            NaturalGuard g(&B);
            if (WithRetry(L, [&] { return BlockNaturalImpurityOrbitalMatrixToBlockListOfPoles(B, &list); }) != 0)
                ConversionFailed(L, "a block natural impurity orbital", "a block list of poles");
            return list;
        }
    }
    return list;
}

template <class Record>
void PushChainLike(lua_State* L, const char* type, const Record& R) {
    luaL_checkstack(L, 6, "LuaPushTable_BlockTriDiagonalMatrixType");
    lua_createtable(L, 2, 3);
    lua_createtable(L, static_cast<int>(R.N + 1), 0);
    for (uint32_t i = 0; i <= R.N; i++) {
        LuaPushTable_CompactMatrixType(L, R.a[i]);
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    lua_rawseti(L, -2, 1);
    lua_createtable(L, static_cast<int>(R.N), 0);
    for (uint32_t i = 0; i < R.N; i++) {
        LuaPushTable_CompactMatrixType(L, R.b[i]);
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    lua_rawseti(L, -2, 2);
    PushHead(L, type, R.Name, R.mu);
    SetResponseFunctionMeta(L);
}

// Pushes an M by M block of a list's value array.
void PushListBlock(lua_State* L, const BlockListOfPoles& list, uint32_t k) {
    const uint32_t M = list.M;
    CompactMatrixType B;
    B.Name = nullptr;
    B.Ni = M;
    B.Nj = M;
    B.QComplex = static_cast<int32_t>(list.QComplex);
    B.QBorrowed = 1;
    const size_t offset = k * BlockListOfPolesSlice(M) + 1;
    B.data = list.QComplex ? static_cast<void*>(static_cast<Complex16*>(list.Value) + offset)
                           : static_cast<void*>(static_cast<double*>(list.Value) + offset);
    LuaPushTable_CompactMatrixType(L, B);
}

}  // namespace

int QLuaBlockResponseTable(lua_State* L, int index) {
    index = lua_absindex(L, index);
    if (!lua_istable(L, index)) return 0;
    int block = 0;
    lua_getfield(L, index, "type");
    const bool natural = lua_type(L, -1) == LUA_TSTRING &&
                         (strcmp(lua_tostring(L, -1), "NaturalImpurityOrbital") == 0 ||
                          strcmp(lua_tostring(L, -1), "Nat") == 0);
    lua_pop(L, 1);
    if (natural) {
        lua_getfield(L, index, "epsilon");
        block = QLuaResponseMatrix(L, -1);
        lua_pop(L, 1);
        for (const char* chain : {"val", "con"}) {
            if (block) break;
            lua_getfield(L, index, chain);
            if (lua_istable(L, -1)) block = QLuaBlockResponseTable(L, -1);
            lua_pop(L, 1);
        }
        return block;
    }
    // The lists of the array part: any element a matrix.
    for (int list = 1; list <= 2 && !block; list++) {
        lua_rawgeti(L, index, list);
        if (lua_istable(L, -1)) {
            const size_t n = lua_rawlen(L, -1);
            for (size_t i = 0; i < n && !block; i++) {
                lua_rawgeti(L, -1, static_cast<int>(i + 1));
                block = QLuaResponseMatrix(L, -1);
                lua_pop(L, 1);
            }
        }
        lua_pop(L, 1);
    }
    return block;
}

BlockListOfPoles luaL_checkBlockListOfPoles(lua_State* L, int index) { return ReadAsList(L, index); }

BlockTriDiagonalMatrixType luaL_checkBlockTriDiagonalMatrixType(lua_State* L, int index) {
    index = lua_absindex(L, index);
    Form form = CheckForm(L, index);
    BlockTriDiagonalMatrixType T;
    if (form == Form::Chain && QLuaBlockResponseTable(L, index)) return ReadChainTable(L, index);
    if (form == Form::Star && QLuaBlockResponseTable(L, index)) {
        BlockAndersonMatrixType A = ReadStarTable(L, index);
        StarGuard g(&A);
        if (WithRetry(L, [&] { return BlockAndersonMatrixToBlockTriDiagonalMatrix(A, &T); }) != 0)
            ConversionFailed(L, "a block Anderson matrix", "a block tri-diagonal matrix");
        return T;
    }
    BlockListOfPoles list = ReadAsList(L, index);
    ListGuard g(&list);
    if (WithRetry(L, [&] { return BlockListOfPolesToBlockTriDiagonalMatrix(list, &T, 0); }) != 0)
        ConversionFailed(L, "a block list of poles", "a block tri-diagonal matrix");
    return T;
}

BlockAndersonMatrixType luaL_checkBlockAndersonMatrixType(lua_State* L, int index) {
    index = lua_absindex(L, index);
    Form form = CheckForm(L, index);
    BlockAndersonMatrixType A;
    if (form == Form::Star && QLuaBlockResponseTable(L, index)) return ReadStarTable(L, index);
    BlockTriDiagonalMatrixType T = luaL_checkBlockTriDiagonalMatrixType(L, index);
    ChainGuard g(&T);
    if (WithRetry(L, [&] { return BlockTriDiagonalMatrixToBlockAndersonMatrix(T, &A); }) != 0)
        ConversionFailed(L, "a block tri-diagonal matrix", "a block Anderson matrix");
    return A;
}

BlockNaturalImpurityOrbitalMatrixType luaL_checkBlockNatrualImpurityOrbitalMatrixType(lua_State* L, int index) {
    index = lua_absindex(L, index);
    Form form = CheckForm(L, index);
    if (form == Form::Natural && QLuaBlockResponseTable(L, index)) return ReadNaturalTable(L, index);
    BlockListOfPoles list = ReadAsList(L, index);
    ListGuard g(&list);
    BlockNaturalImpurityOrbitalMatrixType B;
    if (WithRetry(L, [&] { return BlockListOfPolesToBlockNaturalImpurityOrbitalMatrix(list, &B, 0.0, 0, 0); }) != 0)
        ConversionFailed(L, "a block list of poles", "a block natural impurity orbital");
    return B;
}

void LuaPushTable_BlockListOfPoles(lua_State* L, BlockListOfPoles list) {
    luaL_checkstack(L, 6, "LuaPushTable_BlockListOfPoles");
    lua_createtable(L, 2, 3);
    lua_createtable(L, static_cast<int>(list.N + 1), 0);
    PushListBlock(L, list, list.N);
    lua_rawseti(L, -2, 1);
    for (uint32_t k = 0; k < list.N; k++) {
        lua_pushnumber(L, BlockListOfPolesEnergy(list, k));
        lua_rawseti(L, -2, static_cast<int>(k + 2));
    }
    lua_rawseti(L, -2, 1);
    lua_createtable(L, static_cast<int>(list.N), 0);
    for (uint32_t k = 0; k < list.N; k++) {
        PushListBlock(L, list, k);
        lua_rawseti(L, -2, static_cast<int>(k + 1));
    }
    lua_rawseti(L, -2, 2);
    PushHead(L, "ListOfPoles", list.Name, list.mu);
    SetResponseFunctionMeta(L);
}

void LuaPushTable_BlockTriDiagonalMatrixType(lua_State* L, BlockTriDiagonalMatrixType T) {
    PushChainLike(L, "Tri", T);
}

void LuaPushTable_BlockAndersonMatrixType(lua_State* L, BlockAndersonMatrixType A) { PushChainLike(L, "And", A); }

void LuaPushTable_BlockNaturalImpurityOrbital(lua_State* L, BlockNaturalImpurityOrbitalMatrixType B) {
    luaL_checkstack(L, 6, "LuaPushTable_BlockNaturalImpurityOrbital");
    lua_createtable(L, 0, 6);
    PushHead(L, "NaturalImpurityOrbital", B.Name, B.mu);
    LuaPushTable_CompactMatrixType(L, B.epsilon);
    lua_setfield(L, -2, "epsilon");
    PushChainLike(L, "Tri", B.val);
    lua_setfield(L, -2, "val");
    PushChainLike(L, "Tri", B.con);
    lua_setfield(L, -2, "con");
    SetResponseFunctionMeta(L);
}
