// Matrices made from numbers: Matrix.Identity, Matrix.Zero, Matrix.Diagonal
// and Matrix.Random.  Each gives the table form unless its option list asks
// for {"Userdata", true}.
#include <cstdlib>
#include <memory>

#include "base/random.h"
#include "base/options.h"
#include "numeric/matrix_lua.h"
#include "numeric/matrix_lua_internal.h"

namespace {

const char* const kSizeExpected = "size of the matrix (a whole number, not negative) expected";

struct VectorOwner {
    CompactVectorType v{0, 0, nullptr};
    ~VectorOwner() { FreeCompactVector(&v); }
};

// Identity and Zero: one size, an optional option list.  Both share the
// message of Identity for a wrong count.
int SquareMatrix(lua_State* L, bool identity) {
    int n = lua_gettop(L);
    if (n < 1 || n > 2)
        return luaL_error(L, "Matrix Identity called with %d arguments, 1 or 2 arguments expected\n",
                          n);
    uint32_t N = LuaCheckSize(L, 1, kSizeExpected);
    bool userdata = LuaReadUserdataOption(L, 2);
    CompactMatrixOwner R;
    LuaInitOwnedMatrix(L, &R, N, N, 0, identity ? "Matrix.Identity" : "Matrix.Zero");
    if (identity) {
        SetCompactMatrixName(&R.M, "I_Matrix");
        double* d = CompactMatrixRealData(R.M);
        for (uint32_t k = 0; k < N; k++) d[static_cast<size_t>(k) * N + k] = 1.0;
    }
    LuaPushMatrixResult(L, &R, userdata);
    return 1;
}

// True for a value that is already a matrix: a Matrix_Type userdata or a
// table whose first entry is a table.
bool QMatrixValue(lua_State* L, int idx) {
    if (QMatrixUserdata(L, idx)) return true;
    if (!lua_istable(L, idx) || lua_rawlen(L, idx) == 0) return false;
    lua_rawgeti(L, idx, 1);
    bool rows = lua_istable(L, -1);
    lua_pop(L, 1);
    return rows;
}

// Reads the table at idx, which must hold exactly two entries; otherwise
// raises the message of Matrix.Random for that position.
void CheckRandomPair(lua_State* L, int idx, const char* format) {
    luaL_checktype(L, idx, LUA_TTABLE);
    int len = static_cast<int>(lua_rawlen(L, idx));
    if (len != 2) luaL_error(L, format, len);
}

}  // namespace

int LuaMatrixIdentity(lua_State* L) { return SquareMatrix(L, true); }
int LuaMatrixZero(lua_State* L) { return SquareMatrix(L, false); }

int LuaMatrixDiagonal(lua_State* L) {
    int n = lua_gettop(L);
    if (n < 1 || n > 2)
        return luaL_error(L, "Matrix Diagonal called with %d arguments, 1 or 2 arguments expected\n",
                          n);
    bool userdata = LuaReadUserdataOption(L, 2);
    if (QMatrixValue(L, 1)) {
        // A matrix is passed through; only a table asked to become a userdata
        // is converted.
        if (userdata && !QMatrixUserdata(L, 1)) {
            lua_settop(L, 1);
            return LuaMatrixToUserdata(L);
        }
        lua_pushvalue(L, 1);
        return 1;
    }
    VectorOwner v;
    v.v = luaL_checkVector(L, 1);
    uint32_t N = v.v.NElem;
    CompactMatrixOwner R;
    LuaInitOwnedMatrix(L, &R, N, N, v.v.QComplex ? 1 : 0, "Matrix.Diagonal");
    SetCompactMatrixName(&R.M, "I_Matrix");
    for (uint32_t k = 0; k < N; k++) {
        size_t at = static_cast<size_t>(k) * N + k;
        if (v.v.QComplex) {
            CompactMatrixComplexData(R.M)[at] = static_cast<Complex16*>(v.v.data)[k];
        } else {
            CompactMatrixRealData(R.M)[at] = static_cast<double*>(v.v.data)[k];
        }
    }
    LuaPushMatrixResult(L, &R, userdata);
    return 1;
}

int LuaMatrixRandom(lua_State* L) {
    int n = lua_gettop(L);
    if (n < 2 || n > 3)
        return luaL_error(L, "Matrix Random called with %d arguments, 2 or 3 arguments expected\n",
                          n);
    CheckRandomPair(L, 1,
                    "Matrix Random called with table of length %d at posittion 1, expected {min,max}\n");
    CheckRandomPair(L, 2,
                    "Matrix Random called with table of length %d at posittion 2, expected {Ni,Nj}\n");
    unsigned int nb = 0;
    std::unique_ptr<Complex16, void (*)(void*)> bounds(luaL_checkarray_complex16(L, 1, &nb), free);
    Complex16 lo = bounds.get()[0], hi = bounds.get()[1];
    lua_rawgeti(L, 2, 1);
    uint32_t Ni = LuaCheckSize(L, -1, kSizeExpected);
    lua_rawgeti(L, 2, 2);
    uint32_t Nj = LuaCheckSize(L, -1, kSizeExpected);
    lua_pop(L, 2);
    bool userdata = LuaReadUserdataOption(L, 3);
    // Real and imaginary parts are drawn apart, each uniform between the
    // parts of the bounds; the matrix is complex when a bound is.
    bool complex = lo.im != 0.0 || hi.im != 0.0;
    CompactMatrixOwner R;
    LuaInitOwnedMatrix(L, &R, Ni, Nj, complex ? 1 : 0, "Matrix.Random");
    size_t count = static_cast<size_t>(Ni) * Nj;
    for (size_t k = 0; k < count; k++) {
        double re = lo.re + (hi.re - lo.re) * ksvdrand();
        if (complex) {
            double im = lo.im + (hi.im - lo.im) * ksvdrand();
            CompactMatrixComplexData(R.M)[k] = Complex16{re, im};
        } else {
            CompactMatrixRealData(R.M)[k] = re;
        }
    }
    LuaPushMatrixResult(L, &R, userdata);
    return 1;
}
