// The script face of Complex16: the Complex_Type object, the table Complex,
// the global I, and the metamethods that sort out mixed arithmetic.
#include "base/complex_lua.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

// Words of the error messages, by operation.
const char* const kOperationWord[ComplexOpCount] = {
    "plus", "minus", "multiplied with", "divided by", "to the power"};

// The metamethod of each operation, called again for the elements of tables.
const lua_CFunction kOperationFunction[ComplexOpCount] = {
    LuaComplexAdd, LuaComplexSub, LuaComplexMul, LuaComplexDiv, LuaComplexPow};

// Operand rows of the other object types; filled at registration.
const int kMaxOperandRows = 16;
ComplexOperandRow gOperandRows[kMaxOperandRows];
int gNOperandRows = 0;

Complex16 ApplyComplexComplex(ComplexOperation op, Complex16 a, Complex16 b) {
    switch (op) {
        case ComplexOpAdd: return a + b;
        case ComplexOpSub: return a - b;
        case ComplexOpMul: return a * b;
        case ComplexOpDiv: return a / b;
        default: return Cpow(a, b);
    }
}

Complex16 ApplyNumberComplex(ComplexOperation op, double a, Complex16 b) {
    switch (op) {
        case ComplexOpAdd: return a + b;
        case ComplexOpSub: return a - b;
        case ComplexOpMul: return a * b;
        case ComplexOpDiv: return a / b;
        default: return Cpow(Cnum(a, 0.0), b);
    }
}

Complex16 ApplyComplexNumber(ComplexOperation op, Complex16 a, double b) {
    switch (op) {
        case ComplexOpAdd: return a + b;
        case ComplexOpSub: return a - b;
        case ComplexOpMul: return a * b;
        case ComplexOpDiv: return a / b;
        default: return Cpowd(a, b);
    }
}

// The row whose metatable is the metatable of the value at idx, or null.
// Userdata rows compare with the registry entry, table rows with the global
// of that name.
const ComplexOperandRow* FindOperandRow(lua_State* L, int idx, ComplexOperandKind kind) {
    if (!lua_getmetatable(L, idx)) return nullptr;
    const ComplexOperandRow* found = nullptr;
    for (int i = 0; i < gNOperandRows && found == nullptr; i++) {
        const ComplexOperandRow& row = gOperandRows[i];
        if (row.kind != kind) continue;
        if (kind == ComplexOperandUserdata) {
            luaL_getmetatable(L, row.metatable);
        } else {
            lua_getglobal(L, row.metatable);
        }
        if (lua_rawequal(L, -1, -2)) found = &row;
        lua_pop(L, 1);
    }
    lua_pop(L, 1);
    return found;
}

// Applies the operation to every value of the table at t, the table being the
// left operand when tableLeft, with the value at other as the second operand.
// Pushes a new plain table with the results under the same keys; nested
// tables are handled by the recursive call and keep their shape.
void ElementWise(lua_State* L, ComplexOperation op, int t, int other, bool tableLeft) {
    lua_createtable(L, (int)lua_rawlen(L, t), 0);
    int result = lua_gettop(L);
    lua_pushnil(L);
    while (lua_next(L, t) != 0) {
        lua_pushcfunction(L, kOperationFunction[op]);
        if (tableLeft) {
            lua_pushvalue(L, -2);
            lua_pushvalue(L, other);
        } else {
            lua_pushvalue(L, other);
            lua_pushvalue(L, -3);
        }
        lua_call(L, 2, 1);
        // key, value, result -> store result under key, keep key for next
        lua_pushvalue(L, -3);
        lua_insert(L, -2);
        lua_rawset(L, result);
        lua_pop(L, 1);
    }
}

// "a op value": the complex number a is the left operand, the value at idx
// the right one.
int ComplexWithOperand(lua_State* L, ComplexOperation op, Complex16 a, int idx) {
    const char* word = kOperationWord[op];
    switch (lua_type(L, idx)) {
        case LUA_TNIL:
            return luaL_error(L, "Error: complex number %s nil\n", word);
        case LUA_TBOOLEAN:
            return luaL_error(L, "Error: complex number %s boolean\n", word);
        case LUA_TLIGHTUSERDATA:
            return luaL_error(L, "Error: complex number %s lightuserdata\n", word);
        case LUA_TSTRING:
            return luaL_error(L, "Error: complex number %s %s\n", word,
                              op == ComplexOpPow ? "string" : "character string");
        case LUA_TNUMBER:
            LuaPushComplex16(L, ApplyComplexNumber(op, a, lua_tonumber(L, idx)));
            return 1;
        case LUA_TTABLE: {
            const ComplexOperandRow* row = FindOperandRow(L, idx, ComplexOperandTable);
            if (row != nullptr && row->handler[op] != nullptr) {
                row->handler[op](L, a, idx);
            } else {
                ElementWise(L, op, idx, 1, false);
            }
            return 1;
        }
        case LUA_TUSERDATA: {
            if (Complex16* b = luaL_testComplex16(L, idx)) {
                LuaPushComplex16(L, ApplyComplexComplex(op, a, *b));
                return 1;
            }
            const ComplexOperandRow* row = FindOperandRow(L, idx, ComplexOperandUserdata);
            if (row == nullptr) {
                return luaL_error(L, "Error: complex number %s unrecognized userdata\n", word);
            }
            if (row->handler[op] == nullptr) {
                return luaL_error(L, "Error: complex number %s %s\n", word, row->noun);
            }
            row->handler[op](L, a, idx);
            return 1;
        }
        default:
            return luaL_error(L, "Error: complex number %s unrecognized type\n", word);
    }
}

