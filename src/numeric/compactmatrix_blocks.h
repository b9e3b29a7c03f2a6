// Block operations on compact matrices: cutting a part out, growing a matrix
// into a larger one, and laying matrices out as the blocks of one matrix.
// They serve the script calls Matrix.Sub, Matrix.Expand, Matrix.Enlarge,
// Matrix.AddSpin and Matrix.Flatten.
//
// As everywhere in the dense-matrix layer, a function returns 0 on success
// and prints one line that names what failed otherwise.  As with
// CompactMatrixInverse of a rectangular matrix, the result is negative (-1)
// when the arguments ask for something impossible, and 1 when memory ran
// out, so that a caller knows that a second attempt may help.  The result is
// initialised here, and after a failure it holds nothing that the caller must
// free.  Results are real when every input is real.
#ifndef SKELDA_NUMERIC_COMPACTMATRIX_BLOCKS_H
#define SKELDA_NUMERIC_COMPACTMATRIX_BLOCKS_H

#include <cstdint>

#include "base/complex16.h"
#include "numeric/compactmatrix.h"

// R = rows i0 .. i1-1 and columns j0 .. j1-1 of A (counted from 0, the end
// not included).  Fails when the range is empty the wrong way round or
// reaches beyond A.
int Submatrix(CompactMatrixType A, uint32_t i0, uint32_t i1, uint32_t j0, uint32_t j1,
              CompactMatrixType* R);

// R is N by N with A in its upper-left corner and value on the part of the
// diagonal that lies outside A; every other new entry is 0.  Fails when A
// does not fit.
int MatrixExpand(CompactMatrixType A, uint32_t N, Complex16 value, CompactMatrixType* R);

// R is Ni by Nj with z on the diagonal and 0 elsewhere; real when z is.
int ExpandNumberToCompactMatrix(Complex16 z, uint32_t Ni, uint32_t Nj, CompactMatrixType* R);

// R is the Kronecker product of A with the f by f matrix of ones: entry (i,j)
// of A fills the block of rows i*f .. i*f+f-1 and columns j*f .. j*f+f-1.
int CompactMatrixEnlarge(CompactMatrixType A, uint32_t f, CompactMatrixType* R);

// R is the block matrix of NBi by NBj blocks; blocks[bi*NBj+bj] is block
// (bi,bj), a null pointer standing for a zero block.  All blocks of a block
// row must have the same number of rows, and all of a block column the same
// number of columns; a block row or column of zero blocks alone has no size
// and is refused.
int MatrixFlatten(const CompactMatrixType* const* blocks, uint32_t NBi, uint32_t NBj,
                  CompactMatrixType* R);

#endif
