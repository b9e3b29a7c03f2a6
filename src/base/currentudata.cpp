// The object of the last field lookup, for the dot methods.
#include "base/currentudata.h"

#include <cstring>

void* currentudata = nullptr;

namespace {

const char* gCurrentUdataType = nullptr;

// The registry slot that keeps the current object alive.
char gAnchorKey;

}  // namespace

void LuaSetCurrentUdata(lua_State* L, int idx, const char* typeName) {
    idx = lua_absindex(L, idx);
    currentudata = lua_touserdata(L, idx);
    gCurrentUdataType = typeName;
    lua_pushvalue(L, idx);
    lua_rawsetp(L, LUA_REGISTRYINDEX, &gAnchorKey);
}

void* LuaCheckCurrentUdata(lua_State* L, const char* typeName, const char* method, const char* noun) {
    // The anchor also tells whether the pointer belongs to this interpreter.
    lua_rawgetp(L, LUA_REGISTRYINDEX, &gAnchorKey);
    bool anchored = currentudata != nullptr && lua_touserdata(L, -1) == currentudata;
    lua_pop(L, 1);
    if (!anchored || gCurrentUdataType == nullptr || strcmp(gCurrentUdataType, typeName) != 0) {
        luaL_error(L, "Error: the method .%s() was called while the last object indexed was not %s\n", method,
                   noun);
    }
    return currentudata;
}

void LuaPushCurrentUdata(lua_State* L) { lua_rawgetp(L, LUA_REGISTRYINDEX, &gAnchorKey); }
