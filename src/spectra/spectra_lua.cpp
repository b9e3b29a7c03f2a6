#include "base/released.h"
#include "spectra/spectra_lua.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/complex_lua.h"
#include "base/currentudata.h"
#include "base/options.h"
#include "base/register_base.h"
#include "base/verbosity.h"
#include "manybody/operator_lua.h"
#include "manybody/wavefunction_lua.h"

namespace {

// An array under construction: freed unless handed to a userdata.
struct Owned {
    SpectraType* S = nullptr;
    uint32_t n = 0;
    ~Owned() { FreeSpectraArray(S, n); }
    void Push(lua_State* L) {
        LuaPushSpectra(L, S, n);
        S = nullptr;
        n = 0;
    }
};

SpectraType* NewArray(lua_State* L, uint32_t n) {
    SpectraType* S = (SpectraType*)calloc(n == 0 ? 1 : n, sizeof(SpectraType));
    if (S == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        S = (SpectraType*)calloc(n == 0 ? 1 : n, sizeof(SpectraType));
    }
    if (S == nullptr) luaL_error(L, "Error: not enough memory to allocate new spectra\n");
    return S;
}

// A deep copy of the object's spectra, owned by the caller.
void CopyAll(lua_State* L, const SpectraTypeArray& A, Owned* out) {
    out->S = NewArray(L, A.N);
    for (uint32_t i = 0; i < A.N; i++) {
        if (CopySpectra(A.S[i], &out->S[i]) != 0) luaL_error(L, "Error: not enough memory to allocate new spectra\n");
        out->n = i + 1;
    }
}

// ---- metamethods ----------------------------------------------------------------

int LuaSpectraDestroy(lua_State* L) {
    SpectraTypeArray* A = (SpectraTypeArray*)luaL_checkudata(L, 1, SPECTRA_TYPE_NAME);
    FreeSpectraArray(A->S, A->N);
    A->S = nullptr;
    A->N = 0;
    LuaMarkReleased(L, 1);
    return 0;
}

int LuaSpectraToString(lua_State* L) {
    SpectraTypeArray* A = luaL_checkSpectra(L, 1);
    char* text = nullptr;
    if (StringPrintSpectra(A->S, A->N, &text) != 0) return luaL_error(L, "Error: not enough memory to print spectra\n");
    lua_pushstring(L, text);
    free(text);
    return 1;
}

// The word of an operand that is not a spectra object, for the messages.
const char* RightNoun(lua_State* L, int idx) {
    switch (lua_type(L, idx)) {
        case LUA_TNIL:
            return "nil";
        case LUA_TBOOLEAN:
            return "boolean";
        case LUA_TLIGHTUSERDATA:
            return "lightuserdata";
        case LUA_TSTRING:
            return "string";
        case LUA_TUSERDATA:
            if (LuaKindOperator(L, idx)) return "operator";
            if (LuaKindWavefunction(L, idx)) return "wavefunction";
            return "unrecognized userdata";
        default:
            return "unrecognized type";
    }
}

const char* LeftNoun(lua_State* L, int idx) {
    switch (lua_type(L, idx)) {
        case LUA_TNIL:
            return "nil";
        case LUA_TBOOLEAN:
            return "boolean";
        case LUA_TLIGHTUSERDATA:
            return "lightuserdata";
        case LUA_TSTRING:
            return "character string";
        default:
            return "unrecognized type";
    }
}

enum SpectraOp { OpAdd, OpSub, OpMul, OpDiv, OpPow };
const char* const kOpWord[] = {"plus", "minus", "times", "divided by", "to the power"};

Complex16 CMul(Complex16 a, Complex16 b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }
Complex16 CDiv(Complex16 a, Complex16 b) {
    const double d = b.re * b.re + b.im * b.im;
    return {(a.re * b.re + a.im * b.im) / d, (a.im * b.re - a.re * b.im) / d};
}
Complex16 CPow(Complex16 a, Complex16 b) {
    if (a.re == 0.0 && a.im == 0.0) return {b.re == 0.0 && b.im == 0.0 ? 1.0 : 0.0, 0.0};
    const double lr = std::log(std::hypot(a.re, a.im)), th = std::atan2(a.im, a.re);
    const double mr = std::exp(b.re * lr - b.im * th), ph = b.im * lr + b.re * th;
    return {mr * std::cos(ph), mr * std::sin(ph)};
}

// Every point: value := f(value, z) (spectra on the left) or f(z, value).
void PointwiseScalar(SpectraType* S, Complex16 z, SpectraOp op, bool spectraLeft) {
    for (uint32_t k = 0; k <= S->NE; k++) {
        const Complex16 v{S->Re[k], S->Im[k]};
        const Complex16 x = spectraLeft ? v : z, y = spectraLeft ? z : v;
        Complex16 r;
        switch (op) {
            case OpAdd:
                r = {x.re + y.re, x.im + y.im};
                break;
            case OpSub:
                r = {x.re - y.re, x.im - y.im};
                break;
            case OpMul:
                r = CMul(x, y);
                break;
            case OpDiv:
                r = CDiv(x, y);
                break;
            default:
                r = CPow(x, y);
                break;
        }
        S->Re[k] = r.re;
        S->Im[k] = r.im;
    }
}

int ScalarOperation(lua_State* L, const SpectraTypeArray& A, Complex16 z, SpectraOp op, bool spectraLeft) {
    if (op == OpPow && !spectraLeft) return luaL_error(L, "Error: number to the power spectrum\n");
    if (op == OpDiv && spectraLeft && z.re == 0.0 && z.im == 0.0)
        return luaL_error(L, "Error: spectra divided by zero\n");
    Owned out;
    CopyAll(L, A, &out);
    for (uint32_t i = 0; i < out.n; i++) {
        if (op == OpMul)
            SpectraScalarMultiply(&out.S[i], z.re, z.im);
        else if (op == OpAdd)
            SpectraScalarAdd(&out.S[i], z.re, z.im);
        else
            PointwiseScalar(&out.S[i], z, op, spectraLeft);
    }
    out.Push(L);
    return 1;
}

int PairOperation(lua_State* L, const SpectraTypeArray& A, const SpectraTypeArray& B, SpectraOp op) {
    if (op == OpPow) return luaL_error(L, "Error: spectra to the power spectra\n");
    if (A.N != B.N) {
        if (op == OpMul)
            return luaL_error(L, "Error: Multiplying to sets of spectra with different number of elements (%d) + (%d)\n",
                              (int)A.N, (int)B.N);
        if (op == OpDiv)
            return luaL_error(L, "Error: Dividing to sets of spectra with different number of elements (%d) + (%d)\n",
                              (int)A.N, (int)B.N);
        return luaL_error(L, "Error: Adding two sets of spectra with different number of elements (%d) + (%d)\n",
                          (int)A.N, (int)B.N);
    }
    Owned out;
    CopyAll(L, A, &out);
    for (uint32_t i = 0; i < A.N; i++) {
        SpectraType& s = out.S[i];
        const SpectraType& b = B.S[i];
        if (op == OpAdd || op == OpSub) {
            if (AddMultipliedSpectra(&s, b, op == OpAdd ? 1.0 : -1.0, 0.0) != 0)
                return luaL_error(L, "Mix Spectra failed A.N=%d B.N=%d\n", (int)s.NE, (int)b.NE);
            continue;
        }
        if (s.NE != b.NE || s.Emin != b.Emin || s.Emax != b.Emax)
            return luaL_error(L,
                              op == OpMul ? "Still to do: multiply two spectra with different energy ranges, spectra %d\n"
                                          : "Still to do: divide two spectra with different energy ranges, spectra %d\n",
                              (int)i);
        for (uint32_t k = 0; k <= s.NE; k++) {
            const Complex16 x{s.Re[k], s.Im[k]}, y{b.Re[k], b.Im[k]};
            const Complex16 r = op == OpMul ? CMul(x, y) : CDiv(x, y);
            s.Re[k] = r.re;
            s.Im[k] = r.im;
        }
    }
    out.Push(L);
    return 1;
}

int BinaryOperation(lua_State* L, SpectraOp op) {
    SpectraTypeArray* A = luaL_testSpectra(L, 1);
    SpectraTypeArray* B = luaL_testSpectra(L, 2);
    if (A != nullptr && B != nullptr) return PairOperation(L, *A, *B, op);
    Complex16 z;
    if (A != nullptr) {
        if (LuaToComplex16(L, 2, &z) && lua_type(L, 2) != LUA_TSTRING) return ScalarOperation(L, *A, z, op, true);
        return luaL_error(L, "Error: spectra %s %s\n", kOpWord[op], RightNoun(L, 2));
    }
    if (LuaToComplex16(L, 1, &z) && lua_type(L, 1) != LUA_TSTRING) return ScalarOperation(L, *B, z, op, false);
    return luaL_error(L, "Error: %s %s spectrum\n", LeftNoun(L, 1), kOpWord[op]);
}

int LuaSpectraAdd(lua_State* L) { return BinaryOperation(L, OpAdd); }
int LuaSpectraSub(lua_State* L) { return BinaryOperation(L, OpSub); }
int LuaSpectraMul(lua_State* L) { return BinaryOperation(L, OpMul); }
int LuaSpectraDiv(lua_State* L) { return BinaryOperation(L, OpDiv); }
int LuaSpectraPow(lua_State* L) { return BinaryOperation(L, OpPow); }
int LuaSpectraUnm(lua_State* L) {
    SpectraTypeArray* A = luaL_checkSpectra(L, 1);
    return ScalarOperation(L, *A, Complex16{-1.0, 0.0}, OpMul, true);
}

// The complex number on the left, spectra on the right.
void ComplexOpSpectra(lua_State* L, Complex16 z, int idx, SpectraOp op) {
    SpectraTypeArray* A = luaL_checkSpectra(L, idx);
    ScalarOperation(L, *A, z, op, false);
}
void ComplexPlusSpectra(lua_State* L, Complex16 z, int idx) { ComplexOpSpectra(L, z, idx, OpAdd); }
void ComplexMinusSpectra(lua_State* L, Complex16 z, int idx) { ComplexOpSpectra(L, z, idx, OpSub); }
void ComplexTimesSpectra(lua_State* L, Complex16 z, int idx) { ComplexOpSpectra(L, z, idx, OpMul); }
void ComplexDividedBySpectra(lua_State* L, Complex16 z, int idx) { ComplexOpSpectra(L, z, idx, OpDiv); }
void ComplexPowerSpectra(lua_State* L, Complex16 z, int idx) { ComplexOpSpectra(L, z, idx, OpPow); }

// ---- library functions ---------------------------------------------------------

// A number FWHM, or a table of pairs {energy, fwhm} into `table`.
bool ReadWidth(lua_State* L, int idx, double* fwhm, std::vector<double>* table, const char* kind, int position) {
    if (lua_type(L, idx) == LUA_TNUMBER) {
        *fwhm = lua_tonumber(L, idx);
        return true;
    }
    if (!lua_istable(L, idx)) return false;
    const int n = (int)lua_rawlen(L, idx);
    for (int i = 1; i <= n; i++) {
        lua_rawgeti(L, idx, i);
        bool ok = lua_istable(L, -1) && lua_rawlen(L, -1) == 2;
        if (ok) {
            lua_rawgeti(L, -1, 1);
            lua_rawgeti(L, -2, 2);
            ok = lua_type(L, -2) == LUA_TNUMBER && lua_type(L, -1) == LUA_TNUMBER;
            if (ok) {
                table->push_back(lua_tonumber(L, -2));
                table->push_back(lua_tonumber(L, -1));
            }
            lua_pop(L, 2);
        }
        lua_pop(L, 1);
        if (!ok)
            luaL_error(L,
                       "List of variable %s broadening at position %d should be of the form {{Energy_1, FWHM_1},...} "
                       "with Energy and FWHM of type real",
                       kind, position);
    }
    return true;
}

// Broaden with the spectra at `first` and the widths after it; method form
// counts the arguments from the widths.
int Broaden(lua_State* L, const SpectraTypeArray& A, int g, bool method) {
    double gauss = 0.0, lorentz = 0.0;
    std::vector<double> gtable, ltable;
    if (!ReadWidth(L, g, &gauss, &gtable, "Gaussian", method ? 1 : 2))
        return luaL_error(L, method ? "Error Spectra.Broaden 1-st argument should be either a number defining the "
                                      "Gaussian FWHM,\nor a table of the form {{Energy_1, FWHM_1},...}\n"
                                    : "Error Spectra.Broaden 2-nd argument should be either a number defining the "
                                      "Gaussian FWHM,\nor a table of the form {{Energy_1, FWHM_1},...}\n");
    if (!ReadWidth(L, g + 1, &lorentz, &ltable, "Lorenzian", method ? 2 : 3))
        return luaL_error(L, method ? "Error Spectra.Broaden 2-nd argument should be either a number defining the "
                                      "Lorenzian FWHM,\nor a table of the form {{Energy_1, FWHM_1},...}\n"
                                    : "Error Spectra.Broaden 3-rd argument should be either a number defining the "
                                      "Lorenzian FWHM,\nor a table of the form {{Energy_1, FWHM_1},...}\n");
    Owned out;
    CopyAll(L, A, &out);
    for (uint32_t i = 0; i < out.n; i++) {
        SpectraType* s = &out.S[i];
        int fail = 0;
        if (!gtable.empty())
            fail |= BroadenGvar(s, gtable.data(), (uint32_t)gtable.size() / 2);
        else if (gauss != 0.0)
            fail |= BroadenG(s, gauss);
        if (!ltable.empty())
            fail |= BroadenLvar(s, ltable.data(), (uint32_t)ltable.size() / 2);
        else if (lorentz != 0.0)
            fail |= BroadenL(s, lorentz);
        if (fail) return luaL_error(L, "Fatal out of memory, intermediate allocation failed\n");
    }
    out.Push(L);
    return 1;
}

int LuaSpectraBroaden(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 3) return luaL_error(L, "Error Spectra.Broaden called with %d arguments, 3 arguments expected\n", n);
    SpectraTypeArray* A = luaL_testSpectra(L, 1);
    if (A == nullptr) return luaL_error(L, "Error Spectra.Broaden first element should be of spectra type\n");
    return Broaden(L, *A, 2, false);
}

