#include "platform/cabinet/cabinet.h"

#include "platform/cabinet/entry_name.h"
#include "platform/descriptor_posix.h"
#include "platform/process.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mspack.h>
#include <new>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

namespace {

enum { BLOCK_HEADER_BYTES = 8 }; // in front of each block of data

// What libmspack may reach: one cabinet to read, one file to write. It opens "the cabinet" again and again,
// and gets the same descriptor each time, since a file of the cabinet may have taken the place of its name by
// then.
struct System : mspack_system {
    System();
    QbDescriptor cabinet;
    QbDescriptor output;
    uint64_t room = 0; // bytes that the output may still take
    int error = 0;     // the error number of the call that failed first
};

struct OpenFile : mspack_file {
    System* system;
    off_t position; // of the cabinet
};

System& systemOf(mspack_file* file) {
    return *static_cast<OpenFile*>(file)->system;
}

int failWith(System& system, int error) {
    if (!system.error) system.error = error;
    return -1;
}

mspack_file* openFile(mspack_system* self, const char*, int) {
    OpenFile* file = new (std::nothrow) OpenFile;
    if (!file) {
        failWith(*static_cast<System*>(self), ENOMEM);
        return nullptr;
    }
    file->system = static_cast<System*>(self);
    file->position = 0;
    return file;
}

void closeFile(mspack_file* file) {
    delete static_cast<OpenFile*>(file);
}

int readFile(mspack_file* file, void* buffer, int bytes) {
    System& system = systemOf(file);
    off_t& position = static_cast<OpenFile*>(file)->position;
    // A file's data is reached through all that precedes it, which is read and not written.
    if (qbProcessEndAsked()) return failWith(system, EINTR);
    int done = 0;
    while (done < bytes) {
        const ssize_t got = pread(system.cabinet.number(), static_cast<char*>(buffer) + done,
                                  static_cast<size_t>(bytes - done), position);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return failWith(system, errno);
        if (got == 0) break;
        done += static_cast<int>(got);
        position += got;
    }
    return done;
}

int writeFile(mspack_file* file, void* buffer, int bytes) {
    System& system = systemOf(file);
    if (qbProcessEndAsked()) return failWith(system, EINTR);
    if (bytes < 0 || static_cast<uint64_t>(bytes) > system.room) return -1;
    int done = 0;
    while (done < bytes) {
        const ssize_t put = write(system.output.number(), static_cast<const char*>(buffer) + done,
                                  static_cast<size_t>(bytes - done));
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return failWith(system, put < 0 ? errno : EIO);
        done += static_cast<int>(put);
    }
    system.room -= static_cast<uint64_t>(bytes);
    return done;
}

int seekFile(mspack_file* file, off_t offset, int mode) {
    off_t& position = static_cast<OpenFile*>(file)->position;
    off_t from = mode == MSPACK_SYS_SEEK_CUR ? position : 0;
    if (mode == MSPACK_SYS_SEEK_END) {
        struct stat status;
        if (fstat(systemOf(file).cabinet.number(), &status) != 0) return failWith(systemOf(file), errno);
        from = status.st_size;
    }
    // Offsets in a cabinet have 32 bits: the sum does not overflow.
    if (from + offset < 0) return -1;
    position = from + offset;
    return 0;
}

off_t tellFile(mspack_file* file) {
    return static_cast<OpenFile*>(file)->position;
}

// The library's words mean offsets and blocks; the user is told which file is damaged.
void dropMessage(mspack_file*, const char*, ...) {}

// The library says "no memory" of damaged parameters as well.
void* allocate(mspack_system* self, size_t bytes) {
    void* memory = malloc(bytes);
    if (!memory) failWith(*static_cast<System*>(self), ENOMEM);
    return memory;
}

void copyBytes(void* source, void* target, size_t bytes) {
    memcpy(target, source, bytes);
}

System::System()
    : mspack_system{openFile,    closeFile, readFile, writeFile, seekFile, tellFile,
                    dropMessage, allocate,  ::free,   copyBytes, nullptr} {}

struct Reader {
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() {
        if (contents) decompressor->close(decompressor, contents);
        if (decompressor) mspack_destroy_cab_decompressor(decompressor);
    }
    const char* path = "";
    System system;
    mscab_decompressor* decompressor = nullptr;
    mscabd_cabinet* contents = nullptr;
};

// A name as part of one line on a terminal.
std::string shown(std::string name) {
    for (char& c : name)
        if (static_cast<unsigned char>(c) < ' ' || c == 0x7f) c = '?';
    return name;
}

const char* damageText(int code) {
    switch (code) {
    case MSPACK_ERR_SIGNATURE:
        return "it is no cabinet file";
    case MSPACK_ERR_READ:
        return "it ends too early";
    case MSPACK_ERR_CHECKSUM:
        return "a checksum is wrong";
    default:
        return "its data makes no sense";
    }
}

// Says in one line what is wrong with the cabinet itself.
int reportDamage(const Reader& reader, const char* file, const char* what) {
    std::fprintf(stderr, "The cabinet %s is damaged%s%s%s: %s.\n", shown(reader.path).c_str(),
                 file ? " at the file \"" : "", file ? shown(file).c_str() : "", file ? "\"" : "", what);
    return EBADMSG;
}

int reportUnread(const Reader& reader, int error) {
    std::fprintf(stderr, "The cabinet %s can not be read: %s.\n", shown(reader.path).c_str(),
                 strerror(error));
    return error;
}

int reportUnwritten(const Reader& reader, const char* file, int error) {
    std::fprintf(stderr, "The cabinet %s can not be unpacked: writing \"%s\" fails: %s.\n",
                 shown(reader.path).c_str(), shown(file).c_str(), strerror(error));
    return error;
}

// Packers write the files of a folder side by side and in order, each folder over data of its own. What
// overlaps or goes back makes a few kilobytes unpack to any size, or the same data be read again for each
// file.
int checkLayout(const Reader& reader) {
    const char* nonsense = damageText(MSPACK_ERR_DATAFORMAT);
    uint64_t blocks = 0;
    for (const mscabd_folder* folder = reader.contents->folders; folder; folder = folder->next)
        blocks += folder->num_blocks;
    if (blocks > reader.contents->length / BLOCK_HEADER_BYTES) return reportDamage(reader, nullptr, nonsense);

    const mscabd_folder* folder = reader.contents->folders;
    for (const mscabd_file* file = reader.contents->files; file; file = file->next) {
        while (folder && folder != file->folder)
            folder = folder->next;
        const mscabd_file* next = file->next;
        const bool overlaps =
            next && next->folder == file->folder && next->offset < uint64_t{file->offset} + file->length;
        if (!folder || overlaps) return reportDamage(reader, file->filename, nonsense);
    }
    return 0;
}

int openCabinet(Reader& reader, const char* path) {
    reader.path = path;
    System& system = reader.system;
    system.cabinet.reset(open(path, O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (system.cabinet.number() < 0 || fstat(system.cabinet.number(), &status) != 0)
        return reportUnread(reader, errno);
    int compatible = MSPACK_ERR_OK;
    MSPACK_SYS_SELFTEST(compatible);
    if (compatible != MSPACK_ERR_OK) return reportUnread(reader, ENOTSUP);
    reader.decompressor = mspack_create_cab_decompressor(&system);
    if (!reader.decompressor) return reportUnread(reader, ENOMEM);
    reader.contents = reader.decompressor->open(reader.decompressor, path);
    if (system.error == EINTR) return EINTR;
    if (system.error) return reportUnread(reader, system.error);
    if (!reader.contents) {
        const int code = reader.decompressor->last_error(reader.decompressor);
        return reportDamage(reader, nullptr, damageText(code));
    }
    if (static_cast<uint64_t>(status.st_size) < reader.contents->length)
        return reportDamage(reader, nullptr, damageText(MSPACK_ERR_READ));
    if (reader.contents->flags & (MSCAB_HDR_PREVCAB | MSCAB_HDR_NEXTCAB))
        return reportDamage(reader, nullptr, "it is one of a set, and the others are not here");
    return checkLayout(reader);
}

// Opens a directory, made when it is missing. What an earlier run left under that name, a file or a link,
// gives way. -1 with errno set.
int enterDirectory(int parent, const char* name) {
    const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const int directory = openat(parent, name, flags);
    if (directory >= 0) return directory;
    const bool inTheWay = errno == ENOTDIR || errno == ELOOP;
    if (!inTheWay && errno != ENOENT) return -1;
    if (inTheWay && unlinkat(parent, name, 0) != 0) return -1;
    if (mkdirat(parent, name, 0700) != 0) return -1;
    return openat(parent, name, flags);
}

// A new file below `root`. -1 with errno set.
int createFile(int root, std::span<const std::string> parts) {
    QbDescriptor directory;
    for (const std::string& part : parts.first(parts.size() - 1)) {
        directory.reset(enterDirectory(directory.number() < 0 ? root : directory.number(), part.c_str()));
        if (directory.number() < 0) return -1;
    }
    const int parent = directory.number() < 0 ? root : directory.number();
    const char* name = parts.back().c_str();
    if (unlinkat(parent, name, 0) != 0 && errno != ENOENT) return -1;
    return openat(parent, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
}

int unpackFile(Reader& reader, mscabd_file* file, int root) {
    System& system = reader.system;
    std::vector<std::string> parts;
    if (!qbEntryNameSplit(file->filename, parts)) {
        std::fprintf(stderr, "The cabinet %s is refused: the name \"%s\" in it leads out of the directory.\n",
                     shown(reader.path).c_str(), shown(file->filename).c_str());
        return EPERM;
    }
    system.output.reset(createFile(root, parts));
    if (system.output.number() < 0) return reportUnwritten(reader, file->filename, errno);
    system.room = file->length;
    const int code = reader.decompressor->extract(reader.decompressor, file, "");
    if (system.error == EINTR) return EINTR;
    if (code == MSPACK_ERR_WRITE && system.error)
        return reportUnwritten(reader, file->filename, system.error);
    if (system.error) return reportUnread(reader, system.error);
    if (code != MSPACK_ERR_OK) return reportDamage(reader, file->filename, damageText(code));
    if (system.room > 0) return reportDamage(reader, file->filename, damageText(MSPACK_ERR_READ));
    // Some file systems tell only now that the disk is full.
    return system.output.close() ? 0 : reportUnwritten(reader, file->filename, errno);
}

} // namespace

int qbCabinetUnpack(const char* cabinet, const char* directory) {
    Reader reader;
    if (const int error = openCabinet(reader, cabinet)) return error;
    const QbDescriptor root(open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (root.number() < 0) return reportUnwritten(reader, directory, errno);
    for (mscabd_file* file = reader.contents->files; file; file = file->next) {
        if (qbProcessEndAsked()) return EINTR;
        if (const int error = unpackFile(reader, file, root.number())) return error;
    }
    return 0;
}

int qbCabinetList(const char* cabinet, std::vector<QbCabinetFile>& files) {
    Reader reader;
    if (const int error = openCabinet(reader, cabinet)) return error;
    for (const mscabd_file* file = reader.contents->files; file; file = file->next) {
        QbCabinetFile& entry = files.emplace_back(QbCabinetFile{file->filename, file->length});
        std::replace(entry.name.begin(), entry.name.end(), '\\', '/');
    }
    return 0;
}
