// Out-of-memory paths of the wave-function store: every allocation of an
// add at a block boundary, of WaveFunctionInit and of the other growing
// operations is made to fail in turn.  Each failure must print its line,
// return 1 and leave a state in which lookups and later adds still work.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "fail_alloc.h"
#include "manybody/hash.h"
#include "manybody/wavefunction.h"

namespace {

const uint32_t kFull = WaveFunctionBlokSize - 1;  // elements that fill block 0

// 32 fermionic modes: determinant k is the 4 bytes of k.
std::vector<uint8_t> Det(uint32_t k) {
    return {(uint8_t)(k >> 24), (uint8_t)(k >> 16), (uint8_t)(k >> 8), (uint8_t)k};
}

WaveFunctionType FilledBlock0(bool cplx) {
    WaveFunctionType psi;
    psi.QComplex = cplx ? 1 : 0;
    psi.NFermion = 32;
    psi.NBoson = 0;
    psi.NBitsKey = 16;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    for (uint32_t k = 1; k <= kFull; k++) {
        if (cplx)
            ComplexWaveFunctionAddElement(&psi, Det(k).data(), k, -double(k));
        else
            RealWaveFunctionAddElement(&psi, Det(k).data(), k);
    }
    EXPECT_EQ(psi.N, kFull);
    EXPECT_EQ(psi.NBlok, 1u);
    return psi;
}

// A determinant not in psi whose bucket is empty or already holds a chain.
std::vector<uint8_t> NewDet(const WaveFunctionType& psi, bool chainTail) {
    for (uint32_t k = kFull + 1;; k++) {
        std::vector<uint8_t> d = Det(k);
        bool occupied = psi.KeyList[hash(d.data(), psi.NWord, psi.NBitsKey)] != 0;
        if (occupied == chainTail) return d;
    }
}

void ExpectIntact(const WaveFunctionType& psi, bool cplx) {
    ASSERT_EQ(psi.N, kFull);
    ASSERT_EQ(psi.NBlok, 1u);
    for (uint32_t k : {1u, 2u, 777u, 8191u, kFull}) {
        uint32_t i = WaveFunctionIndexDet(&psi, Det(k).data());
        ASSERT_EQ(i, k);
        EXPECT_EQ(WaveFunctionRe(psi, i), double(k));
        if (cplx) {
            EXPECT_EQ(WaveFunctionIm(psi, i), -double(k));
        }
    }
}

struct BoundaryCase {
    bool cplx;
    bool chainTail;
};

class AllocAddAtBoundary : public testing::TestWithParam<BoundaryCase> {};

TEST_P(AllocAddAtBoundary, EveryFailureLeavesAUsableState) {
    const bool cplx = GetParam().cplx;
    const bool chain = GetParam().chainTail;
    WaveFunctionType psi = FilledBlock0(cplx);
    std::vector<uint8_t> det = NewDet(psi, chain);

    const std::string code = chain ? "1" : "0";
    std::vector<std::string> expected;
    if (cplx) {
        expected = {code + "1 Re", code + "1 Im", code + "2", code + "3", code + "4 Re", code + "4 Re", code + "5",
                    code + "6"};
    } else {
        for (int s = 1; s <= 6; s++) expected.push_back(code + std::to_string(s));
    }

    for (size_t step = 1; step <= expected.size(); step++) {
        testing::internal::CaptureStdout();
        FailAllocAfter(step);
        int rc = cplx ? ComplexWaveFunctionAddElement(&psi, det.data(), 0.5, 0.25)
                      : RealWaveFunctionAddElement(&psi, det.data(), 0.5);
        FailAllocDisarm();
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(rc, 1) << "allocation " << step;
        EXPECT_EQ(out, "alloc failed RealWaveFunctionAddElement " + expected[step - 1] + "\n") << "allocation " << step;
        EXPECT_EQ(WaveFunctionIndexDet(&psi, det.data()), 0u);
        ExpectIntact(psi, cplx);
    }

    // With memory back the same add opens block 1 with exactly the
    // allocations counted above.
    FailAllocResetCount();
    int rc = cplx ? ComplexWaveFunctionAddElement(&psi, det.data(), 0.5, 0.25)
                  : RealWaveFunctionAddElement(&psi, det.data(), 0.5);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(FailAllocCount(), expected.size());
    EXPECT_EQ(psi.N, kFull + 1);
    EXPECT_EQ(psi.NBlok, 2u);
    EXPECT_EQ(WaveFunctionIndexDet(&psi, det.data()), kFull + 1);
    EXPECT_EQ(WaveFunctionRe(psi, kFull + 1), 0.5);
    if (cplx) {
        EXPECT_EQ(WaveFunctionIm(psi, kFull + 1), 0.25);
    }
    EXPECT_EQ(WaveFunctionIndexDet(&psi, Det(kFull).data()), kFull);
    WaveFunctionFree(&psi);
}

INSTANTIATE_TEST_SUITE_P(Kinds, AllocAddAtBoundary,
                         testing::Values(BoundaryCase{false, false}, BoundaryCase{false, true},
                                         BoundaryCase{true, false}, BoundaryCase{true, true}),
                         [](const testing::TestParamInfo<BoundaryCase>& info) {
                             return std::string(info.param.cplx ? "Complex" : "Real") +
                                    (info.param.chainTail ? "ChainTail" : "EmptyBucket");
                         });

TEST(AllocInit, EachStepFailsWithItsMessageAndHoldsNothing) {
    struct Case {
        bool cplx;
        std::vector<std::string> messages;
    };
    const Case cases[] = {
        {false,
         {"calloc failed in WaveFunctionInit 00", "malloc failed in WaveFunctionInit 01",
          "malloc failed in WaveFunctionInit 03", "malloc failed in WaveFunctionInit 04",
          "malloc failed in WaveFunctionInit 05", "malloc failed in WaveFunctionInit 07",
          "malloc failed in WaveFunctionInit 08"}},
        {true,
         {"calloc failed in WaveFunctionInit 00", "malloc failed in WaveFunctionInit 01",
          "malloc failed in WaveFunctionInit 02", "malloc failed in WaveFunctionInit 03",
          "malloc failed in WaveFunctionInit 04", "malloc failed in WaveFunctionInit 05",
          "malloc failed in WaveFunctionInit 06", "malloc failed in WaveFunctionInit 07",
          "malloc failed in WaveFunctionInit 08"}},
    };
    for (const Case& c : cases) {
        for (size_t step = 1; step <= c.messages.size(); step++) {
            WaveFunctionType psi;
            psi.QComplex = c.cplx;
            psi.NFermion = 10;
            psi.NBoson = 0;
            psi.NBitsKey = 8;
            testing::internal::CaptureStdout();
            FailAllocAfter(step);
            int rc = WaveFunctionInit(&psi);
            FailAllocDisarm();
            EXPECT_EQ(testing::internal::GetCapturedStdout(), c.messages[step - 1] + "\n");
            EXPECT_EQ(rc, 1);
            EXPECT_EQ(psi.NBlok, 0u);
            EXPECT_EQ(psi.NWord, 0u);
            EXPECT_EQ(psi.KeyList, nullptr);
            EXPECT_EQ(psi.ValueRe, nullptr);
            EXPECT_EQ(psi.Determinant, nullptr);
            WaveFunctionFree(&psi);  // harmless on the emptied record

            // The record can simply be initialised again.
            FailAllocResetCount();
            ASSERT_EQ(WaveFunctionInit(&psi), 0);
            EXPECT_EQ(FailAllocCount(), c.messages.size());
            uint8_t det[2] = {0xC0, 0x40};
            EXPECT_EQ(WaveFunctionAddElement(&psi, det, 2.0, 0.0), 0);
            EXPECT_EQ(WaveFunctionIndexDet(&psi, det), 1u);
            WaveFunctionFree(&psi);
        }
    }
}

TEST(AllocPromotion, FailedPromotionKeepsTheRealState) {
    WaveFunctionType psi = FilledBlock0(false);
    uint8_t extra[4] = {0xFF, 0xFF, 0xFF, 0xFF};
    ASSERT_EQ(RealWaveFunctionAddElement(&psi, extra, 1.0), 0);  // opens block 1
    ASSERT_EQ(psi.NBlok, 2u);
    const std::vector<std::string> expected = {
        "could not allocate memory in MakeComplexWaveFunctionFromReal 00\n",
        "could not allocate memory in MakeComplexWaveFunctionFromReal 0\n",
        "could not allocate memory in MakeComplexWaveFunctionFromReal 1\n",
    };
    for (size_t step = 1; step <= expected.size(); step++) {
        testing::internal::CaptureStdout();
        FailAllocAfter(step);
        int rc = WaveFunctionAddElement(&psi, Det(5).data(), 1.0, 1.0);
        FailAllocDisarm();
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  expected[step - 1] + "MakeComplexWaveFunctionFromReal failed in WaveFunctionAddElement\n");
        EXPECT_EQ(rc, 1);
        EXPECT_EQ(psi.QComplex, 0u);
        EXPECT_EQ(psi.ValueIm, nullptr);
        EXPECT_EQ(WaveFunctionRe(psi, 5), 5.0);
    }
    ASSERT_EQ(WaveFunctionAddElement(&psi, Det(5).data(), 1.0, 1.0), 0);
    EXPECT_EQ(psi.QComplex, 1u);
    EXPECT_EQ(WaveFunctionRe(psi, 5), 6.0);
    EXPECT_EQ(WaveFunctionIm(psi, 5), 1.0);
    EXPECT_EQ(WaveFunctionIm(psi, 7), 0.0);
    WaveFunctionFree(&psi);
}

