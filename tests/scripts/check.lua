-- Assertions for script tests: each failure raises an error, so the script
-- exits with status 1 and the runner reports it.
local check = {}

local function fail(msg, level)
  error(msg, (level or 1) + 2)
end

function check.eq(got, want, what)
  if got ~= want then
    fail(string.format("%s: got %s, expected %s", what or "value", tostring(got), tostring(want)))
  end
end

function check.near(got, want, tol, what)
  tol = tol or 1e-12
  if type(got) ~= "number" or math.abs(got - want) > tol then
    fail(string.format("%s: got %.17g, expected %.17g (tolerance %g)", what or "value",
      tonumber(got) or 0/0, want, tol))
  end
end

function check.truthy(v, what)
  if not v then fail((what or "condition") .. " is false") end
end

-- Runs f(...) and requires that it raises exactly the message msg (the
-- position prefix "file:line: " that error() adds is ignored).
function check.fails(msg, f, ...)
  local ok, err = pcall(f, ...)
  if ok then fail("expected the error: " .. msg) end
  err = tostring(err)
  local bare = err:gsub("^[^:]*:%d+: ", "")
  if err ~= msg and bare ~= msg then
    fail(string.format("wrong error\n  got:      %q\n  expected: %q", err, msg))
  end
end

-- Like check.fails, but the message only has to contain the text part.
function check.failsWith(part, f, ...)
  local ok, err = pcall(f, ...)
  if ok then fail("expected an error containing: " .. part) end
  if not tostring(err):find(part, 1, true) then
    fail(string.format("wrong error\n  got:      %q\n  expected it to contain: %q", tostring(err), part))
  end
end

return check
