#include "krylov/blocklanczos_tridiagonal.h"

#include <cmath>
#include <complex>
#include <cstdio>
#include <cstring>
#include <vector>

#include "base/verbosity.h"
#include "krylov/blockgroundstate.h"
#include "krylov/krylov_vectors.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"

namespace {

using cd = std::complex<double>;

void SetElement(CompactMatrixType& M, uint32_t r, uint32_t c, cd v) {
    if (M.QComplex)
        CompactMatrixComplexData(M)[(size_t)r * M.Nj + c] = Complex16{v.real(), v.imag()};
    else
        CompactMatrixRealData(M)[(size_t)r * M.Nj + c] = v.real();
}

cd Dot(const WaveFunctionType& a, const WaveFunctionType& b) {
    double re = 0.0, im = 0.0;
    WaveFunctionDotProduct(a, b, &re, &im);
    return cd(re, im);
}

void FreeList(std::vector<WaveFunctionType>& list) {
    for (auto& f : list) WaveFunctionFree(&f);
    list.clear();
}

// Orthonormalises the functions of list (separate bases on entry and on
// return) by the overlap matrix; returns the kept count and the overlaps
// F[c][j] = <new_j|old_c> of the old functions with the kept new ones.
int Orthonormalize(std::vector<WaveFunctionType>& list, bool complexValues, double singularValue,
                   std::vector<std::vector<cd>>* F, unsigned int* kept) {
    const unsigned int n = (unsigned int)list.size();
    *kept = 0;
    if (n == 0) return 0;
    if (WaveFunctionArrayToSameBasis(list.data(), n) != 0) return 1;
    int fail;
    F->assign(n, std::vector<cd>(n, 0.0));
    if (complexValues) {
        std::vector<Complex16> f((size_t)n * n);
        fail = ComplexWaveFunctionListSVDOrthogonalizeSameBasis(list.data(), n, singularValue, kept, f.data());
        for (unsigned int c = 0; c < n; c++)
            for (unsigned int j = 0; j < n; j++) (*F)[c][j] = cd(f[(size_t)c * n + j].re, f[(size_t)c * n + j].im);
    } else {
        std::vector<double> f((size_t)n * n);
        fail = RealWaveFunctionListSVDOrthogonalizeSameBasis(list.data(), n, singularValue, kept, f.data());
        for (unsigned int c = 0; c < n; c++)
            for (unsigned int j = 0; j < n; j++) (*F)[c][j] = f[(size_t)c * n + j];
    }
    if (WaveFunctionArraySeperateBasis(list.data(), n) != 0) return 1;
    if (fail != 0) return 1;
    return 0;
}

}  // namespace

namespace {

int BlockTriDiagonalize(OperatorType H, const WaveFunctionType* psi, unsigned int count, double epsilon,
                        BlockTriDiagonalMatrixType* T, double singularValue, const DeterminantRestrictionType* R,
                        WaveFunctionType* basis);

}  // namespace

int LanczosBlockTriDiagonalize(OperatorType H, const WaveFunctionType* psi, unsigned int count, double epsilon,
                               BlockTriDiagonalMatrixType* T, double singularValue,
                               const DeterminantRestrictionType* R) {
    return BlockTriDiagonalize(H, psi, count, epsilon, T, singularValue, R, nullptr);
}

int LanczosBlockTriDiagonalizeKrylov(OperatorType H, const WaveFunctionType* psi, unsigned int count, double epsilon,
                                     BlockTriDiagonalMatrixType* T, double singularValue,
                                     const DeterminantRestrictionType* R, WaveFunctionType* basis) {
    for (size_t i = 0; i < (size_t)T->N * count; i++) memset(&basis[i], 0, sizeof basis[i]);
    return BlockTriDiagonalize(H, psi, count, epsilon, T, singularValue, R, basis);
}

