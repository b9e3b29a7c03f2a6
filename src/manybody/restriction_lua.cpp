// Script reader of occupation restrictions.
#include <lua.hpp>

#include <cstdlib>
#include <cstring>

#include "manybody/restriction.h"

namespace {

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Parses a determinant string into mask (nWord zeroed bytes) if mask is not
// null.  Returns 0 if the string is well formed, else 1.
int ParseMaskString(const char* s, size_t len, uint32_t NF, uint32_t NB, uint8_t* mask) {
    size_t k = 0;
    for (uint32_t m = 0; m < NF; m++) {
        while (k < len && s[k] == ' ') k++;
        if (k == len) return 1;
        if (s[k] == '1') {
            if (mask != nullptr) mask[m >> 3] |= (uint8_t)(0x80u >> (m & 7));
        } else if (s[k] != '0') {
            return 1;
        }
        k++;
    }
    unsigned int fermionBytes = DeterminantNWord(NF, 0);
    for (uint32_t b = 0; b < NB; b++) {
        while (k < len && s[k] == ' ') k++;
        if (k + 2 > len) return 1;
        int hi = HexDigit(s[k]), lo = HexDigit(s[k + 1]);
        if (hi < 0 || lo < 0) return 1;
        if (mask != nullptr) mask[fermionBytes + b] = (uint8_t)(16 * hi + lo);
        k += 2;
    }
    while (k < len && s[k] == ' ') k++;
    return k == len ? 0 : 1;
}

// A non-negative number at idx, truncated toward zero; 1 on success.
int ReadCount(lua_State* L, int idx, uint32_t* value) {
    if (!lua_isnumber(L, idx)) return 0;
    double v = lua_tonumber(L, idx);
    if (!(v >= 0.0) || v > 4294967295.0) return 0;
    *value = (uint32_t)v;
    return 1;
}

// Checks restriction entry number r (the value at the top of the stack) and,
// if mask is not null, fills the mask (nWord zeroed bytes) and the bounds.
// Raises on a malformed entry; the caller runs a checking pass with null
// pointers first, so the filling pass never raises.
void ReadEntry(lua_State* L, int r, uint32_t NF, uint32_t NB, uint8_t* mask, uint32_t* minOcc,
               uint32_t* maxOcc) {
    unsigned int nWord = DeterminantNWord(NF, NB);
    if (!lua_istable(L, -1) || lua_rawlen(L, -1) != 3) {
        luaL_error(L, "Error in restrictions, restriction %d is not of the form {Determinant,minocc,maxocc}\n", r);
    }
    lua_rawgeti(L, -1, 1);
    if (lua_type(L, -1) == LUA_TSTRING) {
        size_t len = 0;
        const char* s = lua_tolstring(L, -1, &len);
        if (ParseMaskString(s, len, NF, NB, mask) != 0) {
            luaL_error(L,
                       "Error in restrictions, determinant of restriction %d should be a string of %d times \"0\" "
                       "or \"1\" (NFermion) followed by %d two-digit hexadecimal numbers (NBoson)\n",
                       r, (int)NF, (int)NB);
        }
    } else if (lua_istable(L, -1)) {
        if (lua_rawlen(L, -1) != nWord) {
            luaL_error(L, "Error in restrictions, determinant of restriction %d should be a table of %d words\n", r,
                       (int)nWord);
        }
        for (unsigned int w = 0; w < nWord; w++) {
            lua_rawgeti(L, -1, (int)w + 1);
            uint32_t byte = 0;
            if (!ReadCount(L, -1, &byte) || byte > 255) {
                luaL_error(L, "Error in restrictions, word %d of the determinant of restriction %d should be a number "
                              "between 0 and 255\n",
                           (int)w + 1, r);
            }
            if (mask != nullptr) mask[w] = (uint8_t)byte;
            lua_pop(L, 1);
        }
    } else {
        luaL_error(L, "Error in restrictions, restriction %d is not of the form {Determinant,minocc,maxocc}\n", r);
    }
    lua_pop(L, 1);
    uint32_t lo = 0, hi = 0;
    lua_rawgeti(L, -1, 2);
    lua_rawgeti(L, -2, 3);
    if (!ReadCount(L, -2, &lo) || !ReadCount(L, -1, &hi)) {
        luaL_error(L, "Error in restrictions, minocc and maxocc of restriction %d should be non-negative numbers\n", r);
    }
    lua_pop(L, 2);
    if (minOcc != nullptr) *minOcc = lo;
    if (maxOcc != nullptr) *maxOcc = hi;
}

int AllocateRestriction(DeterminantRestrictionType* R, uint32_t n, unsigned int nWord) {
    R->NRestriction = n;
    R->MinOcc = (uint32_t*)malloc(n * sizeof(uint32_t));
    R->MaxOcc = (uint32_t*)malloc(n * sizeof(uint32_t));
    R->Mask = (uint8_t**)calloc(n, sizeof(uint8_t*));
    if (R->MinOcc == nullptr || R->MaxOcc == nullptr || R->Mask == nullptr) {
        R->NRestriction = 0;  // the mask list may be missing: free no masks
        FreeDeterminantRestriction(R);
        return 1;
    }
    for (uint32_t r = 0; r < n; r++) {
        R->Mask[r] = (uint8_t*)calloc(nWord > 0 ? nWord : 1, 1);
        if (R->Mask[r] == nullptr) {
            FreeDeterminantRestriction(R);
            return 1;
        }
    }
    return 0;
}

}  // namespace

int luaL_setarray_DeterminatRestrictionType(lua_State* L, int idx, DeterminantRestrictionType* R, uint32_t* NF,
                                            uint32_t* NB) {
    idx = lua_absindex(L, idx);
    luaL_checktype(L, idx, LUA_TTABLE);
    uint32_t nf = 0, nb = 0;
    lua_rawgeti(L, idx, 1);
    lua_rawgeti(L, idx, 2);
    if (!ReadCount(L, -2, &nf) || !ReadCount(L, -1, &nb)) {
        luaL_error(L, "Error in restrictions, the first two entries should be the number of fermions and the "
                      "number of bosons: {NFermion, NBoson, {Determinant,minocc,maxocc}, ...}\n");
    }
    lua_pop(L, 2);
    size_t len = lua_rawlen(L, idx);
    uint32_t n = len > 2 ? (uint32_t)(len - 2) : 0;
    unsigned int nWord = DeterminantNWord(nf, nb);

    // Check everything before allocating, so that a script error leaks nothing.
    for (uint32_t r = 0; r < n; r++) {
        lua_rawgeti(L, idx, (int)r + 3);
        ReadEntry(L, (int)r + 1, nf, nb, nullptr, nullptr, nullptr);
        lua_pop(L, 1);
    }

    InitDeterminantRestriction(R);
    if (n > 0 && AllocateRestriction(R, n, nWord) != 0) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        if (AllocateRestriction(R, n, nWord) != 0) {
            luaL_error(L, "Error in restrictions, out of memory while reading %d restrictions\n", (int)n);
        }
    }
    for (uint32_t r = 0; r < n; r++) {
        lua_rawgeti(L, idx, (int)r + 3);
        ReadEntry(L, (int)r + 1, nf, nb, R->Mask[r], &R->MinOcc[r], &R->MaxOcc[r]);
        lua_pop(L, 1);
    }
    if (NF != nullptr) *NF = nf;
    if (NB != nullptr) *NB = nb;
    return 0;
}
