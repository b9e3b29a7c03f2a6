// Shared steps of the one-particle constructors.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "atomic/oneparticle_detail.h"
#include "manybody/operator_algebra.h"
#include "manybody/restriction.h"
#include "manybody/zerocut.h"

namespace oneparticle {

int InitTermList(TermList* A, unsigned capacity, const char* who) {
    A->N = 0;
    A->NAloc = 0;
    A->t = nullptr;
    if (capacity == 0) return 0;
    A->t = (Term*)malloc(sizeof(Term) * capacity);
    if (A->t == nullptr) {
        printf("Could not allocate the term list in %s\n", who);
        return 1;
    }
    A->NAloc = capacity;
    return 0;
}

void FreeTermList(TermList* A) {
    free(A->t);
    A->t = nullptr;
    A->N = 0;
    A->NAloc = 0;
}

int TermListAdd(TermList* A, uint16_t cr, uint16_t an, double re, double im, const char* who) {
    if (A->N == A->NAloc) {
        unsigned grown = A->NAloc ? 2 * A->NAloc : 16;
        Term* t = (Term*)realloc(A->t, sizeof(Term) * grown);
        if (t == nullptr) {
            printf("Could not grow the term list in %s\n", who);
            return 1;
        }
        A->t = t;
        A->NAloc = grown;
    }
    A->t[A->N++] = Term{cr, an, re, im};
    return 0;
}

int Begin(OperatorType* O, uint32_t NF, const char* name, unsigned maxLength) {
    if (InitNamedOperator(O, name) != 0) return 1;
    O->NF = NF;
    O->NB = 0;
    O->NWord = DeterminantNWord(NF, 0);
    if (maxLength >= 2 && InitOperatorFixedLength(O, 2, kKeyBits) != 0) return Fail(O);
    if (maxLength == 1 && InitOperatorFixedLength(O, 1, kKeyBits) != 0) return Fail(O);
    if (maxLength >= 4 && InitOperatorFixedLength(O, 4, kKeyBits) != 0) return Fail(O);
    return 0;
}

int MakeComplex(OperatorType* O) {
    if (MakeRealOperatorFixedLengthComplex(O, 2) != 0) return 1;
    O->QComplex = 1;
    return 0;
}

int Fail(OperatorType* O) {
    FreeOperator(O);
    return 1;
}

int Finish(OperatorType* O) {
    double largest = 0.0;
    for (unsigned k = 0; k <= O->MaxLength; k++) {
        const OperatorFixedLengthType& f = O->l[k];
        for (uint32_t t = 0; t < f.N; t++) {
            double a = f.QComplex ? std::hypot(f.V[t].re, f.V[t].im) : std::fabs(f.VRe[t]);
            if (a > largest) largest = a;
        }
    }
    double eps = kCleanRelative * largest;
    if (eps < ZeroCut) eps = ZeroCut;
    return OperatorRemoveSmallValues(O, eps);
}

int AddPair(OperatorType* O, uint16_t cr, uint16_t an, double re, double im) {
    uint16_t keys[2] = {an, (uint16_t)(cr | LaderCreation)};
    if (O->l[2].QComplex) return ComplexOperatorAddLaderNormalOrder(O, keys, 2, re, im, QDetNotOrderedFcFaBcBa);
    return OperatorAddLaderNormalOrder(O, keys, 2, re, im, QDetNotOrderedFcFaBcBa);
}

int AddTerms(OperatorType* O, const TermList& A, double fre, double fim) {
    for (unsigned t = 0; t < A.N; t++) {
        const Term& a = A.t[t];
        if (AddPair(O, a.cr, a.an, fre * a.re - fim * a.im, fre * a.im + fim * a.re) != 0) return 1;
    }
    return 0;
}

int AddProducts(OperatorType* O, const TermList& A, const TermList& B, double fre, double fim) {
    for (unsigned t = 0; t < A.N; t++) {
        const Term& a = A.t[t];
        double are = fre * a.re - fim * a.im, aim = fre * a.im + fim * a.re;
        for (unsigned u = 0; u < B.N; u++) {
            const Term& b = B.t[u];
            double re = are * b.re - aim * b.im, im = are * b.im + aim * b.re;
            uint16_t keys[4] = {b.an, (uint16_t)(b.cr | LaderCreation), a.an, (uint16_t)(a.cr | LaderCreation)};
            if (OperatorAddLaderNormalOrder(O, keys, 4, re, im, QDetNotOrderedFcFaBcBa) != 0) return 1;
        }
    }
    return 0;
}

int SpinTerms(TermList* A, unsigned n, const uint16_t* up, const uint16_t* dn, const double* sre,
              const double* sim, const char* who) {
    // Entries in the order (up,up), (up,dn), (dn,up), (dn,dn): index
    // 2 sigma' + sigma with sigma 0 down and 1 up.
    static const int order[4] = {3, 2, 1, 0};
    for (unsigned i = 0; i < n; i++) {
        for (int e : order) {
            if (sre[e] == 0.0 && sim[e] == 0.0) continue;
            uint16_t cr = (e >> 1) ? up[i] : dn[i];
            uint16_t an = (e & 1) ? up[i] : dn[i];
            if (TermListAdd(A, cr, an, sre[e], sim[e], who) != 0) return 1;
        }
    }
    return 0;
}

int LplusTerms(TermList* A, int l, const uint16_t* const* lists, unsigned nlist, const char* who) {
    for (int i = 0; i < 2 * l; i++) {
        int m = i - l;
        double w = std::sqrt((double)(l + 1 + m)) * std::sqrt((double)(l - m));
        for (unsigned s = 0; s < nlist; s++)
            if (TermListAdd(A, lists[s][i + 1], lists[s][i], w, 0.0, who) != 0) return 1;
    }
    return 0;
}

int LminTerms(TermList* A, int l, const uint16_t* const* lists, unsigned nlist, const char* who) {
    for (int i = 1; i <= 2 * l; i++) {
        int m = i - l;
        double w = std::sqrt((double)(l + 1 - m)) * std::sqrt((double)(l + m));
        for (unsigned s = 0; s < nlist; s++)
            if (TermListAdd(A, lists[s][i - 1], lists[s][i], w, 0.0, who) != 0) return 1;
    }
    return 0;
}

int LzTerms(TermList* A, int l, const uint16_t* const* lists, unsigned nlist, const char* who) {
    for (int i = 0; i <= 2 * l; i++)
        for (unsigned s = 0; s < nlist; s++)
            if (TermListAdd(A, lists[s][i], lists[s][i], (double)(i - l), 0.0, who) != 0) return 1;
    return 0;
}

}  // namespace oneparticle
