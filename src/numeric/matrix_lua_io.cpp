// Readers and pushers of matrices, and the helpers that all matrix calls
// share: owned copies, the result form, the option "Userdata".
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/complex_lua.h"
#include "base/options.h"
#include "numeric/matrix_lua.h"
#include "numeric/matrix_lua_internal.h"

namespace {

// An element read from a table counts as real when |im| <= |re| * 2^-52.
const double kRealRelativeCut = 2.220446049250313e-16;
// luaL_checkMatrix sets parts smaller than this to exactly 0.
const double kTinyEntry = 2.2250738585072014e-306;

struct FreeDeleter {
    void operator()(void* p) const { free(p); }
};

// Reads the table at idx row by row into out->M, complex.  The first row
// sets the number of columns; a table of no rows gives a 0 by 0 matrix.
void ReadRowsComplex(lua_State* L, int idx, CompactMatrixOwner* out, const char* who) {
    idx = lua_absindex(L, idx);
    uint32_t Ni = static_cast<uint32_t>(lua_rawlen(L, idx));
    if (Ni == 0) {
        LuaInitOwnedMatrix(L, out, 0, 0, 1, who);
        return;
    }
    for (uint32_t i = 0; i < Ni; i++) {
        lua_rawgeti(L, idx, static_cast<int>(i + 1));
        unsigned int n = 0;
        std::unique_ptr<Complex16, FreeDeleter> row(luaL_checkarray_complex16(L, -1, &n));
        if (i == 0) {
            LuaInitOwnedMatrix(L, out, Ni, n, 1, who);
        } else if (n != out->M.Nj) {
            luaL_error(L,
                       "Error while reading matrix. Dimensions of rows not constant. %d at first "
                       "row %d at row %d",
                       static_cast<int>(out->M.Nj), static_cast<int>(n), static_cast<int>(i + 1));
        }
        if (n > 0)
            memcpy(CompactMatrixComplexData(out->M) + static_cast<size_t>(i) * n, row.get(),
                   sizeof(Complex16) * n);
        lua_pop(L, 1);
    }
}

bool AllImaginaryPartsNegligible(const CompactMatrixType& M) {
    size_t n = static_cast<size_t>(M.Ni) * M.Nj;
    const Complex16* d = CompactMatrixComplexData(M);
    for (size_t k = 0; k < n; k++)
        if (std::fabs(d[k].im) > std::fabs(d[k].re * kRealRelativeCut)) return false;
    return true;
}

// Builds the table form of an Ni by Nj matrix whose entry (i,j) the caller
// pushes; the outer table gets the metatable MatrixMeta.
template <class PushEntry>
void PushMatrixTable(lua_State* L, uint32_t Ni, uint32_t Nj, PushEntry pushEntry) {
    luaL_checkstack(L, 4, "LuaPushTable_CompactMatrixType");
    lua_createtable(L, static_cast<int>(Ni), 0);
    for (uint32_t i = 0; i < Ni; i++) {
        lua_createtable(L, static_cast<int>(Nj), 0);
        for (uint32_t j = 0; j < Nj; j++) {
            pushEntry(i, j);
            lua_rawseti(L, -2, static_cast<int>(j + 1));
        }
        lua_rawseti(L, -2, static_cast<int>(i + 1));
    }
    // A script may have replaced the global; only a table (or nil, which
    // clears) can be a metatable.
    lua_getglobal(L, MATRIX_META_NAME);
    if (lua_istable(L, -1) || lua_isnil(L, -1)) {
        lua_setmetatable(L, -2);
    } else {
        lua_pop(L, 1);
    }
}

}  // namespace

// ------------------------------------------------------------------ readers

CompactMatrixType* luaL_testMatrixUserdata(lua_State* L, int idx) {
    return static_cast<CompactMatrixType*>(luaL_testudata(L, idx, MATRIX_TYPE_NAME));
}

CompactMatrixType* luaL_checkCompactMatrix(lua_State* L, int idx) {
    if (CompactMatrixType* u = luaL_testMatrixUserdata(L, idx)) return u;
    if (!lua_istable(L, idx)) {
        // Raises the stock "Matrix_Type expected, got %s".
        return static_cast<CompactMatrixType*>(luaL_checkudata(L, idx, MATRIX_TYPE_NAME));
    }
    CompactMatrixOwner owner;
    ReadRowsComplex(L, idx, &owner, "luaL_checkCompactMatrix");
    if (AllImaginaryPartsNegligible(owner.M) &&
        LuaRetryAfterCollect(L, [&] { return MakeCompactComplexMatrixReal(&owner.M); })) {
        luaL_error(L, "Allocation failed in %s", "luaL_checkCompactMatrix");
    }
    CompactMatrixType* M = static_cast<CompactMatrixType*>(
        LuaMallocOrCollect(L, sizeof(CompactMatrixType), "luaL_checkCompactMatrix"));
    *M = owner.M;
    owner.Forget();
    return M;
}

void LuaFreeCheckedCompactMatrix(CompactMatrixType* M) {
    if (M == nullptr || M->QBorrowed) return;
    FreeCompactMatrix(M);
    free(M);
}

