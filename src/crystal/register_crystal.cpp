#include "crystal/register_crystal.h"

#include "base/register_base.h"

void LuaRegisterCrystal(lua_State* L) {
    static const luaL_Reg functions[] = {
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}
