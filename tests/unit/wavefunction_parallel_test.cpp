// Parallel insertion through per-thread staging buffers and the AddToPsi
// drain, and parallel atomic adds on a fixed basis: with one and with two
// threads the result must be the state that a serial insert gives.  Values
// are small integers, so that sums are exact in any order.
#include <gtest/gtest.h>
#include <omp.h>

#include <cstring>
#include <random>
#include <vector>

#include "manybody/wavefunction.h"

namespace {

const uint32_t kNWord = 8;  // 64 fermionic modes

struct Entries {
    std::vector<uint8_t> dets;  // kNWord bytes per entry
    std::vector<double> re, im;
    size_t size() const { return re.size(); }
    const uint8_t* det(size_t k) const { return &dets[k * kNWord]; }
};

// Many entries over a pool large enough to need three blocks, with repeats.
Entries MakeEntries(size_t count, size_t pool, uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::vector<uint64_t> keys(pool);
    for (auto& k : keys) k = rng();
    Entries e;
    for (size_t k = 0; k < count; k++) {
        uint64_t key = keys[rng() % pool];
        for (uint32_t w = 0; w < kNWord; w++) e.dets.push_back((uint8_t)(key >> (8 * w)));
        e.re.push_back((double)(int)(rng() % 9) - 4.0);
        e.im.push_back((double)(int)(rng() % 5) - 2.0);
    }
    return e;
}

WaveFunctionType Empty(bool cplx) {
    WaveFunctionType psi;
    psi.QComplex = cplx;
    psi.NFermion = 64;
    psi.NBoson = 0;
    psi.NBitsKey = 12;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    return psi;
}

WaveFunctionType Serial(const Entries& e, bool cplx) {
    WaveFunctionType psi = Empty(cplx);
    for (size_t k = 0; k < e.size(); k++) {
        if (cplx)
            ComplexWaveFunctionAddElement(&psi, e.det(k), e.re[k], e.im[k]);
        else
            RealWaveFunctionAddElement(&psi, e.det(k), e.re[k]);
    }
    return psi;
}

// The way a kernel stages: a buffer of 128 entries on each thread's stack,
// drained when full and once more after the loop.
WaveFunctionType Staged(const Entries& e, bool cplx, int threads) {
    WaveFunctionType psi = Empty(cplx);
    int failures = 0;
    const long long n = (long long)e.size();
#pragma omp parallel num_threads(threads) reduction(+ : failures)
    {
        uint8_t dets[WaveFunctionStagingSize * kNWord];
        double re[WaveFunctionStagingSize], im[WaveFunctionStagingSize];
        unsigned int count = 0;
        auto flush = [&]() {
            return cplx ? ComplexWaveFunctionAddElementOMPMiniFlush(&psi, &count, dets, re, im)
                        : RealWaveFunctionAddElementOMPMiniFlush(&psi, &count, dets, re);
        };
#pragma omp for schedule(static)
        for (long long k = 0; k < n; k++) {
            memcpy(&dets[count * kNWord], e.det(k), kNWord);
            re[count] = e.re[k];
            im[count] = e.im[k];
            if (++count == WaveFunctionStagingSize) failures += flush();
        }
        failures += flush();
        EXPECT_EQ(count, 0u);
    }
    EXPECT_EQ(failures, 0);
    return psi;
}

// Same elements and values; the order may differ between runs.
void ExpectSameContent(const WaveFunctionType& ref, const WaveFunctionType& psi) {
    ASSERT_EQ(psi.N, ref.N);
    for (uint32_t i = 1; i <= ref.N; i++) {
        uint32_t j = WaveFunctionIndexDet(&psi, WaveFunctionDet(ref, i));
        ASSERT_NE(j, 0u);
        EXPECT_EQ(WaveFunctionRe(psi, j), WaveFunctionRe(ref, i));
        if (ref.QComplex) {
            EXPECT_EQ(WaveFunctionIm(psi, j), WaveFunctionIm(ref, i));
        }
        // Every stored element is found at its own index.
        ASSERT_EQ(WaveFunctionIndexDet(&psi, WaveFunctionDet(psi, i)), i);
    }
}

TEST(WaveFunctionParallel, StagedInsertEqualsSerialInsert) {
    Entries e = MakeEntries(120000, 40000, 5);
    for (bool cplx : {false, true}) {
        WaveFunctionType ref = Serial(e, cplx);
        ASSERT_EQ(ref.NBlok, 3u);
        // Two threads meet in the drain in a different way on every run;
        // a few runs make a missing lock show up reliably.
        for (int threads : {1, 2, 2, 2}) {
            WaveFunctionType psi = Staged(e, cplx, threads);
            ExpectSameContent(ref, psi);
            if (threads == 1) {
                // One thread drains in entry order: the very same state.
                for (uint32_t i = 1; i <= ref.N; i++)
                    ASSERT_EQ(0, memcmp(WaveFunctionDet(ref, i), WaveFunctionDet(psi, i), kNWord));
            }
            WaveFunctionFree(&psi);
        }
        WaveFunctionFree(&ref);
    }
}

TEST(WaveFunctionParallel, StagedBlockInsertEqualsSerialInsert) {
    const unsigned int members = 3;
    Entries e = MakeEntries(60000, 20000, 9);
    WaveFunctionType ref = Serial(e, false);
    WaveFunctionType psi[members];
    psi[0] = Empty(false);
    for (unsigned int j = 1; j < members; j++) ASSERT_EQ(WaveFunctionInitCopyBasis(&psi[j], psi[0]), 0);
    int failures = 0;
    const long long n = (long long)e.size();
#pragma omp parallel num_threads(2) reduction(+ : failures)
    {
        uint8_t dets[WaveFunctionStagingSize * kNWord];
        double re[WaveFunctionStagingSize * members];
        unsigned int count = 0;
#pragma omp for schedule(static)
        for (long long k = 0; k < n; k++) {
            memcpy(&dets[count * kNWord], e.det(k), kNWord);
            for (unsigned int j = 0; j < members; j++) re[count * members + j] = e.re[k] * (j + 1);
            if (++count == WaveFunctionStagingSize)
                failures += RealBlockWaveFunctionAddElementOMPMiniFlush(psi, &count, dets, re, members);
        }
        failures += RealBlockWaveFunctionAddElementOMPMiniFlush(psi, &count, dets, re, members);
    }
    EXPECT_EQ(failures, 0);
    for (unsigned int j = 0; j < members; j++) {
        ASSERT_EQ(psi[j].N, ref.N);
        ASSERT_EQ(psi[j].NBlok, ref.NBlok);
    }
    for (uint32_t i = 1; i <= ref.N; i++) {
        uint32_t k = WaveFunctionIndexDet(&psi[2], WaveFunctionDet(ref, i));
        ASSERT_NE(k, 0u);
        for (unsigned int j = 0; j < members; j++) EXPECT_EQ(WaveFunctionRe(psi[j], k), WaveFunctionRe(ref, i) * (j + 1));
    }
    BlockWaveFunctionFree(psi, members);
    WaveFunctionFree(&ref);
}

// Flips two bits: the result is almost surely not in the basis, and the
// reference below looks it up the same way in any case.
void Displace(uint8_t* det) {
    det[0] ^= 0x01;
    det[7] ^= 0x80;
}

TEST(WaveFunctionParallel, AtomicAddsOnAFixedBasis) {
    Entries e = MakeEntries(100000, 30000, 13);
    for (bool cplx : {false, true}) {
        WaveFunctionType ref = Serial(e, cplx);
        for (int threads : {1, 2}) {
            WaveFunctionType sum;
            ASSERT_EQ(WaveFunctionInitCopyBasis(&sum, ref), 0);
            const long long n = (long long)e.size();
            // Entries of odd k are moved to determinants outside the basis
            // and must change nothing.
#pragma omp parallel for num_threads(threads) schedule(static)
            for (long long k = 0; k < n; k++) {
                uint8_t det[kNWord];
                memcpy(det, e.det(k), kNWord);
                if (k % 2) Displace(det);
                if (cplx)
                    ComplexWaveFunctionAddElementConserveBasis(&sum, det, e.re[k], e.im[k]);
                else
                    RealWaveFunctionAddElementConserveBasis(&sum, det, e.re[k]);
            }
            // The reference: serial sums of the entries that are in the basis.
            std::vector<double> wantRe(ref.N + 1, 0.0), wantIm(ref.N + 1, 0.0);
            for (size_t k = 0; k < e.size(); k++) {
                uint8_t det[kNWord];
                memcpy(det, e.det(k), kNWord);
                if (k % 2) Displace(det);
                uint32_t i = WaveFunctionIndexDet(&ref, det);
                wantRe[i] += e.re[k];
                wantIm[i] += e.im[k];
            }
            EXPECT_EQ(sum.N, ref.N);
            for (uint32_t i = 1; i <= ref.N; i++) {
                ASSERT_EQ(WaveFunctionRe(sum, i), wantRe[i]);
                if (cplx) {
                    ASSERT_EQ(WaveFunctionIm(sum, i), wantIm[i]);
                }
            }
            WaveFunctionFreeValues(&sum);
        }
        WaveFunctionFree(&ref);
    }
}

}  // namespace
