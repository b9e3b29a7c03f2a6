// Two- and three-point interpolation and the roots of the interpolants.
#include "numeric/interpolate.h"

#include <cmath>

double LinearInterpolate(double x0, double y0, double x1, double y1, double x) {
    return y0 + (y1 - y0) * (x - x0) / (x1 - x0);
}

double QuadraticInterpolate(double x0, double y0, double x1, double y1, double x2, double y2, double x) {
    // Newton's divided differences.
    double d01 = (y1 - y0) / (x1 - x0);
    double d12 = (y2 - y1) / (x2 - x1);
    double d012 = (d12 - d01) / (x2 - x0);
    return y0 + (x - x0) * (d01 + (x - x1) * d012);
}

double InterpolateRoot(double x0, double y0, double x1, double y1) {
    return InterpolateRootOfset(x0, y0, x1, y1, 0.0);
}

double InterpolateRootOfset(double x0, double y0, double x1, double y1, double ofset) {
    double f0 = y0 - ofset;
    double f1 = y1 - ofset;
    if (f1 == f0) return f0 == 0.0 ? 0.5 * (x0 + x1) : std::nan("");
    return x0 - f0 * (x1 - x0) / (f1 - f0);
}

double InterpolateRoot2D(double x0, double y0, double x1, double y1, double x2, double y2) {
    return InterpolateRoot2DOfset(x0, y0, x1, y1, x2, y2, 0.0);
}

double InterpolateRoot2DOfset(double x0, double y0, double x1, double y1, double x2, double y2, double ofset) {
    double f0 = y0 - ofset;
    double f1 = y1 - ofset;
    double f2 = y2 - ofset;
    // The parabola about the middle sample: p(x1 + t) = f1 + b t + a t^2.
    double d01 = (f1 - f0) / (x1 - x0);
    double d12 = (f2 - f1) / (x2 - x1);
    double a = (d12 - d01) / (x2 - x0);
    double b = d01 + a * (x1 - x0);
    if (f1 == 0.0) return x1;
    double disc = b * b - 4.0 * a * f1;
    if (disc < 0.0) return x1 - b / (2.0 * a);
    // t = -2 f1 / (b + sign(b) sqrt(disc)) is the root nearest to t = 0; this
    // form keeps its digits when a is small and also covers a = 0.
    double q = b + std::copysign(std::sqrt(disc), b);
    if (q == 0.0) return std::nan("");  // a flat line off the level
    return x1 - 2.0 * f1 / q;
}
