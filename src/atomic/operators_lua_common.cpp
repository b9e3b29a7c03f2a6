// Shared steps of the readers of the named atomic operators.
#include "atomic/operators_lua_detail.h"
#include "base/options.h"
#include "manybody/operator_lua.h"

namespace atomiclua {

uint32_t ReadNF(lua_State* L, int idx, const char* zeroMessage) {
    int64_t nf = luaL_checkinteger64(L, idx);
    if (nf == 0 && zeroMessage != nullptr) luaL_error(L, "%s", zeroMessage);
    if (nf < 0 || nf > kMaxModes)
        luaL_error(L, "Number of fermions (%f) must lie between 0 and %d, the modes an operator can hold\n",
                   (lua_Number)nf, (int)kMaxModes);
    return (uint32_t)nf;
}

void ReadModes(lua_State* L, int idx, uint32_t NF, const char* what, Array<uint16_t>* out) {
    out->p = luaL_checkarray_unit16_t(L, idx, &out->n);
    if (out->n > 0 && (NF == 0 || !Test_uint16_t_array_in_range(0, (uint16_t)(NF - 1), out->p, out->n)))
        luaL_error(L, "%s contains a refference outside the range [0,%d]", what, (int)NF - 1);
}

uint16_t ReadMode(lua_State* L, int idx, uint32_t NF, const char* what) {
    int64_t mode = luaL_checkinteger64(L, idx);
    if (mode < 0 || mode > (int64_t)NF - 1)
        luaL_error(L, "%s contains a refference outside the range [0,%d]", what, (int)NF - 1);
    return (uint16_t)mode;
}

void PushAtomicOperator(lua_State* L, OperatorType* O) {
    LuaPushOperator(L, O);
}

}  // namespace atomiclua
