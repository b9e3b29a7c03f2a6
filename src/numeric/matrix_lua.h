// The script face of dense matrices.
//
// A script holds a matrix in one of two forms, and the two mix freely:
//
// - the table form: a Lua table of Ni row tables of Nj entries, each entry a
//   number or a Complex_Type object.  Its metatable is the global table
//   MatrixMeta, which gives it the arithmetic metamethods; a table without
//   that metatable is still read wherever a matrix is expected.
// - the userdata form: a full userdata with the metatable "Matrix_Type" that
//   holds a CompactMatrixType, for matrices too large to be kept as tables.
//   The record in the userdata has QBorrowed set, so that code that got it
//   from luaL_checkCompactMatrix can free "whatever it read" alike:
//   FreeCompactMatrix leaves the userdata's buffers alone, and only __gc
//   clears the flag and frees them.
//
// Result form: every call of the table Matrix and every metamethod gives a
// new userdata when any of its matrix arguments is a userdata, and the table
// form when all are tables.  Calls that create a matrix from numbers take an
// option list with {"Userdata", true} to ask for the userdata form.
//
// The file split: readers, pushers and the helpers shared by the calls in
// matrix_lua_io.cpp; the metamethods in matrix_lua_arith.cpp; the table
// Matrix in matrix_lua_create.cpp (matrices made from numbers),
// matrix_lua_functions.cpp (functions of one matrix) and
// matrix_lua_blocks.cpp (parts and block layouts); the eigensystem in
// matrix_lua_eigensystem.cpp; registration in matrix_lua_register.cpp.
#ifndef SKELDA_NUMERIC_MATRIX_LUA_H
#define SKELDA_NUMERIC_MATRIX_LUA_H

#include <lua.hpp>

#include "numeric/compactmatrix.h"
#include "numeric/matrix.h"

#define MATRIX_TYPE_NAME "Matrix_Type"
#define MATRIX_META_NAME "MatrixMeta"

// ------------------------------------------------------------------ readers

// The record of a Matrix_Type userdata at idx, or null for any other value.
CompactMatrixType* luaL_testMatrixUserdata(lua_State* L, int idx);

// The matrix at idx.  For a Matrix_Type userdata: the record inside it.  For
// a table: a new record (malloc) with new buffers and QBorrowed 0, owned by
// the caller, complex only when some entry has |im| > |re| * 2^-52.  For
// anything else the stock argument error "Matrix_Type expected, got %s".
// Rows of different lengths raise "Error while reading matrix. Dimensions of
// rows not constant. ...".  Free the result with LuaFreeCheckedCompactMatrix.
CompactMatrixType* luaL_checkCompactMatrix(lua_State* L, int idx);

// Frees what luaL_checkCompactMatrix returned: nothing for the record of a
// userdata, the buffers and the record for one read from a table.
void LuaFreeCheckedCompactMatrix(CompactMatrixType* M);

// The table at idx (only tables: "table expected, got %s") as a new
// row-pointer record (malloc).  Entries below 2.2250738585072014e-306 in
// magnitude become exactly 0, real and imaginary parts alike, and a matrix
// with no imaginary part left is real.  Free with FreeCheckedMatrix.
MatrixType* luaL_checkMatrix(lua_State* L, int idx);
void FreeCheckedMatrix(MatrixType* M);

// ------------------------------------------------------------------ pushers

// The table form: Ni row tables of Nj numbers (real matrix) or Complex_Type
// objects (complex matrix, also where an imaginary part is 0), the outer
// table with the metatable MatrixMeta, the rows without.
void LuaPushTable_CompactMatrixType(lua_State* L, CompactMatrixType M);
void LuaPushTable_MatrixType(lua_State* L, MatrixType M);
void LuaPushTable_IdentityMatrix(lua_State* L, int n);

// Pushes a new Matrix_Type userdata that takes over the buffers of *M and
// leaves *M a null matrix (CompactnullMatrix), which owns nothing.  If the
// interpreter can't make the userdata it raises its memory error and *M is
// left as it was.
void LuaPushUserdata_CompactMatrixType(lua_State* L, CompactMatrixType* M);

// ----------------------------------------------------- the table Matrix

int LuaMatrixAddSpin(lua_State* L);
int LuaMatrixConjugate(lua_State* L);
int LuaMatrixConjugateTranspose(lua_State* L);
int LuaMatrixDiagonal(lua_State* L);
int LuaMatrixEnlarge(lua_State* L);
int LuaMatrixExp(lua_State* L);
int LuaMatrixExpand(lua_State* L);
int LuaMatrixFlatten(lua_State* L);
int LuaMatrixIdentity(lua_State* L);
int LuaMatrixInverse(lua_State* L);
int LuaMatrixRotate(lua_State* L);
int LuaMatrixRandom(lua_State* L);
int LuaMatrixSqrt(lua_State* L);
int LuaSubmatrix(lua_State* L);
int LuaMatrixToTable(lua_State* L);
int LuaMatrixToUserdata(lua_State* L);
int LuaMatrixTranspose(lua_State* L);
int LuaMatrixZero(lua_State* L);

// -------------------------------------------------------------- metamethods

int LuaMatrixUnm(lua_State* L);
int LuaMatrixAdd(lua_State* L);
int LuaMatrixSub(lua_State* L);
int LuaMatrixMul(lua_State* L);
int LuaMatrixDiv(lua_State* L);
int LuaMatrixPow(lua_State* L);
int LuaMatrixToString(lua_State* L);
int LuaMatrixIndex(lua_State* L);
int LuaMatrixDestroy(lua_State* L);

// ------------------------------------------- arms of the global functions
// The matrix arms of the global calls that act on several kinds of values
// (see host/global_dispatch.h).  Each takes the matrix at index 1.

// Global Inverse(M): the inverse in the form of M; "Inverse failed" when the
// matrix is not square or singular.
int LuaMatrixInverseGlobal(lua_State* L);
// Global Chop(M [, eps]) of a userdata: a new userdata in which every real
// and imaginary part smaller than eps in magnitude is exactly 0; a matrix
// left without imaginary parts becomes real.
int LuaMatrixChop(lua_State* L);
// Eigensystem(M): the eigenvalues (a list) and the eigenvectors (a matrix in
// the form of M, eigenvector k in row k).  A Hermitian matrix gives real
// eigenvalues in ascending order and orthonormal vectors; any other square
// matrix gives Complex_Type eigenvalues ordered by real part and its right
// eigenvectors (M r = w r).
int LuaMatrixEigensystem(lua_State* L);

// Makes the metatable Matrix_Type, the global tables Matrix and MatrixMeta,
// and the operand rows of matrices in the arithmetic of complex numbers.
void LuaRegisterMatrixType(lua_State* L);

#endif
