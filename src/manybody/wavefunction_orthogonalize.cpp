// Orthogonalisation of one state against a list, Gram-Schmidt on whole
// lists, and the common basis of a list of states.
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_slots.h"

using namespace wfslots;

namespace {

enum class Relation { Union, Same, Conserve };

// <b|a> in the relation's way: paired blocks on one basis, else lookups.
Complex16 Overlap(const WaveFunctionType& b, const WaveFunctionType& a, Relation r) {
    if (r == Relation::Same) return ComplexWaveFunctionDotProductSameBasis(b, a);
    return ComplexWaveFunctionDotProduct(&b, &a);
}

// a := a - s b in the relation's way; a is complex whenever s or b is.
int Subtract(WaveFunctionType* a, const WaveFunctionType& b, Complex16 s, Relation r) {
    if (!a->QComplex) {
        switch (r) {
            case Relation::Same: return RealWaveFunctionAddMultipliedSameBasis(*a, b, -s.re);
            case Relation::Conserve: return RealWaveFunctionAddMultipliedConserveBasis(a, b, -s.re);
            case Relation::Union: return RealWaveFunctionAddMultipliedUnionBasis(a, b, -s.re);
        }
    }
    if (b.QComplex) {
        switch (r) {
            case Relation::Same: return ComplexWaveFunctionAddComplexMultipliedSameBasis(*a, b, -s.re, -s.im);
            case Relation::Conserve: return ComplexWaveFunctionAddComplexMultipliedConserveBasis(a, b, -s.re, -s.im);
            case Relation::Union: return ComplexWaveFunctionAddComplexMultipliedUnionBasis(a, b, -s.re, -s.im);
        }
    }
    switch (r) {
        case Relation::Same: return ComplexRealWaveFunctionAddComplexMultipliedSameBasis(*a, b, -s.re, -s.im);
        case Relation::Conserve: return ComplexRealWaveFunctionAddComplexMultipliedConserveBasis(a, b, -s.re, -s.im);
        case Relation::Union: return ComplexRealWaveFunctionAddComplexMultipliedUnionBasis(a, b, -s.re, -s.im);
    }
    return 1;
}

const char* SubtractName(bool cplx, Relation r) {
    switch (r) {
        case Relation::Same:
            return cplx ? "ComplexWaveFunctionAddComplexMultipliedSameBasis" : "RealWaveFunctionAddMultipliedSameBasis";
        case Relation::Conserve:
            return cplx ? "ComplexWaveFunctionAddComplexMultipliedConserveBasis"
                        : "RealWaveFunctionAddMultipliedConserveBasis";
        case Relation::Union:
            return cplx ? "ComplexWaveFunctionAddComplexMultipliedUnionBasis" : "RealWaveFunctionAddMultipliedUnionBasis";
    }
    return "";
}

// Projects the n states b out of a, one after the other.  The kind checks
// are left to the callers.
int Project(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n, Relation r, const char* fn) {
    for (unsigned int k = 0; k < n; k++) {
        Complex16 s = Overlap(b[k], *a, r);
        if (!a->QComplex) s.im = 0.0;
        if (Subtract(a, b[k], s, r)) {
            printf("%s failed in %s\n", SubtractName(a->QComplex != 0, r), fn);
            fflush(stdout);
            return 1;
        }
    }
    return 0;
}

int RealOrthogonalize(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n, Relation r, const char* fn) {
    if (!CheckReal(a, 1, fn) || !CheckReal(b, n, fn)) return 1;
    return Project(a, b, n, r, fn);
}

int ComplexOrthogonalize(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n, Relation r,
                         const char* fn) {
    if (!a->QComplex) {
        printf("%s called with a real function to orthogonalize\n", fn);
        fflush(stdout);
        return 1;
    }
    return Project(a, b, n, r, fn);
}

int GeneralOrthogonalize(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n, Relation r,
                         const char* fn) {
    if (!a->QComplex && AnyComplex(b, n) && PromoteRealWaveFunctionToComplex(a)) {
        ReportIn("MakeComplexWaveFunctionFromReal failed", fn);
        return 1;
    }
    return Project(a, b, n, r, fn);
}

// ---- Lists -------------------------------------------------------------------

// Exchanges the places of two states of a list.  On a shared basis only the
// values (and the names and kinds) move, so that the owner of the basis
// stays where it is.
void SwapStates(WaveFunctionType* list, unsigned int i, unsigned int j, bool shared) {
    if (i == j) return;
    WaveFunctionType& a = list[i];
    WaveFunctionType& b = list[j];
    if (!shared) {
        WaveFunctionType t = a;
        a = b;
        b = t;
        return;
    }
    char name[sizeof(a.Name)];
    memcpy(name, a.Name, sizeof(name));
    memcpy(a.Name, b.Name, sizeof(name));
    memcpy(b.Name, name, sizeof(name));
    double** re = a.ValueRe;
    a.ValueRe = b.ValueRe;
    b.ValueRe = re;
    double** im = a.ValueIm;
    a.ValueIm = b.ValueIm;
    b.ValueIm = im;
    uint32_t q = a.QComplex;
    a.QComplex = b.QComplex;
    b.QComplex = q;
}

// Makes every state of the list complex when one of them is.
int UniformKind(WaveFunctionType* list, unsigned int n, const char* fn) {
    return AnyComplex(list, n) ? PromoteAll(list, n, fn) : 0;
}

// Gram-Schmidt over the list; see the header for the rules.
int ListGramSchmidt(WaveFunctionType* list, unsigned int n, double tolerance, unsigned int* nKept, Relation r,
                    const char* fn) {
    unsigned int kept = 0;
    if (nKept != nullptr) *nKept = 0;
    if (UniformKind(list, n, fn)) return 1;
    // A remaining norm at this level relative to the norm before the
    // projection is rounding noise of the projection.
    const double noise = 64.0 * DBL_EPSILON;
    for (unsigned int i = 0; i < n; i++) {
        WaveFunctionType* a = &list[i];
        double before, after;
        WaveFunctionCalculateNorm(*a, &before);
        for (int pass = 0; pass < 2 && kept > 0; pass++)
            if (Project(a, list, kept, r, fn)) return 1;
        WaveFunctionCalculateNorm(*a, &after);
        if (after <= tolerance * before || after <= noise * before || after < SqrtZeroCut) {
            WaveFunctionMultiply(a, 0.0, 0.0);
            continue;
        }
        WaveFunctionNormalize(a);
        SwapStates(list, kept, i, r != Relation::Union);
        kept++;
        if (nKept != nullptr) *nKept = kept;
    }
    return 0;
}

}  // namespace

