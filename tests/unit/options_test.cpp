// Option tables and argument readers, driven from a script through a small
// C function registered only for these tests.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "base/options.h"
#include "manybody/register_manybody.h"
#include "manybody/restriction.h"

namespace {

// The variables behind the option records of Opts, reset before each test.
struct OptionVariables {
    double eps1, eps2;
    int32_t nev;
    uint32_t count;
    uint16_t small;
    uint8_t byte;
    uint8_t flag;
    const char* name;
    uint32_t* k;
    CompactVectorType v;
    double mystery;
};
OptionVariables g;

void ResetVariables() {
    free(g.k);
    FreeCompactVector(&g.v);
    g = OptionVariables{};
    g.flag = 7;  // neither 0 nor 1: a test sees whether it was written
}

int Opts(lua_State* L) {
    LuaOptionsType options[] = {
        {"Epsilon", "double", &g.eps1},  {"epsilon", "double", &g.eps2}, {"NEV", "int", &g.nev},
        {"Count", "uint32_t", &g.count}, {"Small", "uint16_t", &g.small}, {"Byte", "uint8_t", &g.byte},
        {"Flag", "bool", &g.flag},       {"Name", "char*", &g.name},     {"k", "array-uint32_t-3", &g.k},
        {"v", "Vector", &g.v},           {"Mystery", "float", &g.mystery}, {nullptr, nullptr, nullptr},
    };
    int top = lua_gettop(L);
    int r = LuaCheckOptions(L, 1, options);
    lua_pushinteger(L, r);
    lua_pushinteger(L, lua_gettop(L) - 1 - top);  // 0 when the stack was left as found
    return 2;
}

int Cplx(lua_State* L) {
    Complex16* z = (Complex16*)lua_newuserdata(L, sizeof(Complex16));
    *z = Complex16{luaL_checknumber(L, 1), luaL_checknumber(L, 2)};
    luaL_setmetatable(L, "Complex_Type");
    return 1;
}

class OptionsTest : public ::testing::Test {
  protected:
    lua_State* L = nullptr;
    void SetUp() override {
        ResetVariables();
        LuaRegisterRestrictionOptionType();
        L = luaL_newstate();
        luaL_openlibs(L);
        luaL_newmetatable(L, "Complex_Type");
        lua_pop(L, 1);
        lua_register(L, "Opts", Opts);
        lua_register(L, "Cplx", Cplx);
    }
    void TearDown() override {
        lua_close(L);
        ResetVariables();
    }
    void Run(const char* chunk) {
        ASSERT_EQ(luaL_dostring(L, chunk), LUA_OK) << lua_tostring(L, -1);
        lua_settop(L, 0);
    }
    // The error text of a one-line chunk that must fail, without the
    // position "[string "..."]:1: " in front.
    std::string Error(const char* chunk) {
        EXPECT_NE(luaL_dostring(L, chunk), LUA_OK) << "no error from: " << chunk;
        std::string s = lua_tostring(L, -1) ? lua_tostring(L, -1) : "";
        lua_settop(L, 0);
        size_t at = s.find("\"]:1: ");
        return at == std::string::npos ? s : s.substr(at + 6);
    }
};

TEST_F(OptionsTest, MatchIgnoresCaseWritesEveryMatchingRecordAndLastPairWins) {
    Run("local r, d = Opts({{'EPSILON', 1e-3}, {'nev', 5}, {'NeV', 7}}); assert(r == 0 and d == 0)");
    EXPECT_EQ(g.eps1, 1e-3);
    EXPECT_EQ(g.eps2, 1e-3);
    EXPECT_EQ(g.nev, 7);
    // An empty list is valid and changes nothing.
    Run("assert(Opts({}) == 0)");
    EXPECT_EQ(g.nev, 7);
}

TEST_F(OptionsTest, ScalarDecoding) {
    Run("Opts({{'NEV', 2.9}, {'Count', 4294967297}, {'Small', 65537}, {'Byte', -1}, {'Flag', 0}, {'Name', 12}})");
    EXPECT_EQ(g.nev, 2);
    EXPECT_EQ(g.count, 1u);
    EXPECT_EQ(g.small, 1u);
    EXPECT_EQ(g.byte, 255u);
    EXPECT_EQ(g.flag, 1u) << "the number 0 is true";
    EXPECT_STREQ(g.name, "12");
    Run("Opts({{'NEV', -2.9}, {'Flag', false}})");
    EXPECT_EQ(g.nev, -2);
    EXPECT_EQ(g.flag, 0u);
    Run("Opts({{'NEV', '3'}, {'Epsilon', '0x10'}})");
    EXPECT_EQ(g.nev, 3);
    EXPECT_EQ(g.eps1, 16.0);
}

TEST_F(OptionsTest, ArrayOfThree) {
    testing::internal::CaptureStdout();
    Run("Opts({{'k', {1, 2}}})");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(g.k, nullptr);
    Run("Opts({{'k', {4, 5.7, 6}}})");
    ASSERT_NE(g.k, nullptr);
    EXPECT_EQ(g.k[0], 4u);
    EXPECT_EQ(g.k[1], 5u);
    EXPECT_EQ(g.k[2], 6u);
}

TEST_F(OptionsTest, VectorIsComplexOnlyWhenAnImaginaryPartMatters) {
    // 1e-16 is below 3 * 2.22e-15: the vector is real and the small part dropped.
    Run("Opts({{'v', {1, 2, Cplx(3, 1e-16)}}})");
    ASSERT_EQ(g.v.NElem, 3u);
    EXPECT_EQ(g.v.QComplex, 0u);
    const double* re = (const double*)g.v.data;
    EXPECT_EQ(re[0], 1.0);
    EXPECT_EQ(re[2], 3.0);
    // The test is relative to each element's own real part: 1e-14 beside 3
    // counts although 1e-16 beside 3 does not; a second option replaces the
    // first vector (its data is freed, which the sanitizer build checks).
    Run("Opts({{'v', {1e6, Cplx(3, 1e-14)}}})");
    ASSERT_EQ(g.v.NElem, 2u);
    EXPECT_EQ(g.v.QComplex, 1u);
    const Complex16* z = (const Complex16*)g.v.data;
    EXPECT_EQ(z[0].re, 1e6);
    EXPECT_EQ(z[0].im, 0.0);
    EXPECT_EQ(z[1].im, 1e-14);
    // A tiny imaginary part on a zero real part is still complex.
    Run("Opts({{'v', {0, Cplx(0, 1e-300)}}})");
    EXPECT_EQ(g.v.QComplex, 1u);
    EXPECT_EQ(Error("Opts({{'v', {1, 'x'}}})"), "Error in reading complex table\n");
}

TEST_F(OptionsTest, MalformedListsNameTheOptionAndTheFault) {
    EXPECT_EQ(Error("Opts({'NEV', 5})"),
              "Error in option 1, Options should be a LIST of two elements of the form {\"name\",value}\n");
    EXPECT_EQ(Error("Opts({{'NEV', 1}, {'NEV'}})"),
              "Error in option 2, Options should be a list of TWO elements of the form {\"name\",value}\n");
    EXPECT_EQ(Error("Opts({{'NEV', 1, 2}})"),
              "Error in option 1, Options should be a list of TWO elements of the form {\"name\",value}\n");
    EXPECT_EQ(Error("Opts({{1, 2}})"),
              "Error in option 1, Options should be a list of two elements of the form {\"NAME\",value}\n");
    EXPECT_EQ(Error("local function f() Opts(3) end f()"),
              "bad argument #1 to 'Opts' (table expected, got number)");
    EXPECT_EQ(Error("local function f() Opts({{'NEV', 'many'}}) end f()"),
              "bad argument #-1 to 'Opts' (number expected, got string)");
    // Options read before the failing one keep their values.
    Error("Opts({{'NEV', 4}, {'Count', {}}})");
    EXPECT_EQ(g.nev, 4);
}

TEST_F(OptionsTest, UnrecognizedOptionListsEveryDeclaredName) {
    EXPECT_EQ(Error("Opts({{'nev', 1}, {'Foo', 1}})"),
              "Error in option 2, Unrecognized option \"Foo\"\n Possible values for options are:\n"
              "Epsilon [double]\nepsilon [double]\nNEV [int]\nCount [uint32_t]\nSmall [uint16_t]\n"
              "Byte [uint8_t]\nFlag [bool]\nName [char*]\nk [array-uint32_t-3]\nv [Vector]\nMystery [float]\n");
    // An empty name never matches.
    EXPECT_NE(Error("Opts({{'', 1}})").find("Unrecognized option \"\""), std::string::npos);
}

TEST_F(OptionsTest, RecordOfUnknownTypeIsReportedAndCountsAsFound) {
    testing::internal::CaptureStdout();
    Run("local r = Opts({{'mystery', 1}, {'NEV', 3}}); assert(r == 0)");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR: unrecognized type in LuaCheckOptions [float]\n");
    EXPECT_EQ(g.mystery, 0.0);
    EXPECT_EQ(g.nev, 3);
}

TEST_F(OptionsTest, TestOptionsList) {
    const char* cases[][2] = {
        {"{}", "1"},           {"{{'a', 1}, {'b', {}}}", "1"}, {"{'a', 1}", "0"},     {"{{'a'}}", "0"},
        {"{{'a', 1, 2}}", "0"}, {"{{1, 2}}", "0"},              {"{{'a', 1}, 5}", "0"}, {"7", "0"},
    };
    for (auto& c : cases) {
        std::string chunk = std::string("return ") + c[0];
        ASSERT_EQ(luaL_dostring(L, chunk.c_str()), LUA_OK);
        EXPECT_EQ(LuaTestOptionsList(L, -1), atoi(c[1])) << c[0];
        EXPECT_EQ(lua_gettop(L), 1);
        lua_settop(L, 0);
    }
}

TEST_F(OptionsTest, FindOptionsInTableIsCaseSensitiveAndTakesTheLastPair) {
    ASSERT_EQ(luaL_dostring(L, "return {{'NEV', 1}, {'nev', 2}, {'NEV', 3.5}, {4, 'four'}}"), LUA_OK);
    int32_t* nev = (int32_t*)LuaFindOptionsInTable(L, -1, "NEV", "int");
    ASSERT_NE(nev, nullptr);
    EXPECT_EQ(*nev, 3);
    free(nev);
    const char* four = (const char*)LuaFindOptionsInTable(L, -1, "4", "char*");
    ASSERT_NE(four, nullptr);
    EXPECT_STREQ(four, "four");
    EXPECT_EQ(LuaFindOptionsInTable(L, -1, "Nev", "int"), nullptr);
    EXPECT_EQ(lua_gettop(L), 1);
    lua_settop(L, 0);
    ASSERT_EQ(luaL_dostring(L, "return {{'NEV', 1}, 'x'}"), LUA_OK);
    EXPECT_EQ(LuaFindOptionsInTable(L, -1, "NEV", "int"), nullptr);
    lua_settop(L, 0);
    ASSERT_EQ(luaL_dostring(L, "return {{'v', {1, Cplx(0, 2)}}}"), LUA_OK);
    CompactVectorType* v = (CompactVectorType*)LuaFindOptionsInTable(L, -1, "v", "Vector");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->QComplex, 1u);
    EXPECT_EQ(v->NElem, 2u);
    FreeCompactVector(v);
    free(v);
}

