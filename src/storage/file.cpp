#include "storage/file.h"

#include "platform/file_bytes.h"
#include "platform/message.h"
#include "platform/path.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>

enum { PATH_SIZE = 2048 };

static int qbFileMode = QB_FILE_STDIO;
static const tarlib_arch* qbFileArchive = nullptr;
static char qbFileSeparator = '/';
static char qbFileRoot[PATH_SIZE] = "";

// --- plain files ----------------------------------------------------------------------------------------

static std::FILE* stdioHandle(QbFile* file) {
    return static_cast<std::FILE*>(file->handle);
}

static int stdioSeek(QbFile* file, long offset, int origin) {
    static const int whence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (origin < 0 || origin > 2) return -1;
    return fseek(stdioHandle(file), offset, whence[origin]);
}

static size_t stdioRead(void* buffer, size_t size, size_t count, QbFile* file) {
    if (size == 0 || count > SIZE_MAX / size) return 0;
    return qbFileFill(stdioHandle(file), buffer, size * count) / size;
}

static int stdioGetc(QbFile* file) {
    unsigned char character = 0;
    return qbFileFill(stdioHandle(file), &character, 1) == 1 ? character : -1;
}

// As fgets, which loses what it has when a signal comes.
static char* stdioGets(char* buffer, int length, QbFile* file) {
    int stored = 0;
    while (stored < length - 1 && qbFileFill(stdioHandle(file), buffer + stored, 1) == 1)
        if (buffer[stored++] == '\n') break;
    if (stored == 0 || ferror(stdioHandle(file))) return nullptr;
    buffer[stored] = '\0';
    return buffer;
}

static long stdioTell(QbFile* file) {
    return ftell(stdioHandle(file));
}

static int stdioClose(QbFile* file) {
    const int result = fclose(stdioHandle(file));
    delete file;
    return result;
}

static QbFile* openStdio(const char* name, const char* mode) {
    std::FILE* handle = qbPathOpen(name, mode);
    if (!handle) return nullptr;
    auto* file =
        new (std::nothrow) QbFile{handle, stdioSeek, stdioRead, stdioGetc, stdioGets, stdioTell, stdioClose};
    if (!file) {
        fclose(handle);
        errno = ENOMEM;
    }
    return file;
}

// --- memory files ---------------------------------------------------------------------------------------

static qbMemoryFile* memoryHandle(const QbFile* file) {
    return static_cast<qbMemoryFile*>(file->handle);
}

static int memorySeek(QbFile* file, long offset, int origin) {
    qbMemoryFile* memory = memoryHandle(file);
    // Any offset that can succeed lies within the size both ways, so the sums below can not overflow.
    if (offset < -memory->size || offset > memory->size) return -1;
    long position = 0;
    switch (origin) {
    case 0:
        position = offset;
        break;
    case 1:
        position = memory->position + offset;
        break;
    case 2:
        position = memory->size - offset; // counted backwards, unlike the C library's
        break;
    default:
        return -1;
    }
    if (position < 0 || position > memory->size) return -1;
    memory->position = static_cast<int32_t>(position);
    return 0;
}

static size_t memoryRead(void* buffer, size_t size, size_t count, QbFile* file) {
    qbMemoryFile* memory = memoryHandle(file);
    if (size == 0 || count == 0) return 0;
    const size_t items = std::min(count, static_cast<size_t>(memory->size - memory->position) / size);
    if (items > 0) memcpy(buffer, memory->data + memory->position, items * size);
    memory->position += static_cast<int32_t>(items * size);
    return items;
}

static int memoryGetc(QbFile* file) {
    qbMemoryFile* memory = memoryHandle(file);
    if (memory->position >= memory->size) return -1;
    return static_cast<int8_t>(memory->data[memory->position++]);
}

static char* memoryGets(char* buffer, int length, QbFile* file) {
    const qbMemoryFile* memory = memoryHandle(file);
    if (length < 1 || memory->position >= memory->size) return nullptr;
    int stored = 0;
    do {
        buffer[stored++] = static_cast<char>(memoryGetc(file));
    } while (stored < length && memory->position < memory->size && buffer[stored - 1] == '\n');
    return buffer;
}

