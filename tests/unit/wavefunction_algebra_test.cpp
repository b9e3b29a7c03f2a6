// Wave-function algebra against references built on a plain std::map from
// determinant to complex prefactor: sums in the three basis relations, inner
// products, norms, scaling, truncation, restriction, random states, copies,
// common bases and orthogonalisation.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "base/random.h"
#include "host/luahost.h"
#include "manybody/wavefunction_algebra.h"

namespace {

using Det = std::vector<uint8_t>;
using Cplx = std::complex<double>;
using Ref = std::map<Det, Cplx>;

const uint32_t kNF = 40;  // five bytes, no padding bits

WaveFunctionType Empty(bool cplx, uint32_t nbits = 10) {
    WaveFunctionType psi;
    psi.QComplex = cplx ? 1 : 0;
    psi.NFermion = kNF;
    psi.NBoson = 0;
    psi.NBitsKey = nbits;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    return psi;
}

Det RandomDet(std::mt19937_64& rng) {
    Det d(5);
    for (auto& b : d) b = (uint8_t)rng();
    return d;
}

// A pool of determinants that several states draw from, so that their bases
// overlap in part.
std::vector<Det> Pool(size_t n, uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::vector<Det> pool;
    for (size_t k = 0; k < n; k++) pool.push_back(RandomDet(rng));
    return pool;
}

// A state of about count elements from the pool, with its reference.  Values
// are uniform in [-1, 1) (imaginary parts too when complex).
WaveFunctionType RandomState(const std::vector<Det>& pool, size_t count, bool cplx, uint64_t seed, Ref* ref) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    WaveFunctionType psi = Empty(cplx);
    ref->clear();
    for (size_t k = 0; k < count; k++) {
        const Det& d = pool[rng() % pool.size()];
        const double re = u(rng), im = cplx ? u(rng) : 0.0;
        if (cplx)
            ComplexWaveFunctionAddElement(&psi, d.data(), re, im);
        else
            RealWaveFunctionAddElement(&psi, d.data(), re);
        (*ref)[d] += Cplx(re, im);
    }
    return psi;
}

Cplx Value(const WaveFunctionType& psi, uint32_t i) {
    return Cplx(WaveFunctionRe(psi, i), psi.QComplex ? WaveFunctionIm(psi, i) : 0.0);
}

Ref ToRef(const WaveFunctionType& psi) {
    Ref r;
    for (uint32_t i = 1; i <= psi.N; i++) {
        const uint8_t* p = WaveFunctionDet(psi, i);
        r[Det(p, p + psi.NWord)] += Value(psi, i);
    }
    return r;
}

void ExpectStateIs(const WaveFunctionType& psi, const Ref& ref, double tol) {
    ASSERT_EQ(psi.N, ref.size());
    for (const auto& [d, v] : ref) {
        const uint32_t i = WaveFunctionIndexDet(&psi, d.data());
        ASSERT_NE(i, 0u);
        EXPECT_NEAR(std::abs(Value(psi, i) - v), 0.0, tol);
    }
}

Cplx RefDot(const Ref& a, const Ref& b) {
    Cplx s = 0.0;
    for (const auto& [d, v] : a) {
        auto it = b.find(d);
        if (it != b.end()) s += std::conj(v) * it->second;
    }
    return s;
}

Cplx Dot(const WaveFunctionType& a, const WaveFunctionType& b) {
    double re = 0, im = 0;
    EXPECT_EQ(WaveFunctionDotProduct(a, b, &re, &im), 0);
    return Cplx(re, im);
}

double Norm(const WaveFunctionType& psi) {
    double n = -1;
    WaveFunctionCalculateNorm(psi, &n);
    return n;
}

// ---- Sums -----------------------------------------------------------------------

