// Vector-space operations on wave functions: sums, inner products, norms,
// scaling, truncation, restriction, random states, orthogonalisation and the
// conversions between real and complex states.
//
// How the bases of two states relate decides the cost, and is part of every
// name of the sum family:
//
//   SameBasis      both states alias one basis (the same KeyList and N, as
//                  after WaveFunctionInitCopyBasis or in a block of states).
//                  Index-by-index over the value blocks, no hashing, parallel
//                  over blocks.  The target is passed by value: its storage
//                  is written, its shape is not.
//   ConserveBasis  any two states.  Only determinants already in the target
//                  take part; each source element is looked up by hash and
//                  added with an atomic double addition, in parallel.  The
//                  target never grows.
//   UnionBasis     any two states.  The target grows by every determinant of
//                  the source (elements of value 0 included), through the
//                  serial add in the source's index order.
//
// Kinds: Real... (both real), Complex... (both complex), ComplexReal...
// (complex target, real source), and a general name without prefix that
// chooses by QComplex and promotes a real target when the source or the
// factor is complex.  A SameBasis target is passed by value and therefore
// can not be promoted: the general SameBasis forms fail on a real target
// that would need it.
//
// Loops over value blocks split the blocks below the last statically over
// the threads, and the slots of the last, partial block in a second parallel
// region.  Sums over threads are private partial sums combined after the
// loop, so their rounding may depend on the thread count.
//
// Functions returning int give 0 on success and 1 on failure; a failure
// prints one line on the standard output that names what failed and where.
#ifndef SKELDA_MANYBODY_WAVEFUNCTION_ALGEBRA_H
#define SKELDA_MANYBODY_WAVEFUNCTION_ALGEBRA_H

#include <cstdint>

#include "base/complex16.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction.h"

struct MatrixType;

// ---- Sums: a := a + c b --------------------------------------------------

// c = 1
int RealWaveFunctionAddSameBasis(WaveFunctionType a, WaveFunctionType b);
int ComplexWaveFunctionAddSameBasis(WaveFunctionType a, WaveFunctionType b);
int ComplexRealWaveFunctionAddSameBasis(WaveFunctionType a, WaveFunctionType b);
int WaveFunctionAddSameBasis(WaveFunctionType a, WaveFunctionType b);

int RealWaveFunctionAddConserveBasis(WaveFunctionType* a, WaveFunctionType b);
int ComplexWaveFunctionAddConserveBasis(WaveFunctionType* a, WaveFunctionType b);
int ComplexRealWaveFunctionAddConserveBasis(WaveFunctionType* a, WaveFunctionType b);
int WaveFunctionAddConserveBasis(WaveFunctionType* a, WaveFunctionType b);

int RealWaveFunctionAddUnionBasis(WaveFunctionType* a, WaveFunctionType b);
int ComplexWaveFunctionAddUnionBasis(WaveFunctionType* a, WaveFunctionType b);
int ComplexRealWaveFunctionAddUnionBasis(WaveFunctionType* a, WaveFunctionType b);
int WaveFunctionAddUnionBasis(WaveFunctionType* a, WaveFunctionType b);

// c = x
int RealWaveFunctionAddMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x);
int ComplexWaveFunctionAddMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x);
int ComplexRealWaveFunctionAddMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x);
int WaveFunctionAddMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x);

int RealWaveFunctionAddMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x);
int ComplexWaveFunctionAddMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x);
int ComplexRealWaveFunctionAddMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x);
int WaveFunctionAddMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x);

int RealWaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x);
int ComplexWaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x);
int ComplexRealWaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x);
int WaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x);

// c = x + i y.  A real target can not hold the result, so there is no Real
// member; the general forms keep a real target real when |y| < ZeroCut and
// the source is real.
int ComplexWaveFunctionAddComplexMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x, double y);
int ComplexRealWaveFunctionAddComplexMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x,
                                                         double y);
int WaveFunctionAddComplexMultipliedSameBasis(WaveFunctionType a, WaveFunctionType b, double x, double y);

int ComplexWaveFunctionAddComplexMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x,
                                                         double y);
int ComplexRealWaveFunctionAddComplexMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x,
                                                             double y);
int WaveFunctionAddComplexMultipliedConserveBasis(WaveFunctionType* a, WaveFunctionType b, double x, double y);

int ComplexWaveFunctionAddComplexMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x,
                                                      double y);
int ComplexRealWaveFunctionAddComplexMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x,
                                                          double y);
