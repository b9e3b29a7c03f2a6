// Cubic splines: exactness on polynomials, the end conditions against a
// dense solve of the spline equations, the order of convergence, and the
// reported failures.
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <vector>

#include "numeric/spline.h"

namespace {

const double kNaN = std::nan("");

// Knots that are deliberately not equidistant.
std::vector<double> UnevenKnots(int n, double a, double b) {
    std::vector<double> x(n);
    for (int i = 0; i < n; i++) {
        double t = (double)i / (n - 1);
        x[i] = a + (b - a) * (t + 0.04 * std::sin(7.0 * t) * t * (1.0 - t));
    }
    return x;
}

// p(x) = 1 - 2x + x^2/2 + x^3/4 and its derivatives.
double Cubic(double x, int order) {
    switch (order) {
        case 0: return 1.0 - 2.0 * x + 0.5 * x * x + 0.25 * x * x * x;
        case 1: return -2.0 + x + 0.75 * x * x;
        default: return 1.0 + 1.5 * x;
    }
}

// The second derivatives of the spline from the textbook equations of
// continuity of the first derivative, solved as a dense system with
// partial pivoting: an independent route to what the sweep computes.
std::vector<double> DenseMoments(const std::vector<double>& x, const std::vector<double>& y, double yp1, double ypn) {
    size_t n = x.size();
    std::vector<std::vector<double>> a(n, std::vector<double>(n + 1, 0.0));
    for (size_t i = 1; i + 1 < n; i++) {
        double h0 = x[i] - x[i - 1], h1 = x[i + 1] - x[i];
        a[i][i - 1] = h0;
        a[i][i] = 2.0 * (h0 + h1);
        a[i][i + 1] = h1;
        a[i][n] = 6.0 * ((y[i + 1] - y[i]) / h1 - (y[i] - y[i - 1]) / h0);
    }
    double h0 = x[1] - x[0], hn = x[n - 1] - x[n - 2];
    if (std::isnan(yp1)) {
        a[0][0] = 1.0;
    } else {
        a[0][0] = 2.0 * h0;
        a[0][1] = h0;
        a[0][n] = 6.0 * ((y[1] - y[0]) / h0 - yp1);
    }
    if (std::isnan(ypn)) {
        a[n - 1][n - 1] = 1.0;
    } else {
        a[n - 1][n - 2] = hn;
        a[n - 1][n - 1] = 2.0 * hn;
        a[n - 1][n] = 6.0 * (ypn - (y[n - 1] - y[n - 2]) / hn);
    }
    for (size_t c = 0; c < n; c++) {
        size_t p = c;
        for (size_t r = c + 1; r < n; r++) {
            if (std::fabs(a[r][c]) > std::fabs(a[p][c])) p = r;
        }
        std::swap(a[c], a[p]);
        for (size_t r = 0; r < n; r++) {
            if (r == c) continue;
            double f = a[r][c] / a[c][c];
            for (size_t k = c; k <= n; k++) a[r][k] -= f * a[c][k];
        }
    }
    std::vector<double> m(n);
    for (size_t i = 0; i < n; i++) m[i] = a[i][n] / a[i][i];
    return m;
}

// Largest error of the spline (or a derivative) of f against f on a fine
// sample of [a, b], for n equidistant knots and the given end condition.
template <class F>
double MaxError(F f, double a, double b, int n, bool clamped, unsigned int order) {
    std::vector<double> x(n), y(n);
    for (int i = 0; i < n; i++) {
        x[i] = a + (b - a) * i / (n - 1);
        y[i] = f(x[i], 0);
    }
    Interpolation::CubicSpline s(x, y, clamped ? f(a, 1) : kNaN, clamped ? f(b, 1) : kNaN);
    double worst = 0.0;
    for (int k = 0; k <= 2000; k++) {
        double t = a + (b - a) * k / 2000.0;
        worst = std::fmax(worst, std::fabs(s(t, order) - f(t, (int)order)));
    }
    return worst;
}

// Observed order of convergence from halving the spacing twice.
template <class F>
double ObservedOrder(F f, double a, double b, bool clamped, unsigned int order) {
    double e1 = MaxError(f, a, b, 41, clamped, order);
    double e2 = MaxError(f, a, b, 81, clamped, order);
    double e3 = MaxError(f, a, b, 161, clamped, order);
    double p1 = std::log2(e1 / e2);
    double p2 = std::log2(e2 / e3);
    EXPECT_NEAR(p1, p2, 0.25) << "order not settled";
    return p2;
}

double Sine(double x, int order) {
    switch (order) {
        case 0: return std::sin(x);
        case 1: return std::cos(x);
        default: return -std::sin(x);
    }
}

double Exponential(double x, int) { return std::exp(x); }

}  // namespace

