// Out-of-memory paths of the block response forms: every allocation of an
// operation is made to fail in turn.  A failure must print a line, report
// 1 (or a record without memory), leave its input as it was and its output
// holding nothing; the operation then succeeds when memory is there.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "fail_alloc.h"
#include "response/blockforms.h"
#include "response/responsefunction.h"

namespace {

BlockListOfPoles MakeList(uint32_t N, uint32_t M, bool complex) {
    BlockListOfPoles L;
    L.N = N;
    L.M = M;
    L.QComplex = complex;
    EXPECT_EQ(InitBlockListOfPoles(&L), 0);
    const size_t S = BlockListOfPolesSlice(M);
    for (uint32_t k = 0; k <= N; k++)
        for (uint32_t r = 0; r < M; r++)
            for (uint32_t c = 0; c < M; c++) {
                // Weights r c: diagonally dominant, hence positive definite.
                double re = r == c ? 1.0 + 0.1 * k + r : 0.1 / (1 + k + r + c);
                double im = complex && r != c ? (r < c ? 0.05 : -0.05) : 0.0;
                size_t i = k * S + 1 + r * M + c;
                if (complex)
                    static_cast<Complex16*>(L.Value)[i] = Complex16{re, im};
                else
                    static_cast<double*>(L.Value)[i] = re;
            }
    for (uint32_t k = 0; k < N; k++) {
        double e = -2.0 + 4.0 * k / N + 0.01 * (k % 3);
        if (complex)
            static_cast<Complex16*>(L.Value)[k * S] = Complex16{e, 0.0};
        else
            static_cast<double*>(L.Value)[k * S] = e;
    }
    return L;
}

std::vector<unsigned char> Bytes(const BlockListOfPoles& L) {
    const size_t n = BlockListOfPolesSlice(L.M) * (L.N + size_t{1}) * (L.QComplex ? sizeof(Complex16) : sizeof(double));
    const unsigned char* p = static_cast<const unsigned char*>(L.Value);
    return std::vector<unsigned char>(p, p + n);
}

// Makes allocation 1, 2, ... of step() fail until step() gets through; each
// failure must return non-zero and print, and afterCheck runs after every
// attempt with its result.  Returns the number of failing attempts.
int FailEachAllocation(const std::function<int()>& step, const std::function<void(int)>& afterCheck) {
    for (unsigned long n = 1; n < 5000; n++) {
        testing::internal::CaptureStdout();
        FailAllocAfter(n);
        int r = step();
        FailAllocDisarm();
        std::string out = testing::internal::GetCapturedStdout();
        afterCheck(r);
        if (r == 0) return static_cast<int>(n - 1);
        EXPECT_FALSE(out.empty()) << "a failure at allocation " << n << " printed nothing";
    }
    ADD_FAILURE() << "never succeeded";
    return -1;
}

}  // namespace

TEST(AllocBlockForms, FailedSumOrMeshLeavesTheListAlone) {
    for (bool complex : {false, true}) {
        BlockListOfPoles L = MakeList(6, 2, complex);
        BlockListOfPoles other = MakeList(3, 2, !complex);
        const std::vector<unsigned char> before = Bytes(L);
        const uint32_t N = L.N;
        int failures = FailEachAllocation([&] { return AddBlockListOfPoles(&L, other); },
                                          [&](int r) {
                                              if (r != 0) {
                                                  EXPECT_EQ(L.N, N);
                                                  EXPECT_EQ(Bytes(L), before);
                                              }
                                          });
        EXPECT_GE(failures, 1);
        EXPECT_EQ(L.N, 9u);

        const std::vector<unsigned char> summed = Bytes(L);
        const double grid[4] = {-1.0, 0.0, 1.0, 2.0};
        failures = FailEachAllocation([&] { return BlockListOfPolesPlaceOnMesh(&L, grid, 4); },
                                      [&](int r) {
                                          if (r != 0) {
                                              EXPECT_EQ(Bytes(L), summed);
                                          }
                                      });
        EXPECT_GE(failures, 1);
        EXPECT_EQ(L.N, 4u);
        FreeBlockListOfPoles(&L);
        FreeBlockListOfPoles(&other);
    }
}

