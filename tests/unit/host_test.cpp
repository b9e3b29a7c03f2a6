#include <gtest/gtest.h>

#include "host/luahost.h"

namespace {

struct LuaStateGuard {
    lua_State* L;
    LuaStateGuard() : L(luaL_newstate()) {
        luaL_openlibs(L);
        SkeldaOpenInterpreterAdditions(L);
    }
    ~LuaStateGuard() { lua_close(L); }
};

std::string Eval(lua_State* L, const char* chunk) {
    EXPECT_EQ(luaL_dostring(L, chunk), LUA_OK) << lua_tostring(L, -1);
    std::string s = lua_tostring(L, -1);
    lua_pop(L, 1);
    return s;
}

}  // namespace

TEST(HostTableText, ShowsContents) {
    LuaStateGuard g;
    EXPECT_EQ(Eval(g.L, "return tostring({})"), "{  }");
    EXPECT_EQ(Eval(g.L, "return tostring({1,2})"), "{ 1 , 2 }");
    EXPECT_EQ(Eval(g.L, "return tostring({a=1})"), "{ a = 1 }");
    EXPECT_EQ(Eval(g.L, "return tostring({1,a=2})"), "{ 1 ,\n  a = 2 }");
    EXPECT_EQ(Eval(g.L, "return tostring({{1},{2}})"), "{ { 1 } , \n  { 2 } }");
    EXPECT_EQ(Eval(g.L, "return tostring({[1.5]=2})"), "{ [1.5] = 2 }");
    EXPECT_EQ(Eval(g.L, "return tostring({['3']=1})"), "{ [3] = 1 }");
    EXPECT_EQ(Eval(g.L, "return tostring({1,2,3,['3']=1})"), "{ 1 , 2 , 3 }");
    EXPECT_EQ(Eval(g.L, "return string.format('%5s|%s', 'ab', {1})"), "   ab|{ 1 }");
}

TEST(HostTableText, FullTableLengthCountsHashPart) {
    LuaStateGuard g;
    ASSERT_EQ(luaL_dostring(g.L, "return {1, 2, x = 3, [10] = 4}"), LUA_OK);
    EXPECT_EQ(luaKSV_fulltablelen(g.L, -1), 4);
    EXPECT_EQ(lua_gettop(g.L), 1);
}
