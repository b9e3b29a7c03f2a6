-- Term energies of a d^2 ion (Ti2+, V3+) from Slater integrals.
--
-- The Coulomb operator of one d shell is built from F0, F2 and F4 and
-- diagonalised over all 45 determinants of two electrons.  The levels are
-- compared with the closed forms of the Racah parameters
--   A = F0 - 49 F4,  B = F2 - 5 F4,  C = 35 F4,
-- with F2 = F^2/49 and F4 = F^4/441:
--   3F  A - 8B        (degeneracy 21)
--   1D  A - 3B + 2C   (5)
--   3P  A + 7B        (9)
--   1G  A + 4B + 2C   (9)
--   1S  A + 14B + 7C  (1)

local F0, F2, F4 = 0.0, 8.5, 5.3          -- F^0, F^2, F^4 in eV
local Index, NF = CreateAtomicIndicesDict({"3d"})
local H = NewOperator("Coulomb", NF, Index["3d_Up"], Index["3d_Dn"], {F0, F2, F4})

-- All determinants with two of the ten modes occupied.
local dets = {}
for i = 0, NF - 1 do
  for j = i + 1, NF - 1 do
    local s = {}
    for m = 0, NF - 1 do s[m + 1] = (m == i or m == j) and "1" or "0" end
    dets[#dets + 1] = {table.concat(s), 1}
  end
end
local basis = NewWavefunction(NF, 0, dets)

local energies = Eigensystem(OperatorToMatrix(H, basis))

-- Group equal eigenvalues into levels.
local levels = {}
for _, e in ipairs(energies) do
  local last = levels[#levels]
  if last and math.abs(e - last.e) < 1e-8 then
    last.n = last.n + 1
  else
    levels[#levels + 1] = {e = e, n = 1}
  end
end

local A, B, C = F0 - 49 * F4 / 441, F2 / 49 - 5 * F4 / 441, 35 * F4 / 441
local racah = {
  {"3F", A - 8 * B, 21}, {"1D", A - 3 * B + 2 * C, 5}, {"3P", A + 7 * B, 9},
  {"1G", A + 4 * B + 2 * C, 9}, {"1S", A + 14 * B + 7 * C, 1},
}
table.sort(racah, function(a, b) return a[2] < b[2] end)

print(string.format("Racah parameters: A = %.4f eV, B = %.4f eV, C = %.4f eV", A, B, C))
print("term   computed (eV)   Racah form (eV)   degeneracy")
for i, level in ipairs(levels) do
  local t = racah[i]
  print(string.format("%-4s %14.6f %17.6f %8d (%d)", t[1], level.e, t[2], level.n, t[3]))
end
