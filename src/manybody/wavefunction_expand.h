// Splitting a wave function into parts and changing the number of modes its
// determinants hold: the kernels behind the script calls Expand,
// ExpandToBasis and DeterminantString and the fields NF and NB of a state.
//
// Functions returning int give 0 on success and 1 on failure, after printing
// one line on the standard output that names what failed; on failure no
// memory stays with the caller and the source is unchanged.
#ifndef SKELDA_MANYBODY_WAVEFUNCTION_EXPAND_H
#define SKELDA_MANYBODY_WAVEFUNCTION_EXPAND_H

#include <cstdint>

#include "manybody/wavefunction.h"

// Largest number of modes of an Expand: 2^24 parts is already more than any
// memory holds.
const unsigned int WaveFunctionExpandMaxModes = 24;

// Splits psi by the occupation of n modes: part f (0 <= f < 2^n) receives,
// with their prefactors, the determinants of psi in which the occupation of
// modes[j] equals bit j of f for every j.  parts holds 2^n records, which are
// initialised here with the settings of psi (kind, numbers of modes, key
// width and name).  Every mode must be below NFermion + NBoson.
int WaveFunctionExpand(WaveFunctionType psi, const uint32_t* modes, unsigned int n, WaveFunctionType* parts);

// One real state per element of psi (parts holds psi.N records, initialised
// here): element i of psi becomes part i-1, its determinant with prefactor
// 1.0, named after the determinant bytes, each written " %2.2X".
int WaveFunctionExpandToDeterminantBasis(WaveFunctionType psi, WaveFunctionType* parts);

// Re-shapes psi to NFnew fermionic and NBnew bosonic modes: fermion bits
// beyond NFnew are dropped and new modes are empty, boson occupations are
// copied as far as both shapes have them.  Determinants that become equal
// merge and their prefactors add.  The name, kind and key width stay.
// Nothing changes when the shape is the same; NFnew + NBnew may not exceed
// 65536.
int WaveFunctionChangeNFandNB(WaveFunctionType* psi, uint32_t NFnew, uint32_t NBnew);

// The text of the determinant of NF fermionic modes in which the listed modes
// are occupied, one '1' or '0' per mode, mode 0 first (the form that
// NewWavefunction reads).  An index outside 0..NF-1 is reported on the
// standard output and ignored.  Caller frees; null when memory runs out.
char* DeterminantStringFromModes(unsigned int NF, const int* modes, unsigned int n);

#endif
