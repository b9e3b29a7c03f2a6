// Chains, stars and double chains: every form of a random function gives
// the same values, the constant survives every conversion, and the chain
// eigensystem and sub-chains obey their defining identities.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "response/tridiagonal.h"

namespace {

struct Pole {
    double a;
    double b;
};

ListOfPoles MakeList(const std::vector<Pole>& p, double a0) {
    ListOfPoles L;
    L.N = static_cast<uint32_t>(p.size());
    EXPECT_EQ(InitListOfPoles(&L), 0);
    for (size_t i = 0; i < p.size(); i++) {
        L.a[i] = p[i].a;
        L.b[i] = p[i].b;
    }
    L.a0 = a0;
    return L;
}

std::vector<Pole> RandomPoles(std::mt19937& rng, int n) {
    std::uniform_real_distribution<double> e(-5.0, 5.0);
    std::uniform_real_distribution<double> w(0.01, 1.0);
    std::vector<Pole> p;
    for (int i = 0; i < n; i++) p.push_back({e(rng), w(rng)});
    return p;
}

// Chain built by hand from its arrays.
TriDiagonalMatrixType MakeChain(const std::vector<double>& a, const std::vector<double>& b) {
    TriDiagonalMatrixType M;
    M.N = static_cast<uint32_t>(b.size());
    EXPECT_EQ(InitTriDiagonalMatrix(&M), 0);
    for (size_t i = 0; i < a.size(); i++) M.a[i] = a[i];
    for (size_t i = 0; i < b.size(); i++) M.b[i] = b[i];
    return M;
}

// Asserts |f - g| <= tol (1 + |g|) over a grid of energies and widths.
template <class F, class G>
void ExpectSameFunction(F f, G g, double tol, const char* what) {
    for (double w = -7.0; w <= 7.0; w += 0.37) {
        for (double gamma : {0.05, 0.3, 1.0, 4.0}) {
            Complex16 x = f(w, gamma);
            Complex16 y = g(w, gamma);
            double scale = 1.0 + std::hypot(y.re, y.im);
            ASSERT_NEAR(x.re, y.re, tol * scale) << what << " at w=" << w << " gamma=" << gamma;
            ASSERT_NEAR(x.im, y.im, tol * scale) << what << " at w=" << w << " gamma=" << gamma;
        }
    }
}

}  // namespace

TEST(ResponseForms, ChainOfOneSiteIsOnePole) {
    TriDiagonalMatrixType M = MakeChain({0.25, 1.5}, {0.8});
    ListOfPoles L;
    ASSERT_EQ(TriDiagonalMatrixToListOfPoles(M, &L), 0);
    ASSERT_EQ(L.N, 1u);
    EXPECT_DOUBLE_EQ(L.a[0], 1.5);
    EXPECT_DOUBLE_EQ(L.b[0], 0.64);
    EXPECT_EQ(L.a0, 0.25);
    EXPECT_STREQ(L.Name, "Poles");
    Complex16 g = EvaluateTriDiagonalMatrix(M, 1.0, 0.2);
    // 0.25 + 0.64 / (-0.5 + 0.1 i)
    EXPECT_DOUBLE_EQ(g.re, 0.25 + 0.64 * -0.5 / 0.26);
    EXPECT_DOUBLE_EQ(g.im, -0.64 * 0.1 / 0.26);
    FreeListOfPoles(&L);
    FreeTriDiagonalMatrix(&M);
}

