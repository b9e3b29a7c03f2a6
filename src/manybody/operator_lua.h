// The script face of operators: the userdata "Operator_Type" that holds one
// OperatorType record, the constructor NewOperator, and the globals
// OperatorSetTrace and OperatorToMatrix.
//
// Fields and methods.  O.Name, O.NF, O.NB, O.Complex, O.N (a table of the
// number of terms of each length, from index 0) and O.Restrictions are read
// through __index; Name, NF, NB and Restrictions can be written.  The
// methods Print, Chop, Conjugate, Dag (also ConjugateTranspose and CT) and
// Transpose are called with a dot and without self, O.Chop(1e-8): __index
// makes O the current object (host/currentudata.h) and the method acts on it.
//
// Arithmetic.  O1 + O2, O1 - O2 and O1 * O2 of operators on the same modes;
// a number or a Complex added to (or subtracted from) an operator changes its
// constant term; numbers and Complex values scale an operator from either
// side and divide it from the right; -O.  O * psi applies O to a wave
// function; psi * O (when the wave function leaves the product to the
// operator) gives the ket O^dagger psi.  Every operator result is new and in
// normal order (fermion creators, fermion annihilators, boson creators, boson
// annihilators, modes falling from left to right within each class).
//
// Named constructors.  NewOperator("Name", ...) hands the whole call to the
// constructor registered under that name with LuaSetNamedOperatorConstructor;
// the atomic one-particle and Coulomb operators register theirs there.
#ifndef SKELDA_MANYBODY_OPERATOR_LUA_H
#define SKELDA_MANYBODY_OPERATOR_LUA_H

#include <lua.hpp>

#include "manybody/operator.h"

#define OPERATOR_TYPE_NAME "Operator_Type"

// The record of an Operator_Type userdata at idx, or null for any other value.
OperatorType* luaL_testOperator(lua_State* L, int idx);
// The same, raising the stock argument error "Operator_Type expected, got %s"
// for any other value.
OperatorType* luaL_checkOperator(lua_State* L, int idx);
// 1 when the value at idx is an operator (the kind test of the dispatchers).
int LuaKindOperator(lua_State* L, int idx);

// Pushes a new userdata that takes over *O (the caller no longer frees it),
// with QComplex brought up to date.  If the interpreter can't make the
// userdata, *O is freed and the memory error raised.
void LuaPushOperator(lua_State* L, OperatorType* O);

// Registers (or replaces) the constructor of NewOperator(name, ...).  The
// name must outlive the program (a literal).  Returns 0, or 1 when the room
// for names is used up.
int LuaSetNamedOperatorConstructor(const char* name, lua_CFunction constructor);
// The constructor registered under name (exact spelling), or null.
lua_CFunction LuaFindNamedOperatorConstructor(const char* name);

// NewOperator(NF, NB, {{ladder, ..., prefactor}, ...} [, options]) or
// NewOperator("Name", ...).
int LuaNewOperator(lua_State* L);

// Metamethods.
int LuaOperatorIndex(lua_State* L);
int LuaOperatorNewIndex(lua_State* L);
int LuaOperatorAdd(lua_State* L);
int LuaOperatorSub(lua_State* L);
int LuaOperatorMul(lua_State* L);
int LuaOperatorDiv(lua_State* L);
int LuaOperatorUnm(lua_State* L);
int LuaOperatorToString(lua_State* L);
int LuaOperatorDestroy(lua_State* L);

// The dot methods; each acts on the operator indexed last.
int LuaOperatorPrint(lua_State* L);
int LuaOperatorChop(lua_State* L);
int LuaOperatorConjugate(lua_State* L);
int LuaOperatorDag(lua_State* L);
int LuaOperatorTranspose(lua_State* L);

// OperatorSetTrace(O, {modes}, value): adds the same multiple of the number
// operator of each listed mode so that the trace of O over them becomes
// value (a number or a Complex).  O is changed in place and returned.
int LuaOperatorSetTrace(lua_State* L);

// OperatorToMatrix(O, x): the matrix of O over the determinants of the wave
// function x, in the order of its elements; the matrix of elements between
// the functions of a list; or, for a one-particle density matrix x (NF x NF),
// the one-particle matrix of O, element (i, j) the prefactor of C i A j, the
// matrix whose elementwise product with x sums to the one-particle part of
// the expectation value.  The result has the table form of matrices.
int LuaOperatorToMatrix(lua_State* L);

// Arms of the global calls Copy (and Clone), Conjugate, Transpose,
// ConjugateTranspose and Chop(O, eps) for an operator at index 1: each pushes
// a new operator and leaves its argument as it was.  Chop sets every real and
// imaginary part below eps in magnitude to 0 and drops the terms that became 0.
int LuaOperatorCopyArm(lua_State* L);
int LuaOperatorConjugateArm(lua_State* L);
int LuaOperatorTransposeArm(lua_State* L);
int LuaOperatorConjugateTransposeArm(lua_State* L);
int LuaOperatorChopArm(lua_State* L);
// Rotate(O, U): O written in the orbitals of the rows of the square matrix U
// (table or userdata), new_r = sum_i U[r][i] old_i, so that a one-particle
// matrix h becomes conj(U) h U^T.  U has at most NF + NB rows (the modes
// beyond stay as they are) and does not mix fermions with bosons.
int LuaOperatorRotateArm(lua_State* L);

// Makes the metatable Operator_Type and the operand rows of operators in the
// arithmetic of complex numbers.
void LuaRegisterOperatorType(lua_State* L);

#endif
