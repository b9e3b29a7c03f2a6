// The parts of the wave-function algebra that go through dense matrices:
// orthonormalisation through the overlap matrix, and the sum with a change of
// the one-particle basis, checked against minors computed here.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "manybody/wavefunction_algebra.h"
#include "numeric/matrix.h"

namespace {

using Cplx = std::complex<double>;
using Det = std::vector<uint8_t>;
using Ref = std::map<Det, Cplx>;

WaveFunctionType Empty(uint32_t nf, bool cplx) {
    WaveFunctionType psi;
    psi.QComplex = cplx ? 1 : 0;
    psi.NFermion = nf;
    psi.NBoson = 0;
    psi.NBitsKey = 10;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    return psi;
}

Cplx Value(const WaveFunctionType& psi, uint32_t i) {
    return Cplx(WaveFunctionRe(psi, i), psi.QComplex ? WaveFunctionIm(psi, i) : 0.0);
}

Cplx Dot(const WaveFunctionType& a, const WaveFunctionType& b) {
    double re, im;
    EXPECT_EQ(WaveFunctionDotProduct(a, b, &re, &im), 0);
    return Cplx(re, im);
}

// A state of 40 modes with count random determinants and values in [-1, 1).
WaveFunctionType RandomState(const std::vector<Det>& pool, size_t count, bool cplx, uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    WaveFunctionType psi = Empty(40, cplx);
    for (size_t k = 0; k < count; k++) {
        const Det& d = pool[rng() % pool.size()];
        if (cplx)
            ComplexWaveFunctionAddElement(&psi, d.data(), u(rng), u(rng));
        else
            RealWaveFunctionAddElement(&psi, d.data(), u(rng));
    }
    return psi;
}

std::vector<Det> Pool(size_t n, uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::vector<Det> pool(n, Det(5));
    for (auto& d : pool)
        for (auto& b : d) b = (uint8_t)rng();
    return pool;
}

// ---- Orthonormalisation through the overlap matrix -----------------------------------

// With no dependent direction the result is the symmetric orthonormalisation
// new = old S^(-1/2): the overlaps M_ij = <old_i|new_j> form S^(1/2), which
// is Hermitian and squares to S.  With a dependent state one direction is
// dropped and the kept states still span the originals.
TEST(WaveFunctionSVDOrthogonalize, SymmetricWhenNothingIsDroppedForEveryBasisRelation) {
    const auto pool = Pool(2500, 60);
    for (int relation = 0; relation < 3; relation++) {
        for (bool cplx : {false, true}) {
            const unsigned n = 4;
            WaveFunctionType list[n], old[n];
            for (unsigned k = 0; k < n; k++) {
                list[k] = RandomState(pool, 1500, cplx, 61 + k);
                ASSERT_EQ(WaveFunctionCopy(list[k], &old[k]), 0);
            }
            std::vector<Cplx> S(n * n);
            for (unsigned i = 0; i < n; i++)
                for (unsigned j = 0; j < n; j++) S[i * n + j] = Dot(old[i], old[j]);
            unsigned kept = 0;
            int rc;
            if (relation == 0) {
                rc = WaveFunctionListSVDOrthogonalize(list, n, 1e-10, &kept);
            } else if (relation == 1) {
                rc = WaveFunctionListSVDOrthogonalizeDifferentBasis(list, n, 1e-10, &kept);
            } else {
                ASSERT_EQ(WaveFunctionArrayToSameBasis(list, n), 0);
                rc = WaveFunctionListSVDOrthogonalizeSameBasis(list, n, 1e-10, &kept);
            }
            ASSERT_EQ(rc, 0);
            ASSERT_EQ(kept, n);
            for (unsigned i = 0; i < n; i++)
                for (unsigned j = 0; j < n; j++)
                    EXPECT_NEAR(std::abs(Dot(list[i], list[j]) - (i == j ? 1.0 : 0.0)), 0.0, 1e-13);
            std::vector<Cplx> M(n * n);
            for (unsigned i = 0; i < n; i++)
                for (unsigned j = 0; j < n; j++) M[i * n + j] = Dot(old[i], list[j]);
            for (unsigned i = 0; i < n; i++) {
                for (unsigned j = 0; j < n; j++) {
                    EXPECT_NEAR(std::abs(M[i * n + j] - std::conj(M[j * n + i])), 0.0, 1e-11);
                    Cplx sq = 0;
                    for (unsigned l = 0; l < n; l++) sq += M[i * n + l] * M[l * n + j];
                    EXPECT_NEAR(std::abs(sq - S[i * n + j]), 0.0, 1e-9 * std::abs(S[0]));
                }
            }
            if (relation == 0)
                for (auto& s : list) WaveFunctionFree(&s);
            else
                BlockWaveFunctionFree(list, n);
            for (auto& s : old) WaveFunctionFree(&s);
        }
    }
}

TEST(WaveFunctionSVDOrthogonalize, DependentStatesAreDroppedAndFactorsRebuildTheOriginals) {
    const auto pool = Pool(2500, 70);
    const unsigned n = 4;
    WaveFunctionType list[n], old[n];
    list[0] = RandomState(pool, 1500, false, 71);
    list[1] = RandomState(pool, 1500, false, 72);
    list[2] = RandomState(pool, 1500, false, 73);
    list[3] = Empty(40, false);  // 0.5 psi_0 + 3 psi_2: dependent
    WaveFunctionAddMultipliedUnionBasis(&list[3], list[0], 0.5);
    WaveFunctionAddMultipliedUnionBasis(&list[3], list[2], 3.0);
    ASSERT_EQ(WaveFunctionArrayToSameBasis(list, n), 0);
    for (unsigned k = 0; k < n; k++) ASSERT_EQ(WaveFunctionCopy(list[k], &old[k]), 0);  // same index order
    unsigned kept = 0;
    double F[n * n];
    ASSERT_EQ(RealWaveFunctionListSVDOrthogonalizeSameBasis(list, n, 1e-8, &kept, F), 0);
    ASSERT_EQ(kept, 3u);
    for (unsigned i = 0; i < kept; i++)
        for (unsigned j = 0; j < kept; j++)
            EXPECT_NEAR(std::abs(Dot(list[i], list[j]) - (i == j ? 1.0 : 0.0)), 0.0, 1e-13);
    double rest;
    WaveFunctionCalculateNorm(list[3], &rest);
    EXPECT_EQ(rest, 0.0);
    for (unsigned i = 0; i < n; i++) {
        for (unsigned j = 0; j < n; j++) EXPECT_NEAR(F[i * n + j], Dot(list[j], old[i]).real(), 1e-12);
        for (uint32_t k = 1; k <= old[i].N; k++) {
            double x = 0;
            for (unsigned j = 0; j < n; j++) x += F[i * n + j] * WaveFunctionRe(list[j], k);
            ASSERT_NEAR(x, WaveFunctionRe(old[i], k), 1e-12);
        }
    }
    BlockWaveFunctionFree(list, n);
    for (auto& s : old) WaveFunctionFree(&s);
}

// ---- Change of the one-particle basis ------------------------------------------------------

MatrixType MakeMatrix(unsigned n, bool cplx, const std::vector<Cplx>& u) {
    MatrixType U;
    U.Ni = U.Nj = (int)n;
    U.QComplex = cplx ? 1 : 0;
    EXPECT_EQ(InitMatrix(&U), 0);
    for (unsigned r = 0; r < n; r++)
        for (unsigned i = 0; i < n; i++) {
            U.Re[r][i] = u[r * n + i].real();
            if (cplx) U.Im[r][i] = u[r * n + i].imag();
        }
    return U;
}

Cplx Determinant(std::vector<Cplx> a, unsigned n) {
    Cplx d = 1.0;
    for (unsigned c = 0; c < n; c++) {
        unsigned p = c;
        for (unsigned r = c + 1; r < n; r++)
            if (std::abs(a[r * n + c]) > std::abs(a[p * n + c])) p = r;
        if (a[p * n + c] == 0.0) return 0.0;
        if (p != c) {
            for (unsigned k = 0; k < n; k++) std::swap(a[p * n + k], a[c * n + k]);
            d = -d;
        }
        d *= a[c * n + c];
        for (unsigned r = c + 1; r < n; r++) {
            const Cplx f = a[r * n + c] / a[c * n + c];
            for (unsigned k = c; k < n; k++) a[r * n + k] -= f * a[c * n + k];
        }
    }
    return d;
}

bool Bit(const Det& d, unsigned m) { return (d[m / 8] >> (7 - m % 8)) & 1; }

// The reference: a determinant with rotated modes I (ascending) goes to every
// set K of as many new modes with the prefactor det(A), A[a][b] =
// conj(U[K_b][I_a]); the modes from n on stay.
Ref Rotated(const WaveFunctionType& psi, const std::vector<Cplx>& u, unsigned n) {
    Ref out;
    for (uint32_t e = 1; e <= psi.N; e++) {
        const Det d(WaveFunctionDet(psi, e), WaveFunctionDet(psi, e) + psi.NWord);
        std::vector<unsigned> I;
        for (unsigned m = 0; m < n; m++)
            if (Bit(d, m)) I.push_back(m);
        const unsigned k = I.size();
        for (unsigned mask = 0; mask < (1u << n); mask++) {
            if ((unsigned)__builtin_popcount(mask) != k) continue;
            std::vector<unsigned> K;
            for (unsigned m = 0; m < n; m++)
                if (mask & (1u << m)) K.push_back(m);
            std::vector<Cplx> A(k * k);
            for (unsigned a = 0; a < k; a++)
                for (unsigned b = 0; b < k; b++) A[a * k + b] = std::conj(u[K[b] * n + I[a]]);
            Det t = d;
            for (unsigned m = 0; m < n; m++) t[m / 8] &= (uint8_t) ~(0x80 >> (m % 8));
            for (unsigned m : K) t[m / 8] |= (uint8_t)(0x80 >> (m % 8));
            out[t] += Value(psi, e) * Determinant(A, k);
        }
    }
    return out;
}

TEST(WaveFunctionMapped, PrefactorsAreTheMinorsOfTheBasisChange) {
    const unsigned nf = 9, n = 6;  // modes 6..8 are not rotated
    std::mt19937_64 rng(80);
    std::uniform_real_distribution<double> uni(-1.0, 1.0);
    for (int kinds = 0; kinds < 4; kinds++) {  // RRR, CRC, CCR, CCC
        const bool uC = kinds >= 2, bC = kinds == 1 || kinds == 3;
        std::vector<Cplx> u(n * n);
        for (auto& x : u) x = Cplx(uni(rng), uC ? uni(rng) : 0.0);
        u[1 * n + 2] = 0.0;  // a few exact zeros
        u[4 * n + 0] = 0.0;
        MatrixType U = MakeMatrix(n, uC, u);
        WaveFunctionType b = Empty(nf, bC);
        for (int k = 0; k < 40; k++) {
            Det d(2, 0);
            for (int e = 0; e < 4; e++) {  // up to four electrons
                unsigned m = rng() % nf;
                d[m / 8] |= (uint8_t)(0x80 >> (m % 8));
            }
            WaveFunctionAddElement(&b, d.data(), uni(rng), bC ? uni(rng) : 0.0);
        }
        WaveFunctionType a = Empty(nf, kinds > 0);
        int rc = kinds == 0 ? MappedWaveFunctionAddRRR(&a, b, U)
                 : kinds == 1 ? MappedWaveFunctionAddCRC(&a, b, U)
                 : kinds == 2 ? MappedWaveFunctionAddCCR(&a, b, U)
                              : MappedWaveFunctionAddCCC(&a, b, U);
        ASSERT_EQ(rc, 0);
        const Ref ref = Rotated(b, u, n);
        size_t nonzero = 0;
        for (const auto& [d, v] : ref) {
            const uint32_t i = WaveFunctionIndexDet(&a, d.data());
            if (std::abs(v) > 1e-12) {
                nonzero++;
                ASSERT_NE(i, 0u);
            }
            EXPECT_NEAR(std::abs(Value(a, i) - v), 0.0, 1e-12);
        }
        EXPECT_GE(a.N, nonzero);
        EXPECT_LE(a.N, ref.size());
        FreeMatrix(&U);
        WaveFunctionFree(&a);
        WaveFunctionFree(&b);
    }
}

// A unitary change and its inverse U^dagger bring a state back, with its
// norm; the general form promotes a real target for a complex matrix.
TEST(WaveFunctionMapped, UnitaryChangeAndItsInverseGiveTheStateBack) {
    const unsigned nf = 10, n = 10;
    std::mt19937_64 rng(81);
    std::uniform_real_distribution<double> uni(-1.0, 1.0);
    // Orthonormal complex rows by Gram-Schmidt.
    std::vector<Cplx> u(n * n), ud(n * n);
    for (unsigned r = 0; r < n; r++) {
        for (unsigned i = 0; i < n; i++) u[r * n + i] = Cplx(uni(rng), uni(rng));
        for (unsigned q = 0; q < r; q++) {
            Cplx s = 0;
            for (unsigned i = 0; i < n; i++) s += std::conj(u[q * n + i]) * u[r * n + i];
            for (unsigned i = 0; i < n; i++) u[r * n + i] -= s * u[q * n + i];
        }
        double norm = 0;
        for (unsigned i = 0; i < n; i++) norm += std::norm(u[r * n + i]);
        for (unsigned i = 0; i < n; i++) u[r * n + i] /= std::sqrt(norm);
    }
    for (unsigned r = 0; r < n; r++)
        for (unsigned i = 0; i < n; i++) ud[r * n + i] = std::conj(u[i * n + r]);
    MatrixType U = MakeMatrix(n, true, u), Ud = MakeMatrix(n, true, ud);

    WaveFunctionType b = Empty(nf, false);
    for (int k = 0; k < 30; k++) {  // five electrons
        Det d(2, 0);
        unsigned placed = 0;
        while (placed < 5) {
            unsigned m = rng() % nf;
            if (!Bit(d, m)) d[m / 8] |= (uint8_t)(0x80 >> (m % 8)), placed++;
        }
        RealWaveFunctionAddElement(&b, d.data(), uni(rng));
    }
    WaveFunctionType a = Empty(nf, false), back = Empty(nf, false);
    ASSERT_EQ(MappedWaveFunctionAdd(&a, b, U), 0);
    EXPECT_EQ(a.QComplex, 1u);
    double nb, na;
    WaveFunctionCalculateNorm(b, &nb);
    WaveFunctionCalculateNorm(a, &na);
    EXPECT_NEAR(na, nb, 1e-12);
    ASSERT_EQ(MappedWaveFunctionAdd(&back, a, Ud), 0);
    for (uint32_t i = 1; i <= back.N; i++) {
        const uint32_t j = WaveFunctionIndexDet(&b, WaveFunctionDet(back, i));
        EXPECT_NEAR(std::abs(Value(back, i) - Value(b, j)), 0.0, 1e-12);
    }
    FreeMatrix(&U);
    FreeMatrix(&Ud);
    for (WaveFunctionType* p : {&a, &b, &back}) WaveFunctionFree(p);
}

}  // namespace