int WaveFunctionAddComplexMultipliedUnionBasis(WaveFunctionType* a, WaveFunctionType b, double x, double y);

// Blocks of states (count records sharing the basis of member 0, see
// wavefunction.h).  Member j of a gets member j of b; the target block grows
// by the determinants of b's basis.  The Complex forms take a complex target
// block and a real or complex source block.
int RealBlockWaveFunctionAddUnionBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int count);
int ComplexBlockWaveFunctionAddUnionBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int count);
// Member i of a (i < na) gets sum_j x[i*nb + j] b_j over the nb members of b:
// a block of states times a small matrix, as block Krylov methods need it.
int RealBlockWaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, unsigned int na, const WaveFunctionType* b,
                                                 unsigned int nb, const double* x);
int ComplexBlockWaveFunctionAddMultipliedUnionBasis(WaveFunctionType* a, unsigned int na,
                                                    const WaveFunctionType* b, unsigned int nb, const double* xre,
                                                    const double* xim);

// a := a + T(b), where T is the change of one-particle basis given by the
// rows of U: new mode r is sum_i U[r][i] (old mode i), so that the creator
// of old mode i becomes sum_r conj(U[r][i]) c+_r, the convention of
// RotateOperator, and a one-particle state's coefficients become conj(U)
// times the old ones.  U is square with at most NFermion rows; fermion modes
// from its size on and bosons stay as they are, and a and b have the same
// numbers of modes.  The prefactor of a new determinant is the minor of the
// coefficients with the sign of the ladder order.  The target grows as
// needed (serial adds).  The letters say target, matrix, source: real or
// complex.  The general form promotes a real target when U or b is complex.
int MappedWaveFunctionAdd(WaveFunctionType* a, WaveFunctionType b, MatrixType U);
int MappedWaveFunctionAddRRR(WaveFunctionType* a, WaveFunctionType b, MatrixType U);
int MappedWaveFunctionAddCRC(WaveFunctionType* a, WaveFunctionType b, MatrixType U);
int MappedWaveFunctionAddCCR(WaveFunctionType* a, WaveFunctionType b, MatrixType U);
int MappedWaveFunctionAddCCC(WaveFunctionType* a, WaveFunctionType b, MatrixType U);

// ---- Inner products and norms ----------------------------------------------
// <a|b>: the first argument is conjugated.  The state with fewer elements is
// walked and the other looked up, so the cost follows the smaller N.  The
// Real forms read only ValueRe; the Complex forms take either kind for
// either argument.
double RealWaveFunctionDotProduct(const WaveFunctionType* a, const WaveFunctionType* b);
Complex16 ComplexWaveFunctionDotProduct(const WaveFunctionType* a, const WaveFunctionType* b);
int WaveFunctionDotProduct(WaveFunctionType a, WaveFunctionType b, double* re, double* im);
// Both states on one basis: the blocks are paired, no lookups.
double RealWaveFunctionDotProductSameBasis(WaveFunctionType a, WaveFunctionType b);
Complex16 ComplexWaveFunctionDotProductSameBasis(WaveFunctionType a, WaveFunctionType b);
int WaveFunctionDotProductSameBasis(WaveFunctionType a, WaveFunctionType b, double* re, double* im);

// sqrt(sum |value|^2), and the sum itself.
int WaveFunctionCalculateNorm(WaveFunctionType psi, double* norm);
int WaveFunctionCalculateNormSqr(WaveFunctionType psi, double* norm2);
double RealWaveFunctionCalculateNorm(WaveFunctionType psi);
double ComplexWaveFunctionCalculateNorm(WaveFunctionType psi);

// Divide every value by the norm.  A state of norm 0 (below ZeroCut) can
// not be normalised: it is left alone and 1 is returned.
int WaveFunctionNormalize(WaveFunctionType* psi);
int RealWaveFunctionNormalize(WaveFunctionType psi);
int ComplexWaveFunctionNormalize(WaveFunctionType psi);

// Scale every value.  WaveFunctionMultiply keeps a real state real when
// |im| < ZeroCut and promotes it otherwise.
int WaveFunctionMultiply(WaveFunctionType* psi, double re, double im);
int RealWaveFunctionMultiply(WaveFunctionType psi, double x);
int ComplexWaveFunctionMultiply(WaveFunctionType psi, double x);
int ComplexWaveFunctionComplexMultiply(WaveFunctionType* psi, double re, double im);

