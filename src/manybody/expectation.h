// Numbers drawn from states: the matrix element of an operator between two
// states, the expectation value of its square, matrices of an operator over
// lists of states, one-particle density matrices, density and spin
// correlation matrices, and histograms of prefactors.
//
// The matrix elements are worked out without building O psi: each
// determinant of the ket meets every term of O (the term loops of
// operator_psi_engine.h, the same ladder rule and cut-off as OperatorPsi),
// and each result is looked up in the bra.  A determinant found there adds
// conj(bra value) * ket value * term value * ladder factor to a sum of the
// thread; the sums of the threads are added at the end.  Nothing is inserted
// anywhere, so the only memory a kernel takes is a small staging area per
// thread (results are merged and looked up 128 at a time).
//
// Kinds.  The suffixes say operator kind (R real, C complex, M mixed, read
// length by length) and state kind (R real, C complex): RR RC CR CC MR MC.
// The forms with an H between the two letters (RHR, RHC, CHR, CHC, MHR,
// MHC) take the operator as Hermitian and form only the real part.  The
// functions without a suffix choose the kind from the operator's lengths and
// the state's QComplex; the suffixed ones trust their caller.  For two
// states the state letter is that of the ket, and the bra is read as what it
// is.
//
// Restrictions.  The functions without a suffix honour the operator's own
// restrictions exactly as OperatorPsi does (a result outside them is
// dropped), so that Braket(psi, O, phi) and psi * (O * phi) agree; the
// suffixed ones ignore them, like OperatorPsiRR and its kin.
//
// All return 0 on success and 1 on failure, after printing one line that
// names what failed.  A failure leaves the outputs untouched.
//
// Threads: one OpenMP team per kernel call, the ket's elements split into
// one contiguous chunk per thread; the order of summation, and with it the
// last bits of a result, depends on the number of threads.
#ifndef SKELDA_MANYBODY_EXPECTATION_H
#define SKELDA_MANYBODY_EXPECTATION_H

#include <cstdint>
#include <cstdio>

#include "manybody/operator.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction.h"
#include "numeric/matrix.h"

// ---- <psi|O|psi> --------------------------------------------------------------

