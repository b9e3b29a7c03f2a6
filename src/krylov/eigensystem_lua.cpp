#include "krylov/eigensystem_lua.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "base/options.h"
#include "base/verbosity.h"
#include "base/warning.h"
#include "krylov/blockgroundstate.h"
#include "manybody/operator_algebra.h"
#include "manybody/operator_lua.h"
#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_lua.h"

namespace {

#define WAVEFUNCTION_TYPE "Wavefunction_Type"

struct Settings {
    ConvergenceSettingsType s = InitConvergenceSettings();
    ~Settings() { FreeConvergenceSettings(&s); }
};

void ReadOptions(lua_State* L, int idx, ConvergenceSettingsType* s, uint8_t* expandBasis, unsigned int N) {
    const char* shift = nullptr;
    LuaOptionsType options[] = {
        {"DenseBorder", "uint32_t", &s->DenseBorder},
        {"NKrylovStart", "uint32_t", &s->NKrylovStart},
        {"NKrylovMax", "uint32_t", &s->NKrylovMax},
        {"NKrylovStep", "uint32_t", &s->NKrylovStep},
        {"NKrylovMin", "uint32_t", &s->NKrylovMin},
        {"NBitsKey", "uint32_t", &s->NBitsKey},
        {"epsilon", "double", &s->epsilon},
        {"zero", "double", &s->zero},
        {"restrictions", "DeterminantRestrictionType", &s->Restrictions[0]},
        {"ExpandBasis", "bool", expandBasis},
        {"ShiftScheme", "char*", &shift},
        {nullptr, nullptr, nullptr},
    };
    LuaCheckOptions(L, idx, options);
    if (shift != nullptr && strcmp(shift, "Variance") != 0)
        luaL_error(L, "Error Eigensystem: the option ShiftScheme takes only the value \"Variance\"\n");
    if (N > s->DenseBorder) s->DenseBorder = N;
}

void CheckHermitian(lua_State* L, const OperatorType& H, double zero) {
    switch (QOperatorHermitian(H, zero * 0.0001)) {
        case OperatorNotHermitian:
            luaL_error(L, "Eigensystem called with an operator that is not Hermitian\n");
            break;
        case OperatorNotFullyHermitian:
            luaL_warning(L,
                         "Eigensystem called with an operator that is not fully Hermitian\nStrongly sugested to stop "
                         "the calculation and repair this\n\n\n\nDo it\n\n\nReally Check this\n\n\nDid you?\n\n\n");
            break;
        case OperatorHermitianTestFailed:
            printf("WARNING: QOperatorHermitian failed in LuaEigensystem, this should not happen\n");
            printf("my guess is that you are out of memory and will crash soon\n");
            break;
        default:
            break;
    }
}

// The block of states, freed unless handed over.
struct Block {
    std::vector<WaveFunctionType> psi;
    bool live = false;
    bool separate = false;
    ~Block() {
        if (!live) return;
        if (separate)
            for (auto& f : psi) WaveFunctionFree(&f);
        else
            BlockWaveFunctionFree(psi.data(), (unsigned int)psi.size());
    }
};

}  // namespace

