// An independent dense reference for operator tests: the matrix of an
// operator in the occupation-number basis of a few modes, built by applying
// each ladder of each term to each basis state with the plain sign rule
// (-1)^(number of occupied fermion modes below the mode), boson ladders with
// sqrt(n) and sqrt(n+1).  Boson occupations are cut at `cap`; a column whose
// boson occupations are at most cap - L is exact for products of up to L
// ladders.
#ifndef SKELDA_TESTS_FOCK_REFERENCE_H
#define SKELDA_TESTS_FOCK_REFERENCE_H

#include <cmath>
#include <complex>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "manybody/operator.h"

namespace fockref {

using cplx = std::complex<double>;

struct Space {
    unsigned nf = 0, nb = 0, cap = 0;
    std::vector<std::vector<int>> states;
    std::map<std::vector<int>, size_t> index;

    Space(unsigned nf_, unsigned nb_, unsigned cap_) : nf(nf_), nb(nb_), cap(cap_) {
        std::vector<int> occ(nf + nb, 0);
        Fill(occ, 0);
    }
    size_t dim() const { return states.size(); }

    void Fill(std::vector<int>& occ, unsigned mode) {
        if (mode == nf + nb) {
            index[occ] = states.size();
            states.push_back(occ);
            return;
        }
        int top = mode < nf ? 1 : (int)cap;
        for (int n = 0; n <= top; n++) {
            occ[mode] = n;
            Fill(occ, mode + 1);
        }
        occ[mode] = 0;
    }

    // Applies one ladder code in place; returns the factor (0: no state).
    double Apply(std::vector<int>& occ, uint16_t code) const {
        unsigned m = code & 0x7FFF;
        bool create = (code & 0x8000) != 0;
        if (m < nf) {
            if (occ[m] == (create ? 1 : 0)) return 0.0;
            int below = 0;
            for (unsigned i = 0; i < m; i++) below += occ[i];
            occ[m] = create ? 1 : 0;
            return below % 2 ? -1.0 : 1.0;
        }
        int n = occ[m];
        if (create) {
            if (n == (int)cap) return 0.0;
            occ[m] = n + 1;
            return std::sqrt((double)(n + 1));
        }
        if (n == 0) return 0.0;
        occ[m] = n - 1;
        return std::sqrt((double)n);
    }

    // The largest boson occupation of a state.
    int BosonTop(size_t j) const {
        int top = 0;
        for (unsigned m = nf; m < nf + nb; m++) top = std::max(top, states[j][m]);
        return top;
    }
};

using Matrix = std::vector<cplx>;  // dim x dim, row-major

inline void AddTerm(const Space& s, const uint16_t* codes, unsigned length, cplx v, Matrix& M) {
    size_t d = s.dim();
    for (size_t j = 0; j < d; j++) {
        std::vector<int> occ = s.states[j];
        double f = 1.0;
        for (unsigned i = 0; i < length && f != 0.0; i++) f *= s.Apply(occ, codes[i]);
        if (f == 0.0) continue;
        M[s.index.at(occ) * d + j] += v * f;
    }
}

inline Matrix OfOperator(const Space& s, const OperatorType& O) {
    Matrix M(s.dim() * s.dim(), 0.0);
    for (unsigned k = 0; k <= O.MaxLength; k++) {
        const OperatorFixedLengthType& f = O.l[k];
        for (uint32_t t = 0; t < f.N; t++) {
            cplx v = f.QComplex ? cplx(f.V[t].re, f.V[t].im) : cplx(f.VRe[t], 0.0);
            AddTerm(s, k ? f.o + (size_t)t * k : nullptr, k, v, M);
        }
    }
    return M;
}

inline Matrix Multiply(const Matrix& A, const Matrix& B, size_t d) {
    Matrix C(d * d, 0.0);
    for (size_t i = 0; i < d; i++)
        for (size_t k = 0; k < d; k++) {
            cplx a = A[i * d + k];
            if (a == 0.0) continue;
            for (size_t j = 0; j < d; j++) C[i * d + j] += a * B[k * d + j];
        }
    return C;
}

inline Matrix Adjoint(const Matrix& A, size_t d, bool conjugate = true) {
    Matrix C(d * d);
    for (size_t i = 0; i < d; i++)
        for (size_t j = 0; j < d; j++) C[j * d + i] = conjugate ? std::conj(A[i * d + j]) : A[i * d + j];
    return C;
}

// Largest difference over the columns whose boson occupations are at most
// cap - reach (all columns without bosons).
inline double MaxDiff(const Space& s, const Matrix& A, const Matrix& B, unsigned reach = 0) {
    size_t d = s.dim();
    double worst = 0.0;
    for (size_t j = 0; j < d; j++) {
        if (s.BosonTop(j) + (int)reach > (int)s.cap) continue;
        for (size_t i = 0; i < d; i++) worst = std::max(worst, std::abs(A[i * d + j] - B[i * d + j]));
    }
    return worst;
}

// A random operator: `count` terms of each listed length, random ladders on
// all modes, random values (complex when asked).
inline OperatorType RandomOperator(unsigned nf, unsigned nb, const std::vector<unsigned>& lengths, unsigned count,
                                   bool complex, std::mt19937& rng, unsigned nbits = 5) {
    OperatorType O;
    InitOperator(&O);
    O.NF = nf;
    O.NB = nb;
    O.NWord = DeterminantNWord(nf, nb);
    std::uniform_int_distribution<unsigned> mode(0, nf + nb - 1), coin(0, 1);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    for (unsigned length : lengths) {
        if (length > O.MaxLength) InitOperatorFixedLength(&O, length, nbits);
        for (unsigned c = 0; c < count; c++) {
            std::vector<uint16_t> codes(length);
            for (auto& x : codes) x = (uint16_t)(mode(rng) | (coin(rng) ? 0x8000 : 0));
            double re = value(rng), im = complex ? value(rng) : 0.0;
            OperatorAddLader(&O, codes.data(), length, re, im);
        }
    }
    return O;
}

// A random unitary n x n matrix (rows orthonormalised by Gram-Schmidt).
inline std::vector<cplx> RandomUnitary(unsigned n, std::mt19937& rng) {
    std::normal_distribution<double> g;
    std::vector<cplx> U(n * n);
    for (auto& u : U) u = cplx(g(rng), g(rng));
    for (unsigned r = 0; r < n; r++) {
        for (unsigned q = 0; q < r; q++) {
            cplx dot = 0.0;
            for (unsigned i = 0; i < n; i++) dot += std::conj(U[q * n + i]) * U[r * n + i];
            for (unsigned i = 0; i < n; i++) U[r * n + i] -= dot * U[q * n + i];
        }
        double norm = 0.0;
        for (unsigned i = 0; i < n; i++) norm += std::norm(U[r * n + i]);
        for (unsigned i = 0; i < n; i++) U[r * n + i] /= std::sqrt(norm);
    }
    return U;
}

}  // namespace fockref

#endif
