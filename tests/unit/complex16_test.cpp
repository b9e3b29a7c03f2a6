#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "base/complex16.h"

namespace {

using Std = std::complex<double>;

Std ToStd(Complex16 z) { return {z.re, z.im}; }

// Relative closeness of two complex values, measured against the larger one.
::testing::AssertionResult Near(Complex16 got, Std want, double tol = 1e-14) {
    double scale = std::max(1.0, std::abs(want));
    double err = std::abs(ToStd(got) - want);
    if (err <= tol * scale) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got (" << got.re << ", " << got.im << "), want " << want
                                         << ", error " << err;
}

const Complex16 kSamples[] = {
    {1.5, -2.25}, {-0.3, 0.7}, {3.0, 0.0}, {0.0, -4.0}, {-2.0, -1e-3}, {1e-4, 5.0}, {-7.5, 2.5},
};

}  // namespace

TEST(Complex16Arithmetic, AgreesWithStdComplex) {
    for (Complex16 a : kSamples) {
        for (Complex16 b : kSamples) {
            EXPECT_TRUE(Near(Cadd(a, b), ToStd(a) + ToStd(b)));
            EXPECT_TRUE(Near(Csub(a, b), ToStd(a) - ToStd(b)));
            EXPECT_TRUE(Near(Cmult(a, b), ToStd(a) * ToStd(b)));
            EXPECT_TRUE(Near(a / b, ToStd(a) / ToStd(b)));
        }
        double x = -1.75;
        EXPECT_TRUE(Near(Caddd(a, x), ToStd(a) + x));
        EXPECT_TRUE(Near(Cdadd(x, a), x + ToStd(a)));
        EXPECT_TRUE(Near(Csubd(a, x), ToStd(a) - x));
        EXPECT_TRUE(Near(Cdsub(x, a), x - ToStd(a)));
        EXPECT_TRUE(Near(Cmultd(a, x), ToStd(a) * x));
        EXPECT_TRUE(Near(Cdmult(x, a), x * ToStd(a)));
        EXPECT_TRUE(Near(a / x, ToStd(a) / x));
        EXPECT_TRUE(Near(x / a, x / ToStd(a)));
        EXPECT_TRUE(Near(Conjugate(a), std::conj(ToStd(a))));
        EXPECT_NEAR(Cabs(a), std::abs(ToStd(a)), 1e-15 * std::abs(ToStd(a)));
    }
}

// I*I by the product formula is exactly (-1, 0), not a rounded phase.
TEST(Complex16Arithmetic, ImaginaryUnitSquaredIsExact) {
    Complex16 m = Cnum(0, 1) * Cnum(0, 1);
    EXPECT_EQ(m.re, -1.0);
    EXPECT_EQ(m.im, 0.0);
}

// No scaling and no zero test: dividing by zero yields IEEE values.
TEST(Complex16Arithmetic, DivisionByZeroGivesNonFiniteParts) {
    // Over a complex zero the numerators are zero too: 0/0.
    Complex16 q = Cnum(1, 1) / Cnum(0, 0);
    EXPECT_TRUE(std::isnan(q.re));
    EXPECT_TRUE(std::isnan(q.im));
    Complex16 r = 2.0 / Cnum(0, 0);
    EXPECT_TRUE(std::isinf(r.re) || std::isnan(r.re));
    Complex16 h = Cnum(-1, 1) / 0.0;
    EXPECT_EQ(h.re, -INFINITY);
    EXPECT_EQ(h.im, INFINITY);
    // Parts beyond 1e154 overflow the unscaled formula (the true value is
    // 0.5 - 0.5i).
    Complex16 big = Cnum(1e200, 0) / Cnum(1e200, 1e200);
    EXPECT_TRUE(std::isnan(big.re));
}

