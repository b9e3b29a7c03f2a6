// Script faces of the orbital names and of the tables that lay shells on
// spin-orbitals.
#ifndef SKELDA_ATOMIC_ORBITALS_LUA_H
#define SKELDA_ATOMIC_ORBITALS_LUA_H

#include <lua.hpp>

#include <string>
#include <vector>

// OrbToMultiplicity(name): the number of fermionic states of the shell.
int LuaOrbToMultiplicity(lua_State* L);
// RelToNonRelOrbitals(list), NonRelToRelOrbitals(list): lists of names.
int LuaRelToNonRelOrbitals(lua_State* L);
int LuaNonRelToRelOrbitals(lua_State* L);

// CreateAtomicIndicesDict(names [, groups]) and CreateAtomicIndicesList(names
// [, options]): the spin-orbital numbers of each shell, and the number of
// fermions.  The dictionary holds name_Dn, name_Up and name for a
// non-relativistic shell, name for a relativistic one, then the groups "All"
// and "all" and the optional groups {groupName, {listOfOrbitals}}.  The list
// holds the down and up lists of a non-relativistic shell as two entries and
// one entry for a relativistic shell; the option kappas adds the field
// kappas with the kappa of each shell.
int LuaCreateAtomicIndicesDict(lua_State* L);
int LuaCreateAtomicIndicesList(lua_State* L);

// The steps of the two calls above, on the result table at stack index
// table.  lua_setAtomicOrbitalIndices adds the shell name at *runningIndex
// and advances it; a name that is no orbital is reported and skipped.
void lua_setAtomicOrbitalIndices(lua_State* L, const std::string& name, int* runningIndex, int table,
                                 bool dictionary);
void lua_setNonRelAtomicOrbitalIndices(lua_State* L, const std::string& name, int n,
                                       int* runningIndex, int table, bool dictionary);
void lua_setRelAtomicOrbitalIndices(lua_State* L, const std::string& name, int n, int* runningIndex,
                                    int table, bool dictionary);
// Adds the entry groupName to the dictionary at table: the index lists of
// the named entries one after the other.
void lua_groupOrbitals(lua_State* L, int table, const std::string& groupName,
                       const std::vector<std::string>& names);
// The shared body of the two script calls; pushes the table and the count.
int lua_createAtomicIndices(lua_State* L, bool dictionary);

#endif
