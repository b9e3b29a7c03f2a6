#include "crystal/register_crystal.h"

#include "base/register_base.h"
#include "crystal/postscript.h"

void LuaRegisterCrystal(lua_State* L) {
    LuaRegisterPostScript(L);
    static const luaL_Reg functions[] = {
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}