// ---- One state against a list ------------------------------------------------------

int RealWaveFunctionOrthogonalize(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n) {
    return RealOrthogonalize(a, b, n, Relation::Union, "RealWaveFunctionOrthogonalize");
}
int ComplexWaveFunctionOrthogonalize(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n) {
    return ComplexOrthogonalize(a, b, n, Relation::Union, "ComplexWaveFunctionOrthogonalize");
}
int WaveFunctionOrthogonalize(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n) {
    return GeneralOrthogonalize(a, b, n, Relation::Union, "WaveFunctionOrthogonalize");
}

int RealWaveFunctionOrthogonalizeSameBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n) {
    return RealOrthogonalize(a, b, n, Relation::Same, "RealWaveFunctionOrthogonalizeSameBasis");
}
int ComplexWaveFunctionOrthogonalizeSameBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n) {
    return ComplexOrthogonalize(a, b, n, Relation::Same, "ComplexWaveFunctionOrthogonalizeSameBasis");
}
int WaveFunctionOrthogonalizeSameBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n) {
    return GeneralOrthogonalize(a, b, n, Relation::Same, "WaveFunctionOrthogonalizeSameBasis");
}

int RealWaveFunctionOrthogonalizeConserveBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n) {
    return RealOrthogonalize(a, b, n, Relation::Conserve, "RealWaveFunctionOrthogonalizeConserveBasis");
}
int ComplexWaveFunctionOrthogonalizeConserveBasis(WaveFunctionType* a, const WaveFunctionType* b,
                                                  unsigned int n) {
    return ComplexOrthogonalize(a, b, n, Relation::Conserve, "ComplexWaveFunctionOrthogonalizeConserveBasis");
}
int WaveFunctionOrthogonalizeConserveBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n) {
    return GeneralOrthogonalize(a, b, n, Relation::Conserve, "WaveFunctionOrthogonalizeConserveBasis");
}

// ---- Whole lists ------------------------------------------------------------------------

int WaveFunctionListOrthogonalize(WaveFunctionType* list, unsigned int n, double tolerance, unsigned int* nKept) {
    return ListGramSchmidt(list, n, tolerance, nKept, Relation::Union, "WaveFunctionListOrthogonalize");
}

int WaveFunctionListOrthogonalizeSameBasis(WaveFunctionType* list, unsigned int n, double tolerance,
                                           unsigned int* nKept) {
    if (nKept != nullptr) *nKept = 0;
    if (!SharedBasis(list, n, "WaveFunctionListOrthogonalizeSameBasis")) return 1;
    return ListGramSchmidt(list, n, tolerance, nKept, Relation::Same, "WaveFunctionListOrthogonalizeSameBasis");
}

