// Operator application checked against a brute-force reference (a dense
// matrix built from the sign rule for up to 12 modes, a determinant-by-
// determinant loop beyond): every kind, the restricted, fixed-basis, single-
// determinant and block forms, and the ladder rule itself.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "manybody/hash.h"
#include "manybody/lader_action.h"
#include "manybody/operator_psi.h"
#include "manybody/operator_psi_engine.h"
#include "manybody/term_masks.h"
#include "operator_reference.h"

namespace {

using ref::A;
using ref::C;

// ---- The ladder rule --------------------------------------------------------

TEST(LaderAction, SignsAndFactorsOfSingleLadders) {
    // Modes 0 and 1 occupied out of 8.
    uint8_t d[1] = {0xC0};
    EXPECT_EQ(LaderAction(A(1), d, 8), -1.0);
    EXPECT_EQ(d[0], 0x80);
    uint8_t e[1] = {0xC0};
    EXPECT_EQ(LaderAction(A(0), e, 8), 1.0);
    EXPECT_EQ(e[0], 0x40);
    // Annihilating an empty mode or creating an occupied one kills, and
    // leaves the determinant alone.
    EXPECT_EQ(LaderAction(A(2), e, 8), 0.0);
    EXPECT_EQ(LaderAction(C(1), e, 8), 0.0);
    EXPECT_EQ(e[0], 0x40);
    EXPECT_EQ(LaderAction(C(7), e, 8), -1.0);
    EXPECT_EQ(e[0], 0x41);

    // Bosons: modes 8 and 9 behind one fermion byte.
    uint8_t b[3] = {0x00, 3, 255};
    EXPECT_DOUBLE_EQ(LaderAction(A(8), b, 8), std::sqrt(3.0));
    EXPECT_EQ(b[1], 2);
    EXPECT_DOUBLE_EQ(LaderAction(C(8), b, 8), std::sqrt(3.0));
    EXPECT_EQ(b[1], 3);
    EXPECT_EQ(LaderAction(C(9), b, 8), 0.0);
    EXPECT_EQ(b[2], 255);
    EXPECT_DOUBLE_EQ(LaderAction(A(9), b, 8), std::sqrt(255.0));
    uint8_t z[2] = {0x00, 0};
    EXPECT_EQ(LaderAction(A(8), z, 8), 0.0);
    EXPECT_FALSE(LaderCanAct(A(8), z, 8));
    EXPECT_TRUE(LaderCanAct(C(8), z, 8));
}

TEST(LaderAction, ParityIsTheCountOfLowerOccupiedModes) {
    // Long determinants exercise the sixteen-byte folding.
    std::mt19937_64 rng(7);
    const unsigned NF = 300, nword = (NF + 7) / 8;
    for (int trial = 0; trial < 200; trial++) {
        std::vector<uint8_t> d(nword);
        for (auto& x : d) x = (uint8_t)rng();
        d[nword - 1] &= 0xF0;  // padding of modes 300..303
        unsigned m = (unsigned)(rng() % NF);
        ref::Occ occ = ref::FromBytes(d.data(), NF, 0);
        int below = 0;
        for (unsigned k = 0; k < m; k++) below += occ[k];
        EXPECT_EQ(LaderParity(d.data(), m >> 3, m & 7), (unsigned)(below % 2)) << "mode " << m;
    }
}

TEST(LaderAction, TermMasksAgreeWithLadderByLadder) {
    std::mt19937_64 rng(11);
    for (unsigned NF : {5u, 20u, 64u, 65u, 100u, 128u}) {
        const uint32_t nword = DeterminantNWord(NF, 0);
        OperatorType O;
        ASSERT_EQ(InitOperator(&O), 0);
        O.NF = NF;
        O.NWord = nword;
        ASSERT_EQ(InitOperatorFixedLength(&O, 4, 6), 0);
        // Small mode sets so that repeated modes, and products that act, are
        // common.
        for (int k = 0; k < 200; k++) {
            uint16_t codes[4];
            for (auto& c : codes) c = (uint16_t)((rng() % 6 == 0 ? 0 : (unsigned)(rng() % NF)) | (rng() % 2 ? 0x8000 : 0));
            RealOperatorAddLader(&O, codes, 4, 1.0);
        }
        OperatorTermMasksType M;
        ASSERT_EQ(InitOperatorTermMasks(&M, O, nword, 0, nullptr), 0);
        ASSERT_EQ(M.W, (nword + 7) / 8);
        const OperatorFixedLengthType& L = O.l[4];
        for (int trial = 0; trial < 100; trial++) {
            std::vector<uint8_t> det(nword + 16, 0);
            for (uint32_t k = 0; k < nword; k++) det[k] = (uint8_t)(rng() | rng());
            if (NF % 8) det[nword - 1] &= (uint8_t)(0xFF00 >> (NF % 8));
            uint64_t x[2] = {0, 0}, y[2];
            if (M.W == 1)
                TermMaskLoadDet<1>(det.data(), nword, x);
            else
                TermMaskLoadDet<2>(det.data(), nword, x);
            for (uint32_t t = 0; t < L.N; t++) {
                std::vector<uint8_t> D(det.begin(), det.begin() + nword);
                double f = 1.0;
                for (int k = 0; k < 4 && f != 0.0; k++) f *= LaderAction(L.o[t * 4 + k], D.data(), NF);
                const uint64_t* test = M.l[4].Test + t * 2 * M.W;
                const uint64_t* act = M.l[4].Act + t * (2 * M.W + 1);
                bool pass = true;
                uint64_t p = act[2 * M.W];
                for (uint32_t w = 0; w < M.W; w++) {
                    pass = pass && (x[w] & test[w]) == test[M.W + w];
                    y[w] = x[w] ^ act[w];
                    p ^= x[w] & act[M.W + w];
                }
                ASSERT_EQ(pass, f != 0.0);
                if (!pass) continue;
                EXPECT_EQ(TermMaskParity(p) ? -1.0 : 1.0, f);
                std::vector<uint8_t> out(16, 0);
                if (M.W == 1)
                    TermMaskStoreDet<1>(y, out.data());
                else
                    TermMaskStoreDet<2>(y, out.data());
                EXPECT_TRUE(std::equal(D.begin(), D.end(), out.begin()));
            }
        }
        FreeOperatorTermMasks(&M);
        FreeOperator(&O);
    }
}

TEST(LaderAction, KernelHashMatchesTheStoreHash) {
    std::mt19937_64 rng(3);
    for (uint32_t length = 0; length <= 40; length++) {
        std::vector<uint8_t> key(length + 1);
        for (auto& k : key) k = (uint8_t)rng();
        for (uint32_t bits : {0u, 5u, 16u, 31u})
            EXPECT_EQ(OperatorPsiHash(key.data(), length, bits), hash(key.data(), length, bits)) << length;
    }
}

// ---- Growing kernels against the reference --------------------------------

struct Case {
    unsigned NF, NB;
    ref::Kind opKind;
    bool complexState;
    unsigned ndet;
};

std::string Describe(const Case& c) {
    return "NF=" + std::to_string(c.NF) + " NB=" + std::to_string(c.NB) + " op=" + std::to_string(c.opKind) +
           " state=" + std::to_string(c.complexState) + " ndet=" + std::to_string(c.ndet);
}

bool ComplexResult(const Case& c) { return c.opKind != ref::Real || c.complexState; }

typedef int (*GrowFn)(OperatorType, WaveFunctionType, WaveFunctionType*);

// The suffixed kernel for a case.
GrowFn Variant(const Case& c) {
    static const GrowFn fns[3][2] = {{OperatorPsiRR, OperatorPsiRC},
                                     {OperatorPsiCR, OperatorPsiCC},
                                     {OperatorPsiMR, OperatorPsiMC}};
    return fns[c.opKind][c.complexState];
}

std::vector<Case> Cases() {
    std::vector<Case> cases;
    // Dense references: 8, 9 and 12 modes; word masks with one word.  A
    // state of 2 determinants goes ladder by ladder.
    for (unsigned NF : {8u, 9u, 12u})
        for (int k = 0; k < 3; k++)
            for (int s = 0; s < 2; s++) cases.push_back({NF, 0, (ref::Kind)k, s == 1, 40});
    cases.push_back({10, 0, ref::Mixed, true, 2});
    cases.push_back({10, 0, ref::Real, false, 1});
    // Two words, bytes beyond 16, and bosons.
    for (unsigned NF : {70u, 140u})
        for (int k = 0; k < 3; k++) cases.push_back({NF, 0, (ref::Kind)k, k == 1, 30});
    for (int k = 0; k < 3; k++) cases.push_back({6, 2, (ref::Kind)k, k != 1, 30});
    return cases;
}

TEST(OperatorPsi, EveryKindMatchesTheReference) {
    uint64_t seed = 100;
    for (const Case& c : Cases()) {
        SCOPED_TRACE(Describe(c));
        ref::RandomSettings s;
        s.NF = c.NF;
        s.NB = c.NB;
        s.kind = c.opKind;
        s.numberChanging = seed % 2 == 0;
        ref::Op rop;
        ref::State rpsi;
        OperatorType O = ref::RandomOperator(s, seed++, &rop);
        WaveFunctionType psi = ref::RandomState(c.NF, c.NB, c.ndet, c.complexState, seed++, &rpsi);
        const ref::Result want = ref::Apply(rop, rpsi);

        WaveFunctionType out;
        ASSERT_EQ(OperatorPsi(O, psi, &out), 0);
        ref::ExpectGrown(out, want, ComplexResult(c));
        EXPECT_EQ(out.NBitsKey, psi.NBitsKey);
        WaveFunctionFree(&out);

        ASSERT_EQ(Variant(c)(O, psi, &out), 0);
        ref::ExpectGrown(out, want, ComplexResult(c));
        WaveFunctionFree(&out);

        WaveFunctionFree(&psi);
        FreeOperator(&O);
    }
}

TEST(OperatorPsi, SmallCases) {
    // Four modes; the state |1100> (modes 0 and 1 occupied).
    ref::State rpsi;
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = 4;
    psi.NBoson = 0;
    psi.NBitsKey = 4;
    ASSERT_EQ(WaveFunctionInit(&psi), 0);
    uint8_t det[1] = {0xC0};
    RealWaveFunctionAddElement(&psi, det, 2.0);

    auto single = [&](std::vector<uint16_t> codes, double v) {
        OperatorType O;
        EXPECT_EQ(InitOperator(&O), 0);
        O.NF = 4;
        O.NWord = 1;
        if (!codes.empty()) {
            EXPECT_EQ(InitOperatorFixedLength(&O, (unsigned)codes.size(), 3), 0);
        }
        EXPECT_EQ(RealOperatorAddLader(&O, codes.data(), (unsigned)codes.size(), v), 0);
        return O;
    };
    WaveFunctionType out;

    OperatorType empty;
    ASSERT_EQ(InitOperator(&empty), 0);
    empty.NF = 4;
    ASSERT_EQ(OperatorPsi(empty, psi, &out), 0);
    EXPECT_EQ(out.N, 0u);
    WaveFunctionFree(&out);
    FreeOperator(&empty);

    OperatorType constant = single({}, 3.0);
    ASSERT_EQ(OperatorPsi(constant, psi, &out), 0);
    ASSERT_EQ(out.N, 1u);
    EXPECT_EQ(WaveFunctionRe(out, 1), 6.0);
    EXPECT_EQ(WaveFunctionDet(out, 1)[0], 0xC0);
    WaveFunctionFree(&out);
    FreeOperator(&constant);

    struct {
        std::vector<uint16_t> codes;
        uint32_t n;
        uint8_t det;
        double value;
    } expect[] = {
        {{A(0), C(0)}, 1, 0xC0, 2.0},   // C0 A0 on occupied mode 0
        {{A(2), C(2)}, 0, 0, 0.0},      // C2 A2 on empty mode 2: no entry
        {{A(1)}, 1, 0x80, -2.0},        // A1 passes mode 0
        {{A(0)}, 1, 0x40, 2.0},
        {{A(1), A(1)}, 0, 0, 0.0},
        {{C(3), A(3)}, 1, 0xC0, 2.0},   // A3 C3 on empty mode 3
        {{C(0), A(0)}, 0, 0, 0.0},      // A0 C0: the creation acts first and kills
    };
    for (auto& e : expect) {
        OperatorType O = single(e.codes, 1.0);
        ASSERT_EQ(OperatorPsi(O, psi, &out), 0);
        ASSERT_EQ(out.N, e.n);
        if (e.n) {
            EXPECT_EQ(WaveFunctionDet(out, 1)[0], e.det);
            EXPECT_EQ(WaveFunctionRe(out, 1), e.value);
        }
        WaveFunctionFree(&out);
        FreeOperator(&O);
    }

    // A prefactor of 0 still inserts its determinant.
    OperatorType zero = single({A(0), C(2)}, 0.0);
    ASSERT_EQ(OperatorPsi(zero, psi, &out), 0);
    ASSERT_EQ(out.N, 1u);
    EXPECT_EQ(WaveFunctionRe(out, 1), 0.0);
    WaveFunctionFree(&out);
    FreeOperator(&zero);

    // An operator on more modes than the state is refused.
    OperatorType wide = single({A(0), C(9)}, 1.0);
    wide.NF = 10;
    testing::internal::CaptureStdout();
    EXPECT_EQ(OperatorPsi(wide, psi, &out), 1);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("in OperatorPsi"), std::string::npos);
    FreeOperator(&wide);
    WaveFunctionFree(&psi);
}

