-- random and randomseed: the same seed gives the same numbers, the ranges
-- are those of the stock functions, and so are the messages.
local check = require "check"

local function draw(n, ...)
  local t = {}
  for i = 1, n do t[i] = random(...) end
  return t
end

randomseed(2018)
local a = draw(20)
local b = draw(20, 6)
local c = draw(20, -3, 3)
RandomSeed(2018)
local a2 = draw(20)
local b2 = draw(20, 6)
local c2 = draw(20, -3, 3)
for i = 1, 20 do
  check.eq(a2[i], a[i], "random() after reseeding")
  check.eq(b2[i], b[i], "random(6) after reseeding")
  check.eq(c2[i], c[i], "random(-3,3) after reseeding")
  check.truthy(a[i] >= 0 and a[i] < 1, "random() in [0,1)")
  check.truthy(b[i] >= 1 and b[i] <= 6 and b[i] % 1 == 0, "random(6) in 1..6")
  check.truthy(c[i] >= -3 and c[i] <= 3 and c[i] % 1 == 0, "random(-3,3) in -3..3")
end

-- Another seed, another sequence.
math.randomseed(2019)
local d = draw(20)
local same = 0
for i = 1, 20 do if d[i] == a[i] then same = same + 1 end end
check.truthy(same < 20, "another seed gives other numbers")

check.eq(random(1), 1, "random(1)")
check.eq(random(4, 4), 4, "random(4,4)")
check.failsWith("(interval is empty)", random, 0.5)
check.failsWith("bad argument #2", random, 3, 2)
check.failsWith("(interval is empty)", random, 3, 2)
check.fails("wrong number of arguments", random, 1, 2, 3)
check.failsWith("number expected, got no value", randomseed)
