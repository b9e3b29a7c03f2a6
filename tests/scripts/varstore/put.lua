-- First run of the variable store: save variables of every kind, check the
-- stored texts and the messages.  get.lua reads the store in a second run.
local check = require "check"
local values = require "values"

local function fileText(path)
  local f = assert(io.open(path))
  local text = f:read("*a")
  f:close()
  return text
end

x = 3
io.put("store", "x")
check.eq(fileText("store/x.Skelda"), "x = 3", "text of x")

-- Shortest exact digits; capitals in the name become ^ and a small letter.
NameX = 0.1
io.put("store", "NameX", "ASCII")
check.eq(fileText("store/^name^x.Skelda"), "NameX = 0.1", "text of NameX")
third, sum = 1/3, 0.1 + 0.2
io.put("store", "third")
io.put("store", "sum")
check.eq(fileText("store/third.Skelda"), "third = 0.3333333333333333", "text of third")
check.eq(fileText("store/sum.Skelda"), "sum = 0.30000000000000004", "text of sum")

numbers = values.numbers()
tab = values.table()
z = values.complex()
M = Matrix.ToUserdata(values.matrix)
Mt = setmetatable(values.matrix, MatrixMeta)
psi = values.wavefunction()
keyed = {[{1, 2}] = "table key"}
O = values.operator()
S = values.spectra()
for _, name in ipairs{"numbers", "tab", "z", "M", "Mt", "psi", "keyed", "O", "S"} do io.put("store", name) end

-- Refused values leave an older file as it was.
x = {1, print}
check.fails("Error in LuaASCIIStreamPrint unrecognized type of function\n", io.put, "store", "x")
check.eq(fileText("store/x.Skelda"), "x = 3", "text of x after a failed put")
x = {coroutine.create(print)}
check.fails("Error in LuaASCIIStreamPrint unrecognized type of thread\n", io.put, "store", "x")
x = io.stdout
check.fails("Error in LuaASCIIStreamPrint unrecognized type of user data\n", io.put, "store", "x")
x = {}
x.self = x
check.fails("Error in LuaASCIIStreamPrint a table that contains itself can not be stored\n", io.put, "store", "x")
x = 3

-- Messages.
check.fails("io.put caled with 1 arguments, 2 (file name, variable name) or 3 (file name, variable name, "
  .. "file type) arguments expected.\n", io.put, "store")
check.fails("io.put caled with 4 arguments, 2 (file name, variable name) or 3 (file name, variable name, "
  .. "file type) arguments expected.\n", io.put, "store", "x", "ASCII", 1)
for _, bad in ipairs{"2x", "a-b", ""} do
  check.fails(bad .. " is not a valid token for a variable name in Skelda (only alpha numerical characters "
    .. "and '_' are allowed)\n", io.put, "store", bad)
end
check.fails("2x is not a valid token for a variable name in Skelda (only alpha numerical characters and '_' "
  .. "are allowed)\n", io.get, "store", "2x")
io.put("store", "undefinedvar")
check.eq(io.open("store/undefinedvar.Skelda"), nil, "file of an undefined variable")
check.fails("tried to put variable x to file store of indecated type hdf5, but file is of type ASCII ",
  io.put, "store", "x", "hdf5")
check.fails("hdf5 file format not finished\n", io.put, "newstore", "x", "hdf5")
check.fails("Tried to put variable to new file of unrecognized type binary\n", io.put, "newstore", "x", "binary")
check.eq(io.open("newstore"), nil, "store of a refused type")
check.fails("Tried to open file check.lua for reading with get, but filetype not recognized\n",
  io.put, "check.lua", "x")
check.fails("Tried to open file check.lua for reading with get, but filetype not recognized\n",
  io.get, "check.lua", "x")
check.fails("Tried to open file missing for reading, but file does not excists\n", io.get, "missing", "x")
check.fails("io.put failed", io.put, "missing/store", "x")
check.fails("io.get failed", io.get, "store", "neverput")
