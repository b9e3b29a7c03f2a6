// The script object of response functions: the reader that takes either
// outfit, the pushers, the metamethods, the global conversions and the
// registration.
//
// Ownership: a record read from a userdata belongs to the userdata; one read
// from a table is a temporary that the reading call frees, whatever way it
// leaves (the records are held by guards, so that a script error unwinds
// through them).  A new lower-case record pushed as a userdata is owned by
// that userdata from then on.
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/released.h"
#include "base/complex_lua.h"
#include "base/options.h"
#include "numeric/matrix_lua.h"
#include "response/listofpoles.h"
#include "response/lua_matrices.h"
#include "response/responsefunction.h"
#include "response/tridiagonal.h"

static_assert(sizeof(ResponsefunctionType) == 32, "the userdata holds the four words of the record");

namespace {

bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }

// A record that is freed on leaving the scope when the caller owns it: a
// temporary read from a table, or a new record not yet handed to a
// userdata.
struct Held {
    ResponsefunctionType r;
    bool owned;
    Held(ResponsefunctionType x, bool own) : r(x), owned(own) {}
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() {
        if (owned) FreeResponsefunction(&r);
    }
    ResponsefunctionType Release() {
        owned = false;
        return r;
    }
};

// What luaL_checkResponsefunction gave, freed if it came from a table.
struct Checked : Held {
    Checked(lua_State* L, int index) : Held(luaL_checkResponsefunction(L, index), false) { owned = IsUpper(r.type); }
};

struct BlockListHolder {
    BlockListOfPoles l;
    bool owned = false;
    BlockListHolder() = default;
    BlockListHolder(const BlockListHolder&) = delete;
    BlockListHolder& operator=(const BlockListHolder&) = delete;
    ~BlockListHolder() {
        if (owned) FreeBlockListOfPoles(&l);
    }
};

template <class Step>
int WithRetry(lua_State* L, Step step) {
    int info = step();
    if (info != 0) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        info = step();
    }
    return info;
}

// Runs a conversion that gives a record (M null on failure) with one retry
// after a collection.
template <class Step>
ResponsefunctionType ConvertWithRetry(lua_State* L, Step step) {
    ResponsefunctionType r = step();
    if (r.M == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        r = step();
    }
    return r;
}

void* MallocWithRetry(lua_State* L, size_t size) {
    void* p = malloc(size);
    if (p == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        p = malloc(size);
    }
    return p;
}

char LetterOfTypeString(const char* type) {
    if (strcmp(type, "Tri") == 0) return 'T';
    if (strcmp(type, "And") == 0) return 'A';
    if (strcmp(type, "ListOfPoles") == 0) return 'L';
    if (strcmp(type, "NaturalImpurityOrbital") == 0 || strcmp(type, "Nat") == 0) return 'N';
    return 0;
}

// Reads a record with a reader that raises on bad input, and moves it into
// a new heap record.
template <class T, class Read, class Free>
void* ReadIntoHeap(lua_State* L, Read read, Free free_) {
    T value = read();
    T* p = static_cast<T*>(MallocWithRetry(L, sizeof(T)));
    if (p == nullptr) {
        free_(&value);
        luaL_error(L, "malloc failed while reading a Green's function");
    }
    *p = value;
    return p;
}

// The grid of the table at index, checked; the numbers are read later.
size_t CheckSuggestedGrid(lua_State* L, int index) {
    lua_getfield(L, index, "SuggestedGrid");
    size_t n = 0;
    if (!lua_isnil(L, -1)) {
        bool ok = lua_istable(L, -1);
        if (ok) {
            n = lua_rawlen(L, -1);
            for (size_t i = 0; i < n && ok; i++) {
                lua_rawgeti(L, -1, static_cast<int>(i + 1));
                ok = lua_type(L, -1) == LUA_TNUMBER;
                lua_pop(L, 1);
            }
        }
        if (!ok) luaL_error(L, "Error reading Green's function: \"SuggestedGrid\" should be an table of doubles.");
    }
    lua_pop(L, 1);
    return n;
}

