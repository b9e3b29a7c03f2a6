-- BlockBandDiagonalize: the block band form of a Hermitian matrix has the
-- same spectrum and an orthonormal transformation; on an operator it is the
-- block Lanczos chain; bad input is refused with its messages.
local check = require "check"
Verbosity(0)

local A = {{2, 1, 0, 0.5, 0.1, 0}, {1, 3, 0.2, 0, 0, 0.3}, {0, 0.2, -1, 0.3, 0.4, 0}, {0.5, 0, 0.3, 0.7, -0.2, 0.1},
  {0.1, 0, 0.4, -0.2, 1, 0.6}, {0, 0.3, 0, 0.1, 0.6, -0.5}}
for _, start in ipairs({2, {{1, 1, 0, 0, 0, 0}, {0, 0, 1, 0, -1, 0.5}}}) do
  local T, Q = BlockBandDiagonalize(A, start)
  local want = Eigensystem(setmetatable(A, MatrixMeta))
  local got = Eigensystem(T)
  for i = 1, 6 do check.near(got[i], want[i], 1e-10, "eigenvalue " .. i) end
  for i = 1, 6 do
    for j = 1, 6 do
      local s = 0
      for k = 1, 6 do s = s + Q[i][k] * Q[j][k] end
      check.near(s, i == j and 1 or 0, 1e-10, "orthonormal rows")
    end
  end
end

local H = NewOperator(4, 0, {{0, -2, -1}, {2, -0, -1}, {1, -3, -1}, {3, -1, -1}, {0, -0, 1, -1, 4}, {2, -2, 3, -3, 4}})
local psi = NewWavefunction(4, 0, {{"1001", 1}})
local T = BlockBandDiagonalize(H, {psi, NewWavefunction(4, 0, {{"0110", 1}})}, {{"NTri", 3}})
check.eq(T.type, "Tri", "block chain of an operator")

check.fails("BlockBandDiagonalize called with 1 arguments. Two or Three expected\n", BlockBandDiagonalize, A)
check.fails("Block size (6) should be smaller than dimension of matrix (6)\n", BlockBandDiagonalize, A, 6)
check.fails("Northo (1) should be an intereger of at least 2\n", BlockBandDiagonalize, A, 2, {{"NOrtho", 1}})
check.fails("BlockBandDiagonalize expects as a first argument either an operator or a square hermitian matrix",
  BlockBandDiagonalize, "x", 2)
print("done")
