// The script names of the numerical base: InterpolatingFunction_Type with the
// table InterpolatingFunction, and Matrix_Type with Matrix and MatrixMeta.
#ifndef SKELDA_NUMERIC_REGISTER_NUMERIC_H
#define SKELDA_NUMERIC_REGISTER_NUMERIC_H

#include <lua.hpp>

void LuaRegisterNumeric(lua_State* L);

#endif
