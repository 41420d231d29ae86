#include "storage/tar.h"

#include "platform/file_bytes.h"
#include "platform/path.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string_view>

namespace {

enum { BLOCK_SIZE = 512, NAME_SIZE = 100, SIZE_PLACE = 124, SIZE_LENGTH = 12, FIRST_ROWS = 8 };

// GNU tar's mark of a size in binary, which it writes where eleven octal digits do not suffice.
constexpr char BINARY_SIZE_MARK = '\x80';

struct StreamClose {
    void operator()(std::FILE* stream) const { fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, StreamClose>;

// The rows come from malloc: they are plain bytes, and the table grows in place where it can.
struct TableFree {
    void operator()(tarlib_entry* rows) const { free(rows); }
};
using Table = std::unique_ptr<tarlib_entry[], TableFree>;

const tarlib_arch* defaultArchive = nullptr;

} // namespace

static bool resize(Table& table, size_t rows) {
    // At least one row: what realloc gives for none differs between systems.
    const size_t bytes = std::max<size_t>(rows, 1) * sizeof(tarlib_entry);
    auto* resized = static_cast<tarlib_entry*>(realloc(table.get(), bytes));
    if (!resized) return false;
    (void)table.release();
    table.reset(resized);
    return true;
}

// 64 bits hold every sum of base, offset and size; a `long` has 32 on some systems.
static bool seekTo(std::FILE* stream, int64_t position) {
    return position >= 0 && position <= LONG_MAX && fseek(stream, static_cast<long>(position), SEEK_SET) == 0;
}

static unsigned positionForUser(std::FILE* stream) {
    return static_cast<unsigned>(ftell(stream));
}

// --- scanning -------------------------------------------------------------------------------------------

static std::string_view nameOf(const tarlib_entry& entry) {
    return {entry.header, strnlen(entry.header, NAME_SIZE)};
}

// 1 when an entry's header was read, 0 at the archive's end or the file's.
static int getheader(std::FILE* stream, tarlib_entry& row) {
    if (qbFileFill(stream, row.header, sizeof(row.header)) != sizeof(row.header)) {
        printf("getheader: failed to read at 0%x\n", positionForUser(stream));
        return 0;
    }
    if (fseek(stream, BLOCK_SIZE - static_cast<long>(sizeof(row.header)), SEEK_CUR) != 0)
        printf("getheader: failed to advance at 0%x\n", positionForUser(stream));
    return row.header[0] != '\0' ? 1 : 0;
}

// Takes 8 and 9 for digits as well and skips all that is none: twelve of them stay far below 64 bits.
static int64_t readOctal(std::string_view text) {
    int64_t sum = 0;
    for (const char c : text) {
        if (c >= '0' && c <= '9') sum = sum * 8 + (c - '0');
    }
    return sum;
}

static bool fitsField(int64_t value) {
    return value >= 0 && value <= INT32_MAX;
}

// Fills the row of the header that was just read, and moves on behind its data.
static bool placeEntry(std::FILE* stream, const tarlib_arch& arch, tarlib_entry& row) {
    const std::string_view sizeText(row.header + SIZE_PLACE, SIZE_LENGTH);
    const int64_t size = readOctal(sizeText);
    const int64_t position = ftell(stream);
    const int64_t offset = position - arch.base - BLOCK_SIZE;
    const bool fits = fitsField(size) && fitsField(offset) && sizeText[0] != BINARY_SIZE_MARK;
    const int64_t padded = (size + BLOCK_SIZE - 1) / BLOCK_SIZE * BLOCK_SIZE;
    if (!fits || !seekTo(stream, position + padded)) {
        printf("tarlib_arch_open: failed to advance at 0%x\n", positionForUser(stream));
        if (!fits)
            fprintf(stderr, "%s: an entry is larger or begins later than %d bytes; use smaller archives\n",
                    arch.path, INT32_MAX);
        return false;
    }
    row.offset = static_cast<int32_t>(offset);
    row.size = static_cast<int32_t>(size);
    return true;
}

static bool scan(std::FILE* stream, tarlib_arch& arch) {
    Table table;
    size_t capacity = 0, index = 0;
    for (;;) {
        if (index == capacity) {
            capacity = std::max<size_t>(FIRST_ROWS, 2 * capacity);
            if (!resize(table, capacity)) return false;
        }
        tarlib_entry& row = table[index];
        if (!getheader(stream, row)) break;
        if (!placeEntry(stream, arch, row)) return false;
        if (!nameOf(row).ends_with('/')) ++index;
    }
    if (ferror(stream)) { // what can not be read is no end
        fprintf(stderr, "%s: %s\n", arch.path, strerror(errno));
        return false;
    }
    if (!resize(table, index)) return false;
    arch.count = static_cast<int32_t>(index); // each entry takes 512 bytes of an offset that fits
    arch.entries = table.release();
    return true;
}

int tarlib_arch_open(tarlib_arch* arch, const char* path, int32_t base) {
    if (!arch) return -1;
    *arch = {};
    if (!path) return -1;
    const size_t length = strlen(path);
    if (length >= sizeof(arch->path)) {
        fprintf(stderr, "%s: the path of an archive has %zu characters at most\n", path,
                sizeof(arch->path) - 1);
        return -1;
    }
    memcpy(arch->path, path, length);
    arch->base = base;
    const Stream stream(qbPathOpen(path, "rb"));
    if (stream && seekTo(stream.get(), base) && scan(stream.get(), *arch)) return 0;
    *arch = {};
    return -1;
}

int tarlib_arch_open_file(tarlib_arch* arch, const char* path) {
    return tarlib_arch_open(arch, path, 0);
}

int tarlib_arch_close(tarlib_arch* arch) {
    if (!arch) return 0;
    if (arch == defaultArchive) defaultArchive = nullptr;
    TableFree()(arch->entries);
    *arch = {};
    return 0;
}

int tarlib_arch_set_default(const tarlib_arch* arch) {
    defaultArchive = arch;
    return 0;
}

// --- open entries ---------------------------------------------------------------------------------------

static int64_t dataStart(const tarlib_arch& arch, const tarlib_entry& entry) {
    return static_cast<int64_t>(arch.base) + entry.offset + BLOCK_SIZE;
}

// Null when the archive was closed under the file.
static const tarlib_entry* entryOf(const tarlib_file* file) {
    if (!file || file->index >= file->arch->count) return nullptr;
    return &file->arch->entries[file->index];
}

tarlib_file* tarlib_arch_fopen(const tarlib_arch* arch, const char* name, const char* /*mode*/) {
    if (!arch || !name) return nullptr;
    const std::span entries(arch->entries, static_cast<size_t>(arch->count));
    const std::string_view wanted = name;
    const auto entry =
        std::ranges::find_if(entries, [wanted](const tarlib_entry& row) { return nameOf(row) == wanted; });
    if (entry == entries.end()) return nullptr;

    Stream stream(qbPathOpen(arch->path, "rb"));
    if (!stream || !seekTo(stream.get(), dataStart(*arch, *entry))) return nullptr;
    const auto index = static_cast<int32_t>(entry - entries.begin());
    auto* file = new (std::nothrow) tarlib_file{stream.get(), arch, index};
    if (file) (void)stream.release();
    return file;
}

tarlib_file* tarlib_fopen(const char* name, const char* mode) {
    return tarlib_arch_fopen(defaultArchive, name, mode);
}

int tarlib_fclose(tarlib_file* file) {
    if (!file) return 0;
    fclose(file->stream);
    delete file;
    return 0;
}

int tarlib_fseek(tarlib_file* file, long offset, int origin) {
    const tarlib_entry* entry = entryOf(file);
    // An offset that can succeed lies within the size both ways, so the sums below can not overflow.
    if (!entry || offset < -entry->size || offset > entry->size) return -1;
    int64_t target = 0;
    switch (origin) {
    case 0:
        target = offset;
        break;
    case 1:
        target = int64_t{tarlib_ftell(file)} + offset;
        break;
    case 2:
        target = int64_t{entry->size} - offset; // counted backwards, unlike the C library's
        break;
    default:
        return -1;
    }
    if (target < 0 || target > entry->size) return -1;
    return seekTo(file->stream, dataStart(*file->arch, *entry) + target) ? 0 : -1;
}

long tarlib_ftell(const tarlib_file* file) {
    const tarlib_entry* entry = entryOf(file);
    const int64_t position = entry ? ftell(file->stream) : -1;
    return position < 0 ? -1 : static_cast<long>(position - dataStart(*file->arch, *entry));
}

size_t tarlib_fread(void* buffer, size_t size, size_t count, tarlib_file* file) {
    const tarlib_entry* entry = entryOf(file);
    if (!entry || size == 0) return 0;
    auto* bytes = static_cast<char*>(buffer);
    size_t items = 0;
    while (items < count) {
        const long position = tarlib_ftell(file);
        if (position < 0 || position > entry->size) break;
        const size_t room = static_cast<size_t>(entry->size - position) / size;
        const size_t asked = std::min(count - items, room);
        if (asked == 0) break;
        const size_t got = qbFileFill(file->stream, bytes, size * asked) / size;
        items += got;
        bytes += got * size;
        if (got < asked) {
            // The archive is cut: what came of the next item counts as unread.
            tarlib_fseek(file, position + static_cast<long>(got * size), 0);
            break;
        }
    }
    return items;
}
