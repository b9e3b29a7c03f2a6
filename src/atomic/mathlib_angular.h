// The angular functions of the table math: 3j symbols, Slater coefficients
// and the spherical, tesseral and cubic harmonics.
#ifndef SKELDA_ATOMIC_MATHLIB_ANGULAR_H
#define SKELDA_ATOMIC_MATHLIB_ANGULAR_H

#include <lua.hpp>

// Angular functions.  ThreeJSymbol({j1,m1}, {j2,m2}, {j3,m3}) for integer
// or half-integer momenta; SlaterCoefficientC(k, {l1,m1}, {l2,m2}) for
// integer ones.  The harmonics take l, m, theta, phi: Y (complex) and the
// real tesseral Z and cubic K, each with a Racah-normalised twin C, D, E
// (times sqrt(4 pi/(2l+1))).
int math_ThreeJSymbol(lua_State* L);
int math_SlaterCoefficientC(lua_State* L);
int math_SphericalHarmonicY(lua_State* L);
int math_SphericalHarmonicC(lua_State* L);
int math_TesseralHarmonicZ(lua_State* L);
int math_TesseralHarmonicD(lua_State* L);
int math_KubicHarmonicK(lua_State* L);
int math_KubicHarmonicE(lua_State* L);

#endif
