// Many-body states: sparse expansions over occupation-number determinants.
//
// A determinant is NWord bytes.  The fermionic part comes first, one bit per
// mode: mode i is the mask 0x80 >> (i % 8) in byte i / 8, so mode 0 is the
// most significant bit of byte 0.  Padding bits of the last fermion byte are
// always 0.  Behind the fermion bytes stands one occupation byte (0..255) per
// bosonic mode; bosonic mode b (b >= NFermion in the common mode numbering)
// lives in byte (b - NFermion) + (NFermion + 7) / 8.
//
// WaveFunctionType keeps the (determinant, prefactor) pairs in blocks of
// 16384 slots and a hash table from determinant to element index.  Elements
// are numbered 1..N in order of first insertion; element i lives in block
// i >> 14 at slot i & 0x3FFF.  Index 0 is reserved: slot 0 of block 0 is never
// an element and its values are held at 0.0, so a failed lookup (index 0)
// reads a prefactor of exactly 0.  0 in KeyList or Next means "none".
//
// The record holds only pointers and counters: a by-value copy aliases the
// same storage.  A record is garbage until WaveFunctionInit or
// WaveFunctionInitCopyBasis, and is ended by exactly one WaveFunctionFree
// (owner of the basis) or WaveFunctionFreeValues (basis-sharing copy).
//
// Functions returning int give 0 on success and 1 on failure; a failure
// prints one line on the standard output naming what failed and where, and
// leaves the state consistent.
//
// Threads: serial adds, resets and frees take no lock.  Parallel code inserts
// only through the ...OMPMiniFlush drains, which run under the named critical
// section AddToPsi, or adds to a fixed basis through the ...ConserveBasis
// family (atomic double additions, no lock).  Lookups are safe while nobody
// inserts.
#ifndef SKELDA_MANYBODY_WAVEFUNCTION_H
#define SKELDA_MANYBODY_WAVEFUNCTION_H

#include <cstdint>
#include <cstdio>

// ZeroCut (bits 0x0044000000000000) and SqrtZeroCut (bits 0x20194C583ADA5B53).
#include "manybody/zerocut.h"

// Storage blocks: 16384 slots each; an index splits at bit 14.
constexpr uint32_t WaveFunctionBlokSize = 16384;
constexpr uint32_t WaveFunctionBlokShift = 14;
constexpr uint32_t WaveFunctionBlokMask = 0x3FFF;

// Entries of the per-thread staging buffer that parallel kernels drain with
// the ...OMPMiniFlush functions.
constexpr unsigned int WaveFunctionStagingSize = 128;

struct WaveFunctionType {
    char Name[256];         // zero-terminated, byte 255 always 0
    uint32_t QComplex;      // 0 real, 1 complex (ValueIm exists)
    uint32_t N;             // number of elements, also the last index
    uint32_t NBlok;         // blocks allocated, at least 1 while live
    uint32_t NFermion;
    uint32_t NBoson;
    uint32_t NWord;         // bytes per determinant
    double** ValueRe;       // NBlok blocks of 16384 doubles
    double** ValueIm;       // the same, or null for a real state
    uint32_t** Next;        // NBlok blocks of 16384 chain links
    uint8_t** Determinant;  // NBlok blocks of 16384 * NWord bytes
    uint32_t NBitsKey;      // hash width (taken modulo 32)
    uint32_t* KeyList;      // 2^NBitsKey chain heads
};

// Bytes per determinant: ceil(NFermion/8) + NBoson, and NBoson alone for
// NFermion = 0 (the unsigned subtraction wraps and the minimum picks 0).
inline uint32_t WaveFunctionNWord(uint32_t NFermion, uint32_t NBoson) {
    uint32_t fermionBytes = ((NFermion - 1u) >> 3) + 1u;
    if (NFermion < fermionBytes) fermionBytes = NFermion;
    return fermionBytes + NBoson;
}

// Entries of a key list of the given width.
inline uint64_t WaveFunctionKeyListSize(uint32_t nbits) { return (uint64_t)1 << (nbits & 31u); }

// Element access by index (0..N).
inline double& WaveFunctionRe(const WaveFunctionType& psi, uint32_t i) {
    return psi.ValueRe[i >> WaveFunctionBlokShift][i & WaveFunctionBlokMask];
}
inline double& WaveFunctionIm(const WaveFunctionType& psi, uint32_t i) {
    return psi.ValueIm[i >> WaveFunctionBlokShift][i & WaveFunctionBlokMask];
}
inline uint32_t& WaveFunctionNext(const WaveFunctionType& psi, uint32_t i) {
    return psi.Next[i >> WaveFunctionBlokShift][i & WaveFunctionBlokMask];
}
inline uint8_t* WaveFunctionDet(const WaveFunctionType& psi, uint32_t i) {
    return psi.Determinant[i >> WaveFunctionBlokShift] + (size_t)(i & WaveFunctionBlokMask) * psi.NWord;
}

