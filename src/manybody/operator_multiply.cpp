// Products of operators: the result record, the numbered products that add
// into it, in storage order as they come or brought into a canonical order,
// and the in-place product.
#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "manybody/operator_algebra.h"
#include "manybody/operator_algebra_detail.h"
#include "manybody/zerocut.h"

using opalg::Report;

namespace {

const unsigned int MultMinKeyBits = 4;
const unsigned int MultMaxKeyBits = 18;

unsigned int TermCount(const OperatorType& A) {
    unsigned int n = 0;
    for (unsigned int k = 0; k <= A.MaxLength; k++) n += A.l[k].N;
    return n;
}

// A factor seen through one of the operation characters: the codes and the
// value of each term are produced on the fly.
struct Factor {
    const OperatorType* A;
    bool transpose;
    bool conjugate;
};

int FactorFromChar(const OperatorType* A, char op, Factor* f) {
    f->A = A;
    switch (op) {
        case 'N': case 'n': f->transpose = false; f->conjugate = false; return 0;
        case 'T': case 't': f->transpose = true; f->conjugate = false; return 0;
        case 'C': case 'c': f->transpose = true; f->conjugate = true; return 0;
        case '*': f->transpose = false; f->conjugate = true; return 0;
        default: return 1;
    }
}

inline void FactorCodes(const Factor& f, unsigned int length, uint32_t t, uint16_t* out) {
    const uint16_t* o = f.A->l[length].o + (size_t)t * length;
    if (f.transpose) {
        opalg::TransposeCodes(o, length, out);
    } else {
        memcpy(out, o, (size_t)length * sizeof(uint16_t));
    }
}

inline Complex16 FactorValue(const Factor& f, unsigned int length, uint32_t t) {
    Complex16 v = opalg::TermValue(f.A->l[length], t);
    if (f.conjugate) v.im = -v.im;
    return v;
}

// The product term: codes of the right factor first.  order == nullptr
// stores the codes as they are.
int AddProductTerm(OperatorType* O, const uint16_t* codes, unsigned int length, Complex16 v, bool real,
                   LaderOrderType order) {
    if (length > O->MaxLength) {
        unsigned int bits = opalg::KeyBitsBound(O->NF + O->NB, length);
        if (bits > MultMaxKeyBits) bits = MultMaxKeyBits;
        if (InitOperatorFixedLength(O, length, bits) != 0) return 1;
    }
    if (order != nullptr) {
        if (real) return RealOperatorAddLaderNormalOrder(O, codes, length, v.re, order);
        return OperatorAddLaderNormalOrder(O, codes, length, v.re, v.im, order);
    }
    if (real) {
        if (O->l[length].QComplex) return ComplexOperatorAddLader(O, codes, length, v.re, 0.0);
        return RealOperatorAddLader(O, codes, length, v.re);
    }
    return OperatorAddLader(O, codes, length, v.re, v.im);
}

// O := O + scale * prod_i op(F_i) for n factors written left to right; the
// rightmost factor's codes come first.  A plain nested loop over the terms
// of every factor, written as an odometer over (length, term) pairs.
int MultiplyFactorsInto(OperatorType* O, const Factor* F, int n, Complex16 scale, LaderOrderType order,
                        const char* caller) {
    const int MaxFactors = 5;
    unsigned int len[MaxFactors];
    uint32_t term[MaxFactors];
    unsigned int total = 0;
    for (int i = 0; i < n; i++) total += F[i].A->MaxLength;
    uint16_t local[64];
    uint16_t* codes = local;
    if (total > 64) {
        codes = (uint16_t*)malloc((size_t)total * sizeof(uint16_t));
        if (codes == nullptr) {
            Report("could not allocate memory for a product term in %s\n", caller);
            return 1;
        }
    }
    const bool realScale = std::fabs(scale.im) < ZeroCut;
    int status = 0;
    // Start every factor at its first (length, term) pair with terms.
    auto advanceFactor = [&](int i, bool next) -> bool {
        const OperatorType& A = *F[i].A;
        unsigned int k = len[i];
        uint32_t t = next ? term[i] + 1 : 0;
        if (!next) k = 0;
        while (k <= A.MaxLength) {
            if (t < A.l[k].N) {
                len[i] = k;
                term[i] = t;
                return true;
            }
            k++;
            t = 0;
        }
        return false;
    };
    for (int i = 0; i < n; i++) {
        if (!advanceFactor(i, false)) {
            if (codes != local) free(codes);
            return 0;  // a factor without terms: the product is 0
        }
    }
    while (status == 0) {
        unsigned int length = 0;
        Complex16 v = scale;
        bool real = realScale;
        for (int i = n - 1; i >= 0; i--) {
            if (len[i] > 0) FactorCodes(F[i], len[i], term[i], codes + length);
            length += len[i];
            const OperatorFixedLengthType& f = F[i].A->l[len[i]];
            if (f.QComplex) {
                v = v * FactorValue(F[i], len[i], term[i]);
                real = false;
            } else {
                v = v * f.VRe[term[i]];
            }
        }
        if (AddProductTerm(O, codes, length, v, real, order) != 0) {
            Report("adding a product term of length %i failed in %s\n", length, caller);
            status = 1;
            break;
        }
        // Odometer: the last factor runs fastest.
        int i = n - 1;
        while (i >= 0 && !advanceFactor(i, true)) {
            advanceFactor(i, false);
            i--;
        }
        if (i < 0) break;
    }
    if (codes != local) free(codes);
    OperatorRecountQComplex(O);
    return status;
}

// The same when factors may be O itself: those are copied first, since adding
// to O moves the arrays that they point at.
int MultiplyFactors(OperatorType* O, const Factor* F, int n, Complex16 scale, LaderOrderType order,
                    const char* caller) {
    bool aliased = false;
    for (int i = 0; i < n; i++) aliased = aliased || F[i].A->l == O->l;
    if (!aliased) return MultiplyFactorsInto(O, F, n, scale, order, caller);
    OperatorType copy;
    if (OperatorCopy(&copy, *O) != 0) {
        Report("OperatorCopy failed in %s", caller);
        return 1;
    }
    Factor G[5];
    for (int i = 0; i < n; i++) {
        G[i] = F[i];
        if (F[i].A->l == O->l) G[i].A = &copy;
    }
    int status = MultiplyFactorsInto(O, G, n, scale, order, caller);
    FreeOperator(&copy);
    return status;
}

int MultiplyPlain(OperatorType* O, std::initializer_list<const OperatorType*> factors, LaderOrderType order,
                  const char* caller) {
    Factor F[5];
    int n = 0;
    for (const OperatorType* A : factors) F[n++] = Factor{A, false, false};
    return MultiplyFactors(O, F, n, Complex16{1.0, 0.0}, order, caller);
}

// O := O + A B C D (E) through the temporary T = A B, then O + T C D (E)
// with the temporary U = C D for five factors.
int MultiplyLong(OperatorType* O, const OperatorType* const* X, int n, LaderOrderType order, const char* caller) {
    OperatorType T;
    if (InitOperatorForMult(&T, 2, X[0], X[1]) != 0 ||
        MultiplyPlain(&T, {X[0], X[1]}, order, caller) != 0) {
        Report("product of the first two factors failed in %s\n", caller);
        FreeOperator(&T);
        return 1;
    }
    int status;
    if (n == 4) {
        status = MultiplyPlain(O, {&T, X[2], X[3]}, order, caller);
    } else {
        OperatorType U;
        if (InitOperatorForMult(&U, 2, X[2], X[3]) != 0 ||
            MultiplyPlain(&U, {X[2], X[3]}, order, caller) != 0) {
            Report("product of the third and fourth factors failed in %s\n", caller);
            FreeOperator(&U);
            FreeOperator(&T);
            return 1;
        }
        status = MultiplyPlain(O, {&T, &U, X[4]}, order, caller);
        FreeOperator(&U);
    }
    FreeOperator(&T);
    return status;
}

int MultiplyInline(OperatorType* O, const OperatorType& A, LaderOrderType order, const char* caller) {
    OperatorType T;
    if (InitOperatorForMult(&T, 2, O, &A) != 0) {
        Report("InitOperatorForMult failed in %s\n", caller);
        return 1;
    }
    if (MultiplyPlain(&T, {O, &A}, order, caller) != 0) {
        FreeOperator(&T);
        return 1;
    }
    OperatorSetName(&T, O->Name);
    FreeOperator(O);
    *O = T;
    return 0;
}

}  // namespace