TEST(AllocCopyBasis, FailedCopyHoldsNothingAndSparesTheSource) {
    WaveFunctionType psi = FilledBlock0(true);
    uint8_t extra[4] = {0xFF, 0xFF, 0xFF, 0xFF};
    ASSERT_EQ(ComplexWaveFunctionAddElement(&psi, extra, 1.0, 0.0), 0);
    ASSERT_EQ(psi.NBlok, 2u);
    // Re array, two Re blocks, Im array, two Im blocks.
    const char* expected[] = {"01 Re", "02 Re", "02 Re", "01 Im", "02 Im", "02 Im"};
    for (size_t step = 1; step <= 6; step++) {
        WaveFunctionType copy;
        testing::internal::CaptureStdout();
        FailAllocAfter(step);
        int rc = WaveFunctionInitCopyBasis(&copy, psi);
        FailAllocDisarm();
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  std::string("alloc failed WaveFunctionInitCopyBasis ") + expected[step - 1] + "\n");
        EXPECT_EQ(rc, 1);
        EXPECT_EQ(copy.N, 0u);
        EXPECT_EQ(copy.NBlok, 0u);
        EXPECT_EQ(copy.ValueRe, nullptr);
        EXPECT_EQ(copy.ValueIm, nullptr);
    }
    EXPECT_EQ(WaveFunctionIndexDet(&psi, extra), kFull + 1);
    WaveFunctionType copy;
    ASSERT_EQ(WaveFunctionInitCopyBasis(&copy, psi), 0);
    EXPECT_EQ(WaveFunctionRe(copy, kFull + 1), 0.0);
    WaveFunctionFreeValues(&copy);
    WaveFunctionFree(&psi);
}

