-- Eigensystem of operators against exact results: the Hubbard dimer in
-- closed form, the 4-site ring from a dense diagonalisation, the Racah terms
-- of d^2, through the dense and the Krylov inner solvers.
local check = require "check"
Verbosity(0)

local function Ring(L, t, U)
  local terms = {}
  for s = 0, L - 1 do
    local r = (s + 1) % L
    if L > 2 or s == 0 then
      for spin = 0, 1 do
        terms[#terms + 1] = {2 * s + spin, -(2 * r + spin), -t}
        terms[#terms + 1] = {2 * r + spin, -(2 * s + spin), -t}
      end
    end
  end
  local H = NewOperator(2 * L, 0, terms)
  for s = 0, L - 1 do H = H + NewOperator(2 * L, 0, {{2 * s, -2 * s, 2 * s + 1, -(2 * s + 1), U}}) end
  return H
end

-- The dimer from one determinant (functions form, refined in place).
for _, U in ipairs({0.5, 4, 10}) do
  local H = Ring(2, 1, U)
  local psi = NewWavefunction(4, 0, {{"1001", 1}})
  Eigensystem(H, psi)
  check.near(psi * H * psi, (U - math.sqrt(U * U + 16)) / 2, 1e-10, "dimer U = " .. U)
  check.near(psi * psi, 1, 1e-12, "normalised")
end

-- The ring at U = 4: the restrictions form, dense and Krylov inner solvers.
local H = Ring(4, 1, 4)
local half = {8, 0, {"10101010", 2, 2}, {"01010101", 2, 2}}
for _, options in ipairs({{}, {{"DenseBorder", 5}, {"NKrylovStart", 12}}}) do
  local states = Eigensystem(H, half, 3, options)
  check.eq(#states, 3, "three states")
  check.near(states[1] * H * states[1], -2.102748483462, 1e-8, "ring E0")
  for i = 1, 3 do
    for j = 1, 3 do check.near(states[i] * states[j], i == j and 1 or 0, 1e-8, "orthonormal") end
    local e = states[i] * H * states[i]
    local Hpsi = H * states[i]
    check.truthy(Hpsi * Hpsi - e * e < 1e-7, "eigenstate " .. i)
  end
  check.truthy(states[1] * H * states[1] <= states[2] * H * states[2] + 1e-12, "ascending")
end
check.eq(type(Eigensystem(H, half, 1)), "userdata", "one state is returned alone")

-- d^2 with F2 = 10, F4 = 6: 3F (21 states) lowest, then 1D (5).
local Index, NF = CreateAtomicIndicesDict({"3d"})
local Hd = NewOperator("Coulomb", NF, Index["3d_Up"], Index["3d_Dn"], {0, 10, 6})
local d2 = Eigensystem(Hd, {NF, 0, {"1111111111", 2, 2}}, 26)
local E3F, E1D = -8 * 10 / 49 - 9 * 6 / 441, -3 * 10 / 49 + 36 * 6 / 441
for i = 1, 26 do
  check.near(d2[i] * Hd * d2[i], i <= 21 and E3F or E1D, 1e-9, "d2 state " .. i)
end

-- EvolveToGroundstate: the table's functions become the lowest states, each
-- orthogonal to the ones before it.
local e1 = NewWavefunction(8, 0, {{"11000011", 1}, {"10100101", 0.3}})
local e2 = NewWavefunction(8, 0, {{"01100110", 1}})
EvolveToGroundstate(H, {e1, e2})
check.near(e1 * H * e1, -2.102748483462, 1e-9, "EvolveToGroundstate E0")
check.near(e1 * e2, 0, 1e-10, "orthogonal to the state before")
local single = NewWavefunction(4, 0, {{"1001", 1}})
EvolveToGroundstate(Ring(2, 1, 4), single)
check.near(single * Ring(2, 1, 4) * single, (4 - math.sqrt(32)) / 2, 1e-10, "dimer")

-- Messages.
check.fails("Error Eigensystem called with 2 arguments, whereby the first is the operator and the second a set of "
  .. "restrictions\nNeed a thrid argument how many eigenstates should be calculated\n", Eigensystem, H, half)
local p = NewWavefunction(8, 0, {{"11110000", 1}})
check.fails("Eigensystem called with a list of functions. Function with name \"Wave Function\" is at position 1 and 2\n",
  Eigensystem, H, {p, p})
local T = NewOperator(8, 0, {{0, -1, 1.0}})
check.fails("Eigensystem called with an operator that is not Hermitian\n", Eigensystem, T, half, 1)
print("done")
