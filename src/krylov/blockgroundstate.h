// The lowest N eigenstates of an operator in a determinant basis that grows:
// each outer turn applies H to the block of states (widening the basis),
// measures energies and variances, and solves the eigenproblem inside the
// basis reached, densely up to DenseBorder determinants and with a restarted
// block Krylov solver with full reorthogonalisation above.  The run ends
// when every variance is small against the running energy scale.
#ifndef SKELDA_KRYLOV_BLOCKGROUNDSTATE_H
#define SKELDA_KRYLOV_BLOCKGROUNDSTATE_H

#include "krylov/convergence_settings.h"
#include "manybody/operator.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction.h"

// psi: N records.  With startRestrictions of non-zero count and nBitsKey not
// 0, starting functions are made here (psi is then uninitialised on entry)
// and first converged within those restrictions; otherwise psi holds N
// functions on one shared basis.  On return psi is a block on one basis.
// settings->epsilon is doubled when memory runs short.  0 or 1.
int BlockGroundState(OperatorType* H, unsigned int N, ConvergenceSettingsType* settings,
                     DeterminantRestrictionType startRestrictions, DeterminantRestrictionType runRestrictions,
                     WaveFunctionType* psi, unsigned int nBitsKey);

// The N lowest eigenstates of H within the fixed basis of the block psi.
int BlockLanczosGroundStateConserveBasis(OperatorType* H, WaveFunctionType* psi, unsigned int N,
                                         ConvergenceSettingsType* settings);
int BlockLanczosGroundStateConserveBasisDense(OperatorType H, WaveFunctionType* psi, unsigned int N);

// N orthonormal functions on one basis of determinants that meet the
// restrictions: every such determinant for fewer than 25 spin-orbitals, else
// a random selection widened by one application of H.
int CreateStartingFunctions(OperatorType H, unsigned int N, DeterminantRestrictionType restrictions,
                            WaveFunctionType* psi, unsigned int nBitsKey);

// Gives every function of a block a basis of its own.
int WaveFunctionArraySeperateBasis(WaveFunctionType* psi, unsigned int N);

#endif
