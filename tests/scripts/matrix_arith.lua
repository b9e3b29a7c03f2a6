-- Matrix arithmetic against results worked out by hand, in both forms, and
-- the messages of the metamethods.
local check = require "check"
local same = require("matrixcheck").same

local function M(rows) return setmetatable(rows, MatrixMeta) end

local A = M{{1, 2}, {3, 4}}
local B = M{{0, 1}, {-1, 2}}
local Au, Bu = Matrix.ToUserdata(A), Matrix.ToUserdata(B)

-- Sums, differences, negation, in every mix of forms.
for _, pair in ipairs({{A, B}, {Au, B}, {A, Bu}, {Au, Bu}}) do
  local a, b = pair[1], pair[2]
  same(a + b, {{1, 3}, {2, 6}}, "A+B")
  same(a - b, {{1, 1}, {4, 2}}, "A-B")
  same(a * b, {{-2, 5}, {-4, 11}}, "A*B")
  -- inverse(B) = {{2,-1},{1,0}}, so A/B = A inverse(B).
  same(a / b, {{4, -1}, {10, -3}}, "A/B")
end
same(-A, {{-1, -2}, {-3, -4}}, "-A")
same(-Au, {{-1, -2}, {-3, -4}}, "-Au")

-- Scalars on either side.
same(A * 2, {{2, 4}, {6, 8}}, "A*2")
same(2 * A, {{2, 4}, {6, 8}}, "2*A")
same(Au * 0.5, {{0.5, 1}, {1.5, 2}}, "Au*0.5")
same(A / 2, {{0.5, 1}, {1.5, 2}}, "A/2")
same(A / I, {{-I, -2 * I}, {-3 * I, -4 * I}}, "A/I")
same(A * (1 + I), {{1 + I, 2 + 2 * I}, {3 + 3 * I, 4 + 4 * I}}, "A*(1+i)")
check.eq(getmetatable(A * I), MatrixMeta, "A*I keeps the table form")
-- inverse(A) = {{-2,1},{1.5,-0.5}}.
same(1 / A, {{-2, 1}, {1.5, -0.5}}, "1/A")
same(2 / Au, {{-4, 2}, {3, -1}}, "2/Au")

-- Complex times matrix both ways.  With a userdata both orders give a
-- scaled userdata; a complex number on the left of a table goes element by
-- element and the result loses MatrixMeta, while on the right the table's
-- own __mul keeps it.
local z = 2 - I
local zA = {{2 - I, 4 - 2 * I}, {6 - 3 * I, 8 - 4 * I}}
same(z * Au, zA, "z*Au")
same(Au * z, zA, "Au*z")
check.eq(type(z * Au), "userdata", "z*Au is a userdata")
check.eq(type(Au * z), "userdata", "Au*z is a userdata")
same(z * A, zA, "z*A")
same(A * z, zA, "A*z")
check.eq(getmetatable(z * A), nil, "z*A is a plain table")
check.eq(getmetatable(A * z), MatrixMeta, "A*z is the table form")
same(I * Matrix.Identity(2), {{I, 0}, {0, I}}, "I*Identity")
-- A complex number over a matrix is the scaled inverse, in its form.
same(I / A, {{-2 * I, I}, {1.5 * I, -0.5 * I}}, "I/A")
check.eq(getmetatable(I / A), MatrixMeta, "I/A is the table form")
same(I / Au, {{-2 * I, I}, {1.5 * I, -0.5 * I}}, "I/Au")
check.eq(type(I / Au), "userdata", "I/Au is a userdata")
check.fails("Error: complex number plus unrecognized userdata\n", function() return I + Au end)
check.fails("Error: complex number minus unrecognized userdata\n", function() return I - Au end)
check.fails("Error: complex number to the power unrecognized userdata\n", function() return I ^ Au end)
check.fails("Matrix inversion only works for square matrices dimensions are (1 2)\n",
  function() return I / M{{1, 2}} end)
