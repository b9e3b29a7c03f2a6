-- warning() prints the script position and the script goes on.
local check = require "check"
check.fails("bad argument #1 to 'warning' (string expected, got nil)", function() warning(nil) end)
check.fails("bad argument #1 to 'warning' (string expected, got table)", function() warning({}) end)

warning("x")
warning(42)
print("still running")
