// Block forms of response functions: evaluation against direct sums and
// resolvents, the conversions among list, chain, star and natural orbital
// (the same matrix function at many energies), reduction and mesh placing,
// and the impurity Hamiltonian against the resolvent of its one-particle
// matrix.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "dense_reference.h"
#include "base/complex16.h"
#include "manybody/operator.h"
#include "manybody/operator_algebra.h"
#include "response/blockforms.h"
#include "response/tridiagonal.h"

namespace {

std::mt19937 rng(7);

double Uniform(double a, double b) { return std::uniform_real_distribution<double>(a, b)(rng); }

Dense RandomMatrix(uint32_t ni, uint32_t nj, bool complex) {
    Dense d(ni, nj);
    for (auto& z : d.a) z = Complex16{Uniform(-1, 1), complex ? Uniform(-1, 1) : 0.0};
    return d;
}

// X X^dagger with X of rank columns: Hermitian and positive semi-definite.
Dense RandomWeight(uint32_t M, uint32_t rank, bool complex) {
    Dense X = RandomMatrix(M, rank, complex);
    return Mul(X, Op(X, 'C'));
}

Dense RandomHermitian(uint32_t M, bool complex) {
    Dense X = RandomMatrix(M, M, complex);
    Dense H(M, M);
    for (uint32_t i = 0; i < M; i++)
        for (uint32_t j = 0; j < M; j++) H(i, j) = 0.5 * (X(i, j) + Conj(X(j, i)));
    return H;
}

void SetBlock(CompactMatrixType* B, const Dense& d, bool complex) {
    FreeCompactMatrix(B);
    B->Ni = d.Ni;
    B->Nj = d.Nj;
    B->QComplex = complex ? 1 : 0;
    ASSERT_EQ(InitCompactMatrix(B), 0);
    for (uint32_t i = 0; i < d.Ni; i++)
        for (uint32_t j = 0; j < d.Nj; j++) {
            size_t k = static_cast<size_t>(i) * d.Nj + j;
            if (complex)
                CompactMatrixComplexData(*B)[k] = d(i, j);
            else
                CompactMatrixRealData(*B)[k] = d(i, j).re;
        }
}

void SetPole(BlockListOfPoles* L, uint32_t k, double e, const Dense& B) {
    const size_t S = BlockListOfPolesSlice(L->M);
    for (size_t i = 0; i < S; i++) {
        Complex16 v = i == 0 ? Complex16{e, 0.0} : B.a[i - 1];
        if (L->QComplex)
            static_cast<Complex16*>(L->Value)[k * S + i] = v;
        else
            static_cast<double*>(L->Value)[k * S + i] = v.re;
    }
}

BlockListOfPoles RandomList(uint32_t N, uint32_t M, uint32_t rank, bool complex) {
    BlockListOfPoles L;
    L.N = N;
    L.M = M;
    L.QComplex = complex;
    EXPECT_EQ(InitBlockListOfPoles(&L), 0);
    for (uint32_t k = 0; k < N; k++) SetPole(&L, k, Uniform(-3, 3), RandomWeight(M, rank, complex));
    SetPole(&L, N, 0.0, RandomHermitian(M, complex));  // the constant slice
    return L;
}

// The list by its definition: A0 + sum B_k / (z - e_k).
Dense ListByDefinition(const BlockListOfPoles& L, double w, double gamma) {
    Dense G(L.M, L.M);
    const Complex16 z{w, 0.5 * gamma};
    for (uint32_t r = 0; r < L.M; r++)
        for (uint32_t c = 0; c < L.M; c++) {
            Complex16 s = BlockListOfPolesConstant(L, r, c);
            for (uint32_t k = 0; k < L.N; k++)
                s += BlockListOfPolesWeight(L, k, r, c) / (z - BlockListOfPolesEnergy(L, k));
            G(r, c) = s;
        }
    return G;
}

template <class F>
Dense Evaluate(F f, double w, double gamma) {
    CompactMatrixType out;
    EXPECT_EQ(f(&out, w, gamma), 0);
    Dense d = FromCompact(out);
    FreeCompactMatrix(&out);
    return d;
}

// Two matrix functions agree at many (w, gamma), relative to the size of
// the values.
template <class F, class G>
void ExpectSameFunction(F f, G g, double tol, const std::string& what) {
    for (double gamma : {0.05, 0.3, 1.0, 4.0})
        for (double w = -5.0; w <= 5.0; w += 0.37) {
            Dense a = f(w, gamma);
            Dense b = g(w, gamma);
            ASSERT_EQ(a.Ni, b.Ni) << what;
            double scale = 1.0;
            for (auto& z : b.a) scale = std::fmax(scale, Abs(z));
            for (size_t i = 0; i < a.a.size(); i++)
                ASSERT_LT(Abs(a.a[i] - b.a[i]), tol * scale) << what << " at w=" << w << " gamma=" << gamma;
        }
}

auto ListFunction(const BlockListOfPoles& L) {
    return [&L](double w, double g) {
        return Evaluate([&](CompactMatrixType* o, double x, double y) { return EvaluateBlockListOfPoles(L, o, x, y); }, w, g);
    };
}
auto ChainFunction(const BlockTriDiagonalMatrixType& T) {
    return [&T](double w, double g) {
        return Evaluate(
            [&](CompactMatrixType* o, double x, double y) { return EvaluateBlockTriDiagonalMatrix(T, o, x, y); }, w, g);
    };
}
auto StarFunction(const BlockAndersonMatrixType& A) {
    return [&A](double w, double g) {
        return Evaluate(
            [&](CompactMatrixType* o, double x, double y) { return EvaluateBlockAndersonMatrix(A, o, x, y); }, w, g);
    };
}

double TotalTrace(const BlockListOfPoles& L, double* moment) {
    double t = 0.0, m = 0.0;
    for (uint32_t k = 0; k < L.N; k++)
        for (uint32_t r = 0; r < L.M; r++) {
            double b = BlockListOfPolesWeight(L, k, r, r).re;
            t += b;
            m += b * BlockListOfPolesEnergy(L, k);
        }
    *moment = m;
    return t;
}

}  // namespace

