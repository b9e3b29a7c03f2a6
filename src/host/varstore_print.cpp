// LuaASCIIStreamPrint: the script text of a value, such that running
// "name = <text>" gives the value back.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "base/complex_lua.h"
#include "host/varstore.h"
#include "manybody/operator.h"
#include "manybody/wavefunction.h"
#include "numeric/matrix_lua.h"
#include "spectra/spectra_lua.h"

namespace {

// The parser reads nested table constructors only to about 200 levels; a
// deeper table would be written but could not be read back.
const int kMaxTableDepth = 150;

struct WriteState {
    FILE* out;
    int visiting;  // stack index of the set of tables being written
    int failed;    // a writer of an object reported a failed write
};

void WriteValue(lua_State* L, int idx, WriteState& w, int depth);

void WriteNumber(double x, FILE* out) {
    char buf[VariableStoreNumberTextSize];
    VariableStoreNumberText(x, buf);
    fputs(buf, out);
}

// re + I * im and re - I * |im| compute back to the same bits for finite
// parts (I * x is (0, x), and re + 0 is re) except for a real part of -0,
// which the sum turns into +0; those and non-finite parts go through
// Complex.New.
void WriteComplex(Complex16 z, FILE* out) {
    if (!std::isfinite(z.re) || !std::isfinite(z.im) || (z.re == 0.0 && std::signbit(z.re))) {
        fputs("Complex.New(", out);
        WriteNumber(z.re, out);
        fputs(", ", out);
        WriteNumber(z.im, out);
        fputs(")", out);
        return;
    }
    WriteNumber(z.re, out);
    fputs(std::signbit(z.im) ? " - I * " : " + I * ", out);
    WriteNumber(std::fabs(z.im), out);
}

// Rows of a Matrix_Type userdata in the layout of a printed table of rows.
void WriteMatrixUserdata(const CompactMatrixType& M, FILE* out) {
    fputs("Matrix.ToUserdata({ ", out);
    for (uint32_t i = 0; i < M.Ni; i++) {
        if (i > 0) fputs("\n  ", out);
        fputs("{ ", out);
        for (uint32_t j = 0; j < M.Nj; j++) {
            if (M.QComplex)
                WriteComplex(CompactMatrixElement(M, i, j), out);
            else
                WriteNumber(CompactMatrixRealData(M)[(size_t)i * M.Nj + j], out);
            if (j + 1 != M.Nj) fputs(" , ", out);
        }
        fputs(" }", out);
        if (i + 1 != M.Ni) fputs(" , ", out);
    }
    fputs(" })", out);
}

// Lua 5.2's reserved words, which can't stand as bare keys.
bool IsReservedWord(const char* s) {
    static const char* const words[] = {"and",   "break",  "do",   "else", "elseif", "end",   "false", "for",
                                        "function", "goto", "if",  "in",   "local",  "nil",   "not",   "or",
                                        "repeat", "return", "then", "true", "until",  "while"};
    for (const char* word : words)
        if (strcmp(s, word) == 0) return true;
    return false;
}

// A string key that can be written bare, as in { name = 1 }.
bool IsBareKey(lua_State* L, int keyIdx) {
    if (lua_type(L, keyIdx) != LUA_TSTRING) return false;
    size_t len = 0;
    const char* s = lua_tolstring(L, keyIdx, &len);
    if (len == 0 || strlen(s) != len || QStringIsValidLuaVariableName(s)) return false;
    return !IsReservedWord(s);
}

// A number key 1..n is written in the list part and skipped in the walk of
// the keys.  (A string such as "2" is another key and is not skipped.)
bool IsListKey(lua_State* L, int keyIdx, size_t n) {
    if (lua_type(L, keyIdx) != LUA_TNUMBER) return false;
    lua_Number k = lua_tonumber(L, keyIdx);
    return k >= 1 && k <= (lua_Number)n && k == std::floor(k);
}

// The global name of the metatable of the table at idx if it is one of the
// table forms of matrices and response functions, else null.
const char* TableFormMetatable(lua_State* L, int idx) {
    static const char* const names[] = {MATRIX_META_NAME, "ResponseFunctionMeta"};
    if (!lua_getmetatable(L, idx)) return nullptr;
    const char* found = nullptr;
    for (const char* name : names) {
        lua_getglobal(L, name);
        const bool same = lua_rawequal(L, -1, -2);
        lua_pop(L, 1);
        if (same) {
            found = name;
            break;
        }
    }
    lua_pop(L, 1);
    return found;
}

// The layout of printed tables: the list part 1..n first (a table element
// after the first on a new line), then the other keys, each entry after the
// first one of the table on a new line.  Contents are read raw: metamethods
// are not asked.
void WriteTable(lua_State* L, int idx, WriteState& w, int depth) {
    if (depth > kMaxTableDepth)
        luaL_error(L, "Error in LuaASCIIStreamPrint tables nested deeper than %d levels can not be stored\n",
                   kMaxTableDepth);
    luaL_checkstack(L, 8, "Error in LuaASCIIStreamPrint tables nested too deeply\n");
    lua_pushvalue(L, idx);
    lua_rawget(L, w.visiting);
    const bool cycle = !lua_isnil(L, -1);
    lua_pop(L, 1);
    if (cycle) luaL_error(L, "Error in LuaASCIIStreamPrint a table that contains itself can not be stored\n");
    lua_pushvalue(L, idx);
    lua_pushboolean(L, 1);
    lua_rawset(L, w.visiting);

    FILE* out = w.out;
    const char* meta = TableFormMetatable(L, idx);
    if (meta != nullptr) fputs("setmetatable(", out);
    const size_t n = lua_rawlen(L, idx);
    fputs("{ ", out);
    for (size_t i = 1; i <= n; i++) {
        lua_rawgeti(L, idx, (int)i);
        if (i > 1 && lua_type(L, -1) == LUA_TTABLE) fputs("\n  ", out);
        WriteValue(L, lua_gettop(L), w, depth + 1);
        lua_pop(L, 1);
        if (i != n) fputs(" , ", out);
    }
    bool first = (n == 0);
    lua_pushnil(L);
    while (lua_next(L, idx) != 0) {
        const int valueIdx = lua_gettop(L);
        const int keyIdx = valueIdx - 1;
        if (!IsListKey(L, keyIdx, n)) {
            if (IsBareKey(L, keyIdx)) {
                if (!first) fputs(" ,\n  ", out);
                fputs(lua_tostring(L, keyIdx), out);
                fputs(" = ", out);
            } else {
                fputs(first ? "[" : " ,\n  [", out);
                WriteValue(L, keyIdx, w, depth + 1);
                fputs("] = ", out);
            }
            WriteValue(L, valueIdx, w, depth + 1);
            first = false;
        }
        lua_pop(L, 1);
    }
    fputs(" }", out);
    if (meta != nullptr) fprintf(out, ", %s)", meta);

    lua_pushvalue(L, idx);
    lua_pushnil(L);
    lua_rawset(L, w.visiting);
}

// A spectra object as the call of Spectra.FromTable that makes it again:
// each spectrum with its named fields and its points {energy, value}.
void WriteSpectra(const SpectraTypeArray& A, WriteState& w) {
    fputs("Spectra.FromTable({\n", w.out);
    for (uint32_t i = 0; i < A.N; i++) {
        const SpectraType& S = A.S[i];
        fputs("{[\"Name\"]=", w.out);
        StreamPrintQuotedString(S.Name, strlen(S.Name), w.out);
        fputs(",\n", w.out);
        for (uint32_t k = 0; k <= S.NE; k++) {
            fputs("{", w.out);
            WriteNumber(SpectrumEnergy(S, k), w.out);
            fputs(", ", w.out);
            WriteComplex(Complex16{S.Re[k], S.Im[k]}, w.out);
            fputs("},\n", w.out);
        }
        fprintf(w.out, "[\"EminPole\"]=%22.15E, [\"EmaxPole\"]=%22.15E, [\"Gamma\"]=%22.15E, [\"Integral\"]=%22.15E},\n",
                S.EminPole, S.EmaxPole, S.Gamma, S.Integral);
    }
    fputs("})", w.out);
}

void WriteUserdata(lua_State* L, int idx, WriteState& w) {
    if (Complex16* z = luaL_testComplex16(L, idx)) {
        WriteComplex(*z, w.out);
        return;
    }
    if (auto* psi = static_cast<WaveFunctionType*>(luaL_testudata(L, idx, "Wavefunction_Type"))) {
        w.failed |= StreamPrintWaveFunctionScript(*psi, w.out);
        return;
    }
    if (auto* O = static_cast<OperatorType*>(luaL_testudata(L, idx, "Operator_Type"))) {
        w.failed |= StreamPrintOperatorScript(*O, w.out);
        return;
    }
    if (CompactMatrixType* M = luaL_testMatrixUserdata(L, idx)) {
        WriteMatrixUserdata(*M, w.out);
        return;
    }
    if (SpectraTypeArray* A = luaL_testSpectra(L, idx)) {
        WriteSpectra(*A, w);
        return;
    }
    if (luaL_testudata(L, idx, "TightBinding_Type") != nullptr) {
        fputs("Some_Variable_Of_TightBinding_Type", w.out);
        return;
    }
    // Spectra, response functions in their userdata form, interpolating
    // functions and the file types have no text form.
    luaL_error(L, "Error in LuaASCIIStreamPrint unrecognized type of user data\n");
}

void WriteValue(lua_State* L, int idx, WriteState& w, int depth) {
    switch (lua_type(L, idx)) {
        case LUA_TNIL: fputs("nil", w.out); return;
        case LUA_TBOOLEAN: fputs(lua_toboolean(L, idx) ? "true" : "false", w.out); return;
        case LUA_TNUMBER: WriteNumber(lua_tonumber(L, idx), w.out); return;
        case LUA_TSTRING: {
            size_t len = 0;
            const char* s = lua_tolstring(L, idx, &len);
            StreamPrintQuotedString(s, len, w.out);
            return;
        }
        case LUA_TTABLE: WriteTable(L, idx, w, depth); return;
        case LUA_TUSERDATA: WriteUserdata(L, idx, w); return;
        case LUA_TFUNCTION: luaL_error(L, "Error in LuaASCIIStreamPrint unrecognized type of function\n"); return;
        case LUA_TLIGHTUSERDATA:
            luaL_error(L, "Error in LuaASCIIStreamPrint unrecognized type of light user data\n");
            return;
        case LUA_TTHREAD: luaL_error(L, "Error in LuaASCIIStreamPrint unrecognized type of thread\n"); return;
        default: luaL_error(L, "Error in LuaASCIIStreamPrint unrecognized type of data\n"); return;
    }
}

}  // namespace

