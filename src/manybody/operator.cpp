// The operator store: creation of lengths, adding and looking up terms,
// conversion of a length to complex values, and freeing.
#include "manybody/operator.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "manybody/hash.h"
#include "manybody/operator_algebra_detail.h"
#include "manybody/zerocut.h"

using opalg::FreeLengthArrays;
using opalg::KeyListSize;
using opalg::Report;

namespace {

void ClearFixedLength(OperatorFixedLengthType* f) { memset(f, 0, sizeof(*f)); }

void FreeFixedLengthStorage(OperatorFixedLengthType* f) {
    FreeLengthArrays(f);
    f->QComplex = 0;
}

// Ensures room for one more term of a length above 0.  The capacity grows by
// the number of modes at a time.  codeBase is 0 on the empty-bucket path and
// 10 on the chain path, for the failure texts.  On failure every array has
// its old size again.
int MakeRoom(OperatorType* O, OperatorFixedLengthType* f, unsigned int length, int codeBase) {
    if (f->N < f->NAloc) return 0;
    uint32_t grow = O->NF + O->NB;
    if (grow == 0) grow = 1;
    size_t oldAloc = f->NAloc, newAloc = oldAloc + grow;
    size_t valueSize = f->QComplex ? sizeof(Complex16) : sizeof(double);
    void* values = f->QComplex ? (void*)f->V : (void*)f->VRe;
    if (oldAloc == 0) {
        uint16_t* o = (uint16_t*)malloc(newAloc * length * sizeof(uint16_t));
        if (o == nullptr) {
            Report("alloc failed OperatorAddLader %02d", codeBase + 1);
            return 1;
        }
        uint32_t* next = (uint32_t*)malloc(newAloc * sizeof(uint32_t));
        if (next == nullptr) {
            free(o);
            Report("alloc failed OperatorAddLader %02d", codeBase + 2);
            return 1;
        }
        void* v = malloc(newAloc * valueSize);
        if (v == nullptr) {
            free(o);
            free(next);
            Report("alloc failed OperatorAddLader %02d", codeBase + 3);
            return 1;
        }
        uint32_t kind = f->QComplex;
        FreeFixedLengthStorage(f);  // a length emptied elsewhere may keep old arrays
        f->QComplex = kind;
        f->o = o;
        f->Next = next;
        if (f->QComplex) f->V = (Complex16*)v; else f->VRe = (double*)v;
        f->NAloc = (uint32_t)newAloc;
        OperatorRecountQComplex(O);
        return 0;
    }
    uint16_t* o = (uint16_t*)realloc(f->o, newAloc * length * sizeof(uint16_t));
    if (o == nullptr) {
        Report("alloc failed OperatorAddLader %02d", codeBase + 1);
        return 1;
    }
    f->o = o;
    uint32_t* next = (uint32_t*)realloc(f->Next, newAloc * sizeof(uint32_t));
    if (next == nullptr) {
        o = (uint16_t*)realloc(f->o, oldAloc * length * sizeof(uint16_t));
        if (o != nullptr) f->o = o;
        Report("alloc failed OperatorAddLader %02d", codeBase + 2);
        return 1;
    }
    f->Next = next;
    void* v = realloc(values, newAloc * valueSize);
    if (v == nullptr) {
        o = (uint16_t*)realloc(f->o, oldAloc * length * sizeof(uint16_t));
        if (o != nullptr) f->o = o;
        next = (uint32_t*)realloc(f->Next, oldAloc * sizeof(uint32_t));
        if (next != nullptr) f->Next = next;
        Report("alloc failed OperatorAddLader %02d", codeBase + 3);
        return 1;
    }
    if (f->QComplex) f->V = (Complex16*)v; else f->VRe = (double*)v;
    f->NAloc = (uint32_t)newAloc;
    return 0;
}

// The constant term (length 0).
int AddConstant(OperatorType* O, double re, double im, bool complex) {
    OperatorFixedLengthType* f = &O->l[0];
    if (f->N != 0) {
        if (f->QComplex) {
            f->V[0].re += re;
            f->V[0].im += im;
        } else {
            f->VRe[0] += re;
        }
        return 0;
    }
    if (complex) {
        if (f->V == nullptr) {
            Complex16* v = (Complex16*)malloc(sizeof(Complex16));
            if (v == nullptr) {
                Report("could not allocate memory for O->l[0].V in ComplexOperatorAddLader");
                return 1;
            }
            free(f->VRe);
            f->VRe = nullptr;
            f->V = v;
        }
        f->V[0] = Complex16{re, im};
    } else {
        if (f->VRe == nullptr) {
            double* v = (double*)malloc(sizeof(double));
            if (v == nullptr) {
                Report("could not allocate memory for O->l[0].VRe in RealOperatorAddLader");
                return 1;
            }
            free(f->V);
            f->V = nullptr;
            f->VRe = v;
        }
        f->VRe[0] = re;
    }
    f->NAloc = 1;
    f->N = 1;
    f->QComplex = complex ? 1 : 0;
    OperatorRecountQComplex(O);
    return 0;
}

inline void StoreValue(OperatorFixedLengthType* f, uint32_t t, double re, double im) {
    if (f->QComplex) {
        f->V[t] = Complex16{re, im};
    } else {
        f->VRe[t] = re;
    }
}

inline void AddValue(OperatorFixedLengthType* f, uint32_t t, double re, double im) {
    if (f->QComplex) {
        f->V[t].re += re;
        f->V[t].im += im;
    } else {
        f->VRe[t] += re;
    }
}

// Adds a term to a length above 0, in the length's own kind (a real value
// to a complex length is added with imaginary part 0).
int AddTerm(OperatorType* O, const uint16_t* o, unsigned int length, double re, double im) {
    OperatorFixedLengthType* f = &O->l[length];
    size_t bytes = 2 * (size_t)length;
    uint32_t h = hash(o, bytes, f->NBitsKey);
    uint32_t t = f->KeyList[h];
    if (t == 0) {
        if (MakeRoom(O, f, length, 0) != 0) return 1;
        uint32_t n = f->N;
        memcpy(f->o + (size_t)n * length, o, bytes);
        f->Next[n] = 0;
        StoreValue(f, n, re, im);
        f->N = n + 1;
        f->KeyList[h] = f->N;
        return 0;
    }
    uint32_t tail;
    do {
        tail = t - 1;
        if (memcmp(f->o + (size_t)tail * length, o, bytes) == 0) {
            AddValue(f, tail, re, im);
            return 0;
        }
        t = f->Next[tail];
    } while (t != 0);
    if (MakeRoom(O, f, length, 10) != 0) return 1;
    uint32_t n = f->N;
    memcpy(f->o + (size_t)n * length, o, bytes);
    f->Next[n] = 0;
    StoreValue(f, n, re, im);
    f->N = n + 1;
    f->Next[tail] = f->N;
    return 0;
}

// 1 when every one of the n values lies in [lo, hi].
template <typename T>
int AllInRange(T lo, T hi, const T* array, unsigned int n) {
    for (unsigned int i = 0; i < n; i++) {
        if (array[i] < lo || array[i] > hi) return 0;
    }
    return 1;
}

// 0-based index of a term of a length above 0, or -1.
long FindTerm(const OperatorType* O, const uint16_t* o, unsigned int length) {
    if (length > O->MaxLength) return -1;
    const OperatorFixedLengthType* f = &O->l[length];
    if (f->N == 0) return -1;
    size_t bytes = 2 * (size_t)length;
    uint32_t t = f->KeyList[hash(o, bytes, f->NBitsKey)];
    while (t != 0) {
        if (memcmp(f->o + (size_t)(t - 1) * length, o, bytes) == 0) return (long)(t - 1);
        t = f->Next[t - 1];
    }
    return -1;
}

}  // namespace