// Complex conjugate in place; a real state is left alone.
int WaveFunctionConjugate(WaveFunctionType psi);

// A plain dot product of two arrays of n doubles, with four partial sums.
double RealVectorDotVectorMahan(const double* a, const double* b, unsigned int n);

// ---- Truncation and restriction --------------------------------------------
// All of these rebuild the state in place: the key list is cleared, the kept
// elements are inserted again in storage order (so they move to lower
// indices and N shrinks), and blocks above the new end are freed; the key
// width stays.  A failed re-insertion ends the process (FatalAllocationExit).

// Keeps the elements with |value| > eps (real) or re^2 + im^2 > eps^2.
int RealWaveFunctionTruncateBasis(WaveFunctionType* psi, double eps);
// Afterwards, when no kept element has im^2 > eps^2, the imaginary blocks
// are freed and the state becomes real.
int ComplexWaveFunctionTruncateBasisAllowReal(WaveFunctionType* psi, double eps);
// The same test, but QComplex stays as it is.
int WaveFunctionTruncateBasisDisallowComplexToReal(WaveFunctionType* psi, double eps);
// Real states: RealWaveFunctionTruncateBasis; complex ones: ...AllowReal.
int WaveFunctionTruncateBasis(WaveFunctionType* psi, double eps);
// WaveFunctionTruncateBasis with eps the double's epsilon, 2^-52.
int WaveFunctionTruncateBasisMachineEpsilon(WaveFunctionType* psi);
// A block of count states: an element is kept while any member passes.
int RealBlockWaveFunctionTruncateBasis(WaveFunctionType* psi, unsigned int count, double eps);
int ComplexBlockWaveFunctionTruncateBasis(WaveFunctionType* psi, unsigned int count, double eps);
int BlockWaveFunctionTruncateBasis(WaveFunctionType* psi, unsigned int count, double eps);

// Frees the imaginary blocks of a complex state, making it real, when
// sqrt(sum im^2) < eps; otherwise nothing changes.
int MakeComplexFunctionRealWhenNormSmall(WaveFunctionType* psi, double eps);

// Keeps exactly the determinants that pass QDetNotRestricted.
int WaveFunctionRestrict(WaveFunctionType* psi, DeterminantRestrictionType R);
int RealWaveFunctionRestrict(WaveFunctionType* psi, DeterminantRestrictionType R);
int ComplexWaveFunctionRestrict(WaveFunctionType* psi, DeterminantRestrictionType R);
int BlockWaveFunctionRestrict(WaveFunctionType* psi, unsigned int count, DeterminantRestrictionType R);

// ---- Random states ---------------------------------------------------------
// Every value := rand() - 1073741823 (roughly symmetric about 0), then the
// state is normalised; the basis is kept.  rand() is not re-seeded here, so
// results follow the seed of ksvsrand, and on more than one thread the order
// in which the threads draw.  The general form draws ValueIm too.  A state
// without elements can not be normalised: 1 is returned.
int RealWaveFunctionRandomize(WaveFunctionType psi);
int WaveFunctionRandomize(WaveFunctionType* psi);

// ---- Orthogonalisation ------------------------------------------------------
// a := a - sum_k <b_k|a> b_k over the n states b, taken one after the other
// (modified Gram-Schmidt), which are assumed orthonormal.  The plain form
// subtracts with the union add and may grow a; SameBasis needs a and all b
// on one basis; ConserveBasis keeps the basis of a.  The Complex forms take
// a complex a and b of either kind; the general forms promote a real a when
// some b is complex.
int RealWaveFunctionOrthogonalize(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n);
int ComplexWaveFunctionOrthogonalize(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n);
int WaveFunctionOrthogonalize(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n);
int RealWaveFunctionOrthogonalizeSameBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n);
int ComplexWaveFunctionOrthogonalizeSameBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n);
int WaveFunctionOrthogonalizeSameBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n);
int RealWaveFunctionOrthogonalizeConserveBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n);
int ComplexWaveFunctionOrthogonalizeConserveBasis(WaveFunctionType* a, const WaveFunctionType* b,
                                                  unsigned int n);
int WaveFunctionOrthogonalizeConserveBasis(WaveFunctionType* a, const WaveFunctionType* b, unsigned int n);

