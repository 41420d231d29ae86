#include "platform/temporary.h"

#include "platform/descriptor_posix.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

enum {
    TEMPORARY_PATH_MAX = 2048, // with the separator behind it
    HOLD_TRIALS = 100,         // at a directory that others delete under our hands
    ONLY_USER_DIRECTORY = 0700,
    ONLY_USER_FILE = 0600,
    AS_DIRECTORY = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC,
};

// The lock lies on the descriptor: the kernel takes it away when the process ends, however it ends.
struct QbHeldDirectory {
    std::string path;
    int descriptor;
    pid_t process; // the one that holds it; a fork inherits the record
};

const char* qbTemporaryDirectory() {
    static std::string directory;
    std::error_code error;
    directory = std::filesystem::temp_directory_path(error).string();
    if (error)
        errno = error.value();
    else if (directory[0] != '/')
        errno = EINVAL;
    else {
        if (directory.back() != '/') directory += '/';
        if (directory.size() <= TEMPORARY_PATH_MAX) return directory.c_str();
        errno = ENAMETOOLONG;
    }
    return "";
}

// --- holding --------------------------------------------------------------------------------------------

// `error`, but for what can be told better: O_DIRECTORY makes no difference between a link and a file.
static int whyNotOpened(const char* path, int error) {
    struct stat info;
    if (lstat(path, &info) != 0) return error;
    if (S_ISLNK(info.st_mode)) return ELOOP;
    if (!S_ISDIR(info.st_mode)) return ENOTDIR;
    return info.st_uid == geteuid() ? error : EPERM;
}

// Whoever held it before may have deleted it between our opening and our locking: what is locked then has
// no name any more, or another directory has it.
static bool isStillThere(const char* path, int descriptor) {
    struct stat named;
    struct stat opened;
    return lstat(path, &named) == 0 && fstat(descriptor, &opened) == 0 && named.st_dev == opened.st_dev &&
           named.st_ino == opened.st_ino;
}

static QbHoldResult lockDirectory(int descriptor) {
    struct stat info;
    if (fstat(descriptor, &info) != 0) return QB_HOLD_REFUSED;
    if (info.st_uid != geteuid()) {
        errno = EPERM;
        return QB_HOLD_REFUSED;
    }
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? QB_HOLD_BUSY : QB_HOLD_REFUSED;
    return fchmod(descriptor, ONLY_USER_DIRECTORY) == 0 ? QB_HOLD_DONE : QB_HOLD_REFUSED;
}

static void closeKeepingError(int descriptor) {
    const int error = errno;
    close(descriptor);
    errno = error;
}

// One trial; QB_HOLD_DONE with nothing held calls for another one.
static QbHoldResult tryHold(const char* path, QbHeldDirectory** held) {
    if (mkdir(path, ONLY_USER_DIRECTORY) != 0 && errno != EEXIST) return QB_HOLD_NOT_CREATED;
    const int descriptor = open(path, AS_DIRECTORY);
    if (descriptor < 0) {
        if (errno == ENOENT) return QB_HOLD_DONE;
        errno = whyNotOpened(path, errno);
        return QB_HOLD_REFUSED;
    }
    QbDescriptor guard(descriptor);
    const QbHoldResult result = lockDirectory(descriptor);
    if (result == QB_HOLD_DONE && isStillThere(path, descriptor)) {
        auto record = std::make_unique<QbHeldDirectory>(QbHeldDirectory{path, descriptor, getpid()});
        guard.release();
        *held = record.release();
    }
    return result;
}

QbHoldResult qbDirectoryHold(const char* path, QbHeldDirectory** held) {
    *held = nullptr;
    for (int trial = 0; trial < HOLD_TRIALS; ++trial) {
        const QbHoldResult result = tryHold(path, held);
        if (result != QB_HOLD_DONE || *held) return result;
    }
    return QB_HOLD_BUSY;
}

// --- removing -------------------------------------------------------------------------------------------

static void removeContents(int directory);

static void removeEntry(int directory, const char* name) {
    if (unlinkat(directory, name, 0) == 0) return;
    const int inner = openat(directory, name, AS_DIRECTORY);
    if (inner < 0) return;
    removeContents(inner);
    close(inner);
    unlinkat(directory, name, AT_REMOVEDIR);
}

// By descriptors alone: no name on the way can be turned into a link that leads elsewhere. It runs when the
// process ends, perhaps for want of memory, and keeps no list.
static void removeContents(int directory) {
    const int descriptor = openat(directory, ".", AS_DIRECTORY);
    DIR* stream = descriptor < 0 ? nullptr : fdopendir(descriptor);
    if (!stream) {
        if (descriptor >= 0) close(descriptor);
        return;
    }
    while (const dirent* entry = readdir(stream)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") removeEntry(directory, entry->d_name);
    }
    closedir(stream);
}

void qbDirectoryRemove(QbHeldDirectory* held) {
    const std::unique_ptr<QbHeldDirectory> owner(held);
    if (!held) return;
    if (held->process == getpid()) {
        removeContents(held->descriptor);
        if (isStillThere(held->path.c_str(), held->descriptor)) rmdir(held->path.c_str());
        flock(held->descriptor, LOCK_UN); // a fork may have the descriptor, and with it the lock, as well
    }
    close(held->descriptor);
}

// --- files ----------------------------------------------------------------------------------------------

std::FILE* qbTemporaryFile(const char* path) {
    unlink(path);
    const int descriptor = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, ONLY_USER_FILE);
    if (descriptor < 0) return nullptr;
    std::FILE* file = fdopen(descriptor, "wb");
    if (!file) closeKeepingError(descriptor);
    return file;
}