void VariableStoreNumberText(double x, char* buf) {
    if (std::isnan(x)) {
        strcpy(buf, "(0/0)");
        return;
    }
    if (std::isinf(x)) {
        strcpy(buf, x > 0 ? "(1/0)" : "(-1/0)");
        return;
    }
    // The bits are compared, not the values: denormals count as zero in the
    // arithmetic of this program, and -0 equals 0.
    snprintf(buf, VariableStoreNumberTextSize, "%.16G", x);
    double back = strtod(buf, nullptr);
    if (memcmp(&back, &x, sizeof x) != 0) snprintf(buf, VariableStoreNumberTextSize, "%.17G", x);
}

int StreamPrintQuotedString(const char* s, size_t len, FILE* out) {
    fputc('"', out);
    for (size_t i = 0; i < len; i++) {
        const unsigned char c = (unsigned char)s[i];
        switch (c) {
            case '"': fputs("\\\"", out); break;
            case '\\': fputs("\\\\", out); break;
            case '\n': fputs("\\n", out); break;
            case '\r': fputs("\\r", out); break;
            case '\t': fputs("\\t", out); break;
            default:
                // Three digits always, so that a digit after the escape
                // does not join it.
                if (c < 0x20 || c == 0x7F)
                    fprintf(out, "\\%03u", (unsigned)c);
                else
                    fputc(c, out);
        }
    }
    fputc('"', out);
    return ferror(out) ? 1 : 0;
}

int LuaASCIIStreamPrint(lua_State* L, int idx, FILE* out) {
    idx = lua_absindex(L, idx);
    lua_newtable(L);
    WriteState w{out, lua_gettop(L), 0};
    WriteValue(L, idx, w, 0);
    lua_pop(L, 1);
    return (w.failed || ferror(out)) ? 1 : 0;
}
