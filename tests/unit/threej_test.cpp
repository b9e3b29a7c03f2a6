#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include "atomic/threej.h"
#include "sphere_quadrature.h"

namespace {

double Fact(int n) { return std::tgamma(n + 1.0); }
double Sign(int n) { return n % 2 == 0 ? 1.0 : -1.0; }

// (j1 j2 j3; 0 0 0) in closed form.
double ThreeJZeroM(int j1, int j2, int j3) {
    int J = j1 + j2 + j3;
    if (J % 2) return 0.0;
    int g = J / 2;
    return Sign(g) * std::sqrt(Fact(J - 2 * j1) * Fact(J - 2 * j2) * Fact(J - 2 * j3) / Fact(J + 1)) *
           Fact(g) / (Fact(g - j1) * Fact(g - j2) * Fact(g - j3));
}

// (j1 j2 j1+j2; m1 m2 -m1-m2) in closed form, arguments doubled.
double ThreeJStretched(int tj1, int tm1, int tj2, int tm2) {
    int tJ = tj1 + tj2, tM = tm1 + tm2;
    auto f = [](int twice) { return Fact(twice / 2); };
    return Sign((tj1 - tj2 + tM) / 2) *
           std::sqrt(f(2 * tj1) * f(2 * tj2) * f(tJ + tM) * f(tJ - tM) /
                     (f(2 * tJ + 2) * f(tj1 + tm1) * f(tj1 - tm1) * f(tj2 + tm2) * f(tj2 - tm2)));
}

// c^k(l1 m1, l2 m2) = sqrt(4 pi/(2k+1)) integral of conj(Y_l1^m1) Y_k^(m1-m2) Y_l2^m2.
double GauntReference(int k, int l1, int m1, int l2, int m2) {
    std::complex<double> sum = 0;
    for (const SpherePoint& p : SphereGrid(12)) {
        sum += p.weight * std::conj(ReferenceY(l1, m1, p.theta, p.phi)) *
               ReferenceY(k, m1 - m2, p.theta, p.phi) * ReferenceY(l2, m2, p.theta, p.phi);
    }
    return std::sqrt(4 * M_PI / (2 * k + 1)) * sum.real();
}

}  // namespace

TEST(ThreeJ, ClosedForms) {
    EXPECT_NEAR(ThreeJSymbol(1, 0, 1, 0, 2, 0), std::sqrt(2.0 / 15.0), 1e-15);
    for (int j1 = 0; j1 <= 6; j1++) {
        for (int j2 = 0; j2 <= 6; j2++) {
            for (int j3 = std::abs(j1 - j2); j3 <= j1 + j2; j3++) {
                EXPECT_NEAR(ThreeJSymbol(j1, 0, j2, 0, j3, 0), ThreeJZeroM(j1, j2, j3), 1e-14)
                    << j1 << " " << j2 << " " << j3;
            }
        }
    }
    // (j j 0; m -m 0) = (-1)^(j-m)/sqrt(2j+1), integer and half-integer j.
    for (int tj = 0; tj <= 11; tj++) {
        for (int tm = -tj; tm <= tj; tm += 2) {
            EXPECT_NEAR(ThreeJSymbolHalf(tj, tm, tj, -tm, 0, 0), Sign((tj - tm) / 2) / std::sqrt(tj + 1.0),
                        1e-14);
        }
    }
    // Stretched coupling j3 = j1 + j2.
    for (int tj1 = 0; tj1 <= 7; tj1++) {
        for (int tj2 = 0; tj2 <= 7; tj2++) {
            for (int tm1 = -tj1; tm1 <= tj1; tm1 += 2) {
                for (int tm2 = -tj2; tm2 <= tj2; tm2 += 2) {
                    EXPECT_NEAR(ThreeJSymbolHalf(tj1, tm1, tj2, tm2, tj1 + tj2, -tm1 - tm2),
                                ThreeJStretched(tj1, tm1, tj2, tm2), 1e-14);
                }
            }
        }
    }
}

