#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <string>
#include <vector>

#include "atomic/basis.h"
#include "atomic/harmonics.h"
#include "sphere_quadrature.h"

namespace {

void ExpectUnitary(const BasisMatrixType& U, const std::string& what) {
    ASSERT_EQ(U.Ni, U.Nj) << what;
    BasisMatrixType P = BasisMatrixMultiply(U, BasisMatrixConjugateTranspose(U));
    for (int i = 0; i < U.Ni; i++) {
        for (int j = 0; j < U.Ni; j++) {
            Complex16 e = BasisMatrixAt(P, i, j);
            EXPECT_NEAR(e.re, i == j ? 1.0 : 0.0, 1e-15) << what << " " << i << "," << j;
            EXPECT_NEAR(e.im, 0.0, 1e-15) << what << " " << i << "," << j;
        }
    }
}

void ExpectSame(const BasisMatrixType& A, const BasisMatrixType& B, double tol, const std::string& what) {
    ASSERT_EQ(A.Ni, B.Ni) << what;
    ASSERT_EQ(A.Nj, B.Nj) << what;
    for (size_t k = 0; k < A.a.size(); k++) {
        EXPECT_NEAR(A.a[k].re, B.a[k].re, tol) << what << " entry " << k;
        EXPECT_NEAR(A.a[k].im, B.a[k].im, tol) << what << " entry " << k;
    }
}

// Operators of one shell on spin-orbitals 2(m+l)+s, built from scratch:
// l.s = lz sz + (l+ s- + l- s+)/2, and jz = lz + sz, j+ = l+ + s+.
BasisMatrixType LDotS(int l) {
    BasisMatrixType M = InitBasisMatrix(2 * (2 * l + 1), 2 * (2 * l + 1));
    auto idx = [l](int m, int s) { return 2 * (m + l) + s; };
    for (int m = -l; m <= l; m++) {
        BasisMatrixAt(M, idx(m, 1), idx(m, 1)).re = 0.5 * m;
        BasisMatrixAt(M, idx(m, 0), idx(m, 0)).re = -0.5 * m;
        if (m < l) {  // <m+1, down| l+ s- |m, up> and its transpose
            double c = 0.5 * std::sqrt(l * (l + 1.0) - m * (m + 1.0));
            BasisMatrixAt(M, idx(m + 1, 0), idx(m, 1)).re = c;
            BasisMatrixAt(M, idx(m, 1), idx(m + 1, 0)).re = c;
        }
    }
    return M;
}

BasisMatrixType JPlus(int l) {
    BasisMatrixType M = InitBasisMatrix(2 * (2 * l + 1), 2 * (2 * l + 1));
    auto idx = [l](int m, int s) { return 2 * (m + l) + s; };
    for (int m = -l; m <= l; m++) {
        if (m < l) {
            double c = std::sqrt(l * (l + 1.0) - m * (m + 1.0));
            for (int s = 0; s < 2; s++) BasisMatrixAt(M, idx(m + 1, s), idx(m, s)).re = c;
        }
        BasisMatrixAt(M, idx(m, 1), idx(m, 0)).re = 1.0;  // s+
    }
    return M;
}

// U A U^dagger: the operator in the new basis of the rows of U.
BasisMatrixType InNewBasis(const BasisMatrixType& U, const BasisMatrixType& A) {
    return BasisMatrixMultiply(U, BasisMatrixMultiply(A, BasisMatrixConjugateTranspose(U)));
}

// The jjz rows are eigenvectors of l.s with l/2 (j = l+1/2) and -(l+1)/2
// (j = l-1/2), jz ascending within each j, with the standard phases: j+ has
// positive elements between neighbours.
void ExpectJJzBasis(const BasisMatrixType& U, int l, const std::string& what) {
    ExpectUnitary(U, what);
    BasisMatrixType ls = InNewBasis(U, LDotS(l));
    BasisMatrixType jp = InNewBasis(U, JPlus(l));
    int nLow = 2 * l;
    for (int i = 0; i < U.Ni; i++) {
        for (int j = 0; j < U.Ni; j++) {
            double want = i != j ? 0.0 : (i < nLow ? -(l + 1) / 2.0 : l / 2.0);
            EXPECT_NEAR(BasisMatrixAt(ls, i, j).re, want, 1e-14) << what << " l.s " << i << "," << j;
            EXPECT_NEAR(BasisMatrixAt(ls, i, j).im, 0.0, 1e-14);
        }
    }
    for (int i = 0; i < U.Ni; i++) {
        bool sameJ = (i < nLow) == (i - 1 < nLow);
        if (i == 0 || !sameJ) continue;
        double tj = i < nLow ? 2 * l - 1 : 2 * l + 1;
        int first = i < nLow ? 0 : nLow;
        double tjz = -tj + 2 * (i - 1 - first);
        double want = 0.5 * std::sqrt((tj - tjz) * (tj + tjz + 2));
        EXPECT_NEAR(BasisMatrixAt(jp, i, i - 1).re, want, 1e-14) << what << " j+ row " << i;
    }
}

}  // namespace

