// Traces over number operators, setting a trace, and the Hermiticity test.
#include <cmath>

#include "manybody/operator_algebra.h"
#include "manybody/operator_algebra_detail.h"
#include "manybody/zerocut.h"

using opalg::Report;

namespace {

// Bucket width of a length 2 that a trace has to create.
const unsigned int TraceKeyBits = 6;

inline void NumberOperatorCodes(uint16_t mode, uint16_t codes[2]) {
    codes[0] = (uint16_t)(mode & LaderModeMask);
    codes[1] = (uint16_t)(LaderCreation | (mode & LaderModeMask));
}

Complex16 TraceOver(const OperatorType& O, const uint16_t* modes, unsigned int n) {
    Complex16 sum{0.0, 0.0};
    if (O.MaxLength < 2) return sum;
    uint16_t codes[2];
    for (unsigned int i = 0; i < n; i++) {
        NumberOperatorCodes(modes[i], codes);
        sum += ComplexOperatorPrefactorLader(&O, codes, 2);
    }
    return sum;
}

double LargestMagnitude(const OperatorType& O) {
    double largest = 0.0;
    for (unsigned int k = 0; k <= O.MaxLength; k++) {
        const OperatorFixedLengthType& f = O.l[k];
        for (uint32_t t = 0; t < f.N; t++) {
            double m = opalg::Magnitude(opalg::TermValue(f, t));
            if (m > largest) largest = m;
        }
    }
    return largest;
}

}  // namespace

int OperatorTrace(OperatorType O, const uint16_t* modes, int n, double* re, double* im) {
    Complex16 t = TraceOver(O, modes, n > 0 ? (unsigned int)n : 0u);
    *re = t.re;
    *im = t.im;
    return 0;
}

double RealOperatorTrace(OperatorType O, const uint16_t* modes, int n) {
    return TraceOver(O, modes, n > 0 ? (unsigned int)n : 0u).re;
}

Complex16 ComplexOperatorTrace(OperatorType O, const uint16_t* modes, int n) {
    return TraceOver(O, modes, n > 0 ? (unsigned int)n : 0u);
}

// The shift is shared equally: a multiple of the total number operator of
// the listed modes, which leaves every difference between their diagonal
// terms as it was.
int ComplexOperatorAddTrace(OperatorType* O, const uint16_t* modes, unsigned int n, double re, double im) {
    if (n == 0) return 0;
    for (unsigned int i = 0; i < n; i++) {
        if ((uint32_t)(modes[i] & LaderModeMask) >= O->NF + O->NB || modes[i] > LaderModeMask) {
            Report("mode %i out of range (%i modes) in ComplexOperatorAddTrace\n", modes[i], O->NF + O->NB);
            return 1;
        }
    }
    if (O->MaxLength < 2 && InitOperatorFixedLength(O, 2, TraceKeyBits) != 0) {
        Report("InitOperatorFixedLength failed in ComplexOperatorAddTrace");
        return 1;
    }
    Complex16 current = TraceOver(*O, modes, n);
    Complex16 shift = (Complex16{re, im} - current) / (double)n;
    uint16_t codes[2];
    for (unsigned int i = 0; i < n; i++) {
        NumberOperatorCodes(modes[i], codes);
        if (OperatorAddLader(O, codes, 2, shift.re, shift.im) != 0) {
            Report("OperatorAddLader failed in ComplexOperatorAddTrace");
            OperatorRecountQComplex(O);
            return 1;
        }
    }
    OperatorRecountQComplex(O);
    return 0;
}

int QOperatorHermitian(OperatorType O, double tol) {
    OperatorType D;
    if (OperatorConjugateTransposeNormalOrder(O, &D, QDetNotOrderedFcFaBcBa) != 0) {
        Report("OperatorConjugateTransposeNormalOrder failed in QOperatorHermitian");
        return OperatorHermitianTestFailed;
    }
    if (OperatorAddNormalOrder(&D, O, -1.0, 0.0, QDetNotOrderedFcFaBcBa) != 0) {
        Report("OperatorAddNormalOrder failed in QOperatorHermitian");
        FreeOperator(&D);
        return OperatorHermitianTestFailed;
    }
    double defect = LargestMagnitude(D);
    FreeOperator(&D);
    if (defect <= tol) return OperatorHermitian;
    if (tol > 0.0 && defect <= std::sqrt(tol) * LargestMagnitude(O)) return OperatorNotFullyHermitian;
    return OperatorNotHermitian;
}

int isOperatorAlmostHermitian(OperatorType O, double tol) {
    return QOperatorHermitian(O, tol) == OperatorHermitian ? 1 : 0;
}