int PsiOperatorPsi(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorPsiRR(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorPsiRC(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorPsiCR(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorPsiCC(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorPsiMR(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorPsiMC(OperatorType O, WaveFunctionType psi, double* re, double* im);

// The real part only, for an operator known to be Hermitian.
int PsiHermitianOperatorPsi(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorPsiRHR(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorPsiRHC(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorPsiCHR(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorPsiCHC(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorPsiMHR(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorPsiMHC(OperatorType O, WaveFunctionType psi, double* re);

// ---- <bra|O|ket> ---------------------------------------------------------------
// bra and ket have determinants of one size; the ket is walked, the bra is
// looked up.

int PsiPrimeOperatorPsi(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im);
int PsiPrimeOperatorPsiRR(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im);
int PsiPrimeOperatorPsiRC(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im);
int PsiPrimeOperatorPsiCR(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im);
int PsiPrimeOperatorPsiCC(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im);
int PsiPrimeOperatorPsiMR(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im);
int PsiPrimeOperatorPsiMC(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re, double* im);

// The same with every result outside R dropped: <bra| P_R O |ket>.
int PsiPrimeOperatorPsiRestricted(OperatorType O, WaveFunctionType bra, WaveFunctionType ket, double* re,
                                  double* im, DeterminantRestrictionType R);

// ---- <psi|O^2|psi> -------------------------------------------------------------
// How the work goes: O psi is built once with the growing kernel
// (OperatorPsi, or OperatorPsiRestricted for the restricted forms); for a
// Hermitian operator the value is then the squared norm of O psi, otherwise
// it is <psi|O|O psi>, a second pass that looks results up in psi.  Both
// cost about one application of O.  When O psi does not fit in memory the
// value is worked out without storing anything (PsiOperatorSqrPsiNoStorage),
// which costs one application of O per result of the first one.
//
// The restricted forms give <psi| O P_R O |psi>: the intermediate
// determinants outside R are dropped.

int PsiOperatorSqrPsi(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorSqrPsiRR(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorSqrPsiRC(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorSqrPsiCR(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorSqrPsiCC(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorSqrPsiMR(OperatorType O, WaveFunctionType psi, double* re, double* im);
int PsiOperatorSqrPsiMC(OperatorType O, WaveFunctionType psi, double* re, double* im);

int PsiHermitianOperatorSqrPsi(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorSqrPsiRHR(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorSqrPsiRHC(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorSqrPsiCHR(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorSqrPsiCHC(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorSqrPsiMHR(OperatorType O, WaveFunctionType psi, double* re);
int PsiOperatorSqrPsiMHC(OperatorType O, WaveFunctionType psi, double* re);

int PsiOperatorSqrPsiRestricted(OperatorType O, WaveFunctionType psi, double* re, double* im,
                                DeterminantRestrictionType R);
int PsiHermitianOperatorSqrPsiRestricted(OperatorType O, WaveFunctionType psi, double* re,
                                         DeterminantRestrictionType R);
int PsiOperatorSqrPsiRestrictedRHR(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R);
int PsiOperatorSqrPsiRestrictedRHC(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R);
int PsiOperatorSqrPsiRestrictedCHR(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R);
int PsiOperatorSqrPsiRestrictedCHC(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R);
int PsiOperatorSqrPsiRestrictedMHR(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R);
int PsiOperatorSqrPsiRestrictedMHC(OperatorType O, WaveFunctionType psi, double* re, DeterminantRestrictionType R);

// <psi| O P_R O |psi> (R null: no restriction) with O applied twice within
// the loop over psi: each result of the first application is at once acted
// on by every term again and the results looked up in psi.  No state is
// built; the cost grows with the square of the number of terms that act on
// a determinant.
int PsiOperatorSqrPsiNoStorage(OperatorType O, WaveFunctionType psi, double* re, double* im,
                               const DeterminantRestrictionType* R);

// ---- Matrices over lists of states -------------------------------------------
// M (initialised here) gets the elements <bra_i|O|ket_j> at (i, j): for each
// j, O ket_j is built with OperatorPsi and its inner products with all bras
// are taken.  M is complex when O or some state is complex.  On failure M is
// left uninitialised.
int PsiOperatorPsiMatrix(OperatorType O, const WaveFunctionType* psi, unsigned int n, MatrixType* M);
int PsiPrimeOperatorPsiMatrix(OperatorType O, const WaveFunctionType* bra, unsigned int nbra,
                              const WaveFunctionType* ket, unsigned int nket, MatrixType* M);

// ---- Densities ------------------------------------------------------------------

// n[m] = sum over the determinants of |value|^2 times the occupation of mode
// m, for the NFermion + NBoson modes; not divided by the norm.
int CalculateDensity(double* n, WaveFunctionType psi);

// The one-particle density matrix M(k, l) = <psi| C_i A_j |psi> with i, j the
// modes orbitals[k], orbitals[l]; orbitals null means all NFermion + NBoson
// modes in their order.  M is initialised here, named "Density Matrix.",
// complex when psi is; it is Hermitian, and its trace over all modes is the
// particle number of a normalised state.  Each element is one PsiOperatorPsi
// of an operator of the single term C i A j.
int CalculateDensityMatrix(MatrixType* M, WaveFunctionType psi, const uint16_t* orbitals = nullptr,
                           unsigned int norb = 0);

// Transition densities between the n states of a list: M points to n*n
// matrices, M[a*n + b](k, l) = <psi_a| C_i A_j |psi_b>, all initialised here
// (complex when some state is complex).  On failure none of them is left
// initialised.  The Partial form takes the listed modes as
// CalculateDensityMatrix does; the plain one all modes.
int CalculateDensityMatrixWithOffDiagonals(MatrixType* M, unsigned int n, const WaveFunctionType* psi);
int CalculatePartialDensityMatrixWithOffDiagonals(MatrixType* M, unsigned int n, const WaveFunctionType* psi,
                                                  const uint16_t* orbitals, unsigned int norb);

// M(k, l) = <psi| n_i n_j |psi> over the listed modes (null: all), named
// "Density Correlation Matrix.".
int CalculateDensityCorrelationMatrix(MatrixType* M, WaveFunctionType psi, const uint16_t* modes = nullptr,
                                      unsigned int nmodes = 0);

// M(a, b) = <psi| S_a . S_b |psi> for spatial orbitals a, b, each a pair of
// modes: spin down at down[a], spin up at down[a] + 1 (the layout of atomic
// shells).  down null means the orbitals (0, 1), (2, 3), ... of all fermion
// modes.  The sum of all elements is <S^2> of the orbitals together.  Named
// "Spin Correlation Matrix.".
int CalculateSpinCorrelationMatrix(MatrixType* M, WaveFunctionType psi, const uint16_t* down = nullptr,
                                   unsigned int norb = 0);

// ---- Prefactors ------------------------------------------------------------------

// Bin k (0 <= k < n) counts the determinants with base^-(k+1) < |value| <=
// base^-k and sums their |value|^2; values of magnitude 1 and above go to bin
// 0, all smaller than base^-(n-1) (zeros included) to bin n-1.  base must
// exceed 1 and n be at least 1.
int CalculatePrefactorHistogram(WaveFunctionType psi, double base, unsigned int n, double* weight,
                                uint32_t* count);

// ---- Printouts -------------------------------------------------------------------

// "Statistical information on operator %s\n" and the terms of each length.
void StreamPrintOperatorStatistics(OperatorType O, FILE* file);
// A summary of a state and the histogram of its prefactors in decades.
int StreamPrintWaveFunctionStatistics(WaveFunctionType psi, FILE* file);

// A table of expectation values: one row per state, first the value of H
// (when given; with printSigma its variance <H^2> - <H>^2 after it), then one
// column per operator.  Columns are colWidth characters wide plus a blank
// in front; values print with colWidth - 6 decimals (1 to 15) and a value
// below zero in magnitude prints as 0.  An operator whose value has an
// imaginary part above zero in some state gets two columns, Re(name) and
// Im(name).  The header repeats after every printHeaderEvery rows (0: once
// only).  With sortByEnergy the rows go by ascending <H>; each row starts
// with the number of its state in the list.
struct ExpectationTableSettingsType {
    int colWidth;          // 12
    int printHeaderEvery;  // 0
    uint8_t printSigma;    // 0
    uint8_t sortByEnergy;  // 0
    double zero;           // negative (the default): half a unit of the last decimal
};
void InitExpectationTableSettings(ExpectationTableSettingsType* settings);

// H may be null.  Computes every value first, then prints.
int StreamPrintExpectationValues(const WaveFunctionType* psi, unsigned int nstates, const OperatorType* H,
                                 const OperatorType* ops, unsigned int nops,
                                 const ExpectationTableSettingsType& settings, FILE* file);

#endif
