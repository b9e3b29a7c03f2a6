// Functions of one matrix in the table Matrix (conjugates, transposes,
// inverse, exponential, square root, rotation, the two forms), and the matrix
// arms of the global Inverse and Chop.
#include <cmath>

#include "numeric/matrix_lua.h"
#include "numeric/matrix_lua_internal.h"

namespace {

void CheckOneArgument(lua_State* L, const char* name) {
    int n = lua_gettop(L);
    if (n != 1) luaL_error(L, "%s called with %d arguments, only one expected", name, n);
}

// Pushes a copy of the matrix at 1 changed by an operation in place that can
// fail only for lack of memory; the result has the form of the argument.
template <class Operation>
int PushChangedCopy(lua_State* L, const char* who, Operation operation) {
    MatrixArgument A(L, 1);
    bool userdata = A.IsUserdata();
    CompactMatrixOwner R;
    LuaTakeArgument(L, &A, &R, who);
    if (LuaRetryAfterCollect(L, [&] { return operation(&R.M); }))
        luaL_error(L, "Allocation failed in %s", who);
    LuaPushMatrixResult(L, &R, userdata);
    return 1;
}

int ConjugateInPlace(CompactMatrixType* M) {
    CompactMatrixConjugate(M);
    return 0;
}

// Real and imaginary parts smaller than eps in magnitude become exactly 0; a
// matrix left without imaginary parts becomes real.
int ChopInPlace(CompactMatrixType* M, double eps) {
    size_t n = static_cast<size_t>(M->Ni) * M->Nj;
    size_t parts = n * (M->QComplex ? 2 : 1);
    double* d = static_cast<double*>(M->data);
    for (size_t k = 0; k < parts; k++)
        if (std::fabs(d[k]) < eps) d[k] = 0.0;
    if (!M->QComplex) return 0;
    const Complex16* c = CompactMatrixComplexData(*M);
    for (size_t k = 0; k < n; k++)
        if (c[k].im != 0.0) return 0;
    return MakeCompactComplexMatrixReal(M);
}

}  // namespace

int LuaMatrixConjugate(lua_State* L) {
    CheckOneArgument(L, "Matrix.Conjugate");
    return PushChangedCopy(L, "Matrix.Conjugate", ConjugateInPlace);
}

int LuaMatrixTranspose(lua_State* L) {
    CheckOneArgument(L, "Matrix.Transpose");
    return PushChangedCopy(L, "Matrix.Transpose", CompactMatrixTranspose);
}

int LuaMatrixConjugateTranspose(lua_State* L) {
    CheckOneArgument(L, "Matrix.ConjugateTranspose");
    return PushChangedCopy(L, "Matrix.ConjugateTranspose", CompactMatrixConjugateTranspose);
}

int LuaMatrixInverse(lua_State* L) {
    CheckOneArgument(L, "Matrix.Inverse");
    MatrixArgument A(L, 1);
    if (A.M->Ni != A.M->Nj) return luaL_error(L, "Matrix Inverse only works on square matrices\n");
    bool userdata = A.IsUserdata();
    CompactMatrixOwner R;
    LuaTakeArgument(L, &A, &R, "Matrix.Inverse");
    if (CompactMatrixInverse(&R.M) != 0)
        return luaL_error(L, "Matrix inversion failed, probably the matrix is singular\n");
    LuaPushMatrixResult(L, &R, userdata);
    return 1;
}

int LuaMatrixInverseGlobal(lua_State* L) {
    MatrixArgument A(L, 1);
    bool userdata = A.IsUserdata();
    CompactMatrixOwner R;
    LuaTakeArgument(L, &A, &R, "Inverse");
    if (CompactMatrixInverse(&R.M) != 0) return luaL_error(L, "Inverse failed");
    LuaPushMatrixResult(L, &R, userdata);
    return 1;
}

int LuaMatrixChop(lua_State* L) {
    double eps = luaL_checknumber(L, 2);
    lua_settop(L, 1);
    return PushChangedCopy(L, "Chop", [eps](CompactMatrixType* M) { return ChopInPlace(M, eps); });
}

int LuaMatrixExp(lua_State* L) {
    CheckOneArgument(L, "Matrix.Exp");
    MatrixArgument A(L, 1);
    if (A.M->Ni != A.M->Nj) return luaL_error(L, "Matrix Exp only works on square matrices\n");
    CompactMatrixOwner R;
    if (QCompactMatrixHermitian(*A.M, kMatrixExpHermitianTolerance)) {
        if (HermitianCompactMatrixExp(A.M, &R.M)) {
            R.Forget();
            return luaL_error(L, "Matrix Exp failed (should not happen for Hermitian matrices)\n");
        }
    } else if (NonHermitianCompactMatrixExp(A.M, &R.M)) {
        R.Forget();
        return luaL_error(
            L, "Matrix Exp failed (probably singular needs aditional algorithm to be implemented)\n");
    }
    LuaPushMatrixResult(L, &R, A.IsUserdata());
    return 1;
}

int LuaMatrixSqrt(lua_State* L) {
    CheckOneArgument(L, "Matrix.Sqrt");
    MatrixArgument A(L, 1);
    if (A.M->Ni != A.M->Nj) return luaL_error(L, "Matrix sqrt only works on square matrices\n");
    if (!QCompactMatrixHermitian(*A.M, kMatrixSqrtHermitianTolerance))
        return luaL_error(L, "Matrix sqrt only works on Hermitian matrices\n");
    CompactMatrixOwner R;
    if (CompactMatrixSqrt(A.M, &R.M)) {
        R.Forget();
        return luaL_error(L, "Matrix Sqrt failed\n");
    }
    LuaPushMatrixResult(L, &R, A.IsUserdata());
    return 1;
}

int LuaMatrixRotate(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 2) return luaL_error(L, "Matrix.Rotate called with %d arguments, two arguments expected", n);
    for (int k = 1; k <= 2; k++)
        if (!lua_istable(L, k) && !QMatrixUserdata(L, k)) return luaL_error(L, "Error in Matrix.Rotate");
    MatrixArgument A(L, 1);
    MatrixArgument T(L, 2);
    if (A.M->Ni != A.M->Nj)
        return luaL_error(L,
                          "Matrix.Rotate needs the first matrix to be square, at the moment Ni=%d "
                          "and Nj=%d",
                          static_cast<int>(A.M->Ni), static_cast<int>(A.M->Nj));
    if (A.M->Ni != T.M->Nj)
        return luaL_error(L,
                          "Matrix.Rotate needs the first matrix to be of the same dimension (%d) as "
                          "the number of Columns in the second matrix (%d)",
                          static_cast<int>(A.M->Ni), static_cast<int>(T.M->Nj));
    CompactMatrixOwner R;
    if (LuaRetryAfterCollect(
            L, [&] { return CompactMatrixMultiply3("N", "N", "C", *T.M, *A.M, *T.M, &R.M); })) {
        R.Forget();
        return luaL_error(L, "Error in CompactMatrixMultiply3");
    }
    LuaPushMatrixResult(L, &R, A.IsUserdata() || T.IsUserdata());
    return 1;
}

int LuaMatrixToTable(lua_State* L) {
    MatrixArgument A(L, 1);
    LuaPushTable_CompactMatrixType(L, *A.M);
    return 1;
}

int LuaMatrixToUserdata(lua_State* L) {
    MatrixArgument A(L, 1);
    CompactMatrixOwner R;
    LuaTakeArgument(L, &A, &R, "Matrix.ToUserdata");
    LuaPushUserdata_CompactMatrixType(L, &R.M);
    return 1;
}
