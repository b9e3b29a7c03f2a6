// The block list of poles: records, element access, sums, ordering, the
// bridge to the scalar list, and evaluation.
#include <omp.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "response/blockforms.h"

namespace {

size_t ElementSize(const BlockListOfPoles& L) { return L.QComplex ? sizeof(Complex16) : sizeof(double); }

size_t ValueCount(uint32_t N, uint32_t M) { return BlockListOfPolesSlice(M) * (static_cast<size_t>(N) + 1); }

// Below this many poles the sum is not worth a team of threads.
const uint32_t kParallelPoles = 256;

}  // namespace

int InitBlockListOfPoles(BlockListOfPoles* L) {
    snprintf(L->Name, sizeof(L->Name), "%s", "Block List Of Poles");
    L->mu = 0.0;
    L->Value = nullptr;
    if (L->M == 0) {
        printf("can't initialize a BlockListOfPoles with blocks of size 0\n");
        return 1;
    }
    L->QComplex = L->QComplex ? 1 : 0;
    L->Value = calloc(ValueCount(L->N, L->M), ElementSize(*L));
    if (L->Value == nullptr) {
        printf("malloc for M->Value failed in InitBlockListOfPoles\n");
        return 1;
    }
    return 0;
}

void FreeBlockListOfPoles(BlockListOfPoles* L) {
    free(L->Value);
    L->Value = nullptr;
    L->N = 0;
}

int CopyBlockListOfPoles(BlockListOfPoles* out, BlockListOfPoles in) {
    out->N = in.N;
    out->M = in.M;
    out->QComplex = in.QComplex;
    if (InitBlockListOfPoles(out) != 0) {
        printf("InitBlockListOfPoles failed in CopyBlockListOfPoles\n");
        return 1;
    }
    memcpy(out->Name, in.Name, sizeof(out->Name));
    out->Name[255] = '\0';
    out->mu = in.mu;
    memcpy(out->Value, in.Value, ValueCount(in.N, in.M) * ElementSize(in));
    return 0;
}

int MakeBlockListOfPolesComplex(BlockListOfPoles* L) {
    if (L->QComplex) return 0;
    const size_t n = ValueCount(L->N, L->M);
    Complex16* v = static_cast<Complex16*>(malloc(sizeof(Complex16) * n));
    if (v == nullptr) {
        printf("malloc failed in MakeBlockListOfPolesComplex\n");
        return 1;
    }
    const double* d = static_cast<const double*>(L->Value);
    for (size_t i = 0; i < n; i++) v[i] = Cnum(d[i], 0.0);
    free(L->Value);
    L->Value = v;
    L->QComplex = 1;
    return 0;
}

double BlockListOfPolesEnergy(const BlockListOfPoles& L, uint32_t k) {
    const size_t i = k * BlockListOfPolesSlice(L.M);
    return L.QComplex ? static_cast<const Complex16*>(L.Value)[i].re : static_cast<const double*>(L.Value)[i];
}

Complex16 BlockListOfPolesWeight(const BlockListOfPoles& L, uint32_t k, uint32_t r, uint32_t c) {
    const size_t i = k * BlockListOfPolesSlice(L.M) + 1 + static_cast<size_t>(r) * L.M + c;
    if (L.QComplex) return static_cast<const Complex16*>(L.Value)[i];
    return Cnum(static_cast<const double*>(L.Value)[i], 0.0);
}

Complex16 BlockListOfPolesConstant(const BlockListOfPoles& L, uint32_t r, uint32_t c) {
    return BlockListOfPolesWeight(L, L.N, r, c);
}

