#include "numeric/register_numeric.h"

#include "numeric/interpolatingfunction_lua.h"
#include "numeric/matrix_lua.h"

void LuaRegisterNumeric(lua_State* L) {
    LuaRegisterInterpolatingFunctionType(L);
    LuaRegisterMatrixType(L);
}
