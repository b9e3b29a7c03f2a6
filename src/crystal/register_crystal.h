// The script names of crystals: tight-binding models, sums over the
// Brillouin zone, cluster Hamiltonians and pictures.
#ifndef SKELDA_CRYSTAL_REGISTER_CRYSTAL_H
#define SKELDA_CRYSTAL_REGISTER_CRYSTAL_H

#include <lua.hpp>

void LuaRegisterCrystal(lua_State* L);

#endif
