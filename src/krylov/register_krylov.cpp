#include "krylov/register_krylov.h"

#include "base/register_base.h"
#include "krylov/eigensystem_lua.h"

void LuaRegisterKrylov(lua_State* L) {
    static const luaL_Reg functions[] = {
        {"BlockBandDiagonalize", LuaBlockBandDiagonalize},
        {"EvolveToGroundstate", LuaEvolveToGroundstate},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}