// The union sum of two random states is the sum over the union of their
// determinants, for every pairing of kinds and every factor form, with the
// target's earlier elements in place and the new ones behind them.
TEST(WaveFunctionSum, UnionBasisIsTheSumOverAMap) {
    const auto pool = Pool(3000, 1);
    struct Case {
        bool aC, bC;
        Cplx c;
        int form;  // 0: plain, 1: real factor, 2: complex factor
    };
    const Case cases[] = {{false, false, 1.0, 0},          {false, false, -0.75, 1}, {true, true, 1.0, 0},
                          {true, true, Cplx(0.5, -2), 2},  {true, false, 2.5, 1},    {true, false, Cplx(0, 1), 2},
                          {false, true, Cplx(1, 0.5), 2},  {false, true, 1.0, 0},    {false, false, Cplx(0.5, 3), 2}};
    uint64_t seed = 10;
    for (const Case& c : cases) {
        Ref ra, rb;
        WaveFunctionType a = RandomState(pool, 2500, c.aC, seed++, &ra);
        WaveFunctionType b = RandomState(pool, 1800, c.bC, seed++, &rb);
        std::mt19937_64 rng(seed);
        WaveFunctionAddElement(&b, RandomDet(rng).data(), 0.0, 0.0);  // a zero element
        rb = ToRef(b);
        const uint32_t oldN = a.N;
        std::vector<Det> order;
        for (uint32_t i = 1; i <= a.N; i++) order.emplace_back(WaveFunctionDet(a, i), WaveFunctionDet(a, i) + 5);
        int rc = c.form == 0 ? WaveFunctionAddUnionBasis(&a, b)
                 : c.form == 1 ? WaveFunctionAddMultipliedUnionBasis(&a, b, c.c.real())
                               : WaveFunctionAddComplexMultipliedUnionBasis(&a, b, c.c.real(), c.c.imag());
        ASSERT_EQ(rc, 0);
        Ref expect = ra;
        for (const auto& [d, v] : rb) expect[d] += c.c * v;
        ExpectStateIs(a, expect, 1e-15);
        EXPECT_EQ(a.QComplex != 0, c.aC || c.bC || c.c.imag() != 0.0);
        for (uint32_t i = 1; i <= oldN; i++) EXPECT_EQ(0, memcmp(WaveFunctionDet(a, i), order[i - 1].data(), 5));
        WaveFunctionFree(&a);
        WaveFunctionFree(&b);
    }
}

// Where the source's basis lies in the target's, the three relations give the
// same numbers; ConserveBasis drops what lies outside the target's basis.
TEST(WaveFunctionSum, SameConserveAndUnionBasisAgree) {
    const auto pool = Pool(60000, 2);
    for (bool cplx : {false, true}) {
        Ref ra, rb;
        WaveFunctionType owner = RandomState(pool, 30000, cplx, 3, &ra);  // two blocks
        ASSERT_GE(owner.NBlok, 2u);
        WaveFunctionType b;
        ASSERT_EQ(WaveFunctionInitCopyBasis(&b, owner), 0);
        WaveFunctionType src = RandomState(pool, 20000, cplx, 4, &rb);
        ASSERT_EQ(WaveFunctionAddConserveBasis(&b, src), 0);  // b: src on owner's basis
        Ref bOnBasis;
        for (const auto& [d, v] : ra) bOnBasis[d] = rb.count(d) ? rb.at(d) : 0.0;
        ExpectStateIs(b, bOnBasis, 0.0);

        const Cplx c = cplx ? Cplx(0.3, -1.1) : Cplx(-1.7, 0);
        WaveFunctionType same, conserve, uni;
        ASSERT_EQ(WaveFunctionInitCopyBasis(&same, owner), 0);
        ASSERT_EQ(WaveFunctionAddSameBasis(same, owner), 0);
        ASSERT_EQ(WaveFunctionCopy(owner, &conserve), 0);
        ASSERT_EQ(WaveFunctionCopy(owner, &uni), 0);
        ASSERT_EQ(WaveFunctionAddComplexMultipliedSameBasis(same, b, c.real(), c.imag()), 0);
        ASSERT_EQ(WaveFunctionAddComplexMultipliedConserveBasis(&conserve, b, c.real(), c.imag()), 0);
        ASSERT_EQ(WaveFunctionAddComplexMultipliedUnionBasis(&uni, b, c.real(), c.imag()), 0);
        EXPECT_EQ(uni.N, owner.N);
        for (uint32_t i = 0; i <= owner.N; i++) {
            EXPECT_EQ(Value(same, i), Value(conserve, i)) << i;
            EXPECT_EQ(Value(same, i), Value(uni, i)) << i;
            EXPECT_NEAR(std::abs(Value(same, i) - (Value(owner, i) + c * Value(b, i))), 0.0, 1e-15);
        }

        // Conserve with the foreign source: only the target's determinants.
        WaveFunctionType conserve2;
        ASSERT_EQ(WaveFunctionCopy(owner, &conserve2), 0);
        ASSERT_EQ(WaveFunctionAddMultipliedConserveBasis(&conserve2, src, 2.0), 0);
        Ref expect = ra;
        for (auto& [d, v] : expect)
            if (rb.count(d)) v += 2.0 * rb.at(d);
        ExpectStateIs(conserve2, expect, 1e-15);

        WaveFunctionFreeValues(&same);
        WaveFunctionFreeValues(&b);
        for (WaveFunctionType* p : {&conserve, &uni, &conserve2, &src, &owner}) WaveFunctionFree(p);
    }
}

