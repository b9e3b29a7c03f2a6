// Matrix elements and squares of operators against the brute-force
// reference (ladders applied by counting signs, a dense matrix for up to 12
// modes): every kind of operator and state, bra and ket of either kind, the
// word and byte paths of the term loops, restrictions, and one against two
// threads.  The suite also runs with OMP_NUM_THREADS=1.
#include <gtest/gtest.h>
#include <omp.h>

#include <map>
#include <string>
#include <vector>

#include "manybody/expectation.h"
#include "manybody/operator_psi.h"
#include "operator_reference.h"

namespace {

using ref::Cx;

template <class F>
void WithThreads(int threads, F&& f) {
    const int before = omp_get_max_threads();
    omp_set_num_threads(threads);
    f();
    omp_set_num_threads(before);
}

// A value with the sum of the magnitudes that went into it.
struct RefValue {
    Cx value = 0.0;
    double scale = 0.0;
};

std::map<ref::Bytes, Cx> Elements(const ref::State& s) {
    std::map<ref::Bytes, Cx> m;
    for (const auto& [occ, v] : s.elements) m[ref::ToBytes(occ, s.NF, s.NB)] = v;
    return m;
}

ref::State ToState(const ref::Result& r, unsigned NF, unsigned NB) {
    ref::State s;
    s.NF = NF;
    s.NB = NB;
    for (const auto& [det, e] : r) s.elements.push_back({ref::FromBytes(det.data(), NF, NB), e.value});
    return s;
}

RefValue Project(const ref::State& bra, const ref::Result& r) {
    std::map<ref::Bytes, Cx> b = Elements(bra);
    RefValue out;
    for (const auto& [det, e] : r) {
        auto it = b.find(det);
        if (it == b.end()) continue;
        out.value += std::conj(it->second) * e.value;
        out.scale += std::abs(it->second) * (e.scale + std::abs(e.value));
    }
    return out;
}

// <bra| P_R O |ket>.
RefValue RefBraKet(const ref::Op& O, const ref::State& bra, const ref::State& ket,
                   const std::vector<ref::Range>* ranges = nullptr) {
    ref::Result r = ref::Apply(O, ket);
    if (ranges != nullptr) r = ref::Filter(r, ket.NF, ket.NB, *ranges);
    return Project(bra, r);
}

// <psi| O P_R O |psi>.
RefValue RefSquare(const ref::Op& O, const ref::State& psi, const std::vector<ref::Range>* ranges = nullptr) {
    ref::Result mid = ref::Apply(O, psi);
    if (ranges != nullptr) mid = ref::Filter(mid, psi.NF, psi.NB, *ranges);
    RefValue v = Project(psi, ref::Apply(O, ToState(mid, psi.NF, psi.NB)));
    double s = 0.0;
    for (const auto& [det, e] : mid) s += e.scale;
    v.scale += s * s;
    return v;
}

::testing::AssertionResult Near(double re, double im, const RefValue& want) {
    const double tol = 1e-12 * (1.0 + want.scale);
    if (std::abs(Cx(re, im) - want.value) <= tol) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got (" << re << ", " << im << "), want " << want.value;
}

// O + O^dagger, term list and record.
OperatorType Hermitian(const ref::Op& O, ref::Op* H) {
    *H = O;
    for (const ref::Term& t : O.terms) {
        ref::Term d;
        for (auto it = t.codes.rbegin(); it != t.codes.rend(); ++it) d.codes.push_back((uint16_t)(*it ^ 0x8000));
        d.value = std::conj(t.value);
        H->terms.push_back(d);
    }
    OperatorType R;
    EXPECT_EQ(InitOperator(&R), 0);
    R.NF = O.NF;
    R.NB = O.NB;
    R.NWord = DeterminantNWord(O.NF, O.NB);
    EXPECT_EQ(InitOperatorFixedLength(&R, 2, 5), 0);
    EXPECT_EQ(InitOperatorFixedLength(&R, 4, 6), 0);
    for (const ref::Term& t : H->terms)
        EXPECT_EQ(OperatorAddLader(&R, t.codes.data(), (unsigned)t.codes.size(), t.value.real(), t.value.imag()), 0);
    OperatorRecountQComplex(&R);
    return R;
}

// Shapes that take each path of the term loops: one word (10 modes), two
// words (70 modes, few particles so that results land in the states), and
// ladder by ladder (bosons).
struct Shape {
    unsigned NF, NB;
    double filling;
};
const Shape kShapes[] = {{10, 0, 0.5}, {70, 0, 0.05}, {8, 2, 0.5}};

typedef int (*KindFunction)(OperatorType, WaveFunctionType, WaveFunctionType, double*, double*);
const KindFunction kPrime[] = {PsiPrimeOperatorPsiRR, PsiPrimeOperatorPsiRC, PsiPrimeOperatorPsiCR,
                               PsiPrimeOperatorPsiCC, PsiPrimeOperatorPsiMR, PsiPrimeOperatorPsiMC};
typedef int (*DiagonalFunction)(OperatorType, WaveFunctionType, double*, double*);
const DiagonalFunction kDiagonal[] = {PsiOperatorPsiRR, PsiOperatorPsiRC, PsiOperatorPsiCR,
                                      PsiOperatorPsiCC, PsiOperatorPsiMR, PsiOperatorPsiMC};
typedef int (*HermitianFunction)(OperatorType, WaveFunctionType, double*);
const HermitianFunction kHermitian[] = {PsiOperatorPsiRHR, PsiOperatorPsiRHC, PsiOperatorPsiCHR,
                                        PsiOperatorPsiCHC, PsiOperatorPsiMHR, PsiOperatorPsiMHC};
const HermitianFunction kHermitianSqr[] = {PsiOperatorSqrPsiRHR, PsiOperatorSqrPsiRHC, PsiOperatorSqrPsiCHR,
                                           PsiOperatorSqrPsiCHC, PsiOperatorSqrPsiMHR, PsiOperatorSqrPsiMHC};
const DiagonalFunction kSqr[] = {PsiOperatorSqrPsiRR, PsiOperatorSqrPsiRC, PsiOperatorSqrPsiCR,
                                 PsiOperatorSqrPsiCC, PsiOperatorSqrPsiMR, PsiOperatorSqrPsiMC};

TEST(ExpectationParallel, MatrixElementsEqualTheDenseProduct) {
    uint64_t seed = 100;
    for (const Shape& shape : kShapes) {
        for (ref::Kind kind : {ref::Real, ref::Complex, ref::Mixed}) {
            for (int states = 0; states < 4; states++) {
                const bool braComplex = states & 1, ketComplex = states & 2;
                SCOPED_TRACE("NF=" + std::to_string(shape.NF) + " NB=" + std::to_string(shape.NB) +
                             " kind=" + std::to_string(kind) + " bra=" + std::to_string(braComplex) +
                             " ket=" + std::to_string(ketComplex));
                ref::RandomSettings r;
                r.NF = shape.NF;
                r.NB = shape.NB;
                r.kind = kind;
                ref::Op rop;
                OperatorType O = ref::RandomOperator(r, seed++, &rop);
                ref::State rbra, rket;
                WaveFunctionType bra =
                    ref::RandomState(shape.NF, shape.NB, 300, braComplex, seed++, &rbra, false, shape.filling);
                WaveFunctionType ket =
                    ref::RandomState(shape.NF, shape.NB, 300, ketComplex, seed++, &rket, false, shape.filling);
                const int k = 2 * (int)kind + (ketComplex ? 1 : 0);

                double re = 0, im = 0;
                const RefValue prime = RefBraKet(rop, rbra, rket);
                ASSERT_EQ(PsiPrimeOperatorPsi(O, bra, ket, &re, &im), 0);
                EXPECT_TRUE(Near(re, im, prime));
                ASSERT_EQ(kPrime[k](O, bra, ket, &re, &im), 0);
                EXPECT_TRUE(Near(re, im, prime));

                const RefValue diagonal = RefBraKet(rop, rket, rket);
                ASSERT_EQ(PsiOperatorPsi(O, ket, &re, &im), 0);
                EXPECT_TRUE(Near(re, im, diagonal));
                ASSERT_EQ(kDiagonal[k](O, ket, &re, &im), 0);
                EXPECT_TRUE(Near(re, im, diagonal));
                ASSERT_EQ(kHermitian[k](O, ket, &re), 0);
                EXPECT_TRUE(Near(re, diagonal.value.imag(), diagonal));

                // Results outside the ranges are dropped.
                const std::vector<ref::Range> ranges = {{{0, 1, 2, 3}, 1, 2}};
                DeterminantRestrictionType R = ref::MakeRestriction(shape.NF, shape.NB, ranges);
                ASSERT_EQ(PsiPrimeOperatorPsiRestricted(O, bra, ket, &re, &im, R), 0);
                EXPECT_TRUE(Near(re, im, RefBraKet(rop, rbra, rket, &ranges)));
                FreeDeterminantRestriction(&R);

                // One thread and two give the same sum up to rounding.
                double re1 = 0, im1 = 0, re2 = 0, im2 = 0;
                WithThreads(1, [&] { ASSERT_EQ(PsiPrimeOperatorPsi(O, bra, ket, &re1, &im1), 0); });
                WithThreads(2, [&] { ASSERT_EQ(PsiPrimeOperatorPsi(O, bra, ket, &re2, &im2), 0); });
                EXPECT_NEAR(re1, re2, 1e-12 * (1 + prime.scale));
                EXPECT_NEAR(im1, im2, 1e-12 * (1 + prime.scale));

                WaveFunctionFree(&bra);
                WaveFunctionFree(&ket);
                FreeOperator(&O);
            }
        }
    }
}

TEST(ExpectationParallel, SquaresEqualTheDenseProductAndTheNormOfOPsi) {
    uint64_t seed = 500;
    for (const Shape& shape : kShapes) {
        for (ref::Kind kind : {ref::Real, ref::Complex, ref::Mixed}) {
            for (bool complexState : {false, true}) {
                SCOPED_TRACE("NF=" + std::to_string(shape.NF) + " kind=" + std::to_string(kind) +
                             " state=" + std::to_string(complexState));
                ref::RandomSettings r;
                r.NF = shape.NF;
                r.NB = shape.NB;
                r.kind = kind;
                r.n2 = 12;
                r.n4 = 20;
                r.numberChanging = true;
                ref::Op rop, rherm;
                OperatorType O = ref::RandomOperator(r, seed++, &rop);
                OperatorType H = Hermitian(rop, &rherm);
                ref::State rpsi;
                WaveFunctionType psi =
                    ref::RandomState(shape.NF, shape.NB, 120, complexState, seed++, &rpsi, false, shape.filling);
                const int k = 2 * (int)kind + (complexState ? 1 : 0);
                const std::vector<ref::Range> ranges = {{{0, 1, 2}, 0, 1}};
                DeterminantRestrictionType R = ref::MakeRestriction(shape.NF, shape.NB, ranges);

                // A general operator: <psi|O O|psi>, also without storage.
                double re = 0, im = 0;
                const RefValue square = RefSquare(rop, rpsi);
                ASSERT_EQ(PsiOperatorSqrPsi(O, psi, &re, &im), 0);
                EXPECT_TRUE(Near(re, im, square));
                ASSERT_EQ(kSqr[k](O, psi, &re, &im), 0);
                EXPECT_TRUE(Near(re, im, square));
                ASSERT_EQ(PsiOperatorSqrPsiNoStorage(O, psi, &re, &im, nullptr), 0);
                EXPECT_TRUE(Near(re, im, square));
                const RefValue restricted = RefSquare(rop, rpsi, &ranges);
                ASSERT_EQ(PsiOperatorSqrPsiRestricted(O, psi, &re, &im, R), 0);
                EXPECT_TRUE(Near(re, im, restricted));
                ASSERT_EQ(PsiOperatorSqrPsiNoStorage(O, psi, &re, &im, &R), 0);
                EXPECT_TRUE(Near(re, im, restricted));

                // A Hermitian one: the squared norm of H psi.
                WaveFunctionType Hpsi;
                ASSERT_EQ(OperatorPsi(H, psi, &Hpsi), 0);
                double norm2 = 0.0;
                for (uint32_t i = 1; i <= Hpsi.N; i++) {
                    norm2 += WaveFunctionRe(Hpsi, i) * WaveFunctionRe(Hpsi, i);
                    if (Hpsi.QComplex) norm2 += WaveFunctionIm(Hpsi, i) * WaveFunctionIm(Hpsi, i);
                }
                WaveFunctionFree(&Hpsi);
                const RefValue hsquare = RefSquare(rherm, rpsi);
                EXPECT_NEAR(hsquare.value.real(), norm2, 1e-12 * (1 + hsquare.scale));
                ASSERT_EQ(PsiHermitianOperatorSqrPsi(H, psi, &re), 0);
                EXPECT_TRUE(Near(re, 0.0, hsquare));
                ASSERT_EQ(kHermitianSqr[k](H, psi, &re), 0);
                EXPECT_TRUE(Near(re, 0.0, hsquare));
                ASSERT_EQ(PsiHermitianOperatorSqrPsiRestricted(H, psi, &re, R), 0);
                EXPECT_TRUE(Near(re, 0.0, RefSquare(rherm, rpsi, &ranges)));

                FreeDeterminantRestriction(&R);
                WaveFunctionFree(&psi);
                FreeOperator(&O);
                FreeOperator(&H);
            }
        }
    }
}

TEST(ExpectationParallel, MatrixOverListsOfStates) {
    ref::RandomSettings r;
    r.kind = ref::Complex;
    ref::Op rop;
    OperatorType O = ref::RandomOperator(r, 900, &rop);
    ref::State rb[3], rk[2];
    WaveFunctionType bra[3], ket[2];
    for (int i = 0; i < 3; i++) bra[i] = ref::RandomState(10, 0, 150, i == 1, 901 + i, &rb[i]);
    for (int j = 0; j < 2; j++) ket[j] = ref::RandomState(10, 0, 150, false, 911 + j, &rk[j]);
    MatrixType M;
    ASSERT_EQ(PsiPrimeOperatorPsiMatrix(O, bra, 3, ket, 2, &M), 0);
    ASSERT_EQ(M.Ni, 3);
    ASSERT_EQ(M.Nj, 2);
    ASSERT_EQ(M.QComplex, 1);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 2; j++) EXPECT_TRUE(Near(M.Re[i][j], M.Im[i][j], RefBraKet(rop, rb[i], rk[j])));
    FreeMatrix(&M);
    ASSERT_EQ(PsiOperatorPsiMatrix(O, bra, 3, &M), 0);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) EXPECT_TRUE(Near(M.Re[i][j], M.Im[i][j], RefBraKet(rop, rb[i], rb[j])));
    FreeMatrix(&M);
    for (auto& b : bra) WaveFunctionFree(&b);
    for (auto& k : ket) WaveFunctionFree(&k);
    FreeOperator(&O);
}

}  // namespace
