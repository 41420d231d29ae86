#include "platform/resource/resource.h"
#include "platform/resource/store.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

// New data goes behind what is there, and the block that tells of it is written last. Data in place of other
// data goes to a new file, which takes the old one's place at the end. So whatever fails on the way, what the
// executable carried before is still there.

// --- a file that replaces another -----------------------------------------------------------------------

namespace {

// Lies beside the file that it is going to replace; deleted unless it did.
struct Replacement {
    QbDescriptor file;
    std::string path;

    Replacement(int number, std::string name) : file(number), path(std::move(name)) {}
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() {
        const int error = errno;
        if (!path.empty()) unlink(path.c_str());
        errno = error;
    }
};

} // namespace

using ReplacementPtr = std::unique_ptr<Replacement>;

// Null with errno set when there can be none.
static ReplacementPtr beginReplacement(const std::string& of, mode_t mode) {
    std::string path = of.substr(0, of.rfind('/') + 1) + ".quab-XXXXXX";
    const int file = mkostemp(path.data(), O_CLOEXEC);
    if (file < 0) return nullptr;
    auto replacement = std::make_unique<Replacement>(file, std::move(path));
    if (fchmod(file, mode & (S_IRWXU | S_IRWXG | S_IRWXO)) != 0) return nullptr;
    return replacement;
}

static bool endReplacement(Replacement& replacement, const std::string& of) {
    if (!replacement.file.close()) return false;
    if (rename(replacement.path.c_str(), of.c_str()) != 0) return false;
    replacement.path.clear();
    return true;
}

// The name without links; `path` itself while there is no such file.
static std::string realName(const char* path) {
    const std::unique_ptr<char, decltype(&free)> name(realpath(path, nullptr), &free);
    return name ? name.get() : path;
}

// --- copying the program --------------------------------------------------------------------------------

// Whether a file may take the place of `target`. One that runs at this moment may be replaced, not written
// to.
static bool mayReplace(const char* target, const struct stat& source) {
    struct stat status;
    if (stat(target, &status) != 0) return errno == ENOENT;
    const bool same = status.st_dev == source.st_dev && status.st_ino == source.st_ino;
    if (same || !S_ISREG(status.st_mode)) {
        errno = same ? EINVAL : S_ISDIR(status.st_mode) ? EISDIR : EEXIST;
        return false;
    }
    return faccessat(AT_FDCWD, target, W_OK, AT_EACCESS) == 0 || errno == ETXTBSY;
}

// Sets errno to what a file means that has no end of an executable.
static bool isProgram(QbStoreState state) {
    if (state == QB_STORE_PROGRAM_CUT || state == QB_STORE_NO_PROGRAM) errno = ENOEXEC;
    return state != QB_STORE_PROGRAM_CUT && state != QB_STORE_NO_PROGRAM && state != QB_STORE_UNREADABLE;
}

int qbResourceCopyProgram(const char* source, const char* target) {
    const QbDescriptor from(source ? qbStoreOpen(source, false) : qbStoreOpenRunning());
    if (from.number() < 0) return -1;
    struct stat status;
    if (fstat(from.number(), &status) != 0 || !mayReplace(target, status)) return -1;
    QbStore store;
    if (!isProgram(qbStoreExamine(from.number(), store))) return -1;

    const std::string name = realName(target);
    const ReplacementPtr copy = beginReplacement(name, status.st_mode | S_IWUSR); // resources are to follow
    if (!copy) return -1;
    if (!qbStoreCopyRange(from.number(), 0, store.programEnd, copy->file.number(), 0)) return -1;
    return endReplacement(*copy, name) ? 0 : -1;
}

// --- storing --------------------------------------------------------------------------------------------

struct QbResourceUpdate {
    QbDescriptor executable;
    std::string path;           // of the executable, without links
    mode_t mode = 0;            // its permissions
    QbStore before{};           // what was found in it
    bool carried = false;       // `before` is a good store
    QbStoreBlock block{};       // what it is going to carry
    bool changed = false;       // something was put
    ReplacementPtr replacement; // null as long as nothing had to give way

    explicit QbResourceUpdate(int file) : executable(file) {}
    int file() const { return replacement ? replacement->file.number() : executable.number(); }
};

QbResourceUpdate* qbResourceUpdateBegin(const char* executable) {
    const int file = qbStoreOpen(executable, true);
    if (file < 0) return nullptr;
    auto update = std::make_unique<QbResourceUpdate>(file);
    struct stat status;
    if (fstat(file, &status) != 0) return nullptr;
    const QbStoreState state = qbStoreExamine(file, update->before);
    if (!isProgram(state)) return nullptr;
    update->path = realName(executable);
    update->mode = status.st_mode;
    update->carried = state == QB_STORE_GOOD;
    update->block = update->before.block;
    return update.release();
}

