// Reference dense linear algebra for the matrix tests: plain complex
// matrices multiplied by loops, independent of BLAS, and helpers to move
// between them and the records under test.
#ifndef SKELDA_TESTS_DENSE_REFERENCE_H
#define SKELDA_TESTS_DENSE_REFERENCE_H

#include <cmath>
#include <random>
#include <vector>

#include "numeric/compactmatrix.h"

struct Dense {
    uint32_t Ni = 0, Nj = 0;
    std::vector<Complex16> a;
    Dense() = default;
    Dense(uint32_t ni, uint32_t nj) : Ni(ni), Nj(nj), a(static_cast<size_t>(ni) * nj, Complex16{0, 0}) {}
    Complex16& operator()(uint32_t i, uint32_t j) { return a[static_cast<size_t>(i) * Nj + j]; }
    Complex16 operator()(uint32_t i, uint32_t j) const { return a[static_cast<size_t>(i) * Nj + j]; }
};

inline Complex16 Conj(Complex16 z) { return Complex16{z.re, -z.im}; }
inline double Abs(Complex16 z) { return std::hypot(z.re, z.im); }

inline Dense Identity(uint32_t n) {
    Dense d(n, n);
    for (uint32_t i = 0; i < n; i++) d(i, i) = Complex16{1, 0};
    return d;
}

// op(X) for op "N", "T", "C", "*".
inline Dense Op(const Dense& x, char op) {
    bool t = op == 'T' || op == 'C', c = op == 'C' || op == '*';
    Dense r(t ? x.Nj : x.Ni, t ? x.Ni : x.Nj);
    for (uint32_t i = 0; i < x.Ni; i++)
        for (uint32_t j = 0; j < x.Nj; j++) {
            Complex16 v = c ? Conj(x(i, j)) : x(i, j);
            if (t)
                r(j, i) = v;
            else
                r(i, j) = v;
        }
    return r;
}

inline Dense Mul(const Dense& x, const Dense& y) {
    Dense r(x.Ni, y.Nj);
    for (uint32_t i = 0; i < x.Ni; i++)
        for (uint32_t k = 0; k < x.Nj; k++)
            for (uint32_t j = 0; j < y.Nj; j++) r(i, j) += x(i, k) * y(k, j);
    return r;
}

inline Dense Diag(const std::vector<Complex16>& d) {
    Dense r(static_cast<uint32_t>(d.size()), static_cast<uint32_t>(d.size()));
    for (uint32_t i = 0; i < d.size(); i++) r(i, i) = d[i];
    return r;
}

inline Dense Diag(const std::vector<double>& d) {
    std::vector<Complex16> c;
    for (double x : d) c.push_back(Complex16{x, 0});
    return Diag(c);
}

inline Dense Add(const Dense& x, const Dense& y, double s = 1.0) {
    Dense r = x;
    for (size_t k = 0; k < r.a.size(); k++) r.a[k] += s * y.a[k];
    return r;
}

inline double MaxDiff(const Dense& x, const Dense& y) {
    if (x.Ni != y.Ni || x.Nj != y.Nj) return INFINITY;
    double m = 0;
    for (size_t k = 0; k < x.a.size(); k++) m = std::fmax(m, Abs(x.a[k] - y.a[k]));
    return m;
}

inline Dense FromCompact(const CompactMatrixType& M) {
    Dense d(M.Ni, M.Nj);
    for (uint32_t i = 0; i < M.Ni; i++)
        for (uint32_t j = 0; j < M.Nj; j++) d(i, j) = CompactMatrixElement(M, i, j);
    return d;
}

inline Dense FromMatrix(const MatrixType& M) {
    Dense d(static_cast<uint32_t>(M.Ni), static_cast<uint32_t>(M.Nj));
    for (uint32_t i = 0; i < d.Ni; i++)
        for (uint32_t j = 0; j < d.Nj; j++)
            d(i, j) = Complex16{M.Re[i][j], M.QComplex ? M.Im[i][j] : 0.0};
    return d;
}

// A new compact record holding d, real when asked (imaginary parts dropped).
inline CompactMatrixType ToCompact(const Dense& d, bool complex) {
    CompactMatrixType M;
    M.Ni = d.Ni;
    M.Nj = d.Nj;
    M.QComplex = complex ? 1 : 0;
    InitCompactMatrix(&M);
    for (size_t k = 0; k < d.a.size(); k++) {
        if (complex)
            CompactMatrixComplexData(M)[k] = d.a[k];
        else
            CompactMatrixRealData(M)[k] = d.a[k].re;
    }
    return M;
}

inline MatrixType ToMatrix(const Dense& d, bool complex) {
    MatrixType M;
    M.Ni = static_cast<int32_t>(d.Ni);
    M.Nj = static_cast<int32_t>(d.Nj);
    M.QComplex = complex ? 1 : 0;
    InitMatrix(&M);
    for (uint32_t i = 0; i < d.Ni; i++)
        for (uint32_t j = 0; j < d.Nj; j++) {
            M.Re[i][j] = d(i, j).re;
            if (complex) M.Im[i][j] = d(i, j).im;
        }
    return M;
}

inline Dense Random(uint32_t ni, uint32_t nj, bool complex, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    Dense d(ni, nj);
    for (auto& z : d.a) z = Complex16{u(gen), complex ? u(gen) : 0.0};
    return d;
}

// The Householder reflection I - 2 v v^dagger / (v^dagger v): unitary and
// Hermitian by construction.
inline Dense Householder(const std::vector<Complex16>& v) {
    uint32_t n = static_cast<uint32_t>(v.size());
    double norm2 = 0;
    for (auto z : v) norm2 += z.re * z.re + z.im * z.im;
    Dense h = Identity(n);
    for (uint32_t i = 0; i < n; i++)
        for (uint32_t j = 0; j < n; j++) h(i, j) -= (2.0 / norm2) * (v[i] * Conj(v[j]));
    return h;
}

// A unitary with no special structure: a product of two reflections.
inline Dense KnownUnitary(uint32_t n, bool complex, unsigned seed) {
    Dense r1 = Random(n, 1, complex, seed), r2 = Random(n, 1, complex, seed + 1);
    return Mul(Householder(r1.a), Householder(r2.a));
}

// Row k of V as a column vector.
inline Dense RowAsColumn(const Dense& v, uint32_t k) {
    Dense c(v.Nj, 1);
    for (uint32_t j = 0; j < v.Nj; j++) c(j, 0) = v(k, j);
    return c;
}

#endif
