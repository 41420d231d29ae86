#pragma once

// Calls of operator new so far. Add support/allocations.cpp to the test's sources.
long allocationCount();
