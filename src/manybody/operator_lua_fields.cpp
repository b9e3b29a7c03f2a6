// The operator userdata: reading and pushing it, its fields, its dot methods,
// its text form and its finaliser.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/released.h"
#include "base/currentudata.h"
#include "base/options.h"
#include "manybody/operator_algebra.h"
#include "manybody/operator_lua.h"
#include "manybody/operator_lua_internal.h"
#include "manybody/operator_text.h"

namespace {

// Tolerance of O.Chop() without an argument.
const double DefaultChopTolerance = 1e-10;

OperatorType* CurrentOperator(lua_State* L, const char* method) {
    return static_cast<OperatorType*>(LuaCheckCurrentUdata(L, OPERATOR_TYPE_NAME, method, "an operator"));
}

bool KeyIs(const char* key, const char* name) { return strcmp(key, name) == 0; }

// O.N: the number of terms of each length, indexed from 0.
void PushTermCounts(lua_State* L, const OperatorType& O) {
    lua_createtable(L, (int)O.MaxLength, 1);
    for (uint32_t k = 0; O.l != nullptr && k <= O.MaxLength; k++) {
        lua_pushinteger(L, (lua_Integer)O.l[k].N);
        lua_rawseti(L, -2, (int)k);
    }
}

// O.Restrictions: {NF, NB, {mask, min, max}, ...}, each mask its bytes in
// two hexadecimal digits each.
void PushRestrictions(lua_State* L, const OperatorType& O) {
    const DeterminantRestrictionType& R = O.Restrictions;
    lua_createtable(L, (int)R.NRestriction + 2, 0);
    lua_pushinteger(L, (lua_Integer)O.NF);
    lua_rawseti(L, -2, 1);
    lua_pushinteger(L, (lua_Integer)O.NB);
    lua_rawseti(L, -2, 2);
    for (uint32_t r = 0; r < R.NRestriction; r++) {
        lua_createtable(L, 3, 0);
        luaL_Buffer b;
        luaL_buffinit(L, &b);
        for (uint32_t w = 0; w < O.NWord; w++) {
            char hex[3];
            snprintf(hex, sizeof hex, "%02X", (unsigned int)R.Mask[r][w]);
            luaL_addlstring(&b, hex, 2);
        }
        luaL_pushresult(&b);
        lua_rawseti(L, -2, 1);
        lua_pushinteger(L, (lua_Integer)R.MinOcc[r]);
        lua_rawseti(L, -2, 2);
        lua_pushinteger(L, (lua_Integer)R.MaxOcc[r]);
        lua_rawseti(L, -2, 3);
        lua_rawseti(L, -2, (int)r + 3);
    }
}

// NF or NB written through __newindex: the new count of one kind, the other
// kept.  Changing to bosons is refused after the range test.
void ChangeModeCount(lua_State* L, OperatorType* O, bool fermions) {
    const int64_t v = luaL_checkinteger64(L, 3);
    const uint32_t other = fermions ? O->NB : O->NF;
    if (v < 0 || v + (int64_t)other > (int64_t)oplua::MaxOperatorModes) {
        if (fermions)
            luaL_error(L, "Maximum number of fermions + bosons allowed is 2^15 = 32768\nTrying to change the number "
                          "of fermions from %d to %d with %d bosons\n",
                       (int)O->NF, (int)v, (int)O->NB);
        luaL_error(L, "Maximum number of fermions + bosons allowed is 2^15 = 32768\nTrying to change the number of "
                      "bosons from %d to %d with %d fermions\n",
                   (int)O->NB, (int)v, (int)O->NF);
    }
    if (!fermions && v != 0) luaL_error(L, "Current version does not suport Bosons\n");
    const uint32_t NF = fermions ? (uint32_t)v : O->NF;
    const uint32_t NB = fermions ? O->NB : (uint32_t)v;
    if (OperatorChangeNFandNB(O, NF, NB) != 0) {
        luaL_error(L, "Error in changing the number of modes of operator %s, OperatorChangeNFandNB failed\n",
                   O->Name);
    }
}

// O.Restrictions = {NF, NB, {mask, min, max}, ...} or nil.
void SetRestrictions(lua_State* L, OperatorType* O) {
    if (lua_isnil(L, 3)) {
        FreeDeterminantRestriction(&O->Restrictions);
        return;
    }
    DeterminantRestrictionType R;
    uint32_t nf = 0, nb = 0;
    luaL_setarray_DeterminatRestrictionType(L, 3, &R, &nf, &nb);
    if (nf != O->NF || nb != O->NB) {
        FreeDeterminantRestriction(&R);
        if (nf != O->NF)
            luaL_error(L, "Number of Fermions in definition of restrictions (%d) not the same as number of Fermions "
                          "in operator (%d)\n",
                       (int)nf, (int)O->NF);
        luaL_error(L, "Number of Bosons in definition of restrictions (%d) not the same as number of Bosons in "
                      "operator (%d)\n",
                   (int)nb, (int)O->NB);
    }
    FreeDeterminantRestriction(&O->Restrictions);
    O->Restrictions = R;
}

// Pushes a new operator made from the current one by a conjugation.
int PushConjugated(lua_State* L, const char* method, bool conjugate) {
    OperatorType* O = CurrentOperator(L, method);
    OperatorType R;
    oplua::RetryAfterCollect(
        L,
        [&]() {
            return conjugate ? OperatorConjugateTransposeNormalOrder(*O, &R, oplua::NormalOrder)
                             : OperatorTransposeNormalOrder(*O, &R, oplua::NormalOrder);
        },
        conjugate ? "out of memory when taking the conjugate transpose of an operator"
                  : "out of memory when taking the transpose of an operator");
    LuaPushOperator(L, &R);
    return 1;
}

}  // namespace

