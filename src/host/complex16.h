// Complex16: a complex number as two doubles, real part first, passed by
// value and stored in place.  The arithmetic here is used by every kernel.
#ifndef SKELDA_HOST_COMPLEX16_H
#define SKELDA_HOST_COMPLEX16_H

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
inline Complex16 operator/(double a, Complex16 b) { return Complex16{a, 0.0} / b; }
inline Complex16& operator+=(Complex16& a, Complex16 b) { return a = a + b; }
inline Complex16& operator+=(Complex16& a, double b) { return a = a + b; }
inline Complex16& operator-=(Complex16& a, Complex16 b) { return a = a - b; }
inline Complex16& operator-=(Complex16& a, double b) { return a = a - b; }
inline Complex16& operator*=(Complex16& a, Complex16 b) { return a = a * b; }
inline Complex16& operator*=(Complex16& a, double b) { return a = a * b; }
inline Complex16& operator/=(Complex16& a, Complex16 b) { return a = a / b; }
inline Complex16& operator/=(Complex16& a, double b) { return a = a / b; }

#endif