int LuaSpectraCopy(lua_State* L) {
    SpectraTypeArray* A = luaL_checkSpectra(L, 1);
    Owned out;
    CopyAll(L, *A, &out);
    out.Push(L);
    return 1;
}

const char* ElementNoun(lua_State* L, int idx) {
    switch (lua_type(L, idx)) {
        case LUA_TNIL:
            return "nill";
        case LUA_TBOOLEAN:
            return "boolean";
        case LUA_TLIGHTUSERDATA:
            return "lightuserdata";
        case LUA_TSTRING:
            return "string";
        default:
            if (luaL_testComplex16(L, idx) != nullptr) return "complex valued number";
            if (LuaKindOperator(L, idx)) return "operator";
            if (LuaKindWavefunction(L, idx)) return "wavefunction";
            if (luaL_testSpectra(L, idx) != nullptr) return "spectrum";
            return "unrecognized";
    }
}

int ElementOf(lua_State* L, const SpectraTypeArray& A, int idx) {
    std::vector<int64_t> which;
    if (lua_type(L, idx) == LUA_TNUMBER) {
        which.push_back((int64_t)lua_tonumber(L, idx));
    } else if (lua_istable(L, idx)) {
        const int n = (int)lua_rawlen(L, idx);
        for (int i = 1; i <= n; i++) {
            lua_rawgeti(L, idx, i);
            if (lua_type(L, -1) != LUA_TNUMBER)
                luaL_error(L, "Error: can not find %s element in spectrum, expected a number or list of numbers\n",
                           ElementNoun(L, -1));
            which.push_back((int64_t)lua_tonumber(L, -1));
            lua_pop(L, 1);
        }
    } else {
        return luaL_error(L, "Error: can not find %s element in spectrum, expected a number or list of numbers\n",
                          ElementNoun(L, idx));
    }
    for (int64_t i : which)
        if (i < 1 || i > (int64_t)A.N) return luaL_error(L, "Error: no element %d in %d", (int)i, (int)A.N);
    Owned out;
    out.S = NewArray(L, (uint32_t)which.size());
    for (size_t k = 0; k < which.size(); k++) {
        if (CopySpectra(A.S[which[k] - 1], &out.S[k]) != 0)
            return luaL_error(L, "Error: not enough memory to allocate new spectra\n");
        out.n = (uint32_t)k + 1;
    }
    out.Push(L);
    return 1;
}

