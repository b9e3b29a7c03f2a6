// The script names of the Krylov solvers: ground states, eigensystems and
// tridiagonal and block-tridiagonal representations.
#ifndef SKELDA_KRYLOV_REGISTER_KRYLOV_H
#define SKELDA_KRYLOV_REGISTER_KRYLOV_H

#include <lua.hpp>

void LuaRegisterKrylov(lua_State* L);

#endif
