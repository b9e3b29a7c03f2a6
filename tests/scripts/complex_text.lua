-- Text form of complex numbers: the interpreter's number format for each
-- part, a plain number when the imaginary part is zero.
local check = require "check"

local function text(want, value)
  check.eq(tostring(value), want, "text of " .. want)
end

text("-1", I * I)
text("(3 + 2 I)", 3 + 2 * I)
text("(1 - 0.5 I)", 1 - 0.5 * I)
text("0", Complex.New(0, -0.0))
text("0", I - I)
text("(-1.25 + 1e-20 I)", Complex.New(-1.25, 1e-20))
text("(0 - inf I)", Complex.New(0, -math.huge))
text("(0.33333333333333 + 1e+15 I)", Complex.New(1 / 3, 1e15))
text("(0 + 1 I)", Complex.I())
text("(-1 + 2 I)", -Complex.New(1, -2))
check.truthy(tostring(Complex.New(2, 0 / 0)):find("^%(2 %+ %-?nan I%)$"), "NaN imaginary part")
text("(0 + 2 I)|(1e+15 - 1e-15 I)", string.format("%s|%s", I * 2, Complex.New(1e15, -1e-15)))
text("{ (0 + 1 I) , \n  { (0 + 2 I) , (0 + 3 I) } }", {1, {2, 3}} * I)
text("{ (0 - 2 I) }", I + {Complex.New(0, -3)})