TEST(OperatorPsi, BosonCreationOnAFullModeGivesNothing) {
    // One fermion mode and one boson mode at 255.
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = 1;
    psi.NBoson = 1;
    psi.NBitsKey = 4;
    ASSERT_EQ(WaveFunctionInit(&psi), 0);
    // Several determinants so that both paths of the kernels are used.
    for (int n : {255, 254, 0, 3, 7}) {
        uint8_t det[2] = {0x80, (uint8_t)n};
        RealWaveFunctionAddElement(&psi, det, 1.0);
    }
    OperatorType O;
    ASSERT_EQ(InitOperator(&O), 0);
    O.NF = 1;
    O.NB = 1;
    O.NWord = 2;
    ASSERT_EQ(InitOperatorFixedLength(&O, 1, 2), 0);
    uint16_t create = C(1);
    ASSERT_EQ(RealOperatorAddLader(&O, &create, 1, 1.0), 0);
    WaveFunctionType out;
    ASSERT_EQ(OperatorPsi(O, psi, &out), 0);
    EXPECT_EQ(out.N, 4u);
    uint8_t full[2] = {0x80, 255};
    uint32_t i = WaveFunctionIndexDet(&out, full);
    ASSERT_NE(i, 0u);
    EXPECT_DOUBLE_EQ(WaveFunctionRe(out, i), std::sqrt(255.0));  // from 254 only
    WaveFunctionFree(&out);
    FreeOperator(&O);
    WaveFunctionFree(&psi);
}

