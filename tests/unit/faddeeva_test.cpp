#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "faddeeva_reference.h"
#include "base/specialfunctions.h"

// The reference values come from scripts/faddeeva_highprec.py: Taylor series
// of w and erf about 0 at as many decimal digits as their cancellation needs,
// the Laplace continued fraction far out.  None of it shares a formula with
// the double code.

namespace {

// Relative error of a complex value, |got - want| / |want|; a zero wants a zero.
double ModulusError(Complex16 got, double re, double im) {
    double size = std::hypot(re, im);
    double err = std::hypot(got.re - re, got.im - im);
    return size == 0 ? (err == 0 ? 0 : HUGE_VAL) : err / size;
}

// Relative error of one part; parts that underflow in both count as exact.
double PartError(double got, double want) {
    if (std::fabs(want) < 1e-300 && std::fabs(got) < 1e-300) return 0;
    return std::fabs(got - want) / std::fabs(want);
}

// Everything off the real axis holds 1e-13 in the modulus.  Each part on its
// own holds 2e-13: just past the border of the continued fraction near the
// real axis (x a little above 6, y near 0.1) its fitted depth leaves the
// small real part at 1e-13.
const double kTol = 1e-13;
const double kPartTol = 2e-13;
// Im w on the real axis comes from degree-6 polynomials on intervals of
// width 1 in 100/(1+x); for 2 < x < 4 their truncation error reaches 3.1e-13
// (the fit report of the generator).  Everything built on Im w(x) inherits it:
// Dawson, and erf, erfc on the imaginary axis.
const double kRealAxisTol = 4e-13;

template <class F>
void CheckGrid(const char *name, const FaddeevaReferencePoint *p, size_t n, F f, bool imagAxisFromTable) {
    for (size_t i = 0; i < n; ++i) {
        Complex16 got = f(Cnum(p[i].x, p[i].y));
        bool fromTable = imagAxisFromTable ? p[i].x == 0 : p[i].y == 0;
        double tol = fromTable ? kRealAxisTol : kTol;
        double partTol = fromTable ? kRealAxisTol : kPartTol;
        EXPECT_LT(ModulusError(got, p[i].re, p[i].im), tol)
            << name << " at " << p[i].x << " + " << p[i].y << "i: got " << got.re << " + " << got.im << "i";
        EXPECT_LT(PartError(got.re, p[i].re), partTol) << name << " re at " << p[i].x << " + " << p[i].y << "i";
        EXPECT_LT(PartError(got.im, p[i].im), partTol) << name << " im at " << p[i].x << " + " << p[i].y << "i";
    }
}

#define GRID_SIZE(a) (sizeof(a) / sizeof((a)[0]))

}  // namespace

TEST(Faddeeva, WOnGridAcrossEveryBranchBorder) {
    CheckGrid("w", kFaddeevaWReference, GRID_SIZE(kFaddeevaWReference), FaddeevaW, false);
}

TEST(Faddeeva, ErfAndErfcOnGrid) {
    CheckGrid("erf", kErfReference, GRID_SIZE(kErfReference), Cerf, true);
    CheckGrid("erfc", kErfcReference, GRID_SIZE(kErfcReference), Cerfc, true);
}

TEST(Faddeeva, ErfcxOnBothSidesOfEveryBorder) {
    for (const FaddeevaReferenceReal &r : kErfcxReference)
        EXPECT_LT(std::fabs(erfcx(r.x) - r.value), kTol * r.value) << "erfcx(" << r.x << ")";
    EXPECT_EQ(erfcx(-27.0), HUGE_VAL);
    EXPECT_EQ(erfcx(HUGE_VAL), 0.0);
}

TEST(Faddeeva, DawsonRealAndComplex) {
    for (const FaddeevaReferenceReal &r : kDawsonReference) {
        double got = Dawson(r.x);
        if (r.value == 0)
            EXPECT_EQ(got, 0.0);
        else
            EXPECT_LT(std::fabs(got - r.value), kRealAxisTol * std::fabs(r.value)) << "Dawson(" << r.x << ")";
    }
    // The complex form uses the real one along the real axis, so it shares its
    // tolerance.
    for (const FaddeevaReferencePoint &p : kCDawsonReference) {
        Complex16 got = CDawson(Cnum(p.x, p.y));
        EXPECT_LT(ModulusError(got, p.re, p.im), kRealAxisTol)
            << "Dawson(" << p.x << " + " << p.y << "i): got " << got.re << " + " << got.im << "i";
    }
}

TEST(Faddeeva, SpecialValuesAndRelatives) {
    Complex16 w0 = FaddeevaW(Cnum(0, 0));
    EXPECT_EQ(w0.re, 1.0);
    EXPECT_EQ(w0.im, 0.0);
    // erf saturates where exp(-z^2) underflows, and erfc goes to 0 or 2.
    Complex16 e = Cerf(Cnum(30, 1));
    EXPECT_EQ(e.re, 1.0);
    EXPECT_EQ(Cerf(Cnum(-30, 1)).re, -1.0);
    EXPECT_EQ(Cerfc(Cnum(30, 1)).re, 0.0);
    EXPECT_EQ(Cerfc(Cnum(-30, 1)).re, 2.0);
    EXPECT_EQ(Cerf(Cnum(0, 40)).im, HUGE_VAL);
    // erfi(1) = 2/sqrt(pi) sum 1/(n! (2n+1)), summed apart; it is reached
    // through Im w on the real axis.
    Complex16 erfi1 = Cerfi(Cnum(1, 0));
    EXPECT_NEAR(erfi1.re, 1.650425758797542876, kRealAxisTol * 1.65);
    EXPECT_EQ(erfi1.im, 0.0);
    // erfcx(z) = w(iz) = exp(z^2) erfc(z), here checked on the relation with
    // erfc at a point where neither side is large.
    Complex16 z = Cnum(0.7, -0.4);
    Complex16 lhs = Cerfcx(z);
    Complex16 rhs = Cexp(z * z) * Cerfc(z);
    EXPECT_LT(std::hypot(lhs.re - rhs.re, lhs.im - rhs.im), 1e-14 * std::hypot(rhs.re, rhs.im));
    // The small-argument forms agree with the plain ones at their border.
    EXPECT_NEAR(sinc(0.99999e-4), std::sin(0.99999e-4) / 0.99999e-4, 3e-16);
    EXPECT_NEAR(sinh_taylor(4e-4), std::sinh(4e-4), 1e-20);
}
