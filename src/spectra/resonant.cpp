#include "spectra/resonant.h"

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/options.h"
#include "base/verbosity.h"
#include "base/warning.h"
#include "numeric/compactmatrix.h"
#include "krylov/lanczos_tridiagonal.h"
#include "manybody/expectation.h"
#include "manybody/operator_algebra.h"
#include "manybody/operator_lua.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"
#include "spectra/spectra.h"
#include "spectra/spectra_lua.h"

namespace {

const double kUnset = DBL_MAX;
const char* const kWaveType = "Wavefunction_Type";

struct Range {
    double Emin = kUnset, Emax = -kUnset;
    uint32_t NE = 1000;
    double Gamma = 0.0;
    bool MinUnset() const { return Emin >= 1.7976931348623156e+305; }
    bool MaxUnset() const { return Emax <= -1.7976931348623156e+305; }
};

template <class T>
std::vector<T*> ReadList(lua_State* L, int idx, const char* type, const char* emptyMessage) {
    std::vector<T*> out;
    if (void* one = luaL_testudata(L, idx, type)) {
        out.push_back((T*)one);
        return out;
    }
    if (!lua_istable(L, idx)) {
        luaL_checkudata(L, idx, type);
        return out;
    }
    const int n = (int)lua_rawlen(L, idx);
    if (n == 0) luaL_error(L, "%s", emptyMessage);
    for (int i = 1; i <= n; i++) {
        lua_rawgeti(L, idx, i);
        out.push_back((T*)luaL_checkudata(L, -1, type));
        lua_pop(L, 1);
    }
    return out;
}

void CheckHermitian(lua_State* L, const OperatorType& H, double zero, const char* notHermitian,
                    const char* notFully, const char* caller) {
    switch (QOperatorHermitian(H, zero * 0.0001)) {
        case OperatorNotHermitian:
            luaL_error(L, "%s", notHermitian);
            break;
        case OperatorNotFullyHermitian:
            luaL_warning(L, "%s", notFully);
            break;
        case OperatorHermitianTestFailed:
            luaL_warning(L, "WARNING: QOperatorHermitian failed in %s, this should not happen", caller);
            luaL_warning(L, "my guess is that you are out of memory and will crash soon");
            break;
        default:
            break;
    }
}

double Energy(const OperatorType& H, const WaveFunctionType& psi) {
    double e = 0.0, n2 = 0.0;
    PsiHermitianOperatorPsi(H, psi, &e);
    WaveFunctionCalculateNormSqr(psi, &n2);
    return n2 > 0.0 ? e / n2 : 0.0;
}

// The Krylov basis of H and T psi with the eigensystem of its chain: the
// resolvent of H on T psi at any energy is a combination of the basis.
struct Resolvent {
    std::vector<WaveFunctionType> basis;
    TriDiagonalMatrixType M{};
    std::vector<double> l, C;  // eigenvalues, eigenvectors (row m: C[m*N + i])
    ~Resolvent() {
        for (auto& b : basis) WaveFunctionFree(&b);
        if (M.a != nullptr) FreeTriDiagonalMatrix(&M);
    }

    // start is consumed.
    void Build(lua_State* L, const OperatorType& H, WaveFunctionType start, uint32_t NTri, double epsilon,
               const DeterminantRestrictionType& R, const char* who) {
        M.N = NTri == 0 ? 1 : NTri;
        if (InitTriDiagonalMatrix(&M) != 0) luaL_error(L, "malloc failed in %s\n", who);
        basis.assign(M.N, WaveFunctionType{});
        const int fail = R.NRestriction != 0
                             ? LanczosTriDiagonalizeKrylovRestricted(H, start, R, epsilon, &M, basis.data())
                             : LanczosTriDiagonalizeKrylov(H, start, epsilon, &M, basis.data());
        if (fail != 0) luaL_error(L, "LanczosTriDiagonalizeKrylov failed in %s\n", who);
        l.assign(M.N, 0.0);
        C.assign((size_t)M.N * M.N, 0.0);
        if (TriDiagonalMatrixToEigensystem(M, C.data(), l.data()) != 0)
            printf("Problem with TridiagonalMatrixToEigenSystem in %s\n", who);
    }

