#pragma once

// Add support/allocations.cpp to the test's sources. Linked with --wrap for malloc, calloc and realloc, it
// fails those of the code under test as well, and of the static libraries.

// Calls of operator new so far, of this thread.
long allocationCount();

// From now on `first` - 1 allocations of this thread succeed and the next `count` fail.
void allocationsFail(long first, long count);
// While true, none of this thread fails or counts.
void allocationsSpare(bool spare);
// Lets all succeed again. True when one has failed.
bool allocationsRecover();
