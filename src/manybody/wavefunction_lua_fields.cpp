// Fields of wave functions in scripts: reading (__index) and writing
// (__newindex) them, and the dot methods that __index hands out.
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/complex_lua.h"
#include "base/currentudata.h"
#include "base/chop.h"
#include "base/options.h"
#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_expand.h"
#include "manybody/wavefunction_lua.h"
#include "manybody/wavefunction_lua_internal.h"

namespace {

// Largest number of fermionic plus bosonic modes a state may have.
const int64_t kMaxModes = 65535;

WaveFunctionType* Current(lua_State* L, const char* method) {
    return static_cast<WaveFunctionType*>(LuaCheckCurrentUdata(L, WAVEFUNCTION_TYPE_NAME, method, "a wavefunction"));
}

bool KeyIs(const char* key, const char* name) { return strcmp(key, name) == 0; }

// The key at idx as text: strings and numbers as they are, other values by
// their printed form.
const char* KeyText(lua_State* L, int idx) {
    const char* key = lua_tostring(L, idx);
    return key != nullptr ? key : luaL_tolstring(L, idx, nullptr);
}

int ClampToInt(double x) {
    if (!(x > (double)INT_MIN)) return x != x ? 0 : INT_MIN;
    if (x > (double)INT_MAX) return INT_MAX;
    return (int)x;
}

int ClampToInt(int64_t x) { return x > INT_MAX ? INT_MAX : x < INT_MIN ? INT_MIN : (int)x; }

// An element index 1..N read from idx: 1 and *index when it is a number
// with an integer value in range; 0 with *shown (the number as the message
// shows it) for other numbers; -1 for any other value.
int ReadElementIndex(lua_State* L, int idx, const WaveFunctionType& psi, uint32_t* index, int* shown) {
    if (lua_type(L, idx) != LUA_TNUMBER) return -1;
    const double x = lua_tonumber(L, idx);
    *shown = ClampToInt(x);
    if (x != std::floor(x) || x < 1.0 || x > (double)psi.N) return 0;
    *index = (uint32_t)x;
    return 1;
}

void PushPrefactor(lua_State* L, const WaveFunctionType& psi, uint32_t i) {
    if (psi.QComplex) {
        LuaPushComplex16(L, Cnum(WaveFunctionRe(psi, i), WaveFunctionIm(psi, i)));
    } else {
        lua_pushnumber(L, WaveFunctionRe(psi, i));
    }
}

// Changes the number of fermionic and bosonic modes of psi in place.
void ChangeModes(lua_State* L, WaveFunctionType* psi, uint32_t NF, uint32_t NB) {
    const char* message = lua_pushfstring(
        L, "Error in WaveFunctionChangeNFandNB, out of memory while changing the number of modes of %s\n", psi->Name);
    wflua::RetryAfterCollect(
        L, [&] { return WaveFunctionChangeNFandNB(psi, NF, NB); }, message);
}

}  // namespace

int LuaWavefunctionIndex(lua_State* L) {
    WaveFunctionType* psi = wflua::Check(L, 1);
    LuaSetCurrentUdata(L, 1, WAVEFUNCTION_TYPE_NAME);
    const char* key = KeyText(L, 2);
    if (KeyIs(key, "Chop")) {
        lua_pushcfunction(L, LuaWavefunctionChop);
    } else if (KeyIs(key, "Complex")) {
        lua_pushboolean(L, psi->QComplex != 0);
    } else if (KeyIs(key, "Conjugate")) {
        lua_pushcfunction(L, LuaWavefunctionConjugate);
    } else if (KeyIs(key, "Det")) {
        lua_pushcfunction(L, LuaWavefunctionDet);
    } else if (KeyIs(key, "PrefactorDet")) {
        lua_pushcfunction(L, LuaWavefunctionPrefactorDet);
    } else if (KeyIs(key, "Print")) {
        lua_pushcfunction(L, LuaWavefunctionPrint);
    } else if (KeyIs(key, "Randomize")) {
        lua_pushcfunction(L, LuaWavefunctionRandomize);
    } else if (KeyIs(key, "N")) {
        lua_pushnumber(L, (lua_Number)psi->N);
    } else if (KeyIs(key, "Name")) {
        lua_pushstring(L, psi->Name);
    } else if (KeyIs(key, "NBitsKey")) {
        lua_pushnumber(L, (lua_Number)psi->NBitsKey);
    } else if (KeyIs(key, "NF")) {
        lua_pushnumber(L, (lua_Number)psi->NFermion);
    } else if (KeyIs(key, "Normalize")) {
        lua_pushcfunction(L, LuaWavefunctionNormalize);
    } else if (KeyIs(key, "NB")) {
        lua_pushnumber(L, (lua_Number)psi->NBoson);
    } else {
        return luaL_error(L, "Error operation \".%s()\" not defined on wavefunction\n", key);
    }
    return 1;
}

