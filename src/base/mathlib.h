// The script library `math`: the stock functions, most of them also for
// complex arguments, a capitalised twin of every stock name, and the
// functions of atomic physics (factorials, binomials, spherical Bessel
// functions, Laguerre polynomials, the Voigt profile, the error functions of
// complex argument, angular-momentum coefficients, harmonics, products of
// vectors and matrices).  Every function name of the table is also a global.
//
// The functions here read their arguments and call kernels of
// base/complex16.h and base/specialfunctions.h; the matrix and angular functions
// of the table live in numeric/mathlib_matrix.h and atomic/mathlib_angular.h,
// and host/mathlib_table.h assembles the table;
// they hold no state of their own.  Functions that take complex numbers test
// argument 1 for a Complex_Type object first and otherwise read a number, so
// any other value raises the stock "number expected, got ..." error.
#ifndef SKELDA_BASE_MATHLIB_H
#define SKELDA_BASE_MATHLIB_H

#include <lua.hpp>

// The functions of the table in table order, ended by a null name.  The
// table holds these names and, after them, pi, Pi, huge and Huge.
// Replaces the stock table math, as global and as package.loaded.math, by a
// new table of the functions above and the four numbers.
// Stores every function of the list above as a global of the same name (the
// four numbers are not part of it).
// Elementary functions.  abs, sin, sinh, cos, cosh, tan, tanh, exp, log and
// log10 also take a complex number: abs gives its modulus, the others a
// complex number.  log takes an optional base as the stock one does; with a
// complex argument or base the result is Clog(x)/Clog(base).
int math_abs(lua_State* L);
int math_acos(lua_State* L);
int math_asin(lua_State* L);
int math_atan2(lua_State* L);
int math_atan(lua_State* L);
int math_ceil(lua_State* L);
int math_cosh(lua_State* L);
int math_cos(lua_State* L);
int math_deg(lua_State* L);
int math_exp(lua_State* L);
int math_floor(lua_State* L);
int math_fmod(lua_State* L);
int math_frexp(lua_State* L);
int math_ldexp(lua_State* L);
int math_log10(lua_State* L);
int math_log(lua_State* L);
int math_max(lua_State* L);
int math_min(lua_State* L);
int math_modf(lua_State* L);
int math_pow(lua_State* L);
int math_rad(lua_State* L);
int math_sinh(lua_State* L);
int math_sin(lua_State* L);
// A negative number is a script error; a complex argument the stock one.
int math_sqrt(lua_State* L);
int math_tanh(lua_State* L);
int math_tan(lua_State* L);

// The C library generator rand(): random() in [0,1), random(u) an integer in
// 1..u, random(l,u) an integer in l..u; randomseed(n) reseeds it.
int math_random(lua_State* L);
int math_randomseed(lua_State* L);

// Error functions: erf and erfc of a number give a number, of a complex
// number a complex number; FaddeevaW always gives a complex number.
int math_erf(lua_State* L);
int math_erfc(lua_State* L);
int math_FaddeevaW(lua_State* L);

// Functions of atomic physics on numbers.
int math_fact(lua_State* L);
int math_binomial(lua_State* L);
int math_SphericalBesselJ(lua_State* L);
int math_LaguerreL(lua_State* L);
int math_Voight(lua_State* L);
int math_IntegerQ(lua_State* L);
int math_EvenQ(lua_State* L);
int math_OddQ(lua_State* L);

#endif