// ---- Restrictions -----------------------------------------------------------

TEST(OperatorPsi, RestrictionsDropDeterminants) {
    uint64_t seed = 500;
    for (unsigned NF : {10u, 70u, 140u}) {
        for (int k = 0; k < 3; k++) {
            SCOPED_TRACE("NF=" + std::to_string(NF) + " kind=" + std::to_string(k));
            ref::RandomSettings s;
            s.NF = NF;
            s.kind = (ref::Kind)k;
            s.numberChanging = true;
            ref::Op rop;
            ref::State rpsi;
            OperatorType O = ref::RandomOperator(s, seed++, &rop);
            WaveFunctionType psi = ref::RandomState(NF, 0, 30, k == 2, seed++, &rpsi);
            // The first half of the modes holds 2..4 particles, mode 1 none
            // or one, and the number of all modes is not above NF/2 + 1.
            std::vector<ref::Range> ranges(3);
            for (unsigned m = 0; m < NF / 2; m++) ranges[0].modes.push_back(m);
            ranges[0].lo = 2;
            ranges[0].hi = NF / 4 + 1;
            ranges[1] = {{1}, 0, 1};
            for (unsigned m = 0; m < NF; m++) ranges[2].modes.push_back(m);
            ranges[2].lo = 0;
            ranges[2].hi = NF / 2 + 1;
            const ref::Result all = ref::Apply(rop, rpsi);
            const ref::Result want = ref::Filter(all, NF, 0, ranges);
            ASSERT_LT(want.size(), all.size());  // something is dropped
            ASSERT_GT(want.size(), 0u);
            DeterminantRestrictionType R = ref::MakeRestriction(NF, 0, ranges);

            WaveFunctionType out;
            ASSERT_EQ(OperatorPsiRestricted(O, psi, &out, R), 0);
            ref::ExpectGrown(out, want, k != 0);
            WaveFunctionFree(&out);

            // The operator's own restrictions act through OperatorPsi.
            ASSERT_EQ(CopyDeterminantRestriction(&O.Restrictions, R, O.NWord), 0);
            ASSERT_EQ(OperatorPsi(O, psi, &out), 0);
            ref::ExpectGrown(out, want, k != 0);
            WaveFunctionFree(&out);

            FreeDeterminantRestriction(&R);
            WaveFunctionFree(&psi);
            FreeOperator(&O);
        }
    }
}

