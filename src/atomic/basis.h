// Unitary matrices between the orbital bases of one shell: Y (complex
// spherical harmonics), Z (tesseral), K (cubic) and jjz (relativistic, j and
// jz), and the rotation between two lists of named orbitals.
//
// Every matrix has the new basis in its rows and the old one in its columns:
// the row of a real orbital lists its coefficients on the Y orbitals, m
// ascending.  With spin each entry becomes a 2-by-2 identity block, so that
// rows and columns follow the numbering of spin-orbitals (spin fast, down
// first).  jjz rows run over j = l-1/2 with jz ascending, then j = l+1/2.
//
// Shells are named by their multiplicity, the number of fermionic states
// 2(2l+1): 6 is a p shell.
#ifndef SKELDA_ATOMIC_BASIS_H
#define SKELDA_ATOMIC_BASIS_H

#include <string>
#include <vector>

#include "base/complex16.h"
#include "numeric/compactmatrix.h"

// A dense complex matrix in one row-major block: entry (i,j) at a[i*Nj+j].
// The empty matrix has no rows and no columns.
struct BasisMatrixType {
    int Ni = 0;
    int Nj = 0;
    std::vector<Complex16> a;
};

BasisMatrixType InitBasisMatrix(int Ni, int Nj);  // all zero
BasisMatrixType BasisMatrixIdentity(int N);
inline Complex16& BasisMatrixAt(BasisMatrixType& M, int i, int j) {
    return M.a[static_cast<size_t>(i) * M.Nj + j];
}
inline Complex16 BasisMatrixAt(const BasisMatrixType& M, int i, int j) {
    return M.a[static_cast<size_t>(i) * M.Nj + j];
}
// Empty when the inner dimensions differ.
BasisMatrixType BasisMatrixMultiply(const BasisMatrixType& A, const BasisMatrixType& B);
BasisMatrixType BasisMatrixConjugateTranspose(const BasisMatrixType& A);
// Each entry e becomes the block e times the factor-by-factor identity.
BasisMatrixType BasisMatrixEnlarge(const BasisMatrixType& A, int factor);
// The blocks laid on the diagonal of one matrix, zeros elsewhere.
BasisMatrixType BasisMatrixFlatten(const std::vector<BasisMatrixType>& blocks);
// Real and imaginary parts with magnitude below tolerance become 0.
void BasisMatrixChop(BasisMatrixType* M, double tolerance);

// The fixed tables.  YToZMatrix knows multiplicities 2, 6, 10, YToKMatrix
// 2, 6, 10, 14 and YToJJzMatrix 2, 6, 10.  Any other multiplicity prints a
// line and gives a 1-by-1 zero matrix.  YToJJzMatrix always works on
// spin-orbitals; addSpin false is reported and ignored.
BasisMatrixType YToZMatrix(int multiplicity, bool addSpin);
BasisMatrixType YToKMatrix(int multiplicity, bool addSpin);
BasisMatrixType YToJJzMatrix(int multiplicity, bool addSpin = true);

typedef BasisMatrixType (*BasisMatrixFunction)(int multiplicity, bool addSpin);
// One matrix per shell on the diagonal; names go through orbToMultiplicity.
BasisMatrixType LargeRotationMatrix(const std::vector<int>& multiplicities,
                                    BasisMatrixFunction f, bool addSpin);
BasisMatrixType LargeRotationMatrix(const std::vector<std::string>& names,
                                    BasisMatrixFunction f, bool addSpin);

// The same bases for any momentum l, without spin for Y, Z and K
// ((2l+1)-square) and on spin-orbitals for jjz (2(2l+1)-square).  Z is the
// rule of the tesseral table at every l, K exists for l <= 6 (the cubic
// harmonics), jjz is built from the Clebsch-Gordan coefficients.  Each
// returns 0, or 1 (out untouched) for an l it can't serve.
int BasisYToZ(int l, BasisMatrixType* out);
int BasisYToK(int l, BasisMatrixType* out);
int BasisYToJJz(int l, BasisMatrixType* out);

// The twelve changes between the bases Y, Z, K and jjz of momentum l as
// complex compact matrices named "Matrix", initialised here: rows the new
// basis, columns the old.  Y, Z and K have 2l+1 orbitals; a change that
// involves jjz works on the 2(2l+1) spin-orbitals.  The K forms need l <= 6.
// Each returns 0, or 1 when the record can't be allocated or l is out of
// range (a line is printed).
int SphericalHarmonicYToZ(int l, CompactMatrixType* out);
int SphericalHarmonicZToY(int l, CompactMatrixType* out);
int SphericalHarmonicYToK(int l, CompactMatrixType* out);
int SphericalHarmonicKToY(int l, CompactMatrixType* out);
int SphericalHarmonicZToK(int l, CompactMatrixType* out);
int SphericalHarmonicKToZ(int l, CompactMatrixType* out);
int SphericalHarmonicYTojjz(int l, CompactMatrixType* out);
int SphericalHarmonicjjzToY(int l, CompactMatrixType* out);
int SphericalHarmonicZTojjz(int l, CompactMatrixType* out);
int SphericalHarmonicjjzToZ(int l, CompactMatrixType* out);
int SphericalHarmonicKTojjz(int l, CompactMatrixType* out);
int SphericalHarmonicjjzToK(int l, CompactMatrixType* out);

// A compact copy of B, initialised here: real storage when every imaginary
// part is zero, else complex.  Returns 0, or 1 when the allocation fails.
int BasisMatrixToCompactMatrix(const BasisMatrixType& B, CompactMatrixType* out);

// The 0/1 matrix from the orbitals oldNames to the same orbitals in the
// order newNames: an identity block of the orbital's multiplicity for each
// name of newNames at its place in oldNames.  Returns 0, or 1 when a name
// of newNames is missing from oldNames or the sizes differ.
int orbitalPermutationMatrix(const std::vector<std::string>& oldNames,
                             const std::vector<std::string>& newNames, BasisMatrixType* result);
// From non-relativistic shells (Y basis) to their relativistic partners,
// rows rel, columns nonRel.  A name of rel identical to the shell's own name
// keeps it as it is.  Prints the reason and returns the empty matrix on
// failure.  RelToNonRelRotationMatrix(rel, nonRel) is the same call with the
// arguments exchanged.
BasisMatrixType NonRelToRelRotationMatrix(const std::vector<std::string>& nonRel,
                                          const std::vector<std::string>& rel);
BasisMatrixType RelToNonRelRotationMatrix(const std::vector<std::string>& rel,
                                          const std::vector<std::string>& nonRel);
// The rotation from the orbitals oldNames to newNames (any order, any mix of
// relativistic and non-relativistic shells in the Y basis): rows new,
// columns old.  Prints the reason and returns the empty matrix on failure.
BasisMatrixType OrbitalRotationMatrix(const std::vector<std::string>& oldNames,
                                      const std::vector<std::string>& newNames);

#endif
