// The parallel loops of the wave-function algebra on one and on two threads:
// states whose sizes put the end of the last block on both sides of a block
// boundary, integer values (so that every sum is exact in any order), and
// references computed here by plain serial loops over the element indices.
#include <gtest/gtest.h>
#include <omp.h>

#include <cmath>
#include <string>
#include <random>
#include <vector>

#include "manybody/wavefunction_algebra.h"

namespace {

WaveFunctionType Empty(bool cplx) {
    WaveFunctionType psi;
    psi.QComplex = cplx ? 1 : 0;
    psi.NFermion = 32;
    psi.NBoson = 0;
    psi.NBitsKey = 14;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    return psi;
}

// Determinant k as four bytes.
void Det(uint32_t k, uint8_t* d) {
    for (int b = 0; b < 4; b++) d[b] = (uint8_t)(k >> (8 * (3 - b)));
}

// Elements first..first+n-1 with small integer values.
WaveFunctionType IntegerState(uint32_t first, uint32_t n, bool cplx, uint64_t seed) {
    std::mt19937_64 rng(seed);
    WaveFunctionType psi = Empty(cplx);
    uint8_t d[4];
    for (uint32_t k = 0; k < n; k++) {
        Det(first + k, d);
        const double re = (double)(int)(rng() % 9) - 4.0, im = (double)(int)(rng() % 7) - 3.0;
        EXPECT_EQ(cplx ? ComplexWaveFunctionAddElement(&psi, d, re, im) : RealWaveFunctionAddElement(&psi, d, re), 0);
    }
    return psi;
}

double Im(const WaveFunctionType& psi, uint32_t i) { return psi.QComplex ? WaveFunctionIm(psi, i) : 0.0; }

class WaveFunctionAlgebraParallel : public testing::TestWithParam<uint32_t> {
  protected:
    void TearDown() override { omp_set_num_threads(2); }
};

// SameBasis and ConserveBasis adds, inner products and norms give the exact
// serial results on one thread and on two.
TEST_P(WaveFunctionAlgebraParallel, BlockLoopsAndLookupsGiveTheSerialResults) {
    const uint32_t n = GetParam();
    for (int threads : {1, 2}) {
        omp_set_num_threads(threads);
        WaveFunctionType a = IntegerState(1, n, true, 1);
        WaveFunctionType b;
        ASSERT_EQ(WaveFunctionInitCopyBasis(&b, a), 0);
        WaveFunctionType src = IntegerState(n / 3, n, false, 2);  // overlaps a in part
        ASSERT_EQ(WaveFunctionAddMultipliedConserveBasis(&b, src, 3.0), 0);
        for (uint32_t i = 1; i <= n; i++) {
            const uint32_t j = i >= n / 3 ? i - n / 3 + 1 : 0;
            ASSERT_EQ(WaveFunctionRe(b, i), j ? 3.0 * WaveFunctionRe(src, j) : 0.0) << i;
            ASSERT_EQ(WaveFunctionIm(b, i), 0.0);
        }

        // Serial references.
        double dotRe = 0, dotIm = 0, lookRe = 0, lookIm = 0, norm2 = 0;
        for (uint32_t i = 1; i <= n; i++) {
            const double ar = WaveFunctionRe(a, i), ai = WaveFunctionIm(a, i);
            const double br = WaveFunctionRe(b, i), bi = WaveFunctionIm(b, i);
            dotRe += ar * br + ai * bi;
            dotIm += ar * bi - ai * br;
            norm2 += ar * ar + ai * ai;
            const uint32_t j = i >= n / 3 ? i - n / 3 + 1 : 0;
            if (j != 0 && j <= src.N) {
                lookRe += ar * WaveFunctionRe(src, j);
                lookIm -= ai * WaveFunctionRe(src, j);
            }
        }
        double re, im, nn;
        ASSERT_EQ(WaveFunctionDotProductSameBasis(a, b, &re, &im), 0);
        EXPECT_EQ(re, dotRe);
        EXPECT_EQ(im, dotIm);
        ASSERT_EQ(WaveFunctionDotProduct(a, src, &re, &im), 0);
        EXPECT_EQ(re, lookRe);
        EXPECT_EQ(im, lookIm);
        WaveFunctionCalculateNormSqr(a, &nn);
        EXPECT_EQ(nn, norm2);

        // a += (2 - i) b in the same basis, against the element-wise formula.
        std::vector<double> expRe(n + 1), expIm(n + 1);
        for (uint32_t i = 0; i <= n; i++) {
            expRe[i] = WaveFunctionRe(a, i) + 2.0 * WaveFunctionRe(b, i) + WaveFunctionIm(b, i);
            expIm[i] = WaveFunctionIm(a, i) + 2.0 * WaveFunctionIm(b, i) - WaveFunctionRe(b, i);
        }
        ASSERT_EQ(WaveFunctionAddComplexMultipliedSameBasis(a, b, 2.0, -1.0), 0);
        for (uint32_t i = 0; i <= n; i++) {
            ASSERT_EQ(WaveFunctionRe(a, i), expRe[i]) << i;
            ASSERT_EQ(Im(a, i), expIm[i]) << i;
        }
        EXPECT_EQ(WaveFunctionRe(a, 0), 0.0);

        // Normalisation through the parallel norm and scaling; a state
        // without elements has nothing to normalise.
        testing::internal::CaptureStdout();
        const int rc = WaveFunctionNormalize(&a);
        testing::internal::GetCapturedStdout();
        ASSERT_EQ(rc, n == 0 ? 1 : 0);
        WaveFunctionCalculateNormSqr(a, &nn);
        EXPECT_NEAR(nn, n == 0 ? 0.0 : 1.0, 1e-13);

        WaveFunctionFreeValues(&b);
        WaveFunctionFree(&a);
        WaveFunctionFree(&src);
    }
}

// Sizes around block ends: the last block full but for one slot, just
// opened, holding one element, and several blocks with a partial last one.
INSTANTIATE_TEST_SUITE_P(Sizes, WaveFunctionAlgebraParallel,
                         testing::Values(0u, 7u, 5000u, 16383u, 16384u, 16385u, 32767u, 70000u));

// Random states on both thread counts: unit norm, same basis; a truncation
// after a parallel sum leaves what a serial look at the values predicts.
TEST(WaveFunctionAlgebraParallelRandom, RandomizeAndTruncateOnEitherThreadCount) {
    for (int threads : {1, 2}) {
        omp_set_num_threads(threads);
        WaveFunctionType a = IntegerState(1, 50000, false, 3);
        ASSERT_EQ(RealWaveFunctionRandomize(a), 0);
        EXPECT_NEAR(RealWaveFunctionCalculateNorm(a), 1.0, 1e-14);
        EXPECT_EQ(a.N, 50000u);
        const double eps = 0.5 / std::sqrt(50000.0);
        uint32_t expected = 0;
        for (uint32_t i = 1; i <= a.N; i++) expected += std::fabs(WaveFunctionRe(a, i)) > eps;
        ASSERT_EQ(RealWaveFunctionTruncateBasis(&a, eps), 0);
        EXPECT_EQ(a.N, expected);
        for (uint32_t i = 1; i <= a.N; i++) ASSERT_GT(std::fabs(WaveFunctionRe(a, i)), eps);
        WaveFunctionFree(&a);
    }
    omp_set_num_threads(2);
}

}  // namespace
