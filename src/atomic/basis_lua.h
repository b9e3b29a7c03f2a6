// Script faces of the basis-change matrices of atomic shells.  Each returns
// a matrix in the table form, real when no entry has an imaginary part.
#ifndef SKELDA_ATOMIC_BASIS_LUA_H
#define SKELDA_ATOMIC_BASIS_LUA_H

#include <lua.hpp>

// YtoZMatrix(shells [, options]), YtoKMatrix(shells [, options]): from
// complex spherical to tesseral or cubic harmonics, one block per shell on
// the diagonal.  shells is a multiplicity, a list of multiplicities, an
// orbital name or a list of orbital names; the option addSpin (default
// true) gives each entry a 2-by-2 identity block on the spin-orbitals.
int LuaYtoZMatrix(lua_State* L);
int LuaYtoKMatrix(lua_State* L);
// YtojjzMatrix(shells): from spherical harmonics with spin to j, jz states.
int LuaYtojjzMatrix(lua_State* L);
// OrbitalRotationMatrix(oldNames, newNames): rows new orbitals, columns old.
int LuaOrbitalRotationMatrix(lua_State* L);

#endif