TEST(BlockForms, ListOfOneOrbitalIsTheScalarList) {
    ListOfPoles s;
    s.N = 9;
    ASSERT_EQ(InitListOfPoles(&s), 0);
    for (uint32_t k = 0; k < s.N; k++) {
        s.a[k] = Uniform(-2, 2);
        s.b[k] = Uniform(0.01, 1);
    }
    s.a0 = 0.3;
    BlockListOfPoles b;
    ASSERT_EQ(ListOfPolesToBlockListOfPoles(s, &b), 0);
    for (double gamma : {0.1, 1.0})
        for (double w = -3; w < 3; w += 0.25) {
            Dense g = ListFunction(b)(w, gamma);
            Complex16 e = EvaluateListOfPoles(s, w, gamma);
            EXPECT_NEAR(g(0, 0).re, e.re, 1e-14 * (1 + Abs(e)));
            EXPECT_NEAR(g(0, 0).im, e.im, 1e-14 * (1 + Abs(e)));
        }
    // The same reduction as the scalar rule, pole for pole.
    ASSERT_EQ(ReduceBlockListOfPoles(&b, 4, 2.2250738585072014e-308), 0);
    ASSERT_EQ(ReduceListOfPolesNumber(&s, 4), 0);
    ListOfPoles back;
    ASSERT_EQ(BlockListOfPolesToListOfPoles(b, &back), 0);
    ASSERT_EQ(back.N, s.N);
    for (uint32_t k = 0; k < s.N; k++) {
        EXPECT_NEAR(back.a[k], s.a[k], 1e-14);
        EXPECT_NEAR(back.b[k], s.b[k], 1e-14);
    }
    EXPECT_EQ(back.a0, s.a0);
    FreeListOfPoles(&back);
    FreeListOfPoles(&s);
    FreeBlockListOfPoles(&b);
}

