-- Braket, BraketDiagonal and DensityMatrix on random states, against dense
-- products with the operator's matrix over all determinants
-- (OperatorToMatrix over a state that holds them all), and their messages.
local check = require "check"

local NF = 6
local dets = {}
for k = 0, 2 ^ NF - 1 do
  local s = ""
  for m = 0, NF - 1 do s = s .. ((math.floor(k / 2 ^ m) % 2 == 1) and "1" or "0") end
  dets[#dets + 1] = s
end
local all = {}
for i, d in ipairs(dets) do all[i] = {d, 1} end
local basis = NewWavefunction(NF, 0, all)

local function re(x) return Complex.Re(x) end
local function im(x) return Complex.Im(x) end
local function near(got, want, what, tol)
  tol = tol or 1e-11
  check.near(re(got), re(want), tol, what .. " (real part)")
  check.near(im(got), im(want), tol, what .. " (imaginary part)")
end

math.randomseed(17)
local function rnd() return 2 * math.random() - 1 end

-- A random state of n electrons (all counts when n is nil) on about half of
-- the determinants, normalised, with its coefficient vector over dets.
local function randomState(complex, n)
  local list, c, norm2 = {}, {}, 0
  for i, d in ipairs(dets) do
    c[i] = 0
    local electrons = select(2, d:gsub("1", ""))
    if (n == nil or electrons == n) and math.random() < 0.6 then
      c[i] = complex and (rnd() + rnd() * I) or rnd()
      norm2 = norm2 + re(c[i]) ^ 2 + im(c[i]) ^ 2
    end
  end
  for i, d in ipairs(dets) do
    if c[i] ~= 0 then
      c[i] = c[i] / math.sqrt(norm2)
      list[#list + 1] = {d, c[i]}
    end
  end
  return NewWavefunction(NF, 0, list), c
end

local function randomOperator(complex)
  local terms = {}
  for _ = 1, 12 do
    local v = complex and (rnd() + rnd() * I) or rnd()
    terms[#terms + 1] = {math.random(0, NF - 1), -math.random(0, NF - 1), v}
  end
  for _ = 1, 12 do
    local v = complex and (rnd() + rnd() * I) or rnd()
    terms[#terms + 1] = {math.random(0, NF - 1), math.random(0, NF - 1), -math.random(0, NF - 1),
      -math.random(0, NF - 1), v}
  end
  terms[#terms + 1] = {0.3}
  return NewOperator(NF, 0, terms)
end

local function conj(z) return re(z) - im(z) * I end

-- sum_ij conj(a_i) M_ij b_j, and sum_i conj(a_i) b_i.
local function dense(a, M, b)
  local s = 0
  for i = 1, #dets do
    if a[i] ~= 0 then
      for j = 1, #dets do
        if b[j] ~= 0 then s = s + conj(a[i]) * M[i][j] * b[j] end
      end
    end
  end
  return s
end
local function dot(a, b)
  local s = 0
  for i = 1, #dets do s = s + conj(a[i]) * b[i] end
  return s
end

for _, kinds in ipairs({{false, false}, {true, false}, {false, true}, {true, true}}) do
  local H = randomOperator(kinds[1])
  local M = OperatorToMatrix(H, basis)
  local psi, c = randomState(kinds[2])
  local phi, d = randomState(not kinds[2])
  local what = string.format("operator complex %s, state complex %s", tostring(kinds[1]), tostring(kinds[2]))
  near(Braket(psi, H, phi), dense(c, M, d), "<psi|H|phi>, " .. what)
  near(Braket(psi, H, psi), dense(c, M, c), "<psi|H|psi>, " .. what)
  near(Braket(psi, H * psi), dense(c, M, c), "<psi|(H psi)>, " .. what)
  near(psi * (H * psi), Braket(psi, H, psi), "psi * (H * psi), " .. what)
  near((psi * H) * phi, Braket(psi, H, phi), "(psi * H) * phi, " .. what)
  near(Braket(psi, phi), dot(c, d), "<psi|phi>, " .. what)
  near(Braket(phi, psi), dot(d, c), "<phi|psi>, " .. what)

  -- Lists: a matrix for two lists, a list otherwise, the diagonal.
  local G = Braket({psi, phi}, H, {phi, psi, phi})
  check.eq(#G, 2, "rows")
  check.eq(#G[1], 3, "columns")
  near(G[1][1], dense(c, M, d), "G[1][1], " .. what)
  near(G[2][2], dense(d, M, c), "G[2][2], " .. what)
  local row = Braket(phi, H, {psi, phi})
  near(row[1], dense(d, M, c), "row[1], " .. what)
  near(row[2], dense(d, M, d), "row[2], " .. what)
  local column = Braket({psi, phi}, psi)
  near(column[2], dot(d, c), "column[2], " .. what)
  local S = Braket({psi, phi}, {psi, phi})
  near(S[1][1], 1, "<psi|psi>, " .. what)
  near(S[1][2], dot(c, d), "S[1][2], " .. what)
  local diagonal = BraketDiagonal({psi, phi}, H, {phi, phi})
  near(diagonal[1], dense(c, M, d), "diagonal[1], " .. what)
  near(diagonal[2], dense(d, M, d), "diagonal[2], " .. what)
end

-- Real operator, real state: a plain number; a complex value a Complex.
local psi = randomState(false)
check.eq(type(Braket(psi, randomOperator(false), psi)), "number", "real value")
check.eq(type(Braket(psi, NewOperator(NF, 0, {{0, -1, I}, {1, -0, I}}), psi)), "userdata", "complex value")

-- The number operator on a determinant gives the occupation; the sign rule
-- of C0 A1 between 10 and 01.
local det = NewWavefunction(2, 0, {{"10", 1}})
check.eq(Braket(det, NewOperator(2, 0, {{0, -0, 1}}), det), 1, "n0 on 10")
check.eq(Braket(det, NewOperator(2, 0, {{1, -1, 1}}), det), 0, "n1 on 10")
check.eq(Braket(det, NewOperator(2, 0, {{0, -1, 1}}), NewWavefunction(2, 0, {{"01", 1}})), 1, "C0 A1")
check.eq(Braket(NewWavefunction(3, 0, {{"110", 1}}), NewOperator(3, 0, {{0, -2, 1}}),
  NewWavefunction(3, 0, {{"011", 1}})), -1, "C0 A2 past an occupied mode")

------------------------------------------------------------------------------
-- Density matrices: Hermitian, trace the particle number, elements the
-- values of C i A j, chosen orbitals, lists and transition densities.
local a, ca = randomState(true, 3)
local b, cb = randomState(true, 3)
local rho = DensityMatrix(a)
check.eq(#rho, NF, "size of the density matrix")
local trace = 0
for i = 1, NF do
  trace = trace + rho[i][i]
  for j = 1, NF do
    near(rho[i][j], conj(rho[j][i]), "Hermitian density matrix")
    local Mij = OperatorToMatrix(NewOperator(NF, 0, {{i - 1, -(j - 1), 1}}), basis)
    near(rho[i][j], dense(ca, Mij, ca), string.format("rho[%d][%d]", i, j))
  end
end
near(trace, 3, "trace of the density matrix")
local part = DensityMatrix(a, {4, 1})
near(part[1][2], rho[5][2], "chosen orbitals")
near(part[2][1], rho[2][5], "chosen orbitals, other way")
local rhos = DensityMatrix({a, b})
near(rhos[2][3][3], DensityMatrix(b)[3][3], "list of density matrices")
local t = DensityMatrix({a, b}, {{"Tensor", true}})
local M14 = OperatorToMatrix(NewOperator(NF, 0, {{0, -3, 1}}), basis)
near(t[1][2][1][4], dense(ca, M14, cb), "transition density")
near(t[2][1][4][1], conj(t[1][2][1][4]), "transition density, other way")
local tp = DensityMatrix({a, b}, {0, 3}, {{"Tensor", true}})
near(tp[1][2][1][2], t[1][2][1][4], "transition density over chosen orbitals")
-- A real state gives a real matrix.
check.eq(type(DensityMatrix((randomState(false, 2)))[1][1]), "number", "real density matrix")

------------------------------------------------------------------------------
-- Messages.
local O = randomOperator(false)
check.fails("Error in BraKet, called with 1 arguments, 2 or 3 expected\n", Braket, psi)
check.fails("Error in BraKet, called with 4 arguments, 2 or 3 expected\n", Braket, psi, O, psi, psi)
check.fails("Error in BraKet, argument 1 should be a wavefunction or a list of wavefunctions\n", Braket, 3, psi)
check.fails("Error in BraKet, argument 3 should be a wavefunction or a list of wavefunctions\n", Braket, psi, O,
  {psi, 2})
check.failsWith("Operator_Type expected, got number", Braket, psi, 2, psi)
check.fails("Error in BraKet, wavefunctions of 6 fermions and 0 bosons and of 2 fermions and 0 bosons can not be "
  .. "combined\n", Braket, psi, det)
check.fails("Error in BraKet, an operator of 6 fermions and 0 bosons can not act on a wavefunction of 2 fermions "
  .. "and 0 bosons\n", Braket, det, O, det)
check.fails("Error in BraketDiagonal, called with 1 arguments, 2 or 3 expected\n", BraketDiagonal, {psi})
check.fails("Error in BraketDiagonal, the first and the last argument should be lists of wavefunctions\n",
  BraketDiagonal, {psi}, O, 1)
check.fails("Error: DensityMatrix called with 0 arguments, 1, 2 or 3 arguments expected", DensityMatrix)
check.fails("Error: DensityMatrix called with 4 arguments, 1, 2 or 3 arguments expected", DensityMatrix, psi, {1},
  {}, {})
check.fails("Error: DensityMatrix expects a function or a list of functions on the first position\n",
  DensityMatrix, O)
check.fails("Error: DensityMatrix position 2 should either be a list of integers selecting the orbitals to include "
  .. "or a list of options\n", DensityMatrix, psi, {1.5})
check.fails("Error: DensityMatrix position 2 should either be a list of integers selecting the orbitals to include "
  .. "or a list of options\n", DensityMatrix, psi, "Tensor")
check.fails("Error: DensityMatrix expects a list of functions on the first position when the option "
  .. "{\"Tensor\",true} is set\n", DensityMatrix, psi, {{"Tensor", true}})
check.fails("Error: DensityMatrix orbital 6 is not one of the 6 modes of the wavefunction\n", DensityMatrix, psi,
  {0, 6})
check.fails("Error Statistics expects a wave-function or operator as first imput\n", Statistics, 1)
check.fails("PrintExpectationValues called with 1 arguments. 2, 3 or 4 expected, List of Wavefunctions, optional "
  .. "Hamiltonian, list of other operators, and optional list of Options.\n", PrintExpectationValues, {psi})
check.fails("Last argument of PrintExpectationValues should either be a single operator, a list of operators, or "
  .. "a list of options. It's not.\n", PrintExpectationValues, {psi}, O, 7)
check.fails("PrintExpectationValues argument 2 should be an operator or a list of operators\n",
  PrintExpectationValues, {psi}, 7, {})
check.fails("PrintExpectationValues expects a list of wavefunctions on the first position\n",
  PrintExpectationValues, 7, O)
