#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "spectra/spectra.h"

namespace {

const double kFwhmPerSigma = 2.3548200450309493;
const double kSqrt2Pi = 2.5066282746310002;
const double kSevenPi = 21.991148575128552;

// The weight with which a source point at distance y (in grid steps) from the
// output point enters, averaged over the seven sub-points of its cell.
double GaussianWeight(double y, double dE, double sigma) {
    const double amplitude = 1.0 / (sigma * kSqrt2Pi / dE) / 7.0;
    double w = 0.0;
    for (int k = -3; k <= 3; k++) {
        const double x = (y + k / 7.0) * dE;
        w += std::exp(-x * x / (2.0 * sigma * sigma));
    }
    return amplitude * w;
}

double LorentzianWeight(double y, double dE, double fwhm) {
    const double amplitude = 2.0 * fwhm * dE / kSevenPi;
    double w = 0.0;
    for (int k = -3; k <= 3; k++) {
        const double z = y + k / 7.0;
        w += 1.0 / (4.0 * dE * dE * z * z + fwhm * fwhm);
    }
    return amplitude * w;
}

// Convolution whose kernel depends on the output point.
template <class Weight>
int ConvolveVariable(SpectraType* S, Weight weight) {
    const int64_t n = (int64_t)S->NE + 1;
    double* re = (double*)malloc(n * sizeof(double));
    double* im = (double*)malloc(n * sizeof(double));
    if (re == nullptr || im == nullptr) {
        free(re);
        free(im);
        printf("Fatal out of memory, intermediate allocation failed\n");
        return 1;
    }
    const double* sre = S->Re;
    const double* sim = S->Im;
#pragma omp parallel for schedule(static)
    for (int64_t i = 0; i < n; i++) {
        double r = 0.0, m = 0.0;
        for (int64_t j = 0; j < n; j++) {
            const double w = weight(i, (double)(i - j));
            r += w * sre[j];
            m += w * sim[j];
        }
        re[i] = r;
        im[i] = m;
    }
    free(S->Re);
    free(S->Im);
    S->Re = re;
    S->Im = im;
    return 0;
}

// Convolution with a kernel that depends on the distance only.
int ConvolveFixed(SpectraType* S, const std::vector<double>& kernel) {
    const int64_t last = (int64_t)S->NE;
    return ConvolveVariable(S, [&](int64_t, double y) { return kernel[(size_t)((int64_t)y + last)]; });
}

// The width of a table of pairs at energy e, linear between the points and
// constant outside; never below half a step.
double WidthAt(const double* table, uint32_t n, double e, double dE) {
    double w;
    if (n == 0) {
        w = 0.0;
    } else if (e <= table[0]) {
        w = table[1];
    } else if (e >= table[2 * (n - 1)]) {
        w = table[2 * (n - 1) + 1];
    } else {
        uint32_t k = 0;
        while (k + 1 < n && table[2 * (k + 1)] < e) k++;
        const double e0 = table[2 * k], e1 = table[2 * (k + 1)];
        const double t = e1 > e0 ? (e - e0) / (e1 - e0) : 0.0;
        w = table[2 * k + 1] + t * (table[2 * k + 3] - table[2 * k + 1]);
    }
    return std::fmax(w, std::fabs(dE) / 2.0);
}

}  // namespace

int BroadenG(SpectraType* S, double fwhm) {
    if (S->dE > 2.0 * fwhm || S->NE == 0) return 0;
    const double sigma = fwhm / kFwhmPerSigma;
    const int64_t n = (int64_t)S->NE + 1;
    std::vector<double> kernel(2 * n - 1);
    for (int64_t d = -(n - 1); d <= n - 1; d++) kernel[d + n - 1] = GaussianWeight((double)d, S->dE, sigma);
    return ConvolveFixed(S, kernel);
}

int BroadenL(SpectraType* S, double fwhm) {
    if (fwhm <= 0.0 || S->NE == 0) return 0;
    const int64_t n = (int64_t)S->NE + 1;
    std::vector<double> kernel(2 * n - 1);
    for (int64_t d = -(n - 1); d <= n - 1; d++) kernel[d + n - 1] = LorentzianWeight((double)d, S->dE, fwhm);
    return ConvolveFixed(S, kernel);
}

int BroadenGvar(SpectraType* S, const double* table, uint32_t n) {
    if (S->NE == 0) return 0;
    const SpectraType head = *S;
    return ConvolveVariable(S, [&](int64_t i, double y) {
        const double sigma = WidthAt(table, n, SpectrumEnergy(head, (uint32_t)i), head.dE) / kFwhmPerSigma;
        return GaussianWeight(y, head.dE, sigma);
    });
}

int BroadenLvar(SpectraType* S, const double* table, uint32_t n) {
    if (S->NE == 0) return 0;
    const SpectraType head = *S;
    return ConvolveVariable(S, [&](int64_t i, double y) {
        return LorentzianWeight(y, head.dE, WidthAt(table, n, SpectrumEnergy(head, (uint32_t)i), head.dE));
    });
}
