// Adding to a wave function: the serial add that inserts new determinants,
// the ConserveBasis adds on a fixed basis, the staging drains of parallel
// kernels, and the same for blocks of states that share one basis.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "manybody/hash.h"
#include "manybody/wavefunction.h"

namespace {

void Report(const char* text) {
    printf("%s\n", text);
    fflush(stdout);
}

template <typename T>
bool ResizeArray(T**& field, uint32_t n) {
    void* p = realloc(field, n * sizeof(T*));
    if (p == nullptr) return false;
    field = static_cast<T**>(p);
    return true;
}

// After member 0 of a block changed shape, the other members take over its
// basis fields so that each stays a usable record.
void SyncBasis(WaveFunctionType* psi, unsigned int count) {
    for (unsigned int j = 1; j < count; j++) {
        psi[j].N = psi[0].N;
        psi[j].NBlok = psi[0].NBlok;
        psi[j].Next = psi[0].Next;
        psi[j].Determinant = psi[0].Determinant;
        psi[j].KeyList = psi[0].KeyList;
        psi[j].NBitsKey = psi[0].NBitsKey;
    }
}

// Adds one storage block to the count members of psi (count 1 for a single
// state): first the pointer arrays grow, in the order ValueRe, ValueIm of each
// member, Next, Determinant; then the blocks are made in the same order.  On
// failure everything made here is undone, the arrays are put back to their
// old size, the message "alloc failed <fn> <code+step>" is printed (values
// with " Re"/" Im" in a complex state) and 1 is returned.
int AddStorageBlock(WaveFunctionType* psi, unsigned int count, bool cplx, const char* fn, int code) {
    const uint32_t oldBlok = psi[0].NBlok;
    const uint32_t newBlok = oldBlok + 1;
    const unsigned int perMember = cplx ? 2 : 1;
    const unsigned int nValue = count * perMember;
    auto valueArray = [&](unsigned int k) -> double**& {
        WaveFunctionType& m = psi[k / perMember];
        return (k % perMember == 0) ? m.ValueRe : m.ValueIm;
    };

    unsigned int arraysGrown = 0;  // value arrays, then Next, then Determinant
    unsigned int valueBlocks = 0;
    bool nextBlock = false;

    auto rollback = [&](int step, const char* part) {
        printf("alloc failed %s %02d%s\n", fn, code + step, cplx ? part : "");
        fflush(stdout);
        for (unsigned int k = 0; k < valueBlocks; k++) free(valueArray(k)[oldBlok]);
        if (nextBlock) free(psi[0].Next[oldBlok]);
        for (unsigned int k = 0; k < arraysGrown && k < nValue; k++) ResizeArray(valueArray(k), oldBlok);
        if (arraysGrown > nValue) ResizeArray(psi[0].Next, oldBlok);
        if (arraysGrown > nValue + 1) ResizeArray(psi[0].Determinant, oldBlok);
        SyncBasis(psi, count);
        return 1;
    };

    for (; arraysGrown < nValue; arraysGrown++) {
        if (!ResizeArray(valueArray(arraysGrown), newBlok))
            return rollback(1, (arraysGrown % perMember == 0) ? " Re" : " Im");
    }
    if (!ResizeArray(psi[0].Next, newBlok)) return rollback(2, "");
    arraysGrown++;
    if (!ResizeArray(psi[0].Determinant, newBlok)) return rollback(3, "");
    arraysGrown++;

    for (; valueBlocks < nValue; valueBlocks++) {
        double* block = static_cast<double*>(malloc(WaveFunctionBlokSize * sizeof(double)));
        if (block == nullptr) return rollback(4, " Re");
        valueArray(valueBlocks)[oldBlok] = block;
    }
    uint32_t* next = static_cast<uint32_t*>(malloc(WaveFunctionBlokSize * sizeof(uint32_t)));
    if (next == nullptr) return rollback(5, "");
    psi[0].Next[oldBlok] = next;
    nextBlock = true;
    size_t detBytes = (size_t)WaveFunctionBlokSize * psi[0].NWord;
    uint8_t* dets = static_cast<uint8_t*>(malloc(detBytes > 0 ? detBytes : 1));
    if (dets == nullptr) return rollback(6, "");
    psi[0].Determinant[oldBlok] = dets;

    for (unsigned int j = 0; j < count; j++) psi[j].NBlok = newBlok;
    SyncBasis(psi, count);
    return 0;
}

// The serial add on count members sharing the basis of member 0 (count 1
// for a single state).  An equal determinant gets the values added; a new one
// goes to index N+1 at the tail of its chain.
template <bool Cplx>
int AddElement(WaveFunctionType* psi, const uint8_t* det, const double* re, const double* im, unsigned int count,
               const char* fn) {
    WaveFunctionType& base = psi[0];
    const uint32_t nword = base.NWord;
    const uint32_t h = hash(det, nword, base.NBitsKey);
    uint32_t pred = 0;
    for (uint32_t i = base.KeyList[h]; i != 0; i = WaveFunctionNext(base, i)) {
        if (DetEqual(WaveFunctionDet(base, i), det, nword)) {
            for (unsigned int j = 0; j < count; j++) {
                WaveFunctionRe(psi[j], i) += re[j];
                if (Cplx) WaveFunctionIm(psi[j], i) += im[j];
            }
            return 0;
        }
        pred = i;
    }
    const uint32_t n = base.N + 1;
    if (n >= (base.NBlok << WaveFunctionBlokShift)) {
        if (AddStorageBlock(psi, count, Cplx, fn, pred != 0 ? 10 : 0)) return 1;
    }
    for (unsigned int j = 0; j < count; j++) {
        psi[j].N = n;
        WaveFunctionRe(psi[j], n) = re[j];
        if (Cplx) WaveFunctionIm(psi[j], n) = im[j];
    }
    WaveFunctionNext(base, n) = 0;
    // det may point into the store itself (re-keying moves elements down).
    if (nword > 0) memmove(WaveFunctionDet(base, n), det, nword);
    if (pred != 0)
        WaveFunctionNext(base, pred) = n;
    else
        base.KeyList[h] = n;
    return 0;
}

inline void AtomicAdd(double& target, double value) {
#pragma omp atomic
    target += value;
}

int PromoteBlock(WaveFunctionType* psi, unsigned int count) {
    for (unsigned int j = 0; j < count; j++) {
        if (PromoteRealWaveFunctionToComplex(&psi[j])) {
            for (unsigned int k = 0; k < j; k++) {
                for (uint32_t b = 0; b < psi[k].NBlok; b++) free(psi[k].ValueIm[b]);
                free(psi[k].ValueIm);
                psi[k].ValueIm = nullptr;
                psi[k].QComplex = 0;
            }
            return 1;
        }
    }
    return 0;
}

bool AnyImaginary(const double* im, unsigned int count) {
    for (unsigned int j = 0; j < count; j++)
        if (fabs(im[j]) >= ZeroCut) return true;
    return false;
}

}  // namespace

