// The table of expectation values of PrintExpectationValues: every value is
// computed first (so that columns can be sorted and widened for complex
// values), then the table is printed.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "manybody/expectation.h"

void InitExpectationTableSettings(ExpectationTableSettingsType* settings) {
    settings->colWidth = 12;
    settings->printHeaderEvery = 0;
    settings->printSigma = 0;
    settings->sortByEnergy = 0;
    settings->zero = -1.0;
}

namespace {

struct TableValues {
    double* energy;     // nstates, when H is given
    double* variance;   // nstates, when the variance is asked for
    Complex16* values;  // nstates * nops, row by row
    uint8_t* complexColumn;
    unsigned int* order;
};

void FreeTableValues(TableValues* t) {
    free(t->energy);
    free(t->variance);
    free(t->values);
    free(t->complexColumn);
    free(t->order);
}

void PrintName(FILE* file, int width, const char* prefix, const char* name, const char* suffix) {
    char text[300];
    snprintf(text, sizeof(text), "%s%s%s", prefix, name, suffix);
    if ((int)strlen(text) > width) text[width] = '\0';
    fprintf(file, " %*s", width, text);
}

void PrintHeader(FILE* file, int width, const OperatorType* H, bool sigma, const OperatorType* ops,
                 unsigned int nops, const uint8_t* complexColumn) {
    fprintf(file, "%5s", "#");
    if (H != nullptr) {
        PrintName(file, width, "", "E", "");
        if (sigma) PrintName(file, width, "", "Var(E)", "");
    }
    for (unsigned int k = 0; k < nops; k++) {
        if (complexColumn[k]) {
            PrintName(file, width, "Re(", ops[k].Name, ")");
            PrintName(file, width, "Im(", ops[k].Name, ")");
        } else {
            PrintName(file, width, "", ops[k].Name, "");
        }
    }
    fprintf(file, "\n");
}

void PrintValue(FILE* file, int width, int precision, double zero, double x) {
    if (std::fabs(x) < zero) x = 0.0;
    fprintf(file, " %*.*f", width, precision, x);
}

}  // namespace

int StreamPrintExpectationValues(const WaveFunctionType* psi, unsigned int nstates, const OperatorType* H,
                                 const OperatorType* ops, unsigned int nops,
                                 const ExpectationTableSettingsType& settings, FILE* file) {
    const int width = settings.colWidth < 3 ? 3 : settings.colWidth;
    const int precision = std::min(15, std::max(1, width - 6));
    const double zero = settings.zero >= 0.0 ? settings.zero : 0.5 * std::pow(10.0, -precision);
    const bool sigma = H != nullptr && settings.printSigma;

    TableValues t;
    const size_t rows = nstates > 0 ? nstates : 1;
    t.energy = static_cast<double*>(calloc(rows, sizeof(double)));
    t.variance = static_cast<double*>(calloc(rows, sizeof(double)));
    t.values = static_cast<Complex16*>(calloc(rows * (nops > 0 ? nops : 1), sizeof(Complex16)));
    t.complexColumn = static_cast<uint8_t*>(calloc(nops > 0 ? nops : 1, 1));
    t.order = static_cast<unsigned int*>(calloc(rows, sizeof(unsigned int)));
    if (!t.energy || !t.variance || !t.values || !t.complexColumn || !t.order) {
        printf("calloc failed in StreamPrintExpectationValues\n");
        fflush(stdout);
        FreeTableValues(&t);
        return 1;
    }
    for (unsigned int s = 0; s < nstates; s++) {
        t.order[s] = s;
        double re = 0.0, im = 0.0;
        if (H != nullptr) {
            if (PsiOperatorPsi(*H, psi[s], &re, &im) != 0) {
                FreeTableValues(&t);
                return 1;
            }
            t.energy[s] = re;
            if (sigma) {
                double re2 = 0.0, im2 = 0.0;
                if (PsiOperatorSqrPsi(*H, psi[s], &re2, &im2) != 0) {
                    FreeTableValues(&t);
                    return 1;
                }
                t.variance[s] = re2 - re * re;
            }
        }
        for (unsigned int k = 0; k < nops; k++) {
            if (PsiOperatorPsi(ops[k], psi[s], &re, &im) != 0) {
                FreeTableValues(&t);
                return 1;
            }
            t.values[(size_t)s * nops + k] = Complex16{re, im};
            if (std::fabs(im) >= zero) t.complexColumn[k] = 1;
        }
    }
    if (H != nullptr && settings.sortByEnergy) {
        const double* energy = t.energy;
        std::stable_sort(t.order, t.order + nstates,
                         [energy](unsigned int a, unsigned int b) { return energy[a] < energy[b]; });
    }

    if (nstates == 0) PrintHeader(file, width, H, sigma, ops, nops, t.complexColumn);
    for (unsigned int r = 0; r < nstates; r++) {
        if (r == 0 || (settings.printHeaderEvery > 0 && r % (unsigned int)settings.printHeaderEvery == 0))
            PrintHeader(file, width, H, sigma, ops, nops, t.complexColumn);
        const unsigned int s = t.order[r];
        fprintf(file, "%5u", s + 1);
        if (H != nullptr) {
            PrintValue(file, width, precision, zero, t.energy[s]);
            if (sigma) PrintValue(file, width, precision, zero, t.variance[s]);
        }
        for (unsigned int k = 0; k < nops; k++) {
            const Complex16 v = t.values[(size_t)s * nops + k];
            PrintValue(file, width, precision, zero, v.re);
            if (t.complexColumn[k]) PrintValue(file, width, precision, zero, v.im);
        }
        fprintf(file, "\n");
    }
    fflush(file);
    FreeTableValues(&t);
    return 0;
}
