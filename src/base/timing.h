// Named stopwatches that add up wall-clock time in whole seconds.  A table
// of them keeps its entries in the order of their first start.
#ifndef SKELDA_BASE_TIMING_H
#define SKELDA_BASE_TIMING_H

#include <lua.hpp>

#include <cstdint>
#include <cstdio>
#include <ctime>

struct TimeType {
    uint32_t N;              // entries in use
    uint32_t NAloc;          // entries allocated, grows by 16
    char** Name;             // each name in a buffer of 256 bytes
    uint32_t* Total;         // accumulated seconds of the finished runs
    time_t* Start;           // time of the last start
    uint8_t* Running;        // 1 while running
    uint32_t* NumberOfRuns;  // finished runs
};

// The stopwatches of the script calls TimeStart, TimeEnd and TimePrint.  It
// starts empty (all zero), which is the state InitializeTiming makes.
extern TimeType GlobalTime;

// An empty table.  Returns 0.
int InitializeTiming(TimeType* T);

// Frees every entry and leaves an empty table.
void FreeTiming(TimeType* T);

// Room for 16 more entries.  Returns 0, or 1 after a failed allocation with
// the table as it was (usable, no larger).
int EnlargeTimingStructure(TimeType* T);

// Starts the stopwatch `name`, creating it at its first start.  Returns 0,
// or 1 (after printing why and "BeginTiming ignored") when it already runs
// or can't be created; the table is then unchanged.
int BeginTiming(const char* name, TimeType* T);

// Stops the stopwatch `name` and adds the elapsed seconds to its total.
// Returns 0, or 1 (after printing why and "EndTiming ignored") when it never
// started or already stopped.
int EndTiming(const char* name, TimeType* T);

// The table of totals: "Timing results", a heading, one line per entry.
void PrintTiming(TimeType T);
void StreamPrintTiming(TimeType T, FILE* f);
// Writes the table into a new file; returns 0, or 1 when it can't be opened.
int FilePrintTiming(TimeType T, const char* fileName);

// Script calls on GlobalTime: TimeStart(name), TimeEnd(name), TimePrint().
int LuaTimeStart(lua_State* L);
int LuaTimeEnd(lua_State* L);
int LuaTimePrint(lua_State* L);

#endif
