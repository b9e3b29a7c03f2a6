// Evaluation of the scalar forms at w + i gamma/2, gamma a full width: the
// retarded function, whose imaginary part is negative for positive weights.
#include <omp.h>

#include "response/listofpoles.h"
#include "response/tridiagonal.h"

// Below this many poles the sum is not worth a team of threads.
static const uint32_t kParallelPoles = 512;

Complex16 EvaluateListOfPoles(ListOfPoles L, double w, double gamma) {
    const double g = 0.5 * gamma;
    const double g2 = g * g;
    const double* a = L.a;
    const double* b = L.b;
    const int64_t n = L.N;
    double re = 0.0;
    double im = 0.0;
#pragma omp parallel for schedule(static) reduction(+ : re, im) if (L.N >= kParallelPoles)
    for (int64_t i = 0; i < n; i++) {
        double d = w - a[i];
        double f = b[i] / (d * d + g2);
        re += f * d;
        im -= f * g;
    }
    return Cnum(L.a0 + re, im);
}

Complex16 EvaluateTriDiagonalMatrix(TriDiagonalMatrixType M, double w, double gamma) {
    if (M.N == 0) return Cnum(M.a[0], 0.0);
    const double g = 0.5 * gamma;
    double d = w - M.a[M.N];
    double den = d * d + g * g;
    double x = d / den;
    double y = -g / den;
    for (uint32_t i = M.N - 1; i >= 1; i--) {
        double b2 = M.b[i] * M.b[i];
        x *= b2;
        y = y * b2 - g;
        d = w - M.a[i] - x;
        den = d * d + y * y;
        x = d / den;
        y = y / den;
    }
    double b02 = M.b[0] * M.b[0];
    return Cnum(x * b02 + M.a[0], y * b02);
}

Complex16 EvaluateAndersonMatrix(AndersonMatrixType A, double w, double gamma) {
    const double g = 0.5 * gamma;
    double sre = 0.0;
    double sim = 0.0;
    for (uint32_t k = 2; k <= A.N; k++) {
        double d = w - A.a[k];
        double f = A.b[k - 1] * A.b[k - 1] / (d * d + g * g);
        sre += f * d;
        sim -= f * g;
    }
    double D = w - A.a[1] - sre;
    double E = g - sim;
    double den = D * D + E * E;
    double b02 = A.b[0] * A.b[0];
    return Cnum(A.a[0] + D * b02 / den, -E * b02 / den);
}

Complex16 EvaluateDoubleTriDiagonalMatrix(DoubleTriDiagonalMatrixType D, double w, double gamma) {
    return EvaluateTriDiagonalMatrix(D.val, w, gamma) + EvaluateTriDiagonalMatrix(D.con, w, gamma);
}

Complex16 EvaluateBADoubleTriDiagonalMatrix(BADoubleTriDiagonalMatrixType B, double w, double gamma) {
    Complex16 c = EvaluateTriDiagonalMatrix(B.val, w, gamma) + EvaluateTriDiagonalMatrix(B.con, w, gamma);
    return B.epsilon + (B.F * B.F) * c;
}
