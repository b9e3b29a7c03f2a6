-- Globals set at start-up and the denormal mode.
local check = require "check"
check.eq(pi, 3.141592653589793, "pi")
check.eq(Pi, pi, "Pi")
check.eq(e, 2.718281828459045, "e")
check.eq(E, e, "E")
check.eq(inf, math.huge, "inf")
check.truthy(1e-320 * 1.0 == 0, "denormals read as zero")
check.eq(_VERSION, "Lua 5.2", "_VERSION")
-- Compatibility names of the interpreter build.
check.truthy(loadstring and unpack and table.maxn and math.pow and math.log10, "compat names")
