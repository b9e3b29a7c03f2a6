#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "fock_reference.h"
#include "manybody/operator.h"
#include "manybody/operator_algebra.h"

namespace {

uint16_t C(unsigned m) { return (uint16_t)(0x8000 | m); }
uint16_t A(unsigned m) { return (uint16_t)m; }

OperatorType Empty(unsigned nf, unsigned maxLength) {
    OperatorType O;
    EXPECT_EQ(InitOperator(&O), 0);
    O.NF = nf;
    O.NWord = DeterminantNWord(nf, 0);
    if (maxLength > 0) {
        EXPECT_EQ(InitOperatorFixedLength(&O, maxLength, 4), 0);
    }
    return O;
}

// A Hermitian operator on four fermion modes: complex hoppings with their
// conjugates, number operators, a density-density term and a constant.
OperatorType Hermitian() {
    OperatorType H = Empty(4, 4);
    const uint16_t hops[3][2] = {{A(1), C(0)}, {A(2), C(0)}, {A(3), C(2)}};
    const double re[3] = {0.5, -1.25, 0.75}, im[3] = {0.25, 0.0, -2.0};
    for (int i = 0; i < 3; i++) {
        uint16_t back[2] = {(uint16_t)(hops[i][1] & 0x7FFF), (uint16_t)(hops[i][0] | 0x8000)};
        EXPECT_EQ(OperatorAddLaderNormalOrder(&H, hops[i], 2, re[i], im[i], QDetNotOrderedFcFaBcBa), 0);
        EXPECT_EQ(OperatorAddLaderNormalOrder(&H, back, 2, re[i], -im[i], QDetNotOrderedFcFaBcBa), 0);
    }
    for (unsigned m = 0; m < 4; m++) {
        uint16_t n[2] = {A(m), C(m)};
        EXPECT_EQ(RealOperatorAddLader(&H, n, 2, 0.3 * m - 0.4), 0);
    }
    uint16_t nn[4] = {A(1), C(1), A(3), C(3)};  // n3 n1, written C3 A3 C1 A1
    EXPECT_EQ(RealOperatorAddLaderNormalOrder(&H, nn, 4, 2.5, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_EQ(RealOperatorAddLader(&H, nullptr, 0, -1.0), 0);
    return H;
}

double Largest(const OperatorType& O) {
    double m = 0.0;
    for (unsigned k = 0; k <= O.MaxLength; k++)
        for (uint32_t t = 0; t < O.l[k].N; t++) {
            const OperatorFixedLengthType& f = O.l[k];
            m = std::max(m, f.QComplex ? std::hypot(f.V[t].re, f.V[t].im) : std::fabs(f.VRe[t]));
        }
    return m;
}

}  // namespace

TEST(OperatorConjugation, AgreesWithDenseAdjoint) {
    std::mt19937 rng(21);
    fockref::Space s(4, 0, 0);
    const size_t d = s.dim();
    OperatorType X = fockref::RandomOperator(4, 0, {0, 1, 2, 3, 4}, 8, true, rng);
    fockref::Matrix mx = fockref::OfOperator(s, X);
    OperatorType Y;
    ASSERT_EQ(OperatorConjugateTranspose(X, &Y), 0);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, Y), fockref::Adjoint(mx, d)), 1e-13);
    FreeOperator(&Y);
    ASSERT_EQ(OperatorConjugateTransposeNormalOrder(X, &Y, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, Y), fockref::Adjoint(mx, d)), 1e-13);
    FreeOperator(&Y);
    ASSERT_EQ(OperatorTranspose(X, &Y), 0);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, Y), fockref::Adjoint(mx, d, false)), 1e-13);
    FreeOperator(&Y);
    ASSERT_EQ(OperatorTransposeNormalOrder(X, &Y, QDetNotOrderedFaFcBaBc), 0);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, Y), fockref::Adjoint(mx, d, false)), 1e-13);
    FreeOperator(&Y);
    OperatorComplexConjugate(&X);
    fockref::Matrix conj = mx;
    for (auto& v : conj) v = std::conj(v);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, X), conj), 1e-13);
    FreeOperator(&X);
}

