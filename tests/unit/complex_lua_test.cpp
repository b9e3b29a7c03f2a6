#include <gtest/gtest.h>

#include <string>

#include "base/complex_lua.h"
#include "host/luahost.h"

namespace {

struct ComplexState {
    lua_State* L;
    ComplexState() : L(luaL_newstate()) {
        luaL_openlibs(L);
        SkeldaOpenInterpreterAdditions(L);
        LuaRegisterComplex(L);
        LuaRegisterImaginaryUnit(L);
    }
    ~ComplexState() { lua_close(L); }

    // Runs a chunk and returns the text of its one result, or of its error.
    std::string Run(const char* chunk) {
        int top = lua_gettop(L);
        int status = luaL_dostring(L, chunk);
        std::string s = lua_gettop(L) > top && lua_tostring(L, -1) != nullptr ? lua_tostring(L, -1) : "";
        lua_settop(L, top);
        return status == LUA_OK ? s : "error: " + s;
    }
};

// A stand-in object type on the right of a complex number: its value is
// one number, and multiplication scales it.
void ScaleThing(lua_State* L, Complex16 z, int idx) {
    double* v = static_cast<double*>(luaL_checkudata(L, idx, "SkeldaTestThing_Type"));
    LuaPushComplex16(L, z * *v);
}

// A table form whose division is handled apart: it answers with a marker.
void DivideTestTable(lua_State* L, Complex16 z, int idx) {
    (void)z;
    (void)idx;
    lua_pushstring(L, "divided by test table");
}

int NewThing(lua_State* L) {
    double* v = static_cast<double*>(lua_newuserdata(L, sizeof(double)));
    *v = luaL_checknumber(L, 1);
    luaL_setmetatable(L, "SkeldaTestThing_Type");
    return 1;
}

}  // namespace

TEST(ComplexLua, ReadersAndPush) {
    ComplexState s;
    LuaPushComplex16(s.L, Cnum(1.5, -2));
    lua_pushstring(s.L, "2.5");
    lua_newtable(s.L);
    Complex16 z{9, 9};
    EXPECT_EQ(LuaToComplex16(s.L, 1, &z), 1);
    EXPECT_EQ(z.re, 1.5);
    EXPECT_EQ(z.im, -2);
    EXPECT_EQ(LuaToComplex16(s.L, 2, &z), 1);
    EXPECT_EQ(z.re, 2.5);
    EXPECT_EQ(z.im, 0.0);
    EXPECT_EQ(LuaToComplex16(s.L, 3, &z), 0);
    EXPECT_EQ(z.re, 2.5);
    EXPECT_NE(luaL_testComplex16(s.L, 1), nullptr);
    EXPECT_EQ(luaL_testComplex16(s.L, 2), nullptr);
    EXPECT_EQ(lua_gettop(s.L), 3);
}

// Other object types plug in through operand rows: a handler where given,
// their own noun in the message where not, and for table rows the
// element-wise rule where no handler is given.
TEST(ComplexLua, OperandRowsDispatchByMetatable) {
    ComplexState s;
    luaL_newmetatable(s.L, "SkeldaTestThing_Type");
    lua_pop(s.L, 1);
    lua_register(s.L, "NewThing", NewThing);
    ComplexOperandRow thing = {"SkeldaTestThing_Type", ComplexOperandUserdata, "thing",
                               {nullptr, nullptr, ScaleThing, nullptr, nullptr}};
    ASSERT_EQ(ComplexSetOperandRow(thing), 0);
    ComplexOperandRow table = {"SkeldaTestMeta", ComplexOperandTable, nullptr,
                               {nullptr, nullptr, nullptr, DivideTestTable, nullptr}};
    ASSERT_EQ(ComplexSetOperandRow(table), 0);

    EXPECT_EQ(s.Run("return tostring((1+I) * NewThing(2))"), "(2 + 2 I)");
    EXPECT_EQ(s.Run("return I + NewThing(2)"), "error: [string \"return I + NewThing(2)\"]:1: Error: complex number plus thing\n");

    s.Run("SkeldaTestMeta = {}");
    EXPECT_EQ(s.Run("return I / setmetatable({1}, SkeldaTestMeta)"), "divided by test table");
    EXPECT_EQ(s.Run("local t = I * setmetatable({2}, SkeldaTestMeta); "
                    "return tostring(getmetatable(t)) .. ' ' .. tostring(t[1])"),
              "nil (0 + 2 I)");
    // A replaced row takes effect.
    thing.noun = "other thing";
    ASSERT_EQ(ComplexSetOperandRow(thing), 0);
    EXPECT_EQ(s.Run("return I - NewThing(2)"),
              "error: [string \"return I - NewThing(2)\"]:1: Error: complex number minus other thing\n");
}
