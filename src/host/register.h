// The places where every part of the system puts its names into the
// interpreter.  Each subsystem adds its registration call here, in the order
// that decides which name wins when two are the same.
#ifndef SKELDA_HOST_REGISTER_H
#define SKELDA_HOST_REGISTER_H

#include <lua.hpp>

// Physical constants, energy units and the complex-number type: registered
// after the stock libraries and before luaopen_ssp.
void SkeldaRegisterHostLibraries(lua_State* L);

// The global I, set after luaopen_ssp.
void SkeldaRegisterImaginaryUnit(lua_State* L);

// Stores the C functions of a null-terminated list as fields of the global
// table.
void SkeldaSetGlobalFunctions(lua_State* L, const luaL_Reg* list);

#endif