// Common body of the binary metamethods: operand 1 first, then, for a
// complex operand 1, operand 2.
int ComplexBinary(lua_State* L, ComplexOperation op) {
    const char* word = kOperationWord[op];
    switch (lua_type(L, 1)) {
        case LUA_TNIL:
            return luaL_error(L, "Error: nil %s complex number\n", word);
        case LUA_TBOOLEAN:
            return luaL_error(L, "Error: boolean %s complex number\n", word);
        case LUA_TLIGHTUSERDATA:
            return luaL_error(L, "Error: lightuserdata %s complex number\n", word);
        case LUA_TSTRING:
            return luaL_error(L, "Error: character string %s complex number\n", word);
        case LUA_TNUMBER: {
            double a = lua_tonumber(L, 1);
            LuaPushComplex16(L, ApplyNumberComplex(op, a, luaL_checkComplex16(L, 2)));
            return 1;
        }
        case LUA_TTABLE:
            ElementWise(L, op, 1, 2, true);
            return 1;
        default:
            // Userdata of another type, functions and threads: the stock
            // argument error of the reader.
            return ComplexWithOperand(L, op, luaL_checkComplex16(L, 1), 2);
    }
}

}  // namespace

void LuaPushComplex16(lua_State* L, Complex16 z) {
    Complex16* p = static_cast<Complex16*>(lua_newuserdata(L, sizeof(Complex16)));
    *p = z;
    luaL_getmetatable(L, COMPLEX_TYPE_NAME);
    lua_setmetatable(L, -2);
}

Complex16* luaL_testComplex16(lua_State* L, int idx) {
    return static_cast<Complex16*>(luaL_testudata(L, idx, COMPLEX_TYPE_NAME));
}

Complex16 luaL_checkComplex16(lua_State* L, int idx) {
    return *static_cast<Complex16*>(luaL_checkudata(L, idx, COMPLEX_TYPE_NAME));
}

int LuaToComplex16(lua_State* L, int idx, Complex16* z) {
    int isnum = 0;
    double x = lua_tonumberx(L, idx, &isnum);
    if (isnum) {
        *z = Cnum(x, 0.0);
        return 1;
    }
    if (Complex16* p = luaL_testComplex16(L, idx)) {
        *z = *p;
        return 1;
    }
    return 0;
}

int ComplexSetOperandRow(const ComplexOperandRow& row) {
    for (int i = 0; i < gNOperandRows; i++) {
        ComplexOperandRow& old = gOperandRows[i];
        if (old.kind == row.kind && strcmp(old.metatable, row.metatable) == 0) {
            old = row;
            return 0;
        }
    }
    if (gNOperandRows == kMaxOperandRows) {
        printf("ERROR: no room for the operand row %s in ComplexSetOperandRow\n", row.metatable);
        return 1;
    }
    gOperandRows[gNOperandRows++] = row;
    return 0;
}

int LuaComplexNew(lua_State* L) {
    double re = luaL_checknumber(L, 1);
    double im = luaL_checknumber(L, 2);
    LuaPushComplex16(L, Cnum(re, im));
    return 1;
}

int LuaComplexI(lua_State* L) {
    LuaPushComplex16(L, Cnum(0.0, 1.0));
    return 1;
}

int LuaComplexExp(lua_State* L) {
    LuaPushComplex16(L, Cexp(luaL_checkComplex16(L, 1)));
    return 1;
}

int LuaComplexRe(lua_State* L) {
    if (lua_type(L, 1) == LUA_TNUMBER) {
        lua_pushnumber(L, lua_tonumber(L, 1));
    } else if (Complex16* z = luaL_testComplex16(L, 1)) {
        lua_pushnumber(L, z->re);
    } else {
        return luaL_error(L, "Can only take complex part of (complex) numbers");
    }
    return 1;
}

