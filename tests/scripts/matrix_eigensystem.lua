-- Eigensystem(M) of dense matrices: known spectra, eigenvector equations,
-- orthonormality, the form of the results, the messages.
local check = require "check"
local isComplex = require("matrixcheck").isComplex
local function c(x) return isComplex(x) and x or Complex.New(x, 0) end
local function rows(M) return type(M) == "userdata" and Matrix.ToTable(M) or M end

-- |A v - w v| over all components, v a row of V.
local function residual(A, w, v)
  local worst = 0
  for i = 1, #A do
    local s = Complex.New(0, 0)
    for j = 1, #A do s = s + c(A[i][j]) * c(v[j]) end
    local d = s - c(w) * c(v[i])
    worst = math.max(worst, math.sqrt(d.re ^ 2 + d.im ^ 2))
  end
  return worst
end

-- The Hermitian product conj(u) . v.
local function dot(u, v)
  local s = Complex.New(0, 0)
  for k = 1, #u do s = s + Complex.New(c(u[k]).re, -c(u[k]).im) * c(v[k]) end
  return s
end

local function checkOrthonormal(V, what)
  for k = 1, #V do
    for l = 1, #V do
      local d = dot(V[k], V[l])
      check.near(d.re, k == l and 1 or 0, 1e-13, what .. " <v" .. k .. "|v" .. l .. "> real part")
      check.near(d.im, 0, 1e-13, what .. " <v" .. k .. "|v" .. l .. "> imaginary part")
    end
  end
end

-- A real symmetric tridiagonal matrix: eigenvalues 2 - sqrt2, 2, 2 + sqrt2,
-- ascending, as numbers.
local A = {{2, -1, 0}, {-1, 2, -1}, {0, -1, 2}}
local w, V = Eigensystem(A)
check.eq(getmetatable(V), MatrixMeta, "vectors of a table are the table form")
local want = {2 - math.sqrt(2), 2, 2 + math.sqrt(2)}
for k = 1, 3 do
  check.eq(type(w[k]), "number", "Hermitian eigenvalue is a number")
  check.near(w[k], want[k], 1e-14, "eigenvalue " .. k)
  check.truthy(residual(A, w[k], V[k]) < 1e-14, "A v = w v for vector " .. k)
end
checkOrthonormal(V, "real symmetric")

-- A complex Hermitian matrix {{2, 1-i}, {1+i, 3}}: trace 5, determinant 4,
-- so the eigenvalues are 1 and 4.
local H = {{2, 1 - I}, {1 + I, 3}}
local wh, Vh = Eigensystem(Matrix.ToUserdata(H))
check.eq(type(Vh), "userdata", "vectors of a userdata are a userdata")
Vh = rows(Vh)
check.near(wh[1], 1, 1e-14, "first eigenvalue")
check.near(wh[2], 4, 1e-14, "second eigenvalue")
for k = 1, 2 do check.truthy(residual(H, wh[k], Vh[k]) < 1e-14, "H v = w v for vector " .. k) end
checkOrthonormal(Vh, "complex Hermitian")

-- A degenerate spectrum still gives orthonormal vectors: the matrix of ones
-- of order 3 has eigenvalues 0, 0, 3.
local J = {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}
local wj, Vj = Eigensystem(J)
check.near(wj[1], 0, 1e-14, "degenerate 1")
check.near(wj[2], 0, 1e-14, "degenerate 2")
check.near(wj[3], 3, 1e-14, "degenerate 3")
checkOrthonormal(Vj, "degenerate")

-- A rotation by theta is not Hermitian: a complex pair exp(+-i theta), as
-- complex objects, with right eigenvectors in the rows.
local theta = 0.3
local Rot = {{math.cos(theta), -math.sin(theta)}, {math.sin(theta), math.cos(theta)}}
local wr, Vr = Eigensystem(Rot)
check.eq(#wr, 2, "two eigenvalues")
local seen = {}
for k = 1, 2 do
  check.truthy(isComplex(wr[k]), "non-Hermitian eigenvalue is a complex object")
  check.near(wr[k].re, math.cos(theta), 1e-14, "real part of eigenvalue " .. k)
  check.near(math.abs(wr[k].im), math.sin(theta), 1e-14, "imaginary part of eigenvalue " .. k)
  seen[wr[k].im > 0 and "+" or "-"] = true
  check.truthy(residual(Rot, wr[k], Vr[k]) < 1e-14, "R r = w r for vector " .. k)
end
check.truthy(seen["+"] and seen["-"], "a conjugate pair")

-- A non-Hermitian matrix with real eigenvalues, ordered by real part:
-- {{1,2},{0,3}} has 1 and 3, still as complex objects.
local Tri = {{1, 2}, {0, 3}}
local wt, Vt = Eigensystem(Matrix.ToUserdata(Tri))
check.eq(type(Vt), "userdata", "non-Hermitian vectors of a userdata")
check.truthy(isComplex(wt[1]) and isComplex(wt[2]), "complex objects")
check.near(wt[1].re, 1, 1e-14, "lower eigenvalue")
check.near(wt[2].re, 3, 1e-14, "upper eigenvalue")
Vt = rows(Vt)
for k = 1, 2 do check.truthy(residual(Tri, wt[k], Vt[k]) < 1e-13, "T r = w r for vector " .. k) end

-- Messages.
check.fails("Error Eigensystem called with a single argument, which should be either a matrix (square table or one of the (block) response function types)",
  Eigensystem, "M")
check.fails("Error Eigensystem called with a single argument, which should be either a matrix (square table or one of the (block) response function types)",
  Eigensystem, 3)
check.fails("Eigensystem of a matrix only works on square matrices\n", Eigensystem, {{1, 2}})