int WaveFunctionListOrthogonalizeDifferentBasis(WaveFunctionType* list, unsigned int n, double tolerance,
                                                unsigned int* nKept) {
    if (nKept != nullptr) *nKept = 0;
    if (WaveFunctionArrayToSameBasis(list, n)) {
        wfslots::Report("WaveFunctionArrayToSameBasis failed in WaveFunctionListOrthogonalizeDifferentBasis");
        return 1;
    }
    return ListGramSchmidt(list, n, tolerance, nKept, Relation::Same,
                           "WaveFunctionListOrthogonalizeDifferentBasis");
}

// ---- A common basis ---------------------------------------------------------------------

int WaveFunctionArrayToSameBasis(WaveFunctionType* list, unsigned int n) {
    if (n <= 1) return 0;
    for (unsigned int i = 1; i < n; i++) {
        if (list[i].NWord != list[0].NWord) {
            printf("WaveFunctionArrayToSameBasis called with functions of different determinant length (%u and "
                   "%u bytes)\n",
                   list[0].NWord, list[i].NWord);
            fflush(stdout);
            return 1;
        }
    }
    WaveFunctionType* fresh = static_cast<WaveFunctionType*>(malloc(n * sizeof(WaveFunctionType)));
    if (fresh == nullptr) {
        wfslots::Report("malloc failed in WaveFunctionArrayToSameBasis");
        return 1;
    }

    // The union of all bases, collected in a real state with zero values.
    WaveFunctionType& owner = fresh[0];
    owner.QComplex = 0;
    owner.NFermion = list[0].NFermion;
    owner.NBoson = list[0].NBoson;
    owner.NBitsKey = list[0].NBitsKey;
    if (WaveFunctionInit(&owner)) {
        wfslots::Report("WaveFunctionInit failed in WaveFunctionArrayToSameBasis");
        free(fresh);
        return 1;
    }
    unsigned int made = 1;  // fresh[0] .. fresh[made-1] hold storage
    auto fail = [&]() {
        for (unsigned int k = 1; k < made; k++) WaveFunctionFreeValues(&fresh[k]);
        WaveFunctionFree(&owner);
        free(fresh);
        return 1;
    };
    for (unsigned int i = 0; i < n; i++) {
        WaveFunctionType realView = list[i];
        realView.QComplex = 0;
        realView.ValueIm = nullptr;
        if (WaveFunctionAddMultipliedUnionBasis(&owner, realView, 0.0)) {
            printf("WaveFunctionAddMultipliedUnionBasis failed in WaveFunctionArrayToSameBasis at %i from %i\n",
                   (int)i + 1, (int)n);
            fflush(stdout);
            return fail();
        }
    }
    // 0 times a value may be -0.0 or, for a value that is not finite, NaN.
    wfslots::ForSlots(owner.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        double* re = owner.ValueRe[blk];
        for (uint32_t k = lo; k < hi; k++) re[k] = 0.0;
    });

    // Basis-sharing copies for the members from 1 on, made from the owner
    // while it is still real, so that each starts real and zero.
    for (unsigned int i = 1; i < n; i++) {
        if (WaveFunctionInitCopyBasis(&fresh[i], owner)) {
            printf("WaveFunctionInitCopyBasis failed in WaveFunctionArrayToSameBasis at %i from %i\n", (int)i + 1,
                   (int)n);
            fflush(stdout);
            return fail();
        }
        made++;
    }
    for (unsigned int i = 0; i < n; i++) {
        if (list[i].QComplex && PromoteRealWaveFunctionToComplex(&fresh[i])) {
            wfslots::Report("MakeComplexWaveFunctionFromReal failed in WaveFunctionArrayToSameBasis");
            return fail();
        }
        // Kinds agree now, so this add can not fail.
        WaveFunctionAddConserveBasis(&fresh[i], list[i]);
        memcpy(fresh[i].Name, list[i].Name, sizeof(fresh[i].Name));
    }

    // Release the old records: the first record with a given key list owns
    // that basis, later ones share it.  Going backwards, the records looked
    // at are never freed yet.
    for (unsigned int i = n; i-- > 0;) {
        bool sharer = false;
        for (unsigned int k = 0; k < i && !sharer; k++) sharer = list[k].KeyList == list[i].KeyList;
        if (sharer)
            WaveFunctionFreeValues(&list[i]);
        else
            WaveFunctionFree(&list[i]);
    }
    for (unsigned int i = 0; i < n; i++) list[i] = fresh[i];
    free(fresh);
    return 0;
}