static long memoryTell(QbFile* file) {
    return memoryHandle(file)->position;
}

static int memoryClose(QbFile* file) {
    delete memoryHandle(file);
    delete file;
    return 0;
}

static int ownedMemoryClose(QbFile* file) {
    delete[] memoryHandle(file)->data;
    return memoryClose(file);
}

static bool isMemory(const QbFile* file) {
    return file && file->read == memoryRead;
}

QbFile* qbFileOpenMemory(void* data, int32_t size) {
    if (size < 0 || (!data && size > 0)) return nullptr;
    std::unique_ptr<qbMemoryFile> memory(new (std::nothrow)
                                             qbMemoryFile{static_cast<uint8_t*>(data), size, 0});
    if (!memory) return nullptr;
    auto* file = new (std::nothrow)
        QbFile{memory.get(), memorySeek, memoryRead, memoryGetc, memoryGets, memoryTell, memoryClose};
    if (file) memory.release();
    return file;
}

QbFile* qbFileReadAll(QbFile* file) {
    if (qbFileSeek(file, 0, 2) != 0) return nullptr;
    const long size = qbFileTell(file);
    if (size > INT32_MAX) errno = EFBIG;
    if (size < 0 || size > INT32_MAX || qbFileSeek(file, 0, 0) != 0) return nullptr;
    const auto bytes = static_cast<size_t>(size);
    std::unique_ptr<uint8_t[]> data(new (std::nothrow) uint8_t[bytes]);
    errno = data ? ENODATA : ENOMEM; // the first when the file has become shorter; a failed read says more
    if (!data || qbFileRead(data.get(), 1, bytes, file) != bytes) return nullptr;
    errno = ENOMEM;
    QbFile* memory = qbFileOpenMemory(data.get(), static_cast<int32_t>(size));
    if (!memory) return nullptr;
    memory->close = ownedMemoryClose;
    data.release();
    return memory;
}

const uint8_t* qbFileData(const QbFile* file) {
    return isMemory(file) ? memoryHandle(file)->data : nullptr;
}

int32_t qbFileDataSize(const QbFile* file) {
    return isMemory(file) ? memoryHandle(file)->size : 0;
}

// --- entries of an archive ------------------------------------------------------------------------------

static tarlib_file* tarHandle(const QbFile* file) {
    return static_cast<tarlib_file*>(file->handle);
}

static int tarSeek(QbFile* file, long offset, int origin) {
    return tarlib_fseek(tarHandle(file), offset, origin);
}

static size_t tarRead(void* buffer, size_t size, size_t count, QbFile* file) {
    return tarlib_fread(buffer, size, count, tarHandle(file));
}

static int tarGetc(QbFile* file) {
    int8_t character = 0;
    return tarRead(&character, 1, 1, file) == 1 ? character : -1;
}

static char* tarGets(char* buffer, int length, QbFile* file) {
    int stored = 0;
    while (stored < length && tarRead(buffer + stored, 1, 1, file) == 1) {
        if (buffer[stored++] != '\n') break;
    }
    return stored > 0 ? buffer : nullptr;
}

static long tarTell(QbFile* file) {
    return tarlib_ftell(tarHandle(file));
}

static int tarClose(QbFile* file) {
    const int result = tarlib_fclose(tarHandle(file));
    delete file;
    return result;
}

static QbFile* openTar(const char* name, const char* mode) {
    errno = ENOENT; // unless the archive itself does not open
    std::unique_ptr<tarlib_file, decltype(&tarlib_fclose)> handle(
        tarlib_arch_fopen(qbFileArchive, name, mode), tarlib_fclose);
    if (!handle) return nullptr;
    auto* file =
        new (std::nothrow) QbFile{handle.get(), tarSeek, tarRead, tarGetc, tarGets, tarTell, tarClose};
    if (file) handle.release();
    return file;
}

// --- opening --------------------------------------------------------------------------------------------