TEST(WaveFunctionSum, SameBasisOnEmptyStatesAndItsPreconditions) {
    WaveFunctionType a = Empty(false), b;
    ASSERT_EQ(WaveFunctionInitCopyBasis(&b, a), 0);
    EXPECT_EQ(RealWaveFunctionAddMultipliedSameBasis(a, b, 3.0), 0);
    EXPECT_EQ(a.N, 0u);
    EXPECT_EQ(WaveFunctionRe(a, 0), 0.0);
    // Another basis, or a real target for a complex result, is refused.
    WaveFunctionType other = Empty(false), c = Empty(true);
    testing::internal::CaptureStdout();
    EXPECT_EQ(WaveFunctionAddSameBasis(a, other), 1);
    EXPECT_EQ(WaveFunctionAddComplexMultipliedSameBasis(a, b, 1.0, 1.0), 1);
    EXPECT_EQ(RealWaveFunctionAddConserveBasis(&a, c), 1);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("WaveFunctionAddSameBasis called with functions that do not share one basis"),
              std::string::npos);
    WaveFunctionFreeValues(&b);
    for (WaveFunctionType* p : {&a, &other, &c}) WaveFunctionFree(p);
}

// Blocks: member j of the target gets member j of the source, and the matrix
// form takes combinations.
TEST(WaveFunctionSum, BlockUnionAddsMatchMaps) {
    const auto pool = Pool(2000, 5);
    for (bool cplx : {false, true}) {
        Ref r0, r1, s0, s1;
        WaveFunctionType a[2], b[2];
        a[0] = RandomState(pool, 900, cplx, 6, &r0);
        ASSERT_EQ(WaveFunctionInitCopyBasis(&a[1], a[0]), 0);
        WaveFunctionType t = RandomState(pool, 900, cplx, 7, &r1);
        WaveFunctionAddConserveBasis(&a[1], t);
        r1 = ToRef(a[1]);
        b[0] = RandomState(pool, 700, false, 8, &s0);
        ASSERT_EQ(WaveFunctionInitCopyBasis(&b[1], b[0]), 0);
        WaveFunctionType u = RandomState(pool, 700, false, 9, &s1);
        WaveFunctionAddConserveBasis(&b[1], u);
        s1 = ToRef(b[1]);

        const double x[4] = {0.5, -2.0, 1.5, 0.25}, y[4] = {1.0, 0.0, -0.5, 2.0};
        int rc = cplx ? ComplexBlockWaveFunctionAddMultipliedUnionBasis(a, 2, b, 2, x, y)
                      : RealBlockWaveFunctionAddMultipliedUnionBasis(a, 2, b, 2, x);
        ASSERT_EQ(rc, 0);
        auto coef = [&](int k) { return cplx ? Cplx(x[k], y[k]) : Cplx(x[k], 0); };
        Ref e0 = r0, e1 = r1;
        for (auto* e : {&e0, &e1})
            for (const auto& [d, v] : s0) (*e)[d] += 0.0 * v;  // the union of both bases
        for (const auto& [d, v] : s1) e0[d] += 0.0 * v, e1[d] += 0.0 * v;
        for (const auto& [d, v] : s0) e0[d] += coef(0) * v, e1[d] += coef(2) * v;
        for (const auto& [d, v] : s1) e0[d] += coef(1) * v, e1[d] += coef(3) * v;
        ExpectStateIs(a[0], e0, 1e-14);
        ExpectStateIs(a[1], e1, 1e-14);
        EXPECT_EQ(a[1].KeyList, a[0].KeyList);
        EXPECT_EQ(a[1].N, a[0].N);

        rc = cplx ? ComplexBlockWaveFunctionAddUnionBasis(a, b, 2) : RealBlockWaveFunctionAddUnionBasis(a, b, 2);
        ASSERT_EQ(rc, 0);
        for (const auto& [d, v] : s0) e0[d] += v;
        for (const auto& [d, v] : s1) e1[d] += v;
        ExpectStateIs(a[0], e0, 1e-14);
        ExpectStateIs(a[1], e1, 1e-14);
        BlockWaveFunctionFree(a, 2);
        BlockWaveFunctionFree(b, 2);
        WaveFunctionFree(&t);
        WaveFunctionFree(&u);
    }
}

// ---- Inner products and norms -------------------------------------------------------

