// The Faddeeva function w(z) = exp(-z^2) erfc(-iz) and its values on the
// real and imaginary axes.
//
// Three methods share the plane:
//  - on the axes, piecewise Chebyshev polynomials of erfcx and of Im w(x)
//    (tables in faddeeva_tables.cpp) with asymptotic forms far out;
//  - far from the origin, the continued fraction of Laplace in the form of
//    Poppe and Wijers, with its number of levels fitted to the distance;
//  - elsewhere (|Im z| up to 7 and |Re z| up to 6, or up to 28 close to the
//    real axis) the exponential sums of Zaghloul and Ali.
#include <cfloat>
#include <cmath>

#include "base/faddeeva_tables.h"
#include "base/specialfunctions.h"

namespace {

const double kInvSqrtPi = 0.5641895835477563;     // 1/sqrt(pi)
const double kRelErr = DBL_EPSILON;               // stopping threshold of all sums

// exp(sign * x^2) with the rounding error of x*x carried into the result:
// x*x = h + l exactly, exp(h + l) = exp(h) (1 + l).  Keeps the relative error
// near one rounding also where x^2 is in the hundreds.
double ExpSquare(double x, double sign) {
    double h = x * x;
    double l = std::fma(x, x, -h);
    return std::exp(sign * h) * (1 + sign * l);
}

// w(z) for Im z >= 0 by the continued fraction
//   w(z) = i/sqrt(pi) / (z - (1/2)/(z - 1/(z - (3/2)/(z - ...)))),
// with xs = |Re z| and ya = Im z.
Complex16 WContinuedFraction(double x, double y, double xs, double ya) {
    if (xs + ya > 4000) {
        if (xs + ya > 1e7) {
            // One level: i/(sqrt(pi) z) = (y + i x)/(sqrt(pi) |z|^2), with
            // |z|^2 formed from the ratio of the parts so that it cannot
            // overflow.
            if (xs > ya) {
                double r = y / x;
                double d = x + r * y;
                return {kInvSqrtPi * r / d, kInvSqrtPi / d};
            }
            double r = x / y;
            double d = y + r * x;
            return {kInvSqrtPi / d, kInvSqrtPi * r / d};
        }
        // Two levels: i z / (sqrt(pi) (z^2 - 1/2)).
        double dr = (x - y) * (x + y) - 0.5;
        double di = 2 * x * y;
        double nr = -y, ni = x;
        double d = dr * dr + di * di;
        return {kInvSqrtPi * (nr * dr + ni * di) / d, kInvSqrtPi * (ni * dr - nr * di) / d};
    }
    const Complex16 z = {x, y};
    double nu = std::floor(3.9 + 11.398 / (0.08254 * xs + 0.1421 * ya + 0.2023));
    Complex16 wl = z;
    for (nu = 0.5 * (nu - 1); nu > 0.4; nu -= 0.5) wl = z - nu / wl;
    // i/(sqrt(pi) wl)
    double d = wl.re * wl.re + wl.im * wl.im;
    return {kInvSqrtPi * wl.im / d, kInvSqrtPi * wl.re / d};
}

// Zaghloul-Ali: with the step a chosen so that exp(-pi^2/a^2) is half the
// machine epsilon, sampling exp(t^2) on the grid 2an turns
// w(z) = exp(-z^2) erfc(y - ix) into
//
//   w = exp(-x^2) erfcx(y) (cos 2xy - i sin 2xy)
//     + (2a/pi) x exp(-x^2) (sin(xy) sinc(xy) + i sinc(2xy))
//     + (a/pi) [ -2y exp(-x^2) S1 (cos 2xy - i sin 2xy) + y R + i J ],
//
//   S1 = sum_{n>=1} exp(-a^2 n^2) / (a^2 n^2 + y^2),
//   R  = sum_{n!=0} exp(-(an - x)^2) / (a^2 n^2 + y^2),
//   J  = sum_{n!=0} a n exp(-(an - x)^2) / (a^2 n^2 + y^2),
//
// valid for either sign of y.  x > 0 here; w(-conj z) = conj w(z) gives the
// rest.
const double kA = 0.518321480430086;             // pi / sqrt(-log(eps/2))
const double kA2 = 0.26865715707523596;          // a*a
const double kTwoA = 1.036642960860172;          // 2a
const double kTwoAOverPi = 0.32997370288462907;  // 2a/pi
const double kAOverPi = 0.16498685144231454;     // a/pi
const int kNExp = 32;                            // entries of FaddeevaExpA2N2
// Below this x the sums R and J run forward from n = 1 in the pair form
// 2 exp(-x^2) exp(-a^2 n^2) (cosh 2anx, sinh 2anx), so that the near
// cancellation of the terms n and -n in J never happens; above it they run
// outward from the largest term, n near x/a.
const double kForwardSumBorder = 1.0;

Complex16 WZaghloulAli(double x, double y) {
    double xs = std::fabs(x);
    double y2 = y * y;
    double expx2 = ExpSquare(xs, -1);
    double xy = xs * y;
    double sinxy = std::sin(xy);
    double sin2xy = std::sin(2 * xy);
    double cos2xy = std::cos(2 * xy);
    double coef1 = expx2 * erfcx(y);

    double s1 = 0, r = 0, j = 0;
    if (xs < kForwardSumBorder) {
        double t = kTwoA * xs;
        double sh1 = xs < 5e-4 ? sinh_taylor(t) : std::sinh(t);
        double ch1 = std::sqrt(1 + sh1 * sh1);
        double sh = sh1, ch = ch1;      // sinh(2anx), cosh(2anx) for the current n
        bool s1done = false;
        for (int n = 1; n < kNExp; ++n) {
            double g = FaddeevaExpA2N2[n] / (kA2 * n * n + y2);
            if (!s1done) {
                s1 += g;
                s1done = g < kRelErr * s1;
            }
            double tr = g * ch;
            double ti = kA * n * g * sh;
            r += tr;
            j += ti;
            if (s1done && kA * n > xs && tr < kRelErr * r && ti <= kRelErr * j) break;
            double next = sh * ch1 + ch * sh1;
            ch = ch * ch1 + sh * sh1;
            sh = next;
        }
        r *= 2 * expx2;
        j *= 2 * expx2;
    } else {
        for (int n = 1; n < kNExp; ++n) {
            double g = FaddeevaExpA2N2[n] / (kA2 * n * n + y2);
            s1 += g;
            if (g < kRelErr * s1) break;
        }
        // exp(-(a(n0+k) - x)^2) = exp(-dx^2) exp(-2a dx k) exp(-a^2 k^2).
        double n0 = std::floor(xs / kA + 0.5);
        double dx = std::fma(kA, n0, -xs);
        double e0 = std::exp(-dx * dx);
        double up = std::exp(-kTwoA * dx);
        double down = std::exp(kTwoA * dx);
        double f = e0;
        for (int k = 0; k < kNExp; ++k) {
            double n = n0 + k;
            double tr = f * FaddeevaExpA2N2[k] / (kA2 * n * n + y2);
            double ti = kA * n * tr;
            r += tr;
            j += ti;
            if (k > 0 && tr < kRelErr * r && ti < kRelErr * j) break;
            f *= up;
        }
        f = e0;
        for (int k = 1; k < kNExp; ++k) {
            f *= down;
            double n = n0 - k;
            if (n == 0) continue;   // that term is the exp(-x^2)/y part above
            double tr = f * FaddeevaExpA2N2[k] / (kA2 * n * n + y2);
            double ti = kA * n * tr;
            r += tr;
            j += ti;
            if (tr < kRelErr * r && std::fabs(ti) < kRelErr * std::fabs(j)) break;
        }
    }

    double re = coef1 * cos2xy + kTwoAOverPi * xs * expx2 * sinxy * sincsin(xy, sinxy) +
                kAOverPi * y * (r - 2 * cos2xy * expx2 * s1);
    double im = -coef1 * sin2xy + kTwoAOverPi * xs * expx2 * sincsin(2 * xy, sin2xy) +
                kAOverPi * (2 * y * sin2xy * expx2 * s1 + j);
    return {re, x < 0 ? -im : im};
}

// Taylor coefficients of Im w(x) = 2/sqrt(pi) (x - 2x^3/3 + 4x^5/15 - ...).
const double kImWTaylor1 = 1.1283791670955126;
const double kImWTaylor3 = 0.7522527780636751;
const double kImWTaylor5 = 0.30090111122547003;
const double kImWTaylor7 = 0.08597174606442;
const double kImWTaylor9 = 0.01910483245876;

double EvaluateRow(const double *c, double t) {
    return c[0] + t * (c[1] + t * (c[2] + t * (c[3] + t * (c[4] + t * (c[5] + t * c[6])))));
}

}  // namespace

