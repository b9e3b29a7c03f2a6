-- Wave functions in scripts: fields, dot methods, arithmetic, Expand,
-- ExpandToBasis, Orthonormalize, the global Copy/Chop/Conjugate, files.
-- Coefficients are checked against values worked out by hand.
local check = require "check"

-- psi holds exactly the determinants of want (text -> number or {re, im});
-- a number is also matched by a Complex with imaginary part 0.
local function coefficients(psi, want, what)
  local n = 0
  for det, w in pairs(want) do
    n = n + 1
    local got = psi.PrefactorDet(det)
    if type(w) ~= "table" then w = {w, 0} end
    if type(got) == "number" then
      check.eq(w[2], 0, what .. " real prefactor " .. det)
      got = {re = got, im = 0}
    end
    check.near(got.re, w[1], 1e-12, what .. " re " .. det)
    check.near(got.im, w[2], 1e-12, what .. " im " .. det)
  end
  check.eq(psi.N, n, what .. " N")
end

local function wf(list) return NewWavefunction(4, 0, list) end

-- Fields and their messages.
local psi = wf({{"1100", 3}, {"0011", 4}, {"1101", 0}})
check.eq(psi.N, 3, "N"); check.eq(psi.Complex, false, "Complex")
check.eq(psi.NF, 4, "NF"); check.eq(psi.NB, 0, "NB"); check.eq(psi.NBitsKey, 16, "NBitsKey")
psi.Name = "psi"
check.eq(psi.Name, "psi", "Name")
check.eq(wf({{"1100", I}}).Complex, true, "complex state")
psi.NBitsKey = 3        -- re-keying drops the element of value 0
check.eq(psi.NBitsKey, 3, "new key width")
coefficients(psi, {["1100"] = 3, ["0011"] = 4}, "re-keyed")
check.fails("Error operation \".foo()\" not defined on wavefunction\n", function() return psi.foo end)
check.fails("Maximum number of fermions + bosons allowed is 2^16 = 65535\nTrying to change the number of fermions from 4 to 70000 with 0 bosons\n",
  function() psi.NF = 70000 end)
check.fails("Maximum number of fermions + bosons allowed is 2^16 = 65535\nTrying to change the number of bosons from 0 to 65532 with 4 fermions\n",
  function() psi.NB = 65532 end)
check.fails("Current version does not suport Bosons\n", function() psi.NB = 1 end)
check.fails("Errorr, you can not change the value representing the number of determinants in psi\nIf you add or remove determinants from the wavefunction the number will follow automatically.",
  function() psi.N = 1 end)
check.fails("Errorr, you can not change the value Complex of a wavefunction psi.\nIn order to change you have to modify the wavefunction itselves, the value of Complex will follow automatically.",
  function() psi.Complex = true end)
check.fails("Errorr, you can not change the value of a determiant via indexing for wavefunction psi",
  function() psi.Det = 1 end)
check.fails("Error index Foo not found in Wavefunction Object\n", function() psi.Foo = 1 end)
check.fails("bad argument #1 to '__index' (Wavefunction_Type expected, got number)",
  function() return getmetatable(psi).__index(1, "N") end)

-- Changing the number of modes: dropped modes merge determinants.
local m = wf({{"1100", 1}, {"1101", 2}, {"0010", 5}})
m.NF = 6
coefficients(m, {["110000"] = 1, ["110100"] = 2, ["001000"] = 5}, "NF = 6")
m.NF = 3
coefficients(m, {["110"] = 3, ["001"] = 5}, "NF = 3")

