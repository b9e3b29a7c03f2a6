-- Skelda quickstart: constants, energy units and a stopwatch.
TimeStart("quickstart")

-- Physical constants (SI) carry their units and a description.
local kB = PhysicalConstants.kB
print(kB)
print(string.format("kB = %.6e %s", kB.value, kB.units))

-- Energy units: every value is given in the standard unit, eV at start.
print(string.format("room temperature, 300 K = %.4f eV", 300 * EnergyUnits.K.value))
print(string.format("a 1 T field on a spin moment: muB B = %.4f meV", 1000 * EnergyUnits.T.value))

-- Change the standard unit, e.g. to wave numbers.
EnergyUnits.Set = "cm^-1"
print(string.format("1 eV = %.1f cm^-1", EnergyUnits.eV.value))
EnergyUnits.Set = "eV"

-- The table of all conversions: one row unit expressed in each column unit.
print(EnergyUnits)

TimeEnd("quickstart")
TimePrint()
