#pragma once

#include "platform/message.h"
#include "support/allocations.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>

// Runs an operation again and again, each time with one more allocation that succeeds before they fail: first
// one alone fails, then all from there on. The operation gives a number that tells its result, 0 when it
// refused. It may end in two ways: with the result of a run without failures, or with 0 after a message that
// says why; and the next run succeeds. `step` above 1 leaves some out.
class MemorySweep {
public:
    template <class Operation>
    static void run(const char* name, const Operation& operation, long step = 1) {
        SCOPED_TRACE(name);
        const uint64_t good = operation();
        ASSERT_NE(good, 0U);
        for (const long failures : {1L, LONG_MAX}) {
            long first = 1;
            while (once(operation, good, first, failures))
                first += step;
            EXPECT_GT(first, 1) << "nothing was allocated";
        }
    }

private:
    // False when no allocation was left to fail.
    template <class Operation>
    static bool once(const Operation& operation, uint64_t good, long first, long failures) {
        said()[0] = '\0';
        qbMessageSetSink(listen);
        allocationsFail(first, failures);
        const uint64_t result = operation();
        const bool failed = allocationsRecover();
        qbMessageSetSink(nullptr);
        EXPECT_TRUE(result == good || (failed && result == 0)) << first << ": " << said();
        if (result == 0) {
            EXPECT_TRUE(std::strstr(said(), "out of memory") || std::strstr(said(), "malloc mem")) << first;
        }
        if (failed) {
            EXPECT_EQ(operation(), good) << "after failure " << first;
        }
        return failed && !testing::Test::HasFailure();
    }

    // It may not allocate.
    static char* said() {
        static char text[4096];
        return text;
    }
    static void listen(const char* text) { std::strncat(said(), text, 4095 - std::strlen(said())); }
};

// A number for the result: never 0.
inline uint64_t fingerprint(const void* data, size_t size, uint64_t before = 14695981039346656037U) {
    for (size_t i = 0; i < size; ++i)
        before = (before ^ static_cast<const uint8_t*>(data)[i]) * 1099511628211U;
    return before | 1;
}
