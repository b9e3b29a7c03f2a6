// The table math: every function of the base, numeric and atomic layers
// under its name and its capitalised twin, and the same names as globals.
#ifndef SKELDA_HOST_MATHLIB_TABLE_H
#define SKELDA_HOST_MATHLIB_TABLE_H

#include <lua.hpp>

extern const luaL_Reg kMathLibraryFunctions[];

// Builds the table math (also package.loaded.math).
void LuaRegisterMathLibrary(lua_State* L);

// Sets every function of math as a global.
void LuaRegisterMathGlobals(lua_State* L);

#endif
