#include "atomic/register_atomic.h"

#include "atomic/basis_lua.h"
#include "atomic/coulomb_lua.h"
#include "atomic/oneparticle_lua.h"
#include "atomic/orbitals_lua.h"
#include "base/register_base.h"

void LuaRegisterAtomic(lua_State* L) {
    static const luaL_Reg functions[] = {
        {"CreateAtomicIndicesDict", LuaCreateAtomicIndicesDict},
        {"CreateAtomicIndicesList", LuaCreateAtomicIndicesList},
        {"NonRelToRelOrbitals", LuaNonRelToRelOrbitals},
        {"OrbToMultiplicity", LuaOrbToMultiplicity},
        {"OrbitalRotationMatrix", LuaOrbitalRotationMatrix},
        {"RelToNonRelOrbitals", LuaRelToNonRelOrbitals},
        {"YtoKMatrix", LuaYtoKMatrix},
        {"YtoZMatrix", LuaYtoZMatrix},
        {"YtojjzMatrix", LuaYtojjzMatrix},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
    // The named atomic operators of NewOperator.
    LuaRegisterOneParticleOperators();
    LuaRegisterCoulombOperators();
}
