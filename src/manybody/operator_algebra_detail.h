// Helpers shared by the sources of the operator store and the operator
// algebra; not part of the interface.
#ifndef SKELDA_MANYBODY_OPERATOR_ALGEBRA_DETAIL_H
#define SKELDA_MANYBODY_OPERATOR_ALGEBRA_DETAIL_H

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/complex16.h"
#include "manybody/operator.h"

namespace opalg {

// Prints one failure line on the standard output (adding the line end when
// the text has none) and flushes it, so that it is seen even if the caller
// recovers.
__attribute__((format(printf, 1, 2))) inline void Report(const char* format, ...) {
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
    size_t n = strlen(format);
    if (n == 0 || format[n - 1] != '\n') putchar('\n');
    fflush(stdout);
}

// Buckets of a hash table of nbits key bits.
inline size_t KeyListSize(uint32_t nbits) { return (size_t)1 << (nbits & 31); }

// Frees the term, chain and value arrays of a length and leaves it without
// terms or capacity; the hash table and the kind stay.
inline void FreeLengthArrays(OperatorFixedLengthType* f) {
    free(f->o);
    free(f->Next);
    free(f->VRe);
    free(f->V);
    f->o = nullptr;
    f->Next = nullptr;
    f->VRe = nullptr;
    f->V = nullptr;
    f->N = 0;
    f->NAloc = 0;
}

// Value of term t of a length, whatever its kind.
inline Complex16 TermValue(const OperatorFixedLengthType& f, uint32_t t) {
    return f.QComplex ? f.V[t] : Complex16{f.VRe[t], 0.0};
}

inline double Magnitude(Complex16 v) { return std::sqrt(v.re * v.re + v.im * v.im); }

// Reverses a term and exchanges creation and annihilation: the codes of the
// transpose of the product.
inline void TransposeCodes(const uint16_t* o, unsigned int length, uint16_t* out) {
    for (unsigned int i = 0; i < length; i++) out[i] = (uint16_t)(o[length - 1 - i] ^ LaderCreation);
}

// Makes length `length` exist (with 2^nbits buckets when it is new).
inline int EnsureOperatorLength(OperatorType* O, unsigned int length, unsigned int nbits) {
    if (length <= O->MaxLength) return 0;
    return InitOperatorFixedLength(O, length, nbits);
}

// Key bits that address every distinct term of a length: ceil(log2 of
// (2 nModes)^length), the number of products of that many ladders.
inline unsigned int KeyBitsBound(uint32_t nModes, unsigned int length) {
    double bits = std::ceil(length * std::log2(2.0 * (nModes > 0 ? nModes : 1)));
    return bits > 31.0 ? 31u : (unsigned int)bits;
}

}  // namespace opalg

#endif
