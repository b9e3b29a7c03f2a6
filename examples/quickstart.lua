-- Skelda quickstart: the two-site Hubbard model at half filling.
--
-- Four spin-orbitals: mode 0 = site 1 down, 1 = site 1 up, 2 = site 2 down,
-- 3 = site 2 up.  With hopping t and on-site repulsion U,
--   H = -t sum_s (c+_1s c_2s + c+_2s c_1s) + U (n_1dn n_1up + n_2dn n_2up),
-- and the ground state of two electrons has the energy
--   E0 = (U - sqrt(U^2 + 16 t^2)) / 2.
TimeStart("quickstart")

local t, U = 1.0, 4.0
local NF, NB = 4, 0

-- Operators are sums of products of ladders: a positive mode number creates,
-- a negative one (or -0) annihilates; the last entry is the prefactor.
local hopping = NewOperator(NF, NB, {
  {0, -2, -t}, {2, -0, -t},   -- spin down
  {1, -3, -t}, {3, -1, -t},   -- spin up
})
local interaction = NewOperator(NF, NB, { {0, -0, 1, -1, U}, {2, -2, 3, -3, U} })
local H = hopping + interaction
H.Name = "two-site Hubbard"
print(H)

-- The two-electron sector: the six determinants with two of four modes
-- occupied, one '1' or '0' per mode.
local sector = {}
for _, det in ipairs({"1100", "1010", "1001", "0110", "0101", "0011"}) do
  sector[#sector + 1] = {det, 1}
end
local basis = NewWavefunction(NF, NB, sector, {{"Name", "two-electron sector"}})

-- H as a matrix over these determinants, diagonalised exactly.
local energies = Eigensystem(OperatorToMatrix(H, basis))
local E0 = energies[1]
local exact = (U - math.sqrt(U^2 + 16 * t^2)) / 2
print(string.format("ground-state energy       E0 = %.12f", E0))
print(string.format("exact (U - sqrt(U^2+16t^2))/2 = %.12f", exact))
print(string.format("difference                   = %.1e", math.abs(E0 - exact)))
if math.abs(E0 - exact) > 1e-12 then error("the ground-state energy disagrees with the exact one") end

-- Energies can be read in other units: here in Kelvin, taking t = 0.25 eV.
print(string.format("E0 for t = 0.25 eV: %.1f K", E0 * 0.25 / EnergyUnits.K.value))

TimeEnd("quickstart")
TimePrint()
