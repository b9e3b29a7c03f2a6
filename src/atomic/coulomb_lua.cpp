// Readers of the Coulomb operators.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "atomic/coulomb.h"
#include "atomic/coulomb_lua.h"
#include "atomic/operators_lua_detail.h"
#include "base/options.h"
#include "manybody/operator_lua.h"

using namespace atomiclua;

namespace {

const char* const kWho = "LuaOperatorNewCoulomb";
const char* const kShellWord[4] = {"first", "second", "third", "forth"};

struct LSShell {
    Array<uint16_t> up, dn;
    int l = 0;
};

struct JShell {
    Array<uint16_t> index;
    int kappa = 0;
    int tj = 0;
    int l = 0;
};

// Reads IndexUp, IndexDn at idx, idx+1.  word is null for the one-shell form.
void ReadLSShell(lua_State* L, int idx, uint32_t NF, const char* word, LSShell* s) {
    std::string up = "Index up", dn = "Index dn";
    if (word) {
        up = up + " of " + word + " shell";
        dn = dn + " of " + word + " shell";
    }
    ReadModes(L, idx, NF, up.c_str(), &s->up);
    ReadModes(L, idx + 1, NF, dn.c_str(), &s->dn);
    if (s->up.n != s->dn.n) {
        if (word)
            luaL_error(L,
                       "Error in LuaOperatorNewCoulomb, For %s shell lenght of IndexUp (%d) is not equal to lenght of "
                       "IndexDn (%d)\n",
                       word, (int)s->up.n, (int)s->dn.n);
        luaL_error(L, "Error in LuaOperatorNewCoulomb, Lenght of IndexUp (%d) is not equal to lenght of IndexDn (%d)\n",
                   (int)s->up.n, (int)s->dn.n);
    }
    if (s->up.n % 2 == 0) {
        if (word)
            luaL_error(L, "Error in LuaOperatorNewCoulomb, For %s shell lenght of IndexUp (%d) is not equal to 2l+1\n",
                       word, (int)s->up.n);
        luaL_error(L, "Error in LuaOperatorNewCoulomb, Lenght of IndexUp (%d) is not equal to 2l+1\n", (int)s->up.n);
    }
    s->l = ((int)s->up.n - 1) / 2;
}

// Reads Index, kappa at idx, idx+1.  word is null for the one-shell form.
void ReadJShell(lua_State* L, int idx, uint32_t NF, const char* word, JShell* s) {
    std::string what = word ? std::string("Index of ") + word + " J shell" : std::string("Index of Jshell");
    ReadModes(L, idx, NF, what.c_str(), &s->index);
    if (s->index.n % 2 != 0 || s->index.n == 0) {
        if (word)
            luaL_error(L,
                       "Error in LuaOperatorNewCoulomb, Lenght of Index for %s J shell (%d) is not equal to 2j+1 for "
                       "half integer j\n",
                       word, (int)s->index.n);
        luaL_error(L,
                   "Error in LuaOperatorNewCoulomb, Lenght of Index for J shell (%d) is not equal to 2j+1 for half "
                   "integer j\n",
                   (int)s->index.n);
    }
    int64_t kappa = luaL_checkinteger64(L, idx + 1);
    s->tj = (int)s->index.n - 1;
    if (kappa == 0 || kappa > 1000 || kappa < -1000 || 2 * std::abs((int)kappa) - 1 != s->tj) {
        if (word)
            luaL_error(L,
                       "Error in LuaOperatorNewCoulomb, for %s shell: j (%d/2) is not equal to |kappa|-1/2 (kappa = "
                       "%d)\n",
                       word, s->tj, (int)kappa);
        luaL_error(L, "Error in LuaOperatorNewCoulomb, j (%d/2) is not equal to |kappa|-1/2 (kappa = %d)\n", s->tj,
                   (int)kappa);
    }
    s->kappa = (int)kappa;
    s->l = CoulombKappaToL(s->kappa);
}

void ReadIntegrals(lua_State* L, int idx, Array<double>* F) {
    F->p = luaL_checkarray_double(L, idx, &F->n);
}

void CheckEvenL(lua_State* L, int lA, int lB, int lC, int lD) {
    if ((lA + lB + lC + lD) % 2 != 0)
        luaL_error(L, "Error in LuaOperatorNewCoulomb, lA(%d)+lB(%d)+lC(%d)+lD(%d) should be even.", lA, lB, lC, lD);
}

int NewLSCoulomb(lua_State* L, int nargs, uint32_t NF) {
    if (nargs == 4) {
        LSShell s;
        ReadLSShell(L, 3, NF, nullptr, &s);
        Array<double> F;
        ReadIntegrals(L, 5, &F);
        if ((int)F.n != s.l + 1)
            return luaL_error(L, "Error in LuaOperatorNewCoulomb, Lenght of F (%d) is not equal to l+1\n", (int)F.n);
        return BuildAndPush(L, kWho, [&](OperatorType* O) {
            return CreateOperatorCoulombSingleShell(NF, s.l, s.up.p, s.dn.p, F.p, O);
        });
    }
    if (nargs == 7) {
        LSShell A, B;
        ReadLSShell(L, 3, NF, kShellWord[0], &A);
        ReadLSShell(L, 5, NF, kShellWord[1], &B);
        Array<double> F, G;
        ReadIntegrals(L, 7, &F);
        ReadIntegrals(L, 8, &G);
        int want = std::min(A.l, B.l) + 1;
        if ((int)F.n != want)
            return luaL_error(L, "Error in LuaOperatorNewCoulomb, Lenght of F (%d) is not equal to (Min(lA,lB)+1)\n",
                              (int)F.n);
        if ((int)G.n != want)
            return luaL_error(L, "Error in LuaOperatorNewCoulomb, Lenght of G (%d) is not equal to (Min(lA,lB)+1)\n",
                              (int)G.n);
        return BuildAndPush(L, kWho, [&](OperatorType* O) {
            return CreateOperatorCoulombTwoShellsConstantOccupation(NF, A.l, B.l, A.up.p, A.dn.p, B.up.p, B.dn.p, F.p,
                                                                    G.p, O);
        });
    }
    LSShell S[4];
    for (int i = 0; i < 4; i++) ReadLSShell(L, 3 + 2 * i, NF, kShellWord[i], &S[i]);
    CheckEvenL(L, S[0].l, S[1].l, S[2].l, S[3].l);
    Array<double> R;
    ReadIntegrals(L, 11, &R);
    int kmin = std::max(std::abs(S[0].l - S[2].l), std::abs(S[1].l - S[3].l));
    int kmax = std::min(S[0].l + S[2].l, S[1].l + S[3].l);
    // Shells without a common k leave only the empty table.
    int want = std::max(0, (kmax - kmin) / 2 + 1);
    if ((int)R.n != want)
        return luaL_error(L,
                          "Error in LuaOperatorNewCoulomb, Lenght of R (%d) is not equal to "
                          "(Min(lA+lC,lB+lD)-Max(Abs(lA-lC),Abs(lB-lD)))/2+1\n",
                          (int)R.n);
    return BuildAndPush(L, kWho, [&](OperatorType* O) {
        return CreateOperatorCoulombFourShells(NF, S[0].l, S[1].l, S[2].l, S[3].l, S[0].up.p, S[0].dn.p, S[1].up.p,
                                               S[1].dn.p, S[2].up.p, S[2].dn.p, S[3].up.p, S[3].dn.p, R.p, O);
    });
}

int NewJJCoulomb(lua_State* L, int nargs, uint32_t NF) {
    if (nargs == 4) {
        JShell s;
        ReadJShell(L, 3, NF, nullptr, &s);
        Array<double> F;
        ReadIntegrals(L, 5, &F);
        if ((int)F.n != (s.tj + 1) / 2)
            return luaL_error(L, "Error in LuaOperatorNewCoulomb, Lenght of Flarge (%d) is not equal to (2j+1)/2 (%d+1)/2\n",
                              (int)F.n, s.tj);
        return BuildAndPush(L, kWho, [&](OperatorType* O) {
            return CreateOperatorCoulombSingleRelativisticShell(NF, s.kappa, s.index.p, F.p, O);
        });
    }
    if (nargs == 7) {
        JShell A, B;
        ReadJShell(L, 3, NF, kShellWord[0], &A);
        ReadJShell(L, 5, NF, kShellWord[1], &B);
        Array<double> F, G;
        ReadIntegrals(L, 7, &F);
        ReadIntegrals(L, 8, &G);
        int want = (std::min(A.tj, B.tj) + 1) / 2;
        if ((int)F.n != want)
            return luaL_error(L,
                              "Error in LuaOperatorNewCoulomb, Lenght of F (%d) is not equal to (Min(2 j1 (%d),2 j2 "
                              "(%d))+1)/2\n",
                              (int)F.n, A.tj, B.tj);
        if ((int)G.n != want)
            return luaL_error(L,
                              "Error in LuaOperatorNewCoulomb, Lenght of G (%d) is not equal to (Min(2 j1 (%d),2 j2 "
                              "(%d))+1)/2\n",
                              (int)G.n, A.tj, B.tj);
        return BuildAndPush(L, kWho, [&](OperatorType* O) {
            return CreateOperatorCoulombTwoRelativisticShellsConstantOccupation(NF, A.kappa, B.kappa, A.index.p,
                                                                                B.index.p, F.p, G.p, O);
        });
    }
    JShell S[4];
    for (int i = 0; i < 4; i++) ReadJShell(L, 3 + 2 * i, NF, kShellWord[i], &S[i]);
    CheckEvenL(L, S[0].l, S[1].l, S[2].l, S[3].l);
    Array<double> R;
    ReadIntegrals(L, 11, &R);
    int want = (std::max(S[0].tj + S[2].tj, S[1].tj + S[3].tj) -
                std::min(std::abs(S[0].tj - S[2].tj), std::abs(S[1].tj - S[3].tj))) /
                   2 +
               1;
    if ((int)R.n != want)
        return luaL_error(L,
                          "Error in LuaOperatorNewCoulomb (10), Lenght of F (%d) is not equal to (Max(2 j1 (%d) + 2 j3 "
                          "(%d), 2 j2 (%d) + 2 j4 (%d)) - Min( |2j1-2j3|,|2j2-2j4| ))/2)+1\n",
                          (int)R.n, S[0].tj, S[2].tj, S[1].tj, S[3].tj);
    return BuildAndPush(L, kWho, [&](OperatorType* O) {
        return CreateOperatorCoulombFourRelativisticShells(NF, S[0].kappa, S[1].kappa, S[2].kappa, S[3].kappa,
                                                           S[0].index.p, S[1].index.p, S[2].index.p, S[3].index.p,
                                                           R.p, O);
    });
}

}  // namespace

