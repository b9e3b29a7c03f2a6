// Cubic splines through tabulated values: a plain record with its kernels for
// callers that work on arrays, and a small class family (an interpolating
// function with a cubic spline as its one kind) for callers that evaluate
// radial functions and their derivatives.
//
// End conditions: an end derivative that is NaN makes a natural end (second
// derivative 0 there); any other number makes a clamped end with that first
// derivative.  The two ends are chosen independently.
#ifndef SKELDA_NUMERIC_SPLINE_H
#define SKELDA_NUMERIC_SPLINE_H

#include <vector>

// ---------------------------------------------------------------------------
// Plain kernels on arrays.

// Second derivatives y2[0..n-1] of the cubic spline through (x[i], y[i]),
// x ascending, with end derivatives yp1 (at x[0]) and ypn (at x[n-1]).
// Returns 0, or 1 (with a printed line) when n < 2 or the scratch array
// can't be allocated; y2 is not written then.
int CreateCubicSpline(const double* x, const double* y, unsigned int n, double yp1, double ypn, double* y2);

// Value of the spline at t.  No range check: outside the knots the first or
// last cubic piece is continued.  Two equal neighbouring knots around t give
// the mean of their values.  No knots at all give NaN.
double EvaluateCubicSpline(const double* x, const double* y, const double* y2, unsigned int n, double t);

// The same spline as a record that owns its arrays.  An empty record has
// n = 0 and null arrays.
struct CubicSplineType {
    unsigned int n;
    double* x;
    double* y;
    double* y2;
};

// Copies the knots and values and computes the second derivatives.  Returns
// 0, or 1 with a printed line; after a failure the record is empty.
int CreateCubicSpline(CubicSplineType* spline, const double* x, const double* y, unsigned int n, double yp1,
                      double ypn);
double EvaluateCubicSpline(const CubicSplineType* spline, double t);
// Frees the arrays and leaves the record empty; an empty record is allowed.
void FreeCubicSpline(CubicSplineType* spline);

// ---------------------------------------------------------------------------
// The class family.  Failures print their one line on the standard output
// and then throw: std::domain_error for an argument outside what the
// function covers, std::invalid_argument for bad construction data,
// std::logic_error for a call of the base forms.  Allocation failures throw
// std::bad_alloc.

namespace Interpolation {

class InterpolatingFunction {
public:
    virtual ~InterpolatingFunction();
    // Value at x.
    virtual double operator()(double x) const;
    // Derivative of the given order at x (order 0 is the value).
    virtual double operator()(double x, unsigned int order) const;
    // Values at every point of x.
    virtual std::vector<double> operator()(std::vector<double> x) const;
};

class CubicSpline : public InterpolatingFunction {
public:
    // Knots strictly ascending, at least two, as many values as knots.
    // yp1 and ypn: end derivatives, NaN for a natural end.
    CubicSpline(std::vector<double> knots, std::vector<double> values, double yp1, double ypn);

    // Outside [first knot, last knot] (and for NaN) these report
    // "error: value out of interpolation range".
    double operator()(double x) const override;
    // Orders 0, 1 and 2; a higher one reports
    // "error: order of derivative of interpolated function at most 2".
    double operator()(double x, unsigned int order) const override;
    std::vector<double> operator()(std::vector<double> x) const override;

    const std::vector<double>& Knots() const { return knots_; }
    const std::vector<double>& Values() const { return values_; }
    const std::vector<double>& SecondDerivatives() const { return y2_; }
    // The end derivatives given at construction (NaN for a natural end).
    double LeftDerivative() const { return yp1_; }
    double RightDerivative() const { return ypn_; }

private:
    void CheckRange(double x) const;

    std::vector<double> knots_;
    std::vector<double> values_;
    std::vector<double> y2_;  // second derivative of the spline at each knot
    double yp1_;
    double ypn_;
};

}  // namespace Interpolation

// ---------------------------------------------------------------------------
// Handle form for callers that do not use exceptions: every failure is the
// printed line and a null or NaN result.

typedef Interpolation::InterpolatingFunction* InterpolatingFunction;

// A cubic spline as a handle; null after a failure.
InterpolatingFunction CreateInterpolatingFunctionCubicSpline(const double* x, const double* y, unsigned int n,
                                                            double yp1, double ypn);
// Value, or derivative of the given order, at x; NaN after a failure.
double EvaluateInterpolatingFunction(InterpolatingFunction f, double x);
double EvaluateInterpolatingFunction(InterpolatingFunction f, double x, unsigned int order);
// Deletes the function; null is allowed.
void FreeInterpolatingFunction(InterpolatingFunction f);

#endif
