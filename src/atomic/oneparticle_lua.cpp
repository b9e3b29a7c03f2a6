// Readers of the spin, angular-momentum, dipole, quadrupole and l.s
// operators, and the registration of all one-particle names.
#include <cstring>

#include "atomic/oneparticle.h"
#include "atomic/oneparticle_lua.h"
#include "atomic/operators_lua_detail.h"
#include "base/options.h"
#include "manybody/operator_lua.h"

using namespace atomiclua;

namespace {

const char* const kSpinZero = "Spin operator acting on zero fermions is not defined";
const char* const kOrbitalZero = "Angular momentum operator acting on zero fermions is not defined";
const char* const kTotalZero = "Total Angular momentum operator acting on zero fermions is not defined";
const char* const kDipoleZero = "Magnetic dipole operator acting on zero fermions is not defined";
const char* const kQuadrupoleZero = "Quadrupole operator acting on zero fermions is not defined";

typedef int (*SpinBuilder)(uint32_t, unsigned, const uint16_t*, const uint16_t*, OperatorType*);
typedef int (*ShellBuilder)(uint32_t, int, const uint16_t*, const uint16_t*, OperatorType*);

// The arguments NF, IndexUp, IndexDn after the name; the lists must have
// equal lengths, and odd ones when a shell is needed.
struct ShellArguments {
    uint32_t NF = 0;
    Array<uint16_t> up, dn;
};

void ReadShellArguments(lua_State* L, const char* zeroMessage, const char* who, bool shell, ShellArguments* a) {
    a->NF = ReadNF(L, 2, zeroMessage);
    ReadModes(L, 3, a->NF, "Index up", &a->up);
    ReadModes(L, 4, a->NF, "Index dn", &a->dn);
    if (a->up.n != a->dn.n)
        luaL_error(L, "Error in %s, Lenght of IndexUp (%d) is not equal to lenght of IndexDn (%d)\n", who,
                   (int)a->up.n, (int)a->dn.n);
    if (shell && a->up.n % 2 == 0)
        luaL_error(L, "Error in %s, Lenght of IndexUp (%d) is not equal to 2l+1\n", who, (int)a->up.n);
}

int NewSpinOperator(lua_State* L, const char* who, SpinBuilder build) {
    ShellArguments a;
    ReadShellArguments(L, kSpinZero, who, false, &a);
    return BuildAndPush(L, who, [&](OperatorType* O) { return build(a.NF, a.up.n, a.up.p, a.dn.p, O); });
}

int NewShellOperator(lua_State* L, const char* zeroMessage, const char* who, ShellBuilder build) {
    ShellArguments a;
    ReadShellArguments(L, zeroMessage, who, true, &a);
    int l = (int)(a.up.n - 1) / 2;
    return BuildAndPush(L, who, [&](OperatorType* O) { return build(a.NF, l, a.up.p, a.dn.p, O); });
}

// The bases that Lx accepts.
enum LxBasis { kBasisY, kBasisZ, kBasisK, kBasisjjz, kBasisUnknown };

LxBasis LxBasisOfName(const char* name) {
    static const struct {
        const char* name;
        LxBasis basis;
    } names[] = {
        {"SphericalHarmonicsY", kBasisY}, {"SphericalHarmonics", kBasisY}, {"BasisY", kBasisY},
        {"TesseralHarmonicsZ", kBasisZ},  {"TesseralHarmonics", kBasisZ},  {"BasisZ", kBasisZ},
        {"KubicHarmonicsK", kBasisK},     {"KubicHarmonics", kBasisK},     {"BasisK", kBasisK},
        {"CubicHarmonicsK", kBasisK},     {"CubicHarmonics", kBasisK},     {"jjz", kBasisjjz},
        {"Basisjjz", kBasisjjz},          {"Basisj", kBasisjjz},
    };
    for (const auto& n : names)
        if (strcmp(n.name, name) == 0) return n.basis;
    return kBasisUnknown;
}

}  // namespace

int LuaOperatorNewSx(lua_State* L) { return NewSpinOperator(L, "LuaOperatorNewSx", CreateOperatorSx); }
int LuaOperatorNewSy(lua_State* L) { return NewSpinOperator(L, "LuaOperatorNewSy", CreateOperatorSy); }
int LuaOperatorNewSz(lua_State* L) { return NewSpinOperator(L, "LuaOperatorNewSz", CreateOperatorSz); }
int LuaOperatorNewSplus(lua_State* L) { return NewSpinOperator(L, "LuaOperatorNewSplus", CreateOperatorSplus); }
int LuaOperatorNewSmin(lua_State* L) { return NewSpinOperator(L, "LuaOperatorNewSmin", CreateOperatorSmin); }
int LuaOperatorNewSsqr(lua_State* L) { return NewSpinOperator(L, "LuaOperatorNewSsqr", CreateOperatorSsqr); }

