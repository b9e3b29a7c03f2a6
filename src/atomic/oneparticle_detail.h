// Shared steps of the one-particle constructors: setting up the operator,
// short lists of one-body terms c+(cr) c(an) that are added, scaled or
// multiplied into an operator, and the final cleaning.
#ifndef SKELDA_ATOMIC_ONEPARTICLE_DETAIL_H
#define SKELDA_ATOMIC_ONEPARTICLE_DETAIL_H

#include <cstdint>

#include "manybody/operator.h"

namespace oneparticle {

// Key width of the lengths the constructors create.
const unsigned kKeyBits = 8;
// Angular coefficients of this size or below count as zero.
const double kCoefficientCut = 2.220446049250313e-16;
// Values below this fraction of the largest prefactor are removed at the end.
const double kCleanRelative = 1e-14;

struct Term {
    uint16_t cr;
    uint16_t an;
    double re;
    double im;
};

// A malloc'ed list of one-body terms.
struct TermList {
    unsigned N;
    unsigned NAloc;
    Term* t;
};

// An empty list with room for `capacity` terms; 1 (with a line naming who)
// when the memory can't be had.
int InitTermList(TermList* A, unsigned capacity, const char* who);
void FreeTermList(TermList* A);
// Appends a term, growing the list when needed.
int TermListAdd(TermList* A, uint16_t cr, uint16_t an, double re, double im, const char* who);

// A list that frees itself when it goes out of scope.
struct ScopedTermList {
    TermList list{0, 0, nullptr};
    ~ScopedTermList() { FreeTermList(&list); }
};

// InitNamedOperator with NF fermions and records up to maxLength (1, 2 or
// 4; length 4 comes with length 2).  On failure O is freed and 1 returned.
int Begin(OperatorType* O, uint32_t NF, const char* name, unsigned maxLength);
// Makes length 2 complex and sets the operator's flag.
int MakeComplex(OperatorType* O);
// Frees O and returns 1.
int Fail(OperatorType* O);
// Removes the values below the cleaning tolerance; returns 0.
int Finish(OperatorType* O);

// Adds (re + i im) c+(cr) c(an) in normal order; a real length stays real
// when im is 0.
int AddPair(OperatorType* O, uint16_t cr, uint16_t an, double re, double im);
// Adds f times every term of A.
int AddTerms(OperatorType* O, const TermList& A, double fre, double fim);
// Adds f times the product A B (B acting first), term by term, in normal
// order; needs length 4.
int AddProducts(OperatorType* O, const TermList& A, const TermList& B, double fre, double fim);

// Spin-component terms over n pairs (up[i], dn[i]) from the 2x2 matrix
// s[2 sigma' + sigma] (sigma 0 down, 1 up): per i the entries (up,up),
// (up,dn), (dn,up), (dn,dn) that are not 0.
int SpinTerms(TermList* A, unsigned n, const uint16_t* up, const uint16_t* dn, const double* sre,
              const double* sim, const char* who);
// Orbital terms of one shell: L+, L- and Lz over each of the nlist lists of
// 2l+1 modes (one per spin, or a single list without spin).
int LplusTerms(TermList* A, int l, const uint16_t* const* lists, unsigned nlist, const char* who);
int LminTerms(TermList* A, int l, const uint16_t* const* lists, unsigned nlist, const char* who);
int LzTerms(TermList* A, int l, const uint16_t* const* lists, unsigned nlist, const char* who);

}  // namespace oneparticle

#endif
