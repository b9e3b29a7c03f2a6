// Out-of-memory paths of the wave-function algebra: each allocation of an
// operation is made to fail in turn, until the operation gets through.  A
// failure must print its line, return 1 and leave the states as they were
// (or, for the sums that grow a target, consistent and usable).
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "fail_alloc.h"
#include "manybody/wavefunction_algebra.h"
#include "numeric/matrix.h"

namespace {

// 32 fermionic modes: determinant k is the 4 bytes of k.
std::vector<uint8_t> Det(uint32_t k) {
    return {(uint8_t)(k >> 24), (uint8_t)(k >> 16), (uint8_t)(k >> 8), (uint8_t)k};
}

// Elements first..first+n-1 with value k (and -k when complex).
WaveFunctionType Make(uint32_t first, uint32_t n, bool cplx) {
    WaveFunctionType psi;
    psi.QComplex = cplx ? 1 : 0;
    psi.NFermion = 32;
    psi.NBoson = 0;
    psi.NBitsKey = 12;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    for (uint32_t k = first; k < first + n; k++)
        EXPECT_EQ(cplx ? ComplexWaveFunctionAddElement(&psi, Det(k).data(), k, -double(k))
                       : RealWaveFunctionAddElement(&psi, Det(k).data(), k),
                  0);
    return psi;
}

void ExpectHolds(const WaveFunctionType& psi, uint32_t first, uint32_t n) {
    ASSERT_EQ(psi.N, n);
    for (uint32_t k = first; k < first + n; k += 997) {
        const uint32_t i = WaveFunctionIndexDet(&psi, Det(k).data());
        ASSERT_NE(i, 0u);
        EXPECT_EQ(WaveFunctionRe(psi, i), double(k));
    }
}

// Runs op with the n-th allocation failing for n = 1, 2, ... until it
// succeeds; check() runs after each failed attempt, prepare() before each
// attempt with allocations working.  Returns the number of failed attempts.
template <class Op, class Check, class Prepare>
int EachAllocationFails(Op op, Check check, Prepare prepare) {
    for (unsigned long n = 1; n < 200; n++) {
        prepare();
        testing::internal::CaptureStdout();
        FailAllocAfter(n);
        const int rc = op();
        FailAllocDisarm();
        const std::string out = testing::internal::GetCapturedStdout();
        if (rc == 0) return (int)n - 1;
        EXPECT_FALSE(out.empty()) << "attempt " << n;
        check();
    }
    ADD_FAILURE() << "never succeeded";
    return 0;
}

template <class Op, class Check>
int EachAllocationFails(Op op, Check check) {
    return EachAllocationFails(op, check, [] {});
}

TEST(WaveFunctionAlgebraAlloc, CopyLeavesNothingBehind) {
    WaveFunctionType a = Make(1, 20000, true);
    WaveFunctionType out;
    int failures = EachAllocationFails([&] { return WaveFunctionCopy(a, &out); },
                                       [&] {
                                           EXPECT_EQ(out.N, 0u);
                                           EXPECT_EQ(out.KeyList, nullptr);
                                           EXPECT_EQ(out.ValueRe, nullptr);
                                       });
    EXPECT_GE(failures, 10);
    ExpectHolds(out, 1, 20000);
    WaveFunctionFree(&out);
    WaveFunctionFree(&a);
}

TEST(WaveFunctionAlgebraAlloc, CommonBasisAndListsStayAsTheyWere) {
    for (int op = 0; op < 3; op++) {
        WaveFunctionType list[3] = {Make(1, 17000, false), Make(9000, 12000, false), Make(30000, 50, false)};
        const uint32_t first[3] = {1, 9000, 30000}, count[3] = {17000, 12000, 50};
        unsigned kept;
        int failures = EachAllocationFails(
            [&] {
                if (op == 0) return WaveFunctionArrayToSameBasis(list, 3);
                if (op == 1) return WaveFunctionListSVDOrthogonalize(list, 3, 1e-12, &kept);
                return WaveFunctionListOrthogonalizeDifferentBasis(list, 3, 1e-12, &kept);
            },
            [&] {
                for (int k = 0; k < 3; k++) ExpectHolds(list[k], first[k], count[k]);
            });
        EXPECT_GE(failures, 3);
        if (op == 1) {
            for (auto& s : list) WaveFunctionFree(&s);
        } else {
            EXPECT_EQ(list[2].KeyList, list[0].KeyList);
            BlockWaveFunctionFree(list, 3);
        }
    }
}

TEST(WaveFunctionAlgebraAlloc, SameBasisOrthonormalisationAndTruncationStayAsTheyWere) {
    WaveFunctionType list[2];
    list[0] = Make(1, 5000, false);
    ASSERT_EQ(WaveFunctionInitCopyBasis(&list[1], list[0]), 0);
    for (uint32_t i = 1; i <= list[0].N; i++) WaveFunctionRe(list[1], i) = (double)(i % 3);
    unsigned kept;
    EachAllocationFails([&] { return RealWaveFunctionListSVDOrthogonalizeSameBasis(list, 2, 0.0, &kept, nullptr); },
                        [&] {
                            ExpectHolds(list[0], 1, 5000);
                            EXPECT_EQ(WaveFunctionRe(list[1], 5), 2.0);
                        });
    EXPECT_EQ(kept, 2u);
    BlockWaveFunctionFree(list, 2);

    WaveFunctionType a = Make(1, 20000, true);
    EachAllocationFails([&] { return WaveFunctionTruncateBasis(&a, 100.5); }, [&] { ExpectHolds(a, 1, 20000); });
    EXPECT_EQ(a.N, 19929u);  // |k - ik| > 100.5 from k = 72 on
    WaveFunctionFree(&a);
}

// Sums that grow their target: a failed add leaves a consistent state that
// takes the same sum once memory is back.
TEST(WaveFunctionAlgebraAlloc, GrowingSumsStayUsable) {
    WaveFunctionType b = Make(10000, 20000, true);
    WaveFunctionType a = Make(1, 0, false);
    int failures = EachAllocationFails([&] { return WaveFunctionAddUnionBasis(&a, b); },
                                       [&] {
                                           EXPECT_EQ(a.NBlok, (a.N >> 14) + 1);
                                           EXPECT_EQ(WaveFunctionIndexDet(&a, Det(1).data()), 1u);
                                       },
                                       [&] {
                                           WaveFunctionFree(&a);
                                           a = Make(1, 12000, false);
                                       });
    EXPECT_GE(failures, 2);
    ASSERT_EQ(a.QComplex, 1u);
    EXPECT_EQ(a.N, 29999u);
    EXPECT_EQ(WaveFunctionRe(a, WaveFunctionIndexDet(&a, Det(11000).data())), 22000.0);
    WaveFunctionFree(&a);

    // A promotion that fails leaves the state real.
    WaveFunctionType r = Make(1, 20000, false);
    EachAllocationFails([&] { return WaveFunctionMultiply(&r, 0.0, 1.0); },
                        [&] {
                            EXPECT_EQ(r.QComplex, 0u);
                            ExpectHolds(r, 1, 20000);
                        });
    EXPECT_EQ(r.QComplex, 1u);
    WaveFunctionFree(&r);

    // The basis change, a cyclic shift of all 32 modes: its scratch states
    // and the target's growth.  Each attempt starts from an empty target.
    MatrixType U;
    U.Ni = U.Nj = 32;
    U.QComplex = 0;
    ASSERT_EQ(InitMatrix(&U), 0);
    for (int r = 0; r < 32; r++) U.Re[r][(r + 1) % 32] = 1.0;
    WaveFunctionType src = Make(1, 16500, false), m = Make(1, 0, false);
    EachAllocationFails(
        [&] {
            WaveFunctionReset(&m);
            return MappedWaveFunctionAddRRR(&m, src, U);
        },
        [&] { EXPECT_EQ(m.NBlok, (m.N >> 14) + 1); });
    EXPECT_EQ(m.N, 16500u);
    double nm, ns;
    WaveFunctionCalculateNorm(m, &nm);
    WaveFunctionCalculateNorm(src, &ns);
    EXPECT_DOUBLE_EQ(nm, ns);
    FreeMatrix(&U);
    WaveFunctionFree(&m);
    WaveFunctionFree(&src);
    WaveFunctionFree(&b);
}

}  // namespace
