// Script face of interpolating functions.
#include "base/released.h"
#include "numeric/interpolatingfunction_lua.h"

#include <cmath>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/options.h"
#include "numeric/spline.h"

namespace {

const char* const kInterpolatingFunctionType = "InterpolatingFunction_Type";

// Builds the spline; on an allocation failure runs a full collection and
// tries once more.  Returns null when that failed too, or when the
// constructor refused the data (its message then in failure).
Interpolation::CubicSpline* NewSpline(lua_State* L, const std::vector<double>& x, const std::vector<double>& y,
                                      double yp1, double ypn, std::string* failure) {
    for (int attempt = 0; attempt < 2; attempt++) {
        try {
            return new Interpolation::CubicSpline(x, y, yp1, ypn);
        } catch (const std::bad_alloc&) {
            if (attempt == 0) lua_gc(L, LUA_GCCOLLECT, 0);
        } catch (const std::exception& e) {
            *failure = e.what();
            return nullptr;
        }
    }
    *failure = "Allocation failed in LuaSplineInterpolate";
    return nullptr;
}

InterpolatingFunction CheckInterpolatingFunction(lua_State* L, int idx) {
    InterpolatingFunction* ud = (InterpolatingFunction*)luaL_checkudata(L, idx, kInterpolatingFunctionType);
    if (*ud == nullptr) luaL_error(L, "Error: the interpolating function has been released");
    return *ud;
}

}  // namespace

int LuaSplineInterpolate(lua_State* L) {
    int nargs = lua_gettop(L);
    if (nargs < 2) luaL_error(L, "Error in SplineInterpolate expected at least two arguments, not (%d)", nargs);
    if (nargs != 2 && nargs != 4) luaL_error(L, "expected 2 or 4 arguments and not (%d)", nargs);
    std::vector<double> x = luaL_checkarray_double(L, 1);
    std::vector<double> y = luaL_checkarray_double(L, 2);
    if (x.size() != y.size()) {
        luaL_error(L,
                   "Error, the length of the first table with x values (%d) needs to be the same as the length of "
                   "the second table with y values (%d)",
                   (int)x.size(), (int)y.size());
    }
    double yp1 = std::nan("");
    double ypn = std::nan("");
    if (nargs == 4) {
        yp1 = luaL_optnumber(L, 3, yp1);
        ypn = luaL_optnumber(L, 4, ypn);
    }
    if (x.size() < 2) {
        luaL_error(L, "Error in SplineInterpolate: a spline needs at least two points, not (%d)", (int)x.size());
    }
    for (size_t i = 1; i < x.size(); i++) {
        if (!(x[i] > x[i - 1])) {
            luaL_error(L, "Error in SplineInterpolate: the x values must be strictly ascending (x[%d] = %f, x[%d] = %f)",
                       (int)i, x[i - 1], (int)i + 1, x[i]);
        }
    }
    // The userdata first, empty, so that a failure below leaks nothing.
    InterpolatingFunction* ud = (InterpolatingFunction*)lua_newuserdata(L, sizeof(InterpolatingFunction));
    *ud = nullptr;
    luaL_setmetatable(L, kInterpolatingFunctionType);
    std::string failure;
    *ud = NewSpline(L, x, y, yp1, ypn, &failure);
    if (*ud == nullptr) luaL_error(L, "%s", failure.c_str());
    return 1;
}

int LuaInterpolateCall(lua_State* L) {
    InterpolatingFunction f = CheckInterpolatingFunction(L, 1);
    lua_Integer order = luaL_optinteger(L, 3, 0);
    if (order < 0) luaL_error(L, "Error in InterpolatingFunction call: the order of a derivative can't be negative");
    int type = lua_type(L, 2);
    if (type != LUA_TNUMBER && type != LUA_TTABLE) {
        luaL_error(L, "Error in InterpolatingFunction call: expected a number or a table of numbers, not %s",
                   luaL_typename(L, 2));
    }
    std::vector<double> x;
    if (type == LUA_TNUMBER) {
        x.push_back(lua_tonumber(L, 2));
    } else {
        x = luaL_checkarray_double(L, 2);
    }
    // The classes report by exception; the message is raised as a script
    // error once the handler is left.
    std::string failure;
    try {
        for (double& t : x) t = (*f)(t, (unsigned int)order);
    } catch (const std::exception& e) {
        failure = e.what();
    }
    if (!failure.empty()) luaL_error(L, "%s", failure.c_str());
    if (type == LUA_TNUMBER) {
        lua_pushnumber(L, x[0]);
    } else {
        LuaPushArray_double(L, x.data(), (unsigned int)x.size());
    }
    return 1;
}

int LuaInterpolateToString(lua_State* L) {
    lua_pushstring(L, "Interpolating Function");
    return 1;
}

int LuaInterpolateGc(lua_State* L) {
    InterpolatingFunction* ud = (InterpolatingFunction*)luaL_checkudata(L, 1, kInterpolatingFunctionType);
    FreeInterpolatingFunction(*ud);
    *ud = nullptr;
    LuaMarkReleased(L, 1);
    return 0;
}

int LuaInterpolateUnm(lua_State*) { return 0; }
int LuaInterpolateAdd(lua_State*) { return 0; }
int LuaInterpolateSub(lua_State*) { return 0; }
int LuaInterpolateMul(lua_State*) { return 0; }
int LuaInterpolateDiv(lua_State*) { return 0; }
int LuaInterpolatePow(lua_State*) { return 0; }
int LuaInterpolateConcat(lua_State*) { return 0; }
int LuaInterpolateEq(lua_State*) { return 0; }
int LuaInterpolateLt(lua_State*) { return 0; }
int LuaInterpolateLe(lua_State*) { return 0; }
int LuaInterpolateMode(lua_State*) { return 0; }

void LuaRegisterInterpolatingFunctionType(lua_State* L) {
    static const luaL_Reg metamethods[] = {
        {"__unm", LuaInterpolateUnm},       {"__add", LuaInterpolateAdd},
        {"__sub", LuaInterpolateSub},       {"__mul", LuaInterpolateMul},
        {"__div", LuaInterpolateDiv},       {"__pow", LuaInterpolatePow},
        {"__concat", LuaInterpolateConcat}, {"__eq", LuaInterpolateEq},
        {"__lt", LuaInterpolateLt},         {"__le", LuaInterpolateLe},
        {"__mode", LuaInterpolateMode},     {"__call", LuaInterpolateCall},
        {"__tostring", LuaInterpolateToString}, {"__gc", LuaInterpolateGc},
        {nullptr, nullptr},
    };
    luaL_newmetatable(L, kInterpolatingFunctionType);
    luaL_setfuncs(L, metamethods, 0);
    lua_pop(L, 1);

    static const luaL_Reg library[] = {
        {"Spline", LuaSplineInterpolate},
        {nullptr, nullptr},
    };
    lua_createtable(L, 0, 1);
    luaL_setfuncs(L, library, 0);
    lua_setglobal(L, "InterpolatingFunction");
}
