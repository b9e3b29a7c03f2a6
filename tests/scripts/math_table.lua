-- The table math: every name in its order, the capitalised twins of the stock
-- names, the four numbers, and the globals of the same names.
local check = require "check"

local names = {
  "abs", "Abs", "acos", "Acos", "asin", "Asin", "atan2", "Atan2", "atan", "Atan",
  "ceil", "Ceil", "cosh", "Cosh", "cos", "Cos", "deg", "Deg", "exp", "Exp",
  "erf", "Erf", "erfc", "Erfc", "FaddeevaW", "floor", "Floor", "fmod", "Fmod",
  "frexp", "Frexp", "ldexp", "Ldexp", "log10", "Log10", "log", "Log", "max", "Max",
  "min", "Min", "modf", "Modf", "pow", "Pow", "rad", "Rad", "random", "Random",
  "randomseed", "RandomSeed", "sinh", "Sinh", "sin", "Sin", "sqrt", "Sqrt",
  "tanh", "Tanh", "tan", "Tan", "fact", "Fact", "factorial", "Factorial",
  "Binomial", "BinomialCoefficient", "ThreeJ", "ThreeJSymbol", "SlaterCoefficientC",
  "SphericalHarmonicY", "SphericalHarmonicC", "TesseralHarmonicZ", "TesseralHarmonicD",
  "KubicHarmonicK", "KubicHarmonicE", "SphericalBesselJ", "LaguerreL", "Voight",
  "IntegerQ", "EvenQ", "OddQ", "Dot", "MatrixTranspose", "MatrixConjugateTranspose",
  "MatrixConjugate",
}
check.eq(#names, 86, "names in the list")

for _, name in ipairs(names) do
  check.eq(type(math[name]), "function", "math." .. name)
  check.eq(rawget(_G, name), math[name], "global " .. name)
end

-- Each stock name and its twin are the same function.
local twins = {
  abs = "Abs", acos = "Acos", asin = "Asin", atan2 = "Atan2", atan = "Atan",
  ceil = "Ceil", cosh = "Cosh", cos = "Cos", deg = "Deg", exp = "Exp", erf = "Erf",
  erfc = "Erfc", floor = "Floor", fmod = "Fmod", frexp = "Frexp", ldexp = "Ldexp",
  log10 = "Log10", log = "Log", max = "Max", min = "Min", modf = "Modf", pow = "Pow",
  rad = "Rad", random = "Random", randomseed = "RandomSeed", sinh = "Sinh",
  sin = "Sin", sqrt = "Sqrt", tanh = "Tanh", tan = "Tan", fact = "Fact",
  factorial = "Factorial",
}
for lower, upper in pairs(twins) do
  check.truthy(math[lower] ~= nil and math[lower] == math[upper], lower .. " and " .. upper)
end
check.truthy(math.fact == math.factorial, "fact and factorial")
check.truthy(math.Binomial == math.BinomialCoefficient, "Binomial and BinomialCoefficient")
check.truthy(math.ThreeJ == math.ThreeJSymbol, "ThreeJ and ThreeJSymbol")

-- The numbers: pi and Pi are globals through the start-up, huge and Huge not.
check.eq(math.pi, 3.141592653589793, "math.pi")
check.eq(math.Pi, math.pi, "math.Pi")
check.eq(math.huge, 1 / 0, "math.huge")
check.eq(math.Huge, 1 / 0, "math.Huge")
check.eq(pi, math.pi, "global pi")
check.eq(Pi, math.pi, "global Pi")
check.eq(rawget(_G, "huge"), nil, "global huge")
check.eq(rawget(_G, "Huge"), nil, "global Huge")

-- Nothing else in the table, and require finds the same one.
local count = 0
for _ in pairs(math) do count = count + 1 end
check.eq(count, 90, "entries of math")
check.truthy(require("math") == math, "require 'math'")
