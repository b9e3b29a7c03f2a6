#include "krylov/convergence_settings.h"

#include <cfloat>
#include <cstring>

ConvergenceSettingsType InitConvergenceSettings() {
    ConvergenceSettingsType s;
    memset(&s, 0, sizeof s);
    s.DenseBorder = 1513;
    s.NKrylovStart = 100;
    s.NKrylovMax = 500;
    s.NKrylovStep = 10;
    s.NKrylovMin = 50;
    s.NTri = 200;
    s.NTri1 = 100;
    s.NTri2 = 100;
    s.zero = 1.4901161193847656e-06;
    s.epsilon = 1.4901161193847657e-10;
    s.MeanFieldStartingPointTemperature = 8.621738e-05;
    s.NBitsKey = 16;
    for (auto& r : s.Restrictions) InitDeterminantRestriction(&r);
    for (auto& r : s.Range) r = SpectrumRangeType{DBL_MAX, -DBL_MAX, 1000, 0.0};
    s.ShiftScheme = "Variance";
    return s;
}

void FreeConvergenceSettings(ConvergenceSettingsType* s) {
    for (auto& r : s->Restrictions) FreeDeterminantRestriction(&r);
}
