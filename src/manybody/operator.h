// Second-quantised operators: sums of products of ladders with a prefactor
// each, stored as one hashed table of terms per product length.
//
// A ladder is a 16-bit code: bit 15 set for creation, clear for
// annihilation, the low 15 bits the mode counted from 0 (fermions
// 0..NF-1, bosons NF..NF+NB-1).  The codes of a term stand in the order of
// application: code 0 acts first.  The written product C i A j is therefore
// stored as {A j, C i}.
#ifndef SKELDA_MANYBODY_OPERATOR_H
#define SKELDA_MANYBODY_OPERATOR_H

#include <cstdint>
#include <cstdio>

#include "base/complex16.h"
#include "manybody/restriction.h"

const uint16_t LaderCreation = 0x8000;  // bit of a creation code
const uint16_t LaderModeMask = 0x7FFF;  // mode part of a code

// All terms of one length.  Term t (0-based) has codes o[t*length ..
// t*length+length-1] and value VRe[t] (real) or V[t] (complex).  KeyList
// and Next hold 1-based term indices, 0 meaning none.  Length 0 holds the
// constant: at most one value, no codes and no hash table.
struct OperatorFixedLengthType {
    uint32_t N;
    uint32_t NBitsKey;
    uint32_t NAloc;
    uint32_t QComplex;
    uint16_t* o;
    uint32_t* Next;
    uint32_t* KeyList;
    double* VRe;
    Complex16* V;
};

struct OperatorType {
    char Name[256];
    uint32_t QComplex;  // 0 real, 1 complex, 2 mixed (some lengths of each)
    uint32_t NF;
    uint32_t NB;
    uint32_t NWord;
    uint32_t MaxLength;
    OperatorFixedLengthType* l;  // MaxLength + 1 records, index = length
    DeterminantRestrictionType Restrictions;
};

// An empty operator named "Operator" with only the length-0 record.
int InitOperator(OperatorType* O);
int InitNamedOperator(OperatorType* O, const char* name);

// Creates length `length` with a hash table of 2^nbits buckets (and empty
// records for the lengths between), or empties an existing length and gives
// it a new table.  Length 0 is left alone.
int InitOperatorFixedLength(OperatorType* O, unsigned int length, unsigned int nbits);

// An empty operator of the same name, modes, restrictions and table widths.
int InitOperatorCopySettings(OperatorType* O, OperatorType src);

// Adds re (or re + i im) to the prefactor of the term o[0..length-1],
// inserting it if absent.  length must not exceed MaxLength.
// OperatorAddLader keeps a real length real while |im| is below ZeroCut and
// makes it complex otherwise.
int RealOperatorAddLader(OperatorType* O, const uint16_t* o, unsigned int length, double re);
int ComplexOperatorAddLader(OperatorType* O, const uint16_t* o, unsigned int length, double re, double im);
int OperatorAddLader(OperatorType* O, const uint16_t* o, unsigned int length, double re, double im);

// The prefactor of a term, 0 if absent.
double RealOperatorPrefactorLader(const OperatorType* O, const uint16_t* o, unsigned int length);
Complex16 ComplexOperatorPrefactorLader(const OperatorType* O, const uint16_t* o, unsigned int length);

// Converts one length from real to complex values in place.
int MakeRealOperatorFixedLengthComplex(OperatorType* O, unsigned int length);

// Sets QComplex from the lengths that hold terms: 0 none complex, 1 all
// complex, 2 some of each.
void OperatorRecountQComplex(OperatorType* O);

// Copies at most 255 characters of name and zero-fills the rest.
void OperatorSetName(OperatorType* O, const char* name);

// Frees everything and leaves a harmless record named "Free Operator".
void FreeOperator(OperatorType* O);

// 1 if every element of array[0..n-1] lies in [lo, hi] (also for n = 0).
int Test_uint8_t_array_in_range(uint8_t lo, uint8_t hi, const uint8_t* array, unsigned int n);
int Test_uint16_t_array_in_range(uint16_t lo, uint16_t hi, const uint16_t* array, unsigned int n);
int Test_uint32_t_array_in_range(uint32_t lo, uint32_t hi, const uint32_t* array, unsigned int n);

// Printouts: the term list, and the full record with addresses and tables.
void StreamPrintOperatorReadable(OperatorType O, FILE* file);
void StreamPrintOperatorFullReadable(OperatorType O, FILE* file);

// Reads an operator from its text file: a name line, a line "NF NB count",
// then per term its length, the ladders leftmost first (-1-v annihilates
// mode v, v+1 creates mode v) and "re im".
int StreamReadOperatorType(OperatorType* O, FILE* file);

#endif
