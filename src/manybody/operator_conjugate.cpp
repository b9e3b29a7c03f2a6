// Conjugation and transposition, cleaning of small prefactors, scaling,
// copying, and the real-or-complex bookkeeping of operators.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "manybody/hash.h"
#include "manybody/operator_algebra.h"
#include "manybody/operator_algebra_detail.h"
#include "manybody/zerocut.h"

using opalg::FreeLengthArrays;
using opalg::KeyListSize;
using opalg::Report;

namespace {

// Keeps the terms of a length above 0 for which keep(t) holds, in their
// order, and rebuilds the hash chains over them.  N changes; the arrays keep
// their capacity.
template <class Keep>
void CompactLength(OperatorFixedLengthType* f, unsigned int length, Keep keep) {
    memset(f->KeyList, 0, KeyListSize(f->NBitsKey) * sizeof(uint32_t));
    const size_t bytes = (size_t)length * sizeof(uint16_t);
    uint32_t n = 0;
    for (uint32_t t = 0; t < f->N; t++) {
        if (!keep(t)) continue;
        if (n != t) {
            memmove(f->o + (size_t)n * length, f->o + (size_t)t * length, bytes);
            if (f->QComplex) f->V[n] = f->V[t]; else f->VRe[n] = f->VRe[t];
        }
        f->Next[n] = 0;
        uint32_t h = hash(f->o + (size_t)n * length, bytes, f->NBitsKey);
        uint32_t s = f->KeyList[h];
        if (s == 0) {
            f->KeyList[h] = n + 1;
        } else {
            while (f->Next[s - 1] != 0) s = f->Next[s - 1];
            f->Next[s - 1] = n + 1;
        }
        n++;
    }
    f->N = n;
}

// Whether every imaginary part of a complex length is below limit.
bool ImaginaryBelow(const OperatorFixedLengthType& f, double limit) {
    for (uint32_t t = 0; t < f.N; t++) {
        if (!(std::fabs(f.V[t].im) < limit)) return false;
    }
    return true;
}

// Replaces the values of a complex length by their real parts; 1, with
// nothing changed, when the real array can not be had.
int KeepRealParts(OperatorFixedLengthType* f) {
    if (f->NAloc == 0) {
        f->QComplex = 0;
        return 0;
    }
    double* re = (double*)malloc((size_t)f->NAloc * sizeof(double));
    if (re == nullptr) return 1;
    for (uint32_t t = 0; t < f->N; t++) re[t] = f->V[t].re;
    free(f->V);
    f->V = nullptr;
    f->VRe = re;
    f->QComplex = 0;
    return 0;
}

// Gives a complex length real values when every imaginary part is below
// limit.  Returns 1 only when the real array could not be had (the length
// stays complex, with those imaginary parts set to 0).
int MakeComplexLengthRealBelow(OperatorFixedLengthType* f, double limit) {
    if (!f->QComplex || !ImaginaryBelow(*f, limit)) return 0;
    if (KeepRealParts(f) == 0) return 0;
    for (uint32_t t = 0; t < f->N; t++) f->V[t].im = 0.0;
    return 1;
}

// Shrinks one array of a length to n entries, or ends the process.
template <typename T>
void ShrinkOrExit(T*& p, size_t n, unsigned int j, const char* field, const char* caller) {
    T* q = (T*)realloc(p, n * sizeof(T));
    if (q == nullptr) {
        Report("realloc failed for O->l[j=%i].%s in %s\n This should not happen\n No clue how to recover\n", j, field,
               caller);
        exit(1);
    }
    p = q;
}

// Shrinks the arrays of a length above 0 to its N terms.  A shrinking
// realloc that fails leaves nothing sensible to do: the process ends.
void ShrinkLength(OperatorFixedLengthType* f, unsigned int length, unsigned int j, const char* caller) {
    if (f->N == f->NAloc) return;
    if (f->N == 0) {
        FreeLengthArrays(f);
        return;
    }
    ShrinkOrExit(f->o, (size_t)f->N * length, j, "o", caller);
    ShrinkOrExit(f->Next, f->N, j, "Next", caller);
    if (f->QComplex)
        ShrinkOrExit(f->V, f->N, j, "V", caller);
    else
        ShrinkOrExit(f->VRe, f->N, j, "VRe", caller);
    f->NAloc = f->N;
}

// The constant term: dropped when keep fails, made real when its imaginary
// part is below limit.
template <class Keep>
void CleanConstant(OperatorFixedLengthType* f, Keep keep, double limit, const char* caller) {
    if (f->N == 0) return;
    if (!keep(0)) {
        free(f->VRe);
        free(f->V);
        f->VRe = nullptr;
        f->V = nullptr;
        f->N = 0;
        f->NAloc = 0;
        f->QComplex = 0;
        return;
    }
    if (f->QComplex && std::fabs(f->V[0].im) < limit) {
        double* re = (double*)malloc(sizeof(double));
        if (re == nullptr) {
            Report("could not allocate memory for O->l[0].VRe in %s", caller);
            f->V[0].im = 0.0;
            return;
        }
        re[0] = f->V[0].re;
        free(f->V);
        f->V = nullptr;
        f->VRe = re;
        f->QComplex = 0;
    }
}

// O := transpose or conjugate transpose of A, plain or ordered.
int TransposeOperator(const OperatorType& A, OperatorType* O, bool conjugate, LaderOrderType order,
                      const char* caller) {
    if (InitOperatorCopySettings(O, A) != 0) {
        Report("InitOperatorCopySettings failed in %s", caller);
        return 1;
    }
    uint16_t local[64];
    uint16_t* codes = local;
    if (A.MaxLength > 64) {
        codes = (uint16_t*)malloc((size_t)A.MaxLength * sizeof(uint16_t));
        if (codes == nullptr) {
            Report("could not allocate memory for a term in %s", caller);
            FreeOperator(O);
            return 1;
        }
    }
    int status = 0;
    for (unsigned int k = 0; k <= A.MaxLength && status == 0; k++) {
        const OperatorFixedLengthType& f = A.l[k];
        for (uint32_t t = 0; t < f.N; t++) {
            if (k > 0) opalg::TransposeCodes(f.o + (size_t)t * k, k, codes);
            if (f.QComplex) {
                Complex16 v = f.V[t];
                if (conjugate) v.im = -v.im;
                status = order ? ComplexOperatorAddLaderNormalOrder(O, codes, k, v.re, v.im, order)
                               : ComplexOperatorAddLader(O, codes, k, v.re, v.im);
            } else {
                status = order ? RealOperatorAddLaderNormalOrder(O, codes, k, f.VRe[t], order)
                               : (O->l[k].QComplex ? ComplexOperatorAddLader(O, codes, k, f.VRe[t], 0.0)
                                                   : RealOperatorAddLader(O, codes, k, f.VRe[t]));
            }
            if (status != 0) {
                Report("adding a term of length %i failed in %s\n", k, caller);
                break;
            }
        }
    }
    if (codes != local) free(codes);
    OperatorRecountQComplex(O);
    return status;
}

}  // namespace

