// Spin operators of n pairs of modes (up[i], dn[i]).
#include "atomic/oneparticle.h"
#include "atomic/oneparticle_detail.h"

using namespace oneparticle;

namespace {

// The one-electron spin matrices, entry 2 sigma' + sigma with sigma 0 down
// and 1 up.
const double kZero[4] = {0.0, 0.0, 0.0, 0.0};
const double kSxRe[4] = {0.0, 0.5, 0.5, 0.0};
const double kSyIm[4] = {0.0, 0.5, -0.5, 0.0};
const double kSzRe[4] = {-0.5, 0.0, 0.0, 0.5};
const double kSplusRe[4] = {0.0, 0.0, 1.0, 0.0};
const double kSminRe[4] = {0.0, 1.0, 0.0, 0.0};

int SpinOperator(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, const double* sre,
                 const double* sim, bool complex, const char* name, const char* who, OperatorType* O) {
    ScopedTermList terms;
    if (InitTermList(&terms.list, 2 * n, who) != 0) return 1;
    if (SpinTerms(&terms.list, n, up, dn, sre, sim, who) != 0) return 1;
    if (Begin(O, NF, name, 2) != 0) return 1;
    if (complex && MakeComplex(O) != 0) return Fail(O);
    if (AddTerms(O, terms.list, 1.0, 0.0) != 0) return Fail(O);
    return Finish(O);
}

}  // namespace

int CreateOperatorSx(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return SpinOperator(NF, n, up, dn, kSxRe, kZero, false, "Sx", "CreateOperatorSx", O);
}

int CreateOperatorSy(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return SpinOperator(NF, n, up, dn, kZero, kSyIm, true, "Sy", "CreateOperatorSy", O);
}

int CreateOperatorSz(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return SpinOperator(NF, n, up, dn, kSzRe, kZero, false, "Sz", "CreateOperatorSz", O);
}

int CreateOperatorSplus(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return SpinOperator(NF, n, up, dn, kSplusRe, kZero, false, "S^+", "CreateOperatorSplus", O);
}

int CreateOperatorSmin(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    return SpinOperator(NF, n, up, dn, kSminRe, kZero, false, "S^-", "CreateOperatorSmin", O);
}

// S^2 = Sz Sz + (S+ S- + S- S+) / 2, the many-body square with its
// one-body contractions.
int CreateOperatorSsqr(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O) {
    const char* who = "CreateOperatorSsqr";
    ScopedTermList sz, sp, sm;
    if (InitTermList(&sz.list, 2 * n, who) != 0 || InitTermList(&sp.list, n, who) != 0 ||
        InitTermList(&sm.list, n, who) != 0)
        return 1;
    if (SpinTerms(&sz.list, n, up, dn, kSzRe, kZero, who) != 0 ||
        SpinTerms(&sp.list, n, up, dn, kSplusRe, kZero, who) != 0 ||
        SpinTerms(&sm.list, n, up, dn, kSminRe, kZero, who) != 0)
        return 1;
    if (Begin(O, NF, "S^2", 4) != 0) return 1;
    if (AddProducts(O, sz.list, sz.list, 1.0, 0.0) != 0 || AddProducts(O, sp.list, sm.list, 0.5, 0.0) != 0 ||
        AddProducts(O, sm.list, sp.list, 0.5, 0.0) != 0)
        return Fail(O);
    return Finish(O);
}