int LuaWavefunctionNewIndex(lua_State* L) {
    WaveFunctionType* psi = wflua::Check(L, 1);
    const char* key = KeyText(L, 2);
    if (KeyIs(key, "Name")) {
        const char* name = luaL_checkstring(L, 3);
        strncpy(psi->Name, name, 255);
        psi->Name[255] = 0;
    } else if (KeyIs(key, "NBitsKey")) {
        const uint32_t nbits = (uint32_t)luaL_checkinteger64(L, 3);
        wflua::RetryAfterCollect(
            L,
            [&] {
                return psi->QComplex ? ComplexWaveFunctionResetKeylist(psi, nbits)
                                     : RealWaveFunctionResetKeylist(psi, nbits);
            },
            "Internal error in WaveFunctionResetKeylist\n");
    } else if (KeyIs(key, "NF")) {
        const int64_t NF = luaL_checkinteger64(L, 3);
        if (NF < 0 || NF + (int64_t)psi->NBoson > kMaxModes)
            return luaL_error(L,
                              "Maximum number of fermions + bosons allowed is 2^16 = 65535\nTrying to change the "
                              "number of fermions from %d to %d with %d bosons\n",
                              (int)psi->NFermion, ClampToInt(NF), (int)psi->NBoson);
        ChangeModes(L, psi, (uint32_t)NF, psi->NBoson);
    } else if (KeyIs(key, "NB")) {
        const int64_t NB = luaL_checkinteger64(L, 3);
        if (NB < 0 || NB + (int64_t)psi->NFermion > kMaxModes)
            return luaL_error(L,
                              "Maximum number of fermions + bosons allowed is 2^16 = 65535\nTrying to change the "
                              "number of bosons from %d to %d with %d fermions\n",
                              (int)psi->NBoson, ClampToInt(NB), (int)psi->NFermion);
        if (NB != 0) return luaL_error(L, "Current version does not suport Bosons\n");
        ChangeModes(L, psi, psi->NFermion, 0);
    } else if (KeyIs(key, "N")) {
        return luaL_error(L,
                          "Errorr, you can not change the value representing the number of determinants in %s\nIf "
                          "you add or remove determinants from the wavefunction the number will follow "
                          "automatically.",
                          psi->Name);
    } else if (KeyIs(key, "Complex")) {
        return luaL_error(L,
                          "Errorr, you can not change the value Complex of a wavefunction %s.\nIn order to change "
                          "you have to modify the wavefunction itselves, the value of Complex will follow "
                          "automatically.",
                          psi->Name);
    } else if (KeyIs(key, "Det") || KeyIs(key, "PrefactorDet")) {
        return luaL_error(L, "Errorr, you can not change the value of a determiant via indexing for wavefunction %s",
                          psi->Name);
    } else {
        return luaL_error(L, "Error index %s not found in Wavefunction Object\n", key);
    }
    return 0;
}

// ------------------------------------------------------------- dot methods

int LuaWavefunctionChop(lua_State* L) {
    WaveFunctionType* psi = Current(L, "Chop");
    const int nargs = lua_gettop(L);
    if (nargs > 1) return luaL_error(L, "Errorr, call to chop with %d arguments, expected 0 or 1\n", nargs);
    const double eps = nargs == 1 ? luaL_checknumber(L, 1) : kChopDefaultTolerance;
    wflua::RetryAfterCollect(
        L,
        [&] {
            return psi->QComplex ? ComplexWaveFunctionTruncateBasisAllowReal(psi, eps)
                                 : RealWaveFunctionTruncateBasis(psi, eps);
        },
        "Error in .Chop(), out of memory\n");
    return 0;
}

int LuaWavefunctionConjugate(lua_State* L) {
    WaveFunctionConjugate(*Current(L, "Conjugate"));
    return 0;
}

