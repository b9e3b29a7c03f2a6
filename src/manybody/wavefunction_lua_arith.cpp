// Arithmetic of wave functions in scripts: sums, scaling by numbers and
// complex numbers, operators on either side, inner products, division, and
// the row of wave functions in the arithmetic of complex numbers.
//
// Every result is a new state.  An operation whose memory runs out runs a
// full collection of the interpreter once and tries again before it raises
// its error.
#include <cmath>
#include <cstring>

#include "base/complex_lua.h"
#include "manybody/operator.h"
#include "manybody/operator_algebra.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_lua.h"
#include "manybody/wavefunction_lua_internal.h"

namespace {

const char* const kOperatorType = "Operator_Type";

// An inner product is a plain number when its imaginary part is below this
// multiple of the rounding of its real part.
const double kDoubleEpsilon = 2.220446049250313e-16;
const double kSmallestNormal = 2.2250738585072014e-308;

OperatorType* TestOperator(lua_State* L, int idx) {
    return static_cast<OperatorType*>(luaL_testudata(L, idx, kOperatorType));
}

bool IsNumber(lua_State* L, int idx) { return lua_type(L, idx) == LUA_TNUMBER; }

// Two states can only meet when their determinants have the same shape.
void CheckSameModes(lua_State* L, const WaveFunctionType& a, const WaveFunctionType& b, const char* what) {
    if (a.NFermion == b.NFermion && a.NBoson == b.NBoson) return;
    luaL_error(L, "Error in %s, the wavefunctions have different numbers of modes (NF = %d and %d, NB = %d and %d)\n",
               what, (int)a.NFermion, (int)b.NFermion, (int)a.NBoson, (int)b.NBoson);
}

// out := psi * z as a new store.  A real psi becomes complex first when
// promote is set, or when z has an imaginary part.
int ScaledCopy(const WaveFunctionType& psi, Complex16 z, bool promote, WaveFunctionType* out) {
    if (WaveFunctionCopy(psi, out)) return 1;
    if (!out->QComplex && (promote || z.im != 0.0)) {
        if (MakeComplexWaveFunctionFromReal(out, *out)) {
            WaveFunctionFree(out);
            return 1;
        }
    }
    if (out->QComplex) {
        ComplexWaveFunctionComplexMultiply(out, z.re, z.im);
    } else {
        RealWaveFunctionMultiply(*out, z.re);
    }
    return 0;
}

int PushScaled(lua_State* L, const WaveFunctionType& psi, Complex16 z, bool promote, const char* message) {
    WaveFunctionType* ud = wflua::PushEmpty(L);
    WaveFunctionType out;
    wflua::RetryAfterCollect(
        L, [&] { return ScaledCopy(psi, z, promote, &out); }, message);
    *ud = out;
    wflua::CollectStep(L);
    return 1;
}

// a + x b in the union of both bases.
int PushSum(lua_State* L, const WaveFunctionType& a, const WaveFunctionType& b, double x, const char* message) {
    WaveFunctionType* ud = wflua::PushEmpty(L);
    WaveFunctionType out;
    wflua::RetryAfterCollect(
        L,
        [&] {
            if (WaveFunctionCopy(a, &out)) return 1;
            const int failed =
                x == 1.0 ? WaveFunctionAddUnionBasis(&out, b) : WaveFunctionAddMultipliedUnionBasis(&out, b, x);
            if (failed) WaveFunctionFree(&out);
            return failed;
        },
        message);
    *ud = out;
    wflua::CollectStep(L);
    return 1;
}

// The operator's fermion modes must lie within those of the state, and the
// bosons must agree (the words of the operator's own product).
void CheckOperatorFits(lua_State* L, const OperatorType& O, const WaveFunctionType& psi) {
    if (O.NF <= psi.NFermion && O.NB == psi.NBoson) return;
    luaL_error(L,
               "Error, an operator of %d fermions and %d bosons can not act on a wavefunction of %d fermions and "
               "%d bosons\n",
               (int)O.NF, (int)O.NB, (int)psi.NFermion, (int)psi.NBoson);
}

// O psi, or with dagger the conjugate transpose of O applied to psi.
int PushOperatorPsi(lua_State* L, const OperatorType& O, const WaveFunctionType& psi, bool dagger,
                    const char* message) {
    CheckOperatorFits(L, O, psi);
    WaveFunctionType* ud = wflua::PushEmpty(L);
    WaveFunctionType out;
    wflua::RetryAfterCollect(
        L,
        [&] {
            if (!dagger) return OperatorPsi(O, psi, &out);
            OperatorType Od;
            memset(&Od, 0, sizeof(Od));
            if (OperatorConjugateTransposeNormalOrder(O, &Od, QDetNotOrderedFcFaBaBc)) {
                if (Od.l != nullptr) FreeOperator(&Od);
                return 1;
            }
            const int failed = OperatorPsi(Od, psi, &out);
            FreeOperator(&Od);
            return failed;
        },
        message);
    *ud = out;
    wflua::CollectStep(L);
    return 1;
}

// <a|b>: a number, or a Complex when the imaginary part is not negligible.
int PushInnerProduct(lua_State* L, const WaveFunctionType& a, const WaveFunctionType& b) {
    CheckSameModes(L, a, b, "the inner product");
    double re = 0.0, im = 0.0;
    const int failed = a.KeyList == b.KeyList ? WaveFunctionDotProductSameBasis(a, b, &re, &im)
                                              : WaveFunctionDotProduct(a, b, &re, &im);
    if (failed) return luaL_error(L, "Error in the inner product of two wavefunctions\n");
    if (std::fabs(im) < (std::fabs(re) * kDoubleEpsilon + kSmallestNormal) * 10.0) {
        lua_pushnumber(L, re);
    } else {
        LuaPushComplex16(L, Cnum(re, im));
    }
    return 1;
}

// z * psi for a complex number on the left: a real state stays real when z
// has no imaginary part.
void ComplexTimesWavefunction(lua_State* L, Complex16 z, int idx) {
    PushScaled(L, *wflua::Check(L, idx), z, false,
               "out of memory when multipling a complex number with a wavefunction");
}

}  // namespace

