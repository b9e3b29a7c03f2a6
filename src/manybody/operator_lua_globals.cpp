// The operator arms of the global calls that act on several kinds of values:
// Copy and Clone, Conjugate, Transpose, ConjugateTranspose, Chop.  Each takes
// the operator at index 1 and pushes a new operator, the argument left as it
// was (unlike the dot methods O.Conjugate() and O.Chop(), which change O).
#include "manybody/operator_algebra.h"
#include "manybody/operator_lua.h"
#include "manybody/operator_lua_internal.h"

namespace {

// Pushes op(O) for an operation that initialises its result.
template <class Operation>
int PushResult(lua_State* L, Operation operation, const char* message) {
    const OperatorType* O = luaL_checkOperator(L, 1);
    OperatorType R;
    oplua::RetryAfterCollect(L, [&]() { return operation(*O, &R); }, message);
    LuaPushOperator(L, &R);
    return 1;
}

}  // namespace

int LuaOperatorCopyArm(lua_State* L) {
    return PushResult(L, [](const OperatorType& O, OperatorType* R) { return OperatorCopy(R, O); },
                      "out of memory when copying an operator");
}

int LuaOperatorConjugateArm(lua_State* L) {
    return PushResult(
        L,
        [](const OperatorType& O, OperatorType* R) {
            if (OperatorCopy(R, O) != 0) return 1;
            OperatorComplexConjugate(R);
            return 0;
        },
        "out of memory when conjugating an operator");
}

int LuaOperatorTransposeArm(lua_State* L) {
    return PushResult(
        L, [](const OperatorType& O, OperatorType* R) { return OperatorTransposeNormalOrder(O, R, oplua::NormalOrder); },
        "out of memory when taking the transpose of an operator");
}

int LuaOperatorConjugateTransposeArm(lua_State* L) {
    return PushResult(
        L,
        [](const OperatorType& O, OperatorType* R) {
            return OperatorConjugateTransposeNormalOrder(O, R, oplua::NormalOrder);
        },
        "out of memory when taking the conjugate transpose of an operator");
}

int LuaOperatorChopArm(lua_State* L) {
    const double eps = luaL_checknumber(L, 2);
    return PushResult(
        L,
        [eps](const OperatorType& O, OperatorType* R) {
            if (OperatorCopy(R, O) != 0) return 1;
            if (OperatorChop(R, eps) != 0) {
                FreeOperator(R);
                return 1;
            }
            return 0;
        },
        "out of memory when chopping an operator");
}
