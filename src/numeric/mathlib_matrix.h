// The vector and matrix functions of the table math: Dot and the transposes
// of nested tables.
#ifndef SKELDA_NUMERIC_MATHLIB_MATRIX_H
#define SKELDA_NUMERIC_MATHLIB_MATRIX_H

#include <lua.hpp>

// Dot(a, b): the matrix product of two matrices (tables of rows or Matrix_Type
// userdata) as a table of rows, or sum_i conj(a_i) b_i of two vectors.
int math_Dot(lua_State* L);
// Transpose, conjugate transpose and conjugate of one matrix; the result has
// the form of the argument (userdata or table of rows).
int math_MatrixTranspose(lua_State* L);
int math_MatrixConjugateTranspose(lua_State* L);
int math_MatrixConjugate(lua_State* L);

#endif
