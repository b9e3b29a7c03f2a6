// Lists of poles: evaluation against direct sums, the exact neighbour rules
// of reduction, conservation laws of the reductions, the chemical potential
// and the list arithmetic.
#include <gtest/gtest.h>
#include <omp.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "response/listofpoles.h"

namespace {

struct Pole {
    double a;
    double b;
};

// A list that frees itself.
struct Poles {
    ListOfPoles L;
    Poles(const std::vector<Pole>& p, double a0 = 0.0) {
        L.N = static_cast<uint32_t>(p.size());
        if (L.N == 0) {
            L.a = L.b = nullptr;
            L.a0 = L.mu = 0.0;
            snprintf(L.Name, sizeof(L.Name), "empty");
        } else {
            EXPECT_EQ(InitListOfPoles(&L), 0);
        }
        for (size_t i = 0; i < p.size(); i++) {
            L.a[i] = p[i].a;
            L.b[i] = p[i].b;
        }
        L.a0 = a0;
    }
    ~Poles() { FreeListOfPoles(&L); }
    std::vector<Pole> Get() const {
        std::vector<Pole> p;
        for (uint32_t i = 0; i < L.N; i++) p.push_back({L.a[i], L.b[i]});
        return p;
    }
};

std::vector<Pole> RandomPoles(std::mt19937& rng, int n) {
    std::uniform_real_distribution<double> e(-5.0, 5.0);
    std::uniform_real_distribution<double> w(0.01, 1.0);
    std::vector<Pole> p;
    for (int i = 0; i < n; i++) p.push_back({e(rng), w(rng)});
    return p;
}

double Weight(const ListOfPoles& L) {
    double s = 0.0;
    for (uint32_t i = 0; i < L.N; i++) s += L.b[i];
    return s;
}

double FirstMoment(const ListOfPoles& L) {
    double s = 0.0;
    for (uint32_t i = 0; i < L.N; i++) s += L.a[i] * L.b[i];
    return s;
}

bool Sorted(const ListOfPoles& L) {
    for (uint32_t i = 1; i < L.N; i++)
        if (L.a[i] < L.a[i - 1]) return false;
    return true;
}

// Exact sum in long double, one pole at a time.
void Reference(const ListOfPoles& L, double w, double gamma, double* re, double* im) {
    long double r = L.a0;
    long double m = 0.0L;
    long double g = 0.5L * gamma;
    for (uint32_t i = 0; i < L.N; i++) {
        long double d = static_cast<long double>(w) - L.a[i];
        long double den = d * d + g * g;
        r += L.b[i] * d / den;
        m -= L.b[i] * g / den;
    }
    *re = static_cast<double>(r);
    *im = static_cast<double>(m);
}

}  // namespace

TEST(ListOfPolesEvaluate, RetardedLorentzianWithFullWidth) {
    Poles p({{1.0, 2.0}}, 0.5);
    // At the pole the value is a0 - i b / (gamma/2).
    Complex16 g = EvaluateListOfPoles(p.L, 1.0, 0.4);
    EXPECT_DOUBLE_EQ(g.re, 0.5);
    EXPECT_DOUBLE_EQ(g.im, -2.0 / 0.2);
    // Half a width away the imaginary part has fallen to one half.
    Complex16 h = EvaluateListOfPoles(p.L, 1.2, 0.4);
    EXPECT_DOUBLE_EQ(h.im, 0.5 * g.im);
    EXPECT_DOUBLE_EQ(h.re, 0.5 + 2.0 * 0.2 / (0.04 + 0.04));
}

TEST(ListOfPolesReduce, TwoPolesBecomeOneAtTheWeightedMean) {
    Poles p({{3.0, 1.0}, {-1.0, 3.0}});
    ASSERT_EQ(ReduceListOfPolesNumber(&p.L, 1), 0);
    ASSERT_EQ(p.L.N, 1u);
    EXPECT_DOUBLE_EQ(p.L.b[0], 4.0);
    EXPECT_DOUBLE_EQ(p.L.a[0], 0.0);
}

