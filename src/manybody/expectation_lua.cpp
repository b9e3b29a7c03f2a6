// Braket, BraketDiagonal, DensityMatrix, Statistics and
// PrintExpectationValues: argument reading and result building around the
// kernels of manybody/expectation.h.
#include <cmath>
#include <cstdio>
#include <vector>

#include "base/complex_lua.h"
#include "base/options.h"
#include "manybody/expectation.h"
#include "manybody/expectation_lua.h"
#include "manybody/operator_lua.h"
#include "manybody/wavefunction_algebra.h"
#include "numeric/matrix_lua.h"

namespace {

const char* const kWavefunctionType = "Wavefunction_Type";

WaveFunctionType* TestState(lua_State* L, int idx) {
    return static_cast<WaveFunctionType*>(luaL_testudata(L, idx, kWavefunctionType));
}

// The states at idx: one state (*list false), or a table of states (*list
// true; an empty table is an empty list).  The records alias the storage of
// the userdata, which the arguments keep alive.  False for anything else.
bool ReadStates(lua_State* L, int idx, std::vector<WaveFunctionType>* out, bool* list) {
    out->clear();
    if (WaveFunctionType* psi = TestState(L, idx)) {
        out->push_back(*psi);
        *list = false;
        return true;
    }
    if (!lua_istable(L, idx)) return false;
    const int n = (int)lua_rawlen(L, idx);
    for (int k = 1; k <= n; k++) {
        lua_rawgeti(L, idx, k);
        WaveFunctionType* psi = TestState(L, -1);
        lua_pop(L, 1);
        if (psi == nullptr) return false;
        out->push_back(*psi);
    }
    *list = true;
    return true;
}

// A table of operators (at least one) at idx into out; false for anything
// else.
bool ReadOperatorList(lua_State* L, int idx, std::vector<OperatorType>* out) {
    out->clear();
    if (!lua_istable(L, idx)) return false;
    const int n = (int)lua_rawlen(L, idx);
    for (int k = 1; k <= n; k++) {
        lua_rawgeti(L, idx, k);
        OperatorType* O = luaL_testOperator(L, -1);
        lua_pop(L, 1);
        if (O == nullptr) return false;
        out->push_back(*O);
    }
    return n > 0;
}

bool NegligibleImaginary(double re, double im) {
    return std::fabs(im) < (std::fabs(re) * 2.220446049250313e-16 + 2.2250738585072014e-308) * 10;
}

void PushValue(lua_State* L, double re, double im) {
    if (NegligibleImaginary(re, im))
        lua_pushnumber(L, re);
    else
        LuaPushComplex16(L, Complex16{re, im});
}

// Runs attempt() (0 on success, 1 on failure with nothing left to free); on
// a failure runs a full collection and tries once more, then raises message.
template <class Attempt>
void Retry(lua_State* L, Attempt attempt, const char* message) {
    if (attempt() == 0) return;
    lua_gc(L, LUA_GCCOLLECT, 0);
    if (attempt() == 0) return;
    luaL_error(L, "%s", message);
}

// Owns the first `made` of its matrices while script errors may still
// happen.
struct MatrixHolder {
    std::vector<MatrixType> M;
    size_t made = 0;
    explicit MatrixHolder(size_t n) : M(n) {}
    MatrixHolder(const MatrixHolder&) = delete;
    MatrixHolder& operator=(const MatrixHolder&) = delete;
    ~MatrixHolder() {
        for (size_t k = 0; k < made; k++) FreeMatrix(&M[k]);
    }
};

// The table form of M, made real when no element has an imaginary part
// that counts.
void PushMatrix(lua_State* L, MatrixType* M) {
    if (M->QComplex) {
        bool real = true;
        for (int i = 0; i < M->Ni && real; i++)
            for (int j = 0; j < M->Nj && real; j++) real = NegligibleImaginary(M->Re[i][j], M->Im[i][j]);
        if (real) MakeComplexMatrixReal(M);
    }
    LuaPushTable_MatrixType(L, *M);
}

void CheckSameModes(lua_State* L, const WaveFunctionType& a, const WaveFunctionType& b, const char* who) {
    if (a.NFermion != b.NFermion || a.NBoson != b.NBoson)
        luaL_error(L, "Error in %s, wavefunctions of %d fermions and %d bosons and of %d fermions and %d bosons "
                      "can not be combined\n",
                   who, (int)a.NFermion, (int)a.NBoson, (int)b.NFermion, (int)b.NBoson);
}

void CheckOperatorFits(lua_State* L, const OperatorType& O, const WaveFunctionType& psi, const char* who) {
    if (O.NF > psi.NFermion || O.NB != psi.NBoson)
        luaL_error(L, "Error in %s, an operator of %d fermions and %d bosons can not act on a wavefunction of %d "
                      "fermions and %d bosons\n",
                   who, (int)O.NF, (int)O.NB, (int)psi.NFermion, (int)psi.NBoson);
}

// <a|b>, or <a|O|b> when O is not null.
void Element(lua_State* L, const OperatorType* O, const WaveFunctionType& a, const WaveFunctionType& b,
             const char* who, const char* memory, double* re, double* im) {
    CheckSameModes(L, a, b, who);
    if (O != nullptr) {
        CheckOperatorFits(L, *O, b, who);
        Retry(L, [&]() { return PsiPrimeOperatorPsi(*O, a, b, re, im); }, memory);
    } else if (a.KeyList == b.KeyList && a.N == b.N) {
        Retry(L, [&]() { return WaveFunctionDotProductSameBasis(a, b, re, im); }, memory);
    } else {
        Retry(L, [&]() { return WaveFunctionDotProduct(a, b, re, im); }, memory);
    }
}

// The matrix of <a_i|b_j> or <a_i|O|b_j>.
void PushElementMatrix(lua_State* L, const OperatorType* O, const std::vector<WaveFunctionType>& a,
                       const std::vector<WaveFunctionType>& b) {
    const char* memory = "Error in BraKet, out of memory\n";
    for (const WaveFunctionType& x : a)
        for (const WaveFunctionType& y : b) {
            CheckSameModes(L, x, y, "BraKet");
            if (O != nullptr) CheckOperatorFits(L, *O, y, "BraKet");
        }
    MatrixHolder h(1);
    MatrixType* M = &h.M[0];
    if (O != nullptr) {
        Retry(L, [&]() { return PsiPrimeOperatorPsiMatrix(*O, a.data(), (unsigned)a.size(), b.data(),
                                                          (unsigned)b.size(), M); },
              memory);
        h.made = 1;
    } else {
        bool complex = false;
        for (const WaveFunctionType& x : a) complex = complex || x.QComplex;
        for (const WaveFunctionType& y : b) complex = complex || y.QComplex;
        M->Ni = (int32_t)a.size();
        M->Nj = (int32_t)b.size();
        M->QComplex = complex ? 1 : 0;
        Retry(L, [&]() { return InitMatrix(M); }, memory);
        h.made = 1;
        for (size_t i = 0; i < a.size(); i++)
            for (size_t j = 0; j < b.size(); j++) {
                double re = 0.0, im = 0.0;
                Element(L, nullptr, a[i], b[j], "BraKet", memory, &re, &im);
                M->Re[i][j] = re;
                if (complex) M->Im[i][j] = im;
            }
    }
    PushMatrix(L, M);
}

ExpectationTableSettingsType ReadTableOptions(lua_State* L, int idx) {
    ExpectationTableSettingsType settings;
    InitExpectationTableSettings(&settings);
    int32_t colWidth = settings.colWidth, every = settings.printHeaderEvery;
    LuaOptionsType options[] = {
        {"colWidth", "int", &colWidth},
        {"printHeaderEvery", "int", &every},
        {"printSigma", "bool", &settings.printSigma},
        {"sortByEnergy", "bool", &settings.sortByEnergy},
        {"zero", "double", &settings.zero},
        {nullptr, nullptr, nullptr},
    };
    LuaCheckOptions(L, idx, options);
    settings.colWidth = colWidth;
    settings.printHeaderEvery = every < 0 ? 0 : every;
    return settings;
}

// The orbitals at idx if it is a list of mode numbers (whole numbers from
// 0); false otherwise.
bool ReadOrbitals(lua_State* L, int idx, std::vector<uint16_t>* out) {
    out->clear();
    if (!lua_istable(L, idx)) return false;
    const int n = (int)lua_rawlen(L, idx);
    for (int k = 1; k <= n; k++) {
        lua_rawgeti(L, idx, k);
        const bool number = lua_type(L, -1) == LUA_TNUMBER;
        const double x = number ? lua_tonumber(L, -1) : -1.0;
        lua_pop(L, 1);
        if (!number || x < 0.0 || x > 65535.0 || x != std::floor(x)) return false;
        out->push_back((uint16_t)x);
    }
    return n > 0;
}

}  // namespace

