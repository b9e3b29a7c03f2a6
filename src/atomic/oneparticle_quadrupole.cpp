// Quadrupoles Q_ab = (3 r_a r_b - delta_ab r^2) / r^2 and the magnetic dipole
// term T_a = -sum_b Q_ab S_b of one shell.  Both are built from the
// one-electron matrices: Q from the elements C(m', m) = c^2(l m', l m) of
// the Racah-normalised tensor C^2, with
//   Qzz = 2 C^2_0,  Qxx = -C^2_0 + s (C^2_2 + C^2_-2),
//   Qyy = -C^2_0 - s (C^2_2 + C^2_-2),  Qxz = s (C^2_-1 - C^2_1),
//   Qyz = i s (C^2_1 + C^2_-1),  Qxy = i s (C^2_-2 - C^2_2),
// s = sqrt(3/2), and T as the product with the spin matrices.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "atomic/oneparticle.h"
#include "atomic/oneparticle_detail.h"
#include "atomic/threej.h"
#include "manybody/operator_algebra.h"

using namespace oneparticle;

namespace {

const double kS = 1.224744871391589;  // sqrt(3/2)

enum Axis { kX = 0, kY = 1, kZ = 2 };

// The orbital matrix of Q_ab, q[(m'+l)(2l+1) + (m+l)], as a complex
// (2l+1)-square block.  Coefficients C of modulus at most kCoefficientCut
// are left out.
void QuadrupoleMatrix(int a, int b, int l, Complex16* q) {
    int n = 2 * l + 1;
    if (a > b) {
        int t = a;
        a = b;
        b = t;
    }
    for (int k = 0; k < n * n; k++) q[k] = Complex16{0.0, 0.0};
    for (int i = 0; i < n; i++) {
        int m = i - l;
        for (int mp = m - 2; mp <= m + 2; mp++) {
            if (mp < -l || mp > l) continue;
            double C = SlaterCoefficientC(2, l, mp, l, m);
            if (std::fabs(C) <= kCoefficientCut) continue;
            int dm = mp - m;
            Complex16 v{0.0, 0.0};
            if (a == kZ && b == kZ) {
                if (dm == 0) v.re = 2.0 * C;
            } else if (a == kX && b == kX) {
                if (dm == 0) v.re = -C;
                if (dm == 2 || dm == -2) v.re = kS * C;
            } else if (a == kY && b == kY) {
                if (dm == 0) v.re = -C;
                if (dm == 2 || dm == -2) v.re = -kS * C;
            } else if (a == kX && b == kZ) {
                if (dm == 1) v.re = -kS * C;
                if (dm == -1) v.re = kS * C;
            } else if (a == kY && b == kZ) {
                if (dm == 1 || dm == -1) v.im = kS * C;
            } else {  // xy
                if (dm == 2) v.im = -kS * C;
                if (dm == -2) v.im = kS * C;
            }
            q[(mp + l) * n + i] = v;
        }
    }
}

// Adds a one-electron matrix over the spin-orbitals of the shell, index
// 2i + sigma (sigma 0 down, 1 up), column by column; zero entries are
// skipped.  Only real parts for a real operator.
int AddShellMatrix(OperatorType* O, int l, const uint16_t* up, const uint16_t* dn, const Complex16* h, bool complex) {
    int n = 2 * (2 * l + 1);
    for (int col = 0; col < n; col++) {
        uint16_t an = (col & 1) ? up[col >> 1] : dn[col >> 1];
        for (int row = 0; row < n; row++) {
            Complex16 v = h[row * n + col];
            if (!complex) v.im = 0.0;
            if (v.re == 0.0 && v.im == 0.0) continue;
            uint16_t cr = (row & 1) ? up[row >> 1] : dn[row >> 1];
            if (AddPair(O, cr, an, v.re, v.im) != 0) return 1;
        }
    }
    return 0;
}

int Quadrupole(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, int a, int b, const char* name,
               OperatorType* O) {
    int n = 2 * l + 1;
    bool complex = (a != b) && (a == kY || b == kY);
    Complex16* q = (Complex16*)malloc(sizeof(Complex16) * n * n);
    if (q == nullptr) {
        printf("Could not allocate the orbital matrix of %s\n", name);
        return 1;
    }
    QuadrupoleMatrix(a, b, l, q);
    if (Begin(O, NF, name, 2) != 0) {
        free(q);
        return 1;
    }
    int bad = complex ? MakeComplex(O) : 0;
    // Column m, rows m' in the order m, m+-1, m+-2; spin is a plain sum.
    static const int steps[5] = {0, 1, -1, 2, -2};
    for (int i = 0; i < n && !bad; i++) {
        for (int d : steps) {
            int r = i + d;
            if (r < 0 || r >= n) continue;
            Complex16 v = q[r * n + i];
            if (v.re == 0.0 && v.im == 0.0) continue;
            if (AddPair(O, up[r], up[i], v.re, v.im) != 0 || AddPair(O, dn[r], dn[i], v.re, v.im) != 0) {
                bad = 1;
                break;
            }
        }
    }
    free(q);
    if (bad) return Fail(O);
    return Finish(O);
}

// The one-electron matrix of T_a over the spin-orbitals of the shell;
// a = 3 is T+ = Tx + i Ty and a = 4 is T- = Tx - i Ty.
int DipoleMatrix(int a, int l, Complex16* t) {
    int n = 2 * l + 1, ns = 2 * n;
    // Spin matrices s_b[2 sigma' + sigma].
    static const Complex16 spin[3][4] = {
        {{0.0, 0.0}, {0.5, 0.0}, {0.5, 0.0}, {0.0, 0.0}},
        {{0.0, 0.0}, {0.0, 0.5}, {0.0, -0.5}, {0.0, 0.0}},
        {{-0.5, 0.0}, {0.0, 0.0}, {0.0, 0.0}, {0.5, 0.0}},
    };
    Complex16* q = (Complex16*)malloc(sizeof(Complex16) * n * n);
    if (q == nullptr) return 1;
    for (int k = 0; k < ns * ns; k++) t[k] = Complex16{0.0, 0.0};
    // Weights of the Cartesian components: T+ = Tx + i Ty, T- = Tx - i Ty.
    Complex16 weight[3] = {{0, 0}, {0, 0}, {0, 0}};
    if (a < 3) weight[a] = Complex16{1.0, 0.0};
    if (a >= 3) {
        weight[kX] = Complex16{1.0, 0.0};
        weight[kY] = Complex16{0.0, a == 3 ? 1.0 : -1.0};
    }
    for (int c = 0; c < 3; c++) {
        if (weight[c].re == 0.0 && weight[c].im == 0.0) continue;
        for (int b = 0; b < 3; b++) {
            QuadrupoleMatrix(c, b, l, q);
            for (int r = 0; r < n; r++)
                for (int i = 0; i < n; i++) {
                    Complex16 qv = q[r * n + i];
                    if (qv.re == 0.0 && qv.im == 0.0) continue;
                    Complex16 wq = weight[c] * qv;
                    for (int sp = 0; sp < 2; sp++)
                        for (int s = 0; s < 2; s++) {
                            Complex16 sv = spin[b][2 * sp + s];
                            if (sv.re == 0.0 && sv.im == 0.0) continue;
                            t[(2 * r + sp) * ns + 2 * i + s] -= wq * sv;
                        }
                }
        }
    }
    free(q);
    return 0;
}

int Dipole(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, int a, const char* name, OperatorType* O) {
    int ns = 2 * (2 * l + 1);
    bool complex = (a == kY);
    Complex16* t = (Complex16*)malloc(sizeof(Complex16) * ns * ns);
    if (t == nullptr || DipoleMatrix(a, l, t) != 0) {
        printf("Could not allocate the one-electron matrix of %s\n", name);
        free(t);
        return 1;
    }
    if (Begin(O, NF, name, 2) != 0) {
        free(t);
        return 1;
    }
    int bad = (complex ? MakeComplex(O) : 0) || AddShellMatrix(O, l, up, dn, t, complex);
    free(t);
    if (bad) return Fail(O);
    return Finish(O);
}

}  // namespace