TEST(ListOfPolesReduce, MiddlePoleSharesByDistance) {
    Poles p({{0.0, 1.0}, {1.0, 0.5}, {3.0, 1.0}});
    ReduceListOfPolesNumber(&p.L, 2);
    ASSERT_EQ(p.L.N, 2u);
    // Lower neighbour takes 0.5 * 2/3, upper 0.5 * 1/3.
    EXPECT_DOUBLE_EQ(p.L.b[0], 4.0 / 3.0);
    EXPECT_DOUBLE_EQ(p.L.a[0], 0.25);
    EXPECT_DOUBLE_EQ(p.L.b[1], 7.0 / 6.0);
    EXPECT_DOUBLE_EQ(p.L.a[1], 19.0 / 7.0);
}

TEST(ListOfPolesReduce, PoleOnItsLowerNeighbourGivesAllToTheUpper) {
    const double tiny = 1.0 + DBL_EPSILON;
    Poles p({{1.0, 1.0}, {tiny, 0.5}, {3.0, 1.0}});
    ReduceListOfPolesNumber(&p.L, 2);
    ASSERT_EQ(p.L.N, 2u);
    EXPECT_EQ(p.L.a[0], 1.0);
    EXPECT_EQ(p.L.b[0], 1.0);
    EXPECT_DOUBLE_EQ(p.L.b[1], 1.5);
    EXPECT_DOUBLE_EQ(p.L.a[1], (3.0 + tiny * 0.5) / 1.5);
}

TEST(ListOfPolesReduce, PoleOnItsUpperNeighbourGivesAllToTheLower) {
    const double nearUpper = 3.0 - 2 * DBL_EPSILON;
    Poles p({{1.0, 1.0}, {nearUpper, 0.5}, {3.0, 1.0}});
    ReduceListOfPolesNumber(&p.L, 2);
    ASSERT_EQ(p.L.N, 2u);
    EXPECT_DOUBLE_EQ(p.L.b[0], 1.5);
    EXPECT_DOUBLE_EQ(p.L.a[0], (1.0 + nearUpper * 0.5) / 1.5);
    EXPECT_EQ(p.L.a[1], 3.0);
    EXPECT_EQ(p.L.b[1], 1.0);
}

TEST(ListOfPolesReduce, NeighboursBothWithinRoundingShareHalves) {
    const double e = 1.0;
    Poles p({{e, 1.0}, {e + DBL_EPSILON, 0.5}, {e + 2 * DBL_EPSILON, 1.0}});
    ReduceListOfPolesNumber(&p.L, 2);
    ASSERT_EQ(p.L.N, 2u);
    EXPECT_DOUBLE_EQ(p.L.b[0], 1.25);
    EXPECT_DOUBLE_EQ(p.L.b[1], 1.25);
}

TEST(ListOfPolesReduce, ZeroWeightIsDroppedWithoutChangingTheOthers) {
    Poles p({{0.0, 1.0}, {1.0, 0.0}, {2.0, 0.7}});
    ReduceListOfPolesNumber(&p.L, 2);
    ASSERT_EQ(p.L.N, 2u);
    EXPECT_EQ(p.L.a[0], 0.0);
    EXPECT_EQ(p.L.b[0], 1.0);
    EXPECT_EQ(p.L.a[1], 2.0);
    EXPECT_EQ(p.L.b[1], 0.7);
}