int LuaBraKet(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 2 && nargs != 3) return luaL_error(L, "Error in BraKet, called with %d arguments, 2 or 3 expected\n", nargs);
    const OperatorType* O = nargs == 3 ? luaL_checkOperator(L, 2) : nullptr;
    std::vector<WaveFunctionType> a, b;
    bool aList = false, bList = false;
    if (!ReadStates(L, 1, &a, &aList))
        return luaL_error(L, "Error in BraKet, argument 1 should be a wavefunction or a list of wavefunctions\n");
    if (!ReadStates(L, nargs, &b, &bList))
        return luaL_error(L, "Error in BraKet, argument %d should be a wavefunction or a list of wavefunctions\n",
                          nargs);
    const char* memory = "Error in BraKet, out of memory\n";
    if (aList && bList) {
        PushElementMatrix(L, O, a, b);
        return 1;
    }
    if (!aList && !bList) {
        double re = 0.0, im = 0.0;
        Element(L, O, a[0], b[0], "BraKet", memory, &re, &im);
        PushValue(L, re, im);
        return 1;
    }
    const std::vector<WaveFunctionType>& list = aList ? a : b;
    std::vector<double> re(list.size()), im(list.size());
    for (size_t k = 0; k < list.size(); k++) {
        if (aList)
            Element(L, O, a[k], b[0], "BraKet", memory, &re[k], &im[k]);
        else
            Element(L, O, a[0], b[k], "BraKet", memory, &re[k], &im[k]);
    }
    lua_createtable(L, (int)list.size(), 0);
    for (size_t k = 0; k < list.size(); k++) {
        PushValue(L, re[k], im[k]);
        lua_rawseti(L, -2, (int)k + 1);
    }
    return 1;
}