void OperatorRecountQComplex(OperatorType* O) {
    unsigned int used = 0, complex = 0;
    if (O->l != nullptr) {
        for (uint32_t k = 0; k <= O->MaxLength; k++) {
            if (O->l[k].N == 0) continue;
            used++;
            if (O->l[k].QComplex) complex++;
        }
    }
    if (complex == 0) {
        O->QComplex = 0;
    } else {
        O->QComplex = complex == used ? 1 : 2;
    }
}

void OperatorSetName(OperatorType* O, const char* name) {
    strncpy(O->Name, name, 255);
    O->Name[255] = '\0';
}

int InitOperator(OperatorType* O) {
    OperatorSetName(O, "Operator");
    O->QComplex = 0;
    O->NF = 0;
    O->NB = 0;
    O->NWord = 0;
    O->MaxLength = 0;
    InitDeterminantRestriction(&O->Restrictions);
    O->l = (OperatorFixedLengthType*)malloc(sizeof(OperatorFixedLengthType));
    if (O->l == nullptr) {
        Report("Could not allocate OperatorFixedLengthType in InitOperator");
        return 1;
    }
    ClearFixedLength(&O->l[0]);
    return 0;
}

int InitNamedOperator(OperatorType* O, const char* name) {
    if (InitOperator(O) != 0) return 1;
    OperatorSetName(O, name);
    return 0;
}

