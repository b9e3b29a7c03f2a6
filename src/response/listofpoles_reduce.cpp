// Ordering of a list of poles, and the reductions that merge poles into
// their neighbours while keeping the total weight (and, where stated, the
// first moment) of the list.
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "response/listofpoles.h"

namespace {

struct PolePair {
    double a;
    double b;
};

// Moves weight w of a pole at energy ak onto pole p.  The plain rule keeps
// the first moment, a[p] w_p + ak w = a[p]' (w_p + w); the square-root rule
// places the pole at the mean weighted by the square roots of the weights.
void TransferWeight(double* a, double* b, uint32_t p, double ak, double w, bool sqrtMean) {
    if (sqrtMean) {
        double sp = sqrt(fabs(b[p]));
        double sw = sqrt(fabs(w));
        if (sp + sw > 0.0) a[p] = (a[p] * sp + ak * sw) / (sp + sw);
    } else {
        double r = w / b[p];
        a[p] = (a[p] + ak * r) / (1.0 + r);
    }
    b[p] += w;
}

void RemovePole(double* a, double* b, uint32_t* N, uint32_t k) {
    memmove(a + k, a + k + 1, sizeof(double) * (*N - k - 1));
    memmove(b + k, b + k + 1, sizeof(double) * (*N - k - 1));
    (*N)--;
}

void SwapPoles(double* a, double* b, uint32_t i, uint32_t j) {
    double t = a[i];
    a[i] = a[j];
    a[j] = t;
    t = b[i];
    b[i] = b[j];
    b[j] = t;
}

uint32_t SmallestWeight(const double* b, uint32_t N) {
    uint32_t k = 0;
    for (uint32_t i = 1; i < N; i++)
        if (b[i] < b[k]) k = i;  // strict: the lowest index wins a tie
    return k;
}

// Removes pole k of a sorted list of N > 1 poles, its weight going to its
// neighbours, and restores the order.
void MergePole(double* a, double* b, uint32_t* N, uint32_t k, bool sqrtMean) {
    const double w = b[k];
    if (!(w > DBL_MIN)) {
        RemovePole(a, b, N, k);
        return;
    }
    if (k == 0) {
        TransferWeight(a, b, 1, a[k], w, sqrtMean);
        RemovePole(a, b, N, k);
        return;
    }
    if (k == *N - 1) {
        TransferWeight(a, b, k - 1, a[k], w, sqrtMean);
        RemovePole(a, b, N, k);
        return;
    }
    const uint32_t l = k - 1;
    const uint32_t u = k + 1;
    // Below t two energies count as equal.  When the pole coincides with
    // one neighbour, its weight goes to the other one.
    const double t = fabs(10.0 * (DBL_EPSILON * a[k] + DBL_MIN));
    double wl;
    double wu;
    if (t > fabs(a[u] - a[l])) {
        wl = 0.5 * w;
        wu = 0.5 * w;
    } else if (t > fabs(a[u] - a[k])) {
        wl = w;
        wu = 0.0;
    } else if (t > fabs(a[k] - a[l])) {
        wl = 0.0;
        wu = w;
    } else {
        wl = w * (a[u] - a[k]) / (a[u] - a[l]);
        wu = w * (a[k] - a[l]) / (a[u] - a[l]);
    }
    TransferWeight(a, b, u, a[k], wu, sqrtMean);
    TransferWeight(a, b, l, a[k], wl, sqrtMean);
    RemovePole(a, b, N, k);
    // The lower neighbour now stands at k-1, the upper one at k.
    uint32_t i = k - 1;
    for (uint32_t s = 0; s + 1 < k && i > 0 && a[i - 1] > a[i]; s++, i--) SwapPoles(a, b, i - 1, i);
    i = k;
    for (uint32_t s = 0; s + 1 < k && i + 1 < *N && a[i + 1] < a[i]; s++, i++) SwapPoles(a, b, i, i + 1);
}

// Reduces a sorted run of N poles to at most n; returns the new count.
uint32_t ReduceRunNumber(double* a, double* b, uint32_t N, uint32_t n, bool sqrtMean) {
    while (N > n && N > 1) MergePole(a, b, &N, SmallestWeight(b, N), sqrtMean);
    return N;
}

// Merges the poles of weight below weight in a sorted run, while more than
// one pole is left; returns the new count.
uint32_t ReduceRunWeight(double* a, double* b, uint32_t N, double weight) {
    while (N > 1) {
        uint32_t k = SmallestWeight(b, N);
        if (!(b[k] < weight)) break;
        MergePole(a, b, &N, k, false);
    }
    return N;
}

// Number of poles at or below mu in a sorted list.
uint32_t CountAtOrBelow(const ListOfPoles& L, double mu) {
    uint32_t m = 0;
    while (m < L.N && L.a[m] <= mu) m++;
    return m;
}

// Applies reduce to the run at or below mu and to the run above, then closes
// the gap between them.
template <class Reduce>
void ReduceBothSides(ListOfPoles* L, double mu, Reduce reduce) {
    OrderListOfPoles(L);
    uint32_t m = CountAtOrBelow(*L, mu);
    uint32_t nv = reduce(L->a, L->b, m);
    uint32_t nc = reduce(L->a + m, L->b + m, L->N - m);
    memmove(L->a + nv, L->a + m, sizeof(double) * nc);
    memmove(L->b + nv, L->b + m, sizeof(double) * nc);
    L->N = nv + nc;
}

int RefuseZeroPoles() {
    printf("Reducing a list of poles to zero poles does not make sence\n");
    return 1;
}

// Merges neighbouring pairs by the least change of the second moment.
int ReduceByMoment(ListOfPoles* L, unsigned int n, bool sqrtMean) {
    if (n == 0) return RefuseZeroPoles();
    if (L->N <= n) return 0;
    OrderListOfPoles(L);
    double* a = L->a;
    double* b = L->b;
    while (L->N > n) {
        uint32_t best = 0;
        double bestCost = HUGE_VAL;
        for (uint32_t i = 0; i + 1 < L->N; i++) {
            double sum = b[i] + b[i + 1];
            double d = a[i + 1] - a[i];
            double cost = sum != 0.0 ? b[i] * b[i + 1] * d * d / sum : 0.0;
            if (cost < bestCost) {
                bestCost = cost;
                best = i;
            }
        }
        double w1 = sqrtMean ? sqrt(fabs(b[best])) : b[best];
        double w2 = sqrtMean ? sqrt(fabs(b[best + 1])) : b[best + 1];
        if (w1 + w2 != 0.0)
            a[best] = (a[best] * w1 + a[best + 1] * w2) / (w1 + w2);
        else
            a[best] = 0.5 * (a[best] + a[best + 1]);
        b[best] += b[best + 1];
        RemovePole(a, b, &L->N, best + 1);
    }
    return 0;
}

}  // namespace

