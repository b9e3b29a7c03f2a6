#include <gtest/gtest.h>
#include <omp.h>

#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "fock_reference.h"
#include "manybody/operator.h"
#include "manybody/operator_algebra.h"

namespace {

using fockref::cplx;


cplx Trace(const fockref::Matrix& M, size_t d) {
    cplx t = 0.0;
    for (size_t i = 0; i < d; i++) t += M[i * d + i];
    return t;
}

OperatorType Shaped(const OperatorType& like) {
    OperatorType O;
    EXPECT_EQ(InitOperatorCopySettings(&O, like), 0);
    return O;
}

}  // namespace

TEST(OperatorModeMap, ShiftPlacesAnOperatorOnOtherModes) {
    std::mt19937 rng(2);
    OperatorType X = fockref::RandomOperator(3, 0, {0, 2, 4}, 10, true, rng);
    OperatorModeMapType map;
    ASSERT_EQ(InitOperatorModeMap(&map, 3), 0);
    for (unsigned m = 0; m < 3; m++) ASSERT_EQ(OperatorModeMapAdd(&map, m, (uint16_t)(m + 3), 1.0, 0.0), 0);
    OperatorType Y;
    ASSERT_EQ(InitOperator(&Y), 0);
    Y.NF = 6;
    Y.NWord = 1;
    ASSERT_EQ(MappedOperatorAdd(&Y, X, &map, 2.0, 0.0), 0);
    for (unsigned k = 0; k <= X.MaxLength; k++) {
        ASSERT_EQ(Y.l[k].N, X.l[k].N);
        for (uint32_t t = 0; t < X.l[k].N; t++) {
            std::vector<uint16_t> codes(X.l[k].o + t * k, X.l[k].o + t * k + k);
            for (auto& c : codes) c = (uint16_t)(c + 3);
            Complex16 want = X.l[k].V[t] * 2.0;
            Complex16 got = ComplexOperatorPrefactorLader(&Y, codes.data(), k);
            EXPECT_EQ(got.re, want.re);
            EXPECT_EQ(got.im, want.im);
        }
    }
    FreeOperator(&Y);
    FreeOperatorModeMap(&map);
    EXPECT_NE(InitOperatorModeMap(&map, 2) + OperatorModeMapAdd(&map, 5, 0, 1.0, 0.0), 0);
    FreeOperatorModeMap(&map);
    FreeOperator(&X);
}

TEST(OperatorModeMap, UnitaryMapIsAUnitaryTransformationOfFockSpace) {
    std::mt19937 rng(17);
    const unsigned n = 4;
    std::vector<cplx> U = fockref::RandomUnitary(n, rng);
    OperatorModeMapType map;
    ASSERT_EQ(InitOperatorModeMap(&map, n), 0);
    for (unsigned i = 0; i < n; i++)
        for (unsigned r = 0; r < n; r++)
            ASSERT_EQ(OperatorModeMapAdd(&map, i, (uint16_t)r, U[r * n + i].real(), U[r * n + i].imag()), 0);

    // Two-particle and mixed terms: the Fock-space matrix changes by a unitary
    // transformation, so the traces of its powers stay.
    fockref::Space space(n, 0, 0);
    const size_t d = space.dim();
    OperatorType X = fockref::RandomOperator(n, 0, {0, 2, 4}, 12, true, rng);
    OperatorType Y = Shaped(X), Z = Shaped(X);
    ASSERT_EQ(MappedOperatorAdd(&Y, X, &map, 1.0, 0.0), 0);
    ASSERT_EQ(MappedOperatorAddNormalOrder(&Z, X, &map, 1.0, 0.0, QDetNotOrderedFcFaBcBa), 0);
    fockref::Matrix mx = fockref::OfOperator(space, X), my = fockref::OfOperator(space, Y),
                    mz = fockref::OfOperator(space, Z);
    EXPECT_LT(fockref::MaxDiff(space, my, mz), 1e-12);
    fockref::Matrix px = mx, py = my;
    for (int power = 1; power <= 3; power++) {
        EXPECT_LT(std::abs(Trace(px, d) - Trace(py, d)), 1e-10) << power;
        px = fockref::Multiply(px, mx, d);
        py = fockref::Multiply(py, my, d);
    }
    FreeOperatorModeMap(&map);
    for (OperatorType* O : {&X, &Y, &Z}) FreeOperator(O);
}

