// Coulomb operators of shells in jj coupling: one mode per doubled jz.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "atomic/coulomb.h"
#include "atomic/coulomb_detail.h"
#include "atomic/threej.h"

using namespace coulomb;

int CoulombKappaToTwoJ(int kappa) {
    return 2 * std::abs(kappa) - 1;
}

int CoulombKappaToL(int kappa) {
    return kappa > 0 ? kappa : -kappa - 1;
}

int CoulombRelativisticExchangeKMin(int kappaA, int kappaB) {
    int k = std::abs(CoulombKappaToTwoJ(kappaA) - CoulombKappaToTwoJ(kappaB)) / 2;
    if ((k + CoulombKappaToL(kappaA) + CoulombKappaToL(kappaB)) % 2 != 0) k++;
    return k;
}

namespace {

// A shell of momentum j (tj = 2j) and orbital momentum l; the mode of the
// doubled jz tm is index[(tm + tj) / 2].
struct JShell {
    int l;
    int tj;
    const uint16_t* index;
    explicit JShell(int kappa, const uint16_t* idx)
        : l(CoulombKappaToL(kappa)), tj(CoulombKappaToTwoJ(kappa)), index(idx) {}
    uint16_t Mode(int tm) const { return index[(tm + tj) / 2]; }
};

double Cj(int k, const JShell& a, int tma, const JShell& b, int tmb) {
    return SlaterCoefficientCjcoupling(k, a.l, a.tj, tma, b.l, b.tj, tmb);
}

// As the ls loop: for k = kmin, kmin+step, ..., kmax with the integral
// R[(k-kmin)/step], doubled mA, mB, mC with mD = mA+mB-mC in D, the term
// weight c^k(A mA, C mC) c^k(D mD, B mB) R c+(A) c+(B) c(C) c(D).
int AddJShellQuartet(OperatorType* O, const JShell& A, const JShell& B, const JShell& C, const JShell& D, int kmin,
                     int kmax, int step, const double* R, double weight) {
    for (int k = kmin; k <= kmax; k += step) {
        double Rk = R[(k - kmin) / step];
        for (int mA = -A.tj; mA <= A.tj; mA += 2)
            for (int mB = -B.tj; mB <= B.tj; mB += 2) {
                int lo = std::max(-C.tj, mA + mB - D.tj), hi = std::min(C.tj, mA + mB + D.tj);
                for (int mC = lo; mC <= hi; mC += 2) {
                    int mD = mA + mB - mC;
                    double w = weight * Cj(k, A, mA, C, mC) * Cj(k, D, mD, B, mB);
                    if (std::fabs(w) <= kCoulombCut) continue;
                    if (AddCoulombTerm(O, A.Mode(mA), B.Mode(mB), C.Mode(mC), D.Mode(mD), Rk * w) != 0) return 1;
                }
            }
    }
    return 0;
}

}  // namespace

int CreateOperatorCoulombSingleRelativisticShell(uint32_t NF, int kappa, const uint16_t* index, const double* F,
                                                 OperatorType* O) {
    if (BeginCoulomb(O, NF) != 0) return 1;
    JShell S(kappa, index);
    if (AddJShellQuartet(O, S, S, S, S, 0, S.tj - 1, 2, F, -0.5) != 0) return FailCoulomb(O);
    return FinishCoulomb(O);
}

int CreateOperatorCoulombTwoRelativisticShellsConstantOccupation(uint32_t NF, int kappaA, int kappaB,
                                                                 const uint16_t* indexA, const uint16_t* indexB,
                                                                 const double* F, const double* G,
                                                                 OperatorType* O) {
    if (BeginCoulomb(O, NF) != 0) return 1;
    JShell A(kappaA, indexA), B(kappaB, indexB);
    int count = (std::min(A.tj, B.tj) + 1) / 2;
    int kmin = CoulombRelativisticExchangeKMin(kappaA, kappaB);
    if (AddJShellQuartet(O, A, B, A, B, 0, 2 * (count - 1), 2, F, -1.0) != 0) return FailCoulomb(O);
    if (AddJShellQuartet(O, A, B, B, A, kmin, kmin + 2 * (count - 1), 2, G, -1.0) != 0) return FailCoulomb(O);
    return FinishCoulomb(O);
}

int CreateOperatorCoulombFourRelativisticShells(uint32_t NF, int kappaA, int kappaB, int kappaC, int kappaD,
                                                const uint16_t* indexA, const uint16_t* indexB,
                                                const uint16_t* indexC, const uint16_t* indexD, const double* R,
                                                OperatorType* O) {
    if (BeginCoulomb(O, NF) != 0) return 1;
    JShell A(kappaA, indexA), B(kappaB, indexB), C(kappaC, indexC), D(kappaD, indexD);
    int kmin = std::min(std::abs(A.tj - C.tj), std::abs(B.tj - D.tj)) / 2;
    int kmax = std::max(A.tj + C.tj, B.tj + D.tj) / 2;
    if (AddJShellQuartet(O, A, B, C, D, kmin, kmax, 1, R, -0.5) != 0) return FailCoulomb(O);
    return FinishCoulomb(O);
}