TEST(ResponseForms, AllFormsOfRandomListsAgree) {
    std::mt19937 rng(1);
    std::uniform_real_distribution<double> c(-2.0, 2.0);
    for (int n : {1, 2, 3, 7, 20, 60}) {
        ListOfPoles L = MakeList(RandomPoles(rng, n), c(rng));
        auto list = [&](double w, double g) { return EvaluateListOfPoles(L, w, g); };

        TriDiagonalMatrixType M;
        ASSERT_EQ(ListOfPolesToTridiagonalMatrix(L, &M, 0), 0);
        EXPECT_EQ(M.N, static_cast<uint32_t>(n));
        EXPECT_EQ(M.a[0], L.a0);
        ExpectSameFunction([&](double w, double g) { return EvaluateTriDiagonalMatrix(M, w, g); }, list, 1e-10,
                           "chain");

        AndersonMatrixType A;
        ASSERT_EQ(ListOfPolesToAndersonMatrix(L, &A), 0);
        EXPECT_EQ(A.a[0], L.a0);
        ExpectSameFunction([&](double w, double g) { return EvaluateAndersonMatrix(A, w, g); }, list, 1e-10,
                           "star");

        AndersonMatrixType A2;
        ASSERT_EQ(TriDiagonalMatrixToAndersonMatrix(M, &A2), 0);
        ExpectSameFunction([&](double w, double g) { return EvaluateAndersonMatrix(A2, w, g); }, list, 1e-10,
                           "star of chain");

        TriDiagonalMatrixType M2;
        ASSERT_EQ(AndersonMatrixToTriDiagonalMatrix(A, &M2), 0);
        EXPECT_EQ(M2.a[0], L.a0);
        ExpectSameFunction([&](double w, double g) { return EvaluateTriDiagonalMatrix(M2, w, g); }, list, 1e-10,
                           "chain of star");

        ListOfPoles LA;
        ListOfPoles LM;
        ASSERT_EQ(AndersonMatrixToListOfPoles(A, &LA), 0);
        ASSERT_EQ(TriDiagonalMatrixToListOfPoles(M, &LM), 0);
        EXPECT_EQ(LA.a0, L.a0);
        EXPECT_EQ(LM.a0, L.a0);
        ExpectSameFunction([&](double w, double g) { return EvaluateListOfPoles(LA, w, g); }, list, 1e-10,
                           "poles of star");
        ExpectSameFunction([&](double w, double g) { return EvaluateListOfPoles(LM, w, g); }, list, 1e-10,
                           "poles of chain");

        for (double mu : {0.0, -1.0}) {
            BADoubleTriDiagonalMatrixType B;
            testing::internal::CaptureStdout();  // an empty half reports its size
            ASSERT_EQ(ListOfPolesToBADoubleTridiagonalMatrix(L, &B, mu, 0), 0);
            EXPECT_EQ(B.epsilon, L.a0);
            EXPECT_EQ(B.mu, mu);
            ExpectSameFunction([&](double w, double g) { return EvaluateBADoubleTriDiagonalMatrix(B, w, g); }, list,
                               1e-10, "double chain");
            for (uint32_t i = 1; i <= B.val.N; i++) EXPECT_LE(B.val.a[i], mu + 1e-12);
            for (uint32_t i = 1; i <= B.con.N; i++) EXPECT_GT(B.con.a[i], mu - 1e-12);
            ListOfPoles LB;
            ASSERT_EQ(BADoubleTriDiagonalMatrixToListOfPoles(B, &LB), 0);
            EXPECT_NEAR(LB.a0, L.a0, 1e-15);
            ExpectSameFunction([&](double w, double g) { return EvaluateListOfPoles(LB, w, g); }, list, 1e-10,
                               "poles of double chain");
            TriDiagonalMatrixType MB;
            ASSERT_EQ(BADoubleTriDiagonalMatrixToTriDiagonalMatrix(B, &MB), 0);
            ExpectSameFunction([&](double w, double g) { return EvaluateTriDiagonalMatrix(MB, w, g); }, list,
                               1e-10, "chain of double chain");
            DoubleTriDiagonalMatrixType D;
            ASSERT_EQ(ListOfPolesToDoubleTriDiagonalMatrix(L, &D, mu, 0), 0);
            EXPECT_EQ(D.val.a[0], L.a0);
            ExpectSameFunction([&](double w, double g) { return EvaluateDoubleTriDiagonalMatrix(D, w, g); }, list,
                               1e-10, "plain double chain");
            ListOfPoles LD;
            ASSERT_EQ(DoubleTriDiagonalMatrixToListOfPoles(D, &LD), 0);
            EXPECT_EQ(LD.a0, L.a0);
            FreeListOfPoles(&LD);
            FreeDoubleTriDiagonalMatrix(&D);
            FreeTriDiagonalMatrix(&MB);
            FreeListOfPoles(&LB);
            FreeBADoubleTriDiagonalMatrix(&B);
            testing::internal::GetCapturedStdout();
        }
        BADoubleTriDiagonalMatrixType BT;
        BADoubleTriDiagonalMatrixType BA;
        testing::internal::CaptureStdout();
        ASSERT_EQ(TriDiagonalMatrixToBADoubleTriDiagonalMatrix(M, &BT), 0);
        ASSERT_EQ(AndersonMatrixToBADoubleTriDiagonalMatrix(A, &BA), 0);
        EXPECT_EQ(BT.epsilon, L.a0);
        EXPECT_EQ(BA.epsilon, L.a0);
        ExpectSameFunction([&](double w, double g) { return EvaluateBADoubleTriDiagonalMatrix(BT, w, g); }, list,
                           1e-10, "double chain of chain");
        ExpectSameFunction([&](double w, double g) { return EvaluateBADoubleTriDiagonalMatrix(BA, w, g); }, list,
                           1e-10, "double chain of star");
        AndersonMatrixType AB;
        ASSERT_EQ(BADoubleTriDiagonalMatrixToAndersonMatrix(BT, &AB), 0);
        EXPECT_NEAR(AB.a[0], L.a0, 1e-15);
        ExpectSameFunction([&](double w, double g) { return EvaluateAndersonMatrix(AB, w, g); }, list, 1e-10,
                           "star of double chain");
        FreeAndersonMatrix(&AB);
        FreeBADoubleTriDiagonalMatrix(&BT);
        FreeBADoubleTriDiagonalMatrix(&BA);
        testing::internal::GetCapturedStdout();

        FreeListOfPoles(&LA);
        FreeListOfPoles(&LM);
        FreeTriDiagonalMatrix(&M2);
        FreeAndersonMatrix(&A2);
        FreeAndersonMatrix(&A);
        FreeTriDiagonalMatrix(&M);
        FreeListOfPoles(&L);
    }
}