TEST(CubicSpline, ClampedEndsReproduceACubicWithItsDerivatives) {
    std::vector<double> x = UnevenKnots(9, -1.5, 2.0);
    std::vector<double> y;
    for (double t : x) y.push_back(Cubic(t, 0));
    Interpolation::CubicSpline s(x, y, Cubic(x.front(), 1), Cubic(x.back(), 1));
    for (int k = 0; k <= 350; k++) {
        double t = -1.5 + 3.5 * k / 350.0;
        EXPECT_NEAR(s(t), Cubic(t, 0), 1e-13) << t;
        EXPECT_NEAR(s(t, 0), Cubic(t, 0), 1e-13) << t;
        EXPECT_NEAR(s(t, 1), Cubic(t, 1), 1e-12) << t;
        EXPECT_NEAR(s(t, 2), Cubic(t, 2), 1e-11) << t;
    }
}

TEST(CubicSpline, NaturalEndsReproduceAStraightLineAndHaveNoEndCurvature) {
    std::vector<double> x = UnevenKnots(7, 0.0, 3.0);
    std::vector<double> line, curve;
    for (double t : x) {
        line.push_back(0.5 - 1.25 * t);
        curve.push_back(Cubic(t, 0));
    }
    Interpolation::CubicSpline s(x, line, kNaN, kNaN);
    for (int k = 0; k <= 100; k++) {
        double t = 3.0 * k / 100.0;
        EXPECT_NEAR(s(t), 0.5 - 1.25 * t, 1e-14);
        EXPECT_NEAR(s(t, 1), -1.25, 1e-13);
        EXPECT_NEAR(s(t, 2), 0.0, 1e-12);
    }
    // A cubic is not reproduced by natural ends; the end curvature is 0.
    Interpolation::CubicSpline c(x, curve, kNaN, kNaN);
    EXPECT_EQ(c(0.0, 2), 0.0);
    EXPECT_NEAR(c(3.0, 2), 0.0, 1e-14);
    EXPECT_GT(std::fabs(c(1.3) - Cubic(1.3, 0)), 1e-4);
}

TEST(CubicSpline, SecondDerivativesAgreeWithADenseSolveForEveryEndCondition) {
    std::vector<double> x = UnevenKnots(12, -2.0, 5.0);
    std::vector<double> y;
    for (double t : x) y.push_back(std::exp(0.3 * t) * std::cos(t));
    const double ends[][2] = {{kNaN, kNaN}, {0.7, -2.0}, {kNaN, 1.5}, {-0.4, kNaN}};
    for (const auto& e : ends) {
        std::vector<double> want = DenseMoments(x, y, e[0], e[1]);
        std::vector<double> y2(x.size(), 99.0);
        ASSERT_EQ(CreateCubicSpline(x.data(), y.data(), (unsigned int)x.size(), e[0], e[1], y2.data()), 0);
        for (size_t i = 0; i < x.size(); i++) EXPECT_NEAR(y2[i], want[i], 1e-12) << e[0] << " " << e[1] << " " << i;
        // A clamped end has the given slope.
        Interpolation::CubicSpline s(x, y, e[0], e[1]);
        if (!std::isnan(e[0])) {
            EXPECT_NEAR(s(x.front(), 1), e[0], 1e-12);
        }
        if (!std::isnan(e[1])) {
            EXPECT_NEAR(s(x.back(), 1), e[1], 1e-12);
        }
    }
}

