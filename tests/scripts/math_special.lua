-- Factorials, binomials, spherical Bessel functions, Laguerre polynomials,
-- the Voigt profile, the integer tests and the stock number functions,
-- with their error texts.
local check = require "check"

check.eq(fact(0), 1, "0!")
check.eq(Factorial(5), 120, "5!")
check.eq(factorial(5.9), 120, "5.9 truncated")
check.truthy(fact(170) < math.huge and fact(171) == math.huge, "170! finite, 171! infinite")
check.eq(fact(1e9), math.huge, "a large n at once")
check.fails("math.fact expects 1 parameter n", fact)
check.fails("math.fact expects 1 parameter n", Fact, 1, 2)
check.fails("Error Factorial called with a negative number", fact, -1)

check.eq(Binomial(10, 3), 120, "C(10,3)")
check.eq(Binomial(5, 7), 0, "C(5,7)")
check.eq(Binomial(5, -1), 0, "C(5,-1)")
check.eq(Binomial(66, 33), 7219428434016265740, "C(66,33)")
check.eq(Binomial(0.5, 2), -0.125, "C(1/2,2)")
check.eq(Binomial(-1, 3), -1, "C(-1,3)")
-- Row sums of Pascal's triangle.
for n = 0, 30 do
  local s = 0
  for k = 0, n do s = s + Binomial(n, k) end
  check.eq(s, 2 ^ n, "sum of row " .. n)
end
check.fails("math.Binomial expects 2 parameters n and k", Binomial, 4)

for _, x in ipairs({0.3, 2, 7.5}) do
  check.near(SphericalBesselJ(0, x), math.sin(x) / x, 1e-15, "j0")
  check.near(SphericalBesselJ(1, x), math.sin(x) / x ^ 2 - math.cos(x) / x, 1e-15, "j1")
end
check.near(SphericalBesselJ(2, 3), 0.29863749707573355, 1e-15, "j2(3)")
check.fails("math.SphericalBesselJ expects 2 parameters l,x", SphericalBesselJ, 1)

for _, x in ipairs({0, 0.5, 3}) do
  check.near(LaguerreL(0, 3, x), 1, 1e-15, "L_0^3")
  check.near(LaguerreL(1, 2, x), 3 - x, 1e-14, "L_1^2")
  check.near(LaguerreL(2, 0, x), 1 - 2 * x + x * x / 2, 1e-14, "L_2^0")
  check.near(LaguerreL(2, 1, x), (x * x - 6 * x + 6) / 2, 1e-14, "L_2^1")
end
check.fails("math.LaguerreL expects 3 parameters n,l,x", LaguerreL, 1, 2)
check.fails("Error Factorial called with a negative number", LaguerreL, 2, -1, 0.5)

-- Voigt profile: the Gaussian peak 2 sqrt(ln 2 / pi) / G and the Lorentzian
-- peak 2 / (pi L).
check.near(Voight(0, 1, 0), 0.9394372786996513, 1e-15, "Gaussian peak")
check.near(Voight(0, 1e-12, 1), 2 / pi, 1e-10, "Lorentzian peak")
check.near(Voight(0.5, 1, 0), 0.9394372786996513 / 2, 1e-15, "Gaussian at half width")
check.fails("math.Voight expects 3 parameters w,GFWMH,LFWHM", Voight, 0, 1)

check.eq(IntegerQ(2), true, "IntegerQ(2)")
check.eq(IntegerQ(2.5), false, "IntegerQ(2.5)")
check.eq(IntegerQ(math.huge), false, "IntegerQ(inf)")
check.eq(IntegerQ("2"), false, "IntegerQ of a string")
check.eq(IntegerQ(I), false, "IntegerQ of a complex number")
check.eq(EvenQ(4), true, "EvenQ(4)")
check.eq(EvenQ(3), false, "EvenQ(3)")
check.eq(EvenQ(4.5), false, "EvenQ(4.5)")
check.eq(OddQ(-3), true, "OddQ(-3)")
check.eq(OddQ(2), false, "OddQ(2)")
check.failsWith("value expected", IntegerQ)

-- The stock number functions.
local ip, fp = modf(-3.25)
check.eq(ip, -3, "modf integral part")
check.eq(fp, -0.25, "modf fractional part")
local m, e = Frexp(12)
check.eq(m, 0.75, "frexp mantissa")
check.eq(e, 4, "frexp exponent")
check.eq(ldexp(0.75, 4), 12, "ldexp")
check.eq(deg(pi), 180, "deg")
check.eq(rad(180), pi, "rad")
check.eq(max(3, -1, 7, 2), 7, "max")
check.eq(Min(3, -1, 7, 2), -1, "min")
check.eq(fmod(7, 3), 1, "fmod")
check.eq(fmod(-7, 3), -1, "fmod keeps the sign")
check.eq(atan2(1, 1), pi / 4, "atan2")
check.eq(pow(2, 10), 1024, "pow")
check.eq(floor(-1.2), -2, "floor")
check.eq(asin(1), pi / 2, "asin")
check.failsWith("number expected, got no value", max)
check.failsWith("number expected, got string", min, 1, "x")
