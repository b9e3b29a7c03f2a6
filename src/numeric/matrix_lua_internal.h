// Helpers shared by the files of the matrix script face; not for other code.
//
// A script error unwinds the C++ frames of a call (the interpreter is built
// as C++), so the matrices that a call makes are held by the two small
// owners below, whose destructors free them on every way out of the call.
#ifndef SKELDA_NUMERIC_MATRIX_LUA_INTERNAL_H
#define SKELDA_NUMERIC_MATRIX_LUA_INTERNAL_H

#include <lua.hpp>

#include "numeric/compactmatrix.h"
#include "numeric/matrix_lua.h"

// A matrix made by a call.  Starts as a null matrix, which owns nothing.
// When a kernel fails, its output holds nothing to free, but it may hold
// stale pointers: call Forget before raising the error.
struct CompactMatrixOwner {
    CompactMatrixType M = CompactnullMatrix();
    CompactMatrixOwner() = default;
    CompactMatrixOwner(const CompactMatrixOwner&) = delete;
    CompactMatrixOwner& operator=(const CompactMatrixOwner&) = delete;
    ~CompactMatrixOwner() { FreeCompactMatrix(&M); }
    void Forget() { M = CompactnullMatrix(); }
};

// A matrix argument read by luaL_checkCompactMatrix.
struct MatrixArgument {
    CompactMatrixType* M = nullptr;
    MatrixArgument() = default;
    MatrixArgument(lua_State* L, int idx) : M(luaL_checkCompactMatrix(L, idx)) {}
    MatrixArgument(const MatrixArgument&) = delete;
    MatrixArgument& operator=(const MatrixArgument&) = delete;
    ~MatrixArgument() { LuaFreeCheckedCompactMatrix(M); }
    bool IsUserdata() const { return M != nullptr && M->QBorrowed; }
};

// Runs a kernel; after a failure for lack of memory (a positive result) runs
// a full collection of the interpreter and tries once more.  A negative
// result (arguments refused) is not tried again.  Returns the result of the
// last attempt.  Only for kernels whose positive failures are those of
// memory, and which leave their inputs unchanged when they fail.
template <class Kernel>
int LuaRetryAfterCollect(lua_State* L, Kernel kernel) {
    int fail = kernel();
    if (fail > 0) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        fail = kernel();
    }
    return fail;
}

// Initialises out->M as a zero matrix of the given shape; raises
// "Allocation failed in <who>" when that fails even after a collection.
void LuaInitOwnedMatrix(lua_State* L, CompactMatrixOwner* out, uint32_t Ni, uint32_t Nj,
                        int32_t QComplex, const char* who);

// A copy of src that the call may change: out->M is initialised here.
// Raises "Allocation failed in <who>" when the copy can't be made.
void LuaCopyToOwned(lua_State* L, const CompactMatrixType& src, CompactMatrixOwner* out,
                    const char* who);

// A changeable copy of an argument: the buffers of a matrix read from a table
// are taken over without copying, a userdata's record is copied.
void LuaTakeArgument(lua_State* L, MatrixArgument* arg, CompactMatrixOwner* out,
                     const char* who);

// Pushes the result in the form that the call's arguments ask for: a new
// userdata that takes over R's buffers, or the table form (R then stays with
// its owner, who frees it).
void LuaPushMatrixResult(lua_State* L, CompactMatrixOwner* R, bool userdata);

// True when the value at idx is a Matrix_Type userdata.
inline bool QMatrixUserdata(lua_State* L, int idx) {
    return luaL_testMatrixUserdata(L, idx) != nullptr;
}

// The option "Userdata" (type "bool", default false) of the option list at
// idx, when there is a value at idx.
bool LuaReadUserdataOption(lua_State* L, int idx);

// A whole number at idx in 0 .. UINT32_MAX (truncated toward zero); anything
// else raises the stock argument error with `what` as its text.
uint32_t LuaCheckSize(lua_State* L, int idx, const char* what);

// Pushes entry (i,j) of M: a number for a real matrix, a Complex_Type object
// for a complex one.
void LuaPushMatrixElement(lua_State* L, const CompactMatrixType& M, uint32_t i, uint32_t j);

// Sets the operand rows of matrices in the arithmetic of complex numbers.
void LuaRegisterMatrixComplexRows();

// The relative tolerances of the Hermitian tests of Exp and of Sqrt.
const double kMatrixExpHermitianTolerance = 4.440892098500626e-16;
const double kMatrixSqrtHermitianTolerance = 2.220446049250313e-16;

#endif