// ---- Fixed basis ------------------------------------------------------------

TEST(OperatorPsiConserveBasis, KeepsTheBasisAndDropsTheRest) {
    uint64_t seed = 900;
    for (const Case& c : Cases()) {
        SCOPED_TRACE(Describe(c));
        ref::RandomSettings s;
        s.NF = c.NF;
        s.NB = c.NB;
        s.kind = c.opKind;
        ref::Op rop;
        ref::State rpsi;
        OperatorType O = ref::RandomOperator(s, seed++, &rop);
        WaveFunctionType psi = ref::RandomState(c.NF, c.NB, c.ndet, c.complexState, seed++, &rpsi);
        const ref::Result want = ref::Apply(rop, rpsi);

        WaveFunctionType out;
        ASSERT_EQ(OperatorPsiConserveBasis(O, psi, &out), 0);
        EXPECT_EQ(out.KeyList, psi.KeyList);
        EXPECT_EQ(out.N, psi.N);
        EXPECT_EQ(out.QComplex, ComplexResult(c) ? 1u : 0u);
        ref::ExpectOnBasis(out, want);
        WaveFunctionFreeValues(&out);

        // A prepared basis that holds all of O psi and a few strangers, with a
        // result record of the other kind to start from.
        WaveFunctionType target;
        target.QComplex = ComplexResult(c) ? 0 : 1;
        target.NFermion = c.NF;
        target.NBoson = c.NB;
        target.NBitsKey = 5;
        ASSERT_EQ(WaveFunctionInit(&target), 0);
        for (const auto& [det, e] : want) RealWaveFunctionAddElement(&target, det.data(), 7.0);
        for (const auto& [occ, a] : rpsi.elements) {
            ref::Bytes b = ref::ToBytes(occ, c.NF, c.NB);
            if (target.QComplex)
                ComplexWaveFunctionAddElement(&target, b.data(), 5.0, 5.0);
            else
                RealWaveFunctionAddElement(&target, b.data(), 5.0);
        }
        ASSERT_EQ(OperatorPsiConserveBasisPreAllocated(&O, &psi, &target), 0);
        EXPECT_EQ(target.QComplex, ComplexResult(c) ? 1u : 0u);
        ref::ExpectOnBasis(target, want);
        WaveFunctionFree(&target);

        WaveFunctionFree(&psi);
        FreeOperator(&O);
    }
}

