-- The global calls that act on matrices among other kinds: Inverse,
-- Conjugate, Transpose, ConjugateTranspose, Chop, Copy and Clone.  The
-- warning of Transpose goes to the standard output (see the .expected file).
local check = require "check"
local mc = require "matrixcheck"
local isComplex, isUserdata, same = mc.isComplex, mc.isUserdata, mc.same

local A = setmetatable({{1, 2}, {3, 4}}, MatrixMeta)
local Au = Matrix.ToUserdata(A)
local C = setmetatable({{1, 2 * I}, {3 - I, 4}}, MatrixMeta)
local Cu = Matrix.ToUserdata(C)

-- Inverse.
same(Inverse(A), {{-2, 1}, {1.5, -0.5}}, "Inverse of a table")
check.eq(getmetatable(Inverse(A)), MatrixMeta, "table form")
check.truthy(isUserdata(Inverse(Au)), "Inverse of a userdata is a userdata")
same(Inverse(Au), {{-2, 1}, {1.5, -0.5}}, "Inverse of a userdata")
check.fails("Inverse expects a single matrix as input", Inverse, A, A)
check.fails("Inverse expects a single matrix as input", Inverse)
check.fails("Inverse expects a single matrix as input", Inverse, 2)
check.fails("Inverse failed", Inverse, {{1, 2}, {2, 4}})
check.fails("Inverse failed", Inverse, {{1, 2, 3}})

-- Conjugate: numbers stay, complex numbers and matrices are conjugated, tables
-- go element by element and keep their metatable.
check.eq(Conjugate(2.5), 2.5, "Conjugate of a number")
local zc = Conjugate(1 + 2 * I)
check.truthy(isComplex(zc) and zc.re == 1 and zc.im == -2, "Conjugate of a complex number")
same(Conjugate(C), {{1, -2 * I}, {3 + I, 4}}, "Conjugate of a table")
check.eq(getmetatable(Conjugate(C)), MatrixMeta, "Conjugate keeps MatrixMeta")
check.truthy(isUserdata(Conjugate(Cu)), "Conjugate of a userdata")
same(Conjugate(Cu), {{1, -2 * I}, {3 + I, 4}}, "Conjugate of a userdata")
local nested = Conjugate({x = I, list = {1, -I}})
check.eq(nested.x.im, -1, "Conjugate by key")
check.eq(nested.list[2].im, 1, "Conjugate nested")
check.fails("Error: copying or cloning an object of unrecognised type\n", Conjugate, nil)
check.fails("Error: copying or cloning an object of unrecognised type\n", Conjugate, "text")

-- Transpose and ConjugateTranspose.
same(Transpose(C), {{1, 3 - I}, {2 * I, 4}}, "Transpose of a table")
check.eq(getmetatable(Transpose(C)), MatrixMeta, "Transpose keeps MatrixMeta")
same(Transpose({{1, 2, 3}}), {{1}, {2}, {3}}, "Transpose of a row")
check.truthy(isUserdata(Transpose(Cu)), "Transpose of a userdata")
same(Transpose(Cu), {{1, 3 - I}, {2 * I, 4}}, "Transpose of a userdata")
same(ConjugateTranspose(C), {{1, 3 + I}, {-2 * I, 4}}, "ConjugateTranspose of a table")
same(ConjugateTranspose(Cu), {{1, 3 + I}, {-2 * I, 4}}, "ConjugateTranspose of a userdata")
check.eq(ConjugateTranspose(I).im, -1, "ConjugateTranspose of a complex number")
check.eq(Transpose(3), 3, "Transpose of a number")
-- A block matrix of matrices transposes the blocks too.
local blocks = Transpose({{Au, 0}, {0, Au}})
same(blocks[1][1], {{1, 3}, {2, 4}}, "transposed block")
-- Rows of unequal length: a warning, then element by element.
print("-- unequal rows")
local ragged = Transpose({{1, 2}, {3}})
check.eq(ragged[1][2], 2, "elements kept")
check.eq(#ragged[2], 1, "shape kept")
local raggedC = ConjugateTranspose({{I, 2}, {3}})
check.eq(raggedC[1][1].im, -1, "elements conjugated")
print("-- a vector")
check.eq(Transpose({1, 2, 3})[3], 3, "a vector goes element by element without a warning")
check.fails("Error: copying or cloning an object of unrecognised type\n", Transpose, true)
check.fails("Error: copying or cloning an object of unrecognised type\n", ConjugateTranspose, print)

-- Chop: parts below the tolerance (default 1e-10) become 0; a complex number
-- or matrix left without imaginary parts becomes real.
check.eq(Chop(1e-12), 0, "Chop of a small number")
check.eq(Chop(0.5), 0.5, "Chop of a large number")
check.eq(Chop(1e-3, 1e-2), 0, "Chop with a tolerance")
check.eq(Chop(1 + 1e-12 * I), 1, "Chop of a complex number to a number")
local zchop = Chop(1e-12 + 2 * I)
check.truthy(isComplex(zchop) and zchop.re == 0 and zchop.im == 2, "Chop of a complex number")
local Cn = Matrix.ToUserdata({{1 + 1e-12 * I, 1e-11}, {3, 4 - 1e-13 * I}})
local Cc = Chop(Cn)
check.truthy(isUserdata(Cc), "Chop of a userdata")
local cct = Matrix.ToTable(Cc)
check.eq(type(cct[1][1]), "number", "chopped matrix is real")
check.eq(cct[1][2], 0, "small entry chopped")
-- With tolerance 3 every imaginary part of C goes, and 3 itself stays.
local c3 = Matrix.ToTable(Chop(Cu, 3))
check.eq(c3[2][1], 3, "Chop keeps parts at the tolerance")
check.eq(c3[1][1], 0, "Chop with a large tolerance")
check.eq(c3[2][2], 4, "Chop keeps larger parts")
local tc = Chop(setmetatable({{1e-12, 1}, {1, 1e-12}}, MatrixMeta))
check.eq(tc[1][1], 0, "Chop of a table")
check.eq(getmetatable(tc), MatrixMeta, "Chop keeps MatrixMeta")
check.fails("Error: Chop an object of unrecognised type\n", Chop, "x")
check.fails("Error: Chop an object of unrecognised type\n", Chop, nil)

-- Copy and Clone: new objects with the same contents.
local t = setmetatable({{1, 2}, {3, 4}, name = "t", z = I}, MatrixMeta)
local t2 = Copy(t)
check.eq(getmetatable(t2), MatrixMeta, "Copy keeps the metatable")
t2[1][1] = 99
t2.z.re = 5
check.eq(t[1][1], 1, "Copy is deep")
check.eq(I.re, 0, "copied complex numbers are new objects")
check.eq(t2.name, "t", "Copy keeps keys")
local U2 = Clone(Au)
check.truthy(isUserdata(U2) and not rawequal(U2, Au), "Clone of a userdata is a new userdata")
same(U2, {{1, 2}, {3, 4}}, "Clone of a userdata")
check.eq(Copy("s"), "s", "Copy of a string")
check.eq(Copy(7), 7, "Copy of a number")
check.fails("Error: copying or cloning an object of unrecognised type\n", Copy, print)
check.fails("Error: copying or cloning an object of unrecognised type\n", Clone, nil)
