// BlockBandDiagonalize(A, start [, options]): the block tridiagonal (block
// band) form of an operator from a table of start functions, or of a square
// Hermitian matrix from a block size or a matrix of start vectors.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "base/options.h"
#include "krylov/blocklanczos_tridiagonal.h"
#include "krylov/eigensystem_lua.h"
#include "manybody/operator_lua.h"
#include "numeric/matrix_lua.h"

namespace {

struct CheckedMatrix {
    CompactMatrixType* M = nullptr;
    ~CheckedMatrix() {
        if (M != nullptr) LuaFreeCheckedCompactMatrix(M);
    }
};

struct Block {
    BlockTriDiagonalMatrixType T{};
    bool live = false;
    ~Block() {
        if (live) FreeBlockTriDiagonalMatrix(&T);
    }
};

}  // namespace

int LuaBlockBandDiagonalize(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 2 && nargs != 3)
        return luaL_error(L, "BlockBandDiagonalize called with %d arguments. Two or Three expected\n", nargs);
    double singularValue = 1e-06;
    uint32_t NTri = 200, NOrtho = 4294967295u;
    uint8_t reorthogonalize = 1, returnT = 1;
    if (nargs == 3) {
        if (!LuaTestOptionsList(L, 3))
            return luaL_error(L, "Third argument of BlockBandDiagonalize is optional but iff given should be a list of "
                                 "options.\n");
        LuaOptionsType options[] = {
            {"SingularValue", "double", &singularValue}, {"NTri", "uint32_t", &NTri},
            {"NOrtho", "uint32_t", &NOrtho},             {"ReOrthogonalize", "bool", &reorthogonalize},
            {"ReturnT", "bool", &returnT},               {nullptr, nullptr, nullptr},
        };
        LuaCheckOptions(L, 3, options);
        if (NOrtho < 2) return luaL_error(L, "Northo (%d) should be an intereger of at least 2\n", (int)NOrtho);
    }
    if (NTri == 0) NTri = 1;
    if (OperatorType* H = luaL_testOperator(L, 1)) {
        luaL_checktype(L, 2, LUA_TTABLE);
        const int n = (int)lua_rawlen(L, 2);
        std::vector<WaveFunctionType> psi;
        for (int i = 1; i <= n; i++) {
            lua_rawgeti(L, 2, i);
            psi.push_back(*(WaveFunctionType*)luaL_checkudata(L, -1, "Wavefunction_Type"));
            lua_pop(L, 1);
        }
        if (psi.empty()) return luaL_error(L, "LanczosBlockTriDiagonalize failed in BlockBandDiagonalize");
        Block b;
        b.T.N = NTri;
        b.T.M = (uint32_t)psi.size();
        if (InitBlockTriDiagonalMatrix(&b.T) != 0)
            return luaL_error(L, "malloc failed. Out of memory during initialization in BlockBandDiagonalize\n");
        b.live = true;
        if (LanczosBlockTriDiagonalize(*H, psi.data(), (unsigned int)psi.size(), 1.4901161193847657e-10, &b.T,
                                       singularValue, nullptr) != 0)
            return luaL_error(L, "LanczosBlockTriDiagonalize failed in BlockBandDiagonalize");
        LuaPushTable_BlockTriDiagonalMatrixType(L, b.T);
        return 1;
    }
    if (luaL_testudata(L, 1, "TightBinding_Type") != nullptr)
        return luaL_error(L, "Error BlockBandDiagonalize of tight-binding models is not available in this version\n");
    if (!lua_istable(L, 1) && luaL_testMatrixUserdata(L, 1) == nullptr)
        return luaL_error(L, "BlockBandDiagonalize expects as a first argument either an operator or a square hermitian "
                             "matrix");
    CheckedMatrix A;
    A.M = luaL_checkCompactMatrix(L, 1);
    if (A.M->Ni != A.M->Nj || A.M->Ni == 0 || !QCompactMatrixHermitian(*A.M, 1e-10))
        return luaL_error(L, "BlockBandDiagonalize expects as a first argument either an operator or a square hermitian "
                             "matrix");
    const uint32_t n = A.M->Ni;
    CompactMatrixType S{};
    bool ownS = false;
    CheckedMatrix given;
    if (lua_type(L, 2) == LUA_TNUMBER) {
        const lua_Integer m = lua_tointeger(L, 2);
        if (m < 1 || (uint64_t)m >= n)
            return luaL_error(L, "Block size (%d) should be smaller than dimension of matrix (%d)\n", (int)m, (int)n);
        S.Ni = n;
        S.Nj = (uint32_t)m;
        S.QComplex = 0;
        if (InitCompactMatrix(&S) != 0)
            return luaL_error(L, "malloc failed. Out of memory during initialization in BlockBandDiagonalize\n");
        ownS = true;
        for (uint32_t i = 0; i < (uint32_t)m; i++) CompactMatrixRealData(S)[(size_t)i * S.Nj + i] = 1.0;
    } else {
        given.M = luaL_checkCompactMatrix(L, 2);
        // Start vectors as the rows of the given matrix.
        if (given.M->Nj != n)
            return luaL_error(L, "Length of starting vector (%d) should be equivalent to dimension of matrix (%d).\n",
                              (int)given.M->Nj, (int)n);
        S.Ni = n;
        S.Nj = given.M->Ni;
        S.QComplex = given.M->QComplex;
        if (InitCompactMatrix(&S) != 0)
            return luaL_error(L, "malloc failed. Out of memory during initialization in BlockBandDiagonalize\n");
        ownS = true;
        for (uint32_t r = 0; r < S.Ni; r++)
            for (uint32_t c = 0; c < S.Nj; c++) {
                const Complex16 z = CompactMatrixElement(*given.M, c, r);
                if (S.QComplex)
                    CompactMatrixComplexData(S)[(size_t)r * S.Nj + c] = z;
                else
                    CompactMatrixRealData(S)[(size_t)r * S.Nj + c] = z.re;
            }
    }
    const uint32_t levels = (n + S.Nj - 1) / S.Nj < NTri ? (n + S.Nj - 1) / S.Nj : NTri;
    Block b;
    CompactMatrixType Q{};
    const int fail = CompactMatrixBlockBandDiagonalize(*A.M, S, levels, singularValue, &b.T, &Q);
    if (ownS) FreeCompactMatrix(&S);
    if (fail != 0) return luaL_error(L, "CompactMatrixBlockBandDiagonalize failed that should not happen\n");
    b.live = true;
    LuaPushTable_BlockTriDiagonalMatrixType(L, b.T);
    if (!returnT) {
        FreeCompactMatrix(&Q);
        return 1;
    }
    LuaPushTable_CompactMatrixType(L, Q);
    FreeCompactMatrix(&Q);
    return 2;
}
