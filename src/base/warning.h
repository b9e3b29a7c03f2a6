// Warnings from C code: the script goes on.
#ifndef SKELDA_BASE_WARNING_H
#define SKELDA_BASE_WARNING_H

#include <lua.hpp>

// Prints "warning: <position><text>" on the standard output and returns 0.
int luaL_warning(lua_State* L, const char* format, ...);

#endif
