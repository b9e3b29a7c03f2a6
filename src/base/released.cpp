#include "base/released.h"

#include "base/currentudata.h"

namespace {

const char* const kReleasedType = "Released_Type";

int Refuse(lua_State* L) {
    return luaL_error(L, "Error: this object was released (its finaliser has run) and can not be used any more");
}

int ReleasedToString(lua_State* L) {
    lua_pushstring(L, "released object");
    return 1;
}

}  // namespace

void LuaMarkReleased(lua_State* L, int idx) {
    idx = lua_absindex(L, idx);
    if (lua_type(L, idx) != LUA_TUSERDATA) return;
    if (lua_touserdata(L, idx) == currentudata) currentudata = nullptr;
    if (luaL_newmetatable(L, kReleasedType)) {
        static const luaL_Reg methods[] = {
            {"__index", Refuse}, {"__newindex", Refuse}, {"__call", Refuse}, {"__add", Refuse},
            {"__sub", Refuse},   {"__mul", Refuse},      {"__div", Refuse},  {"__mod", Refuse},
            {"__pow", Refuse},   {"__unm", Refuse},      {"__len", Refuse},  {"__concat", Refuse},
            {"__lt", Refuse},    {"__le", Refuse},       {"__tostring", ReleasedToString},
            {nullptr, nullptr},
        };
        luaL_setfuncs(L, methods, 0);
    }
    lua_setmetatable(L, idx);
}
