// Occupation restrictions on determinants: a list of ranges, each a mask laid
// out like a determinant and the smallest and largest number of particles
// allowed inside the mask.  Operators carry one, and the kernels that apply
// operators and enumerate bases drop determinants that fail it.
#ifndef SKELDA_MANYBODY_RESTRICTION_H
#define SKELDA_MANYBODY_RESTRICTION_H

#include <cstdint>

struct lua_State;

// Bytes of a determinant of NF fermion and NB boson modes: one bit per
// fermion, rounded up to whole bytes, then one byte per boson.  The unsigned
// wrap of NF - 1 makes NF = 0 give no fermion bytes.
inline unsigned int DeterminantNWord(uint32_t NF, uint32_t NB) {
    uint32_t fermionBytes = ((NF - 1u) >> 3) + 1u;
    return (fermionBytes < NF ? fermionBytes : NF) + NB;
}

struct DeterminantRestrictionType {
    uint32_t NRestriction;
    uint32_t* MinOcc;
    uint32_t* MaxOcc;
    uint8_t** Mask;  // NRestriction arrays of NWord bytes
};

// An empty restriction (no ranges, null arrays): every determinant passes.
void InitDeterminantRestriction(DeterminantRestrictionType* R);

// Frees the masks and the arrays and leaves an empty restriction.
void FreeDeterminantRestriction(DeterminantRestrictionType* R);

// Deep copy of src, masks of nWord bytes, into out (whose old contents are not
// freed).  Returns 0, or 1 after a failed allocation, with out left empty.
int CopyDeterminantRestriction(DeterminantRestrictionType* out, const DeterminantRestrictionType& src,
                               unsigned int nWord);

// 1 if det passes every range, else 0.  Fermion bytes count their set bits
// under the mask, boson bytes add (occupation & mask byte).
int QDetNotRestricted(const uint8_t* det, unsigned int NF, unsigned int NB, unsigned int NWord,
                      DeterminantRestrictionType R);

// Pruning tests for a determinant built mode by mode (modes below `mode`
// decided, the rest empty).  QCanNotOccupy: 1 if occupying fermion `mode`
// would exceed the maximum of a range that contains it.  QMustOccupy: 1 if
// leaving `mode` empty makes the minimum of a range containing it out of
// reach even with every later masked mode occupied.  Bosons are not looked at.
int QCanNotOccupy(unsigned int mode, unsigned int NF, uint8_t* det, DeterminantRestrictionType R);
int QMustOccupy(unsigned int mode, unsigned int NF, uint8_t* det, DeterminantRestrictionType R);

// Reads the script form {NFermion, NBoson, {mask, minocc, maxocc}, ...} at
// idx into *R, where each mask is a determinant string ('1'/'0' per fermion,
// two hexadecimal digits per boson, blanks skipped) or a table of NWord byte
// values.  The old contents of *R are not freed.  NF and NB, when not null,
// receive the counts of the table.  Raises a script error on a malformed
// table; on success returns 0.
int luaL_setarray_DeterminatRestrictionType(lua_State* L, int idx, DeterminantRestrictionType* R,
                                            uint32_t* NF = nullptr, uint32_t* NB = nullptr);

#endif
