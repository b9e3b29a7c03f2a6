// Mode maps: every ladder of an operator replaced by a linear combination of
// ladders of other modes (the basis of rotations and of the placement of an
// operator on other sites), and the change of the numbers of modes.
#include <omp.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "manybody/hash.h"
#include "manybody/operator_algebra.h"
#include "manybody/operator_algebra_detail.h"
#include "manybody/zerocut.h"
#include "numeric/matrix.h"

using opalg::KeyListSize;
using opalg::Report;

namespace {

// Appends one finished term to the plain list OA; the capacity doubles.
int AppendTerm(OperatorFixedLengthType* OA, const uint16_t* codes, unsigned int length, Complex16 value) {
    if (OA->N >= OA->NAloc) {
        bool first = OA->NAloc == 0;
        size_t aloc = first ? 16 : (size_t)OA->NAloc * 2;
        size_t codeCount = aloc * (length > 0 ? length : 1);
        uint16_t* o = (uint16_t*)realloc(OA->o, codeCount * sizeof(uint16_t));
        if (o == nullptr) {
            Report(first ? "Could not allocate memory for OA->o in MappedOperatorFixedLengthAtLevel"
                         : "Could not reallocate memory for OA->o in MappedOperatorFixedLengthAtLevel");
            return 1;
        }
        OA->o = o;
        if (OA->QComplex) {
            Complex16* v = (Complex16*)realloc(OA->V, aloc * sizeof(Complex16));
            if (v == nullptr) {
                Report(first ? "Could not allocate memory for OA->V in MappedOperatorFixedLengthAtLevel"
                             : "Could not reallocate memory for OA->V in MappedOperatorFixedLengthAtLevel");
                return 1;
            }
            OA->V = v;
        } else {
            double* v = (double*)realloc(OA->VRe, aloc * sizeof(double));
            if (v == nullptr) {
                Report(first ? "Could not allocate memory for OA->VRe in MappedOperatorFixedLengthAtLevel"
                             : "Could not reallocate memory for OA->VRe in MappedOperatorFixedLengthAtLevel");
                return 1;
            }
            OA->VRe = v;
        }
        OA->NAloc = (uint32_t)aloc;
    }
    memcpy(OA->o + (size_t)OA->N * length, codes, (size_t)length * sizeof(uint16_t));
    if (OA->QComplex) OA->V[OA->N] = value; else OA->VRe[OA->N] = value.re;
    OA->N++;
    return 0;
}

int MappedAddInto(OperatorType* O, const OperatorType& A, const OperatorModeMapType* map, double re, double im,
                  LaderOrderType order, const char* caller) {
    const Complex16 factor{re, im};
    int status = 0;
    for (unsigned int k = 0; k <= A.MaxLength && status == 0; k++) {
        const OperatorFixedLengthType& f = A.l[k];
        if (f.N == 0) continue;
        if (k > O->MaxLength && InitOperatorFixedLength(O, k, f.NBitsKey) != 0) {
            Report("InitOperatorFixedLength of length %i failed in %s\n", k, caller);
            return 1;
        }
        OperatorFixedLengthType OA;
        memset(&OA, 0, sizeof(OA));
        OA.QComplex = (map->QComplex || f.QComplex || std::fabs(im) >= ZeroCut) ? 1 : 0;
        uint16_t* work = (uint16_t*)malloc((size_t)(k > 0 ? k : 1) * sizeof(uint16_t));
        if (work == nullptr) {
            Report("could not allocate memory for a term in %s", caller);
            return 1;
        }
        for (uint32_t t = 0; t < f.N && status == 0; t++) {
            OA.N = 0;
            const uint16_t* term = k > 0 ? f.o + (size_t)t * k : nullptr;
            Complex16 v = opalg::TermValue(f, t) * factor;
            if (MappedOperatorFixedLengthAtLevel(&OA, term, k, 0, work, v, map) != 0) {
                Report("MappedOperatorFixedLengthAtLevel failed in %s", caller);
                status = 1;
                break;
            }
            for (uint32_t s = 0; s < OA.N; s++) {
                const uint16_t* codes = OA.o + (size_t)s * k;
                if (order != nullptr) {
                    status = OA.QComplex ? ComplexOperatorAddLaderNormalOrder(O, codes, k, OA.V[s].re, OA.V[s].im, order)
                                         : RealOperatorAddLaderNormalOrder(O, codes, k, OA.VRe[s], order);
                    if (status != 0) {
                        Report(OA.QComplex ? "ComplexOperatorAddLaderNormalOrder failed in %s"
                                           : "RealOperatorAddLaderNormalOrder failed in %s",
                               caller);
                        break;
                    }
                } else if (OA.QComplex) {
                    if (!O->l[k].QComplex && MakeRealOperatorFixedLengthComplex(O, k) != 0) {
                        Report("MakeRealOperatorFixedLengthComplex failed in %s", caller);
                        status = 1;
                        break;
                    }
                    if (ComplexOperatorAddLader(O, codes, k, OA.V[s].re, OA.V[s].im) != 0) {
                        Report("ComplexOperatorAddLader failed in %s", caller);
                        status = 1;
                        break;
                    }
                } else {
                    status = O->l[k].QComplex ? ComplexOperatorAddLader(O, codes, k, OA.VRe[s], 0.0)
                                              : RealOperatorAddLader(O, codes, k, OA.VRe[s]);
                    if (status != 0) {
                        Report("RealOperatorAddLader failed in %s", caller);
                        break;
                    }
                }
            }
        }
        free(work);
        free(OA.o);
        free(OA.V);
        free(OA.VRe);
    }
    OperatorRecountQComplex(O);
    return status;
}

// The same when A may be O itself (then A is copied first).
int MappedAdd(OperatorType* O, const OperatorType& A, const OperatorModeMapType* map, double re, double im,
              LaderOrderType order, const char* caller) {
    if (A.l != O->l) return MappedAddInto(O, A, map, re, im, order, caller);
    OperatorType copy;
    if (OperatorCopy(&copy, A) != 0) {
        Report("OperatorCopy failed in %s", caller);
        return 1;
    }
    int status = MappedAddInto(O, copy, map, re, im, order, caller);
    FreeOperator(&copy);
    return status;
}

// A restriction mask laid out for new mode counts: fermion bits of the modes
// kept, boson bytes of the bosons kept, zero elsewhere.
void RelayMask(const uint8_t* old, uint32_t NFold, uint32_t NBold, uint8_t* mask, uint32_t NFnew, uint32_t NBnew) {
    memset(mask, 0, DeterminantNWord(NFnew, NBnew));
    uint32_t nf = NFold < NFnew ? NFold : NFnew;
    for (uint32_t m = 0; m < nf; m++) {
        uint8_t bit = (uint8_t)(0x80 >> (m & 7));
        if (old[m >> 3] & bit) mask[m >> 3] |= bit;
    }
    uint32_t nb = NBold < NBnew ? NBold : NBnew;
    uint32_t oldBase = DeterminantNWord(NFold, 0), newBase = DeterminantNWord(NFnew, 0);
    for (uint32_t b = 0; b < nb; b++) mask[newBase + b] = old[oldBase + b];
}

}  // namespace

