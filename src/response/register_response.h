// The script names of response functions: ResponseFunction_Type,
// ResponseFunctionMeta and the globals that convert and reduce them.
#ifndef SKELDA_RESPONSE_REGISTER_RESPONSE_H
#define SKELDA_RESPONSE_REGISTER_RESPONSE_H

#include <lua.hpp>

void LuaRegisterResponse(lua_State* L);

#endif
