// Wave functions in scripts: the constructor NewWavefunction, the
// metatable "Wavefunction_Type" with its text form and its finaliser, its
// registration and the pushers of new states.  Fields and dot methods are in
// wavefunction_lua_fields.cpp, arithmetic in wavefunction_lua_arith.cpp, the
// global functions in wavefunction_lua_functions.cpp and
// wavefunction_lua_orthonormalize.cpp.
#include <cstdlib>
#include <cstring>

#include "base/released.h"
#include "base/complex16.h"
#include "base/options.h"
#include "manybody/wavefunction_lua.h"
#include "manybody/wavefunction_lua_internal.h"

namespace {

const char* const kWavefunctionType = WAVEFUNCTION_TYPE_NAME;

// Fills det (NWord bytes) from entry number k of the list: a text such as
// "1100" or a table of NWord byte values.  The determinant is on the top of
// the stack.
void ReadDeterminant(lua_State* L, int k, uint32_t NF, uint32_t NB, uint32_t nword, uint8_t* det) {
    if (lua_type(L, -1) == LUA_TSTRING) {
        size_t len = 0;
        const char* text = lua_tolstring(L, -1, &len);
        if (len < (size_t)NF + 2 * (size_t)NB)
            luaL_error(L,
                       "Error in LuaWavefunctionNew, length of string(%d) different from NFermion(%d)+2*NBoson(%d)\n",
                       (int)len, (int)NF, (int)NB);
        uint8_t* parsed = StringToDet(NF, NB, text);
        if (parsed == nullptr) luaL_error(L, "Error in LuaWavefunctionNew, out of memory\n");
        memcpy(det, parsed, nword);
        free(parsed);
        return;
    }
    if (lua_type(L, -1) == LUA_TTABLE) {
        if (luaL_len(L, -1) != (lua_Integer)nword)
            luaL_error(L, "Error in LuaWavefunctionNew, determinant number %d should be a table of %d words\n", k,
                       (int)nword);
        for (uint32_t w = 0; w < nword; w++) {
            lua_rawgeti(L, -1, (int)w + 1);
            det[w] = (uint8_t)(int64_t)luaL_checknumber(L, -1);
            lua_pop(L, 1);
        }
        return;
    }
    luaL_error(L, "Error in LuaWavefunctionNew, determinant number %d is not of the form {Determinant,prefactor}\n",
               k);
}

// The prefactor on the top of the stack: a number, a numeric text or a
// Complex.  *isComplex tells which.
Complex16 ReadPrefactor(lua_State* L, bool* isComplex) {
    if (lua_isnumber(L, -1)) {
        *isComplex = false;
        return Cnum(lua_tonumber(L, -1), 0.0);
    }
    *isComplex = true;
    return *static_cast<Complex16*>(luaL_checkudata(L, -1, "Complex_Type"));
}

int InitWithRetry(lua_State* L, WaveFunctionType* psi, uint32_t QComplex, uint32_t NF, uint32_t NB, uint32_t nbits) {
    for (int attempt = 0; attempt < 2; attempt++) {
        psi->QComplex = QComplex;
        psi->NFermion = NF;
        psi->NBoson = NB;
        psi->NBitsKey = nbits;
        if (WaveFunctionInit(psi) == 0) return 0;
        lua_gc(L, LUA_GCCOLLECT, 0);
    }
    return 1;
}

}  // namespace

