// The global verbosity mask and the printf that obeys it.
#include "base/verbosity.h"

#include <cstdarg>
#include <cstdio>

#include "base/options.h"

uint32_t GlobalVerbosity = 15;

void VerbosityPrintf(uint32_t mask, const char* format, ...) {
    if ((mask & GlobalVerbosity) == 0) return;
    va_list ap;
    va_start(ap, format);
    vfprintf(stdout, format, ap);
    va_end(ap);
}

int LuaVerbosity(lua_State* L) {
    int last = lua_gettop(L);
    GlobalVerbosity = (uint32_t)luaL_checkinteger64(L, last > 0 ? last : 1);
    return 0;
}
