// Reduction of a block list of poles to fewer poles, and the placing of its
// poles on an energy mesh.  Both move weight matrices onto neighbouring
// energies in the ratio that keeps the first moment.
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "response/blockforms.h"

namespace {

// The slices of a list as plain arrays: energy k and weight element i.
struct SliceView {
    BlockListOfPoles* L;
    size_t S;
    double Energy(uint32_t k) const { return BlockListOfPolesEnergy(*L, k); }
    void SetEnergy(uint32_t k, double e) {
        if (L->QComplex)
            static_cast<Complex16*>(L->Value)[k * S] = Cnum(e, 0.0);
        else
            static_cast<double*>(L->Value)[k * S] = e;
    }
    // Weight of p += f * weight of k.
    void AddWeight(uint32_t p, uint32_t k, double f) {
        for (size_t i = 1; i < S; i++) {
            if (L->QComplex) {
                Complex16* v = static_cast<Complex16*>(L->Value);
                v[p * S + i] += f * v[k * S + i];
            } else {
                double* v = static_cast<double*>(L->Value);
                v[p * S + i] += f * v[k * S + i];
            }
        }
    }
    void Swap(uint32_t i, uint32_t j, unsigned char* scratch) {
        const size_t es = (L->QComplex ? sizeof(Complex16) : sizeof(double)) * S;
        unsigned char* v = static_cast<unsigned char*>(L->Value);
        memcpy(scratch, v + i * es, es);
        memcpy(v + i * es, v + j * es, es);
        memcpy(v + j * es, scratch, es);
    }
    // Removes pole k; the later poles and the constant move down one slice.
    void Remove(uint32_t k) {
        const size_t es = (L->QComplex ? sizeof(Complex16) : sizeof(double)) * S;
        unsigned char* v = static_cast<unsigned char*>(L->Value);
        memmove(v + k * es, v + (k + 1) * es, (L->N - k) * es);
        L->N--;
    }
};

// The trace norm of the weight of pole k: the sum of the singular values.
// A Hermitian weight gives them as the magnitudes of its eigenvalues (for a
// positive semi-definite one the sum is its trace); any other weight as the
// square roots of the eigenvalues of B^dagger B, of which those at the
// rounding level of the largest count as zero.  For M = 1 this is |b|.
int TraceNorm(const BlockListOfPoles& L, uint32_t k, double* norm) {
    const uint32_t M = L.M;
    if (M == 1) {
        *norm = Cabs(BlockListOfPolesWeight(L, k, 0, 0));
        return 0;
    }
    CompactMatrixType B;
    B.Ni = M;
    B.Nj = M;
    B.QComplex = L.QComplex;
    if (InitCompactMatrix(&B) != 0) return 1;
    for (uint32_t r = 0; r < M; r++)
        for (uint32_t c = 0; c < M; c++) {
            const Complex16 v = BlockListOfPolesWeight(L, k, r, c);
            if (L.QComplex)
                CompactMatrixComplexData(B)[r * M + c] = v;
            else
                CompactMatrixRealData(B)[r * M + c] = v.re;
        }
    const bool hermitian = QCompactMatrixHermitian(B, 1e-12) != 0;
    if (!hermitian) {
        // B := B^dagger B.
        CompactMatrixType P;
        const int fail = CompactMatrixMultiply("C", "N", B, B, &P);
        FreeCompactMatrix(&B);
        if (fail) return 1;
        B = P;
    }
    double* w = static_cast<double*>(malloc(sizeof(double) * M));
    CompactMatrixType V;
    int fail = w == nullptr || CompactMatrixEigensystem(&B, &V, w) != 0;
    FreeCompactMatrix(&B);
    if (!fail) {
        FreeCompactMatrix(&V);
        double top = 0.0;
        for (uint32_t i = 0; i < M; i++) top = fmax(top, fabs(w[i]));
        double s = 0.0;
        for (uint32_t i = 0; i < M; i++) {
            if (hermitian)
                s += fabs(w[i]);
            else if (w[i] > 100.0 * DBL_EPSILON * M * top)
                s += sqrt(w[i]);
        }
        *norm = s;
    }
    free(w);
    return fail;
}

void SetReal(double* x, double v) { *x = v; }
void SetReal(Complex16* x, double v) { *x = Cnum(v, 0.0); }

}  // namespace

