// The script tables PhysicalConstants (CODATA-style constants in SI units,
// each with its units and a description) and EnergyUnits (ten energy units
// expressed in one standard unit that the script can change).
#ifndef SKELDA_BASE_UNITS_H
#define SKELDA_BASE_UNITS_H

#include <lua.hpp>

// Sets the global PhysicalConstants.  The stack is left as found.
void RegisterPhysicalConstants(lua_State* L);

// Sets the global EnergyUnits, with every value expressed in `standard`
// (the name or the symbol of one of the units, e.g. "eV" or "Rydberg").
// Raises a script error when `standard` is not one of them.  The stack is
// left as found.
void RegisterEnergyUnits(lua_State* L, const char* standard);

// Registers both tables with the standard unit eV and leaves them on the
// stack (PhysicalConstants, then EnergyUnits); returns 2.
int luaopen_units(lua_State* L);

// Metamethods.
int PhysicalConstantsToString(lua_State* L);     // one entry: value, units, description
int AllPhysicalConstantsToString(lua_State* L);  // the whole PhysicalConstants list
int PhysicalConstantsFailed(lua_State* L);       // __index of PhysicalConstants: unknown name
int EnergyUnitsIndex(lua_State* L);              // __index of EnergyUnits: unknown name
int EnergyUnitsNewIndex(lua_State* L);           // EnergyUnits.Set = "unit"
int AllEnergyUnitsToString(lua_State* L);        // the conversion table between all units

#endif
