// Objects whose finaliser has run.  A script can call a finaliser by hand
// (getmetatable(x).__gc(x)) and go on using the object; its record is then
// gone.  Every finaliser of a script object calls LuaMarkReleased after
// freeing the record: the userdata gets the metatable "Released_Type", whose
// metamethods all raise "Error: this object was released (its finaliser has
// run) and can not be used any more", and it is no longer of its old kind,
// so every checker of the old kind refuses it with the stock argument error.
// A method handed out before (O.Dag) finds no current object any more.
#ifndef SKELDA_BASE_RELEASED_H
#define SKELDA_BASE_RELEASED_H

#include <lua.hpp>

// Marks the userdata at idx as released.
void LuaMarkReleased(lua_State* L, int idx);

#endif