// Lx alone takes the basis option.  In the jj basis the lists are the 2l
// modes of j = l-1/2 and the 2l+2 modes of j = l+1/2.
int LuaOperatorNewLx(lua_State* L) {
    const char* who = "LuaOperatorNewLx";
    const char* basisName = "SphericalHarmonicsY";
    ReadNF(L, 2, kOrbitalZero);
    if (lua_gettop(L) >= 5) {
        LuaOptionsType options[] = {{"basis", "char*", &basisName}, {nullptr, nullptr, nullptr}};
        LuaCheckOptions(L, 5, options);
    }
    LxBasis basis = LxBasisOfName(basisName);
    if (basis == kBasisUnknown)
        return luaL_error(L,
                          "Unrecognized value for basis %s, use SphericalHarmonicsY, TesseralHarmonicsZ, "
                          "KubicHarmonicsK, or jjz\n",
                          basisName);
    if (basis != kBasisjjz) {
        ShellArguments a;
        ReadShellArguments(L, kOrbitalZero, who, true, &a);
        int l = (int)(a.up.n - 1) / 2;
        ShellBuilder build = basis == kBasisY ? CreateOperatorLx : basis == kBasisZ ? CreateOperatorLxZ : CreateOperatorLxK;
        return BuildAndPush(L, who, [&](OperatorType* O) { return build(a.NF, l, a.up.p, a.dn.p, O); });
    }
    uint32_t NF = ReadNF(L, 2, kOrbitalZero);
    Array<uint16_t> jmin, jplus;
    ReadModes(L, 3, NF, "Index up", &jmin);
    ReadModes(L, 4, NF, "Index dn", &jplus);
    if (jmin.n % 2 != 0) return luaL_error(L, "Error in %s, Lenght of IndexJmin (%d) is not equal to 2l\n", who, (int)jmin.n);
    if (jmin.n + 2 != jplus.n)
        return luaL_error(L, "Error in %s, Lenght of IndexJmin (%d) is not equal to lenght of IndexJplus-2 (%d)\n", who,
                          (int)jmin.n, (int)jplus.n - 2);
    int l = (int)jmin.n / 2;
    return BuildAndPush(L, who, [&](OperatorType* O) { return CreateOperatorLxjjz(NF, l, jmin.p, jplus.p, O); });
}

int LuaOperatorNewLy(lua_State* L) { return NewShellOperator(L, kOrbitalZero, "LuaOperatorNewLy", CreateOperatorLy); }
int LuaOperatorNewLz(lua_State* L) { return NewShellOperator(L, kOrbitalZero, "LuaOperatorNewLz", CreateOperatorLz); }
int LuaOperatorNewLplus(lua_State* L) {
    return NewShellOperator(L, kOrbitalZero, "LuaOperatorNewLplus", CreateOperatorLplus);
}
int LuaOperatorNewLmin(lua_State* L) {
    return NewShellOperator(L, kOrbitalZero, "LuaOperatorNewLmin", CreateOperatorLmin);
}
int LuaOperatorNewLsqr(lua_State* L) {
    return NewShellOperator(L, kOrbitalZero, "LuaOperatorNewLsqr", CreateOperatorLsqr);
}

int LuaOperatorNewJx(lua_State* L) { return NewShellOperator(L, kTotalZero, "LuaOperatorNewJx", CreateOperatorJx); }
int LuaOperatorNewJy(lua_State* L) { return NewShellOperator(L, kTotalZero, "LuaOperatorNewJy", CreateOperatorJy); }
int LuaOperatorNewJz(lua_State* L) { return NewShellOperator(L, kTotalZero, "LuaOperatorNewJz", CreateOperatorJz); }
int LuaOperatorNewJplus(lua_State* L) {
    return NewShellOperator(L, kTotalZero, "LuaOperatorNewJplus", CreateOperatorJplus);
}
int LuaOperatorNewJmin(lua_State* L) { return NewShellOperator(L, kTotalZero, "LuaOperatorNewJmin", CreateOperatorJmin); }
int LuaOperatorNewJsqr(lua_State* L) { return NewShellOperator(L, kTotalZero, "LuaOperatorNewJsqr", CreateOperatorJsqr); }

