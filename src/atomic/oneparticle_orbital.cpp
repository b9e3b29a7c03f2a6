// Orbital and total angular momentum and l.s of one shell of momentum l.
#include <cmath>

#include "atomic/oneparticle.h"
#include "atomic/oneparticle_detail.h"

using namespace oneparticle;

namespace {

const double kZero[4] = {0.0, 0.0, 0.0, 0.0};
const double kSzRe[4] = {-0.5, 0.0, 0.0, 0.5};
const double kSplusRe[4] = {0.0, 0.0, 1.0, 0.0};
const double kSminRe[4] = {0.0, 1.0, 0.0, 0.0};

enum Component { kX, kY, kZ, kPlus, kMin, kSqr };

// The ladder and z lists of L (withSpin false) or J = L + S (withSpin true)
// over nlist lists of 2l+1 modes (up and dn, or one list without spin).
struct Momentum {
    ScopedTermList plus, min, z;
};

int MomentumTerms(Momentum* M, int l, const uint16_t* const* lists, unsigned nlist, bool withSpin,
                  const char* who) {
    unsigned n = (unsigned)(2 * l + 1);
    if (InitTermList(&M->plus.list, 2 * n * nlist, who) != 0 || InitTermList(&M->min.list, 2 * n * nlist, who) != 0 ||
        InitTermList(&M->z.list, 2 * n * nlist, who) != 0)
        return 1;
    if (LplusTerms(&M->plus.list, l, lists, nlist, who) != 0 || LminTerms(&M->min.list, l, lists, nlist, who) != 0 ||
        LzTerms(&M->z.list, l, lists, nlist, who) != 0)
        return 1;
    if (!withSpin) return 0;
    const uint16_t* up = lists[0];
    const uint16_t* dn = lists[1];
    if (SpinTerms(&M->plus.list, n, up, dn, kSplusRe, kZero, who) != 0 ||
        SpinTerms(&M->min.list, n, up, dn, kSminRe, kZero, who) != 0 ||
        SpinTerms(&M->z.list, n, up, dn, kSzRe, kZero, who) != 0)
        return 1;
    return 0;
}

// One component of L or J: x = (+ + -)/2, y = (-i + + i -)/2, and the
// square z z + (+ - + - +)/2.
int MomentumOperator(uint32_t NF, int l, const uint16_t* const* lists, unsigned nlist, bool withSpin,
                     Component c, const char* name, const char* who, OperatorType* O) {
    Momentum M;
    if (MomentumTerms(&M, l, lists, nlist, withSpin, who) != 0) return 1;
    if (Begin(O, NF, name, c == kSqr ? 4 : 2) != 0) return 1;
    int bad = 0;
    switch (c) {
        case kX:
            bad = AddTerms(O, M.plus.list, 0.5, 0.0) || AddTerms(O, M.min.list, 0.5, 0.0);
            break;
        case kY:
            bad = MakeComplex(O) || AddTerms(O, M.plus.list, 0.0, -0.5) || AddTerms(O, M.min.list, 0.0, 0.5);
            break;
        case kZ:
            bad = AddTerms(O, M.z.list, 1.0, 0.0);
            break;
        case kPlus:
            bad = AddTerms(O, M.plus.list, 1.0, 0.0);
            break;
        case kMin:
            bad = AddTerms(O, M.min.list, 1.0, 0.0);
            break;
        case kSqr:
            bad = AddProducts(O, M.z.list, M.z.list, 1.0, 0.0) ||
                  AddProducts(O, M.plus.list, M.min.list, 0.5, 0.0) ||
                  AddProducts(O, M.min.list, M.plus.list, 0.5, 0.0);
            break;
    }
    if (bad) return Fail(O);
    return Finish(O);
}

int L(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, Component c, const char* name, const char* who,
      OperatorType* O) {
    const uint16_t* lists[2] = {up, dn};
    return MomentumOperator(NF, l, lists, 2, false, c, name, who, O);
}

int LNoSpin(uint32_t NF, int l, const uint16_t* idx, Component c, const char* name, const char* who,
            OperatorType* O) {
    const uint16_t* lists[1] = {idx};
    return MomentumOperator(NF, l, lists, 1, false, c, name, who, O);
}

int J(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, Component c, const char* name, const char* who,
      OperatorType* O) {
    const uint16_t* lists[2] = {up, dn};
    return MomentumOperator(NF, l, lists, 2, true, c, name, who, O);
}

// An empty operator for the bases in which Lx has no terms.
int EmptyLx(uint32_t NF, OperatorType* O) {
    if (Begin(O, NF, "Lx", 2) != 0) return 1;
    return 0;
}

}  // namespace

