// Push functions: C arrays and vectors handed back to the script as lists.
#include "base/options.h"

void LuaPushArray_double(lua_State* L, const double* a, unsigned int n) {
    lua_createtable(L, (int)n, 0);
    for (unsigned int i = 0; i < n; i++) {
        lua_pushnumber(L, a[i]);
        lua_rawseti(L, -2, (int)(i + 1));
    }
}

void LuaPushArray_uint32_t(lua_State* L, const uint32_t* a, unsigned int n) {
    lua_createtable(L, (int)n, 0);
    for (unsigned int i = 0; i < n; i++) {
        lua_pushnumber(L, (lua_Number)a[i]);
        lua_rawseti(L, -2, (int)(i + 1));
    }
}

// A number where the imaginary part is exactly zero, a Complex_Type object
// (16 bytes holding the Complex16) otherwise.
void LuaPushArray_Complex16(lua_State* L, const Complex16* a, unsigned int n) {
    lua_createtable(L, (int)n, 0);
    for (unsigned int i = 0; i < n; i++) {
        if (a[i].im == 0.0) {
            lua_pushnumber(L, a[i].re);
        } else {
            Complex16* z = (Complex16*)lua_newuserdata(L, sizeof(Complex16));
            *z = a[i];
            luaL_setmetatable(L, "Complex_Type");
        }
        lua_rawseti(L, -2, (int)(i + 1));
    }
}

void LuaPushVector_string(lua_State* L, const std::vector<std::string>& v) {
    lua_createtable(L, (int)v.size(), 0);
    for (size_t i = 0; i < v.size(); i++) {
        lua_pushlstring(L, v[i].data(), v[i].size());
        lua_rawseti(L, -2, (int)(i + 1));
    }
}
