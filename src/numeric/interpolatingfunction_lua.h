// The script face of interpolating functions: the userdata
// "InterpolatingFunction_Type", which owns one InterpolatingFunction handle,
// and the library table InterpolatingFunction with its constructor Spline.
#ifndef SKELDA_NUMERIC_INTERPOLATINGFUNCTION_LUA_H
#define SKELDA_NUMERIC_INTERPOLATINGFUNCTION_LUA_H

#include <lua.hpp>

// InterpolatingFunction.Spline(x, y [, yp1, ypn]): the cubic spline through
// the points (x[i], y[i]), x strictly ascending.  yp1 and ypn are the first
// derivatives at the first and the last knot (clamped ends); nil, NaN or the
// two-argument form give natural ends (second derivative 0).
int LuaSplineInterpolate(lua_State* L);

// __call: f(x [, order]) with x a number or a table of numbers, order 0
// (value, the default), 1 or 2 (derivatives); a table gives a table.
int LuaInterpolateCall(lua_State* L);
// __tostring: "Interpolating Function".  __gc: frees the function.
int LuaInterpolateToString(lua_State* L);
int LuaInterpolateGc(lua_State* L);

// Arithmetic, comparison, concatenation and __mode: defined, but they do
// nothing and return no value, so that -f or f + g is nil.
int LuaInterpolateUnm(lua_State* L);
int LuaInterpolateAdd(lua_State* L);
int LuaInterpolateSub(lua_State* L);
int LuaInterpolateMul(lua_State* L);
int LuaInterpolateDiv(lua_State* L);
int LuaInterpolatePow(lua_State* L);
int LuaInterpolateConcat(lua_State* L);
int LuaInterpolateEq(lua_State* L);
int LuaInterpolateLt(lua_State* L);
int LuaInterpolateLe(lua_State* L);
int LuaInterpolateMode(lua_State* L);

// Creates the metatable "InterpolatingFunction_Type" and the global table
// InterpolatingFunction.
void LuaRegisterInterpolatingFunctionType(lua_State* L);

#endif
