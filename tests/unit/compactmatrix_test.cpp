// Records, products and transforms of the dense matrices, checked against
// loop products of the reference in dense_reference.h.
#include "numeric/compactmatrix.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "dense_reference.h"
#include "base/options.h"

namespace {

const double Tight = 1e-12;

TEST(CompactMatrixRecord, InitCopyResizeAndForms) {
    CompactMatrixType M;
    M.Ni = 2;
    M.Nj = 3;
    M.QComplex = 0;
    ASSERT_EQ(InitCompactMatrix(&M), 0);
    EXPECT_STREQ(M.Name, "Matrix");
    EXPECT_EQ(M.Aux0, 0.0);
    EXPECT_EQ(M.Aux1, 1.0);
    EXPECT_EQ(M.Aux2, 0.0);
    for (int k = 0; k < 6; k++) EXPECT_EQ(CompactMatrixRealData(M)[k], 0.0);
    for (int k = 0; k < 6; k++) CompactMatrixRealData(M)[k] = k + 1;
    SetCompactMatrixName(&M, "H");
    M.Aux0 = 5;

    CompactMatrixType C;
    ASSERT_EQ(CompactMatrixCopy(M, &C), 0);
    EXPECT_STREQ(C.Name, "H");
    EXPECT_EQ(C.Aux0, 5.0);
    EXPECT_NE(C.data, M.data);
    EXPECT_EQ(MaxDiff(FromCompact(C), FromCompact(M)), 0.0);

    // Growing both dimensions keeps the upper-left block and zeroes the rest.
    ASSERT_EQ(ResizeCompactMatrix(&C, 3, 4), 0);
    Dense want(3, 4);
    for (uint32_t i = 0; i < 2; i++)
        for (uint32_t j = 0; j < 3; j++) want(i, j) = Complex16{double(i * 3 + j + 1), 0};
    EXPECT_EQ(MaxDiff(FromCompact(C), want), 0.0);
    ASSERT_EQ(ResizeCompactMatrix(&C, 1, 4), 0);  // same row length: truncation
    EXPECT_EQ(C.Ni, 1u);
    EXPECT_EQ(CompactMatrixElement(C, 0, 2).re, 3.0);

    ASSERT_EQ(MakeCompactRealMatrixComplex(&M), 0);
    EXPECT_EQ(M.QComplex, 1);
    EXPECT_EQ(CompactMatrixElement(M, 1, 2).re, 6.0);
    CompactMatrixComplexData(M)[0].im = 7;
    ASSERT_EQ(MakeCompactComplexMatrixReal(&M), 0);
    EXPECT_EQ(M.QComplex, 0);
    EXPECT_EQ(CompactMatrixRealData(M)[0], 1.0);

    ASSERT_EQ(CompactMatrixRemoveRow(&M, 0), 0);
    EXPECT_EQ(M.Ni, 1u);
    EXPECT_EQ(CompactMatrixRealData(M)[0], 4.0);

    // A borrowed record is left alone by FreeCompactMatrix.
    C.QBorrowed = 1;
    FreeCompactMatrix(&C);
    EXPECT_NE(C.data, nullptr);
    C.QBorrowed = 0;
    FreeCompactMatrix(&C);
    FreeCompactMatrix(&M);
}

TEST(CompactMatrixRecord, ConstantsAndNullMatrices) {
    CompactMatrixType I = CompactidentityMatrix(2, 3);
    Dense want(2, 3);
    want(0, 0) = want(1, 1) = Complex16{1, 0};
    EXPECT_EQ(MaxDiff(FromCompact(I), want), 0.0);
    EXPECT_FALSE(isNullMatrix(I));
    FreeCompactMatrix(&I);
    EXPECT_TRUE(isNullMatrix(CompactnullMatrix()));
    CompactMatrixType n = CompactnullMatrixMatrix(3, 2);
    EXPECT_TRUE(isNullMatrix(n));
    EXPECT_EQ(n.Ni, 3u);
    CompactMatrixType z = CompactzeroMatrix(0, 0);
    EXPECT_FALSE(isNullMatrix(z));
    FreeCompactMatrix(&z);
}

TEST(MatrixRecord, EmptyMatrixAndConversions) {
    MatrixType E;
    E.Ni = 0;
    E.Nj = 0;
    E.QComplex = 1;
    ASSERT_EQ(InitMatrix(&E), 0);
    EXPECT_EQ(E.Re, nullptr);
    EXPECT_EQ(E.Im, nullptr);
    EXPECT_STREQ(E.Name, "Matrix");
    FreeMatrix(&E);

    Dense d = Random(3, 2, true, 11);
    MatrixType M = ToMatrix(d, true);
    EXPECT_EQ(M.Re[1], M.Re[0] + 2);  // rows in one block
    CompactMatrixType C;
    ASSERT_EQ(MatrixCopyToCompact(M, &C), 0);
    EXPECT_EQ(MaxDiff(FromCompact(C), d), 0.0);
    MatrixType back;
    ASSERT_EQ(CompactMatrixCopyToMatrix(C, &back), 0);
    EXPECT_EQ(MaxDiff(FromMatrix(back), d), 0.0);
    ASSERT_EQ(MakeComplexMatrixReal(&back), 0);
    EXPECT_EQ(back.Im, nullptr);
    ASSERT_EQ(MakeRealMatrixComplex(&back), 0);
    EXPECT_EQ(back.Im[2][1], 0.0);
    MatrixType I = identityMatrix(2, 2);
    EXPECT_EQ(I.Re[1][1], 1.0);
    EXPECT_EQ(I.Re[0][1], 0.0);
    FreeMatrix(&I);
    FreeMatrix(&back);
    FreeMatrix(&M);
    FreeCompactMatrix(&C);
}

// Every pair of operations, on real, complex and mixed factors, with complex
// and with real alpha and beta, against the loop product.
TEST(CompactMatrixProduct, AddMultiplyAllOperations) {
    const char* ops[] = {"N", "T", "C", "*"};
    unsigned seed = 1;
    const Complex16 alphas[2][2] = {{{0.5, -2.0}, {1.5, 0.25}}, {{0.5, 0.0}, {-1.5, 0.0}}};
    for (const auto& ab : alphas)
        for (int ca = 0; ca < 2; ca++)
            for (int cb = 0; cb < 2; cb++)
                for (const char* oa : ops)
                    for (const char* ob : ops) {
                        bool ta = oa[0] == 'T' || oa[0] == 'C', tb = ob[0] == 'T' || ob[0] == 'C';
                        // op(A) is 3 x 4, op(B) is 4 x 2.
                        Dense a = Random(ta ? 4 : 3, ta ? 3 : 4, ca, seed++);
                        Dense b = Random(tb ? 2 : 4, tb ? 4 : 2, cb, seed++);
                        Dense c = Random(3, 2, true, seed++);
                        CompactMatrixType A = ToCompact(a, ca), B = ToCompact(b, cb);
                        CompactMatrixType C = ToCompact(c, true);
                        ASSERT_EQ(CompactMatrixAddMultiply(oa, ob, A, B, &C, ab[0].re, ab[0].im,
                                                           ab[1].re, ab[1].im),
                                  0);
                        Dense want(3, 2);
                        Dense p = Mul(Op(a, oa[0]), Op(b, ob[0]));
                        for (size_t k = 0; k < want.a.size(); k++)
                            want.a[k] = ab[0] * p.a[k] + ab[1] * c.a[k];
                        EXPECT_LT(MaxDiff(FromCompact(C), want), Tight) << oa << ob << ca << cb;

                        CompactMatrixType P;
                        ASSERT_EQ(CompactMatrixMultiply(oa, ob, A, B, &P), 0);
                        EXPECT_EQ(P.QComplex, (ca || cb) ? 1 : 0);
                        EXPECT_LT(MaxDiff(FromCompact(P), p), Tight);
                        FreeCompactMatrix(&P);
                        FreeCompactMatrix(&A);
                        FreeCompactMatrix(&B);
                        FreeCompactMatrix(&C);
                    }
}

TEST(CompactMatrixProduct, RealResultTurnsComplexOnlyWhenNeeded) {
    Dense a = Random(2, 2, false, 3), b = Random(2, 2, false, 4);
    CompactMatrixType A = ToCompact(a, false), B = ToCompact(b, false);
    CompactMatrixType C = CompactzeroMatrix(2, 2);
    ASSERT_EQ(CompactMatrixAddMultiply("N", "C", A, B, &C, 2.0, 0.0, 0.0, 0.0), 0);
    EXPECT_EQ(C.QComplex, 0);
    ASSERT_EQ(CompactMatrixAddMultiply("N", "N", A, B, &C, 0.0, 1.0, 1.0, 0.0), 0);
    EXPECT_EQ(C.QComplex, 1);
    Dense p = Mul(a, b), q = Mul(a, Op(b, 'T'));
    Dense want(2, 2);
    for (size_t k = 0; k < 4; k++) want.a[k] = 2.0 * q.a[k] + Complex16{0, 1} * p.a[k];
    EXPECT_LT(MaxDiff(FromCompact(C), want), Tight);

    // Unequal inner dimensions are refused.
    CompactMatrixType R = ToCompact(Random(3, 2, false, 5), false);
    testing::internal::CaptureStdout();
    EXPECT_EQ(CompactMatrixAddMultiply("N", "N", A, R, &C, 1, 0, 0, 0), 1);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("Dimensions do not match"),
              std::string::npos);
    FreeCompactMatrix(&A);
    FreeCompactMatrix(&B);
    FreeCompactMatrix(&C);
    FreeCompactMatrix(&R);
}

