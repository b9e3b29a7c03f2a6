// Factorials, binomials, spherical Bessel functions, Laguerre polynomials,
// the Voigt profile and integer tests.
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>

#include "base/specialfunctions.h"

double Factorial(int n) {
    if (n < 0) {
        std::printf("Error Factorial called with a negative number\n");
        return 0;
    }
    double f = 1;
    for (int i = 2; i <= n; ++i) f *= i;
    return f;
}

unsigned long long BinomialCoefficient(unsigned n, unsigned k) {
    if (k > n) return 0;
    if (k > n - k) k = n - k;
    unsigned long long r = 1;
    // After step i, r = C(n-k+i, i).  With g = gcd(r, i), i/g divides n-k+i,
    // so the step r (n-k+i) / i is taken without a product larger than the
    // result.
    for (unsigned i = 1; i <= k; ++i) {
        unsigned long long g = std::gcd(r, static_cast<unsigned long long>(i));
        r = (r / g) * ((n - k + i) / (i / g));
    }
    return r;
}

double BinomialCoefficientDouble(double n, int k) {
    if (k < 0) return 0;
    double r = 1;
    for (int i = 1; i <= k; ++i) r *= (n - k + i) / i;
    return r;
}

bool IntegerQ(double x) { return std::isfinite(x) && x == std::floor(x); }

bool EvenQ(double x) { return IntegerQ(x) && std::fmod(x, 2.0) == 0; }

bool OddQ(double x) { return IntegerQ(x) && std::fabs(std::fmod(x, 2.0)) == 1; }

double Voight(double x, double G, double L) {
    if (G == 0) {
        // The Gaussian has shrunk to a point: the Lorentzian of full width L.
        double h = 0.5 * L;
        return h / (M_PI * (x * x + h * h));
    }
    // sigma sqrt(2) = G / (2 sqrt(ln 2)); the Lorentzian half width L/2 is
    // the imaginary part in the same unit, and sigma sqrt(2 pi) normalises.
    Complex16 z = {x / (0.6005612043932249 * G), L / (1.2011224087864498 * G)};
    return FaddeevaW(z).re / (1.0644670194312262 * G);
}

namespace {

// j_l(x) for x^2 < 2l + 3 by its power series
//   x^l/(2l+1)!! sum_k (-x^2/2)^k / (k! (2l+3)(2l+5)...(2l+2k+1)),
// whose terms fall at least twofold from the first on.
double SphericalBesselSeries(int l, double x) {
    double lead = 1;
    for (int i = 1; i <= l; ++i) lead *= x / (2 * i + 1);
    double h = -0.5 * x * x;
    double term = 1, sum = 1;
    for (int k = 1; k < 200; ++k) {
        term *= h / (k * (2.0 * l + 2 * k + 1));
        sum += term;
        if (std::fabs(term) < 1e-17 * std::fabs(sum)) break;
    }
    return lead * sum;
}

// j_l(x) for sqrt(2l+3) <= x <= l by Miller's method: the recurrence
// f_{n-1} = (2n+1)/x f_n - f_{n+1} run downwards from far above l picks out
// the solution that falls with n, scaled at the end on j_0 or j_1,
// whichever is the larger.
double SphericalBesselMiller(int l, double x) {
    int start = l + 30 + static_cast<int>(std::sqrt(40.0 * l));
    double fnext = 0, f = 1e-280, fl = 0, f1 = 0;
    for (int n = start; n > 0; --n) {
        double fprev = (2 * n + 1) / x * f - fnext;
        fnext = f;
        f = fprev;   // f is now f_{n-1}
        if (n - 1 == l) fl = f;
        if (n - 1 == 1) f1 = f;
        if (std::fabs(f) > 1e250) {
            f *= 1e-250;
            fnext *= 1e-250;
            fl *= 1e-250;
            f1 *= 1e-250;
        }
    }
    double j0 = std::sin(x) / x;
    double j1 = (std::sin(x) / x - std::cos(x)) / x;
    double scale = std::fabs(j0) > std::fabs(j1) ? j0 / f : j1 / f1;
    return fl * scale;
}

}  // namespace

double SphericalBesselJ(int l, double x) {
    if (x == 0) return l == 0 ? 1.0 : (l > 0 ? 0.0 : std::numeric_limits<double>::quiet_NaN());
    if (x < 0) return (l % 2 == 0 ? 1 : -1) * SphericalBesselJ(l, -x);
    double s = std::sin(x), c = std::cos(x);
    if (l < 0) {
        // Downwards from j_0 = sin(x)/x and j_{-1} = cos(x)/x; the functions
        // grow in this direction, so the recurrence is stable.
        double fnext = s / x, f = c / x;
        for (int n = -1; n > l; --n) {
            double fprev = (2 * n + 1) / x * f - fnext;
            fnext = f;
            f = fprev;
        }
        return f;
    }
    if (l == 0) return s / x;
    if (x > l) {
        // Upwards from j_0 and j_1, stable while the order stays below x.
        double jprev = s / x, j = (s / x - c) / x;
        for (int n = 1; n < l; ++n) {
            double jnext = (2 * n + 1) / x * j - jprev;
            jprev = j;
            j = jnext;
        }
        return j;
    }
    if (x * x < 2 * l + 3) return SphericalBesselSeries(l, x);
    return SphericalBesselMiller(l, x);
}

int LaguerreL(int n, int l, double x, double *value) {
    if (n < 0) {
        *value = 0;   // the sum over k = 0..n is empty
        return 0;
    }
    if (l < 0) return 1;   // (l+k)! at k = 0
    // L_0 = 1, L_1 = 1 + l - x, (k+1) L_{k+1} = (2k+1+l-x) L_k - (k+l) L_{k-1}.
    double prev = 1, cur = 1 + l - x;
    if (n == 0) {
        *value = prev;
        return 0;
    }
    for (int k = 1; k < n; ++k) {
        double next = ((2 * k + 1 + l - x) * cur - (k + l) * prev) / (k + 1);
        prev = cur;
        cur = next;
    }
    *value = cur;
    return 0;
}
