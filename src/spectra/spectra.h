// Spectra: complex functions on an equidistant energy grid, with the
// parameters they came from, and the operations on them (broadening,
// mixing, scalar arithmetic, printing).
//
// A spectrum made from a continued fraction also keeps the start of that
// fraction (Moment, Centre, TailA, TailB), which follows the spectrum through
// shifts and mixing.
//
// Functions returning int give 0 on success and 1 on failure, after printing
// one line that says what failed.
#ifndef SKELDA_SPECTRA_SPECTRA_H
#define SKELDA_SPECTRA_SPECTRA_H

#include <cstdint>
#include <cstdio>

#include "response/listofpoles.h"
#include "response/tridiagonal.h"

struct SpectraType {
    char Name[256];
    uint32_t NE;  // energy steps; Re and Im hold NE + 1 points
    double* Re;
    double* Im;
    double Emin;
    double Emax;
    double dE;
    double EminPole;
    double EmaxPole;
    double Gamma;  // Lorentzian FWHM the function was made with
    double Integral;
    double Moment;     // -b[0]^2 of the continued fraction
    double Centre;     // a[0] - E0
    double TailA[5];   // a[1..5] - E0
    double TailB[5];   // b[0..4]
    double ResonantEnergy;  // incoming energy of a resonant spectrum, else NaN
};

struct SpectraTypeArray {
    uint32_t N;
    SpectraType* S;
};

// A header with no data: name "Spec", every number 0, ResonantEnergy NaN.
void InitSpectrumHeader(SpectraType* S);

// target takes the header of source and new zeroed arrays of NE + 1 points.
int SpectrumAllocate(SpectraType source, SpectraType* target);
// A deep copy into target (whose old arrays are not freed).
int CopySpectra(SpectraType source, SpectraType* target);
void SpectrumFree(SpectraType* S);
void SetSpectraToZero(SpectraType* S);
// A deep copy of n spectra into a new array; null after a failure.
SpectraType* CopySpectraArray(const SpectraType* S, uint32_t n);
void FreeSpectraArray(SpectraType* S, uint32_t n);

// The energy of point k.
inline double SpectrumEnergy(const SpectraType& S, uint32_t k) { return S.Emin + k * S.dE; }

// ---- broadening (spectra_broaden.cpp) ----------------------------------------
// Convolutions with a Gaussian or a Lorentzian of full width fwhm; each
// source point counts as spread over its cell (seven sub-points).
int BroadenG(SpectraType* S, double fwhm);
int BroadenL(SpectraType* S, double fwhm);
// The width interpolated linearly in a table of n pairs {energy, fwhm}
// (table[2i], table[2i+1]), constant outside it.
int BroadenGvar(SpectraType* S, const double* table, uint32_t n);
int BroadenLvar(SpectraType* S, const double* table, uint32_t n);

// ---- arithmetic (spectra_arith.cpp) -----------------------------------------
int AddMultipliedSpectra(SpectraType* a, SpectraType b, double re, double im);
int MixSpectra(SpectraType* a, SpectraType b, double x);
int SafeAddMultipliedSpectra(SpectraType* a, SpectraType b, double re, double im);
void SpectraScalarAdd(SpectraType* S, double re, double im);
void SpectraScalarMultiply(SpectraType* S, double re, double im);
void SpectraShift(SpectraType* S, double d);
void SpectraMultiplyByEnergy(SpectraType* S);

// ---- transforms (spectra_transforms.cpp) -------------------------------------
// A Lorentzian broadening with the spectrum's own Gamma.
int Lorentzian(SpectraType* S);
// Re from Im by the discrete Kramers-Kronig sum over the grid points.
int KramersKronigImToRe(SpectraType* S);
// Negative entries become 0 and the rest is scaled so that the sum stays.
void RemoveNegativePart(double* values, unsigned int n);
// A curve broadened by a Lorentzian of full width gamma turned into one
// broadened by a Gaussian of width sigma, by the ratio of the two kernels in
// Fourier space (n points of step dE).
int ReplaceLorentzianByGaussian(double gamma, double sigma, unsigned int n, double dE, const double* in, double* out);

// ---- from response forms (spectra_continuedfraction.cpp) ---------------------
// S has its grid and arrays; E0 is the energy of the zero of the axis.
int TriDiagonalMatrixToSpectrum(double E0, TriDiagonalMatrixType M, SpectraType* S);
int ListOfPolesToSpectrum(double E0, ListOfPoles L, SpectraType* S);

// ---- text (spectra_print.cpp) -----------------------------------------------
int StreamPrintSpectra(const SpectraType* S, uint32_t n, FILE* f);
// mode "w" or "a".
int FilePrintSpectra(const SpectraType* S, uint32_t n, const char* name, const char* mode);
// A malloc'ed text in *out.
int StringPrintSpectra(const SpectraType* S, uint32_t n, char** out);

#endif
