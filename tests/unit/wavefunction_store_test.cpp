// The wave-function store against a plain std::map reference: insertion
// order, block boundaries, chains, sums, re-keying, resets, basis-sharing
// copies and blocks of states.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "manybody/wavefunction.h"

namespace {

using Det = std::vector<uint8_t>;

WaveFunctionType MakeState(uint32_t NF, bool cplx, uint32_t nbits, uint32_t NB = 0) {
    WaveFunctionType psi;
    psi.QComplex = cplx ? 1 : 0;
    psi.NFermion = NF;
    psi.NBoson = NB;
    psi.NBitsKey = nbits;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    return psi;
}

Det Counter(uint32_t k) { return {(uint8_t)(k >> 24), (uint8_t)(k >> 16), (uint8_t)(k >> 8), (uint8_t)k}; }

Det Random(std::mt19937_64& rng, uint32_t nword) {
    Det d(nword);
    for (auto& b : d) b = (uint8_t)rng();
    return d;
}

// Reference: determinant -> (first-insertion index, summed value).
struct Reference {
    std::map<Det, std::pair<uint32_t, double>> elements;
    void Add(const Det& d, double v) {
        auto it = elements.find(d);
        if (it == elements.end())
            elements[d] = {(uint32_t)elements.size() + 1, v};
        else
            it->second.second += v;
    }
};

void ExpectMatches(const WaveFunctionType& psi, const Reference& ref) {
    ASSERT_EQ(psi.N, ref.elements.size());
    for (const auto& [det, entry] : ref.elements) {
        uint32_t i = WaveFunctionIndexDet(&psi, det.data());
        ASSERT_EQ(i, entry.first);
        EXPECT_EQ(WaveFunctionRe(psi, i), entry.second);
        EXPECT_EQ(0, memcmp(WaveFunctionDet(psi, i), det.data(), det.size()));
    }
}

TEST(WaveFunctionLayout, WordCountAndCutoffs) {
    EXPECT_EQ(WaveFunctionNWord(0, 0), 0u);
    EXPECT_EQ(WaveFunctionNWord(0, 3), 3u);
    EXPECT_EQ(WaveFunctionNWord(1, 0), 1u);
    EXPECT_EQ(WaveFunctionNWord(8, 0), 1u);
    EXPECT_EQ(WaveFunctionNWord(9, 2), 4u);
    EXPECT_EQ(WaveFunctionNWord(128, 0), 16u);
    uint64_t bits;
    memcpy(&bits, &ZeroCut, 8);
    EXPECT_EQ(bits, 0x0044000000000000ull);
    memcpy(&bits, &SqrtZeroCut, 8);
    EXPECT_EQ(bits, 0x20194C583ADA5B53ull);
}

TEST(WaveFunctionStore, NewStateIsEmpty) {
    WaveFunctionType psi = MakeState(10, true, 16);
    EXPECT_STREQ(psi.Name, "Wave Function");
    EXPECT_EQ(psi.N, 0u);
    EXPECT_EQ(psi.NBlok, 1u);
    EXPECT_EQ(psi.NWord, 2u);
    uint8_t det[2] = {0xC0, 0x00};
    uint32_t i = WaveFunctionIndexDet(&psi, det);
    EXPECT_EQ(i, 0u);
    EXPECT_EQ(WaveFunctionRe(psi, i), 0.0);  // a failed lookup reads 0
    EXPECT_EQ(WaveFunctionIm(psi, i), 0.0);
    WaveFunctionFree(&psi);
    WaveFunctionFree(&psi);  // a freed record is empty; freeing again is harmless
}

TEST(WaveFunctionStore, BlockOneOpensAtTheSixteenThousandThreeHundredEightyFourthElement) {
    WaveFunctionType psi = MakeState(32, false, 16);
    Reference ref;
    for (uint32_t k = 1; k < WaveFunctionBlokSize; k++) {
        ASSERT_EQ(RealWaveFunctionAddElement(&psi, Counter(k).data(), k), 0);
        ref.Add(Counter(k), k);
    }
    EXPECT_EQ(psi.N, 16383u);
    EXPECT_EQ(psi.NBlok, 1u);
    // Index 16383 is the last slot of block 0.
    EXPECT_EQ(WaveFunctionDet(psi, 16383), psi.Determinant[0] + 16383 * 4);
    ASSERT_EQ(RealWaveFunctionAddElement(&psi, Counter(99999).data(), -1.0), 0);
    ref.Add(Counter(99999), -1.0);
    EXPECT_EQ(psi.N, 16384u);
    EXPECT_EQ(psi.NBlok, 2u);
    EXPECT_EQ(WaveFunctionDet(psi, 16384), psi.Determinant[1]);
    EXPECT_EQ(psi.ValueRe[1][0], -1.0);
    ExpectMatches(psi, ref);
    WaveFunctionFree(&psi);
}

class WaveFunctionKeyWidth : public testing::TestWithParam<uint32_t> {};

// Random determinants with repeats, values that sum exactly.
TEST_P(WaveFunctionKeyWidth, LookupsAndSumsMatchTheReference) {
    std::mt19937_64 rng(7);
    WaveFunctionType psi = MakeState(64, false, GetParam());
    Reference ref;
    std::vector<Det> pool;
    for (int k = 0; k < 3000; k++) pool.push_back(Random(rng, 8));
    for (int k = 0; k < 20000; k++) {
        const Det& d = pool[rng() % pool.size()];
        double v = (double)(int)(rng() % 17) - 8.0;
        ASSERT_EQ(RealWaveFunctionAddElement(&psi, d.data(), v), 0);
        ref.Add(d, v);
    }
    ExpectMatches(psi, ref);
    for (int k = 0; k < 100; k++) {
        Det absent = Random(rng, 8);
        if (ref.elements.count(absent) == 0) {
            EXPECT_EQ(WaveFunctionIndexDet(&psi, absent.data()), 0u);
        }
    }
    WaveFunctionFree(&psi);
}

INSTANTIATE_TEST_SUITE_P(Widths, WaveFunctionKeyWidth, testing::Values(1u, 4u, 16u, 33u));

TEST(WaveFunctionStore, RepeatsSumAndZeroStillCreatesAnElement) {
    WaveFunctionType psi = MakeState(4, true, 16);
    uint8_t a = 0xC0, b = 0x30;
    ComplexWaveFunctionAddElement(&psi, &a, 1.0, 2.0);
    ComplexWaveFunctionAddElement(&psi, &a, 0.5, -1.0);
    EXPECT_EQ(psi.N, 1u);
    EXPECT_EQ(WaveFunctionRe(psi, 1), 1.5);
    EXPECT_EQ(WaveFunctionIm(psi, 1), 1.0);
    ComplexWaveFunctionAddElement(&psi, &b, 0.0, 0.0);
    EXPECT_EQ(psi.N, 2u);
    EXPECT_EQ(WaveFunctionIndexDet(&psi, &b), 2u);
    WaveFunctionFree(&psi);
}

TEST(WaveFunctionStore, NoModesMeansEveryDeterminantIsTheSame) {
    WaveFunctionType psi = MakeState(0, false, 4);
    EXPECT_EQ(psi.NWord, 0u);
    uint8_t none = 0;  // no byte of it is read
    RealWaveFunctionAddElement(&psi, &none, 1.0);
    RealWaveFunctionAddElement(&psi, &none, 2.0);
    EXPECT_EQ(psi.N, 1u);
    EXPECT_EQ(WaveFunctionRe(psi, 1), 3.0);
    WaveFunctionFree(&psi);
}

TEST(WaveFunctionStore, GeneralAddPromotesOnlyForARealImaginaryPart) {
    WaveFunctionType psi = MakeState(4, false, 16);
    uint8_t a = 0xC0, b = 0x30;
    WaveFunctionAddElement(&psi, &a, 1.0, 1e-310);  // below ZeroCut: dropped
    EXPECT_EQ(psi.QComplex, 0u);
    EXPECT_EQ(psi.ValueIm, nullptr);
    WaveFunctionAddElement(&psi, &b, 2.0, -3.0);
    ASSERT_EQ(psi.QComplex, 1u);
    EXPECT_EQ(WaveFunctionRe(psi, 1), 1.0);
    EXPECT_EQ(WaveFunctionIm(psi, 1), 0.0);
    EXPECT_EQ(WaveFunctionIm(psi, 2), -3.0);
    EXPECT_EQ(WaveFunctionIm(psi, 0), 0.0);
    WaveFunctionFree(&psi);
}

TEST(WaveFunctionStore, ConserveBasisAddsOnlyToPresentDeterminants) {
    WaveFunctionType psi = MakeState(4, false, 16);
    uint8_t a = 0xC0, b = 0x30;
    RealWaveFunctionAddElement(&psi, &a, 1.0);
    RealWaveFunctionAddElementConserveBasis(&psi, &a, 0.25);
    RealWaveFunctionAddElementConserveBasis(&psi, &b, 5.0);
    EXPECT_EQ(psi.N, 1u);
    EXPECT_EQ(WaveFunctionRe(psi, 1), 1.25);
    EXPECT_EQ(WaveFunctionRe(psi, 0), 0.0);
    WaveFunctionAddElementConserveBasis(&psi, &a, 1e-310, 1e-310);
    EXPECT_EQ(psi.QComplex, 0u);
    WaveFunctionAddElementConserveBasis(&psi, &a, 1.0, 2.0);
    ASSERT_EQ(psi.QComplex, 1u);
    EXPECT_EQ(WaveFunctionRe(psi, 1), 2.25);
    EXPECT_EQ(WaveFunctionIm(psi, 1), 2.0);
    WaveFunctionFree(&psi);
}

// Elements with negligible values are dropped, the others keep their order
// and move down; the hash table works at the new width.
TEST(WaveFunctionReKey, DropsNegligibleElementsAndKeepsOrder) {
    for (bool cplx : {false, true}) {
        for (uint32_t nbits : {6u, 16u, 18u}) {
            WaveFunctionType psi = MakeState(32, cplx, 16);
            std::vector<uint32_t> kept;
            const uint32_t total = 40000;
            for (uint32_t k = 1; k <= total; k++) {
                // Every third value is below the cut-offs.
                bool tiny = k % 3 == 0;
                double v = tiny ? 1e-160 : (double)k;
                if (cplx)
                    ComplexWaveFunctionAddElement(&psi, Counter(k).data(), v, tiny ? 1e-160 : 0.5);
                else
                    RealWaveFunctionAddElement(&psi, Counter(k).data(), v);
                if (!tiny) kept.push_back(k);
            }
            ASSERT_EQ(psi.NBlok, 3u);
            ASSERT_EQ(WaveFunctionResetKeylist(&psi, nbits), 0);
            EXPECT_EQ(psi.NBitsKey, nbits);
            ASSERT_EQ(psi.N, kept.size());
            EXPECT_EQ(psi.NBlok, (psi.N >> 14) + 1);
            for (uint32_t i = 1; i <= psi.N; i++) {
                uint32_t k = kept[i - 1];
                ASSERT_EQ(WaveFunctionIndexDet(&psi, Counter(k).data()), i);
                EXPECT_EQ(WaveFunctionRe(psi, i), (double)k);
                if (cplx) {
                    EXPECT_EQ(WaveFunctionIm(psi, i), 0.5);
                }
            }
            EXPECT_EQ(WaveFunctionIndexDet(&psi, Counter(3).data()), 0u);
            // The re-keyed state grows normally.
            RealWaveFunctionAddElement(&psi, Counter(3).data(), 1.0);
            EXPECT_EQ(WaveFunctionIndexDet(&psi, Counter(3).data()), kept.size() + 1);
            WaveFunctionFree(&psi);
        }
    }
}

TEST(WaveFunctionReKey, ResetEmptiesButKeepsTheStateUsable) {
    WaveFunctionType psi = MakeState(32, true, 10);
    for (uint32_t k = 1; k <= 20000; k++) ComplexWaveFunctionAddElement(&psi, Counter(k).data(), 1.0, 1.0);
    ASSERT_EQ(psi.NBlok, 2u);
    WaveFunctionReset(&psi);
    EXPECT_EQ(psi.N, 0u);
    EXPECT_EQ(psi.NBlok, 1u);
    EXPECT_EQ(WaveFunctionIndexDet(&psi, Counter(5).data()), 0u);
    for (uint32_t k = 1; k <= 20000; k++) ComplexWaveFunctionAddElement(&psi, Counter(k + 7).data(), 2.0, 0.0);
    EXPECT_EQ(WaveFunctionIndexDet(&psi, Counter(20007).data()), 20000u);
    EXPECT_EQ(WaveFunctionRe(psi, 20000), 2.0);
    WaveFunctionFree(&psi);
}

TEST(WaveFunctionCopyBasis, SharesTheBasisWithZeroedValues) {
    WaveFunctionType psi = MakeState(32, true, 12);
    for (uint32_t k = 1; k <= 17000; k++) ComplexWaveFunctionAddElement(&psi, Counter(k).data(), k, 1.0);
    WaveFunctionType copy;
    ASSERT_EQ(WaveFunctionInitCopyBasis(&copy, psi), 0);
    EXPECT_EQ(copy.KeyList, psi.KeyList);
    EXPECT_EQ(copy.Determinant, psi.Determinant);
    EXPECT_NE(copy.ValueRe, psi.ValueRe);
    EXPECT_EQ(copy.N, psi.N);
    EXPECT_EQ(WaveFunctionRe(copy, 16999), 0.0);
    EXPECT_EQ(WaveFunctionIm(copy, 16999), 0.0);
    ComplexWaveFunctionAddElementConserveBasis(&copy, Counter(16999).data(), 3.0, -1.0);
    EXPECT_EQ(WaveFunctionRe(copy, 16999), 3.0);
    EXPECT_EQ(WaveFunctionRe(psi, 16999), 16999.0);
    WaveFunctionFreeValues(&copy);
    WaveFunctionFree(&psi);
}

TEST(WaveFunctionBlock, MembersShareTheBasisAndKeepTheirValues) {
    WaveFunctionType psi[3];
    psi[0] = MakeState(32, false, 8);
    for (int j = 1; j < 3; j++) ASSERT_EQ(WaveFunctionInitCopyBasis(&psi[j], psi[0]), 0);
    for (uint32_t k = 1; k <= 20000; k++) {
        double v[3] = {(double)k, k % 2 ? 1e-170 : 1.0, 0.0};
        if (k % 4 == 0) v[0] = 0.0;  // kept through the second member only
        if (k % 8 == 0) v[1] = 0.0;  // dropped by the re-key
        ASSERT_EQ(RealBlockWaveFunctionAddElement(psi, Counter(k).data(), v, 3), 0);
    }
    double extra[3] = {1.0, 2.0, 3.0};
    RealBlockWaveFunctionAddElement(psi, Counter(7).data(), extra, 3);
    for (const WaveFunctionType& m : psi) {
        EXPECT_EQ(m.N, 20000u);
        EXPECT_EQ(m.NBlok, 2u);
        EXPECT_EQ(m.Next, psi[0].Next);
    }
    EXPECT_EQ(WaveFunctionRe(psi[2], 7), 3.0);
    EXPECT_EQ(WaveFunctionRe(psi[0], 7), 8.0);

    ASSERT_EQ(BlockWaveFunctionResetKeylist(psi, 3, 12), 0);
    // Kept: every k not a multiple of 8 (odd k through member 0, k = 2, 4, 6
    // mod 8 through member 1 or 0).
    EXPECT_EQ(psi[2].N, 17500u);
    EXPECT_EQ(psi[1].KeyList, psi[0].KeyList);
    uint32_t i = WaveFunctionIndexDet(&psi[1], Counter(12).data());
    ASSERT_NE(i, 0u);
    EXPECT_EQ(WaveFunctionRe(psi[0], i), 0.0);
    EXPECT_EQ(WaveFunctionRe(psi[1], i), 1.0);
    EXPECT_EQ(WaveFunctionIndexDet(&psi[2], Counter(16).data()), 0u);
    BlockWaveFunctionFree(psi, 3);
}

TEST(WaveFunctionBlock, ComplexValuesPromoteEveryMember) {
    WaveFunctionType psi[2];
    psi[0] = MakeState(8, false, 8);
    ASSERT_EQ(WaveFunctionInitCopyBasis(&psi[1], psi[0]), 0);
    uint8_t det = 0x81;
    double re[2] = {1.0, 2.0}, im[2] = {0.0, 0.5};
    ASSERT_EQ(BlockWaveFunctionAddElement(psi, &det, re, im, 2), 0);
    EXPECT_EQ(psi[0].QComplex, 1u);
    EXPECT_EQ(psi[1].QComplex, 1u);
    EXPECT_EQ(WaveFunctionIm(psi[1], 1), 0.5);
    BlockWaveFunctionAddElementConserveBasis(psi, &det, re, im, 2);
    EXPECT_EQ(WaveFunctionRe(psi[1], 1), 4.0);
    EXPECT_EQ(WaveFunctionIm(psi[1], 1), 1.0);
    BlockWaveFunctionFree(psi, 2);
}

TEST(WaveFunctionText, CreateFromIndicesAndPhysicalCheck) {
    WaveFunctionType psi;
    const uint16_t modes[] = {0, 1, 9};
    ASSERT_EQ(CreateWaveFunctionFromString(&psi, modes, 3, 10, 0, 16), 0);
    EXPECT_EQ(psi.N, 1u);
    EXPECT_EQ(psi.QComplex, 0u);
    EXPECT_EQ(WaveFunctionDet(psi, 1)[0], 0xC0);
    EXPECT_EQ(WaveFunctionDet(psi, 1)[1], 0x40);
    EXPECT_EQ(WaveFunctionRe(psi, 1), 1.0);
    WaveFunctionFree(&psi);

    const uint16_t twice[] = {3, 3};
    testing::internal::CaptureStdout();
    EXPECT_EQ(CreateWaveFunctionFromString(&psi, twice, 2, 10, 0, 16), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error in CreateWaveFunctionFromString Fermionic part\n");
    EXPECT_EQ(psi.KeyList, nullptr);  // nothing left allocated

    uint8_t det[2] = {0xFF, 0xFF};
    testing::internal::CaptureStdout();
    EXPECT_EQ(CheckDetPhysical(det, 12, 0), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Warning: Determinant has electrons in states larger than NFermion (det=ff allowed=f0)\n");
    EXPECT_EQ(det[1], 0xF0);
    EXPECT_EQ(CheckDetPhysical(det, 12, 0), 0);
    EXPECT_EQ(CheckDetPhysical(det, 16, 0), 0);
    EXPECT_EQ(CheckDetPhysical(det, 0, 2), 0);
}

}  // namespace
