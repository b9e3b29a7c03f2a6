#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <functional>
#include <vector>

#include "atomic/basis.h"
#include "atomic/harmonics.h"
#include "sphere_quadrature.h"

namespace {

typedef std::function<std::complex<double>(double, double)> SphereFunction;

std::complex<double> Y(int l, int m, double theta, double phi) {
    return {ReSphericalHarmonicY(l, m, theta, phi), ImSphericalHarmonicY(l, m, theta, phi)};
}

// The Gram matrix of the functions on a grid exact for their products:
// must be the identity.
void ExpectOrthonormal(const std::vector<SphereFunction>& f, int degree, const char* what) {
    std::vector<SpherePoint> grid = SphereGrid(degree + 1);
    std::vector<std::vector<std::complex<double>>> values(f.size());
    for (size_t a = 0; a < f.size(); a++) {
        for (const SpherePoint& p : grid) values[a].push_back(f[a](p.theta, p.phi));
    }
    for (size_t a = 0; a < f.size(); a++) {
        for (size_t b = a; b < f.size(); b++) {
            std::complex<double> s = 0;
            for (size_t k = 0; k < grid.size(); k++) s += grid[k].weight * std::conj(values[a][k]) * values[b][k];
            EXPECT_NEAR(std::abs(s - (a == b ? 1.0 : 0.0)), 0.0, 1e-12) << what << " functions " << a << ", " << b;
        }
    }
}

// Cartesian point of the angles.
void ToAngles(double x, double y, double z, double* theta, double* phi) {
    *theta = std::acos(z / std::sqrt(x * x + y * y + z * z));
    *phi = std::atan2(y, x);
}

const double kAngles[][2] = {{0.3, 0.2}, {1.1, -2.5}, {2.0, 1.3}, {2.9, 3.0}, {M_PI / 2, 0.77}};

}  // namespace

TEST(Harmonics, SphericalAgainstLegendreFunctions) {
    for (int l = 0; l <= 12; l++) {
        for (int m = -l; m <= l; m++) {
            for (const auto& a : kAngles) {
                std::complex<double> ref = ReferenceY(l, m, a[0], a[1]);
                EXPECT_NEAR(std::abs(Y(l, m, a[0], a[1]) - ref), 0.0, 1e-13) << "l=" << l << " m=" << m;
            }
        }
    }
    EXPECT_NEAR(ReSphericalHarmonicY(1, 1, M_PI / 2, 0), -0.3454941494713355, 1e-16);
    EXPECT_EQ(ReSphericalHarmonicY(13, 0, 0, 0), 0.0);
    EXPECT_EQ(ReSphericalHarmonicY(2, 3, 0, 0), 0.0);
}

TEST(Harmonics, Orthonormal) {
    std::vector<SphereFunction> y, z, k;
    for (int l = 0; l <= 12; l++) {
        for (int m = -l; m <= l; m++) y.push_back([l, m](double t, double p) { return Y(l, m, t, p); });
    }
    ExpectOrthonormal(y, 24, "Y");
    for (int l = 0; l <= 11; l++) {
        for (int m = -l; m <= l; m++) {
            z.push_back([l, m](double t, double p) { return std::complex<double>(TesseralHarmonicZ(l, m, t, p)); });
        }
    }
    ExpectOrthonormal(z, 22, "Z");
    for (int l = 0; l <= 6; l++) {
        for (int m = -l; m <= l; m++) {
            k.push_back([l, m](double t, double p) { return std::complex<double>(CubicHarmonicK(l, m, t, p)); });
        }
    }
    ExpectOrthonormal(k, 12, "K");
}

// Z_l^m = sqrt(2) (-1)^m Re Y_l^m for m > 0 and sqrt(2) (-1)^m Im Y_l^|m| for
// m < 0; the named real orbitals have their positive lobes where expected.
TEST(Harmonics, TesseralPhases) {
    for (int l = 0; l <= 11; l++) {
        for (int m = -l; m <= l; m++) {
            int am = std::abs(m);
            double sign = am % 2 ? -1.0 : 1.0;
            for (const auto& a : kAngles) {
                std::complex<double> y = ReferenceY(l, am, a[0], a[1]);
                double ref = m == 0 ? y.real() : std::sqrt(2.0) * sign * (m > 0 ? y.real() : y.imag());
                EXPECT_NEAR(TesseralHarmonicZ(l, m, a[0], a[1]), ref, 1e-13) << l << " " << m;
            }
        }
    }
    EXPECT_NEAR(TesseralHarmonicZ(1, -1, M_PI / 2, M_PI / 2), 0.4886025119029199, 1e-15);  // p_y
    EXPECT_NEAR(TesseralHarmonicZ(1, 0, 0, 0), 0.4886025119029199, 1e-15);                 // p_z
    EXPECT_NEAR(TesseralHarmonicZ(1, 1, M_PI / 2, 0), 0.4886025119029199, 1e-15);          // p_x
    // d_xy, d_yz, d_3z2-r2, d_xz, d_x2-y2 as sqrt(15/(4 pi)) xy and so on.
    double c = std::sqrt(15 / (4 * M_PI)), x = 0.3, yy = 0.5, zz = 0.6;
    double r = std::sqrt(x * x + yy * yy + zz * zz), t, p;
    ToAngles(x, yy, zz, &t, &p);
    x /= r, yy /= r, zz /= r;
    EXPECT_NEAR(TesseralHarmonicZ(2, -2, t, p), c * x * yy, 1e-15);
    EXPECT_NEAR(TesseralHarmonicZ(2, -1, t, p), c * yy * zz, 1e-15);
    EXPECT_NEAR(TesseralHarmonicZ(2, 0, t, p), std::sqrt(5 / (16 * M_PI)) * (3 * zz * zz - 1), 1e-15);
    EXPECT_NEAR(TesseralHarmonicZ(2, 1, t, p), c * x * zz, 1e-15);
    EXPECT_NEAR(TesseralHarmonicZ(2, 2, t, p), c / 2 * (x * x - yy * yy), 1e-15);
}

