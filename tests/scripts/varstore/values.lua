-- The values that put.lua saves and get.lua expects back, built afresh in
-- each run.
local values = {}

-- Numbers over the whole range of exponents, from a seeded generator, and
-- the ones that need care: -0, infinities, the smallest denormal, 0.1 + 0.2
-- (17 digits), the largest double.
function values.numbers()
  math.randomseed(4711)
  local list = {}
  for i = 1, 200 do
    list[i] = (math.random() - 0.5) * 10 ^ math.random(-300, 300)
  end
  for _, x in ipairs{-0.0, 1/0, -1/0, 4.9406564584124654e-324, 0.1 + 0.2, 1.7976931348623157e308} do
    list[#list + 1] = x
  end
  return list
end

-- Keys of every kind: floats, a string that reads as a number, a reserved
-- word, strings with blanks and any bytes, booleans, a complex number.
function values.table()
  return {
    1.5, {2, 3}, "list",
    [0.1] = {[2.5] = "a", [-1e300] = true, [1/3] = 1/3},
    [4] = "after the list", [10] = "hole",
    ["2"] = "two", ["end"] = false, ["with blank"] = "x\0y\n\"q\"\\\r\t\1279",
    [true] = Complex.New(0.5, -0.25), [false] = {},
    nested = {{{deep = -2}}},
  }
end

function values.complex() return Complex.New(1/3, -2/7) end

values.matrix = {{1/3, 2 * I}, {-I / 7, 0.1}}

function values.wavefunctionTerms()
  return {{"1100000001", 1/3}, {"0011000011", 0.5 - I * 2/7}, {"0000110001", I / 11}}
end

function values.wavefunction()
  return NewWavefunction(10, 0, values.wavefunctionTerms(), {{"Name", "psi \"0\""}, {"NBitsKey", 8}})
end

-- Terms in the order in which the operator keeps them: the constant, then
-- by length; annihilating mode 0 is written -0.
function values.operatorTerms()
  return {{5}, {0, -0, 2}, {1, -2, 0.5 + I / 3}, {3, 2, -1, -0, 1/7}}
end

function values.operator()
  return NewOperator(4, 0, values.operatorTerms(), {{"Name", "O"}, {"Restrictions", {4, 0, {"1100", 0, 1}}}})
end

-- A spectra object of two spectra from a table.
function values.spectra()
  local t = {}
  for n = 1, 2 do
    local s = {Name = "Spectrum " .. n, EminPole = -1.5, EmaxPole = 2.25, Gamma = 0.1 * n, Integral = 1 / 3}
    for k = 0, 10 do s[k + 1] = {-1 + 0.3 * k, Complex.New(1 / (k + n), -k / 7)} end
    t[n] = s
  end
  return Spectra.FromTable(t)
end

return values