int OperatorConjugateTranspose(OperatorType A, OperatorType* O) {
    return TransposeOperator(A, O, true, nullptr, "OperatorConjugateTranspose");
}

int OperatorConjugateTransposeNormalOrder(OperatorType A, OperatorType* O, LaderOrderType order) {
    return TransposeOperator(A, O, true, order, "OperatorConjugateTransposeNormalOrder");
}

int OperatorTranspose(OperatorType A, OperatorType* O) {
    return TransposeOperator(A, O, false, nullptr, "OperatorTranspose");
}

int OperatorTransposeNormalOrder(OperatorType A, OperatorType* O, LaderOrderType order) {
    return TransposeOperator(A, O, false, order, "OperatorTransposeNormalOrder");
}

void OperatorComplexConjugate(OperatorType* O) {
    for (unsigned int k = 0; k <= O->MaxLength; k++) {
        OperatorFixedLengthType* f = &O->l[k];
        if (!f->QComplex) continue;
        for (uint32_t t = 0; t < f->N; t++) f->V[t].im = -f->V[t].im;
    }
}

int OperatorRemoveSmallValues(OperatorType* O, double eps) {
    const char* caller = "OperatorRemoveSmallValues";
    for (unsigned int k = 0; k <= O->MaxLength; k++) {
        OperatorFixedLengthType* f = &O->l[k];
        auto keep = [f, eps](uint32_t t) { return !(opalg::Magnitude(opalg::TermValue(*f, t)) < eps); };
        if (k == 0) {
            CleanConstant(f, keep, eps, caller);
            continue;
        }
        if (f->NAloc == 0) continue;
        CompactLength(f, k, keep);
        if (MakeComplexLengthRealBelow(f, eps) != 0) {
            Report("allocating memory for real part of operator failed. Continue with complex operator with Im "
                   "entries that are zero.");
        }
        ShrinkLength(f, k, k, caller);
    }
    OperatorRecountQComplex(O);
    return 0;
}

int OperatorChop(OperatorType* O, double eps) {
    const char* caller = "OperatorChop";
    for (unsigned int k = 0; k <= O->MaxLength; k++) {
        OperatorFixedLengthType* f = &O->l[k];
        for (uint32_t t = 0; t < f->N; t++) {
            if (f->QComplex) {
                if (std::fabs(f->V[t].re) < eps) f->V[t].re = 0.0;
                if (std::fabs(f->V[t].im) < eps) f->V[t].im = 0.0;
            } else if (std::fabs(f->VRe[t]) < eps) {
                f->VRe[t] = 0.0;
            }
        }
        auto keep = [f](uint32_t t) {
            Complex16 v = opalg::TermValue(*f, t);
            return v.re != 0.0 || v.im != 0.0;
        };
        if (k == 0) {
            CleanConstant(f, keep, ZeroCut, caller);
            continue;
        }
        if (f->NAloc == 0) continue;
        CompactLength(f, k, keep);
        if (MakeComplexLengthRealBelow(f, ZeroCut) != 0) {
            Report("allocating memory for real part of operator failed. Continue with complex operator with Im "
                   "entries that are zero.");
        }
        ShrinkLength(f, k, k, caller);
    }
    OperatorRecountQComplex(O);
    return 0;
}

