// Shared steps of the Coulomb builders.
#ifndef SKELDA_ATOMIC_COULOMB_DETAIL_H
#define SKELDA_ATOMIC_COULOMB_DETAIL_H

#include <cstdint>

#include "manybody/operator.h"

namespace coulomb {

// Angular weights of this size or below are skipped before the spin loops.
const double kCoulombCut = 2.220446049250313e-16;

// An empty real operator "Coulomb operator" of NF fermions with lengths 2
// (left empty) and 4.
int BeginCoulomb(OperatorType* O, uint32_t NF);
// Frees O and returns 1.
int FailCoulomb(OperatorType* O);
// Removes the terms that cancelled (values below 1e-14 of the largest).
int FinishCoulomb(OperatorType* O);
// Adds value times c+(m1) c+(m2) c(m3) c(m4) in normal order, stored as the
// codes [m4, m3, m2 created, m1 created] in order of application.
int AddCoulombTerm(OperatorType* O, uint16_t m1, uint16_t m2, uint16_t m3, uint16_t m4, double value);

}  // namespace coulomb

#endif
