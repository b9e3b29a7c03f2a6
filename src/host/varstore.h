// The variable store: io.put(store, name) saves the global variable `name`
// of a script, io.get(store, name) brings it back in a later run.
//
// A store is a directory with one file per variable.  The file of variable
// `name` is "<store>/<file name>.Skelda", the file name being the variable
// name with every capital letter X written as "^x" (so `aB` and `ab` keep
// different files on a file system that ignores case).  The file holds the
// script text "name = <value>", and getting the variable back means running
// that file.
//
// Value texts, by kind:
//   nil, booleans   nil, true, false
//   numbers         the shortest of "%.16G" and "%.17G" that reads back to
//                   the same bits; infinities and NaN as (1/0), (-1/0), (0/0)
//   strings         in double quotes, with \" \\ \n \r \t and \ddd escapes for
//                   the other control bytes, so any byte string reads back
//   Complex_Type    re + I * im, or re - I * |im|
//   tables          as tables print, with keys that are not plain names in
//                   brackets; a table whose metatable is MatrixMeta or
//                   ResponseFunctionMeta is written inside setmetatable(...)
//   Matrix_Type     Matrix.ToUserdata(<rows>)
//   Wavefunction_Type   a call of NewWavefunction with its determinants
//   Operator_Type       a call of NewOperator with its terms
//   TightBinding_Type   the fixed name Some_Variable_Of_TightBinding_Type
// Anything else (functions, threads, other userdata) is a script error.
#ifndef SKELDA_HOST_VARSTORE_H
#define SKELDA_HOST_VARSTORE_H

#include <lua.hpp>

#include <cstddef>
#include <cstdio>

struct WaveFunctionType;
struct OperatorType;

// ------------------------------------------------------------------ names

// 1 when name can't be the name of a stored variable (empty, first character
// a digit, or a character other than a letter, a digit or '_'), else 0.
// Keywords of the language are not refused.
int QStringIsValidLuaVariableName(const char* name);

// A new string (malloc) with every capital A..Z replaced by '^' and its small
// letter; null when the allocation fails.
char* SkeldaVariableToValidFilename(const char* name);

// ------------------------------------------------------------ script face

// io.put(store, name [, filetype]) and io.get(store, name).
int io_put(lua_State* L);
int io_get(lua_State* L);

// Save the global `name` into the store; filetype may be null (a new store
// is then of type "ASCII").  Refused names and store kinds raise script
// errors; an undefined variable is a warning and writes nothing.  Returns 0,
// or 1 after printing what failed (directory or file not writable).
int LuaPut(lua_State* L, const char* store, const char* name, const char* filetype);
// Restore the global `name` from the store.  0, or 1 after printing why the
// file could not be loaded or run.
int LuaGet(lua_State* L, const char* store, const char* name);

// The ASCII store, a directory.  LuaPutASCII writes the file through a
// temporary file beside it, so a value that can't be written leaves an older
// file of that variable as it was.
int LuaPutASCII(lua_State* L, const char* store, const char* name);
int LuaGetASCII(lua_State* L, const char* store, const char* name);

// Writes the text of the value at idx.  Raises a script error for a kind that
// can't be stored; returns 1 if writing to out failed, else 0.
int LuaASCIIStreamPrint(lua_State* L, int idx, FILE* out);

// Adds put and get to the table io.  Called after luaL_openlibs.
void LuaRegisterVariableStore(lua_State* L);

// --------------------------------------------- texts that know no interpreter

// The text of a number that reads back to the same bits (see above).  buf
// holds at least VariableStoreNumberTextSize characters.
constexpr size_t VariableStoreNumberTextSize = 32;
void VariableStoreNumberText(double x, char* buf);

// The bytes s[0..len-1] as a quoted string literal.
int StreamPrintQuotedString(const char* s, size_t len, FILE* out);

// NewWavefunction( NF, NB,{ {{ 0x.., ...}, prefactor}, ... },{{"Name",...},
// {"NBitsKey",...}}): the determinants in the order of the state, each as
// its bytes, the prefactors in "%22.15E" (a complex state writes every
// prefactor as a complex number, so it comes back complex).  0, or 1 when
// writing failed.
int StreamPrintWaveFunctionScript(const WaveFunctionType& psi, FILE* out);

// NewOperator( NF, NB,{ {ladder, ..., prefactor}, ... },
// {{"Name",...},{"NBitsKey",{...}} [,{"Restrictions",{...}}]}): every term
// in normal order, as the operator holds it, the prefactors in "%22.15E";
// the key width of each length and the occupation restrictions go along.
// 0, or 1 when writing failed.
int StreamPrintOperatorScript(const OperatorType& O, FILE* out);

#endif
