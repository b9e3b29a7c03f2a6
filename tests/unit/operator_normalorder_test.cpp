#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "fock_reference.h"
#include "manybody/operator.h"
#include "manybody/operator_algebra.h"

namespace {

uint16_t C(unsigned m) { return (uint16_t)(0x8000 | m); }
uint16_t A(unsigned m) { return (uint16_t)m; }

OperatorType Empty(unsigned nf, unsigned nb, unsigned maxLength) {
    OperatorType O;
    EXPECT_EQ(InitOperator(&O), 0);
    O.NF = nf;
    O.NB = nb;
    O.NWord = DeterminantNWord(nf, nb);
    if (maxLength > 0) {
        EXPECT_EQ(InitOperatorFixedLength(&O, maxLength, 4), 0);
    }
    return O;
}

// Adds the written product (leftmost ladder first) in `order`.
void AddWritten(OperatorType* O, std::vector<uint16_t> written, double v, LaderOrderType order) {
    std::vector<uint16_t> stored(written.rbegin(), written.rend());
    ASSERT_EQ(RealOperatorAddLaderNormalOrder(O, stored.data(), (unsigned)stored.size(), v, order), 0);
}

double Prefactor(const OperatorType& O, std::vector<uint16_t> written) {
    std::vector<uint16_t> stored(written.rbegin(), written.rend());
    return RealOperatorPrefactorLader(&O, stored.data(), (unsigned)stored.size());
}

// Every term is in `order`: no neighbouring pair asks for an action.
bool AllInOrder(const OperatorType& O, LaderOrderType order) {
    for (unsigned k = 2; k <= O.MaxLength; k++)
        for (uint32_t t = 0; t < O.l[k].N; t++)
            for (unsigned j = 1; j < k; j++)
                if (order(O.l[k].o[t * k + j], O.l[k].o[t * k + j - 1], O.NF) != 0) return false;
    return true;
}

}  // namespace

TEST(OperatorOrder, ComparisonCodes) {
    const uint32_t NF = 4;  // modes 4, 5 are bosons
    // Normal order: storage ascending among fermions, bosons first.
    EXPECT_EQ(QDetNotOrderedFcFaBcBa(A(1), C(1), NF), LaderSwapFermionPairContract);
    EXPECT_EQ(QDetNotOrderedFcFaBcBa(C(1), A(1), NF), LaderInOrder);
    EXPECT_EQ(QDetNotOrderedFcFaBcBa(C(1), C(2), NF), LaderSwapFermionSign);
    EXPECT_EQ(QDetNotOrderedFcFaBcBa(C(2), C(2), NF), LaderVanishes);
    EXPECT_EQ(QDetNotOrderedFcFaBcBa(A(4), C(1), NF), LaderSwap);
    EXPECT_EQ(QDetNotOrderedFcFaBcBa(C(1), A(4), NF), LaderInOrder);
    EXPECT_EQ(QDetNotOrderedFcFaBcBa(A(4), C(4), NF), LaderSwapBosonContractPlus);
    EXPECT_EQ(QDetNotOrderedFcFaBcBa(A(4), A(5), NF), LaderSwap);
    EXPECT_EQ(QDetNotOrderedFcFaBcBa(A(4), A(4), NF), LaderInOrder);  // a a is fine for bosons
    // The reversed orders.
    EXPECT_EQ(QDetNotOrderedFaFcBaBc(C(1), A(1), NF), LaderSwapFermionPairContract);
    EXPECT_EQ(QDetNotOrderedFaFcBaBc(C(4), A(4), NF), LaderSwapBosonContractMinus);
    EXPECT_EQ(QDetNotOrderedFcFaBaBc(A(1), C(1), NF), LaderSwapFermionPairContract);
    EXPECT_EQ(QDetNotOrderedFcFaBaBc(C(4), A(4), NF), LaderSwapBosonContractMinus);
    EXPECT_EQ(QDetNotOrderedFaFcBcBa(C(1), A(1), NF), LaderSwapFermionPairContract);
    EXPECT_EQ(QDetNotOrderedFaFcBcBa(A(4), C(4), NF), LaderSwapBosonContractPlus);
}