// The closed forms of the cubic harmonics, their coefficients on Y and the
// fixed table of the Y to K matrix describe the same functions.
TEST(Harmonics, CubicCoefficientsAndTable) {
    for (int l = 0; l <= 6; l++) {
        int n = 2 * l + 1;
        std::vector<Complex16> c(n * n);
        ASSERT_EQ(CubicHarmonicCoefficients(l, c.data()), 0);
        for (int row = 0; row < n; row++) {
            for (const auto& a : kAngles) {
                std::complex<double> s = 0;
                for (int m = -l; m <= l; m++) {
                    Complex16 e = c[row * n + m + l];
                    s += std::complex<double>(e.re, e.im) * ReferenceY(l, m, a[0], a[1]);
                }
                EXPECT_NEAR(std::abs(s - CubicHarmonicK(l, row - l, a[0], a[1])), 0.0, 1e-13)
                    << "l=" << l << " row " << row;
            }
        }
        if (l <= 3) {
            BasisMatrixType K = YToKMatrix(2 * n, false);
            for (int i = 0; i < n * n; i++) {
                EXPECT_NEAR(K.a[i].re, c[i].re, 2e-16);
                EXPECT_NEAR(K.a[i].im, c[i].im, 2e-16);
            }
        }
    }
    EXPECT_EQ(CubicHarmonicCoefficients(7, nullptr), 1);
}

// Rows of one representation turn into each other under the cyclic rotation
// x -> y -> z; invariant rows stay; the lobes of the named ones are positive.
TEST(Harmonics, CubicSymmetry) {
    // (first row of a vector-like triple) per l.
    const std::vector<std::vector<int>> triples = {
        {}, {0}, {2}, {1, 4}, {3, 6}, {2, 5, 8}, {4, 7, 10}};
    const std::vector<std::vector<int>> invariant = {{0}, {}, {}, {0}, {0}, {}, {0, 1}};
    const double pts[][3] = {{0.3, 0.5, 0.8}, {-0.7, 0.2, 0.4}, {0.1, -0.9, -0.3}};
    for (int l = 0; l <= 6; l++) {
        for (const auto& q : pts) {
            double t0, p0, t1, p1, t2, p2, t3, p3;
            ToAngles(q[0], q[1], q[2], &t0, &p0);
            ToAngles(q[1], q[2], q[0], &t1, &p1);   // f_x(x,y,z) = f_z(y,z,x)
            ToAngles(q[2], q[0], q[1], &t2, &p2);   // f_y(x,y,z) = f_z(z,x,y)
            ToAngles(-q[1], q[0], q[2], &t3, &p3);  // quarter turn about z
            for (int first : triples[l]) {
                double fz1 = CubicHarmonicK(l, first + 2 - l, t1, p1);
                double fz2 = CubicHarmonicK(l, first + 2 - l, t2, p2);
                EXPECT_NEAR(CubicHarmonicK(l, first - l, t0, p0), fz1, 1e-13) << l << " " << first;
                EXPECT_NEAR(CubicHarmonicK(l, first + 1 - l, t0, p0), fz2, 1e-13) << l << " " << first;
            }
            for (int row : invariant[l]) {
                double f = CubicHarmonicK(l, row - l, t0, p0);
                EXPECT_NEAR(CubicHarmonicK(l, row - l, t1, p1), f, 1e-13);
                // A1 stays under the quarter turn, A2 changes sign.
                double turn = (l == 3 || (l == 6 && row == 1)) ? -1.0 : 1.0;
                EXPECT_NEAR(CubicHarmonicK(l, row - l, t3, p3), turn * f, 1e-13);
            }
        }
    }
    EXPECT_GT(CubicHarmonicK(1, -1, M_PI / 2, 0), 0);         // p_x
    EXPECT_GT(CubicHarmonicK(2, -2, M_PI / 2, 0), 0);         // d_x2-y2
    EXPECT_GT(CubicHarmonicK(2, -1, 0, 0), 0);                // d_3z2-r2
    EXPECT_GT(CubicHarmonicK(3, -3, 0.9, 0.7), 0);            // f_xyz
    EXPECT_NEAR(CubicHarmonicK(3, -3, 0.9, 0.7),
                std::sqrt(105 / (4 * M_PI)) * std::pow(std::sin(0.9), 2) * std::cos(0.9) * std::cos(0.7) *
                    std::sin(0.7),
                1e-15);
    EXPECT_GT(CubicHarmonicK(4, -4, 0.3, 0.2), 0);            // A1 near the z axis
    EXPECT_EQ(CubicHarmonicK(7, 0, 0, 0), 0.0);
}
