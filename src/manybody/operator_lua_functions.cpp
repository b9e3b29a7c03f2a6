// The globals OperatorSetTrace and OperatorToMatrix.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "base/complex_lua.h"
#include "base/options.h"
#include "manybody/expectation.h"
#include "manybody/operator_algebra.h"
#include "manybody/operator_lua.h"
#include "manybody/operator_lua_internal.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction.h"
#include "manybody/wavefunction_algebra.h"
#include "numeric/compactmatrix.h"
#include "numeric/matrix.h"
#include "numeric/matrix_lua.h"

namespace {

const char* const WavefunctionTypeName = "Wavefunction_Type";

// Owns a matrix while script errors may still happen.
struct CompactMatrixHolder {
    CompactMatrixType M;
    bool owned = false;
    CompactMatrixHolder() = default;
    CompactMatrixHolder(const CompactMatrixHolder&) = delete;
    CompactMatrixHolder& operator=(const CompactMatrixHolder&) = delete;
    ~CompactMatrixHolder() {
        if (owned) FreeCompactMatrix(&M);
    }
};

// Rows and columns of a one-particle density matrix at idx (a table of row
// tables or a Matrix_Type userdata); false for anything else.
bool DensityMatrixShape(lua_State* L, int idx, uint32_t* Ni, uint32_t* Nj) {
    if (const CompactMatrixType* M = luaL_testMatrixUserdata(L, idx)) {
        *Ni = M->Ni;
        *Nj = M->Nj;
        return true;
    }
    if (!lua_istable(L, idx)) return false;
    lua_rawgeti(L, idx, 1);
    const bool rows = lua_istable(L, -1);
    *Ni = (uint32_t)lua_rawlen(L, idx);
    *Nj = rows ? (uint32_t)lua_rawlen(L, -1) : 0;
    lua_pop(L, 1);
    return rows;
}

int ToMatrixOverBasis(lua_State* L, const OperatorType& O, const WaveFunctionType& psi) {
    if (psi.NFermion != O.NF || psi.NBoson != O.NB)
        return luaL_error(L, "Error in OperatorToMatrix, the operator has %d fermions and %d bosons but the "
                             "wavefunction %d and %d\n",
                          (int)O.NF, (int)O.NB, (int)psi.NFermion, (int)psi.NBoson);
    CompactMatrixHolder h;
    oplua::RetryAfterCollect(L, [&]() { return OperatorToDeterminantMatrix(O, psi, &h.M); },
                             "Error in OperatorToMatrix, out of memory\n");
    h.owned = true;
    LuaPushTable_CompactMatrixType(L, h.M);
    return 1;
}

// The density matrix at index 2 is a table or a userdata; the result takes
// the same form.
int ToOneParticleMatrix(lua_State* L, const OperatorType& O, uint32_t Ni, uint32_t Nj) {
    if (Ni != O.NF || Nj != O.NF)
        return luaL_error(L, "Error in OperatorToMatrix, the density matrix is %d x %d but the operator has %d "
                             "fermions\n",
                          (int)Ni, (int)Nj, (int)O.NF);
    CompactMatrixHolder h;
    oplua::RetryAfterCollect(L, [&]() { return OperatorCrAnLength2ToOneElectronCompactMatrix(O, &h.M); },
                             "Error in OperatorToMatrix, out of memory\n");
    h.owned = true;
    if (luaL_testMatrixUserdata(L, 2) != nullptr) {
        LuaPushUserdata_CompactMatrixType(L, &h.M);
    } else {
        LuaPushTable_CompactMatrixType(L, h.M);
    }
    return 1;
}

// The matrix of elements <psi_i| O |psi_j> of the functions in a list: O
// applied to each function in turn, then its inner products with all of
// them.  Returns 0, or 1 after printing what failed (M is then freed).
// The matrix <psi_i| O |psi_j> over the states of a list, by the
// expectation-value kernel.
int ListMatrix(const OperatorType& O, const std::vector<const WaveFunctionType*>& psi, CompactMatrixType* M) {
    std::vector<WaveFunctionType> states;
    states.reserve(psi.size());
    for (const WaveFunctionType* p : psi) states.push_back(*p);
    MatrixType dense;
    if (PsiOperatorPsiMatrix(O, states.data(), (unsigned int)states.size(), &dense) != 0) return 1;
    int status = MatrixCopyToCompact(dense, M);
    FreeMatrix(&dense);
    return status;
}

int ToMatrixOverList(lua_State* L, const OperatorType& O) {
    const int n = (int)lua_rawlen(L, 2);
    std::vector<const WaveFunctionType*> psi((size_t)n);
    for (int k = 1; k <= n; k++) {
        lua_rawgeti(L, 2, k);
        psi[(size_t)k - 1] = static_cast<const WaveFunctionType*>(luaL_testudata(L, -1, WavefunctionTypeName));
        lua_pop(L, 1);
        if (psi[(size_t)k - 1] == nullptr)
            return luaL_error(L, "Error in OperatorToMatrix, expected an Wavefunction, List of functions, or "
                                 "DensityMatrix on position two\n");
        if (O.NF > psi[(size_t)k - 1]->NFermion || O.NB != psi[(size_t)k - 1]->NBoson)
            return luaL_error(L, "Error in OperatorToMatrix, the operator has %d fermions and %d bosons but "
                                 "wavefunction %d of the list %d and %d\n",
                              (int)O.NF, (int)O.NB, k, (int)psi[(size_t)k - 1]->NFermion,
                              (int)psi[(size_t)k - 1]->NBoson);
    }
    CompactMatrixHolder h;
    oplua::RetryAfterCollect(L, [&]() { return ListMatrix(O, psi, &h.M); },
                             "Error in OperatorToMatrix, out of memory\n");
    h.owned = true;
    LuaPushTable_CompactMatrixType(L, h.M);
    return 1;
}

}  // namespace

