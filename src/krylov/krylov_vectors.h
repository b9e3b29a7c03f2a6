// The vector steps that the Krylov solvers share: application of H with or
// without restrictions, the subtraction with basis growth that can be undone,
// truncation that keeps the kind of a function, and the raising of epsilon
// after a memory failure.
#ifndef SKELDA_KRYLOV_KRYLOV_VECTORS_H
#define SKELDA_KRYLOV_KRYLOV_VECTORS_H

#include "manybody/operator.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction.h"

// out = H v (out is made here), restricted by R when R is not null.
int KrylovApply(const OperatorType& H, const WaveFunctionType& v, WaveFunctionType* out,
                const DeterminantRestrictionType* R);

// a += (xr + i xi) b, determinant by determinant from the last element of b
// down, growing a's basis.  When an addition fails for lack of memory, what
// was added so far is subtracted again (through the hash table) and 1 is
// returned with a as before, up to rounding; else 0.  a must be complex when
// b or the factor is.
int KrylovAddWithGrowth(WaveFunctionType* a, const WaveFunctionType& b, double xr, double xi);

// Keeps the elements above eps; a complex function stays complex.
void KrylovTruncate(WaveFunctionType* v, double eps);

// Doubles *epsilon and prints the "reduce accuracy" line.
void KrylovDoubleEpsilon(double* epsilon);

#endif