TEST(OperatorConjugation, HermitianOperatorMinusItsAdjointVanishes) {
    OperatorType H = Hermitian();
    OperatorType D;
    ASSERT_EQ(OperatorConjugateTransposeNormalOrder(H, &D, QDetNotOrderedFcFaBcBa), 0);
    ASSERT_EQ(OperatorAddNormalOrder(&D, H, -1.0, 0.0, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_LT(Largest(D), 1e-15);
    ASSERT_EQ(OperatorRemoveSmallValues(&D, 1e-12), 0);
    for (unsigned k = 0; k <= D.MaxLength; k++) EXPECT_EQ(D.l[k].N, 0u) << k;
    FreeOperator(&D);
    FreeOperator(&H);
}

TEST(OperatorConjugation, HermiticityResultCodes) {
    const double tol = 1.4901161193847656e-06 * 0.0001;
    OperatorType H = Hermitian();
    EXPECT_EQ(QOperatorHermitian(H, tol), OperatorHermitian);
    EXPECT_EQ(isOperatorAlmostHermitian(H, tol), 1);

    // H H as a plain product is not normal-ordered, but still Hermitian.
    OperatorType H2;
    ASSERT_EQ(OperatorMultiply(&H2, H, H), 0);
    EXPECT_EQ(QOperatorHermitian(H2, tol), OperatorHermitian);

    // A small defect relative to the operator: not fully Hermitian.
    uint16_t hop[2] = {A(3), C(1)};
    ASSERT_EQ(RealOperatorAddLader(&H, hop, 2, 1e-8), 0);
    EXPECT_EQ(QOperatorHermitian(H, tol), OperatorNotFullyHermitian);
    EXPECT_EQ(isOperatorAlmostHermitian(H, tol), 0);
    // A large one: not Hermitian; so is i times a Hermitian operator.
    ASSERT_EQ(RealOperatorAddLader(&H, hop, 2, 0.5), 0);
    EXPECT_EQ(QOperatorHermitian(H, tol), OperatorNotHermitian);
    ASSERT_EQ(OperatorScale(&H2, 0.0, 1.0), 0);
    EXPECT_EQ(QOperatorHermitian(H2, tol), OperatorNotHermitian);

    OperatorType Z = Empty(4, 0);  // the zero operator
    EXPECT_EQ(QOperatorHermitian(Z, tol), OperatorHermitian);
    for (OperatorType* O : {&H, &H2, &Z}) FreeOperator(O);
}

TEST(OperatorCleaning, RemoveSmallValuesAndChop) {
    OperatorType O = Empty(4, 2);
    std::vector<std::vector<uint16_t>> terms;
    for (unsigned i = 0; i < 4; i++)
        for (unsigned j = 0; j < 4; j++) terms.push_back({A(j), C(i)});
    // Alternate large and small values; every fourth has a small imaginary part.
    for (size_t t = 0; t < terms.size(); t++) {
        double re = t % 2 ? 1e-9 : 1.0 + t;
        double im = t % 4 == 0 ? 1e-10 : 0.0;
        ASSERT_EQ(OperatorAddLader(&O, terms[t].data(), 2, re, im), 0);
    }
    ASSERT_EQ(OperatorAddLader(&O, nullptr, 0, 1e-9, 0.0), 0);
    OperatorType P;
    ASSERT_EQ(OperatorCopy(&P, O), 0);

    ASSERT_EQ(OperatorRemoveSmallValues(&O, 1e-6), 0);
    EXPECT_EQ(O.l[0].N, 0u);
    EXPECT_EQ(O.l[2].N, 8u);
    EXPECT_EQ(O.l[2].NAloc, 8u);
    EXPECT_EQ(O.l[2].QComplex, 0u);  // imaginary parts all below eps
    EXPECT_EQ(O.QComplex, 0u);
    for (size_t t = 0; t < terms.size(); t++) {
        double want = t % 2 ? 0.0 : 1.0 + t;
        EXPECT_EQ(RealOperatorPrefactorLader(&O, terms[t].data(), 2), want) << t;
    }

    // Chop sets small parts to zero: the imaginary parts go, the real small
    // values go with their terms.
    ASSERT_EQ(OperatorChop(&P, 1e-6), 0);
    EXPECT_EQ(P.l[2].N, 8u);
    EXPECT_EQ(P.l[0].N, 0u);
    EXPECT_EQ(P.QComplex, 0u);
    for (size_t t = 0; t < terms.size(); t += 2)
        EXPECT_EQ(RealOperatorPrefactorLader(&P, terms[t].data(), 2), 1.0 + t);
    // A large eps leaves nothing.
    ASSERT_EQ(OperatorChop(&P, 1e6), 0);
    for (unsigned k = 0; k <= P.MaxLength; k++) EXPECT_EQ(P.l[k].N, 0u);
    EXPECT_EQ(P.QComplex, 0u);
    FreeOperator(&P);

    // A complex length with a real imaginary part stays complex.
    OperatorType Q = Empty(4, 2);
    ASSERT_EQ(OperatorAddLader(&Q, terms[0].data(), 2, 1.0, 0.5), 0);
    ASSERT_EQ(OperatorAddLader(&Q, terms[1].data(), 2, 1e-9, 0.0), 0);
    ASSERT_EQ(OperatorRemoveSmallValues(&Q, 1e-6), 0);
    EXPECT_EQ(Q.l[2].N, 1u);
    EXPECT_EQ(Q.QComplex, 1u);
    Complex16 v = ComplexOperatorPrefactorLader(&Q, terms[0].data(), 2);
    EXPECT_EQ(v.re, 1.0);
    EXPECT_EQ(v.im, 0.5);
    FreeOperator(&Q);
    FreeOperator(&O);
}

TEST(OperatorCleaning, ScaleCopyAndRealness) {
    std::mt19937 rng(8);
    fockref::Space s(4, 0, 0);
    OperatorType X = fockref::RandomOperator(4, 0, {0, 2, 4}, 6, false, rng);
    fockref::Matrix mx = fockref::OfOperator(s, X);
    OperatorType Y;
    ASSERT_EQ(OperatorCopy(&Y, X), 0);
    EXPECT_NE(Y.l[2].o, X.l[2].o);  // deep
    ASSERT_EQ(OperatorScale(&Y, 2.0, 0.0), 0);
    EXPECT_EQ(Y.QComplex, 0u);
    ASSERT_EQ(OperatorScale(&Y, 0.0, 0.5), 0);  // 2 * 0.5i = i
    EXPECT_EQ(Y.QComplex, 1u);
    fockref::Matrix want = mx;
    for (auto& v : want) v *= fockref::cplx(0.0, 1.0);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, Y), want), 1e-14);
    EXPECT_EQ(fockref::MaxDiff(s, fockref::OfOperator(s, X), mx), 0.0);  // original untouched

    // Back to real values through i * i = -1 and the recount.
    ASSERT_EQ(OperatorScale(&Y, 0.0, 1.0), 0);
    EXPECT_EQ(Y.QComplex, 1u);
    SetQComplexOperator(&Y);
    EXPECT_EQ(Y.QComplex, 0u);
    for (unsigned k = 0; k <= Y.MaxLength; k++) EXPECT_EQ(Y.l[k].QComplex, 0u);
    for (size_t i = 0; i < want.size(); i++) want[i] = -mx[i];
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, Y), want), 1e-14);
    FreeOperator(&X);
    FreeOperator(&Y);
}

