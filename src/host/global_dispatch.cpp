// The dispatchers of the global calls that act on several kinds of values,
// their arm lists, and the arms for numbers, complex numbers and plain tables.
// See global_dispatch.h for how a kind adds its arms.
#include "host/global_dispatch.h"

#include "krylov/eigensystem_lua.h"

#include <cmath>
#include <cstddef>

#include "base/complex_lua.h"
#include "host/luahost.h"
#include "manybody/operator_lua.h"
#include "manybody/wavefunction_lua.h"
#include "numeric/matrix_lua.h"
#include "response/responsefunction.h"

namespace {

const char* const kUnrecognisedCopy = "Error: copying or cloning an object of unrecognised type\n";
const char* const kUnrecognisedChop = "Error: Chop an object of unrecognised type\n";
const char* const kUnrecognisedRotate = "Error: Rotate an object of unrecognised type\n";
const char* const kInverseExpects = "Inverse expects a single matrix as input";
const char* const kTransposeUnequal =
    "Transpose of a table containing tables, but not of equal length, transposed the elements, "
    "not the table\n";

// The arm whose test accepts argument 1, or null.
template <size_t N>
lua_CFunction FindArm(lua_State* L, const LuaDispatchArm (&arms)[N]) {
    for (const LuaDispatchArm& arm : arms)
        if (arm.test(L, 1)) return arm.function;
    return nullptr;
}

// Pushes a new table holding f(value, extra arguments) for every key of the
// table at 1; the keys stay, and so does the metatable.  The extra arguments
// are those at 2 .. top.
int ElementWise(lua_State* L, lua_CFunction f) {
    int top = lua_gettop(L);
    luaL_checkstack(L, top + 6, "tables nested too deeply");
    lua_createtable(L, static_cast<int>(lua_rawlen(L, 1)), 0);
    int result = lua_gettop(L);
    lua_pushnil(L);
    while (lua_next(L, 1) != 0) {
        lua_pushcfunction(L, f);
        lua_insert(L, -2);
        for (int k = 2; k <= top; k++) lua_pushvalue(L, k);
        lua_call(L, top, 1);
        lua_pushvalue(L, -2);
        lua_insert(L, -2);
        lua_rawset(L, result);
    }
    if (lua_getmetatable(L, 1)) lua_setmetatable(L, result);
    return 1;
}

// Transpose and ConjugateTranspose of a table.  A list of n rows of equal
// length m becomes m rows of n, entry (j,i) being f of entry (i,j), with the
// metatable kept.  Any other table goes element by element, with a warning
// when it holds tables (rows of unequal length).
int TableTranspose(lua_State* L, lua_CFunction f) {
    lua_settop(L, 1);
    int n = static_cast<int>(lua_rawlen(L, 1));
    bool allRows = n > 0, anyTable = false;
    int m = -1;
    for (int i = 1; i <= n; i++) {
        lua_rawgeti(L, 1, i);
        if (lua_istable(L, -1)) {
            anyTable = true;
            int len = static_cast<int>(lua_rawlen(L, -1));
            if (m < 0) m = len;
            if (len != m) allRows = false;
        } else {
            allRows = false;
        }
        lua_pop(L, 1);
    }
    if (!allRows) {
        if (anyTable) luaL_warning(L, "%s", kTransposeUnequal);
        return ElementWise(L, f);
    }
    luaL_checkstack(L, 8, "tables nested too deeply");
    lua_createtable(L, m, 0);
    for (int j = 1; j <= m; j++) {
        lua_createtable(L, n, 0);
        for (int i = 1; i <= n; i++) {
            lua_pushcfunction(L, f);
            lua_rawgeti(L, 1, i);
            lua_rawgeti(L, -1, j);
            lua_remove(L, -2);
            lua_call(L, 1, 1);
            lua_rawseti(L, -2, i);
        }
        lua_rawseti(L, -2, j);
    }
    if (lua_getmetatable(L, 1)) lua_setmetatable(L, -2);
    return 1;
}

double ChopPart(double x, double eps) { return std::fabs(x) < eps ? 0.0 : x; }

// --------------------------------------------------- arms of host values

int SameValue(lua_State* L) {
    lua_settop(L, 1);
    return 1;
}

int CopyComplex(lua_State* L) {
    LuaPushComplex16(L, luaL_checkComplex16(L, 1));
    return 1;
}

int ConjugateComplex(lua_State* L) {
    LuaPushComplex16(L, Conjugate(luaL_checkComplex16(L, 1)));
    return 1;
}

int ChopNumber(lua_State* L) {
    lua_pushnumber(L, ChopPart(lua_tonumber(L, 1), luaL_checknumber(L, 2)));
    return 1;
}

// A complex number whose imaginary part is chopped away becomes a number.
int ChopComplex(lua_State* L) {
    Complex16 z = luaL_checkComplex16(L, 1);
    double eps = luaL_checknumber(L, 2);
    z = Complex16{ChopPart(z.re, eps), ChopPart(z.im, eps)};
    if (z.im == 0.0) {
        lua_pushnumber(L, z.re);
    } else {
        LuaPushComplex16(L, z);
    }
    return 1;
}

int CopyTable(lua_State* L) { return ElementWise(L, Luacopy); }
int ConjugateTable(lua_State* L) { return ElementWise(L, Luaconjugate); }
int ChopTable(lua_State* L) { return ElementWise(L, LuaChop); }
int TransposeTable(lua_State* L) { return TableTranspose(L, Luatranspose); }
int ConjugateTransposeTable(lua_State* L) { return TableTranspose(L, Luaconjugatetranspose); }

// The library calls of matrices check their argument count; the globals
// hand them exactly the matrix.
int MatrixCopyArm(lua_State* L) {
    lua_settop(L, 1);
    return LuaMatrixToUserdata(L);
}
int MatrixConjugateArm(lua_State* L) {
    lua_settop(L, 1);
    return LuaMatrixConjugate(L);
}
int MatrixTransposeArm(lua_State* L) {
    lua_settop(L, 1);
    return LuaMatrixTranspose(L);
}
int MatrixConjugateTransposeArm(lua_State* L) {
    lua_settop(L, 1);
    return LuaMatrixConjugateTranspose(L);
}

// ------------------------------------------------------------ the arm lists
// Add the rows of a new kind ahead of the LuaKindTable rows.

const LuaDispatchArm kCopyArms[] = {
    {LuaKindNumber, SameValue},
    {LuaKindImmutable, SameValue},
    {LuaKindComplex, CopyComplex},
    {LuaKindMatrixUserdata, MatrixCopyArm},
    {LuaKindOperator, LuaOperatorCopyArm},
    {LuaKindWavefunction, LuaWavefunctionCopyArm},
    {LuaKindTable, CopyTable},
};

const LuaDispatchArm kConjugateArms[] = {
    {LuaKindNumber, SameValue},
    {LuaKindComplex, ConjugateComplex},
    {LuaKindMatrixUserdata, MatrixConjugateArm},
    {LuaKindOperator, LuaOperatorConjugateArm},
    {LuaKindWavefunction, LuaWavefunctionConjugateArm},
    {LuaKindTable, ConjugateTable},
};

const LuaDispatchArm kTransposeArms[] = {
    {LuaKindNumber, SameValue},
    {LuaKindComplex, CopyComplex},
    {LuaKindMatrixUserdata, MatrixTransposeArm},
    {LuaKindOperator, LuaOperatorTransposeArm},
    {LuaKindTable, TransposeTable},
};

const LuaDispatchArm kConjugateTransposeArms[] = {
    {LuaKindNumber, SameValue},
    {LuaKindComplex, ConjugateComplex},
    {LuaKindMatrixUserdata, MatrixConjugateTransposeArm},
    {LuaKindOperator, LuaOperatorConjugateTransposeArm},
    {LuaKindTable, ConjugateTransposeTable},
};

const LuaDispatchArm kChopArms[] = {
    {LuaKindNumber, ChopNumber},
    {LuaKindComplex, ChopComplex},
    {LuaKindMatrixUserdata, LuaMatrixChop},
    {LuaKindOperator, LuaOperatorChopArm},
    {LuaKindWavefunction, LuaWavefunctionChopArm},
    {LuaKindTable, ChopTable},
};

// Rotate(x, U): a change of the one-particle basis.  Matrices go the way of
// Matrix.Rotate.
const LuaDispatchArm kRotateArms[] = {
    {LuaKindOperator, LuaOperatorRotateArm},
    {LuaKindMatrixUserdata, LuaMatrixRotate},
    {LuaKindTable, LuaMatrixRotate},
};

const LuaDispatchArm kInverseArms[] = {
    {LuaKindMatrixUserdata, LuaMatrixInverseGlobal},
    {LuaKindTable, LuaMatrixInverseGlobal},
};

// Eigensystem(M).  The response functions (their userdata, and tables with
// their metatable or a field "type") go ahead of the plain table row.
const LuaDispatchArm kEigensystemDenseArms[] = {
    {lua_isResponsefunction, LuaResponseFunctionEigensystem},
    {LuaKindMatrixUserdata, LuaMatrixEigensystem},
    {LuaKindTable, LuaMatrixEigensystem},
};

// Eigensystem(H, ...) of a many-body operator, by the kind of H.  The
// operator row goes here.  Its placeholder keeps the list non-empty and
// accepts nothing.
int NoKind(lua_State*, int) { return 0; }
const LuaDispatchArm kEigensystemManyBodyArms[] = {
    {LuaKindOperator, LuaEigensystemOperator},
    {NoKind, nullptr},
};

}  // namespace

