// Script faces of the basis-change matrices: argument reading and the push
// of the kernel's result.
#include "atomic/basis_lua.h"

#include "atomic/basis.h"
#include "base/options.h"
#include "numeric/matrix_lua.h"

namespace {

// Frees the compact copy on every way out, script errors included.
struct CompactCopy {
    CompactMatrixType M = CompactnullMatrix();
    CompactCopy() = default;
    CompactCopy(const CompactCopy&) = delete;
    CompactCopy& operator=(const CompactCopy&) = delete;
    ~CompactCopy() { FreeCompactMatrix(&M); }
};

// Pushes B as a matrix in the table form.  A failed allocation is tried
// once more after a full collection, then raises "Allocation failed in who".
void PushBasisMatrix(lua_State* L, const BasisMatrixType& B, const char* who) {
    CompactCopy copy;
    if (BasisMatrixToCompactMatrix(B, &copy.M) != 0) {
        copy.M = CompactnullMatrix();
        lua_gc(L, LUA_GCCOLLECT, 0);
        if (BasisMatrixToCompactMatrix(B, &copy.M) != 0) {
            copy.M = CompactnullMatrix();
            luaL_error(L, "Allocation failed in %s", who);
        }
    }
    LuaPushTable_CompactMatrixType(L, copy.M);
}

// The shells at idx: a table whose first element is a number (numeric
// strings included) is a list of multiplicities, any other table a list of
// names; a single value is a multiplicity or a name by the same test.
BasisMatrixType ShellsMatrix(lua_State* L, int idx, BasisMatrixFunction f, bool addSpin) {
    bool numbers;
    if (lua_type(L, idx) == LUA_TTABLE) {
        lua_rawgeti(L, idx, 1);
        numbers = lua_isnumber(L, -1) != 0;
        lua_pop(L, 1);
    } else {
        numbers = lua_isnumber(L, idx) != 0;
    }
    if (numbers) return LargeRotationMatrix(luaL_checkvector_int(L, idx), f, addSpin);
    return LargeRotationMatrix(luaL_checkvector_string(L, idx), f, addSpin);
}

// The shared body of YtoZMatrix and YtoKMatrix.  A nil second argument
// counts as no options.
int YtoRealMatrix(lua_State* L, BasisMatrixFunction f, const char* who) {
    int n = lua_gettop(L);
    if (n < 1 || n > 2) {
        return luaL_error(L,
                          "%s called with %d arguments. 1 or 2 expected, multiplicity of orbital, or "
                          "list of multiplicities, or orbital name, or list of orbital names, and an "
                          "optional list of options.\n",
                          who, n);
    }
    uint8_t addSpin = 1;
    if (n == 2 && !lua_isnil(L, 2)) {
        if (!LuaTestOptionsList(L, 2)) {
            return luaL_error(L,
                              "Second argument of %s is optional but iff given should be a list of "
                              "options.\n",
                              who);
        }
        LuaOptionsType options[] = {{"addSpin", "bool", &addSpin}, {nullptr, nullptr, nullptr}};
        LuaCheckOptions(L, 2, options);
    }
    PushBasisMatrix(L, ShellsMatrix(L, 1, f, addSpin != 0), who);
    return 1;
}

BasisMatrixType YToJJzWithSpin(int multiplicity, bool) { return YToJJzMatrix(multiplicity, true); }

}  // namespace

int LuaYtoZMatrix(lua_State* L) { return YtoRealMatrix(L, YToZMatrix, "YtoZMatrix"); }

int LuaYtoKMatrix(lua_State* L) { return YtoRealMatrix(L, YToKMatrix, "YtoKMatrix"); }

int LuaYtojjzMatrix(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 1) {
        return luaL_error(L,
                          "YtoJJZMatrix called with %d arguments. Exactly 1 expected, multiplicity of "
                          "orbital, or list of multiplicities, or orbital name, or list of orbital "
                          "names.\n",
                          n);
    }
    PushBasisMatrix(L, ShellsMatrix(L, 1, YToJJzWithSpin, true), "YtojjzMatrix");
    return 1;
}

int LuaOrbitalRotationMatrix(lua_State* L) {
    int n = lua_gettop(L);
    if (n != 2) {
        return luaL_error(L,
                          "RotationMatrix called with %d arguments. Exactly 2 expected, list of old "
                          "orbitals and list of new orbitals.\n",
                          n);
    }
    BasisMatrixType R =
        OrbitalRotationMatrix(luaL_checkvector_string(L, 1), luaL_checkvector_string(L, 2));
    if (R.Ni == 0) return luaL_error(L, "Could not create rotation matrix.\n");
    PushBasisMatrix(L, R, "OrbitalRotationMatrix");
    return 1;
}
