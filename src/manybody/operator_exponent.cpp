// The exponential of a Hermitian one-particle operator as a finite product
// over its eigenmodes.
#include <cmath>
#include <cstdlib>
#include <vector>

#include "manybody/operator_algebra.h"
#include "manybody/operator_algebra_detail.h"
#include "manybody/zerocut.h"
#include "numeric/compactmatrix.h"

using opalg::Report;

namespace {

// Values below this fraction of the largest prefactor of the result are
// rounding noise of the products and are removed at the end.
const double ExponentRelativeCut = 1e-14;

// exp(z x) for real x: exp(Re z x) (cos(Im z x) + i sin(Im z x)).
Complex16 ScaledExp(Complex16 z, double x) {
    double r = std::exp(z.re * x), phi = z.im * x;
    return Complex16{r * std::cos(phi), r * std::sin(phi)};
}

int Exponent(const OperatorType& O, Complex16 z, OperatorType* out, LaderOrderType order, const char* caller) {
    // Work on the normal-ordered form, so that the one-particle part is the
    // set of terms C i A j of length 2.
    OperatorType H;
    if (NormalOrderOperator(O, &H, QDetNotOrderedFcFaBcBa) != 0) {
        Report("NormalOrderOperator failed in %s", caller);
        return 1;
    }
    for (unsigned k = 1; k <= H.MaxLength; k++) {
        if (k == 2 || H.l[k].N == 0) continue;
        Report("%s needs a one-particle operator, but it has %i terms of length %i\n", caller, H.l[k].N, k);
        FreeOperator(&H);
        return 1;
    }
    // The modes that take part, and the matrix h[i][j] of C i A j among them.
    std::vector<int> slot(H.NF, -1);
    std::vector<uint16_t> modes;
    const OperatorFixedLengthType* two = H.MaxLength >= 2 ? &H.l[2] : nullptr;
    uint32_t nTwo = two ? two->N : 0;
    for (uint32_t t = 0; t < nTwo; t++) {
        for (int s = 0; s < 2; s++) {
            uint16_t m = two->o[2 * t + s] & LaderModeMask;
            if (m >= H.NF) {
                Report("%s works on fermion modes only, mode %i is a boson\n", caller, m);
                FreeOperator(&H);
                return 1;
            }
            if (slot[m] < 0) {
                slot[m] = (int)modes.size();
                modes.push_back(m);
            }
        }
    }
    const uint32_t n = (uint32_t)modes.size();
    Complex16 constant = H.l[0].N ? opalg::TermValue(H.l[0], 0) : Complex16{0.0, 0.0};

    CompactMatrixType h, V;
    std::vector<double> w(n > 0 ? n : 1);
    if (n > 0) {
        h.Ni = n;
        h.Nj = n;
        h.QComplex = 1;
        if (InitCompactMatrix(&h) != 0) {
            Report("InitCompactMatrix failed in %s", caller);
            FreeOperator(&H);
            return 1;
        }
        Complex16* hd = CompactMatrixComplexData(h);
        for (uint32_t t = 0; t < nTwo; t++) {
            uint16_t a = two->o[2 * t], c = two->o[2 * t + 1];
            int i = slot[c & LaderModeMask], j = slot[a & LaderModeMask];
            hd[(size_t)i * n + j] += opalg::TermValue(*two, t);
        }
        int status = CompactMatrixEigensystem(&h, &V, w.data());
        FreeCompactMatrix(&h);
        if (status != 0) {
            Report("CompactMatrixEigensystem failed in %s", caller);
            FreeOperator(&H);
            return 1;
        }
    }

    // result = exp(z c) prod_k (1 + (exp(z e_k) - 1) d_k^+ d_k), where
    // d_k^+ = sum_i v_k[i] C i with v_k row k of V, so that
    // d_k^+ d_k = sum_ij v_k[i] conj(v_k[j]) C i A j.
    OperatorType R;
    if (InitOperatorCopySettings(&R, H) != 0 || RealOperatorAddLader(&R, nullptr, 0, 1.0) != 0) {
        Report("could not start the product in %s", caller);
        if (n > 0) FreeCompactMatrix(&V);
        FreeOperator(&H);
        return 1;
    }
    OperatorSetName(&R, O.Name);
    int status = 0;
    for (uint32_t k = 0; k < n && status == 0; k++) {
        Complex16 f = ScaledExp(z, w[k]) - 1.0;
        if (opalg::Magnitude(f) < SqrtZeroCut) continue;
        OperatorType F;
        if (InitOperatorCopySettings(&F, H) != 0) {
            Report("InitOperatorCopySettings failed in %s", caller);
            status = 1;
            break;
        }
        if (F.MaxLength < 2) status = InitOperatorFixedLength(&F, 2, 8);
        status |= RealOperatorAddLader(&F, nullptr, 0, 1.0);
        for (uint32_t i = 0; i < n && status == 0; i++) {
            for (uint32_t j = 0; j < n && status == 0; j++) {
                Complex16 vi = CompactMatrixElement(V, k, i), vj = CompactMatrixElement(V, k, j);
                Complex16 v = f * vi * Conjugate(vj);
                if (opalg::Magnitude(v) < SqrtZeroCut) continue;
                uint16_t codes[2] = {modes[j], (uint16_t)(LaderCreation | modes[i])};
                status = OperatorAddLader(&F, codes, 2, v.re, v.im);
            }
        }
        OperatorType T;
        if (status == 0 && InitOperatorForMult(&T, 2, &R, &F) == 0) {
            status = order ? OperatorMultiply2NormalOrder(&T, R, F, 'N', 'N', order) : OperatorMultiply2(&T, R, F);
            if (status == 0) {
                FreeOperator(&R);
                R = T;
            } else {
                FreeOperator(&T);
            }
        } else {
            status = 1;
        }
        FreeOperator(&F);
        if (status != 0) Report("product with eigenmode %i failed in %s\n", k, caller);
    }
    if (n > 0) FreeCompactMatrix(&V);
    FreeOperator(&H);
    if (status != 0) {
        FreeOperator(&R);
        return 1;
    }
    Complex16 scale = Cexp(z * constant);
    if (OperatorScale(&R, scale.re, scale.im) != 0) {
        FreeOperator(&R);
        return 1;
    }
    double largest = 0.0;
    for (unsigned k = 0; k <= R.MaxLength; k++)
        for (uint32_t t = 0; t < R.l[k].N; t++)
            largest = std::fmax(largest, opalg::Magnitude(opalg::TermValue(R.l[k], t)));
    OperatorRemoveSmallValues(&R, ExponentRelativeCut * largest);
    SetQComplexOperator(&R);
    *out = R;
    return 0;
}

}  // namespace

int HermitianOperatorExponent(OperatorType O, Complex16 z, OperatorType* out) {
    return Exponent(O, z, out, nullptr, "HermitianOperatorExponent");
}

int HermitianOperatorNormalOrderExponent(OperatorType O, Complex16 z, OperatorType* out, LaderOrderType order) {
    return Exponent(O, z, out, order, "HermitianOperatorNormalOrderExponent");
}
