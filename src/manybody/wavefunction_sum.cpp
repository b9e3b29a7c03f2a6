// Sums of two wave functions, a := a + c b, in the three basis relations
// (SameBasis, ConserveBasis, UnionBasis) and the kinds real, complex and
// complex target with real source.
#include <cmath>
#include <cstdio>

#include "manybody/wavefunction_algebra.h"
#include "manybody/wavefunction_slots.h"

using wfslots::ReportIn;

namespace {

// Kinds of (target, source).
enum class Kind { RR, CC, CR };

// The factor c = x + i y; the template flag Cplx of the loops says whether
// y takes part at all.
struct Factor {
    double x, y;
};

inline void AtomicAdd(double& target, double value) {
#pragma omp atomic
    target += value;
}

bool KindIs(const WaveFunctionType& a, const WaveFunctionType& b, Kind k) {
    switch (k) {
        case Kind::RR: return !a.QComplex && !b.QComplex;
        case Kind::CC: return a.QComplex && b.QComplex;
        case Kind::CR: return a.QComplex && !b.QComplex;
    }
    return false;
}

// The common preconditions of every sum: states of one determinant size and
// of the kinds the member is made for.
bool Check(const WaveFunctionType& a, const WaveFunctionType& b, Kind k, const char* fn) {
    if (a.NWord != b.NWord) {
        printf("%s called with functions of different determinant length (%u and %u bytes)\n", fn, a.NWord,
               b.NWord);
        fflush(stdout);
        return false;
    }
    if (!KindIs(a, b, k)) {
        printf("%s called with functions of the wrong kind (QComplex %u and %u)\n", fn, a.QComplex, b.QComplex);
        fflush(stdout);
        return false;
    }
    return true;
}

// ---- SameBasis ---------------------------------------------------------------

template <Kind K, bool Cplx>
int SameBasisAdd(WaveFunctionType a, WaveFunctionType b, Factor c, const char* fn) {
    if (!Check(a, b, K, fn)) return 1;
    if (!wfslots::SameBasis(a, b)) {
        printf("%s called with functions that do not share one basis\n", fn);
        fflush(stdout);
        return 1;
    }
    const double x = c.x, y = c.y;
    wfslots::ForSlots(a.N, [&](uint32_t blk, uint32_t lo, uint32_t hi) {
        double* ar = a.ValueRe[blk];
        const double* br = b.ValueRe[blk];
        if (K == Kind::RR) {
#pragma omp simd
            for (uint32_t k = lo; k < hi; k++) ar[k] += x * br[k];
        } else if (K == Kind::CR) {
            double* ai = a.ValueIm[blk];
#pragma omp simd
            for (uint32_t k = lo; k < hi; k++) {
                ar[k] += x * br[k];
                if (Cplx) ai[k] += y * br[k];
            }
        } else {
            double* ai = a.ValueIm[blk];
            const double* bi = b.ValueIm[blk];
#pragma omp simd
            for (uint32_t k = lo; k < hi; k++) {
                if (Cplx) {
                    const double re = br[k], im = bi[k];
                    ar[k] += x * re - y * im;
                    ai[k] += x * im + y * re;
                } else {
                    ar[k] += x * br[k];
                    ai[k] += x * bi[k];
                }
            }
        }
    });
    return 0;
}

// ---- ConserveBasis -------------------------------------------------------------

template <Kind K, bool Cplx>
int ConserveBasisAdd(WaveFunctionType* a, WaveFunctionType b, Factor c, const char* fn) {
    if (!Check(*a, b, K, fn)) return 1;
    const WaveFunctionType& t = *a;
    const double x = c.x, y = c.y;
    const long n = (long)b.N;
#pragma omp parallel for schedule(static) if (n > 4096)
    for (long i = 1; i <= n; i++) {
        const uint32_t j = WaveFunctionIndexDet(&t, WaveFunctionDet(b, (uint32_t)i));
        if (j == 0) continue;
        const double re = WaveFunctionRe(b, (uint32_t)i);
        if (K == Kind::RR) {
            AtomicAdd(WaveFunctionRe(t, j), x * re);
        } else if (K == Kind::CR) {
            AtomicAdd(WaveFunctionRe(t, j), x * re);
            if (Cplx) AtomicAdd(WaveFunctionIm(t, j), y * re);
        } else {
            const double im = WaveFunctionIm(b, (uint32_t)i);
            AtomicAdd(WaveFunctionRe(t, j), Cplx ? x * re - y * im : x * re);
            AtomicAdd(WaveFunctionIm(t, j), Cplx ? x * im + y * re : x * im);
        }
    }
    return 0;
}

// ---- UnionBasis ------------------------------------------------------------------

// Serial adds in the source's index order; an element of value 0 is added
// too, so that the target's basis holds every determinant of the source.  A
// failed add leaves the target consistent, holding the sum over the elements
// before the failing one.
template <Kind K, bool Cplx>
int UnionBasisAdd(WaveFunctionType* a, WaveFunctionType b, Factor c, const char* fn) {
    if (!Check(*a, b, K, fn)) return 1;
    const double x = c.x, y = c.y;
    for (uint32_t i = 1; i <= b.N; i++) {
        const uint8_t* det = WaveFunctionDet(b, i);
        const double re = WaveFunctionRe(b, i);
        int failed;
        if (K == Kind::RR) {
            failed = RealWaveFunctionAddElement(a, det, x * re);
        } else if (K == Kind::CR) {
            failed = ComplexWaveFunctionAddElement(a, det, x * re, Cplx ? y * re : 0.0);
        } else {
            const double im = WaveFunctionIm(b, i);
            failed = Cplx ? ComplexWaveFunctionAddElement(a, det, x * re - y * im, x * im + y * re)
                          : ComplexWaveFunctionAddElement(a, det, x * re, x * im);
        }
        if (failed) {
            ReportIn(K == Kind::RR ? "RealWaveFunctionAddElement failed" : "ComplexWaveFunctionAddElement failed",
                     fn);
            return 1;
        }
    }
    return 0;
}

// Makes a real target complex when the source or the factor is complex.
int PromoteTargetIfNeeded(WaveFunctionType* a, const WaveFunctionType& b, double y, const char* group) {
    if (a->QComplex || (!b.QComplex && fabs(y) < ZeroCut)) return 0;
    if (PromoteRealWaveFunctionToComplex(a)) {
        ReportIn("MakeComplexWaveFunctionFromReal failed", group);
        return 1;
    }
    return 0;
}

// The general SameBasis form: the target is a by-value copy, so a real one
// can only take a real result.
int GeneralSameBasis(WaveFunctionType a, WaveFunctionType b, Factor c, bool cplxFactor, const char* fn) {
    const bool needComplex = b.QComplex || (cplxFactor && fabs(c.y) >= ZeroCut);
    if (!a.QComplex) {
        if (needComplex) {
            printf("%s can not add a complex function to a real one in place\n", fn);
            fflush(stdout);
            return 1;
        }
        return SameBasisAdd<Kind::RR, false>(a, b, c, fn);
    }
    if (b.QComplex)
        return cplxFactor ? SameBasisAdd<Kind::CC, true>(a, b, c, fn) : SameBasisAdd<Kind::CC, false>(a, b, c, fn);
    return cplxFactor ? SameBasisAdd<Kind::CR, true>(a, b, c, fn) : SameBasisAdd<Kind::CR, false>(a, b, c, fn);
}

int GeneralConserveBasis(WaveFunctionType* a, WaveFunctionType b, Factor c, bool cplxFactor, const char* fn) {
    if (PromoteTargetIfNeeded(a, b, cplxFactor ? c.y : 0.0, "WaveFunctionAddConserveBasis")) return 1;
    if (!a->QComplex) return ConserveBasisAdd<Kind::RR, false>(a, b, c, fn);
    if (b.QComplex)
        return cplxFactor ? ConserveBasisAdd<Kind::CC, true>(a, b, c, fn)
                          : ConserveBasisAdd<Kind::CC, false>(a, b, c, fn);
    return cplxFactor ? ConserveBasisAdd<Kind::CR, true>(a, b, c, fn) : ConserveBasisAdd<Kind::CR, false>(a, b, c, fn);
}

int GeneralUnionBasis(WaveFunctionType* a, WaveFunctionType b, Factor c, bool cplxFactor, const char* fn) {
    if (PromoteTargetIfNeeded(a, b, cplxFactor ? c.y : 0.0, "WaveFunctionAddUnionBasis")) return 1;
    if (!a->QComplex) return UnionBasisAdd<Kind::RR, false>(a, b, c, fn);
    if (b.QComplex)
        return cplxFactor ? UnionBasisAdd<Kind::CC, true>(a, b, c, fn) : UnionBasisAdd<Kind::CC, false>(a, b, c, fn);
    return cplxFactor ? UnionBasisAdd<Kind::CR, true>(a, b, c, fn) : UnionBasisAdd<Kind::CR, false>(a, b, c, fn);
}

const Factor kOne{1.0, 0.0};

}  // namespace

