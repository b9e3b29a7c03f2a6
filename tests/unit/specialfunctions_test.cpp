#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "base/specialfunctions.h"

namespace {

const double kPi = 3.14159265358979323846;

double Gaussian(double x, double fwhm) {
    double ln2 = std::log(2.0);
    return 2 / fwhm * std::sqrt(ln2 / kPi) * std::exp(-4 * ln2 * x * x / (fwhm * fwhm));
}

double Lorentzian(double x, double fwhm) { return 0.5 * fwhm / kPi / (x * x + 0.25 * fwhm * fwhm); }

// Area of the Voigt profile: x = s tan(theta) maps the line onto
// (-pi/2, pi/2), where the integrand V(x) s / cos^2(theta) tends to
// L/(2 pi s) at both ends with all derivatives matching, so the trapezoid
// rule on the closed period converges faster than any power.
double VoigtArea(double G, double L, int n) {
    double s = std::max(G, 0.5 * L);
    double h = kPi / n;
    double sum = L / (2 * kPi * s);   // the two ends, half each
    for (int k = 1; k < n; ++k) {
        double theta = -0.5 * kPi + k * h;
        double c = std::cos(theta);
        sum += Voight(s * std::tan(theta), G, L) * s / (c * c);
    }
    return sum * h;
}

// Closed forms of j_0 .. j_3 in long double.
long double ClosedBesselJ(int l, long double x) {
    long double s = std::sin(x), c = std::cos(x);
    switch (l) {
        case 0: return s / x;
        case 1: return s / (x * x) - c / x;
        case 2: return (3 / (x * x) - 1) * s / x - 3 * c / (x * x);
        default: return (15 / (x * x * x) - 6 / x) * s / x - (15 / (x * x) - 1) * c / x;
    }
}

}  // namespace

TEST(Voigt, GaussianAndLorentzianLimits) {
    // Voight(0,1,0) is the peak of the unit Gaussian, 2 sqrt(ln 2 / pi).
    EXPECT_NEAR(Voight(0, 1, 0), 0.93943727869965133377, 1e-15);
    for (double x : {-2.3, -0.4, 0.0, 0.31, 1.0, 1.7}) {
        EXPECT_NEAR(Voight(x, 1.3, 0), Gaussian(x, 1.3), 1e-13 * Gaussian(x, 1.3)) << x;
        EXPECT_NEAR(Voight(x, 1e-12, 0.8), Lorentzian(x, 0.8), 1e-12 * Lorentzian(x, 0.8)) << x;
        EXPECT_NEAR(Voight(x, 0, 0.8), Lorentzian(x, 0.8), 1e-15 * Lorentzian(x, 0.8)) << x;
    }
    EXPECT_NEAR(Voight(0, 1e-12, 1), 2 / kPi, 1e-12);
}

TEST(Voigt, UnitAreaAndEvenShape) {
    for (auto gl : {std::pair<double, double>{1, 0.5}, {1, 0.02}, {0.3, 2.5}, {2, 2}}) {
        EXPECT_NEAR(VoigtArea(gl.first, gl.second, 4000), 1.0, 1e-11) << gl.first << " " << gl.second;
        EXPECT_EQ(Voight(0.77, gl.first, gl.second), Voight(-0.77, gl.first, gl.second));
    }
}

TEST(SphericalBessel, ClosedFormsAndNegativeOrders) {
    for (double x : {0.5, 2.0, 3.7, 9.0, 31.0}) {
        for (int l = 0; l <= 3; ++l) {
            long double want = ClosedBesselJ(l, x);
            EXPECT_NEAR(SphericalBesselJ(l, x), want, 2e-15 * (std::fabs(want) + 1 / x)) << l << " " << x;
            // j_l(-x) = (-1)^l j_l(x)
            EXPECT_EQ(SphericalBesselJ(l, -x), (l % 2 ? -1 : 1) * SphericalBesselJ(l, x));
        }
        double jm1 = std::cos(x) / x, jm2 = -std::cos(x) / (x * x) - std::sin(x) / x;
        EXPECT_NEAR(SphericalBesselJ(-1, x), jm1, 1e-15 * (std::fabs(jm1) + 1 / x));
        EXPECT_NEAR(SphericalBesselJ(-2, x), jm2, 1e-15 * (std::fabs(jm2) + 1 / x));
    }
    EXPECT_EQ(SphericalBesselJ(0, 0), 1.0);
    EXPECT_EQ(SphericalBesselJ(4, 0), 0.0);
}

TEST(SphericalBessel, SmallArgumentsAndSumRule) {
    // j_l(x) = x^l/(2l+1)!! (1 - x^2/(2(2l+3)) + ...)
    for (int l : {1, 5, 20}) {
        double x = 1e-3, lead = 1;
        for (int i = 1; i <= l; ++i) lead *= x / (2 * i + 1);
        double want = lead * (1 - x * x / (2 * (2 * l + 3)));
        EXPECT_NEAR(SphericalBesselJ(l, x), want, 1e-13 * want) << l;
    }
    // sum_l (2l+1) j_l(x)^2 = 1 ties all orders, and all three methods
    // (upward, series, Miller), to one normalisation.
    for (double x : {0.3, 4.2, 7.5, 30.0, 55.5}) {
        double sum = 0;
        for (int l = 0; l < 140; ++l) sum += (2 * l + 1) * std::pow(SphericalBesselJ(l, x), 2);
        EXPECT_NEAR(sum, 1.0, 1e-13) << x;
    }
    // Where the method changes (x = l, x^2 = 2l + 3) neighbouring orders come
    // from different methods; the three-term relation must still hold.
    for (int l : {4, 12, 40}) {
        for (double border : {double(l), std::sqrt(2.0 * l + 3)}) {
            for (double x : {border * (1 - 1e-9), border * (1 + 1e-9)}) {
                double jm = SphericalBesselJ(l - 1, x), j = SphericalBesselJ(l, x), jp = SphericalBesselJ(l + 1, x);
                EXPECT_NEAR(jm + jp, (2 * l + 1) / x * j, 1e-14 * (std::fabs(jm) + std::fabs(jp))) << l << " " << x;
            }
        }
    }
}

