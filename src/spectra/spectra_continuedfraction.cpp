#include <cmath>

#include "spectra/spectra.h"

int TriDiagonalMatrixToSpectrum(double E0, TriDiagonalMatrixType M, SpectraType* S) {
    if (2.0 * S->Gamma < std::fabs(S->dE))
        printf("\n\nNeed more then two points per lorenzian FWHM in order to represent a spectrum\n");
    const double eta = S->Gamma / 2.0;
    const uint32_t N = M.N == 0 ? 1 : M.N;
    const double b02 = M.b[0] * M.b[0];
#pragma omp parallel for schedule(static)
    for (int64_t k = 0; k <= (int64_t)S->NE; k++) {
        const double E = S->Emin + E0 + k * S->dE;
        double d = E - M.a[N];
        double den = d * d + eta * eta;
        double x = d / den, y = -eta / den;
        for (uint32_t i = N - 1; i >= 1; i--) {
            const double b2 = M.b[i] * M.b[i];
            const double p = (E - M.a[i]) - b2 * x;
            const double q = eta - b2 * y;
            den = p * p + q * q;
            x = p / den;
            y = -q / den;
        }
        S->Re[k] = x * b02 + M.a[0];
        S->Im[k] = y * b02;
    }
    S->Integral = b02;
    S->Moment = -b02;
    S->Centre = M.a[0] - E0;
    for (uint32_t i = 0; i < 5; i++) {
        S->TailA[i] = (i + 1 <= M.N ? M.a[i + 1] : M.a[N]) - E0;
        S->TailB[i] = i < M.N ? M.b[i] : 0.0;
    }
    return 0;
}

int ListOfPolesToSpectrum(double E0, ListOfPoles L, SpectraType* S) {
    if (2.0 * S->Gamma < std::fabs(S->dE))
        printf("\n\nNeed more then two points per lorenzian FWHM in order to represent a spectrum\n");
    const double eta = S->Gamma / 2.0;
    double weight = 0.0, first = 0.0;
    for (uint32_t p = 0; p < L.N; p++) {
        weight += L.b[p];
        first += L.b[p] * L.a[p];
    }
#pragma omp parallel for schedule(static)
    for (int64_t k = 0; k <= (int64_t)S->NE; k++) {
        const double E = S->Emin + E0 + k * S->dE;
        double re = L.a0, im = 0.0;
        for (uint32_t p = 0; p < L.N; p++) {
            const double d = E - L.a[p];
            const double den = d * d + eta * eta;
            re += L.b[p] * d / den;
            im -= L.b[p] * eta / den;
        }
        S->Re[k] = re;
        S->Im[k] = im;
    }
    S->Integral = weight;
    S->Moment = -weight;
    S->Centre = L.a0 - E0;
    const double mean = weight != 0.0 ? first / weight : E0;
    for (int i = 0; i < 5; i++) {
        S->TailA[i] = mean - E0;
        S->TailB[i] = 0.0;
    }
    S->TailB[0] = std::sqrt(std::fabs(weight));
    return 0;
}
