// Matrices inside the table forms of block response functions.
#include "response/lua_matrices.h"

#include <cstdlib>

#include "base/complex_lua.h"
#include "numeric/matrix_lua.h"

namespace {

// True when the table at idx is a list of rows of numbers; rows of unequal
// length raise the matrix reader's message.
bool RowsOfNumbers(lua_State* L, int idx) {
    const size_t rows = lua_rawlen(L, idx);
    size_t first = 0;
    for (size_t i = 0; i < rows; i++) {
        lua_rawgeti(L, idx, static_cast<int>(i + 1));
        if (!lua_istable(L, -1)) {
            lua_pop(L, 1);
            return false;
        }
        const size_t n = lua_rawlen(L, -1);
        if (i == 0) {
            first = n;
        } else if (n != first) {
            luaL_error(L, "Error while reading matrix. Dimensions of rows not constant. %d at first row %d at row %d",
                       static_cast<int>(first), static_cast<int>(n), static_cast<int>(i + 1));
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

}  // namespace

int QLuaResponseMatrix(lua_State* L, int idx) {
    if (luaL_testMatrixUserdata(L, idx) != nullptr) return 1;
    if (!lua_istable(L, idx)) return 0;
    lua_rawgeti(L, idx, 1);
    const int row = lua_istable(L, -1);
    lua_pop(L, 1);
    return row;
}

int LuaReadResponseMatrix(lua_State* L, int idx, CompactMatrixType* out) {
    idx = lua_absindex(L, idx);
    if (const CompactMatrixType* u = luaL_testMatrixUserdata(L, idx)) {
        CompactMatrixType c;
        if (CompactMatrixCopy(*u, &c) != 0) {
            lua_gc(L, LUA_GCCOLLECT, 0);
            if (CompactMatrixCopy(*u, &c) != 0) luaL_error(L, "malloc failed while reading a Green's function");
        }
        *out = c;
        return 0;
    }
    if (!lua_istable(L, idx) || !RowsOfNumbers(L, idx)) return 1;
    // A record of the matrix reader's own, whose buffers move to *out.
    CompactMatrixType* m = luaL_checkCompactMatrix(L, idx);
    *out = *m;
    free(m);
    return 0;
}