static bool describe(QbStoreEntry& entry, const char* type, int id, const void* data, size_t size) {
    const size_t length = type ? strlen(type) : 0;
    if (length == 0 || length >= sizeof(entry.type) || id < 0 || id > QB_RESOURCE_ID_MAX) return false;
    if (!data && size > 0) return false;
    entry = QbStoreEntry{};
    memcpy(entry.type, type, length);
    entry.id = static_cast<uint32_t>(id);
    entry.size = size;
    entry.checksum = qbStoreChecksum(0, data, size);
    return true;
}

// Puts the entry behind the others; `block` has room for it. On failure the data written so far lies behind
// the end of the store.
static bool append(int file, uint64_t base, QbStoreBlock& block, QbStoreEntry entry, const void* data) {
    entry.offset = qbStoreDataEnd(block);
    if (!qbStoreWriteAt(file, base + entry.offset, data, static_cast<size_t>(entry.size))) return false;
    block.entries[block.count++] = entry;
    return true;
}

static bool copyEntry(const QbResourceUpdate& update, const QbStoreEntry& source, int target,
                      QbStoreBlock& block) {
    QbStoreEntry entry = source;
    entry.offset = qbStoreDataEnd(block);
    const uint64_t base = update.before.base;
    if (!qbStoreCopyRange(update.file(), base + source.offset, source.size, target, base + entry.offset))
        return false;
    block.entries[block.count++] = entry;
    return true;
}

// Writes everything but the resource at `index` to a new file, and the new one behind it. Only a file that
// got it all becomes the update's.
static bool replace(QbResourceUpdate& update, uint32_t index, const QbStoreEntry& entry, const void* data) {
    ReplacementPtr next = beginReplacement(update.path, update.mode);
    if (!next) return false;
    const int file = next->file.number();
    if (!qbStoreCopyRange(update.file(), 0, update.before.programEnd, file, 0)) return false;
    QbStoreBlock block = qbStoreEmpty();
    for (uint32_t i = 0; i < update.block.count; ++i)
        if (i != index && !copyEntry(update, update.block.entries[i], file, block)) return false;
    if (!append(file, update.before.base, block, entry, data)) return false;
    update.block = block;
    update.replacement = std::move(next);
    return true;
}

// Adds to the file that the update writes, and gives back what a failure used of the disk.
static bool add(QbResourceUpdate& update, const QbStoreEntry& entry, const void* data) {
    struct stat status;
    if (fstat(update.file(), &status) != 0) return false;
    if (append(update.file(), update.before.base, update.block, entry, data)) return true;
    const int error = errno;
    (void)!ftruncate(update.file(), status.st_size);
    errno = error;
    return false;
}

int qbResourceUpdatePut(QbResourceUpdate* update, const char* type, int id, const void* data, size_t size) {
    QbStoreEntry entry;
    if (!describe(entry, type, id, data, size)) {
        errno = EINVAL;
        return -1;
    }
    const int index = qbStoreFind(update->block, type, id);
    if (index < 0 && update->block.count == QB_RESOURCES_MAX) {
        errno = ENOSPC;
        return -1;
    }
    const bool done =
        index < 0 ? add(*update, entry, data) : replace(*update, static_cast<uint32_t>(index), entry, data);
    if (!done) return -1;
    update->changed = true;
    return 0;
}

// The block tells of nothing yet: what was appended to the executable is cut off again. 0, or an errno.
static int dropAppended(const QbResourceUpdate& update) {
    if (!update.changed) return 0;
    return ftruncate(update.executable.number(), static_cast<off_t>(update.before.fileSize)) == 0 ? 0 : errno;
}

// Ends the file with the data, and makes it known. False with errno set.
static bool writeBlock(QbResourceUpdate& update) {
    qbStoreSeal(update.block);
    const uint64_t base = update.before.base;
    return ftruncate(update.file(), static_cast<off_t>(base + qbStoreDataEnd(update.block))) == 0 &&
           qbStoreWriteAt(update.file(), base, &update.block, sizeof(update.block));
}

// Some file systems tell only at a close that the disk is full; the file itself stays open for what that
// calls for.
static bool flush(int file) {
    QbDescriptor copy(fcntl(file, F_DUPFD_CLOEXEC, 0));
    return copy.number() >= 0 && copy.close();
}

static int commit(QbResourceUpdate& update) {
    const bool done = writeBlock(update) && flush(update.file()) &&
                      (!update.replacement || endReplacement(*update.replacement, update.path));
    if (done) return 0;
    const int error = errno;
    // A write that stopped half-way may have left a part of the new block over the old one; what it could
    // write, this can.
    if (update.carried && !update.replacement)
        (void)qbStoreWriteAt(update.executable.number(), update.before.base, &update.before.block,
                             sizeof(QbStoreBlock));
    (void)dropAppended(update);
    return error;
}

int qbResourceUpdateEnd(QbResourceUpdate* update, int discard) {
    const std::unique_ptr<QbResourceUpdate> owned(update);
    if (!update->changed) return 0;
    return discard ? dropAppended(*update) : commit(*update);
}
