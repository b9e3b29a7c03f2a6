// The script face of expectation values: the globals Braket,
// BraketDiagonal, DensityMatrix, Statistics and PrintExpectationValues.
//
// A single value comes back as a plain number when its imaginary part is
// below (|re| * 2.220446049250313e-16 + 2.2250738585072014e-308) * 10, else as
// a Complex, the rule of psi * psi.  Matrices come back in the table form
// (MatrixMeta), real when every element passes that test.
#ifndef SKELDA_MANYBODY_EXPECTATION_LUA_H
#define SKELDA_MANYBODY_EXPECTATION_LUA_H

#include <lua.hpp>

// Braket(a, b) or Braket(a, O, b), a and b wave functions or lists of them:
// state and state give <a|b>, with O <a|O|b>; a list and a state (either
// way round) give a list of values, two lists a matrix, element (i, j) for
// a[i] and b[j].
int LuaBraKet(lua_State* L);

// BraketDiagonal(list1, [O,] list2): the list of <list1[i]|O|list2[i]>.
int LuaBraKetDiagonal(lua_State* L);

// DensityMatrix(psi [, orbitals] [, options]): the one-particle density
// matrix rho[i][j] = <psi| C_i A_j |psi> (modes counted from 0; orbitals
// chooses and orders them).  A list of states gives a list of matrices, or
// with {"Tensor", true} the transition densities t[a][b] between every
// pair of the list.
int LuaDensityMatrix(lua_State* L);

// Statistics(x): the terms of an operator by length, or a summary of a
// wave function and the histogram of its prefactors in decades.
int LuaStatistics(lua_State* L);

// PrintExpectationValues(psiList [, H] [, operators] [, options]): the
// table of StreamPrintExpectationValues (manybody/expectation.h) on the
// standard output.  Options "colWidth" (default 12), "printHeaderEvery"
// (default 0: the header only once), "printSigma" (default false: no
// variance column), "sortByEnergy" (default false: the order of the list)
// and "zero" (default half a unit of the last printed decimal).
int LuaPrintExpectationValues(lua_State* L);

#endif
