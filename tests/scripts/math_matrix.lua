-- Dot of vectors and matrices, and the transposes and conjugates of
-- matrices held as tables of rows.
local check = require "check"

local function isComplex(z) return getmetatable(z) == getmetatable(I) end

-- Vectors: sum of conj(a_i) b_i, a number when both are real.
check.eq(Dot({1, 2, 3}, {4, 5, 6}), 32, "real vectors")
check.eq(Dot({}, {}), 0, "empty vectors")
local z = Dot({I, 1}, {I, 2})
check.truthy(isComplex(z), "complex vectors give a complex number")
check.eq(z.re, 3, "conj(i) i + 2")
check.eq(z.im, 0, "imaginary part")
z = Dot({1 + I}, {2})
check.eq(z.re, 2, "conj(1+i) 2, real part")
check.eq(z.im, -2, "conj(1+i) 2, imaginary part")
check.fails("math.Dot expects two vectors of equal length, got 2 and 3", Dot, {1, 2}, {1, 2, 3})
check.fails("math.Dot expects 2 parameters a,b", Dot, {1})
check.fails("math.Dot expects two vectors or two matrices", Dot, {1, 2}, {{1}, {2}})
check.failsWith("table expected, got number", Dot, 1, 2)

-- Matrices: the product, as a table of rows.
local A = {{1, 2}, {3, 4}, {5, 6}}
local B = {{1, 0, -1}, {2, 1, 0}}
local C = Dot(A, B)
local want = {{5, 2, -1}, {11, 4, -3}, {17, 6, -5}}
check.eq(#C, 3, "rows of the product")
for i = 1, 3 do
  check.eq(#C[i], 3, "columns of the product")
  for j = 1, 3 do check.eq(C[i][j], want[i][j], "product element") end
end
local P = Dot({{I, 0}, {0, 1}}, {{I}, {2}})
check.truthy(isComplex(P[1][1]) and isComplex(P[2][1]), "complex product has complex elements")
check.eq(P[1][1].re, -1, "i * i")
check.eq(P[2][1].re, 2, "1 * 2")
check.eq(P[2][1].im, 0, "1 * 2, imaginary part")
check.fails("Matrix multiplication requirs the number of columns of the left matrix (2) to be equal to the number of rows (3) of the right", Dot, A, A)
check.fails("Error while reading matrix. Dimensions of rows not constant. 2 at first row 3 at row 2", Dot, {{1, 2}, {1, 2, 3}}, B)
check.failsWith("table expected, got number", Dot, {{1, 2}, 3}, B)
check.truthy(getmetatable(C) == MatrixMeta, "the product has the metatable MatrixMeta")

-- A userdata matrix is read in place; Dot gives a table, the transposes a
-- userdata again.
local U = Matrix.ToUserdata(A)
local CU = Dot(U, B)
check.eq(type(CU), "table", "Dot of a userdata gives a table")
for i = 1, 3 do for j = 1, 3 do check.eq(CU[i][j], want[i][j], "product element, userdata") end end
local TU = MatrixTranspose(U)
check.eq(type(TU), "userdata", "transpose of a userdata is a userdata")
local TT = Matrix.ToTable(TU)
for i = 1, 2 do for j = 1, 3 do check.eq(TT[i][j], A[j][i], "transpose element, userdata") end end
check.eq(Matrix.ToTable(U)[1][2], 2, "the argument is left as it was")

-- An imaginary part within the rounding of its real part counts as real.
check.eq(type(Dot({{Complex.New(1, 1e-17)}}, {{2}})[1][1]), "number", "nearly real element")
check.truthy(isComplex(Dot({{Complex.New(0, 1e-300)}}, {{2}})[1][1]), "tiny imaginary part alone")

-- Transposes and conjugates.
local T = MatrixTranspose(A)
check.eq(#T, 2, "rows of the transpose")
for i = 1, 2 do for j = 1, 3 do check.eq(T[i][j], A[j][i], "transpose element") end end
local M = {{1 + 2 * I, 3}, {4, 5 - I}}
local H = MatrixConjugateTranspose(M)
check.eq(H[1][1].im, -2, "conjugate transpose (1,1)")
check.eq(H[1][2].re, 4, "conjugate transpose (1,2)")
check.eq(H[2][1].re, 3, "conjugate transpose (2,1)")
check.eq(H[2][2].im, 1, "conjugate transpose (2,2)")
local K = MatrixConjugate(M)
check.eq(K[1][1].im, -2, "conjugate (1,1)")
check.eq(K[1][2].re, 3, "conjugate keeps the place (1,2)")
check.truthy(isComplex(K[1][2]), "every element of a complex matrix is complex")
check.eq(MatrixConjugate({{1, 2}})[1][2], 2, "conjugate of a real matrix")
check.eq(#MatrixTranspose({}), 0, "transpose of an empty matrix")
check.fails("Matrix.Transpose called with 2 arguments, only one expected", MatrixTranspose, A, A)
check.fails("Matrix.ConjugateTranspose called with 0 arguments, only one expected", MatrixConjugateTranspose)
check.fails("Matrix.Conjugate called with 2 arguments, only one expected", MatrixConjugate, M, 1)
check.failsWith("Matrix_Type expected, got number", MatrixTranspose, 3)
