#include "support/allocations.h"

#include <cstdlib>
#include <new>

static long allocations = 0;

long allocationCount() {
    return allocations;
}

// All forms that go with the operator delete below: a sanitiser's own ones do not call each other.

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    allocations++;
    return std::malloc(size > 0 ? size : 1);
}

void* operator new(std::size_t size) {
    void* memory = operator new(size, std::nothrow);
    if (!memory) throw std::bad_alloc();
    return memory;
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return operator new(size, std::nothrow);
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
