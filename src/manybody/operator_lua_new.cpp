// NewOperator: an operator from an explicit list of terms, or from a named
// constructor.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <strings.h>
#include <vector>

#include "base/complex_lua.h"
#include "base/options.h"
#include "manybody/operator_lua.h"
#include "manybody/operator_lua_internal.h"

namespace {

// Constructors of NewOperator("Name", ...), filled by the code that provides
// them.
struct NamedOperatorConstructor {
    const char* name;
    lua_CFunction constructor;
};
const int MaxNamedConstructors = 96;
NamedOperatorConstructor gNamedConstructors[MaxNamedConstructors];
int gNNamedConstructors = 0;

// Key width of a length that an explicit list creates, when the option
// NBitsKey says nothing about it.
const unsigned int DefaultKeyBits = 6;

// Distance from an integer below which a mode index counts as that integer.
const double ModeIndexTolerance = 2.220446049250313e-15;

// What the options of the explicit form leave behind until the operator
// takes it over.
struct NewOperatorOptions {
    DeterminantRestrictionType restrictions;
    const char* name = nullptr;
    CompactVectorType nbits{0, 0, nullptr};
    NewOperatorOptions() { InitDeterminantRestriction(&restrictions); }
    NewOperatorOptions(const NewOperatorOptions&) = delete;
    NewOperatorOptions& operator=(const NewOperatorOptions&) = delete;
    ~NewOperatorOptions() {
        FreeDeterminantRestriction(&restrictions);
        FreeCompactVector(&nbits);
    }
};

// The key width of length `length` from the option NBitsKey: entry
// length - 1 if it is above 0.5 in magnitude, rounded.
unsigned int KeyBitsOfLength(const CompactVectorType& nbits, unsigned int length) {
    if (length == 0 || length > nbits.NElem) return DefaultKeyBits;
    double v = nbits.QComplex ? std::hypot(static_cast<Complex16*>(nbits.data)[length - 1].re,
                                           static_cast<Complex16*>(nbits.data)[length - 1].im)
                              : std::fabs(static_cast<double*>(nbits.data)[length - 1]);
    if (!(v > 0.5)) return DefaultKeyBits;
    return (unsigned int)std::lround(v);
}

// The counts {NF, NB, ...} of the last option pair named "Restrictions" (any
// case) in the list at idx, which LuaCheckOptions has accepted.
void RestrictionCounts(lua_State* L, int idx, uint32_t* nf, uint32_t* nb) {
    const int n = (int)lua_rawlen(L, idx);
    for (int i = 1; i <= n; i++) {
        lua_rawgeti(L, idx, i);
        lua_rawgeti(L, -1, 1);
        const char* key = lua_tostring(L, -1);
        if (key != nullptr && strcasecmp(key, "restrictions") == 0) {
            lua_rawgeti(L, -2, 2);
            lua_rawgeti(L, -1, 1);
            lua_rawgeti(L, -2, 2);
            *nf = (uint32_t)lua_tonumber(L, -2);
            *nb = (uint32_t)lua_tonumber(L, -1);
            lua_pop(L, 3);
        }
        lua_pop(L, 2);
    }
}

void ReadOptions(lua_State* L, int idx, uint32_t NF, uint32_t NB, NewOperatorOptions* out) {
    LuaOptionsType options[] = {
        {"Restrictions", "DeterminantRestrictionType", &out->restrictions},
        {"Name", "char*", &out->name},
        {"NBitsKey", "Vector", &out->nbits},
        {nullptr, nullptr, nullptr},
    };
    LuaCheckOptions(L, idx, options);
    if (out->restrictions.NRestriction == 0) return;
    uint32_t nf = NF, nb = NB;
    RestrictionCounts(L, idx, &nf, &nb);
    if (nf != NF)
        luaL_error(L, "Number of Fermions in definition of restrictions (%d) not the same as number of Fermions in "
                      "operator (%d)\n",
                   (int)nf, (int)NF);
    if (nb != NB)
        luaL_error(L, "Number of Bosons in definition of restrictions (%d) not the same as number of Bosons in "
                      "operator (%d)\n",
                   (int)nb, (int)NB);
}

// A count of modes at idx: a non-negative whole number.
uint32_t CheckModeCount(lua_State* L, int idx) {
    double v = luaL_checknumber(L, idx);
    if (!(v >= 0.0) || v != std::floor(v) || v > 4294967295.0)
        luaL_argerror(L, idx, "the number of modes should be a non-negative integer");
    return (uint32_t)v;
}

// Creates the lengths above MaxLength up to `length`, each with its own key
// width.
int CreateLengths(OperatorType* O, unsigned int length, const CompactVectorType& nbits) {
    for (unsigned int k = O->MaxLength + 1; k <= length; k++) {
        if (InitOperatorFixedLength(O, k, KeyBitsOfLength(nbits, k)) != 0) return 1;
    }
    return 0;
}

// The ladder at entry j (1-based) of term p, on the top of the stack, as a
// code: creation for a positive number or +0, annihilation for a negative
// number or -0, the magnitude the mode.
uint16_t ReadLader(lua_State* L, int p, int j, uint32_t NF, uint32_t NB) {
    int isnum = 0;
    double v = lua_tonumberx(L, -1, &isnum);
    if (!isnum)
        luaL_error(L, "ERROR: Opperator %d at position %d should be a number giving the mode (negative for an "
                      "annihilation operator)\n",
                   p, j);
    const double m = std::fabs(v);
    if (m > (double)NF - 1.0 + (double)NB)
        luaL_error(L,
                   "ERROR: Opperator %d at position %d adding particle with index %d but there are only %d (%d "
                   "Fermions + %d Bosons in the basis)\n)\n",
                   p, j, (int)std::fmin(m, 2147483647.0), (int)(NF + NB), (int)NF, (int)NB);
    const double r = std::round(m);
    if (!(std::fabs(m - r) <= ModeIndexTolerance))
        luaL_error(L, "ERROR: Opperator %d at position %d addign particle with index %f should be integer", p, j, m);
    uint16_t code = (uint16_t)r;
    if (!std::signbit(v)) code |= LaderCreation;
    return code;
}

// The prefactor, the last entry of term p, on the top of the stack.
Complex16 ReadPrefactor(lua_State* L) {
    Complex16 z{0.0, 0.0};
    if (LuaToComplex16(L, -1, &z)) return z;
    const char* message = lua_pushfstring(L, "%s expected, got %s", COMPLEX_TYPE_NAME, luaL_typename(L, -1));
    luaL_argerror(L, 3, message);
    return z;
}

int NewOperatorExplicit(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 3 && nargs != 4)
        return luaL_error(L, "ERROR: LuaNewOperator called with %d arguments, expectd 3 or 4\n", nargs);
    const uint32_t NF = CheckModeCount(L, 1);
    const uint32_t NB = CheckModeCount(L, 2);
    if ((uint64_t)NF + NB > oplua::MaxOperatorModes)
        return luaL_error(L, "ERROR: LuaNewOperator called with %d Fermions + %d Bosons, at most 2^15 = 32768 "
                             "modes are allowed\n",
                          (int)NF, (int)NB);
    luaL_checktype(L, 3, LUA_TTABLE);
    NewOperatorOptions options;
    if (nargs == 4 && !lua_isnil(L, 4)) ReadOptions(L, 4, NF, NB, &options);

