#pragma once

#include "platform/descriptor_posix.h"
#include "platform/resource/resource.h"

#include <cstddef>
#include <cstdint>

// Resources of an executable file that has no room for them by itself: they stand behind its own end, which
// its headers tell. All numbers are little endian.
//
//   0            the executable
//                zero bytes up to a multiple of 16
//   B            block, 544 bytes
//                  0    8    "QBSTORE", 0x1A
//                  8    4    version, 1
//                  12   4    count of entries in use, 0 to 16
//                  16   512  16 entries of 32 bytes, those in use first and in the order of their data
//                              0   8   type, filled up with zero bytes
//                              8   4   id, 0 to 65535
//                              12  4   CRC-32 of the data
//                              16  8   where the data begins, counted from B
//                              24  8   its size, 0 and up
//                  528  12   zero bytes
//                  540  4    CRC-32 of the 540 bytes before
//   B + 544      the data
//                bytes that somebody appended; nobody looks at them

enum { QB_STORE_ALIGNMENT = 16, QB_STORE_VERSION = 1 };
constexpr char QB_STORE_MAGIC[8] = {'Q', 'B', 'S', 'T', 'O', 'R', 'E', '\x1a'};

struct QbStoreEntry {
    char type[QB_RESOURCE_TYPE_SIZE];
    uint32_t id;
    uint32_t checksum;
    uint64_t offset;
    uint64_t size;
};

struct QbStoreBlock {
    char magic[8];
    uint32_t version;
    uint32_t count;
    QbStoreEntry entries[QB_RESOURCES_MAX];
    uint8_t zero[12];
    uint32_t checksum;
};
static_assert(sizeof(QbStoreEntry) == 32 && sizeof(QbStoreBlock) == 544);

QbStoreBlock qbStoreEmpty();
void qbStoreSeal(QbStoreBlock& block); // works out the block's own checksum
uint32_t qbStoreChecksum(uint32_t before, const void* data, size_t size); // `before` is 0 for the first piece
uint64_t qbStoreDataEnd(const QbStoreBlock& block);                       // counted from B
int qbStoreFind(const QbStoreBlock& block, const char* type, int id);     // index of the entry, or -1

enum QbStoreState {
    QB_STORE_GOOD,
    QB_STORE_NONE,        // the file ends with the executable
    QB_STORE_CUT,         // the file ends inside the store
    QB_STORE_DAMAGED,     // what stands behind the executable is no store
    QB_STORE_PROGRAM_CUT, // the file ends inside the executable
    QB_STORE_NO_PROGRAM,  // no executable of this system
    QB_STORE_UNREADABLE,  // errno tells why
};

struct QbStore {
    uint64_t fileSize;
    uint64_t programEnd; // of the executable itself; where the store is good, missing or bad
    uint64_t base;       // B
    QbStoreBlock block;  // without entries unless QB_STORE_GOOD
};

// Finds the store of an open file.
QbStoreState qbStoreExamine(int file, QbStore& store);

// Works out where the executable in a file of `size` bytes ends: QB_STORE_NONE and `end`, or one of the last
// three states.
QbStoreState qbExecutableEnd(int file, uint64_t size, uint64_t& end);

// --- files ----------------------------------------------------------------------------------------------

enum { QB_STORE_PIECE = 256 * 1024 }; // bytes that go through memory at a time

// Opens a plain file. -1 with errno set, EISDIR for a directory, ENOEXEC for anything else that is no file.
int qbStoreOpen(const char* path, bool toWrite);
int qbStoreOpenRunning(); // likewise, the running program
// These read and write everything, or return false with errno set; EIO when the file ends too early.
bool qbStoreReadAt(int file, uint64_t offset, void* data, size_t size);
bool qbStoreWriteAt(int file, uint64_t offset, const void* data, size_t size);
bool qbStoreCopyRange(int source, uint64_t from, uint64_t size, int target, uint64_t to);