int CreateOperatorQxx(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Quadrupole(NF, l, up, dn, kX, kX, "Qxx", O);
}
int CreateOperatorQyy(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Quadrupole(NF, l, up, dn, kY, kY, "Qyy", O);
}
int CreateOperatorQzz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Quadrupole(NF, l, up, dn, kZ, kZ, "Qzz", O);
}
int CreateOperatorQxy(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Quadrupole(NF, l, up, dn, kX, kY, "Qxy", O);
}
int CreateOperatorQxz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Quadrupole(NF, l, up, dn, kX, kZ, "Qxz", O);
}
int CreateOperatorQyz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Quadrupole(NF, l, up, dn, kY, kZ, "Qyz", O);
}

int CreateOperatorTx(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Dipole(NF, l, up, dn, kX, "Tx", O);
}
int CreateOperatorTy(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Dipole(NF, l, up, dn, kY, "Ty", O);
}
int CreateOperatorTz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Dipole(NF, l, up, dn, kZ, "Tz", O);
}
int CreateOperatorTplus(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Dipole(NF, l, up, dn, 3, "Tplus", O);
}
int CreateOperatorTmin(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return Dipole(NF, l, up, dn, 4, "Tmin", O);
}

// T^2 = Tx Tx + Ty Ty + Tz Tz as products of the three operators.
int CreateOperatorTsqr(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    OperatorType T[3];
    int made = 0;
    int bad = 0;
    for (; made < 3; made++)
        if (Dipole(NF, l, up, dn, made, "T", &T[made]) != 0) {
            bad = 1;
            break;
        }
    if (!bad) {
        if (InitOperatorForMult(O, 2, &T[0], &T[0]) != 0) {
            bad = 1;
        } else {
            for (int c = 0; c < 3 && !bad; c++)
                bad = OperatorMultiply2NormalOrder(O, T[c], T[c], 'N', 'N', QDetNotOrderedFcFaBcBa);
            if (bad) FreeOperator(O);
        }
    }
    for (int c = 0; c < made; c++) FreeOperator(&T[c]);
    if (bad) return 1;
    OperatorSetName(O, "T^2");
    SetQComplexOperator(O);
    return Finish(O);
}
