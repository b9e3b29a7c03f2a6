// Arithmetic of operators in scripts: the metamethods of Operator_Type and
// the operand rows of operators in the arithmetic of complex numbers.
#include "base/complex_lua.h"
#include "manybody/operator_algebra.h"
#include "manybody/operator_lua.h"
#include "manybody/operator_lua_internal.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_lua.h"

namespace {

const char* const WavefunctionTypeName = "Wavefunction_Type";

bool IsWavefunction(lua_State* L, int idx) { return luaL_testudata(L, idx, WavefunctionTypeName) != nullptr; }

int AddOrSubtract(lua_State* L, double sign) {
    OperatorType* A = luaL_testOperator(L, 1);
    OperatorType* B = luaL_testOperator(L, 2);
    const bool subtract = sign < 0.0;
    Complex16 z{0.0, 0.0};
    bool isComplex = false;
    if (A != nullptr && B != nullptr) {
        if (A->NF != B->NF)
            return luaL_error(L, "Adding two operators with different number of Fermions (%d and %d)\n", (int)A->NF,
                              (int)B->NF);
        if (A->NB != B->NB)
            return luaL_error(L, "Adding two operators with different number of Bosons (%d and %d)\n", (int)A->NB,
                              (int)B->NB);
        OperatorType R;
        oplua::RetryAfterCollect(
            L,
            [&]() {
                if (OperatorCopy(&R, *A) != 0) return 1;
                if (OperatorAdd(&R, *B, sign, 0.0) != 0) {
                    FreeOperator(&R);
                    return 1;
                }
                return 0;
            },
            subtract ? "out of memory when subtracting two operators" : "out of memory when adding two operators");
        LuaPushOperator(L, &R);
        return 1;
    }
    const char* message = subtract ? "out of memory when subtracting a number and an operator"
                                   : "out of memory when adding a number and an operator";
    if (A != nullptr && oplua::ReadScalar(L, 2, &z, &isComplex)) {
        // 0 - z rather than -z: no constant of -0 for an operator minus 0.
        const Complex16 c = subtract ? Complex16{0.0 - z.re, 0.0 - z.im} : z;
        oplua::PushCopyScaledShifted(L, *A, Complex16{1.0, 0.0}, &c, isComplex, message);
        return 1;
    }
    if (B != nullptr && oplua::ReadScalar(L, 1, &z, &isComplex)) {
        oplua::PushCopyScaledShifted(L, *B, Complex16{sign, 0.0}, &z, isComplex, message);
        return 1;
    }
    return luaL_error(L, subtract ? "Error, subtraction of an operator and an object of unrecognized type\n"
                                  : "Error, addition of an operator and an object of unrecognized type\n");
}

// Operand rows: a Complex on the left of an operator.
void ComplexPlusOperator(lua_State* L, Complex16 z, int idx) {
    oplua::PushCopyScaledShifted(L, *luaL_checkOperator(L, idx), Complex16{1.0, 0.0}, &z, true,
                                 "out of memory when adding a number and an operator");
}

void ComplexMinusOperator(lua_State* L, Complex16 z, int idx) {
    oplua::PushCopyScaledShifted(L, *luaL_checkOperator(L, idx), Complex16{-1.0, 0.0}, &z, true,
                                 "out of memory when subtracting a number and an operator");
}

void ComplexTimesOperator(lua_State* L, Complex16 z, int idx) {
    oplua::PushCopyScaledShifted(L, *luaL_checkOperator(L, idx), z, nullptr, true,
                                 "out of memory when multipling a complex number with an operator");
}

}  // namespace

namespace oplua {

int ReadScalar(lua_State* L, int idx, Complex16* z, bool* isComplex) {
    if (lua_type(L, idx) == LUA_TNUMBER) {
        *z = Complex16{lua_tonumber(L, idx), 0.0};
        *isComplex = false;
        return 1;
    }
    if (Complex16* p = luaL_testComplex16(L, idx)) {
        *z = *p;
        *isComplex = true;
        return 1;
    }
    return 0;
}

void PushCopyScaledShifted(lua_State* L, const OperatorType& A, Complex16 s, const Complex16* c, bool cComplex,
                           const char* message) {
    OperatorType R;
    RetryAfterCollect(
        L,
        [&]() {
            if (OperatorCopy(&R, A) != 0) return 1;
            int status = 0;
            if (s.re != 1.0 || s.im != 0.0) status = OperatorScale(&R, s.re, s.im);
            if (status == 0 && c != nullptr) {
                status = cComplex ? ComplexOperatorAddLader(&R, nullptr, 0, c->re, c->im)
                                  : OperatorAddLader(&R, nullptr, 0, c->re, 0.0);
            }
            if (status != 0) FreeOperator(&R);
            return status;
        },
        message);
    LuaPushOperator(L, &R);
}

}  // namespace oplua

