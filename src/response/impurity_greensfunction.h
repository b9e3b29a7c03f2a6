// The Green's function of an impurity coupled to a bath given as a response
// function.  The script call checks its whole input and option table; the
// solver behind it is not written yet, so a complete request ends in a fixed
// error and a request that skips the recalculations hands its input back.
#ifndef SKELDA_RESPONSE_IMPURITY_GREENSFUNCTION_H
#define SKELDA_RESPONSE_IMPURITY_GREENSFUNCTION_H

#include <lua.hpp>

#include <cstdint>

#include "manybody/operator.h"
#include "manybody/wavefunction.h"
#include "response/responsefunction.h"

// The place of the impurity ground-state search: prints the text it is given
// in NIO and returns 1 (not done).
int ImpurityGroundState(const OperatorType* H, ResponsefunctionType G, uint32_t n, const void* settings,
                        WaveFunctionType* psi, const char* NIO);

// ImpurityGreensFunction(H, G, psi, T [, options]).
int LuaImpurityGreensFunction(lua_State* L);

#endif
