// Named one-particle operators of an atomic shell: number, spin, orbital and
// total angular momentum, the magnetic dipole term T, quadrupoles, l.s,
// crystal fields and single ladders.
//
// A non-relativistic shell of momentum l is given by two lists of 2l+1
// modes, up[i] and dn[i] for m = i - l.  Every constructor initialises O
// itself: NF fermion modes, no bosons, its name, a length-2 record (key
// width 8) and, for squares, a length-4 record.  Terms are added in normal
// order (QDetNotOrderedFcFaBcBa), so a square holds its one-body
// contractions, and values below the cleaning tolerance (1e-14 times the
// largest prefactor) are removed at the end.  Operators whose coefficients
// are imaginary (Sy, Ly, Jy, Ty, Qxy, Qyz, a complex crystal field) are
// complex.  Each returns 0, or 1 after an allocation failure has been
// reported; O is then freed.
#ifndef SKELDA_ATOMIC_ONEPARTICLE_H
#define SKELDA_ATOMIC_ONEPARTICLE_H

#include <cstdint>
#include <cstdio>

#include "manybody/operator.h"

// An expansion on (Racah-normalised) spherical harmonics: entry i is
// l[i], m[i] and the value VRe[i] + i VIm[i].  VIm exists also for real
// values, where it holds zeros.  The record and its arrays are malloc'ed.
struct HarmonicsExpansion {
    uint32_t QComplex;
    uint32_t N;
    int32_t* l;
    int32_t* m;
    double* VRe;
    double* VIm;
};

// A new expansion of n zeroed entries, or null (with a line printed) when
// the memory can't be had.
HarmonicsExpansion* NewHarmonicsExpansion(uint32_t n);
// Frees the four arrays and the record; null is allowed.
void FreeHarmonicsExpansion(HarmonicsExpansion* A);
void StreamPrintHarmonicsExpansion(const HarmonicsExpansion* A, FILE* file);

// ---------------------------------------------------------------- spin
// n is the length of the lists, any n (also even: spin needs no shell).
int CreateOperatorSx(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorSy(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorSz(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorSplus(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorSmin(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorSsqr(uint32_t NF, unsigned n, const uint16_t* up, const uint16_t* dn, OperatorType* O);

// ---------------------------------------------------------------- orbital
// The lists hold 2l+1 modes each.
int CreateOperatorLx(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorLy(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorLz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorLplus(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorLmin(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorLsqr(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
// The same for one list of 2l+1 modes, without a spin sum.
int CreateOperatorLxNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O);
int CreateOperatorLyNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O);
int CreateOperatorLzNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O);
int CreateOperatorLplusNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O);
int CreateOperatorLminNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O);
int CreateOperatorLsqrNoSpin(uint32_t NF, int l, const uint16_t* idx, OperatorType* O);
// Lx of a shell in the tesseral, cubic or jj basis: accepted by the script
// face, but these leave O an empty operator named "Lx".  In the jj basis
// jmin holds the 2l modes of j = l-1/2 and jplus the 2l+2 modes of j = l+1/2.
int CreateOperatorLxZ(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorLxK(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorLxjjz(uint32_t NF, int l, const uint16_t* jmin, const uint16_t* jplus, OperatorType* O);

// ---------------------------------------------------------------- total
int CreateOperatorJx(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorJy(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorJz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorJplus(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorJmin(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorJsqr(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
// l.s of one electron (no factor zeta): l/2 on j = l+1/2, -(l+1)/2 on j = l-1/2.
int CreateOperatorldots(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);

// ---------------------------------------------------------------- T and Q
// Magnetic dipole T = S - 3 r (r.S) / r^2 of one electron, summed over the
// shell; Tplus = Tx + i Ty, Tmin = Tx - i Ty, Tsqr = Tx Tx + Ty Ty + Tz Tz.
int CreateOperatorTx(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorTy(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorTz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorTplus(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorTmin(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorTsqr(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
// Quadrupoles (3 r_i r_j - delta_ij r^2) / r^2 on the angular part of one
// electron, spin diagonal.
int CreateOperatorQxx(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorQyy(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorQzz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorQxy(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorQxz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);
int CreateOperatorQyz(uint32_t NF, int l, const uint16_t* up, const uint16_t* dn, OperatorType* O);

// ---------------------------------------------------------------- fields
// sum over the entries (k, q, A) of A C^k_q between shell 1 (created, l1)
// and shell 2 (annihilated, l2), once for the up lists and once for the
// down lists.  No Hermitian partner is added.
int CreateOperatorCF(uint32_t NF, int l1, int l2, const uint16_t* up1, const uint16_t* dn1, const uint16_t* up2,
                     const uint16_t* dn2, const HarmonicsExpansion* expansion, OperatorType* O);

// ---------------------------------------------------------------- ladders
// a+(i) a(j), named "Number operator a^{+}_(i) a_(j)".
int CreateOperatorNumber(uint32_t NF, uint16_t i, uint16_t j, OperatorType* O);
// The number of particles in the n listed modes, and its square.
int CreateOperatorNumberShell(uint32_t NF, unsigned n, const uint16_t* idx, OperatorType* O);
int CreateOperatorNumberShellSqr(uint32_t NF, unsigned n, const uint16_t* idx, OperatorType* O);
int CreateOperatorCreate(uint32_t NF, uint16_t i, OperatorType* O);
int CreateOperatorAnnihilate(uint32_t NF, uint16_t i, OperatorType* O);
int CreateOperatorIdentity(uint32_t NF, OperatorType* O);
// sum_k (re[k] + i im[k]) times a+(idx[k]), a(idx[k]), or a+(cr[k]) a(an[k]).
// Complex as soon as one im[k] is not 0.
int CreateOperatorCreateList(uint32_t NF, unsigned n, const uint16_t* idx, const double* re, const double* im,
                             OperatorType* O);
int CreateOperatorAnnihilateList(uint32_t NF, unsigned n, const uint16_t* idx, const double* re,
                                 const double* im, OperatorType* O);
int CreateOperatorCreateAnnihilateList(uint32_t NF, unsigned n, const uint16_t* cr, const uint16_t* an,
                                       const double* re, const double* im, OperatorType* O);

#endif