int LuaOperatorNewCoulomb(lua_State* L) {
    int nargs = lua_gettop(L) - 1;
    if (nargs != 4 && nargs != 7 && nargs != 10)
        return luaL_error(L,
                          "Error in LuaOperatorNewCoulomb, expected 4, 7, or 10 arguments for Coulomb repulsion in ls "
                          "coupling basis or 3, 5, or 6 arguments for Coulomb repulsion in jj coupling basis, not %d",
                          nargs);
    uint32_t NF = ReadNF(L, 2, "Coulomb operator acting on zero fermions is not defined");
    if (lua_type(L, 4) == LUA_TNUMBER) return NewJJCoulomb(L, nargs, NF);
    return NewLSCoulomb(L, nargs, NF);
}

int LuaOperatorNewAtomicU(lua_State* L) {
    int nargs = lua_gettop(L) - 1;
    if (nargs != 3 && nargs != 4)
        return luaL_error(L, "Error in Rondo.NewCoulomb: 3 or 4 arguments expected; got %d", nargs);
    return luaL_error(L,
                      "Error in NewOperator(\"AtomicU\"): the radial Slater integrals of radial functions are not "
                      "computed by this program; give the integrals to NewOperator(\"Coulomb\", ...) instead\n");
}

int LuaOperatorNewAtomicDirac(lua_State* L) {
    return luaL_error(L,
                      "Error in NewOperator(\"Dirac\"): the radial integrals of large and small components are not "
                      "computed by this program\n");
}

void LuaRegisterCoulombOperators() {
    LuaSetNamedOperatorConstructor("Coulomb", LuaOperatorNewCoulomb);
    LuaSetNamedOperatorConstructor("AtomicU", LuaOperatorNewAtomicU);
    LuaSetNamedOperatorConstructor("Dirac", LuaOperatorNewAtomicDirac);
}
