-- Arithmetic of complex objects with numbers, complex objects and tables.
local check = require "check"

local function isComplex(v, what)
  check.truthy(type(v) == "userdata" and getmetatable(v) == getmetatable(I), what .. " is a complex object")
end

local function same(z, re, im, what)
  isComplex(z, what)
  check.eq(Complex.Re(z), re, what .. " real part")
  check.eq(Complex.Im(z), im, what .. " imaginary part")
end

-- I*I stays complex and so is not the number -1.
local m = I * I
same(m, -1, 0, "I*I")
check.eq(m == -1, false, "I*I == -1")
check.eq(m == Complex.New(-1, 0), true, "I*I == Complex.New(-1,0)")
check.eq(Complex.New(1, 0) == 1, false, "complex 1 == number 1")
check.eq(Complex.New(1, 2) ~= Complex.New(1, 2), false, "equal parts")

-- Mixed forms against hand-computed values.
local a, b = Complex.New(1.5, -2), Complex.New(-0.5, 4)
same(a + b, 1, 2, "a+b")
same(a - b, 2, -6, "a-b")
same(a * b, 7.25, 7, "a*b")
same(Complex.New(7.25, 7) / b, 1.5, -2, "(a*b)/b")
same(2 + a, 3.5, -2, "2+a")
same(2 - a, 0.5, 2, "2-a")
same(a - 2, -0.5, -2, "a-2")
same(2 * a, 3, -4, "2*a")
same(a / 2, 0.75, -1, "a/2")
same(5 / Complex.New(1, 2), 1, -2, "5/(1+2i)")
same(-a, -1.5, 2, "-a")
local sq = Complex.New(3, 4) ^ 2 -- by the polar form, so only near -7+24i
isComplex(sq, "(3+4i)^2")
check.near(sq.re, -7, 1e-13, "Re (3+4i)^2")
check.near(sq.im, 24, 1e-13, "Im (3+4i)^2")

-- A number to a complex power goes through __pow with the number first:
-- 2^i = cos(ln 2) + i sin(ln 2).
local p = 2 ^ I
isComplex(p, "2^I")
check.near(p.re, math.cos(math.log(2)), 1e-15, "Re 2^I")
check.near(p.im, math.sin(math.log(2)), 1e-15, "Im 2^I")
local q = I ^ I -- exp(-pi/2)
check.near(q.re, math.exp(-math.pi / 2), 1e-15, "Re I^I")
check.near(q.im, 0, 1e-15, "Im I^I")

-- Division by zero gives IEEE values, not an error.
local d = (1 + I) / 0
isComplex(d, "(1+I)/0")
check.truthy(d.re == math.huge and d.im == math.huge, "(1+I)/0 is infinite")
local dz = I / Complex.New(0, 0)
check.truthy(dz.re ~= dz.re and dz.im ~= dz.im, "I over complex 0 is 0/0 in both parts")

-- Complex.Exp and the parts of numbers.
local e = Complex.Exp(Complex.New(1, math.pi / 2))
check.near(e.re, math.exp(1) * math.cos(math.pi / 2), 1e-15, "Re Exp")
check.near(e.im, math.exp(1), 1e-15, "Im Exp")
check.eq(Complex.re(-3), -3, "Complex.re of a number")
check.eq(Complex.im(-3), 0, "Complex.im of a number")
same(Complex.New("2", "-0.5"), 2, -0.5, "New from numeric strings")

-- Tables are done element by element and keep their shape, also nested;
-- the result is a plain table, so a metatable does not carry over.
local t = {1, {2, 3}} * I
check.eq(getmetatable(t), nil, "metatable of the result")
check.eq(#t, 2, "length of the result")
check.eq(#t[2], 2, "length of the inner result")
same(t[1], 0, 1, "t[1]")
same(t[2][1], 0, 2, "t[2][1]")
same(t[2][2], 0, 3, "t[2][2]")
local k = I - {x = 1, [5] = {I}}
same(k.x, -1, 1, "keyed element")
same(k[5][1], 0, 0, "nested complex element")
local tagged = setmetatable({4}, {})
local r = tagged / (2 * I)
check.eq(getmetatable(r), nil, "metatable after division")
same(r[1], 0, -2, "table over complex")
local pw = (I ^ {2})[1]
check.near(pw.re, -1, 1e-15, "Re of I^{2}")
check.near(pw.im, 0, 1e-15, "Im of I^{2}")

-- Field access by first letter only.
local z = Complex.New(1.5, -2.5)
check.eq(z.re, 1.5, "z.re")
check.eq(z.Real, 1.5, "z.Real")
check.eq(z.rest, 1.5, "z.rest")
check.eq(z.imag, -2.5, "z.imag")
check.eq(z.I, -2.5, "z.I")
check.fails("Error Complex variable not found", function() return z.abs end)
check.fails("Error Complex variable not found", function() return z[1] end)

-- Assignment by first letter; a value that isn't a number stores 0.
local w = Complex.New(1, 1)
w.real = 4
w.Imaginary = "2.5"
same(w, 4, 2.5, "after assignment")
w.imag = "x"
same(w, 4, 0, "after assigning text")
w.r = {}
same(w, 0, 0, "after assigning a table")
check.fails("Error index foo not found in Complex Object\n", function() w.foo = 3 end)
check.fails("Error index 1 not found in Complex Object\n", function() w[1] = 3 end)
same(I, 0, 1, "global I untouched")
