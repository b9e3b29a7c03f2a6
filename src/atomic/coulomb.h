// The Coulomb interaction of electrons in atomic shells from Slater
// integrals, as a two-body operator, in ls coupling (shells given by their
// up and down lists of 2l+1 modes) and in jj coupling (a shell given by its
// 2j+1 modes, jz ascending, and its kappa).
//
// The operator is 1/2 sum <12|V|34> c+(1) c+(2) c(4) c(3) with
// <12|V|34> = sum_k R^k c^k(1,3) c^k(4,2) and the Slater coefficients c^k of
// the angular algebra.  A term is stored as c+(1) c+(2) c(3) c(4), that is
// with the opposite sign, and added in normal order, so equal terms sum and
// terms with a repeated mode vanish.  All integrals count, F^0 included.
// Coulomb operators are real; every builder initialises O (named "Coulomb
// operator", length 4 and an empty length 2), returns 0, or 1 after an
// allocation failure has been reported (O is then freed).
//
// The tables of integrals hold doubles in rising k:
//   one ls shell      F  k = 0, 2, ..., 2l
//   two ls shells     F  k = 0, 2, ..., 2 min(lA, lB)
//                     G  k = |lA-lB|, |lA-lB|+2, ..., lA+lB
//   four ls shells    R  k = max(|lA-lC|, |lB-lD|), +2, ..., min(lA+lC, lB+lD)
//   one jj shell      F  k = 0, 2, ..., 2j-1
//   two jj shells     F  k = 0, 2, ..., min(2jA, 2jB)-1
//                     G  the (min(2jA, 2jB)+1)/2 values of k from |jA-jB| to
//                        jA+jB with the parity of lA+lB, rising by 2
//   four jj shells    R  every integer k from min(|jA-jC|, |jB-jD|) to
//                        max(jA+jC, jB+jD); entries whose k the angular
//                        factors forbid do not matter
#ifndef SKELDA_ATOMIC_COULOMB_H
#define SKELDA_ATOMIC_COULOMB_H

#include <cstdint>

#include "manybody/operator.h"

// The one-shell operator.
int CreateOperatorCoulombSingleShell(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, const double* F,
                                     OperatorType* O);
// The part of the interaction between two shells that keeps the occupation
// of each: direct terms with F, exchange terms with G.
int CreateOperatorCoulombTwoShellsConstantOccupation(uint32_t NF, int lA, int lB, const uint16_t* upA,
                                                     const uint16_t* dnA, const uint16_t* upB,
                                                     const uint16_t* dnB, const double* F, const double* G,
                                                     OperatorType* O);
// The one ordered matrix element 1/2 sum R^k c^k(A,C) c^k(D,B) c+(A) c+(B)
// c(D) c(C); partners for a Hermitian result are the caller's to add.
// lA + lB + lC + lD must be even.
int CreateOperatorCoulombFourShells(uint32_t NF, int lA, int lB, int lC, int lD, const uint16_t* upA,
                                    const uint16_t* dnA, const uint16_t* upB, const uint16_t* dnB,
                                    const uint16_t* upC, const uint16_t* dnC, const uint16_t* upD,
                                    const uint16_t* dnD, const double* R, OperatorType* O);

// The same in jj coupling: j = |kappa| - 1/2, l = kappa for kappa > 0 and
// -kappa-1 for kappa < 0.
int CreateOperatorCoulombSingleRelativisticShell(uint32_t NF, int kappa, const uint16_t* index, const double* F,
                                                 OperatorType* O);
int CreateOperatorCoulombTwoRelativisticShellsConstantOccupation(uint32_t NF, int kappaA, int kappaB,
                                                                 const uint16_t* indexA, const uint16_t* indexB,
                                                                 const double* F, const double* G,
                                                                 OperatorType* O);
int CreateOperatorCoulombFourRelativisticShells(uint32_t NF, int kappaA, int kappaB, int kappaC, int kappaD,
                                                const uint16_t* indexA, const uint16_t* indexB,
                                                const uint16_t* indexC, const uint16_t* indexD, const double* R,
                                                OperatorType* O);

// Doubled j (2|kappa| - 1) and l of a relativistic shell.
int CoulombKappaToTwoJ(int kappa);
int CoulombKappaToL(int kappa);
// The smallest k of the exchange table of two jj shells.
int CoulombRelativisticExchangeKMin(int kappaA, int kappaB);

#endif