-- Dot methods act on the object indexed last.
local a = wf({{"1100", 1e-9}, {"0011", 2}, {"1010", -1}})
local b = wf({{"1100", 1}})
local chop = a.Chop
local _ = b.N
chop(1e-6)                    -- acts on b: nothing below 1e-6 there
check.eq(a.N, 3, "saved method acts on the last indexed")
a.Chop(1e-6)
coefficients(a, {["0011"] = 2, ["1010"] = -1}, "Chop")
check.fails("Errorr, call to chop with 2 arguments, expected 0 or 1\n", a.Chop, 1, 2)
coefficients(a.Det(2), {["1010"] = -1}, "Det")
check.eq(a.Det(1).Name, "Wave Function.Det(1)", "Det name")
check.eq(a.PrefactorDet(1), 2, "PrefactorDet by index")
check.eq(a.PrefactorDet("1111"), 0, "PrefactorDet of a missing determinant")
check.fails("Error in .Det(arg = 3) arg should be an integer between 1 and .N (2)\n", a.Det, 3)
check.fails("Error in .Det(arg) arg should be an integer between 1 and .N (2)\n", a.Det, {})
check.fails("Error in .PrefactorDet(arg = 0) arg should be an integer between 1 and .N (2) or a string representing the determinant\n",
  a.PrefactorDet, 0)
check.fails("Error in .PrefactorDet(arg) arg should be an integer between 1 and .N (2) or a string representing the determinant\n",
  a.PrefactorDet, true)
a.Normalize()
check.near(a * a, 1, 1e-14, "normalised")
coefficients(a, {["0011"] = 2 / math.sqrt(5), ["1010"] = -1 / math.sqrt(5)}, "Normalize")
check.fails("Error in .Norm(arg) unrecognized arguments in Norm()\n", a.Normalize, 1)
local c = wf({{"1100", 1 + 2 * I}, {"0011", 3}})
c.Conjugate()
coefficients(c, {["1100"] = {1, -2}, ["0011"] = {3, 0}}, "Conjugate")
c.Chop(1e-6)                  -- a complex state stays complex while im remains
check.eq(c.Complex, true, "still complex")
local r = wf({{"1100", 1}, {"0011", 1}, {"0101", 1}})
r.Randomize()
check.near(r * r, 1, 1e-12, "random state has norm 1"); check.eq(r.N, 3, "random state keeps its basis")

-- Print: the readable form to a file is the text of tostring; the messages.
local name = os.tmpname()
c.Print({{"file", name}})
local f = io.open(name); local text = f:read("*a"); f:close()
check.eq(text, tostring(c), "printed text")
check.fails("Error in .Print(arg) Binary mode only allowed for printing to file\n", c.Print, {{"Binary", true}})
check.fails("Error in .Print(arg) Binary and full text format are exclusive\n", c.Print,
  {{"Binary", true}, {"Full", true}, {"file", name}})
check.fails("Error in .Print(arg) unrecognized arguments in Print()\n", c.Print, 1)
check.fails("ERROR\nCan't open /nonexistent/x for writing with mode w.\n", c.Print, {{"file", "/nonexistent/x"}})

-- Reading back: the binary file of Print, and a plain text file written here
-- (a repeated determinant merges).
c.Print({{"file", name}, {"Binary", true}})
local back = Ulmen.ReadWavefunction(name, {{"Binary", true}, {"NBitsKey", 4}})
coefficients(back, {["1100"] = {1, -2}, ["0011"] = {3, 0}}, "read binary")
check.eq(back.NBitsKey, 4, "read key width")
f = io.open(name, "w")
f:write("text\n0\n3\n4\n0\n  1.5E+00 C0\n -2.0E+00 30\n  0.5E+00 C0\n\n")
f:close()
back = Ulmen.readwavefunction(name)
check.eq(back.Name, "text", "read name")
coefficients(back, {["1100"] = 2, ["0011"] = -2}, "read text")
os.remove(name)
check.fails("ERROR\nCan't open /nonexistent/x for reading.\n", Ulmen.ReadWavefunction, "/nonexistent/x")
check.fails("Error in FileReadWaveFunction(arg).\n The arguments should at least contain the file name.",
  Ulmen.ReadWavefunction)