TEST(BasisMatrices, FixedTablesAreUnitaryAndSized) {
    for (int mult : {2, 6, 10}) {
        ExpectUnitary(YToZMatrix(mult, true), "YToZ " + std::to_string(mult));
        ExpectUnitary(YToZMatrix(mult, false), "YToZ nospin " + std::to_string(mult));
        ExpectUnitary(YToJJzMatrix(mult), "YToJJz " + std::to_string(mult));
    }
    for (int mult : {2, 6, 10, 14}) {
        ExpectUnitary(YToKMatrix(mult, true), "YToK " + std::to_string(mult));
        ExpectUnitary(YToKMatrix(mult, false), "YToK nospin " + std::to_string(mult));
    }
    EXPECT_EQ(YToZMatrix(6, true).Ni, 6);
    EXPECT_EQ(YToZMatrix(6, false).Ni, 3);
    EXPECT_EQ(YToKMatrix(14, true).Ni, 14);
    EXPECT_EQ(YToJJzMatrix(10).Ni, 10);
}

TEST(BasisMatrices, SpinDoublesEachEntry) {
    BasisMatrixType Z = YToZMatrix(10, false), Zs = YToZMatrix(10, true);
    for (int i = 0; i < 5; i++) {
        for (int j = 0; j < 5; j++) {
            for (int s = 0; s < 2; s++) {
                for (int t = 0; t < 2; t++) {
                    Complex16 e = BasisMatrixAt(Zs, 2 * i + s, 2 * j + t);
                    Complex16 want = s == t ? BasisMatrixAt(Z, i, j) : Complex16{0, 0};
                    EXPECT_EQ(e.re, want.re);
                    EXPECT_EQ(e.im, want.im);
                }
            }
        }
    }
}

TEST(BasisMatrices, UnfitMultiplicities) {
    testing::internal::CaptureStdout();
    BasisMatrixType a = YToZMatrix(14, true);
    BasisMatrixType b = YToZMatrix(7, true);
    BasisMatrixType c = YToKMatrix(18, true);
    BasisMatrixType d = YToJJzMatrix(14);
    BasisMatrixType e = YToJJzMatrix(4);
    BasisMatrixType f = YToJJzMatrix(6, false);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out,
              "YToZMatrix not yet implemented for an atomic shell of multiplicity 14, sorry!\n"
              "YToZMatrix only defined for multiplicity (2*l+1), with integer l, not for multiplicity 7.\n"
              "YToKMatrix not yet implemented for an atomic shell of multiplicity 18, sorry!\n"
              "YToJJzMatrix not yet implemented for an atomic shell of multiplicity 14, sorry!\n"
              "YToJJzMatrix only defined for multiplicity 2*(2*l+1), with integer l, not for multiplicity 4.\n"
              "YToJJzMatrix called with addSpin = false. Since spin is obligatory this request will be "
              "ignored.\n");
    for (const BasisMatrixType* m : {&a, &b, &c, &d, &e}) {
        EXPECT_EQ(m->Ni, 1);
        EXPECT_EQ(m->Nj, 1);
        EXPECT_EQ(m->a[0].re, 0.0);
    }
    EXPECT_EQ(f.Ni, 6);
}

