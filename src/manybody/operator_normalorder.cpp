// Canonical orders of ladders, the ordered add with its contractions, normal
// ordering of whole operators and sums of operators.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "manybody/operator_algebra.h"
#include "manybody/operator_algebra_detail.h"
#include "manybody/zerocut.h"

using opalg::Report;

namespace {

inline bool IsBoson(uint16_t c, uint32_t NF) { return (uint32_t)(c & LaderModeMask) >= NF; }
inline bool SameKind(uint16_t a, uint16_t b) { return ((a ^ b) & LaderCreation) == 0; }

// The fermion half of an order.  In storage the pair must ascend in
// a ^ flip: with flip 0 the annihilators come first in storage (creators
// written to the left), with flip 0x8000 the creators come first.
inline int FermionRule(uint16_t a, uint16_t b, uint16_t flip) {
    if (a == b) return LaderVanishes;
    uint16_t x = (uint16_t)(a ^ flip), y = (uint16_t)(b ^ flip);
    if (x < y) return SameKind(a, b) ? LaderSwapFermionSign : LaderSwapFermionPairContract;
    return LaderInOrder;
}

// The boson half, called for a boson a: bosons are applied before fermions.
inline int BosonRule(uint16_t a, uint16_t b, uint32_t NF, uint16_t flip, int contraction) {
    if (!IsBoson(b, NF)) return LaderSwap;
    uint16_t x = (uint16_t)(a ^ flip), y = (uint16_t)(b ^ flip);
    if (x < y) return SameKind(a, b) ? LaderSwap : contraction;
    return LaderInOrder;
}

// Flip values: 0 keeps storage ascending in the code (creators written left),
// 0x8000 reverses the roles of creators and annihilators.
const uint16_t CreatorsLeft = 0;
const uint16_t AnnihilatorsLeft = 0x8000;

inline int CombinedRule(uint16_t a, uint16_t b, uint32_t NF, uint16_t fermionFlip, uint16_t bosonFlip) {
    if (IsBoson(a, NF)) {
        return BosonRule(a, b, NF, bosonFlip,
                         bosonFlip == CreatorsLeft ? LaderSwapBosonContractPlus : LaderSwapBosonContractMinus);
    }
    if (IsBoson(b, NF)) return LaderInOrder;
    return FermionRule(a, b, fermionFlip);
}

enum class AddKind { Real, Complex, Plain };

struct OrderedAdd {
    OperatorType* O;
    LaderOrderType order;
    AddKind kind;
};

const char* KindName(AddKind kind) {
    switch (kind) {
        case AddKind::Real: return "RealOperatorAddLaderNormalOrder";
        case AddKind::Complex: return "ComplexOperatorAddLaderNormalOrder";
        default: return "OperatorAddLaderNormalOrder";
    }
}

// Stores one ordered term in the kind of the add.
int StoreTerm(OperatorType* O, const uint16_t* o, unsigned int length, double re, double im, AddKind kind) {
    switch (kind) {
        case AddKind::Real:
            if (O->l[length].QComplex) return ComplexOperatorAddLader(O, o, length, re, 0.0);
            return RealOperatorAddLader(O, o, length, re);
        case AddKind::Complex:
            return ComplexOperatorAddLader(O, o, length, re, im);
        default:
            if (O->l[length].QComplex) return ComplexOperatorAddLader(O, o, length, re, im);
            if (std::fabs(im) < ZeroCut) return RealOperatorAddLader(O, o, length, re);
            if (MakeRealOperatorFixedLengthComplex(O, length) != 0) {
                Report("MakeRealOperatorFixedLengthComplex at length=%i failed in OperatorAddLaderNormalOrder\n",
                       length);
                return 1;
            }
            return ComplexOperatorAddLader(O, o, length, re, im);
    }
}

// Insertion sort of a working copy of the codes.  Each ladder at position j
// moves down while the order asks for a swap; a swap of a creator past an
// annihilator of the same mode first adds the contracted term, made of the
// remaining codes (sorted or not), through this same function.
int AddSorted(const OrderedAdd& ctx, const uint16_t* o, unsigned int length, double re, double im) {
    uint16_t local[32];
    uint16_t* w = local;
    if (length > 32) {
        w = (uint16_t*)malloc((size_t)length * 2 * sizeof(uint16_t));
        if (w == nullptr) {
            Report("could not allocate memory for a term of length %i in %s\n", length, KindName(ctx.kind));
            return 1;
        }
    }
    // The second half of w is the scratch term of a contraction.
    uint16_t localRest[32];
    uint16_t* rest = length > 32 ? w + length : localRest;
    if (length > 0) memcpy(w, o, (size_t)length * sizeof(uint16_t));
    const uint32_t NF = ctx.O->NF;
    double sign = 1.0;
    int status = 0;
    bool vanished = false;
    for (unsigned int j = 1; j < length && !vanished && status == 0; j++) {
        for (unsigned int k = j; k > 0; k--) {
            int code = ctx.order(w[k], w[k - 1], NF);
            if (code == LaderInOrder) break;
            if (code == LaderVanishes) {
                vanished = true;
                break;
            }
            bool contract = (code == LaderSwapFermionPairContract || code == LaderSwapBosonContractPlus ||
                             code == LaderSwapBosonContractMinus) &&
                            ((w[k] ^ w[k - 1]) & LaderModeMask) == 0;
            if (contract) {
                unsigned int r = 0;
                for (unsigned int i = 0; i < length; i++) {
                    if (i != k && i != k - 1) rest[r++] = w[i];
                }
                double f = code == LaderSwapBosonContractMinus ? -sign : sign;
                if (AddSorted(ctx, rest, length - 2, re * f, im * f) != 0) {
                    Report("%s with operator of length %i failed in %s", KindName(ctx.kind), length - 2,
                           KindName(ctx.kind));
                    status = 1;
                    break;
                }
            }
            uint16_t t = w[k];
            w[k] = w[k - 1];
            w[k - 1] = t;
            if (code == LaderSwapFermionPairContract || code == LaderSwapFermionSign) sign = -sign;
        }
    }
    if (status == 0 && !vanished) status = StoreTerm(ctx.O, w, length, re * sign, im * sign, ctx.kind);
    if (w != local) free(w);
    return status;
}

int AddOrderedChecked(OperatorType* O, const uint16_t* o, unsigned int length, double re, double im,
                      LaderOrderType order, AddKind kind) {
    if (length > O->MaxLength) {
        Report("%s called with a term of length %i above MaxLength %i\n", KindName(kind), length, O->MaxLength);
        return 1;
    }
    OrderedAdd ctx{O, order, kind};
    return AddSorted(ctx, o, length, re, im);
}

// The longest length of A that holds terms (0 when none does).
unsigned int LongestUsedLength(const OperatorType& A) {
    unsigned int longest = 0;
    for (unsigned int k = 1; k <= A.MaxLength; k++) {
        if (A.l[k].N != 0) longest = k;
    }
    return longest;
}

// O := O + (re + i im) A through the plain or the ordered add.
int AddOperatorInto(OperatorType* O, const OperatorType& A, double re, double im, LaderOrderType order,
                    const char* caller) {
    unsigned int longest = LongestUsedLength(A);
    if (longest > O->MaxLength && InitOperatorFixedLength(O, longest, A.l[longest].NBitsKey) != 0) {
        Report("could not make length %i in %s\n", longest, caller);
        return 1;
    }
    // Lengths that were made empty (with a one-bucket table) get A's width;
    // for ordered adds, which send contractions to shorter lengths, at least
    // the width of A's longest length as far as that length can use it.
    for (unsigned int k = 1; k <= longest; k++) {
        unsigned int want = A.l[k].NBitsKey;
        if (order) {
            unsigned int bound = opalg::KeyBitsBound(O->NF + O->NB, k);
            unsigned int wide = A.l[longest].NBitsKey < bound ? A.l[longest].NBitsKey : bound;
            if (wide > want) want = wide;
        }
        if (O->l[k].N == 0 && O->l[k].NBitsKey < want && InitOperatorFixedLength(O, k, want) != 0) {
            Report("could not make length %i in %s\n", k, caller);
            return 1;
        }
    }
    const Complex16 factor{re, im};
    const bool realFactor = std::fabs(im) < ZeroCut;
    for (unsigned int k = 0; k <= longest; k++) {
        const OperatorFixedLengthType& f = A.l[k];
        if (f.N == 0) continue;
        for (uint32_t t = 0; t < f.N; t++) {
            const uint16_t* codes = k > 0 ? f.o + (size_t)t * k : nullptr;
            int status;
            if (!f.QComplex && realFactor) {
                double v = f.VRe[t] * re;
                status = order ? AddOrderedChecked(O, codes, k, v, 0.0, order, AddKind::Real)
                               : (O->l[k].QComplex ? ComplexOperatorAddLader(O, codes, k, v, 0.0)
                                                   : RealOperatorAddLader(O, codes, k, v));
            } else {
                Complex16 v = opalg::TermValue(f, t) * factor;
                status = order ? AddOrderedChecked(O, codes, k, v.re, v.im, order, AddKind::Plain)
                               : OperatorAddLader(O, codes, k, v.re, v.im);
            }
            if (status != 0) {
                Report("adding a term of length %i failed in %s\n", k, caller);
                OperatorRecountQComplex(O);
                return 1;
            }
        }
    }
    OperatorRecountQComplex(O);
    return 0;
}

// The same when A may be O itself: then A is copied first, since adding to O
// moves the arrays that A points at.
int AddOperator(OperatorType* O, const OperatorType& A, double re, double im, LaderOrderType order,
                const char* caller) {
    if (A.l != O->l) return AddOperatorInto(O, A, re, im, order, caller);
    OperatorType copy;
    if (OperatorCopy(&copy, A) != 0) {
        Report("OperatorCopy failed in %s", caller);
        return 1;
    }
    int status = AddOperatorInto(O, copy, re, im, order, caller);
    FreeOperator(&copy);
    return status;
}

}  // namespace

