#include "spectra/register_spectra.h"

#include "base/register_base.h"

void LuaRegisterSpectra(lua_State* L) {
    static const luaL_Reg functions[] = {
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}
