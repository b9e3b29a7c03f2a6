// Gauss-Legendre quadrature.
//
// Quad: fixed rules of 1 to 7 knots from a built-in table, on [-1, 1] or
// repeated in every interval of a grid (the composite rule that integrates
// tabulated radial functions piece by piece), and the radial integrals of
// cubic splines built on it.
//
// Quadrature: rules of 1 to Quadrature::kMaxKnots knots, computed once when
// the object is built, for single intervals that need a higher order.
//
// Failures print their one line on the standard output and throw
// std::invalid_argument (a rule that does not exist, data that do not fit
// the rule).
#ifndef SKELDA_NUMERIC_QUADRATURE_H
#define SKELDA_NUMERIC_QUADRATURE_H

#include <functional>
#include <vector>

#include "numeric/spline.h"

namespace Quad {

// The largest rule of the built-in table.
const unsigned int kMaxKnots = 7;

// Knots (ascending) and weights of the n-knot rule on [-1, 1].  n = 0 is the
// empty rule; n above kMaxKnots reports
// "error in GaussQuad::GetKnots: max number of knots = 7; got <n>".
std::vector<double> GetKnots(unsigned int n);
std::vector<double> GetWeights(unsigned int n);

// The n-knot rule in each interval [grid[i], grid[i+1]] of an ascending
// grid: n (grid.size() - 1) knots, interval after interval, and their
// weights.  A grid of fewer than two points gives no knots.
std::vector<double> GetKnots(unsigned int n, const std::vector<double>& grid);
std::vector<double> GetWeights(unsigned int n, const std::vector<double>& grid);

// The integral over the grid from the values of the integrand at the knots
// of GetKnots(n, grid).  n above kMaxKnots reports
// "error: in GaussQuad::Integrate: number of knots too big".
double Integrate(const std::vector<double>& values, unsigned int n, const std::vector<double>& grid);
// The same with the integrand evaluated here.
double Integrate(const std::function<double(double)>& f, unsigned int n, const std::vector<double>& grid);

// Radial integrals of functions P(r) = r R(r) given as cubic splines on one
// grid; the n-knot rule is used in each interval of that grid.  Splines on
// different grids report "error in GetMultipoleIntegral: grids are not the
// same.".
//
// One-particle form: the integral of a(r) r^k b(r) dr over the grid.
double GetMultipoleIntegral(const Interpolation::CubicSpline& a, const Interpolation::CubicSpline& b, int k,
                            unsigned int n = kMaxKnots);
// Two-particle (Slater) form: the double integral of
// a(r1) b(r1) r<^k / r>^(k+1) c(r2) d(r2) dr1 dr2, with r< and r> the smaller
// and the larger of r1 and r2.  F^k(1s,2s) is (1s,1s,2s,2s), G^k(1s,2s) is
// (1s,2s,1s,2s).
double GetMultipoleIntegral(const Interpolation::CubicSpline& a, const Interpolation::CubicSpline& b,
                            const Interpolation::CubicSpline& c, const Interpolation::CubicSpline& d, unsigned int k,
                            unsigned int n = kMaxKnots);

}  // namespace Quad

class Quadrature {
public:
    // The largest rule held in the table.
    static const unsigned int kMaxKnots = 100;

    // Computes the knots and weights of every rule from 1 to kMaxKnots.
    Quadrature();

    // Knots (ascending) and weights of the rule of numberOfKnots knots on
    // [-1, 1] or on [a, b].  numberOfKnots outside 1..kMaxKnots reports
    // "error: in Quadrature::GetKnots: numberOfKnots too big or smaller than 1"
    // (GetWeights: the same with its own name).
    std::vector<double> GetKnots(unsigned int numberOfKnots) const;
    std::vector<double> GetKnots(unsigned int numberOfKnots, double a, double b) const;
    std::vector<double> GetWeights(unsigned int numberOfKnots) const;
    std::vector<double> GetWeights(unsigned int numberOfKnots, double a, double b) const;

    // The integral of f over [a, b] by the rule of numberOfKnots knots (0
    // gives 0).  Too many knots report
    // "error: in Quadrature::Integrate: numberOfKnots too big".
    double Integrate(const std::function<double(double)>& f, unsigned int numberOfKnots, double a, double b) const;

private:
    // Rule n starts at offset n (n - 1) / 2 in both tables.
    std::vector<double> knots_;
    std::vector<double> weights_;
};

#endif
