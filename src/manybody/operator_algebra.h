// Algebra of second-quantised operators: canonical orders of ladders and the
// contractions that reordering brings, sums, products, conjugation, cleaning,
// traces, the Hermiticity test, the exponential of a one-particle operator,
// mode maps and basis rotation, and conversion of short operators into
// matrices.
//
// Conventions.  Functions that build a result from scratch take the source
// first and the result last (NormalOrderOperator(A, &O, order)) and
// initialise the result themselves; functions named ...Add... and the
// numbered products OperatorMultiply2..5 add into an operator that already
// exists (made by InitOperatorForMult for products).  Every function returns
// 0 on success and 1 on failure, after printing one line that names what
// failed; the operators stay consistent (a failed add may have added part of
// the terms).
#ifndef SKELDA_MANYBODY_OPERATOR_ALGEBRA_H
#define SKELDA_MANYBODY_OPERATOR_ALGEBRA_H

#include <cstdint>

#include "base/complex16.h"
#include "manybody/operator.h"

struct MatrixType;
struct CompactMatrixType;
struct WaveFunctionType;

// ---------------------------------------------------------------------------
// Orders of ladders.
//
// An order compares two neighbouring ladders of a term in storage order: a is
// the code at position j, b the code at position j-1.  The result says what
// to do with the pair:
//   0  in order
//   1  swap, no sign (boson past fermion, two bosons of one kind)
//   2  fermion creator and annihilator out of order: swap and flip the sign;
//      on equal modes first add the contraction (+1)
//   3  two fermion ladders of one kind out of order: swap and flip the sign
//   4  boson creator and annihilator out of order: swap; on equal modes add
//      the contraction with +
//   5  as 4 with the contraction -
//   6  two identical fermion ladders: the term vanishes
// The names spell the written order, from the last-applied ladder on:
// F fermion, B boson, c creator, a annihilator.  FcFaBcBa is the normal
// order of every operator a script builds: storage order ascending in the
// unsigned code within fermions and within bosons, bosons applied first.
typedef int (*LaderOrderType)(uint16_t a, uint16_t b, uint32_t NF);

const int LaderInOrder = 0;
const int LaderSwap = 1;
const int LaderSwapFermionPairContract = 2;
const int LaderSwapFermionSign = 3;
const int LaderSwapBosonContractPlus = 4;
const int LaderSwapBosonContractMinus = 5;
const int LaderVanishes = 6;

int QDetNotOrderedFcFaBcBa(uint16_t a, uint16_t b, uint32_t NF);
int QDetNotOrderedFaFcBaBc(uint16_t a, uint16_t b, uint32_t NF);
int QDetNotOrderedFcFaBaBc(uint16_t a, uint16_t b, uint32_t NF);
int QDetNotOrderedFaFcBcBa(uint16_t a, uint16_t b, uint32_t NF);

// ---------------------------------------------------------------------------
// Ordered adds and sums.

// Adds value times the product o[0..length-1] (storage order) to O after
// bringing it into `order`; the contractions met on the way are added as
// shorter terms.  length must not exceed O->MaxLength (all shorter lengths
// exist then).  The real form adds to a complex length with imaginary part
// 0; the complex form makes every length it touches complex; the plain form
// keeps a real length real while |im| is below ZeroCut, like OperatorAddLader.
int RealOperatorAddLaderNormalOrder(OperatorType* O, const uint16_t* o, unsigned int length, double value,
                                    LaderOrderType order);
int ComplexOperatorAddLaderNormalOrder(OperatorType* O, const uint16_t* o, unsigned int length, double re,
                                       double im, LaderOrderType order);
int OperatorAddLaderNormalOrder(OperatorType* O, const uint16_t* o, unsigned int length, double re, double im,
                                LaderOrderType order);

// O := A brought into `order` (O is initialised here with A's settings).
int NormalOrderOperator(OperatorType A, OperatorType* O, LaderOrderType order);

// O := O + (re + i im) A, term by term.  Lengths of A beyond O->MaxLength are
// created with A's key widths.  O keeps its own NF, NB and restrictions.
int OperatorAdd(OperatorType* O, OperatorType A, double re, double im);
int OperatorAddNormalOrder(OperatorType* O, OperatorType A, double re, double im, LaderOrderType order);

// ---------------------------------------------------------------------------
// Products.  In A B the right factor acts first: the codes of a product term
// are those of B's term followed by those of A's term.

// An empty operator for the product of n factors (const OperatorType*
// arguments): NF, NB, NWord and restrictions of the first factor, and a
// record for every length up to the sum of the factors' MaxLength.  The key
// width of each length is sized to the smaller of the number of term
// products and the number of distinct terms of that length, between 2^4 and
// 2^18 buckets.
int InitOperatorForMult(OperatorType* O, int n, const OperatorType* first, ...);

// O := A B (initialises O).
int OperatorMultiply(OperatorType* O, OperatorType A, OperatorType B);
int OperatorMultiplyNormalOrder(OperatorType* O, OperatorType A, OperatorType B, LaderOrderType order);

