// Orthonormalisation of a list of states through its overlap matrix: the
// matrix S_ij = <psi_i|psi_j> is diagonalised, directions of negligible
// weight are dropped, and the new states are combinations of the old ones
// with the eigenvectors scaled by 1/sqrt(eigenvalue).
#include <omp.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_slots.h"
#include "numeric/lapack.h"

using namespace wfslots;

namespace {

const char* RealWord = "RealWaveFunctionListSVDOrthogonalize";
const char* ComplexWord = "ComplexWaveFunctionListSVDOrthogonalize";

// The overlap matrix of n states on one basis in one sweep over the blocks:
// each thread sums into its own n*n accumulator, combined afterwards.
int OverlapSameBasis(const WaveFunctionType* list, unsigned int n, bool cplx, Complex16* S, const char* fn) {
    const int nt = omp_get_max_threads();
    const size_t nn = (size_t)n * n;
    Complex16* acc = static_cast<Complex16*>(calloc((size_t)nt * nn, sizeof(Complex16)));
    if (acc == nullptr) {
        ReportIn("calloc failed", fn);
        return 1;
    }
    wfslots::ForSlots(list[0].N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        Complex16* s = acc + (size_t)omp_get_thread_num() * nn;
        for (unsigned int i = 0; i < n; i++) {
            const double* ar = list[i].ValueRe[blk];
            const double* ai = cplx ? list[i].ValueIm[blk] : nullptr;
            for (unsigned int j = i; j < n; j++) {
                const double* br = list[j].ValueRe[blk];
                double tr = 0.0, ti = 0.0;
                if (cplx) {
                    const double* bi = list[j].ValueIm[blk];
#pragma omp simd reduction(+ : tr, ti)
                    for (uint32_t k = lo; k < hi; k++) {
                        tr += ar[k] * br[k] + ai[k] * bi[k];
                        ti += ar[k] * bi[k] - ai[k] * br[k];
                    }
                } else {
#pragma omp simd reduction(+ : tr)
                    for (uint32_t k = lo; k < hi; k++) tr += ar[k] * br[k];
                }
                s[(size_t)i * n + j].re += tr;
                s[(size_t)i * n + j].im += ti;
            }
        }
    });
    for (unsigned int i = 0; i < n; i++) {
        for (unsigned int j = i; j < n; j++) {
            Complex16 sum{0.0, 0.0};
            for (int t = 0; t < nt; t++) sum += acc[(size_t)t * nn + (size_t)i * n + j];
            if (i == j) sum.im = 0.0;
            S[(size_t)i * n + j] = sum;
            S[(size_t)j * n + i] = Conjugate(sum);
        }
    }
    free(acc);
    return 0;
}

// The overlap matrix by lookups, for states with bases of their own.
void OverlapByLookups(const WaveFunctionType* list, unsigned int n, Complex16* S) {
    for (unsigned int i = 0; i < n; i++) {
        for (unsigned int j = i; j < n; j++) {
            Complex16 s = ComplexWaveFunctionDotProduct(&list[i], &list[j]);
            if (i == j) s.im = 0.0;
            S[(size_t)i * n + j] = s;
            S[(size_t)j * n + i] = Conjugate(s);
        }
    }
}

