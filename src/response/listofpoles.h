// ListOfPoles: the Lehmann form of a scalar Green's function or self-energy,
//
//     G(w) = a0 + sum_i b[i] / (w + i gamma/2 - a[i]),
//
// a constant plus simple poles at the energies a[i] with the weights b[i]
// (squared couplings, used as they stand).  It is the exchange form between
// the chain, star and double-chain forms, and the record on which pole
// reduction and the chemical-potential search work.
//
// Numeric functions return 0 on success and 1 on failure, after printing one
// line that names what failed.  A record made by InitListOfPoles is released
// by FreeListOfPoles; a record with N = 0 holds no arrays.
#ifndef SKELDA_RESPONSE_LISTOFPOLES_H
#define SKELDA_RESPONSE_LISTOFPOLES_H

#include <lua.hpp>

#include <cstdint>
#include <cstdio>

#include "base/complex16.h"

struct ListOfPoles {
    char Name[256];
    uint32_t N;   // number of poles
    double* a;    // pole energies, N of them
    double* b;    // pole weights, N of them
    double a0;    // constant term
    double mu;    // chemical potential
};

// ---- records ---------------------------------------------------------------

// Allocates a and b for L->N poles, names the list "List of Poles" and sets
// a0 and mu to 0.  Returns 0; 2 for N = 0 (an empty record without arrays);
// 1 when an allocation fails, leaving an empty record (N = 0, no arrays).
int InitListOfPoles(ListOfPoles* L);
// Frees the arrays and leaves an empty record with a0 = 0.
void FreeListOfPoles(ListOfPoles* L);

// Deep copy of in into out (out is initialised here).
int ListOfPolesCopy(ListOfPoles* out, ListOfPoles in);
// Copy without the poles whose weight is below tolerance in magnitude.
int ListOfPoleCopyChoped(ListOfPoles in, ListOfPoles* out, double tolerance);
// The valence part (poles at or below mu) and the conduction part (poles
// above mu), without poles whose weight is below tolerance in magnitude.
// The halves carry no constant term (a0 = 0), so that the two halves of a
// list and its a0 add up to the list; their mu is the mu of the split.
int ListOfPolesCopyVal(ListOfPoles* out, ListOfPoles in, double mu, double tolerance);
int ListOfPolesCopyCon(ListOfPoles* out, ListOfPoles in, double mu, double tolerance);

// ---- arithmetic ------------------------------------------------------------

// G -> factor G: every weight and the constant term are multiplied.
int ScaleListOfPoles(ListOfPoles* L, double factor);
// Adds shift to every pole energy (mu is left alone).
int ShiftListOfPoles(ListOfPoles* L, double shift);
// L + other, L - other, L + x other.  The poles of other are appended in
// their order with their weights times 1, -1 or x; the constants add.
// SubtractListOfPoles takes the weight of a pole of other that lies at
// exactly the energy of a pole of L from that pole instead of appending it.
// On failure L is unchanged.
int AddListOfPoles(ListOfPoles* L, ListOfPoles other);
int SubtractListOfPoles(ListOfPoles* L, ListOfPoles other);
int MixListOfPoles(ListOfPoles* L, ListOfPoles other, double x);

// ---- order and reduction (listofpoles_reduce.cpp) --------------------------

// Sorts the poles by energy, ascending.  An allocation failure ends the
// process with status 1.
int OrderListOfPolesCompare(const void* p1, const void* p2);
void OrderListOfPoles(ListOfPoles* L);

// Merges poles until at most n are left, keeping total weight and first
// moment: the pole of smallest weight goes to its neighbours.  n = 0 is
// refused (return 1).  The list ends sorted.
int ReduceListOfPolesNumber(ListOfPoles* L, unsigned int n);
// The same for the poles at or below mu and the poles above mu separately,
// at most n on each side; no weight crosses mu.
int ReduceListOfPolesNumberFermi(ListOfPoles* L, unsigned int n, double mu);
// Merges neighbouring poles closer than spacing into their weighted mean.
int ReduceListOfPolesSpacing(ListOfPoles* L, double spacing);
// Merges every pole of weight below weight into its neighbours on its own
// side of mu, by the rules of ReduceListOfPolesNumber, as long as its side
// has more than one pole.
int ReduceListOfPolesWeigth(ListOfPoles* L, double weight, double mu);
// As ReduceListOfPolesNumber(Fermi), but a merged pole is placed at the mean
// of the two energies weighted by the square roots of the weights; the total
// weight is kept, the first moment is not.
int ReduceSqrtListOfPolesNumber(ListOfPoles* L, unsigned int n);
int ReduceSqrtListOfPolesNumberFermi(ListOfPoles* L, unsigned int n, double mu);
// Merges, as long as more than n poles are left, the neighbouring pair whose
// merging changes the second moment least: w1 w2 (a1-a2)^2 / (w1+w2).
// The pair becomes one pole at the weighted mean (weight and first moment
// kept); the Sqrt form places it at the mean weighted by sqrt(w).
int ReduceListOfPolesMoment(ListOfPoles* L, unsigned int n);
int ReduceSqrtListOfPolesMoment(ListOfPoles* L, unsigned int n);