int LuaSpectraElement(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 2) return luaL_error(L, "Error Spectra.Element called with %d arguments, 2 arguments expected\n", n);
    SpectraTypeArray* A = luaL_testSpectra(L, 1);
    if (A == nullptr) return luaL_error(L, "Error Spectra.Element first argument should be of spectra type\n");
    return ElementOf(L, *A, 2);
}

int LuaSpectraMultiplyByEnergy(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 1)
        return luaL_error(L, "Error Spectra.MultiplyByEnergy called with %d arguments, 1 argument expected\n", n);
    SpectraTypeArray* A = luaL_testSpectra(L, 1);
    if (A == nullptr) return luaL_error(L, "Error Spectra.MultiplyByEnergy first element should be of spectra type\n");
    Owned out;
    CopyAll(L, *A, &out);
    for (uint32_t i = 0; i < out.n; i++) SpectraMultiplyByEnergy(&out.S[i]);
    out.Push(L);
    return 1;
}

int LuaSpectraShift(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 2) return luaL_error(L, "Error Spectra.Shift called with %d arguments, 2 arguments expected\n", n);
    SpectraTypeArray* A = luaL_testSpectra(L, 1);
    if (A == nullptr) return luaL_error(L, "Error Spectra.Shift first element should be of spectra type\n");
    std::vector<double> d;
    if (lua_type(L, 2) == LUA_TNUMBER) {
        d.assign(A->N, lua_tonumber(L, 2));
    } else if (lua_istable(L, 2)) {
        const int m = (int)lua_rawlen(L, 2);
        if ((uint32_t)m != A->N)
            return luaL_error(L, "Error Spectra.Shift Table with shifts is of length %d, but there are %d spectra\n", m,
                              (int)A->N);
        for (int i = 1; i <= m; i++) {
            lua_rawgeti(L, 2, i);
            if (lua_type(L, -1) != LUA_TNUMBER)
                return luaL_error(L, "Error Spectra.Shift second argument should be a number or a table of numbers\n");
            d.push_back(lua_tonumber(L, -1));
            lua_pop(L, 1);
        }
    } else {
        return luaL_error(L, "Error Spectra.Shift second argument should be a number or a table of numbers\n");
    }
    Owned out;
    CopyAll(L, *A, &out);
    for (uint32_t i = 0; i < out.n; i++) SpectraShift(&out.S[i], d[i]);
    out.Push(L);
    return 1;
}