TEST(ResponseForms, ChainOfListRecoversThePoles) {
    std::mt19937 rng(2);
    auto poles = RandomPoles(rng, 12);
    ListOfPoles L = MakeList(poles, 0.0);
    TriDiagonalMatrixType M;
    ASSERT_EQ(ListOfPolesToTridiagonalMatrix(L, &M, 0), 0);
    ListOfPoles back;
    ASSERT_EQ(TriDiagonalMatrixToListOfPoles(M, &back), 0);
    OrderListOfPoles(&L);
    ASSERT_EQ(back.N, L.N);
    for (uint32_t i = 0; i < L.N; i++) {
        EXPECT_NEAR(back.a[i], L.a[i], 1e-10);
        EXPECT_NEAR(back.b[i], L.b[i], 1e-10);
    }
    // b[0]^2 is the total weight, a[1] the mean energy.
    double w = 0.0;
    double m1 = 0.0;
    for (auto p : poles) {
        w += p.b;
        m1 += p.a * p.b;
    }
    EXPECT_NEAR(M.b[0] * M.b[0], w, 1e-12);
    EXPECT_NEAR(M.a[1], m1 / w, 1e-12);
    FreeListOfPoles(&back);
    FreeTriDiagonalMatrix(&M);
    FreeListOfPoles(&L);
}

TEST(ResponseForms, DegenerateAndUncoupledPolesEndTheChain) {
    // Two poles at one energy and one pole without weight: the source sees
    // two levels only.
    ListOfPoles L = MakeList({{1.0, 0.5}, {1.0, 0.25}, {-2.0, 0.25}, {4.0, 0.0}}, 0.1);
    TriDiagonalMatrixType M;
    ASSERT_EQ(ListOfPolesToTridiagonalMatrix(L, &M, 0), 0);
    EXPECT_EQ(M.N, 2u);
    ExpectSameFunction([&](double w, double g) { return EvaluateTriDiagonalMatrix(M, w, g); },
                       [&](double w, double g) { return EvaluateListOfPoles(L, w, g); }, 1e-12, "short chain");
    // A shorter chain when asked for: two sites carry the first four moments.
    TriDiagonalMatrixType M1;
    ASSERT_EQ(ListOfPolesToTridiagonalMatrix(L, &M1, 1), 0);
    EXPECT_EQ(M1.N, 1u);
    EXPECT_NEAR(M1.a[1], (0.75 * 1.0 - 0.5) / 1.0, 1e-14);
    FreeTriDiagonalMatrix(&M1);
    FreeTriDiagonalMatrix(&M);
    FreeListOfPoles(&L);
}

