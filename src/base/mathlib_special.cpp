// The special functions of the table math: error functions of real and
// complex argument, the Faddeeva function, factorials, binomials, spherical
// Bessel functions, Laguerre polynomials, the Voigt profile and the integer
// tests.  Each checks its argument count first, with a message that names
// the parameters.
#include <climits>
#include <cmath>

#include "base/complex16.h"
#include "base/complex_lua.h"
#include "base/mathlib.h"
#include "base/mathlib_detail.h"
#include "base/specialfunctions.h"

using mathlib::RealOrComplex;

namespace {

const char* const kNegativeFactorial = "Error Factorial called with a negative number";

// The factorial of every n above this is infinite in doubles.
const int kLargestFiniteFactorial = 170;

void CheckCount(lua_State* L, int n, const char* message) {
    if (lua_gettop(L) != n) luaL_error(L, "%s", message);
}

// An integer argument (truncated toward zero) that must lie in [lo, hi]:
// orders beyond these bounds have no use and would only make the sums and
// recursions run for seconds or overflow.
int CheckIntInRange(lua_State* L, int idx, int lo, int hi, const char* function, const char* name) {
    const double x = luaL_checknumber(L, idx);
    if (!(x > (double)lo - 1.0 && x < (double)hi + 1.0))
        luaL_error(L, "Error in %s: %s must be an integer from %d to %d", function, name, lo, hi);
    return (int)x;
}

// The largest order of the recursions and sums of this file.
const int kLargestOrder = 100000;

// Every C(n, k) with 0 <= n <= this fits in 64 bits, and the integer product
// gives it exactly.
const double kLargestExactBinomialN = 67;

}  // namespace

int math_erf(lua_State* L) { return RealOrComplex(L, std::erf, Cerf); }

int math_erfc(lua_State* L) { return RealOrComplex(L, std::erfc, Cerfc); }

// w(z) is complex also on the real axis, so the result is always complex.
int math_FaddeevaW(lua_State* L) {
    const Complex16* z = luaL_testComplex16(L, 1);
    Complex16 arg = z != nullptr ? *z : Cnum(luaL_checknumber(L, 1), 0.0);
    LuaPushComplex16(L, FaddeevaW(arg));
    return 1;
}

// n! of the number n truncated toward zero.
int math_fact(lua_State* L) {
    CheckCount(L, 1, "math.fact expects 1 parameter n");
    double x = luaL_checknumber(L, 1);
    if (x < 0) return luaL_error(L, "%s", kNegativeFactorial);
    if (std::isnan(x)) {
        lua_pushnumber(L, x);
        return 1;
    }
    // Above 170 the product is infinite anyway; stop the loop there.
    int n = x > kLargestFiniteFactorial ? kLargestFiniteFactorial + 1 : (int)x;
    lua_pushnumber(L, Factorial(n));
    return 1;
}

// n over k, k truncated toward zero.  Whole n from 0 to 67 go through the
// exact integer product; any other n, negative or fractional, through the
// product n (n-1) ... (n-k+1) / k! in doubles.  Negative k gives 0.
int math_binomial(lua_State* L) {
    CheckCount(L, 2, "math.Binomial expects 2 parameters n and k");
    double n = luaL_checknumber(L, 1);
    int k = CheckIntInRange(L, 2, -kLargestOrder, kLargestOrder, "math.Binomial", "k");
    double value = 0;
    if (k < 0) {
        value = 0;
    } else if (IntegerQ(n) && n >= 0 && n <= kLargestExactBinomialN) {
        value = (double)BinomialCoefficient((unsigned)n, (unsigned)k);
    } else {
        value = BinomialCoefficientDouble(n, k);
    }
    lua_pushnumber(L, value);
    return 1;
}

int math_SphericalBesselJ(lua_State* L) {
    CheckCount(L, 2, "math.SphericalBesselJ expects 2 parameters l,x");
    int l = CheckIntInRange(L, 1, -kLargestOrder, kLargestOrder, "math.SphericalBesselJ", "l");
    double x = luaL_checknumber(L, 2);
    lua_pushnumber(L, SphericalBesselJ(l, x));
    return 1;
}

// L_n^(l)(x); a negative n or l asks for the factorial of a negative number.
int math_LaguerreL(lua_State* L) {
    CheckCount(L, 3, "math.LaguerreL expects 3 parameters n,l,x");
    int n = CheckIntInRange(L, 1, -kLargestOrder, kLargestOrder, "math.LaguerreL", "n");
    int l = CheckIntInRange(L, 2, -kLargestOrder, kLargestOrder, "math.LaguerreL", "l");
    double x = luaL_checknumber(L, 3);
    double value = 0;
    if (LaguerreL(n, l, x, &value) != 0) return luaL_error(L, "%s", kNegativeFactorial);
    lua_pushnumber(L, value);
    return 1;
}

int math_Voight(lua_State* L) {
    CheckCount(L, 3, "math.Voight expects 3 parameters w,GFWMH,LFWHM");
    double w = luaL_checknumber(L, 1);
    double gauss = luaL_checknumber(L, 2);
    double lorentz = luaL_checknumber(L, 3);
    lua_pushnumber(L, Voight(w, gauss, lorentz));
    return 1;
}

// The integer tests answer for numbers; any other value (strings, complex
// numbers, tables) is not an integer and gives false.
namespace {

int IntegerTest(lua_State* L, bool (*test)(double)) {
    luaL_checkany(L, 1);
    lua_pushboolean(L, lua_type(L, 1) == LUA_TNUMBER && test(lua_tonumber(L, 1)));
    return 1;
}

}  // namespace

int math_IntegerQ(lua_State* L) { return IntegerTest(L, IntegerQ); }
int math_EvenQ(lua_State* L) { return IntegerTest(L, EvenQ); }
int math_OddQ(lua_State* L) { return IntegerTest(L, OddQ); }