TEST(OperatorPsiConserveBasis, NumberChangingOperatorLeavesAllZeros) {
    ref::Op rop;
    ref::State rpsi;
    ref::RandomSettings s;
    s.NF = 10;
    s.n2 = 0;
    s.n4 = 0;
    s.constant = false;
    OperatorType O = ref::RandomOperator(s, 1, &rop);
    ASSERT_EQ(InitOperatorFixedLength(&O, 1, 3), 0);
    ASSERT_EQ(InitOperatorFixedLength(&O, 3, 3), 0);
    for (unsigned m = 0; m < 10; m++) {
        uint16_t one = C(m), three[3] = {A(m), C((m + 1) % 10), C((m + 3) % 10)};
        ASSERT_EQ(RealOperatorAddLader(&O, &one, 1, 1.0 + m), 0);
        ASSERT_EQ(RealOperatorAddLader(&O, three, 3, 0.5), 0);
    }
    // Every determinant has exactly 5 particles.
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = 10;
    psi.NBoson = 0;
    psi.NBitsKey = 6;
    ASSERT_EQ(WaveFunctionInit(&psi), 0);
    for (unsigned bits = 0; bits < 1024; bits++) {
        if (__builtin_popcount(bits) != 5) continue;
        ref::Occ occ(10);
        for (unsigned i = 0; i < 10; i++) occ[i] = (bits >> i) & 1;
        RealWaveFunctionAddElement(&psi, ref::ToBytes(occ, 10, 0).data(), 1.0);
    }
    WaveFunctionType out;
    ASSERT_EQ(OperatorPsiConserveBasis(O, psi, &out), 0);
    ASSERT_EQ(out.N, 252u);
    for (uint32_t i = 0; i <= out.N; i++) EXPECT_EQ(WaveFunctionRe(out, i), 0.0);
    WaveFunctionFreeValues(&out);
    // The growing kernel does reach determinants, all of other numbers.
    ASSERT_EQ(OperatorPsi(O, psi, &out), 0);
    EXPECT_GT(out.N, 0u);
    for (uint32_t i = 1; i <= out.N; i++) EXPECT_EQ(WaveFunctionIndexDet(&psi, WaveFunctionDet(out, i)), 0u);
    WaveFunctionFree(&out);
    WaveFunctionFree(&psi);
    FreeOperator(&O);
}