TEST(BlockForms, ChainAndStarOfAListAreTheSameFunction) {
    struct Case {
        uint32_t N, M, rank;
        bool complex;
    };
    for (Case c : {Case{1, 1, 1, false}, Case{5, 2, 2, false}, Case{6, 3, 3, true}, Case{7, 3, 1, true},
                   Case{4, 4, 2, false}, Case{12, 2, 2, true}}) {
        SCOPED_TRACE("N=" + std::to_string(c.N) + " M=" + std::to_string(c.M) + " rank=" + std::to_string(c.rank));
        BlockListOfPoles L = RandomList(c.N, c.M, c.rank, c.complex);
        ExpectSameFunction(ListFunction(L), [&](double w, double g) { return ListByDefinition(L, w, g); }, 1e-13,
                           "list");

        BlockTriDiagonalMatrixType T;
        ASSERT_EQ(BlockListOfPolesToBlockTriDiagonalMatrix(L, &T, 0), 0);
        // A full-rank list needs N sites of M orbitals; rank r ones fewer.
        EXPECT_EQ(T.N, (c.N * c.rank + c.M - 1) / c.M > c.N ? c.N : (c.N * c.rank + c.M - 1) / c.M);
        EXPECT_EQ(T.a[1].QComplex, c.complex ? 1 : 0);
        ExpectSameFunction(ChainFunction(T), ListFunction(L), 1e-10, "chain of list");

        BlockAndersonMatrixType A;
        ASSERT_EQ(BlockTriDiagonalMatrixToBlockAndersonMatrix(T, &A), 0);
        ExpectSameFunction(StarFunction(A), ListFunction(L), 1e-10, "star of chain");

        BlockAndersonMatrixType A2;
        ASSERT_EQ(BlockListOfPolesToBlockAndersonMatrix(L, &A2), 0);
        ExpectSameFunction(StarFunction(A2), ListFunction(L), 1e-10, "star of list");

        BlockTriDiagonalMatrixType T2;
        ASSERT_EQ(BlockAndersonMatrixToBlockTriDiagonalMatrix(A, &T2), 0);
        ExpectSameFunction(ChainFunction(T2), ListFunction(L), 1e-10, "chain of star");

        BlockListOfPoles LT, LA;
        ASSERT_EQ(BlockTriDiagonalMatrixToBlockListOfPoles(T, &LT), 0);
        ASSERT_EQ(BlockAndersonMatrixToBlockListOfPoles(A, &LA), 0);
        EXPECT_EQ(LT.N, T.N * c.M);
        ExpectSameFunction(ListFunction(LT), ListFunction(L), 1e-10, "list of chain");
        ExpectSameFunction(ListFunction(LA), ListFunction(L), 1e-10, "list of star");

        // The eigenvalues of the chain are the poles of its list.
        std::vector<double> ev(T.N * c.M);
        ASSERT_EQ(BlockTriDiagonalMatrixToEigenvalues(T, ev.data()), 0);
        for (uint32_t k = 0; k < LT.N; k++) EXPECT_NEAR(ev[k], BlockListOfPolesEnergy(LT, k), 1e-12);

        FreeBlockListOfPoles(&LT);
        FreeBlockListOfPoles(&LA);
        FreeBlockTriDiagonalMatrix(&T2);
        FreeBlockAndersonMatrix(&A2);
        FreeBlockAndersonMatrix(&A);
        FreeBlockTriDiagonalMatrix(&T);
        FreeBlockListOfPoles(&L);
    }
}