int InitOperatorForMult(OperatorType* O, int n, const OperatorType* first, ...) {
    if (InitOperator(O) != 0) {
        Report("InitOperator failed in InitOperatorForMult");
        return 1;
    }
    O->NF = first->NF;
    O->NB = first->NB;
    O->NWord = first->NWord;
    if (CopyDeterminantRestriction(&O->Restrictions, first->Restrictions, first->NWord) != 0) {
        Report("could not copy the restrictions in InitOperatorForMult");
        FreeOperator(O);
        return 1;
    }
    // The number of term products bounds the number of terms of every length.
    unsigned int total = 0;
    double products = 1.0;
    va_list args;
    va_start(args, first);
    const OperatorType* A = first;
    for (int i = 0; i < n; i++) {
        if (i > 0) A = va_arg(args, const OperatorType*);
        total += A->MaxLength;
        products *= (double)TermCount(*A);
    }
    va_end(args);
    unsigned int productBits = products > 1.0 ? (unsigned int)std::ceil(std::log2(products)) : 0;
    for (unsigned int k = 1; k <= total; k++) {
        unsigned int bits = opalg::KeyBitsBound(O->NF + O->NB, k);
        if (productBits < bits) bits = productBits;
        if (bits < MultMinKeyBits) bits = MultMinKeyBits;
        if (bits > MultMaxKeyBits) bits = MultMaxKeyBits;
        if (InitOperatorFixedLength(O, k, bits) != 0) {
            Report("InitOperatorFixedLength of length %i failed in InitOperatorForMult\n", k);
            FreeOperator(O);
            return 1;
        }
    }
    return 0;
}

