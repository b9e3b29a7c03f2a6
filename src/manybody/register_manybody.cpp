#include "manybody/register_manybody.h"

#include "base/options.h"
#include "base/register_base.h"
#include "manybody/expectation_lua.h"
#include "manybody/operator_lua.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction_lua.h"

namespace {

void ReadRestrictionOption(lua_State* L, int idx, void* dst) {
    luaL_setarray_DeterminatRestrictionType(L, idx, (DeterminantRestrictionType*)dst);
}

void ReleaseRestrictionOption(void* value) { FreeDeterminantRestriction((DeterminantRestrictionType*)value); }

}  // namespace

void LuaRegisterRestrictionOptionType() {
    static const LuaOptionTypeExtension restriction = {"DeterminantRestrictionType",
                                                       sizeof(DeterminantRestrictionType),
                                                       ReadRestrictionOption, ReleaseRestrictionOption};
    LuaAddOptionType(restriction);
}

void LuaRegisterManybody(lua_State* L) {
    LuaRegisterRestrictionOptionType();
    LuaRegisterOperatorType(L);
    LuaRegisterWavefunctionType(L);
    LuaRegisterWavefunctionFileLibrary(L);
    static const luaL_Reg functions[] = {
        {"Braket", LuaBraKet},
        {"BraketDiagonal", LuaBraKetDiagonal},
        {"DensityMatrix", LuaDensityMatrix},
        {"DeterminantString", LuaDeterminantString},
        {"Expand", LuaWavefunctionExpand},
        {"ExpandToBasis", LuaWaveFunctionToDeterminantBasis},
        {"NewOperator", LuaNewOperator},
        {"NewWavefunction", LuaNewWaveFunction},
        {"OperatorSetTrace", LuaOperatorSetTrace},
        {"OperatorToMatrix", LuaOperatorToMatrix},
        {"Orthonormalize", LuaOrthonormalize},
        {"PrintExpectationValues", LuaPrintExpectationValues},
        {"Statistics", LuaStatistics},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}