// Orthonormalise a list of n states in place.
//
// Gram-Schmidt, first element first: every state has the states before it
// projected out (twice, which keeps the overlaps at rounding level) and is
// normalised.  A state whose remaining norm is at most tolerance times its
// norm before the projection (or at rounding level) depends on the earlier
// ones: it is dropped.  The kept states move to the front of the list in
// their order, the dropped ones follow as zero states, and *nKept (if not
// null) receives the number kept.  The plain form works with union adds, so
// every state keeps a basis of its own; SameBasis needs one shared basis;
// DifferentBasis first puts the list on one basis with
// WaveFunctionArrayToSameBasis.  On a shared basis the records keep their
// places and only their values (and names) move, so member 0 stays the owner
// of the basis.
int WaveFunctionListOrthogonalize(WaveFunctionType* list, unsigned int n, double tolerance, unsigned int* nKept);
int WaveFunctionListOrthogonalizeSameBasis(WaveFunctionType* list, unsigned int n, double tolerance,
                                           unsigned int* nKept);
int WaveFunctionListOrthogonalizeDifferentBasis(WaveFunctionType* list, unsigned int n, double tolerance,
                                                unsigned int* nKept);

// Orthonormalisation through the overlap matrix S_ij = <psi_i|psi_j>, which
// is diagonalised (divide and conquer, one attempt).  A direction whose
// singular value sqrt(lambda) is at most singularValue, or whose eigenvalue
// is at rounding level against the largest, is dropped.  When none is
// dropped, the result is the symmetric (Lowdin) orthonormalisation
// S^(-1/2): the orthonormal states nearest to the given ones, in their
// order.  Otherwise the kept states are the eigenvector combinations
// sum_i v_k[i] psi_i / sqrt(lambda_k), largest eigenvalue first, followed by
// zero states.  *nKept (if not null) receives the number kept.  With factors
// not null (n*n entries) the overlaps factors[i*n + j] = <new_j|old_i> are
// returned, so that old_i = sum_j factors[i*n + j] new_j on the kept space.
int RealWaveFunctionListSVDOrthogonalizeSameBasis(WaveFunctionType* list, unsigned int n, double singularValue,
                                                  unsigned int* nKept, double* factors);
int ComplexWaveFunctionListSVDOrthogonalizeSameBasis(WaveFunctionType* list, unsigned int n, double singularValue,
                                                     unsigned int* nKept, Complex16* factors);
int WaveFunctionListSVDOrthogonalizeSameBasis(WaveFunctionType* list, unsigned int n, double singularValue,
                                              unsigned int* nKept);
// Every state on a basis of its own; the new states are built with union adds.
int RealWaveFunctionListSVDOrthogonalize(WaveFunctionType* list, unsigned int n, double singularValue,
                                         unsigned int* nKept);
int ComplexWaveFunctionListSVDOrthogonalize(WaveFunctionType* list, unsigned int n, double singularValue,
                                            unsigned int* nKept);
int WaveFunctionListSVDOrthogonalize(WaveFunctionType* list, unsigned int n, double singularValue,
                                     unsigned int* nKept);
int WaveFunctionListSVDOrthogonalizeDifferentBasis(WaveFunctionType* list, unsigned int n, double singularValue,
                                                   unsigned int* nKept);
// The singular-value cut-off for callers that have none of their own.
const double WaveFunctionListSVDDefaultSingularValue = 1e-12;

// ---- Copies, common bases and kinds -----------------------------------------

// A deep copy: name, settings, key list and every block.  out is
// initialised here; on failure nothing of it stays allocated.
int WaveFunctionCopy(WaveFunctionType psi, WaveFunctionType* out);

// Puts n states on one common basis, the union of their bases: afterwards
// every member aliases the basis of member 0 (a block of states, freed with
// BlockWaveFunctionFree), with its values and its kind unchanged.  The old
// records are freed; a record that shared its basis with an earlier one of
// the list loses only its values.  On failure the list is as before.
int WaveFunctionArrayToSameBasis(WaveFunctionType* list, unsigned int n);

// out takes over the storage of psi (out may be &psi) with zeroed imaginary
// blocks added.  A complex psi is handed over as it is.  On failure out is
// psi unchanged.
int MakeComplexWaveFunctionFromReal(WaveFunctionType* out, WaveFunctionType psi);
// out takes over the storage of psi with the imaginary blocks freed: the
// imaginary parts are dropped.
int MakeRealWaveFunctionFromComplex(WaveFunctionType psi, WaveFunctionType* out);
// Every member of a block of count states; on failure the block stays real.
int MakeComplexBlockWaveFunctionFromReal(WaveFunctionType* psi, unsigned int count);

#endif
