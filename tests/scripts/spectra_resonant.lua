-- Resonant spectra against the Kramers-Heisenberg sum over dense
-- eigenstates of a Ni2+ ion (2p6 3d8 -> 2p5 3d9 -> 2p6 3d8), and the
-- consistency of the resonant map, its integrals and the fluorescence yield.
local check = require "check"
Verbosity(0)

local Index, NF = CreateAtomicIndicesDict({"2p", "3d"})
local Up_p, Dn_p, Up_d, Dn_d = Index["2p_Up"], Index["2p_Dn"], Index["3d_Up"], Index["3d_Dn"]
local Hi = NewOperator("Coulomb", NF, Up_d, Dn_d, {0, 9.8, 6.1}) + 0.083 * NewOperator("ldots", NF, Up_d, Dn_d)
  + NewOperator("CF", NF, Up_d, Dn_d, {{4, 0, 21 * 0.1}, {4, 4, 21 * 0.1 * math.sqrt(5 / 14)},
                                       {4, -4, 21 * 0.1 * math.sqrt(5 / 14)}})
local Hm = Hi + NewOperator("Coulomb", NF, Up_p, Dn_p, Up_d, Dn_d, {0, 6.2}, {4.6, 2.6})
  + 11.5 * NewOperator("ldots", NF, Up_p, Dn_p)
local T = NewOperator("CF", NF, Up_d, Dn_d, Up_p, Dn_p, {{1, 0, 1}})       -- 2p -> 3d
local D = ConjugateTranspose(NewOperator("CF", NF, Up_d, Dn_d, Up_p, Dn_p, {{1, 1, 1}}))   -- 3d -> 2p

local ground = {NF, 0, {"111111 0000000000", 6, 6}, {"000000 1111111111", 8, 8}}
local middle = {NF, 0, {"111111 0000000000", 5, 5}, {"000000 1111111111", 9, 9}}
local g = Eigensystem(Hi, ground, 1)
local m = Eigensystem(Hm, middle, 60)
local f = Eigensystem(Hi, ground, 45)

local E01, E02 = g * Hm * g, g * Hi * g
local G1, G2 = 0.8, 0.4
local opts = {{"NTri1", 60}, {"NTri2", 45}, {"Emin1", -6}, {"Emax1", 6}, {"NE1", 4}, {"Gamma1", G1},
  {"Emin2", -2}, {"Emax2", 10}, {"NE2", 120}, {"Gamma2", G2}}
-- Both routes: the spaces close (dense), and with DenseBorder 0 (Lanczos).
for _, route in ipairs({{}, {{"DenseBorder", 0}}}) do
  local o = {}
  for _, x in ipairs(opts) do o[#o + 1] = x end
  for _, x in ipairs(route) do o[#o + 1] = x end
  local S = CreateResonantSpectra(Hm, Hi, T, D, g, o)
  check.eq(#S.NE, 5, "one spectrum per incoming energy")
  check.near(S.ResonantEnergy[5], 6, 1e-12, "the last incoming energy is Emax1")

  -- Kramers-Heisenberg by hand.
  local Em, Ef, Tm, Dfm = {}, {}, {}, {}
  for a = 1, #m do Em[a] = m[a] * Hm * m[a]; Tm[a] = m[a] * T * g end
  for b = 1, #f do
    Ef[b] = f[b] * Hi * f[b]
    Dfm[b] = {}
    for a = 1, #m do Dfm[b][a] = f[b] * D * m[a] end
  end
  local S_table = Spectra.ToTable(S)
  local worst = 0
  for k = 0, 4 do
    local w = -6 + 3 * k
    local weight = {}
    for b = 1, #f do
      local amp = 0
      for a = 1, #m do amp = amp + Dfm[b][a] * Tm[a] / (w + E01 - Em[a] + I * G1 / 2) end
      weight[b] = amp.re ^ 2 + amp.im ^ 2
    end
    for _, n in ipairs({1, 31, 61, 91, 121}) do
      local wout = -2 + (n - 1) * 0.1
      local want = 0
      for b = 1, #f do want = want - weight[b] * (G2 / 2) / ((wout + E02 - Ef[b]) ^ 2 + G2 * G2 / 4) end
      local got = S_table[k + 1][n][2].im
      worst = math.max(worst, math.abs(got - want) / (1e-12 + math.abs(want)))
    end
  end
  check.truthy(worst < 1e-8, "Kramers-Heisenberg, worst relative difference " .. worst)

  -- The weight of each resonant spectrum is |D wres|^2: the fluorescence yield.
  local Y = CreateFluorescenceYield(Hm, T, D, g, {{"NTri", 60}, {"Emin", -6}, {"Emax", 6}, {"NE", 4}, {"Gamma", G1}})
  local Y_table = Spectra.ToTable(Y)[1]
  for k = 1, 5 do
    check.near(Y_table[k][2].re, S.Integral[k], 1e-10 * S.Integral[k], "yield " .. k)
    check.eq(Y_table[k][2].im, 0, "yield is real")
  end
end

-- Far below the resonances the yield falls as the square of the resolvent:
-- |w - E|^-2 with E within the intermediate levels.
local far = Spectra.ToTable(CreateFluorescenceYield(Hm, T, D, g, {{"NTri", 60}, {"Emin", -2000}, {"Emax", -1000},
  {"NE", 1}, {"Gamma", G1}}))[1]
check.near(far[1][2].re / far[2][2].re, 0.25, 0.01, "yield ratio at twice the distance")

check.fails("Tensor form for Resonant spectra not yet available", CreateResonantSpectra, Hm, Hi, T, D, g, {{"Tensor", true}})
check.fails("Errof CreateResonantSpectra called with a table of transition operators (2) of length 0\n",
  CreateResonantSpectra, Hm, Hi, T, {}, g)
check.fails("Error CreateFluorescenceYield called with 3 arguments, 4 or 5 expected\n", CreateFluorescenceYield, Hm, T, D)
print("done")