int InitOperatorModeMap(OperatorModeMapType* map, uint32_t nMode) {
    memset(map, 0, sizeof(*map));
    if (nMode == 0) return 0;
    map->NTarget = (uint32_t*)calloc(nMode, sizeof(uint32_t));
    map->NAloc = (uint32_t*)calloc(nMode, sizeof(uint32_t));
    map->Target = (uint16_t**)calloc(nMode, sizeof(uint16_t*));
    map->Value = (Complex16**)calloc(nMode, sizeof(Complex16*));
    if (map->NTarget == nullptr || map->NAloc == nullptr || map->Target == nullptr || map->Value == nullptr) {
        Report("could not allocate memory in InitOperatorModeMap");
        FreeOperatorModeMap(map);
        return 1;
    }
    map->NMode = nMode;
    return 0;
}

int OperatorModeMapAdd(OperatorModeMapType* map, uint32_t source, uint16_t target, double re, double im) {
    if (source >= map->NMode || target > LaderModeMask) {
        Report("mode %i or target %i out of range in OperatorModeMapAdd\n", source, target);
        return 1;
    }
    uint32_t n = map->NTarget[source];
    if (n >= map->NAloc[source]) {
        uint32_t aloc = map->NAloc[source] == 0 ? 4 : 2 * map->NAloc[source];
        uint16_t* t = (uint16_t*)realloc(map->Target[source], aloc * sizeof(uint16_t));
        if (t == nullptr) {
            Report("could not allocate memory in OperatorModeMapAdd");
            return 1;
        }
        map->Target[source] = t;
        Complex16* v = (Complex16*)realloc(map->Value[source], aloc * sizeof(Complex16));
        if (v == nullptr) {
            Report("could not allocate memory in OperatorModeMapAdd");
            return 1;
        }
        map->Value[source] = v;
        map->NAloc[source] = aloc;
    }
    map->Target[source][n] = target;
    map->Value[source][n] = Complex16{re, im};
    map->NTarget[source] = n + 1;
    if (im != 0.0) map->QComplex = 1;
    return 0;
}

void FreeOperatorModeMap(OperatorModeMapType* map) {
    for (uint32_t m = 0; m < map->NMode; m++) {
        if (map->Target != nullptr) free(map->Target[m]);
        if (map->Value != nullptr) free(map->Value[m]);
    }
    free(map->NTarget);
    free(map->NAloc);
    free(map->Target);
    free(map->Value);
    memset(map, 0, sizeof(*map));
}