// Diagonalises S (divide and conquer, one attempt) and fills T with the new
// states as rows of coefficients: new_m = sum_j T[m][j] old_j.  Returns 1
// when LAPACK fails or memory runs out.
int Transformation(const Complex16* S, unsigned int n, bool cplx, double singularValue, Complex16* T,
                   unsigned int* kept, const char* fn) {
    const int N = (int)n;
    const size_t nn = (size_t)n * n;
    // Eigenvalues, eigenvectors (as rows), and LAPACK's work, in one block.
    const int lwork = cplx ? 2 * N + N * N : 1 + 6 * N + 2 * N * N;
    const int lrwork = 1 + 5 * N + 2 * N * N;
    const int liwork = 3 + 5 * N;
    const size_t doubles = n + (cplx ? 2 * nn + 2 * (size_t)lwork + (size_t)lrwork : nn + (size_t)lwork);
    double* mem = static_cast<double*>(malloc(doubles * sizeof(double)));
    int* iwork = static_cast<int*>(malloc((size_t)liwork * sizeof(int)));
    Complex16* v = static_cast<Complex16*>(malloc(nn * sizeof(Complex16)));
    if (mem == nullptr || iwork == nullptr || v == nullptr) {
        free(mem);
        free(iwork);
        free(v);
        ReportIn("malloc failed", fn);
        return 1;
    }
    double* w = mem;
    int info = 0;
    // Row-major storage hands LAPACK the transpose, which for a Hermitian
    // matrix is its conjugate; the eigenvector k comes back in row k, as an
    // eigenvector of that conjugate, so it is conjugated on the way out.
    if (cplx) {
        Complex16* a = reinterpret_cast<Complex16*>(mem + n);
        Complex16* work = a + nn;
        double* rwork = reinterpret_cast<double*>(work + lwork);
        memcpy(a, S, nn * sizeof(Complex16));
        zheevd_("V", "U", &N, a, &N, w, work, &lwork, rwork, &lrwork, iwork, &liwork, &info, 1, 1);
        if (info != 0) {
            printf("zheevd failed in %s with info value %i\n", ComplexWord, info);
            fflush(stdout);
        }
        for (size_t k = 0; k < nn; k++) v[k] = Conjugate(a[k]);
    } else {
        double* a = mem + n;
        double* work = a + nn;
        for (size_t k = 0; k < nn; k++) a[k] = S[k].re;
        dsyevd_("V", "U", &N, a, &N, w, work, &lwork, iwork, &liwork, &info, 1, 1);
        if (info != 0) {
            printf("dsyvd failed in %s with info value %i\n", RealWord, info);
            fflush(stdout);
        }
        for (size_t k = 0; k < nn; k++) v[k] = Complex16{a[k], 0.0};
    }
    if (info != 0) {
        free(mem);
        free(iwork);
        free(v);
        return 1;
    }

    // Eigenvalues at rounding level against the largest carry no direction.
    const double largest = w[n - 1];
    const double floor = 64.0 * n * DBL_EPSILON * largest;
    const double cut = singularValue > 0.0 ? singularValue * singularValue : 0.0;
    unsigned int count = 0;
    for (unsigned int k = 0; k < n; k++)
        if (w[k] > cut && w[k] > floor && w[k] > 0.0) count++;

    for (size_t k = 0; k < nn; k++) T[k] = Complex16{0.0, 0.0};
    if (count == n) {
        // Symmetric: T = (S^(-1/2))^T, i.e. T[i][j] = sum_k v_k[j] conj(v_k[i]) / sqrt(w_k).
        for (unsigned int k = 0; k < n; k++) {
            const double f = 1.0 / sqrt(w[k]);
            const Complex16* vk = v + (size_t)k * n;
            for (unsigned int i = 0; i < n; i++)
                for (unsigned int j = 0; j < n; j++) T[(size_t)i * n + j] += vk[j] * Conjugate(vk[i]) * f;
        }
    } else {
        unsigned int m = 0;
        for (unsigned int k = n; k-- > 0;) {
            if (!(w[k] > cut && w[k] > floor && w[k] > 0.0)) continue;
            const double f = 1.0 / sqrt(w[k]);
            for (unsigned int j = 0; j < n; j++) T[(size_t)m * n + j] = v[(size_t)k * n + j] * f;
            m++;
        }
    }
    *kept = count;
    free(mem);
    free(iwork);
    free(v);
    return 0;
}

// factors[i*n + j] = <new_j|old_i> = sum_l conj(T[j][l]) S[l][i].
void Factors(const Complex16* S, const Complex16* T, unsigned int n, Complex16* F) {
    for (unsigned int i = 0; i < n; i++) {
        for (unsigned int j = 0; j < n; j++) {
            Complex16 s{0.0, 0.0};
            for (unsigned int l = 0; l < n; l++) s += Conjugate(T[(size_t)j * n + l]) * S[(size_t)l * n + i];
            F[(size_t)i * n + j] = s;
        }
    }
}

