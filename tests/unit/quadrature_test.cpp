// Gauss-Legendre rules: exactness up to degree 2n-1, known integrals, the
// composite rule on grids, the large rules of Quadrature, and the radial
// integrals of hydrogen orbitals against their closed forms.
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <vector>

#include "numeric/quadrature.h"

namespace {

const double kNaN = std::nan("");

// The integral of x^k over [-1, 1].
double Monomial(unsigned int k) { return k % 2 == 1 ? 0.0 : 2.0 / (k + 1.0); }

double RuleSum(const std::vector<double>& x, const std::vector<double>& w, unsigned int k) {
    double s = 0.0;
    for (size_t i = 0; i < x.size(); i++) s += w[i] * std::pow(x[i], (double)k);
    return s;
}

// Hydrogen radial functions P = r R (atomic units, Z = 1) as clamped
// splines on [0, 40].
double P1s(double r) { return 2.0 * r * std::exp(-r); }
double P2s(double r) { return r * (2.0 - r) * std::exp(-0.5 * r) / (2.0 * std::sqrt(2.0)); }
double P2p(double r) { return r * r * std::exp(-0.5 * r) / (2.0 * std::sqrt(6.0)); }

template <class F>
Interpolation::CubicSpline Radial(F f, double slope0, int intervals, double rmax = 40.0) {
    std::vector<double> r(intervals + 1), p(intervals + 1);
    for (int i = 0; i <= intervals; i++) {
        r[i] = rmax * i / intervals;
        p[i] = f(r[i]);
    }
    double d = 1e-6;
    return Interpolation::CubicSpline(r, p, slope0, (f(rmax + d) - f(rmax - d)) / (2 * d));
}

}  // namespace

TEST(GaussQuad, RulesAreExactToDegreeTwoNMinusOneAndNotBeyond) {
    for (unsigned int n = 1; n <= 7; n++) {
        std::vector<double> x = Quad::GetKnots(n);
        std::vector<double> w = Quad::GetWeights(n);
        ASSERT_EQ(x.size(), n);
        ASSERT_EQ(w.size(), n);
        for (unsigned int i = 0; i < n; i++) {
            EXPECT_EQ(x[i], -x[n - 1 - i]);
            EXPECT_GT(w[i], 0.0);
            if (i > 0) {
                EXPECT_LT(x[i - 1], x[i]);
            }
        }
        for (unsigned int k = 0; k < 2 * n; k++) EXPECT_NEAR(RuleSum(x, w, k), Monomial(k), 4e-16) << n << " " << k;
        EXPECT_GT(std::fabs(RuleSum(x, w, 2 * n) - Monomial(2 * n)), 1e-5) << n;
    }
    EXPECT_TRUE(Quad::GetKnots(0).empty());
}

TEST(GaussQuad, CompositeRuleOnAGrid) {
    std::vector<double> grid = {-1.0, -0.3, 0.2, 1.1, 2.5};
    std::vector<double> knots = Quad::GetKnots(3, grid);
    std::vector<double> weights = Quad::GetWeights(3, grid);
    ASSERT_EQ(knots.size(), 12u);
    ASSERT_EQ(weights.size(), 12u);
    for (size_t i = 0; i < 12; i++) EXPECT_TRUE(knots[i] > grid[i / 3] && knots[i] < grid[i / 3 + 1]) << i;
    double total = 0.0;
    for (double w : weights) total += w;
    EXPECT_NEAR(total, 3.5, 1e-15);
    // A polynomial of degree 13 is integrated exactly by the 7-knot rule.
    auto p = [](double x) { return std::pow(x, 13) - 3.0 * std::pow(x, 6) + x; };
    auto exact = [](double x) { return std::pow(x, 14) / 14.0 - 3.0 * std::pow(x, 7) / 7.0 + 0.5 * x * x; };
    EXPECT_NEAR(Quad::Integrate(p, 7, grid), exact(2.5) - exact(-1.0), 1e-10);
    std::vector<double> values = Quad::GetKnots(7, grid);
    for (double& v : values) v = p(v);
    EXPECT_NEAR(Quad::Integrate(values, 7, grid), exact(2.5) - exact(-1.0), 1e-10);
    // Smooth integrands to rounding.
    std::vector<double> pi10;
    for (int i = 0; i <= 10; i++) pi10.push_back(M_PI * i / 10);
    EXPECT_NEAR(Quad::Integrate([](double x) { return std::sin(x); }, 7, pi10), 2.0, 2e-15);
    EXPECT_TRUE(Quad::GetKnots(4, std::vector<double>{1.0}).empty());
    EXPECT_EQ(Quad::Integrate(std::vector<double>(), 4, std::vector<double>{1.0}), 0.0);
}

