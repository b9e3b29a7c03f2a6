-- Index tables of atomic shells, orbital multiplicities and the conversions
-- between relativistic and non-relativistic orbital lists.
local check = require "check"

local function same(got, want, what)
  check.eq(#got, #want, what .. " length")
  for i = 1, #want do check.eq(got[i], want[i], what .. "[" .. i .. "]") end
end

-- An s and a p shell: spin fast, down first.
local d, n = CreateAtomicIndicesDict({"1s", "2p"}, nil)
check.eq(n, 8, "fermions")
same(d["1s_Dn"], {0}, "1s_Dn")
same(d["1s_Up"], {1}, "1s_Up")
same(d["1s"], {0, 1}, "1s")
same(d["2p_Dn"], {2, 4, 6}, "2p_Dn")
same(d["2p_Up"], {3, 5, 7}, "2p_Up")
same(d["2p"], {2, 4, 6, 3, 5, 7}, "2p")
same(d.All, {0, 1, 2, 4, 6, 3, 5, 7}, "All")
same(d.all, d.All, "all")

-- Relativistic shells take 2j+1 consecutive numbers; a repeated name is
-- skipped and the numbers after it close up.
print("-- repeated")
d, n = CreateAtomicIndicesDict({"2p1/2", "2p3/2", "2p1/2", "3d"},
  {{"core", {"2p1/2", "2p3/2"}}, {"bad"}, {"valence", {"3d_Up", "none"}, "extra"}, {"all", {"3d"}}})
check.eq(n, 16, "fermions with a repeat")
same(d["2p1/2"], {0, 1}, "2p1/2")
same(d["2p3/2"], {2, 3, 4, 5}, "2p3/2")
same(d["3d"], {6, 8, 10, 12, 14, 7, 9, 11, 13, 15}, "3d")
same(d.core, {0, 1, 2, 3, 4, 5}, "core")
same(d.valence, {7, 9, 11, 13, 15}, "valence")
check.eq(d.bad, nil, "group without members")

-- The list form: two entries for a non-relativistic shell.
print("-- list")
local l, m = CreateAtomicIndicesList({"3d", "4s1/2", "??"}, {{"kappas", true}})
check.eq(m, 12, "fermions of the list")
check.eq(#l, 3, "entries")
same(l[1], {0, 2, 4, 6, 8}, "3d down")
same(l[2], {1, 3, 5, 7, 9}, "3d up")
same(l[3], {10, 11}, "4s1/2")
same(l.kappas, {0, -1}, "kappas")
l, m = CreateAtomicIndicesList({"4f5/2", "4f7/2"})
check.eq(m, 14, "f partners")
check.eq(l.kappas, nil, "no kappas by default")
same(l[2], {6, 7, 8, 9, 10, 11, 12, 13}, "4f7/2")

print("-- names")
check.eq(OrbToMultiplicity("Ni_3d"), 10, "d shell")
check.eq(OrbToMultiplicity("3d5/2"), 6, "j=5/2")
check.eq(OrbToMultiplicity("1s"), 2, "s shell")
same(RelToNonRelOrbitals({"3d3/2", "4s", "3d5/2"}), {"3d", "4s"}, "RelToNonRel")
same(NonRelToRelOrbitals({"3d", "4s", "2p1/2"}), {"3d3/2", "3d5/2", "4s1/2", "2p1/2"}, "NonRelToRel")
check.eq(OrbToMultiplicity("3z"), -1, "no orbital")
print("")

check.fails("OrbToMultiplicity called with 0 arguments. Only name of the orbital expected.\n", OrbToMultiplicity)
check.fails("OrbToMultiplicity called with 2 arguments. Only name of the orbital expected.\n",
  OrbToMultiplicity, "3d", "4s")
check.fails("RelToNonRelOrbitals called with 2 arguments. Only list of orbitals expected.\n",
  RelToNonRelOrbitals, {}, {})
check.fails("NonRelToRelOrbitals called with 0 arguments. Only list of orbitals expected.\n", NonRelToRelOrbitals)
local countMessage = "CreateAtomicIndices called with %d arguments. List of Orbitals and (in case of a " ..
  "dictionary) optional parameter List of Groups of Orbitals expected, or (in case of a list) possible " ..
  "List of Options.\n"
check.fails(countMessage:format(0), CreateAtomicIndicesDict)
check.fails(countMessage:format(3), CreateAtomicIndicesList, {"3d"}, {}, {})
check.fails("Second argument of CreateAtomicIndicesList is optional but iff given should be a list of options.\n",
  CreateAtomicIndicesList, {"3d"}, {"kappas", true})
print("done")
