// The elementary functions of the table math: the stock functions with their
// stock behaviour, the complex forms of the trigonometric, hyperbolic,
// exponential and logarithmic ones, and the square root that refuses
// negative numbers.
#include <climits>
#include <cmath>

#include "base/complex16.h"
#include "base/complex_lua.h"
#include "base/mathlib.h"
#include "base/mathlib_detail.h"

using mathlib::RealOrComplex;

namespace {

// One degree in radians.
const double kRadiansPerDegree = M_PI / 180.0;

// f of the number at argument 1.
int Real1(lua_State* L, double (*f)(double)) {
    lua_pushnumber(L, f(luaL_checknumber(L, 1)));
    return 1;
}

// f of the numbers at arguments 1 and 2.
int Real2(lua_State* L, double (*f)(double, double)) {
    double x = luaL_checknumber(L, 1);
    double y = luaL_checknumber(L, 2);
    lua_pushnumber(L, f(x, y));
    return 1;
}

// The first of the numbers at arguments 1, 2, ... in the order `before`
// (the earliest of equals).
int Extreme(lua_State* L, bool (*before)(double, double)) {
    int n = lua_gettop(L);
    double m = luaL_checknumber(L, 1);
    for (int i = 2; i <= n; i++) {
        double d = luaL_checknumber(L, i);
        if (before(d, m)) m = d;
    }
    lua_pushnumber(L, m);
    return 1;
}

Complex16 Ctan(Complex16 z) { return Csin(z) / Ccos(z); }
Complex16 Ctanh(Complex16 z) { return Csinh(z) / Ccosh(z); }

// The integer shown in the message of a negative square root: the number
// truncated toward zero, held inside the range of int.
int MessageInteger(double x) {
    if (!(x > (double)INT_MIN)) return INT_MIN;
    if (x >= (double)INT_MAX) return INT_MAX;
    return (int)x;
}

}  // namespace

int math_abs(lua_State* L) {
    if (const Complex16* z = luaL_testComplex16(L, 1)) {
        lua_pushnumber(L, Cabs(*z));
    } else {
        lua_pushnumber(L, std::fabs(luaL_checknumber(L, 1)));
    }
    return 1;
}

int math_sin(lua_State* L) { return RealOrComplex(L, std::sin, Csin); }
int math_sinh(lua_State* L) { return RealOrComplex(L, std::sinh, Csinh); }
int math_cos(lua_State* L) { return RealOrComplex(L, std::cos, Ccos); }
int math_cosh(lua_State* L) { return RealOrComplex(L, std::cosh, Ccosh); }
int math_tan(lua_State* L) { return RealOrComplex(L, std::tan, Ctan); }
int math_tanh(lua_State* L) { return RealOrComplex(L, std::tanh, Ctanh); }
int math_exp(lua_State* L) { return RealOrComplex(L, std::exp, Cexp); }
int math_log10(lua_State* L) { return RealOrComplex(L, std::log10, Clog10); }

// log(x) and log(x, base).  Numbers as the stock function (base 10 through
// log10 for accuracy); as soon as x or the base is complex the result is the
// complex Clog(x) / Clog(base), with a real base as a real divisor.
int math_log(lua_State* L) {
    const Complex16* z = luaL_testComplex16(L, 1);
    bool hasBase = !lua_isnoneornil(L, 2);
    const Complex16* zbase = hasBase ? luaL_testComplex16(L, 2) : nullptr;
    if (z == nullptr && zbase == nullptr) {
        double x = luaL_checknumber(L, 1);
        if (!hasBase) {
            lua_pushnumber(L, std::log(x));
        } else {
            double base = luaL_checknumber(L, 2);
            lua_pushnumber(L, base == 10.0 ? std::log10(x) : std::log(x) / std::log(base));
        }
        return 1;
    }
    Complex16 logx = z != nullptr ? Clog(*z) : Clog(Cnum(luaL_checknumber(L, 1), 0.0));
    if (!hasBase) {
        LuaPushComplex16(L, logx);
    } else if (zbase != nullptr) {
        LuaPushComplex16(L, logx / Clog(*zbase));
    } else {
        LuaPushComplex16(L, logx / std::log(luaL_checknumber(L, 2)));
    }
    return 1;
}

int math_sqrt(lua_State* L) {
    double x = luaL_checknumber(L, 1);
    if (x < 0) {
        return luaL_error(L, "Calculating sqrt(%d). Can not take the root of a negative number\n",
                          MessageInteger(x));
    }
    lua_pushnumber(L, std::sqrt(x));
    return 1;
}

int math_acos(lua_State* L) { return Real1(L, std::acos); }
int math_asin(lua_State* L) { return Real1(L, std::asin); }
int math_atan(lua_State* L) { return Real1(L, std::atan); }
int math_atan2(lua_State* L) { return Real2(L, std::atan2); }
int math_ceil(lua_State* L) { return Real1(L, std::ceil); }
int math_floor(lua_State* L) { return Real1(L, std::floor); }
int math_fmod(lua_State* L) { return Real2(L, std::fmod); }

// Integral part, then fractional part.
int math_modf(lua_State* L) {
    double ip = 0;
    double fp = std::modf(luaL_checknumber(L, 1), &ip);
    lua_pushnumber(L, ip);
    lua_pushnumber(L, fp);
    return 2;
}

int math_deg(lua_State* L) {
    return Real1(L, [](double x) { return x / kRadiansPerDegree; });
}

int math_rad(lua_State* L) {
    return Real1(L, [](double x) { return x * kRadiansPerDegree; });
}

// Mantissa in [0.5, 1) and exponent.
int math_frexp(lua_State* L) {
    int e = 0;
    lua_pushnumber(L, std::frexp(luaL_checknumber(L, 1), &e));
    lua_pushinteger(L, e);
    return 2;
}

int math_ldexp(lua_State* L) {
    double m = luaL_checknumber(L, 1);
    int e = luaL_checkint(L, 2);
    lua_pushnumber(L, std::ldexp(m, e));
    return 1;
}

int math_pow(lua_State* L) { return Real2(L, std::pow); }

int math_min(lua_State* L) {
    return Extreme(L, [](double a, double b) { return a < b; });
}

int math_max(lua_State* L) {
    return Extreme(L, [](double a, double b) { return a > b; });
}