int LuaSpectraSum(lua_State* L) {
    const int n = lua_gettop(L);
    if (n < 2) return luaL_error(L, "Error Spectra.Sum called with %d arguments, 2 or more arguments expected\n", n);
    SpectraTypeArray* A = luaL_testSpectra(L, 1);
    if (A == nullptr) return luaL_error(L, "Error Spectra.Sum first element should be of spectra type\n");
    std::vector<std::vector<Complex16>> weights;
    for (int j = 2; j <= n; j++) {
        std::vector<Complex16> w;
        Complex16 z;
        if (A->N == 1 && lua_type(L, j) != LUA_TTABLE && LuaToComplex16(L, j, &z)) {
            w.push_back(z);
        } else {
            if (!lua_istable(L, j))
                return luaL_error(L, "Error in Spectra.Sum(Spectra,arg_1,arg_2,...) arg_%d should be a table\n", j - 1);
            if (lua_rawlen(L, j) != A->N)
                return luaL_error(L, "Error in Spectra.Sum(Spectra,arg_1,arg_2,...) arg_%d should be a table of length %d\n",
                                  j - 1, (int)A->N);
            for (uint32_t i = 1; i <= A->N; i++) {
                lua_rawgeti(L, j, (int)i);
                if (lua_type(L, -1) == LUA_TSTRING || !LuaToComplex16(L, -1, &z))
                    return luaL_error(L,
                                      "Error in Spectra.Sum(Spectra,arg_1,arg_2,...) elemnt %d in arg_%d should be a real "
                                      "or complex number\n",
                                      (int)i, j - 1);
                w.push_back(z);
                lua_pop(L, 1);
            }
        }
        weights.push_back(w);
    }
    Owned out;
    out.S = NewArray(L, (uint32_t)weights.size());
    for (size_t j = 0; j < weights.size(); j++) {
        if (A->N == 0 || SpectrumAllocate(A->S[0], &out.S[j]) != 0)
            return luaL_error(L, "Error: not enough memory to allocate new spectra\n");
        out.n = (uint32_t)j + 1;
        out.S[j].Moment = out.S[j].Integral = 0.0;
        snprintf(out.S[j].Name, sizeof out.S[j].Name, "Spectrum %i", (int)j);
        for (uint32_t i = 0; i < A->N; i++)
            if (SafeAddMultipliedSpectra(&out.S[j], A->S[i], weights[j][i].re, weights[j][i].im) != 0)
                return luaL_error(L, "Error in Spectra.Sum: the spectra have different energy grids\n");
    }
    out.Push(L);
    return 1;
}

