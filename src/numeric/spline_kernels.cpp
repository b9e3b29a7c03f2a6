// The tridiagonal solve and the evaluation of a cubic spline on plain
// arrays, and the record that owns such arrays.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "numeric/spline.h"

int CreateCubicSpline(const double* x, const double* y, unsigned int n, double yp1, double ypn, double* y2) {
    if (n < 2) {
        printf("CreateCubicSpline needs at least two knots, got %u\n", n);
        return 1;
    }
    double* u = (double*)malloc(sizeof(double) * n);
    if (u == nullptr) {
        printf("malloc for u failed in CreateCubicSpline\n");
        return 1;
    }
    // A NaN end derivative is the only value that differs from itself.
    if (yp1 != yp1) {
        y2[0] = 0.0;
        u[0] = 0.0;
    } else {
        y2[0] = -0.5;
        u[0] = (3.0 / (x[1] - x[0])) * ((y[1] - y[0]) / (x[1] - x[0]) - yp1);
    }
    // Forward sweep: y2 holds the upper coefficient of the eliminated row,
    // u its right-hand side.
    for (unsigned int i = 1; i + 1 < n; i++) {
        double s = (x[i] - x[i - 1]) / (x[i + 1] - x[i - 1]);
        double p = s * y2[i - 1] + 2.0;
        y2[i] = (s - 1.0) / p;
        u[i] = (((y[i + 1] - y[i]) / (x[i + 1] - x[i]) - (y[i] - y[i - 1]) / (x[i] - x[i - 1])) * 6.0 /
                    (x[i + 1] - x[i - 1]) -
                s * u[i - 1]) /
               p;
    }
    double q = 0.0;
    double w = 0.0;
    if (ypn == ypn) {
        q = 0.5;
        w = (3.0 / (x[n - 1] - x[n - 2])) * (ypn - (y[n - 1] - y[n - 2]) / (x[n - 1] - x[n - 2]));
    }
    y2[n - 1] = (w - q * u[n - 2]) / (q * y2[n - 2] + 1.0);
    // Backward substitution.
    for (unsigned int k = n - 1; k-- > 0;) y2[k] = y2[k] * y2[k + 1] + u[k];
    free(u);
    return 0;
}

double EvaluateCubicSpline(const double* x, const double* y, const double* y2, unsigned int n, double t) {
    if (n == 0) return std::nan("");
    unsigned int lo = 0;
    unsigned int hi = n - 1;
    while (hi - lo > 1) {
        unsigned int k = (lo + hi) / 2;
        if (x[k] > t) {
            hi = k;
        } else {
            lo = k;
        }
    }
    double h = x[hi] - x[lo];
    if (h == 0.0) return (y[hi] + y[lo]) / 2.0;
    double a = (x[hi] - t) / h;
    double b = (t - x[lo]) / h;
    return a * y[lo] + b * y[hi] + ((a * a * a - a) * y2[lo] + (b * b * b - b) * y2[hi]) * (h * h) / 6.0;
}

int CreateCubicSpline(CubicSplineType* spline, const double* x, const double* y, unsigned int n, double yp1,
                      double ypn) {
    *spline = CubicSplineType{0, nullptr, nullptr, nullptr};
    if (n < 2) {
        printf("CreateCubicSpline needs at least two knots, got %u\n", n);
        return 1;
    }
    double* xs = (double*)malloc(sizeof(double) * n);
    double* ys = (double*)malloc(sizeof(double) * n);
    double* y2 = (double*)malloc(sizeof(double) * n);
    if (xs == nullptr || ys == nullptr || y2 == nullptr) {
        printf("malloc for the arrays failed in CreateCubicSpline\n");
        free(xs);
        free(ys);
        free(y2);
        return 1;
    }
    memcpy(xs, x, sizeof(double) * n);
    memcpy(ys, y, sizeof(double) * n);
    if (CreateCubicSpline(xs, ys, n, yp1, ypn, y2) != 0) {
        free(xs);
        free(ys);
        free(y2);
        return 1;
    }
    *spline = CubicSplineType{n, xs, ys, y2};
    return 0;
}

double EvaluateCubicSpline(const CubicSplineType* spline, double t) {
    return EvaluateCubicSpline(spline->x, spline->y, spline->y2, spline->n, t);
}

void FreeCubicSpline(CubicSplineType* spline) {
    free(spline->x);
    free(spline->y);
    free(spline->y2);
    *spline = CubicSplineType{0, nullptr, nullptr, nullptr};
}