TEST(AllocBlockForms, FailedReductionKeepsAWholeSortedList) {
    BlockListOfPoles L = MakeList(12, 3, true);
    Complex16 total[9] = {};
    for (uint32_t k = 0; k < L.N; k++)
        for (uint32_t i = 0; i < 9; i++) total[i] += BlockListOfPolesWeight(L, k, i / 3, i % 3);
    // The reduction itself, failing at each of its allocations in turn.
    FailEachAllocation([&] { return ReduceBlockListOfPoles(&L, 3, 0.0); },
                       [&](int) {
                           EXPECT_GE(L.N, 3u);
                           for (uint32_t k = 1; k < L.N; k++)
                               EXPECT_LE(BlockListOfPolesEnergy(L, k - 1), BlockListOfPolesEnergy(L, k));
                           for (uint32_t i = 0; i < 9; i++) {
                               Complex16 s{0, 0};
                               for (uint32_t k = 0; k < L.N; k++) s += BlockListOfPolesWeight(L, k, i / 3, i % 3);
                               EXPECT_NEAR(s.re, total[i].re, 1e-12);
                               EXPECT_NEAR(s.im, total[i].im, 1e-12);
                           }
                       });
    EXPECT_EQ(L.N, 3u);
    FreeBlockListOfPoles(&L);
}

TEST(AllocBlockForms, FailedConversionsHoldNothing) {
    BlockListOfPoles L = MakeList(5, 2, true);
    const std::vector<unsigned char> before = Bytes(L);
    BlockTriDiagonalMatrixType T;
    FailEachAllocation([&] { return BlockListOfPolesToBlockTriDiagonalMatrix(L, &T, 0); }, [](int) {});
    BlockAndersonMatrixType A;
    FailEachAllocation([&] { return BlockTriDiagonalMatrixToBlockAndersonMatrix(T, &A); }, [](int) {});
    BlockTriDiagonalMatrixType T2;
    FailEachAllocation([&] { return BlockAndersonMatrixToBlockTriDiagonalMatrix(A, &T2); }, [](int) {});
    BlockListOfPoles LT;
    FailEachAllocation([&] { return BlockTriDiagonalMatrixToBlockListOfPoles(T, &LT); }, [](int) {});
    BlockNaturalImpurityOrbitalMatrixType B;
    FailEachAllocation([&] { return BlockListOfPolesToBlockNaturalImpurityOrbitalMatrix(L, &B, 0.0, 2, 0); },
                       [](int) {});
    BlockListOfPoles LB;
    FailEachAllocation([&] { return BlockNaturalImpurityOrbitalMatrixToBlockListOfPoles(B, &LB); }, [](int) {});
    CompactMatrixType G;
    FailEachAllocation([&] { return EvaluateBlockTriDiagonalMatrix(T, &G, 0.3, 0.1); }, [](int) {});
    FreeCompactMatrix(&G);
    FailEachAllocation([&] { return EvaluateBlockAndersonMatrix(A, &G, 0.3, 0.1); }, [](int) {});
    FreeCompactMatrix(&G);
    OperatorType O;
    FailEachAllocation(
        [&] { return BlockTridiagonalMatrixToImpurityHamiltonian(&O, T, 20, 2, nullptr, 2, ImpurityBathSiteMajor); },
        [](int) {});
    FreeOperator(&O);
    ResponsefunctionType R{'t', 1, &T, nullptr, 0};
    ResponsefunctionType C;
    FailEachAllocation(
        [&] {
            C = ConvertBlockMatrix(R, 'a', 0.0);
            return C.M == nullptr ? 1 : 0;
        },
        [](int) {});
    FreeResponsefunction(&C);
    EXPECT_EQ(Bytes(L), before);
    FreeBlockListOfPoles(&LB);
    FreeBlockNaturalImpurityOrbitalMatrix(&B);
    FreeBlockListOfPoles(&LT);
    FreeBlockTriDiagonalMatrix(&T2);
    FreeBlockAndersonMatrix(&A);
    FreeBlockTriDiagonalMatrix(&T);
    FreeBlockListOfPoles(&L);
}