int MappedOperatorFixedLengthAtLevel(OperatorFixedLengthType* OA, const uint16_t* term, unsigned int length,
                                     unsigned int level, uint16_t* work, Complex16 value,
                                     const OperatorModeMapType* map) {
    if (level == length) return AppendTerm(OA, work, length, value);
    uint16_t c = term[level];
    uint32_t mode = c & LaderModeMask;
    uint16_t kind = c & LaderCreation;
    if (mode >= map->NMode) {
        work[level] = c;
        return MappedOperatorFixedLengthAtLevel(OA, term, length, level + 1, work, value, map);
    }
    for (uint32_t k = 0; k < map->NTarget[mode]; k++) {
        Complex16 coefficient = map->Value[mode][k];
        if (std::fabs(coefficient.re) < SqrtZeroCut && std::fabs(coefficient.im) < SqrtZeroCut) continue;
        if (!kind) coefficient.im = -coefficient.im;
        work[level] = (uint16_t)(kind | map->Target[mode][k]);
        if (MappedOperatorFixedLengthAtLevel(OA, term, length, level + 1, work, value * coefficient, map) != 0)
            return 1;
    }
    return 0;
}

int MappedOperatorAdd(OperatorType* O, OperatorType A, const OperatorModeMapType* map, double re, double im) {
    return MappedAdd(O, A, map, re, im, nullptr, "MappedOperatorAdd");
}

int MappedOperatorAddNormalOrder(OperatorType* O, OperatorType A, const OperatorModeMapType* map, double re,
                                 double im, LaderOrderType order) {
    return MappedAdd(O, A, map, re, im, order, "MappedOperatorAddNormalOrder");
}

int OperatorChangeNFandNB(OperatorType* O, uint32_t NFnew, uint32_t NBnew) {
    if ((uint64_t)NFnew + NBnew > 32768u) {
        Report("Error in OperatorChangeNFandNB NFnew (%i) + NBnew (%i) larger than 32768\n", NFnew, NBnew);
        return 1;
    }
    const uint32_t NFold = O->NF, NBold = O->NB;
    if (NFnew == NFold && NBnew == NBold) return 0;
    const unsigned int NWordNew = DeterminantNWord(NFnew, NBnew);

    // Everything that can fail is allocated before the operator changes.
    uint32_t most = 0;
    for (unsigned int k = 1; k <= O->MaxLength; k++) {
        if (O->l[k].N > most) most = O->l[k].N;
    }
    uint8_t* keep = (uint8_t*)malloc(most > 0 ? most : 1);
    uint32_t* keys = (uint32_t*)malloc((most > 0 ? most : 1) * sizeof(uint32_t));
    uint8_t** masks = (uint8_t**)calloc(O->Restrictions.NRestriction > 0 ? O->Restrictions.NRestriction : 1,
                                        sizeof(uint8_t*));
    bool ok = keep != nullptr && keys != nullptr && masks != nullptr;
    for (uint32_t r = 0; ok && r < O->Restrictions.NRestriction; r++) {
        masks[r] = (uint8_t*)malloc(NWordNew > 0 ? NWordNew : 1);
        ok = masks[r] != nullptr;
    }
    if (!ok) {
        Report("could not allocate memory in OperatorChangeNFandNB");
        if (masks != nullptr) {
            for (uint32_t r = 0; r < O->Restrictions.NRestriction; r++) free(masks[r]);
        }
        free(masks);
        free(keep);
        free(keys);
        return 1;
    }

    for (uint32_t r = 0; r < O->Restrictions.NRestriction; r++) {
        RelayMask(O->Restrictions.Mask[r], NFold, NBold, masks[r], NFnew, NBnew);
        free(O->Restrictions.Mask[r]);
        O->Restrictions.Mask[r] = masks[r];
    }
    free(masks);

    for (unsigned int k = 1; k <= O->MaxLength; k++) {
        OperatorFixedLengthType* f = &O->l[k];
        const long n = f->N;
        if (n == 0) continue;
        // New codes of every term, and whether all its modes still exist.
#pragma omp parallel for schedule(static)
        for (long t = 0; t < n; t++) {
            uint16_t* o = f->o + (size_t)t * k;
            uint8_t good = 1;
            for (unsigned int i = 0; i < k; i++) {
                uint32_t mode = o[i] & LaderModeMask;
                uint16_t kind = o[i] & LaderCreation;
                if (mode < NFold) {
                    if (mode >= NFnew) good = 0;
                } else {
                    uint32_t b = mode - NFold;
                    if (b >= NBnew) good = 0;
                    else o[i] = (uint16_t)(kind | (NFnew + b));
                }
            }
            keep[t] = good;
        }
        // Compact in order, then hash in parallel and relink serially, so
        // that the chains do not depend on the number of threads.
        uint32_t kept = 0;
        for (long t = 0; t < n; t++) {
            if (!keep[t]) continue;
            if (kept != (uint32_t)t) {
                memmove(f->o + (size_t)kept * k, f->o + (size_t)t * k, (size_t)k * sizeof(uint16_t));
                if (f->QComplex) f->V[kept] = f->V[t]; else f->VRe[kept] = f->VRe[t];
            }
            kept++;
        }
        f->N = kept;
        const long m = kept;
        const unsigned int nbits = f->NBitsKey;
#pragma omp parallel for schedule(static)
        for (long t = 0; t < m; t++) keys[t] = hash(f->o + (size_t)t * k, (size_t)k * sizeof(uint16_t), nbits);
        memset(f->KeyList, 0, KeyListSize(nbits) * sizeof(uint32_t));
        for (long t = 0; t < m; t++) {
            f->Next[t] = 0;
            uint32_t s = f->KeyList[keys[t]];
            if (s == 0) {
                f->KeyList[keys[t]] = (uint32_t)t + 1;
                continue;
            }
            while (f->Next[s - 1] != 0) s = f->Next[s - 1];
            f->Next[s - 1] = (uint32_t)t + 1;
        }
    }
    free(keep);
    free(keys);
    O->NF = NFnew;
    O->NB = NBnew;
    O->NWord = NWordNew;
    OperatorRecountQComplex(O);
    return 0;
}

