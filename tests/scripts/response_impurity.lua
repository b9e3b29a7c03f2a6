-- ImpurityGreensFunction: its argument checks, its options and its fixed
-- ending (the solver behind it is not written yet).
local check = require "check"

local H = NewOperator(2, 0, { { 1, -1, 1.0 }, { 0, -0, 0.5 } })
local T = NewOperator(2, 0, { { 1, -0, 1.0 } })
local psi = NewWavefunction(2, 0, { { "10", 1 } })
local G = setmetatable({ { 0, -1, 1 }, { 0.5, 0.5 }, type = "ListOfPoles", name = "G", mu = 0 },
  ResponseFunctionMeta)
local N = ChangeType(G, "NaturalImpurityOrbital")

check.fails("Error ImpurityGreensFunction called with 3 arguments, 4 or 5 expected\n",
  ImpurityGreensFunction, H, G, psi)
check.fails("Error ImpurityGreensFunction called with 6 arguments, 4 or 5 expected\n",
  ImpurityGreensFunction, H, G, psi, T, {}, 1)
check.failsWith("Operator_Type expected", ImpurityGreensFunction, 1, G, psi, T)
check.fails("Error ImpurityGreensFunction called with a table of wave-functions of length 0\n",
  ImpurityGreensFunction, H, G, {}, T)
-- An empty table of transition operators fails before the ground-state call.
check.fails("Error ImpurityGreensFunction called with a table of transition operators of length 0\n",
  ImpurityGreensFunction, H, G, { psi }, {})
check.fails("Error ImpurityGreensFunction called option RecalculatePsi = false but without a wave-function\n",
  ImpurityGreensFunction, H, G, nil, T, { { "RecalculatePsi", false } })
check.fails("Error ImpurityGreensFunction called option RecalculateNIO = false but without a hybridization"
  .. " function in natural impurity basis format\n",
  ImpurityGreensFunction, H, G, psi, T, { { "RecalculateNIO", false } })
check.failsWith("Unrecognized option \"NoSuchOption\"", ImpurityGreensFunction, H, G, psi, T, { { "NoSuchOption", 1 } })

-- A well-formed call with the default options prints "Hello world" and stops.
check.fails("Error in ImpurityGroundState in ImpurityGreensFunction fatal sorry, should not happen\n",
  ImpurityGreensFunction, H, G, psi, { T, T }, { { "NTri", 10 }, { "Epsilon", 1e-8 } })

-- With a recalculation switched off the call hands back the top three values.
local a, b, c = ImpurityGreensFunction(H, N, psi, T, { { "RecalculateNIO", false } })
check.eq(b, T, "second result")
check.eq(type(c), "table", "third result: the options")
check.eq(a, psi, "first result")
print("done")