int LuaKindNumber(lua_State* L, int idx) { return lua_type(L, idx) == LUA_TNUMBER; }
int LuaKindImmutable(lua_State* L, int idx) {
    int t = lua_type(L, idx);
    return t == LUA_TSTRING || t == LUA_TBOOLEAN;
}
int LuaKindComplex(lua_State* L, int idx) { return luaL_testComplex16(L, idx) != nullptr; }
int LuaKindMatrixUserdata(lua_State* L, int idx) { return luaL_testMatrixUserdata(L, idx) != nullptr; }
int LuaKindTable(lua_State* L, int idx) { return lua_istable(L, idx); }

int Luacopy(lua_State* L) {
    lua_settop(L, 1);
    lua_CFunction arm = FindArm(L, kCopyArms);
    if (arm == nullptr) return luaL_error(L, "%s", kUnrecognisedCopy);
    return arm(L);
}

int Luaconjugate(lua_State* L) {
    lua_settop(L, 1);
    lua_CFunction arm = FindArm(L, kConjugateArms);
    if (arm == nullptr) return luaL_error(L, "%s", kUnrecognisedCopy);
    return arm(L);
}

int Luatranspose(lua_State* L) {
    lua_settop(L, 1);
    lua_CFunction arm = FindArm(L, kTransposeArms);
    if (arm == nullptr) return luaL_error(L, "%s", kUnrecognisedCopy);
    return arm(L);
}

