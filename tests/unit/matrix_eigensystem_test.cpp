// Eigensystems: known spectra, eigenpair and orthonormality identities, the
// retry chains with their messages, and the general (non-Hermitian) solver.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include "dense_reference.h"
#include "numeric/compactmatrix.h"
#include "numeric/lapack.h"

namespace {

const double Tol = 1e-11;

// Every row v_k of V satisfies A v_k = w_k B v_k (B the unit matrix when
// empty), and the rows are orthonormal in the metric B.
void ExpectEigenpairs(const Dense& a, const Dense& v, const double* w, const Dense& b = Dense()) {
    Dense metric = b.Ni ? b : Identity(a.Ni);
    ASSERT_EQ(v.Ni, a.Ni);
    for (uint32_t k = 0; k < v.Ni; k++) {
        Dense x = RowAsColumn(v, k);
        Dense lhs = Mul(a, x), rhs = Mul(metric, x);
        for (auto& z : rhs.a) z = w[k] * z;
        EXPECT_LT(MaxDiff(lhs, rhs), Tol) << "pair " << k;
    }
    // Rows orthonormal: conj(V) B V^T = 1.
    EXPECT_LT(MaxDiff(Mul(Mul(Op(v, '*'), metric), Op(v, 'T')), Identity(v.Ni)), Tol);
}

Dense TridiagonalToeplitz(uint32_t n, double diag, double off) {
    Dense d(n, n);
    for (uint32_t i = 0; i < n; i++) {
        d(i, i) = Complex16{diag, 0};
        if (i + 1 < n) d(i, i + 1) = d(i + 1, i) = Complex16{off, 0};
    }
    return d;
}

TEST(HermitianEigensystem, TridiagonalToeplitzSpectrumInAllEntries) {
    const uint32_t n = 8;
    const double a = 2.0, b = -1.0;
    std::vector<double> exact;
    for (uint32_t k = 1; k <= n; k++) exact.push_back(a + 2 * b * cos(k * M_PI / (n + 1)));
    std::sort(exact.begin(), exact.end());
    Dense t = TridiagonalToeplitz(n, a, b);
    std::vector<double> w(n);

    for (int complexArm = 0; complexArm < 2; complexArm++) {
        // The complex arm follows QComplex, not the values.
        CompactMatrixType A = ToCompact(t, complexArm), V;
        ASSERT_EQ(CompactMatrixEigensystem(&A, &V, w.data()), 0);
        EXPECT_EQ(V.QComplex, complexArm);
        EXPECT_STREQ(V.Name, "Eigenvectors of Matrix");
        for (uint32_t k = 0; k < n; k++) EXPECT_NEAR(w[k], exact[k], Tol);
        ExpectEigenpairs(t, FromCompact(V), w.data());
        FreeCompactMatrix(&V);
        FreeCompactMatrix(&A);

        MatrixType M = ToMatrix(t, complexArm), MV;
        SetMatrixName(&M, "Chain");
        ASSERT_EQ(Eigensystem(M, &MV, w.data()), 0);
        EXPECT_EQ(MV.QComplex, complexArm);
        EXPECT_STREQ(MV.Name, "Eigenvectors of Chain");
        for (uint32_t k = 0; k < n; k++) EXPECT_NEAR(w[k], exact[k], Tol);
        ExpectEigenpairs(t, FromMatrix(MV), w.data());
        FreeMatrix(&MV);

        CompactMatrixType CV;
        ASSERT_EQ(EigensystemToCompact(M, &CV, w.data()), 0);
        EXPECT_EQ(CV.QComplex, complexArm);
        ExpectEigenpairs(t, FromCompact(CV), w.data());
        FreeCompactMatrix(&CV);
        FreeMatrix(&M);
    }

    std::vector<double> diag(n, a), off(n - 1, b);
    MatrixType TV;
    ASSERT_EQ(RealTriDiagonalEigensystem(n, diag.data(), off.data(), &TV, w.data()), 0);
    for (uint32_t k = 0; k < n; k++) EXPECT_NEAR(w[k], exact[k], Tol);
    ExpectEigenpairs(t, FromMatrix(TV), w.data());
    FreeMatrix(&TV);
    ASSERT_EQ(RealTriDiagonalEigensystem(n, diag.data(), off.data(), nullptr, w.data()), 0);
    for (uint32_t k = 0; k < n; k++) EXPECT_NEAR(w[k], exact[k], Tol);
}

TEST(HermitianEigensystem, SpinMatrices) {
    // Pauli sigma_y and the spin-1 S_y, purely imaginary.
    Dense sy(2, 2);
    sy(0, 1) = Complex16{0, -1};
    sy(1, 0) = Complex16{0, 1};
    Dense s1(3, 3);
    double r = 1 / sqrt(2.0);
    s1(0, 1) = s1(1, 2) = Complex16{0, -r};
    s1(1, 0) = s1(2, 1) = Complex16{0, r};
    struct Case {
        Dense m;
        std::vector<double> spectrum;
    } cases[] = {{sy, {-1, 1}}, {s1, {-1, 0, 1}}};
    for (const Case& c : cases) {
        std::vector<double> w(c.m.Ni);
        CompactMatrixType A = ToCompact(c.m, true), V;
        ASSERT_EQ(CompactMatrixEigensystem(&A, &V, w.data()), 0);
        for (uint32_t k = 0; k < c.m.Ni; k++) EXPECT_NEAR(w[k], c.spectrum[k], Tol);
        ExpectEigenpairs(c.m, FromCompact(V), w.data());
        FreeCompactMatrix(&V);
        FreeCompactMatrix(&A);
    }
}

// U D U^dagger with a known unitary and a degenerate D given out of order.
TEST(HermitianEigensystem, KnownSpectrumWithDegeneracies) {
    std::vector<double> d = {2, -1, 0.5, 3, 2, 0.5, 2};
    std::vector<double> sorted = d;
    std::sort(sorted.begin(), sorted.end());
    for (int complexArm = 0; complexArm < 2; complexArm++) {
        Dense u = KnownUnitary(7, complexArm, 90 + complexArm);
        Dense a = Mul(Mul(u, Diag(d)), Op(u, 'C'));
        CompactMatrixType A = ToCompact(a, complexArm), V;
        std::vector<double> w(7);
        ASSERT_EQ(CompactMatrixEigensystem(&A, &V, w.data()), 0);
        for (int k = 0; k < 7; k++) EXPECT_NEAR(w[k], sorted[k], Tol);
        ExpectEigenpairs(a, FromCompact(V), w.data());
        FreeCompactMatrix(&V);
        FreeCompactMatrix(&A);
    }
}

TEST(HermitianEigensystem, NonSquareIsRefused) {
    CompactMatrixType A = ToCompact(Random(2, 3, false, 1), false), V;
    MatrixType M = ToMatrix(Random(2, 3, false, 1), false), MV;
    double w[3];
    testing::internal::CaptureStdout();
    EXPECT_EQ(CompactMatrixEigensystem(&A, &V, w), 1);
    EXPECT_EQ(Eigensystem(M, &MV, w), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "CompactMatrixEigensystem called with non-square matrix\nERORR!!!!!!\n"
              "Eigensystem called with non-square matrix\nERORR!!!!!!\n");
    FreeCompactMatrix(&A);
    FreeMatrix(&M);
}

// The hooks make the first (and second) routine of each chain report failure.
class EigensystemRetryChain : public testing::Test {
protected:
    void TearDown() override {
        LapackFailFirstAttempt = 0;
        LapackFailSecondAttempt = 0;
    }
    std::string Run(const std::function<int()>& call, int expected) {
        testing::internal::CaptureStdout();
        int result = call();
        fflush(stdout);
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(result, expected);
        return out;
    }
};

TEST_F(EigensystemRetryChain, HermitianFallsBackToDivideAndConquer) {
    Dense u = KnownUnitary(5, true, 5);
    std::vector<double> d = {1, 1, -2, 4, 0};
    Dense h = Mul(Mul(u, Diag(d)), Op(u, 'C'));
    std::vector<double> w(5);
    for (int complexArm = 0; complexArm < 2; complexArm++) {
        Dense a = complexArm ? h : TridiagonalToeplitz(5, 1, 0.5);
        MatrixType M = ToMatrix(a, complexArm);
        SetMatrixName(&M, "Test");
        CompactMatrixType C = ToCompact(a, complexArm);
        SetCompactMatrixName(&C, "Compact");
        LapackFailFirstAttempt = 7;
        MatrixType V;
        std::string out = Run([&] { return Eigensystem(M, &V, w.data()); }, 0);
        EXPECT_EQ(out, complexArm ? "zheev failed in Eigensystem with info value 7\n"
                                    "While working on matrix Test\n"
                                    "continue diagonalization with zheevd\n"
                                  : "dsyv failed in Eigensystem with info value 7\n"
                                    "While working on matrix Test\n"
                                    "continue diagonalization with dsyvd\n");
        ExpectEigenpairs(a, FromMatrix(V), w.data());
        FreeMatrix(&V);

        CompactMatrixType CV;
        out = Run([&] { return CompactMatrixEigensystem(&C, &CV, w.data()); }, 0);
        EXPECT_EQ(out, std::string(complexArm ? "zheev" : "dsyv") +
                           " failed in CompactMatrixEigensystem with info value 7\n"
                           "While working on matrix Compact\n"
                           "continue diagonalization with " +
                           (complexArm ? "zheevd\n" : "dsyvd\n"));
        ExpectEigenpairs(a, FromCompact(CV), w.data());
        FreeCompactMatrix(&CV);

        LapackFailSecondAttempt = 9;
        out = Run([&] { return Eigensystem(M, &V, w.data()); }, 1);
        std::string tail = complexArm ? "also zheevd failed in Eigensystem with info value 9\n"
                                      : "also dsyvd failed in Eigensystem with info value 9\n";
        EXPECT_EQ(out.substr(out.size() - tail.size() - 16), tail + "ERORR!!!!!!!!!!\n");
        LapackFailFirstAttempt = LapackFailSecondAttempt = 0;
        FreeMatrix(&M);
        FreeCompactMatrix(&C);
    }
}

TEST_F(EigensystemRetryChain, GeneralizedAndTridiagonal) {
    const std::string errors6 = "ERORR!!!!!!!!!!\nERORR!!!!!!!!!!\nERORR!!!!!!!!!!\n"
                                "ERORR!!!!!!!!!!\nERORR!!!!!!!!!!\nERORR!!!!!!!!!!\n";
    std::vector<double> w(4);
    for (int complexArm = 0; complexArm < 2; complexArm++) {
        Dense x = Random(4, 4, complexArm, 8), h = Random(4, 4, complexArm, 9);
        Dense aa = Add(h, Op(h, 'C')), bb = Add(Mul(x, Op(x, 'C')), Identity(4));
        MatrixType A = ToMatrix(aa, complexArm), B = ToMatrix(bb, complexArm), V;
        SetMatrixName(&A, "Test");
        LapackFailFirstAttempt = 3;
        std::string out = Run([&] { return GeneralizedEigensystem(A, B, &V, w.data()); }, 0);
        EXPECT_EQ(out, complexArm ? "zhegv failed in Generalized Eigensystem with info value 3\n"
                                    "While working on matrix Test\n"
                                    "continue diagonalization with zhegvd\n"
                                  : "dsygv failed in Generalized Eigensystem with info value 3\n"
                                    "While working on matrix Test\n"
                                    "continue diagonalization with dsygvd\n");
        ExpectEigenpairs(aa, FromMatrix(V), w.data(), bb);
        FreeMatrix(&V);
        LapackFailSecondAttempt = 4;
        out = Run([&] { return GeneralizedEigensystem(A, B, &V, w.data()); }, 1);
        std::string last = complexArm ? "also zhegvd failed in Generalized Eigensystem with info value 4\n"
                                      : "also dsygvd failed in Eigensystem with info value 4\n";
        EXPECT_NE(out.find(last + errors6), std::string::npos) << out;
        out = Run([&] { return GeneralizedEigenvalues(A, B, w.data()); }, 1);
        EXPECT_EQ(out.substr(0, out.find('\n') + 1),
                  complexArm ? "zhegv failed in Generalized Eigenvalues with info value 3\n"
                             : "dsygv failed in Generalized Eigenvalues with info value 3\n");
        last = complexArm ? "also zhegvd failed in Generalized Eigenvalues with info value 4\n"
                          : "also dsygvd failed in Eigenvalues with info value 4\n";
        EXPECT_NE(out.find(last + errors6), std::string::npos) << out;
        LapackFailFirstAttempt = LapackFailSecondAttempt = 0;
        FreeMatrix(&A);
        FreeMatrix(&B);
    }

    double d[3] = {1, 2, 3}, e[2] = {0.5, 0.5};
    MatrixType TV;
    LapackFailFirstAttempt = 5;
    std::string out = Run([&] { return RealTriDiagonalEigensystem(3, d, e, &TV, w.data()); }, 0);
    EXPECT_EQ(out, "dstevd failed in TriDiagonalMatrixToEigensystem with info value 5\n"
                   "continue diagonalization with dstev\n");
    Dense t(3, 3);
    for (int i = 0; i < 3; i++) t(i, i) = Complex16{d[i], 0};
    t(0, 1) = t(1, 0) = t(1, 2) = t(2, 1) = Complex16{0.5, 0};
    ExpectEigenpairs(t, FromMatrix(TV), w.data());
    FreeMatrix(&TV);
    LapackFailSecondAttempt = 6;
    out = Run([&] { return RealTriDiagonalEigensystem(3, d, e, nullptr, w.data()); }, 1);
    EXPECT_NE(out.find("Also dstev failed with info value 6\n"), std::string::npos);
}

TEST(GeneralizedEigensystem, DefiniteMetric) {
    for (int complexArm = 0; complexArm < 2; complexArm++) {
        Dense x = Random(5, 5, complexArm, 100), h = Random(5, 5, complexArm, 101);
        Dense b = Add(Mul(x, Op(x, 'C')), Identity(5));
        Dense a = Add(h, Op(h, 'C'));
        MatrixType A = ToMatrix(a, complexArm), B = ToMatrix(b, complexArm), V;
        std::vector<double> w(5), w2(5);
        ASSERT_EQ(GeneralizedEigensystem(A, B, &V, w.data()), 0);
        EXPECT_TRUE(std::is_sorted(w.begin(), w.end()));
        ExpectEigenpairs(a, FromMatrix(V), w.data(), b);
        ASSERT_EQ(GeneralizedEigenvalues(A, B, w2.data()), 0);
        for (int k = 0; k < 5; k++) EXPECT_NEAR(w2[k], w[k], Tol);
        FreeMatrix(&V);
        FreeMatrix(&A);
        FreeMatrix(&B);
    }
}

// Three basis vectors of a plane, the third a combination of the others:
// the metric is singular, and the problem in the plane has the values of h.
TEST(GeneralizedEigensystem, SingularMetricDropsTheNullDirection) {
    for (int arm = 0; arm < 2; arm++) {
        double r = 1 / sqrt(2.0);
        Dense b(2, 3);  // the basis vectors in the columns
        b(0, 0) = b(1, 1) = Complex16{1, 0};
        b(0, 2) = Complex16{r, 0};
        b(1, 2) = arm ? Complex16{0, r} : Complex16{r, 0};
        Dense h = Diag(std::vector<double>{1, 3});
        if (arm) {
            h(1, 0) = Complex16{0, 0.5};
            h(0, 1) = Conj(h(1, 0));
        }
        Dense S = Mul(Op(b, 'C'), b), H = Mul(Mul(Op(b, 'C'), h), b);
        MatrixType Hm = ToMatrix(H, arm), Sm = ToMatrix(S, arm), V;
        std::vector<double> w(3);
        testing::internal::CaptureStdout();
        ASSERT_EQ(GeneralizedEigensystemSingular(Hm, Sm, &V, w.data()), 0);
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_NE(out.find("Number of states kept = 2\n"), std::string::npos) << out;
        EXPECT_NE(out.find("Norm of basis ( 0...7): "), std::string::npos);
        ASSERT_EQ(V.Ni, 2);
        ASSERT_EQ(V.Nj, 3);
        double mid = 2, half = arm ? sqrt(1 + 0.25) : 1;  // eigenvalues of h
        EXPECT_NEAR(w[0], mid - half, Tol);
        EXPECT_NEAR(w[1], mid + half, Tol);
        Dense v = FromMatrix(V);
        for (uint32_t k = 0; k < 2; k++) {
            Dense c = RowAsColumn(v, k);
            Dense lhs = Mul(H, c), rhs = Mul(S, c);
            for (auto& z : rhs.a) z = w[k] * z;
            EXPECT_LT(MaxDiff(lhs, rhs), Tol);
            EXPECT_NEAR(Mul(Op(c, 'C'), Mul(S, c))(0, 0).re, 1.0, Tol);
        }
        FreeMatrix(&V);
        FreeMatrix(&Hm);
        FreeMatrix(&Sm);
    }
}

// A r_k = w_k r_k, l_k^dagger A = w_k l_k^dagger, L^dagger R = 1, real parts
// ascending.
void ExpectGeneralEigenpairs(const Dense& a, const CompactMatrixType& L, const CompactMatrixType& R,
                             const std::vector<Complex16>& w, double tol = Tol) {
    Dense l = FromCompact(L), r = FromCompact(R);
    uint32_t n = a.Ni;
    for (uint32_t k = 0; k < n; k++) {
        Dense rk = RowAsColumn(r, k), lk = RowAsColumn(l, k);
        Dense ar = Mul(a, rk), la = Mul(Op(lk, 'C'), a);
        Dense wr = rk, wl = Op(lk, 'C');
        for (auto& z : wr.a) z = w[k] * z;
        for (auto& z : wl.a) z = w[k] * z;
        EXPECT_LT(MaxDiff(ar, wr), tol) << "right " << k;
        EXPECT_LT(MaxDiff(la, wl), tol) << "left " << k;
        if (k > 0) {
            EXPECT_LE(w[k - 1].re, w[k].re);
        }
    }
    EXPECT_LT(MaxDiff(Mul(Op(l, 'C'), r), Identity(n)), tol);
    EXPECT_LT(MaxDiff(Mul(Op(l, '*'), Op(r, 'T')), Identity(n)), tol);
    EXPECT_STREQ(L.Name, "Left Eigen vectors");
    EXPECT_STREQ(R.Name, "Right Eigen vectors");
}

TEST(NonHermitianEigensystem, RealComplexAndDegenerateMatrices) {
    // A real matrix with complex pairs.
    Dense a = Random(6, 6, false, 120);
    for (int arm = 0; arm < 2; arm++) {
        CompactMatrixType A = ToCompact(a, arm), L, R;
        std::vector<Complex16> w(6);
        ASSERT_EQ(NonHermitianCompactMatrixEigensystem(A, &L, &R, w.data()), 0);
        bool pairs = false;
        for (auto z : w) pairs = pairs || fabs(z.im) > 1e-3;
        EXPECT_TRUE(pairs);
        EXPECT_EQ(L.QComplex, 1);
        ExpectGeneralEigenpairs(a, L, R, w);
        FreeCompactMatrix(&L);
        FreeCompactMatrix(&R);
        FreeCompactMatrix(&A);
    }
    // A complex matrix.
    Dense c = Random(5, 5, true, 121);
    CompactMatrixType C = ToCompact(c, true), L, R;
    std::vector<Complex16> w(5);
    ASSERT_EQ(CompactMatrixGeneralEigensystem(C, &L, &R, w.data()), 0);
    ExpectGeneralEigenpairs(c, L, R, w);
    FreeCompactMatrix(&L);
    FreeCompactMatrix(&R);
    FreeCompactMatrix(&C);

    // Upper triangular: the spectrum is the diagonal, and the vectors stay real.
    Dense t = Random(4, 4, false, 122);
    double diag[4] = {3, -1, 2, 0.5};
    for (uint32_t i = 0; i < 4; i++) {
        for (uint32_t j = 0; j < i; j++) t(i, j) = Complex16{0, 0};
        t(i, i) = Complex16{diag[i], 0};
    }
    CompactMatrixType T = ToCompact(t, false);
    w.resize(4);
    ASSERT_EQ(NonHermitianCompactMatrixEigensystem(T, &L, &R, w.data()), 0);
    EXPECT_EQ(L.QComplex, 0);
    EXPECT_EQ(R.QComplex, 0);
    double sorted[4] = {-1, 0.5, 2, 3};
    for (int k = 0; k < 4; k++) {
        EXPECT_NEAR(w[k].re, sorted[k], Tol);
        EXPECT_EQ(w[k].im, 0.0);
    }
    ExpectGeneralEigenpairs(t, L, R, w);
    FreeCompactMatrix(&L);
    FreeCompactMatrix(&R);
    FreeCompactMatrix(&T);

    // Non-normal and degenerate: S diag(1, 1, 2) S^-1 with S far from unitary.
    Dense s = Add(Random(3, 3, true, 123), Identity(3));
    CompactMatrixType Si = ToCompact(s, true);
    ASSERT_EQ(CompactMatrixInverse(&Si), 0);
    Dense d = Mul(Mul(s, Diag(std::vector<double>{1, 1, 2})), FromCompact(Si));
    CompactMatrixType D = ToCompact(d, true);
    w.resize(3);
    ASSERT_EQ(NonHermitianCompactMatrixEigensystem(D, &L, &R, w.data()), 0);
    ExpectGeneralEigenpairs(d, L, R, w, 1e-9);
    FreeCompactMatrix(&L);
    FreeCompactMatrix(&R);
    FreeCompactMatrix(&D);
    FreeCompactMatrix(&Si);

    CompactMatrixType N = ToCompact(Random(2, 3, false, 1), false);
    testing::internal::CaptureStdout();
    EXPECT_EQ(NonHermitianCompactMatrixEigensystem(N, &L, &R, w.data()), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "NonHermitianCompactMatrixEigensystem called with non-square matrix\nERORR!!!!!!\n");
    FreeCompactMatrix(&N);
}

TEST(NonHermitianEigensystem, OrderSortsValuesWithTheirVectors) {
    std::vector<Complex16> w = {{2, 0}, {-1, 1}, {0.5, 0}};
    Dense l = Random(3, 2, false, 1), r = Random(3, 4, true, 2);
    CompactMatrixType L = ToCompact(l, false), R = ToCompact(r, true);
    ASSERT_EQ(NonHermitianEigensystemOrder(w.data(), &L, &R), 0);
    EXPECT_EQ(w[0].re, -1.0);
    EXPECT_EQ(w[0].im, 1.0);
    EXPECT_EQ(w[2].re, 2.0);
    int from[3] = {1, 2, 0};
    for (uint32_t k = 0; k < 3; k++) {
        for (uint32_t j = 0; j < 2; j++) EXPECT_EQ(CompactMatrixElement(L, k, j).re, l(from[k], j).re);
        for (uint32_t j = 0; j < 4; j++) EXPECT_EQ(CompactMatrixElement(R, k, j).im, r(from[k], j).im);
    }
    FreeCompactMatrix(&R);
    R = ToCompact(Random(2, 4, true, 2), true);
    testing::internal::CaptureStdout();
    EXPECT_EQ(NonHermitianEigensystemOrder(w.data(), &L, &R), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Number of rows for funL and funR need to be equal in NonHermitianEigensystemOrder\n");
    FreeCompactMatrix(&L);
    FreeCompactMatrix(&R);
}

TEST(HermitianTest, RealAndComplexArms) {
    Dense s = Random(3, 3, false, 5);
    s = Add(s, Op(s, 'T'));
    CompactMatrixType S = ToCompact(s, false);
    EXPECT_EQ(QCompactMatrixHermitian(S, 1e-15), 1);
    CompactMatrixRealData(S)[1] += 1e-6;
    EXPECT_EQ(QCompactMatrixHermitian(S, 1e-15), 0);
    EXPECT_EQ(QCompactMatrixHermitian(S, 1e-3), 1);
    FreeCompactMatrix(&S);

    Dense h = Random(3, 3, true, 6);
    h = Add(h, Op(h, 'C'));
    CompactMatrixType H = ToCompact(h, true);
    EXPECT_EQ(QCompactMatrixHermitian(H, 1e-15), 1);
    CompactMatrixComplexData(H)[4].im = 0.1;  // imaginary part on the diagonal
    EXPECT_EQ(QCompactMatrixHermitian(H, 1e-15), 0);
    FreeCompactMatrix(&H);

    CompactMatrixType R = ToCompact(Random(2, 3, false, 7), false);
    EXPECT_EQ(QCompactMatrixHermitian(R, 1.0), 0);
    FreeCompactMatrix(&R);
}

}  // namespace
