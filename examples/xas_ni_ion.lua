-- Ni L2,3 X-ray absorption of a free Ni2+ ion in an octahedral field: the
-- ligand-field picture without charge transfer (compare xas_nio.lua).
--
-- Spin-orbitals: Ni 2p (6) and Ni 3d (10).  Ground state 2p6 3d8 (a 3A2g
-- triplet), final states 2p5 3d9.
Verbosity(0)
local Index, NF = CreateAtomicIndicesDict({"2p", "3d"})
local Up_p, Dn_p, Up_d, Dn_d = Index["2p_Up"], Index["2p_Dn"], Index["3d_Up"], Index["3d_Dn"]

-- Slater integrals at 80 % of their atomic values, spin-orbit couplings and
-- 10 Dq, in eV.
local F2dd, F4dd = 12.234 * 0.8, 7.598 * 0.8
local F2pd, G1pd, G3pd = 7.721 * 0.8, 5.787 * 0.8, 3.291 * 0.8
local zeta3d_i, zeta3d_f, zeta2p, tenDq = 0.083, 0.102, 11.507, 1.1
local Dq = tenDq / 10
local CF = NewOperator("CF", NF, Up_d, Dn_d, {{4, 0, 21 * Dq}, {4, -4, 21 * Dq * math.sqrt(5 / 14)},
                                             {4, 4, 21 * Dq * math.sqrt(5 / 14)}})
local H_i = NewOperator("Coulomb", NF, Up_d, Dn_d, {0, F2dd, F4dd}) + zeta3d_i * NewOperator("ldots", NF, Up_d, Dn_d) + CF
local H_f = NewOperator("Coulomb", NF, Up_d, Dn_d, {0, F2dd, F4dd}) + zeta3d_f * NewOperator("ldots", NF, Up_d, Dn_d) + CF
          + NewOperator("Coulomb", NF, Up_p, Dn_p, Up_d, Dn_d, {0, F2pd}, {G1pd, G3pd})
          + zeta2p * NewOperator("ldots", NF, Up_p, Dn_p)

local psiList = Eigensystem(H_i, {NF, 0, {"111111 0000000000", 6, 6}, {"000000 1111111111", 8, 8}}, 3)
local Tz = NewOperator("CF", NF, Up_d, Dn_d, Up_p, Dn_p, {{1, 0, 1}})
local G, poles = CreateSpectra(H_f, Tz, psiList, {{"Emin", -15}, {"Emax", 25}, {"NE", 4000}, {"Gamma", 0.1}})
local spectrum = Spectra.Sum(G, {1 / 3, 1 / 3, 1 / 3}).Broaden(0.25, 0.4)
spectrum.Print({{"file", "xas_ni_ion.dat"}})

-- Sum rule: the pole weights of each state add up to <psi|T+ T|psi>.
local TT = Tz.ConjugateTranspose() * Tz
for i, psi in ipairs(psiList) do
  local weight = 0
  for _, w in ipairs(poles[i][2]) do weight = weight + w end
  if math.abs(weight - psi * TT * psi) > 1e-9 then error("sum rule of state " .. i) end
end
local t = Spectra.ToTable(spectrum)[1]
local total, l3 = 0, 0
for _, p in ipairs(t) do
  total = total - p[2].im
  if p[1] < 5 then l3 = l3 - p[2].im end
end
print(string.format("L3 share of the intensity %.3f (spectrum in xas_ni_ion.dat)", l3 / total))
if l3 / total < 0.6 or l3 / total > 0.85 then error("the L3 share is out of the range of Ni2+") end
