// Out-of-memory paths of operator application.  A growing kernel whose drain
// cannot add a storage block prints the chain of messages, frees the result
// and returns 1; the fixed-basis kernel reports its value blocks and dies
// when a thread has no working area; the term masks fall back to the
// ladder-by-ladder path without a word.
#include <gtest/gtest.h>
#include <omp.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "fail_alloc.h"
#include "manybody/operator_psi.h"

namespace {

const uint32_t kElements = 20000;  // more than block 0 holds

// kElements determinants of 24 modes, prefactor k.
WaveFunctionType Big(bool cplx) {
    WaveFunctionType psi;
    psi.QComplex = cplx ? 1 : 0;
    psi.NFermion = 24;
    psi.NBoson = 0;
    psi.NBitsKey = 14;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    for (uint32_t k = 1; k <= kElements; k++) {
        uint8_t det[3] = {(uint8_t)(k >> 16), (uint8_t)(k >> 8), (uint8_t)k};
        if (cplx)
            ComplexWaveFunctionAddElement(&psi, det, k, 1.0);
        else
            RealWaveFunctionAddElement(&psi, det, k);
    }
    return psi;
}

// 2 times the identity, and a number operator that acts on some
// determinants, of the given kind.
OperatorType Scale(bool cplx) {
    OperatorType O;
    EXPECT_EQ(InitOperator(&O), 0);
    O.NF = 24;
    O.NWord = 3;
    EXPECT_EQ(InitOperatorFixedLength(&O, 2, 4), 0);
    uint16_t n23[2] = {23, 0x8000 | 23};
    if (cplx) {
        EXPECT_EQ(ComplexOperatorAddLader(&O, nullptr, 0, 2.0, 1.0), 0);
        EXPECT_EQ(ComplexOperatorAddLader(&O, n23, 2, 0.5, 0.0), 0);
    } else {
        EXPECT_EQ(RealOperatorAddLader(&O, nullptr, 0, 2.0), 0);
        EXPECT_EQ(RealOperatorAddLader(&O, n23, 2, 0.5), 0);
    }
    OperatorRecountQComplex(&O);
    return O;
}

// Allocations made by a successful call of f.
template <class F>
unsigned long CountAllocations(F&& f) {
    FailAllocResetCount();
    f();
    return FailAllocCount();
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(AllocOperatorPsi, FailedDrainFreesTheResult) {
    for (bool cplx : {false, true}) {
        SCOPED_TRACE(cplx ? "CC" : "RR");
        WaveFunctionType psi = Big(cplx);
        OperatorType O = Scale(cplx);
        const std::string kernel = cplx ? "OperatorPsiCC" : "OperatorPsiRR";
        const std::string drain =
            cplx ? "ComplexWaveFunctionAddElementOMPMiniFlush" : "RealWaveFunctionAddElementOMPMiniFlush";
        const std::string add = cplx ? "ComplexWaveFunctionAddElement" : "RealWaveFunctionAddElement";

        WaveFunctionType out;
        const unsigned long total = CountAllocations([&]() {
            ASSERT_EQ(OperatorPsi(O, psi, &out), 0);
            ASSERT_EQ(out.N, kElements);
            WaveFunctionFree(&out);
        });
        // The storage block that element 16384 opens is the last thing
        // allocated: its pointer arrays and blocks.
        const unsigned long blockAllocations = cplx ? 8 : 6;
        for (unsigned long n = total - blockAllocations + 1; n <= total; n++) {
            SCOPED_TRACE("allocation " + std::to_string(n));
            FailAllocAfter(n);
            testing::internal::CaptureStdout();
            EXPECT_EQ(OperatorPsi(O, psi, &out), 1);
            const std::string text = testing::internal::GetCapturedStdout();
            FailAllocDisarm();
            EXPECT_TRUE(Has(text, "alloc failed RealWaveFunctionAddElement ")) << text;
            EXPECT_TRUE(Has(text, add + " failed in " + drain + "\n")) << text;
            EXPECT_TRUE(Has(text, drain + " failed in " + kernel + "\n 01\n") ||
                        Has(text, drain + " failed in " + kernel + " 02\n"))
                << text;
            EXPECT_EQ(out.N, 0u);
            EXPECT_EQ(out.ValueRe, nullptr);
            EXPECT_EQ(out.KeyList, nullptr);
        }

        // Without room for the result record nothing starts.
        FailAllocAfter(1);
        testing::internal::CaptureStdout();
        EXPECT_EQ(OperatorPsi(O, psi, &out), 1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "calloc failed in WaveFunctionInit 00\nCould not initialize Opsi in " + kernel + "\n");
        FailAllocDisarm();
        FreeOperator(&O);
        WaveFunctionFree(&psi);
    }
}

TEST(AllocOperatorPsi, MasksFallBackToLadders) {
    WaveFunctionType psi = Big(false);
    OperatorType O = Scale(false);
    WaveFunctionType out;
    // The result record takes 7 allocations, the masks come next.
    for (unsigned long n = 8; n <= 10; n++) {
        FailAllocAfter(n);
        testing::internal::CaptureStdout();
        ASSERT_EQ(OperatorPsi(O, psi, &out), 0);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        FailAllocDisarm();
        ASSERT_EQ(out.N, kElements);
        for (uint32_t k : {1u, 2u, 3u, 19999u}) {
            uint8_t det[3] = {(uint8_t)(k >> 16), (uint8_t)(k >> 8), (uint8_t)k};
            uint32_t i = WaveFunctionIndexDet(&out, det);
            ASSERT_NE(i, 0u);
            EXPECT_EQ(WaveFunctionRe(out, i), (k & 1 ? 2.5 : 2.0) * k);
        }
        WaveFunctionFree(&out);
    }
    FreeOperator(&O);
    WaveFunctionFree(&psi);
}

TEST(AllocOperatorPsi, BlockDrainAndMembers) {
    WaveFunctionType psi[2];
    psi[0] = Big(false);
    ASSERT_EQ(WaveFunctionInitCopyBasis(&psi[1], psi[0]), 0);
    OperatorType O = Scale(false);
    WaveFunctionType out[2];

    const unsigned long total = CountAllocations([&]() {
        ASSERT_EQ(BlockOperatorPsi(O, psi, out, 2), 0);
        BlockWaveFunctionFree(out, 2);
    });
    FailAllocAfter(total);  // the last block of the storage block add
    testing::internal::CaptureStdout();
    EXPECT_EQ(BlockOperatorPsi(O, psi, out, 2), 1);
    std::string text = testing::internal::GetCapturedStdout();
    FailAllocDisarm();
    EXPECT_TRUE(Has(text, "RealBlockWaveFunctionAddElement failed in RealBlockWaveFunctionAddElementOMPMiniFlush\n"))
        << text;
    EXPECT_TRUE(Has(text, "RealWaveFunctionAddElementOMPMiniFlush failed in BlockOperatorPsiRR\n 01\n") ||
                Has(text, "RealBlockWaveFunctionAddElementOMPMiniFlush failed in BlockOperatorPsiRR 02\n"))
        << text;

    // Member 1 is the 8th allocation, after the 7 of member 0.
    FailAllocAfter(8);
    testing::internal::CaptureStdout();
    EXPECT_EQ(BlockOperatorPsi(O, psi, out, 2), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "alloc failed WaveFunctionInitCopyBasis 01 Re\nCould not initialize Opsi[1] in BlockOperatorPsiRR\n");
    FailAllocDisarm();

    // A mixed operator on real states reports like RR.
    OperatorType M = Scale(false);
    ASSERT_EQ(InitOperatorFixedLength(&M, 4, 2), 0);
    uint16_t four[4] = {1, 2, 0x8000 | 2, 0x8000 | 1};
    ASSERT_EQ(ComplexOperatorAddLader(&M, four, 4, 0.0, 1.0), 0);
    OperatorRecountQComplex(&M);
    ASSERT_EQ(M.QComplex, 2u);
    FailAllocAfter(1);
    testing::internal::CaptureStdout();
    EXPECT_EQ(BlockOperatorPsi(M, psi, out, 2), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "calloc failed in WaveFunctionInit 00\nCould not initialize Opsi[0] in BlockOperatorPsiRR\n");
    FailAllocDisarm();

    FreeOperator(&M);
    FreeOperator(&O);
    WaveFunctionFreeValues(&psi[1]);
    WaveFunctionFree(&psi[0]);
}

TEST(AllocOperatorPsi, ConserveBasisValueBlocks) {
    WaveFunctionType psi = Big(false);
    OperatorType O = Scale(false);
    WaveFunctionType out;
    for (unsigned long n : {1ul, 2ul, 3ul}) {
        FailAllocAfter(n);
        testing::internal::CaptureStdout();
        EXPECT_EQ(OperatorPsiConserveBasis(O, psi, &out), 1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  n == 1 ? "alloc failed OperatorPsiConserveBasis 01\n" : "alloc failed OperatorPsiConserveBasis 02\n");
        FailAllocDisarm();
        EXPECT_EQ(out.N, 0u);
        EXPECT_EQ(out.NBlok, 0u);
        EXPECT_EQ(out.ValueRe, nullptr);
        EXPECT_EQ(out.KeyList, nullptr);
    }
    FreeOperator(&O);
    WaveFunctionFree(&psi);
}

TEST(AllocOperatorPsiDeathTest, NoScratchDeterminantEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    WaveFunctionType psi = Big(false);
    OperatorType O = Scale(false);
    WaveFunctionType out;
    ASSERT_EQ(OperatorPsiConserveBasis(O, psi, &out), 0);
    // The masks, then one working area per thread.
    const unsigned long total = CountAllocations([&]() {
        ASSERT_EQ(OperatorPsiConserveBasisPreAllocated(&O, &psi, &out), 0);
    });
    const unsigned long first = total - (unsigned long)omp_get_max_threads() + 1;
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            FailAllocAfter(first);
            OperatorPsiConserveBasisPreAllocated(&O, &psi, &out);
        },
        testing::ExitedWithCode(1),
        "Allocation failed\nNo evaluation information impelemented yet\nSorry you're screwed: System will exit\n");
    WaveFunctionFreeValues(&out);
    FreeOperator(&O);
    WaveFunctionFree(&psi);
}

}  // namespace
