// The chemical potential of a list of poles: occupation, the search for mu,
// moving or dropping poles on the wrong side of mu, and the shifts that put
// mu (or the first moment) at zero.
#include <cmath>
#include <cstdio>

#include "response/listofpoles.h"

int ListOfPolesDetermineOccupation(ListOfPoles L, double mu, double* occupation) {
    double sum = 0.0;
    for (uint32_t i = 0; i < L.N; i++)
        if (L.a[i] <= mu) sum += L.b[i];
    *occupation = sum;
    return 0;
}

int ListOfPolesCalculateChemicalPotential(ListOfPoles L, double filling, double* mu) {
    double sum = 0.0;
    for (uint32_t i = 0; i < L.N; i++) {
        sum += L.b[i];
        if (sum >= filling) {
            *mu = L.a[i];
            return 0;
        }
    }
    // An empty list keeps the chemical potential it has.
    *mu = L.N != 0 ? L.a[L.N - 1] : L.mu;
    printf("Total occupation of %s is %22.15E\n", L.Name, sum);
    printf("Searched for chemical potential of filling of %22.15E\n", filling);
    printf("that aint working. Returned %22.15E as chemical potential\n", *mu);
    return 1;
}

namespace {

// Counts the poles on the wrong side of mu and their weight, and prints the
// report of the move functions.  below selects the side (energies under mu).
uint32_t ReportWrongSide(const ListOfPoles& L, double mu, bool below) {
    uint32_t count = 0;
    double wrong = 0.0;
    double total = 0.0;
    for (uint32_t i = 0; i < L.N; i++) {
        total += L.b[i];
        bool wrongSide = below ? L.a[i] < mu : L.a[i] > mu;
        if (wrongSide) {
            count++;
            wrong += L.b[i];
        }
    }
    const char* side = below ? "negative" : "positive";
    if (count != 0) {
        printf("******************** WARNING - NOT CONVERGED ********************\n");
        printf("List of poles %s has %u poles at %s energy (relative to mu=%22.15E)\n", L.Name, count, side,
               mu);
        printf("with weight %22.15E of a total weight %22.15E; they are moved to mu\n", wrong, total);
        printf("*****************************************************************\n");
    } else {
        printf("List of poles %s, has all poles at %s energy with weight %22.15E\n", L.Name,
               below ? "positive" : "negative", total);
    }
    return count;
}

// Drops the poles for which drop(a) holds, keeping the order of the rest.
template <class Drop>
void DropPoles(ListOfPoles* L, Drop drop) {
    uint32_t j = 0;
    for (uint32_t i = 0; i < L->N; i++) {
        if (!drop(L->a[i])) {
            L->a[j] = L->a[i];
            L->b[j] = L->b[i];
            j++;
        }
    }
    L->N = j;
}

}  // namespace

int ListOfPolesMoveNegativeEnergyToMu(ListOfPoles* L, double mu) {
    if (ReportWrongSide(*L, mu, true) == 0) return 0;
    for (uint32_t i = 0; i < L->N; i++)
        if (L->a[i] < mu) L->a[i] = mu;
    return 0;
}

int ListOfPolesMovePositiveEnergyToMu(ListOfPoles* L, double mu) {
    if (ReportWrongSide(*L, mu, false) == 0) return 0;
    for (uint32_t i = 0; i < L->N; i++)
        if (L->a[i] > mu) L->a[i] = mu;
    return 0;
}

int ListOfPolesRemoveNegativeEnergy(ListOfPoles* L, double mu) {
    DropPoles(L, [mu](double e) { return e < mu; });
    return 0;
}

int ListOfPolesRemovePositiveEnergy(ListOfPoles* L, double mu) {
    DropPoles(L, [mu](double e) { return e > mu; });
    return 0;
}

int ShiftListOfPolesToMakeChemPotZeroMetal(ListOfPoles* L, double mu) {
    ShiftListOfPoles(L, -mu);
    L->mu = 0.0;
    return 0;
}

int ShiftListOfPolesToMakeChemPotZeroInsulator(ListOfPoles* L) {
    bool haveBelow = false;
    bool haveAbove = false;
    double top = 0.0;     // highest energy at or below 0
    double bottom = 0.0;  // lowest energy above 0
    for (uint32_t i = 0; i < L->N; i++) {
        double e = L->a[i];
        if (e <= 0.0) {
            if (!haveBelow || e > top) top = e;
            haveBelow = true;
        } else {
            if (!haveAbove || e < bottom) bottom = e;
            haveAbove = true;
        }
    }
    if (haveBelow && haveAbove) ShiftListOfPoles(L, -0.5 * (top + bottom));
    return 0;
}

int ShiftListOfPolesToMakeChemPotZero(ListOfPoles* L, double mu, double weight) {
    ShiftListOfPolesToMakeChemPotZeroMetal(L, mu);
    ReduceListOfPolesWeigth(L, weight, 0.0);
    ShiftListOfPolesToMakeChemPotZeroInsulator(L);
    return 0;
}

int ShiftListOfPolesToMakeFirstMomentZero(ListOfPoles* L) {
    double w = 0.0;
    double m1 = 0.0;
    for (uint32_t i = 0; i < L->N; i++) {
        w += L->b[i];
        m1 += L->b[i] * L->a[i];
    }
    if (w != 0.0) ShiftListOfPoles(L, -m1 / w);
    return 0;
}
