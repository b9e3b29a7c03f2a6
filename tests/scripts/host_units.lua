-- Physical constants and energy units: printed forms, values against
-- physical identities, EnergyUnits.Set and the error messages.
local check = require "check"
local PC = PhysicalConstants

print(PC.kB)
print(EnergyUnits)

local function rel(got, want, tol, what)
  check.near(got / want, 1, tol, what)
end

-- Fifty entries, each with a value, its units and a description.
local n = 0
for name, entry in pairs(PC) do
  n = n + 1
  check.eq(type(entry.value), "number", name .. ".value")
  check.eq(type(entry.units), "string", name .. ".units")
  check.eq(type(entry.description), "string", name .. ".description")
end
check.eq(n, 50, "number of physical constants")

-- The constants agree with the relations between them (CODATA 2014 values).
rel(PC.hbar.value, PC.h.value / (2 * pi), 1e-8, "hbar = h / 2 pi")
rel(PC.a0.value, PC.hbar.value / (PC.me.value * PC.c.value * PC.alpha.value), 1e-8, "a0")
rel(PC.muB.value, PC.e.value * PC.hbar.value / (2 * PC.me.value), 1e-8, "muB")
rel(PC.re.value, PC.alpha.value ^ 2 * PC.a0.value, 1e-8, "classical electron radius")
rel(PC.R.value, PC.NA.value * PC.kB.value, 1e-7, "R = NA kB")
rel(PC.F.value, PC.NA.value * PC.e.value, 1e-8, "F = NA e")
rel(PC.mu0.value * PC.epsilon0.value * PC.c.value ^ 2, 1, 1e-14, "mu0 epsilon0 c^2")

-- Energies in eV, by name and by symbol.
local EU = EnergyUnits
rel(EU.Kelvin.value, PC.kB.value / PC.e.value, 1e-9, "Kelvin in eV")
check.eq(EU.K.value, EU.Kelvin.value, "K and Kelvin")
check.eq(EU.eV.value, 1, "eV in eV")
check.eq(EU.K.units, "eV", "units")
check.eq(EU.K.description, "kB Boltzmann constant in units of electron Volt", "description")
rel(EU.Ryd.value, PC.me.value * (PC.alpha.value * PC.c.value) ^ 2 / 2 / PC.e.value, 1e-8, "Rydberg in eV")
rel(EU.percm.value, 100 * PC.h.value * PC.c.value / PC.e.value, 1e-9, "cm^-1 in eV")
rel(EU.THz.value, 1e12 * PC.h.value / PC.e.value, 1e-9, "THz in eV")
rel(EU.T.value, PC.muB.value / PC.e.value, 1e-9, "Tesla in eV")
check.eq(tostring(EU.eV), "-- eV\n 1.000000000000000E+00 --[[ The amount of energy gained (or lost) by the charge "
  .. "of a single electron moved across an electric potential difference of one volt in units of electron Volt ]]--",
  "text of one unit")

-- A new standard unit, by symbol or by name; a local alias sees it too.
EnergyUnits.Set = "Ryd"
check.eq(EnergyUnits.eV.value, 1.6021766207999999e-19 / 2.179872324952945e-18, "eV in Ryd")
check.eq(EU.Rydberg.value, 1, "Rydberg in Ryd")
check.near(EU.Ha.value, 2, 1e-15, "Hartree in Ryd")
check.eq(EU.J.units, "Ryd", "units after Set")
check.eq(EU.Ha.description, "Hartree energy (2 Rydberg) in units of Rydberg", "description after Set")
EnergyUnits.Set = "electron Volt"
check.eq(EU.eV.value, 1, "back to eV")

local setMsg = "You can change the standard Units in EnergyUnits by EnergyUnits.Set, no other options are available:"
check.fails("EnergyUnits tried to set standard unit: ev, but this unit does not excist",
  function() EnergyUnits.Set = "ev" end)
check.fails(setMsg, function() EnergyUnits.Set = 3 end)
check.fails(setMsg, function() EnergyUnits.set = "eV" end)
check.fails(setMsg, function() EnergyUnits.mine = { value = 1 } end)
check.eq(EU.eV.value, 1, "a failed Set changes nothing")
check.fails("EnergyUnits does not have the element: foo", function() return EnergyUnits.foo end)
check.fails("PhysicalConstants does not have the element: foo", function() return PhysicalConstants.foo end)