// Pushes a new record: a lower-case one becomes a userdata that owns it, an
// upper-case one is pushed as a table and freed.
void PushNew(lua_State* L, ResponsefunctionType R) {
    Held h(R, true);
    if (IsUpper(R.type)) {
        LuaPushTable_ResponseFunction(L, R);
        return;
    }
    LuaPush_ResponseFunction(L, h.Release());
}

// A new block-list record that takes over list, in the outfit asked for.
ResponsefunctionType WrapBlockList(lua_State* L, BlockListHolder* list, bool userdata) {
    BlockListOfPoles* p = static_cast<BlockListOfPoles*>(MallocWithRetry(L, sizeof(BlockListOfPoles)));
    if (p == nullptr) luaL_error(L, "malloc failed in ResponseFunction arithmetic");
    *p = list->l;
    list->owned = false;
    return ResponsefunctionType{userdata ? 'l' : 'L', 1, p, nullptr, 0};
}

// The block list of operand `index` (a new list the holder owns).
void OperandAsBlockList(lua_State* L, int index, BlockListHolder* out) {
    Checked R(L, index);
    if (WithRetry(L, [&] { return ResponsefunctionToBlockListOfPoles(R.r, &out->l); }) != 0)
        luaL_error(L, "Error in ResponseFunctionAdd: the response function can't be written as a block list of poles");
    out->owned = true;
}

bool IsUserdata(lua_State* L, int index) { return luaL_testudata(L, index, RESPONSEFUNCTION_TYPE_NAME) != nullptr; }

int SumOrDifference(lua_State* L, double sign) {
    const int n = lua_gettop(L);
    if (n != 2) luaL_error(L, "Error in ResponseFunctionAdd: %d argument(s), 2 expected.\n", n);
    BlockListHolder a;
    BlockListHolder b;
    OperandAsBlockList(L, 1, &a);
    OperandAsBlockList(L, 2, &b);
    if (a.l.M != b.l.M)
        luaL_error(L, "Error in ResponseFunctionAdd: blocks of size %d and %d can't be added", static_cast<int>(a.l.M),
                   static_cast<int>(b.l.M));
    if (sign < 0.0) ScaleBlockListOfPoles(&b.l, -1.0);
    if (WithRetry(L, [&] { return AddBlockListOfPoles(&a.l, b.l); }) != 0)
        luaL_error(L, "Error in ResponseFunctionAdd: AddBlockListOfPoles failed");
    snprintf(a.l.Name, sizeof(a.l.Name), "%s", "Block List Of Poles");
    PushNew(L, WrapBlockList(L, &a, IsUserdata(L, 1) || IsUserdata(L, 2)));
    return 1;
}

// The operators without a meaning for response functions print their name.
int PrintName(const char* name) {
    printf("%s\n", name);
    return 0;
}

// "z op G" for a complex z: the response-function metamethod with the
// complex number as its first operand.
template <lua_CFunction F>
void ComplexOperand(lua_State* L, Complex16 z, int idx) {
    lua_pushcfunction(L, F);
    LuaPushComplex16(L, z);
    lua_pushvalue(L, idx);
    lua_call(L, 2, 1);
}

}  // namespace

// ---- reading and pushing ---------------------------------------------------------

