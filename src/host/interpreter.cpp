// What differs from the stock interpreter: the global `warning`, tables shown
// by their contents in `tostring`, `print` and `string.format("%s")`, and a
// few C entry points used by the rest of the system.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "host/luahost.h"

#include <unistd.h>

#include <string>
#include <vector>

namespace {

// Deep enough for any data a script builds; a table that contains itself
// ends here with a script error instead of overrunning the C stack.
const int kMaxTableTextDepth = 200;

void AppendValueText(lua_State* L, int idx, std::string& out, int depth);

bool HasToStringMeta(lua_State* L, int idx) {
    if (luaL_getmetafield(L, idx, "__tostring")) {
        lua_pop(L, 1);
        return true;
    }
    return false;
}

// A key that reads as a number in 1..n belongs to the list part shown first.
bool IsListKey(lua_State* L, int keyIdx, lua_Number n) {
    int t = lua_type(L, keyIdx);
    if (t != LUA_TNUMBER && t != LUA_TSTRING) return false;
    int isnum = 0;
    lua_Number k = lua_tonumberx(L, keyIdx, &isnum);
    return isnum && k > 0 && k <= n;
}

bool IsBareKey(lua_State* L, int keyIdx) {
    if (lua_type(L, keyIdx) != LUA_TSTRING) return false;
    int isnum = 0;
    lua_tonumberx(L, keyIdx, &isnum);
    return !isnum;
}

void AppendTableText(lua_State* L, int idx, std::string& out, int depth) {
    if (depth > kMaxTableTextDepth) luaL_error(L, "tostring: tables nested too deeply (does a table contain itself?)");
    luaL_checkstack(L, 6, "tostring: tables nested too deeply");
    lua_Integer n = luaL_len(L, idx);
    out += "{ ";
    for (lua_Integer i = 1; i <= n; i++) {
        lua_rawgeti(L, idx, (int)i);
        if (i > 1 && lua_type(L, -1) == LUA_TTABLE) out += "\n  ";
        AppendValueText(L, lua_gettop(L), out, depth + 1);
        lua_pop(L, 1);
        if (i != n) out += " , ";
    }
    bool first = (n == 0);
    lua_pushnil(L);
    while (lua_next(L, idx) != 0) {
        int valueIdx = lua_gettop(L);
        int keyIdx = valueIdx - 1;
        if (!IsListKey(L, keyIdx, (lua_Number)n)) {
            if (IsBareKey(L, keyIdx)) {
                if (!first) out += " ,\n  ";
                out += lua_tostring(L, keyIdx);
                out += " = ";
            } else {
                out += first ? "[" : " ,\n  [";
                AppendValueText(L, keyIdx, out, depth + 1);
                out += "] = ";
            }
            AppendValueText(L, valueIdx, out, depth + 1);
            first = false;
        }
        lua_pop(L, 1);
    }
    out += " }";
}

void AppendValueText(lua_State* L, int idx, std::string& out, int depth) {
    if (lua_type(L, idx) == LUA_TTABLE && !HasToStringMeta(L, idx)) {
        AppendTableText(L, idx, out, depth);
        return;
    }
    size_t len = 0;
    const char* s = luaL_tolstring(L, idx, &len);
    out.append(s, len);
    lua_pop(L, 1);
}

int luaB_tostring(lua_State* L) {
    luaL_checkany(L, 1);
    SkeldaToLString(L, 1, nullptr);
    return 1;
}

int luaB_warning(lua_State* L) {
    const char* text = luaL_checkstring(L, 1);
    luaL_warning(L, "%s", text);
    return 0;
}

// string.format with the "%s" of tables shown by their contents.  The
// arguments that a "%s" takes and that are tables are replaced by their text;
// the stock routine (upvalue 1) does all the formatting.
int str_format(lua_State* L) {
    int top = lua_gettop(L);
    size_t flen = 0;
    const char* fmt = luaL_checklstring(L, 1, &flen);
    const char* end = fmt + flen;
    int arg = 1;
    for (const char* p = fmt; p < end; p++) {
        if (*p != '%') continue;
        p++;
        if (p < end && *p == '%') continue;
        arg++;
        while (p < end && strchr("-+ #0123456789.", *p) != nullptr) p++;
        if (p < end && *p == 's' && arg <= top && lua_type(L, arg) == LUA_TTABLE) {
            SkeldaToLString(L, arg, nullptr);
            lua_replace(L, arg);
        }
    }
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    lua_call(L, top, 1);
    return 1;
}

}  // namespace

const char* SkeldaToLString(lua_State* L, int idx, size_t* len) {
    idx = lua_absindex(L, idx);
    if (lua_type(L, idx) != LUA_TTABLE || HasToStringMeta(L, idx)) return luaL_tolstring(L, idx, len);
    std::string text;
    AppendTableText(L, idx, text, 0);
    lua_pushlstring(L, text.data(), text.size());
    return lua_tolstring(L, -1, len);
}

int luaKSV_fulltablelen(lua_State* L, int idx) {
    idx = lua_absindex(L, idx);
    int n = 0;
    lua_pushnil(L);
    while (lua_next(L, idx) != 0) {
        n++;
        lua_pop(L, 1);
    }
    return n;
}

namespace {

// The folder of the Lua modules shipped with the program (Plot.lua and
// others): lib/ beside the executable, lib/ one folder above it (the build
// folder of a source tree), or the lib/ of the sources it was built from.
// The first that holds Plot.lua goes in front of package.path, so that
// require "Plot" works from any working directory.
void AddLibraryFolder(lua_State* L) {
    std::string exe(4096, '\0');
    const ssize_t n = readlink("/proc/self/exe", &exe[0], exe.size() - 1);
    std::vector<std::string> candidates;
    if (n > 0) {
        exe.resize((size_t)n);
        const std::string dir = exe.substr(0, exe.find_last_of('/'));
        candidates.push_back(dir + "/lib");
        candidates.push_back(dir + "/../lib");
    }
#ifdef SKELDA_LIBRARY_DIR
    candidates.push_back(SKELDA_LIBRARY_DIR);
#endif
    for (const std::string& c : candidates) {
        if (access((c + "/Plot.lua").c_str(), R_OK) != 0) continue;
        lua_getglobal(L, "package");
        lua_getfield(L, -1, "path");
        const std::string path = c + "/?.lua;" + (lua_isstring(L, -1) ? lua_tostring(L, -1) : "");
        lua_pop(L, 1);
        lua_pushstring(L, path.c_str());
        lua_setfield(L, -2, "path");
        lua_pop(L, 1);
        return;
    }
}

}  // namespace

void SkeldaOpenInterpreterAdditions(lua_State* L) {
    AddLibraryFolder(L);
    lua_pushcfunction(L, luaB_warning);
    lua_setglobal(L, "warning");
    lua_pushcfunction(L, luaB_tostring);
    lua_setglobal(L, "tostring");

    lua_getglobal(L, "string");
    lua_getfield(L, -1, "format");
    lua_pushcclosure(L, str_format, 1);
    lua_setfield(L, -2, "format");
    lua_pop(L, 1);
}
