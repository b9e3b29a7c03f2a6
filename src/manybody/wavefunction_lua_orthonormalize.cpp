// Orthonormalize(list [, options]): orthonormal states from a list of wave
// functions, or orthonormal rows or columns of a matrix.
//
// Options: "Method" ("Lowdin", the default, or "GramSchmidt"), "Order" (for
// matrices, "Row", the default, or "Column"), "SingularValue" (the cut-off
// below which a direction counts as dependent: the singular value for the
// Lowdin form and for matrices, the part of a state's norm left after the
// projection for Gram-Schmidt; 1e-12 when not given) and "ReduceDimension"
// (false by default: dependent directions come back as zero states or zero
// rows at the end; true: they are left out).
//
// The given states and matrix are left as they are: the result is new, a
// table of states, or a matrix in the form of the argument.
#include <cstring>
#include <vector>

#include "base/options.h"
#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_lua.h"
#include "manybody/wavefunction_lua_internal.h"
#include "numeric/compactmatrix.h"
#include "numeric/matrix_lua.h"

namespace {

struct OrthonormalizeSettings {
    bool gramSchmidt = false;
    bool columns = false;
    double singularValue = WaveFunctionListSVDDefaultSingularValue;
    bool reduce = false;
};

void ReadSettings(lua_State* L, int idx, OrthonormalizeSettings* s) {
    const char* method = nullptr;
    const char* order = nullptr;
    double singularValue = s->singularValue;
    uint8_t reduce = 0;
    LuaOptionsType options[] = {
        {"Method", "char*", &method},         {"Order", "char*", &order},  {"SingularValue", "double", &singularValue},
        {"ReduceDimension", "bool", &reduce}, {nullptr, nullptr, nullptr},
    };
    LuaCheckOptions(L, idx, options);
    if (method != nullptr) {
        if (strcmp(method, "GramSchmidt") == 0) {
            s->gramSchmidt = true;
        } else if (strcmp(method, "Lowdin") != 0) {
            luaL_error(L, "Error in Orthonormalize, Method should be \"Lowdin\" or \"GramSchmidt\", got \"%s\"\n",
                       method);
        }
    }
    if (order != nullptr) {
        if (strcmp(order, "Column") == 0) {
            s->columns = true;
        } else if (strcmp(order, "Row") != 0) {
            luaL_error(L, "Error in Orthonormalize, Order should be \"Row\" or \"Column\", got \"%s\"\n", order);
        }
    }
    s->singularValue = singularValue;
    s->reduce = reduce != 0;
}

// A list of states: a table whose first entry is a state, or an empty table.
bool IsListOfStates(lua_State* L, int idx) {
    if (!lua_istable(L, idx)) return false;
    if (lua_rawlen(L, idx) == 0) return true;
    lua_rawgeti(L, idx, 1);
    const bool state = wflua::Test(L, -1) != nullptr;
    lua_pop(L, 1);
    return state;
}

int OrthonormalizeStates(lua_State* L, const OrthonormalizeSettings& s) {
    const unsigned int n = (unsigned int)lua_rawlen(L, 1);
    // The table at 1 keeps the states alive while their records are read.
    std::vector<const WaveFunctionType*> given(n);
    for (unsigned int k = 0; k < n; k++) {
        lua_rawgeti(L, 1, (int)k + 1);
        given[k] = wflua::Test(L, -1);
        lua_pop(L, 1);
        if (given[k] == nullptr)
            return luaL_error(L, "Error in Orthonormalize, element %d of the list is not a wavefunction\n", (int)k + 1);
        if (given[k]->NFermion != given[0]->NFermion || given[k]->NBoson != given[0]->NBoson)
            return luaL_error(
                L, "Error in Orthonormalize, the wavefunctions 1 and %d have different numbers of modes\n", (int)k + 1);
    }
    wflua::WaveFunctionArray list;
    unsigned int kept = n;
    wflua::RetryAfterCollect(
        L,
        [&] {
            if (!list.Allocate(n)) return 1;
            for (unsigned int k = 0; k < n; k++)
                if (WaveFunctionCopy(*given[k], &list.psi[k])) {
                    list.Release();
                    return 1;
                }
            const int failed = s.gramSchmidt ? WaveFunctionListOrthogonalize(list.psi, n, s.singularValue, &kept)
                                             : WaveFunctionListSVDOrthogonalize(list.psi, n, s.singularValue, &kept);
            if (failed) list.Release();
            return failed;
        },
        "Error in Orthonormalize, the orthonormalization of the list of wavefunctions failed\n");
    wflua::PushList(L, &list, s.reduce ? kept : n);
    return 1;
}

// Owns the working copy of a matrix while script errors may happen.
struct MatrixHolder {
    CompactMatrixType M;
    bool owned = false;
    MatrixHolder() = default;
    MatrixHolder(const MatrixHolder&) = delete;
    MatrixHolder& operator=(const MatrixHolder&) = delete;
    ~MatrixHolder() {
        if (owned) FreeCompactMatrix(&M);
    }
};

int OrthonormalizeMatrix(lua_State* L, const OrthonormalizeSettings& s) {
    const bool userdata = luaL_testMatrixUserdata(L, 1) != nullptr;
    CompactMatrixType* given = luaL_checkCompactMatrix(L, 1);
    MatrixHolder work;
    if (userdata) {
        wflua::RetryAfterCollect(
            L, [&] { return CompactMatrixCopy(*given, &work.M); },
            "Error in Orthonormalize, out of memory when copying the matrix\n");
    } else {
        // The record read from a table is ours: its buffers become the work.
        work.M = *given;
        free(given);
    }
    work.owned = true;
    wflua::RetryAfterCollect(
        L,
        [&] {
            return s.columns ? CompactMatrixSVDOrthogonalizeCol(&work.M, s.singularValue, s.reduce)
                             : CompactMatrixSVDOrthogonalizeRow(&work.M, s.singularValue, s.reduce);
        },
        "Error in Orthonormalize, the orthonormalization of the matrix failed\n");
    if (userdata) {
        LuaPushUserdata_CompactMatrixType(L, &work.M);  // takes over the buffers
    } else {
        LuaPushTable_CompactMatrixType(L, work.M);
    }
    return 1;
}

}  // namespace

int LuaOrthonormalize(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs < 1 || nargs > 2)
        return luaL_error(L,
                          "Orthonormalize called with %d arguments, expected a list of wavefunctions or a matrix "
                          "and optionally a list of options\n",
                          nargs);
    OrthonormalizeSettings settings;
    if (nargs == 2) {
        if (!LuaTestOptionsList(L, 2))
            return luaL_error(
                L, "Second argument of Orthogonalize is optional but iff given should be a list of options.\n");
        ReadSettings(L, 2, &settings);
    }
    if (IsListOfStates(L, 1)) return OrthonormalizeStates(L, settings);
    return OrthonormalizeMatrix(L, settings);
}