ResponsefunctionType luaL_checkResponsefunction(lua_State* L, int index) {
    index = lua_absindex(L, index);
    if (ResponsefunctionType* u = static_cast<ResponsefunctionType*>(luaL_testudata(L, index, RESPONSEFUNCTION_TYPE_NAME)))
        return *u;
    if (!lua_istable(L, index)) luaL_error(L, "Error Green's function should be represented by a table");
    lua_getfield(L, index, "type");
    if (lua_isnil(L, -1)) luaL_error(L, "Error Reading Green's function without type declaration.");
    const char* typeString = lua_type(L, -1) == LUA_TSTRING ? lua_tostring(L, -1) : luaL_typename(L, -1);
    const char letter = LetterOfTypeString(typeString);
    if (letter == 0) luaL_error(L, "Errorr reading Greens function of unknown type (%s)", typeString);
    lua_pop(L, 1);
    if (letter != 'N' && lua_rawlen(L, index) == 0) luaL_error(L, "Error reading Green's function the length of the table is 0");
    const size_t ngrid = CheckSuggestedGrid(L, index);
    ResponsefunctionType R{letter, static_cast<char>(QLuaBlockResponseTable(L, index) ? 1 : 0), nullptr, nullptr, 0};
    if (R.QBlock) {
        switch (letter) {
            case 'L':
                R.M = ReadIntoHeap<BlockListOfPoles>(L, [&] { return luaL_checkBlockListOfPoles(L, index); },
                                                     FreeBlockListOfPoles);
                break;
            case 'T':
                R.M = ReadIntoHeap<BlockTriDiagonalMatrixType>(
                    L, [&] { return luaL_checkBlockTriDiagonalMatrixType(L, index); }, FreeBlockTriDiagonalMatrix);
                break;
            case 'A':
                R.M = ReadIntoHeap<BlockAndersonMatrixType>(
                    L, [&] { return luaL_checkBlockAndersonMatrixType(L, index); }, FreeBlockAndersonMatrix);
                break;
            default:
                R.M = ReadIntoHeap<BlockNaturalImpurityOrbitalMatrixType>(
                    L, [&] { return luaL_checkBlockNatrualImpurityOrbitalMatrixType(L, index); },
                    FreeBlockNaturalImpurityOrbitalMatrix);
                break;
        }
    } else {
        switch (letter) {
            case 'L':
                R.M = ReadIntoHeap<ListOfPoles>(L, [&] { return luaL_checkListOfPoles(L, index); }, FreeListOfPoles);
                break;
            case 'T':
                R.M = ReadIntoHeap<TriDiagonalMatrixType>(L, [&] { return luaL_checkTriDiagonalMatrixType(L, index); },
                                                          FreeTriDiagonalMatrix);
                break;
            case 'A':
                R.M = ReadIntoHeap<AndersonMatrixType>(L, [&] { return luaL_checkAndersonMatrixType(L, index); },
                                                       FreeAndersonMatrix);
                break;
            default:
                R.M = ReadIntoHeap<BADoubleTriDiagonalMatrixType>(
                    L, [&] { return luaL_checkNatrualImpurityOrbitalMatrixType(L, index); },
                    FreeBADoubleTriDiagonalMatrix);
                break;
        }
    }
    if (ngrid > 0) {
        Held h(R, true);
        R.SuggestedGrid = static_cast<double*>(MallocWithRetry(L, sizeof(double) * ngrid));
        if (R.SuggestedGrid == nullptr) luaL_error(L, "malloc failed while reading a Green's function");
        lua_getfield(L, index, "SuggestedGrid");
        for (size_t i = 0; i < ngrid; i++) {
            lua_rawgeti(L, -1, static_cast<int>(i + 1));
            R.SuggestedGrid[i] = lua_tonumber(L, -1);
            lua_pop(L, 1);
        }
        lua_pop(L, 1);
        R.NSuggestedGrid = static_cast<uint32_t>(ngrid);
        h.Release();
    }
    return R;
}

int lua_isResponsefunction(lua_State* L, int index) {
    if (IsUserdata(L, index)) return 1;
    if (!lua_istable(L, index)) return 0;
    lua_getfield(L, index, "type");
    const int has = !lua_isnil(L, -1);
    lua_pop(L, 1);
    return has;
}

void LuaPush_ResponseFunction(lua_State* L, ResponsefunctionType R) {
    if (!QResponsefunctionLetter(R.type))
        luaL_error(L, "Error in LuaPush_ResponseFunction: Type of response function should be either t/T,a/A,l/L, or n/N");
    if (IsUpper(R.type)) {
        LuaPushTable_ResponseFunction(L, R);
        return;
    }
    Held h(R, true);  // freed if the userdata can't be made
    ResponsefunctionType* u = static_cast<ResponsefunctionType*>(lua_newuserdata(L, sizeof(ResponsefunctionType)));
    *u = h.Release();
    luaL_setmetatable(L, RESPONSEFUNCTION_TYPE_NAME);
}

