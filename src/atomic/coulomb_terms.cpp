// Shared steps of the Coulomb builders.
#include "atomic/coulomb_detail.h"
#include "atomic/oneparticle_detail.h"
#include "manybody/operator_algebra.h"

namespace coulomb {

int BeginCoulomb(OperatorType* O, uint32_t NF) {
    return oneparticle::Begin(O, NF, "Coulomb operator", 4);
}

int FailCoulomb(OperatorType* O) {
    return oneparticle::Fail(O);
}

int FinishCoulomb(OperatorType* O) {
    return oneparticle::Finish(O);
}

int AddCoulombTerm(OperatorType* O, uint16_t m1, uint16_t m2, uint16_t m3, uint16_t m4, double value) {
    uint16_t keys[4] = {m4, m3, (uint16_t)(m2 | LaderCreation), (uint16_t)(m1 | LaderCreation)};
    return RealOperatorAddLaderNormalOrder(O, keys, 4, value, QDetNotOrderedFcFaBcBa);
}

}  // namespace coulomb
