// Table forms of the scalar response functions: reading and pushing, the
// conversions a reader makes, and the exact reading errors.
#include <gtest/gtest.h>

#include <string>

#include "base/complex16.h"
#include "base/complex_lua.h"
#include "response/tridiagonal.h"

namespace {

// Each test function reads its first argument with one reader, pushes the
// record back as a table, and returns it with the value at (w, gamma).
template <class Record, Record (*Check)(lua_State*, int), void (*Push)(lua_State*, Record),
          Complex16 (*Eval)(Record, double, double), void (*Free)(Record*)>
int ReadPush(lua_State* L) {
    Record r = Check(L, 1);
    double w = luaL_optnumber(L, 2, 0.0);
    double gamma = luaL_optnumber(L, 3, 0.1);
    Complex16 g = Eval(r, w, gamma);
    Push(L, r);
    Free(&r);
    lua_pushnumber(L, g.re);
    lua_pushnumber(L, g.im);
    return 3;
}

struct LuaState {
    lua_State* L;
    LuaState() : L(luaL_newstate()) {
        luaL_openlibs(L);
        LuaRegisterComplex(L);
        lua_newtable(L);
        lua_setglobal(L, "ResponseFunctionMeta");
        lua_register(L, "poles", (ReadPush<ListOfPoles, luaL_checkListOfPoles, LuaPushTable_ListOfPoles,
                                           EvaluateListOfPoles, FreeListOfPoles>));
        lua_register(L, "tri", (ReadPush<TriDiagonalMatrixType, luaL_checkTriDiagonalMatrixType,
                                         LuaPushTable_TriDiagonalMatrixType, EvaluateTriDiagonalMatrix,
                                         FreeTriDiagonalMatrix>));
        lua_register(L, "star", (ReadPush<AndersonMatrixType, luaL_checkAndersonMatrixType,
                                          LuaPushTable_AndersonMatrixType, EvaluateAndersonMatrix,
                                          FreeAndersonMatrix>));
        lua_register(L, "nat", (ReadPush<BADoubleTriDiagonalMatrixType, luaL_checkNatrualImpurityOrbitalMatrixType,
                                         LuaPushTable_NaturalImpurityOrbital, EvaluateBADoubleTriDiagonalMatrix,
                                         FreeBADoubleTriDiagonalMatrix>));
    }
    ~LuaState() { lua_close(L); }
    // Runs a chunk that returns a string and gives that string, or the error.
    std::string Run(const char* chunk) {
        std::string out;
        if (luaL_dostring(L, chunk) != LUA_OK) {
            out = std::string("error: ") + lua_tostring(L, -1);
        } else {
            const char* s = lua_tostring(L, -1);
            out = s != nullptr ? s : "(not a string)";
        }
        lua_settop(L, 0);
        return out;
    }
    // The message of the error raised by reader(table).
    std::string Error(const char* reader, const char* table) {
        std::string chunk = std::string("local ok, e = pcall(") + reader + ", " + table +
                            ") if ok then return 'no error' end return e";
        return Run(chunk.c_str());
    }
};

const char* kList = "G = {{0.5, -1, 2, 0.25}, {0.3, 0.6, 0.1}, type='ListOfPoles', name='G', mu=0.1}";

}  // namespace

TEST(ResponseTables, ListReadsAndPushesBack) {
    LuaState s;
    ASSERT_EQ(s.Run(kList), "(not a string)");
    EXPECT_EQ(s.Run("local t = poles(G) return string.format('%s %s %g %d %d %g %g %g %s', t.type, t.name, t.mu, "
                    "#t[1], #t[2], t[1][1], t[1][4], t[2][3], tostring(getmetatable(t) == ResponseFunctionMeta))"),
              "ListOfPoles G 0.1 4 3 0.5 0.25 0.1 true");
    // The value: 0.5 + sum b / (w - a + i gamma/2).
    EXPECT_EQ(s.Run("local _, re, im = poles(G, 0.0, 0.2) "
                    "local z = {0.0, 0.1} local r, i = 0.5, 0 "
                    "for k, a in ipairs({-1, 2, 0.25}) do local b = ({0.3, 0.6, 0.1})[k] "
                    "local d = z[1] - a local den = d*d + z[2]*z[2] r = r + b*d/den i = i - b*z[2]/den end "
                    "return tostring(math.abs(re - r) < 1e-15 and math.abs(im - i) < 1e-15)"),
              "true");
}

TEST(ResponseTables, ComplexElementsWithoutImaginaryPartAreNumbers) {
    LuaState s;
    EXPECT_EQ(s.Run("local t = poles({{Complex.New(0.5, 0), 1}, {Complex.New(2, 0)}, type='ListOfPoles', name='c', mu=0}) "
                    "return string.format('%g %g %g', t[1][1], t[1][2], t[2][1])"),
              "0.5 1 2");
    EXPECT_EQ(s.Error("poles", "{{Complex.New(0.5, 1), 1}, {2}, type='ListOfPoles', name='c', mu=0}"),
              "Error a list of pole should be a list of two lists {{a0,a1,a2,...,an},{b1^2,b2^2,...,bn^2}}");
}

