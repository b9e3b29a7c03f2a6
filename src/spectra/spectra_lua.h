// The script object Spectra_Type (a userdata holding a SpectraTypeArray) and
// the library table Spectra.
//
// A spectra object never changes: every operation returns a new one.  Its
// methods are called with a dot and without self (S.Broaden(0.1, 0.2)); they
// act on the object indexed last.
#ifndef SKELDA_SPECTRA_SPECTRA_LUA_H
#define SKELDA_SPECTRA_SPECTRA_LUA_H

#include <lua.hpp>

#include "spectra/spectra.h"

#define SPECTRA_TYPE_NAME "Spectra_Type"

// The array of a Spectra_Type userdata at idx, or null.
SpectraTypeArray* luaL_testSpectra(lua_State* L, int idx);
// The same, raising the stock argument error for any other value.
SpectraTypeArray* luaL_checkSpectra(lua_State* L, int idx);
// Pushes a new object that takes over S (an array from malloc of n spectra).
void LuaPushSpectra(lua_State* L, SpectraType* S, uint32_t n);
// The plain-table form of n spectra.
void LuaPushTable_SpectraTypeArray(lua_State* L, const SpectraType* S, uint32_t n);

// Spectra_Type, its metatable and the table Spectra.
void LuaRegisterSpectraType(lua_State* L);

#endif
