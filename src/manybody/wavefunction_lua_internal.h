// Helpers shared by the sources of the wave-function script face; not part
// of its interface.
#ifndef SKELDA_MANYBODY_WAVEFUNCTION_LUA_INTERNAL_H
#define SKELDA_MANYBODY_WAVEFUNCTION_LUA_INTERNAL_H

#include <lua.hpp>

#include <cstdint>
#include <cstdlib>

#include "manybody/wavefunction.h"

#define WAVEFUNCTION_TYPE_NAME "Wavefunction_Type"

namespace wflua {

// The record of a Wavefunction_Type userdata at idx, or null.
inline WaveFunctionType* Test(lua_State* L, int idx) {
    return static_cast<WaveFunctionType*>(luaL_testudata(L, idx, WAVEFUNCTION_TYPE_NAME));
}

// The record at idx; anything else raises "Wavefunction_Type expected, got %s".
inline WaveFunctionType* Check(lua_State* L, int idx) {
    return static_cast<WaveFunctionType*>(luaL_checkudata(L, idx, WAVEFUNCTION_TYPE_NAME));
}

// Pushes a new Wavefunction_Type userdata holding an empty record, which its
// finaliser frees as nothing.  Results are made first in a local record and
// copied in once complete, so that an interpreter error (which may happen
// while the userdata is made) never strands a store.
WaveFunctionType* PushEmpty(lua_State* L);

// Runs attempt() (0 on success; a failed attempt leaves nothing to free); after
// a failure runs a full collection of the interpreter and tries once more, and
// raises message when that fails too.
template <class Attempt>
void RetryAfterCollect(lua_State* L, Attempt attempt, const char* message) {
    if (attempt() == 0) return;
    lua_gc(L, LUA_GCCOLLECT, 0);
    if (attempt() == 0) return;
    luaL_error(L, "%s", message);
}

// The store of a new state lives outside the interpreter's accounting: after
// making one, a collection step keeps dead states from piling up.
inline void CollectStep(lua_State* L) {
    if (lua_gc(L, LUA_GCISRUNNING, 0)) lua_gc(L, LUA_GCSTEP, 0);
}

// Pushes a new state that takes over psi.
inline void PushTakeOver(lua_State* L, const WaveFunctionType& psi) {
    WaveFunctionType* ud = PushEmpty(L);
    *ud = psi;
    CollectStep(L);
}

// An array of records owned while script errors may still happen: the
// destructor frees every record left in it.  Zeroed records free as nothing.
struct WaveFunctionArray {
    WaveFunctionType* psi = nullptr;
    uint64_t n = 0;
    WaveFunctionArray() = default;
    WaveFunctionArray(const WaveFunctionArray&) = delete;
    WaveFunctionArray& operator=(const WaveFunctionArray&) = delete;
    ~WaveFunctionArray() { Release(); }
    // Zeroed room for n records; false when memory runs out.
    bool Allocate(uint64_t count) {
        Release();
        psi = static_cast<WaveFunctionType*>(calloc(count > 0 ? count : 1, sizeof(WaveFunctionType)));
        n = psi != nullptr ? count : 0;
        return psi != nullptr;
    }
    void Release() {
        for (uint64_t k = 0; k < n; k++) WaveFunctionFree(&psi[k]);
        free(psi);
        psi = nullptr;
        n = 0;
    }
};

// Pushes a list of new states taking over the first count records of the
// array, which are left empty one by one.
void PushList(lua_State* L, WaveFunctionArray* list, uint64_t count);

}  // namespace wflua

#endif