int LuaSpectraToTable(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 1) return luaL_error(L, "Error Spectra.ToTable called with %d arguments, 1 argument expected\n", n);
    SpectraTypeArray* A = luaL_testSpectra(L, 1);
    if (A == nullptr) return luaL_error(L, "Error Spectra.ToTable first element should be of spectra type\n");
    LuaPushTable_SpectraTypeArray(L, A->S, A->N);
    return 1;
}

// An optional number field of spectrum i at the table on top.
void ReadNumberField(lua_State* L, const char* field, int i, double* value) {
    lua_getfield(L, -1, field);
    if (!lua_isnil(L, -1)) {
        if (lua_type(L, -1) != LUA_TNUMBER)
            luaL_error(L, "Error Spectra.FromTable \"%s\" of spectrum %d should be a number\n", field, i);
        *value = lua_tonumber(L, -1);
    }
    lua_pop(L, 1);
}

int LuaSpectraFromTable(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 1 || !lua_istable(L, 1))
        return luaL_error(L, "Error Spectra.FromTable called with %d arguments, 1 argument (a table) expected\n", n);
    const uint32_t count = (uint32_t)lua_rawlen(L, 1);
    Owned out;
    out.S = NewArray(L, count);
    for (uint32_t i = 1; i <= count; i++) {
        lua_rawgeti(L, 1, (int)i);
        if (!lua_istable(L, -1))
            return luaL_error(L, "Error Spectra.FromTable the %d-th spectrum is not a table\n", (int)i);
        const uint32_t points = (uint32_t)lua_rawlen(L, -1);
        if (points == 0) return luaL_error(L, "Error Spectra.FromTable the %d-th spectrum has no elements\n", (int)i);
        std::vector<double> e, re, im;
        for (uint32_t k = 1; k <= points; k++) {
            lua_rawgeti(L, -1, (int)k);
            Complex16 z;
            bool ok = lua_istable(L, -1) && lua_rawlen(L, -1) >= 2;
            if (ok) {
                lua_rawgeti(L, -1, 1);
                lua_rawgeti(L, -2, 2);
                ok = lua_type(L, -2) == LUA_TNUMBER && lua_type(L, -1) != LUA_TSTRING && LuaToComplex16(L, -1, &z);
                if (ok) {
                    e.push_back(lua_tonumber(L, -2));
                    re.push_back(z.re);
                    im.push_back(z.im);
                }
                lua_pop(L, 2);
            }
            lua_pop(L, 1);
            if (!ok)
                return luaL_error(L,
                                  "Error Spectra.FromTable the %d-th spectrum should be a table of elements consisting "
                                  "of {energy,Intensity}\n",
                                  (int)i);
        }
        SpectraType head;
        InitSpectrumHeader(&head);
        head.NE = points - 1;
        head.Emin = e.front();
        head.Emax = e.back();
        head.dE = points > 1 ? (head.Emax - head.Emin) / head.NE : 0.0;
        for (uint32_t k = 1; k + 1 < points; k++)
            if (std::fabs(e[k] - (head.Emin + k * head.dE)) > 1e-8 * (std::fabs(head.dE) + std::fabs(e[k])))
                return luaL_error(L,
                                  "Error Spectra.FromTable the %d-th spectrum should be a table of elements consisting "
                                  "of {energy,Intensity}\n",
                                  (int)i);
        lua_getfield(L, -1, "Name");
        if (!lua_isnil(L, -1)) {
            if (lua_type(L, -1) != LUA_TSTRING)
                return luaL_error(L, "Error Spectra.FromTable \"Name\" of spectrum %d should be a string\n", (int)i);
            snprintf(head.Name, sizeof head.Name, "%s", lua_tostring(L, -1));
        }
        lua_pop(L, 1);
        ReadNumberField(L, "EminPole", (int)i, &head.EminPole);
        ReadNumberField(L, "EmaxPole", (int)i, &head.EmaxPole);
        ReadNumberField(L, "Gamma", (int)i, &head.Gamma);
        ReadNumberField(L, "Integral", (int)i, &head.Integral);
        ReadNumberField(L, "ResonantEnergy", (int)i, &head.ResonantEnergy);
        lua_pop(L, 1);
        if (SpectrumAllocate(head, &out.S[i - 1]) != 0)
            return luaL_error(L, "Error: not enough memory to allocate new spectra\n");
        out.n = i;
        memcpy(out.S[i - 1].Re, re.data(), points * sizeof(double));
        memcpy(out.S[i - 1].Im, im.data(), points * sizeof(double));
    }
    out.Push(L);
    return 1;
}