TEST(ResponseTables, EveryReaderAcceptsEveryForm) {
    LuaState s;
    ASSERT_EQ(s.Run(kList), "(not a string)");
    // Read the list as each form, push, read that as each form again: the
    // value at one point stays, and so does the constant.
    const char* chunk =
        "local _, r0, i0 = poles(G, 0.3, 0.2) "
        "local worst = 0 "
        "for _, first in ipairs({poles, tri, star, nat}) do "
        "  local t = first(G) "
        "  for _, second in ipairs({poles, tri, star, nat}) do "
        "    local _, r, i = second(t, 0.3, 0.2) "
        "    worst = math.max(worst, math.abs(r - r0), math.abs(i - i0)) "
        "  end "
        "end "
        "local c = tri(G) local n = nat(G) "
        "return string.format('%s %s %s %g %s %s', tostring(worst < 1e-12), c.type, star(G).type, c[1][1], n.type, "
        "n.val.type)";
    EXPECT_EQ(s.Run(chunk), "true Tri And 0.5 NaturalImpurityOrbital Tri");
}

TEST(ResponseTables, DoubleChainWithAnEmptyHalfReadsBack) {
    LuaState s;
    // All poles above 0: the valence chain is only a constant.
    testing::internal::CaptureStdout();
    std::string r = s.Run(
        "local G = {{0.2, 1, 2}, {0.5, 0.25}, type='ListOfPoles', name='up', mu=0} "
        "local n = nat(G) local _, r0, i0 = poles(G, 1.5, 0.3) local _, r1, i1 = nat(n, 1.5, 0.3) "
        "local m = {val = n.val, con = n.con, epsilon = n.epsilon, name = 'x', mu = 0, type = 'Nat'} "
        "local _, r2, i2 = poles(m, 1.5, 0.3) "
        "return string.format('%d %s %s', #n.val[1], tostring(math.abs(r1 - r0) + math.abs(i1 - i0) < 1e-12), "
        "tostring(math.abs(r2 - r0) + math.abs(i2 - i0) < 1e-12))");
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(r, "1 true true");
}

TEST(ResponseTables, ReadingErrors) {
    LuaState s;
    EXPECT_EQ(s.Error("poles", "3"), "Error Green's function should be represented by a table");
    EXPECT_EQ(s.Error("tri", "{{1,2},{3}, name='x', mu=0}"),
              "Error Reading Green's function without type declaration.");
    EXPECT_EQ(s.Error("star", "{{1,2},{3}, type='Block', name='x', mu=0}"),
              "Errorr reading Greens function of unknown type (Block)");
    EXPECT_EQ(s.Error("poles", "{{1,2},{3}, type='ListOfPoles', mu=0}"), "Reading List of poles without name defined");
    EXPECT_EQ(s.Error("poles", "{{1,2},{3}, type='ListOfPoles', name='x'}"), "Reading List of poles without mu defined");
    EXPECT_EQ(s.Error("poles", "{{1,2}, type='ListOfPoles', name='x', mu=0}"),
              "Error a list of pole should be a list of two lists {{a0,a1,a2,...,an},{b1^2,b2^2,...,bn^2}}");
    EXPECT_EQ(s.Error("poles", "{{1,2,3},{4,5,6}, type='ListOfPoles', name='x', mu=0}"),
              "Error Reading List of poles. Length of a (3) should be one more than length of b (3)");
    EXPECT_EQ(s.Error("poles", "{{},{}, type='ListOfPoles', name='x', mu=0}"),
              "Errorr reading Greens function with lenght of a equal to zero");
    EXPECT_EQ(s.Error("poles", "{{1},{}, type='ListOfPoles', name='x', mu=0}"),
              "Errorr reading Greens function with lenght of a equal to one");
    EXPECT_EQ(s.Error("tri", "{{1,2},{3}, type='Tri', mu=0}"),
              "Reading Green's function represented as a tri-diagonal matrix without name defined");
    EXPECT_EQ(s.Error("poles", "{{1,2},{3}, type='And', name='x'}"),
              "Reading Green's function represented as a tri-diagonal matrix without mu defined");
    EXPECT_EQ(s.Error("tri", "{{1,2,3},{3}, type='Tri', name='x', mu=0}"),
              "Error a Green's function represented as a tri-diagonal matrix should be a list of two lists "
              "{{a0,a1,a2,...,an},{b0,b1,b2,...,bn-1}}");
    EXPECT_EQ(s.Error("tri", "{{1,'x'},{3}, type='Tri', name='x', mu=0}"),
              "Error a Green's function represented as a tri-diagonal matrix should be a list of two lists "
              "{{a0,a1,a2,...,an},{b0,b1,b2,...,bn-1}}");
    EXPECT_EQ(s.Error("nat", "{type='Nat', name='x', mu=0, epsilon=0}"),
              "Reading Green's function represented as a natural impurity orbital without val defined");
}