double sinc(double x) { return std::fabs(x) < 1e-4 ? 1 - x * x / 6 : std::sin(x) / x; }

double sincsin(double x, double sinx) { return std::fabs(x) < 1e-4 ? 1 - x * x / 6 : sinx / x; }

double sinh_taylor(double x) { return x * (1 + x * x * (1.0 / 6 + x * x / 120)); }

double erfcx_y100(double y100) {
    int k = static_cast<int>(y100);
    if (k >= 100) return 1.0;   // y100 = 100 is x = 0
    return EvaluateRow(ErfcxY100Table[k], 2 * y100 - (2 * k + 1));
}

double erfcx(double x) {
    if (x >= 0) {
        if (x > 50) {
            if (x > 5e7) return kInvSqrtPi / x;
            double x2 = x * x;
            // A convergent of the continued fraction of erfcx.
            return kInvSqrtPi * ((x2 + 4.5) * x2 + 2) / (x * (x2 * (x2 + 5) + 3.75));
        }
        return erfcx_y100(400 / (4 + x));
    }
    if (std::isnan(x)) return x;
    if (x < -26.7) return HUGE_VAL;
    if (x < -6.1) return 2 * ExpSquare(x, 1);
    return 2 * ExpSquare(x, 1) - erfcx_y100(400 / (4 - x));
}