TEST(ThreeJ, NumbersTakeTheIntegerOrTheDoubledPath) {
    double v = 0;
    const double integer[6] = {1, 0, 1, 0, 2, 0};
    ASSERT_EQ(ThreeJSymbolOfNumbers(integer, &v), 0);
    EXPECT_NEAR(v, std::sqrt(2.0 / 15.0), 1e-15);
    const double half[6] = {0.5, 0.5, 0.5, -0.5, 1, 0};
    ASSERT_EQ(ThreeJSymbolOfNumbers(half, &v), 0);
    EXPECT_NEAR(v, 1 / std::sqrt(6.0), 1e-15);  // (1/2 1/2 1; 1/2 -1/2 0)
    const double rounded[6] = {1 + 2e-16, 0, 1, 0, 2 - 4e-16, 0};
    ASSERT_EQ(ThreeJSymbolOfNumbers(rounded, &v), 0);
    EXPECT_NEAR(v, std::sqrt(2.0 / 15.0), 1e-15);
    const double quarter[6] = {0.25, 0.25, 1, 0, 1, 0};
    v = 7;
    EXPECT_EQ(ThreeJSymbolOfNumbers(quarter, &v), 1);
    EXPECT_EQ(v, 7);
}

TEST(ThreeJ, VanishingCases) {
    EXPECT_EQ(ThreeJSymbol(1, 1, 1, 0, 2, 0), 0.0);   // m1+m2+m3 != 0
    EXPECT_EQ(ThreeJSymbol(1, 0, 1, 0, 3, 0), 0.0);   // triangle
    EXPECT_EQ(ThreeJSymbol(3, 0, 1, 0, 1, 0), 0.0);
    EXPECT_EQ(ThreeJSymbol(1, 2, 2, -2, 2, 0), 0.0);  // |m1| > j1
    EXPECT_EQ(ThreeJSymbolHalf(1, 3, 1, -3, 2, 0), 0.0);
}

// Sum over m1, m2 of (j1 j2 j3; m1 m2 m3)(j1 j2 j3'; m1 m2 m3') = delta delta/(2j3+1).
TEST(ThreeJ, Orthogonality) {
    for (int tj1 = 0; tj1 <= 6; tj1++) {
        for (int tj2 = 0; tj2 <= 6; tj2++) {
            for (int tj3 = std::abs(tj1 - tj2); tj3 <= tj1 + tj2; tj3 += 2) {
                for (int tj3p = std::abs(tj1 - tj2); tj3p <= tj1 + tj2; tj3p += 2) {
                    for (int tm3 = -tj3; tm3 <= tj3; tm3 += 2) {
                        for (int tm3p = -tj3p; tm3p <= tj3p; tm3p += 2) {
                            double sum = 0;
                            for (int tm1 = -tj1; tm1 <= tj1; tm1 += 2) {
                                for (int tm2 = -tj2; tm2 <= tj2; tm2 += 2) {
                                    sum += ThreeJSymbolHalf(tj1, tm1, tj2, tm2, tj3, tm3) *
                                           ThreeJSymbolHalf(tj1, tm1, tj2, tm2, tj3p, tm3p);
                                }
                            }
                            double want = (tj3 == tj3p && tm3 == tm3p) ? 1.0 / (tj3 + 1) : 0.0;
                            EXPECT_NEAR(sum, want, 1e-14);
                        }
                    }
                }
            }
        }
    }
}

TEST(ThreeJ, ColumnSymmetries) {
    for (int tj1 = 0; tj1 <= 5; tj1++) {
        for (int tj2 = 0; tj2 <= 5; tj2++) {
            for (int tj3 = std::abs(tj1 - tj2); tj3 <= tj1 + tj2; tj3 += 2) {
                double odd = Sign((tj1 + tj2 + tj3) / 2);
                for (int tm1 = -tj1; tm1 <= tj1; tm1 += 2) {
                    for (int tm2 = -tj2; tm2 <= tj2; tm2 += 2) {
                        int tm3 = -tm1 - tm2;
                        if (std::abs(tm3) > tj3) continue;
                        double v = ThreeJSymbolHalf(tj1, tm1, tj2, tm2, tj3, tm3);
                        EXPECT_NEAR(ThreeJSymbolHalf(tj2, tm2, tj3, tm3, tj1, tm1), v, 1e-14);
                        EXPECT_NEAR(ThreeJSymbolHalf(tj3, tm3, tj1, tm1, tj2, tm2), v, 1e-14);
                        EXPECT_NEAR(ThreeJSymbolHalf(tj2, tm2, tj1, tm1, tj3, tm3), odd * v, 1e-14);
                        EXPECT_NEAR(ThreeJSymbolHalf(tj1, tm1, tj3, tm3, tj2, tm2), odd * v, 1e-14);
                        EXPECT_NEAR(ThreeJSymbolHalf(tj3, tm3, tj2, tm2, tj1, tm1), odd * v, 1e-14);
                        EXPECT_NEAR(ThreeJSymbolHalf(tj1, -tm1, tj2, -tm2, tj3, -tm3), odd * v, 1e-14);
                    }
                }
            }
        }
    }
}

