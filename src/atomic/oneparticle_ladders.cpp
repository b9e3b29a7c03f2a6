// Number operators, single ladders, lists of them, and the identity.
#include <cstdio>

#include "atomic/oneparticle.h"
#include "atomic/oneparticle_detail.h"
#include "manybody/operator_algebra.h"

using namespace oneparticle;

namespace {

bool AnyImaginary(unsigned n, const double* im) {
    for (unsigned k = 0; k < n; k++)
        if (im != nullptr && im[k] != 0.0) return true;
    return false;
}

// Adds (re + i im) times the single ladder code in normal order (length 1).
int AddLadder(OperatorType* O, uint16_t code, double re, double im) {
    if (O->l[1].QComplex) return ComplexOperatorAddLaderNormalOrder(O, &code, 1, re, im, QDetNotOrderedFcFaBcBa);
    return OperatorAddLaderNormalOrder(O, &code, 1, re, im, QDetNotOrderedFcFaBcBa);
}

int LadderList(uint32_t NF, unsigned n, const uint16_t* idx, const double* re, const double* im, bool create,
               const char* name, OperatorType* O) {
    if (Begin(O, NF, name, 1) != 0) return 1;
    if (AnyImaginary(n, im)) {
        if (MakeRealOperatorFixedLengthComplex(O, 1) != 0) return Fail(O);
        O->QComplex = 1;
    }
    for (unsigned k = 0; k < n; k++) {
        uint16_t code = create ? (uint16_t)(idx[k] | LaderCreation) : idx[k];
        if (AddLadder(O, code, re[k], im ? im[k] : 0.0) != 0) return Fail(O);
    }
    return Finish(O);
}

}  // namespace

int CreateOperatorNumber(uint32_t NF, uint16_t i, uint16_t j, OperatorType* O) {
    char name[80];
    snprintf(name, sizeof(name), "Number operator a^{+}_(%i) a_(%i)", (int)i, (int)j);
    if (Begin(O, NF, name, 2) != 0) return 1;
    if (AddPair(O, i, j, 1.0, 0.0) != 0) return Fail(O);
    return Finish(O);
}

int CreateOperatorNumberShell(uint32_t NF, unsigned n, const uint16_t* idx, OperatorType* O) {
    if (Begin(O, NF, "Number operator", 2) != 0) return 1;
    for (unsigned k = 0; k < n; k++)
        if (AddPair(O, idx[k], idx[k], 1.0, 0.0) != 0) return Fail(O);
    return Finish(O);
}

// N^2 = sum_ab n_a n_b, normal ordered: N + 2 sum_{a<b} n_a n_b.
int CreateOperatorNumberShellSqr(uint32_t NF, unsigned n, const uint16_t* idx, OperatorType* O) {
    const char* who = "CreateOperatorNumberShellSqr";
    ScopedTermList number;
    if (InitTermList(&number.list, n, who) != 0) return 1;
    for (unsigned k = 0; k < n; k++)
        if (TermListAdd(&number.list, idx[k], idx[k], 1.0, 0.0, who) != 0) return 1;
    if (Begin(O, NF, "Number operator squared", 4) != 0) return 1;
    if (AddProducts(O, number.list, number.list, 1.0, 0.0) != 0) return Fail(O);
    return Finish(O);
}

int CreateOperatorCreate(uint32_t NF, uint16_t i, OperatorType* O) {
    char name[64];
    snprintf(name, sizeof(name), "Creation operator on site %i", (int)i);
    double one = 1.0;
    return LadderList(NF, 1, &i, &one, nullptr, true, name, O);
}

int CreateOperatorAnnihilate(uint32_t NF, uint16_t i, OperatorType* O) {
    char name[64];
    snprintf(name, sizeof(name), "Annihilation operator on site %i", (int)i);
    double one = 1.0;
    return LadderList(NF, 1, &i, &one, nullptr, false, name, O);
}

int CreateOperatorIdentity(uint32_t NF, OperatorType* O) {
    if (Begin(O, NF, "Identity operator", 2) != 0) return 1;
    if (RealOperatorAddLader(O, nullptr, 0, 1.0) != 0) return Fail(O);
    return 0;
}

int CreateOperatorCreateList(uint32_t NF, unsigned n, const uint16_t* idx, const double* re, const double* im,
                             OperatorType* O) {
    return LadderList(NF, n, idx, re, im, true, "Operator", O);
}

int CreateOperatorAnnihilateList(uint32_t NF, unsigned n, const uint16_t* idx, const double* re,
                                 const double* im, OperatorType* O) {
    return LadderList(NF, n, idx, re, im, false, "Operator", O);
}

int CreateOperatorCreateAnnihilateList(uint32_t NF, unsigned n, const uint16_t* cr, const uint16_t* an,
                                       const double* re, const double* im, OperatorType* O) {
    if (Begin(O, NF, "Operator", 2) != 0) return 1;
    if (AnyImaginary(n, im) && MakeComplex(O) != 0) return Fail(O);
    for (unsigned k = 0; k < n; k++)
        if (AddPair(O, cr[k], an[k], re[k], im ? im[k] : 0.0) != 0) return Fail(O);
    return Finish(O);
}