void LuaPushTable_ResponseFunction(lua_State* L, ResponsefunctionType R) {
    const char t = ResponsefunctionTableLetter(R.type);
    if (!QResponsefunctionLetter(t)) luaL_error(L, "Error in ResponseFunctionToTable: unrecognized type %c", R.type);
    if (R.QBlock) {
        switch (t) {
            case 'L': LuaPushTable_BlockListOfPoles(L, *static_cast<BlockListOfPoles*>(R.M)); break;
            case 'T': LuaPushTable_BlockTriDiagonalMatrixType(L, *static_cast<BlockTriDiagonalMatrixType*>(R.M)); break;
            case 'A': LuaPushTable_BlockAndersonMatrixType(L, *static_cast<BlockAndersonMatrixType*>(R.M)); break;
            default:
                LuaPushTable_BlockNaturalImpurityOrbital(L, *static_cast<BlockNaturalImpurityOrbitalMatrixType*>(R.M));
                break;
        }
    } else {
        switch (t) {
            case 'L': LuaPushTable_ListOfPoles(L, *static_cast<ListOfPoles*>(R.M)); break;
            case 'T': LuaPushTable_TriDiagonalMatrixType(L, *static_cast<TriDiagonalMatrixType*>(R.M)); break;
            case 'A': LuaPushTable_AndersonMatrixType(L, *static_cast<AndersonMatrixType*>(R.M)); break;
            default: LuaPushTable_NaturalImpurityOrbital(L, *static_cast<BADoubleTriDiagonalMatrixType*>(R.M)); break;
        }
    }
    if (R.NSuggestedGrid > 0) {
        LuaPushArray_double(L, R.SuggestedGrid, R.NSuggestedGrid);
        lua_setfield(L, -2, "SuggestedGrid");
    }
}

// ---- metamethods ----------------------------------------------------------------

int LuaResponseFunctionUnm(lua_State* L) {
    BlockListHolder a;
    OperandAsBlockList(L, 1, &a);
    ScaleBlockListOfPoles(&a.l, -1.0);
    snprintf(a.l.Name, sizeof(a.l.Name), "%s", "Block List Of Poles");
    PushNew(L, WrapBlockList(L, &a, IsUserdata(L, 1)));
    return 1;
}

int LuaResponseFunctionAdd(lua_State* L) { return SumOrDifference(L, 1.0); }
int LuaResponseFunctionSub(lua_State* L) { return SumOrDifference(L, -1.0); }
int LuaResponseFunctionMul(lua_State*) { return PrintName("LuaResponseFunctionMul"); }
int LuaResponseFunctionDiv(lua_State*) { return PrintName("LuaResponseFunctionDiv"); }
int LuaResponseFunctionPow(lua_State*) { return PrintName("LuaResponseFunctionPow"); }
int LuaResponseFunctionConcat(lua_State*) { return PrintName("LuaResponseFunctionConcat"); }
int LuaResponseFunctionEq(lua_State*) { return PrintName("LuaResponseFunctionEq"); }
int LuaResponseFunctionLt(lua_State*) { return PrintName("LuaResponseFunctionLt"); }
int LuaResponseFunctionLe(lua_State*) { return PrintName("LuaResponseFunctionLe"); }
int LuaResponseFunctionMode(lua_State*) { return PrintName("LuaResponseFunctionMode"); }

