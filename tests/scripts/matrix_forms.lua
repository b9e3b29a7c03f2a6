-- The two forms of a matrix: how tables are read, the result-form rule of
-- every call of Matrix and of every metamethod, indexing a userdata.
local check = require "check"
local mc = require "matrixcheck"
local isComplex, isTableForm, isUserdata = mc.isComplex, mc.isTableForm, mc.isUserdata

-- Real or complex on reading: |im| must exceed |re| * 2^-52 to count.
local R = Matrix.ToTable({{Complex.New(1, 1e-17), 2}})
check.eq(type(R[1][1]), "number", "1+1e-17 i read as real")
check.eq(R[1][1], 1, "its value")
local C = Matrix.ToTable({{Complex.New(0, 1e-300), 2}})
check.truthy(isComplex(C[1][1]), "0+1e-300 i stays complex")
-- A complex matrix shows every entry as a complex object, also real ones.
check.truthy(isComplex(C[1][2]), "real entry of a complex matrix")
check.eq(C[1][2].re, 2, "its value")
check.eq(C[1][2].im, 0, "its imaginary part")
check.eq(getmetatable(C[1]), nil, "rows carry no metatable")
-- A plain table without MatrixMeta is read as well; the empty table is 0 by 0.
check.eq(#Matrix.ToTable({}), 0, "empty matrix")

-- Reader failures.
check.fails("Error while reading matrix. Dimensions of rows not constant. 2 at first row 3 at row 2",
  Matrix.ToTable, {{1, 2}, {1, 2, 3}})
check.fails("Error while reading matrix. Dimensions of rows not constant. 3 at first row 1 at row 3",
  Matrix.ToUserdata, {{1, 2, 3}, {4, 5, 6}, {7}})
check.failsWith("Matrix_Type expected, got number", Matrix.ToTable, 3)
check.failsWith("Matrix_Type expected, got string", Matrix.Transpose, "M")
check.failsWith("Error in reading complex table", Matrix.ToTable, {{1, "x"}})

-- Result form: tables in, table form out; a userdata among the matrices
-- gives a userdata.
local T = setmetatable({{1, 2}, {3, 4}}, MatrixMeta)
local S = setmetatable({{2, 1}, {1, 2}}, MatrixMeta)
local U = Matrix.ToUserdata(T)
local function forms(what, f, ...)
  local args = {...}
  local withTables = {}
  local withUserdata = {}
  for k, a in ipairs(args) do
    withTables[k] = a
    withUserdata[k] = (type(a) == "table" and type(a[1]) == "table") and Matrix.ToUserdata(a) or a
  end
  check.truthy(isTableForm(f(table.unpack(withTables))), what .. " of tables is the table form")
  check.truthy(isUserdata(f(table.unpack(withUserdata))), what .. " of userdata is a userdata")
end
forms("AddSpin", Matrix.AddSpin, T)
forms("Conjugate", Matrix.Conjugate, T)
forms("ConjugateTranspose", Matrix.ConjugateTranspose, T)
forms("Enlarge", Matrix.Enlarge, T, 2)
forms("Exp", Matrix.Exp, S)
forms("Expand", Matrix.Expand, T, 3)
forms("Inverse", Matrix.Inverse, T)
forms("Rotate", Matrix.Rotate, T, S)
forms("Sqrt", Matrix.Sqrt, S)
forms("Sub", Matrix.Sub, T, 1)
forms("Transpose", Matrix.Transpose, T)
forms("unm", function(a) return -a end, T)
forms("pow", function(a) return a ^ 2 end, T)
forms("scale", function(a) return a * 2 end, T)
forms("divide", function(a) return a / 2 end, T)
forms("number over", function(a) return 2 / a end, T)
-- Two matrix arguments: either one being a userdata is enough.
check.truthy(isTableForm(Matrix.Identity(2) * 2), "Identity(2)*2")
check.truthy(isUserdata(Matrix.ToUserdata(T) * T), "userdata * table")
check.truthy(isUserdata(T * U), "table * userdata")
check.truthy(isUserdata(setmetatable({{1, 1}, {1, 1}}, MatrixMeta) + U), "table + userdata")
check.truthy(isUserdata(U - setmetatable({{1, 1}, {1, 1}}, MatrixMeta)), "userdata - table")
check.truthy(isUserdata(U / setmetatable({{1, 0}, {0, 1}}, MatrixMeta)), "userdata / table")
check.truthy(isUserdata(Matrix.Rotate(T, U)), "Rotate with a userdata rotation")
check.truthy(isUserdata(Matrix.Flatten({{U, 0}, {0, T}})), "Flatten with a userdata block")
check.truthy(isTableForm(Matrix.Flatten({{T, 0}, {0, T}})), "Flatten of tables")
-- Creating calls give the userdata form on request.
check.truthy(isTableForm(Matrix.Identity(2)), "Identity")
check.truthy(isUserdata(Matrix.Identity(2, {{"Userdata", true}})), "Identity as userdata")
check.truthy(isTableForm(Matrix.Zero(2, {{"Userdata", false}})), "Zero")
check.truthy(isUserdata(Matrix.Zero(2, {{"userdata", true}})), "Zero as userdata")
check.truthy(isUserdata(Matrix.Diagonal({1, 2}, {{"Userdata", true}})), "Diagonal as userdata")
check.truthy(isUserdata(Matrix.Random({0, 1}, {2, 2}, {{"Userdata", true}})), "Random as userdata")
check.truthy(isTableForm(Matrix.Random({0, 1}, {2, 2})), "Random")
check.failsWith("Unrecognized option \"Userdate\"", Matrix.Identity, 2, {{"Userdate", true}})

-- ToTable and ToUserdata: ToUserdata always copies.
local V = Matrix.ToUserdata(U)
check.truthy(isUserdata(V) and not rawequal(U, V), "ToUserdata of a userdata is a new one")
local back = Matrix.ToTable(V)
check.truthy(isTableForm(back), "ToTable gives the table form")
check.eq(back[2][1], 3, "ToTable entry")

-- Indexing a userdata: a row of a matrix of several rows is a userdata of
-- one row, an index of a single row gives the entry.
local U3 = Matrix.ToUserdata({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}})
check.truthy(isUserdata(U3[1]), "U3[1] is a userdata")
check.eq(U3[1][2], 2, "U3[1][2]")
check.eq(U3[3][3], 9, "U3[3][3]")
check.eq(U3[2.0000000000000004][1], 4, "an index within rounding of 2")
local Uc = Matrix.ToUserdata({{1, 2 * I}})
check.truthy(isComplex(Uc[1]) and Uc[1].re == 1 and Uc[1].im == 0, "complex entry with im 0")
check.eq(Uc[2].im, 2, "complex entry")
check.fails("Index of an Array should be an integer\n", function() return U3[1.5] end)
check.fails("Index of an Array should be positive (non-zero)\n", function() return U3[0] end)
check.fails("Index of an Array should be positive (non-zero)\n", function() return U3[-2] end)
check.fails("Index 4 larger then size of Array 3\n", function() return U3[4] end)
check.fails("Index 3 larger then size of Array 2\n", function() return Uc[3] end)
check.eq(U3.Transpose, Matrix.Transpose, "names are looked up in Matrix")
check.eq(U3.NoSuchThing, nil, "unknown names give nil")
check.eq(Matrix.ToTable(U3.Transpose(U3))[1][3], 7, "M.Transpose(M)")
check.eq(tostring(U3), "Matrix in userdata format use ToTable() in order to get a table form", "__tostring")

-- The numeric layer's records: a userdata is never changed by a call.
local before = Matrix.ToTable(U)
local _ = Matrix.Transpose(U), Matrix.Conjugate(U), -U, U * 3, U ^ 2, Matrix.Inverse(U)
check.eq(Matrix.ToTable(U)[1][2], before[1][2], "userdata unchanged")
check.eq(Matrix.ToTable(U)[2][1], before[2][1], "userdata unchanged")

-- Many short-lived userdata are collected without trouble.
for k = 1, 200 do local W = Matrix.Identity(20, {{"Userdata", true}}) * k end
collectgarbage()
