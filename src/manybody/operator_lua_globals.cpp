// The operator arms of the global calls that act on several kinds of values:
// Copy and Clone, Conjugate, Transpose, ConjugateTranspose, Chop, Rotate.  Each takes
// the operator at index 1 and pushes a new operator, the argument left as it
// was (unlike the dot methods O.Conjugate() and O.Chop(), which change O).
#include "manybody/operator_algebra.h"
#include "manybody/operator_lua.h"
#include "manybody/operator_lua_internal.h"
#include "numeric/compactmatrix.h"
#include "numeric/matrix.h"
#include "numeric/matrix_lua.h"

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

namespace {

// Owns the matrices read for a basis change while script errors may happen.
struct BasisHolder {
    CompactMatrixType* compact = nullptr;
    MatrixType U;
    bool owned = false;
    BasisHolder() = default;
    BasisHolder(const BasisHolder&) = delete;
    BasisHolder& operator=(const BasisHolder&) = delete;
    ~BasisHolder() {
        if (owned) FreeMatrix(&U);
        if (compact != nullptr) LuaFreeCheckedCompactMatrix(compact);
    }
};

}  // namespace

int LuaOperatorRotateArm(lua_State* L) {
    const OperatorType* O = luaL_checkOperator(L, 1);
    BasisHolder b;
    b.compact = luaL_checkCompactMatrix(L, 2);
    const CompactMatrixType& T = *b.compact;
    const uint32_t modes = O->NF + O->NB;
    if (T.Ni != T.Nj)
        return luaL_error(L, "Error in Rotate, the basis change should be a square matrix, it has %d rows and %d "
                             "columns\n",
                          (int)T.Ni, (int)T.Nj);
    if (T.Ni > modes)
        return luaL_error(L, "Error in Rotate, the basis change has %d rows but the operator only %d modes\n",
                          (int)T.Ni, (int)modes);
    for (uint32_t r = 0; r < T.Ni; r++) {
        for (uint32_t i = 0; i < T.Nj; i++) {
            const Complex16 v = CompactMatrixElement(T, r, i);
            if ((r < O->NF) != (i < O->NF) && (v.re != 0.0 || v.im != 0.0))
                return luaL_error(L, "Error in Rotate, the basis change mixes the fermion and boson modes %d and "
                                     "%d\n",
                                  (int)(r < i ? r : i), (int)(r < i ? i : r));
        }
    }
    oplua::RetryAfterCollect(L, [&]() { return CompactMatrixCopyToMatrix(T, &b.U); },
                             "out of memory when rotating an operator");
    b.owned = true;
    OperatorType R;
    oplua::RetryAfterCollect(L, [&]() { return RotateOperatorNormalOrder(&R, *O, b.U, oplua::NormalOrder); },
                             "out of memory when rotating an operator");
    LuaPushOperator(L, &R);
    return 1;
}
