// The chain, star and double-chain forms of a scalar Green's function, and
// their conversions into one another and into a list of poles.
//
// With z = w + i gamma/2 (gamma a full width) the forms mean:
//   chain (TriDiagonalMatrixType)
//     G = a[0] + b[0]^2 / (z - a[1] - b[1]^2 / (z - a[2] - ... - b[N-1]^2 / (z - a[N])))
//   star (AndersonMatrixType)
//     G = a[0] + b[0]^2 / (z - a[1] - sum_{k=2..N} b[k-1]^2 / (z - a[k]))
//   double chain (BADoubleTriDiagonalMatrixType)
//     G = epsilon + F^2 (V(z) + C(z)), V and C the chains val and con
//   plain double chain (DoubleTriDiagonalMatrixType)
//     G = V(z) + C(z)
//
// Every conversion goes through the list of poles.  Conversion functions
// initialise their output record; on failure the output holds no memory and
// must not be freed.  Numeric functions return 0 on success and 1 on failure
// after printing one line.
#ifndef SKELDA_RESPONSE_TRIDIAGONAL_H
#define SKELDA_RESPONSE_TRIDIAGONAL_H

#include <lua.hpp>

#include <cstdint>
#include <cstdio>

#include "base/complex16.h"
#include "response/listofpoles.h"

// Chain: N sites; a[0] the constant, a[1..N] the site energies; b[0] the
// coupling of the source to site 1, b[i] (1 <= i < N) between sites i, i+1.
struct TriDiagonalMatrixType {
    char Name[256];
    uint32_t N;
    double* a;   // N+1 values
    double* b;   // N values (at least one)
    double mu;
};

// Star: the same fields; a[1] is the first site, a[2..N] the bath levels,
// b[k-1] the coupling of bath level k to the first site.
struct AndersonMatrixType {
    char Name[256];
    uint32_t N;
    double* a;
    double* b;
    double mu;
};

// One chain for the occupied (val) and one for the empty (con) part.  As
// made here, the chains together carry weight 1 and F^2 is the total weight.
struct BADoubleTriDiagonalMatrixType {
    char Name[256];
    double epsilon;
    double F;
    double mu;
    TriDiagonalMatrixType val;
    TriDiagonalMatrixType con;
};

// The same pair of chains without epsilon and F; the constant term of the
// function lies in val.a[0], the weights in the chains' own b[0].
struct DoubleTriDiagonalMatrixType {
    char Name[256];
    double mu;
    TriDiagonalMatrixType val;
    TriDiagonalMatrixType con;
};

// ---- records (tridiagonal.cpp) ---------------------------------------------

// Allocates from M->N, names the record "Matrix", zeroes the arrays and mu.
// N = 0 prints a line and still gives a[0] (and b[0]).
int InitTriDiagonalMatrix(TriDiagonalMatrixType* M);
void FreeTriDiagonalMatrix(TriDiagonalMatrixType* M);
// N = 0 is refused with 2.
int InitAndersonMatrix(AndersonMatrixType* A);
void FreeAndersonMatrix(AndersonMatrixType* A);
// Initialises both chains from val.N and con.N; epsilon 0, F 1, mu 0.
int InitBADoubleTriDiagonalMatrix(BADoubleTriDiagonalMatrixType* B);
void FreeBADoubleTriDiagonalMatrix(BADoubleTriDiagonalMatrixType* B);
int InitDoubleTriDiagonalMatrix(DoubleTriDiagonalMatrixType* D);
void FreeDoubleTriDiagonalMatrix(DoubleTriDiagonalMatrixType* D);

int TriDiagonalMatrixCopy(TriDiagonalMatrixType* out, TriDiagonalMatrixType in);
int AndersonMatrixCopy(AndersonMatrixType* out, AndersonMatrixType in);
int BADoubleTriDiagonalMatrixCopy(BADoubleTriDiagonalMatrixType* out, BADoubleTriDiagonalMatrixType in);

// Values below tolerance in magnitude become 0; a chain then ends before its
// first vanishing inner coupling, a star loses its uncoupled bath levels.
int TriDiagonalMatrixChop(TriDiagonalMatrixType* M, double tolerance);
int AndersonMatrixChop(AndersonMatrixType* A, double tolerance);
// Multiplies the Hamiltonian of the chain or star (a[1..N], b[1..N-1]) by x:
// every pole energy is multiplied by x, the weights and a[0] stay.
int TriDiagonalMatrixScalarMultiply(TriDiagonalMatrixType* M, double x);
int AndersonMatrixScalarMultiply(AndersonMatrixType* A, double x);
// The sub-chain of sites iStart..iEnd (1 <= iStart <= iEnd <= N) coupled
// with b[iStart-1] to the source; a[0] is the chain's own for iStart = 1 and
// 0 otherwise.  So the part from site 2 on is the self-energy of site 1.
int TriDiagonalMatrixPart(TriDiagonalMatrixType* out, TriDiagonalMatrixType M,
                          unsigned int iStart, unsigned int iEnd);

// ---- evaluation (evaluate.cpp) ---------------------------------------------

Complex16 EvaluateTriDiagonalMatrix(TriDiagonalMatrixType M, double w, double gamma);
Complex16 EvaluateAndersonMatrix(AndersonMatrixType A, double w, double gamma);
Complex16 EvaluateBADoubleTriDiagonalMatrix(BADoubleTriDiagonalMatrixType B, double w, double gamma);
Complex16 EvaluateDoubleTriDiagonalMatrix(DoubleTriDiagonalMatrixType D, double w, double gamma);

