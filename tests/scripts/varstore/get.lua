-- Second run of the variable store: everything put.lua saved comes back.
local check = require "check"
local values = require "values"

-- The bits of numbers (%.17g tells -0 from 0), and complex numbers by parts.
local function same(a, b)
  local ca, cb = getmetatable(a) == getmetatable(I), getmetatable(b) == getmetatable(I)
  if ca or cb then return ca and cb and same(a.re, b.re) and same(a.im, b.im) end
  if type(a) ~= type(b) then return false end
  if type(a) == "number" then return string.format("%.17g", a) == string.format("%.17g", b) end
  if type(a) ~= "table" then return a == b end
  local n = 0
  for k, v in pairs(a) do
    if not same(v, b[k]) then return false end
    n = n + 1
  end
  for _ in pairs(b) do n = n - 1 end
  return n == 0
end

local function asComplex(v)
  if type(v) == "number" then return Complex.New(v, 0) end
  return v
end

-- Capture what the constructors receive from the stored texts.
local newWavefunction, newOperator, received, receivedOperator = NewWavefunction, NewOperator, nil, nil
NewWavefunction = function(...) received = {...}; return newWavefunction(...) end
NewOperator = function(...) receivedOperator = {...}; return newOperator(...) end
for _, name in ipairs{"x", "NameX", "third", "sum", "numbers", "tab", "z", "M", "Mt", "psi", "keyed", "O", "S"} do
  io.get("store", name)
end
NewWavefunction, NewOperator = newWavefunction, newOperator

check.eq(x, 3, "x")
check.eq(NameX, 0.1, "NameX")
check.eq(third, 1/3, "third")
check.eq(sum, 0.1 + 0.2, "sum")
check.truthy(same(numbers, values.numbers()), "numbers restored bit for bit")
check.truthy(same(tab, values.table()), "nested table with keys of every kind")
check.truthy(same(z, values.complex()), "complex number")
local k, v = next(keyed)
check.truthy(same(k, {1, 2}) and v == "table key" and next(keyed, k) == nil, "table as a key")

-- Matrices in both forms.
check.truthy(getmetatable(M) == getmetatable(Matrix.ToUserdata({{1}})), "userdata form")
local rows = Matrix.ToTable(M)
for i, row in ipairs(values.matrix) do
  for j, want in ipairs(row) do
    check.truthy(same(rows[i][j], asComplex(want)), "userdata matrix entry " .. i .. "," .. j)
  end
end
check.truthy(getmetatable(Mt) == MatrixMeta and same(Mt, values.matrix), "table matrix")

-- The wave function: the same printout as a fresh one, and the prefactors
-- that reached the constructor within 1e-14.
check.eq(tostring(psi), tostring(values.wavefunction()), "wave function")
local terms = values.wavefunctionTerms()
check.eq(#received[3], #terms, "number of determinants")
for i, term in ipairs(terms) do
  local got, want = received[3][i][2], asComplex(term[2])
  check.near(got.re, want.re, 1e-14, "Re prefactor " .. i)
  check.near(got.im, want.im, 1e-14, "Im prefactor " .. i)
end

-- The operator: the same printout and restrictions as a fresh one, its
-- ladders exactly (-0 stays annihilation) and its prefactors within 1e-14.
local fresh = values.operator()
check.eq(tostring(O), tostring(fresh), "operator")
check.eq(tostring(S), tostring(values.spectra()), "spectra")
check.eq(S.Name[2], "Spectrum 2", "spectrum name")
check.eq(S.Gamma[2], 0.2, "spectrum width")
check.eq(tostring(O.Restrictions), tostring(fresh.Restrictions), "restrictions")
local opTerms = values.operatorTerms()
check.eq(#receivedOperator[3], #opTerms, "number of terms")
for i, term in ipairs(opTerms) do
  local row = receivedOperator[3][i]
  check.eq(#row, #term, "length of term " .. i)
  for j = 1, #term - 1 do check.truthy(same(row[j], term[j]), "ladder " .. j .. " of term " .. i) end
  local got, want = asComplex(row[#row]), asComplex(term[#term])
  check.near(got.re, want.re, 1e-14, "Re prefactor of term " .. i)
  check.near(got.im, want.im, 1e-14, "Im prefactor of term " .. i)
end
