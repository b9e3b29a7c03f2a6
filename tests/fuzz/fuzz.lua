-- A seeded fuzzer of the script interface: every global function, the
-- functions of the library tables and the metamethods of every object kind
-- are called with random argument lists under pcall, finalisers are called
-- by hand now and then, and every thousand calls a few known results are
-- computed again, so that a corrupted state shows.  A crash or a hang is the
-- failure; script errors are the expected answers.
-- The seed and the number of calls come from the globals FUZZ_SEED and
-- FUZZ_CALLS when a wrapper sets them, else 1 and 20000.
local seed = rawget(_G, "FUZZ_SEED") or 1
local calls = rawget(_G, "FUZZ_CALLS") or 20000
math.randomseed(seed)
Verbosity(0)
local rand = math.random

-- Names that end the run, print without end, touch files outside the
-- working directory, or change the interpreter itself.
local skip = {
  print = true, dofile = true, loadfile = true, load = true, loadstring = true, require = true, error = true,
  collectgarbage = true, rawset = true, rawequal = true, setmetatable = true, getmetatable = true, module = true,
  pcall = true, xpcall = true, select = true, next = true, pairs = true, ipairs = true, unpack = true,
  Verbosity = true, warning = true, TimePrint = true, PrintExpectationValues = true, randomseed = true,
  Randomseed = true,
}
local skipTables = {_G = true, io = true, os = true, package = true, coroutine = true, debug = true, string = true,
  table = true, bit32 = true, EnergyUnits = true, PhysicalConstants = true}

local function Dimer()
  local H = NewOperator(4, 0, {{0, -2, -1}, {2, -0, -1}, {1, -3, -1}, {3, -1, -1}, {0, -0, 1, -1, 4}, {2, -2, 3, -3, 4}})
  local psi = NewWavefunction(4, 0, {{"1001", 1}})
  Eigensystem(H, psi)
  return psi * H * psi
end
local exactDimer = (4 - math.sqrt(32)) / 2