TEST(WaveFunctionDot, AgreesWithTheMapAndIsConjugateLinearInTheFirstArgument) {
    const auto pool = Pool(3000, 11);
    Ref ra, rb, rc;
    WaveFunctionType a = RandomState(pool, 2500, true, 12, &ra);
    WaveFunctionType b = RandomState(pool, 400, false, 13, &rb);  // the smaller one
    WaveFunctionType c = RandomState(pool, 1500, true, 14, &rc);
    for (auto [x, y, rx, ry] : {std::tuple{&a, &b, &ra, &rb}, {&b, &a, &rb, &ra}, {&a, &c, &ra, &rc},
                                {&c, &b, &rc, &rb}}) {
        const Cplx ref = RefDot(*rx, *ry);
        EXPECT_NEAR(std::abs(Dot(*x, *y) - ref), 0.0, 1e-12);
        Complex16 z = ComplexWaveFunctionDotProduct(x, y);
        EXPECT_NEAR(std::abs(Cplx(z.re, z.im) - ref), 0.0, 1e-12);
    }
    EXPECT_NEAR(std::abs(Dot(a, c) - std::conj(Dot(c, a))), 0.0, 1e-12);

    // <alpha a + beta b | c> = conj(alpha) <a|c> + conj(beta) <b|c>
    const Cplx alpha(0.7, -1.3), beta(-0.4, 2.2);
    WaveFunctionType s = Empty(false);
    ASSERT_EQ(WaveFunctionAddComplexMultipliedUnionBasis(&s, a, alpha.real(), alpha.imag()), 0);
    ASSERT_EQ(WaveFunctionAddComplexMultipliedUnionBasis(&s, b, beta.real(), beta.imag()), 0);
    const Cplx lhs = Dot(s, c);
    const Cplx rhs = std::conj(alpha) * RefDot(ra, rc) + std::conj(beta) * RefDot(rb, rc);
    EXPECT_NEAR(std::abs(lhs - rhs), 0.0, 1e-11);
    // and linear in the second
    EXPECT_NEAR(std::abs(Dot(c, s) - std::conj(rhs)), 0.0, 1e-11);

    // Real forms on real states.
    Ref rd;
    WaveFunctionType d = RandomState(pool, 2000, false, 15, &rd);
    EXPECT_NEAR(RealWaveFunctionDotProduct(&b, &d), RefDot(rb, rd).real(), 1e-12);
    EXPECT_NEAR(RealWaveFunctionDotProduct(&d, &b), RefDot(rb, rd).real(), 1e-12);
    for (WaveFunctionType* p : {&a, &b, &c, &s, &d}) WaveFunctionFree(p);
}

TEST(WaveFunctionDot, DisjointBasesGiveZero) {
    const auto pool = Pool(2000, 16);
    std::vector<Det> first(pool.begin(), pool.begin() + 1000), second(pool.begin() + 1000, pool.end());
    Ref ra, rb;
    WaveFunctionType a = RandomState(first, 800, true, 17, &ra);
    WaveFunctionType b = RandomState(second, 800, true, 18, &rb);
    EXPECT_EQ(Dot(a, b), Cplx(0.0, 0.0));
    WaveFunctionFree(&a);
    WaveFunctionFree(&b);
}

TEST(WaveFunctionDot, SameBasisPairsBlocksAsTheLookupsDo) {
    const auto pool = Pool(40000, 19);
    Ref ra, rb;
    WaveFunctionType a = RandomState(pool, 40000, true, 20, &ra);
    ASSERT_GE(a.NBlok, 2u);
    WaveFunctionType b, src = RandomState(pool, 30000, false, 21, &rb);
    ASSERT_EQ(WaveFunctionInitCopyBasis(&b, a), 0);
    ASSERT_EQ(PromoteRealWaveFunctionToComplex(&b), 0);  // b's own value blocks
    WaveFunctionAddConserveBasis(&b, src);
    WaveFunctionConjugate(b);  // nothing to conjugate yet: imaginary parts are 0
    ASSERT_EQ(WaveFunctionMultiply(&b, 0.0, 1.0), 0);  // b := i b
    double re, im;
    ASSERT_EQ(WaveFunctionDotProductSameBasis(a, b, &re, &im), 0);
    const Cplx lookups = Dot(a, b);
    EXPECT_NEAR(std::abs(Cplx(re, im) - lookups), 0.0, 1e-10);
    EXPECT_NEAR(std::abs(lookups - Cplx(0, 1) * RefDot(ra, rb)), 0.0, 1e-10);
    WaveFunctionFreeValues(&b);
    WaveFunctionFree(&a);
    WaveFunctionFree(&src);
}

TEST(WaveFunctionNorm, NormsNormalisationAndScaling) {
    const auto pool = Pool(3000, 22);
    for (bool cplx : {false, true}) {
        Ref r;
        WaveFunctionType a = RandomState(pool, 2000, cplx, 23, &r);
        double sum = 0;
        for (const auto& [d, v] : r) sum += std::norm(v);
        double n2;
        WaveFunctionCalculateNormSqr(a, &n2);
        EXPECT_NEAR(n2, sum, 1e-11);
        EXPECT_NEAR(Norm(a), std::sqrt(sum), 1e-12);
        EXPECT_NEAR(cplx ? ComplexWaveFunctionCalculateNorm(a) : RealWaveFunctionCalculateNorm(a), std::sqrt(sum),
                    1e-12);
        ASSERT_EQ(WaveFunctionNormalize(&a), 0);
        EXPECT_NEAR(Norm(a), 1.0, 1e-14);
        for (auto& [d, v] : r) v /= std::sqrt(sum);
        ExpectStateIs(a, r, 1e-15);

        // Scaling: a real factor keeps the kind, a complex one promotes.
        ASSERT_EQ(WaveFunctionMultiply(&a, -2.0, 0.0), 0);
        EXPECT_EQ(a.QComplex != 0, cplx);
        ASSERT_EQ(WaveFunctionMultiply(&a, 0.0, 0.5), 0);
        EXPECT_EQ(a.QComplex, 1u);
        for (auto& [d, v] : r) v *= Cplx(0.0, -1.0);
        ExpectStateIs(a, r, 1e-15);
        WaveFunctionConjugate(a);
        for (auto& [d, v] : r) v = std::conj(v);
        ExpectStateIs(a, r, 1e-15);
        EXPECT_EQ(WaveFunctionRe(a, 0), 0.0);
        WaveFunctionFree(&a);
    }
    WaveFunctionType zero = Empty(false);
    testing::internal::CaptureStdout();
    EXPECT_EQ(WaveFunctionNormalize(&zero), 1);
    EXPECT_EQ(RealWaveFunctionRandomize(zero), 1);
    testing::internal::GetCapturedStdout();
    WaveFunctionFree(&zero);
}

