// Special functions of the math library: the Faddeeva function and the
// complex error functions built on it, and the small functions of atomic
// physics that work on plain numbers (factorials, binomials, spherical Bessel
// functions, Laguerre polynomials, the Voigt profile, integer tests).
//
// The error-function family has no failure mode: at the ends of the double
// range the functions return infinities and zeros.
#ifndef SKELDA_BASE_SPECIALFUNCTIONS_H
#define SKELDA_BASE_SPECIALFUNCTIONS_H

#include "base/complex16.h"

// ---------------------------------------------------------------------------
// Faddeeva function w(z) = exp(-z^2) erfc(-i z) and relatives.

// w(z) with relative accuracy near the double precision.  Near the axes and
// for |Im z| up to 7 it uses the exponential-sum method of Zaghloul and Ali,
// far out the continued fraction of Laplace, and on the axes the Chebyshev
// tables of erfcx and of Im w.  Below the real axis w(z) = 2 exp(-z^2) - w(-z).
Complex16 FaddeevaW(Complex16 z);
// Im w(x) for real x (= 2/sqrt(pi) times Dawson's integral).
double FaddeevaW_Im(double x);
// The scaled complementary error function exp(x^2) erfc(x).
double erfcx(double x);
// erfcx(400/y100 - 4) for y100 in [0, 100], from 100 local polynomials.
double erfcx_y100(double y100);
// Im w(x) through y100 = 100/(1+x) in [0, 100], from 100 local polynomials,
// with the Taylor series about x = 0 in the last interval.
double w_im_y100(double y100, double x);

// sin(x)/x, and 1 - x^2/6 for |x| below 1e-4.
double sinc(double x);
// sinc(x) with sin(x) given.
double sincsin(double x, double sinx);
// sinh(x) for small x: x (1 + x^2/6 + x^4/120).
double sinh_taylor(double x);

// Complex error functions, all through w.
Complex16 Cerf(Complex16 z);
Complex16 Cerfc(Complex16 z);
// exp(z^2) erfc(z) = w(iz).
Complex16 Cerfcx(Complex16 z);
// erfi(z) = -i erf(iz).
Complex16 Cerfi(Complex16 z);
// Dawson's integral exp(-x^2) int_0^x exp(t^2) dt, real and complex.
double Dawson(double x);
Complex16 CDawson(Complex16 z);

// ---------------------------------------------------------------------------
// Profiles and polynomials.

// Voigt line shape of unit area at x: a Gaussian of full width at half maximum
// G convolved with a Lorentzian of full width L.  G = 0 gives the Lorentzian
// itself.
double Voight(double x, double G, double L);

// Spherical Bessel function j_l(x) of the first kind.  Negative orders are
// those of the recurrence run downwards from j_0 and j_{-1} = cos(x)/x, so
// that j_{-l-1} = (-1)^(l+1) y_l.
double SphericalBesselJ(int l, double x);

// Generalised Laguerre polynomial L_n^(l)(x) =
// sum_k (-1)^k (n+l)! / ((n-k)! (l+k)! k!) x^k.  Returns 0 and stores the
// value, or 1 when a factorial of the sum would have a negative argument
// (n < 0 or l < 0); nothing is printed, the caller reports.
int LaguerreL(int n, int l, double x, double *value);

// ---------------------------------------------------------------------------
// Factorials, binomials and integer tests.

// n! as a fresh product of doubles; infinity beyond 170.  A negative n prints
// "Error Factorial called with a negative number" and gives 0.
double Factorial(int n);
// n over k by the product form in integers: each partial product
// C(n-k+i, i) is exact.  0 for k > n.  Wraps silently once the result
// exceeds 2^64 - 1.
unsigned long long BinomialCoefficient(unsigned n, unsigned k);
// The same product in doubles, for any real n: n (n-1) ... (n-k+1) / k!.
// 0 for negative k.
double BinomialCoefficientDouble(double n, int k);

// x has no fractional part (and is finite).
bool IntegerQ(double x);
// x is an even / odd integer.
bool EvenQ(double x);
bool OddQ(double x);

#endif
