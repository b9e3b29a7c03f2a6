// Radial multipole integrals of cubic splines, by the composite Gauss rule on
// the splines' own grid.
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "numeric/quadrature.h"

namespace {

const char* const kGridsDiffer = "error in GetMultipoleIntegral: grids are not the same.";

void CheckSameGrid(const Interpolation::CubicSpline& a, const Interpolation::CubicSpline& b) {
    if (a.Knots() != b.Knots()) {
        printf("%s\n", kGridsDiffer);
        throw std::invalid_argument(kGridsDiffer);
    }
}

// The n-knot rule (t, w on [-1, 1]) applied to f on [lo, hi].
template <class F>
double IntervalIntegral(const F& f, double lo, double hi, const std::vector<double>& t, const std::vector<double>& w) {
    double mid = 0.5 * (lo + hi);
    double half = 0.5 * (hi - lo);
    double sum = 0.0;
    for (size_t j = 0; j < t.size(); j++) sum += w[j] * f(mid + half * t[j]);
    return half * sum;
}

}  // namespace

namespace Quad {

double GetMultipoleIntegral(const Interpolation::CubicSpline& a, const Interpolation::CubicSpline& b, int k,
                            unsigned int n) {
    CheckSameGrid(a, b);
    return Integrate([&](double r) { return a(r) * std::pow(r, k) * b(r); }, n, a.Knots());
}

double GetMultipoleIntegral(const Interpolation::CubicSpline& a, const Interpolation::CubicSpline& b,
                            const Interpolation::CubicSpline& c, const Interpolation::CubicSpline& d, unsigned int k,
                            unsigned int n) {
    CheckSameGrid(a, b);
    CheckSameGrid(a, c);
    CheckSameGrid(a, d);
    const std::vector<double>& g = a.Knots();
    const std::vector<double> t = GetKnots(n);
    const std::vector<double> w = GetWeights(n);
    const size_t intervals = g.size() - 1;
    const double kk = (double)k;

    // The inner density and its two kernels.
    auto inner = [&](double s) { return c(s) * std::pow(s, kk) * d(s); };
    auto outer = [&](double s) { return c(s) * std::pow(s, -kk - 1.0) * d(s); };

    // below[i]: the inner kernel integrated from g[0] to g[i];
    // above[i]: the outer kernel integrated from g[i] to the last knot.
    std::vector<double> below(intervals + 1, 0.0);
    std::vector<double> above(intervals + 1, 0.0);
    for (size_t i = 0; i < intervals; i++) below[i + 1] = below[i] + IntervalIntegral(inner, g[i], g[i + 1], t, w);
    for (size_t i = intervals; i-- > 1;) above[i] = above[i + 1] + IntervalIntegral(outer, g[i], g[i + 1], t, w);

    // The potential of the inner density at r in interval i: the part of the
    // density inside r seen as r^-(k+1), the part outside as r^k.
    double sum = 0.0;
    for (size_t i = 0; i < intervals; i++) {
        auto potential = [&](double r) {
            double inside = below[i] + IntervalIntegral(inner, g[i], r, t, w);
            double outside = above[i + 1] + IntervalIntegral(outer, r, g[i + 1], t, w);
            return a(r) * b(r) * (std::pow(r, -kk - 1.0) * inside + std::pow(r, kk) * outside);
        };
        sum += IntervalIntegral(potential, g[i], g[i + 1], t, w);
    }
    return sum;
}

}  // namespace Quad
