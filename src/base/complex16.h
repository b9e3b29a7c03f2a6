// Complex16: a complex number as two doubles, real part first, passed by
// value and stored in place.  The arithmetic here is used by every kernel,
// so the formulas are fixed: products and quotients are the plain textbook
// ones, without scaling against overflow and without a test of the divisor
// against zero (dividing by 0 gives IEEE infinities and NaNs).
#ifndef SKELDA_BASE_COMPLEX16_H
#define SKELDA_BASE_COMPLEX16_H

struct Complex16 {
    double re;
    double im;
};

inline Complex16 Cnum(double re, double im) { return Complex16{re, im}; }

inline Complex16 operator+(Complex16 a, Complex16 b) { return {a.re + b.re, a.im + b.im}; }
inline Complex16 operator+(Complex16 a, double b) { return {a.re + b, a.im}; }
inline Complex16 operator+(double a, Complex16 b) { return {a + b.re, b.im}; }
inline Complex16 operator-(Complex16 a, Complex16 b) { return {a.re - b.re, a.im - b.im}; }
inline Complex16 operator-(Complex16 a, double b) { return {a.re - b, a.im}; }
inline Complex16 operator-(double a, Complex16 b) { return {a - b.re, -b.im}; }
inline Complex16 operator-(Complex16 a) { return {-a.re, -a.im}; }
inline Complex16 operator*(Complex16 a, Complex16 b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
inline Complex16 operator*(Complex16 a, double b) { return {a.re * b, a.im * b}; }
inline Complex16 operator*(double a, Complex16 b) { return {a * b.re, a * b.im}; }
inline Complex16 operator/(Complex16 a, Complex16 b) {
    double d = b.re * b.re + b.im * b.im;
    return {(a.re * b.re + a.im * b.im) / d, (a.im * b.re - a.re * b.im) / d};
}
inline Complex16 operator/(Complex16 a, double b) { return {a.re / b, a.im / b}; }
inline Complex16 operator/(double a, Complex16 b) {
    double d = b.re * b.re + b.im * b.im;
    return {a * b.re / d, -a * b.im / d};
}
inline Complex16& operator+=(Complex16& a, Complex16 b) { return a = a + b; }
inline Complex16& operator+=(Complex16& a, double b) { return a = a + b; }
inline Complex16& operator-=(Complex16& a, Complex16 b) { return a = a - b; }
inline Complex16& operator-=(Complex16& a, double b) { return a = a - b; }
inline Complex16& operator*=(Complex16& a, Complex16 b) { return a = a * b; }
inline Complex16& operator*=(Complex16& a, double b) { return a = a * b; }
inline Complex16& operator/=(Complex16& a, Complex16 b) { return a = a / b; }
inline Complex16& operator/=(Complex16& a, double b) { return a = a / b; }

// Named forms of the arithmetic.  A "d" in the name stands for the double
// operand and its place: Caddd(z, x) is z + x, Cdadd(x, z) is x + z.
inline Complex16 Cadd(Complex16 a, Complex16 b) { return a + b; }
inline Complex16 Caddd(Complex16 a, double b) { return a + b; }
inline Complex16 Cdadd(double a, Complex16 b) { return a + b; }
inline Complex16 Csub(Complex16 a, Complex16 b) { return a - b; }
inline Complex16 Csubd(Complex16 a, double b) { return a - b; }
inline Complex16 Cdsub(double a, Complex16 b) { return a - b; }
inline Complex16 Cmult(Complex16 a, Complex16 b) { return a * b; }
inline Complex16 Cmultd(Complex16 a, double b) { return a * b; }
inline Complex16 Cdmult(double a, Complex16 b) { return a * b; }
inline Complex16 Conjugate(Complex16 a) { return {a.re, -a.im}; }

// sqrt(re*re + im*im), unscaled: overflows for parts beyond about 1e154.
double Cabs(Complex16 a);
// (r cos phi, r sin phi).
Complex16 Cpolar(double r, double phi);
// exp(re) * (cos im, sin im).
Complex16 Cexp(Complex16 a);
// a to the power b on the principal branch of the logarithm, through
// theta = atan2(ai, ar) and s = |a|^2.  A zero base is not treated apart: the
// formula gives NaNs there for a real exponent.
Complex16 Cpow(Complex16 a, Complex16 b);
// a to the real power x: magnitude s^(x/2), phase theta*x.
Complex16 Cpowd(Complex16 a, double x);
// Principal logarithm.  Where one part exceeds the other tenfold, the real
// part is log of the larger part plus the series of log(1+q)/2 in
// q = (smaller/larger)^2, cut after ten terms, which keeps accuracy close to
// the axes.
Complex16 Clog(Complex16 a);
// Decimal logarithm with the same three arms as Clog.  In the arm where the
// real part dominates, the leading term is the natural logarithm of |re|
// while the series beside it is the decimal one; kernels that use Clog10
// rely on exactly these values.
Complex16 Clog10(Complex16 a);
Complex16 Csin(Complex16 a);
Complex16 Ccos(Complex16 a);
Complex16 Csinh(Complex16 a);
Complex16 Ccosh(Complex16 a);

#endif
