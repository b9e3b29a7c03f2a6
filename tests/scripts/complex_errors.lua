-- Error texts of the complex metamethods for every kind of operand.
local check = require "check"

local light = debug.upvalueid(function() return check end, 1)
check.eq(type(light), "userdata", "light userdata for the tests")

local z = Complex.New(1, 2)
local f = function() end

-- Left operand of another kind, all five operations.
local words = {
  {"plus", function(x, y) return x + y end},
  {"minus", function(x, y) return x - y end},
  {"multiplied with", function(x, y) return x * y end},
  {"divided by", function(x, y) return x / y end},
  {"to the power", function(x, y) return x ^ y end},
}
for _, op in ipairs(words) do
  local word, apply = op[1], op[2]
  check.fails("Error: nil " .. word .. " complex number\n", apply, nil, z)
  check.fails("Error: boolean " .. word .. " complex number\n", apply, true, z)
  check.fails("Error: lightuserdata " .. word .. " complex number\n", apply, light, z)
  check.fails("Error: character string " .. word .. " complex number\n", apply, "2", z)

  check.fails("Error: complex number " .. word .. " nil\n", apply, z, nil)
  check.fails("Error: complex number " .. word .. " boolean\n", apply, z, false)
  check.fails("Error: complex number " .. word .. " lightuserdata\n", apply, z, light)
  check.fails("Error: complex number " .. word .. " unrecognized userdata\n", apply, z, io.stdout)
  check.fails("Error: complex number " .. word .. " unrecognized type\n", apply, z, f)
  check.fails("Error: complex number " .. word .. " unrecognized type\n", apply, z, coroutine.create(f))

  -- A userdata of another type on the left: the stock argument error.
  check.failsWith("Complex_Type expected, got userdata", apply, io.stdout, z)
end
check.fails("Error: complex number plus character string\n", function() return z + "1" end)
check.fails("Error: complex number divided by character string\n", function() return z / "x" end)
check.fails("Error: complex number to the power string\n", function() return z ^ "2" end)

-- Inside tables the same messages come from the offending element.
check.fails("Error: boolean multiplied with complex number\n", function() return {1, {2, {true}}} * z end)
check.fails("Error: complex number minus boolean\n", function() return z - {1, {false}} end)

-- Library calls.
check.fails("bad argument #1 to 'Exp' (Complex_Type expected, got number)", function() return Complex.Exp(1) end)
check.fails("bad argument #1 to 'Exp' (Complex_Type expected, got no value)", function() return Complex.Exp() end)
check.fails("Can only take complex part of (complex) numbers", function() return Complex.Re("1") end)
check.fails("Can only take complex part of (complex) numbers", function() return Complex.Im({}) end)
check.fails("bad argument #2 to 'New' (number expected, got no value)", function() return Complex.New(1) end)