MatrixType* luaL_checkMatrix(lua_State* L, int idx) {
    luaL_checktype(L, idx, LUA_TTABLE);
    CompactMatrixOwner owner;
    ReadRowsComplex(L, idx, &owner, "luaL_checkMatrix");
    size_t n = static_cast<size_t>(owner.M.Ni) * owner.M.Nj;
    Complex16* d = CompactMatrixComplexData(owner.M);
    bool anyImaginary = false;
    for (size_t k = 0; k < n; k++) {
        if (std::fabs(d[k].re) < kTinyEntry) d[k].re = 0.0;
        if (std::fabs(d[k].im) < kTinyEntry) d[k].im = 0.0;
        if (d[k].im != 0.0) anyImaginary = true;
    }
    std::unique_ptr<MatrixType, FreeDeleter> M(
        static_cast<MatrixType*>(LuaMallocOrCollect(L, sizeof(MatrixType), "luaL_checkMatrix")));
    if (LuaRetryAfterCollect(L, [&] { return CompactMatrixCopyToMatrix(owner.M, M.get()); }))
        luaL_error(L, "Allocation failed in %s", "luaL_checkMatrix");
    if (!anyImaginary) MakeComplexMatrixReal(M.get());
    return M.release();
}

void FreeCheckedMatrix(MatrixType* M) {
    if (M == nullptr) return;
    FreeMatrix(M);
    free(M);
}

// ------------------------------------------------------------------ pushers

void LuaPushMatrixElement(lua_State* L, const CompactMatrixType& M, uint32_t i, uint32_t j) {
    if (M.QComplex) {
        LuaPushComplex16(L, CompactMatrixElement(M, i, j));
    } else {
        lua_pushnumber(L, CompactMatrixRealData(M)[static_cast<size_t>(i) * M.Nj + j]);
    }
}

void LuaPushTable_CompactMatrixType(lua_State* L, CompactMatrixType M) {
    PushMatrixTable(L, M.Ni, M.Nj, [&](uint32_t i, uint32_t j) { LuaPushMatrixElement(L, M, i, j); });
}

void LuaPushTable_MatrixType(lua_State* L, MatrixType M) {
    uint32_t Ni = M.Ni > 0 ? static_cast<uint32_t>(M.Ni) : 0;
    uint32_t Nj = M.Nj > 0 ? static_cast<uint32_t>(M.Nj) : 0;
    PushMatrixTable(L, Ni, Nj, [&](uint32_t i, uint32_t j) {
        if (M.QComplex) {
            LuaPushComplex16(L, Complex16{M.Re[i][j], M.Im[i][j]});
        } else {
            lua_pushnumber(L, M.Re[i][j]);
        }
    });
}

void LuaPushTable_IdentityMatrix(lua_State* L, int n) {
    uint32_t N = n > 0 ? static_cast<uint32_t>(n) : 0;
    PushMatrixTable(L, N, N, [&](uint32_t i, uint32_t j) { lua_pushnumber(L, i == j ? 1.0 : 0.0); });
}

void LuaPushUserdata_CompactMatrixType(lua_State* L, CompactMatrixType* M) {
    CompactMatrixType* u =
        static_cast<CompactMatrixType*>(lua_newuserdata(L, sizeof(CompactMatrixType)));
    *u = *M;
    u->QBorrowed = 1;
    luaL_setmetatable(L, MATRIX_TYPE_NAME);
    *M = CompactnullMatrix();
}

// ------------------------------------------------------------ shared helpers

void LuaInitOwnedMatrix(lua_State* L, CompactMatrixOwner* out, uint32_t Ni, uint32_t Nj,
                        int32_t QComplex, const char* who) {
    FreeCompactMatrix(&out->M);
    out->M = CompactnullMatrixMatrix(Ni, Nj);
    out->M.QComplex = QComplex;
    if (LuaRetryAfterCollect(L, [&] { return InitCompactMatrix(&out->M); })) {
        out->Forget();
        luaL_error(L, "Allocation failed in %s", who);
    }
}

void LuaCopyToOwned(lua_State* L, const CompactMatrixType& src, CompactMatrixOwner* out,
                    const char* who) {
    FreeCompactMatrix(&out->M);
    out->Forget();
    if (LuaRetryAfterCollect(L, [&] { return CompactMatrixCopy(src, &out->M); })) {
        out->Forget();
        luaL_error(L, "Allocation failed in %s", who);
    }
}

void LuaTakeArgument(lua_State* L, MatrixArgument* arg, CompactMatrixOwner* out, const char* who) {
    if (arg->IsUserdata()) {
        LuaCopyToOwned(L, *arg->M, out, who);
        return;
    }
    FreeCompactMatrix(&out->M);
    out->M = *arg->M;
    *arg->M = CompactnullMatrix();
}

void LuaPushMatrixResult(lua_State* L, CompactMatrixOwner* R, bool userdata) {
    if (userdata) {
        LuaPushUserdata_CompactMatrixType(L, &R->M);
    } else {
        LuaPushTable_CompactMatrixType(L, R->M);
    }
}

bool LuaReadUserdataOption(lua_State* L, int idx) {
    uint8_t userdata = 0;
    if (lua_isnoneornil(L, idx)) return false;
    LuaOptionsType options[] = {
        {"Userdata", "bool", &userdata},
        {nullptr, nullptr, nullptr},
    };
    LuaCheckOptions(L, idx, options);
    return userdata != 0;
}

uint32_t LuaCheckSize(lua_State* L, int idx, const char* what) {
    lua_Number x = luaL_checknumber(L, idx);
    if (!(x > -1.0 && x < 4294967296.0)) luaL_argerror(L, idx, what);
    return static_cast<uint32_t>(x);
}