int LuaOperatorAdd(lua_State* L) { return AddOrSubtract(L, 1.0); }

int LuaOperatorSub(lua_State* L) { return AddOrSubtract(L, -1.0); }

int LuaOperatorMul(lua_State* L) {
    OperatorType* A = luaL_testOperator(L, 1);
    OperatorType* B = luaL_testOperator(L, 2);
    Complex16 z{0.0, 0.0};
    bool isComplex = false;
    if (A != nullptr && B != nullptr) {
        if (A->NF != B->NF)
            return luaL_error(L, "Multiplying two operators with different number of Fermions (%d and %d)\n",
                              (int)A->NF, (int)B->NF);
        if (A->NB != B->NB)
            return luaL_error(L, "Multiplying two operators with different number of Bosons (%d and %d)\n",
                              (int)A->NB, (int)B->NB);
        OperatorType R;
        oplua::RetryAfterCollect(
            L,
            [&]() {
                if (InitOperatorForMult(&R, 2, A, B) != 0) return 1;
                if (OperatorMultiply2NormalOrder(&R, *A, *B, 'N', 'N', oplua::NormalOrder) != 0) {
                    FreeOperator(&R);
                    return 1;
                }
                return 0;
            },
            "out of memory when multipling two operators");
        LuaPushOperator(L, &R);
        return 1;
    }
    if (A != nullptr && oplua::ReadScalar(L, 2, &z, &isComplex)) {
        oplua::PushCopyScaledShifted(L, *A, z, nullptr, false, "out of memory when multipling an operator with a number");
        return 1;
    }
    if (B != nullptr && oplua::ReadScalar(L, 1, &z, &isComplex)) {
        oplua::PushCopyScaledShifted(L, *B, z, nullptr, false, "out of memory when multipling a number with an operator");
        return 1;
    }
    // O * psi (and psi * O): the wave function's product knows both orders.
    if ((A != nullptr && IsWavefunction(L, 2)) || (B != nullptr && IsWavefunction(L, 1)))
        return LuaWavefunctionMul(L);
    return luaL_error(L, "Error, operator multiplied with an object of unrecognized type\n");
}

int LuaOperatorDiv(lua_State* L) {
    OperatorType* A = luaL_testOperator(L, 1);
    Complex16 z{0.0, 0.0};
    bool isComplex = false;
    if (A == nullptr) {
        if (lua_type(L, 1) == LUA_TNUMBER) return luaL_error(L, "Error, number devided by an operator\n");
        if (lua_type(L, 1) == LUA_TTABLE) return luaL_error(L, "Error, table devided by an operator\n");
        return luaL_error(L, "Error, object of unrecognized type devided by an operator\n");
    }
    if (!oplua::ReadScalar(L, 2, &z, &isComplex))
        return luaL_error(L, "Error, operator devided by an object of unrecognized type\n");
    // 1/(a + ib) = (a - ib)/(a^2 + b^2), as two divisions.
    const double n2 = z.re * z.re + z.im * z.im;
    const Complex16 s = isComplex ? Complex16{z.re / n2, -z.im / n2} : Complex16{1.0 / z.re, 0.0};
    oplua::PushCopyScaledShifted(L, *A, s, nullptr, false, "out of memory when deviding an operator by a number");
    return 1;
}

int LuaOperatorUnm(lua_State* L) {
    oplua::PushCopyScaledShifted(L, *luaL_checkOperator(L, 1), Complex16{-1.0, 0.0}, nullptr, false,
                                 "out of memory when negating an operator");
    return 1;
}

void LuaRegisterOperatorType(lua_State* L) {
    static const luaL_Reg methods[] = {
        {"__add", LuaOperatorAdd},
        {"__sub", LuaOperatorSub},
        {"__mul", LuaOperatorMul},
        {"__div", LuaOperatorDiv},
        {"__unm", LuaOperatorUnm},
        {"__index", LuaOperatorIndex},
        {"__newindex", LuaOperatorNewIndex},
        {"__tostring", LuaOperatorToString},
        {"__gc", LuaOperatorDestroy},
        {nullptr, nullptr},
    };
    luaL_newmetatable(L, OPERATOR_TYPE_NAME);
    luaL_setfuncs(L, methods, 0);
    lua_pop(L, 1);

    // Division by an operator and powers have no meaning: the complex
    // arithmetic raises its "complex number ... operator" messages.
    static const ComplexOperandRow row = {
        OPERATOR_TYPE_NAME,
        ComplexOperandUserdata,
        "operator",
        {ComplexPlusOperator, ComplexMinusOperator, ComplexTimesOperator, nullptr, nullptr},
    };
    ComplexSetOperandRow(row);
}
