// Complex error functions and Dawson's integral, all reduced to the Faddeeva
// function w.  Near the points where the reduction cancels (small |z|, the
// neighbourhood of the imaginary axis for erf, of the real axis for Dawson)
// short Taylor forms take over.
#include <cmath>

#include "base/specialfunctions.h"

namespace {

const double kTwoOverSqrtPi = 1.1283791670955126;
const double kSqrtPiOverTwo = 0.886226925452758;

// exp(x^2) with the rounding error of x*x carried (see faddeeva.cpp).
double ExpOfSquare(double x) {
    double h = x * x;
    double l = std::fma(x, x, -h);
    return std::exp(h) * (1 + l);
}

// erf(z) about 0: 2/sqrt(pi) z (1 - z^2/3 + z^4/10 - z^6/42 + z^8/216 - z^10/1320),
// for |z| below 0.08; mz2 = -z^2.
Complex16 ErfTaylorAtZero(Complex16 z, Complex16 mz2) {
    Complex16 s = 0.005223977625442188 + mz2 * 0.0008548327023450853;
    s = 0.026866170645131252 + mz2 * s;
    s = 0.11283791670955126 + mz2 * s;
    s = 0.37612638903183754 + mz2 * s;
    s = 1.1283791670955126 + mz2 * s;
    return z * s;
}

// erf(x + iy) for small x and small x*y, as a series in x about the point iy:
//   Re = 2/sqrt(pi) e^{y^2} x [1 - x^2 (1 + 2y^2)/3 + x^4 (3 + 12y^2 + 4y^4)/30]
//   Im = e^{y^2} Im w(y) - 2/sqrt(pi) e^{y^2} y x^2
//        [1 - x^2 (1/2 + y^2/3) + x^4 (1/6 + 2y^2/9 + 2y^4/45)]
// 1 - exp(-z^2) w(iz) would lose the small real part there.
Complex16 ErfTaylorAlongImaginaryAxis(double x, double y) {
    double x2 = x * x, y2 = y * y;
    double ey2 = ExpOfSquare(y);
    double re = kTwoOverSqrtPi * ey2 * x *
                (1 - x2 * ((1 + 2 * y2) / 3 - x2 * (3 + y2 * (12 + 4 * y2)) / 30));
    double im = ey2 * (FaddeevaW_Im(y) -
                       kTwoOverSqrtPi * y * x2 *
                           (1 - x2 * (0.5 + y2 / 3 - x2 * (1.0 / 6 + y2 * (2.0 / 9 + y2 * 2.0 / 45)))));
    return {re, im};
}

// exp(-z^2) from the parts of -z^2.
Complex16 ExpMinusZ2(double mre, double mim) { return Cexp(Cnum(mre, mim)); }

// Dawson's integral along the real axis, D(x + iy) = sum_n (iy)^n D^(n)(x)/n!,
// with D' = 1 - 2xD and D^(n+1) = -2x D^(n) - 2n D^(n-1); for y below 0.005
// and x*y below 0.0025 eight terms reach double precision.
Complex16 DawsonTaylorAlongRealAxis(double x, double y) {
    double d0 = Dawson(x);
    double d1;
    double x2 = x * x;
    if (x2 > 2.5e15) {
        d1 = -0.5 / x2;   // 1 - 2xD rounds to nothing there
    } else if (std::fabs(x) > 45) {
        // Dawson is the continued-fraction convergent N/(2xM) out here, so
        // 1 - 2xD = (M - N)/M exactly, without the cancellation.
        d1 = (1.75 - 0.5 * x2) / ((x2 - 5) * x2 + 3.75);
    } else {
        d1 = 1 - 2 * x * d0;
    }
    double re = d0, im = 0;
    double dprev = d0, d = d1, yn = 1;
    for (int n = 1; n <= 7; ++n) {
        yn *= y / n;                  // y^n / n!
        double term = yn * d;         // (iy)^n / n! = i^n yn
        switch (n % 4) {
            case 1: im += term; break;
            case 2: re -= term; break;
            case 3: im -= term; break;
            default: re += term; break;
        }
        double next = -2 * x * d - 2 * n * dprev;
        dprev = d;
        d = next;
    }
    return {re, im};
}

}  // namespace

