#pragma once

// Add support/allocations.cpp to the test's sources; to count and fail malloc, calloc and realloc of the code
// under test as well, link it with ALLOCATIONS_WRAPPED (tests/CMakeLists.txt).

// Calls of operator new so far, of this thread.
long allocationCount();

// From now on `first` - 1 allocations of this thread succeed and the next `count` fail.
void allocationsFail(long first, long count);
// While true, none of this thread fails or counts.
void allocationsSpare(bool spare);
// Lets all succeed again. True when one has failed.
bool allocationsRecover();
