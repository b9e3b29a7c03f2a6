-- The printouts: Statistics of an operator and of states,
-- PrintExpectationValues with its defaults and options, and the note of
-- BraketDiagonal on lists of unequal length.
local NF = 4
local H = NewOperator(NF, 0, {{0, -0, 1}, {1, -1, 2}, {2, -2, 3}, {3, -3, 4}, {0, -1, 0.5}, {1, -0, 0.5},
  {0, 1, -1, -0, 0.25}}, {{"Name", "H"}})
local N = NewOperator(NF, 0, {{0, -0, 1}, {1, -1, 1}, {2, -2, 1}, {3, -3, 1}}, {{"Name", "N"}})
local Sz = NewOperator(NF, 0, {{1, -1, 0.5}, {0, -0, -0.5}, {3, -3, 0.5}, {2, -2, -0.5}}, {{"Name", "Sz"}})
local hop = NewOperator(NF, 0, {{0, -1, I}}, {{"Name", "iC0A1"}})

local psi1 = NewWavefunction(NF, 0, {{"1000", 1}})
local psi2 = NewWavefunction(NF, 0, {{"0011", 1}})
local psi3 = NewWavefunction(NF, 0, {{"1000", math.sqrt(0.5)}, {"0100", math.sqrt(0.5)}})

Statistics(H)
Statistics(psi3)
Statistics(NewWavefunction(NF, 0, {{"1100", 0.9}, {"1010", 0.3}, {"1001", 0.05 * I}, {"0110", 1e-9}, {"0011", 0}}))

print("-- defaults")
PrintExpectationValues({psi1, psi2, psi3}, H, {N, Sz, hop})
print("-- options")
PrintExpectationValues({psi1, psi2, psi3}, H, {N, hop}, {{"printSigma", true}, {"sortByEnergy", true},
  {"colWidth", 10}, {"printHeaderEvery", 2}})
print("-- operators without H")
PrintExpectationValues({psi1, psi3}, {N, Sz}, {{"zero", 0.6}})
print("-- H alone, one state")
PrintExpectationValues(psi2, H)
print("-- a list of operators after H")
PrintExpectationValues({psi3}, H, Sz, {})

local d = BraketDiagonal({psi1, psi2, psi3}, N, {psi1, psi2})
print(#d, d[1], d[2])
