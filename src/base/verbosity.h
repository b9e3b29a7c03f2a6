// How much progress text the calculation prints: one process-wide bit mask.
// A message is printed when its mask shares a bit with GlobalVerbosity.
//   0x1        general progress, stage headings
//   0x2        more detail
//   0x100      solver progress, one line per iteration
//   0xFFFF     as a mask: shown under any lower bit
//   0x20000    extra tight-binding and cluster output (tested directly)
//   0x1000000  one further block of output (tested directly)
//   0x10000000 messages shown only on request
// The start value 15 turns on 0x1, 0x2, 0x4 and 0x8, so 0x100 is off.
#ifndef SKELDA_BASE_VERBOSITY_H
#define SKELDA_BASE_VERBOSITY_H

#include <lua.hpp>

#include <cstdint>

extern uint32_t GlobalVerbosity;

// printf to the standard output when mask & GlobalVerbosity is not zero.
void VerbosityPrintf(uint32_t mask, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Script call Verbosity(mask): stores its last argument, truncated to 32
// bits, into GlobalVerbosity.
int LuaVerbosity(lua_State* L);

#endif