// O := O + A B, O + A B C, ... for an O made by InitOperatorForMult (a
// length that is missing is created).
int OperatorMultiply2(OperatorType* O, OperatorType A, OperatorType B);
int OperatorMultiply3(OperatorType* O, OperatorType A, OperatorType B, OperatorType C);
int OperatorMultiply4(OperatorType* O, OperatorType A, OperatorType B, OperatorType C, OperatorType D);
int OperatorMultiply5(OperatorType* O, OperatorType A, OperatorType B, OperatorType C, OperatorType D,
                      OperatorType E);

// O := O + op(A) op(B) in `order`.  opA and opB: 'N' the operator as it is,
// 'C' its conjugate transpose, 'T' its transpose, '*' its complex conjugate
// (lower case accepted).  An unknown character fails.
int OperatorMultiply2NormalOrder(OperatorType* O, OperatorType A, OperatorType B, char opA, char opB,
                                 LaderOrderType order);
int OperatorMultiply3NormalOrder(OperatorType* O, OperatorType A, OperatorType B, OperatorType C,
                                 LaderOrderType order);
int OperatorMultiply4NormalOrder(OperatorType* O, OperatorType A, OperatorType B, OperatorType C,
                                 OperatorType D, LaderOrderType order);
int OperatorMultiply5NormalOrder(OperatorType* O, OperatorType A, OperatorType B, OperatorType C,
                                 OperatorType D, OperatorType E, LaderOrderType order);
// O := O + (re + i im) A B in `order`.
int OperatorMultiplyScaledNormalOrder(OperatorType* O, OperatorType A, OperatorType B, double re, double im,
                                      LaderOrderType order);

// O := O A, through a temporary; the old O is freed.  O keeps its name.
int OperatorMultiplyInline(OperatorType* O, OperatorType A);
int OperatorMultiplyNormalOrderInline(OperatorType* O, OperatorType A, LaderOrderType order);

// ---------------------------------------------------------------------------
// Conjugation, cleaning, scaling, copying.

// O := A^dagger (codes reversed, creation and annihilation exchanged,
// prefactors conjugated) or A^T (the same without conjugation); O is
// initialised here.  A complex length of A gives a complex length of O.
int OperatorConjugateTranspose(OperatorType A, OperatorType* O);
int OperatorConjugateTransposeNormalOrder(OperatorType A, OperatorType* O, LaderOrderType order);
int OperatorTranspose(OperatorType A, OperatorType* O);
int OperatorTransposeNormalOrder(OperatorType A, OperatorType* O, LaderOrderType order);

// Negates the imaginary parts in place.
void OperatorComplexConjugate(OperatorType* O);

// Drops every term whose magnitude is below eps, shrinks the arrays to the
// terms kept, and makes a complex length real when all its imaginary parts
// are below eps.
int OperatorRemoveSmallValues(OperatorType* O, double eps);

// Sets every real and every imaginary part below eps in magnitude to 0, then
// drops the terms that became 0 and makes complex lengths without imaginary
// parts real.
int OperatorChop(OperatorType* O, double eps);

// Multiplies every prefactor by re + i im; lengths with terms become complex
// when im is not 0.
int OperatorScale(OperatorType* O, double re, double im);

// O := a deep copy of A (O is initialised here).
int OperatorCopy(OperatorType* O, OperatorType A);
// Copies the terms and hash table of one length into a record made by
// InitOperatorCopySettings from the same source.
int OperatorFixedLengthCopy(OperatorFixedLengthType* dst, const OperatorFixedLengthType* src, unsigned int length);

// Makes every complex length whose imaginary parts are all below ZeroCut
// real again and recounts QComplex.
void SetQComplexOperator(OperatorType* O);

// ---------------------------------------------------------------------------
// Traces and Hermiticity.

// The sum of the prefactors of the number operators C m A m of the n listed
// modes.
int OperatorTrace(OperatorType O, const uint16_t* modes, int n, double* re, double* im);
double RealOperatorTrace(OperatorType O, const uint16_t* modes, int n);
Complex16 ComplexOperatorTrace(OperatorType O, const uint16_t* modes, int n);

// Adds the same multiple of each listed number operator so that the trace
// over the listed modes becomes re + i im.
int ComplexOperatorAddTrace(OperatorType* O, const uint16_t* modes, unsigned int n, double re, double im);

// Compares O with its conjugate transpose, both in normal order.  Let d be
// the largest prefactor of O - O^dagger and s the largest of O:
//   1  d <= tol: Hermitian
//   2  tol < d <= sqrt(tol) s: not fully Hermitian (a small relative defect)
//   0  otherwise: not Hermitian
//   3  the test itself failed (out of memory)
const int OperatorNotHermitian = 0;
const int OperatorHermitian = 1;
const int OperatorNotFullyHermitian = 2;
const int OperatorHermitianTestFailed = 3;
int QOperatorHermitian(OperatorType O, double tol);
// 1 when QOperatorHermitian gives 1, otherwise 0.
int isOperatorAlmostHermitian(OperatorType O, double tol);