TEST(Laguerre, ClosedFormsAndFactorialSum) {
    double v = 0;
    for (int l : {0, 1, 3}) {
        for (double x : {0.0, 0.25, 2.5, 7.0}) {
            ASSERT_EQ(LaguerreL(0, l, x, &v), 0);
            EXPECT_EQ(v, 1.0);
            ASSERT_EQ(LaguerreL(1, l, x, &v), 0);
            EXPECT_NEAR(v, 1 + l - x, 1e-15 * (1 + l + x));
            ASSERT_EQ(LaguerreL(2, l, x, &v), 0);
            EXPECT_NEAR(v, (x * x - 2 * (l + 2) * x + (l + 1) * (l + 2)) / 2, 1e-14 * (1 + x * x + l * l));
        }
    }
    // sum_k (-1)^k (n+l)! / ((n-k)! (l+k)! k!) x^k in long double; the error
    // allowed is measured on the sum of the absolute terms.
    for (int n : {5, 9, 14}) {
        for (int l : {0, 2, 5}) {
            for (double x : {0.5, 3.0, 11.0}) {
                long double sum = 0, size = 0;
                for (int k = 0; k <= n; ++k) {
                    long double t = std::pow((long double)x, k) * std::tgamma((long double)n + l + 1) /
                                    (std::tgamma((long double)n - k + 1) * std::tgamma((long double)l + k + 1) *
                                     std::tgamma((long double)k + 1));
                    sum += (k % 2 ? -t : t);
                    size += t;
                }
                ASSERT_EQ(LaguerreL(n, l, x, &v), 0);
                EXPECT_NEAR(v, (double)sum, 1e-14 * (double)size) << n << " " << l << " " << x;
            }
        }
    }
    // L_n^(l)(0) = C(n+l, n)
    ASSERT_EQ(LaguerreL(10, 4, 0.0, &v), 0);
    EXPECT_EQ(v, 1001.0);
    EXPECT_EQ(LaguerreL(3, -1, 0.5, &v), 1);
    ASSERT_EQ(LaguerreL(-2, 1, 0.5, &v), 0);
    EXPECT_EQ(v, 0.0);
}

TEST(Factorial, ProductsAndNegativeArgument) {
    EXPECT_EQ(Factorial(0), 1.0);
    EXPECT_EQ(Factorial(1), 1.0);
    EXPECT_EQ(Factorial(20), 2432902008176640000.0);
    EXPECT_TRUE(std::isfinite(Factorial(170)));
    EXPECT_EQ(Factorial(171), HUGE_VAL);
    testing::internal::CaptureStdout();
    double f = Factorial(-3);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(f, 0.0);
    EXPECT_EQ(out, "Error Factorial called with a negative number\n");
}

TEST(Binomial, PascalTriangleAndRealUpperArgument) {
    // Pascal's rule row by row up to the last row that fits in 64 bits.
    for (unsigned n = 1; n <= 67; ++n) {
        EXPECT_EQ(BinomialCoefficient(n, 0), 1u);
        EXPECT_EQ(BinomialCoefficient(n, n), 1u);
        for (unsigned k = 1; k < n; ++k)
            ASSERT_EQ(BinomialCoefficient(n, k), BinomialCoefficient(n - 1, k - 1) + BinomialCoefficient(n - 1, k))
                << n << " " << k;
    }
    EXPECT_EQ(BinomialCoefficient(67, 33), 14226520737620288370ull);
    EXPECT_EQ(BinomialCoefficient(4, 7), 0u);
    for (unsigned n = 0; n <= 30; ++n)
        for (unsigned k = 0; k <= n; ++k)
            EXPECT_NEAR(BinomialCoefficientDouble(n, k), double(BinomialCoefficient(n, k)),
                        1e-15 * double(BinomialCoefficient(n, k)));
    EXPECT_EQ(BinomialCoefficientDouble(5, 7), 0.0);
    EXPECT_EQ(BinomialCoefficientDouble(5, -1), 0.0);
    EXPECT_DOUBLE_EQ(BinomialCoefficientDouble(0.5, 2), -0.125);
    EXPECT_DOUBLE_EQ(BinomialCoefficientDouble(-1, 5), -1.0);
}

TEST(IntegerTests, IntegersParityAndNonFinite) {
    EXPECT_TRUE(IntegerQ(3.0));
    EXPECT_TRUE(IntegerQ(-0.0));
    EXPECT_TRUE(IntegerQ(1e300));
    EXPECT_FALSE(IntegerQ(3.5));
    EXPECT_FALSE(IntegerQ(HUGE_VAL));
    EXPECT_FALSE(IntegerQ(NAN));
    EXPECT_TRUE(EvenQ(-4.0));
    EXPECT_TRUE(EvenQ(0.0));
    EXPECT_FALSE(EvenQ(-3.0));
    EXPECT_FALSE(EvenQ(2.5));
    EXPECT_TRUE(OddQ(-3.0));
    EXPECT_TRUE(OddQ(7.0));
    EXPECT_FALSE(OddQ(8.0));
    EXPECT_FALSE(OddQ(1.5));
}
