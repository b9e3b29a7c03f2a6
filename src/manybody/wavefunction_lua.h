// The script face of wave functions: the userdata "Wavefunction_Type" that
// holds one WaveFunctionType record, and the constructor NewWavefunction.
#ifndef SKELDA_MANYBODY_WAVEFUNCTION_LUA_H
#define SKELDA_MANYBODY_WAVEFUNCTION_LUA_H

#include <lua.hpp>

#include "manybody/wavefunction.h"

// NewWavefunction(NFermion, NBoson, {{det, prefactor}, ...} [, options]).
int LuaNewWaveFunction(lua_State* L);

// __tostring: the readable printout.  __gc: WaveFunctionFree.
int LuaWavefunctionToString(lua_State* L);
int LuaWavefunctionDestroy(lua_State* L);

// Creates the metatable "Wavefunction_Type" in the registry and fills it.
void LuaRegisterWavefunctionType(lua_State* L);

// Pushes a new userdata that takes over psi (the caller no longer frees it).
void LuaPushWaveFunction(lua_State* L, const WaveFunctionType& psi);

#endif
