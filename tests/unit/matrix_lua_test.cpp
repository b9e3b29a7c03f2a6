// The C face of the matrix readers and pushers that scripts can't reach
// directly: the row-pointer reader, the pushers of both records, and the
// borrowed record inside a userdata.
#include <gtest/gtest.h>

#include <string>

#include "base/complex_lua.h"
#include "host/luahost.h"
#include "host/register.h"
#include "numeric/matrix_lua.h"

namespace {

struct MatrixState {
    lua_State* L;
    MatrixState() : L(luaL_newstate()) {
        luaL_openlibs(L);
        SkeldaOpenInterpreterAdditions(L);
        SkeldaRegisterHostLibraries(L);
        luaopen_ssp(L);
        SkeldaRegisterImaginaryUnit(L);
    }
    ~MatrixState() { lua_close(L); }

    // Pushes the value of an expression.
    void Push(const char* expression) {
        std::string chunk = std::string("return ") + expression;
        ASSERT_EQ(luaL_dostring(L, chunk.c_str()), LUA_OK) << lua_tostring(L, -1);
    }
    // Calls f with the value of an expression and returns the error text, or
    // "" when f returned.
    std::string ErrorOf(lua_CFunction f, const char* expression) {
        lua_pushcfunction(L, f);
        Push(expression);
        int status = lua_pcall(L, 1, 0, 0);
        std::string s = status == LUA_OK ? "" : lua_tostring(L, -1);
        lua_settop(L, 0);
        return s;
    }
    std::string Text(int idx) {
        std::string t = SkeldaToLString(L, idx, nullptr);
        lua_pop(L, 1);
        return t;
    }
};

int ReadMatrixAndFree(lua_State* L) {
    FreeCheckedMatrix(luaL_checkMatrix(L, 1));
    return 0;
}

}  // namespace

TEST(MatrixLuaReaders, RowPointerReaderZeroesTinyPartsAndDropsImaginaryBlock) {
    MatrixState s;
    s.Push("{{1, Complex.New(2, 1e-307)}, {Complex.New(1e-310, 3), -4}}");
    MatrixType* M = luaL_checkMatrix(s.L, 1);
    ASSERT_NE(M, nullptr);
    EXPECT_EQ(M->Ni, 2);
    EXPECT_EQ(M->Nj, 2);
    EXPECT_EQ(M->QComplex, 1);
    EXPECT_EQ(M->Re[0][1], 2.0);
    EXPECT_EQ(M->Im[0][1], 0.0);  // below 2.2250738585072014e-306
    EXPECT_EQ(M->Re[1][0], 0.0);
    EXPECT_EQ(M->Im[1][0], 3.0);
    EXPECT_EQ(M->Re[1][1], -4.0);
    EXPECT_STREQ(M->Name, "Matrix");
    FreeCheckedMatrix(M);

    // Nothing imaginary left: a real matrix without an imaginary block.
    s.Push("{{Complex.New(1, 1e-307), 2}}");
    M = luaL_checkMatrix(s.L, -1);
    EXPECT_EQ(M->QComplex, 0);
    EXPECT_EQ(M->Im, nullptr);
    EXPECT_EQ(M->Re[0][0], 1.0);
    FreeCheckedMatrix(M);
}

TEST(MatrixLuaReaders, RowPointerReaderAcceptsOnlyTables) {
    MatrixState s;
    EXPECT_NE(s.ErrorOf(ReadMatrixAndFree, "Matrix.ToUserdata({{1}})").find("table expected, got userdata"),
              std::string::npos);
    EXPECT_EQ(s.ErrorOf(ReadMatrixAndFree, "{{1, 2}, {3}}"),
              "Error while reading matrix. Dimensions of rows not constant. 2 at first row 1 at row 2");
    EXPECT_EQ(s.ErrorOf(ReadMatrixAndFree, "{}"), "");
}

TEST(MatrixLuaReaders, CompactReaderBorrowsUserdataAndOwnsTables) {
    MatrixState s;
    s.Push("Matrix.ToUserdata({{1, 2}, {3, 4}})");
    CompactMatrixType* u = luaL_checkCompactMatrix(s.L, 1);
    EXPECT_EQ(u, luaL_testMatrixUserdata(s.L, 1));
    EXPECT_NE(u->QBorrowed, 0);
    // Freeing "whatever was read" leaves the userdata's buffers alone.
    FreeCompactMatrix(u);
    LuaFreeCheckedCompactMatrix(u);
    ASSERT_NE(u->data, nullptr);
    EXPECT_EQ(CompactMatrixRealData(*u)[3], 4.0);

    s.Push("{{1, 2}, {3, 4}}");
    CompactMatrixType* t = luaL_checkCompactMatrix(s.L, 2);
    EXPECT_EQ(t->QBorrowed, 0);
    EXPECT_EQ(t->QComplex, 0);
    EXPECT_STREQ(t->Name, "Matrix");
    EXPECT_EQ(CompactMatrixRealData(*t)[2], 3.0);
    LuaFreeCheckedCompactMatrix(t);
}

TEST(MatrixLuaPushers, TableFormsOfBothRecords) {
    MatrixState s;
    MatrixType M;
    M.Ni = 2;
    M.Nj = 1;
    M.QComplex = 1;
    ASSERT_EQ(InitMatrix(&M), 0);
    M.Re[0][0] = 1.5;
    M.Re[1][0] = 2;
    M.Im[1][0] = -1;
    LuaPushTable_MatrixType(s.L, M);
    FreeMatrix(&M);
    EXPECT_EQ(s.Text(-1), "{ { 1.5 } , \n  { (2 - 1 I) } }");
    // The outer table carries MatrixMeta, and the entry with imaginary part 0
    // is still a complex object.
    lua_getmetatable(s.L, -1);
    lua_getglobal(s.L, "MatrixMeta");
    EXPECT_TRUE(lua_rawequal(s.L, -1, -2));
    lua_settop(s.L, 1);
    lua_rawgeti(s.L, 1, 1);
    lua_rawgeti(s.L, -1, 1);
    EXPECT_NE(luaL_testComplex16(s.L, -1), nullptr);
    lua_settop(s.L, 0);

    LuaPushTable_IdentityMatrix(s.L, 3);
    EXPECT_EQ(s.Text(-1), "{ { 1 , 0 , 0 } , \n  { 0 , 1 , 0 } , \n  { 0 , 0 , 1 } }");
    lua_settop(s.L, 0);

    CompactMatrixType C = CompactidentityMatrix(2);
    CompactMatrixScale(&C, 3.0);
    LuaPushUserdata_CompactMatrixType(s.L, &C);
    EXPECT_TRUE(isNullMatrix(C));  // the userdata took the buffers
    CompactMatrixType* u = luaL_testMatrixUserdata(s.L, -1);
    ASSERT_NE(u, nullptr);
    EXPECT_EQ(CompactMatrixRealData(*u)[3], 3.0);
    LuaPushTable_CompactMatrixType(s.L, *u);
    EXPECT_EQ(s.Text(-1), "{ { 3 , 0 } , \n  { 0 , 3 } }");
}
