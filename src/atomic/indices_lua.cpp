// CreateAtomicIndicesDict and CreateAtomicIndicesList: the spin-orbital
// numbers of a list of shells as script tables.
#include <cstdio>

#include "atomic/orbitals.h"
#include "atomic/orbitals_lua.h"
#include "base/options.h"

namespace {

// Pushes the list first, first + step, ... of n numbers.
void PushIndexList(lua_State* L, int first, int step, int n) {
    lua_createtable(L, n, 0);
    for (int i = 0; i < n; i++) {
        lua_pushinteger(L, first + i * step);
        lua_rawseti(L, -2, i + 1);
    }
}

// Stores the value on top of the stack under name (dictionary) or as the
// next list entry, and pops it.
void StoreEntry(lua_State* L, const std::string& name, int table, bool dictionary) {
    if (dictionary) {
        lua_setfield(L, table, name.c_str());
    } else {
        lua_rawseti(L, table, static_cast<int>(lua_rawlen(L, table)) + 1);
    }
}

bool HasField(lua_State* L, int table, const std::string& name) {
    lua_getfield(L, table, name.c_str());
    bool present = !lua_isnil(L, -1);
    lua_pop(L, 1);
    return present;
}

}  // namespace

void lua_setNonRelAtomicOrbitalIndices(lua_State* L, const std::string& name, int n,
                                       int* runningIndex, int table, bool dictionary) {
    PushIndexList(L, *runningIndex, 2, n);
    StoreEntry(L, name + "_Dn", table, dictionary);
    PushIndexList(L, *runningIndex + 1, 2, n);
    StoreEntry(L, name + "_Up", table, dictionary);
    if (dictionary) lua_groupOrbitals(L, table, name, {name + "_Dn", name + "_Up"});
    *runningIndex += 2 * n;
}

void lua_setRelAtomicOrbitalIndices(lua_State* L, const std::string& name, int n, int* runningIndex,
                                    int table, bool dictionary) {
    PushIndexList(L, *runningIndex, 1, n);
    StoreEntry(L, name, table, dictionary);
    *runningIndex += n;
}

void lua_setAtomicOrbitalIndices(lua_State* L, const std::string& name, int* runningIndex, int table,
                                 bool dictionary) {
    int n = nonRelAngularMomentumZNumbers(name);
    if (n > 0) {
        lua_setNonRelAtomicOrbitalIndices(L, name, n, runningIndex, table, dictionary);
        return;
    }
    n = relAngularMomentumZNumbers(name);
    if (n > 0) {
        lua_setRelAtomicOrbitalIndices(L, name, n, runningIndex, table, dictionary);
        return;
    }
    printf("\nWarning: Key \"%s\" could not be interpreted as an orbital.\n", name.c_str());
}

void lua_groupOrbitals(lua_State* L, int table, const std::string& groupName,
                       const std::vector<std::string>& names) {
    table = lua_absindex(L, table);
    if (HasField(L, table, groupName)) {
        printf("\nWarning: Group with name \"%s\" already exists and cannot be included a second "
               "time.\n",
               groupName.c_str());
        return;
    }
    lua_newtable(L);
    int group = lua_gettop(L);
    int count = 0;
    for (const std::string& member : names) {
        lua_getfield(L, table, member.c_str());
        if (lua_type(L, -1) != LUA_TTABLE) {
            lua_pop(L, 1);
            printf("\nWarning: Orbital with name \"%s\" was not found and thus cannot be included in "
                   "any grouping.\n",
                   member.c_str());
            continue;
        }
        int len = static_cast<int>(lua_rawlen(L, -1));
        for (int i = 1; i <= len; i++) {
            lua_rawgeti(L, -1, i);
            lua_rawseti(L, group, ++count);
        }
        lua_pop(L, 1);
    }
    lua_setfield(L, table, groupName.c_str());
}

int lua_createAtomicIndices(lua_State* L, bool dictionary) {
    int nargs = lua_gettop(L);
    if (nargs < 1 || nargs > 2) {
        return luaL_error(L,
                          "CreateAtomicIndices called with %d arguments. List of Orbitals and (in case "
                          "of a dictionary) optional parameter List of Groups of Orbitals expected, or "
                          "(in case of a list) possible List of Options.\n",
                          nargs);
    }
    uint8_t withKappas = 0;
    if (!dictionary && nargs == 2) {
        if (!LuaTestOptionsList(L, 2)) {
            return luaL_error(L, "Second argument of CreateAtomicIndicesList is optional but iff given "
                                 "should be a list of options.\n");
        }
        LuaOptionsType options[] = {{"kappas", "bool", &withKappas}, {nullptr, nullptr, nullptr}};
        LuaCheckOptions(L, 2, options);
    }
    bool withGroups = dictionary && nargs == 2 && !lua_isnil(L, 2);
    if (withGroups) luaL_checktype(L, 2, LUA_TTABLE);
    std::vector<std::string> names = luaL_checkarray_string(L, 1);

    lua_newtable(L);
    int table = lua_gettop(L);
    int runningIndex = 0;
    std::vector<std::string> kept;
    for (const std::string& name : names) {
        bool present = false;
        if (dictionary) {
            present = HasField(L, table, name);
        } else {
            for (const std::string& k : kept) present = present || k == name;
        }
        if (present) {
            printf("\nWarning: Orbital with name \"%s\" already exists and cannot be included a second "
                   "time.\n",
                   name.c_str());
            continue;
        }
        int before = runningIndex;
        lua_setAtomicOrbitalIndices(L, name, &runningIndex, table, dictionary);
        if (runningIndex != before) kept.push_back(name);
    }

    if (dictionary) {
        lua_groupOrbitals(L, table, "All", kept);
        lua_groupOrbitals(L, table, "all", kept);
        if (withGroups) {
            int ngroups = static_cast<int>(lua_rawlen(L, 2));
            for (int g = 1; g <= ngroups; g++) {
                lua_rawgeti(L, 2, g);
                int len = lua_type(L, -1) == LUA_TTABLE ? static_cast<int>(lua_rawlen(L, -1)) : 0;
                if (len != 2) {
                    printf("\nWarning: Optional groupings of orbitals need to be 2-element tables in the "
                           "format {groupName,{listOfOrbitals}}. Table %d has %d elements.\n",
                           g, len);
                }
                if (len >= 2) {
                    lua_rawgeti(L, -1, 1);
                    std::string groupName = luaL_checkstring(L, -1);
                    lua_pop(L, 1);
                    lua_rawgeti(L, -1, 2);
                    std::vector<std::string> members = luaL_checkvector_string(L, -1);
                    lua_pop(L, 1);
                    lua_groupOrbitals(L, table, groupName, members);
                }
                lua_pop(L, 1);
            }
        }
    } else if (withKappas) {
        lua_createtable(L, static_cast<int>(kept.size()), 0);
        for (size_t i = 0; i < kept.size(); i++) {
            lua_pushinteger(L, kappa(kept[i]));
            lua_rawseti(L, -2, static_cast<int>(i) + 1);
        }
        lua_setfield(L, table, "kappas");
    }
    lua_pushinteger(L, runningIndex);
    return 2;
}

int LuaCreateAtomicIndicesDict(lua_State* L) { return lua_createAtomicIndices(L, true); }

int LuaCreateAtomicIndicesList(lua_State* L) { return lua_createAtomicIndices(L, false); }
