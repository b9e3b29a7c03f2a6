-- Operators in scripts: explicit construction with its signs and normal
-- order, the fields and dot methods, the arithmetic against matrices built
-- independently in a small Fock space, the text form read back, and the
-- messages.
local check = require "check"

local NF = 3

-- The Fock space of NF fermion modes: every determinant as a text, and the
-- wave function that holds them all in that order (its elements number the
-- rows and columns of OperatorToMatrix).
local dets = {}
for k = 0, 2 ^ NF - 1 do
  local s = ""
  for m = 0, NF - 1 do s = s .. ((math.floor(k / 2 ^ m) % 2 == 1) and "1" or "0") end
  dets[#dets + 1] = s
end
local list = {}
for i, d in ipairs(dets) do list[i] = {d, 1} end
local basis = NewWavefunction(NF, 0, list)
local index = {}
for i, d in ipairs(dets) do index[d] = i end

local function re(x) return Complex.Re(x) end
local function im(x) return Complex.Im(x) end

-- Reference matrix of one ladder written as in NewOperator (a positive number
-- or +0 creates, a negative number or -0 annihilates): Jordan-Wigner sign
-- (-1)^(occupied modes below m).
local function ladder(v)
  local m = math.abs(v)
  local create = 1 / v > 0
  local M = {}
  for i = 1, #dets do M[i] = {} for j = 1, #dets do M[i][j] = 0 end end
  for j, d in ipairs(dets) do
    local occupied = d:sub(m + 1, m + 1) == "1"
    if occupied ~= create then
      local below = select(2, d:sub(1, m):gsub("1", ""))
      local nd = d:sub(1, m) .. (create and "1" or "0") .. d:sub(m + 2)
      M[index[nd]][j] = (below % 2 == 0) and 1 or -1
    end
  end
  return M
end

local function matmul(A, B)
  local C = {}
  for i = 1, #A do
    C[i] = {}
    for j = 1, #B[1] do
      local s = 0
      for k = 1, #B do s = s + A[i][k] * B[k][j] end
      C[i][j] = s
    end
  end
  return C
end

local function identity()
  local M = {}
  for i = 1, #dets do M[i] = {} for j = 1, #dets do M[i][j] = (i == j) and 1 or 0 end end
  return M
end

local function combine(A, B, a, b)
  local C = {}
  for i = 1, #A do
    C[i] = {}
    for j = 1, #A do C[i][j] = a * A[i][j] + b * B[i][j] end
  end
  return C
end

-- The reference matrix of a term list as NewOperator takes it: each term the
-- product of its ladders, leftmost applied last.
local function reference(terms)
  local M = combine(identity(), identity(), 0, 0)
  for _, t in ipairs(terms) do
    local P = identity()
    for k = 1, #t - 1 do P = matmul(P, ladder(t[k])) end
    M = combine(M, P, 1, t[#t])
  end
  return M
end

local function same(got, want, what, tol)
  tol = tol or 1e-12
  for i = 1, #dets do
    for j = 1, #dets do
      local d = want[i][j] - got[i][j]
      if math.abs(re(d)) > tol or math.abs(im(d)) > tol then
        error(string.format("%s: element (%d,%d) %s, expected %s", what, i, j, tostring(got[i][j]),
          tostring(want[i][j])), 2)
      end
    end
  end
end

local function mat(O) return OperatorToMatrix(O, basis) end

------------------------------------------------------------------------------
-- Signs worked out by hand.  The determinant text lists modes 0, 1, 2.
-- C0 C2 A1 |010>: A1 passes no occupied mode (+), C2 none (+), C0 none (+):
-- +|101>.  Written the other way round, C2 C0 A1, the two creators exchange
-- and the element is -1.
local e = function(O, bra, ket) return re(mat(O)[index[bra]][index[ket]]) end
check.eq(e(NewOperator(NF, 0, {{0, 2, -1, 1}}), "101", "010"), 1, "C0 C2 A1")
check.eq(e(NewOperator(NF, 0, {{2, 0, -1, 1}}), "101", "010"), -1, "C2 C0 A1")
-- C0 A2 |011>: A2 passes the occupied mode 1 (-), C0 nothing: -|110>; on
-- |001> nothing is passed: +|100>.
local hop = NewOperator(NF, 0, {{0, -2, 1}})
check.eq(e(hop, "110", "011"), -1, "C0 A2 across an occupied mode")
check.eq(e(hop, "100", "001"), 1, "C0 A2 across an empty mode")

-- -0 is the annihilator of mode 0, also as a text: 2 n0.
local n0 = NewOperator(NF, 0, {{0, -0, 2}})
check.eq(n0.N[2], 1, "terms of 2 n0")
check.eq(e(n0, "100", "100"), 2, "2 n0 on an occupied mode 0")
check.eq(e(NewOperator(NF, 0, {{"0", "-0", 2}}), "100", "100"), 2, "mode texts")

-- A1 C1 is kept in normal order as 1 - C1 A1.
local ac = NewOperator(NF, 0, {{-1, 1, 1}})
check.eq(ac.N[0], 1, "constant of A1 C1")
check.eq(ac.N[2], 1, "length 2 of A1 C1")
check.eq(e(ac, "000", "000"), 1, "A1 C1 on empty mode 1")
check.eq(e(ac, "010", "010"), 0, "A1 C1 on occupied mode 1")
-- C1 C1 vanishes; a single entry is a constant.
check.eq(NewOperator(NF, 0, {{1, 1, 5}}).N[2], 0, "C1 C1")
check.eq(NewOperator(NF, 0, {{7}}).N[0], 1, "constant term")

------------------------------------------------------------------------------
-- Arithmetic against the reference matrices.
local ta = {{0, -1, 0.5 + 0.25 * I}, {1, -0, 0.5 - 0.25 * I}, {2, 1, -1, -0, 1.5}, {-2, 2, 0.75}, {3.0}}
local tb = {{1, -2, 2}, {2, -1, I}, {0, 2, -2, -0, -0.5}, {-1, 0.25}}
local A = NewOperator(NF, 0, ta)
local B = NewOperator(NF, 0, tb, {{"Name", "B"}, {"NBitsKey", {3, 0, 5}}})
local RA, RB = reference(ta), reference(tb)
same(mat(A), RA, "A")
same(mat(B), RB, "B")
same(mat(A + B), combine(RA, RB, 1, 1), "A + B")
same(mat(A - B), combine(RA, RB, 1, -1), "A - B")
same(mat(A * B), matmul(RA, RB), "A B")
same(mat(B * A), matmul(RB, RA), "B A")
same(mat(I * A), combine(RA, RA, I, 0), "I A")
same(mat(A * 2), combine(RA, RA, 2, 0), "A 2")
same(mat(-A), combine(RA, RA, -1, 0), "-A")
same(mat(A / (1 + I)), combine(RA, RA, 1 / (1 + I), 0), "A / (1 + I)")
same(mat(A / 4), combine(RA, RA, 0.25, 0), "A / 4")
same(mat(3 - A), combine(identity(), RA, 3, -1), "3 - A")
same(mat(A + I), combine(RA, identity(), 1, I), "A + I")
same(mat(I - A), combine(identity(), RA, I, -1), "I - A")

local function adjoint(M, conj)
  local T = {}
  for i = 1, #M do
    T[i] = {}
    for j = 1, #M do
      local v = M[j][i]
      T[i][j] = conj and (re(v) - im(v) * I) or v
    end
  end
  return T
end
same(mat(A.Dag()), adjoint(RA, true), "A.Dag()")
same(mat(A.CT()), adjoint(RA, true), "A.CT()")
same(mat(A.ConjugateTranspose()), adjoint(RA, true), "A.ConjugateTranspose()")
same(mat(A.Transpose()), adjoint(RA, false), "A.Transpose()")
local Ac = A * 1
Ac.Conjugate()
same(mat(Ac), adjoint(adjoint(RA, true), false), "A.Conjugate()")

-- A saved method acts on the operator indexed last.
local chop = A.Chop
local small = NewOperator(NF, 0, {{0, -0, 1e-12}, {1, -1, 1}})
check.eq(small.Name, "Operator", "name of a new operator")
chop()
check.eq(small.N[2], 1, "Chop through a saved method")
check.eq(A.N[2], 3, "the first operator is left alone")

------------------------------------------------------------------------------
-- Operators on wave functions: O psi, psi O (the ket O^dagger psi) and the
-- matrix between a list of functions.  The coefficients of a state are read
-- as the column of the identity between the single determinants and it.
local coef = {0.5, -1, 0.25 * I, 0, 2, 1 - I, -0.75, 0.125}
local cl = {}
for k, d in ipairs(dets) do if coef[k] ~= 0 then cl[#cl + 1] = {d, coef[k]} end end
local psi = NewWavefunction(NF, 0, cl)
local phi = NewWavefunction(NF, 0, {{"110", 1}, {"011", -I}, {"101", 0.5}})
local phic = {}
for k, d in ipairs(dets) do phic[k] = ({["110"] = 1, ["011"] = -I, ["101"] = 0.5})[d] or 0 end
local units = {}
for k, d in ipairs(dets) do units[k] = NewWavefunction(NF, 0, {{d, 1}}) end
local one = NewOperator(NF, 0, {{1}})
local function coefficients(state)
  local l = {}
  for k = 1, #dets do l[k] = units[k] end
  l[#dets + 1] = state
  local M = OperatorToMatrix(one, l)
  local c = {}
  for k = 1, #dets do c[k] = M[k][#dets + 1] end
  return c
end
local function apply(M, c)
  local r = {}
  for i = 1, #dets do
    r[i] = 0
    for j = 1, #dets do r[i] = r[i] + M[i][j] * c[j] end
  end
  return r
end
local function sameVector(got, want, what)
  for k = 1, #dets do
    local d = got[k] - want[k]
    check.near(math.abs(re(d)) + math.abs(im(d)), 0, 1e-12, what .. " element " .. k)
  end
end
sameVector(coefficients(A * psi), apply(RA, coef), "A psi")
sameVector(coefficients(psi * A), apply(adjoint(RA, true), coef), "psi A")
sameVector(coefficients(B * (A * psi)), apply(RB, apply(RA, coef)), "B A psi")
local function bra(c, M, d)
  local v = 0
  local Md = apply(M, d)
  for k = 1, #dets do v = v + (re(c[k]) - im(c[k]) * I) * Md[k] end
  return v
end
local L2 = OperatorToMatrix(A, {psi, phi})
local pairs2 = {{coef, coef}, {coef, phic}, {phic, coef}, {phic, phic}}
for n, pr in ipairs(pairs2) do
  local i, j = math.floor((n - 1) / 2) + 1, (n - 1) % 2 + 1
  local d = L2[i][j] - bra(pr[1], RA, pr[2])
  check.near(math.abs(re(d)) + math.abs(im(d)), 0, 1e-12, "list element " .. i .. j)
end

------------------------------------------------------------------------------
-- The global calls give new operators and leave their argument alone.
local C = Copy(A)
C.Chop(10)
check.eq(C.N[2], 0, "the copy chopped")
same(mat(A), RA, "A after chopping its copy")
same(mat(Clone(A)), RA, "Clone")
same(mat(Conjugate(A)), adjoint(adjoint(RA, true), false), "Conjugate(A)")
same(mat(Transpose(A)), adjoint(RA, false), "Transpose(A)")
same(mat(ConjugateTranspose(A)), adjoint(RA, true), "ConjugateTranspose(A)")
local tiny = NewOperator(NF, 0, {{0, -1, 1 + 1e-13 * I}, {1, -1, 1e-13}, {2, -2, 1}})
local chopped = Chop(tiny)
check.eq(chopped.N[2], 2, "Chop drops the small term")
check.truthy(not chopped.Complex, "Chop drops the small imaginary part")
check.eq(tiny.N[2], 3, "Chop leaves its argument")

-- Rotate(O, U): the rows of U are the new orbitals, new_r = sum_i U[r][i]
-- old_i, so a one-particle matrix h becomes conj(U) h U^T; modes beyond the
-- rows of U stay.
local c, s, ph = math.cos(0.3), math.sin(0.3), Complex.Exp(0.7 * I)
local U = {{c, s}, {-s * ph, c * ph}}
local h = NewOperator(NF, 0, {{0, -0, 1}, {1, -1, -2}, {0, -1, 0.5 * I}, {1, -0, -0.5 * I}, {2, -0, 0.25}})
local zero = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}
local h1 = OperatorToMatrix(h, zero)
local U3 = {{U[1][1], U[1][2], 0}, {U[2][1], U[2][2], 0}, {0, 0, 1}}
local want = {}
for r = 1, 3 do
  want[r] = {}
  for q = 1, 3 do
    local v = 0
    for i = 1, 3 do
      for j = 1, 3 do
        local cu = re(U3[r][i]) - im(U3[r][i]) * I
        v = v + cu * h1[i][j] * U3[q][j]
      end
    end
    want[r][q] = v
  end
end
local got = OperatorToMatrix(Rotate(h, U), zero)
for r = 1, 3 do
  for q = 1, 3 do
    local d = got[r][q] - want[r][q]
    check.near(math.abs(re(d)) + math.abs(im(d)), 0, 1e-14, "rotated one-particle element " .. r .. q)
  end
end
-- Exchanging modes 0 and 2 takes C2 C1 A1 A0 to C0 C1 A1 A2.
local swap = {{0, 0, 1}, {0, 1, 0}, {1, 0, 0}}
same(mat(Rotate(NewOperator(NF, 0, {{2, 1, -1, -0, 1}}), swap)), reference({{0, 1, -1, -2, 1}}), "mode exchange")
-- The one-particle form of OperatorToMatrix follows the form of its density
-- matrix argument.
local hu = OperatorToMatrix(h, Matrix.ToUserdata(zero))
check.eq(Matrix.ToTable(hu)[1][2], h1[1][2], "userdata density matrix")

------------------------------------------------------------------------------
-- Fields.
check.eq(A.NF, NF, "NF")
check.eq(A.NB, 0, "NB")
check.truthy(A.Complex, "A is complex")
check.truthy(not hop.Complex, "a real operator")
check.eq(B.Name, "B", "Name option")
B.Name = "renamed"
check.eq(B.Name, "renamed", "Name written")
check.eq(A.Restrictions, nil, "no restrictions")
local R = NewOperator(4, 0, {{3, -1, 1}}, {{"restrictions", {4, 0, {"1100", 0, 1}, {"0011", 1, 2}}}})
local rr = R.Restrictions
check.eq(#rr, 4, "two ranges")
check.eq(rr[3][1] .. " " .. rr[3][2] .. " " .. rr[3][3], "C0 0 1", "first range")
check.eq(rr[4][1] .. " " .. rr[4][2] .. " " .. rr[4][3], "30 1 2", "second range")
R.Restrictions = {4, 0, {"1111", 2, 2}}
check.eq(R.Restrictions[3][1], "F0", "restrictions written")
R.Restrictions = nil
check.eq(R.Restrictions, nil, "restrictions removed")
-- More fermion modes keep the terms; fewer drop those on modes that go.
local grow = NewOperator(NF, 0, {{2, -0, 1}, {0, -0, 1}})
grow.NF = 5
check.eq(grow.NF, 5, "NF written")
check.eq(grow.N[2], 2, "terms kept")
grow.NF = 1
check.eq(grow.N[2], 1, "terms on removed modes dropped")

-- OperatorSetTrace: the number-operator terms of the listed modes are shifted
-- equally, here from 1 + 2 to 6.
local h = NewOperator(NF, 0, {{0, -0, 1}, {1, -1, 2}, {0, -1, 0.5}})
check.eq(OperatorSetTrace(h, {0, 1}, 6), h, "OperatorSetTrace returns its operator")
local h1 = OperatorToMatrix(h, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}})
check.near(h1[1][1] + h1[2][2], 6, 1e-14, "trace over modes 0 and 1")
check.near(h1[2][2] - h1[1][1], 1, 1e-14, "difference of the diagonal kept")
check.eq(h1[1][2], 0.5, "off-diagonal one-particle element")
check.eq(h1[3][3], 0, "mode 2 not touched")

------------------------------------------------------------------------------
-- The text form read back: every term line "C i A j ... | re [im]" becomes a
-- term of NewOperator again, and the matrix is the same.
local function readback(O)
  local terms = {}
  for line in tostring(O):gmatch("[^\n]+") do
    local ladders, values = line:match("^(.-)|(.*)$")
    if ladders then
      local t = {}
      for kind, mode in ladders:gmatch("([CA])%s*(%d+)") do
        t[#t + 1] = (kind == "C") and mode or ("-" .. mode)
      end
      local r, i = values:match("^%s*(%S+)%s*(%S*)")
      t[#t + 1] = tonumber(r) + (i ~= "" and tonumber(i) * I or 0)
      terms[#terms + 1] = t
    end
  end
  return NewOperator(O.NF, O.NB, terms)
end
local AB = A * B
same(mat(readback(AB)), mat(AB), "A B read back from its text", 1e-12)
same(mat(readback(A)), RA, "A read back from its text", 1e-12)

------------------------------------------------------------------------------
-- Messages.
check.fails("ERROR: LuaNewOperator called with 0 arguments, expect at least one\n", NewOperator)
check.fails("ERROR: first argument in NewOperator (Sz2) is not recognized as a known operatortype\n See "
  .. "Help(\"NewOperator\") for more information\n", NewOperator, "Sz2", 3)
check.fails("ERROR: first argument in LuaNewOperator should be a string (use \"Oppname\" as first argument)\n",
  NewOperator, {})
check.fails("ERROR: LuaNewOperator called with 2 arguments, expectd 3 or 4\n", NewOperator, 2, 0)
check.fails("ERROR: LuaNewOperator called an empty table as operator at position 2\n",
  NewOperator, 2, 0, {{1}, {}})
check.fails("ERROR: Opperator 1 at position 2 addign particle with index 1.5 should be integer",
  NewOperator, 3, 0, {{0, -1.5, 1}})
check.fails("ERROR: Opperator 2 at position 1 adding particle with index 2 but there are only 2 (2 Fermions + 0 "
  .. "Bosons in the basis)\n)\n", NewOperator, 2, 0, {{0, 1}, {-2, 1}})
check.fails("bad argument #3 to 'NewOperator' (Complex_Type expected, got table)",
  function() NewOperator(2, 0, {{0, -1, {}}}) end)
check.fails("Number of Fermions in definition of restrictions (3) not the same as number of Fermions in "
  .. "operator (4)\n", function() R.Restrictions = {3, 0, {"111", 0, 1}} end)
check.fails("Number of Fermions in definition of restrictions (3) not the same as number of Fermions in "
  .. "operator (2)\n", NewOperator, 2, 0, {}, {{"Restrictions", {3, 0, {"111", 0, 1}}}})
check.fails("Error operator variable not found", function() return A.foo end)
check.fails("Maximum number of fermions + bosons allowed is 2^15 = 32768\nTrying to change the number of "
  .. "fermions from 3 to 40000 with 0 bosons\n", function() A.NF = 40000 end)
check.fails("Maximum number of fermions + bosons allowed is 2^15 = 32768\nTrying to change the number of "
  .. "bosons from 0 to 32766 with 3 fermions\n", function() A.NB = 32766 end)
check.fails("Current version does not suport Bosons\n", function() A.NB = 1 end)
check.fails("Errorr, you can not change the value representing the number of operators in renamed\nIf you add "
  .. "or subtract something from the operator the number will follow automatically.", function() B.N = 1 end)
check.fails("Errorr, you can not change the value Complex of an operator renamed.\nIn order to change you have "
  .. "to modify the operator itselves, the value of Complex will follow automatically.",
  function() B.Complex = false end)
check.fails("Error index foo not found in Operator Object\n", function() A.foo = 1 end)
check.fails("Errorr, call to chop with 2 arguments, expected 0 or 1\n", A.Chop, 1, 2)
check.fails("Adding two operators with different number of Fermions (3 and 4)\n", function() return A + R end)
check.fails("Adding two operators with different number of Fermions (3 and 4)\n", function() return A - R end)
check.fails("Error, number devided by an operator\n", function() return 2 / A end)
check.fails("Error, table devided by an operator\n", function() return {} / A end)
check.fails("Error, operator devided by an object of unrecognized type\n", function() return A / "x" end)
check.fails("Error: complex number divided by operator\n", function() return I / A end)
check.fails("Error: complex number to the power operator\n", function() return I ^ A end)
check.fails("Error, an operator of 4 fermions and 0 bosons can not act on a wavefunction of 3 fermions and 0 "
  .. "bosons\n", function() return R * psi end)
check.fails("Table of length 0 found at position 2 in OperatorToMatrix\n", OperatorToMatrix, A, {})
check.fails("Error: Rotate an object of unrecognised type\n", Rotate, "x", {{1}})
check.fails("Error in Rotate, the basis change has 4 rows but the operator only 3 modes\n", Rotate, A,
  {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}})
check.fails("Error in OperatorToMatrix, expected an Wavefunction, List of functions, or DensityMatrix on "
  .. "position two\n", OperatorToMatrix, A, 5)