int AddBlockListOfPoles(BlockListOfPoles* L, BlockListOfPoles other) {
    if (L->M != other.M) {
        printf("AddBlockListOfPoles called with blocks of size %u and %u\n", L->M, other.M);
        return 1;
    }
    BlockListOfPoles sum;
    sum.N = L->N + other.N;
    sum.M = L->M;
    sum.QComplex = L->QComplex || other.QComplex;
    if (InitBlockListOfPoles(&sum) != 0) {
        printf("InitBlockListOfPoles failed in AddBlockListOfPoles\n");
        return 1;
    }
    memcpy(sum.Name, L->Name, sizeof(sum.Name));
    sum.mu = L->mu;
    const size_t S = BlockListOfPolesSlice(L->M);
    const size_t nL = S * L->N;
    const size_t nO = S * other.N;
    // The poles of L, then those of other, then the sum of the constants.
    if (sum.QComplex) {
        Complex16* v = static_cast<Complex16*>(sum.Value);
        auto put = [&](const BlockListOfPoles& src, size_t from, size_t n, size_t to) {
            for (size_t i = 0; i < n; i++)
                v[to + i] = src.QComplex ? static_cast<const Complex16*>(src.Value)[from + i]
                                         : Cnum(static_cast<const double*>(src.Value)[from + i], 0.0);
        };
        put(*L, 0, nL, 0);
        put(other, 0, nO, nL);
        put(*L, nL, S, nL + nO);
        for (size_t i = 1; i < S; i++)
            v[nL + nO + i] += other.QComplex ? static_cast<const Complex16*>(other.Value)[nO + i]
                                             : Cnum(static_cast<const double*>(other.Value)[nO + i], 0.0);
    } else {
        double* v = static_cast<double*>(sum.Value);
        const double* a = static_cast<const double*>(L->Value);
        const double* b = static_cast<const double*>(other.Value);
        memcpy(v, a, sizeof(double) * nL);
        memcpy(v + nL, b, sizeof(double) * nO);
        memcpy(v + nL + nO, a + nL, sizeof(double) * S);
        for (size_t i = 1; i < S; i++) v[nL + nO + i] += b[nO + i];
    }
    FreeBlockListOfPoles(L);
    *L = sum;
    return 0;
}

void ScaleBlockListOfPoles(BlockListOfPoles* L, double factor) {
    const size_t S = BlockListOfPolesSlice(L->M);
    for (uint32_t k = 0; k <= L->N; k++)
        for (size_t i = 1; i < S; i++) {
            const size_t j = k * S + i;
            if (L->QComplex)
                static_cast<Complex16*>(L->Value)[j] *= factor;
            else
                static_cast<double*>(L->Value)[j] *= factor;
        }
}

namespace {

struct EnergyIndex {
    double e;
    uint32_t k;
};

int CompareEnergyIndex(const void* p1, const void* p2) {
    const EnergyIndex* x = static_cast<const EnergyIndex*>(p1);
    const EnergyIndex* y = static_cast<const EnergyIndex*>(p2);
    if (x->e < y->e) return -1;
    if (x->e > y->e) return 1;
    return x->k < y->k ? -1 : (x->k > y->k ? 1 : 0);  // stable: the old order decides a tie
}

}  // namespace

int OrderBlockListOfPoles(BlockListOfPoles* L) {
    if (L->N < 2) return 0;
    const size_t S = BlockListOfPolesSlice(L->M);
    const size_t es = ElementSize(*L);
    EnergyIndex* order = static_cast<EnergyIndex*>(malloc(sizeof(EnergyIndex) * L->N));
    unsigned char* v = static_cast<unsigned char*>(malloc(es * S * L->N));
    if (order == nullptr || v == nullptr) {
        printf("malloc failed in OrderBlockListOfPoles\n");
        free(order);
        free(v);
        return 1;
    }
    for (uint32_t k = 0; k < L->N; k++) order[k] = EnergyIndex{BlockListOfPolesEnergy(*L, k), k};
    qsort(order, L->N, sizeof(EnergyIndex), CompareEnergyIndex);
    const unsigned char* old = static_cast<const unsigned char*>(L->Value);
    for (uint32_t k = 0; k < L->N; k++) memcpy(v + k * S * es, old + order[k].k * S * es, S * es);
    memcpy(L->Value, v, es * S * L->N);
    free(order);
    free(v);
    return 0;
}

int ListOfPolesToBlockListOfPoles(ListOfPoles in, BlockListOfPoles* out) {
    out->N = in.N;
    out->M = 1;
    out->QComplex = 0;
    if (InitBlockListOfPoles(out) != 0) {
        printf("InitBlockListOfPoles failed in ListOfPolesToBlockListOfPoles\n");
        return 1;
    }
    memcpy(out->Name, in.Name, sizeof(out->Name));
    out->Name[255] = '\0';
    out->mu = in.mu;
    double* v = static_cast<double*>(out->Value);
    for (uint32_t k = 0; k < in.N; k++) {
        v[2 * k] = in.a[k];
        v[2 * k + 1] = in.b[k];
    }
    v[2 * size_t{in.N} + 1] = in.a0;
    return 0;
}