TEST(OperatorOrder, FermionAnticommutation) {
    OperatorType O = Empty(4, 0, 2);
    AddWritten(&O, {A(1), C(1)}, 1.0, QDetNotOrderedFcFaBcBa);  // A1 C1 = 1 - C1 A1
    EXPECT_EQ(O.l[0].N, 1u);
    EXPECT_EQ(O.l[0].VRe[0], 1.0);
    EXPECT_EQ(O.l[2].N, 1u);
    EXPECT_EQ(Prefactor(O, {C(1), A(1)}), -1.0);

    AddWritten(&O, {C(1), C(1)}, 5.0, QDetNotOrderedFcFaBcBa);  // vanishes
    AddWritten(&O, {A(3), A(3)}, 5.0, QDetNotOrderedFcFaBcBa);
    EXPECT_EQ(O.l[2].N, 1u);

    AddWritten(&O, {C(2), C(1)}, 0.5, QDetNotOrderedFcFaBcBa);   // already ordered
    AddWritten(&O, {C(1), C(2)}, 0.25, QDetNotOrderedFcFaBcBa);  // = -C2 C1
    EXPECT_EQ(Prefactor(O, {C(2), C(1)}), 0.25);
    EXPECT_EQ(Prefactor(O, {C(1), C(2)}), 0.0);
    EXPECT_TRUE(AllInOrder(O, QDetNotOrderedFcFaBcBa));
    FreeOperator(&O);

    // With annihilators written to the left, C1 A1 = 1 - A1 C1.
    O = Empty(4, 0, 2);
    AddWritten(&O, {C(1), A(1)}, 1.0, QDetNotOrderedFaFcBaBc);
    EXPECT_EQ(O.l[0].VRe[0], 1.0);
    EXPECT_EQ(Prefactor(O, {A(1), C(1)}), -1.0);
    FreeOperator(&O);
}

TEST(OperatorOrder, BosonCommutation) {
    // Modes 0, 1 fermions, 2 a boson.
    OperatorType O = Empty(2, 1, 2);
    AddWritten(&O, {A(2), C(2)}, 1.0, QDetNotOrderedFcFaBcBa);  // a a+ = a+ a + 1
    EXPECT_EQ(O.l[0].VRe[0], 1.0);
    EXPECT_EQ(Prefactor(O, {C(2), A(2)}), 1.0);
    FreeOperator(&O);

    O = Empty(2, 1, 2);
    AddWritten(&O, {C(2), A(2)}, 1.0, QDetNotOrderedFaFcBaBc);  // a+ a = a a+ - 1
    EXPECT_EQ(O.l[0].VRe[0], -1.0);
    EXPECT_EQ(Prefactor(O, {A(2), C(2)}), 1.0);
    FreeOperator(&O);

    // A boson moves past fermions without a sign; fermions stay to the left.
    O = Empty(2, 1, 3);
    AddWritten(&O, {A(2), C(1), A(0)}, 2.0, QDetNotOrderedFcFaBcBa);
    EXPECT_EQ(Prefactor(O, {C(1), A(0), A(2)}), 2.0);
    FreeOperator(&O);
}

TEST(OperatorOrder, ComplexAndLongTermsAgreeWithDense) {
    // Long terms with many contractions, every order, against the dense
    // matrix of the term as written.
    std::mt19937 rng(7);
    fockref::Space s(4, 1, 7);
    const LaderOrderType orders[4] = {QDetNotOrderedFcFaBcBa, QDetNotOrderedFaFcBaBc, QDetNotOrderedFcFaBaBc,
                                      QDetNotOrderedFaFcBcBa};
    OperatorType X = fockref::RandomOperator(4, 1, {1, 2, 3, 4, 5, 6}, 12, true, rng);
    fockref::Matrix want = fockref::OfOperator(s, X);
    for (LaderOrderType order : orders) {
        OperatorType Y;
        ASSERT_EQ(NormalOrderOperator(X, &Y, order), 0);
        EXPECT_TRUE(AllInOrder(Y, order));
        EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, Y), want, 6), 1e-12);
        FreeOperator(&Y);
    }
    // The plain complex add keeps a real length real for a tiny imaginary part.
    OperatorType Z = Empty(4, 1, 2);
    uint16_t t[2] = {C(1), A(1)};  // A1 C1 = 1 - C1 A1
    ASSERT_EQ(OperatorAddLaderNormalOrder(&Z, t, 2, 1.0, 1e-320, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_EQ(Z.l[2].QComplex, 0u);
    EXPECT_EQ(Z.l[0].QComplex, 0u);
    ASSERT_EQ(OperatorAddLaderNormalOrder(&Z, t, 2, 1.0, 0.5, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_EQ(Z.l[2].QComplex, 1u);
    EXPECT_EQ(Z.l[0].N, 1u);
    EXPECT_EQ(Z.l[0].QComplex, 1u);
    FreeOperator(&Z);
    FreeOperator(&X);
}

TEST(OperatorSum, AddAgreesWithDense) {
    std::mt19937 rng(11);
    fockref::Space s(4, 1, 6);
    OperatorType X = fockref::RandomOperator(4, 1, {0, 2, 4}, 10, false, rng);
    OperatorType Y = fockref::RandomOperator(4, 1, {0, 1, 2, 3}, 10, true, rng);
    fockref::Matrix mx = fockref::OfOperator(s, X), my = fockref::OfOperator(s, Y);
    const fockref::cplx z(0.5, -2.0);
    OperatorType S = Empty(4, 1, 0);  // no lengths yet: they are made on the way
    ASSERT_EQ(OperatorAdd(&S, X, 1.0, 0.0), 0);
    EXPECT_EQ(S.QComplex, 0u);
    ASSERT_EQ(OperatorAdd(&S, Y, z.real(), z.imag()), 0);
    fockref::Matrix want = mx;
    for (size_t i = 0; i < want.size(); i++) want[i] += z * my[i];
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, S), want, 4), 1e-12);
    EXPECT_NE(S.QComplex, 0u);
    // Adding an operator to itself reads a copy of it.
    ASSERT_EQ(OperatorAdd(&S, S, -0.5, 0.0), 0);
    fockref::Matrix half = want;
    for (auto& v : half) v *= 0.5;
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, S), half, 4), 1e-12);

    OperatorType T = Empty(4, 1, 0);
    ASSERT_EQ(OperatorAddNormalOrder(&T, X, 1.0, 0.0, QDetNotOrderedFcFaBcBa), 0);
    ASSERT_EQ(OperatorAddNormalOrder(&T, Y, z.real(), z.imag(), QDetNotOrderedFcFaBcBa), 0);
    EXPECT_TRUE(AllInOrder(T, QDetNotOrderedFcFaBcBa));
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, T), want, 4), 1e-12);
    for (OperatorType* O : {&X, &Y, &S, &T}) FreeOperator(O);
}