TEST(WaveFunctionNorm, MahanDotOfArrays) {
    std::vector<double> a, b;
    for (unsigned n = 0; n < 11; n++) {
        double ref = 0;
        for (unsigned k = 0; k < n; k++) ref += a[k] * b[k];
        EXPECT_DOUBLE_EQ(RealVectorDotVectorMahan(a.data(), b.data(), n), ref);
        a.push_back(n + 1.5);
        b.push_back(3.0 - n);
    }
}

// ---- Truncation and restriction ---------------------------------------------------------

TEST(WaveFunctionTruncate, KeepsExactlyTheLargeValuesInStorageOrder) {
    const auto pool = Pool(60000, 24);
    for (bool cplx : {false, true}) {
        Ref r;
        WaveFunctionType a = RandomState(pool, 50000, cplx, 25, &r);
        ASSERT_GE(a.NBlok, 3u);
        const double eps = 0.6;
        std::vector<Det> order;
        for (uint32_t i = 1; i <= a.N; i++) {
            if (std::abs(Value(a, i)) > eps) order.emplace_back(WaveFunctionDet(a, i), WaveFunctionDet(a, i) + 5);
        }
        Ref kept;
        for (const auto& [d, v] : r)
            if (std::abs(v) > eps) kept[d] = v;
        ASSERT_EQ(cplx ? WaveFunctionTruncateBasisDisallowComplexToReal(&a, eps) : RealWaveFunctionTruncateBasis(&a, eps),
                  0);
        ExpectStateIs(a, kept, 0.0);
        EXPECT_EQ(a.QComplex != 0, cplx);
        EXPECT_EQ(a.NBlok, (a.N >> 14) + 1);
        for (uint32_t i = 1; i <= a.N; i++) EXPECT_EQ(0, memcmp(WaveFunctionDet(a, i), order[i - 1].data(), 5));
        for (const auto& [d, v] : r)
            if (std::abs(v) <= eps) {
                EXPECT_EQ(WaveFunctionIndexDet(&a, d.data()), 0u);
            }

        // Above every value: nothing is left, in one block.
        ASSERT_EQ(WaveFunctionTruncateBasis(&a, 10.0), 0);
        EXPECT_EQ(a.N, 0u);
        EXPECT_EQ(a.NBlok, 1u);
        for (const auto& [d, v] : kept) EXPECT_EQ(WaveFunctionIndexDet(&a, d.data()), 0u);
        // The state is still usable.
        ASSERT_EQ(RealWaveFunctionAddElement(&a, pool[0].data(), 1.0), 0);
        EXPECT_EQ(WaveFunctionIndexDet(&a, pool[0].data()), 1u);
        WaveFunctionFree(&a);
    }
}

TEST(WaveFunctionTruncate, SmallImaginaryPartsMakeTheStateRealOnlyWhenAllowed) {
    const auto pool = Pool(3000, 26);
    Ref r;
    WaveFunctionType a = RandomState(pool, 2000, false, 27, &r);
    ASSERT_EQ(PromoteRealWaveFunctionToComplex(&a), 0);
    for (uint32_t i = 1; i <= a.N; i++) WaveFunctionIm(a, i) = 1e-9 * (i % 7);
    WaveFunctionType b, c;
    ASSERT_EQ(WaveFunctionCopy(a, &b), 0);
    ASSERT_EQ(WaveFunctionCopy(a, &c), 0);
    const double eps = 1e-6;
    Ref kept;
    for (const auto& [d, v] : r)
        if (std::abs(v) > eps) kept[d] = v;

    ASSERT_EQ(ComplexWaveFunctionTruncateBasisAllowReal(&a, eps), 0);
    EXPECT_EQ(a.QComplex, 0u);
    EXPECT_EQ(a.ValueIm, nullptr);
    ExpectStateIs(a, kept, 1e-8);
    ASSERT_EQ(WaveFunctionTruncateBasisDisallowComplexToReal(&b, eps), 0);
    EXPECT_EQ(b.QComplex, 1u);
    ExpectStateIs(b, kept, 1e-8);
    ASSERT_EQ(WaveFunctionTruncateBasis(&c, eps), 0);  // the general form allows
    EXPECT_EQ(c.QComplex, 0u);

    // One large imaginary part keeps the state complex.
    WaveFunctionIm(b, 1) = 0.5;
    ASSERT_EQ(ComplexWaveFunctionTruncateBasisAllowReal(&b, eps), 0);
    EXPECT_EQ(b.QComplex, 1u);

    // The norm form looks at the imaginary parts as a whole.
    ASSERT_EQ(MakeComplexFunctionRealWhenNormSmall(&b, 0.4), 0);
    EXPECT_EQ(b.QComplex, 1u);
    WaveFunctionIm(b, 1) = 0.0;
    ASSERT_EQ(MakeComplexFunctionRealWhenNormSmall(&b, 1e-4), 0);
    EXPECT_EQ(b.QComplex, 0u);
    for (WaveFunctionType* p : {&a, &b, &c}) WaveFunctionFree(p);
}