    // w = sum_i c_i basis[i] with c_i = b0 sum_m C[m][0] C[m][i] / (E - l[m] + i eta).
    void At(lua_State* L, double E, double eta, WaveFunctionType* w) const {
        const uint32_t N = M.N;
        std::vector<double> cre(N, 0.0), cim(N, 0.0);
        for (uint32_t m = 0; m < N; m++) {
            const double d = E - l[m], den = d * d + eta * eta;
            const double fre = M.b[0] * C[(size_t)m * N] * d / den, fim = -M.b[0] * C[(size_t)m * N] * eta / den;
            for (uint32_t i = 0; i < N; i++) {
                cre[i] += fre * C[(size_t)m * N + i];
                cim[i] += fim * C[(size_t)m * N + i];
            }
        }
        w->QComplex = 1;
        w->NFermion = basis[0].NFermion;
        w->NBoson = basis[0].NBoson;
        w->NBitsKey = basis[0].NBitsKey;
        if (WaveFunctionInit(w) != 0) luaL_error(L, "WaveFunctionInit failed in ResonantSpectra 00");
        for (uint32_t i = 0; i < N; i++) {
            if (basis[i].N == 0) continue;
            if (WaveFunctionAddComplexMultipliedUnionBasis(w, basis[i], cre[i], cim[i]) != 0) {
                WaveFunctionFree(w);
                luaL_error(L, "WaveFunctionAddComplexMultipliedUnionBasis failed in ResonantSpectra");
            }
        }
    }
};

struct SpectraList {
    std::vector<SpectraType> S;
    ~SpectraList() {
        for (auto& s : S) SpectrumFree(&s);
    }
    void Push(lua_State* L) {
        SpectraType* a = (SpectraType*)calloc(S.size() == 0 ? 1 : S.size(), sizeof(SpectraType));
        if (a == nullptr) luaL_error(L, "Error: not enough memory to allocate new spectra\n");
        if (!S.empty()) memcpy(a, S.data(), S.size() * sizeof(SpectraType));
        LuaPushSpectra(L, a, (uint32_t)S.size());
        S.clear();
    }
};

struct Restriction {
    DeterminantRestrictionType r;
    Restriction() { InitDeterminantRestriction(&r); }
    ~Restriction() { FreeDeterminantRestriction(&r); }
};

int Apply(const OperatorType& O, const WaveFunctionType& psi, WaveFunctionType* out, const DeterminantRestrictionType& R) {
    return R.NRestriction != 0 ? OperatorPsiRestricted(O, psi, out, R) : OperatorPsi(O, psi, out);
}


// The automatic window of a stage from the lowest and highest pole (relative
// to the stage's zero): unset ends by the 1.1 / -0.1 rule, an unset width
// as five thousandths of the window (with 1000 steps when those were not
// given either).  `stage` is "intermediate states" or "final states".
void AutomaticRange(Range* r, double lo, double hi, bool neUnset, const char* stage, const char* state) {
    if (r->MinUnset() && r->MaxUnset()) {
        r->Emin = 1.1 * lo - 0.1 * hi;
        r->Emax = 1.1 * hi - 0.1 * lo;
        if (r->Emin == r->Emax) r->Emin -= 1.0, r->Emax += 1.0;
        VerbosityPrintf(0x2, "Automatically set energy range for %s Emin=%22.15E Emax=%22.15E\n", stage, r->Emin,
                        r->Emax);
    }
    if (r->Gamma == 0.0) {
        r->Gamma = 5.0 * (r->Emax - r->Emin) / 1000.0;
        if (neUnset) r->NE = 1000;
        VerbosityPrintf(0x2, "Automatically set lifetime (Gamma=%22.15E) for %s\n", r->Gamma, state);
    }
}

// The header of the spectra of a stage.
SpectraType StageHeader(const Range& r, double lo, double hi) {
    SpectraType head;
    InitSpectrumHeader(&head);
    head.NE = r.NE;
    head.Emin = r.Emin;
    head.Emax = r.Emax;
    head.dE = (r.Emax - r.Emin) / r.NE;
    head.Gamma = r.Gamma;
    head.EminPole = lo;
    head.EmaxPole = hi;
    return head;
}

// The space that H reaches from start (consumed into *basis): true when it
// closes within `limit` determinants (or at any size when forced).
bool Closure(const OperatorType& H, const DeterminantRestrictionType& R, uint32_t limit, bool forced,
             WaveFunctionType* basis) {
    for (;;) {
        if (!forced && basis->N > limit) return false;
        const uint32_t before = basis->N;
        WaveFunctionType B;
        if (Apply(H, *basis, &B, R) != 0) return false;
        double norm = 0.0;
        WaveFunctionCalculateNorm(B, &norm);
        if (norm > 0.0) WaveFunctionMultiply(&B, 1.0 / norm, 0.0);
        const int fail = WaveFunctionAddUnionBasis(basis, B);
        WaveFunctionFree(&B);
        if (fail != 0) return false;
        if (!forced && basis->N > limit) return false;
        if (basis->N == before) return true;
    }
}

// The eigenstates of H on a closed basis: energies ascending and the
// states as functions (row m of the eigenvectors on the basis).
struct DenseSystem {
    std::vector<double> E;
    std::vector<WaveFunctionType> states;
    ~DenseSystem() {
        for (auto& f : states) WaveFunctionFree(&f);
    }
    bool Build(const OperatorType& H, const WaveFunctionType& basis) {
        CompactMatrixType D{}, V{};
        if (basis.N == 0) return true;
        if (OperatorToDeterminantMatrix(H, basis, &D) != 0) return false;
        E.assign(basis.N, 0.0);
        const int fail = CompactMatrixEigensystem(&D, &V, E.data());
        FreeCompactMatrix(&D);
        if (fail != 0) return false;
        for (uint32_t m = 0; m < basis.N; m++) {
            WaveFunctionType e;
            if (WaveFunctionCopy(basis, &e) != 0) break;
            if (V.QComplex && e.QComplex == 0) PromoteRealWaveFunctionToComplex(&e);
            for (uint32_t i = 1; i <= e.N; i++) {
                const Complex16 v = CompactMatrixElement(V, m, i - 1);
                WaveFunctionRe(e, i) = v.re;
                if (e.QComplex) WaveFunctionIm(e, i) = v.im;
            }
            states.push_back(e);
        }
        FreeCompactMatrix(&V);
        return states.size() == basis.N;
    }
};

Complex16 Braket(const WaveFunctionType& a, const WaveFunctionType& b) {
    double re = 0.0, im = 0.0;
    WaveFunctionDotProduct(a, b, &re, &im);
    return Complex16{re, im};
}

// The resonant spectra of one pair (T1, psi) by dense algebra, when the
// intermediate space (H1 on T1 psi) and the final space (H2 on T2 applied to
// it) both close within the limit: exact eigenstates, the resolvent applied
// exactly, and pole lists of the final states.  False (and nothing done)
// when a space does not close.
bool ResonantPairDense(lua_State* L, const OperatorType& H1, const OperatorType& H2, const WaveFunctionType& t1,
                       const std::vector<OperatorType*>& T2, const DeterminantRestrictionType& R1,
                       const DeterminantRestrictionType& R2, uint32_t limit, bool forced, double e01, double e02,
                       Range in, Range out, bool inNEUnset, bool outNEUnset, bool severalPairs, size_t a, size_t nT1,
                       size_t j, size_t nPsi, SpectraList* result) {
    WaveFunctionType B1;
    if (WaveFunctionCopy(t1, &B1) != 0) return false;
    struct Free1 {
        WaveFunctionType* w;
        ~Free1() { WaveFunctionFree(w); }
    } free1{&B1};
    if (!Closure(H1, R1, limit, forced, &B1)) return false;
    // The final space: every T2 applied to the whole intermediate basis.
    WaveFunctionType B2;
    B2.QComplex = 0;
    B2.NFermion = B1.NFermion;
    B2.NBoson = B1.NBoson;
    B2.NBitsKey = B1.NBitsKey;
    if (WaveFunctionInit(&B2) != 0) return false;
    struct Free2 {
        WaveFunctionType* w;
        ~Free2() { WaveFunctionFree(w); }
    } free2{&B2};
    WaveFunctionType ones;
    if (WaveFunctionCopy(B1, &ones) != 0) return false;
    for (uint32_t i = 1; i <= ones.N; i++) {
        WaveFunctionRe(ones, i) = (rand() + 1.0) / 2147483647.0;
        if (ones.QComplex) WaveFunctionIm(ones, i) = 0.0;
    }
    for (OperatorType* op : T2) {
        WaveFunctionType x;
        if (Apply(*op, ones, &x, R2) != 0) {
            WaveFunctionFree(&ones);
            return false;
        }
        WaveFunctionAddUnionBasis(&B2, x);
        WaveFunctionFree(&x);
    }
    WaveFunctionFree(&ones);
    if (!Closure(H2, R2, limit, forced, &B2)) return false;
    VerbosityPrintf(0x1, "Start of ResonantSpectra using Dense Methods\n");
    DenseSystem mid, fin;
    if (!mid.Build(H1, B1) || !fin.Build(H2, B2)) luaL_error(L, "The dense eigensystems failed in ResonantSpectra\n");
    const size_t nm = mid.states.size(), nf = fin.states.size();
    std::vector<Complex16> x(nm);
    for (size_t m = 0; m < nm; m++) x[m] = Braket(mid.states[m], t1);
    Range r1 = in;
    const double lo = nm ? mid.E.front() - e01 : 0.0, hi = nm ? mid.E.back() - e01 : 0.0;
    AutomaticRange(&r1, lo, hi, inNEUnset, "intermediate states", "intermediate state");
    Range r2 = out;
    const double flo = nf ? fin.E.front() - e02 : 0.0, fhi = nf ? fin.E.back() - e02 : 0.0;
    AutomaticRange(&r2, flo, fhi, outNEUnset, "final states", "final state");
    const SpectraType head = StageHeader(r2, flo, fhi);
    const double dE1 = (r1.Emax - r1.Emin) / r1.NE;
    for (size_t t = 0; t < T2.size(); t++) {
        // <f|T2|m> for every pair of eigenstates.
        std::vector<Complex16> D(nf * nm);
        for (size_t m = 0; m < nm; m++) {
            WaveFunctionType y;
            if (Apply(*T2[t], mid.states[m], &y, R2) != 0) luaL_error(L, "OperatorPsi failed in ResonantSpectraDense\n");
            for (size_t f = 0; f < nf; f++) D[f * nm + m] = Braket(fin.states[f], y);
            WaveFunctionFree(&y);
        }
        for (uint32_t k = 0; k <= r1.NE; k++) {
            const double w = r1.Emin + k * dE1 + e01, eta = r1.Gamma / 2.0;
            ListOfPoles P{};
            P.N = (uint32_t)nf;
            std::vector<double> pa(nf), pb(nf);
            for (size_t f = 0; f < nf; f++) {
                double re = 0.0, im = 0.0;
                for (size_t m = 0; m < nm; m++) {
                    // D x / (w - E_m + i eta)
                    const Complex16 d = D[f * nm + m], xm = x[m];
                    const double nr = d.re * xm.re - d.im * xm.im, ni = d.re * xm.im + d.im * xm.re;
                    const double dr = w - mid.E[m], den = dr * dr + eta * eta;
                    re += (nr * dr + ni * eta) / den;
                    im += (ni * dr - nr * eta) / den;
                }
                pa[f] = fin.E[f];
                pb[f] = re * re + im * im;
            }
            P.a = pa.data();
            P.b = pb.data();
            SpectraType S;
            if (SpectrumAllocate(head, &S) != 0) luaL_error(L, "Error: not enough memory to allocate new spectra\n");
            result->S.push_back(S);
            SpectraType& R = result->S.back();
            if (severalPairs)
                snprintf(R.Name, sizeof R.Name, "Spectrum wres %i/%i T2 %i/%i T1 %i/%i psi %i/%i", (int)k, (int)r1.NE,
                         (int)t + 1, (int)T2.size(), (int)a + 1, (int)nT1, (int)j + 1, (int)nPsi);
            else
                snprintf(R.Name, sizeof R.Name, "Spectrum wres %i/%i T2 %i/%i", (int)k, (int)r1.NE, (int)t + 1,
                         (int)T2.size());
            R.ResonantEnergy = r1.Emin + ((double)k / r1.NE) * (r1.Emax - r1.Emin);
            ListOfPolesToSpectrum(e02, P, &R);
        }
    }
    return true;
}

}  // namespace

