// Shared steps of the readers of the named atomic operators: the number of
// fermions, index lists that free themselves when a script error unwinds,
// range tests, and building with one retry after a collection.
#ifndef SKELDA_ATOMIC_OPERATORS_LUA_DETAIL_H
#define SKELDA_ATOMIC_OPERATORS_LUA_DETAIL_H

#include <lua.hpp>

#include <cstdint>
#include <cstdlib>

#include "manybody/operator.h"

namespace atomiclua {

// The ladder code has 15 mode bits.
const int64_t kMaxModes = 32768;

// A malloc'ed array freed on scope exit, also when a script error unwinds.
template <class T>
struct Array {
    T* p = nullptr;
    unsigned n = 0;
    Array() = default;
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
    ~Array() { free(p); }
};

// The number of fermions at idx.  0 raises zeroMessage (unless it is null);
// a number beyond the modes an operator can hold, or below 0, raises its own
// message.
uint32_t ReadNF(lua_State* L, int idx, const char* zeroMessage);

// Reads a list of 0-based modes at idx and raises
// "<what> contains a refference outside the range [0,NF-1]" when a mode is
// out of range.
void ReadModes(lua_State* L, int idx, uint32_t NF, const char* what, Array<uint16_t>* out);
// The same test for one mode read as a number.
uint16_t ReadMode(lua_State* L, int idx, uint32_t NF, const char* what);

// Hands O over to a new Operator_Type value.
void PushAtomicOperator(lua_State* L, OperatorType* O);

// Runs build(&O) (0 on success; on failure O is left freed), after a
// failure runs a full collection and tries once more, raises
// "Allocation failed in <who>" when that fails too, and pushes the new
// operator.
template <class Build>
int BuildAndPush(lua_State* L, const char* who, Build build) {
    OperatorType O;
    if (build(&O) != 0) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        if (build(&O) != 0) return luaL_error(L, "Allocation failed in %s", who);
    }
    PushAtomicOperator(L, &O);
    return 1;
}

}  // namespace atomiclua

#endif
