// Readers that turn script values (numbers, strings, tables of them, complex
// numbers) into the C arrays and vectors the kernels work on.  Every failure
// is a script error with the stock argument-error text; nothing read before
// an error is rolled back.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "base/options.h"

namespace {

const char* const kComplexMetatable = "Complex_Type";

// An imaginary part counts only when it is larger than this fraction of its
// own real part (plus the smallest normal double, so that 0 + 0i is real).
const double kComplexRelativeCut = 2.220446049250313e-15;
const double kComplexAbsoluteCut = 2.2250738585072014e-307;

// The length of the table at idx through its __len, refused when negative or
// beyond what an array of the program can hold.
unsigned int CheckTableLength(lua_State* L, int idx) {
    luaL_checktype(L, idx, LUA_TTABLE);
    const int n = luaL_len(L, idx);
    if (n < 0 || n > (1 << 28))
        luaL_argerror(L, idx, lua_pushfstring(L, "table length %d out of range 0 to %d", n, 1 << 28));
    return (unsigned int)n;
}

void RaiseTableExpected(lua_State* L, int idx) {
    luaL_argerror(L, idx, lua_pushfstring(L, "table expected, got %s", luaL_typename(L, idx)));
}

bool IsNumberOrNumericString(lua_State* L, int idx) {
    int isnum = 0;
    lua_tonumberx(L, idx, &isnum);
    return isnum != 0;
}

// Frees a malloc'ed block when a script error unwinds past it, unless it
// was handed on with Release.
struct MallocGuard {
    void* p;
    ~MallocGuard() { free(p); }
    void* Release() {
        void* q = p;
        p = nullptr;
        return q;
    }
};

// Reads every element of the table at idx with read(L) (element on top of
// the stack, position -1) into a new array of T.
template <class T, class Read>
T* ReadArray(lua_State* L, int idx, unsigned int* n, const char* who, Read read) {
    idx = lua_absindex(L, idx);
    unsigned int len = CheckTableLength(L, idx);
    MallocGuard guard{LuaMallocOrCollect(L, sizeof(T) * len, who)};
    T* a = (T*)guard.p;
    for (unsigned int i = 0; i < len; i++) {
        lua_rawgeti(L, idx, (int)(i + 1));
        a[i] = read(L);
        lua_pop(L, 1);
    }
    *n = len;
    return (T*)guard.Release();
}

template <class T, class Read>
std::vector<T> ReadVector(lua_State* L, int idx, Read read) {
    idx = lua_absindex(L, idx);
    unsigned int len = CheckTableLength(L, idx);
    std::vector<T> v;
    v.reserve(len);
    for (unsigned int i = 0; i < len; i++) {
        lua_rawgeti(L, idx, (int)(i + 1));
        v.push_back(read(L));
        lua_pop(L, 1);
    }
    return v;
}

double ReadTopDouble(lua_State* L) { return luaL_checknumber(L, -1); }
int64_t ReadTopInteger(lua_State* L) { return luaL_checkinteger64(L, -1); }
const char* ReadTopString(lua_State* L) { return luaL_checkstring(L, -1); }

}  // namespace

int64_t luaL_checkinteger64(lua_State* L, int idx) {
    double x = luaL_checknumber(L, idx);
    if (std::isnan(x)) return 0;
    if (x >= 9223372036854775807.0) return INT64_MAX;
    if (x <= -9223372036854775808.0) return INT64_MIN;
    return (int64_t)x;
}

void* LuaMallocOrCollect(lua_State* L, size_t size, const char* who) {
    if (size == 0) size = 1;
    void* p = malloc(size);
    if (p == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        p = malloc(size);
    }
    if (p == nullptr) luaL_error(L, "Allocation failed in %s", who);
    return p;
}

uint8_t* luaL_checkarray_unit8_t(lua_State* L, int idx, unsigned int* n) {
    return ReadArray<uint8_t>(L, idx, n, "luaL_checkarray_unit8_t",
                              [](lua_State* S) { return (uint8_t)ReadTopInteger(S); });
}

uint16_t* luaL_checkarray_unit16_t(lua_State* L, int idx, unsigned int* n) {
    return ReadArray<uint16_t>(L, idx, n, "luaL_checkarray_unit16_t",
                               [](lua_State* S) { return (uint16_t)ReadTopInteger(S); });
}