TEST(WaveFunctionTruncate, BlockTruncationKeepsWhatAnyMemberNeeds) {
    const auto pool = Pool(3000, 28);
    Ref r0, r1;
    WaveFunctionType a[2];
    a[0] = RandomState(pool, 2000, false, 29, &r0);
    ASSERT_EQ(WaveFunctionInitCopyBasis(&a[1], a[0]), 0);
    WaveFunctionType t = RandomState(pool, 2000, false, 30, &r1);
    WaveFunctionAddConserveBasis(&a[1], t);
    r1 = ToRef(a[1]);
    const double eps = 0.8;
    Ref e0, e1;
    for (const auto& [d, v] : r0) {
        if (std::abs(v) > eps || std::abs(r1.at(d)) > eps) e0[d] = v, e1[d] = r1.at(d);
    }
    ASSERT_EQ(BlockWaveFunctionTruncateBasis(a, 2, eps), 0);
    ExpectStateIs(a[0], e0, 0.0);
    ExpectStateIs(a[1], e1, 0.0);
    BlockWaveFunctionFree(a, 2);
    WaveFunctionFree(&t);
}

// The restriction: modes 0..9 (bytes 0 and the first two bits of byte 1)
// must hold 3 to 5 electrons.  Counted here bit by bit.
bool Allowed(const Det& d) {
    int n = 0;
    for (int m = 0; m < 10; m++) n += (d[m / 8] >> (7 - m % 8)) & 1;
    return n >= 3 && n <= 5;
}

TEST(WaveFunctionRestrict, KeepsExactlyTheAllowedDeterminants) {
    uint8_t mask[5] = {0xFF, 0xC0, 0, 0, 0};
    uint8_t* masks[1] = {mask};
    uint32_t lo = 3, hi = 5;
    DeterminantRestrictionType R{1, &lo, &hi, masks};
    const auto pool = Pool(30000, 31);
    for (bool cplx : {false, true}) {
        Ref r;
        WaveFunctionType a = RandomState(pool, 25000, cplx, 32, &r);
        Ref kept;
        for (const auto& [d, v] : r)
            if (Allowed(d)) kept[d] = v;
        ASSERT_GT(kept.size(), 1000u);
        ASSERT_LT(kept.size(), r.size() - 1000);
        ASSERT_EQ(WaveFunctionRestrict(&a, R), 0);
        ExpectStateIs(a, kept, 0.0);
        EXPECT_EQ(a.NBlok, (a.N >> 14) + 1);
        WaveFunctionFree(&a);
    }
    // The block form.
    Ref r0, r1;
    WaveFunctionType b[2];
    b[0] = RandomState(pool, 5000, true, 33, &r0);
    ASSERT_EQ(WaveFunctionInitCopyBasis(&b[1], b[0]), 0);
    ASSERT_EQ(WaveFunctionAddSameBasis(b[1], b[0]), 0);
    ASSERT_EQ(BlockWaveFunctionRestrict(b, 2, R), 0);
    Ref kept;
    for (const auto& [d, v] : r0)
        if (Allowed(d)) kept[d] = v;
    ExpectStateIs(b[0], kept, 0.0);
    ExpectStateIs(b[1], kept, 0.0);
    BlockWaveFunctionFree(b, 2);
}

// ---- Random states, copies and kinds ----------------------------------------------------