// ---- methods on the current object ---------------------------------------------

SpectraTypeArray* Current(lua_State* L, const char* method) {
    return (SpectraTypeArray*)LuaCheckCurrentUdata(L, SPECTRA_TYPE_NAME, method, "a spectrum");
}

int MethodBroaden(lua_State* L) {
    SpectraTypeArray* A = Current(L, "Broaden");
    const int n = lua_gettop(L);
    if (n != 2) return luaL_error(L, "Error Spectra.Broaden called with %d arguments, 2 arguments expected\n", n);
    return Broaden(L, *A, 1, true);
}

// The library function with the current object put in front of the
// arguments.
int CallWithCurrent(lua_State* L, const char* method, lua_CFunction f) {
    Current(L, method);
    LuaPushCurrentUdata(L);
    lua_insert(L, 1);
    return f(L);
}

int MethodElement(lua_State* L) { return CallWithCurrent(L, "Element", LuaSpectraElement); }
int MethodSum(lua_State* L) { return CallWithCurrent(L, "Sum", LuaSpectraSum); }
int MethodShift(lua_State* L) { return CallWithCurrent(L, "Shift", LuaSpectraShift); }
int MethodMultiplyByEnergy(lua_State* L) { return CallWithCurrent(L, "MultiplyByEnergy", LuaSpectraMultiplyByEnergy); }