int LuaNewWaveFunction(lua_State* L) {
    const int nargs = lua_gettop(L);
    const uint32_t NF = (uint32_t)luaL_checkunsigned(L, 1);
    const uint32_t NB = (uint32_t)luaL_checkunsigned(L, 2);
    if (NB != 0) return luaL_error(L, "Bosons not included in this version\n Sorry\n");
    if (nargs != 3 && nargs != 4)
        return luaL_error(L, "ERROR: LuaNewWaveFunction called with %d arguments, expectd 3 or 4\n", nargs);

    const char* name = nullptr;
    uint32_t nbits = 16;
    if (nargs == 4) {
        // A plain number in place of the options is accepted and changes
        // nothing: only the option form sets the key width.
        if (lua_isnumber(L, 4)) {
            (void)lua_tonumber(L, 4);
        } else {
            LuaOptionsType options[] = {
                {"Name", "char*", &name},
                {"NBitsKey", "uint32_t", &nbits},
                {nullptr, nullptr, nullptr},
            };
            LuaCheckOptions(L, 4, options);
        }
    }
    luaL_checktype(L, 3, LUA_TTABLE);

    // The state is built complex and made real at the end if no prefactor
    // was a Complex.  Once the metatable is set, an error below leaves the
    // store to the finaliser.
    WaveFunctionType* psi = static_cast<WaveFunctionType*>(lua_newuserdata(L, sizeof(WaveFunctionType)));
    const int psiIndex = lua_gettop(L);
    if (InitWithRetry(L, psi, 1, NF, NB, nbits))
        return luaL_error(L, "WaveFunctionInit failed, your most probably out of memory");
    luaL_setmetatable(L, kWavefunctionType);
    if (name != nullptr) {
        strncpy(psi->Name, name, 255);
        psi->Name[255] = 0;
    }

    const uint32_t nword = psi->NWord;
    uint8_t* det = static_cast<uint8_t*>(lua_newuserdata(L, nword > 0 ? nword : 1));
    bool anyComplex = false;
    const int count = (int)luaL_len(L, 3);
    for (int k = 1; k <= count; k++) {
        lua_rawgeti(L, 3, k);
        if (!lua_istable(L, -1) || luaL_len(L, -1) != 2)
            return luaL_error(
                L, "Error in LuaWavefunctionNew, determinant number %d is not of the form {Determinant,prefactor}\n",
                k);
        lua_rawgeti(L, -1, 1);
        ReadDeterminant(L, k, NF, NB, nword, det);
        lua_pop(L, 1);
        lua_rawgeti(L, -1, 2);
        bool isComplex = false;
        Complex16 value = ReadPrefactor(L, &isComplex);
        anyComplex = anyComplex || isComplex;
        lua_pop(L, 2);

        CheckDetPhysical(det, NF, NB);
        if (ComplexWaveFunctionAddElement(psi, det, value.re, value.im)) {
            lua_gc(L, LUA_GCCOLLECT, 0);
            if (ComplexWaveFunctionAddElement(psi, det, value.re, value.im))
                return luaL_error(L, "Error in LuaWavefunctionNew, out of memory at determinant number %d\n", k);
        }
    }

    if (!anyComplex) {
        for (uint32_t b = 0; b < psi->NBlok; b++) free(psi->ValueIm[b]);
        free(psi->ValueIm);
        psi->ValueIm = nullptr;
        psi->QComplex = 0;
    }
    lua_pushvalue(L, psiIndex);
    return 1;
}

int LuaWavefunctionToString(lua_State* L) {
    WaveFunctionType* psi = static_cast<WaveFunctionType*>(luaL_checkudata(L, 1, kWavefunctionType));
    char* text = StringPrintWaveFunctionReadable(*psi);
    if (text == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        text = StringPrintWaveFunctionReadable(*psi);
        if (text == nullptr) return luaL_error(L, "Error in tostring of a wavefunction, out of memory\n");
    }
    lua_pushstring(L, text);
    free(text);
    return 1;
}

int LuaWavefunctionDestroy(lua_State* L) {
    WaveFunctionType* psi = static_cast<WaveFunctionType*>(luaL_checkudata(L, 1, kWavefunctionType));
    WaveFunctionFree(psi);
    LuaMarkReleased(L, 1);
    return 0;
}

void LuaRegisterWavefunctionType(lua_State* L) {
    static const luaL_Reg methods[] = {
        {"__add", LuaWavefunctionAdd},
        {"__sub", LuaWavefunctionSub},
        {"__mul", LuaWavefunctionMul},
        {"__div", LuaWavefunctionDiv},
        {"__unm", LuaWavefunctionUnm},
        {"__index", LuaWavefunctionIndex},
        {"__newindex", LuaWavefunctionNewIndex},
        {"__tostring", LuaWavefunctionToString},
        {"__gc", LuaWavefunctionDestroy},
        {nullptr, nullptr},
    };
    luaL_newmetatable(L, kWavefunctionType);
    luaL_setfuncs(L, methods, 0);
    lua_pop(L, 1);
    LuaRegisterWavefunctionComplexRow();
}

void LuaPushWaveFunction(lua_State* L, const WaveFunctionType& psi) {
    WaveFunctionType* ud = wflua::PushEmpty(L);
    *ud = psi;
}

namespace wflua {

WaveFunctionType* PushEmpty(lua_State* L) {
    WaveFunctionType* ud = static_cast<WaveFunctionType*>(lua_newuserdata(L, sizeof(WaveFunctionType)));
    memset(ud, 0, sizeof(WaveFunctionType));
    luaL_setmetatable(L, kWavefunctionType);
    return ud;
}

void PushList(lua_State* L, WaveFunctionArray* list, uint64_t count) {
    lua_createtable(L, (int)count, 0);
    for (uint64_t k = 0; k < count; k++) {
        WaveFunctionType* ud = PushEmpty(L);
        *ud = list->psi[k];
        memset(&list->psi[k], 0, sizeof(WaveFunctionType));
        lua_rawseti(L, -2, (int)(k + 1));
    }
    CollectStep(L);
}

}  // namespace wflua
