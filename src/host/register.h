// The places where the layers put their names into the interpreter, in the
// order that decides which name wins when two are the same.
#ifndef SKELDA_HOST_REGISTER_H
#define SKELDA_HOST_REGISTER_H

#include <lua.hpp>

// The table math, the names of the ground layer (constants, energy units, the
// complex-number type, stopwatches, verbosity) and the variable store:
// registered after the stock libraries and before luaopen_ssp.
void SkeldaRegisterHostLibraries(lua_State* L);

// The global I, set after luaopen_ssp.
void SkeldaRegisterImaginaryUnit(lua_State* L);

#endif
