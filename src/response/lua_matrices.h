// Matrices inside the table forms of block response functions: a table of
// row tables of numbers and complex numbers, or a Matrix_Type userdata.  The
// readers of the matrix layer do the reading; what is added here is the
// test of a matrix-valued element and a reader that reports a wrong value
// to the caller (who raises the message of its own table form) instead of
// raising the argument errors of the matrix readers.
#ifndef SKELDA_RESPONSE_LUA_MATRICES_H
#define SKELDA_RESPONSE_LUA_MATRICES_H

#include <lua.hpp>

#include "numeric/compactmatrix.h"

// 1 when the value at idx can stand for a matrix: a Matrix_Type userdata, or
// a table whose first element is a table (a row).
int QLuaResponseMatrix(lua_State* L, int idx);

// Reads the matrix at idx into a new record *out owned by the caller (a
// copy, also of a userdata), real unless some element has an imaginary part
// beyond |re| 2^-52.  Returns 1, without touching *out, when the value is not
// a matrix of numbers; rows of unequal length raise "Error while reading
// matrix. Dimensions of rows not constant. %d at first row %d at row %d".
int LuaReadResponseMatrix(lua_State* L, int idx, CompactMatrixType* out);

#endif
