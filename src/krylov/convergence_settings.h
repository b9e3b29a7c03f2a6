// The settings of a solver call: Krylov sizes, tolerances, restrictions and
// the energy windows of spectra, with the defaults every script call starts
// from.
#ifndef SKELDA_KRYLOV_CONVERGENCE_SETTINGS_H
#define SKELDA_KRYLOV_CONVERGENCE_SETTINGS_H

#include <cstdint>

#include "manybody/restriction.h"

struct SpectrumRangeType {
    double Emin;  // above Emax: not set
    double Emax;
    uint32_t NE;
    double Gamma;  // 0: not set
};

struct ConvergenceSettingsType {
    uint32_t DenseBorder;   // largest basis solved by dense diagonalisation
    uint32_t NKrylovStart;  // first Krylov dimension of the restarted block solver
    uint32_t NKrylovMax;    // largest Krylov dimension
    uint32_t NKrylovStep;   // growth of the Krylov dimension between restarts
    uint32_t NKrylovMin;    // accepted; no solver reads it
    uint32_t NTri;
    uint32_t NTri1;
    uint32_t NTri2;
    double zero;     // convergence tolerance
    double epsilon;  // coefficient below which a determinant is dropped
    double MeanFieldStartingPointTemperature;
    uint32_t NBitsKey;
    DeterminantRestrictionType Restrictions[3];
    SpectrumRangeType Range[3];
    const char* ShiftScheme;
};

// Every field at its default: DenseBorder 1513, NKrylovStart 100,
// NKrylovMax 500, NKrylovStep 10, NKrylovMin 50, NTri 200, NTri1 and NTri2
// 100, zero 1.4901161193847656e-06, epsilon 1.4901161193847657e-10,
// MeanFieldStartingPointTemperature 8.621738e-05, NBitsKey 16, empty
// restrictions, unset ranges of 1000 steps, ShiftScheme "Variance".
ConvergenceSettingsType InitConvergenceSettings();

// Frees the three restrictions.
void FreeConvergenceSettings(ConvergenceSettingsType* s);

#endif