namespace {

int BlockTriDiagonalize(OperatorType H, const WaveFunctionType* psi, unsigned int count, double epsilon,
                        BlockTriDiagonalMatrixType* T, double singularValue, const DeterminantRestrictionType* R,
                        WaveFunctionType* basis) {
    const unsigned int M = count;
    bool complexValues = H.QComplex != 0;
    for (unsigned int i = 0; i < M; i++) complexValues = complexValues || psi[i].QComplex != 0;
    const char* kind = H.QComplex == 0 ? (complexValues ? "RC" : "RR") : (H.QComplex == 1 ? "CC" : "MC");
    VerbosityPrintf(0x1, "Start of LanczosBlockTriDiagonalize\n");
    VerbosityPrintf(0x1, "Start of LanczosBlockTriDiagonalize%s\n", kind);
    if (complexValues)
        for (uint32_t i = 0; i <= T->N; i++) {
            if (!T->a[i].QComplex) MakeCompactRealMatrixComplex(&T->a[i]);
            if (i < T->N + 0 && !T->b[i].QComplex) MakeCompactRealMatrixComplex(&T->b[i]);
        }
    std::vector<WaveFunctionType> cur, prev, next;
    for (unsigned int i = 0; i < M; i++) {
        WaveFunctionType c;
        if (WaveFunctionCopy(psi[i], &c) != 0) {
            FreeList(cur);
            return 1;
        }
        if (complexValues && c.QComplex == 0) PromoteRealWaveFunctionToComplex(&c);
        cur.push_back(c);
    }
    std::vector<std::vector<cd>> F;
    unsigned int k = 0;
    if (Orthonormalize(cur, complexValues, singularValue, &F, &k) != 0) {
        FreeList(cur);
        return 1;
    }
    if (k < M) VerbosityPrintf(0x1, "Reduce dimension from %u to %u in block %u\n", M, k, 0u);
    for (unsigned int i = 0; i < M; i++)
        for (unsigned int j = 0; j < k; j++) SetElement(T->b[0], i, j, std::conj(F[i][j]));
    for (unsigned int j = k; j < cur.size(); j++) WaveFunctionFree(&cur[j]);
    cur.resize(k);
    for (uint32_t level = 1; level <= T->N && k > 0; level++) {
        if (basis != nullptr)
            for (unsigned int c = 0; c < k; c++) WaveFunctionCopy(cur[c], &basis[(size_t)(level - 1) * M + c]);
        next.assign(k, WaveFunctionType{});
        for (unsigned int c = 0; c < k; c++) {
            if (KrylovApply(H, cur[c], &next[c], R) != 0) {
                for (unsigned int d = 0; d < c; d++) WaveFunctionFree(&next[d]);
                next.clear();
                FreeList(cur);
                FreeList(prev);
                printf("Allocation of new memory failed in LanczosBlockTriDiagonalize%s for the function BlockOperatorPsi%s\n",
                       kind, kind);
                return 1;
            }
            if (complexValues && next[c].QComplex == 0) PromoteRealWaveFunctionToComplex(&next[c]);
        }
        for (unsigned int r = 0; r < k; r++)
            for (unsigned int c = 0; c < k; c++) SetElement(T->a[level], r, c, Dot(cur[r], next[c]));
        // Projections in the order cur, cur, prev, prev, cur, prev: the
        // repetitions keep the blocks orthogonal at working accuracy.
        const std::vector<WaveFunctionType>* order[] = {&cur, &cur, &prev, &prev, &cur, &prev};
        for (const std::vector<WaveFunctionType>* block : order) {
            for (unsigned int c = 0; c < k; c++) {
                for (const WaveFunctionType& q : *block) {
                    const cd d = Dot(q, next[c]);
                    if (d == 0.0) continue;
                    if (KrylovAddWithGrowth(&next[c], q, -d.real(), -d.imag()) != 0) {
                        FreeList(next);
                        FreeList(cur);
                        FreeList(prev);
                        printf("Allocation of new memory failed in LanczosBlockTriDiagonalize%s for the function "
                               "BlockWaveFunctionSubtractMultipliedUnionBasis\n",
                               kind);
                        return 1;
                    }
                }
            }
        }
        if (level == T->N) break;
        unsigned int kn = 0;
        if (Orthonormalize(next, complexValues, singularValue, &F, &kn) != 0) {
            FreeList(next);
            FreeList(cur);
            FreeList(prev);
            return 1;
        }
        if (kn < k) VerbosityPrintf(0x1, "Reduce dimension from %u to %u in block %u\n", k, kn, level);
        // b[level](r, c) = <cur_r|H|next_c> = conj(<next_c|old_r>).
        for (unsigned int r = 0; r < k; r++)
            for (unsigned int c = 0; c < kn; c++) SetElement(T->b[level], r, c, std::conj(F[r][c]));
        for (unsigned int j = kn; j < next.size(); j++) WaveFunctionFree(&next[j]);
        next.resize(kn);
        for (auto& f : next) KrylovTruncate(&f, epsilon);
        FreeList(prev);
        prev.swap(cur);
        cur.swap(next);
        k = kn;
    }
    FreeList(next);
    FreeList(cur);
    FreeList(prev);
    fflush(stdout);
    return 0;
}

}  // namespace

