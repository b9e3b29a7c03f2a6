// Parts and block layouts in the table Matrix: Sub, Expand, Enlarge, AddSpin
// and Flatten.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "base/complex_lua.h"
#include "base/options.h"
#include "numeric/compactmatrix_blocks.h"
#include "numeric/matrix_lua.h"
#include "numeric/matrix_lua_internal.h"

namespace {

// The blocks of a block layout: matrices made here (owned) and matrices read
// from the arguments (freed as luaL_checkCompactMatrix asks), with the list
// of pointers that MatrixFlatten takes, null for a zero block.
struct BlockList {
    size_t n = 0;
    CompactMatrixType* made = nullptr;       // n records, null matrices where unused
    CompactMatrixType** read = nullptr;      // n pointers from luaL_checkCompactMatrix
    const CompactMatrixType** blocks = nullptr;

    void Allocate(lua_State* L, size_t count, const char* who) {
        n = count;
        size_t m = count > 0 ? count : 1;
        made = static_cast<CompactMatrixType*>(LuaMallocOrCollect(L, sizeof(CompactMatrixType) * m, who));
        for (size_t k = 0; k < count; k++) made[k] = CompactnullMatrix();
        read = static_cast<CompactMatrixType**>(LuaMallocOrCollect(L, sizeof(CompactMatrixType*) * m, who));
        for (size_t k = 0; k < count; k++) read[k] = nullptr;
        blocks = static_cast<const CompactMatrixType**>(
            LuaMallocOrCollect(L, sizeof(CompactMatrixType*) * m, who));
        for (size_t k = 0; k < count; k++) blocks[k] = nullptr;
    }
    BlockList() = default;
    BlockList(const BlockList&) = delete;
    BlockList& operator=(const BlockList&) = delete;
    ~BlockList() {
        for (size_t k = 0; made != nullptr && k < n; k++) FreeCompactMatrix(&made[k]);
        for (size_t k = 0; read != nullptr && k < n; k++) LuaFreeCheckedCompactMatrix(read[k]);
        free(made);
        free(read);
        free(blocks);
    }
};

// Flattens the blocks into R, trying again after a collection when memory
// ran out; raises after the kernel's own line.
void FlattenOrRaise(lua_State* L, const BlockList& list, uint32_t NBi, uint32_t NBj,
                    CompactMatrixOwner* R, const char* message) {
    if (LuaRetryAfterCollect(L, [&] { return MatrixFlatten(list.blocks, NBi, NBj, &R->M); })) {
        R->Forget();
        luaL_error(L, "%s", message);
    }
}

// One bound of Matrix.Sub: a count k stands for 1 .. k, a pair {first, last}
// for first .. last (counted from 1, last included).  Gives the half-open
// range counted from 0.  A range outside the 32-bit counts, or one starting
// before 1, is refused here with the message of a failed Submatrix.
void ReadSubRange(lua_State* L, int idx, uint32_t* from, uint32_t* to) {
    if (lua_istable(L, idx)) {
        std::vector<double> pair = luaL_checkarray_double(L, idx);
        if (pair.size() != 2) luaL_argerror(L, idx, "range {first, last} expected");
        double first = std::trunc(pair[0]), last = std::trunc(pair[1]);
        if (!(first >= 1.0 && first <= 4294967295.0 && last >= 0.0 && last <= 4294967295.0)) {
            printf("Submatrix called with the range {%g, %g}; rows and columns count from 1\n",
                   pair[0], pair[1]);
            luaL_error(L, "Submatrix failed.");
        }
        *from = static_cast<uint32_t>(first) - 1;
        *to = static_cast<uint32_t>(last);
        return;
    }
    *from = 0;
    *to = LuaCheckSize(L, idx, "size of the submatrix (a whole number, not negative) expected");
}

}  // namespace

int LuaSubmatrix(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 2 && n != 3)
        return luaL_error(L,
                          "Submatrix called with %d arguments. Expected either 2 (matrix and size "
                          "of submatrix), 3 (matrix, number of rows and n",
                          n);
    MatrixArgument A(L, 1);
    uint32_t i0, i1, j0, j1;
    ReadSubRange(L, 2, &i0, &i1);
    if (n == 3) {
        ReadSubRange(L, 3, &j0, &j1);
    } else {
        j0 = i0;
        j1 = i1;
    }
    CompactMatrixOwner R;
    if (LuaRetryAfterCollect(L, [&] { return Submatrix(*A.M, i0, i1, j0, j1, &R.M); })) {
        R.Forget();
        return luaL_error(L, "Submatrix failed.");
    }
    LuaPushMatrixResult(L, &R, A.IsUserdata());
    return 1;
}

int LuaMatrixExpand(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 2 && n != 3)
        return luaL_error(L,
                          "MatrixExpand called with %d arguments. 2 or 3 expected, a matrix, the new "
                          "matrix size, and possibly a value for the entries ",
                          n);
    // A number stands for a matrix of one entry.
    Complex16 single{0, 0};
    CompactMatrixOwner one;
    MatrixArgument A;
    const CompactMatrixType* source = nullptr;
    if (!lua_istable(L, 1) && LuaToComplex16(L, 1, &single)) {
        if (LuaRetryAfterCollect(L, [&] { return ExpandNumberToCompactMatrix(single, 1, 1, &one.M); })) {
            one.Forget();
            return luaL_error(L, "Allocation failed in %s", "Matrix.Expand");
        }
        source = &one.M;
    } else {
        A.M = luaL_checkCompactMatrix(L, 1);
        source = A.M;
    }
    uint32_t N = LuaCheckSize(L, 2, "new size of the matrix (a whole number, not negative) expected");
    Complex16 value{0, 0};
    if (n == 3 && !LuaToComplex16(L, 3, &value))
        return luaL_argerror(L, 3, "number or Complex_Type expected");
    CompactMatrixOwner R;
    if (LuaRetryAfterCollect(L, [&] { return MatrixExpand(*source, N, value, &R.M); })) {
        R.Forget();
        return luaL_error(L, "MatrixExpand failed.\n");
    }
    LuaPushMatrixResult(L, &R, A.IsUserdata());
    return 1;
}