int LuaComplexIm(lua_State* L) {
    if (lua_type(L, 1) == LUA_TNUMBER) {
        lua_pushnumber(L, 0.0);
    } else if (Complex16* z = luaL_testComplex16(L, 1)) {
        lua_pushnumber(L, z->im);
    } else {
        return luaL_error(L, "Can only take complex part of (complex) numbers");
    }
    return 1;
}

// Only the first character of the key counts: z.re, z.Real and z.rest are
// all the real part, z.i and z.imag the imaginary part.
int LuaComplexIndex(lua_State* L) {
    Complex16 z = luaL_checkComplex16(L, 1);
    const char* key = lua_tostring(L, 2);
    char c = key != nullptr ? key[0] : '\0';
    if (c == 'r' || c == 'R') {
        lua_pushnumber(L, z.re);
    } else if (c == 'i' || c == 'I') {
        lua_pushnumber(L, z.im);
    } else {
        return luaL_error(L, "Error Complex variable not found");
    }
    return 1;
}

// The same test as __index; a value that isn't a number stores 0.
int LuaComplexNewIndex(lua_State* L) {
    Complex16* z = static_cast<Complex16*>(luaL_checkudata(L, 1, COMPLEX_TYPE_NAME));
    int t = lua_type(L, 2);
    const char* key = (t == LUA_TSTRING || t == LUA_TNUMBER) ? lua_tostring(L, 2) : luaL_tolstring(L, 2, nullptr);
    char c = key[0];
    if (c == 'r' || c == 'R') {
        z->re = lua_tonumber(L, 3);
    } else if (c == 'i' || c == 'I') {
        z->im = lua_tonumber(L, 3);
    } else {
        return luaL_error(L, "Error index %s not found in Complex Object\n", key);
    }
    return 0;
}

int LuaComplexAdd(lua_State* L) { return ComplexBinary(L, ComplexOpAdd); }
int LuaComplexSub(lua_State* L) { return ComplexBinary(L, ComplexOpSub); }
int LuaComplexMul(lua_State* L) { return ComplexBinary(L, ComplexOpMul); }
int LuaComplexDiv(lua_State* L) { return ComplexBinary(L, ComplexOpDiv); }
int LuaComplexPow(lua_State* L) { return ComplexBinary(L, ComplexOpPow); }

int LuaComplexUnm(lua_State* L) {
    LuaPushComplex16(L, -luaL_checkComplex16(L, 1));
    return 1;
}

int LuaComplexEq(lua_State* L) {
    Complex16 a = luaL_checkComplex16(L, 1);
    Complex16 b = luaL_checkComplex16(L, 2);
    lua_pushboolean(L, a.re == b.re && a.im == b.im);
    return 1;
}

// A zero imaginary part (also -0.0) shows the number as a plain real one;
// pushfstring prints each part in the interpreter's number format.
int LuaComplexToString(lua_State* L) {
    Complex16 z = luaL_checkComplex16(L, 1);
    if (z.im == 0.0) {
        lua_pushfstring(L, "%f", z.re);
    } else if (z.im < 0.0) {
        lua_pushfstring(L, "(%f - %f I)", z.re, std::fabs(z.im));
    } else {
        lua_pushfstring(L, "(%f + %f I)", z.re, z.im);
    }
    return 1;
}

void LuaRegisterComplex(lua_State* L) {
    static const luaL_Reg meta[] = {
        {"__index", LuaComplexIndex},
        {"__add", LuaComplexAdd},
        {"__sub", LuaComplexSub},
        {"__mul", LuaComplexMul},
        {"__div", LuaComplexDiv},
        {"__pow", LuaComplexPow},
        {"__unm", LuaComplexUnm},
        {"__eq", LuaComplexEq},
        {"__newindex", LuaComplexNewIndex},
        {"__tostring", LuaComplexToString},
        {nullptr, nullptr},
    };
    static const luaL_Reg lib[] = {
        {"New", LuaComplexNew},
        {"I", LuaComplexI},
        {"Exp", LuaComplexExp},
        {"Re", LuaComplexRe},
        {"re", LuaComplexRe},
        {"Im", LuaComplexIm},
        {"im", LuaComplexIm},
        {nullptr, nullptr},
    };
    luaL_newmetatable(L, COMPLEX_TYPE_NAME);
    luaL_setfuncs(L, meta, 0);
    lua_pop(L, 1);
    lua_createtable(L, 0, 7);
    luaL_setfuncs(L, lib, 0);
    lua_setglobal(L, "Complex");
}

void LuaRegisterImaginaryUnit(lua_State* L) {
    LuaPushComplex16(L, Cnum(0.0, 1.0));
    lua_setglobal(L, "I");
}
