// Sums with a change of the one-particle basis: a := a + T(b), where the
// rows of U give the new orbitals in the old ones, new_r = sum_i U[r][i]
// old_i, so that the creator of old mode i becomes sum_r conj(U[r][i]) c+_r.
//
// A determinant of b is the product of the creators of its occupied modes in
// ascending order applied to the vacuum.  The creators of the rotated modes
// (those below U's size) are replaced one at a time, innermost first, each by
// its expansion, on a small scratch state whose hash table merges the equal
// determinants that different orders of choice reach.  That keeps the work
// per determinant near the number of determinants reached rather than the
// number of ordered choices.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "manybody/hash.h"
#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_slots.h"
#include "numeric/matrix.h"

using wfslots::ReportIn;

namespace {

// (-1)^(number of occupied fermion modes below mode r).
double Sign(const uint8_t* det, unsigned int r) {
    unsigned int count = 0;
    for (unsigned int b = 0; b < (r >> 3); b++) count += (unsigned int)__builtin_popcount(det[b]);
    count += (unsigned int)__builtin_popcount(det[r >> 3] & ((0xFF00u >> (r & 7)) & 0xFFu));
    return (count & 1) ? -1.0 : 1.0;
}

bool Occupied(const uint8_t* det, unsigned int m) { return (det[m >> 3] & (0x80u >> (m & 7))) != 0; }

// The expansion of each old mode i < n: the new modes r with their
// coefficient conj(U[r][i]), exact zeros left out.
struct Columns {
    unsigned int n = 0;
    unsigned int* count = nullptr;  // n
    unsigned int* row = nullptr;    // n*n
    Complex16* coef = nullptr;      // n*n
    ~Columns() {
        free(count);
        free(row);
        free(coef);
    }
    bool Make(const MatrixType& U) {
        n = (unsigned int)U.Ni;
        const size_t nn = (size_t)n * n;
        count = static_cast<unsigned int*>(calloc(n > 0 ? n : 1, sizeof(unsigned int)));
        row = static_cast<unsigned int*>(malloc((nn > 0 ? nn : 1) * sizeof(unsigned int)));
        coef = static_cast<Complex16*>(malloc((nn > 0 ? nn : 1) * sizeof(Complex16)));
        if (count == nullptr || row == nullptr || coef == nullptr) return false;
        for (unsigned int i = 0; i < n; i++) {
            for (unsigned int r = 0; r < n; r++) {
                const double re = U.Re[r][i];
                const double im = U.QComplex ? -U.Im[r][i] : 0.0;
                if (re == 0.0 && im == 0.0) continue;
                row[(size_t)i * n + count[i]] = r;
                coef[(size_t)i * n + count[i]] = Complex16{re, im};
                count[i]++;
            }
        }
        return true;
    }
};

// Empties a scratch state in time proportional to its elements: only the
// buckets in use are cleared, and its blocks stay for the next use (so its
// NBlok may exceed what N needs; the scratch states are private).
void ClearScratch(WaveFunctionType* psi) {
    for (uint32_t e = 1; e <= psi->N; e++) psi->KeyList[hash(WaveFunctionDet(*psi, e), psi->NWord, psi->NBitsKey)] = 0;
    psi->N = 0;
}

template <bool C>
int AddTo(WaveFunctionType* psi, const uint8_t* det, Complex16 v) {
    return C ? ComplexWaveFunctionAddElement(psi, det, v.re, v.im) : RealWaveFunctionAddElement(psi, det, v.re);
}

bool Check(const WaveFunctionType& a, const WaveFunctionType& b, const MatrixType& U, int aC, int uC, int bC,
           const char* fn) {
    if (U.Ni != U.Nj || U.Ni < 0 || (uint32_t)U.Ni > b.NFermion) {
        printf("%s needs a square matrix of at most %u rows, got %i by %i\n", fn, b.NFermion, U.Ni, U.Nj);
        fflush(stdout);
        return false;
    }
    if (a.NFermion != b.NFermion || a.NBoson != b.NBoson) {
        printf("%s called with functions of different numbers of modes\n", fn);
        fflush(stdout);
        return false;
    }
    if ((aC >= 0 && (a.QComplex != 0) != (aC != 0)) || (bC >= 0 && (b.QComplex != 0) != (bC != 0)) ||
        (uC >= 0 && (U.QComplex != 0) != (uC != 0))) {
        printf("%s called with arguments of the wrong kind\n", fn);
        fflush(stdout);
        return false;
    }
    return true;
}

// C: the target and the scratch states are complex.
template <bool C>
int MappedAdd(WaveFunctionType* a, const WaveFunctionType& b, const MatrixType& U, const char* fn) {
    Columns cols;
    uint8_t* det = static_cast<uint8_t*>(malloc(b.NWord > 0 ? b.NWord : 1));
    unsigned int* modes = static_cast<unsigned int*>(malloc((U.Ni > 0 ? (size_t)U.Ni : 1) * sizeof(unsigned int)));
    if (det == nullptr || modes == nullptr || !cols.Make(U)) {
        free(det);
        free(modes);
        ReportIn("malloc failed", fn);
        return 1;
    }
    const unsigned int n = cols.n;
    WaveFunctionType W[2];
    unsigned int made = 0;
    for (; made < 2; made++) {
        W[made].QComplex = C ? 1 : 0;
        W[made].NFermion = b.NFermion;
        W[made].NBoson = b.NBoson;
        W[made].NBitsKey = 12;
        if (WaveFunctionInit(&W[made])) break;
    }
    auto finish = [&](int rc) {
        for (unsigned int k = 0; k < made; k++) WaveFunctionFree(&W[k]);
        free(det);
        free(modes);
        return rc;
    };
    if (made < 2) {
        ReportIn("WaveFunctionInit failed", fn);
        return finish(1);
    }
    const char* addName = C ? "ComplexWaveFunctionAddElement failed" : "RealWaveFunctionAddElement failed";

    for (uint32_t idx = 1; idx <= b.N; idx++) {
        const uint8_t* src = WaveFunctionDet(b, idx);
        const Complex16 v{WaveFunctionRe(b, idx), b.QComplex ? WaveFunctionIm(b, idx) : 0.0};
        unsigned int nocc = 0;
        memcpy(det, src, b.NWord);
        for (unsigned int m = 0; m < n; m++) {
            if (!Occupied(src, m)) continue;
            modes[nocc++] = m;
            det[m >> 3] &= (uint8_t)~(0x80u >> (m & 7));
        }
        int cur = 0;
        ClearScratch(&W[cur]);
        if (AddTo<C>(&W[cur], det, v)) {
            ReportIn(addName, fn);
            return finish(1);
        }
        for (unsigned int k = nocc; k-- > 0;) {
            WaveFunctionType& from = W[cur];
            WaveFunctionType& to = W[1 - cur];
            ClearScratch(&to);
            const unsigned int i = modes[k];
            const unsigned int* rows = cols.row + (size_t)i * n;
            const Complex16* coef = cols.coef + (size_t)i * n;
            for (uint32_t e = 1; e <= from.N; e++) {
                const uint8_t* d = WaveFunctionDet(from, e);
                const Complex16 x{WaveFunctionRe(from, e), C ? WaveFunctionIm(from, e) : 0.0};
                for (unsigned int c = 0; c < cols.count[i]; c++) {
                    const unsigned int r = rows[c];
                    if (Occupied(d, r)) continue;
                    memcpy(det, d, b.NWord);
                    det[r >> 3] |= (uint8_t)(0x80u >> (r & 7));
                    const Complex16 y = coef[c] * x * Sign(d, r);
                    if (AddTo<C>(&to, det, y)) {
                        ReportIn(addName, fn);
                        return finish(1);
                    }
                }
            }
            cur = 1 - cur;
        }
        const WaveFunctionType& done = W[cur];
        for (uint32_t e = 1; e <= done.N; e++) {
            const Complex16 y{WaveFunctionRe(done, e), C ? WaveFunctionIm(done, e) : 0.0};
            if (AddTo<C>(a, WaveFunctionDet(done, e), y)) {
                ReportIn(addName, fn);
                return finish(1);
            }
        }
    }
    return finish(0);
}

}  // namespace

