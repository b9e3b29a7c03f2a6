// The Lanczos recursion that turns an operator H and a start function psi
// into the chain (tridiagonal) form of the Green's function
//   G(z) = <psi| 1/(z - H) |psi> = b[0]^2 / (z - a[1] - b[1]^2 / (z - a[2] - ...)).
//
// The Krylov vectors are many-body functions whose determinant basis grows at
// every level; each is truncated at epsilon / Err, where the truncation
// weight Err (1 at the start) falls as the couplings b[i] become small
// against `floor` (the callers pass the larger of epsilon and the width of
// the spectrum they will make), so that levels that a broadened spectrum
// barely sees are kept smaller.
//
// Two families:
//   LanczosTriDiagonalize...        three vectors in a ring, no
//                                   reorthogonalisation: the smallest memory.
//   LanczosTriDiagonalizeKrylov...  all N vectors, two Gram-Schmidt passes per
//                                   level, handed to the caller in PsiBasis.
// The record M is allocated by the caller with M->N levels; the loop always
// runs to N, and a vanishing b[i] gives zeros at the later levels.
//
// Kinds: the forms without a suffix dispatch on the QComplex of psi and H.
// A real psi with a complex or mixed H is made complex first.  The suffixed
// forms (RR, RC, CC, MC: operator kind, then function kind) expect those
// kinds.  Memory failures double a local copy of epsilon, truncate and retry;
// a function of a single block that can't grow ends the process.
#ifndef SKELDA_KRYLOV_LANCZOS_TRIDIAGONAL_H
#define SKELDA_KRYLOV_LANCZOS_TRIDIAGONAL_H

#include "manybody/operator.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction.h"
#include "response/tridiagonal.h"

// psi is read only.  When H carries restrictions of its own, psi is
// restricted first (b[0] is the norm of the restricted function) and the
// restricted recursion runs with them.
int LanczosTriDiagonalize(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                          double floor);
int LanczosTriDiagonalizeRR(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                            double floor);
int LanczosTriDiagonalizeRC(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                            double floor);
int LanczosTriDiagonalizeCC(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                            double floor);
int LanczosTriDiagonalizeMC(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                            double floor);

// The same with every application of H restricted.
int LanczosTriDiagonalizeRestricted(OperatorType H, WaveFunctionType psi, DeterminantRestrictionType restrictions,
                                    double epsilon, TriDiagonalMatrixType* M, double floor);

// PsiBasis has room for M->N records and receives the orthonormal Krylov
// vectors (the caller frees them).  psi's storage becomes PsiBasis[0]: the
// caller must neither use nor free psi afterwards.
int LanczosTriDiagonalizeKrylov(OperatorType H, WaveFunctionType psi, double epsilon, TriDiagonalMatrixType* M,
                                WaveFunctionType* PsiBasis);
int LanczosTriDiagonalizeKrylovRestricted(OperatorType H, WaveFunctionType psi,
                                          DeterminantRestrictionType restrictions, double epsilon,
                                          TriDiagonalMatrixType* M, WaveFunctionType* PsiBasis);

#endif
