-- Ni L3 resonant inelastic X-ray scattering (RIXS) of NiO: the cluster of
-- xas_nio.lua, excited at the L3 edge (2p -> 3d, z polarised) and decaying
-- back (3d -> 2p, x polarised); a map of the energy loss against the
-- incoming energy.
--
-- The cluster and its Hamiltonians are in nio_model.lua; the map is the
-- average over the three states of the ground triplet.
TimeStart("rixs_nio")
local clock = os.clock()

Verbosity(0)
local NiO = require "nio_model"
local H_i, H_f = NiO.H_i, NiO.H_f

-- The ground triplet: a full 2p shell and 18 electrons in 3d and ligand.
local psi = Eigensystem(H_i, NiO.restrictions, 3)
local Tz, decay = NiO.Tz, ConjugateTranspose(NiO.Tx)

-- The incoming energy across the L3 edge (measured from <psi|H_f|psi>, as
-- in xas_nio.lua), the energy loss from -1 to 10 eV.
local t0 = os.clock()
local options = {{"Emin1", -8}, {"Emax1", 0}, {"NE1", 40}, {"Gamma1", 0.6},
                 {"Emin2", -1}, {"Emax2", 10}, {"NE2", 550}, {"Gamma2", 0.2}}
local all = CreateResonantSpectra(H_f, H_i, Tz, decay, psi, options)
print(string.format("%d resonant spectra in %.2f s", #all.NE, os.clock() - t0))
-- Spectrum k of state j is number (j - 1) * 41 + k: the average over j.
local weights = {}
for k = 1, 41 do
  local w = {}
  for n = 1, 123 do w[n] = 0 end
  for j = 0, 2 do w[j * 41 + k] = 1 / 3 end
  weights[k] = w
end
local map = Spectra.Sum(all, table.unpack(weights))
local resonant = all.ResonantEnergy

-- Checks: the weight of each spectrum is the fluorescence yield at its
-- incoming energy, and the map is an absorption (-Im G >= 0 up to rounding).
local yields = Spectra.ToTable(CreateFluorescenceYield(H_f, Tz, decay, psi,
  {{"Emin", -8}, {"Emax", 0}, {"NE", 40}, {"Gamma", 0.6}}))
for n, w in ipairs(all.Integral) do
  local j, k = math.floor((n - 1) / 41) + 1, (n - 1) % 41 + 1
  if math.abs(w - yields[j][k][2].re) > 1e-8 * (1 + w) then error("map and fluorescence yield disagree at " .. n) end
end
for _, spectrum in ipairs(Spectra.ToTable(map)) do
  for _, p in ipairs(spectrum) do
    if p[2].im > 1e-12 then error("negative intensity in the map") end
  end
end

-- The map as three columns (incoming energy, energy loss, intensity
-- -Im G / pi), a block per incoming energy, ready for a colour map.
local out = assert(io.open("rixs_nio.dat", "w"))
out:write("# incoming (eV)   loss (eV)   intensity\n")
local tables, resonance, peak = Spectra.ToTable(map), 1, -1
for k, spectrum in ipairs(tables) do
  for _, p in ipairs(spectrum) do
    out:write(string.format("%12.6f %12.6f %16.8e\n", resonant[k], p[1], -p[2].im / math.pi))
  end
  out:write("\n")
  if map.Integral[k] > peak then resonance, peak = k, map.Integral[k] end
end
out:close()

-- The dd excitations at the L3 resonance: the maxima of the loss spectrum
-- between 0.5 and 4 eV.
local s, found = tables[resonance], {}
for n = 2, #s - 1 do
  local e, v = s[n][1], -s[n][2].im
  if e > 0.5 and e < 4 and v > -s[n - 1][2].im and v >= -s[n + 1][2].im then found[#found + 1] = string.format("%.2f", e) end
end
print(string.format("L3 resonance at %.2f eV; dd excitations at %s eV (map in rixs_nio.dat)",
  resonant[resonance], table.concat(found, ", ")))
if #found == 0 then error("no dd excitation found at the L3 resonance") end

local Plot = require "Plot"
local eps, svg = Plot.Map(map, "rixs_nio", {title = "Ni L3 RIXS of NiO", xlabel = "Incoming energy (eV)",
  ylabel = "Energy loss (eV)"})
print("map written to " .. eps .. " and " .. svg)
TimeEnd("rixs_nio")