TEST(OperatorDeterminantPreAllocated, OneColumnOfTheMatrix) {
    for (int k = 0; k < 3; k++) {
        ref::RandomSettings s;
        s.NF = 9;
        s.kind = (ref::Kind)k;
        ref::Op rop;
        ref::State rone;
        OperatorType O = ref::RandomOperator(s, 40 + k, &rop);
        WaveFunctionType one = ref::RandomState(9, 0, 1, false, 50 + k, &rone);
        rone.elements[0].second = 1.0;
        const ref::Result want = ref::Apply(rop, rone);

        WaveFunctionType basis;
        basis.QComplex = 0;
        basis.NFermion = 9;
        basis.NBoson = 0;
        basis.NBitsKey = 4;
        ASSERT_EQ(WaveFunctionInit(&basis), 0);
        for (const auto& [det, e] : want) RealWaveFunctionAddElement(&basis, det.data(), -1.0);
        const uint8_t* det = WaveFunctionDet(one, 1);
        if (k != 0) {
            testing::internal::CaptureStdout();
            EXPECT_EQ(OperatorDeterminantPreAllocated(&O, det, &basis), 1);
            EXPECT_EQ(testing::internal::GetCapturedStdout(),
                      k == 1 ? "Can't store result of complex operator times determinant in real function\n"
                             : "Can't store result of mixed complex/real operator times determinant in real "
                               "function\n");
            ASSERT_EQ(PromoteRealWaveFunctionToComplex(&basis), 0);
        }
        ASSERT_EQ(OperatorDeterminantPreAllocated(&O, det, &basis), 0);
        ref::ExpectOnBasis(basis, want);
        WaveFunctionFree(&basis);
        WaveFunctionFree(&one);
        FreeOperator(&O);
    }
}

