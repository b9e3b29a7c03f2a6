-- The functions of the table Matrix: results worked out by hand or from
-- closed forms, and every message.
local check = require "check"
local mc = require "matrixcheck"
local isComplex, same = mc.isComplex, mc.same

local A = {{1, 2}, {3, 4}}
local C = {{1, 2 * I}, {3 - I, 4}}

-- Identity, Zero, Diagonal.
same(Matrix.Identity(3), {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, "Identity(3)")
same(Matrix.Identity(2, {{"Userdata", true}}), {{1, 0}, {0, 1}}, "Identity(2) userdata")
same(Matrix.Zero(2), {{0, 0}, {0, 0}}, "Zero(2)")
check.eq(#Matrix.Identity(0), 0, "Identity(0)")
same(Matrix.Diagonal({1, -2, 3}), {{1, 0, 0}, {0, -2, 0}, {0, 0, 3}}, "Diagonal")
same(Matrix.Diagonal({1, I}), {{1, 0}, {0, I}}, "complex Diagonal")
check.eq(type(Matrix.Diagonal({1, 2})[2][2]), "number", "a real diagonal is real")
check.truthy(rawequal(Matrix.Diagonal(A), A), "a matrix passes through Diagonal")
check.fails("Matrix Identity called with 0 arguments, 1 or 2 arguments expected\n", Matrix.Identity)
check.fails("Matrix Identity called with 3 arguments, 1 or 2 arguments expected\n", Matrix.Zero, 1, {}, 3)
check.fails("Matrix Diagonal called with 0 arguments, 1 or 2 arguments expected\n", Matrix.Diagonal)
check.fails("Matrix Diagonal called with 3 arguments, 1 or 2 arguments expected\n",
  Matrix.Diagonal, {1}, {}, 3)
check.failsWith("size of the matrix", Matrix.Identity, -1)

-- Random: entries between the bounds, real and imaginary parts apart.
local Rr = Matrix.Random({-1, 3}, {3, 4})
check.eq(#Rr, 3, "Random rows")
check.eq(#Rr[1], 4, "Random columns")
local distinct = {}
for i = 1, 3 do
  for j = 1, 4 do
    check.eq(type(Rr[i][j]), "number", "real Random entry")
    check.truthy(Rr[i][j] >= -1 and Rr[i][j] <= 3, "Random entry within bounds")
    distinct[Rr[i][j]] = true
  end
end
local nDistinct = 0
for _ in pairs(distinct) do nDistinct = nDistinct + 1 end
check.truthy(nDistinct > 1, "Random entries differ")
local Rc = Matrix.Random({0, 2 + I}, {2, 2})
for i = 1, 2 do
  for j = 1, 2 do
    check.truthy(isComplex(Rc[i][j]), "complex Random entry")
    check.truthy(Rc[i][j].re >= 0 and Rc[i][j].re <= 2 and Rc[i][j].im >= 0 and Rc[i][j].im <= 1,
      "complex Random entry within bounds")
  end
end
check.fails("Matrix Random called with 1 arguments, 2 or 3 arguments expected\n", Matrix.Random, {0, 1})
check.fails("Matrix Random called with table of length 1 at posittion 1, expected {min,max}\n",
  Matrix.Random, {1}, {2, 2})
check.fails("Matrix Random called with table of length 3 at posittion 2, expected {Ni,Nj}\n",
  Matrix.Random, {0, 1}, {2, 2, 2})

-- AddSpin: each entry a 2 by 2 block with the entry on its diagonal.
same(Matrix.AddSpin(A), {{1, 0, 2, 0}, {0, 1, 0, 2}, {3, 0, 4, 0}, {0, 3, 0, 4}}, "AddSpin")
same(Matrix.AddSpin({{I}}), {{I, 0}, {0, I}}, "AddSpin complex")
check.fails("MatrixAddSpin called with 2 arguments. 1 expected, a matrix.\n", Matrix.AddSpin, A, A)

-- Enlarge: each entry repeated over a block.
same(Matrix.Enlarge({{1, 2}}, 2), {{1, 1, 2, 2}, {1, 1, 2, 2}}, "Enlarge")
same(Matrix.Enlarge(A, 1), A, "Enlarge by 1")
check.fails("MatrixEnlarge called with 1 arguments. 2 expected, a matrix and the factor by which it is to be expanded.\n",
  Matrix.Enlarge, A)

-- Expand: the old matrix in the corner, the value on the new diagonal.
same(Matrix.Expand(A, 3, 5), {{1, 2, 0}, {3, 4, 0}, {0, 0, 5}}, "Expand with value")
same(Matrix.Expand(A, 4), {{1, 2, 0, 0}, {3, 4, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}, "Expand")
same(Matrix.Expand({{1, 2}}, 2, I), {{1, 2}, {0, I}}, "Expand of a row")
same(Matrix.Expand(7, 2, 1), {{7, 0}, {0, 1}}, "Expand of a number")
check.fails("MatrixExpand called with 1 arguments. 2 or 3 expected, a matrix, the new matrix size, and possibly a value for the entries ",
  Matrix.Expand, A)
check.fails("MatrixExpand failed.\n", Matrix.Expand, A, 1)

-- Flatten: blocks laid out, 0 for a zero block.
local B1 = {{1, 2}, {3, 4}}
local B2 = {{5}}
same(Matrix.Flatten({{B1, 0}, {0, B2}}), {{1, 2, 0}, {3, 4, 0}, {0, 0, 5}}, "Flatten diagonal")
same(Matrix.Flatten({{B1, {{7}, {8}}}, {{{9, 10}}, B2}}), {{1, 2, 7}, {3, 4, 8}, {9, 10, 5}}, "Flatten full")
same(Matrix.Flatten({{{{I}}, 0}, {0, {{1}}}}), {{I, 0}, {0, 1}}, "Flatten complex")
check.fails("MatrixFlatten called with 2 arguments. 1 expected, Table of tables of tables of tables of numbers.\n",
  Matrix.Flatten, {}, {})
check.fails("MatrixFlatten called with entry 2. Matrix or 0 expected.\n", Matrix.Flatten, {{B1, 1}})
check.fails("MatrixFlatten called with entry 3. Matrix or 0 expected.\n", Matrix.Flatten, {{B1, 0}, {"x", B2}})
check.fails("MatrixFlatten failed.\n", Matrix.Flatten, {{B1, 0}, {B2, B2}})
check.fails("MatrixFlatten failed.\n", Matrix.Flatten, {{B1, 0}, {0, 0}})

-- Sub: the upper-left part by size, by rows and columns, or by ranges.
local M3 = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}
same(Matrix.Sub(M3, 2), {{1, 2}, {4, 5}}, "Sub by size")
same(Matrix.Sub(M3, 1, 3), {{1, 2, 3}}, "Sub by rows and columns")
same(Matrix.Sub(M3, {2, 3}, {1, 2}), {{4, 5}, {7, 8}}, "Sub by ranges")
same(Matrix.Sub(M3, {3, 3}, 2), {{7, 8}}, "Sub by a range and a count")
check.fails("Submatrix called with 1 arguments. Expected either 2 (matrix and size of submatrix), 3 (matrix, number of rows and n",
  Matrix.Sub, M3)
check.fails("Submatrix failed.", Matrix.Sub, M3, 4)
check.fails("Submatrix failed.", Matrix.Sub, M3, {0, 2}, 2)
check.fails("Submatrix failed.", Matrix.Sub, M3, {2, 4}, 2)

-- Conjugate, Transpose, ConjugateTranspose.
same(Matrix.Conjugate(C), {{1, -2 * I}, {3 + I, 4}}, "Conjugate")
same(Matrix.Transpose(C), {{1, 3 - I}, {2 * I, 4}}, "Transpose")
same(Matrix.ConjugateTranspose(C), {{1, 3 + I}, {-2 * I, 4}}, "ConjugateTranspose")
same(Matrix.Transpose({{1, 2, 3}}), {{1}, {2}, {3}}, "Transpose of a row")
check.fails("Matrix.Conjugate called with 2 arguments, only one expected", Matrix.Conjugate, C, C)
check.fails("Matrix.Transpose called with 0 arguments, only one expected", Matrix.Transpose)
check.fails("Matrix.ConjugateTranspose called with 2 arguments, only one expected",
  Matrix.ConjugateTranspose, C, 1)

-- Inverse: inverse({{1,2},{3,4}}) = {{-2,1},{1.5,-0.5}}.
same(Matrix.Inverse(A), {{-2, 1}, {1.5, -0.5}}, "Inverse")
same(Matrix.Inverse({{2 * I}}), {{-0.5 * I}}, "Inverse complex")
check.fails("Matrix.Inverse called with 2 arguments, only one expected", Matrix.Inverse, A, A)
check.fails("Matrix Inverse only works on square matrices\n", Matrix.Inverse, {{1, 2}})
check.fails("Matrix inversion failed, probably the matrix is singular\n", Matrix.Inverse, {{1, 2}, {2, 4}})

-- Rotate: T A T^dagger; with T the quarter turn {{0,1},{-1,0}}.
same(Matrix.Rotate(A, {{0, 1}, {-1, 0}}), {{4, -3}, {-2, 1}}, "Rotate")
-- A unitary T = diag(1, i) on {{1,2},{3,4}}: entry (j,k) times t_j conj(t_k).
same(Matrix.Rotate(A, {{1, 0}, {0, I}}), {{1, -2 * I}, {3 * I, 4}}, "Rotate by a phase")
-- A rectangular T projects: one row (1,1) gives 1+2+3+4.
same(Matrix.Rotate(A, {{1, 1}}), {{10}}, "Rotate by one row")
check.fails("Matrix.Rotate called with 1 arguments, two arguments expected", Matrix.Rotate, A)
check.fails("Matrix.Rotate needs the first matrix to be square, at the moment Ni=1 and Nj=2",
  Matrix.Rotate, {{1, 2}}, A)
check.fails("Matrix.Rotate needs the first matrix to be of the same dimension (2) as the number of Columns in the second matrix (3)",
  Matrix.Rotate, A, {{1, 2, 3}})
check.fails("Error in Matrix.Rotate", Matrix.Rotate, A, 3)

-- Exp.  Hermitian: exp(a sigma_x) = cosh a + sinh a sigma_x, and
-- exp(a sigma_y) = cosh a + sinh a sigma_y.  Not Hermitian: for the upper
-- triangle {{1,2},{0,3}}, exp = {{e, e^3 - e}, {0, e^3}}.
local a = 0.5
local ch, sh = math.cosh(a), math.sinh(a)
same(Matrix.Exp({{0, a}, {a, 0}}), {{ch, sh}, {sh, ch}}, "Exp of a sigma_x")
same(Matrix.Exp({{0, -a * I}, {a * I, 0}}), {{ch, -sh * I}, {sh * I, ch}}, "Exp of a sigma_y")
local e, e3 = math.exp(1), math.exp(3)
same(Matrix.Exp({{1, 2}, {0, 3}}), {{e, e3 - e}, {0, e3}}, "Exp not Hermitian", 1e-12)
-- exp(i phi sigma_z) is diagonal with the two phases.
same(Matrix.Exp({{I, 0}, {0, -I}}), {{Complex.Exp(I), 0}, {0, Complex.Exp(-I)}}, "Exp anti-Hermitian")
check.fails("Matrix.Exp called with 2 arguments, only one expected", Matrix.Exp, A, A)
check.fails("Matrix Exp only works on square matrices\n", Matrix.Exp, {{1, 2}})

-- Sqrt of a Hermitian matrix: {{2,1},{1,2}} has eigenvalues 3 and 1, so its
-- root has (sqrt3+1)/2 on the diagonal and (sqrt3-1)/2 off it.
local r3 = math.sqrt(3)
same(Matrix.Sqrt({{2, 1}, {1, 2}}), {{(r3 + 1) / 2, (r3 - 1) / 2}, {(r3 - 1) / 2, (r3 + 1) / 2}}, "Sqrt")
same(Matrix.Sqrt({{4, 0}, {0, 9}}), {{2, 0}, {0, 3}}, "Sqrt diagonal")
check.fails("Matrix.Sqrt called with 0 arguments, only one expected", Matrix.Sqrt)
check.fails("Matrix sqrt only works on square matrices\n", Matrix.Sqrt, {{1, 2}})
check.fails("Matrix sqrt only works on Hermitian matrices\n", Matrix.Sqrt, {{1, 2}, {0, 3}})
