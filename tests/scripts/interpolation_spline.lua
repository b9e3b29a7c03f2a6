-- The InterpolatingFunction object: splines with natural and clamped ends,
-- derivatives, tables of points, the inert metamethods and every message.
local check = require "check"
local Spline = InterpolatingFunction.Spline

-- The library table holds Spline and nothing else.
local keys = 0
for _ in pairs(InterpolatingFunction) do keys = keys + 1 end
check.eq(keys, 1, "entries of InterpolatingFunction")
check.eq(type(Spline), "function", "Spline")

-- Clamped ends with the true slopes reproduce a cubic, p(x) = x^3 - 2x + 1.
local function p(x) return x^3 - 2*x + 1 end
local x, y = {}, {}
for i = 0, 8 do
  x[#x+1] = -2 + 0.5*i + 0.1*math.sin(i)
  y[#y+1] = p(x[#x])
end
local f = Spline(x, y, 3*x[1]^2 - 2, 3*x[#x]^2 - 2)
for t = -1.9, 2.1, 0.37 do
  check.near(f(t), p(t), 1e-12, "clamped value")
  check.near(f(t, 0), p(t), 1e-12, "order 0")
  check.near(f(t, 1), 3*t^2 - 2, 1e-11, "first derivative")
  check.near(f(t, 2), 6*t, 1e-10, "second derivative")
end

-- Two arguments: natural ends, exact on straight lines, no end curvature.
local g = Spline({0, 1, 3, 4}, {1, 3, 7, 9})
check.near(g(2.5), 6, 1e-14, "natural line")
check.near(g(0.2, 1), 2, 1e-14, "natural slope")
check.eq(Spline({0, 1, 2}, {0, 1, 0})(0, 2), 0, "natural end curvature")
-- Four arguments with nil ends are natural too; one clamped end only.
local h1 = Spline({0, 1, 2}, {0, 1, 0}, nil, nil)
check.eq(h1(0.5), Spline({0, 1, 2}, {0, 1, 0})(0.5), "nil ends are natural")
local h2 = Spline({0, 1, 2}, {0, 1, 0}, 2, nil)
check.near(h2(0, 1), 2, 1e-14, "clamped left end")
check.eq(h2(2, 2), 0, "natural right end")

-- A table of points gives a table; knots are inside the range.
local v = g({0, 2.5, 4})
check.eq(#v, 3, "length of the result")
check.near(v[2], 6, 1e-14, "table value")
check.eq(v[1], 1, "first knot")
check.eq(v[3], 9, "last knot")
check.eq(#g({}), 0, "empty table")
local d = g({0.5, 3.5}, 1)
check.near(d[1], 2, 1e-14, "table derivative")

-- The inert metamethods: each yields nil (or false for comparisons).
check.eq(-f, nil, "__unm")
check.eq(f + g, nil, "__add")
check.eq(f - 1, nil, "__sub")
check.eq(2 * f, nil, "__mul")
check.eq(f / g, nil, "__div")
check.eq(f ^ 2, nil, "__pow")
check.eq(f .. g, nil, "__concat")
check.eq(f == g, false, "__eq")
check.eq(f == f, true, "identity")
check.eq(f < g, false, "__lt")
check.eq(f <= g, false, "__le")
local mt = getmetatable(f)
check.eq(select("#", mt.__mode(f)), 0, "__mode returns nothing")
for _, name in ipairs({"__unm", "__add", "__sub", "__mul", "__div", "__pow", "__concat", "__eq",
                       "__lt", "__le", "__mode", "__call", "__tostring", "__gc"}) do
  check.eq(type(mt[name]), "function", name)
end
check.eq(tostring(f), "Interpolating Function", "__tostring")
print(f)

-- Messages of the constructor.
check.fails("Error in SplineInterpolate expected at least two arguments, not (0)", Spline)
check.fails("Error in SplineInterpolate expected at least two arguments, not (1)", Spline, {1, 2})
check.fails("expected 2 or 4 arguments and not (3)", Spline, {1, 2}, {1, 2}, 0)
check.fails("expected 2 or 4 arguments and not (5)", Spline, {1, 2}, {1, 2}, 0, 0, 0)
check.fails("Error, the length of the first table with x values (3) needs to be the same as the length of the second table with y values (2)",
  Spline, {1, 2, 3}, {1, 2})
check.fails("Error in SplineInterpolate: a spline needs at least two points, not (1)", Spline, {1}, {1})
check.fails("Error in SplineInterpolate: the x values must be strictly ascending (x[2] = 2, x[3] = 2)",
  Spline, {1, 2, 2}, {1, 2, 3})
check.fails("Error in SplineInterpolate: the x values must be strictly ascending (x[1] = 3, x[2] = 1)",
  Spline, {3, 1}, {1, 2})
check.failsWith("table expected, got number", Spline, 1, {1})
check.failsWith("number expected, got string", Spline, {1, "a"}, {1, 2})

-- Messages of the call (each is also printed by the spline itself).
check.fails("error: value out of interpolation range", g, -0.001)
check.fails("error: value out of interpolation range", g, 4.001)
check.fails("error: value out of interpolation range", g, {1, 5})
check.fails("error: value out of interpolation range", g, 0/0)
check.fails("error: order of derivative of interpolated function at most 2", g, 1, 3)
check.fails("Error in InterpolatingFunction call: the order of a derivative can't be negative", g, 1, -1)
check.fails("Error in InterpolatingFunction call: expected a number or a table of numbers, not string", g, "1")
check.fails("Error in InterpolatingFunction call: expected a number or a table of numbers, not no value", g)

-- Collected objects free their splines.
for _ = 1, 100 do Spline({0, 1, 2}, {0, 1, 4}) end
collectgarbage()
collectgarbage()
print("done")
