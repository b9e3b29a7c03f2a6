// Applying an operator to a wave function: O psi without ever forming a
// matrix of O.  Every determinant of psi meets every term of O; each term's
// ladders act one after the other on a copy of the determinant, and what
// survives is collected in a hash-addressed state.
//
// Three kinds of result:
//   OperatorPsi...                      a new state whose basis grows as
//                                       determinants appear;
//   OperatorPsiConserveBasis            a state on the basis of psi, whatever
//                                       falls outside it being dropped;
//   OperatorPsiConserveBasisPreAllocated  a state whose basis (its own or a
//                                       shared one) was made beforehand; its
//                                       values are overwritten.
// Each exists for every pair of operator kind (R real, C complex, M mixed,
// decided length by length) and state kind (R real, C complex): suffixes RR,
// RC, CR, CC, MR, MC.  The functions without a suffix choose by the kinds;
// the operator's kind is read from the lengths that hold terms, so a stale
// QComplex field cannot send complex values through a real kernel.  The
// suffixed functions trust their caller.  The result is real for RR and
// complex for every other pair.
//
// All return 0 on success and 1 on failure, after printing one line that
// names what failed.  The operator's modes must lie within the state's
// determinants: the dispatchers refuse an operator whose fermion bytes and
// bosons need more than the state's NWord.
//
// Threads: one OpenMP team per call (serialised when called from inside a
// parallel region), the input determinants split into one contiguous chunk
// per thread.  The growing kernels stage 128 results per thread and drain
// them under the named critical section AddToPsi, so the element order of the
// result and the order of summation into an element vary between runs with
// more than one thread; nothing may depend on them.  The fixed-basis kernels
// add with atomic double additions and take no lock.  The ConserveBasis
// kernels end the process when a thread cannot get its working area (its
// scratch determinants and staging values).
//
// No value is tested: a term of prefactor 0 or an input element of value 0
// still inserts its determinant.  Only the ladder factor is tested against
// ZeroCut.  Cleaning up is left to truncation.
#ifndef SKELDA_MANYBODY_OPERATOR_PSI_H
#define SKELDA_MANYBODY_OPERATOR_PSI_H

#include <cstdint>

#include "manybody/operator.h"
#include "manybody/restriction.h"
#include "manybody/wavefunction.h"

// ---- Growing basis --------------------------------------------------------

// Opsi need not be initialised: it is made here with NFermion, NBoson and
// NBitsKey of psi.  With restrictions on O this is OperatorPsiRestricted with
// them.  On failure Opsi holds nothing.
int OperatorPsi(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiRR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiRC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiCR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiCC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiMR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiMC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);

// The same, keeping only the determinants that pass R (which need not be the
// operator's own restriction).
int OperatorPsiRestricted(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                          DeterminantRestrictionType R);
int OperatorPsiRestrictedRR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R);
int OperatorPsiRestrictedRC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R);
int OperatorPsiRestrictedCR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R);
int OperatorPsiRestrictedCC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R);
int OperatorPsiRestrictedMR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R);
int OperatorPsiRestrictedMC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi,
                            DeterminantRestrictionType R);

// ---- Fixed basis ----------------------------------------------------------

