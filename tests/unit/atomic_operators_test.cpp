// Named atomic operators against closed forms: term energies of p^2 and d^2,
// spin-orbit and crystal-field levels of one electron, conservation laws of
// the Coulomb operator, traceless quadrupoles and dipole terms, and the jj
// forms against the ls form turned into the jj basis.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "atomic/basis.h"
#include "atomic/coulomb.h"
#include "atomic/oneparticle.h"
#include "manybody/operator.h"
#include "manybody/operator_algebra.h"
#include "manybody/wavefunction.h"
#include "numeric/compactmatrix.h"
#include "numeric/matrix.h"

namespace {

// A shell of momentum l at base b: dn[i] = b + 2i, up[i] = b + 2i + 1.
struct Shell {
    int l;
    std::vector<uint16_t> up, dn;
    Shell(int l_, int base) : l(l_) {
        for (int i = 0; i <= 2 * l; i++) {
            dn.push_back((uint16_t)(base + 2 * i));
            up.push_back((uint16_t)(base + 2 * i + 1));
        }
    }
};

struct Level {
    double e;
    int degeneracy;
};

// Eigenvalues of O over all determinants of ne electrons in nf modes,
// grouped into levels.
std::vector<Level> SectorLevels(const OperatorType& O, unsigned nf, unsigned ne) {
    WaveFunctionType psi;
    psi.QComplex = 0;
    psi.NFermion = nf;
    psi.NBoson = 0;
    psi.NBitsKey = 8;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    for (uint32_t bits = 0; bits < (1u << nf); bits++) {
        if ((unsigned)__builtin_popcount(bits) != ne) continue;
        std::vector<uint8_t> det(psi.NWord, 0);
        for (unsigned m = 0; m < nf; m++)
            if (bits >> m & 1u) det[m >> 3] |= (uint8_t)(0x80 >> (m & 7));
        EXPECT_EQ(WaveFunctionAddElement(&psi, det.data(), 1.0, 0.0), 0);
    }
    CompactMatrixType M, V;
    EXPECT_EQ(OperatorToDeterminantMatrix(O, psi, &M), 0);
    std::vector<double> w(M.Ni);
    EXPECT_EQ(CompactMatrixEigensystem(&M, &V, w.data()), 0);
    FreeCompactMatrix(&M);
    FreeCompactMatrix(&V);
    WaveFunctionFree(&psi);
    std::vector<Level> levels;
    for (double e : w) {
        if (!levels.empty() && std::fabs(e - levels.back().e) < 1e-9)
            levels.back().degeneracy++;
        else
            levels.push_back({e, 1});
    }
    return levels;
}

void ExpectLevels(std::vector<Level> got, std::vector<Level> want) {
    std::sort(want.begin(), want.end(), [](const Level& a, const Level& b) { return a.e < b.e; });
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < got.size(); i++) {
        EXPECT_NEAR(got[i].e, want[i].e, 1e-10) << "level " << i;
        EXPECT_EQ(got[i].degeneracy, want[i].degeneracy) << "level " << i;
    }
}

double LargestTerm(const OperatorType& O) {
    double largest = 0.0;
    for (unsigned k = 0; k <= O.MaxLength; k++)
        for (uint32_t t = 0; t < O.l[k].N; t++) {
            const OperatorFixedLengthType& f = O.l[k];
            largest = std::max(largest, f.QComplex ? std::hypot(f.V[t].re, f.V[t].im) : std::fabs(f.VRe[t]));
        }
    return largest;
}

// The largest prefactor of A B - B A.
double CommutatorSize(const OperatorType& A, const OperatorType& B) {
    OperatorType C;
    EXPECT_EQ(InitOperatorForMult(&C, 2, &A, &B), 0);
    EXPECT_EQ(OperatorMultiply2NormalOrder(&C, A, B, 'N', 'N', QDetNotOrderedFcFaBcBa), 0);
    EXPECT_EQ(OperatorMultiplyScaledNormalOrder(&C, B, A, -1.0, 0.0, QDetNotOrderedFcFaBcBa), 0);
    double size = LargestTerm(C);
    FreeOperator(&C);
    return size;
}

// The largest prefactor of A - B.
double Difference(const OperatorType& A, const OperatorType& B) {
    OperatorType D;
    EXPECT_EQ(OperatorCopy(&D, A), 0);
    EXPECT_EQ(OperatorAdd(&D, B, -1.0, 0.0), 0);
    double size = LargestTerm(D);
    FreeOperator(&D);
    return size;
}