static QbFile* readWhole(QbFile* file) {
    if (!file) return nullptr;
    QbFile* memory = qbFileReadAll(file);
    const int error = errno;
    qbFileClose(file);
    errno = error;
    return memory;
}

// The name behind the root; null when it does not fit.
static const char* rootedName(const char* name) {
    static char path[PATH_SIZE];
    const int length = qbFileRoot[0]
                           ? snprintf(path, sizeof(path), "%s%c%s", qbFileRoot, qbFileSeparator, name)
                           : snprintf(path, sizeof(path), "%s", name);
    return length >= 0 && length < PATH_SIZE ? path : nullptr;
}

QbFile* qbFileOpen(const char* name, const char* mode) {
    const char* path = name ? rootedName(name) : nullptr;
    if (!path) {
        errno = name ? ENAMETOOLONG : EINVAL;
        return nullptr;
    }
    switch (qbFileMode) {
    case QB_FILE_STDIO:
        return openStdio(path, mode);
    case QB_FILE_MEMORY:
        return readWhole(openStdio(path, mode));
    case QB_FILE_TAR:
    case QB_FILE_OWNED_TAR:
        return openTar(path, mode);
    default:
        return nullptr;
    }
}

QbFile* qbFileLoad(const char* name, const char* mode) {
    return readWhole(qbFileOpen(name, mode));
}

void qbFileUseStdio() {
    qbFileMode = QB_FILE_STDIO;
}

void qbFileUseMemory() {
    qbFileMode = QB_FILE_MEMORY;
}

void qbFileUseTar(const tarlib_arch* archive) {
    qbFileMode = QB_FILE_TAR;
    qbFileArchive = archive;
}

void qbFileUseOwnedTar(const QbFileOwner* owner) {
    qbFileMode = QB_FILE_OWNED_TAR;
    qbFileArchive = owner ? &owner->archive : nullptr;
}

// --- calling through the record -------------------------------------------------------------------------

int qbFileClose(QbFile* file) {
    return file->close(file);
}

int qbFileSeek(QbFile* file, long offset, int origin) {
    return file->seek(file, offset, origin);
}

size_t qbFileRead(void* buffer, size_t size, size_t count, QbFile* file) {
    return file->read(buffer, size, count, file);
}

int qbFileGetc(QbFile* file) {
    return file->getc(file);
}

char* qbFileGets(char* buffer, int length, QbFile* file) {
    return file->gets(buffer, length, file);
}

int qbFileHasLines(const QbFile* file) {
    return file->gets == stdioGets ? 1 : 0;
}

long qbFileTell(QbFile* file) {
    return file->tell(file);
}

long qbFileSize(QbFile* file) {
    const long position = qbFileTell(file);
    if (position < 0 || qbFileSeek(file, 0, 2) != 0) return -1;
    const long size = qbFileTell(file);
    if (qbFileSeek(file, position, 0) != 0) return -1;
    return size;
}

// --- names ----------------------------------------------------------------------------------------------

void qbFileSetSeparator(char separator) {
    qbFileSeparator = separator;
}

char qbFileSeparatorGet() {
    return qbFileSeparator;
}

static void setRoot(const std::string& path) {
    if (path.size() >= PATH_SIZE) {
        qbMessage("The root path is too long: %zu characters, %d at most", path.size(), PATH_SIZE - 1);
        return;
    }
    memcpy(qbFileRoot, path.c_str(), path.size() + 1);
}

void qbFileSetRoot(const char* path) {
    setRoot(path ? path : "");
}

void qbFileRootAppend(const char* name) {
    if (!name) return;
    setRoot(qbFileRoot[0] ? std::string(qbFileRoot) + qbFileSeparator + name : name);
}

const char* qbFileRootGet() {
    return qbFileRoot;
}

const char* qbFileParent(const char* path) {
    static std::string parent;
    std::string text = path;
    size_t end = text.rfind('/');
    if (end == std::string::npos) end = text.rfind('\\');
    if (end != std::string::npos) text.resize(end);
    parent = std::move(text);
    return parent.c_str();
}
