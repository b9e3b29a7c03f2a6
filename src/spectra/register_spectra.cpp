#include "spectra/register_spectra.h"

#include "base/register_base.h"
#include "spectra/createspectra.h"
#include "spectra/resonant.h"
#include "spectra/spectra_lua.h"

void LuaRegisterSpectra(lua_State* L) {
    LuaRegisterSpectraType(L);
    static const luaL_Reg functions[] = {
        {"CreateSpectra", LuaCreateSpectra},
        {"CreateResonantSpectra", LuaCreateResonantSpectra},
        {"CreateFluorescenceYield", LuaCreateFluorescenceYield},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}