TEST(ListOfPolesReduce, EdgePolesGoToTheirOnlyNeighbour) {
    Poles p({{0.0, 0.1}, {1.0, 1.0}, {2.0, 2.0}});
    ReduceListOfPolesNumber(&p.L, 2);
    ASSERT_EQ(p.L.N, 2u);
    EXPECT_DOUBLE_EQ(p.L.b[0], 1.1);
    EXPECT_DOUBLE_EQ(p.L.a[0], 1.0 / 1.1);
    EXPECT_EQ(p.L.a[1], 2.0);

    Poles q({{0.0, 2.0}, {1.0, 1.0}, {2.0, 0.1}});
    ReduceListOfPolesNumber(&q.L, 2);
    ASSERT_EQ(q.L.N, 2u);
    EXPECT_EQ(q.L.a[0], 0.0);
    EXPECT_DOUBLE_EQ(q.L.b[1], 1.1);
    EXPECT_DOUBLE_EQ(q.L.a[1], 1.2 / 1.1);
}

TEST(ListOfPolesReduce, TieGoesToTheLowestIndex) {
    Poles p({{0.0, 1.0}, {1.0, 0.5}, {2.0, 0.5}, {3.0, 1.0}});
    ReduceListOfPolesNumber(&p.L, 3);
    ASSERT_EQ(p.L.N, 3u);
    // Pole 1 went, a quarter to each side; pole 2 stays where it was.
    EXPECT_DOUBLE_EQ(p.L.b[0], 1.25);
    EXPECT_DOUBLE_EQ(p.L.b[1], 0.75);
    EXPECT_DOUBLE_EQ(p.L.a[1], (2.0 * 0.5 + 1.0 * 0.25) / 0.75);
    EXPECT_EQ(p.L.a[2], 3.0);
}