int OrderListOfPolesCompare(const void* p1, const void* p2) {
    double a1 = static_cast<const PolePair*>(p1)->a;
    double a2 = static_cast<const PolePair*>(p2)->a;
    if (a1 < a2) return -1;
    if (a1 > a2) return 1;
    return 0;
}

void OrderListOfPoles(ListOfPoles* L) {
    if (L->N < 2) return;
    PolePair* Mab = static_cast<PolePair*>(malloc(sizeof(PolePair) * L->N));
    if (Mab == nullptr) {
        printf("malloc for Mab failed in ListOfPoles\n");
        fflush(stdout);
        exit(1);
    }
    for (uint32_t i = 0; i < L->N; i++) Mab[i] = PolePair{L->a[i], L->b[i]};
    qsort(Mab, L->N, sizeof(PolePair), OrderListOfPolesCompare);
    for (uint32_t i = 0; i < L->N; i++) {
        L->a[i] = Mab[i].a;
        L->b[i] = Mab[i].b;
    }
    free(Mab);
}

int ReduceListOfPolesNumber(ListOfPoles* L, unsigned int n) {
    if (n == 0) return RefuseZeroPoles();
    if (L->N <= n) return 0;
    OrderListOfPoles(L);
    L->N = ReduceRunNumber(L->a, L->b, L->N, n, false);
    return 0;
}

int ReduceSqrtListOfPolesNumber(ListOfPoles* L, unsigned int n) {
    if (n == 0) return RefuseZeroPoles();
    if (L->N <= n) return 0;
    OrderListOfPoles(L);
    L->N = ReduceRunNumber(L->a, L->b, L->N, n, true);
    return 0;
}

int ReduceListOfPolesNumberFermi(ListOfPoles* L, unsigned int n, double mu) {
    if (n == 0) return RefuseZeroPoles();
    ReduceBothSides(L, mu, [n](double* a, double* b, uint32_t N) { return ReduceRunNumber(a, b, N, n, false); });
    return 0;
}

int ReduceSqrtListOfPolesNumberFermi(ListOfPoles* L, unsigned int n, double mu) {
    if (n == 0) return RefuseZeroPoles();
    ReduceBothSides(L, mu, [n](double* a, double* b, uint32_t N) { return ReduceRunNumber(a, b, N, n, true); });
    return 0;
}

int ReduceListOfPolesWeigth(ListOfPoles* L, double weight, double mu) {
    ReduceBothSides(L, mu, [weight](double* a, double* b, uint32_t N) { return ReduceRunWeight(a, b, N, weight); });
    return 0;
}

int ReduceListOfPolesSpacing(ListOfPoles* L, double spacing) {
    if (L->N < 2) return 0;
    OrderListOfPoles(L);
    double* a = L->a;
    double* b = L->b;
    uint32_t out = 0;  // the pole being built is a[out], b[out]
    for (uint32_t i = 1; i < L->N; i++) {
        if (a[i] - a[out] < spacing) {
            double sum = b[out] + b[i];
            if (sum != 0.0)
                a[out] = (a[out] * b[out] + a[i] * b[i]) / sum;
            else
                a[out] = 0.5 * (a[out] + a[i]);
            b[out] = sum;
        } else {
            out++;
            a[out] = a[i];
            b[out] = b[i];
        }
    }
    L->N = out + 1;
    return 0;
}

int ReduceListOfPolesMoment(ListOfPoles* L, unsigned int n) { return ReduceByMoment(L, n, false); }

int ReduceSqrtListOfPolesMoment(ListOfPoles* L, unsigned int n) { return ReduceByMoment(L, n, true); }
