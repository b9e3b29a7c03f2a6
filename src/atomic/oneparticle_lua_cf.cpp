// Reader of crystal fields and of expansions on spherical harmonics.
#include <cmath>

#include "atomic/oneparticle.h"
#include "atomic/oneparticle_lua.h"
#include "atomic/operators_lua_detail.h"
#include "base/complex_lua.h"

using namespace atomiclua;

namespace {

// The integer at position i of the entry table on top of the stack, or a
// script error naming the level.
int ExpansionInteger(lua_State* L, int i, int level) {
    lua_rawgeti(L, -1, i);
    int isnum = 0;
    lua_Number x = lua_tonumberx(L, -1, &isnum);
    lua_pop(L, 1);
    if (!isnum || x != std::floor(x) || std::fabs(x) > 1e6)
        luaL_error(L, "Error Harmonics Expansion, l and m must be integers at level %d\n", level);
    return (int)x;
}

// Checks entry `level` (1-based) and reads it; the entry table is on top.
void ReadExpansionEntry(lua_State* L, int level, int* l, int* m, Complex16* v, bool* complex) {
    int count = lua_type(L, -1) == LUA_TTABLE ? (int)lua_rawlen(L, -1) : 0;
    if (count != 3)
        luaL_error(L, "Error Harmonics Expansion, found %d indices (expected 3 {l,m,val}) at level %d\n", count, level);
    *l = ExpansionInteger(L, 1, level);
    *m = ExpansionInteger(L, 2, level);
    if (std::abs(*m) > *l) luaL_error(L, "Error Harmonics Expansion, |m| (%d) > l (%d) at level %d\n", std::abs(*m), *l, level);
    lua_rawgeti(L, -1, 3);
    *complex = luaL_testComplex16(L, -1) != nullptr;
    if (lua_type(L, -1) == LUA_TSTRING || !LuaToComplex16(L, -1, v))
        luaL_error(L, "Error Harmonics Expansion, the value at level %d is neither a number nor a Complex\n", level);
    lua_pop(L, 1);
}

}  // namespace

HarmonicsExpansion* luaL_checkarray_HarmonicsExpansion(lua_State* L, int idx) {
    idx = lua_absindex(L, idx);
    luaL_checktype(L, idx, LUA_TTABLE);
    int n = (int)lua_rawlen(L, idx);
    // All entries are checked before the record exists, so that an error
    // leaves nothing behind.
    bool anyComplex = false;
    for (int level = 1; level <= n; level++) {
        int l, m;
        Complex16 v;
        bool complex;
        lua_rawgeti(L, idx, level);
        ReadExpansionEntry(L, level, &l, &m, &v, &complex);
        lua_pop(L, 1);
        anyComplex = anyComplex || complex;
    }
    HarmonicsExpansion* A = NewHarmonicsExpansion((uint32_t)n);
    if (A == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        A = NewHarmonicsExpansion((uint32_t)n);
        if (A == nullptr) luaL_error(L, "Allocation failed in luaL_checkarray_HarmonicsExpansion");
    }
    A->QComplex = anyComplex ? 1 : 0;
    for (int level = 1; level <= n; level++) {
        Complex16 v;
        bool complex;
        lua_rawgeti(L, idx, level);
        ReadExpansionEntry(L, level, &A->l[level - 1], &A->m[level - 1], &v, &complex);
        lua_pop(L, 1);
        A->VRe[level - 1] = v.re;
        A->VIm[level - 1] = v.im;
    }
    return A;
}

// NewOperator("CF", NF, Index, A), ("CF", NF, IndexUp, IndexDn, A) or
// ("CF", NF, IndexUp1, IndexDn1, IndexUp2, IndexDn2, A).  The spinless form
// passes its one list for all four, which counts each term twice, and so
// halves the values first.
int LuaOperatorNewCF(lua_State* L) {
    const char* who = "LuaOperatorNewCF";
    int nargs = lua_gettop(L) - 1;
    if (nargs != 3 && nargs != 4 && nargs != 6)
        return luaL_error(L, "Error in LuaOperatorNewCF, called with %d arguments, 3,4 or 6 expected\n", nargs);
    uint32_t NF = ReadNF(L, 2, "Crystal-field operator acting on zero fermions is not defined");
    Array<uint16_t> lists[4];
    int nlist = nargs == 3 ? 1 : nargs == 4 ? 2 : 4;
    for (int i = 0; i < nlist; i++) {
        ReadModes(L, 3 + i, NF, i % 2 == 0 ? "Index up" : "Index dn", &lists[i]);
        if (lists[i].n % 2 == 0)
            return luaL_error(L, "Error in LuaOperatorNewCF, Lenght of Index (%d) is not equal to 2l+1 (%d)\n",
                              (int)lists[i].n, 2 * (((int)lists[i].n - 1) / 2) + 1);
    }
    for (int i = 0; i + 1 < nlist; i += 2) {
        int lup = ((int)lists[i].n - 1) / 2, ldn = ((int)lists[i + 1].n - 1) / 2;
        if (lup != ldn)
            return luaL_error(L,
                              "Error in LuaOperatorNewCF, Index of spin up and spin down should relate to the same "
                              "angular momentum (%d != %d)\n",
                              lup, ldn);
    }
    struct ExpansionGuard {
        HarmonicsExpansion* p;
        ~ExpansionGuard() { FreeHarmonicsExpansion(p); }
    } expansion{luaL_checkarray_HarmonicsExpansion(L, nargs + 1)};
    const uint16_t *up1 = lists[0].p, *dn1, *up2, *dn2;
    if (nargs == 3) {
        dn1 = up2 = dn2 = up1;
        for (uint32_t e = 0; e < expansion.p->N; e++) {
            expansion.p->VRe[e] *= 0.5;
            expansion.p->VIm[e] *= 0.5;
        }
    } else if (nargs == 4) {
        dn1 = dn2 = lists[1].p;
        up2 = up1;
    } else {
        dn1 = lists[1].p;
        up2 = lists[2].p;
        dn2 = lists[3].p;
    }
    int l1 = ((int)lists[0].n - 1) / 2;
    int l2 = nargs == 6 ? ((int)lists[2].n - 1) / 2 : l1;
    return BuildAndPush(L, who, [&](OperatorType* O) {
        return CreateOperatorCF(NF, l1, l2, up1, dn1, up2, dn2, expansion.p, O);
    });
}
