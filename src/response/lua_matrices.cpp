// Matrices inside the table forms of block response functions.
#include "response/lua_matrices.h"

#include <cmath>
#include <cstring>

#include "host/complex_lua.h"

namespace {

const char* kMatrixTypeName = "Matrix_Type";

// Elements of a table read as a matrix count as real when |im| <= |re| 2^-52.
const double kRealRelativeCut = 2.220446049250313e-16;

// The dimensions of the table of rows at idx, checked element by element;
// false when it is not a table of rows of numbers.
bool TableShape(lua_State* L, int idx, uint32_t* Ni, uint32_t* Nj) {
    const size_t rows = lua_rawlen(L, idx);
    *Ni = static_cast<uint32_t>(rows);
    *Nj = 0;
    for (size_t i = 0; i < rows; i++) {
        lua_rawgeti(L, idx, static_cast<int>(i + 1));
        if (!lua_istable(L, -1)) {
            lua_pop(L, 1);
            return false;
        }
        const size_t n = lua_rawlen(L, -1);
        if (i == 0) {
            *Nj = static_cast<uint32_t>(n);
        } else if (n != *Nj) {
            luaL_error(L, "Error while reading matrix. Dimensions of rows not constant. %d at first row %d at row %d",
                       static_cast<int>(*Nj), static_cast<int>(n), static_cast<int>(i + 1));
        }
        for (size_t j = 0; j < n; j++) {
            lua_rawgeti(L, -1, static_cast<int>(j + 1));
            Complex16 z;
            const bool ok = LuaToComplex16(L, -1, &z) != 0;
            lua_pop(L, 1);
            if (!ok) {
                lua_pop(L, 1);
                return false;
            }
        }
        lua_pop(L, 1);
    }
    return true;
}

int InitWithRetry(lua_State* L, CompactMatrixType* M) {
    if (InitCompactMatrix(M) == 0) return 0;
    lua_gc(L, LUA_GCCOLLECT, 0);
    return InitCompactMatrix(M);
}

}  // namespace

int QLuaResponseMatrix(lua_State* L, int idx) {
    if (luaL_testudata(L, idx, kMatrixTypeName) != nullptr) return 1;
    if (!lua_istable(L, idx)) return 0;
    lua_rawgeti(L, idx, 1);
    const int row = lua_istable(L, -1);
    lua_pop(L, 1);
    return row;
}

int LuaReadResponseMatrix(lua_State* L, int idx, CompactMatrixType* out) {
    idx = lua_absindex(L, idx);
    if (const CompactMatrixType* u = static_cast<const CompactMatrixType*>(luaL_testudata(L, idx, kMatrixTypeName))) {
        CompactMatrixType c;
        if (CompactMatrixCopy(*u, &c) != 0) {
            lua_gc(L, LUA_GCCOLLECT, 0);
            if (CompactMatrixCopy(*u, &c) != 0) luaL_error(L, "malloc failed while reading a Green's function");
        }
        *out = c;
        return 0;
    }
    if (!lua_istable(L, idx)) return 1;
    uint32_t Ni = 0;
    uint32_t Nj = 0;
    if (!TableShape(L, idx, &Ni, &Nj)) return 1;
    // Nothing can raise an error from here on.
    bool real = true;
    for (uint32_t i = 0; i < Ni && real; i++) {
        lua_rawgeti(L, idx, static_cast<int>(i + 1));
        for (uint32_t j = 0; j < Nj && real; j++) {
            lua_rawgeti(L, -1, static_cast<int>(j + 1));
            Complex16 z;
            LuaToComplex16(L, -1, &z);
            lua_pop(L, 1);
            if (std::fabs(z.im) > std::fabs(z.re * kRealRelativeCut)) real = false;
        }
        lua_pop(L, 1);
    }
    CompactMatrixType M;
    M.Ni = Ni;
    M.Nj = Nj;
    M.QComplex = real ? 0 : 1;
    if (InitWithRetry(L, &M) != 0) luaL_error(L, "malloc failed while reading a Green's function");
    for (uint32_t i = 0; i < Ni; i++) {
        lua_rawgeti(L, idx, static_cast<int>(i + 1));
        for (uint32_t j = 0; j < Nj; j++) {
            lua_rawgeti(L, -1, static_cast<int>(j + 1));
            Complex16 z;
            LuaToComplex16(L, -1, &z);
            lua_pop(L, 1);
            const size_t k = static_cast<size_t>(i) * Nj + j;
            if (real)
                CompactMatrixRealData(M)[k] = z.re;
            else
                CompactMatrixComplexData(M)[k] = z;
        }
        lua_pop(L, 1);
    }
    *out = M;
    return 0;
}

void LuaPushResponseMatrix(lua_State* L, const CompactMatrixType& M) {
    luaL_checkstack(L, 4, "LuaPushResponseMatrix");
    lua_createtable(L, static_cast<int>(M.Ni), 0);
    for (uint32_t i = 0; i < M.Ni; i++) {
        lua_createtable(L, static_cast<int>(M.Nj), 0);
        for (uint32_t j = 0; j < M.Nj; j++) {
            const size_t k = static_cast<size_t>(i) * M.Nj + j;
            if (M.QComplex)
                LuaPushComplex16(L, CompactMatrixComplexData(M)[k]);
            else
                lua_pushnumber(L, CompactMatrixRealData(M)[k]);
            lua_rawseti(L, -2, static_cast<int>(j + 1));
        }
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    lua_getglobal(L, "MatrixMeta");
    if (lua_istable(L, -1))
        lua_setmetatable(L, -2);
    else
        lua_pop(L, 1);
}