TEST(OperatorProduct, ProductsAgreeWithDense) {
    std::mt19937 rng(3);
    fockref::Space s(3, 1, 10);
    OperatorType X = fockref::RandomOperator(3, 1, {0, 1, 2}, 6, true, rng);
    OperatorType Y = fockref::RandomOperator(3, 1, {2, 3}, 6, false, rng);
    OperatorType W = fockref::RandomOperator(3, 1, {0, 1}, 4, true, rng);
    const size_t d = s.dim();
    fockref::Matrix mx = fockref::OfOperator(s, X), my = fockref::OfOperator(s, Y), mw = fockref::OfOperator(s, W);
    fockref::Matrix xy = fockref::Multiply(mx, my, d);

    OperatorType P;
    ASSERT_EQ(OperatorMultiply(&P, X, Y), 0);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, P), xy, 5), 1e-12);
    FreeOperator(&P);

    ASSERT_EQ(OperatorMultiplyNormalOrder(&P, X, Y, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_TRUE(AllInOrder(P, QDetNotOrderedFcFaBcBa));
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, P), xy, 5), 1e-12);
    FreeOperator(&P);

    // Scaled product added twice into one record.
    ASSERT_EQ(InitOperatorForMult(&P, 2, &X, &Y), 0);
    ASSERT_EQ(OperatorMultiplyScaledNormalOrder(&P, X, Y, 0.0, 1.0, QDetNotOrderedFcFaBcBa), 0);
    ASSERT_EQ(OperatorMultiply2NormalOrder(&P, X, Y, 'N', 'N', QDetNotOrderedFcFaBcBa), 0);
    fockref::Matrix want = xy;
    for (auto& v : want) v *= fockref::cplx(1.0, 1.0);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, P), want, 5), 1e-12);
    FreeOperator(&P);

    // Three, four and five factors, plain and ordered.
    fockref::Matrix xyw = fockref::Multiply(xy, mw, d);
    ASSERT_EQ(InitOperatorForMult(&P, 3, &X, &Y, &W), 0);
    ASSERT_EQ(OperatorMultiply3(&P, X, Y, W), 0);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, P), xyw, 6), 1e-12);
    FreeOperator(&P);
    ASSERT_EQ(InitOperatorForMult(&P, 3, &X, &Y, &W), 0);
    ASSERT_EQ(OperatorMultiply3NormalOrder(&P, X, Y, W, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, P), xyw, 6), 1e-12);
    FreeOperator(&P);

    fockref::Matrix xywx = fockref::Multiply(xyw, mx, d), xywxw = fockref::Multiply(xywx, mw, d);
    ASSERT_EQ(InitOperatorForMult(&P, 4, &X, &Y, &W, &X), 0);
    ASSERT_EQ(OperatorMultiply4(&P, X, Y, W, X), 0);
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, P), xywx, 8), 1e-11);
    FreeOperator(&P);
    ASSERT_EQ(InitOperatorForMult(&P, 5, &X, &Y, &W, &X, &W), 0);
    ASSERT_EQ(OperatorMultiply5NormalOrder(&P, X, Y, W, X, W, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_TRUE(AllInOrder(P, QDetNotOrderedFcFaBcBa));
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, P), xywxw, 9), 1e-11);
    FreeOperator(&P);
    // A product added into one of its own factors: P := X + X Y.
    ASSERT_EQ(OperatorCopy(&P, X), 0);
    ASSERT_EQ(OperatorMultiply2NormalOrder(&P, P, Y, 'N', 'N', QDetNotOrderedFcFaBcBa), 0);
    want = xy;
    for (size_t i = 0; i < want.size(); i++) want[i] += mx[i];
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, P), want, 5), 1e-12);
    FreeOperator(&P);

    // In place: X := X Y keeps the name.
    OperatorType Q;
    ASSERT_EQ(OperatorCopy(&Q, X), 0);
    OperatorSetName(&Q, "Q");
    ASSERT_EQ(OperatorMultiplyNormalOrderInline(&Q, Y, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_STREQ(Q.Name, "Q");
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, Q), xy, 5), 1e-12);
    ASSERT_EQ(OperatorMultiplyInline(&Q, Q), 0);  // a square through the same record
    EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, Q), fockref::Multiply(xy, xy, d), 9), 1e-10);
    for (OperatorType* O : {&X, &Y, &W, &Q}) FreeOperator(O);
}

