// Occupations, one-particle density matrices (also between two states) and
// the density and spin correlation matrices.  Every matrix element is the
// value of one product of ladders: an operator of a single term is made
// once, its ladder codes are rewritten for each element, and the bra-ket
// loop gives the element.
#include <omp.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "manybody/expectation.h"
#include "manybody/expectation_engine.h"

namespace {

uint16_t Cr(unsigned int mode) { return (uint16_t)(LaderCreation | mode); }
uint16_t An(unsigned int mode) { return (uint16_t)mode; }

void Say(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

// Texts of the allocation failures of one caller.
struct SingleTermTexts {
    const char* lengths;  // the array of length records
    const char* codes;    // the codes of the term
    const char* value;    // its prefactor
};

// An operator of one real term of `length` ladders with prefactor 1 (codes
// to be written by the caller) on the modes of psi.  Freed with
// FreeOperator.
int InitSingleTermOperator(OperatorType* O, const char* name, const WaveFunctionType& psi, unsigned int length,
                           const SingleTermTexts& texts) {
    memset(O, 0, sizeof(*O));
    OperatorSetName(O, name);
    InitDeterminantRestriction(&O->Restrictions);
    O->NF = psi.NFermion;
    O->NB = psi.NBoson;
    O->NWord = DeterminantNWord(psi.NFermion, psi.NBoson);
    O->l = static_cast<OperatorFixedLengthType*>(calloc(length + 1, sizeof(OperatorFixedLengthType)));
    if (O->l == nullptr) {
        Say(texts.lengths);
        return 1;
    }
    O->MaxLength = length;
    OperatorFixedLengthType& L = O->l[length];
    L.o = static_cast<uint16_t*>(calloc(length, sizeof(uint16_t)));
    if (L.o == nullptr) {
        Say(texts.codes);
        FreeOperator(O);
        return 1;
    }
    L.VRe = static_cast<double*>(malloc(sizeof(double)));
    if (L.VRe == nullptr) {
        Say(texts.value);
        FreeOperator(O);
        return 1;
    }
    L.VRe[0] = 1.0;
    L.N = 1;
    L.NAloc = 1;
    return 0;
}

bool ModesValid(const uint16_t* modes, unsigned int n, unsigned int limit, const char* who) {
    for (unsigned int k = 0; k < n; k++) {
        if (modes[k] >= limit) {
            printf("Mode %d is not one of the %d modes of the wave function in %s\n", (int)modes[k], (int)limit, who);
            fflush(stdout);
            return false;
        }
    }
    return true;
}

// 0, 1, 2, ... n-1.
uint16_t* AllModes(unsigned int n, const char* who) {
    uint16_t* modes = static_cast<uint16_t*>(malloc((n > 0 ? n : 1) * sizeof(uint16_t)));
    if (modes == nullptr) {
        printf("malloc failed in %s\n", who);
        fflush(stdout);
        return nullptr;
    }
    for (unsigned int k = 0; k < n; k++) modes[k] = (uint16_t)k;
    return modes;
}

int InitNamedMatrix(MatrixType* M, unsigned int n, bool complex, const char* name, const char* failure) {
    M->Ni = (int32_t)n;
    M->Nj = (int32_t)n;
    M->QComplex = complex ? 1 : 0;
    if (InitMatrix(M) != 0) {
        Say(failure);
        return 1;
    }
    SetMatrixName(M, name);
    return 0;
}

// <bra| term |ket> of the operator's one term as it stands.
int TermValue(const OperatorType& O, const WaveFunctionType& bra, const WaveFunctionType& ket, bool complex,
              double* re, double* im, const char* who) {
    return ExpectationBraKet(ExpectationKind(O, ket), O, bra, ket, nullptr, complex, re, im, who);
}

// M(k, l) = <bra| C_{modes[k]} A_{modes[l]} |ket> with the length-2 operator O.
int FillDensityMatrix(MatrixType* M, OperatorType& O, const WaveFunctionType& bra, const WaveFunctionType& ket,
                      const uint16_t* modes, unsigned int n, const char* who) {
    uint16_t* code = O.l[2].o;
    for (unsigned int k = 0; k < n; k++) {
        for (unsigned int l = 0; l < n; l++) {
            code[0] = An(modes[l]);
            code[1] = Cr(modes[k]);
            double re = 0.0, im = 0.0;
            if (TermValue(O, bra, ket, M->QComplex != 0, &re, &im, who) != 0) return 1;
            M->Re[k][l] = re;
            if (M->QComplex) M->Im[k][l] = im;
        }
    }
    return 0;
}

const SingleTermTexts kDensityTexts = {"alloc of O.l failed in CalculateDensityMatrix",
                                       "alloc of O.l[2].o failed in CalculateDensityMatrix",
                                       "alloc of O.l[2].VRe failed in CalculateDensityMatrix"};
const char* const kDensityOperatorName = "Calc. Den. Mat. Int. Opp. ";

// The n*n transition density matrices of a list over the given modes.
int DensityTensor(MatrixType* M, unsigned int n, const WaveFunctionType* psi, const uint16_t* modes,
                  unsigned int nmodes, const char* who) {
    if (n == 0) return 0;
    bool complex = false;
    for (unsigned int a = 0; a < n; a++) {
        if (psi[a].NWord != psi[0].NWord || psi[a].NFermion != psi[0].NFermion || psi[a].NBoson != psi[0].NBoson) {
            printf("The wave functions of the list have different numbers of modes in %s\n", who);
            fflush(stdout);
            return 1;
        }
        complex = complex || psi[a].QComplex != 0;
    }
    OperatorType O;
    if (InitSingleTermOperator(&O, kDensityOperatorName, psi[0], 2, kDensityTexts) != 0) return 1;
    unsigned int made = 0;
    int status = 0;
    for (unsigned int a = 0; a < n && status == 0; a++) {
        for (unsigned int b = 0; b < n && status == 0; b++) {
            MatrixType* m = &M[a * n + b];
            if (InitNamedMatrix(m, nmodes, complex, "Density Matrix.", "InitMatrix failed in CalculateDensityMatrix")) {
                status = 1;
                break;
            }
            made++;
            status = FillDensityMatrix(m, O, psi[a], psi[b], modes, nmodes, who);
        }
    }
    FreeOperator(&O);
    if (status != 0)
        for (unsigned int k = 0; k < made; k++) FreeMatrix(&M[k]);
    return status;
}

}  // namespace

int CalculateDensity(double* n, WaveFunctionType psi) {
    const unsigned int modes = psi.NFermion + psi.NBoson;
    const unsigned int fermionBytes = psi.NWord - psi.NBoson;
    for (unsigned int m = 0; m < modes; m++) n[m] = 0.0;
    const long long N = psi.N;
    const bool complex = psi.QComplex != 0;
    int failed = 0;
#pragma omp parallel reduction(| : failed)
    {
        double* local = static_cast<double*>(calloc(modes > 0 ? modes : 1, sizeof(double)));
        if (local == nullptr) failed = 1;
#pragma omp for schedule(static) nowait
        for (long long i = 1; i <= N; i++) {
            if (local == nullptr) continue;
            const uint32_t e = (uint32_t)i;
            double w = WaveFunctionRe(psi, e) * WaveFunctionRe(psi, e);
            if (complex) w += WaveFunctionIm(psi, e) * WaveFunctionIm(psi, e);
            const uint8_t* det = WaveFunctionDet(psi, e);
            for (unsigned int m = 0; m < psi.NFermion; m++)
                if (det[m >> 3] & (0x80u >> (m & 7))) local[m] += w;
            for (unsigned int k = 0; k < psi.NBoson; k++) local[psi.NFermion + k] += w * det[fermionBytes + k];
        }
        if (local != nullptr) {
#pragma omp critical(AddToHistogram)
            for (unsigned int m = 0; m < modes; m++) n[m] += local[m];
            free(local);
        }
    }
    if (failed) {
        Say("calloc failed in CalculateDensity");
        return 1;
    }
    return 0;
}

int CalculateDensityMatrix(MatrixType* M, WaveFunctionType psi, const uint16_t* orbitals, unsigned int norb) {
    return CalculatePartialDensityMatrixWithOffDiagonals(M, 1, &psi, orbitals, norb);
}

int CalculateDensityMatrixWithOffDiagonals(MatrixType* M, unsigned int n, const WaveFunctionType* psi) {
    return CalculatePartialDensityMatrixWithOffDiagonals(M, n, psi, nullptr, 0);
}

int CalculatePartialDensityMatrixWithOffDiagonals(MatrixType* M, unsigned int n, const WaveFunctionType* psi,
                                                  const uint16_t* orbitals, unsigned int norb) {
    const char* who = "CalculateDensityMatrix";
    if (n == 0) return 0;
    const unsigned int modes = psi[0].NFermion + psi[0].NBoson;
    if (orbitals != nullptr) {
        if (!ModesValid(orbitals, norb, modes, who)) return 1;
        return DensityTensor(M, n, psi, orbitals, norb, who);
    }
    uint16_t* all = AllModes(modes, who);
    if (all == nullptr) return 1;
    const int status = DensityTensor(M, n, psi, all, modes, who);
    free(all);
    return status;
}

int CalculateDensityCorrelationMatrix(MatrixType* M, WaveFunctionType psi, const uint16_t* modes,
                                      unsigned int nmodes) {
    const char* who = "CalculateDensityCorrelationMatrix";
    const unsigned int limit = psi.NFermion + psi.NBoson;
    uint16_t* all = nullptr;
    if (modes == nullptr) {
        all = AllModes(limit, who);
        if (all == nullptr) return 1;
        modes = all;
        nmodes = limit;
    } else if (!ModesValid(modes, nmodes, limit, who)) {
        return 1;
    }
    const SingleTermTexts texts = {"alloc of O.l failed in CalculateDensityCorrelationMatrix",
                                   "alloc of O.l[4].o failed in CalculateDensityCorrelationMatrix",
                                   "alloc of O.l[4].VRe failed in CalculateDensityCorrelationMatrix"};
    OperatorType O;
    if (InitSingleTermOperator(&O, "Calc. Den. Corr. Mat. Int. Opp. ", psi, 4, texts) != 0) {
        free(all);
        return 1;
    }
    const bool complex = psi.QComplex != 0;
    int status = InitNamedMatrix(M, nmodes, complex, "Density Correlation Matrix.",
                                 "InitMatrix failed in CalculateDensityCorrelationMatrix");
    uint16_t* code = O.l[4].o;
    for (unsigned int k = 0; k < nmodes && status == 0; k++) {
        for (unsigned int l = 0; l < nmodes && status == 0; l++) {
            // n_i n_j = C i A i C j A j, applied from the right.
            code[0] = An(modes[l]);
            code[1] = Cr(modes[l]);
            code[2] = An(modes[k]);
            code[3] = Cr(modes[k]);
            double re = 0.0, im = 0.0;
            if (TermValue(O, psi, psi, complex, &re, &im, who) != 0) {
                FreeMatrix(M);
                status = 1;
                break;
            }
            M->Re[k][l] = re;
            if (complex) M->Im[k][l] = im;
        }
    }
    FreeOperator(&O);
    free(all);
    return status;
}

// S_a . S_b = 1/4 sum_{s,t} [2 C_as A_at C_bt A_bs - C_as A_as C_bt A_bt],
// from sigma^k_{s1 s2} sigma^k_{s3 s4} = 2 d_{s1 s4} d_{s2 s3} - d_{s1 s2} d_{s3 s4};
// each of the eight products is one evaluation of the single term.
int CalculateSpinCorrelationMatrix(MatrixType* M, WaveFunctionType psi, const uint16_t* down, unsigned int norb) {
    const char* who = "CalculateSpinCorrelationMatrix";
    uint16_t* all = nullptr;
    if (down == nullptr) {
        norb = psi.NFermion / 2;
        all = static_cast<uint16_t*>(malloc((norb > 0 ? norb : 1) * sizeof(uint16_t)));
        if (all == nullptr) {
            Say("malloc failed in CalculateSpinCorrelationMatrix");
            return 1;
        }
        for (unsigned int a = 0; a < norb; a++) all[a] = (uint16_t)(2 * a);
        down = all;
    } else {
        for (unsigned int a = 0; a < norb; a++) {
            if ((unsigned int)down[a] + 1 >= psi.NFermion) {
                printf("Orbital %d (modes %d and %d) is not within the %d fermion modes in %s\n", (int)a,
                       (int)down[a], (int)down[a] + 1, (int)psi.NFermion, who);
                fflush(stdout);
                return 1;
            }
        }
    }
    const SingleTermTexts texts = {"alloc of O.l failed in CalculateSpinCorrelationMatrix",
                                   "alloc of O.l[4].o failed in CalculateDensityMatrix",
                                   "alloc of O.l[4].VRe failed in CalculateSpinCorrelationMatrix"};
    OperatorType O;
    if (InitSingleTermOperator(&O, "Calc. Spin. Corr. Int. Opp. ", psi, 4, texts) != 0) {
        free(all);
        return 1;
    }
    const bool complex = psi.QComplex != 0;
    int status = InitNamedMatrix(M, norb, complex, "Spin Correlation Matrix.",
                                 "InitMatrix failed in CalculateSpinCorrelationMatrix");
    uint16_t* code = O.l[4].o;
    for (unsigned int a = 0; a < norb && status == 0; a++) {
        for (unsigned int b = 0; b < norb && status == 0; b++) {
            double sumRe = 0.0, sumIm = 0.0;
            for (unsigned int s = 0; s < 2 && status == 0; s++) {
                for (unsigned int t = 0; t < 2 && status == 0; t++) {
                    const unsigned int as = down[a] + s, at = down[a] + t, bs = down[b] + s, bt = down[b] + t;
                    const uint16_t exchange[4] = {An(bs), Cr(bt), An(at), Cr(as)};
                    const uint16_t density[4] = {An(bt), Cr(bt), An(as), Cr(as)};
                    double re = 0.0, im = 0.0;
                    memcpy(code, exchange, sizeof(exchange));
                    status = TermValue(O, psi, psi, complex, &re, &im, who);
                    sumRe += 0.5 * re;
                    sumIm += 0.5 * im;
                    if (status != 0) break;
                    memcpy(code, density, sizeof(density));
                    status = TermValue(O, psi, psi, complex, &re, &im, who);
                    sumRe -= 0.25 * re;
                    sumIm -= 0.25 * im;
                }
            }
            if (status != 0) {
                FreeMatrix(M);
                break;
            }
            M->Re[a][b] = sumRe;
            if (complex) M->Im[a][b] = sumIm;
        }
    }
    FreeOperator(&O);
    free(all);
    return status;
}