int LuaMatrixEnlarge(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 2)
        return luaL_error(L,
                          "MatrixEnlarge called with %d arguments. 2 expected, a matrix and the "
                          "factor by which it is to be expanded.\n",
                          n);
    MatrixArgument A(L, 1);
    uint32_t f = LuaCheckSize(L, 2, "factor (a whole number, not negative) expected");
    CompactMatrixOwner R;
    if (LuaRetryAfterCollect(L, [&] { return CompactMatrixEnlarge(*A.M, f, &R.M); })) {
        R.Forget();
        return luaL_error(L, "Allocation failed in %s", "Matrix.Enlarge");
    }
    LuaPushMatrixResult(L, &R, A.IsUserdata());
    return 1;
}

int LuaMatrixAddSpin(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 1)
        return luaL_error(L, "MatrixAddSpin called with %d arguments. 1 expected, a matrix.\n", n);
    MatrixArgument A(L, 1);
    const CompactMatrixType& M = *A.M;
    CompactMatrixOwner R;
    if (M.Ni == 0 || M.Nj == 0) {
        // No blocks to take the sizes from: the empty product.
        LuaInitOwnedMatrix(L, &R, 2 * M.Ni, 2 * M.Nj, M.QComplex, "Matrix.AddSpin");
    } else {
        // Entry (i,j) becomes the 2 by 2 block with the entry on its diagonal,
        // spin running fastest.
        BlockList list;
        list.Allocate(L, static_cast<size_t>(M.Ni) * M.Nj, "Matrix.AddSpin");
        for (size_t k = 0; k < list.n; k++) {
            Complex16 z = CompactMatrixElement(M, static_cast<uint32_t>(k / M.Nj),
                                               static_cast<uint32_t>(k % M.Nj));
            if (LuaRetryAfterCollect(L, [&] { return ExpandNumberToCompactMatrix(z, 2, 2, &list.made[k]); })) {
                list.made[k] = CompactnullMatrix();
                return luaL_error(L, "Allocation failed in %s", "Matrix.AddSpin");
            }
            list.blocks[k] = &list.made[k];
        }
        FlattenOrRaise(L, list, M.Ni, M.Nj, &R, "Allocation failed in Matrix.AddSpin");
        // A complex matrix stays complex even where its entries are real.
        if (M.QComplex &&
            LuaRetryAfterCollect(L, [&] { return MakeCompactRealMatrixComplex(&R.M); }))
            return luaL_error(L, "Allocation failed in %s", "Matrix.AddSpin");
    }
    LuaPushMatrixResult(L, &R, A.IsUserdata());
    return 1;
}

int LuaMatrixFlatten(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 1)
        return luaL_error(L,
                          "MatrixFlatten called with %d arguments. 1 expected, Table of tables of "
                          "tables of tables of numbers.\n",
                          n);
    luaL_checktype(L, 1, LUA_TTABLE);
    uint32_t NBi = static_cast<uint32_t>(lua_rawlen(L, 1));
    uint32_t NBj = 0;
    if (NBi > 0) {
        lua_rawgeti(L, 1, 1);
        if (lua_istable(L, -1)) NBj = static_cast<uint32_t>(lua_rawlen(L, -1));
        lua_pop(L, 1);
    }
    BlockList list;
    list.Allocate(L, static_cast<size_t>(NBi) * NBj, "Matrix.Flatten");
    bool userdata = false;
    int entry = 0;
    for (uint32_t bi = 0; bi < NBi; bi++) {
        lua_rawgeti(L, 1, static_cast<int>(bi + 1));
        if (!lua_istable(L, -1))
            return luaL_error(L, "MatrixFlatten called with entry %d. Matrix or 0 expected.\n",
                              entry + 1);
        uint32_t len = static_cast<uint32_t>(lua_rawlen(L, -1));
        if (len != NBj) {
            printf("MatrixFlatten: block row %u has %u blocks, the first block row %u\n", bi + 1,
                   len, NBj);
            return luaL_error(L, "MatrixFlatten failed.\n");
        }
        for (uint32_t bj = 0; bj < NBj; bj++) {
            entry++;
            size_t k = static_cast<size_t>(bi) * NBj + bj;
            lua_rawgeti(L, -1, static_cast<int>(bj + 1));
            if (lua_type(L, -1) == LUA_TNUMBER) {
                if (lua_tonumber(L, -1) != 0.0)
                    return luaL_error(L, "MatrixFlatten called with entry %d. Matrix or 0 expected.\n",
                                      entry);
            } else if (lua_istable(L, -1) || QMatrixUserdata(L, -1)) {
                if (QMatrixUserdata(L, -1)) userdata = true;
                list.read[k] = luaL_checkCompactMatrix(L, -1);
                list.blocks[k] = list.read[k];
            } else {
                return luaL_error(L, "MatrixFlatten called with entry %d. Matrix or 0 expected.\n",
                                  entry);
            }
            lua_pop(L, 1);
        }
        lua_pop(L, 1);
    }
    CompactMatrixOwner R;
    if (NBi == 0 || NBj == 0) {
        LuaInitOwnedMatrix(L, &R, 0, 0, 0, "Matrix.Flatten");
    } else {
        FlattenOrRaise(L, list, NBi, NBj, &R, "MatrixFlatten failed.\n");
    }
    LuaPushMatrixResult(L, &R, userdata);
    return 1;
}