int InitOperatorFixedLength(OperatorType* O, unsigned int length, unsigned int nbits) {
    if (length == 0) return 0;
    if (length > O->MaxLength) {
        OperatorFixedLengthType* l =
            (OperatorFixedLengthType*)realloc(O->l, ((size_t)length + 1) * sizeof(OperatorFixedLengthType));
        if (l == nullptr) {
            Report("could not allocate memory for OperatorFixedLengthType of length %i in InitOperatorFixedLength\n",
                   length);
            return 1;
        }
        O->l = l;
        // Lengths in between get an empty record with a one-bucket table.
        // On failure MaxLength stays, so the records above it are ignored.
        for (unsigned int k = O->MaxLength + 1; k <= length; k++) {
            ClearFixedLength(&l[k]);
            if (k == length) l[k].NBitsKey = nbits;
            l[k].KeyList = (uint32_t*)calloc(k == length ? KeyListSize(nbits) : 1, sizeof(uint32_t));
            if (l[k].KeyList == nullptr) {
                for (unsigned int j = O->MaxLength + 1; j < k; j++) free(l[j].KeyList);
                Report("could not allocate memory for O->[length=%i].Keylist in InitOperatorFixedLength\n", k);
                return 1;
            }
        }
        O->MaxLength = length;
    } else {
        OperatorFixedLengthType* f = &O->l[length];
        if (f->NAloc != 0) FreeFixedLengthStorage(f);
        f->N = 0;
        f->NAloc = 0;
        f->QComplex = 0;
        uint32_t* keys = (uint32_t*)calloc(KeyListSize(nbits), sizeof(uint32_t));
        if (keys == nullptr) {
            // The length keeps its old width, now with every bucket empty.
            if (f->KeyList != nullptr) memset(f->KeyList, 0, KeyListSize(f->NBitsKey) * sizeof(uint32_t));
            OperatorRecountQComplex(O);
            Report("could not allocate memory for O->[length=%i].Keylist in InitOperatorFixedLength\n", length);
            return 1;
        }
        free(f->KeyList);
        f->KeyList = keys;
        f->NBitsKey = nbits;
    }
    OperatorRecountQComplex(O);
    return 0;
}

int InitOperatorCopySettings(OperatorType* O, OperatorType src) {
    if (InitOperator(O) != 0) {
        Report("could not Initiallize Operator in InitOperatorCopySettings");
        return 1;
    }
    OperatorSetName(O, src.Name);
    O->NF = src.NF;
    O->NB = src.NB;
    O->NWord = src.NWord;
    if (CopyDeterminantRestriction(&O->Restrictions, src.Restrictions, src.NWord) != 0) {
        Report("could not copy the restrictions in InitOperatorCopySettings");
        FreeOperator(O);
        return 1;
    }
    for (uint32_t k = 1; k < src.MaxLength; k++) {
        if (src.l[k].NBitsKey == 0) continue;
        if (InitOperatorFixedLength(O, k, src.l[k].NBitsKey) != 0) {
            Report("could not Initiallize InitOperatorFixedLength of length=%i in InitOperatorCopySettings\n", k);
            FreeOperator(O);
            return 1;
        }
    }
    if (src.MaxLength > 0 && InitOperatorFixedLength(O, src.MaxLength, src.l[src.MaxLength].NBitsKey) != 0) {
        Report("could not Initiallize InitOperatorFixedLength of length=O.MaxLength=%i in InitOperatorCopySettings\n",
               src.MaxLength);
        FreeOperator(O);
        return 1;
    }
    O->QComplex = 0;
    return 0;
}

int RealOperatorAddLader(OperatorType* O, const uint16_t* o, unsigned int length, double re) {
    if (length == 0) return AddConstant(O, re, 0.0, false);
    return AddTerm(O, o, length, re, 0.0);
}

