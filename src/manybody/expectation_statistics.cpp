// Summaries of operators and states: the terms of an operator by length, and
// the prefactors of a state as a histogram over decades of magnitude.
#include <omp.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "manybody/expectation.h"

int CalculatePrefactorHistogram(WaveFunctionType psi, double base, unsigned int n, double* weight,
                                uint32_t* count) {
    if (!(base > 1.0) || n == 0) {
        printf("Error in CalculatePrefactorHistogram, base (%f) must be larger than 1 and the number of bins (%u) "
               "positive\n",
               base, n);
        fflush(stdout);
        return 1;
    }
    for (unsigned int k = 0; k < n; k++) {
        weight[k] = 0.0;
        count[k] = 0;
    }
    const double logBase = std::log(base);
    const long long N = psi.N;
    const bool complex = psi.QComplex != 0;
    int failed = 0;
#pragma omp parallel reduction(| : failed)
    {
        double* localWeight = static_cast<double*>(calloc(n, sizeof(double)));
        uint32_t* localCount = static_cast<uint32_t*>(calloc(n, sizeof(uint32_t)));
        const bool ok = localWeight != nullptr && localCount != nullptr;
        if (!ok) failed = 1;
#pragma omp for schedule(static) nowait
        for (long long i = 1; i <= N; i++) {
            if (!ok) continue;
            const uint32_t e = (uint32_t)i;
            double w = WaveFunctionRe(psi, e) * WaveFunctionRe(psi, e);
            if (complex) w += WaveFunctionIm(psi, e) * WaveFunctionIm(psi, e);
            const double magnitude = std::sqrt(w);
            unsigned int bin = 0;
            if (magnitude < 1.0) {
                // base^-(k+1) < |value| <= base^-k; the small shift keeps an
                // exact power of the base in its bin despite rounding.
                const double level = magnitude > 0.0 ? std::floor(-std::log(magnitude) / logBase + 1e-9) : n;
                bin = level <= 0.0 ? 0 : (level >= (double)(n - 1) ? n - 1 : (unsigned int)level);
            }
            localWeight[bin] += w;
            localCount[bin]++;
        }
        if (ok) {
#pragma omp critical(AddToHistogram)
            for (unsigned int k = 0; k < n; k++) {
                weight[k] += localWeight[k];
                count[k] += localCount[k];
            }
        }
        free(localWeight);
        free(localCount);
    }
    if (failed) {
        printf("calloc failed in CalculatePrefactorHistogram\n");
        fflush(stdout);
        return 1;
    }
    return 0;
}

void StreamPrintOperatorStatistics(OperatorType O, FILE* file) {
    fprintf(file, "Statistical information on operator %s\n", O.Name);
    fprintf(file, "  fermionic modes %d, bosonic modes %d, restrictions %d\n", (int)O.NF, (int)O.NB,
            (int)O.Restrictions.NRestriction);
    fprintf(file, "  length       terms  prefactors\n");
    unsigned long long total = 0;
    for (uint32_t k = 0; O.l != nullptr && k <= O.MaxLength; k++) {
        if (O.l[k].N == 0) continue;
        fprintf(file, "  %6u  %10u  %s\n", (unsigned int)k, (unsigned int)O.l[k].N, O.l[k].QComplex ? "complex" : "real");
        total += O.l[k].N;
    }
    fprintf(file, "  total   %10llu\n", total);
}

int StreamPrintWaveFunctionStatistics(WaveFunctionType psi, FILE* file) {
    const unsigned int bins = 16;
    double weight[bins];
    uint32_t count[bins];
    if (CalculatePrefactorHistogram(psi, 10.0, bins, weight, count) != 0) return 1;
    double norm2 = 0.0;
    for (unsigned int k = 0; k < bins; k++) norm2 += weight[k];
    fprintf(file, "Statistical information on wave function %s\n", psi.Name);
    fprintf(file, "  determinants %u, fermionic modes %u, bosonic modes %u, %s prefactors, norm^2 %.15E\n",
            (unsigned int)psi.N, (unsigned int)psi.NFermion, (unsigned int)psi.NBoson,
            psi.QComplex ? "complex" : "real", norm2);
    fprintf(file, "  |prefactor| in         determinants                  |prefactor|^2\n");
    for (unsigned int k = 0; k < bins; k++) {
        if (k == 0)
            fprintf(file, "  (1E-01, inf)      ");
        else if (k + 1 < bins)
            fprintf(file, "  (1E-%02u, 1E-%02u]    ", k + 1, k);
        else
            fprintf(file, "  [0, 1E-%02u]        ", k);
        fprintf(file, "%12u  %29.15E\n", (unsigned int)count[k], weight[k]);
    }
    return 0;
}