check.fails("Matrix inversion failed, probably the matrix is singular\n",
  function() return I / Matrix.ToUserdata({{1, 2}, {2, 4}}) end)

-- Complex matrices: C = {{1, i}, {-i, 2}} is Hermitian, C*C = {{2, 3i}, {-3i, 5}}.
local Cm = M{{1, I}, {-I, 2}}
same(Cm * Cm, {{2, 3 * I}, {-3 * I, 5}}, "C*C")
same(Cm * Matrix.ToUserdata(A), {{1 + 3 * I, 2 + 4 * I}, {6 - I, 8 - 2 * I}}, "C*A")
same(A + Cm, {{2, 2 + I}, {3 - I, 6}}, "A+C")

-- A vector next to a matrix is a matrix of one row.
same({1, 2} * A, {{7, 10}}, "{1,2}*A")
same(M{{1}, {2}} * {3, 4}, {{3, 4}, {6, 8}}, "column times row")
check.fails("Matrix multiplication requirs the number of columns of the left matrix (2) to be equal to the number of rows (1) of the right",
  function() return A * {1, 2} end)
same(A * {{1}, {2}}, {{5}, {11}}, "A*column")

-- Powers: binary powers, the inverse for negative exponents.
same(A ^ 0, {{1, 0}, {0, 1}}, "A^0")
same(A ^ 1, {{1, 2}, {3, 4}}, "A^1")
same(A ^ 2, {{7, 10}, {15, 22}}, "A^2")
same(Au ^ 3, {{37, 54}, {81, 118}}, "Au^3")
same(A ^ -1, {{-2, 1}, {1.5, -0.5}}, "A^-1")
same(A ^ -2, {{5.5, -2.5}, {-3.75, 1.75}}, "A^-2")
same(A ^ 2.0000000000000004, {{7, 10}, {15, 22}}, "A^(2+eps)")
same(Cm ^ 2, {{2, 3 * I}, {-3 * I, 5}}, "C^2")

-- Messages.
check.fails("Error: dimensions of matrix A (2 2) and B (1 3) in A+B not equivalent\n",
  function() return A + {{1, 2, 3}} end)
check.fails("Error: dimensions of matrix A (2 2) and B (2 1) in A-B not equivalent\n",
  function() return Au - {{1}, {2}} end)
check.failsWith("Matrix_Type expected, got number", function() return A + 1 end)
check.failsWith("Matrix_Type expected, got number", function() return 1 - Au end)
check.fails("Matrix multiplication requirs the number of columns of the left matrix (2) to be equal to the number of rows (3) of the right",
  function() return A * {{1}, {2}, {3}} end)
check.fails("Unrecognized type (4) at position one of multiplication \n", function() return "x" * A end)
check.fails("Unrecognized type (1) at position one of multiplication \n", function() return true * Au end)
check.fails("Unrecognized type (string) at position two of multiplication \n", function() return A * "x" end)
check.fails("Unrecognized type (boolean) at position two of multiplication \n", function() return Au * false end)
check.fails("Matrix inversion only works for square matrices dimensions are (2 3)\n",
  function() return A / {{1, 2, 3}, {4, 5, 6}} end)
check.fails("Matrix inversion failed, probably the matrix is singular\n",
  function() return A / {{1, 2}, {2, 4}} end)
check.fails("Matrix inversion failed, probably the matrix is singular\n",
  function() return 1 / M{{0, 0}, {0, 0}} end)
check.fails("Matrix power only works on integers\n", function() return A ^ 1.5 end)
check.fails("Matrix power only works on integers\n", function() return Au ^ 2.000001 end)
check.fails("Matrix power only works on square matrices\n", function() return M{{1, 2}} ^ 2 end)
check.fails("Matrix power failed\n", function() return M{{1, 2}, {2, 4}} ^ -1 end)
check.failsWith("Matrix_Type expected, got number", function() return 2 ^ A end)
