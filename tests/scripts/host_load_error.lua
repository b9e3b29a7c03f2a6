-- expect-status: 1
-- A script that does not parse: the message goes to the standard output.
local x = = 1