TEST(ResponseForms, NegativeWeightsHaveNoChain) {
    ListOfPoles L = MakeList({{1.0, 0.5}, {2.0, -0.25}}, 0.0);
    TriDiagonalMatrixType M;
    testing::internal::CaptureStdout();
    EXPECT_EQ(ListOfPolesToTridiagonalMatrix(L, &M, 0), 1);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("ListOfPolesToTridiagonalMatrix"), std::string::npos);
    FreeListOfPoles(&L);
}

TEST(ResponseForms, UniformChainEigensystem) {
    const uint32_t n = 9;
    std::vector<double> a(n + 1, 0.0);
    std::vector<double> b(n, 1.0);
    TriDiagonalMatrixType M = MakeChain(a, b);
    std::vector<double> v(n * n);
    std::vector<double> e(n);
    ASSERT_EQ(TriDiagonalMatrixToEigensystem(M, v.data(), e.data()), 0);
    for (uint32_t k = 0; k < n; k++) {
        // Ascending: 2 cos(pi (n-k) / (n+1)).
        EXPECT_NEAR(e[k], 2.0 * cos(M_PI * (n - k) / (n + 1.0)), 1e-13);
        // Row k is the eigenvector: (H v)_i = v_{i-1} + v_{i+1}.
        const double* r = &v[k * n];
        for (uint32_t i = 0; i < n; i++) {
            double hv = (i > 0 ? r[i - 1] : 0.0) + (i + 1 < n ? r[i + 1] : 0.0);
            EXPECT_NEAR(hv, e[k] * r[i], 1e-13);
        }
        double norm = 0.0;
        for (uint32_t i = 0; i < n; i++) norm += r[i] * r[i];
        EXPECT_NEAR(norm, 1.0, 1e-13);
    }
    std::vector<double> only(n);
    ASSERT_EQ(TriDiagonalMatrixToEigenvalues(M, only.data()), 0);
    for (uint32_t k = 0; k < n; k++) EXPECT_NEAR(only[k], e[k], 1e-13);
    FreeTriDiagonalMatrix(&M);
}

TEST(ResponseForms, StarEigensystemInSiteBasis) {
    AndersonMatrixType A;
    A.N = 4;
    ASSERT_EQ(InitAndersonMatrix(&A), 0);
    const double a[] = {0.0, 0.5, -1.0, 0.2, 2.0};
    const double b[] = {1.0, 0.3, 0.7, 0.4};
    for (int i = 0; i < 5; i++) A.a[i] = a[i];
    for (int i = 0; i < 4; i++) A.b[i] = b[i];
    std::vector<double> v(16);
    std::vector<double> e(4);
    uint32_t n = 0;
    ASSERT_EQ(AndersonMatrixToEigensystem(A, v.data(), e.data(), &n), 0);
    ASSERT_EQ(n, 4u);
    // The arrow matrix: site 0 couples to site k with b[k].
    for (uint32_t k = 0; k < n; k++) {
        const double* r = &v[k * 4];
        double h0 = a[1] * r[0];
        for (int j = 1; j < 4; j++) h0 += b[j] * r[j];
        EXPECT_NEAR(h0, e[k] * r[0], 1e-13);
        for (int j = 1; j < 4; j++) EXPECT_NEAR(b[j] * r[0] + a[j + 1] * r[j], e[k] * r[j], 1e-13);
    }
    FreeAndersonMatrix(&A);
}