// Equality of two determinants of nword bytes, four bytes at a time.
inline bool DetEqual(const uint8_t* a, const uint8_t* b, uint32_t nword) {
    uint32_t k = 0;
    for (; k + 4 <= nword; k += 4) {
        uint32_t wa, wb;
        __builtin_memcpy(&wa, a + k, 4);
        __builtin_memcpy(&wb, b + k, 4);
        if (wa != wb) return false;
    }
    for (; k < nword; k++)
        if (a[k] != b[k]) return false;
    return true;
}

// ---- Creation and release -------------------------------------------------

// The caller has set QComplex, NFermion, NBoson and NBitsKey.  Names the
// state "Wave Function", sets N = 0, NBlok = 1, NWord, and allocates the key
// list and block 0.  On failure everything is freed, NBlok and NWord are 0.
int WaveFunctionInit(WaveFunctionType* psi);

// out shares Next, Determinant and KeyList of in and owns zeroed value
// blocks of the same shape.  Release out with WaveFunctionFreeValues, before
// in is freed.  On failure out holds nothing and has N = NBlok = 0.
int WaveFunctionInitCopyBasis(WaveFunctionType* out, WaveFunctionType in);

// Free all blocks, pointer arrays and the key list; the record is left empty
// (null pointers, N = NBlok = 0), so a second call does nothing.
void WaveFunctionFree(WaveFunctionType* psi);
void RealWaveFunctionFree(WaveFunctionType* psi);
void ComplexWaveFunctionFree(WaveFunctionType* psi);

// Free the value blocks and their pointer arrays only (basis-sharing copies).
void WaveFunctionFreeValues(WaveFunctionType* psi);
void RealWaveFunctionFreeValues(WaveFunctionType* psi);
void ComplexWaveFunctionFreeValues(WaveFunctionType* psi);

// A block of count states sharing one basis: the values of members
// 1..count-1, then member 0 whole.  Nothing for count 0.
void BlockWaveFunctionFree(WaveFunctionType* psi, unsigned int count);

// Empty the state, keeping block 0 and the pointer arrays.
void WaveFunctionReset(WaveFunctionType* psi);
void RealWaveFunctionReset(WaveFunctionType* psi);
void ComplexWaveFunctionReset(WaveFunctionType* psi);

// In-place promotion of a real state: a zeroed imaginary block per block,
// QComplex := 1.  On failure the state is unchanged (still real).
int PromoteRealWaveFunctionToComplex(WaveFunctionType* psi);

// ---- Adding and looking up ------------------------------------------------

// Add re (and im) to the prefactor of det, inserting det at index N+1 if it
// is absent; a value of 0 is stored like any other.  On an allocation failure
// the element is not added and the state is as before.
int RealWaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, double re);
int ComplexWaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, double re, double im);
// Chooses by QComplex; a real state is promoted when |im| >= ZeroCut.
int WaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, double re, double im);

// Add only if det is already in the basis, with atomic double additions;
// the structure is not written, so many threads may call these at once.
int RealWaveFunctionAddElementConserveBasis(const WaveFunctionType* psi, const uint8_t* det, double re);
int ComplexWaveFunctionAddElementConserveBasis(const WaveFunctionType* psi, const uint8_t* det, double re,
                                               double im);
// Chooses by QComplex; promotes a real state first when |im| >= ZeroCut
// (serial only, since promotion writes the record).
int WaveFunctionAddElementConserveBasis(WaveFunctionType* psi, const uint8_t* det, double re, double im);

// Drain a thread's staging buffer: entries 0..*count-1 (determinants of NWord
// bytes laid out one after the other, one value, or one re and one im, per
// entry) are added in order with the serial add inside the critical section
// AddToPsi.  *count is 0 afterwards.  A failed add stops the draining.
int RealWaveFunctionAddElementOMPMiniFlush(WaveFunctionType* psi, unsigned int* count, const uint8_t* dets,
                                           const double* re);
int ComplexWaveFunctionAddElementOMPMiniFlush(WaveFunctionType* psi, unsigned int* count, const uint8_t* dets,
                                              const double* re, const double* im);

// The index of det (1..N), or 0 if it is not in the basis.
uint32_t WaveFunctionIndexDet(const WaveFunctionType* psi, const uint8_t* det);

// ---- Blocks of states sharing one basis -----------------------------------
// psi points to count records.  Next, Determinant, KeyList, N and NBlok of
// member 0 are the truth; the functions below copy them into every member
// after a change, so each member stays a usable record on its own.  re (and
// im) hold one value per member.

int RealBlockWaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, const double* re,
                                    unsigned int count);
int ComplexBlockWaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, const double* re,
                                       const double* im, unsigned int count);
// Chooses by QComplex of member 0; promotes all members when some |im| is at
// least ZeroCut.
int BlockWaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, const double* re, const double* im,
                                unsigned int count);

int RealBlockWaveFunctionAddElementConserveBasis(const WaveFunctionType* psi, const uint8_t* det,
                                                 const double* re, unsigned int count);
