-- The Hubbard ring at half filling: L sites, hopping t, on-site repulsion U,
-- periodic, Sz = 0, found by Eigensystem from occupation restrictions alone.
--
-- For L = 10, t = 1, U = 4 the sector has 63,504 determinants and the exact
-- ground-state energy is -5.8343226357726 (an independent exact
-- diagonalisation); L = 12 (853,776 determinants) gives -6.9203535624182.
local L, t, U = 10, 1.0, 4.0
local exact = {[10] = -5.8343226357726, [12] = -6.9203535624182}

TimeStart("hubbard_ring")
local clock = os.time()
local hopping = {}
for s = 0, L - 1 do
  local r = (s + 1) % L
  for spin = 0, 1 do   -- mode 2 s + spin
    hopping[#hopping + 1] = {2 * s + spin, -(2 * r + spin), -t}
    hopping[#hopping + 1] = {2 * r + spin, -(2 * s + spin), -t}
  end
end
local repulsion = {}
for s = 0, L - 1 do repulsion[#repulsion + 1] = {2 * s, -2 * s, 2 * s + 1, -(2 * s + 1), U} end
local H = NewOperator(2 * L, 0, hopping) + NewOperator(2 * L, 0, repulsion)

-- L/2 electrons of each spin: masks of the spin-down and spin-up modes.
local down, up = string.rep("10", L), string.rep("01", L)
Verbosity(0)
local psi = Eigensystem(H, {2 * L, 0, {down, L / 2, L / 2}, {up, L / 2, L / 2}}, 1)
local E0 = psi * H * psi
print(string.format("L = %d, U = %g: E0 = %.13f, exact %.13f, %d determinants, %d s", L, U, E0, exact[L],
  psi.N, os.time() - clock))
if math.abs(E0 - exact[L]) > 1e-9 then error("the ground-state energy disagrees with the exact one") end
TimeEnd("hubbard_ring")