    // Once the metatable is set, an error below leaves the record to the
    // finaliser.
    OperatorType* O = static_cast<OperatorType*>(lua_newuserdata(L, sizeof(OperatorType)));
    const int index = lua_gettop(L);
    oplua::RetryAfterCollect(L, [O]() { return InitOperator(O); },
                             "ERROR: LuaNewOperator could not allocate an operator, out of memory\n");
    luaL_setmetatable(L, OPERATOR_TYPE_NAME);
    O->NF = NF;
    O->NB = NB;
    O->NWord = DeterminantNWord(NF, NB);
    if (options.name != nullptr) OperatorSetName(O, options.name);
    O->Restrictions = options.restrictions;
    InitDeterminantRestriction(&options.restrictions);

    const int nterms = (int)lua_rawlen(L, 3);
    std::vector<uint16_t> codes;
    for (int p = 1; p <= nterms; p++) {
        lua_rawgeti(L, 3, p);
        if (!lua_istable(L, -1))
            return luaL_error(L, "ERROR: LuaNewOperator expects the operator at position %d to be a table "
                                 "{index, ..., prefactor}\n",
                              p);
        const int n = (int)lua_rawlen(L, -1);
        if (n == 0) return luaL_error(L, "ERROR: LuaNewOperator called an empty table as operator at position %d\n", p);
        const unsigned int length = (unsigned int)(n - 1);
        codes.resize(length > 0 ? length : 1);
        // The leftmost ladder is applied last and so stored last.
        for (int j = 1; j <= n - 1; j++) {
            lua_rawgeti(L, -1, j);
            codes[length - (unsigned int)j] = ReadLader(L, p, j, NF, NB);
            lua_pop(L, 1);
        }
        lua_rawgeti(L, -1, n);
        const Complex16 value = ReadPrefactor(L);
        lua_pop(L, 2);

        if (length > O->MaxLength) {
            oplua::RetryAfterCollect(L, [&]() { return CreateLengths(O, length, options.nbits); },
                                     "ERROR: LuaNewOperator could not allocate an operator, out of memory\n");
        }
        if (OperatorAddLaderNormalOrder(O, codes.data(), length, value.re, value.im, oplua::NormalOrder) != 0)
            return luaL_error(L, "ERROR: LuaNewOperator out of memory while adding operator %d\n", p);
    }
    OperatorRecountQComplex(O);
    lua_pushvalue(L, index);
    return 1;
}

}  // namespace