// ---- c = 1 ---------------------------------------------------------------------

int RealWaveFunctionAddSameBasis(WaveFunctionType a, WaveFunctionType b) {
    return SameBasisAdd<Kind::RR, false>(a, b, kOne, "RealWaveFunctionAddSameBasis");
}
int ComplexWaveFunctionAddSameBasis(WaveFunctionType a, WaveFunctionType b) {
    return SameBasisAdd<Kind::CC, false>(a, b, kOne, "ComplexWaveFunctionAddSameBasis");
}
int ComplexRealWaveFunctionAddSameBasis(WaveFunctionType a, WaveFunctionType b) {
    return SameBasisAdd<Kind::CR, false>(a, b, kOne, "ComplexRealWaveFunctionAddSameBasis");
}
int WaveFunctionAddSameBasis(WaveFunctionType a, WaveFunctionType b) {
    return GeneralSameBasis(a, b, kOne, false, "WaveFunctionAddSameBasis");
}

int RealWaveFunctionAddConserveBasis(WaveFunctionType* a, WaveFunctionType b) {
    return ConserveBasisAdd<Kind::RR, false>(a, b, kOne, "RealWaveFunctionAddConserveBasis");
}
int ComplexWaveFunctionAddConserveBasis(WaveFunctionType* a, WaveFunctionType b) {
    return ConserveBasisAdd<Kind::CC, false>(a, b, kOne, "ComplexWaveFunctionAddConserveBasis");
}
int ComplexRealWaveFunctionAddConserveBasis(WaveFunctionType* a, WaveFunctionType b) {
    return ConserveBasisAdd<Kind::CR, false>(a, b, kOne, "ComplexRealWaveFunctionAddConserveBasis");
}
int WaveFunctionAddConserveBasis(WaveFunctionType* a, WaveFunctionType b) {
    return GeneralConserveBasis(a, b, kOne, false, "WaveFunctionAddConserveBasis");
}

