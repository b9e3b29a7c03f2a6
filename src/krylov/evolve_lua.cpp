#include <cstdio>
#include <cstring>
#include <vector>

#include "base/options.h"
#include "base/verbosity.h"
#include "krylov/blockgroundstate.h"
#include "krylov/lanczos_groundstate.h"
#include "krylov/eigensystem_lua.h"
#include "manybody/operator_lua.h"
#include "manybody/wavefunction_algebra.h"

// EvolveToGroundstate(H, psi [, options]) and EvolveToGroundstate(H, {psi1,
// ...} [, options]): the given functions become the lowest states of H, in
// the order of the table, each orthogonal to those before it: one Lanczos
// ground-state search per state, which grows its basis from the given
// function, with the tighter defaults of this call (epsilon
// 2.220446049250313e-12, zero 2.220446049250313e-14).
int LuaEvolveToGroundstate(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 2 && nargs != 3)
        return luaL_error(L, "Error EvolveToGroundstate called with %d arguments, 2 or 3 expected\n", nargs);
    OperatorType* H = luaL_checkOperator(L, 1);
    std::vector<WaveFunctionType*> records;
    if (lua_istable(L, 2)) {
        const int n = (int)lua_rawlen(L, 2);
        if (n == 0) return luaL_error(L, "Error EvolveToGroundstate called with an empty table of functions\n");
        for (int i = 1; i <= n; i++) {
            lua_rawgeti(L, 2, i);
            records.push_back((WaveFunctionType*)luaL_checkudata(L, -1, "Wavefunction_Type"));
            lua_pop(L, 1);
        }
    } else {
        records.push_back((WaveFunctionType*)luaL_checkudata(L, 2, "Wavefunction_Type"));
    }
    for (size_t i = 0; i < records.size(); i++)
        for (size_t j = i + 1; j < records.size(); j++)
            if (records[i] == records[j])
                return luaL_error(L, "Error EvolveToGroundstate: the function at position %d is also at position %d\n",
                                  (int)i + 1, (int)j + 1);
    ConvergenceSettingsType s = InitConvergenceSettings();
    s.epsilon = 2.220446049250313e-12;
    s.zero = 2.220446049250313e-14;
    struct Guard {
        ConvergenceSettingsType* s;
        ~Guard() { FreeConvergenceSettings(s); }
    } guard{&s};
    if (nargs == 3) {
        LuaOptionsType options[] = {
            {"epsilon", "double", &s.epsilon},
            {"zero", "double", &s.zero},
            {"restrictions", "DeterminantRestrictionType", &s.Restrictions[0]},
            {nullptr, nullptr, nullptr},
        };
        LuaCheckOptions(L, 3, options);
    }
    const unsigned int N = (unsigned int)records.size();
    std::vector<WaveFunctionType> states;
    for (WaveFunctionType* r : records) {
        WaveFunctionType copy;
        if (WaveFunctionCopy(*r, &copy) != 0) {
            for (auto& f : states) WaveFunctionFree(&f);
            return luaL_error(L, "Out of memory in EvolveToGroundstate");
        }
        states.push_back(copy);
    }
    // State i is searched orthogonal to the states before it, with the
    // epsilon that the earlier searches may have raised.
    double epsilon = s.epsilon;
    for (unsigned int i = 0; i < N; i++) {
        VerbosityPrintf(0x1, "\nstart of state #%d/%d", (int)i + 1, (int)N);
        if (s.Restrictions[0].NRestriction != 0)
            LanczosGroundStateRestricted(*H, &states[i], s.Restrictions[0], &epsilon, s.zero, 0.0, states.data(), i);
        else
            LanczosGroundState(*H, &states[i], &epsilon, s.zero, 0.0, states.data(), i);
    }
    VerbosityPrintf(0x1, "\n");
    for (unsigned int i = 0; i < N; i++) {
        char name[256];
        memcpy(name, records[i]->Name, sizeof name);
        WaveFunctionFree(records[i]);
        *records[i] = states[i];
        memcpy(records[i]->Name, name, sizeof name);
    }
    return 0;
}