OperatorType* luaL_testOperator(lua_State* L, int idx) {
    return static_cast<OperatorType*>(luaL_testudata(L, idx, OPERATOR_TYPE_NAME));
}

OperatorType* luaL_checkOperator(lua_State* L, int idx) {
    return static_cast<OperatorType*>(luaL_checkudata(L, idx, OPERATOR_TYPE_NAME));
}

int LuaKindOperator(lua_State* L, int idx) { return luaL_testOperator(L, idx) != nullptr ? 1 : 0; }

void LuaPushOperator(lua_State* L, OperatorType* O) {
    OperatorRecountQComplex(O);
    OperatorType* ud = nullptr;
    try {
        ud = static_cast<OperatorType*>(lua_newuserdata(L, sizeof(OperatorType)));
    } catch (...) {
        FreeOperator(O);
        throw;
    }
    *ud = *O;
    luaL_setmetatable(L, OPERATOR_TYPE_NAME);
    if (lua_gc(L, LUA_GCISRUNNING, 0)) lua_gc(L, LUA_GCSTEP, 0);
}

int LuaOperatorIndex(lua_State* L) {
    OperatorType* O = luaL_checkOperator(L, 1);
    LuaSetCurrentUdata(L, 1, OPERATOR_TYPE_NAME);
    const char* key = lua_type(L, 2) == LUA_TSTRING ? lua_tostring(L, 2) : "";
    if (KeyIs(key, "Print")) {
        lua_pushcfunction(L, LuaOperatorPrint);
    } else if (KeyIs(key, "Chop")) {
        lua_pushcfunction(L, LuaOperatorChop);
    } else if (KeyIs(key, "Conjugate")) {
        lua_pushcfunction(L, LuaOperatorConjugate);
    } else if (KeyIs(key, "Dag") || KeyIs(key, "ConjugateTranspose") || KeyIs(key, "CT")) {
        lua_pushcfunction(L, LuaOperatorDag);
    } else if (KeyIs(key, "Transpose")) {
        lua_pushcfunction(L, LuaOperatorTranspose);
    } else if (KeyIs(key, "Name")) {
        lua_pushstring(L, O->Name);
    } else if (KeyIs(key, "NF")) {
        lua_pushinteger(L, (lua_Integer)O->NF);
    } else if (KeyIs(key, "NB")) {
        lua_pushinteger(L, (lua_Integer)O->NB);
    } else if (KeyIs(key, "Complex")) {
        lua_pushboolean(L, O->QComplex != 0);
    } else if (KeyIs(key, "N")) {
        PushTermCounts(L, *O);
    } else if (KeyIs(key, "Restrictions")) {
        if (O->Restrictions.NRestriction == 0) {
            lua_pushnil(L);
        } else {
            PushRestrictions(L, *O);
        }
    } else {
        return luaL_error(L, "Error operator variable not found");
    }
    return 1;
}

