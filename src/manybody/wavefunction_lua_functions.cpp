// Global script functions on wave functions: reading a state from a file
// (the library Ulmen), DeterminantString, Expand, ExpandToBasis, and the
// wave-function arms of the global Copy, Clone, Conjugate and Chop.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "base/options.h"
#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_expand.h"
#include "manybody/wavefunction_lua.h"
#include "manybody/wavefunction_lua_internal.h"

namespace {

// Closes a file however the call ends.
struct FileCloser {
    FILE* file;
    explicit FileCloser(FILE* f) : file(f) {}
    FileCloser(const FileCloser&) = delete;
    FileCloser& operator=(const FileCloser&) = delete;
    ~FileCloser() { fclose(file); }
};

// A new state made by make(&out) (0 on success, nothing left on failure).
template <class Make>
int PushMade(lua_State* L, Make make, const char* message) {
    WaveFunctionType* ud = wflua::PushEmpty(L);
    WaveFunctionType out;
    wflua::RetryAfterCollect(
        L, [&] { return make(&out); }, message);
    *ud = out;
    wflua::CollectStep(L);
    return 1;
}

}  // namespace

int LuaFileReadWavefunction(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 1 && nargs != 2)
        return luaL_error(L,
                          "Error in FileReadWaveFunction(arg).\n The arguments should at least contain the file name.");
    const char* name = luaL_checkstring(L, 1);
    uint32_t nbits = 16;
    uint8_t binary = 0;
    if (nargs == 2) {
        LuaOptionsType options[] = {
            {"NBitsKey", "uint32_t", &nbits},
            {"Binary", "bool", &binary},
            {nullptr, nullptr, nullptr},
        };
        LuaCheckOptions(L, 2, options);
    }
    FILE* file = fopen(name, binary ? "rb" : "r");
    if (file == nullptr) return luaL_error(L, "ERROR\nCan't open %s for reading.\n", name);
    FileCloser closer(file);
    lua_pushfstring(L, "Error in FileReadWaveFunction(arg).\n Could not read a wavefunction from %s\n", name);
    const char* message = lua_tostring(L, -1);
    return PushMade(
        L,
        [&](WaveFunctionType* psi) {
            rewind(file);
            psi->NBitsKey = nbits;
            return binary ? StreamReadWaveFunctionPlainBinary(psi, file) : StreamReadWaveFunctionPlain(psi, file);
        },
        message);
}

int LuaDeterminantString(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 2)
        return luaL_error(
            L, "DeterminantString called with %d arguments. Number of Fermions and List of Indices expected.\n", nargs);
    const int64_t NF = luaL_checkinteger64(L, 1);
    luaL_argcheck(L, NF >= 0 && NF <= 65535, 1, "the number of fermions should lie between 0 and 65535");
    const std::vector<int> modes = luaL_checkarray_int(L, 2);
    char* text = nullptr;
    wflua::RetryAfterCollect(
        L,
        [&] {
            text = DeterminantStringFromModes((unsigned int)NF, modes.data(), (unsigned int)modes.size());
            return text == nullptr ? 1 : 0;
        },
        "Error in DeterminantString, out of memory\n");
    lua_pushstring(L, text);
    free(text);
    return 1;
}

