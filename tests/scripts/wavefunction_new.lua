-- NewWavefunction: the accepted forms of determinants, prefactors and
-- options, the error messages, and the readable text of a state.
local check = require "check"

-- Determinants as text (blanks skipped) or as byte tables; repeats sum.
local psi = NewWavefunction(10, 0, {{"11 00 00 00 01", 0.5}, {{0x03, 0x00}, -2}, {"1100000001", "1.5"}})
print(psi)

-- Options: a name and a key width; a plain number in their place is ignored.
print(NewWavefunction(4, 0, {{"0110", 1}}, {{"Name", "phi"}, {"NBitsKey", 2}}))
print(NewWavefunction(4, 0, {{"0001", 1}}, 3))

-- One Complex prefactor makes the whole state complex, also with a zero
-- imaginary part.
print(NewWavefunction(4, 0, {{"1100", 1}, {"0011", 0.5 - 2 * I}}))
print(NewWavefunction(4, 0, {{"1100", Complex.New(3, 0)}}))

-- An empty list gives an empty real state.
print(NewWavefunction(3, 0, {}))

-- Padding bits of a byte table are cleared with a warning; a malformed text
-- is reported and read as far as it goes.
print(NewWavefunction(4, 0, {{{0xFF}, 1}}))
print(NewWavefunction(4, 0, {{"1x01", 1}}))

-- Messages.
check.fails("Bosons not included in this version\n Sorry\n", NewWavefunction, 4, 1, {})
check.fails("ERROR: LuaNewWaveFunction called with 2 arguments, expectd 3 or 4\n", NewWavefunction, 4, 0)
check.fails("ERROR: LuaNewWaveFunction called with 5 arguments, expectd 3 or 4\n", NewWavefunction, 4, 0, {}, {}, 1)
check.fails("bad argument #1 to 'NewWavefunction' (number expected, got string)",
  function() NewWavefunction("four", 0, {}) end)
check.fails("bad argument #3 to 'NewWavefunction' (table expected, got number)",
  function() NewWavefunction(4, 0, 7) end)
check.fails("Error in LuaWavefunctionNew, determinant number 2 is not of the form {Determinant,prefactor}\n",
  NewWavefunction, 4, 0, {{"1100", 1}, {"1100"}})
check.fails("Error in LuaWavefunctionNew, determinant number 1 is not of the form {Determinant,prefactor}\n",
  NewWavefunction, 4, 0, {"1100", 1})
check.fails("Error in LuaWavefunctionNew, length of string(3) different from NFermion(4)+2*NBoson(0)\n",
  NewWavefunction, 4, 0, {{"110", 1}})
check.fails("Error in LuaWavefunctionNew, determinant number 1 should be a table of 2 words\n",
  NewWavefunction, 10, 0, {{{1}, 1}})
check.fails("Error in option 1, Unrecognized option \"Foo\"\n Possible values for options are:\nName [char*]\nNBitsKey [uint32_t]\n",
  NewWavefunction, 4, 0, {}, {{"Foo", 1}})
check.fails("bad argument #-1 to 'NewWavefunction' (Complex_Type expected, got boolean)",
  function() NewWavefunction(4, 0, {{"1100", true}}) end)

-- States no longer referenced are collected.
for k = 1, 200 do
  local tmp = NewWavefunction(64, 0, {{string.rep("1", 32) .. string.rep("0", 32), k}})
end
collectgarbage()
print("done")