Complex16 Cerf(Complex16 z) {
    double x = z.re, y = z.im;
    if (y == 0) return {std::erf(x), y};
    if (x == 0) {
        // erf(iy) = i exp(y^2) Im w(y) = 2i/sqrt(pi) exp(y^2) Dawson(y).
        if (y * y > 720) return {x, y > 0 ? HUGE_VAL : -HUGE_VAL};
        return {x, ExpOfSquare(y) * FaddeevaW_Im(y)};
    }
    double mre = (y - x) * (x + y);   // Re(-z^2)
    double mim = -2 * x * y;          // Im(-z^2)
    if (mre < -750) return {x >= 0 ? 1.0 : -1.0, 0.0};
    if (x >= 0) {
        if (x < 0.08) {
            if (std::fabs(y) < 0.01) return ErfTaylorAtZero(z, Cnum(mre, mim));
            if (std::fabs(mim) < 0.005 && x < 0.005) return ErfTaylorAlongImaginaryAxis(x, y);
        }
        // 1 - exp(-z^2) w(iz)
        return 1.0 - ExpMinusZ2(mre, mim) * FaddeevaW(Cnum(-y, x));
    }
    if (x > -0.08) {
        if (std::fabs(y) < 0.01) return ErfTaylorAtZero(z, Cnum(mre, mim));
        if (std::fabs(mim) < 0.005 && x > -0.005) return ErfTaylorAlongImaginaryAxis(x, y);
    }
    // erf(z) = -erf(-z) = exp(-z^2) w(-iz) - 1
    return ExpMinusZ2(mre, mim) * FaddeevaW(Cnum(y, -x)) - 1.0;
}

Complex16 Cerfc(Complex16 z) {
    double x = z.re, y = z.im;
    if (y == 0) return {std::erfc(x), -y};
    if (x == 0) {
        // erfc(iy) = 1 - i exp(y^2) Im w(y).
        if (y * y > 720) return {1.0, y > 0 ? -HUGE_VAL : HUGE_VAL};
        return {1.0, -ExpOfSquare(y) * FaddeevaW_Im(y)};
    }
    double mre = (y - x) * (x + y);
    double mim = -2 * x * y;
    if (mre < -750) return {x >= 0 ? 0.0 : 2.0, 0.0};
    if (x >= 0) return ExpMinusZ2(mre, mim) * FaddeevaW(Cnum(-y, x));
    return 2.0 - ExpMinusZ2(mre, mim) * FaddeevaW(Cnum(y, -x));
}

Complex16 Cerfcx(Complex16 z) { return FaddeevaW(Cnum(-z.im, z.re)); }

Complex16 Cerfi(Complex16 z) {
    Complex16 e = Cerf(Cnum(-z.im, z.re));
    return {e.im, -e.re};
}

double Dawson(double x) { return kSqrtPiOverTwo * FaddeevaW_Im(x); }

Complex16 CDawson(Complex16 z) {
    double x = z.re, y = z.im;
    if (y == 0) return {Dawson(x), y};
    if (x == 0) {
        // D(iy) = i sqrt(pi)/2 exp(y^2) erf(y) = i (y + 2y^3/3 + 4y^5/15 + ...).
        double y2 = y * y;
        if (y2 < 2.5e-5) return {x, y * (1 + y2 * (2.0 / 3 + y2 * (4.0 / 15 + y2 * 8.0 / 105)))};
        if (y2 > 720) return {x, y > 0 ? HUGE_VAL : -HUGE_VAL};
        return {x, kSqrtPiOverTwo * ExpOfSquare(y) * std::erf(y)};
    }
    if (y < 0) return -CDawson(-z);   // D is odd; w is then used above the axis
    double mre = (y - x) * (x + y);
    double mim = -2 * x * y;
    if (y < 0.005) {
        if (std::fabs(x) < 0.005) {
            // About 0: z (1 - 2z^2/3 + 4z^4/15 - 8z^6/105).
            Complex16 mz2 = Cnum(mre, mim);
            return z * (1.0 + mz2 * (2.0 / 3 + mz2 * (4.0 / 15 + mz2 * (8.0 / 105))));
        }
        if (std::fabs(mim) < 0.005) return DawsonTaylorAlongRealAxis(x, y);
    }
    // D(z) = i sqrt(pi)/2 (exp(-z^2) - w(z)).
    Complex16 u = -FaddeevaW(z);
    if (mre >= -750) u += ExpMinusZ2(mre, mim);
    return {-kSqrtPiOverTwo * u.im, kSqrtPiOverTwo * u.re};
}