TEST(OperatorChangeModesParallel, BosonsMoveTermsOnLostModesGoAndThreadsAgree) {
    std::mt19937 rng(31);
    const unsigned NF = 9, NB = 2, NFnew = 7, NBnew = 3;
    OperatorType X = fockref::RandomOperator(NF, NB, {0, 2, 4}, 1500, true, rng, 7);
    // A restriction on fermions 0, 3, 8 and the second boson.
    X.Restrictions.NRestriction = 1;
    X.Restrictions.MinOcc = (uint32_t*)malloc(sizeof(uint32_t));
    X.Restrictions.MaxOcc = (uint32_t*)malloc(sizeof(uint32_t));
    X.Restrictions.Mask = (uint8_t**)malloc(sizeof(uint8_t*));
    X.Restrictions.Mask[0] = (uint8_t*)calloc(X.NWord, 1);
    X.Restrictions.MinOcc[0] = 1;
    X.Restrictions.MaxOcc[0] = 3;
    X.Restrictions.Mask[0][0] = 0x80 | 0x10;  // modes 0 and 3
    X.Restrictions.Mask[0][1] = 0x80;         // mode 8
    X.Restrictions.Mask[0][3] = 0xFF;         // second boson

    // What each term should become.
    std::map<std::vector<uint16_t>, Complex16> want;
    for (unsigned k = 1; k <= X.MaxLength; k++)
        for (uint32_t t = 0; t < X.l[k].N; t++) {
            std::vector<uint16_t> codes;
            bool keep = true;
            for (unsigned i = 0; i < k; i++) {
                uint16_t c = X.l[k].o[t * k + i], m = c & 0x7FFF;
                if (m >= NF) m = (uint16_t)(m - NF + NFnew);
                else if (m >= NFnew) keep = false;
                codes.push_back((uint16_t)((c & 0x8000) | m));
            }
            if (keep) want[codes] = X.l[k].V[t];
        }

    OperatorType One, Two;
    ASSERT_EQ(OperatorCopy(&One, X), 0);
    ASSERT_EQ(OperatorCopy(&Two, X), 0);
    int threads = omp_get_max_threads();
    omp_set_num_threads(1);
    ASSERT_EQ(OperatorChangeNFandNB(&One, NFnew, NBnew), 0);
    omp_set_num_threads(2);
    ASSERT_EQ(OperatorChangeNFandNB(&Two, NFnew, NBnew), 0);
    omp_set_num_threads(threads);

    EXPECT_EQ(Two.NF, NFnew);
    EXPECT_EQ(Two.NB, NBnew);
    EXPECT_EQ(Two.NWord, 4u);
    size_t total = 0;
    for (unsigned k = 0; k <= Two.MaxLength; k++) {
        const OperatorFixedLengthType &a = One.l[k], &b = Two.l[k];
        ASSERT_EQ(a.N, b.N);
        if (k > 0) total += b.N;
        if (k == 0 || b.N == 0) continue;
        EXPECT_EQ(memcmp(a.o, b.o, (size_t)b.N * k * 2), 0);
        EXPECT_EQ(memcmp(a.Next, b.Next, (size_t)b.N * 4), 0);
        EXPECT_EQ(memcmp(a.KeyList, b.KeyList, ((size_t)1 << b.NBitsKey) * 4), 0);
        EXPECT_EQ(memcmp(a.V, b.V, (size_t)b.N * sizeof(Complex16)), 0);
    }
    EXPECT_EQ(total, want.size());
    EXPECT_LT(total, (size_t)X.l[2].N + X.l[4].N);  // some terms were on modes 7, 8
    for (const auto& [codes, v] : want) {
        Complex16 got = ComplexOperatorPrefactorLader(&Two, codes.data(), (unsigned)codes.size());
        ASSERT_EQ(got.re, v.re);
        ASSERT_EQ(got.im, v.im);
    }
    EXPECT_EQ(Two.l[0].N, X.l[0].N);
    // The mask keeps modes 0 and 3 and the second boson, now at byte 2.
    const uint8_t* mask = Two.Restrictions.Mask[0];
    EXPECT_EQ(mask[0], 0x90);
    EXPECT_EQ(mask[1], 0x00);
    EXPECT_EQ(mask[2], 0xFF);
    EXPECT_EQ(mask[3], 0x00);
    EXPECT_NE(OperatorChangeNFandNB(&Two, 30000, 3000), 0);
    for (OperatorType* O : {&X, &One, &Two}) FreeOperator(O);
}