int LuaWavefunctionExpand(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 2) return luaL_error(L, "Error in Expand(psi,index) two arguments expected, recieved (%d)\n", nargs);
    WaveFunctionType* psi = wflua::Check(L, 1);
    const std::vector<int> list = luaL_checkarray_int(L, 2);
    const unsigned int n = (unsigned int)list.size();
    if (n > WaveFunctionExpandMaxModes)
        return luaL_error(L,
                          "Error in Expand(psi,index). Expanding a wavefunction in determinants yields 2^N new "
                          "functions for N=%d this would not fit in your memory\n",
                          (int)n);
    const uint32_t nmodes = psi->NFermion + psi->NBoson;
    std::vector<uint32_t> modes(n);
    for (unsigned int j = 0; j < n; j++) {
        if (list[j] < 0 || (uint32_t)list[j] >= nmodes)
            return luaL_error(L, "Error in Expand(psi,index). Index %d is not within [0,%d]\n", list[j],
                              (int)nmodes - 1);
        modes[j] = (uint32_t)list[j];
    }
    const uint64_t count = (uint64_t)1 << n;
    char message[256];
    snprintf(message, sizeof(message),
             "Error in Expand(psi,index). Out off memory when expanding a function with %d determinants for % "
             "determinants into %d seperate functions\n",
             (int)psi->N, (int)n, (int)count);
    wflua::WaveFunctionArray parts;
    wflua::RetryAfterCollect(
        L,
        [&] {
            if (!parts.Allocate(count)) return 1;
            if (WaveFunctionExpand(*psi, modes.data(), n, parts.psi) == 0) return 0;
            parts.Release();
            return 1;
        },
        message);
    wflua::PushList(L, &parts, count);
    return 1;
}

int LuaWaveFunctionToDeterminantBasis(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 1) return luaL_error(L, "Error in ExpandToBasis(psi) one argument expected, recieved (%d)\n", nargs);
    WaveFunctionType* psi = wflua::Check(L, 1);
    char message[160];
    snprintf(message, sizeof(message),
             "Error in ExpandToBasis(psi). Out off memory when expanding a function with %d determinants into "
             "seperate functions\n",
             (int)psi->N);
    wflua::WaveFunctionArray parts;
    wflua::RetryAfterCollect(
        L,
        [&] {
            if (!parts.Allocate(psi->N)) return 1;
            if (WaveFunctionExpandToDeterminantBasis(*psi, parts.psi) == 0) return 0;
            parts.Release();
            return 1;
        },
        message);
    wflua::PushList(L, &parts, psi->N);
    return 1;
}

void LuaRegisterWavefunctionFileLibrary(lua_State* L) {
    static const luaL_Reg functions[] = {
        {"ReadWavefunction", LuaFileReadWavefunction},
        {"readwavefunction", LuaFileReadWavefunction},
        {nullptr, nullptr},
    };
    luaL_newmetatable(L, "Ulmen_Type");
    lua_pop(L, 1);
    lua_createtable(L, 0, 2);
    luaL_setfuncs(L, functions, 0);
    lua_setglobal(L, "Ulmen");
}

// ----------------------------------------------------- global call arms

int LuaKindWavefunction(lua_State* L, int idx) { return wflua::Test(L, idx) != nullptr; }

int LuaWavefunctionCopyArm(lua_State* L) {
    const WaveFunctionType& psi = *wflua::Check(L, 1);
    return PushMade(
        L, [&](WaveFunctionType* out) { return WaveFunctionCopy(psi, out); },
        "Error: out of memory when copying a wavefunction\n");
}

int LuaWavefunctionConjugateArm(lua_State* L) {
    const WaveFunctionType& psi = *wflua::Check(L, 1);
    return PushMade(
        L,
        [&](WaveFunctionType* out) {
            if (WaveFunctionCopy(psi, out)) return 1;
            WaveFunctionConjugate(*out);
            return 0;
        },
        "Error: out of memory when conjugating a wavefunction\n");
}

// Chop(psi, eps): a copy without the elements of magnitude up to eps; a
// complex state whose imaginary parts all go becomes real.
int LuaWavefunctionChopArm(lua_State* L) {
    const WaveFunctionType& psi = *wflua::Check(L, 1);
    const double eps = luaL_checknumber(L, 2);
    return PushMade(
        L,
        [&](WaveFunctionType* out) {
            if (WaveFunctionCopy(psi, out)) return 1;
            const int failed = out->QComplex ? ComplexWaveFunctionTruncateBasisAllowReal(out, eps)
                                             : RealWaveFunctionTruncateBasis(out, eps);
            if (failed) WaveFunctionFree(out);
            return failed;
        },
        "Error: out of memory when chopping a wavefunction\n");
}