TEST(CompactMatrixProduct, ThreeAndFourFactorsInBothOrders) {
    // Shapes chosen so that each grouping is the cheaper one once.
    for (int shape = 0; shape < 2; shape++) {
        uint32_t m = shape ? 1 : 5, n = shape ? 5 : 1;
        Dense a = Random(m, 4, true, 21), b = Random(4, 3, false, 22), c = Random(n, 3, true, 23);
        CompactMatrixType A = ToCompact(a, true), B = ToCompact(b, false), C = ToCompact(c, true);
        CompactMatrixType D;
        ASSERT_EQ(CompactMatrixMultiply3("N", "N", "C", A, B, C, &D), 0);
        Dense want = Mul(Mul(a, b), Op(c, 'C'));
        EXPECT_LT(MaxDiff(FromCompact(D), want), Tight);
        FreeCompactMatrix(&D);
        FreeCompactMatrix(&A);
        FreeCompactMatrix(&B);
        FreeCompactMatrix(&C);
    }
    Dense a = Random(2, 3, false, 31), b = Random(3, 3, true, 32), c = Random(3, 4, false, 33),
          d = Random(2, 4, true, 34);
    CompactMatrixType A = ToCompact(a, false), B = ToCompact(b, true), C = ToCompact(c, false),
                      D = ToCompact(d, true), E;
    ASSERT_EQ(CompactMatrixMultiply4("N", "*", "N", "C", A, B, C, D, &E), 0);
    EXPECT_LT(MaxDiff(FromCompact(E), Mul(Mul(Mul(a, Op(b, '*')), c), Op(d, 'C'))), Tight);
    FreeCompactMatrix(&A);
    FreeCompactMatrix(&B);
    FreeCompactMatrix(&C);
    FreeCompactMatrix(&D);
    FreeCompactMatrix(&E);
}

