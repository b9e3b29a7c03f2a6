// Two-step spectra.  The ground state psi is excited by T1 into an
// intermediate state with Hamiltonian H1; for each incoming energy w the
// intermediate function is the resolvent
//   wres(w) = 1/(w + E0_1 - H1 + i Gamma1/2) T1 |psi>,
// made from one Krylov basis of H1 and T1 psi that serves all energies.
//   CreateResonantSpectra: from wres a second operator T2 leads to final
//     states of H2; one spectrum in the outgoing energy per incoming energy
//     and T2 (resonant inelastic scattering maps).
//   CreateFluorescenceYield: the squared norm |T2 wres(w)|^2 per T2, as a
//     function of the incoming energy.
#ifndef SKELDA_SPECTRA_RESONANT_H
#define SKELDA_SPECTRA_RESONANT_H

#include <lua.hpp>

// CreateResonantSpectra(H1, H2, T1, T2, psi [, options]).
int LuaCreateResonantSpectra(lua_State* L);
// CreateFluorescenceYield(H, T1, T2, psi [, options]).
int LuaCreateFluorescenceYield(lua_State* L);

#endif
