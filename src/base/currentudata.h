// The object of the last field lookup: wave functions and operators have
// methods called with a dot and without self (psi.Chop(1e-6), O.Print()).
// Their __index stores the addressed userdata here, and the method values it
// hands out act on whatever object was indexed last.
//
// The object is anchored in the registry while it is the current one, so a
// method saved and called after its object went out of scope still finds a
// live record; and the registry name of its metatable is kept beside it, so
// a method of one kind never acts on an object of another kind.
#ifndef SKELDA_BASE_CURRENTUDATA_H
#define SKELDA_BASE_CURRENTUDATA_H

#include <lua.hpp>

// The record of the userdata last seen by an __index, or null.
extern void* currentudata;

// Makes the full userdata at idx, whose metatable is registered as
// typeName (a literal), the current object.
void LuaSetCurrentUdata(lua_State* L, int idx, const char* typeName);

// The current object if it is of the kind typeName; otherwise raises
// "Error: the method .<method>() was called while the last object indexed
// was not <noun>\n".
void* LuaCheckCurrentUdata(lua_State* L, const char* typeName, const char* method, const char* noun);

// Pushes the current object (nil when there is none), for a method that
// hands it on to a function taking the object as its first argument.
void LuaPushCurrentUdata(lua_State* L);

#endif
