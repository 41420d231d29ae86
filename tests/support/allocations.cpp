#include "support/allocations.h"

#include <cstdlib>
#include <new>

static long allocations = 0;

long allocationCount() {
    return allocations;
}

void* operator new(std::size_t size) {
    allocations++;
    void* memory = std::malloc(size > 0 ? size : 1);
    if (!memory) throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