int Luaconjugatetranspose(lua_State* L) {
    lua_settop(L, 1);
    lua_CFunction arm = FindArm(L, kConjugateTransposeArms);
    if (arm == nullptr) return luaL_error(L, "%s", kUnrecognisedCopy);
    return arm(L);
}

int LuaChop(lua_State* L) {
    double eps = luaL_optnumber(L, 2, kChopDefaultTolerance);
    lua_settop(L, 1);
    lua_pushnumber(L, eps);
    lua_CFunction arm = FindArm(L, kChopArms);
    if (arm == nullptr) return luaL_error(L, "%s", kUnrecognisedChop);
    return arm(L);
}

int Luarotate(lua_State* L) {
    lua_CFunction arm = FindArm(L, kRotateArms);
    if (arm == nullptr) return luaL_error(L, "%s", kUnrecognisedRotate);
    return arm(L);
}

int LuaInverse(lua_State* L) {
    if (lua_gettop(L) != 1) return luaL_error(L, "%s", kInverseExpects);
    lua_CFunction arm = FindArm(L, kInverseArms);
    if (arm == nullptr) return luaL_error(L, "%s", kInverseExpects);
    return arm(L);
}

int LuaEigensystemDenseTable(lua_State* L) {
    lua_settop(L, 1);
    lua_CFunction arm = FindArm(L, kEigensystemDenseArms);
    if (arm == nullptr)
        return luaL_error(L,
                          "Error Eigensystem called with a single argument, which should be either "
                          "a matrix (square table or one of the (block) response function types)");
    return arm(L);
}

int LuaEigensystem(lua_State* L) {
    if (lua_gettop(L) == 1) return LuaEigensystemDenseTable(L);
    lua_CFunction arm = FindArm(L, kEigensystemManyBodyArms);
    if (arm == nullptr)
        return luaL_error(L, "Error Eigensystem called with %d arguments, the first of which is "
                             "not a kind it can diagonalise\n",
                          lua_gettop(L));
    return arm(L);
}
