// Allocation failures on demand, for tests linked with
// -Wl,--wrap=malloc,--wrap=calloc,--wrap=realloc.  Only calls made from the
// objects of the test binary and the static libraries linked into it are
// wrapped; allocations inside shared libraries (the C++ runtime, stdio)
// always succeed.
#ifndef SKELDA_TESTS_FAIL_ALLOC_H
#define SKELDA_TESTS_FAIL_ALLOC_H

#include <cstddef>

extern "C" {
// The n-th next malloc, calloc or realloc (n >= 1) returns null; the ones
// before it and after it succeed.  n = 0 disarms.
void FailAllocAfter(unsigned long n);
void FailAllocDisarm();
// Wrapped allocations made since the last FailAllocAfter or
// FailAllocResetCount (armed or not).
unsigned long FailAllocCount();
void FailAllocResetCount();

void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_realloc(void* ptr, size_t size);
}

#endif
