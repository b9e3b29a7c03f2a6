// Script faces of the named one-particle operators: the readers that
// NewOperator("Sz", ...) and the other names hand their whole call to (the
// name stands at index 1, the arguments follow), and the reader of
// expansions on spherical harmonics.
//
// Arguments after the name:
//   S family                NF, IndexUp, IndexDn (lists of any equal length)
//   L, J, T, Q, ldots       NF, IndexUp, IndexDn (lists of 2l+1 modes)
//   Lx                      the same and an optional option table with
//                           "basis" (SphericalHarmonicsY and its synonyms;
//                           TesseralHarmonicsZ, KubicHarmonicsK and jjz are
//                           accepted and give an empty operator)
//   CF                      NF, Index, Expansion; NF, IndexUp, IndexDn,
//                           Expansion; or NF, IndexUp1, IndexDn1, IndexUp2,
//                           IndexDn2, Expansion
//   Number, CrAn            NF, i, j; or NF, {i...}, {j...}, {prefactors}
//   Create, Annihilate      NF, i; or NF, {i...}, {prefactors}
//   Identity                NF
// Modes are 0-based; prefactors are numbers or Complex values.  Each pushes
// a new Operator_Type value.
#ifndef SKELDA_ATOMIC_ONEPARTICLE_LUA_H
#define SKELDA_ATOMIC_ONEPARTICLE_LUA_H

#include <lua.hpp>

#include "atomic/oneparticle.h"

// A table of {l, m, value} entries (value a number or a Complex) as a new
// expansion owned by the caller, in the order given.  One Complex value
// makes the whole expansion complex.  Malformed entries raise script errors
// before anything is allocated.
HarmonicsExpansion* luaL_checkarray_HarmonicsExpansion(lua_State* L, int idx);

int LuaOperatorNewSx(lua_State* L);
int LuaOperatorNewSy(lua_State* L);
int LuaOperatorNewSz(lua_State* L);
int LuaOperatorNewSplus(lua_State* L);
int LuaOperatorNewSmin(lua_State* L);
int LuaOperatorNewSsqr(lua_State* L);
int LuaOperatorNewLx(lua_State* L);
int LuaOperatorNewLy(lua_State* L);
int LuaOperatorNewLz(lua_State* L);
int LuaOperatorNewLplus(lua_State* L);
int LuaOperatorNewLmin(lua_State* L);
int LuaOperatorNewLsqr(lua_State* L);
int LuaOperatorNewJx(lua_State* L);
int LuaOperatorNewJy(lua_State* L);
int LuaOperatorNewJz(lua_State* L);
int LuaOperatorNewJplus(lua_State* L);
int LuaOperatorNewJmin(lua_State* L);
int LuaOperatorNewJsqr(lua_State* L);
int LuaOperatorNewTx(lua_State* L);
int LuaOperatorNewTy(lua_State* L);
int LuaOperatorNewTz(lua_State* L);
int LuaOperatorNewTplus(lua_State* L);
int LuaOperatorNewTmin(lua_State* L);
int LuaOperatorNewTsqr(lua_State* L);
int LuaOperatorNewQxx(lua_State* L);
int LuaOperatorNewQyy(lua_State* L);
int LuaOperatorNewQzz(lua_State* L);
int LuaOperatorNewQxy(lua_State* L);
int LuaOperatorNewQxz(lua_State* L);
int LuaOperatorNewQyz(lua_State* L);
int LuaOperatorNewldots(lua_State* L);
int LuaOperatorNewCF(lua_State* L);
int LuaOperatorNewNumber(lua_State* L);
int LuaOperatorNewCreate(lua_State* L);
int LuaOperatorNewAnnihilate(lua_State* L);
int LuaOperatorNewIdentity(lua_State* L);

// Registers the names above with NewOperator (Qyx, Qzx, Qzy, S^2, L^2, J^2
// and CrAn as the second names of their operators).
void LuaRegisterOneParticleOperators();

#endif