int LuaWavefunctionDet(lua_State* L) {
    WaveFunctionType* psi = Current(L, "Det");
    uint32_t i = 0;
    int shown = 0;
    const int got = ReadElementIndex(L, 1, *psi, &i, &shown);
    if (got < 0)
        return luaL_error(L, "Error in .Det(arg) arg should be an integer between 1 and .N (%d)\n", (int)psi->N);
    if (got == 0)
        return luaL_error(L, "Error in .Det(arg = %d) arg should be an integer between 1 and .N (%d)\n", shown,
                          (int)psi->N);

    WaveFunctionType* ud = wflua::PushEmpty(L);
    WaveFunctionType det;
    char message[96];
    snprintf(message, sizeof(message), "Error in .Det(%d) WaveFunctionInit failed out of memory?", (int)i);
    wflua::RetryAfterCollect(
        L,
        [&] {
            det.QComplex = psi->QComplex ? 1 : 0;
            det.NFermion = psi->NFermion;
            det.NBoson = psi->NBoson;
            det.NBitsKey = psi->NBitsKey;
            if (WaveFunctionInit(&det)) return 1;
            snprintf(det.Name, sizeof(det.Name), "%.240s.Det(%d)", psi->Name, (int)i);
            const uint8_t* d = WaveFunctionDet(*psi, i);
            const int failed =
                det.QComplex ? ComplexWaveFunctionAddElement(&det, d, WaveFunctionRe(*psi, i), WaveFunctionIm(*psi, i))
                             : RealWaveFunctionAddElement(&det, d, WaveFunctionRe(*psi, i));
            if (failed) WaveFunctionFree(&det);
            return failed;
        },
        message);
    *ud = det;
    return 1;
}

int LuaWavefunctionPrefactorDet(lua_State* L) {
    WaveFunctionType* psi = Current(L, "PrefactorDet");
    if (lua_type(L, 1) == LUA_TSTRING) {
        const char* text = lua_tostring(L, 1);
        uint32_t i = 0;
        wflua::RetryAfterCollect(
            L,
            [&] {
                uint8_t* det = StringToDet(psi->NFermion, psi->NBoson, text);
                if (det == nullptr) return 1;
                i = WaveFunctionIndexDet(psi, det);
                free(det);
                return 0;
            },
            "Error in .PrefactorDet(arg) out of memory\n");
        PushPrefactor(L, *psi, i);  // index 0 reads 0
        return 1;
    }
    uint32_t i = 0;
    int shown = 0;
    const int got = ReadElementIndex(L, 1, *psi, &i, &shown);
    if (got < 0)
        return luaL_error(L,
                          "Error in .PrefactorDet(arg) arg should be an integer between 1 and .N (%d) or a string "
                          "representing the determinant\n",
                          (int)psi->N);
    if (got == 0)
        return luaL_error(L,
                          "Error in .PrefactorDet(arg = %d) arg should be an integer between 1 and .N (%d) or a "
                          "string representing the determinant\n",
                          shown, (int)psi->N);
    PushPrefactor(L, *psi, i);
    return 1;
}

int LuaWavefunctionPrint(lua_State* L) {
    WaveFunctionType* psi = Current(L, "Print");
    const int nargs = lua_gettop(L);
    if (nargs == 0) {
        StreamPrintWaveFunctionReadable(*psi, stdout);
        return 0;
    }
    if (nargs != 1 || !LuaTestOptionsList(L, 1))
        return luaL_error(L, "Error in .Print(arg) unrecognized arguments in Print()\n");
    const char* file = nullptr;
    uint8_t full = 0, binary = 0;
    LuaOptionsType options[] = {
        {"file", "char*", &file},
        {"Full", "bool", &full},
        {"Binary", "bool", &binary},
        {nullptr, nullptr, nullptr},
    };
    LuaCheckOptions(L, 1, options);
    if (binary && full) return luaL_error(L, "Error in .Print(arg) Binary and full text format are exclusive\n");
    if (binary && file == nullptr)
        return luaL_error(L, "Error in .Print(arg) Binary mode only allowed for printing to file\n");

    FILE* out = stdout;
    if (file != nullptr) {
        out = fopen(file, "w");
        if (out == nullptr) return luaL_error(L, "ERROR\nCan't open %s for writing with mode %s.\n", file, "w");
    }
    if (binary) {
        StreamPrintWaveFunctionPlainBinary(*psi, out);
    } else if (full) {
        StreamPrintWaveFunctionFullReadable(*psi, out);
    } else {
        StreamPrintWaveFunctionReadable(*psi, out);
    }
    if (out != stdout) fclose(out);
    return 0;
}

// A state without elements has nothing to draw: the kernel says so and the
// state stays as it is.
int LuaWavefunctionRandomize(lua_State* L) {
    WaveFunctionRandomize(Current(L, "Randomize"));
    return 0;
}

// A state of norm 0 can not be normalised: the kernel says so and the state
// stays as it is.
int LuaWavefunctionNormalize(lua_State* L) {
    WaveFunctionType* psi = Current(L, "Normalize");
    if (lua_gettop(L) != 0) return luaL_error(L, "Error in .Norm(arg) unrecognized arguments in Norm()\n");
    if (psi->QComplex) {
        ComplexWaveFunctionNormalize(*psi);
    } else {
        RealWaveFunctionNormalize(*psi);
    }
    return 0;
}