int ComplexBlockWaveFunctionAddElementConserveBasis(const WaveFunctionType* psi, const uint8_t* det,
                                                    const double* re, const double* im, unsigned int count);
int BlockWaveFunctionAddElementConserveBasis(WaveFunctionType* psi, const uint8_t* det, const double* re,
                                             const double* im, unsigned int count);

// Staged entry k holds the determinant at dets + k*NWord and the values
// re[k*count + j] (and im[k*count + j]) for member j.
int RealBlockWaveFunctionAddElementOMPMiniFlush(WaveFunctionType* psi, unsigned int* nstaged, const uint8_t* dets,
                                                const double* re, unsigned int count);
int ComplexBlockWaveFunctionAddElementOMPMiniFlush(WaveFunctionType* psi, unsigned int* nstaged,
                                                   const uint8_t* dets, const double* re, const double* im,
                                                   unsigned int count);

// ---- Re-keying ------------------------------------------------------------
// Rebuild the hash table with width nbits and in the same stroke drop the
// negligible elements (real: |value| <= SqrtZeroCut; complex: |value|^2 <=
// ZeroCut).  The kept elements move down to indices 1..N in storage order,
// and blocks no longer needed are freed.  A failed re-insertion ends the
// process (it can only come from a corrupt state).
int WaveFunctionResetKeylist(WaveFunctionType* psi, uint32_t nbits);
int RealWaveFunctionResetKeylist(WaveFunctionType* psi, uint32_t nbits);
int ComplexWaveFunctionResetKeylist(WaveFunctionType* psi, uint32_t nbits);
// The same for a block; an element is kept while any member's value passes.
int BlockWaveFunctionResetKeylist(WaveFunctionType* psi, unsigned int count, uint32_t nbits);
int RealBlockWaveFunctionResetKeylist(WaveFunctionType* psi, unsigned int count, uint32_t nbits);
int ComplexBlockWaveFunctionResetKeylist(WaveFunctionType* psi, unsigned int count, uint32_t nbits);

// ---- Determinants as text -------------------------------------------------

// One character per fermion mode ('1' occupied, '0' empty), then two
// hexadecimal digits per boson; blanks anywhere are skipped.  Returns a new
// zeroed-then-filled buffer of NWord bytes (caller frees), null only when
// that allocation fails.  Malformed text prints a message and gives a zero
// determinant; it never aborts.
uint8_t* StringToDet(unsigned int NF, unsigned int NB, const char* s);

// The determinant in quotes: "1100" for four modes; with bosons, each
// occupation follows as " %02X" before the closing quote.  Caller frees.
char* DetToString(unsigned int NF, unsigned int NB, const uint8_t* det);

// Clears padding bits of the last fermion byte; 1 (with a warning) if any
// was set.
int CheckDetPhysical(uint8_t* det, unsigned int NF, unsigned int NB);

// A real state holding the one determinant in which the listed modes are
// occupied (a bosonic mode once per listing), prefactor 1.0.  On failure
// nothing stays allocated.
int CreateWaveFunctionFromString(WaveFunctionType* psi, const uint16_t* indices, unsigned int count,
                                 unsigned int NF, unsigned int NB, uint32_t NBitsKey);

// ---- Files ----------------------------------------------------------------
// Five header lines (name, QComplex, N, NFermion, NBoson), then one element
// per line ("%23.15E " values and "%2.2X" bytes) and an empty line; or, in the
// binary form, the same header and per element 8-byte little-endian doubles
// and the NWord determinant bytes.  The readers take NBitsKey from the
// caller's record and merge repeated determinants.
int StreamPrintWaveFunctionPlain(WaveFunctionType psi, FILE* file);
int StreamPrintWaveFunctionPlainBinary(WaveFunctionType psi, FILE* file);
int StreamReadWaveFunctionPlain(WaveFunctionType* psi, FILE* file);
int StreamReadWaveFunctionPlainBinary(WaveFunctionType* psi, FILE* file);

// ---- Printouts ------------------------------------------------------------
int StreamPrintWaveFunctionReadable(WaveFunctionType psi, FILE* file);
// The text of StreamPrintWaveFunctionReadable in a new malloc'ed string, or
// null when memory runs out.
char* StringPrintWaveFunctionReadable(WaveFunctionType psi);
int StreamPrintWaveFunctionFullReadable(WaveFunctionType psi, FILE* file);
int StreamPrintWaveFunctionReadableTruncated(WaveFunctionType psi, double cut, FILE* file);
// <n_i> summed as |prefactor|^2 times occupation, per fermionic and bosonic
// mode (not divided by the norm).
int StreamPrintWaveFunctionDensity(WaveFunctionType psi, FILE* file);
// Weight sum |prefactor|^2 per magnitude range base^-i .. base^-(i+1),
// i = 0..n-1; base must exceed 1.
int StreamPrintWaveFunctionPrefactorHistogram(WaveFunctionType psi, double base, unsigned int n, FILE* file);

#endif
