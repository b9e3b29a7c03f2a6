-- CreateSpectra against exact results: the dense and Lanczos routes agree,
-- sum rules and first moments hold, a T that annihilates psi gives zero,
-- and the Spectra object broadens, shifts, adds and prints as written.
local check = require "check"
Verbosity(0)

-- The 4-site Hubbard ring, t = 1, U = 4, and its two-electron-per-spin
-- ground state.
local L, t, U = 4, 1.0, 4.0
local terms = {}
for s = 0, L - 1 do
  local r = (s + 1) % L
  for spin = 0, 1 do
    terms[#terms + 1] = {2 * s + spin, -(2 * r + spin), -t}
    terms[#terms + 1] = {2 * r + spin, -(2 * s + spin), -t}
  end
end
local H = NewOperator(2 * L, 0, terms)
for s = 0, L - 1 do H = H + NewOperator(2 * L, 0, {{2 * s, -2 * s, 2 * s + 1, -(2 * s + 1), U}}) end
local psi = Eigensystem(H, {2 * L, 0, {"10101010", 2, 2}, {"01010101", 2, 2}}, 1)
check.near(psi * H * psi, -2.102748483462, 1e-9, "ground state of the ring")

-- Photoemission from site 0, spin down, and its adjoint (inverse photoemission).
local T = NewOperator(2 * L, 0, {{-0, 1.0}})
local Tup = NewOperator(2 * L, 0, {{0, 1.0}})
local grid = {{"Emin", -12}, {"Emax", 12}, {"NE", 2400}, {"Gamma", 0.4}}
local function with(extra)
  local o = {}
  for _, x in ipairs(grid) do o[#o + 1] = x end
  for _, x in ipairs(extra) do o[#o + 1] = x end
  return o
end
local Gd, poles = CreateSpectra(H, {T, Tup}, psi, with({}))
local Gl, tri = CreateSpectra(H, {T, Tup}, psi, with({{"DenseBorder", 0}, {"NTri", 60}}))
check.eq(poles[1].type, "ListOfPoles", "a closed space takes the dense route")
check.eq(tri[1].type, "Tri", "DenseBorder 0 takes the Lanczos route")
local diff = Spectra.ToTable(Gd - Gl)
local worst = 0
for n = 1, 2 do
  for _, p in ipairs(diff[n]) do worst = math.max(worst, math.abs(p[2].re), math.abs(p[2].im)) end
end
check.truthy(worst < 1e-9, "dense and Lanczos spectra agree: " .. worst)

-- Sum rule and first moment of every pair: the pole weights add up to
-- <psi|T+ T|psi>, their first moment to <psi|T+ (H - E0) T|psi>.
local E0 = psi * H * psi
for n, op in ipairs({T, Tup}) do
  local weight, moment = 0, 0
  for k, w in ipairs(poles[n][2]) do
    weight = weight + w
    moment = moment + w * poles[n][1][k + 1]
  end
  local Tpsi = op * psi
  check.near(weight, Tpsi * Tpsi, 1e-12, "sum rule " .. n)
  check.near(moment, Tpsi * H * Tpsi - E0 * (Tpsi * Tpsi), 1e-10, "first moment " .. n)
  -- The chain has the same zeroth moment: b0^2.
  check.near(tri[n][2][1] ^ 2, Tpsi * Tpsi, 1e-12, "b0^2 " .. n)
  -- The integral of -Im G / pi over the grid, up to the Lorentzian tails.
  local s, dE = 0, 24 / 2400
  for _, p in ipairs(Spectra.ToTable(Gd)[n]) do s = s - p[2].im * dE / math.pi end
  check.near(s, weight, 0.02 * weight, "integral " .. n)
end

-- KrylovBasis: the dense route gives the eigenstates of the closed space,
-- the Lanczos route orthonormal Krylov vectors.
local _, _, eig = CreateSpectra(H, T, psi, with({{"KrylovBasis", true}}))
local e1 = eig[1] * H * eig[1]
check.near((H * eig[1]) * (H * eig[1]), e1 * e1, 1e-9, "an eigenstate of the closed space")
local _, _, kry = CreateSpectra(H, T, psi, with({{"KrylovBasis", true}, {"DenseBorder", 0}, {"NTri", 6}}))
for i = 1, #kry do
  for j = 1, #kry do check.near(kry[i] * kry[j], i == j and 1 or 0, 1e-10, "Krylov vectors orthonormal") end
end

-- file: the chains go to the name alone for one pair, with a two-digit
-- suffix for several.
local dir = os.tmpname()
os.remove(dir)
CreateSpectra(H, T, psi, with({{"DenseBorder", 0}, {"NTri", 3}, {"file", dir}}))
CreateSpectra(H, {T, Tup}, psi, with({{"DenseBorder", 0}, {"NTri", 3}, {"file", dir .. "_pairs"}}))
for _, name in ipairs({dir, dir .. "_pairs_00", dir .. "_pairs_01"}) do
  local f = io.open(name)
  check.truthy(f ~= nil, "chain file " .. name)
  f:close()
  os.remove(name)
end

-- A transition operator that annihilates psi: an all-zero spectrum.
local empty = NewOperator(2 * L, 0, {{-0, -2, -4, -6, 1.0}})
local G0 = CreateSpectra(H, empty, psi, with({}))
for _, p in ipairs(Spectra.ToTable(G0)[1]) do check.eq(p[2].re == 0 and p[2].im == 0, true, "zero spectrum") end
-- NTri = 1: one pole, G = b0^2 / (w - a1 + i Gamma/2).
local G1, tri1 = CreateSpectra(H, T, psi, with({{"DenseBorder", 0}, {"NTri", 1}}))
local a1, b0 = tri1[1][1][2], tri1[1][2][1]
local p = Spectra.ToTable(G1)[1][1201]
check.near(p[2].im, -b0 ^ 2 * 0.2 / ((0 - a1) ^ 2 + 0.04), 1e-12, "one pole")

-- Broadening a single Lorentzian pole by a Lorentzian gives the Lorentzian
-- of the summed widths; a Gaussian keeps the weight.
local one = CreateSpectra(H, T, psi, {{"Emin", -30}, {"Emax", 30}, {"NE", 3000}, {"Gamma", 0.2},
  {"DenseBorder", 0}, {"NTri", 1}})
local wider = one.Broaden(0, 0.6)
local exact = CreateSpectra(H, T, psi, {{"Emin", -30}, {"Emax", 30}, {"NE", 3000}, {"Gamma", 0.8},
  {"DenseBorder", 0}, {"NTri", 1}})
local a, b = Spectra.ToTable(wider)[1], Spectra.ToTable(exact)[1]
for k = 1300, 1700, 50 do check.near(a[k][2].im, b[k][2].im, 2e-3 * math.abs(b[1501][2].im), "Lorentz " .. k) end
local g = Spectra.Broaden(one, 0.5, 0)
local s1, s2 = 0, 0
for k = 1, 3001 do s1 = s1 + Spectra.ToTable(one)[1][k][2].im; s2 = s2 + Spectra.ToTable(g)[1][k][2].im end
check.near(s2, s1, 1e-3 * math.abs(s1), "Gaussian keeps the weight")

-- Shift moves the energies, not the values; sums and products act point by point.
local shifted = Spectra.Shift(one, 2.5)
check.near(shifted.Emin[1], one.Emin[1] + 2.5, 1e-12, "shifted Emin")
check.eq(Spectra.ToTable(shifted)[1][7][2].im, Spectra.ToTable(one)[1][7][2].im, "values stay")
local twice = Spectra.Sum(Spectra.Element(Gd, {1, 1}), {1, 1})
check.near(Spectra.ToTable(twice)[1][900][2].im, 2 * Spectra.ToTable(Gd)[1][900][2].im, 1e-14, "Sum")
check.near(Spectra.ToTable(Gd * 3)[2][900][2].im, 3 * Spectra.ToTable(Gd)[2][900][2].im, 1e-14, "times")
check.near(Spectra.ToTable(2 * I * Gd)[2][900][2].re, -2 * Spectra.ToTable(Gd)[2][900][2].im, 1e-14, "I times")
local back = Spectra.FromTable(Spectra.ToTable(Gd))
check.eq(#Spectra.ToTable(back), 2, "round trip count")
check.near(back.Emax[2], Gd.Emax[2], 1e-12, "round trip Emax")

-- Tensor: all cross spectra at once; G(T1 + T2) = G11 + G12 + G21 + G22.
local T2 = NewOperator(2 * L, 0, {{-3, 0.7}})
local Gsum = CreateSpectra(H, T + T2, psi, with({}))
for _, route in ipairs({{}, {{"DenseBorder", 0}}}) do
  local opts = with({{"Tensor", true}, {"NTri", 40}})
  for _, x in ipairs(route) do opts[#opts + 1] = x end
  local GT, forms = CreateSpectra(H, {T, T2}, psi, opts)
  check.eq(#GT.NE, 4, "a 2 by 2 tensor")
  check.eq(forms.type, #route == 0 and "ListOfPoles" or "Tri", "block form of the route")
  local total = Spectra.Sum(GT, {1, 1, 1, 1})
  local a, b = Spectra.ToTable(total)[1], Spectra.ToTable(Gsum)[1]
  for k = 1, 2401, 100 do
    check.near(a[k][2].im, b[k][2].im, 1e-9, "tensor sum im " .. k)
    check.near(a[k][2].re, b[k][2].re, 1e-9, "tensor sum re " .. k)
  end
end
-- Two equal functions lose one direction without failing.
local GE = CreateSpectra(H, {T, T}, psi, with({{"Tensor", true}, {"NTri", 20}}))
check.near(Spectra.ToTable(GE)[2][1200][2].im, Spectra.ToTable(Gd)[1][1200][2].im, 1e-9, "equal functions")
check.fails("CreateSpectra called with option Tensor->true and 2 wave-functions but no energy-shift set.\nTensors can "
  .. "have only one shift and no different shift for each eigen-state.", CreateSpectra, H, T, {psi, psi}, {{"Tensor", true}})

-- Messages.
check.fails("Errof CreateSpectra called with a table of transition operators of length 0\n", CreateSpectra, H, {}, psi)
check.fails("Errof CreateSpectra called with a table of wave functions of length 0\n", CreateSpectra, H, T, {})
check.fails("CreateSpectra called with an operator that is not Hermitian\n", CreateSpectra, T, T, psi)
check.fails("Error Spectra.Shift Table with shifts is of length 1, but there are 2 spectra\n", Spectra.Shift, Gd, {1})
check.fails("Error: Adding two sets of spectra with different number of elements (2) + (1)\n", function() return Gd + G0 end)
check.fails("Error: spectra plus boolean\n", function() return Gd + true end)
check.fails("Error: character string plus spectrum\n", function() return "a" + Gd end)
check.fails("Error: spectra divided by zero\n", function() return Gd / 0 end)
check.fails("Error operation \".Nonsense()\" not defined on spectra\n", function() return Gd.Nonsense end)
check.fails("Error Spectra.Broaden called with 2 arguments, 3 arguments expected\n", Spectra.Broaden, Gd, 1)
print("done")