int LuaSetNamedOperatorConstructor(const char* name, lua_CFunction constructor) {
    for (int i = 0; i < gNNamedConstructors; i++) {
        if (strcmp(gNamedConstructors[i].name, name) == 0) {
            gNamedConstructors[i].constructor = constructor;
            return 0;
        }
    }
    if (gNNamedConstructors == MaxNamedConstructors) {
        printf("ERROR: no room for the operator name %s in LuaSetNamedOperatorConstructor\n", name);
        return 1;
    }
    gNamedConstructors[gNNamedConstructors++] = {name, constructor};
    return 0;
}

lua_CFunction LuaFindNamedOperatorConstructor(const char* name) {
    for (int i = 0; i < gNNamedConstructors; i++) {
        if (strcmp(gNamedConstructors[i].name, name) == 0) return gNamedConstructors[i].constructor;
    }
    return nullptr;
}

int LuaNewOperator(lua_State* L) {
    if (lua_gettop(L) == 0) return luaL_error(L, "ERROR: LuaNewOperator called with 0 arguments, expect at least one\n");
    if (lua_type(L, 1) == LUA_TSTRING) {
        const char* name = lua_tostring(L, 1);
        lua_CFunction constructor = LuaFindNamedOperatorConstructor(name);
        if (constructor == nullptr)
            return luaL_error(L,
                              "ERROR: first argument in NewOperator (%s) is not recognized as a known operatortype\n "
                              "See Help(\"NewOperator\") for more information\n",
                              name);
        return constructor(L);
    }
    if (lua_type(L, 1) == LUA_TNUMBER) return NewOperatorExplicit(L);
    return luaL_error(L, "ERROR: first argument in LuaNewOperator should be a string (use \"Oppname\" as first "
                         "argument)\n");
}