// ---- Single states --------------------------------------------------------

int RealWaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, double re) {
    return AddElement<false>(psi, det, &re, nullptr, 1, "RealWaveFunctionAddElement");
}

int ComplexWaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, double re, double im) {
    // The messages name the real variant here too, so that one text covers
    // both kinds of state.
    return AddElement<true>(psi, det, &re, &im, 1, "RealWaveFunctionAddElement");
}

int WaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, double re, double im) {
    if (psi->QComplex) return ComplexWaveFunctionAddElement(psi, det, re, im);
    if (fabs(im) < ZeroCut) return RealWaveFunctionAddElement(psi, det, re);
    if (PromoteRealWaveFunctionToComplex(psi)) {
        Report("MakeComplexWaveFunctionFromReal failed in WaveFunctionAddElement");
        return 1;
    }
    return ComplexWaveFunctionAddElement(psi, det, re, im);
}

int RealWaveFunctionAddElementConserveBasis(const WaveFunctionType* psi, const uint8_t* det, double re) {
    uint32_t i = WaveFunctionIndexDet(psi, det);
    if (i != 0) AtomicAdd(WaveFunctionRe(*psi, i), re);
    return 0;
}

int ComplexWaveFunctionAddElementConserveBasis(const WaveFunctionType* psi, const uint8_t* det, double re,
                                               double im) {
    uint32_t i = WaveFunctionIndexDet(psi, det);
    if (i != 0) {
        AtomicAdd(WaveFunctionRe(*psi, i), re);
        AtomicAdd(WaveFunctionIm(*psi, i), im);
    }
    return 0;
}

int WaveFunctionAddElementConserveBasis(WaveFunctionType* psi, const uint8_t* det, double re, double im) {
    if (psi->QComplex) return ComplexWaveFunctionAddElementConserveBasis(psi, det, re, im);
    if (fabs(im) < ZeroCut) {
        if (fabs(re) < ZeroCut) return 0;
        return RealWaveFunctionAddElementConserveBasis(psi, det, re);
    }
    if (PromoteRealWaveFunctionToComplex(psi)) {
        Report("MakeComplexWaveFunctionFromReal failed in WaveFunctionAddElement");
        return 1;
    }
    return ComplexWaveFunctionAddElementConserveBasis(psi, det, re, im);
}

int RealWaveFunctionAddElementOMPMiniFlush(WaveFunctionType* psi, unsigned int* count, const uint8_t* dets,
                                           const double* re) {
    int failed = 0;
#pragma omp critical(AddToPsi)
    {
        const uint32_t nword = psi->NWord;
        for (unsigned int k = 0; k < *count; k++) {
            if (AddElement<false>(psi, dets + (size_t)k * nword, &re[k], nullptr, 1, "RealWaveFunctionAddElement")) {
                Report("RealWaveFunctionAddElement failed in RealWaveFunctionAddElementOMPMiniFlush");
                failed = 1;
                break;
            }
        }
#pragma omp flush
    }
    *count = 0;
    return failed;
}