int QDetNotOrderedFcFaBcBa(uint16_t a, uint16_t b, uint32_t NF) {
    return CombinedRule(a, b, NF, CreatorsLeft, CreatorsLeft);
}

int QDetNotOrderedFaFcBaBc(uint16_t a, uint16_t b, uint32_t NF) {
    return CombinedRule(a, b, NF, AnnihilatorsLeft, AnnihilatorsLeft);
}

int QDetNotOrderedFcFaBaBc(uint16_t a, uint16_t b, uint32_t NF) {
    return CombinedRule(a, b, NF, CreatorsLeft, AnnihilatorsLeft);
}

int QDetNotOrderedFaFcBcBa(uint16_t a, uint16_t b, uint32_t NF) {
    return CombinedRule(a, b, NF, AnnihilatorsLeft, CreatorsLeft);
}

int RealOperatorAddLaderNormalOrder(OperatorType* O, const uint16_t* o, unsigned int length, double value,
                                    LaderOrderType order) {
    return AddOrderedChecked(O, o, length, value, 0.0, order, AddKind::Real);
}

int ComplexOperatorAddLaderNormalOrder(OperatorType* O, const uint16_t* o, unsigned int length, double re,
                                       double im, LaderOrderType order) {
    return AddOrderedChecked(O, o, length, re, im, order, AddKind::Complex);
}

int OperatorAddLaderNormalOrder(OperatorType* O, const uint16_t* o, unsigned int length, double re, double im,
                                LaderOrderType order) {
    return AddOrderedChecked(O, o, length, re, im, order, AddKind::Plain);
}

int NormalOrderOperator(OperatorType A, OperatorType* O, LaderOrderType order) {
    if (InitOperatorCopySettings(O, A) != 0) {
        Report("InitOperatorCopySettings failed in NormalOrderOperator");
        return 1;
    }
    if (AddOperator(O, A, 1.0, 0.0, order, "NormalOrderOperator") != 0) return 1;
    SetQComplexOperator(O);
    return 0;
}

int OperatorAdd(OperatorType* O, OperatorType A, double re, double im) {
    return AddOperator(O, A, re, im, nullptr, "OperatorAdd");
}

int OperatorAddNormalOrder(OperatorType* O, OperatorType A, double re, double im, LaderOrderType order) {
    return AddOperator(O, A, re, im, order, "OperatorAddNormalOrder");
}
