// Argument handling shared by the sources of the math library.
#ifndef SKELDA_BASE_MATHLIB_DETAIL_H
#define SKELDA_BASE_MATHLIB_DETAIL_H

#include <lua.hpp>

#include "base/complex16.h"
#include "base/complex_lua.h"

namespace mathlib {

// f(x) for a number, g(z) for a complex number at argument 1.
inline int RealOrComplex(lua_State* L, double (*f)(double), Complex16 (*g)(Complex16)) {
    if (const Complex16* z = luaL_testComplex16(L, 1)) {
        LuaPushComplex16(L, g(*z));
    } else {
        lua_pushnumber(L, f(luaL_checknumber(L, 1)));
    }
    return 1;
}

}  // namespace mathlib

#endif
