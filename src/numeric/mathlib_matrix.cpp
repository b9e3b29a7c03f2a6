// The matrix and vector functions of the table math: Dot, MatrixTranspose,
// MatrixConjugateTranspose and MatrixConjugate.  Matrices are read and
// written by the matrix script face (numeric/matrix_lua.h), in either form.
#include <cstdlib>

#include "base/complex_lua.h"
#include "numeric/mathlib_matrix.h"
#include "base/options.h"
#include "numeric/compactmatrix.h"
#include "numeric/matrix_lua.h"

namespace {

// Frees a malloc'ed block when a script error unwinds past it.
struct FreeOnExit {
    void* p;
    ~FreeOnExit() { free(p); }
};

// A matrix argument as luaL_checkCompactMatrix gives it, freed on every way
// out of the call.
struct CheckedMatrix {
    CompactMatrixType* M;
    CheckedMatrix(lua_State* L, int idx) : M(luaL_checkCompactMatrix(L, idx)) {}
    CheckedMatrix(const CheckedMatrix&) = delete;
    CheckedMatrix& operator=(const CheckedMatrix&) = delete;
    ~CheckedMatrix() { LuaFreeCheckedCompactMatrix(M); }
};

// The product matrix of Dot, freed on every way out of the call.
struct OwnedMatrix {
    CompactMatrixType M = CompactnullMatrix();
    ~OwnedMatrix() { FreeCompactMatrix(&M); }
};

// A matrix argument has the form of a matrix: a Matrix_Type userdata, or a
// table whose first element is a table.
bool HasMatrixForm(lua_State* L, int idx) {
    if (luaL_testMatrixUserdata(L, idx) != nullptr) return true;
    if (lua_type(L, idx) != LUA_TTABLE) return false;
    lua_rawgeti(L, idx, 1);
    bool rows = lua_type(L, -1) == LUA_TTABLE;
    lua_pop(L, 1);
    return rows;
}

int DotMatrices(lua_State* L) {
    CheckedMatrix A(L, 1);
    CheckedMatrix B(L, 2);
    if (A.M->Nj != B.M->Ni) {
        return luaL_error(L,
                          "Matrix multiplication requirs the number of columns of the left matrix (%d) "
                          "to be equal to the number of rows (%d) of the right",
                          (int)A.M->Nj, (int)B.M->Ni);
    }
    OwnedMatrix C;
    C.M.Ni = A.M->Ni;
    C.M.Nj = B.M->Nj;
    C.M.QComplex = (A.M->QComplex || B.M->QComplex) ? 1 : 0;
    if (InitCompactMatrix(&C.M) != 0) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        if (InitCompactMatrix(&C.M) != 0) {
            C.M = CompactnullMatrix();
            return luaL_error(L, "Allocation failed in %s", "math.Dot");
        }
    }
    if (CompactMatrixAddMultiply("N", "N", *A.M, *B.M, &C.M, 1.0, 0.0, 0.0, 0.0) != 0) {
        return luaL_error(L, "math.Dot failed in the matrix product");
    }
    LuaPushTable_CompactMatrixType(L, C.M);
    return 1;
}

// sum_i conj(a_i) b_i; a number when both vectors are real.
int DotVectors(lua_State* L) {
    CompactVectorType a = luaL_checkVector(L, 1);
    FreeOnExit freeA{a.data};
    CompactVectorType b = luaL_checkVector(L, 2);
    FreeOnExit freeB{b.data};
    if (a.NElem != b.NElem) {
        return luaL_error(L, "math.Dot expects two vectors of equal length, got %d and %d", (int)a.NElem,
                          (int)b.NElem);
    }
    if (!a.QComplex && !b.QComplex) {
        const double* x = static_cast<const double*>(a.data);
        const double* y = static_cast<const double*>(b.data);
        double sum = 0;
        for (uint32_t i = 0; i < a.NElem; i++) sum += x[i] * y[i];
        lua_pushnumber(L, sum);
        return 1;
    }
    Complex16 sum{0.0, 0.0};
    for (uint32_t i = 0; i < a.NElem; i++) {
        Complex16 x = a.QComplex ? static_cast<const Complex16*>(a.data)[i]
                                 : Cnum(static_cast<const double*>(a.data)[i], 0.0);
        Complex16 y = b.QComplex ? static_cast<const Complex16*>(b.data)[i]
                                 : Cnum(static_cast<const double*>(b.data)[i], 0.0);
        sum += Conjugate(x) * y;
    }
    LuaPushComplex16(L, sum);
    return 1;
}

}  // namespace

int math_Dot(lua_State* L) {
    if (lua_gettop(L) != 2) return luaL_error(L, "math.Dot expects 2 parameters a,b");
    bool matrixA = HasMatrixForm(L, 1), matrixB = HasMatrixForm(L, 2);
    if (matrixA && matrixB) return DotMatrices(L);
    if (matrixA || matrixB) return luaL_error(L, "math.Dot expects two vectors or two matrices");
    return DotVectors(L);
}

// The same calls as Matrix.Transpose, Matrix.ConjugateTranspose and
// Matrix.Conjugate, messages included.
int math_MatrixTranspose(lua_State* L) { return LuaMatrixTranspose(L); }
int math_MatrixConjugateTranspose(lua_State* L) { return LuaMatrixConjugateTranspose(L); }
int math_MatrixConjugate(lua_State* L) { return LuaMatrixConjugate(L); }