TEST(CompactMatrixProduct, SumsScalingAndVectors) {
    Dense a = Random(3, 3, false, 41), b = Random(2, 2, true, 42);
    CompactMatrixType A = ToCompact(a, false), B = ToCompact(b, true);
    ASSERT_EQ(CompactMatrixAddShifted(&A, B, 2.0, 1.0, 1, 0), 0);
    Dense want = a;
    for (uint32_t i = 0; i < 2; i++)
        for (uint32_t j = 0; j < 2; j++) want(i + 1, j) += Complex16{2, 1} * b(i, j);
    EXPECT_EQ(A.QComplex, 1);
    EXPECT_LT(MaxDiff(FromCompact(A), want), Tight);
    testing::internal::CaptureStdout();
    EXPECT_EQ(CompactMatrixAddShifted(&A, B, 1.0, 0.0, 2, 0), 1);
    testing::internal::GetCapturedStdout();

    // A complex factor with exactly zero imaginary part keeps a real matrix.
    CompactMatrixType R = ToCompact(a, false);
    ASSERT_EQ(CompactMatrixScaleComplex(&R, Complex16{3.0, 0.0}), 0);
    EXPECT_EQ(R.QComplex, 0);
    ASSERT_EQ(CompactMatrixScaleComplex(&R, Complex16{0.0, 1.0}), 0);
    EXPECT_EQ(R.QComplex, 1);
    Dense scaled = a;
    for (auto& z : scaled.a) z = Complex16{0, 3} * z;
    EXPECT_LT(MaxDiff(FromCompact(R), scaled), Tight);

    // Matrix times vector in all operations and arms.
    Dense m = Random(3, 2, true, 43), x2 = Random(2, 1, true, 44), x3 = Random(3, 1, true, 45);
    CompactMatrixType Mc = ToCompact(m, true), Mr = ToCompact(m, false);
    const char* ops[] = {"N", "T", "C", "*"};
    for (int cm = 0; cm < 2; cm++)
        for (const char* op : ops) {
            bool t = op[0] == 'T' || op[0] == 'C';
            Dense x = t ? x3 : x2;
            CompactVectorType v{x.Ni, 1, x.a.data()}, y{0, 0, nullptr};
            const CompactMatrixType& Mat = cm ? Mc : Mr;
            ASSERT_EQ(CompactMatrixVector(op, Mat, v, &y), 0);
            Dense ref = Mul(Op(FromCompact(Mat), op[0]), x);
            Dense got(y.NElem, 1);
            for (uint32_t k = 0; k < y.NElem; k++) got.a[k] = static_cast<Complex16*>(y.data)[k];
            EXPECT_LT(MaxDiff(got, ref), Tight) << op << cm;
            free(y.data);
        }
    std::vector<Complex16> y3(3), y2(2);
    ComplexMatrixVector(Mc, x2.a.data(), y3.data());
    Dense got3(3, 1);
    got3.a = y3;
    EXPECT_LT(MaxDiff(got3, Mul(m, x2)), Tight);
    ComplexConjugateTransposeMatrixVector(Mc, x3.a.data(), y2.data());
    Dense got2(2, 1);
    got2.a = y2;
    EXPECT_LT(MaxDiff(got2, Mul(Op(m, 'C'), x3)), Tight);
    double xr[3] = {1, 2, -1}, yr[2] = {0.5, -3}, out3[3], out2[2];
    RealMatrixVector(Mr, yr, out3);
    RealTransposeMatrixVector(Mr, xr, out2);
    double xay = 0;
    for (int i = 0; i < 3; i++) {
        double s = 0;
        for (int j = 0; j < 2; j++) s += m(i, j).re * yr[j];
        EXPECT_NEAR(out3[i], s, Tight);
        xay += xr[i] * s;
    }
    for (int j = 0; j < 2; j++) {
        double s = 0;
        for (int i = 0; i < 3; i++) s += m(i, j).re * xr[i];
        EXPECT_NEAR(out2[j], s, Tight);
    }
    EXPECT_NEAR(RealVectorMatrixVector(xr, Mr, yr), xay, Tight);
    FreeCompactMatrix(&A);
    FreeCompactMatrix(&B);
    FreeCompactMatrix(&R);
    FreeCompactMatrix(&Mc);
    FreeCompactMatrix(&Mr);
}

