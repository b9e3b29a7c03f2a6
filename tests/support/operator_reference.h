// A brute-force reference for applying operators to states, written apart
// from the kernels: determinants are lists of occupation numbers, the sign of
// a fermion ladder is found by counting the occupied modes below it one by
// one, and for few modes the operator is a dense matrix over all 2^NF
// occupations.  Random operators and states are made here together with
// their reference copies.
#ifndef SKELDA_TESTS_OPERATOR_REFERENCE_H
#define SKELDA_TESTS_OPERATOR_REFERENCE_H

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <map>
#include <random>
#include <vector>

#include "manybody/operator.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction.h"

namespace ref {

typedef std::complex<double> Cx;
typedef std::vector<int> Occ;  // one occupation per mode, fermions first
typedef std::vector<uint8_t> Bytes;

inline uint16_t C(unsigned m) { return (uint16_t)(0x8000u | m); }
inline uint16_t A(unsigned m) { return (uint16_t)m; }

struct Term {
    std::vector<uint16_t> codes;  // in order of application
    Cx value;
};

struct Op {
    unsigned NF = 0, NB = 0;
    std::vector<Term> terms;
};

// Applies the ladders of t one after the other; false when one of them
// gives zero.
inline bool Apply(const Term& t, unsigned NF, Occ& occ, double& factor) {
    factor = 1.0;
    for (uint16_t code : t.codes) {
        const unsigned m = code & 0x7FFF;
        const bool create = (code & 0x8000) != 0;
        if (m < NF) {
            if (create ? occ[m] == 1 : occ[m] == 0) return false;
            int below = 0;
            for (unsigned k = 0; k < m; k++) below += occ[k];
            occ[m] = create ? 1 : 0;
            if (below % 2 == 1) factor = -factor;
        } else {
            const int n = occ[m];
            if (create) {
                if (n == 255) return false;
                occ[m] = n + 1;
                factor *= std::sqrt((double)(n + 1));
            } else {
                if (n == 0) return false;
                occ[m] = n - 1;
                factor *= std::sqrt((double)n);
            }
        }
    }
    return true;
}

inline Bytes ToBytes(const Occ& occ, unsigned NF, unsigned NB) {
    const unsigned nfb = (NF + 7) / 8;
    Bytes b(nfb + NB, 0);
    for (unsigned i = 0; i < NF; i++)
        if (occ[i]) b[i / 8] |= (uint8_t)(0x80 >> (i % 8));
    for (unsigned k = 0; k < NB; k++) b[nfb + k] = (uint8_t)occ[NF + k];
    return b;
}

inline Occ FromBytes(const uint8_t* b, unsigned NF, unsigned NB) {
    const unsigned nfb = (NF + 7) / 8;
    Occ occ(NF + NB, 0);
    for (unsigned i = 0; i < NF; i++) occ[i] = (b[i / 8] >> (7 - i % 8)) & 1;
    for (unsigned k = 0; k < NB; k++) occ[NF + k] = b[nfb + k];
    return occ;
}

// The reference result: per determinant the value, the sum of the magnitudes
// that went into it (for a rounding bound), and whether any term reached it.
struct Entry {
    Cx value = 0.0;
    double scale = 0.0;
};
typedef std::map<Bytes, Entry> Result;

struct State {
    unsigned NF = 0, NB = 0;
    std::vector<std::pair<Occ, Cx>> elements;
};

// O psi through the term list, determinant by determinant.
inline Result ApplySparse(const Op& O, const State& psi) {
    Result r;
    for (const auto& [occ0, a] : psi.elements) {
        for (const Term& t : O.terms) {
            Occ occ = occ0;
            double f;
            if (!Apply(t, O.NF, occ, f)) continue;
            Entry& e = r[ToBytes(occ, psi.NF, psi.NB)];
            e.value += a * t.value * f;
            e.scale += std::abs(a) * std::abs(t.value);
        }
    }
    return r;
}

// O psi for at most 12 fermion modes through a dense matrix: row and column
// index the occupations as bit i = mode i, and only the columns of psi's
// determinants are built.
inline Result ApplyDense(const Op& O, const State& psi) {
    const unsigned NF = O.NF;
    const size_t dim = (size_t)1 << NF;
    std::vector<std::vector<Cx>> columns;
    std::vector<std::vector<char>> reached;
    std::vector<size_t> index;
    for (const auto& element : psi.elements) {
        size_t col = 0;
        for (unsigned i = 0; i < NF; i++) col |= (size_t)element.first[i] << i;
        std::vector<Cx> column(dim, 0.0);
        std::vector<char> hit(dim, 0);
        for (const Term& t : O.terms) {
            Occ occ(NF);
            for (unsigned i = 0; i < NF; i++) occ[i] = (int)((col >> i) & 1);
            double f;
            if (!Apply(t, NF, occ, f)) continue;
            size_t row = 0;
            for (unsigned i = 0; i < NF; i++) row |= (size_t)occ[i] << i;
            column[row] += t.value * f;
            hit[row] = 1;
        }
        columns.push_back(column);
        reached.push_back(hit);
    }
    Result r;
    for (size_t row = 0; row < dim; row++) {
        Entry e;
        bool any = false;
        for (size_t j = 0; j < columns.size(); j++) {
            if (!reached[j][row]) continue;
            any = true;
            e.value += columns[j][row] * psi.elements[j].second;
            e.scale += std::abs(columns[j][row]) * std::abs(psi.elements[j].second) + 1e-300;
        }
        if (!any) continue;
        Occ occ(NF);
        for (unsigned i = 0; i < NF; i++) occ[i] = (int)((row >> i) & 1);
        r[ToBytes(occ, NF, 0)] = e;
    }
    return r;
}

inline Result Apply(const Op& O, const State& psi) {
    return (O.NF <= 12 && O.NB == 0) ? ApplyDense(O, psi) : ApplySparse(O, psi);
}

// Occupation ranges, counted mode by mode.
struct Range {
    std::vector<unsigned> modes;
    unsigned lo, hi;
};

inline bool Passes(const Bytes& det, unsigned NF, unsigned NB, const std::vector<Range>& ranges) {
    Occ occ = FromBytes(det.data(), NF, NB);
    for (const Range& r : ranges) {
        unsigned n = 0;
        for (unsigned m : r.modes) n += occ[m];
        if (n < r.lo || n > r.hi) return false;
    }
    return true;
}

inline Result Filter(const Result& r, unsigned NF, unsigned NB, const std::vector<Range>& ranges) {
    Result out;
    for (const auto& [det, e] : r)
        if (Passes(det, NF, NB, ranges)) out[det] = e;
    return out;
}

// The restriction record of the ranges (fermion modes only); free it with
// FreeDeterminantRestriction.
inline DeterminantRestrictionType MakeRestriction(unsigned NF, unsigned NB, const std::vector<Range>& ranges) {
    DeterminantRestrictionType R;
    InitDeterminantRestriction(&R);
    const unsigned nword = DeterminantNWord(NF, NB);
    R.NRestriction = (uint32_t)ranges.size();
    R.MinOcc = (uint32_t*)malloc(ranges.size() * sizeof(uint32_t));
    R.MaxOcc = (uint32_t*)malloc(ranges.size() * sizeof(uint32_t));
    R.Mask = (uint8_t**)malloc(ranges.size() * sizeof(uint8_t*));
    for (size_t k = 0; k < ranges.size(); k++) {
        R.MinOcc[k] = ranges[k].lo;
        R.MaxOcc[k] = ranges[k].hi;
        R.Mask[k] = (uint8_t*)calloc(nword > 0 ? nword : 1, 1);
        for (unsigned m : ranges[k].modes) R.Mask[k][m / 8] |= (uint8_t)(0x80 >> (m % 8));
    }
    return R;
}

// ---- Random operators and states ------------------------------------------

enum Kind { Real, Complex, Mixed };

struct RandomSettings {
    unsigned NF = 10, NB = 0;
    Kind kind = Real;
    unsigned n2 = 30, n4 = 60;     // terms of length 2 and 4
    bool numberChanging = false;   // also C C, A A, C, A products
    bool constant = true;
    bool dyadic = false;           // prefactors k/16, so that sums are exact
};

inline double RandomValue(std::mt19937_64& rng, bool dyadic) {
    if (dyadic) return (double)((int)(rng() % 33) - 16) / 16.0;
    return std::uniform_real_distribution<double>(-1.0, 1.0)(rng);
}

// A random operator and its reference term list.  Some terms repeat modes
// (C i A i, A i A i, C i C j A j A i, ...).  Mixed: length 2 real, 4 complex.
inline OperatorType RandomOperator(const RandomSettings& s, uint64_t seed, Op* reference) {
    std::mt19937_64 rng(seed);
    const unsigned modes = s.NF + s.NB;
    OperatorType O;
    EXPECT_EQ(InitOperator(&O), 0);
    O.NF = s.NF;
    O.NB = s.NB;
    O.NWord = DeterminantNWord(s.NF, s.NB);
    EXPECT_EQ(InitOperatorFixedLength(&O, 2, 5), 0);
    EXPECT_EQ(InitOperatorFixedLength(&O, 4, 6), 0);
    reference->NF = s.NF;
    reference->NB = s.NB;
    reference->terms.clear();
    auto mode = [&]() { return (unsigned)(rng() % modes); };
    auto add = [&](std::vector<uint16_t> codes, bool complexValue) {
        double re = RandomValue(rng, s.dyadic), im = complexValue ? RandomValue(rng, s.dyadic) : 0.0;
        if (complexValue)
            EXPECT_EQ(ComplexOperatorAddLader(&O, codes.data(), (unsigned)codes.size(), re, im), 0);
        else
            EXPECT_EQ(RealOperatorAddLader(&O, codes.data(), (unsigned)codes.size(), re), 0);
        reference->terms.push_back(Term{codes, Cx(re, im)});
    };
    if (s.constant) add({}, s.kind == Complex);
    for (unsigned k = 0; k < s.n2; k++) {
        unsigned i = mode(), j = rng() % 4 == 0 ? i : mode();
        std::vector<uint16_t> codes = {A(j), C(i)};  // C i A j
        if (s.numberChanging) {
            switch (rng() % 4) {
                case 0: codes = {C(j), C(i)}; break;
                case 1: codes = {A(j), A(i)}; break;
                case 2: codes = {C(j), A(i)}; break;
                default: break;
            }
        }
        add(codes, s.kind == Complex);
    }
    for (unsigned k = 0; k < s.n4; k++) {
        unsigned i = mode(), j = mode(), kk = mode(), l = mode();
        switch (rng() % 6) {
            case 0: kk = j; l = i; break;   // C i C j A j A i: a density product
            case 1: j = i; break;           // C i C i: never acts
            case 2: l = i; break;
            default: break;
        }
        std::vector<uint16_t> codes = {A(l), A(kk), C(j), C(i)};  // C i C j A k A l
        if (s.numberChanging && rng() % 3 == 0) codes = {C(l), A(kk), C(j), C(i)};
        add(codes, s.kind != Real);
    }
    OperatorRecountQComplex(&O);
    return O;
}

// A random state of ndet determinants with about `filling` of the fermion
// modes occupied (and boson occupations 0..3), real or complex.
inline WaveFunctionType RandomState(unsigned NF, unsigned NB, unsigned ndet, bool complexValues, uint64_t seed,
                                    State* reference, bool dyadic = false, double filling = 0.5,
                                    uint32_t nbitskey = 6) {
    std::mt19937_64 rng(seed);
    WaveFunctionType psi;
    psi.QComplex = complexValues ? 1 : 0;
    psi.NFermion = NF;
    psi.NBoson = NB;
    psi.NBitsKey = nbitskey;
    EXPECT_EQ(WaveFunctionInit(&psi), 0);
    reference->NF = NF;
    reference->NB = NB;
    reference->elements.clear();
    std::map<Bytes, size_t> seen;
    std::bernoulli_distribution occupied(filling);
    for (unsigned attempt = 0; reference->elements.size() < ndet && attempt < 100 * ndet + 100; attempt++) {
        Occ occ(NF + NB, 0);
        for (unsigned i = 0; i < NF; i++) occ[i] = occupied(rng) ? 1 : 0;
        for (unsigned k = 0; k < NB; k++) occ[NF + k] = (int)(rng() % 4);
        Bytes b = ToBytes(occ, NF, NB);
        if (seen.count(b)) continue;
        seen[b] = reference->elements.size();
        double re = RandomValue(rng, dyadic), im = complexValues ? RandomValue(rng, dyadic) : 0.0;
        if (complexValues)
            ComplexWaveFunctionAddElement(&psi, b.data(), re, im);
        else
            RealWaveFunctionAddElement(&psi, b.data(), re);
        reference->elements.push_back({occ, Cx(re, im)});
    }
    return psi;
}

// The elements of a state keyed by determinant.
inline std::map<Bytes, Cx> Contents(const WaveFunctionType& psi) {
    std::map<Bytes, Cx> m;
    for (uint32_t i = 1; i <= psi.N; i++) {
        const uint8_t* d = WaveFunctionDet(psi, i);
        Bytes b(d, d + psi.NWord);
        EXPECT_EQ(m.count(b), 0u) << "a determinant stands twice";
        double im = psi.QComplex ? WaveFunctionIm(psi, i) : 0.0;
        m[b] = Cx(WaveFunctionRe(psi, i), im);
    }
    return m;
}

inline ::testing::AssertionResult Close(Cx got, const Entry& want) {
    const double tol = 1e-13 * (1.0 + want.scale);
    if (std::abs(got - want.value) <= tol) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << got << ", want " << want.value;
}

// A growing result holds exactly the reached determinants, with the
// reference values to rounding.
inline void ExpectGrown(const WaveFunctionType& got, const Result& want, bool complexResult) {
    EXPECT_EQ(got.QComplex, complexResult ? 1u : 0u);
    std::map<Bytes, Cx> m = Contents(got);
    EXPECT_EQ(m.size(), want.size());
    for (const auto& [det, e] : want) {
        auto it = m.find(det);
        ASSERT_TRUE(it != m.end()) << "a reached determinant is missing";
        EXPECT_TRUE(Close(it->second, e));
    }
}

// A fixed-basis result: every basis element holds the reference value, 0
// for the determinants the operator does not reach.
inline void ExpectOnBasis(const WaveFunctionType& got, const Result& want) {
    for (uint32_t i = 1; i <= got.N; i++) {
        const uint8_t* d = WaveFunctionDet(got, i);
        Bytes b(d, d + got.NWord);
        Cx value(WaveFunctionRe(got, i), got.QComplex ? WaveFunctionIm(got, i) : 0.0);
        auto it = want.find(b);
        EXPECT_TRUE(Close(value, it == want.end() ? Entry() : it->second));
    }
}

}  // namespace ref

#endif
