-- Objects used after their finaliser ran by hand, and nonsense orders and
-- lengths: each gives a script error that pcall catches, at once.
local check = require "check"
local released = "Error: this object was released (its finaliser has run) and can not be used any more"

local O = NewOperator(4, 0, {{0, -1, 1.0}})
local dag = (NewOperator(4, 0, {{0, -1, 1.0}}))
local method = dag.Dag
getmetatable(dag).__gc(dag)
getmetatable(O).__gc(O)
check.failsWith(released, function() return O.Dag end)
check.failsWith("was not an operator", method)
check.failsWith("unrecognised type", Copy, O)
local psi = NewWavefunction(4, 0, {{"1100", 1}})
getmetatable(psi).__gc(psi)
check.failsWith(released, function() return psi * psi end)
check.eq(tostring(psi), "released object", "text of a released object")
local M = Matrix.ToUserdata({{1, 2}, {3, 4}})
getmetatable(M).__gc(M)
check.failsWith(released, function() return M[1] end)
check.failsWith(released, function() return M / {{1, 2, 3}, {4, 5, 6}} end)
local G = ToUserdata(setmetatable({{0, 1}, {1}, type = "ListOfPoles", name = "G", mu = 0}, ResponseFunctionMeta))
getmetatable(G).__gc(G)
check.failsWith(released, G, 0.1, 0.1)
collectgarbage()

local cases = {
  {"Error in math.SphericalBesselJ: l must be an integer from -100000 to 100000", SphericalBesselJ, 1e308, 0.5},
  {"Error in math.SphericalBesselJ: l must be an integer from -100000 to 100000", SphericalBesselJ, -2^31, 0.5},
  {"Error in math.Binomial: k must be an integer from -100000 to 100000", Binomial, 127, 1 / 0},
  {"Error in math.LaguerreL: n must be an integer from -100000 to 100000", LaguerreL, 2^32, 65, 0.5},
  {"Error in math.LaguerreL: l must be an integer from -100000 to 100000", LaguerreL, 0.5, 2^31, 0},
  {"table length -5 out of range", OrbitalRotationMatrix, {"2p"}, setmetatable({}, {__len = function() return -5 end})},
}
for _, c in ipairs(cases) do check.failsWith(c[1], table.unpack(c, 2)) end
-- Empty blocks copy nothing (the sanitizer build watches the pointers).
check.truthy(pcall(Matrix.Sub, Matrix.Identity(3), 2, 0), "an empty submatrix")
check.truthy(pcall(Matrix.Expand, {{}, {}, {}}, 3, 5), "expanding rows without elements")
print("done")
