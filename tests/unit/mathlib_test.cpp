// The userdata arm of the matrix functions of math: a Matrix_Type userdata
// holds its record with QBorrowed set, is read in place, and a userdata
// argument gives a userdata result that owns fresh buffers.
#include <gtest/gtest.h>

#include "host/complex_lua.h"
#include "host/luahost.h"
#include "host/mathlib.h"
#include "numeric/compactmatrix.h"

namespace {

// The finaliser of a Matrix_Type userdata: its buffers go with it.
int DestroyTestMatrix(lua_State* L) {
    CompactMatrixType* M = static_cast<CompactMatrixType*>(luaL_checkudata(L, 1, "Matrix_Type"));
    M->QBorrowed = 0;
    FreeCompactMatrix(M);
    return 0;
}

struct MatrixState {
    lua_State* L;
    MatrixState() : L(luaL_newstate()) {
        luaL_openlibs(L);
        LuaRegisterMathLibrary(L);
        LuaRegisterComplex(L);
        LuaRegisterImaginaryUnit(L);
        LuaRegisterMathGlobals(L);
        luaL_newmetatable(L, "Matrix_Type");
        lua_pushcfunction(L, DestroyTestMatrix);
        lua_setfield(L, -2, "__gc");
        lua_pop(L, 1);
    }
    ~MatrixState() { lua_close(L); }

    // Pushes a real Ni x Nj userdata with element (i,j) = 10 i + j.
    void PushUserdata(uint32_t Ni, uint32_t Nj) {
        CompactMatrixType* ud = static_cast<CompactMatrixType*>(lua_newuserdata(L, sizeof(CompactMatrixType)));
        ud->Ni = Ni;
        ud->Nj = Nj;
        ud->QComplex = 0;
        ASSERT_EQ(InitCompactMatrix(ud), 0);
        for (uint32_t i = 0; i < Ni; i++)
            for (uint32_t j = 0; j < Nj; j++) CompactMatrixRealData(*ud)[i * Nj + j] = 10.0 * i + j;
        ud->QBorrowed = 1;
        luaL_setmetatable(L, "Matrix_Type");
    }
};

TEST(MathLibMatrix, TransposeOfUserdataIsANewUserdata) {
    MatrixState s;
    s.PushUserdata(2, 3);
    lua_setglobal(s.L, "A");
    ASSERT_EQ(luaL_dostring(s.L, "return MatrixTranspose(A)"), LUA_OK) << lua_tostring(s.L, -1);
    CompactMatrixType* T = static_cast<CompactMatrixType*>(luaL_testudata(s.L, -1, "Matrix_Type"));
    ASSERT_NE(T, nullptr);
    EXPECT_EQ(T->Ni, 3u);
    EXPECT_EQ(T->Nj, 2u);
    EXPECT_EQ(T->QBorrowed, 1);
    for (uint32_t i = 0; i < 3; i++)
        for (uint32_t j = 0; j < 2; j++) EXPECT_EQ(CompactMatrixRealData(*T)[i * 2 + j], 10.0 * j + i);
    // The argument is left as it was.
    lua_getglobal(s.L, "A");
    CompactMatrixType* A = static_cast<CompactMatrixType*>(lua_touserdata(s.L, -1));
    EXPECT_EQ(A->Ni, 2u);
    EXPECT_EQ(CompactMatrixRealData(*A)[1], 1.0);
    EXPECT_NE(A->data, T->data);
}

TEST(MathLibMatrix, DotOfUserdataAndTableIsATable) {
    MatrixState s;
    s.PushUserdata(2, 2);  // {{0, 1}, {10, 11}}
    lua_setglobal(s.L, "A");
    ASSERT_EQ(luaL_dostring(s.L, "local C = Dot(A, {{1}, {I}}) return C[1][1].re, C[1][1].im, C[2][1].re, C[2][1].im"),
              LUA_OK)
        << lua_tostring(s.L, -1);
    EXPECT_EQ(lua_tonumber(s.L, -4), 0.0);
    EXPECT_EQ(lua_tonumber(s.L, -3), 1.0);
    EXPECT_EQ(lua_tonumber(s.L, -2), 10.0);
    EXPECT_EQ(lua_tonumber(s.L, -1), 11.0);
}

}  // namespace
