-- Ni L2,3 X-ray absorption of NiO: a NiO6 cluster in the ligand-field model.
--
-- The cluster and its Hamiltonians are in nio_model.lua.  The ground state
-- mixes 3d8, 3d9 L and 3d10 L2 (L a ligand hole); the absorption 2p -> 3d
-- leads to 2p5 3d9 and 2p5 3d10 L.
TimeStart("xas_nio")
local clock = os.clock()

Verbosity(0)
local NiO = require "nio_model"
local H_i, H_f, N_d, N_L = NiO.H_i, NiO.H_f, NiO.N_d, NiO.N_L

-- The ground state: a full 2p shell and 18 electrons in 3d and ligand.
local restrictions = NiO.restrictions
local t0 = os.clock()
local psiList = Eigensystem(H_i, restrictions, 3)
local tGround = os.clock() - t0
local E0 = psiList[1] * H_i * psiList[1]
print(string.format("ground state: E0 = %.6f eV, three states within %.2e eV",
  E0, psiList[3] * H_i * psiList[3] - E0))
for i, psi in ipairs(psiList) do
  print(string.format("  state %d: <N_3d> = %.4f  <N_L> = %.4f", i, psi * N_d * psi, psi * N_L * psi))
end

-- 2p -> 3d dipole transition, z polarised (the cubic field makes the
-- spectrum isotropic).
local Tz = NiO.Tz
t0 = os.clock()
local G, poles = CreateSpectra(H_f, Tz, psiList, {{"Emin", -10}, {"Emax", 30}, {"NE", 4000}, {"Gamma", 0.1}})
local tSpectra = os.clock() - t0

-- The average over the three ground states, broadened to the experiment.
local spectrum = Spectra.Sum(G, {1 / 3, 1 / 3, 1 / 3})
spectrum = spectrum.Broaden(0.25, {{-10, 0.3}, {8, 0.3}, {12, 0.6}, {30, 0.6}})
spectrum.Print({{"file", "xas_nio.dat"}})

-- Checks.  Sum rule: the pole weights of each state add up to <psi|T+ T|psi>.
local TT = Tz.ConjugateTranspose() * Tz
for i, psi in ipairs(psiList) do
  local weight = 0
  for _, w in ipairs(poles[i][2]) do weight = weight + w end
  local expected = psi * TT * psi
  if math.abs(weight - expected) > 1e-8 * expected then
    error(string.format("sum rule of state %d: %.12f against %.12f", i, weight, expected))
  end
end
-- The L3 edge (2p3/2) lies below the L2 edge; its share of the intensity.
local table_form = Spectra.ToTable(spectrum)[1]
local total, l3, peak, peakE = 0, 0, 0, 0
for _, point in ipairs(table_form) do
  local e, value = point[1], -point[2].im
  total = total + value
  if e < 8 then l3 = l3 + value end
  if value > peak then peak, peakE = value, e end
end
local branching = l3 / total
print(string.format("L3 peak at %.2f eV (relative to the ground state), L3 share of the intensity %.3f", peakE, branching))
if not (peakE < 8 and branching > 0.6 and branching < 0.85) then
  error("the L3 edge or its share of the intensity is not where it belongs")
end
print(string.format("stages: ground state %.3f s, spectra %.3f s", tGround, tSpectra))
print(string.format("spectrum written to xas_nio.dat; wall time %.2f s", os.clock() - clock))
TimeEnd("xas_nio")

-- The picture, next to the data: xas_nio.eps and xas_nio.svg.
local Plot = require "Plot"
local eps, svg = Plot.Spectra(spectrum, "xas_nio", {title = "Ni L2,3 XAS of NiO", xlabel = "Energy relative to the ground state (eV)"})
print("picture written to " .. eps .. " and " .. svg)
