// The metamethods of matrices, shared by the userdata form (Matrix_Type) and
// the table form (MatrixMeta), and the operand rows of matrices in the
// arithmetic of complex numbers.
#include <climits>
#include <cmath>

#include "base/released.h"
#include "base/complex_lua.h"
#include "numeric/compactmatrix_blocks.h"
#include "numeric/matrix_lua.h"
#include "numeric/matrix_lua_internal.h"

namespace {

const char* const kToStringText =
    "Matrix in userdata format use ToTable() in order to get a table form";

enum OperandKind { OperandScalar, OperandMatrix, OperandOther };

// Numbers and complex objects are scalars; Matrix_Type userdata and tables
// are matrices.  A numeric string is not a number here.
OperandKind ClassifyOperand(lua_State* L, int idx, Complex16* z) {
    int t = lua_type(L, idx);
    if (t == LUA_TNUMBER) {
        *z = Complex16{lua_tonumber(L, idx), 0.0};
        return OperandScalar;
    }
    if (t == LUA_TTABLE) return OperandMatrix;
    if (t == LUA_TUSERDATA) {
        if (Complex16* c = luaL_testComplex16(L, idx)) {
            *z = *c;
            return OperandScalar;
        }
        if (QMatrixUserdata(L, idx)) return OperandMatrix;
    }
    return OperandOther;
}

// Reads a factor of a product.  A table whose first entry is not a table is a
// vector and is read as a matrix of one row.
void ReadProductOperand(lua_State* L, int idx, MatrixArgument* arg) {
    bool vector = false;
    if (lua_istable(L, idx) && lua_rawlen(L, idx) > 0) {
        lua_rawgeti(L, idx, 1);
        vector = !lua_istable(L, -1);
        lua_pop(L, 1);
    }
    if (!vector) {
        arg->M = luaL_checkCompactMatrix(L, idx);
        return;
    }
    idx = lua_absindex(L, idx);
    lua_createtable(L, 1, 0);
    lua_pushvalue(L, idx);
    lua_rawseti(L, -2, 1);
    arg->M = luaL_checkCompactMatrix(L, -1);
    lua_pop(L, 1);
}

// Pushes z times the matrix at idx, in the form of that matrix.
void PushScaledMatrix(lua_State* L, Complex16 z, int idx) {
    MatrixArgument A(L, idx);
    bool userdata = A.IsUserdata();
    CompactMatrixOwner R;
    LuaTakeArgument(L, &A, &R, "matrix multiplication");
    if (LuaRetryAfterCollect(L, [&] { return CompactMatrixScaleComplex(&R.M, z); }))
        luaL_error(L, "Allocation failed in %s", "matrix multiplication");
    LuaPushMatrixResult(L, &R, userdata);
}

// The inverse of a square matrix into R; raises the messages of division.
void InvertForDivision(lua_State* L, const CompactMatrixType& B, CompactMatrixOwner* R) {
    if (B.Ni != B.Nj)
        luaL_error(L, "Matrix inversion only works for square matrices dimensions are (%d %d)\n",
                   static_cast<int>(B.Ni), static_cast<int>(B.Nj));
    LuaCopyToOwned(L, B, R, "matrix division");
    if (CompactMatrixInverse(&R->M) != 0)
        luaL_error(L, "Matrix inversion failed, probably the matrix is singular\n");
}

// Pushes z times the inverse of the matrix at idx, in the form of that matrix.
void PushScalarOverMatrix(lua_State* L, Complex16 z, int idx) {
    MatrixArgument B(L, idx);
    CompactMatrixOwner R;
    InvertForDivision(L, *B.M, &R);
    if (LuaRetryAfterCollect(L, [&] { return CompactMatrixScaleComplex(&R.M, z); }))
        luaL_error(L, "Allocation failed in %s", "matrix division");
    LuaPushMatrixResult(L, &R, B.IsUserdata());
}

// Pushes the product A B; the form is userdata when either factor is.
void PushProduct(lua_State* L, const CompactMatrixType& A, const CompactMatrixType& B,
                 bool userdata) {
    if (A.Nj != B.Ni)
        luaL_error(L,
                   "Matrix multiplication requirs the number of columns of the left matrix (%d) "
                   "to be equal to the number of rows (%d) of the right",
                   static_cast<int>(A.Nj), static_cast<int>(B.Ni));
    CompactMatrixOwner R;
    if (LuaRetryAfterCollect(L, [&] { return CompactMatrixMultiply("N", "N", A, B, &R.M); })) {
        R.Forget();
        luaL_error(L, "Allocation failed in %s", "matrix multiplication");
    }
    LuaPushMatrixResult(L, &R, userdata);
}

// Divides every entry of M by z in place; a complex z turns a real M complex.
int DivideEntries(CompactMatrixType* M, Complex16 z) {
    size_t n = static_cast<size_t>(M->Ni) * M->Nj;
    if (z.im == 0.0) {
        double* d = static_cast<double*>(M->data);
        size_t parts = n * (M->QComplex ? 2 : 1);
        for (size_t k = 0; k < parts; k++) d[k] /= z.re;
        return 0;
    }
    if (MakeCompactRealMatrixComplex(M)) return 1;
    Complex16* d = CompactMatrixComplexData(*M);
    for (size_t k = 0; k < n; k++) d[k] = d[k] / z;
    return 0;
}

void ComplexTimesMatrix(lua_State* L, Complex16 z, int idx) { PushScaledMatrix(L, z, idx); }
void ComplexOverMatrix(lua_State* L, Complex16 z, int idx) { PushScalarOverMatrix(L, z, idx); }

}  // namespace

