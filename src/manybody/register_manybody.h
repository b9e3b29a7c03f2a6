// The script names of the many-body layer: Operator_Type, Wavefunction_Type,
// the wave-function file library, the option type of determinant restrictions
// and the global functions of states, operators and expectation values.
#ifndef SKELDA_MANYBODY_REGISTER_MANYBODY_H
#define SKELDA_MANYBODY_REGISTER_MANYBODY_H

#include <lua.hpp>

void LuaRegisterManybody(lua_State* L);

// The option type "DeterminantRestrictionType" alone (LuaRegisterManybody
// adds it too), for C callers that read option tables without a full start.
void LuaRegisterRestrictionOptionType();

#endif