int MethodPrint(lua_State* L) {
    SpectraTypeArray* A = Current(L, "Print");
    const int n = lua_gettop(L);
    if (n > 1) return luaL_error(L, "Error in .Print(arg) caled with %d arguments 0 or 1 expected\n", n);
    const char* file = nullptr;
    if (n == 1) {
        LuaOptionsType options[] = {{"file", "char*", &file}, {nullptr, nullptr, nullptr}};
        LuaCheckOptions(L, 1, options);
    }
    if (file == nullptr) {
        StreamPrintSpectra(A->S, A->N, stdout);
        fflush(stdout);
        return 0;
    }
    if (FilePrintSpectra(A->S, A->N, file, "w") != 0) return luaL_error(L, "ERROR\nCan't open %s for writing with mode w.\n", file);
    VerbosityPrintf(0x1, "Spectra printed to file: %s\n", file);
    return 0;
}

int LuaSpectraIndex(lua_State* L) {
    SpectraTypeArray* A = luaL_checkSpectra(L, 1);
    const char* key = luaL_checkstring(L, 2);
    struct Field {
        const char* name;
        double SpectraType::*member;
    };
    static const Field fields[] = {
        {"dE", &SpectraType::dE},         {"Emin", &SpectraType::Emin},
        {"Emax", &SpectraType::Emax},     {"EminPole", &SpectraType::EminPole},
        {"EmaxPole", &SpectraType::EmaxPole}, {"Gamma", &SpectraType::Gamma},
        {"Integral", &SpectraType::Integral}, {"ResonantEnergy", &SpectraType::ResonantEnergy},
    };
    for (const Field& f : fields) {
        if (strcmp(key, f.name) != 0) continue;
        lua_createtable(L, (int)A->N, 0);
        for (uint32_t i = 0; i < A->N; i++) {
            lua_pushnumber(L, A->S[i].*(f.member));
            lua_rawseti(L, -2, (int)i + 1);
        }
        return 1;
    }
    if (strcmp(key, "NE") == 0 || strcmp(key, "Name") == 0) {
        lua_createtable(L, (int)A->N, 0);
        for (uint32_t i = 0; i < A->N; i++) {
            if (key[1] == 'E')
                lua_pushnumber(L, A->S[i].NE);
            else
                lua_pushstring(L, A->S[i].Name);
            lua_rawseti(L, -2, (int)i + 1);
        }
        return 1;
    }
    struct Method {
        const char* name;
        lua_CFunction f;
    };
    static const Method methods[] = {
        {"Broaden", MethodBroaden}, {"Element", MethodElement},
        {"Sum", MethodSum},         {"Shift", MethodShift},
        {"Print", MethodPrint},     {"MultiplyByEnergy", MethodMultiplyByEnergy},
    };
    for (const Method& m : methods) {
        if (strcmp(key, m.name) != 0) continue;
        if (m.f == MethodElement) printf("WARNING: G.Element is deprecated. Please use Spectra.Element instead\n");
        if (m.f == MethodSum) printf("WARNING: G.Sum is deprecated. Please use Spectra.Sum instead\n");
        LuaSetCurrentUdata(L, 1, SPECTRA_TYPE_NAME);
        lua_pushcfunction(L, m.f);
        return 1;
    }
    return luaL_error(L, "Error operation \".%s()\" not defined on spectra\n", key);
}

}  // namespace

