// random and randomseed of the table math, on the generator of the C library
// that the program seeds at start: a script that calls randomseed(n) gets
// the same numbers on every run.
#include <cmath>
#include <cstdlib>

#include "base/random.h"
#include "base/mathlib.h"

namespace {

// rand() on [0, 1): the remainder keeps the value RAND_MAX itself out.
const double kRandMax = 2147483647.0;

}  // namespace

int math_random(lua_State* L) {
    double r = (double)(rand() % RAND_MAX) / kRandMax;
    switch (lua_gettop(L)) {
        case 0:
            lua_pushnumber(L, r);
            break;
        case 1: {
            double u = luaL_checknumber(L, 1);
            luaL_argcheck(L, 1.0 <= u, 1, "interval is empty");
            lua_pushnumber(L, std::floor(r * u) + 1.0);
            break;
        }
        case 2: {
            double l = luaL_checknumber(L, 1);
            double u = luaL_checknumber(L, 2);
            luaL_argcheck(L, l <= u, 2, "interval is empty");
            lua_pushnumber(L, std::floor(r * (u - l + 1)) + l);
            break;
        }
        default:
            return luaL_error(L, "wrong number of arguments");
    }
    return 1;
}

// The first value after seeding is thrown away, as at program start.
int math_randomseed(lua_State* L) {
    ksvsrand((unsigned)luaL_checkunsigned(L, 1));
    (void)rand();
    return 0;
}