TEST(CompactMatrixProduct, TransposeAndConjugateInPlace) {
    for (uint32_t rows : {2u, 3u}) {
        Dense d = Random(rows, 3, true, 50 + rows);
        CompactMatrixType M = ToCompact(d, true);
        ASSERT_EQ(CompactMatrixConjugateTranspose(&M), 0);
        EXPECT_EQ(MaxDiff(FromCompact(M), Op(d, 'C')), 0.0);
        ASSERT_EQ(CompactMatrixTranspose(&M), 0);
        EXPECT_EQ(MaxDiff(FromCompact(M), Op(d, '*')), 0.0);
        FreeCompactMatrix(&M);
    }
}

// The four transforms in their three forms, real and complex.
TEST(CompactMatrixTransform, AllFormsMatchTheirProducts) {
    typedef int (*Plain)(CompactMatrixType, CompactMatrixType, CompactMatrixType*);
    typedef int (*Pre)(CompactMatrixType, CompactMatrixType, CompactMatrixType*,
                       CompactMatrixType*);
    typedef int (*Inline)(CompactMatrixType*, CompactMatrixType);
    struct Form {
        Plain plain;
        Pre pre;
        Inline in;
        char left, right;
        bool tTall;  // T is 4 x 3 (A 4 x 4), else 3 x 4 (A 4 x 4) for the right product
    };
    Form forms[] = {
        {TransformCompactMatrixCN, TransformCompactMatrixPreAllocatedCN,
         TransformCompactMatrixInlineCN, 'C', 'N', true},
        {TransformCompactMatrixNC, TransformCompactMatrixPreAllocatedNC,
         TransformCompactMatrixInlineNC, 'N', 'C', false},
        {TransformCompactMatrixTc, TransformCompactMatrixPreAllocatedTc,
         TransformCompactMatrixInlineTc, 'T', '*', true},
        {TransformCompactMatrixcT, TransformCompactMatrixPreAllocatedcT,
         TransformCompactMatrixInlinecT, '*', 'T', false},
    };
    unsigned seed = 60;
    for (const Form& f : forms)
        for (int ca = 0; ca < 2; ca++)
            for (int ct = 0; ct < 2; ct++) {
                Dense a = Random(4, 4, ca, seed++),
                      t = f.tTall ? Random(4, 3, ct, seed++) : Random(3, 4, ct, seed++);
                Dense want = Mul(Mul(Op(t, f.left), a), Op(t, f.right));
                CompactMatrixType A = ToCompact(a, ca), T = ToCompact(t, ct), R;
                ASSERT_EQ(f.plain(A, T, &R), 0);
                EXPECT_EQ(R.QComplex, (ca || ct) ? 1 : 0);
                EXPECT_LT(MaxDiff(FromCompact(R), want), Tight);
                CompactMatrixType W = CompactnullMatrix();
                SetCompactMatrixToZero(&R);
                ASSERT_EQ(f.pre(A, T, &R, &W), 0);
                EXPECT_LT(MaxDiff(FromCompact(R), want), Tight);
                ASSERT_EQ(f.pre(A, T, &R, &W), 0);  // the scratch is reused
                EXPECT_LT(MaxDiff(FromCompact(R), want), Tight);
                ASSERT_EQ(f.in(&A, T), 0);
                EXPECT_LT(MaxDiff(FromCompact(A), want), Tight);
                EXPECT_STREQ(A.Name, "Matrix");
                FreeCompactMatrix(&W);
                FreeCompactMatrix(&R);
                FreeCompactMatrix(&A);
                FreeCompactMatrix(&T);
            }
}

