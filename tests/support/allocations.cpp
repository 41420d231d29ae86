#include "support/allocations.h"

#include <cerrno>
#include <cstdlib>
#include <new>

static thread_local long allocations = 0;
static thread_local long untilFailure = 0; // 0 or below: that many have failed
static thread_local long failures = 0;     // that are to come
static thread_local bool armed = false;
static thread_local bool failed = false;
static thread_local bool spared = false;

long allocationCount() {
    return allocations;
}

void allocationsFail(long first, long count) {
    untilFailure = first;
    failures = count;
    failed = false;
    armed = true;
}

void allocationsSpare(bool spare) {
    spared = spare;
}

bool allocationsRecover() {
    armed = false;
    return failed;
}

static bool fails() {
    if (!armed || spared || --untilFailure > 0 || failures <= 0) return false;
    --failures;
    failed = true;
    errno = ENOMEM;
    return true;
}

// --- malloc and its kin, where they are wrapped ---------------------------------------------------------

extern "C" {
void* __real_malloc(size_t size) __attribute__((weak));
void* __real_calloc(size_t count, size_t size) __attribute__((weak));
void* __real_realloc(void* memory, size_t size) __attribute__((weak));

void* __wrap_malloc(size_t size) {
    return fails() ? nullptr : __real_malloc(size);
}
void* __wrap_calloc(size_t count, size_t size) {
    return fails() ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* memory, size_t size) {
    return fails() ? nullptr : __real_realloc(memory, size);
}
}

// --- operator new ---------------------------------------------------------------------------------------

// All forms that go with the operator delete below: a sanitiser's own ones do not call each other.

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    allocations++;
    if (fails()) return nullptr;
    return __real_malloc ? __real_malloc(size > 0 ? size : 1) : std::malloc(size > 0 ? size : 1);
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
