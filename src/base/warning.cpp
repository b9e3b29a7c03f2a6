#include "base/warning.h"

#include <cstdarg>
#include <cstdio>

int luaL_warning(lua_State* L, const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    lua_pushvfstring(L, format, ap);
    va_end(ap);
    luaL_where(L, 1);
    lua_insert(L, -2);
    lua_concat(L, 2);
    printf("warning: %s\n", lua_tostring(L, -1));
    lua_pop(L, 1);
    return 0;
}
