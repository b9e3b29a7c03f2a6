// Global script calls that act on several kinds of values: Copy and Clone,
// Conjugate, Transpose, ConjugateTranspose, Chop, Rotate, Inverse and
// Eigensystem.
//
// Each of them is a dispatcher.  It looks at its first argument and hands the
// whole call (same stack) to the arm of that argument's kind.  The arms of a
// call are one list of rows {test, function} in global_dispatch.cpp, tried in
// order, the first row whose test accepts argument 1 winning.
//
// Adding a kind (wave functions, operators, response functions, ...):
//   1. write the arm, a lua_CFunction that takes the value at index 1 (and,
//      for Chop, the tolerance at index 2, always given) and pushes its
//      results;
//   2. write the test, int QLuaThing(lua_State* L, int idx), 1 when the value
//      at idx is of the kind (for a userdata: luaL_testudata with its
//      registry name);
//   3. add the row {QLuaThing, LuaThingArm} to the list of each call the kind
//      takes part in, ahead of the row LuaKindTable: a table form of the new
//      kind (a table with its own metatable, or with a field "type") must be
//      recognised before plain tables are.
// Nothing else changes: the globals stay registered as they are.
//
// Plain tables are handled here for all kinds at once: Copy, Conjugate and
// Chop go element by element through the same global (so nested values of
// any kind are handled by their own arms), keeping the keys and the
// metatable; Transpose and ConjugateTranspose transpose a list of rows of
// equal length and apply themselves to every entry.
#ifndef SKELDA_HOST_GLOBAL_DISPATCH_H
#define SKELDA_HOST_GLOBAL_DISPATCH_H

#include <lua.hpp>

#include "base/chop.h"

// Tolerance of Chop(x) when none is given: parts smaller in magnitude become 0.
// One arm of a dispatcher.
struct LuaDispatchArm {
    int (*test)(lua_State* L, int idx);
    lua_CFunction function;
};

// Kind tests of the values known to the host.
int LuaKindNumber(lua_State* L, int idx);       // a number (not a numeric string)
int LuaKindImmutable(lua_State* L, int idx);    // a string or a boolean
int LuaKindComplex(lua_State* L, int idx);      // a Complex_Type object
int LuaKindMatrixUserdata(lua_State* L, int idx);
int LuaKindTable(lua_State* L, int idx);        // any table

// The globals.  Copy(x) and Clone(x) are the same call.
int Luacopy(lua_State* L);
int Luaconjugate(lua_State* L);
int Luatranspose(lua_State* L);
int Luaconjugatetranspose(lua_State* L);
int LuaChop(lua_State* L);       // Chop(x [, eps])
int Luarotate(lua_State* L);     // Rotate(x, U)
int LuaInverse(lua_State* L);
// Eigensystem with one argument: the dense forms (LuaEigensystemDenseTable);
// with more: the many-body forms, dispatched on the kind of argument 1.
int LuaEigensystem(lua_State* L);
int LuaEigensystemDenseTable(lua_State* L);

#endif