int ComplexWaveFunctionAddElementOMPMiniFlush(WaveFunctionType* psi, unsigned int* count, const uint8_t* dets,
                                              const double* re, const double* im) {
    int failed = 0;
#pragma omp critical(AddToPsi)
    {
        const uint32_t nword = psi->NWord;
        for (unsigned int k = 0; k < *count; k++) {
            if (AddElement<true>(psi, dets + (size_t)k * nword, &re[k], &im[k], 1, "RealWaveFunctionAddElement")) {
                Report("ComplexWaveFunctionAddElement failed in ComplexWaveFunctionAddElementOMPMiniFlush");
                failed = 1;
                break;
            }
        }
#pragma omp flush
    }
    *count = 0;
    return failed;
}

// ---- Blocks of states on one basis ----------------------------------------

int RealBlockWaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, const double* re,
                                    unsigned int count) {
    if (count == 0) return 0;
    return AddElement<false>(psi, det, re, nullptr, count, "RealBlockWaveFunctionAddElement");
}

int ComplexBlockWaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, const double* re,
                                       const double* im, unsigned int count) {
    if (count == 0) return 0;
    return AddElement<true>(psi, det, re, im, count, "RealBlockWaveFunctionAddElement");
}

int BlockWaveFunctionAddElement(WaveFunctionType* psi, const uint8_t* det, const double* re, const double* im,
                                unsigned int count) {
    if (count == 0) return 0;
    if (psi[0].QComplex) return ComplexBlockWaveFunctionAddElement(psi, det, re, im, count);
    if (!AnyImaginary(im, count)) return RealBlockWaveFunctionAddElement(psi, det, re, count);
    if (PromoteBlock(psi, count)) {
        Report("MakeComplexWaveFunctionFromReal failed in BlockWaveFunctionAddElement");
        return 1;
    }
    return ComplexBlockWaveFunctionAddElement(psi, det, re, im, count);
}

int RealBlockWaveFunctionAddElementConserveBasis(const WaveFunctionType* psi, const uint8_t* det,
                                                 const double* re, unsigned int count) {
    if (count == 0) return 0;
    uint32_t i = WaveFunctionIndexDet(&psi[0], det);
    if (i == 0) return 0;
    for (unsigned int j = 0; j < count; j++) AtomicAdd(WaveFunctionRe(psi[j], i), re[j]);
    return 0;
}

int ComplexBlockWaveFunctionAddElementConserveBasis(const WaveFunctionType* psi, const uint8_t* det,
                                                    const double* re, const double* im, unsigned int count) {
    if (count == 0) return 0;
    uint32_t i = WaveFunctionIndexDet(&psi[0], det);
    if (i == 0) return 0;
    for (unsigned int j = 0; j < count; j++) {
        AtomicAdd(WaveFunctionRe(psi[j], i), re[j]);
        AtomicAdd(WaveFunctionIm(psi[j], i), im[j]);
    }
    return 0;
}

int BlockWaveFunctionAddElementConserveBasis(WaveFunctionType* psi, const uint8_t* det, const double* re,
                                             const double* im, unsigned int count) {
    if (count == 0) return 0;
    if (psi[0].QComplex) return ComplexBlockWaveFunctionAddElementConserveBasis(psi, det, re, im, count);
    if (!AnyImaginary(im, count)) return RealBlockWaveFunctionAddElementConserveBasis(psi, det, re, count);
    if (PromoteBlock(psi, count)) {
        Report("MakeComplexWaveFunctionFromReal failed in BlockWaveFunctionAddElement");
        return 1;
    }
    return ComplexBlockWaveFunctionAddElementConserveBasis(psi, det, re, im, count);
}

int RealBlockWaveFunctionAddElementOMPMiniFlush(WaveFunctionType* psi, unsigned int* nstaged, const uint8_t* dets,
                                                const double* re, unsigned int count) {
    int failed = 0;
#pragma omp critical(AddToPsi)
    {
        const uint32_t nword = psi[0].NWord;
        for (unsigned int k = 0; count > 0 && k < *nstaged; k++) {
            if (AddElement<false>(psi, dets + (size_t)k * nword, re + (size_t)k * count, nullptr, count,
                                  "RealBlockWaveFunctionAddElement")) {
                Report("RealBlockWaveFunctionAddElement failed in RealBlockWaveFunctionAddElementOMPMiniFlush");
                failed = 1;
                break;
            }
        }
#pragma omp flush
    }
    *nstaged = 0;
    return failed;
}

int ComplexBlockWaveFunctionAddElementOMPMiniFlush(WaveFunctionType* psi, unsigned int* nstaged,
                                                   const uint8_t* dets, const double* re, const double* im,
                                                   unsigned int count) {
    int failed = 0;
#pragma omp critical(AddToPsi)
    {
        const uint32_t nword = psi[0].NWord;
        for (unsigned int k = 0; count > 0 && k < *nstaged; k++) {
            if (AddElement<true>(psi, dets + (size_t)k * nword, re + (size_t)k * count, im + (size_t)k * count,
                                 count, "RealBlockWaveFunctionAddElement")) {
                Report(
                    "ComplexBlockWaveFunctionAddElement failed in ComplexBlockWaveFunctionAddElementOMPMiniFlush");
                failed = 1;
                break;
            }
        }
#pragma omp flush
    }
    *nstaged = 0;
    return failed;
}
