#include "platform/resource/store.h"

#include "platform/process.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

// --- the block ------------------------------------------------------------------------------------------

uint32_t qbStoreChecksum(uint32_t before, const void* data, size_t size) {
    if (size == 0) return before; // zlib takes a null pointer for a wish to begin anew
    return static_cast<uint32_t>(crc32_z(before, static_cast<const Bytef*>(data), size));
}

static uint32_t blockChecksum(const QbStoreBlock& block) {
    return qbStoreChecksum(0, &block, offsetof(QbStoreBlock, checksum));
}

QbStoreBlock qbStoreEmpty() {
    QbStoreBlock block{};
    memcpy(block.magic, QB_STORE_MAGIC, sizeof(block.magic));
    block.version = QB_STORE_VERSION;
    return block;
}

void qbStoreSeal(QbStoreBlock& block) {
    block.checksum = blockChecksum(block);
}

uint64_t qbStoreDataEnd(const QbStoreBlock& block) {
    if (block.count == 0) return sizeof(block);
    const QbStoreEntry& last = block.entries[block.count - 1];
    return last.offset + last.size;
}

int qbStoreFind(const QbStoreBlock& block, const char* type, int id) {
    if (!type || id < 0) return -1;
    for (uint32_t i = 0; i < block.count; ++i) {
        const QbStoreEntry& entry = block.entries[i];
        if (entry.id == static_cast<uint32_t>(id) && strcmp(entry.type, type) == 0)
            return static_cast<int>(i);
    }
    return -1;
}

static bool entriesMakeSense(const QbStoreBlock& block) {
    uint64_t end = sizeof(block);
    for (uint32_t i = 0; i < block.count; ++i) {
        const QbStoreEntry& entry = block.entries[i];
        if (entry.type[0] == '\0' || entry.type[QB_RESOURCE_TYPE_SIZE - 1] != '\0') return false;
        if (entry.id > QB_RESOURCE_ID_MAX || entry.offset < end || entry.offset > INT64_MAX ||
            entry.size > INT64_MAX - entry.offset)
            return false;
        // Two of one name: nobody could tell which one is meant.
        if (qbStoreFind(block, entry.type, static_cast<int>(entry.id)) != static_cast<int>(i)) return false;
        end = entry.offset + entry.size;
    }
    return true;
}

// `available` bytes stand behind the executable, of which the block holds as many as fit.
static QbStoreState blockState(const QbStoreBlock& block, uint64_t available) {
    const size_t magic = static_cast<size_t>(std::min<uint64_t>(available, sizeof(block.magic)));
    if (memcmp(block.magic, QB_STORE_MAGIC, magic) != 0) return QB_STORE_DAMAGED;
    if (available < sizeof(block)) return QB_STORE_CUT;
    if (block.checksum != blockChecksum(block) || block.version != QB_STORE_VERSION ||
        block.count > QB_RESOURCES_MAX || !entriesMakeSense(block))
        return QB_STORE_DAMAGED;
    return qbStoreDataEnd(block) > available ? QB_STORE_CUT : QB_STORE_GOOD;
}

QbStoreState qbStoreExamine(int file, QbStore& store) {
    store = QbStore{0, 0, 0, qbStoreEmpty()};
    struct stat status;
    if (fstat(file, &status) != 0) return QB_STORE_UNREADABLE;
    store.fileSize = static_cast<uint64_t>(status.st_size);
    const QbStoreState program = qbExecutableEnd(file, store.fileSize, store.programEnd);
    if (program != QB_STORE_NONE) return program;
    store.base = (store.programEnd + QB_STORE_ALIGNMENT - 1) / QB_STORE_ALIGNMENT * QB_STORE_ALIGNMENT;
    if (store.fileSize == store.programEnd) return QB_STORE_NONE;

    QbStoreBlock block{};
    const uint64_t available = store.fileSize > store.base ? store.fileSize - store.base : 0;
    const size_t size = static_cast<size_t>(std::min<uint64_t>(available, sizeof(block)));
    if (!qbStoreReadAt(file, store.base, &block, size)) return QB_STORE_UNREADABLE;
    const QbStoreState state = blockState(block, available);
    if (state == QB_STORE_GOOD) store.block = block;
    return state;
}

// --- files ----------------------------------------------------------------------------------------------

int qbStoreOpen(const char* path, bool toWrite) {
    // Without O_NONBLOCK a pipe would wait for its other end.
    const int file = open(path, (toWrite ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) return -1;
    QbDescriptor guard(file);
    struct stat status;
    if (fstat(file, &status) != 0) return -1;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : ENOEXEC;
        return -1;
    }
    return guard.release();
}

// The running program's file answers under this name after it was moved, replaced or deleted.
int qbStoreOpenRunning() {
    const int file = qbStoreOpen("/proc/self/exe", false);
    return file >= 0 ? file : qbStoreOpen(qbProgramPath(), false);
}

// `step` is pread or pwrite, which may stop early.
template <class Step, class Byte>
static bool passAll(Step step, int file, uint64_t offset, Byte* bytes, size_t size) {
    while (size > 0) {
        const ssize_t count = step(file, bytes, size, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        if (count == 0) errno = EIO;
        if (count <= 0) return false;
        bytes += count;
        offset += static_cast<uint64_t>(count);
        size -= static_cast<size_t>(count);
    }
    return true;
}

bool qbStoreReadAt(int file, uint64_t offset, void* data, size_t size) {
    return passAll(pread, file, offset, static_cast<char*>(data), size);
}

bool qbStoreWriteAt(int file, uint64_t offset, const void* data, size_t size) {
    return passAll(pwrite, file, offset, static_cast<const char*>(data), size);
}

bool qbStoreCopyRange(int source, uint64_t from, uint64_t size, int target, uint64_t to) {
    const auto buffer = std::make_unique<char[]>(QB_STORE_PIECE);
    for (uint64_t done = 0; done < size;) {
        const size_t piece = static_cast<size_t>(std::min<uint64_t>(size - done, QB_STORE_PIECE));
        if (!qbStoreReadAt(source, from + done, buffer.get(), piece)) return false;
        if (!qbStoreWriteAt(target, to + done, buffer.get(), piece)) return false;
        done += piece;
    }
    return true;
}