// new_m = sum_j T[m][j] old_j slot by slot, in place on one basis.
int ApplySameBasis(WaveFunctionType* list, unsigned int n, bool cplx, const Complex16* T, const char* fn) {
    const int nt = omp_get_max_threads();
    Complex16* buffers = static_cast<Complex16*>(malloc((size_t)nt * n * sizeof(Complex16)));
    double* realT = static_cast<double*>(malloc((size_t)n * n * sizeof(double)));
    if (buffers == nullptr || realT == nullptr) {
        free(buffers);
        free(realT);
        ReportIn("malloc failed", fn);
        return 1;
    }
    for (size_t k = 0; k < (size_t)n * n; k++) realT[k] = T[k].re;
    wfslots::ForSlots(list[0].N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        Complex16* x = buffers + (size_t)omp_get_thread_num() * n;
        double* xr = reinterpret_cast<double*>(x);
        for (uint32_t k = lo; k < hi; k++) {
            if (cplx) {
                for (unsigned int j = 0; j < n; j++) x[j] = Complex16{list[j].ValueRe[blk][k], list[j].ValueIm[blk][k]};
                for (unsigned int m = 0; m < n; m++) {
                    Complex16 y{0.0, 0.0};
                    const Complex16* t = T + (size_t)m * n;
                    for (unsigned int j = 0; j < n; j++) y += t[j] * x[j];
                    list[m].ValueRe[blk][k] = y.re;
                    list[m].ValueIm[blk][k] = y.im;
                }
            } else {
                for (unsigned int j = 0; j < n; j++) xr[j] = list[j].ValueRe[blk][k];
                for (unsigned int m = 0; m < n; m++) {
                    double y = 0.0;
                    const double* t = realT + (size_t)m * n;
                    for (unsigned int j = 0; j < n; j++) y += t[j] * xr[j];
                    list[m].ValueRe[blk][k] = y;
                }
            }
        }
    });
    free(buffers);
    free(realT);
    return 0;
}

// The SameBasis orthonormalisation of a list of one kind; factors, when not
// null, take n*n Complex16 values.
int SVDSameBasis(WaveFunctionType* list, unsigned int n, bool cplx, double singularValue, unsigned int* nKept,
                 Complex16* factors, const char* fn) {
    if (nKept != nullptr) *nKept = 0;
    if (n == 0) return 0;
    if (!SharedBasis(list, n, fn)) return 1;
    const size_t nn = (size_t)n * n;
    Complex16* S = static_cast<Complex16*>(malloc(2 * nn * sizeof(Complex16)));
    if (S == nullptr) {
        ReportIn("malloc failed", fn);
        return 1;
    }
    Complex16* T = S + nn;
    unsigned int kept = 0;
    if (OverlapSameBasis(list, n, cplx, S, fn) || Transformation(S, n, cplx, singularValue, T, &kept, fn)) {
        free(S);
        return 1;
    }
    if (factors != nullptr) Factors(S, T, n, factors);
    const int failed = ApplySameBasis(list, n, cplx, T, fn);
    free(S);
    if (failed) return 1;
    if (nKept != nullptr) *nKept = kept;
    return 0;
}

// The orthonormalisation of states with bases of their own: the new states
// are built in fresh records with union adds, and replace the old ones only
// when all are made.
int SVDUnion(WaveFunctionType* list, unsigned int n, bool cplx, double singularValue, unsigned int* nKept,
             const char* fn) {
    if (nKept != nullptr) *nKept = 0;
    if (n == 0) return 0;
    const size_t nn = (size_t)n * n;
    Complex16* S = static_cast<Complex16*>(malloc(2 * nn * sizeof(Complex16)));
    WaveFunctionType* fresh = static_cast<WaveFunctionType*>(malloc(n * sizeof(WaveFunctionType)));
    if (S == nullptr || fresh == nullptr) {
        free(S);
        free(fresh);
        ReportIn("malloc failed", fn);
        return 1;
    }
    Complex16* T = S + nn;
    unsigned int kept = 0;
    OverlapByLookups(list, n, S);
    if (Transformation(S, n, cplx, singularValue, T, &kept, fn)) {
        free(S);
        free(fresh);
        return 1;
    }
    unsigned int made = 0;
    int failed = 0;
    for (unsigned int m = 0; m < n && !failed; m++) {
        WaveFunctionType& f = fresh[m];
        f.QComplex = cplx ? 1 : 0;
        f.NFermion = list[m].NFermion;
        f.NBoson = list[m].NBoson;
        f.NBitsKey = list[m].NBitsKey;
        if (WaveFunctionInit(&f)) {
            ReportIn("WaveFunctionInit failed", cplx ? ComplexWord : RealWord);
            failed = 1;
            break;
        }
        made++;
        memcpy(f.Name, list[m].Name, sizeof(f.Name));
        for (unsigned int j = 0; j < n && m < kept && !failed; j++) {
            const Complex16 t = T[(size_t)m * n + j];
            if (t.re == 0.0 && t.im == 0.0) continue;
            failed = cplx ? ComplexWaveFunctionAddComplexMultipliedUnionBasis(&f, list[j], t.re, t.im)
                          : RealWaveFunctionAddMultipliedUnionBasis(&f, list[j], t.re);
            if (failed)
                ReportIn(cplx ? "ComplexWaveFunctionAddComplexMultipliedUnionBasis failed"
                              : "RealWaveFunctionAddMultipliedUnionBasis failed",
                         fn);
        }
    }
    free(S);
    if (failed) {
        for (unsigned int m = 0; m < made; m++) WaveFunctionFree(&fresh[m]);
        free(fresh);
        return 1;
    }
    for (unsigned int m = 0; m < n; m++) {
        WaveFunctionFree(&list[m]);
        list[m] = fresh[m];
    }
    free(fresh);
    if (nKept != nullptr) *nKept = kept;
    return 0;
}

}  // namespace