int LuaOperatorSetTrace(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 3)
        return luaL_error(L, "OperatorSetTrace called with %d arguments, 3 expected: an operator, a list of modes "
                             "and the value of the trace\n",
                          nargs);
    OperatorType* O = luaL_checkOperator(L, 1);
    luaL_checktype(L, 2, LUA_TTABLE);
    Complex16 value{0.0, 0.0};
    if (!LuaToComplex16(L, 3, &value)) {
        const char* message = lua_pushfstring(L, "%s expected, got %s", COMPLEX_TYPE_NAME, luaL_typename(L, 3));
        return luaL_argerror(L, 3, message);
    }
    unsigned int n = 0;
    uint16_t* modes = luaL_checkarray_unit16_t(L, 2, &n);
    for (unsigned int i = 0; i < n; i++) {
        if (modes[i] >= O->NF + O->NB) {
            const int mode = modes[i];
            free(modes);
            return luaL_error(L, "Error in OperatorSetTrace, mode %d is not one of the %d modes of the operator\n",
                              mode, (int)(O->NF + O->NB));
        }
    }
    const int status = ComplexOperatorAddTrace(O, modes, n, value.re, value.im);
    free(modes);
    if (status != 0) return luaL_error(L, "Error in OperatorSetTrace, out of memory\n");
    lua_settop(L, 1);
    return 1;
}

int LuaOperatorToMatrix(lua_State* L) {
    const int nargs = lua_gettop(L);
    OperatorType* O = luaL_checkOperator(L, 1);
    if (nargs != 2)
        return luaL_error(L, "OperatorToMatrix called with %d arguments, 2 expected: an operator and a "
                             "wavefunction, a list of wavefunctions or a density matrix\n",
                          nargs);
    if (void* psi = luaL_testudata(L, 2, WavefunctionTypeName))
        return ToMatrixOverBasis(L, *O, *static_cast<WaveFunctionType*>(psi));
    uint32_t Ni = 0, Nj = 0;
    if (DensityMatrixShape(L, 2, &Ni, &Nj)) return ToOneParticleMatrix(L, *O, Ni, Nj);
    if (lua_istable(L, 2)) {
        if (lua_rawlen(L, 2) == 0) return luaL_error(L, "Table of length 0 found at position 2 in OperatorToMatrix\n");
        lua_rawgeti(L, 2, 1);
        const bool list = luaL_testudata(L, -1, WavefunctionTypeName) != nullptr;
        lua_pop(L, 1);
        if (list) return ToMatrixOverList(L, *O);
    }
    return luaL_error(L, "Error in OperatorToMatrix, expected an Wavefunction, List of functions, or DensityMatrix "
                         "on position two\n");
}