int OperatorScale(OperatorType* O, double re, double im) {
    const Complex16 z{re, im};
    for (unsigned int k = 0; k <= O->MaxLength; k++) {
        OperatorFixedLengthType* f = &O->l[k];
        if (f->N == 0) continue;
        if (!f->QComplex && im != 0.0 && MakeRealOperatorFixedLengthComplex(O, k) != 0) {
            Report("MakeRealOperatorFixedLengthComplex at length=%i failed in OperatorScale\n", k);
            OperatorRecountQComplex(O);
            return 1;
        }
        if (f->QComplex) {
            for (uint32_t t = 0; t < f->N; t++) f->V[t] = f->V[t] * z;
        } else {
            for (uint32_t t = 0; t < f->N; t++) f->VRe[t] *= re;
        }
    }
    OperatorRecountQComplex(O);
    return 0;
}

int OperatorFixedLengthCopy(OperatorFixedLengthType* dst, const OperatorFixedLengthType* src, unsigned int length) {
    // Whatever dst held is replaced; its hash table is made anew at src's width.
    FreeLengthArrays(dst);
    dst->QComplex = src->QComplex;
    if (length > 0) {
        size_t keys = KeyListSize(src->NBitsKey);
        uint32_t* keyList = (uint32_t*)malloc(keys * sizeof(uint32_t));
        if (keyList == nullptr) {
            Report("malloc failed for KeyList in OperatorFixedLengthCopy");
            if (dst->KeyList != nullptr) memset(dst->KeyList, 0, KeyListSize(dst->NBitsKey) * sizeof(uint32_t));
            return 1;
        }
        memcpy(keyList, src->KeyList, keys * sizeof(uint32_t));
        free(dst->KeyList);
        dst->KeyList = keyList;
        dst->NBitsKey = src->NBitsKey;
    }
    uint32_t n = src->N;
    if (n == 0) return 0;
    if (length > 0) {
        dst->o = (uint16_t*)malloc((size_t)n * length * sizeof(uint16_t));
        if (dst->o == nullptr) {
            Report("malloc failed for o in OperatorFixedLengthCopy");
            memset(dst->KeyList, 0, KeyListSize(dst->NBitsKey) * sizeof(uint32_t));
            return 1;
        }
        dst->Next = (uint32_t*)malloc((size_t)n * sizeof(uint32_t));
        if (dst->Next == nullptr) {
            Report("malloc failed for Next in OperatorFixedLengthCopy");
            free(dst->o);
            dst->o = nullptr;
            memset(dst->KeyList, 0, KeyListSize(dst->NBitsKey) * sizeof(uint32_t));
            return 1;
        }
        memcpy(dst->o, src->o, (size_t)n * length * sizeof(uint16_t));
        memcpy(dst->Next, src->Next, (size_t)n * sizeof(uint32_t));
    }
    if (src->QComplex) {
        dst->V = (Complex16*)malloc((size_t)n * sizeof(Complex16));
        if (dst->V != nullptr) memcpy(dst->V, src->V, (size_t)n * sizeof(Complex16));
    } else {
        dst->VRe = (double*)malloc((size_t)n * sizeof(double));
        if (dst->VRe != nullptr) memcpy(dst->VRe, src->VRe, (size_t)n * sizeof(double));
    }
    if (dst->V == nullptr && dst->VRe == nullptr) {
        Report(src->QComplex ? "malloc failed for V in OperatorFixedLengthCopy"
                             : "malloc failed for VRe in OperatorFixedLengthCopy");
        free(dst->o);
        free(dst->Next);
        dst->o = nullptr;
        dst->Next = nullptr;
        if (length > 0) memset(dst->KeyList, 0, KeyListSize(dst->NBitsKey) * sizeof(uint32_t));
        return 1;
    }
    dst->N = n;
    dst->NAloc = n;
    return 0;
}

int OperatorCopy(OperatorType* O, OperatorType A) {
    if (InitOperatorCopySettings(O, A) != 0) {
        Report("InitOperatorCopySettings failed in OperatorCopy");
        return 1;
    }
    for (unsigned int k = 0; k <= A.MaxLength; k++) {
        if (OperatorFixedLengthCopy(&O->l[k], &A.l[k], k) != 0) {
            Report("OperatorFixedLengthCopy for length=%i failed in OperatorCopy\n", k);
            FreeOperator(O);
            return 1;
        }
    }
    O->QComplex = A.QComplex;
    return 0;
}

void SetQComplexOperator(OperatorType* O) {
    for (unsigned int k = 0; k <= O->MaxLength; k++) {
        OperatorFixedLengthType* f = &O->l[k];
        // When the real array can't be had the length stays complex, which
        // is still correct.
        if (f->QComplex && ImaginaryBelow(*f, ZeroCut)) KeepRealParts(f);
    }
    OperatorRecountQComplex(O);
}
