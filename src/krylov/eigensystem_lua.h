// Eigensystem(H, ...) for many-body operators: the lowest states of H from
// given functions or from occupation restrictions.
#ifndef SKELDA_KRYLOV_EIGENSYSTEM_LUA_H
#define SKELDA_KRYLOV_EIGENSYSTEM_LUA_H

#include <lua.hpp>

// Eigensystem(H, psi [, options]), Eigensystem(H, {psi1, ...} [, options])
// and Eigensystem(H, restrictions, N [, options]).
int LuaEigensystemOperator(lua_State* L);

// EvolveToGroundstate(H, psi [, options]) and EvolveToGroundstate(H, {psi1,
// ...} [, options]).
int LuaEvolveToGroundstate(lua_State* L);

// BlockBandDiagonalize(A, start [, options]).
int LuaBlockBandDiagonalize(lua_State* L);

#endif
