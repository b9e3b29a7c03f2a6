// The pieces shared by the scalar and block table forms of response
// functions.
#include "response/lua_tableforms.h"

#include <cstdio>
#include <cstring>

#include "base/complex16.h"
#include "base/complex_lua.h"

namespace tableform {

const char* const kChainShape =
    "Error a Green's function represented as a tri-diagonal matrix should be a list of two lists "
    "{{a0,a1,a2,...,an},{b0,b1,b2,...,bn-1}}";
const char* const kNaturalWhat = "Green's function represented as a natural impurity orbital";
const char* const kNaturalMissing =
    "Reading Green's function represented as a natural impurity orbital without %s defined";

Form CheckForm(lua_State* L, int index) {
    if (!lua_istable(L, index)) luaL_error(L, "Error Green's function should be represented by a table");
    lua_getfield(L, index, "type");
    if (lua_isnil(L, -1)) luaL_error(L, "Error Reading Green's function without type declaration.");
    const char* type = lua_type(L, -1) == LUA_TSTRING ? lua_tostring(L, -1) : luaL_typename(L, -1);
    Form form;
    if (strcmp(type, "Tri") == 0)
        form = Form::Chain;
    else if (strcmp(type, "And") == 0)
        form = Form::Star;
    else if (strcmp(type, "ListOfPoles") == 0)
        form = Form::Poles;
    else if (strcmp(type, "NaturalImpurityOrbital") == 0 || strcmp(type, "Nat") == 0)
        form = Form::Natural;
    else
        return static_cast<Form>(luaL_error(L, "Errorr reading Greens function of unknown type (%s)", type));
    lua_pop(L, 1);
    return form;
}

bool ReadReal(lua_State* L, int index, double* x) {
    Complex16 z;
    if (LuaToComplex16(L, index, &z) == 0 || z.im != 0.0) return false;
    *x = z.re;
    return true;
}

bool ReadNumberField(lua_State* L, int index, const char* field, double* x) {
    lua_getfield(L, index, field);
    bool ok = ReadReal(L, -1, x);
    lua_pop(L, 1);
    return ok;
}

void ReadNameAndMu(lua_State* L, int index, const char* what, char* name, double* mu) {
    lua_getfield(L, index, "name");
    bool ok = lua_type(L, -1) == LUA_TSTRING || lua_type(L, -1) == LUA_TNUMBER;
    if (ok) snprintf(name, 256, "%s", lua_tostring(L, -1));
    lua_pop(L, 1);
    if (!ok) luaL_error(L, "Reading %s without name defined", what);
    if (!ReadNumberField(L, index, "mu", mu)) luaL_error(L, "Reading %s without mu defined", what);
}

void ConversionFailed(lua_State* L, const char* from, const char* to) {
    luaL_error(L, "Error converting a Green's function from %s to %s", from, to);
}

void SetResponseFunctionMeta(lua_State* L) {
    lua_getglobal(L, "ResponseFunctionMeta");
    if (lua_istable(L, -1))
        lua_setmetatable(L, -2);
    else
        lua_pop(L, 1);
}

void PushHead(lua_State* L, const char* type, const char* name, double mu) {
    lua_pushstring(L, type);
    lua_setfield(L, -2, "type");
    lua_pushstring(L, name);
    lua_setfield(L, -2, "name");
    lua_pushnumber(L, mu);
    lua_setfield(L, -2, "mu");
}

}  // namespace tableform
