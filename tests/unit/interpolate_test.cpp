// Two- and three-point interpolation and the roots of the interpolants.
#include <gtest/gtest.h>

#include <cmath>

#include "numeric/interpolate.h"

TEST(Interpolate, LinesAndParabolasAreReproduced) {
    EXPECT_NEAR(LinearInterpolate(1.0, 3.0, 3.0, 7.0, 2.5), 6.0, 1e-15);
    EXPECT_NEAR(LinearInterpolate(1.0, 3.0, 3.0, 7.0, -1.0), -1.0, 1e-15);
    auto p = [](double x) { return 2.0 * x * x - 3.0 * x + 0.5; };
    for (double x : {-2.0, 0.3, 1.7, 4.0}) {
        EXPECT_NEAR(QuadraticInterpolate(-1.0, p(-1.0), 0.5, p(0.5), 2.0, p(2.0), x), p(x), 1e-13);
        // The order of the points does not matter.
        EXPECT_NEAR(QuadraticInterpolate(2.0, p(2.0), -1.0, p(-1.0), 0.5, p(0.5), x), p(x), 1e-13);
    }
}

TEST(Interpolate, RootsOfLines) {
    EXPECT_NEAR(InterpolateRoot(0.0, -1.0, 2.0, 3.0), 0.5, 1e-15);
    EXPECT_NEAR(InterpolateRoot(2.0, 3.0, 0.0, -1.0), 0.5, 1e-15);
    EXPECT_NEAR(InterpolateRootOfset(0.0, -1.0, 2.0, 3.0, 2.0), 1.5, 1e-15);
    // A flat line: everywhere a root on the level, nowhere off it.
    EXPECT_EQ(InterpolateRootOfset(1.0, 2.0, 3.0, 2.0, 2.0), 2.0);
    EXPECT_TRUE(std::isnan(InterpolateRoot(1.0, 2.0, 3.0, 2.0)));
}

TEST(Interpolate, RootsOfParabolas) {
    // (x - 1)(x - 4): the root nearest to the middle sample.
    auto p = [](double x) { return (x - 1.0) * (x - 4.0); };
    EXPECT_NEAR(InterpolateRoot2D(0.0, p(0.0), 1.5, p(1.5), 5.0, p(5.0)), 1.0, 1e-14);
    EXPECT_NEAR(InterpolateRoot2D(0.0, p(0.0), 3.2, p(3.2), 5.0, p(5.0)), 4.0, 1e-14);
    EXPECT_NEAR(InterpolateRoot2DOfset(0.0, p(0.0), 3.2, p(3.2), 5.0, p(5.0), 4.0), 5.0, 1e-14);
    EXPECT_NEAR(InterpolateRoot2D(0.0, p(0.0), 1.0, p(1.0), 5.0, p(5.0)), 1.0, 0.0);
    // A parabola that stays above zero gives its vertex.
    auto q = [](double x) { return (x - 2.0) * (x - 2.0) + 1.0; };
    EXPECT_NEAR(InterpolateRoot2D(0.0, q(0.0), 1.0, q(1.0), 3.5, q(3.5)), 2.0, 1e-14);
    // Three points on a line: the root of the line.
    EXPECT_NEAR(InterpolateRoot2D(0.0, -1.0, 1.0, 1.0, 3.0, 5.0), 0.5, 1e-15);
    EXPECT_TRUE(std::isnan(InterpolateRoot2D(0.0, 1.0, 1.0, 1.0, 3.0, 1.0)));
    // A root of a nearly flat parabola keeps its digits.
    double a = 1e-12;
    auto r = [a](double x) { return a * x * x + x - 0.25; };
    double want = 0.5 / (1.0 + std::sqrt(1.0 + a));
    EXPECT_NEAR(InterpolateRoot2D(-1.0, r(-1.0), 0.0, r(0.0), 1.0, r(1.0)), want, 1e-12);
}