TEST(BlockForms, ChainEvaluationIsTheResolventOfItsHamiltonian) {
    // Independent of the level-by-level inversion: the first block of the
    // inverse of z - H for the whole chain, by Gauss-Jordan.
    BlockTriDiagonalMatrixType T;
    T.N = 4;
    T.M = 2;
    ASSERT_EQ(InitBlockTriDiagonalMatrix(&T), 0);
    for (uint32_t i = 0; i <= T.N; i++) SetBlock(&T.a[i], RandomHermitian(2, true), true);
    for (uint32_t i = 0; i < T.N; i++) SetBlock(&T.b[i], RandomMatrix(2, 2, true), true);
    CompactMatrixType H;
    ASSERT_EQ(BlockTriDiagonalMatrixToHamiltonian(T, &H), 0);
    ASSERT_EQ(QCompactMatrixHermitian(H, 1e-15), 1);
    Dense h = FromCompact(H);
    FreeCompactMatrix(&H);
    auto resolvent = [&](double w, double gamma) {
        const uint32_t n = h.Ni;
        Dense a(n, n);
        for (uint32_t i = 0; i < n; i++)
            for (uint32_t j = 0; j < n; j++) a(i, j) = (i == j ? Complex16{w, 0.5 * gamma} : Complex16{0, 0}) - h(i, j);
        Dense inv = Identity(n);
        for (uint32_t col = 0; col < n; col++) {
            uint32_t p = col;
            for (uint32_t r = col + 1; r < n; r++)
                if (Abs(a(r, col)) > Abs(a(p, col))) p = r;
            std::swap_ranges(a.a.begin() + p * n, a.a.begin() + (p + 1) * n, a.a.begin() + col * n);
            std::swap_ranges(inv.a.begin() + p * n, inv.a.begin() + (p + 1) * n, inv.a.begin() + col * n);
            Complex16 d = a(col, col);
            for (uint32_t j = 0; j < n; j++) {
                a(col, j) = a(col, j) / d;
                inv(col, j) = inv(col, j) / d;
            }
            for (uint32_t r = 0; r < n; r++)
                if (r != col) {
                    Complex16 f = a(r, col);
                    for (uint32_t j = 0; j < n; j++) {
                        a(r, j) -= f * a(col, j);
                        inv(r, j) -= f * inv(col, j);
                    }
                }
        }
        Dense X(2, 2);
        for (uint32_t i = 0; i < 2; i++)
            for (uint32_t j = 0; j < 2; j++) X(i, j) = inv(i, j);
        Dense b0 = FromCompact(T.b[0]);
        Dense G = Mul(Mul(b0, X), Op(b0, 'C'));
        Dense a0 = FromCompact(T.a[0]);
        for (size_t i = 0; i < G.a.size(); i++) G.a[i] += a0.a[i];
        return G;
    };
    ExpectSameFunction(ChainFunction(T), resolvent, 1e-11, "chain against the resolvent");
    FreeBlockTriDiagonalMatrix(&T);
}

TEST(BlockForms, NaturalOrbitalSplitsAtMuAndKeepsTheFunction) {
    BlockListOfPoles L = RandomList(8, 2, 2, true);
    BlockNaturalImpurityOrbitalMatrixType B;
    ASSERT_EQ(BlockListOfPolesToBlockNaturalImpurityOrbitalMatrix(L, &B, 0.25, 0, 0), 0);
    // T is the pair of source couplings side by side.
    for (uint32_t r = 0; r < 2; r++)
        for (uint32_t c = 0; c < 2; c++) {
            EXPECT_EQ(Abs(CompactMatrixElement(B.T, r, c) - CompactMatrixElement(B.val.b[0], r, c)), 0.0);
            EXPECT_EQ(Abs(CompactMatrixElement(B.T, r, c + 2) - CompactMatrixElement(B.con.b[0], r, c)), 0.0);
        }
    BlockListOfPoles V, C;
    ASSERT_EQ(BlockTriDiagonalMatrixToBlockListOfPoles(B.val, &V), 0);
    ASSERT_EQ(BlockTriDiagonalMatrixToBlockListOfPoles(B.con, &C), 0);
    for (uint32_t k = 0; k < V.N; k++) EXPECT_LE(BlockListOfPolesEnergy(V, k), 0.25 + 1e-12);
    for (uint32_t k = 0; k < C.N; k++) EXPECT_GT(BlockListOfPolesEnergy(C, k), 0.25 - 1e-12);
    BlockListOfPoles back;
    ASSERT_EQ(BlockNaturalImpurityOrbitalMatrixToBlockListOfPoles(B, &back), 0);
    ExpectSameFunction(ListFunction(back), ListFunction(L), 1e-10, "list of natural orbital");

    // Chains of one site each keep the weight and the first moment of each
    // half, so of the whole.
    BlockNaturalImpurityOrbitalMatrixType R;
    ASSERT_EQ(BlockListOfPolesToBlockNaturalImpurityOrbitalMatrixReduceDimension(L, &R, 0.25, 1, 1), 0);
    EXPECT_EQ(R.val.N, 1u);
    EXPECT_EQ(R.con.N, 1u);
    BlockListOfPoles Rl;
    ASSERT_EQ(BlockNaturalImpurityOrbitalMatrixToBlockListOfPoles(R, &Rl), 0);
    for (int moment = 0; moment < 2; moment++)
        for (uint32_t r = 0; r < 2; r++)
            for (uint32_t c = 0; c < 2; c++) {
                Complex16 a{0, 0}, b{0, 0};
                for (uint32_t k = 0; k < L.N; k++)
                    a += BlockListOfPolesWeight(L, k, r, c) * (moment ? BlockListOfPolesEnergy(L, k) : 1.0);
                for (uint32_t k = 0; k < Rl.N; k++)
                    b += BlockListOfPolesWeight(Rl, k, r, c) * (moment ? BlockListOfPolesEnergy(Rl, k) : 1.0);
                EXPECT_LT(Abs(a - b), 1e-12) << "moment " << moment;
                EXPECT_EQ(Abs(BlockListOfPolesConstant(Rl, r, c) - BlockListOfPolesConstant(L, r, c)), 0.0);
            }
    FreeBlockListOfPoles(&Rl);
    FreeBlockNaturalImpurityOrbitalMatrix(&R);
    FreeBlockListOfPoles(&back);
    FreeBlockListOfPoles(&V);
    FreeBlockListOfPoles(&C);
    FreeBlockNaturalImpurityOrbitalMatrix(&B);
    FreeBlockListOfPoles(&L);
}