// The classical tables of c^k for p and d shells, and the Gaunt integral.
TEST(SlaterCoefficient, TablesAndGauntIntegral) {
    EXPECT_NEAR(SlaterCoefficientC(2, 1, 0, 1, 0), 0.4, 1e-15);
    EXPECT_NEAR(SlaterCoefficientC(2, 1, 1, 1, 1), -0.2, 1e-15);
    EXPECT_NEAR(SlaterCoefficientC(2, 1, 1, 1, 0), std::sqrt(3.0) / 5, 1e-15);
    EXPECT_NEAR(SlaterCoefficientC(2, 2, 0, 2, 0), 2.0 / 7, 1e-15);
    EXPECT_NEAR(SlaterCoefficientC(2, 2, 2, 2, 2), -2.0 / 7, 1e-15);
    EXPECT_NEAR(SlaterCoefficientC(4, 2, 0, 2, 0), 6.0 / 21, 1e-15);
    EXPECT_NEAR(SlaterCoefficientC(4, 2, 2, 2, 2), 1.0 / 21, 1e-15);
    EXPECT_NEAR(SlaterCoefficientC(4, 2, 1, 2, 1), -4.0 / 21, 1e-15);
    EXPECT_EQ(SlaterCoefficientC(2, 2, 2, 2, -1), 0.0);  // k below |m1-m2|
    const int shells[][2] = {{1, 1}, {2, 2}, {1, 2}, {0, 2}};
    for (const auto& s : shells) {
        int l1 = s[0], l2 = s[1];
        for (int k = 0; k <= 4; k++) {
            for (int m1 = -l1; m1 <= l1; m1++) {
                for (int m2 = -l2; m2 <= l2; m2++) {
                    double ref = std::abs(m1 - m2) > k ? 0.0 : GauntReference(k, l1, m1, l2, m2);
                    EXPECT_NEAR(SlaterCoefficientC(k, l1, m1, l2, m2), ref, 1e-13)
                        << "k=" << k << " l=" << l1 << "," << l2 << " m=" << m1 << "," << m2;
                }
            }
        }
    }
}

// c^k between jj states equals the sum over spin of Clebsch-Gordan products
// with the plain coefficients (standard phases, j = l -+ 1/2).
TEST(SlaterCoefficient, JCouplingFromClebschGordan) {
    auto cg = [](int l, int tj, int tm, int ts) {
        double m = tm / 2.0, d = 2 * l + 1;
        if (tj == 2 * l + 1) return ts > 0 ? std::sqrt((l + m + 0.5) / d) : std::sqrt((l - m + 0.5) / d);
        return ts > 0 ? -std::sqrt((l - m + 0.5) / d) : std::sqrt((l + m + 0.5) / d);
    };
    for (int l1 = 0; l1 <= 3; l1++) {
        for (int l2 = 0; l2 <= 3; l2++) {
            for (int k = 0; k <= 6; k++) {
                for (int tj1 = std::max(1, 2 * l1 - 1); tj1 <= 2 * l1 + 1; tj1 += 2) {
                    for (int tj2 = std::max(1, 2 * l2 - 1); tj2 <= 2 * l2 + 1; tj2 += 2) {
                        for (int tm1 = -tj1; tm1 <= tj1; tm1 += 2) {
                            for (int tm2 = -tj2; tm2 <= tj2; tm2 += 2) {
                                double ref = 0;
                                for (int ts = -1; ts <= 1; ts += 2) {
                                    int m1 = (tm1 - ts) / 2, m2 = (tm2 - ts) / 2;
                                    if (std::abs(m1) > l1 || std::abs(m2) > l2) continue;
                                    ref += cg(l1, tj1, tm1, ts) * cg(l2, tj2, tm2, ts) *
                                           SlaterCoefficientC(k, l1, m1, l2, m2);
                                }
                                EXPECT_NEAR(SlaterCoefficientCjcoupling(k, l1, tj1, tm1, l2, tj2, tm2), ref,
                                            1e-14);
                            }
                        }
                    }
                }
            }
        }
    }
}
