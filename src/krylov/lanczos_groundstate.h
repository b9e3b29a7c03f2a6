// The lowest state of an operator from a trial function, in a determinant
// basis that the search grows by itself: each outer step applies H once
// with growth and truncation, three power steps favour the low end, and
// restarted short Lanczos cycles (25 to 99 levels, three vectors, built twice)
// run inside the basis so obtained.  The result overwrites psi, normalised,
// orthogonal to the functions of a list.
#ifndef SKELDA_KRYLOV_LANCZOS_GROUNDSTATE_H
#define SKELDA_KRYLOV_LANCZOS_GROUNDSTATE_H

#include "manybody/operator.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction.h"

// *epsilon is doubled when memory runs short and the caller keeps the new
// value.  zero is the tolerance of energy and variance; shiftMargin an extra
// distance in the shift update (0 from scripts).  Returns 0.
int LanczosGroundState(OperatorType H, WaveFunctionType* psi, double* epsilon, double zero, double shiftMargin,
                       WaveFunctionType* orthogonalTo, unsigned int nOrthogonal);
int LanczosGroundStateRestricted(OperatorType H, WaveFunctionType* psi, DeterminantRestrictionType restrictions,
                                 double* epsilon, double zero, double shiftMargin, WaveFunctionType* orthogonalTo,
                                 unsigned int nOrthogonal);

#endif