TEST_F(OptionsTest, ReadersAcceptSingleValuesWhereDocumented) {
    ASSERT_EQ(luaL_dostring(L, "return 5.9, '7', 'abc', {1, 2}, {{1, 2}, {3}}"), LUA_OK);
    EXPECT_EQ(luaL_checkvector_int(L, 1), std::vector<int>({5}));
    EXPECT_EQ(luaL_checkvector_int(L, 2), std::vector<int>({7}));
    EXPECT_EQ(luaL_checkvector_string(L, 3), std::vector<std::string>({"abc"}));
    EXPECT_EQ(luaL_checkvector_int(L, 4), std::vector<int>({1, 2}));
    EXPECT_EQ(luaL_check2DArray_double(L, 5), std::vector<std::vector<double>>({{1, 2}, {3}}));
    lua_settop(L, 0);
    lua_register(L, "VecU16", [](lua_State* S) {
        luaL_checkvector_unit16_t(S, 1);
        return 0;
    });
    EXPECT_EQ(Error("local function f() VecU16(3) end f()"), "bad argument #1 to 'VecU16' (table expected, got number)");
}

TEST_F(OptionsTest, PushComplexArrayGivesNumbersWhereTheImaginaryPartIsZero) {
    Complex16 a[3] = {{1.5, 0.0}, {2.0, -0.5}, {0.0, -0.0}};
    LuaPushArray_Complex16(L, a, 3);
    lua_setglobal(L, "t");
    Run("assert(#t == 3 and t[1] == 1.5 and type(t[2]) == 'userdata' and t[3] == 0 and type(t[3]) == 'number')");
    lua_getglobal(L, "t");
    lua_rawgeti(L, -1, 2);
    const Complex16* z = (const Complex16*)luaL_testudata(L, -1, "Complex_Type");
    ASSERT_NE(z, nullptr);
    EXPECT_EQ(z->re, 2.0);
    EXPECT_EQ(z->im, -0.5);
    lua_settop(L, 0);
    // The round trip through the reader gives the same values.
    lua_getglobal(L, "t");
    unsigned int n = 0;
    Complex16* back = luaL_checkarray_complex16(L, 1, &n);
    ASSERT_EQ(n, 3u);
    EXPECT_EQ(back[1].im, -0.5);
    free(back);
}

