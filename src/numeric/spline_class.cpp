// The interpolating-function classes and the handle form built on them.
#include <cmath>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <utility>

#include "numeric/spline.h"

namespace {

const char* const kVirtualCall = "error: call of virtual InterpolatingFunction::operator()";
const char* const kOutOfRange = "error: value out of interpolation range";
const char* const kOrderTooHigh = "error: order of derivative of interpolated function at most 2";

// Prints the line of a failure and throws it as an exception of type E.
template <class E>
[[noreturn]] void Report(const char* message) {
    printf("%s\n", message);
    throw E(message);
}

}  // namespace

namespace Interpolation {

InterpolatingFunction::~InterpolatingFunction() = default;

double InterpolatingFunction::operator()(double) const { Report<std::logic_error>(kVirtualCall); }

double InterpolatingFunction::operator()(double, unsigned int) const { Report<std::logic_error>(kVirtualCall); }

std::vector<double> InterpolatingFunction::operator()(std::vector<double>) const {
    Report<std::logic_error>(kVirtualCall);
}

CubicSpline::CubicSpline(std::vector<double> knots, std::vector<double> values, double yp1, double ypn)
    : knots_(std::move(knots)), values_(std::move(values)), y2_(), yp1_(yp1), ypn_(ypn) {
    if (knots_.size() != values_.size()) {
        Report<std::invalid_argument>("error: a cubic spline needs as many values as knots");
    }
    if (knots_.size() < 2) Report<std::invalid_argument>("error: a cubic spline needs at least two knots");
    for (size_t i = 1; i < knots_.size(); i++) {
        // Written so that a NaN knot fails too.
        if (!(knots_[i] > knots_[i - 1])) {
            Report<std::invalid_argument>("error: the knots of a cubic spline must be strictly ascending");
        }
    }
    y2_.resize(knots_.size());
    if (CreateCubicSpline(knots_.data(), values_.data(), (unsigned int)knots_.size(), yp1_, ypn_, y2_.data()) !=
        0) {
        throw std::bad_alloc();
    }
}

void CubicSpline::CheckRange(double x) const {
    // Also false for NaN.
    if (!(x >= knots_.front() && x <= knots_.back())) Report<std::domain_error>(kOutOfRange);
}

double CubicSpline::operator()(double x) const {
    CheckRange(x);
    return EvaluateCubicSpline(knots_.data(), values_.data(), y2_.data(), (unsigned int)knots_.size(), x);
}

double CubicSpline::operator()(double x, unsigned int order) const {
    if (order > 2) Report<std::domain_error>(kOrderTooHigh);
    if (order == 0) return (*this)(x);
    CheckRange(x);
    // The same bisection as the value: the piece [knots_[lo], knots_[hi]].
    size_t lo = 0;
    size_t hi = knots_.size() - 1;
    while (hi - lo > 1) {
        size_t k = (lo + hi) / 2;
        if (knots_[k] > x) {
            hi = k;
        } else {
            lo = k;
        }
    }
    double h = knots_[hi] - knots_[lo];
    double a = (knots_[hi] - x) / h;
    double b = (x - knots_[lo]) / h;
    if (order == 2) return a * y2_[lo] + b * y2_[hi];
    return (values_[hi] - values_[lo]) / h + ((1.0 - 3.0 * a * a) * y2_[lo] + (3.0 * b * b - 1.0) * y2_[hi]) * h / 6.0;
}

std::vector<double> CubicSpline::operator()(std::vector<double> x) const {
    for (double& t : x) t = (*this)(t);
    return x;
}

}  // namespace Interpolation

InterpolatingFunction CreateInterpolatingFunctionCubicSpline(const double* x, const double* y, unsigned int n,
                                                            double yp1, double ypn) {
    try {
        return new Interpolation::CubicSpline(std::vector<double>(x, x + n), std::vector<double>(y, y + n), yp1,
                                              ypn);
    } catch (const std::bad_alloc&) {
        printf("allocation failed in CreateInterpolatingFunctionCubicSpline\n");
    } catch (const std::exception&) {
        // The constructor has printed its line.
    }
    return nullptr;
}

double EvaluateInterpolatingFunction(InterpolatingFunction f, double x) {
    try {
        return (*f)(x);
    } catch (const std::exception&) {
        return std::nan("");
    }
}

double EvaluateInterpolatingFunction(InterpolatingFunction f, double x, unsigned int order) {
    try {
        return (*f)(x, order);
    } catch (const std::exception&) {
        return std::nan("");
    }
}

void FreeInterpolatingFunction(InterpolatingFunction f) { delete f; }