// ---- eigensystems (tridiagonal_eigen.cpp) ----------------------------------

// Eigenvalues (ascending) of the chain a[1..N], b[1..N-1], and the
// eigenvectors as the rows of a row-major N by N block: eigenvectors[k*N+i]
// is component i of eigenvector k (the row layout of a MatrixType, whose
// Re[0] can be passed).  dstevd first, dstev if it fails.
int TriDiagonalMatrixToEigensystem(TriDiagonalMatrixType M, double* eigenvectors, double* eigenvalues);
int TriDiagonalMatrixToEigenvalues(TriDiagonalMatrixType M, double* eigenvalues);
// The eigensystem of the star's Hamiltonian restricted to the states that
// are reached from its first site: *n (at most N) eigenvalues and the
// eigenvectors in the star's site basis as rows of an *n by N block
// (room for N*N doubles and N values must be given).
int AndersonMatrixToEigensystem(AndersonMatrixType A, double* eigenvectors, double* eigenvalues,
                                uint32_t* n);

// ---- conversions (conversions.cpp, doublechain.cpp) ------------------------

int TriDiagonalMatrixToListOfPoles(TriDiagonalMatrixType M, ListOfPoles* L);
int AndersonMatrixToListOfPoles(AndersonMatrixType A, ListOfPoles* L);
// The chain of at most n sites (all, if n is 0 or above the number of poles)
// that the Lanczos recursion gives from the source coupled to the poles; the
// chain ends early where a coupling vanishes.  Negative weights are refused.
int ListOfPolesToTridiagonalMatrix(ListOfPoles L, TriDiagonalMatrixType* M, unsigned int n);
int ListOfPolesToAndersonMatrix(ListOfPoles L, AndersonMatrixType* A);
int TriDiagonalMatrixToAndersonMatrix(TriDiagonalMatrixType M, AndersonMatrixType* A);
int AndersonMatrixToTriDiagonalMatrix(AndersonMatrixType A, TriDiagonalMatrixType* M);
// As above, and T (room for A.N*A.N doubles, or null) receives the chain
// sites in the star's site basis, one per row: T[i*A.N+j].
int AndersonMatrixToTriDiagonalMatrixPlusT(AndersonMatrixType A, double* T, TriDiagonalMatrixType* M);

// The double chain: the list is split at mu, each half reduced to n poles
// (no reduction for n = 0) and turned into its chain.
int ListOfPolesToBADoubleTridiagonalMatrix(ListOfPoles L, BADoubleTriDiagonalMatrixType* B,
                                           double mu = 0.0, unsigned int n = 0);
int TriDiagonalMatrixToBADoubleTriDiagonalMatrix(TriDiagonalMatrixType M, BADoubleTriDiagonalMatrixType* B,
                                                 double mu = 0.0, unsigned int n = 0);
int AndersonMatrixToBADoubleTriDiagonalMatrix(AndersonMatrixType A, BADoubleTriDiagonalMatrixType* B,
                                              double mu = 0.0, unsigned int n = 0);
int BADoubleTriDiagonalMatrixToListOfPoles(BADoubleTriDiagonalMatrixType B, ListOfPoles* L);
int BADoubleTriDiagonalMatrixToTriDiagonalMatrix(BADoubleTriDiagonalMatrixType B, TriDiagonalMatrixType* M);
int BADoubleTriDiagonalMatrixToAndersonMatrix(BADoubleTriDiagonalMatrixType B, AndersonMatrixType* A);
int ListOfPolesToDoubleTriDiagonalMatrix(ListOfPoles L, DoubleTriDiagonalMatrixType* D,
                                         double mu = 0.0, unsigned int n = 0);
int DoubleTriDiagonalMatrixToListOfPoles(DoubleTriDiagonalMatrixType D, ListOfPoles* L);

// ---- printing and files (tridiagonal_print.cpp) ----------------------------

void StreamPrintTriDiagonalMatrix(FILE* f, TriDiagonalMatrixType M);
void PrintTriDiagonalMatrix(TriDiagonalMatrixType M);
void StreamPrintAndersonMatrix(FILE* f, AndersonMatrixType A);
void PrintAndersonMatrix(AndersonMatrixType A);
// Plain form: a line with N and mu, then N+1 lines "a[i] b[i]" (the last b
// is 0), to 17 digits; read back with FileReadPlainTriDiagonalMatrix.
void StreamPrintPlainTriDiagonalMatrix(FILE* f, TriDiagonalMatrixType M);
int FilePrintPlainTriDiagonalMatrix(const char* filename, TriDiagonalMatrixType M, const char* mode);
int FileReadPlainTriDiagonalMatrix(const char* filename, TriDiagonalMatrixType* M);

// ---- script faces (lua_scalarforms.cpp) ------------------------------------

// Each reader accepts a table of any of the four forms and converts it (a
// double chain is made with the split at 0 and without reduction).  The
// caller frees the record.
TriDiagonalMatrixType luaL_checkTriDiagonalMatrixType(lua_State* L, int index);
AndersonMatrixType luaL_checkAndersonMatrixType(lua_State* L, int index);
BADoubleTriDiagonalMatrixType luaL_checkNatrualImpurityOrbitalMatrixType(lua_State* L, int index);
void LuaPushTable_TriDiagonalMatrixType(lua_State* L, TriDiagonalMatrixType M);
void LuaPushTable_AndersonMatrixType(lua_State* L, AndersonMatrixType A);
// The table has no F: it is folded into the b[0] (and a[0]) of the chains.
void LuaPushTable_NaturalImpurityOrbital(lua_State* L, BADoubleTriDiagonalMatrixType B);

#endif