int LuaResponseFunctionCall(lua_State* L) {
    const int n = lua_gettop(L);
    double omega = 0.0;
    double gamma = 0.0;
    bool ok = false;
    if (n == 3 && lua_type(L, 2) == LUA_TNUMBER && lua_type(L, 3) == LUA_TNUMBER) {
        omega = lua_tonumber(L, 2);
        gamma = lua_tonumber(L, 3);
        ok = true;
    } else if (n == 2 && lua_istable(L, 2) && lua_rawlen(L, 2) == 2) {
        lua_rawgeti(L, 2, 1);
        lua_rawgeti(L, 2, 2);
        ok = lua_type(L, -2) == LUA_TNUMBER && lua_type(L, -1) == LUA_TNUMBER;
        omega = lua_tonumber(L, -2);
        gamma = lua_tonumber(L, -1);
        lua_pop(L, 2);
    }
    if (!ok)
        luaL_error(L, "Call to a response-function should contain two elements, (omega, gamma) with omega the energy at "
                      "which the response function is evaluated and gamma an imaginary ofset");
    Checked R(L, 1);
    if (!R.r.QBlock) {
        LuaPushComplex16(L, EvaluateResponsefunctionType(R.r, omega, gamma));
        return 1;
    }
    CompactMatrixType out;
    // The natural-orbital block form has no evaluation of its own (the
    // kernel says so on the standard output); its list of poles has one.
    if (ResponsefunctionTableLetter(R.r.type) == 'N') {
        EvaluateBlockResponsefunctionType(R.r, &out, omega, gamma);
        luaL_error(L, "Error in LuaEvaluate_ResponseFunction: a block natural impurity orbital is evaluated through "
                      "its list of poles, ChangeType(G, \"ListOfPoles\")");
    }
    if (WithRetry(L, [&] { return EvaluateBlockResponsefunctionType(R.r, &out, omega, gamma); }) != 0)
        luaL_error(L, "Error in LuaEvaluate_ResponseFunction: the block response function can't be evaluated at "
                      "omega=%f, gamma=%f",
                   omega, gamma);
    struct OutGuard {
        CompactMatrixType* m;
        ~OutGuard() { FreeCompactMatrix(m); }
    } guard{&out};
    LuaPushTable_CompactMatrixType(L, out);
    return 1;
}

int LuaResponseFunctionToString(lua_State* L) {
    lua_pushstring(L, "ResponseFunction in userdata format use ToTable() in order to get a table form");
    return 1;
}

int LuaResponseFunctionDestroy(lua_State* L) {
    ResponsefunctionType* u = static_cast<ResponsefunctionType*>(luaL_testudata(L, 1, RESPONSEFUNCTION_TYPE_NAME));
    if (u != nullptr) FreeResponsefunction(u);
    LuaMarkReleased(L, 1);
    return 0;
}

// ---- globals ---------------------------------------------------------------------

int LuaChangeTypeResponseFunction(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 2) luaL_error(L, "Error in ChangeType expected 2 arguments, not %d\n", n);
    Checked R(L, 1);
    const char* name = lua_type(L, 2) == LUA_TSTRING ? lua_tostring(L, 2) : luaL_typename(L, 2);
    const bool userdata = !IsUpper(R.r.type);
    char target;
    if (strcmp(name, "Userdata") == 0) {
        target = ResponsefunctionUserdataLetter(R.r.type);
    } else if (strcmp(name, "Table") == 0) {
        target = ResponsefunctionTableLetter(R.r.type);
    } else {
        const char letter = lua_type(L, 2) == LUA_TSTRING ? LetterOfTypeString(name) : 0;
        if (letter == 0)
            luaL_error(L,
                       "Error in ChangeType, second argument needs to be a string containgin either: \"And\", \"Tri\", "
                       "\"ListOfPoles\", \"NaturalImpurityOrbital\", \"Userdata\", \"Table\" and not %s\n",
                       name);
        target = userdata ? ResponsefunctionUserdataLetter(letter) : letter;
    }
    if (ResponsefunctionTableLetter(target) == ResponsefunctionTableLetter(R.r.type)) {
        // Only the outfit changes.  A table's temporary record can move into
        // the new userdata as it is; a userdata's record is copied.
        if (R.owned) {
            ResponsefunctionType r = R.Release();
            r.type = target;
            PushNew(L, r);
            return 1;
        }
        ResponsefunctionType c = ConvertWithRetry(L, [&] { return ResponsefunctionCopy(R.r); });
        if (c.M == nullptr) luaL_error(L, "Error in ChangeType: the response function can't be copied");
        c.type = target;
        PushNew(L, c);
        return 1;
    }
    ResponsefunctionType c = ConvertWithRetry(L, [&] {
        return R.r.QBlock ? ConvertBlockMatrix(R.r, target, 0.0) : ConvertResponsefunction(R.r, target, 0.0);
    });
    if (c.M == nullptr) luaL_error(L, "Error in ChangeType: the conversion of the response function failed");
    PushNew(L, c);
    return 1;
}

int LuaResponseFunctionToTable(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 1) luaL_error(L, "Error in ToTable expected a single argument, not %d\n", n);
    Checked R(L, 1);
    LuaPushTable_ResponseFunction(L, R.r);
    return 1;
}