TEST(Complex16Functions, ElementaryFunctionsAgreeWithStdComplex) {
    for (Complex16 a : kSamples) {
        Std s = ToStd(a);
        EXPECT_TRUE(Near(Cexp(a), std::exp(s), 1e-13));
        EXPECT_TRUE(Near(Csin(a), std::sin(s), 1e-13));
        EXPECT_TRUE(Near(Ccos(a), std::cos(s), 1e-13));
        EXPECT_TRUE(Near(Csinh(a), std::sinh(s), 1e-13));
        EXPECT_TRUE(Near(Ccosh(a), std::cosh(s), 1e-13));
        EXPECT_TRUE(Near(Clog(a), std::log(s)));
        EXPECT_TRUE(Near(Cpowd(a, 2.5), std::pow(s, 2.5), 1e-13));
        EXPECT_TRUE(Near(Cpowd(a, -1.0), 1.0 / s, 1e-13));
        for (Complex16 b : kSamples) {
            Std want = std::pow(s, ToStd(b));
            if (std::abs(want) > 1e12) continue;
            EXPECT_TRUE(Near(Cpow(a, b), want, 1e-12));
        }
    }
    EXPECT_TRUE(Near(Cpolar(2.0, 0.75), std::polar(2.0, 0.75)));
    // 2^i = exp(i ln 2).
    EXPECT_TRUE(Near(Cpow(Cnum(2, 0), Cnum(0, 1)), Std(std::cos(std::log(2.0)), std::sin(std::log(2.0)))));
    // Euler's identity to rounding.
    EXPECT_TRUE(Near(Cexp(Cnum(0, M_PI)), Std(-1, 0)));
}

// A zero base has no branch of its own: s = 0 makes the phase 0 * -inf.
TEST(Complex16Functions, PowOfZeroBaseFollowsTheFormula) {
    Complex16 p = Cpow(Cnum(0, 0), Cnum(2, 0));
    EXPECT_TRUE(std::isnan(p.re));
    Complex16 d = Cpowd(Cnum(0, 0), 2.0);
    EXPECT_EQ(d.re, 0.0);
    EXPECT_EQ(d.im, 0.0);
}

// Near the axes the logarithm uses ten terms of the series of log(1+q);
// the result must match log(1+q) evaluated independently, and the true
// logarithm, to rounding (the cut-off error is below q^11/11 < 1e-22).
TEST(Complex16Functions, LogNearTheAxes) {
    const Complex16 nearImag[] = {{0.3, 5.0}, {-1e-8, -2.0}, {0.099, 1.0}, {1e-200, 3e-190}};
    for (Complex16 z : nearImag) {
        double q = (z.re / z.im) * (z.re / z.im);
        Complex16 l = Clog(z);
        EXPECT_NEAR(l.re, std::log(std::fabs(z.im)) + 0.5 * std::log1p(q), 1e-15 * std::max(1.0, std::fabs(l.re)));
        EXPECT_EQ(l.im, std::atan2(z.im, z.re));
        EXPECT_TRUE(Near(l, std::log(ToStd(z))));

        Complex16 t = Clog10(z);
        EXPECT_NEAR(t.re, std::log10(std::fabs(z.im)) + 0.5 * std::log1p(q) / std::log(10.0),
                    1e-15 * std::max(1.0, std::fabs(t.re)));
        EXPECT_NEAR(t.im, std::atan2(z.im, z.re) / std::log(10.0), 1e-15);
        EXPECT_TRUE(Near(t, std::log10(ToStd(z))));
    }
    const Complex16 nearReal[] = {{5.0, 0.3}, {-2.0, 1e-8}, {1.0, -0.099}, {-4e-250, 1e-260}};
    for (Complex16 z : nearReal) {
        double q = (z.im / z.re) * (z.im / z.re);
        Complex16 l = Clog(z);
        EXPECT_NEAR(l.re, std::log(std::fabs(z.re)) + 0.5 * std::log1p(q), 1e-15 * std::max(1.0, std::fabs(l.re)));
        EXPECT_TRUE(Near(l, std::log(ToStd(z))));

        // Decimal series, natural leading term: not log10(z) in this arm.
        Complex16 t = Clog10(z);
        EXPECT_NEAR(t.re, std::log(std::fabs(z.re)) + 0.5 * std::log1p(q) / std::log(10.0),
                    1e-15 * std::max(1.0, std::fabs(t.re)));
        EXPECT_NEAR(t.im, std::atan2(z.im, z.re) / std::log(10.0), 1e-15);
    }
    // Away from the axes: the plain formula.
    Complex16 g = Clog10(Cnum(3, 4));
    EXPECT_NEAR(g.re, std::log10(5.0), 1e-15);
    EXPECT_TRUE(Near(Clog(Cnum(-3, 4)), std::log(Std(-3, 4))));
    // Zero: the general arm, log of zero.
    EXPECT_EQ(Clog(Cnum(0, 0)).re, -INFINITY);
    EXPECT_EQ(Clog10(Cnum(0, 0)).re, -INFINITY);
}