TEST(BasisMatrices, GenericRulesAgreeWithTables) {
    for (int l = 0; l <= 12; l++) {
        BasisMatrixType Z, J;
        ASSERT_EQ(BasisYToZ(l, &Z), 0);
        ASSERT_EQ(BasisYToJJz(l, &J), 0);
        ExpectUnitary(Z, "generic Z l=" + std::to_string(l));
        ExpectJJzBasis(J, l, "generic jjz l=" + std::to_string(l));
        if (l <= 2) {
            ExpectSame(Z, YToZMatrix(2 * (2 * l + 1), false), 2e-16, "Z table");
            ExpectSame(J, YToJJzMatrix(2 * (2 * l + 1)), 2e-16, "jjz table");
        }
    }
    for (int l = 0; l <= 6; l++) {
        BasisMatrixType K;
        ASSERT_EQ(BasisYToK(l, &K), 0);
        ExpectUnitary(K, "generic K l=" + std::to_string(l));
    }
    BasisMatrixType none;
    EXPECT_EQ(BasisYToK(7, &none), 1);
    EXPECT_EQ(BasisYToZ(-1, &none), 1);
}

TEST(BasisMatrices, JJzTablesDiagonaliseLS) {
    ExpectJJzBasis(YToJJzMatrix(2), 0, "s");
    ExpectJJzBasis(YToJJzMatrix(6), 1, "p");
    ExpectJJzBasis(YToJJzMatrix(10), 2, "d");
}

// The rows of the Z matrix expand the tesseral harmonics on Y.
TEST(BasisMatrices, ZRowsAreTesseralHarmonics) {
    const double angles[][2] = {{0.4, 0.3}, {2.2, -1.7}};
    for (int l = 0; l <= 11; l++) {
        BasisMatrixType Z;
        BasisYToZ(l, &Z);
        for (int row = 0; row < 2 * l + 1; row++) {
            for (const auto& a : angles) {
                std::complex<double> s = 0;
                for (int m = -l; m <= l; m++) {
                    Complex16 e = BasisMatrixAt(Z, row, m + l);
                    s += std::complex<double>(e.re, e.im) * ReferenceY(l, m, a[0], a[1]);
                }
                EXPECT_NEAR(std::abs(s - TesseralHarmonicZ(l, row - l, a[0], a[1])), 0.0, 1e-13);
            }
        }
    }
}

TEST(BasisMatrices, LargeRotationMatrixLaysBlocksOnTheDiagonal) {
    BasisMatrixType big = LargeRotationMatrix(std::vector<std::string>{"2p", "3d"}, YToZMatrix, true);
    ASSERT_EQ(big.Ni, 16);
    BasisMatrixType p = YToZMatrix(6, true), d = YToZMatrix(10, true);
    for (int i = 0; i < 16; i++) {
        for (int j = 0; j < 16; j++) {
            Complex16 want{0, 0};
            if (i < 6 && j < 6) want = BasisMatrixAt(p, i, j);
            if (i >= 6 && j >= 6) want = BasisMatrixAt(d, i - 6, j - 6);
            EXPECT_EQ(BasisMatrixAt(big, i, j).re, want.re);
            EXPECT_EQ(BasisMatrixAt(big, i, j).im, want.im);
        }
    }
    BasisMatrixType small = LargeRotationMatrix(std::vector<int>{2, 6}, YToKMatrix, false);
    EXPECT_EQ(small.Ni, 4);
}

namespace {

BasisMatrixType FromCompact(const CompactMatrixType& C) {
    BasisMatrixType B = InitBasisMatrix(static_cast<int>(C.Ni), static_cast<int>(C.Nj));
    for (uint32_t i = 0; i < C.Ni; i++) {
        for (uint32_t j = 0; j < C.Nj; j++) BasisMatrixAt(B, i, j) = CompactMatrixElement(C, i, j);
    }
    return B;
}

typedef int (*CompactBasisChange)(int, CompactMatrixType*);

BasisMatrixType Compact(CompactBasisChange f, int l) {
    CompactMatrixType C;
    EXPECT_EQ(f(l, &C), 0);
    EXPECT_EQ(C.QComplex, 1);
    EXPECT_STREQ(C.Name, "Matrix");
    BasisMatrixType B = FromCompact(C);
    FreeCompactMatrix(&C);
    return B;
}

}  // namespace

