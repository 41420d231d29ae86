#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <vector>

// Writes a whole file, replacing an older one. 0, or -1 with a reason in `error`; no part of it stays then.
int qbExportSaveBytes(const std::string& path, const std::vector<uint8_t>& bytes, std::string& error);

// The result of `work`; -1 with that reason in `error` when memory runs out on the way.
template <class Work>
int qbExportUnlessOutOfMemory(std::string& error, const Work& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        error = "out of memory"; // short enough to need none
        return -1;
    }
}