TEST(GaussQuad, ReportsRulesThatDoNotExist) {
    testing::internal::CaptureStdout();
    EXPECT_THROW(Quad::GetKnots(8), std::invalid_argument);
    EXPECT_THROW(Quad::GetWeights(9), std::invalid_argument);
    EXPECT_THROW(Quad::Integrate(std::vector<double>(8, 1.0), 8, std::vector<double>{0.0, 1.0}), std::invalid_argument);
    EXPECT_THROW(Quad::Integrate(std::vector<double>(3, 1.0), 2, std::vector<double>{0.0, 1.0}), std::invalid_argument);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "error in GaussQuad::GetKnots: max number of knots = 7; got 8\n"
              "error in GaussQuad::GetWeights: max number of knots = 7; got 9\n"
              "error: in GaussQuad::Integrate: number of knots too big\n"
              "error: in GaussQuad::Integrate: number of values does not match the knots of the grid\n");
}

TEST(QuadratureTable, AgreesWithTheBuiltInRulesAndIsExactForLargeRules) {
    Quadrature q;
    for (unsigned int n = 1; n <= 7; n++) {
        std::vector<double> x = q.GetKnots(n), w = q.GetWeights(n);
        std::vector<double> xq = Quad::GetKnots(n), wq = Quad::GetWeights(n);
        for (unsigned int i = 0; i < n; i++) {
            EXPECT_NEAR(x[i], xq[i], 2e-16);
            EXPECT_NEAR(w[i], wq[i], 4e-16);
        }
    }
    const unsigned int sizes[] = {10, 33, 64, Quadrature::kMaxKnots};
    for (unsigned int n : sizes) {
        std::vector<double> x = q.GetKnots(n), w = q.GetWeights(n);
        double total = 0.0;
        for (unsigned int i = 0; i < n; i++) {
            total += w[i];
            if (i > 0) {
                EXPECT_LT(x[i - 1], x[i]);
            }
        }
        EXPECT_NEAR(total, 2.0, 1e-14) << n;
        EXPECT_NEAR(RuleSum(x, w, 2 * n - 2), Monomial(2 * n - 2), 1e-14) << n;
        EXPECT_NEAR(RuleSum(x, w, 2 * n - 1), 0.0, 1e-14) << n;
    }
    EXPECT_NEAR(q.Integrate([](double x) { return std::exp(x); }, 12, 0.0, 1.0), std::exp(1.0) - 1.0, 4e-16);
    EXPECT_NEAR(q.Integrate([](double x) { return std::sin(x); }, 20, 0.0, M_PI), 2.0, 4e-16);
    EXPECT_EQ(q.Integrate([](double) { return 1.0; }, 0, 0.0, 1.0), 0.0);
    std::vector<double> x = q.GetKnots(5, 2.0, 4.0), w = q.GetWeights(5, 2.0, 4.0);
    EXPECT_NEAR(RuleSum(x, w, 9), (std::pow(4.0, 10) - std::pow(2.0, 10)) / 10.0, 1e-9);
}

