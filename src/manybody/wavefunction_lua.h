// The script face of wave functions: the userdata "Wavefunction_Type" that
// holds one WaveFunctionType record, its fields, dot methods and arithmetic,
// and the global functions on states.
//
// Dot methods.  psi.Chop(1e-6) looks up the field Chop, which makes psi the
// current object (host/currentudata.h), and the method acts on it: methods
// take no self.  A method value kept and called later acts on the state
// indexed last.
#ifndef SKELDA_MANYBODY_WAVEFUNCTION_LUA_H
#define SKELDA_MANYBODY_WAVEFUNCTION_LUA_H

#include <lua.hpp>

#include "manybody/wavefunction.h"

// NewWavefunction(NFermion, NBoson, {{det, prefactor}, ...} [, options]).
int LuaNewWaveFunction(lua_State* L);

// __tostring: the readable printout.  __gc: WaveFunctionFree.
int LuaWavefunctionToString(lua_State* L);
int LuaWavefunctionDestroy(lua_State* L);

// __index: the fields Complex, N, Name, NBitsKey, NF, NB and the dot methods
// Chop, Conjugate, Det, PrefactorDet, Print, Randomize, Normalize.
// __newindex: Name, NBitsKey, NF, NB; the other fields refuse.
int LuaWavefunctionIndex(lua_State* L);
int LuaWavefunctionNewIndex(lua_State* L);

// The dot methods, acting on the current object.
int LuaWavefunctionChop(lua_State* L);         // .Chop([eps]), in place
int LuaWavefunctionConjugate(lua_State* L);    // .Conjugate(), in place
int LuaWavefunctionDet(lua_State* L);          // .Det(i): a new state of element i
int LuaWavefunctionPrefactorDet(lua_State* L); // .PrefactorDet(i or "0110")
int LuaWavefunctionPrint(lua_State* L);        // .Print([{{"file", name}, {"Full", b}, {"Binary", b}}])
int LuaWavefunctionRandomize(lua_State* L);    // .Randomize(), in place
int LuaWavefunctionNormalize(lua_State* L);    // .Normalize(), in place

// Arithmetic: psi + phi and psi - phi in the union of both bases; -psi;
// number or Complex times psi; O * psi and psi * O (the latter is the
// conjugate transpose of O applied to psi, so that (psi * O) * phi is
// <psi|O|phi>); psi * phi the inner product <psi|phi>, a number unless its
// imaginary part is not negligible; psi / number and psi / Complex.  The
// operator on the other side of a product is an "Operator_Type" userdata: an
// operator's own __mul hands a wave function on its right to
// LuaWavefunctionMul with the stack as it got it.
int LuaWavefunctionAdd(lua_State* L);
int LuaWavefunctionSub(lua_State* L);
int LuaWavefunctionMul(lua_State* L);
int LuaWavefunctionDiv(lua_State* L);
int LuaWavefunctionUnm(lua_State* L);

// Global functions.
int LuaFileReadWavefunction(lua_State* L);            // Ulmen.ReadWavefunction(file [, options])
int LuaDeterminantString(lua_State* L);               // DeterminantString(NF, {indices})
int LuaWavefunctionExpand(lua_State* L);              // Expand(psi, {modes})
int LuaWaveFunctionToDeterminantBasis(lua_State* L);  // ExpandToBasis(psi)
int LuaOrthonormalize(lua_State* L);                  // Orthonormalize(list or matrix [, options])

// Kind test and arms of the global Copy/Clone, Conjugate and Chop (see
// host/global_dispatch.h): each returns a new state.
int LuaKindWavefunction(lua_State* L, int idx);
int LuaWavefunctionCopyArm(lua_State* L);
int LuaWavefunctionConjugateArm(lua_State* L);
int LuaWavefunctionChopArm(lua_State* L);

// Creates the metatable "Wavefunction_Type" in the registry and fills it, and
// adds the row of wave functions to the arithmetic of complex numbers.
void LuaRegisterWavefunctionType(lua_State* L);
void LuaRegisterWavefunctionComplexRow();

// The file library: the empty metatable "Ulmen_Type" and the global table
// Ulmen with ReadWavefunction and readwavefunction.
void LuaRegisterWavefunctionFileLibrary(lua_State* L);

// Pushes a new userdata that takes over psi (the caller no longer frees it).
void LuaPushWaveFunction(lua_State* L, const WaveFunctionType& psi);

#endif
