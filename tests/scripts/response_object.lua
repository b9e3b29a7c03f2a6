-- The response-function object with scalar forms: both outfits, calls,
-- conversions, arithmetic, the globals and their messages.
local check = require "check"

-- G(w) = a0 + sum b / (w - a + i gamma/2), by hand.
local a0, E, W = 0.5, { -1, 2, 0.25 }, { 0.3, 0.6, 0.1 }
local function direct(w, gamma)
  local re, im = a0, 0
  for i = 1, #E do
    local d, g = w - E[i], gamma / 2
    re = re + W[i] * d / (d * d + g * g)
    im = im - W[i] * g / (d * d + g * g)
  end
  return re, im
end

local G = setmetatable({ { a0, E[1], E[2], E[3] }, W, type = "ListOfPoles", name = "G", mu = 0.1 },
  ResponseFunctionMeta)
local U = ToUserdata(G)
check.eq(type(U), "userdata", "ToUserdata")
check.eq(tostring(U), "ResponseFunction in userdata format use ToTable() in order to get a table form")

local function same(F, what, tol)
  for _, gamma in ipairs { 0.05, 0.7 } do
    for w = -3, 3, 0.45 do
      local z, re, im = F(w, gamma), direct(w, gamma)
      check.near(z.re, re, tol or 1e-12, what .. " re")
      check.near(z.im, im, tol or 1e-12, what .. " im")
    end
  end
end

-- The table and the userdata give the same numbers; (omega, gamma) may be a table.
same(G, "table")
same(U, "userdata")
same(function(w, g) return U({ w, g }) end, "call with a table")

-- Every form, in both outfits, is the same function.
for _, name in ipairs { "Tri", "And", "ListOfPoles", "NaturalImpurityOrbital", "Nat" } do
  local t, u = ChangeType(G, name), ChangeType(U, name)
  check.eq(type(t), "table", name .. " of a table")
  check.eq(getmetatable(t), ResponseFunctionMeta, name .. " metatable")
  check.eq(type(u), "userdata", name .. " of a userdata")
  same(t, name, 1e-10)
  same(u, name, 1e-10)
  same(ToUserdata(t), name .. " made userdata", 1e-10)
  local back = ChangeType(u, "Tri")
  same(back, name .. " back to a chain", 1e-10)
end
check.eq(ChangeType(G, "Tri").type, "Tri")
check.eq(ToTable(ChangeType(U, "Nat")).type, "NaturalImpurityOrbital")
check.eq(ToTable(ChangeType(G, "And")).name, "G")

-- Userdata and Table keep the form.
local T = ChangeType(G, "Tri")
check.eq(type(ChangeType(T, "Userdata")), "userdata")
check.eq(ToTable(ChangeType(T, "Userdata")).type, "Tri")
check.eq(ChangeType(ChangeType(T, "Userdata"), "Table").type, "Tri")
check.eq(ToTable(U).type, "ListOfPoles")
check.eq(ToTable(G)[1][4], 0.25)

-- ToUserdata of a userdata is a second record: either can go first.
do
  local A = ToUserdata(G)
  local B = ToUserdata(A)
  A = nil
  collectgarbage()
  same(B, "copy after the original is gone")
  local C = ToUserdata(B)
  C = nil
  collectgarbage()
  same(B, "original after the copy is gone")
end

-- Sums and differences are block lists of one orbital, whatever the forms.
local S = T + ChangeType(U, "And")
check.eq(type(S), "userdata", "a userdata operand gives a userdata")
local St = ToTable(S)
check.eq(St.type, "ListOfPoles")
check.eq(St.name, "Block List Of Poles")
check.eq(type(St[2][1]), "table", "weights are matrices")
for w = -2, 2, 0.5 do
  local z, re, im = S(w, 0.3), direct(w, 0.3)
  check.near(z[1][1].re, 2 * re, 1e-10, "sum")
  check.near(z[1][1].im, 2 * im, 1e-10, "sum")
  local d = (G - T)(w, 0.3)[1][1]
  check.near(d.re, 0, 1e-10, "difference")
  check.near(d.im, 0, 1e-10, "difference")
  local n = (-G)(w, 0.3)[1][1]
  check.near(n.re, -re, 1e-12, "negative")
end
check.eq(type(G + G), "table", "tables give a table")
check.eq(getmetatable(G + G), ResponseFunctionMeta)

-- Operators without a meaning print their name and give nothing.
local H = setmetatable({ { 0, 1 }, { 1 }, type = "ListOfPoles", name = "H", mu = 0 }, ResponseFunctionMeta)
check.eq(G * H, nil)
check.eq(G / 2, nil)
check.eq(G ^ 2, nil)
check.eq(G .. H, nil)
check.eq(G == H, false)
check.eq(G < H, false)
check.eq(G <= H, false)
check.eq(U * 2, nil)
check.eq(I * U, nil)
check.eq(2 * I * G, nil)