TEST(OperatorTraces, AgreeWithDenseAndCanBeSet) {
    // Against the dense matrix on the one-particle states: <m|O|m> sums the
    // number-operator prefactors, the constant aside (length-4 terms do not
    // act on one particle).
    std::mt19937 rng(13);
    fockref::Space s(5, 0, 0);
    OperatorType X = fockref::RandomOperator(5, 0, {2, 4}, 30, true, rng);
    const uint16_t modes[3] = {0, 2, 4};
    fockref::Matrix mx = fockref::OfOperator(s, X);
    auto denseTrace = [&](const fockref::Matrix& M) {
        fockref::cplx sum = 0.0;
        for (uint16_t m : modes) {
            std::vector<int> occ(5, 0);
            occ[m] = 1;
            size_t j = s.index.at(occ);
            sum += M[j * s.dim() + j];
        }
        return sum;
    };
    fockref::cplx want = denseTrace(mx);
    Complex16 t = ComplexOperatorTrace(X, modes, 3);
    EXPECT_NEAR(t.re, want.real(), 1e-13);
    EXPECT_NEAR(t.im, want.imag(), 1e-13);
    double re, im;
    ASSERT_EQ(OperatorTrace(X, modes, 3, &re, &im), 0);
    EXPECT_EQ(re, t.re);
    EXPECT_EQ(RealOperatorTrace(X, modes, 3), t.re);

    // Setting the trace shifts each listed diagonal term by the same amount.
    uint16_t n1[2] = {A(1), C(1)};
    Complex16 before1 = ComplexOperatorPrefactorLader(&X, n1, 2);
    uint16_t n0[2] = {A(0), C(0)}, n2[2] = {A(2), C(2)};
    Complex16 gap = ComplexOperatorPrefactorLader(&X, n2, 2) - ComplexOperatorPrefactorLader(&X, n0, 2);
    ASSERT_EQ(ComplexOperatorAddTrace(&X, modes, 3, 3.0, -1.0), 0);
    t = ComplexOperatorTrace(X, modes, 3);
    EXPECT_NEAR(t.re, 3.0, 1e-13);
    EXPECT_NEAR(t.im, -1.0, 1e-13);
    want = denseTrace(fockref::OfOperator(s, X));
    EXPECT_NEAR(want.real(), 3.0, 1e-13);
    Complex16 gapAfter = ComplexOperatorPrefactorLader(&X, n2, 2) - ComplexOperatorPrefactorLader(&X, n0, 2);
    EXPECT_NEAR(gapAfter.re, gap.re, 1e-13);
    EXPECT_NEAR(gapAfter.im, gap.im, 1e-13);
    EXPECT_EQ(ComplexOperatorPrefactorLader(&X, n1, 2).re, before1.re);  // mode 1 not listed
    FreeOperator(&X);

    // An operator without length 2 gets one; a real value keeps it real.
    OperatorType E = Empty(3, 0);
    const uint16_t all[3] = {0, 1, 2};
    ASSERT_EQ(ComplexOperatorAddTrace(&E, all, 3, 1.5, 0.0), 0);
    EXPECT_EQ(E.l[2].N, 3u);
    EXPECT_EQ(E.QComplex, 0u);
    EXPECT_DOUBLE_EQ(RealOperatorTrace(E, all, 3), 1.5);
    const uint16_t bad[1] = {7};
    EXPECT_NE(ComplexOperatorAddTrace(&E, bad, 1, 1.0, 0.0), 0);
    FreeOperator(&E);
}
