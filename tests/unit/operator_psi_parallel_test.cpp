// Operator application on one and on two threads: the same determinants with
// the same values (prefactors are multiples of 1/16, so that every sum is
// exact in any order), and the staging drains that a thread makes.  The
// suite also runs with OMP_NUM_THREADS=1.
#include <gtest/gtest.h>
#include <omp.h>

#include <vector>

#include "manybody/operator_psi.h"
#include "operator_reference.h"

namespace {

using ref::A;
using ref::C;

// Runs f with a team of `threads`, restoring the setting afterwards.
template <class F>
void WithThreads(int threads, F&& f) {
    const int before = omp_get_max_threads();
    omp_set_num_threads(threads);
    f();
    omp_set_num_threads(before);
}

struct Problem {
    OperatorType O;
    WaveFunctionType psi;
    ref::Op rop;
    ref::State rpsi;
};

Problem Make(ref::Kind kind, bool complexState, unsigned NF, unsigned ndet, uint64_t seed) {
    Problem s;
    ref::RandomSettings r;
    r.NF = NF;
    r.kind = kind;
    r.n2 = 60;
    r.n4 = 200;
    r.dyadic = true;
    s.O = ref::RandomOperator(r, seed, &s.rop);
    s.psi = ref::RandomState(NF, 0, ndet, complexState, seed + 1, &s.rpsi, true, 0.5, 8);
    return s;
}

void Free(Problem& s) {
    WaveFunctionFree(&s.psi);
    FreeOperator(&s.O);
}

TEST(OperatorPsiParallel, OneAndTwoThreadsGiveTheSameState) {
    const ref::Kind kinds[] = {ref::Real, ref::Complex, ref::Mixed};
    uint64_t seed = 7000;
    for (unsigned NF : {12u, 70u}) {
        for (ref::Kind kind : kinds) {
            for (bool complexState : {false, true}) {
                SCOPED_TRACE("NF=" + std::to_string(NF) + " kind=" + std::to_string(kind) +
                             " state=" + std::to_string(complexState));
                Problem s = Make(kind, complexState, NF, 400, seed);
                seed += 2;
                std::map<ref::Bytes, ref::Cx> grown[2], fixed[2];
                for (int threads : {1, 2}) {
                    WithThreads(threads, [&]() {
                        WaveFunctionType out;
                        ASSERT_EQ(OperatorPsi(s.O, s.psi, &out), 0);
                        grown[threads - 1] = ref::Contents(out);
                        WaveFunctionFree(&out);
                        ASSERT_EQ(OperatorPsiConserveBasis(s.O, s.psi, &out), 0);
                        fixed[threads - 1] = ref::Contents(out);
                        WaveFunctionFreeValues(&out);
                    });
                }
                EXPECT_GT(grown[0].size(), 2 * WaveFunctionStagingSize);
                EXPECT_EQ(grown[0], grown[1]);
                EXPECT_EQ(fixed[0], fixed[1]);
                // And both are right.
                const ref::Result want = ref::Apply(s.rop, s.rpsi);
                ASSERT_EQ(grown[0].size(), want.size());
                for (const auto& [det, e] : want) EXPECT_EQ(grown[0][det], e.value);
                Free(s);
            }
        }
    }
}

TEST(OperatorPsiParallel, BlocksOnOneAndTwoThreads) {
    Problem s = Make(ref::Mixed, true, 12, 300, 8000);
    const unsigned count = 2;
    std::vector<WaveFunctionType> psi(count);
    psi[0] = s.psi;
    ASSERT_EQ(WaveFunctionInitCopyBasis(&psi[1], s.psi), 0);
    for (uint32_t i = 1; i <= s.psi.N; i++) {
        WaveFunctionRe(psi[1], i) = (double)(i % 7) - 3.0;
        WaveFunctionIm(psi[1], i) = (double)(i % 5) / 4.0;
    }
    std::map<ref::Bytes, ref::Cx> members[2][count];
    for (int threads : {1, 2}) {
        WithThreads(threads, [&]() {
            std::vector<WaveFunctionType> out(count);
            ASSERT_EQ(BlockOperatorPsi(s.O, psi.data(), out.data(), count), 0);
            for (unsigned j = 0; j < count; j++) members[threads - 1][j] = ref::Contents(out[j]);
            BlockWaveFunctionFree(out.data(), count);
        });
    }
    for (unsigned j = 0; j < count; j++) EXPECT_EQ(members[0][j], members[1][j]);
    WaveFunctionFreeValues(&psi[1]);
    Free(s);
}

// A state whose first determinant has modes 0..11 of 24 occupied, so that
// the hops C i A j (i in 12..23, j in 0..11) give 144 different results, and
// `others` more determinants that no such hop acts on (none of modes 0..11
// occupied).
WaveFunctionType HopTarget(unsigned others) {
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = 24;
    psi.NBoson = 0;
    psi.NBitsKey = 6;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    uint8_t det[3] = {0xFF, 0xF0, 0x00};
    RealWaveFunctionAddElement(&psi, det, 1.0);
    for (unsigned k = 0; k < others; k++) {
        uint8_t d[3] = {0x00, (uint8_t)(k & 0x0F), (uint8_t)(k >> 4)};
        RealWaveFunctionAddElement(&psi, d, 1.0);
    }
    return psi;
}

OperatorType Hops(unsigned n) {
    OperatorType O;
    EXPECT_EQ(InitOperator(&O), 0);
    O.NF = 24;
    O.NWord = 3;
    EXPECT_EQ(InitOperatorFixedLength(&O, 2, 8), 0);
    unsigned made = 0;
    for (unsigned i = 12; i < 24 && made < n; i++)
        for (unsigned j = 0; j < 12 && made < n; j++, made++) {
            uint16_t codes[2] = {A(j), C(i)};
            EXPECT_EQ(RealOperatorAddLader(&O, codes, 2, 1.0), 0);
        }
    return O;
}

TEST(OperatorPsiParallel, ExactlyOneFullStagingBufferFlushesOnce) {
    // One input determinant (ladder-by-ladder path) and four (mask path, the
    // productive determinant first, so in the first thread's chunk).
    for (unsigned others : {0u, 3u}) {
        WaveFunctionType psi = HopTarget(others);
        for (unsigned terms : {128u, 129u}) {
            SCOPED_TRACE("terms=" + std::to_string(terms) + " others=" + std::to_string(others));
            OperatorType O = Hops(terms);
            OperatorPsiProfileReset();
            OperatorPsiProfile.Enabled = 1;
            WaveFunctionType out;
            ASSERT_EQ(OperatorPsi(O, psi, &out), 0);
            OperatorPsiProfile.Enabled = 0;
            EXPECT_EQ(out.N, terms);
            EXPECT_EQ(OperatorPsiProfile.Entries, terms);
            EXPECT_EQ(OperatorPsiProfile.NonEmptyFlushes, terms == 128 ? 1u : 2u);
            // One drain inside the loop, then one final drain per thread,
            // empty for 128 entries.
            const unsigned team = (unsigned)omp_get_max_threads();
            EXPECT_EQ(OperatorPsiProfile.Flushes, 1u + team);
            WaveFunctionFree(&out);
            FreeOperator(&O);
        }
        WaveFunctionFree(&psi);
    }
}

}  // namespace