TEST(ResponseForms, PartFromSiteTwoIsTheSelfEnergyOfSiteOne) {
    TriDiagonalMatrixType M = MakeChain({0.3, -0.5, 0.2, 1.0, -1.5}, {1.2, 0.8, 0.6, 0.9});
    TriDiagonalMatrixType S;
    ASSERT_EQ(TriDiagonalMatrixPart(&S, M, 2, 4), 0);
    EXPECT_EQ(S.N, 3u);
    EXPECT_EQ(S.b[0], 0.8);
    EXPECT_EQ(S.a[0], 0.0);
    for (double w : {-2.0, 0.1, 1.7}) {
        const double gamma = 0.4;
        Complex16 sigma = EvaluateTriDiagonalMatrix(S, w, gamma);
        Complex16 z = Cnum(w, 0.5 * gamma);
        Complex16 g = 0.3 + 1.44 / (z - (-0.5) - sigma);
        Complex16 h = EvaluateTriDiagonalMatrix(M, w, gamma);
        EXPECT_NEAR(h.re, g.re, 1e-13);
        EXPECT_NEAR(h.im, g.im, 1e-13);
    }
    FreeTriDiagonalMatrix(&S);
    testing::internal::CaptureStdout();
    EXPECT_EQ(TriDiagonalMatrixPart(&S, M, 3, 5), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "TriDiagonalMatrixPart called with iStart=3, iEnd=5, and A.N=4.\nThat's not an option\n");
    FreeTriDiagonalMatrix(&M);
}

TEST(ResponseForms, ScalarMultiplyScalesPoleEnergiesAndChopCutsTheChain) {
    TriDiagonalMatrixType M = MakeChain({0.3, -0.5, 0.2, 1.0}, {1.2, 0.8, 1e-14});
    ListOfPoles before;
    ASSERT_EQ(TriDiagonalMatrixToListOfPoles(M, &before), 0);
    TriDiagonalMatrixScalarMultiply(&M, -2.0);
    ListOfPoles after;
    ASSERT_EQ(TriDiagonalMatrixToListOfPoles(M, &after), 0);
    for (uint32_t k = 0; k < 3; k++) {
        // Ascending order turns round under a negative factor.
        EXPECT_NEAR(after.a[k], -2.0 * before.a[2 - k], 1e-13);
        EXPECT_NEAR(after.b[k], before.b[2 - k], 1e-13);
    }
    EXPECT_EQ(after.a0, 0.3);
    TriDiagonalMatrixChop(&M, 1e-10);
    EXPECT_EQ(M.N, 2u);
    FreeListOfPoles(&before);
    FreeListOfPoles(&after);
    FreeTriDiagonalMatrix(&M);
}

TEST(ResponseForms, RecordsAtTheirLimits) {
    TriDiagonalMatrixType M;
    M.N = 0;
    testing::internal::CaptureStdout();
    ASSERT_EQ(InitTriDiagonalMatrix(&M), 0);
    M.a[0] = 1.5;
    Complex16 g = EvaluateTriDiagonalMatrix(M, 0.3, 0.1);
    EXPECT_EQ(g.re, 1.5);
    EXPECT_EQ(g.im, 0.0);
    FreeTriDiagonalMatrix(&M);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Initialized a TriDiagonalMatrix with size zero.\n"
              "\nWARNING\nFree Tridiagonal matrix of size 0, hope it works\n");

    AndersonMatrixType A;
    A.N = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(InitAndersonMatrix(&A), 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "can't initialize an AndersonMatrix of size 0\nError in InitAndersonMatrix\n");

    ListOfPoles L;
    L.N = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(InitListOfPoles(&L), 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Initialized a ListOfPoles with size zero.\n");
    FreeListOfPoles(&L);
}

TEST(ResponseForms, PlainChainFileReadsBackExactly) {
    TriDiagonalMatrixType M = MakeChain({0.1, 1.0 / 3.0, -2.0 / 7.0}, {0.9, 1.0 / 11.0});
    M.mu = -0.25;
    std::string name = testing::TempDir() + "chain_plain.txt";
    ASSERT_EQ(FilePrintPlainTriDiagonalMatrix(name.c_str(), M, "w"), 0);
    TriDiagonalMatrixType R;
    ASSERT_EQ(FileReadPlainTriDiagonalMatrix(name.c_str(), &R), 0);
    ASSERT_EQ(R.N, M.N);
    EXPECT_EQ(R.mu, M.mu);
    for (uint32_t i = 0; i <= M.N; i++) EXPECT_EQ(R.a[i], M.a[i]);
    for (uint32_t i = 0; i < M.N; i++) EXPECT_EQ(R.b[i], M.b[i]);
    FreeTriDiagonalMatrix(&R);
    FreeTriDiagonalMatrix(&M);
    remove(name.c_str());
}