-- Sums in the union of the bases, scaling, division, inner products.
local p = wf({{"1100", 1}, {"0011", 2}})
local q = wf({{"0011", 3}, {"1010", -1}})
coefficients(p + q, {["1100"] = 1, ["0011"] = 5, ["1010"] = -1}, "p + q")
coefficients(p - q, {["1100"] = 1, ["0011"] = -1, ["1010"] = 1}, "p - q")
coefficients(-p, {["1100"] = -1, ["0011"] = -2}, "-p")
coefficients(2 * p, {["1100"] = 2, ["0011"] = 4}, "2 p")
coefficients(p * 0.5, {["1100"] = 0.5, ["0011"] = 1}, "p 0.5")
coefficients(p / 4, {["1100"] = 0.25, ["0011"] = 0.5}, "p / 4")
coefficients(p * I, {["1100"] = {0, 1}, ["0011"] = {0, 2}}, "p i")
coefficients((1 - I) * p, {["1100"] = {1, -1}, ["0011"] = {2, -2}}, "(1 - i) p")
coefficients(p / (1 + I), {["1100"] = {0.5, -0.5}, ["0011"] = {1, -1}}, "p / (1 + i)")
check.eq((Complex.New(2, 0) * p).Complex, false, "a real factor on the left keeps the state real")
check.eq((p * Complex.New(2, 0)).Complex, true, "a Complex on the right makes the state complex")
check.eq(p * p, 5, "<p|p>")
check.eq(p * q, 6, "<p|q>")
check.eq(p * wf({{"1111", 1}}), 0, "disjoint bases")
local z = wf({{"1100", 1 + 2 * I}, {"0011", 3 * I}})
check.eq(z * z, 14, "<z|z> is a plain number")
local zp = z * p               -- conj(1+2i)*1 + conj(3i)*2 = 1 - 8i
check.eq(zp.re, 1, "<z|p> re"); check.eq(zp.im, -8, "<z|p> im")
check.fails("Error in __add found 3 arguments, wheras a + b should only have two arguments\n",
  getmetatable(p).__add, p, q, q)
check.fails("Error in __sub found 3 arguments, wheras a - b should only have two arguments\n",
  getmetatable(p).__sub, p, q, q)
check.fails("Error, number devided by an operator\n", function() return 2 / p end)
check.fails("Error, wavefunction devided by an object of unrecognized type\n", function() return p / q end)
check.fails("Error: complex number plus wavefunction\n", function() return I + p end)
check.fails("Error: complex number divided by wavefunction\n", function() return I / p end)

