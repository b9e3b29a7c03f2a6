// Interpolation through two or three points, and the roots of those
// interpolants: the small steps of searches that bracket a crossing (a
// chemical potential, a pole, a level) and refine it from a few samples.
//
// "Root2D" is the second-degree form: the parabola through three points.
// "Ofset" forms look for the point where the interpolant equals a given
// level instead of zero.
#ifndef SKELDA_NUMERIC_INTERPOLATE_H
#define SKELDA_NUMERIC_INTERPOLATE_H

// The straight line through (x0, y0) and (x1, y1), at x.
double LinearInterpolate(double x0, double y0, double x1, double y1, double x);

// The parabola through three points with different abscissae, at x.
double QuadraticInterpolate(double x0, double y0, double x1, double y1, double x2, double y2, double x);

// Where the straight line through two points crosses zero.  A flat line
// gives the midpoint when it lies on zero and NaN otherwise.
double InterpolateRoot(double x0, double y0, double x1, double y1);

// Where the straight line through two points reaches the level ofset.
double InterpolateRootOfset(double x0, double y0, double x1, double y1, double ofset);

// Where the parabola through three points crosses zero: of its two roots the
// one nearest to the middle sample x1 (the current best guess of a search).
// A parabola that does not reach zero gives its vertex, its closest
// approach; one that degenerates into a line gives the root of the line.
double InterpolateRoot2D(double x0, double y0, double x1, double y1, double x2, double y2);

// The same for the level ofset.
double InterpolateRoot2DOfset(double x0, double y0, double x1, double y1, double x2, double y2, double ofset);

#endif