// The twelve compact forms: unitary, inverse in pairs, and composing
// through Y to the direct change.
TEST(BasisMatrices, CompactChangesCompose) {
    for (int l = 0; l <= 6; l++) {
        std::string at = " l=" + std::to_string(l);
        BasisMatrixType yz = Compact(SphericalHarmonicYToZ, l), zy = Compact(SphericalHarmonicZToY, l);
        BasisMatrixType yk = Compact(SphericalHarmonicYToK, l), ky = Compact(SphericalHarmonicKToY, l);
        BasisMatrixType zk = Compact(SphericalHarmonicZToK, l), kz = Compact(SphericalHarmonicKToZ, l);
        BasisMatrixType yj = Compact(SphericalHarmonicYTojjz, l), jy = Compact(SphericalHarmonicjjzToY, l);
        BasisMatrixType zj = Compact(SphericalHarmonicZTojjz, l), jz = Compact(SphericalHarmonicjjzToZ, l);
        BasisMatrixType kj = Compact(SphericalHarmonicKTojjz, l), jk = Compact(SphericalHarmonicjjzToK, l);
        for (const BasisMatrixType* m : {&yz, &yk, &zk, &yj, &zj, &kj}) ExpectUnitary(*m, "compact" + at);
        ExpectSame(zy, BasisMatrixConjugateTranspose(yz), 1e-15, "ZToY" + at);
        ExpectSame(ky, BasisMatrixConjugateTranspose(yk), 1e-15, "KToY" + at);
        ExpectSame(kz, BasisMatrixConjugateTranspose(zk), 1e-15, "KToZ" + at);
        ExpectSame(jy, BasisMatrixConjugateTranspose(yj), 1e-15, "jjzToY" + at);
        ExpectSame(jz, BasisMatrixConjugateTranspose(zj), 1e-15, "jjzToZ" + at);
        ExpectSame(jk, BasisMatrixConjugateTranspose(kj), 1e-15, "jjzToK" + at);
        ExpectSame(BasisMatrixMultiply(zk, yz), yk, 1e-15, "ZToK YToZ" + at);
        ExpectSame(BasisMatrixMultiply(zj, BasisMatrixEnlarge(yz, 2)), yj, 1e-15, "ZTojjz YToZ" + at);
        ExpectSame(BasisMatrixMultiply(kj, BasisMatrixEnlarge(yk, 2)), yj, 1e-15, "KTojjz YToK" + at);
        ExpectJJzBasis(yj, l, "YTojjz" + at);
        if (l <= 2) ExpectSame(yz, YToZMatrix(2 * (2 * l + 1), false), 2e-16, "YToZ table" + at);
        if (l <= 3) ExpectSame(yk, YToKMatrix(2 * (2 * l + 1), false), 2e-16, "YToK table" + at);
    }
    CompactMatrixType C;
    testing::internal::CaptureStdout();
    EXPECT_EQ(SphericalHarmonicYToK(7, &C), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "SphericalHarmonicYToK: no basis of momentum l=7\n");
}

TEST(BasisMatrices, CompactCopyStaysRealWhenItCan) {
    CompactMatrixType C;
    ASSERT_EQ(BasisMatrixToCompactMatrix(YToJJzMatrix(6), &C), 0);
    EXPECT_EQ(C.QComplex, 0);
    ExpectSame(FromCompact(C), YToJJzMatrix(6), 0, "jjz copy");
    FreeCompactMatrix(&C);
    ASSERT_EQ(BasisMatrixToCompactMatrix(YToZMatrix(6, true), &C), 0);
    EXPECT_EQ(C.QComplex, 1);
    ExpectSame(FromCompact(C), YToZMatrix(6, true), 0, "Z copy");
    FreeCompactMatrix(&C);
}