int LuaCreateResonantSpectra(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 5 && nargs != 6)
        return luaL_error(L, "Error LuaCreateResonantSpectra called with %d arguments, 5 or 6 expected (H1, H2, T1, "
                             "T2^+, psi, {options})\n",
                          nargs);
    OperatorType* H1 = luaL_checkOperator(L, 1);
    OperatorType* H2 = luaL_checkOperator(L, 2);
    auto T1 = ReadList<OperatorType>(L, 3, OPERATOR_TYPE_NAME,
                                     "Errof CreateResonantSpectra called with a table of transition operators (1) of length 0\n");
    auto T2 = ReadList<OperatorType>(L, 4, OPERATOR_TYPE_NAME,
                                     "Errof CreateResonantSpectra called with a table of transition operators (2) of length 0\n");
    auto psi = ReadList<WaveFunctionType>(L, 5, kWaveType,
                                          "Errof CreateResonantSpectra called with a table of wave functions of length 0\n");
    uint32_t NTri1 = 100, NTri2 = 100, DenseBorder = 1513;
    uint8_t Tensor = 0, ForceDense = 0;
    double epsilon = 1.4901161193847657e-10, zero = 1.4901161193847656e-06, E01 = kUnset, E02 = kUnset;
    Restriction R1, R2;
    Range in, out;
    if (nargs == 6) {
        LuaOptionsType options[] = {
            {"NTri1", "uint32_t", &NTri1},       {"NTri2", "uint32_t", &NTri2},
            {"Tensor", "bool", &Tensor},         {"restrictions1", "DeterminantRestrictionType", &R1.r},
            {"restrictions2", "DeterminantRestrictionType", &R2.r},
            {"epsilon", "double", &epsilon},     {"E0_1", "double", &E01},
            {"E0_2", "double", &E02},            {"Emin1", "double", &in.Emin},
            {"Emax1", "double", &in.Emax},       {"NE1", "uint32_t", &in.NE},
            {"Gamma1", "double", &in.Gamma},     {"Emin2", "double", &out.Emin},
            {"Emax2", "double", &out.Emax},      {"NE2", "uint32_t", &out.NE},
            {"Gamma2", "double", &out.Gamma},    {"DenseBorder", "uint32_t", &DenseBorder},
            {"ForceDenseMethod", "bool", &ForceDense},
            {nullptr, nullptr, nullptr},
        };
        LuaCheckOptions(L, 6, options);
    }
    if (Tensor) return luaL_error(L, "Tensor form for Resonant spectra not yet available");
    CheckHermitian(L, *H1, zero, "CreateResonantSpectra called with an operator (H1) that is not Hermitian\n",
                   "CreateResonantSpectra called with an operator (H1) that is not fully Hermitian\n",
                   "LuaCreateResonantSpectra");
    CheckHermitian(L, *H2, zero, "CreateResonantSpectra called with an operator (H2) that is not Hermitian\n",
                   "CreateResonantSpectra called with an operator (H2) that is not fully Hermitian\n",
                   "LuaCreateResonantSpectra");
    const bool inNEUnset = nargs == 5 || in.NE == 1000, outNEUnset = nargs == 5 || out.NE == 1000;
    if (in.NE == 0) in.NE = 1000;
    if (out.NE == 0) out.NE = 1000;
    SpectraList result;
    const size_t npairs = T1.size() * psi.size();
    for (size_t a = 0; a < T1.size(); a++) {
        for (size_t j = 0; j < psi.size(); j++) {
            const double e01 = E01 == kUnset ? Energy(*H1, *psi[j]) : E01;
            const double e02 = E02 == kUnset ? Energy(*H2, *psi[j]) : E02;
            WaveFunctionType t1;
            if (Apply(*T1[a], *psi[j], &t1, R1.r) != 0) return luaL_error(L, "OperatorPsi failed in ResonantSpectra\n");
            if (ResonantPairDense(L, *H1, *H2, t1, T2, R1.r, R2.r, DenseBorder, ForceDense != 0, e01, e02, in, out,
                                  inNEUnset, outNEUnset, npairs > 1, a, T1.size(), j, psi.size(), &result)) {
                WaveFunctionFree(&t1);
                continue;
            }
            VerbosityPrintf(0x1, "Start of ResonantSpectra using Lanczos\n");
            Resolvent res;
            res.Build(L, *H1, t1, NTri1, epsilon, R1.r, "ResonantSpectra");
            Range r1 = in;
            const double lo = res.l.front() - e01, hi = res.l.back() - e01;
            AutomaticRange(&r1, lo, hi, inNEUnset, "intermediate states", "intermediate state");
            const double dE1 = (r1.Emax - r1.Emin) / r1.NE;
            std::vector<TriDiagonalMatrixType> tri;
            struct TriGuard {
                std::vector<TriDiagonalMatrixType>* t;
                ~TriGuard() {
                    for (auto& m : *t) FreeTriDiagonalMatrix(&m);
                }
            } guard{&tri};
            const double floor = std::fmax(epsilon, out.Gamma);
            for (size_t t = 0; t < T2.size(); t++) {
                for (uint32_t k = 0; k <= r1.NE; k++) {
                    WaveFunctionType w;
                    res.At(L, r1.Emin + k * dE1 + e01, r1.Gamma / 2.0, &w);
                    WaveFunctionType v;
                    const int fail = Apply(*T2[t], w, &v, R2.r);
                    WaveFunctionFree(&w);
                    if (fail != 0) return luaL_error(L, "OperatorPsi failed in ResonantSpectra\n");
                    TriDiagonalMatrixType M{};
                    M.N = NTri2 == 0 ? 1 : NTri2;
                    if (InitTriDiagonalMatrix(&M) != 0) {
                        WaveFunctionFree(&v);
                        return luaL_error(L, "malloc failed in ResonantSpectra\n");
                    }
                    tri.push_back(M);
                    const int lf = R2.r.NRestriction != 0
                                       ? LanczosTriDiagonalizeRestricted(*H2, v, R2.r, epsilon, &tri.back(), floor)
                                       : LanczosTriDiagonalize(*H2, v, epsilon, &tri.back(), floor);
                    WaveFunctionFree(&v);
                    if (lf != 0) return luaL_error(L, "LanczosTriDiagonalize failed in ResonantSpectra\n");
                }
            }
            Range r2 = out;
            double l2lo = DBL_MAX, l2hi = -DBL_MAX;
            for (auto& m : tri) {
                std::vector<double> ev(m.N);
                if (TriDiagonalMatrixToEigenvalues(m, ev.data()) != 0 || m.b[0] == 0.0) continue;
                l2lo = std::fmin(l2lo, ev.front() - e02);
                l2hi = std::fmax(l2hi, ev.back() - e02);
            }
            if (l2lo > l2hi) l2lo = l2hi = 0.0;
            AutomaticRange(&r2, l2lo, l2hi, outNEUnset, "final states", "final state");
            const SpectraType head = StageHeader(r2, l2lo, l2hi);
            for (size_t t = 0; t < T2.size(); t++) {
                for (uint32_t k = 0; k <= r1.NE; k++) {
                    SpectraType s;
                    if (SpectrumAllocate(head, &s) != 0)
                        return luaL_error(L, "Error: not enough memory to allocate new spectra\n");
                    result.S.push_back(s);
                    SpectraType& S = result.S.back();
                    if (npairs > 1)
                        snprintf(S.Name, sizeof S.Name, "Spectrum wres %i/%i T2 %i/%i T1 %i/%i psi %i/%i", (int)k,
                                 (int)r1.NE, (int)t + 1, (int)T2.size(), (int)a + 1, (int)T1.size(), (int)j + 1,
                                 (int)psi.size());
                    else
                        snprintf(S.Name, sizeof S.Name, "Spectrum wres %i/%i T2 %i/%i", (int)k, (int)r1.NE, (int)t + 1,
                                 (int)T2.size());
                    S.ResonantEnergy = r1.Emin + ((double)k / r1.NE) * (r1.Emax - r1.Emin);
                    TriDiagonalMatrixToSpectrum(e02, tri[t * (r1.NE + 1) + k], &S);
                }
            }
        }
    }
    result.Push(L);
    return 1;
}