int CreateOperatorLx(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return L(NF, l, up, dn, kX, "Lx", "CreateOperatorLx", O);
}
int CreateOperatorLy(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return L(NF, l, up, dn, kY, "Ly", "CreateOperatorLy", O);
}
int CreateOperatorLz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return L(NF, l, up, dn, kZ, "Lz", "CreateOperatorLz", O);
}
int CreateOperatorLplus(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return L(NF, l, up, dn, kPlus, "L^+", "CreateOperatorLplus", O);
}
int CreateOperatorLmin(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return L(NF, l, up, dn, kMin, "L^-", "CreateOperatorLmin", O);
}
int CreateOperatorLsqr(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return L(NF, l, up, dn, kSqr, "L^2", "CreateOperatorLsqr", O);
}

int CreateOperatorLxNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O) {
    return LNoSpin(NF, l, idx, kX, "Lx", "CreateOperatorLxNoSpin", O);
}
int CreateOperatorLyNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O) {
    return LNoSpin(NF, l, idx, kY, "Ly", "CreateOperatorLyNoSpin", O);
}
int CreateOperatorLzNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O) {
    return LNoSpin(NF, l, idx, kZ, "Lz", "CreateOperatorLzNoSpin", O);
}
int CreateOperatorLplusNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O) {
    return LNoSpin(NF, l, idx, kPlus, "L^+", "CreateOperatorLplusNoSpin", O);
}
int CreateOperatorLminNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O) {
    return LNoSpin(NF, l, idx, kMin, "L^-", "CreateOperatorLminNoSpin", O);
}
int CreateOperatorLsqrNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O) {
    return LNoSpin(NF, l, idx, kSqr, "L^2", "CreateOperatorLsqrNoSpin", O);
}

int CreateOperatorLxZ(uint32_t NF, int, const uint16_t*, const uint16_t*, OperatorType* O) {
    return EmptyLx(NF, O);
}
int CreateOperatorLxK(uint32_t NF, int, const uint16_t*, const uint16_t*, OperatorType* O) {
    return EmptyLx(NF, O);
}
int CreateOperatorLxjjz(uint32_t NF, int, const uint16_t*, const uint16_t*, OperatorType* O) {
    return EmptyLx(NF, O);
}

int CreateOperatorJx(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return J(NF, l, up, dn, kX, "Jx", "CreateOperatorJx", O);
}
int CreateOperatorJy(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return J(NF, l, up, dn, kY, "Jy", "CreateOperatorJy", O);
}
int CreateOperatorJz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return J(NF, l, up, dn, kZ, "Jz", "CreateOperatorJz", O);
}
int CreateOperatorJplus(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return J(NF, l, up, dn, kPlus, "J^+", "CreateOperatorJplus", O);
}
int CreateOperatorJmin(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return J(NF, l, up, dn, kMin, "J^-", "CreateOperatorJmin", O);
}
int CreateOperatorJsqr(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return J(NF, l, up, dn, kSqr, "J^2", "CreateOperatorJsqr", O);
}

// l.s = lz sz + (l+ s- + l- s+) / 2 of one electron.
int CreateOperatorldots(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    if (Begin(O, NF, "l.s", 2) != 0) return 1;
    for (int i = 0; i <= 2 * l; i++) {
        double m = (double)(i - l);
        if (AddPair(O, up[i], up[i], 0.5 * m, 0.0) != 0 || AddPair(O, dn[i], dn[i], -0.5 * m, 0.0) != 0)
            return Fail(O);
    }
    for (int i = 0; i < 2 * l; i++) {
        int m = i - l;
        double w = 0.5 * std::sqrt((double)(l + 1 + m)) * std::sqrt((double)(l - m));
        if (AddPair(O, dn[i + 1], up[i], w, 0.0) != 0 || AddPair(O, up[i], dn[i + 1], w, 0.0) != 0)
            return Fail(O);
    }
    return Finish(O);
}