SpectraTypeArray* luaL_testSpectra(lua_State* L, int idx) {
    return (SpectraTypeArray*)luaL_testudata(L, idx, SPECTRA_TYPE_NAME);
}

SpectraTypeArray* luaL_checkSpectra(lua_State* L, int idx) {
    return (SpectraTypeArray*)luaL_checkudata(L, idx, SPECTRA_TYPE_NAME);
}

void LuaPushSpectra(lua_State* L, SpectraType* S, uint32_t n) {
    SpectraTypeArray* A = (SpectraTypeArray*)lua_newuserdata(L, sizeof(SpectraTypeArray));
    A->N = n;
    A->S = S;
    luaL_setmetatable(L, SPECTRA_TYPE_NAME);
}

void LuaPushTable_SpectraTypeArray(lua_State* L, const SpectraType* S, uint32_t n) {
    lua_createtable(L, (int)n, 0);
    for (uint32_t i = 0; i < n; i++) {
        const SpectraType& s = S[i];
        lua_createtable(L, (int)s.NE + 1, 6);
        lua_pushstring(L, s.Name);
        lua_setfield(L, -2, "Name");
        const std::pair<const char*, double> numbers[] = {{"EminPole", s.EminPole}, {"EmaxPole", s.EmaxPole},
                                                          {"Gamma", s.Gamma},       {"Integral", s.Integral},
                                                          {"ResonantEnergy", s.ResonantEnergy}};
        for (auto& f : numbers) {
            lua_pushnumber(L, f.second);
            lua_setfield(L, -2, f.first);
        }
        for (uint32_t k = 0; k <= s.NE; k++) {
            lua_createtable(L, 2, 0);
            lua_pushnumber(L, SpectrumEnergy(s, k));
            lua_rawseti(L, -2, 1);
            LuaPushComplex16(L, Complex16{s.Re[k], s.Im[k]});
            lua_rawseti(L, -2, 2);
            lua_rawseti(L, -2, (int)k + 1);
        }
        lua_rawseti(L, -2, (int)i + 1);
    }
}

void LuaRegisterSpectraType(lua_State* L) {
    static const luaL_Reg meta[] = {
        {"__gc", LuaSpectraDestroy}, {"__index", LuaSpectraIndex}, {"__tostring", LuaSpectraToString},
        {"__add", LuaSpectraAdd},    {"__sub", LuaSpectraSub},     {"__mul", LuaSpectraMul},
        {"__div", LuaSpectraDiv},    {"__pow", LuaSpectraPow},     {"__unm", LuaSpectraUnm},
        {nullptr, nullptr},
    };
    luaL_newmetatable(L, SPECTRA_TYPE_NAME);
    luaL_setfuncs(L, meta, 0);
    lua_pop(L, 1);
    static const luaL_Reg library[] = {
        {"Broaden", LuaSpectraBroaden},
        {"Copy", LuaSpectraCopy},
        {"Clone", LuaSpectraCopy},
        {"Element", LuaSpectraElement},
        {"MultiplyByEnergy", LuaSpectraMultiplyByEnergy},
        {"Shift", LuaSpectraShift},
        {"Sum", LuaSpectraSum},
        {"ToTable", LuaSpectraToTable},
        {"FromTable", LuaSpectraFromTable},
        {"ToUserdata", LuaSpectraFromTable},
        {nullptr, nullptr},
    };
    luaL_newlib(L, library);
    lua_setglobal(L, "Spectra");
    static const ComplexOperandRow row = {
        SPECTRA_TYPE_NAME,
        ComplexOperandUserdata,
        "spectrum",
        {ComplexPlusSpectra, ComplexMinusSpectra, ComplexTimesSpectra, ComplexDividedBySpectra, ComplexPowerSpectra},
    };
    ComplexSetOperandRow(row);
}
