#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "fock_reference.h"
#include "manybody/operator.h"
#include "manybody/operator_algebra.h"
#include "manybody/wavefunction.h"
#include "numeric/compactmatrix.h"
#include "numeric/matrix.h"

namespace {

using fockref::cplx;


// A Hermitian one-particle operator on n fermion modes with a constant.
OperatorType OneParticle(unsigned n, std::mt19937& rng, std::vector<cplx>* h) {
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    OperatorType O;
    InitOperator(&O);
    O.NF = n;
    O.NWord = DeterminantNWord(n, 0);
    InitOperatorFixedLength(&O, 2, 4);
    h->assign(n * n, 0.0);
    for (unsigned i = 0; i < n; i++)
        for (unsigned j = i; j < n; j++) {
            cplx v(value(rng), i == j ? 0.0 : value(rng));
            (*h)[i * n + j] = v;
            (*h)[j * n + i] = std::conj(v);
        }
    for (unsigned i = 0; i < n; i++)
        for (unsigned j = 0; j < n; j++) {
            uint16_t codes[2] = {(uint16_t)j, (uint16_t)(0x8000 | i)};
            OperatorAddLader(&O, codes, 2, (*h)[i * n + j].real(), (*h)[i * n + j].imag());
        }
    OperatorAddLader(&O, nullptr, 0, 0.25, 0.0);
    return O;
}

// exp(z M) of a dense matrix by scaling, a Taylor series and squaring.
fockref::Matrix DenseExp(const fockref::Matrix& M, size_t d, cplx z) {
    double norm = 0.0;
    for (auto v : M) norm = std::max(norm, std::abs(v * z));
    int squarings = 0;
    while (norm * d > 0.5) {
        norm /= 2;
        squarings++;
    }
    fockref::Matrix X(M.size()), term(d * d, 0.0), sum(d * d, 0.0);
    for (size_t i = 0; i < M.size(); i++) X[i] = M[i] * z / std::pow(2.0, squarings);
    for (size_t i = 0; i < d; i++) term[i * d + i] = sum[i * d + i] = 1.0;
    for (int k = 1; k < 30; k++) {
        term = fockref::Multiply(term, X, d);
        for (auto& v : term) v /= (double)k;
        for (size_t i = 0; i < sum.size(); i++) sum[i] += term[i];
    }
    for (int s = 0; s < squarings; s++) sum = fockref::Multiply(sum, sum, d);
    return sum;
}

MatrixType ToMatrix(const std::vector<cplx>& U, unsigned n) {
    MatrixType M;
    M.Ni = M.Nj = (int32_t)n;
    M.QComplex = 1;
    EXPECT_EQ(InitMatrix(&M), 0);
    for (unsigned r = 0; r < n; r++)
        for (unsigned i = 0; i < n; i++) {
            M.Re[r][i] = U[r * n + i].real();
            M.Im[r][i] = U[r * n + i].imag();
        }
    return M;
}

std::vector<double> Spectrum(const OperatorType& O) {
    CompactMatrixType h, V;
    EXPECT_EQ(OperatorCrAnLength2ToOneElectronCompactMatrix(O, &h), 0);
    std::vector<double> w(h.Ni);
    EXPECT_EQ(CompactMatrixEigensystem(&h, &V, w.data()), 0);
    FreeCompactMatrix(&h);
    FreeCompactMatrix(&V);
    return w;
}

}  // namespace

TEST(OperatorExponent, AgreesWithDenseExponential) {
    std::mt19937 rng(4);
    std::vector<cplx> h;
    OperatorType O = OneParticle(4, rng, &h);
    fockref::Space s(4, 0, 0);
    const size_t d = s.dim();
    for (cplx z : {cplx(0.0, -0.7), cplx(-0.4, 0.3)}) {
        fockref::Matrix want = DenseExp(fockref::OfOperator(s, O), d, z);
        OperatorType F;
        if (z.real() == 0.0) {  // the plain form expands into many unordered terms: once
            OperatorType E;
            ASSERT_EQ(HermitianOperatorExponent(O, Complex16{z.real(), z.imag()}, &E), 0);
            EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, E), want), 1e-12);
            FreeOperator(&E);
        }
        ASSERT_EQ(HermitianOperatorNormalOrderExponent(O, Complex16{z.real(), z.imag()}, &F, QDetNotOrderedFcFaBcBa),
                  0);
        EXPECT_LT(fockref::MaxDiff(s, fockref::OfOperator(s, F), want), 1e-12);
        EXPECT_EQ(F.MaxLength >= 8 ? F.l[8].N : 0u, 1u);  // the product of all four number operators
        FreeOperator(&F);
    }
    // A two-particle term is refused.
    uint16_t nn[4] = {0, 1, 0x8000 | 1, 0x8000};
    InitOperatorFixedLength(&O, 4, 4);
    RealOperatorAddLader(&O, nn, 4, 1.0);
    OperatorType E;
    EXPECT_NE(HermitianOperatorExponent(O, Complex16{0.0, 1.0}, &E), 0);
    FreeOperator(&O);
}

