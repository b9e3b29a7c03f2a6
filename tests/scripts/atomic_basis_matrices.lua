-- Basis-change matrices of atomic shells against closed-form harmonics and
-- angular-momentum eigenvalues, unitarity, argument forms and messages.
local check = require "check"

local sqrt, sin, cos, pi = math.sqrt, math.sin, math.cos, math.pi
local function re(z) return type(z) == "number" and z or Complex.Re(z) end
local function im(z) return type(z) == "number" and 0 or Complex.Im(z) end

local function unitary(M, what)
  local P = M * ConjugateTranspose(M)
  for i = 1, #M do
    for j = 1, #M do
      check.near(re(P[i][j]), i == j and 1 or 0, 1e-14, what .. " unitary re")
      check.near(im(P[i][j]), 0, 1e-14, what .. " unitary im")
    end
  end
end

local function same(A, B, what)
  check.eq(#A, #B, what .. " rows")
  for i = 1, #B do
    check.eq(#A[i], #B[i], what .. " columns")
    for j = 1, #B[i] do
      check.near(re(A[i][j]), re(B[i][j]), 1e-14, what .. " re")
      check.near(im(A[i][j]), im(B[i][j]), 1e-14, what .. " im")
    end
  end
end

-- Spherical harmonics with the Condon-Shortley phase (Y_1^1 carries a minus
-- sign), m ascending, and the real combinations they must give.
local function Y1(t, p)
  local c = sqrt(3 / (8 * pi)) * sin(t)
  return {c * (cos(p) - I * sin(p)), sqrt(3 / (4 * pi)) * cos(t), -c * (cos(p) + I * sin(p))}
end
local function Y2(t, p)
  local a, b = sqrt(15 / (32 * pi)) * sin(t) ^ 2, sqrt(15 / (8 * pi)) * sin(t) * cos(t)
  local function e(k) return cos(k * p) + I * sin(k * p) end
  return {a * e(-2), b * e(-1), sqrt(5 / (16 * pi)) * (3 * cos(t) ^ 2 - 1), -b * e(1), a * e(2)}
end
local function real1(t, p)
  local c = sqrt(3 / (4 * pi))
  return {x = c * sin(t) * cos(p), y = c * sin(t) * sin(p), z = c * cos(t)}
end
local function real2(t, p)
  local c, s, st = sqrt(15 / (4 * pi)), sin(t), cos(t)
  return {xy = c * s * s * sin(p) * cos(p), yz = c * s * st * sin(p), xz = c * s * st * cos(p),
    z2 = sqrt(5 / (16 * pi)) * (3 * st * st - 1), x2y2 = c / 2 * s * s * cos(2 * p)}
end

-- Each row of M, applied to the Y functions, is the named real function.
local function rowsAre(M, Y, real, names, what)
  for _, tp in ipairs({{0.3, 1.1}, {1.2, -2.5}, {2.9, 0.4}}) do
    local y, r = Y(tp[1], tp[2]), real(tp[1], tp[2])
    for i, name in ipairs(names) do
      local s = 0
      for m = 1, #y do s = s + M[i][m] * y[m] end
      check.near(re(s), r[name], 1e-14, what .. " " .. name .. " re")
      check.near(im(s), 0, 1e-14, what .. " " .. name .. " im")
    end
  end
end

local noSpin = {{"addSpin", false}}
rowsAre(YtoZMatrix(6, noSpin), Y1, real1, {"y", "z", "x"}, "Z p")
rowsAre(YtoZMatrix("3d", noSpin), Y2, real2, {"xy", "yz", "z2", "xz", "x2y2"}, "Z d")
rowsAre(YtoKMatrix({6}, noSpin), Y1, real1, {"x", "y", "z"}, "K p")
rowsAre(YtoKMatrix({"d"}, noSpin), Y2, real2, {"x2y2", "z2", "yz", "xz", "xy"}, "K d")

-- With spin (the default) each entry becomes a 2-by-2 identity block.
local Z3, Z6 = YtoZMatrix(6, noSpin), YtoZMatrix(6)
check.eq(#Z6, 6, "p with spin")
for i = 0, 5 do
  for j = 0, 5 do
    local want = (i % 2 == j % 2) and Z3[math.floor(i / 2) + 1][math.floor(j / 2) + 1] or 0
    check.near(re(Z6[i + 1][j + 1]), re(want), 0, "spin block re")
    check.near(im(Z6[i + 1][j + 1]), im(want), 0, "spin block im")
  end
end

-- jjz rows: eigenvectors of J^2 (j = l-1/2 first, then l+1/2) and of Jz
-- (ascending), on spin-orbitals 2(m+l)+s with s = 0 down, 1 up.
local function jjzRows(l)
  local M = YtojjzMatrix(2 * (2 * l + 1))
  local n, row = 2 * (2 * l + 1), 0
  for _, j in ipairs({l - 0.5, l + 0.5}) do
    for jz = -j, j do
      row = row + 1
      local v, Jv = M[row], {}
      for k = 1, n do Jv[k] = 0 end
      for k = 0, n - 1 do
        local m, s = math.floor(k / 2) - l, k % 2
        check.truthy(v[k + 1] == 0 or math.abs(m + s - 0.5 - jz) < 1e-12, "jz of row")
        Jv[k + 1] = Jv[k + 1] + (l * (l + 1) + 0.75 + 2 * m * (s - 0.5)) * v[k + 1]
        if s == 1 and m < l then -- L+ S- : (m, up) -> (m+1, down)
          Jv[k + 2] = Jv[k + 2] + sqrt(l * (l + 1) - m * (m + 1)) * v[k + 1]
        elseif s == 0 and m > -l then -- L- S+ : (m, down) -> (m-1, up)
          Jv[k] = Jv[k] + sqrt(l * (l + 1) - m * (m - 1)) * v[k + 1]
        end
      end
      for k = 1, n do check.near(Jv[k], j * (j + 1) * v[k], 1e-14, "J^2 of row") end
    end
  end
  return M
end
unitary(jjzRows(1), "jjz p")
unitary(jjzRows(2), "jjz d")
same(YtojjzMatrix("s"), Matrix.Identity(2), "jjz s")

-- Every argument form; lists lay the shells on the diagonal.
for _, M in ipairs({YtoZMatrix(2), YtoZMatrix(10), YtoZMatrix("6"), YtoKMatrix(14),
  YtoKMatrix({"1s", "2p", "3d", "4f"}), YtoZMatrix({6, 10}, {{"addSpin", false}})}) do
  unitary(M, "Y to real")
end
same(YtoZMatrix({"2p", "3d"}), YtoZMatrix({6, 10}), "names and numbers")
same(YtoKMatrix({"6"}, nil), YtoKMatrix(6), "numeric string, nil options")
check.eq(#YtoKMatrix({"1s", "2p", "3d", "4f"}), 32, "four shells")
check.eq(#YtojjzMatrix({6, 10}), 16, "two relativistic shells")

-- Orbital rotations: a shell to its j partners is the jjz matrix, back is
-- its conjugate transpose, and a reordering permutes whole shells.
same(OrbitalRotationMatrix({"2p"}, {"2p1/2", "2p3/2"}), YtojjzMatrix(6), "p to j")
same(OrbitalRotationMatrix({"3d5/2", "3d3/2"}, {"3d"}),
  ConjugateTranspose(OrbitalRotationMatrix({"3d"}, {"3d5/2", "3d3/2"})), "j to d")
local P = OrbitalRotationMatrix({"3d", "2s"}, {"2s", "3d"})
unitary(P, "permutation")
check.eq(P[1][11], 1, "2s moves to the front")
check.eq(P[3][1], 1, "3d follows")
unitary(OrbitalRotationMatrix({"1s", "2p1/2", "3d", "2p3/2"}, {"3d3/2", "2p", "3d5/2", "1s"}),
  "mixed rotation")

-- Messages.
check.fails("YtoZMatrix called with 0 arguments. 1 or 2 expected, multiplicity of orbital, or list of "
  .. "multiplicities, or orbital name, or list of orbital names, and an optional list of options.\n",
  YtoZMatrix)
check.fails("YtoKMatrix called with 3 arguments. 1 or 2 expected, multiplicity of orbital, or list of "
  .. "multiplicities, or orbital name, or list of orbital names, and an optional list of options.\n",
  YtoKMatrix, 6, {}, 1)
check.fails("Second argument of YtoZMatrix is optional but iff given should be a list of options.\n",
  YtoZMatrix, 6, true)
check.fails("Second argument of YtoKMatrix is optional but iff given should be a list of options.\n",
  YtoKMatrix, 6, {"addSpin", false})
check.fails("YtoJJZMatrix called with 2 arguments. Exactly 1 expected, multiplicity of orbital, or "
  .. "list of multiplicities, or orbital name, or list of orbital names.\n", YtojjzMatrix, 6, noSpin)
check.fails("RotationMatrix called with 1 arguments. Exactly 2 expected, list of old orbitals and list "
  .. "of new orbitals.\n", OrbitalRotationMatrix, {"2p"})

-- Shells without a table print a line and give a 1-by-1 zero matrix.
print("-- no table")
same(YtoZMatrix(14), {{0}}, "Z f")
same(YtojjzMatrix(14), {{0}}, "jjz f")
same(YtoKMatrix(7), {{0}}, "K 7")
print("-- rotation failures")
for _, lists in ipairs({{{"2p", "2p"}, {"2p"}}, {{"2p"}, {"3d"}}, {{"2p"}, {"3p1/2", "3p3/2"}}}) do
  check.fails("Could not create rotation matrix.\n", OrbitalRotationMatrix, lists[1], lists[2])
end
