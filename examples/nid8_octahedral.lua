-- A Ni2+ ion: the 3d8 shell with Coulomb repulsion (Slater integrals),
-- spin-orbit coupling and an octahedral crystal field.  Eigensystem finds
-- the lowest states from the restriction "eight electrons in the 3d shell";
-- the table of expectation values shows the 3A2g ground level, threefold
-- (J = 1 of S = 1), and the levels of 3T2g about 10 Dq above it.
Verbosity(0)
local Index, NF = CreateAtomicIndicesDict({"3d"})
local Up, Dn = Index["3d_Up"], Index["3d_Dn"]
local F2, F4, zeta, tenDq = 12.234 * 0.8, 7.598 * 0.8, 0.083, 1.1
local Dq = tenDq / 10
local H = NewOperator("Coulomb", NF, Up, Dn, {0, F2, F4})
        + zeta * NewOperator("ldots", NF, Up, Dn)
        + NewOperator("CF", NF, Up, Dn, {{4, 0, 21 * Dq}, {4, -4, 21 * Dq * math.sqrt(5 / 14)},
                                         {4, 4, 21 * Dq * math.sqrt(5 / 14)}})
local Ssqr, Lsqr, Jsqr = NewOperator("Ssqr", NF, Up, Dn), NewOperator("Lsqr", NF, Up, Dn), NewOperator("Jsqr", NF, Up, Dn)
local Sz, Lz = NewOperator("Sz", NF, Up, Dn), NewOperator("Lz", NF, Up, Dn)

local psiList = Eigensystem(H, {NF, 0, {"1111111111", 8, 8}}, 12)
Ssqr.Name, Lsqr.Name, Jsqr.Name, Sz.Name, Lz.Name = "<S^2>", "<L^2>", "<J^2>", "<Sz>", "<Lz>"
PrintExpectationValues(psiList, H, {Ssqr, Lsqr, Jsqr, Sz, Lz})

-- Checks: the three lowest states are degenerate with S^2 = 2 (S = 1), and
-- the next level lies near 10 Dq higher.
local E = {}
for i, psi in ipairs(psiList) do E[i] = psi * H * psi end
if math.abs(E[3] - E[1]) > 1e-8 or E[4] - E[3] < 0.5 * tenDq then error("the ground level is not a triplet") end
for i = 1, 3 do
  if math.abs(psiList[i] * Ssqr * psiList[i] - 2) > 0.01 then error("the ground level is not a spin triplet") end
end
print(string.format("ground level threefold at %.6f eV; next level %.4f eV higher (10 Dq = %.2f eV)",
  E[1], E[4] - E[1], tenDq))