TEST(OperatorRotation, RandomUnitaryKeepsTheSpectrum) {
    std::mt19937 rng(9);
    const unsigned n = 5;
    std::vector<cplx> h;
    OperatorType O = OneParticle(n, rng, &h);
    std::vector<cplx> U = fockref::RandomUnitary(n, rng);
    MatrixType Um = ToMatrix(U, n);
    OperatorType R, S;
    ASSERT_EQ(RotateOperator(&R, O, Um), 0);
    ASSERT_EQ(RotateOperatorNormalOrder(&S, O, Um, QDetNotOrderedFcFaBcBa), 0);
    std::vector<double> before = Spectrum(O), after = Spectrum(R), ordered = Spectrum(S);
    for (unsigned k = 0; k < n; k++) {
        EXPECT_NEAR(after[k], before[k], 1e-12);
        EXPECT_NEAR(ordered[k], before[k], 1e-12);
    }
    // The matrix in the new orbitals (rows of U): conj(U) h U^T.
    CompactMatrixType hr;
    ASSERT_EQ(OperatorCrAnLength2ToOneElectronCompactMatrix(S, &hr), 0);
    for (unsigned r = 0; r < n; r++)
        for (unsigned t = 0; t < n; t++) {
            cplx want = 0.0;
            for (unsigned i = 0; i < n; i++)
                for (unsigned j = 0; j < n; j++) want += std::conj(U[r * n + i]) * h[i * n + j] * U[t * n + j];
            Complex16 got = CompactMatrixElement(hr, r, t);
            EXPECT_NEAR(got.re, want.real(), 1e-12);
            EXPECT_NEAR(got.im, want.imag(), 1e-12);
        }
    FreeCompactMatrix(&hr);
    EXPECT_EQ(R.l[0].N, 1u);  // the constant stays
    EXPECT_EQ(QOperatorHermitian(R, 1e-10), OperatorHermitian);

    // A matrix that is not square is refused.
    MatrixType bad;
    bad.Ni = 2;
    bad.Nj = 3;
    bad.QComplex = 0;
    ASSERT_EQ(InitMatrix(&bad), 0);
    OperatorType T;
    EXPECT_NE(RotateOperator(&T, O, bad), 0);
    FreeMatrix(&bad);
    FreeMatrix(&Um);
    for (OperatorType* X : {&O, &R, &S}) FreeOperator(X);
}

TEST(OperatorMatrices, DeterminantMatrixAgreesWithDense) {
    std::mt19937 rng(12);
    const unsigned nf = 4, nb = 1;
    fockref::Space s(nf, nb, 4);
    OperatorType X = fockref::RandomOperator(nf, nb, {0, 1, 2, 3, 4}, 10, true, rng);
    fockref::Matrix want = fockref::OfOperator(s, X);
    // Every determinant of the space, in an order of its own, with prefactors.
    WaveFunctionType psi;
    psi.QComplex = 1;
    psi.NFermion = nf;
    psi.NBoson = nb;
    psi.NBitsKey = 6;
    ASSERT_EQ(WaveFunctionInit(&psi), 0);
    std::vector<size_t> order;
    for (size_t j = s.dim(); j-- > 0;) {
        std::vector<uint8_t> det(psi.NWord, 0);
        for (unsigned m = 0; m < nf; m++)
            if (s.states[j][m]) det[m >> 3] |= (uint8_t)(0x80 >> (m & 7));
        det[1] = (uint8_t)s.states[j][nf];
        ASSERT_EQ(ComplexWaveFunctionAddElement(&psi, det.data(), 0.5 + 0.05 * j, 0.02 * j), 0);
        order.push_back(j);
    }
    CompactMatrixType M, P;
    ASSERT_EQ(OperatorToDeterminantMatrix(X, psi, &M), 0);
    ASSERT_EQ(OperatorToDeterminantMatrixWithPrefactorsInPsi(X, psi, &P), 0);
    MatrixType M2;
    ASSERT_EQ(OperatorToDeterminantMatrix2(X, psi, &M2), 0);
    ASSERT_EQ(M.Ni, s.dim());
    const size_t d = s.dim();
    double worst = 0.0, worstP = 0.0, worst2 = 0.0;
    for (size_t a = 0; a < d; a++)
        for (size_t b = 0; b < d; b++) {
            // The reference cuts bosons at 4, the store at 255: columns
            // without a boson are exact for terms of up to four ladders.
            if (s.BosonTop(order[b]) > 0) continue;
            cplx ref = want[order[a] * d + order[b]];
            Complex16 m = CompactMatrixElement(M, a, b), p = CompactMatrixElement(P, a, b);
            worst = std::max(worst, std::abs(cplx(m.re, m.im) - ref));
            cplx ca(0.5 + 0.05 * order[a], 0.02 * order[a]), cb(0.5 + 0.05 * order[b], 0.02 * order[b]);
            worstP = std::max(worstP, std::abs(cplx(p.re, p.im) - std::conj(ca) * ref * cb));
            worst2 = std::max(worst2, std::abs(cplx(M2.Re[a][b], M2.Im[a][b]) - ref));
        }
    EXPECT_LT(worst, 1e-13);
    EXPECT_LT(worstP, 1e-12);
    EXPECT_LT(worst2, 1e-13);
    FreeCompactMatrix(&M);
    FreeCompactMatrix(&P);
    FreeMatrix(&M2);
    WaveFunctionFree(&psi);
    FreeOperator(&X);
}
