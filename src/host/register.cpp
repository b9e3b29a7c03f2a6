// Registration of everything the system adds to the interpreter: each layer
// puts its own names in through its LuaRegister... function; this file only
// decides the order, in which a later name overwrites an earlier one.
#include "host/register.h"

#include "atomic/register_atomic.h"
#include "base/complex_lua.h"
#include "base/register_base.h"
#include "crystal/register_crystal.h"
#include "host/global_dispatch.h"
#include "host/luahost.h"
#include "host/mathlib_table.h"
#include "host/varstore.h"
#include "krylov/register_krylov.h"
#include "manybody/register_manybody.h"
#include "numeric/register_numeric.h"
#include "response/register_response.h"
#include "spectra/register_spectra.h"

void SkeldaRegisterHostLibraries(lua_State* L) {
    LuaRegisterMathLibrary(L);
    LuaRegisterBase(L);
    LuaRegisterVariableStore(L);
}

void SkeldaRegisterImaginaryUnit(lua_State* L) {
    LuaRegisterImaginaryUnit(L);
}

namespace {

// The calls that act on several kinds of value (see host/global_dispatch.h).
void RegisterDispatchedGlobals(lua_State* L) {
    static const luaL_Reg functions[] = {
        {"Chop", LuaChop},
        {"Clone", Luacopy},
        {"Conjugate", Luaconjugate},
        {"ConjugateTranspose", Luaconjugatetranspose},
        {"Copy", Luacopy},
        {"Eigensystem", LuaEigensystem},
        {"Inverse", LuaInverse},
        {"Rotate", Luarotate},
        {"Transpose", Luatranspose},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}

}  // namespace

// Object types, library tables and global functions of the many-body system,
// layer by layer from the bottom, then the dispatchers that span the layers,
// and last the functions of math as globals.
int luaopen_ssp(lua_State* L) {
    LuaRegisterNumeric(L);
    LuaRegisterManybody(L);
    LuaRegisterAtomic(L);
    LuaRegisterResponse(L);
    LuaRegisterKrylov(L);
    LuaRegisterSpectra(L);
    LuaRegisterCrystal(L);
    RegisterDispatchedGlobals(L);
    LuaRegisterMathGlobals(L);
    return 0;
}
