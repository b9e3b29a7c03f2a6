-- Helpers shared by the matrix script tests: the kind of a value, and a
-- comparison of a matrix in either form with rows of expected entries.
local check = require "check"

local matrixcheck = {}

local ComplexMeta = getmetatable(I)
local UserdataMeta = getmetatable(Matrix.ToUserdata({{1}}))

function matrixcheck.isComplex(z) return type(z) == "userdata" and getmetatable(z) == ComplexMeta end
function matrixcheck.isUserdata(M) return type(M) == "userdata" and getmetatable(M) == UserdataMeta end
function matrixcheck.isTableForm(M) return type(M) == "table" and getmetatable(M) == MatrixMeta end

-- Compares a matrix (either form) entry by entry with rows of numbers and
-- complex numbers.
function matrixcheck.same(M, want, what, tol)
  tol = tol or 1e-13
  if type(M) == "userdata" then M = Matrix.ToTable(M) end
  check.eq(#M, #want, what .. ": rows")
  for i = 1, #want do
    check.eq(#M[i], #want[i], what .. ": columns of row " .. i)
    for j = 1, #want[i] do
      local where = string.format("%s (%d,%d)", what, i, j)
      check.near(Complex.Re(M[i][j]), Complex.Re(want[i][j]), tol, where .. " real part")
      check.near(Complex.Im(M[i][j]), Complex.Im(want[i][j]), tol, where .. " imaginary part")
    end
  end
end

return matrixcheck
