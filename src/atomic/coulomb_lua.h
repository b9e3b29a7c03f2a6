// Script faces of the Coulomb operators: NewOperator("Coulomb", ...) and the
// names AtomicU and Dirac, which start from radial functions.
//
// Arguments after the name, ls coupling (a shell is IndexUp, IndexDn):
//   NF, shell, F                                  one shell
//   NF, shell A, shell B, F, G                    two shells, occupations kept
//   NF, shell A, shell B, shell C, shell D, R     one ordered matrix element
// and jj coupling (a shell is Index, kappa; chosen when the third argument
// is a number):
//   NF, A, kappaA, F;  NF, A, kappaA, B, kappaB, F, G;
//   NF, A, kappaA, B, kappaB, C, kappaC, D, kappaD, R.
// The tables of integrals are described in atomic/coulomb.h.
#ifndef SKELDA_ATOMIC_COULOMB_LUA_H
#define SKELDA_ATOMIC_COULOMB_LUA_H

#include <lua.hpp>

int LuaOperatorNewCoulomb(lua_State* L);
// Radial integrals of radial functions are not computed by this program:
// after the argument count these raise an error that says so.
int LuaOperatorNewAtomicU(lua_State* L);
int LuaOperatorNewAtomicDirac(lua_State* L);

// Registers Coulomb, AtomicU and Dirac with NewOperator.
void LuaRegisterCoulombOperators();

#endif