// ---- Blocks -----------------------------------------------------------------

// count states on one basis: member 0 is random, the others share its basis
// with their own random values (member 1 real when others are complex).
struct Block {
    std::vector<WaveFunctionType> psi;
    std::vector<ref::State> ref;
};

Block RandomBlock(unsigned NF, unsigned count, bool complexValues, uint64_t seed) {
    Block b;
    b.psi.resize(count);
    b.ref.resize(count);
    b.psi[0] = ref::RandomState(NF, 0, 25, complexValues, seed, &b.ref[0]);
    std::mt19937_64 rng(seed + 1);
    for (unsigned j = 1; j < count; j++) {
        WaveFunctionType& m = b.psi[j];
        EXPECT_EQ(WaveFunctionInitCopyBasis(&m, b.psi[0]), 0);
        if (complexValues && j == 1) {
            for (uint32_t k = 0; k < m.NBlok; k++) free(m.ValueIm[k]);
            free(m.ValueIm);
            m.ValueIm = nullptr;
            m.QComplex = 0;
        }
        b.ref[j] = b.ref[0];
        for (uint32_t i = 1; i <= m.N; i++) {
            double re = ref::RandomValue(rng, false), im = ref::RandomValue(rng, false);
            WaveFunctionRe(m, i) = re;
            if (m.QComplex) WaveFunctionIm(m, i) = im;
            b.ref[j].elements[i - 1].second = ref::Cx(re, m.QComplex ? im : 0.0);
        }
    }
    return b;
}

TEST(BlockOperatorPsi, EveryMemberMatchesTheReference) {
    uint64_t seed = 1300;
    for (unsigned NF : {9u, 70u, 140u}) {
        for (int k = 0; k < 3; k++) {
            for (int st = 0; st < 2; st++) {
                SCOPED_TRACE("NF=" + std::to_string(NF) + " kind=" + std::to_string(k) + " state=" + std::to_string(st));
                ref::RandomSettings s;
                s.NF = NF;
                s.kind = (ref::Kind)k;
                ref::Op rop;
                OperatorType O = ref::RandomOperator(s, seed++, &rop);
                const unsigned count = 3;
                Block b = RandomBlock(NF, count, st == 1, seed++);
                const bool complexResult = k != 0 || st == 1;

                std::vector<ref::Result> want(count);
                for (unsigned j = 0; j < count; j++) want[j] = ref::Apply(rop, b.ref[j]);

                auto check = [&](WaveFunctionType* out, bool serial) {
                    for (unsigned j = 0; j < count; j++) {
                        SCOPED_TRACE("member " + std::to_string(j) + (serial ? " serial" : " parallel"));
                        EXPECT_EQ(out[j].KeyList, out[0].KeyList);
                        EXPECT_EQ(out[j].N, out[0].N);
                        // Every member's reached determinants are in the shared
                        // basis, with the reference values, and the rest is 0.
                        std::map<ref::Bytes, ref::Cx> m = ref::Contents(out[j]);
                        for (const auto& [det, e] : want[j]) EXPECT_TRUE(m.count(det));
                        ref::ExpectOnBasis(out[j], want[j]);
                        if (!serial) {
                            EXPECT_EQ(out[j].QComplex, complexResult ? 1u : 0u);
                        }
                    }
                };
                std::vector<WaveFunctionType> out(count);
                ASSERT_EQ(BlockOperatorPsi(O, b.psi.data(), out.data(), count), 0);
                check(out.data(), false);
                BlockWaveFunctionFree(out.data(), count);

                typedef int (*BlockFn)(OperatorType, const WaveFunctionType*, WaveFunctionType*, unsigned int);
                static const BlockFn fns[3][2] = {{BlockOperatorPsiRR, BlockOperatorPsiRC},
                                                  {BlockOperatorPsiCR, BlockOperatorPsiCC},
                                                  {BlockOperatorPsiMR, BlockOperatorPsiMC}};
                ASSERT_EQ(fns[k][st](O, b.psi.data(), out.data(), count), 0);
                check(out.data(), false);
                BlockWaveFunctionFree(out.data(), count);

                ASSERT_EQ(BlockOperatorPsiSerial(O, b.psi.data(), out.data(), count), 0);
                check(out.data(), true);
                // Refilling the same block in place gives the same values.
                for (unsigned j = 0; j < count; j++) WaveFunctionRe(out[j], 1) = 99.0;
                ASSERT_EQ(BlockOperatorPsiSerialConserveBasisPreAllocated(O, b.psi.data(), out.data(), count), 0);
                check(out.data(), true);
                BlockWaveFunctionFree(out.data(), count);

                BlockWaveFunctionFree(b.psi.data(), count);
                FreeOperator(&O);
            }
        }
    }
}

