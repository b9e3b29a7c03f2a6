#include <cmath>

#include "spectra/spectra.h"

namespace {

// The tail fields of a + w b: moments add, centres and the a-coefficients
// are means weighted by the moments, the b-coefficients the square root of
// the mixed second moment.
void MixTails(SpectraType* a, const SpectraType& b, double w) {
    const double wa = std::fabs(a->Moment), wb = std::fabs(w * b.Moment);
    const double total = wa + wb;
    a->Moment += w * b.Moment;
    if (total <= 0.0) return;
    a->Centre = (wa * a->Centre + wb * b.Centre) / total;
    for (int i = 0; i < 5; i++) {
        a->TailA[i] = (wa * a->TailA[i] + wb * b.TailA[i]) / total;
        a->TailB[i] = std::sqrt((wa * a->TailB[i] * a->TailB[i] + wb * b.TailB[i] * b.TailB[i]) / total);
    }
}

}  // namespace

int AddMultipliedSpectra(SpectraType* a, SpectraType b, double re, double im) {
    if (a->NE != b.NE) {
        printf("Mix Spectra failed A.N=%i B.N=%i\n", (int)a->NE, (int)b.NE);
        return 1;
    }
    if (a->Emin != b.Emin) printf("Warning in Mix Spectra A.Emin=%f B.Emin=%f\n", a->Emin, b.Emin);
    if (a->Emax != b.Emax) printf("Warning in Mix Spectra A.Emax=%f B.Emax=%f\n", a->Emax, b.Emax);
    if (a->Gamma != b.Gamma) printf("Warning in Mix Spectra A.Gamma=%f B.Gamma=%f\n", a->Gamma, b.Gamma);
    for (uint32_t k = 0; k <= a->NE; k++) {
        a->Re[k] += re * b.Re[k] - im * b.Im[k];
        a->Im[k] += re * b.Im[k] + im * b.Re[k];
    }
    a->Integral += re * b.Integral;
    MixTails(a, b, re);
    return 0;
}

int MixSpectra(SpectraType* a, SpectraType b, double x) { return AddMultipliedSpectra(a, b, x, 0.0); }

int SafeAddMultipliedSpectra(SpectraType* a, SpectraType b, double re, double im) {
    if (a->NE != b.NE || a->Emin != b.Emin || a->Emax != b.Emax) {
        printf("Still to do: SafeAddMultipliedSpectra\n");
        printf("A.N=%i B.N=%i\n", (int)a->NE, (int)b.NE);
        printf("A.Emin=%22.15E B.Emin=%22.15E\n", a->Emin, b.Emin);
        printf("A.Emax=%22.15E B.Emax=%22.15E\n", a->Emax, b.Emax);
        return 1;
    }
    return AddMultipliedSpectra(a, b, re, im);
}

void SpectraScalarAdd(SpectraType* S, double re, double im) {
    for (uint32_t k = 0; k <= S->NE; k++) {
        S->Re[k] += re;
        S->Im[k] += im;
    }
}

void SpectraScalarMultiply(SpectraType* S, double re, double im) {
    for (uint32_t k = 0; k <= S->NE; k++) {
        const double r = S->Re[k], m = S->Im[k];
        S->Re[k] = re * r - im * m;
        S->Im[k] = re * m + im * r;
    }
    S->Integral *= re;
    S->Moment *= re;
}

void SpectraShift(SpectraType* S, double d) {
    S->Emin += d;
    S->Emax += d;
    S->EminPole += d;
    S->EmaxPole += d;
    S->ResonantEnergy += d;
    S->Centre += d;
    for (double& a : S->TailA) a += d;
}

void SpectraMultiplyByEnergy(SpectraType* S) {
    for (uint32_t k = 0; k <= S->NE; k++) {
        const double e = SpectrumEnergy(*S, k);
        S->Re[k] *= e;
        S->Im[k] *= e;
    }
}