TEST(AtomicCoulomb, TermEnergiesOfP2AndD2) {
    // p^2 with F2 = F^2/25: 3P F0 - 5 F2, 1D F0 + F2, 1S F0 + 10 F2.
    {
        Shell p(1, 0);
        double F[2] = {1.3, 7.5}, F2 = F[1] / 25.0;
        OperatorType H;
        ASSERT_EQ(CreateOperatorCoulombSingleShell(6, 1, p.up.data(), p.dn.data(), F, &H), 0);
        ExpectLevels(SectorLevels(H, 6, 2), {{F[0] - 5 * F2, 9}, {F[0] + F2, 5}, {F[0] + 10 * F2, 1}});
        FreeOperator(&H);
    }
    // d^2 with the Racah parameters A = F0 - 49 F4, B = F2 - 5 F4, C = 35 F4
    // (F2 = F^2/49, F4 = F^4/441).
    {
        Shell d(2, 0);
        double F[3] = {2.0, 9.0, 5.5}, F2 = F[1] / 49.0, F4 = F[2] / 441.0;
        double A = F[0] - 49 * F4, B = F2 - 5 * F4, C = 35 * F4;
        OperatorType H;
        ASSERT_EQ(CreateOperatorCoulombSingleShell(10, 2, d.up.data(), d.dn.data(), F, &H), 0);
        ExpectLevels(SectorLevels(H, 10, 2), {{A - 8 * B, 21},
                                              {A - 3 * B + 2 * C, 5},
                                              {A + 7 * B, 9},
                                              {A + 4 * B + 2 * C, 9},
                                              {A + 14 * B + 7 * C, 1}});
        // The four-shell form on one shell is the one-shell form.
        OperatorType R;
        ASSERT_EQ(CreateOperatorCoulombFourShells(10, 2, 2, 2, 2, d.up.data(), d.dn.data(), d.up.data(),
                                                  d.dn.data(), d.up.data(), d.dn.data(), d.up.data(), d.dn.data(),
                                                  F, &R),
                  0);
        EXPECT_LT(Difference(H, R), 1e-13);
        FreeOperator(&R);
        FreeOperator(&H);
    }
}

TEST(AtomicOneParticle, SpinOrbitAndOctahedralField) {
    for (int l = 1; l <= 2; l++) {
        Shell s(l, 0);
        unsigned nf = 2 * (2 * l + 1);
        OperatorType O;
        ASSERT_EQ(CreateOperatorldots(nf, l, s.up.data(), s.dn.data(), &O), 0);
        ExpectLevels(SectorLevels(O, nf, 1), {{0.5 * l, 2 * l + 2}, {-0.5 * (l + 1), 2 * l}});
        FreeOperator(&O);
    }
    // A40 = 21 Dq, A4+-4 = 21 Dq sqrt(5/14): t2g at -4 Dq, eg at +6 Dq.
    Shell d(2, 0);
    const double Dq = 0.13;
    HarmonicsExpansion* A = NewHarmonicsExpansion(3);
    ASSERT_NE(A, nullptr);
    int ks[3] = {4, 4, 4}, qs[3] = {0, 4, -4};
    double vs[3] = {21 * Dq, 21 * Dq * std::sqrt(5.0 / 14.0), 21 * Dq * std::sqrt(5.0 / 14.0)};
    for (int i = 0; i < 3; i++) {
        A->l[i] = ks[i];
        A->m[i] = qs[i];
        A->VRe[i] = vs[i];
    }
    OperatorType CF;
    ASSERT_EQ(CreateOperatorCF(10, 2, 2, d.up.data(), d.dn.data(), d.up.data(), d.dn.data(), A, &CF), 0);
    FreeHarmonicsExpansion(A);
    ExpectLevels(SectorLevels(CF, 10, 1), {{-4 * Dq, 6}, {6 * Dq, 4}});
    FreeOperator(&CF);
}

