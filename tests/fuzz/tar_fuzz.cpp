#include "fuzz/fuzz.h"
#include "storage/tar.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

// Any file is an archive: opened at both ends of the base's range, each entry found, read whole, and stepped
// through.

namespace {

enum { READ_MOST = 1 << 20 };

} // namespace

static void seekAround(tarlib_file* file, long size) {
    for (const long offset : {0L, 1L, -1L, size, size + 1, -size, LONG_MIN, LONG_MAX}) {
        for (int origin = -1; origin < 4; ++origin) {
            const long before = tarlib_ftell(file);
            const bool moved = tarlib_fseek(file, offset, origin) == 0;
            const long after = tarlib_ftell(file);
            qbFuzzExpect(moved ? after >= 0 && after <= size : after == before);
        }
    }
}

static void readEntry(const tarlib_arch& archive, const tarlib_entry& entry) {
    const std::string name(entry.header, strnlen(entry.header, 100));
    tarlib_file* file = tarlib_arch_fopen(&archive, name.c_str(), "rb");
    qbFuzzExpect(file && file->index <= &entry - archive.entries);
    const long size = archive.entries[file->index].size;
    std::vector<char> data(static_cast<size_t>(std::min<long>(size, READ_MOST)) + 1);
    const size_t got = tarlib_fread(data.data(), 1, data.size(), file);
    qbFuzzExpect(got <= static_cast<size_t>(size) && tarlib_ftell(file) == static_cast<long>(got));
    seekAround(file, size);
    tarlib_fseek(file, 0, 0);
    qbFuzzExpect(tarlib_fread(data.data(), 3, data.size() / 3, file) <= got / 3);
    tarlib_fclose(file);
}

static void readArchive(const char* path, int32_t base) {
    tarlib_arch archive;
    if (tarlib_arch_open(&archive, path, base) != 0) {
        qbFuzzExpect(!archive.entries && archive.count == 0);
        return;
    }
    for (int32_t i = 0; i < archive.count; ++i)
        readEntry(archive, archive.entries[i]);
    tarlib_arch_set_default(&archive);
    qbFuzzExpect(!tarlib_fopen("/", "rb"));
    tarlib_arch_close(&archive);
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* path = qbFuzzFile("input.tar", data, size);
    readArchive(path, 0);
    readArchive(path, 512);
    readArchive(path, -1);
    return 0;
}
