#include "spectra/createspectra.h"

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/options.h"
#include "base/warning.h"
#include "krylov/blocklanczos_tridiagonal.h"
#include "krylov/lanczos_tridiagonal.h"
#include "manybody/expectation.h"
#include "manybody/operator_algebra.h"
#include "manybody/operator_lua.h"
#include "manybody/operator_psi.h"
#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_lua.h"
#include "numeric/compactmatrix.h"
#include "spectra/spectra.h"
#include "spectra/spectra_lua.h"

namespace {

const double kUnset = DBL_MAX;

struct CreateSpectraSettings {
    uint8_t Tensor = 0;
    uint8_t Sigma = 0;
    uint8_t KrylovBasis = 0;
    uint32_t NTri = 200;
    double epsilon = 1.4901161193847657e-10;
    double zero = 1.4901161193847656e-06;
    DeterminantRestrictionType restrictions;
    double Emin = kUnset;
    double Emax = -kUnset;
    uint32_t NE = 1000;
    double Gamma = 0.0;
    double E0 = kUnset;
    uint32_t DenseBorder = 1513;
    uint32_t ForceDenseMethod = 0;
    const char* file = nullptr;
    CreateSpectraSettings() { InitDeterminantRestriction(&restrictions); }
    ~CreateSpectraSettings() { FreeDeterminantRestriction(&restrictions); }
    bool Restricted() const { return restrictions.NRestriction != 0; }
};

// Everything the call allocates, released however it ends.
struct Work {
    std::vector<WaveFunctionType> Tpsi;
    std::vector<TriDiagonalMatrixType> tri;
    std::vector<ListOfPoles> poles;
    std::vector<std::vector<WaveFunctionType>> krylov;
    WaveFunctionType A{};
    bool haveA = false;
    CompactMatrixType D{}, V{}, X{};
    bool haveD = false, haveV = false, haveX = false;
    SpectraType* S = nullptr;
    uint32_t nS = 0;
    ~Work() {
        for (auto& w : Tpsi) WaveFunctionFree(&w);
        for (auto& t : tri) FreeTriDiagonalMatrix(&t);
        for (auto& p : poles) FreeListOfPoles(&p);
        for (auto& list : krylov)
            for (auto& w : list) WaveFunctionFree(&w);
        if (haveA) WaveFunctionFree(&A);
        if (haveD) FreeCompactMatrix(&D);
        if (haveV) FreeCompactMatrix(&V);
        if (haveX) FreeCompactMatrix(&X);
        FreeSpectraArray(S, nS);
    }
};

const char* const kSplit =
    " failed in calculation of spectra\n Out of memory?\nTry to split the call to several calls for different "
    "wave-functions or transition operators\n";

// The objects at idx: one of the kind or a table of them.
template <class T>
std::vector<T*> ReadList(lua_State* L, int idx, T* (*test)(lua_State*, int), T* (*check)(lua_State*, int),
                         const char* emptyMessage) {
    std::vector<T*> out;
    if (T* one = test(L, idx)) {
        out.push_back(one);
        return out;
    }
    if (!lua_istable(L, idx)) {
        check(L, idx);  // the stock argument error
        return out;
    }
    const int n = (int)lua_rawlen(L, idx);
    if (n == 0) luaL_error(L, "%s", emptyMessage);
    for (int i = 1; i <= n; i++) {
        lua_rawgeti(L, idx, i);
        out.push_back(check(L, -1));
        lua_pop(L, 1);
    }
    return out;
}

WaveFunctionType* TestWave(lua_State* L, int idx) {
    return (WaveFunctionType*)luaL_testudata(L, idx, "Wavefunction_Type");
}
WaveFunctionType* CheckWave(lua_State* L, int idx) {
    return (WaveFunctionType*)luaL_checkudata(L, idx, "Wavefunction_Type");
}

void CheckHermitian(lua_State* L, const OperatorType& H, double zero) {
    switch (QOperatorHermitian(H, zero * 0.0001)) {
        case OperatorNotHermitian:
            luaL_error(L, "CreateSpectra called with an operator that is not Hermitian\n");
            break;
        case OperatorNotFullyHermitian:
            luaL_warning(L,
                         "CreateSpectra called with an operator that is not fully Hermitian\nStrongly sugested to stop "
                         "the calculation and repair this\n\n\n\nDo it\n\n\nReally Check this\n\n\nDid you?\n\n\n");
            break;
        case OperatorHermitianTestFailed:
            luaL_warning(L, "WARNING: QOperatorHermitian failed in LuaCreateSpectra, this should not happen");
            luaL_warning(L, "my guess is that you are out of memory and will crash soon");
            break;
        default:
            break;
    }
}

// Explores the space that H reaches from the transition functions.  Returns
// true when it closes within the dense limit (A then holds its basis).
bool SpaceCloses(lua_State* L, const OperatorType& H, const CreateSpectraSettings& s, Work& w) {
    const bool forced = s.ForceDenseMethod == 1;
    if (WaveFunctionCopy(w.Tpsi[0], &w.A) != 0) luaL_error(L, "WaveFunctionCopy%s", kSplit);
    w.haveA = true;
    for (size_t n = 1; n < w.Tpsi.size(); n++) {
        const double weight = (rand() + 1.0) / 2147483647.0;
        if (WaveFunctionAddMultipliedUnionBasis(&w.A, w.Tpsi[n], weight) != 0)
            luaL_error(L, "WaveFunctionAddMultipliedUnionBasis%s", kSplit);
        if (!forced && w.A.N > s.DenseBorder) return false;
    }
    if (!forced && w.A.N > s.DenseBorder) return false;
    for (;;) {
        const uint32_t before = w.A.N;
        WaveFunctionType B;
        const int fail = s.Restricted() ? OperatorPsiRestricted(H, w.A, &B, s.restrictions) : OperatorPsi(H, w.A, &B);
        if (fail != 0) luaL_error(L, "OperatorPsi%s", kSplit);
        double norm = 0.0;
        WaveFunctionCalculateNorm(B, &norm);
        if (norm > 0.0) WaveFunctionMultiply(&B, 1.0 / norm, 0.0);
        const int addFail = WaveFunctionAddUnionBasis(&w.A, B);
        WaveFunctionFree(&B);
        if (addFail != 0) luaL_error(L, "WaveFunctionAddUnionBasis%s", kSplit);
        if (!forced && w.A.N > s.DenseBorder) return false;
        if (w.A.N == before) return true;
    }
}

// Lowest and highest pole relative to each pair's zero.
void PoleRange(const std::vector<std::vector<double>>& poles, const std::vector<double>& E0, double* lo, double* hi) {
    *lo = DBL_MAX;
    *hi = -DBL_MAX;
    for (size_t n = 0; n < poles.size(); n++) {
        if (poles[n].empty()) continue;
        *lo = std::fmin(*lo, poles[n].front() - E0[n]);
        *hi = std::fmax(*hi, poles[n].back() - E0[n]);
    }
    if (*lo > *hi) *lo = *hi = 0.0;
}

void RunLanczos(lua_State* L, const OperatorType& H, const CreateSpectraSettings& s, Work& w,
                std::vector<std::vector<double>>* poles) {
    const size_t npairs = w.Tpsi.size();
    w.tri.resize(npairs);
    for (auto& t : w.tri) t.N = 0, t.a = t.b = nullptr;
    if (s.KrylovBasis) w.krylov.resize(npairs);
    const double floor = std::fmax(s.epsilon, s.Gamma);
    for (size_t n = 0; n < npairs; n++) {
        TriDiagonalMatrixType& M = w.tri[n];
        M.N = s.NTri;
        if (InitTriDiagonalMatrix(&M) != 0)
            luaL_error(L, "malloc failed. Out of memory during initialization in CalculateSpectra\n");
        int fail;
        if (s.KrylovBasis) {
            std::vector<WaveFunctionType>& basis = w.krylov[n];
            basis.assign(s.NTri, WaveFunctionType{});
            WaveFunctionType start = w.Tpsi[n];
            w.Tpsi[n] = WaveFunctionType{};  // its storage moves into the basis
            fail = s.Restricted()
                       ? LanczosTriDiagonalizeKrylovRestricted(H, start, s.restrictions, s.epsilon, &M, basis.data())
                       : LanczosTriDiagonalizeKrylov(H, start, s.epsilon, &M, basis.data());
        } else {
            fail = s.Restricted() ? LanczosTriDiagonalizeRestricted(H, w.Tpsi[n], s.restrictions, s.epsilon, &M, floor)
                                  : LanczosTriDiagonalize(H, w.Tpsi[n], s.epsilon, &M, floor);
        }
        if (fail != 0) luaL_error(L, "LanczosTriDiagonalize%s", kSplit);
        if (s.file != nullptr) {
            char name[4096];
            if (npairs == 1)
                snprintf(name, sizeof name, "%s", s.file);
            else
                snprintf(name, sizeof name, "%s_%02d", s.file, (int)n);
            FilePrintPlainTriDiagonalMatrix(name, M, "w");
        }
        std::vector<double> values(M.N);
        if (TriDiagonalMatrixToEigenvalues(M, values.data()) != 0) values.clear();
        poles->push_back(values);
    }
}

// Poles of every pair from the dense matrix of H on the closed basis A.
void RunDense(lua_State* L, const OperatorType& H, Work& w, std::vector<std::vector<double>>* values) {
    if (OperatorToDeterminantMatrix(H, w.A, &w.D) != 0)
        luaL_error(L, "InitCompactMatrix failed in calculation of spectra\n Out of memory?\nTry to split the call to "
                      "several calls for different wave-functions or transition operators or use sparse methods "
                      "({\"DenseBorder\",0} in options)\n");
    w.haveD = true;
    const uint32_t dim = w.A.N;
    std::vector<double> energies(dim);
    if (CompactMatrixEigensystem(&w.D, &w.V, energies.data()) != 0)
        luaL_error(L, "The eigensystem of the closed space could not be found in CreateSpectra\n");
    w.haveV = true;
    w.poles.resize(w.Tpsi.size());
    for (size_t n = 0; n < w.Tpsi.size(); n++) {
        const WaveFunctionType& t = w.Tpsi[n];
        // The transition function in the basis of A.
        std::vector<Complex16> x(dim, Complex16{0.0, 0.0});
        for (uint32_t k = 1; k <= t.N; k++) {
            const uint32_t i = WaveFunctionIndexDet(&w.A, WaveFunctionDet(t, k));
            if (i == 0) continue;
            x[i - 1] = Complex16{WaveFunctionRe(t, k), t.QComplex ? WaveFunctionIm(t, k) : 0.0};
        }
        ListOfPoles& P = w.poles[n];
        P.N = dim;
        if (dim == 0) {
            memset(&P, 0, sizeof P);
            snprintf(P.Name, sizeof P.Name, "List of Poles");
            values->push_back(energies);
            continue;
        }
        if (InitListOfPoles(&P) == 1)
            luaL_error(L, "malloc failed. Out of memory during initialization in CalculateSpectra\n");
        for (uint32_t m = 0; m < dim; m++) {
            double re = 0.0, im = 0.0;
            for (uint32_t i = 0; i < dim; i++) {
                const Complex16 v = CompactMatrixElement(w.V, m, i);
                re += v.re * x[i].re + v.im * x[i].im;
                im += v.re * x[i].im - v.im * x[i].re;
            }
            P.a[m] = energies[m];
            P.b[m] = re * re + im * im;
        }
        values->push_back(energies);
    }
}

// The header of every spectrum of the call: the window (set from the poles
// [lo, hi] where not given), steps and width.
SpectraType GridHeader(CreateSpectraSettings& s, double lo, double hi) {
    SpectraAutomaticRange(lo, hi, s.NE, &s.Emin, &s.Emax, &s.Gamma);
    SpectraType head;
    InitSpectrumHeader(&head);
    head.NE = s.NE;
    head.Emin = s.Emin;
    head.Emax = s.Emax;
    head.dE = (s.Emax - s.Emin) / s.NE;
    head.EminPole = lo;
    head.EmaxPole = hi;
    head.Gamma = s.Gamma;
    return head;
}

// The spectra of every pair (i, j) of transition functions,
// G_ij = <T_i psi| 1/(w + E0 - H + i Gamma/2) |T_j psi>, spectrum number
// i * count + j, from a function that gives the M by M matrix at an energy.
template <class Evaluate>
void TensorGrid(lua_State* L, CreateSpectraSettings& s, Work& w, uint32_t M, double lo, double hi, double E0,
                Evaluate evaluate) {
    const SpectraType head = GridHeader(s, lo, hi);
    w.S = (SpectraType*)calloc((size_t)M * M, sizeof(SpectraType));
    if (w.S == nullptr) luaL_error(L, "malloc failed. Out of memory during initialization in CalculateSpectra\n");
    for (uint32_t n = 0; n < M * M; n++) {
        if (SpectrumAllocate(head, &w.S[n]) != 0)
            luaL_error(L, "malloc failed. Out of memory during initialization in CalculateSpectra\n");
        w.nS = n + 1;
        snprintf(w.S[n].Name, sizeof w.S[n].Name, "Spectrum %i", (int)n);
    }
    for (uint32_t k = 0; k <= s.NE; k++) {
        CompactMatrixType G;
        if (evaluate(s.Emin + k * head.dE + E0, s.Gamma, &G) != 0)
            luaL_error(L, "The block Green's function could not be evaluated in CreateSpectra\n");
        for (uint32_t i = 0; i < M; i++)
            for (uint32_t j = 0; j < M; j++) {
                const Complex16 z = CompactMatrixElement(G, i, j);
                w.S[i * M + j].Re[k] = z.re;
                w.S[i * M + j].Im[k] = z.im;
            }
        FreeCompactMatrix(&G);
    }
    LuaPushSpectra(L, w.S, w.nS);
    w.S = nullptr;
    w.nS = 0;
}

// Tensor on the Lanczos route: all transition functions as one block.
int TensorSpectraLanczos(lua_State* L, const OperatorType& H, CreateSpectraSettings& s, Work& w, double E0) {
    const uint32_t M = (uint32_t)w.Tpsi.size();
    BlockTriDiagonalMatrixType T{};
    T.N = s.NTri;
    T.M = M;
    if (InitBlockTriDiagonalMatrix(&T) != 0)
        return luaL_error(L, "malloc failed. Out of memory during initialization in CalculateSpectra\n");
    struct Guard {
        BlockTriDiagonalMatrixType* T;
        ~Guard() { FreeBlockTriDiagonalMatrix(T); }
    } guard{&T};
    if (LanczosBlockTriDiagonalize(H, w.Tpsi.data(), M, s.epsilon, &T, s.epsilon,
                                   s.Restricted() ? &s.restrictions : nullptr) != 0)
        return luaL_error(L, "LanczosBlockTriDiagonalize%s", kSplit);
    std::vector<double> values((size_t)T.N * M);
    double lo = 0.0, hi = 0.0;
    if (BlockTriDiagonalMatrixToEigenvalues(T, values.data()) == 0 && !values.empty()) {
        lo = values.front() - E0;
        hi = values.back() - E0;
    }
    TensorGrid(L, s, w, M, lo, hi, E0, [&](double e, double gamma, CompactMatrixType* G) {
        return EvaluateBlockTriDiagonalMatrix(T, G, e, gamma);
    });
    for (uint32_t i = 1; i <= T.N; i++)
        for (uint32_t d = 0; d < M; d++) {
            if (T.a[i].QComplex)
                CompactMatrixComplexData(T.a[i])[(size_t)d * M + d].re -= E0;
            else
                CompactMatrixRealData(T.a[i])[(size_t)d * M + d] -= E0;
        }
    LuaPushTable_BlockTriDiagonalMatrixType(L, T);
    return 2;
}

// Tensor on the dense route: the block list of poles of the closed space,
// pole m with the weight conj(x_im) x_jm, x_im = <v_m|T_i psi>.
int TensorSpectraDense(lua_State* L, const OperatorType& H, CreateSpectraSettings& s, Work& w, double E0) {
    const uint32_t M = (uint32_t)w.Tpsi.size();
    if (OperatorToDeterminantMatrix(H, w.A, &w.D) != 0)
        return luaL_error(L, "InitCompactMatrix failed in calculation of spectra\n Out of memory?\nTry to split the "
                             "call to several calls for different wave-functions or transition operators or use sparse "
                             "methods ({\"DenseBorder\",0} in options)\n");
    w.haveD = true;
    const uint32_t dim = w.A.N;
    std::vector<double> energies(dim);
    if (dim > 0 && CompactMatrixEigensystem(&w.D, &w.V, energies.data()) != 0)
        return luaL_error(L, "The eigensystem of the closed space could not be found in CreateSpectra\n");
    w.haveV = dim > 0;
    BlockListOfPoles P{};
    P.N = dim;
    P.M = M;
    P.QComplex = 1;
    if (InitBlockListOfPoles(&P) != 0)
        return luaL_error(L, "malloc failed. Out of memory during initialization in CalculateSpectra\n");
    struct Guard {
        BlockListOfPoles* P;
        ~Guard() { FreeBlockListOfPoles(P); }
    } guard{&P};
    std::vector<Complex16> x((size_t)M * dim, Complex16{0.0, 0.0});  // x[i * dim + m]
    for (uint32_t i = 0; i < M; i++) {
        const WaveFunctionType& t = w.Tpsi[i];
        std::vector<Complex16> c(dim, Complex16{0.0, 0.0});
        for (uint32_t k = 1; k <= t.N; k++) {
            const uint32_t a = WaveFunctionIndexDet(&w.A, WaveFunctionDet(t, k));
            if (a != 0) c[a - 1] = Complex16{WaveFunctionRe(t, k), t.QComplex ? WaveFunctionIm(t, k) : 0.0};
        }
        for (uint32_t m = 0; m < dim; m++) {
            double re = 0.0, im = 0.0;
            for (uint32_t a = 0; a < dim; a++) {
                const Complex16 v = CompactMatrixElement(w.V, m, a);
                re += v.re * c[a].re + v.im * c[a].im;
                im += v.re * c[a].im - v.im * c[a].re;
            }
            x[(size_t)i * dim + m] = Complex16{re, im};
        }
    }
    Complex16* value = (Complex16*)P.Value;
    const size_t slice = BlockListOfPolesSlice(M);
    for (uint32_t m = 0; m < dim; m++) {
        value[m * slice] = Complex16{energies[m], 0.0};
        for (uint32_t i = 0; i < M; i++)
            for (uint32_t j = 0; j < M; j++) {
                const Complex16 a = x[(size_t)i * dim + m], b = x[(size_t)j * dim + m];
                value[m * slice + 1 + (size_t)i * M + j] = Complex16{a.re * b.re + a.im * b.im, a.re * b.im - a.im * b.re};
            }
    }
    const double lo = dim > 0 ? energies.front() - E0 : 0.0, hi = dim > 0 ? energies.back() - E0 : 0.0;
    TensorGrid(L, s, w, M, lo, hi, E0, [&](double e, double gamma, CompactMatrixType* G) {
        return EvaluateBlockListOfPoles(P, G, e, gamma);
    });
    for (uint32_t m = 0; m < dim; m++) value[m * slice].re -= E0;
    LuaPushTable_BlockListOfPoles(L, P);
    return 2;
}

}  // namespace