TEST(AllocFlush, FailedAddStopsTheDrain) {
    WaveFunctionType psi = FilledBlock0(false);
    std::vector<uint8_t> dets;
    std::vector<double> values;
    for (uint32_t k = 0; k < 3; k++) {
        std::vector<uint8_t> d = Det(0x40000000u + k);
        dets.insert(dets.end(), d.begin(), d.end());
        values.push_back(1.0 + k);
    }
    unsigned int count = 3;
    testing::internal::CaptureStdout();
    FailAllocAfter(1);
    int rc = RealWaveFunctionAddElementOMPMiniFlush(&psi, &count, dets.data(), values.data());
    FailAllocDisarm();
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(rc, 1);
    EXPECT_EQ(count, 0u);
    EXPECT_NE(out.find("RealWaveFunctionAddElement failed in RealWaveFunctionAddElementOMPMiniFlush\n"),
              std::string::npos);
    EXPECT_EQ(psi.N, kFull);
    EXPECT_EQ(WaveFunctionIndexDet(&psi, &dets[4]), 0u);  // not drained after the failure
    ExpectIntact(psi, false);
    WaveFunctionFree(&psi);
}

TEST(AllocBlock, FailedBlockAddKeepsAllMembersInStep) {
    WaveFunctionType psi[2];
    psi[0] = FilledBlock0(false);
    ASSERT_EQ(WaveFunctionInitCopyBasis(&psi[1], psi[0]), 0);
    uint8_t det[4] = {0xFF, 0, 0, 1};
    const double values[2] = {1.0, 2.0};
    // ValueRe arrays of both members, Next, Determinant, two value blocks,
    // Next block, Determinant block.
    const char* codes[] = {"01", "01", "02", "03", "04", "04", "05", "06"};
    for (size_t step = 1; step <= 8; step++) {
        testing::internal::CaptureStdout();
        FailAllocAfter(step);
        int rc = RealBlockWaveFunctionAddElement(psi, det, values, 2);
        FailAllocDisarm();
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  std::string("alloc failed RealBlockWaveFunctionAddElement ") + codes[step - 1] + "\n");
        EXPECT_EQ(rc, 1);
        for (const WaveFunctionType& m : psi) {
            EXPECT_EQ(m.N, kFull);
            EXPECT_EQ(m.NBlok, 1u);
            EXPECT_EQ(m.Next, psi[0].Next);
            EXPECT_EQ(m.Determinant, psi[0].Determinant);
        }
    }
    ASSERT_EQ(RealBlockWaveFunctionAddElement(psi, det, values, 2), 0);
    EXPECT_EQ(psi[1].N, kFull + 1);
    EXPECT_EQ(psi[1].NBlok, 2u);
    EXPECT_EQ(WaveFunctionIndexDet(&psi[1], det), kFull + 1);
    EXPECT_EQ(WaveFunctionRe(psi[1], kFull + 1), 2.0);
    BlockWaveFunctionFree(psi, 2);
}

TEST(AllocResetKeylist, FailedResizeKeepsTheOldTable) {
    WaveFunctionType psi = FilledBlock0(false);
    testing::internal::CaptureStdout();
    FailAllocAfter(1);
    int rc = WaveFunctionResetKeylist(&psi, 20);
    FailAllocDisarm();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "realloc failed in RealWaveFunctionResetKeylist\n");
    EXPECT_EQ(rc, 1);
    EXPECT_EQ(psi.NBitsKey, 16u);
    ExpectIntact(psi, false);
    WaveFunctionFree(&psi);
}

}  // namespace
