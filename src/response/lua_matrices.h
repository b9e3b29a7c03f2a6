// Matrices inside the table forms of block response functions: a table of
// row tables of numbers and complex numbers, or a Matrix_Type userdata, read
// into and pushed from CompactMatrixType records.
#ifndef SKELDA_RESPONSE_LUA_MATRICES_H
#define SKELDA_RESPONSE_LUA_MATRICES_H

#include <lua.hpp>

#include "numeric/compactmatrix.h"

// 1 when the value at idx can stand for a matrix: a Matrix_Type userdata, or
// a table whose first element is a table (a row).
int QLuaResponseMatrix(lua_State* L, int idx);

// Reads the matrix at idx into a new record *out (owned by the caller).  The
// matrix is read as complex and made real when every imaginary part is
// negligible beside its real part (|im| <= |re| 2^-52).  Returns 1, without
// touching *out, when the value is not a matrix of numbers; rows of unequal
// length raise "Error while reading matrix. Dimensions of rows not constant.
// %d at first row %d at row %d".
int LuaReadResponseMatrix(lua_State* L, int idx, CompactMatrixType* out);

// Pushes the table form of M: rows of numbers when real, of Complex_Type
// objects when complex, the outer table with the metatable MatrixMeta.
void LuaPushResponseMatrix(lua_State* L, const CompactMatrixType& M);

#endif