int LuaResponseFunctionToUserdata(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 1) luaL_error(L, "Error in ToUserdata expected a single argument, not %d\n", n);
    Checked R(L, 1);
    if (R.owned) {
        ResponsefunctionType r = R.Release();
        r.type = ResponsefunctionUserdataLetter(r.type);
        LuaPush_ResponseFunction(L, r);
        return 1;
    }
    ResponsefunctionType c = ConvertWithRetry(L, [&] { return ResponsefunctionCopy(R.r); });
    if (c.M == nullptr) luaL_error(L, "Error in ToUserdata: the response function can't be copied");
    LuaPush_ResponseFunction(L, c);
    return 1;
}

int LuaReducePolesResponseFunction(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 2)
        luaL_error(L, "Error in ReducePoles: %d argument(s), 2 expected (ListOfPoles, desired number of poles).\n", n);
    const char* badCount = "Error in ReducePoles: 2nd argument should be the desired number of poles.\n";
    const double x = lua_type(L, 2) == LUA_TNUMBER ? lua_tonumber(L, 2) : -1.0;
    if (!(x >= 0.0) || x != floor(x) || x > 4294967295.0) luaL_error(L, "%s", badCount);
    const unsigned int count = static_cast<unsigned int>(x);
    Checked R(L, 1);
    if (ResponsefunctionTableLetter(R.r.type) != 'L')
        luaL_error(L, "Error in ReducePoles: The input Green's function is of %c type, it should be a ListOfPoles",
                   R.r.type);
    ResponsefunctionType c = ConvertWithRetry(L, [&] { return ResponsefunctionCopy(R.r); });
    if (c.M == nullptr) luaL_error(L, "Error in ReducePoles: the response function can't be copied");
    Held h(c, true);
    const int fail = c.QBlock ? ReduceBlockListOfPoles(static_cast<BlockListOfPoles*>(c.M), count, DBL_MIN)
                              : ReduceListOfPolesNumber(static_cast<ListOfPoles*>(c.M), count);
    if (fail) luaL_error(L, "%s", badCount);
    PushNew(L, h.Release());
    return 1;
}

int LuaPlaceOnMeshResponseFunction(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 2)
        luaL_error(L, "Error in PlaceOnMesh: %d argument(s), 2 expected (ListOfPoles, desired list of grid points).\n",
                   n);
    const char* badGrid = "Error in PlaceOnMesh: the 2nd argument should be a list of energy grid points.\n";
    if (!lua_istable(L, 2)) luaL_error(L, "%s", badGrid);
    const size_t ng = lua_rawlen(L, 2);
    for (size_t i = 0; i < ng; i++) {
        lua_rawgeti(L, 2, static_cast<int>(i + 1));
        const bool number = lua_type(L, -1) == LUA_TNUMBER;
        lua_pop(L, 1);
        if (!number) luaL_error(L, "%s", badGrid);
    }
    Checked R(L, 1);
    if (ResponsefunctionTableLetter(R.r.type) != 'L')
        luaL_error(L, "Error in PlaceOnMesh: The first argument should be of type 'L'/'l' (ListOfPoles).\n");
    struct Grid {
        double* p;
        ~Grid() { free(p); }
    } grid{static_cast<double*>(MallocWithRetry(L, sizeof(double) * (ng > 0 ? ng : 1)))};
    if (grid.p == nullptr) luaL_error(L, "malloc failed in PlaceOnMesh");
    for (size_t i = 0; i < ng; i++) {
        lua_rawgeti(L, 2, static_cast<int>(i + 1));
        grid.p[i] = lua_tonumber(L, -1);
        lua_pop(L, 1);
    }
    const unsigned int count = static_cast<unsigned int>(ng);
    ResponsefunctionType c = ConvertWithRetry(L, [&] { return ResponsefunctionCopy(R.r); });
    if (c.M == nullptr) luaL_error(L, "Error in PlaceOnMesh: the response function can't be copied");
    Held h(c, true);
    if (c.QBlock) {
        if (BlockListOfPolesPlaceOnMesh(static_cast<BlockListOfPoles*>(c.M), grid.p, count) != 0)
            luaL_error(L, "%s", badGrid);
    } else {
        // A scalar list goes the way of a list of 1 by 1 blocks.
        ListOfPoles* s = static_cast<ListOfPoles*>(c.M);
        BlockListHolder b;
        if (WithRetry(L, [&] { return ListOfPolesToBlockListOfPoles(*s, &b.l); }) != 0)
            luaL_error(L, "malloc failed in PlaceOnMesh");
        b.owned = true;
        if (BlockListOfPolesPlaceOnMesh(&b.l, grid.p, count) != 0) luaL_error(L, "%s", badGrid);
        ListOfPoles placed;
        if (WithRetry(L, [&] { return BlockListOfPolesToListOfPoles(b.l, &placed); }) != 0)
            luaL_error(L, "malloc failed in PlaceOnMesh");
        FreeListOfPoles(s);
        *s = placed;
    }
    PushNew(L, h.Release());
    return 1;
}

