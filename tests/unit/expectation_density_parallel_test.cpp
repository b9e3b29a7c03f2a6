// Density and correlation matrices, occupations and the prefactor histogram
// against the brute-force reference and exact values.  The suite also runs
// with OMP_NUM_THREADS=1.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <random>
#include <vector>

#include "manybody/expectation.h"
#include "operator_reference.h"

namespace {

using ref::A;
using ref::C;
using ref::Cx;

// A normalised complex state of `ndet` determinants with exactly `particles`
// of NF modes occupied, and its reference copy.
WaveFunctionType FixedNumberState(unsigned NF, unsigned particles, unsigned ndet, uint64_t seed, ref::State* r) {
    std::mt19937_64 rng(seed);
    std::map<ref::Bytes, Cx> chosen;
    while (chosen.size() < ndet) {
        ref::Occ occ(NF, 0);
        for (unsigned placed = 0; placed < particles;) {
            const unsigned m = (unsigned)(rng() % NF);
            if (!occ[m]) {
                occ[m] = 1;
                placed++;
            }
        }
        std::uniform_real_distribution<double> u(-1.0, 1.0);
        chosen[ref::ToBytes(occ, NF, 0)] = Cx(u(rng), u(rng));
    }
    double norm2 = 0.0;
    for (const auto& [det, v] : chosen) norm2 += std::norm(v);
    WaveFunctionType psi;
    psi.QComplex = 1;
    psi.NFermion = NF;
    psi.NBoson = 0;
    psi.NBitsKey = 8;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    r->NF = NF;
    r->NB = 0;
    for (const auto& [det, v] : chosen) {
        const Cx c = v / std::sqrt(norm2);
        EXPECT_EQ(ComplexWaveFunctionAddElement(&psi, det.data(), c.real(), c.imag()), 0);
        r->elements.push_back({ref::FromBytes(det.data(), NF, 0), c});
    }
    return psi;
}

Cx Element(const MatrixType& M, int i, int j) { return Cx(M.Re[i][j], M.QComplex ? M.Im[i][j] : 0.0); }

// <bra| op |ket> for a reference operator.
Cx RefValue(const ref::Op& op, const ref::State& bra, const ref::State& ket) {
    std::map<ref::Bytes, Cx> b;
    for (const auto& [occ, v] : bra.elements) b[ref::ToBytes(occ, bra.NF, 0)] = v;
    Cx sum = 0.0;
    for (const auto& [det, e] : ref::ApplySparse(op, ket)) {
        auto it = b.find(det);
        if (it != b.end()) sum += std::conj(it->second) * e.value;
    }
    return sum;
}

ref::Op Single(unsigned NF, std::vector<uint16_t> codes, Cx value = 1.0) {
    ref::Op op;
    op.NF = NF;
    op.terms.push_back(ref::Term{codes, value});
    return op;
}

WaveFunctionType Determinant(const char* text) {
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = (uint32_t)strlen(text);
    psi.NBoson = 0;
    psi.NBitsKey = 4;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    uint8_t* det = StringToDet(psi.NFermion, 0, text);
    EXPECT_EQ(RealWaveFunctionAddElement(&psi, det, 1.0), 0);
    free(det);
    return psi;
}

TEST(ExpectationDensityParallel, DensityMatricesAgainstTheReference) {
    const unsigned NF = 10;
    ref::State r0, r1;
    WaveFunctionType psi[2] = {FixedNumberState(NF, 4, 60, 1, &r0), FixedNumberState(NF, 4, 60, 2, &r1)};

    MatrixType M;
    ASSERT_EQ(CalculateDensityMatrix(&M, psi[0]), 0);
    EXPECT_STREQ(M.Name, "Density Matrix.");
    ASSERT_EQ(M.Ni, (int)NF);
    double n[NF];
    ASSERT_EQ(CalculateDensity(n, psi[0]), 0);
    Cx trace = 0.0;
    for (unsigned i = 0; i < NF; i++) {
        trace += Element(M, i, i);
        EXPECT_NEAR(n[i], M.Re[i][i], 1e-13);
        for (unsigned j = 0; j < NF; j++) {
            EXPECT_LT(std::abs(Element(M, i, j) - std::conj(Element(M, j, i))), 1e-13) << i << "," << j;
            EXPECT_LT(std::abs(Element(M, i, j) - RefValue(Single(NF, {A(j), C(i)}), r0, r0)), 1e-13);
        }
    }
    EXPECT_NEAR(trace.real(), 4.0, 1e-13);
    EXPECT_NEAR(trace.imag(), 0.0, 1e-13);
    FreeMatrix(&M);

    // Chosen orbitals, in the order given, and the transition densities.
    const uint16_t orbitals[] = {7, 2, 5};
    MatrixType T[4];
    ASSERT_EQ(CalculatePartialDensityMatrixWithOffDiagonals(T, 2, psi, orbitals, 3), 0);
    const ref::State* rs[2] = {&r0, &r1};
    for (int a = 0; a < 2; a++)
        for (int b = 0; b < 2; b++)
            for (int k = 0; k < 3; k++)
                for (int l = 0; l < 3; l++)
                    EXPECT_LT(std::abs(Element(T[2 * a + b], k, l) -
                                       RefValue(Single(NF, {A(orbitals[l]), C(orbitals[k])}), *rs[a], *rs[b])),
                              1e-13);
    for (auto& t : T) FreeMatrix(&t);

    // The density correlation <n_i n_j>.
    ASSERT_EQ(CalculateDensityCorrelationMatrix(&M, psi[1]), 0);
    for (unsigned i = 0; i < NF; i++)
        for (unsigned j = 0; j < NF; j++)
            EXPECT_LT(std::abs(Element(M, i, j) - RefValue(Single(NF, {A(j), C(j), A(i), C(i)}), r1, r1)), 1e-13);
    FreeMatrix(&M);
    EXPECT_EQ(CalculateDensityMatrix(&M, psi[0], orbitals + 0, 1), 0);
    FreeMatrix(&M);
    const uint16_t outside[] = {10};
    EXPECT_EQ(CalculateDensityMatrix(&M, psi[0], outside, 1), 1);
    for (auto& p : psi) WaveFunctionFree(&p);
}

TEST(ExpectationDensityParallel, SignsOfTransitionDensities) {
    // <10|C0 A1|01> = +1: no occupied mode below 1 or 0.  <110|C0 A2|011> =
    // -1: A2 passes the occupied mode 1.
    WaveFunctionType two[2] = {Determinant("10"), Determinant("01")};
    MatrixType T[4];
    ASSERT_EQ(CalculateDensityMatrixWithOffDiagonals(T, 2, two), 0);
    EXPECT_EQ(T[1].Re[0][1], 1.0);
    EXPECT_EQ(T[2].Re[1][0], 1.0);
    EXPECT_EQ(T[0].Re[0][0], 1.0);
    EXPECT_EQ(T[0].Re[1][1], 0.0);
    for (auto& t : T) FreeMatrix(&t);
    WaveFunctionType three[2] = {Determinant("110"), Determinant("011")};
    ASSERT_EQ(CalculateDensityMatrixWithOffDiagonals(T, 2, three), 0);
    EXPECT_EQ(T[1].Re[0][2], -1.0);
    for (auto& t : T) FreeMatrix(&t);
    for (auto& p : two) WaveFunctionFree(&p);
    for (auto& p : three) WaveFunctionFree(&p);
}

TEST(ExpectationDensityParallel, SpinCorrelationsSumToTheTotalSpin) {
    // Random states of three orbitals (modes 2a down, 2a + 1 up): the sum of
    // all <S_a.S_b> is <S^2> = sum_k |S_k psi|^2 with S_k summed over orbitals.
    const unsigned NF = 6;
    for (uint64_t seed : {11u, 12u}) {
        ref::State r;
        WaveFunctionType psi = FixedNumberState(NF, 3, 12, seed, &r);
        MatrixType M;
        ASSERT_EQ(CalculateSpinCorrelationMatrix(&M, psi), 0);
        EXPECT_STREQ(M.Name, "Spin Correlation Matrix.");
        ASSERT_EQ(M.Ni, 3);
        Cx sum = 0.0;
        for (int a = 0; a < 3; a++)
            for (int b = 0; b < 3; b++) sum += Element(M, a, b);
        ref::Op Sx, Sy, Sz;
        Sx.NF = Sy.NF = Sz.NF = NF;
        for (unsigned a = 0; a < 3; a++) {
            const unsigned dn = 2 * a, up = 2 * a + 1;
            Sx.terms.push_back({{A(dn), C(up)}, 0.5});
            Sx.terms.push_back({{A(up), C(dn)}, 0.5});
            Sy.terms.push_back({{A(dn), C(up)}, Cx(0, -0.5)});
            Sy.terms.push_back({{A(up), C(dn)}, Cx(0, 0.5)});
            Sz.terms.push_back({{A(up), C(up)}, 0.5});
            Sz.terms.push_back({{A(dn), C(dn)}, -0.5});
        }
        double s2 = 0.0;
        for (const ref::Op* S : {&Sx, &Sy, &Sz})
            for (const auto& [det, e] : ref::Apply(*S, r)) s2 += std::norm(e.value);
        EXPECT_NEAR(sum.real(), s2, 1e-12);
        EXPECT_NEAR(sum.imag(), 0.0, 1e-12);
        FreeMatrix(&M);
        WaveFunctionFree(&psi);
    }
    // One electron on each of two orbitals: S_a^2 = 3/4, and the two
    // combinations of |up,down> and |down,up> give S^2 = 0 and 2.
    double totals[2];
    for (int sign = 0; sign < 2; sign++) {
        WaveFunctionType psi = Determinant("0110");
        uint8_t* det = StringToDet(4, 0, "1001");
        ASSERT_EQ(RealWaveFunctionAddElement(&psi, det, sign ? -1.0 : 1.0), 0);
        free(det);
        for (uint32_t i = 1; i <= psi.N; i++) WaveFunctionRe(psi, i) /= std::sqrt(2.0);
        MatrixType M;
        ASSERT_EQ(CalculateSpinCorrelationMatrix(&M, psi), 0);
        EXPECT_NEAR(M.Re[0][0], 0.75, 1e-15);
        EXPECT_NEAR(M.Re[1][1], 0.75, 1e-15);
        totals[sign] = M.Re[0][0] + M.Re[0][1] + M.Re[1][0] + M.Re[1][1];
        FreeMatrix(&M);
        WaveFunctionFree(&psi);
    }
    EXPECT_NEAR(std::min(totals[0], totals[1]), 0.0, 1e-15);
    EXPECT_NEAR(std::max(totals[0], totals[1]), 2.0, 1e-15);
}

TEST(ExpectationDensityParallel, PrefactorHistogramInDecades) {
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = 8;
    psi.NBoson = 0;
    psi.NBitsKey = 4;
    ASSERT_EQ(WaveFunctionInit(&psi), 0);
    const double values[] = {2.0, 1.0, -0.5, 0.1, 0.05, 1e-20, 0.0};
    for (unsigned k = 0; k < 7; k++) {
        uint8_t det[1] = {(uint8_t)k};
        ASSERT_EQ(RealWaveFunctionAddElement(&psi, det, values[k]), 0);
    }
    double weight[4];
    uint32_t count[4];
    ASSERT_EQ(CalculatePrefactorHistogram(psi, 10.0, 4, weight, count), 0);
    EXPECT_EQ(count[0], 3u);  // 2, 1, 0.5
    EXPECT_EQ(count[1], 2u);  // 0.1 (a bin's upper end belongs to it), 0.05
    EXPECT_EQ(count[2], 0u);
    EXPECT_EQ(count[3], 2u);  // everything smaller, zero included
    EXPECT_DOUBLE_EQ(weight[0], 5.25);
    EXPECT_DOUBLE_EQ(weight[1], 0.0125);
    EXPECT_EQ(CalculatePrefactorHistogram(psi, 1.0, 4, weight, count), 1);
    WaveFunctionFree(&psi);
}

}  // namespace
