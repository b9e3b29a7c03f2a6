-- Block response functions through the script object: the four forms of a
-- 2 by 2 list of poles are the same matrix function, reduction and mesh
-- placing keep the constant block, and the block messages.
local check = require "check"

local A0 = { { 0.5, 0.1 }, { 0.1, -0.2 } }
local E = { -1.5, -0.4, 0.3, 1.2 }
local B = {
  { { 1.0, 0.5 }, { 0.5, 1.0 } },
  { { 0.3, Complex.New(0, 0.1) }, { Complex.New(0, -0.1), 0.2 } },
  { { 0.5, 0 }, { 0, 0 } },          -- rank one
  { { 0.2, -0.1 }, { -0.1, 0.4 } },
}
local L = setmetatable({ { A0, E[1], E[2], E[3], E[4] }, B, type = "ListOfPoles", name = "B", mu = 0 },
  ResponseFunctionMeta)

local function entry(m, i, j)
  local v = m[i][j]
  if type(v) == "number" then return v, 0 end
  return v.re, v.im
end

-- The list by its definition, A0 + sum B_k / (w + i gamma/2 - e_k).
local function direct(w, gamma)
  local z = Complex.New(w, gamma / 2)
  local G = {}
  for i = 1, 2 do
    G[i] = {}
    for j = 1, 2 do
      local s = A0[i][j] + 0 * I
      for k = 1, #E do s = s + B[k][i][j] / (z - E[k]) end
      G[i][j] = s
    end
  end
  return G
end

