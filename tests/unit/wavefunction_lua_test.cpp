// Operators on either side of a wave function in scripts.  The operator is an
// "Operator_Type" userdata made here from the store, with its terms known
// exactly.
#include <gtest/gtest.h>

#include <string>

#include "host/luahost.h"
#include "host/register.h"
#include "manybody/operator.h"

namespace {

inline uint16_t C(unsigned m) { return (uint16_t)(0x8000u | m); }
inline uint16_t A(unsigned m) { return (uint16_t)m; }

int FreeTestOperator(lua_State* L) {
    FreeOperator(static_cast<OperatorType*>(lua_touserdata(L, 1)));
    return 0;
}

// Sets the global O to an Operator_Type userdata that takes over op (the
// type's finaliser frees it; a stand-in where the type is not registered).
void SetOperator(lua_State* L, const OperatorType& op) {
    OperatorType* ud = static_cast<OperatorType*>(lua_newuserdata(L, sizeof(OperatorType)));
    *ud = op;
    if (luaL_newmetatable(L, "Operator_Type")) {
        lua_pushcfunction(L, FreeTestOperator);
        lua_setfield(L, -2, "__gc");
    }
    lua_setmetatable(L, -2);
    lua_setglobal(L, "O");
}

}  // namespace

TEST(WavefunctionLua, OperatorOnEitherSide) {
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    SkeldaOpenInterpreterAdditions(L);
    SkeldaRegisterHostLibraries(L);
    luaopen_ssp(L);
    SkeldaRegisterImaginaryUnit(L);

    // O = 2 C0 A1 + 3i C1 A0 on four modes (codes in order of application).
    OperatorType op;
    ASSERT_EQ(InitOperator(&op), 0);
    op.NF = 4;
    op.NWord = 1;
    ASSERT_EQ(InitOperatorFixedLength(&op, 2, 4), 0);
    const uint16_t hop10[2] = {A(1), C(0)}, hop01[2] = {A(0), C(1)};
    ASSERT_EQ(OperatorAddLader(&op, hop10, 2, 2.0, 0.0), 0);
    ASSERT_EQ(OperatorAddLader(&op, hop01, 2, 0.0, 3.0), 0);
    OperatorRecountQComplex(&op);
    SetOperator(L, op);

    // psi = a |0100> + b |1000> with a = 1, b = 2:
    //   O psi          = 2a |1000> + 3i b |0100>  = 2 |1000> + 6i |0100>
    //   psi * O = O+ psi = 2b |0100> - 3i a |1000> = 4 |0100> - 3i |1000>
    //   psi * O * psi  = <psi|O|psi> = 2 conj(b) a + 3i conj(a) b = 4 + 6i
    const char* chunk =
        "local psi = NewWavefunction(4, 0, {{'0100', 1}, {'1000', 2}})\n"
        "local r, l, e = O * psi, psi * O, psi * O * psi\n"
        "local r1, r2, l1, l2 = r.PrefactorDet('1000'), r.PrefactorDet('0100'),\n"
        "                       l.PrefactorDet('1000'), l.PrefactorDet('0100')\n"
        "return r.N, r1.re, r1.im, r2.re, r2.im, l.N, l1.re, l1.im, l2.re, l2.im, e.re, e.im\n";
    ASSERT_EQ(luaL_dostring(L, chunk), LUA_OK) << lua_tostring(L, -1);
    const double want[12] = {2, 2, 0, 0, 6, 2, 0, -3, 4, 0, 4, 6};
    for (int k = 0; k < 12; k++) EXPECT_DOUBLE_EQ(lua_tonumber(L, k + 1), want[k]) << "result " << k + 1;
    lua_settop(L, 0);

    // An operator on more modes than the state holds is refused, on either side.
    for (const char* product :
         {"return O * NewWavefunction(2, 0, {{'10', 1}})", "return NewWavefunction(2, 0, {{'10', 1}}) * O"}) {
        ASSERT_NE(luaL_dostring(L, product), LUA_OK);
        EXPECT_NE(std::string(lua_tostring(L, -1)).find("can not act on a wavefunction of 2 fermions"),
                  std::string::npos)
            << product;
        lua_settop(L, 0);
    }
    lua_close(L);
}
