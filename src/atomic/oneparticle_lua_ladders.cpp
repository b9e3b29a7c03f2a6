// Readers of number operators, single ladders and the identity.
#include <cstdlib>

#include "atomic/oneparticle.h"
#include "atomic/oneparticle_lua.h"
#include "atomic/operators_lua_detail.h"
#include "base/options.h"

using namespace atomiclua;

namespace {

// Prefactors read by the complex reader, split into real and imaginary
// parts for the constructors.
struct Prefactors {
    Array<double> re, im;
    unsigned n = 0;
};

void ReadPrefactors(lua_State* L, int idx, Prefactors* p) {
    Array<Complex16> z;
    z.p = luaL_checkarray_complex16(L, idx, &z.n);
    p->n = z.n;
    p->re.p = (double*)LuaMallocOrCollect(L, sizeof(double) * z.n, "ReadPrefactors");
    p->im.p = (double*)LuaMallocOrCollect(L, sizeof(double) * z.n, "ReadPrefactors");
    for (unsigned k = 0; k < z.n; k++) {
        p->re.p[k] = z.p[k].re;
        p->im.p[k] = z.p[k].im;
    }
}

// Create and Annihilate: NF, i; or NF, {i...}, {prefactors}.
int NewLadder(lua_State* L, bool create) {
    const char* who = create ? "LuaOperatorNewCreate" : "LuaOperatorNewAnnihilate";
    int nargs = lua_gettop(L) - 1;
    if (nargs != 2 && nargs != 3) return luaL_error(L, "Error in %s, expected 2 or 3 arguments, not %d\n", who, nargs);
    uint32_t NF = ReadNF(L, 2, nullptr);
    if (nargs == 2) {
        uint16_t i = ReadMode(L, 3, NF, "Index up");
        return BuildAndPush(L, who, [&](OperatorType* O) {
            return create ? CreateOperatorCreate(NF, i, O) : CreateOperatorAnnihilate(NF, i, O);
        });
    }
    Array<uint16_t> idx;
    ReadModes(L, 3, NF, "Index up", &idx);
    Prefactors p;
    ReadPrefactors(L, 4, &p);
    if (idx.n != p.n)
        return luaL_error(L, "Error in %s, Lenght of Index (%d) is not equal to lenght of prefactors (%d)\n", who,
                          (int)idx.n, (int)p.n);
    return BuildAndPush(L, who, [&](OperatorType* O) {
        return create ? CreateOperatorCreateList(NF, idx.n, idx.p, p.re.p, p.im.p, O)
                      : CreateOperatorAnnihilateList(NF, idx.n, idx.p, p.re.p, p.im.p, O);
    });
}

}  // namespace

// Number and CrAn: NF, i, j gives a+(i) a(j); NF, {i...}, {j...},
// {prefactors} the sum of p_k a+(i_k) a(j_k).
int LuaOperatorNewNumber(lua_State* L) {
    const char* who = "LuaOperatorNewNumber";
    int nargs = lua_gettop(L) - 1;
    if (nargs != 3 && nargs != 4)
        return luaL_error(L, "Error in LuaOperatorNewAnnihilate, expected 3 or 4 arguments, not %d\n", nargs);
    uint32_t NF = ReadNF(L, 2, nullptr);
    if (nargs == 3) {
        uint16_t i = ReadMode(L, 3, NF, "Index up");
        uint16_t j = ReadMode(L, 4, NF, "Index dn");
        return BuildAndPush(L, who, [&](OperatorType* O) { return CreateOperatorNumber(NF, i, j, O); });
    }
    Array<uint16_t> cr, an;
    ReadModes(L, 3, NF, "Index up", &cr);
    ReadModes(L, 4, NF, "Index dn", &an);
    Prefactors p;
    ReadPrefactors(L, 5, &p);
    if (cr.n != an.n)
        return luaL_error(L,
                          "Error in LuaOperatorNewNumber, Lenght of Index for Createion (%d) is not equal to lenght of "
                          "index for Annihilation (%d)\n",
                          (int)cr.n, (int)an.n);
    if (cr.n != p.n)
        return luaL_error(L, "Error in LuaOperatorNewNumber, Lenght of Index (%d) is not equal to lenght of prefactors (%d)\n",
                          (int)cr.n, (int)p.n);
    return BuildAndPush(L, who, [&](OperatorType* O) {
        return CreateOperatorCreateAnnihilateList(NF, cr.n, cr.p, an.p, p.re.p, p.im.p, O);
    });
}

int LuaOperatorNewCreate(lua_State* L) { return NewLadder(L, true); }

int LuaOperatorNewAnnihilate(lua_State* L) { return NewLadder(L, false); }

int LuaOperatorNewIdentity(lua_State* L) {
    int nargs = lua_gettop(L) - 1;
    if (nargs != 1)
        return luaL_error(L, "Error in NewOperator(\"Identity\",...), expected 1 aditional argument, not %d\n", nargs);
    uint32_t NF = ReadNF(L, 2, nullptr);
    return BuildAndPush(L, "LuaOperatorNewIdentity", [&](OperatorType* O) { return CreateOperatorIdentity(NF, O); });
}