int ReduceBlockListOfPoles(BlockListOfPoles* L, unsigned int n, double tolerance) {
    if (n == 0) {
        printf("Reducing a list of poles to zero poles does not make sence\n");
        return 1;
    }
    if (L->N <= n) return 0;
    if (OrderBlockListOfPoles(L) != 0) {
        printf("OrderBlockListOfPoles failed in ReduceBlockListOfPoles\n");
        return 1;
    }
    SliceView v{L, BlockListOfPolesSlice(L->M)};
    double* norm = static_cast<double*>(malloc(sizeof(double) * L->N));
    unsigned char* scratch = static_cast<unsigned char*>(malloc(sizeof(Complex16) * v.S));
    if (norm == nullptr || scratch == nullptr) {
        printf("malloc failed in ReduceBlockListOfPoles\n");
        free(norm);
        free(scratch);
        return 1;
    }
    auto swapPoles = [&](uint32_t i, uint32_t j) {
        v.Swap(i, j, scratch);
        const double t = norm[i];
        norm[i] = norm[j];
        norm[j] = t;
    };
    // Moves the fraction f of the weight of pole k onto pole p; the energy of
    // p moves so that the first moment of the norms stays.  The norm of p is
    // brought up to date once the merge is complete, so that a failure there
    // leaves a whole list with all its weight.
    auto transfer = [&](uint32_t p, uint32_t k, double f) {
        if (f == 0.0) return;
        const double r = f * norm[k] / norm[p];
        v.SetEnergy(p, (v.Energy(p) + v.Energy(k) * r) / (1.0 + r));
        v.AddWeight(p, k, f);
    };
    auto remove = [&](uint32_t k) {
        const uint32_t N = L->N;
        v.Remove(k);
        memmove(norm + k, norm + k + 1, sizeof(double) * (N - k - 1));
    };
    int fail = 0;
    for (uint32_t k = 0; k < L->N && !fail; k++) fail = TraceNorm(*L, k, &norm[k]);
    while (!fail && L->N > n) {
        const uint32_t N = L->N;
        uint32_t k = 0;
        for (uint32_t i = 1; i < N; i++)
            if (norm[i] < norm[k]) k = i;  // strict: the lowest index wins a tie
        if (!(norm[k] > tolerance)) {
            remove(k);
            continue;
        }
        if (k == 0 || k == N - 1) {
            const uint32_t p = k == 0 ? 1 : k - 1;
            transfer(p, k, 1.0);
            remove(k);
            fail = TraceNorm(*L, k == 0 ? 0 : p, &norm[k == 0 ? 0 : p]);
            continue;
        }
        const uint32_t l = k - 1;
        const uint32_t u = k + 1;
        const double ak = v.Energy(k);
        const double al = v.Energy(l);
        const double au = v.Energy(u);
        // Below t two energies count as equal; a pole that coincides with one
        // neighbour gives its weight to the other one.
        const double t = fabs(10.0 * (DBL_EPSILON * ak + DBL_MIN));
        double fl;
        double fu;
        if (t > fabs(au - al)) {
            fl = 0.5;
            fu = 0.5;
        } else if (t > fabs(au - ak)) {
            fl = 1.0;
            fu = 0.0;
        } else if (t > fabs(ak - al)) {
            fl = 0.0;
            fu = 1.0;
        } else {
            fl = (au - ak) / (au - al);
            fu = (ak - al) / (au - al);
        }
        transfer(u, k, fu);
        transfer(l, k, fl);
        remove(k);
        // The lower neighbour now stands at k-1, the upper one at k.
        fail = TraceNorm(*L, k - 1, &norm[k - 1]) || TraceNorm(*L, k, &norm[k]);
        uint32_t i = k - 1;
        for (uint32_t s = 0; s + 1 < k && i > 0 && v.Energy(i - 1) > v.Energy(i); s++, i--) swapPoles(i - 1, i);
        i = k;
        for (uint32_t s = 0; s + 1 < k && i + 1 < L->N && v.Energy(i + 1) < v.Energy(i); s++, i++)
            swapPoles(i, i + 1);
    }
    if (fail) printf("TraceNorm failed in ReduceBlockListOfPoles\n");
    free(norm);
    free(scratch);
    return fail;
}

int BlockListOfPolesPlaceOnMesh(BlockListOfPoles* L, const double* grid, unsigned int n) {
    if (n < 2) {
        printf("Error: The mesh should contain at least 2 points.\nSetting N=2.\n");
        return 1;
    }
    for (unsigned int i = 0; i + 1 < n; i++)
        if (!(grid[i + 1] - grid[i] >= DBL_EPSILON)) {
            printf("The mesh are two dense or not in correct order:\nNo. %d - %15.10E \nNo. %d - %15.10E\n",
                   static_cast<int>(i + 1), grid[i], static_cast<int>(i + 2), grid[i + 1]);
            return 1;
        }
    BlockListOfPoles mesh;
    mesh.N = n;
    mesh.M = L->M;
    mesh.QComplex = L->QComplex;
    if (InitBlockListOfPoles(&mesh) != 0) {
        printf("malloc failed in BlockListOfPolesPlaceOnMesh\n");
        return 1;
    }
    memcpy(mesh.Name, L->Name, sizeof(mesh.Name));
    mesh.mu = L->mu;
    const size_t S = BlockListOfPolesSlice(L->M);
    // The two loops, complex and real, have the same form: energies first,
    // then every old pole shared out, then the constant.
    auto place = [&](auto* to, const auto* from) {
        for (unsigned int i = 0; i < n; i++) SetReal(&to[i * S], grid[i]);
        for (uint32_t k = 0; k < L->N; k++) {
            const double e = BlockListOfPolesEnergy(*L, k);
            unsigned int lo = 0;
            double flo = 1.0;
            double fup = 0.0;
            if (e >= grid[n - 1]) {
                lo = n - 2;
                flo = 0.0;
                fup = 1.0;
            } else if (e > grid[0]) {
                unsigned int a = 0;
                unsigned int b = n - 1;  // grid[a] < e < grid[b]
                while (b - a > 1) {
                    const unsigned int m = a + (b - a) / 2;
                    if (grid[m] <= e)
                        a = m;
                    else
                        b = m;
                }
                lo = a;
                fup = (e - grid[a]) / (grid[a + 1] - grid[a]);
                flo = (grid[a + 1] - e) / (grid[a + 1] - grid[a]);
            }
            for (size_t i = 1; i < S; i++) {
                to[lo * S + i] += flo * from[k * S + i];
                to[(lo + 1) * S + i] += fup * from[k * S + i];
            }
        }
        for (size_t i = 1; i < S; i++) to[n * S + i] = from[L->N * S + i];
    };
    if (L->QComplex)
        place(static_cast<Complex16*>(mesh.Value), static_cast<const Complex16*>(L->Value));
    else
        place(static_cast<double*>(mesh.Value), static_cast<const double*>(L->Value));
    FreeBlockListOfPoles(L);
    *L = mesh;
    return 0;
}