// Opsi shares the basis of psi (as after WaveFunctionInitCopyBasis) and owns
// zeroed value blocks, filled here; release it with WaveFunctionFreeValues
// before psi.  On failure Opsi holds nothing and has N = NBlok = 0.
int OperatorPsiConserveBasis(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiConserveBasisRR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiConserveBasisRC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiConserveBasisCR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiConserveBasisCC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiConserveBasisMR(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);
int OperatorPsiConserveBasisMC(OperatorType O, WaveFunctionType psi, WaveFunctionType* Opsi);

// Opsi exists, with its own basis or one shared with psi or others; its
// values are cleared and refilled, no allocation takes place (the form the
// fixed-basis Lanczos steps use).  RR makes a complex Opsi real in place;
// the others make a real Opsi complex (the only possible failure).
int OperatorPsiConserveBasisPreAllocated(const OperatorType* O, const WaveFunctionType* psi,
                                         WaveFunctionType* Opsi);
int OperatorPsiConserveBasisPreAllocatedRR(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi);
int OperatorPsiConserveBasisPreAllocatedRC(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi);
int OperatorPsiConserveBasisPreAllocatedCR(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi);
int OperatorPsiConserveBasisPreAllocatedCC(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi);
int OperatorPsiConserveBasisPreAllocatedMR(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi);
int OperatorPsiConserveBasisPreAllocatedMC(const OperatorType* O, const WaveFunctionType* psi,
                                           WaveFunctionType* Opsi);

// O applied to the one determinant det (prefactor 1), within the basis of
// Opsi, whose values are cleared first.  Runs on the calling thread.  A
// complex or mixed operator needs a complex Opsi.
int OperatorDeterminantPreAllocated(const OperatorType* O, const uint8_t* det, WaveFunctionType* Opsi);

// ---- Blocks of states sharing one basis -----------------------------------

// psi: count states on one basis (member 0's).  Opsi: count records made
// here as a block on one new basis; free them with BlockWaveFunctionFree.
// Each term's ladders act once per determinant and the factor serves all
// count values.  With restrictions on O this is
// BlockOperatorPsiSerialRestricted with them.  Nothing to do for count 0.
int BlockOperatorPsi(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count);
int BlockOperatorPsiRR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count);
int BlockOperatorPsiRC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count);
int BlockOperatorPsiCR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count);
int BlockOperatorPsiCC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count);
int BlockOperatorPsiMR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count);
int BlockOperatorPsiMC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count);

int BlockOperatorPsiRestricted(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                               DeterminantRestrictionType R, unsigned int count);
int BlockOperatorPsiRestrictedRR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count);
int BlockOperatorPsiRestrictedRC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count);
int BlockOperatorPsiRestrictedCR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count);
int BlockOperatorPsiRestrictedCC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count);
int BlockOperatorPsiRestrictedMR(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count);
int BlockOperatorPsiRestrictedMC(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                 DeterminantRestrictionType R, unsigned int count);

// The block one state at a time: OperatorPsi on psi[0] makes Opsi[0]; for
// each further state the new determinants of O psi[j] join that basis (with
// value 0 in Opsi[0]); then Opsi[1..count-1] become basis-sharing copies
// filled by OperatorPsiConserveBasisPreAllocated.  Opsi is a block as above.
// The Restricted form keeps only determinants that pass R.
int BlockOperatorPsiSerial(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi, unsigned int count);
int BlockOperatorPsiSerialRestricted(OperatorType O, const WaveFunctionType* psi, WaveFunctionType* Opsi,
                                     DeterminantRestrictionType R, unsigned int count);
// Opsi is an existing block (or any count records); each member is refilled
// with OperatorPsiConserveBasisPreAllocated.
int BlockOperatorPsiSerialConserveBasisPreAllocated(OperatorType O, const WaveFunctionType* psi,
                                                    WaveFunctionType* Opsi, unsigned int count);

// ---- Measurement ----------------------------------------------------------

// When Enabled is not 0, the growing kernels time every drain of a staging
// buffer (the wait for AddToPsi included) and count drains and entries, and
// all kernels count the results they accept.  Set and read outside kernels
// only; for benchmarks and tests.
struct OperatorPsiProfileType {
    int Enabled;
    double FlushSeconds;       // summed over threads
    uint64_t Flushes;          // drains called, empty ones included
    uint64_t NonEmptyFlushes;  // drains that had entries
    uint64_t Entries;          // entries drained
    uint64_t Accepted;         // results accepted, before repeats merge
};
extern OperatorPsiProfileType OperatorPsiProfile;
void OperatorPsiProfileReset();

#endif
