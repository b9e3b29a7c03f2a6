// Option tables ({{"name", value}, ...} as the last argument of a script
// call) and the readers and pushers between script values and C arrays.
#ifndef SKELDA_BASE_OPTIONS_H
#define SKELDA_BASE_OPTIONS_H

#include <lua.hpp>

#include <cstdint>
#include <string>
#include <vector>

#include "base/complex16.h"

// One accepted option: its name as the user writes it (matched ignoring
// case), one of the type names "char*", "int", "uint32_t", "uint16_t",
// "uint8_t", "double", "bool", "array-uint32_t-3", "Vector",
// "DeterminantRestrictionType" (or another name that a layer above added
// with LuaAddOptionType), and where the decoded value is written.
// A record with a null name ends a list.
struct LuaOptionsType {
    const char* name;
    const char* type;
    void* value;
};

// A vector of real (QComplex 0, data is double*) or complex (QComplex 1,
// data is Complex16*) numbers.  The vector owns data; an empty vector has
// NElem 0 and data null.
struct CompactVectorType {
    uint32_t NElem;
    uint32_t QComplex;
    void* data;
};

// An option type that a layer above the ground defines (the determinant
// restrictions of the many-body layer are one): its name, the bytes of its
// value, a reader that decodes the script value at idx into dst (raising a
// script error on a bad value) and a release of what the reader allocated
// inside a value (not the value's own block).
struct LuaOptionTypeExtension {
    const char* name;
    size_t size;
    void (*read)(lua_State* L, int idx, void* dst);
    void (*release)(void* value);
};

// Adds an option type, or replaces the one of the same name.  Values up to
// kLuaOptionExtensionMaxSize bytes; returns 1 (and adds nothing) for a larger
// one or when the list of extensions is full, else 0.
const size_t kLuaOptionExtensionMaxSize = 64;
int LuaAddOptionType(const LuaOptionTypeExtension& type);

// Frees the data of v and leaves an empty real vector.
void FreeCompactVector(CompactVectorType* v);

// Reads the option list at idx and writes the value of every pair into all
// records whose name equals the pair's name ignoring case; a later pair wins.
// Returns 0, or 1 when the text of an unrecognized-option error can't be
// allocated.  Every other failure raises a script error.
int LuaCheckOptions(lua_State* L, int idx, LuaOptionsType* options);

// 1 when the value at idx has the form of an option list (an empty table
// counts), else 0.  Never raises.
int LuaTestOptionsList(lua_State* L, int idx);

// The value of the last pair named `name` (case counts) in the list at idx,
// decoded as LuaReturnVariableType does, or null when there is none.
void* LuaFindOptionsInTable(lua_State* L, int idx, const char* name, const char* type);

// Decodes the value at idx by a type name into a new malloc'ed block owned by
// the caller.  "char*" gives the interpreter's own string (not a copy, not to
// be freed) and "array-uint32_t-3" the array itself (null unless the table
// holds 3 numbers); every other type gives a pointer to a block holding the
// value.  Null for a type name it doesn't know.
void* LuaReturnVariableType(lua_State* L, int idx, const char* type);

// The number at idx (or a numeric string) truncated toward zero; the stock
// "number expected" argument error otherwise.  NaN gives 0, and values
// beyond the 64-bit range the nearest end of it.
int64_t luaL_checkinteger64(lua_State* L, int idx);

// malloc for script-facing code: after a failure runs a full collection of
// the interpreter and tries once more; raises "Allocation failed in <who>"
// when that fails too.  Never returns null (a size of 0 allocates 1 byte).
void* LuaMallocOrCollect(lua_State* L, size_t size, const char* who);

// Array readers: a new malloc'ed array owned by the caller, its length in n.
// Integers are truncated toward zero through a 64-bit integer, low bits kept.
// The strings of luaL_checkarray_string point into the interpreter's own
// strings: they are valid while the table lives and are not to be written.
uint8_t* luaL_checkarray_unit8_t(lua_State* L, int idx, unsigned int* n);
uint16_t* luaL_checkarray_unit16_t(lua_State* L, int idx, unsigned int* n);
uint32_t* luaL_checkarray_unit32_t(lua_State* L, int idx, unsigned int* n);
double* luaL_checkarray_double(lua_State* L, int idx, unsigned int* n);
Complex16* luaL_checkarray_complex16(lua_State* L, int idx, unsigned int* n);
char** luaL_checkarray_string(lua_State* L, int idx, unsigned int* n);

// Value readers.  luaL_checkvector_int and luaL_checkvector_string also take
// a single number or string in place of a table.
std::vector<double> luaL_checkarray_double(lua_State* L, int idx);
std::vector<int> luaL_checkarray_int(lua_State* L, int idx);
std::vector<std::string> luaL_checkarray_string(lua_State* L, int idx);
std::vector<int> luaL_checkvector_int(lua_State* L, int idx);
std::vector<uint16_t> luaL_checkvector_unit16_t(lua_State* L, int idx);
std::vector<std::string> luaL_checkvector_string(lua_State* L, int idx);
std::vector<std::vector<double>> luaL_check2DArray_double(lua_State* L, int idx);
// A table of numbers and complex numbers.  Complex only when some element
// has an imaginary part that is not negligible beside its own real part.
CompactVectorType luaL_checkVector(lua_State* L, int idx);

// Push functions: each leaves one new table on the stack.
void LuaPushArray_double(lua_State* L, const double* a, unsigned int n);
void LuaPushArray_uint32_t(lua_State* L, const uint32_t* a, unsigned int n);
void LuaPushArray_Complex16(lua_State* L, const Complex16* a, unsigned int n);
void LuaPushVector_string(lua_State* L, const std::vector<std::string>& v);

// Appends formatted text to the end of the malloc'ed text in *buffer,
// growing it as needed.  Returns the number of characters appended, or 1
// after a failed realloc (the buffer is then left as it was).
int sprintfAdd(char** buffer, const char* format, ...) __attribute__((format(printf, 2, 3)));

#endif