int MappedWaveFunctionAddRRR(WaveFunctionType* a, WaveFunctionType b, MatrixType U) {
    const char* fn = "MappedWaveFunctionAddRRR";
    if (!Check(*a, b, U, 0, 0, 0, fn)) return 1;
    return MappedAdd<false>(a, b, U, fn);
}

int MappedWaveFunctionAddCRC(WaveFunctionType* a, WaveFunctionType b, MatrixType U) {
    const char* fn = "MappedWaveFunctionAddCRC";
    if (!Check(*a, b, U, 1, 0, 1, fn)) return 1;
    return MappedAdd<true>(a, b, U, fn);
}

int MappedWaveFunctionAddCCR(WaveFunctionType* a, WaveFunctionType b, MatrixType U) {
    const char* fn = "MappedWaveFunctionAddCCR";
    if (!Check(*a, b, U, 1, 1, 0, fn)) return 1;
    return MappedAdd<true>(a, b, U, fn);
}

int MappedWaveFunctionAddCCC(WaveFunctionType* a, WaveFunctionType b, MatrixType U) {
    const char* fn = "MappedWaveFunctionAddCCC";
    if (!Check(*a, b, U, 1, 1, 1, fn)) return 1;
    return MappedAdd<true>(a, b, U, fn);
}

int MappedWaveFunctionAdd(WaveFunctionType* a, WaveFunctionType b, MatrixType U) {
    const char* fn = "MappedWaveFunctionAdd";
    if (!Check(*a, b, U, -1, -1, -1, fn)) return 1;
    if (!a->QComplex && (U.QComplex || b.QComplex) && PromoteRealWaveFunctionToComplex(a)) {
        ReportIn("MakeComplexWaveFunctionFromReal failed", fn);
        return 1;
    }
    if (!a->QComplex) return MappedWaveFunctionAddRRR(a, b, U);
    if (U.QComplex) return b.QComplex ? MappedWaveFunctionAddCCC(a, b, U) : MappedWaveFunctionAddCCR(a, b, U);
    if (b.QComplex) return MappedWaveFunctionAddCRC(a, b, U);
    return MappedAdd<true>(a, b, U, fn);  // complex target, real matrix and source
}
