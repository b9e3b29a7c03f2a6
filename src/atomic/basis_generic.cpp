// The basis matrices for any momentum l, built by rule instead of by table.
#include <cmath>

#include "atomic/basis.h"
#include "atomic/harmonics.h"

int BasisYToZ(int l, BasisMatrixType* out) {
    if (l < 0) return 1;
    const double a = 0.7071067811865476;
    int n = 2 * l + 1;
    BasisMatrixType M = InitBasisMatrix(n, n);
    BasisMatrixAt(M, l, l) = Complex16{1.0, 0.0};
    for (int m = 1; m <= l; m++) {
        int i = l - m, j = 2 * l - i;  // sine type in row i, cosine type in row j
        double sign = (m % 2 == 0) ? 1.0 : -1.0;
        BasisMatrixAt(M, i, i) = Complex16{0.0, a};
        BasisMatrixAt(M, i, j) = Complex16{0.0, -sign * a};
        BasisMatrixAt(M, j, i) = Complex16{a, 0.0};
        BasisMatrixAt(M, j, j) = Complex16{sign * a, 0.0};
    }
    *out = M;
    return 0;
}

int BasisYToK(int l, BasisMatrixType* out) {
    if (l < 0 || l > 6) return 1;
    int n = 2 * l + 1;
    BasisMatrixType M = InitBasisMatrix(n, n);
    CubicHarmonicCoefficients(l, M.a.data());
    *out = M;
    return 0;
}

// |j jz> = sum over spin of <l, jz-s; 1/2, s | j jz> |l, jz-s> |s>, the
// Clebsch-Gordan coefficients in closed form, with doubled jz (tjz).
int BasisYToJJz(int l, BasisMatrixType* out) {
    if (l < 0) return 1;
    int n = 2 * (2 * l + 1);
    double twoN = 2.0 * (2 * l + 1);
    BasisMatrixType M = InitBasisMatrix(n, n);
    int row = 0;
    for (int jPart = 0; jPart < 2; jPart++) {
        int tj = 2 * l - 1 + 2 * jPart;  // 2j: l-1/2, then l+1/2
        if (tj < 0) continue;
        for (int tjz = -tj; tjz <= tj; tjz += 2, row++) {
            int mUp = (tjz - 1) / 2;  // tjz is odd: exact
            int mDown = mUp + 1;
            double plus = std::sqrt((2 * l + tjz + 1) / twoN);   // (l + jz + 1/2)/(2l+1)
            double minus = std::sqrt((2 * l - tjz + 1) / twoN);  // (l - jz + 1/2)/(2l+1)
            double up = jPart == 0 ? -minus : plus;
            double down = jPart == 0 ? plus : minus;
            if (mUp >= -l) BasisMatrixAt(M, row, 2 * (mUp + l) + 1) = Complex16{up, 0.0};
            if (mDown <= l) BasisMatrixAt(M, row, 2 * (mDown + l)) = Complex16{down, 0.0};
        }
    }
    *out = M;
    return 0;
}
