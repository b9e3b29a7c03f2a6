// The Lanczos chain of an operator and a start function against the Green's
// function <psi|(z - H)^-1|psi> solved densely on the space that H reaches.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <map>
#include <vector>

#include "krylov/blocklanczos_tridiagonal.h"
#include "krylov/lanczos_groundstate.h"
#include "krylov/lanczos_tridiagonal.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"

namespace {

using cd = std::complex<double>;

// The 4-site Hubbard ring on 8 spin-orbitals (mode 2 s + spin), with a
// phase phi on the hopping of bond 3-0 (a complex H unless phi is 0).
OperatorType HubbardRing(double t, double U, double phi) {
    OperatorType H;
    InitOperator(&H);
    H.NF = 8;
    H.NWord = 1;
    InitOperatorFixedLength(&H, 2, 6);
    InitOperatorFixedLength(&H, 4, 6);
    for (int s = 0; s < 4; s++) {
        const int r = (s + 1) % 4;
        const double ph = r == 0 ? phi : 0.0;
        for (int spin = 0; spin < 2; spin++) {
            const uint16_t i = (uint16_t)(2 * s + spin), j = (uint16_t)(2 * r + spin);
            const uint16_t hop[2] = {j, (uint16_t)(0x8000 | i)};  // c+_i c_j
            const uint16_t back[2] = {i, (uint16_t)(0x8000 | j)};
            OperatorAddLader(&H, hop, 2, -t * std::cos(ph), -t * std::sin(ph));
            OperatorAddLader(&H, back, 2, -t * std::cos(ph), t * std::sin(ph));
        }
        const uint16_t nn[4] = {(uint16_t)(2 * s), (uint16_t)(0x8000 | (2 * s)), (uint16_t)(2 * s + 1),
                                (uint16_t)(0x8000 | (2 * s + 1))};
        OperatorAddLader(&H, nn, 4, U, 0.0);
    }
    return H;
}

WaveFunctionType State(const std::vector<std::pair<uint8_t, double>>& terms) {
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = 8;
    psi.NBoson = 0;
    psi.NBitsKey = 8;
    WaveFunctionInit(&psi);
    for (auto& t : terms) RealWaveFunctionAddElement(&psi, &t.first, t.second);
    return psi;
}

cd Coefficient(const WaveFunctionType& w, uint32_t i) {
    return cd(WaveFunctionRe(w, i), w.QComplex ? WaveFunctionIm(w, i) : 0.0);
}

// <psi|(z - H)^-1|psi> on the closure of psi's determinants under H.
cd DenseGreen(const OperatorType& H, const WaveFunctionType& psi, cd z) {
    std::map<uint8_t, size_t> index;
    std::vector<uint8_t> dets;
    for (uint32_t i = 1; i <= psi.N; i++) {
        uint8_t d = *WaveFunctionDet(psi, i);
        if (!index.count(d)) index[d] = dets.size(), dets.push_back(d);
    }
    std::vector<std::vector<std::pair<size_t, cd>>> columns;
    for (size_t k = 0; k < dets.size(); k++) {
        WaveFunctionType one = State({{dets[k], 1.0}}), out;
        EXPECT_EQ(OperatorPsi(H, one, &out), 0);
        std::vector<std::pair<size_t, cd>> col;
        for (uint32_t i = 1; i <= out.N; i++) {
            uint8_t d = *WaveFunctionDet(out, i);
            if (!index.count(d)) index[d] = dets.size(), dets.push_back(d);
            col.push_back({index[d], Coefficient(out, i)});
        }
        columns.push_back(col);
        WaveFunctionFree(&one);
        WaveFunctionFree(&out);
    }
    const size_t n = dets.size();
    std::vector<std::vector<cd>> A(n, std::vector<cd>(n + 1, 0.0));
    for (size_t k = 0; k < n; k++) {
        A[k][k] += z;
        for (auto& e : columns[k]) A[e.first][k] -= e.second;
    }
    for (uint32_t i = 1; i <= psi.N; i++) A[index[*WaveFunctionDet(psi, i)]][n] += Coefficient(psi, i);
    for (size_t c = 0; c < n; c++) {  // Gaussian elimination, partial pivoting
        size_t p = c;
        for (size_t r = c + 1; r < n; r++)
            if (std::abs(A[r][c]) > std::abs(A[p][c])) p = r;
        std::swap(A[c], A[p]);
        for (size_t r = 0; r < n; r++) {
            if (r == c) continue;
            const cd f = A[r][c] / A[c][c];
            for (size_t k = c; k <= n; k++) A[r][k] -= f * A[c][k];
        }
    }
    cd g = 0.0;
    for (uint32_t i = 1; i <= psi.N; i++) {
        const size_t k = index[*WaveFunctionDet(psi, i)];
        g += std::conj(Coefficient(psi, i)) * A[k][n] / A[k][k];
    }
    return g;
}

TriDiagonalMatrixType Chain(uint32_t n) {
    TriDiagonalMatrixType M;
    M.N = n;
    InitTriDiagonalMatrix(&M);
    return M;
}

const std::vector<std::pair<uint8_t, double>> kStart = {{0xCC, 0.8}, {0x33, -0.5}, {0xA5, 0.3}};

TEST(LanczosTriDiagonalize, ChainReproducesTheDenseGreensFunction) {
    for (double phi : {0.0, 0.7}) {  // real (RR) and complex (CC after promotion)
        OperatorType H = HubbardRing(1.0, 4.0, phi);
        WaveFunctionType psi = State(kStart);
        TriDiagonalMatrixType M = Chain(60);
        ASSERT_EQ(LanczosTriDiagonalize(H, psi, 1e-14, &M, 0.0), 0);
        EXPECT_NEAR(M.b[0] * M.b[0], 0.98, 1e-14);  // the norm of the start
        for (double w : {-4.0, -1.3, 0.0, 2.5, 6.0}) {
            const cd z(w, 0.05);
            const Complex16 g = EvaluateTriDiagonalMatrix(M, w, 0.1);
            const cd want = DenseGreen(H, psi, z);
            EXPECT_NEAR(g.re, want.real(), 1e-8 * std::abs(want)) << "phi " << phi << " w " << w;
            EXPECT_NEAR(g.im, want.imag(), 1e-8 * std::abs(want)) << "phi " << phi << " w " << w;
        }
        // The start function is only read.
        EXPECT_EQ(psi.N, 3u);
        FreeTriDiagonalMatrix(&M);
        WaveFunctionFree(&psi);
        FreeOperator(&H);
    }
}

TEST(LanczosTriDiagonalize, FirstLevelZeroStartAndSingleLevel) {
    OperatorType H = HubbardRing(1.0, 4.0, 0.0);
    WaveFunctionType psi = State(kStart);
    TriDiagonalMatrixType M = Chain(1);
    ASSERT_EQ(LanczosTriDiagonalize(H, psi, 1e-14, &M, 0.0), 0);
    // a[1] = <psi|H|psi> / <psi|psi>: hopping has no diagonal, and U counts
    // the doubly occupied sites (two in 0xCC and 0x33, none in 0xA5).
    const double diag = (0.64 * 8.0 + 0.25 * 8.0 + 0.09 * 0.0) / 0.98;
    EXPECT_NEAR(M.a[1], diag, 1e-12);
    FreeTriDiagonalMatrix(&M);

    WaveFunctionType zero = State({{0xCC, 0.0}});
    M = Chain(5);
    ASSERT_EQ(LanczosTriDiagonalize(H, zero, 1e-14, &M, 0.0), 0);
    for (uint32_t i = 0; i <= 5; i++) EXPECT_EQ(M.a[i], 0.0);
    for (uint32_t i = 0; i < 5; i++) EXPECT_EQ(M.b[i], 0.0);
    FreeTriDiagonalMatrix(&M);
    WaveFunctionFree(&zero);
    WaveFunctionFree(&psi);
    FreeOperator(&H);
}

TEST(LanczosTriDiagonalize, KrylovFormIsOrthonormalAndAgrees) {
    for (double phi : {0.0, 0.7}) {
        OperatorType H = HubbardRing(1.0, 4.0, phi);
        WaveFunctionType psi = State(kStart), copy;
        ASSERT_EQ(WaveFunctionCopy(psi, &copy), 0);
        const uint32_t n = 8;
        TriDiagonalMatrixType M = Chain(n), K = Chain(n);
        ASSERT_EQ(LanczosTriDiagonalize(H, psi, 1e-16, &M, 0.0), 0);
        std::vector<WaveFunctionType> basis(n);
        ASSERT_EQ(LanczosTriDiagonalizeKrylov(H, copy, 1e-16, &K, basis.data()), 0);
        for (uint32_t i = 0; i < n; i++) {
            EXPECT_NEAR(K.a[i + 1], M.a[i + 1], 1e-10) << i;
            EXPECT_NEAR(K.b[i], M.b[i], 1e-10) << i;
            for (uint32_t j = 0; j <= i; j++) {
                double re = 0, im = 0;
                WaveFunctionDotProduct(basis[j], basis[i], &re, &im);
                EXPECT_NEAR(re, i == j ? 1.0 : 0.0, 1e-12) << i << " " << j;
                EXPECT_NEAR(im, 0.0, 1e-12);
            }
        }
        for (auto& v : basis) WaveFunctionFree(&v);
        FreeTriDiagonalMatrix(&M);
        FreeTriDiagonalMatrix(&K);
        WaveFunctionFree(&psi);
        FreeOperator(&H);
    }
}

double Expectation(const OperatorType& H, const WaveFunctionType& psi) {
    WaveFunctionType h;
    EXPECT_EQ(OperatorPsi(H, psi, &h), 0);
    double re = 0, im = 0;
    WaveFunctionDotProduct(psi, h, &re, &im);
    WaveFunctionFree(&h);
    return re;
}

TEST(LanczosGroundState, RingStatesInTurnAndOrthogonalToAComplexList) {
    OperatorType H = HubbardRing(1.0, 4.0, 0.0);
    // A start with weight in every symmetry sector of the ring.
    WaveFunctionType states[2] = {State(kStart), State({{0x96, 1.0}, {0xCC, 0.4}, {0x5A, -0.3}})};
    double epsilon = 2.220446049250313e-12;
    ASSERT_EQ(LanczosGroundState(H, &states[0], &epsilon, 2.220446049250313e-14, 0.0, nullptr, 0), 0);
    EXPECT_NEAR(Expectation(H, states[0]), -2.102748483462, 1e-10);
    // An eigenstate returns at once, unchanged in energy.
    const uint32_t before = states[0].N;
    ASSERT_EQ(LanczosGroundState(H, &states[0], &epsilon, 2.220446049250313e-14, 0.0, nullptr, 0), 0);
    EXPECT_EQ(states[0].N, before);
    // The next state, orthogonal to the first made complex: the result is
    // complex and orthogonal to it.
    ASSERT_EQ(PromoteRealWaveFunctionToComplex(&states[0]), 0);
    ASSERT_EQ(LanczosGroundState(H, &states[1], &epsilon, 2.220446049250313e-14, 0.0, states, 1), 0);
    EXPECT_EQ(states[1].QComplex, 1u);
    double re = 0, im = 0;
    WaveFunctionDotProduct(states[0], states[1], &re, &im);
    EXPECT_NEAR(std::hypot(re, im), 0.0, 1e-10);
    // An eigenstate above the ground state: its variance vanishes.
    const double e1 = Expectation(H, states[1]);
    EXPECT_GT(e1, -2.102748483462 + 1e-3);
    WaveFunctionType h;
    ASSERT_EQ(OperatorPsi(H, states[1], &h), 0);
    WaveFunctionDotProduct(h, h, &re, &im);
    EXPECT_NEAR(re - e1 * e1, 0.0, 1e-9);
    WaveFunctionFree(&h);
    WaveFunctionFree(&states[0]);
    WaveFunctionFree(&states[1]);
    FreeOperator(&H);
}

TEST(LanczosBlockTriDiagonalize, KrylovBlocksAreOrthonormalAndGiveTheSameForm) {
    OperatorType H = HubbardRing(1.0, 4.0, 0.0);
    WaveFunctionType psi[2] = {State(kStart), State({{0x96, 1.0}, {0x69, 0.5}})};
    const uint32_t N = 4, M = 2;
    BlockTriDiagonalMatrixType A{}, B{};
    A.N = B.N = N;
    A.M = B.M = M;
    ASSERT_EQ(InitBlockTriDiagonalMatrix(&A), 0);
    ASSERT_EQ(InitBlockTriDiagonalMatrix(&B), 0);
    std::vector<WaveFunctionType> basis(N * M);
    ASSERT_EQ(LanczosBlockTriDiagonalize(H, psi, M, 1e-16, &A, 1e-12, nullptr), 0);
    ASSERT_EQ(LanczosBlockTriDiagonalizeKrylov(H, psi, M, 1e-16, &B, 1e-12, nullptr, basis.data()), 0);
    for (uint32_t l = 1; l <= N; l++)
        for (uint32_t r = 0; r < M; r++)
            for (uint32_t c = 0; c < M; c++)
                EXPECT_NEAR(CompactMatrixElement(A.a[l], r, c).re, CompactMatrixElement(B.a[l], r, c).re, 1e-12);
    for (size_t i = 0; i < basis.size(); i++)
        for (size_t j = 0; j <= i; j++) {
            double re = 0, im = 0;
            WaveFunctionDotProduct(basis[j], basis[i], &re, &im);
            EXPECT_NEAR(re, i == j ? 1.0 : 0.0, 1e-10) << i << " " << j;
        }
    // The first block holds <psi_i|q_j>: psi_0 is recovered from it.
    double norm2 = 0;
    for (uint32_t j = 0; j < M; j++) norm2 += std::pow(CompactMatrixElement(A.b[0], 0, j).re, 2);
    EXPECT_NEAR(norm2, 0.98, 1e-12);
    for (auto& v : basis) WaveFunctionFree(&v);
    FreeBlockTriDiagonalMatrix(&A);
    FreeBlockTriDiagonalMatrix(&B);
    WaveFunctionFree(&psi[0]);
    WaveFunctionFree(&psi[1]);
    FreeOperator(&H);
}

}  // namespace