uint32_t* luaL_checkarray_unit32_t(lua_State* L, int idx, unsigned int* n) {
    return ReadArray<uint32_t>(L, idx, n, "luaL_checkarray_unit32_t",
                               [](lua_State* S) { return (uint32_t)ReadTopInteger(S); });
}

double* luaL_checkarray_double(lua_State* L, int idx, unsigned int* n) {
    return ReadArray<double>(L, idx, n, "luaL_checkarray_double", ReadTopDouble);
}

Complex16* luaL_checkarray_complex16(lua_State* L, int idx, unsigned int* n) {
    return ReadArray<Complex16>(L, idx, n, "luaL_checkarray_complex16", [](lua_State* S) {
        const Complex16* z = (const Complex16*)luaL_testudata(S, -1, kComplexMetatable);
        if (z != nullptr) return *z;
        int isnum = 0;
        double x = lua_tonumberx(S, -1, &isnum);
        if (!isnum) luaL_error(S, "Error in reading complex table\n");
        return Complex16{x, 0.0};
    });
}

char** luaL_checkarray_string(lua_State* L, int idx, unsigned int* n) {
    return ReadArray<char*>(L, idx, n, "luaL_checkarray_string",
                            [](lua_State* S) { return (char*)ReadTopString(S); });
}

std::vector<double> luaL_checkarray_double(lua_State* L, int idx) {
    return ReadVector<double>(L, idx, ReadTopDouble);
}

std::vector<int> luaL_checkarray_int(lua_State* L, int idx) {
    return ReadVector<int>(L, idx, [](lua_State* S) { return (int)ReadTopInteger(S); });
}

std::vector<std::string> luaL_checkarray_string(lua_State* L, int idx) {
    return ReadVector<std::string>(L, idx, [](lua_State* S) {
        size_t len = 0;
        luaL_checklstring(S, -1, &len);
        return std::string(lua_tostring(S, -1), len);
    });
}

std::vector<int> luaL_checkvector_int(lua_State* L, int idx) {
    if (lua_type(L, idx) == LUA_TTABLE) return luaL_checkarray_int(L, idx);
    if (IsNumberOrNumericString(L, idx)) return std::vector<int>(1, (int)luaL_checkinteger64(L, idx));
    RaiseTableExpected(L, idx);
    return {};
}

std::vector<uint16_t> luaL_checkvector_unit16_t(lua_State* L, int idx) {
    if (lua_type(L, idx) != LUA_TTABLE) RaiseTableExpected(L, idx);
    return ReadVector<uint16_t>(L, idx, [](lua_State* S) { return (uint16_t)ReadTopInteger(S); });
}

std::vector<std::string> luaL_checkvector_string(lua_State* L, int idx) {
    if (lua_type(L, idx) == LUA_TTABLE) return luaL_checkarray_string(L, idx);
    if (lua_isstring(L, idx)) {
        size_t len = 0;
        const char* s = lua_tolstring(L, idx, &len);
        return std::vector<std::string>(1, std::string(s, len));
    }
    RaiseTableExpected(L, idx);
    return {};
}

std::vector<std::vector<double>> luaL_check2DArray_double(lua_State* L, int idx) {
    return ReadVector<std::vector<double>>(L, idx, [](lua_State* S) { return luaL_checkarray_double(S, -1); });
}

CompactVectorType luaL_checkVector(lua_State* L, int idx) {
    unsigned int n = 0;
    Complex16* z = luaL_checkarray_complex16(L, idx, &n);
    CompactVectorType v{n, 0, nullptr};
    if (n == 0) {
        free(z);
        return v;
    }
    for (unsigned int i = 0; i < n; i++) {
        if (fabs(z[i].im) > fabs(z[i].re) * kComplexRelativeCut + kComplexAbsoluteCut) {
            v.QComplex = 1;
            v.data = z;
            return v;
        }
    }
    double* re = (double*)malloc(sizeof(double) * n);
    if (re == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        re = (double*)malloc(sizeof(double) * n);
    }
    if (re == nullptr) {
        free(z);
        luaL_error(L, "Allocation failed in %s", "luaL_checkVector");
    }
    for (unsigned int i = 0; i < n; i++) re[i] = z[i].re;
    free(z);
    v.data = re;
    return v;
}

void FreeCompactVector(CompactVectorType* v) {
    free(v->data);
    v->data = nullptr;
    v->NElem = 0;
    v->QComplex = 0;
}