TEST(CubicSpline, ConvergesAtFourthOrderWithCorrectEnds) {
    // Clamped with the true slopes: h^4 for values, h^3 and h^2 for the
    // first and second derivative.
    EXPECT_NEAR(ObservedOrder(Sine, 0.0, 3.0, true, 0), 4.0, 0.2);
    EXPECT_NEAR(ObservedOrder(Sine, 0.0, 3.0, true, 1), 3.0, 0.2);
    EXPECT_NEAR(ObservedOrder(Sine, 0.0, 3.0, true, 2), 2.0, 0.2);
    // Natural ends are right for sin on [0, pi], whose curvature vanishes there.
    EXPECT_NEAR(ObservedOrder(Sine, 0.0, M_PI, false, 0), 4.0, 0.2);
    EXPECT_LT(MaxError(Sine, 0.0, M_PI, 161, false, 0), 1e-8);
    // Natural ends on exp, whose curvature does not vanish, fall to h^2.
    EXPECT_NEAR(ObservedOrder(Exponential, 0.0, 1.0, false, 0), 2.0, 0.2);
}

TEST(CubicSpline, ReportsValuesOutsideTheKnotsAndHighDerivatives) {
    Interpolation::CubicSpline s({1.0, 2.0, 4.0}, {3.0, 5.0, -1.0}, kNaN, kNaN);
    EXPECT_EQ(s(1.0), 3.0);
    EXPECT_EQ(s(4.0), -1.0);
    const double outside[] = {1.0 - 1e-12, 4.0 + 1e-12, kNaN};
    for (double t : outside) {
        testing::internal::CaptureStdout();
        EXPECT_THROW(s(t), std::domain_error);
        EXPECT_THROW(s(t, 1), std::domain_error);
        EXPECT_THROW(s(std::vector<double>{2.0, t}), std::domain_error);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "error: value out of interpolation range\n"
                  "error: value out of interpolation range\n"
                  "error: value out of interpolation range\n");
    }
    testing::internal::CaptureStdout();
    EXPECT_THROW(s(2.0, 3), std::domain_error);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "error: order of derivative of interpolated function at most 2\n");
    std::vector<double> v = s(std::vector<double>{1.0, 2.0, 4.0});
    EXPECT_EQ(v, (std::vector<double>{3.0, 5.0, -1.0}));
}

TEST(CubicSpline, RefusesDataThatDoNotMakeASpline) {
    testing::internal::CaptureStdout();
    EXPECT_THROW(Interpolation::CubicSpline({1.0}, {1.0}, kNaN, kNaN), std::invalid_argument);
    EXPECT_THROW(Interpolation::CubicSpline({1.0, 2.0}, {1.0}, kNaN, kNaN), std::invalid_argument);
    EXPECT_THROW(Interpolation::CubicSpline({1.0, 3.0, 3.0}, {1.0, 2.0, 3.0}, kNaN, kNaN), std::invalid_argument);
    EXPECT_THROW(Interpolation::CubicSpline({2.0, 1.0}, {1.0, 2.0}, kNaN, kNaN), std::invalid_argument);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("error: a cubic spline needs at least two knots\n"), std::string::npos);
    EXPECT_NE(out.find("error: the knots of a cubic spline must be strictly ascending\n"), std::string::npos);
}

TEST(CubicSpline, BaseFormsReportTheVirtualCall) {
    Interpolation::InterpolatingFunction base;
    testing::internal::CaptureStdout();
    EXPECT_THROW(base(1.0), std::logic_error);
    EXPECT_THROW(base(1.0, 1), std::logic_error);
    EXPECT_THROW(base(std::vector<double>{1.0}), std::logic_error);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "error: call of virtual InterpolatingFunction::operator()\n"
              "error: call of virtual InterpolatingFunction::operator()\n"
              "error: call of virtual InterpolatingFunction::operator()\n");
}