TEST(WaveFunctionRandomize, UnitNormOnTheSameBasis) {
    const auto pool = Pool(30000, 34);
    for (bool cplx : {false, true}) {
        Ref r;
        WaveFunctionType a = RandomState(pool, 20000, cplx, 35, &r);
        WaveFunctionType before;
        ASSERT_EQ(WaveFunctionCopy(a, &before), 0);
        ksvsrand(5);
        ASSERT_EQ(cplx ? WaveFunctionRandomize(&a) : RealWaveFunctionRandomize(a), 0);
        EXPECT_NEAR(Norm(a), 1.0, 1e-14);
        ASSERT_EQ(a.N, before.N);
        int changed = 0, imaginary = 0;
        for (uint32_t i = 1; i <= a.N; i++) {
            ASSERT_EQ(0, memcmp(WaveFunctionDet(a, i), WaveFunctionDet(before, i), 5));
            changed += Value(a, i) != Value(before, i);
            imaginary += Value(a, i).imag() != 0.0;
        }
        EXPECT_GT(changed, (int)a.N - 10);
        EXPECT_EQ(imaginary > 0, cplx);
        EXPECT_EQ(WaveFunctionRe(a, 0), 0.0);
        WaveFunctionFree(&a);
        WaveFunctionFree(&before);
    }
}

TEST(WaveFunctionCopy, DeepCopyIsIndependentAndKindsConvert) {
    const auto pool = Pool(30000, 36);
    Ref r;
    WaveFunctionType a = RandomState(pool, 20000, true, 37, &r);
    strcpy(a.Name, "psi");
    WaveFunctionType b;
    ASSERT_EQ(WaveFunctionCopy(a, &b), 0);
    EXPECT_STREQ(b.Name, "psi");
    EXPECT_NE(b.KeyList, a.KeyList);
    ExpectStateIs(b, r, 0.0);
    std::mt19937_64 rng(1);
    ASSERT_EQ(WaveFunctionAddElement(&a, RandomDet(rng).data(), 1.0, 0.0), 0);
    ASSERT_EQ(WaveFunctionMultiply(&a, 2.0, 0.0), 0);
    ExpectStateIs(b, r, 0.0);  // untouched by changes of a
    // Demotion drops the imaginary parts, promotion adds zero ones.
    ASSERT_EQ(MakeRealWaveFunctionFromComplex(b, &b), 0);
    EXPECT_EQ(b.QComplex, 0u);
    Ref real;
    for (const auto& [d, v] : r) real[d] = v.real();
    ExpectStateIs(b, real, 0.0);
    ASSERT_EQ(MakeComplexWaveFunctionFromReal(&b, b), 0);
    EXPECT_EQ(b.QComplex, 1u);
    ExpectStateIs(b, real, 0.0);
    WaveFunctionFree(&a);
    WaveFunctionFree(&b);

    WaveFunctionType blk[2];
    blk[0] = Empty(false);
    ASSERT_EQ(WaveFunctionInitCopyBasis(&blk[1], blk[0]), 0);
    ASSERT_EQ(MakeComplexBlockWaveFunctionFromReal(blk, 2), 0);
    EXPECT_EQ(blk[0].QComplex + blk[1].QComplex, 2u);
    BlockWaveFunctionFree(blk, 2);
}

TEST(WaveFunctionCommonBasis, ArrayToSameBasisKeepsValuesAndKinds) {
    const auto pool = Pool(20000, 38);
    Ref r[3];
    WaveFunctionType list[3];
    list[0] = RandomState(pool, 9000, false, 39, &r[0]);
    list[1] = RandomState(pool, 12000, true, 40, &r[1]);
    list[2] = RandomState(pool, 300, false, 41, &r[2]);
    strcpy(list[1].Name, "second");
    ASSERT_EQ(WaveFunctionArrayToSameBasis(list, 3), 0);
    std::map<Det, int> all;
    for (auto& ref : r)
        for (const auto& [d, v] : ref) all[d] = 1;
    for (int k = 0; k < 3; k++) {
        EXPECT_EQ(list[k].KeyList, list[0].KeyList);
        EXPECT_EQ(list[k].N, all.size());
        EXPECT_EQ(list[k].QComplex, k == 1 ? 1u : 0u);
        Ref expect;
        for (const auto& [d, one] : all) expect[d] = r[k].count(d) ? r[k].at(d) : 0.0;
        ExpectStateIs(list[k], expect, 0.0);
    }
    EXPECT_STREQ(list[1].Name, "second");
    // Already on one basis: a second call rebuilds it and frees the old one.
    ASSERT_EQ(WaveFunctionArrayToSameBasis(list, 3), 0);
    EXPECT_EQ(list[2].KeyList, list[0].KeyList);
    BlockWaveFunctionFree(list, 3);
}

// ---- Orthogonalisation ---------------------------------------------------------------------

void ExpectOrthonormal(const WaveFunctionType* list, unsigned int n) {
    for (unsigned i = 0; i < n; i++)
        for (unsigned j = 0; j < n; j++) {
            const Cplx s = Dot(list[i], list[j]);
            EXPECT_NEAR(std::abs(s - (i == j ? 1.0 : 0.0)), 0.0, 1e-13) << i << " " << j;
        }
}