int BlockListOfPolesToListOfPoles(BlockListOfPoles in, ListOfPoles* out) {
    if (in.M != 1) {
        printf("BlockListOfPolesToListOfPoles called with blocks of size %u, not 1\n", in.M);
        return 1;
    }
    for (uint32_t k = 0; k <= in.N; k++)
        if (BlockListOfPolesWeight(in, k, 0, 0).im != 0.0) {
            printf("BlockListOfPolesToListOfPoles called with a complex weight\n");
            return 1;
        }
    out->N = in.N;
    if (in.N == 0) {
        out->a = nullptr;
        out->b = nullptr;
        out->a0 = 0.0;
        out->mu = 0.0;
    } else if (InitListOfPoles(out) != 0) {
        printf("InitListOfPoles failed in BlockListOfPolesToListOfPoles\n");
        return 1;
    }
    memcpy(out->Name, in.Name, sizeof(out->Name));
    out->Name[255] = '\0';
    out->mu = in.mu;
    for (uint32_t k = 0; k < in.N; k++) {
        out->a[k] = BlockListOfPolesEnergy(in, k);
        out->b[k] = BlockListOfPolesWeight(in, k, 0, 0).re;
    }
    out->a0 = BlockListOfPolesConstant(in, 0, 0).re;
    return 0;
}

int EvaluateBlockListOfPoles(BlockListOfPoles L, CompactMatrixType* out, double w, double gamma) {
    const uint32_t M = L.M;
    const size_t MM = static_cast<size_t>(M) * M;
    const size_t S = MM + 1;
    out->Ni = M;
    out->Nj = M;
    out->QComplex = 1;
    if (InitCompactMatrix(out) != 0) {
        printf("InitCompactMatrix failed in EvaluateBlockListOfPoles\n");
        return 1;
    }
    Complex16* G = CompactMatrixComplexData(*out);
    const double g = 0.5 * gamma;
    // One partial sum per thread, added up at the end; a list too short for
    // a team, or a failed allocation of the partial sums, runs on one thread.
    int nthreads = L.N >= kParallelPoles ? omp_get_max_threads() : 1;
    Complex16* partial = nthreads > 1 ? static_cast<Complex16*>(calloc(MM * nthreads, sizeof(Complex16))) : nullptr;
    if (partial == nullptr) nthreads = 1;
    auto addPole = [&](Complex16* sum, uint32_t k) {
        const double d = w - BlockListOfPolesEnergy(L, k);
        const double den = d * d + g * g;
        const Complex16 f = Cnum(d / den, -g / den);  // 1 / (d + i g)
        const size_t base = k * S + 1;
        if (L.QComplex) {
            const Complex16* B = static_cast<const Complex16*>(L.Value) + base;
            for (size_t i = 0; i < MM; i++) sum[i] += B[i] * f;
        } else {
            const double* B = static_cast<const double*>(L.Value) + base;
            for (size_t i = 0; i < MM; i++) sum[i] += B[i] * f;
        }
    };
    if (nthreads == 1) {
        for (uint32_t k = 0; k < L.N; k++) addPole(G, k);
    } else {
        const int64_t n = L.N;
#pragma omp parallel num_threads(nthreads)
        {
            Complex16* mine = partial + MM * omp_get_thread_num();
#pragma omp for schedule(static)
            for (int64_t k = 0; k < n; k++) addPole(mine, static_cast<uint32_t>(k));
        }
        for (int t = 0; t < nthreads; t++)
            for (size_t i = 0; i < MM; i++) G[i] += partial[MM * t + i];
        free(partial);
    }
    for (uint32_t r = 0; r < M; r++)
        for (uint32_t c = 0; c < M; c++) G[static_cast<size_t>(r) * M + c] += BlockListOfPolesConstant(L, r, c);
    return 0;
}