int LuaMatrixUnm(lua_State* L) {
    MatrixArgument A(L, 1);
    bool userdata = A.IsUserdata();
    CompactMatrixOwner R;
    LuaTakeArgument(L, &A, &R, "matrix negation");
    // 0 - x rather than -1 * x, so that zero entries stay +0 and print as 0.
    size_t parts = static_cast<size_t>(R.M.Ni) * R.M.Nj * (R.M.QComplex ? 2 : 1);
    double* d = static_cast<double*>(R.M.data);
    for (size_t k = 0; k < parts; k++) d[k] = 0.0 - d[k];
    LuaPushMatrixResult(L, &R, userdata);
    return 1;
}

namespace {

int AddOrSubtract(lua_State* L, double sign, const char* op) {
    MatrixArgument A(L, 1);
    MatrixArgument B(L, 2);
    if (A.M->Ni != B.M->Ni || A.M->Nj != B.M->Nj)
        luaL_error(L, "Error: dimensions of matrix A (%d %d) and B (%d %d) in %s not equivalent\n",
                   static_cast<int>(A.M->Ni), static_cast<int>(A.M->Nj), static_cast<int>(B.M->Ni),
                   static_cast<int>(B.M->Nj), op);
    bool userdata = A.IsUserdata() || B.IsUserdata();
    CompactMatrixOwner R;
    LuaTakeArgument(L, &A, &R, "matrix addition");
    if (LuaRetryAfterCollect(L, [&] { return CompactMatrixAdd(&R.M, *B.M, sign, 0.0); }))
        luaL_error(L, "Allocation failed in %s", "matrix addition");
    LuaPushMatrixResult(L, &R, userdata);
    return 1;
}

}  // namespace

int LuaMatrixAdd(lua_State* L) { return AddOrSubtract(L, 1.0, "A+B"); }
int LuaMatrixSub(lua_State* L) { return AddOrSubtract(L, -1.0, "A-B"); }

int LuaMatrixMul(lua_State* L) {
    lua_settop(L, 2);
    Complex16 z1{0, 0}, z2{0, 0};
    OperandKind k1 = ClassifyOperand(L, 1, &z1);
    OperandKind k2 = ClassifyOperand(L, 2, &z2);
    if (k1 == OperandOther)
        return luaL_error(L, "Unrecognized type (%d) at position one of multiplication \n",
                          lua_type(L, 1));
    if (k2 == OperandOther || (k1 == OperandScalar && k2 == OperandScalar))
        return luaL_error(L, "Unrecognized type (%s) at position two of multiplication \n",
                          luaL_typename(L, 2));
    if (k1 == OperandScalar) {
        PushScaledMatrix(L, z1, 2);
        return 1;
    }
    if (k2 == OperandScalar) {
        PushScaledMatrix(L, z2, 1);
        return 1;
    }
    MatrixArgument A, B;
    ReadProductOperand(L, 1, &A);
    ReadProductOperand(L, 2, &B);
    PushProduct(L, *A.M, *B.M, A.IsUserdata() || B.IsUserdata());
    return 1;
}

int LuaMatrixDiv(lua_State* L) {
    lua_settop(L, 2);
    Complex16 z1{0, 0}, z2{0, 0};
    OperandKind k1 = ClassifyOperand(L, 1, &z1);
    OperandKind k2 = ClassifyOperand(L, 2, &z2);
    if (k1 == OperandOther)
        return luaL_error(L, "Unrecognized type (%d) at position one of division \n",
                          lua_type(L, 1));
    if (k2 == OperandOther || (k1 == OperandScalar && k2 == OperandScalar))
        return luaL_error(L, "Unrecognized type (%s) at position two of division \n",
                          luaL_typename(L, 2));
    if (k1 == OperandScalar) {
        PushScalarOverMatrix(L, z1, 2);
        return 1;
    }
    if (k2 == OperandScalar) {
        MatrixArgument A(L, 1);
        bool userdata = A.IsUserdata();
        CompactMatrixOwner R;
        LuaTakeArgument(L, &A, &R, "matrix division");
        if (LuaRetryAfterCollect(L, [&] { return DivideEntries(&R.M, z2); }))
            luaL_error(L, "Allocation failed in %s", "matrix division");
        LuaPushMatrixResult(L, &R, userdata);
        return 1;
    }
    MatrixArgument A(L, 1);
    MatrixArgument B(L, 2);
    CompactMatrixOwner inverse;
    InvertForDivision(L, *B.M, &inverse);
    PushProduct(L, *A.M, inverse.M, A.IsUserdata() || B.IsUserdata());
    return 1;
}