int OperatorMultiply(OperatorType* O, OperatorType A, OperatorType B) {
    if (InitOperatorForMult(O, 2, &A, &B) != 0) return 1;
    return OperatorMultiply2(O, A, B);
}

int OperatorMultiplyNormalOrder(OperatorType* O, OperatorType A, OperatorType B, LaderOrderType order) {
    if (InitOperatorForMult(O, 2, &A, &B) != 0) return 1;
    return OperatorMultiply2NormalOrder(O, A, B, 'N', 'N', order);
}

int OperatorMultiply2(OperatorType* O, OperatorType A, OperatorType B) {
    return MultiplyPlain(O, {&A, &B}, nullptr, "OperatorMultiply2");
}

int OperatorMultiply3(OperatorType* O, OperatorType A, OperatorType B, OperatorType C) {
    return MultiplyPlain(O, {&A, &B, &C}, nullptr, "OperatorMultiply3");
}

int OperatorMultiply4(OperatorType* O, OperatorType A, OperatorType B, OperatorType C, OperatorType D) {
    const OperatorType* X[4] = {&A, &B, &C, &D};
    return MultiplyLong(O, X, 4, nullptr, "OperatorMultiply4");
}

int OperatorMultiply5(OperatorType* O, OperatorType A, OperatorType B, OperatorType C, OperatorType D,
                      OperatorType E) {
    const OperatorType* X[5] = {&A, &B, &C, &D, &E};
    return MultiplyLong(O, X, 5, nullptr, "OperatorMultiply5");
}

int OperatorMultiply2NormalOrder(OperatorType* O, OperatorType A, OperatorType B, char opA, char opB,
                                 LaderOrderType order) {
    Factor F[2];
    if (FactorFromChar(&A, opA, &F[0]) != 0 || FactorFromChar(&B, opB, &F[1]) != 0) {
        Report("unknown operation '%c' or '%c' in OperatorMultiply2NormalOrder, expected N, T, C or *\n", opA, opB);
        return 1;
    }
    return MultiplyFactors(O, F, 2, Complex16{1.0, 0.0}, order, "OperatorMultiply2NormalOrder");
}

int OperatorMultiply3NormalOrder(OperatorType* O, OperatorType A, OperatorType B, OperatorType C,
                                 LaderOrderType order) {
    return MultiplyPlain(O, {&A, &B, &C}, order, "OperatorMultiply3NormalOrder");
}

int OperatorMultiply4NormalOrder(OperatorType* O, OperatorType A, OperatorType B, OperatorType C,
                                 OperatorType D, LaderOrderType order) {
    const OperatorType* X[4] = {&A, &B, &C, &D};
    return MultiplyLong(O, X, 4, order, "OperatorMultiply4NormalOrder");
}

int OperatorMultiply5NormalOrder(OperatorType* O, OperatorType A, OperatorType B, OperatorType C,
                                 OperatorType D, OperatorType E, LaderOrderType order) {
    const OperatorType* X[5] = {&A, &B, &C, &D, &E};
    return MultiplyLong(O, X, 5, order, "OperatorMultiply5NormalOrder");
}

int OperatorMultiplyScaledNormalOrder(OperatorType* O, OperatorType A, OperatorType B, double re, double im,
                                      LaderOrderType order) {
    Factor F[2] = {{&A, false, false}, {&B, false, false}};
    return MultiplyFactors(O, F, 2, Complex16{re, im}, order, "OperatorMultiplyScaledNormalOrder");
}

int OperatorMultiplyInline(OperatorType* O, OperatorType A) {
    return MultiplyInline(O, A, nullptr, "OperatorMultiplyInline");
}

int OperatorMultiplyNormalOrderInline(OperatorType* O, OperatorType A, LaderOrderType order) {
    return MultiplyInline(O, A, order, "OperatorMultiplyNormalOrderInline");
}
