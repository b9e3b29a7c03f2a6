// The table math: its names in order, the replacement of the stock table and
// the globals of the same names.
#include <cmath>

#include "host/mathlib_table.h"

#include "atomic/mathlib_angular.h"
#include "base/mathlib.h"
#include "numeric/mathlib_matrix.h"

// Every stock name is followed by its capitalised twin, the same function.
const luaL_Reg kMathLibraryFunctions[] = {
    {"abs", math_abs},
    {"Abs", math_abs},
    {"acos", math_acos},
    {"Acos", math_acos},
    {"asin", math_asin},
    {"Asin", math_asin},
    {"atan2", math_atan2},
    {"Atan2", math_atan2},
    {"atan", math_atan},
    {"Atan", math_atan},
    {"ceil", math_ceil},
    {"Ceil", math_ceil},
    {"cosh", math_cosh},
    {"Cosh", math_cosh},
    {"cos", math_cos},
    {"Cos", math_cos},
    {"deg", math_deg},
    {"Deg", math_deg},
    {"exp", math_exp},
    {"Exp", math_exp},
    {"erf", math_erf},
    {"Erf", math_erf},
    {"erfc", math_erfc},
    {"Erfc", math_erfc},
    {"FaddeevaW", math_FaddeevaW},
    {"floor", math_floor},
    {"Floor", math_floor},
    {"fmod", math_fmod},
    {"Fmod", math_fmod},
    {"frexp", math_frexp},
    {"Frexp", math_frexp},
    {"ldexp", math_ldexp},
    {"Ldexp", math_ldexp},
    {"log10", math_log10},
    {"Log10", math_log10},
    {"log", math_log},
    {"Log", math_log},
    {"max", math_max},
    {"Max", math_max},
    {"min", math_min},
    {"Min", math_min},
    {"modf", math_modf},
    {"Modf", math_modf},
    {"pow", math_pow},
    {"Pow", math_pow},
    {"rad", math_rad},
    {"Rad", math_rad},
    {"random", math_random},
    {"Random", math_random},
    {"randomseed", math_randomseed},
    {"RandomSeed", math_randomseed},
    {"sinh", math_sinh},
    {"Sinh", math_sinh},
    {"sin", math_sin},
    {"Sin", math_sin},
    {"sqrt", math_sqrt},
    {"Sqrt", math_sqrt},
    {"tanh", math_tanh},
    {"Tanh", math_tanh},
    {"tan", math_tan},
    {"Tan", math_tan},
    {"fact", math_fact},
    {"Fact", math_fact},
    {"factorial", math_fact},
    {"Factorial", math_fact},
    {"Binomial", math_binomial},
    {"BinomialCoefficient", math_binomial},
    {"ThreeJ", math_ThreeJSymbol},
    {"ThreeJSymbol", math_ThreeJSymbol},
    {"SlaterCoefficientC", math_SlaterCoefficientC},
    {"SphericalHarmonicY", math_SphericalHarmonicY},
    {"SphericalHarmonicC", math_SphericalHarmonicC},
    {"TesseralHarmonicZ", math_TesseralHarmonicZ},
    {"TesseralHarmonicD", math_TesseralHarmonicD},
    {"KubicHarmonicK", math_KubicHarmonicK},
    {"KubicHarmonicE", math_KubicHarmonicE},
    {"SphericalBesselJ", math_SphericalBesselJ},
    {"LaguerreL", math_LaguerreL},
    {"Voight", math_Voight},
    {"IntegerQ", math_IntegerQ},
    {"EvenQ", math_EvenQ},
    {"OddQ", math_OddQ},
    {"Dot", math_Dot},
    {"MatrixTranspose", math_MatrixTranspose},
    {"MatrixConjugateTranspose", math_MatrixConjugateTranspose},
    {"MatrixConjugate", math_MatrixConjugate},
    {nullptr, nullptr},
};

namespace {

// The four numbers stored after the functions.
const int kMathNumbers = 4;

int CountMathFunctions() {
    int n = 0;
    while (kMathLibraryFunctions[n].name != nullptr) n++;
    return n;
}

}  // namespace

void LuaRegisterMathLibrary(lua_State* L) {
    lua_createtable(L, 0, CountMathFunctions() + kMathNumbers);
    for (const luaL_Reg* f = kMathLibraryFunctions; f->name != nullptr; f++) {
        lua_pushcfunction(L, f->func);
        lua_setfield(L, -2, f->name);
    }
    lua_pushnumber(L, M_PI);
    lua_setfield(L, -2, "pi");
    lua_pushnumber(L, M_PI);
    lua_setfield(L, -2, "Pi");
    lua_pushnumber(L, HUGE_VAL);
    lua_setfield(L, -2, "huge");
    lua_pushnumber(L, HUGE_VAL);
    lua_setfield(L, -2, "Huge");

    // require "math" finds the new table as well.
    lua_getfield(L, LUA_REGISTRYINDEX, "_LOADED");
    lua_pushvalue(L, -2);
    lua_setfield(L, -2, "math");
    lua_pop(L, 1);
    lua_setglobal(L, "math");
}

void LuaRegisterMathGlobals(lua_State* L) {
    for (const luaL_Reg* f = kMathLibraryFunctions; f->name != nullptr; f++) {
        lua_pushcfunction(L, f->func);
        lua_setglobal(L, f->name);
    }
}