TEST(QuadratureTable, ReportsRulesOutsideTheTable) {
    Quadrature q;
    testing::internal::CaptureStdout();
    EXPECT_THROW(q.GetKnots(0), std::invalid_argument);
    EXPECT_THROW(q.GetKnots(Quadrature::kMaxKnots + 1, 0.0, 1.0), std::invalid_argument);
    EXPECT_THROW(q.GetWeights(0), std::invalid_argument);
    EXPECT_THROW(q.Integrate([](double) { return 1.0; }, Quadrature::kMaxKnots + 1, 0.0, 1.0),
                 std::invalid_argument);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "error: in Quadrature::GetKnots: numberOfKnots too big or smaller than 1\n"
              "error: in Quadrature::GetKnots: numberOfKnots too big or smaller than 1\n"
              "error: in Quadrature::GetWeights: numberOfKnots too big or smaller than 1\n"
              "error: in Quadrature::Integrate: numberOfKnots too big\n");
}

TEST(MultipoleIntegral, HydrogenExpectationValuesAndSlaterIntegrals) {
    const int intervals = 2000;
    Interpolation::CubicSpline s1 = Radial(P1s, 2.0, intervals);
    Interpolation::CubicSpline s2 = Radial(P2s, 1.0 / std::sqrt(2.0), intervals);
    Interpolation::CubicSpline p2 = Radial(P2p, 0.0, intervals);
    // Spacing 0.02: the splines are good to a few 1e-9.
    // Norms and <r^k> in closed form.
    EXPECT_NEAR(Quad::GetMultipoleIntegral(s1, s1, 0), 1.0, 1e-8);
    EXPECT_NEAR(Quad::GetMultipoleIntegral(s2, s2, 0), 1.0, 1e-8);
    EXPECT_NEAR(Quad::GetMultipoleIntegral(s1, s2, 0), 0.0, 1e-8);
    EXPECT_NEAR(Quad::GetMultipoleIntegral(s1, s1, 1), 1.5, 1e-8);
    EXPECT_NEAR(Quad::GetMultipoleIntegral(s2, s2, 2), 42.0, 1e-6);
    EXPECT_NEAR(Quad::GetMultipoleIntegral(p2, p2, -1), 0.25, 1e-8);
    // Slater integrals of hydrogen in hartree.
    EXPECT_NEAR(Quad::GetMultipoleIntegral(s1, s1, s1, s1, 0), 5.0 / 8.0, 1e-8);
    EXPECT_NEAR(Quad::GetMultipoleIntegral(s1, s1, s2, s2, 0), 17.0 / 81.0, 1e-8);
    EXPECT_NEAR(Quad::GetMultipoleIntegral(s2, s2, s1, s1, 0), 17.0 / 81.0, 1e-8);
    EXPECT_NEAR(Quad::GetMultipoleIntegral(s1, s2, s1, s2, 0), 16.0 / 729.0, 1e-8);
    EXPECT_NEAR(Quad::GetMultipoleIntegral(p2, p2, p2, p2, 0), 93.0 / 512.0, 1e-8);
    EXPECT_NEAR(Quad::GetMultipoleIntegral(p2, p2, p2, p2, 2), 45.0 / 512.0, 1e-8);
}

TEST(MultipoleIntegral, ReportsSplinesOnDifferentGrids) {
    Interpolation::CubicSpline a({0.0, 1.0, 2.0}, {0.0, 1.0, 0.0}, kNaN, kNaN);
    Interpolation::CubicSpline b({0.0, 1.5, 2.0}, {0.0, 1.0, 0.0}, kNaN, kNaN);
    testing::internal::CaptureStdout();
    EXPECT_THROW(Quad::GetMultipoleIntegral(a, b, 0), std::invalid_argument);
    EXPECT_THROW(Quad::GetMultipoleIntegral(a, a, a, b, 0), std::invalid_argument);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "error in GetMultipoleIntegral: grids are not the same.\n"
              "error in GetMultipoleIntegral: grids are not the same.\n");
}