TEST(AtomicCoulomb, ConservesAngularMomenta) {
    Shell d(2, 0);
    const uint16_t *up = d.up.data(), *dn = d.dn.data();
    double F[3] = {1.0, 8.0, 5.0};
    OperatorType H, Lz, Sz, L2, S2, J2, ls;
    ASSERT_EQ(CreateOperatorCoulombSingleShell(10, 2, up, dn, F, &H), 0);
    ASSERT_EQ(CreateOperatorLz(10, 2, up, dn, &Lz), 0);
    ASSERT_EQ(CreateOperatorSz(10, 5, up, dn, &Sz), 0);
    ASSERT_EQ(CreateOperatorLsqr(10, 2, up, dn, &L2), 0);
    ASSERT_EQ(CreateOperatorSsqr(10, 5, up, dn, &S2), 0);
    ASSERT_EQ(CreateOperatorJsqr(10, 2, up, dn, &J2), 0);
    ASSERT_EQ(CreateOperatorldots(10, 2, up, dn, &ls), 0);
    EXPECT_LT(CommutatorSize(H, Lz), 1e-12);
    EXPECT_LT(CommutatorSize(H, Sz), 1e-12);
    EXPECT_LT(CommutatorSize(H, L2), 1e-12);
    EXPECT_LT(CommutatorSize(H, S2), 1e-12);
    // With spin-orbit coupling only J stays.
    EXPECT_EQ(OperatorAdd(&H, ls, 0.3, 0.0), 0);
    EXPECT_LT(CommutatorSize(H, J2), 1e-12);
    EXPECT_GT(CommutatorSize(H, L2), 1e-3);
    for (OperatorType* O : {&H, &Lz, &Sz, &L2, &S2, &J2, &ls}) FreeOperator(O);

    // Two shells p and d: the total L and S (z and raising parts) commute.
    Shell p(1, 0), d2(2, 6);
    double F2[2] = {1.0, 6.0}, G[2] = {3.0, 2.0};
    OperatorType H2;
    ASSERT_EQ(CreateOperatorCoulombTwoShellsConstantOccupation(16, 1, 2, p.up.data(), p.dn.data(), d2.up.data(),
                                                               d2.dn.data(), F2, G, &H2),
              0);
    typedef int (*Builder)(uint32_t, int, const uint16_t*, const uint16_t*, OperatorType*);
    for (Builder b : {(Builder)CreateOperatorLz, (Builder)CreateOperatorLplus, (Builder)CreateOperatorJplus}) {
        OperatorType Op, Od;
        ASSERT_EQ(b(16, 1, p.up.data(), p.dn.data(), &Op), 0);
        ASSERT_EQ(b(16, 2, d2.up.data(), d2.dn.data(), &Od), 0);
        EXPECT_EQ(OperatorAdd(&Op, Od, 1.0, 0.0), 0);
        EXPECT_LT(CommutatorSize(H2, Op), 1e-12);
        FreeOperator(&Op);
        FreeOperator(&Od);
    }
    FreeOperator(&H2);
}

TEST(AtomicOneParticle, QuadrupolesAndDipolesAreTraceless) {
    typedef int (*Builder)(uint32_t, int, const uint16_t*, const uint16_t*, OperatorType*);
    const Builder builders[] = {CreateOperatorQxx, CreateOperatorQyy, CreateOperatorQzz,   CreateOperatorQxy,
                                CreateOperatorQxz, CreateOperatorQyz, CreateOperatorTx,    CreateOperatorTy,
                                CreateOperatorTz,  CreateOperatorTplus, CreateOperatorTmin};
    for (int l = 1; l <= 3; l++) {
        Shell s(l, 0);
        unsigned nf = 2 * (2 * l + 1);
        std::vector<uint16_t> all(nf);
        for (unsigned i = 0; i < nf; i++) all[i] = (uint16_t)i;
        for (Builder b : builders) {
            OperatorType O;
            ASSERT_EQ(b(nf, l, s.up.data(), s.dn.data(), &O), 0);
            EXPECT_GT(LargestTerm(O), 0.1);
            Complex16 tr = ComplexOperatorTrace(O, all.data(), (int)nf);
            EXPECT_NEAR(tr.re, 0.0, 1e-13) << O.Name << " l=" << l;
            EXPECT_NEAR(tr.im, 0.0, 1e-13) << O.Name << " l=" << l;
            FreeOperator(&O);
        }
    }
    // Qzz on a p shell: -2/5 on m = -1 and +1, 4/5 on m = 0.
    Shell p(1, 0);
    OperatorType Q;
    ASSERT_EQ(CreateOperatorQzz(6, 1, p.up.data(), p.dn.data(), &Q), 0);
    const double want[3] = {-0.4, 0.8, -0.4};
    for (int i = 0; i < 3; i++) {
        uint16_t number[2] = {p.up[i], (uint16_t)(p.up[i] | LaderCreation)};
        EXPECT_NEAR(RealOperatorPrefactorLader(&Q, number, 2), want[i], 1e-15);
    }
    FreeOperator(&Q);
}