TEST(CompactMatrixTransform, DiagonalForms) {
    Dense t = Random(3, 2, true, 70), l = Random(3, 3, true, 71), r = Random(3, 3, true, 72);
    std::vector<double> d2 = {1.5, -2}, d3 = {0.5, 2, -1};
    std::vector<Complex16> c2 = {{1, 2}, {-1, 0.5}}, c3 = {{1, 1}, {0, -2}, {3, 0}};
    CompactMatrixType T = ToCompact(t, true), L = ToCompact(l, true), Rm = ToCompact(r, true), R;
    auto check = [&](int fail, const Dense& want) {
        ASSERT_EQ(fail, 0);
        EXPECT_LT(MaxDiff(FromCompact(R), want), Tight);
        FreeCompactMatrix(&R);
    };
    check(TransformDiagonalMatrixByCompactMatrixTATdag(d2.data(), T, &R),
          Mul(Mul(t, Diag(d2)), Op(t, 'C')));
    check(TransformDiagonalMatrixByCompactMatrixTdagAT(d3.data(), T, &R),
          Mul(Mul(Op(t, 'C'), Diag(d3)), t));
    check(TransformDiagonalMatrixByCompactMatrixTtranATcon(d3.data(), T, &R),
          Mul(Mul(Op(t, 'T'), Diag(d3)), Op(t, '*')));
    check(TransformDiagonalMatrixByCompactMatrixTconATtran(d2.data(), T, &R),
          Mul(Mul(Op(t, '*'), Diag(d2)), Op(t, 'T')));
    check(TransformComplexDiagonalMatrixByCompactMatrixTconATtran(c2.data(), T, &R),
          Mul(Mul(Op(t, '*'), Diag(c2)), Op(t, 'T')));
    check(TransformComplexDiagonalMatrixByCompactMatrixTLconATRtran(c3.data(), L, Rm, &R),
          Mul(Mul(Op(l, '*'), Diag(c3)), Op(r, 'T')));
    check(TransformComplexDiagonalMatrixByCompactMatrixTRtranATLcon(c3.data(), L, Rm, &R),
          Mul(Mul(Op(r, 'T'), Diag(c3)), Op(l, '*')));

    CompactMatrixType S = ToCompact(t, true);
    MultiplyDiagonalMatrixCompactMatrix(d3.data(), &S);
    EXPECT_LT(MaxDiff(FromCompact(S), Mul(Diag(d3), t)), Tight);
    MultiplyCompactMatrixDiagonalMatrix(&S, d2.data());
    EXPECT_LT(MaxDiff(FromCompact(S), Mul(Mul(Diag(d3), t), Diag(d2))), Tight);
    FreeCompactMatrix(&S);
    FreeCompactMatrix(&T);
    FreeCompactMatrix(&L);
    FreeCompactMatrix(&Rm);
}