// ---- chemical potential and moves to mu (listofpoles_mu.cpp) ---------------

// Sum of the weights of the poles at or below mu.
int ListOfPolesDetermineOccupation(ListOfPoles L, double mu, double* occupation);
// On a sorted list: the energy of the first pole at which the running sum of
// weights reaches filling.  If it never does, mu is the energy of the last
// pole, three lines are printed and 1 is returned.
int ListOfPolesCalculateChemicalPotential(ListOfPoles L, double filling, double* mu);
// Poles below mu (Negative) or above mu (Positive) are put at mu, or dropped.
int ListOfPolesMoveNegativeEnergyToMu(ListOfPoles* L, double mu);
int ListOfPolesMovePositiveEnergyToMu(ListOfPoles* L, double mu);
int ListOfPolesRemoveNegativeEnergy(ListOfPoles* L, double mu);
int ListOfPolesRemovePositiveEnergy(ListOfPoles* L, double mu);
// Shifts the energies by -mu and sets L->mu to 0.
int ShiftListOfPolesToMakeChemPotZeroMetal(ListOfPoles* L, double mu);
// Puts the zero of energy in the middle of the gap between the highest pole
// at or below 0 and the lowest pole above 0 (nothing if a side is empty).
int ShiftListOfPolesToMakeChemPotZeroInsulator(ListOfPoles* L);
// Metal shift, ReduceListOfPolesWeigth(weight, 0), insulator shift.
int ShiftListOfPolesToMakeChemPotZero(ListOfPoles* L, double mu, double weight);
// Shifts by minus the weighted mean energy.
int ShiftListOfPolesToMakeFirstMomentZero(ListOfPoles* L);

// ---- evaluation (evaluate.cpp) ---------------------------------------------

// G(w + i gamma/2); gamma is a full width.  A parallel reduction over poles.
Complex16 EvaluateListOfPoles(ListOfPoles L, double w, double gamma);

// ---- printing and files (listofpoles_print.cpp) ----------------------------

// Readable form: name, mu, a0, then one line per pole.
void StreamPrintListOfPoles(FILE* f, ListOfPoles L);
void PrintListOfPoles(ListOfPoles L);
int FilePrintListOfPoles(const char* filename, ListOfPoles L, const char* mode);
// Plain form, for reading back with FileReadPlainListOfPoles: a line with
// N, a0 and mu, then one line "energy weight" per pole, all to 17 digits.
void StreamPrintPlainListOfPoles(FILE* f, ListOfPoles L);
void PrintPlainListOfPoles(ListOfPoles L);
int FilePrintPlainListOfPoles(const char* filename, ListOfPoles L, const char* mode);
// Reads the plain form into a new record (L is initialised here).
int FileReadPlainListOfPoles(const char* filename, ListOfPoles* L);
// One summary line: name, number of poles, total weight, first and second
// moment, energy range, a0 and mu.
int FilePrintListOfPolesEssentials(const char* filename, ListOfPoles L, const char* mode);

// ---- script faces (lua_scalarforms.cpp) ------------------------------------

// Reads the table form at index of any of the four scalar forms and gives a
// new list (the caller frees it).  Raises the reading errors of the forms.
ListOfPoles luaL_checkListOfPoles(lua_State* L, int index);
// Pushes {{a0,a1,...,an},{b1,...,bn}, type="ListOfPoles", name=, mu=} with
// the metatable ResponseFunctionMeta (when that global exists).
void LuaPushTable_ListOfPoles(lua_State* L, ListOfPoles list);

#endif