-- Values of every kind, made afresh so that a call that changes one in
-- place does not spoil the next.
local makers = {
  function() return nil end, function() return true end, function() return false end,
  function() return 0 end, function() return -1 end, function() return 1 end, function() return 2 end,
  function() return 2^31 end, function() return -2^31 end, function() return 2^53 end, function() return 1e308 end,
  function() return -1e308 end, function() return 0 / 0 end, function() return 1 / 0 end, function() return 0.5 end,
  function() return "" end, function() return "a" end, function() return "1100" end, function() return string.rep("x", 300) end,
  function() return "\0\1\255" end, function() return {} end, function() return {{}} end, function() return {1, 2, 3} end,
  function() return {{1, 2}, {3, 4}} end, function() return {{1, 0}, {0, 1}, type = "ListOfPoles"} end,
  function() local t = {}; t[1] = t; return t end, function() return {{"NTri", 3}} end,
  function() return {4, 0, {"1111", 2, 2}} end,
  function() return Complex.New(1, 2) end,
  function() return NewOperator(4, 0, {{0, -1, 1.0}, {1, -0, 1.0}}) end,
  function() return NewOperator(4, 0, {{0, -0, 1.0}}) end,
  function() return NewWavefunction(4, 0, {{"1100", 1}, {"0011", 0.5}}) end,
  function() return Matrix.ToUserdata({{1, 2}, {2, 1}}) end,
  function() return setmetatable({{1, 0}, {0, 2}}, MatrixMeta) end,
  function() return Spectra.FromTable({{{0, Complex.New(0, -1)}, {1, Complex.New(0, -0.5)}}}) end,
  function() return ToUserdata(setmetatable({{0, 1}, {1}, type = "ListOfPoles", name = "G", mu = 0}, ResponseFunctionMeta)) end,
  function() return print end,
}
local function Value() return makers[rand(#makers)]() end
local function Args()
  local n, a = rand(0, 6), {}
  for i = 1, n do a[i] = Value() end
  return a, n
end

-- The functions to call.
local targets = {}
for name, f in pairs(_G) do
  if type(f) == "function" and not skip[name] then targets[#targets + 1] = {name, f} end
  if type(f) == "table" and not skipTables[name] then
    for key, g in pairs(f) do
      if type(g) == "function" and not skip[key] then targets[#targets + 1] = {name .. "." .. key, g} end
    end
  end
end
table.sort(targets, function(x, y) return x[1] < y[1] end)

local ops = {
  function(a, b) return a + b end, function(a, b) return a - b end, function(a, b) return a * b end,
  function(a, b) return a / b end, function(a, b) return a ^ b end, function(a) return -a end,
  function(a, b) return a[b] end, function(a, b) a[b] = 1 end, function(a) return #a end,
  function(a) return tostring(a) end, function(a, b) return a(b) end,
  function(a) local mt = getmetatable(a); if type(mt) == "table" and type(mt.__gc) == "function" then mt.__gc(a) end end,
  function(a, b) local m = a[b]; if type(m) == "function" then return m(Value(), Value()) end end,
}
local methodNames = {"Dag", "Chop", "Print", "Broaden", "Element", "Sum", "Shift", "Normalize", "Conjugate",
  "Name", "NF", "NB", "N", "Emin", "Gamma", "Restrictions", "MultiplyByEnergy", "Randomize"}

-- Files written by the program, damaged (cut short, bytes flipped), read
-- back: wave functions in text and binary form and a stored variable.
local function ReadFile(name)
  local f = io.open(name, "rb")
  if not f then return nil end
  local t = f:read("*a")
  f:close()
  return t
end
local function WriteFile(name, text)
  local f = assert(io.open(name, "wb"))
  f:write(text)
  f:close()
end
local function Damage(text)
  if #text == 0 then return text end
  if rand() < 0.5 then return text:sub(1, rand(0, #text - 1)) end
  local chars = {text:byte(1, -1)}
  for _ = 1, rand(1, 4) do
    local k = rand(#chars)
    chars[k] = bit32.bxor(chars[k], 2 ^ rand(0, 7))
  end
  return string.char(table.unpack(chars))
end
local function DamagedFiles()
  local psi = NewWavefunction(6, 0, {{"110100", 1}, {"001011", Complex.New(0.5, 0.25)}})
  psi.Print({{"file", "fuzz_psi.txt"}})
  psi.Print({{"file", "fuzz_psi.bin"}, {"Binary", true}})
  fuzzvar = {1.5, "text", Complex.New(1, -1), psi}
  io.put("fuzzstore", "fuzzvar")
  for _, name in ipairs({"fuzz_psi.txt", "fuzz_psi.bin", "fuzzstore/fuzzvar.Skelda"}) do
    local text = ReadFile(name)
    if text then
      WriteFile(name, Damage(text))
      if name:find("Skelda") then
        pcall(io.get, "fuzzstore", "fuzzvar")
      else
        if name:find("bin") then
          pcall(Ulmen.ReadWavefunction, name, {{"Binary", true}})
        else
          pcall(Ulmen.ReadWavefunction, name)
        end
      end
    end
  end
end

local done, failures = 0, 0
for i = 1, calls do
  if rand() < 0.75 then
    local t = targets[rand(#targets)]
    local a, n = Args()
    pcall(t[2], table.unpack(a, 1, n))
  else
    local op = ops[rand(#ops)]
    local b = rand() < 0.5 and methodNames[rand(#methodNames)] or Value()
    pcall(op, Value(), b)
  end
  done = done + 1
  if i % 1000 == 0 then
    pcall(DamagedFiles)
    collectgarbage()
    local ok, e = pcall(Dimer)
    if not ok or math.abs(e - exactDimer) > 1e-10 then
      failures = failures + 1
      io.stderr:write("corrupted state after call " .. i .. ": " .. tostring(e) .. "\n")
    end
  end
end
Verbosity(15)
io.stdout:write(string.format("\nfuzz: seed %d, %d calls, %d corrupted checks\n", seed, done, failures))
if failures > 0 then os.exit(1) end