int LuaEigensystemOperator(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs < 2 || nargs > 4)
        return luaL_error(L, "Error Eigensystem called with %d arguments, 1, 2, 3 or 4 expected\n", nargs);
    OperatorType* H = luaL_checkOperator(L, 1);
    Settings settings;
    ConvergenceSettingsType& s = settings.s;
    uint8_t expandBasis = 1;
    VerbosityPrintf(0x1, "Start of LuaEigensystem\n");

    // The restrictions form: a table whose first entry is a number.
    bool restrictionsForm = false;
    if (lua_istable(L, 2)) {
        lua_rawgeti(L, 2, 1);
        restrictionsForm = lua_type(L, -1) == LUA_TNUMBER;
        lua_pop(L, 1);
    }
    if (restrictionsForm) {
        if (nargs == 2)
            return luaL_error(L, "Error Eigensystem called with 2 arguments, whereby the first is the operator and the "
                                 "second a set of restrictions\nNeed a thrid argument how many eigenstates should be "
                                 "calculated\n");
        const lua_Integer n = luaL_checkinteger(L, 3);
        if (n < 1 || n > 100000) return luaL_error(L, "Error Eigensystem: the number of states must be 1 to 100000\n");
        const unsigned int N = (unsigned int)n;
        if (nargs == 4) ReadOptions(L, 4, &s, &expandBasis, N);
        DeterminantRestrictionType start;
        InitDeterminantRestriction(&start);
        luaL_setarray_DeterminatRestrictionType(L, 2, &start);
        struct Guard {
            DeterminantRestrictionType* r;
            ~Guard() { FreeDeterminantRestriction(r); }
        } guard{&start};
        CheckHermitian(L, *H, s.zero);
        Block b;
        b.psi.resize(N);
        if (BlockGroundState(H, N, &s, start, s.Restrictions[0], b.psi.data(), s.NBitsKey) != 0)
            return luaL_error(L, "Error Eigensystem: the ground-state search failed (out of memory?)\n");
        b.live = true;
        if (WaveFunctionArraySeperateBasis(b.psi.data(), N) != 0) return luaL_error(L, "Out of memory in Eigensystem");
        b.separate = true;
        if (N == 1) {
            LuaPushWaveFunction(L, b.psi[0]);
            b.live = false;
            return 1;
        }
        lua_createtable(L, (int)N, 0);
        for (unsigned int i = 0; i < N; i++) {
            LuaPushWaveFunction(L, b.psi[i]);
            b.psi[i] = WaveFunctionType{};
            lua_rawseti(L, -2, (int)i + 1);
        }
        b.live = false;
        return 1;
    }

    // The functions form: one function or a table of them, refined in place.
    std::vector<WaveFunctionType*> records;
    if (lua_istable(L, 2)) {
        const int n = (int)lua_rawlen(L, 2);
        if (n == 0) return luaL_error(L, "Error Eigensystem called with an empty table of functions\n");
        for (int i = 1; i <= n; i++) {
            lua_rawgeti(L, 2, i);
            records.push_back((WaveFunctionType*)luaL_checkudata(L, -1, WAVEFUNCTION_TYPE));
            lua_pop(L, 1);
        }
        for (size_t i = 0; i < records.size(); i++)
            for (size_t j = i + 1; j < records.size(); j++)
                if (records[i] == records[j] || records[i]->ValueRe == records[j]->ValueRe)
                    return luaL_error(L,
                                      "Eigensystem called with a list of functions. Function with name \"%s\" is at "
                                      "position %d and %d\n",
                                      records[i]->Name, (int)i + 1, (int)j + 1);
    } else {
        records.push_back((WaveFunctionType*)luaL_checkudata(L, 2, WAVEFUNCTION_TYPE));
    }
    const unsigned int N = (unsigned int)records.size();
    if (nargs >= 3 && lua_istable(L, nargs)) ReadOptions(L, nargs, &s, &expandBasis, N);
    CheckHermitian(L, *H, s.zero);
    Block b;
    for (WaveFunctionType* r : records) {
        WaveFunctionType copy;
        if (WaveFunctionCopy(*r, &copy) != 0) {
            for (auto& f : b.psi) WaveFunctionFree(&f);
            return luaL_error(L, "Out of memory in Eigensystem");
        }
        b.psi.push_back(copy);
    }
    if (WaveFunctionArrayToSameBasis(b.psi.data(), N) != 0) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        if (WaveFunctionArrayToSameBasis(b.psi.data(), N) != 0) {
            for (auto& f : b.psi) WaveFunctionFree(&f);
            return luaL_error(L, "Out of memory in Eigensystem");
        }
    }
    b.live = true;
    DeterminantRestrictionType none;
    InitDeterminantRestriction(&none);
    const int fail = expandBasis ? BlockGroundState(H, N, &s, none, s.Restrictions[0], b.psi.data(), 0)
                                 : BlockLanczosGroundStateConserveBasis(H, b.psi.data(), N, &s);
    if (fail != 0) return luaL_error(L, "Error Eigensystem: the ground-state search failed (out of memory?)\n");
    if (WaveFunctionArraySeperateBasis(b.psi.data(), N) != 0) return luaL_error(L, "Out of memory in Eigensystem");
    b.separate = true;
    for (unsigned int i = 0; i < N; i++) {
        WaveFunctionType old = *records[i];
        char name[256];
        memcpy(name, old.Name, sizeof name);
        WaveFunctionFree(records[i]);
        *records[i] = b.psi[i];
        memcpy(records[i]->Name, name, sizeof name);
        b.psi[i] = WaveFunctionType{};
    }
    b.live = false;
    return 0;
}
