// Block Lanczos: from an operator and M start functions, the block
// tridiagonal form whose blocks are M wide.  b[0] maps the given start
// functions onto the orthonormal first block (entry (i, j) = <psi_i|q_j>),
// so that the block Green's function evaluated from the form is
// <psi_i| 1/(z - H) |psi_j> in the basis of the given functions.  Directions
// whose singular value falls below the threshold are dropped; a block that
// lost width keeps its M by M shape with zeros, and a space that closes
// leaves the later levels zero.
#ifndef SKELDA_KRYLOV_BLOCKLANCZOS_TRIDIAGONAL_H
#define SKELDA_KRYLOV_BLOCKLANCZOS_TRIDIAGONAL_H

#include "manybody/operator.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction.h"
#include "numeric/compactmatrix.h"
#include "response/blockforms.h"

// T has N levels and block size M = count, made with
// InitBlockTriDiagonalMatrix; psi is read only.  R (may be null) restricts
// every application of H.  0 or 1.
int LanczosBlockTriDiagonalize(OperatorType H, const WaveFunctionType* psi, unsigned int count, double epsilon,
                               BlockTriDiagonalMatrixType* T, double singularValue,
                               const DeterminantRestrictionType* R);

// The same, keeping the Krylov vectors: basis has room for T->N * count
// records and receives the orthonormal vectors level by level (count per
// level; a level that lost width has empty records in its last places).
// The caller frees the records with WaveFunctionFree.
int LanczosBlockTriDiagonalizeKrylov(OperatorType H, const WaveFunctionType* psi, unsigned int count, double epsilon,
                                     BlockTriDiagonalMatrixType* T, double singularValue,
                                     const DeterminantRestrictionType* R, WaveFunctionType* basis);

// The same recursion on a dense Hermitian matrix A (n by n) with the columns
// of S (n by M) as the start block.  T (N levels, size M) is made here; Q,
// if not null, receives the orthonormal Krylov vectors as the rows of an
// (N M) by n matrix (zero rows where the width fell).
int CompactMatrixBlockBandDiagonalize(const CompactMatrixType& A, const CompactMatrixType& S, uint32_t N,
                                      double singularValue, BlockTriDiagonalMatrixType* T, CompactMatrixType* Q);

#endif
