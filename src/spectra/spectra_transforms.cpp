#include <cmath>
#include <cstdlib>
#include <vector>

#include "spectra/spectra.h"

int Lorentzian(SpectraType* S) { return BroadenL(S, S->Gamma); }

int KramersKronigImToRe(SpectraType* S) {
    const int64_t n = (int64_t)S->NE + 1;
    if (S->dE == 0.0) return 1;
    std::vector<double> re(n);
    const double* im = S->Im;
    // Maclaurin's rule for the principal value: only the points at an odd
    // distance from i take part, with twice the weight; the steps cancel in
    // dE / (E_j - E_i) = 1 / (j - i).
    const double factor = 2.0 / M_PI;
#pragma omp parallel for schedule(static)
    for (int64_t i = 0; i < n; i++) {
        double sum = 0.0;
        for (int64_t j = (i + 1) % 2; j < n; j += 2) sum += im[j] / (double)(j - i);
        re[i] = factor * sum;
    }
    for (int64_t i = 0; i < n; i++) S->Re[i] = re[i];
    return 0;
}

void RemoveNegativePart(double* values, unsigned int n) {
    double total = 0.0, positive = 0.0;
    for (unsigned int i = 0; i < n; i++) {
        total += values[i];
        if (values[i] > 0.0) positive += values[i];
    }
    for (unsigned int i = 0; i < n; i++)
        if (values[i] < 0.0) values[i] = 0.0;
    if (positive > 0.0 && total > 0.0)
        for (unsigned int i = 0; i < n; i++) values[i] *= total / positive;
}

int ReplaceLorentzianByGaussian(double gamma, double sigma, unsigned int n, double dE, const double* in, double* out) {
    if (n == 0) return 0;
    // In Fourier space a Lorentzian of full width gamma is exp(-gamma |t| / 2)
    // and a Gaussian exp(-sigma^2 t^2 / 2): the curve is multiplied by their
    // ratio, cut where the Gaussian has fallen below the rounding level.
    const double T = n * dE;
    std::vector<double> cre(n), cim(n);
    for (unsigned int k = 0; k < n; k++) {
        double a = 0.0, b = 0.0;
        for (unsigned int j = 0; j < n; j++) {
            const double phase = 2.0 * M_PI * (double)k * j / n;
            a += in[j] * std::cos(phase);
            b -= in[j] * std::sin(phase);
        }
        const int kk = k <= n / 2 ? (int)k : (int)k - (int)n;
        const double t = 2.0 * M_PI * kk / T;
        const double gauss = -sigma * sigma * t * t / 2.0;
        const double ratio = gauss < -36.0 ? 0.0 : std::exp(gamma * std::fabs(t) / 2.0 + gauss);
        cre[k] = a * ratio;
        cim[k] = b * ratio;
    }
    for (unsigned int j = 0; j < n; j++) {
        double a = 0.0;
        for (unsigned int k = 0; k < n; k++) {
            const double phase = 2.0 * M_PI * (double)k * j / n;
            a += cre[k] * std::cos(phase) - cim[k] * std::sin(phase);
        }
        out[j] = a / n;
    }
    return 0;
}