int RealWaveFunctionListSVDOrthogonalizeSameBasis(WaveFunctionType* list, unsigned int n, double singularValue,
                                                  unsigned int* nKept, double* factors) {
    const char* fn = "RealWaveFunctionListSVDOrthogonalizeSameBasis";
    if (!CheckReal(list, n, fn)) return 1;
    Complex16* f = nullptr;
    if (factors != nullptr && n > 0) {
        f = static_cast<Complex16*>(malloc((size_t)n * n * sizeof(Complex16)));
        if (f == nullptr) {
            ReportIn("malloc failed", fn);
            return 1;
        }
    }
    const int failed = SVDSameBasis(list, n, false, singularValue, nKept, f, fn);
    if (!failed && f != nullptr)
        for (size_t k = 0; k < (size_t)n * n; k++) factors[k] = f[k].re;
    free(f);
    return failed;
}

int ComplexWaveFunctionListSVDOrthogonalizeSameBasis(WaveFunctionType* list, unsigned int n, double singularValue,
                                                     unsigned int* nKept, Complex16* factors) {
    const char* fn = "ComplexWaveFunctionListSVDOrthogonalizeSameBasis";
    if (nKept != nullptr) *nKept = 0;
    if (PromoteAll(list, n, fn)) return 1;
    return SVDSameBasis(list, n, true, singularValue, nKept, factors, fn);
}

int WaveFunctionListSVDOrthogonalizeSameBasis(WaveFunctionType* list, unsigned int n, double singularValue,
                                              unsigned int* nKept) {
    if (AnyComplex(list, n))
        return ComplexWaveFunctionListSVDOrthogonalizeSameBasis(list, n, singularValue, nKept, nullptr);
    return RealWaveFunctionListSVDOrthogonalizeSameBasis(list, n, singularValue, nKept, nullptr);
}

int RealWaveFunctionListSVDOrthogonalize(WaveFunctionType* list, unsigned int n, double singularValue,
                                         unsigned int* nKept) {
    if (!CheckReal(list, n, RealWord)) return 1;
    return SVDUnion(list, n, false, singularValue, nKept, RealWord);
}

int ComplexWaveFunctionListSVDOrthogonalize(WaveFunctionType* list, unsigned int n, double singularValue,
                                            unsigned int* nKept) {
    if (nKept != nullptr) *nKept = 0;
    if (PromoteAll(list, n, ComplexWord)) return 1;
    return SVDUnion(list, n, true, singularValue, nKept, ComplexWord);
}

int WaveFunctionListSVDOrthogonalize(WaveFunctionType* list, unsigned int n, double singularValue,
                                     unsigned int* nKept) {
    if (AnyComplex(list, n)) return ComplexWaveFunctionListSVDOrthogonalize(list, n, singularValue, nKept);
    return RealWaveFunctionListSVDOrthogonalize(list, n, singularValue, nKept);
}

int WaveFunctionListSVDOrthogonalizeDifferentBasis(WaveFunctionType* list, unsigned int n, double singularValue,
                                                   unsigned int* nKept) {
    if (nKept != nullptr) *nKept = 0;
    if (WaveFunctionArrayToSameBasis(list, n)) {
        wfslots::Report("WaveFunctionArrayToSameBasis failed in WaveFunctionListSVDOrthogonalizeDifferentBasis");
        return 1;
    }
    return WaveFunctionListSVDOrthogonalizeSameBasis(list, n, singularValue, nKept);
}
