// Helpers shared by the sources of the operator script face; not part of its
// interface.
#ifndef SKELDA_MANYBODY_OPERATOR_LUA_INTERNAL_H
#define SKELDA_MANYBODY_OPERATOR_LUA_INTERNAL_H

#include <lua.hpp>

#include "base/complex16.h"
#include "manybody/operator.h"
#include "manybody/operator_algebra.h"

namespace oplua {

// The normal order of every operator a script holds.
inline int NormalOrder(uint16_t a, uint16_t b, uint32_t NF) { return QDetNotOrderedFcFaBcBa(a, b, NF); }

// Largest number of modes (fermions plus bosons) of an operator: the 15 mode
// bits of a ladder code.
const uint32_t MaxOperatorModes = 32768;

// Runs attempt() (0 on success, 1 on failure; a failed attempt leaves nothing
// to free), and after a failure runs a full collection and tries once more;
// raises message when that fails too.
template <class Attempt>
void RetryAfterCollect(lua_State* L, Attempt attempt, const char* message) {
    if (attempt() == 0) return;
    lua_gc(L, LUA_GCCOLLECT, 0);
    if (attempt() == 0) return;
    luaL_error(L, "%s", message);
}

// Owns an operator while script errors may still happen; Release hands it on.
struct OperatorHolder {
    OperatorType O;
    bool owned = false;
    OperatorHolder() = default;
    OperatorHolder(const OperatorHolder&) = delete;
    OperatorHolder& operator=(const OperatorHolder&) = delete;
    ~OperatorHolder() {
        if (owned) FreeOperator(&O);
    }
};

// A number (a real number, not a numeric string) or a Complex at idx:
// returns 1 and fills *z and *isComplex, else 0.
int ReadScalar(lua_State* L, int idx, Complex16* z, bool* isComplex);

// Pushes a new operator: a copy of A, scaled by s and, unless c is null,
// with *c added to its constant term (a complex constant when cComplex:
// length 0 then becomes complex).  message is raised when memory can't be
// had even after a collection.
void PushCopyScaledShifted(lua_State* L, const OperatorType& A, Complex16 s, const Complex16* c, bool cComplex,
                           const char* message);

}  // namespace oplua

#endif