-- Expand by the occupations of modes 1 and 3: part f holds the determinants
-- with n1 = bit 0 and n3 = bit 1 of f.
local e = wf({{"1100", 1}, {"0101", 2}, {"1010", 3}, {"0011", 4}, {"0000", 5}})
local parts = Expand(e, {1, 3})
check.eq(#parts, 4, "four parts")
coefficients(parts[1], {["1010"] = 3, ["0000"] = 5}, "n1=0 n3=0")
coefficients(parts[2], {["1100"] = 1}, "n1=1 n3=0")
coefficients(parts[3], {["0011"] = 4}, "n1=0 n3=1")
coefficients(parts[4], {["0101"] = 2}, "n1=1 n3=1")
parts = Expand(e, {})
check.eq(#parts, 1, "no modes: one part"); check.eq(parts[1] * e, e * e, "the one part is the state")
local many = {}
for k = 1, 25 do many[k] = 0 end
check.fails("Error in Expand(psi,index). Expanding a wavefunction in determinants yields 2^N new functions for N=25 this would not fit in your memory\n",
  Expand, e, many)
check.fails("Error in Expand(psi,index) two arguments expected, recieved (1)\n", Expand, e)
local basis = ExpandToBasis(wf({{"1100", 7}, {"0011", I}}))
check.eq(#basis, 2, "one state per determinant")
coefficients(basis[1], {["1100"] = 1}, "first determinant"); check.eq(basis[1].Name, " C0", "named by its bytes")
coefficients(basis[2], {["0011"] = 1}, "second determinant"); check.eq(basis[2].Complex, false, "real")
check.fails("Error in ExpandToBasis(psi) one argument expected, recieved (2)\n", ExpandToBasis, e, e)

-- DeterminantString: modes counted from 0, a mode outside is ignored with a
-- warning on the standard output.
check.eq(DeterminantString(6, {0, 2, 7}), "101000", "DeterminantString")
check.fails("DeterminantString called with 1 arguments. Number of Fermions and List of Indices expected.\n",
  DeterminantString, 4)

-- Orthonormalize: overlaps of the results form the identity; a dependent
-- state is dropped with ReduceDimension.
local function overlapIsIdentity(list, what)
  for i = 1, #list do
    for j = 1, #list do
      local s = list[i] * list[j]
      if type(s) ~= "number" then s = s.re end
      check.near(s, i == j and 1 or 0, 1e-12, what .. " overlap " .. i .. j)
    end
  end
end
local v1 = wf({{"1100", 1}, {"0011", 1}})
local v2 = wf({{"1100", 1}, {"1010", 2 * I}})
local v3 = v1 + v2
for _, method in ipairs({"Lowdin", "GramSchmidt"}) do
  local o = Orthonormalize({v1, v2}, {{"Method", method}})
  check.eq(#o, 2, method .. " count"); overlapIsIdentity(o, method)
  o = Orthonormalize({v1, v2, v3}, {{"Method", method}, {"ReduceDimension", true}})
  check.eq(#o, 2, method .. " dependent state dropped"); overlapIsIdentity(o, method .. " reduced")
end
local g = Orthonormalize({v1, v2}, {{"Method", "GramSchmidt"}})
coefficients(g[1], {["1100"] = 1 / math.sqrt(2), ["0011"] = 1 / math.sqrt(2)}, "Gram-Schmidt keeps the first")
check.eq(v1 * v1, 2, "the given states are left alone")
-- The nearest orthonormal rows of a 2x2 matrix [[a, b], [c, d]] of positive
-- determinant are [[a+d, b-c], [c-b, a+d]] / sqrt((a+d)^2 + (b-c)^2).
local rows = Orthonormalize({{3, 0}, {1, 1}})
local s17 = math.sqrt(17)
for i, row in ipairs({{4 / s17, -1 / s17}, {1 / s17, 4 / s17}}) do
  for j = 1, 2 do check.near(rows[i][j], row[j], 1e-14, "Lowdin rows " .. i .. j) end
end
local cols = Matrix.ToTable(Orthonormalize(Matrix.ToUserdata({{1, 0}, {1, 1}, {0, 1}}), {{"Order", "Column"}}))
for i = 1, 2 do
  for j = 1, 2 do
    local s = 0
    for k = 1, 3 do s = s + cols[k][i] * cols[k][j] end
    check.near(s, i == j and 1 or 0, 1e-14, "orthonormal columns " .. i .. j)
  end
end
check.fails("Second argument of Orthogonalize is optional but iff given should be a list of options.\n",
  Orthonormalize, {v1}, 3)

-- Global Copy, Clone, Conjugate and Chop give new states.
local orig = wf({{"1100", 1 + I}, {"0011", 1e-12}})
local copy = Copy(orig)
copy.Conjugate()
coefficients(orig, {["1100"] = {1, 1}, ["0011"] = {1e-12, 0}}, "original after changing the copy")
coefficients(Clone(orig), {["1100"] = {1, 1}, ["0011"] = {1e-12, 0}}, "Clone")
coefficients(Conjugate(orig), {["1100"] = {1, -1}, ["0011"] = {1e-12, 0}}, "Conjugate")
local chopped = Chop(wf({{"1100", 1 + 1e-12 * I}, {"0011", 1e-12}}))
coefficients(chopped, {["1100"] = 1}, "Chop"); check.eq(chopped.Complex, false, "chopped to real")
print("done")