// out := exp(z O) for a Hermitian one-particle operator O (fermion terms of
// lengths 0 and 2 only): with O = c + sum_k e_k n_k in its eigenmodes,
// exp(z O) = exp(z c) prod_k (1 + (exp(z e_k) - 1) n_k), a finite product
// because n_k^2 = n_k.  The result holds terms up to twice the number of
// modes, so it is meant for few modes.  Small values (below 1e-14 of the
// largest) are removed.
int HermitianOperatorExponent(OperatorType O, Complex16 z, OperatorType* out);
int HermitianOperatorNormalOrderExponent(OperatorType O, Complex16 z, OperatorType* out, LaderOrderType order);

// ---------------------------------------------------------------------------
// Mode maps and rotation.

// Expansion of each source mode in target modes: the creator of source mode
// m becomes sum_k Value[m][k] C Target[m][k] and its annihilator
// sum_k conj(Value[m][k]) A Target[m][k].  Source modes from NMode on are
// kept as they are.
struct OperatorModeMapType {
    uint32_t NMode;
    uint32_t QComplex;     // 1 when some value has an imaginary part
    uint32_t* NTarget;     // NMode counts
    uint32_t* NAloc;       // NMode capacities
    uint16_t** Target;     // NMode arrays of target modes
    Complex16** Value;     // NMode arrays of coefficients
};

int InitOperatorModeMap(OperatorModeMapType* map, uint32_t nMode);
// Appends target with coefficient re + i im to the expansion of source.
int OperatorModeMapAdd(OperatorModeMapType* map, uint32_t source, uint16_t target, double re, double im);
void FreeOperatorModeMap(OperatorModeMapType* map);

// O := O + (re + i im) A with every ladder of A replaced by its expansion.
// O must be set up for the target modes; lengths of A beyond O->MaxLength
// are created with A's key widths.
int MappedOperatorAdd(OperatorType* O, OperatorType A, const OperatorModeMapType* map, double re, double im);
int MappedOperatorAddNormalOrder(OperatorType* O, OperatorType A, const OperatorModeMapType* map, double re,
                                 double im, LaderOrderType order);
// The expansion of one term: positions level..length-1 of term are replaced
// in turn, work holds the codes chosen so far and value their product; each
// finished term is appended to the plain list OA (its N, NAloc, QComplex, o,
// VRe or V; no hash table).
int MappedOperatorFixedLengthAtLevel(OperatorFixedLengthType* OA, const uint16_t* term, unsigned int length,
                                     unsigned int level, uint16_t* work, Complex16 value,
                                     const OperatorModeMapType* map);

// O := A written in the orbitals of the rows of U, new_r = sum_i U[r][i]
// old_i: the creator of old mode i becomes sum_r conj(U[r][i]) C r, so a
// one-particle matrix h becomes conj(U) h U^T.  U is square with at most
// NF + NB rows (modes beyond them stay) and does not mix fermions with
// bosons.  O is initialised here; values below 1e-14 of A's largest
// prefactor are removed.
int RotateOperator(OperatorType* O, OperatorType A, MatrixType U);
int RotateOperatorNormalOrder(OperatorType* O, OperatorType A, MatrixType U, LaderOrderType order);

// Changes the numbers of fermion and boson modes: boson modes move with NF,
// restriction masks are laid out anew, and terms on modes that no longer
// exist are dropped (for normal-ordered terms the projection onto those modes
// being empty).  NFnew + NBnew must not exceed 2^15.  The term loops run in
// parallel.
int OperatorChangeNFandNB(OperatorType* O, uint32_t NFnew, uint32_t NBnew);

// ---------------------------------------------------------------------------
// Matrices.

// The NF x NF matrix of the terms C i A j of length 2: element (i, j) is the
// prefactor of C i A j.  Complex when length 2 is.  M is initialised here.
int OperatorCrAnLength2ToOneElectronCompactMatrix(OperatorType O, CompactMatrixType* M);
// Not provided: prints a line and ends the process with status 9.
int OperatorToOneElectronMatrix(OperatorType O, MatrixType* M);

// The matrix <det_i| O |det_j> over the determinants of psi, in the order of
// its elements (element i + 1 in row i).  The operator's restrictions are not
// applied.  The WithPrefactorsInPsi form gives conj(c_i) <det_i| O |det_j>
// c_j, whose sum is <psi| O |psi>; form 2 fills the older MatrixType record.
// M is initialised here; NF and NB of O and psi must agree.
int OperatorToDeterminantMatrix(OperatorType O, WaveFunctionType psi, CompactMatrixType* M);
int OperatorToDeterminantMatrixWithPrefactorsInPsi(OperatorType O, WaveFunctionType psi, CompactMatrixType* M);
int OperatorToDeterminantMatrix2(OperatorType O, WaveFunctionType psi, MatrixType* M);

#endif