void SpectraAutomaticRange(double lo, double hi, uint32_t NE, double* Emin, double* Emax, double* Gamma) {
    const bool minUnset = *Emin >= 1.7976931348623156e+305, maxUnset = *Emax <= -1.7976931348623156e+305;
    if (lo == hi) {
        if (lo == 0.0) {
            if (minUnset) *Emin = -1.0;
            if (maxUnset) *Emax = 1.0;
        } else if (lo < 0.0) {
            if (minUnset) *Emin = 2.125 * lo;
            if (maxUnset) *Emax = -0.125 * lo;
        } else {
            if (minUnset) *Emin = -0.125 * lo;
            if (maxUnset) *Emax = 2.125 * lo;
        }
    } else {
        if (minUnset) *Emin = lo - 0.125 * (hi - lo);
        if (maxUnset) *Emax = hi + 0.125 * (hi - lo);
    }
    if (*Gamma == 0.0) *Gamma = 10.0 * (*Emax - *Emin) / (NE == 0 ? 1 : NE);
}

int LuaCreateSpectra(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs < 3 || nargs > 5)
        return luaL_error(L, "Error CreateSpectra called with %d arguments, 3, 4 or 5 expected\n", nargs);
    OperatorType* H = luaL_checkOperator(L, 1);
    std::vector<OperatorType*> T = ReadList<OperatorType>(
        L, 2, luaL_testOperator, luaL_checkOperator, "Errof CreateSpectra called with a table of transition operators of length 0\n");
    std::vector<WaveFunctionType*> psi = ReadList<WaveFunctionType>(
        L, 3, TestWave, CheckWave, "Errof CreateSpectra called with a table of wave functions of length 0\n");
    CreateSpectraSettings s;
    int optionIndex = 0;
    if (nargs == 4 && LuaTestOptionsList(L, 4)) optionIndex = 4;
    if (nargs == 5) optionIndex = 5;
    if (nargs == 5 || (nargs == 4 && optionIndex == 0))
        return luaL_error(L, "Error CreateSpectra: spectra with self energies are not supported in this version\n");
    if (optionIndex != 0) {
        LuaOptionsType options[] = {
            {"Tensor", "bool", &s.Tensor},
            {"Sigma", "bool", &s.Sigma},
            {"KrylovBasis", "bool", &s.KrylovBasis},
            {"NTri", "uint32_t", &s.NTri},
            {"epsilon", "double", &s.epsilon},
            {"restrictions", "DeterminantRestrictionType", &s.restrictions},
            {"Emin", "double", &s.Emin},
            {"Emax", "double", &s.Emax},
            {"NE", "uint32_t", &s.NE},
            {"Gamma", "double", &s.Gamma},
            {"E0", "double", &s.E0},
            {"DenseBorder", "uint32_t", &s.DenseBorder},
            {"ForceDenseMethod", "uint32_t", &s.ForceDenseMethod},
            {"file", "char*", &s.file},
            {nullptr, nullptr, nullptr},
        };
        LuaCheckOptions(L, optionIndex, options);
    }
    if (s.NTri == 0) s.NTri = 1;
    if (s.NE == 0) s.NE = 1000;
    CheckHermitian(L, *H, s.zero);

    Work w;
    const size_t npairs = T.size() * psi.size();
    std::vector<double> E0(npairs);
    for (size_t j = 0; j < psi.size(); j++) {
        double e = s.E0;
        if (s.E0 == kUnset) {
            double hpsi = 0.0, norm2 = 0.0;
            PsiHermitianOperatorPsi(*H, *psi[j], &hpsi);
            WaveFunctionCalculateNormSqr(*psi[j], &norm2);
            e = norm2 > 0.0 ? hpsi / norm2 : 0.0;
        }
        for (size_t i = 0; i < T.size(); i++) E0[i * psi.size() + j] = e;
    }
    w.Tpsi.assign(npairs, WaveFunctionType{});
    for (size_t i = 0; i < T.size(); i++) {
        for (size_t j = 0; j < psi.size(); j++) {
            WaveFunctionType& out = w.Tpsi[i * psi.size() + j];
            const int fail = s.Restricted() ? OperatorPsiRestricted(*T[i], *psi[j], &out, s.restrictions)
                                            : OperatorPsi(*T[i], *psi[j], &out);
            if (fail != 0)
                return luaL_error(L, s.Restricted() ? "OperatorPsi with restrictions%s" : "OperatorPsi%s", kSplit);
        }
    }

    if (s.Tensor) {
        if (psi.size() > 1 && s.E0 == kUnset)
            return luaL_error(L,
                              "CreateSpectra called with option Tensor->true and %d wave-functions but no energy-shift "
                              "set.\nTensors can have only one shift and no different shift for each eigen-state.",
                              (int)psi.size());
        return SpaceCloses(L, *H, s, w) ? TensorSpectraDense(L, *H, s, w, E0[0])
                                        : TensorSpectraLanczos(L, *H, s, w, E0[0]);
    }
    const bool dense = SpaceCloses(L, *H, s, w);
    std::vector<std::vector<double>> poles;
    if (dense)
        RunDense(L, *H, w, &poles);
    else
        RunLanczos(L, *H, s, w, &poles);

    double lo, hi;
    PoleRange(poles, E0, &lo, &hi);
    const SpectraType head = GridHeader(s, lo, hi);
    w.S = (SpectraType*)calloc(npairs, sizeof(SpectraType));
    if (w.S == nullptr) return luaL_error(L, "malloc failed. Out of memory during initialization in CalculateSpectra\n");
    for (size_t n = 0; n < npairs; n++) {
        if (SpectrumAllocate(head, &w.S[n]) != 0)
            return luaL_error(L, "malloc failed. Out of memory during initialization in CalculateSpectra\n");
        w.nS = (uint32_t)n + 1;
        snprintf(w.S[n].Name, sizeof w.S[n].Name, "Spectrum %i", (int)n);
        if (dense)
            ListOfPolesToSpectrum(E0[n], w.poles[n], &w.S[n]);
        else
            TriDiagonalMatrixToSpectrum(E0[n], w.tri[n], &w.S[n]);
    }
    LuaPushSpectra(L, w.S, w.nS);
    w.S = nullptr;
    w.nS = 0;

    // The response forms, with the energy measured from each pair's zero.
    lua_createtable(L, (int)npairs, 0);
    for (size_t n = 0; n < npairs; n++) {
        if (dense) {
            ShiftListOfPoles(&w.poles[n], -E0[n]);
            LuaPushTable_ListOfPoles(L, w.poles[n]);
        } else {
            for (uint32_t i = 1; i <= w.tri[n].N; i++) w.tri[n].a[i] -= E0[n];
            LuaPushTable_TriDiagonalMatrixType(L, w.tri[n]);
        }
        lua_rawseti(L, -2, (int)n + 1);
    }
    if (!s.KrylovBasis) return 2;
    if (dense) {
        // The eigenstates of H in the closed space, lowest first.
        lua_createtable(L, (int)w.A.N, 0);
        for (uint32_t m = 0; m < w.A.N; m++) {
            WaveFunctionType e;
            if (WaveFunctionInitCopyBasis(&e, w.A) != 0) return luaL_error(L, "WaveFunctionInitCopyBasis%s", kSplit);
            const bool complexValues = w.V.QComplex != 0;
            if (complexValues && e.QComplex == 0 && PromoteRealWaveFunctionToComplex(&e) != 0) {
                WaveFunctionFreeValues(&e);
                return luaL_error(L, "PromoteRealWaveFunctionToComplex%s", kSplit);
            }
            for (uint32_t i = 1; i <= w.A.N; i++) {
                const Complex16 v = CompactMatrixElement(w.V, m, i - 1);
                WaveFunctionRe(e, i) = v.re;
                if (e.QComplex) WaveFunctionIm(e, i) = v.im;
            }
            WaveFunctionType own;
            const int fail = WaveFunctionCopy(e, &own);
            WaveFunctionFreeValues(&e);
            if (fail != 0) return luaL_error(L, "WaveFunctionCopy%s", kSplit);
            WaveFunctionTruncateBasisMachineEpsilon(&own);
            LuaPushWaveFunction(L, own);
            lua_rawseti(L, -2, (int)m + 1);
        }
        return 3;
    }

    // The Krylov vectors, empty ones left out; one table per pair when there
    // are several.
    if (npairs > 1) lua_createtable(L, (int)npairs, 0);
    for (size_t n = 0; n < npairs; n++) {
        lua_newtable(L);
        int k = 0;
        for (auto& v : w.krylov[n]) {
            if (v.N == 0) continue;
            LuaPushWaveFunction(L, v);
            v = WaveFunctionType{};
            lua_rawseti(L, -2, ++k);
        }
        if (npairs > 1) lua_rawseti(L, -2, (int)n + 1);
    }
    return 3;
}
