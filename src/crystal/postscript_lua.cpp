// The script face of the PostScript writer: every call takes the picture as
// a string and returns it with one more item.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/complex_lua.h"
#include "base/options.h"
#include "base/register_base.h"
#include "crystal/postscript.h"
#include "numeric/matrix_lua.h"

namespace {

// A heap copy of the picture at idx, with room to grow.
struct Picture {
    char* text = nullptr;
    explicit Picture(lua_State* L, int idx) {
        size_t n = 0;
        const char* s = luaL_checklstring(L, idx, &n);
        text = (char*)malloc((n / 2024) * 2024 + 4048);
        if (text == nullptr) luaL_error(L, "Allocation failed in PostScript");
        memcpy(text, s, n);
        text[n] = '\0';
    }
    Picture() = default;
    ~Picture() { free(text); }
    int Push(lua_State* L, int fail) {
        if (fail) return luaL_error(L, "Allocation failed in PostScript");
        lua_pushstring(L, text);
        return 1;
    }
};

int LuaPSOpen(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 0 && n != 2) return luaL_error(L, "Error in PostScript.Open expected 0 or 2 arguments, not %d\n", n);
    const int width = n == 2 ? (int)luaL_checknumber(L, 1) : 200;
    const int height = n == 2 ? (int)luaL_checknumber(L, 2) : 200;
    Picture p;
    const int fail = CreatePS(&p.text, width, height);
    return p.Push(L, fail);
}

int LuaPSClose(lua_State* L) {
    Picture p(L, 1);
    return p.Push(L, ClosePS(&p.text));
}

int LuaPSText(lua_State* L) {
    const int n = lua_gettop(L);
    if (n < 4) return luaL_error(L, "PostScript.Text requires minimal 4 arguments and not %d\n", n);
    Picture p(L, 1);
    const char* text = luaL_checkstring(L, 2);
    const double x = luaL_checknumber(L, 3), y = luaL_checknumber(L, 4);
    double size = 10.0;
    char align = 'l';
    bool greek = false;
    for (int i = 5; i <= n; i++) {
        if (lua_type(L, i) == LUA_TNUMBER) {
            size = lua_tonumber(L, i);
        } else if (lua_type(L, i) == LUA_TSTRING) {
            size_t len = 0;
            const char* s = lua_tolstring(L, i, &len);
            if (len == 1) {
                align = s[0];
            } else if (strcmp(s, "Times-Roman") == 0) {
                greek = false;
            } else if (strcmp(s, "Symbol") == 0) {
                greek = true;
            } else {
                return luaL_error(L, "Unrecognized font in PostScript.Text (%s)\n", s);
            }
        }
    }
    const int fail = greek ? AddGreekTextPS(&p.text, text, x, y, size, align) : AddTextPS(&p.text, text, x, y, size, align);
    return p.Push(L, fail);
}

// Points, line width and colour of Line and Polygon.
int LineOrPolygon(lua_State* L, const char* who, bool polygon) {
    const int n = lua_gettop(L);
    if (n < 3) return luaL_error(L, "%s requires minimal 3 arguments and not %d\n", who, n);
    Picture p(L, 1);
    std::vector<double> x = luaL_checkarray_double(L, 2), y = luaL_checkarray_double(L, 3);
    if (x.size() != y.size())
        return luaL_error(L, "%s requires a table at position 2 and 3 of the same lenght (currently Nx=%d, Ny=%d)\n", who,
                          (int)x.size(), (int)y.size());
    double width = 1.0;
    unsigned int colour = 0;
    for (int i = 4; i <= n; i++) {
        if (lua_type(L, i) == LUA_TNUMBER) {
            width = lua_tonumber(L, i);
        } else if (lua_istable(L, i)) {
            bool ok = lua_rawlen(L, i) == 3;
            unsigned int c = 0;
            for (int k = 1; ok && k <= 3; k++) {
                lua_rawgeti(L, i, k);
                const double v = lua_tonumber(L, -1);
                ok = lua_type(L, -1) == LUA_TNUMBER && v >= 0.0 && v <= 255.0;
                c = (c << 8) | (ok ? (unsigned int)v : 0u);
                lua_pop(L, 1);
            }
            if (!ok) return luaL_error(L, "%s Color should be a table with 3 values (RGB) between 0 and 255\n", who);
            colour = c;
        }
    }
    const int fail = polygon ? AddPolygonPS(&p.text, x.data(), y.data(), (unsigned int)x.size(), colour, width)
                             : AddLinePathPS(&p.text, x.data(), y.data(), (unsigned int)x.size(), colour, width);
    return p.Push(L, fail);
}

