#include "response/impurity_greensfunction.h"

#include <cstdio>

#include "base/options.h"
#include "manybody/operator_lua.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction_lua.h"

int ImpurityGroundState(const OperatorType* H, ResponsefunctionType G, uint32_t n, const void* settings,
                        WaveFunctionType* psi, const char* NIO) {
    (void)H, (void)G, (void)n, (void)settings, (void)psi;
    printf("%s\n", NIO);
    fflush(stdout);
    return 1;
}

namespace {

// The settings of the call.  The solver they are meant for is not written,
// so they are read (and checked) and kept here.
struct ImpuritySettings {
    uint32_t NTri = 0;
    uint32_t NBitsKey = 0;
    double epsilon = 1.4901161193847657e-10;
    DeterminantRestrictionType restrictions;
    uint8_t Tensor = 0;
    uint32_t OrderV = 0;
    uint32_t LevelCon = 0;
    uint32_t LevelVal = 0;
    uint8_t RecalculatePsi = 1;
    uint8_t RecalculateNIO = 1;
    double MeanFieldStartingPointTemperature = 0.0;
    ImpuritySettings() { InitDeterminantRestriction(&restrictions); }
    ~ImpuritySettings() { FreeDeterminantRestriction(&restrictions); }
};

// A response function read from a table belongs to this call.
struct HeldResponse {
    ResponsefunctionType r;
    ~HeldResponse() {
        if (r.M != nullptr && r.type >= 'A' && r.type <= 'Z') FreeBlockMatrixFromLua(&r);
    }
};

// The count of a table of objects of one kind, or 1 for one object of that
// kind; a script error names the argument otherwise.  An empty table raises
// `emptyMessage`.
int CountObjects(lua_State* L, int idx, int (*kind)(lua_State*, int), const char* what, const char* emptyMessage) {
    if (kind(L, idx)) return 1;
    if (!lua_istable(L, idx))
        return luaL_error(L, "Error ImpurityGreensFunction argument %d must be %s or a table of them", idx, what);
    const size_t n = lua_rawlen(L, idx);
    if (n == 0) return luaL_error(L, "%s", emptyMessage);
    for (size_t i = 1; i <= n; i++) {
        lua_rawgeti(L, idx, (int)i);
        const int ok = kind(L, -1);
        lua_pop(L, 1);
        if (!ok)
            luaL_error(L, "Error ImpurityGreensFunction element %d of argument %d must be %s", (int)i, idx, what);
    }
    return (int)n;
}

}  // namespace

int LuaImpurityGreensFunction(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 4 && nargs != 5)
        return luaL_error(L, "Error ImpurityGreensFunction called with %d arguments, 4 or 5 expected\n", nargs);
    OperatorType* H = luaL_checkOperator(L, 1);
    HeldResponse G{luaL_checkResponsefunction(L, 2)};
    if (!QResponsefunctionLetter(G.r.type)) {
        const char letter = G.r.type;
        G.r.M = nullptr;
        return luaL_error(L, "Error in FreeBlockMatrix unrecognized type %c", letter);
    }
    // psi may be left out (nil) when the ground state is to be found here.
    const bool havePsi = !lua_isnil(L, 3);
    if (havePsi)
        CountObjects(L, 3, LuaKindWavefunction, "a Wavefunction_Type",
                     "Error ImpurityGreensFunction called with a table of wave-functions of length 0\n");
    CountObjects(L, 4, LuaKindOperator, "an Operator_Type",
                 "Error ImpurityGreensFunction called with a table of transition operators of length 0\n");

    ImpuritySettings s;
    if (nargs == 5) {
        LuaOptionsType options[] = {
            {"NTri", "uint32_t", &s.NTri},
            {"NBitsKey", "uint32_t", &s.NBitsKey},
            {"epsilon", "double", &s.epsilon},
            {"restrictions", "DeterminantRestrictionType", &s.restrictions},
            {"Tensor", "bool", &s.Tensor},
            {"OrderV", "uint32_t", &s.OrderV},
            {"LevelCon", "uint32_t", &s.LevelCon},
            {"LevelVal", "uint32_t", &s.LevelVal},
            {"RecalculatePsi", "bool", &s.RecalculatePsi},
            {"RecalculateNIO", "bool", &s.RecalculateNIO},
            {"MeanFieldStartingPointTemperature", "double", &s.MeanFieldStartingPointTemperature},
            {nullptr, nullptr, nullptr},
        };
        LuaCheckOptions(L, 5, options);
    }
    if (!s.RecalculatePsi && !havePsi)
        return luaL_error(L, "Error ImpurityGreensFunction called option RecalculatePsi = false but without a "
                             "wave-function\n");
    if (!s.RecalculateNIO && G.r.type != 'N' && G.r.type != 'n')
        return luaL_error(L, "Error ImpurityGreensFunction called option RecalculateNIO = false but without a "
                             "hybridization function in natural impurity basis format\n");
    if (s.RecalculatePsi && s.RecalculateNIO) {
        WaveFunctionType* psi = nullptr;
        if (ImpurityGroundState(H, G.r, 1, &s, psi, "Hello world") != 0)
            return luaL_error(L, "Error in ImpurityGroundState in ImpurityGreensFunction fatal sorry, should not "
                                 "happen\n");
    }
    // Nothing is computed yet: the table-form bath is released and the top
    // three values of the stack go back.
    if (G.r.M != nullptr && G.r.type >= 'A' && G.r.type <= 'Z') FreeBlockMatrixFromLua(&G.r);
    G.r.M = nullptr;
    return 3;
}
