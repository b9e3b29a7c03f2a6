// Coulomb operators of shells in ls coupling.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "atomic/coulomb.h"
#include "atomic/coulomb_detail.h"
#include "atomic/threej.h"

using namespace coulomb;

namespace {

// A shell of momentum l by its lists; spin 0 is down, 1 is up.
struct Shell {
    int l;
    const uint16_t* up;
    const uint16_t* dn;
    uint16_t Mode(int m, int s) const { return s ? up[m + l] : dn[m + l]; }
};

// Adds value times c+(1 s) c+(2 s') c(3 s) c(4 s') for the four spin pairs
// (dn,dn), (dn,up), (up,dn), (up,up), with (shell, m) of each position.
int AddSpinPairs(OperatorType* O, const Shell& s1, int m1, const Shell& s2, int m2, const Shell& s3, int m3,
                 const Shell& s4, int m4, double value) {
    for (int s = 0; s < 2; s++)
        for (int sp = 0; sp < 2; sp++)
            if (AddCoulombTerm(O, s1.Mode(m1, s), s2.Mode(m2, sp), s3.Mode(m3, s), s4.Mode(m4, sp), value) != 0)
                return 1;
    return 0;
}

// The loop shared by all forms: for each k from kmin to kmax in steps of 2
// with integral R[(k-kmin)/2], each mA in A, mB in B and mC in C with
// mD = mA+mB-mC in D, the term weight c^k(A mA, C mC) c^k(D mD, B mB)
// R c+(A mA s) c+(B mB s') c(C mC s) c(D mD s').
int AddShellQuartet(OperatorType* O, const Shell& A, const Shell& B, const Shell& C, const Shell& D, int kmin,
                    int kmax, const double* R, double weight) {
    for (int k = kmin; k <= kmax; k += 2) {
        double Rk = R[(k - kmin) / 2];
        for (int mA = -A.l; mA <= A.l; mA++)
            for (int mB = -B.l; mB <= B.l; mB++) {
                int lo = std::max(-C.l, mA + mB - D.l), hi = std::min(C.l, mA + mB + D.l);
                for (int mC = lo; mC <= hi; mC++) {
                    int mD = mA + mB - mC;
                    double w = weight * SlaterCoefficientC(k, A.l, mA, C.l, mC) * SlaterCoefficientC(k, D.l, mD, B.l, mB);
                    if (std::fabs(w) <= kCoulombCut) continue;
                    if (AddSpinPairs(O, A, mA, B, mB, C, mC, D, mD, Rk * w) != 0) return 1;
                }
            }
    }
    return 0;
}

}  // namespace

int CreateOperatorCoulombSingleShell(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, const double* F,
                                     OperatorType* O) {
    if (BeginCoulomb(O, NF) != 0) return 1;
    Shell S{l, up, dn};
    if (AddShellQuartet(O, S, S, S, S, 0, 2 * l, F, -0.5) != 0) return FailCoulomb(O);
    return FinishCoulomb(O);
}

// Both orderings of the two shells are summed in one, hence the weight -1:
// direct terms c+(A) c+(B) c(B) c(A) with c^k(A,A) c^k(B,B) F^k, exchange
// terms c+(A) c+(B) c(A) c(B) with c^k(A,B) c^k(A,B) G^k.
int CreateOperatorCoulombTwoShellsConstantOccupation(uint32_t NF, int lA, int lB, const uint16_t* upA,
                                                     const uint16_t* dnA, const uint16_t* upB,
                                                     const uint16_t* dnB, const double* F, const double* G,
                                                     OperatorType* O) {
    if (BeginCoulomb(O, NF) != 0) return 1;
    Shell A{lA, upA, dnA}, B{lB, upB, dnB};
    int lmin = std::min(lA, lB);
    if (AddShellQuartet(O, A, B, A, B, 0, 2 * lmin, F, -1.0) != 0) return FailCoulomb(O);
    if (AddShellQuartet(O, A, B, B, A, std::abs(lA - lB), lA + lB, G, -1.0) != 0) return FailCoulomb(O);
    return FinishCoulomb(O);
}

int CreateOperatorCoulombFourShells(uint32_t NF, int lA, int lB, int lC, int lD, const uint16_t* upA,
                                    const uint16_t* dnA, const uint16_t* upB, const uint16_t* dnB,
                                    const uint16_t* upC, const uint16_t* dnC, const uint16_t* upD,
                                    const uint16_t* dnD, const double* R, OperatorType* O) {
    if (BeginCoulomb(O, NF) != 0) return 1;
    Shell A{lA, upA, dnA}, B{lB, upB, dnB}, C{lC, upC, dnC}, D{lD, upD, dnD};
    int kmin = std::max(std::abs(lA - lC), std::abs(lB - lD));
    int kmax = std::min(lA + lC, lB + lD);
    if (AddShellQuartet(O, A, B, C, D, kmin, kmax, R, -0.5) != 0) return FailCoulomb(O);
    return FinishCoulomb(O);
}
