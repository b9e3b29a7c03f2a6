// The reaction to exhausted memory in a place with no way back: three lines
// on the standard output, then the process ends with status 1.
#ifndef SKELDA_MANYBODY_FATAL_H
#define SKELDA_MANYBODY_FATAL_H

// Prints "Allocation failed", "No evaluation information impelemented yet"
// and "Sorry you're screwed: System will exit", flushes every stream and
// exits with status 1 without running exit handlers, so that it is safe from
// inside a parallel region.
[[noreturn]] void FatalAllocationExit();

#endif
