#pragma once

#include "storage/tar.h"

#include <cstddef>
#include <cstdint>

// The file layer under the scene and script readers. An open file is a record of functions; one process-wide
// switch says what opening means.

struct QbFile {
    void* handle;
    int (*seek)(QbFile* file, long offset, int origin);                    // 0, or non-zero
    size_t (*read)(void* buffer, size_t size, size_t count, QbFile* file); // whole items read
    int (*getc)(QbFile* file);                                             // one character, or -1
    char* (*gets)(char* buffer, int length, QbFile* file);                 // buffer, or null
    long (*tell)(QbFile* file);                                            // position
    int (*close)(QbFile* file);                                            // 0; frees the record
};

// Handle of a memory file.
struct qbMemoryFile {
    uint8_t* data;
    int32_t size;
    int32_t position; // 0 to size
};

enum { QB_FILE_STDIO = 0, QB_FILE_MEMORY = 1, QB_FILE_TAR = 2, QB_FILE_OWNED_TAR = 3 };

// What an archive may lie in for mode 3, beside whatever else its owner keeps.
struct QbFileOwner {
    tarlib_arch archive;
};

// Opens the name behind the root, with the C library's mode; entries of an archive are only read, whatever
// the mode. Null with errno when it can not be opened: ENAMETOOLONG for a name that does not fit behind the
// root, ENOENT when the archive has no such entry, is closed or is none. Plain names resolve as
// platform/path.h says, entries by their exact name.
QbFile* qbFileOpen(const char* name, const char* mode);

int qbFileClose(QbFile* file);
// Origins: 0 start, 1 current position, 2 end. Memory files and archive entries count origin 2 backwards:
// offset 10 stands ten bytes before the end, and a position outside of them is refused: non-zero, nothing
// moves.
int qbFileSeek(QbFile* file, long offset, int origin);
size_t qbFileRead(void* buffer, size_t size, size_t count, QbFile* file);
// Plain files give 0 to 255, as the C library; memory files and archive entries a signed character. -1 at the
// end.
int qbFileGetc(QbFile* file);
// Plain files read a line as the C library does. Memory files and archive entries store line feeds up to and
// with the first other character, and no terminator: they can not be read by lines.
// Never more than `length` characters; null at the end, or when none fits.
char* qbFileGets(char* buffer, int length, QbFile* file);
int qbFileHasLines(const QbFile* file); // 1 when qbFileGets reads by lines, else 0
long qbFileTell(QbFile* file);

// Size in bytes, -1 on failure; the position stays.
long qbFileSize(QbFile* file);
// A memory file over a buffer that stays the caller's. Null without memory, or for a negative size.
QbFile* qbFileOpenMemory(void* data, int32_t size);
// Reads the whole of `file` into a memory file that owns its buffer. `file` stays open. Null on failure, with
// errno: EFBIG for 2 GiB and more, ENOMEM, ENODATA when the file became shorter, or why it can not be read.
QbFile* qbFileReadAll(QbFile* file);
// Opens, reads whole, closes: how the scene reader takes a file. Null on failure, with errno as above.
QbFile* qbFileLoad(const char* name, const char* mode);
// Bytes and size of a memory file.
const uint8_t* qbFileData(const QbFile* file);
int32_t qbFileDataSize(const QbFile* file);

// What opening means from here on; files that are open keep what they are. An archive stays the caller's: it
// must outlive the mode and the files. A null one is the mode in which nothing opens.
void qbFileUseStdio();
void qbFileUseMemory();
void qbFileUseTar(const tarlib_arch* archive);
void qbFileUseOwnedTar(const QbFileOwner* owner);

void qbFileSetSeparator(char separator);
char qbFileSeparatorGet();
void qbFileSetRoot(const char* path);    // 2047 characters at most; longer ones are refused with a message
void qbFileRootAppend(const char* name); // likewise
const char* qbFileRootGet();
// The path cut at its last '/', or at its last backslash if it has no '/'; static buffer.
const char* qbFileParent(const char* path);
