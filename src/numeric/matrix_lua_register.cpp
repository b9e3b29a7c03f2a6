// Registration of the matrix script face: the metatable Matrix_Type, the
// library table Matrix, the global metatable MatrixMeta of the table form,
// and the rows of matrices in the arithmetic of complex numbers.
#include "numeric/matrix_lua.h"
#include "numeric/matrix_lua_internal.h"

void LuaRegisterMatrixType(lua_State* L) {
    static const luaL_Reg meta[] = {
        {"__unm", LuaMatrixUnm},
        {"__add", LuaMatrixAdd},
        {"__sub", LuaMatrixSub},
        {"__mul", LuaMatrixMul},
        {"__div", LuaMatrixDiv},
        {"__pow", LuaMatrixPow},
        {"__tostring", LuaMatrixToString},
        {"__index", LuaMatrixIndex},
        {"__gc", LuaMatrixDestroy},
        {nullptr, nullptr},
    };
    static const luaL_Reg lib[] = {
        {"AddSpin", LuaMatrixAddSpin},
        {"Conjugate", LuaMatrixConjugate},
        {"ConjugateTranspose", LuaMatrixConjugateTranspose},
        {"Diagonal", LuaMatrixDiagonal},
        {"Enlarge", LuaMatrixEnlarge},
        {"Exp", LuaMatrixExp},
        {"Expand", LuaMatrixExpand},
        {"Flatten", LuaMatrixFlatten},
        {"Identity", LuaMatrixIdentity},
        {"Inverse", LuaMatrixInverse},
        {"Rotate", LuaMatrixRotate},
        {"Random", LuaMatrixRandom},
        {"Sqrt", LuaMatrixSqrt},
        {"Sub", LuaSubmatrix},
        {"ToTable", LuaMatrixToTable},
        {"ToUserdata", LuaMatrixToUserdata},
        {"Transpose", LuaMatrixTranspose},
        {"Zero", LuaMatrixZero},
        {nullptr, nullptr},
    };
    // The table form takes part in arithmetic through the first six.
    static const luaL_Reg tableMeta[] = {
        {"__unm", LuaMatrixUnm},
        {"__add", LuaMatrixAdd},
        {"__sub", LuaMatrixSub},
        {"__mul", LuaMatrixMul},
        {"__div", LuaMatrixDiv},
        {"__pow", LuaMatrixPow},
        {nullptr, nullptr},
    };
    luaL_newmetatable(L, MATRIX_TYPE_NAME);
    luaL_setfuncs(L, meta, 0);
    lua_pop(L, 1);
    lua_createtable(L, 0, 18);
    luaL_setfuncs(L, lib, 0);
    lua_setglobal(L, "Matrix");
    lua_createtable(L, 0, 6);
    luaL_setfuncs(L, tableMeta, 0);
    lua_setglobal(L, MATRIX_META_NAME);
    LuaRegisterMatrixComplexRows();
}
