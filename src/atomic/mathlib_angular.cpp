// The angular functions of the table math: 3j symbols, Slater coefficients
// and the spherical, tesseral and cubic harmonics at a direction.
#include <cmath>

#include "atomic/harmonics.h"
#include "atomic/threej.h"
#include "base/complex_lua.h"
#include "atomic/mathlib_angular.h"

namespace {

const char* const kThreeJForm =
    "math.ThreeJSymbol expects 6 parameters grouped in 3 lists of length 2:\n{l1,m1}, {l2,m2}, {l3,m3}";
const char* const kSlaterCount =
    "math.SlaterCoefficientC expects 5 parameters grouped in one integer and 2 lists of length 2:\nk, {l1,m1}, {l2,m2}";
const char* const kSlaterList =
    "math.SlaterCoefficientC expects 6 parameters grouped in 3 lists of length 2:\n{l1,m1}, {l2,m2}, {l3,m3}";
const char* const kHarmonicY = "math.SphericalHarmonicsY expects 4 parameters l,m,theta,phi";
const char* const kHarmonicC = "math.SphericalHarmonicsC expects 4 parameters l,m,theta,phi";

// Whole numbers up to rounding, as the 3j symbols test them.
bool IsWhole(double x) {
    return std::fabs(x - std::round(x)) < std::fabs(x) * 2.220446049250313e-15 + 2.2250738585072014e-308;
}

// Reads the pair {j, m} at idx into jm[0], jm[1]; false when the value is
// not a table of two numbers.
bool ReadPair(lua_State* L, int idx, double jm[2]) {
    if (lua_type(L, idx) != LUA_TTABLE || lua_rawlen(L, idx) != 2) return false;
    bool ok = true;
    for (int k = 0; k < 2; k++) {
        lua_rawgeti(L, idx, k + 1);
        int isnum = 0;
        jm[k] = lua_tonumberx(L, -1, &isnum);
        ok = ok && isnum;
        lua_pop(L, 1);
    }
    return ok;
}

// The factor that turns a harmonic of momentum l from unit norm into the
// Racah normalisation, C = sqrt(4 pi / (2l+1)) Y.
double RacahFactor(int l) { return std::sqrt(4 * M_PI / (2 * l + 1)); }

struct HarmonicArguments {
    int l, m;
    double theta, phi;
};

// l, m (truncated toward zero), theta, phi; l within 0..lmax and |m| <= l.
HarmonicArguments ReadHarmonic(lua_State* L, const char* countMessage, int lmax, const char* limitMessage) {
    if (lua_gettop(L) != 4) luaL_error(L, "%s", countMessage);
    HarmonicArguments a;
    double l = luaL_checknumber(L, 1), m = luaL_checknumber(L, 2);
    a.theta = luaL_checknumber(L, 3);
    a.phi = luaL_checknumber(L, 4);
    // Clamped so that the messages show a sensible number for wild input.
    a.l = l < -1000 ? -1000 : (l > 1000 ? 1000 : (int)l);
    a.m = m < -1000 ? -1000 : (m > 1000 ? 1000 : (int)m);
    if (a.l < 0 || a.l > lmax) luaL_error(L, limitMessage, a.l);
    if (a.m < -a.l || a.m > a.l) luaL_error(L, "Spherical Harmonics only defined for -l<m<l l=%d m=%d", a.l, a.m);
    return a;
}

int PushSphericalHarmonic(lua_State* L, const char* countMessage, bool racah) {
    HarmonicArguments a = ReadHarmonic(L, countMessage, 12, "Spherical Harmonics only implemented for 0<=l<=12 l=%d");
    Complex16 y = Cnum(ReSphericalHarmonicY(a.l, a.m, a.theta, a.phi), ImSphericalHarmonicY(a.l, a.m, a.theta, a.phi));
    LuaPushComplex16(L, racah ? y * RacahFactor(a.l) : y);
    return 1;
}

int PushTesseralHarmonic(lua_State* L, bool racah) {
    HarmonicArguments a = ReadHarmonic(L, kHarmonicY, 11, "Spherical Harmonics only implemented for 0<l<12 l=%d");
    double z = TesseralHarmonicZ(a.l, a.m, a.theta, a.phi);
    lua_pushnumber(L, racah ? z * RacahFactor(a.l) : z);
    return 1;
}

int PushCubicHarmonic(lua_State* L, bool racah) {
    HarmonicArguments a = ReadHarmonic(L, kHarmonicY, 6, "Spherical Harmonics only implemented for 0<=l<=6 l=%d");
    double k = CubicHarmonicK(a.l, a.m, a.theta, a.phi);
    lua_pushnumber(L, racah ? k * RacahFactor(a.l) : k);
    return 1;
}

}  // namespace

// ThreeJSymbol({j1,m1}, {j2,m2}, {j3,m3}) for integer or half-integer
// momenta.
int math_ThreeJSymbol(lua_State* L) {
    if (lua_gettop(L) != 3) return luaL_error(L, "%s", kThreeJForm);
    double jm[6];
    for (int i = 0; i < 3; i++) {
        if (!ReadPair(L, i + 1, jm + 2 * i)) return luaL_error(L, "%s", kThreeJForm);
    }
    // Momenta beyond a million are far outside the range of the factorials
    // and would overflow the integers of the formula: refused alike.
    bool inRange = true;
    for (double x : jm) inRange = inRange && std::fabs(x) < 1e6;
    double value = 0;
    if (!inRange || ThreeJSymbolOfNumbers(jm, &value) != 0) {
        return luaL_error(L, "ThreeJSymbol expects 6 angular momentum as input that need to be integer or half integer values");
    }
    lua_pushnumber(L, value);
    return 1;
}

// SlaterCoefficientC(k, {l1,m1}, {l2,m2}), integer momenta only.
int math_SlaterCoefficientC(lua_State* L) {
    if (lua_gettop(L) != 3) return luaL_error(L, "%s", kSlaterCount);
    double k = luaL_checknumber(L, 1);
    double lm[4];
    if (!ReadPair(L, 2, lm) || !ReadPair(L, 3, lm + 2)) return luaL_error(L, "%s", kSlaterList);
    bool whole = IsWhole(k) && std::fabs(k) < 1e6;
    for (double x : lm) whole = whole && IsWhole(x) && std::fabs(x) < 1e6;
    if (!whole) {
        return luaL_error(L, "math.SlaterCoefficientC expects 6 angular momentum as input that need to be integer values");
    }
    lua_pushnumber(L, SlaterCoefficientC((int)std::round(k), (int)std::round(lm[0]), (int)std::round(lm[1]),
                                         (int)std::round(lm[2]), (int)std::round(lm[3])));
    return 1;
}

int math_SphericalHarmonicY(lua_State* L) { return PushSphericalHarmonic(L, kHarmonicY, false); }
int math_SphericalHarmonicC(lua_State* L) { return PushSphericalHarmonic(L, kHarmonicC, true); }
int math_TesseralHarmonicZ(lua_State* L) { return PushTesseralHarmonic(L, false); }
int math_TesseralHarmonicD(lua_State* L) { return PushTesseralHarmonic(L, true); }
int math_KubicHarmonicK(lua_State* L) { return PushCubicHarmonic(L, false); }
int math_KubicHarmonicE(lua_State* L) { return PushCubicHarmonic(L, true); }
