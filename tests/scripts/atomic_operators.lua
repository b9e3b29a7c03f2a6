-- Named atomic operators: a few closed forms through the script face, and
-- the argument checks of the readers.
local check = require "check"

local up, dn = {1, 3, 5}, {0, 2, 4}

-- Lz of a p shell: six number terms less the two of weight 0.
local Lz = NewOperator("Lz", 6, up, dn)
check.eq(Lz.Name, "Lz")
check.eq(Lz.N[2], 4, "terms of Lz")

-- The spinless crystal field of A00 is A times the number operator.
local D = NewOperator("CF", 6, {0, 1, 2}, {{0, 0, 2.5}}) - 2.5 * NewOperator("Number", 6, {0, 1, 2}, {0, 1, 2}, {1, 1, 1})
D.Chop(1e-14)
check.eq(D.N[2], 0, "CF of A00 minus A N")
check.eq(NewOperator("CF", 2, {0}, {1}, {{2, 2, 1.0}}).N[2], 0, "rank 2 on an s shell")
check.truthy(NewOperator("Qxy", 6, up, dn).Complex, "Qxy is complex")
check.truthy(not NewOperator("Tplus", 6, up, dn).Complex, "Tplus is real")
check.eq(NewOperator("Qzx", 6, up, dn).Name, "Qxz")

-- p^2 with F2 = F^2/25: 3P at F0 - 5 F2, 1D at F0 + F2, 1S at F0 + 10 F2.
local H = NewOperator("Coulomb", 6, up, dn, {1.0, 25.0})
local dets = {}
for i = 0, 5 do
  for j = i + 1, 5 do
    local s = {}
    for m = 0, 5 do s[m + 1] = (m == i or m == j) and "1" or "0" end
    dets[#dets + 1] = {table.concat(s), 1}
  end
end
local e = Eigensystem(OperatorToMatrix(H, NewWavefunction(6, 0, dets)))
check.near(e[1], -4.0, 1e-12, "3P")
check.near(e[9], -4.0, 1e-12, "3P")
check.near(e[10], 2.0, 1e-12, "1D")
check.near(e[14], 2.0, 1e-12, "1D")
check.near(e[15], 11.0, 1e-12, "1S")

local d = {{1, 3, 5, 7, 9}, {0, 2, 4, 6, 8}}
check.fails("Spin operator acting on zero fermions is not defined", NewOperator, "Sz", 0, {}, {})
check.fails("Index up contains a refference outside the range [0,5]", NewOperator, "Sx", 6, {6}, {0})
check.fails("Error in LuaOperatorNewSz, Lenght of IndexUp (2) is not equal to lenght of IndexDn (1)\n",
  NewOperator, "Sz", 6, {1, 3}, {0})
check.fails("Error in LuaOperatorNewLz, Lenght of IndexUp (2) is not equal to 2l+1\n", NewOperator, "Lz", 6, {1, 3}, {0, 2})
check.fails("Unrecognized value for basis Q, use SphericalHarmonicsY, TesseralHarmonicsZ, KubicHarmonicsK, or jjz\n",
  NewOperator, "Lx", 6, up, dn, {{"basis", "Q"}})
check.eq(NewOperator("Lx", 6, {0, 1}, {2, 3, 4, 5}, {{"basis", "jjz"}}).N[2], 0, "Lx in the jj basis")
check.fails("Error in LuaOperatorNewCF, called with 2 arguments, 3,4 or 6 expected\n", NewOperator, "CF", 6, up)
check.fails("Error Harmonics Expansion, |m| (3) > l (2) at level 1\n", NewOperator, "CF", 10, d[1], d[2], {{2, 3, 1}})
check.fails("Error Harmonics Expansion, found 2 indices (expected 3 {l,m,val}) at level 2\n",
  NewOperator, "CF", 10, d[1], d[2], {{2, 0, 1}, {2, 1}})
check.fails("Error in LuaOperatorNewAnnihilate, expected 3 or 4 arguments, not 2\n", NewOperator, "Number", 6, 1)
check.fails("Error in NewOperator(\"Identity\",...), expected 1 aditional argument, not 2\n", NewOperator, "Identity", 6, 1)
check.fails("Error in LuaOperatorNewCoulomb, Lenght of F (2) is not equal to l+1\n", NewOperator, "Coulomb", 10, d[1], d[2], {1, 2})
check.fails("Error in LuaOperatorNewCoulomb, lA(1)+lB(2)+lC(2)+lD(2) should be even.",
  NewOperator, "Coulomb", 16, up, dn, d[1], d[2], d[1], d[2], d[1], d[2], {1})
check.fails("Error in LuaOperatorNewCoulomb, j (3/2) is not equal to |kappa|-1/2 (kappa = 1)\n",
  NewOperator, "Coulomb", 6, {2, 3, 4, 5}, 1, {1, 2})
check.failsWith("not computed by this program", NewOperator, "AtomicU", 6, {}, {})
