-- Crystal-field splitting of one d electron in an octahedron.
--
-- An octahedral field on a d shell is, in Racah-normalised harmonics C^k_q,
--   A40 = 21 Dq,  A4+-4 = 21 Dq sqrt(5/14)
-- and it splits the shell into t2g (six spin-orbitals) at -4 Dq and eg (four)
-- at +6 Dq: the splitting is 10 Dq.  Spin-orbit coupling zeta l.s would split
-- t2g further; here it is left out.

local Dq = 0.12                            -- eV, 10 Dq = 1.2 eV
local Index, NF = CreateAtomicIndicesDict({"3d"})
local A = {{4, 0, 21 * Dq}, {4, 4, 21 * Dq * math.sqrt(5 / 14)}, {4, -4, 21 * Dq * math.sqrt(5 / 14)}}
local HCF = NewOperator("CF", NF, Index["3d_Up"], Index["3d_Dn"], A)

-- One electron: the one-particle matrix over the ten single determinants.
local dets = {}
for i = 0, NF - 1 do
  local s = {}
  for m = 0, NF - 1 do s[m + 1] = (m == i) and "1" or "0" end
  dets[#dets + 1] = {table.concat(s), 1}
end
local energies = Eigensystem(OperatorToMatrix(HCF, NewWavefunction(NF, 0, dets)))

print("one d electron in an octahedral field, Dq = " .. Dq .. " eV")
for i, e in ipairs(energies) do print(string.format("%2d %10.6f", i, e)) end
print(string.format("t2g at %.6f eV (-4 Dq = %.6f), eg at %.6f eV (6 Dq = %.6f)",
  energies[1], -4 * Dq, energies[NF], 6 * Dq))
print(string.format("splitting %.6f eV, 10 Dq = %.6f eV", energies[NF] - energies[1], 10 * Dq))