TEST(ListOfPolesReduce, NoOpAtOrBelowTheCountAndZeroRefused) {
    Poles p({{2.0, 1.0}, {1.0, 0.1}});
    EXPECT_EQ(ReduceListOfPolesNumber(&p.L, 2), 0);
    EXPECT_EQ(p.L.N, 2u);
    EXPECT_EQ(p.L.a[0], 2.0);  // untouched, not even sorted
    testing::internal::CaptureStdout();
    EXPECT_EQ(ReduceListOfPolesNumber(&p.L, 0), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Reducing a list of poles to zero poles does not make sence\n");
    EXPECT_EQ(p.L.N, 2u);
}

TEST(ListOfPolesReduce, RandomListsKeepWeightAndFirstMoment) {
    std::mt19937 rng(7);
    for (int trial = 0; trial < 40; trial++) {
        Poles p(RandomPoles(rng, 5 + trial));
        double w = Weight(p.L);
        double m1 = FirstMoment(p.L);
        unsigned n = 1 + trial % 7;
        ReduceListOfPolesNumber(&p.L, n);
        EXPECT_EQ(p.L.N, n);
        EXPECT_NEAR(Weight(p.L), w, 1e-12 * w);
        EXPECT_NEAR(FirstMoment(p.L), m1, 1e-11 * (1 + fabs(m1)));
        EXPECT_TRUE(Sorted(p.L));
    }
}

TEST(ListOfPolesReduce, FermiKeepsEachSideApart) {
    std::mt19937 rng(11);
    for (int trial = 0; trial < 20; trial++) {
        Poles p(RandomPoles(rng, 30));
        const double mu = 0.3;
        double occ = 0.0;
        ListOfPolesDetermineOccupation(p.L, mu, &occ);
        double w = Weight(p.L);
        double m1 = FirstMoment(p.L);
        ReduceListOfPolesNumberFermi(&p.L, 3, mu);
        EXPECT_LE(p.L.N, 6u);
        double occ2 = 0.0;
        ListOfPolesDetermineOccupation(p.L, mu, &occ2);
        EXPECT_NEAR(occ2, occ, 1e-12);
        EXPECT_NEAR(Weight(p.L), w, 1e-12);
        EXPECT_NEAR(FirstMoment(p.L), m1, 1e-11);
        EXPECT_TRUE(Sorted(p.L));
    }
}

TEST(ListOfPolesReduce, OtherReductionsKeepWeight) {
    std::mt19937 rng(13);
    for (int trial = 0; trial < 10; trial++) {
        auto poles = RandomPoles(rng, 40);
        double w;
        double m1;
        {
            Poles p(poles);
            w = Weight(p.L);
            m1 = FirstMoment(p.L);
            ReduceListOfPolesMoment(&p.L, 5);
            EXPECT_EQ(p.L.N, 5u);
            EXPECT_NEAR(Weight(p.L), w, 1e-12);
            EXPECT_NEAR(FirstMoment(p.L), m1, 1e-11);
            EXPECT_TRUE(Sorted(p.L));
        }
        {
            Poles p(poles);
            ReduceListOfPolesSpacing(&p.L, 0.5);
            for (uint32_t i = 1; i < p.L.N; i++) EXPECT_GE(p.L.a[i] - p.L.a[i - 1], 0.0);
            EXPECT_LT(p.L.N, 40u);
            EXPECT_NEAR(Weight(p.L), w, 1e-12);
            EXPECT_NEAR(FirstMoment(p.L), m1, 1e-11);
        }
        for (int variant = 0; variant < 3; variant++) {
            Poles p(poles);
            if (variant == 0) ReduceSqrtListOfPolesNumber(&p.L, 4);
            if (variant == 1) ReduceSqrtListOfPolesNumberFermi(&p.L, 2, 0.0);
            if (variant == 2) ReduceSqrtListOfPolesMoment(&p.L, 4);
            EXPECT_LE(p.L.N, 4u);
            EXPECT_NEAR(Weight(p.L), w, 1e-12);
            EXPECT_TRUE(Sorted(p.L));
        }
        {
            Poles p(poles);
            ReduceListOfPolesWeigth(&p.L, 0.5, 0.0);
            EXPECT_NEAR(Weight(p.L), w, 1e-12);
            EXPECT_NEAR(FirstMoment(p.L), m1, 1e-11);
            // Every pole left is heavy enough, or alone on its side of 0.
            uint32_t below = 0;
            for (uint32_t i = 0; i < p.L.N; i++) below += p.L.a[i] <= 0.0;
            for (uint32_t i = 0; i < p.L.N; i++) {
                bool alone = p.L.a[i] <= 0.0 ? below == 1 : p.L.N - below == 1;
                EXPECT_TRUE(p.L.b[i] >= 0.5 || alone);
            }
        }
    }
}

TEST(ListOfPolesOrder, SortsPairsByEnergy) {
    Poles p({{2.0, 0.2}, {-1.0, 0.1}, {0.5, 0.05}});
    OrderListOfPoles(&p.L);
    auto q = p.Get();
    EXPECT_EQ(q[0].a, -1.0);
    EXPECT_EQ(q[0].b, 0.1);
    EXPECT_EQ(q[1].a, 0.5);
    EXPECT_EQ(q[1].b, 0.05);
    EXPECT_EQ(q[2].a, 2.0);
    EXPECT_EQ(q[2].b, 0.2);
}

TEST(ListOfPolesChemicalPotential, FirstPoleThatReachesTheFilling) {
    Poles p({{-1.0, 1.0}, {0.0, 1.0}, {1.0, 1.0}});
    double mu = 99.0;
    EXPECT_EQ(ListOfPolesCalculateChemicalPotential(p.L, 2.0, &mu), 0);
    EXPECT_EQ(mu, 0.0);
    EXPECT_EQ(ListOfPolesCalculateChemicalPotential(p.L, 0.5, &mu), 0);
    EXPECT_EQ(mu, -1.0);
    double occ = 0.0;
    ListOfPolesDetermineOccupation(p.L, 0.0, &occ);
    EXPECT_EQ(occ, 2.0);
}

TEST(ListOfPolesChemicalPotential, FillingAboveTheTotalReportsAndReturnsTheTop) {
    Poles p({{-1.0, 1.0}, {2.5, 1.0}});
    snprintf(p.L.Name, sizeof(p.L.Name), "G");
    double mu = 0.0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(ListOfPolesCalculateChemicalPotential(p.L, 3.0, &mu), 1);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(mu, 2.5);
    EXPECT_EQ(out,
              "Total occupation of G is  2.000000000000000E+00\n"
              "Searched for chemical potential of filling of  3.000000000000000E+00\n"
              "that aint working. Returned  2.500000000000000E+00 as chemical potential\n");
}

TEST(ListOfPolesChemicalPotential, MovesAndShifts) {
    {
        Poles p({{-1.0, 1.0}, {0.5, 2.0}, {2.0, 1.0}});
        testing::internal::CaptureStdout();
        ListOfPolesMoveNegativeEnergyToMu(&p.L, 1.0);
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_NE(out.find("WARNING"), std::string::npos);
        EXPECT_EQ(p.L.a[0], 1.0);
        EXPECT_EQ(p.L.a[1], 1.0);
        EXPECT_EQ(p.L.a[2], 2.0);
        testing::internal::CaptureStdout();
        ListOfPolesMoveNegativeEnergyToMu(&p.L, 1.0);
        out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(out.find("WARNING"), std::string::npos);
        EXPECT_NE(out.find("has all poles at positive energy"), std::string::npos);
    }
    {
        Poles p({{-1.0, 1.0}, {0.5, 2.0}, {2.0, 1.0}});
        ListOfPolesRemovePositiveEnergy(&p.L, 0.5);
        ASSERT_EQ(p.L.N, 2u);
        EXPECT_EQ(p.L.a[1], 0.5);
        ListOfPolesRemoveNegativeEnergy(&p.L, 0.0);
        ASSERT_EQ(p.L.N, 1u);
        ListOfPolesRemoveNegativeEnergy(&p.L, 1.0);
        EXPECT_EQ(p.L.N, 0u);
    }
    {
        Poles p({{1.0, 1.0}, {3.0, 3.0}});
        ShiftListOfPolesToMakeFirstMomentZero(&p.L);
        EXPECT_NEAR(FirstMoment(p.L), 0.0, 1e-14);
        EXPECT_DOUBLE_EQ(p.L.a[0], -1.5);
    }
    {
        // Metal shift puts mu = 1 at 0, then the gap between the pole at 0
        // and the next one at 2 is centred on 0.
        Poles p({{-1.0, 1.0}, {1.0, 1.0}, {3.0, 1.0}});
        ShiftListOfPolesToMakeChemPotZero(&p.L, 1.0, 0.0);
        EXPECT_DOUBLE_EQ(p.L.a[0], -3.0);
        EXPECT_DOUBLE_EQ(p.L.a[1], -1.0);
        EXPECT_DOUBLE_EQ(p.L.a[2], 1.0);
        EXPECT_EQ(p.L.mu, 0.0);
    }
}

TEST(ListOfPolesArithmetic, AddSubtractMixScaleAndSplit) {
    Poles p({{0.0, 1.0}, {1.0, 2.0}}, 0.5);
    Poles q({{1.0, 0.5}, {2.0, 1.0}}, 0.25);
    const double w = 0.3;
    const double gamma = 0.7;
    Complex16 gp = EvaluateListOfPoles(p.L, w, gamma);
    Complex16 gq = EvaluateListOfPoles(q.L, w, gamma);
    {
        Poles s({{0.0, 1.0}, {1.0, 2.0}}, 0.5);
        ASSERT_EQ(SubtractListOfPoles(&s.L, q.L), 0);
        EXPECT_EQ(s.L.N, 3u);  // the pole at 1.0 was taken from its partner
        EXPECT_EQ(s.L.b[1], 1.5);
        Complex16 g = EvaluateListOfPoles(s.L, w, gamma);
        EXPECT_NEAR(g.re, gp.re - gq.re, 1e-14);
        EXPECT_NEAR(g.im, gp.im - gq.im, 1e-14);
    }
    {
        Poles s({{0.0, 1.0}, {1.0, 2.0}}, 0.5);
        ASSERT_EQ(MixListOfPoles(&s.L, q.L, 0.25), 0);
        EXPECT_EQ(s.L.N, 4u);
        Complex16 g = EvaluateListOfPoles(s.L, w, gamma);
        EXPECT_NEAR(g.re, gp.re + 0.25 * gq.re, 1e-14);
        EXPECT_NEAR(g.im, gp.im + 0.25 * gq.im, 1e-14);
        ScaleListOfPoles(&s.L, -2.0);
        Complex16 h = EvaluateListOfPoles(s.L, w, gamma);
        EXPECT_NEAR(h.re, -2.0 * g.re, 1e-14);
        EXPECT_NEAR(h.im, -2.0 * g.im, 1e-14);
    }
    {
        ListOfPoles val;
        ListOfPoles con;
        ASSERT_EQ(ListOfPolesCopyVal(&val, p.L, 0.0, 0.0), 0);
        ASSERT_EQ(ListOfPolesCopyCon(&con, p.L, 0.0, 0.0), 0);
        EXPECT_EQ(val.N, 1u);  // the pole at mu is occupied
        EXPECT_EQ(con.N, 1u);
        ASSERT_EQ(AddListOfPoles(&val, con), 0);
        val.a0 += p.L.a0;
        Complex16 g = EvaluateListOfPoles(val, w, gamma);
        EXPECT_NEAR(g.re, gp.re, 1e-14);
        EXPECT_NEAR(g.im, gp.im, 1e-14);
        FreeListOfPoles(&val);
        FreeListOfPoles(&con);
    }
    {
        ListOfPoles c;
        ASSERT_EQ(ListOfPoleCopyChoped(q.L, &c, 0.6), 0);
        ASSERT_EQ(c.N, 1u);
        EXPECT_EQ(c.a[0], 2.0);
        EXPECT_EQ(c.a0, 0.25);
        FreeListOfPoles(&c);
    }
}

TEST(ListOfPolesFiles, PlainFileReadsBackExactly) {
    std::mt19937 rng(3);
    Poles p(RandomPoles(rng, 17), -0.123456789012345678);
    p.L.mu = 0.1;
    std::string name = testing::TempDir() + "poles_plain.txt";
    ASSERT_EQ(FilePrintPlainListOfPoles(name.c_str(), p.L, "w"), 0);
    ListOfPoles r;
    ASSERT_EQ(FileReadPlainListOfPoles(name.c_str(), &r), 0);
    ASSERT_EQ(r.N, p.L.N);
    EXPECT_EQ(r.a0, p.L.a0);
    EXPECT_EQ(r.mu, p.L.mu);
    for (uint32_t i = 0; i < r.N; i++) {
        EXPECT_EQ(r.a[i], p.L.a[i]);
        EXPECT_EQ(r.b[i], p.L.b[i]);
    }
    FreeListOfPoles(&r);
    remove(name.c_str());
    testing::internal::CaptureStdout();
    EXPECT_EQ(FileReadPlainListOfPoles("/nonexistent/dir/x", &r), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR\nCan't open /nonexistent/dir/x for reading.\n");
}

// The evaluation is one parallel reduction; on any number of threads it
// gives the exact sum to rounding.
TEST(ResponseParallelEvaluate, ListOfPolesMatchesExactSumOnAnyTeam) {
    std::mt19937 rng(5);
    Poles p(RandomPoles(rng, 20000), 0.75);
    const int before = omp_get_max_threads();
    for (int threads : {1, 2, before}) {
        omp_set_num_threads(threads);
        for (double w : {-7.0, -2.5, 0.0, 0.01, 3.3}) {
            for (double gamma : {0.01, 0.2, 2.0}) {
                double re;
                double im;
                Reference(p.L, w, gamma, &re, &im);
                Complex16 g = EvaluateListOfPoles(p.L, w, gamma);
                EXPECT_NEAR(g.re, re, 1e-10 * (1.0 + fabs(re)));
                EXPECT_NEAR(g.im, im, 1e-10 * (1.0 + fabs(im)));
            }
        }
    }
    omp_set_num_threads(before);
}