TEST(MatrixTransform, OlderRecordProductsAndTransforms) {
    Dense a = Random(3, 3, true, 80), b = Random(3, 2, false, 81), t = Random(2, 3, true, 82);
    MatrixType A = ToMatrix(a, true), B = ToMatrix(b, false), T = ToMatrix(t, true), C;
    ASSERT_EQ(MatrixMultiply(&C, A, B), 0);
    EXPECT_LT(MaxDiff(FromMatrix(C), Mul(a, b)), Tight);
    FreeMatrix(&C);
    ASSERT_EQ(MatrixTransform(&C, A, T), 0);
    EXPECT_LT(MaxDiff(FromMatrix(C), Mul(Mul(Op(t, '*'), a), Op(t, 'T'))), Tight);
    FreeMatrix(&C);
    ASSERT_EQ(MatrixTransformPart(&C, A, T, 1), 0);
    EXPECT_EQ(C.Ni, 1);
    EXPECT_LT(Abs(Complex16{C.Re[0][0], C.Im[0][0]} - Mul(Mul(Op(t, '*'), a), Op(t, 'T'))(0, 0)),
              Tight);
    FreeMatrix(&C);
    CompactMatrixType Tc = ToCompact(t, true);
    ASSERT_EQ(MatrixTransformByCompactMatrix(&C, A, Tc), 0);
    EXPECT_LT(MaxDiff(FromMatrix(C), Mul(Mul(Op(t, '*'), a), Op(t, 'T'))), Tight);
    FreeMatrix(&C);
    FreeCompactMatrix(&Tc);

    // A block and its conjugate-transposed partner make a Hermitian sum.
    MatrixType H = zeroMatrix(5, 5);
    ASSERT_EQ(MatrixAddShifted(&H, B, 0.5, 2.0, 2, 0), 0);
    ASSERT_EQ(MatrixAddShiftedConjugateTranspose(&H, B, 0.5, 2.0, 0, 2), 0);
    Dense h = FromMatrix(H);
    EXPECT_EQ(MaxDiff(h, Op(h, 'C')), 0.0);
    EXPECT_LT(Abs(h(3, 1) - Complex16{0.5, 2.0} * b(1, 1)), Tight);
    MatrixType I = ToMatrix(Identity(5), false);
    ASSERT_EQ(MatrixAdd(&H, I, 1.0, 0.0), 0);
    EXPECT_DOUBLE_EQ(H.Re[4][4], 1.0);
    FreeMatrix(&I);
    FreeMatrix(&H);
    FreeMatrix(&A);
    FreeMatrix(&B);
    FreeMatrix(&T);
}

}  // namespace
