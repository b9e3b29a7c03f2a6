// Functions of a matrix and orthonormalisation, checked by identities:
// inverse times matrix, unitarity of exp(iH), square of the root, closed
// forms, orthonormal rows and reconstructions.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>

#include "dense_reference.h"
#include "numeric/compactmatrix.h"

namespace {

const double Tol = 1e-11;

std::string Captured(const std::function<void()>& f) {
    testing::internal::CaptureStdout();
    f();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

TEST(MatrixInverse, CompactInverseTimesMatrixIsIdentity) {
    for (int arm = 0; arm < 2; arm++) {
        Dense a = Add(Random(5, 5, arm, 200 + arm), Identity(5));
        CompactMatrixType A = ToCompact(a, arm);
        ASSERT_EQ(CompactMatrixInverse(&A), 0);
        EXPECT_EQ(A.QComplex, arm);
        EXPECT_LT(MaxDiff(Mul(FromCompact(A), a), Identity(5)), Tol);
        EXPECT_LT(MaxDiff(Mul(a, FromCompact(A)), Identity(5)), Tol);
        FreeCompactMatrix(&A);
    }
    // Singular: the failure is reported and the matrix is left as it was.
    Dense s(2, 2);
    s(0, 0) = s(0, 1) = s(1, 0) = s(1, 1) = Complex16{1, 0};
    CompactMatrixType S = ToCompact(s, false);
    std::string out = Captured([&] { EXPECT_GT(CompactMatrixInverse(&S), 0); });
    EXPECT_EQ(out, "dgetrf failed in CompactMatrixInverse with INFO 2\n");
    EXPECT_EQ(MaxDiff(FromCompact(S), s), 0.0);
    FreeCompactMatrix(&S);
    CompactMatrixType R = ToCompact(Random(2, 3, false, 1), false);
    out = Captured([&] { EXPECT_LT(CompactMatrixInverse(&R), 0); });
    EXPECT_EQ(out, "In CompactMatrixInverse tried to inverse a rectangular matrix Ni=2, Nj=3\n");
    FreeCompactMatrix(&R);
}

TEST(MatrixInverse, OwnEliminationNeedsPivoting) {
    for (int arm = 0; arm < 2; arm++) {
        Dense a = Random(4, 4, arm, 210 + arm);
        a(0, 0) = Complex16{0, 0};  // no pivot in place
        MatrixType A = ToMatrix(a, arm);
        ASSERT_EQ(MatrixInverse(&A), 0);
        EXPECT_LT(MaxDiff(Mul(FromMatrix(A), a), Identity(4)), Tol);
        FreeMatrix(&A);
    }
    Dense s(3, 3);
    s(0, 0) = s(1, 1) = Complex16{1, 0};
    MatrixType S = ToMatrix(s, true);
    SetMatrixName(&S, "Rank two");
    std::string out = Captured([&] { EXPECT_EQ(MatrixInverse(&S), 1); });
    EXPECT_EQ(out, "Singular matrix inversion of matrix Rank two\n");
    EXPECT_EQ(MaxDiff(FromMatrix(S), s), 0.0);
    FreeMatrix(&S);
    MatrixType R = ToMatrix(Random(2, 3, false, 1), false);
    out = Captured([&] { EXPECT_EQ(MatrixInverse(&R), 1); });
    EXPECT_EQ(out, "Tried to invert a non square matrix Ni=2 Nj=3\n");
    FreeMatrix(&R);
}

TEST(MatrixPower, IntegerPowersAgainstRepeatedProducts) {
    Dense a = Add(Random(3, 3, true, 220), Identity(3));
    CompactMatrixType A = ToCompact(a, true), R;
    SetCompactMatrixName(&A, "Base");
    Dense p = Identity(3);
    for (int n = 0; n <= 7; n++) {
        ASSERT_EQ(CompactMatrixPow(&A, &R, n), 0);
        EXPECT_LT(MaxDiff(FromCompact(R), p), 1e-10 * (1 + n * n)) << n;
        if (n == 1) {
            EXPECT_STREQ(R.Name, "Base");
        }
        FreeCompactMatrix(&R);
        p = Mul(p, a);
    }
    ASSERT_EQ(CompactMatrixPow(&A, &R, -3), 0);
    Dense a3 = Mul(Mul(a, a), a);
    EXPECT_LT(MaxDiff(Mul(FromCompact(R), a3), Identity(3)), 1e-10);
    FreeCompactMatrix(&R);
    ASSERT_EQ(CompactMatrixSqr(&A, &R), 0);
    EXPECT_LT(MaxDiff(FromCompact(R), Mul(a, a)), Tol);
    FreeCompactMatrix(&R);
    FreeCompactMatrix(&A);

    Dense s(2, 2);
    s(0, 1) = Complex16{1, 0};
    CompactMatrixType S = ToCompact(s, false);
    Captured([&] { EXPECT_NE(CompactMatrixPow(&S, &R, -1), 0); });
    FreeCompactMatrix(&S);
}

TEST(MatrixExponential, HermitianClosedFormsAndDiagonal) {
    // exp of a diagonal is exact.
    std::vector<double> d = {0.5, -2, 1.25};
    CompactMatrixType D = ToCompact(Diag(d), false), R;
    ASSERT_EQ(HermitianCompactMatrixExp(&D, &R), 0);
    EXPECT_EQ(R.QComplex, 0);
    for (uint32_t i = 0; i < 3; i++)
        for (uint32_t j = 0; j < 3; j++)
            EXPECT_DOUBLE_EQ(CompactMatrixElement(R, i, j).re, i == j ? exp(d[i]) : 0.0);
    FreeCompactMatrix(&R);
    FreeCompactMatrix(&D);

    // exp(t sigma_y) = cosh t + sinh t sigma_y.
    const double t = 0.7;
    Dense sy(2, 2);
    sy(0, 1) = Complex16{0, -t};
    sy(1, 0) = Complex16{0, t};
    CompactMatrixType Sy = ToCompact(sy, true);
    ASSERT_EQ(HermitianCompactMatrixExp(&Sy, &R), 0);
    Dense want = Identity(2);
    for (auto& z : want.a) z = cosh(t) * z;
    want(0, 1) = Complex16{0, -sinh(t)};
    want(1, 0) = Complex16{0, sinh(t)};
    EXPECT_LT(MaxDiff(FromCompact(R), want), Tol);
    FreeCompactMatrix(&R);
    FreeCompactMatrix(&Sy);
}

TEST(MatrixExponential, NonHermitianUnitaryAndRotation) {
    // exp(iH) for Hermitian H goes through the general solver and is unitary.
    Dense h = Random(5, 5, true, 230);
    h = Add(h, Op(h, 'C'));
    Dense ih = h;
    for (auto& z : ih.a) z = Complex16{0, 1} * z;
    CompactMatrixType IH = ToCompact(ih, true), U;
    EXPECT_EQ(QCompactMatrixHermitian(IH, 1e-15), 0);
    ASSERT_EQ(NonHermitianCompactMatrixExp(&IH, &U), 0);
    Dense u = FromCompact(U);
    EXPECT_LT(MaxDiff(Mul(u, Op(u, 'C')), Identity(5)), Tol);
    // and it commutes with H, as a function of H must.
    EXPECT_LT(MaxDiff(Mul(u, h), Mul(h, u)), 1e-10);
    FreeCompactMatrix(&U);
    FreeCompactMatrix(&IH);

    // A real generator of rotations: the result is real and exact in form.
    const double t = 0.3;
    Dense g(2, 2);
    g(0, 1) = Complex16{-t, 0};
    g(1, 0) = Complex16{t, 0};
    CompactMatrixType G = ToCompact(g, false), R;
    ASSERT_EQ(NonHermitianCompactMatrixExp(&G, &R), 0);
    EXPECT_EQ(R.QComplex, 0);
    EXPECT_NEAR(CompactMatrixElement(R, 0, 0).re, cos(t), Tol);
    EXPECT_NEAR(CompactMatrixElement(R, 0, 1).re, -sin(t), Tol);
    EXPECT_NEAR(CompactMatrixElement(R, 1, 0).re, sin(t), Tol);
    FreeCompactMatrix(&R);
    FreeCompactMatrix(&G);
}

TEST(MatrixExponential, DefectiveMatricesAgainstJordanForm) {
    // A Jordan block a*1 + N with N nilpotent has no full set of eigenvectors:
    // exp = e^a (1 + N + N^2/2).
    for (double a : {0.0, 1.0, -2.5}) {
        Dense j(3, 3);
        for (uint32_t i = 0; i < 3; i++) j(i, i) = Complex16{a, 0};
        j(0, 1) = j(1, 2) = Complex16{1, 0};
        CompactMatrixType J = ToCompact(j, false), R;
        ASSERT_EQ(NonHermitianCompactMatrixExp(&J, &R), 0);
        double ea = exp(a);
        Dense want(3, 3);
        for (uint32_t i = 0; i < 3; i++) want(i, i) = Complex16{ea, 0};
        want(0, 1) = want(1, 2) = Complex16{ea, 0};
        want(0, 2) = Complex16{ea / 2, 0};
        EXPECT_LT(MaxDiff(FromCompact(R), want), 1e-13 * ea) << "a = " << a;
        FreeCompactMatrix(&R);
        FreeCompactMatrix(&J);
    }
}

TEST(MatrixSqrt, SquareGivesBackAndNegativeValues) {
    for (int arm = 0; arm < 2; arm++) {
        Dense x = Random(4, 4, arm, 240 + arm);
        Dense a = Add(Mul(x, Op(x, 'C')), Identity(4));
        CompactMatrixType A = ToCompact(a, arm), R;
        ASSERT_EQ(CompactMatrixSqrt(&A, &R), 0);
        Dense r = FromCompact(R);
        EXPECT_LT(MaxDiff(Mul(r, r), a), Tol);
        EXPECT_LT(MaxDiff(r, Op(r, 'C')), Tol);  // the Hermitian root
        FreeCompactMatrix(&R);
        FreeCompactMatrix(&A);
    }
    // A slightly indefinite matrix passes silently; a clearly indefinite one
    // is reported; both negative values become 0.
    struct Case {
        double second;
        bool message;
    } cases[] = {{-1e-16, false}, {-1.0, true}};
    for (const Case& c : cases) {
        CompactMatrixType A = ToCompact(Diag(std::vector<double>{1.0, c.second}), false), R;
        std::string out = Captured([&] { EXPECT_EQ(CompactMatrixSqrt(&A, &R), 0); });
        if (c.message)
            EXPECT_EQ(out, "Negative value in CompactMatrixSqrt, eigen value is "
                           "-1.000000000000000E+00 at pos 0 (trace |val| =  2.000000000000000E+00)\n");
        else
            EXPECT_EQ(out, "");
        EXPECT_LT(MaxDiff(FromCompact(R), Diag(std::vector<double>{1.0, 0.0})), Tol);
        FreeCompactMatrix(&R);
        FreeCompactMatrix(&A);
    }
}

void ExpectOrthonormalRows(const Dense& m, double tol = Tol) {
    EXPECT_LT(MaxDiff(Mul(m, Op(m, 'C')), Identity(m.Ni)), tol);
}

TEST(Orthogonalize, SVDRowsAreThePolarFactor) {
    for (int arm = 0; arm < 2; arm++) {
        Dense m = Random(3, 5, arm, 250 + arm);
        CompactMatrixType M = ToCompact(m, arm);
        ASSERT_EQ(CompactMatrixSVDOrthogonalizeRow(&M, 1e-12, false), 0);
        Dense q = FromCompact(M);
        ExpectOrthonormalRows(q);
        // m = P q with P = m q^dagger Hermitian positive: the reconstruction
        // of the decomposition, and the mark of the nearest orthonormal rows.
        Dense p = Mul(m, Op(q, 'C'));
        EXPECT_LT(MaxDiff(p, Op(p, 'C')), Tol);
        EXPECT_LT(MaxDiff(Mul(p, q), m), Tol);
        std::vector<double> w(3);
        CompactMatrixType P = ToCompact(p, arm), V;
        ASSERT_EQ(CompactMatrixEigensystem(&P, &V, w.data()), 0);
        EXPECT_GT(w[0], 0.0);
        FreeCompactMatrix(&V);
        FreeCompactMatrix(&P);
        FreeCompactMatrix(&M);
    }
}

TEST(Orthogonalize, SVDColumnsWithTransformation) {
    for (int arm = 0; arm < 2; arm++) {
        Dense m = Random(5, 3, arm, 260 + arm);
        CompactMatrixType M = ToCompact(m, arm), T;
        ASSERT_EQ(CompactMatrixSVDOrthogonalizeColplusT(&M, 1e-12, false, &T), 0);
        Dense q = FromCompact(M);
        ExpectOrthonormalRows(Op(q, 'T'));
        EXPECT_LT(MaxDiff(Mul(m, FromCompact(T)), q), Tol);
        FreeCompactMatrix(&T);
        FreeCompactMatrix(&M);
        M = ToCompact(m, arm);
        ASSERT_EQ(CompactMatrixSVDOrthogonalizeCol(&M, 1e-12, false), 0);
        EXPECT_LT(MaxDiff(FromCompact(M), q), Tol);
        FreeCompactMatrix(&M);
    }
    CompactMatrixType M = ToCompact(Random(2, 2, false, 1), false), T;
    EXPECT_EQ(CompactMatrixSVDOrthogonalizeRowplusT(&M, 0.0, false, &T), 1);
    FreeCompactMatrix(&M);
}

TEST(Orthogonalize, SVDDroppedValues) {
    // A zero row with tolerance 0: its singular value 0 is dropped, and
    // without removal the row count stays.
    Dense m = Random(3, 4, false, 270);
    for (uint32_t j = 0; j < 4; j++) m(1, j) = Complex16{0, 0};
    CompactMatrixType M = ToCompact(m, false);
    ASSERT_EQ(CompactMatrixSVDOrthogonalizeRow(&M, 0.0, false), 0);
    EXPECT_EQ(M.Ni, 3u);
    Dense q = FromCompact(M);
    for (uint32_t j = 0; j < 4; j++) EXPECT_LT(Abs(q(1, j)), Tol);
    // The two other rows are orthonormal.
    Dense kept(2, 4);
    for (uint32_t j = 0; j < 4; j++) {
        kept(0, j) = q(0, j);
        kept(1, j) = q(2, j);
    }
    ExpectOrthonormalRows(kept);
    FreeCompactMatrix(&M);

    // With removal the rows at the places of the dropped values go.
    M = ToCompact(m, false);
    std::string out = Captured([&] { ASSERT_EQ(CompactMatrixSVDOrthogonalizeRow(&M, 0.0, true), 0); });
    EXPECT_EQ(M.Ni, 2u);
    EXPECT_EQ(out, "Removing row 2 in CompactMatrixSVDOrthogonalizeRow\n");
    FreeCompactMatrix(&M);
}

TEST(Orthogonalize, GramSchmidtRowsAndColumns) {
    for (int arm = 0; arm < 2; arm++) {
        // Row 2 depends on rows 0 and 1 and is dropped.
        Dense m = Random(4, 5, arm, 280 + arm);
        for (uint32_t j = 0; j < 5; j++) m(2, j) = 2.0 * m(0, j) - m(1, j);
        CompactMatrixType M = ToCompact(m, arm), T;
        ASSERT_EQ(CompactMatrixGramSchmidtOrthogonalizeRowplusT(&M, 1e-20, false, &T), 0);
        EXPECT_EQ(M.Ni, 4u);
        Dense q = FromCompact(M);
        Dense first(3, 5);
        for (uint32_t i = 0; i < 3; i++)
            for (uint32_t j = 0; j < 5; j++) first(i, j) = q(i, j);
        ExpectOrthonormalRows(first);
        for (uint32_t j = 0; j < 5; j++) EXPECT_EQ(Abs(q(3, j)), 0.0);  // dropped row at the end
        // Gram-Schmidt keeps the span of the leading rows: row 0 is m's row 0
        // normalised.
        double n0 = 0;
        for (uint32_t j = 0; j < 5; j++) n0 += Abs(m(0, j)) * Abs(m(0, j));
        EXPECT_LT(Abs(q(0, 2) - m(0, 2) / sqrt(n0)), Tol);
        EXPECT_LT(MaxDiff(Mul(FromCompact(T), m), q), Tol);
        FreeCompactMatrix(&T);
        FreeCompactMatrix(&M);

        M = ToCompact(m, arm);
        ASSERT_EQ(CompactMatrixGramSchmidtOrthogonalizeRow(&M, 1e-20, true), 0);
        EXPECT_EQ(M.Ni, 3u);
        ExpectOrthonormalRows(FromCompact(M));
        FreeCompactMatrix(&M);

        // Columns: the transpose of the same.
        Dense mt = Op(m, 'T');
        M = ToCompact(mt, arm);
        ASSERT_EQ(CompactMatrixGramSchmidtOrthogonalizeColplusT(&M, 1e-20, true, &T), 0);
        EXPECT_EQ(M.Nj, 3u);
        Dense qc = FromCompact(M);
        ExpectOrthonormalRows(Op(qc, 'T'));
        EXPECT_LT(MaxDiff(Mul(mt, FromCompact(T)), qc), Tol);
        FreeCompactMatrix(&T);
        FreeCompactMatrix(&M);
        M = ToCompact(mt, arm);
        ASSERT_EQ(CompactMatrixGramSchmidtOrthogonalizeCol(&M, 1e-20, false), 0);
        EXPECT_EQ(M.Nj, 4u);
        FreeCompactMatrix(&M);
    }
    // The tolerance is compared with the squared norm.
    Dense small(1, 2);
    small(0, 0) = Complex16{1e-3, 0};
    CompactMatrixType S = ToCompact(small, false);
    ASSERT_EQ(CompactMatrixGramSchmidtOrthogonalizeRow(&S, 2e-6, true), 0);
    EXPECT_EQ(S.Ni, 0u);
    FreeCompactMatrix(&S);
}

TEST(Orthogonalize, OlderRecordRows) {
    Dense m = Random(3, 3, true, 290);
    MatrixType M = ToMatrix(m, true);
    ASSERT_EQ(MatrixOrthonormalize(&M), 0);
    ExpectOrthonormalRows(FromMatrix(M));
    FreeMatrix(&M);
    M = ToMatrix(m, true);
    ASSERT_EQ(MatrixBasisOrthonormalize(&M), 0);
    Dense q = FromMatrix(M);
    ExpectOrthonormalRows(q);
    Dense p = Mul(m, Op(q, 'C'));
    EXPECT_LT(MaxDiff(p, Op(p, 'C')), Tol);
    FreeMatrix(&M);
}

}  // namespace