// The ls operator of a p shell written in the jj basis, less the terms that
// move electrons between j = 1/2 (modes 0, 1) and j = 3/2 (modes 2 ... 5),
// is the sum of the jj one-shell and two-shell forms with the same
// integrals; the four-shell jj form on p3/2 alone is its one-shell form.
TEST(AtomicCoulomb, JJFormsMatchTheRotatedLSForm) {
    Shell p(1, 0);
    double F[2] = {1.7, 6.0};
    OperatorType H, Hjj;
    ASSERT_EQ(CreateOperatorCoulombSingleShell(6, 1, p.up.data(), p.dn.data(), F, &H), 0);
    BasisMatrixType U = YToJJzMatrix(6);
    ASSERT_EQ(U.Ni, 6);
    MatrixType M;
    M.Ni = M.Nj = 6;
    M.QComplex = 1;
    ASSERT_EQ(InitMatrix(&M), 0);
    for (int r = 0; r < 6; r++)
        for (int c = 0; c < 6; c++) {
            M.Re[r][c] = BasisMatrixAt(U, r, c).re;
            M.Im[r][c] = BasisMatrixAt(U, r, c).im;
        }
    ASSERT_EQ(RotateOperatorNormalOrder(&Hjj, H, M, QDetNotOrderedFcFaBcBa), 0);
    FreeMatrix(&M);
    // Keep the terms with as many creators as annihilators in j = 1/2.
    OperatorType Kept;
    ASSERT_EQ(InitOperatorCopySettings(&Kept, Hjj), 0);
    for (unsigned k = 1; k <= Hjj.MaxLength; k++)
        for (uint32_t t = 0; t < Hjj.l[k].N; t++) {
            const uint16_t* o = Hjj.l[k].o + (size_t)t * k;
            int balance = 0;
            for (unsigned i = 0; i < k; i++)
                if ((o[i] & LaderModeMask) < 2) balance += (o[i] & LaderCreation) ? 1 : -1;
            if (balance != 0) continue;
            Complex16 v = Hjj.l[k].QComplex ? Hjj.l[k].V[t] : Complex16{Hjj.l[k].VRe[t], 0.0};
            ASSERT_EQ(OperatorAddLader(&Kept, o, k, v.re, v.im), 0);
        }
    const uint16_t half[2] = {0, 1}, threeHalf[4] = {2, 3, 4, 5};
    double F0[1] = {F[0]}, G2[1] = {F[1]};
    OperatorType A, B, C, Sum;
    ASSERT_EQ(CreateOperatorCoulombSingleRelativisticShell(6, 1, half, F0, &A), 0);
    ASSERT_EQ(CreateOperatorCoulombSingleRelativisticShell(6, -2, threeHalf, F, &B), 0);
    ASSERT_EQ(CreateOperatorCoulombTwoRelativisticShellsConstantOccupation(6, 1, -2, half, threeHalf, F0, G2, &C),
              0);
    ASSERT_EQ(OperatorCopy(&Sum, A), 0);
    EXPECT_EQ(OperatorAdd(&Sum, B, 1.0, 0.0), 0);
    EXPECT_EQ(OperatorAdd(&Sum, C, 1.0, 0.0), 0);
    EXPECT_GT(LargestTerm(C), 0.1);
    EXPECT_LT(Difference(Kept, Sum), 1e-12);
    // R holds k = 0 ... 3; odd k have no angular weight.
    double R[4] = {F[0], 99.0, F[1], -7.0};
    OperatorType D;
    ASSERT_EQ(CreateOperatorCoulombFourRelativisticShells(6, -2, -2, -2, -2, threeHalf, threeHalf, threeHalf,
                                                          threeHalf, R, &D),
              0);
    EXPECT_LT(Difference(B, D), 1e-13);
    for (OperatorType* O : {&H, &Hjj, &Kept, &A, &B, &C, &Sum, &D}) FreeOperator(O);
}

}  // namespace
