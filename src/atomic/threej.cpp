// Racah's single-sum formula for the 3j symbol and the Slater coefficients.
#include "atomic/threej.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/specialfunctions.h"

namespace {

// Whole numbers up to rounding: the test of the script forms.
bool IsWhole(double x) {
    return std::fabs(x - std::round(x)) < std::fabs(x) * 2.220446049250313e-15 + 2.2250738585072014e-308;
}

double MinusOnePower(int n) { return (n % 2 == 0) ? 1.0 : -1.0; }

}  // namespace

// The formula works on doubled arguments throughout; every sum that reaches
// a factorial or a sign is even for valid input and is halved there.
double ThreeJSymbolHalf(int tj1, int tm1, int tj2, int tm2, int tj3, int tm3) {
    if (tm1 + tm2 + tm3 != 0) return 0.0;
    if (tj3 > tj1 + tj2 || tj1 > tj2 + tj3 || tj2 > tj1 + tj3) return 0.0;
    if (std::abs(tm1) > tj1 || std::abs(tm2) > tj2 || std::abs(tm3) > tj3) return 0.0;

    int tmin = std::max({0, (tj2 - tj3 - tm1) / 2, (tj1 + tm2 - tj3) / 2});
    int tmax = std::min({(tj1 + tj2 - tj3) / 2, (tj1 - tm1) / 2, (tj2 + tm2) / 2});
    double sum = 0.0;
    for (int t = tmin; t <= tmax; t++) {
        double d = Factorial(t) * Factorial((tj3 - tj2 + tm1) / 2 + t) *
                   Factorial((tj3 - tj1 - tm2) / 2 + t) * Factorial((tj1 + tj2 - tj3) / 2 - t) *
                   Factorial((tj1 - tm1) / 2 - t) * Factorial((tj2 + tm2) / 2 - t);
        sum += MinusOnePower(t) / d;
    }
    double num = Factorial((tj1 + tj2 - tj3) / 2) * Factorial((tj1 - tj2 + tj3) / 2) *
                 Factorial((-tj1 + tj2 + tj3) / 2) * Factorial((tj1 + tm1) / 2) *
                 Factorial((tj1 - tm1) / 2) * Factorial((tj2 + tm2) / 2) *
                 Factorial((tj2 - tm2) / 2) * Factorial((tj3 + tm3) / 2) *
                 Factorial((tj3 - tm3) / 2);
    double den = Factorial((tj1 + tj2 + tj3) / 2 + 1);
    return MinusOnePower((tj1 - tj2 - tm3) / 2) * std::sqrt(num / den) * sum;
}

double ThreeJSymbol(int j1, int m1, int j2, int m2, int j3, int m3) {
    return ThreeJSymbolHalf(2 * j1, 2 * m1, 2 * j2, 2 * m2, 2 * j3, 2 * m3);
}

int ThreeJSymbolOfNumbers(const double jm[6], double* value) {
    bool whole = true, half = true;
    for (int k = 0; k < 6; k++) {
        whole = whole && IsWhole(jm[k]);
        half = half && IsWhole(2 * jm[k]);
    }
    int a[6];
    if (whole) {
        for (int k = 0; k < 6; k++) a[k] = static_cast<int>(std::round(jm[k]));
        *value = ThreeJSymbol(a[0], a[1], a[2], a[3], a[4], a[5]);
        return 0;
    }
    if (!half) return 1;
    for (int k = 0; k < 6; k++) a[k] = static_cast<int>(std::round(2 * jm[k]));
    *value = ThreeJSymbolHalf(a[0], a[1], a[2], a[3], a[4], a[5]);
    return 0;
}

double SlaterCoefficientC(int k, int l1, int m1, int l2, int m2) {
    if (k < std::abs(m1 - m2)) return 0.0;
    return MinusOnePower(m1) * std::sqrt(static_cast<double>((2 * l1 + 1) * (2 * l2 + 1))) *
           ThreeJSymbol(l1, 0, k, 0, l2, 0) * ThreeJSymbol(l1, -m1, k, m1 - m2, l2, m2);
}

// |l j m> = sum over the spin projection of <l, m-s; 1/2, s | j m> |l, m-s>|s>,
// the Clebsch-Gordan coefficients written as 3j symbols.  a, b are the
// orbital projections that go with spin down, a', b' those with spin up.
double SlaterCoefficientCjcoupling(int k, int l1, int tj1, int tm1, int l2, int tj2, int tm2) {
    int a = (tm1 + 1) / 2, b = (tm2 + 1) / 2;
    int ap = (tm1 - 1) / 2, bp = (tm2 - 1) / 2;
    double down = ThreeJSymbolHalf(2 * l1, 2 * a, 1, -1, tj1, -tm1) *
                  ThreeJSymbolHalf(2 * l2, 2 * b, 1, -1, tj2, -tm2) *
                  SlaterCoefficientC(k, l1, a, l2, b);
    double up = ThreeJSymbolHalf(2 * l1, 2 * ap, 1, 1, tj1, -tm1) *
                ThreeJSymbolHalf(2 * l2, 2 * bp, 1, 1, tj2, -tm2) *
                SlaterCoefficientC(k, l1, ap, l2, bp);
    return MinusOnePower(l1 + l2 + (tm1 + tm2) / 2 + 1) *
           std::sqrt(static_cast<double>((tj1 + 1) * (tj2 + 1))) * (down + up);
}
