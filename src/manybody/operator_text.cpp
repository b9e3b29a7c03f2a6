// The readable term list of an operator as a string.
#include "manybody/operator_text.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

// A growing text; after a failed allocation it is emptied and stays failed.
struct TextBuffer {
    char* data = nullptr;
    size_t len = 0;
    size_t cap = 0;
    bool failed = false;
};

__attribute__((format(printf, 2, 3))) void Append(TextBuffer* b, const char* format, ...) {
    if (b->failed) return;
    va_list args;
    va_start(args, format);
    va_list measure;
    va_copy(measure, args);
    int n = vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (n < 0) n = 0;
    if (b->len + (size_t)n + 1 > b->cap) {
        size_t cap = 2 * b->cap + (size_t)n + 4096;
        char* grown = (char*)realloc(b->data, cap);
        if (grown == nullptr) {
            va_end(args);
            free(b->data);
            *b = TextBuffer();
            b->failed = true;
            return;
        }
        b->data = grown;
        b->cap = cap;
    }
    vsnprintf(b->data + b->len, b->cap - b->len, format, args);
    va_end(args);
    b->len += (size_t)n;
}

}  // namespace

char* StringPrintOperatorReadable(OperatorType O) {
    TextBuffer b;
    Append(&b, "\nOperator: %s\n", O.Name);
    Append(&b, "QComplex         = %10i (Real==0 or Complex==1 or Mixed==2)\n", (int)O.QComplex);
    Append(&b, "MaxLength        = %10i (largest number of product of lader operators)\n", (int)O.MaxLength);
    Append(&b,
           "NFermionic modes = %10i (Number of fermionic modes (site, spin, orbital, ...) in the one particle "
           "basis)\n",
           (int)O.NF);
    Append(&b, "NBosonic modes   = %10i (Number of bosonic modes (phonon modes, ...) in the one particle basis)\n",
           (int)O.NB);
    for (uint32_t length = 0; O.l != nullptr && length <= O.MaxLength; length++) {
        const OperatorFixedLengthType& f = O.l[length];
        if (f.N == 0) continue;
        Append(&b, "\nOperator of Length %3i\n", (int)length);
        Append(&b, "QComplex      = %10i (Real==0 or Complex==1)\n", (int)f.QComplex);
        Append(&b, "N             = %10i (number of operators of length %3i)\n", (int)f.N, (int)length);
        for (uint32_t t = 0; t < f.N; t++) {
            const uint16_t* o = f.o + (size_t)t * length;
            for (unsigned int k = length; k-- > 0;) {
                Append(&b, "%s%3i ", (o[k] & LaderCreation) ? "C" : "A", (int)(o[k] & LaderModeMask));
            }
            if (f.QComplex) {
                Append(&b, "| %21.14E %21.14E\n", f.V[t].re, f.V[t].im);
            } else {
                Append(&b, "| %21.14E\n", f.VRe[t]);
            }
        }
    }
    Append(&b, "\n");
    if (b.failed) {
        printf("ERROR: malloc failed in StringPrintOperatorReadable\n");
        return nullptr;
    }
    return b.data;
}
