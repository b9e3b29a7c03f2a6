// The script face of Complex16: the object type "Complex_Type" (a full
// userdata of 16 bytes holding one Complex16, no __gc), the library table
// Complex and the global I.
//
// Mixed arithmetic.  The binary metamethods of Complex_Type sort out every
// expression in which a complex number meets another value.  Numbers, complex
// objects, strings, nil, booleans and plain tables (element by element) are
// handled here.  Object types of other parts of the system add their own
// behaviour as "the complex number on the left, their object on the right"
// through one operand row each, registered with ComplexSetOperandRow when the
// type is registered:
//
//   static void ScaleThing(lua_State* L, Complex16 z, int idx) { ...push... }
//   static const ComplexOperandRow kThingRow = {
//       "Thing_Type", ComplexOperandUserdata, "thing",
//       {nullptr, nullptr, ScaleThing, nullptr, nullptr}};
//   ComplexSetOperandRow(kThingRow);
//
// A userdata row is found through the metatable of the right operand, looked
// up in the registry by name.  Operations without a handler raise
// "Error: complex number <word> <noun>\n".  A table row is found through the
// metatable of a plain table, looked up as a global by name (for instance
// "MatrixMeta"); operations without a handler fall back to the element-wise
// rule.  Userdata without a row give the noun "unrecognized userdata".
#ifndef SKELDA_BASE_COMPLEX_LUA_H
#define SKELDA_BASE_COMPLEX_LUA_H

#include <lua.hpp>

#include "base/complex16.h"

#define COMPLEX_TYPE_NAME "Complex_Type"

// Pushes a new Complex_Type object holding z.
void LuaPushComplex16(lua_State* L, Complex16 z);

// The value of a Complex_Type object at idx, or null for any other value.
Complex16* luaL_testComplex16(lua_State* L, int idx);

// The value of a Complex_Type object at idx; anything else raises the stock
// argument error "Complex_Type expected, got %s".
Complex16 luaL_checkComplex16(lua_State* L, int idx);

// Reads a number, a numeric string or a Complex_Type object at idx into *z
// (a number gets a zero imaginary part).  Returns 1 on success, 0 for any other
// value, leaving *z untouched; never raises.
int LuaToComplex16(lua_State* L, int idx, Complex16* z);

// Makes the metatable Complex_Type and the global table Complex.
void LuaRegisterComplex(lua_State* L);

// Sets the global I, the imaginary unit.
void LuaRegisterImaginaryUnit(lua_State* L);

// The binary operations in the order of their metamethods.
enum ComplexOperation {
    ComplexOpAdd,
    ComplexOpSub,
    ComplexOpMul,
    ComplexOpDiv,
    ComplexOpPow,
    ComplexOpCount
};

enum ComplexOperandKind {
    ComplexOperandUserdata,  // keyed by the registry name of a metatable
    ComplexOperandTable      // keyed by the global name of a table metatable
};

// Computes "z op value", the value standing at stack index idx (absolute),
// and pushes exactly one result.  Raises script errors as it needs.
typedef void (*ComplexOperandHandler)(lua_State* L, Complex16 z, int idx);

struct ComplexOperandRow {
    const char* metatable;  // registry name (userdata) or global name (table)
    ComplexOperandKind kind;
    const char* noun;       // word for the operand in messages (userdata rows)
    ComplexOperandHandler handler[ComplexOpCount];  // null: see the head of this file
};

// Adds a row, or replaces the row of the same name and kind.  The strings
// must outlive the program (literals).  Returns 0, or 1 when the fixed room
// for rows is used up (the row is then not added).
int ComplexSetOperandRow(const ComplexOperandRow& row);

// The metamethods and library functions, for registration and for tests.
int LuaComplexNew(lua_State* L);
int LuaComplexI(lua_State* L);
int LuaComplexExp(lua_State* L);
int LuaComplexRe(lua_State* L);
int LuaComplexIm(lua_State* L);
int LuaComplexIndex(lua_State* L);
int LuaComplexNewIndex(lua_State* L);
int LuaComplexAdd(lua_State* L);
int LuaComplexSub(lua_State* L);
int LuaComplexMul(lua_State* L);
int LuaComplexDiv(lua_State* L);
int LuaComplexPow(lua_State* L);
int LuaComplexUnm(lua_State* L);
int LuaComplexEq(lua_State* L);
int LuaComplexToString(lua_State* L);

#endif