int ComplexOperatorAddLader(OperatorType* O, const uint16_t* o, unsigned int length, double re, double im) {
    if (length == 0) {
        if (O->l[0].N != 0 && !O->l[0].QComplex && MakeRealOperatorFixedLengthComplex(O, 0) != 0) return 1;
        return AddConstant(O, re, im, true);
    }
    OperatorFixedLengthType* f = &O->l[length];
    if (!f->QComplex) {
        // A length without storage just changes its kind; one with terms is
        // converted so that no value is lost.
        if (f->NAloc == 0) {
            f->QComplex = 1;
        } else if (MakeRealOperatorFixedLengthComplex(O, length) != 0) {
            return 1;
        }
    }
    return AddTerm(O, o, length, re, im);
}

int OperatorAddLader(OperatorType* O, const uint16_t* o, unsigned int length, double re, double im) {
    if (O->l[length].QComplex) return ComplexOperatorAddLader(O, o, length, re, im);
    if (fabs(im) < ZeroCut) return RealOperatorAddLader(O, o, length, re);
    if (MakeRealOperatorFixedLengthComplex(O, length) != 0) {
        Report("MakeRealOperatorFixedLengthComplex at length=%i failed in OperatorAddLader\n", length);
        return 1;
    }
    return ComplexOperatorAddLader(O, o, length, re, im);
}

double RealOperatorPrefactorLader(const OperatorType* O, const uint16_t* o, unsigned int length) {
    Complex16 v = ComplexOperatorPrefactorLader(O, o, length);
    return v.re;
}

Complex16 ComplexOperatorPrefactorLader(const OperatorType* O, const uint16_t* o, unsigned int length) {
    if (length > O->MaxLength) return Complex16{0.0, 0.0};
    const OperatorFixedLengthType* f = &O->l[length];
    long t;
    if (length == 0) {
        t = f->N != 0 ? 0 : -1;
    } else {
        t = FindTerm(O, o, length);
    }
    if (t < 0) return Complex16{0.0, 0.0};
    if (f->QComplex) return f->V[t];
    return Complex16{f->VRe[t], 0.0};
}

int MakeRealOperatorFixedLengthComplex(OperatorType* O, unsigned int length) {
    if (length > O->MaxLength) {
        Report("Warning in MakeRealOperatorFixedLengthComplex:\nTried to make a real operator of length %i complex, "
               "but Maxlength is %i\n",
               length, O->MaxLength);
        return 1;
    }
    OperatorFixedLengthType* f = &O->l[length];
    if (f->QComplex) return 0;
    if (f->NAloc == 0) {
        f->QComplex = 1;
        return 0;
    }
    Complex16* v = (Complex16*)malloc((size_t)f->NAloc * sizeof(Complex16));
    if (v == nullptr) {
        Report("Cloud not allocate memory for O-l[%i].V in MakeRealOperatorFixedLengthComplex\n", length);
        return 1;
    }
    for (uint32_t t = 0; t < f->N; t++) v[t] = Complex16{f->VRe[t], 0.0};
    free(f->VRe);
    f->VRe = nullptr;
    f->V = v;
    f->QComplex = 1;
    OperatorRecountQComplex(O);
    return 0;
}

void FreeOperator(OperatorType* O) {
    FreeDeterminantRestriction(&O->Restrictions);
    if (O->l != nullptr) {
        free(O->l[0].VRe);
        free(O->l[0].V);
        for (uint32_t k = 1; k <= O->MaxLength; k++) {
            free(O->l[k].KeyList);
            FreeFixedLengthStorage(&O->l[k]);
        }
        free(O->l);
    }
    O->l = nullptr;
    OperatorSetName(O, "Free Operator");
    O->QComplex = 0;
    O->NF = 0;
    O->NB = 0;
    O->NWord = 0;
    O->MaxLength = 0;
}

int Test_uint8_t_array_in_range(uint8_t lo, uint8_t hi, const uint8_t* array, unsigned int n) {
    return AllInRange(lo, hi, array, n);
}

int Test_uint16_t_array_in_range(uint16_t lo, uint16_t hi, const uint16_t* array, unsigned int n) {
    return AllInRange(lo, hi, array, n);
}

int Test_uint32_t_array_in_range(uint32_t lo, uint32_t hi, const uint32_t* array, unsigned int n) {
    return AllInRange(lo, hi, array, n);
}
