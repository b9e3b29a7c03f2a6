// Quadrature on the unit sphere and reference spherical harmonics for tests:
// Gauss-Legendre in cos(theta) times an equidistant grid in phi, exact for
// products of harmonics up to the stated degree.
#ifndef SKELDA_TESTS_SPHERE_QUADRATURE_H
#define SKELDA_TESTS_SPHERE_QUADRATURE_H

#include <cmath>
#include <complex>
#include <vector>

struct SpherePoint {
    double theta, phi, weight;
};

// Nodes and weights of the n-point Gauss-Legendre rule on [-1, 1].
inline void GaussLegendre(int n, std::vector<double>* x, std::vector<double>* w) {
    x->resize(n);
    w->resize(n);
    for (int i = 0; i < n; i++) {
        double z = std::cos(M_PI * (i + 0.75) / (n + 0.5)), dp = 1;
        for (int it = 0; it < 100; it++) {
            double p0 = 1, p1 = z;
            for (int k = 2; k <= n; k++) {
                double p2 = ((2 * k - 1) * z * p1 - (k - 1) * p0) / k;
                p0 = p1;
                p1 = p2;
            }
            dp = n * (z * p1 - p0) / (z * z - 1);
            double dz = p1 / dp;
            z -= dz;
            if (std::fabs(dz) < 1e-16) break;
        }
        (*x)[i] = z;
        (*w)[i] = 2 / ((1 - z * z) * dp * dp);
    }
}

// A grid that integrates every polynomial of degree up to 2n-1 in the
// Cartesian coordinates exactly (n theta nodes, 2n phi nodes).
inline std::vector<SpherePoint> SphereGrid(int n) {
    std::vector<double> x, w;
    GaussLegendre(n, &x, &w);
    std::vector<SpherePoint> grid;
    int nphi = 2 * n;
    for (int i = 0; i < n; i++) {
        for (int p = 0; p < nphi; p++) {
            grid.push_back({std::acos(x[i]), 2 * M_PI * p / nphi, w[i] * 2 * M_PI / nphi});
        }
    }
    return grid;
}

// Y_l^m with the Condon-Shortley phase, from the standard library's
// spherical Legendre function.
inline std::complex<double> ReferenceY(int l, int m, double theta, double phi) {
    double f = std::sph_legendre(l, std::abs(m), theta);
    if (m < 0 && (m % 2)) f = -f;
    return f * std::complex<double>(std::cos(m * phi), std::sin(m * phi));
}

#endif