TEST(CubicSplinePlain, RecordAndHandleAgreeWithTheClass) {
    std::vector<double> x = UnevenKnots(8, -1.0, 1.0);
    std::vector<double> y;
    for (double t : x) y.push_back(1.0 / (1.0 + 4.0 * t * t));
    Interpolation::CubicSpline s(x, y, 0.3, kNaN);
    CubicSplineType rec;
    ASSERT_EQ(CreateCubicSpline(&rec, x.data(), y.data(), (unsigned int)x.size(), 0.3, kNaN), 0);
    InterpolatingFunction f = CreateInterpolatingFunctionCubicSpline(x.data(), y.data(), (unsigned int)x.size(), 0.3, kNaN);
    ASSERT_NE(f, nullptr);
    for (double t : {-1.0, -0.3, 0.45, 1.0}) {
        EXPECT_EQ(EvaluateCubicSpline(&rec, t), s(t));
        EXPECT_EQ(EvaluateInterpolatingFunction(f, t), s(t));
        EXPECT_EQ(EvaluateInterpolatingFunction(f, t, 2), s(t, 2));
    }
    // The handle does not throw: the line is printed and the value is NaN.
    testing::internal::CaptureStdout();
    EXPECT_TRUE(std::isnan(EvaluateInterpolatingFunction(f, 1.5)));
    EXPECT_TRUE(std::isnan(EvaluateInterpolatingFunction(f, 0.0, 3)));
    EXPECT_EQ(CreateInterpolatingFunctionCubicSpline(x.data(), y.data(), 1, kNaN, kNaN), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "error: value out of interpolation range\n"
              "error: order of derivative of interpolated function at most 2\n"
              "error: a cubic spline needs at least two knots\n");
    FreeInterpolatingFunction(f);
    FreeInterpolatingFunction(nullptr);
    // The plain evaluation continues the end pieces without a check.
    EXPECT_TRUE(std::isfinite(EvaluateCubicSpline(&rec, 1.5)));
    FreeCubicSpline(&rec);
    EXPECT_EQ(rec.n, 0u);
    EXPECT_EQ(rec.x, nullptr);
    FreeCubicSpline(&rec);
}

TEST(CubicSplinePlain, EdgeCasesOfTheArrayKernels) {
    // Two equal knots around t: the mean of their values.
    const double x[] = {1.0, 1.0};
    const double y[] = {2.0, 4.0};
    const double y2[] = {0.0, 0.0};
    EXPECT_EQ(EvaluateCubicSpline(x, y, y2, 2, 1.0), 3.0);
    EXPECT_TRUE(std::isnan(EvaluateCubicSpline(x, y, y2, 0, 1.0)));
    // Two knots with natural ends: the straight line.
    const double x2[] = {0.0, 2.0};
    const double v2[] = {1.0, 5.0};
    double m[2] = {7.0, 7.0};
    ASSERT_EQ(CreateCubicSpline(x2, v2, 2, kNaN, kNaN, m), 0);
    EXPECT_EQ(m[0], 0.0);
    EXPECT_EQ(m[1], 0.0);
    EXPECT_EQ(EvaluateCubicSpline(x2, v2, m, 2, 0.5), 2.0);
    // Fewer than two knots: reported, y2 untouched.
    testing::internal::CaptureStdout();
    EXPECT_EQ(CreateCubicSpline(x2, v2, 1, kNaN, kNaN, m), 1);
    CubicSplineType rec;
    EXPECT_EQ(CreateCubicSpline(&rec, x2, v2, 0, kNaN, kNaN), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "CreateCubicSpline needs at least two knots, got 1\nCreateCubicSpline needs at least two knots, got 0\n");
    EXPECT_EQ(m[0], 0.0);
    EXPECT_EQ(rec.n, 0u);
    EXPECT_EQ(rec.y2, nullptr);
}