int RestrictionOpts(lua_State* L) {
    DeterminantRestrictionType* R = (DeterminantRestrictionType*)lua_touserdata(L, 2);
    LuaOptionsType options[] = {
        {"restrictions", "DeterminantRestrictionType", R},
        {nullptr, nullptr, nullptr},
    };
    LuaCheckOptions(L, 1, options);
    return 0;
}

TEST_F(OptionsTest, RestrictionOptionIsReadByTheOperatorStoreReader) {
    DeterminantRestrictionType R;
    InitDeterminantRestriction(&R);
    lua_pushcfunction(L, RestrictionOpts);
    ASSERT_EQ(luaL_dostring(L, "return {{'Restrictions', {4, 0, {'1100', 1, 2}}}}"), LUA_OK);
    lua_pushlightuserdata(L, &R);
    ASSERT_EQ(lua_pcall(L, 2, 0, 0), LUA_OK) << lua_tostring(L, -1);
    ASSERT_EQ(R.NRestriction, 1u);
    EXPECT_EQ(R.Mask[0][0], 0xC0);
    EXPECT_EQ(R.MinOcc[0], 1u);
    EXPECT_EQ(R.MaxOcc[0], 2u);
    FreeDeterminantRestriction(&R);

    // The last of two pairs wins; the first one read is freed.
    ASSERT_EQ(luaL_dostring(L, "return {{'r', {2, 0}}, {'r', {2, 0, {'01', 0, 1}, {'11', 1, 1}}}}"), LUA_OK);
    DeterminantRestrictionType* found = (DeterminantRestrictionType*)LuaFindOptionsInTable(L, -1, "r",
                                                                                          "DeterminantRestrictionType");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->NRestriction, 2u);
    EXPECT_EQ(found->Mask[1][0], 0xC0);
    FreeDeterminantRestriction(found);
    free(found);
}

TEST(SprintfAdd, AppendsAcrossManyGrowthSteps) {
    char* buf = (char*)malloc(4048);
    ASSERT_NE(buf, nullptr);
    buf[0] = '\0';
    std::string want;
    for (int i = 0; i < 1000; i++) {
        EXPECT_EQ(sprintfAdd(&buf, "%d,", i), (int)std::to_string(i).size() + 1);
        want += std::to_string(i) + ",";
    }
    // A single piece longer than one growth step.
    std::string big(5000, 'x');
    sprintfAdd(&buf, "%s", big.c_str());
    want += big;
    EXPECT_EQ(std::string(buf), want);
    free(buf);
}

}  // namespace