int LuaCreateFluorescenceYield(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 4 && nargs != 5)
        return luaL_error(L, "Error CreateFluorescenceYield called with %d arguments, 4 or 5 expected\n", nargs);
    OperatorType* H = luaL_checkOperator(L, 1);
    auto T1 = ReadList<OperatorType>(L, 2, OPERATOR_TYPE_NAME,
                                     "Errof LuaCreateFluorescenceYield called with a table of transition operators (1) of length 0\n");
    auto T2 = ReadList<OperatorType>(L, 3, OPERATOR_TYPE_NAME,
                                     "Errof LuaCreateFluorescenceYield called with a table of transition operators (2) of length 0\n");
    auto psi = ReadList<WaveFunctionType>(L, 4, kWaveType,
                                          "Errof LuaCreateFluorescenceYield called with a table of wave functions of length 0\n");
    uint32_t NTri = 200;
    double epsilon = 1.4901161193847657e-10, zero = 1.4901161193847656e-06;
    Restriction R;
    Range range;
    if (nargs == 5) {
        LuaOptionsType options[] = {
            {"NTri", "uint32_t", &NTri},       {"epsilon", "double", &epsilon},
            {"restrictions", "DeterminantRestrictionType", &R.r},
            {"Emin", "double", &range.Emin},   {"Emax", "double", &range.Emax},
            {"NE", "uint32_t", &range.NE},     {"Gamma", "double", &range.Gamma},
            {nullptr, nullptr, nullptr},
        };
        LuaCheckOptions(L, 5, options);
    }
    CheckHermitian(L, *H, zero, "CreateFluorescenceYield called with an operator that is not Hermitian\n",
                   "CreateFluorescenceYield called with an operator that is not fully Hermitian\n",
                   "LuaCreateFluorescenceYield");
    if (range.NE == 0) range.NE = 1000;
    SpectraList result;
    for (size_t a = 0; a < T1.size(); a++) {
        for (size_t j = 0; j < psi.size(); j++) {
            const double E0 = Energy(*H, *psi[j]);
            WaveFunctionType t1;
            if (Apply(*T1[a], *psi[j], &t1, R.r) != 0)
                return luaL_error(L, "OperatorPsi failed in FluorescenceYield\n");
            Resolvent res;
            res.Build(L, *H, t1, NTri, epsilon, R.r, "FluorescenceYieldRestricted");
            Range r = range;
            const double lo = res.l.front() - E0, hi = res.l.back() - E0, width = hi - lo;
            if (r.MinUnset()) r.Emin = lo - 0.125 * width;
            if (r.MaxUnset()) r.Emax = hi + 0.125 * width;
            if (r.Emin == r.Emax) r.Emin -= 1.0, r.Emax += 1.0;
            if (r.Gamma == 0.0) r.Gamma = 10.0 * (r.Emax - r.Emin) / r.NE;
            SpectraType head;
            InitSpectrumHeader(&head);
            head.NE = r.NE;
            head.Emin = r.Emin;
            head.Emax = r.Emax;
            head.dE = (r.Emax - r.Emin) / r.NE;
            head.Gamma = r.Gamma;
            head.EminPole = lo;
            head.EmaxPole = hi;
            const size_t first = result.S.size();
            for (size_t t = 0; t < T2.size(); t++) {
                SpectraType s;
                if (SpectrumAllocate(head, &s) != 0)
                    return luaL_error(L, "Error: not enough memory to allocate new spectra\n");
                snprintf(s.Name, sizeof s.Name, "Spectrum %i/%i", (int)t + 1, (int)T2.size());
                result.S.push_back(s);
            }
            for (uint32_t k = 0; k <= r.NE; k++) {
                WaveFunctionType w;
                res.At(L, r.Emin + k * head.dE + E0, r.Gamma / 2.0, &w);
                for (size_t t = 0; t < T2.size(); t++) {
                    WaveFunctionType v;
                    const int fail = Apply(*T2[t], w, &v, R.r);
                    if (fail != 0) {
                        WaveFunctionFree(&w);
                        return luaL_error(L, "OperatorPsi failed in FluorescenceYield\n");
                    }
                    double n2 = 0.0;
                    WaveFunctionCalculateNormSqr(v, &n2);
                    WaveFunctionFree(&v);
                    result.S[first + t].Re[k] = n2;
                    result.S[first + t].Im[k] = 0.0;
                }
                WaveFunctionFree(&w);
            }
        }
    }
    result.Push(L);
    return 1;
}