int LuaPSLine(lua_State* L) { return LineOrPolygon(L, "PostScript.Line", false); }
int LuaPSPolygon(lua_State* L) { return LineOrPolygon(L, "PostScript.Polygon", true); }

struct CheckedMatrix {
    CompactMatrixType* M = nullptr;
    ~CheckedMatrix() {
        if (M != nullptr) LuaFreeCheckedCompactMatrix(M);
    }
};

int LuaPSBitmap(lua_State* L) {
    const int n = lua_gettop(L);
    if (n != 7)
        return luaL_error(L, "PostScript.Bitmap requires 7 arguments and not %d (String to add to, xmin, ymin, xmax, "
                             "ymax, matrix or list of matrices, collorfunction\n",
                          n);
    Picture p(L, 1);
    const double xmin = luaL_checknumber(L, 2), ymin = luaL_checknumber(L, 3);
    const double xmax = luaL_checknumber(L, 4), ymax = luaL_checknumber(L, 5);
    luaL_checktype(L, 7, LUA_TFUNCTION);
    // One matrix (userdata, or a table whose first entry is a row of numbers)
    // or a list of matrices.
    std::vector<CheckedMatrix> matrices;
    bool single = luaL_testMatrixUserdata(L, 6) != nullptr;
    if (!single) {
        luaL_checktype(L, 6, LUA_TTABLE);
        lua_rawgeti(L, 6, 1);
        lua_rawgeti(L, -1, 1);
        single = lua_type(L, -1) == LUA_TNUMBER || luaL_testComplex16(L, -1) != nullptr;
        lua_pop(L, 2);
    }
    if (single) {
        matrices.emplace_back();
        matrices.back().M = luaL_checkCompactMatrix(L, 6);
    } else {
        const int count = (int)lua_rawlen(L, 6);
        matrices.resize(count);
        for (int i = 1; i <= count; i++) {
            lua_rawgeti(L, 6, i);
            matrices[i - 1].M = luaL_checkCompactMatrix(L, lua_gettop(L));
            lua_pop(L, 1);
        }
    }
    if (matrices.empty()) return luaL_error(L, "Dimensions of matrices that specify the color must all be the same\n");
    const uint32_t rows = matrices[0].M->Ni, cols = matrices[0].M->Nj;
    for (auto& m : matrices)
        if (m.M->Ni != rows || m.M->Nj != cols)
            return luaL_error(L, "Dimensions of matrices that specify the color must all be the same\n");
    std::vector<unsigned int> pixels((size_t)rows * cols);
    for (uint32_t r = 0; r < rows; r++)
        for (uint32_t c = 0; c < cols; c++) {
            lua_pushvalue(L, 7);
            for (auto& m : matrices) {
                const Complex16 z = CompactMatrixElement(*m.M, r, c);
                if (m.M->QComplex)
                    LuaPushComplex16(L, z);
                else
                    lua_pushnumber(L, z.re);
            }
            if (lua_pcall(L, (int)matrices.size(), 3, 0) != 0) return luaL_error(L, "Incorrect color function call\n");
            unsigned int value = 0;
            for (int k = -3; k <= -1; k++) {
                double v = lua_tonumber(L, k);
                if (std::isnan(v)) v = 0.0;
                const int channel = v >= 255.0 ? 255 : (v <= 0.0 ? 0 : (int)v);
                value = (value << 8) | (unsigned int)channel;
            }
            lua_pop(L, 3);
            pixels[(size_t)r * cols + c] = value;
        }
    return p.Push(L, AddBitmapPS(&p.text, xmin, ymin, xmax - xmin, ymax - ymin, pixels.data(), cols, rows));
}

// Pictures of bands and densities of states of tight-binding models: the
// names exist and do nothing.
int LuaPlotNothing(lua_State*) { return 0; }

}  // namespace

void LuaRegisterPostScript(lua_State* L) {
    static const luaL_Reg library[] = {
        {"Open", LuaPSOpen},       {"Close", LuaPSClose},         {"Text", LuaPSText},
        {"Line", LuaPSLine},       {"Polygon", LuaPSPolygon},     {"Bitmap", LuaPSBitmap},
        {nullptr, nullptr},
    };
    luaL_newlib(L, library);
    lua_setglobal(L, "PostScript");
    static const luaL_Reg globals[] = {
        {"PlotBands", LuaPlotNothing},
        {"PlotDOS", LuaPlotNothing},
        {"PlotFermi", LuaPlotNothing},
        {"PlotBandsAndDOS", LuaPlotNothing},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, globals);
}
