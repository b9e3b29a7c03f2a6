// Option tables ({{"name", value}, ...} as the last argument of a script
// call) and the readers and pushers between script values and C arrays.
#ifndef SKELDA_HOST_OPTIONS_H
#define SKELDA_HOST_OPTIONS_H

#include <lua.hpp>

#include <cstdint>
#include <string>
#include <vector>

#include "host/complex16.h"

// One accepted option: its name as the user writes it (matched ignoring
// case), one of the type names "char*", "int", "uint32_t", "uint16_t",
// "uint8_t", "double", "bool", "array-uint32_t-3", "Vector",
// "DeterminantRestrictionType", and where the decoded value is written.
// A record with a null name ends a list.
struct LuaOptionsType {
    const char* name;
    const char* type;
    void* value;
};

// A vector of real (QComplex 0, data is double*) or complex (QComplex 1,
// data is Complex16*) numbers.  The vector owns data.
struct CompactVectorType {
    uint32_t NElem;
    uint32_t QComplex;
    void* data;
};

int LuaCheckOptions(lua_State* L, int idx, LuaOptionsType* options);
int LuaTestOptionsList(lua_State* L, int idx);
void* LuaFindOptionsInTable(lua_State* L, int idx, const char* name, const char* type);
void* LuaReturnVariableType(lua_State* L, int idx, const char* type);

// Array readers: a new malloc'ed array owned by the caller, its length in n.
uint8_t* luaL_checkarray_unit8_t(lua_State* L, int idx, unsigned int* n);
uint16_t* luaL_checkarray_unit16_t(lua_State* L, int idx, unsigned int* n);
uint32_t* luaL_checkarray_unit32_t(lua_State* L, int idx, unsigned int* n);
double* luaL_checkarray_double(lua_State* L, int idx, unsigned int* n);
Complex16* luaL_checkarray_complex16(lua_State* L, int idx, unsigned int* n);
char** luaL_checkarray_string(lua_State* L, int idx, unsigned int* n);

// Value readers.
std::vector<double> luaL_checkarray_double(lua_State* L, int idx);
std::vector<int> luaL_checkarray_int(lua_State* L, int idx);
std::vector<std::string> luaL_checkarray_string(lua_State* L, int idx);
std::vector<int> luaL_checkvector_int(lua_State* L, int idx);
std::vector<uint16_t> luaL_checkvector_unit16_t(lua_State* L, int idx);
std::vector<std::string> luaL_checkvector_string(lua_State* L, int idx);
std::vector<std::vector<double>> luaL_check2DArray_double(lua_State* L, int idx);
CompactVectorType luaL_checkVector(lua_State* L, int idx);

// Push functions: each leaves one new table on the stack.
void LuaPushArray_double(lua_State* L, const double* a, unsigned int n);
void LuaPushArray_uint32_t(lua_State* L, const uint32_t* a, unsigned int n);
void LuaPushArray_Complex16(lua_State* L, const Complex16* a, unsigned int n);
void LuaPushVector_string(lua_State* L, const std::vector<std::string>& v);

// Appends formatted text to a malloc'ed buffer, growing it as needed.
int sprintfAdd(char** buffer, const char* format, ...);

#endif
