// Registration helpers that every layer uses, and the script names of the
// ground layer itself.
#ifndef SKELDA_BASE_REGISTER_BASE_H
#define SKELDA_BASE_REGISTER_BASE_H

#include <lua.hpp>

// Stores the C functions of a null-terminated list as fields of the global
// table.
void SkeldaSetGlobalFunctions(lua_State* L, const luaL_Reg* list);

// PhysicalConstants, EnergyUnits (eV at start), Complex_Type with the table
// Complex, and the global functions of stopwatches and verbosity.
void LuaRegisterBase(lua_State* L);

#endif