int LuaWavefunctionAdd(lua_State* L) {
    if (lua_gettop(L) == 3)
        return luaL_error(L, "Error in __add found 3 arguments, wheras a + b should only have two arguments\n");
    WaveFunctionType* a = wflua::Test(L, 1);
    WaveFunctionType* b = wflua::Test(L, 2);
    if (a == nullptr || b == nullptr)
        return luaL_error(L, "Error, a wavefunction can only be added to a wavefunction\n");
    CheckSameModes(L, *a, *b, "__add");
    return PushSum(L, *a, *b, 1.0, "out of memory when adding two wavefunctions");
}

int LuaWavefunctionSub(lua_State* L) {
    if (lua_gettop(L) == 3)
        return luaL_error(L, "Error in __sub found 3 arguments, wheras a - b should only have two arguments\n");
    WaveFunctionType* a = wflua::Test(L, 1);
    WaveFunctionType* b = wflua::Test(L, 2);
    if (a == nullptr || b == nullptr)
        return luaL_error(L, "Error, a wavefunction can only be subtracted from a wavefunction\n");
    CheckSameModes(L, *a, *b, "__sub");
    return PushSum(L, *a, *b, -1.0, "out of memory when subtracting two wavefunctions");
}

int LuaWavefunctionUnm(lua_State* L) {
    return PushScaled(L, *wflua::Check(L, 1), Cnum(-1.0, 0.0), false, "out of memory when negating a wavefunction");
}

int LuaWavefunctionMul(lua_State* L) {
    WaveFunctionType* a = wflua::Test(L, 1);
    WaveFunctionType* b = wflua::Test(L, 2);
    if (a != nullptr && b != nullptr) return PushInnerProduct(L, *a, *b);
    if (a != nullptr) {
        if (IsNumber(L, 2))
            return PushScaled(L, *a, Cnum(lua_tonumber(L, 2), 0.0), false,
                              "out of memory when multipling a wavefunction with a number");
        if (Complex16* z = luaL_testComplex16(L, 2))
            return PushScaled(L, *a, *z, true, "out of memory when multipling a wavefunction with a complex number");
        if (OperatorType* O = TestOperator(L, 2))
            return PushOperatorPsi(L, *O, *a, true, "out of memory when multipling wavefunction times an operator");
    } else if (b != nullptr) {
        if (IsNumber(L, 1))
            return PushScaled(L, *b, Cnum(lua_tonumber(L, 1), 0.0), false,
                              "out of memory when multipling a number with a wavefunction");
        if (Complex16* z = luaL_testComplex16(L, 1))
            return PushScaled(L, *b, *z, true, "out of memory when multipling a complex number with a wavefunction");
        if (OperatorType* O = TestOperator(L, 1))
            return PushOperatorPsi(L, *O, *b, false, "out of memory when multipling an operator times a wavefunction");
    }
    return luaL_error(L, "Error, wavefunction multiplied with an object of unrecognized type\n");
}

int LuaWavefunctionDiv(lua_State* L) {
    WaveFunctionType* a = wflua::Test(L, 1);
    if (a == nullptr) {
        if (IsNumber(L, 1)) return luaL_error(L, "Error, number devided by an operator\n");
        return luaL_error(L, "Error, wavefunction devided by an object of unrecognized type\n");
    }
    if (IsNumber(L, 2))
        return PushScaled(L, *a, Cnum(1.0 / lua_tonumber(L, 2), 0.0), false,
                          "out of memory when deviding a wavefunction by a number");
    if (Complex16* z = luaL_testComplex16(L, 2)) {
        // (a - ib) / (a^2 + b^2), as two divisions.
        const double d = z->re * z->re + z->im * z->im;
        return PushScaled(L, *a, Cnum(z->re / d, -z->im / d), true,
                          "out of memory when deviding a wavefunction by a complex number");
    }
    return luaL_error(L, "Error, wavefunction devided by an object of unrecognized type\n");
}

void LuaRegisterWavefunctionComplexRow() {
    static const ComplexOperandRow row = {WAVEFUNCTION_TYPE_NAME,
                                          ComplexOperandUserdata,
                                          "wavefunction",
                                          {nullptr, nullptr, ComplexTimesWavefunction, nullptr, nullptr}};
    ComplexSetOperandRow(row);
}
