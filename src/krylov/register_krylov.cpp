#include "krylov/register_krylov.h"

#include "base/register_base.h"

void LuaRegisterKrylov(lua_State* L) {
    static const luaL_Reg functions[] = {
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}