-- Reduction and mesh placing.
local R = ReducePoles(G, 2)
check.eq(#R[2], 2)
check.eq(R[1][1], a0)
check.near(R[2][1] + R[2][2], 1.0, 1e-15, "weight kept")
check.eq(type(ReducePoles(U, 1)), "userdata")
check.near(ToTable(ReducePoles(U, 1))[1][2], (-1 * 0.3 + 2 * 0.6 + 0.25 * 0.1), 1e-15, "first moment")
check.eq(#ReducePoles(G, 5)[2], 3, "more poles than there are")
local P = PlaceOnMesh(G, { -2, 0, 2 })
check.eq(P[1][2], -2)
check.eq(P[1][1], a0)
check.near(P[2][1] + P[2][2] + P[2][3], 1.0, 1e-15, "weight on the mesh")
check.near(-2 * P[2][1] + 2 * P[2][3], -1 * 0.3 + 2 * 0.6 + 0.25 * 0.1, 1e-15, "first moment on the mesh")

-- The suggested grid travels with the value.
local Gg = setmetatable({ { a0, E[1], E[2], E[3] }, W, type = "ListOfPoles", name = "G", mu = 0,
  SuggestedGrid = { -1, 0, 1 } }, ResponseFunctionMeta)
check.eq(#ToTable(ChangeType(ToUserdata(Gg), "Tri")).SuggestedGrid, 3)

-- Eigensystem of a response function: its poles, ascending, in any form.
for _, F in ipairs { G, U, T, ChangeType(U, "And"), ChangeType(G, "Nat") } do
  local ev = Eigensystem(F)
  check.eq(#ev, 3, "three poles")
  check.near(ev[1], -1, 1e-12, "pole")
  check.near(ev[2], 0.25, 1e-12, "pole")
  check.near(ev[3], 2, 1e-12, "pole")
end

-- Messages.
local call = "Call to a response-function should contain two elements, (omega, gamma) with omega the energy at " ..
    "which the response function is evaluated and gamma an imaginary ofset"
check.fails(call, U)
check.fails(call, U, 1)
check.fails(call, U, "a", 1)
check.fails(call, U, { 1 })
check.fails(call, G, 1, 2, 3)
check.fails("Error in ChangeType expected 2 arguments, not 1\n", ChangeType, G)
check.fails("Error in ChangeType, second argument needs to be a string containgin either: \"And\", \"Tri\", " ..
  "\"ListOfPoles\", \"NaturalImpurityOrbital\", \"Userdata\", \"Table\" and not Foo\n", ChangeType, G, "Foo")
check.fails("Error in ToTable expected a single argument, not 0\n", ToTable)
check.fails("Error in ToTable expected a single argument, not 2\n", ToTable, G, G)
check.fails("Error in ReducePoles: 1 argument(s), 2 expected (ListOfPoles, desired number of poles).\n",
  ReducePoles, G)
check.fails("Error in ReducePoles: 2nd argument should be the desired number of poles.\n", ReducePoles, G, "x")
check.fails("Error in ReducePoles: 2nd argument should be the desired number of poles.\n", ReducePoles, G, 1.5)
check.fails("Error in ReducePoles: 2nd argument should be the desired number of poles.\n", ReducePoles, G, 0)
check.fails("Error in ReducePoles: The input Green's function is of T type, it should be a ListOfPoles",
  ReducePoles, T, 1)
check.fails("Error in ReducePoles: The input Green's function is of a type, it should be a ListOfPoles",
  ReducePoles, ChangeType(U, "And"), 1)
check.fails("Error in PlaceOnMesh: 3 argument(s), 2 expected (ListOfPoles, desired list of grid points).\n",
  PlaceOnMesh, G, { 1, 2 }, 3)
check.fails("Error in PlaceOnMesh: the 2nd argument should be a list of energy grid points.\n", PlaceOnMesh, G, 1)
check.fails("Error in PlaceOnMesh: the 2nd argument should be a list of energy grid points.\n",
  PlaceOnMesh, G, { 1, "a" })
check.fails("Error in PlaceOnMesh: the 2nd argument should be a list of energy grid points.\n",
  PlaceOnMesh, G, { 2, 1 })
check.fails("Error in PlaceOnMesh: The first argument should be of type 'L'/'l' (ListOfPoles).\n",
  PlaceOnMesh, T, { 1, 2 })
check.failsWith("Error in ToTightBinding: tight-binding models are not available", ToTightBinding, U)
check.fails("Error in ToTightBinding expected a single argument, not 0\n", ToTightBinding)
check.fails("Error in ToUserdata expected a single argument, not 2\n", ToUserdata, G, G)

-- Reading a table.
check.fails("Error Green's function should be represented by a table", ChangeType, 5, "Tri")
check.fails("Error Reading Green's function without type declaration.", ToUserdata, { { 1 }, {} })
check.fails("Errorr reading Greens function of unknown type (Foo)", ToUserdata, { type = "Foo" })
check.fails("Error reading Green's function the length of the table is 0", ToUserdata, { type = "ListOfPoles" })
check.fails("Error reading Green's function: \"SuggestedGrid\" should be an table of doubles.", ToUserdata,
  { { 0, 1 }, { 1 }, type = "ListOfPoles", name = "x", mu = 0, SuggestedGrid = { 1, "a" } })
check.fails("Error Green's function should be represented by a table", function() return G + 1 end)
check.fails("Error Green's function should be represented by a table", function() return I + U end)
check.fails("Error in ResponseFunctionAdd: 1 argument(s), 2 expected.\n", getmetatable(U).__add, U)
check.fails("Error in ResponseFunctionAdd: 3 argument(s), 2 expected.\n", ResponseFunctionMeta.__sub, G, G, G)
print("done")