local function same(F, what, tol)
  for _, gamma in ipairs { 0.1, 1.0 } do
    for w = -2.5, 2.5, 0.35 do
      local a, b = F(w, gamma), direct(w, gamma)
      check.eq(#a, 2, what .. " rows")
      for i = 1, 2 do
        for j = 1, 2 do
          local ar, ai = entry(a, i, j)
          local br, bi = entry(b, i, j)
          check.near(ar, br, tol or 1e-12, what)
          check.near(ai, bi, tol or 1e-12, what)
        end
      end
    end
  end
end

same(L, "list")
local U = ToUserdata(L)
same(U, "list userdata")
same(function(w, g) return L({ w, g }) end, "list called with a table")
for _, name in ipairs { "Tri", "And" } do
  local t, u = ChangeType(L, name), ChangeType(U, name)
  check.eq(t.type, name)
  check.eq(type(t[2][1]), "table", name .. " couplings are matrices")
  same(t, name, 1e-10)
  same(u, name .. " userdata", 1e-10)
  same(ChangeType(t, "ListOfPoles"), name .. " back to a list", 1e-10)
  same(ChangeType(t, name == "Tri" and "And" or "Tri"), name .. " to the other", 1e-10)
  same(ToUserdata(ToTable(u)), name .. " through a table", 1e-10)
end

-- The natural orbital: chains of the poles below and above mu = 0, with
-- epsilon the constant; evaluated through its list of poles.
local N = ChangeType(L, "NaturalImpurityOrbital")
check.eq(N.type, "NaturalImpurityOrbital")
check.eq(entry(N.epsilon, 1, 2), 0.1)
check.eq(N.val.type, "Tri")
same(ChangeType(N, "ListOfPoles"), "natural orbital", 1e-10)
same(ChangeType(ChangeType(U, "Nat"), "Tri"), "natural orbital to chain", 1e-10)
check.failsWith("a block natural impurity orbital is evaluated through its list of poles", N, 0.1, 0.1)

-- Sums stay block lists; the constant blocks add.
local S = L + ChangeType(L, "Tri")
check.eq(S.type, "ListOfPoles")
check.eq(S.name, "Block List Of Poles")
check.near(entry(S[1][1], 2, 1), 0.2, 1e-15, "constant of a sum")
for w = -2, 2, 1 do
  local s, d = S(w, 0.2), direct(w, 0.2)
  check.near(s[1][2].im, 2 * d[1][2].im, 1e-10, "sum")
  check.near((L - U)(w, 0.2)[2][1].re, 0, 1e-12, "difference")
end
check.eq(type(-U), "userdata")
check.near(ToTable(-U)[2][2][1][2].im, -0.1, 1e-15, "negative weight")

-- Reduction keeps the total weight matrix and the constant block.
local R = ReducePoles(L, 2)
check.eq(#R[2], 2)
check.eq(entry(R[1][1], 1, 2), 0.1)
local sum = { { 0, 0 }, { 0, 0 } }
for k = 1, 2 do
  for i = 1, 2 do
    for j = 1, 2 do
      local re = entry(R[2][k], i, j)
      sum[i][j] = sum[i][j] + re
    end
  end
end
check.near(sum[1][1], 2.0, 1e-14, "weight kept")
check.near(sum[1][2], 0.4, 1e-14, "weight kept")
check.near(sum[2][2], 1.6, 1e-14, "weight kept")

-- The mesh: poles at the points, first moment of the trace kept inside the
-- mesh, the constant block kept.
local P = PlaceOnMesh(U, { -2, -1, 0, 1, 2 })
local Pt = ToTable(P)
check.eq(#Pt[2], 5)
check.eq(Pt[1][3], -1)
check.eq(entry(Pt[1][1], 2, 2), -0.2)
local m0, m1 = 0, 0
for k = 1, 4 do m0 = m0 + E[k] * (entry(B[k], 1, 1) + entry(B[k], 2, 2)) end
for k = 1, 5 do
  local e = Pt[1][k + 1]
  local t11 = entry(Pt[2][k], 1, 1)
  local t22 = entry(Pt[2][k], 2, 2)
  m1 = m1 + e * (t11 + t22)
end
check.near(m1, m0, 1e-14, "first moment on the mesh")

-- With a suggested grid the list of a chain lies on the grid.
local Lg = setmetatable({ { A0, E[1], E[2], E[3], E[4] }, B, type = "ListOfPoles", name = "B", mu = 0,
  SuggestedGrid = { -3, -1, 1, 3 } }, ResponseFunctionMeta)
local Tg = ChangeType(Lg, "Tri")
check.eq(#Tg.SuggestedGrid, 4)
local Lb = ChangeType(Tg, "ListOfPoles")
check.eq(#Lb[2], 4)
check.eq(Lb[1][2], -3)
check.eq(Lb[1][5], 3)

-- Block tables take numbers as multiples of the unit matrix, and Matrix
-- userdata where a matrix stands.
local C = setmetatable({ { 1, { { 0, 0 }, { 0, 0 } } }, { 2 }, type = "Tri", name = "c", mu = 0 },
  ResponseFunctionMeta)
local c = C(0.5, 0)
check.near(c[1][1].re, 1 + 4 / 0.5, 1e-14, "number blocks")
check.near(c[1][2].re, 0, 1e-14, "number blocks")

-- Values are matrices in the table form of matrices, and a Matrix userdata
-- may stand where a matrix does.
check.eq(getmetatable(L(0.1, 0.1)), MatrixMeta)
check.eq(getmetatable(U(0.1, 0.1)), MatrixMeta)
local Lu = setmetatable({ { Matrix.ToUserdata(A0), E[1], E[2], E[3], E[4] },
  { B[1], B[2], Matrix.ToUserdata(B[3]), B[4] }, type = "ListOfPoles", name = "B", mu = 0 }, ResponseFunctionMeta)
same(Lu, "list with userdata blocks")

-- Eigensystem: the poles of a full-rank list, each once per orbital, from
-- every form; the list form gives its energies.
local F = setmetatable({ { 0, -1, 1 }, { { { 1, 0.2 }, { 0.2, 0.5 } }, { { 0.3, 0 }, { 0, 0.7 } } },
  type = "ListOfPoles", name = "F", mu = 0 }, ResponseFunctionMeta)
local ev = Eigensystem(F)
check.eq(#ev, 2)
check.eq(ev[1], -1)
for _, form in ipairs { "Tri", "And", "Nat" } do
  local e = Eigensystem(ChangeType(ToUserdata(F), form))
  check.eq(#e, 4, form .. " eigenvalues")
  for i, want in ipairs { -1, -1, 1, 1 } do check.near(e[i], want, 1e-12, form .. " eigenvalue") end
end

-- Messages of the block tables.
local shape = "Error a list of poles should be a list of two lists {{a1,a2,...,an+1},{b1^2,b2^2,...,bn^2}}, " ..
    "with b matrices and a1 optionally a matrix"
check.fails(shape, ToUserdata, { { A0, "x" }, { B[1] }, type = "ListOfPoles", name = "x", mu = 0 })
check.fails(shape, ToUserdata, { { A0, 1 }, { 3 }, type = "ListOfPoles", name = "x", mu = 0 })
check.fails("Errorr reading Greens function with lenght of b equal to zero", ToUserdata,
  { { A0 }, {}, type = "ListOfPoles", name = "x", mu = 0 })
check.fails("Error Reading List of poles. Length of a (3) should be one more than length of b (1)", ToUserdata,
  { { A0, 1, 2 }, { B[1] }, type = "ListOfPoles", name = "x", mu = 0 })
check.fails("Error while reading matrix. Dimensions of rows not constant. 2 at first row 1 at row 2", ToUserdata,
  { { A0, 1 }, { { { 1, 2 }, { 3 } } }, type = "ListOfPoles", name = "x", mu = 0 })
check.fails("Error reading a block Green's function: every block should be a 2 by 2 matrix", ToUserdata,
  { { A0, 1 }, { { { 1 } } }, type = "ListOfPoles", name = "x", mu = 0 })
check.fails("Errorr reading Greens function with lenght of b equal to zero", ToUserdata,
  { { A0 }, {}, type = "Tri", name = "x", mu = 0 })
check.fails("Reading List of poles without name defined", ToUserdata, { { A0, 1 }, { B[1] }, type = "ListOfPoles" })
local scalar = setmetatable({ { 0, 1 }, { 1 }, type = "ListOfPoles", name = "s", mu = 0 }, ResponseFunctionMeta)
check.fails("Error in ResponseFunctionAdd: blocks of size 2 and 1 can't be added", function() return L + scalar end)
check.fails("Error in ResponseFunctionAdd: blocks of size 1 and 2 can't be added", function() return scalar - U end)
check.fails("Error in ReducePoles: 2nd argument should be the desired number of poles.\n", ReducePoles, U, 0)
check.fails("Error in PlaceOnMesh: the 2nd argument should be a list of energy grid points.\n", PlaceOnMesh, L, { 1 })
check.fails("Error in PlaceOnMesh: The first argument should be of type 'L'/'l' (ListOfPoles).\n",
  PlaceOnMesh, N, { 1, 2 })
print("done")
