#pragma once

#include "platform/message.h"

#include <new>

// Nothing here throws, but the containers of the standard library do when memory runs out. Calls `work`; when
// it fails so, tells the user the name of the file, or of whatever was being worked on, and gives `failure`.
template <class Result, class Work>
Result qbUnlessOutOfMemory(const char* name, Result failure, const Work& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        qbMessage("%.512s: out of memory", name);
        return failure;
    }
}