int LuaBraKetDiagonal(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 2 && nargs != 3)
        return luaL_error(L, "Error in BraketDiagonal, called with %d arguments, 2 or 3 expected\n", nargs);
    const OperatorType* O = nargs == 3 ? luaL_checkOperator(L, 2) : nullptr;
    std::vector<WaveFunctionType> a, b;
    bool aList = false, bList = false;
    if (!ReadStates(L, 1, &a, &aList) || !ReadStates(L, nargs, &b, &bList))
        return luaL_error(L, "Error in BraketDiagonal, the first and the last argument should be lists of "
                             "wavefunctions\n");
    if (a.size() != b.size()) {
        printf("Diagonal elements of dot product of two tables of unequal length (%d and %d). Is this correct?\n",
               (int)a.size(), (int)b.size());
        fflush(stdout);
    }
    const size_t n = a.size() < b.size() ? a.size() : b.size();
    std::vector<double> re(n), im(n);
    for (size_t k = 0; k < n; k++)
        Element(L, O, a[k], b[k], "BraketDiagonal", "Error in BraketDiagonal, out of memory\n", &re[k], &im[k]);
    lua_createtable(L, (int)n, 0);
    for (size_t k = 0; k < n; k++) {
        PushValue(L, re[k], im[k]);
        lua_rawseti(L, -2, (int)k + 1);
    }
    return 1;
}

