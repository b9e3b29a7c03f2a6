// The basis changes of one shell as compact matrices, for callers that work
// with CompactMatrixType.
#include <cstdio>

#include "atomic/basis.h"

namespace {

enum BasisKind { kBasisY, kBasisZ, kBasisK, kBasisJJz };
const char* const kBasisNames[] = {"Y", "Z", "K", "jjz"};

// The matrix from Y to the basis, without spin (jjz: with spin).
int FromY(BasisKind kind, int l, BasisMatrixType* out) {
    switch (kind) {
    case kBasisY: *out = BasisMatrixIdentity(2 * l + 1); return l < 0;
    case kBasisZ: return BasisYToZ(l, out);
    case kBasisK: return BasisYToK(l, out);
    case kBasisJJz: return BasisYToJJz(l, out);
    }
    return 1;
}

// Copies B into a new complex record; the one message of all twelve forms.
int ToCompact(const BasisMatrixType& B, CompactMatrixType* out) {
    out->Ni = static_cast<uint32_t>(B.Ni);
    out->Nj = static_cast<uint32_t>(B.Nj);
    out->QComplex = 1;
    if (InitCompactMatrix(out) != 0) {
        printf("InitCompactMatrix failed in SphericalHarmonicYToZ\n");
        return 1;
    }
    Complex16* d = CompactMatrixComplexData(*out);
    for (size_t k = 0; k < B.a.size(); k++) d[k] = B.a[k];
    return 0;
}

// new <- old = (Y -> new) (Y -> old)^dagger, with spin on both sides as
// soon as one of them is jjz.
int Change(BasisKind from, BasisKind to, int l, CompactMatrixType* out) {
    BasisMatrixType a, b;
    if (FromY(from, l, &a) != 0 || FromY(to, l, &b) != 0) {
        printf("SphericalHarmonic%sTo%s: no basis of momentum l=%d\n", kBasisNames[from],
               kBasisNames[to], l);
        return 1;
    }
    bool spin = from == kBasisJJz || to == kBasisJJz;
    if (spin && from != kBasisJJz) a = BasisMatrixEnlarge(a, 2);
    if (spin && to != kBasisJJz) b = BasisMatrixEnlarge(b, 2);
    return ToCompact(BasisMatrixMultiply(b, BasisMatrixConjugateTranspose(a)), out);
}

}  // namespace

int SphericalHarmonicYToZ(int l, CompactMatrixType* out) { return Change(kBasisY, kBasisZ, l, out); }
int SphericalHarmonicZToY(int l, CompactMatrixType* out) { return Change(kBasisZ, kBasisY, l, out); }
int SphericalHarmonicYToK(int l, CompactMatrixType* out) { return Change(kBasisY, kBasisK, l, out); }
int SphericalHarmonicKToY(int l, CompactMatrixType* out) { return Change(kBasisK, kBasisY, l, out); }
int SphericalHarmonicZToK(int l, CompactMatrixType* out) { return Change(kBasisZ, kBasisK, l, out); }
int SphericalHarmonicKToZ(int l, CompactMatrixType* out) { return Change(kBasisK, kBasisZ, l, out); }
int SphericalHarmonicYTojjz(int l, CompactMatrixType* out) { return Change(kBasisY, kBasisJJz, l, out); }
int SphericalHarmonicjjzToY(int l, CompactMatrixType* out) { return Change(kBasisJJz, kBasisY, l, out); }
int SphericalHarmonicZTojjz(int l, CompactMatrixType* out) { return Change(kBasisZ, kBasisJJz, l, out); }
int SphericalHarmonicjjzToZ(int l, CompactMatrixType* out) { return Change(kBasisJJz, kBasisZ, l, out); }
int SphericalHarmonicKTojjz(int l, CompactMatrixType* out) { return Change(kBasisK, kBasisJJz, l, out); }
int SphericalHarmonicjjzToK(int l, CompactMatrixType* out) { return Change(kBasisJJz, kBasisK, l, out); }

int BasisMatrixToCompactMatrix(const BasisMatrixType& B, CompactMatrixType* out) {
    bool complex = false;
    for (const Complex16& z : B.a) complex = complex || z.im != 0.0;
    out->Ni = static_cast<uint32_t>(B.Ni);
    out->Nj = static_cast<uint32_t>(B.Nj);
    out->QComplex = complex ? 1 : 0;
    if (InitCompactMatrix(out) != 0) return 1;
    for (size_t k = 0; k < B.a.size(); k++) {
        if (complex) {
            CompactMatrixComplexData(*out)[k] = B.a[k];
        } else {
            CompactMatrixRealData(*out)[k] = B.a[k].re;
        }
    }
    return 0;
}
