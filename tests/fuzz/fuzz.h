#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// What a fuzz target defines, and what it may use. C++17-clean.

extern "C" {
int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size); // always 0
// Optional, called once.
int LLVMFuzzerInitialize(int* argc, char*** argv);
// Optional: changes `data` in place, at most `most` bytes, and returns the new size.
size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed);
// libFuzzer's own mutation, for use within the above.
size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t most);
}

// What must hold whatever the input is. Ends the process, which is a finding.
inline void qbFuzzExpect(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// A directory of this process in memory, with its trailing separator; made at the first call and removed at a
// clean end.
const char* qbFuzzDirectory();
// Makes a file of this name in it, in place of an old one; its full path, in a static buffer.
const char* qbFuzzFile(const char* name, const void* data, size_t size);