int LuaDensityMatrix(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs < 1 || nargs > 3)
        return luaL_error(L, "Error: DensityMatrix called with %d arguments, 1, 2 or 3 arguments expected", nargs);
    std::vector<WaveFunctionType> psi;
    bool list = false;
    if (!ReadStates(L, 1, &psi, &list))
        return luaL_error(L, "Error: DensityMatrix expects a function or a list of functions on the first position\n");
    std::vector<uint16_t> orbitals;
    int optionsIndex = 0;
    if (nargs >= 2) {
        if (ReadOrbitals(L, 2, &orbitals)) {
            if (nargs == 3) optionsIndex = 3;
        } else if (nargs == 2 && LuaTestOptionsList(L, 2)) {
            optionsIndex = 2;
        } else {
            return luaL_error(L, "Error: DensityMatrix position 2 should either be a list of integers selecting the "
                                 "orbitals to include or a list of options\n");
        }
    }
    uint8_t tensor = 0;
    if (optionsIndex != 0) {
        LuaOptionsType options[] = {{"Tensor", "bool", &tensor}, {nullptr, nullptr, nullptr}};
        LuaCheckOptions(L, optionsIndex, options);
    }
    if (tensor && !list)
        return luaL_error(L, "Error: DensityMatrix expects a list of functions on the first position when the option "
                             "{\"Tensor\",true} is set\n");
    for (const WaveFunctionType& p : psi) {
        CheckSameModes(L, psi[0], p, "DensityMatrix");
        for (uint16_t m : orbitals)
            if (m >= p.NFermion + p.NBoson)
                return luaL_error(L, "Error: DensityMatrix orbital %d is not one of the %d modes of the wavefunction\n",
                                  (int)m, (int)(p.NFermion + p.NBoson));
    }
    const uint16_t* orb = orbitals.empty() ? nullptr : orbitals.data();
    const unsigned int norb = (unsigned int)orbitals.size();
    const char* memory = "Error: DensityMatrix out of memory\n";
    if (tensor) {
        const size_t n = psi.size();
        MatrixHolder h(n * n);
        if (n > 0) {
            Retry(L, [&]() {
                return CalculatePartialDensityMatrixWithOffDiagonals(h.M.data(), (unsigned int)n, psi.data(),
                                                                    orb, norb);
            }, memory);
            h.made = n * n;
        }
        lua_createtable(L, (int)n, 0);
        for (size_t a = 0; a < n; a++) {
            lua_createtable(L, (int)n, 0);
            for (size_t b = 0; b < n; b++) {
                PushMatrix(L, &h.M[a * n + b]);
                lua_rawseti(L, -2, (int)b + 1);
            }
            lua_rawseti(L, -2, (int)a + 1);
        }
        return 1;
    }
    MatrixHolder h(psi.size());
    for (size_t k = 0; k < psi.size(); k++) {
        Retry(L, [&]() { return CalculateDensityMatrix(&h.M[k], psi[k], orb, norb); }, memory);
        h.made = k + 1;
    }
    if (!list) {
        PushMatrix(L, &h.M[0]);
        return 1;
    }
    lua_createtable(L, (int)psi.size(), 0);
    for (size_t k = 0; k < psi.size(); k++) {
        PushMatrix(L, &h.M[k]);
        lua_rawseti(L, -2, (int)k + 1);
    }
    return 1;
}

int LuaStatistics(lua_State* L) {
    if (OperatorType* O = luaL_testOperator(L, 1)) {
        StreamPrintOperatorStatistics(*O, stdout);
        fflush(stdout);
        return 0;
    }
    if (WaveFunctionType* psi = TestState(L, 1)) {
        Retry(L, [&]() { return StreamPrintWaveFunctionStatistics(*psi, stdout); },
              "Error in Statistics, out of memory\n");
        fflush(stdout);
        return 0;
    }
    return luaL_error(L, "Error Statistics expects a wave-function or operator as first imput\n");
}

int LuaPrintExpectationValues(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs < 2 || nargs > 4)
        return luaL_error(L, "PrintExpectationValues called with %d arguments. 2, 3 or 4 expected, List of "
                             "Wavefunctions, optional Hamiltonian, list of other operators, and optional list of "
                             "Options.\n",
                          nargs);
    std::vector<WaveFunctionType> psi;
    bool list = false;
    if (!ReadStates(L, 1, &psi, &list))
        return luaL_error(L, "PrintExpectationValues expects a list of wavefunctions on the first position\n");
    const OperatorType* H = nullptr;
    std::vector<OperatorType> ops, more;
    int optionsIndex = 0;
    for (int k = 2; k <= nargs; k++) {
        const bool last = k == nargs;
        if (OperatorType* O = luaL_testOperator(L, k)) {
            if (k == 2)
                H = O;
            else
                ops.push_back(*O);
        } else if (ReadOperatorList(L, k, &more)) {
            ops.insert(ops.end(), more.begin(), more.end());
        } else if (last && LuaTestOptionsList(L, k)) {
            optionsIndex = k;
        } else if (last) {
            return luaL_error(L, "Last argument of PrintExpectationValues should either be a single operator, a list "
                                 "of operators, or a list of options. It's not.\n");
        } else {
            return luaL_error(L, "PrintExpectationValues argument %d should be an operator or a list of operators\n",
                              k);
        }
    }
    const ExpectationTableSettingsType settings =
        optionsIndex != 0 ? ReadTableOptions(L, optionsIndex) : [] {
            ExpectationTableSettingsType s;
            InitExpectationTableSettings(&s);
            return s;
        }();
    for (const WaveFunctionType& p : psi) {
        if (H != nullptr) CheckOperatorFits(L, *H, p, "PrintExpectationValues");
        for (const OperatorType& O : ops) CheckOperatorFits(L, O, p, "PrintExpectationValues");
    }
    Retry(L, [&]() {
        return StreamPrintExpectationValues(psi.data(), (unsigned int)psi.size(), H, ops.data(),
                                            (unsigned int)ops.size(), settings, stdout);
    }, "Error in PrintExpectationValues, out of memory\n");
    return 0;
}