int CompactMatrixBlockBandDiagonalize(const CompactMatrixType& A, const CompactMatrixType& S, uint32_t N,
                                      double singularValue, BlockTriDiagonalMatrixType* T, CompactMatrixType* Q) {
    const uint32_t n = A.Ni, M = S.Nj;
    const bool complexValues = A.QComplex || S.QComplex;
    T->N = N;
    T->M = M;
    if (InitBlockTriDiagonalMatrix(T) != 0) {
        printf("malloc failed in InitBlockTridiagonalMatrix");
        return 1;
    }
    if (complexValues)
        for (uint32_t i = 0; i <= N; i++) {
            MakeCompactRealMatrixComplex(&T->a[i]);
            if (i < N) MakeCompactRealMatrixComplex(&T->b[i]);
        }
    if (Q != nullptr) {
        Q->Ni = N * M;
        Q->Nj = n;
        Q->QComplex = complexValues ? 1 : 0;
        if (InitCompactMatrix(Q) != 0) {
            FreeBlockTriDiagonalMatrix(T);
            return 1;
        }
    }
    auto dot = [&](const std::vector<cd>& a, const std::vector<cd>& b) {
        cd s = 0.0;
        for (uint32_t i = 0; i < n; i++) s += std::conj(a[i]) * b[i];
        return s;
    };
    // Gram-Schmidt with pivoting by norm stands in for the SVD here: a
    // direction whose remaining norm is below the threshold is dropped.
    auto orthonormalize = [&](std::vector<std::vector<cd>>& old, const std::vector<std::vector<cd>>& against,
                              std::vector<std::vector<cd>>* kept, std::vector<std::vector<cd>>* F) {
        kept->clear();
        F->assign(old.size(), std::vector<cd>(old.size(), 0.0));
        for (size_t c = 0; c < old.size(); c++) {
            std::vector<cd> v = old[c];
            for (int pass = 0; pass < 2; pass++) {
                for (const auto& q : against) {
                    const cd d = dot(q, v);
                    for (uint32_t i = 0; i < n; i++) v[i] -= d * q[i];
                }
                for (const auto& q : *kept) {
                    const cd d = dot(q, v);
                    for (uint32_t i = 0; i < n; i++) v[i] -= d * q[i];
                }
            }
            const double norm = std::sqrt(std::abs(dot(v, v)));
            if (norm <= singularValue) continue;
            for (auto& x : v) x /= norm;
            kept->push_back(v);
        }
        for (size_t c = 0; c < old.size(); c++)
            for (size_t j = 0; j < kept->size(); j++) (*F)[c][j] = dot((*kept)[j], old[c]);
    };
    std::vector<std::vector<cd>> start(M, std::vector<cd>(n)), cur, prev, F;
    for (uint32_t j = 0; j < M; j++)
        for (uint32_t i = 0; i < n; i++) {
            const Complex16 z = CompactMatrixElement(S, i, j);
            start[j][i] = cd(z.re, z.im);
        }
    orthonormalize(start, {}, &cur, &F);
    for (uint32_t i = 0; i < M; i++)
        for (size_t j = 0; j < cur.size(); j++) SetElement(T->b[0], i, (uint32_t)j, std::conj(F[i][j]));
    std::vector<std::vector<cd>> all;
    for (uint32_t level = 1; level <= N && !cur.empty(); level++) {
        if (Q != nullptr)
            for (size_t r = 0; r < cur.size(); r++)
                for (uint32_t i = 0; i < n; i++) SetElement(*Q, (level - 1) * M + (uint32_t)r, i, cur[r][i]);
        std::vector<std::vector<cd>> w(cur.size(), std::vector<cd>(n, 0.0));
        for (size_t c = 0; c < cur.size(); c++)
            for (uint32_t i = 0; i < n; i++) {
                cd s = 0.0;
                for (uint32_t j = 0; j < n; j++) {
                    const Complex16 a = CompactMatrixElement(A, i, j);
                    s += cd(a.re, a.im) * cur[c][j];
                }
                w[c][i] = s;
            }
        for (size_t r = 0; r < cur.size(); r++)
            for (size_t c = 0; c < cur.size(); c++) SetElement(T->a[level], (uint32_t)r, (uint32_t)c, dot(cur[r], w[c]));
        for (const auto& q : cur) all.push_back(q);
        if (level == N) break;
        std::vector<std::vector<cd>> kept;
        orthonormalize(w, all, &kept, &F);
        for (size_t r = 0; r < cur.size(); r++)
            for (size_t c = 0; c < kept.size(); c++) SetElement(T->b[level], (uint32_t)r, (uint32_t)c, std::conj(F[r][c]));
        prev.swap(cur);
        cur.swap(kept);
    }
    return 0;
}