int LuaOperatorNewTx(lua_State* L) { return NewShellOperator(L, kDipoleZero, "LuaOperatorNewTx", CreateOperatorTx); }
int LuaOperatorNewTy(lua_State* L) { return NewShellOperator(L, kDipoleZero, "LuaOperatorNewTy", CreateOperatorTy); }
int LuaOperatorNewTz(lua_State* L) { return NewShellOperator(L, kDipoleZero, "LuaOperatorNewTz", CreateOperatorTz); }
int LuaOperatorNewTplus(lua_State* L) {
    return NewShellOperator(L, kDipoleZero, "LuaOperatorNewTplus", CreateOperatorTplus);
}
int LuaOperatorNewTmin(lua_State* L) { return NewShellOperator(L, kDipoleZero, "LuaOperatorNewTmin", CreateOperatorTmin); }
int LuaOperatorNewTsqr(lua_State* L) { return NewShellOperator(L, kDipoleZero, "LuaOperatorNewTsqr", CreateOperatorTsqr); }

int LuaOperatorNewQxx(lua_State* L) {
    return NewShellOperator(L, kQuadrupoleZero, "LuaOperatorNewQxx", CreateOperatorQxx);
}
int LuaOperatorNewQyy(lua_State* L) {
    return NewShellOperator(L, kQuadrupoleZero, "LuaOperatorNewQyy", CreateOperatorQyy);
}
int LuaOperatorNewQzz(lua_State* L) {
    return NewShellOperator(L, kQuadrupoleZero, "LuaOperatorNewQzz", CreateOperatorQzz);
}
int LuaOperatorNewQxy(lua_State* L) {
    return NewShellOperator(L, kQuadrupoleZero, "LuaOperatorNewQxy", CreateOperatorQxy);
}
int LuaOperatorNewQxz(lua_State* L) {
    return NewShellOperator(L, kQuadrupoleZero, "LuaOperatorNewQxz", CreateOperatorQxz);
}
int LuaOperatorNewQyz(lua_State* L) {
    return NewShellOperator(L, kQuadrupoleZero, "LuaOperatorNewQyz", CreateOperatorQyz);
}

// l.s is the spin-orbit coupling of the orbital momentum of a shell.
int LuaOperatorNewldots(lua_State* L) {
    return NewShellOperator(L, kOrbitalZero, "LuaOperatorNewldots", CreateOperatorldots);
}

void LuaRegisterOneParticleOperators() {
    static const struct {
        const char* name;
        lua_CFunction reader;
    } names[] = {
        {"Sx", LuaOperatorNewSx},         {"Sy", LuaOperatorNewSy},       {"Sz", LuaOperatorNewSz},
        {"Splus", LuaOperatorNewSplus},   {"Smin", LuaOperatorNewSmin},   {"Ssqr", LuaOperatorNewSsqr},
        {"S^2", LuaOperatorNewSsqr},      {"Lx", LuaOperatorNewLx},       {"Ly", LuaOperatorNewLy},
        {"Lz", LuaOperatorNewLz},         {"Lplus", LuaOperatorNewLplus}, {"Lmin", LuaOperatorNewLmin},
        {"Lsqr", LuaOperatorNewLsqr},     {"L^2", LuaOperatorNewLsqr},    {"Jx", LuaOperatorNewJx},
        {"Jy", LuaOperatorNewJy},         {"Jz", LuaOperatorNewJz},       {"Jplus", LuaOperatorNewJplus},
        {"Jmin", LuaOperatorNewJmin},     {"Jsqr", LuaOperatorNewJsqr},   {"J^2", LuaOperatorNewJsqr},
        {"Tx", LuaOperatorNewTx},         {"Ty", LuaOperatorNewTy},       {"Tz", LuaOperatorNewTz},
        {"Tplus", LuaOperatorNewTplus},   {"Tmin", LuaOperatorNewTmin},   {"Tsqr", LuaOperatorNewTsqr},
        {"Qxx", LuaOperatorNewQxx},       {"Qxy", LuaOperatorNewQxy},     {"Qyx", LuaOperatorNewQxy},
        {"Qxz", LuaOperatorNewQxz},       {"Qzx", LuaOperatorNewQxz},     {"Qyy", LuaOperatorNewQyy},
        {"Qyz", LuaOperatorNewQyz},       {"Qzy", LuaOperatorNewQyz},     {"Qzz", LuaOperatorNewQzz},
        {"ldots", LuaOperatorNewldots},   {"CF", LuaOperatorNewCF},       {"Create", LuaOperatorNewCreate},
        {"Annihilate", LuaOperatorNewAnnihilate}, {"Number", LuaOperatorNewNumber},
        {"CrAn", LuaOperatorNewNumber},   {"Identity", LuaOperatorNewIdentity},
    };
    for (const auto& n : names) LuaSetNamedOperatorConstructor(n.name, n.reader);
}
