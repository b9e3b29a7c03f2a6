// CreateSpectra: the Green's functions
//   G(E) = <psi| T^dagger 1/(E + E0 - H + i Gamma/2) T |psi>
// of every transition operator T and state psi, as one Spectra_Type.  The
// space that H reaches from the transition functions is explored first: when
// it closes within DenseBorder determinants the poles are found exactly,
// otherwise a Lanczos chain of NTri levels is made for each pair.
#ifndef SKELDA_SPECTRA_CREATESPECTRA_H
#define SKELDA_SPECTRA_CREATESPECTRA_H

#include <lua.hpp>

#include <cstdint>

#include "response/listofpoles.h"
#include "response/tridiagonal.h"

// CreateSpectra(H, T, psi [, options]).
int LuaCreateSpectra(lua_State* L);

// The automatic energy window of a set of spectra whose poles (relative to
// their own zero) lie in [lo, hi]: a missing end (unset, i.e. +-DBL_MAX) is
// placed an eighth of the pole range beyond the poles, or, for a single pole,
// by its own rule; a Gamma of 0 becomes ten grid steps.
void SpectraAutomaticRange(double lo, double hi, uint32_t NE, double* Emin, double* Emax, double* Gamma);

#endif