int LuaOperatorNewIndex(lua_State* L) {
    OperatorType* O = luaL_checkOperator(L, 1);
    const int t = lua_type(L, 2);
    const char* key = (t == LUA_TSTRING || t == LUA_TNUMBER) ? lua_tostring(L, 2) : luaL_tolstring(L, 2, nullptr);
    if (KeyIs(key, "Name")) {
        OperatorSetName(O, luaL_checkstring(L, 3));
    } else if (KeyIs(key, "NF")) {
        ChangeModeCount(L, O, true);
    } else if (KeyIs(key, "NB")) {
        ChangeModeCount(L, O, false);
    } else if (KeyIs(key, "Restrictions")) {
        SetRestrictions(L, O);
    } else if (KeyIs(key, "N")) {
        return luaL_error(L,
                          "Errorr, you can not change the value representing the number of operators in %s\nIf you "
                          "add or subtract something from the operator the number will follow automatically.",
                          O->Name);
    } else if (KeyIs(key, "Complex")) {
        return luaL_error(L,
                          "Errorr, you can not change the value Complex of an operator %s.\nIn order to change you "
                          "have to modify the operator itselves, the value of Complex will follow automatically.",
                          O->Name);
    } else {
        return luaL_error(L, "Error index %s not found in Operator Object\n", key);
    }
    return 0;
}

int LuaOperatorPrint(lua_State* L) {
    OperatorType* O = CurrentOperator(L, "Print");
    const int nargs = lua_gettop(L);
    if (nargs > 1) return luaL_error(L, "Error in .Print(arg) unrecognized arguments in Print()\n");
    const char* fileName = nullptr;
    uint8_t full = 0;
    if (nargs == 1) {
        LuaOptionsType options[] = {
            {"file", "char*", &fileName},
            {"Full", "bool", &full},
            {nullptr, nullptr, nullptr},
        };
        LuaCheckOptions(L, 1, options);
    }
    FILE* file = stdout;
    if (fileName != nullptr) {
        file = fopen(fileName, "w");
        if (file == nullptr) return luaL_error(L, "ERROR\nCan't open %s for writing with mode %s.\n", fileName, "w");
    }
    if (full) {
        StreamPrintOperatorFullReadable(*O, file);
    } else {
        StreamPrintOperatorReadable(*O, file);
    }
    if (fileName != nullptr) {
        fclose(file);
    } else {
        fflush(stdout);
    }
    return 0;
}

int LuaOperatorChop(lua_State* L) {
    OperatorType* O = CurrentOperator(L, "Chop");
    const int nargs = lua_gettop(L);
    if (nargs > 1) return luaL_error(L, "Errorr, call to chop with %d arguments, expected 0 or 1\n", nargs);
    const double eps = nargs == 1 ? luaL_checknumber(L, 1) : DefaultChopTolerance;
    if (OperatorRemoveSmallValues(O, eps) != 0)
        return luaL_error(L, "Error in .Chop() of operator %s, OperatorRemoveSmallValues failed\n", O->Name);
    return 0;
}

int LuaOperatorConjugate(lua_State* L) {
    OperatorComplexConjugate(CurrentOperator(L, "Conjugate"));
    return 0;
}

int LuaOperatorDag(lua_State* L) { return PushConjugated(L, "Dag", true); }

int LuaOperatorTranspose(lua_State* L) { return PushConjugated(L, "Transpose", false); }

int LuaOperatorToString(lua_State* L) {
    OperatorType* O = luaL_checkOperator(L, 1);
    char* text = StringPrintOperatorReadable(*O);
    if (text == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        text = StringPrintOperatorReadable(*O);
        if (text == nullptr) return luaL_error(L, "Error in tostring of an operator, out of memory\n");
    }
    try {
        lua_pushstring(L, text);
    } catch (...) {
        free(text);
        throw;
    }
    free(text);
    return 1;
}

int LuaOperatorDestroy(lua_State* L) {
    FreeOperator(luaL_checkOperator(L, 1));
    LuaMarkReleased(L, 1);
    return 0;
}
