-- The text form of operators: tostring (print) with 14 decimals and the
-- wider fields of O.Print(); complex, real and constant lengths.
local O = NewOperator(3, 0, {{2, 0, -1, -0, 0.5}, {1, -2, -1.25}, {2.5}}, {{"Name", "text"}})
print(O)
print(NewOperator(2, 0, {{1, -0, 1 - 2 * I}, {0, -0, 1}}))
O.Print()