TEST(BlockForms, SumsKeepTheConstantBlocks) {
    BlockListOfPoles a = RandomList(3, 2, 2, false);
    BlockListOfPoles b = RandomList(2, 2, 1, true);
    BlockListOfPoles sum;
    ASSERT_EQ(CopyBlockListOfPoles(&sum, a), 0);
    ASSERT_EQ(AddBlockListOfPoles(&sum, b), 0);
    EXPECT_EQ(sum.N, 5u);
    EXPECT_EQ(sum.QComplex, 1u);
    ExpectSameFunction(ListFunction(sum),
                       [&](double w, double g) {
                           Dense x = ListByDefinition(a, w, g), y = ListByDefinition(b, w, g);
                           for (size_t i = 0; i < x.a.size(); i++) x.a[i] += y.a[i];
                           return x;
                       },
                       1e-13, "sum");
    ScaleBlockListOfPoles(&sum, -1.0);
    EXPECT_EQ(BlockListOfPolesConstant(sum, 1, 0).re,
              -(BlockListOfPolesConstant(a, 1, 0).re + BlockListOfPolesConstant(b, 1, 0).re));
    BlockListOfPoles other;
    other.N = 1;
    other.M = 3;
    other.QComplex = 0;
    ASSERT_EQ(InitBlockListOfPoles(&other), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(AddBlockListOfPoles(&sum, other), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "AddBlockListOfPoles called with blocks of size 2 and 3\n");
    EXPECT_EQ(sum.N, 5u);
    FreeBlockListOfPoles(&other);
    FreeBlockListOfPoles(&sum);
    FreeBlockListOfPoles(&a);
    FreeBlockListOfPoles(&b);
}

TEST(BlockForms, ReductionKeepsWeightAndFirstMoment) {
    BlockListOfPoles L = RandomList(30, 3, 2, true);
    double m0;
    double t0 = TotalTrace(L, &m0);
    Dense A0(3, 3);
    for (uint32_t r = 0; r < 3; r++)
        for (uint32_t c = 0; c < 3; c++) A0(r, c) = BlockListOfPolesConstant(L, r, c);
    Dense W0(3, 3);
    for (uint32_t k = 0; k < L.N; k++)
        for (uint32_t r = 0; r < 3; r++)
            for (uint32_t c = 0; c < 3; c++) W0(r, c) += BlockListOfPolesWeight(L, k, r, c);
    ASSERT_EQ(ReduceBlockListOfPoles(&L, 7, 2.2250738585072014e-308), 0);
    EXPECT_EQ(L.N, 7u);
    double m1;
    double t1 = TotalTrace(L, &m1);
    EXPECT_NEAR(t1, t0, 1e-12 * t0);
    EXPECT_NEAR(m1, m0, 1e-11 * t0);  // the trace norm of a semi-definite weight is its trace
    for (uint32_t k = 1; k < L.N; k++) EXPECT_LE(BlockListOfPolesEnergy(L, k - 1), BlockListOfPolesEnergy(L, k));
    Dense W1(3, 3);
    for (uint32_t k = 0; k < L.N; k++)
        for (uint32_t r = 0; r < 3; r++)
            for (uint32_t c = 0; c < 3; c++) W1(r, c) += BlockListOfPolesWeight(L, k, r, c);
    for (uint32_t r = 0; r < 3; r++)
        for (uint32_t c = 0; c < 3; c++) {
            EXPECT_LT(Abs(W1(r, c) - W0(r, c)), 1e-12);
            EXPECT_EQ(Abs(BlockListOfPolesConstant(L, r, c) - A0(r, c)), 0.0);
        }
    // More poles than there are is a no-op; none is refused.
    ASSERT_EQ(ReduceBlockListOfPoles(&L, 7, 0.0), 0);
    EXPECT_EQ(L.N, 7u);
    testing::internal::CaptureStdout();
    EXPECT_EQ(ReduceBlockListOfPoles(&L, 0, 0.0), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Reducing a list of poles to zero poles does not make sence\n");
    EXPECT_EQ(L.N, 7u);
    FreeBlockListOfPoles(&L);
}

TEST(BlockForms, MeshPlacingKeepsMomentsAndRefusesBadMeshes) {
    BlockListOfPoles L = RandomList(20, 2, 2, false);
    SetPole(&L, 0, -9.0, RandomWeight(2, 2, false));  // below the mesh
    SetPole(&L, 1, 9.0, RandomWeight(2, 2, false));   // above the mesh
    SetPole(&L, 2, 1.0, RandomWeight(2, 2, false));   // on a mesh point
    double m0;
    double t0 = TotalTrace(L, &m0);
    std::vector<double> grid;
    for (double e = -4.0; e <= 4.0 + 1e-12; e += 0.5) grid.push_back(e);
    BlockListOfPoles P;
    ASSERT_EQ(CopyBlockListOfPoles(&P, L), 0);
    ASSERT_EQ(BlockListOfPolesPlaceOnMesh(&P, grid.data(), static_cast<unsigned>(grid.size())), 0);
    ASSERT_EQ(P.N, grid.size());
    for (uint32_t k = 0; k < P.N; k++) EXPECT_EQ(BlockListOfPolesEnergy(P, k), grid[k]);
    double m1;
    double t1 = TotalTrace(P, &m1);
    EXPECT_NEAR(t1, t0, 1e-12 * t0);
    // The first moment is kept but for the two poles moved to the ends.
    const double shift = (-4.0 + 9.0) * (BlockListOfPolesWeight(L, 0, 0, 0).re + BlockListOfPolesWeight(L, 0, 1, 1).re) +
                         (4.0 - 9.0) * (BlockListOfPolesWeight(L, 1, 0, 0).re + BlockListOfPolesWeight(L, 1, 1, 1).re);
    EXPECT_NEAR(m1, m0 + shift, 1e-11 * t0);
    for (uint32_t r = 0; r < 2; r++)
        for (uint32_t c = 0; c < 2; c++)
            EXPECT_EQ(BlockListOfPolesConstant(P, r, c).re, BlockListOfPolesConstant(L, r, c).re);

    testing::internal::CaptureStdout();
    EXPECT_EQ(BlockListOfPolesPlaceOnMesh(&P, grid.data(), 1), 1);
    std::vector<double> down = {1.0, 0.5, 0.0};
    EXPECT_EQ(BlockListOfPolesPlaceOnMesh(&P, down.data(), 3), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Error: The mesh should contain at least 2 points.\nSetting N=2.\n"
              "The mesh are two dense or not in correct order:\nNo. 1 - 1.0000000000E+00 \nNo. 2 - 5.0000000000E-01\n");
    EXPECT_EQ(P.N, grid.size());
    FreeBlockListOfPoles(&P);
    FreeBlockListOfPoles(&L);
}

TEST(BlockForms, SingularLevelFailsWithTheInverseMessage) {
    BlockTriDiagonalMatrixType T;
    T.N = 1;
    T.M = 1;
    ASSERT_EQ(InitBlockTriDiagonalMatrix(&T), 0);
    CompactMatrixType out;
    testing::internal::CaptureStdout();
    EXPECT_EQ(EvaluateBlockTriDiagonalMatrix(T, &out, 0.0, 0.0), 1);  // z - a1 = 0
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "zgetrf failed in CompactMatrixInverse with INFO 1\n"
              "CompactMatrixInverse failed in EvaluateBlockTriDiagonalMatrix\n");
    FreeBlockTriDiagonalMatrix(&T);
}

namespace {

// The one-particle matrix of the length-2 terms c^dagger(p) c(q) of O.
Dense OneParticleMatrix(const OperatorType& O) {
    CompactMatrixType h;
    EXPECT_EQ(OperatorCrAnLength2ToOneElectronCompactMatrix(O, &h), 0);
    Dense d = FromCompact(h);
    FreeCompactMatrix(&h);
    return d;
}

// Poles and weights seen from the modes `modes` of the one-particle matrix
// h, mapped through b0 and shifted by a0: the Green's function that the
// operator describes, as a list.
BlockListOfPoles ListOfOneParticleMatrix(const Dense& h, const std::vector<uint32_t>& modes, const Dense& a0,
                                         const Dense& b0) {
    CompactMatrixType H = CompactnullMatrix();
    SetBlock(&H, h, true);
    CompactMatrixType V;
    std::vector<double> w(h.Ni);
    EXPECT_EQ(CompactMatrixEigensystem(&H, &V, w.data()), 0);
    const uint32_t M = static_cast<uint32_t>(modes.size());
    BlockListOfPoles L;
    L.N = h.Ni;
    L.M = M;
    L.QComplex = 1;
    EXPECT_EQ(InitBlockListOfPoles(&L), 0);
    for (uint32_t k = 0; k < h.Ni; k++) {
        Dense u(M, 1);
        for (uint32_t r = 0; r < M; r++) u(r, 0) = CompactMatrixElement(V, k, modes[r]);
        Dense x = Mul(b0, u);
        SetPole(&L, k, w[k], Mul(x, Op(x, 'C')));
    }
    SetPole(&L, h.Ni, 0.0, a0);
    FreeCompactMatrix(&H);
    FreeCompactMatrix(&V);
    return L;
}

}  // namespace

TEST(BlockForms, ImpurityHamiltonianOfAChainReproducesItsGreensFunction) {
    BlockListOfPoles L = RandomList(5, 2, 2, true);
    BlockTriDiagonalMatrixType T;
    ASSERT_EQ(BlockListOfPolesToBlockTriDiagonalMatrix(L, &T, 0), 0);
    ASSERT_EQ(T.N, 5u);
    // Impurity on modes 3 and 1 of 4 impurity spin-orbitals, the bath from
    // mode 6 on, orbital by orbital; NF too small on purpose.
    const uint16_t imp[2] = {3, 1};
    OperatorType O;
    testing::internal::CaptureStdout();
    ASSERT_EQ(BlockTridiagonalMatrixToImpurityHamiltonian(&O, T, 4, 4, imp, 6, ImpurityBathOrbitalMajor), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Warning in BlockTridiagonalMatrixToImpurityHamiltonian\n"
              "Function called with NFermion=4, but total number of Fermions must be larger than 13\n"
              "Number of Fermions enlarged\n");
    EXPECT_STREQ(O.Name, "Impurity Hamiltonian");
    EXPECT_EQ(O.NF, 14u);
    EXPECT_EQ(O.NWord, 2u);
    Dense h = OneParticleMatrix(O);
    for (uint32_t i = 0; i < h.Ni; i++)
        for (uint32_t j = 0; j < h.Nj; j++) EXPECT_EQ(Abs(h(i, j) - Conj(h(j, i))), 0.0);
    // Modes 0, 2, 4, 5 carry nothing: eigenvalues 0 without weight on the
    // impurity.  Orbital r of bath site s sits at 6 + 4r + s.
    EXPECT_EQ(Abs(h(6 + 4 * 1 + 1, 6 + 4 * 0 + 1) - CompactMatrixElement(T.a[3], 1, 0)), 0.0);
    EXPECT_EQ(Abs(h(3, 6 + 4 * 1) - CompactMatrixElement(T.b[1], 0, 1)), 0.0);
    BlockListOfPoles G = ListOfOneParticleMatrix(h, {3, 1}, FromCompact(T.a[0]), FromCompact(T.b[0]));
    ExpectSameFunction(ListFunction(G), ChainFunction(T), 1e-10, "operator against chain");
    ExpectSameFunction(ListFunction(G), ListFunction(L), 1e-10, "operator against list");
    // The poles that carry weight are those of the chain's list.
    BlockListOfPoles LT;
    ASSERT_EQ(BlockTriDiagonalMatrixToBlockListOfPoles(T, &LT), 0);
    std::vector<double> weighted;
    for (uint32_t k = 0; k < G.N; k++) {
        double tr = BlockListOfPolesWeight(G, k, 0, 0).re + BlockListOfPolesWeight(G, k, 1, 1).re;
        if (tr > 1e-12) weighted.push_back(BlockListOfPolesEnergy(G, k));
    }
    ASSERT_EQ(weighted.size(), LT.N);
    for (uint32_t k = 0; k < LT.N; k++) EXPECT_NEAR(weighted[k], BlockListOfPolesEnergy(LT, k), 1e-10);
    FreeBlockListOfPoles(&LT);
    FreeBlockListOfPoles(&G);
    FreeOperator(&O);

    // The star gives the same function, site by site.
    BlockAndersonMatrixType A;
    ASSERT_EQ(BlockTriDiagonalMatrixToBlockAndersonMatrix(T, &A), 0);
    ASSERT_EQ(BlockAndersonMatrixToImpurityHamiltonian(&O, A, 12, 2, nullptr, 2, ImpurityBathSiteMajor), 0);
    G = ListOfOneParticleMatrix(OneParticleMatrix(O), {0, 1}, FromCompact(A.a[0]), FromCompact(A.b[0]));
    ExpectSameFunction(ListFunction(G), ListFunction(L), 1e-10, "operator of star against list");
    FreeBlockListOfPoles(&G);
    FreeOperator(&O);

    // A bath that starts inside the impurity is refused.
    testing::internal::CaptureStdout();
    EXPECT_EQ(BlockAndersonMatrixToImpurityHamiltonian(&O, A, 12, 2, nullptr, 1, ImpurityBathSiteMajor), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "BlockAndersonMatrixToImpurityHamiltonian: the bath starts at mode 1, inside the 2 spin-orbitals of "
              "the impurity\n");
    FreeBlockAndersonMatrix(&A);
    FreeBlockTriDiagonalMatrix(&T);
    FreeBlockListOfPoles(&L);
}

TEST(BlockForms, ImpurityHamiltonianOfANaturalOrbitalHoldsBothChains) {
    BlockListOfPoles L = RandomList(6, 2, 2, false);
    BlockNaturalImpurityOrbitalMatrixType B;
    ASSERT_EQ(BlockListOfPolesToBlockNaturalImpurityOrbitalMatrix(L, &B, 0.0, 0, 0), 0);
    OperatorType O;
    ASSERT_EQ(BlockNaturalImpurityOrbitalMatrixToImpurityHamiltonian(&O, B, 64, 2, nullptr, 2, ImpurityBathSiteMajor),
              0);
    EXPECT_EQ(O.QComplex, 0u);
    // The val chain seen from the impurity modes, the con chain from its
    // first site right after val's bath.
    Dense h = OneParticleMatrix(O);
    const uint32_t conFirst = 2 + (B.val.N - 1) * 2;
    BlockListOfPoles V = ListOfOneParticleMatrix(h, {0, 1}, Dense(2, 2), FromCompact(B.val.b[0]));
    BlockListOfPoles C = ListOfOneParticleMatrix(h, {conFirst, conFirst + 1}, FromCompact(B.epsilon),
                                                 FromCompact(B.con.b[0]));
    ASSERT_EQ(AddBlockListOfPoles(&V, C), 0);
    ExpectSameFunction(ListFunction(V), ListFunction(L), 1e-10, "natural orbital operator against list");
    FreeBlockListOfPoles(&V);
    FreeBlockListOfPoles(&C);
    FreeOperator(&O);
    FreeBlockNaturalImpurityOrbitalMatrix(&B);
    FreeBlockListOfPoles(&L);
}