// ---------------------------------------------------------------------------
// Rotation by a one-particle basis change.

namespace {

// Values below this fraction of the largest prefactor of the source are
// rounding noise of the expansion and are removed from a rotated operator.
const double RotationRelativeCut = 1e-14;

// The map of a basis change U with the new orbitals in its rows,
// new_r = sum_i U[r][i] old_i: old C i = sum_r conj(U[r][i]) new C r.
int MapFromBasis(const MatrixType& U, uint32_t NF, uint32_t NB, OperatorModeMapType* map, const char* caller) {
    if (U.Ni != U.Nj || U.Ni <= 0 || (uint32_t)U.Ni > NF + NB) {
        Report("%s needs a square matrix of at most NF + NB = %i rows, got %i x %i\n", caller, NF + NB, U.Ni, U.Nj);
        return 1;
    }
    const uint32_t n = (uint32_t)U.Ni;
    if (InitOperatorModeMap(map, n) != 0) return 1;
    for (uint32_t i = 0; i < n; i++) {
        for (uint32_t r = 0; r < n; r++) {
            double re = U.Re[r][i], im = U.QComplex ? -U.Im[r][i] : 0.0;
            if (re == 0.0 && im == 0.0) continue;
            if ((i < NF) != (r < NF)) {
                Report("%s: the matrix mixes fermion mode %i with boson mode %i\n", caller, i < NF ? i : r,
                       i < NF ? r : i);
                FreeOperatorModeMap(map);
                return 1;
            }
            if (OperatorModeMapAdd(map, i, (uint16_t)r, re, im) != 0) {
                FreeOperatorModeMap(map);
                return 1;
            }
        }
    }
    return 0;
}

int Rotate(OperatorType* O, const OperatorType& A, const MatrixType& U, LaderOrderType order, const char* caller) {
    OperatorModeMapType map;
    if (MapFromBasis(U, A.NF, A.NB, &map, caller) != 0) return 1;
    if (InitOperatorCopySettings(O, A) != 0) {
        Report("InitOperatorCopySettings failed in %s", caller);
        FreeOperatorModeMap(&map);
        return 1;
    }
    int status = order ? MappedOperatorAddNormalOrder(O, A, &map, 1.0, 0.0, order)
                       : MappedOperatorAdd(O, A, &map, 1.0, 0.0);
    FreeOperatorModeMap(&map);
    if (status != 0) {
        Report("MappedOperatorAdd failed in %s", caller);
        FreeOperator(O);
        return 1;
    }
    double largest = 0.0;
    for (unsigned k = 0; k <= A.MaxLength; k++)
        for (uint32_t t = 0; t < A.l[k].N; t++)
            largest = std::fmax(largest, opalg::Magnitude(opalg::TermValue(A.l[k], t)));
    OperatorRemoveSmallValues(O, RotationRelativeCut * largest);
    return 0;
}

}  // namespace

int RotateOperator(OperatorType* O, OperatorType A, MatrixType U) {
    return Rotate(O, A, U, nullptr, "RotateOperator");
}

int RotateOperatorNormalOrder(OperatorType* O, OperatorType A, MatrixType U, LaderOrderType order) {
    return Rotate(O, A, U, order, "RotateOperatorNormalOrder");
}
