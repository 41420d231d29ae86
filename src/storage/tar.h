#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

// Reads files out of a plain tar archive without unpacking it: the archive is scanned once, its headers stay
// in a table, and each file opened has a stream of its own.
//
//   entry   0 name, 100 bytes   124 size, 12 bytes of octal text   512 data, padded to whole blocks of 512
//   end     a block whose name begins with a zero byte
//
// Nothing else of a header is looked at: neither the checksum nor the type nor links. So what extends the
// format is not understood and shows as entries of plain names: a long name (ustar's prefix, GNU's 'L', pax's
// 'x') leaves the part in the name field, and GNU and pax precede it with an entry of their own; a sparse
// file shows as its pieces packed together, and where GNU's table of pieces goes on behind the header, the
// rest of the archive can not be told from that file's data.

struct tarlib_entry {
    char header[500]; // as read, so it starts with the name; a name of 100 characters has no terminator
    int32_t offset;   // of the header's block from the archive's start, at least 0
    int32_t size;     // of the data in bytes, at least 0; a damaged archive may hold less
};
static_assert(sizeof(tarlib_entry) == 508);

struct tarlib_arch {
    char path[80]; // a relative one counts from what is the current directory when an entry is opened
    int32_t base;  // where the archive starts inside its file
    int32_t count; // entries; directories are none
    tarlib_entry* entries;
};

struct tarlib_file {
    std::FILE* stream;
    const tarlib_arch* arch;
    int32_t index; // row of the table
};

// Scans the archive that starts `base` bytes into a file, found as platform/path.h says. 0, or -1 with an
// empty record: the path does not open or has more than 79 characters, the base is negative, an entry is
// larger or begins farther from the base than 2147483647 bytes, or memory is short. What the record held
// before is not freed. An archive that is cut opens with what it still has: its last entry may then read
// short. A read or a seek that fails is told on the standard output, with the file's position in hexadecimal.
int tarlib_arch_open(tarlib_arch* arch, const char* path, int32_t base);
int tarlib_arch_open_file(tarlib_arch* arch, const char* path); // with the base 0
// Frees the table; 0. Close the files first: those still open can only be closed. A record that failed to
// open or is closed already may be closed again.
int tarlib_arch_close(tarlib_arch* arch);
// The archive of tarlib_fopen, null for none; 0. It stays the caller's; closing it takes it out again.
int tarlib_arch_set_default(const tarlib_arch* arch);

// Opens the first entry of exactly this name, which is compared with the 100 bytes of the name field. The
// mode is not looked at. Null without such an entry, archive or memory. The archive must outlive the file.
tarlib_file* tarlib_arch_fopen(const tarlib_arch* arch, const char* name, const char* mode);
tarlib_file* tarlib_fopen(const char* name, const char* mode); // of the default archive
int tarlib_fclose(tarlib_file* file);                          // 0
// Origins: 0 start, 1 current position, 2 end, counted backwards. 0, or -1 for a position outside 0 to the
// entry's size, and nothing moves.
int tarlib_fseek(tarlib_file* file, long offset, int origin);
// Position within the entry, or -1.
long tarlib_ftell(const tarlib_file* file);
// Whole items read; a partial one at the entry's end stays unread.
size_t tarlib_fread(void* buffer, size_t size, size_t count, tarlib_file* file);