TEST(OperatorProduct, OperationCharactersAgreeWithDense) {
    // Fermions only, so that the adjoint of the dense matrix is exact.
    std::mt19937 rng(5);
    fockref::Space s(4, 0, 0);
    OperatorType X = fockref::RandomOperator(4, 0, {1, 2, 3}, 8, true, rng);
    OperatorType Y = fockref::RandomOperator(4, 0, {0, 2}, 8, true, rng);
    const size_t d = s.dim();
    fockref::Matrix mx = fockref::OfOperator(s, X), my = fockref::OfOperator(s, Y);
    struct Case {
        char a, b;
        fockref::Matrix left, right;
    } cases[] = {
        {'C', 'N', fockref::Adjoint(mx, d), my},
        {'N', 't', mx, fockref::Adjoint(my, d, false)},
        {'*', 'c', fockref::Adjoint(fockref::Adjoint(mx, d), d, false), fockref::Adjoint(my, d)},
    };
    for (const Case& c : cases) {
        OperatorType P;
        ASSERT_EQ(InitOperatorForMult(&P, 2, &X, &Y), 0);
        ASSERT_EQ(OperatorMultiply2NormalOrder(&P, X, Y, c.a, c.b, QDetNotOrderedFcFaBcBa), 0);
        EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, P), fockref::Multiply(c.left, c.right, d)), 1e-12)
            << c.a << c.b;
        FreeOperator(&P);
    }
    OperatorType P;
    ASSERT_EQ(InitOperatorForMult(&P, 2, &X, &Y), 0);
    EXPECT_NE(OperatorMultiply2NormalOrder(&P, X, Y, 'x', 'N', QDetNotOrderedFcFaBcBa), 0);
    FreeOperator(&P);
    FreeOperator(&X);
    FreeOperator(&Y);
}

TEST(OperatorProduct, ContractionsKeepShorterLengths) {
    // X = C1 A2; X X+ = C1 A2 C2 A1 = C1 A1 - C1 C2 A2 A1.
    OperatorType X = Empty(3, 0, 2);
    uint16_t hop[2] = {A(2), C(1)};
    ASSERT_EQ(RealOperatorAddLader(&X, hop, 2, 1.0), 0);
    OperatorType Xd, P;
    ASSERT_EQ(OperatorConjugateTransposeNormalOrder(X, &Xd, QDetNotOrderedFcFaBcBa), 0);
    ASSERT_EQ(OperatorMultiplyNormalOrder(&P, X, Xd, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_EQ(P.l[2].N, 1u);
    EXPECT_EQ(Prefactor(P, {C(1), A(1)}), 1.0);
    EXPECT_EQ(P.l[4].N, 1u);
    EXPECT_EQ(Prefactor(P, {C(2), C(1), A(2), A(1)}), 1.0);  // -C1 C2 A2 A1 reordered
    FreeOperator(&P);
    // n1 n1 = n1: the length-4 part cancels to nothing.
    uint16_t n1[2] = {A(1), C(1)};
    OperatorType N1 = Empty(3, 0, 2);
    ASSERT_EQ(RealOperatorAddLader(&N1, n1, 2, 1.0), 0);
    ASSERT_EQ(OperatorMultiplyNormalOrder(&P, N1, N1, QDetNotOrderedFcFaBcBa), 0);
    EXPECT_EQ(P.l[2].N, 1u);
    EXPECT_EQ(P.l[4].N, 0u);
    for (OperatorType* O : {&X, &Xd, &P, &N1}) FreeOperator(O);
}
