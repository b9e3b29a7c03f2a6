#include "response/register_response.h"

#include "base/register_base.h"
#include "response/impurity_greensfunction.h"
#include "response/responsefunction.h"

void LuaRegisterResponse(lua_State* L) {
    LuaRegisterResponseFunctionType(L);
    static const luaL_Reg functions[] = {
        {"ChangeType", LuaChangeTypeResponseFunction},
        {"ReducePoles", LuaReducePolesResponseFunction},
        {"PlaceOnMesh", LuaPlaceOnMeshResponseFunction},
        {"ToTable", LuaResponseFunctionToTable},
        {"ToUserdata", LuaResponseFunctionToUserdata},
        {"ToTightBinding", LuaResponseFunctionToTightBinding},
        {"ImpurityGreensFunction", LuaImpurityGreensFunction},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}