double w_im_y100(double y100, double x) {
    int k = static_cast<int>(y100);
    if (k >= 99) {
        // x below 1/99: the Taylor series about 0, odd in x.
        double x2 = x * x;
        return x * (kImWTaylor1 -
                    x2 * (kImWTaylor3 - x2 * (kImWTaylor5 - x2 * (kImWTaylor7 - x2 * kImWTaylor9))));
    }
    return EvaluateRow(WImY100Table[k], 2 * y100 - (2 * k + 1));
}

double FaddeevaW_Im(double x) {
    if (x >= 0) {
        if (x > 45) {
            if (x > 5e7) return kInvSqrtPi / x;
            double x2 = x * x;
            return kInvSqrtPi * ((x2 - 4.5) * x2 + 2) / (x * ((x2 - 5) * x2 + 3.75));
        }
        return w_im_y100(100 / (1 + x), x);
    }
    if (std::isnan(x)) return x;
    return -FaddeevaW_Im(-x);
}

Complex16 FaddeevaW(Complex16 z) {
    double x = z.re, y = z.im;
    if (x == 0) return {erfcx(y), 0.0};
    if (y == 0) return {ExpSquare(x, -1), FaddeevaW_Im(x)};
    double xs = std::fabs(x), ya = std::fabs(y);
    if (ya > 7 || (xs > 6 && (ya > 0.1 || (xs > 8 && ya > 1e-10) || xs > 28))) {
        if (y > 0) return WContinuedFraction(x, y, xs, ya);
        // Below the real axis: w(z) = 2 exp(-z^2) - w(-z), with the exponent
        // formed as (|y| - |x|)(|x| + |y|) so that no square overflows on its
        // own, and the exponential left out where it underflows anyway.
        Complex16 wm = WContinuedFraction(-x, -y, xs, ya);
        double mre = (ya - xs) * (xs + ya);
        if (mre < -750) return {-wm.re, -wm.im};
        double e = 2 * std::exp(mre);
        double phase = -2 * x * y;
        return {e * std::cos(phase) - wm.re, e * std::sin(phase) - wm.im};
    }
    if (std::isnan(x) || std::isnan(y)) return {x + y, x + y};
    return WZaghloulAli(x, y);
}