int LuaResponseFunctionToTightBinding(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 1) luaL_error(L, "Error in ToTightBinding expected a single argument, not %d\n", n);
    Checked R(L, 1);
    return luaL_error(L, "Error in ToTightBinding: tight-binding models are not available in this version, so a "
                         "response function can't be turned into one");
}

int LuaResponseFunctionEigensystem(lua_State* L) {
    Checked R(L, 1);
    double* values = nullptr;
    uint32_t count = 0;
    if (WithRetry(L, [&] { return ResponsefunctionEigenvalues(R.r, &values, &count); }) != 0)
        luaL_error(L, "Error in Eigensystem: the poles of the response function can't be found");
    struct Values {
        double* p;
        ~Values() { free(p); }
    } guard{values};
    LuaPushArray_double(L, values, count);
    return 1;
}

// ---- registration ------------------------------------------------------------------

void LuaRegisterResponseFunctionType(lua_State* L) {
    static const luaL_Reg methods[] = {
        {"__unm", LuaResponseFunctionUnm},       {"__add", LuaResponseFunctionAdd},
        {"__sub", LuaResponseFunctionSub},       {"__mul", LuaResponseFunctionMul},
        {"__div", LuaResponseFunctionDiv},       {"__pow", LuaResponseFunctionPow},
        {"__concat", LuaResponseFunctionConcat}, {"__eq", LuaResponseFunctionEq},
        {"__lt", LuaResponseFunctionLt},         {"__le", LuaResponseFunctionLe},
        {"__mode", LuaResponseFunctionMode},     {"__call", LuaResponseFunctionCall},
        {"__tostring", LuaResponseFunctionToString}, {"__gc", LuaResponseFunctionDestroy},
        {nullptr, nullptr},
    };
    luaL_newmetatable(L, RESPONSEFUNCTION_TYPE_NAME);
    luaL_setfuncs(L, methods, 0);
    lua_pop(L, 1);
    // The table outfit has the first twelve: no __tostring, no __gc.
    lua_createtable(L, 0, 12);
    for (int i = 0; i < 12; i++) {
        lua_pushcfunction(L, methods[i].func);
        lua_setfield(L, -2, methods[i].name);
    }
    lua_setglobal(L, RESPONSEFUNCTION_META_NAME);

    static const ComplexOperandRow userdataRow = {
        RESPONSEFUNCTION_TYPE_NAME,
        ComplexOperandUserdata,
        "response function",
        {ComplexOperand<LuaResponseFunctionAdd>, ComplexOperand<LuaResponseFunctionSub>,
         ComplexOperand<LuaResponseFunctionMul>, ComplexOperand<LuaResponseFunctionDiv>,
         ComplexOperand<LuaResponseFunctionPow>}};
    static const ComplexOperandRow tableRow = {
        RESPONSEFUNCTION_META_NAME,
        ComplexOperandTable,
        "response function",
        {ComplexOperand<LuaResponseFunctionAdd>, ComplexOperand<LuaResponseFunctionSub>,
         ComplexOperand<LuaResponseFunctionMul>, ComplexOperand<LuaResponseFunctionDiv>,
         ComplexOperand<LuaResponseFunctionPow>}};
    ComplexSetOperandRow(userdataRow);
    ComplexSetOperandRow(tableRow);
}
