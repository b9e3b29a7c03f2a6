// ResponsefunctionType: one record for a response function in any of its
// representations, and its script object.
//
// The letter `type` names the representation: T chain, A star (Anderson),
// L list of poles, N natural impurity orbital.  Its case is the outfit: a
// lower-case letter is the record of a ResponseFunction_Type userdata, held
// in C memory and owned by that userdata; an upper-case letter is a record
// read from (or to be pushed as) a plain table, a temporary owned by
// whoever read it.  Every switch treats both cases of a letter alike.  With
// QBlock set, M points at the block form of the representation (blockforms.h),
// otherwise at the scalar form (listofpoles.h, tridiagonal.h).
//
// To a script the value is a userdata with the metatable
// "ResponseFunction_Type" or a table with the metatable ResponseFunctionMeta;
// both can be called at an energy, added, subtracted and negated, and are
// converted by the globals ChangeType, ToTable, ToUserdata, ReducePoles and
// PlaceOnMesh.
#ifndef SKELDA_RESPONSE_RESPONSEFUNCTION_H
#define SKELDA_RESPONSE_RESPONSEFUNCTION_H

#include <lua.hpp>

#include <cstdint>

#include "base/complex16.h"
#include "numeric/compactmatrix.h"
#include "response/blockforms.h"

#define RESPONSEFUNCTION_TYPE_NAME "ResponseFunction_Type"
#define RESPONSEFUNCTION_META_NAME "ResponseFunctionMeta"

struct ResponsefunctionType {
    char type;                // T/t, A/a, L/l, N/n
    char QBlock;              // 1: M holds a block form
    void* M;                  // the representation, owned
    double* SuggestedGrid;    // optional energy mesh for later conversions, owned
    uint32_t NSuggestedGrid;  // its length
};

// ---- records (responsefunction.cpp) ------------------------------------------

// 1 for the letters T, A, L, N in either case.
int QResponsefunctionLetter(char type);
// The letter in the case of the outfit: lower for userdata, upper for tables.
inline char ResponsefunctionUserdataLetter(char type) { return type >= 'A' && type <= 'Z' ? type + 32 : type; }
inline char ResponsefunctionTableLetter(char type) { return type >= 'a' && type <= 'z' ? type - 32 : type; }

// A deep copy with the same letter; on failure the copy has M null.
ResponsefunctionType ResponsefunctionCopy(ResponsefunctionType R);
// Frees M and the grid by QBlock and letter, and leaves M null.  An
// unknown letter prints "Error in FreeResponsefunction unrecognized type %c".
void FreeResponsefunction(ResponsefunctionType* R);
// The block part of FreeResponsefunction: "Error in FreeBlockMatrix
// unrecognized type %c" for an unknown letter.
void FreeBlockMatrix(ResponsefunctionType* R);
// Frees a record that a reader made from a table (upper-case letter) and
// leaves one that belongs to a userdata (lower-case letter) alone; an
// unknown letter prints "Error in FreeBlockMatrixFromLua unrecognized type %c".
void FreeBlockMatrixFromLua(ResponsefunctionType* R);

// A new record of the representation and case of `target`, converted from R
// with the chemical potential mu for the splits of natural orbitals.  The
// grid is carried over.  On failure the result has M null, after a line on
// the standard output.  ConvertBlockMatrix needs a block record; a scalar one
// fails with "ERROR: called ConvertBlockMatrix on a ResponsefunctionType
// that is not in Block Form.".  A block source with a SuggestedGrid goes to a
// list through the variable-grid form: the poles end on the grid.
ResponsefunctionType ConvertResponsefunction(ResponsefunctionType R, char target, double mu);
ResponsefunctionType ConvertBlockMatrix(ResponsefunctionType R, char target, double mu);
// The block list of any record: a block form is converted, a scalar one
// becomes a list of 1 by 1 blocks.  On failure the result has Value null.
int ResponsefunctionToBlockListOfPoles(ResponsefunctionType R, BlockListOfPoles* out);

// The value of a scalar record at omega + i gamma/2.  An unknown letter
// prints "Error in LuaEvaluate_ResponseFunction: Type of Response function
// should be either T/t,A/a,L/l, or N/n and not %c\n" and gives 0.
Complex16 EvaluateResponsefunctionType(ResponsefunctionType R, double omega, double gamma);
// The value of a block record, out initialised here; 0 on success.  The
// natural-orbital block form is not evaluated: it prints "Not implemented
// EvaluateBlockaturalImpurityOrbital" and fails (its list form is).
int EvaluateBlockResponsefunctionType(ResponsefunctionType R, CompactMatrixType* out, double omega, double gamma);

// The poles of the representation: the eigenvalues of the one-particle
// Hamiltonian of a chain or a star (N*M of them for blocks), the energies of
// a list, those of both chains of a natural orbital; ascending, in a new
// malloc'ed array of *n values (null when there are none).  0 on success.
int ResponsefunctionEigenvalues(ResponsefunctionType R, double** values, uint32_t* n);

// ---- script faces (lua_responsefunction.cpp) ----------------------------------

// The response function at index: from a ResponseFunction_Type userdata a
// copy of the record head (the userdata keeps the memory), from a table a
// full reading by its type (a new record the caller frees, for instance with
// FreeBlockMatrixFromLua).
ResponsefunctionType luaL_checkResponsefunction(lua_State* L, int index);
// 1 for a ResponseFunction_Type userdata and for a table with a type field.
int lua_isResponsefunction(lua_State* L, int index);
// Lower-case letter: a new userdata that takes over R.  Upper-case letter:
// the table form; R stays the caller's.
void LuaPush_ResponseFunction(lua_State* L, ResponsefunctionType R);
// The table form of R whatever the case of its letter; R stays the caller's.
void LuaPushTable_ResponseFunction(lua_State* L, ResponsefunctionType R);

// Metamethods.
int LuaResponseFunctionUnm(lua_State* L);
int LuaResponseFunctionAdd(lua_State* L);
int LuaResponseFunctionSub(lua_State* L);
int LuaResponseFunctionMul(lua_State* L);
int LuaResponseFunctionDiv(lua_State* L);
int LuaResponseFunctionPow(lua_State* L);
int LuaResponseFunctionConcat(lua_State* L);
int LuaResponseFunctionEq(lua_State* L);
int LuaResponseFunctionLt(lua_State* L);
int LuaResponseFunctionLe(lua_State* L);
int LuaResponseFunctionMode(lua_State* L);
int LuaResponseFunctionCall(lua_State* L);
int LuaResponseFunctionToString(lua_State* L);
int LuaResponseFunctionDestroy(lua_State* L);

// The globals.
int LuaChangeTypeResponseFunction(lua_State* L);
int LuaReducePolesResponseFunction(lua_State* L);
int LuaPlaceOnMeshResponseFunction(lua_State* L);
int LuaResponseFunctionToTable(lua_State* L);
int LuaResponseFunctionToUserdata(lua_State* L);
int LuaResponseFunctionToTightBinding(lua_State* L);

// The eigenvalue form of Eigensystem(G): one list, the values of
// ResponsefunctionEigenvalues.
int LuaResponseFunctionEigensystem(lua_State* L);

// Makes the metatable ResponseFunction_Type, the global table
// ResponseFunctionMeta, and the operand rows of response functions in the
// arithmetic of complex numbers.
void LuaRegisterResponseFunctionType(lua_State* L);

#endif