int LuaMatrixPow(lua_State* L) {
    MatrixArgument A(L, 1);
    double x = luaL_checknumber(L, 2);
    double r = std::round(x);
    if (!(std::fabs(x - r) <= std::fabs(x) * 2.220446049250313e-15 + 2.2250738585072014e-307))
        return luaL_error(L, "Matrix power only works on integers\n");
    if (A.M->Ni != A.M->Nj) return luaL_error(L, "Matrix power only works on square matrices\n");
    CompactMatrixOwner R;
    if (r > INT_MAX || r < INT_MIN || CompactMatrixPow(A.M, &R.M, static_cast<int>(r)) != 0) {
        R.Forget();
        return luaL_error(L, "Matrix power failed\n");
    }
    LuaPushMatrixResult(L, &R, A.IsUserdata());
    return 1;
}

int LuaMatrixToString(lua_State* L) {
    luaL_checkudata(L, 1, MATRIX_TYPE_NAME);
    lua_pushstring(L, kToStringText);
    return 1;
}

int LuaMatrixIndex(lua_State* L) {
    CompactMatrixType* M = static_cast<CompactMatrixType*>(luaL_checkudata(L, 1, MATRIX_TYPE_NAME));
    if (lua_type(L, 2) != LUA_TNUMBER) {
        // Names are looked up in the library table, so M.Transpose works.
        lua_getglobal(L, "Matrix");
        if (!lua_istable(L, -1)) {
            lua_pushnil(L);
            return 1;
        }
        lua_pushvalue(L, 2);
        lua_gettable(L, -2);
        return 1;
    }
    double k = lua_tonumber(L, 2);
    double r = std::round(k);
    if (!(std::fabs(k - r) <= (std::fabs(k) + 1.0) * 2.220446049250313e-15))
        return luaL_error(L, "Index of an Array should be an integer\n");
    if (r <= 0.0) return luaL_error(L, "Index of an Array should be positive (non-zero)\n");
    uint32_t size = M->Ni == 1 ? M->Nj : M->Ni;
    if (r > size)
        // lua_pushfstring knows %d, not %i.
        return luaL_error(L, "Index %d larger then size of Array %d\n",
                          r > INT_MAX ? INT_MAX : static_cast<int>(r), static_cast<int>(size));
    uint32_t i = static_cast<uint32_t>(r) - 1;
    if (M->Ni == 1) {
        LuaPushMatrixElement(L, *M, 0, i);
        return 1;
    }
    CompactMatrixOwner row;
    if (LuaRetryAfterCollect(L, [&] { return Submatrix(*M, i, i + 1, 0, M->Nj, &row.M); })) {
        row.Forget();
        return luaL_error(L, "Allocation failed in %s", "Matrix index");
    }
    LuaPushUserdata_CompactMatrixType(L, &row.M);
    return 1;
}

int LuaMatrixDestroy(lua_State* L) {
    CompactMatrixType* M = static_cast<CompactMatrixType*>(luaL_checkudata(L, 1, MATRIX_TYPE_NAME));
    M->QBorrowed = 0;
    FreeCompactMatrix(M);
    LuaMarkReleased(L, 1);
    return 0;
}

void LuaRegisterMatrixComplexRows() {
    // A complex number times or over a userdata matrix; plus, minus and power
    // keep the message of an unrecognised userdata.
    static const ComplexOperandRow userdataRow = {
        MATRIX_TYPE_NAME, ComplexOperandUserdata, "unrecognized userdata",
        {nullptr, nullptr, ComplexTimesMatrix, ComplexOverMatrix, nullptr}};
    // A complex number over a table with MatrixMeta is a matrix division; the
    // other operations with such a table go element by element.
    static const ComplexOperandRow tableRow = {
        MATRIX_META_NAME, ComplexOperandTable, "matrix",
        {nullptr, nullptr, nullptr, ComplexOverMatrix, nullptr}};
    ComplexSetOperandRow(userdataRow);
    ComplexSetOperandRow(tableRow);
}
