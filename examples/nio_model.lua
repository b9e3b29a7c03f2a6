-- The NiO cluster of the examples xas_nio.lua and rixs_nio.lua: the Ni 2p
-- core (6 spin-orbitals), the Ni 3d shell (10) and one ligand shell of d
-- symmetry (10), the combination of O 2p orbitals that couples to the Ni 3d.
-- The Hamiltonian: Coulomb repulsion in the 3d shell and between the 2p hole
-- and the 3d electrons (Slater integrals), spin-orbit coupling of 2p and 3d,
-- an octahedral crystal field, the charge-transfer energy Delta and the
-- hopping between Ni eg/t2g and ligand eg/t2g orbitals.
--
--   local NiO = require "nio_model"
--   NiO.H_i, NiO.H_f          initial and final (2p hole) Hamiltonians
--   NiO.N_d, NiO.N_L          3d and ligand electron counts
--   NiO.Tz, NiO.Tx            2p -> 3d dipole operators, z and x polarised
--   NiO.restrictions          full 2p shell, 18 electrons in 3d and ligand
local Index, NF = CreateAtomicIndicesDict({"2p", "3d", "4d"})   -- 4d stands for the ligand shell
local Up_p, Dn_p = Index["2p_Up"], Index["2p_Dn"]
local Up_d, Dn_d = Index["3d_Up"], Index["3d_Dn"]
local Up_L, Dn_L = Index["4d_Up"], Index["4d_Dn"]

-- Parameters in eV (atomic values scaled to 80 %).
local nd = 8
local Udd, Upd, Delta = 7.3, 8.5, 4.7
local F2dd, F4dd = 12.234 * 0.8, 7.598 * 0.8
local F0dd = Udd + (F2dd + F4dd) * 2 / 63
local F2pd, G1pd, G3pd = 7.721 * 0.8, 5.787 * 0.8, 3.291 * 0.8
local F0pd = Upd + G1pd / 15 + G3pd * 3 / 70
local zeta3d_i, zeta3d_f, zeta2p = 0.083, 0.102, 11.507
local tenDq, tenDqL, Veg, Vt2g = 0.56, 1.44, 2.06, 1.21

-- An octahedral expansion with eigenvalue e_eg on eg and e_t2g on t2g.
local function Octahedral(e_eg, e_t2g)
  local a, b = (2 * e_eg + 3 * e_t2g) / 5, (e_eg - e_t2g) / 10
  return {{0, 0, a}, {4, 0, 21 * b}, {4, -4, 21 * b * math.sqrt(5 / 14)}, {4, 4, 21 * b * math.sqrt(5 / 14)}}
end
local function Number(up, dn)
  local modes, ones = {}, {}
  for _, list in ipairs({up, dn}) do
    for _, m in ipairs(list) do modes[#modes + 1] = m; ones[#ones + 1] = 1 end
  end
  return NewOperator("Number", NF, modes, modes, ones)
end

local N_d, N_L, N_p = Number(Up_d, Dn_d), Number(Up_L, Dn_L), Number(Up_p, Dn_p)
local Udd_op = NewOperator("Coulomb", NF, Up_d, Dn_d, {F0dd, F2dd, F4dd})
local Upd_op = NewOperator("Coulomb", NF, Up_p, Dn_p, Up_d, Dn_d, {F0pd, F2pd}, {G1pd, G3pd})
local ldots_d = NewOperator("ldots", NF, Up_d, Dn_d)
local ldots_p = NewOperator("ldots", NF, Up_p, Dn_p)
local CF_d = NewOperator("CF", NF, Up_d, Dn_d, Octahedral(0.6 * tenDq, -0.4 * tenDq))
local CF_L = NewOperator("CF", NF, Up_L, Dn_L, Octahedral(0.6 * tenDqL, -0.4 * tenDqL))
local V = NewOperator("CF", NF, Up_d, Dn_d, Up_L, Dn_L, Octahedral(Veg, Vt2g))
local Hyb = V + V.ConjugateTranspose()

-- On-site energies that put 3d9 L at Delta above 3d8 (and, with the core
-- hole, 2p5 3d10 L at Delta - Upd + Udd above 2p5 3d9).
local ed_i = (10 * Delta - nd * (19 + nd) * Udd / 2) / (10 + nd)
local eL_i = nd * ((1 + nd) * Udd / 2 - Delta) / (10 + nd)
local ed_f = (10 * Delta - nd * (31 + nd) * Udd / 2 - 90 * Upd) / (16 + nd)
local ep_f = (10 * Delta + (1 + nd) * (nd * Udd / 2 - (10 + nd) * Upd)) / (16 + nd)
local eL_f = ((1 + nd) * (nd * Udd / 2 + 6 * Upd) - (6 + nd) * Delta) / (16 + nd)

local H_i = Udd_op + zeta3d_i * ldots_d + CF_d + CF_L + Hyb + ed_i * N_d + eL_i * N_L
local H_f = Udd_op + Upd_op + zeta3d_f * ldots_d + zeta2p * ldots_p + CF_d + CF_L + Hyb
          + ed_f * N_d + eL_f * N_L + ep_f * N_p

local Tz = NewOperator("CF", NF, Up_d, Dn_d, Up_p, Dn_p, {{1, 0, 1}})
local Tx = NewOperator("CF", NF, Up_d, Dn_d, Up_p, Dn_p, {{1, -1, math.sqrt(1 / 2)}, {1, 1, -math.sqrt(1 / 2)}})
local restrictions = {NF, 0, {"111111 0000000000 0000000000", 6, 6},
                             {"000000 1111111111 1111111111", 18, 18}}

return {H_i = H_i, H_f = H_f, N_d = N_d, N_L = N_L, N_p = N_p, Tz = Tz, Tx = Tx, NF = NF,
        restrictions = restrictions, zeta2p = zeta2p}
