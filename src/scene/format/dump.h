#pragma once

#include <cstdint>

// Prints a scene file while the container reader walks it. Silent unless the dump tool asks.
enum QbIffMode {
    QB_DUMP_LABELS = 0, // the dump tool's form
    QB_DUMP_RAW = 1,    // tags and sizes, a debugging form
    QB_DUMP_SILENT = 2, // the state at start
};
extern int qbIffMode;

void qbDumpOpen(int level, int64_t size, uint32_t tag); // a container begins; size -1 for the form
void qbDumpClose(int level);
void qbDumpSkipped(int level, int64_t size, uint32_t tag); // an unknown chunk was passed over
[[gnu::format(printf, 4, 5)]] void qbDumpLine(int level, int64_t size, uint32_t tag, const char* format, ...);
void qbDumpBegin(int level, int64_t size, uint32_t tag); // a leaf whose value follows in pieces
[[gnu::format(printf, 1, 2)]] void qbDumpPrint(const char* format, ...);
