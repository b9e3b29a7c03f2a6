// The spectrum record: broadening against the analytic kernels, the
// Kramers-Kronig relation of a Lorentzian pole, the exchange of a Lorentzian
// for a Gaussian, and the file layout with spectra of unequal length.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>

#include "spectra/spectra.h"

namespace {

SpectraType Grid(double Emin, double Emax, uint32_t NE, double gamma) {
    SpectraType head, S;
    InitSpectrumHeader(&head);
    head.NE = NE;
    head.Emin = Emin;
    head.Emax = Emax;
    head.dE = (Emax - Emin) / NE;
    head.Gamma = gamma;
    EXPECT_EQ(SpectrumAllocate(head, &S), 0);
    return S;
}

// G = w / (E - e + i gamma/2) of one pole.
SpectraType Pole(double e, double w, double gamma) {
    SpectraType S = Grid(-200, 200, 8000, gamma);
    TriDiagonalMatrixType M;
    M.N = 1;
    InitTriDiagonalMatrix(&M);
    M.a[1] = e;
    M.b[0] = std::sqrt(w);
    TriDiagonalMatrixToSpectrum(0.0, M, &S);
    FreeTriDiagonalMatrix(&M);
    return S;
}

TEST(Spectra, BroadeningMatchesTheAnalyticKernels) {
    // A single point of weight 1 / dE becomes a normalised Gaussian or Lorentzian.
    for (int kind = 0; kind < 2; kind++) {
        SpectraType S = Grid(-10, 10, 2000, 0.0);
        S.Im[1000] = 1.0 / S.dE;
        const double fwhm = 0.8;
        ASSERT_EQ(kind == 0 ? BroadenG(&S, fwhm) : BroadenL(&S, fwhm), 0);
        double area = 0.0;
        for (uint32_t k = 0; k <= S.NE; k++) area += S.Im[k] * S.dE;
        EXPECT_NEAR(area, 1.0, kind == 0 ? 1e-10 : 0.03);  // the Lorentzian tails leave the grid
        for (uint32_t k = 900; k <= 1100; k += 20) {
            const double x = SpectrumEnergy(S, k);
            const double sigma = fwhm / 2.3548200450309493;
            const double want = kind == 0 ? std::exp(-x * x / (2 * sigma * sigma)) / (sigma * std::sqrt(2 * M_PI))
                                          : (fwhm / (2 * M_PI)) / (x * x + fwhm * fwhm / 4);
            EXPECT_NEAR(S.Im[k], want, 2e-3 * want + 1e-12) << kind << " " << x;
        }
        SpectrumFree(&S);
    }
    // A width below half a step leaves the spectrum as it is.
    SpectraType S = Grid(-1, 1, 10, 0.0);
    S.Im[3] = 2.0;
    BroadenG(&S, 0.05);
    EXPECT_EQ(S.Im[3], 2.0);
    SpectrumFree(&S);
}

TEST(Spectra, KramersKronigOfAPole) {
    SpectraType S = Pole(0.3, 1.0, 1.0);
    SpectraType K;
    ASSERT_EQ(CopySpectra(S, &K), 0);
    ASSERT_EQ(KramersKronigImToRe(&K), 0);
    for (uint32_t k = 3600; k <= 4400; k += 100) EXPECT_NEAR(K.Re[k], S.Re[k], 0.01) << SpectrumEnergy(S, k);
    SpectrumFree(&S);
    SpectrumFree(&K);
}

TEST(Spectra, NegativePartAndKernelExchange) {
    double v[4] = {1.0, -0.5, 2.0, 0.5};
    RemoveNegativePart(v, 4);
    EXPECT_EQ(v[1], 0.0);
    EXPECT_NEAR(v[0] + v[2] + v[3], 3.0, 1e-15);

    // A Lorentzian of full width 0.4 becomes a Gaussian of sigma 0.3 with the same area.
    const unsigned n = 1024;
    const double dE = 0.05, gamma = 0.4, sigma = 0.3;
    std::vector<double> in(n), out(n);
    for (unsigned j = 0; j < n; j++) {
        const double x = (j - n / 2.0) * dE;
        in[j] = (gamma / (2 * M_PI)) / (x * x + gamma * gamma / 4);
    }
    ASSERT_EQ(ReplaceLorentzianByGaussian(gamma, sigma, n, dE, in.data(), out.data()), 0);
    for (unsigned j = n / 2 - 20; j <= n / 2 + 20; j += 5) {
        const double x = (j - n / 2.0) * dE;
        EXPECT_NEAR(out[j], std::exp(-x * x / (2 * sigma * sigma)) / (sigma * std::sqrt(2 * M_PI)), 0.02);
    }
}

TEST(Spectra, FileLayoutPadsShorterSpectra) {
    SpectraType S[2] = {Grid(0, 1, 2, 0.1), Grid(0, 1, 1, 0.1)};
    S[0].Im[2] = -1.5;
    char* text = nullptr;
    ASSERT_EQ(StringPrintSpectra(S, 2, &text), 0);
    const std::string t(text);
    free(text);
    EXPECT_EQ(t.rfind("#Spectra: 2\nEmin______Emax     ", 0), 0u);
    EXPECT_NE(t.find("Energy               Re[0]                  Im[0]                  Re[1]"), std::string::npos);
    // Three data lines; the last one has zeros for the shorter spectrum.
    EXPECT_NE(t.find(" 1.000000000000E+00  0.000000000000000E+00 -1.500000000000000E+00  0.000000000000000E+00  "
                     "0.000000000000000E+00\n"),
              std::string::npos);
    SpectrumFree(&S[0]);
    SpectrumFree(&S[1]);
}

}  // namespace
