#include "base/register_base.h"

#include "base/complex_lua.h"
#include "base/timing.h"
#include "base/units.h"
#include "base/verbosity.h"

void SkeldaSetGlobalFunctions(lua_State* L, const luaL_Reg* list) {
    for (; list->name != nullptr; list++) {
        lua_pushcfunction(L, list->func);
        lua_setglobal(L, list->name);
    }
}

void LuaRegisterBase(lua_State* L) {
    RegisterPhysicalConstants(L);
    RegisterEnergyUnits(L, "eV");
    LuaRegisterComplex(L);
    static const luaL_Reg functions[] = {
        {"TimeEnd", LuaTimeEnd},
        {"TimePrint", LuaTimePrint},
        {"TimeStart", LuaTimeStart},
        {"Verbosity", LuaVerbosity},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}
