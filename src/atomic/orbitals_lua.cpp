// Script faces of the orbital-name conversions.
#include "atomic/orbitals_lua.h"

#include "atomic/orbitals.h"
#include "base/options.h"

int LuaOrbToMultiplicity(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 1) {
        return luaL_error(L, "OrbToMultiplicity called with %d arguments. Only name of the orbital expected.\n",
                          n);
    }
    size_t len = 0;
    const char* s = luaL_checklstring(L, 1, &len);
    lua_pushinteger(L, orbToMultiplicity(std::string(s, len)));
    return 1;
}

int LuaRelToNonRelOrbitals(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 1) {
        return luaL_error(L, "RelToNonRelOrbitals called with %d arguments. Only list of orbitals expected.\n",
                          n);
    }
    LuaPushVector_string(L, relToNonRelOrbs(luaL_checkarray_string(L, 1)));
    return 1;
}

int LuaNonRelToRelOrbitals(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 1) {
        return luaL_error(L, "NonRelToRelOrbitals called with %d arguments. Only list of orbitals expected.\n",
                          n);
    }
    LuaPushVector_string(L, nonRelToRelOrbs(luaL_checkarray_string(L, 1)));
    return 1;
}