// Every original state lies in the span of the new ones.
void ExpectSpans(const WaveFunctionType* list, unsigned int n, const std::vector<Ref>& originals) {
    for (const Ref& o : originals) {
        Ref rest = o;
        for (unsigned j = 0; j < n; j++) {
            const Ref q = ToRef(list[j]);
            const Cplx s = RefDot(q, o);
            for (const auto& [d, v] : q) rest[d] -= s * v;
        }
        double left = 0;
        for (const auto& [d, v] : rest) left += std::norm(v);
        EXPECT_LT(std::sqrt(left), 1e-10);
    }
}

TEST(WaveFunctionOrthogonalize, OneStateAgainstAListInEveryRelation) {
    const auto pool = Pool(3000, 42);
    Ref r[3];
    WaveFunctionType q[2];
    q[0] = RandomState(pool, 1500, true, 43, &r[0]);
    q[1] = RandomState(pool, 1500, false, 44, &r[1]);
    ASSERT_EQ(WaveFunctionListOrthogonalize(q, 2, 0.0, nullptr), 0);
    ExpectOrthonormal(q, 2);
    for (int relation = 0; relation < 3; relation++) {
        WaveFunctionType a = RandomState(pool, 2000, false, 45, &r[2]);
        // For ConserveBasis the list must lie in a's basis; the union add
        // grows a to that.
        if (relation == 1) {
            for (auto& s : q) ASSERT_EQ(WaveFunctionAddMultipliedUnionBasis(&a, s, 0.0), 0);
        }
        const uint32_t n0 = a.N;
        WaveFunctionType onBasis[2];
        int rc;
        if (relation == 0) {
            rc = WaveFunctionOrthogonalize(&a, q, 2);
        } else if (relation == 1) {
            rc = WaveFunctionOrthogonalizeConserveBasis(&a, q, 2);
        } else {  // the list on a's basis
            for (int k = 0; k < 2; k++) {
                ASSERT_EQ(WaveFunctionInitCopyBasis(&onBasis[k], a), 0);
                ASSERT_EQ(WaveFunctionAddConserveBasis(&onBasis[k], q[k]), 0);
            }
            ASSERT_EQ(WaveFunctionListOrthogonalizeSameBasis(onBasis, 2, 0.0, nullptr), 0);
            rc = WaveFunctionOrthogonalizeSameBasis(&a, onBasis, 2);
        }
        ASSERT_EQ(rc, 0);
        EXPECT_EQ(a.QComplex, 1u);  // promoted: q[0] is complex
        const WaveFunctionType* against = relation == 2 ? onBasis : q;
        for (int k = 0; k < 2; k++) EXPECT_NEAR(std::abs(Dot(against[k], a)), 0.0, 1e-13) << relation;
        if (relation != 0) {
            EXPECT_EQ(a.N, n0);
        }
        if (relation == 2)
            for (auto& s : onBasis) WaveFunctionFreeValues(&s);
        WaveFunctionFree(&a);
    }
    WaveFunctionFree(&q[0]);
    WaveFunctionFree(&q[1]);
}

// Gram-Schmidt and the overlap-matrix forms, on own, shared and different
// bases, real and complex, with one dependent state in the list.
TEST(WaveFunctionOrthogonalize, ListsBecomeOrthonormalAndSpanTheOriginals) {
    const auto pool = Pool(2500, 46);
    for (int method = 0; method < 3; method++) {
        for (bool cplx : {false, true}) {
            const unsigned n = 5;
            WaveFunctionType list[n];
            std::vector<Ref> refs(n);
            for (unsigned k = 0; k < 4; k++) list[k] = RandomState(pool, 1500, cplx, 50 + k, &refs[k]);
            // The fifth is 2 psi_0 - psi_2: dependent.
            list[4] = Empty(false);
            WaveFunctionAddMultipliedUnionBasis(&list[4], list[0], 2.0);
            WaveFunctionAddMultipliedUnionBasis(&list[4], list[2], -1.0);
            refs[4] = ToRef(list[4]);
            unsigned kept = 99;
            int rc = 1;
            if (method == 0) {
                rc = WaveFunctionListOrthogonalize(list, n, 1e-10, &kept);
            } else if (method == 1) {
                rc = WaveFunctionListOrthogonalizeDifferentBasis(list, n, 1e-10, &kept);
            } else {
                ASSERT_EQ(WaveFunctionArrayToSameBasis(list, n), 0);
                rc = WaveFunctionListOrthogonalizeSameBasis(list, n, 1e-10, &kept);
            }
            ASSERT_EQ(rc, 0);
            EXPECT_EQ(kept, 4u);
            ExpectOrthonormal(list, kept);
            EXPECT_EQ(Norm(list[4]), 0.0);
            ExpectSpans(list, kept, refs);
            if (method == 0)
                for (auto& s : list) WaveFunctionFree(&s);
            else
                BlockWaveFunctionFree(list, n);
        }
    }
}

}  // namespace