TEST(BlockOperatorPsi, RestrictedFormsAndCountZero) {
    const unsigned NF = 12, count = 2;
    std::vector<ref::Range> ranges = {{{0, 1, 2, 3, 4, 5}, 2, 3}};
    for (int k = 0; k < 3; k++) {
        ref::RandomSettings s;
        s.NF = NF;
        s.kind = (ref::Kind)k;
        s.numberChanging = true;
        ref::Op rop;
        OperatorType O = ref::RandomOperator(s, 70 + k, &rop);
        Block b = RandomBlock(NF, count, k == 1, 80 + k);
        DeterminantRestrictionType R = ref::MakeRestriction(NF, 0, ranges);
        std::vector<ref::Result> want(count);
        for (unsigned j = 0; j < count; j++) want[j] = ref::Filter(ref::Apply(rop, b.ref[j]), NF, 0, ranges);

        std::vector<WaveFunctionType> out(count);
        auto check = [&]() {
            for (unsigned j = 0; j < count; j++) {
                ref::ExpectOnBasis(out[j], want[j]);
                for (uint32_t i = 1; i <= out[j].N; i++) {
                    const uint8_t* d = WaveFunctionDet(out[j], i);
                    EXPECT_TRUE(ref::Passes(ref::Bytes(d, d + out[j].NWord), NF, 0, ranges));
                }
                for (const auto& [det, e] : want[j]) EXPECT_NE(WaveFunctionIndexDet(&out[j], det.data()), 0u);
            }
            BlockWaveFunctionFree(out.data(), count);
        };
        ASSERT_EQ(BlockOperatorPsiRestricted(O, b.psi.data(), out.data(), R, count), 0);
        check();
        ASSERT_EQ(BlockOperatorPsiSerialRestricted(O, b.psi.data(), out.data(), R, count), 0);
        check();
        // Restrictions on the operator send BlockOperatorPsi the serial way.
        ASSERT_EQ(CopyDeterminantRestriction(&O.Restrictions, R, O.NWord), 0);
        ASSERT_EQ(BlockOperatorPsi(O, b.psi.data(), out.data(), count), 0);
        check();

        EXPECT_EQ(BlockOperatorPsi(O, b.psi.data(), out.data(), 0), 0);
        EXPECT_EQ(BlockOperatorPsiSerial(O, b.psi.data(), out.data(), 0), 0);
        FreeDeterminantRestriction(&R);
        BlockWaveFunctionFree(b.psi.data(), count);
        FreeOperator(&O);
    }
}

}  // namespace
