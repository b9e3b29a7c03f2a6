#include "fail_alloc.h"

#include <atomic>

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* ptr, size_t size);
}

namespace {

std::atomic<unsigned long> countdown{0};
std::atomic<unsigned long> counter{0};

// True for the one allocation that the armed countdown reaches.
bool FailThisOne() {
    counter.fetch_add(1, std::memory_order_relaxed);
    unsigned long left = countdown.load(std::memory_order_relaxed);
    while (left > 0) {
        if (countdown.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) return left == 1;
    }
    return false;
}

}  // namespace

extern "C" {

void FailAllocAfter(unsigned long n) {
    counter.store(0);
    countdown.store(n);
}

void FailAllocDisarm() { countdown.store(0); }

unsigned long FailAllocCount() { return counter.load(); }

void FailAllocResetCount() { counter.store(0); }

void* __wrap_malloc(size_t size) { return FailThisOne() ? nullptr : __real_malloc(size); }

void* __wrap_calloc(size_t count, size_t size) { return FailThisOne() ? nullptr : __real_calloc(count, size); }

void* __wrap_realloc(void* ptr, size_t size) { return FailThisOne() ? nullptr : __real_realloc(ptr, size); }
}
