// The script host: program start-up, the interpreter and the additions made
// to stock Lua 5.2 from outside its sources.
#ifndef SKELDA_HOST_LUAHOST_H
#define SKELDA_HOST_LUAHOST_H

#include <lua.hpp>

#include <string>

// Runs the whole program: banner, machine lines, interpreter, script.
// Returns the process exit status (0 when the script ran to its end).
int SkeldaMain(int argc, char** argv);

// Prints the fixed banner and the description of the machine.
void SkeldaPrintBanner();

// Replaces and adds the entries of the stock libraries that differ in this
// system (warning, tostring, string.format).  Called right after luaL_openlibs.
void SkeldaOpenInterpreterAdditions(lua_State* L);

// Registers every object type, library table and global function of the
// many-body system, in the order in which later names overwrite earlier ones.
int luaopen_ssp(lua_State* L);

// luaL_warning lives in base/warning.h.
#include "base/warning.h"

// Counts all keys of the table at idx (array and hash part).
int luaKSV_fulltablelen(lua_State* L, int idx);

// Pushes the text of the value at idx: tables without __tostring are shown
// by their contents.  Returns the pushed string.
const char* SkeldaToLString(lua_State* L, int idx, size_t* len);

int KSVgethostname(char* name, size_t len);

#endif