int RealWaveFunctionAddUnionBasis(WaveFunctionType* a, WaveFunctionType b) {
    return UnionBasisAdd<Kind::RR, false>(a, b, kOne, "RealWaveFunctionAddUnionBasis");
}
int ComplexWaveFunctionAddUnionBasis(WaveFunctionType* a, WaveFunctionType b) {
    return UnionBasisAdd<Kind::CC, false>(a, b, kOne, "ComplexWaveFunctionAddUnionBasis");
}
int ComplexRealWaveFunctionAddUnionBasis(WaveFunctionType* a, WaveFunctionType b) {
    return UnionBasisAdd<Kind::CR, false>(a, b, kOne, "ComplexRealWaveFunctionAddUnionBasis");
}
int WaveFunctionAddUnionBasis(WaveFunctionType* a, WaveFunctionType b) {
    return GeneralUnionBasis(a, b, kOne, false, "WaveFunctionAddUnionBasis");
}

// ---- c = x ---------------------------------------------------------------------

int RealWaveFunctionAddMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x) {
    return SameBasisAdd<Kind::RR, false>(a, b, {x, 0.0}, "RealWaveFunctionAddMultipliedSameBasis");
}
int ComplexWaveFunctionAddMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x) {
    return SameBasisAdd<Kind::CC, false>(a, b, {x, 0.0}, "ComplexWaveFunctionAddMultipliedSameBasis");
}
int ComplexRealWaveFunctionAddMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x) {
    return SameBasisAdd<Kind::CR, false>(a, b, {x, 0.0}, "ComplexRealWaveFunctionAddMultipliedSameBasis");
}
int WaveFunctionAddMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x) {
    return GeneralSameBasis(a, b, {x, 0.0}, false, "WaveFunctionAddMultipliedSameBasis");
}

int RealWaveFunctionAddMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x) {
    return ConserveBasisAdd<Kind::RR, false>(a, b, {x, 0.0}, "RealWaveFunctionAddMultipliedConserveBasis");
}
int ComplexWaveFunctionAddMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x) {
    return ConserveBasisAdd<Kind::CC, false>(a, b, {x, 0.0}, "ComplexWaveFunctionAddMultipliedConserveBasis");
}
int ComplexRealWaveFunctionAddMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x) {
    return ConserveBasisAdd<Kind::CR, false>(a, b, {x, 0.0}, "ComplexRealWaveFunctionAddMultipliedConserveBasis");
}
int WaveFunctionAddMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x) {
    return GeneralConserveBasis(a, b, {x, 0.0}, false, "WaveFunctionAddMultipliedConserveBasis");
}

int RealWaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x) {
    return UnionBasisAdd<Kind::RR, false>(a, b, {x, 0.0}, "RealWaveFunctionAddMultipliedUnionBasis");
}
int ComplexWaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x) {
    return UnionBasisAdd<Kind::CC, false>(a, b, {x, 0.0}, "ComplexWaveFunctionAddMultipliedUnionBasis");
}
int ComplexRealWaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x) {
    return UnionBasisAdd<Kind::CR, false>(a, b, {x, 0.0}, "ComplexRealWaveFunctionAddMultipliedUnionBasis");
}
int WaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x) {
    return GeneralUnionBasis(a, b, {x, 0.0}, false, "WaveFunctionAddMultipliedUnionBasis");
}

// ---- c = x + i y -----------------------------------------------------------------

int ComplexWaveFunctionAddComplexMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x, double y) {
    return SameBasisAdd<Kind::CC, true>(a, b, {x, y}, "ComplexWaveFunctionAddComplexMultipliedSameBasis");
}
int ComplexRealWaveFunctionAddComplexMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x,
                                                         double y) {
    return SameBasisAdd<Kind::CR, true>(a, b, {x, y}, "ComplexRealWaveFunctionAddComplexMultipliedSameBasis");
}
int WaveFunctionAddComplexMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x, double y) {
    return GeneralSameBasis(a, b, {x, y}, true, "WaveFunctionAddComplexMultipliedSameBasis");
}

int ComplexWaveFunctionAddComplexMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x,
                                                         double y) {
    return ConserveBasisAdd<Kind::CC, true>(a, b, {x, y}, "ComplexWaveFunctionAddComplexMultipliedConserveBasis");
}
int ComplexRealWaveFunctionAddComplexMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x,
                                                             double y) {
    return ConserveBasisAdd<Kind::CR, true>(a, b, {x, y},
                                            "ComplexRealWaveFunctionAddComplexMultipliedConserveBasis");
}
int WaveFunctionAddComplexMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x, double y) {
    return GeneralConserveBasis(a, b, {x, y}, true, "WaveFunctionAddComplexMultipliedConserveBasis");
}

int ComplexWaveFunctionAddComplexMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x,
                                                      double y) {
    return UnionBasisAdd<Kind::CC, true>(a, b, {x, y}, "ComplexWaveFunctionAddComplexMultipliedUnionBasis");
}
int ComplexRealWaveFunctionAddComplexMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x,
                                                          double y) {
    return UnionBasisAdd<Kind::CR, true>(a, b, {x, y}, "ComplexRealWaveFunctionAddComplexMultipliedUnionBasis");
}
int WaveFunctionAddComplexMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x, double y) {
    return GeneralUnionBasis(a, b, {x, y}, true, "WaveFunctionAddComplexMultipliedUnionBasis");
}
