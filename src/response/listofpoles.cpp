// ListOfPoles records: making, releasing, copying parts, and the arithmetic
// that combines lists.
#include "response/listofpoles.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int InitListOfPoles(ListOfPoles* L) {
    snprintf(L->Name, sizeof(L->Name), "%s", "List of Poles");
    L->a = nullptr;
    L->b = nullptr;
    L->a0 = 0.0;
    L->mu = 0.0;
    if (L->N == 0) {
        printf("Initialized a ListOfPoles with size zero.\n");
        return 2;
    }
    L->a = static_cast<double*>(malloc(sizeof(double) * L->N));
    if (L->a == nullptr) {
        printf("malloc for M->a failed in ListOfPoles\n");
        L->N = 0;
        return 1;
    }
    L->b = static_cast<double*>(malloc(sizeof(double) * L->N));
    if (L->b == nullptr) {
        printf("malloc for M->b failed in ListOfPoles\n");
        free(L->a);
        L->a = nullptr;
        L->N = 0;
        return 1;
    }
    return 0;
}

// The arrays are freed whenever they exist: a list whose poles were all
// removed has N = 0 but may still hold its arrays.
void FreeListOfPoles(ListOfPoles* L) {
    free(L->a);
    free(L->b);
    L->a = nullptr;
    L->b = nullptr;
    L->N = 0;
    L->a0 = 0.0;
}

// An empty record with the head (name, a0, mu) of in; arrays for n poles.
static int InitListOfPolesLike(ListOfPoles* out, const ListOfPoles& in, uint32_t n) {
    out->N = n;
    int info = 0;
    if (n != 0) {
        info = InitListOfPoles(out);
        if (info != 0) return 1;
    } else {
        out->a = nullptr;
        out->b = nullptr;
    }
    memcpy(out->Name, in.Name, sizeof(out->Name));
    out->Name[sizeof(out->Name) - 1] = '\0';
    out->a0 = in.a0;
    out->mu = in.mu;
    return 0;
}

int ListOfPolesCopy(ListOfPoles* out, ListOfPoles in) {
    if (InitListOfPolesLike(out, in, in.N) != 0) {
        printf("InitListOfPoles failed in ListOfPolesCopy\n");
        return 1;
    }
    if (in.N != 0) {
        memcpy(out->a, in.a, sizeof(double) * in.N);
        memcpy(out->b, in.b, sizeof(double) * in.N);
    }
    return 0;
}

// Copies the poles of in that pass keep(a, b) into a new record.
template <class Keep>
static int CopySelected(ListOfPoles* out, const ListOfPoles& in, Keep keep, const char* where) {
    uint32_t n = 0;
    for (uint32_t i = 0; i < in.N; i++)
        if (keep(in.a[i], in.b[i])) n++;
    if (InitListOfPolesLike(out, in, n) != 0) {
        printf("InitListOfPoles failed in %s\n", where);
        return 1;
    }
    uint32_t j = 0;
    for (uint32_t i = 0; i < in.N; i++) {
        if (keep(in.a[i], in.b[i])) {
            out->a[j] = in.a[i];
            out->b[j] = in.b[i];
            j++;
        }
    }
    return 0;
}

int ListOfPoleCopyChoped(ListOfPoles in, ListOfPoles* out, double tolerance) {
    return CopySelected(
        out, in, [tolerance](double, double w) { return !(fabs(w) < tolerance); },
        "ListOfPoleCopyChoped");
}

int ListOfPolesCopyVal(ListOfPoles* out, ListOfPoles in, double mu, double tolerance) {
    int info = CopySelected(
        out, in, [mu, tolerance](double e, double w) { return e <= mu && !(fabs(w) < tolerance); },
        "ListOfPolesCopyVal");
    if (info != 0) return 1;
    out->a0 = 0.0;
    out->mu = mu;
    return 0;
}

int ListOfPolesCopyCon(ListOfPoles* out, ListOfPoles in, double mu, double tolerance) {
    int info = CopySelected(
        out, in, [mu, tolerance](double e, double w) { return e > mu && !(fabs(w) < tolerance); },
        "ListOfPolesCopyCon");
    if (info != 0) return 1;
    out->a0 = 0.0;
    out->mu = mu;
    return 0;
}

int ScaleListOfPoles(ListOfPoles* L, double factor) {
    for (uint32_t i = 0; i < L->N; i++) L->b[i] *= factor;
    L->a0 *= factor;
    return 0;
}

int ShiftListOfPoles(ListOfPoles* L, double shift) {
    for (uint32_t i = 0; i < L->N; i++) L->a[i] += shift;
    return 0;
}

// Grows the arrays of L to hold n poles; L is untouched on failure.
static int GrowListOfPoles(ListOfPoles* L, uint32_t n, const char* where) {
    if (n == 0) return 0;
    double* a = static_cast<double*>(realloc(L->a, sizeof(double) * n));
    if (a == nullptr) {
        printf("realloc for M->a failed in %s\n", where);
        return 1;
    }
    L->a = a;
    double* b = static_cast<double*>(realloc(L->b, sizeof(double) * n));
    if (b == nullptr) {
        printf("realloc for M->b failed in %s\n", where);
        return 1;
    }
    L->b = b;
    return 0;
}

// L += x * other, the poles of other appended in their order.
static int AppendListOfPoles(ListOfPoles* L, const ListOfPoles& other, double x, const char* where) {
    if (other.N > UINT32_MAX - L->N) {
        printf("Too many poles in %s\n", where);
        return 1;
    }
    if (GrowListOfPoles(L, L->N + other.N, where) != 0) return 1;
    for (uint32_t i = 0; i < other.N; i++) {
        L->a[L->N + i] = other.a[i];
        L->b[L->N + i] = x * other.b[i];
    }
    L->N += other.N;
    L->a0 += x * other.a0;
    return 0;
}

int AddListOfPoles(ListOfPoles* L, ListOfPoles other) {
    return AppendListOfPoles(L, other, 1.0, "AddListOfPoles");
}

int MixListOfPoles(ListOfPoles* L, ListOfPoles other, double x) {
    return AppendListOfPoles(L, other, x, "MixListOfPoles");
}

int SubtractListOfPoles(ListOfPoles* L, ListOfPoles other) {
    // First count the poles of other that find no partner at the same energy;
    // the arrays are grown before anything changes, so a failure leaves L as
    // it was.
    const uint32_t n0 = L->N;
    auto partner = [&](double e) -> int64_t {
        for (uint32_t j = 0; j < n0; j++)
            if (L->a[j] == e) return j;
        return -1;
    };
    uint32_t extra = 0;
    for (uint32_t i = 0; i < other.N; i++)
        if (partner(other.a[i]) < 0) extra++;
    if (extra > UINT32_MAX - n0) {
        printf("Too many poles in SubtractListOfPoles\n");
        return 1;
    }
    if (GrowListOfPoles(L, n0 + extra, "SubtractListOfPoles") != 0) return 1;
    for (uint32_t i = 0; i < other.N; i++) {
        int64_t j = partner(other.a[i]);
        if (j >= 0) {
            L->b[j] -= other.b[i];
        } else {
            L->a[L->N] = other.a[i];
            L->b[L->N] = -other.b[i];
            L->N++;
        }
    }
    L->a0 -= other.a0;
    return 0;
}
