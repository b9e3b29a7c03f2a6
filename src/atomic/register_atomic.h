// The script names of atomic physics: orbital names, index tables and basis
// changes of shells as globals, and the named operators of NewOperator.
#ifndef SKELDA_ATOMIC_REGISTER_ATOMIC_H
#define SKELDA_ATOMIC_REGISTER_ATOMIC_H

#include <lua.hpp>

void LuaRegisterAtomic(lua_State* L);

#endif
